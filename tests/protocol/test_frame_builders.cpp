#include "protocol/mesh_protocol.h"
#include "test_support.h"

#include <QTest>

using namespace MeshProtocol;
using TestSupport::hex;

namespace {

QByteArray repeated(char byte, qsizetype count) {
    return QByteArray(count, byte);
}

// A recognisable 32-byte key: 00 01 02 ... 1f.
QByteArray sampleKey() {
    QByteArray key;
    for (int i = 0; i < 32; ++i)
        key.append(char(i));
    return key;
}

} // namespace

class TestFrameBuilders : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void frames_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QByteArray>("expected");

        const QByteArray key = sampleKey();

        QTest::newRow("app start") << appStart(QLatin1String(applicationName))
                                   << hex("01 01 000000000000 54616c76656e6e652d6d61634f53");
        QTest::newRow("device query") << deviceQuery(3) << hex("16 03");
        QTest::newRow("get contacts") << getContacts() << hex("04");
        QTest::newRow("set time") << setDeviceTime(0x65432178u) << hex("06 78214365");
        QTest::newRow("zero-hop advert") << sendSelfAdvert(0) << hex("07 00");
        QTest::newRow("flood advert") << sendSelfAdvert(1) << hex("07 01");
        QTest::newRow("set name utf-8")
            << setAdvertName(QString::fromUtf8("Åsa")) << hex("08 c385 73 61");
        QTest::newRow("sync next") << syncNextMessage() << hex("0a");
        QTest::newRow("tx power") << setTxPower(22) << hex("0c 16");
        QTest::newRow("tx power top") << setTxPower(255) << hex("0c ff");
        QTest::newRow("reset path") << resetPath(key) << hex("0d") + key;
        QTest::newRow("remove contact, long key cut at 32")
            << removeContact(key + hex("aabbcc")) << hex("0f") + key;
        QTest::newRow("share contact, short key stays short")
            << shareContact(hex("0102030405")) << hex("10 0102030405");
        QTest::newRow("reboot") << reboot() << hex("13 72 65 62 6f 6f 74");
        QTest::newRow("battery") << getBatteryAndStorage() << hex("14");
        QTest::newRow("get channel") << getChannel(255) << hex("1f ff");
        QTest::newRow("statistics packets") << getStatistics(2) << hex("38 02");

        const QByteArray secret = hex("00112233445566778899aabbccddeeff");
        QTest::newRow("set channel") << setChannel(3, QStringLiteral("abc"), secret)
                                     << hex("20 03 616263") + repeated(0, 29) + secret;
        QTest::newRow("clear channel")
            << setChannel(4, QString(), repeated(0, 16)) << hex("20 04") + repeated(0, 48);
        QTest::newRow("set channel, long secret cut")
            << setChannel(1, QStringLiteral("x"), secret + hex("01020304"))
            << hex("20 01 78") + repeated(0, 31) + secret;
        QTest::newRow("set channel, short secret padded")
            << setChannel(1, QStringLiteral("x"), hex("abcd"))
            << hex("20 01 78") + repeated(0, 31) + hex("abcd") + repeated(0, 14);

        QTest::newRow("direct text") << sendDirectText(key, 0x01020304u, QString::fromUtf8("hé"))
                                     << hex("02 00 00 04030201 000102030405 68 c3a9");
        QTest::newRow("direct text, empty")
            << sendDirectText(key, 0, QString()) << hex("02 00 00 00000000 000102030405");
        QTest::newRow("channel text") << sendChannelText(7, 0xAABBCCDDu, QStringLiteral("hi"))
                                      << hex("03 00 07 ddccbbaa 6869");

        const QByteArray contactTail = hex("ff") + repeated(0, 64);
        QTest::newRow("add contact")
            << addOrUpdateContact(key, AdvertType::repeaterNode, QStringLiteral("Relay"),
                                  0x11223344u)
            << hex("09") + key + hex("02 00") + contactTail + QByteArray("Relay") +
                   repeated(0, 27) + hex("44332211 00000000 00000000");
        QTest::newRow("add contact, short key padded")
            << addOrUpdateContact(hex("abcdef"), AdvertType::chat, QStringLiteral("A"), 1)
            << hex("09 abcdef") + repeated(0, 29) + hex("01 00") + contactTail + QByteArray("A") +
                   repeated(0, 31) + hex("01000000 00000000 00000000");
        const QByteArray forty("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMN");
        QTest::newRow("add contact, 40-character name fills the field")
            << addOrUpdateContact(key, AdvertType::chat, QString::fromLatin1(forty), 0)
            << hex("09") + key + hex("01 00") + contactTail + forty.left(32) + repeated(0, 12);
        // 31 ASCII bytes and a two-byte character: the field ends after its first byte.
        QTest::newRow("add contact, name cut inside a character")
            << addOrUpdateContact(key, AdvertType::sensor,
                                  QString(31, QLatin1Char('n')) + QString::fromUtf8("é"), 0)
            << hex("09") + key + hex("04 00") + contactTail + QByteArray(31, 'n') + hex("c3") +
                   repeated(0, 12);
    }
    void frames() {
        QFETCH(QByteArray, frame);
        QFETCH(QByteArray, expected);
        QCOMPARE(frame.toHex(' '), expected.toHex(' '));
    }

    void bytesFromHex_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("trimmed") << " 0aFF\n" << true << hex("0a ff");
        QTest::newRow("empty") << "" << true << QByteArray();
        QTest::newRow("odd length") << "abc" << false << QByteArray();
        QTest::newRow("not hex") << "zz" << false << QByteArray();
        QTest::newRow("bad second pair") << "00g0" << false << QByteArray();
        QTest::newRow("inner space") << "0a 0b" << false << QByteArray();
        QTest::newRow("inner space, even") << "0a  0b" << false << QByteArray();
        QTest::newRow("plus sign") << "+f0a" << true << hex("0f 0a");
        QTest::newRow("minus zero") << "-0" << true << hex("00");
        QTest::newRow("minus non-zero") << "-1" << false << QByteArray();
        QTest::newRow("sign second") << "1+" << false << QByteArray();
        QTest::newRow("prefix 0x") << "0x12" << false << QByteArray();
        QTest::newRow("fullwidth digits") << QString::fromUtf8("０１") << false << QByteArray();
    }
    void bytesFromHex() {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        QFETCH(QByteArray, bytes);
        const auto result = MeshProtocol::bytesFromHex(text);
        QCOMPARE(result.has_value(), valid);
        if (valid)
            QCOMPARE(*result, bytes);
    }

    // Lower-case pairs out, either case back in.
    void hexRoundTrip() {
        QByteArray all;
        for (int i = 0; i < 256; ++i)
            all.append(char(i));
        const QString text = MeshProtocol::hexString(all);
        QCOMPARE(text.size(), 512);
        QCOMPARE(text.left(24), QStringLiteral("000102030405060708090a0b"));
        QCOMPARE(MeshProtocol::bytesFromHex(text), std::optional(all));
        QCOMPARE(MeshProtocol::bytesFromHex(text.toUpper()), std::optional(all));
        QCOMPARE(MeshProtocol::hexString({}), QString());
    }
};

QTEST_GUILESS_MAIN(TestFrameBuilders)
#include "test_frame_builders.moc"
