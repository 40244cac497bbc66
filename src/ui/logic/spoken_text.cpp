#include "logic/spoken_text.h"

#include "logic/node_details.h"

#include <QStringList>

namespace ViewLogic {

namespace {

QString joined(QStringList parts) {
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

const char* deliveryKey(ChatMessage::DeliveryState state) {
    switch (state) {
    case ChatMessage::DeliveryState::sending:
        return "chat.message.delivery.sending";
    case ChatMessage::DeliveryState::sent:
        return "chat.message.delivery.sent";
    case ChatMessage::DeliveryState::delivered:
        return "chat.message.delivery.delivered";
    case ChatMessage::DeliveryState::failed:
        return "chat.message.delivery.failed";
    }
    return "chat.message.delivery.sending";
}

} // namespace

QString conversationRowSpoken(const QString& title, const QString& subtitle,
                              const QString& timeText, qint64 unread, bool isFavorite,
                              qint64 unreadMentions, NotificationLevel level) {
    return joined({isFavorite ? qtTrId("spoken.favorite") : QString(), title, subtitle, timeText,
                   unread > 0 ? qtTrId("spoken.unread").arg(unread) : QString(),
                   unread > 0 && unreadMentions > 0
                       ? qtTrId("spoken.unread.mentions", int(qMin<qint64>(unreadMentions, 1000)))
                       : QString(),
                   level == NotificationLevel::all ? QString() : notificationLevelText(level)});
}

QString notificationLevelText(NotificationLevel level) {
    switch (level) {
    case NotificationLevel::all:
        break;
    case NotificationLevel::mentions:
        return qtTrId("notifications.level.mentions");
    case NotificationLevel::nothing:
        return qtTrId("notifications.level.nothing");
    }
    return qtTrId("notifications.level.all");
}

QString nodeRowSpoken(const QString& title, const QString& typeName, int outPathLength,
                      bool hasPosition, bool isFavorite) {
    return joined(
        {isFavorite ? qtTrId("spoken.favorite") : QString(), title, typeName,
         qtTrId("spoken.routing").arg(qtTrId(routingRow(outPathLength).valueKey.constData())),
         hasPosition ? qtTrId("spoken.has.position") : QString()});
}

QString messageSpoken(const QString& sender, const QString& body, const QString& timeText,
                      bool outgoing, ChatMessage::DeliveryState state) {
    const QString from = outgoing ? qtTrId("spoken.you") : sender;
    const QString text = from.isEmpty() ? body : from + QStringLiteral(": ") + body;
    return joined({text, timeText, outgoing ? qtTrId(deliveryKey(state)) : QString()});
}

} // namespace ViewLogic
