#include "chat_view_model.h"

#include "conversation_key.h"
#include "logic/chat_header.h"
#include "logic/composer.h"
#include "logic/safe_text.h"
#include "logic/sidebar_lists.h"
#include "look.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QUuid>
#include <QtGlobal>

namespace {

QString verificationStateName(ViewLogic::VerificationState state) {
    switch (state) {
    case ViewLogic::VerificationState::verified:
        return QStringLiteral("verified");
    case ViewLogic::VerificationState::conflict:
        return QStringLiteral("conflict");
    case ViewLogic::VerificationState::unverified:
        break;
    }
    return QStringLiteral("unverified");
}

QString lookUp(const QByteArray& key) {
    return qtTrId(key.constData());
}

} // namespace

ChatViewModel::ChatViewModel(QObject* parent)
    : ControllerBoundObject(parent) {}

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
        connect(controller, &MeshController::radioAwayChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::waitsForBluetoothChanged, this,
                &ChatViewModel::connectedChanged);
        connect(controller, &MeshController::isSyncingChanged, this, &ChatViewModel::refresh);
    }
    refresh();
    Q_EMIT connectedChanged();
}

void ChatViewModel::setConversationKey(const QString& key) {
    if (m_key == key)
        return;
    m_key = key;
    m_target = conversationIDFromKey(key);
    refresh();
    Q_EMIT conversationKeyChanged();
}

bool ChatViewModel::connected() const {
    return controller() && controller()->transportState() == TransportState::connected;
}

bool ChatViewModel::historyHeldElsewhere() const {
    return controller() && !controller()->historyWritable();
}

QString ChatViewModel::sendBlockedReason() const {
    if (historyHeldElsewhere())
        return qtTrId("chat.composer.history.held");
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
    return historyHeldElsewhere() ? QStringLiteral("exclamationmark.triangle.fill")
                                  : QStringLiteral("wifi.slash");
}

std::optional<Contact> ChatViewModel::contact() const {
    if (!controller() || !m_target || !m_target->isContact())
        return std::nullopt;
    return controller()->contactForKey(m_target->contactKey());
}

QString ChatViewModel::unlistedTitle() const {
    const ViewLogic::MessagesList list = ViewLogic::messagesList(
        controller()->channels(), controller()->contacts(), controller()->conversations(), {}, {},
        QLocale(), controller()->knownNames());
    for (const ViewLogic::ConversationRow& row : list.contacts) {
        if (row.id == *m_target)
            return row.title;
    }
    return controller()->conversationTitle(*m_target);
}

void ChatViewModel::refresh() {
    // While the radio is being reconnected its contacts and channels are
    // gone until the handshake reads them again: the header keeps what it
    // showed for this conversation.
    if (controller() && m_headerKey == m_key &&
        ((controller()->isReconnecting() && !controller()->radioAway()) ||
         (controller()->isSyncing() && controller()->contacts().isEmpty() &&
          controller()->channels().isEmpty())))
        return;
    m_headerKey = m_key;
    Header header;
    if (controller() && m_target) {
        const std::optional<Contact> contact = this->contact();
        const std::optional<Channel> channel =
            m_target->isChannel() ? controller()->channelForIndex(m_target->channelIndex())
                                  : std::nullopt;
        const ViewLogic::ChatHeader base = ViewLogic::chatHeader(*m_target, contact, channel);
        header.isChannel = m_target->isChannel();
        // A contact the radio does not know keeps the name a book gave it,
        // as its row in the sidebar reads (with its key when the name is
        // another's too).
        header.title =
            ViewLogic::safeName(contact || !m_target->isContact() ? base.title : unlistedTitle());
        header.subtitle = base.subtitle.text();
        header.avatarSeed = base.avatarSeed;
        header.avatarInitials = ViewLogic::safeName(base.avatarInitials);
        header.avatarSymbol = base.avatarSymbol.value_or(QString());
        if (contact && base.showsVerification) {
            const auto state =
                ViewLogic::verificationState(contact->publicKey, controller()->verifiedKeys(),
                                             controller()->conflictingVerifiedKey(*contact));
            const ViewLogic::VerificationControl control =
                ViewLogic::verificationControl(*contact, state);
            header.hasContact = true;
            header.verificationState = verificationStateName(state);
            header.verificationSymbol = control.symbol;
            header.verificationTint = Look::tintName(control.tint);
            header.keyPrefix = control.keyPrefix;
            header.verificationHelp = lookUp(control.helpKey);
            header.verificationActionText = lookUp(control.actionKey);
            header.verificationActionSymbol = control.actionSymbol;
            header.verificationActionClears = control.actionClears;
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
    return m_target && !historyHeldElsewhere() && ViewLogic::canSend(draft, connected());
}

bool ChatViewModel::send(const QString& draft) {
    if (!canSend(draft))
        return false;
    controller()->sendMessage(draft, *m_target);
    return true;
}

bool ChatViewModel::sendAgain(const QString& messageId) {
    const QUuid id(messageId);
    if (!m_target || !connected() || id.isNull())
        return false;
    return controller()->sendAgain(id, *m_target);
}

void ChatViewModel::copyText(const QString& text) {
    if (QClipboard* clipboard = QGuiApplication::clipboard())
        clipboard->setText(text);
}

void ChatViewModel::markRead() {
    if (controller() && m_target)
        controller()->markConversationRead(*m_target);
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
