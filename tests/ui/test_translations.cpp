#include "ui/logic/date_formats.h"
#include "ui/logic/relative_time.h"
#include "ui/translations.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QXmlStreamReader>

using namespace Qt::StringLiterals;

namespace {

const QString folder = QStringLiteral(TALVENNE_SOURCE_DIR "/resources/translations");
// Set in the child processes that show which table the environment picks.
const char childVariable[] = "TALVENNE_TRANSLATION_CHILD";

struct Entry {
    QString id;
    QString source;
    bool numerus = false;
    bool finished = false;
    QStringList forms; // one text, or the plural forms
};

// The messages of one .ts file in file order; empty when it does not parse.
QList<Entry> readTs(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<Entry> entries;
    QXmlStreamReader xml(&file);
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == u"message") {
            Entry entry;
            entry.id = xml.attributes().value(u"id"_s).toString();
            entry.numerus = xml.attributes().value(u"numerus"_s) == u"yes";
            while (xml.readNextStartElement()) {
                if (xml.name() == u"source") {
                    entry.source = xml.readElementText();
                } else if (xml.name() == u"translation") {
                    const auto type = xml.attributes().value(u"type"_s);
                    entry.finished = type.isEmpty();
                    if (entry.numerus) {
                        while (xml.readNextStartElement())
                            entry.forms << xml.readElementText();
                    } else {
                        entry.forms << xml.readElementText();
                    }
                } else {
                    xml.skipCurrentElement();
                }
            }
            entries << entry;
        }
    }
    return xml.hasError() ? QList<Entry>{} : entries;
}

// %1 ... %99, %L1 and %n, sorted, repeats kept.
QStringList placeholders(const QString& text) {
    static const QRegularExpression pattern(u"%(?:L?\\d{1,2}|n)"_s);
    QStringList found;
    for (const QRegularExpressionMatch& match : pattern.globalMatch(text))
        found << match.captured();
    found.sort();
    return found;
}

// Every literal text id the code and the views look up.
QStringList idsUsedInSources() {
    static const QRegularExpression use(u"(?:qsTrId|qtTrId|QT_TRID_NOOP)\\(\\s*\"([^\"]*)\""_s);
    QStringList ids;
    QDirIterator files(QStringLiteral(TALVENNE_SOURCE_DIR "/src"),
                       {u"*.qml"_s, u"*.cpp"_s, u"*.h"_s}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        if (file.open(QIODevice::ReadOnly))
            for (const QRegularExpressionMatch& match :
                 use.globalMatch(QString::fromUtf8(file.readAll())))
                ids << match.captured(1);
    }
    ids.removeDuplicates();
    return ids;
}

// Plural forms per language (numerusform count lrelease expects).
int pluralForms(const QString& language) {
    static const QHash<QString, int> forms{{u"de"_s, 2}, {u"en"_s, 2}};
    return forms.value(language, 0);
}

} // namespace

class TestTranslations : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        if (qEnvironmentVariableIsSet(childVariable))
            return;
        QVERIFY(installTranslations(*QCoreApplication::instance(), QLocale(QLocale::German)));
    }

    // Every id the code looks up is in the English table once: lrelease
    // drops a duplicate with only a warning, and a missing id shows up in
    // the window as the raw key.
    void englishTableMatchesTheCode() {
        QStringList defined;
        for (const Entry& entry : readTs(folder + u"/talvenne_en.ts"_s))
            defined << entry.id;
        QVERIFY(defined.size() > 100);
        QStringList duplicates, missing;
        for (qsizetype i = 0; i < defined.size(); ++i)
            if (defined.indexOf(defined[i], i + 1) > i)
                duplicates << defined[i];
        QVERIFY2(duplicates.isEmpty(), qPrintable(duplicates.join(u", ")));
        const QStringList used = idsUsedInSources();
        QVERIFY(used.size() > 50);
        for (const QString& id : used)
            if (!defined.contains(id))
                missing << id;
        // The view logic's keys are looked up through variables.
        for (const QByteArray& key : viewLogicTextKeys())
            if (!defined.contains(QString::fromLatin1(key)))
                missing << QString::fromLatin1(key);
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(u", ")));
    }

    // Every language file, checked against the English table. Run
    // scripts/sync-translations.py after adding ids to the English table;
    // the new ids then show up here until they are translated.
    void everyIdIsTranslated_data() {
        QTest::addColumn<QString>("language");
        const QStringList files =
            QDir(folder).entryList({u"talvenne_*.ts"_s}, QDir::Files, QDir::Name);
        QVERIFY(files.contains(u"talvenne_de.ts"_s));
        for (const QString& file : files) {
            const QString language = file.mid(9).chopped(3);
            if (language != u"en")
                QTest::newRow(qPrintable(language)) << language;
        }
    }

    void everyIdIsTranslated() {
        QFETCH(QString, language);
        const QList<Entry> english = readTs(folder + u"/talvenne_en.ts"_s);
        const QList<Entry> translated = readTs(folder + u"/talvenne_%1.ts"_s.arg(language));
        QVERIFY(english.size() > 100);
        QVERIFY2(!translated.isEmpty(), "the file does not parse");
        QVERIFY2(pluralForms(language) > 0, "add the language's plural form count to the test");

        QHash<QString, Entry> byId;
        for (const Entry& entry : translated)
            byId.insert(entry.id, entry);
        QStringList untranslated, lostPlaceholders, badPlurals, stale;
        for (const Entry& source : english) {
            const auto found = byId.constFind(source.id);
            if (found == byId.cend() || !found->finished || found->forms.isEmpty() ||
                found->forms.contains(QString())) {
                untranslated << source.id;
                continue;
            }
            if (source.numerus != found->numerus ||
                (found->numerus && found->forms.size() != pluralForms(language)))
                badPlurals << source.id;
            // Each form keeps the English placeholders: a lost %1 drops the
            // name or number it stood for.
            const QStringList expected = placeholders(source.forms.value(0, source.source));
            for (const QString& form : found->forms)
                if (placeholders(form) != expected)
                    lostPlaceholders << u"%1 (\"%2\")"_s.arg(source.id, form);
        }
        for (const Entry& entry : translated)
            if (std::none_of(english.cbegin(), english.cend(),
                             [&](const Entry& e) { return e.id == entry.id; }))
                stale << entry.id;
        // One report of everything, so one run shows all that is left to do.
        QStringList problems;
        if (!untranslated.isEmpty())
            problems << u"no text for: "_s + untranslated.join(u", ");
        if (!lostPlaceholders.isEmpty())
            problems << u"placeholders differ: "_s + lostPlaceholders.join(u", ");
        if (!badPlurals.isEmpty())
            problems << u"plural forms: "_s + badPlurals.join(u", ");
        if (!stale.isEmpty())
            problems << u"not in the English table: "_s + stale.join(u", ");
        QVERIFY2(problems.isEmpty(), qPrintable(problems.join(u"\n")));
    }

    // The compiled German table, with numbers and dates as a German reader
    // expects them.
    void germanTexts_data() {
        QTest::addColumn<QString>("actual");
        QTest::addColumn<QString>("expected");
        const QLocale german(QLocale::German, QLocale::Germany);
        const QDateTime now(QDate(2024, 3, 15), QTime(12, 0));
        QTest::newRow("plain") << qtTrId("main.toolbar.add") << u"Hinzufügen"_s;
        QTest::newRow("argument") << qtTrId("channel.default.name").arg(3) << u"Kanal 3"_s;
        QTest::newRow("one message")
            << qtTrId("notification.body.count", 1) << u"1 neue Nachricht"_s;
        QTest::newRow("five messages")
            << qtTrId("notification.body.count", 5) << u"5 neue Nachrichten"_s;
        QTest::newRow("minutes") << ViewLogic::relativeTime(now.addSecs(-300), now, german)
                                 << u"5 Min."_s;
        QTest::newRow("day and month")
            << ViewLogic::relativeTime(now.addDays(-7), now, german) << u"8. März"_s;
        QTest::newRow("date") << ViewLogic::abbreviatedDate(now, german) << u"15. März 2024"_s;
        QTest::newRow("time") << ViewLogic::timeWithSeconds(now.addSecs(9), german)
                              << u"12:00:09"_s;
    }

    void germanTexts() {
        QFETCH(QString, actual);
        QTEST(actual, "expected");
    }

    // The table follows LANGUAGE, then LANG; English for everything else.
    void languageFollowsTheEnvironment_data() {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("lang");
        QTest::addColumn<QString>("expected");
        QTest::newRow("LANG German") << QString() << u"de_DE.UTF-8"_s << u"Hinzufügen"_s;
        QTest::newRow("LANG Austrian German") << QString() << u"de_AT.UTF-8"_s << u"Hinzufügen"_s;
        QTest::newRow("LANGUAGE list, first with a table")
            << u"fr:de"_s << u"fr_FR.UTF-8"_s << u"Hinzufügen"_s;
        QTest::newRow("English over LANG") << u"en"_s << u"de_DE.UTF-8"_s << u"Add"_s;
        QTest::newRow("no table: English") << QString() << u"fr_FR.UTF-8"_s << u"Add"_s;
    }

    void languageFollowsTheEnvironment() {
        QFETCH(QString, language);
        QFETCH(QString, lang);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.remove(u"LC_ALL"_s);
        environment.remove(u"LC_MESSAGES"_s);
        environment.remove(u"LANGUAGE"_s);
        if (!language.isEmpty())
            environment.insert(u"LANGUAGE"_s, language);
        environment.insert(u"LANG"_s, lang);
        environment.insert(QString::fromLatin1(childVariable), u"1"_s);
        QProcess child;
        child.setProcessEnvironment(environment);
        child.start(QCoreApplication::applicationFilePath(), {u"printTheChosenText"_s});
        QVERIFY(child.waitForFinished(30000));
        const QString output = QString::fromUtf8(child.readAllStandardOutput());
        static const QRegularExpression line(u"^chosen: (.*)$"_s,
                                             QRegularExpression::MultilineOption);
        QTEST(line.match(output).captured(1), "expected");
    }

    // Only in the child processes above.
    void printTheChosenText() {
        if (!qEnvironmentVariableIsSet(childVariable))
            QSKIP("run by languageFollowsTheEnvironment");
        QVERIFY(installTranslations(*QCoreApplication::instance()));
        std::printf("chosen: %s\n", qtTrId("main.toolbar.add").toUtf8().constData());
        std::fflush(stdout);
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "test_translations.moc"
