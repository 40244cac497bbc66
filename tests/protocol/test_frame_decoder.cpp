#include "frame_json.h"
#include "protocol/mesh_protocol.h"
#include "test_support.h"

#include <QTest>
#include <set>

Q_DECLARE_METATYPE(MeshEvent)

using namespace MeshProtocol;
using TestSupport::hex;
using namespace Qt::StringLiterals;

namespace {

QByteArray zeros(qsizetype count) {
    return QByteArray(count, '\0');
}

QDateTime at(qint64 seconds) {
    return QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
}

const QByteArray keyBytes = hex("c0ffee00112233445566778899aabbccddeeff00112233445566778899aabbcc");
const QString keyText =
    QStringLiteral("c0ffee00112233445566778899aabbccddeeff00112233445566778899aabbcc");

// One contact record after its code byte, laid out field by field.
QByteArray contactBody(const QByteArray& type, const QByteArray& pathLength,
                       const QByteArray& nameField) {
    QByteArray path = hex("0a0b0c") + zeros(61);
    return keyBytes + type + hex("05") + pathLength + path + nameField +
           hex("10325476")    // last advert 0x76543210
           + hex("40ca1003")  // latitude 51 432 000
           + hex("c0f0f6ff")  // longitude -593 728
           + hex("00e1f505"); // last modified 100 000 000
}

::Contact expectedContact(MeshProtocol::AdvertType type, std::int8_t pathLength,
                          const QString& name) {
    return {keyText, type,           5,      pathLength, hex("0a0b0c") + zeros(61),
            name,    at(0x76543210), 51.432, -0.593728,  at(100000000)};
}

QByteArray nameField(const QByteArray& name) {
    return name + zeros(32 - name.size());
}

} // namespace

class TestFrameDecoder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void decode_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<MeshEvent>("expected");

        auto row = [](const char* name, const QByteArray& frame, const MeshEvent& event) {
            QTest::newRow(name) << frame << event;
        };

        row("empty frame", QByteArray(), Events::Unhandled{0});
        row("ok alone", hex("00"), Events::Ok{});
        row("ok with three bytes", hex("00 010203"), Events::Ok{});
        row("ok with value", hex("00 01020304"), Events::Ok{0x04030201u});
        row("error alone", hex("01"), Events::Error{});
        row("error table full", hex("01 03"), Events::Error{DeviceError::tableFull});
        row("error unknown code", hex("01 09"), Events::Error{});
        row("contacts start", hex("02 2c010000"), Events::ContactsStart{300});
        row("contacts start, short", hex("02 2c01"), Events::ContactsStart{300});
        row("end of contacts, short", hex("04 0102"), Events::EndOfContacts{0});
        row("end of contacts", hex("04 ffffffff"), Events::EndOfContacts{0xFFFFFFFFu});
        row("message sent", hex("06 fe 44332211 e8030000"),
            Events::MessageSent{-2, 0x11223344u, 1000});
        row("current time", hex("09 80f3ff67"), Events::CurrentTime{at(0x67fff380)});
        row("current time, empty", hex("09"), Events::CurrentTime{at(0)});
        row("no more messages", hex("0a"), Events::NoMoreMessages{});
        row("messages waiting", hex("83 ffff"), Events::MessagesWaiting{});

        row("battery, voltage only", hex("0c 100e"), Events::Battery{{3600, {}, {}}});
        row("battery, seven more bytes", hex("0c 100e 01000000 020000"),
            Events::Battery{{3600, {}, {}}});
        row("battery with storage", hex("0c 100e 01000000 00020000"),
            Events::Battery{{3600, 1, 512}});
        row("battery, one byte", hex("0c 10"), Events::Battery{{16, {}, {}}});
        // Storage is unsigned on the wire; the top bit is no sign.
        row("battery, storage above 2^31 KB", hex("0c 100e 00000080 ffffffff"),
            Events::Battery{{3600, 0x80000000u, 0xFFFFFFFFu}});

        row("device info", hex("0d 08 010203040506") + QByteArray("12 Mar 2025\0", 12) + "T-Beam",
            Events::DeviceInfo{{8, "12 Mar 2025", "T-Beam"}});
        row("device info, full date field", hex("0d ff 000000000000") + "123456789012X",
            Events::DeviceInfo{{-1, "123456789012", "X"}});
        row("device info, short", hex("0d 02 0000"), Events::DeviceInfo{{2, "", ""}});

        Events::ContactMessage direct{"c0ffee001122", 255, 0, at(0x01020304), "hi there", {}};
        row("direct message", hex("07 c0ffee001122 ff 00 04030201") + "hi there", direct);
        Events::ContactMessage signedDirect{"c0ffee001122", 1, 2, at(0x01020304), "hi", {}};
        row("signed direct message drops four bytes",
            hex("07 c0ffee001122 01 02 04030201 deadbeef") + "hi", signedDirect);
        Events::ContactMessage withZero{
            "c0ffee001122", 0, 0, at(1), QString::fromUtf8("a\0b", 3), {}};
        row("direct message keeps zero bytes", hex("07 c0ffee001122 00 00 01000000 610062"),
            withZero);
        Events::ContactMessage badUtf8{"c0ffee001122", 0, 0, at(1), QStringLiteral("a\uFFFDb"), {}};
        row("direct message invalid utf-8", hex("07 c0ffee001122 00 00 01000000 61ff62"), badUtf8);
        Events::ContactMessage shortPrefix{"c0ff", 0, 0, at(0), "", {}};
        row("direct message, short", hex("07 c0ff"), shortPrefix);
        Events::ContactMessage withSnr{"c0ffee001122", 3, 0, at(0x01020304), "yo", -2.5};
        row("direct message with snr", hex("10 f6 0000 c0ffee001122 03 00 04030201") + "yo",
            withSnr);
        Events::ContactMessage signedWithSnr{"c0ffee001122", 3, 2, at(5), "yo", 7.75};
        row("signed direct message with snr",
            hex("10 1f 0000 c0ffee001122 03 02 05000000 01020304") + "yo", signedWithSnr);
        row("direct message with snr, alone", hex("10"),
            Events::ContactMessage{"", 0, 0, at(0), "", 0.0});

        Events::ChannelMessage channel{-128, 255, 0, at(0x01020304), "hello all", {}};
        row("channel message", hex("08 80 ff 00 04030201") + "hello all", channel);
        Events::ChannelMessage signedChannel{2,
                                             0,
                                             2,
                                             at(1),
                                             QString::fromLatin1("\x01\x02"
                                                                 "ab"),
                                             {}};
        row("signed channel message keeps its bytes", hex("08 02 00 02 01000000 0102 6162"),
            signedChannel);
        Events::ChannelMessage channelSnr{1, 2, 0, at(0x01020304), "hey", 31.75};
        row("channel message with snr", hex("11 7f 0000 01 02 00 04030201") + "hey", channelSnr);
        row("channel message with snr, alone", hex("11"),
            Events::ChannelMessage{0, 0, 0, at(0), "", 0.0});

        row("channel info",
            hex("12 03") + nameField("#test") + hex("00112233445566778899aabbccddeeff"),
            Events::ChannelInfo{{3, "#test", "00112233445566778899aabbccddeeff"}});
        row("channel info, high index, no secret", hex("12 fa") + nameField(""),
            Events::ChannelInfo{{250, "", ""}});
        row("channel info, short name", hex("12 01 4142"), Events::ChannelInfo{{1, "AB", ""}});

        row("advert", hex("80") + keyBytes, Events::Advert{keyText});
        row("advert, short key", hex("80 c0ffee"), Events::Advert{"c0ffee"});
        row("path updated", hex("81") + keyBytes + hex("99"), Events::PathUpdated{keyText});
        row("send confirmed", hex("82 efbeadde 2c010000"), Events::SendConfirmed{0xDEADBEEFu, 300});
        row("login success", hex("85 00 c0ffee001122 3344"), Events::LoginSuccess{"c0ffee001122"});
        row("login failed", hex("86 01 c0ffee001122"), Events::LoginFailed{"c0ffee001122"});
        row("status response", hex("87 00 c0ffee001122 000102ff"),
            Events::StatusResponse{"c0ffee001122", hex("000102ff")});
        row("status response, no data", hex("87 00 c0ffee"), Events::StatusResponse{"c0ffee", {}});

        row("contact", hex("03") + contactBody(hex("02"), hex("ff"), nameField("Hilltop")),
            Events::Contact{expectedContact(AdvertType::repeaterNode, -1, "Hilltop")});
        row("contact, path length 127",
            hex("03") + contactBody(hex("01"), hex("7f"), nameField("Bea")),
            Events::Contact{expectedContact(AdvertType::chat, 127, "Bea")});
        row("contact, unknown type",
            hex("03") + contactBody(hex("09"), hex("00"), nameField("Odd")),
            Events::Contact{expectedContact(AdvertType::none, 0, "Odd")});
        const QByteArray full("abcdefghijklmnopqrstuvwxyz012345");
        row("contact, name without terminator", hex("03") + contactBody(hex("03"), hex("02"), full),
            Events::Contact{expectedContact(AdvertType::room, 2, QString::fromLatin1(full))});
        row("contact, name cut at its zero byte",
            hex("03") +
                contactBody(hex("04"), hex("02"), nameField(QByteArray("Tempe\0rature", 12))),
            Events::Contact{expectedContact(AdvertType::sensor, 2, "Tempe")});
        row("new advert", hex("8a") + contactBody(hex("02"), hex("ff"), nameField("Hilltop")),
            Events::NewAdvert{expectedContact(AdvertType::repeaterNode, -1, "Hilltop")});

        // The records in their fields' order.
        row("contact cut after its type", hex("03") + keyBytes + hex("01"),
            Events::Contact{{keyText, AdvertType::chat, 0, 0, {}, {}, at(0), 0, 0, at(0)}});
        row("self info",
            hex("05 01 14 16") + keyBytes +
                hex("0034fbfd 54450309 aabbcc 01 95440d00 90d00300 0b 05") + "Åsa's radio",
            Events::SelfInfo{{AdvertType::chat, 20, 22, keyText, -33.8688, 151.2093, true, 869.525,
                              250.0, 11, 5, u"Åsa's radio"_s}});
        row("self info, unknown type, short", hex("05 c8 07"),
            Events::SelfInfo{{AdvertType::none, 7, 0, {}, 0, 0, false, 0, 0, 0, 0, {}}});

        // Statistics: the core group's fields, the radio group's, the packet group's.
        using S = DeviceStats;
        row("stats core", hex("18 00 0410 80510100 03"),
            Events::Stats{S{4100, 86400, 3, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}}});
        row("stats with no group byte", hex("18"),
            Events::Stats{S{0, 0, 0, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}}});
        row("stats core, short", hex("18 00 0410 51"),
            Events::Stats{S{4100, 0x51, 0, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}}});
        row("stats radio", hex("18 01 88ff a6 ef 64000000 04030201"),
            Events::Stats{
                S{{}, {}, {}, -120, -90, -4.25, 100, 0x01020304, {}, {}, {}, {}, {}, {}}});
        row("stats radio, short", hex("18 01 feff"),
            Events::Stats{S{{}, {}, {}, -2, 0, 0.0, 0, 0, {}, {}, {}, {}, {}, {}}});
        row("stats packets", hex("18 02 01000000 02000000 03000000 04000000 05000000 ffffffff"),
            Events::Stats{S{{}, {}, {}, {}, {}, {}, {}, {}, 1, 2, 3, 4, 5, 0xFFFFFFFFu}});
        row("stats unknown group", hex("18 03 01020304"), Events::Stats{});
    }
    void decode() {
        QFETCH(QByteArray, frame);
        QFETCH(MeshEvent, expected);
        const MeshEvent actual = MeshProtocol::decode(frame);
        QVERIFY2(actual == expected,
                 qPrintable(QStringLiteral("\n   got %1\nwanted %2")
                                .arg(QString::fromUtf8(FrameJson::render(actual)),
                                     QString::fromUtf8(FrameJson::render(expected)))));
    }

    // A frame shorter than its kind's fixed part was cut on its way (a small
    // MTU); one that ends where only texts or optional fields would follow
    // is whole. `frame` is padded with zeros to `size`.
    void isWhole_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("whole");
        const auto row = [](const char* name, const char* start, int size, bool whole) {
            QTest::newRow(name) << hex(start) << size << whole;
        };
        row("empty", "", 0, false);
        row("ok alone", "00", 1, true);
        row("contact cut at 20 bytes", "03", 20, false);
        row("contact", "03", 148, true);
        row("new advert cut", "8a", 147, false);
        row("self info without a name", "05", 58, true);
        row("self info cut", "05", 57, false);
        row("device info without a model", "0d", 20, true);
        row("direct message without text", "07", 13, true);
        row("signed direct message without the signer", "07 000000000000 01 02", 13, false);
        row("signed direct message", "07 000000000000 01 02", 17, true);
        row("direct message with signal, cut", "10", 15, false);
        row("channel message", "11", 11, true);
        row("channel info without its secret", "12", 34, true);
        row("channel info cut", "12", 20, false);
        row("message sent cut", "06", 9, false);
        row("send confirmed", "82", 9, true);
        row("stats with no group byte", "18", 1, true);
        row("stats core without queue length", "18 00", 8, true);
        row("stats core cut", "18 00", 5, false);
        row("stats packets cut", "18 02", 20, false);
        row("stats packets", "18 02", 26, true);
        row("current time cut", "09", 1, false);
        row("unknown code", "7f", 1, true);
    }
    void isWhole() {
        QFETCH(QByteArray, frame);
        QFETCH(int, size);
        QFETCH(bool, whole);
        frame.append(zeros(size - frame.size()));
        QCOMPARE(MeshProtocol::isWhole(frame), whole);
    }

    // Every code outside the two tables is reported as unhandled, carrying
    // the code, whatever follows it.
    void unknownCodesAreUnhandled() {
        const std::set<int> known{0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,
                                  0x09, 0x0A, 0x0C, 0x0D, 0x10, 0x11, 0x12, 0x18, 0x80,
                                  0x81, 0x82, 0x83, 0x85, 0x86, 0x87, 0x8A};
        for (int code = 0; code < 256; ++code) {
            for (const QByteArray& tail : {QByteArray(), hex("0102030405")}) {
                const MeshEvent event = MeshProtocol::decode(QByteArray(1, char(code)) + tail);
                const auto* unhandled = std::get_if<Events::Unhandled>(&event);
                if (known.count(code)) {
                    QVERIFY2(!unhandled, qPrintable(QString::number(code, 16)));
                } else {
                    QVERIFY2(unhandled, qPrintable(QString::number(code, 16)));
                    QCOMPARE(unhandled->code, code);
                }
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestFrameDecoder)
#include "test_frame_decoder.moc"
