#include "../transport/fake_ble_adapter.h"
#include "translations.h"
#include "ui_rig.h"

#include <QTest>
#include <QtQml/qqmlextensionplugin.h>
#include <qcoro/qcoroqml.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

using namespace std::chrono_literals;

// The whole window (Main.qml) over the simulated radio: what the connection
// screen and the main view show, found by object name.
class TestShellViews : public QObject {
    Q_OBJECT

    std::unique_ptr<WindowRig> m_rig;

    QString textOf(const char* name) const {
        return m_rig->find(name)->property("text").toString();
    }
    int countOf(const char* list) const { return m_rig->find(list)->property("count").toInt(); }
    // Right-clicks a row of the conversation list and returns the menu item
    // of that name once the menu shows it; null if it never does.
    QObject* rowMenuItem(int index, const char* name) const {
        QQuickItem* row = nullptr;
        if (!QTest::qWaitFor(
                [&] { return (row = itemAtIndex(m_rig->find("conversationList"), index)); }))
            return nullptr;
        click(row, Qt::RightButton);
        auto* menuItem = row->findChild<QObject*>(QLatin1String(name));
        if (!menuItem || !QTest::qWaitFor([&] { return menuItem->property("visible").toBool(); }))
            return nullptr;
        return menuItem;
    }
    bool connectToMainView() {
        return m_rig->connect() && QTest::qWaitFor([&] { return m_rig->shows("mainView"); });
    }

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QCoro::Qml::registerTypes();
        installTranslations(*QCoreApplication::instance());
    }
    void init() {
        m_rig = std::make_unique<WindowRig>();
        QVERIFY(m_rig->window());
    }
    void cleanup() { m_rig.reset(); }

    // Opening the screen with the adapter ready and no radio starts a scan;
    // the radio it finds is listed, and Stop ends the scan for good.
    void connectionScreenScansByItselfAndListsTheRadio() {
        QVERIFY(m_rig->shows("connectionView"));
        QCOMPARE(m_rig->controller->transportState(), TransportState::scanning);
        QVERIFY(m_rig->shows("scanSpinner"));
        QCOMPARE(textOf("connectionStatus"), qtTrId("connection.empty.scanning"));
        QCOMPARE(textOf("scanButton"), qtTrId("connection.button.stop"));

        m_rig->advance(500ms);
        QTRY_COMPARE(countOf("deviceList"), 1);
        QVERIFY(!m_rig->shows("emptyDevices"));
        QQuickItem* row = itemAtIndex(m_rig->find("deviceList"), 0);
        QVERIFY(row);
        QCOMPARE(row->findChild<QObject*>(QStringLiteral("deviceName"))->property("text"),
                 SimulatedRadio::deviceName);

        QMetaObject::invokeMethod(m_rig->find("scanButton"), "clicked");
        QCOMPARE(m_rig->controller->transportState(), TransportState::ready);
        QCOMPARE(textOf("scanButton"), qtTrId("connection.button.scan"));
        QVERIFY(!m_rig->shows("scanSpinner"));
        // Ready again, but a radio is listed: no new scan by itself.
        m_rig->advance(1s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::ready);
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
        QObject* root = m_rig->window();
        root->setProperty("bluetoothAdapter", QVariant::fromValue<QObject*>(&adapter));
        // The simulated radio's scan finds it and is stopped, so nothing
        // else on the screen moves.
        m_rig->advance(500ms);
        QMetaObject::invokeMethod(m_rig->find("scanButton"), "clicked");
        QVERIFY(!m_rig->shows("bluetoothProblem"));
        int frames = 0;
        connect(m_rig->window(), &QQuickWindow::frameSwapped, this, [&frames] { ++frames; });
        QTest::qWait(500);
        QVERIFY2(frames > 5, "the hero breathes while Bluetooth works");

        adapter.powerOnAllowed = powerOnAllowed;
        adapter.reportPower(power);
        QVERIFY(m_rig->shows("bluetoothProblem"));
        QCOMPARE(textOf("bluetoothProblemTitle"), qtTrId(title.constData()));
        QCOMPARE(textOf("bluetoothProblemDetail"), qtTrId(detail.constData()));
        QCOMPARE(textOf("connectionStatus"), qtTrId(title.constData()));
        QVERIFY(!m_rig->shows("scanSpinner"));
        QCOMPARE(m_rig->shows("bluetoothPowerOn"), powerOnAllowed);
        if (powerOnAllowed) {
            click(m_rig->find<QQuickItem>("bluetoothPowerOn"));
            QCOMPARE(adapter.powerOnRequests, 1);
        }
        QTest::qWait(300); // the last changes drawn
        frames = 0;
        QTest::qWait(600);
        QCOMPARE(frames, 0);
        root->setProperty("bluetoothAdapter", QVariant::fromValue<QObject*>(nullptr));
    }

    // Connected, the main view lists the conversations; the info button is
    // there for a contact's chat only; losing the link returns to the
    // connection screen.
    void connectingShowsTheMainViewAndLosingTheLinkReturns() {
        QVERIFY(connectToMainView());
        QTRY_VERIFY(!m_rig->find("connectionView"));
        QCOMPARE(textOf("pillTitle"), m_rig->radio.selfInfo().name);
        QTRY_VERIFY(textOf("pillSecondLine").endsWith(QLatin1Char('V'))); // the battery
        // Public channel and the four chat-capable contacts.
        QTRY_COMPARE(countOf("conversationList"), 5);
        QVERIFY(m_rig->shows("conversationEmptyDetail"));
        QVERIFY(!m_rig->shows("sidebarEmptyState"));
        QVERIFY(!m_rig->shows("conversationInfoButton"));

        m_rig->controller->setSelectedConversation(
            m_rig->chatWith(QStringLiteral("Aino Virtanen")));
        QTRY_VERIFY(m_rig->shows("conversationInfoButton"));
        QCOMPARE(m_rig->find("conversationList")->property("currentIndex").toInt(), 1);
        m_rig->controller->setSelectedConversation(ConversationID::channel(0));
        QTRY_VERIFY(!m_rig->shows("conversationInfoButton"));
        QCOMPARE(m_rig->find("conversationList")->property("currentIndex").toInt(), 0);

        m_rig->radio.dropLink();
        QTest::qWait(400); // the fade
        QTRY_VERIFY(m_rig->shows("connectionView"));
        QTRY_VERIFY(!m_rig->find("mainView"));
    }

    // With reconnection on, a drop keeps the main window: the open chat, the
    // list and the header stay, the pill says it is reconnecting and the
    // composer why it cannot send; the chat is selected again once back.
    void aDropWhileReconnectingKeepsTheMainWindow() {
        m_rig->controller->enableAutomaticReconnection();
        QVERIFY(connectToMainView());
        const auto target = m_rig->chatWith(QStringLiteral("Aino Virtanen"));
        m_rig->controller->setSelectedConversation(target);
        QTRY_VERIFY(m_rig->shows("messageList"));
        auto* send = m_rig->item("sendButton");
        auto* field = m_rig->item("composerText");
        QVERIFY(send && field);
        field->setProperty("text", QStringLiteral("draft"));
        QVERIFY(send->isEnabled());
        const QString limitNote = m_rig->item("composerNote")->property("text").toString();

        m_rig->radio.setInRange(false);
        m_rig->radio.dropLink();
        QVERIFY(!m_rig->controller->selectedConversation());
        QTest::qWait(400);
        QVERIFY(m_rig->shows("mainView"));
        QVERIFY(!m_rig->find("connectionView"));
        QCOMPARE(textOf("pillSecondLine"), qtTrId("main.connection.reconnecting"));
        QCOMPARE(textOf("pillTitle"), SimulatedRadio::deviceName);
        QCOMPARE(countOf("conversationList"), 5);
        QCOMPARE(m_rig->item("chatTitle")->property("text").toString(),
                 QStringLiteral("Aino Virtanen"));
        QVERIFY(!send->isEnabled());
        QCOMPARE(field->property("text").toString(), QStringLiteral("draft"));
        QVERIFY(m_rig->item("composerNote")
                    ->property("text")
                    .toString()
                    .contains(SimulatedRadio::deviceName));

        m_rig->advance(30s);
        QVERIFY(m_rig->shows("mainView"));
        m_rig->radio.setInRange(true);
        m_rig->advance(60s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::connected);
        QCOMPARE(m_rig->controller->selectedConversation(), target);
        QTRY_VERIFY(send->isEnabled());
        QCOMPARE(m_rig->item("composerNote")->property("text").toString(), limitNote);
        QCOMPARE(textOf("pillTitle"), m_rig->radio.selfInfo().name);

        // Disconnecting gives up and shows the connection screen.
        m_rig->radio.setInRange(false);
        m_rig->radio.dropLink();
        QVERIFY(m_rig->controller->isReconnecting());
        m_rig->controller->disconnectFromDevice();
        QTest::qWait(400);
        QTRY_VERIFY(m_rig->shows("connectionView"));
    }

    // What the application does when a notification is clicked: whatever the
    // list mode, the conversation opens and is read, so its notification goes.
    void openingFromANotificationShowsTheConversation() {
        QVERIFY(connectToMainView());
        m_rig->controller->setApplicationActive(false);
        const auto target = m_rig->chatWith(QStringLiteral("Aino Virtanen"));
        const QString key = target.conversationKey();
        m_rig->controller->appendMessage(incomingMessage(QStringLiteral("moi"), m_rig->clock.now()),
                                         target);
        QCOMPARE(m_rig->controller->totalUnreadCount(), 1);
        m_rig->find("mainView")->setProperty("mode", QStringLiteral("nodes"));

        QVERIFY(
            QMetaObject::invokeMethod(m_rig->window(), "openConversation", Q_ARG(QVariant, key)));
        QCOMPARE(m_rig->find("mainView")->property("mode").toString(), QStringLiteral("messages"));
        QCOMPARE(m_rig->controller->selectedConversation(), target);
        QCOMPARE(m_rig->controller->totalUnreadCount(), 0);
        QCOMPARE(m_rig->notifier.withdrawn, QStringList{key});
        QTRY_VERIFY(m_rig->shows("messageList"));
    }

    // The picker, a node row and the node's Message button hand the mode and
    // the selection to the main view, which stays their single owner; the
    // search narrows the nodes down to the empty state.
    void nodeToChatRoundTrip() {
        QVERIFY(connectToMainView());
        QObject* main = m_rig->find("mainView");
        click(m_rig->item("segment_nodes"));
        QTRY_VERIFY(m_rig->find("nodeList"));
        QCOMPARE(main->property("mode").toString(), QStringLiteral("nodes"));
        QCOMPARE(countOf("nodeList"), 4);
        QTRY_VERIFY(itemAtIndex(m_rig->find("nodeList"), 0));
        click(itemAtIndex(m_rig->find("nodeList"), 0));
        QTRY_VERIFY(m_rig->shows("nodeDetailView"));
        QVERIFY(!main->property("nodeSelection").toString().isEmpty());
        QCOMPARE(m_rig->find("nodeList")->property("currentIndex").toInt(), 0);

        // A node that can chat opens its conversation in messages mode.
        const auto aino = m_rig->contactNamed(QStringLiteral("Aino Virtanen"));
        main->setProperty("nodeSelection", aino->publicKey);
        QTRY_VERIFY(m_rig->shows("messageButton"));
        QMetaObject::invokeMethod(m_rig->find("messageButton"), "clicked");
        QTRY_VERIFY(m_rig->find("conversationList"));
        QVERIFY(!m_rig->find("nodeList"));
        QCOMPARE(m_rig->controller->selectedConversation(),
                 std::optional(ConversationID::contact(aino->publicKey)));

        // Back in nodes mode: a click on another row selects that node.
        click(m_rig->item("segment_nodes"));
        QTRY_VERIFY(itemAtIndex(m_rig->find("nodeList"), 1));
        click(itemAtIndex(m_rig->find("nodeList"), 1));
        QString second;
        QMetaObject::invokeMethod(m_rig->find("nodeModel"), "keyAt", Q_RETURN_ARG(QString, second),
                                  Q_ARG(int, 1));
        QTRY_COMPARE(main->property("nodeSelection").toString(), second);
        QCOMPARE(m_rig->find("nodeList")->property("currentIndex").toInt(), 1);

        QCOMPARE(m_rig->find("sidebarSearch")->property("placeholderText").toString(),
                 qtTrId("sidebar.search.nodes"));
        m_rig->find("sidebarSearch")->setProperty("text", QStringLiteral("zzzz"));
        QTRY_COMPARE(countOf("nodeList"), 0);
        QVERIFY(m_rig->shows("sidebarEmptyState"));
        QCOMPARE(m_rig->find("sidebarEmptyState")->property("title").toString(),
                 qtTrId("sidebar.empty.nodes.title"));
    }

    // Right-click menus: favourite for a contact, remove for a channel.
    void rowContextMenus() {
        QVERIFY(connectToMainView());
        QTRY_COMPARE(countOf("conversationList"), 5);
        QObject* favorite = rowMenuItem(1, "favoriteMenuItem");
        QVERIFY(favorite);
        QVERIFY(!itemAtIndex(m_rig->find("conversationList"), 1)
                     ->findChild<QObject*>(QStringLiteral("removeChannelMenuItem"))
                     ->property("visible")
                     .toBool());
        QCOMPARE(favorite->property("text").toString(), qtTrId("sidebar.favorite.add"));
        QMetaObject::invokeMethod(favorite, "triggered");
        QVERIFY(m_rig->controller->favorites().contains(
            m_rig->contactNamed(QStringLiteral("Aino Virtanen"))->publicKey));

        QObject* remove = rowMenuItem(0, "removeChannelMenuItem");
        QVERIFY(remove);
        QMetaObject::invokeMethod(remove, "triggered");
        m_rig->advance(2s);
        QTRY_COMPARE(countOf("conversationList"), 4);
        for (const Channel& channel : m_rig->controller->channels())
            QVERIFY(channel.index != 0);
    }

    // While saves fail the window says so above its content, without
    // covering it; the next save that works takes the warning away.
    void historyWarningShowsWhileSavesFail() {
        QVERIFY(connectToMainView());
        QVERIFY(!m_rig->shows("historyWarning"));
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
        QTRY_VERIFY(m_rig->shows("historyWarning"));
        const QString text = textOf("historyWarningText");
        QVERIFY2(text.startsWith(QStringLiteral("History could not be saved: ")), qPrintable(text));
        QVERIFY(text.size() > 30);
        auto* main = m_rig->find<QQuickItem>("mainView");
        auto* warning = m_rig->find<QQuickItem>("historyWarning");
        QTRY_COMPARE(main->mapToScene({0, 0}).y(), warning->mapToScene({0, warning->height()}).y());

        QVERIFY(QFile::remove(folder));
        save(QStringLiteral("kept"));
        QTRY_VERIFY(!m_rig->shows("historyWarning"));
        QTRY_COMPARE(main->mapToScene({0, 0}).y(), warning->mapToScene({0, 0}).y());
        QCOMPARE(m_rig->savedHistory()->size(), m_rig->controller->conversations().size());
    }
};

QTEST_MAIN(TestShellViews)
#include "test_shell_views.moc"
