#include "logic/delivery_report.h"
#include "message_list_model.h"
#include "translations.h"
#include "ui_rig.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <QTest>

using Direction = ChatMessage::Direction;
using State = ChatMessage::DeliveryState;

namespace {

const QString aino = QString(64, u'a');
const QString bert = QString(64, u'b');
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
        rig.radio.addContact(chatContact(aino, u"Aino"_s));
        rig.radio.addContact(chatContact(bert, u"Bert"_s));
        rig.radio.setAckDelay(1500ms);
        QVERIFY(rig.connect());

        const ConversationID target = ConversationID::contact(aino);
        Bound<MessageListModel> model(rig.controller);
        model.setConversationKey(target.conversationKey());
        QCOMPARE(model.rowCount(), 0);

        ModelSpies spies(&model);
        QSignalSpy controllerChanged(rig.controller.get(), &MeshController::messageChanged);

        rig.controller->sendMessage(u"first"_s, target);
        QCOMPARE(spies.inserted.size(), 1);
        QCOMPARE(spies.inserted.at(0).at(1).toInt(), 0);
        QCOMPARE(spies.inserted.at(0).at(2).toInt(), 0);
        QCOMPARE(model.rowCount(), 1);
        QCOMPARE(roleValue(model, 0, "stateSymbol").toString(), u"clock"_s);

        rig.controller->sendMessage(u"second"_s, target);
        QCOMPARE(spies.inserted.size(), 2);
        QCOMPARE(spies.inserted.at(1).at(1).toInt(), 1);
        QCOMPARE(model.rowCount(), 2);

        // Both accepted, then both confirmed: every change of a message in
        // the controller is one changed row here, the same row.
        rig.clock.advance(5s);
        QCOMPARE(roleValue(model, 0, "stateSymbol").toString(), u"checkmark.circle.fill"_s);
        QCOMPARE(roleValue(model, 1, "stateSymbol").toString(), u"checkmark.circle.fill"_s);
        QVERIFY(controllerChanged.size() >= 4);
        QCOMPARE(spies.changed.size(), controllerChanged.size());
        for (int i = 0; i < spies.changed.size(); ++i) {
            const auto first = spies.changed.at(i).at(0).value<QModelIndex>();
            const auto last = spies.changed.at(i).at(1).value<QModelIndex>();
            QCOMPARE(first.row(), last.row());
            QCOMPARE(first.row(), controllerChanged.at(i).at(1).toInt());
        }

        rig.radio.queueIncomingDirect(aino, u"reply"_s, noon);
        rig.clock.advance(2s);
        QCOMPARE(spies.inserted.size(), 3);
        QCOMPARE(model.rowCount(), 3);
        QCOMPARE(roleValue(model, 2, "outgoing").toBool(), false);
        QCOMPARE(spies.reset.size(), 0);
        QCOMPARE(spies.removed.size(), 0);

        const qsizetype signalsSoFar = spies.inserted.size() + spies.changed.size();
        rig.controller->sendMessage(u"to bert"_s, ConversationID::contact(bert));
        rig.controller->sendMessage(u"to the channel"_s, ConversationID::channel(0));
        rig.clock.advance(5s);
        QCOMPARE(spies.inserted.size() + spies.changed.size(), signalsSoFar);
        QCOMPARE(model.rowCount(), 3);

        // A failed message sent again: its row goes, the new one comes at the end.
        rig.radio.dropLink();
        rig.controller->sendMessage(u"third"_s, target);
        rig.clock.settle();
        QCOMPARE(roleValue(model, 3, "failed").toBool(), true);
        QVERIFY(rig.connect());
        const QUuid failed(roleValue(model, 3, "messageId").toString());
        QVERIFY(rig.controller->sendAgain(failed, target));
        QCOMPARE(spies.removed.size(), 1);
        QCOMPARE(spies.removed.at(0).at(1).toInt(), 3);
        QCOMPARE(model.rowCount(), 4);
        QCOMPARE(roleValue(model, 3, "bodyText").toString(), u"third"_s);
        QCOMPARE(roleValue(model, 3, "failed").toBool(), false);

        // A new theme colour restyles every row in one signal.
        model.setIncomingMentionColor(Qt::red);
        QCOMPARE(spies.changed.last().at(1).value<QModelIndex>().row(), 3);
        // Another conversation is one reset, the same key again nothing.
        QSignalSpy count(&model, &MessageListModel::countChanged);
        model.setConversationKey(u"channel:0"_s);
        model.setConversationKey(u"channel:0"_s);
        QCOMPARE(spies.reset.size(), 1);
        QCOMPARE(count.size(), 1);
        QCOMPARE(column(model, "messageText"), QStringList{u"to the channel"_s});
        model.setConversationKey(u"nonsense"_s);
        QCOMPARE(model.rowCount(), 0);
    }

    // The bubble's roles; a channel's incoming text alone loses its sender
    // to the bubble's header. The body text is what "Copy text" puts on the
    // clipboard: as the bubble shows it.
    void roleData_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<ChatMessage>("message");
        QTest::addColumn<QString>("bodyText");
        QTest::addColumn<QString>("sender");
        QTest::addColumn<QString>("senderBadge");
        QTest::addColumn<QString>("snrText");
        QTest::addColumn<QString>("snrTint");
        QTest::addColumn<QString>("hopText");
        QTest::addColumn<QString>("roundTripText");
        QTest::addColumn<QString>("stateSymbol");
        QTest::addColumn<QString>("stateTint");
        const QString contactKey = u"contact:"_s + aino;
        const QString secondary = u"secondary"_s;

        ChatMessage incoming = chatMessage(Direction::incoming, u"Bob: hey"_s, noon);
        incoming.snr = -5.1;
        QTest::newRow("incoming direct, never split")
            << contactKey << incoming << u"Bob: hey"_s << QString() << QString()
            << u"\u00B7 -5\u00A0dB"_s << u"red"_s << QString() << QString() << QString()
            << secondary;
        ChatMessage channel = chatMessage(Direction::incoming, u"élise: bonjour"_s, noon);
        channel.snr = 5;
        QTest::newRow("incoming channel with sender")
            << u"channel:0"_s << channel << u"bonjour"_s << u"élise"_s << u"É"_s
            << u"\u00B7 5\u00A0dB"_s << u"green"_s << QString() << QString() << QString()
            << secondary;
        ChatMessage hostile =
            chatMessage(Direction::incoming, u"Eve: pay \u202E0001\u202C, @[Bob]\r\nnow"_s, noon);
        hostile.snr = 5;
        QTest::newRow("incoming channel with an override and a mention")
            << u"channel:0"_s << hostile << u"pay \uFFFD0001\uFFFD, @Bob\nnow"_s << u"Eve"_s
            << u"E"_s << u"\u00B7 5\u00A0dB"_s << u"green"_s << QString() << QString() << QString()
            << secondary;
        ChatMessage delivered =
            chatMessage(Direction::outgoing, u"Alice: ok"_s, noon, State::delivered);
        delivered.hopCount = 0;
        delivered.roundTripMillis = 1234;
        QTest::newRow("outgoing delivered, channel text not split")
            << u"channel:1"_s << delivered << u"Alice: ok"_s << QString() << QString() << QString()
            << secondary << u"0"_s << u"\u00B7 1.2\u00A0s"_s << u"checkmark.circle.fill"_s
            << u"green"_s;
        QTest::newRow("outgoing failed")
            << contactKey << chatMessage(Direction::outgoing, u"x"_s, noon, State::failed) << u"x"_s
            << QString() << QString() << QString() << secondary << QString() << QString()
            << u"exclamationmark.triangle.fill"_s << u"red"_s;
    }

    void roleData() {
        QFETCH(QString, key);
        QFETCH(ChatMessage, message);
        const ConversationID target = key.startsWith(u"channel:"_s)
                                          ? ConversationID::channel(key.mid(8).toInt())
                                          : ConversationID::contact(aino);
        UiRig rig(UiRig::alone, {Conversation{target, {message}, noon, 0}});
        Bound<MessageListModel> model(rig.controller);
        model.setConversationKey(key);
        QCOMPARE(model.rowCount(), 1);
        for (const char* role : {"bodyText", "sender", "senderBadge", "snrText", "snrTint",
                                 "hopText", "roundTripText", "stateSymbol", "stateTint"})
            QTEST(roleValue(model, 0, role).toString(), role);
        QVERIFY(!roleValue(model, 0, "timeText").toString().isEmpty());

        // The report card's lines, as maps the view reads.
        const QVariantList lines = roleValue(model, 0, "reportLines").toList();
        QCOMPARE(lines.size(), ViewLogic::reportLines(message, QLocale()).size());
        for (const char* key : {"symbol", "text", "tint"})
            QVERIFY(!lines.value(0).toMap().value(QLatin1String(key)).toString().isEmpty());

        // With a sender the bubble shows only the body.
        const QString sender = roleValue(model, 0, "sender").toString();
        const QString html = roleValue(model, 0, "richText").toString();
        if (!sender.isEmpty())
            QVERIFY2(!html.contains(sender + u':'), qPrintable(html));
    }

    void styledTextEscapesAndColours() {
        const QColor mention(0x11, 0x22, 0x33);
        const QColor link(0x44, 0x55, 0x66);
        const QString in = MessageListModel::styledText(
            u"<b>&</b> @[Ann] see https://x.org/a?b=1&c=2"_s, false, mention, link);
        QVERIFY2(in.contains(u"&lt;b&gt;&amp;&lt;/b&gt; "_s), qPrintable(in));
        QVERIFY2(in.contains(u"color:#112233;\">@Ann</span>"_s), qPrintable(in));
        QVERIFY2(in.contains(u"<a href=\"https://x.org/a?b=1&amp;c=2\">"_s), qPrintable(in));
        QVERIFY2(in.contains(u"color:#445566;text-decoration:underline;"_s), qPrintable(in));
        QVERIFY(!in.contains(u"<b>"_s));

        // Outgoing bubbles use the light tones, whatever the theme says.
        const QString out =
            MessageListModel::styledText(u"@bo https://x.org"_s, true, mention, link);
        const QString outMention = MessageListModel::outgoingMentionColor().name();
        const QString outLink = MessageListModel::outgoingLinkColor().name();
        QVERIFY2(out.contains(u"color:%1;\">@bo"_s.arg(outMention)), qPrintable(out));
        QVERIFY2(out.contains(u"color:%1;text-decoration"_s.arg(outLink)), qPrintable(out));
        QVERIFY(!out.contains(mention.name()));

        // A mention of the user's own name is bold in incoming bubbles only.
        const QString mine =
            MessageListModel::styledText(u"@[ann] and @bo"_s, false, mention, link, u"Ann"_s);
        QVERIFY2(mine.contains(u"color:#112233;font-weight:bold;\">@ann</span>"_s),
                 qPrintable(mine));
        QVERIFY2(mine.contains(u"color:#112233;\">@bo</span>"_s), qPrintable(mine));
        QVERIFY(!MessageListModel::styledText(u"@ann"_s, true, mention, link, u"Ann"_s)
                     .contains(u"bold"_s));

        // A matched link that is no valid URL is styled but opens nothing.
        const QString broken = MessageListModel::styledText(u"http://[bad"_s, false, mention, link);
        QVERIFY2(!broken.contains(u"<a "_s), qPrintable(broken));
        QVERIFY2(broken.contains(u"text-decoration:underline"_s), qPrintable(broken));
    }
};

QTEST_GUILESS_MAIN(TestMessageListModel)
#include "test_message_list_model.moc"
