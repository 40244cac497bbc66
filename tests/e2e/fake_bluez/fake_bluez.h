#pragma once

#include "time/clock.h"
#include "transport/bluez_types.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <memory>
#include <optional>

class SimulatedRadio;
class QSocketNotifier;

// A stand-in for BlueZ on a private bus: one adapter and any number of
// radios offering the serial service, served the way bluetoothd 5.66 serves
// them to QtBluetooth (object manager, properties, discovery sessions,
// asynchronous Connect, GATT objects with a CCCD, notifications as Value
// changes), and the parts real radios bring into play: pairing through the
// caller's agent (AgentManager1, Device1.Pair), GATT calls refused until
// paired, a bond the radio lost, the MTU and what it does to long values,
// radios BlueZ knows without hearing them, a Connect already in progress,
// Service Changed, objects that vanish. Each radio's answers come from a
// SimulatedRadio.
//
// What a test can do to it is in FakeBluezControl.
class FakeBluez final : public QDBusVirtualObject {
    Q_OBJECT
public:
    enum class ConnectMode { succeed, fail, hang };
    // Which GATT calls the radio refuses ("Not paired") until it is paired.
    enum class Security { none, notify, write };

    struct Radio {
        QString address;
        QString name;
        int rssi = -60;
        bool inRange = true;
        // Bonded radios often stop advertising: BlueZ still knows them.
        bool advertising = true;
        ConnectMode mode = ConnectMode::succeed;
        bool connected = false;
        bool notifying = false;
        // What BlueZ keeps of the radio.
        bool paired = false;
        bool trusted = false;
        Security security = Security::none;
        // Empty: pairs without a PIN. Otherwise the passkey the agent must give.
        QString pin;
        // The radio asks the agent to confirm `pin` instead of typing it.
        bool confirmPin = false;
        // BlueZ shows `pin` through the agent, for the person to type on the
        // radio (typeOnRadio).
        bool showPin = false;
        // BlueZ holds a bond the radio has lost: GATT calls fail with
        // AuthenticationFailed and Pair with AlreadyExists, until forgotten.
        bool staleBond = false;
        int mtu = 247;
        // Whether the radio takes values longer than MTU - 3 as long writes.
        bool longWrites = true;
        // Another Connect (BlueZ's own, another program's) runs this long:
        // the next Connect is answered InProgress, then the link is up.
        int busyMillis = 0;
        bool foreignConnect = false;
        // Numbers the GATT handles; Service Changed moves them.
        int gattGeneration = 0;
        // The radio offers no serial service, or lacks its notify characteristic.
        bool withoutService = false;
        bool withoutNotify = false;
        // StartNotify fails with org.bluez.Error.Failed and this text.
        QString notifyRefusal;
        // The radio drops the link at its next so many StartNotify calls.
        int dropsAtNotify = 0;
        std::optional<QDBusMessage> pendingConnect;
        std::optional<QDBusMessage> pendingPair;
        int connectAttempts = 0;
        int disconnectCalls = 0;
        int pairCalls = 0;
        std::unique_ptr<SimulatedRadio> sim;
    };

    explicit FakeBluez(QDBusConnection bus, QObject* parent = nullptr);
    ~FakeBluez() override;

    // QDBusVirtualObject
    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

    bool claimService();
    void releaseService();

    void addAdapter();
    void removeAdapter();
    void setPowered(bool powered);
    void setPowerOnAllowed(bool allowed) { m_powerOnAllowed = allowed; }
    void setDenied(bool denied) { m_denied = denied; }
    // BlueZ keeps the devices it heard after a scan ends (for a while, or
    // for good once paired); this forgets those neither connected nor paired.
    void forgetDevices();
    // RegisterAgent fails: nobody can answer a PIN request.
    void setRefuseAgents(bool refuse) { m_refuseAgents = refuse; }
    // The desktop runs an agent of its own, the default one.
    void setDesktopAgent(bool running) { m_desktopAgent = running; }
    int desktopAgentRequests() const { return m_desktopAgentRequests; }
    int registeredAgents() const { return int(m_agents.size()); }

    void addRadio(const QString& address, const QString& name, int rssi);
    // A stand-in radio whose fields the test sets directly; a dummy for an
    // unknown address.
    Radio& radio(const QString& address);
    // Sets fields by name ("pin", "paired", "security", "mtu", ...); a
    // paired radio gets its device object at once, as BlueZ loads bonds.
    // "connectedElsewhere" connects the radio as another program would.
    void configure(const QString& address, const QVariantMap& fields);
    // The radio ends an established link (or one being set up).
    void dropRadio(const QString& address);
    // The radio's services change while connected: ServicesResolved goes
    // false, the GATT objects are replaced under new paths, and it comes back.
    void changeServices(const QString& address);
    // The device object disappears while connected, without a word about
    // the connection first.
    void vanish(const QString& address);
    // BlueZ gives up on a pairing that waits for the agent (a timeout).
    void abandonPairing(const QString& address);
    // The person types a passkey on a radio that pairs with showPin.
    void typeOnRadio(const QString& address, uint passkey);
    bool isDiscovering() const { return !m_discoverySessions.isEmpty(); }
    // Every call of the application on the adapter, the devices and their
    // GATT objects, and every call of the stand-in on an agent, in order:
    // "Connect C0:FF:EE:00:00:0A", "agent RequestPasskey", ...
    QStringList callLog() const { return m_callLog; }
    void clearCallLog() { m_callLog.clear(); }

private:
    QString devicePath(const Radio& radio) const;
    QString servicePath(const Radio& radio) const;
    QString rxPath(const Radio& radio) const;
    QString txPath(const Radio& radio) const;
    QString cccdPath(const Radio& radio) const;
    Radio* radioAt(const QString& path);

    void addObject(const QString& path, const BluezInterfaces& interfaces);
    void removeObject(const QString& path);
    static bool tracing();
    void log(const QString& entry);
    void setProperties(const QString& path, const QString& interface, const QVariantMap& changed,
                       const QStringList& invalidated = {});

    void handleProperties(const QDBusMessage& message);
    void handleAdapter(const QDBusMessage& message);
    void handleAgentManager(const QDBusMessage& message);
    void handleDevice(const QDBusMessage& message, Radio& radio);
    void handleGatt(const QDBusMessage& message, Radio& radio);
    void reply(const QDBusMessage& message, const QList<QVariant>& arguments = {});
    void replyError(const QDBusMessage& message, const QString& name, const QString& text);
    void replyNotReady(const QDBusMessage& message);
    // The error a GATT call on this radio gets before it may be made, if any.
    std::optional<std::pair<QString, QString>> refusal(const Radio& radio, bool write) const;

    // The Device1 object as BlueZ shows it now; `rssi` when it was heard.
    void publishDevice(Radio& radio, std::optional<int> rssi);
    void advertise();
    void endDiscovery();
    void addGattObjects(Radio& radio);
    void removeGattObjects(Radio& radio);
    void establish(Radio& radio);
    void tearDown(Radio& radio);
    void notify(Radio& radio, const QByteArray& frame);
    void pair(const QDBusMessage& message, Radio& radio);
    void finishPairing(const QString& address, const QString& errorName, const QString& text);

    QDBusConnection m_bus;
    SystemClock m_clock;
    QString m_adapterPath = QStringLiteral("/org/bluez/hci0");
    bool m_hasAdapter = false;
    bool m_powered = true;
    bool m_powerOnAllowed = true;
    bool m_denied = false;
    bool m_refuseAgents = false;
    bool m_desktopAgent = false;
    int m_desktopAgentRequests = 0;
    // Unique bus name of each registered agent -> its object path.
    QHash<QString, QString> m_agents;
    QMap<QString, BluezInterfaces> m_objects;
    QList<Radio*> m_radios;
    QSet<QString> m_discoverySessions;
    QTimer m_advertTimer;
    Radio m_unknownRadio;
    QStringList m_callLog;
};

// A stand-in logind: the PrepareForSleep signal around a suspend, and the
// delay inhibitor that lets a program finish before it. Lives on the
// control connection under org.freedesktop.login1.
class FakeLogind final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.login1.Manager")
public:
    explicit FakeLogind(QDBusConnection bus, QObject* parent = nullptr);
    ~FakeLogind() override;

    bool start();
    // Before a suspend (true) and after the resume (false).
    void prepareForSleep(bool start);
    // Delay inhibitors whose file descriptors are still open.
    int heldInhibitors() const { return int(m_inhibitors.size()); }

public Q_SLOTS:
    QDBusUnixFileDescriptor Inhibit(const QString& what, const QString& who, const QString& why,
                                    const QString& mode);

Q_SIGNALS:
    void PrepareForSleep(bool start);

private:
    QDBusConnection m_bus;
    // The read ends of the inhibitors' pipes; a closed write end is a release.
    QList<QSocketNotifier*> m_inhibitors;
};

// The test's handle on the stand-ins, on a bus connection of its own under
// the name org.talvenne.FakeBluez, path /control.
class FakeBluezControl final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.talvenne.FakeBluez")
public:
    FakeBluezControl(FakeBluez* bluez, FakeLogind* logind)
        : m_bluez(bluez)
        , m_logind(logind) {}

public Q_SLOTS:
    void AddRadio(const QString& address, const QString& name, int rssi) {
        m_bluez->addRadio(address, name, rssi);
    }
    void Configure(const QString& address, const QVariantMap& fields) {
        m_bluez->configure(address, fields);
    }
    void SetRssi(const QString& address, int rssi) { m_bluez->radio(address).rssi = rssi; }
    void SetInRange(const QString& address, bool inRange) {
        m_bluez->radio(address).inRange = inRange;
    }
    // "succeed", "fail" or "hang".
    void SetConnectMode(const QString& address, const QString& mode);
    void DropRadio(const QString& address) { m_bluez->dropRadio(address); }
    // The radio no longer has this contact (the next contact list lacks it).
    void ForgetContact(const QString& address, const QString& publicKey);
    void ChangeServices(const QString& address) { m_bluez->changeServices(address); }
    void Vanish(const QString& address) { m_bluez->vanish(address); }
    void AbandonPairing(const QString& address) { m_bluez->abandonPairing(address); }
    void TypeOnRadio(const QString& address, uint passkey) {
        m_bluez->typeOnRadio(address, passkey);
    }
    // The radio acts on its next `count` commands but does not answer them.
    void DropAnswers(const QString& address, int count);
    void SetPowered(bool powered) { m_bluez->setPowered(powered); }
    void SetPowerOnAllowed(bool allowed) { m_bluez->setPowerOnAllowed(allowed); }
    void ForgetDevices() { m_bluez->forgetDevices(); }
    void SetDenied(bool denied) { m_bluez->setDenied(denied); }
    void SetRefuseAgents(bool refuse) { m_bluez->setRefuseAgents(refuse); }
    void SetDesktopAgent(bool running) { m_bluez->setDesktopAgent(running); }
    int DesktopAgentRequests() { return m_bluez->desktopAgentRequests(); }
    int RegisteredAgents() { return m_bluez->registeredAgents(); }
    void AddAdapter() { m_bluez->addAdapter(); }
    void RemoveAdapter() { m_bluez->removeAdapter(); }
    bool ClaimService() { return m_bluez->claimService(); }
    // The screenshot tour shows the app while the service is gone.
    void ReleaseService() { m_bluez->releaseService(); }
    int ConnectAttempts(const QString& address) { return m_bluez->radio(address).connectAttempts; }
    int DisconnectCalls(const QString& address) { return m_bluez->radio(address).disconnectCalls; }
    int PairCalls(const QString& address) { return m_bluez->radio(address).pairCalls; }
    bool IsPaired(const QString& address) { return m_bluez->radio(address).paired; }
    bool IsConnected(const QString& address) { return m_bluez->radio(address).connected; }
    bool IsDiscovering() { return m_bluez->isDiscovering(); }
    QStringList CallLog() { return m_bluez->callLog(); }
    void ClearCallLog() { m_bluez->clearCallLog(); }
    void Sleep(bool start) { m_logind->prepareForSleep(start); }
    int HeldInhibitors() { return m_logind->heldInhibitors(); }

private:
    FakeBluez* m_bluez;
    FakeLogind* m_logind;
};
