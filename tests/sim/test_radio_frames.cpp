#include "protocol/mesh_protocol.h"
#include "sim/radio_frames.h"
#include "test_support.h"

#include <QTest>

using namespace RadioFrames;
using MeshProtocol::AdvertType;
using MeshProtocol::DeviceError;

Q_DECLARE_METATYPE(MeshEvent)

namespace {

QDateTime at(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

const QString keyA =
    QStringLiteral("a1b2c3d4e5f60718293a4b5c6d7e8f90112233445566778899aabbccddeeff00");

Contact sampleContact() {
    Contact c;
    c.publicKey = keyA;
    c.type = AdvertType::repeaterNode;
    c.flags = 0x05;
    c.outPathLength = 2;
    c.outPath = TestSupport::hex("3c4d").leftJustified(64, '\0');
    c.name = QStringLiteral("Jérôme's relay");
    c.lastAdvert = at(1'699'990'000);
    c.latitude = -33.865143;
    c.longitude = 151.2099;
    c.lastModified = at(1'699'999'999);
    return c;
}

} // namespace

// Every encoder, decoded by the client's decoder, gives back what it encoded.
// This also checks the decoder's tables from the other side.
class TestRadioFrames : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void layout_data();
    void layout();
    void longTextsAreCutToTheirField();
};

void TestRadioFrames::roundTrip_data() {
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<MeshEvent>("expected");

    QTest::newRow("ok") << okFrame() << MeshEvent(Events::Ok{});
    QTest::newRow("ok with value") << okFrame(0xDEADBEEF) << MeshEvent(Events::Ok{0xDEADBEEF});
    QTest::newRow("error without code") << errorFrame(std::nullopt) << MeshEvent(Events::Error{});
    QTest::newRow("error tableFull")
        << errorFrame(DeviceError::tableFull) << MeshEvent(Events::Error{DeviceError::tableFull});

    SelfInfo self;
    self.advertType = AdvertType::chat;
    self.txPower = 20;
    self.maxTxPower = 22;
    self.publicKey = keyA;
    self.latitude = 60.169856;
    self.longitude = -24.938379;
    self.manualAddContacts = true;
    self.radioFrequency = 869.525;
    self.radioBandwidth = 62.5;
    self.radioSpreadingFactor = 11;
    self.radioCodingRate = 5;
    self.name = QStringLiteral("Mökki 🌲 base");
    QTest::newRow("selfInfo") << selfInfoFrame(self) << MeshEvent(Events::SelfInfo{self});

    const DeviceInfo device{8, QStringLiteral("12 Mar 2025"), QStringLiteral("Heltec V3")};
    QTest::newRow("deviceInfo") << deviceInfoFrame(device) << MeshEvent(Events::DeviceInfo{device});

    const BatteryInfo full{4012, 96, 1984};
    QTest::newRow("battery with storage") << batteryFrame(full) << MeshEvent(Events::Battery{full});
    const BatteryInfo voltageOnly{3650, std::nullopt, std::nullopt};
    QTest::newRow("battery without storage")
        << batteryFrame(voltageOnly) << MeshEvent(Events::Battery{voltageOnly});

    QTest::newRow("currentTime") << currentTimeFrame(at(1'700'000'123))
                                 << MeshEvent(Events::CurrentTime{at(1'700'000'123)});
    QTest::newRow("contactsStart") << contactsStartFrame(7) << MeshEvent(Events::ContactsStart{7});

    const Contact contact = sampleContact();
    QTest::newRow("contact") << contactFrame(contact) << MeshEvent(Events::Contact{contact});
    Contact pathless = contact;
    pathless.outPathLength = -1;
    pathless.outPath = QByteArray(64, '\0');
    pathless.type = AdvertType::none;
    pathless.latitude = 0;
    pathless.longitude = 0;
    QTest::newRow("contact without path")
        << contactFrame(pathless) << MeshEvent(Events::Contact{pathless});
    QTest::newRow("newAdvert") << contactFrame(contact, Code::newAdvert)
                               << MeshEvent(Events::NewAdvert{contact});
    QTest::newRow("endOfContacts")
        << endOfContactsFrame(1'700'000'000) << MeshEvent(Events::EndOfContacts{1'700'000'000});
    QTest::newRow("messageSent") << messageSentFrame(-1, 0x89ABCDEF, 16000)
                                 << MeshEvent(Events::MessageSent{-1, 0x89ABCDEF, 16000});

    const QString prefix = keyA.left(12);
    QTest::newRow("contactMessage with snr")
        << contactMessageFrame(keyA, 3, 0, at(1'700'000'001), QStringLiteral("hei 👋"), -7.5)
        << MeshEvent(Events::ContactMessage{prefix, 3, 0, at(1'700'000'001),
                                            QStringLiteral("hei 👋"), -7.5});
    QTest::newRow("signed contactMessage with snr")
        << contactMessageFrame(prefix, 255, signedTextType, at(5), QStringLiteral("signed"), 12.25)
        << MeshEvent(
               Events::ContactMessage{prefix, 255, 2, at(5), QStringLiteral("signed"), 12.25});
    QTest::newRow("old contactMessage")
        << contactMessageFrame(prefix, 1, 0, at(9), QStringLiteral("old form"), std::nullopt)
        << MeshEvent(Events::ContactMessage{prefix, 1, 0, at(9), QStringLiteral("old form"), {}});
    QTest::newRow("old signed contactMessage")
        << contactMessageFrame(prefix, 1, signedTextType, at(9), QStringLiteral("x"), std::nullopt)
        << MeshEvent(Events::ContactMessage{prefix, 1, 2, at(9), QStringLiteral("x"), {}});
    QTest::newRow("channelMessage with snr")
        << channelMessageFrame(3, 2, 0, at(1'700'000'002), QStringLiteral("Aino: moi"), 4.25)
        << MeshEvent(Events::ChannelMessage{3, 2, 0, at(1'700'000'002), QStringLiteral("Aino: moi"),
                                            4.25});
    QTest::newRow("old channelMessage")
        << channelMessageFrame(-128, 0, 0, at(1), QStringLiteral("edge"), std::nullopt)
        << MeshEvent(Events::ChannelMessage{-128, 0, 0, at(1), QStringLiteral("edge"), {}});
    QTest::newRow("noMoreMessages") << noMoreMessagesFrame() << MeshEvent(Events::NoMoreMessages{});

    const Channel channel{5, QStringLiteral("#lora"),
                          QStringLiteral("00112233445566778899aabbccddeeff")};
    QTest::newRow("channelInfo") << channelInfoFrame(channel)
                                 << MeshEvent(Events::ChannelInfo{channel});

    DeviceStats core;
    core.batteryMilliVolts = 3987;
    core.uptimeSeconds = 86'461;
    core.txQueueLength = 2;
    QTest::newRow("stats core") << statsFrame(0, core) << MeshEvent(Events::Stats{core});
    DeviceStats radio;
    radio.noiseFloor = -112;
    radio.lastRSSI = -71;
    radio.lastSNR = -3.75;
    radio.txAirtimeSeconds = 410;
    radio.rxAirtimeSeconds = 2160;
    QTest::newRow("stats radio") << statsFrame(1, radio) << MeshEvent(Events::Stats{radio});
    DeviceStats packets;
    packets.packetsReceived = 1200;
    packets.packetsSent = 300;
    packets.sentFlood = 200;
    packets.sentDirect = 100;
    packets.receivedFlood = 1100;
    packets.receivedDirect = 100;
    QTest::newRow("stats packets") << statsFrame(2, packets) << MeshEvent(Events::Stats{packets});

    QTest::newRow("advert") << advertFrame(keyA) << MeshEvent(Events::Advert{keyA});
    QTest::newRow("pathUpdated") << pathUpdatedFrame(keyA) << MeshEvent(Events::PathUpdated{keyA});
    QTest::newRow("sendConfirmed")
        << sendConfirmedFrame(255, 900) << MeshEvent(Events::SendConfirmed{255, 900});
    QTest::newRow("messagesWaiting")
        << messagesWaitingFrame() << MeshEvent(Events::MessagesWaiting{});
    QTest::newRow("loginSuccess") << loginSuccessFrame(keyA)
                                  << MeshEvent(Events::LoginSuccess{prefix});
    QTest::newRow("loginFailed") << loginFailedFrame(prefix)
                                 << MeshEvent(Events::LoginFailed{prefix});
    QTest::newRow("statusResponse")
        << statusResponseFrame(keyA, TestSupport::hex("0102ff"))
        << MeshEvent(Events::StatusResponse{prefix, TestSupport::hex("0102ff")});
}

void TestRadioFrames::roundTrip() {
    QFETCH(QByteArray, frame);
    QFETCH(MeshEvent, expected);

    const MeshEvent decoded = MeshProtocol::decode(frame);
    QCOMPARE(eventName(decoded), eventName(expected));
    QVERIFY2(decoded == expected, qPrintable(MeshProtocol::hexString(frame)));
}

// Lengths and a few fixed bytes, so that a decoder and an encoder that agree
// on a wrong layout still fail.
void TestRadioFrames::layout_data() {
    QTest::addColumn<QByteArray>("frame");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("ok with value") << okFrame(0x01020304) << TestSupport::hex("00 04030201");
    QTest::newRow("error") << errorFrame(DeviceError::illegalArgument) << TestSupport::hex("01 06");
    QTest::newRow("messageSent") << messageSentFrame(1, 0xAABBCCDD, 0x3E80)
                                 << TestSupport::hex("06 01 ddccbbaa 803e0000");
    QTest::newRow("sendConfirmed")
        << sendConfirmedFrame(0x11223344, 1500) << TestSupport::hex("82 44332211 dc050000");
    QTest::newRow("channelMessage with snr")
        << channelMessageFrame(1, 2, 0, at(0x10203040), QStringLiteral("A"), -1.0)
        << TestSupport::hex("11 fc 0000 01 02 00 40302010 41");
    QTest::newRow("contactMessage with snr")
        << contactMessageFrame(keyA, 0, 0, at(1), QStringLiteral("B"), 2.0)
        << TestSupport::hex("10 08 0000 a1b2c3d4e5f6 00 00 01000000 42");
    QTest::newRow("stats core") << statsFrame(0, DeviceStats{})
                                << TestSupport::hex("18 00 0000 00000000 00");
}

void TestRadioFrames::layout() {
    QFETCH(QByteArray, frame);
    QFETCH(QByteArray, expected);
    QCOMPARE(frame.toHex(' '), expected.toHex(' '));
}

void TestRadioFrames::longTextsAreCutToTheirField() {
    Contact contact = sampleContact();
    contact.name = QStringLiteral("A name much longer than thirty-two bytes");
    const QByteArray frame = contactFrame(contact);
    QCOMPARE(frame.size(), 148);
    const auto decoded = std::get<Events::Contact>(MeshProtocol::decode(frame)).contact;
    QCOMPARE(decoded.name, contact.name.left(32));
    QCOMPARE(fieldText(contact.name, 32), decoded.name);

    // A build date longer than its 12-byte field loses its tail, the model
    // after it is unaffected.
    const QByteArray info =
        deviceInfoFrame({7, QStringLiteral("2025-03-12 10:00"), QStringLiteral("T")});
    const auto device = std::get<Events::DeviceInfo>(MeshProtocol::decode(info)).deviceInfo;
    QCOMPARE(device.firmwareBuildDate, QStringLiteral("2025-03-12 1"));
    QCOMPARE(device.model, QStringLiteral("T"));
}

QTEST_GUILESS_MAIN(TestRadioFrames)
#include "test_radio_frames.moc"
