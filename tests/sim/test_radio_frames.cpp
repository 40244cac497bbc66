#include "protocol/mesh_protocol.h"
#include "sim/radio_frames.h"
#include "test_support.h"

#include <QTest>

using namespace RadioFrames;
using namespace Qt::StringLiterals;
using MeshProtocol::AdvertType;
using MeshProtocol::DeviceError;
using TestSupport::hex;

Q_DECLARE_METATYPE(MeshEvent)

namespace {

QDateTime at(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

const QString keyA = u"a1b2c3d4e5f60718293a4b5c6d7e8f90112233445566778899aabbccddeeff00"_s;
const QString prefix = keyA.left(12);

Contact sampleContact() {
    const QString name = u"Jérôme's relay"_s;
    return {
        keyA, AdvertType::repeaterNode, 0x05,       2,        hex("3c4d").leftJustified(64, '\0'),
        name, at(1'699'990'000),        -33.865143, 151.2099, at(1'699'999'999)};
}

void row(const char* name, const QByteArray& frame, const MeshEvent& expected) {
    QTest::newRow(name) << frame << expected;
}

} // namespace

// Every encoder, decoded by the client's decoder, gives back what it encoded.
// This also checks the decoder's tables from the other side.
class TestRadioFrames : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void roundTrip_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<MeshEvent>("expected");

        row("ok", okFrame(), Events::Ok{});
        row("ok with value", okFrame(0xDEADBEEF), Events::Ok{0xDEADBEEF});
        row("error without code", errorFrame(std::nullopt), Events::Error{});
        row("error tableFull", errorFrame(DeviceError::tableFull),
            Events::Error{DeviceError::tableFull});

        const SelfInfo self{AdvertType::chat, 20,   22, keyA, 60.169856,        -24.938379, true,
                            869.525,          62.5, 11, 5,    u"Mökki 🌲 base"_s};
        row("selfInfo", selfInfoFrame(self), Events::SelfInfo{self});

        const DeviceInfo device{8, u"12 Mar 2025"_s, u"Heltec V3"_s};
        row("deviceInfo", deviceInfoFrame(device), Events::DeviceInfo{device});
        // A build date longer than its 12-byte field loses its tail, the model
        // after it is unaffected.
        row("deviceInfo, long build date", deviceInfoFrame({7, u"2025-03-12 10:00"_s, u"T"_s}),
            Events::DeviceInfo{{7, u"2025-03-12 1"_s, u"T"_s}});
        const BatteryInfo full{4012, 96, 1984};
        row("battery with storage", batteryFrame(full), Events::Battery{full});
        const BatteryInfo voltageOnly{3650, std::nullopt, std::nullopt};
        row("battery without storage", batteryFrame(voltageOnly), Events::Battery{voltageOnly});
        row("currentTime", currentTimeFrame(at(1'700'000'123)),
            Events::CurrentTime{at(1'700'000'123)});

        row("contactsStart", contactsStartFrame(7), Events::ContactsStart{7});
        const Contact contact = sampleContact();
        row("contact", contactFrame(contact), Events::Contact{contact});
        const Contact pathless{keyA,         AdvertType::none,   0x05, -1, QByteArray(64, '\0'),
                               contact.name, contact.lastAdvert, 0,    0,  contact.lastModified};
        row("contact without path", contactFrame(pathless), Events::Contact{pathless});
        // A name longer than its field is cut, the fields after it keep their place.
        Contact longName = contact;
        longName.name = u"A name much longer than thirty-two bytes"_s;
        Contact cut = longName;
        cut.name = fieldText(longName.name, 32);
        row("contact, long name", contactFrame(longName), Events::Contact{cut});
        row("newAdvert", contactFrame(contact, Code::newAdvert), Events::NewAdvert{contact});
        row("endOfContacts", endOfContactsFrame(1'700'000'000),
            Events::EndOfContacts{1'700'000'000});

        row("messageSent", messageSentFrame(-1, 0x89ABCDEF, 16000),
            Events::MessageSent{-1, 0x89ABCDEF, 16000});
        row("contactMessage with snr",
            contactMessageFrame(keyA, 3, 0, at(1'700'000'001), u"hei 👋"_s, -7.5),
            Events::ContactMessage{prefix, 3, 0, at(1'700'000'001), u"hei 👋"_s, -7.5});
        row("signed contactMessage with snr",
            contactMessageFrame(prefix, 255, signedTextType, at(5), u"signed"_s, 12.25),
            Events::ContactMessage{prefix, 255, 2, at(5), u"signed"_s, 12.25});
        row("old contactMessage",
            contactMessageFrame(prefix, 1, 0, at(9), u"old form"_s, std::nullopt),
            Events::ContactMessage{prefix, 1, 0, at(9), u"old form"_s, {}});
        row("channelMessage with snr",
            channelMessageFrame(3, 2, 0, at(1'700'000'002), u"Aino: moi"_s, 4.25),
            Events::ChannelMessage{3, 2, 0, at(1'700'000'002), u"Aino: moi"_s, 4.25});
        row("old channelMessage", channelMessageFrame(-128, 0, 0, at(1), u"edge"_s, std::nullopt),
            Events::ChannelMessage{-128, 0, 0, at(1), u"edge"_s, {}});
        row("noMoreMessages", noMoreMessagesFrame(), Events::NoMoreMessages{});

        const Channel channel{5, u"#lora"_s, u"00112233445566778899aabbccddeeff"_s};
        row("channelInfo", channelInfoFrame(channel), Events::ChannelInfo{channel});

        DeviceStats core;
        core.batteryMilliVolts = 3987;
        core.uptimeSeconds = 86'461;
        core.txQueueLength = 2;
        row("stats core", statsFrame(0, core), Events::Stats{core});
        DeviceStats radio;
        radio.noiseFloor = -112;
        radio.lastRSSI = -71;
        radio.lastSNR = -3.75;
        radio.txAirtimeSeconds = 410;
        radio.rxAirtimeSeconds = 2160;
        row("stats radio", statsFrame(1, radio), Events::Stats{radio});
        DeviceStats packets;
        packets.packetsReceived = 1200;
        packets.packetsSent = 300;
        packets.sentFlood = 200;
        packets.sentDirect = 100;
        packets.receivedFlood = 1100;
        packets.receivedDirect = 100;
        row("stats packets", statsFrame(2, packets), Events::Stats{packets});

        row("advert", advertFrame(keyA), Events::Advert{keyA});
        row("pathUpdated", pathUpdatedFrame(keyA), Events::PathUpdated{keyA});
        row("sendConfirmed", sendConfirmedFrame(255, 900), Events::SendConfirmed{255, 900});
        row("messagesWaiting", messagesWaitingFrame(), Events::MessagesWaiting{});
        row("loginSuccess", loginSuccessFrame(keyA), Events::LoginSuccess{prefix});
        row("loginFailed", loginFailedFrame(prefix), Events::LoginFailed{prefix});
        row("statusResponse", statusResponseFrame(keyA, hex("0102ff")),
            Events::StatusResponse{prefix, hex("0102ff")});
    }
    void roundTrip() {
        QFETCH(QByteArray, frame);
        QFETCH(MeshEvent, expected);
        const MeshEvent decoded = MeshProtocol::decode(frame);
        QCOMPARE(eventName(decoded), eventName(expected));
        QVERIFY2(decoded == expected, qPrintable(MeshProtocol::hexString(frame)));
    }

    // Lengths and a few fixed bytes, so that a decoder and an encoder that
    // agree on a wrong layout still fail.
    void layout_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("ok with value") << okFrame(0x01020304) << hex("00 04030201");
        QTest::newRow("error") << errorFrame(DeviceError::illegalArgument) << hex("01 06");
        QTest::newRow("messageSent")
            << messageSentFrame(1, 0xAABBCCDD, 0x3E80) << hex("06 01 ddccbbaa 803e0000");
        QTest::newRow("sendConfirmed")
            << sendConfirmedFrame(0x11223344, 1500) << hex("82 44332211 dc050000");
        QTest::newRow("channelMessage with snr")
            << channelMessageFrame(1, 2, 0, at(0x10203040), u"A"_s, -1.0)
            << hex("11 fc 0000 01 02 00 40302010 41");
        QTest::newRow("contactMessage with snr")
            << contactMessageFrame(keyA, 0, 0, at(1), u"B"_s, 2.0)
            << hex("10 08 0000 a1b2c3d4e5f6 00 00 01000000 42");
        QTest::newRow("stats core")
            << statsFrame(0, DeviceStats{}) << hex("18 00 0000 00000000 00");
    }
    void layout() {
        QFETCH(QByteArray, frame);
        QFETCH(QByteArray, expected);
        QCOMPARE(frame.toHex(' '), expected.toHex(' '));
    }
};

QTEST_GUILESS_MAIN(TestRadioFrames)
#include "test_radio_frames.moc"
