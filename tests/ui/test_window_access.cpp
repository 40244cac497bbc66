#include "ui_rig.h"

#include <QAccessible>
#include <QClipboard>
#include <QGuiApplication>
#include <QScopeGuard>
#include <QTest>
#include <QTranslator>
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

    // The menus list each item's shortcut beside it.
    void menusListTheirShortcuts_data() {
        QTest::addColumn<QByteArray>("item");
        QTest::addColumn<QString>("shortcut");
        QTest::newRow("disconnect") << QByteArray("disconnectMenuItem") << u"Ctrl+Shift+D"_s;
        QTest::newRow("quit, a standard key") << QByteArray("quitMenuItem") << u"Ctrl+Q"_s;
        QTest::newRow("messages") << QByteArray("messagesMenuItem") << u"Ctrl+1"_s;
        QTest::newRow("find") << QByteArray("findMenuItem") << u"Ctrl+F"_s;
        QTest::newRow("search messages")
            << QByteArray("historySearchMenuItem") << u"Ctrl+Shift+F"_s;
        QTest::newRow("device") << QByteArray("deviceMenuItem") << u"Ctrl+Shift+I"_s;
        QTest::newRow("none on a switch") << QByteArray("autoReconnectMenuItem") << QString();
    }
    void menusListTheirShortcuts() {
        QFETCH(QByteArray, item);
        QFETCH(QString, shortcut);
        QVERIFY(m_rig->connectToMainView());
        QObject* menuItem = find(item.constData());
        QVERIFY(menuItem);
        auto* shown = menuItem->findChild<QQuickItem*>(u"shortcutText"_s);
        QVERIFY(shown);
        QCOMPARE(textOf(shown), shortcut);
        QCOMPARE(shown->isVisible() || !menuItem->property("visible").toBool(),
                 !shortcut.isEmpty() || !menuItem->property("visible").toBool());
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

    // A contact or channel that is there already, typed again: the sheet
    // says so with its name and offers to open it; Return opens it (from
    // the nodes list too) and nothing is sent to the radio.
    void addingWhatIsThereOpensIt_data() {
        QTest::addColumn<int>("entry"); // of the add menu: 1 contact, 2 channel
        QTest::addColumn<int>("channelMode");
        QTest::addColumn<QVariantMap>("fields");
        QTest::addColumn<QString>("named");
        const QString publicSecret = SimulatedRadio::publicChannelSecret.toUpper();
        QTest::newRow("contact, its key typed otherwise")
            << 1 << 0
            << QVariantMap{{u"nameField"_s, u"Someone else"_s}, {u"keyField"_s, u"aino"_s}}
            << u"Aino Virtanen"_s;
        QTest::newRow("public channel, another name")
            << 2 << 2 << QVariantMap{{u"nameField"_s, u"Town square"_s}} << u"Public"_s;
        QTest::newRow("private channel, the public secret spaced")
            << 2 << 1
            << QVariantMap{{u"nameField"_s, u"Other"_s},
                           {u"secretField"_s, publicSecret.left(8) + u" "_s + publicSecret.mid(8)}}
            << u"Public"_s;
    }
    void addingWhatIsThereOpensIt() {
        QFETCH(int, entry);
        QFETCH(int, channelMode);
        QFETCH(QVariantMap, fields);
        QFETCH(QString, named);
        QVERIFY(m_rig->connectToMainView());
        m_rig->advance(2s);
        const Contact aino = *m_rig->contactNamed(u"Aino Virtanen"_s);
        const QList<Channel> channels = m_rig->controller->channels();
        find("mainView")->setProperty("mode", u"nodes"_s);
        QObject* sheet = openSheet(entry, entry == 1 ? "addContactSheet" : "addChannelSheet");
        QVERIFY(sheet);
        if (entry == 2)
            sheet->findChild<QObject*>(u"form"_s)->setProperty("mode", channelMode);
        for (auto [field, value] : fields.asKeyValueRange()) {
            if (value == u"aino"_s)
                value = u"  "_s + aino.publicKey.toUpper().replace(u"AA"_s, u"AA:"_s);
            sheet->findChild<QObject*>(field)->setProperty("text", value);
        }
        QObject* existingRow = sheet->findChild<QObject*>(u"existingRow"_s);
        QVERIFY(existingRow);
        const QString note = existingRow->property("message").toString();
        QVERIFY2(note.contains(named), qPrintable(note));
        QCOMPARE(textOf(sheet->findChild<QObject*>(u"mainButton"_s)), qtTrId("add.button.open"));

        m_rig->radio.clearWrittenFrames();
        key(Qt::Key_Return);
        QTRY_VERIFY(
            !m_rig->value("mainView", entry == 1 ? "showAddContact" : "showAddChannel").toBool());
        m_rig->advance(1s);
        QCOMPARE(mode(), u"messages"_s);
        const auto opened = m_rig->controller->selectedConversation();
        QVERIFY(opened);
        QCOMPARE(m_rig->controller->conversationTitle(*opened), named);
        QVERIFY(m_rig->radio.writtenFrames().isEmpty());
        QCOMPARE(*m_rig->contactNamed(u"Aino Virtanen"_s), aino);
        QCOMPARE(m_rig->controller->channels(), channels);
    }

    // A name longer than the radio keeps is counted in bytes and refused;
    // after a click on Copy the secret's sheet still closes with Return.
    void channelSheetCountsTheNameAndReturnCloses() {
        QVERIFY(m_rig->connectToMainView());
        m_rig->advance(2s);
        QObject* sheet = openSheet(2, "addChannelSheet");
        QVERIFY(sheet);
        QObject* name = sheet->findChild<QObject*>(u"nameField"_s);
        m_rig->radio.clearWrittenFrames();
        name->setProperty("text", u"Nachteulen über Öland und Åland"_s);
        QObject* counter = name->findChild<QObject*>(u"counter"_s);
        QCOMPARE(textOf(counter), u"34/32"_s);
        key(Qt::Key_Return);
        m_rig->advance(1s);
        QVERIFY(m_rig->radio.writtenFrames().isEmpty());
        QVERIFY(!sheet->findChild<QObject*>(u"mainButton"_s)->property("enabled").toBool());

        name->setProperty("text", u"Nachteulen über Öland"_s);
        QCOMPARE(textOf(counter), u"23/32"_s);
        key(Qt::Key_Return);
        m_rig->advance(1s);
        auto* copy = qobject_cast<QQuickItem*>(sheet->findChild<QObject*>(u"copyButton"_s));
        QTRY_VERIFY(copy && copy->isVisible());
        click(copy);
        QCOMPARE(QGuiApplication::clipboard()->text().size(), 32);
        key(Qt::Key_Return);
        QTRY_VERIFY(!m_rig->value("mainView", "showAddChannel").toBool());
    }

    // The cards of the panes at the smallest window, in English and German:
    // no text is drawn over another, and no divider runs through one.
    void paneRowsNeverOverlap_data() {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("inspector");
        QTest::addColumn<QString>("mode");
        QTest::addColumn<bool>("narrowFirst"); // else opened wide, then narrowed
        for (const char* language : {"en", "de"}) {
            for (const bool narrowFirst : {false, true}) {
                const char* how = narrowFirst ? "opened narrow" : "narrowed";
                QTest::addRow("%s, device, %s", language, how)
                    << language << u"device"_s << u"messages"_s << narrowFirst;
                QTest::addRow("%s, chat info, %s", language, how)
                    << language << u"chatInfo"_s << u"messages"_s << narrowFirst;
                QTest::addRow("%s, node, %s", language, how)
                    << language << QString() << u"nodes"_s << narrowFirst;
                QTest::addRow("%s, node and device, %s", language, how)
                    << language << u"device"_s << u"nodes"_s << narrowFirst;
            }
        }
    }

    void paneRowsNeverOverlap() {
        QFETCH(QString, language);
        QFETCH(QString, inspector);
        QFETCH(QString, mode);
        QFETCH(bool, narrowFirst);
        QTranslator german;
        if (language == u"de"_s) {
            QVERIFY(german.load(u"talvenne_de"_s, translationsFolder()));
            QCoreApplication::installTranslator(&german);
            QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
            // A fresh window in that language.
            m_rig = std::make_unique<WindowRig>();
        }
        const auto restore = qScopeGuard([&] {
            QCoreApplication::removeTranslator(&german);
            QLocale::setDefault(QLocale::c());
        });
        QVERIFY(m_rig->connectToMainView());
        QObject* main = find("mainView");
        const auto wait = [&](std::chrono::milliseconds time) {
            m_rig->clock.advance(time);
            QTest::qWait(int(time.count()));
        };
        main->setProperty("mode", mode);
        main->setProperty("nodeSelection", m_rig->contactNamed(u"Ridge Repeater"_s)->publicKey);
        // The other pane first, as a user goes from one to the other.
        main->setProperty("inspector", inspector == u"device"_s ? u"chatInfo"_s : u"device"_s);
        if (narrowFirst) {
            // As the tour goes: the device pane beside a channel, the window
            // made smallest with a direct chat chosen, then the pane opened;
            // checked when the tour takes its picture.
            m_rig->controller->setSelectedConversation(ConversationID::channel(0));
            main->setProperty("inspector", u"device"_s);
            wait(1500ms);
            m_rig->controller->setSelectedConversation(m_rig->chatWith(u"Aino Virtanen"_s));
            window()->resize(900, 600);
            wait(1200ms);
            main->setProperty("inspector", inspector);
            wait(900ms);
        } else {
            m_rig->controller->setSelectedConversation(m_rig->chatWith(u"Aino Virtanen"_s));
            m_rig->advance(1s);
            main->setProperty("inspector", inspector);
            m_rig->advance(2s);
            QTest::qWait(100);
            window()->resize(900, 600);
            m_rig->advance(1s);
            QTest::qWait(300);
        }

        struct Painted {
            QString text;
            QRectF rect;
        };
        QList<Painted> texts;
        QList<QRectF> dividers;
        std::function<void(QQuickItem*)> visit = [&](QQuickItem* node) {
            if (!node->isVisible() || node->opacity() == 0)
                return;
            const QString text = textOf(node);
            const bool isText = node->inherits("QQuickText") || node->inherits("QQuickTextEdit");
            if (isText && !text.isEmpty()) {
                // Where the glyphs are, as aligned inside the item.
                const qreal width = node->property("contentWidth").toReal();
                const qreal height = node->property("contentHeight").toReal();
                const int align = node->property("horizontalAlignment").toInt();
                const qreal x = align & Qt::AlignRight     ? node->width() - width
                                : align & Qt::AlignHCenter ? (node->width() - width) / 2
                                                           : 0;
                texts.append({text, node->mapRectToScene(QRectF(x, 0, width, height))});
            } else if (node->inherits("QQuickRectangle") && node->height() <= 2 &&
                       node->width() > 20 && node->childItems().isEmpty()) {
                dividers.append(node->mapRectToScene(QRectF(0, 0, node->width(), node->height())));
            }
            for (QQuickItem* child : node->childItems())
                visit(child);
        };
        for (const char* pane : {"inspector", "detail"})
            visit(m_rig->find<QQuickItem>(pane));
        QVERIFY(texts.size() > 10);

        QStringList overlaps;
        for (qsizetype i = 0; i < texts.size(); ++i) {
            for (qsizetype j = i + 1; j < texts.size(); ++j) {
                const QRectF both = texts[i].rect.intersected(texts[j].rect);
                if (both.width() > 1 && both.height() > 1)
                    overlaps << u"\"%1\" over \"%2\""_s.arg(texts[i].text, texts[j].text);
            }
            for (const QRectF& divider : dividers)
                if (divider.intersects(texts[i].rect.adjusted(0, 1, 0, -1)))
                    overlaps << u"a divider through \"%1\""_s.arg(texts[i].text);
        }
        // A row's value is as tall as its lines, beside its label when it
        // has one line: no value keeps the height of a narrower pass, drawn
        // above its label and over what follows.
        std::function<void(QQuickItem*)> rows = [&](QQuickItem* node) {
            if (!node->isVisible())
                return;
            if (node->objectName() == u"value"_s && node->inherits("QQuickText")) {
                const QString text = textOf(node);
                const QRectF value = node->mapRectToScene(node->boundingRect());
                if (node->height() - node->property("contentHeight").toReal() > 1)
                    overlaps << u"\"%1\" is %2 high"_s.arg(text).arg(node->height());
                QQuickItem* row = node->parentItem();
                while (row && !findVisualItem(row, u"label"_s))
                    row = row->parentItem();
                if (row && std::abs(row->height() - row->implicitHeight()) > 1)
                    overlaps << u"the row of \"%1\" is %2 high for %3"_s.arg(text)
                                    .arg(row->height())
                                    .arg(row->implicitHeight());
                if (QQuickItem* label = row ? findVisualItem(row, u"label"_s) : nullptr) {
                    const QRectF rect = label->mapRectToScene(label->boundingRect());
                    if (node->property("lineCount").toInt() == 1 &&
                        std::abs(rect.center().y() - value.center().y()) > 1)
                        overlaps << u"\"%1\" beside \"%2\" a line off"_s.arg(text, textOf(label));
                }
            }
            for (QQuickItem* child : node->childItems())
                rows(child);
        };
        for (const char* pane : {"inspector", "detail"})
            rows(m_rig->find<QQuickItem>(pane));
        QVERIFY2(overlaps.isEmpty(), qPrintable(overlaps.join(u"\n"_s)));
    }

    // At the minimum and the default width, with either inspector open,
    // nothing sticks out of the window or out of the pane that clips it, and
    // no unwrapped text is wider than the room it got.
    // While the radio is away the composer says why, whole, beside either
    // pane at the smallest window and in German too.
    void reconnectingNoteIsReadWhole_data() {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("inspector");
        for (const char* language : {"en", "de"})
            for (const char* inspector : {"", "device", "chatInfo"})
                QTest::addRow("%s %s", language, inspector) << language << inspector;
    }
    void reconnectingNoteIsReadWhole() {
        QFETCH(QString, language);
        QFETCH(QString, inspector);
        QTranslator german;
        if (language == u"de"_s) {
            QVERIFY(german.load(u"talvenne_de"_s, translationsFolder()));
            QCoreApplication::installTranslator(&german);
            m_rig = std::make_unique<WindowRig>();
        }
        const auto restore = qScopeGuard([&] { QCoreApplication::removeTranslator(&german); });
        QVERIFY(m_rig->connectToMainView());
        m_rig->controller->setSelectedConversation(m_rig->chatWith(u"Aino Virtanen"_s));
        find("mainView")->setProperty("inspector", inspector);
        window()->resize(900, 600);
        m_rig->controller->enableAutomaticReconnection();
        m_rig->radio.setInRange(false);
        m_rig->radio.dropLink();
        m_rig->advance(2s);
        QTest::qWait(200);
        auto* note = m_rig->find<QQuickItem>("composerNote");
        QVERIFY(note && note->isVisible());
        QVERIFY2(textOf(note).contains(QChar(0x2026)), qPrintable(textOf(note)));
        QVERIFY(!note->property("truncated").toBool());
        QVERIFY(note->property("contentWidth").toReal() <= note->width() + 1);
        const QRectF drawn = note->mapRectToScene(
            QRectF(0, 0, note->width(), note->property("contentHeight").toReal()));
        // Left of an open pane, above the window's foot.
        auto* pane = m_rig->find<QQuickItem>("inspector");
        const qreal right = pane && pane->isVisible() && pane->width() > 0
                                ? pane->mapToScene(QPointF(0, 0)).x()
                                : window()->width();
        QVERIFY2(drawn.right() <= right + 1 && drawn.bottom() <= window()->height(),
                 qPrintable(u"%1..%2 of %3, foot %4"_s.arg(drawn.left())
                                .arg(drawn.right())
                                .arg(right)
                                .arg(drawn.bottom())));
    }

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
