// Getting the remembered radio back by itself after a drop the user did not
// ask for, and at start.

#include "controller/mesh_controller.h"
#include "time/clock.h"
#include "transport/mesh_link.h"

#include <QSettings>

using namespace std::chrono_literals;

namespace {

// A step that ends this much later than it was due spanned a sleep of the
// computer: the radio may well be back, so the pauses start over.
constexpr auto wakeSlack = 30s;
// Timers stand still while the computer sleeps; a pause waits in slices of
// this much, so that waking is noticed by the wall clock soon after.
constexpr auto wakeCheck = 5s;
// The link gives up on a connection by itself; this only guards against a
// link that never says how its attempt ended.
constexpr auto connectWatchdog = 60s;

bool bluetoothUnusable(TransportState state) {
    return state == TransportState::poweredOff || state == TransportState::unauthorized;
}

} // namespace

std::chrono::milliseconds MeshController::reconnectPause(int failures) {
    if (failures >= 6) // 64 s and up
        return reconnectPauseCap;
    return std::min(reconnectPauseCap, std::chrono::milliseconds(1000LL << std::max(failures, 0)));
}

std::optional<QUuid> MeshController::rememberedDeviceId() const {
    if (m_rememberedDevice.id.isNull())
        return std::nullopt;
    return m_rememberedDevice.id;
}

void MeshController::setAutoReconnect(bool on) {
    if (m_autoReconnect == on)
        return;
    m_autoReconnect = on;
    if (m_settings)
        m_settings->setValue(QLatin1String(autoReconnectKey), on);
    // A connection attempt already under way runs to its end. Turned on
    // again, the remembered radio is looked for at once.
    if (!on)
        stopReconnecting();
    else
        reconnectNow();
    Q_EMIT autoReconnectChanged();
}

bool MeshController::reconnectNow() {
    if (!m_reconnectionEnabled || !m_autoReconnect || m_rememberedDevice.id.isNull() ||
        m_transportState == TransportState::connected ||
        m_transportState == TransportState::connecting ||
        m_reconnectStep == ReconnectStep::connecting)
        return false;
    const bool scanning = m_reconnectStep == ReconnectStep::scanning;
    cancelReconnectTimer();
    // Idle first, so that the scan's end is not taken for a failed attempt.
    setReconnectStep(ReconnectStep::idle);
    if (scanning && m_link)
        m_link->stopScan();
    m_reconnectFailures = 0;
    assign(m_isReconnecting, true, &MeshController::isReconnectingChanged);
    scheduleReconnectAttempt(0ms);
    return true;
}

bool MeshController::enableAutomaticReconnection() {
    m_reconnectionEnabled = true;
    if (!m_autoReconnect || m_rememberedDevice.id.isNull() || m_isReconnecting ||
        m_transportState == TransportState::connected ||
        m_transportState == TransportState::connecting)
        return false;
    beginReconnecting(0ms);
    return true;
}

void MeshController::setReconnectStep(ReconnectStep step) {
    const bool waited = waitsForBluetooth();
    m_reconnectStep = step;
    if (waitsForBluetooth() != waited)
        Q_EMIT waitsForBluetoothChanged();
}

void MeshController::rememberDevice(const DiscoveredDevice& device) {
    if (m_rememberedDevice.id == device.id && m_rememberedDevice.name == device.name)
        return;
    m_rememberedDevice = {device.id, device.name};
    if (m_settings) {
        if (device.id.isNull()) {
            m_settings->remove(rememberedDeviceKey(lastDeviceIdKey));
            m_settings->remove(rememberedDeviceKey(lastDeviceNameKey));
        } else {
            m_settings->setValue(rememberedDeviceKey(lastDeviceIdKey),
                                 device.id.toString(QUuid::WithoutBraces));
            m_settings->setValue(rememberedDeviceKey(lastDeviceNameKey), device.name);
        }
    }
    Q_EMIT rememberedDeviceChanged();
}

QString MeshController::rememberedDeviceKey(const char* key) const {
    return m_rememberedDeviceGroup.isEmpty()
               ? QLatin1String(key)
               : m_rememberedDeviceGroup + QLatin1Char('/') + QLatin1String(key);
}

void MeshController::setRememberedDeviceGroup(const QString& group) {
    if (m_rememberedDeviceGroup == group)
        return;
    m_rememberedDeviceGroup = group;
    const RememberedDevice before = m_rememberedDevice;
    loadRememberedDevice();
    if (before.id != m_rememberedDevice.id || before.name != m_rememberedDevice.name)
        Q_EMIT rememberedDeviceChanged();
}

void MeshController::forgetRememberedDevice() {
    stopReconnecting();
    rememberDevice({});
}

void MeshController::beginReconnecting(std::chrono::milliseconds firstPause) {
    assign(m_isReconnecting, true, &MeshController::isReconnectingChanged);
    scheduleReconnectAttempt(firstPause);
}

void MeshController::endReconnectAttempt() {
    cancelReconnectTimer();
    setReconnectStep(ReconnectStep::idle);
    assign(m_isReconnecting, false, &MeshController::isReconnectingChanged);
}

bool MeshController::reconnectStepOverslept() const {
    return m_reconnectDue.isValid() &&
           m_reconnectDue.msecsTo(m_clock->now()) > std::chrono::milliseconds(wakeSlack).count();
}

void MeshController::stopReconnecting() {
    const ReconnectStep step = m_reconnectStep;
    cancelReconnectTimer();
    setReconnectStep(ReconnectStep::idle);
    m_reconnectFailures = 0;
    if (step == ReconnectStep::scanning && m_link)
        m_link->stopScan();
    assign(m_isReconnecting, false, &MeshController::isReconnectingChanged);
}

void MeshController::cancelReconnectTimer() {
    if (m_reconnectTimer && m_clock)
        m_clock->cancel(m_reconnectTimer);
    m_reconnectTimer = 0;
}

void MeshController::scheduleReconnectAttempt(std::chrono::milliseconds delay) {
    cancelReconnectTimer();
    // No Bluetooth to look with: the next attempt is when it comes back.
    if (bluetoothUnusable(m_transportState)) {
        setReconnectStep(ReconnectStep::waitingForBluetooth);
        return;
    }
    setReconnectStep(ReconnectStep::pausing);
    m_reconnectDue = m_clock->now().addMSecs(delay.count());
    waitForReconnectAttempt(delay);
}

void MeshController::waitForReconnectAttempt(std::chrono::milliseconds left) {
    m_reconnectTimer =
        m_clock->schedule(std::min(left, std::chrono::milliseconds(wakeCheck)), [this] {
            m_reconnectTimer = 0;
            if (reconnectStepOverslept()) {
                reconnectNow();
                return;
            }
            const qint64 remaining = m_clock->now().msecsTo(m_reconnectDue);
            if (remaining > 0)
                waitForReconnectAttempt(std::chrono::milliseconds(remaining));
            else
                attemptReconnect();
        });
}

void MeshController::attemptReconnect() {
    if (!m_isReconnecting || !m_link)
        return;
    if (m_transportState == TransportState::connected) {
        stopReconnecting();
        return;
    }
    // The step and the scan's end are set first: a link may report the radio
    // from inside startScan.
    setReconnectStep(ReconnectStep::scanning);
    m_reconnectDue = m_clock->now().addMSecs(reconnectScanWindow.count());
    m_reconnectTimer = m_clock->schedule(reconnectScanWindow, [this] {
        m_reconnectTimer = 0;
        if (m_reconnectStep != ReconnectStep::scanning)
            return;
        if (reconnectStepOverslept()) {
            reconnectNow();
            return;
        }
        setReconnectStep(ReconnectStep::idle);
        if (m_link)
            m_link->stopScan();
        reconnectAttemptFailed();
    });
    if (m_transportState == TransportState::scanning) {
        // The link scans already (it went on with a scan when Bluetooth came
        // back): that scan is this attempt's, and what it found counts.
        for (const DiscoveredDevice& device : std::as_const(m_discoveredDevices)) {
            if (device.id == m_rememberedDevice.id) {
                onReconnectDiscovered(device);
                break;
            }
        }
        return;
    }
    startScan();
    if (m_reconnectStep == ReconnectStep::scanning &&
        m_transportState != TransportState::scanning) {
        // No Bluetooth to scan with: the next attempt is when it comes back.
        cancelReconnectTimer();
        setReconnectStep(ReconnectStep::waitingForBluetooth);
    }
}

void MeshController::reconnectAttemptFailed() {
    if (!m_isReconnecting)
        return;
    // An attempt that ends long after it was due spanned a sleep.
    if (reconnectStepOverslept()) {
        reconnectNow();
        return;
    }
    ++m_reconnectFailures;
    scheduleReconnectAttempt(reconnectPause(m_reconnectFailures));
}

// Bluetooth is back after a sleep, or with an adapter that came back: as
// when it is switched back on, a waiting attempt goes ahead at once.
void MeshController::onBluetoothReturned() {
    if (m_isReconnecting && m_reconnectStep == ReconnectStep::pausing)
        reconnectNow();
}

void MeshController::onReconnectDiscovered(const DiscoveredDevice& device) {
    if (m_reconnectStep != ReconnectStep::scanning || device.id != m_rememberedDevice.id)
        return;
    cancelReconnectTimer();
    setReconnectStep(ReconnectStep::connecting);
    m_reconnectDue = m_clock->now().addMSecs(std::chrono::milliseconds(connectWatchdog).count());
    m_reconnectTimer = m_clock->schedule(connectWatchdog, [this] {
        m_reconnectTimer = 0;
        if (m_reconnectStep == ReconnectStep::connecting && m_link)
            m_link->disconnectFromDevice(); // reported as disconnected: a failed attempt
    });
    m_link->connectToDevice(device);
}

void MeshController::onReconnectStateChanged(TransportState previous, TransportState state) {
    if (!m_isReconnecting) {
        // A drop the user did not ask for: the user's own disconnect forgets
        // the radio first.
        const bool dropped = previous == TransportState::connected &&
                             (state == TransportState::disconnected || bluetoothUnusable(state));
        if (dropped && m_reconnectionEnabled && m_autoReconnect &&
            !m_rememberedDevice.id.isNull()) {
            // A link that went before its handshake was through is a failed
            // attempt: the pauses go on growing.
            if (m_provenConnection != m_sync.connection)
                ++m_reconnectFailures;
            beginReconnecting(reconnectPause(m_reconnectFailures));
        }
        return;
    }
    switch (m_reconnectStep) {
    case ReconnectStep::idle:
        break;
    case ReconnectStep::pausing:
        if (bluetoothUnusable(state)) {
            cancelReconnectTimer();
            setReconnectStep(ReconnectStep::waitingForBluetooth);
        }
        break;
    case ReconnectStep::waitingForBluetooth:
        if (state == TransportState::ready)
            reconnectNow();
        break;
    case ReconnectStep::scanning:
        if (bluetoothUnusable(state)) {
            cancelReconnectTimer();
            setReconnectStep(ReconnectStep::waitingForBluetooth);
        } else if (state != TransportState::scanning) {
            // The scan ended without finding the radio.
            cancelReconnectTimer();
            setReconnectStep(ReconnectStep::idle);
            reconnectAttemptFailed();
        }
        break;
    case ReconnectStep::connecting:
        if (state == TransportState::disconnected || bluetoothUnusable(state)) {
            cancelReconnectTimer();
            setReconnectStep(ReconnectStep::idle);
            reconnectAttemptFailed();
        }
        break;
    }
}
