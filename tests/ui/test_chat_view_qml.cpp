#include "translations.h"
#include "ui_rig.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QQuickStyle>
#include <QSignalSpy>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace std::chrono_literals;
using Direction = ChatMessage::Direction;

namespace {

const QString ainoKey = QString(64, QLatin1Char('a'));
const QString ainoConversation = QStringLiteral("contact:") + ainoKey;

} // namespace

class TestChatViewQml : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        QVERIFY(installTranslations(*QCoreApplication::instance()));
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
    }

    void showsTheConversation() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
        QVERIFY(rig.connect());
        const ConversationID target = ConversationID::contact(ainoKey);
        for (int i = 0; i < 3; ++i)
            rig.controller->appendMessage(chatMessage(Direction::incoming,
                                                      QStringLiteral("hello %1").arg(i),
                                                      rig.clock.now()),
                                          target);
        QCOMPARE(rig.controller->conversations().value(ainoConversation).unreadCount, 3);

        auto view = loadChatView(rig.controller.get(), ainoConversation);
        QVERIFY2(view->errors().isEmpty(), qPrintable(view->errors().value(0).toString()));
        QVERIFY(view->rootObject());

        auto* title = findItem(*view, "chatTitle");
        QVERIFY(title);
        QCOMPARE(title->property("text").toString(), QStringLiteral("Aino Virtanen"));
        auto* list = findItem(*view, "messageList");
        QVERIFY(list);
        QCOMPARE(list->property("count").toInt(), 3);
        QVERIFY(!findItem(*view, "emptyState")->isVisible());
        // Showing the chat reads it.
        QCOMPARE(rig.controller->conversations().value(ainoConversation).unreadCount, 0);

        // A bubble's text can be selected and copied as plain text.
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        auto* text = findVisualItem(view->rootObject(), QStringLiteral("messageText"));
        QVERIFY(text);
        QGuiApplication::clipboard()->clear();
        QVERIFY(QMetaObject::invokeMethod(text, "selectAll"));
        QVERIFY(QMetaObject::invokeMethod(text, "copy"));
        QVERIFY2(QGuiApplication::clipboard()->text().startsWith(QStringLiteral("hello ")),
                 qPrintable(QGuiApplication::clipboard()->text()));

        auto* field = findItem(*view, "composerText");
        auto* counter = findItem(*view, "composerCounter");
        auto* send = findItem(*view, "sendButton");
        QVERIFY(field && counter && send);
        QCOMPARE(counter->property("text").toString(), QStringLiteral("0/139"));
        QVERIFY(!send->isEnabled());

        field->setProperty("text", QString(200, QLatin1Char('z')));
        QCOMPARE(field->property("text").toString().size(), 139);
        QCOMPARE(counter->property("text").toString(), QStringLiteral("139/139"));

        field->setProperty("text", QStringLiteral("hello"));
        QCOMPARE(counter->property("text").toString(), QStringLiteral("5/139"));
        QVERIFY(send->isEnabled());
        QVERIFY(QMetaObject::invokeMethod(send, "clicked"));
        QCOMPARE(list->property("count").toInt(), 4);
        QCOMPARE(field->property("text").toString(), QString());

        // Without the radio nothing can be sent, and the draft stays.
        field->setProperty("text", QStringLiteral("later"));
        rig.radio.dropLink();
        rig.clock.settle();
        QVERIFY(!send->isEnabled());
        QVERIFY(QMetaObject::invokeMethod(send, "clicked"));
        QCOMPARE(list->property("count").toInt(), 4);
        QCOMPARE(field->property("text").toString(), QStringLiteral("later"));
    }

    void switchingConversationFollowsTheKey() {
        UiRig rig(UiRig::alone);
        QVERIFY(rig.connect());
        rig.controller->appendMessage(
            chatMessage(Direction::incoming, QStringLiteral("Ann: hi"), rig.clock.now()),
            ConversationID::channel(0));
        auto view = loadChatView(rig.controller.get(), QStringLiteral("channel:3"));
        QVERIFY(view->rootObject());
        auto* list = findItem(*view, "messageList");
        QCOMPARE(list->property("count").toInt(), 0);
        QVERIFY(findItem(*view, "emptyState")->property("visible").toBool());

        view->rootObject()->setProperty("conversationKey", QStringLiteral("channel:0"));
        QCOMPARE(list->property("count").toInt(), 1);
        QCOMPARE(findItem(*view, "chatTitle")->property("text").toString(),
                 QStringLiteral("Public"));
        QCOMPARE(rig.controller->conversations().value(QStringLiteral("channel:0")).unreadCount, 0);
        QVERIFY(!findItem(*view, "verificationButton")->isVisible());
    }

    // A failed message's mark opens the bubble's menu: "Send again" replaces
    // it with a new message that goes out (only while connected), and "Copy
    // text" copies the text as shown, without a channel sender's name.
    void failedMessageIsSentAgainFromItsMark() {
        UiRig rig(UiRig::alone);
        QVERIFY(rig.connect());
        const ConversationID target = ConversationID::channel(0);
        rig.controller->appendMessage(chatMessage(Direction::outgoing, QStringLiteral("lost words"),
                                                  rig.clock.now(),
                                                  ChatMessage::DeliveryState::failed),
                                      target);
        auto view = loadChatView(rig.controller.get(), QStringLiteral("channel:0"));
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
        // The bubble's mark, clicked; the menu it opened, which belongs to the bubble.
        const auto openMenuFromMark = [&]() -> QObject* {
            QQuickItem* mark = nullptr;
            if (!QTest::qWaitFor([&] {
                    mark = findVisualItem(view->rootObject(), QStringLiteral("failureMark"));
                    return mark && mark->isVisible();
                }))
                return nullptr;
            QMetaObject::invokeMethod(mark, "clicked");
            for (QQuickItem* item = mark; item; item = item->parentItem()) {
                if (auto* menu = item->findChild<QObject*>(QStringLiteral("messageMenu")))
                    return menu;
            }
            return nullptr;
        };

        // Offline the menu offers the copy, not the send.
        rig.radio.dropLink();
        rig.clock.settle();
        QObject* menu = openMenuFromMark();
        QVERIFY(menu);
        auto* again = menu->findChild<QObject*>(QStringLiteral("sendAgainMenuItem"));
        auto* copy = menu->findChild<QObject*>(QStringLiteral("copyTextMenuItem"));
        QVERIFY(again && copy);
        QVERIFY(again->property("visible").toBool());
        QVERIFY(!again->property("enabled").toBool());
        QGuiApplication::clipboard()->clear();
        QMetaObject::invokeMethod(copy, "triggered");
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("lost words"));
        QPointer<QObject> closed = menu;
        QMetaObject::invokeMethod(menu, "close");
        QTRY_VERIFY(!closed); // destroyed once closed

        QVERIFY(rig.connect());
        menu = openMenuFromMark();
        QVERIFY(menu);
        again = menu->findChild<QObject*>(QStringLiteral("sendAgainMenuItem"));
        QVERIFY(again->property("enabled").toBool());
        QMetaObject::invokeMethod(again, "triggered");
        const auto messages =
            rig.controller->conversations().value(QStringLiteral("channel:0")).messages;
        QCOMPARE(messages.size(), 1);
        QCOMPARE(messages.first().text, QStringLiteral("lost words"));
        QVERIFY(messages.first().deliveryState != ChatMessage::DeliveryState::failed);
        QCOMPARE(findItem(*view, "messageList")->property("count").toInt(), 1);
        rig.clock.advance(2s);
        QCOMPARE(rig.controller->conversations()
                     .value(QStringLiteral("channel:0"))
                     .messages.first()
                     .deliveryState,
                 ChatMessage::DeliveryState::delivered);
        const auto bubbleMark = [&] {
            return findVisualItem(itemAtIndex(findItem(*view, "messageList"), 0),
                                  QStringLiteral("failureMark"));
        };
        QTRY_VERIFY(bubbleMark() && !bubbleMark()->isVisible());
    }

    // Bubbles that wrap are only measured once laid out; the chat still
    // opens at its newest message and keeps it in view as the column
    // narrows (an inspector opening), down to the list's bottom margin.
    void opensAndStaysAtTheNewestMessage() {
        UiRig rig(UiRig::alone);
        rig.radio.addContact(chatContact(ainoKey, QStringLiteral("Aino Virtanen")));
        QVERIFY(rig.connect());
        const ConversationID target = ConversationID::contact(ainoKey);
        for (int i = 0; i < 40; ++i)
            rig.controller->appendMessage(
                chatMessage(
                    i % 3 ? Direction::incoming : Direction::outgoing,
                    QStringLiteral("%1: ").arg(i) +
                        QStringLiteral("a message long enough to wrap ").repeated(1 + i % 4),
                    rig.clock.now()),
                target);
        auto view = loadChatView(rig.controller.get(), ainoConversation, {720, 560});
        view->show();
        QVERIFY(QTest::qWaitForWindowExposed(view.get()));
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
            QTRY_VERIFY2(
                qAbs(lastBubbleGap() - 16) <= 1,
                qPrintable(QStringLiteral("%1 at width %2").arg(lastBubbleGap()).arg(width)));
        }
    }
};

QTEST_MAIN(TestChatViewQml)
#include "test_chat_view_qml.moc"
