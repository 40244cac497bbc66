#pragma once

#include "time/clock.h"
#include "transport/bluez_types.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>
#include <memory>
#include <optional>

class SimulatedRadio;

// A stand-in for BlueZ on a private bus: one adapter and any number of
// radios offering the serial service, served the way bluetoothd 5.66 serves
// them to QtBluetooth (object manager, properties, discovery sessions,
// asynchronous Connect, GATT objects with a CCCD, notifications as Value
// changes). Each radio's answers come from a SimulatedRadio.
//
// What a test can do to it is in FakeBluezControl.
class FakeBluez final : public QDBusVirtualObject {
    Q_OBJECT
public:
    enum class ConnectMode { succeed, fail, hang };

    struct Radio {
        QString address;
        QString name;
        int rssi = -60;
        bool inRange = true;
        ConnectMode mode = ConnectMode::succeed;
        bool connected = false;
        bool notifying = false;
        std::optional<QDBusMessage> pendingConnect;
        int connectAttempts = 0;
        int disconnectCalls = 0;
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
    // for good once paired); this forgets those not connected.
    void forgetDevices();

    void addRadio(const QString& address, const QString& name, int rssi);
    // A stand-in radio whose fields the test sets directly; a dummy for an
    // unknown address.
    Radio& radio(const QString& address);
    // The radio ends an established link (or one being set up).
    void dropRadio(const QString& address);
    bool isDiscovering() const { return !m_discoverySessions.isEmpty(); }

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
    void setProperties(const QString& path, const QString& interface, const QVariantMap& changed,
                       const QStringList& invalidated = {});

    void handleProperties(const QDBusMessage& message);
    void handleAdapter(const QDBusMessage& message);
    void handleDevice(const QDBusMessage& message, Radio& radio);
    void handleGatt(const QDBusMessage& message, Radio& radio);
    void reply(const QDBusMessage& message, const QList<QVariant>& arguments = {});
    void replyError(const QDBusMessage& message, const QString& name, const QString& text);
    void replyNotReady(const QDBusMessage& message);

    void advertise();
    void endDiscovery();
    void establish(Radio& radio);
    void tearDown(Radio& radio);

    QDBusConnection m_bus;
    SystemClock m_clock;
    QString m_adapterPath = QStringLiteral("/org/bluez/hci0");
    bool m_hasAdapter = false;
    bool m_powered = true;
    bool m_powerOnAllowed = true;
    bool m_denied = false;
    QMap<QString, BluezInterfaces> m_objects;
    QList<Radio*> m_radios;
    QSet<QString> m_discoverySessions;
    QTimer m_advertTimer;
    Radio m_unknownRadio;
};

// The test's handle on the stand-in, on a bus connection of its own under the
// name org.talvenne.FakeBluez, path /control.
class FakeBluezControl final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.talvenne.FakeBluez")
public:
    explicit FakeBluezControl(FakeBluez* bluez)
        : m_bluez(bluez) {}

public Q_SLOTS:
    void AddRadio(const QString& address, const QString& name, int rssi) {
        m_bluez->addRadio(address, name, rssi);
    }
    void SetRssi(const QString& address, int rssi) { m_bluez->radio(address).rssi = rssi; }
    void SetInRange(const QString& address, bool inRange) {
        m_bluez->radio(address).inRange = inRange;
    }
    // "succeed", "fail" or "hang".
    void SetConnectMode(const QString& address, const QString& mode);
    void DropRadio(const QString& address) { m_bluez->dropRadio(address); }
    // The radio acts on its next `count` commands but does not answer them.
    void DropAnswers(const QString& address, int count);
    void SetPowered(bool powered) { m_bluez->setPowered(powered); }
    void SetPowerOnAllowed(bool allowed) { m_bluez->setPowerOnAllowed(allowed); }
    void ForgetDevices() { m_bluez->forgetDevices(); }
    void SetDenied(bool denied) { m_bluez->setDenied(denied); }
    void AddAdapter() { m_bluez->addAdapter(); }
    void RemoveAdapter() { m_bluez->removeAdapter(); }
    bool ClaimService() { return m_bluez->claimService(); }
    // The screenshot tour shows the app while the service is gone.
    void ReleaseService() { m_bluez->releaseService(); }
    int ConnectAttempts(const QString& address) { return m_bluez->radio(address).connectAttempts; }
    int DisconnectCalls(const QString& address) { return m_bluez->radio(address).disconnectCalls; }
    bool IsDiscovering() { return m_bluez->isDiscovering(); }

private:
    FakeBluez* m_bluez;
};
