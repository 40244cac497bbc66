#include "fake_bluez.h"

#include "sim/simulated_radio.h"
#include "transport/bluetooth_transport.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>

using namespace std::chrono_literals;

namespace {

const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString serviceInterface = QStringLiteral("org.bluez.GattService1");
const QString characteristicInterface = QStringLiteral("org.bluez.GattCharacteristic1");
const QString descriptorInterface = QStringLiteral("org.bluez.GattDescriptor1");
const QString cccdUuid = QStringLiteral("00002902-0000-1000-8000-00805f9b34fb");

QString uuidText(const QBluetoothUuid& uuid) {
    return uuid.toString(QUuid::WithoutBraces).toLower();
}

QVariant objectPath(const QString& path) {
    return QVariant::fromValue(QDBusObjectPath(path));
}

} // namespace

FakeBluez::FakeBluez(QDBusConnection bus, QObject* parent)
    : QDBusVirtualObject(parent)
    , m_bus(bus) {
    qDBusRegisterMetaType<BluezInterfaces>();
    qDBusRegisterMetaType<BluezObjects>();
    m_bus.registerVirtualObject(QStringLiteral("/"), this, QDBusConnection::SubPath);
    m_advertTimer.setInterval(100);
    connect(&m_advertTimer, &QTimer::timeout, this, &FakeBluez::advertise);
    addAdapter();
}

FakeBluez::~FakeBluez() {
    qDeleteAll(m_radios);
}

bool FakeBluez::claimService() {
    return m_bus.registerService(Bluez::service);
}

bool FakeBluez::tracing() {
    static const bool trace = qEnvironmentVariableIntValue("FAKE_BLUEZ_TRACE") == 1;
    return trace;
}

// --- The object tree ---------------------------------------------------------

QString FakeBluez::devicePath(const Radio& radio) const {
    return m_adapterPath + QStringLiteral("/dev_") +
           QString(radio.address).replace(QLatin1Char(':'), QLatin1Char('_'));
}
QString FakeBluez::servicePath(const Radio& radio) const {
    return devicePath(radio) + QStringLiteral("/service000c");
}
QString FakeBluez::rxPath(const Radio& radio) const {
    return servicePath(radio) + QStringLiteral("/char000d");
}
QString FakeBluez::txPath(const Radio& radio) const {
    return servicePath(radio) + QStringLiteral("/char000f");
}
QString FakeBluez::cccdPath(const Radio& radio) const {
    return txPath(radio) + QStringLiteral("/desc0011");
}

FakeBluez::Radio* FakeBluez::radioAt(const QString& path) {
    for (Radio* radio : std::as_const(m_radios)) {
        const QString device = devicePath(*radio);
        if (path == device || path.startsWith(device + QLatin1Char('/')))
            return radio;
    }
    return nullptr;
}

FakeBluez::Radio& FakeBluez::radio(const QString& address) {
    for (Radio* radio : std::as_const(m_radios)) {
        if (radio->address == address)
            return *radio;
    }
    m_unknownRadio = Radio();
    return m_unknownRadio;
}

void FakeBluez::addObject(const QString& path, const BluezInterfaces& interfaces) {
    if (tracing())
        qInfo().noquote() << "<- added" << path;
    m_objects.insert(path, interfaces);
    QDBusMessage signal = QDBusMessage::createSignal(
        QStringLiteral("/"), Bluez::objectManagerInterface, QStringLiteral("InterfacesAdded"));
    signal << objectPath(path) << QVariant::fromValue(interfaces);
    m_bus.send(signal);
}

void FakeBluez::removeObject(const QString& path) {
    if (!m_objects.contains(path))
        return;
    const QStringList interfaces = m_objects.take(path).keys();
    QDBusMessage signal = QDBusMessage::createSignal(
        QStringLiteral("/"), Bluez::objectManagerInterface, QStringLiteral("InterfacesRemoved"));
    signal << objectPath(path) << interfaces;
    m_bus.send(signal);
}

void FakeBluez::setProperties(const QString& path, const QString& interface,
                              const QVariantMap& changed, const QStringList& invalidated) {
    if (!m_objects.contains(path))
        return;
    QVariantMap& properties = m_objects[path][interface];
    for (auto it = changed.cbegin(); it != changed.cend(); ++it)
        properties.insert(it.key(), it.value());
    for (const QString& name : invalidated)
        properties.remove(name);
    QDBusMessage signal =
        QDBusMessage::createSignal(path, propertiesInterface, QStringLiteral("PropertiesChanged"));
    signal << interface << changed << invalidated;
    m_bus.send(signal);
}

void FakeBluez::addAdapter() {
    if (m_hasAdapter)
        return;
    m_hasAdapter = true;
    m_powered = true;
    QVariantMap adapter{
        {QStringLiteral("Address"), QStringLiteral("00:1A:7D:DA:71:13")},
        {QStringLiteral("AddressType"), QStringLiteral("public")},
        {QStringLiteral("Name"), QStringLiteral("talvenne-test")},
        {QStringLiteral("Alias"), QStringLiteral("talvenne-test")},
        {QStringLiteral("Class"), QVariant::fromValue(quint32(0))},
        {QStringLiteral("Powered"), m_powered},
        {QStringLiteral("Discoverable"), false},
        {QStringLiteral("DiscoverableTimeout"), QVariant::fromValue(quint32(180))},
        {QStringLiteral("Pairable"), false},
        {QStringLiteral("Discovering"), false},
        {QStringLiteral("UUIDs"), QStringList()},
    };
    addObject(m_adapterPath, {{Bluez::adapterInterface, adapter}});
}

void FakeBluez::removeAdapter() {
    if (!m_hasAdapter)
        return;
    setPowered(false);
    for (Radio* radio : std::as_const(m_radios))
        removeObject(devicePath(*radio));
    removeObject(m_adapterPath);
    m_hasAdapter = false;
}

void FakeBluez::setPowered(bool powered) {
    if (powered == m_powered)
        return;
    m_powered = powered;
    if (powered) {
        setProperties(m_adapterPath, Bluez::adapterInterface, {{QStringLiteral("Powered"), true}});
        return;
    }
    const bool wasDiscovering = isDiscovering();
    m_discoverySessions.clear();
    m_advertTimer.stop();
    QVariantMap changed{{QStringLiteral("Powered"), false}};
    if (wasDiscovering)
        changed.insert(QStringLiteral("Discovering"), false);
    setProperties(m_adapterPath, Bluez::adapterInterface, changed);
    for (Radio* radio : std::as_const(m_radios)) {
        if (radio->pendingConnect) {
            replyError(*radio->pendingConnect, QStringLiteral("org.bluez.Error.Failed"),
                       QStringLiteral("Software caused connection abort"));
            radio->pendingConnect.reset();
        }
        if (radio->connected)
            tearDown(*radio);
    }
}

void FakeBluez::forgetDevices() {
    for (Radio* radio : std::as_const(m_radios)) {
        if (!radio->connected && !radio->pendingConnect)
            removeObject(devicePath(*radio));
    }
}

void FakeBluez::addRadio(const QString& address, const QString& name, int rssi) {
    auto* radio = new Radio;
    radio->address = address;
    radio->name = name;
    radio->rssi = rssi;
    radio->sim = std::make_unique<SimulatedRadio>(&m_clock, quint32(m_radios.size() + 3));
    radio->sim->setConnectDelay(0ms);
    radio->sim->setLatency(2ms);
    radio->sim->setAckDelay(60ms);
    radio->sim->populateDemoNeighbours();
    connect(radio->sim.get(), &MeshLink::transportReceived, this,
            [this, radio](const QByteArray& frame) {
                if (radio->connected && radio->notifying)
                    setProperties(txPath(*radio), characteristicInterface,
                                  {{QStringLiteral("Value"), frame}});
            });
    m_radios.append(radio);
}

void FakeBluez::dropRadio(const QString& address) {
    Radio& target = radio(address);
    if (target.connected)
        tearDown(target);
}

// --- Discovery -----------------------------------------------------------------

// One advertisement of every radio in range: a new device object for one not
// known yet, else its signal strength when that changed.
void FakeBluez::advertise() {
    if (!isDiscovering() || !m_powered || !m_hasAdapter)
        return;
    for (Radio* radio : std::as_const(m_radios)) {
        if (!radio->inRange)
            continue;
        const QString path = devicePath(*radio);
        const QVariant rssi = QVariant::fromValue(qint16(radio->rssi));
        if (!m_objects.contains(path)) {
            QVariantMap device{
                {QStringLiteral("Address"), radio->address},
                {QStringLiteral("AddressType"), QStringLiteral("random")},
                {QStringLiteral("Name"), radio->name},
                {QStringLiteral("Alias"), radio->name},
                {QStringLiteral("Paired"), false},
                {QStringLiteral("Trusted"), false},
                {QStringLiteral("Blocked"), false},
                {QStringLiteral("LegacyPairing"), false},
                {QStringLiteral("Connected"), false},
                {QStringLiteral("ServicesResolved"), false},
                {QStringLiteral("RSSI"), rssi},
                {QStringLiteral("UUIDs"), QStringList{uuidText(BluetoothTransport::serviceUUID)}},
                {QStringLiteral("Adapter"), objectPath(m_adapterPath)},
            };
            addObject(path, {{Bluez::deviceInterface, device}});
            continue;
        }
        const QVariantMap& now = m_objects[path][Bluez::deviceInterface];
        if (!now.contains(QStringLiteral("RSSI")) ||
            now.value(QStringLiteral("RSSI")).toInt() != radio->rssi)
            setProperties(path, Bluez::deviceInterface, {{QStringLiteral("RSSI"), rssi}});
    }
}

void FakeBluez::endDiscovery() {
    m_advertTimer.stop();
    setProperties(m_adapterPath, Bluez::adapterInterface, {{QStringLiteral("Discovering"), false}});
    for (Radio* radio : std::as_const(m_radios)) {
        const QString path = devicePath(*radio);
        if (!m_objects.contains(path))
            continue;
        setProperties(path, Bluez::deviceInterface, {}, {QStringLiteral("RSSI")});
    }
}

// --- Connections ---------------------------------------------------------------

void FakeBluez::establish(Radio& radio) {
    radio.connected = true;
    const QString device = devicePath(radio);
    setProperties(device, Bluez::deviceInterface, {{QStringLiteral("Connected"), true}});
    const QVariant service = objectPath(servicePath(radio));
    addObject(servicePath(radio),
              {{serviceInterface,
                {{QStringLiteral("UUID"), uuidText(BluetoothTransport::serviceUUID)},
                 {QStringLiteral("Device"), objectPath(device)},
                 {QStringLiteral("Primary"), true},
                 {QStringLiteral("Includes"), QVariant::fromValue(QList<QDBusObjectPath>())}}}});
    addObject(
        rxPath(radio),
        {{characteristicInterface,
          {{QStringLiteral("UUID"), uuidText(BluetoothTransport::rxUUID)},
           {QStringLiteral("Service"), service},
           {QStringLiteral("Value"), QByteArray()},
           {QStringLiteral("Flags"),
            QStringList{QStringLiteral("write"), QStringLiteral("write-without-response")}}}}});
    addObject(txPath(radio),
              {{characteristicInterface,
                {{QStringLiteral("UUID"), uuidText(BluetoothTransport::txUUID)},
                 {QStringLiteral("Service"), service},
                 {QStringLiteral("Value"), QByteArray()},
                 {QStringLiteral("Notifying"), false},
                 {QStringLiteral("Flags"), QStringList{QStringLiteral("notify")}}}}});
    addObject(cccdPath(radio), {{descriptorInterface,
                                 {{QStringLiteral("UUID"), cccdUuid},
                                  {QStringLiteral("Characteristic"), objectPath(txPath(radio))},
                                  {QStringLiteral("Value"), QByteArray()}}}});
    setProperties(
        device, Bluez::deviceInterface,
        {{QStringLiteral("UUIDs"), QStringList{uuidText(BluetoothTransport::serviceUUID)}},
         {QStringLiteral("ServicesResolved"), true}});
    DiscoveredDevice peer;
    peer.id = SimulatedRadio::deviceId;
    radio.sim->connectToDevice(peer);
}

void FakeBluez::tearDown(Radio& radio) {
    radio.connected = false;
    radio.notifying = false;
    radio.sim->disconnectFromDevice();
    removeObject(cccdPath(radio));
    removeObject(txPath(radio));
    removeObject(rxPath(radio));
    removeObject(servicePath(radio));
    setProperties(
        devicePath(radio), Bluez::deviceInterface,
        {{QStringLiteral("ServicesResolved"), false}, {QStringLiteral("Connected"), false}});
}

// --- Messages ------------------------------------------------------------------

QString FakeBluez::introspect(const QString&) const {
    return {};
}

void FakeBluez::reply(const QDBusMessage& message, const QList<QVariant>& arguments) {
    QDBusMessage answer = message.createReply(arguments);
    m_bus.send(answer);
}

void FakeBluez::replyError(const QDBusMessage& message, const QString& name, const QString& text) {
    m_bus.send(message.createErrorReply(name, text));
}

void FakeBluez::replyNotReady(const QDBusMessage& message) {
    replyError(message, QStringLiteral("org.bluez.Error.NotReady"),
               QStringLiteral("Resource Not Ready"));
}

bool FakeBluez::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    if (tracing())
        qInfo().noquote() << "->" << message.path() << message.interface() << message.member()
                          << message.arguments();
    message.setDelayedReply(true);
    if (m_denied) {
        replyError(message, QStringLiteral("org.freedesktop.DBus.Error.AccessDenied"),
                   QStringLiteral("Rejected send message"));
        return true;
    }
    const QString path = message.path();
    const QString interface = message.interface();
    if (interface == QLatin1String("org.freedesktop.DBus.Introspectable")) {
        reply(message, {QStringLiteral("<node/>")});
        return true;
    }
    if (path == QLatin1String("/") && interface == Bluez::objectManagerInterface &&
        message.member() == QLatin1String("GetManagedObjects")) {
        BluezObjects objects;
        for (auto it = m_objects.cbegin(); it != m_objects.cend(); ++it)
            objects.insert(QDBusObjectPath(it.key()), it.value());
        reply(message, {QVariant::fromValue(objects)});
        return true;
    }
    if (!m_objects.contains(path)) {
        replyError(message, QStringLiteral("org.freedesktop.DBus.Error.UnknownObject"),
                   QStringLiteral("No such object ") + path);
        return true;
    }
    if (interface == propertiesInterface) {
        handleProperties(message);
        return true;
    }
    if (interface == Bluez::adapterInterface && path == m_adapterPath) {
        handleAdapter(message);
        return true;
    }
    if (Radio* radio = radioAt(path)) {
        if (interface == Bluez::deviceInterface)
            handleDevice(message, *radio);
        else
            handleGatt(message, *radio);
        return true;
    }
    replyError(message, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"),
               message.member());
    return true;
}

void FakeBluez::handleProperties(const QDBusMessage& message) {
    const QList<QVariant> args = message.arguments();
    const QString interface = args.value(0).toString();
    const BluezInterfaces& object = m_objects[message.path()];
    if (!object.contains(interface)) {
        replyError(message, QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"),
                   QStringLiteral("No such interface ") + interface);
        return;
    }
    const QVariantMap& properties = object[interface];
    if (message.member() == QLatin1String("GetAll")) {
        reply(message, {properties});
        return;
    }
    const QString name = args.value(1).toString();
    if (message.member() == QLatin1String("Get")) {
        if (!properties.contains(name)) {
            replyError(message, QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"),
                       QStringLiteral("No such property ") + name);
            return;
        }
        reply(message, {QVariant::fromValue(QDBusVariant(properties.value(name)))});
        return;
    }
    if (message.member() == QLatin1String("Set") && interface == Bluez::adapterInterface) {
        const QVariant value = args.value(2).value<QDBusVariant>().variant();
        if (name == QLatin1String("Powered")) {
            if (!m_powerOnAllowed && value.toBool()) {
                replyError(message, QStringLiteral("org.bluez.Error.Failed"),
                           QStringLiteral("Blocked through rfkill"));
                return;
            }
            reply(message);
            setPowered(value.toBool());
            return;
        }
        setProperties(message.path(), interface, {{name, value}});
        reply(message);
        return;
    }
    replyError(message, QStringLiteral("org.freedesktop.DBus.Error.PropertyReadOnly"), name);
}

void FakeBluez::handleAdapter(const QDBusMessage& message) {
    const QString member = message.member();
    if (member == QLatin1String("SetDiscoveryFilter")) {
        reply(message);
    } else if (member == QLatin1String("GetDiscoveryFilters")) {
        reply(message, {QStringList{QStringLiteral("Transport"), QStringLiteral("RSSI")}});
    } else if (member == QLatin1String("StartDiscovery")) {
        if (!m_powered) {
            replyNotReady(message);
            return;
        }
        const bool first = m_discoverySessions.isEmpty();
        m_discoverySessions.insert(message.service());
        reply(message);
        if (first) {
            setProperties(m_adapterPath, Bluez::adapterInterface,
                          {{QStringLiteral("Discovering"), true}});
            m_advertTimer.start();
            QTimer::singleShot(10, this, &FakeBluez::advertise);
        }
    } else if (member == QLatin1String("StopDiscovery")) {
        if (!m_powered) {
            replyNotReady(message);
            return;
        }
        if (!m_discoverySessions.remove(message.service())) {
            replyError(message, QStringLiteral("org.bluez.Error.Failed"),
                       QStringLiteral("No discovery started"));
            return;
        }
        reply(message);
        if (m_discoverySessions.isEmpty())
            endDiscovery();
    } else if (member == QLatin1String("RemoveDevice")) {
        const QString device = message.arguments().value(0).value<QDBusObjectPath>().path();
        if (Radio* radio = radioAt(device); radio && radio->connected)
            tearDown(*radio);
        removeObject(device);
        reply(message);
    } else {
        replyError(message, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"), member);
    }
}

void FakeBluez::handleDevice(const QDBusMessage& message, Radio& radio) {
    const QString member = message.member();
    if (member == QLatin1String("Connect")) {
        ++radio.connectAttempts;
        if (!m_powered) {
            replyNotReady(message);
        } else if (radio.pendingConnect) {
            replyError(message, QStringLiteral("org.bluez.Error.InProgress"),
                       QStringLiteral("In Progress"));
        } else if (radio.connected) {
            reply(message);
        } else if (radio.mode == ConnectMode::fail || !radio.inRange) {
            QTimer::singleShot(5, this, [this, message] {
                replyError(message, QStringLiteral("org.bluez.Error.Failed"),
                           QStringLiteral("le-connection-abort-by-local"));
            });
        } else if (radio.mode == ConnectMode::hang) {
            radio.pendingConnect = message;
        } else {
            const QString address = radio.address;
            QTimer::singleShot(5, this, [this, message, address] {
                Radio& radio = this->radio(address);
                if (!radio.sim || !m_powered || radio.connected)
                    return;
                establish(radio);
                reply(message);
            });
        }
    } else if (member == QLatin1String("Disconnect")) {
        ++radio.disconnectCalls;
        if (radio.pendingConnect) {
            replyError(*radio.pendingConnect, QStringLiteral("org.bluez.Error.Failed"),
                       QStringLiteral("Operation was cancelled"));
            radio.pendingConnect.reset();
        }
        if (radio.connected)
            tearDown(radio);
        reply(message);
    } else {
        replyError(message, QStringLiteral("org.bluez.Error.NotSupported"), member);
    }
}

void FakeBluez::handleGatt(const QDBusMessage& message, Radio& radio) {
    const QString path = message.path();
    const QString member = message.member();
    const QVariantMap& properties = m_objects[path].first();
    if (member == QLatin1String("ReadValue")) {
        if (path == cccdPath(radio)) {
            reply(message,
                  {radio.notifying ? QByteArray::fromHex("0100") : QByteArray::fromHex("0000")});
            return;
        }
        reply(message, {properties.value(QStringLiteral("Value")).toByteArray()});
    } else if (member == QLatin1String("WriteValue") && path == rxPath(radio)) {
        const QByteArray frame = message.arguments().value(0).toByteArray();
        reply(message);
        radio.sim->write(frame);
    } else if (member == QLatin1String("StartNotify") && path == txPath(radio)) {
        reply(message);
        radio.notifying = true;
        setProperties(path, characteristicInterface, {{QStringLiteral("Notifying"), true}});
    } else if (member == QLatin1String("StopNotify") && path == txPath(radio)) {
        reply(message);
        radio.notifying = false;
        setProperties(path, characteristicInterface, {{QStringLiteral("Notifying"), false}});
    } else {
        replyError(message, QStringLiteral("org.bluez.Error.NotPermitted"), member);
    }
}

void FakeBluezControl::SetConnectMode(const QString& address, const QString& mode) {
    FakeBluez::ConnectMode value = FakeBluez::ConnectMode::succeed;
    if (mode == QLatin1String("fail"))
        value = FakeBluez::ConnectMode::fail;
    else if (mode == QLatin1String("hang"))
        value = FakeBluez::ConnectMode::hang;
    m_bluez->radio(address).mode = value;
}

void FakeBluezControl::DropAnswers(const QString& address, int count) {
    if (const auto& sim = m_bluez->radio(address).sim)
        sim->dropNextAnswers(count);
}
