#include "controller/conversation_store.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSaveFile>
#include <QStandardPaths>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

// Write and read failures are dropped; enable "talvenne.store.warning" to see
// them.
Q_LOGGING_CATEGORY(lcStore, "talvenne.store", QtCriticalMsg)

namespace {

// Moves an unusable history file out of the way under a name of its own, so
// that nothing the user had is lost when the next save writes a fresh file.
bool moveAside(const QString& path) {
    const QString stem = path + QStringLiteral(".damaged-") +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = stem;
    for (int n = 2; QFileInfo::exists(target) && n < 100; ++n)
        target = stem + QLatin1Char('-') + QString::number(n);
    if (QFile::rename(path, target))
        return true;
    // A copy keeps the bytes just as well; the original may then be replaced.
    if (QFile::copy(path, target))
        return true;
    qCWarning(lcStore) << "could not move aside" << path;
    return false;
}

struct ReadOutcome {
    // Whether a save may now replace whatever is at the path: nothing there,
    // a file we could read, or a damaged file that has been moved aside.
    bool safeToReplace = false;
    QList<Conversation> conversations;
};

ReadOutcome readOrMoveAside(const QString& path) {
    ReadOutcome outcome;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (!QFileInfo::exists(path)) {
            outcome.safeToReplace = true;
            return outcome;
        }
        // There but unreadable: keep it rather than write over it.
        qCWarning(lcStore) << "cannot read" << path << file.errorString();
        outcome.safeToReplace = moveAside(path);
        return outcome;
    }
    const QByteArray bytes = file.readAll();
    const bool readFailed = file.error() != QFileDevice::NoError;
    file.close();
    if (!readFailed) {
        if (auto decoded = decodeConversations(bytes)) {
            outcome.safeToReplace = true;
            outcome.conversations = std::move(*decoded);
            return outcome;
        }
    }
    qCWarning(lcStore) << "undecodable history" << path;
    outcome.safeToReplace = moveAside(path);
    return outcome;
}

} // namespace

// The one background thread that encodes and writes snapshots. The mutex
// guards only the slot of the newest snapshot and the two counters; the
// encoding and the file work happen outside it.
class ConversationStore::Writer {
public:
    explicit Writer(QString filePath)
        : m_filePath(std::move(filePath))
        , m_thread([this] { run(); }) {}

    ~Writer() {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_one();
        // run() writes what is still in the slot before it returns.
        m_thread.join();
    }

    void submit(QList<Conversation> snapshot) {
        {
            std::lock_guard lock(m_mutex);
            // An older snapshot still waiting here has not started writing; the
            // newer one supersedes it.
            m_latest = std::move(snapshot);
            ++m_submitted;
        }
        m_wake.notify_one();
    }

    void flush() {
        std::unique_lock lock(m_mutex);
        const quint64 target = m_submitted;
        m_done.wait(lock, [&] { return m_finished >= target; });
    }

    void setExistingFileChecked(bool checked) { m_existingFileChecked = checked; }

private:
    void run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [&] { return m_latest.has_value() || m_stopping; });
            if (!m_latest)
                return;
            QList<Conversation> snapshot = std::move(*m_latest);
            m_latest.reset();
            const quint64 generation = m_submitted;
            lock.unlock();

            write(snapshot);
            snapshot = {};

            lock.lock();
            m_finished = generation;
            m_done.notify_all();
        }
    }

    void write(const QList<Conversation>& snapshot) {
        // A file nobody has looked at yet might be a damaged history; it is
        // moved aside before it can be replaced. load() normally does this.
        if (!m_existingFileChecked) {
            if (!readOrMoveAside(m_filePath).safeToReplace)
                return;
            m_existingFileChecked = true;
        }

        const QByteArray bytes = encodeConversations(snapshot);
        QDir().mkpath(QFileInfo(m_filePath).absolutePath());
        QSaveFile file(m_filePath);
        if (!file.open(QIODevice::WriteOnly)) {
            qCWarning(lcStore) << "cannot write" << m_filePath << file.errorString();
            return;
        }
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        if (file.write(bytes) != bytes.size()) {
            qCWarning(lcStore) << "write failed" << m_filePath << file.errorString();
            file.cancelWriting();
            return;
        }
        if (!file.commit())
            qCWarning(lcStore) << "commit failed" << m_filePath << file.errorString();
    }

    const QString m_filePath;
    std::atomic<bool> m_existingFileChecked = false;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_done;
    std::optional<QList<Conversation>> m_latest;
    quint64 m_submitted = 0; // snapshots handed in so far
    quint64 m_finished = 0;  // the newest of them written (or dropped on error)
    bool m_stopping = false;

    std::thread m_thread; // last: starts once everything above exists
};

ConversationStore::ConversationStore(QString filePath)
    : m_filePath(std::move(filePath))
    , m_writer(std::make_unique<Writer>(m_filePath)) {}

ConversationStore::~ConversationStore() = default;

QString ConversationStore::defaultFilePath() {
    QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath() + QStringLiteral("/Talvenne");
    QDir().mkpath(folder);
    return folder + QStringLiteral("/conversations.json");
}

const QString& ConversationStore::filePath() const {
    return m_filePath;
}

QList<Conversation> ConversationStore::load() {
    // With no write in flight the writer does not touch the file while it is
    // read (saves come from this same thread).
    m_writer->flush();
    ReadOutcome outcome = readOrMoveAside(m_filePath);
    m_writer->setExistingFileChecked(outcome.safeToReplace);
    return std::move(outcome.conversations);
}

void ConversationStore::save(QList<Conversation> snapshot) {
    m_writer->submit(std::move(snapshot));
}

void ConversationStore::flush() {
    m_writer->flush();
}
