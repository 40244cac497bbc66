#include "quick_chat.h"
#include "shell_rig.h"
#include "translations.h"

#include <QAccessible>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <qcoro/qcoroqml.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace std::chrono_literals;

// The whole window as a keyboard and screen-reader user meets it: Tab
// order, arrow keys, shortcuts and menus, the accessibility tree, the title,
// and the layout at the smallest window size.
class TestWindowAccess : public QObject {
    Q_OBJECT

    std::unique_ptr<ShellRig> m_rig;
    std::unique_ptr<QQmlApplicationEngine> m_engine;

    QQuickWindow* window() const {
        return qobject_cast<QQuickWindow*>(m_engine->rootObjects().value(0));
    }
    template <typename T = QObject>
    T* find(const char* name) const {
        return window() ? window()->findChild<T*>(QLatin1String(name)) : nullptr;
    }
    QQuickItem* item(const char* name) const {
        return window() ? findVisualItem(window()->contentItem(), QLatin1String(name)) : nullptr;
    }
    // The name of the focused item; a list's row holds the focus on behalf of
    // its list, so an unnamed row answers with the list's name.
    QString focusName() const {
        QQuickItem* focus = window()->activeFocusItem();
        for (int depth = 0; focus && focus->objectName().isEmpty() && depth < 2; ++depth)
            focus = focus->parentItem();
        return focus ? focus->objectName() : QString();
    }
    void key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(window(), Qt::Key(key), modifiers);
        QTest::qWait(10);
    }
    void type(const QString& text) {
        for (const QChar c : text)
            QTest::keyClick(window(), c.toLatin1());
    }
    // Presses Tab until the item of that name has the focus; false after a
    // whole round without reaching it.
    bool tabTo(const char* name, QQuickItem* within = nullptr, int most = 60) {
        const auto reached = [&] {
            QQuickItem* focus = window()->activeFocusItem();
            return focus && focusName() == QLatin1String(name) &&
                   (!within || within->isAncestorOf(focus));
        };
        for (int i = 0; i < most && !reached(); ++i)
            key(Qt::Key_Tab);
        return reached();
    }
    void advance(std::chrono::milliseconds duration) {
        m_rig->clock.advance(duration);
        QTest::qWait(20);
    }
    bool connectByKeyboard() {
        advance(500ms); // the scan finds the demo radio
        if (!QTest::qWaitFor([&] { return item("deviceRow") != nullptr; }))
            return false;
        if (!tabTo("deviceRow"))
            return false;
        key(Qt::Key_Space);
        advance(1s);
        advance(20s);
        return QTest::qWaitFor([&] { return find("mainView") && find("conversationList"); });
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QCoro::Qml::registerTypes();
        installTranslations(*QCoreApplication::instance());
        QQuickStyle::setStyle(QStringLiteral("Fusion"));
    }

    void init() {
        m_rig = std::make_unique<ShellRig>();
        m_engine = std::make_unique<QQmlApplicationEngine>();
        m_engine->setInitialProperties(
            {{QStringLiteral("controller"), QVariant::fromValue(m_rig->controller.get())}});
        m_engine->load(QUrl(QStringLiteral("qrc:/qt/qml/Talvenne/Main.qml")));
        QVERIFY(window());
        window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(window()));
    }

    void cleanup() {
        m_engine.reset();
        m_rig.reset();
    }

    // Connect, switch modes, walk the list, open a chat, send, and leave
    // again, without touching the mouse.
    void keyboardOnlyChat() {
        QVERIFY(connectByKeyboard());
        QTRY_COMPARE(find("conversationList")->property("count").toInt(), 5);

        QVERIFY(tabTo("modePicker"));
        key(Qt::Key_Right);
        QTRY_COMPARE(find("mainView")->property("mode").toString(), QStringLiteral("nodes"));
        key(Qt::Key_Left);
        QTRY_COMPARE(find("mainView")->property("mode").toString(), QStringLiteral("messages"));

        // Arrow keys select rows and the focus stays on the list.
        QVERIFY(tabTo("conversationList"));
        key(Qt::Key_Down);
        QCOMPARE(m_rig->controller->selectedConversation(),
                 std::optional(ConversationID::channel(0)));
        key(Qt::Key_Down);
        key(Qt::Key_Down);
        QCOMPARE(find("conversationList")->property("currentIndex").toInt(), 2);
        QCOMPARE(focusName(), QStringLiteral("conversationList"));
        key(Qt::Key_Up);
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
        QCOMPARE(m_rig->controller->selectedConversation(),
                 std::optional(ConversationID::contact(aino->publicKey)));
        QCOMPARE(focusName(), QStringLiteral("conversationList"));

        // Enter moves into the composer; typing and Return send.
        key(Qt::Key_Return);
        QTRY_COMPARE(focusName(), QStringLiteral("composerText"));
        type(QStringLiteral("hi"));
        key(Qt::Key_Return);
        QTRY_VERIFY(find("messageList")->property("count").toInt() >= 1);
        QCOMPARE(m_rig->controller->conversations()
                     .value(ConversationID::contact(aino->publicKey).conversationKey())
                     .messages.last()
                     .text,
                 QStringLiteral("hi"));
        // Escape goes back to the list.
        key(Qt::Key_Escape);
        QCOMPARE(focusName(), QStringLiteral("conversationList"));

        // Ctrl+F searches; Escape clears the search and returns to the list.
        key(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(focusName(), QStringLiteral("sidebarSearch"));
        type(QStringLiteral("zz"));
        QCOMPARE(find("sidebarSearch")->property("text").toString(), QStringLiteral("zz"));
        key(Qt::Key_Escape);
        QCOMPARE(find("sidebarSearch")->property("text").toString(), QString());
        QCOMPARE(focusName(), QStringLiteral("conversationList"));

        // Ctrl+2 and Ctrl+1 switch the list.
        key(Qt::Key_2, Qt::ControlModifier);
        QTRY_COMPARE(find("mainView")->property("mode").toString(), QStringLiteral("nodes"));
        key(Qt::Key_1, Qt::ControlModifier);
        QTRY_COMPARE(find("mainView")->property("mode").toString(), QStringLiteral("messages"));

        // Ctrl+Shift+D drops the link.
        key(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(find("connectionView"));
        QVERIFY(m_rig->controller->transportState() != TransportState::connected);
    }

    // Each sheet opens from the keyboard and Escape closes it; the channel
    // sheet's type picker moves with the arrow keys.
    void keyboardOnlySheets() {
        QVERIFY(connectByKeyboard());
        QVERIFY(tabTo("addButton"));
        key(Qt::Key_Space);
        key(Qt::Key_Down);
        key(Qt::Key_Return);
        QTRY_VERIFY(find("addContactSheet") &&
                    find("addContactSheet")->property("opened").toBool());
        key(Qt::Key_Escape);
        QTRY_VERIFY(!find("mainView")->property("showAddContact").toBool());

        QVERIFY(tabTo("addButton"));
        key(Qt::Key_Space);
        key(Qt::Key_Down);
        key(Qt::Key_Down);
        key(Qt::Key_Return);
        QTRY_VERIFY(find("addChannelSheet") &&
                    find("addChannelSheet")->property("opened").toBool());
        QObject* form = find("addChannelSheet")->findChild<QObject*>(QStringLiteral("form"));
        auto* sheet = find("addChannelSheet")->property("contentItem").value<QQuickItem*>();
        QVERIFY(tabTo("modePicker", sheet));
        key(Qt::Key_Right);
        QCOMPARE(form->property("mode").toInt(), 1);
        key(Qt::Key_Escape);
        QTRY_VERIFY(!find("mainView")->property("showAddChannel").toBool());
    }

    // The device pane from the menu shortcut; Escape leaves the name editor
    // without saving.
    void keyboardOnlyDeviceName() {
        QVERIFY(connectByKeyboard());
        const QString before = m_rig->controller->selfInfo()->name;
        key(Qt::Key_I, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(find("deviceView"));
        advance(2s);
        QVERIFY(tabTo("editNameButton"));
        key(Qt::Key_Space);
        QTRY_COMPARE(focusName(), QStringLiteral("nameEditor"));
        type(QStringLiteral("XYZ"));
        m_rig->radio.clearWrittenFrames();
        key(Qt::Key_Escape);
        advance(2s);
        QVERIFY(!find("deviceModel")->property("editingName").toBool());
        QCOMPARE(m_rig->controller->selfInfo()->name, before);
        QVERIFY(m_rig->radio.writtenFrames().isEmpty());
        QCOMPARE(focusName(), QStringLiteral("editNameButton"));
    }

    // The window's title names the open chat, then the node shown.
    void titleFollowsTheDetail() {
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(find("mainView"));
        QCOMPARE(window()->title(), QStringLiteral("Talvenne"));
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
        m_rig->controller->setSelectedConversation(ConversationID::contact(aino->publicKey));
        QTRY_VERIFY(window()->title().startsWith(QStringLiteral("Aino Virtanen – ")));
        QVERIFY(window()->title().endsWith(QStringLiteral(" — Talvenne")));
        QVERIFY(window()->title().contains(find("chatSubtitle")->property("text").toString()));

        find("mainView")->setProperty("mode", QStringLiteral("nodes"));
        QTRY_COMPARE(window()->title(), QStringLiteral("Talvenne"));
        const auto ridge = m_rig->contactNamed(QStringLiteral("Ridge Repeater"));
        find("mainView")->setProperty("nodeSelection", ridge->publicKey);
        QTRY_COMPARE(window()->title(), QStringLiteral("Ridge Repeater — Talvenne"));
    }

    // Disconnect is in the File menu only while connected.
    void disconnectMenuItemOnlyWhileConnected() {
        auto* disconnect = find("disconnectMenuItem");
        QVERIFY(disconnect);
        auto* action = disconnect->property("action").value<QObject*>();
        QVERIFY(action);
        QVERIFY(!action->property("enabled").toBool());
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(action->property("enabled").toBool());
        QCOMPARE(disconnect->property("text").toString(), QStringLiteral("Disconnect"));
    }

    // Every interactive element of the main views carries a name for screen
    // readers, read through Qt's accessibility interfaces.
    void everyControlHasAName_data() {
        QTest::addColumn<QString>("scene");
        for (const char* scene : {"connection", "chat+device", "chat+chatInfo", "channel", "node",
                                  "addContact", "addChannel"})
            QTest::newRow(scene) << QString::fromLatin1(scene);
    }

    void everyControlHasAName() {
        QFETCH(QString, scene);
        QAccessible::setActive(true);
        if (scene == QLatin1String("connection")) {
            advance(500ms);
            QTRY_VERIFY(item("deviceRow"));
        } else {
            QVERIFY(m_rig->connect());
            QTRY_VERIFY(find("mainView"));
            auto* main = find("mainView");
            const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
            const ConversationID chat = ConversationID::contact(aino->publicKey);
            m_rig->controller->appendMessage(
                incomingMessage(QStringLiteral("hello there"), m_rig->clock.now()), chat);
            m_rig->controller->sendMessage(QStringLiteral("on my way"), chat);
            if (scene.startsWith(QLatin1String("chat")))
                m_rig->controller->setSelectedConversation(chat);
            if (scene == QLatin1String("chat+device"))
                main->setProperty("inspector", QStringLiteral("device"));
            if (scene == QLatin1String("chat+chatInfo"))
                main->setProperty("inspector", QStringLiteral("chatInfo"));
            if (scene == QLatin1String("channel"))
                m_rig->controller->setSelectedConversation(ConversationID::channel(0));
            if (scene == QLatin1String("node")) {
                main->setProperty("mode", QStringLiteral("nodes"));
                main->setProperty("nodeSelection",
                                  m_rig->contactNamed(QStringLiteral("Ridge Repeater"))->publicKey);
            }
            if (scene == QLatin1String("addContact"))
                main->setProperty("showAddContact", true);
            if (scene == QLatin1String("addChannel"))
                main->setProperty("showAddChannel", true);
            advance(2s);
            QTest::qWait(300);
        }

        QAccessibleInterface* root = QAccessible::queryAccessibleInterface(window());
        QVERIFY(root);
        static const QSet<QAccessible::Role> interactive{
            QAccessible::Button,   QAccessible::CheckBox,     QAccessible::RadioButton,
            QAccessible::ComboBox, QAccessible::EditableText, QAccessible::Slider,
            QAccessible::PageTab,  QAccessible::PageTabList,  QAccessible::ListItem,
            QAccessible::List,     QAccessible::ButtonMenu,   QAccessible::MenuItem,
            QAccessible::Link};
        QStringList unnamed;
        int named = 0;
        std::function<void(QAccessibleInterface*, int)> walk = [&](QAccessibleInterface* node,
                                                                   int depth) {
            if (!node || depth > 60 || node->state().invisible)
                return;
            // Read-only text is read out by its content.
            const bool readOnlyText = node->role() == QAccessible::EditableText &&
                                      node->state().readOnly &&
                                      !node->text(QAccessible::Value).isEmpty();
            if (interactive.contains(node->role()) && !readOnlyText) {
                if (node->text(QAccessible::Name).trimmed().isEmpty()) {
                    QObject* object = node->object();
                    unnamed << QStringLiteral("%1 role %2 (%3)")
                                   .arg(object ? object->metaObject()->className() : "?")
                                   .arg(int(node->role()))
                                   .arg(object ? object->objectName() : QString());
                } else {
                    ++named;
                }
            }
            for (int i = 0; i < node->childCount(); ++i)
                walk(node->child(i), depth + 1);
        };
        walk(root, 0);
        QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(QStringLiteral("; "))));
        QVERIFY(named >= 3);
    }

    // From the minimum width up, with either inspector open, nothing sticks
    // out of the window or out of the pane that clips it, and no unwrapped
    // text is wider than the room it got.
    void minimumSizeLaysOut_data() {
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("inspector");
        QTest::addColumn<bool>("empty");
        for (int width : {900, 931, 1000, 1120})
            for (const char* inspector : {"", "device", "chatInfo"}) {
                QTest::addRow("%d %s", width, inspector) << width << inspector << false;
                QTest::addRow("%d %s empty chat", width, inspector) << width << inspector << true;
            }
    }

    void minimumSizeLaysOut() {
        QFETCH(int, width);
        QFETCH(QString, inspector);
        QFETCH(bool, empty);
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(find("mainView"));
        const auto contact = m_rig->contactNamed(empty ? QStringLiteral("Jérôme Bélanger")
                                                       : QStringLiteral("Aino Virtanen"));
        const ConversationID chat = ConversationID::contact(contact->publicKey);
        if (!empty)
            m_rig->controller->appendMessage(
                incomingMessage(QStringLiteral("A longer message that wraps over a few lines "
                                               "once the column is narrow enough to need it."),
                                m_rig->clock.now()),
                chat);
        m_rig->controller->setSelectedConversation(chat);
        find("mainView")->setProperty("inspector", inspector);
        window()->resize(width, 600);
        advance(2s);
        QTest::qWait(200);
        QTRY_COMPARE(window()->width(), width);

        QStringList cut;
        const QRectF windowRect(0, 0, window()->width(), window()->height());
        std::function<void(QQuickItem*, QRectF)> visit = [&](QQuickItem* node, QRectF clip) {
            if (!node->isVisible() || node->opacity() == 0)
                return;
            const QRectF rect = node->mapRectToScene(QRectF(0, 0, node->width(), node->height()));
            const char* type = node->metaObject()->className();
            const bool leaf = node->childItems().isEmpty();
            if (leaf && rect.width() > 0 && rect.height() > 0 &&
                (rect.left() < clip.left() - 1 || rect.right() > clip.right() + 1))
                cut << QStringLiteral("%1 %2 at %3..%4 outside %5..%6")
                           .arg(type, node->objectName())
                           .arg(rect.left())
                           .arg(rect.right())
                           .arg(clip.left())
                           .arg(clip.right());
            if (QByteArray(type).startsWith("QQuickText") && !node->inherits("QQuickTextEdit") &&
                node->property("wrapMode").toInt() == 0 && node->property("elide").toInt() == 0 &&
                node->implicitWidth() > node->width() + 1 &&
                !node->property("text").toString().isEmpty())
                cut << QStringLiteral("text \"%1\" needs %2 but has %3")
                           .arg(node->property("text").toString())
                           .arg(node->implicitWidth())
                           .arg(node->width());
            const QRectF inner = node->clip() ? clip.intersected(rect) : clip;
            for (QQuickItem* child : node->childItems())
                visit(child, inner);
        };
        visit(window()->contentItem(), windowRect);
        QVERIFY2(cut.isEmpty(), qPrintable(cut.mid(0, 8).join(QStringLiteral("\n"))));
    }
};

QTEST_MAIN(TestWindowAccess)
#include "test_window_access.moc"
