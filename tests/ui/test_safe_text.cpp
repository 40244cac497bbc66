#include "ui/logic/safe_text.h"

#include <QTest>

using namespace ViewLogic;

namespace {

const QString fffd = QStringLiteral("\uFFFD");

QString isolated(const QString& text) {
    return QStringLiteral("\u2068") + text + QStringLiteral("\u2069");
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
            << QStringLiteral("<b>Bold</b> <i>Bob</i>") << QStringLiteral("<b>Bold</b> <i>Bob</i>");
        QTest::newRow("accents and emoji") << QStringLiteral("Sää 👍🏽 🇫🇮")
                                           << QStringLiteral("Sää 👍🏽 🇫🇮");
        QTest::newRow("right-to-left override")
            << QStringLiteral("Alice\u202Egnp.exe") << QStringLiteral("Alice\uFFFDgnp.exe");
        QTest::newRow("embeddings, pop, marks")
            << QStringLiteral("\u202Aa\u202Bb\u202Cc\u200Ed\u200Fe\u061Cf")
            << QStringLiteral("\uFFFDa\uFFFDb\uFFFDc\uFFFDd\uFFFDe\uFFFDf");
        QTest::newRow("isolates cannot close ours")
            << QStringLiteral("\u2066x\u2067y\u2068z\u2069")
            << fffd + QStringLiteral("x\uFFFDy\uFFFDz") + fffd;
        QTest::newRow("zero-width space, word joiner, BOM, soft hyphen")
            << QStringLiteral("A\u200Bl\u2060i\uFEFFc\u00ADe")
            << QStringLiteral("A\uFFFDl\uFFFDi\uFFFDc\uFFFDe");
        QTest::newRow("joiners between Latin letters")
            << QStringLiteral("Al\u200Dic\u200Ce") << QStringLiteral("Al\uFFFDic\uFFFDe");
        QTest::newRow("joiner inside an emoji sequence")
            << QStringLiteral("👩🏽\u200D💻 🏳\uFE0F\u200D🌈")
            << QStringLiteral("👩🏽\u200D💻 🏳\uFE0F\u200D🌈");
        QTest::newRow("non-joiner inside a Persian word")
            << QStringLiteral("می\u200Cخواهم") << isolated(QStringLiteral("می\u200Cخواهم"));
        QTest::newRow("joiner in a Devanagari conjunct")
            << QStringLiteral("क्\u200Dष") << QStringLiteral("क्\u200Dष");
        QTest::newRow("dangling joiner") << QStringLiteral("👩\u200D") << QStringLiteral("👩\uFFFD");
        QTest::newRow("subdivision flag keeps its tags")
            << QStringLiteral("🏴\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F")
            << QStringLiteral("🏴\U000E0067\U000E0062\U000E0065\U000E006E\U000E0067\U000E007F");
        QTest::newRow("tags elsewhere")
            << QStringLiteral("ab\U000E0061\U000E007F") << QStringLiteral("ab\uFFFD\uFFFD");
        QTest::newRow("C0, DEL and C1 controls")
            << QStringLiteral("a\u0001b\u001Bc\u007Fd\u0085e\u009Bf")
            << QStringLiteral("a\uFFFDb\uFFFDc\uFFFDd\uFFFDe\uFFFDf");
        QTest::newRow("NUL") << QString::fromUtf8("a\0b", 3) << QStringLiteral("a\uFFFDb");
        QTest::newRow("line breaks in a name")
            << QStringLiteral("a\nb\r\nc\u2028d") << QStringLiteral("a\uFFFDb\uFFFDc\uFFFDd");
        QTest::newRow("tab is a blank") << QStringLiteral("a\tb") << QStringLiteral("a b");
        QTest::newRow("mixed name is isolated")
            << QStringLiteral("Bob علي 7") << isolated(QStringLiteral("Bob علي 7"));
        QTest::newRow("override inside Arabic")
            << QStringLiteral("\u202Eعلي") << isolated(QStringLiteral("\uFFFDعلي"));
        QTest::newRow("Arabic number sign is visible")
            << QStringLiteral("\u0600١٢") << isolated(QStringLiteral("\u0600١٢"));
        QTest::newRow("pile of combining marks")
            << QStringLiteral("Z") + QStringLiteral("\u0301").repeated(15) + QStringLiteral("o")
            << QStringLiteral("Z") + QStringLiteral("\u0301").repeated(4) + QStringLiteral("o");
        QTest::newRow("Vietnamese keeps its marks")
            << QStringLiteral("Nguye\u0323\u0302n") << QStringLiteral("Nguye\u0323\u0302n");
        QTest::newRow("lone surrogate")
            << QString(QChar(0xD800)) + QStringLiteral("x") << QStringLiteral("\uFFFDx");
        QTest::newRow("long name cut at whole characters")
            << QStringLiteral("e\u0301").repeated(70)
            << QStringLiteral("e\u0301").repeated(int(safeNameLength)) + QStringLiteral("…");
    }
    void names() {
        QFETCH(QString, received);
        QFETCH(QString, shown);
        QCOMPARE(safeName(received), shown);
    }

    void previews_data() {
        QTest::addColumn<QString>("received");
        QTest::addColumn<QString>("shown");
        QTest::newRow("lines become one") << QStringLiteral("\nfirst\r\n\r\nsecond\u2029third\n")
                                          << QStringLiteral("first second third");
        QTest::newRow("markup stays literal")
            << QStringLiteral("<img src=\"http://127.0.0.1:8765/x.png\"> hi")
            << QStringLiteral("<img src=\"http://127.0.0.1:8765/x.png\"> hi");
        QTest::newRow("controls and overrides")
            << QStringLiteral("Bob: \u202Eok\u0007") << QStringLiteral("Bob: \uFFFDok\uFFFD");
        QTest::newRow("right-to-left text is isolated")
            << QStringLiteral("Dana: שלום") << isolated(QStringLiteral("Dana: שלום"));
        QTest::newRow("long text")
            << QString(400, QLatin1Char('x'))
            << QString(safePreviewLength, QLatin1Char('x')) + QStringLiteral("…");
    }
    void previews() {
        QFETCH(QString, received);
        QFETCH(QString, shown);
        QCOMPARE(safePreview(received), shown);
    }

    void bodies_data() {
        QTest::addColumn<QString>("received");
        QTest::addColumn<QString>("shown");
        QTest::newRow("line breaks stay, CR LF is one")
            << QStringLiteral("a\r\nb\rc\u2028d\ne") << QStringLiteral("a\nb\nc\nd\ne");
        QTest::newRow("controls and hidden characters")
            << QStringLiteral("pay \u202E0001\u202C to\u0000\u200B me")
            << QStringLiteral("pay \uFFFD0001\uFFFD to\uFFFD\uFFFD me");
        QTest::newRow("right-to-left text keeps its own direction")
            << QStringLiteral("שלום") << QStringLiteral("שלום");
        QTest::newRow("long text is not cut")
            << QString(500, QLatin1Char('y')) << QString(500, QLatin1Char('y'));
    }
    void bodies() {
        QFETCH(QString, received);
        QFETCH(QString, shown);
        QCOMPARE(safeBody(received), shown);
    }
};

QTEST_GUILESS_MAIN(TestSafeText)
#include "test_safe_text.moc"
