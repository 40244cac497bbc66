#pragma once

#include <QByteArray>
#include <QString>

// The rules of the add-contact and add-channel sheets: what the fields
// count, and when the main button may be pressed.
namespace ViewLogic {

// Tabs and space characters of every kind removed from both ends (line
// breaks stay).
QString trimmedField(const QString& text);

// "12/64": how many hex digits a typed key or secret holds, against the
// number needed. Red only when some are typed but not the right number.
struct FieldCounter {
    QString text;
    bool isError = false;

    bool operator==(const FieldCounter&) const = default;
};
FieldCounter hexCounter(const QString& typed, int required);

// The most UTF-8 bytes the radio keeps of a contact's or a channel's name.
inline constexpr qsizetype nameByteLimit = 32;

// "12/32": the UTF-8 bytes of a typed name (trimmed as it will be sent)
// against the radio's room for it; red once there are more.
FieldCounter nameCounter(const QString& typed);
bool nameFits(const QString& name);

bool canAddContact(const QString& name, const QString& publicKey, bool isWorking);

enum class AddChannelMode { createPrivate, joinPrivate, joinPublic, joinHashtag };

// The mode's identifier ("Create Private"), title key and main button key.
QString channelModeValue(AddChannelMode mode);
QByteArray channelModeTitleKey(AddChannelMode mode);
QByteArray channelModeButtonKey(AddChannelMode mode);
// The explanation under the fields; empty for joinPrivate.
QByteArray channelModeMessageKey(AddChannelMode mode);

bool canAddChannel(AddChannelMode mode, const QString& name, const QString& secret,
                   const QString& hashtag, bool isWorking);

} // namespace ViewLogic
