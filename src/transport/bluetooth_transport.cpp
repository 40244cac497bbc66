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

BluetoothTransport::BluetoothTransport(BleAdapter* adapter, Clock* clock, QObject* parent)
    : MeshLink(parent)
    , m_adapter(adapter)
    , m_clock(clock) {
    connect(adapter, &BleAdapter::powerStateChanged, this,
            &BluetoothTransport::onPowerStateChanged);
    connect(adapter, &BleAdapter::discovered, this, &BluetoothTransport::onDiscovered);
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
    setState(TransportState::scanning);
    qCDebug(lcLink) << "scanning for" << serviceUUID;
    m_adapter->startScan(serviceUUID);
}

void BluetoothTransport::stopScan() {
    m_adapter->stopScan();
    if (m_state == TransportState::scanning)
        setState(TransportState::ready);
}

void BluetoothTransport::connectToDevice(const DiscoveredDevice& device) {
    stopScan();
    cancelPendingReconnection();
    m_connectingDevice = device;
    m_connectRetries = 0;
    setState(TransportState::connecting);
    m_peripheral = device.peripheral;
    qCDebug(lcLink) << "connecting to" << device.name << device.id;
    m_adapter->connectToPeripheral(device.peripheral);
}

void BluetoothTransport::disconnectFromDevice() {
    qCDebug(lcLink) << "disconnect requested";
    cancelPendingReconnection();
    m_connectingDevice.reset();
    m_connectRetries = 0;
    if (m_peripheral)
        m_adapter->cancelConnection();
    m_peripheral.reset();
    clearCharacteristics();
    setState(TransportState::disconnected);
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
    switch (power) {
    case PowerState::poweredOn:
        setState(TransportState::ready);
        break;
    case PowerState::poweredOff:
        setState(TransportState::poweredOff);
        break;
    case PowerState::unauthorized:
        setState(TransportState::unauthorized);
        break;
    case PowerState::unknown:
    case PowerState::unavailable:
        setState(TransportState::disconnected);
        break;
    }
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
    m_connectRetries = 0;
    m_adapter->discoverServices({serviceUUID});
}

void BluetoothTransport::onFailedToConnect(const std::optional<BleAdapter::Error>& error) {
    qCDebug(lcLink) << "connection failed:" << (error ? error->kind : ErrorKind::other)
                    << (error ? error->text : QStringLiteral("(no error)"));
    if (attemptReconnection(error))
        return;
    m_connectingDevice.reset();
    setState(TransportState::disconnected);
    Q_EMIT transportFailed(failureText(error).value_or(failedToConnectText));
}

void BluetoothTransport::onPeripheralDisconnected(const std::optional<BleAdapter::Error>& error) {
    qCDebug(lcLink) << "link dropped:" << (error ? error->text : QStringLiteral("(no error)"));
    const bool wasConnecting = m_state == TransportState::connecting;
    if (wasConnecting && attemptReconnection(error))
        return;
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
        qCDebug(lcLink) << "connecting again to" << id;
        self->m_adapter->connectToPeripheral(self->m_connectingDevice->peripheral);
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
