#pragma once

#include "controller/notification_levels.h"
#include "model/conversation.h"
#include "model/device_records.h"

#include <QDateTime>
#include <QHash>
#include <QString>
#include <cstdint>
#include <optional>

namespace ViewLogic {

// One row of the messages list: a channel or a chat contact.
struct ConversationRow {
    ConversationID id; // identity and selection value
    QString title;
    QString subtitle;
    QDateTime time; // last activity; distantPast() when there is none
    std::int64_t unread = 0;
    QString seed;     // avatar gradient seed
    QString initials; // avatar text when there is no symbol
    std::optional<QString> symbol;
    bool isFavorite = false;
    NotificationLevel level = NotificationLevel::all;
    std::int64_t unreadMentions = 0; // unread messages that mention the user

    bool hasTime() const { return time > distantPast(); }
    // The count is drawn in grey: nothing of it would have notified.
    bool isUnreadQuiet() const;
    // The level's small icon beside the title; empty for All.
    QString levelSymbol() const;

    bool operator==(const ConversationRow&) const = default;
};

using ConversationMap = QHash<QString, Conversation>; // by conversation key

// The conversation of a target, or null when there is none yet.
const Conversation* findConversation(const ConversationMap& conversations,
                                     const ConversationID& id);

// A name, or the first 12 characters of the key when the node has none.
QString contactTitle(const Contact& contact);

// The public channel's fixed secret, as lower-case hex.
inline constexpr const char* publicChannelSecret = "5d0c2a7f91e4b8365fa0c7d21e9b4a83";
bool isPublicChannelSecret(const QString& secretHex);
// "globe" for the public channel, "number" for any other.
QString channelSymbol(const QString& secretHex);

// A slot is listed when it has a name or a secret with a non-zero byte.
bool isChannelListed(const Channel& channel);

ConversationRow channelRow(const Channel& channel, const Conversation* conversation);
ConversationRow contactRow(const Contact& contact, const Conversation* conversation,
                           bool isFavorite);

} // namespace ViewLogic
