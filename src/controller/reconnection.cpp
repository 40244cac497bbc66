// Getting the remembered radio back by itself after a drop the user did not
// ask for, and at start.
//
// Attempts are 1 s after the drop, then further apart (2, 4, 8, ... s, at
// most reconnectPauseCap). Only a connection whose handshake went through
// ends the count: a radio that drops the link during every handshake is
// tried less and less often. A pause or scan that ends far later than it
// should (the computer slept), Bluetooth coming back and the preference
// turned on again start the pauses over.

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

QString ReconnectionState::settingsKey(const char* key) const {
    return group.isEmpty() ? QLatin1String(key) : group + QLatin1Char('/') + QLatin1String(key);
}

bool ReconnectionState::overslept(const QDateTime& now) const {
    return due.isValid() && due.msecsTo(now) > std::chrono::milliseconds(wakeSlack).count();
}

std::chrono::milliseconds MeshController::reconnectPause(int failures) {
    if (failures >= 6) // 64 s and up
        return reconnectPauseCap;
    return std::min(reconnectPauseCap, std::chrono::milliseconds(1000LL << std::max(failures, 0)));
}

std::optional<QUuid> MeshController::rememberedDeviceId() const {
    if (m_reconnect.remembered.id.isNull())
        return std::nullopt;
    return m_reconnect.remembered.id;
}

void MeshController::setAutoReconnect(bool on) {
    if (m_reconnect.autoReconnect == on)
        return;
    m_reconnect.autoReconnect = on;
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
    if (!m_reconnect.mayReconnect() || m_transportState == TransportState::connected ||
        m_transportState == TransportState::connecting ||
        m_reconnect.step == ReconnectStep::connecting)
        return false;
    const bool scanning = m_reconnect.step == ReconnectStep::scanning;
    cancelReconnectTimer();
    // Idle first, so that the scan's end is not taken for a failed attempt.
    setReconnectStep(ReconnectStep::idle);
    if (scanning && m_link)
        m_link->stopScan();
    m_reconnect.failures = 0;
    assign(m_reconnect.reconnecting, true, &MeshController::isReconnectingChanged);
    scheduleReconnectAttempt(0ms);
    return true;
}

bool MeshController::enableAutomaticReconnection() {
    m_reconnect.enabled = true;
    if (!m_reconnect.mayReconnect() || m_reconnect.reconnecting ||
        m_transportState == TransportState::connected ||
        m_transportState == TransportState::connecting)
        return false;
    beginReconnecting(0ms);
    return true;
}

void MeshController::setReconnectStep(ReconnectStep step) {
    const bool waited = waitsForBluetooth();
    m_reconnect.step = step;
    if (waitsForBluetooth() != waited)
        Q_EMIT waitsForBluetoothChanged();
}

void MeshController::rememberDevice(const DiscoveredDevice& device) {
    const RememberedDevice remembered{device.id, device.name};
    if (m_reconnect.remembered == remembered)
        return;
    m_reconnect.remembered = remembered;
    if (m_settings) {
        if (device.id.isNull()) {
            m_settings->remove(m_reconnect.settingsKey(lastDeviceIdKey));
            m_settings->remove(m_reconnect.settingsKey(lastDeviceNameKey));
        } else {
            m_settings->setValue(m_reconnect.settingsKey(lastDeviceIdKey),
                                 device.id.toString(QUuid::WithoutBraces));
            m_settings->setValue(m_reconnect.settingsKey(lastDeviceNameKey), device.name);
        }
    }
    Q_EMIT rememberedDeviceChanged();
}

void MeshController::setRememberedDeviceGroup(const QString& group) {
    if (m_reconnect.group == group)
        return;
    m_reconnect.group = group;
    const RememberedDevice before = m_reconnect.remembered;
    loadRememberedDevice();
    if (before != m_reconnect.remembered)
        Q_EMIT rememberedDeviceChanged();
}

void MeshController::forgetRememberedDevice() {
    stopReconnecting();
    rememberDevice({});
}

void MeshController::beginReconnecting(std::chrono::milliseconds firstPause) {
    assign(m_reconnect.reconnecting, true, &MeshController::isReconnectingChanged);
    scheduleReconnectAttempt(firstPause);
}

void MeshController::endReconnectAttempt() {
    cancelReconnectTimer();
    setReconnectStep(ReconnectStep::idle);
    assign(m_reconnect.reconnecting, false, &MeshController::isReconnectingChanged);
}

void MeshController::stopReconnecting() {
    const ReconnectStep step = m_reconnect.step;
    cancelReconnectTimer();
    setReconnectStep(ReconnectStep::idle);
    m_reconnect.failures = 0;
    if (step == ReconnectStep::scanning && m_link)
        m_link->stopScan();
    assign(m_reconnect.reconnecting, false, &MeshController::isReconnectingChanged);
}

void MeshController::cancelReconnectTimer() {
    if (m_reconnect.timer && m_clock)
        m_clock->cancel(m_reconnect.timer);
    m_reconnect.timer = 0;
}

void MeshController::scheduleReconnectAttempt(std::chrono::milliseconds delay) {
    cancelReconnectTimer();
    // No Bluetooth to look with: the next attempt is when it comes back.
    if (bluetoothUnusable(m_transportState)) {
        setReconnectStep(ReconnectStep::waitingForBluetooth);
        return;
    }
    setReconnectStep(ReconnectStep::pausing);
    m_reconnect.due = m_clock->now().addMSecs(delay.count());
    waitForReconnectAttempt(delay);
}

void MeshController::waitForReconnectAttempt(std::chrono::milliseconds left) {
    m_reconnect.timer =
        m_clock->schedule(std::min(left, std::chrono::milliseconds(wakeCheck)), [this] {
            m_reconnect.timer = 0;
            if (m_reconnect.overslept(m_clock->now())) {
                reconnectNow();
                return;
            }
            const qint64 remaining = m_clock->now().msecsTo(m_reconnect.due);
            if (remaining > 0)
                waitForReconnectAttempt(std::chrono::milliseconds(remaining));
            else
                attemptReconnect();
        });
}

void MeshController::attemptReconnect() {
    if (!m_reconnect.reconnecting || !m_link)
        return;
    if (m_transportState == TransportState::connected) {
        stopReconnecting();
        return;
    }
    // The step and the scan's end are set first: a link may report the radio
    // from inside startScan.
    setReconnectStep(ReconnectStep::scanning);
    m_reconnect.due = m_clock->now().addMSecs(reconnectScanWindow.count());
    m_reconnect.timer = m_clock->schedule(reconnectScanWindow, [this] {
        m_reconnect.timer = 0;
        if (m_reconnect.step != ReconnectStep::scanning)
            return;
        if (m_reconnect.overslept(m_clock->now())) {
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
            if (device.id == m_reconnect.remembered.id) {
                onReconnectDiscovered(device);
                break;
            }
        }
        return;
    }
    startScan();
    if (m_reconnect.step == ReconnectStep::scanning &&
        m_transportState != TransportState::scanning) {
        // No Bluetooth to scan with: the next attempt is when it comes back.
        cancelReconnectTimer();
        setReconnectStep(ReconnectStep::waitingForBluetooth);
    }
}

void MeshController::reconnectAttemptFailed() {
    if (!m_reconnect.reconnecting)
        return;
    // An attempt that ends long after it was due spanned a sleep.
    if (m_reconnect.overslept(m_clock->now())) {
        reconnectNow();
        return;
    }
    ++m_reconnect.failures;
    scheduleReconnectAttempt(reconnectPause(m_reconnect.failures));
}

// Bluetooth is back after a sleep, or with an adapter that came back: as
// when it is switched back on, a waiting attempt goes ahead at once.
void MeshController::onBluetoothReturned() {
    if (m_reconnect.reconnecting && m_reconnect.step == ReconnectStep::pausing)
        reconnectNow();
}

void MeshController::onReconnectDiscovered(const DiscoveredDevice& device) {
    if (m_reconnect.step != ReconnectStep::scanning || device.id != m_reconnect.remembered.id)
        return;
    cancelReconnectTimer();
    setReconnectStep(ReconnectStep::connecting);
    m_reconnect.due = m_clock->now().addMSecs(std::chrono::milliseconds(connectWatchdog).count());
    m_reconnect.timer = m_clock->schedule(connectWatchdog, [this] {
        m_reconnect.timer = 0;
        if (m_reconnect.step == ReconnectStep::connecting && m_link)
            m_link->disconnectFromDevice(); // reported as disconnected: a failed attempt
    });
    m_link->connectToDevice(device);
}

void MeshController::onReconnectStateChanged(TransportState previous, TransportState state) {
    if (!m_reconnect.reconnecting) {
        // A drop the user did not ask for: the user's own disconnect forgets
        // the radio first.
        const bool dropped = previous == TransportState::connected &&
                             (state == TransportState::disconnected || bluetoothUnusable(state));
        if (dropped && m_reconnect.mayReconnect()) {
            // A link that went before its handshake was through is a failed
            // attempt: the pauses go on growing.
            if (m_reconnect.provenConnection != m_sync.connection)
                ++m_reconnect.failures;
            beginReconnecting(reconnectPause(m_reconnect.failures));
        }
        return;
    }
    switch (m_reconnect.step) {
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
