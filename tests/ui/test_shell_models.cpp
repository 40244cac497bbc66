#include "book/node_book_store.h"
#include "connection_failure_model.h"
#include "conversation_list_model.h"
#include "conversation_saver.h"
#include "device_list_model.h"
#include "logic/safe_text.h"
#include "node_list_model.h"
#include "pin_form.h"
#include "shell_model.h"
#include "translations.h"
#include "transport/pairing_prompt.h"
#include "ui_rig.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

// The sidebar's models and the shell's over the simulated radio with the
// demo's neighbours: which rows change, move, come and go, and which signals
// say so (never a reset where a row would do).
class TestShellModels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY(installTranslations(*QCoreApplication::instance(), QLocale(QLocale::English)));
    }

    // A conversation row shows its level by an icon, its count in grey when
    // none of it would have notified, and "@" when a message mentions the
    // user; setting the level changes that row alone.
    void rowShowsTheLevel_data() {
        QTest::addColumn<QString>("level");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<bool>("quiet");
        QTest::addColumn<bool>("mention");
        QTest::newRow("all") << "all"
                             << "Kettu: hi"
                             << "" << false << false;
        QTest::newRow("mentions, plain") << "mentions"
                                         << "Kettu: hi"
                                         << "at" << true << false;
        QTest::newRow("mentions, mentioned") << "mentions"
                                             << "Kettu: hi @[Talvenne Demo]"
                                             << "at" << false << true;
        QTest::newRow("nothing, mentioned") << "nothing"
                                            << "Kettu: @Talvenne hi @[talvenne demo]"
                                            << "bell.slash" << true << true;
    }
    void rowShowsTheLevel() {
        QFETCH(QString, level);
        QFETCH(QString, text);
        QFETCH(QString, symbol);
        QFETCH(bool, quiet);
        QFETCH(bool, mention);
        UiRig rig;
        QVERIFY(rig.connect());
        Bound<ConversationListModel> model(rig.controller);
        const int row = model.rowOfKey(u"channel:0"_s);
        QVERIFY(row >= 0);
        ModelSpies spies(&model);
        rig.controller->setNotificationLevelOf(u"channel:0"_s, level);
        QCOMPARE(spies.changed.size(), level == u"all"_s ? 0 : 1);
        rig.radio.queueIncomingChannel(0, text, rig.clock.now());
        rig.clock.advance(2s);
        QCOMPARE(roleValue(model, row, "unread").toInt(), 1);
        QCOMPARE(roleValue(model, row, "level").toString(), level);
        QCOMPARE(roleValue(model, row, "levelSymbol").toString(), symbol);
        QCOMPARE(roleValue(model, row, "unreadQuiet").toBool(), quiet);
        QCOMPARE(roleValue(model, row, "unreadMention").toBool(), mention);
        QCOMPARE(spies.reset.size(), 0);
    }

    // Save Conversation As: the whole conversation, one line per message; a
    // place that cannot be written says why and leaves what was there.
    void savesTheConversationAsText() {
        UiRig rig;
        QVERIFY(rig.connect());
        const auto aino = rig.chatWith(u"Aino Virtanen"_s);
        for (int i = 0; i < 3; ++i)
            rig.controller->appendMessage(chatMessage(ChatMessage::Direction::incoming,
                                                      u"line %1\nmore"_s.arg(i), rig.clock.now()),
                                          aino);
        Bound<ConversationSaver> saver(rig.controller);
        QTemporaryDir dir;
        const QUrl suggested = saver.suggestedFile(aino.conversationKey());
        QCOMPARE(suggested.fileName(), u"Aino Virtanen.txt"_s);
        const QUrl file = QUrl::fromLocalFile(dir.filePath(suggested.fileName()));
        QCOMPARE(saver.save(aino.conversationKey(), file), QString());
        QFile saved(file.toLocalFile());
        QVERIFY(saved.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(saved.readAll()).split(u'\n');
        QCOMPARE(lines.size(), 4); // three lines and the end of the last
        QVERIFY2(lines.at(2).endsWith(u"\tAino Virtanen\tline 2 more\tReceived"_s),
                 qPrintable(lines.at(2)));

        // A folder where the file would go: refused, the folder and its file kept.
        QVERIFY(QDir(dir.path()).mkdir(u"taken.txt"_s));
        QVERIFY(QFile::copy(file.toLocalFile(), dir.filePath(u"taken.txt/inside"_s)));
        QVERIFY(
            !saver.save(aino.conversationKey(), QUrl::fromLocalFile(dir.filePath(u"taken.txt"_s)))
                 .isEmpty());
        QVERIFY(QFileInfo(dir.filePath(u"taken.txt/inside"_s)).size() > 0);
        QVERIFY(
            !saver.save(aino.conversationKey(), QUrl(u"https://example.org/a.txt"_s)).isEmpty());
    }

    // Messages, the passing time, a favourite, a search and a disconnect,
    // one after the other on the lists.
    void sidebarListsFollowTheRadio() {
        UiRig rig;
        QVERIFY(rig.connect());
        Bound<ConversationListModel> model(rig.controller);
        model.setNow(rig.clock.now());
        QStringList all = column(model, "key");
        const auto aino = rig.chatWith(u"Aino Virtanen"_s);
        const int ainoRow = model.rowOfKey(aino.conversationKey());
        ModelSpies spies(&model);

        // A direct and a channel message change their own rows, nothing else.
        rig.radio.queueIncomingDirect(aino.contactKey(), u"Sauna at six?"_s, rig.clock.now());
        rig.radio.queueIncomingChannel(0, u"Kettu: Sauna at six?"_s, rig.clock.now());
        rig.clock.advance(2s);
        QCOMPARE(spies.reset.size() + spies.inserted.size() + spies.removed.size() +
                     spies.moved.size(),
                 0);
        QSet<int> changedRows;
        for (const QList<QVariant>& signal : std::as_const(spies.changed)) {
            QCOMPARE(signal.at(0).toModelIndex().row(), signal.at(1).toModelIndex().row());
            changedRows << signal.at(0).toModelIndex().row();
        }
        QCOMPARE(changedRows, (QSet<int>{0, ainoRow}));
        QCOMPARE(column(model, "key"), all);
        for (int row : {0, ainoRow}) {
            QCOMPARE(roleValue(model, row, "unread").toInt(), 1);
            QVERIFY(roleValue(model, row, "subtitle").toString().contains(u"Sauna at six?"));
        }
        QCOMPARE(roleValue(model, ainoRow, "timeText").toString(), u"now"_s);

        // The passing time refreshes the times only.
        spies.clear();
        model.setNow(rig.clock.now().addSecs(5 * 60));
        QCOMPARE(spies.changed.size(), 1);
        QCOMPARE(spies.changed.first().at(2).value<QList<int>>(),
                 (QList<int>{ConversationListModel::TimeTextRole,
                             ConversationListModel::SpokenTextRole}));
        QCOMPARE(roleValue(model, ainoRow, "timeText").toString(), u"5m"_s);

        // A favourite moves up to the first contact, right after the channel.
        const auto jerome = rig.chatWith(u"Jérôme Bélanger"_s);
        QCOMPARE(model.rowOfKey(jerome.conversationKey()), model.count() - 1); // oldest advert
        spies.clear();
        rig.controller->toggleFavorite(jerome.contactKey());
        QCOMPARE(spies.reset.size(), 0);
        QCOMPARE(spies.moved.size(), 1);
        QCOMPARE(model.rowOfKey(jerome.conversationKey()), 1);
        QCOMPARE(roleValue(model, 1, "isFavorite").toBool(), true);
        QCOMPARE(roleValue(model, 1, "section").toString(), qtTrId("sidebar.section.contacts"));

        // The search removes contacts row by row but keeps the channels.
        all = column(model, "key");
        spies.clear();
        QSignalSpy countChanged(&model, &ConversationListModel::countChanged);
        model.setSearch(u"AINO"_s);
        QCOMPARE(column(model, "key"), (QStringList{u"channel:0"_s, aino.conversationKey()}));
        QVERIFY(countChanged.size() >= 1);
        QCOMPARE(model.showEmptyState(), false);
        model.setSearch({});
        QCOMPARE(spies.reset.size(), 0);
        QCOMPARE(spies.inserted.size(), all.size() - 2);
        QCOMPARE(column(model, "key"), all);

        // A row click hands the shell the conversation, which reads it.
        Bound<ShellModel> shell(rig.controller);
        QCOMPARE(shell.totalUnreadCount(), 2);
        shell.select(aino.conversationKey());
        QCOMPARE(shell.currentChatContactKey(), aino.contactKey());
        QCOMPARE(shell.totalUnreadCount(), 1);
        shell.select(u"channel:0"_s);
        QCOMPARE(shell.currentChatContactKey(), QString());
        shell.select(u"nonsense"_s);
        QCOMPARE(shell.selectedConversationKey(), QString());

        // The nodes: repeaters and sensors, favourites first.
        Bound<NodeListModel> nodes(rig.controller);
        QCOMPARE(column(nodes, "title"), QStringList({u"Ridge Repeater"_s, u"Weather Mast"_s,
                                                      u"Valley RPT-2"_s, u"node-7f3a"_s}));
        QCOMPARE(roleValue(nodes, 0, "section").toString(), qtTrId("sidebar.section.nodes"));
        QCOMPARE(roleValue(nodes, 2, "routeSymbol").toString(), u"arrow.triangle.swap"_s);
        QCOMPARE(roleValue(nodes, 2, "routeTint").toString(), u"orange"_s);
        QCOMPARE(roleValue(nodes, 0, "hasLocation").toBool(), true);
        QCOMPARE(roleValue(nodes, 2, "hasLocation").toBool(), false);

        ModelSpies nodeSpies(&nodes);
        rig.controller->toggleFavorite(rig.contactNamed(u"Valley RPT-2"_s)->publicKey);
        QCOMPARE(nodeSpies.reset.size(), 0);
        QCOMPARE(nodeSpies.moved.size(), 1);
        QCOMPARE(roleValue(nodes, 0, "title").toString(), u"Valley RPT-2"_s);
        QCOMPARE(roleValue(nodes, 0, "section").toString(), qtTrId("sidebar.section.favorites"));
        for (int row = 1; row < nodes.count(); ++row)
            QCOMPARE(roleValue(nodes, row, "section").toString(),
                     qtTrId("sidebar.section.all.nodes"));

        // Without the radio only the conversations with messages stay.
        QSignalSpy empty(&model, &ConversationListModel::showEmptyStateChanged);
        rig.controller->disconnectFromDevice();
        rig.clock.settle();
        QCOMPARE(model.count(), 1);
        QCOMPARE(roleValue(model, 0, "key").toString(), aino.conversationKey());
        QCOMPARE(model.showEmptyState(), false);
        QCOMPARE(empty.size(), 0);
    }

    // At start the remembered radio is looked for before its book is read
    // (after the window's first frame): the book's rows show all the same.
    // While Bluetooth cannot be used nothing is tried, and the radio is
    // plainly away.
    void theBookShowsWhileTheRadioIsLookedFor_data() {
        QTest::addColumn<bool>("bluetoothOn");
        QTest::addColumn<QByteArray>("pillLine");
        QTest::newRow("radio out of reach") << true << QByteArray("main.connection.reconnecting");
        QTest::newRow("Bluetooth off") << false << QByteArray("main.connection.away");
    }
    void theBookShowsWhileTheRadioIsLookedFor() {
        QFETCH(bool, bluetoothOn);
        QFETCH(QByteArray, pillLine);
        UiRig rig;
        NodeBookStore books(rig.dir.path());
        rig.controller->setNodeBookStore(&books);
        QVERIFY(rig.connect());
        QStringList conversations;
        QStringList nodes;
        {
            Bound<ConversationListModel> model(rig.controller);
            Bound<NodeListModel> nodeModel(rig.controller);
            conversations = column(model, "title");
            nodes = column(nodeModel, "title");
        }
        rig.radio.setInRange(false);
        rig.radio.dropLink();
        rig.clock.advance(100ms);

        rig.controller.reset();
        rig.radio.setBluetoothOn(bluetoothOn);
        rig.buildController();
        rig.controller->setNodeBookStore(&books);
        Bound<ConversationListModel> model(rig.controller);
        Bound<NodeListModel> nodeModel(rig.controller);
        Bound<ShellModel> shell(rig.controller);
        rig.controller->enableAutomaticReconnection();
        rig.clock.advance(100ms);
        QVERIFY(rig.controller->openRememberedBook());
        QCOMPARE(column(model, "title"), conversations);
        QCOMPARE(column(nodeModel, "title"), nodes);
        QVERIFY(shell.showsMainView());
        QCOMPARE(shell.pillSecondLine(), qtTrId(pillLine.constData()));
    }

    void devicesFollowTheScan() {
        UiRig rig;
        Bound<DeviceListModel> model(rig.controller);
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        rig.controller->startScan();
        rig.clock.advance(500ms);
        QCOMPARE(inserted.size(), 1);
        QCOMPARE(model.count(), 1);
        QCOMPARE(roleValue(model, 0, "name").toString(), SimulatedRadio::deviceName);

        rig.controller->startScan(); // clears the list first
        QCOMPARE(reset.size(), 1);
        QCOMPARE(model.count(), 0);

        rig.clock.advance(500ms);
        model.connectTo(0);
        rig.clock.advance(1s);
        QVERIFY(rig.controller->transportState() == TransportState::connected ||
                rig.controller->transportState() == TransportState::connecting);
    }

    // Radios the system knows are marked, one without a signal says so, and
    // two of the same name show their addresses (only while both are listed).
    void devicesTellKnownAndTwinsApart() {
        UiRig rig;
        Bound<DeviceListModel> model(rig.controller);
        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        const auto radio = [](const char* name, const char* address, int rssi, bool known) {
            DiscoveredDevice device;
            device.id = QUuid::createUuidV5(QUuid(), QLatin1String(address));
            device.name = QLatin1String(name);
            device.rssi = rssi;
            device.known = known;
            device.address = QLatin1String(address);
            return device;
        };
        Q_EMIT rig.radio.transportDiscovered(radio("Harbour", "C0:FF:EE:00:00:01", 0, true));
        Q_EMIT rig.radio.transportDiscovered(radio("Twin", "C0:FF:EE:00:00:02", -60, false));
        QCOMPARE(roleValue(model, 0, "known").toBool(), true);
        QCOMPARE(roleValue(model, 0, "heard").toBool(), false);
        QCOMPARE(roleValue(model, 1, "heard").toBool(), true);
        QCOMPARE(roleValue(model, 1, "address").toString(), QString());
        changed.clear();
        Q_EMIT rig.radio.transportDiscovered(radio("Twin", "C0:FF:EE:00:00:03", -80, false));
        QVERIFY(!changed.isEmpty());
        QCOMPARE(roleValue(model, 1, "address").toString(), u"C0:FF:EE:00:00:02"_s);
        QCOMPARE(roleValue(model, 2, "address").toString(), u"C0:FF:EE:00:00:03"_s);
        QCOMPARE(roleValue(model, 0, "address").toString(), QString());
        // Heard at last: the same row, now with its signal.
        Q_EMIT rig.radio.transportDiscovered(radio("Harbour", "C0:FF:EE:00:00:01", -55, true));
        QCOMPARE(model.count(), 3);
        QCOMPARE(roleValue(model, 0, "heard").toBool(), true);
    }

    // The PIN sheet's form: digits only, six at most, each question starting
    // empty; what may be given depends on the question, and the answer goes
    // to whoever asked.
    void pinFormAnswersTheRadio_data() {
        QTest::addColumn<PairingPrompt::Kind>("kind");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("digits");
        QTest::addColumn<bool>("canSubmit");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<quint32>("passkey");
        using K = PairingPrompt::Kind;
        QTest::newRow("PIN") << K::enterPasskey << u"123456"_s << u"123456"_s << true << true
                             << 123456u;
        QTest::newRow("PIN with spaces and letters")
            << K::enterPasskey << u" 12 a3-4"_s << u"1234"_s << true << true << 1234u;
        QTest::newRow("too many digits")
            << K::enterPasskey << u"12345678"_s << u"123456"_s << true << true << 123456u;
        QTest::newRow("nothing typed")
            << K::enterPasskey << u"abc"_s << QString() << false << false << 0u;
        QTest::newRow("confirm") << K::confirmPasskey << QString() << QString() << true << true
                                 << 4711u;
    }
    void pinFormAnswersTheRadio() {
        QFETCH(PairingPrompt::Kind, kind);
        QFETCH(QString, typed);
        QFETCH(QString, digits);
        QFETCH(bool, canSubmit);
        QFETCH(bool, accepted);
        QFETCH(quint32, passkey);
        PairingPrompt prompt;
        PinForm form;
        form.setPrompt(&prompt);
        QVERIFY(!form.isOpen());
        std::optional<PairingPrompt::Answer> answer;
        prompt.ask(kind, u"Ridge <b>Radio</b>\u202e"_s, 4711,
                   [&](const PairingPrompt::Answer& given) { answer = given; });
        QVERIFY(form.isOpen());
        QCOMPARE(form.radioName(), ViewLogic::safeName(u"Ridge <b>Radio</b>\u202e"_s));
        QCOMPARE(form.passkey(),
                 kind == PairingPrompt::Kind::confirmPasskey ? u"004711"_s : QString());
        form.setDigits(typed);
        QCOMPARE(form.digits(), digits);
        QCOMPARE(form.canSubmit(), canSubmit);
        form.submit();
        QCOMPARE(answer.has_value(), canSubmit);
        if (!canSubmit) {
            form.cancel();
            QVERIFY(answer && !answer->accepted);
            QVERIFY(!form.isOpen());
            return;
        }
        QCOMPARE(answer->accepted, accepted);
        QCOMPARE(answer->passkey, passkey);
        QVERIFY(!form.isOpen());
        // The next question starts empty.
        prompt.ask(PairingPrompt::Kind::enterPasskey, u"Ridge"_s, 0, {});
        QCOMPARE(form.digits(), QString());
    }

    // After an attempt at a radio fails, the screen offers it again and to
    // forget it; not for a failure that was no attempt, and no more once
    // the user has acted.
    void connectionFailureOffersRetryAndForget() {
        UiRig rig;
        Bound<ConnectionFailureModel> failure(rig.controller);
        rig.controller->startScan();
        rig.clock.advance(500ms);
        const DiscoveredDevice radio = rig.controller->discoveredDevices().value(0);
        QVERIFY(!radio.id.isNull());
        Q_EMIT rig.radio.transportFailed(u"Scanning for radios failed."_s);
        QCOMPARE(failure.radioName(), QString());

        rig.radio.setInRange(false);
        rig.controller->connectToDevice(radio);
        rig.clock.advance(5s);
        QVERIFY(!rig.controller->connectionError().isEmpty());
        QCOMPARE(failure.radioName(), SimulatedRadio::deviceName);
        QVERIFY(failure.canRetry());

        rig.radio.setInRange(true);
        failure.retry();
        QCOMPARE(failure.radioName(), QString());
        rig.clock.advance(5s);
        QCOMPARE(rig.controller->transportState(), TransportState::connected);

        rig.radio.setInRange(false);
        rig.controller->disconnectFromDevice();
        rig.controller->connectToDevice(radio);
        rig.clock.advance(5s);
        QCOMPARE(failure.radioName(), SimulatedRadio::deviceName);
        failure.forget();
        QCOMPARE(failure.radioName(), QString());
        QVERIFY(!rig.controller->rememberedDeviceId());
        QVERIFY(rig.controller->discoveredDevices().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestShellModels)
#include "test_shell_models.moc"
