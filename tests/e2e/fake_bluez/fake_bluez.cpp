#include "fake_bluez.h"

#include "sim/simulated_radio.h"
#include "transport/bluetooth_transport.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

const QString propertiesInterface = u"org.freedesktop.DBus.Properties"_s;
const QString serviceInterface = u"org.bluez.GattService1"_s;
const QString characteristicInterface = u"org.bluez.GattCharacteristic1"_s;
const QString descriptorInterface = u"org.bluez.GattDescriptor1"_s;
const QString cccdUuid = u"00002902-0000-1000-8000-00805f9b34fb"_s;

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
    m_bus.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath);
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

void FakeBluez::releaseService() {
    m_bus.unregisterService(Bluez::service);
}

bool FakeBluez::tracing() {
    static const bool trace = qEnvironmentVariableIntValue("FAKE_BLUEZ_TRACE") == 1;
    return trace;
}

// --- The object tree ---------------------------------------------------------

QString FakeBluez::devicePath(const Radio& radio) const {
    return m_adapterPath + u"/dev_"_s +
           QString(radio.address).replace(QLatin1Char(':'), QLatin1Char('_'));
}
QString FakeBluez::servicePath(const Radio& radio) const {
    return devicePath(radio) + u"/service000c"_s;
}
QString FakeBluez::rxPath(const Radio& radio) const {
    return servicePath(radio) + u"/char000d"_s;
}
QString FakeBluez::txPath(const Radio& radio) const {
    return servicePath(radio) + u"/char000f"_s;
}
QString FakeBluez::cccdPath(const Radio& radio) const {
    return txPath(radio) + u"/desc0011"_s;
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
    QDBusMessage signal =
        QDBusMessage::createSignal(u"/"_s, Bluez::objectManagerInterface, u"InterfacesAdded"_s);
    signal << objectPath(path) << QVariant::fromValue(interfaces);
    m_bus.send(signal);
}

void FakeBluez::removeObject(const QString& path) {
    if (!m_objects.contains(path))
        return;
    const QStringList interfaces = m_objects.take(path).keys();
    QDBusMessage signal =
        QDBusMessage::createSignal(u"/"_s, Bluez::objectManagerInterface, u"InterfacesRemoved"_s);
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
        QDBusMessage::createSignal(path, propertiesInterface, u"PropertiesChanged"_s);
    signal << interface << changed << invalidated;
    m_bus.send(signal);
}

void FakeBluez::addAdapter() {
    if (m_hasAdapter)
        return;
    m_hasAdapter = true;
    m_powered = true;
    QVariantMap adapter{
        {u"Address"_s, u"00:1A:7D:DA:71:13"_s},
        {u"AddressType"_s, u"public"_s},
        {u"Name"_s, u"talvenne-test"_s},
        {u"Alias"_s, u"talvenne-test"_s},
        {u"Class"_s, QVariant::fromValue(quint32(0))},
        {u"Powered"_s, m_powered},
        {u"Discoverable"_s, false},
        {u"DiscoverableTimeout"_s, QVariant::fromValue(quint32(180))},
        {u"Pairable"_s, false},
        {u"Discovering"_s, false},
        {u"UUIDs"_s, QStringList()},
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
        setProperties(m_adapterPath, Bluez::adapterInterface, {{u"Powered"_s, true}});
        return;
    }
    const bool wasDiscovering = isDiscovering();
    m_discoverySessions.clear();
    m_advertTimer.stop();
    QVariantMap changed{{u"Powered"_s, false}};
    if (wasDiscovering)
        changed.insert(u"Discovering"_s, false);
    setProperties(m_adapterPath, Bluez::adapterInterface, changed);
    for (Radio* radio : std::as_const(m_radios)) {
        if (radio->pendingConnect) {
            replyError(*radio->pendingConnect, u"org.bluez.Error.Failed"_s,
                       u"Software caused connection abort"_s);
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
                    setProperties(txPath(*radio), characteristicInterface, {{u"Value"_s, frame}});
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
                {u"Address"_s, radio->address},
                {u"AddressType"_s, u"random"_s},
                {u"Name"_s, radio->name},
                {u"Alias"_s, radio->name},
                {u"Paired"_s, false},
                {u"Trusted"_s, false},
                {u"Blocked"_s, false},
                {u"LegacyPairing"_s, false},
                {u"Connected"_s, false},
                {u"ServicesResolved"_s, false},
                {u"RSSI"_s, rssi},
                {u"UUIDs"_s, QStringList{uuidText(BluetoothTransport::serviceUUID)}},
                {u"Adapter"_s, objectPath(m_adapterPath)},
            };
            addObject(path, {{Bluez::deviceInterface, device}});
            continue;
        }
        const QVariantMap& now = m_objects[path][Bluez::deviceInterface];
        if (!now.contains(u"RSSI"_s) || now.value(u"RSSI"_s).toInt() != radio->rssi)
            setProperties(path, Bluez::deviceInterface, {{u"RSSI"_s, rssi}});
    }
}

void FakeBluez::endDiscovery() {
    m_advertTimer.stop();
    setProperties(m_adapterPath, Bluez::adapterInterface, {{u"Discovering"_s, false}});
    for (Radio* radio : std::as_const(m_radios)) {
        const QString path = devicePath(*radio);
        if (!m_objects.contains(path))
            continue;
        setProperties(path, Bluez::deviceInterface, {}, {u"RSSI"_s});
    }
}

// --- Connections ---------------------------------------------------------------

void FakeBluez::establish(Radio& radio) {
    radio.connected = true;
    const QString device = devicePath(radio);
    setProperties(device, Bluez::deviceInterface, {{u"Connected"_s, true}});
    const QVariant service = objectPath(servicePath(radio));
    addObject(servicePath(radio),
              {{serviceInterface,
                {{u"UUID"_s, uuidText(BluetoothTransport::serviceUUID)},
                 {u"Device"_s, objectPath(device)},
                 {u"Primary"_s, true},
                 {u"Includes"_s, QVariant::fromValue(QList<QDBusObjectPath>())}}}});
    addObject(rxPath(radio),
              {{characteristicInterface,
                {{u"UUID"_s, uuidText(BluetoothTransport::rxUUID)},
                 {u"Service"_s, service},
                 {u"Value"_s, QByteArray()},
                 {u"Flags"_s, QStringList{u"write"_s, u"write-without-response"_s}}}}});
    addObject(txPath(radio), {{characteristicInterface,
                               {{u"UUID"_s, uuidText(BluetoothTransport::txUUID)},
                                {u"Service"_s, service},
                                {u"Value"_s, QByteArray()},
                                {u"Notifying"_s, false},
                                {u"Flags"_s, QStringList{u"notify"_s}}}}});
    addObject(cccdPath(radio), {{descriptorInterface,
                                 {{u"UUID"_s, cccdUuid},
                                  {u"Characteristic"_s, objectPath(txPath(radio))},
                                  {u"Value"_s, QByteArray()}}}});
    setProperties(device, Bluez::deviceInterface,
                  {{u"UUIDs"_s, QStringList{uuidText(BluetoothTransport::serviceUUID)}},
                   {u"ServicesResolved"_s, true}});
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
    setProperties(devicePath(radio), Bluez::deviceInterface,
                  {{u"ServicesResolved"_s, false}, {u"Connected"_s, false}});
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
    replyError(message, u"org.bluez.Error.NotReady"_s, u"Resource Not Ready"_s);
}

bool FakeBluez::handleMessage(const QDBusMessage& message, const QDBusConnection&) {
    if (tracing())
        qInfo().noquote() << "->" << message.path() << message.interface() << message.member()
                          << message.arguments();
    message.setDelayedReply(true);
    if (m_denied) {
        replyError(message, u"org.freedesktop.DBus.Error.AccessDenied"_s,
                   u"Rejected send message"_s);
        return true;
    }
    const QString path = message.path();
    const QString interface = message.interface();
    if (interface == QLatin1String("org.freedesktop.DBus.Introspectable")) {
        reply(message, {u"<node/>"_s});
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
        replyError(message, u"org.freedesktop.DBus.Error.UnknownObject"_s,
                   u"No such object "_s + path);
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
    replyError(message, u"org.freedesktop.DBus.Error.UnknownMethod"_s, message.member());
    return true;
}

void FakeBluez::handleProperties(const QDBusMessage& message) {
    const QList<QVariant> args = message.arguments();
    const QString interface = args.value(0).toString();
    const BluezInterfaces& object = m_objects[message.path()];
    if (!object.contains(interface)) {
        replyError(message, u"org.freedesktop.DBus.Error.InvalidArgs"_s,
                   u"No such interface "_s + interface);
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
            replyError(message, u"org.freedesktop.DBus.Error.InvalidArgs"_s,
                       u"No such property "_s + name);
            return;
        }
        reply(message, {QVariant::fromValue(QDBusVariant(properties.value(name)))});
        return;
    }
    if (message.member() == QLatin1String("Set") && interface == Bluez::adapterInterface) {
        const QVariant value = args.value(2).value<QDBusVariant>().variant();
        if (name == QLatin1String("Powered")) {
            if (!m_powerOnAllowed && value.toBool()) {
                replyError(message, u"org.bluez.Error.Failed"_s, u"Blocked through rfkill"_s);
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
    replyError(message, u"org.freedesktop.DBus.Error.PropertyReadOnly"_s, name);
}

void FakeBluez::handleAdapter(const QDBusMessage& message) {
    const QString member = message.member();
    if (member == QLatin1String("SetDiscoveryFilter")) {
        reply(message);
    } else if (member == QLatin1String("GetDiscoveryFilters")) {
        reply(message, {QStringList{u"Transport"_s, u"RSSI"_s}});
    } else if (member == QLatin1String("StartDiscovery")) {
        if (!m_powered) {
            replyNotReady(message);
            return;
        }
        const bool first = m_discoverySessions.isEmpty();
        m_discoverySessions.insert(message.service());
        reply(message);
        if (first) {
            setProperties(m_adapterPath, Bluez::adapterInterface, {{u"Discovering"_s, true}});
            m_advertTimer.start();
            QTimer::singleShot(10, this, &FakeBluez::advertise);
        }
    } else if (member == QLatin1String("StopDiscovery")) {
        if (!m_powered) {
            replyNotReady(message);
            return;
        }
        if (!m_discoverySessions.remove(message.service())) {
            replyError(message, u"org.bluez.Error.Failed"_s, u"No discovery started"_s);
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
        replyError(message, u"org.freedesktop.DBus.Error.UnknownMethod"_s, member);
    }
}

void FakeBluez::handleDevice(const QDBusMessage& message, Radio& radio) {
    const QString member = message.member();
    if (member == QLatin1String("Connect")) {
        ++radio.connectAttempts;
        if (!m_powered) {
            replyNotReady(message);
        } else if (radio.pendingConnect) {
            replyError(message, u"org.bluez.Error.InProgress"_s, u"In Progress"_s);
        } else if (radio.connected) {
            reply(message);
        } else if (radio.mode == ConnectMode::fail || !radio.inRange) {
            QTimer::singleShot(5, this, [this, message] {
                replyError(message, u"org.bluez.Error.Failed"_s, u"le-connection-abort-by-local"_s);
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
            replyError(*radio.pendingConnect, u"org.bluez.Error.Failed"_s,
                       u"Operation was cancelled"_s);
            radio.pendingConnect.reset();
        }
        if (radio.connected)
            tearDown(radio);
        reply(message);
    } else {
        replyError(message, u"org.bluez.Error.NotSupported"_s, member);
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
        reply(message, {properties.value(u"Value"_s).toByteArray()});
    } else if (member == QLatin1String("WriteValue") && path == rxPath(radio)) {
        const QByteArray frame = message.arguments().value(0).toByteArray();
        reply(message);
        radio.sim->write(frame);
    } else if (member == QLatin1String("StartNotify") && path == txPath(radio)) {
        reply(message);
        radio.notifying = true;
        setProperties(path, characteristicInterface, {{u"Notifying"_s, true}});
    } else if (member == QLatin1String("StopNotify") && path == txPath(radio)) {
        reply(message);
        radio.notifying = false;
        setProperties(path, characteristicInterface, {{u"Notifying"_s, false}});
    } else {
        replyError(message, u"org.bluez.Error.NotPermitted"_s, member);
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
