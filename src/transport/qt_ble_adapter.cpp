#include "transport/qt_ble_adapter.h"

#include "transport/link_log.h"

#include <QLowEnergyCharacteristic>
#include <QLowEnergyDescriptor>
#include <QMetaEnum>
#include <QTimer>

namespace {

// Namespace of the name-based ids of radios seen through BlueZ.
const QUuid radioIdNamespace(QStringLiteral("{3f0d6b0e-5b8e-4f57-9d0c-2a7c1e4d6a15}"));

// Client characteristic configuration values, little-endian.
const QByteArray notificationsOn = QByteArray::fromHex("0100");
const QByteArray notificationsOff = QByteArray::fromHex("0000");

const QBluetoothUuid cccdUuid(QBluetoothUuid::DescriptorType::ClientCharacteristicConfiguration);

template <typename Enum>
QString enumKey(Enum value) {
    return QString::fromLatin1(QMetaEnum::fromType<Enum>().valueToKey(int(value)));
}

} // namespace

const QString QtBleAdapter::connectFailedText =
    QStringLiteral("Could not connect to the radio. Make sure it is switched on and nearby, then "
                   "try again.");

QtBleAdapter::QtBleAdapter(QObject* parent)
    : BleAdapter(parent)
    , m_probe(new BluezProbe(this)) {
    connect(m_probe, &BluezProbe::finished, this, &QtBleAdapter::onProbeFinished);
    connect(m_probe, &BluezProbe::changed, m_probe, &BluezProbe::check);
    // Like a central manager, the first power report comes after construction,
    // once whoever made the adapter has connected to it.
    m_probe->check();
}

QtBleAdapter::~QtBleAdapter() {
    dropAgent();
    dropController();
}

void QtBleAdapter::onProbeFinished(BluezProbe::Finding finding) {
    qCDebug(lcLink) << "Bluetooth service:" << finding;
    if (finding != BluezProbe::Finding::adapter) {
        // An adapter that comes back is a new one to Qt.
        delete m_localDevice;
        m_localDevice = nullptr;
    }
    switch (finding) {
    case BluezProbe::Finding::noService:
        setPowerState(PowerState::noService);
        return;
    case BluezProbe::Finding::notPermitted:
        setPowerState(PowerState::unauthorized);
        return;
    case BluezProbe::Finding::noAdapter:
        setPowerState(PowerState::noAdapter);
        return;
    case BluezProbe::Finding::adapter:
        ensureLocalDevice();
        setPowerState(hostPowerState());
        return;
    }
}

void QtBleAdapter::ensureLocalDevice() {
    if (m_localDevice && m_localDevice->isValid())
        return;
    delete m_localDevice;
    m_localDevice = new QBluetoothLocalDevice(this);
    connect(m_localDevice, &QBluetoothLocalDevice::hostModeStateChanged, this,
            &QtBleAdapter::onHostModeChanged);
    connect(m_localDevice, &QBluetoothLocalDevice::errorOccurred, this,
            [this](QBluetoothLocalDevice::Error error) {
                qCDebug(lcLink) << "local adapter error" << error;
                if (error == QBluetoothLocalDevice::MissingPermissionsError) {
                    setPowerState(PowerState::unauthorized);
                } else if (m_power == PowerState::poweredOff && !m_powerOnRefused) {
                    // Switching on was refused: the user has to do it elsewhere.
                    m_powerOnRefused = true;
                    Q_EMIT powerStateChanged(m_power);
                }
            });
}

BleAdapter::PowerState QtBleAdapter::hostPowerState() const {
    if (!m_localDevice || !m_localDevice->isValid())
        return PowerState::noAdapter;
    if (m_localDevice->hostMode() == QBluetoothLocalDevice::HostPoweredOff)
        return PowerState::poweredOff;
    return PowerState::poweredOn;
}

bool QtBleAdapter::canPowerOn() const {
    return m_power == PowerState::poweredOff && m_localDevice && m_localDevice->isValid() &&
           !m_powerOnRefused;
}

void QtBleAdapter::powerOn() {
    if (!canPowerOn())
        return;
    qCDebug(lcLink) << "switching the adapter on";
    m_localDevice->powerOn();
    // Qt 6.4 does not report a refusal (rfkill, policy): an adapter still
    // off a little later was not switched on, and the user is told to do it.
    QTimer::singleShot(powerOnWait, this, [this] {
        if (m_power != PowerState::poweredOff || m_powerOnRefused)
            return;
        qCDebug(lcLink) << "switching on was refused";
        m_powerOnRefused = true;
        Q_EMIT powerStateChanged(m_power);
    });
}

void QtBleAdapter::setPowerState(PowerState power) {
    // Qt also reports changes between connectable and discoverable; the link
    // only hears of real changes.
    if (power == m_power)
        return;
    qCDebug(lcLink) << "adapter power" << m_power << "->" << power;
    m_power = power;
    m_probe->keepAsking(power == PowerState::poweredOff);
    if (power == PowerState::poweredOn)
        m_powerOnRefused = false;
    if (power != PowerState::poweredOn) {
        // Like a central manager that lost its radio: scans and connections
        // end without reports of their own; the power report says it all.
        // The agent goes too: Qt's keeps calling itself active after a power
        // loss and would never scan again.
        dropAgent();
        dropController();
    }
    Q_EMIT powerStateChanged(power);
}

void QtBleAdapter::onHostModeChanged() {
    setPowerState(hostPowerState());
    // Qt says "off" also for an adapter that was removed.
    if (m_power != PowerState::poweredOn)
        m_probe->check();
}

void QtBleAdapter::startScan(const QBluetoothUuid& service) {
    m_scanService = service;
    if (!m_agent) {
        m_agent = new QBluetoothDeviceDiscoveryAgent(this);
        // Zero: scan until stopped, not for Qt's default 40 seconds.
        m_agent->setLowEnergyDiscoveryTimeout(0);
        connect(m_agent, &QBluetoothDeviceDiscoveryAgent::deviceDiscovered, this,
                [this](const QBluetoothDeviceInfo& info) { onDeviceSeen(info, false); });
        // Later advertisements of a known radio (new signal strength, name or
        // services) arrive here, most of them also through deviceDiscovered.
        connect(m_agent, &QBluetoothDeviceDiscoveryAgent::deviceUpdated, this,
                [this](const QBluetoothDeviceInfo& info, QBluetoothDeviceInfo::Fields) {
                    onDeviceSeen(info, true);
                });
        connect(m_agent, &QBluetoothDeviceDiscoveryAgent::errorOccurred, this,
                &QtBleAdapter::onScanError);
        connect(m_agent, &QBluetoothDeviceDiscoveryAgent::finished, this,
                &QtBleAdapter::onScanFinished);
        connect(m_agent, &QBluetoothDeviceDiscoveryAgent::canceled, this,
                &QtBleAdapter::onScanFinished);
    }
    if (m_agent->isActive())
        return;
    qCDebug(lcLink) << "discovery agent starting";
    m_agentStopping = false;
    m_agent->start(QBluetoothDeviceDiscoveryAgent::LowEnergyMethod);
}

void QtBleAdapter::stopScan() {
    if (m_agent && m_agent->isActive()) {
        qCDebug(lcLink) << "discovery agent stopping";
        m_agentStopping = true;
        m_agent->stop();
    }
}

void QtBleAdapter::dropAgent() {
    if (!m_agent)
        return;
    m_agent->disconnect(this);
    if (m_agent->isActive())
        m_agent->stop();
    m_agent->deleteLater();
    m_agent = nullptr;
}

void QtBleAdapter::onScanFinished() {
    if (m_agentStopping) {
        m_agentStopping = false;
        return;
    }
    qCDebug(lcLink) << "discovery ended by itself";
    Q_EMIT scanEnded(QString());
}

void QtBleAdapter::onDeviceSeen(const QBluetoothDeviceInfo& info, bool update) {
    // The agent reports every device around; the scan asked for radios with
    // the serial service only.
    if (!info.serviceUuids().contains(m_scanService))
        return;
    // BlueZ lists devices it knew before with a signal of 0 until it hears
    // them in this scan: not heard yet is not there yet.
    if (info.rssi() == 0)
        return;
    if (m_seenThisTurn.contains(info.address().toUInt64()) && update)
        return;
    if (m_seenThisTurn.isEmpty()) {
        QMetaObject::invokeMethod(
            this, [this] { m_seenThisTurn.clear(); }, Qt::QueuedConnection);
    }
    m_seenThisTurn.insert(info.address().toUInt64());

    Advertisement advertisement;
    advertisement.id = stableId(info);
    // Qt merges the advertised local name into the device's name and has no
    // separate field for it. BlueZ falls back to the address written with
    // dashes when a device has no name: that is no name.
    QString name = info.name();
    if (name == info.address().toString().replace(QLatin1Char(':'), QLatin1Char('-')))
        name.clear();
    advertisement.platformName = name;
    advertisement.rssi = info.rssi();
    advertisement.serviceUuids = info.serviceUuids();
    advertisement.handle = QVariant::fromValue(info);
    Q_EMIT discovered(advertisement);
}

void QtBleAdapter::onScanError(QBluetoothDeviceDiscoveryAgent::Error error) {
    const QString text = m_agent->errorString();
    qCDebug(lcLink) << "discovery failed:" << error << text;
    switch (error) {
    case QBluetoothDeviceDiscoveryAgent::PoweredOffError:
        setPowerState(PowerState::poweredOff);
        break;
    case QBluetoothDeviceDiscoveryAgent::MissingPermissionsError:
        setPowerState(PowerState::unauthorized);
        break;
    case QBluetoothDeviceDiscoveryAgent::InvalidBluetoothAdapterError:
        setPowerState(PowerState::noAdapter);
        break;
    default:
        // Input/output errors and the like: the scan is over.
        Q_EMIT scanEnded(text.isEmpty() ? QStringLiteral("Scanning for radios failed.") : text);
        break;
    }
}

QUuid QtBleAdapter::stableId(const QBluetoothDeviceInfo& info) {
    if (!info.deviceUuid().isNull())
        return info.deviceUuid();
    return QUuid::createUuidV5(radioIdNamespace, info.address().toString());
}

// Qt reports far fewer connection errors than the platforms below it. How each
// counts for the link (the first four kinds are retried by the link):
//
//   ConnectionError              -> connectionFailed: the connection dropped
//                                   before its services were resolved, or the
//                                   adapter was off.
//   UnknownError                 -> connectionFailed before connected(): what Qt
//                                   6.4 makes of an error reply to BlueZ's
//                                   Connect() (page timeout,
//                                   le-connection-abort-by-local, ...) and of a
//                                   Connect() left unanswered for 25 s; both are
//                                   worth retrying. After connected(): other.
//   RemoteHostClosedError        -> connectionFailed before connected(): the radio
//                                   dropped the half-made connection. After
//                                   connected(): other, an established link that the
//                                   radio closed, which is not retried.
//   NetworkError                 -> as RemoteHostClosedError: connectionFailed
//                                   before connected(), other after.
//   AuthorizationError           -> peerRemovedPairingInformation: the link's
//                                   security failed, in practice a bond that the
//                                   radio no longer has; the user is told to pair
//                                   again.
//   UnknownRemoteDeviceError     -> other: BlueZ no longer knows the device (it
//                                   stopped advertising); another attempt within a
//                                   second would not find it either.
//   InvalidBluetoothAdapterError -> other: nothing to connect with.
//   MissingPermissionsError      -> other.
//   AdvertisingError, NoError    -> other.
//
// Before connected(), Qt's own texts ("Unknown Error") tell the user nothing:
// the text says what happened instead.
//
// connectionTimeout, connectionLimitReached and operationCancelled never come
// from here: Qt has no report that matches them.
BleAdapter::Error QtBleAdapter::mapControllerError(QLowEnergyController::Error error, bool linkUp,
                                                   const QString& text) {
    Error mapped;
    mapped.text = text.isEmpty() ? enumKey(error) : text;
    switch (error) {
    case QLowEnergyController::ConnectionError:
        mapped.kind = ErrorKind::connectionFailed;
        break;
    case QLowEnergyController::RemoteHostClosedError:
    case QLowEnergyController::NetworkError:
    case QLowEnergyController::UnknownError:
        mapped.kind = linkUp ? ErrorKind::other : ErrorKind::connectionFailed;
        break;
    case QLowEnergyController::AuthorizationError:
        mapped.kind = ErrorKind::peerRemovedPairingInformation;
        break;
    case QLowEnergyController::UnknownRemoteDeviceError:
    case QLowEnergyController::InvalidBluetoothAdapterError:
    case QLowEnergyController::MissingPermissionsError:
    case QLowEnergyController::AdvertisingError:
    case QLowEnergyController::NoError:
        mapped.kind = ErrorKind::other;
        break;
    }
    if (!linkUp)
        mapped.text = connectFailedText;
    return mapped;
}

void QtBleAdapter::reportLater(std::function<void()> report) {
    QMetaObject::invokeMethod(
        this,
        [this, generation = m_generation, report = std::move(report)] {
            if (generation == m_generation)
                report();
        },
        Qt::QueuedConnection);
}

void QtBleAdapter::connectToPeripheral(const QVariant& handle) {
    dropController();
    ++m_generation;

    const auto info = handle.value<QBluetoothDeviceInfo>();
    if (!info.isValid()) {
        qCDebug(lcLink) << "no device to connect to in" << handle;
        reportLater([this] {
            Q_EMIT failedToConnect(Error{ErrorKind::other, QStringLiteral("Unknown device")});
        });
        return;
    }

    qCDebug(lcLink) << "controller connecting to" << info.address() << info.name();
    m_address = info.address();
    m_controller = QLowEnergyController::createCentral(info, this);
    connect(m_controller, &QLowEnergyController::connected, this,
            &QtBleAdapter::onControllerConnected);
    connect(m_controller, &QLowEnergyController::errorOccurred, this,
            &QtBleAdapter::onControllerError);
    connect(m_controller, &QLowEnergyController::disconnected, this,
            &QtBleAdapter::onControllerDisconnected);
    connect(m_controller, &QLowEnergyController::discoveryFinished, this, [this] {
        if (!m_discoveringServices)
            return;
        m_discoveringServices = false;
        QList<QBluetoothUuid> services = m_controller->services();
        if (!m_wantedServices.isEmpty())
            services.removeIf(
                [this](const QBluetoothUuid& uuid) { return !m_wantedServices.contains(uuid); });
        qCDebug(lcLink) << "services" << services;
        Q_EMIT servicesDiscovered(services);
    });
    m_controller->connectToDevice();
}

void QtBleAdapter::onControllerConnected() {
    qCDebug(lcLink) << "controller connected";
    m_linkUp = true;
    Q_EMIT peripheralConnected();
}

void QtBleAdapter::onControllerError(QLowEnergyController::Error error) {
    const Error mapped = mapControllerError(error, m_linkUp, m_controller->errorString());
    qCDebug(lcLink) << "controller error" << error << "->" << mapped.kind << mapped.text;
    if (!m_linkUp) {
        dropController();
        Q_EMIT failedToConnect(mapped);
        return;
    }
    // With the link up, the error explains the disconnected() that follows.
    m_lastError = mapped;
}

void QtBleAdapter::onControllerDisconnected() {
    const bool wasUp = m_linkUp;
    std::optional<Error> error = m_lastError;
    dropController();
    qCDebug(lcLink) << "controller disconnected, link was up:" << wasUp;
    if (!wasUp) {
        // Closed before it ever connected, without an error of its own.
        Q_EMIT failedToConnect(
            error.value_or(Error{ErrorKind::connectionFailed, connectFailedText}));
        return;
    }
    Q_EMIT peripheralDisconnected(error);
}

void QtBleAdapter::cancelConnection() {
    const bool hadConnection = m_controller != nullptr;
    // Qt tells BlueZ nothing about an attempt it has given up on, and BlueZ
    // refuses every later one as in progress until it is told.
    if (m_controller && !m_linkUp)
        m_probe->disconnectDevice(m_address.toString());
    dropController();
    if (hadConnection)
        reportLater([this] { Q_EMIT peripheralDisconnected(std::nullopt); });
}

void QtBleAdapter::dropController() {
    if (m_service) {
        m_service->disconnect(this);
        m_service->deleteLater();
        m_service = nullptr;
    }
    if (m_controller) {
        m_controller->disconnect(this);
        if (m_controller->state() != QLowEnergyController::UnconnectedState)
            m_controller->disconnectFromDevice();
        // Possibly inside one of its own signals.
        m_controller->deleteLater();
        m_controller = nullptr;
    }
    m_linkUp = false;
    m_lastError.reset();
    m_discoveringServices = false;
    m_discoveringDetails = false;
    m_pendingNotify = QBluetoothUuid();
}

void QtBleAdapter::discoverServices(const QList<QBluetoothUuid>& services) {
    if (!m_controller || !m_linkUp)
        return;
    m_wantedServices = services;
    m_discoveringServices = true;
    m_controller->discoverServices();
}

void QtBleAdapter::discoverCharacteristics(const QBluetoothUuid& service,
                                           const QList<QBluetoothUuid>& characteristics) {
    if (m_service) {
        m_service->disconnect(this);
        m_service->deleteLater();
        m_service = nullptr;
    }
    m_wantedCharacteristics = characteristics;
    if (m_controller)
        m_service = m_controller->createServiceObject(service, this);
    if (!m_service) {
        qCDebug(lcLink) << "no service object for" << service;
        reportLater([this, service] { Q_EMIT characteristicsDiscovered(service, {}); });
        return;
    }
    connect(m_service, &QLowEnergyService::stateChanged, this,
            &QtBleAdapter::onServiceStateChanged);
    connect(m_service, &QLowEnergyService::errorOccurred, this, &QtBleAdapter::onServiceError);
    connect(m_service, &QLowEnergyService::descriptorWritten, this,
            &QtBleAdapter::onDescriptorWritten);
    connect(m_service, &QLowEnergyService::characteristicChanged, this,
            [this](const QLowEnergyCharacteristic& characteristic, const QByteArray& value) {
                Q_EMIT valueUpdated(characteristic.uuid(), value);
            });
    m_discoveringDetails = true;
    if (m_service->state() == QLowEnergyService::RemoteServiceDiscovered) {
        const quint64 generation = m_generation;
        QMetaObject::invokeMethod(
            this,
            [this, generation] {
                if (generation == m_generation && m_service && m_discoveringDetails)
                    reportCharacteristics();
            },
            Qt::QueuedConnection);
        return;
    }
    m_service->discoverDetails();
}

void QtBleAdapter::onServiceStateChanged(QLowEnergyService::ServiceState state) {
    if (state == QLowEnergyService::RemoteServiceDiscovered && m_discoveringDetails)
        reportCharacteristics();
}

void QtBleAdapter::reportCharacteristics() {
    m_discoveringDetails = false;
    QList<Characteristic> found;
    const auto characteristics = m_service->characteristics();
    for (const QLowEnergyCharacteristic& characteristic : characteristics) {
        if (!m_wantedCharacteristics.isEmpty() &&
            !m_wantedCharacteristics.contains(characteristic.uuid()))
            continue;
        const auto properties = characteristic.properties();
        found.append({characteristic.uuid(), properties.testFlag(QLowEnergyCharacteristic::Write),
                      properties.testFlag(QLowEnergyCharacteristic::WriteNoResponse),
                      properties.testFlag(QLowEnergyCharacteristic::Notify)});
    }
    qCDebug(lcLink) << "characteristics of" << m_service->serviceUuid() << ":" << found.size();
    Q_EMIT characteristicsDiscovered(m_service->serviceUuid(), found);
}

void QtBleAdapter::onServiceError(QLowEnergyService::ServiceError error) {
    qCDebug(lcLink) << "service error" << error;
    if (error == QLowEnergyService::DescriptorWriteError && !m_pendingNotify.isNull()) {
        const QBluetoothUuid characteristic = m_pendingNotify;
        m_pendingNotify = QBluetoothUuid();
        // QLowEnergyService has no error text of its own.
        Q_EMIT notificationStateChanged(characteristic, false,
                                        QStringLiteral("Could not turn on notifications"));
        return;
    }
    // A detail discovery that failed ends with what was found so far.
    if (m_discoveringDetails && error != QLowEnergyService::CharacteristicWriteError)
        reportCharacteristics();
}

void QtBleAdapter::setNotify(const QBluetoothUuid& characteristic, bool enabled) {
    QLowEnergyDescriptor descriptor;
    if (m_service)
        descriptor = m_service->characteristic(characteristic).descriptor(cccdUuid);
    if (!descriptor.isValid()) {
        qCDebug(lcLink) << "no notification switch on" << characteristic;
        reportLater([this, characteristic] {
            Q_EMIT notificationStateChanged(characteristic, false,
                                            QStringLiteral("Could not turn on notifications"));
        });
        return;
    }
    m_pendingNotify = characteristic;
    m_service->writeDescriptor(descriptor, enabled ? notificationsOn : notificationsOff);
}

void QtBleAdapter::onDescriptorWritten(const QLowEnergyDescriptor& descriptor,
                                       const QByteArray& value) {
    if (descriptor.uuid() != cccdUuid || m_pendingNotify.isNull())
        return;
    const QBluetoothUuid characteristic = m_pendingNotify;
    m_pendingNotify = QBluetoothUuid();
    Q_EMIT notificationStateChanged(characteristic, value == notificationsOn, QString());
}

void QtBleAdapter::write(const QBluetoothUuid& characteristic, const QByteArray& value,
                         bool withResponse) {
    const QLowEnergyCharacteristic target =
        m_service ? m_service->characteristic(characteristic) : QLowEnergyCharacteristic();
    if (!target.isValid()) {
        qCDebug(lcLink) << "write to unknown characteristic" << characteristic << "dropped";
        return;
    }
    m_service->writeCharacteristic(target, value,
                                   withResponse ? QLowEnergyService::WriteWithResponse
                                                : QLowEnergyService::WriteWithoutResponse);
}
