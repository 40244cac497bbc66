#include "history_generator.h"

#include <QRandomGenerator>
#include <QStringList>

namespace {

const QStringList words = {
    QStringLiteral("hei"),
    QStringLiteral("the"),
    QStringLiteral("ridge"),
    QStringLiteral("repeater"),
    QStringLiteral("is"),
    QStringLiteral("up"),
    QStringLiteral("again"),
    QStringLiteral("signal"),
    QStringLiteral("looks"),
    QStringLiteral("good"),
    QStringLiteral("from"),
    QStringLiteral("harbour"),
    QStringLiteral("tonight"),
    QStringLiteral("antenna"),
    QStringLiteral("battery"),
    QStringLiteral("👋"),
    QStringLiteral("☕"),
    QStringLiteral("kiitos"),
    QStringLiteral("@Aino"),
    QStringLiteral("@[Bob Tanaka]"),
    QStringLiteral("https://example.org/map"),
    QStringLiteral("Straße"),
    QStringLiteral("ok"),
};

QString sentence(QRandomGenerator& random) {
    const int count = 2 + int(random.bounded(22));
    QStringList parts;
    for (int i = 0; i < count; ++i)
        parts << words.at(int(random.bounded(int(words.size()))));
    return parts.join(QLatin1Char(' ')).left(139);
}

} // namespace

QList<Conversation> generateHistory(int conversations, int messages, quint32 seed) {
    using Direction = ChatMessage::Direction;
    using State = ChatMessage::DeliveryState;
    QRandomGenerator random(seed);
    QList<Conversation> history;
    for (int c = 0; c < conversations; ++c) {
        Conversation conversation;
        if (c < 8) {
            conversation.target = ConversationID::channel(c);
        } else {
            QString key;
            for (int i = 0; i < 8; ++i)
                key += QStringLiteral("%1").arg(random.generate(), 8, 16, QLatin1Char('0'));
            conversation.target = ConversationID::contact(key);
        }
        history.append(conversation);
    }
    // Busy conversations get most of the messages, as in real use.
    qint64 seconds = 1'600'000'000;
    for (int m = 0; m < messages; ++m) {
        const int pick = int(random.bounded(conversations));
        Conversation& conversation = history[random.bounded(2) ? pick / 4 : pick];
        ChatMessage message;
        message.id = QUuid::createUuid();
        message.direction = random.bounded(3) ? Direction::incoming : Direction::outgoing;
        message.text = sentence(random);
        if (conversation.target.isChannel() && message.direction == Direction::incoming)
            message.text = QStringLiteral("Node %1: ").arg(random.bounded(40)) + message.text;
        seconds += 1 + random.bounded(600);
        message.timestamp =
            QDateTime::fromMSecsSinceEpoch(seconds * 1000 + random.bounded(1000), Qt::UTC);
        if (message.direction == Direction::incoming) {
            message.snr = (int(random.bounded(80)) - 40) / 4.0;
            if (conversation.target.isContact())
                message.pathLength = int(random.bounded(5));
        } else {
            const int roll = int(random.bounded(20));
            message.deliveryState = roll == 0  ? State::failed
                                    : roll < 4 ? State::sent
                                               : State::delivered;
            if (conversation.target.isContact()) {
                message.expectedAck = random.generate();
                message.estimatedTimeoutMillis = 3000 + random.bounded(9000);
                if (message.deliveryState == State::delivered) {
                    message.roundTripMillis = 400 + random.bounded(6000);
                    message.hopCount = int(random.bounded(5));
                }
            }
        }
        conversation.messages.append(message);
        conversation.lastActivity = message.timestamp;
    }
    for (Conversation& conversation : history) {
        if (conversation.messages.isEmpty())
            conversation.lastActivity = distantPast();
        conversation.unreadCount = random.bounded(3) ? 0 : random.bounded(12);
    }
    return history;
}
