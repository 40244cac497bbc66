#include "bluez_rig.h"

using T = TransportState;
using PowerState = BleAdapter::PowerState;

// Bluetooth going away and coming back, end to end over the stand-in BlueZ:
// the adapter switched off while scanning and on again, from the app where
// the system allows it, and what the link says when the service, the adapter
// or the permission is missing. (Switched off while connected: test_e2e_link.)
class TestE2ePower : public QObject {
    Q_OBJECT

    PrivateBus m_bus;
    std::unique_ptr<StandInBluez> m_bluez;

    bool startBluez(const QStringList& options = {}) {
        m_bluez = std::make_unique<StandInBluez>();
        return m_bluez->start(options);
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY2(startAsSystemBus(m_bus), "could not start a private dbus-daemon");
    }
    void cleanup() { m_bluez.reset(); }

    // Switched off while scanning: the state follows, and the scan resumes
    // by itself when Bluetooth is back.
    void offWhileScanningResumesWhenBack() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.findRadioA());

        m_bluez->call("SetPowered", false);
        QTRY_COMPARE(rig.state(), T::poweredOff);
        QCOMPARE(rig.link->state(), T::poweredOff);

        m_bluez->call("SetPowered", true);
        QTRY_COMPARE(rig.state(), T::scanning);
        QTRY_VERIFY(m_bluez->call("IsDiscovering").toBool());
        m_bluez->call("SetRssi", StandInBluez::radioA, -66);
        QTRY_COMPARE(rig.radioA().value_or(DiscoveredDevice()).rssi, -66);
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
        QVERIFY(rig.findRadioA());
    }
};

QTEST_GUILESS_MAIN(TestE2ePower)
#include "test_e2e_power.moc"
