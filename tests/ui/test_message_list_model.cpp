#include "chat_rig.h"
#include "message_list_model.h"
#include "translations.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;
using Direction = ChatMessage::Direction;
using State = ChatMessage::DeliveryState;

namespace {

const QString aino = QString(64, QLatin1Char('a'));
const QString bert = QString(64, QLatin1Char('b'));
const QDateTime noon = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);

QVariant roleOf(const MessageListModel& model, int row, const char* name) {
    const QHash<int, QByteArray> roles = model.roleNames();
    return model.data(model.index(row), roles.key(name));
}

} // namespace

class TestMessageListModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void rolesAreNamedFromUserRolePlusOne() {
        MessageListModel model;
        const QHash<int, QByteArray> roles = model.roleNames();
        QCOMPARE(roles.size(), MessageListModel::FailedRole - MessageListModel::IdRole + 1);
        for (int role = MessageListModel::IdRole; role <= MessageListModel::FailedRole; ++role)
            QVERIFY2(roles.contains(role), QByteArray::number(role).constData());
        QCOMPARE(MessageListModel::IdRole, Qt::UserRole + 1);
    }

    // Sending, the radio's acceptance and its delivery confirmation, then a
    // reply: each message is one inserted row, each state change one changed
    // row, and nothing resets the list.
    void followsTheConversationRowByRow() {
        ChatRig rig;
        rig.radio.addContact(chatContact(aino, QStringLiteral("Aino")));
        rig.radio.setAckDelay(1500ms);
        QVERIFY(rig.connect());

        const ConversationID target = ConversationID::contact(aino);
        MessageListModel model;
        model.setController(rig.controller.get());
        model.setConversationKey(target.conversationKey());
        QCOMPARE(model.rowCount(), 0);

        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QSignalSpy removed(&model, &QAbstractItemModel::rowsRemoved);
        QSignalSpy controllerChanged(rig.controller.get(), &MeshController::messageChanged);

        rig.controller->sendMessage(QStringLiteral("first"), target);
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(inserted.at(0).at(1).toInt(), 0);
        QCOMPARE(inserted.at(0).at(2).toInt(), 0);
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(roleOf(model, 0, "stateSymbol").toString(), QStringLiteral("clock"));

        rig.controller->sendMessage(QStringLiteral("second"), target);
        QCOMPARE(inserted.size(), 2);
        QCOMPARE(inserted.at(1).at(1).toInt(), 1);
        QCOMPARE(model.rowCount(), 2);

        // Both accepted, then both confirmed: every change of a message in
        // the controller is one changed row here, the same row.
        rig.clock.advance(5s);
        QCOMPARE(roleOf(model, 0, "stateSymbol").toString(),
                 QStringLiteral("checkmark.circle.fill"));
        QCOMPARE(roleOf(model, 1, "stateSymbol").toString(),
                 QStringLiteral("checkmark.circle.fill"));
        QVERIFY(controllerChanged.size() >= 4);
        QCOMPARE(changed.size(), controllerChanged.size());
        for (int i = 0; i < changed.size(); ++i) {
            const auto first = changed.at(i).at(0).value<QModelIndex>();
            const auto last = changed.at(i).at(1).value<QModelIndex>();
            QCOMPARE(first.row(), last.row());
            QCOMPARE(first.row(), controllerChanged.at(i).at(1).toInt());
        }

        rig.radio.queueIncomingDirect(aino, QStringLiteral("reply"), noon);
        rig.clock.advance(2s);
        QCOMPARE(inserted.size(), 3);
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(roleOf(model, 2, "outgoing").toBool(), false);
        QCOMPARE(reset.size(), 0);
        QCOMPARE(removed.size(), 0);

        // A failed message sent again: its row goes, the new one comes at the end.
        rig.radio.dropLink();
        rig.controller->sendMessage(QStringLiteral("third"), target);
        rig.clock.settle();
        QCOMPARE(roleOf(model, 3, "failed").toBool(), true);
        QVERIFY(rig.connect());
        const QUuid failed(roleOf(model, 3, "messageId").toString());
        QVERIFY(rig.controller->sendAgain(failed, target));
        QCOMPARE(removed.size(), 1);
        QCOMPARE(removed.at(0).at(1).toInt(), 3);
        QCOMPARE(model.rowCount(), 4);
        QCOMPARE(roleOf(model, 3, "bodyText").toString(), QStringLiteral("third"));
        QCOMPARE(roleOf(model, 3, "failed").toBool(), false);
        QCOMPARE(reset.size(), 0);
    }

    void ignoresOtherConversations() {
        ChatRig rig;
        rig.radio.addContact(chatContact(aino, QStringLiteral("Aino")));
        rig.radio.addContact(chatContact(bert, QStringLiteral("Bert")));
        QVERIFY(rig.connect());

        MessageListModel model;
        model.setController(rig.controller.get());
        model.setConversationKey(ConversationID::contact(aino).conversationKey());
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        rig.controller->sendMessage(QStringLiteral("to bert"), ConversationID::contact(bert));
        rig.controller->sendMessage(QStringLiteral("to the channel"), ConversationID::channel(0));
        rig.clock.advance(5s);
        QCOMPARE(inserted.size(), 0);
        QCOMPARE(changed.size(), 0);
        QCOMPARE(reset.size(), 0);
        QCOMPARE(model.rowCount(), 0);
    }

    void switchingConversationsResetsOnce() {
        ChatRig rig({Conversation{ConversationID::contact(aino),
                                  {chatMessage(Direction::incoming, QStringLiteral("a1"), noon),
                                   chatMessage(Direction::incoming, QStringLiteral("a2"), noon)},
                                  noon,
                                  0},
                     Conversation{ConversationID::channel(2),
                                  {chatMessage(Direction::incoming, QStringLiteral("c1"), noon)},
                                  noon,
                                  0}});
        MessageListModel model;
        model.setController(rig.controller.get());
        model.setConversationKey(QStringLiteral("contact:") + aino);
        QCOMPARE(model.rowCount(), 2);

        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        QSignalSpy count(&model, &MessageListModel::countChanged);
        model.setConversationKey(QStringLiteral("channel:2"));
        QCOMPARE(reset.size(), 1);
        QCOMPARE(count.size(), 1);
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(roleOf(model, 0, "messageText").toString(), QStringLiteral("c1"));

        // Setting the same key again changes nothing.
        model.setConversationKey(QStringLiteral("channel:2"));
        QCOMPARE(reset.size(), 1);

        model.setConversationKey(QStringLiteral("nonsense"));
        QCOMPARE(model.rowCount(), 0);
    }

    void roleData_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<ChatMessage>("message");
        QTest::addColumn<QString>("sender");
        QTest::addColumn<QString>("badge");
        QTest::addColumn<QString>("snrText");
        QTest::addColumn<QString>("snrTint");
        QTest::addColumn<QString>("hopText");
        QTest::addColumn<QString>("roundTripText");
        QTest::addColumn<QString>("stateSymbol");
        QTest::addColumn<QString>("stateTint");
        QTest::addColumn<QStringList>("reportSymbols");

        const QString contactKey = QStringLiteral("contact:") + aino;
        ChatMessage incoming = chatMessage(Direction::incoming, QStringLiteral("hi"), noon);
        incoming.snr = -5.1;
        QTest::newRow("incoming direct")
            << contactKey << incoming << QString() << QString() << QStringLiteral("\u00B7 -5 dB")
            << QStringLiteral("red") << QString() << QString() << QString()
            << QStringLiteral("secondary")
            << QStringList{QStringLiteral("checkmark.circle.fill"),
                           QStringLiteral("antenna.radiowaves.left.and.right"),
                           QStringLiteral("calendar")};

        ChatMessage delivered =
            chatMessage(Direction::outgoing, QStringLiteral("Alice: ok"), noon, State::delivered);
        delivered.hopCount = 0;
        delivered.roundTripMillis = 1234;
        QTest::newRow("outgoing delivered, channel text not split")
            << QStringLiteral("channel:1") << delivered << QString() << QString() << QString()
            << QStringLiteral("secondary") << QStringLiteral("0") << QStringLiteral("\u00B7 1.2s")
            << QStringLiteral("checkmark.circle.fill") << QStringLiteral("green")
            << QStringList{QStringLiteral("checkmark.circle.fill"),
                           QStringLiteral("arrow.up.right"), QStringLiteral("timer"),
                           QStringLiteral("calendar")};

        ChatMessage sent =
            chatMessage(Direction::outgoing, QStringLiteral("later"), noon, State::sent);
        sent.estimatedTimeoutMillis = 4200;
        QTest::newRow("outgoing sent")
            << contactKey << sent << QString() << QString() << QString()
            << QStringLiteral("secondary") << QString() << QString() << QStringLiteral("checkmark")
            << QStringLiteral("secondary")
            << QStringList{QStringLiteral("checkmark"), QStringLiteral("hourglass"),
                           QStringLiteral("calendar")};

        QTest::newRow("outgoing failed")
            << contactKey
            << chatMessage(Direction::outgoing, QStringLiteral("x"), noon, State::failed)
            << QString() << QString() << QString() << QStringLiteral("secondary") << QString()
            << QString() << QStringLiteral("exclamationmark.triangle.fill") << QStringLiteral("red")
            << QStringList{QStringLiteral("exclamationmark.triangle.fill"),
                           QStringLiteral("calendar")};

        ChatMessage channel =
            chatMessage(Direction::incoming, QStringLiteral("élise: bonjour"), noon);
        channel.snr = 5;
        QTest::newRow("incoming channel with sender")
            << QStringLiteral("channel:0") << channel << QStringLiteral("élise")
            << QStringLiteral("É") << QStringLiteral("\u00B7 5 dB") << QStringLiteral("green")
            << QString() << QString() << QString() << QStringLiteral("secondary")
            << QStringList{QStringLiteral("checkmark.circle.fill"),
                           QStringLiteral("antenna.radiowaves.left.and.right"),
                           QStringLiteral("calendar")};

        QTest::newRow("direct text never split")
            << contactKey << chatMessage(Direction::incoming, QStringLiteral("Bob: hey"), noon)
            << QString() << QString() << QString() << QStringLiteral("secondary") << QString()
            << QString() << QString() << QStringLiteral("secondary")
            << QStringList{QStringLiteral("checkmark.circle.fill"), QStringLiteral("calendar")};
    }

    void roleData() {
        QFETCH(QString, key);
        QFETCH(ChatMessage, message);
        const ConversationID target = key.startsWith(QStringLiteral("channel:"))
                                          ? ConversationID::channel(key.mid(8).toInt())
                                          : ConversationID::contact(aino);
        ChatRig rig({Conversation{target, {message}, noon, 0}});
        MessageListModel model;
        model.setController(rig.controller.get());
        model.setConversationKey(key);
        QCOMPARE(model.rowCount(), 1);

        QCOMPARE(roleOf(model, 0, "messageId").toString(),
                 message.id.toString(QUuid::WithoutBraces));
        QCOMPARE(roleOf(model, 0, "outgoing").toBool(), message.direction == Direction::outgoing);
        QTEST(roleOf(model, 0, "sender").toString(), "sender");
        QTEST(roleOf(model, 0, "senderBadge").toString(), "badge");
        QTEST(roleOf(model, 0, "snrText").toString(), "snrText");
        QTEST(roleOf(model, 0, "snrTint").toString(), "snrTint");
        QTEST(roleOf(model, 0, "hopText").toString(), "hopText");
        QTEST(roleOf(model, 0, "roundTripText").toString(), "roundTripText");
        QTEST(roleOf(model, 0, "stateSymbol").toString(), "stateSymbol");
        QTEST(roleOf(model, 0, "stateTint").toString(), "stateTint");
        QVERIFY(!roleOf(model, 0, "timeText").toString().isEmpty());

        QStringList symbols;
        for (const QVariant& line : roleOf(model, 0, "reportLines").toList()) {
            const QVariantMap map = line.toMap();
            QVERIFY(!map.value(QStringLiteral("text")).toString().isEmpty());
            QVERIFY(!map.value(QStringLiteral("tint")).toString().isEmpty());
            symbols << map.value(QStringLiteral("symbol")).toString();
        }
        QTEST(symbols, "reportSymbols");

        // With a sender the bubble shows only the body.
        const QString sender = roleOf(model, 0, "sender").toString();
        const QString html = roleOf(model, 0, "richText").toString();
        if (!sender.isEmpty())
            QVERIFY2(!html.contains(sender + QLatin1Char(':')), qPrintable(html));
    }

    void styledTextEscapesAndColours() {
        const QColor mention(0x11, 0x22, 0x33);
        const QColor link(0x44, 0x55, 0x66);
        const QString in = MessageListModel::styledText(
            QStringLiteral("<b>&</b> @[Ann] see https://x.org/a?b=1&c=2"), false, mention, link);
        QVERIFY2(in.contains(QStringLiteral("&lt;b&gt;&amp;&lt;/b&gt; ")), qPrintable(in));
        QVERIFY2(in.contains(QStringLiteral("color:#112233;\">@Ann</span>")), qPrintable(in));
        QVERIFY2(in.contains(QStringLiteral("<a href=\"https://x.org/a?b=1&amp;c=2\">")),
                 qPrintable(in));
        QVERIFY2(in.contains(QStringLiteral("color:#445566;text-decoration:underline;")),
                 qPrintable(in));
        QVERIFY(!in.contains(QStringLiteral("<b>")));

        // Outgoing bubbles use the light tones, whatever the theme says.
        const QString out =
            MessageListModel::styledText(QStringLiteral("@bo https://x.org"), true, mention, link);
        const QString outMention = QColor::fromRgbF(1.0f, 0.85f, 0.4f).name();
        const QString outLink = QColor::fromRgbF(0.7f, 0.9f, 1.0f).name();
        QVERIFY2(out.contains(QStringLiteral("color:%1;\">@bo").arg(outMention)), qPrintable(out));
        QVERIFY2(out.contains(QStringLiteral("color:%1;text-decoration").arg(outLink)),
                 qPrintable(out));
        QVERIFY(!out.contains(mention.name()));

        // A matched link that is no valid URL is styled but opens nothing.
        const QString broken =
            MessageListModel::styledText(QStringLiteral("http://[bad"), false, mention, link);
        QVERIFY2(!broken.contains(QStringLiteral("<a ")), qPrintable(broken));
        QVERIFY2(broken.contains(QStringLiteral("text-decoration:underline")), qPrintable(broken));
    }

    void themeColourChangeTouchesEveryRowOnce() {
        ChatRig rig({Conversation{ConversationID::contact(aino),
                                  {chatMessage(Direction::incoming, QStringLiteral("@x"), noon),
                                   chatMessage(Direction::incoming, QStringLiteral("@y"), noon)},
                                  noon,
                                  0}});
        MessageListModel model;
        model.setController(rig.controller.get());
        model.setConversationKey(QStringLiteral("contact:") + aino);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        model.setIncomingMentionColor(QColor(0x12, 0x34, 0x56));
        QCOMPARE(changed.size(), 1);
        QCOMPARE(changed.at(0).at(0).value<QModelIndex>().row(), 0);
        QCOMPARE(changed.at(0).at(1).value<QModelIndex>().row(), 1);
        QVERIFY(roleOf(model, 1, "richText").toString().contains(QStringLiteral("#123456")));
        model.setIncomingMentionColor(QColor(0x12, 0x34, 0x56));
        QCOMPARE(changed.size(), 1);
    }

    // A long history opens without computing its rows up front.
    void longConversationOpensAtOnce() {
        Conversation conversation{ConversationID::channel(0), {}, noon, 0};
        for (int i = 0; i < 10000; ++i)
            conversation.messages.append(chatMessage(
                Direction::incoming, QStringLiteral("Member%1: message %1").arg(i), noon));
        ChatRig rig({conversation});
        MessageListModel model;
        model.setController(rig.controller.get());
        QElapsedTimer timer;
        timer.start();
        model.setConversationKey(QStringLiteral("channel:0"));
        const qint64 elapsed = timer.elapsed();
        QCOMPARE(model.rowCount(), 10000);
        QVERIFY2(elapsed < 50, qPrintable(QString::number(elapsed)));
        QCOMPARE(roleOf(model, 9999, "sender").toString(), QStringLiteral("Member9999"));
    }
};

QTEST_GUILESS_MAIN(TestMessageListModel)
#include "test_message_list_model.moc"
