#include "../transport/fake_ble_adapter.h"
#include "quick_chat.h"
#include "shell_rig.h"
#include "translations.h"

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <qcoro/qcoroqml.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace std::chrono_literals;

// The whole window (Main.qml) over the simulated radio: what the connection
// screen and the main view show, found by object name.
class TestShellViews : public QObject {
    Q_OBJECT

    std::unique_ptr<ShellRig> m_rig;
    std::unique_ptr<QQmlApplicationEngine> m_engine;

    QObject* root() const { return m_engine->rootObjects().value(0); }
    template <typename T = QObject>
    T* find(const char* name) const {
        return root() ? root()->findChild<T*>(QLatin1String(name)) : nullptr;
    }
    bool shows(const char* name) const {
        auto* item = find<QQuickItem>(name);
        return item && item->isVisible();
    }
    // Looks through visual children too, where repeated and list items live.
    QQuickItem* item(const char* name) const {
        auto* window = qobject_cast<QQuickWindow*>(root());
        return window ? findVisualItem(window->contentItem(), QLatin1String(name)) : nullptr;
    }
    QQuickItem* listRow(const char* list, int index) const {
        QQuickItem* row = nullptr;
        QMetaObject::invokeMethod(find(list), "itemAtIndex", Q_RETURN_ARG(QQuickItem*, row),
                                  Q_ARG(int, index));
        return row;
    }
    void click(QQuickItem* item, Qt::MouseButton button = Qt::LeftButton) const {
        QVERIFY(item);
        const QPointF centre = item->mapToScene({item->width() / 2, item->height() / 2});
        QTest::mouseClick(item->window(), button, {}, centre.toPoint());
    }
    // Right-clicks a row of the conversation list and returns the menu item
    // of that name once the menu shows it; null if it never does.
    QObject* rowMenuItem(int index, const char* name) const {
        QQuickItem* row = nullptr;
        if (!QTest::qWaitFor([&] { return (row = listRow("conversationList", index)); }))
            return nullptr;
        click(row, Qt::RightButton);
        auto* menuItem = row->findChild<QObject*>(QLatin1String(name));
        if (!menuItem || !QTest::qWaitFor([&] { return menuItem->property("visible").toBool(); }))
            return nullptr;
        return menuItem;
    }
    // Moves virtual time and lets Qt Quick catch up (fades, bindings).
    void advance(std::chrono::milliseconds duration) {
        m_rig->clock.advance(duration);
        QTest::qWait(20);
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QCoro::Qml::registerTypes();
        installTranslations(*QCoreApplication::instance());
    }

    void init() {
        m_rig = std::make_unique<ShellRig>();
        m_engine = std::make_unique<QQmlApplicationEngine>();
        m_engine->setInitialProperties(
            {{QStringLiteral("controller"), QVariant::fromValue(m_rig->controller.get())}});
        m_engine->load(QUrl(QStringLiteral("qrc:/qt/qml/Talvenne/Main.qml")));
        QVERIFY(root());
    }

    void cleanup() {
        m_engine.reset();
        m_rig.reset();
    }

    void windowHasTitleAndMinimumSize() {
        auto* window = qobject_cast<QQuickWindow*>(root());
        QVERIFY(window);
        QCOMPARE(window->title(), QStringLiteral("Talvenne"));
        QCOMPARE(window->minimumSize(), QSize(900, 600));
    }

    void connectionScreenScansByItselfAndListsTheRadio() {
        QVERIFY(shows("connectionView"));
        QCOMPARE(find("connectionTitle")->property("text").toString(), qtTrId("connection.title"));
        // Opening the screen with the adapter ready and no radio started a scan.
        QCOMPARE(m_rig->controller->transportState(), TransportState::scanning);
        QVERIFY(shows("scanSpinner"));
        QCOMPARE(find("connectionStatus")->property("text").toString(),
                 qtTrId("connection.empty.scanning"));
        QCOMPARE(find("scanButton")->property("text").toString(), qtTrId("connection.button.stop"));

        advance(500ms);
        QTRY_COMPARE(find("deviceList")->property("count").toInt(), 1);
        QVERIFY(!shows("emptyDevices"));
        QVERIFY(shows("deviceList"));
        QQuickItem* row = nullptr;
        QMetaObject::invokeMethod(find("deviceList"), "itemAtIndex", Q_RETURN_ARG(QQuickItem*, row),
                                  Q_ARG(int, 0));
        QVERIFY(row);
        auto* name = row->findChild<QObject*>(QStringLiteral("deviceName"));
        QVERIFY(name);
        QCOMPARE(name->property("text").toString(), SimulatedRadio::deviceName);
    }

    void stopReturnsToScanButton() {
        advance(500ms);
        QMetaObject::invokeMethod(find("scanButton"), "clicked");
        QCOMPARE(m_rig->controller->transportState(), TransportState::ready);
        QCOMPARE(find("scanButton")->property("text").toString(), qtTrId("connection.button.scan"));
        QVERIFY(!shows("scanSpinner"));
    }

    // Each reason Bluetooth cannot be used gets its own plain explanation,
    // the button to switch it on only where the system allows that, and the
    // screen holds still (no breathing image, no spinner) while it waits.
    void bluetoothProblemsAreExplainedAndStill_data() {
        QTest::addColumn<BleAdapter::PowerState>("power");
        QTest::addColumn<bool>("powerOnAllowed");
        QTest::addColumn<QByteArray>("title");
        QTest::addColumn<QByteArray>("detail");
        using P = BleAdapter::PowerState;
        QTest::newRow("no service")
            << P::noService << false << QByteArray("connection.bluetooth.no.service")
            << QByteArray("connection.bluetooth.no.service.detail");
        QTest::newRow("no adapter")
            << P::noAdapter << false << QByteArray("connection.bluetooth.no.adapter")
            << QByteArray("connection.bluetooth.no.adapter.detail");
        QTest::newRow("off") << P::poweredOff << true << QByteArray("connection.bluetooth.off")
                             << QByteArray("connection.bluetooth.off.detail");
        QTest::newRow("off, not switchable")
            << P::poweredOff << false << QByteArray("connection.bluetooth.off")
            << QByteArray("connection.bluetooth.off.detail.settings");
        QTest::newRow("not permitted")
            << P::unauthorized << false << QByteArray("connection.bluetooth.not.permitted")
            << QByteArray("connection.bluetooth.not.permitted.detail");
    }
    void bluetoothProblemsAreExplainedAndStill() {
        QFETCH(BleAdapter::PowerState, power);
        QFETCH(bool, powerOnAllowed);
        QFETCH(QByteArray, title);
        QFETCH(QByteArray, detail);
        FakeBleAdapter adapter(&m_rig->clock);
        adapter.reportPower(BleAdapter::PowerState::poweredOn);
        root()->setProperty("bluetoothAdapter", QVariant::fromValue<QObject*>(&adapter));
        // The simulated radio's scan finds it and is stopped, so nothing
        // else on the screen moves.
        advance(500ms);
        QMetaObject::invokeMethod(find("scanButton"), "clicked");
        QVERIFY(!shows("bluetoothProblem"));
        auto* window = qobject_cast<QQuickWindow*>(root());
        int frames = 0;
        connect(window, &QQuickWindow::frameSwapped, this, [&frames] { ++frames; });
        QTest::qWait(500);
        QVERIFY2(frames > 5, "the hero breathes while Bluetooth works");

        adapter.powerOnAllowed = powerOnAllowed;
        adapter.reportPower(power);
        QVERIFY(shows("bluetoothProblem"));
        QCOMPARE(find("bluetoothProblemTitle")->property("text").toString(),
                 qtTrId(title.constData()));
        QCOMPARE(find("bluetoothProblemDetail")->property("text").toString(),
                 qtTrId(detail.constData()));
        QCOMPARE(find("connectionStatus")->property("text").toString(), qtTrId(title.constData()));
        QVERIFY(!shows("scanSpinner"));
        QCOMPARE(shows("bluetoothPowerOn"), powerOnAllowed);
        if (powerOnAllowed) {
            click(find<QQuickItem>("bluetoothPowerOn"));
            QCOMPARE(adapter.powerOnRequests, 1);
        }
        QTest::qWait(300); // the last changes drawn
        frames = 0;
        QTest::qWait(600);
        QCOMPARE(frames, 0);
        root()->setProperty("bluetoothAdapter", QVariant::fromValue<QObject*>(nullptr));
    }

    void connectingShowsTheMainViewAndLosingTheLinkReturns() {
        QVERIFY(m_rig->connect());
        QTest::qWait(400); // the fade
        QTRY_VERIFY(shows("mainView"));
        QTRY_VERIFY(!find("connectionView"));
        QCOMPARE(find("pillTitle")->property("text").toString(), m_rig->radio.selfInfo().name);
        // Public channel and the four chat-capable contacts.
        QTRY_COMPARE(find("conversationList")->property("count").toInt(), 5);
        QVERIFY(shows("conversationEmptyDetail"));
        QCOMPARE(find("conversationEmptyDetail")->property("title").toString(),
                 qtTrId("main.empty.conversation.title"));
        QVERIFY(!shows("sidebarEmptyState"));
        QVERIFY(!shows("conversationInfoButton"));

        m_rig->radio.dropLink();
        QTest::qWait(400);
        QTRY_VERIFY(shows("connectionView"));
        QTRY_VERIFY(!find("mainView"));
    }

    // With reconnection on, a drop keeps the main window: the open chat, the
    // list and the header stay, the pill says it is reconnecting and the
    // composer why it cannot send; the chat is selected again once back.
    void aDropWhileReconnectingKeepsTheMainWindow() {
        m_rig->controller->enableAutomaticReconnection();
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(shows("mainView"));
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
        const auto target = ConversationID::contact(aino->publicKey);
        m_rig->controller->setSelectedConversation(target);
        QTRY_VERIFY(shows("messageList"));
        auto* send = item("sendButton");
        auto* field = item("composerText");
        QVERIFY(send && field);
        field->setProperty("text", QStringLiteral("draft"));
        QVERIFY(send->isEnabled());
        const QString limitNote = item("composerNote")->property("text").toString();

        m_rig->radio.setInRange(false);
        m_rig->radio.dropLink();
        QVERIFY(!m_rig->controller->selectedConversation());
        QTest::qWait(400);
        QVERIFY(shows("mainView"));
        QVERIFY(!find("connectionView"));
        QCOMPARE(find("pillSecondLine")->property("text").toString(),
                 qtTrId("main.connection.reconnecting"));
        QCOMPARE(find("pillTitle")->property("text").toString(), SimulatedRadio::deviceName);
        QCOMPARE(find("conversationList")->property("count").toInt(), 5);
        QCOMPARE(item("chatTitle")->property("text").toString(), QStringLiteral("Aino Virtanen"));
        QVERIFY(!send->isEnabled());
        QCOMPARE(field->property("text").toString(), QStringLiteral("draft"));
        QVERIFY(
            item("composerNote")->property("text").toString().contains(SimulatedRadio::deviceName));

        advance(30s);
        QVERIFY(shows("mainView"));
        m_rig->radio.setInRange(true);
        advance(60s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::connected);
        QCOMPARE(m_rig->controller->selectedConversation(), target);
        QTRY_VERIFY(send->isEnabled());
        QCOMPARE(item("composerNote")->property("text").toString(), limitNote);
        QCOMPARE(find("pillTitle")->property("text").toString(), m_rig->radio.selfInfo().name);

        // Disconnecting gives up and shows the connection screen.
        m_rig->radio.setInRange(false);
        m_rig->radio.dropLink();
        QVERIFY(m_rig->controller->isReconnecting());
        m_rig->controller->disconnectFromDevice();
        QTest::qWait(400);
        QTRY_VERIFY(shows("connectionView"));
    }

    void selectionShowsInfoButtonOnlyForContacts() {
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(shows("mainView"));
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
        m_rig->controller->setSelectedConversation(ConversationID::contact(aino->publicKey));
        QTRY_VERIFY(shows("conversationInfoButton"));
        QCOMPARE(find("conversationList")->property("currentIndex").toInt(), 1);
        m_rig->controller->setSelectedConversation(ConversationID::channel(0));
        QTRY_VERIFY(!shows("conversationInfoButton"));
        QCOMPARE(find("conversationList")->property("currentIndex").toInt(), 0);
    }

    // What the application does when a notification is clicked: whatever the
    // list mode, the conversation opens and is read, so its notification goes.
    void openingFromANotificationShowsTheConversation() {
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(shows("mainView"));
        m_rig->controller->setApplicationActive(false);
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
        const auto target = ConversationID::contact(aino->publicKey);
        m_rig->controller->appendMessage(incomingMessage(QStringLiteral("moi"), m_rig->clock.now()),
                                         target);
        QCOMPARE(m_rig->controller->totalUnreadCount(), 1);
        find("mainView")->setProperty("mode", QStringLiteral("nodes"));

        QVERIFY(QMetaObject::invokeMethod(root(), "openConversation",
                                          Q_ARG(QVariant, target.conversationKey())));
        QCOMPARE(find("mainView")->property("mode").toString(), QStringLiteral("messages"));
        QCOMPARE(m_rig->controller->selectedConversation(), target);
        QCOMPARE(m_rig->controller->totalUnreadCount(), 0);
        QCOMPARE(m_rig->notifier.withdrawn, QStringList{target.conversationKey()});
        QTRY_VERIFY(shows("messageList"));
    }

    void nodesModeListsNodesAndSearches() {
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(shows("mainView"));
        find("mainView")->setProperty("mode", QStringLiteral("nodes"));
        QTRY_VERIFY(find("nodeList"));
        QCOMPARE(find("nodeList")->property("count").toInt(), 4);
        QCOMPARE(find("sidebarSearch")->property("placeholderText").toString(),
                 qtTrId("sidebar.search.nodes"));
        find("sidebarSearch")->setProperty("text", QStringLiteral("zzzz"));
        QTRY_COMPARE(find("nodeList")->property("count").toInt(), 0);
        QVERIFY(shows("sidebarEmptyState"));
        QCOMPARE(find("sidebarEmptyState")->property("title").toString(),
                 qtTrId("sidebar.empty.nodes.title"));
        QCOMPARE(find("nodeEmptyDetail")->property("title").toString(),
                 qtTrId("main.empty.node.title"));
    }

    // The picker, a node row and the node's Message button hand the mode and
    // the selection to the main view, which stays their single owner.
    void nodeToChatRoundTrip() {
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(shows("mainView"));
        click(item("segment_nodes"));
        QTRY_VERIFY(find("nodeList"));
        QCOMPARE(find("mainView")->property("mode").toString(), QStringLiteral("nodes"));
        QTRY_VERIFY(listRow("nodeList", 0));
        click(listRow("nodeList", 0));
        QTRY_VERIFY(shows("nodeDetailView"));
        QVERIFY(!find("mainView")->property("nodeSelection").toString().isEmpty());
        QCOMPARE(find("nodeList")->property("currentIndex").toInt(), 0);

        // A node that can chat opens its conversation in messages mode.
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
        find("mainView")->setProperty("nodeSelection", aino->publicKey);
        QTRY_VERIFY(shows("messageButton"));
        QMetaObject::invokeMethod(find("messageButton"), "clicked");
        QTRY_VERIFY(find("conversationList"));
        QVERIFY(!find("nodeList"));
        QCOMPARE(m_rig->controller->selectedConversation(),
                 std::optional(ConversationID::contact(aino->publicKey)));

        // Back in nodes mode: a click on another row selects that node.
        click(item("segment_nodes"));
        QTRY_VERIFY(find("nodeList"));
        QTRY_VERIFY(listRow("nodeList", 1));
        click(listRow("nodeList", 1));
        QString second;
        QMetaObject::invokeMethod(find("nodeModel"), "keyAt", Q_RETURN_ARG(QString, second),
                                  Q_ARG(int, 1));
        QTRY_COMPARE(find("mainView")->property("nodeSelection").toString(), second);
        QCOMPARE(find("nodeList")->property("currentIndex").toInt(), 1);
    }

    // Right-click menus: favourite for a contact, remove for a channel.
    void rowContextMenus() {
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(shows("mainView"));
        QTRY_COMPARE(find("conversationList")->property("count").toInt(), 5);
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));

        QObject* favorite = rowMenuItem(1, "favoriteMenuItem");
        QVERIFY(favorite);
        QVERIFY(!listRow("conversationList", 1)
                     ->findChild<QObject*>(QStringLiteral("removeChannelMenuItem"))
                     ->property("visible")
                     .toBool());
        QCOMPARE(favorite->property("text").toString(), qtTrId("sidebar.favorite.add"));
        QMetaObject::invokeMethod(favorite, "triggered");
        QVERIFY(m_rig->controller->favorites().contains(aino->publicKey));

        QObject* remove = rowMenuItem(0, "removeChannelMenuItem");
        QVERIFY(remove);
        QMetaObject::invokeMethod(remove, "triggered");
        advance(2s);
        QTRY_COMPARE(find("conversationList")->property("count").toInt(), 4);
        for (const Channel& channel : m_rig->controller->channels())
            QVERIFY(channel.index != 0);
    }

    // While saves fail the window says so above its content, without
    // covering it; the next save that works takes the warning away.
    void historyWarningShowsWhileSavesFail() {
        QVERIFY(m_rig->connect());
        QTRY_VERIFY(shows("mainView"));
        QVERIFY(!shows("historyWarning"));
        const QString folder = m_rig->dir.path();
        const auto save = [&](const QString& text) {
            m_rig->controller->appendMessage(incomingMessage(text, m_rig->clock.now()),
                                             ConversationID::channel(0));
            m_rig->store->flush();
        };
        QVERIFY(QDir(folder).removeRecursively());
        QFile blocker(folder); // a file where the folder was
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        save(QStringLiteral("not kept"));
        QTRY_VERIFY(shows("historyWarning"));
        const QString text = find("historyWarningText")->property("text").toString();
        QVERIFY2(text.startsWith(QStringLiteral("History could not be saved: ")), qPrintable(text));
        QVERIFY(text.size() > 30);
        auto* main = find<QQuickItem>("mainView");
        auto* warning = find<QQuickItem>("historyWarning");
        QTRY_COMPARE(main->mapToScene({0, 0}).y(), warning->mapToScene({0, warning->height()}).y());
        if (qEnvironmentVariableIsSet("TALVENNE_SHOT"))
            qobject_cast<QQuickWindow*>(root())->grabWindow().save(
                qEnvironmentVariable("TALVENNE_SHOT"));

        QVERIFY(QFile::remove(folder));
        save(QStringLiteral("kept"));
        QTRY_VERIFY(!shows("historyWarning"));
        QTRY_COMPARE(main->mapToScene({0, 0}).y(), warning->mapToScene({0, 0}).y());
        QCOMPARE(m_rig->savedHistory()->size(), m_rig->controller->conversations().size());
    }
};

QTEST_MAIN(TestShellViews)
#include "test_shell_views.moc"
