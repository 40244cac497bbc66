#include "conversation_list_model.h"
#include "device_list_model.h"
#include "node_list_model.h"
#include "shell_model.h"
#include "translations.h"
#include "ui_rig.h"

#include <QSignalSpy>
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
};

QTEST_GUILESS_MAIN(TestShellModels)
#include "test_shell_models.moc"
