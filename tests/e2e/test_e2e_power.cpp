#include "bluez_rig.h"
#include "protocol/mesh_protocol.h"
#include "sim_rig.h"

#include <QSignalSpy>

using namespace std::chrono_literals;
using T = TransportState;
using PowerState = BleAdapter::PowerState;

// Bluetooth going away and coming back, end to end over the stand-in BlueZ:
// the adapter switched off while connected or scanning and on again, and
// what the link says when the service, the adapter or the permission is
// missing.
class TestE2ePower : public QObject {
    Q_OBJECT

    PrivateBus m_bus;
    std::unique_ptr<StandInBluez> m_bluez;

    bool startBluez(const QStringList& options = {}) {
        m_bluez = std::make_unique<StandInBluez>();
        if (!m_bluez->start(options))
            return false;
        m_bluez->call("AddRadio", StandInBluez::radioA, StandInBluez::radioAName, -58);
        return true;
    }

    static QList<T> statesOf(const QSignalSpy& spy) {
        QList<T> states;
        for (const QList<QVariant>& args : spy)
            states.append(args.at(0).value<T>());
        return states;
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY2(m_bus.start(), "could not start a private dbus-daemon");
    }
    void cleanup() { m_bluez.reset(); }

    // Switched off while connected: the controller hears of a disconnect
    // first, so waiting requests fail at once and the radio's state goes;
    // switched on again, the radio can be connected anew.
    void offWhileConnectedResetsTheController() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        rig.controller->startScan();
        QTRY_VERIFY(rig.device(StandInBluez::radioAName).has_value());
        rig.controller->connectToDevice(*rig.device(StandInBluez::radioAName));
        QTRY_COMPARE_WITH_TIMEOUT(rig.state(), T::connected, 5000);
        QTRY_VERIFY_WITH_TIMEOUT(!rig.controller->isSyncing(), 5000);
        QVERIFY(!rig.controller->contacts().isEmpty());

        m_bluez->call("DropAnswers", StandInBluez::radioA, 1);
        TestSupport::Outcome<MeshEvent> waiting;
        TestSupport::capture(rig.controller->request(MeshProtocol::getBatteryAndStorage(),
                                                     ExpectedResponse::batteryVoltage, 5s),
                             &waiting);
        QSignalSpy states(rig.link.get(), &MeshLink::transportStateChanged);
        m_bluez->call("SetPowered", false);
        QTRY_COMPARE(rig.state(), T::poweredOff);
        QCOMPARE(statesOf(states), (QList<T>{T::disconnected, T::poweredOff}));
        QVERIFY(waiting.done);
        QCOMPARE(errorTextOf(waiting), MeshError::notConnected().description());
        QVERIFY(rig.controller->contacts().isEmpty());
        QVERIFY(!rig.controller->selfInfo());

        m_bluez->call("SetPowered", true);
        QTRY_COMPARE(rig.state(), T::ready);
        rig.controller->startScan();
        QTRY_VERIFY(rig.device(StandInBluez::radioAName).has_value());
        rig.controller->connectToDevice(*rig.device(StandInBluez::radioAName));
        QTRY_COMPARE_WITH_TIMEOUT(rig.state(), T::connected, 5000);
    }

    // Switched off while scanning: the state follows, and the scan resumes
    // by itself when Bluetooth is back.
    void offWhileScanningResumesWhenBack() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        rig.controller->startScan();
        QTRY_VERIFY(rig.device(StandInBluez::radioAName).has_value());

        m_bluez->call("SetPowered", false);
        QTRY_COMPARE(rig.state(), T::poweredOff);
        QCOMPARE(rig.link->state(), T::poweredOff);

        m_bluez->call("SetPowered", true);
        QTRY_COMPARE(rig.state(), T::scanning);
        QTRY_VERIFY(m_bluez->call("IsDiscovering").toBool());
        m_bluez->call("SetRssi", StandInBluez::radioA, -66);
        QTRY_COMPARE(rig.device(StandInBluez::radioAName)->rssi, -66);
    }

    // The adapter switched on from the app, where the system allows it.
    void powerOnFromTheApp_data() {
        QTest::addColumn<bool>("allowed");
        QTest::newRow("allowed") << true;
        QTest::newRow("refused") << false;
    }
    void powerOnFromTheApp() {
        QFETCH(bool, allowed);
        QVERIFY(startBluez());
        m_bluez->call("SetPowered", false);
        m_bluez->call("SetPowerOnAllowed", allowed);
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::poweredOff);
        QVERIFY(rig.adapter->canPowerOn());
        rig.adapter->powerOn();
        if (allowed) {
            QTRY_COMPARE(rig.state(), T::ready);
        } else {
            QTRY_VERIFY(!rig.adapter->canPowerOn());
            QCOMPARE(rig.state(), T::poweredOff);
        }
    }

    // QtBluetooth says nothing when an adapter that is off goes away; the
    // screen must still tell that it is gone, and see it come back.
    void anAdapterRemovedWhileOffIsNoticed() {
        QVERIFY(startBluez());
        m_bluez->call("SetPowered", false);
        LinkRig rig;
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::poweredOff);
        m_bluez->call("RemoveAdapter");
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::noAdapter);
        m_bluez->call("AddAdapter");
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::poweredOn);
        QTRY_COMPARE(rig.state(), T::ready);
    }

    // Why Bluetooth cannot be used, told apart, and the way back from each.
    void whyBluetoothIsUnusable_data() {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<bool>("denied");
        QTest::addColumn<PowerState>("power");
        QTest::addColumn<T>("state");
        QTest::addColumn<QString>("remedy");
        QTest::newRow("no service")
            << QStringList{QStringLiteral("--no-service")} << false << PowerState::noService
            << T::disconnected << QStringLiteral("ClaimService");
        QTest::newRow("no adapter")
            << QStringList{QStringLiteral("--no-adapter")} << false << PowerState::noAdapter
            << T::disconnected << QStringLiteral("AddAdapter");
        QTest::newRow("not permitted")
            << QStringList() << true << PowerState::unauthorized << T::unauthorized << QString();
    }
    void whyBluetoothIsUnusable() {
        QFETCH(QStringList, options);
        QFETCH(bool, denied);
        QFETCH(PowerState, power);
        QFETCH(T, state);
        QFETCH(QString, remedy);
        QVERIFY(startBluez(options));
        m_bluez->call("SetDenied", denied);
        LinkRig rig;
        QTRY_COMPARE(rig.adapter->powerState(), power);
        QCOMPARE(rig.state(), state);
        QVERIFY(!rig.adapter->canPowerOn());
        rig.controller->startScan();
        QCOMPARE(rig.state(), state);
        if (remedy.isEmpty())
            return;
        m_bluez->call(remedy.toLatin1().constData());
        QTRY_COMPARE(rig.adapter->powerState(), PowerState::poweredOn);
        QTRY_COMPARE(rig.state(), T::ready);
        rig.controller->startScan();
        QTRY_VERIFY(rig.device(StandInBluez::radioAName).has_value());
    }
};

QTEST_GUILESS_MAIN(TestE2ePower)
#include "test_e2e_power.moc"
