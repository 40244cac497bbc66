#include "fake_ble_adapter.h"
#include "time/clock.h"
#include "transport/bluetooth_transport.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using PowerState = BleAdapter::PowerState;
using ErrorKind = BleAdapter::ErrorKind;
using BleError = BleAdapter::Error;
using Characteristics = QList<BleAdapter::Characteristic>;
using T = TransportState;

namespace {

const QBluetoothUuid otherService(QStringLiteral("0000180F-0000-1000-8000-00805F9B34FB"));
const QByteArray oneByte("\x16", 1);

// Each power report and the state it leaves the link in.
const std::tuple<const char*, PowerState, T> powerCases[] = {
    {"on", PowerState::poweredOn, T::ready},
    {"off", PowerState::poweredOff, T::poweredOff},
    {"unauthorized", PowerState::unauthorized, T::unauthorized},
    {"unknown", PowerState::unknown, T::disconnected},
    {"no service", PowerState::noService, T::disconnected},
    {"no adapter", PowerState::noAdapter, T::disconnected},
};

DiscoveredDevice radio(int n) {
    return {QUuid::createUuidV5(QUuid(), QString::number(n)), QStringLiteral("Radio %1").arg(n),
            -60, QStringLiteral("handle-%1").arg(n)};
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
    QSignalSpy writeFailedSpy{link.get(), &MeshLink::transportWriteFailed};
    QSignalSpy returnedSpy{link.get(), &MeshLink::bluetoothReturned};

    // The first argument of each report a spy caught.
    template <typename V>
    static QList<V> firstArgs(const QSignalSpy& spy) {
        QList<V> out;
        for (const QList<QVariant>& args : spy)
            out.append(args.at(0).value<V>());
        return out;
    }
    QList<T> states() const { return firstArgs<T>(stateSpy); }
    QStringList failures() const { return firstArgs<QString>(failedSpy); }
    void clearSpies() {
        for (QSignalSpy* spy : {&stateSpy, &discoveredSpy, &connectedSpy, &receivedSpy, &failedSpy,
                                &writeFailedSpy, &returnedSpy})
            spy->clear();
    }

    void powerOn() { adapter.reportPower(PowerState::poweredOn); }

    // Powered on, then asked to connect to `device`; the attempt is running.
    void connecting(const DiscoveredDevice& device = radio(1)) {
        powerOn();
        link->connectToDevice(device);
        clearSpies();
    }

    // The platform connects and finds the service with `characteristics`.
    void discover(const Characteristics& characteristics = {writeCharacteristic(),
                                                            notifyCharacteristic()}) {
        Q_EMIT adapter.peripheralConnected();
        Q_EMIT adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        Q_EMIT adapter.characteristicsDiscovered(BluetoothTransport::serviceUUID, characteristics);
    }
    void notificationsOn() {
        Q_EMIT adapter.notificationStateChanged(BluetoothTransport::txUUID, true, std::nullopt);
    }

    // Through the whole handshake with the platform up to a usable link.
    void connected(BleAdapter::Characteristic rx = writeCharacteristic()) {
        connecting();
        discover({rx, notifyCharacteristic()});
        notificationsOn();
        clearSpies();
    }
};

} // namespace

class TestBluetoothTransport : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Each power report sets the state, also when the same one comes again,
    // except that "on" again leaves an attempt or a link alone. Without
    // power nothing can be scanned for, and losing it ends any link as a
    // disconnect first (the controller resets on it): nothing of the link
    // survives, and a retry that was waiting is not made. Power that comes
    // back is reported as Bluetooth returning.
    void powerReports_data() {
        QTest::addColumn<QString>("phase");
        QTest::addColumn<PowerState>("power");
        QTest::addColumn<T>("expected");
        for (const char* phase : {"idle", "connecting", "retry pause", "connected"}) {
            for (const auto& [name, power, state] : powerCases)
                QTest::addRow("%s, %s", phase, name)
                    << QString::fromLatin1(phase) << power << state;
        }
    }
    void powerReports() {
        QFETCH(QString, phase);
        QFETCH(PowerState, power);
        QFETCH(T, expected);
        Rig rig;
        if (phase == QLatin1String("idle")) {
            // Nothing happens by itself, and nothing can be scanned for
            // before the first power report.
            rig.clock.advance(10s);
            rig.link->startScan();
            QVERIFY(rig.adapter.scans.isEmpty() && rig.adapter.connects.isEmpty());
            QVERIFY(rig.stateSpy.isEmpty());
            QCOMPARE(rig.link->state(), T::disconnected);
        } else if (phase == QLatin1String("connected")) {
            rig.connected();
        } else {
            rig.connecting();
            if (phase == QLatin1String("retry pause"))
                Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionFailed, {}});
        }
        const bool on = power == PowerState::poweredOn;
        const bool idle = phase == QLatin1String("idle");
        // An attempt, its retry or the link goes on through a repeated "on".
        const bool goesOn = on && !idle;
        rig.adapter.reportPower(power);
        QList<T> states;
        if (!goesOn)
            states.append(expected);
        if (!idle && !on)
            states.prepend(T::disconnected);
        QCOMPARE(rig.states(), states);
        QVERIFY(rig.failedSpy.isEmpty());
        rig.adapter.reportPower(power);
        if (!goesOn)
            states.append(expected);
        QCOMPARE(rig.states(), states);
        QCOMPARE(rig.returnedSpy.count(), 0);
        if (on) {
            rig.clock.advance(BluetoothTransport::retryDelay);
            QCOMPARE(rig.adapter.connects.size(),
                     phase == QLatin1String("retry pause") ? 2 : int(!idle));
            return;
        }
        rig.link->startScan();
        rig.clock.advance(BluetoothTransport::connectTimeout * 2);
        QCOMPARE(rig.states(), states);
        QVERIFY(rig.adapter.scans.isEmpty());
        QCOMPARE(rig.adapter.connects.size(), phase == QLatin1String("idle") ? 0 : 1);
        rig.link->write(oneByte);
        QVERIFY(rig.adapter.writes.isEmpty());

        // Back on, a radio without the write characteristic is not usable:
        // the last one's is gone.
        rig.clearSpies();
        rig.powerOn();
        QCOMPARE(rig.returnedSpy.count(), 1);
        rig.link->connectToDevice(radio(2));
        rig.discover({notifyCharacteristic()});
        QCOMPARE(rig.link->state(), T::disconnected);
        QCOMPARE(rig.failures(), QStringList{BluetoothTransport::characteristicsNotFoundText});
        QCOMPARE(rig.connectedSpy.count(), 0);
    }

    // Scan, then connecting ends the scan; service, characteristics,
    // notifications, frames. Every advertisement is reported, under the best
    // name it carries, and no scan starts while connecting. Frames written
    // before the write characteristic is known are dropped, and an attempt
    // the platform has answered gets the whole time again for its set-up.
    void scanThenFullConnection() {
        Rig rig;
        rig.powerOn();
        rig.clearSpies();
        rig.link->startScan();
        QCOMPARE(rig.adapter.scans, QList<QBluetoothUuid>{BluetoothTransport::serviceUUID});
        const QUuid id = radio(3).id;
        rig.adapter.advertise(id, u"Talvenne 7F"_s, u"Old name"_s, -71);
        rig.adapter.advertise(id, QString(), u"Old name"_s, -62);
        rig.adapter.advertise(id, QString(), QString(), -50, u"h3"_s);
        const auto devices = Rig::firstArgs<DiscoveredDevice>(rig.discoveredSpy);
        QVERIFY(devices == (QList<DiscoveredDevice>{{id, u"Talvenne 7F"_s, -71, {}},
                                                    {id, u"Old name"_s, -62, {}},
                                                    {id, u"Talvenne Device"_s, -50, {}}}));
        QCOMPARE(devices.last().peripheral.toString(), u"h3"_s);
        rig.link->stopScan();
        // Stopping again asks the platform again but reports nothing.
        rig.link->stopScan();
        QCOMPARE(rig.adapter.scanStops, 2);
        rig.link->startScan();
        rig.link->connectToDevice(radio(7));
        QCOMPARE(rig.states(),
                 (QList<T>{T::scanning, T::ready, T::scanning, T::ready, T::connecting}));
        QCOMPARE(rig.adapter.scanStops, 3);
        QCOMPARE(rig.adapter.connects, QList<QVariant>{radio(7).peripheral});
        rig.link->startScan();
        QCOMPARE(rig.adapter.scans.size(), 2);
        rig.clearSpies();
        rig.clock.advance(BluetoothTransport::connectTimeout - 1ms);
        Q_EMIT rig.adapter.peripheralConnected();
        QCOMPARE(rig.adapter.serviceDiscoveries,
                 QList<QList<QBluetoothUuid>>{{BluetoothTransport::serviceUUID}});
        rig.clock.advance(BluetoothTransport::connectTimeout - 1ms);
        QCOMPARE(rig.adapter.cancels, 0);
        rig.link->write(oneByte);
        QVERIFY(rig.adapter.writes.isEmpty());

        Q_EMIT rig.adapter.servicesDiscovered({otherService, BluetoothTransport::serviceUUID});
        QCOMPARE(rig.adapter.characteristicDiscoveries,
                 QList<QBluetoothUuid>{BluetoothTransport::serviceUUID});

        Q_EMIT rig.adapter.characteristicsDiscovered(
            BluetoothTransport::serviceUUID, {notifyCharacteristic(), writeCharacteristic()});
        QCOMPARE(rig.adapter.notifySwitches,
                 (QList<QPair<QBluetoothUuid, bool>>{{BluetoothTransport::txUUID, true}}));
        QCOMPARE(rig.connectedSpy.count(), 0);
        QCOMPARE(rig.link->state(), T::connecting);

        rig.notificationsOn();
        QCOMPARE(rig.states(), QList<T>{T::connected});
        QCOMPARE(rig.connectedSpy.count(), 1);
        QVERIFY(rig.failedSpy.isEmpty());
        QCOMPARE(rig.adapter.connects.size(), 1);

        // A repeated notification report does not announce the link twice.
        rig.notificationsOn();
        QCOMPARE(rig.connectedSpy.count(), 1);
        QCOMPARE(rig.stateSpy.count(), 1);

        // Each notification of the frame characteristic is one frame; empty
        // ones and other characteristics' carry none.
        const QByteArray frame("\x05\x00\x10\x20", 4);
        Q_EMIT rig.adapter.valueUpdated(BluetoothTransport::txUUID, QByteArray());
        Q_EMIT rig.adapter.valueUpdated(BluetoothTransport::rxUUID, frame);
        Q_EMIT rig.adapter.valueUpdated(BluetoothTransport::txUUID, frame);
        QCOMPARE(Rig::firstArgs<QByteArray>(rig.receivedSpy), QList<QByteArray>{frame});
    }

    // A retried failure: three more attempts, each 0.4 s after the failure
    // before it, then the link gives up with the failure's text; one user
    // action gets no more, also when the radio accepts each attempt and drops
    // it during set-up, with or without a reason. An attempt the platform
    // never answers, or whose set-up never ends, ends on the link's own
    // clock: it is cancelled towards the platform and retried like a
    // timeout, and the drop report of the cancelled attempt does not end the
    // retries.
    void retriedFailuresTryThreeMoreTimes_data() {
        QTest::addColumn<ErrorKind>("kind");
        QTest::addColumn<QString>("how");
        QTest::addColumn<QString>("expectedText");
        const QString pairing = BluetoothTransport::pairingRemovedText;
        const QMetaEnum kinds = QMetaEnum::fromType<ErrorKind>();
        for (const char* how : {"failure", "drop"}) {
            for (const ErrorKind kind :
                 {ErrorKind::connectionTimeout, ErrorKind::connectionFailed,
                  ErrorKind::connectionLimitReached, ErrorKind::peerRemovedPairingInformation}) {
                const bool pairingLost = kind == ErrorKind::peerRemovedPairingInformation;
                QTest::addRow("%s, %s", how, kinds.valueToKey(int(kind)))
                    << kind << QString::fromLatin1(how)
                    << (pairingLost ? pairing : u"platform text"_s);
            }
        }
        QTest::newRow("no answer")
            << ErrorKind::other << u"silence"_s << BluetoothTransport::connectTimedOutText;
        QTest::newRow("set-up never ends")
            << ErrorKind::other << u"set-up silence"_s << BluetoothTransport::connectTimedOutText;
        QTest::newRow("dropped during set-up without a reason")
            << ErrorKind::other << u"set-up drop"_s << BluetoothTransport::droppedDuringSetUpText;
    }
    void retriedFailuresTryThreeMoreTimes() {
        QFETCH(ErrorKind, kind);
        QFETCH(QString, how);
        QFETCH(QString, expectedText);
        Rig rig;
        rig.connecting(radio(2));
        const BleError error{kind, QStringLiteral("platform text")};
        auto fail = [&](int attempt) {
            rig.clock.advance(1500ms); // the attempt takes a while
            if (how.endsWith(QLatin1String("drop"))) {
                // Accepted, then dropped during set-up: still counts.
                Q_EMIT rig.adapter.peripheralConnected();
                Q_EMIT rig.adapter.peripheralDisconnected(
                    how == QLatin1String("drop") ? std::optional(error) : std::nullopt);
            } else if (how == QLatin1String("failure")) {
                Q_EMIT rig.adapter.failedToConnect(error);
            } else {
                // The set-up's time starts when the platform connects.
                const bool setUp = how == QLatin1String("set-up silence");
                if (setUp)
                    Q_EMIT rig.adapter.peripheralConnected();
                rig.clock.advance(BluetoothTransport::connectTimeout - (setUp ? 0ms : 1500ms) -
                                  1ms);
                QCOMPARE(rig.adapter.cancels, attempt - 1);
                rig.clock.advance(1ms);
                QCOMPARE(rig.adapter.cancels, attempt);
                if (attempt <= BluetoothTransport::maxConnectRetries)
                    Q_EMIT rig.adapter.peripheralDisconnected(std::nullopt);
            }
        };

        for (int retry = 1; retry <= BluetoothTransport::maxConnectRetries; ++retry) {
            fail(retry);
            const QDateTime failedAt = rig.clock.now();
            QCOMPARE(rig.stateSpy.count(), 0);
            QCOMPARE(rig.failedSpy.count(), 0);
            rig.clock.advance(399ms);
            QCOMPARE(rig.adapter.connects.size(), retry);
            rig.clock.advance(1ms);
            QCOMPARE(rig.adapter.connects.size(), retry + 1);
            QCOMPARE(failedAt.msecsTo(rig.adapter.connectTimes.last()), 400);
            QCOMPARE(rig.adapter.connects.last(), radio(2).peripheral);
        }

        fail(1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.failures(), QStringList{expectedText});
        rig.clock.advance(1min);
        QCOMPARE(rig.adapter.connects.size(), 1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.connectedSpy.count(), 0);

        // A new click starts a new count.
        rig.link->connectToDevice(radio(2));
        Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionFailed, {}});
        rig.clock.advance(BluetoothTransport::retryDelay);
        QCOMPARE(rig.adapter.connects.size(), 3 + BluetoothTransport::maxConnectRetries);
    }

    // What happens while a retry waits decides whether it is made: only a
    // connection the user still wants, to the radio they want, with power.
    void interruptedRetryPause_data() {
        QTest::addColumn<QString>("by");
        QTest::addColumn<int>("attempts");
        QTest::addColumn<QList<T>>("states");
        QTest::addColumn<int>("cancels");
        QTest::newRow("disconnect") << "disconnect" << 1 << QList<T>{T::disconnected} << 1;
        QTest::newRow("connect to another radio") << "connect" << 2 << QList<T>{T::connecting} << 0;
        QTest::newRow("link destroyed") << "destroy" << 1 << QList<T>() << 0;
        // The power report may come after the platform already lost power.
        QTest::newRow("power gone, not reported yet")
            << "power" << 1 << QList<T>{T::disconnected} << 1;
    }
    void interruptedRetryPause() {
        QFETCH(QString, by);
        QFETCH(int, attempts);
        QFETCH(QList<T>, states);
        QFETCH(int, cancels);
        Rig rig;
        rig.connecting(radio(1));
        Q_EMIT rig.adapter.failedToConnect(BleError{ErrorKind::connectionTimeout, QString()});
        rig.clock.advance(200ms);
        if (by == QLatin1String("disconnect"))
            rig.link->disconnectFromDevice();
        else if (by == QLatin1String("connect"))
            rig.link->connectToDevice(radio(2));
        else if (by == QLatin1String("destroy"))
            rig.link.reset();
        else
            rig.adapter.power = PowerState::poweredOff;
        rig.clock.advance(5s);
        QCOMPARE(rig.adapter.connects.size(), attempts);
        QCOMPARE(rig.states(), states);
        QCOMPARE(rig.adapter.cancels, cancels);
        QVERIFY(rig.failedSpy.isEmpty());
    }

    // A scan the user started resumes when Bluetooth comes back, unless the
    // user or the platform ended it in between; the platform's reason is
    // reported.
    void scanAcrossPowerLoss_data() {
        QTest::addColumn<bool>("started");
        QTest::addColumn<QString>("endedBy");
        QTest::addColumn<QString>("error");
        const QString ioError = QStringLiteral("Input/output error");
        QTest::newRow("still scanning") << true << QString() << QString();
        QTest::newRow("stopped while off") << true << "user" << QString();
        QTest::newRow("ended by the platform") << true << "platform" << QString();
        QTest::newRow("failed on the platform") << true << "platform" << ioError;
        QTest::newRow("platform report, not scanning") << false << "platform" << ioError;
    }
    void scanAcrossPowerLoss() {
        QFETCH(bool, started);
        QFETCH(QString, endedBy);
        QFETCH(QString, error);
        Rig rig;
        rig.powerOn();
        if (started)
            rig.link->startScan();
        rig.clearSpies();
        if (endedBy == QLatin1String("platform")) {
            Q_EMIT rig.adapter.scanEnded(error);
            QCOMPARE(rig.states(), started ? QList<T>{T::ready} : QList<T>());
            const bool failed = started && !error.isEmpty();
            QCOMPARE(rig.failures(), failed ? QStringList{error} : QStringList());
        }
        rig.adapter.reportPower(PowerState::poweredOff);
        if (endedBy == QLatin1String("user"))
            rig.link->stopScan();
        rig.clearSpies();
        rig.powerOn();
        const bool resumes = started && endedBy.isEmpty();
        QCOMPARE(rig.states(), resumes ? (QList<T>{T::ready, T::scanning}) : QList<T>{T::ready});
        QCOMPARE(rig.adapter.scans.size(), int(started) + int(resumes));
    }

    // An attempt that fails for a reason not worth retrying, or drops during
    // set-up with such a reason, ends at once with the reason. The drop of an established link
    // is not retried and is no failure to show.
    void endings_data() {
        QTest::addColumn<QString>("phase");
        QTest::addColumn<std::optional<BleError>>("error");
        QTest::addColumn<QStringList>("failures");
        const QString text = QStringLiteral("The radio went away.");
        const auto row = [&](const char* name, const char* phase, std::optional<BleError> error,
                             const QStringList& failures) {
            QTest::newRow(name) << QString::fromLatin1(phase) << error << failures;
        };
        row("attempt, cancelled", "attempt", BleError{ErrorKind::operationCancelled, text}, {text});
        row("attempt, other", "attempt", BleError{ErrorKind::other, text}, {text});
        row("attempt, no error", "attempt", std::nullopt, {u"Failed to connect"_s});
        row("set-up, other", "set-up", BleError{ErrorKind::other, text}, {text});
        row("established, no error", "established", std::nullopt, {});
        row("established, timeout", "established", BleError{ErrorKind::connectionTimeout, text},
            {});
    }
    void endings() {
        QFETCH(QString, phase);
        QFETCH(std::optional<BleError>, error);
        QFETCH(QStringList, failures);
        Rig rig;
        if (phase == QLatin1String("established"))
            rig.connected();
        else
            rig.connecting();
        if (phase == QLatin1String("set-up")) {
            Q_EMIT rig.adapter.peripheralConnected();
            Q_EMIT rig.adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        }
        if (phase == QLatin1String("attempt"))
            Q_EMIT rig.adapter.failedToConnect(error);
        else
            Q_EMIT rig.adapter.peripheralDisconnected(error);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.failures(), failures);
        rig.clock.advance(2s);
        QCOMPARE(rig.adapter.connects.size(), 1);
        // The characteristics went with the link.
        rig.link->write(oneByte);
        QVERIFY(rig.adapter.writes.isEmpty());
        // So did the radio: Bluetooth going off later reports only that.
        rig.clearSpies();
        rig.adapter.reportPower(PowerState::poweredOff);
        QCOMPARE(rig.states(), QList<T>{T::poweredOff});
    }

    // A user disconnect cancels towards the platform only what it holds.
    void disconnectFromDevice() {
        Rig rig;
        rig.powerOn();
        rig.clearSpies();
        rig.link->disconnectFromDevice();
        QCOMPARE(rig.adapter.cancels, 0);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        rig.connected();
        rig.link->disconnectFromDevice();
        QCOMPARE(rig.adapter.cancels, 1);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        rig.link->write(oneByte);
        QVERIFY(rig.adapter.writes.isEmpty());
        // The platform then reports the drop it caused: disconnected once more.
        Q_EMIT rig.adapter.peripheralDisconnected(std::nullopt);
        QCOMPARE(rig.states(), (QList<T>{T::disconnected, T::disconnected}));
        QVERIFY(rig.failedSpy.isEmpty());
    }

    // Looking for another radio while one is connected: the scan runs beside
    // the link, which stays connected and usable; stopping it or choosing a
    // radio ends the scan and reports no state of its own.
    void scanBesideTheLink() {
        Rig rig;
        rig.connected();
        const int stops = rig.adapter.scanStops;
        rig.link->startScan();
        QCOMPARE(rig.adapter.scans.size(), 1);
        rig.adapter.advertise(radio(2).id, u"Ridge"_s, QString(), -70);
        QCOMPARE(rig.discoveredSpy.size(), 1);
        rig.link->write(oneByte);
        QCOMPARE(rig.adapter.writes.size(), 1);
        rig.link->stopScan();
        QCOMPARE(rig.adapter.scanStops, stops + 1);
        QVERIFY(rig.stateSpy.isEmpty());
        QCOMPARE(rig.link->state(), T::connected);
        rig.link->startScan();
        rig.link->connectToDevice(radio(2));
        QCOMPARE(rig.adapter.scanStops, stops + 2);
        QCOMPARE(rig.states(), QList<T>{T::connecting});
    }

    // Each step of the set-up that finds something missing or refused: the
    // link lets the radio go and says why, and never announces itself. A
    // radio that wants a bond first is paired instead.
    void setUpFailures_data() {
        QTest::addColumn<QList<QBluetoothUuid>>("services");
        QTest::addColumn<Characteristics>("characteristics");
        QTest::addColumn<QBluetoothUuid>("notified");
        QTest::addColumn<bool>("isNotifying");
        QTest::addColumn<std::optional<BleError>>("error");
        QTest::addColumn<QString>("failure");
        const QList<QBluetoothUuid> service{BluetoothTransport::serviceUUID};
        const Characteristics both{writeCharacteristic(), notifyCharacteristic()};
        const QBluetoothUuid tx = BluetoothTransport::txUUID;
        const QString noService = BluetoothTransport::serviceNotFoundText;
        const QString noCharacteristics = BluetoothTransport::characteristicsNotFoundText;
        const QString refused = QStringLiteral("Insufficient resources");
        const BleError refusal{ErrorKind::other, refused};
        const BleError wantsPairing{ErrorKind::pairingRequired, QStringLiteral("Not paired")};
        const std::optional<BleError> none;
        QTest::newRow("other service")
            << QList<QBluetoothUuid>{otherService} << both << tx << true << none << noService;
        QTest::newRow("write only") << service << Characteristics{writeCharacteristic()} << tx
                                    << true << none << noCharacteristics;
        QTest::newRow("notify only") << service << Characteristics{notifyCharacteristic()} << tx
                                     << true << none << noCharacteristics;
        QTest::newRow("notifications refused")
            << service << both << tx << false << std::optional(refusal) << refused;
        QTest::newRow("notifications want pairing")
            << service << both << tx << false << std::optional(wantsPairing) << QString();
        QTest::newRow("notifications not on")
            << service << both << tx << false << none << QString();
        QTest::newRow("report for another characteristic")
            << service << both << BluetoothTransport::rxUUID << true << std::optional(refusal)
            << QString();
    }
    void setUpFailures() {
        QFETCH(QList<QBluetoothUuid>, services);
        QFETCH(Characteristics, characteristics);
        QFETCH(QBluetoothUuid, notified);
        QFETCH(bool, isNotifying);
        QFETCH(std::optional<BleError>, error);
        QFETCH(QString, failure);
        Rig rig;
        rig.connecting();
        Q_EMIT rig.adapter.peripheralConnected();
        Q_EMIT rig.adapter.servicesDiscovered(services);
        const bool found = services.contains(BluetoothTransport::serviceUUID);
        QCOMPARE(rig.adapter.characteristicDiscoveries.size(), found ? 1 : 0);
        if (found)
            Q_EMIT rig.adapter.characteristicsDiscovered(BluetoothTransport::serviceUUID,
                                                         characteristics);
        // The platform answers the notification switch, if it was asked for one.
        if (!rig.adapter.notifySwitches.isEmpty())
            Q_EMIT rig.adapter.notificationStateChanged(notified, isNotifying, error);
        const bool givenUp = !failure.isEmpty();
        QCOMPARE(rig.failures(), givenUp ? QStringList{failure} : QStringList());
        QCOMPARE(rig.states(), givenUp ? QList<T>{T::disconnected} : QList<T>());
        QCOMPARE(rig.adapter.cancels, int(givenUp));
        QCOMPARE(rig.adapter.pairRequests, int(error && error->kind == ErrorKind::pairingRequired &&
                                               notified == BluetoothTransport::txUUID));
        QCOMPARE(rig.connectedSpy.count(), 0);
        // Not retried.
        rig.clock.advance(BluetoothTransport::retryDelay);
        QCOMPARE(rig.adapter.connects.size(), 1);
    }

    // The radio wants a bond before it switches notifications on or takes a
    // frame: the link pairs once, with all the time the user needs, then goes
    // on (frames written meanwhile go out in order after the refused one), or
    // lets the radio go with a text that says what went wrong. A radio that
    // still refuses once paired is not paired again.
    void pairing_data() {
        QTest::addColumn<QString>("refused");
        QTest::addColumn<std::optional<BleError>>("outcome");
        QTest::addColumn<QString>("failure");
        const auto outcome = [](ErrorKind kind) {
            return std::optional(BleError{kind, u"BlueZ"_s});
        };
        for (const char* refused : {"notifications", "a write"}) {
            const auto row = [&](const char* name, std::optional<BleError> result,
                                 const QString& failure) {
                QTest::addRow("%s, %s", refused, name)
                    << QString::fromLatin1(refused) << result << failure;
            };
            row("paired", std::nullopt, QString());
            row("still refused once paired", std::nullopt,
                BluetoothTransport::refusedWhilePairedText);
            row("wrong PIN", outcome(ErrorKind::pairingRefused),
                BluetoothTransport::pinRefusedText);
            row("cancelled", outcome(ErrorKind::pairingCancelled),
                BluetoothTransport::pairingCancelledText);
            row("nobody to ask", outcome(ErrorKind::pairingImpossible),
                BluetoothTransport::noPinAgentText);
            row("stale bond", outcome(ErrorKind::staleBond),
                BluetoothTransport::pairingRemovedText);
        }
    }
    void pairing() {
        QFETCH(QString, refused);
        QFETCH(std::optional<BleError>, outcome);
        QFETCH(QString, failure);
        const BleError wantsPairing{ErrorKind::pairingRequired, QStringLiteral("Not paired")};
        const QByteArray first("\x01first", 6);
        const QByteArray second("\x02second", 7);
        const QByteArray third("\x03third", 6);
        const bool duringSetUp = refused == QLatin1String("notifications");
        Rig rig;
        if (duringSetUp) {
            rig.connecting();
            rig.discover();
            Q_EMIT rig.adapter.notificationStateChanged(BluetoothTransport::txUUID, false,
                                                        wantsPairing);
        } else {
            // Two frames on their way when the first refusal comes.
            rig.connected();
            rig.link->write(first);
            rig.link->write(second);
            Q_EMIT rig.adapter.writeFailed(BluetoothTransport::rxUUID, first, wantsPairing);
            rig.link->write(third);
            Q_EMIT rig.adapter.writeFailed(BluetoothTransport::rxUUID, second, wantsPairing);
        }
        QCOMPARE(rig.adapter.pairRequests, 1);
        // The PIN is the user's time, not the radio's.
        rig.clock.advance(BluetoothTransport::connectTimeout * 3);
        QCOMPARE(rig.adapter.cancels, 0);
        QCOMPARE(rig.adapter.writes.size(), duringSetUp ? 0 : 2);
        Q_EMIT rig.adapter.pairingFinished(outcome);

        const bool refusedAgain = failure == BluetoothTransport::refusedWhilePairedText;
        if (!outcome && duringSetUp) {
            QCOMPARE(rig.adapter.notifySwitches.size(), 2);
            if (refusedAgain)
                Q_EMIT rig.adapter.notificationStateChanged(BluetoothTransport::txUUID, false,
                                                            wantsPairing);
            else
                rig.notificationsOn();
        } else if (!outcome) {
            const auto sent = [&] {
                QList<QByteArray> values;
                for (const FakeBleAdapter::Write& write : std::as_const(rig.adapter.writes))
                    values.append(write.value);
                return values;
            };
            QCOMPARE(sent(), (QList<QByteArray>{first, second, first, second, third}));
            if (refusedAgain)
                Q_EMIT rig.adapter.writeFailed(BluetoothTransport::rxUUID, third, wantsPairing);
        }
        QCOMPARE(rig.adapter.pairRequests, 1);
        if (failure.isEmpty()) {
            QCOMPARE(rig.link->state(), T::connected);
            // Announced once: after pairing in the set-up, before it otherwise.
            QCOMPARE(rig.connectedSpy.count(), duringSetUp ? 1 : 0);
            QVERIFY(rig.failedSpy.isEmpty() && rig.writeFailedSpy.isEmpty());
        } else if (refusedAgain && !duringSetUp) {
            // The refused frame fails; the link stays.
            QCOMPARE(rig.link->state(), T::connected);
            QCOMPARE(rig.writeFailedSpy.count(), 1);
            QCOMPARE(rig.writeFailedSpy.at(0).at(1).toString(), failure);
        } else {
            QCOMPARE(rig.link->state(), T::disconnected);
            QCOMPARE(rig.failures(), QStringList{failure});
            QCOMPARE(rig.adapter.cancels, 1);
            QCOMPARE(rig.connectedSpy.count(), 0);
        }
    }

    // One frame is one write, also a long one: a write with a response
    // becomes a long write. Without one, a frame longer than the MTU allows
    // fails with a text that says so, and nothing is written.
    void writeTypeFollowsProperties_data() {
        QTest::addColumn<bool>("canWrite");
        QTest::addColumn<bool>("canWriteWithoutResponse");
        QTest::addColumn<int>("mtu");
        QTest::addColumn<bool>("withResponse");
        QTest::addColumn<QString>("failure");
        const QString tooLong = BluetoothTransport::frameTooLongText(300, 23);
        QTest::newRow("write only") << true << false << -1 << true << QString();
        QTest::newRow("both") << true << true << -1 << true << QString();
        QTest::newRow("without response only") << false << true << -1 << false << QString();
        QTest::newRow("write only, MTU 23") << true << false << 23 << true << QString();
        QTest::newRow("without response only, MTU 23") << false << true << 23 << false << tooLong;
        QTest::newRow("without response only, MTU 517")
            << false << true << 517 << false << QString();
    }
    void writeTypeFollowsProperties() {
        QFETCH(bool, canWrite);
        QFETCH(bool, canWriteWithoutResponse);
        QFETCH(int, mtu);
        QFETCH(bool, withResponse);
        QFETCH(QString, failure);
        Rig rig;
        rig.adapter.mtuValue = mtu;
        rig.connected(writeCharacteristic(canWrite, canWriteWithoutResponse));
        QCOMPARE(rig.link->mtu(), mtu);
        const QByteArray frame(300, '\x2a');
        rig.link->write(frame);
        if (failure.isEmpty()) {
            QVERIFY(rig.adapter.writes == (QList<FakeBleAdapter::Write>{
                                              {BluetoothTransport::rxUUID, frame, withResponse}}));
            return;
        }
        QVERIFY(rig.adapter.writes.isEmpty());
        QVERIFY(rig.writeFailedSpy.wait(1000));
        QCOMPARE(rig.writeFailedSpy.at(0).at(0).toByteArray(), frame);
        QCOMPARE(rig.writeFailedSpy.at(0).at(1).toString(), failure);
    }

    // A radio refuses a frame for another reason: the controller hears why,
    // with the MTU when the frame was longer than one write.
    void refusedWrites_data() {
        QTest::addColumn<int>("size");
        QTest::addColumn<QString>("text");
        const QString reason = QStringLiteral("Operation failed with ATT error: 0x06");
        QTest::newRow("short") << 10 << BluetoothTransport::writeRefusedText(10, 23, reason);
        QTest::newRow("long") << 40 << BluetoothTransport::writeRefusedText(40, 23, reason);
    }
    void refusedWrites() {
        QFETCH(int, size);
        QFETCH(QString, text);
        Rig rig;
        rig.adapter.mtuValue = 23;
        rig.connected();
        const QByteArray frame(size, '\x07');
        rig.link->write(frame);
        Q_EMIT rig.adapter.writeFailed(
            BluetoothTransport::rxUUID, frame,
            {ErrorKind::other, u"Operation failed with ATT error: 0x06"_s});
        QCOMPARE(rig.writeFailedSpy.count(), 1);
        QCOMPARE(rig.writeFailedSpy.at(0).at(1).toString(), text);
        QCOMPARE(text.contains(QLatin1String("MTU 23")), size > 20);
        QCOMPARE(rig.link->state(), T::connected);
    }

    // A notification carries at most MTU - 3 bytes; a radio sends a longer
    // frame as full-sized pieces and a shorter last one. The link joins them;
    // a full-sized piece that nothing follows was a whole frame.
    void notificationPieces_data() {
        QTest::addColumn<int>("mtu");
        QTest::addColumn<QList<int>>("pieces");
        QTest::addColumn<QList<int>>("frames");
        QTest::addColumn<QList<int>>("framesAfterWait");
        QTest::newRow("MTU unknown")
            << -1 << QList<int>{20, 20, 5} << QList<int>{20, 20, 5} << QList<int>{20, 20, 5};
        QTest::newRow("MTU 23, one frame in three pieces")
            << 23 << QList<int>{20, 20, 5} << QList<int>{45} << QList<int>{45};
        QTest::newRow("MTU 23, two frames")
            << 23 << QList<int>{20, 3, 7} << QList<int>{23, 7} << QList<int>{23, 7};
        QTest::newRow("MTU 23, a frame of exactly one piece")
            << 23 << QList<int>{20} << QList<int>{} << QList<int>{20};
        QTest::newRow("MTU 247, long notifications whole")
            << 247 << QList<int>{148, 58} << QList<int>{148, 58} << QList<int>{148, 58};
    }
    void notificationPieces() {
        QFETCH(int, mtu);
        QFETCH(QList<int>, pieces);
        QFETCH(QList<int>, frames);
        QFETCH(QList<int>, framesAfterWait);
        Rig rig;
        rig.adapter.mtuValue = mtu;
        rig.connected();
        QByteArray sent;
        char next = 'a';
        for (int size : pieces) {
            const QByteArray piece(size, next++);
            sent += piece;
            Q_EMIT rig.adapter.valueUpdated(BluetoothTransport::txUUID, piece);
        }
        const auto sizes = [&] {
            QList<int> out;
            QByteArray joined;
            for (const QByteArray& frame : Rig::firstArgs<QByteArray>(rig.receivedSpy)) {
                out.append(int(frame.size()));
                joined += frame;
            }
            return std::pair(out, joined);
        };
        QCOMPARE(sizes().first, frames);
        rig.clock.advance(BluetoothTransport::pieceWait);
        QCOMPARE(sizes().first, framesAfterWait);
        QCOMPARE(sizes().second, sent);
    }

    // Scans and connections wait for Bluetooth: no scan while connecting, and
    // a radio still listed while Bluetooth is off is not tried. The computer
    // going to sleep ends the link as a drop (the radio is looked for again
    // after the wake), and nothing starts before the wake, which counts as
    // Bluetooth returning.
    void bluetoothComesFirst() {
        Rig rig;
        rig.adapter.reportPower(PowerState::poweredOff);
        rig.clearSpies();
        rig.link->connectToDevice(radio(1));
        QVERIFY(rig.adapter.connects.isEmpty());
        QCOMPARE(rig.failures(), QStringList{BluetoothTransport::bluetoothOffText});
        QVERIFY(rig.stateSpy.isEmpty());

        rig.powerOn();
        rig.connected();
        Q_EMIT rig.adapter.sleepChanged(true);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.adapter.cancels, 1);
        QVERIFY(rig.failedSpy.isEmpty());
        rig.link->startScan();
        rig.link->connectToDevice(radio(1));
        QVERIFY(rig.adapter.scans.isEmpty());
        QCOMPARE(rig.adapter.connects.size(), 1);
        Q_EMIT rig.adapter.sleepChanged(false);
        QCOMPARE(rig.states(), (QList<T>{T::disconnected, T::ready}));
        QCOMPARE(rig.returnedSpy.count(), 1);
    }

    // Service Changed while connected: the link stays, discovers the radio's
    // services again, and the frames written meanwhile (also one that met
    // the old characteristic, gone already) go out afterwards. Services not
    // found again in time end the link.
    void servicesChangedWhileConnected_data() {
        QTest::addColumn<bool>("writtenFirst");
        QTest::addColumn<bool>("foundAgain");
        QTest::newRow("changed, then written") << false << true;
        QTest::newRow("written to the gone characteristic") << true << true;
        QTest::newRow("not found again") << false << false;
    }
    void servicesChangedWhileConnected() {
        QFETCH(bool, writtenFirst);
        QFETCH(bool, foundAgain);
        Rig rig;
        rig.connected();
        const QByteArray frame("\x14", 1);
        if (writtenFirst) {
            rig.link->write(frame);
            Q_EMIT rig.adapter.writeFailed(BluetoothTransport::rxUUID, frame,
                                           {ErrorKind::characteristicGone, u"No such object"_s});
            rig.adapter.writes.clear();
        }
        Q_EMIT rig.adapter.servicesChanged();
        QCOMPARE(rig.adapter.serviceDiscoveries.size(), 2);
        if (!writtenFirst)
            rig.link->write(frame);
        QVERIFY(rig.adapter.writes.isEmpty());
        if (!foundAgain) {
            rig.clock.advance(BluetoothTransport::connectTimeout);
            QCOMPARE(rig.states(), QList<T>{T::disconnected});
            QCOMPARE(rig.failures(), QStringList{BluetoothTransport::servicesLostText});
            return;
        }
        Q_EMIT rig.adapter.servicesDiscovered({BluetoothTransport::serviceUUID});
        Q_EMIT rig.adapter.characteristicsDiscovered(
            BluetoothTransport::serviceUUID, {writeCharacteristic(), notifyCharacteristic()});
        rig.notificationsOn();
        QCOMPARE(rig.adapter.writes.size(), 1);
        QCOMPARE(rig.adapter.writes.first().value, frame);
        QVERIFY(rig.stateSpy.isEmpty() && rig.connectedSpy.isEmpty());
        QVERIFY(rig.writeFailedSpy.isEmpty());
        rig.clock.advance(BluetoothTransport::connectTimeout);
        QVERIFY(rig.stateSpy.isEmpty());
    }

    // Forgetting a radio ends its connection first; an unknown one is left alone.
    void forgetDevice() {
        Rig rig;
        rig.connected();
        rig.link->forgetDevice(QUuid::createUuid());
        QVERIFY(rig.adapter.forgets.isEmpty());
        rig.link->forgetDevice(radio(1).id);
        QCOMPARE(rig.states(), QList<T>{T::disconnected});
        QCOMPARE(rig.adapter.cancels, 1);
        QCOMPARE(rig.adapter.forgets, QList<QVariant>{radio(1).peripheral});
    }
};

QTEST_GUILESS_MAIN(TestBluetoothTransport)
#include "test_bluetooth_transport.moc"
