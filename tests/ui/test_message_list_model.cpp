#include "logic/delivery_report.h"
#include "message_list_model.h"
#include "translations.h"
#include "ui_rig.h"

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

} // namespace

class TestMessageListModel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    // Sending, the radio's acceptance and its delivery confirmation, then a
    // reply: each message is one inserted row, each state change one changed
    // row, other conversations change nothing, and nothing resets the list.
    void followsTheConversationRowByRow() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(aino, QStringLiteral("Aino")));
        rig.radio.addContact(chatContact(bert, QStringLiteral("Bert")));
        rig.radio.setAckDelay(1500ms);
        QVERIFY(rig.connect());

        const ConversationID target = ConversationID::contact(aino);
        MessageListModel model;
        model.setController(rig.controller.get());
        model.setConversationKey(target.conversationKey());
        QCOMPARE(model.rowCount(), 0);

        ModelSpies spies(&model);
        QSignalSpy controllerChanged(rig.controller.get(), &MeshController::messageChanged);

        rig.controller->sendMessage(QStringLiteral("first"), target);
        QCOMPARE(spies.inserted.size(), 1);
        QCOMPARE(spies.inserted.at(0).at(1).toInt(), 0);
        QCOMPARE(spies.inserted.at(0).at(2).toInt(), 0);
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(roleValue(model, 0, "stateSymbol").toString(), QStringLiteral("clock"));

        rig.controller->sendMessage(QStringLiteral("second"), target);
        QCOMPARE(spies.inserted.size(), 2);
        QCOMPARE(spies.inserted.at(1).at(1).toInt(), 1);
        QCOMPARE(model.rowCount(), 2);

        // Both accepted, then both confirmed: every change of a message in
        // the controller is one changed row here, the same row.
        rig.clock.advance(5s);
        QCOMPARE(roleValue(model, 0, "stateSymbol").toString(),
                 QStringLiteral("checkmark.circle.fill"));
        QCOMPARE(roleValue(model, 1, "stateSymbol").toString(),
                 QStringLiteral("checkmark.circle.fill"));
        QVERIFY(controllerChanged.size() >= 4);
        QCOMPARE(spies.changed.size(), controllerChanged.size());
        for (int i = 0; i < spies.changed.size(); ++i) {
            const auto first = spies.changed.at(i).at(0).value<QModelIndex>();
            const auto last = spies.changed.at(i).at(1).value<QModelIndex>();
            QCOMPARE(first.row(), last.row());
            QCOMPARE(first.row(), controllerChanged.at(i).at(1).toInt());
        }

        rig.radio.queueIncomingDirect(aino, QStringLiteral("reply"), noon);
        rig.clock.advance(2s);
        QCOMPARE(spies.inserted.size(), 3);
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(roleValue(model, 2, "outgoing").toBool(), false);
        QCOMPARE(spies.reset.size(), 0);
        QCOMPARE(spies.removed.size(), 0);

        const qsizetype signalsSoFar = spies.inserted.size() + spies.changed.size();
        rig.controller->sendMessage(QStringLiteral("to bert"), ConversationID::contact(bert));
        rig.controller->sendMessage(QStringLiteral("to the channel"), ConversationID::channel(0));
        rig.clock.advance(5s);
        QCOMPARE(spies.inserted.size() + spies.changed.size(), signalsSoFar);
        QCOMPARE(model.rowCount(), 3);

        // A failed message sent again: its row goes, the new one comes at the end.
        rig.radio.dropLink();
        rig.controller->sendMessage(QStringLiteral("third"), target);
        rig.clock.settle();
        QCOMPARE(roleValue(model, 3, "failed").toBool(), true);
        QVERIFY(rig.connect());
        const QUuid failed(roleValue(model, 3, "messageId").toString());
        QVERIFY(rig.controller->sendAgain(failed, target));
        QCOMPARE(spies.removed.size(), 1);
        QCOMPARE(spies.removed.at(0).at(1).toInt(), 3);
        QCOMPARE(model.rowCount(), 4);
        QCOMPARE(roleValue(model, 3, "bodyText").toString(), QStringLiteral("third"));
        QCOMPARE(roleValue(model, 3, "failed").toBool(), false);
        QCOMPARE(spies.reset.size(), 0);
    }

    void switchingConversationsResetsOnce() {
        UiRig rig(UiRig::alone,
                  {Conversation{ConversationID::contact(aino),
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
        QCOMPARE(roleValue(model, 0, "messageText").toString(), QStringLiteral("c1"));

        // Setting the same key again changes nothing.
        model.setConversationKey(QStringLiteral("channel:2"));
        QCOMPARE(reset.size(), 1);

        model.setConversationKey(QStringLiteral("nonsense"));
        QCOMPARE(model.rowCount(), 0);
    }

    // The bubble's roles; a channel's incoming text alone loses its sender
    // to the bubble's header.
    void roleData_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<ChatMessage>("message");
        QTest::addColumn<QString>("sender");
        QTest::addColumn<QString>("senderBadge");
        QTest::addColumn<QString>("snrText");
        QTest::addColumn<QString>("snrTint");
        QTest::addColumn<QString>("hopText");
        QTest::addColumn<QString>("roundTripText");
        QTest::addColumn<QString>("stateSymbol");
        QTest::addColumn<QString>("stateTint");
        const QString contactKey = QStringLiteral("contact:") + aino;
        const QString secondary = QStringLiteral("secondary");

        ChatMessage incoming = chatMessage(Direction::incoming, QStringLiteral("Bob: hey"), noon);
        incoming.snr = -5.1;
        QTest::newRow("incoming direct, never split")
            << contactKey << incoming << QString() << QString() << QStringLiteral("\u00B7 -5 dB")
            << QStringLiteral("red") << QString() << QString() << QString() << secondary;
        ChatMessage channel =
            chatMessage(Direction::incoming, QStringLiteral("élise: bonjour"), noon);
        channel.snr = 5;
        QTest::newRow("incoming channel with sender")
            << QStringLiteral("channel:0") << channel << QStringLiteral("élise")
            << QStringLiteral("É") << QStringLiteral("\u00B7 5 dB") << QStringLiteral("green")
            << QString() << QString() << QString() << secondary;
        ChatMessage delivered =
            chatMessage(Direction::outgoing, QStringLiteral("Alice: ok"), noon, State::delivered);
        delivered.hopCount = 0;
        delivered.roundTripMillis = 1234;
        QTest::newRow("outgoing delivered, channel text not split")
            << QStringLiteral("channel:1") << delivered << QString() << QString() << QString()
            << secondary << QStringLiteral("0") << QStringLiteral("\u00B7 1.2s")
            << QStringLiteral("checkmark.circle.fill") << QStringLiteral("green");
        QTest::newRow("outgoing failed")
            << contactKey
            << chatMessage(Direction::outgoing, QStringLiteral("x"), noon, State::failed)
            << QString() << QString() << QString() << secondary << QString() << QString()
            << QStringLiteral("exclamationmark.triangle.fill") << QStringLiteral("red");
    }

    void roleData() {
        QFETCH(QString, key);
        QFETCH(ChatMessage, message);
        const ConversationID target = key.startsWith(QStringLiteral("channel:"))
                                          ? ConversationID::channel(key.mid(8).toInt())
                                          : ConversationID::contact(aino);
        UiRig rig(UiRig::alone, {Conversation{target, {message}, noon, 0}});
        MessageListModel model;
        model.setController(rig.controller.get());
        model.setConversationKey(key);
        QCOMPARE(model.rowCount(), 1);

        QCOMPARE(roleValue(model, 0, "messageId").toString(),
                 message.id.toString(QUuid::WithoutBraces));
        QCOMPARE(roleValue(model, 0, "outgoing").toBool(),
                 message.direction == Direction::outgoing);
        for (const char* role : {"sender", "senderBadge", "snrText", "snrTint", "hopText",
                                 "roundTripText", "stateSymbol", "stateTint"})
            QTEST(roleValue(model, 0, role).toString(), role);
        QVERIFY(!roleValue(model, 0, "timeText").toString().isEmpty());

        // The report card's lines, as maps the view reads.
        QStringList symbols;
        for (const QVariant& line : roleValue(model, 0, "reportLines").toList()) {
            const QVariantMap map = line.toMap();
            QVERIFY(!map.value(QStringLiteral("text")).toString().isEmpty());
            QVERIFY(!map.value(QStringLiteral("tint")).toString().isEmpty());
            symbols << map.value(QStringLiteral("symbol")).toString();
        }
        QStringList expected;
        for (const ViewLogic::ReportLine& line : ViewLogic::reportLines(message, QLocale()))
            expected << line.symbol;
        QCOMPARE(symbols, expected);

        // With a sender the bubble shows only the body.
        const QString sender = roleValue(model, 0, "sender").toString();
        const QString html = roleValue(model, 0, "richText").toString();
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
        UiRig rig(UiRig::alone,
                  {Conversation{ConversationID::contact(aino),
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
        QVERIFY(roleValue(model, 1, "richText").toString().contains(QStringLiteral("#123456")));
        model.setIncomingMentionColor(QColor(0x12, 0x34, 0x56));
        QCOMPARE(changed.size(), 1);
    }

    // A long history opens without computing its rows up front.
    void longConversationOpensAtOnce() {
        Conversation conversation{ConversationID::channel(0), {}, noon, 0};
        for (int i = 0; i < 10000; ++i)
            conversation.messages.append(chatMessage(
                Direction::incoming, QStringLiteral("Member%1: message %1").arg(i), noon));
        UiRig rig(UiRig::alone, {conversation});
        MessageListModel model;
        model.setController(rig.controller.get());
        QElapsedTimer timer;
        timer.start();
        model.setConversationKey(QStringLiteral("channel:0"));
        const qint64 elapsed = timer.elapsed();
        QCOMPARE(model.rowCount(), 10000);
        QVERIFY2(elapsed < 50, qPrintable(QString::number(elapsed)));
        QCOMPARE(roleValue(model, 9999, "sender").toString(), QStringLiteral("Member9999"));
    }
};

QTEST_GUILESS_MAIN(TestMessageListModel)
#include "test_message_list_model.moc"
