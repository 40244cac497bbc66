#include "conversation_list_model.h"
#include "device_list_model.h"
#include "node_list_model.h"
#include "shell_model.h"
#include "translations.h"
#include "ui_rig.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

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

    void incomingMessageChangesOnlyItsRow_data() {
        QTest::addColumn<bool>("direct");
        QTest::newRow("direct message") << true;
        QTest::newRow("channel message") << false;
    }
    void incomingMessageChangesOnlyItsRow() {
        QFETCH(bool, direct);
        UiRig rig;
        QVERIFY(rig.connect());
        ConversationListModel model;
        model.setController(rig.controller.get());
        const auto aino = rig.chatWith(QStringLiteral("Aino Virtanen"));
        const QString key = (direct ? aino : ConversationID::channel(0)).conversationKey();
        const QStringList before = column(model, "key");
        const int row = model.rowOfKey(key);
        QVERIFY(row >= 0);

        ModelSpies spies(&model);
        if (direct)
            rig.radio.queueIncomingDirect(aino.contactKey(), QStringLiteral("Sauna at six?"),
                                          rig.clock.now());
        else
            rig.radio.queueIncomingChannel(0, QStringLiteral("Kettu: Sauna at six?"),
                                           rig.clock.now());
        rig.clock.advance(2s);

        QCOMPARE(spies.reset.count() + spies.inserted.count() + spies.removed.count() +
                     spies.moved.count(),
                 0);
        QVERIFY(spies.changed.count() >= 1);
        for (const QList<QVariant>& signal : std::as_const(spies.changed)) {
            QCOMPARE(signal.at(0).toModelIndex().row(), row);
            QCOMPARE(signal.at(1).toModelIndex().row(), row);
        }
        QCOMPARE(column(model, "key"), before);
        QCOMPARE(roleValue(model, row, "unread").toInt(), 1);
        QVERIFY(roleValue(model, row, "subtitle").toString().contains(u"Sauna at six?"));
        QVERIFY(!roleValue(model, row, "timeText").toString().isEmpty());
    }

    void favouriteMovesContactRow() {
        UiRig rig;
        QVERIFY(rig.connect());
        ConversationListModel model;
        model.setController(rig.controller.get());
        const auto jerome = rig.chatWith(QStringLiteral("Jérôme Bélanger"));
        QCOMPARE(model.rowOfKey(jerome.conversationKey()), model.count() - 1); // oldest advert

        ModelSpies spies(&model);
        rig.controller->toggleFavorite(jerome.contactKey());
        QCOMPARE(spies.reset.count(), 0);
        QCOMPARE(spies.moved.count(), 1);
        // First contact, right after the public channel.
        QCOMPARE(model.rowOfKey(jerome.conversationKey()), 1);
        QCOMPARE(roleValue(model, 1, "isFavorite").toBool(), true);
        QCOMPARE(roleValue(model, 1, "section").toString(), qtTrId("sidebar.section.contacts"));
    }

    void searchRemovesContactsButKeepsChannels() {
        UiRig rig;
        QVERIFY(rig.connect());
        ConversationListModel model;
        model.setController(rig.controller.get());
        const QStringList all = column(model, "key");

        ModelSpies spies(&model);
        QSignalSpy countChanged(&model, &ConversationListModel::countChanged);
        model.setSearch(QStringLiteral("AINO"));
        QCOMPARE(spies.reset.count(), 0);
        QCOMPARE(column(model, "key"),
                 QStringList({QStringLiteral("channel:0"),
                              rig.chatWith(QStringLiteral("Aino Virtanen")).conversationKey()}));
        QVERIFY(countChanged.count() >= 1);
        QCOMPARE(model.showEmptyState(), false);

        model.setSearch({});
        QCOMPARE(spies.reset.count(), 0);
        QCOMPARE(spies.inserted.count(), all.size() - 2);
        QCOMPARE(column(model, "key"), all);
    }

    void nowRefreshesOnlyTheTimes() {
        UiRig rig;
        QVERIFY(rig.connect());
        const auto aino = rig.chatWith(QStringLiteral("Aino Virtanen"));
        rig.radio.queueIncomingDirect(aino.contactKey(), QStringLiteral("Hei"), rig.clock.now());
        rig.clock.advance(2s);
        ConversationListModel model;
        model.setController(rig.controller.get());
        model.setNow(rig.clock.now());
        const int row = model.rowOfKey(aino.conversationKey());
        QCOMPARE(roleValue(model, row, "timeText").toString(), QStringLiteral("now"));

        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        model.setNow(rig.clock.now().addSecs(5 * 60));
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().at(2).value<QList<int>>(),
                 (QList<int>{ConversationListModel::TimeTextRole,
                             ConversationListModel::SpokenTextRole}));
        QCOMPARE(roleValue(model, row, "timeText").toString(), QStringLiteral("5m"));
    }

    void disconnectResetsToEmptyState() {
        UiRig rig;
        QVERIFY(rig.connect());
        ConversationListModel model;
        model.setController(rig.controller.get());
        QVERIFY(model.count() > 0);
        QSignalSpy empty(&model, &ConversationListModel::showEmptyStateChanged);
        rig.controller->disconnectFromDevice();
        rig.clock.settle();
        QCOMPARE(model.count(), 0);
        QCOMPARE(model.showEmptyState(), true);
        QCOMPARE(empty.count(), 1);
    }

    void nodesFavouriteSectionAndTitles() {
        UiRig rig;
        QVERIFY(rig.connect());
        NodeListModel model;
        model.setController(rig.controller.get());
        QCOMPARE(column(model, "title"),
                 QStringList({QStringLiteral("Ridge Repeater"), QStringLiteral("Weather Mast"),
                              QStringLiteral("Valley RPT-2"), QStringLiteral("node-7f3a")}));
        QCOMPARE(roleValue(model, 0, "section").toString(), qtTrId("sidebar.section.nodes"));
        QCOMPARE(roleValue(model, 2, "routeSymbol").toString(),
                 QStringLiteral("arrow.triangle.swap"));
        QCOMPARE(roleValue(model, 2, "routeTint").toString(), QStringLiteral("orange"));
        QCOMPARE(roleValue(model, 0, "hasLocation").toBool(), true);
        QCOMPARE(roleValue(model, 2, "hasLocation").toBool(), false);

        ModelSpies spies(&model);
        rig.controller->toggleFavorite(rig.contactNamed(QStringLiteral("Valley RPT-2"))->publicKey);
        QCOMPARE(spies.reset.count(), 0);
        QCOMPARE(spies.moved.count(), 1);
        QCOMPARE(roleValue(model, 0, "title").toString(), QStringLiteral("Valley RPT-2"));
        QCOMPARE(roleValue(model, 0, "section").toString(), qtTrId("sidebar.section.favorites"));
        for (int row = 1; row < model.count(); ++row)
            QCOMPARE(roleValue(model, row, "section").toString(),
                     qtTrId("sidebar.section.all.nodes"));

        model.setSearch(QStringLiteral("no such node"));
        QCOMPARE(model.count(), 0);
        QCOMPARE(model.showEmptyState(), true);
    }

    void devicesFollowTheScan() {
        UiRig rig;
        DeviceListModel model;
        model.setController(rig.controller.get());
        QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

        rig.controller->startScan();
        rig.clock.advance(500ms);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(model.count(), 1);
        QCOMPARE(roleValue(model, 0, "name").toString(), SimulatedRadio::deviceName);
        QCOMPARE(roleValue(model, 0, "deviceId").toString(),
                 SimulatedRadio::deviceId.toString(QUuid::WithoutBraces));
        QCOMPARE(roleValue(model, 0, "rssiText").toString(),
                 QStringLiteral("%1 dBm").arg(roleValue(model, 0, "rssi").toInt()));

        rig.controller->startScan(); // clears the list first
        QCOMPARE(reset.count(), 1);
        QCOMPARE(model.count(), 0);

        rig.clock.advance(500ms);
        model.connectTo(0);
        rig.clock.advance(1s);
        QVERIFY(rig.controller->transportState() == TransportState::connected ||
                rig.controller->transportState() == TransportState::connecting);
    }

    // What a row click hands the shell; the pill itself is checked on screen
    // in test_shell_views.
    void shellSelection() {
        UiRig rig;
        ShellModel shell;
        shell.setController(rig.controller.get());
        QSignalSpy connection(&shell, &ShellModel::connectionChanged);
        QVERIFY(rig.connect());
        QVERIFY(connection.count() >= 1);
        QCOMPARE(shell.connected(), true);

        const auto aino = rig.chatWith(QStringLiteral("Aino Virtanen"));
        rig.radio.queueIncomingDirect(aino.contactKey(), QStringLiteral("Hei"), rig.clock.now());
        rig.clock.advance(2s);
        QCOMPARE(shell.totalUnreadCount(), 1);
        QSignalSpy selection(&shell, &ShellModel::selectionChanged);
        shell.select(aino.conversationKey());
        QCOMPARE(selection.count(), 1);
        QCOMPARE(shell.selectedConversationKey(), aino.conversationKey());
        QCOMPARE(shell.currentChatContactKey(), aino.contactKey());
        QCOMPARE(shell.totalUnreadCount(), 0);

        shell.select(QStringLiteral("channel:0"));
        QCOMPARE(shell.currentChatContactKey(), QString());
        shell.select(QStringLiteral("nonsense"));
        QCOMPARE(shell.selectedConversationKey(), QString());
    }
};

QTEST_GUILESS_MAIN(TestShellModels)
#include "test_shell_models.moc"
