#include "book/node_book_store.h"
#include "chat_view_model.h"
#include "ui_rig.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QTest>
#include <QWheelEvent>
#include <QtQml/qqmlextensionplugin.h>
#include <cmath>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using Direction = ChatMessage::Direction;

namespace {

const QString ainoKey = u"a1b2c3d4e5f6"_s + QString(52, u'0');
const QString ainoConversation = u"contact:"_s + ainoKey;
const QString farKey = QString(64, u'd');

} // namespace

// The chat view: its header's model from the controller's records (the
// header's cases are in test_chat_texts) with the verification of its key,
// and the view itself over the simulated radio.
class TestChatViewQml : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareViewTests()); }

    // The header follows the contact list: a contact that goes away on
    // disconnect leaves the key-only header behind.
    void headerFollowsTheContacts() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, u"Aino Virtanen"_s));
        Bound<ChatViewModel> chat(rig.controller);
        chat.setConversationKey(ainoConversation);
        const auto keyOnly = [&] {
            return chat.title() == u"a1b2c3d4e5f6"_s && chat.subtitle() == u"Direct message"_s &&
                   chat.avatarInitials() == u"?"_s && !chat.hasContact();
        };
        QVERIFY(keyOnly());

        QSignalSpy header(&chat, &ChatViewModel::headerChanged);
        QSignalSpy connected(&chat, &ChatViewModel::connectedChanged);
        QVERIFY(rig.connect());
        QVERIFY(header.size() >= 1 && connected.size() >= 1);
        QCOMPARE(chat.title(), u"Aino Virtanen"_s);
        QCOMPARE(chat.avatarInitials(), u"AV"_s);
        QVERIFY(chat.hasContact() && chat.connected() && !chat.isChannel());
        QVERIFY(chat.conflictText().isEmpty());

        header.clear();
        rig.radio.dropLink();
        rig.clock.settle();
        QVERIFY(!chat.connected());
        QVERIFY(keyOnly());
        QCOMPARE(header.size(), 1);

        chat.setConversationKey(u"channel:9"_s);
        QCOMPARE(chat.title(), u"Channel 9"_s);
        QCOMPARE(chat.avatarSymbol(), u"number"_s);
        QVERIFY(chat.isChannel() && !chat.hasContact());
    }

    // A chat whose contact the radio does not list is named as its row is:
    // the name a book gives it, with its key while a listed contact goes by
    // that name too.
    void anUnlistedChatIsNamedAsItsRow() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, u"Aino Virtanen"_s));
        NodeBookStore books(rig.dir.path());
        NodeBook otherRadio;
        otherRadio.selfInfo.publicKey = QString(64, u'e');
        otherRadio.contacts = {chatContact(farKey, u"Aino Virtanen"_s)};
        books.save(otherRadio);
        books.flush();
        rig.controller->setNodeBookStore(&books);
        QVERIFY(rig.connect());
        const auto far = ConversationID::contact(farKey);
        rig.controller->appendMessage(
            chatMessage(ChatMessage::Direction::incoming, u"moi"_s, rig.clock.now()), far);
        Bound<ChatViewModel> chat(rig.controller);
        chat.setConversationKey(far.conversationKey());
        QCOMPARE(chat.title(), u"Aino Virtanen ("_s + farKey.left(12) + u')');
    }

    // Marking a key verified makes the other key of the same name (in any
    // case) suspect in its own chat, until that is verified anyway.
    void verification() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, u"Aino Virtanen"_s));
        rig.radio.addContact(chatContact(farKey, u"AINO VIRTANEN"_s));
        QVERIFY(rig.connect());
        Bound<ChatViewModel> aino(rig.controller);
        aino.setConversationKey(ainoConversation);
        Bound<ChatViewModel> impostor(rig.controller);
        impostor.setConversationKey(u"contact:"_s + farKey);

        QCOMPARE(aino.verificationState(), u"unverified"_s);
        QCOMPARE(aino.verificationSymbol(), u"key.fill"_s);
        QCOMPARE(aino.verificationTint(), u"secondary"_s);
        QCOMPARE(aino.verificationHelp(), qtTrId("chat.verify.unverified.help"));
        QCOMPARE(aino.keyPrefix(), u"a1b2c3d4e5f6"_s);
        QCOMPARE(aino.verificationActionText(), u"Mark as Verified"_s);

        QSignalSpy ainoHeader(&aino, &ChatViewModel::headerChanged);
        QSignalSpy impostorHeader(&impostor, &ChatViewModel::headerChanged);
        aino.triggerVerificationAction();
        QVERIFY(rig.controller->verifiedKeys().contains(ainoKey));
        QCOMPARE(ainoHeader.size(), 1);
        QCOMPARE(aino.verificationState(), u"verified"_s);
        QCOMPARE(aino.verificationActionText(), u"Remove Verification"_s);
        QVERIFY(aino.verificationActionClears());
        QCOMPARE(aino.verificationSymbol(), u"checkmark.seal.fill"_s);
        QCOMPARE(aino.verificationHelp(), qtTrId("chat.verify.verified.help"));
        QCOMPARE(impostorHeader.size(), 1);
        QCOMPARE(impostor.verificationState(), u"conflict"_s);
        QCOMPARE(impostor.verificationSymbol(), u"exclamationmark.shield.fill"_s);
        QCOMPARE(impostor.verificationTint(), u"red"_s);
        QVERIFY2(impostor.conflictText().contains(u"AINO VIRTANEN"_s),
                 qPrintable(impostor.conflictText()));

        impostor.setVerified(); // "Verify anyway" on the banner: verified wins over a conflict
        QCOMPARE(impostor.verificationState(), u"verified"_s);
        QVERIFY(impostor.conflictText().isEmpty());
        aino.triggerVerificationAction();
        QVERIFY(!rig.controller->verifiedKeys().contains(ainoKey));
        QCOMPARE(aino.verificationState(), u"conflict"_s);
    }

    // One view walked through a contact's chat, its composer, the radio
    // going away, other conversations and a failed message. The failed
    // message's mark opens the bubble's menu: "Send again" replaces it with
    // a new message that goes out (only while connected), and "Copy text"
    // copies the text as the bubble shows it: no direction override leaves
    // the app through the clipboard.
    void showsTheConversationAndActsOnIt() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, u"Aino Virtanen"_s));
        QVERIFY(rig.connect());
        for (int i = 0; i < 3; ++i)
            rig.controller->appendMessage(
                chatMessage(Direction::incoming, u"hello %1"_s.arg(i), rig.clock.now()),
                ConversationID::contact(ainoKey));
        const auto channel = ConversationID::channel(0);
        rig.controller->appendMessage(
            chatMessage(Direction::incoming, u"Ann: hi"_s, rig.clock.now()), channel);
        // Typed with a direction override and a mention.
        const QString lost = u"lost \u202Ewords\u202C for @[Ann]"_s;
        rig.controller->appendMessage(chatMessage(Direction::outgoing, lost, rig.clock.now(),
                                                  ChatMessage::DeliveryState::failed),
                                      channel);
        const auto unread = [&](const QString& key) {
            return rig.controller->conversations().value(key).unreadCount;
        };
        QCOMPARE(unread(ainoConversation), 3);

        auto view = loadChatView(rig.controller.get(), ainoConversation);
        QVERIFY(view);
        auto* list = findItem(*view, "messageList");
        QVERIFY(list);
        QCOMPARE(textOf(findItem(*view, "chatTitle")), u"Aino Virtanen"_s);
        QCOMPARE(list->property("count").toInt(), 3);
        QVERIFY(!findItem(*view, "emptyState")->isVisible());
        QCOMPARE(unread(ainoConversation), 0); // showing the chat reads it

        auto* field = findItem(*view, "composerText");
        auto* counter = findItem(*view, "composerCounter");
        auto* send = findItem(*view, "sendButton");
        QVERIFY(field && counter && send);
        QCOMPARE(textOf(counter), u"0/139"_s);
        QVERIFY(!send->isEnabled());
        field->setProperty("text", QString(200, u'z'));
        QCOMPARE(textOf(field).size(), 139);
        QCOMPARE(textOf(counter), u"139/139"_s);
        field->setProperty("text", u"hello"_s);
        QCOMPARE(textOf(counter), u"5/139"_s);
        QVERIFY(send->isEnabled());
        QVERIFY(QMetaObject::invokeMethod(send, "clicked"));
        QCOMPARE(list->property("count").toInt(), 4);
        QCOMPARE(textOf(field), QString());

        // The view follows its key: an empty slot, then the public channel.
        view->rootObject()->setProperty("conversationKey", u"channel:3"_s);
        QCOMPARE(list->property("count").toInt(), 0);
        QVERIFY(findItem(*view, "emptyState")->isVisible());
        view->rootObject()->setProperty("conversationKey", u"channel:0"_s);
        QCOMPARE(list->property("count").toInt(), 2);
        QCOMPARE(textOf(findItem(*view, "chatTitle")), u"Public"_s);
        QCOMPARE(unread(u"channel:0"_s), 0);
        QVERIFY(!findItem(*view, "verificationButton")->isVisible());

        // Without the radio nothing can be sent, and the draft stays.
        field->setProperty("text", u"later"_s);
        rig.radio.dropLink();
        rig.clock.settle();
        QVERIFY(!send->isEnabled());
        QVERIFY(QMetaObject::invokeMethod(send, "clicked"));
        QCOMPARE(list->property("count").toInt(), 2);
        QCOMPARE(textOf(field), u"later"_s);

        // The failed bubble's mark, clicked; the menu it opened, which
        // belongs to the bubble.
        const auto openMenuFromMark = [&]() -> QObject* {
            QQuickItem* mark = nullptr;
            if (!QTest::qWaitFor([&] {
                    mark = findVisualItem(itemAtIndex(list, 1), u"failureMark"_s);
                    return mark && mark->isVisible();
                }))
                return nullptr;
            QMetaObject::invokeMethod(mark, "clicked");
            for (QQuickItem* item = mark; item; item = item->parentItem()) {
                if (auto* menu = item->findChild<QObject*>(u"messageMenu"_s))
                    return menu;
            }
            return nullptr;
        };
        // Offline the menu offers the copy, not the send.
        QObject* menu = openMenuFromMark();
        QVERIFY(menu);
        auto* again = menu->findChild<QObject*>(u"sendAgainMenuItem"_s);
        auto* copy = menu->findChild<QObject*>(u"copyTextMenuItem"_s);
        QVERIFY(again && copy);
        QVERIFY(again->property("visible").toBool());
        QVERIFY(!again->property("enabled").toBool());
        QGuiApplication::clipboard()->clear();
        QMetaObject::invokeMethod(copy, "triggered");
        QCOMPARE(QGuiApplication::clipboard()->text(), u"lost \uFFFDwords\uFFFD for @Ann"_s);
        QPointer<QObject> closed = menu;
        QMetaObject::invokeMethod(menu, "close");
        QTRY_VERIFY(!closed); // destroyed once closed

        QVERIFY(rig.connect());
        menu = openMenuFromMark();
        QVERIFY(menu);
        again = menu->findChild<QObject*>(u"sendAgainMenuItem"_s);
        QVERIFY(again->property("enabled").toBool());
        QMetaObject::invokeMethod(again, "triggered");
        const auto sent = [&] {
            return rig.controller->conversations().value(u"channel:0"_s).messages.value(1);
        };
        QCOMPARE(sent().text, lost); // sent again as typed
        QVERIFY(sent().deliveryState != ChatMessage::DeliveryState::failed);
        QCOMPARE(list->property("count").toInt(), 2);
        rig.clock.advance(2s);
        QCOMPARE(sent().deliveryState, ChatMessage::DeliveryState::delivered);
        const auto bubbleMark = [&] {
            return findVisualItem(itemAtIndex(list, 1), u"failureMark"_s);
        };
        QTRY_VERIFY(bubbleMark() && !bubbleMark()->isVisible());

        // Its delivery report unfolds under it, and folds away again.
        auto* toggle = findVisualItem(itemAtIndex(list, 1), u"reportToggle"_s);
        QVERIFY(toggle && toggle->isVisible());
        const auto card = [&] { return findVisualItem(itemAtIndex(list, 1), u"reportCard"_s); };
        QVERIFY(!card() || !card()->isVisible());
        QMetaObject::invokeMethod(toggle, "clicked");
        QTRY_VERIFY(card() && card()->isVisible() && card()->height() > 20);
        QTRY_COMPARE(card()->height(), card()->implicitHeight());
        QVERIFY(findVisualItem(card(), u"reportLine"_s));
        QMetaObject::invokeMethod(toggle, "clicked");
        QTRY_VERIFY(!card() || !card()->isVisible());
    }

    // Bubbles that wrap are only measured once laid out; the chat still
    // opens at its newest message and keeps it in view as the column
    // narrows (an inspector opening), down to the list's bottom margin.
    void opensAndStaysAtTheNewestMessage() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, u"Aino Virtanen"_s));
        QVERIFY(rig.connect());
        const ConversationID target = ConversationID::contact(ainoKey);
        for (int i = 0; i < 40; ++i)
            rig.controller->appendMessage(
                chatMessage(i % 3 ? Direction::incoming : Direction::outgoing,
                            u"%1: "_s.arg(i) +
                                u"a message long enough to wrap "_s.repeated(1 + i % 4),
                            rig.clock.now()),
                target);
        rig.controller->markConversationRead(target); // no divider to open at
        auto view = loadChatView(rig.controller.get(), ainoConversation, {720, 560});
        QVERIFY(view);
        auto* list = findItem(*view, "messageList");
        QVERIFY(list);
        const auto lastBubbleGap = [&]() -> double {
            QQuickItem* last = itemAtIndex(list, 39);
            if (!last)
                return -1000;
            const QPointF bottom = last->mapToItem(list, QPointF(0, last->height()));
            return list->height() - bottom.y();
        };
        // The newest bubble sits right above the bottom margin.
        QTRY_VERIFY2(qAbs(lastBubbleGap() - 16) <= 1, qPrintable(QString::number(lastBubbleGap())));
        for (int width : {520, 380, 700}) {
            view->resize(width, 560);
            QTRY_VERIFY2(qAbs(lastBubbleGap() - 16) <= 1,
                         qPrintable(u"%1 at width %2"_s.arg(lastBubbleGap()).arg(width)));
        }

        // Wheeled up, the list stays where the user took it while the rows
        // that come into view are measured.
        const QPointF middle = list->mapToScene(QPointF(list->width() / 2, list->height() / 2));
        for (int i = 0; i < 6; ++i) {
            QWheelEvent wheel(middle, view->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton,
                              Qt::NoModifier, Qt::NoScrollPhase, false);
            QGuiApplication::sendEvent(view.get(), &wheel);
            QTest::qWait(20);
        }
        QTRY_VERIFY(!list->property("moving").toBool());
        QTest::qWait(200);
        QVERIFY2(lastBubbleGap() < -30, qPrintable(QString::number(lastBubbleGap())));
        QVERIFY(!view->rootObject()->property("pinned").toBool());
    }

    // A bubble is as wide as its text or its sender's name, at most its
    // column: a long text wraps inside it, a short one under a long name
    // leaves the name whole.
    void bubbleFitsItsText_data() {
        QTest::addColumn<QString>("conversation");
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("wraps");
        QTest::newRow("short") << ainoConversation << u"hi"_s << false;
        QTest::newRow("long") << ainoConversation << u"a message long enough to wrap "_s.repeated(8)
                              << true;
        QTest::newRow("long link, no spaces")
            << ainoConversation << u"https://example.org/"_s + QString(160, u'a') << true;
        QTest::newRow("short under a long name")
            << u"channel:0"_s << u"Wolfgang Amadeus Longname-Sender: ok"_s << false;
    }
    void bubbleFitsItsText() {
        QFETCH(QString, conversation);
        QFETCH(QString, text);
        QFETCH(bool, wraps);
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, u"Aino Virtanen"_s));
        QVERIFY(rig.connect());
        rig.controller->appendMessage(chatMessage(Direction::incoming, text, rig.clock.now()),
                                      conversation.startsWith(u"channel"_s)
                                          ? ConversationID::channel(0)
                                          : ConversationID::contact(ainoKey));
        auto view = loadChatView(rig.controller.get(), conversation, {720, 560});
        QVERIFY(view);
        auto* list = findItem(*view, "messageList");
        QVERIFY(list);
        QTRY_VERIFY(itemAtIndex(list, 0));
        QQuickItem* row = itemAtIndex(list, 0);
        auto* bubble = row->findChild<QQuickItem*>(u"bubble"_s);
        auto* body = row->findChild<QQuickItem*>(u"messageText"_s);
        auto* name = row->findChild<QQuickItem*>(u"senderName"_s);
        QVERIFY(bubble && body && name);
        const double column = row->property("maxColumnWidth").toDouble();
        QVERIFY2(bubble->width() <= std::ceil(column),
                 qPrintable(QString::number(bubble->width())));
        QCOMPARE(body->width(), bubble->width() - 26);
        QCOMPARE(body->property("lineCount").toInt() > 1, wraps);
        if (wraps)
            QCOMPARE(bubble->width(), std::ceil(column));
        else if (name->isVisible())
            QCOMPARE(bubble->width(), std::ceil(name->implicitWidth()) + 26);
        else
            QCOMPARE(bubble->width(), std::ceil(body->implicitWidth()) + 26);
    }

    // A conversation opens at its first unread message, under the "N new
    // messages" divider, when the unread ones do not all fit; else at its
    // end, the divider still above them. Opened while the history is still
    // being read, it does the same once the history is in. Scrolled up, the
    // messages that arrive are counted on the jump button, which goes to the
    // end.
    void opensAtTheFirstUnreadMessage_data() {
        QTest::addColumn<int>("unread");
        QTest::addColumn<bool>("dividerAtTop");
        QTest::addColumn<bool>("openedBeforeHistory");
        QTest::newRow("300 messages, 40 unread") << 40 << true << false;
        QTest::newRow("300 messages, 3 unread") << 3 << false << false;
        QTest::newRow("opened before the history is in, 40 unread") << 40 << true << true;
        QTest::newRow("opened before the history is in, 3 unread") << 3 << false << true;
    }
    void opensAtTheFirstUnreadMessage() {
        QFETCH(int, unread);
        QFETCH(bool, dividerAtTop);
        QFETCH(bool, openedBeforeHistory);
        const ConversationID target = ConversationID::contact(ainoKey);
        const int total = 300;
        const int firstUnread = total - unread;
        Conversation conversation{target, {}, {}, unread};
        const QDateTime at = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC);
        for (int i = 0; i < total; ++i) {
            const bool outgoing = i < firstUnread && i % 4 == 0;
            conversation.messages.append(
                chatMessage(outgoing ? Direction::outgoing : Direction::incoming,
                            u"message %1 "_s.arg(i) + u"long enough to wrap "_s.repeated(i % 3),
                            at.addSecs(i)));
        }
        conversation.lastActivity = conversation.messages.last().timestamp;
        UiRig rig(UiRig::alone, openedBeforeHistory ? QList<Conversation>() : QList{conversation},
                  openedBeforeHistory);
        rig.radio.addContact(chatContact(ainoKey, u"Aino Virtanen"_s));
        QVERIFY(rig.connect());

        auto view = loadChatView(rig.controller.get(), ainoConversation, {720, 560});
        QVERIFY(view);
        if (openedBeforeHistory) {
            QVERIFY(!rig.controller->historyLoaded());
            rig.heldBack->handOver(encodeConversations({conversation}));
            QVERIFY(historyIn(*rig.controller));
        }
        auto* list = findItem(*view, "messageList");
        auto* jump = findItem(*view, "jumpToLatest");
        QVERIFY(list && jump);
        QCOMPARE(rig.controller->conversations()[ainoConversation].unreadCount, 0);
        const auto topOf = [&](int row) -> double {
            QQuickItem* item = itemAtIndex(list, row);
            return item ? item->mapToItem(list, QPointF(0, 0)).y() : -1000;
        };
        const auto lastBubbleGap = [&]() -> double {
            QQuickItem* last = itemAtIndex(list, list->property("count").toInt() - 1);
            if (!last)
                return -1000;
            return list->height() - last->mapToItem(list, QPointF(0, last->height())).y();
        };
        QTRY_VERIFY(itemAtIndex(list, firstUnread));
        QQuickItem* divider = findVisualItem(itemAtIndex(list, firstUnread), u"unreadDivider"_s);
        QVERIFY(divider && divider->isVisible());
        QCOMPARE(textOf(findVisualItem(divider, u"unreadDividerText"_s)),
                 u"%1 new messages"_s.arg(unread));
        QQuickItem* next = itemAtIndex(list, firstUnread + 1);
        QVERIFY(next);
        const QQuickItem* noDivider = findVisualItem(next, u"unreadDivider"_s);
        QVERIFY(!noDivider || !noDivider->isVisible());
        if (dividerAtTop) {
            // The divider at the top of the view, the first unread message below it.
            QTRY_VERIFY2(qAbs(topOf(firstUnread) - 16) <= 1,
                         qPrintable(QString::number(topOf(firstUnread))));
            QVERIFY(topOf(firstUnread) + itemAtIndex(list, firstUnread)->height() < list->height());
            QVERIFY(jump->isVisible());
        } else {
            QTRY_VERIFY2(qAbs(lastBubbleGap() - 16) <= 1,
                         qPrintable(QString::number(lastBubbleGap())));
            QVERIFY(topOf(firstUnread) >= 0);
            QVERIFY(!jump->isVisible());
        }

        // Scrolled up, three messages arrive: the list stays, the button counts them.
        list->setProperty("contentY", list->property("contentY").toDouble() - 1500);
        QMetaObject::invokeMethod(list, "movementEnded");
        QTRY_VERIFY(jump->isVisible());
        const double contentY = list->property("contentY").toDouble();
        for (int i = 0; i < 3; ++i)
            rig.controller->appendMessage(
                chatMessage(Direction::incoming, u"late %1"_s.arg(i), rig.clock.now()), target);
        QCOMPARE(textOf(findVisualItem(jump, u"jumpCount"_s)), u"3"_s);
        QTest::qWait(50);
        QCOMPARE(list->property("contentY").toDouble(), contentY);

        QMetaObject::invokeMethod(jump, "clicked");
        QTRY_VERIFY2(qAbs(lastBubbleGap() - 16) <= 1, qPrintable(QString::number(lastBubbleGap())));
        QTRY_VERIFY(!jump->isVisible());
        // The divider stays while the conversation is shown.
        auto* messages = list->property("model").value<QObject*>();
        QVERIFY(messages);
        QCOMPARE(messages->property("firstUnreadId").toString(),
                 rig.controller->conversations()[ainoConversation]
                     .messages.at(firstUnread)
                     .id.toString(QUuid::WithoutBraces));
    }
};

QTEST_MAIN(TestChatViewQml)
#include "test_chat_view_qml.moc"
