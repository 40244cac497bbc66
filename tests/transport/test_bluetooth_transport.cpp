#include "fake_ble_adapter.h"
#include "time/clock.h"
#include "transport/bluetooth_transport.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace std::chrono_literals;
using PowerState = BleAdapter::PowerState;
using ErrorKind = BleAdapter::ErrorKind;
using BleError = BleAdapter::Error;
using T = TransportState;

namespace {

const QBluetoothUuid otherService(QStringLiteral("0000180F-0000-1000-8000-00805F9B34FB"));

DiscoveredDevice radio(int n) {
    DiscoveredDevice device;
    device.id = QUuid::createUuidV5(QUuid(), QString::number(n));
    device.name = QStringLiteral("Radio %1").arg(n);
    device.rssi = -60;
    device.peripheral = QStringLiteral("handle-%1").arg(n);
    return device;
}

BleAdapter::Characteristic writeCharacteristic(bool canWrite = true,
                                               bool canWriteWithoutResponse = false) {
    return {BluetoothTransport::rxUUID, canWrite, canWriteWithoutResponse, false};
}

BleAdapter::Characteristic notifyCharacteristic() {
    return {BluetoothTransport::txUUID, false, false, true};
}

// One link over a fake platform, with a spy on each of its reports.
struct Rig {
    ManualClock clock;
    FakeBleAdapter adapter{&clock};
    std::unique_ptr<BluetoothTransport> link =
        std::make_unique<BluetoothTransport>(&adapter, &clock);
    QSignalSpy stateSpy{link.get(), &MeshLink::transportStateChanged};
    QSignalSpy discoveredSpy{link.get(), &MeshLink::transportDiscovered};
    QSignalSpy connectedSpy{link.get(), &MeshLink::transportConnected};
    QSignalSpy receivedSpy{link.get(), &MeshLink::transportReceived};
    QSignalSpy failedSpy{link.get(), &MeshLink::transportFailed};

    QList<T> states() const {
        QList<T> out;
        for (const QList<QVariant>& args : stateSpy)
            out.append(args.at(0).value<T>());
        return out;
    }
    QStringList failures() const {
        QStringList out;
        for (const QList<QVariant>& args : failedSpy)
            out.append(args.at(0).toString());
        return out;
    }
    void clearSpies() {
        stateSpy.clear();
        discoveredSpy.clear();
        connectedSpy.clear();
        receivedSpy.clear();
        failedSpy.clear();
    }

    void powerOn() { adapter.reportPower(PowerState::poweredOn); }

    // Powered on, then asked to connect to `device`; the attempt is running.
    void connecting(const DiscoveredDevice& device = radio(1)) {
        powerOn();
        link->connectToDevice(device);
        clearSpies();
    }

    // Through the whole handshake with the platform up to a usable link.
    void connected(BleAdapter::Characteristic rx = writeCharacteristic()) {
        connecting();
        Q_EMIT adapter.peripheralConnected();
        Q_EMIT adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        Q_EMIT adapter.characteristicsDiscovered(BluetoothTransport::serviceUUID,
                                                 {rx, notifyCharacteristic()});
        Q_EMIT adapter.notificationStateChanged(BluetoothTransport::txUUID, true, QString());
        clearSpies();
    }
};

} // namespace

class TestBluetoothTransport : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsDisconnectedAndScansNothingByItself() {
        Rig rig;
        QCOMPARE(rig.link->state(), T::disconnected);
        rig.clock.advance(10s);
        QVERIFY(rig.adapter.scans.isEmpty());
        QVERIFY(rig.adapter.connects.isEmpty());
        QCOMPARE(rig.stateSpy.count(), 0);
    }

    void powerReportsSetTheState_data() {
        QTest::addColumn<bool>("fromConnected");
        QTest::addColumn<PowerState>("power");
        QTest::addColumn<T>("expected");
        for (const bool fromConnected : {false, true}) {
            const char* from = fromConnected ? "connected" : "initial";
            QTest::addRow("%s, on", from) << fromConnected << PowerState::poweredOn << T::ready;
            QTest::addRow("%s, off", from)
                << fromConnected << PowerState::poweredOff << T::poweredOff;
            QTest::addRow("%s, unauthorized", from)
                << fromConnected << PowerState::unauthorized << T::unauthorized;
            QTest::addRow("%s, unknown", from)
                << fromConnected << PowerState::unknown << T::disconnected;
            QTest::addRow("%s, no service", from)
                << fromConnected << PowerState::noService << T::disconnected;
            QTest::addRow("%s, no adapter", from)
                << fromConnected << PowerState::noAdapter << T::disconnected;
        }
    }
    void powerReportsSetTheState() {
        QFETCH(bool, fromConnected);
        QFETCH(PowerState, power);
        QFETCH(T, expected);
        Rig rig;
        if (fromConnected)
            rig.connected();
        rig.adapter.reportPower(power);
        // Losing power ends the link first.
        QList<T> states{expected};
        if (fromConnected && power != PowerState::poweredOn)
            states.prepend(T::disconnected);
        QCOMPARE(rig.states(), states);
        QCOMPARE(rig.link->state(), expected);
        // The same report again is reported again.
        rig.adapter.reportPower(power);
        QCOMPARE(rig.states(), states + QList<T>{expected});
    }

    void startScanNeedsPower_data() {
        QTest::addColumn<PowerState>("power");
        QTest::addColumn<T>("expected");
        QTest::newRow("powered off") << PowerState::poweredOff << T::poweredOff;
        QTest::newRow("unauthorized") << PowerState::unauthorized << T::unauthorized;
        QTest::newRow("no service") << PowerState::noService << T::disconnected;
        QTest::newRow("no adapter") << PowerState::noAdapter << T::disconnected;
        QTest::newRow("not reported yet") << PowerState::unknown << T::disconnected;
    }
    void startScanNeedsPower() {
        QFETCH(PowerState, power);
        QFETCH(T, expected);
        Rig rig;
        rig.adapter.reportPower(power);
        rig.clearSpies();
        rig.link->startScan();
        QCOMPARE(rig.link->state(), expected);
        QCOMPARE(rig.stateSpy.count(), 0);
        QVERIFY(rig.adapter.scans.isEmpty());
    }

    void scanStartsAndStops() {
        Rig rig;
        rig.powerOn();
        rig.clearSpies();
        rig.link->startScan();
        QCOMPARE(rig.states(), QList<T>{T::scanning});
        QCOMPARE(rig.adapter.scans, QList<QBluetoothUuid>{BluetoothTransport::serviceUUID});

        rig.link->stopScan();
        QCOMPARE(rig.states(), (QList<T>{T::scanning, T::ready}));
        QCOMPARE(rig.adapter.scanStops, 1);

        // Stopping again asks the platform again but reports nothing.
        rig.link->stopScan();
        QCOMPARE(rig.adapter.scanStops, 2);
        QCOMPARE(rig.stateSpy.count(), 2);
    }

    void stopScanOutsideScanningReportsNothing() {
        Rig rig;
        rig.connected();
        rig.link->stopScan();
        QCOMPARE(rig.link->state(), T::connected);
        QCOMPARE(rig.stateSpy.count(), 0);
    }

    void connectReportsItsStates_data() {
        QTest::addColumn<bool>("scanning");
        QTest::addColumn<QList<T>>("expected");
        QTest::newRow("while scanning") << true << QList<T>{T::ready, T::connecting};
        QTest::newRow("while ready") << false << QList<T>{T::connecting};
    }
    void connectReportsItsStates() {
        QFETCH(bool, scanning);
        QFETCH(QList<T>, expected);
        Rig rig;
        rig.powerOn();
        if (scanning)
            rig.link->startScan();
        rig.clearSpies();
        const int stopsBefore = rig.adapter.scanStops;

        rig.link->connectToDevice(radio(7));
        QCOMPARE(rig.states(), expected);
        QCOMPARE(rig.adapter.scanStops, stopsBefore + 1);
        QCOMPARE(rig.adapter.connects, QList<QVariant>{radio(7).peripheral});
    }

    void fullConnectionWalksServiceAndCharacteristics() {
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.peripheralConnected();
        QCOMPARE(rig.adapter.serviceDiscoveries,
                 QList<QList<QBluetoothUuid>>{{BluetoothTransport::serviceUUID}});

        Q_EMIT rig.adapter.servicesDiscovered({otherService, BluetoothTransport::serviceUUID});
        QCOMPARE(rig.adapter.characteristicDiscoveries,
                 QList<QBluetoothUuid>{BluetoothTransport::serviceUUID});

        Q_EMIT rig.adapter.characteristicsDiscovered(
            BluetoothTransport::serviceUUID, {notifyCharacteristic(), writeCharacteristic()});
        QCOMPARE(rig.adapter.notifySwitches.size(), 1);
        QCOMPARE(rig.adapter.notifySwitches.first().first, BluetoothTransport::txUUID);
        QVERIFY(rig.adapter.notifySwitches.first().second);
        QCOMPARE(rig.connectedSpy.count(), 0);
        QCOMPARE(rig.link->state(), T::connecting);

        Q_EMIT rig.adapter.notificationStateChanged(BluetoothTransport::txUUID, true, QString());
        QCOMPARE(rig.states(), QList<T>{T::connected});
        QCOMPARE(rig.connectedSpy.count(), 1);
        QVERIFY(rig.failedSpy.isEmpty());

        // A repeated notification report does not announce the link twice.
        Q_EMIT rig.adapter.notificationStateChanged(BluetoothTransport::txUUID, true, QString());
        QCOMPARE(rig.connectedSpy.count(), 1);
        QCOMPARE(rig.stateSpy.count(), 1);
    }

    void scanResultName_data() {
        QTest::addColumn<QString>("localName");
        QTest::addColumn<QString>("platformName");
        QTest::addColumn<QString>("expected");
        QTest::newRow("local name wins") << "Talvenne 7F"
                                         << "Old name"
                                         << "Talvenne 7F";
        QTest::newRow("platform name") << ""
                                       << "Old name"
                                       << "Old name";
        QTest::newRow("no name at all") << ""
                                        << ""
                                        << "Talvenne Device";
    }
    void scanResultName() {
        QFETCH(QString, localName);
        QFETCH(QString, platformName);
        QFETCH(QString, expected);
        Rig rig;
        const QUuid id = radio(3).id;
        rig.adapter.advertise(id, localName, platformName, -71, QStringLiteral("h3"));
        QCOMPARE(rig.discoveredSpy.count(), 1);
        const auto device = rig.discoveredSpy.at(0).at(0).value<DiscoveredDevice>();
        QCOMPARE(device.name, expected);
        QCOMPARE(device.id, id);
        QCOMPARE(device.rssi, -71);
        QCOMPARE(device.peripheral.toString(), QStringLiteral("h3"));
    }

    void everyAdvertisementIsReported() {
        Rig rig;
        rig.powerOn();
        rig.link->startScan();
        const QUuid id = radio(1).id;
        const QList<int> signal{-90, -80, -75, -70, -62};
        for (int rssi : signal)
            rig.adapter.advertise(id, QStringLiteral("Talvenne"), QString(), rssi);

        QCOMPARE(rig.discoveredSpy.count(), 5);
        for (int i = 0; i < signal.size(); ++i) {
            const auto device = rig.discoveredSpy.at(i).at(0).value<DiscoveredDevice>();
            QCOMPARE(device.id, id);
            QCOMPARE(device.rssi, signal.at(i));
        }
        QCOMPARE(rig.link->state(), T::scanning);
    }

    // A retried failure: three more attempts, each 0.4 s after the failure
    // before it, then the link gives up with the failure's text.
    void retriedFailuresTryThreeMoreTimes_data() {
        QTest::addColumn<ErrorKind>("kind");
        QTest::addColumn<bool>("asDrop");
        QTest::addColumn<QString>("expectedText");
        const QString pairing = BluetoothTransport::pairingRemovedText;
        for (const bool asDrop : {false, true}) {
            const char* how = asDrop ? "drop" : "failure";
            QTest::addRow("%s, timeout", how)
                << ErrorKind::connectionTimeout << asDrop << QStringLiteral("platform text");
            QTest::addRow("%s, failed", how)
                << ErrorKind::connectionFailed << asDrop << QStringLiteral("platform text");
            QTest::addRow("%s, limit", how)
                << ErrorKind::connectionLimitReached << asDrop << QStringLiteral("platform text");
            QTest::addRow("%s, pairing removed", how)
                << ErrorKind::peerRemovedPairingInformation << asDrop << pairing;
        }
    }
    void retriedFailuresTryThreeMoreTimes() {
        QFETCH(ErrorKind, kind);
        QFETCH(bool, asDrop);
        QFETCH(QString, expectedText);
        Rig rig;
        rig.connecting(radio(2));
        const BleError error{kind, QStringLiteral("platform text")};
        auto fail = [&] {
            if (asDrop)
                Q_EMIT rig.adapter.peripheralDisconnected(error);
            else
                Q_EMIT rig.adapter.failedToConnect(error);
        };

        for (int retry = 1; retry <= BluetoothTransport::maxConnectRetries; ++retry) {
            rig.clock.advance(1500ms); // the attempt takes a while
            const QDateTime failedAt = rig.clock.now();
            fail();
            QCOMPARE(rig.stateSpy.count(), 0);
            QCOMPARE(rig.failedSpy.count(), 0);
            rig.clock.advance(399ms);
            QCOMPARE(rig.adapter.connects.size(), retry);
            rig.clock.advance(1ms);
            QCOMPARE(rig.adapter.connects.size(), retry + 1);
            QCOMPARE(failedAt.msecsTo(rig.adapter.connectTimes.last()), 400);
            QCOMPARE(rig.adapter.connects.last(), radio(2).peripheral);
        }

        rig.clock.advance(1500ms);
        fail();
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.failures(), QStringList{expectedText});
        rig.clock.advance(10s);
        QCOMPARE(rig.adapter.connects.size(), 1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.connectedSpy.count(), 0);
    }

    void unretriedFailureEndsAtOnce_data() {
        QTest::addColumn<bool>("hasError");
        QTest::addColumn<ErrorKind>("kind");
        QTest::addColumn<QString>("expectedText");
        QTest::newRow("cancelled") << true << ErrorKind::operationCancelled
                                   << QStringLiteral("The operation was cancelled.");
        QTest::newRow("other") << true << ErrorKind::other
                               << QStringLiteral("The operation was cancelled.");
        QTest::newRow("no error") << false << ErrorKind::other
                                  << QStringLiteral("Failed to connect");
    }
    void unretriedFailureEndsAtOnce() {
        QFETCH(bool, hasError);
        QFETCH(ErrorKind, kind);
        QFETCH(QString, expectedText);
        Rig rig;
        rig.connecting();
        std::optional<BleError> error;
        if (hasError)
            error = BleError{kind, QStringLiteral("The operation was cancelled.")};
        Q_EMIT rig.adapter.failedToConnect(error);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.failures(), QStringList{expectedText});
        rig.clock.advance(5s);
        QCOMPARE(rig.adapter.connects.size(), 1);
    }

    void disconnectDuringRetryPauseCancelsTheAttempt() {
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionTimeout, QString()});
        rig.clock.advance(200ms);
        rig.link->disconnectFromDevice();
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.adapter.cancels, 1);
        rig.clock.advance(5s);
        QCOMPARE(rig.adapter.connects.size(), 1);
        QVERIFY(rig.failedSpy.isEmpty());
    }

    void newConnectDuringRetryPauseOnlyReachesTheNewRadio() {
        Rig rig;
        rig.connecting(radio(1));
        Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionFailed, QString()});
        rig.clock.advance(100ms);
        rig.link->connectToDevice(radio(2));
        rig.clock.advance(5s);
        QCOMPARE(rig.adapter.connects, (QList<QVariant>{radio(1).peripheral, radio(2).peripheral}));
    }

    void linkDestroyedDuringRetryPause() {
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionTimeout, QString()});
        rig.link.reset();
        rig.clock.advance(1s);
        QCOMPARE(rig.adapter.connects.size(), 1);
    }

    // One user action gets a bounded number of attempts, also when the radio
    // accepts each one and drops it during set-up.
    void retriesAreBoundedPerUserAction() {
        Rig rig;
        rig.connecting();
        const BleError pairing{ErrorKind::peerRemovedPairingInformation, QString()};
        // Each attempt the link makes is accepted and dropped.
        for (int cycle = 0; cycle < 20 && rig.stateSpy.isEmpty(); ++cycle) {
            Q_EMIT rig.adapter.peripheralConnected();
            Q_EMIT rig.adapter.peripheralDisconnected(pairing);
            rig.clock.advance(400ms);
        }
        QCOMPARE(rig.adapter.connects.size(), 1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.failures(), QStringList{BluetoothTransport::pairingRemovedText});

        // A new click starts a new count.
        rig.link->connectToDevice(radio(1));
        Q_EMIT rig.adapter.failedToConnect(pairing);
        rig.clock.advance(400ms);
        QCOMPARE(rig.adapter.connects.size(), 2 + BluetoothTransport::maxConnectRetries + 1);
    }

    // An attempt the platform never answers ends on the link's own clock: it
    // is cancelled towards the platform and retried like a timeout; the drop
    // report of the cancelled attempt does not end the retries.
    void unansweredAttemptTimesOut() {
        Rig rig;
        rig.connecting();
        for (int attempt = 1; attempt <= 1 + BluetoothTransport::maxConnectRetries; ++attempt) {
            rig.clock.advance(BluetoothTransport::connectTimeout - 1ms);
            QCOMPARE(rig.adapter.cancels, attempt - 1);
            rig.clock.advance(1ms);
            QCOMPARE(rig.adapter.cancels, attempt);
            if (attempt <= BluetoothTransport::maxConnectRetries)
                Q_EMIT rig.adapter.peripheralDisconnected(std::nullopt);
            rig.clock.advance(BluetoothTransport::retryDelay);
        }
        QCOMPARE(rig.adapter.connects.size(), 1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.failures(), QStringList{BluetoothTransport::connectTimedOutText});
    }

    void answeredAttemptHasNoTimeout() {
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.peripheralConnected();
        rig.clock.advance(BluetoothTransport::connectTimeout * 3);
        QCOMPARE(rig.adapter.cancels, 0);
        QCOMPARE(rig.adapter.connects.size(), 1);
        QVERIFY(rig.stateSpy.isEmpty());
    }

    // Bluetooth going away ends the link as a disconnect first (the
    // controller resets on it), then the power state; nothing of the link
    // survives, and a retry that was waiting is not made.
    void powerLossEndsTheLinkFirst_data() {
        QTest::addColumn<QString>("phase");
        QTest::addColumn<PowerState>("power");
        QTest::addColumn<T>("expected");
        for (const char* phase : {"connecting", "retry pause", "connected"}) {
            QTest::addRow("%s, off", phase)
                << QString::fromLatin1(phase) << PowerState::poweredOff << T::poweredOff;
            QTest::addRow("%s, unauthorized", phase)
                << QString::fromLatin1(phase) << PowerState::unauthorized << T::unauthorized;
            QTest::addRow("%s, adapter gone", phase)
                << QString::fromLatin1(phase) << PowerState::noAdapter << T::disconnected;
        }
    }
    void powerLossEndsTheLinkFirst() {
        QFETCH(QString, phase);
        QFETCH(PowerState, power);
        QFETCH(T, expected);
        Rig rig;
        if (phase == QLatin1String("connected")) {
            rig.connected();
        } else {
            rig.connecting();
            if (phase == QLatin1String("retry pause"))
                Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionFailed, {}});
        }
        rig.adapter.reportPower(power);
        QCOMPARE(rig.states(), (QList<T>{T::disconnected, expected}));
        QVERIFY(rig.failedSpy.isEmpty());
        rig.clock.advance(BluetoothTransport::connectTimeout * 2);
        QCOMPARE(rig.adapter.connects.size(), 1);
        rig.link->write(QByteArray("\x16", 1));
        QVERIFY(rig.adapter.writes.isEmpty());

        // Back on, a radio without the write characteristic is not usable:
        // the last one's is gone.
        rig.clearSpies();
        rig.powerOn();
        rig.link->connectToDevice(radio(2));
        Q_EMIT rig.adapter.peripheralConnected();
        Q_EMIT rig.adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        Q_EMIT rig.adapter.characteristicsDiscovered(BluetoothTransport::serviceUUID,
                                                     {notifyCharacteristic()});
        Q_EMIT rig.adapter.notificationStateChanged(BluetoothTransport::txUUID, true, QString());
        QCOMPARE(rig.link->state(), T::connecting);
        QCOMPARE(rig.failures(), QStringList{BluetoothTransport::characteristicsNotFoundText});
        QCOMPARE(rig.connectedSpy.count(), 0);
    }

    // The power report may come after the platform already lost power: a
    // retry due in between is not sent.
    void retryWithoutPowerIsNotSent() {
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionTimeout, {}});
        rig.adapter.power = PowerState::poweredOff;
        rig.clock.advance(BluetoothTransport::retryDelay);
        QCOMPARE(rig.adapter.connects.size(), 1);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
    }

    // The scan state follows the platform: a scan that ends by itself or
    // fails leaves `scanning`, with the failure's text.
    void scanEndedByThePlatform_data() {
        QTest::addColumn<bool>("scanning");
        QTest::addColumn<QString>("error");
        QTest::newRow("failed") << true << QStringLiteral("Input/output error");
        QTest::newRow("ended") << true << QString();
        QTest::newRow("not scanning") << false << QStringLiteral("Input/output error");
    }
    void scanEndedByThePlatform() {
        QFETCH(bool, scanning);
        QFETCH(QString, error);
        Rig rig;
        rig.powerOn();
        if (scanning)
            rig.link->startScan();
        rig.clearSpies();
        Q_EMIT rig.adapter.scanEnded(error);
        QCOMPARE(rig.states(), scanning ? QList<T>{T::ready} : QList<T>());
        QCOMPARE(rig.failures(), scanning && !error.isEmpty() ? QStringList{error} : QStringList());
        // Not resumed after a power cycle: the scan is over.
        rig.adapter.reportPower(PowerState::poweredOff);
        rig.powerOn();
        QCOMPARE(rig.adapter.scans.size(), scanning ? 1 : 0);
    }

    void scanResumesWhenBluetoothReturns_data() {
        QTest::addColumn<bool>("stoppedByUser");
        QTest::newRow("scanning") << false;
        QTest::newRow("stopped") << true;
    }
    void scanResumesWhenBluetoothReturns() {
        QFETCH(bool, stoppedByUser);
        Rig rig;
        rig.powerOn();
        rig.link->startScan();
        rig.adapter.reportPower(PowerState::poweredOff);
        if (stoppedByUser)
            rig.link->stopScan();
        rig.clearSpies();
        rig.powerOn();
        QCOMPARE(rig.states(),
                 stoppedByUser ? QList<T>{T::ready} : (QList<T>{T::ready, T::scanning}));
        QCOMPARE(rig.adapter.scans.size(), stoppedByUser ? 1 : 2);
    }

    void dropWhileConnecting_data() {
        QTest::addColumn<bool>("hasError");
        QTest::addColumn<ErrorKind>("kind");
        QTest::addColumn<QStringList>("expectedFailures");
        QTest::newRow("not retried, with text")
            << true << ErrorKind::other << QStringList{QStringLiteral("The radio went away.")};
        QTest::newRow("pairing lost is retried first")
            << true << ErrorKind::peerRemovedPairingInformation << QStringList();
        QTest::newRow("no error, no text") << false << ErrorKind::other << QStringList();
    }
    void dropWhileConnecting() {
        QFETCH(bool, hasError);
        QFETCH(ErrorKind, kind);
        QFETCH(QStringList, expectedFailures);
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.peripheralConnected();
        Q_EMIT rig.adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        std::optional<BleError> error;
        if (hasError)
            error = BleError{kind, QStringLiteral("The radio went away.")};
        Q_EMIT rig.adapter.peripheralDisconnected(error);
        rig.clock.advance(400ms);

        const bool retried = hasError && kind == ErrorKind::peerRemovedPairingInformation;
        QCOMPARE(rig.adapter.connects.size(), retried ? 2 : 1);
        QCOMPARE(rig.states(), retried ? QList<T>() : QList<T>{T::disconnected});
        QCOMPARE(rig.failures(), expectedFailures);
    }

    void dropOfEstablishedLinkReportsNoFailure_data() {
        QTest::addColumn<bool>("hasError");
        QTest::addColumn<ErrorKind>("kind");
        QTest::newRow("no error") << false << ErrorKind::other;
        QTest::newRow("other") << true << ErrorKind::other;
        QTest::newRow("timeout, not retried once connected")
            << true << ErrorKind::connectionTimeout;
    }
    void dropOfEstablishedLinkReportsNoFailure() {
        QFETCH(bool, hasError);
        QFETCH(ErrorKind, kind);
        Rig rig;
        rig.connected();
        std::optional<BleError> error;
        if (hasError)
            error = BleError{kind, QStringLiteral("Connection lost")};
        Q_EMIT rig.adapter.peripheralDisconnected(error);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QVERIFY(rig.failedSpy.isEmpty());
        rig.clock.advance(2s);
        QCOMPARE(rig.adapter.connects.size(), 1);
        // The characteristics went with the link.
        rig.link->write(QByteArray("\x16", 1));
        QVERIFY(rig.adapter.writes.isEmpty());
    }

    void disconnectOfEstablishedLink() {
        Rig rig;
        rig.connected();
        rig.link->disconnectFromDevice();
        QCOMPARE(rig.adapter.cancels, 1);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        // The platform then reports the drop it caused: disconnected once more.
        Q_EMIT rig.adapter.peripheralDisconnected(std::nullopt);
        QCOMPARE(rig.states(), (QList<T>{T::disconnected, T::disconnected}));
        QVERIFY(rig.failedSpy.isEmpty());
    }

    void disconnectWithoutPeripheralCancelsNothing() {
        Rig rig;
        rig.powerOn();
        rig.clearSpies();
        rig.link->disconnectFromDevice();
        QCOMPARE(rig.adapter.cancels, 0);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
    }

    void serviceNotFound_data() {
        QTest::addColumn<QList<QBluetoothUuid>>("services");
        QTest::newRow("no services") << QList<QBluetoothUuid>();
        QTest::newRow("other service") << QList<QBluetoothUuid>{otherService};
    }
    void serviceNotFound() {
        QFETCH(QList<QBluetoothUuid>, services);
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.peripheralConnected();
        Q_EMIT rig.adapter.servicesDiscovered(services);
        QCOMPARE(rig.failures(), QStringList{QStringLiteral("Talvenne service not found")});
        QCOMPARE(rig.stateSpy.count(), 0);
        QCOMPARE(rig.link->state(), T::connecting);
        QVERIFY(rig.adapter.characteristicDiscoveries.isEmpty());
    }

    void characteristicsNotFound_data() {
        QTest::addColumn<QList<BleAdapter::Characteristic>>("characteristics");
        QTest::addColumn<int>("notifySwitches");
        QTest::newRow("write only")
            << QList<BleAdapter::Characteristic>{writeCharacteristic()} << 0;
        QTest::newRow("notify only")
            << QList<BleAdapter::Characteristic>{notifyCharacteristic()} << 1;
        QTest::newRow("none") << QList<BleAdapter::Characteristic>() << 0;
    }
    void characteristicsNotFound() {
        QFETCH(QList<BleAdapter::Characteristic>, characteristics);
        QFETCH(int, notifySwitches);
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.peripheralConnected();
        Q_EMIT rig.adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        Q_EMIT rig.adapter.characteristicsDiscovered(BluetoothTransport::serviceUUID,
                                                     characteristics);
        QCOMPARE(rig.failures(), QStringList{QStringLiteral("Talvenne characteristics not found")});
        QCOMPARE(rig.adapter.notifySwitches.size(), notifySwitches);
        // The platform answers every notification switch it was asked for.
        const auto switches = rig.adapter.notifySwitches;
        for (const auto& [characteristic, enabled] : switches)
            Q_EMIT rig.adapter.notificationStateChanged(characteristic, enabled, QString());
        QCOMPARE(rig.connectedSpy.count(), 0);
        QCOMPARE(rig.link->state(), T::connecting);
    }

    void notificationSwitchReports_data() {
        QTest::addColumn<QBluetoothUuid>("characteristic");
        QTest::addColumn<bool>("isNotifying");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QStringList>("expectedFailures");
        QTest::newRow("error") << BluetoothTransport::txUUID << false
                               << QStringLiteral("Insufficient authentication")
                               << QStringList{QStringLiteral("Insufficient authentication")};
        QTest::newRow("not notifying")
            << BluetoothTransport::txUUID << false << QString() << QStringList();
        QTest::newRow("other characteristic")
            << BluetoothTransport::rxUUID << true << QStringLiteral("ignored") << QStringList();
    }
    void notificationSwitchReports() {
        QFETCH(QBluetoothUuid, characteristic);
        QFETCH(bool, isNotifying);
        QFETCH(QString, error);
        QFETCH(QStringList, expectedFailures);
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.peripheralConnected();
        Q_EMIT rig.adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        Q_EMIT rig.adapter.characteristicsDiscovered(
            BluetoothTransport::serviceUUID, {writeCharacteristic(), notifyCharacteristic()});
        Q_EMIT rig.adapter.notificationStateChanged(characteristic, isNotifying, error);
        QCOMPARE(rig.failures(), expectedFailures);
        QCOMPARE(rig.connectedSpy.count(), 0);
        QCOMPARE(rig.stateSpy.count(), 0);
    }

    void receivedValues() {
        Rig rig;
        rig.connected();
        Q_EMIT rig.adapter.valueUpdated(BluetoothTransport::txUUID, QByteArray());
        Q_EMIT rig.adapter.valueUpdated(BluetoothTransport::rxUUID, QByteArray("\x01\x02", 2));
        QCOMPARE(rig.receivedSpy.count(), 0);
        const QByteArray frame("\x05\x00\x10\x20", 4);
        Q_EMIT rig.adapter.valueUpdated(BluetoothTransport::txUUID, frame);
        QCOMPARE(rig.receivedSpy.count(), 1);
        QCOMPARE(rig.receivedSpy.at(0).at(0).toByteArray(), frame);
    }

    void writeTypeFollowsProperties_data() {
        QTest::addColumn<bool>("canWrite");
        QTest::addColumn<bool>("canWriteWithoutResponse");
        QTest::addColumn<bool>("withResponse");
        QTest::newRow("write only") << true << false << true;
        QTest::newRow("both") << true << true << true;
        QTest::newRow("without response only") << false << true << false;
    }
    void writeTypeFollowsProperties() {
        QFETCH(bool, canWrite);
        QFETCH(bool, canWriteWithoutResponse);
        QFETCH(bool, withResponse);
        Rig rig;
        rig.connected(writeCharacteristic(canWrite, canWriteWithoutResponse));
        // One frame is one write however long it is.
        const QByteArray frame(300, '\x2a');
        rig.link->write(frame);
        QCOMPARE(rig.adapter.writes.size(), 1);
        QCOMPARE(rig.adapter.writes.at(0).characteristic, BluetoothTransport::rxUUID);
        QCOMPARE(rig.adapter.writes.at(0).value, frame);
        QCOMPARE(rig.adapter.writes.at(0).withResponse, withResponse);
    }

    void writeWithoutCharacteristicIsDropped() {
        Rig rig;
        rig.powerOn();
        rig.link->write(QByteArray("\x01", 1));
        rig.link->connectToDevice(radio(1));
        Q_EMIT rig.adapter.peripheralConnected();
        rig.link->write(QByteArray("\x02", 1));
        QVERIFY(rig.adapter.writes.isEmpty());

        // Known write characteristic, but the link was then closed.
        Q_EMIT rig.adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        Q_EMIT rig.adapter.characteristicsDiscovered(
            BluetoothTransport::serviceUUID, {writeCharacteristic(), notifyCharacteristic()});
        rig.link->disconnectFromDevice();
        rig.link->write(QByteArray("\x03", 1));
        QVERIFY(rig.adapter.writes.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestBluetoothTransport)
#include "test_bluetooth_transport.moc"
