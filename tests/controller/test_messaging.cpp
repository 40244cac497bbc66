#include "controller_rig.h"
#include "history_samples.h"
#include "sim_rig.h"
#include "test_support.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <thread>

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

// The files in the folder, the lock aside.
QStringList historyFilesIn(const QString& folder) {
    QStringList files = QDir(folder).entryList(QDir::Files | QDir::System, QDir::Name);
    files.removeAll(QStringLiteral("conversations.json.lock"));
    files.removeAll(QStringLiteral("settings.ini"));
    return files;
}

} // namespace

class TestMessaging : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // A direct message: trimmed, saved while sending, then sent and delivered.
    void directMessageIsStoredSentThenDelivered() {
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
        rig.controller->sendMessage(QStringLiteral(" \n\t"), target); // blank: nothing
        QCOMPARE(rig.link.written.size(), 1);

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
        QCOMPARE(rig.savedHistory()->first().messages.size(), 1);
        QCOMPARE(rig.savedHistory()->first().messages.first().deliveryState, State::delivered);
    }

    // The radio's late answer for a timed-out message is not kept by the
    // message after it (sent again or new, at once or a minute later, one or
    // two of them): each ends with the acknowledgement code issued for it, so
    // the timed-out one's confirmation delivers none of them.
    void lateAnswerStaysWithItsMessage_data() {
        QTest::addColumn<bool>("again");
        QTest::addColumn<int>("secondsLater");
        QTest::addColumn<int>("next"); // messages sent after the timed-out one
        // The timed-out one's confirmation before the next one's own answer:
        // the delivery it showed goes with the code it came for.
        QTest::addColumn<bool>("confirmedEarly");
        QTest::newRow("a new message") << false << 0 << 1 << false;
        QTest::newRow("sent again") << true << 0 << 1 << false;
        QTest::newRow("sent again a minute later") << true << 60 << 1 << false;
        QTest::newRow("two new messages") << false << 0 << 2 << false;
        QTest::newRow("sent again, confirmed early") << true << 0 << 1 << true;
    }
    void lateAnswerStaysWithItsMessage() {
        QFETCH(bool, again);
        QFETCH(int, secondsLater);
        QFETCH(int, next);
        QFETCH(bool, confirmedEarly);
        ControllerRig rig;
        rig.connectQuietly();
        const auto target = ConversationID::contact(contactKey);
        rig.controller->sendMessage(QStringLiteral("first"), target);
        rig.clock.advance(8s);
        const ChatMessage failed = lastMessage(*rig.controller, target);
        QCOMPARE(failed.deliveryState, State::failed);
        rig.clock.advance(std::chrono::seconds(secondsLater));

        if (again)
            QVERIFY(rig.controller->sendAgain(failed.id, target));
        for (int n = again ? 1 : 0; n < next; ++n)
            rig.controller->sendMessage(QStringLiteral("next %1").arg(n), target);
        rig.deliver(Events::MessageSent{0, 0xa0, 3000}); // the first one's, late
        if (confirmedEarly)
            rig.deliver(Events::SendConfirmed{0xa0, 700});
        for (int n = 1; n <= next; ++n)
            rig.deliver(Events::MessageSent{0, std::uint32_t(0xa0 + n), 4000});
        rig.deliver(Events::SendConfirmed{0xa0, 700});

        const MessageList messages =
            rig.controller->conversations()[target.conversationKey()].messages.mid(again ? 0 : 1);
        QCOMPARE(messages.size(), next);
        for (int n = 1; n <= next; ++n) {
            QCOMPARE(messages[n - 1].deliveryState, State::sent);
            QCOMPARE(messages[n - 1].expectedAck, std::uint32_t(0xa0 + n));
            QCOMPARE(messages[n - 1].estimatedTimeoutMillis, 4000u);
            QCOMPARE(messages[n - 1].roundTripMillis, std::nullopt);
        }
        rig.deliver(Events::SendConfirmed{0xa0 + std::uint32_t(next), 900});
        const ChatMessage last = lastMessage(*rig.controller, target);
        QCOMPARE(last.deliveryState, State::delivered);
        QCOMPARE(last.roundTripMillis, 900u);
        QCOMPARE(rig.savedHistory()->first().messages.last().expectedAck,
                 std::uint32_t(0xa0 + next));
    }

    // A burst of pushes starts a drain each; a channel message sent meanwhile
    // goes out right after the read in flight, ahead of the other drain's
    // read. The radio's ok delivers it; its error fails it at once. Either
    // way the drains go on.
    void aChannelMessageGoesBetweenDrainReads_data() {
        QTest::addColumn<bool>("refused");
        QTest::newRow("accepted") << false;
        QTest::newRow("refused") << true;
    }
    void aChannelMessageGoesBetweenDrainReads() {
        QFETCH(bool, refused);
        ControllerRig rig;
        rig.connectQuietly();
        auto first = rig.controller->syncMessages();
        auto second = rig.controller->syncMessages();
        const auto channel = ConversationID::channel(2);
        rig.controller->sendMessage(QStringLiteral("hi all"), channel);
        QCOMPARE(rig.link.written, QList<QByteArray>{hex("0a")});

        rig.deliver(directFrom(QStringLiteral("aaaaaaaaaaaa"), QStringLiteral("one")));
        QCOMPARE(rig.link.written.last(), hex("03 00 02 00 f1 53 65") + "hi all");
        if (refused)
            rig.deliver(Events::Error{MeshProtocol::DeviceError::tableFull});
        else
            rig.deliver(Events::Ok{});
        const ChatMessage& message = lastMessage(*rig.controller, channel);
        QCOMPARE(message.deliveryState, refused ? State::failed : State::delivered);
        QVERIFY(!message.expectedAck);
        QVERIFY(!message.roundTripMillis);

        QCOMPARE(rig.link.written.last(), hex("0a"));
        rig.deliver(directFrom(QStringLiteral("aaaaaaaaaaaa"), QStringLiteral("two")));
        while (rig.controller->pendingRequestCount() > 0 && rig.link.written.size() < 10)
            rig.deliver(Events::NoMoreMessages{});
        QCOMPARE(rig.controller->conversations().value("contact:aaaaaaaaaaaa").messages.size(), 2);
        QCOMPARE(rig.controller->pendingRequestCount(), 0);
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    // The acknowledgement look-up does not keep messages for ever: a
    // confirmation more than a day late is ignored.
    void confirmationAfterADayIsIgnored() {
        ControllerRig rig;
        rig.connectQuietly();
        const auto target = ConversationID::contact(contactKey);
        rig.controller->sendMessage(QStringLiteral("old"), target);
        rig.deliver(Events::MessageSent{0, 1, 4000});
        rig.clock.advance(std::chrono::hours(25));
        rig.controller->sendMessage(QStringLiteral("new"), target);
        rig.deliver(Events::MessageSent{0, 2, 4000});

        rig.deliver(Events::SendConfirmed{1, 900});
        rig.deliver(Events::SendConfirmed{2, 800});
        const auto& messages = rig.controller->conversations()[target.conversationKey()].messages;
        QCOMPARE(messages.at(0).deliveryState, State::sent);
        QCOMPARE(messages.at(1).deliveryState, State::delivered);
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

    // Only a failed outgoing message is sent again: as a new message at the
    // end with the same text, the failed one gone, both in one save.
    void sendAgain_data() {
        QTest::addColumn<ChatMessage::Direction>("direction");
        QTest::addColumn<State>("state");
        QTest::addColumn<bool>("knownId");
        QTest::addColumn<bool>("sent");
        const auto out = ChatMessage::Direction::outgoing;
        QTest::newRow("failed") << out << State::failed << true << true;
        QTest::newRow("sending") << out << State::sending << true << false;
        QTest::newRow("delivered") << out << State::delivered << true << false;
        QTest::newRow("incoming") << ChatMessage::Direction::incoming << State::failed << true
                                  << false;
        QTest::newRow("unknown id") << out << State::failed << false << false;
    }
    void sendAgain() {
        QFETCH(ChatMessage::Direction, direction);
        QFETCH(State, state);
        QFETCH(bool, knownId);
        QFETCH(bool, sent);

        ControllerRig rig;
        rig.connectQuietly();
        const auto target = ConversationID::contact(contactKey);
        const ChatMessage before = incomingMessage(QStringLiteral("before"), rig.clock.now());
        ChatMessage message = incomingMessage(QStringLiteral("try me"), rig.clock.now());
        message.direction = direction;
        message.deliveryState = state;
        const ChatMessage after = incomingMessage(QStringLiteral("after"), rig.clock.now());
        for (const ChatMessage& m : {before, message, after})
            rig.controller->appendMessage(m, target);
        rig.clock.advance(60s);
        const auto stored = rig.controller->conversations()[target.conversationKey()].messages;

        QSignalSpy removed(rig.controller.get(), &MeshController::messageRemoved);
        QSignalSpy appended(rig.controller.get(), &MeshController::messageAppended);
        QCOMPARE(rig.controller->sendAgain(knownId ? message.id : QUuid::createUuid(), target),
                 sent);

        const auto messages = rig.controller->conversations()[target.conversationKey()].messages;
        if (!sent) {
            QCOMPARE(messages, stored);
            QVERIFY(rig.link.written.isEmpty());
            QCOMPARE(removed.count() + appended.count(), 0);
            return;
        }
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.first(), (QVariantList{target.conversationKey(), 1}));
        QCOMPARE(appended.count(), 1);
        QCOMPARE(appended.first(), (QVariantList{target.conversationKey(), 2}));
        QCOMPARE(messages.size(), 3);
        QCOMPARE(messages[0].text, QStringLiteral("before"));
        QCOMPARE(messages[1].text, QStringLiteral("after"));
        const ChatMessage& again = messages[2];
        QVERIFY(again.id != message.id);
        QCOMPARE(again.text, QStringLiteral("try me"));
        QCOMPARE(again.direction, ChatMessage::Direction::outgoing);
        QCOMPARE(again.deliveryState, State::sending);
        QCOMPARE(again.timestamp, rig.clock.now());
        QCOMPARE(rig.link.written.size(), 1);
        QVERIFY(rig.link.written.first().endsWith("try me"));
        QCOMPARE(rig.savedHistory()->first().messages, messages);
    }

    void hopCountComesFromTheKnownPath_data() {
        QTest::addColumn<int>("outPathLength");
        QTest::addColumn<std::optional<int>>("hopCount");
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

    // A frame cut inside the sender's prefix carries no text and names nobody:
    // it must not land in the first contact whose key starts with those bytes.
    void truncatedSenderPrefixIsDropped_data() {
        QTest::addColumn<QString>("prefix");
        QTest::newRow("nothing of the prefix") << QString();
        QTest::newRow("one digit short") << contactKey.left(11);
    }
    void truncatedSenderPrefixIsDropped() {
        QFETCH(QString, prefix);
        ControllerRig rig;
        rig.deliver(Events::Contact{makeContact(contactKey, "Ann")});
        QVERIFY(!rig.controller->contactForPrefix(prefix));
        QVERIFY(rig.controller->contactForPrefix(contactKey.left(12)));
        rig.deliver(directFrom(prefix, QString()));
        QVERIFY(rig.controller->conversations().isEmpty());
        QVERIFY(rig.notifier.posted.isEmpty());
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

    // Each level and kind of message, in the public channel or a direct
    // chat, on the demo radio named "Talvenne Demo": whether it notifies,
    // what the badge counts, and whether the row marks a mention of the
    // user. The unread count grows alike for all.
    void levelDecidesWhatNotifies_data() {
        QTest::addColumn<QString>("level");
        QTest::addColumn<bool>("direct");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("notified");
        QTest::addColumn<int>("badge");
        QTest::addColumn<bool>("mentionsMe");
        struct Kind {
            const char* name;
            bool direct;
            const char* text;
            bool mentionsMe;
        };
        const Kind kinds[] = {
            {"plain", false, "Ann: good morning", false},
            {"mention of me", false, "Ann: @[talvenne DEMO] are you there?", true},
            {"bare mention of part of my name", true, "@Talvenne, hi", false},
            {"mention of someone else", false, "Ann: @Bob lunch?", false},
            {"direct", true, "see you at six", false},
            {"direct mention of me", true, "ping @[Talvenne Demo]!", true},
        };
        for (const char* level : {"all", "mentions", "nothing"}) {
            for (const Kind& kind : kinds) {
                const bool notified = QByteArray(level) == "all" ||
                                      (QByteArray(level) == "mentions" && kind.mentionsMe);
                QTest::addRow("%s, %s", level, kind.name)
                    << QString::fromLatin1(level) << kind.direct << QString::fromUtf8(kind.text)
                    << notified << (QByteArray(level) == "nothing" ? 0 : 1) << kind.mentionsMe;
            }
        }
    }
    void levelDecidesWhatNotifies() {
        QFETCH(QString, level);
        QFETCH(bool, direct);
        QFETCH(QString, text);
        QFETCH(bool, notified);
        QFETCH(int, badge);
        QFETCH(bool, mentionsMe);
        SimRig rig;
        Contact ann = makeContact(keyOf('a'), QStringLiteral("Ann"));
        ann.type = MeshProtocol::AdvertType::chat;
        rig.radio.addContact(ann);
        QVERIFY(rig.connect());
        QCOMPARE(rig.controller->ownName(), QStringLiteral("Talvenne Demo"));
        const auto target =
            direct ? ConversationID::contact(ann.publicKey) : ConversationID::channel(0);
        QVERIFY(rig.controller->setNotificationLevelOf(target.conversationKey(), level) ==
                (level != QStringLiteral("all")));
        QCOMPARE(rig.controller->notificationLevelOf(target.conversationKey()), level);
        rig.notifier.posted.clear();

        if (direct)
            rig.controller->handleEvent(
                Events::ContactMessage{ann.publicKey.left(12), 0, 0, {}, text, {}});
        else
            rig.controller->handleEvent(Events::ChannelMessage{0, 0, 0, {}, text, {}});

        QCOMPARE(rig.controller->conversations()[target.conversationKey()].unreadCount, 1);
        QCOMPARE(rig.controller->totalUnreadCount(), 1);
        QCOMPARE(rig.notifier.posted.size(), notified ? 1 : 0);
        QCOMPARE(rig.controller->badgeCount(), badge);
        QCOMPARE(rig.notifier.badges.last(), badge);
        QCOMPARE(rig.controller->unreadMentionCount(target), mentionsMe ? 1 : 0);

        // Read, and then set back to All: nothing is left over.
        rig.controller->markConversationRead(target);
        QCOMPARE(rig.controller->unreadMentionCount(target), 0);
        rig.controller->setNotificationLevelOf(target.conversationKey(), QStringLiteral("all"));
        QCOMPARE(rig.controller->badgeCount(), 0);
    }

    // Muting keeps the level to come back to; both survive a restart, and
    // the badge leaves a muted conversation out before the radio is back.
    void muteTogglesBackToTheLevelSet() {
        const auto ann = ConversationID::contact(keyOf('a'));
        const auto bob = ConversationID::contact(keyOf('b'));
        ControllerRig rig;
        QVERIFY(rig.controller->setNotificationLevel(ann, NotificationLevel::mentions));
        QVERIFY(rig.controller->toggleMute(ann));
        QVERIFY(rig.controller->toggleMute(bob));
        QCOMPARE(rig.controller->notificationLevel(ann), NotificationLevel::nothing);
        rig.controller->appendMessage(incomingMessage(QStringLiteral("a"), rig.clock.now()), ann);
        rig.controller->appendMessage(incomingMessage(QStringLiteral("c"), rig.clock.now()),
                                      ConversationID::contact(keyOf('c')));
        QCOMPARE(rig.controller->badgeCount(), 1);
        QVERIFY(!rig.controller->setNotificationLevelOf(QStringLiteral("channel:3"),
                                                        QStringLiteral("nothing")));

        MeshController again(&rig.link, &rig.clock, &rig.notifier, rig.store.get(),
                             rig.settings.get());
        QVERIFY(historyIn(again));
        QCOMPARE(again.notificationLevel(ann), NotificationLevel::nothing);
        QCOMPARE(again.totalUnreadCount(), 2);
        QCOMPARE(again.badgeCount(), 1);
        QVERIFY(again.toggleMute(ann));
        QCOMPARE(again.notificationLevel(ann), NotificationLevel::mentions);
        QCOMPARE(again.badgeCount(), 2);
        QVERIFY(again.toggleMute(bob));
        QCOMPARE(again.notificationLevel(bob), NotificationLevel::all);
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

    // After a restart: a message caught mid-send is failed (and saved so), a
    // sent one still turns delivered when its acknowledgement comes.
    void restartEndsSendingAndKeepsWaitingForAcknowledgements() {
        ControllerRig rig;
        const auto alice = ConversationID::contact(keyOf('a'));
        const auto channel = ConversationID::channel(2);
        rig.connectQuietly();
        rig.controller->sendMessage(QStringLiteral("waiting"), alice);
        rig.deliver(Events::MessageSent{0, 0xff, 4000});
        rig.controller->sendMessage(QStringLiteral("in flight"), channel);
        rig.controller->sendMessage(QStringLiteral("mid-send"), alice);
        const QUuid waiting =
            rig.controller->conversations()["contact:" + keyOf('a')].messages[0].id;
        rig.store->flush();
        rig.controller.reset();

        rig.buildController();
        using State = ChatMessage::DeliveryState;
        const auto states = [&](const ConversationID& target) {
            QList<State> list;
            for (const ChatMessage& m :
                 rig.controller->conversations()[target.conversationKey()].messages)
                list.append(m.deliveryState);
            return list;
        };
        QCOMPARE(states(channel), QList<State>{State::failed});
        QCOMPARE(states(alice), (QList<State>{State::sent, State::failed}));
        const QList<Conversation> saved = rig.savedHistory().value();
        QCOMPARE(saved.size(), 2);
        for (const Conversation& c : saved)
            QVERIFY(std::none_of(c.messages.begin(), c.messages.end(), [](const ChatMessage& m) {
                return m.deliveryState == State::sending;
            }));

        rig.deliver(Events::SendConfirmed{0xff, 900});
        QCOMPARE(states(alice), (QList<State>{State::delivered, State::failed}));
        const ChatMessage delivered =
            rig.controller->conversations()["contact:" + keyOf('a')].messages[0];
        QCOMPARE(delivered.id, waiting);
        QCOMPARE(delivered.roundTripMillis, 900u);

        // Read again with nothing to change: every list stays shared with
        // the store's copy of what it read, so the history is held once.
        rig.store->flush();
        rig.controller.reset();
        rig.buildController();
        QCOMPARE(rig.controller->conversations().size(), 2);
        for (const Conversation& c : rig.controller->conversations())
            QVERIFY(c.messages.isShared());
    }

    // After a restart the radio's confirmation is still awaited for a day
    // after the message was sent, and ignored after that.
    void confirmationAfterRestart_data() {
        QTest::addColumn<int>("hoursLater");
        QTest::addColumn<bool>("confirmed");
        QTest::newRow("an hour") << 1 << true;
        QTest::newRow("a day and an hour") << 25 << false;
    }
    void confirmationAfterRestart() {
        QFETCH(int, hoursLater);
        QFETCH(bool, confirmed);
        ControllerRig rig;
        const auto alice = ConversationID::contact(keyOf('a'));
        rig.connectQuietly();
        rig.controller->sendMessage(QStringLiteral("waiting"), alice);
        rig.deliver(Events::MessageSent{0, 0xff, 4000});
        rig.store->flush();
        rig.controller.reset();

        rig.clock.advance(std::chrono::hours(hoursLater));
        rig.buildController();
        rig.connectQuietly();
        rig.deliver(Events::SendConfirmed{0xff, 900});
        using State = ChatMessage::DeliveryState;
        QCOMPARE(rig.controller->conversations()["contact:" + keyOf('a')].messages[0].deliveryState,
                 confirmed ? State::delivered : State::sent);
    }

    // A message costs the UI thread as much at the end of a conversation of
    // 200,000 messages as of 2,000, while the store's writer holds the last
    // snapshot it wrote: nothing copies the conversation.
    void aMessageCostsTheSameInAnyLengthOfConversation_data() {
        QTest::addColumn<bool>("outgoing");
        QTest::newRow("received") << false;
        QTest::newRow("sent, then sent and delivered") << true;
    }
    void aMessageCostsTheSameInAnyLengthOfConversation() {
        QFETCH(bool, outgoing);
        const auto millisPerMessage = [outgoing](int length) {
            ControllerBench<FakeLink> rig(HistorySamples::history(1, length), true);
            const ConversationID target = rig.controller->conversations().cbegin()->target;
            QList<double> costs;
            for (int n = 0; n < 9; ++n) {
                ChatMessage message = HistorySamples::message(length + n);
                message.direction =
                    outgoing ? ChatMessage::Direction::outgoing : ChatMessage::Direction::incoming;
                rig.store->flush();
                QElapsedTimer timer;
                timer.start();
                rig.controller->appendMessage(message, target);
                if (outgoing) {
                    rig.controller->markSent(message.id, target, 0xa0u + n, 4000);
                    rig.controller->markDelivered(message.id, target, 900);
                }
                costs.append(double(timer.nsecsElapsed()) / 1e6);
            }
            std::sort(costs.begin(), costs.end());
            return costs.at(costs.size() / 2);
        };
        const double shortOne = millisPerMessage(2'000);
        const double longOne = millisPerMessage(200'000);
        QVERIFY2(longOne <= 5 * shortOne + 0.5,
                 qPrintable(QStringLiteral("%1 ms against %2 ms").arg(longOne).arg(shortOne)));
    }

    // A window whose history another Talvenne holds sends nothing and leaves
    // the radio's waiting messages there (none of it could be kept), and
    // says why. Once the other has gone it reads what that one left, beside
    // the window (a message that arrives meanwhile goes on top of it), and
    // works as usual, the waiting messages first.
    void historyHeldByAnotherTalvenne() {
        ControllerRig rig(false);
        const QList<Conversation> good{
            Conversation{ConversationID::channel(1), {}, distantPast(), 0}};
        rig.store->save(good);
        rig.store.reset();
        QProcess holder;
        holder.start(QStringLiteral(STORE_PROBE), {QStringLiteral("hold"), rig.historyPath()});
        QVERIFY(holder.waitForReadyRead(30'000));
        rig.store = std::make_unique<ConversationStore>(rig.historyPath());
        rig.buildController();
        rig.connectQuietly();
        QSignalSpy writable(rig.controller.get(), &MeshController::historyWritableChanged);
        QVERIFY(!rig.controller->historyWritable());
        QVERIFY(rig.controller->historyError().contains(QString::number(holder.processId())));

        rig.controller->sendMessage(QStringLiteral("hi"), ConversationID::channel(1));
        rig.deliver(Events::MessagesWaiting{});
        QVERIFY(rig.link.written.isEmpty());
        QVERIFY(rig.controller->conversations()["channel:1"].messages.isEmpty());

        // What the other one left, on a disk slow to give it.
        QList<Conversation> left = good;
        left[0].messages.append(incomingMessage(QStringLiteral("left"), rig.clock.now()));
        std::atomic<bool> windowWentOn = false;
        HistoryHeldBack disk(rig.historyPath());
        QVERIFY(disk.isMade());
        std::thread reader([&] { disk.handOver(encodeConversations(left), &windowWentOn); });
        holder.kill();
        QVERIFY(holder.waitForFinished());
        const bool readBeside = QTest::qWaitFor([&] { return disk.readerCame(); }, 5000);
        windowWentOn = readBeside;
        rig.deliver(
            Events::ChannelMessage{1, 0, 0, rig.clock.now(), QStringLiteral("meanwhile"), {}});
        const bool heldMeanwhile = !rig.controller->historyWritable() && rig.link.written.isEmpty();
        windowWentOn = true;
        reader.join();
        QVERIFY(readBeside && heldMeanwhile);
        QTRY_VERIFY(rig.controller->historyWritable());
        QCOMPARE(writable.size(), 1);
        QTRY_VERIFY(rig.controller->historyError().isEmpty());
        QCOMPARE(rig.link.written, QList<QByteArray>{hex("0a")});
        rig.deliver(Events::NoMoreMessages{});
        rig.controller->sendMessage(QStringLiteral("hi"), ConversationID::channel(1));
        QCOMPARE(rig.link.written.size(), 2);
        const QStringList texts{"left", "meanwhile", "hi"};
        const auto textsOf = [](const MessageList& messages) {
            QStringList list;
            for (const ChatMessage& message : messages)
                list << message.text.toString();
            return list;
        };
        QCOMPARE(textsOf(rig.controller->conversations()["channel:1"].messages), texts);
        QCOMPARE(textsOf(rig.savedHistory()->first().messages), texts);
    }

    // While the history is read the window goes on: a message the radio
    // pushes is shown, nothing is saved, and the radio's waiting messages
    // stay there. Once read, what came goes after the history, into the same
    // conversation, and is saved with it; the waiting messages follow. Quit
    // before then, and the files stay as they were.
    void whatComesBeforeTheHistoryJoinsIt_data() {
        QTest::addColumn<int>("conversation"); // of the history; -1 for a new one
        QTest::addColumn<bool>("quit");
        QTest::newRow("a channel of the history") << 0 << false;
        QTest::newRow("a contact of the history") << 1 << false;
        QTest::newRow("a new contact") << -1 << false;
        QTest::newRow("quit before the history is in") << 1 << true;
    }
    void whatComesBeforeTheHistoryJoinsIt() {
        QFETCH(int, conversation);
        QFETCH(bool, quit);
        const QList<Conversation> history = HistorySamples::history(3, 30);
        const QByteArray file = encodeConversations(history);
        ControllerRig rig(false);
        HistoryHeldBack disk(rig.historyPath());
        QVERIFY(disk.isMade());
        // A snapshot without the history would be dropped with this warning.
        QLoggingCategory::setFilterRules(QStringLiteral("talvenne.store.warning=true"));
        const auto rules = qScopeGuard([] { QLoggingCategory::setFilterRules({}); });
        QTest::failOnWarning(QRegularExpression(QStringLiteral("before the history was read")));
        rig.buildController(false);
        rig.connectQuietly();
        QVERIFY(!rig.controller->historyLoaded());

        const ConversationID target =
            conversation >= 0 ? history[conversation].target : ConversationID::contact(contactKey);
        if (target.isChannel()) {
            rig.deliver(Events::ChannelMessage{
                target.channelIndex(), 0, 0, rig.clock.now(), QStringLiteral("late"), {}});
        } else {
            rig.deliver(Events::Contact{makeContact(target.contactKey(), "Ann")});
            rig.deliver(Events::ContactMessage{
                target.contactKey().left(12), 1, 0, rig.clock.now(), QStringLiteral("late"), {}});
        }
        rig.deliver(Events::MessagesWaiting{});
        QVERIFY(rig.link.written.isEmpty());
        const QString key = target.conversationKey();
        QCOMPARE(rig.controller->conversations()[key].messages.size(), 1);
        QCOMPARE(rig.notifier.posted.size(), 1);

        if (quit) {
            std::thread reader([&] { disk.handOver(file); });
            // Without letting the read reach the controller.
            for (int waited = 0; !disk.readerCame() && waited < 10'000; ++waited)
                std::this_thread::sleep_for(1ms);
            rig.controller.reset();
            rig.store.reset();
            reader.join();
            QCOMPARE(historyFilesIn(rig.dir.path()),
                     QStringList{QStringLiteral("conversations.json")});
            QVERIFY(!QFileInfo(rig.historyPath()).isFile()); // the pipe, never written over
            return;
        }
        disk.handOver(file);
        QVERIFY(historyIn(*rig.controller));
        const Conversation& joined = rig.controller->conversations()[key];
        const MessageList before =
            conversation >= 0 ? history[conversation].messages : MessageList();
        QCOMPARE(joined.messages.size(), before.size() + 1);
        for (qsizetype row = 0; row < before.size(); ++row)
            QVERIFY(joined.messages.at(row) == before.at(row));
        QCOMPARE(joined.messages.last().text, QStringLiteral("late"));
        QCOMPARE(joined.lastActivity, rig.clock.now());
        qint64 unread = 1;
        for (const Conversation& read : history)
            unread += read.unreadCount;
        QCOMPARE(rig.controller->totalUnreadCount(), unread);
        QCOMPARE(rig.controller->conversations().size(), history.size() + (conversation < 0));
        QCOMPARE(rig.link.written, QList<QByteArray>{hex("0a")});

        const auto saved = rig.savedHistory();
        QVERIFY(saved);
        MeshController::ConversationMap onDisk;
        for (const Conversation& stored : *saved)
            onDisk.insert(stored.target.conversationKey(), stored);
        QVERIFY(onDisk == rig.controller->conversations());
    }

    // Sent while the history is read, into a long conversation of it: once
    // the history is in, the message and the history's own sent ones are
    // still confirmed by the radio, and one left sending is failed.
    void aMessageSentWhileTheHistoryIsReadIsStillConfirmed() {
        using State = ChatMessage::DeliveryState;
        QList<Conversation> history = HistorySamples::history(3, 6'000);
        MessageList& messages = history[1].messages; // a contact's, outgoing at even rows
        messages[8].deliveryState = State::sent;
        messages[1'500].deliveryState = State::sending;
        messages[1'998].deliveryState = State::sent;
        const std::uint32_t ack = *messages.at(1'998).expectedAck;
        ControllerRig rig(false);
        HistoryHeldBack disk(rig.historyPath());
        QVERIFY(disk.isMade());
        rig.buildController(false);
        rig.connectQuietly();
        const ConversationID target = history[1].target;
        rig.controller->sendMessage(QStringLiteral("while reading"), target);
        rig.deliver(Events::MessageSent{0, 0xabcdu, 4000});
        disk.handOver(encodeConversations(history));
        QVERIFY(historyIn(*rig.controller));

        rig.deliver(Events::SendConfirmed{0xabcdu, 900});
        rig.deliver(Events::SendConfirmed{ack, 700});
        const MessageList& now = rig.controller->conversations()[target.conversationKey()].messages;
        QCOMPARE(now.size(), 2'001);
        QCOMPARE(now.last().deliveryState, State::delivered);
        QCOMPARE(now.at(1'998).deliveryState, State::delivered);
        QCOMPARE(now.at(1'998).roundTripMillis, 700u);
        QCOMPARE(now.at(8).deliveryState, State::sent); // its confirmation has not come
        QCOMPARE(now.at(1'500).deliveryState, State::failed);
    }

    // The store's error is the controller's historyError: shown while saves
    // fail, cleared by the next that succeeds.
    void historyErrorFollowsTheStore() {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("history"));
        ControllerRig rig(false);
        rig.store =
            std::make_unique<ConversationStore>(folder + QStringLiteral("/conversations.json"));
        rig.buildController();
        QSignalSpy changed(rig.controller.get(), &MeshController::historyErrorChanged);
        QVERIFY(QDir(folder).removeRecursively());
        QFile blocker(folder);
        QVERIFY(blocker.open(QIODevice::WriteOnly)); // a file where the folder was
        blocker.close();
        rig.deliver(Events::ChannelMessage{1, 0, 0, {}, QStringLiteral("a"), {}});
        rig.store->flush();
        QTRY_COMPARE(changed.count(), 1);
        QVERIFY(!rig.controller->historyError().isEmpty());

        QVERIFY(QFile::remove(folder));
        rig.deliver(Events::ChannelMessage{1, 0, 0, {}, QStringLiteral("b"), {}});
        rig.store->flush();
        QTRY_COMPARE(changed.count(), 2);
        QVERIFY(rig.controller->historyError().isEmpty());
        const QList<Conversation> saved = ConversationStore(rig.store->filePath()).load();
        QCOMPARE(saved.size(), 1);
        QCOMPARE(saved.first().messages.size(), 2);
    }
};

QTEST_GUILESS_MAIN(TestMessaging)
#include "test_messaging.moc"
