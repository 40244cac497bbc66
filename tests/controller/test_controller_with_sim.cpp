// The controller against the simulated radio: real frames both ways.

#include "sim_rig.h"

#include <QTest>

using namespace std::chrono_literals;
using State = ChatMessage::DeliveryState;

class TestControllerWithSim : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void handshakeThenDirectMessageRoundTrip() {
        SimRig rig(7);
        ManualClock& clock = rig.clock;
        SimulatedRadio& radio = rig.radio;
        MeshController& controller = *rig.controller;

        const qint64 base = clock.now().toSecsSinceEpoch() - 1000;
        radio.addContact(makeContact(keyOf('1'), "Ten", base + 10, 2));
        radio.addContact(makeContact(keyOf('3'), "Thirty", base + 30));
        radio.addContact(makeContact(keyOf('2'), "Twenty", base + 20));
        radio.queueIncomingChannel(0, QStringLiteral("Ann: moi"), clock.now().addSecs(-60));
        radio.queueIncomingDirect(keyOf('3'), QStringLiteral("hei"), clock.now().addSecs(-30));

        controller.startScan();
        clock.advance(2s);
        QCOMPARE(controller.discoveredDevices().size(), 1);
        controller.connectToDevice(controller.discoveredDevices().first());
        clock.advance(1s);
        QCOMPARE(controller.transportState(), TransportState::connected);
        QVERIFY(controller.isSyncing());
        clock.advance(10s);

        QVERIFY(!controller.isSyncing());
        QCOMPARE(controller.selfInfo(), radio.selfInfo());
        QCOMPARE(controller.deviceInfo(), radio.deviceInfo());
        QCOMPARE(controller.battery(), radio.battery());
        QStringList names;
        for (const Contact& contact : controller.contacts())
            names << contact.name;
        QCOMPARE(names, (QStringList{"Thirty", "Twenty", "Ten"}));
        QCOMPARE(controller.channels(), radio.channels());
        QVERIFY(controller.connectionError().isEmpty());
        QCOMPARE(radio.queuedMessageCount(), 0);
        QCOMPARE(controller.conversations()["channel:0"].messages.last().text,
                 QStringLiteral("Ann: moi"));
        const QString thirty = QStringLiteral("contact:") + keyOf('3');
        QCOMPARE(controller.conversations()[thirty].messages.last().text, QStringLiteral("hei"));
        QCOMPARE(controller.totalUnreadCount(), 2);
        QCOMPARE(rig.notifier.posted.size(), 2);

        const auto ten = ConversationID::contact(keyOf('1'));
        controller.sendMessage(QStringLiteral("ping"), ten);
        const auto last = [&] {
            return controller.conversations()[ten.conversationKey()].messages.last();
        };
        QCOMPARE(last().deliveryState, State::sending);
        QCOMPARE(last().hopCount, 2);
        clock.advance(100ms);
        QCOMPARE(last().deliveryState, State::sent);
        QVERIFY(last().expectedAck);
        clock.advance(2s);
        QCOMPARE(last().deliveryState, State::delivered);
        QVERIFY(last().roundTripMillis.value_or(0) > 0);

        radio.dropLink();
        QVERIFY(controller.contacts().isEmpty());
        QCOMPARE(controller.conversations()[ten.conversationKey()].messages.size(), 1);
    }
};

QTEST_GUILESS_MAIN(TestControllerWithSim)
#include "test_controller_with_sim.moc"
