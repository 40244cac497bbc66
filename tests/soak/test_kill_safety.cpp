// The history (file and journal) survives its writer being killed at any
// moment: after each SIGKILL it loads, and it holds at least the newest save
// the writer reported as complete.
#include "controller/conversation_store.h"
#include "test_support.h"

#include <QDir>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

namespace {

int envInt(const char* name, int fallback) {
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok ? value : fallback;
}

// The n of the marker conversation's last "save <n>" message, or -1.
qint64 lastSave(const QList<Conversation>& history) {
    for (const Conversation& conversation : history) {
        if (conversation.target == ConversationID::contact(QStringLiteral("marker")) &&
            !conversation.messages.isEmpty())
            return conversation.messages.last().text.toString().mid(5).toLongLong();
    }
    return -1;
}

} // namespace

class TestKillSafety : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { TestSupport::isolateFromUserFiles(); }

    void survivesKillsAtRandomMoments() {
        const int kills = envInt("TALVENNE_SOAK_KILLS", 12);
        const quint32 seed = quint32(
            envInt("TALVENNE_SOAK_SEED", int(QRandomGenerator::system()->generate() & 0x7fffffff)));
        QRandomGenerator random(seed);
        qInfo("kills: %d, seed: %u (TALVENNE_SOAK_SEED reproduces the delays)", kills, seed);

        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("conversations.json"));
        qint64 completed = -1;
        int killedMidWrite = 0;
        for (int round = 0; round < kills; ++round) {
            QProcess writer;
            writer.setProcessChannelMode(QProcess::SeparateChannels);
            writer.start(QStringLiteral(HISTORY_WRITER), {path, QString::number(completed + 1)});
            QVERIFY2(writer.waitForStarted(), qPrintable(writer.errorString()));
            // The first round lets one save finish, so that every later
            // round has a file to protect (a slow start, as under the
            // sanitizers, would otherwise leave nothing to check).
            if (round == 0)
                QVERIFY(writer.waitForReadyRead(30'000));
            // Sometimes right away, sometimes after many saves.
            QTest::qWait(int(random.bounded(5, 120)));
            writer.kill();
            QVERIFY(writer.waitForFinished());
            QCOMPARE(writer.exitStatus(), QProcess::CrashExit);
            const QList<QByteArray> lines = writer.readAllStandardOutput().split('\n');
            for (const QByteArray& line : lines) {
                if (line.startsWith("saved "))
                    completed = std::max(completed, line.mid(6).toLongLong());
            }
            const QString context = QStringLiteral("round %1, seed %2").arg(round).arg(seed);
            if (!QFile::exists(path)) {
                QVERIFY2(completed < 0, qPrintable(context + QStringLiteral(": file missing")));
                continue;
            }
            // Read as the next start would: the file with the journal
            // replayed, and nothing put aside as damaged.
            const QList<Conversation> history = ConversationStore(path).load();
            QVERIFY2(
                QDir(dir.path()).entryList({QStringLiteral("*.damaged-*")}, QDir::Files).isEmpty(),
                qPrintable(context + QStringLiteral(": damaged files")));
            // Nor anything the killed writer left half done.
            const QStringList leftovers =
                QDir(dir.path())
                    .entryList({QStringLiteral("*.saving-*"), QStringLiteral("*.old-*")},
                               QDir::Files);
            QVERIFY2(leftovers.isEmpty(), qPrintable(context + QStringLiteral(": left behind: ") +
                                                     leftovers.join(u' ')));
            const qint64 onDisk = lastSave(history);
            QVERIFY2(onDisk >= completed,
                     qPrintable(context + QStringLiteral(": file holds save %1, writer finished %2")
                                              .arg(onDisk)
                                              .arg(completed)));
            killedMidWrite += onDisk > completed ? 1 : 0;
            completed = onDisk;
        }
        QVERIFY2(completed >= 0, "the writer never completed a save");
        qInfo("saves completed: %lld, kills after a write the writer had not reported: %d",
              completed, killedMidWrite);
    }
};

QTEST_GUILESS_MAIN(TestKillSafety)
#include "test_kill_safety.moc"
