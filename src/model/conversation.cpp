#include "model/conversation.h"

QString ConversationID::conversationKey() const {
    return isContact() ? QStringLiteral("contact:") + m_key
                       : QStringLiteral("channel:") + QString::number(m_index);
}

QDateTime distantPast() {
    static const QDateTime past(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
    return past;
}
