#include "conversation_list_model.h"
#include "device_list_model.h"
#include "node_list_model.h"
#include "shell_model.h"
#include "shell_rig.h"
#include "sim/demo_link.h"
#include "translations.h"

#include <QSignalSpy>
#include <QTest>

using namespace std::chrono_literals;

namespace {

QStringList keysOf(const QAbstractItemModel& model, int role) {
    QStringList keys;
    for (int row = 0; row < model.rowCount(); ++row)
        keys << model.index(row, 0).data(role).toString();
    return keys;
}

// Every structural signal a model can send, to assert which ones came.
struct ModelSpies {
    QSignalSpy reset;
    QSignalSpy inserted;
    QSignalSpy removed;
    QSignalSpy moved;
    QSignalSpy changed;
    explicit ModelSpies(QAbstractItemModel* model)
        : reset(model, &QAbstractItemModel::modelReset)
        , inserted(model, &QAbstractItemModel::rowsInserted)
        , removed(model, &QAbstractItemModel::rowsRemoved)
        , moved(model, &QAbstractItemModel::rowsMoved)
        , changed(model, &QAbstractItemModel::dataChanged) {}
};

} // namespace

class TestShellModels : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        TestSupport::isolateFromUserFiles();
        QVERIFY(installTranslations(*QCoreApplication::instance(), QLocale(QLocale::English)));
    }

    void incomingMessageChangesOnlyItsRow_data();
    void incomingMessageChangesOnlyItsRow();
    void favouriteMovesContactRow();
    void searchRemovesContactsButKeepsChannels();
    void nowRefreshesOnlyTheTimes();
    void disconnectResetsToEmptyState();
    void nodesFavouriteSectionAndTitles();
    void devicesFollowTheScan();
    void shellPillAndSelection();
    void shellScansOnlyWhenIdle();
    void demoLinkRoutesToTheRadioThatFoundTheDevice();
};

void TestShellModels::incomingMessageChangesOnlyItsRow_data() {
    QTest::addColumn<bool>("direct");
    QTest::newRow("direct message") << true;
    QTest::newRow("channel message") << false;
}

void TestShellModels::incomingMessageChangesOnlyItsRow() {
    QFETCH(bool, direct);
    ShellRig rig;
    QVERIFY(rig.connect());
    ConversationListModel model;
    model.setController(rig.controller.get());
    const auto aino = rig.contactNamed(QStringLiteral("Aino Virtanen"));
    QVERIFY(aino);
    const QString key = direct ? ConversationID::contact(aino->publicKey).conversationKey()
                               : ConversationID::channel(0).conversationKey();
    const QStringList before = keysOf(model, ConversationListModel::KeyRole);
    const int row = model.rowOfKey(key);
    QVERIFY(row >= 0);

    ModelSpies spies(&model);
    if (direct)
        rig.radio.queueIncomingDirect(aino->publicKey, QStringLiteral("Sauna at six?"),
                                      rig.clock.now());
    else
        rig.radio.queueIncomingChannel(0, QStringLiteral("Kettu: Sauna at six?"), rig.clock.now());
    rig.clock.advance(2s);

    QCOMPARE(spies.reset.count(), 0);
    QCOMPARE(spies.inserted.count(), 0);
    QCOMPARE(spies.removed.count(), 0);
    QCOMPARE(spies.moved.count(), 0);
    QVERIFY(spies.changed.count() >= 1);
    for (const QList<QVariant>& signal : std::as_const(spies.changed)) {
        QCOMPARE(signal.at(0).toModelIndex().row(), row);
        QCOMPARE(signal.at(1).toModelIndex().row(), row);
    }
    QCOMPARE(keysOf(model, ConversationListModel::KeyRole), before);
    const QModelIndex index = model.index(row);
    QCOMPARE(index.data(ConversationListModel::UnreadRole).toInt(), 1);
    QVERIFY(index.data(ConversationListModel::SubtitleRole)
                .toString()
                .contains(QStringLiteral("Sauna at six?")));
    QCOMPARE(index.data(ConversationListModel::TimeTextRole).toString().isEmpty(), false);
}

void TestShellModels::favouriteMovesContactRow() {
    ShellRig rig;
    QVERIFY(rig.connect());
    ConversationListModel model;
    model.setController(rig.controller.get());
    const auto jerome = rig.contactNamed(QStringLiteral("Jérôme Bélanger"));
    QVERIFY(jerome);
    const QString key = ConversationID::contact(jerome->publicKey).conversationKey();
    QCOMPARE(model.rowOfKey(key), model.count() - 1); // oldest advert comes last

    ModelSpies spies(&model);
    rig.controller->toggleFavorite(jerome->publicKey);

    QCOMPARE(spies.reset.count(), 0);
    QCOMPARE(spies.moved.count(), 1);
    QCOMPARE(model.rowOfKey(key), 1); // first contact, right after the public channel
    QCOMPARE(model.index(1).data(ConversationListModel::IsFavoriteRole).toBool(), true);
    QCOMPARE(model.index(1).data(ConversationListModel::SectionRole).toString(),
             qtTrId("sidebar.section.contacts"));
}

void TestShellModels::searchRemovesContactsButKeepsChannels() {
    ShellRig rig;
    QVERIFY(rig.connect());
    ConversationListModel model;
    model.setController(rig.controller.get());
    const QStringList all = keysOf(model, ConversationListModel::KeyRole);
    const auto aino = rig.contactNamed(QStringLiteral("Aino Virtanen"));

    ModelSpies spies(&model);
    QSignalSpy countChanged(&model, &ConversationListModel::countChanged);
    model.setSearch(QStringLiteral("AINO"));
    QCOMPARE(spies.reset.count(), 0);
    QCOMPARE(keysOf(model, ConversationListModel::KeyRole),
             QStringList({QStringLiteral("channel:0"),
                          ConversationID::contact(aino->publicKey).conversationKey()}));
    QVERIFY(countChanged.count() >= 1);
    QCOMPARE(model.showEmptyState(), false);

    model.setSearch({});
    QCOMPARE(spies.reset.count(), 0);
    QCOMPARE(spies.inserted.count(), all.size() - 2);
    QCOMPARE(keysOf(model, ConversationListModel::KeyRole), all);
}

void TestShellModels::nowRefreshesOnlyTheTimes() {
    ShellRig rig;
    QVERIFY(rig.connect());
    const auto aino = rig.contactNamed(QStringLiteral("Aino Virtanen"));
    rig.radio.queueIncomingDirect(aino->publicKey, QStringLiteral("Hei"), rig.clock.now());
    rig.clock.advance(2s);
    ConversationListModel model;
    model.setController(rig.controller.get());
    model.setNow(rig.clock.now());
    const int row = model.rowOfKey(ConversationID::contact(aino->publicKey).conversationKey());
    QCOMPARE(model.index(row).data(ConversationListModel::TimeTextRole).toString(),
             QStringLiteral("now"));

    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.setNow(rig.clock.now().addSecs(5 * 60));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(
        changed.first().at(2).value<QList<int>>(),
        (QList<int>{ConversationListModel::TimeTextRole, ConversationListModel::SpokenTextRole}));
    QCOMPARE(model.index(row).data(ConversationListModel::TimeTextRole).toString(),
             QStringLiteral("5m"));
}

void TestShellModels::disconnectResetsToEmptyState() {
    ShellRig rig;
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

void TestShellModels::nodesFavouriteSectionAndTitles() {
    ShellRig rig;
    QVERIFY(rig.connect());
    NodeListModel model;
    model.setController(rig.controller.get());
    const QStringList names = keysOf(model, NodeListModel::TitleRole);
    QCOMPARE(names, QStringList({QStringLiteral("Ridge Repeater"), QStringLiteral("Weather Mast"),
                                 QStringLiteral("Valley RPT-2"), QStringLiteral("node-7f3a")}));
    QCOMPARE(model.index(0).data(NodeListModel::SectionRole).toString(),
             qtTrId("sidebar.section.nodes"));
    QCOMPARE(model.index(2).data(NodeListModel::RouteSymbolRole).toString(),
             QStringLiteral("arrow.triangle.swap"));
    QCOMPARE(model.index(2).data(NodeListModel::RouteTintRole).toString(),
             QStringLiteral("orange"));
    QCOMPARE(model.index(0).data(NodeListModel::HasLocationRole).toBool(), true);
    QCOMPARE(model.index(2).data(NodeListModel::HasLocationRole).toBool(), false);

    ModelSpies spies(&model);
    const auto valley = rig.contactNamed(QStringLiteral("Valley RPT-2"));
    rig.controller->toggleFavorite(valley->publicKey);

    QCOMPARE(spies.reset.count(), 0);
    QCOMPARE(spies.moved.count(), 1);
    QCOMPARE(model.index(0).data(NodeListModel::TitleRole).toString(),
             QStringLiteral("Valley RPT-2"));
    QCOMPARE(model.index(0).data(NodeListModel::SectionRole).toString(),
             qtTrId("sidebar.section.favorites"));
    for (int row = 1; row < model.count(); ++row)
        QCOMPARE(model.index(row).data(NodeListModel::SectionRole).toString(),
                 qtTrId("sidebar.section.all.nodes"));

    model.setSearch(QStringLiteral("no such node"));
    QCOMPARE(model.count(), 0);
    QCOMPARE(model.showEmptyState(), true);
}

void TestShellModels::devicesFollowTheScan() {
    ShellRig rig;
    DeviceListModel model;
    model.setController(rig.controller.get());
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

    QVERIFY(rig.scan());
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(model.count(), 1);
    const QModelIndex index = model.index(0);
    QCOMPARE(index.data(DeviceListModel::NameRole).toString(), SimulatedRadio::deviceName);
    QCOMPARE(index.data(DeviceListModel::IdRole).toString(),
             SimulatedRadio::deviceId.toString(QUuid::WithoutBraces));
    QCOMPARE(index.data(DeviceListModel::RssiTextRole).toString(),
             QStringLiteral("%1 dBm").arg(index.data(DeviceListModel::RssiRole).toInt()));

    rig.controller->startScan(); // clears the list first
    QCOMPARE(reset.count(), 1);
    QCOMPARE(model.count(), 0);

    rig.clock.advance(500ms);
    model.connectTo(0);
    rig.clock.advance(1s);
    QVERIFY(rig.controller->transportState() == TransportState::connected ||
            rig.controller->transportState() == TransportState::connecting);
}

void TestShellModels::shellPillAndSelection() {
    ShellRig rig;
    ShellModel shell;
    shell.setController(rig.controller.get());
    QCOMPARE(shell.pillTitle(), QStringLiteral("Talvenne"));
    QCOMPARE(shell.connected(), false);

    QSignalSpy connection(&shell, &ShellModel::connectionChanged);
    QVERIFY(rig.connect());
    QVERIFY(connection.count() >= 1);
    QCOMPARE(shell.connected(), true);
    QCOMPARE(shell.pillTitle(), rig.radio.selfInfo().name);
    QCOMPARE(shell.pillDotTint(), QStringLiteral("green"));
    QVERIFY(shell.pillSecondLine().endsWith(QLatin1Char('V')));

    const auto aino = rig.contactNamed(QStringLiteral("Aino Virtanen"));
    rig.radio.queueIncomingDirect(aino->publicKey, QStringLiteral("Hei"), rig.clock.now());
    rig.clock.advance(2s);
    QCOMPARE(shell.totalUnreadCount(), 1);

    QSignalSpy selection(&shell, &ShellModel::selectionChanged);
    const QString ainoKey = ConversationID::contact(aino->publicKey).conversationKey();
    shell.select(ainoKey);
    QCOMPARE(selection.count(), 1);
    QCOMPARE(shell.selectedConversationKey(), ainoKey);
    QCOMPARE(shell.currentChatContactKey(), aino->publicKey);
    QCOMPARE(shell.totalUnreadCount(), 0);

    shell.select(QStringLiteral("channel:0"));
    QCOMPARE(shell.selectedConversationKey(), QStringLiteral("channel:0"));
    QCOMPARE(shell.currentChatContactKey(), QString());

    shell.select(QStringLiteral("nonsense"));
    QCOMPARE(shell.selectedConversationKey(), QString());
}

void TestShellModels::shellScansOnlyWhenIdle() {
    ShellRig rig;
    ShellModel shell;
    shell.setController(rig.controller.get());
    QCOMPARE(shell.transportStateName(), QStringLiteral("ready"));
    QCOMPARE(shell.showStop(), false);
    QCOMPARE(shell.canScan(), true);

    QVERIFY(shell.scanIfIdle());
    QCOMPARE(shell.scanning(), true);
    QCOMPARE(shell.showStop(), true);
    QCOMPARE(shell.statusText(), qtTrId("connection.empty.scanning"));
    rig.clock.advance(500ms);
    shell.stopScan();
    QCOMPARE(shell.transportStateName(), QStringLiteral("ready"));
    // Ready again, but a radio is listed: no new scan.
    QCOMPARE(shell.scanIfIdle(), false);
    QCOMPARE(shell.scanning(), false);
}

void TestShellModels::demoLinkRoutesToTheRadioThatFoundTheDevice() {
    ManualClock clock;
    SimulatedRadio radio(&clock, 9);
    DemoLink link(nullptr, &radio);
    QSignalSpy discovered(&link, &MeshLink::transportDiscovered);
    QSignalSpy connected(&link, &MeshLink::transportConnected);
    QSignalSpy received(&link, &MeshLink::transportReceived);
    clock.settle();
    QCOMPARE(link.state(), TransportState::ready);

    link.startScan();
    QCOMPARE(link.state(), TransportState::scanning);
    clock.advance(500ms);
    QCOMPARE(discovered.count(), 1);
    const auto device = discovered.first().first().value<DiscoveredDevice>();
    QCOMPARE(device.id, SimulatedRadio::deviceId);

    link.connectToDevice(device);
    clock.advance(1s);
    QCOMPARE(connected.count(), 1);
    QCOMPARE(link.state(), TransportState::connected);

    link.write(QByteArray(1, char(RadioCommand::getBatteryAndStorage)));
    clock.advance(100ms);
    QCOMPARE(received.count(), 1);
    QCOMPARE(radio.writtenFrames().size(), 1);

    link.disconnectFromDevice();
    QCOMPARE(link.state(), TransportState::disconnected);
}

QTEST_GUILESS_MAIN(TestShellModels)
#include "test_shell_models.moc"
