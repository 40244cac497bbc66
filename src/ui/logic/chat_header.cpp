#include "ui/logic/chat_header.h"

#include "ui/logic/conversation_row.h"
#include "ui/logic/node_symbols.h"
#include "ui/logic/safe_text.h"

namespace ViewLogic {

namespace {

constexpr qsizetype keyPrefixLength = 12;

} // namespace

std::optional<QString> targetSymbol(const ConversationID& target,
                                    const std::optional<Contact>& contact,
                                    const std::optional<Channel>& channel) {
    if (target.isChannel())
        return channel ? channelSymbol(channel->secretHex) : QStringLiteral("number");
    if (!contact)
        return std::nullopt;
    return nodeAvatarSymbol(contact->type);
}

ChatHeader chatHeader(const ConversationID& target, const std::optional<Contact>& contact,
                      const std::optional<Channel>& channel) {
    ChatHeader header;
    header.avatarSymbol = targetSymbol(target, contact, channel);
    if (target.isChannel()) {
        header.title = channel
                           ? channel->displayName()
                           : QStringLiteral("Channel ") + QString::number(target.channelIndex());
        header.subtitle = LocalizedText::fromKey("chat.subtitle.channel");
        header.avatarSeed = QStringLiteral("channel") + QString::number(target.channelIndex());
        return header;
    }

    const QString& key = target.contactKey();
    header.avatarSeed = key;
    if (!contact) {
        header.title = keyPrefix(key);
        header.subtitle = LocalizedText::fromKey("chat.subtitle.direct");
        header.avatarInitials = QStringLiteral("?");
        return header;
    }
    header.title = contact->name.isEmpty() ? keyPrefix(key) : contact->name;
    header.subtitle = LocalizedText::fromKey(
        contact->outPathLength < 0 ? "chat.subtitle.routed.typed" : "chat.subtitle.direct.typed",
        {MeshProtocol::displayName(contact->type)});
    header.avatarInitials = contact->initials();
    header.showsVerification = true;
    return header;
}

QString keyPrefix(const QString& publicKey) {
    return publicKey.left(keyPrefixLength);
}

std::optional<LocalizedText> conflictBannerText(const Contact& contact, KeyVerification state) {
    if (state != KeyVerification::conflict)
        return std::nullopt;
    return LocalizedText::fromKey("chat.conflict.message", {safeName(contact.name)});
}

} // namespace ViewLogic
