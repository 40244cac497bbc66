#include "protocol/mesh_protocol.h"
#include "sim/simulated_radio.h"
#include "test_support.h"

#include <QSignalSpy>
#include <QTest>
#include <memory>

using namespace std::chrono_literals;
using MeshProtocol::AdvertType;
using MeshProtocol::DeviceError;

Q_DECLARE_METATYPE(MeshEvent)

namespace {

const QString aliceKey =
    QStringLiteral("a11ce000000000000000000000000000000000000000000000000000000000aa");
const QString bobKey =
    QStringLiteral("b0b00000000000000000000000000000000000000000000000000000000000bb");
const QString carolKey =
    QStringLiteral("ca201000000000000000000000000000000000000000000000000000000000cc");

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

// A radio on a manual clock, with every received frame decoded.
struct Rig {
    ManualClock clock;
    SimulatedRadio radio{&clock, 7};
    QList<MeshEvent> received;

    Rig() {
        QObject::connect(&radio, &MeshLink::transportReceived, [this](const QByteArray& frame) {
            // An answer from inside write() breaks the link contract; it shows
            // up as a foreign event in front of the real ones.
            if (insideWrite)
                received.append(MeshEvent(Events::Unhandled{0xEE}));
            received.append(MeshProtocol::decode(frame));
        });
    }

    bool insideWrite = false;

    void connectLink() {
        radio.connectToDevice({SimulatedRadio::deviceId, SimulatedRadio::deviceName, -58, {}});
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
    return MeshProtocol::sendDirectText(keyBytes(key), 1'700'000'000, text);
}

} // namespace

class TestSimulatedRadio : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readyIsReportedThroughTheClock();
    void scanDiscoversTheRadioRepeatedly();
    void connectReportsConnectedAfterTheDelay();
    void connectToUnknownDeviceFails();
    void writesWhileNotConnectedAreIgnored();
    void commandAnswers_data();
    void commandAnswers();
    void settingsAreStoredAndReadBack();
    void contactTableCommands();
    void contactListStreamsInOrder();
    void answersKeepTheOrderOfCommands();
    void writtenFramesAreBoundedAndOverlapsCounted();
    void directMessageIsSentThenConfirmed();
    void confirmationsCanBeSwitchedOff();
    void queuedMessagesAreAnnouncedAndDrained();
    void droppedAnswers();
    void errorReplies();
    void linkDropLosesAnswersInFlight();
    void linkDropsOnAGivenCommand();
    void rebootDropsTheLinkAndForgetsVolatileState();
    void demoNeighbourhood();
    void demoNeighbourAnswersDirectMessages();
    void channelChatterAppearsFromTimeToTime();
};

void TestSimulatedRadio::readyIsReportedThroughTheClock() {
    ManualClock clock;
    SimulatedRadio radio(&clock);
    QSignalSpy states(&radio, &MeshLink::transportStateChanged);
    QCOMPARE(radio.state(), TransportState::ready);
    QCOMPARE(states.count(), 0);
    clock.settle();
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.at(0).at(0).value<TransportState>(), TransportState::ready);
}

void TestSimulatedRadio::scanDiscoversTheRadioRepeatedly() {
    Rig rig;
    rig.clock.settle();
    QSignalSpy states(&rig.radio, &MeshLink::transportStateChanged);
    QSignalSpy found(&rig.radio, &MeshLink::transportDiscovered);

    rig.radio.startScan();
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.at(0).at(0).value<TransportState>(), TransportState::scanning);
    QCOMPARE(found.count(), 0);

    rig.clock.advance(5s);
    QCOMPARE(found.count(), 3); // at 0.3 s, 2.3 s and 4.3 s
    for (const auto& report : found) {
        const auto device = report.at(0).value<DiscoveredDevice>();
        QCOMPARE(device.id, SimulatedRadio::deviceId);
        QCOMPARE(device.name, QStringLiteral("Talvenne Demo Radio"));
        QVERIFY2(device.rssi >= -61 && device.rssi <= -55,
                 qPrintable(QString::number(device.rssi)));
    }

    rig.radio.stopScan();
    QCOMPARE(states.count(), 2);
    QCOMPARE(states.at(1).at(0).value<TransportState>(), TransportState::ready);
    rig.clock.advance(10s);
    QCOMPARE(found.count(), 3);

    rig.radio.stopScan(); // not scanning: nothing to report
    QCOMPARE(states.count(), 2);
}

void TestSimulatedRadio::connectReportsConnectedAfterTheDelay() {
    Rig rig;
    rig.clock.settle();
    rig.radio.startScan();
    QSignalSpy states(&rig.radio, &MeshLink::transportStateChanged);
    QSignalSpy connected(&rig.radio, &MeshLink::transportConnected);

    rig.radio.connectToDevice({SimulatedRadio::deviceId, SimulatedRadio::deviceName, -58, {}});
    QCOMPARE(states.count(), 2); // scanning stops, then connecting
    QCOMPARE(states.at(0).at(0).value<TransportState>(), TransportState::ready);
    QCOMPARE(states.at(1).at(0).value<TransportState>(), TransportState::connecting);
    rig.clock.advance(599ms);
    QCOMPARE(connected.count(), 0);
    rig.clock.advance(1ms);
    QCOMPARE(connected.count(), 1);
    QCOMPARE(rig.radio.state(), TransportState::connected);
    QCOMPARE(states.constLast().at(0).value<TransportState>(), TransportState::connected);

    rig.radio.disconnectFromDevice();
    QCOMPARE(states.constLast().at(0).value<TransportState>(), TransportState::disconnected);

    // A disconnect while connecting cancels the attempt.
    rig.radio.connectToDevice({SimulatedRadio::deviceId, SimulatedRadio::deviceName, -58, {}});
    rig.radio.disconnectFromDevice();
    rig.clock.advance(2s);
    QCOMPARE(connected.count(), 1);
    QCOMPARE(rig.radio.state(), TransportState::disconnected);
}

void TestSimulatedRadio::connectToUnknownDeviceFails() {
    Rig rig;
    QSignalSpy failed(&rig.radio, &MeshLink::transportFailed);
    QSignalSpy connected(&rig.radio, &MeshLink::transportConnected);
    rig.radio.connectToDevice({QUuid::createUuid(), QStringLiteral("Other"), -80, {}});
    rig.clock.advance(1s);
    QCOMPARE(connected.count(), 0);
    QCOMPARE(failed.count(), 1);
    QCOMPARE(rig.radio.state(), TransportState::disconnected);
}

void TestSimulatedRadio::writesWhileNotConnectedAreIgnored() {
    Rig rig;
    QVERIFY(rig.command(MeshProtocol::appStart(QStringLiteral("Talvenne-macOS")), 1s).isEmpty());
    QVERIFY(rig.radio.writtenFrames().isEmpty());
}

void TestSimulatedRadio::commandAnswers_data() {
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<MeshEvent>("expected");

    const auto error = [](DeviceError e) { return MeshEvent(Events::Error{e}); };
    const MeshEvent ok = Events::Ok{};
    const QByteArray secret(16, '\x11');

    ManualClock clock;
    const SimulatedRadio fresh(&clock);
    QTest::newRow("app start") << MeshProtocol::appStart(QStringLiteral("Talvenne-macOS"))
                               << MeshEvent(Events::SelfInfo{fresh.selfInfo()});
    QTest::newRow("device query") << MeshProtocol::deviceQuery(3)
                                  << MeshEvent(Events::DeviceInfo{
                                         {8, QStringLiteral("12 Mar 2025"),
                                          QStringLiteral("Talvenne Sim Radio")}});
    QTest::newRow("battery") << MeshProtocol::getBatteryAndStorage()
                             << MeshEvent(Events::Battery{{4012, 49, 1984}});
    QTest::newRow("set time") << MeshProtocol::setDeviceTime(1'700'000'000) << ok;
    QTest::newRow("flood advert") << MeshProtocol::sendSelfAdvert(1) << ok;
    QTest::newRow("set name") << MeshProtocol::setAdvertName(QStringLiteral("Base")) << ok;
    QTest::newRow("power at max") << MeshProtocol::setTxPower(22) << ok;
    QTest::newRow("power above max")
        << MeshProtocol::setTxPower(23) << error(DeviceError::illegalArgument);
    QTest::newRow("public channel")
        << MeshProtocol::getChannel(0)
        << MeshEvent(Events::ChannelInfo{
               {0, QStringLiteral("Public"), QStringLiteral("5d0c2a7f91e4b8365fa0c7d21e9b4a83")}});
    QTest::newRow("free channel") << MeshProtocol::getChannel(7)
                                  << MeshEvent(Events::ChannelInfo{
                                         {7, QString(), QString(32, QLatin1Char('0'))}});
    QTest::newRow("channel 8") << MeshProtocol::getChannel(8) << error(DeviceError::notFound);
    QTest::newRow("set channel 2")
        << MeshProtocol::setChannel(2, QStringLiteral("Hikers"), secret) << ok;
    QTest::newRow("set channel 8") << MeshProtocol::setChannel(8, QStringLiteral("Hikers"), secret)
                                   << error(DeviceError::notFound);
    QTest::newRow("channel text") << MeshProtocol::sendChannelText(0, 1, QStringLiteral("hi"))
                                  << ok;
    QTest::newRow("channel text to slot 9")
        << MeshProtocol::sendChannelText(9, 1, QStringLiteral("hi"))
        << error(DeviceError::notFound);
    QTest::newRow("empty queue") << MeshProtocol::syncNextMessage()
                                 << MeshEvent(Events::NoMoreMessages{});
    QTest::newRow("direct text to stranger")
        << directText(carolKey, QStringLiteral("hi")) << error(DeviceError::notFound);
    QTest::newRow("reset path of stranger")
        << MeshProtocol::resetPath(keyBytes(carolKey)) << error(DeviceError::notFound);
    QTest::newRow("remove stranger")
        << MeshProtocol::removeContact(keyBytes(carolKey)) << error(DeviceError::notFound);
    QTest::newRow("share stranger")
        << MeshProtocol::shareContact(keyBytes(carolKey)) << error(DeviceError::notFound);
    QTest::newRow("stats group 3")
        << MeshProtocol::getStatistics(3) << error(DeviceError::illegalArgument);
    QTest::newRow("get time (not offered)")
        << QByteArray(1, '\x05') << error(DeviceError::unsupportedCommand);
    QTest::newRow("unknown 0x55") << QByteArray(1, '\x55')
                                  << error(DeviceError::unsupportedCommand);
}

// Each command answered by exactly one frame after the latency.
void TestSimulatedRadio::commandAnswers() {
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

void TestSimulatedRadio::settingsAreStoredAndReadBack() {
    Rig rig;
    rig.connectLink();
    const QString app = QStringLiteral("Talvenne-macOS");

    rig.command(MeshProtocol::setAdvertName(QStringLiteral("Mökki")));
    rig.command(MeshProtocol::setTxPower(14));
    rig.command(MeshProtocol::setTxPower(30)); // refused, power stays
    const auto self = std::get<Events::SelfInfo>(rig.only(MeshProtocol::appStart(app))).selfInfo;
    QCOMPARE(self.name, QStringLiteral("Mökki"));
    QCOMPARE(self.txPower, 14);
    QCOMPARE(self.maxTxPower, 22);

    rig.command(MeshProtocol::setChannel(3, QStringLiteral("#lora"), QByteArray(16, '\xab')));
    const auto channel =
        std::get<Events::ChannelInfo>(rig.only(MeshProtocol::getChannel(3))).channelInfo;
    QCOMPARE(channel.name, QStringLiteral("#lora"));
    QCOMPARE(channel.secretHex, QStringLiteral("ab").repeated(16));
    QCOMPARE(rig.radio.channels().at(3), channel);

    // Clearing writes the free form back.
    rig.command(MeshProtocol::setChannel(3, QString(), QByteArray(16, '\0')));
    QCOMPARE(rig.radio.channels().at(3), (Channel{3, QString(), QString(32, QLatin1Char('0'))}));

    // The clock follows set-device-time.
    rig.command(MeshProtocol::setDeviceTime(1'800'000'000));
    QCOMPARE(rig.radio.deviceTime().toSecsSinceEpoch(), 1'800'000'000);
    rig.clock.advance(10s);
    QCOMPARE(rig.radio.deviceTime().toSecsSinceEpoch(), 1'800'000'010);
}

void TestSimulatedRadio::contactTableCommands() {
    Rig rig;
    rig.connectLink();
    rig.command(MeshProtocol::setDeviceTime(1'750'000'000));

    const QByteArray add = MeshProtocol::addOrUpdateContact(keyBytes(aliceKey), AdvertType::room,
                                                            QStringLiteral("Alice"), 1'740'000'000);
    QVERIFY(rig.only(add) == MeshEvent(Events::Ok{}));
    QCOMPARE(rig.radio.contacts().size(), 1);
    const Contact alice = rig.radio.contacts().first();
    QCOMPARE(alice.publicKey, aliceKey);
    QCOMPARE(alice.type, AdvertType::room);
    QCOMPARE(alice.name, QStringLiteral("Alice"));
    QCOMPARE(alice.outPathLength, -1);
    QCOMPARE(alice.lastAdvert.toSecsSinceEpoch(), 1'740'000'000);
    QCOMPARE(alice.lastModified.toSecsSinceEpoch(), 1'750'000'000); // the radio's own clock

    // Same key again updates in place; a full table refuses new keys only.
    rig.radio.setContactLimit(1);
    const QByteArray rename = MeshProtocol::addOrUpdateContact(
        keyBytes(aliceKey), AdvertType::chat, QStringLiteral("Alice B"), 1'740'000'001);
    QVERIFY(rig.only(rename) == MeshEvent(Events::Ok{}));
    QCOMPARE(rig.radio.contacts().size(), 1);
    QCOMPARE(rig.radio.contacts().first().name, QStringLiteral("Alice B"));
    const QByteArray addBob = MeshProtocol::addOrUpdateContact(
        keyBytes(bobKey), AdvertType::chat, QStringLiteral("Bob"), 1'740'000'000);
    QVERIFY(rig.only(addBob) == MeshEvent(Events::Error{DeviceError::tableFull}));
    QCOMPARE(rig.radio.contacts().size(), 1);

    // Reset path forgets the route.
    rig.radio.addContact(contact(bobKey, QStringLiteral("Bob"), 3, 1'700'000'000));
    QVERIFY(rig.only(MeshProtocol::resetPath(keyBytes(bobKey))) == MeshEvent(Events::Ok{}));
    QCOMPARE(rig.radio.contacts().at(1).outPathLength, -1);
    QCOMPARE(rig.radio.contacts().at(1).outPath, QByteArray(64, '\0'));

    QVERIFY(rig.only(MeshProtocol::shareContact(keyBytes(bobKey))) == MeshEvent(Events::Ok{}));
    QVERIFY(rig.only(MeshProtocol::removeContact(keyBytes(aliceKey))) == MeshEvent(Events::Ok{}));
    QCOMPARE(rig.radio.contacts().size(), 1);
    QCOMPARE(rig.radio.contacts().first().publicKey, bobKey);
}

void TestSimulatedRadio::contactListStreamsInOrder() {
    Rig rig;
    rig.radio.addContact(contact(aliceKey, QStringLiteral("Alice"), 1, 1'700'000'010));
    rig.radio.addContact(contact(bobKey, QStringLiteral("Bob 🦊"), -1, 1'700'000'030));
    rig.radio.addContact(contact(carolKey, QStringLiteral("Carol"), 0, 1'700'000'020));
    rig.connectLink();

    const QList<MeshEvent> events = rig.command(MeshProtocol::getContacts());
    QCOMPARE(events.size(), 5);
    QVERIFY(events.at(0) == MeshEvent(Events::ContactsStart{3}));
    const QList<Contact> table = rig.radio.contacts();
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(eventName(events.at(i + 1)), "contact");
        QCOMPARE(std::get<Events::Contact>(events.at(i + 1)).contact, table.at(i));
    }
    QCOMPARE(table.at(1).name, QStringLiteral("Bob 🦊"));
    QVERIFY(events.at(4) == MeshEvent(Events::EndOfContacts{1'700'000'090}));
}

void TestSimulatedRadio::answersKeepTheOrderOfCommands() {
    Rig rig;
    rig.connectLink();
    rig.radio.write(MeshProtocol::getChannel(0));
    rig.radio.write(MeshProtocol::getChannel(8));
    rig.radio.write(MeshProtocol::deviceQuery(3));
    rig.radio.write(MeshProtocol::getChannel(1));
    QVERIFY(rig.received.isEmpty());
    rig.clock.advance(100ms);
    QStringList names;
    for (const MeshEvent& event : std::as_const(rig.received))
        names << QString::fromLatin1(eventName(event));
    QCOMPARE(names, (QStringList{"channelInfo", "error", "deviceInfo", "channelInfo"}));
}

// A long run keeps only the last frames; a command sent before the answer to
// the previous one went out is counted, one sent after it is not.
void TestSimulatedRadio::writtenFramesAreBoundedAndOverlapsCounted() {
    Rig rig;
    rig.connectLink();
    for (int i = 0; i < SimulatedRadio::writtenFramesKept + 10; ++i)
        rig.command(MeshProtocol::getChannel(std::uint8_t(i % 8)), 40ms);
    QCOMPARE(rig.radio.writtenFrames().size(), SimulatedRadio::writtenFramesKept);
    QCOMPARE(rig.radio.writtenFrames().constLast(),
             MeshProtocol::getChannel(std::uint8_t((SimulatedRadio::writtenFramesKept + 9) % 8)));
    QCOMPARE(rig.radio.overlappingCommands(), 0);

    rig.radio.write(MeshProtocol::getChannel(0));
    rig.radio.write(MeshProtocol::getChannel(1));
    QCOMPARE(rig.radio.overlappingCommands(), 1);
    rig.radio.dropLink(); // the answers on their way are lost with the link
    rig.connectLink();
    rig.command(MeshProtocol::getChannel(2));
    QCOMPARE(rig.radio.overlappingCommands(), 1);
}

void TestSimulatedRadio::directMessageIsSentThenConfirmed() {
    Rig rig;
    rig.radio.addContact(contact(aliceKey, QStringLiteral("Alice"), 2, 1'700'000'000));
    rig.radio.addContact(contact(bobKey, QStringLiteral("Bob"), -1, 1'700'000'000));
    rig.connectLink();
    rig.radio.setAckDelay(400ms);

    const QList<MeshEvent> answer = rig.command(directText(aliceKey, QStringLiteral("hei")), 50ms);
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
    const auto flood = std::get<Events::MessageSent>(
        rig.command(directText(bobKey, QStringLiteral("moi")), 50ms).first());
    QCOMPARE(flood.result, 1);
    QCOMPARE(flood.estimatedTimeoutMillis, 16000u);
    QVERIFY(flood.expectedAck != sent.expectedAck);
}

void TestSimulatedRadio::confirmationsCanBeSwitchedOff() {
    Rig rig;
    rig.radio.addContact(contact(aliceKey, QStringLiteral("Alice"), 0, 1'700'000'000));
    rig.connectLink();
    rig.radio.setConfirmDeliveries(false);
    const QList<MeshEvent> events = rig.command(directText(aliceKey, QStringLiteral("x")), 30s);
    QCOMPARE(events.size(), 1);
    QCOMPARE(eventName(events.first()), "messageSent");
}

void TestSimulatedRadio::queuedMessagesAreAnnouncedAndDrained() {
    Rig rig;
    rig.radio.addContact(contact(aliceKey, QStringLiteral("Alice"), 2, 1'700'000'000));
    const QDateTime t1 = QDateTime::fromSecsSinceEpoch(1'699'999'000, Qt::UTC);
    // Queued while offline: no announcement, the handshake drains it.
    rig.radio.queueIncomingDirect(aliceKey, QStringLiteral("first"), t1);
    rig.connectLink();
    QVERIFY(rig.received.isEmpty());

    rig.radio.queueIncomingChannel(0, QStringLiteral("Mikko: second"), t1.addSecs(5), 1.5);
    rig.radio.queueIncomingDirect(carolKey.left(12), QStringLiteral("third"), t1.addSecs(9));
    rig.clock.advance(100ms);
    QCOMPARE(rig.received.size(), 2);
    QVERIFY(rig.received.at(0) == MeshEvent(Events::MessagesWaiting{}));
    QCOMPARE(rig.radio.queuedMessageCount(), 3);

    const QList<MeshEvent> expected = {
        Events::ContactMessage{aliceKey.left(12), 2, 0, t1, QStringLiteral("first"), 6.5},
        Events::ChannelMessage{0, 2, 0, t1.addSecs(5), QStringLiteral("Mikko: second"), 1.5},
        Events::ContactMessage{carolKey.left(12), 1, 0, t1.addSecs(9), QStringLiteral("third"),
                               6.5},
        Events::NoMoreMessages{},
    };
    for (const MeshEvent& event : expected) {
        const MeshEvent answer = rig.only(MeshProtocol::syncNextMessage());
        QCOMPARE(eventName(answer), eventName(event));
        QVERIFY(answer == event);
    }
}

void TestSimulatedRadio::droppedAnswers() {
    Rig rig;
    rig.connectLink();
    rig.radio.dropNextAnswers(2);
    QVERIFY(rig.command(MeshProtocol::setTxPower(10), 10s).isEmpty());
    QVERIFY(rig.command(MeshProtocol::deviceQuery(3), 10s).isEmpty());
    QCOMPARE(rig.radio.selfInfo().txPower, 10); // lost answers, but the radio acted
    QCOMPARE(eventName(rig.only(MeshProtocol::deviceQuery(3))), "deviceInfo");

    rig.radio.setDropAnswers(1.0);
    QVERIFY(rig.command(MeshProtocol::getChannel(0)).isEmpty());
    rig.radio.setDropAnswers(0.5);
    int answered = 0;
    for (int i = 0; i < 200; ++i)
        answered += int(rig.command(MeshProtocol::getChannel(0), 40ms).size());
    QVERIFY2(answered > 70 && answered < 130, qPrintable(QString::number(answered)));
}

void TestSimulatedRadio::errorReplies() {
    Rig rig;
    rig.connectLink();
    const auto error = [](std::optional<DeviceError> e) { return MeshEvent(Events::Error{e}); };

    // A planned failure waits for its command and hits only once.
    rig.radio.failNextCommand(RadioCommand::setTxPower, DeviceError::badState);
    QCOMPARE(eventName(rig.only(MeshProtocol::deviceQuery(3))), "deviceInfo");
    QVERIFY(rig.only(MeshProtocol::setTxPower(5)) == error(DeviceError::badState));
    QCOMPARE(rig.radio.selfInfo().txPower, 20); // the failed command had no effect
    QVERIFY(rig.only(MeshProtocol::setTxPower(5)) == MeshEvent(Events::Ok{}));

    rig.radio.failNextAnyCommand(std::nullopt);
    QVERIFY(rig.only(MeshProtocol::getChannel(1)) == error(std::nullopt));
    QCOMPARE(rig.radio.writtenFrames().constLast(), TestSupport::hex("1f 01"));

    rig.radio.setErrorReplyFor(RadioCommand::getChannel, DeviceError::fileIOError);
    QVERIFY(rig.only(MeshProtocol::getChannel(0)) == error(DeviceError::fileIOError));
    QVERIFY(rig.only(MeshProtocol::getChannel(0)) == error(DeviceError::fileIOError));
    rig.radio.clearErrorReplyFor(RadioCommand::getChannel);
    QCOMPARE(eventName(rig.only(MeshProtocol::getChannel(0))), "channelInfo");
}

void TestSimulatedRadio::linkDropLosesAnswersInFlight() {
    Rig rig;
    rig.radio.addContact(contact(aliceKey, QStringLiteral("Alice"), 0, 1'700'000'000));
    rig.connectLink();
    QSignalSpy states(&rig.radio, &MeshLink::transportStateChanged);

    rig.radio.write(directText(aliceKey, QStringLiteral("hello")));
    rig.radio.dropLink();
    QCOMPARE(states.count(), 1);
    QCOMPARE(states.first().at(0).value<TransportState>(), TransportState::disconnected);
    rig.clock.advance(10s);
    QVERIFY(rig.received.isEmpty()); // neither messageSent nor the later confirmation

    // Reconnecting starts clean; a second drop of a dead link reports nothing.
    rig.connectLink();
    QCOMPARE(eventName(rig.only(MeshProtocol::deviceQuery(3))), "deviceInfo");
    rig.radio.disconnectFromDevice();
    const auto reports = states.count();
    rig.radio.dropLink();
    QCOMPARE(states.count(), reports);
}

void TestSimulatedRadio::linkDropsOnAGivenCommand() {
    Rig rig;
    rig.connectLink();
    QSignalSpy states(&rig.radio, &MeshLink::transportStateChanged);

    rig.radio.dropLinkOnCommand(RadioCommand::getContacts);
    QCOMPARE(eventName(rig.only(MeshProtocol::deviceQuery(3))), "deviceInfo");
    rig.radio.write(MeshProtocol::getContacts());
    QCOMPARE(states.count(), 0); // never from inside write()
    rig.clock.advance(5s);
    QVERIFY(rig.received.isEmpty());
    QCOMPARE(states.count(), 1);
    QCOMPARE(rig.radio.state(), TransportState::disconnected);

    rig.connectLink();
    rig.radio.dropLinkAfterCommands(3);
    QCOMPARE(rig.command(MeshProtocol::deviceQuery(3)).size(), 1);
    QCOMPARE(rig.command(MeshProtocol::getBatteryAndStorage()).size(), 1);
    QVERIFY(rig.command(MeshProtocol::getChannel(0)).isEmpty());
    QCOMPARE(rig.radio.state(), TransportState::disconnected);
    QCOMPARE(rig.radio.writtenFrames().size(), 5);
}

void TestSimulatedRadio::rebootDropsTheLinkAndForgetsVolatileState() {
    Rig rig;
    rig.radio.addContact(contact(aliceKey, QStringLiteral("Alice"), 0, 1'700'000'000));
    rig.connectLink();
    rig.command(MeshProtocol::setDeviceTime(1'800'000'000));
    rig.command(MeshProtocol::setChannel(4, QStringLiteral("Team"), QByteArray(16, '\x01')));
    rig.radio.queueIncomingDirect(aliceKey, QStringLiteral("unread"), rig.clock.now());
    rig.clock.advance(100ms);
    rig.received.clear();
    QSignalSpy states(&rig.radio, &MeshLink::transportStateChanged);

    rig.radio.write(MeshProtocol::reboot());
    QCOMPARE(states.count(), 0);
    rig.clock.advance(30ms);
    QCOMPARE(states.count(), 1);
    QCOMPARE(rig.radio.state(), TransportState::disconnected);
    QVERIFY(rig.received.isEmpty());

    QCOMPARE(rig.radio.queuedMessageCount(), 0);
    QCOMPARE(rig.radio.deviceTime(), rig.clock.now());
    QCOMPARE(rig.radio.contacts().size(), 1);
    QCOMPARE(rig.radio.channels().at(4).name, QStringLiteral("Team"));

    rig.connectLink();
    const auto stats = std::get<Events::Stats>(rig.only(MeshProtocol::getStatistics(0))).stats;
    QCOMPARE(stats.uptimeSeconds.value_or(0), 1u); // counted from the reboot
}

void TestSimulatedRadio::demoNeighbourhood() {
    Rig rig;
    rig.radio.populateDemoNeighbours();
    const QList<Contact> contacts = rig.radio.contacts();
    QSet<int> kinds;
    bool emoji = false, accented = false, noPosition = false, noPath = false;
    for (const Contact& c : contacts) {
        kinds.insert(int(c.type));
        emoji = emoji || c.name.contains(QStringLiteral("🦊"));
        accented = accented || c.name.contains(QStringLiteral("é"));
        noPosition = noPosition || (c.latitude == 0 && c.longitude == 0);
        noPath = noPath || c.outPathLength == -1;
        QVERIFY(c.lastAdvert < rig.clock.now());
        QVERIFY(c.lastAdvert > rig.clock.now().addDays(-7));
        QCOMPARE(c.publicKey.size(), 64);
    }
    QCOMPARE(kinds.size(), 5);
    QVERIFY(contacts.size() >= 6);
    QVERIFY(emoji && accented && noPosition && noPath);

    // The table streams to the client as it is listed here.
    rig.connectLink();
    const QList<MeshEvent> events = rig.command(MeshProtocol::getContacts());
    QCOMPARE(events.size(), contacts.size() + 2);
    QCOMPARE(std::get<Events::Contact>(events.at(1)).contact, contacts.first());
}

void TestSimulatedRadio::demoNeighbourAnswersDirectMessages() {
    Rig rig;
    rig.radio.populateDemoNeighbours();
    const QList<Contact> neighbours = rig.radio.contacts();
    const auto aino = std::find_if(neighbours.cbegin(), neighbours.cend(),
                                   [](const Contact& c) { return c.name.startsWith("Aino"); });
    QVERIFY(aino != neighbours.cend());
    const QString ainoKey = aino->publicKey;
    rig.connectLink();

    QCOMPARE(eventName(rig.only(directText(ainoKey, QStringLiteral("Moi Aino!")))), "messageSent");
    rig.clock.advance(1500ms);
    QCOMPARE(eventName(rig.received.value(0)), "sendConfirmed");
    rig.received.clear();
    rig.clock.advance(3s);
    QCOMPARE(rig.received.size(), 1);
    QVERIFY(rig.received.first() == MeshEvent(Events::MessagesWaiting{}));

    const auto reply = std::get<Events::ContactMessage>(rig.only(MeshProtocol::syncNextMessage()));
    QCOMPARE(reply.prefix, ainoKey.left(12));
    QVERIFY(!reply.text.isEmpty());
    QVERIFY(reply.snr.has_value());

    // Other neighbours stay quiet.
    const auto other = std::find_if(neighbours.cbegin(), neighbours.cend(),
                                    [](const Contact& c) { return c.name == "Harbour Room"; });
    QVERIFY(other != neighbours.cend());
    rig.command(directText(other->publicKey, QStringLiteral("hello room")), 20s);
    QCOMPARE(rig.radio.queuedMessageCount(), 0);
}

void TestSimulatedRadio::channelChatterAppearsFromTimeToTime() {
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
        const auto message =
            std::get<Events::ChannelMessage>(rig.only(MeshProtocol::syncNextMessage()));
        QCOMPARE(message.channelIndex, 0);
        const qsizetype colon = message.text.indexOf(QStringLiteral(": "));
        QVERIFY(colon > 0 && colon <= 40);
        mention = mention || message.text.contains(QStringLiteral("@["));
        link = link || message.text.contains(QStringLiteral("https://"));
    }
    QVERIFY(mention && link);

    rig.clock.advance(10min);
    QCOMPARE(rig.radio.queuedMessageCount(), 0);
}

QTEST_GUILESS_MAIN(TestSimulatedRadio)
#include "test_simulated_radio.moc"
