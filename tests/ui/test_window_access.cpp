#include "ui_rig.h"

#include <QAccessible>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

// The whole window as a keyboard and screen-reader user meets it: Tab
// order, arrow keys, shortcuts and menus, the accessibility tree and the
// title, and the layout at the smallest window size.
class TestWindowAccess : public QObject {
    Q_OBJECT

    std::unique_ptr<WindowRig> m_rig;

    QQuickWindow* window() const { return m_rig->window(); }
    QObject* find(const char* name) const { return m_rig->find(name); }
    QString mode() const { return m_rig->value("mainView", "mode").toString(); }
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
    bool tabTo(const char* name, QQuickItem* within = nullptr) {
        const auto reached = [&] {
            QQuickItem* focus = window()->activeFocusItem();
            return focus && focusName() == QLatin1String(name) &&
                   (!within || within->isAncestorOf(focus));
        };
        for (int i = 0; i < 60 && !reached(); ++i)
            key(Qt::Key_Tab);
        return reached();
    }
    // Opens the add menu's entry `index` with the keyboard and waits for its sheet.
    QObject* openSheet(int index, const char* sheet) {
        if (!tabTo("addButton"))
            return nullptr;
        key(Qt::Key_Space);
        for (int i = 0; i < index; ++i)
            key(Qt::Key_Down);
        key(Qt::Key_Return);
        QObject* opened = nullptr;
        return QTest::qWaitFor(
                   [&] { return (opened = find(sheet)) && opened->property("opened").toBool(); })
                   ? opened
                   : nullptr;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY(prepareViewTests()); }

    void init() {
        m_rig = std::make_unique<WindowRig>();
        QVERIFY(window());
        window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(window()));
    }

    void cleanup() { m_rig.reset(); }

    // Connect, add a contact and leave the channel sheet, leave the radio's
    // name unchanged, switch modes, walk the list, open a chat and send, and
    // leave again, without touching the mouse.
    void keyboardOnly() {
        m_rig->advance(500ms); // the scan finds the demo radio
        QTRY_VERIFY(m_rig->item("deviceRow"));
        QVERIFY(!find("disconnectMenuItem")->property("enabled").toBool());
        QVERIFY(tabTo("deviceRow"));
        key(Qt::Key_Space);
        m_rig->advance(1s);
        m_rig->advance(20s);
        QTRY_COMPARE(m_rig->count("conversationList"), 5);
        QVERIFY(find("disconnectMenuItem")->property("enabled").toBool());

        // In the contact sheet Return adds only once the button is enabled.
        QObject* contactSheet = openSheet(1, "addContactSheet");
        QVERIFY(contactSheet);
        QObject* contactForm = contactSheet->findChild<QObject*>(u"form"_s);
        QObject* keyField = contactSheet->findChild<QObject*>(u"keyField"_s);
        contactSheet->findChild<QObject*>(u"nameField"_s)->setProperty("text", u"Saana"_s);
        keyField->setProperty("text", QString(40, u'5'));
        key(Qt::Key_Return);
        QVERIFY(!contactForm->property("isWorking").toBool());
        keyField->setProperty("text", QString(64, u'5'));
        key(Qt::Key_Return);
        QVERIFY(contactForm->property("isWorking").toBool());
        m_rig->advance(1s);
        QTRY_VERIFY(!m_rig->value("mainView", "showAddContact").toBool());
        QVERIFY(m_rig->contactNamed(u"Saana"_s));

        // The channel sheet's type picker moves with the arrow keys; Escape
        // closes the sheet.
        QObject* channelSheet = openSheet(2, "addChannelSheet");
        QVERIFY(channelSheet);
        QVERIFY(tabTo("modePicker", channelSheet->property("contentItem").value<QQuickItem*>()));
        key(Qt::Key_Right);
        QCOMPARE(channelSheet->findChild<QObject*>(u"form"_s)->property("mode").toInt(), 1);
        key(Qt::Key_Escape);
        QTRY_VERIFY(!m_rig->value("mainView", "showAddChannel").toBool());

        // The device pane from the menu shortcut; Escape leaves the name
        // editor without saving.
        const QString name = m_rig->controller->selfInfo()->name;
        key(Qt::Key_I, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(find("deviceView"));
        m_rig->advance(2s);
        QVERIFY(tabTo("editNameButton"));
        key(Qt::Key_Space);
        QTRY_COMPARE(focusName(), u"nameEditor"_s);
        type(u"XYZ"_s);
        m_rig->radio.clearWrittenFrames();
        key(Qt::Key_Escape);
        m_rig->advance(2s);
        QVERIFY(!m_rig->value("deviceModel", "editingName").toBool());
        QCOMPARE(m_rig->controller->selfInfo()->name, name);
        QVERIFY(m_rig->radio.writtenFrames().isEmpty());
        QCOMPARE(focusName(), u"editNameButton"_s);

        QVERIFY(tabTo("modePicker"));
        key(Qt::Key_Right);
        QTRY_COMPARE(mode(), u"nodes"_s);
        key(Qt::Key_Left);
        QTRY_COMPARE(mode(), u"messages"_s);

        // Arrow keys select rows and the focus stays on the list.
        QVERIFY(tabTo("conversationList"));
        key(Qt::Key_Down);
        QCOMPARE(m_rig->controller->selectedConversation(),
                 std::optional(ConversationID::channel(0)));
        key(Qt::Key_Down);
        key(Qt::Key_Down);
        QCOMPARE(m_rig->value("conversationList", "currentIndex").toInt(), 2);
        QCOMPARE(focusName(), u"conversationList"_s);
        key(Qt::Key_Up);
        QCOMPARE(m_rig->value("conversationList", "currentIndex").toInt(), 1);
        const auto chat = m_rig->controller->selectedConversation();
        QVERIFY(chat && chat->isContact());
        QCOMPARE(focusName(), u"conversationList"_s);

        // Enter moves into the composer; typing and Return send; Escape
        // goes back to the list.
        key(Qt::Key_Return);
        QTRY_COMPARE(focusName(), u"composerText"_s);
        type(u"hi"_s);
        key(Qt::Key_Return);
        QTRY_VERIFY(m_rig->count("messageList") >= 1);
        QCOMPARE(
            m_rig->controller->conversations().value(chat->conversationKey()).messages.last().text,
            u"hi"_s);
        key(Qt::Key_Escape);
        QCOMPARE(focusName(), u"conversationList"_s);

        // Ctrl+F searches; Escape clears the search and returns to the list.
        key(Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(focusName(), u"sidebarSearch"_s);
        type(u"zz"_s);
        QCOMPARE(m_rig->text("sidebarSearch"), u"zz"_s);
        key(Qt::Key_Escape);
        QCOMPARE(m_rig->text("sidebarSearch"), QString());
        QCOMPARE(focusName(), u"conversationList"_s);

        // Ctrl+2 and Ctrl+1 switch the list.
        key(Qt::Key_2, Qt::ControlModifier);
        QTRY_COMPARE(mode(), u"nodes"_s);
        key(Qt::Key_1, Qt::ControlModifier);
        QTRY_COMPARE(mode(), u"messages"_s);

        // Ctrl+Shift+D drops the link.
        key(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
        QTRY_VERIFY(find("connectionView"));
        QVERIFY(m_rig->controller->transportState() != TransportState::connected);
    }

    // After connecting the focus is on the conversation list, and shows.
    // Tab and Shift+Tab leave the composer without typing anything, and
    // every pane is reached by Tab: the sidebar, the chat and either
    // inspector beside it.
    void tabReachesEveryPane_data() {
        QTest::addColumn<QString>("inspector");
        QTest::addColumn<QByteArray>("paneItem"); // a control inside the inspector
        QTest::newRow("device") << u"device"_s << QByteArray("editNameButton");
        QTest::newRow("chat info") << u"chatInfo"_s << QByteArray("favoriteButton");
    }

    void tabReachesEveryPane() {
        QFETCH(QString, inspector);
        QFETCH(QByteArray, paneItem);
        QVERIFY(m_rig->connectToMainView());
        QTRY_COMPARE(focusName(), u"conversationList"_s);
        QTRY_VERIFY(m_rig->shows("listFocusRing"));

        m_rig->controller->setSelectedConversation(m_rig->chatWith(u"Aino Virtanen"_s));
        find("mainView")->setProperty("inspector", inspector);
        m_rig->advance(2s);
        QVERIFY(tabTo("composerText"));
        type(u"hi"_s);
        key(Qt::Key_Tab);
        QVERIFY(focusName() != u"composerText"_s);
        QVERIFY(tabTo("composerText"));
        key(Qt::Key_Backtab);
        QVERIFY(focusName() != u"composerText"_s);
        QCOMPARE(m_rig->text("composerText"), u"hi"_s);

        QVERIFY(tabTo(paneItem.constData(), m_rig->find<QQuickItem>("inspector")));
        QVERIFY(tabTo("sidebarSearch"));
        QVERIFY(tabTo("conversationList"));
    }

    // Every interactive element of the main views carries a name for screen
    // readers, read through Qt's accessibility interfaces; the window's
    // title names the open chat or node.
    void everyControlHasAName_data() {
        QTest::addColumn<QString>("chat");     // a contact's name, or "Public"
        QTest::addColumn<QVariantMap>("main"); // what the main view shows beside it
        const QString aino = u"Aino Virtanen"_s;
        QTest::newRow("connection") << QString() << QVariantMap();
        QTest::newRow("chat, device") << aino << QVariantMap{{"inspector", "device"}};
        QTest::newRow("chat, chat info") << aino << QVariantMap{{"inspector", "chatInfo"}};
        QTest::newRow("channel") << u"Public"_s << QVariantMap();
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
            QVERIFY(m_rig->connectToMainView());
            const ConversationID aino = m_rig->chatWith(u"Aino Virtanen"_s);
            m_rig->controller->appendMessage(incomingMessage(u"hello there"_s, m_rig->clock.now()),
                                             aino);
            m_rig->controller->sendMessage(u"on my way"_s, aino);
            if (!chat.isEmpty())
                m_rig->controller->setSelectedConversation(
                    chat == u"Public"_s ? ConversationID::channel(0) : aino);
            for (auto [property, value] : main.asKeyValueRange())
                find("mainView")
                    ->setProperty(property.toLatin1().constData(),
                                  property == u"nodeSelection"_s
                                      ? QVariant(m_rig->contactNamed(value.toString())->publicKey)
                                      : value);
            m_rig->advance(2s);
            QTest::qWait(300);
        }
        const QString title =
            chat.isEmpty() ? main.value(u"nodeSelection"_s).toString() : chat + u" – "_s;
        QVERIFY2(window()->title().startsWith(title) && window()->title().endsWith(u"Talvenne"),
                 qPrintable(window()->title()));

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
                const bool hasName = !node->text(QAccessible::Name).trimmed().isEmpty();
                named += hasName;
                if (!hasName)
                    unnamed << u"%1 role %2 (%3)"_s
                                   .arg(node->object() ? node->object()->metaObject()->className()
                                                       : "?")
                                   .arg(int(node->role()))
                                   .arg(node->object() ? node->object()->objectName() : QString());
            }
            for (int i = 0; i < node->childCount(); ++i)
                walk(node->child(i), depth + 1);
        };
        walk(QAccessible::queryAccessibleInterface(window()), 0);
        QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(u"; "_s)));
        QVERIFY(named >= 3);
    }

    // At the minimum and the default width, with either inspector open,
    // nothing sticks out of the window or out of the pane that clips it, and
    // no unwrapped text is wider than the room it got.
    void minimumSizeLaysOut_data() {
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("inspector");
        QTest::addColumn<bool>("empty");
        for (int width : {900, 1120})
            for (const char* inspector : {"", "device", "chatInfo"}) {
                QTest::addRow("%d %s", width, inspector) << width << inspector << false;
                QTest::addRow("%d %s empty chat", width, inspector) << width << inspector << true;
            }
    }

    void minimumSizeLaysOut() {
        QFETCH(int, width);
        QFETCH(QString, inspector);
        QFETCH(bool, empty);
        QVERIFY(m_rig->connectToMainView());
        const ConversationID chat =
            m_rig->chatWith(empty ? u"Jérôme Bélanger"_s : u"Aino Virtanen"_s);
        if (!empty)
            m_rig->controller->appendMessage(
                incomingMessage(u"A longer message that wraps over a few lines once the column "
                                u"is narrow enough to need it."_s,
                                m_rig->clock.now()),
                chat);
        m_rig->controller->setSelectedConversation(chat);
        find("mainView")->setProperty("inspector", inspector);
        window()->resize(width, 600);
        m_rig->advance(2s);
        QTest::qWait(200);
        QTRY_COMPARE(window()->width(), width);

        QStringList cut;
        std::function<void(QQuickItem*, QRectF)> visit = [&](QQuickItem* node, QRectF clip) {
            if (!node->isVisible() || node->opacity() == 0)
                return;
            const QRectF rect = node->mapRectToScene(QRectF(0, 0, node->width(), node->height()));
            const char* type = node->metaObject()->className();
            if (node->childItems().isEmpty() && rect.width() > 0 && rect.height() > 0 &&
                (rect.left() < clip.left() - 1 || rect.right() > clip.right() + 1))
                cut << u"%1 %2 at %3..%4 outside %5..%6"_s.arg(type, node->objectName())
                           .arg(rect.left())
                           .arg(rect.right())
                           .arg(clip.left())
                           .arg(clip.right());
            if (QByteArray(type).startsWith("QQuickText") && !node->inherits("QQuickTextEdit") &&
                node->property("wrapMode").toInt() == 0 && node->property("elide").toInt() == 0 &&
                node->implicitWidth() > node->width() + 1 && !textOf(node).isEmpty())
                cut << u"text \"%1\" needs %2 but has %3"_s.arg(textOf(node))
                           .arg(node->implicitWidth())
                           .arg(node->width());
            for (QQuickItem* child : node->childItems())
                visit(child, node->clip() ? clip.intersected(rect) : clip);
        };
        visit(window()->contentItem(), QRectF(0, 0, window()->width(), window()->height()));
        QVERIFY2(cut.isEmpty(), qPrintable(cut.mid(0, 8).join(u"\n"_s)));
    }
};

QTEST_MAIN(TestWindowAccess)
#include "test_window_access.moc"
