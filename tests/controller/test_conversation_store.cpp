// The history on disk: background writing, the journal and its folding,
// atomic replacement, damaged files, failing disks, the lock and a large
// history.

#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"
#include "history_samples.h"
#include "test_support.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using HistorySamples::history;
using HistorySamples::message;

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

unsigned mode(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return 0;
    return info.st_mode & 0777;
}

QStringList damagedCopies(const QDir& dir) {
    return dir.entryList({QStringLiteral("conversations.json*.damaged-*")}, QDir::Files,
                         QDir::Name);
}

// The files of the history (the lock aside).
QStringList historyFiles(const QString& path) {
    QStringList files = QDir(path).entryList(QDir::Files, QDir::Name);
    files.removeAll(QStringLiteral("conversations.json.lock"));
    return files;
}

// Drops the last `bytes` bytes of the file.
void cutShort(const QString& path, qint64 bytes) {
    QFile file(path);
    QVERIFY(file.resize(file.size() - bytes));
}

// The history with message n appended to its second conversation.
QList<Conversation> withExtra(QList<Conversation> list, int n) {
    list[1].messages.append(message(n));
    list[1].lastActivity = list[1].messages.last().timestamp;
    return list;
}

// Runs the store probe; returns its first line of output.
QString probe(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral(STORE_PROBE), arguments);
    if (!process.waitForFinished(60'000))
        return QStringLiteral("probe did not finish");
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

} // namespace

class TestConversationStore : public QObject {
    Q_OBJECT

private:
    QString pathIn(const QTemporaryDir& dir) const {
        return dir.filePath(QStringLiteral("conversations.json"));
    }

    // What the disk holds, read as a second store would (read-only while
    // another store of this process holds the lock).
    static QList<Conversation> onDisk(const QString& path) {
        return ConversationStore(path).load();
    }

private slots:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    // The path as the app computes it: the organisation and application
    // names the app sets, the real XDG data folder (pointed at a temporary
    // one), no test mode.
    void defaultPathIsTheUsersTalvenneFolder_data() {
        QTest::addColumn<bool>("doubled");
        QTest::addColumn<bool>("current");
        QTest::newRow("fresh") << false << false;
        QTest::newRow("only the doubled folder") << true << false;
        QTest::newRow("both") << true << true;
    }

    void defaultPathIsTheUsersTalvenneFolder() {
        QFETCH(bool, doubled);
        QFETCH(bool, current);
        QTemporaryDir data;
        const QByteArray oldData = qgetenv("XDG_DATA_HOME");
        const QString oldOrganisation = QCoreApplication::organizationName();
        const auto restore = qScopeGuard([&] {
            qputenv("XDG_DATA_HOME", oldData);
            QCoreApplication::setOrganizationName(oldOrganisation);
            QStandardPaths::setTestModeEnabled(true);
        });
        QStandardPaths::setTestModeEnabled(false);
        qputenv("XDG_DATA_HOME", data.path().toLocal8Bit());
        QCoreApplication::setOrganizationName(QStringLiteral("Talvenne"));
        QCoreApplication::setApplicationName(QStringLiteral("Talvenne"));
        const QString expected = data.filePath(QStringLiteral("Talvenne/conversations.json"));
        const QString old = data.filePath(QStringLiteral("Talvenne/Talvenne/conversations.json"));
        if (doubled) {
            QVERIFY(QDir().mkpath(QFileInfo(old).absolutePath()));
            writeFile(old, "[\"old\"]");
        }
        if (current)
            writeFile(expected, "[\"current\"]");

        QCOMPARE(ConversationStore::defaultFilePath(), expected);
        QVERIFY(QFileInfo(QFileInfo(expected).absolutePath()).isDir());
        if (doubled && !current) {
            QCOMPARE(contents(expected), QByteArray("[\"old\"]"));
            QVERIFY(!QFileInfo::exists(QFileInfo(old).absolutePath()));
        } else if (current) {
            QCOMPARE(contents(expected), QByteArray("[\"current\"]"));
            QCOMPARE(contents(old), QByteArray("[\"old\"]"));
        } else {
            QVERIFY(!QFileInfo::exists(expected));
        }
    }

    // A missing file loads empty; saves reach the disk on flush(), and the
    // destructor finishes the writes still waiting: closed, the file alone
    // holds everything, in its own shape.
    void savesAndLoadsBack() {
        QTemporaryDir dir;
        const QList<Conversation> list = history(5, 40);
        {
            ConversationStore store(pathIn(dir));
            QVERIFY(store.load().isEmpty());
            QCOMPARE(historyFiles(dir.path()), QStringList());
            QVERIFY(store.error().isEmpty());
            store.save(history(3, 3));
            store.flush();
            QVERIFY(onDisk(pathIn(dir)) == history(3, 3));
            store.save(history(3, 9));
            store.save(list);
        }
        QCOMPARE(contents(pathIn(dir)), encodeConversations(list));
        ConversationStore again(pathIn(dir));
        QVERIFY(again.load() == list);
    }

    void fileIsPrivateToTheUser() {
        QTemporaryDir dir;
        // An existing file (an empty array, which is no damage) with looser
        // permissions is replaced by a private one.
        writeFile(pathIn(dir), "[]");
        QFile::setPermissions(pathIn(dir), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                               QFileDevice::ReadGroup | QFileDevice::ReadOther);
        QCOMPARE(mode(pathIn(dir)), 0644u);

        ConversationStore store(pathIn(dir));
        QVERIFY(store.load().isEmpty());
        QVERIFY(damagedCopies(QDir(dir.path())).isEmpty());
        QCOMPARE(contents(pathIn(dir)), QByteArray("[]"));
        store.save(history(1, 1));
        store.flush();
        QCOMPARE(mode(pathIn(dir)), 0600u);
        QCOMPARE(mode(pathIn(dir) + QStringLiteral(".journal")), 0600u);
        QCOMPARE(historyFiles(dir.path()),
                 (QStringList{"conversations.json", "conversations.json.journal"}));
    }

    void burstEndsWithTheNewestSnapshot() {
        QTemporaryDir dir;
        ConversationStore store(pathIn(dir));
        store.load();
        Conversation growing{ConversationID::channel(0), {}, distantPast(), 0};
        for (int n = 0; n < 1000; ++n) {
            growing.messages.append(message(n));
            growing.unreadCount = n;
            store.save({growing});
        }
        store.flush();
        const QList<Conversation> loaded = onDisk(pathIn(dir));
        QCOMPARE(loaded.size(), 1);
        QCOMPARE(loaded[0].messages.size(), 1000);
        QVERIFY(loaded[0] == growing);
        // No temporary files left behind.
        QCOMPARE(historyFiles(dir.path()),
                 (QStringList{"conversations.json", "conversations.json.journal"}));
    }

    // Each change is on disk after flush(): appended to the journal, which is
    // folded into the file once it passes its bound.
    void changesGoToTheJournalUntilItIsFolded() {
        QTemporaryDir dir;
        QList<Conversation> list = history(4, 400);
        {
            ConversationStore store(pathIn(dir));
            store.load();
            store.save(list);
        }
        const QByteArray folded = contents(pathIn(dir));
        QCOMPARE(folded, encodeConversations(list));

        ConversationStore store(pathIn(dir));
        QVERIFY(store.load() == list);
        store.setMinimumFoldBytes(20'000);
        int folds = 0;
        QByteArray file = folded;
        for (int n = 400; n < 600; ++n) {
            const qint64 before = store.bytesWritten();
            list[n % 4].messages.append(message(n));
            list[n % 4].lastActivity = list[n % 4].messages.last().timestamp;
            if (n % 3 == 0) // a change in place as well
                list[0].messages[n % 50].deliveryState = ChatMessage::DeliveryState::failed;
            store.save(list);
            store.flush();
            QVERIFY(onDisk(pathIn(dir)) == list);
            const QByteArray now = contents(pathIn(dir));
            if (now != file) {
                ++folds;
                QCOMPARE(now, encodeConversations(list));
                file = now;
            } else {
                QVERIFY2(store.bytesWritten() - before < 1000,
                         qPrintable(QString::number(store.bytesWritten() - before)));
            }
        }
        QVERIFY2(folds >= 2 && folds <= 10, qPrintable(QString::number(folds)));
        QVERIFY(store.error().isEmpty());
        // Nothing changed: nothing written.
        const qint64 before = store.bytesWritten();
        store.save(list);
        store.flush();
        QCOMPARE(store.bytesWritten(), before);
    }

    // A fold writes the file as it encodes it, a block at a time: a history
    // over several blocks ends up byte for byte as one array would have it,
    // and the journal begun for it continues it.
    void foldOfSeveralBlocks() {
        QTemporaryDir dir;
        QList<Conversation> list = history(3, 12'000); // some 3 MB
        ConversationStore store(pathIn(dir));
        store.load();
        store.save(list);
        store.flush();
        const QByteArray file = contents(pathIn(dir));
        QVERIFY(file.size() > 2 << 20);
        QVERIFY(file == encodeConversations(list));
        QCOMPARE(contents(pathIn(dir) + QStringLiteral(".journal")), Journal::header(file));
        list[2].messages.append(message(12'000));
        store.save(list);
        store.flush();
        QCOMPARE(contents(pathIn(dir)), file);
        QVERIFY(onDisk(pathIn(dir)) == list);
    }

    // The writer stopped mid-record: the record is ignored, and the next
    // save starts clean.
    void tornJournalTailIsIgnored() {
        QTemporaryDir dir;
        QList<Conversation> list = history(3, 30);
        ConversationStore writer(pathIn(dir));
        writer.load();
        writer.save(list);
        writer.flush();
        const QList<Conversation> beforeLast = list;
        list[1].messages.append(message(99));
        writer.save(list);
        writer.flush();
        const QString journal = writer.journalPath();
        // Take the store's place as if it had been killed: a copy of its files.
        QTemporaryDir after;
        QFile::copy(pathIn(dir), pathIn(after));
        QFile::copy(journal, pathIn(after) + QStringLiteral(".journal"));
        cutShort(pathIn(after) + QStringLiteral(".journal"), 5);

        ConversationStore store(pathIn(after));
        QVERIFY(store.load() == beforeLast);
        QVERIFY(damagedCopies(QDir(after.path())).isEmpty());
        list[2].messages.append(message(100));
        store.save(list);
        store.flush();
        QVERIFY(onDisk(pathIn(after)) == list);
    }

    // A damaged record in the middle: replay stops there, the journal is
    // kept aside byte for byte, and the history goes on from what was read.
    void damagedJournalRecordStopsTheReplay() {
        QTemporaryDir dir;
        QList<Conversation> list = history(3, 30);
        QList<QList<Conversation>> states;
        {
            ConversationStore store(pathIn(dir));
            store.load();
            store.save(list);
            store.flush();
            for (int n = 30; n < 33; ++n) {
                list[n % 3].messages.append(message(n));
                store.save(list);
                store.flush();
                states.append(list);
            }
            QFile::copy(store.journalPath(), dir.filePath(QStringLiteral("copy")));
        }
        // Rebuild the killed store's files: the file it started from and its journal.
        writeFile(pathIn(dir), encodeConversations(history(3, 30)));
        QFile::remove(pathIn(dir) + QStringLiteral(".journal"));
        QVERIFY(QFile::rename(dir.filePath(QStringLiteral("copy")),
                              pathIn(dir) + QStringLiteral(".journal")));
        QByteArray journal = contents(pathIn(dir) + QStringLiteral(".journal"));
        const QList<QByteArray> lines = journal.split('\n');
        QCOMPARE(lines.size(), 5); // header, three records, the empty rest
        // Flip one letter inside the second record's text.
        const qsizetype at = lines[0].size() + lines[1].size() + 2 + lines[2].indexOf("Message");
        journal[at] = 'm';
        writeFile(pathIn(dir) + QStringLiteral(".journal"), journal);

        ConversationStore store(pathIn(dir));
        QVERIFY(store.load() == states[0]);
        const QStringList aside = damagedCopies(QDir(dir.path()));
        QCOMPARE(aside.size(), 1);
        QVERIFY(aside[0].startsWith(QStringLiteral("conversations.json.journal.damaged-")));
        QCOMPARE(contents(dir.filePath(aside[0])), journal);
        store.save(states[2]);
        store.flush();
        QVERIFY(onDisk(pathIn(dir)) == states[2]);
        QCOMPARE(contents(dir.filePath(aside[0])), journal);
    }

    void flushCoversEachSave() {
        QTemporaryDir dir;
        ConversationStore store(pathIn(dir));
        store.load();
        store.flush(); // nothing handed in: returns at once
        for (int n = 1; n <= 20; ++n) {
            const QList<Conversation> list = history(2, n);
            store.save(list);
            store.flush();
            QVERIFY(onDisk(pathIn(dir)) == list);
        }
    }

    void damagedFileIsMovedAside_data() {
        QTest::addColumn<QByteArray>("bytes");

        QTest::newRow("empty") << QByteArray();
        QTest::newRow("not JSON") << QByteArray("\x00\xff{[garbage", 12);
        QTest::newRow("truncated") << encodeConversations(history(2, 6)).chopped(17);
        QTest::newRow("two-member direction")
            << encodeConversations(history(1, 1))
                   .replace("{\"incoming\":{}}", "{\"incoming\":{},\"outgoing\":{}}");
    }

    void damagedFileIsMovedAside() {
        QFETCH(QByteArray, bytes);
        QTemporaryDir dir;
        writeFile(pathIn(dir), bytes);

        ConversationStore store(pathIn(dir));
        QVERIFY(store.load().isEmpty());
        QVERIFY(!QFileInfo::exists(pathIn(dir)));
        const QStringList aside = damagedCopies(QDir(dir.path()));
        QCOMPARE(aside.size(), 1);
        QVERIFY(QRegularExpression(QStringLiteral(R"(^conversations\.json\.damaged-\d{8}-\d{6}$)"))
                    .match(aside[0])
                    .hasMatch());
        QCOMPARE(contents(dir.filePath(aside[0])), bytes);

        // The next save writes a fresh file and leaves the damaged one alone.
        const QList<Conversation> list = history(2, 4);
        store.save(list);
        store.flush();
        QCOMPARE(contents(pathIn(dir)), encodeConversations(list));
        QCOMPARE(contents(dir.filePath(aside[0])), bytes);
    }

    // Sizes a damaged disk can show (sparse files here) are never read into
    // memory: a file that large stays as it is and is never written over; a
    // journal that large is moved aside and the file's history loads.
    void oversizedFilesAreNotRead_data() {
        QTest::addColumn<bool>("journal");
        QTest::newRow("history file") << false;
        QTest::newRow("journal") << true;
    }
    void oversizedFilesAreNotRead() {
        QFETCH(bool, journal);
        QTemporaryDir dir;
        const QList<Conversation> good = history(2, 5);
        ConversationStore(pathIn(dir)).save(good);
        const QString huge = journal ? pathIn(dir) + QStringLiteral(".journal") : pathIn(dir);
        QVERIFY(QFile(huge).resize(qint64(3) << 30));

        ConversationStore store(pathIn(dir));
        QVERIFY(store.load() == (journal ? good : QList<Conversation>()));
        QCOMPARE(store.error().isEmpty(), journal);
        store.save(history(2, 6));
        store.flush();
        if (journal) {
            QCOMPARE(damagedCopies(QDir(dir.path())).size(), 1);
            QVERIFY(onDisk(pathIn(dir)) == history(2, 6));
        } else {
            QCOMPARE(QFileInfo(huge).size(), qint64(3) << 30);
            QVERIFY(damagedCopies(QDir(dir.path())).isEmpty());
        }
    }

    void saveBeforeLoadKeepsADamagedFile() {
        QTemporaryDir dir;
        const QByteArray damaged("[{\"target\":");
        writeFile(pathIn(dir), damaged);

        const QList<Conversation> list = history(1, 2);
        ConversationStore store(pathIn(dir));
        store.save(list);
        store.flush();
        QCOMPARE(contents(pathIn(dir)), encodeConversations(list));
        const QStringList aside = damagedCopies(QDir(dir.path()));
        QCOMPARE(aside.size(), 1);
        QCOMPARE(contents(dir.filePath(aside[0])), damaged);
    }

    void damagedTwiceInOneSecondKeepsBoth() {
        QTemporaryDir dir;
        writeFile(pathIn(dir), "first");
        ConversationStore(pathIn(dir)).load();
        writeFile(pathIn(dir), "second");
        ConversationStore(pathIn(dir)).load();

        QStringList kept;
        for (const QString& name : damagedCopies(QDir(dir.path())))
            kept.append(QString::fromUtf8(contents(dir.filePath(name))));
        kept.sort();
        QCOMPARE(kept, (QStringList{"first", "second"}));
    }

    // A file-size limit in another process (as a full disk would): the
    // good history stays as it was unless the whole change got on disk.
    void fileSizeLimit_data() {
        QTest::addColumn<int>("conversations");
        QTest::addColumn<int>("existing");
        QTest::addColumn<int>("wanted");
        QTest::addColumn<int>("limit");
        QTest::addColumn<bool>("saved");
        QTest::addColumn<int>("quitLimit"); // raised to before the store closes; 0: not
        QTest::newRow("small history, 4 KiB") << 5 << 4 << 50 << 4096 << false << 0;
        QTest::newRow("small history, first save") << 5 << 0 << 50 << 4096 << false << 0;
        QTest::newRow("small history, room") << 5 << 4 << 50 << 1 << true << 0;
        QTest::newRow("large history, 64 KiB") << 20 << 2000 << 2600 << 65536 << false << 0;
        QTest::newRow("large history, journal fits") << 20 << 2000 << 2100 << 65536 << true << 0;
        // Room for the changes but not the whole file by the time it quits:
        // they are kept in the journal.
        QTest::newRow("large history, journal fits at quit")
            << 20 << 2000 << 2600 << 4096 << false << 262144;
    }

    void fileSizeLimit() {
        QFETCH(int, conversations);
        QFETCH(int, existing);
        QFETCH(int, wanted);
        QFETCH(int, limit);
        QFETCH(bool, saved);
        QFETCH(int, quitLimit);
        QTemporaryDir dir;
        const QList<Conversation> good = history(conversations, existing);
        if (existing > 0)
            ConversationStore(pathIn(dir)).save(good);
        const QByteArray before = contents(pathIn(dir));
        QStringList arguments{QStringLiteral("limit"), pathIn(dir),
                              QString::number(limit == 1 ? 1 << 30 : limit),
                              QString::number(conversations), QString::number(wanted)};
        if (quitLimit > 0)
            arguments << QString::number(quitLimit);
        const QString output = probe(arguments);
        if (quitLimit > 0) {
            QVERIFY2(output.startsWith(QStringLiteral("error: File too large")),
                     qPrintable(output));
            QCOMPARE(contents(pathIn(dir)), before);
            QVERIFY(onDisk(pathIn(dir)) == history(conversations, wanted));
            return;
        }
        if (saved) {
            QCOMPARE(output, QStringLiteral("saved"));
            QVERIFY(onDisk(pathIn(dir)) == history(conversations, wanted));
            return;
        }
        QVERIFY2(output.startsWith(QStringLiteral("error: File too large")), qPrintable(output));
        QCOMPARE(contents(pathIn(dir)), before);
        QVERIFY(onDisk(pathIn(dir)) == (existing > 0 ? good : QList<Conversation>()));
        QVERIFY(damagedCopies(QDir(dir.path())).isEmpty());
    }

    // A folder that cannot be written, for a probe without root's rights:
    // the warning shows and the file stays; once the folder is writable the
    // next save clears the warning.
    void unwritableFolder() {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("history"));
        QVERIFY(QDir().mkpath(folder));
        const QString path = folder + QStringLiteral("/conversations.json");
        const QList<Conversation> good = history(3, 20);
        ConversationStore(path).save(good);
        const QByteArray before = contents(path);
        const bool root = ::geteuid() == 0;
        const auto readable = QFileDevice::ReadOwner | QFileDevice::ReadGroup |
                              QFileDevice::ReadOther | QFileDevice::ExeOwner |
                              QFileDevice::ExeGroup | QFileDevice::ExeOther;
        QVERIFY(QFile::setPermissions(dir.path(), readable | QFileDevice::WriteOwner));
        // (QSaveFile replaces only a file its user may write.)
        QVERIFY(QFile::setPermissions(path, QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                                QFileDevice::ReadOther | QFileDevice::WriteOther));
        QVERIFY(QFile::setPermissions(folder, readable));

        QProcess child;
        if (root) // the probe runs as nobody, for whom the folder is read-only
            child.setChildProcessModifier([] {
                if (::setgid(65534) != 0 || ::setuid(65534) != 0)
                    ::_exit(9);
            });
        child.start(QStringLiteral(STORE_PROBE),
                    {QStringLiteral("twice"), path, QStringLiteral("3"), QStringLiteral("25")});
        QVERIFY(child.waitForReadyRead(30'000));
        const QByteArray first = child.readLine().trimmed();
        QVERIFY2(first.startsWith("error: Permission denied"), first.constData());
        QCOMPARE(contents(path), before);

        if (root)
            QCOMPARE(::chown(QFile::encodeName(folder).constData(), 65534, 65534), 0);
        QVERIFY(QFile::setPermissions(folder, readable | QFileDevice::WriteOwner));
        child.write("again\n");
        QVERIFY(child.waitForFinished(30'000));
        QCOMPARE(child.readAllStandardOutput().trimmed(), QByteArray("saved"));
        QVERIFY(onDisk(path) == history(3, 26));
    }

    // The folder vanishes while the app runs: the next save writes the whole
    // history again (not a journal on its own). When a file stands in the
    // folder's way, the warning shows until it is gone.
    void folderRemovedWhileRunning() {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("history"));
        QVERIFY(QDir().mkpath(folder));
        const QString path = folder + QStringLiteral("/conversations.json");
        ConversationStore store(path);
        QSignalSpy errors(&store, &ConversationStore::errorChanged);
        store.load();
        store.save(history(3, 20));
        store.flush();

        QVERIFY(QDir(folder).removeRecursively());
        store.save(history(3, 21));
        store.flush();
        QVERIFY(store.error().isEmpty());
        QVERIFY(onDisk(path) == history(3, 21));

        QVERIFY(QDir(folder).removeRecursively());
        writeFile(folder, "in the way");
        store.save(history(3, 22));
        store.flush();
        QVERIFY(!store.error().isEmpty());
        QVERIFY(QFile::remove(folder));
        store.save(history(3, 23));
        store.flush();
        QVERIFY(store.error().isEmpty());
        QCOMPARE(errors.count(), 2);
        QVERIFY(onDisk(path) == history(3, 23));
    }

    // A second store of the same history, in another process, writes
    // nothing while the first runs and says why, keeping what it was given;
    // once the first has gone (here killed: its lock file stays behind), it
    // takes the lock, reads what the first left with its own change on top,
    // and writes.
    void secondProcessWaitsForTheFirst() {
        QTemporaryDir dir;
        const QList<Conversation> good = history(2, 10);
        ConversationStore(pathIn(dir)).save(good);

        QProcess holder;
        holder.start(QStringLiteral(STORE_PROBE), {QStringLiteral("hold"), pathIn(dir)});
        QVERIFY(holder.waitForReadyRead(30'000));
        QCOMPARE(holder.readLine().trimmed(), QByteArray("writable"));
        ConversationStore second(pathIn(dir));
        QSignalSpy released(&second, &ConversationStore::historyReleased);
        QVERIFY(!second.isWritable());
        QVERIFY2(second.error().contains(QString::number(holder.processId())),
                 qPrintable(second.error()));
        QVERIFY(second.load() == good);
        second.save(withExtra(good, 1000));
        second.flush();
        QCOMPARE(contents(pathIn(dir)), encodeConversations(good));
        QVERIFY(released.isEmpty());

        holder.kill();
        QVERIFY(holder.waitForFinished());
        QVERIFY(QFileInfo::exists(pathIn(dir) + QStringLiteral(".lock")));
        QVERIFY(released.wait(5000));
        QVERIFY(!second.isWritable()); // not before it has read what is there
        QVERIFY(second.load() == withExtra(good, 1000));
        QVERIFY(second.isWritable());
        QVERIFY(second.error().isEmpty());
        second.flush();
        QVERIFY(onDisk(pathIn(dir)) == withExtra(good, 1000));
    }

    // The folder is moved while a store runs, and another Talvenne makes a
    // history of its own at the old place: the running store stops writing
    // there and says why. Quitting meanwhile leaves the other's lock alone;
    // staying, it takes the history over once the other has gone, with its
    // own unsaved change on top of what the other left.
    void folderMovedAndTakenByAnother_data() {
        QTest::addColumn<bool>("quitsFirst");
        QTest::newRow("the other one quits first") << false;
        QTest::newRow("this one quits first") << true;
    }
    void folderMovedAndTakenByAnother() {
        QFETCH(bool, quitsFirst);
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("history"));
        QVERIFY(QDir().mkpath(folder));
        const QString path = folder + QStringLiteral("/conversations.json");
        auto store = std::make_unique<ConversationStore>(path);
        QSignalSpy released(store.get(), &ConversationStore::historyReleased);
        store->load();
        store->save(history(2, 10));
        store->flush();
        QVERIFY(QDir().rename(folder, dir.filePath(QStringLiteral("moved"))));

        QProcess other;
        other.start(QStringLiteral(STORE_PROBE),
                    {QStringLiteral("twice"), path, QStringLiteral("2"), QStringLiteral("20")});
        QVERIFY(other.waitForReadyRead(30'000));
        QCOMPARE(other.readLine().trimmed(), QByteArray("saved"));
        store->save(withExtra(history(2, 10), 1000));
        store->flush();
        QVERIFY(!store->isWritable());
        QVERIFY2(store->error().contains(QString::number(other.processId())),
                 qPrintable(store->error()));
        QVERIFY(onDisk(path) == history(2, 20));

        if (quitsFirst) {
            store.reset();
            QVERIFY(QFileInfo::exists(path + QStringLiteral(".lock")));
        }
        other.write("again\n");
        QVERIFY(other.waitForFinished(30'000));
        QCOMPARE(other.readAllStandardOutput().trimmed(), QByteArray("saved"));
        if (quitsFirst) {
            QVERIFY(onDisk(path) == history(2, 21));
            return;
        }
        QVERIFY(released.wait(5000));
        QVERIFY(store->load() == withExtra(history(2, 21), 1000));
        QVERIFY(store->error().isEmpty());
        store->flush();
        QVERIFY(onDisk(path) == withExtra(history(2, 21), 1000));
    }

    // A lock whose process is gone is free: left by a killed process, or
    // empty (the process died between making it and writing to it).
    void staleLockIsTakenOver_data() {
        QTest::addColumn<bool>("empty");
        QTest::newRow("left by a killed process") << false;
        QTest::newRow("empty, just made") << true;
    }
    void staleLockIsTakenOver() {
        QFETCH(bool, empty);
        QTemporaryDir dir;
        if (empty) {
            writeFile(pathIn(dir) + QStringLiteral(".lock"), {});
        } else {
            QProcess holder;
            holder.start(QStringLiteral(STORE_PROBE), {QStringLiteral("hold"), pathIn(dir)});
            QVERIFY(holder.waitForReadyRead(30'000));
            holder.kill();
            QVERIFY(holder.waitForFinished());
        }
        QVERIFY(QFileInfo::exists(pathIn(dir) + QStringLiteral(".lock")));

        ConversationStore store(pathIn(dir));
        QVERIFY(store.isWritable());
        store.load();
        store.save(history(2, 3));
        store.flush();
        QVERIFY(store.error().isEmpty());
        QVERIFY(onDisk(pathIn(dir)) == history(2, 3));
    }

    // What writers stopped before they were done left behind (temporary
    // copies, old journals whose messages are all in the file) goes when the
    // next store that owns the folder loads; anything else stays, and a store
    // kept out by another process removes nothing.
    void leftoversOfStoppedWritersGo() {
        QTemporaryDir dir;
        const QList<Conversation> good = history(2, 10);
        ConversationStore(pathIn(dir)).save(good);
        const QByteArray heldJournal =
            Journal::header("[]") + Journal::frame({JournalRecord::Kind::put, good[0]});
        const QByteArray newerJournal =
            Journal::header("[]") +
            Journal::frame({JournalRecord::Kind::put, withExtra(good, 1000)[1]});
        const QStringList left{"conversations.json.saving-Ab12Cd",
                               "conversations.json.journal.old-20250101-000000"};
        const QStringList kept{"conversations.json.backup",
                               "conversations.json.damaged-20250101-000000",
                               "conversations.json.journal.old-20250101-000001"};
        QProcess holder;
        holder.start(QStringLiteral(STORE_PROBE), {QStringLiteral("hold"), pathIn(dir)});
        QVERIFY(holder.waitForReadyRead(30'000));
        writeFile(dir.filePath(left[0]), encodeConversations(good).chopped(9));
        writeFile(dir.filePath(left[1]), heldJournal);
        writeFile(dir.filePath(kept[0]), encodeConversations(good));
        writeFile(dir.filePath(kept[1]), "garbage");
        writeFile(dir.filePath(kept[2]), newerJournal);
        const QStringList before = historyFiles(dir.path());
        QVERIFY(ConversationStore(pathIn(dir)).load() == good);
        QCOMPARE(historyFiles(dir.path()), before);
        holder.kill();
        QVERIFY(holder.waitForFinished());

        ConversationStore store(pathIn(dir));
        QVERIFY(store.load() == good);
        for (const QString& name : left)
            QVERIFY2(!QFileInfo::exists(dir.filePath(name)), qPrintable(name));
        for (const QString& name : kept)
            QVERIFY2(QFileInfo::exists(dir.filePath(name)), qPrintable(name));
    }

    // Read in the background, the history reaches this thread by loaded().
    // A store closed before then writes nothing: neither a snapshot handed
    // in meanwhile nor the fold of the journal it makes once the history is
    // taken (the last row, which shows that it would write).
    void closedBeforeTheLoadIsTakenWritesNothing_data() {
        QTest::addColumn<int>("step");
        QTest::addColumn<bool>("writes");
        QTest::newRow("asked for") << 0 << false;
        QTest::newRow("read, not taken") << 1 << false;
        QTest::newRow("a snapshot meanwhile") << 2 << false;
        QTest::newRow("taken") << 3 << true;
        QTest::newRow("held, never let go") << 4 << false;
    }
    void closedBeforeTheLoadIsTakenWritesNothing() {
        QFETCH(int, step);
        QFETCH(bool, writes);
        QTemporaryDir dir;
        const QList<Conversation> list = history(3, 30);
        const QList<Conversation> changed = withExtra(list, 1000);
        const QByteArray file = encodeConversations(list);
        const QByteArray journal =
            Journal::header(file) + Journal::frame({JournalRecord::Kind::put, changed[1]});
        const QString journalPath = pathIn(dir) + QStringLiteral(".journal");
        writeFile(pathIn(dir), file);
        writeFile(journalPath, journal);
        {
            ConversationStore store(pathIn(dir));
            QSignalSpy loaded(&store, &ConversationStore::loaded);
            if (step == 4)
                store.holdBackgroundLoad();
            store.loadInBackground();
            QVERIFY(!store.isLoaded());
            if (step >= 1 && step <= 3)
                store.flush();
            if (step == 2) {
                store.save(withExtra(changed, 1001));
                store.flush();
            }
            if (step == 3) {
                QTRY_VERIFY(store.isLoaded());
                QCOMPARE(loaded.size(), 1);
                QVERIFY(loaded.at(0).at(0).value<QList<Conversation>>() == changed);
            } else {
                QCOMPARE(loaded.size(), 0);
            }
            QCOMPARE(store.bytesWritten(), 0);
        }
        const bool untouched = contents(pathIn(dir)) == file && contents(journalPath) == journal;
        QCOMPARE(untouched, !writes);
        QCOMPARE(historyFiles(dir.path()),
                 (QStringList{QStringLiteral("conversations.json"),
                              QStringLiteral("conversations.json.journal")}));
        QVERIFY(onDisk(pathIn(dir)) == changed);
    }

    // A held load starts once let go, or when someone waits for the disk.
    void heldLoadWaitsUntilLetGo_data() {
        QTest::addColumn<bool>("byFlush");
        QTest::newRow("released") << false;
        QTest::newRow("a flush") << true;
    }
    void heldLoadWaitsUntilLetGo() {
        QFETCH(bool, byFlush);
        QTemporaryDir dir;
        const QList<Conversation> list = history(3, 30);
        writeFile(pathIn(dir), encodeConversations(list));
        ConversationStore store(pathIn(dir));
        QSignalSpy loaded(&store, &ConversationStore::loaded);
        store.holdBackgroundLoad();
        store.loadInBackground();
        QTest::qWait(100); // read in about a millisecond when not held
        QCOMPARE(loaded.size(), 0);
        if (byFlush)
            store.flush();
        else
            store.releaseBackgroundLoad();
        QTRY_COMPARE(loaded.size(), 1);
        QVERIFY(loaded.at(0).at(0).value<QList<Conversation>>() == list);
    }

    void largeHistory() {
#if defined(__SANITIZE_ADDRESS__)
        const int count = 20000; // the sanitizer makes everything several times slower
#else
        const int count = 100000;
#endif
        QTemporaryDir dir;
        const QList<Conversation> list = history(200, count);

        ConversationStore store(pathIn(dir));
        store.load();
        QElapsedTimer timer;
        timer.start();
        store.save(list);
        const qint64 handOver = timer.nsecsElapsed();
        store.flush();
        const qint64 saved = timer.elapsed();

        ConversationStore reader(pathIn(dir));
        timer.restart();
        const QList<Conversation> loaded = reader.load();
        const qint64 load = timer.elapsed();

        qInfo("%d messages in 200 conversations, %lld bytes: save() returned after %lld us, "
              "on disk after %lld ms, load %lld ms",
              count, QFileInfo(pathIn(dir)).size(), handOver / 1000, saved, load);
        QCOMPARE(loaded.size(), 200);
        QVERIFY(loaded == list);
        QVERIFY2(handOver < 50'000'000, "save() must not encode on the caller's thread");
    }
};

QTEST_GUILESS_MAIN(TestConversationStore)
#include "test_conversation_store.moc"
