#include "frame_json.h"
#include "frames_cli.h"
#include "protocol/mesh_protocol.h"
#include "test_support.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

using TestSupport::hex;
using namespace Qt::StringLiterals;

namespace {

struct Outcome {
    int status = 0;
    QString out;
    QString err;
};

Outcome runCli(const QStringList& arguments) {
    Outcome outcome;
    QTextStream out(&outcome.out);
    QTextStream err(&outcome.err);
    outcome.status = FramesCli::run(arguments, out, err);
    out.flush();
    err.flush();
    return outcome;
}

// JSON written with single quotes, which read more easily inside C++ strings.
QString json(const char* text) {
    return QString::fromUtf8(text).replace(QLatin1Char('\''), QLatin1Char('"'));
}

const QString key =
    QStringLiteral("c0ffee00112233445566778899aabbccddeeff00112233445566778899aabbcc");

} // namespace

class TestFramesTool : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void render_data() {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<QString>("json");

        QTest::newRow("ok without value") << hex("00") << json("{'event':'ok'}");
        QTest::newRow("error with code")
            << hex("01 03") << json("{'event':'error','code':'tableFull'}");
        QTest::newRow("error without code") << hex("01 63") << json("{'event':'error'}");
        QTest::newRow("unhandled") << hex("fe 01") << json("{'event':'unhandled','code':254}");
        QTest::newRow("current time")
            << hex("09 80f3ff67") << json("{'event':'currentTime','time':1744827264}");
        QTest::newRow("message sent")
            << hex("06 ff 44332211 e8030000")
            << json("{'event':'messageSent','result':-1,'expectedAck':287454020,"
                    "'estimatedTimeoutMillis':1000}");
        QTest::newRow("direct message with snr")
            << hex("10 f6 0000 c0ffee001122 03 00 04030201") + "say \"hi\""
            << json("{'event':'contactMessage','prefix':'c0ffee001122','pathLength':3,'textType':0,"
                    "'timestamp':16909060,'text':'say \\'hi\\'','snr':-2.5}");
        QTest::newRow("channel message without snr")
            << hex("08 80 ff 00 01000000") + QString::fromUtf8("ö").toUtf8()
            << json("{'event':'channelMessage','channelIndex':-128,'pathLength':255,"
                    "'textType':0,'timestamp':1,'text':'ö'}");
        QTest::newRow("battery, storage absent")
            << hex("0c 100e") << json("{'event':'battery','battery':{'milliVolts':3600}}");
        QTest::newRow("battery, storage above 2^31 KB stays unsigned")
            << hex("0c 100e 00000080 ffffffff")
            << json("{'event':'battery','battery':{'milliVolts':3600,"
                    "'usedStorageKB':2147483648,'totalStorageKB':4294967295}}");
        QTest::newRow("radio stats")
            << hex("18 01 88ff a6 ef 64000000 04030201")
            << json("{'event':'stats','stats':{'noiseFloor':-120,'lastRSSI':-90,'lastSNR':-4.25,"
                    "'txAirtimeSeconds':100,'rxAirtimeSeconds':16909060}}");
        QTest::newRow("channel info")
            << hex("12 00") + QByteArray("Public") + QByteArray(26, '\0') + hex("8b3387e9c5cdea6a")
            << json("{'event':'channelInfo','channelInfo':{'index':0,'name':'Public',"
                    "'secretHex':'8b3387e9c5cdea6a'}}");
        QTest::newRow("status response")
            << hex("87 00 c0ffee001122 00ff")
            << json("{'event':'statusResponse','prefix':'c0ffee001122','data':'00ff'}");
        QTest::newRow("contact")
            << hex("03") + *MeshProtocol::bytesFromHex(key) + hex("02 01 02 aabb") +
                   QByteArray(62, '\0') + QByteArray("Hill") + QByteArray(28, '\0') +
                   hex("01000000 40ca1003 c0f0f6ff 02000000")
            << json("{'event':'contact','contact':{'publicKey':'%1','type':'repeaterNode',"
                    "'flags':1,'outPathLength':2,'outPath':'aabb%2','name':'Hill',"
                    "'lastAdvert':1,'latitude':51.432,'longitude':-0.593728,'lastModified':2}}")
                   .arg(key, QString(124, QLatin1Char('0')));
    }
    void render() {
        QFETCH(QByteArray, frame);
        QFETCH(QString, json);
        const QByteArray rendered = FrameJson::render(MeshProtocol::decode(frame));
        QCOMPARE(QString::fromUtf8(rendered), json);
        // Whatever the member order, it is one valid JSON object.
        QJsonParseError error;
        QVERIFY(QJsonDocument::fromJson(rendered, &error).isObject());
    }

    // Each frame on its line; a bad frame among good ones costs only its own.
    void decodeSeveralFrames() {
        const Outcome outcome = runCli({"decode", "00 01020304", "xyz1", "83", "0 1 0 3"});
        QCOMPARE(outcome.status, FramesCli::badInput);
        QCOMPARE(outcome.out, QStringLiteral("{\"event\":\"ok\",\"value\":67305985}\n"
                                             "{\"event\":\"messagesWaiting\"}\n"
                                             "{\"event\":\"error\",\"code\":\"tableFull\"}\n"));
        QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
        QVERIFY(outcome.err.contains(QLatin1String("xyz1")));
    }

    void build_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("frame");
        const QString zeros = QString(64, u'0');
        QTest::newRow("app start") << QStringList{"app-start", "Talvenne-macOS"}
                                   << u"010100000000000054616c76656e6e652d6d61634f53"_s;
        QTest::newRow("device query") << QStringList{"device-query", "3"} << u"1603"_s;
        QTest::newRow("set time") << QStringList{"set-time", "4294967295"} << u"06ffffffff"_s;
        QTest::newRow("tx power") << QStringList{"set-tx-power", "255"} << u"0cff"_s;
        QTest::newRow("remove contact") << QStringList{"remove-contact", key} << "0f" + key;
        QTest::newRow("send text") << QStringList{"send-text", key, "16909060", "hi"}
                                   << u"02000004030201c0ffee0011226869"_s;
        QTest::newRow("channel text")
            << QStringList{"send-channel-text", "2", "1", "yo"} << u"03000201000000796f"_s;
        QTest::newRow("set channel")
            << QStringList{"set-channel", "1", "", "00112233445566778899aabbccddeeff"}
            << "2001" + zeros + "00112233445566778899aabbccddeeff";
        QTest::newRow("add contact") << QStringList{"add-contact", key, "2", "Hill", "1"}
                                     << "09" + key + "0200ff" + zeros + zeros + "48696c6c" +
                                            zeros.left(56) + "01000000" + zeros.left(16);
    }
    void build() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, frame);
        const Outcome outcome = runCli(QStringList{"build"} + arguments);
        QCOMPARE(outcome.err, QString());
        QCOMPARE(outcome.status, 0);
        QCOMPARE(outcome.out, frame + '\n');
    }

    void badInput_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("odd hex") << QStringList{"decode", "010"};
        QTest::newRow("no frames") << QStringList{"decode"};
        QTest::newRow("unknown mode") << QStringList{"encode", "00"};
        QTest::newRow("unknown builder") << QStringList{"build", "self-destruct"};
        QTest::newRow("no builder") << QStringList{"build"};
        QTest::newRow("missing argument") << QStringList{"build", "get-channel"};
        QTest::newRow("extra argument") << QStringList{"build", "reboot", "now"};
        QTest::newRow("byte too large") << QStringList{"build", "get-channel", "256"};
        QTest::newRow("negative byte") << QStringList{"build", "set-tx-power", "-1"};
        QTest::newRow("not a number") << QStringList{"build", "get-stats", "core"};
        QTest::newRow("seconds too large") << QStringList{"build", "set-time", "4294967296"};
        QTest::newRow("bad key") << QStringList{"build", "reset-path", "abc"};
        QTest::newRow("bad secret") << QStringList{"build", "set-channel", "1", "x", "zz"};
        QTest::newRow("unknown type code")
            << QStringList{"build", "add-contact", key, "5", "A", "0"};
    }
    void badInput() {
        QFETCH(QStringList, arguments);
        const Outcome outcome = runCli(arguments);
        QCOMPARE(outcome.status, FramesCli::badInput);
        QCOMPARE(outcome.out, QString());
        QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
        QVERIFY(outcome.err.endsWith(QLatin1Char('\n')));
    }

    void usage() {
        for (const QStringList& arguments : {QStringList(), QStringList{"--help"}}) {
            const Outcome outcome = runCli(arguments);
            QCOMPARE(outcome.status, 0);
            QVERIFY(outcome.out.startsWith(QLatin1String("Usage:")));
            QVERIFY(outcome.out.contains(QLatin1String("send-channel-text INDEX SECONDS TEXT")));
        }
    }

    void executable() {
        QProcess process;
        process.start(QStringLiteral(TALVENNE_FRAMES_BIN),
                      {QStringLiteral("decode"), QStringLiteral("01 03"), QStringLiteral("abc")});
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 2);
        QCOMPARE(process.readAllStandardOutput(),
                 QByteArray("{\"event\":\"error\",\"code\":\"tableFull\"}\n"));
        QCOMPARE(process.readAllStandardError().count('\n'), 1);

        process.start(QStringLiteral(TALVENNE_FRAMES_BIN),
                      {QStringLiteral("build"), QStringLiteral("reboot")});
        QVERIFY(process.waitForFinished(30000));
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardOutput(), QByteArray("137265626f6f74\n"));
    }
};

QTEST_GUILESS_MAIN(TestFramesTool)
#include "test_frames_tool.moc"
