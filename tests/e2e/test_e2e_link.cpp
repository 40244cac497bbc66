#include "bluez_rig.h"
#include "controller/mesh_error.h"
#include "protocol/mesh_protocol.h"
#include "sim_rig.h"

#include <QSignalSpy>

using namespace std::chrono_literals;
using T = TransportState;
using PowerState = BleAdapter::PowerState;

// The link end to end over the stand-in BlueZ: scanning, connecting, the
// handshake over notifications, a message and its delivery, the link lost
// and made again, connection attempts that fail or are never answered, and
// Bluetooth going away and coming back: switched off and on, from the app
// where the system allows it, and the service, the adapter or the permission
// missing.
class TestE2eLink : public QObject {
    Q_OBJECT

    PrivateBus m_bus;
    std::unique_ptr<StandInBluez> m_bluez;

    bool startBluez(const QStringList& options = {}) {
        m_bluez = std::make_unique<StandInBluez>();
        return m_bluez->start(options);
    }
    int connectAttempts() { return m_bluez->call("ConnectAttempts", StandInBluez::radioA).toInt(); }
    bool isDiscovering() { return m_bluez->call("IsDiscovering").toBool(); }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY2(startAsSystemBus(m_bus), "could not start a private dbus-daemon");
    }
    void cleanup() { m_bluez.reset(); }

    // Each advertisement is listed once, with its newest signal. A radio
    // BlueZ still knows from before is not listed until it is heard; one it
    // forgot is new again.
    void scanning() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QSignalSpy reports(rig.link.get(), &MeshLink::transportDiscovered);
        QVERIFY(rig.findRadioA());
        QCOMPARE(rig.state(), T::scanning);
        QVERIFY(isDiscovering());
        QTest::qWait(300); // three advertising rounds with an unchanged signal
        QCOMPARE(reports.count(), 1);
        QCOMPARE(rig.radioA()->rssi, -58);
        m_bluez->call("SetRssi", StandInBluez::radioA, -71);
        QTRY_COMPARE(rig.radioA()->rssi, -71);
        QCOMPARE(reports.count(), 2);
        QCOMPARE(rig.controller->discoveredDevices().size(), 1);

        rig.controller->stopScan();
        QCOMPARE(rig.state(), T::ready);
        QTRY_VERIFY(!isDiscovering());
        m_bluez->call("SetInRange", StandInBluez::radioA, false);
        rig.controller->startScan();
        QTRY_VERIFY(isDiscovering());
        QTest::qWait(300);
        QVERIFY(rig.controller->discoveredDevices().isEmpty());
        m_bluez->call("SetInRange", StandInBluez::radioA, true);
        QTRY_COMPARE(rig.radioA().value_or(DiscoveredDevice()).rssi, -71);

        rig.controller->stopScan();
        m_bluez->call("ForgetDevices");
        m_bluez->call("SetRssi", StandInBluez::radioA, -58);
        QVERIFY(rig.findRadioA());
        QCOMPARE(rig.radioA()->rssi, -58);
    }

    // Connect, the handshake over notifications, then a direct message that
    // goes out and is delivered; the history file holds it.
    void handshakeAndDeliveredMessage() {
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.connectRadioA());
        QVERIFY(rig.controller->deviceInfo().has_value());
        QVERIFY(!rig.controller->contacts().isEmpty());
        QVERIFY(!rig.controller->channels().isEmpty());
        QVERIFY(rig.controller->connectionError().isEmpty());

        const Contact contact = rig.controller->contacts().first();
        const ConversationID chat = ConversationID::contact(contact.publicKey);
        rig.controller->sendMessage(QStringLiteral("Over the air"), chat);
        const auto lastState = [&] {
            const Conversation conversation =
                rig.controller->conversations().value(chat.conversationKey());
            return conversation.messages.isEmpty() ? ChatMessage::DeliveryState::failed
                                                   : conversation.messages.last().deliveryState;
        };
        QTRY_COMPARE_WITH_TIMEOUT(lastState(), ChatMessage::DeliveryState::delivered, 5000);
        rig.store->flush();
        QFile file(rig.store->filePath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QVERIFY(file.readAll().contains("Over the air"));
    }

    // The radio drops the link, or Bluetooth is switched off: the controller
    // hears of a disconnect first, so every waiting request fails at once
    // and the radio's state goes; a new connection goes through all the same.
    void linkLossResetsTheController_data() {
        QTest::addColumn<bool>("powerOff");
        QTest::addColumn<QList<T>>("states");
        QTest::newRow("radio drops the link") << false << QList<T>{T::disconnected};
        QTest::newRow("Bluetooth off") << true << QList<T>{T::disconnected, T::poweredOff};
    }
    void linkLossResetsTheController() {
        QFETCH(bool, powerOff);
        QFETCH(QList<T>, states);
        QVERIFY(startBluez());
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.connectRadioA());

        m_bluez->call("DropAnswers", StandInBluez::radioA, 1);
        TestSupport::Outcome<MeshEvent> waiting;
        TestSupport::capture(rig.controller->request(MeshProtocol::getBatteryAndStorage(),
                                                     ExpectedResponse::batteryVoltage, 5s),
                             &waiting);
        QTest::qWait(50);
        QVERIFY(!waiting.done);
        QSignalSpy reports(rig.link.get(), &MeshLink::transportStateChanged);
        if (powerOff)
            m_bluez->call("SetPowered", false);
        else
            m_bluez->call("DropRadio", StandInBluez::radioA);
        QTRY_COMPARE(rig.state(), states.constLast());
        QCOMPARE(reports.size(), states.size());
        for (qsizetype i = 0; i < states.size(); ++i)
            QCOMPARE(reports.at(i).at(0).value<T>(), states.at(i));
        QVERIFY(waiting.done);
        QCOMPARE(errorTextOf(waiting), MeshError::notConnected().description());
        QVERIFY(!rig.controller->selfInfo());
        QVERIFY(rig.controller->contacts().isEmpty());
        QVERIFY(rig.controller->connectionError().isEmpty());

        m_bluez->call("SetPowered", true);
        QTRY_VERIFY(rig.state() != T::poweredOff);
        QVERIFY(rig.connectRadioA());
        QCOMPARE(connectAttempts(), 2);
    }

    // BlueZ answers every Connect with an error: three more attempts 0.4 s
    // apart, then a text that says what happened.
    void failingConnectIsRetriedThenExplained() {
        QVERIFY(startBluez());
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("fail"));
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.findRadioA());
        rig.controller->connectToDevice(*rig.radioA());
        for (int attempt = 1; attempt <= BluetoothTransport::maxConnectRetries; ++attempt) {
            QTRY_COMPARE(connectAttempts(), attempt);
            QTest::qWait(30); // the error reply reaches the link
            QCOMPARE(rig.state(), T::connecting);
            rig.clock.advance(BluetoothTransport::retryDelay);
        }
        QTRY_COMPARE(rig.state(), T::disconnected);
        QCOMPARE(connectAttempts(), 1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.controller->connectionError(), QtBleAdapter::connectFailedText);
    }

    // BlueZ never answers Connect: the link gives up on its own clock, tells
    // BlueZ to cancel, and the next attempt is not refused as in progress.
    void unansweredConnectIsCancelledAndRetried() {
        QVERIFY(startBluez());
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("hang"));
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(rig.findRadioA());
        rig.controller->connectToDevice(*rig.radioA());
        QTRY_COMPARE(connectAttempts(), 1);

        rig.clock.advance(BluetoothTransport::connectTimeout);
        // The link's own Disconnect ends the attempt at BlueZ at once; the
        // retry goes out only once BlueZ has answered it.
        QTRY_COMPARE(m_bluez->call("DisconnectCalls", StandInBluez::radioA).toInt(), 1);
        QCOMPARE(rig.state(), T::connecting);

        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("succeed"));
        rig.clock.advance(BluetoothTransport::retryDelay);
        QTRY_COMPARE_WITH_TIMEOUT(rig.state(), T::connected, 5000);
        QCOMPARE(connectAttempts(), 2);
        QTRY_VERIFY(!rig.controller->isSyncing());
        QVERIFY(rig.controller->selfInfo().has_value());
    }

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

QTEST_GUILESS_MAIN(TestE2eLink)
#include "test_e2e_link.moc"
