#include "protocol/mesh_protocol.h"
#include "sim/simulated_radio.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using namespace MeshProtocol;
using T = TransportState;

Q_DECLARE_METATYPE(MeshEvent)

namespace {

const QString aliceKey = u"a11ce000000000000000000000000000000000000000000000000000000000aa"_s;
const QString bobKey = u"b0b00000000000000000000000000000000000000000000000000000000000bb"_s;
const QString carolKey = u"ca201000000000000000000000000000000000000000000000000000000000cc"_s;

QDateTime at(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

QByteArray keyBytes(const QString& key) {
    return QByteArray::fromHex(key.toLatin1());
}

Contact contact(const QString& key, const QString& name, std::int8_t path, qint64 lastAdvert) {
    Contact c;
    c.publicKey = key;
    c.type = AdvertType::chat;
    c.name = name;
    c.outPathLength = path;
    c.lastAdvert = QDateTime::fromSecsSinceEpoch(lastAdvert, Qt::UTC);
    c.lastModified = QDateTime::fromSecsSinceEpoch(lastAdvert + 60, Qt::UTC);
    return c;
}

const DiscoveredDevice demoRadio{SimulatedRadio::deviceId, SimulatedRadio::deviceName, -58, {}};

// A radio on a manual clock, with every received frame decoded and every
// state reported kept.
struct Rig {
    ManualClock clock;
    SimulatedRadio radio{&clock, 7};
    QList<MeshEvent> received;
    QSignalSpy stateSpy{&radio, &MeshLink::transportStateChanged};

    // The states reported since the last call.
    QList<T> takeStates() {
        QList<T> states;
        for (const QList<QVariant>& args : std::as_const(stateSpy))
            states.append(args.at(0).value<T>());
        stateSpy.clear();
        return states;
    }

    Rig() {
        QObject::connect(&radio, &MeshLink::transportReceived, [this](const QByteArray& frame) {
            // An answer from inside write() breaks the link contract; it shows
            // up as a foreign event in front of the real ones.
            if (insideWrite)
                received.append(MeshEvent(Events::Unhandled{0xEE}));
            received.append(decode(frame));
        });
    }

    bool insideWrite = false;

    void connectLink() {
        radio.connectToDevice(demoRadio);
        clock.advance(1s);
    }

    // Writes one command and returns what arrives within `wait`.
    QList<MeshEvent> command(const QByteArray& frame, std::chrono::milliseconds wait = 100ms) {
        received.clear();
        insideWrite = true;
        radio.write(frame);
        insideWrite = false;
        clock.advance(wait);
        return std::exchange(received, {});
    }

    MeshEvent only(const QByteArray& frame) {
        const QList<MeshEvent> events = command(frame);
        return events.size() == 1 ? events.first() : MeshEvent(Events::Unhandled{0xFF});
    }
};

QByteArray directText(const QString& key, const QString& text) {
    return sendDirectText(keyBytes(key), 1'700'000'000, text);
}

} // namespace

class TestSimulatedRadio : public QObject {
    Q_OBJECT
private Q_SLOTS:
    // Ready is reported through the clock, not from the constructor; the
    // radio is found at every advertising round while scanning and connects
    // after its delay; a disconnect while connecting cancels the attempt.
    // Another radio cannot be reached, and without a link nothing is answered.
    void scanAndConnect() {
        Rig rig;
        QSignalSpy found(&rig.radio, &MeshLink::transportDiscovered);
        QSignalSpy connected(&rig.radio, &MeshLink::transportConnected);
        QSignalSpy failed(&rig.radio, &MeshLink::transportFailed);
        QCOMPARE(rig.radio.state(), T::ready);
        QVERIFY(rig.takeStates().isEmpty());
        const QByteArray start = appStart(u"Talvenne-macOS"_s);
        QVERIFY(rig.command(start, 1s).isEmpty());
        QCOMPARE(rig.takeStates(), QList<T>{T::ready});

        rig.radio.startScan();
        QCOMPARE(rig.takeStates(), QList<T>{T::scanning});
        rig.clock.advance(5s);
        QCOMPARE(found.count(), 3); // at 0.3 s, 2.3 s and 4.3 s
        for (const auto& report : found) {
            const auto device = report.at(0).value<DiscoveredDevice>();
            QCOMPARE(device.id, SimulatedRadio::deviceId);
            QVERIFY2(device.rssi >= -61 && device.rssi <= -55,
                     qPrintable(QString::number(device.rssi)));
        }
        rig.radio.stopScan();
        rig.radio.stopScan(); // not scanning: nothing to report
        QCOMPARE(rig.takeStates(), QList<T>{T::ready});
        rig.clock.advance(10s);
        QCOMPARE(found.count(), 3);

        rig.radio.startScan();
        rig.radio.connectToDevice(demoRadio);
        QCOMPARE(rig.takeStates(), (QList<T>{T::scanning, T::ready, T::connecting}));
        rig.clock.advance(599ms);
        QCOMPARE(connected.count(), 0);
        rig.clock.advance(1ms);
        QCOMPARE(connected.count(), 1);
        rig.radio.disconnectFromDevice();
        QCOMPARE(rig.takeStates(), (QList<T>{T::connected, T::disconnected}));

        rig.radio.connectToDevice(demoRadio);
        rig.radio.disconnectFromDevice();
        rig.clock.advance(2s);
        QCOMPARE(connected.count(), 1);
        QCOMPARE(rig.radio.state(), T::disconnected);

        rig.radio.connectToDevice({QUuid::createUuid(), u"Other"_s, -80, {}});
        rig.clock.advance(1s);
        QCOMPARE(failed.count(), 1);
        QCOMPARE(rig.radio.state(), T::disconnected);
        QVERIFY(rig.command(start, 1s).isEmpty());
        QVERIFY(rig.radio.writtenFrames().isEmpty());
    }

    void commandAnswers_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<MeshEvent>("expected");
        const auto row = [](const char* name, const QByteArray& frame, const MeshEvent& event) {
            QTest::newRow(name) << frame << event;
        };
        const MeshEvent ok = Events::Ok{};
        const MeshEvent notFound = Events::Error{DeviceError::notFound};
        const MeshEvent illegal = Events::Error{DeviceError::illegalArgument};
        const QByteArray secret(16, '\x11');
        const QByteArray stranger = keyBytes(carolKey);

        ManualClock clock;
        const SimulatedRadio fresh(&clock);
        row("app start", appStart(u"Talvenne-macOS"_s), Events::SelfInfo{fresh.selfInfo()});
        row("device query", deviceQuery(3),
            Events::DeviceInfo{{8, u"12 Mar 2025"_s, u"Talvenne Sim Radio"_s}});
        row("battery", getBatteryAndStorage(), Events::Battery{{4012, 49, 1984}});
        row("set time", setDeviceTime(1'700'000'000), ok);
        row("flood advert", sendSelfAdvert(1), ok);
        row("set name", setAdvertName(u"Base"_s), ok);
        row("power at max", setTxPower(22), ok);
        row("power above max", setTxPower(23), illegal);
        row("public channel", getChannel(0),
            Events::ChannelInfo{{0, u"Public"_s, u"5d0c2a7f91e4b8365fa0c7d21e9b4a83"_s}});
        row("free channel", getChannel(7), Events::ChannelInfo{{7, {}, QString(32, u'0')}});
        row("channel 8", getChannel(8), notFound);
        row("set channel 2", setChannel(2, u"Hikers"_s, secret), ok);
        row("set channel 8", setChannel(8, u"Hikers"_s, secret), notFound);
        row("channel text", sendChannelText(0, 1, u"hi"_s), ok);
        row("channel text to slot 9", sendChannelText(9, 1, u"hi"_s), notFound);
        row("empty queue", syncNextMessage(), Events::NoMoreMessages{});
        row("direct text to stranger", directText(carolKey, u"hi"_s), notFound);
        row("reset path of stranger", resetPath(stranger), notFound);
        row("remove stranger", removeContact(stranger), notFound);
        row("share stranger", shareContact(stranger), notFound);
        row("stats group 3", getStatistics(3), illegal);
        row("get time (not offered)", QByteArray(1, '\x05'),
            Events::Error{DeviceError::unsupportedCommand});
    }

    // Each command answered by exactly one frame after the latency.
    void commandAnswers() {
        QFETCH(QByteArray, frame);
        QFETCH(MeshEvent, expected);

        Rig rig;
        rig.connectLink();
        rig.radio.write(frame);
        rig.clock.advance(29ms);
        QVERIFY(rig.received.isEmpty());
        rig.clock.advance(1ms);
        QCOMPARE(rig.received.size(), 1);
        QCOMPARE(eventName(rig.received.first()), eventName(expected));
        QVERIFY(rig.received.first() == expected);
        QCOMPARE(rig.radio.writtenFrames(), QList<QByteArray>{frame});
    }

    void settingsAreStoredAndReadBack() {
        Rig rig;
        rig.connectLink();
        const QString app = u"Talvenne-macOS"_s;

        rig.command(setAdvertName(u"Mökki"_s));
        rig.command(setTxPower(14));
        rig.command(setTxPower(30)); // refused, power stays
        const auto self = std::get<Events::SelfInfo>(rig.only(appStart(app))).selfInfo;
        QCOMPARE(self.name, u"Mökki"_s);
        QCOMPARE(self.txPower, 14);

        rig.command(setChannel(3, u"#lora"_s, QByteArray(16, '\xab')));
        const auto channel = std::get<Events::ChannelInfo>(rig.only(getChannel(3))).channelInfo;
        QCOMPARE(channel.name, u"#lora"_s);
        QCOMPARE(channel.secretHex, u"ab"_s.repeated(16));
        QCOMPARE(rig.radio.channels().at(3), channel);

        // Clearing writes the free form back.
        rig.command(setChannel(3, QString(), QByteArray(16, '\0')));
        QCOMPARE(rig.radio.channels().at(3),
                 (Channel{3, QString(), QString(32, QLatin1Char('0'))}));

        // The clock follows set-device-time.
        rig.command(setDeviceTime(1'800'000'000));
        QCOMPARE(rig.radio.deviceTime().toSecsSinceEpoch(), 1'800'000'000);
        rig.clock.advance(10s);
        QCOMPARE(rig.radio.deviceTime().toSecsSinceEpoch(), 1'800'000'010);
    }

    void contactTableCommands() {
        Rig rig;
        rig.connectLink();
        rig.command(setDeviceTime(1'750'000'000));

        const QByteArray add =
            addOrUpdateContact(keyBytes(aliceKey), AdvertType::room, u"Alice"_s, 1'740'000'000);
        QVERIFY(rig.only(add) == MeshEvent(Events::Ok{}));
        // The radio's own clock stamps the change.
        const Contact alice{aliceKey,   AdvertType::room,  0, -1, QByteArray(64, '\0'),
                            u"Alice"_s, at(1'740'000'000), 0, 0,  at(1'750'000'000)};
        QCOMPARE(rig.radio.contacts(), QList<Contact>{alice});

        // Same key again updates in place; a full table refuses new keys only.
        rig.radio.setContactLimit(1);
        const QByteArray rename =
            addOrUpdateContact(keyBytes(aliceKey), AdvertType::chat, u"Alice B"_s, 1'740'000'001);
        QVERIFY(rig.only(rename) == MeshEvent(Events::Ok{}));
        QCOMPARE(rig.radio.contacts().size(), 1);
        QCOMPARE(rig.radio.contacts().first().name, u"Alice B"_s);
        const QByteArray addBob =
            addOrUpdateContact(keyBytes(bobKey), AdvertType::chat, u"Bob"_s, 1'740'000'000);
        QVERIFY(rig.only(addBob) == MeshEvent(Events::Error{DeviceError::tableFull}));
        QCOMPARE(rig.radio.contacts().size(), 1);

        // Reset path forgets the route.
        rig.radio.addContact(contact(bobKey, u"Bob"_s, 3, 1'700'000'000));
        QVERIFY(rig.only(resetPath(keyBytes(bobKey))) == MeshEvent(Events::Ok{}));
        QCOMPARE(rig.radio.contacts().at(1).outPathLength, -1);
        QCOMPARE(rig.radio.contacts().at(1).outPath, QByteArray(64, '\0'));

        QVERIFY(rig.only(shareContact(keyBytes(bobKey))) == MeshEvent(Events::Ok{}));
        QVERIFY(rig.only(removeContact(keyBytes(aliceKey))) == MeshEvent(Events::Ok{}));
        QCOMPARE(rig.radio.contacts().size(), 1);
        QCOMPARE(rig.radio.contacts().first().publicKey, bobKey);
    }

    void contactListStreamsInOrder() {
        Rig rig;
        rig.radio.addContact(contact(aliceKey, u"Alice"_s, 1, 1'700'000'010));
        rig.radio.addContact(contact(bobKey, u"Bob 🦊"_s, -1, 1'700'000'030));
        rig.radio.addContact(contact(carolKey, u"Carol"_s, 0, 1'700'000'020));
        rig.connectLink();

        const QList<Contact> table = rig.radio.contacts();
        QCOMPARE(table.at(1).name, u"Bob 🦊"_s);
        // The end carries the latest change, not the last contact's.
        QList<MeshEvent> expected{Events::ContactsStart{3}};
        for (const Contact& c : table)
            expected.append(Events::Contact{c});
        expected.append(Events::EndOfContacts{1'700'000'090});
        QVERIFY(rig.command(getContacts()) == expected);
    }

    // Commands written back to back are answered in order, and each one sent
    // before the answer to the previous one went out is counted; one sent
    // after it is not, nor one after a drop lost the answers on their way. A
    // long run keeps only the last frames.
    void commandsInFlight() {
        Rig rig;
        rig.connectLink();
        for (const std::uint8_t index : {0, 8, 1})
            rig.radio.write(getChannel(index));
        rig.radio.write(deviceQuery(3));
        QVERIFY(rig.received.isEmpty());
        rig.clock.advance(100ms);
        QStringList names;
        for (const MeshEvent& event : std::as_const(rig.received))
            names << QString::fromLatin1(eventName(event));
        QCOMPARE(names, (QStringList{"channelInfo", "error", "channelInfo", "deviceInfo"}));
        QCOMPARE(rig.radio.overlappingCommands(), 3);

        for (int i = 0; i < SimulatedRadio::writtenFramesKept + 10; ++i)
            rig.command(getChannel(std::uint8_t(i % 8)), 40ms);
        QCOMPARE(rig.radio.writtenFrames().size(), SimulatedRadio::writtenFramesKept);
        QCOMPARE(rig.radio.writtenFrames().constLast(),
                 getChannel(std::uint8_t((SimulatedRadio::writtenFramesKept + 9) % 8)));
        rig.radio.write(getChannel(0));
        rig.radio.dropLink();
        rig.connectLink();
        rig.command(getChannel(2));
        QCOMPARE(rig.radio.overlappingCommands(), 3);
    }

    void directMessageIsSentThenConfirmed() {
        Rig rig;
        rig.radio.addContact(contact(aliceKey, u"Alice"_s, 2, 1'700'000'000));
        rig.radio.addContact(contact(bobKey, u"Bob"_s, -1, 1'700'000'000));
        rig.connectLink();
        rig.radio.setAckDelay(400ms);

        const QList<MeshEvent> answer = rig.command(directText(aliceKey, u"hei"_s), 50ms);
        QCOMPARE(answer.size(), 1);
        const auto sent = std::get<Events::MessageSent>(answer.first());
        QVERIFY(sent.expectedAck != 0);
        QCOMPARE(sent.result, 0);
        QCOMPARE(sent.estimatedTimeoutMillis, 8000u); // two hops

        rig.clock.advance(379ms);
        QVERIFY(rig.received.isEmpty());
        rig.clock.advance(1ms);
        QCOMPARE(rig.received.size(), 1);
        QVERIFY(rig.received.first() == MeshEvent(Events::SendConfirmed{sent.expectedAck, 400}));

        // Without a path the message is flooded, and every message gets a fresh code.
        const auto flood =
            std::get<Events::MessageSent>(rig.command(directText(bobKey, u"moi"_s), 50ms).first());
        QCOMPARE(flood.result, 1);
        QCOMPARE(flood.estimatedTimeoutMillis, 16000u);
        QVERIFY(flood.expectedAck != sent.expectedAck);

        // With confirmations switched off a message is only sent.
        rig.clock.advance(1s);
        rig.radio.setConfirmDeliveries(false);
        const QList<MeshEvent> unconfirmed = rig.command(directText(aliceKey, u"x"_s), 30s);
        QCOMPARE(unconfirmed.size(), 1);
        QCOMPARE(eventName(unconfirmed.first()), "messageSent");
    }

    void queuedMessagesAreAnnouncedAndDrained() {
        Rig rig;
        rig.radio.addContact(contact(aliceKey, u"Alice"_s, 2, 1'700'000'000));
        const QDateTime t1 = QDateTime::fromSecsSinceEpoch(1'699'999'000, Qt::UTC);
        // Queued while offline: no announcement, the handshake drains it.
        rig.radio.queueIncomingDirect(aliceKey, u"first"_s, t1);
        rig.connectLink();
        QVERIFY(rig.received.isEmpty());

        rig.radio.queueIncomingChannel(0, u"Mikko: second"_s, t1.addSecs(5), 1.5);
        rig.radio.queueIncomingDirect(carolKey.left(12), u"third"_s, t1.addSecs(9));
        rig.clock.advance(100ms);
        QCOMPARE(rig.received.size(), 2);
        QVERIFY(rig.received.at(0) == MeshEvent(Events::MessagesWaiting{}));
        QCOMPARE(rig.radio.queuedMessageCount(), 3);

        const QList<MeshEvent> expected = {
            Events::ContactMessage{aliceKey.left(12), 2, 0, t1, u"first"_s, 6.5},
            Events::ChannelMessage{0, 2, 0, t1.addSecs(5), u"Mikko: second"_s, 1.5},
            Events::ContactMessage{carolKey.left(12), 1, 0, t1.addSecs(9), u"third"_s, 6.5},
            Events::NoMoreMessages{},
        };
        for (const MeshEvent& event : expected) {
            const MeshEvent answer = rig.only(syncNextMessage());
            QCOMPARE(eventName(answer), eventName(event));
            QVERIFY(answer == event);
        }
    }

    // Lost answers (the radio still acts), planned failures that wait for
    // their command and hit once, and lasting error replies.
    void answerKnobs() {
        Rig rig;
        rig.connectLink();
        rig.radio.dropNextAnswers(2);
        QVERIFY(rig.command(setTxPower(10), 10s).isEmpty());
        QVERIFY(rig.command(deviceQuery(3), 10s).isEmpty());
        QCOMPARE(rig.radio.selfInfo().txPower, 10);
        QCOMPARE(eventName(rig.only(deviceQuery(3))), "deviceInfo");

        const auto error = [](std::optional<DeviceError> e) { return MeshEvent(Events::Error{e}); };
        rig.radio.failNextCommand(RadioCommand::setTxPower, DeviceError::badState);
        QCOMPARE(eventName(rig.only(deviceQuery(3))), "deviceInfo");
        QVERIFY(rig.only(setTxPower(5)) == error(DeviceError::badState));
        QCOMPARE(rig.radio.selfInfo().txPower, 10); // the failed command had no effect
        QVERIFY(rig.only(setTxPower(5)) == MeshEvent(Events::Ok{}));
        rig.radio.failNextAnyCommand(std::nullopt);
        QVERIFY(rig.only(getChannel(1)) == error(std::nullopt));
        QCOMPARE(rig.radio.writtenFrames().constLast(), TestSupport::hex("1f 01"));

        rig.radio.setErrorReplyFor(RadioCommand::getChannel, DeviceError::fileIOError);
        QVERIFY(rig.only(getChannel(0)) == error(DeviceError::fileIOError));
        QVERIFY(rig.only(getChannel(0)) == error(DeviceError::fileIOError));
        rig.radio.clearErrorReplyFor(RadioCommand::getChannel);
        QCOMPARE(eventName(rig.only(getChannel(0))), "channelInfo");

        rig.radio.setDropAnswers(1.0);
        QVERIFY(rig.command(getChannel(0)).isEmpty());
        rig.radio.setDropAnswers(0.5);
        int answered = 0;
        for (int i = 0; i < 200; ++i)
            answered += int(rig.command(getChannel(0), 40ms).size());
        QVERIFY2(answered > 70 && answered < 130, qPrintable(QString::number(answered)));
    }

    // A drop loses the answers on their way; planned drops come on a given
    // command or after a number of them, never from inside write().
    void linkDrops() {
        Rig rig;
        rig.radio.addContact(contact(aliceKey, u"Alice"_s, 0, 1'700'000'000));
        rig.connectLink();
        rig.takeStates();
        rig.radio.write(directText(aliceKey, u"hello"_s));
        rig.radio.dropLink();
        QCOMPARE(rig.takeStates(), QList<T>{T::disconnected});
        rig.clock.advance(10s);
        QVERIFY(rig.received.isEmpty()); // neither messageSent nor the later confirmation
        rig.radio.dropLink();            // no link, nothing to report
        QVERIFY(rig.takeStates().isEmpty());

        // Reconnecting starts clean.
        rig.connectLink();
        rig.radio.dropLinkOnCommand(RadioCommand::getContacts);
        QCOMPARE(eventName(rig.only(deviceQuery(3))), "deviceInfo");
        rig.takeStates();
        rig.radio.write(getContacts());
        QVERIFY(rig.takeStates().isEmpty());
        rig.clock.advance(5s);
        QVERIFY(rig.received.isEmpty());
        QCOMPARE(rig.takeStates(), QList<T>{T::disconnected});

        rig.connectLink();
        rig.radio.dropLinkAfterCommands(3);
        QCOMPARE(rig.command(deviceQuery(3)).size(), 1);
        QCOMPARE(rig.command(getBatteryAndStorage()).size(), 1);
        QVERIFY(rig.command(getChannel(0)).isEmpty());
        QCOMPARE(rig.radio.state(), T::disconnected);
        QCOMPARE(rig.radio.writtenFrames().size(), 6);
    }

    void rebootDropsTheLinkAndForgetsVolatileState() {
        Rig rig;
        rig.radio.addContact(contact(aliceKey, u"Alice"_s, 0, 1'700'000'000));
        rig.connectLink();
        rig.command(setDeviceTime(1'800'000'000));
        rig.command(setChannel(4, u"Team"_s, QByteArray(16, '\x01')));
        rig.radio.queueIncomingDirect(aliceKey, u"unread"_s, rig.clock.now());
        rig.clock.advance(100ms);
        rig.received.clear();
        rig.takeStates();

        rig.radio.write(reboot());
        QVERIFY(rig.takeStates().isEmpty());
        rig.clock.advance(30ms);
        QCOMPARE(rig.takeStates(), QList<T>{T::disconnected});
        QVERIFY(rig.received.isEmpty());

        QCOMPARE(rig.radio.queuedMessageCount(), 0);
        QCOMPARE(rig.radio.deviceTime(), rig.clock.now());
        QCOMPARE(rig.radio.contacts().size(), 1);
        QCOMPARE(rig.radio.channels().at(4).name, u"Team"_s);

        rig.connectLink();
        const auto stats = std::get<Events::Stats>(rig.only(getStatistics(0))).stats;
        QCOMPARE(stats.uptimeSeconds.value_or(0), 1u); // counted from the reboot
    }

    // The demo neighbourhood shows every kind of node and the awkward cases
    // of names, positions and paths; one neighbour answers direct messages,
    // the others stay quiet.
    void demoNeighbourhood() {
        Rig rig;
        rig.radio.populateDemoNeighbours();
        const QList<Contact> contacts = rig.radio.contacts();
        QSet<int> kinds;
        bool emoji = false, accented = false, noPosition = false, noPath = false;
        QString ainoKey, roomKey;
        for (const Contact& c : contacts) {
            kinds.insert(int(c.type));
            emoji = emoji || c.name.contains(u"🦊"_s);
            accented = accented || c.name.contains(u"é"_s);
            noPosition = noPosition || (c.latitude == 0 && c.longitude == 0);
            noPath = noPath || c.outPathLength == -1;
            QVERIFY(c.lastAdvert < rig.clock.now());
            QVERIFY(c.lastAdvert > rig.clock.now().addDays(-7));
            if (c.name.startsWith(u"Aino"_s))
                ainoKey = c.publicKey;
            else if (c.name == u"Harbour Room"_s)
                roomKey = c.publicKey;
        }
        QCOMPARE(kinds.size(), 5);
        QVERIFY(contacts.size() >= 6);
        QVERIFY(emoji && accented && noPosition && noPath);
        QVERIFY(!ainoKey.isEmpty() && !roomKey.isEmpty());

        rig.connectLink();
        QCOMPARE(eventName(rig.only(directText(ainoKey, u"Moi Aino!"_s))), "messageSent");
        rig.clock.advance(1500ms);
        QCOMPARE(eventName(rig.received.value(0)), "sendConfirmed");
        rig.received.clear();
        rig.clock.advance(3s);
        QCOMPARE(rig.received.size(), 1);
        QVERIFY(rig.received.first() == MeshEvent(Events::MessagesWaiting{}));
        const auto reply = std::get<Events::ContactMessage>(rig.only(syncNextMessage()));
        QCOMPARE(reply.prefix, ainoKey.left(12));
        QVERIFY(!reply.text.isEmpty());
        QVERIFY(reply.snr.has_value());

        rig.command(directText(roomKey, u"hello room"_s), 20s);
        QCOMPARE(rig.radio.queuedMessageCount(), 0);
    }

    void channelChatterAppearsFromTimeToTime() {
        Rig rig;
        rig.connectLink();
        rig.radio.startChannelChatter(true);
        rig.clock.advance(19s);
        QCOMPARE(rig.radio.queuedMessageCount(), 0);
        rig.clock.advance(21s);
        QCOMPARE(rig.radio.queuedMessageCount(), 1);
        QVERIFY(rig.received.contains(MeshEvent(Events::MessagesWaiting{})));

        rig.clock.advance(10min);
        rig.radio.startChannelChatter(false);
        const int queued = rig.radio.queuedMessageCount();
        QVERIFY2(queued >= 16 && queued <= 31, qPrintable(QString::number(queued)));
        bool mention = false, link = false;
        for (int i = 0; i < queued; ++i) {
            const auto message = std::get<Events::ChannelMessage>(rig.only(syncNextMessage()));
            QCOMPARE(message.channelIndex, 0);
            const qsizetype colon = message.text.indexOf(u": "_s);
            QVERIFY(colon > 0 && colon <= 40);
            mention = mention || message.text.contains(u"@["_s);
            link = link || message.text.contains(u"https://"_s);
        }
        QVERIFY(mention && link);

        rig.clock.advance(10min);
        QCOMPARE(rig.radio.queuedMessageCount(), 0);
    }
};

QTEST_GUILESS_MAIN(TestSimulatedRadio)
#include "test_simulated_radio.moc"
