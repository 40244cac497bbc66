#include "chat_view_model.h"

#include "logic/chat_header.h"
#include "logic/composer.h"
#include "logic/safe_text.h"
#include "logic/sidebar_lists.h"
#include "logic/verification_look.h"
#include "look.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QUuid>
#include <QtGlobal>

namespace {

QString verificationStateName(KeyVerification state) {
    switch (state) {
    case KeyVerification::verified:
        return QStringLiteral("verified");
    case KeyVerification::conflict:
        return QStringLiteral("conflict");
    case KeyVerification::unverified:
        break;
    }
    return QStringLiteral("unverified");
}

QString lookUp(const QByteArray& key) {
    return qtTrId(key.constData());
}

} // namespace

ChatViewModel::ChatViewModel(QObject* parent)
    : ConversationBoundObject(parent) {}

void ChatViewModel::attach(MeshController* controller) {
    m_headerKey.clear();
    if (controller) {
        connect(controller, &MeshController::contactsChanged, this, &ChatViewModel::refresh);
        connect(controller, &MeshController::knownNamesChanged, this, &ChatViewModel::refresh);
        connect(controller, &MeshController::channelsChanged, this, &ChatViewModel::refresh);
        connect(controller, &MeshController::verifiedKeysChanged, this, &ChatViewModel::refresh);
        connect(controller, &MeshController::transportStateChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::isReconnectingChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::rememberedDeviceChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::historyWritableChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::historyLoadedChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::radioAwayChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::waitsForBluetoothChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::isSyncingChanged, this, &ChatViewModel::refresh);
    }
    refresh();
    Q_EMIT connectedChanged();
}

bool ChatViewModel::connected() const {
    return controller() && controller()->transportState() == TransportState::connected;
}

bool ChatViewModel::historyHeldElsewhere() const {
    return controller() && !controller()->historyWritable();
}

// A message sent before the history is in could not be kept if the app
// quit at once, since nothing is written until then.
bool ChatViewModel::historyBeingRead() const {
    return controller() && !controller()->historyLoaded();
}

QString ChatViewModel::sendBlockedReason() const {
    if (historyHeldElsewhere())
        return qtTrId("chat.composer.history.held");
    if (historyBeingRead())
        return qtTrId("chat.composer.history.loading");
    if (!controller() || connected())
        return {};
    // A radio shown from its book while Bluetooth cannot be used is away.
    if (controller()->isReconnecting() &&
        !(controller()->radioAway() && controller()->waitsForBluetooth()))
        return qtTrId("chat.composer.reconnecting")
            .arg(ViewLogic::safeName(controller()->rememberedDeviceName()));
    if (controller()->radioAway())
        return qtTrId("chat.composer.radio.away");
    return qtTrId("chat.composer.not.connected");
}

QString ChatViewModel::sendBlockedSymbol() const {
    if (historyHeldElsewhere())
        return QStringLiteral("exclamationmark.triangle.fill");
    return historyBeingRead() ? QStringLiteral("hourglass") : QStringLiteral("wifi.slash");
}

std::optional<Contact> ChatViewModel::contact() const {
    if (!controller() || !target() || !target()->isContact())
        return std::nullopt;
    return controller()->contactForKey(target()->contactKey());
}

QString ChatViewModel::unlistedTitle() const {
    const ViewLogic::MessagesList list = ViewLogic::messagesList(
        controller()->channels(), controller()->contacts(), controller()->conversations(), {}, {},
        QLocale(), controller()->knownNames());
    for (const ViewLogic::ConversationRow& row : list.contacts) {
        if (row.id == *target())
            return row.title;
    }
    return controller()->conversationTitle(*target());
}

void ChatViewModel::refresh() {
    // While the radio is being reconnected its contacts and channels are
    // gone until the handshake reads them again: the header keeps what it
    // showed for this conversation.
    if (controller() && m_headerKey == conversationKey() &&
        ((controller()->isReconnecting() && !controller()->radioAway()) ||
         (controller()->isSyncing() && controller()->contacts().isEmpty() &&
          controller()->channels().isEmpty())))
        return;
    m_headerKey = conversationKey();
    Header header;
    if (controller() && target()) {
        const std::optional<Contact> contact = this->contact();
        const std::optional<Channel> channel =
            target()->isChannel() ? controller()->channelForIndex(target()->channelIndex())
                                  : std::nullopt;
        const ViewLogic::ChatHeader base = ViewLogic::chatHeader(*target(), contact, channel);
        header.isChannel = target()->isChannel();
        // A contact the radio does not know keeps the name a book gave it,
        // as its row in the sidebar reads (with its key when the name is
        // another's too).
        header.title =
            ViewLogic::safeName(contact || !target()->isContact() ? base.title : unlistedTitle());
        header.subtitle = base.subtitle.text();
        header.avatarSeed = base.avatarSeed;
        header.avatarInitials = ViewLogic::safeName(base.avatarInitials);
        header.avatarSymbol = base.avatarSymbol.value_or(QString());
        if (contact && base.showsVerification) {
            const KeyVerification state =
                keyVerification(controller()->verifiedKeys().contains(contact->publicKey),
                                controller()->conflictingVerifiedKey(*contact).has_value());
            const ViewLogic::VerificationLook look = ViewLogic::verificationLook(state);
            header.hasContact = true;
            header.verificationState = verificationStateName(state);
            header.verificationSymbol = look.keySymbol;
            header.verificationTint = Look::tintName(look.tint);
            header.keyPrefix = ViewLogic::keyPrefix(contact->publicKey);
            header.verificationHelp = lookUp(look.helpKey);
            header.verificationActionText = lookUp(look.menuItemKey);
            header.verificationActionSymbol = look.actionSymbol;
            header.verificationActionClears = look.actionClears;
            if (const auto banner = ViewLogic::conflictBannerText(*contact, state))
                header.conflictText = banner->text();
        }
    }
    if (header == m_header)
        return;
    m_header = std::move(header);
    Q_EMIT headerChanged();
}

int ChatViewModel::limit() {
    return ViewLogic::composerLimit;
}

QString ChatViewModel::limitDraft(const QString& draft) {
    return ViewLogic::limitDraft(draft);
}

QString ChatViewModel::counterText(const QString& draft) {
    return ViewLogic::composerCounterText(draft);
}

QString ChatViewModel::counterTint(const QString& draft) {
    return Look::tintName(ViewLogic::composerCounterTint(draft));
}

bool ChatViewModel::atLimit(const QString& draft) {
    return ViewLogic::composerAtLimit(draft);
}

bool ChatViewModel::canSend(const QString& draft) const {
    return target() && !historyHeldElsewhere() && !historyBeingRead() &&
           ViewLogic::canSend(draft, connected());
}

bool ChatViewModel::send(const QString& draft) {
    if (!canSend(draft))
        return false;
    controller()->sendMessage(draft, *target());
    return true;
}

bool ChatViewModel::sendAgain(const QString& messageId) {
    const QUuid id(messageId);
    if (!target() || !connected() || historyBeingRead() || id.isNull())
        return false;
    return controller()->sendAgain(id, *target());
}

void ChatViewModel::copyText(const QString& text) {
    if (QClipboard* clipboard = QGuiApplication::clipboard())
        clipboard->setText(text);
}

void ChatViewModel::markRead() {
    if (controller() && target())
        controller()->markConversationRead(*target());
}

void ChatViewModel::setVerified() {
    if (const auto contact = this->contact())
        controller()->setVerified(*contact);
}

void ChatViewModel::clearVerified() {
    if (const auto contact = this->contact())
        controller()->clearVerified(contact->publicKey);
}

void ChatViewModel::triggerVerificationAction() {
    if (m_header.verificationActionClears)
        clearVerified();
    else
        setVerified();
}
