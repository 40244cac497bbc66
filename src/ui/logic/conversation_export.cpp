#include "logic/conversation_export.h"

#include "logic/channel_sender.h"
#include "text/safe_text.h"

#include <QStringList>

namespace ViewLogic {

namespace {

QString stateText(const ChatMessage& message) {
    if (message.direction == ChatMessage::Direction::incoming)
        return qtTrId("save.conversation.received");
    switch (message.deliveryState) {
    case ChatMessage::DeliveryState::sending:
        return qtTrId("chat.message.delivery.sending");
    case ChatMessage::DeliveryState::sent:
        return qtTrId("chat.message.delivery.sent");
    case ChatMessage::DeliveryState::delivered:
        return qtTrId("chat.message.delivery.delivered");
    case ChatMessage::DeliveryState::failed:
        break;
    }
    return qtTrId("chat.message.delivery.failed");
}

} // namespace

QString conversationText(const Conversation& conversation, const QString& title) {
    QString text;
    const QString you = qtTrId("spoken.you");
    for (const ChatMessage& message : conversation.messages) {
        const bool outgoing = message.direction == ChatMessage::Direction::outgoing;
        QString sender = outgoing ? you : title;
        QString body = message.text;
        if (!outgoing && conversation.target.isChannel()) {
            const ChannelSender split = splitChannelSender(message.text);
            sender = split.sender;
            body = split.body;
        }
        const QStringList fields{
            message.timestamp.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")),
            Text::safeLine(sender), Text::safeLine(body), stateText(message)};
        text += fields.join(u'\t') + u'\n';
    }
    return text;
}

QString conversationFileName(const QString& title) {
    QString name;
    for (const QChar c : Text::safeName(title)) {
        if (c.category() == QChar::Other_Format)
            continue; // the isolation marks around right-to-left text
        const bool refused = c.unicode() < 0x20 || QStringView(u"/\\:*?\"<>|").contains(c);
        name += refused ? QChar(u'_') : c;
    }
    name = name.trimmed();
    // Not a hidden file, and never "." or "..".
    while (name.startsWith(u'.'))
        name.remove(0, 1);
    if (name.isEmpty())
        name = QStringLiteral("conversation");
    return name + QStringLiteral(".txt");
}

} // namespace ViewLogic
