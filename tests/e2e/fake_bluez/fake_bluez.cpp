#include "fake_bluez.h"

#include "sim/simulated_radio.h"
#include "transport/bluetooth_transport.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QSocketNotifier>
#include <unistd.h>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace {

const QString propertiesInterface = u"org.freedesktop.DBus.Properties"_s;
const QString serviceInterface = u"org.bluez.GattService1"_s;
const QString characteristicInterface = u"org.bluez.GattCharacteristic1"_s;
const QString descriptorInterface = u"org.bluez.GattDescriptor1"_s;
const QString agentManagerInterface = u"org.bluez.AgentManager1"_s;
const QString agentInterface = u"org.bluez.Agent1"_s;
const QString cccdUuid = u"00002902-0000-1000-8000-00805f9b34fb"_s;
const QString bluezPath = u"/org/bluez"_s;

QString uuidText(const QBluetoothUuid& uuid) {
    return uuid.toString(QUuid::WithoutBraces).toLower();
}

QVariant objectPath(const QString& path) {
    return QVariant::fromValue(QDBusObjectPath(path));
}

QString handle(int value) {
    return QString::number(value, 16).rightJustified(4, QLatin1Char('0'));
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

void FakeBluez::log(const QString& entry) {
    m_callLog.append(entry);
}

// --- The object tree ---------------------------------------------------------

QString FakeBluez::devicePath(const Radio& radio) const {
    return m_adapterPath + u"/dev_"_s +
           QString(radio.address).replace(QLatin1Char(':'), QLatin1Char('_'));
}
// Service Changed moves every handle: the old paths are dead.
QString FakeBluez::servicePath(const Radio& radio) const {
    return devicePath(radio) + u"/service"_s + handle(0x0c + 0x14 * radio.gattGeneration);
}
QString FakeBluez::rxPath(const Radio& radio) const {
    return servicePath(radio) + u"/char"_s + handle(0x0d + 0x14 * radio.gattGeneration);
}
QString FakeBluez::txPath(const Radio& radio) const {
    return servicePath(radio) + u"/char"_s + handle(0x0f + 0x14 * radio.gattGeneration);
}
QString FakeBluez::cccdPath(const Radio& radio) const {
    return txPath(radio) + u"/desc"_s + handle(0x11 + 0x14 * radio.gattGeneration);
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
    if (tracing())
        qInfo().noquote() << "<- removed" << path;
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
    // BlueZ loads the bonded devices of an adapter when it appears.
    for (Radio* radio : std::as_const(m_radios)) {
        if (radio->paired)
            publishDevice(*radio, std::nullopt);
    }
}

void FakeBluez::removeAdapter() {
    if (!m_hasAdapter)
        return;
    setPowered(false);
    for (Radio* radio : std::as_const(m_radios)) {
        removeGattObjects(*radio);
        removeObject(devicePath(*radio));
    }
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
        if (!radio->connected && !radio->pendingConnect && !radio->paired)
            removeObject(devicePath(*radio));
    }
}

void FakeBluez::addRadio(const QString& address, const QString& name, int rssi) {
    // Added again: a fresh radio in place of the old one.
    for (Radio* old : std::as_const(m_radios)) {
        if (old->address != address)
            continue;
        if (old->connected)
            tearDown(*old);
        removeObject(devicePath(*old));
        m_radios.removeOne(old);
        delete old;
        break;
    }
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
            [this, radio](const QByteArray& frame) { notify(*radio, frame); });
    m_radios.append(radio);
}

void FakeBluez::configure(const QString& address, const QVariantMap& fields) {
    Radio& target = radio(address);
    bool connectElsewhere = false;
    for (auto it = fields.cbegin(); it != fields.cend(); ++it) {
        const QString& key = it.key();
        const QVariant& value = it.value();
        if (key == QLatin1String("pin"))
            target.pin = value.toString();
        else if (key == QLatin1String("confirmPin"))
            target.confirmPin = value.toBool();
        else if (key == QLatin1String("showPin"))
            target.showPin = value.toBool();
        else if (key == QLatin1String("paired"))
            target.paired = target.trusted = value.toBool();
        else if (key == QLatin1String("advertising"))
            target.advertising = value.toBool();
        else if (key == QLatin1String("staleBond"))
            target.staleBond = value.toBool();
        else if (key == QLatin1String("mtu"))
            target.mtu = value.toInt();
        else if (key == QLatin1String("longWrites"))
            target.longWrites = value.toBool();
        else if (key == QLatin1String("busyMillis"))
            target.busyMillis = value.toInt();
        else if (key == QLatin1String("security"))
            target.security = value.toString() == QLatin1String("notify")  ? Security::notify
                              : value.toString() == QLatin1String("write") ? Security::write
                                                                           : Security::none;
        else if (key == QLatin1String("name"))
            target.name = value.toString();
        else if (key == QLatin1String("withoutService"))
            target.withoutService = value.toBool();
        else if (key == QLatin1String("withoutNotify"))
            target.withoutNotify = value.toBool();
        else if (key == QLatin1String("notifyRefusal"))
            target.notifyRefusal = value.toString();
        else if (key == QLatin1String("dropsAtNotify"))
            target.dropsAtNotify = value.toInt();
        else if (key == QLatin1String("connectedElsewhere"))
            connectElsewhere = value.toBool();
        else
            qWarning() << "stand-in radio has no field" << key;
    }
    if ((target.paired || connectElsewhere) && m_hasAdapter)
        publishDevice(target, std::nullopt);
    // Another program holds a link to the radio.
    if (connectElsewhere && m_hasAdapter && m_powered && !target.connected)
        establish(target);
}

void FakeBluez::dropRadio(const QString& address) {
    Radio& target = radio(address);
    if (target.connected)
        tearDown(target);
}

void FakeBluez::changeServices(const QString& address) {
    Radio& target = radio(address);
    if (!target.connected)
        return;
    // As BlueZ does on a Service Changed indication: the old objects go, the
    // new ones come under new handles, then the services count as resolved.
    setProperties(devicePath(target), Bluez::deviceInterface, {{u"ServicesResolved"_s, false}});
    removeGattObjects(target);
    target.notifying = false;
    ++target.gattGeneration;
    QTimer::singleShot(20, this, [this, address] {
        Radio& radio = this->radio(address);
        if (!radio.connected)
            return;
        addGattObjects(radio);
        setProperties(devicePath(radio), Bluez::deviceInterface, {{u"ServicesResolved"_s, true}});
    });
}

void FakeBluez::vanish(const QString& address) {
    Radio& target = radio(address);
    target.connected = false;
    target.notifying = false;
    target.sim->disconnectFromDevice();
    removeGattObjects(target);
    removeObject(devicePath(target));
}

// --- Discovery -----------------------------------------------------------------

void FakeBluez::publishDevice(Radio& radio, std::optional<int> rssi) {
    const QString path = devicePath(radio);
    if (m_objects.contains(path)) {
        QVariantMap changed{{u"Paired"_s, radio.paired},
                            {u"Bonded"_s, radio.paired},
                            {u"Trusted"_s, radio.trusted}};
        if (rssi)
            changed.insert(u"RSSI"_s, QVariant::fromValue(qint16(*rssi)));
        setProperties(path, Bluez::deviceInterface, changed);
        return;
    }
    QVariantMap device{
        {u"Address"_s, radio.address},
        {u"AddressType"_s, u"random"_s},
        {u"Name"_s, radio.name},
        {u"Alias"_s, radio.name},
        {u"Paired"_s, radio.paired},
        {u"Bonded"_s, radio.paired},
        {u"Trusted"_s, radio.trusted},
        {u"Blocked"_s, false},
        {u"LegacyPairing"_s, false},
        {u"Connected"_s, radio.connected},
        {u"ServicesResolved"_s, false},
        {u"UUIDs"_s, QStringList{uuidText(BluetoothTransport::serviceUUID)}},
        {u"Adapter"_s, objectPath(m_adapterPath)},
    };
    if (rssi)
        device.insert(u"RSSI"_s, QVariant::fromValue(qint16(*rssi)));
    addObject(path, {{Bluez::deviceInterface, device}});
}

// One advertisement of every radio in range: a new device object for one not
// known yet, else its signal strength when that changed.
void FakeBluez::advertise() {
    if (!isDiscovering() || !m_powered || !m_hasAdapter)
        return;
    for (Radio* radio : std::as_const(m_radios)) {
        if (!radio->inRange || !radio->advertising || radio->connected)
            continue;
        const QString path = devicePath(*radio);
        if (!m_objects.contains(path)) {
            publishDevice(*radio, radio->rssi);
            continue;
        }
        const QVariantMap& now = m_objects[path][Bluez::deviceInterface];
        if (!now.contains(u"RSSI"_s) || now.value(u"RSSI"_s).toInt() != radio->rssi)
            setProperties(path, Bluez::deviceInterface,
                          {{u"RSSI"_s, QVariant::fromValue(qint16(radio->rssi))}});
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

void FakeBluez::addGattObjects(Radio& radio) {
    if (radio.withoutService)
        return;
    const QVariant service = objectPath(servicePath(radio));
    const QVariant mtu = QVariant::fromValue(quint16(radio.mtu));
    addObject(servicePath(radio),
              {{serviceInterface,
                {{u"UUID"_s, uuidText(BluetoothTransport::serviceUUID)},
                 {u"Device"_s, objectPath(devicePath(radio))},
                 {u"Primary"_s, true},
                 {u"Includes"_s, QVariant::fromValue(QList<QDBusObjectPath>())}}}});
    addObject(rxPath(radio),
              {{characteristicInterface,
                {{u"UUID"_s, uuidText(BluetoothTransport::rxUUID)},
                 {u"Service"_s, service},
                 {u"Value"_s, QByteArray()},
                 {u"MTU"_s, mtu},
                 {u"Flags"_s, QStringList{u"write"_s, u"write-without-response"_s}}}}});
    if (radio.withoutNotify)
        return;
    addObject(txPath(radio), {{characteristicInterface,
                               {{u"UUID"_s, uuidText(BluetoothTransport::txUUID)},
                                {u"Service"_s, service},
                                {u"Value"_s, QByteArray()},
                                {u"Notifying"_s, false},
                                {u"MTU"_s, mtu},
                                {u"Flags"_s, QStringList{u"notify"_s}}}}});
    addObject(cccdPath(radio), {{descriptorInterface,
                                 {{u"UUID"_s, cccdUuid},
                                  {u"Characteristic"_s, objectPath(txPath(radio))},
                                  {u"Value"_s, QByteArray()}}}});
}

void FakeBluez::removeGattObjects(Radio& radio) {
    removeObject(cccdPath(radio));
    removeObject(txPath(radio));
    removeObject(rxPath(radio));
    removeObject(servicePath(radio));
}

void FakeBluez::establish(Radio& radio) {
    radio.connected = true;
    const QString device = devicePath(radio);
    setProperties(device, Bluez::deviceInterface, {{u"Connected"_s, true}});
    addGattObjects(radio);
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
    removeGattObjects(radio);
    setProperties(devicePath(radio), Bluez::deviceInterface,
                  {{u"ServicesResolved"_s, false}, {u"Connected"_s, false}});
}

// A notification carries at most MTU - 3 bytes: a longer frame goes out in
// pieces, one notification each, as a serial bridge sends it.
void FakeBluez::notify(Radio& radio, const QByteArray& frame) {
    if (!radio.connected || !radio.notifying)
        return;
    const qsizetype piece = std::max(1, radio.mtu - 3);
    for (qsizetype at = 0; at < frame.size(); at += piece)
        setProperties(txPath(radio), characteristicInterface, {{u"Value"_s, frame.mid(at, piece)}});
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
    if (path == bluezPath && interface == agentManagerInterface) {
        handleAgentManager(message);
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
    if (member != QLatin1String("GetDiscoveryFilters"))
        log(member);
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
        Radio* radio = radioAt(device);
        if (!radio || !m_objects.contains(device)) {
            replyError(message, u"org.bluez.Error.DoesNotExist"_s, u"Does Not Exist"_s);
            return;
        }
        if (radio->connected)
            tearDown(*radio);
        // The bond and the cached services go; a bonded radio that kept
        // quiet advertises again for whoever pairs with it next.
        radio->paired = radio->trusted = radio->staleBond = false;
        radio->advertising = true;
        removeObject(device);
        reply(message);
    } else {
        replyError(message, u"org.freedesktop.DBus.Error.UnknownMethod"_s, member);
    }
}

void FakeBluez::handleAgentManager(const QDBusMessage& message) {
    const QString member = message.member();
    const QString sender = message.service();
    log(u"agent manager "_s + member);
    if (member == QLatin1String("RegisterAgent")) {
        if (m_refuseAgents) {
            replyError(message, u"org.bluez.Error.Failed"_s, u"Agent registration refused"_s);
            return;
        }
        if (m_agents.contains(sender)) {
            replyError(message, u"org.bluez.Error.AlreadyExists"_s, u"Already Exists"_s);
            return;
        }
        m_agents.insert(sender, message.arguments().value(0).value<QDBusObjectPath>().path());
        reply(message);
    } else if (member == QLatin1String("UnregisterAgent")) {
        if (!m_agents.remove(sender)) {
            replyError(message, u"org.bluez.Error.DoesNotExist"_s, u"Does Not Exist"_s);
            return;
        }
        reply(message);
    } else if (member == QLatin1String("RequestDefaultAgent")) {
        reply(message);
    } else {
        replyError(message, u"org.freedesktop.DBus.Error.UnknownMethod"_s, member);
    }
}

void FakeBluez::handleDevice(const QDBusMessage& message, Radio& radio) {
    const QString member = message.member();
    log(member + QLatin1Char(' ') + radio.address);
    if (member == QLatin1String("Connect")) {
        ++radio.connectAttempts;
        if (!m_powered) {
            replyNotReady(message);
        } else if (radio.pendingConnect) {
            replyError(message, u"org.bluez.Error.InProgress"_s, u"In Progress"_s);
        } else if (radio.busyMillis > 0 && !radio.connected) {
            // Someone else's attempt runs; it brings the link up in a while.
            replyError(message, u"org.bluez.Error.InProgress"_s, u"In Progress"_s);
            if (!radio.foreignConnect) {
                radio.foreignConnect = true;
                const QString address = radio.address;
                QTimer::singleShot(radio.busyMillis, this, [this, address] {
                    Radio& radio = this->radio(address);
                    radio.foreignConnect = false;
                    radio.busyMillis = 0;
                    if (m_powered && !radio.connected)
                        establish(radio);
                });
            }
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
            radio.pendingConnect = message;
            QTimer::singleShot(5, this, [this, address] {
                Radio& radio = this->radio(address);
                const auto pending = std::exchange(radio.pendingConnect, std::nullopt);
                if (!pending || !radio.sim || !m_powered)
                    return;
                if (!radio.connected)
                    establish(radio);
                reply(*pending);
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
    } else if (member == QLatin1String("Pair")) {
        ++radio.pairCalls;
        pair(message, radio);
    } else if (member == QLatin1String("CancelPairing")) {
        reply(message);
        if (radio.pendingPair)
            abandonPairing(radio.address);
    } else {
        replyError(message, u"org.bluez.Error.NotSupported"_s, member);
    }
}

// Pairing asks the agent of the program that called Pair, else the default
// (the desktop's) one; without either, a radio that wants a PIN refuses.
void FakeBluez::pair(const QDBusMessage& message, Radio& radio) {
    if (radio.paired) {
        replyError(message, u"org.bluez.Error.AlreadyExists"_s, u"Already Exists"_s);
        return;
    }
    if (radio.pendingPair) {
        replyError(message, u"org.bluez.Error.InProgress"_s, u"In Progress"_s);
        return;
    }
    radio.pendingPair = message;
    const QString address = radio.address;
    if (radio.pin.isEmpty()) {
        QTimer::singleShot(5, this, [this, address] { finishPairing(address, {}, {}); });
        return;
    }
    const QString agentPath = m_agents.value(message.service());
    if (agentPath.isEmpty()) {
        if (m_desktopAgent) {
            // The desktop's agent asks its user, who knows nothing of this.
            ++m_desktopAgentRequests;
            QTimer::singleShot(5, this, [this, address] {
                finishPairing(address, u"org.bluez.Error.AuthenticationCanceled"_s,
                              u"Authentication Canceled"_s);
            });
        } else {
            QTimer::singleShot(5, this, [this, address] {
                finishPairing(address, u"org.bluez.Error.AuthenticationFailed"_s,
                              u"Authentication Failed"_s);
            });
        }
        return;
    }
    if (radio.showPin) {
        // Nothing to answer: the radio tells when the passkey was typed on it.
        log(u"agent DisplayPasskey"_s);
        QDBusMessage call = QDBusMessage::createMethodCall(message.service(), agentPath,
                                                           agentInterface, u"DisplayPasskey"_s);
        call << objectPath(devicePath(radio)) << QVariant::fromValue(radio.pin.toUInt())
             << QVariant::fromValue(ushort(0));
        m_bus.send(call);
        return;
    }
    const QString method = radio.confirmPin ? u"RequestConfirmation"_s : u"RequestPasskey"_s;
    log(u"agent "_s + method);
    QDBusMessage call =
        QDBusMessage::createMethodCall(message.service(), agentPath, agentInterface, method);
    call << objectPath(devicePath(radio));
    if (radio.confirmPin)
        call << QVariant::fromValue(radio.pin.toUInt());
    // Long enough for a person; BlueZ's own pairing timeout ends it sooner.
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, 120'000), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, address](QDBusPendingCallWatcher* watcher) {
                watcher->deleteLater();
                const QDBusMessage answer = watcher->reply();
                Radio& radio = this->radio(address);
                if (answer.type() == QDBusMessage::ErrorMessage) {
                    const QString name = answer.errorName();
                    if (name == QLatin1String("org.bluez.Error.Rejected"))
                        finishPairing(address, u"org.bluez.Error.AuthenticationRejected"_s,
                                      u"Authentication Rejected"_s);
                    else
                        finishPairing(address, u"org.bluez.Error.AuthenticationCanceled"_s,
                                      u"Authentication Canceled"_s);
                    return;
                }
                const bool right =
                    radio.confirmPin || answer.arguments().value(0).toUInt() == radio.pin.toUInt();
                if (right)
                    finishPairing(address, {}, {});
                else
                    finishPairing(address, u"org.bluez.Error.AuthenticationFailed"_s,
                                  u"Authentication Failed"_s);
            });
}

void FakeBluez::finishPairing(const QString& address, const QString& errorName,
                              const QString& text) {
    Radio& radio = this->radio(address);
    const auto pending = std::exchange(radio.pendingPair, std::nullopt);
    if (!pending)
        return;
    if (!errorName.isEmpty()) {
        replyError(*pending, errorName, text);
        return;
    }
    radio.paired = true;
    publishDevice(radio, std::nullopt);
    reply(*pending);
}

void FakeBluez::abandonPairing(const QString& address) {
    Radio& target = radio(address);
    if (!target.pendingPair)
        return;
    const QString agentPath = m_agents.value(target.pendingPair->service());
    if (!agentPath.isEmpty()) {
        log(u"agent Cancel"_s);
        m_bus.send(QDBusMessage::createMethodCall(target.pendingPair->service(), agentPath,
                                                  agentInterface, u"Cancel"_s));
    }
    finishPairing(address, u"org.bluez.Error.AuthenticationTimeout"_s, u"Authentication Timeout"_s);
}

void FakeBluez::typeOnRadio(const QString& address, uint passkey) {
    const Radio& target = radio(address);
    if (!target.pendingPair || !target.showPin)
        return;
    if (passkey == target.pin.toUInt())
        finishPairing(address, {}, {});
    else
        finishPairing(address, u"org.bluez.Error.AuthenticationFailed"_s,
                      u"Authentication Failed"_s);
}

std::optional<std::pair<QString, QString>> FakeBluez::refusal(const Radio& radio,
                                                              bool write) const {
    if (radio.paired && radio.staleBond)
        return std::pair(u"org.bluez.Error.AuthenticationFailed"_s, u"Authentication Failed"_s);
    const bool guarded =
        radio.security == Security::notify || (radio.security == Security::write && write);
    if (guarded && !radio.paired)
        return std::pair(u"org.bluez.Error.NotPermitted"_s, u"Not paired"_s);
    return std::nullopt;
}

void FakeBluez::handleGatt(const QDBusMessage& message, Radio& radio) {
    const QString path = message.path();
    const QString member = message.member();
    const QVariantMap& properties = m_objects[path].first();
    log(member);
    if (member == QLatin1String("ReadValue")) {
        // A radio that wants pairing refuses reads as well, descriptors included.
        if (const auto refused = refusal(radio, false)) {
            replyError(message, refused->first, refused->second);
            return;
        }
        if (path == cccdPath(radio)) {
            reply(message,
                  {radio.notifying ? QByteArray::fromHex("0100") : QByteArray::fromHex("0000")});
            return;
        }
        reply(message, {properties.value(u"Value"_s).toByteArray()});
    } else if (member == QLatin1String("WriteValue") && path == rxPath(radio)) {
        const QByteArray frame = message.arguments().value(0).toByteArray();
        const QVariantMap options = message.arguments().value(1).toMap();
        const bool request = options.value(u"type"_s).toString() != QLatin1String("command");
        if (const auto refused = refusal(radio, true)) {
            replyError(message, refused->first, refused->second);
            return;
        }
        if (frame.size() > radio.mtu - 3) {
            // Without a response there is no long write; with one, the
            // radio may refuse the Prepare Write it becomes.
            if (!request) {
                replyError(message, u"org.bluez.Error.Failed"_s, u"Failed to initiate write"_s);
                return;
            }
            if (!radio.longWrites) {
                replyError(message, u"org.bluez.Error.Failed"_s,
                           u"Operation failed with ATT error: 0x06"_s);
                return;
            }
        }
        reply(message);
        radio.sim->write(frame);
    } else if (member == QLatin1String("StartNotify") && path == txPath(radio)) {
        if (radio.dropsAtNotify > 0) {
            --radio.dropsAtNotify;
            tearDown(radio);
            replyError(message, u"org.bluez.Error.Failed"_s, u"Not connected"_s);
            return;
        }
        if (const auto refused = refusal(radio, false)) {
            replyError(message, refused->first, refused->second);
            return;
        }
        if (!radio.notifyRefusal.isEmpty()) {
            replyError(message, u"org.bluez.Error.Failed"_s, radio.notifyRefusal);
            return;
        }
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

// --- logind ------------------------------------------------------------------

FakeLogind::FakeLogind(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(bus) {}

FakeLogind::~FakeLogind() {
    for (QSocketNotifier* notifier : std::as_const(m_inhibitors)) {
        notifier->setEnabled(false);
        ::close(int(notifier->socket()));
    }
}

bool FakeLogind::start() {
    return m_bus.registerObject(u"/org/freedesktop/login1"_s, this,
                                QDBusConnection::ExportAllSlots |
                                    QDBusConnection::ExportAllSignals) &&
           m_bus.registerService(u"org.freedesktop.login1"_s);
}

void FakeLogind::prepareForSleep(bool start) {
    Q_EMIT PrepareForSleep(start);
}

QDBusUnixFileDescriptor FakeLogind::Inhibit(const QString&, const QString&, const QString&,
                                            const QString&) {
    int ends[2];
    if (::pipe(ends) != 0)
        return {};
    auto* notifier = new QSocketNotifier(ends[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        char byte;
        if (::read(int(notifier->socket()), &byte, 1) > 0)
            return;
        // Every copy of the write end is closed: released.
        m_inhibitors.removeOne(notifier);
        notifier->setEnabled(false);
        ::close(int(notifier->socket()));
        notifier->deleteLater();
    });
    m_inhibitors.append(notifier);
    QDBusUnixFileDescriptor descriptor(ends[1]); // a copy travels
    ::close(ends[1]);
    return descriptor;
}

// --- Control -----------------------------------------------------------------

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

void FakeBluezControl::ForgetContact(const QString& address, const QString& publicKey) {
    if (const auto& sim = m_bluez->radio(address).sim)
        sim->forgetContact(publicKey);
}
