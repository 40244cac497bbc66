#include "controller_rig.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

class TestMeshController : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void verifiedKeysLoad_data() {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<int>("loaded");
        QTest::newRow("absent") << QVariant() << 0;
        QTest::newRow("object of texts") << QVariant(QByteArray(R"({"aa":"Ann","bb":"Bob"})")) << 2;
        QTest::newRow("not JSON") << QVariant(QByteArray("{aa")) << 0;
        QTest::newRow("an array") << QVariant(QByteArray(R"(["aa"])")) << 0;
        QTest::newRow("a number among texts")
            << QVariant(QByteArray(R"({"aa":"Ann","bb":7})")) << 0;
    }
    void verifiedKeysLoad() {
        QFETCH(QVariant, stored);
        QFETCH(int, loaded);
        ControllerRig rig(false);
        if (stored.isValid())
            rig.settings->setValue(QLatin1String(MeshController::verifiedKeysKey), stored);
        rig.settings->setValue(QLatin1String(MeshController::favoritesKey),
                               QStringList{"aa", "bb", "aa"});
        rig.buildController();
        QCOMPARE(rig.controller->verifiedKeys().size(), loaded);
        if (loaded)
            QCOMPARE(rig.controller->verifiedKeys().value("bb"), QStringLiteral("Bob"));
        QCOMPARE(rig.controller->favorites(), (QSet<QString>{"aa", "bb"}));
    }

    void historyLoadKeepsTheLaterOfTwoEqualTargets() {
        ControllerRig rig(false);
        Conversation first{ConversationID::channel(3), {}, distantPast(), 1};
        Conversation second{ConversationID::channel(3), {}, distantPast(), 4};
        Conversation other{ConversationID::contact(keyOf('a')), {}, distantPast(), 2};
        rig.store->save({first, other, second});
        rig.store->flush();
        rig.buildController();
        QCOMPARE(rig.controller->conversations().size(), 2);
        QCOMPARE(rig.controller->conversations()["channel:3"].unreadCount, 4);
        QCOMPARE(rig.controller->totalUnreadCount(), 6);
    }

    // A history file may hold any 64-bit count; sums and increments stop at
    // the largest rather than wrap round.
    void unreadCountsFromTheFileNeverOverflow() {
        ControllerRig rig(false);
        const qint64 most = std::numeric_limits<qint64>::max();
        rig.store->save({Conversation{ConversationID::channel(1), {}, distantPast(), most},
                         Conversation{ConversationID::channel(2), {}, distantPast(), most}});
        rig.store->flush();
        rig.buildController();
        QCOMPARE(rig.controller->totalUnreadCount(), most);
        rig.controller->appendMessage(incomingMessage(QStringLiteral("x"), rig.clock.now()),
                                      ConversationID::channel(1));
        QCOMPARE(rig.controller->conversations()["channel:1"].unreadCount, most);
        QCOMPARE(rig.controller->totalUnreadCount(), most);
    }

    void contactEventUpdatesInPlace() {
        ControllerRig rig;
        rig.deliver(Events::Contact{makeContact(keyOf('a'), "Ann")});
        rig.deliver(Events::Contact{makeContact(keyOf('b'), "Bob")});
        QSignalSpy changed(rig.controller.get(), &MeshController::contactChanged);
        QSignalSpy inserted(rig.controller.get(), &MeshController::contactInserted);
        QSignalSpy list(rig.controller.get(), &MeshController::contactsChanged);

        rig.deliver(Events::Contact{makeContact(keyOf('a'), "Anna")});
        rig.deliver(Events::Contact{makeContact(keyOf('a'), "Anna")}); // equal: no signal

        QCOMPARE(rig.controller->contacts().size(), 2);
        QCOMPARE(rig.controller->contacts()[0].name, QStringLiteral("Anna"));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().first().toInt(), 0);
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(list.count(), 1);
    }

    void newAdvertAddsOnlyUnknownNodes() {
        ControllerRig rig;
        rig.deliver(Events::Contact{makeContact(keyOf('a'), "Ann")});
        QSignalSpy added(rig.controller.get(), &MeshController::conversationAdded);

        rig.deliver(Events::NewAdvert{makeContact(keyOf('a'), "Renamed")});
        QCOMPARE(rig.controller->contacts()[0].name, QStringLiteral("Ann"));
        QCOMPARE(added.count(), 0);

        rig.deliver(Events::NewAdvert{makeContact(keyOf('c'), "Cid")});
        QCOMPARE(rig.controller->contacts().size(), 2);
        QCOMPARE(rig.controller->contacts()[1].name, QStringLiteral("Cid"));
        QCOMPARE(added.count(), 1);
        const Conversation conversation =
            rig.controller->conversations()[QStringLiteral("contact:") + keyOf('c')];
        QVERIFY(conversation.messages.isEmpty());
        QCOMPARE(conversation.lastActivity, distantPast());
        QVERIFY(!rig.savedHistory()); // reaches the file only with a later save
    }

    void scanResultsUpdateInPlace() {
        ControllerRig rig;
        const QUuid a = QUuid::createUuid();
        Q_EMIT rig.link.transportDiscovered({a, QStringLiteral("A"), -80, {}});
        Q_EMIT rig.link.transportDiscovered({QUuid::createUuid(), QStringLiteral("B"), -60, {}});
        QSignalSpy changed(rig.controller.get(), &MeshController::discoveredDeviceChanged);

        Q_EMIT rig.link.transportDiscovered({a, QStringLiteral("A"), -50, {}});
        Q_EMIT rig.link.transportDiscovered({a, QStringLiteral("A"), -50, {}});

        QCOMPARE(rig.controller->discoveredDevices().size(), 2);
        QCOMPARE(rig.controller->discoveredDevices()[0].rssi, -50);
        QCOMPARE(changed.count(), 1);
    }

    // Observers hear of a change once; an equal value notifies nothing.
    void equalWritesNotifyNothing() {
        ControllerRig rig;
        MeshController* c = rig.controller.get();
        QSignalSpy battery(c, &MeshController::batteryChanged);
        QSignalSpy time(c, &MeshController::deviceTimeChanged);
        QSignalSpy selection(c, &MeshController::selectedConversationChanged);
        QSignalSpy state(c, &MeshController::transportStateChanged);
        QSignalSpy error(c, &MeshController::connectionErrorChanged);
        QSignalSpy channels(c, &MeshController::channelsChanged);

        for (int i = 0; i < 2; ++i) {
            rig.deliver(Events::Battery{BatteryInfo{3700, {}, {}}});
            rig.deliver(Events::CurrentTime{QDateTime::fromSecsSinceEpoch(5, Qt::UTC)});
            c->setSelectedConversation(ConversationID::channel(0));
            rig.link.setState(TransportState::scanning);
            Q_EMIT rig.link.transportFailed(QStringLiteral("Talvenne service not found"));
            rig.deliver(Events::ChannelInfo{Channel{0, "Unasked", {}}}); // dropped
        }
        QCOMPARE(battery.count(), 1);
        QCOMPARE(time.count(), 1);
        QCOMPARE(selection.count(), 1);
        QCOMPARE(state.count(), 1);
        QCOMPARE(error.count(), 1);
        QCOMPARE(channels.count(), 0);
        QCOMPARE(c->battery()->milliVolts, 3700);
    }

    void userDisconnectAsksTheLinkAndResetsAtOnce() {
        ControllerRig rig;
        rig.connectQuietly();
        rig.deliver(Events::Contact{makeContact(keyOf('a'), "Ann")});
        rig.controller->disconnectFromDevice();
        QCOMPARE(rig.link.disconnectRequests, 1);
        QVERIFY(rig.controller->contacts().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestMeshController)
#include "test_mesh_controller.moc"
