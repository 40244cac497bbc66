#pragma once

#include <QBluetoothUuid>
#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>
#include <QVariant>
#include <optional>

// The few Bluetooth LE central-role calls the link needs, in the shape of a
// central manager and one peripheral: the link talks to this surface only, so
// its whole state machine runs against a fake in the tests. QtBleAdapter is the
// real one. All calls and reports happen on the main thread; every report comes
// later than the call that caused it, never from inside that call.
//
// One peripheral at a time: connectToPeripheral() replaces whatever connection
// the adapter held before, and the reports that follow belong to the newest one.
class BleAdapter : public QObject {
    Q_OBJECT
public:
    enum class PowerState {
        unknown, // not reported yet
        poweredOn,
        poweredOff,
        unauthorized, // the user may not use Bluetooth
        noService,    // the system's Bluetooth service is not running
        noAdapter,    // the service runs but has no adapter
    };
    Q_ENUM(PowerState)

    enum class ErrorKind {
        // The four kinds after which the link tries again by itself.
        connectionTimeout,
        connectionFailed,
        connectionLimitReached,
        peerRemovedPairingInformation,
        operationCancelled,
        // The radio refused a call until it is paired.
        pairingRequired,
        // Pairing ended without a bond: the radio refused the PIN or the
        // confirmation; the user or the system gave up; nobody could be
        // asked for the PIN; or the system holds a bond the radio no longer
        // has (it must be forgotten before the radio pairs again).
        pairingRefused,
        pairingCancelled,
        pairingImpossible,
        staleBond,
        // The characteristic is gone: the radio's services are changing.
        characteristicGone,
        other,
    };
    Q_ENUM(ErrorKind)

    struct Error {
        ErrorKind kind = ErrorKind::other;
        // The platform's localized description.
        QString text;
    };

    // One advertisement of a peripheral that offers the scanned service, or
    // a peripheral the platform knows already (paired, trusted, or connected
    // by another program), reported at the start of a scan whether or not
    // it advertises.
    struct Advertisement {
        // Stable for one radio across advertisements and scans.
        QUuid id;
        // The advertised local name; empty when the advertisement holds none.
        QString localName;
        // The name the platform keeps for the peripheral; empty when unknown.
        QString platformName;
        // 0 for a known peripheral not heard in this scan.
        int rssi = 0;
        QList<QBluetoothUuid> serviceUuids;
        // Passed back to connectToPeripheral().
        QVariant handle;
        bool known = false;
        // The Bluetooth address where the platform shows it; empty elsewhere.
        QString address{};
    };

    struct Characteristic {
        QBluetoothUuid uuid;
        bool canWrite = false;
        bool canWriteWithoutResponse = false;
        bool canNotify = false;
    };

    using QObject::QObject;

    virtual PowerState powerState() const = 0;
    // Whether powerOn() may work: an adapter that is off and that the
    // platform lets this program switch on.
    virtual bool canPowerOn() const { return false; }
    // Asks the platform to switch the adapter on; the outcome arrives as a
    // power report.
    virtual void powerOn() {}

    // Reports every advertisement of peripherals that advertise `service`,
    // the same peripheral again with each one.
    virtual void startScan(const QBluetoothUuid& service) = 0;
    virtual void stopScan() = 0;

    virtual void connectToPeripheral(const QVariant& handle) = 0;
    // Cancels a pending or established connection, also towards the
    // platform, so that a new attempt is not refused as still in progress;
    // the platform then reports the drop (peripheralDisconnected without an
    // error) when there was a connection.
    virtual void cancelConnection() = 0;

    // Removes what the platform keeps of this peripheral, its bond and its
    // cached services; a connection to it ends first. Nothing is reported.
    virtual void forgetPeripheral(const QVariant& handle) { Q_UNUSED(handle) }

    // On the connected peripheral.
    //
    // Discovery runs again after servicesChanged(), on what the peripheral
    // offers by then.
    virtual void discoverServices(const QList<QBluetoothUuid>& services) = 0;
    virtual void discoverCharacteristics(const QBluetoothUuid& service,
                                         const QList<QBluetoothUuid>& characteristics) = 0;
    virtual void setNotify(const QBluetoothUuid& characteristic, bool enabled) = 0;
    // A refusal comes as writeFailed.
    virtual void write(const QBluetoothUuid& characteristic, const QByteArray& value,
                       bool withResponse) = 0;
    // The negotiated ATT MTU: a write or a notification carries at most
    // mtu() - 3 bytes. -1 while unknown.
    virtual int mtu() const { return -1; }
    // Bonds with the peripheral, asking the user through the platform (or
    // the application's agent) for a PIN where the radio wants one; the
    // outcome comes as pairingFinished.
    virtual void pair() {}

Q_SIGNALS:
    void powerStateChanged(BleAdapter::PowerState state);
    void discovered(const BleAdapter::Advertisement& advertisement);
    // The scan ended without stopScan(): it failed, or the platform ended it.
    void scanEnded(const QString& error);

    void peripheralConnected();
    // No error when the platform gave none.
    void failedToConnect(const std::optional<BleAdapter::Error>& error);
    void peripheralDisconnected(const std::optional<BleAdapter::Error>& error);

    // The services of the peripheral, in the platform's order.
    void servicesDiscovered(const QList<QBluetoothUuid>& services);
    void characteristicsDiscovered(const QBluetoothUuid& service,
                                   const QList<BleAdapter::Characteristic>& characteristics);
    // No error when switching succeeded.
    void notificationStateChanged(const QBluetoothUuid& characteristic, bool isNotifying,
                                  const std::optional<BleAdapter::Error>& error);
    void valueUpdated(const QBluetoothUuid& characteristic, const QByteArray& value);
    void writeFailed(const QBluetoothUuid& characteristic, const QByteArray& value,
                     const BleAdapter::Error& error);
    void mtuChanged(int mtu);
    // No error when the peripheral is paired now.
    void pairingFinished(const std::optional<BleAdapter::Error>& error);
    // The connected peripheral's services changed (Service Changed): what was
    // discovered is stale.
    void servicesChanged();
    // Just before the computer sleeps (true), and after it woke (false).
    void sleepChanged(bool sleeping);
};
