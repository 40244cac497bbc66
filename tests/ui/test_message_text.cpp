#include "ui/logic/channel_sender.h"
#include "ui/logic/text_segments.h"

#include <QTest>

using namespace ViewLogic;

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

} // namespace

class TestMessageText : public QObject {
    Q_OBJECT

private Q_SLOTS:
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
        QTest::newRow("mention glued to word")
            << QStringLiteral("a@b") << Segments{P("a"), M("@b")};
        QTest::newRow("at before comma") << QStringLiteral("@,") << Segments{P("@"), P(",")};
        QTest::newRow("bare then bracket")
            << QStringLiteral("x @y @[Z]") << Segments{P("x "), M("@y"), P(" "), M("@Z")};
        QTest::newRow("bracket wins over its own at")
            << QStringLiteral("@[A]@b!") << Segments{M("@A"), M("@b"), P("!")};
        QTest::newRow("line feed ends mention")
            << QStringLiteral("@ann\nhi") << Segments{M("@ann"), P("\nhi")};
        QTest::newRow("question mark ends mention")
            << QStringLiteral("@bo? ok") << Segments{M("@bo"), P("? ok")};
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

    void linksCarryTheirUrl() {
        const Segments result = segments(QStringLiteral("https://example.org/x?y=1"));
        QCOMPARE(result.size(), 1);
        QCOMPARE(result.first().kind, TextSegment::Kind::link);
        QCOMPARE(result.first().url, QStringLiteral("https://example.org/x?y=1"));
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
        // FNV-1a 32-bit: "" 0x811c9dc5, "a" 0xe40c292c, "foobar" 0xbf9cf968.
        QTest::newRow("empty") << QString() << 1;
        QTest::newRow("a") << QStringLiteral("a") << int(0xe40c292cu % 12);
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

    void senderColorUsesPalette() {
        QCOMPARE(senderColor(QString()), QColor::fromRgbF(0.55f, 0.45f, 0.95f));
        // "a": 0xe40c292c % 12 == 4
        QCOMPARE(senderColor(QStringLiteral("a")), QColor::fromRgbF(0.92f, 0.62f, 0.22f));
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
};

QTEST_GUILESS_MAIN(TestMessageText)
#include "test_message_text.moc"
