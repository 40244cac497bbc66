// The conversation file on disk: background writing, atomic replacement,
// damaged files and a large history.

#include "controller/conversation_store.h"
#include "test_support.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <sys/stat.h>

namespace {

const QDateTime base(QDate(2025, 3, 1), QTime(12, 0), Qt::UTC);

ChatMessage message(int n) {
    ChatMessage m;
    m.id = QUuid::createUuid();
    m.direction = n % 2 ? ChatMessage::Direction::outgoing : ChatMessage::Direction::incoming;
    m.text = QStringLiteral("Message %1: on the ridge by the \"old\" mast, battery fine").arg(n);
    m.timestamp = base.addMSecs(qint64(n) * 7919);
    if (n % 2) {
        m.deliveryState = ChatMessage::DeliveryState::delivered;
        m.expectedAck = 0x9e3779b9u * std::uint32_t(n);
        m.roundTripMillis = 900 + n % 3000;
        m.estimatedTimeoutMillis = 6400;
        m.hopCount = n % 4;
    } else {
        m.snr = (n % 80 - 40) / 4.0;
        m.pathLength = n % 5;
    }
    return m;
}

// `count` messages spread over `conversations` conversations.
QList<Conversation> history(int conversations, int count) {
    QList<Conversation> list;
    for (int c = 0; c < conversations; ++c) {
        Conversation conversation;
        conversation.target =
            c % 10 == 0
                ? ConversationID::channel(c / 10)
                : ConversationID::contact(QStringLiteral("%1").arg(c, 64, 16, QLatin1Char('0')));
        conversation.lastActivity = distantPast();
        list.append(conversation);
    }
    for (int n = 0; n < count; ++n) {
        Conversation& conversation = list[n % conversations];
        conversation.messages.append(message(n));
        conversation.lastActivity = conversation.messages.last().timestamp;
        conversation.unreadCount += n % 7 == 0;
    }
    return list;
}

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
    return dir.entryList({QStringLiteral("conversations.json.damaged-*")}, QDir::Files, QDir::Name);
}

} // namespace

class TestConversationStore : public QObject {
    Q_OBJECT

private:
    QString pathIn(const QTemporaryDir& dir) const {
        return dir.filePath(QStringLiteral("conversations.json"));
    }

private slots:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void defaultPathIsInTheAppDataFolder() {
        const QString path = ConversationStore::defaultFilePath();
        QCOMPARE(QFileInfo(path).fileName(), QStringLiteral("conversations.json"));
        QCOMPARE(QFileInfo(path).absolutePath(),
                 QStandardPaths::writableLocation(QStandardPaths::AppDataLocation));
        QVERIFY(path.contains(QStringLiteral("/Talvenne/")));
        QVERIFY(QFileInfo(QFileInfo(path).absolutePath()).isDir());
    }

    void missingFileLoadsEmpty() {
        QTemporaryDir dir;
        ConversationStore store(pathIn(dir));
        QVERIFY(store.load().isEmpty());
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::NoDotAndDotDot), QStringList());
    }

    void savesAndLoadsBack() {
        QTemporaryDir dir;
        const QList<Conversation> list = history(5, 40);
        {
            ConversationStore store(pathIn(dir));
            QVERIFY(store.load().isEmpty());
            store.save(list);
            store.flush();
            QCOMPARE(contents(pathIn(dir)), encodeConversations(list));
        }
        ConversationStore again(pathIn(dir));
        QVERIFY(again.load() == list);
    }

    void fileIsPrivateToTheUser() {
        QTemporaryDir dir;
        // An existing file with looser permissions is replaced by a private one.
        writeFile(pathIn(dir), "[]");
        QFile::setPermissions(pathIn(dir), QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                                               QFileDevice::ReadGroup | QFileDevice::ReadOther);
        QCOMPARE(mode(pathIn(dir)), 0644u);

        ConversationStore store(pathIn(dir));
        QVERIFY(store.load().isEmpty());
        store.save(history(1, 1));
        store.flush();
        QCOMPARE(mode(pathIn(dir)), 0600u);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"conversations.json"});
    }

    void destructorFinishesTheWrites() {
        QTemporaryDir dir;
        const QList<Conversation> list = history(3, 9);
        {
            ConversationStore store(pathIn(dir));
            store.load();
            store.save(history(3, 3));
            store.save(list);
        }
        QCOMPARE(contents(pathIn(dir)), encodeConversations(list));
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
        ConversationStore reader(pathIn(dir));
        const QList<Conversation> loaded = reader.load();
        QCOMPARE(loaded.size(), 1);
        QCOMPARE(loaded[0].messages.size(), 1000);
        QVERIFY(loaded[0] == growing);
        // No temporary files left behind.
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{"conversations.json"});
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
            QCOMPARE(contents(pathIn(dir)), encodeConversations(list));
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

    void emptyArrayIsNotDamage() {
        QTemporaryDir dir;
        writeFile(pathIn(dir), "[]");
        ConversationStore store(pathIn(dir));
        QVERIFY(store.load().isEmpty());
        QVERIFY(damagedCopies(QDir(dir.path())).isEmpty());
        QCOMPARE(contents(pathIn(dir)), QByteArray("[]"));
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
