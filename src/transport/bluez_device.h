#pragma once

#include <QBluetoothUuid>
#include <QByteArray>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <optional>

class QDBusMessage;

// One radio as BlueZ holds it, found by its address, over the system bus:
// what QtBluetooth 6.4 leaves out or hides on BlueZ. Qt turns every error of
// BlueZ's Connect into "unknown error" and drops the names of the GATT calls'
// errors; here they keep BlueZ's name and text (InProgress, NotPermitted,
// AuthenticationFailed, ...), which is what tells a radio that wants pairing
// from one that is out of range. Pairing, forgetting, the MTU (which Qt 6.4
// does not read on BlueZ) and the object's coming and going are here too.
//
// Every call answers through its callback on the main thread, never from
// inside the call, and not at all once this object is gone. Calls go out in
// the order they are made, on the bus connection QtBluetooth uses as well,
// so a Disconnect made before a Connect reaches BlueZ first.
class BluezDevice final : public QObject {
    Q_OBJECT
public:
    struct Failure {
        QString name; // org.bluez.Error.*, or a D-Bus error
        QString text;
    };
    using Done = std::function<void(const std::optional<Failure>&)>;

    // BlueZ may wait for the person at the keyboard while pairing.
    static constexpr std::chrono::milliseconds pairTimeout{120'000};

    explicit BluezDevice(const QString& address, QObject* parent = nullptr);

    const QString& address() const { return m_address; }
    // BlueZ's object path of the device; empty until found.
    const QString& path() const { return m_path; }
    bool isConnected() const;
    bool servicesResolved() const;
    bool isPaired() const;
    // Calls still waiting for BlueZ's answer.
    int callsInFlight() const { return m_inFlight; }

    // Looks the device up among BlueZ's objects and watches it from then on;
    // fails with org.bluez.Error.DoesNotExist when BlueZ does not know it.
    void find(Done done);
    void connectDevice(Done done);
    void disconnectDevice(Done done = {});
    void pair(Done done);
    void cancelPairing();
    // Adapter1.RemoveDevice: BlueZ forgets the bond and the cached services.
    void remove(Done done);

    // Once the services are resolved: finds these characteristics under the
    // device and reads the MTU; fails when one is missing.
    void findCharacteristics(const QList<QBluetoothUuid>& characteristics, Done done);
    // The negotiated MTU; -1 while unknown.
    int mtu() const { return m_mtu; }
    void write(const QBluetoothUuid& characteristic, const QByteArray& value, bool withResponse,
               Done done);
    void setNotify(const QBluetoothUuid& characteristic, bool enabled, Done done);

Q_SIGNALS:
    void connectedChanged(bool connected);
    void servicesResolvedChanged(bool resolved);
    void mtuChanged(int mtu);
    // The device object is gone from BlueZ.
    void removed();
    // Every call has been answered.
    void idle();

private Q_SLOTS:
    void onDeviceChanged(const QString& interface, const QVariantMap& changed,
                         const QStringList& invalidated);
    void onCharacteristicChanged(const QString& interface, const QVariantMap& changed,
                                 const QStringList& invalidated);
    void onInterfacesRemoved(const QDBusObjectPath& path, const QStringList& interfaces);

private:
    void call(const QString& path, const QString& interface, const QString& method,
              const QList<QVariant>& arguments, Done done, int timeoutMillis = -1);
    void lookUp(std::function<void(const QDBusMessage& reply)> then);
    void watchDevice();
    void watchCharacteristic(const QString& path);
    static std::optional<Failure> failureOf(const QDBusMessage& reply);
    void failLater(const Done& done, const QString& text);

    QDBusConnection m_bus;
    QString m_address;
    QString m_path;
    QVariantMap m_properties;
    QHash<QBluetoothUuid, QString> m_characteristics;
    QString m_watchedCharacteristic;
    int m_mtu = -1;
    int m_inFlight = 0;
    bool m_watchingRemovals = false;
};
