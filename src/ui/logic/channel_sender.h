#pragma once

#include <QColor>
#include <QString>

namespace ViewLogic {

// An incoming channel text carries its sender in front: "Alice: hi".
struct ChannelSender {
    QString sender; // empty when the text names no sender
    QString body;   // the whole text when there is no sender

    bool operator==(const ChannelSender&) const = default;
};

// The sender is the text before the first ": " when it is 1 to 40
// characters long and holds no line feed.
ChannelSender splitChannelSender(const QString& text);

// Palette index 0..11 of a sender name: 32-bit FNV-1a over its UTF-8 bytes,
// so a name keeps its colour across restarts and machines.
int senderColorIndex(const QString& name);
QColor senderColor(const QString& name);

// The character on a sender's badge: the first letter or digit, upper-cased,
// or "?" when the name has none.
QString senderBadgeText(const QString& name);

} // namespace ViewLogic
