#include "frame_json.h"
#include "protocol/mesh_protocol.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

namespace {

bool isHexText(const QString& text, qsizetype maxDigits) {
    static const QRegularExpression lowerHex(QStringLiteral("^([0-9a-f]{2})*$"));
    return text.size() <= maxDigits && lowerHex.match(text).hasMatch();
}

// What must hold for any frame, whatever its bytes: the frame decodes the
// same way twice, renders, and the hex and byte fields stay within the
// widths of their wire fields.
void checkFrame(const QByteArray& frame) {
    const MeshEvent event = MeshProtocol::decode(frame);
    QVERIFY(event == MeshProtocol::decode(frame));
    QVERIFY(!FrameJson::render(event).isEmpty());

    if (const auto* e = std::get_if<Events::Contact>(&event)) {
        QVERIFY(isHexText(e->contact.publicKey, 64));
        QVERIFY(e->contact.outPath.size() <= 64);
        QVERIFY(e->contact.name.toUtf8().size() <= 32 * 3); // every bad byte may become U+FFFD
    } else if (const auto* e = std::get_if<Events::NewAdvert>(&event)) {
        QVERIFY(isHexText(e->newAdvert.publicKey, 64));
        QVERIFY(e->newAdvert.outPath.size() <= 64);
    } else if (const auto* e = std::get_if<Events::SelfInfo>(&event)) {
        QVERIFY(isHexText(e->selfInfo.publicKey, 64));
    } else if (const auto* e = std::get_if<Events::ContactMessage>(&event)) {
        QVERIFY(isHexText(e->prefix, 12));
    } else if (const auto* e = std::get_if<Events::ChannelMessage>(&event)) {
        QVERIFY(e->channelIndex >= -128 && e->channelIndex <= 127);
    } else if (const auto* e = std::get_if<Events::ChannelInfo>(&event)) {
        QVERIFY(e->channelInfo.index >= 0 && e->channelInfo.index <= 255);
        QVERIFY(isHexText(e->channelInfo.secretHex, 2 * frame.size()));
    } else if (const auto* e = std::get_if<Events::StatusResponse>(&event)) {
        QVERIFY(isHexText(e->prefix, 12));
        QCOMPARE(e->data.size(), qMax<qsizetype>(0, frame.size() - 8));
    } else if (const auto* e = std::get_if<Events::Unhandled>(&event)) {
        QCOMPARE(e->code, frame.isEmpty() ? 0 : std::uint8_t(frame.at(0)));
    }
}

} // namespace

class TestDecoderRobustness : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Every code at every length a frame can have and beyond, with three
    // kinds of filling: all zeros, all ones, and noise.
    void everyCodeAtEveryLength() {
        QRandomGenerator random(20240611);
        for (int code = 0; code < 256; ++code) {
            for (int length = 0; length <= 400; ++length) {
                QByteArray noise(length, '\0');
                for (char& byte : noise)
                    byte = char(random.bounded(256));
                for (QByteArray frame :
                     {QByteArray(length, '\0'), QByteArray(length, '\xff'), noise}) {
                    if (length > 0)
                        frame[0] = char(code);
                    checkFrame(frame);
                    if (QTest::currentTestFailed())
                        QFAIL(qPrintable(
                            QStringLiteral("frame %1").arg(QString::fromLatin1(frame.toHex()))));
                }
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestDecoderRobustness)
#include "test_decoder_robustness.moc"
