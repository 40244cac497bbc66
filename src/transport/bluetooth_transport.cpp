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
const QString BluetoothTransport::pairingRemovedText = QStringLiteral(
    "Couldn't pair with the device. Please try connecting again, or use \u201cForget "
    "this radio in Bluetooth\u201d and retry.");
const QString BluetoothTransport::connectTimedOutText =
    QStringLiteral("The radio did not answer. Make sure it is switched on and nearby, then try "
                   "again.");
const QString BluetoothTransport::droppedDuringSetUpText =
    QStringLiteral("The radio ended the connection while it was being set up.");
const QString BluetoothTransport::bluetoothOffText =
    QStringLiteral("Bluetooth is off. Switch it on, then choose the radio again.");
const QString BluetoothTransport::pinRefusedText =
    QStringLiteral("The radio refused the PIN. Check the PIN and try again.");
const QString BluetoothTransport::pairingCancelledText =
    QStringLiteral("Pairing was cancelled. The radio can be used only once it is paired.");
const QString BluetoothTransport::noPinAgentText =
    QStringLiteral("The radio asks for a PIN, but Bluetooth offered no way to ask you for it. "
                   "Pair the radio in your desktop's Bluetooth settings or with bluetoothctl, "
                   "then connect again.");
const QString BluetoothTransport::servicesLostText =
    QStringLiteral("The radio changed its services and they were not found again.");
const QString BluetoothTransport::refusedWhilePairedText =
    QStringLiteral("The radio refuses the connection although it is paired. Use \u201cForget "
                   "this radio in Bluetooth\u201d and connect again to pair afresh.");

QString BluetoothTransport::frameTooLongText(qsizetype frameSize, int mtu) {
    return QStringLiteral("A command of %1 bytes does not fit the radio's Bluetooth link, which "
                          "carries %2 bytes at a time (MTU %3).")
        .arg(frameSize)
        .arg(mtu - attOverhead)
        .arg(mtu);
}

QString BluetoothTransport::writeRefusedText(qsizetype frameSize, int mtu, const QString& reason) {
    if (mtu > 0 && frameSize > mtu - attOverhead)
        return frameTooLongText(frameSize, mtu) + QStringLiteral(" The radio said: ") + reason;
    return QStringLiteral("The radio refused the command: ") + reason;
}

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
    connect(adapter, &BleAdapter::writeFailed, this, &BluetoothTransport::onWriteFailed);
    connect(adapter, &BleAdapter::mtuChanged, this, &BluetoothTransport::onMtuChanged);
    connect(adapter, &BleAdapter::pairingFinished, this, &BluetoothTransport::onPairingFinished);
    connect(adapter, &BleAdapter::servicesChanged, this, &BluetoothTransport::onServicesChanged);
    connect(adapter, &BleAdapter::sleepChanged, this, &BluetoothTransport::onSleepChanged);
}

BluetoothTransport::~BluetoothTransport() {
    cancelPendingReconnection();
    cancelConnectTimer();
    if (m_piecesTimer && m_clock)
        m_clock->cancel(*m_piecesTimer);
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
    if (m_adapter->powerState() != PowerState::poweredOn || m_asleep) {
        qCDebug(lcLink) << "scan not started, Bluetooth is" << m_adapter->powerState()
                        << (m_asleep ? "(asleep)" : "");
        return;
    }
    // One thing at a time: a scan would hold up the connection BlueZ makes.
    if (m_state == TransportState::connecting) {
        qCDebug(lcLink) << "scan not started while" << m_state;
        return;
    }
    m_loggedDevices.clear();
    m_wantsScan = true;
    // Beside an established link the scan looks for other radios, and the
    // link stays what it is.
    if (m_state != TransportState::connected)
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
    if (m_adapter->powerState() != PowerState::poweredOn || m_asleep) {
        // A radio still listed while Bluetooth is off: nothing to connect with.
        qCDebug(lcLink) << "not connecting, Bluetooth is" << m_adapter->powerState();
        Q_EMIT transportFailed(bluetoothOffText);
        return;
    }
    stopScan();
    cancelPendingReconnection();
    cancelConnectTimer();
    clearCharacteristics();
    m_connectingDevice = device;
    m_handles.insert(device.id, device.peripheral);
    m_connectRetries = 0;
    setState(TransportState::connecting);
    m_peripheral = device.peripheral;
    qCDebug(lcLink) << "connecting to" << device.name << device.id;
    startAttempt(device.peripheral);
}

void BluetoothTransport::startAttempt(const QVariant& peripheral) {
    m_settingUp = false;
    m_pairing = false;
    m_pairedThisAttempt = false;
    m_rediscovering = false;
    m_heldFrames.clear();
    m_refusedHeld = 0;
    startConnectTimer();
    m_adapter->connectToPeripheral(peripheral);
}

void BluetoothTransport::startConnectTimer() {
    cancelConnectTimer();
    if (!m_clock)
        return;
    m_connectTimer = m_clock->schedule(connectTimeout, [self = QPointer(this)] {
        if (self)
            self->onConnectTimeout();
    });
}

void BluetoothTransport::onConnectTimeout() {
    m_connectTimer.reset();
    if (m_rediscovering && m_state == TransportState::connected) {
        giveUp(servicesLostText);
        return;
    }
    if (m_state != TransportState::connecting || !m_connectingDevice)
        return;
    qCDebug(lcLink) << "no usable link after" << connectTimeout.count() << "ms";
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

void BluetoothTransport::forgetDevice(const QUuid& id) {
    const QVariant handle = m_handles.value(id);
    if (!handle.isValid()) {
        qCDebug(lcLink) << "nothing known of" << id << "to forget";
        return;
    }
    if (m_connectingDevice && m_connectingDevice->id == id) {
        cancelPendingReconnection();
        cancelConnectTimer();
        endLink();
    }
    qCDebug(lcLink) << "forgetting" << id;
    m_adapter->forgetPeripheral(handle);
}

void BluetoothTransport::write(const QByteArray& frame) {
    if (m_pairing || m_rediscovering) {
        qCDebug(lcLink) << "frame of" << frame.size() << "bytes waits";
        m_heldFrames.append(frame);
        return;
    }
    if (!m_peripheral || !m_rxCharacteristic) {
        qCDebug(lcLink) << "frame of" << frame.size() << "bytes dropped, nothing to write to";
        return;
    }
    // Longer than one write can carry: a write with a response becomes one
    // long write; without one, the frame would arrive cut.
    if (m_mtu > 0 && frame.size() > m_mtu - attOverhead && !m_rxCharacteristic->canWrite) {
        qCDebug(lcLink) << "frame of" << frame.size() << "bytes too long for MTU" << m_mtu;
        QMetaObject::invokeMethod(
            this,
            [this, frame, text = frameTooLongText(frame.size(), m_mtu)] {
                Q_EMIT transportWriteFailed(frame, text);
            },
            Qt::QueuedConnection);
        return;
    }
    // Plain writes are acknowledged by the radio; the unacknowledged kind is
    // the fallback for radios that offer only that.
    m_adapter->write(rxUUID, frame, m_rxCharacteristic->canWrite);
}

void BluetoothTransport::onPowerStateChanged(PowerState power) {
    qCDebug(lcLink) << "Bluetooth power" << power;
    const std::optional<PowerState> before = std::exchange(m_power, power);
    if (power != PowerState::poweredOn)
        loseLinkWithPower();
    switch (power) {
    case PowerState::poweredOn:
        // The same report again while an attempt runs or waits: it goes on.
        if (before == PowerState::poweredOn && m_connectingDevice &&
            (m_state == TransportState::connecting || m_state == TransportState::connected))
            return;
        setState(TransportState::ready);
        if (before && before != PowerState::poweredOn) {
            // Switched back on, or an adapter that came (back).
            Q_EMIT bluetoothReturned();
        }
        // Back from a power loss in the middle of a scan the user started.
        if (m_wantsScan && m_state == TransportState::ready)
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
    m_pairing = false;
    m_rediscovering = false;
    m_heldFrames.clear();
    m_refusedHeld = 0;
    if (m_peripheral)
        m_adapter->cancelConnection();
    m_peripheral.reset();
    clearCharacteristics();
    setState(TransportState::disconnected);
}

void BluetoothTransport::giveUp(const QString& text) {
    qCDebug(lcLink) << "giving the radio up:" << text;
    cancelPendingReconnection();
    cancelConnectTimer();
    endLink();
    Q_EMIT transportFailed(text);
}

void BluetoothTransport::onSleepChanged(bool sleeping) {
    m_asleep = sleeping;
    if (sleeping) {
        // Ended cleanly now rather than torn by the sleep; not asked for by
        // the user, so the radio is looked for again after the wake.
        const bool scanning = m_wantsScan;
        if (m_state == TransportState::scanning)
            stopScan();
        m_wantsScan = scanning;
        loseLinkWithPower();
        return;
    }
    if (m_adapter->powerState() != PowerState::poweredOn)
        return;
    setState(TransportState::ready);
    Q_EMIT bluetoothReturned();
    if (m_wantsScan && m_state == TransportState::ready)
        startScan();
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
    device.known = advertisement.known;
    device.address = advertisement.address;
    if (!advertisement.localName.isEmpty())
        device.name = advertisement.localName;
    else if (!advertisement.platformName.isEmpty())
        device.name = advertisement.platformName;
    else
        device.name = fallbackName;
    m_handles.insert(device.id, device.peripheral);

    if (!m_loggedDevices.contains(device.id)) {
        m_loggedDevices.insert(device.id);
        qCDebug(lcLink) << "found" << device.name << device.id << device.rssi << "dBm"
                        << (device.known ? "(known)" : "");
    }
    Q_EMIT transportDiscovered(device);
}

void BluetoothTransport::onPeripheralConnected() {
    qCDebug(lcLink) << "connected, discovering services";
    // The retries stay counted: a radio that accepts and then drops every
    // attempt must not be tried for ever. The set-up gets a time of its own.
    m_settingUp = true;
    startConnectTimer();
    m_mtu = m_adapter->mtu();
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
    // Nor does it end a scan begun since the link was let go.
    if (!m_peripheral && m_state == TransportState::scanning) {
        qCDebug(lcLink) << "drop of a link let go ignored while scanning";
        return;
    }
    cancelConnectTimer();
    const bool wasConnecting = m_state == TransportState::connecting;
    // A radio that drops the link while it is being set up failed to
    // connect, whatever the platform says.
    std::optional<BleAdapter::Error> reason = error;
    if (wasConnecting && m_settingUp && !reason)
        reason = BleAdapter::Error{ErrorKind::connectionFailed, droppedDuringSetUpText};
    if (wasConnecting && attemptReconnection(reason))
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
        if (const auto text = failureText(reason))
            Q_EMIT transportFailed(*text);
    }
}

void BluetoothTransport::onServicesDiscovered(const QList<QBluetoothUuid>& services) {
    // Reports of an attempt given up while its retry waits are stale.
    if (!m_peripheral || m_reconnectTimer)
        return;
    if (!services.contains(serviceUUID)) {
        qCDebug(lcLink) << "serial service missing among" << services;
        giveUp(serviceNotFoundText);
        return;
    }
    qCDebug(lcLink) << "serial service found, discovering characteristics";
    m_adapter->discoverCharacteristics(serviceUUID, {rxUUID, txUUID});
}

void BluetoothTransport::onCharacteristicsDiscovered(
    const QBluetoothUuid& service, const QList<BleAdapter::Characteristic>& characteristics) {
    Q_UNUSED(service)
    if (!m_peripheral || m_reconnectTimer)
        return;
    // Only what this service holds now counts.
    clearCharacteristics();
    for (const BleAdapter::Characteristic& characteristic : characteristics) {
        if (characteristic.uuid == rxUUID)
            m_rxCharacteristic = characteristic;
        else if (characteristic.uuid == txUUID)
            m_txCharacteristic = characteristic;
    }
    if (!m_rxCharacteristic || !m_txCharacteristic) {
        qCDebug(lcLink) << "characteristics missing: write" << bool(m_rxCharacteristic) << "notify"
                        << bool(m_txCharacteristic);
        giveUp(characteristicsNotFoundText);
        return;
    }
    m_mtu = m_adapter->mtu();
    qCDebug(lcLink) << "switching notifications on; MTU" << m_mtu;
    m_adapter->setNotify(txUUID, true);
}

void BluetoothTransport::onNotificationStateChanged(const QBluetoothUuid& characteristic,
                                                    bool isNotifying,
                                                    const std::optional<BleAdapter::Error>& error) {
    if (characteristic != txUUID || !m_peripheral || m_reconnectTimer)
        return;
    if (error) {
        qCDebug(lcLink) << "notifications could not be switched on:" << error->kind << error->text;
        if (error->kind == ErrorKind::pairingRequired && !m_pairedThisAttempt) {
            startPairing();
            return;
        }
        if (error->kind == ErrorKind::pairingRequired) {
            giveUp(refusedWhilePairedText);
            return;
        }
        giveUp(error->text.isEmpty() ? failedToConnectText : error->text);
        return;
    }
    if (!isNotifying || !m_rxCharacteristic)
        return;
    if (m_rediscovering) {
        qCDebug(lcLink) << "services found again";
        cancelConnectTimer();
        m_rediscovering = false;
        sendHeldFrames();
        return;
    }
    if (m_state == TransportState::connected)
        return;
    cancelConnectTimer();
    m_settingUp = false;
    setState(TransportState::connected);
    Q_EMIT transportConnected();
}

void BluetoothTransport::startPairing() {
    qCDebug(lcLink) << "the radio wants to be paired";
    m_pairing = true;
    m_pairedThisAttempt = true;
    // The user may take a while over the PIN: that is not the radio's silence.
    cancelConnectTimer();
    m_adapter->pair();
}

void BluetoothTransport::onPairingFinished(const std::optional<BleAdapter::Error>& error) {
    if (!m_pairing)
        return;
    m_pairing = false;
    if (error) {
        qCDebug(lcLink) << "pairing failed:" << error->kind << error->text;
        m_heldFrames.clear();
        m_refusedHeld = 0;
        switch (error->kind) {
        case ErrorKind::pairingRefused:
            giveUp(pinRefusedText);
            return;
        case ErrorKind::pairingCancelled:
            giveUp(pairingCancelledText);
            return;
        case ErrorKind::pairingImpossible:
            giveUp(noPinAgentText);
            return;
        case ErrorKind::staleBond:
            giveUp(pairingRemovedText);
            return;
        default:
            giveUp(failureText(error).value_or(failedToConnectText));
            return;
        }
    }
    qCDebug(lcLink) << "paired";
    if (m_state == TransportState::connected) {
        sendHeldFrames();
        return;
    }
    startConnectTimer();
    m_adapter->setNotify(txUUID, true);
}

// Refusals come in the order the frames went out, and all of them before
// any frame written after the first refusal.
void BluetoothTransport::holdRefused(const QByteArray& frame) {
    m_heldFrames.insert(std::min(m_refusedHeld, m_heldFrames.size()), frame);
    ++m_refusedHeld;
}

void BluetoothTransport::sendHeldFrames() {
    m_refusedHeld = 0;
    const QList<QByteArray> frames = std::exchange(m_heldFrames, {});
    for (const QByteArray& frame : frames)
        write(frame);
}

void BluetoothTransport::onWriteFailed(const QBluetoothUuid& characteristic,
                                       const QByteArray& value, const BleAdapter::Error& error) {
    if (characteristic != rxUUID || !m_peripheral)
        return;
    qCDebug(lcLink) << "write of" << value.size() << "bytes refused:" << error.kind << error.text;
    if (error.kind == ErrorKind::pairingRequired && (m_pairing || !m_pairedThisAttempt)) {
        // Goes again once paired, before what was written since.
        holdRefused(value);
        if (!m_pairing)
            startPairing();
        return;
    }
    if (error.kind == ErrorKind::characteristicGone && m_state == TransportState::connected) {
        // Written while the radio's services were changing: it goes again
        // once they are found (servicesChanged follows), or the link ends.
        holdRefused(value);
        if (!m_rediscovering) {
            m_rediscovering = true;
            startConnectTimer();
        }
        return;
    }
    const QString text = error.kind == ErrorKind::pairingRequired
                             ? refusedWhilePairedText
                             : writeRefusedText(value.size(), m_mtu, error.text);
    Q_EMIT transportWriteFailed(value, text);
}

void BluetoothTransport::onMtuChanged(int mtu) {
    if (mtu == m_mtu)
        return;
    qCDebug(lcLink) << "MTU" << mtu << "(" << mtu - attOverhead << "bytes per write)";
    // Neither BlueZ nor QtBluetooth lets a central ask for more: BlueZ
    // exchanges the largest MTU it supports as it connects.
    m_mtu = mtu;
}

void BluetoothTransport::onServicesChanged() {
    if (!m_peripheral || m_state != TransportState::connected)
        return;
    qCDebug(lcLink) << "the radio's services changed, discovering them again";
    m_rediscovering = true;
    clearCharacteristics();
    startConnectTimer();
    m_adapter->discoverServices({serviceUUID});
}

void BluetoothTransport::onValueUpdated(const QBluetoothUuid& characteristic,
                                        const QByteArray& value) {
    if (characteristic != txUUID || value.isEmpty())
        return;
    const int piece = m_mtu - attOverhead;
    if (m_mtu > 0 && value.size() == piece) {
        // A full notification: the frame may go on in the next one.
        m_pieces += value;
        if (m_piecesTimer && m_clock)
            m_clock->cancel(*m_piecesTimer);
        if (m_clock)
            m_piecesTimer = m_clock->schedule(pieceWait, [self = QPointer(this)] {
                if (self) {
                    self->m_piecesTimer.reset();
                    self->flushPieces();
                }
            });
        return;
    }
    if (!m_pieces.isEmpty()) {
        m_pieces += value;
        flushPieces();
        return;
    }
    Q_EMIT transportReceived(value);
}

void BluetoothTransport::flushPieces() {
    if (m_piecesTimer && m_clock)
        m_clock->cancel(*m_piecesTimer);
    m_piecesTimer.reset();
    const QByteArray frame = std::exchange(m_pieces, {});
    if (!frame.isEmpty())
        Q_EMIT transportReceived(frame);
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
    default:
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
    if (error->kind == ErrorKind::peerRemovedPairingInformation ||
        error->kind == ErrorKind::staleBond)
        return pairingRemovedText;
    if (error->text.isEmpty())
        return std::nullopt;
    return error->text;
}

void BluetoothTransport::clearCharacteristics() {
    m_rxCharacteristic.reset();
    m_txCharacteristic.reset();
    m_mtu = -1;
    m_pieces.clear();
    if (m_piecesTimer && m_clock)
        m_clock->cancel(*m_piecesTimer);
    m_piecesTimer.reset();
}
