#include "translations.h"
#include "ui_rig.h"

#include <QAccessible>
#include <QQuickStyle>
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

    std::unique_ptr<WindowRig> m_rig;

    QQuickWindow* window() const { return m_rig->window(); }
    template <typename T = QObject>
    T* find(const char* name) const {
        return m_rig->find<T>(name);
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
    bool connectByKeyboard() {
        m_rig->advance(500ms); // the scan finds the demo radio
        if (!QTest::qWaitFor([&] { return m_rig->item("deviceRow") != nullptr; }))
            return false;
        if (!tabTo("deviceRow"))
            return false;
        key(Qt::Key_Space);
        m_rig->advance(1s);
        m_rig->advance(20s);
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
        m_rig = std::make_unique<WindowRig>();
        QVERIFY(window());
        window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(window()));
    }

    void cleanup() { m_rig.reset(); }

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
        const ConversationID aino = m_rig->chatWith(QStringLiteral("Aino Virtanen"));
        QCOMPARE(m_rig->controller->selectedConversation(), std::optional(aino));
        QCOMPARE(focusName(), QStringLiteral("conversationList"));

        // Enter moves into the composer; typing and Return send.
        key(Qt::Key_Return);
        QTRY_COMPARE(focusName(), QStringLiteral("composerText"));
        type(QStringLiteral("hi"));
        key(Qt::Key_Return);
        QTRY_VERIFY(find("messageList")->property("count").toInt() >= 1);
        QCOMPARE(
            m_rig->controller->conversations().value(aino.conversationKey()).messages.last().text,
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

    // Each sheet opens from the keyboard; in the contact sheet Return adds
    // only once the button is enabled; Escape closes the channel sheet, whose
    // type picker moves with the arrow keys.
    void keyboardOnlySheets() {
        QVERIFY(connectByKeyboard());
        QVERIFY(tabTo("addButton"));
        key(Qt::Key_Space);
        key(Qt::Key_Down);
        key(Qt::Key_Return);
        QObject* contactSheet = find("addContactSheet");
        QTRY_VERIFY(contactSheet && contactSheet->property("opened").toBool());
        QObject* contactForm = contactSheet->findChild<QObject*>(QStringLiteral("form"));
        QObject* keyField = contactSheet->findChild<QObject*>(QStringLiteral("keyField"));
        contactSheet->findChild<QObject*>(QStringLiteral("nameField"))
            ->setProperty("text", QStringLiteral("Saana"));
        const QString key64(64, QLatin1Char('5'));
        keyField->setProperty("text", key64.left(40));
        key(Qt::Key_Return);
        QVERIFY(!contactForm->property("isWorking").toBool());
        keyField->setProperty("text", key64);
        key(Qt::Key_Return);
        QVERIFY(contactForm->property("isWorking").toBool());
        m_rig->advance(1s);
        QTRY_VERIFY(!find("mainView")->property("showAddContact").toBool());
        QVERIFY(m_rig->contactNamed(QStringLiteral("Saana")));

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
        m_rig->advance(2s);
        QVERIFY(tabTo("editNameButton"));
        key(Qt::Key_Space);
        QTRY_COMPARE(focusName(), QStringLiteral("nameEditor"));
        type(QStringLiteral("XYZ"));
        m_rig->radio.clearWrittenFrames();
        key(Qt::Key_Escape);
        m_rig->advance(2s);
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
        m_rig->controller->setSelectedConversation(
            m_rig->chatWith(QStringLiteral("Aino Virtanen")));
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
        QTest::addColumn<QString>("chat");     // a contact's name, or "Public"
        QTest::addColumn<QVariantMap>("main"); // what the main view shows beside it
        const QString aino = QStringLiteral("Aino Virtanen");
        QTest::newRow("connection") << QString() << QVariantMap();
        QTest::newRow("chat, device") << aino << QVariantMap{{"inspector", "device"}};
        QTest::newRow("chat, chat info") << aino << QVariantMap{{"inspector", "chatInfo"}};
        QTest::newRow("channel") << QStringLiteral("Public") << QVariantMap();
        QTest::newRow("node") << QString()
                              << QVariantMap{{"mode", "nodes"},
                                             {"nodeSelection", "Ridge Repeater"}};
        QTest::newRow("add contact") << QString() << QVariantMap{{"showAddContact", true}};
        QTest::newRow("add channel") << QString() << QVariantMap{{"showAddChannel", true}};
    }

    void everyControlHasAName() {
        QFETCH(QString, chat);
        QFETCH(QVariantMap, main);
        QAccessible::setActive(true);
        if (QTest::currentDataTag() == QLatin1String("connection")) {
            m_rig->advance(500ms);
            QTRY_VERIFY(m_rig->item("deviceRow"));
        } else {
            QVERIFY(m_rig->connect());
            QTRY_VERIFY(find("mainView"));
            const ConversationID aino = m_rig->chatWith(QStringLiteral("Aino Virtanen"));
            m_rig->controller->appendMessage(
                incomingMessage(QStringLiteral("hello there"), m_rig->clock.now()), aino);
            m_rig->controller->sendMessage(QStringLiteral("on my way"), aino);
            if (!chat.isEmpty())
                m_rig->controller->setSelectedConversation(
                    chat == QLatin1String("Public") ? ConversationID::channel(0) : aino);
            for (auto [property, value] : main.asKeyValueRange())
                find("mainView")
                    ->setProperty(property.toLatin1().constData(),
                                  property == QLatin1String("nodeSelection")
                                      ? QVariant(m_rig->contactNamed(value.toString())->publicKey)
                                      : value);
            m_rig->advance(2s);
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
        const ConversationID chat = m_rig->chatWith(empty ? QStringLiteral("Jérôme Bélanger")
                                                          : QStringLiteral("Aino Virtanen"));
        if (!empty)
            m_rig->controller->appendMessage(
                incomingMessage(QStringLiteral("A longer message that wraps over a few lines "
                                               "once the column is narrow enough to need it."),
                                m_rig->clock.now()),
                chat);
        m_rig->controller->setSelectedConversation(chat);
        find("mainView")->setProperty("inspector", inspector);
        window()->resize(width, 600);
        m_rig->advance(2s);
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
