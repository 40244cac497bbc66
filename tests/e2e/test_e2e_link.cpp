#include "bluez_rig.h"
#include "controller/mesh_error.h"
#include "protocol/mesh_protocol.h"
#include "sim_rig.h"

#include <QSignalSpy>

using namespace std::chrono_literals;
using T = TransportState;

// The link end to end over the stand-in BlueZ: scanning, connecting, the
// handshake over notifications, a message and its delivery, drops,
// reconnection, and connection attempts that fail or are never answered.
class TestE2eLink : public QObject {
    Q_OBJECT

    PrivateBus m_bus;
    std::unique_ptr<StandInBluez> m_bluez;

    // Scans until radio A is listed.
    static std::optional<DiscoveredDevice> scanForRadioA(LinkRig& rig) {
        rig.controller->startScan();
        [&] { QTRY_VERIFY_WITH_TIMEOUT(rig.device(StandInBluez::radioAName).has_value(), 5000); }();
        return rig.device(StandInBluez::radioAName);
    }

    // Scans, connects to radio A and waits for the handshake to end.
    static bool connectRadioA(LinkRig& rig) {
        const auto found = scanForRadioA(rig);
        if (!found)
            return false;
        rig.controller->connectToDevice(*found);
        return QTest::qWaitFor(
                   [&] { return rig.state() == T::connected && !rig.controller->isSyncing(); },
                   10000) &&
               rig.controller->selfInfo().has_value();
    }

    QCoro::Task<MeshEvent> waitingRequest(LinkRig& rig) {
        // Battery: one short answer that the radio will leave out.
        return rig.controller->request(MeshProtocol::getBatteryAndStorage(),
                                       ExpectedResponse::batteryVoltage, 5s);
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY2(m_bus.start(), "could not start a private dbus-daemon");
    }

    void init() {
        m_bluez = std::make_unique<StandInBluez>();
        QVERIFY(m_bluez->start());
        m_bluez->call("AddRadio", StandInBluez::radioA, StandInBluez::radioAName, -58);
    }
    void cleanup() { m_bluez.reset(); }

    // Each advertisement is listed once, with its newest signal.
    void scanListsTheRadioOncePerAdvertisement() {
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QSignalSpy reports(rig.link.get(), &MeshLink::transportDiscovered);
        QVERIFY(scanForRadioA(rig));
        QCOMPARE(rig.state(), T::scanning);
        QVERIFY(m_bluez->call("IsDiscovering").toBool());
        QTest::qWait(300); // three advertising rounds with an unchanged signal
        QCOMPARE(reports.count(), 1);
        QCOMPARE(rig.device(StandInBluez::radioAName)->rssi, -58);

        m_bluez->call("SetRssi", StandInBluez::radioA, -71);
        QTRY_COMPARE(rig.device(StandInBluez::radioAName)->rssi, -71);
        QCOMPARE(reports.count(), 2);
        QCOMPARE(rig.controller->discoveredDevices().size(), 1);

        rig.controller->stopScan();
        QCOMPARE(rig.state(), T::ready);
        QTRY_VERIFY(!m_bluez->call("IsDiscovering").toBool());
    }

    // A radio BlueZ still knows from before is not listed until it is heard;
    // one it forgot is new again.
    void knownRadioIsListedOnlyOnceHeard() {
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(scanForRadioA(rig));
        rig.controller->stopScan();
        QTRY_VERIFY(!m_bluez->call("IsDiscovering").toBool());
        m_bluez->call("SetInRange", StandInBluez::radioA, false);

        rig.controller->startScan();
        QTRY_VERIFY(m_bluez->call("IsDiscovering").toBool());
        QTest::qWait(300);
        QVERIFY(rig.controller->discoveredDevices().isEmpty());

        m_bluez->call("SetInRange", StandInBluez::radioA, true);
        QTRY_VERIFY(rig.device(StandInBluez::radioAName).has_value());
        QCOMPARE(rig.device(StandInBluez::radioAName)->rssi, -58);

        rig.controller->stopScan();
        m_bluez->call("ForgetDevices");
        rig.controller->startScan();
        QTRY_VERIFY(rig.device(StandInBluez::radioAName).has_value());
        QCOMPARE(rig.device(StandInBluez::radioAName)->rssi, -58);
    }

    // Connect, the handshake over notifications, then a direct message that
    // goes out and is delivered; the history file holds it.
    void handshakeAndDeliveredMessage() {
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(connectRadioA(rig));
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

    // The radio drops the link: the controller resets, every waiting request
    // fails, and a new connection goes through all the same.
    void dropResetsAndReconnects() {
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        QVERIFY(connectRadioA(rig));

        m_bluez->call("DropAnswers", StandInBluez::radioA, 1);
        TestSupport::Outcome<MeshEvent> waiting;
        TestSupport::capture(waitingRequest(rig), &waiting);
        QTest::qWait(50);
        QVERIFY(!waiting.done);

        m_bluez->call("DropRadio", StandInBluez::radioA);
        QTRY_COMPARE(rig.state(), T::disconnected);
        QVERIFY(waiting.done);
        QCOMPARE(errorTextOf(waiting), MeshError::notConnected().description());
        QVERIFY(!rig.controller->selfInfo());
        QVERIFY(rig.controller->contacts().isEmpty());
        QVERIFY(rig.controller->connectionError().isEmpty());

        QVERIFY(connectRadioA(rig));
        QCOMPARE(m_bluez->call("ConnectAttempts", StandInBluez::radioA).toInt(), 2);
    }

    // BlueZ answers every Connect with an error: three more attempts 0.4 s
    // apart, then a text that says what happened.
    void failingConnectIsRetriedThenExplained() {
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("fail"));
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        const auto found = scanForRadioA(rig);
        QVERIFY(found);
        rig.controller->connectToDevice(*found);
        for (int attempt = 1; attempt <= BluetoothTransport::maxConnectRetries; ++attempt) {
            QTRY_COMPARE(m_bluez->call("ConnectAttempts", StandInBluez::radioA).toInt(), attempt);
            QTest::qWait(30); // the error reply reaches the link
            QCOMPARE(rig.state(), T::connecting);
            rig.clock.advance(BluetoothTransport::retryDelay);
        }
        QTRY_COMPARE(rig.state(), T::disconnected);
        QCOMPARE(m_bluez->call("ConnectAttempts", StandInBluez::radioA).toInt(),
                 1 + BluetoothTransport::maxConnectRetries);
        QCOMPARE(rig.controller->connectionError(), QtBleAdapter::connectFailedText);
    }

    // BlueZ never answers Connect: the link gives up on its own clock, tells
    // BlueZ to cancel, and the next attempt is not refused as in progress.
    void unansweredConnectIsCancelledAndRetried() {
        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("hang"));
        LinkRig rig;
        QTRY_COMPARE(rig.state(), T::ready);
        const auto found = scanForRadioA(rig);
        QVERIFY(found);
        rig.controller->connectToDevice(*found);
        QTRY_COMPARE(m_bluez->call("ConnectAttempts", StandInBluez::radioA).toInt(), 1);

        rig.clock.advance(BluetoothTransport::connectTimeout);
        QTRY_COMPARE(m_bluez->call("DisconnectCalls", StandInBluez::radioA).toInt(), 1);
        QCOMPARE(rig.state(), T::connecting);

        m_bluez->call("SetConnectMode", StandInBluez::radioA, QStringLiteral("succeed"));
        rig.clock.advance(BluetoothTransport::retryDelay);
        QTRY_COMPARE_WITH_TIMEOUT(rig.state(), T::connected, 5000);
        QCOMPARE(m_bluez->call("ConnectAttempts", StandInBluez::radioA).toInt(), 2);
        QTRY_VERIFY(!rig.controller->isSyncing());
        QVERIFY(rig.controller->selfInfo().has_value());
    }
};

QTEST_GUILESS_MAIN(TestE2eLink)
#include "test_e2e_link.moc"
