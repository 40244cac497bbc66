#include "logic/first_unread.h"

#include <QCoreApplication>
#include <limits>

namespace ViewLogic {

FirstUnread firstUnread(const MessageList& messages, std::int64_t unreadCount) {
    FirstUnread first;
    for (qsizetype row = messages.size() - 1; row >= 0 && first.count < unreadCount; --row) {
        if (messages.at(row).direction != ChatMessage::Direction::incoming)
            continue;
        first.row = int(row);
        ++first.count;
    }
    return first;
}

QString newMessagesText(std::int64_t count) {
    return qtTrId("chat.unread.divider",
                  int(qMin<std::int64_t>(count, std::numeric_limits<int>::max())));
}

} // namespace ViewLogic
