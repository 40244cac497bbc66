#include "transport/bluetooth_transport.h"

#include "transport/link_log.h"

using PowerState = BleAdapter::PowerState;
using ErrorKind = BleAdapter::ErrorKind;

const QBluetoothUuid BluetoothTransport::serviceUUID{
    QStringLiteral("6E400001-B5A3-F393-E0A9-E50E24DCCA9E")};
const QBluetoothUuid BluetoothTransport::rxUUID{
    QStringLiteral("6E400002-B5A3-F393-E0A9-E50E24DCCA9E")};
const QBluetoothUuid BluetoothTransport::txUUID{
    QStringLiteral("6E400003-B5A3-F393-E0A9-E50E24DCCA9E")};

const QString BluetoothTransport::fallbackName = QStringLiteral("Talvenne Device");
const QString BluetoothTransport::serviceNotFoundText =
    QStringLiteral("Talvenne service not found");
const QString BluetoothTransport::characteristicsNotFoundText =
    QStringLiteral("Talvenne characteristics not found");
const QString BluetoothTransport::failedToConnectText = QStringLiteral("Failed to connect");
const QString BluetoothTransport::pairingRemovedText =
    QStringLiteral("Couldn't pair with the device. Please try connecting again, or remove it "
                   "from System Settings \u203a Bluetooth and retry.");
const QString BluetoothTransport::connectTimedOutText =
    QStringLiteral("The radio did not answer. Make sure it is switched on and nearby, then try "
                   "again.");

BluetoothTransport::BluetoothTransport(BleAdapter* adapter, Clock* clock, QObject* parent)
    : MeshLink(parent)
    , m_adapter(adapter)
    , m_clock(clock) {
    connect(adapter, &BleAdapter::powerStateChanged, this,
            &BluetoothTransport::onPowerStateChanged);
    connect(adapter, &BleAdapter::discovered, this, &BluetoothTransport::onDiscovered);
    connect(adapter, &BleAdapter::scanEnded, this, &BluetoothTransport::onScanEnded);
    connect(adapter, &BleAdapter::peripheralConnected, this,
            &BluetoothTransport::onPeripheralConnected);
    connect(adapter, &BleAdapter::failedToConnect, this, &BluetoothTransport::onFailedToConnect);
    connect(adapter, &BleAdapter::peripheralDisconnected, this,
            &BluetoothTransport::onPeripheralDisconnected);
    connect(adapter, &BleAdapter::servicesDiscovered, this,
            &BluetoothTransport::onServicesDiscovered);
    connect(adapter, &BleAdapter::characteristicsDiscovered, this,
            &BluetoothTransport::onCharacteristicsDiscovered);
    connect(adapter, &BleAdapter::notificationStateChanged, this,
            &BluetoothTransport::onNotificationStateChanged);
    connect(adapter, &BleAdapter::valueUpdated, this, &BluetoothTransport::onValueUpdated);
}

BluetoothTransport::~BluetoothTransport() {
    cancelPendingReconnection();
    cancelConnectTimer();
}

void BluetoothTransport::setState(TransportState state) {
    if (state != m_state)
        qCDebug(lcLink) << "state" << m_state << "->" << state;
    m_state = state;
    Q_EMIT transportStateChanged(state);
}

void BluetoothTransport::startScan() {
    // Without a powered-on radio there is nothing to scan with; the state
    // stays what the last power report made it.
    if (m_adapter->powerState() != PowerState::poweredOn) {
        qCDebug(lcLink) << "scan not started, Bluetooth is" << m_adapter->powerState();
        return;
    }
    m_loggedDevices.clear();
    m_wantsScan = true;
    setState(TransportState::scanning);
    qCDebug(lcLink) << "scanning for" << serviceUUID;
    m_adapter->startScan(serviceUUID);
}

void BluetoothTransport::stopScan() {
    m_wantsScan = false;
    m_adapter->stopScan();
    if (m_state == TransportState::scanning)
        setState(TransportState::ready);
}

void BluetoothTransport::connectToDevice(const DiscoveredDevice& device) {
    stopScan();
    cancelPendingReconnection();
    cancelConnectTimer();
    clearCharacteristics();
    m_connectingDevice = device;
    m_connectRetries = 0;
    setState(TransportState::connecting);
    m_peripheral = device.peripheral;
    qCDebug(lcLink) << "connecting to" << device.name << device.id;
    startAttempt(device.peripheral);
}

void BluetoothTransport::startAttempt(const QVariant& peripheral) {
    cancelConnectTimer();
    if (m_clock) {
        m_connectTimer = m_clock->schedule(connectTimeout, [self = QPointer(this)] {
            if (self)
                self->onConnectTimeout();
        });
    }
    m_adapter->connectToPeripheral(peripheral);
}

void BluetoothTransport::onConnectTimeout() {
    m_connectTimer.reset();
    if (m_state != TransportState::connecting || !m_connectingDevice)
        return;
    qCDebug(lcLink) << "no answer to the connection attempt in" << connectTimeout.count() << "ms";
    // The platform still counts the attempt as running until it is cancelled,
    // and would refuse the next one.
    m_adapter->cancelConnection();
    onFailedToConnect(BleAdapter::Error{ErrorKind::connectionTimeout, connectTimedOutText});
}

void BluetoothTransport::cancelConnectTimer() {
    if (m_connectTimer && m_clock)
        m_clock->cancel(*m_connectTimer);
    m_connectTimer.reset();
}

void BluetoothTransport::disconnectFromDevice() {
    qCDebug(lcLink) << "disconnect requested";
    cancelPendingReconnection();
    cancelConnectTimer();
    endLink();
}

void BluetoothTransport::write(const QByteArray& frame) {
    if (!m_peripheral || !m_rxCharacteristic) {
        qCDebug(lcLink) << "frame of" << frame.size() << "bytes dropped, nothing to write to";
        return;
    }
    // Plain writes are acknowledged by the radio; the unacknowledged kind is
    // the fallback for radios that offer only that.
    m_adapter->write(rxUUID, frame, m_rxCharacteristic->canWrite);
}

void BluetoothTransport::onPowerStateChanged(PowerState power) {
    qCDebug(lcLink) << "Bluetooth power" << power;
    if (power != PowerState::poweredOn)
        loseLinkWithPower();
    switch (power) {
    case PowerState::poweredOn:
        setState(TransportState::ready);
        // Back from a power loss in the middle of a scan the user started.
        if (m_wantsScan)
            startScan();
        break;
    case PowerState::poweredOff:
        setState(TransportState::poweredOff);
        break;
    case PowerState::unauthorized:
        setState(TransportState::unauthorized);
        break;
    case PowerState::unknown:
    case PowerState::noService:
    case PowerState::noAdapter:
        setState(TransportState::disconnected);
        break;
    }
}

void BluetoothTransport::loseLinkWithPower() {
    cancelPendingReconnection();
    cancelConnectTimer();
    const bool hadLink = m_peripheral || m_connectingDevice ||
                         m_state == TransportState::connecting ||
                         m_state == TransportState::connected;
    if (!hadLink)
        return;
    qCDebug(lcLink) << "link lost with Bluetooth";
    // The listener clears everything of the link before it hears why.
    endLink();
}

// Forgets the radio and everything found on it, cancels any attempt at the
// platform and reports the link as disconnected.
void BluetoothTransport::endLink() {
    m_connectingDevice.reset();
    m_connectRetries = 0;
    if (m_peripheral)
        m_adapter->cancelConnection();
    m_peripheral.reset();
    clearCharacteristics();
    setState(TransportState::disconnected);
}

void BluetoothTransport::onScanEnded(const QString& error) {
    qCDebug(lcLink) << "scan ended by the platform:" << error;
    if (m_state != TransportState::scanning)
        return;
    m_wantsScan = false;
    setState(TransportState::ready);
    if (!error.isEmpty())
        Q_EMIT transportFailed(error);
}

void BluetoothTransport::onDiscovered(const BleAdapter::Advertisement& advertisement) {
    DiscoveredDevice device;
    device.id = advertisement.id;
    device.rssi = advertisement.rssi;
    device.peripheral = advertisement.handle;
    if (!advertisement.localName.isEmpty())
        device.name = advertisement.localName;
    else if (!advertisement.platformName.isEmpty())
        device.name = advertisement.platformName;
    else
        device.name = fallbackName;

    if (!m_loggedDevices.contains(device.id)) {
        m_loggedDevices.insert(device.id);
        qCDebug(lcLink) << "found" << device.name << device.id << device.rssi << "dBm";
    }
    Q_EMIT transportDiscovered(device);
}

void BluetoothTransport::onPeripheralConnected() {
    qCDebug(lcLink) << "connected, discovering services";
    // The retries stay counted: a radio that accepts and then drops every
    // attempt must not be tried for ever.
    cancelConnectTimer();
    m_adapter->discoverServices({serviceUUID});
}

void BluetoothTransport::onFailedToConnect(const std::optional<BleAdapter::Error>& error) {
    qCDebug(lcLink) << "connection failed:" << (error ? error->kind : ErrorKind::other)
                    << (error ? error->text : QStringLiteral("(no error)"));
    cancelConnectTimer();
    if (attemptReconnection(error))
        return;
    m_connectingDevice.reset();
    m_peripheral.reset();
    clearCharacteristics();
    setState(TransportState::disconnected);
    Q_EMIT transportFailed(failureText(error).value_or(failedToConnectText));
}

void BluetoothTransport::onPeripheralDisconnected(const std::optional<BleAdapter::Error>& error) {
    qCDebug(lcLink) << "link dropped:" << (error ? error->text : QStringLiteral("(no error)"));
    // While a retry waits, no connection is held: the report belongs to the
    // attempt that was given up.
    if (m_reconnectTimer) {
        qCDebug(lcLink) << "drop of an abandoned attempt ignored";
        return;
    }
    cancelConnectTimer();
    const bool wasConnecting = m_state == TransportState::connecting;
    if (wasConnecting && attemptReconnection(error))
        return;
    // Nothing of the radio outlasts its link: a later power loss has no
    // link to end.
    m_connectingDevice.reset();
    m_connectRetries = 0;
    clearCharacteristics();
    m_peripheral.reset();
    setState(TransportState::disconnected);
    // The drop of an established link is not a failure the user needs to read.
    if (wasConnecting) {
        if (const auto text = failureText(error))
            Q_EMIT transportFailed(*text);
    }
}

void BluetoothTransport::onServicesDiscovered(const QList<QBluetoothUuid>& services) {
    if (!services.contains(serviceUUID)) {
        qCDebug(lcLink) << "serial service missing among" << services;
        Q_EMIT transportFailed(serviceNotFoundText);
        return;
    }
    qCDebug(lcLink) << "serial service found, discovering characteristics";
    m_adapter->discoverCharacteristics(serviceUUID, {rxUUID, txUUID});
}

void BluetoothTransport::onCharacteristicsDiscovered(
    const QBluetoothUuid& service, const QList<BleAdapter::Characteristic>& characteristics) {
    Q_UNUSED(service)
    // Only what this service holds now counts.
    clearCharacteristics();
    for (const BleAdapter::Characteristic& characteristic : characteristics) {
        if (characteristic.uuid == rxUUID) {
            m_rxCharacteristic = characteristic;
        } else if (characteristic.uuid == txUUID) {
            m_txCharacteristic = characteristic;
            qCDebug(lcLink) << "switching notifications on";
            m_adapter->setNotify(txUUID, true);
        }
    }
    if (!m_rxCharacteristic || !m_txCharacteristic) {
        qCDebug(lcLink) << "characteristics missing: write" << bool(m_rxCharacteristic) << "notify"
                        << bool(m_txCharacteristic);
        Q_EMIT transportFailed(characteristicsNotFoundText);
    }
}

void BluetoothTransport::onNotificationStateChanged(const QBluetoothUuid& characteristic,
                                                    bool isNotifying, const QString& error) {
    if (characteristic != txUUID)
        return;
    if (!error.isEmpty()) {
        qCDebug(lcLink) << "notifications could not be switched on:" << error;
        Q_EMIT transportFailed(error);
        return;
    }
    if (!isNotifying || !m_rxCharacteristic || m_state == TransportState::connected)
        return;
    setState(TransportState::connected);
    Q_EMIT transportConnected();
}

void BluetoothTransport::onValueUpdated(const QBluetoothUuid& characteristic,
                                        const QByteArray& value) {
    // One notification is one whole frame; an empty one carries nothing.
    if (characteristic == txUUID && !value.isEmpty())
        Q_EMIT transportReceived(value);
}

bool BluetoothTransport::attemptReconnection(const std::optional<BleAdapter::Error>& error) {
    if (!m_connectingDevice || !error || m_connectRetries >= maxConnectRetries)
        return false;
    switch (error->kind) {
    case ErrorKind::connectionTimeout:
    case ErrorKind::connectionFailed:
    case ErrorKind::connectionLimitReached:
    case ErrorKind::peerRemovedPairingInformation:
        break;
    case ErrorKind::operationCancelled:
    case ErrorKind::other:
        return false;
    }
    if (!m_clock)
        return false;

    ++m_connectRetries;
    clearCharacteristics();
    m_peripheral = m_connectingDevice->peripheral;
    qCDebug(lcLink) << "retry" << m_connectRetries << "of" << maxConnectRetries << "in"
                    << retryDelay.count() << "ms after" << error->kind;

    cancelPendingReconnection();
    const QUuid id = m_connectingDevice->id;
    m_reconnectTimer = m_clock->schedule(retryDelay, [self = QPointer(this), id] {
        if (!self)
            return;
        self->m_reconnectTimer.reset();
        if (!self->m_connectingDevice || self->m_connectingDevice->id != id)
            return;
        if (self->m_adapter->powerState() != PowerState::poweredOn) {
            qCDebug(lcLink) << "no retry, Bluetooth is" << self->m_adapter->powerState();
            self->loseLinkWithPower();
            return;
        }
        qCDebug(lcLink) << "connecting again to" << id;
        self->startAttempt(self->m_connectingDevice->peripheral);
    });
    return true;
}

void BluetoothTransport::cancelPendingReconnection() {
    if (m_reconnectTimer && m_clock)
        m_clock->cancel(*m_reconnectTimer);
    m_reconnectTimer.reset();
}

std::optional<QString>
BluetoothTransport::failureText(const std::optional<BleAdapter::Error>& error) {
    if (!error)
        return std::nullopt;
    if (error->kind == ErrorKind::peerRemovedPairingInformation)
        return pairingRemovedText;
    if (error->text.isEmpty())
        return std::nullopt;
    return error->text;
}

void BluetoothTransport::clearCharacteristics() {
    m_rxCharacteristic.reset();
    m_txCharacteristic.reset();
}
