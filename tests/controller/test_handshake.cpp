#include "controller_rig.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>
#include <deque>

using namespace std::chrono_literals;
using TestSupport::hex;

namespace {

const QByteArray appStartFrame = hex("01 01 00 00 00 00 00 00") + QByteArray("Talvenne-macOS");

// Plays the radio's side by command code; answers arrive one clock tick after
// the write, as they would over the air.
struct ScriptedRadio {
    int answerAppStartFrom = 0; // the app-start attempt first answered; -1: never
    QList<Contact> contacts;
    QList<Channel> channels; // slot i answered by channels[i]
    int errorSlot = -1;
    std::deque<MeshEvent> queue;
    bool onlyAppStart = false; // leaves every later command unanswered
    int pushWaitingWith = -1;  // the command whose answer a "messages waiting" push precedes

    int appStarts = 0;

    QList<MeshEvent> answer(const QByteArray& frame) {
        const quint8 code = quint8(frame.at(0));
        if (onlyAppStart && code != 0x01)
            return {};
        switch (code) {
        case 0x01: {
            if (answerAppStartFrom < 0 || appStarts++ < answerAppStartFrom)
                return {};
            SelfInfo self;
            self.publicKey = keyOf('e');
            self.name = QStringLiteral("Base");
            return {Events::SelfInfo{self}};
        }
        case 0x16:
            return {Events::DeviceInfo{DeviceInfo{9, QStringLiteral("1 Jan 2026"), "T-Echo"}}};
        case 0x06:
            return {Events::Ok{}};
        case 0x14:
            return {Events::Battery{BatteryInfo{3750, 10, 100}}};
        case 0x04: {
            QList<MeshEvent> events{Events::ContactsStart{quint32(contacts.size())}};
            for (const Contact& c : contacts)
                events << Events::Contact{c};
            return events << Events::EndOfContacts{};
        }
        case 0x1F: {
            const int slot = quint8(frame.at(1));
            if (slot == errorSlot)
                return {Events::Error{MeshProtocol::DeviceError::notFound}};
            if (slot < channels.size())
                return {Events::ChannelInfo{channels[slot]}};
            return {};
        }
        case 0x0A:
            if (queue.empty())
                return {Events::NoMoreMessages{}};
            {
                MeshEvent next = queue.front();
                queue.pop_front();
                return {next};
            }
        }
        return {};
    }

    void attach(ControllerRig& rig) {
        rig.link.onWrite = [this, &rig](const QByteArray& frame) {
            QList<MeshEvent> events = answer(frame);
            if (quint8(frame.at(0)) == pushWaitingWith)
                events.prepend(Events::MessagesWaiting{});
            rig.clock.schedule(0ms, [&rig, events] {
                for (const MeshEvent& event : events)
                    rig.deliver(event);
            });
        };
    }
};

Channel slot(int index, const QString& name, const QString& secret) {
    return Channel{index, name, secret};
}

const QString zeroSecret = QString(32, QLatin1Char('0'));

int countFrames(const QList<QByteArray>& frames, quint8 code) {
    return int(std::count_if(frames.begin(), frames.end(),
                             [code](const QByteArray& f) { return quint8(f.at(0)) == code; }));
}

} // namespace

class TestHandshake : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void fullHandshakeLoadsEverything() {
        ControllerRig rig;
        ScriptedRadio radio;
        radio.contacts = {makeContact(keyOf('1'), "Ten", 10), makeContact(keyOf('3'), "Thirty", 30),
                          makeContact(keyOf('2'), "Twenty", 20),
                          makeContact(keyOf('4'), "Thirty too", 30)};
        radio.channels = {slot(0, {}, QStringLiteral("8b3387e9c5cdea6ac9e5edbaa115cd72"))};
        radio.errorSlot = 1;
        Events::ChannelMessage queued{
            0, 2, 0, QDateTime::fromSecsSinceEpoch(1000, Qt::UTC), QStringLiteral("Ann: moi"), 5.5};
        radio.queue = {queued};
        radio.attach(rig);
        QSignalSpy syncing(rig.controller.get(), &MeshController::isSyncingChanged);

        rig.link.becomeUsable();
        QCOMPARE(rig.controller->isSyncing(), true);
        rig.clock.advance(1s);

        const MeshController& c = *rig.controller;
        QCOMPARE(c.selfInfo()->name, QStringLiteral("Base"));
        QCOMPARE(c.deviceInfo()->model, QStringLiteral("T-Echo"));
        QCOMPARE(c.battery()->milliVolts, 3750);
        QStringList names;
        for (const Contact& contact : c.contacts())
            names << contact.name;
        QCOMPARE(names, (QStringList{"Thirty", "Thirty too", "Twenty", "Ten"}));
        QCOMPARE(c.channels().size(), 1);
        QVERIFY(c.conversations().contains(QStringLiteral("contact:") + keyOf('1')));
        QCOMPARE(c.conversations().value(QStringLiteral("channel:0")).messages.size(), 1);
        QCOMPARE(c.isSyncing(), false);
        QCOMPARE(syncing.count(), 2);
        QVERIFY(c.connectionError().isEmpty());

        // The clock is set from the controller's clock: 1 700 000 000 s, little-endian.
        QVERIFY(rig.link.written.contains(hex("06 00 f1 53 65")));
        QCOMPARE(countFrames(rig.link.written, 0x1F), 2);
    }

    // App start: which attempt the radio answers, and what it costs.
    void appStartAttempts_data() {
        QTest::addColumn<int>("answeredAttempt");
        QTest::addColumn<int>("pauses");
        QTest::addColumn<bool>("failed");
        QTest::newRow("first") << 0 << 0 << false;
        QTest::newRow("third") << 2 << 2 << false;
        QTest::newRow("never") << -1 << 2 << true;
    }
    void appStartAttempts() {
        QFETCH(int, answeredAttempt);
        QFETCH(int, pauses);
        QFETCH(bool, failed);

        ControllerRig rig;
        ScriptedRadio radio;
        radio.answerAppStartFrom = answeredAttempt;
        radio.onlyAppStart = true;
        radio.attach(rig);
        const QDateTime start = rig.clock.now();
        rig.link.becomeUsable();
        QCOMPARE(rig.link.written, QList<QByteArray>{appStartFrame});

        for (int attempt = 0; attempt < 3; ++attempt) {
            if (attempt == answeredAttempt)
                break;
            rig.clock.advance(6s); // this attempt times out
            if (attempt == 2)
                break;
            rig.clock.advance(399ms);
            QCOMPARE(rig.link.written.size(), attempt + 1); // still pausing
            rig.clock.advance(1ms);
            QCOMPARE(rig.link.written.at(attempt + 1), appStartFrame);
        }
        rig.clock.settle();

        QCOMPARE(countFrames(rig.link.written, 0x01), pauses + 1);
        QCOMPARE(rig.link.written.last(), hex("16 03"));
        const qint64 tries = answeredAttempt < 0 ? 3 : answeredAttempt;
        QCOMPARE(start.msecsTo(rig.clock.now()), tries * 6000 + pauses * 400);
        QCOMPARE(rig.controller->selfInfo().has_value(), !failed);
        QCOMPARE(rig.controller->connectionError(),
                 failed ? QStringLiteral("The device didn't respond to the handshake.")
                        : QString());
    }

    // A link that cannot carry the app start (the frame does not fit its
    // MTU): each attempt fails at once, and the user reads the link's words.
    void linkTroubleIsTheHandshakeError() {
        ControllerRig rig;
        const QString text = QStringLiteral("A command of 22 bytes does not fit");
        rig.link.onWrite = [&rig, text](const QByteArray& frame) {
            rig.clock.schedule(
                0ms, [&rig, frame, text] { Q_EMIT rig.link.transportWriteFailed(frame, text); });
        };
        const QDateTime start = rig.clock.now();
        rig.link.becomeUsable();
        rig.clock.advance(800ms);
        QCOMPARE(countFrames(rig.link.written, 0x01), 3);
        QCOMPARE(start.msecsTo(rig.clock.now()), 800);
        QCOMPARE(rig.controller->connectionError(), text);
    }

    void silentRadioEndsTheHandshakeEmpty() {
        ControllerRig rig;
        rig.link.becomeUsable();
        rig.clock.advance(18s + 800ms + 5s + 5s + 5s + 8s + 3s + 4s);
        QCOMPARE(rig.controller->isSyncing(), false);
        QVERIFY(rig.controller->contacts().isEmpty());
        QVERIFY(rig.controller->channels().isEmpty());
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    void linkLostMidHandshakeRunsTheRestAtOnce() {
        ControllerRig rig;
        ScriptedRadio radio;
        radio.attach(rig);
        rig.link.becomeUsable();
        rig.clock.settle(); // runs up to the channel loop, whose slot 0 gets no answer
        QVERIFY(rig.controller->selfInfo());
        QCOMPARE(rig.link.written.last(), hex("1f 00"));
        const auto writtenBefore = rig.link.written.size();
        rig.link.setState(TransportState::disconnected);
        QCOMPARE(rig.link.written.size(), writtenBefore); // the message drain was not tried
        QCOMPARE(rig.controller->isSyncing(), false);
        QVERIFY(!rig.controller->selfInfo());
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    // A drop during app start, and the user connecting again before the old
    // handshake's pauses would have run out: one handshake for the new link.
    void reconnectDuringAppStartRunsOneHandshake() {
        ControllerRig rig;
        ScriptedRadio radio;
        radio.answerAppStartFrom = 1; // the first app start is lost with the link
        for (int i = 0; i < 8; ++i)
            radio.channels << slot(i, QStringLiteral("c%1").arg(i), zeroSecret);
        radio.attach(rig);
        QSignalSpy syncing(rig.controller.get(), &MeshController::isSyncingChanged);

        rig.link.becomeUsable();
        rig.clock.advance(100ms);
        rig.link.setState(TransportState::disconnected);
        QCOMPARE(rig.controller->isSyncing(), false);
        rig.clock.advance(300ms);
        rig.link.becomeUsable();
        rig.clock.advance(2s);

        QCOMPARE(countFrames(rig.link.written, 0x01), 2);
        QCOMPARE(countFrames(rig.link.written, 0x16), 1);
        QCOMPARE(countFrames(rig.link.written, 0x04), 1);
        QCOMPARE(countFrames(rig.link.written, 0x1F), 8);
        QList<int> indices;
        for (const Channel& channel : rig.controller->channels())
            indices << channel.index;
        QCOMPARE(indices, (QList<int>{0, 1, 2, 3, 4, 5, 6, 7}));
        QCOMPARE(rig.controller->isSyncing(), false);
        QCOMPARE(syncing.count(), 4); // on, off at the drop, on, off
        QVERIFY(rig.controller->connectionError().isEmpty());
    }

    // The user disconnects while the radio is slow to answer app start.
    void userDisconnectLeavesNoStaleFailure() {
        ControllerRig rig;
        rig.link.becomeUsable();
        rig.clock.advance(2s);
        rig.link.onWrite = nullptr;
        rig.controller->disconnectFromDevice();
        rig.link.setState(TransportState::disconnected); // the link's own report
        QCOMPARE(rig.controller->isSyncing(), false);

        rig.controller->startScan();
        rig.clock.advance(10s);
        QVERIFY(rig.controller->connectionError().isEmpty());
        QCOMPARE(countFrames(rig.link.written, 0x01), 1);
        QCOMPARE(rig.clock.pendingTimers(), 0);
    }

    // A channel read takes only the slot it asked for.
    void channelReadAnsweredWithAnotherSlotEndsTheLoop() {
        ControllerRig rig;
        ScriptedRadio radio;
        radio.channels = {slot(0, QStringLiteral("a"), zeroSecret),
                          slot(5, QStringLiteral("b"), zeroSecret)};
        radio.attach(rig);
        rig.connectQuietly();

        rig.controller->syncChannels();
        rig.clock.advance(3s);

        QCOMPARE(rig.controller->channels().size(), 1);
        QCOMPARE(countFrames(rig.link.written, 0x1F), 2);
        QVERIFY(!rig.controller->conversations().contains(QStringLiteral("channel:5")));
    }

    void channelLoopStopsAtAnErrorReply() {
        ControllerRig rig;
        ScriptedRadio radio;
        for (int i = 0; i < 8; ++i)
            radio.channels << slot(i, QStringLiteral("c%1").arg(i), zeroSecret);
        radio.errorSlot = 3;
        radio.attach(rig);
        rig.connectQuietly();

        rig.controller->syncChannels();
        rig.clock.settle();

        QCOMPARE(rig.controller->channels().size(), 3);
        QCOMPARE(rig.controller->channels().last().index, 2);
        QCOMPARE(countFrames(rig.link.written, 0x1F), 4);
    }

    void slotInUseGetsAConversation_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("secret");
        QTest::addColumn<bool>("inUse");
        QTest::newRow("empty name, zero secret") << QString() << zeroSecret << false;
        QTest::newRow("empty name, one non-zero byte")
            << QString() << QString(30, QLatin1Char('0')) + QStringLiteral("01") << true;
        QTest::newRow("named, zero secret") << QStringLiteral("Ops") << zeroSecret << true;
        QTest::newRow("empty name, secret not hex") << QString() << QStringLiteral("zz") << false;
    }
    void slotInUseGetsAConversation() {
        QFETCH(QString, name);
        QFETCH(QString, secret);
        QFETCH(bool, inUse);

        ControllerRig rig;
        ScriptedRadio radio;
        radio.channels = {slot(0, QStringLiteral("Public"), zeroSecret), slot(1, name, secret)};
        radio.attach(rig);
        rig.connectQuietly();
        rig.controller->syncChannels();
        rig.clock.advance(3s); // slot 2 is never answered

        QCOMPARE(rig.controller->channels().size(), 2); // free slots are listed too
        QCOMPARE(rig.controller->conversations().contains(QStringLiteral("channel:1")), inUse);
        QVERIFY(rig.controller->conversations().contains(QStringLiteral("channel:0")));
        QVERIFY(!rig.savedHistory()); // created, not saved
    }

    void contactListTimeoutKeepsWhatArrived() {
        ControllerRig rig;
        rig.connectQuietly();
        TestSupport::VoidOutcome outcome;
        auto task = TestSupport::captureVoid(rig.controller->syncContacts(), &outcome);
        rig.deliver(Events::Contact{makeContact(keyOf('1'), "Old", 10)});
        rig.deliver(Events::Contact{makeContact(keyOf('2'), "New", 20)});
        rig.clock.advance(8s);

        QCOMPARE(meshErrorOf(outcome), MeshError::timeout());
        QCOMPARE(rig.controller->contacts().first().name, QStringLiteral("Old")); // unsorted
        QVERIFY(rig.controller->conversations().isEmpty());
    }

    void oneDrainStoresAtMost256() {
        ControllerRig rig;
        ScriptedRadio radio;
        for (int i = 0; i < 300; ++i)
            radio.queue.push_back(Events::ChannelMessage{
                1, 0, 0, QDateTime::fromSecsSinceEpoch(i, Qt::UTC), QString::number(i), {}});
        radio.attach(rig);
        rig.connectQuietly();

        TestSupport::VoidOutcome outcome;
        auto task = TestSupport::captureVoid(rig.controller->syncMessages(), &outcome);
        rig.clock.settle();

        QVERIFY(outcome.done);
        QVERIFY(!outcome.error);
        QCOMPARE(rig.controller->conversations().value("channel:1").messages.size(), 256);
        QCOMPARE(countFrames(rig.link.written, 0x0A), 256);
        QCOMPARE(radio.queue.size(), size_t(44));
    }

    void messagesWaitingStartsADrain() {
        ControllerRig rig;
        ScriptedRadio radio;
        radio.queue = {Events::ContactMessage{QStringLiteral("aaaaaaaaaaaa"),
                                              1,
                                              0,
                                              QDateTime::fromSecsSinceEpoch(5, Qt::UTC),
                                              QStringLiteral("hei"),
                                              {}}};
        radio.attach(rig);
        rig.connectQuietly();

        rig.deliver(Events::MessagesWaiting{});
        rig.clock.settle();

        QCOMPARE(rig.link.written, (QList<QByteArray>{hex("0a"), hex("0a")}));
        QCOMPARE(rig.controller->conversations().value("contact:aaaaaaaaaaaa").messages.size(), 1);
        QCOMPARE(rig.clock.pendingTimers(), 0); // ended on "no more messages"
    }

    // A waiting message is read once the contacts are in, however early the
    // radio announces it, so it lands in its sender's chat and notifies with
    // the sender's name. During a later read of the list (after a contact
    // was added), a message that a drain brings waits for the list.
    void waitingMessageFindsItsSender_data() {
        QTest::addColumn<int>("pushWith"); // the command whose answer the push precedes
        QTest::newRow("pushed with the app start") << 0x01;
        QTest::newRow("pushed with the battery") << 0x14;
        QTest::newRow("pushed while the contacts stream") << 0x04;
        QTest::newRow("drained while the list is read again") << -1;
    }
    void waitingMessageFindsItsSender() {
        QFETCH(int, pushWith);
        ControllerRig rig;
        ScriptedRadio radio;
        const Contact ann = makeContact(keyOf('3'), "Ann", 30);
        radio.contacts = {makeContact(keyOf('1'), "Ten", 10), ann};
        radio.queue = {Events::ContactMessage{keyOf('3').left(12),
                                              1,
                                              0,
                                              QDateTime::fromSecsSinceEpoch(5, Qt::UTC),
                                              QStringLiteral("moi"),
                                              {}}};
        radio.channels = {slot(0, QStringLiteral("Public"), zeroSecret)};
        radio.errorSlot = 1;
        radio.pushWaitingWith = pushWith;
        if (pushWith >= 0) {
            radio.attach(rig);
            rig.link.becomeUsable();
            rig.clock.advance(1s);
            QVERIFY(!rig.controller->isSyncing());
            const auto firstRead =
                std::find_if(rig.link.written.begin(), rig.link.written.end(),
                             [](const QByteArray& f) { return f.at(0) == 0x0A; });
            const auto contactsRead =
                std::find(rig.link.written.begin(), rig.link.written.end(), hex("04"));
            QVERIFY(contactsRead < firstRead);
        } else {
            rig.connectQuietly();
            rig.deliver(Events::Contact{ann});
            TestSupport::VoidOutcome drained;
            TestSupport::VoidOutcome reread;
            auto drain = TestSupport::captureVoid(rig.controller->syncMessages(), &drained);
            auto contacts = TestSupport::captureVoid(rig.controller->syncContacts(), &reread);
            rig.deliver(radio.queue.front()); // answers the drain's read
            rig.deliver(Events::Contact{ann});
            rig.deliver(Events::EndOfContacts{});
            rig.deliver(Events::NoMoreMessages{});
            QVERIFY(drained.done && reread.done);
        }

        const QString annsChat = QStringLiteral("contact:") + keyOf('3');
        QCOMPARE(rig.controller->conversations().value(annsChat).messages.size(), 1);
        QVERIFY(!rig.controller->conversations().contains(QStringLiteral("contact:") +
                                                          keyOf('3').left(12)));
        QCOMPARE(rig.notifier.posted.size(), 1);
        QCOMPARE(rig.notifier.posted.first().title, QStringLiteral("Ann"));
        QCOMPARE(rig.notifier.posted.first().thread, annsChat);
    }

    void startScanClearsResultsAndError() {
        ControllerRig rig;
        DiscoveredDevice a{QUuid::createUuid(), QStringLiteral("A"), -70, {}};
        Q_EMIT rig.link.transportDiscovered(a);
        Q_EMIT rig.link.transportFailed(QStringLiteral("Talvenne service not found"));
        QSignalSpy reset(rig.controller.get(), &MeshController::discoveredDevicesReset);

        rig.controller->startScan();
        QVERIFY(rig.controller->discoveredDevices().isEmpty());
        QVERIFY(rig.controller->connectionError().isEmpty());
        QCOMPARE(rig.link.scanStarts, 1);
        rig.controller->startScan(); // already empty: no second reset
        QCOMPARE(reset.count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestHandshake)
#include "test_handshake.moc"
