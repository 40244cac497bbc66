// What a message bubble shows: its text in runs, a channel sender's name,
// badge and colour, the footer and the delivery report.
#include "ui/logic/channel_sender.h"
#include "ui/logic/delivery_report.h"
#include "ui/logic/text_segments.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QMetaEnum>
#include <QTest>

using namespace ViewLogic;
using State = ChatMessage::DeliveryState;

Q_DECLARE_METATYPE(ViewLogic::Tint)
Q_DECLARE_METATYPE(ChatMessage::DeliveryState)

using Segments = QList<TextSegment>;

namespace {

TextSegment P(const char* text) {
    return TextSegment::plain(QString::fromUtf8(text));
}
TextSegment M(const char* text) {
    return TextSegment::mention(QString::fromUtf8(text));
}
TextSegment L(const char* url) {
    return TextSegment::link(QString::fromUtf8(url), QString::fromUtf8(url));
}

QString describe(const Segments& segments) {
    QStringList parts;
    for (const TextSegment& s : segments) {
        const char* kind = s.kind == TextSegment::Kind::plain     ? "plain"
                           : s.kind == TextSegment::Kind::mention ? "mention"
                                                                  : "link";
        parts << QStringLiteral("%1«%2»").arg(QLatin1String(kind), s.text);
    }
    return parts.join(QLatin1Char(' '));
}

QString tintName(Tint tint) {
    return QString::fromLatin1(QMetaEnum::fromType<Tint>().valueToKey(int(tint)));
}

ChatMessage outgoing(State state) {
    ChatMessage message;
    message.direction = ChatMessage::Direction::outgoing;
    message.text = QStringLiteral("hi");
    message.deliveryState = state;
    message.timestamp = QDateTime(QDate(2024, 2, 3), QTime(14, 5, 9));
    return message;
}

} // namespace

class TestMessageText : public QObject {
    Q_OBJECT

    const QLocale english{QLocale::English, QLocale::UnitedKingdom};

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void segmentsSplitText_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Segments>("expected");

        QTest::newRow("empty") << QString() << Segments{};
        QTest::newRow("plain only") << QStringLiteral("hello there") << Segments{P("hello there")};
        QTest::newRow("bracket mention") << QStringLiteral("hi @[Bob Smith], ok")
                                         << Segments{P("hi "), M("@Bob Smith"), P(", ok")};
        QTest::newRow("bare mention ends at full stop")
            << QStringLiteral("see x@y.") << Segments{P("see x"), M("@y"), P(".")};
        QTest::newRow("lone at before space")
            << QStringLiteral("@ all") << Segments{P("@"), P(" all")};
        QTest::newRow("unclosed bracket")
            << QStringLiteral("a @[Bob and more") << Segments{P("a "), P("@[Bob and more")};
        QTest::newRow("empty bracket") << QStringLiteral("@[]") << Segments{M("@")};
        QTest::newRow("url keeps trailing dot")
            << QStringLiteral("go https://x.org/a. now")
            << Segments{P("go "), L("https://x.org/a."), P(" now")};
        QTest::newRow("http and closing parenthesis")
            << QStringLiteral("(http://a.b/c)") << Segments{P("("), L("http://a.b/c)")};
        QTest::newRow("upper-case scheme is text")
            << QStringLiteral("HTTPS://x.org") << Segments{P("HTTPS://x.org")};
        QTest::newRow("at inside url is not a mention")
            << QStringLiteral("https://u@host/p @me")
            << Segments{L("https://u@host/p"), P(" "), M("@me")};
        QTest::newRow("bare then bracket")
            << QStringLiteral("x @y @[Z]") << Segments{P("x "), M("@y"), P(" "), M("@Z")};
        QTest::newRow("bracket wins over its own at")
            << QStringLiteral("@[A]@b!") << Segments{M("@A"), M("@b"), P("!")};
        QTest::newRow("line feed ends mention")
            << QStringLiteral("@ann\nhi") << Segments{M("@ann"), P("\nhi")};
        QTest::newRow("url up to tab")
            << QStringLiteral("https://a.b\tc") << Segments{L("https://a.b"), P("\tc")};
        QTest::newRow("emoji name stays whole")
            << QStringLiteral("@\U0001F600x y") << Segments{M("@\U0001F600x"), P(" y")};
        QTest::newRow("accented at is not an at")
            << QStringLiteral("@\u0301bob") << Segments{P("@\u0301bob")};
    }

    void segmentsSplitText() {
        QFETCH(QString, text);
        QFETCH(Segments, expected);
        const Segments actual = segments(text);
        QCOMPARE(describe(actual), describe(expected));
        QCOMPARE(actual, expected);
    }

    void splitChannelSender_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("sender");
        QTest::addColumn<QString>("body");

        const QString forty(40, QLatin1Char('a'));
        const QString fortyOne(41, QLatin1Char('a'));
        QTest::newRow("sender") << QStringLiteral("Alice: hi") << QStringLiteral("Alice")
                                << QStringLiteral("hi");
        QTest::newRow("first separator only")
            << QStringLiteral("Bob: note: x") << QStringLiteral("Bob") << QStringLiteral("note: x");
        QTest::newRow("40 characters")
            << forty + QStringLiteral(": yo") << forty << QStringLiteral("yo");
        QTest::newRow("41 characters")
            << fortyOne + QStringLiteral(": yo") << QString() << fortyOne + QStringLiteral(": yo");
        // 40 emoji are 80 UTF-16 units but 40 characters.
        QString emoji;
        for (int i = 0; i < 40; ++i)
            emoji += QStringLiteral("\U0001F600");
        QTest::newRow("40 emoji") << emoji + QStringLiteral(": yo") << emoji
                                  << QStringLiteral("yo");
        QTest::newRow("line feed")
            << QStringLiteral("a\nb: c") << QString() << QStringLiteral("a\nb: c");
        QTest::newRow("empty candidate")
            << QStringLiteral(": hi") << QString() << QStringLiteral(": hi");
        QTest::newRow("colon without space")
            << QStringLiteral("a:b") << QString() << QStringLiteral("a:b");
        QTest::newRow("empty body") << QStringLiteral("Al: ") << QStringLiteral("Al") << QString();
    }

    void splitChannelSender() {
        QFETCH(QString, text);
        QFETCH(QString, sender);
        QFETCH(QString, body);
        const ChannelSender result = ViewLogic::splitChannelSender(text);
        QCOMPARE(result.sender, sender);
        QCOMPARE(result.body, body);
    }

    void senderColorIndex_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("index");
        // FNV-1a 32-bit: "" 0x811c9dc5, "foobar" 0xbf9cf968.
        QTest::newRow("empty") << QString() << 1;
        QTest::newRow("foobar") << QStringLiteral("foobar") << int(0xbf9cf968u % 12);
        // "é" hashes its two UTF-8 bytes c3 a9, not the UTF-16 unit.
        QTest::newRow("utf-8 bytes")
            << QStringLiteral("\u00e9")
            << int(((((0x811c9dc5u ^ 0xc3u) * 16777619u) ^ 0xa9u) * 16777619u) % 12);
    }

    void senderColorIndex() {
        QFETCH(QString, name);
        QFETCH(int, index);
        QCOMPARE(ViewLogic::senderColorIndex(name), index);
    }

    void senderBadge_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("badge");
        QTest::newRow("letter") << QStringLiteral("alice") << QStringLiteral("A");
        QTest::newRow("skips symbols") << QStringLiteral("  _-7bob") << QStringLiteral("7");
        QTest::newRow("emoji then letter")
            << QStringLiteral("\U0001F600zed") << QStringLiteral("Z");
        QTest::newRow("accented") << QStringLiteral("e\u0301mile") << QStringLiteral("E\u0301");
        QTest::newRow("none") << QStringLiteral("!!") << QStringLiteral("?");
        QTest::newRow("empty") << QString() << QStringLiteral("?");
    }

    void senderBadge() {
        QFETCH(QString, name);
        QFETCH(QString, badge);
        QCOMPARE(senderBadgeText(name), badge);
    }

    void snrTint_data() {
        QTest::addColumn<double>("snr");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("-5.1") << -5.1 << Tint::red;
        QTest::newRow("-5") << -5.0 << Tint::orange;
        QTest::newRow("4.75") << 4.75 << Tint::orange;
        QTest::newRow("5") << 5.0 << Tint::green;
    }

    void snrTint() {
        QFETCH(double, snr);
        QFETCH(Tint, tint);
        QCOMPARE(ViewLogic::snrTint(snr), tint);
    }

    // The delivery report's lines in order, each as "symbol, tint: text";
    // only what is known is listed, the timeout only while unconfirmed.
    void reportLines_data() {
        QTest::addColumn<ChatMessage>("message");
        QTest::addColumn<QStringList>("lines");
        const QString date = QStringLiteral("calendar, secondary: 3 Feb 2024 14:05:09");
        QTest::newRow("nothing optional")
            << outgoing(State::sending)
            << QStringList{QStringLiteral("clock, secondary: Sending…"), date};

        ChatMessage full = outgoing(State::sent);
        full.hopCount = 2;
        full.roundTripMillis = 1260;
        full.snr = -7.25;
        full.estimatedTimeoutMillis = 12000;
        QTest::newRow("sent with everything")
            << full
            << QStringList{QStringLiteral("checkmark, secondary: Sent, waiting for confirmation"),
                           QStringLiteral("arrow.triangle.swap, secondary: Relayed over 2 hops"),
                           QStringLiteral("timer, secondary: Round trip 1.3 s"),
                           QStringLiteral("antenna.radiowaves.left.and.right, red: "
                                          "Signal-to-noise -7.25 dB"),
                           QStringLiteral("hourglass, secondary: Expected within 12.0 s"),
                           date};
        ChatMessage delivered = full;
        delivered.deliveryState = State::delivered;
        delivered.hopCount = 1;
        delivered.snr = 6.25;
        QTest::newRow("delivered, one hop")
            << delivered
            << QStringList{QStringLiteral("checkmark.circle.fill, green: Delivered"),
                           QStringLiteral("arrow.triangle.swap, secondary: Relayed over 1 hop"),
                           QStringLiteral("timer, secondary: Round trip 1.3 s"),
                           QStringLiteral("antenna.radiowaves.left.and.right, green: "
                                          "Signal-to-noise 6.25 dB"),
                           date};
        ChatMessage failed = outgoing(State::failed);
        failed.hopCount = 0;
        QTest::newRow("failed, direct")
            << failed
            << QStringList{QStringLiteral("exclamationmark.triangle.fill, red: Failed to send"),
                           QStringLiteral("arrow.up.right, secondary: Direct, no hops"), date};
    }

    void reportLines() {
        QFETCH(ChatMessage, message);
        QStringList lines;
        for (const ReportLine& line : ViewLogic::reportLines(message, english))
            lines << QStringLiteral("%1, %2: %3")
                         .arg(line.symbol, tintName(line.tint), line.text.text());
        QTEST(lines, "lines");
    }

    void footerOfOutgoing_data() {
        QTest::addColumn<State>("state");
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<Tint>("tint");
        QTest::newRow("sending") << State::sending << QStringLiteral("clock") << Tint::secondary;
        QTest::newRow("sent") << State::sent << QStringLiteral("checkmark") << Tint::secondary;
        QTest::newRow("delivered")
            << State::delivered << QStringLiteral("checkmark.circle.fill") << Tint::green;
        QTest::newRow("failed") << State::failed << QStringLiteral("exclamationmark.triangle.fill")
                                << Tint::red;
    }

    void footerOfOutgoing() {
        QFETCH(State, state);
        QFETCH(QString, symbol);
        QFETCH(Tint, tint);
        ChatMessage message = outgoing(state);
        message.hopCount = 0;
        message.roundTripMillis = 2340;
        message.snr = 5;
        const BubbleFooter footer = bubbleFooter(message, english);
        QCOMPARE(footer.time, QStringLiteral("14:05"));
        QCOMPARE(footer.snr, QStringLiteral("\u00B7 5 dB"));
        QCOMPARE(footer.snrTint, Tint::green);
        QVERIFY(footer.outgoing);
        // The footer shows the hop count even for a direct delivery.
        QCOMPARE(footer.hops, QStringLiteral("0"));
        QCOMPARE(footer.roundTrip, QStringLiteral("\u00B7 2.3s"));
        QCOMPARE(footer.stateSymbol, symbol);
        QCOMPARE(footer.stateTint, tint);
    }

    void footerOfIncomingHasNoDeliveryParts() {
        ChatMessage message = outgoing(State::delivered);
        message.direction = ChatMessage::Direction::incoming;
        message.hopCount = 2;
        message.roundTripMillis = 100;
        const BubbleFooter footer = bubbleFooter(message, english);
        QVERIFY(!footer.outgoing);
        QVERIFY(!footer.snr);
        QVERIFY(!footer.hops);
        QVERIFY(!footer.roundTrip);
        QVERIFY(footer.stateSymbol.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestMessageText)
#include "test_message_text.moc"
