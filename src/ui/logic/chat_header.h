#pragma once

#include "model/conversation.h"
#include "model/device_records.h"
#include "model/key_verification.h"
#include "ui/logic/localized_text.h"

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

// The start of a key, as titles and the verification button show it.
QString keyPrefix(const QString& publicKey);

// The red banner under the header, present only in the conflict state.
std::optional<LocalizedText> conflictBannerText(const Contact& contact, KeyVerification state);

} // namespace ViewLogic
