#pragma once

#include "model/conversation.h"

#include <QList>
#include <QString>
#include <cstdint>

namespace ViewLogic {

// Where the "N new messages" divider of a conversation goes as it opens: above
// the first of its unread messages, which are its newest incoming ones, as
// many as the unread count (all incoming ones when the count is larger).
struct FirstUnread {
    int row = -1;           // -1: nothing unread, no divider
    std::int64_t count = 0; // the unread messages from there on

    bool operator==(const FirstUnread&) const = default;
};

FirstUnread firstUnread(const MessageList& messages, std::int64_t unreadCount);

// "1 new message", "40 new messages".
QString newMessagesText(std::int64_t count);

} // namespace ViewLogic
