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
        for (QSignalSpy* spy : {&stateSpy, &discoveredSpy, &connectedSpy, &receivedSpy, &failedSpy})
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
        Q_EMIT adapter.notificationStateChanged(BluetoothTransport::txUUID, true, QString());
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
    // Each power report sets the state, also when the same one comes again.
    // Without power nothing can be scanned for, and losing it ends any link
    // as a disconnect first (the controller resets on it): nothing of the
    // link survives, and a retry that was waiting is not made.
    void powerReports_data() {
        QTest::addColumn<QString>("phase");
        QTest::addColumn<PowerState>("power");
        QTest::addColumn<T>("expected");
        for (const char* phase : {"idle", "connecting", "retry pause", "connected"}) {
            for (const auto& [name, power, state] : powerCases) {
                // Power comes on only while no attempt runs.
                const bool attempting =
                    qstrcmp(phase, "connecting") == 0 || qstrcmp(phase, "retry pause") == 0;
                if (power != PowerState::poweredOn || !attempting)
                    QTest::addRow("%s, %s", phase, name)
                        << QString::fromLatin1(phase) << power << state;
            }
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
        rig.adapter.reportPower(power);
        QList<T> states{expected};
        if (phase != QLatin1String("idle") && !on)
            states.prepend(T::disconnected);
        QCOMPARE(rig.states(), states);
        QVERIFY(rig.failedSpy.isEmpty());
        rig.adapter.reportPower(power);
        states.append(expected);
        QCOMPARE(rig.states(), states);
        if (on)
            return;
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
        rig.link->connectToDevice(radio(2));
        rig.discover({notifyCharacteristic()});
        rig.notificationsOn();
        QCOMPARE(rig.link->state(), T::connecting);
        QCOMPARE(rig.failures(), QStringList{BluetoothTransport::characteristicsNotFoundText});
        QCOMPARE(rig.connectedSpy.count(), 0);
    }

    // Scan, then connecting ends the scan; service, characteristics,
    // notifications, frames. Every advertisement is reported, under the best
    // name it carries. Frames written before the write characteristic is known
    // are dropped, and an attempt the platform has answered no longer times out.
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
        rig.clearSpies();
        Q_EMIT rig.adapter.peripheralConnected();
        QCOMPARE(rig.adapter.serviceDiscoveries,
                 QList<QList<QBluetoothUuid>>{{BluetoothTransport::serviceUUID}});
        rig.clock.advance(BluetoothTransport::connectTimeout * 2);
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
    // it during set-up. An attempt the platform never answers ends on the
    // link's own clock: it is cancelled towards the platform and retried like
    // a timeout, and the drop report of the cancelled attempt does not end
    // the retries.
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
            if (how == QLatin1String("drop")) {
                // Accepted, then dropped during set-up: still counts.
                Q_EMIT rig.adapter.peripheralConnected();
                Q_EMIT rig.adapter.peripheralDisconnected(error);
            } else if (how == QLatin1String("failure")) {
                Q_EMIT rig.adapter.failedToConnect(error);
            } else {
                rig.clock.advance(BluetoothTransport::connectTimeout - 1500ms - 1ms);
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
    // set-up, ends at once with the reason. The drop of an established link
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
        row("set-up, no error", "set-up", std::nullopt, {});
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

    // Each step of the set-up that finds something missing or refused: the
    // link reports why, stays connecting and never announces itself.
    void setUpFailures_data() {
        QTest::addColumn<QList<QBluetoothUuid>>("services");
        QTest::addColumn<Characteristics>("characteristics");
        QTest::addColumn<QBluetoothUuid>("notified");
        QTest::addColumn<bool>("isNotifying");
        QTest::addColumn<QString>("error");
        QTest::addColumn<QString>("failure");
        const QList<QBluetoothUuid> service{BluetoothTransport::serviceUUID};
        const Characteristics both{writeCharacteristic(), notifyCharacteristic()};
        const QBluetoothUuid tx = BluetoothTransport::txUUID;
        const QString noService = BluetoothTransport::serviceNotFoundText;
        const QString noCharacteristics = BluetoothTransport::characteristicsNotFoundText;
        const QString refused = QStringLiteral("Insufficient authentication");
        QTest::newRow("other service")
            << QList<QBluetoothUuid>{otherService} << both << tx << true << QString() << noService;
        QTest::newRow("write only") << service << Characteristics{writeCharacteristic()} << tx
                                    << true << QString() << noCharacteristics;
        QTest::newRow("notify only") << service << Characteristics{notifyCharacteristic()} << tx
                                     << true << QString() << noCharacteristics;
        QTest::newRow("notifications refused")
            << service << both << tx << false << refused << refused;
        QTest::newRow("notifications not on")
            << service << both << tx << false << QString() << QString();
        QTest::newRow("report for another characteristic")
            << service << both << BluetoothTransport::rxUUID << true << refused << QString();
    }
    void setUpFailures() {
        QFETCH(QList<QBluetoothUuid>, services);
        QFETCH(Characteristics, characteristics);
        QFETCH(QBluetoothUuid, notified);
        QFETCH(bool, isNotifying);
        QFETCH(QString, error);
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
        QCOMPARE(rig.failures(), failure.isEmpty() ? QStringList() : QStringList{failure});
        QCOMPARE(rig.connectedSpy.count(), 0);
        QCOMPARE(rig.stateSpy.count(), 0);
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
        QVERIFY(rig.adapter.writes ==
                (QList<FakeBleAdapter::Write>{{BluetoothTransport::rxUUID, frame, withResponse}}));
    }
};

QTEST_GUILESS_MAIN(TestBluetoothTransport)
#include "test_bluetooth_transport.moc"
