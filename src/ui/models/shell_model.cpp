#include "shell_model.h"

#include "controller/mesh_controller.h"
#include "logic/connection_texts.h"
#include "logic/conversation_row.h"
#include "logic/safe_text.h"
#include "look.h"
#include "time/clock.h"

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
    : ControllerBoundObject(parent) {}

ShellModel::~ShellModel() {
    cancelScanLimit();
}

void ShellModel::attach(MeshController* controller) {
    cancelScanLimit();
    if (controller) {
        connect(controller, &MeshController::transportStateChanged, this, [this] {
            // Over some other way (Bluetooth off, a radio chosen).
            const TransportState state = this->controller()->transportState();
            if (state != TransportState::scanning && state != TransportState::ready)
                cancelScanLimit();
            // Bluetooth back on is a fresh start: it scans by itself again.
            if (state == TransportState::poweredOff || state == TransportState::unauthorized)
                m_scanEnded = false;
            Q_EMIT connectionChanged();
        });
        connect(controller, &MeshController::connectionErrorChanged, this, [this] {
            m_errorDismissed = false;
            Q_EMIT connectionErrorChanged();
        });
        connect(controller, &MeshController::isSyncingChanged, this, &ShellModel::pillChanged);
        connect(controller, &MeshController::selfInfoChanged, this, &ShellModel::pillChanged);
        connect(controller, &MeshController::batteryChanged, this, &ShellModel::pillChanged);
        connect(controller, &MeshController::selectedConversationChanged, this, [this] {
            if (const auto& selected = this->controller()->selectedConversation())
                m_heldSelection = selected->conversationKey();
            else if (!this->controller()->isReconnecting())
                m_heldSelection.clear();
            Q_EMIT selectionChanged();
        });
        connect(controller, &MeshController::isReconnectingChanged, this, [this] {
            if (!this->controller()->isReconnecting()) {
                const QString held = std::exchange(m_heldSelection, QString());
                if (connected() && !held.isEmpty() && !this->controller()->selectedConversation())
                    this->controller()->setSelectedConversation(conversationFromKey(held));
            }
            Q_EMIT connectionChanged();
            Q_EMIT pillChanged();
            Q_EMIT selectionChanged();
        });
        connect(controller, &MeshController::rememberedDeviceChanged, this, [this] {
            Q_EMIT pillChanged();
            Q_EMIT connectionChanged();
        });
        for (const auto changed :
             {&MeshController::radioAwayChanged, &MeshController::waitsForBluetoothChanged})
            connect(controller, changed, this, [this] {
                Q_EMIT connectionChanged();
                Q_EMIT pillChanged();
            });
        connect(controller, &MeshController::autoReconnectChanged, this,
                &ShellModel::autoReconnectChanged);
        connect(controller, &MeshController::contactsChanged, this, &ShellModel::selectionChanged);
        connect(controller, &MeshController::totalUnreadCountChanged, this,
                &ShellModel::totalUnreadCountChanged);
    }
    Q_EMIT connectionChanged();
    Q_EMIT connectionErrorChanged();
    Q_EMIT pillChanged();
    Q_EMIT selectionChanged();
    Q_EMIT totalUnreadCountChanged();
    Q_EMIT autoReconnectChanged();
}

QString ShellModel::transportStateName() const {
    if (!controller())
        return {};
    return QString::fromLatin1(
        QMetaEnum::fromType<TransportState>().valueToKey(int(controller()->transportState())));
}

bool ShellModel::connected() const {
    return controller() && controller()->transportState() == TransportState::connected;
}

bool ShellModel::reconnecting() const {
    return controller() && controller()->isReconnecting();
}

bool ShellModel::lookingForRadio() const {
    return reconnecting() && !(radioAway() && controller()->waitsForBluetooth());
}

bool ShellModel::radioAway() const {
    return controller() && controller()->radioAway() && !connected();
}

QString ShellModel::radioNeededReason() const {
    if (!controller() || connected())
        return {};
    const QString name = ViewLogic::safeName(controller()->rememberedDeviceName());
    if (lookingForRadio())
        return qtTrId("main.radio.needed.reconnecting").arg(name);
    return qtTrId("main.radio.needed.away");
}

bool ShellModel::canForgetRadio() const {
    return controller() && (!controller()->bookRadioKey().isEmpty() ||
                            controller()->rememberedDeviceId().has_value());
}

void ShellModel::forgetThisRadio() {
    if (controller())
        controller()->forgetThisRadio();
}

bool ShellModel::autoReconnect() const {
    return controller() && controller()->autoReconnect();
}

void ShellModel::setAutoReconnect(bool on) {
    if (controller())
        controller()->setAutoReconnect(on);
}

bool ShellModel::scanning() const {
    return controller() && controller()->transportState() == TransportState::scanning;
}

bool ShellModel::scanFinished() const {
    return m_scanEnded && controller() && controller()->transportState() == TransportState::ready;
}

QString ShellModel::statusText() const {
    if (scanFinished())
        return qtTrId("connection.empty.none.found");
    return controller() ? qtTrId(ViewLogic::connectionStatusKey(controller()->transportState()))
                        : QString();
}

bool ShellModel::canScan() const {
    return controller() && ViewLogic::scanButtonEnabled(controller()->transportState());
}

bool ShellModel::showStop() const {
    return controller() && ViewLogic::scanButtonStops(controller()->transportState());
}

QString ShellModel::connectionError() const {
    return controller() && !m_errorDismissed ? controller()->connectionError() : QString();
}

bool ShellModel::syncing() const {
    return controller() && controller()->isSyncing();
}

QString ShellModel::pillTitle() const {
    // While reconnecting the radio's own name is gone with it: the one it
    // had when the user chose it stands in.
    if (reconnecting() && !controller()->selfInfo() &&
        !controller()->rememberedDeviceName().isEmpty())
        return ViewLogic::safeName(controller()->rememberedDeviceName());
    return ViewLogic::safeName(
        ViewLogic::pillTitle(controller() ? controller()->selfInfo() : std::nullopt));
}

QString ShellModel::pillSecondLine() const {
    if (!controller())
        return {};
    if (lookingForRadio())
        return qtTrId("main.connection.reconnecting");
    if (radioAway())
        return qtTrId("main.connection.away");
    const auto line = ViewLogic::pillSecondLine(controller()->isSyncing(), controller()->battery());
    return line ? line->text() : QString();
}

QString ShellModel::pillDotTint() const {
    return Look::tintName(ViewLogic::pillDotTint(controller() ? controller()->transportState()
                                                              : TransportState::disconnected));
}

QString ShellModel::selectedConversationKey() const {
    if (!controller())
        return {};
    if (!controller()->selectedConversation())
        return reconnecting() ? m_heldSelection : QString();
    return controller()->selectedConversation()->conversationKey();
}

QString ShellModel::currentChatContactKey() const {
    if (!controller())
        return {};
    const auto& selected = controller()->selectedConversation();
    if (!selected || !selected->isContact() || !controller()->contactForKey(selected->contactKey()))
        return {};
    return selected->contactKey();
}

qint64 ShellModel::totalUnreadCount() const {
    return controller() ? controller()->totalUnreadCount() : 0;
}

void ShellModel::select(const QString& conversationKey) {
    if (!controller())
        return;
    const auto target = conversationFromKey(conversationKey);
    if (!target)
        m_heldSelection.clear();
    controller()->setSelectedConversation(target);
    if (target)
        controller()->markConversationRead(*target);
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
    if (controller())
        beginScan();
}

void ShellModel::stopScan() {
    if (!controller())
        return;
    m_scanEnded = true;
    controller()->stopScan();
}

bool ShellModel::scanIfIdle() {
    // After a scan that ended the user scans again when they want.
    if (!controller() || m_scanEnded ||
        !ViewLogic::shouldStartScan(controller()->transportState(),
                                    controller()->discoveredDevices().size()))
        return false;
    beginScan();
    return true;
}

void ShellModel::beginScan() {
    cancelScanLimit();
    m_scanEnded = false;
    controller()->startScan();
    // The link may report the scan a moment later.
    m_scanClock = controller()->clock();
    if (!m_scanClock)
        return;
    m_scanLimit = m_scanClock->schedule(scanWindow, [this] {
        m_scanLimit = 0;
        if (!scanning())
            return;
        m_scanEnded = true;
        controller()->stopScan();
    });
}

void ShellModel::cancelScanLimit() {
    if (m_scanLimit != 0 && m_scanClock)
        m_scanClock->cancel(m_scanLimit);
    m_scanLimit = 0;
}

void ShellModel::dismissConnectionError() {
    if (m_errorDismissed || connectionError().isEmpty())
        return;
    m_errorDismissed = true;
    Q_EMIT connectionErrorChanged();
}

void ShellModel::disconnectFromDevice() {
    if (controller())
        controller()->disconnectFromDevice();
}

bool ShellModel::hasContact(const QString& publicKey) const {
    return controller() && controller()->contactForKey(publicKey).has_value();
}

QString ShellModel::contactTitle(const QString& publicKey) const {
    if (!controller())
        return {};
    const auto contact = controller()->contactForKey(publicKey);
    return contact ? ViewLogic::safeName(ViewLogic::contactTitle(*contact)) : QString();
}
