#pragma once

#include "model/conversation.h"
#include "model/device_records.h"
#include "ui/logic/localized_text.h"
#include "ui/logic/tint.h"

#include <QHash>
#include <QString>
#include <optional>

namespace ViewLogic {

// What the chat header shows for a target. `contact` and `channel` are the
// records the controller has for it (either may be missing).
struct ChatHeader {
    QString title;
    LocalizedText subtitle;
    QString avatarSeed;
    QString avatarInitials;
    std::optional<QString> avatarSymbol;
    bool showsVerification = false; // only for a contact that exists

    bool operator==(const ChatHeader&) const = default;
};

ChatHeader chatHeader(const ConversationID& target, const std::optional<Contact>& contact,
                      const std::optional<Channel>& channel);

// The avatar icon of a target: by node type for contacts (none for
// companions and missing contacts), "globe" or "number" for channels.
std::optional<QString> targetSymbol(const ConversationID& target,
                                    const std::optional<Contact>& contact,
                                    const std::optional<Channel>& channel);

enum class VerificationState {
    verified,   // the contact's key is among the verified keys
    conflict,   // not verified, and another verified key carries its name
    unverified, // neither
};

// `conflictingKey` is the controller's answer for the contact: another
// verified key registered under the same name, if any.
VerificationState verificationState(const QString& publicKey,
                                    const QHash<QString, QString>& verifiedKeys,
                                    const std::optional<QString>& conflictingKey);

// The verification menu button of the chat header.
struct VerificationControl {
    QString symbol;
    Tint tint = Tint::secondary;
    QString keyPrefix; // first 12 characters of the key
    QByteArray helpKey;
    QByteArray actionKey; // the one menu item
    QString actionSymbol;
    bool actionClears = false; // the item removes the verification (destructive)

    bool operator==(const VerificationControl&) const = default;
};

VerificationControl verificationControl(const Contact& contact, VerificationState state);

// The red banner under the header, present only in the conflict state.
std::optional<LocalizedText> conflictBannerText(const Contact& contact, VerificationState state);

// The verification card of the chat info inspector.
struct VerificationCard {
    QString symbol;
    Tint tint = Tint::secondary;
    QByteArray titleKey;
    QByteArray messageKey;
    QByteArray actionKey;
    QString actionSymbol;
    bool actionClears = false;
    Tint actionTint = Tint::accent; // red for a conflict; a clearing action is destructive
    bool redOutline = false;

    bool operator==(const VerificationCard&) const = default;
};

VerificationCard verificationCard(VerificationState state);

} // namespace ViewLogic
