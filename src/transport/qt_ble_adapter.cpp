#include "transport/qt_ble_adapter.h"

#include "transport/bluez_agent.h"
#include "transport/bluez_device.h"
#include "transport/bluez_types.h"
#include "transport/link_log.h"
#include "transport/sleep_monitor.h"

#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QLowEnergyCharacteristic>
#include <QTimer>

namespace {

// Namespace of the name-based ids of radios seen through BlueZ.
const QUuid radioIdNamespace(QStringLiteral("{3f0d6b0e-5b8e-4f57-9d0c-2a7c1e4d6a15}"));

bool isBluezError(const QString& name, const char* suffix) {
    return name == QLatin1String("org.bluez.Error.") + QLatin1String(suffix);
}

} // namespace

const QString QtBleAdapter::connectFailedText =
    QStringLiteral("Could not connect to the radio. Make sure it is switched on and nearby, then "
                   "try again.");
const QString QtBleAdapter::unknownRadioText =
    QStringLiteral("Bluetooth no longer knows this radio. Scan again to find it.");
const QString QtBleAdapter::droppedDuringSetUpText =
    QStringLiteral("The radio ended the connection while it was being set up.");

QtBleAdapter::QtBleAdapter(QObject* parent)
    : BleAdapter(parent)
    , m_probe(new BluezProbe(this))
    , m_pairingAgent(new BluezAgent(&m_prompt, this))
    , m_sleep(new SleepMonitor(this)) {
    connect(m_probe, &BluezProbe::finished, this, &QtBleAdapter::onProbeFinished);
    connect(m_probe, &BluezProbe::changed, m_probe, &BluezProbe::check);
    connect(m_sleep, &SleepMonitor::sleepChanged, this, &QtBleAdapter::onSleepChanged);
    // Like a central manager, the first power report comes after construction,
    // once whoever made the adapter has connected to it.
    m_probe->check();
}

QtBleAdapter::~QtBleAdapter() {
    dropAgent();
    dropController();
    // Going away with the application: a controller still connected may end
    // the connection now.
    for (const QPointer<QLowEnergyController>& parked : std::as_const(m_parked))
        delete parked.data();
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
        ++m_generation;
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
    reportKnownRadios();
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
    ++m_scanGeneration;
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
    // them in this scan: not heard yet is not there yet. Those it has a bond
    // with are reported by reportKnownRadios().
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
    advertisement.address = info.address().toString();
    advertisement.known = m_knownAddresses.contains(advertisement.address);
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

// How BlueZ's errors count for the link (the first four kinds are retried by
// the link):
//
//   Connect   InProgress                 never here: the adapter waits for the
//                                        attempt under way to end.
//             AuthenticationFailed, ...  peerRemovedPairingInformation: the
//                                        link's security failed, in practice a
//                                        bond the radio no longer has.
//             anything else              connectionFailed (page timeout,
//                                        le-connection-abort-by-local, NotReady).
//   GATT      NotPermitted, NotAuthorized,
//             AuthenticationFailed, or a
//             text saying "Not paired" or
//             "Insufficient Authentication"
//             (or Encryption)            pairingRequired: the radio wants a bond.
//             UnknownObject, DoesNotExist characteristicGone: the object went
//                                        with a Service Changed (or the link).
//             anything else              other, with BlueZ's text.
//   Pair      AuthenticationFailed       pairingRefused (a wrong PIN), or
//                                        pairingImpossible when the application's
//                                        agent was not registered: nobody could
//                                        be asked for the PIN.
//             AuthenticationRejected     pairingRefused.
//             AuthenticationCanceled,
//             AuthenticationTimeout      pairingCancelled.
//             AlreadyExists              staleBond: BlueZ is paired, yet the
//                                        radio refused: it lost the bond.
//             ConnectionAttemptFailed    connectionFailed.
//             anything else              other.
//
// Before the link is up, the text says what happened instead of BlueZ's
// words ("le-connection-abort-by-local" tells a person nothing).
BleAdapter::Error QtBleAdapter::mapBluezError(Call call, const QString& name, const QString& text,
                                              bool agentRegistered) {
    const bool authentication = isBluezError(name, "AuthenticationFailed") ||
                                isBluezError(name, "AuthenticationRejected") ||
                                isBluezError(name, "AuthenticationCanceled") ||
                                isBluezError(name, "AuthenticationTimeout");
    switch (call) {
    case Call::connect:
        if (authentication)
            return {ErrorKind::peerRemovedPairingInformation, text};
        return {ErrorKind::connectionFailed, connectFailedText};
    case Call::gatt:
        if (isBluezError(name, "NotPermitted") || isBluezError(name, "NotAuthorized") ||
            isBluezError(name, "AuthenticationFailed") ||
            text.contains(QLatin1String("Not paired"), Qt::CaseInsensitive) ||
            text.contains(QLatin1String("Insufficient Authentication"), Qt::CaseInsensitive) ||
            text.contains(QLatin1String("Insufficient Encryption"), Qt::CaseInsensitive))
            return {ErrorKind::pairingRequired, text};
        if (name == QLatin1String("org.freedesktop.DBus.Error.UnknownObject") ||
            isBluezError(name, "DoesNotExist"))
            return {ErrorKind::characteristicGone, text};
        return {ErrorKind::other, text};
    case Call::pair:
        if (isBluezError(name, "AuthenticationFailed"))
            return {agentRegistered ? ErrorKind::pairingRefused : ErrorKind::pairingImpossible,
                    text};
        if (isBluezError(name, "AuthenticationRejected"))
            return {ErrorKind::pairingRefused, text};
        if (isBluezError(name, "AuthenticationCanceled") ||
            isBluezError(name, "AuthenticationTimeout"))
            return {ErrorKind::pairingCancelled, text};
        if (isBluezError(name, "AlreadyExists"))
            return {ErrorKind::staleBond, text};
        if (isBluezError(name, "ConnectionAttemptFailed"))
            return {ErrorKind::connectionFailed, connectFailedText};
        return {ErrorKind::other, text};
    }
    return {ErrorKind::other, text};
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

// --- Radios BlueZ knows ------------------------------------------------------

void QtBleAdapter::reportKnownRadios() {
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected())
        return;
    const std::uint64_t scan = ++m_scanGeneration;
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(Bluez::managedObjectsCall()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, scan](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                if (scan != m_scanGeneration)
                    return;
                const BluezObjects objects = Bluez::readObjects(call->reply());
                for (const BluezInterfaces& interfaces : objects) {
                    const QVariantMap device = interfaces.value(Bluez::deviceInterface);
                    const auto flag = [&](const char* name) {
                        return device.value(QLatin1String(name)).toBool();
                    };
                    QList<QBluetoothUuid> uuids;
                    for (const QString& uuid : device.value(QStringLiteral("UUIDs")).toStringList())
                        uuids.append(QBluetoothUuid(uuid));
                    if (!uuids.contains(m_scanService) ||
                        !(flag("Paired") || flag("Trusted") || flag("Connected")))
                        continue;
                    const QBluetoothAddress address(
                        device.value(QStringLiteral("Address")).toString());
                    const QString name = device.value(QStringLiteral("Alias")).toString();
                    const int rssi = device.value(QStringLiteral("RSSI"), 0).toInt();
                    QBluetoothDeviceInfo info(address, name, 0);
                    info.setRssi(qint16(rssi));
                    info.setServiceUuids(uuids);
                    info.setCoreConfigurations(QBluetoothDeviceInfo::LowEnergyCoreConfiguration);
                    Advertisement known;
                    known.id = stableId(info);
                    known.platformName = name;
                    known.rssi = rssi;
                    known.serviceUuids = uuids;
                    known.handle = QVariant::fromValue(info);
                    known.known = true;
                    known.address = address.toString();
                    m_knownAddresses.insert(known.address);
                    qCDebug(lcLink) << "BlueZ knows" << name << known.address;
                    Q_EMIT discovered(known);
                }
            });
}

// --- The connection ----------------------------------------------------------

BluezDevice* QtBleAdapter::deviceFor(const QString& address) {
    if (BluezDevice* device = m_devices.value(address))
        return device;
    auto* device = new BluezDevice(address, this);
    m_devices.insert(address, device);
    connect(device, &BluezDevice::connectedChanged, this, [this, device](bool connected) {
        if (device == m_device)
            onDeviceConnectedChanged(connected);
    });
    connect(device, &BluezDevice::servicesResolvedChanged, this, [this, device](bool resolved) {
        if (device == m_device)
            onDeviceServicesResolvedChanged(resolved);
    });
    connect(device, &BluezDevice::removed, this, [this, device] {
        m_knownAddresses.remove(device->address());
        if (device == m_device)
            onDeviceRemoved();
    });
    connect(device, &BluezDevice::mtuChanged, this, [this, device](int mtu) {
        if (device == m_device) {
            qCDebug(lcLink) << "MTU" << mtu;
            Q_EMIT mtuChanged(mtu);
        }
    });
    return device;
}

void QtBleAdapter::whenIdle(BluezDevice* device, std::function<void()> then) {
    if (device->callsInFlight() == 0) {
        QMetaObject::invokeMethod(this, std::move(then), Qt::QueuedConnection);
        return;
    }
    // One thing at a time towards BlueZ: a Disconnect or Connect of an
    // earlier attempt is answered before this one goes out.
    qCDebug(lcLink) << "waiting for BlueZ to answer" << device->callsInFlight() << "earlier calls";
    auto connection = std::make_shared<QMetaObject::Connection>();
    *connection = connect(device, &BluezDevice::idle, this, [connection, then] {
        disconnect(*connection);
        then();
    });
}

void QtBleAdapter::connectToPeripheral(const QVariant& handle) {
    // One peripheral at a time: whatever was there before goes.
    if (m_device && (m_attempting || m_linkUp))
        m_device->disconnectDevice();
    dropController();
    ++m_generation;
    m_attempting = false;

    const auto info = handle.value<QBluetoothDeviceInfo>();
    if (!info.isValid()) {
        qCDebug(lcLink) << "no device to connect to in" << handle;
        reportLater([this] { Q_EMIT failedToConnect(Error{ErrorKind::other, unknownRadioText}); });
        return;
    }
    qCDebug(lcLink) << "connecting to" << info.address() << info.name();
    m_name = info.name();
    m_device = deviceFor(info.address().toString());
    m_attempting = true;
    const std::uint64_t generation = m_generation;
    whenIdle(m_device, [this, generation] {
        if (generation != m_generation || !m_device)
            return;
        m_device->find([this, generation](const std::optional<BluezDevice::Failure>& failure) {
            if (generation != m_generation)
                return;
            if (failure) {
                failAttempt({ErrorKind::other, unknownRadioText});
                return;
            }
            // While the attempt runs, BlueZ asks Talvenne if the radio wants a PIN.
            m_pairingAgent->expect(m_device->path(), m_name);
            m_pairingAgent->registerAgent();
            requestConnect();
        });
    });
}

void QtBleAdapter::requestConnect() {
    const std::uint64_t generation = m_generation;
    m_device->connectDevice([this, generation](const std::optional<BluezDevice::Failure>& failure) {
        if (generation != m_generation || !m_attempting)
            return;
        if (!failure) {
            whenResolved();
            return;
        }
        if (isBluezError(failure->name, "InProgress")) {
            // Another attempt at this radio runs (BlueZ's own, another
            // program's): its end is waited for, not taken as a failure.
            QTimer::singleShot(inProgressPause, this, [this, generation] {
                if (generation != m_generation || !m_attempting)
                    return;
                if (m_device->isConnected())
                    whenResolved();
                else
                    requestConnect();
            });
            return;
        }
        failAttempt(mapBluezError(Call::connect, failure->name, failure->text));
    });
}

void QtBleAdapter::whenResolved() {
    if (m_device->servicesResolved()) {
        takeConnection();
        return;
    }
    m_awaitingResolve = true;
}

// BlueZ has the radio connected with its services resolved: Qt's controller
// takes the connection as it is, without a Connect of its own.
void QtBleAdapter::takeConnection() {
    m_awaitingResolve = false;
    QBluetoothDeviceInfo info(QBluetoothAddress(m_device->address()), m_name, 0);
    info.setCoreConfigurations(QBluetoothDeviceInfo::LowEnergyCoreConfiguration);
    if (m_controller)
        park(std::exchange(m_controller, nullptr));
    m_controller = QLowEnergyController::createCentral(info, this);
    connect(m_controller, &QLowEnergyController::connected, this,
            &QtBleAdapter::onControllerConnected);
    connect(m_controller, &QLowEnergyController::errorOccurred, this,
            [this](QLowEnergyController::Error error) {
                qCDebug(lcLink) << "controller error" << error << m_controller->errorString();
            });
    connect(m_controller, &QLowEnergyController::mtuChanged, this, [this](int mtu) {
        qCDebug(lcLink) << "MTU" << mtu;
        Q_EMIT mtuChanged(mtu);
    });
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
    if (m_linkUp) {
        // A new controller after Service Changed: discovery goes on there.
        if (m_discoverWhenResolved) {
            m_discoverWhenResolved = false;
            m_discoveringServices = true;
            m_controller->discoverServices();
        }
        return;
    }
    m_linkUp = true;
    m_attempting = false;
    if (m_controller->mtu() > 0)
        Q_EMIT mtuChanged(m_controller->mtu());
    Q_EMIT peripheralConnected();
}

void QtBleAdapter::failAttempt(const Error& error) {
    qCDebug(lcLink) << "attempt failed:" << error.kind << error.text;
    // Answers still on their way belong to this attempt.
    ++m_generation;
    m_attempting = false;
    m_awaitingResolve = false;
    m_pairingAgent->unregisterAgent();
    dropController();
    Q_EMIT failedToConnect(error);
}

void QtBleAdapter::loseLink(const std::optional<Error>& error) {
    qCDebug(lcLink) << "link lost";
    ++m_generation;
    m_pairingAgent->unregisterAgent();
    dropController();
    Q_EMIT peripheralDisconnected(error);
}

void QtBleAdapter::onDeviceConnectedChanged(bool connected) {
    if (connected)
        return;
    if (m_linkUp) {
        loseLink(std::nullopt);
    } else if (m_attempting && m_awaitingResolve) {
        // Connected, then gone before the services were resolved.
        failAttempt({ErrorKind::connectionFailed, droppedDuringSetUpText});
    }
}

void QtBleAdapter::onDeviceServicesResolvedChanged(bool resolved) {
    if (resolved) {
        if (m_attempting && m_awaitingResolve) {
            takeConnection();
        } else if (m_linkUp && m_servicesStale) {
            m_servicesStale = false;
            if (m_discoverWhenResolved)
                takeConnection();
        }
        return;
    }
    if (!m_linkUp || m_servicesStale)
        return;
    // Service Changed: what was found is dead; the link discovers again.
    qCDebug(lcLink) << "the radio's services changed";
    m_servicesStale = true;
    dropService();
    Q_EMIT servicesChanged();
}

void QtBleAdapter::onDeviceRemoved() {
    if (m_linkUp)
        loseLink(std::nullopt);
    else if (m_attempting)
        failAttempt({ErrorKind::other, unknownRadioText});
}

void QtBleAdapter::cancelConnection() {
    const bool hadConnection = m_attempting || m_linkUp || m_controller;
    // Tied to this attempt: it goes out now, before any later Connect.
    if (m_device && (m_attempting || m_linkUp)) {
        if (m_pairing)
            m_device->cancelPairing();
        m_device->disconnectDevice();
    }
    ++m_generation;
    m_pairingAgent->expect({}, {});
    m_pairingAgent->unregisterAgent();
    dropController();
    if (hadConnection)
        reportLater([this] { Q_EMIT peripheralDisconnected(std::nullopt); });
}

void QtBleAdapter::forgetPeripheral(const QVariant& handle) {
    const auto info = handle.value<QBluetoothDeviceInfo>();
    if (!info.isValid())
        return;
    const QString address = info.address().toString();
    if (m_device && m_device->address() == address && (m_attempting || m_linkUp))
        cancelConnection();
    m_knownAddresses.remove(address);
    BluezDevice* device = deviceFor(address);
    qCDebug(lcLink) << "forgetting" << address;
    whenIdle(device, [device] {
        device->remove([address = device->address()](const auto& failure) {
            qCDebug(lcLink) << "BlueZ forgot" << address << (failure ? failure->text : QString());
        });
    });
}

void QtBleAdapter::dropService() {
    if (!m_service)
        return;
    m_service->disconnect(this);
    m_service->deleteLater();
    m_service = nullptr;
}

void QtBleAdapter::park(QLowEnergyController* controller) {
    controller->disconnect(this);
    if (controller->state() == QLowEnergyController::UnconnectedState) {
        controller->deleteLater();
        return;
    }
    // Deleting it now would have Qt disconnect the radio, maybe after the
    // next attempt began: it goes once BlueZ reports the radio gone.
    connect(controller, &QLowEnergyController::stateChanged, controller,
            [controller](QLowEnergyController::ControllerState state) {
                if (state == QLowEnergyController::UnconnectedState)
                    controller->deleteLater();
            });
    m_parked.removeAll(nullptr);
    m_parked.append(controller);
}

void QtBleAdapter::dropController() {
    dropService();
    if (m_controller)
        park(std::exchange(m_controller, nullptr));
    m_linkUp = false;
    m_attempting = false;
    m_awaitingResolve = false;
    m_pairing = false;
    m_servicesStale = false;
    m_discoverWhenResolved = false;
    m_discoveringServices = false;
    m_discoveringDetails = false;
}

void QtBleAdapter::onSleepChanged(bool sleeping) {
    Q_EMIT sleepChanged(sleeping);
    if (!sleeping)
        return;
    // The link ended its connection from inside the report; once BlueZ has
    // answered that, the sleep may go ahead.
    if (m_device && m_device->callsInFlight() > 0)
        whenIdle(m_device, [this] { m_sleep->readyToSleep(); });
    else
        m_sleep->readyToSleep();
}

// --- On the connected radio ----------------------------------------------------

void QtBleAdapter::discoverServices(const QList<QBluetoothUuid>& services) {
    if (!m_controller || !m_linkUp)
        return;
    m_wantedServices = services;
    if (m_servicesStale || m_controller->state() == QLowEnergyController::DiscoveredState) {
        // After Service Changed: a fresh controller discovers what the radio
        // offers now, once BlueZ has resolved it.
        m_discoverWhenResolved = true;
        if (!m_servicesStale && m_device->servicesResolved())
            takeConnection();
        return;
    }
    m_discoveringServices = true;
    m_controller->discoverServices();
}

void QtBleAdapter::discoverCharacteristics(const QBluetoothUuid& service,
                                           const QList<QBluetoothUuid>& characteristics) {
    dropService();
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
    connect(m_service, &QLowEnergyService::characteristicChanged, this,
            [this](const QLowEnergyCharacteristic& characteristic, const QByteArray& value) {
                Q_EMIT valueUpdated(characteristic.uuid(), value);
            });
    m_discoveringDetails = true;
    // The values are of no use here, and some radios never answer the reads.
    m_service->discoverDetails(QLowEnergyService::SkipValueDiscovery);
}

void QtBleAdapter::onServiceStateChanged(QLowEnergyService::ServiceState state) {
    if (state == QLowEnergyService::RemoteServiceDiscovered && m_discoveringDetails)
        reportCharacteristics();
}

void QtBleAdapter::reportCharacteristics() {
    m_discoveringDetails = false;
    QList<Characteristic> found;
    QList<QBluetoothUuid> uuids;
    const auto characteristics = m_service->characteristics();
    for (const QLowEnergyCharacteristic& characteristic : characteristics) {
        if (!m_wantedCharacteristics.isEmpty() &&
            !m_wantedCharacteristics.contains(characteristic.uuid()))
            continue;
        const auto properties = characteristic.properties();
        found.append({characteristic.uuid(), properties.testFlag(QLowEnergyCharacteristic::Write),
                      properties.testFlag(QLowEnergyCharacteristic::WriteNoResponse),
                      properties.testFlag(QLowEnergyCharacteristic::Notify)});
        uuids.append(characteristic.uuid());
    }
    const QBluetoothUuid service = m_service->serviceUuid();
    qCDebug(lcLink) << "characteristics of" << service << ":" << found.size();
    // BlueZ's paths of the same characteristics, for the calls that go to
    // BlueZ directly, and the MTU.
    const std::uint64_t generation = m_generation;
    m_device->findCharacteristics(uuids, [this, generation, service, found](
                                             const std::optional<BluezDevice::Failure>& failure) {
        if (generation != m_generation)
            return;
        Q_EMIT characteristicsDiscovered(service, failure ? QList<Characteristic>() : found);
    });
}

void QtBleAdapter::onServiceError(QLowEnergyService::ServiceError error) {
    qCDebug(lcLink) << "service error" << error;
    // A detail discovery that failed ends with what was found so far.
    if (m_discoveringDetails)
        reportCharacteristics();
}

void QtBleAdapter::setNotify(const QBluetoothUuid& characteristic, bool enabled) {
    if (!m_device || !m_linkUp) {
        reportLater([this, characteristic] {
            Q_EMIT notificationStateChanged(characteristic, false,
                                            Error{ErrorKind::other, connectFailedText});
        });
        return;
    }
    const std::uint64_t generation = m_generation;
    m_device->setNotify(characteristic, enabled,
                        [this, generation, characteristic,
                         enabled](const std::optional<BluezDevice::Failure>& failure) {
                            if (generation != m_generation)
                                return;
                            if (failure) {
                                Q_EMIT notificationStateChanged(
                                    characteristic, false,
                                    mapBluezError(Call::gatt, failure->name, failure->text));
                                return;
                            }
                            // The attempt is complete: BlueZ asks someone else again.
                            if (enabled && !m_pairing)
                                m_pairingAgent->unregisterAgent();
                            Q_EMIT notificationStateChanged(characteristic, enabled, std::nullopt);
                        });
}

void QtBleAdapter::write(const QBluetoothUuid& characteristic, const QByteArray& value,
                         bool withResponse) {
    if (!m_device || !m_linkUp) {
        qCDebug(lcLink) << "write without a link dropped";
        return;
    }
    const std::uint64_t generation = m_generation;
    m_device->write(characteristic, value, withResponse,
                    [this, generation, characteristic,
                     value](const std::optional<BluezDevice::Failure>& failure) {
                        if (generation != m_generation || !failure)
                            return;
                        Q_EMIT writeFailed(characteristic, value,
                                           mapBluezError(Call::gatt, failure->name, failure->text));
                    });
}

int QtBleAdapter::mtu() const {
    if (m_controller && m_controller->mtu() > 0)
        return m_controller->mtu();
    return m_device && m_linkUp ? m_device->mtu() : -1;
}

void QtBleAdapter::pair() {
    if (!m_device || !(m_linkUp || m_attempting)) {
        reportLater([this] { Q_EMIT pairingFinished(Error{ErrorKind::other, connectFailedText}); });
        return;
    }
    m_pairing = true;
    const std::uint64_t generation = m_generation;
    m_pairingAgent->expect(m_device->path(), m_name);
    // The agent registered by the program that calls Pair is the one BlueZ asks.
    m_pairingAgent->registerAgent([this, generation](bool registered) {
        if (generation != m_generation)
            return;
        qCDebug(lcLink) << "pairing with" << m_device->address();
        m_device->pair(
            [this, generation, registered](const std::optional<BluezDevice::Failure>& failure) {
                m_prompt.withdraw();
                if (generation != m_generation)
                    return;
                m_pairing = false;
                m_pairingAgent->unregisterAgent();
                if (failure) {
                    Q_EMIT pairingFinished(
                        mapBluezError(Call::pair, failure->name, failure->text, registered));
                    return;
                }
                m_knownAddresses.insert(m_device->address());
                Q_EMIT pairingFinished(std::nullopt);
            });
    });
}
