#include "controller_rig.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using TestSupport::hex;
using State = ChatMessage::DeliveryState;

namespace {

const QString contactKey =
    QStringLiteral("0102030405060708091011121314151617181920212223242526272829303132");

const ChatMessage& lastMessage(const MeshController& controller, const ConversationID& target) {
    return controller.conversations()[target.conversationKey()].messages.last();
}

Events::ContactMessage directFrom(const QString& prefix, const QString& text) {
    return {prefix, 1, 0, QDateTime::fromSecsSinceEpoch(1'699'999'000, Qt::UTC), text, {}};
}

} // namespace

class TestMessaging : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void sendTrimsAndStoresBeforeSending() {
        ControllerRig rig;
        rig.connectQuietly();
        const auto target = ConversationID::contact(contactKey);
        rig.controller->sendMessage(QStringLiteral("  hello \n"), target);

        const ChatMessage& message = lastMessage(*rig.controller, target);
        QCOMPARE(message.text, QStringLiteral("hello"));
        QCOMPARE(message.deliveryState, State::sending);
        QCOMPARE(message.direction, ChatMessage::Direction::outgoing);
        // 02, type 0, attempt 0, time 1 700 000 000, key prefix, the text.
        QCOMPARE(rig.link.written,
                 QList<QByteArray>{hex("02 00 00 00 f1 53 65 01 02 03 04 05 06") + "hello"});
        QCOMPARE(rig.savedHistory()->first().messages.size(), 1); // saved while sending
        QVERIFY(rig.notifier.posted.isEmpty());

        rig.controller->sendMessage(QStringLiteral(" \n\t"), target);
        QCOMPARE(rig.link.written.size(), 1);
        QCOMPARE(rig.controller->conversations()[target.conversationKey()].messages.size(), 1);
    }

    void directMessageIsSentThenDelivered() {
        ControllerRig rig;
        rig.connectQuietly();
        const auto target = ConversationID::contact(contactKey);
        rig.controller->sendMessage(QStringLiteral("ping"), target);
        rig.deliver(Events::MessageSent{0, 255, 4200});

        const ChatMessage sent = lastMessage(*rig.controller, target);
        QCOMPARE(sent.deliveryState, State::sent);
        QCOMPARE(sent.expectedAck, 255u);
        QCOMPARE(sent.estimatedTimeoutMillis, 4200u);

        QSignalSpy changed(rig.controller.get(), &MeshController::messageChanged);
        rig.deliver(Events::SendConfirmed{0x000000ff, 900});
        QCOMPARE(lastMessage(*rig.controller, target).deliveryState, State::delivered);
        QCOMPARE(lastMessage(*rig.controller, target).roundTripMillis, 900u);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first(), (QVariantList{target.conversationKey(), 0}));

        rig.deliver(Events::SendConfirmed{255, 1200}); // a repeat is ignored
        QCOMPARE(lastMessage(*rig.controller, target).roundTripMillis, 900u);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(rig.savedHistory()->first().messages.first().deliveryState, State::delivered);
    }

    void channelMessageIsDeliveredOnOk() {
        ControllerRig rig;
        rig.connectQuietly();
        const auto target = ConversationID::channel(2);
        rig.controller->sendMessage(QStringLiteral("hi all"), target);
        QCOMPARE(rig.link.written, QList<QByteArray>{hex("03 00 02 00 f1 53 65") + "hi all"});
        rig.deliver(Events::Ok{});

        const ChatMessage& message = lastMessage(*rig.controller, target);
        QCOMPARE(message.deliveryState, State::delivered);
        QVERIFY(!message.expectedAck);
        QVERIFY(!message.roundTripMillis);
    }

    void sendFailures_data() {
        QTest::addColumn<bool>("connected");
        QTest::addColumn<QString>("target"); // "contact:<key>" or "channel:<index>"
        QTest::addColumn<bool>("errorReply");
        QTest::addColumn<bool>("writes");
        QTest::newRow("not connected") << false << "contact:" + contactKey << false << false;
        QTest::newRow("no answer in 8 s") << true << "contact:" + contactKey << false << true;
        QTest::newRow("error reply") << true << "contact:" + contactKey << true << true;
        QTest::newRow("channel, error reply")
            << true << QStringLiteral("channel:1") << true << true;
        QTest::newRow("key not hex") << true << QStringLiteral("contact:xyz") << false << false;
        QTest::newRow("channel index past one byte")
            << true << QStringLiteral("channel:300") << false << false;
    }
    void sendFailures() {
        QFETCH(bool, connected);
        QFETCH(QString, target);
        QFETCH(bool, errorReply);
        QFETCH(bool, writes);

        ControllerRig rig;
        if (connected)
            rig.connectQuietly();
        const auto id = target.startsWith(QLatin1String("channel:"))
                            ? ConversationID::channel(target.mid(8).toInt())
                            : ConversationID::contact(target.mid(8));
        rig.controller->sendMessage(QStringLiteral("x"), id);
        QCOMPARE(rig.link.written.size(), writes ? 1 : 0);
        if (errorReply) {
            rig.deliver(Events::Error{MeshProtocol::DeviceError::tableFull});
        } else if (writes) {
            rig.clock.advance(7999ms);
            QCOMPARE(lastMessage(*rig.controller, id).deliveryState, State::sending);
            rig.clock.advance(1ms);
        }
        QCOMPARE(lastMessage(*rig.controller, id).deliveryState, State::failed);
    }

    void hopCountComesFromTheKnownPath_data() {
        QTest::addColumn<int>("outPathLength");
        QTest::addColumn<std::optional<int>>("hopCount");
        QTest::newRow("two hops") << 2 << std::optional<int>(2);
        QTest::newRow("direct neighbour") << 0 << std::optional<int>(0);
        QTest::newRow("no known path") << -1 << std::optional<int>();
    }
    void hopCountComesFromTheKnownPath() {
        QFETCH(int, outPathLength);
        QFETCH(std::optional<int>, hopCount);
        ControllerRig rig;
        rig.connectQuietly();
        rig.deliver(Events::Contact{makeContact(contactKey, "Ann", 0, std::int8_t(outPathLength))});
        const auto target = ConversationID::contact(contactKey);
        rig.controller->sendMessage(QStringLiteral("x"), target);
        rig.clock.advance(8s); // the send fails; the hop count stays
        QCOMPARE(lastMessage(*rig.controller, target).deliveryState, State::failed);
        QCOMPARE(lastMessage(*rig.controller, target).hopCount, hopCount);
    }

    void incomingDirectMessageFindsItsConversation_data() {
        QTest::addColumn<bool>("known");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("title");
        QTest::newRow("known sender") << true << contactKey << QStringLiteral("Ann");
        QTest::newRow("unknown sender") << false << contactKey.left(12) << contactKey.left(12);
    }
    void incomingDirectMessageFindsItsConversation() {
        QFETCH(bool, known);
        QFETCH(QString, key);
        QFETCH(QString, title);
        ControllerRig rig;
        if (known)
            rig.deliver(Events::Contact{makeContact(contactKey, "Ann")});
        rig.deliver(directFrom(contactKey.left(12), QStringLiteral("moi")));

        const QString conversationKey = QStringLiteral("contact:") + key;
        QCOMPARE(rig.controller->conversations().keys(), QStringList{conversationKey});
        QCOMPARE(rig.controller->conversations()[conversationKey].unreadCount, 1);
        QCOMPARE(rig.notifier.posted.size(), 1);
        QCOMPARE(rig.notifier.posted[0].title, title);
        QCOMPARE(rig.notifier.posted[0].body, QStringLiteral("moi"));
        QCOMPARE(rig.notifier.posted[0].thread, conversationKey);
        QCOMPARE(rig.notifier.badges, QList<std::int64_t>{1});
    }

    // Unread and notification only when the user is not looking at it.
    void viewingSuppressesUnreadAndNotification_data() {
        QTest::addColumn<bool>("selected");
        QTest::addColumn<bool>("active");
        QTest::addColumn<bool>("counted");
        QTest::newRow("selected and active") << true << true << false;
        QTest::newRow("selected, app in background") << true << false << true;
        QTest::newRow("other conversation selected") << false << true << true;
    }
    void viewingSuppressesUnreadAndNotification() {
        QFETCH(bool, selected);
        QFETCH(bool, active);
        QFETCH(bool, counted);
        ControllerRig rig;
        rig.deliver(Events::ChannelMessage{0, 0, 0, {}, QStringLiteral("one"), {}});
        rig.controller->setSelectedConversation(ConversationID::channel(selected ? 3 : 4));
        rig.controller->setApplicationActive(active);
        QSignalSpy total(rig.controller.get(), &MeshController::totalUnreadCountChanged);

        rig.deliver(Events::ChannelMessage{3, 0, 0, {}, QStringLiteral("two"), {}});

        QCOMPARE(rig.controller->conversations()["channel:3"].unreadCount, counted ? 1 : 0);
        QCOMPARE(rig.notifier.posted.size(), counted ? 2 : 1);
        QCOMPARE(rig.notifier.posted.last().title,
                 counted ? QStringLiteral("Channel 3") : QStringLiteral("Channel 0"));
        QCOMPARE(rig.notifier.badges, (QList<std::int64_t>{1, counted ? 2 : 1}));
        QCOMPARE(total.count(), counted ? 1 : 0);
    }

    void markConversationRead() {
        ControllerRig rig;
        const auto channel = ConversationID::channel(1);
        rig.controller->ensureConversation(channel);
        rig.controller->markConversationRead(channel); // nothing to clear: nothing written
        QVERIFY(!rig.savedHistory());
        QVERIFY(rig.notifier.badges.isEmpty());
        QVERIFY(rig.notifier.withdrawn.isEmpty());

        rig.deliver(Events::ChannelMessage{1, 0, 0, {}, QStringLiteral("a"), {}});
        rig.deliver(Events::ChannelMessage{1, 0, 0, {}, QStringLiteral("b"), {}});
        QCOMPARE(rig.controller->totalUnreadCount(), 2);
        QSignalSpy changed(rig.controller.get(), &MeshController::conversationChanged);
        rig.controller->markConversationRead(channel);
        QCOMPARE(rig.controller->totalUnreadCount(), 0);
        QCOMPARE(rig.notifier.badges.last(), 0);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(rig.savedHistory()->first().unreadCount, 0);
        // Read: its notification goes away.
        QCOMPARE(rig.notifier.withdrawn, QStringList{channel.conversationKey()});
    }
};

QTEST_GUILESS_MAIN(TestMessaging)
#include "test_messaging.moc"
