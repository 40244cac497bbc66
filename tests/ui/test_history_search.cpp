#include "history_search_model.h"
#include "logic/history_search.h"
#include "ui_rig.h"

#include <QElapsedTimer>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using Direction = ChatMessage::Direction;
using ViewLogic::SearchMatch;

class TestHistorySearch : public QObject {
    Q_OBJECT

    // The folded query matched in `text`, as the part of `text` it covers.
    static QString matched(const QString& text, const QString& query, const QLocale& locale) {
        const auto match =
            ViewLogic::findFolded(text, ViewLogic::foldForSearch(query, locale), locale);
        return match ? text.mid(match->start, match->length) : u"<none>"_s;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareViewTests()); }

    void matchesIgnoringCaseAndAccents_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("locale");
        QTest::addColumn<QString>("match");
        const QString none = u"<none>"_s;
        QTest::newRow("case") << u"Meet at the HARBOUR"_s << u"harbour"_s << u"en"_s
                              << u"HARBOUR"_s;
        QTest::newRow("accent in text") << u"Un café?"_s << u"CAFE"_s << u"fr"_s << u"café"_s;
        QTest::newRow("accent in query") << u"cafe"_s << u"café"_s << u"fr"_s << u"cafe"_s;
        QTest::newRow("combining mark stays with its letter")
            << u"cafe\u0301 noir"_s << u"cafe"_s << u"fr"_s << u"cafe\u0301"_s;
        QTest::newRow("sharp s") << u"Große Straße"_s << u"strasse"_s << u"de"_s << u"Straße"_s;
        QTest::newRow("ligature") << u"o\uFB03ce"_s << u"office"_s << u"en"_s << u"o\uFB03ce"_s;
        QTest::newRow("after an emoji")
            << u"\U0001F680 Launch"_s << u"launch"_s << u"en"_s << u"Launch"_s;
        QTest::newRow("emoji itself")
            << u"go \U0001F680!"_s << u"\U0001F680"_s << u"en"_s << u"\U0001F680"_s;
        QTest::newRow("Turkish dotless I") << u"KIŞ geldi"_s << u"kış"_s << u"tr"_s << u"KIŞ"_s;
        QTest::newRow("Turkish I is no i") << u"KIŞ"_s << u"kiş"_s << u"tr"_s << none;
        QTest::newRow("Turkish I inside ASCII")
            << u"bir KIŞ ISTANBUL"_s << u"istanbul"_s << u"tr"_s << none;
        QTest::newRow("letters of two and three bytes")
            << u"Ääliö ΣΊΣΥΦΟΣ Ǆ"_s << u"σισυφοσ"_s << u"fi"_s << u"ΣΊΣΥΦΟΣ"_s;
        QTest::newRow("no match") << u"hello"_s << u"bye"_s << u"en"_s << none;
        QTest::newRow("blank query") << u"hello"_s << QString() << u"en"_s << none;
    }
    void matchesIgnoringCaseAndAccents() {
        QFETCH(QString, text);
        QFETCH(QString, query);
        QFETCH(QString, locale);
        QTEST(matched(text, query, QLocale(locale)), "match");
        // The search folds messages in UTF-8, each character beyond ASCII
        // once: the same as the text folded, the second time too.
        ViewLogic::SearchFolder folder{QLocale(locale)};
        QByteArray folded;
        folder.fold(text.toUtf8(), folded);
        folder.fold(text.toUtf8(), folded);
        QCOMPARE(folded, ViewLogic::foldForSearch(text + text, QLocale(locale)).toUtf8());
    }

    void excerptKeepsTheMatchInItsContext() {
        using ViewLogic::searchExcerpt;
        const QString shortText = u"see you at\nthe harbour tonight"_s;
        QCOMPARE(searchExcerpt(shortText, SearchMatch{15, 7}),
                 (ViewLogic::SearchExcerpt{u"see you at the "_s, u"harbour"_s, u" tonight"_s}));
        const QString longText = QString(100, u'a') + u"MATCH"_s + QString(200, u'b');
        const auto excerpt = searchExcerpt(longText, SearchMatch{100, 5});
        QCOMPARE(excerpt.match, u"MATCH"_s);
        QCOMPARE(excerpt.before, QChar(0x2026) + QString(ViewLogic::excerptContextBefore, u'a'));
        QCOMPARE(excerpt.after, QString(ViewLogic::excerptContextAfter, u'b') + QChar(0x2026));
        // A cut never splits an emoji.
        const QString emoji = QString(31, u'x') + u"\U0001F680"_s + u"MATCH"_s;
        QVERIFY(!searchExcerpt(emoji, SearchMatch{33, 5}).before.at(1).isLowSurrogate());
    }

    // Newest first, a channel sender's name is searched with the same
    // folding, new messages join the results, a message sent again and a
    // new query are followed.
    void modelFollowsTheHistory() {
        UiRig rig(UiRig::alone);
        QVERIFY(rig.connect());
        const auto aino = ConversationID::contact(QString(64, u'a'));
        const auto publicChannel = ConversationID::channel(0);
        QDateTime time = rig.clock.now();
        const auto add = [&](Direction direction, const QString& text, const ConversationID& to,
                             ChatMessage::DeliveryState state =
                                 ChatMessage::DeliveryState::delivered) {
            time = time.addSecs(60);
            rig.controller->appendMessage(chatMessage(direction, text, time, state), to);
        };
        add(Direction::incoming, u"Harbour at six?"_s, aino);
        add(Direction::incoming, u"Harbourmaster: all clear"_s, publicChannel);
        add(Direction::outgoing, u"Ok, harbour it is"_s, aino, ChatMessage::DeliveryState::failed);

        HistorySearchModel model;
        model.setController(rig.controller.get());
        model.setQuery(u"HARBOUR"_s);
        model.finishNow();
        QCOMPARE(column(model, "match"), (QStringList{"harbour", QString(), "Harbour"}));
        QCOMPARE(column(model, "sender"), (QStringList{qtTrId("search.history.sender.you"),
                                                       "Harbourmaster", "aaaaaaaaaaaa"}));
        QCOMPARE(column(model, "after").at(1), u"all clear"_s);
        QVERIFY(model.emptyText().isEmpty());

        // The name matches on its own; no query runs on from it into the text.
        add(Direction::incoming, u"Jérôme Bélanger: on my way"_s, publicChannel);
        for (const auto& [query, found] : {std::pair{u"jerome"_s, 1},
                                           {u"BELANGER"_s, 1},
                                           {u"belanger on"_s, 0},
                                           {u"r: on"_s, 0}}) {
            model.setQuery(query);
            model.finishNow();
            QVERIFY2(model.rowCount() == found, qPrintable(query));
        }
        model.setQuery(u"HARBOUR"_s);
        model.finishNow();

        add(Direction::incoming, u"Bob: the harbour is full"_s, publicChannel);
        QCOMPARE(column(model, "sender").first(), u"Bob"_s);
        QCOMPARE(column(model, "before").first(), u"the "_s);

        const QUuid failed(column(model, "messageId").at(1));
        rig.clock.advance(10min);
        QVERIFY(rig.controller->sendAgain(failed, aino));
        model.finishNow();
        QCOMPARE(model.rowCount(), 4);
        QVERIFY(!column(model, "messageId").contains(failed.toString(QUuid::WithoutBraces)));
        QCOMPARE(column(model, "after").first(), u" it is"_s);

        model.setQuery(u"nowhere"_s);
        model.finishNow();
        QCOMPARE(model.rowCount(), 0);
        QVERIFY(model.emptyText().contains(u"nowhere"_s));
    }

    // Newest first across conversations, also where a radio's clock went
    // back in the middle of one.
    void resultsComeNewestFirst() {
        const QDateTime start(QDate(2025, 5, 1), QTime(8, 0), Qt::UTC);
        const auto conversation = [&](const ConversationID& target, QList<int> minutes) {
            Conversation c{target, {}, distantPast(), 0};
            for (int minute : minutes)
                c.messages.append(chatMessage(Direction::outgoing, u"harbour %1"_s.arg(minute),
                                              start.addSecs(60 * minute)));
            c.lastActivity = c.messages.constLast().timestamp;
            return c;
        };
        UiRig rig(UiRig::alone,
                  {conversation(ConversationID::channel(0), {10, 20, 5, 30, 31}),
                   conversation(ConversationID::contact(QString(64, u'b')), {15, 25, 1})});
        HistorySearchModel model;
        model.setController(rig.controller.get());
        model.setQuery(u"harbour"_s);
        model.finishNow();
        QCOMPARE(column(model, "after"),
                 (QStringList{" 31", " 30", " 25", " 20", " 15", " 10", " 5", " 1"}));
    }

    // The index is made in a time that grows with the history, not with its
    // square: 20,000 messages in one conversation cost about a hundred times
    // what 200 do (each message used to be looked for in its conversation).
    void indexGrowsLinearlyWithTheHistory() {
        const auto millisToIndex = [](int length) {
            const QDateTime start(QDate(2025, 5, 1), QTime(8, 0), Qt::UTC);
            Conversation channel{ConversationID::channel(0), {}, distantPast(), 0};
            for (int n = 0; n < length; ++n)
                channel.messages.append(chatMessage(
                    Direction::incoming, u"Node %1: at the harbour, %2"_s.arg(n % 40).arg(n),
                    start.addSecs(n)));
            UiRig rig(UiRig::alone, {channel});
            QList<double> costs;
            for (int run = 0; run < 3; ++run) {
                HistorySearchModel model;
                QElapsedTimer timer;
                timer.start();
                model.setController(rig.controller.get());
                model.finishNow();
                costs.append(double(timer.nsecsElapsed()) / 1e6);
            }
            return *std::min_element(costs.begin(), costs.end());
        };
        const double shortOne = millisToIndex(200);
        const double longOne = millisToIndex(20'000);
        QVERIFY2(longOne <= 250 * shortOne + 20,
                 qPrintable(QStringLiteral("%1 ms against %2 ms").arg(longOne).arg(shortOne)));
    }

    // Ctrl+Shift+F opens the search with the focus in its field; Return
    // opens the first result's conversation at that message, marked;
    // Escape closes.
    void searchOpensTheConversationAtTheMessage() {
        WindowRig rig(UiRig::alone);
        QVERIFY(rig.connect());
        const auto channel = ConversationID::channel(0);
        QUuid wanted;
        for (int i = 0; i < 60; ++i) {
            ChatMessage message = chatMessage(Direction::incoming, u"Ann: message %1"_s.arg(i),
                                              rig.clock.now().addSecs(i));
            if (i == 5) {
                message.text = u"Ann: the needle"_s;
                wanted = message.id;
            }
            rig.controller->appendMessage(message, channel);
        }
        QQuickWindow* window = rig.window();
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QTRY_VERIFY(rig.item("mainView"));

        QTest::keyClick(window, Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        auto* search = window->findChild<QObject*>(u"historySearch"_s);
        QVERIFY(search);
        QTRY_VERIFY(search->property("opened").toBool());
        QTRY_VERIFY(window->activeFocusItem() &&
                    window->activeFocusItem()->objectName() == u"historySearchField"_s);
        for (const Qt::Key key : {Qt::Key_N, Qt::Key_E, Qt::Key_E, Qt::Key_D, Qt::Key_L, Qt::Key_E})
            QTest::keyClick(window, key, Qt::ShiftModifier);
        auto* results = window->findChild<QQuickItem*>(u"historySearchResults"_s);
        QTRY_COMPARE(results->property("count").toInt(), 1);
        QTest::keyClick(window, Qt::Key_Return);
        QTRY_VERIFY(!search->property("visible").toBool());
        QCOMPARE(rig.controller->selectedConversation(), channel);

        auto* chat = rig.item("messageList");
        QVERIFY(chat);
        const QString id = wanted.toString(QUuid::WithoutBraces);
        QTRY_COMPARE(chat->property("markedMessageId").toString(), id);
        // The message is in view, not the end of the chat.
        QQuickItem* bubble = nullptr;
        QTRY_VERIFY((bubble = itemAtIndex(chat, 5)));
        const QPointF top = bubble->mapToItem(chat, QPointF(0, 0));
        QVERIFY2(top.y() >= 0 && top.y() + bubble->height() <= chat->height(),
                 qPrintable(QString::number(top.y())));
        // The chat lets go of its end to show the message.
        const QVariant pinned = chat->parentItem()->parentItem()->property("pinned");
        QVERIFY(pinned.isValid() && !pinned.toBool());

        QTest::keyClick(window, Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(search->property("opened").toBool());
        QTest::keyClick(window, Qt::Key_Escape);
        QTRY_VERIFY(!search->property("visible").toBool());
    }
};

QTEST_MAIN(TestHistorySearch)
#include "test_history_search.moc"
