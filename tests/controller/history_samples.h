#pragma once

// Histories for the store's tests and their helper processes.

#include "model/conversation.h"

#include <QList>
#include <QUuid>

namespace HistorySamples {

inline const QDateTime base{QDate(2025, 3, 1), QTime(12, 0), Qt::UTC};

// Message n, alternating incoming and outgoing with the optional members
// real messages carry. The id follows from n, so two processes make the same.
inline ChatMessage message(int n) {
    ChatMessage m;
    m.id = QUuid::createUuidV5(QUuid(), QString::number(n));
    m.direction = n % 2 ? ChatMessage::Direction::outgoing : ChatMessage::Direction::incoming;
    m.text = QStringLiteral("Message %1: on the ridge by the \"old\" mast, battery fine").arg(n);
    m.timestamp = base.addMSecs(qint64(n) * 7919);
    if (n % 2) {
        m.deliveryState = ChatMessage::DeliveryState::delivered;
        m.expectedAck = 0x9e3779b9u * std::uint32_t(n);
        m.roundTripMillis = 900 + n % 3000;
        m.estimatedTimeoutMillis = 6400;
        m.hopCount = n % 4;
    } else {
        m.snr = (n % 80 - 40) / 4.0;
        m.pathLength = n % 5;
    }
    return m;
}

// `count` messages spread over `conversations` conversations.
inline QList<Conversation> history(int conversations, int count) {
    QList<Conversation> list;
    for (int c = 0; c < conversations; ++c) {
        Conversation conversation;
        conversation.target =
            c % 10 == 0
                ? ConversationID::channel(c / 10)
                : ConversationID::contact(QStringLiteral("%1").arg(c, 64, 16, QLatin1Char('0')));
        conversation.lastActivity = distantPast();
        list.append(conversation);
    }
    for (int n = 0; n < count; ++n) {
        Conversation& conversation = list[n % conversations];
        conversation.messages.append(message(n));
        conversation.lastActivity = conversation.messages.last().timestamp;
        conversation.unreadCount += n % 7 == 0;
    }
    return list;
}

} // namespace HistorySamples
