#include "../transport/fake_ble_adapter.h"
#include "book/node_book_store.h"
#include "shell_model.h"
#include "translations.h"
#include "ui_rig.h"

#include <QProcess>
#include <QTest>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>
#include <qcoro/qcoroqml.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

// The whole window (Main.qml) over the simulated radio: what the connection
// screen and the main view show, found by object name.
class TestShellViews : public QObject {
    Q_OBJECT

    std::unique_ptr<WindowRig> m_rig;

    QString textOf(const char* name) const { return m_rig->text(name); }
    static QString textOf(const QObject* object) { return ::textOf(object); }
    int countOf(const char* list) const { return m_rig->count(list); }
    // Sheets and dialogs are popups, not items.
    bool sheetShown(const char* name) const { return m_rig->value(name, "visible").toBool(); }
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

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        // A test that closes the window goes on with the next one.
        QGuiApplication::setQuitOnLastWindowClosed(false);
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
        QCOMPARE(textOf(row->findChild<QObject*>(u"deviceName"_s)), SimulatedRadio::deviceName);

        QMetaObject::invokeMethod(m_rig->find("scanButton"), "clicked");
        QCOMPARE(m_rig->controller->transportState(), TransportState::ready);
        QCOMPARE(textOf("scanButton"), qtTrId("connection.button.scan.again"));
        QVERIFY(!m_rig->shows("scanSpinner"));
        // Ready again, but a radio is listed: no new scan by itself.
        m_rig->advance(1s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::ready);
    }

    // A radio the system knows is marked, says it has no signal yet, and
    // shows no bars.
    void knownRadioIsMarked() {
        DiscoveredDevice known;
        known.id = QUuid::createUuid();
        known.name = u"Harbour Radio"_s;
        known.known = true;
        known.address = u"C0:FF:EE:00:00:21"_s;
        Q_EMIT m_rig->radio.transportDiscovered(known);
        QQuickItem* row = nullptr;
        QTRY_VERIFY((row = itemAtIndex(m_rig->find("deviceList"), 0)));
        QVERIFY(findVisualItem(row, u"knownMark"_s)->isVisible());
        QCOMPARE(textOf(findVisualItem(row, u"deviceRssi"_s)),
                 qtTrId("connection.device.not.heard"));
    }

    // The PIN sheet opens by itself when a radio asks, with its name; the
    // typed PIN goes back as the answer and the sheet closes. A passkey to
    // confirm shows as six digits; Cancel refuses it.
    void pinSheetAnswersTheRadio() {
        std::optional<PairingPrompt::Answer> answer;
        const auto reply = [&](const PairingPrompt::Answer& given) { answer = given; };
        m_rig->pairingPrompt.ask(PairingPrompt::Kind::enterPasskey, u"Ridge Radio"_s, 0, reply);
        QTRY_VERIFY(sheetShown("pinSheet"));
        auto* sheet = m_rig->find("pinSheet");
        QVERIFY(sheet->findChild<QObject*>(u"form"_s)->property("radioName") == u"Ridge Radio"_s);
        auto* field = sheet->findChild<QObject*>(u"pinField"_s);
        auto* pair = sheet->findChild<QObject*>(u"mainButton"_s);
        QVERIFY(field && pair);
        QVERIFY(!pair->property("enabled").toBool());
        field->setProperty("text", u"123456"_s);
        QVERIFY(pair->property("enabled").toBool());
        QMetaObject::invokeMethod(pair, "clicked");
        QVERIFY(answer && answer->accepted);
        QCOMPARE(answer->passkey, 123456u);
        QTRY_VERIFY(!sheetShown("pinSheet"));

        answer.reset();
        m_rig->pairingPrompt.ask(PairingPrompt::Kind::confirmPasskey, u"Ridge Radio"_s, 4711,
                                 reply);
        QTRY_VERIFY(sheetShown("pinSheet"));
        QCOMPARE(textOf(sheet->findChild<QObject*>(u"passkey"_s)), u"004711"_s);
        QVERIFY(!sheet->findChild<QQuickItem*>(u"pinField"_s)->isVisible());
        QMetaObject::invokeMethod(sheet->findChild<QObject*>(u"cancelButton"_s), "clicked");
        QVERIFY(answer && !answer->accepted);
        QTRY_VERIFY(!sheetShown("pinSheet"));

        // The radio gives up: the sheet goes without an answer.
        answer.reset();
        m_rig->pairingPrompt.ask(PairingPrompt::Kind::enterPasskey, u"Ridge Radio"_s, 0, reply);
        QTRY_VERIFY(sheetShown("pinSheet"));
        m_rig->pairingPrompt.withdraw();
        QTRY_VERIFY(!sheetShown("pinSheet"));
        QVERIFY(!answer);
    }

    // "Forget this radio in Bluetooth" in the device pane asks first, then
    // ends the connection for good.
    void forgetFromTheDevicePane() {
        QVERIFY(m_rig->connectToMainView());
        m_rig->find("mainView")->setProperty("inspector", u"device"_s);
        QTRY_VERIFY(m_rig->item("forgetButton"));
        QMetaObject::invokeMethod(m_rig->item("forgetButton"), "clicked");
        QTRY_VERIFY(sheetShown("forgetDialog"));
        QVERIFY(textOf(m_rig->find("forgetDialog")->property("header").value<QObject*>())
                    .contains(m_rig->radio.selfInfo().name));
        QVERIFY(m_rig->controller->rememberedDeviceId());
        QMetaObject::invokeMethod(m_rig->find("forgetConfirm"), "clicked");
        QCOMPARE(m_rig->controller->transportState(), TransportState::disconnected);
        QVERIFY(!m_rig->controller->rememberedDeviceId());
        QTRY_VERIFY(m_rig->shows("connectionView"));
    }

    // A scan listens for half a minute, then ends by itself and offers to
    // scan again; meanwhile its marks move only while the window is in
    // front, and once it is over nothing on the screen moves.
    void aScanEndsByItselfAndTheScreenHoldsStill() {
        m_rig->radio.setInRange(false);
        QQuickWindow* window = m_rig->window();
        window->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QObject* hero = m_rig->find("connectionHero");
        QObject* motion = m_rig->find("connectionMotion");
        QVERIFY(hero && motion);
        QVERIFY(hero->property("breathing").toBool());
        QVERIFY(motion->property("running").toBool());

        QWindow elsewhere;
        elsewhere.resize(200, 100);
        elsewhere.show();
        elsewhere.requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(&elsewhere));
        QVERIFY(!motion->property("running").toBool());
        window->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(window));
        QVERIFY(motion->property("running").toBool());

        m_rig->advance(ShellModel::scanWindow - 1s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::scanning);
        m_rig->advance(1s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::ready);
        QCOMPARE(textOf("scanButton"), qtTrId("connection.button.scan.again"));
        QCOMPARE(textOf("connectionStatus"), qtTrId("connection.empty.none.found"));
        QVERIFY(!m_rig->shows("scanSpinner"));
        QVERIFY(!hero->property("breathing").toBool());
        QVERIFY(!motion->property("running").toBool());
        QTest::qWait(300); // the last changes drawn
        int frames = 0;
        connect(window, &QQuickWindow::frameSwapped, this, [&frames] { ++frames; });
        QTest::qWait(600);
        QCOMPARE(frames, 0);

        // Scanning again listens for as long again.
        m_rig->radio.setInRange(true);
        QMetaObject::invokeMethod(m_rig->find("scanButton"), "clicked");
        QCOMPARE(m_rig->controller->transportState(), TransportState::scanning);
        m_rig->advance(500ms);
        QTRY_COMPARE(countOf("deviceList"), 1);
        m_rig->advance(ShellModel::scanWindow - 1500ms);
        QCOMPARE(m_rig->controller->transportState(), TransportState::scanning);
        m_rig->advance(1s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::ready);
        QCOMPARE(countOf("deviceList"), 1);
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
        m_rig->window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(m_rig->window()));
        m_rig->advance(500ms);
        QVERIFY(!m_rig->shows("bluetoothProblem"));
        QVERIFY2(m_rig->value("connectionMotion", "running").toBool(),
                 "the scan's mark moves while it listens");
        // The simulated radio is stopped, so only the problem changes the screen.
        QMetaObject::invokeMethod(m_rig->find("scanButton"), "clicked");
        int frames = 0;
        connect(m_rig->window(), &QQuickWindow::frameSwapped, this, [&frames] { ++frames; });

        adapter.powerOnAllowed = powerOnAllowed;
        adapter.reportPower(power);
        QVERIFY(m_rig->shows("bluetoothProblem"));
        QCOMPARE(textOf("bluetoothProblemTitle"), qtTrId(title.constData()));
        QCOMPARE(textOf("bluetoothProblemDetail"), qtTrId(detail.constData()));
        QCOMPARE(textOf("connectionStatus"), qtTrId(title.constData()));
        QVERIFY(!m_rig->shows("scanSpinner"));
        QVERIFY(!m_rig->value("connectionMotion", "running").toBool());
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
    // connection screen. With reconnection on, a drop keeps the main window:
    // the open chat, the list and the header stay, the pill says it is
    // reconnecting and the composer why it cannot send; the chat is selected
    // again once back.
    void theMainViewFollowsTheLink() {
        QVERIFY(m_rig->connectToMainView());
        QTRY_VERIFY(!m_rig->find("connectionView"));
        QCOMPARE(textOf("pillTitle"), m_rig->radio.selfInfo().name);
        QTRY_VERIFY(textOf("pillSecondLine").endsWith(u'V')); // the battery
        // Public channel and the four chat-capable contacts.
        QTRY_COMPARE(countOf("conversationList"), 5);
        QVERIFY(m_rig->shows("conversationEmptyDetail"));
        QVERIFY(!m_rig->shows("sidebarEmptyState"));
        QVERIFY(!m_rig->shows("conversationInfoButton"));
        // The toolbar's buttons stay in place as the info button comes.
        const auto xOf = [&](const char* name) {
            auto* item = m_rig->find<QQuickItem>(name);
            return item ? item->mapToScene(QPointF(0, 0)).x() : -1;
        };
        const QList<qreal> before{xOf("addButton"), xOf("advertiseButton"), xOf("deviceButton")};
        const auto target = m_rig->chatWith(u"Aino Virtanen"_s);
        m_rig->controller->setSelectedConversation(target);
        QTRY_VERIFY(m_rig->shows("conversationInfoButton"));
        QTest::qWait(50);
        QCOMPARE((QList<qreal>{xOf("addButton"), xOf("advertiseButton"), xOf("deviceButton")}),
                 before);
        QCOMPARE(m_rig->value("conversationList", "currentIndex").toInt(), 1);
        // A channel's info pane holds its notification level.
        m_rig->controller->setSelectedConversation(ConversationID::channel(0));
        QTRY_COMPARE(m_rig->value("conversationList", "currentIndex").toInt(), 0);
        QVERIFY(m_rig->shows("conversationInfoButton"));
        QMetaObject::invokeMethod(m_rig->find("conversationInfoButton"), "clicked");
        QTRY_VERIFY(m_rig->shows("channelInfoInspector"));
        QVERIFY(m_rig->shows("notificationLevelCard"));
        m_rig->controller->setSelectedConversation(std::nullopt);
        QTRY_VERIFY(!m_rig->shows("conversationInfoButton"));
        QTRY_VERIFY(!m_rig->find("channelInfoInspector"));

        m_rig->radio.dropLink();
        QTest::qWait(400); // the fade
        QTRY_VERIFY(m_rig->shows("connectionView"));
        QTRY_VERIFY(!m_rig->find("mainView"));

        m_rig->controller->enableAutomaticReconnection();
        QVERIFY(m_rig->connectToMainView());
        m_rig->controller->setSelectedConversation(target);
        QTRY_VERIFY(m_rig->shows("messageList"));
        auto* send = m_rig->item("sendButton");
        auto* field = m_rig->item("composerText");
        QVERIFY(send && field);
        field->setProperty("text", u"draft"_s);
        QVERIFY(send->isEnabled());
        const QString limitNote = textOf(m_rig->item("composerNote"));

        m_rig->radio.setInRange(false);
        m_rig->radio.dropLink();
        QVERIFY(!m_rig->controller->selectedConversation());
        QTest::qWait(400);
        QVERIFY(m_rig->shows("mainView"));
        QVERIFY(!m_rig->find("connectionView"));
        QCOMPARE(textOf("pillSecondLine"), qtTrId("main.connection.reconnecting"));
        QCOMPARE(textOf("pillTitle"), SimulatedRadio::deviceName);
        QCOMPARE(countOf("conversationList"), 5);
        QCOMPARE(textOf(m_rig->item("chatTitle")), u"Aino Virtanen"_s);
        QVERIFY(!send->isEnabled());
        QCOMPARE(textOf(field), u"draft"_s);
        QVERIFY(textOf(m_rig->item("composerNote")).contains(SimulatedRadio::deviceName));

        m_rig->advance(30s);
        QVERIFY(m_rig->shows("mainView"));
        m_rig->radio.setInRange(true);
        m_rig->advance(60s);
        QCOMPARE(m_rig->controller->transportState(), TransportState::connected);
        QCOMPARE(m_rig->controller->selectedConversation(), target);
        QTRY_VERIFY(send->isEnabled());
        QCOMPARE(textOf(m_rig->item("composerNote")), limitNote);
        QCOMPARE(textOf("pillTitle"), m_rig->radio.selfInfo().name);

        // Disconnecting gives up and shows the connection screen.
        m_rig->radio.setInRange(false);
        m_rig->radio.dropLink();
        QVERIFY(m_rig->controller->isReconnecting());
        m_rig->controller->disconnectFromDevice();
        QTest::qWait(400);
        QTRY_VERIFY(m_rig->shows("connectionView"));
    }

    // With a node book the window stays on it when the radio goes: the lists
    // and the chat stay readable, what needs the radio is off and says why;
    // File > Forget This Radio… deletes the book and shows the connection
    // screen again.
    void theWindowStaysOnTheNodeBook() {
        NodeBookStore books(m_rig->dir.path());
        m_rig->controller->setNodeBookStore(&books);
        QVERIFY(m_rig->connectToMainView());
        QTRY_COMPARE(countOf("conversationList"), 5);
        const auto target = m_rig->chatWith(u"Aino Virtanen"_s);
        m_rig->controller->setSelectedConversation(target);
        QTRY_VERIFY(m_rig->shows("messageList"));
        QVERIFY(m_rig->item("addButton")->isEnabled());

        m_rig->radio.dropLink();
        QTest::qWait(400);
        QVERIFY(m_rig->shows("mainView"));
        QVERIFY(!m_rig->find("connectionView"));
        QCOMPARE(textOf("pillSecondLine"), qtTrId("main.connection.away"));
        QCOMPARE(textOf("pillTitle"), m_rig->radio.selfInfo().name);
        QCOMPARE(countOf("conversationList"), 5);
        QCOMPARE(m_rig->controller->selectedConversation(), target);
        QCOMPARE(textOf(m_rig->item("chatTitle")), u"Aino Virtanen"_s);
        QVERIFY(!m_rig->item("sendButton")->isEnabled());
        QCOMPARE(textOf(m_rig->item("composerNote")), qtTrId("chat.composer.radio.away"));
        QVERIFY(!m_rig->item("addButton")->isEnabled());
        QVERIFY(!m_rig->item("advertiseButton")->isEnabled());
        QCOMPARE(m_rig->value("addButton", "help").toString(), qtTrId("main.radio.needed.away"));
        books.flush();
        const QString book = books.pathFor(m_rig->radio.selfInfo().publicKey);
        QVERIFY(QFile::exists(book));

        QObject* forget = m_rig->find("forgetThisRadioMenuItem");
        QVERIFY(forget && forget->property("enabled").toBool());
        QObject* dialog = m_rig->find("forgetThisRadioDialog");
        QVERIFY(dialog);
        QMetaObject::invokeMethod(dialog, "open");
        QTRY_VERIFY(m_rig->shows("forgetThisRadioConfirm"));
        QVERIFY(textOf("forgetThisRadioTitle").contains(m_rig->radio.selfInfo().name));
        click(m_rig->item("forgetThisRadioConfirm"));
        QTest::qWait(400);
        QTRY_VERIFY(m_rig->shows("connectionView"));
        QVERIFY(!QFile::exists(book));
        QVERIFY(!m_rig->controller->rememberedDeviceId());
        // The history stays.
        QVERIFY(m_rig->controller->conversations().contains(target.conversationKey()));
    }

    // While the history is read, the lists and the chat area say that it
    // comes, never that they are empty, not even for a frame; the rows come
    // with the history, and a conversation opened meanwhile (as from a
    // notification) then shows its messages.
    void placeholderWhileTheHistoryIsRead() {
        m_rig.reset();
        m_rig = std::make_unique<WindowRig>(WindowRig::demoNeighbours, nullptr, true);
        // Looked at between any two events, as a frame could be drawn there.
        bool emptyShown = false;
        const auto lookForEmpty = [&] {
            if (!m_rig->controller->historyLoaded() &&
                (m_rig->shows("sidebarEmptyState") || m_rig->shows("conversationEmptyDetail") ||
                 m_rig->shows("emptyState")))
                emptyShown = true;
        };
        QTimer watch;
        watch.setInterval(1);
        connect(&watch, &QTimer::timeout, this, lookForEmpty);
        connect(m_rig->controller.get(), &MeshController::historyLoadedChanged, this, lookForEmpty);
        watch.start();
        QVERIFY(m_rig->connectToMainView());
        QVERIFY(!m_rig->controller->historyLoaded());
        QTRY_VERIFY(m_rig->shows("sidebarHistoryLoading"));
        lookForEmpty();
        QVERIFY(m_rig->shows("conversationHistoryLoading"));
        QCOMPARE(countOf("conversationList"), 0);

        const ConversationID target = m_rig->chatWith(u"Aino Virtanen"_s);
        QVERIFY(QMetaObject::invokeMethod(m_rig->window(), "openConversation",
                                          Q_ARG(QVariant, target.conversationKey())));
        QTRY_VERIFY(m_rig->shows("chatHistoryLoading"));
        QVERIFY(!m_rig->shows("conversationHistoryLoading"));
        QTest::qWait(50);
        lookForEmpty();
        // Nothing is sent that could not be kept yet; the composer says why
        // and keeps what was typed.
        m_rig->find("composerText")->setProperty("text", u"on my way"_s);
        QCOMPARE(m_rig->find("composerNote")->property("text").toString(),
                 qtTrId("chat.composer.history.loading"));
        QVERIFY(!m_rig->find("sendButton")->property("enabled").toBool());

        Conversation read{target, {}, distantPast(), 0};
        for (int n = 0; n < 5; ++n)
            read.messages.append(incomingMessage(QString::number(n), m_rig->clock.now()));
        read.lastActivity = m_rig->clock.now();
        m_rig->heldBack->handOver(encodeConversations({read}));
        QTRY_VERIFY(m_rig->controller->historyLoaded());
        QTRY_VERIFY(countOf("conversationList") > 0);
        QTRY_COMPARE(countOf("messageList"), 5);
        QVERIFY(!m_rig->shows("sidebarHistoryLoading"));
        QVERIFY(!m_rig->shows("chatHistoryLoading"));
        QVERIFY(!m_rig->shows("emptyState"));
        QVERIFY(m_rig->find("composerNote")->property("text").toString() !=
                qtTrId("chat.composer.history.loading"));
        QTRY_VERIFY(m_rig->find("sendButton")->property("enabled").toBool());
        QCOMPARE(m_rig->find("composerText")->property("text").toString(), u"on my way"_s);
        watch.stop();
        QVERIFY(!emptyShown);
    }

    // A notification's click opens its conversation whatever the list mode,
    // and reads it, so the notification goes. The rows' menus: favourite for
    // a contact, remove for a channel. The picker, a node row and the node's
    // Message button hand the mode and the selection to the main view, which
    // stays their single owner; the search narrows the nodes down to the
    // empty state.
    void sidebarRowsAndModes() {
        QVERIFY(m_rig->connectToMainView());
        QObject* main = m_rig->find("mainView");
        m_rig->controller->setApplicationActive(false);
        const auto target = m_rig->chatWith(u"Aino Virtanen"_s);
        const QString key = target.conversationKey();
        m_rig->controller->appendMessage(incomingMessage(u"moi"_s, m_rig->clock.now()), target);
        QCOMPARE(m_rig->controller->totalUnreadCount(), 1);
        main->setProperty("mode", u"nodes"_s);
        QVERIFY(
            QMetaObject::invokeMethod(m_rig->window(), "openConversation", Q_ARG(QVariant, key)));
        QCOMPARE(main->property("mode").toString(), u"messages"_s);
        QCOMPARE(m_rig->controller->selectedConversation(), target);
        QCOMPARE(m_rig->controller->totalUnreadCount(), 0);
        QCOMPARE(m_rig->notifier.withdrawn, QStringList{key});
        QTRY_VERIFY(m_rig->shows("messageList"));

        QTRY_COMPARE(countOf("conversationList"), 5);
        QObject* favorite = rowMenuItem(1, "favoriteMenuItem");
        QVERIFY(favorite);
        QVERIFY(!itemAtIndex(m_rig->find("conversationList"), 1)
                     ->findChild<QObject*>(u"removeChannelMenuItem"_s)
                     ->property("visible")
                     .toBool());
        QCOMPARE(textOf(favorite), qtTrId("sidebar.favorite.add"));
        QMetaObject::invokeMethod(favorite, "triggered");
        QVERIFY(m_rig->controller->favorites().contains(target.contactKey()));
        QObject* remove = rowMenuItem(0, "removeChannelMenuItem");
        QVERIFY(remove);
        QMetaObject::invokeMethod(remove, "triggered");
        m_rig->advance(2s);
        QTRY_COMPARE(countOf("conversationList"), 4);
        for (const Channel& channel : m_rig->controller->channels())
            QVERIFY(channel.index != 0);

        click(m_rig->item("segment_nodes"));
        QTRY_VERIFY(m_rig->find("nodeList"));
        QCOMPARE(main->property("mode").toString(), u"nodes"_s);
        QCOMPARE(countOf("nodeList"), 4);
        QTRY_VERIFY(itemAtIndex(m_rig->find("nodeList"), 0));
        click(itemAtIndex(m_rig->find("nodeList"), 0));
        QTRY_VERIFY(m_rig->shows("nodeDetailView"));
        QVERIFY(!main->property("nodeSelection").toString().isEmpty());
        QCOMPARE(m_rig->value("nodeList", "currentIndex").toInt(), 0);

        // A node that can chat opens its conversation in messages mode.
        main->setProperty("nodeSelection", target.contactKey());
        QTRY_VERIFY(m_rig->shows("messageButton"));
        m_rig->controller->setSelectedConversation(std::nullopt);
        QMetaObject::invokeMethod(m_rig->find("messageButton"), "clicked");
        QTRY_VERIFY(m_rig->find("conversationList"));
        QVERIFY(!m_rig->find("nodeList"));
        QCOMPARE(m_rig->controller->selectedConversation(), std::optional(target));

        // Back in nodes mode: a click on another row selects that node.
        click(m_rig->item("segment_nodes"));
        QTRY_VERIFY(itemAtIndex(m_rig->find("nodeList"), 1));
        click(itemAtIndex(m_rig->find("nodeList"), 1));
        QString second;
        QMetaObject::invokeMethod(m_rig->find("nodeModel"), "keyAt", Q_RETURN_ARG(QString, second),
                                  Q_ARG(int, 1));
        QTRY_COMPARE(main->property("nodeSelection").toString(), second);
        QCOMPARE(m_rig->value("nodeList", "currentIndex").toInt(), 1);

        // Removed, it leaves the empty detail and no row highlighted.
        QTRY_VERIFY(m_rig->shows("removeButton"));
        // Below the node's map, the button may lie past the window's edge.
        QMetaObject::invokeMethod(m_rig->find("removeButton"), "clicked");
        m_rig->advance(2s);
        QTRY_COMPARE(countOf("nodeList"), 3);
        QVERIFY(!m_rig->controller->contactForKey(second));
        QCOMPARE(main->property("nodeSelection").toString(), QString());
        QTRY_VERIFY(m_rig->shows("nodeEmptyDetail"));
        QVERIFY(!m_rig->find("nodeDetailView"));
        QCOMPARE(m_rig->value("nodeList", "currentIndex").toInt(), -1);

        QCOMPARE(m_rig->value("sidebarSearch", "placeholderText").toString(),
                 qtTrId("sidebar.search.nodes"));
        m_rig->find("sidebarSearch")->setProperty("text", u"zzzz"_s);
        QTRY_COMPARE(countOf("nodeList"), 0);
        QVERIFY(m_rig->shows("sidebarEmptyState"));
        QCOMPARE(m_rig->value("sidebarEmptyState", "title").toString(),
                 qtTrId("sidebar.empty.nodes.title"));
    }

    // While saves fail the window says so above its content, without
    // covering it; the next save that works takes the warning away.
    void historyWarningShowsWhileSavesFail() {
        QVERIFY(m_rig->connectToMainView());
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
        save(u"not kept"_s);
        QTRY_VERIFY(m_rig->shows("historyWarning"));
        const QString text = textOf("historyWarningText");
        QVERIFY2(text.startsWith(u"History could not be saved: "_s), qPrintable(text));
        QVERIFY(text.size() > 30);
        auto* main = m_rig->find<QQuickItem>("mainView");
        auto* warning = m_rig->find<QQuickItem>("historyWarning");
        QTRY_COMPARE(main->mapToScene({0, 0}).y(), warning->mapToScene({0, warning->height()}).y());

        QVERIFY(QFile::remove(folder));
        save(u"kept"_s);
        QTRY_VERIFY(!m_rig->shows("historyWarning"));
        QTRY_COMPARE(main->mapToScene({0, 0}).y(), warning->mapToScene({0, 0}).y());
        QCOMPARE(m_rig->savedHistory()->size(), m_rig->controller->conversations().size());
    }

    // Closing the window while the history cannot be saved asks first:
    // Cancel keeps the window, Save Again quits once a save works (and
    // stays when it still fails), Quit Anyway quits.
    void quittingWhileSavesFailAsksFirst_data() {
        QTest::addColumn<QString>("choice");
        QTest::addColumn<bool>("folderBack"); // the cause is gone before the choice
        QTest::addColumn<bool>("quits");
        QTest::newRow("cancel") << u"unsavedHistoryCancel"_s << true << false;
        QTest::newRow("save again") << u"unsavedHistorySave"_s << true << true;
        QTest::newRow("save again, still failing") << u"unsavedHistorySave"_s << false << false;
        QTest::newRow("quit anyway") << u"unsavedHistoryQuit"_s << false << true;
    }
    void quittingWhileSavesFailAsksFirst() {
        QFETCH(QString, choice);
        QFETCH(bool, folderBack);
        QFETCH(bool, quits);
        QQuickWindow* window = m_rig->window();
        const QString folder = m_rig->dir.path();
        QVERIFY(QDir(folder).removeRecursively());
        QFile blocker(folder); // a file where the folder was
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        m_rig->controller->appendMessage(incomingMessage(u"not kept yet"_s, m_rig->clock.now()),
                                         ConversationID::channel(0));
        m_rig->store->flush();
        QTRY_VERIFY(m_rig->shows("historyWarning"));

        window->close();
        QObject* dialog = m_rig->find("unsavedHistoryDialog");
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->property("opened").toBool());
        QVERIFY(window->isVisible());
        QVERIFY(textOf("unsavedHistoryText").contains(m_rig->controller->historyError()));
        if (folderBack)
            QVERIFY(QFile::remove(folder));
        click(m_rig->find<QQuickItem>(choice.toLatin1().constData()));
        QTRY_COMPARE(window->isVisible(), !quits);
        QCOMPARE(dialog->property("visible").toBool(), !quits && !folderBack);
        if (choice == u"unsavedHistorySave"_s && quits)
            QCOMPARE(m_rig->savedHistory()->first().messages.size(), 1);
        if (!folderBack)
            QFile::remove(folder);
    }

    // The folder is moved while Talvenne runs and another Talvenne makes its
    // own history there: the composer says why nothing can be sent, and the
    // window goes on as usual once the other has gone.
    void historyTakenByAnotherTalvenneStopsTheComposer() {
        QVERIFY(m_rig->connectToMainView());
        m_rig->controller->setSelectedConversation(m_rig->chatWith(u"Aino Virtanen"_s));
        QTRY_VERIFY(m_rig->shows("messageList"));
        auto* send = m_rig->item("sendButton");
        auto* field = m_rig->item("composerText");
        QVERIFY(send && field);
        field->setProperty("text", u"draft"_s);
        QVERIFY(send->isEnabled());
        const QString folder = m_rig->dir.path();
        const QString moved = folder + u"-moved"_s;
        QVERIFY(QDir().rename(folder, moved));
        QProcess holder;
        holder.start(QStringLiteral(STORE_PROBE), {u"hold"_s, m_rig->historyPath()});
        QVERIFY(holder.waitForReadyRead(30'000));

        m_rig->controller->appendMessage(incomingMessage(u"moi"_s, m_rig->clock.now()),
                                         ConversationID::channel(0));
        QTRY_VERIFY(!send->isEnabled());
        QCOMPARE(textOf(m_rig->item("composerNote")), qtTrId("chat.composer.history.held"));
        QVERIFY(m_rig->shows("historyWarning"));

        holder.kill();
        QVERIFY(holder.waitForFinished());
        QTRY_VERIFY_WITH_TIMEOUT(send->isEnabled(), 5000);
        QTRY_VERIFY(!m_rig->shows("historyWarning"));
        QVERIFY(QDir(moved).removeRecursively());
    }
};

QTEST_MAIN(TestShellViews)
#include "test_shell_views.moc"
