#include "storage/owned_lock.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

using State = OwnedLock::State;

namespace {

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), bytes.size());
}

} // namespace

class TestOwnedLock : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Who may take a lock, by what stands at its path. A file that nobody
    // holds is free whatever it says; a lock held through another OwnedLock
    // keeps out even this same process (two files of one folder must not
    // be written by two writers of one process either).
    void takingTheLock_data() {
        QTest::addColumn<QString>("before");
        QTest::addColumn<int>("state");
        QTest::newRow("nothing there") << "" << int(State::owned);
        QTest::newRow("empty file") << "empty" << int(State::owned);
        QTest::newRow("file of an ended process") << "ended" << int(State::owned);
        QTest::newRow("held by another lock") << "held" << int(State::heldElsewhere);
        QTest::newRow("held, then let go") << "released" << int(State::owned);
        QTest::newRow("folder missing") << "no folder" << int(State::failed);
    }
    void takingTheLock() {
        QFETCH(QString, before);
        QFETCH(int, state);
        QTemporaryDir dir;
        const QString path = before == QLatin1String("no folder")
                                 ? dir.filePath(QStringLiteral("gone/x.lock"))
                                 : dir.filePath(QStringLiteral("x.lock"));
        std::unique_ptr<OwnedLock> first;
        if (before == QLatin1String("empty"))
            writeFile(path, {});
        if (before == QLatin1String("ended"))
            writeFile(path, "2147483646\nTalvenne\nelsewhere\n");
        if (before == QLatin1String("held") || before == QLatin1String("released")) {
            first = std::make_unique<OwnedLock>(path);
            QCOMPARE(first->acquire(), State::owned);
            if (before == QLatin1String("released"))
                first->release();
        }

        OwnedLock lock(path);
        QCOMPARE(int(lock.acquire()), state);
        switch (State(state)) {
        case State::owned:
            QCOMPARE(lock.holder(), 0);
            QVERIFY(QFile::exists(path));
            lock.release();
            QVERIFY(!QFile::exists(path));
            break;
        case State::heldElsewhere:
            QCOMPARE(lock.holder(), QCoreApplication::applicationPid());
            lock.release();
            QVERIFY(QFile::exists(path)); // not ours to remove
            break;
        case State::failed:
            QCOMPARE(lock.error(), ENOENT);
            break;
        }
    }

    // Owned for as long as it is used: a lock file that went (its folder
    // moved or removed) is taken again; one that another writer put in its
    // place keeps this one out and is never removed by it.
    void keptForAsLongAsItIsUsed() {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("x.lock"));
        OwnedLock lock(path);
        QCOMPARE(lock.acquire(), State::owned);
        QCOMPARE(lock.acquire(), State::owned);

        QVERIFY(QFile::remove(path));
        QCOMPARE(lock.acquire(), State::owned);
        QVERIFY(QFile::exists(path));

        QVERIFY(QFile::rename(path, dir.filePath(QStringLiteral("moved.lock"))));
        OwnedLock other(path);
        QCOMPARE(other.acquire(), State::owned);
        QCOMPARE(lock.acquire(), State::heldElsewhere);
        lock.release();
        QVERIFY(QFile::exists(path));
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("moved.lock"))));

        other.release();
        QCOMPARE(lock.acquire(), State::owned);
    }
};

QTEST_GUILESS_MAIN(TestOwnedLock)
#include "test_owned_lock.moc"
