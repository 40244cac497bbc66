#include "ui/logic/safe_text.h"

#include <QTest>

using namespace ViewLogic;
using namespace Qt::StringLiterals;

namespace {

const QString fffd = u"\uFFFD"_s;

QString isolated(const QString& text) {
    return u"\u2068"_s + text + u"\u2069"_s;
}

} // namespace

// What a label may show of a name or text a stranger on the mesh picked.
class TestSafeText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void names_data() {
        QTest::addColumn<QString>("received");
        QTest::addColumn<QString>("shown");

        QTest::newRow("markup stays literal")
            << u"<b>Bold</b> <i>Bob</i>"_s << u"<b>Bold</b> <i>Bob</i>"_s;
        QTest::newRow("accents and emoji")
            << u"Sää 👍🏽 🇫🇮"_s << u"Sää 👍🏽 🇫🇮"_s;
        QTest::newRow("right-to-left override")
            << u"Alice\u202Egnp.exe"_s << u"Alice\uFFFDgnp.exe"_s;
        QTest::newRow("embeddings, pop, marks") << u"\u202Aa\u202Bb\u202Cc\u200Ed\u200Fe\u061Cf"_s
                                                << u"\uFFFDa\uFFFDb\uFFFDc\uFFFDd\uFFFDe\uFFFDf"_s;
        QTest::newRow("isolates cannot close ours")
            << u"\u2066x\u2067y\u2068z\u2069"_s << fffd + u"x\uFFFDy\uFFFDz"_s + fffd;
        QTest::newRow("zero-width space, word joiner, BOM, soft hyphen")
            << u"A\u200Bl\u2060i\uFEFFc\u00ADe"_s << u"A\uFFFDl\uFFFDi\uFFFDc\uFFFDe"_s;
        QTest::newRow("joiners between Latin letters")
            << u"Al\u200Dic\u200Ce"_s << u"Al\uFFFDic\uFFFDe"_s;
        QTest::newRow("joiner inside an emoji sequence")
            << u"👩🏽\u200D💻 🏳\uFE0F\u200D🌈"_s
            << u"👩🏽\u200D💻 🏳\uFE0F\u200D🌈"_s;
        QTest::newRow("non-joiner inside a Persian word")
            << u"می\u200Cخواهم"_s << isolated(u"می\u200Cخواهم"_s);
        QTest::newRow("joiner in a Devanagari conjunct") << u"क्\u200Dष"_s << u"क्\u200Dष"_s;
        QTest::newRow("dangling joiner") << u"👩\u200D"_s << u"👩\uFFFD"_s;
        QTest::newRow("subdivision flag keeps its tags")
            << u"🏴\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F"_s
            << u"🏴\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F"_s;
        QTest::newRow("tags elsewhere") << u"ab\U000E0061\U000E007F"_s << u"ab\uFFFD\uFFFD"_s;
        QTest::newRow("C0, DEL and C1 controls") << u"a\u0001b\u001Bc\u007Fd\u0085e\u009Bf"_s
                                                 << u"a\uFFFDb\uFFFDc\uFFFDd\uFFFDe\uFFFDf"_s;
        QTest::newRow("NUL") << QString::fromUtf8("a\0b", 3) << u"a\uFFFDb"_s;
        QTest::newRow("line breaks in a name")
            << u"a\nb\r\nc\u2028d"_s << u"a\uFFFDb\uFFFDc\uFFFDd"_s;
        QTest::newRow("tab is a blank") << u"a\tb"_s << u"a b"_s;
        QTest::newRow("mixed name is isolated") << u"Bob علي 7"_s << isolated(u"Bob علي 7"_s);
        QTest::newRow("override inside Arabic") << u"\u202Eعلي"_s << isolated(u"\uFFFDعلي"_s);
        QTest::newRow("Arabic number sign is visible") << u"\u0600١٢"_s << isolated(u"\u0600١٢"_s);
        QTest::newRow("pile of combining marks") << u"Z"_s + u"\u0301"_s.repeated(15) + u"o"_s
                                                 << u"Z"_s + u"\u0301"_s.repeated(4) + u"o"_s;
        QTest::newRow("Vietnamese keeps its marks")
            << u"Nguye\u0323\u0302n"_s << u"Nguye\u0323\u0302n"_s;
        QTest::newRow("lone surrogate") << QString(QChar(0xD800)) + u"x"_s << u"\uFFFDx"_s;
        QTest::newRow("long name cut at whole characters")
            << u"e\u0301"_s.repeated(70) << u"e\u0301"_s.repeated(int(safeNameLength)) + u"…"_s;
    }
    void names() {
        QFETCH(QString, received);
        QTEST(safeName(received), "shown");
    }

    void previews_data() {
        QTest::addColumn<QString>("received");
        QTest::addColumn<QString>("shown");
        QTest::newRow("lines become one")
            << u"\nfirst\r\n\r\nsecond\u2029third\n"_s << u"first second third"_s;
        QTest::newRow("markup stays literal") << u"<img src=\"http://127.0.0.1:8765/x.png\"> hi"_s
                                              << u"<img src=\"http://127.0.0.1:8765/x.png\"> hi"_s;
        QTest::newRow("controls and overrides")
            << u"Bob: \u202Eok\u0007"_s << u"Bob: \uFFFDok\uFFFD"_s;
        QTest::newRow("right-to-left text is isolated")
            << u"Dana: שלום"_s << isolated(u"Dana: שלום"_s);
        QTest::newRow("long text")
            << QString(400, u'x') << QString(safePreviewLength, u'x') + u"…"_s;
    }
    void previews() {
        QFETCH(QString, received);
        QTEST(safePreview(received), "shown");
    }

    void bodies_data() {
        QTest::addColumn<QString>("received");
        QTest::addColumn<QString>("shown");
        QTest::newRow("line breaks stay, CR LF is one")
            << u"a\r\nb\rc\u2028d\ne"_s << u"a\nb\nc\nd\ne"_s;
        QTest::newRow("controls and hidden characters")
            << u"pay \u202E0001\u202C to\u0000\u200B me"_s
            << u"pay \uFFFD0001\uFFFD to\uFFFD\uFFFD me"_s;
        QTest::newRow("right-to-left text keeps its own direction") << u"שלום"_s << u"שלום"_s;
        QTest::newRow("long text is not cut") << QString(500, u'y') << QString(500, u'y');
    }
    void bodies() {
        QFETCH(QString, received);
        QTEST(safeBody(received), "shown");
    }
};

QTEST_GUILESS_MAIN(TestSafeText)
#include "test_safe_text.moc"
