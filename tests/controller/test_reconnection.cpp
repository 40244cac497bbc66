#include "controller_rig.h"
#include "sim_rig.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace {

// A rig whose controller reconnects by itself, connected to the radio, and
// the times (seconds after the drop) at which each reconnection attempt
// began its scan.
struct ReconnectRig : SimRig {
    QDateTime droppedAt;
    QList<double> scans;

    ReconnectRig() {
        controller->enableAutomaticReconnection();
        QObject::connect(&radio, &MeshLink::transportStateChanged, &radio,
                         [this](TransportState state) {
                             if (state == TransportState::scanning && droppedAt.isValid())
                                 scans << droppedAt.msecsTo(clock.now()) / 1000.0;
                         });
    }
    void drop() {
        droppedAt = clock.now();
        radio.dropLink();
    }
    bool linked() const {
        return controller->transportState() == TransportState::connected &&
               !controller->isReconnecting() && controller->selfInfo().has_value();
    }
};

} // namespace

class TestReconnection : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void pausesGrowToTheCap() {
        const QList<int> expected{1000, 2000, 4000, 8000, 16000, 32000, 60000, 60000, 60000};
        for (int failures = 0; failures < expected.size(); ++failures)
            QCOMPARE(MeshController::reconnectPause(failures).count(), expected[failures]);
        QCOMPARE(MeshController::reconnectPause(10'000), MeshController::reconnectPauseCap);
    }

    // A drop keeps the plain contract (state and radio-side data gone at
    // once), then the radio comes back by itself after the pauses, with the
    // usual handshake. Out of range for a while, each attempt scans 10 s.
    void comesBackAfterTheDrop_data() {
        QTest::addColumn<int>("failedAttempts");
        QTest::addColumn<QList<double>>("scans");
        QTest::newRow("at once") << 0 << QList<double>{1};
        QTest::newRow("after four attempts") << 4 << QList<double>{1, 13, 27, 45, 71};
    }
    void comesBackAfterTheDrop() {
        QFETCH(int, failedAttempts);
        QFETCH(QList<double>, scans);
        ReconnectRig rig;
        QVERIFY(rig.connect());
        rig.radio.setInRange(failedAttempts == 0);
        rig.drop();
        QCOMPARE(rig.controller->transportState(), TransportState::disconnected);
        QVERIFY(!rig.controller->selfInfo());
        QVERIFY(rig.controller->isReconnecting());

        rig.clock.advance(milliseconds(qint64(scans.last() * 1000) - 1000));
        QCOMPARE(rig.controller->reconnectFailures(), failedAttempts);
        rig.radio.setInRange(true);
        rig.clock.advance(30s);
        QCOMPARE(rig.scans, scans);
        QVERIFY(rig.linked());
        QCOMPARE(rig.controller->reconnectFailures(), 0);
        QCOMPARE(rig.controller->rememberedDeviceName(), SimulatedRadio::deviceName);
    }

    // A radio that never returns is looked for every 70 s (10 s of scan, a
    // minute's pause) for as long as it takes, with a bounded set of timers.
    void looksForARadioThatNeverReturns() {
        ReconnectRig rig;
        QVERIFY(rig.connect());
        rig.radio.setInRange(false);
        rig.drop();
        const int timersBefore = rig.clock.pendingTimers();
        for (int minute = 0; minute < 60; ++minute) {
            rig.clock.advance(60s);
            QVERIFY2(rig.clock.pendingTimers() <= timersBefore + 3,
                     qPrintable(QString::number(rig.clock.pendingTimers())));
        }
        QVERIFY(rig.controller->isReconnecting());
        QVERIFY(rig.scans.size() > 50);
        QCOMPARE(rig.scans.last() - rig.scans.at(rig.scans.size() - 2), 70.0);
    }

    // Disconnecting, turning the preference off or choosing a radio ends the
    // reconnection, whichever step it is in; nothing is tried afterwards.
    void theUserEndsIt_data() {
        QTest::addColumn<QString>("action");
        QTest::addColumn<int>("after"); // ms after the drop
        QTest::addColumn<bool>("remembered");
        for (const char* action : {"disconnect", "forget", "preference off", "other radio"}) {
            const bool remembered =
                qstrcmp(action, "disconnect") != 0 && qstrcmp(action, "forget") != 0;
            QTest::addRow("%s in the pause", action) << action << 500 << remembered;
            QTest::addRow("%s in the scan", action) << action << 5000 << remembered;
            QTest::addRow("%s in a later pause", action) << action << 12000 << remembered;
        }
    }
    void theUserEndsIt() {
        QFETCH(QString, action);
        QFETCH(int, after);
        QFETCH(bool, remembered);
        ReconnectRig rig;
        QVERIFY(rig.connect());
        rig.radio.setInRange(false);
        rig.drop();
        rig.clock.advance(milliseconds(after));
        const qsizetype scansBefore = rig.scans.size();
        if (action == QLatin1String("disconnect")) {
            rig.controller->disconnectFromDevice();
        } else if (action == QLatin1String("forget")) {
            rig.controller->forgetDevice();
        } else if (action == QLatin1String("preference off")) {
            rig.controller->setAutoReconnect(false);
        } else {
            DiscoveredDevice other{QUuid::createUuid(), QStringLiteral("Other radio"), -70, {}};
            rig.controller->connectToDevice(other);
        }
        QVERIFY(!rig.controller->isReconnecting());
        QVERIFY(rig.controller->transportState() != TransportState::scanning);
        rig.radio.setInRange(true);
        rig.clock.advance(600s);
        QCOMPARE(rig.scans.size(), scansBefore);
        QVERIFY(rig.controller->transportState() != TransportState::connected);
        QCOMPARE(rig.controller->rememberedDeviceId().has_value(), remembered);

        // The preference and the forgotten radio outlast a restart.
        MeshController again(&rig.radio, &rig.clock, nullptr, nullptr, rig.settings.get());
        QCOMPARE(again.autoReconnect(), action != QLatin1String("preference off"));
        QCOMPARE(again.rememberedDeviceName(), action == QLatin1String("other radio")
                                                   ? QStringLiteral("Other radio")
                                               : remembered ? SimulatedRadio::deviceName
                                                            : QString());
    }

    // The computer slept through a pause or a scan: on waking the next
    // attempt comes at once (within a few seconds when the timers stood
    // still through the sleep, as they do), one attempt and not a burst,
    // and the pauses start over.
    void wakingFromSleepStartsOver_data() {
        QTest::addColumn<int>("asleepAt"); // s after the drop
        QTest::addColumn<int>("failures");
        QTest::addColumn<bool>("timersStoodStill");
        // Attempts at 1, 13, 27 and 45 s, each scanning 10 s.
        QTest::newRow("in a pause") << 60 << 4 << false;
        QTest::newRow("in a scan") << 50 << 3 << false;
        QTest::newRow("in a pause, timers stood still") << 60 << 4 << true;
        QTest::newRow("in a scan, timers stood still") << 50 << 3 << true;
    }
    void wakingFromSleepStartsOver() {
        QFETCH(int, asleepAt);
        QFETCH(int, failures);
        QFETCH(bool, timersStoodStill);
        ReconnectRig rig;
        QVERIFY(rig.connect());
        rig.radio.setInRange(false);
        rig.drop();
        rig.clock.advance(std::chrono::seconds(asleepAt));
        QCOMPARE(rig.controller->reconnectFailures(), failures);
        const qsizetype scansBefore = rig.scans.size();
        if (timersStoodStill) {
            rig.clock.suspend(8h);
            rig.clock.advance(5s);
        } else {
            rig.clock.setNow(rig.clock.now().addSecs(8 * 3600));
            rig.clock.settle();
        }
        QCOMPARE(rig.scans.size(), scansBefore + 1);
        QCOMPARE(rig.controller->reconnectFailures(), 0);
        rig.clock.advance(10s); // that scan ends empty; the pause is the first one again
        QCOMPARE(rig.controller->reconnectFailures(), 1);
        rig.radio.setInRange(true);
        rig.clock.advance(2s + 30s);
        QVERIFY(rig.linked());
    }

    // Bluetooth back after a sleep, or with an adapter that came back, cuts
    // the pause short: the next attempt comes at once.
    void bluetoothReturningCutsThePause() {
        ReconnectRig rig;
        QVERIFY(rig.connect());
        rig.radio.setInRange(false);
        rig.drop();
        rig.clock.advance(12s); // the first scan ended at 11 s; the next pause is 2 s
        QCOMPARE(rig.scans.size(), 1);
        Q_EMIT rig.radio.bluetoothReturned();
        rig.clock.settle();
        QCOMPARE(rig.scans, (QList<double>{1, 12}));
    }

    // Only a connection whose handshake went through counts: a radio that
    // takes the link and drops it in every handshake is tried less and less
    // often, and once a handshake goes through the next drop is retried
    // after a second again.
    void dropsInEveryHandshakeStretchThePauses() {
        ReconnectRig rig;
        QVERIFY(rig.connect());
        int connections = 0;
        bool dropping = true;
        QObject::connect(&rig.radio, &MeshLink::transportConnected, &rig.radio, [&] {
            ++connections;
            if (dropping)
                rig.radio.dropLinkOnCommand(0x04); // while the contacts are read
        });
        rig.drop();
        rig.clock.advance(5min);
        QVERIFY2(connections >= 6 && connections <= 10, qPrintable(QString::number(connections)));
        QCOMPARE(rig.controller->reconnectFailures(), connections);
        QCOMPARE(rig.controller->isReconnecting(), true);

        dropping = false;
        rig.clock.advance(2min);
        QVERIFY(rig.linked());
        rig.drop();
        rig.clock.advance(1s + 500ms);
        QCOMPARE(rig.scans.last(), 1.0);
    }

    // Turned on again, the preference looks for the remembered radio at
    // once, whether it was turned off during a reconnection or before the
    // link dropped.
    void preferenceBackOnLooksAtOnce_data() {
        QTest::addColumn<bool>("offBeforeTheDrop");
        QTest::newRow("off during the reconnection") << false;
        QTest::newRow("off when the link dropped") << true;
    }
    void preferenceBackOnLooksAtOnce() {
        QFETCH(bool, offBeforeTheDrop);
        ReconnectRig rig;
        QVERIFY(rig.connect());
        if (offBeforeTheDrop)
            rig.controller->setAutoReconnect(false);
        rig.radio.setInRange(false);
        rig.drop();
        rig.clock.advance(5s);
        rig.controller->setAutoReconnect(false);
        rig.clock.advance(10min);
        const qsizetype scansBefore = rig.scans.size();
        QVERIFY(!rig.controller->isReconnecting());
        rig.radio.setInRange(true);

        rig.controller->setAutoReconnect(true);
        QVERIFY(rig.controller->isReconnecting());
        rig.clock.settle();
        QCOMPARE(rig.scans.size(), scansBefore + 1);
        rig.clock.advance(5s);
        QVERIFY(rig.linked());
    }

    // Bluetooth back on while an attempt waits for it: the link goes on with
    // the scan it had, and the attempt takes that scan, with what it found
    // already, instead of starting a second one beside it.
    void bluetoothBackTakesTheLinksScan() {
        ControllerRig rig;
        rig.controller->enableAutomaticReconnection();
        const DiscoveredDevice radio{QUuid::createUuid(), QStringLiteral("R"), -60, {}};
        rig.controller->connectToDevice(radio);
        rig.link.becomeUsable();
        rig.link.setState(TransportState::poweredOff);
        rig.clock.advance(5s);
        QCOMPARE(rig.link.scanStarts, 0); // no Bluetooth to scan with
        QVERIFY(rig.controller->waitsForBluetooth());

        rig.link.setState(TransportState::ready);
        Q_EMIT rig.link.transportDiscovered(radio);
        rig.link.setState(TransportState::scanning);
        rig.clock.settle();
        QCOMPARE(rig.link.scanStarts, 0);
        QVERIFY(!rig.controller->waitsForBluetooth());
        QCOMPARE(rig.link.connectRequests.size(), 2);
    }

    // A demo run remembers the simulated radio apart from a normal run's
    // radio: the next normal run keeps looking for its own.
    void demoRunsRememberTheirRadioApart() {
        SimRig rig;
        const QString real = QUuid::createUuid().toString(QUuid::WithoutBraces);
        rig.settings->setValue(QLatin1String(MeshController::lastDeviceIdKey), real);
        rig.settings->setValue(QLatin1String(MeshController::lastDeviceNameKey),
                               QStringLiteral("Real radio"));
        rig.controller->setRememberedDeviceGroup(QStringLiteral("demo"));
        QVERIFY(!rig.controller->rememberedDeviceId());
        QVERIFY(rig.connect());
        QCOMPARE(rig.controller->rememberedDeviceId(), SimulatedRadio::deviceId);

        MeshController normal(&rig.radio, &rig.clock, nullptr, nullptr, rig.settings.get());
        QCOMPARE(normal.rememberedDeviceId(), QUuid(real));
        QCOMPARE(normal.rememberedDeviceName(), QStringLiteral("Real radio"));
        MeshController demo(&rig.radio, &rig.clock, nullptr, nullptr, rig.settings.get());
        demo.setRememberedDeviceGroup(QStringLiteral("demo"));
        QCOMPARE(demo.rememberedDeviceName(), SimulatedRadio::deviceName);
    }

    // At start the remembered radio is reconnected at once; without one, or
    // with the preference off, nothing happens, and a plain controller never
    // reconnects by itself.
    void atStart_data() {
        QTest::addColumn<bool>("remembered");
        QTest::addColumn<bool>("preference");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("remembered") << true << true << true;
        QTest::newRow("none remembered") << false << true << true;
        QTest::newRow("preference off") << true << false << true;
        QTest::newRow("not enabled") << true << true << false;
    }
    void atStart() {
        QFETCH(bool, remembered);
        QFETCH(bool, preference);
        QFETCH(bool, enabled);
        SimRig rig;
        QVERIFY(rig.connect());
        if (!remembered)
            rig.controller->disconnectFromDevice();
        rig.controller->setAutoReconnect(preference);
        rig.controller.reset();
        rig.radio.dropLink();
        rig.clock.advance(1s);

        rig.controller = std::make_unique<MeshController>(&rig.radio, &rig.clock, &rig.notifier,
                                                          rig.store.get(), rig.settings.get());
        const bool begins = remembered && preference && enabled;
        if (enabled)
            QCOMPARE(rig.controller->enableAutomaticReconnection(), begins);
        rig.clock.advance(30s);
        QCOMPARE(rig.controller->transportState() == TransportState::connected, begins);
        QVERIFY(!rig.controller->isReconnecting());
        if (begins) {
            // A later drop is reconnected too.
            rig.radio.dropLink();
            QVERIFY(rig.controller->isReconnecting());
            rig.clock.advance(30s);
            QCOMPARE(rig.controller->transportState(), TransportState::connected);
        }
    }
};

QTEST_MAIN(TestReconnection)
#include "test_reconnection.moc"
