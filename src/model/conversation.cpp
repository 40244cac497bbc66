#include "model/conversation.h"

QString ConversationID::conversationKey() const {
    return isContact() ? QStringLiteral("contact:") + m_key
                       : QStringLiteral("channel:") + QString::number(m_index);
}

std::optional<ConversationID> ConversationID::fromKey(const QString& key) {
    static const QString contactPrefix = QStringLiteral("contact:");
    static const QString channelPrefix = QStringLiteral("channel:");
    if (key.startsWith(contactPrefix)) {
        const QString publicKey = key.mid(contactPrefix.size());
        if (publicKey.isEmpty())
            return std::nullopt;
        return ConversationID::contact(publicKey);
    }
    if (key.startsWith(channelPrefix)) {
        bool ok = false;
        const int index = key.mid(channelPrefix.size()).toInt(&ok);
        if (!ok || index < 0)
            return std::nullopt;
        return ConversationID::channel(index);
    }
    return std::nullopt;
}

QDateTime distantPast() {
    static const QDateTime past(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
    return past;
}
