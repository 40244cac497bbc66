#include "shell_model.h"

#include "controller/mesh_controller.h"
#include "logic/connection_texts.h"
#include "logic/conversation_row.h"
#include "logic/safe_text.h"
#include "look.h"

#include <QMetaEnum>
#include <utility>

namespace {

std::optional<ConversationID> conversationFromKey(const QString& key) {
    static const QString contactPrefix = QStringLiteral("contact:");
    static const QString channelPrefix = QStringLiteral("channel:");
    if (key.startsWith(contactPrefix) && key.size() > contactPrefix.size())
        return ConversationID::contact(key.mid(contactPrefix.size()));
    if (key.startsWith(channelPrefix)) {
        bool ok = false;
        const int index = key.mid(channelPrefix.size()).toInt(&ok);
        if (ok)
            return ConversationID::channel(index);
    }
    return std::nullopt;
}

} // namespace

ShellModel::ShellModel(QObject* parent)
    : QObject(parent) {}

void ShellModel::setController(MeshController* controller) {
    if (m_controller == controller)
        return;
    if (m_controller)
        m_controller->disconnect(this);
    m_controller = controller;
    if (controller) {
        connect(controller, &MeshController::transportStateChanged, this,
                &ShellModel::connectionChanged);
        connect(controller, &MeshController::connectionErrorChanged, this, [this] {
            m_errorDismissed = false;
            Q_EMIT connectionErrorChanged();
        });
        connect(controller, &MeshController::isSyncingChanged, this, &ShellModel::pillChanged);
        connect(controller, &MeshController::selfInfoChanged, this, &ShellModel::pillChanged);
        connect(controller, &MeshController::batteryChanged, this, &ShellModel::pillChanged);
        connect(controller, &MeshController::selectedConversationChanged, this, [this] {
            if (const auto& selected = m_controller->selectedConversation())
                m_heldSelection = selected->conversationKey();
            else if (!m_controller->isReconnecting())
                m_heldSelection.clear();
            Q_EMIT selectionChanged();
        });
        connect(controller, &MeshController::isReconnectingChanged, this, [this] {
            if (!m_controller->isReconnecting()) {
                const QString held = std::exchange(m_heldSelection, QString());
                if (connected() && !held.isEmpty() && !m_controller->selectedConversation())
                    m_controller->setSelectedConversation(conversationFromKey(held));
            }
            Q_EMIT connectionChanged();
            Q_EMIT pillChanged();
            Q_EMIT selectionChanged();
        });
        connect(controller, &MeshController::rememberedDeviceChanged, this,
                &ShellModel::pillChanged);
        connect(controller, &MeshController::autoReconnectChanged, this,
                &ShellModel::autoReconnectChanged);
        connect(controller, &MeshController::contactsChanged, this, &ShellModel::selectionChanged);
        connect(controller, &MeshController::totalUnreadCountChanged, this,
                &ShellModel::totalUnreadCountChanged);
    }
    Q_EMIT controllerChanged();
    Q_EMIT connectionChanged();
    Q_EMIT connectionErrorChanged();
    Q_EMIT pillChanged();
    Q_EMIT selectionChanged();
    Q_EMIT totalUnreadCountChanged();
    Q_EMIT autoReconnectChanged();
}

QString ShellModel::transportStateName() const {
    if (!m_controller)
        return {};
    return QString::fromLatin1(
        QMetaEnum::fromType<TransportState>().valueToKey(int(m_controller->transportState())));
}

bool ShellModel::connected() const {
    return m_controller && m_controller->transportState() == TransportState::connected;
}

bool ShellModel::reconnecting() const {
    return m_controller && m_controller->isReconnecting();
}

bool ShellModel::autoReconnect() const {
    return m_controller && m_controller->autoReconnect();
}

void ShellModel::setAutoReconnect(bool on) {
    if (m_controller)
        m_controller->setAutoReconnect(on);
}

bool ShellModel::scanning() const {
    return m_controller && m_controller->transportState() == TransportState::scanning;
}

QString ShellModel::statusText() const {
    return m_controller ? qtTrId(ViewLogic::connectionStatusKey(m_controller->transportState()))
                        : QString();
}

bool ShellModel::canScan() const {
    return m_controller && ViewLogic::scanButtonEnabled(m_controller->transportState());
}

bool ShellModel::showStop() const {
    return m_controller && ViewLogic::scanButtonStops(m_controller->transportState());
}

QString ShellModel::connectionError() const {
    return m_controller && !m_errorDismissed ? m_controller->connectionError() : QString();
}

bool ShellModel::syncing() const {
    return m_controller && m_controller->isSyncing();
}

QString ShellModel::pillTitle() const {
    // While reconnecting the radio's own name is gone with it: the one it
    // had when the user chose it stands in.
    if (reconnecting() && !m_controller->selfInfo() &&
        !m_controller->rememberedDeviceName().isEmpty())
        return ViewLogic::safeName(m_controller->rememberedDeviceName());
    return ViewLogic::safeName(
        ViewLogic::pillTitle(m_controller ? m_controller->selfInfo() : std::nullopt));
}

QString ShellModel::pillSecondLine() const {
    if (!m_controller)
        return {};
    if (reconnecting())
        return qtTrId("main.connection.reconnecting");
    const auto line = ViewLogic::pillSecondLine(m_controller->isSyncing(), m_controller->battery());
    return line ? line->text() : QString();
}

QString ShellModel::pillDotTint() const {
    return Look::tintName(ViewLogic::pillDotTint(m_controller ? m_controller->transportState()
                                                              : TransportState::disconnected));
}

QString ShellModel::selectedConversationKey() const {
    if (!m_controller)
        return {};
    if (!m_controller->selectedConversation())
        return reconnecting() ? m_heldSelection : QString();
    return m_controller->selectedConversation()->conversationKey();
}

QString ShellModel::currentChatContactKey() const {
    if (!m_controller)
        return {};
    const auto& selected = m_controller->selectedConversation();
    if (!selected || !selected->isContact() || !m_controller->contactForKey(selected->contactKey()))
        return {};
    return selected->contactKey();
}

qint64 ShellModel::totalUnreadCount() const {
    return m_controller ? m_controller->totalUnreadCount() : 0;
}

void ShellModel::select(const QString& conversationKey) {
    if (!m_controller)
        return;
    const auto target = conversationFromKey(conversationKey);
    if (!target)
        m_heldSelection.clear();
    m_controller->setSelectedConversation(target);
    if (target)
        m_controller->markConversationRead(*target);
}

void ShellModel::open(const QString& conversationKey) {
    select(conversationKey);
    Q_EMIT conversationOpened(conversationKey);
}

void ShellModel::openMessage(const QString& conversationKey, const QString& messageId) {
    // Set anew each time, so the same result chosen twice shows twice.
    m_revealedMessageId.clear();
    Q_EMIT revealedMessageIdChanged();
    open(conversationKey);
    m_revealedMessageId = messageId;
    Q_EMIT revealedMessageIdChanged();
}

void ShellModel::startScan() {
    if (m_controller)
        m_controller->startScan();
}

void ShellModel::stopScan() {
    if (m_controller)
        m_controller->stopScan();
}

bool ShellModel::scanIfIdle() {
    if (!m_controller || !ViewLogic::shouldStartScan(m_controller->transportState(),
                                                     m_controller->discoveredDevices().size()))
        return false;
    m_controller->startScan();
    return true;
}

void ShellModel::dismissConnectionError() {
    if (m_errorDismissed || connectionError().isEmpty())
        return;
    m_errorDismissed = true;
    Q_EMIT connectionErrorChanged();
}

void ShellModel::disconnectFromDevice() {
    if (m_controller)
        m_controller->disconnectFromDevice();
}

bool ShellModel::hasContact(const QString& publicKey) const {
    return m_controller && m_controller->contactForKey(publicKey).has_value();
}

QString ShellModel::contactTitle(const QString& publicKey) const {
    if (!m_controller)
        return {};
    const auto contact = m_controller->contactForKey(publicKey);
    return contact ? ViewLogic::safeName(ViewLogic::contactTitle(*contact)) : QString();
}
