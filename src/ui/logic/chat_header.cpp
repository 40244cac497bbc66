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
        header.title = key.left(keyPrefixLength);
        header.subtitle = LocalizedText::fromKey("chat.subtitle.direct");
        header.avatarInitials = QStringLiteral("?");
        return header;
    }
    header.title = contact->name.isEmpty() ? key.left(keyPrefixLength) : contact->name;
    header.subtitle = LocalizedText::fromKey(
        contact->outPathLength < 0 ? "chat.subtitle.routed.typed" : "chat.subtitle.direct.typed",
        {MeshProtocol::displayName(contact->type)});
    header.avatarInitials = contact->initials();
    header.showsVerification = true;
    return header;
}

VerificationState verificationState(const QString& publicKey,
                                    const QHash<QString, QString>& verifiedKeys,
                                    const std::optional<QString>& conflictingKey) {
    if (verifiedKeys.contains(publicKey))
        return VerificationState::verified;
    return conflictingKey ? VerificationState::conflict : VerificationState::unverified;
}

VerificationControl verificationControl(const Contact& contact, VerificationState state) {
    VerificationControl control;
    control.keyPrefix = contact.publicKey.left(keyPrefixLength);
    switch (state) {
    case VerificationState::verified:
        control.symbol = QStringLiteral("checkmark.seal.fill");
        control.tint = Tint::green;
        control.helpKey = "chat.verify.verified.help";
        control.actionKey = "chat.verify.remove";
        control.actionSymbol = QStringLiteral("seal.slash");
        control.actionClears = true;
        return control;
    case VerificationState::conflict:
        control.symbol = QStringLiteral("exclamationmark.shield.fill");
        control.tint = Tint::red;
        break;
    case VerificationState::unverified:
        control.symbol = QStringLiteral("key.fill");
        control.tint = Tint::secondary;
        break;
    }
    control.helpKey = "chat.verify.unverified.help";
    control.actionKey = "chat.verify.mark";
    control.actionSymbol = QStringLiteral("checkmark.seal");
    return control;
}

std::optional<LocalizedText> conflictBannerText(const Contact& contact, VerificationState state) {
    if (state != VerificationState::conflict)
        return std::nullopt;
    return LocalizedText::fromKey("chat.conflict.message", {safeName(contact.name)});
}

VerificationCard verificationCard(VerificationState state) {
    VerificationCard card;
    switch (state) {
    case VerificationState::verified:
        card.symbol = QStringLiteral("checkmark.seal.fill");
        card.tint = Tint::green;
        card.titleKey = "inspector.chat.info.verified";
        card.messageKey = "inspector.chat.info.verified.message";
        card.actionKey = "inspector.chat.info.unverify";
        card.actionSymbol = QStringLiteral("seal.slash");
        card.actionClears = true;
        card.actionTint = Tint::red;
        return card;
    case VerificationState::conflict:
        card.symbol = QStringLiteral("exclamationmark.shield.fill");
        card.tint = Tint::red;
        card.titleKey = "inspector.chat.info.mismatch";
        card.messageKey = "inspector.chat.info.mismatch.message";
        card.actionTint = Tint::red;
        card.redOutline = true;
        break;
    case VerificationState::unverified:
        card.symbol = QStringLiteral("shield.lefthalf.filled");
        card.tint = Tint::secondary;
        card.titleKey = "inspector.chat.info.not.verified";
        card.messageKey = "inspector.chat.info.not.verified.message";
        card.actionTint = Tint::accent;
        break;
    }
    card.actionKey = "inspector.chat.info.verify";
    card.actionSymbol = QStringLiteral("checkmark.seal");
    return card;
}

} // namespace ViewLogic
