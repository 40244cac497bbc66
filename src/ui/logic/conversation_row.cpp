#include "ui/logic/conversation_row.h"

#include "model/mesh_enums.h"
#include "protocol/mesh_protocol.h"
#include "text/text_segments.h"

#include <algorithm>

namespace ViewLogic {

namespace {

constexpr qsizetype keyPrefixLength = 12;

// The last message's text as its bubble reads, or `fallback` when the
// conversation is missing or empty.
QString lastMessageOr(const Conversation* conversation, const QString& fallback) {
    if (!conversation || conversation->messages.isEmpty())
        return fallback;
    return Text::withMentionsAsShown(conversation->messages.constLast().text);
}

} // namespace

bool ConversationRow::isUnreadQuiet() const {
    return !notifies(level, unreadMentions > 0);
}

QString ConversationRow::levelSymbol() const {
    switch (level) {
    case NotificationLevel::all:
        break;
    case NotificationLevel::mentions:
        return QStringLiteral("at");
    case NotificationLevel::nothing:
        return QStringLiteral("bell.slash");
    }
    return {};
}

const Conversation* findConversation(const ConversationMap& conversations,
                                     const ConversationID& id) {
    const auto it = conversations.constFind(id.conversationKey());
    return it == conversations.cend() ? nullptr : &it.value();
}

QString contactTitle(const Contact& contact) {
    return contact.name.isEmpty() ? contact.publicKey.left(keyPrefixLength) : contact.name;
}

bool isPublicChannelSecret(const QString& secretHex) {
    return secretHex.toLower() == QLatin1String(publicChannelSecret);
}

QString channelSymbol(const QString& secretHex) {
    return isPublicChannelSecret(secretHex) ? QStringLiteral("globe") : QStringLiteral("number");
}

bool isChannelListed(const Channel& channel) {
    if (!channel.name.isEmpty())
        return true;
    // A secret that is not hex text counts as no secret at all.
    const std::optional<QByteArray> secret = MeshProtocol::bytesFromHex(channel.secretHex);
    return secret &&
           std::any_of(secret->cbegin(), secret->cend(), [](char byte) { return byte != 0; });
}

ConversationRow channelRow(const Channel& channel, const Conversation* conversation) {
    ConversationRow row;
    row.id = ConversationID::channel(channel.index);
    row.title = channel.displayName();
    row.subtitle = lastMessageOr(conversation, qtTrId("sidebar.channel.group"));
    row.time = conversation ? conversation->lastActivity : distantPast();
    row.unread = conversation ? conversation->unreadCount : 0;
    row.seed = QStringLiteral("channel") + QString::number(channel.index);
    row.symbol = channelSymbol(channel.secretHex);
    return row;
}

ConversationRow contactRow(const Contact& contact, const Conversation* conversation,
                           bool isFavorite) {
    ConversationRow row;
    row.id = ConversationID::contact(contact.publicKey);
    row.title = contactTitle(contact);
    row.subtitle = lastMessageOr(conversation, MeshProtocol::displayName(contact.type));
    row.time = conversation ? conversation->lastActivity : distantPast();
    row.unread = conversation ? conversation->unreadCount : 0;
    row.seed = contact.publicKey;
    row.initials = contact.initials();
    row.isFavorite = isFavorite;
    return row;
}

} // namespace ViewLogic
