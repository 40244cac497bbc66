#include "ui/icon_names.h"
#include "ui/logic/chat_header.h"
#include "ui/logic/delivery_report.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

// Every system symbol name the views use.
const QStringList viewSymbols{"antenna.radiowaves.left.and.right",
                              "arrow.clockwise",
                              "arrow.left.and.right",
                              "arrow.triangle.2.circlepath",
                              "arrow.triangle.swap",
                              "arrow.up.circle.fill",
                              "arrow.up.right",
                              "arrow.up.right.circle.fill",
                              "battery.0percent",
                              "battery.25percent",
                              "battery.50percent",
                              "battery.75percent",
                              "battery.100percent",
                              "bubble.left.and.bubble.right",
                              "bubble.left.and.bubble.right.fill",
                              "bubble.left.fill",
                              "calendar",
                              "checkmark",
                              "checkmark.circle.fill",
                              "checkmark.seal",
                              "checkmark.seal.fill",
                              "chevron.right",
                              "chevron.up.circle",
                              "clock",
                              "cpu",
                              "cpu.fill",
                              "doc.on.doc",
                              "dot.radiowaves.left.and.right",
                              "exclamationmark.shield.fill",
                              "exclamationmark.triangle.fill",
                              "globe",
                              "hourglass",
                              "info.circle",
                              "key.fill",
                              "location.fill",
                              "magnifyingglass",
                              "number",
                              "number.circle",
                              "paperplane",
                              "pencil",
                              "plus",
                              "person.badge.plus",
                              "person.fill",
                              "point.3.connected.trianglepath.dotted",
                              "power",
                              "questionmark.circle",
                              "seal.slash",
                              "sensor.fill",
                              "shield.lefthalf.filled",
                              "shippingbox",
                              "square.and.arrow.up",
                              "star",
                              "star.fill",
                              "star.slash",
                              "stop.fill",
                              "timer",
                              "trash",
                              "wifi.slash"};

QString readSource(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// The ids the translation source defines, in file order (duplicates kept).
QStringList translationSourceIds() {
    const QString ts =
        readSource(QStringLiteral(TALVENNE_SOURCE_DIR "/resources/translations/talvenne_en.ts"));
    static const QRegularExpression idPattern(QStringLiteral(R"re(<message id="([^"]*)")re"));
    QStringList ids;
    for (const QRegularExpressionMatch& match : idPattern.globalMatch(ts))
        ids << match.captured(1);
    return ids;
}

// Every literal text id the code and the views look up.
QStringList idsUsedInSources() {
    static const QRegularExpression usePattern(
        QStringLiteral(R"re((?:qsTrId|qtTrId|QT_TRID_NOOP)\(\s*"([^"]*)")re"));
    QStringList ids;
    QDirIterator files(QStringLiteral(TALVENNE_SOURCE_DIR "/src"),
                       {QStringLiteral("*.qml"), QStringLiteral("*.cpp"), QStringLiteral("*.h")},
                       QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString text = readSource(files.next());
        for (const QRegularExpressionMatch& match : usePattern.globalMatch(text))
            ids << match.captured(1);
    }
    ids.removeDuplicates();
    return ids;
}

} // namespace

class TestUiResources : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(installTranslations(*QCoreApplication::instance())); }

    void everySymbolHasAnIcon_data() {
        QTest::addColumn<QString>("symbol");
        for (const QString& symbol : viewSymbols)
            QTest::newRow(qPrintable(symbol)) << symbol;
    }

    void everySymbolHasAnIcon() {
        QFETCH(QString, symbol);
        const QString source = iconSource(symbol);
        QVERIFY2(source.startsWith(QLatin1String("qrc:/icons/")), qPrintable(source));
        QVERIFY(source.endsWith(QLatin1String(".svg")));
        QFile file(iconResourcePath(symbol));
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
        // Recolourable: the drawing uses the current colour, not a fixed one.
        QVERIFY(file.readAll().contains("currentColor"));
    }

    void symbolTableHasNoStrayNames() {
        QStringList expected = viewSymbols;
        expected.sort();
        QCOMPARE(iconSymbolNames(), expected);
    }

    void unknownSymbolHasNoIcon() {
        QVERIFY(iconSource(QStringLiteral("no.such.symbol")).isEmpty());
        QVERIFY(iconSource(QString()).isEmpty());
    }

    void logicSymbolsHaveIcons() {
        using namespace ViewLogic;
        using State = ChatMessage::DeliveryState;
        for (State state : {State::sending, State::sent, State::delivered, State::failed})
            QVERIFY(!iconSource(deliveryStateSymbol(state)).isEmpty());
        for (VerificationState state : {VerificationState::verified, VerificationState::conflict,
                                        VerificationState::unverified}) {
            const VerificationCard card = verificationCard(state);
            QVERIFY(!iconSource(card.symbol).isEmpty());
            QVERIFY(!iconSource(card.actionSymbol).isEmpty());
        }
    }

    void keysHaveEnglishTexts_data() {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<QString>("english");
        QTest::newRow("contact type")
            << QByteArray("contact.type.repeater") << QStringLiteral("Repeater");
        QTest::newRow("toolbar") << QByteArray("main.toolbar.add") << QStringLiteral("Add");
        QTest::newRow("power format") << QByteArray("%lld dBm") << QStringLiteral("%1 dBm");
        QTest::newRow("key counter") << QByteArray("%lld/64") << QStringLiteral("%1/64");
        QTest::newRow("fixed text") << QByteArray("Public key") << QStringLiteral("Public key");
        QTest::newRow("default channel")
            << QByteArray("channel.default.name") << QStringLiteral("Channel %1");
    }

    void keysHaveEnglishTexts() {
        QFETCH(QByteArray, key);
        QFETCH(QString, english);
        QCOMPARE(qtTrId(key.constData()), english);
    }

    void everyLogicKeyIsTranslated_data() {
        QTest::addColumn<QByteArray>("key");
        for (const QByteArray& key : viewLogicTextKeys())
            QTest::newRow(key.constData()) << key;
    }

    void everyLogicKeyIsTranslated() {
        QFETCH(QByteArray, key);
        const QString text = qtTrId(key.constData());
        QVERIFY(!text.isEmpty());
        QVERIFY2(text != QString::fromLatin1(key), key.constData());
    }

    // A duplicate id is dropped by lrelease with only a warning; an id missing
    // from the source shows up in the window as the raw key.
    void translationSourceMatchesTheCode() {
        const QStringList defined = translationSourceIds();
        QVERIFY(defined.size() > 100);
        QStringList duplicates;
        for (qsizetype i = 0; i < defined.size(); ++i)
            if (defined.indexOf(defined[i], i + 1) > i)
                duplicates << defined[i];
        QVERIFY2(duplicates.isEmpty(), qPrintable(duplicates.join(u", ")));

        const QStringList used = idsUsedInSources();
        QVERIFY(used.size() > 50);
        QStringList missing;
        for (const QString& id : used)
            if (!defined.contains(id))
                missing << id;
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(u", ")));
    }

    void channelNamesUseTheTable() {
        QCOMPARE((Channel{5, {}, {}}.displayName()), QStringLiteral("Channel 5"));
        QCOMPARE((Channel{0, {}, {}}.displayName()), QStringLiteral("Public"));
    }
};

QTEST_GUILESS_MAIN(TestUiResources)
#include "test_ui_resources.moc"
