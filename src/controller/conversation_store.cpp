#include "controller/conversation_store.h"

#include "controller/conversation_journal.h"
#include "controller/history_on_disk.h"
#include "storage/durable_file.h"
#include "storage/owned_lock.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <condition_variable>
#include <mutex>
#include <thread>

// Failures reach the user through error(); enable "talvenne.store.warning"
// to see each of them.
Q_LOGGING_CATEGORY(lcStore, "talvenne.store", QtCriticalMsg)

namespace {

constexpr qint64 defaultMinimumFoldBytes = 64 * 1024;
// The journal is folded once it holds a sixteenth of the file's size: at a
// few hundred bytes a record, a 25 MB history is rewritten about every
// 3,500 changes, and replaying the longest journal at start costs less than
// the file's own load varies.
constexpr qint64 foldDivisor = 16;
// A fold writes the file in blocks of this size as it encodes it.
constexpr qsizetype foldBlockBytes = 1 << 20;

// The device's own message, else the last system error's.
QString failureText(const QFileDevice& file, int error) {
    if (file.error() != QFileDevice::NoError && !file.errorString().isEmpty())
        return file.errorString();
    return qt_error_string(error);
}

QString lockedText(qint64 pid) {
    //: Why the history is not saved; %1 is the process id of the other Talvenne.
    QString text = qtTrId("history.error.locked");
    if (!text.contains(QLatin1String("%1"))) // no string table loaded
        text = QStringLiteral("Talvenne is already running (process %1) and keeps it");
    return text.arg(pid);
}

// How often a store kept out by another process looks whether it has gone.
constexpr auto lockPollInterval = std::chrono::seconds(1);

} // namespace

using HistoryOnDisk::FileId;
using HistoryOnDisk::fileId;
using HistoryOnDisk::History;
using HistoryOnDisk::readHistory;
using HistoryOnDisk::shareUnchanged;

// The one background thread that encodes and writes snapshots. The mutex
// guards the slot of the newest snapshot, the counters, the error text and
// whether another process holds the history; the encoding and the file work
// happen outside it. Everything else is touched by this thread only, or by
// load() while the thread writes nothing.
//
// The lock is taken again before each write. When another process turns out
// to hold it (at start, or after the folder was moved and another Talvenne
// made its own), nothing is written: snapshots are kept, and the thread looks
// every second whether the other process has gone. Once it has, the lock is
// ours again, but the disk holds what the other process left: nothing is
// written until load() has read that, with this process's unsaved changes
// applied on top.
//
// A load asked for in the background runs on this thread too, after the
// snapshots handed in before it. From its start until the main thread has
// taken what it read, nothing is written: a snapshot handed in meanwhile
// cannot hold the history and is dropped, and a store closed before then
// leaves the files as they are.
class ConversationStore::Writer {
public:
    explicit Writer(ConversationStore* owner)
        : m_owner(owner)
        , m_path(owner->m_filePath)
        , m_journalPath(owner->journalPath())
        , m_lock(m_path + QStringLiteral(".lock")) {
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        if (m_lock.acquire() == OwnedLock::State::heldElsewhere) {
            m_heldElsewhere = true;
            m_owner->m_writable = false;
            m_error = lockedText(m_lock.holder());
        }
        m_thread = std::thread([this] { run(); });
    }

    ~Writer() {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_one();
        // run() writes what is still in the slot and folds before it returns.
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

    // The snapshot that could not be written goes again.
    void retry() {
        {
            std::lock_guard lock(m_mutex);
            m_retryWanted = true;
            ++m_submitted;
        }
        m_wake.notify_one();
    }

    void loadInBackground(const QDateTime& awaitedSince) {
        {
            std::lock_guard lock(m_mutex);
            m_awaitedSince = awaitedSince;
            m_backgroundLoad = BackgroundLoad::wanted;
            ++m_submitted;
        }
        m_wake.notify_one();
    }

    // While held, a background load asked for waits to start.
    void holdLoad(bool held) {
        {
            std::lock_guard lock(m_mutex);
            m_loadHeld = held;
        }
        m_wake.notify_one();
    }

    // The main thread has taken what the background load read.
    void handedOver() {
        std::lock_guard lock(m_mutex);
        m_backgroundLoad = BackgroundLoad::none;
    }

    void flush() {
        std::unique_lock lock(m_mutex);
        // Whoever waits for the disk must not wait for a held load as well.
        if (std::exchange(m_loadHeld, false))
            m_wake.notify_one();
        const quint64 target = m_submitted;
        m_done.wait(lock, [&] { return m_finished >= target; });
    }

    // Reads what is on the disk, with what this process could not write
    // applied on top. Only while the thread writes nothing (after flush()).
    QDateTime awaitedSince() const {
        std::lock_guard lock(m_mutex);
        return m_awaitedSince;
    }

    // `unsettled`, when given, gets where the unsettled messages are.
    QList<Conversation> load(UnsettledMessages* unsettled = nullptr) {
        bool held = false;
        {
            std::lock_guard lock(m_mutex);
            held = m_heldElsewhere;
        }
        History history = readHistory(m_path, m_journalPath, !held);
        QList<Conversation> conversations = history.conversations;
        const bool merged = m_written && m_unsaved && history.safeToReplace;
        if (merged)
            Journal::apply(conversations, Journal::diff(*m_written, *m_unsaved));
        if (unsettled)
            *unsettled = history.unsettled.in(conversations, awaitedSince());
        // Let go here: what it noted shares the lists it was noted in.
        history.unsettled = {};
        if (!held && !history.safeToReplace)
            setError(history.problem);
        adopt(std::move(history));
        if (held)
            return conversations;

        bool reloaded = false;
        {
            std::lock_guard lock(m_mutex);
            reloaded = std::exchange(m_awaitingReload, false);
        }
        if (reloaded) {
            m_owner->m_writable = true;
            setError({});
            Q_EMIT m_owner->writableChanged();
        }
        if (merged)
            submit(conversations);
        return conversations;
    }

    QString error() const {
        std::lock_guard lock(m_mutex);
        return m_error;
    }

    void setError(const QString& error) {
        {
            std::lock_guard lock(m_mutex);
            if (m_error == error)
                return;
            m_error = error;
        }
        if (!error.isEmpty())
            qCWarning(lcStore) << "history not saved:" << error;
        Q_EMIT m_owner->errorChanged(error);
    }

    std::atomic<qint64> bytesWritten = 0;
    std::atomic<qint64> minimumFoldBytes = defaultMinimumFoldBytes;

private:
    void run() {
        std::unique_lock lock(m_mutex);
        for (;;) {
            const auto due = [&] {
                return m_latest || m_retryWanted || m_stopping ||
                       (m_backgroundLoad == BackgroundLoad::wanted && !m_loadHeld) ||
                       m_reread == Reread::wanted || m_reread == Reread::taken;
            };
            if (m_heldElsewhere) {
                m_wake.wait_for(lock, lockPollInterval, due);
                lock.unlock();
                lookForRelease();
                lock.lock();
            } else {
                m_wake.wait(lock, due);
            }
            // The history the main thread goes on with after a reread: what
            // was read becomes what the disk holds, before that is written.
            if (m_reread == Reread::taken) {
                m_reread = Reread::none;
                lock.unlock();
                adoptReread();
                lock.lock();
            }
            if (m_stopping && !m_latest)
                break;
            if (m_reread == Reread::wanted && !m_latest && !m_retryWanted && !m_stopping) {
                m_reread = Reread::read;
                lock.unlock();
                rereadForOwner();
                lock.lock();
                continue;
            }
            // Snapshots handed in before it are written first.
            if (!m_latest && !m_retryWanted && m_backgroundLoad == BackgroundLoad::wanted &&
                !m_loadHeld && !m_stopping) {
                m_backgroundLoad = BackgroundLoad::running;
                const quint64 generation = m_submitted;
                lock.unlock();
                readForOwner();
                lock.lock();
                m_finished = std::max(m_finished, generation);
                m_done.notify_all();
                continue;
            }
            if (!m_latest && !m_retryWanted)
                continue;
            std::optional<QList<Conversation>> snapshot = std::exchange(m_latest, std::nullopt);
            m_retryWanted = false;
            const quint64 generation = m_submitted;
            lock.unlock();

            if (snapshot)
                write(std::move(*snapshot));
            else if (m_unsaved)
                write(*m_unsaved);

            lock.lock();
            m_finished = generation;
            m_done.notify_all();
        }
        m_finished = m_submitted;
        m_done.notify_all();
        lock.unlock();
        close();
    }

    void readForOwner() {
        UnsettledMessages unsettled;
        QList<Conversation> conversations = load(&unsettled);
        {
            std::lock_guard lock(m_mutex);
            if (m_backgroundLoad == BackgroundLoad::running)
                m_backgroundLoad = BackgroundLoad::read;
        }
        // Dropped with the store when it is gone before the event is handled.
        ConversationStore* owner = m_owner;
        QMetaObject::invokeMethod(
            owner,
            [owner, conversations = std::move(conversations), unsettled = std::move(unsettled)] {
                owner->m_writer->handedOver();
                owner->m_loaded = true;
                Q_EMIT owner->loaded(conversations, unsettled);
            },
            Qt::QueuedConnection);
    }

    // What another process left, read for the main thread; see
    // ConversationStore::rereadInBackground(). Nothing changes here until
    // the main thread hands back what it goes on with: quitting meanwhile
    // reads the disk again at close().
    void rereadForOwner() {
        History history = readHistory(m_path, m_journalPath, true);
        HistoryReread reread;
        if (history.safeToReplace && m_written)
            shareUnchanged(history.conversations, *m_written, &history.unsettled);
        // Nobody wrote meanwhile: the main thread keeps what it has.
        reread.unchanged = history.safeToReplace && m_written &&
                           history.conversations.size() == m_written->size() &&
                           std::equal(history.conversations.cbegin(), history.conversations.cend(),
                                      m_written->cbegin(), [](const auto& a, const auto& b) {
                                          return a.messages.isSharedWith(b.messages) && a == b;
                                      });
        if (!reread.unchanged) {
            reread.conversations = history.conversations;
            if (m_written && m_unsaved && history.safeToReplace)
                Journal::apply(reread.conversations, Journal::diff(*m_written, *m_unsaved));
            reread.unsettled = history.unsettled.in(reread.conversations, awaitedSince());
            reread.base = m_unsaved ? m_unsaved : m_written;
        }
        history.unsettled = {};
        m_rereadHistory = std::move(history);
        ConversationStore* owner = m_owner;
        QMetaObject::invokeMethod(
            owner, [owner, reread = std::move(reread)] { Q_EMIT owner->reread(reread); },
            Qt::QueuedConnection);
    }

public:
    void rereadWanted(const QDateTime& awaitedSince) {
        {
            std::lock_guard lock(m_mutex);
            if (!m_awaitingReload || m_reread != Reread::none)
                return;
            m_awaitedSince = awaitedSince;
            m_reread = Reread::wanted;
        }
        m_wake.notify_one();
    }

    // On the main thread: `history` is written from now on.
    void rereadTaken(QList<Conversation> history) {
        {
            std::lock_guard lock(m_mutex);
            if (m_reread != Reread::read)
                return;
            m_reread = Reread::taken;
            m_latest = std::move(history);
            ++m_submitted;
        }
        m_owner->m_writable = true;
        setError({});
        Q_EMIT m_owner->writableChanged();
        m_wake.notify_one();
    }

private:
    void adoptReread() {
        if (!m_rereadHistory)
            return;
        const bool safe = m_rereadHistory->safeToReplace;
        const QString problem = m_rereadHistory->problem;
        adopt(std::move(*m_rereadHistory));
        m_rereadHistory.reset();
        {
            std::lock_guard lock(m_mutex);
            m_awaitingReload = false;
        }
        if (!safe)
            setError(problem);
    }

    // Asked for or under way: nothing may be written from now until the
    // main thread has the history.
    bool loadPending(bool started) const {
        std::lock_guard lock(m_mutex);
        return started ? m_backgroundLoad == BackgroundLoad::running ||
                             m_backgroundLoad == BackgroundLoad::read
                       : m_backgroundLoad != BackgroundLoad::none;
    }

    // Another process held the history: has it let go?
    void lookForRelease() {
        const OwnedLock::State state = m_lock.acquire();
        if (state == OwnedLock::State::heldElsewhere) {
            setError(lockedText(m_lock.holder()));
            return;
        }
        if (state != OwnedLock::State::owned)
            return;
        {
            std::lock_guard lock(m_mutex);
            m_heldElsewhere = false;
            m_awaitingReload = true;
        }
        qCInfo(lcStore) << "the history is free again";
        Q_EMIT m_owner->historyReleased();
    }

    bool writingHeld() const {
        std::lock_guard lock(m_mutex);
        return m_heldElsewhere || m_awaitingReload;
    }

    void write(QList<Conversation> snapshot) {
        if (loadPending(true)) {
            qCWarning(lcStore) << "a snapshot from before the history was read is not written";
            return;
        }
        if (writingHeld() || !ensureLock()) {
            m_unsaved = std::move(snapshot);
            return;
        }
        // A save before any load: whatever is there is looked at first (and
        // moved aside when damaged), so that the journal continues the file.
        if (!m_checked) {
            History history = readHistory(m_path, m_journalPath, true);
            if (!history.safeToReplace) {
                m_unsaved = std::move(snapshot);
                setError(history.problem);
                return;
            }
            adopt(std::move(history));
        }

        QString reason;
        if (baseIntact() && journalIntact()) {
            QByteArray records;
            for (const JournalRecord& record : Journal::diff(*m_written, snapshot))
                records += Journal::frame(record);
            if (records.isEmpty()) {
                succeeded(std::move(snapshot));
                return;
            }
            const bool withinBound = m_journalBytes + records.size() <=
                                     std::max(minimumFoldBytes.load(), m_base.size / foldDivisor);
            if (withinBound && append(records, reason)) {
                succeeded(std::move(snapshot));
                return;
            }
            if (fold(snapshot, reason)) {
                succeeded(std::move(snapshot));
                return;
            }
            // Better a long journal than a lost change.
            if (!withinBound && append(records, reason)) {
                succeeded(std::move(snapshot));
                return;
            }
        } else if (fold(snapshot, reason)) {
            succeeded(std::move(snapshot));
            return;
        }
        m_unsaved = std::move(snapshot);
        setError(reason);
    }

    void succeeded(QList<Conversation> snapshot) {
        m_written = std::move(snapshot);
        m_unsaved.reset();
        setError({});
    }

    // What load() found becomes what the disk holds.
    void adopt(History history) {
        m_checked = history.safeToReplace;
        if (history.safeToReplace)
            m_written = std::move(history.conversations);
        m_unsaved.reset();
        m_base = history.base;
        m_journal.close();
        m_journalAppendable = history.journalAppendable;
        m_journalBytes = history.journalBytes;
        m_foldWanted = history.foldWanted;
    }

    // At quit: the journal goes into a fresh file, and a snapshot that could
    // not be saved gets one more try; when a whole file does not fit, its
    // changes go to the journal. Nothing is written while another process
    // holds the history; when it let go after the last read, what is on the
    // disk is read first and the unsaved changes go on top of it.
    void close() {
        if (loadPending(false)) {
            qCInfo(lcStore) << "closed before the history was read: nothing written";
            return;
        }
        bool held = false;
        bool reread = false;
        {
            std::lock_guard lock(m_mutex);
            held = m_heldElsewhere;
            reread = m_awaitingReload;
        }
        if (held) {
            if (m_unsaved)
                qCWarning(lcStore) << "history not saved at quit: another Talvenne keeps it";
            return;
        }
        if (!ensureLock())
            return;
        if (reread) {
            if (!m_unsaved)
                return;
            const std::optional<QList<Conversation>> base = m_written;
            const QList<Conversation> unsaved = *m_unsaved;
            History history = readHistory(m_path, m_journalPath, true);
            if (!history.safeToReplace || !base)
                return;
            QList<Conversation> merged = history.conversations;
            Journal::apply(merged, Journal::diff(*base, unsaved));
            adopt(std::move(history));
            m_unsaved = std::move(merged);
        }
        QString reason;
        if (m_unsaved) {
            if (!fold(*m_unsaved, reason) && !appendUnsaved(reason))
                qCWarning(lcStore) << "history not saved at quit:" << reason;
        } else if (m_written && m_foldWanted && !fold(*m_written, reason)) {
            qCWarning(lcStore) << "journal not folded at quit:" << reason;
        }
        m_journal.close();
    }

    // The unsaved snapshot's changes as journal records: they take far less
    // room than the whole file.
    bool appendUnsaved(QString& reason) {
        if (!m_written || !m_unsaved || !baseIntact() || !journalIntact())
            return false;
        QByteArray records;
        for (const JournalRecord& record : Journal::diff(*m_written, *m_unsaved))
            records += Journal::frame(record);
        if (!append(records, reason))
            return false;
        qCWarning(lcStore) << "history kept in the journal at quit";
        return true;
    }

    // Whether this process may write: it holds the lock, taking it again
    // when its lock file is gone with a moved or removed folder.
    bool ensureLock() {
        QDir().mkpath(QFileInfo(m_path).absolutePath());
        switch (m_lock.acquire()) {
        case OwnedLock::State::owned:
            return true;
        case OwnedLock::State::heldElsewhere:
            // Another Talvenne took the history meanwhile: this one stays
            // out until it has gone.
            {
                std::lock_guard lock(m_mutex);
                m_heldElsewhere = true;
            }
            m_owner->m_writable = false;
            setError(lockedText(m_lock.holder()));
            Q_EMIT m_owner->writableChanged();
            return false;
        case OwnedLock::State::failed:
            setError(qt_error_string(m_lock.error()));
            return false;
        }
        return false;
    }

    bool baseIntact() const { return m_base.exists() && fileId(m_path) == m_base; }

    bool journalIntact() const {
        if (!m_journalAppendable)
            return false;
        const FileId onDisk = fileId(m_journalPath);
        if (onDisk.size != m_journalBytes)
            return false;
        return !m_journal.isOpen() || fileId(m_journal).sameFile(onDisk);
    }

    // Appends whole records and waits for the disk; on failure the journal
    // is cut back to where it was.
    bool append(const QByteArray& records, QString& reason) {
        if (!m_journal.isOpen()) {
            const bool existed = QFileInfo::exists(m_journalPath);
            m_journal.setFileName(m_journalPath);
            if (!m_journal.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
                reason = m_journal.errorString();
                m_journalAppendable = false;
                return false;
            }
            // A journal made just now is only found again once the folder
            // says it is there.
            if (!existed)
                Durable::syncFolderOf(m_journalPath);
        }
        const qint64 written = m_journal.write(records);
        const int writeError = errno;
        if (written == records.size() && Durable::sync(m_journal)) {
            m_journalBytes += written;
            bytesWritten += written;
            m_foldWanted = true;
            return true;
        }
        reason = failureText(m_journal, written == records.size() ? errno : writeError);
        if (!m_journal.resize(m_journalBytes)) {
            // A cut-short record stays at the end: no record may follow it.
            m_journalAppendable = false;
            m_journal.close();
        }
        return false;
    }

    // Writes the whole snapshot to a new file that replaces the old one only
    // once every byte is on the disk, then starts an empty journal for it.
    // The file is written as it is encoded, a block at a time, so that a
    // fold needs little memory beside the history itself.
    bool fold(const QList<Conversation>& snapshot, QString& reason) {
        Durable::Replacement file(m_path);
        qint64 size = 0;
        QByteArray tail; // the file's last bytes, for the journal's header
        const bool encoded =
            encodeConversations(snapshot, foldBlockBytes, [&](QByteArrayView block) {
                if (!file.write(block))
                    return false;
                size += block.size();
                tail.append(block.last(std::min(block.size(), Journal::tailBytes)));
                if (tail.size() > Journal::tailBytes)
                    tail.remove(0, tail.size() - Journal::tailBytes);
                return true;
            });
        if (!encoded || !file.commit()) {
            reason = file.failure();
            return false;
        }
        bytesWritten += size;
        m_base = fileId(m_path);
        m_base.size = size;
        m_written = snapshot;
        m_foldWanted = false;

        // A journal that cannot be started leaves the new file whole: its
        // old header names the old file, so its records are not replayed.
        const QByteArray header = Journal::header(size, tail);
        m_journal.close();
        m_journal.setFileName(m_journalPath);
        m_journalAppendable =
            m_journal.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered) &&
            m_journal.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner) &&
            m_journal.write(header) == header.size() && Durable::sync(m_journal) &&
            Durable::syncFolderOf(m_journalPath);
        m_journal.close();
        m_journalBytes = header.size();
        if (m_journalAppendable)
            bytesWritten += header.size();
        else
            qCWarning(lcStore) << "cannot start" << m_journalPath << m_journal.errorString();
        return true;
    }

    ConversationStore* const m_owner;
    const QString m_path;
    const QString m_journalPath;

    OwnedLock m_lock;
    bool m_checked = false; // the existing file was looked at (by load or a first save)
    std::optional<QList<Conversation>> m_written; // what the disk holds
    std::optional<QList<Conversation>> m_unsaved; // the newest snapshot not written
    FileId m_base;                                // conversations.json as last read or written
    QFile m_journal;
    bool m_journalAppendable = false;
    qint64 m_journalBytes = 0;
    bool m_foldWanted = false;

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_done;
    std::optional<QList<Conversation>> m_latest;
    bool m_retryWanted = false;
    quint64 m_submitted = 0; // snapshots (and retries) handed in so far
    quint64 m_finished = 0;  // the newest of them written (or failed)
    bool m_stopping = false;
    bool m_heldElsewhere = false;  // another running process holds the lock
    bool m_awaitingReload = false; // the lock is ours again; load() must read the disk
    // A load on this thread for the main thread: asked for, reading, read
    // but not yet taken.
    enum class BackgroundLoad { none, wanted, running, read };
    BackgroundLoad m_backgroundLoad = BackgroundLoad::none;
    bool m_loadHeld = false; // a wanted load waits (holdBackgroundLoad)
    // What another process left, read again for the main thread: asked
    // for, read (and m_rereadHistory kept for when it is taken), taken back.
    enum class Reread { none, wanted, read, taken };
    Reread m_reread = Reread::none;
    std::optional<History> m_rereadHistory; // the writing thread's
    // Confirmations of messages sent before it are no longer handed over.
    QDateTime m_awaitedSince;
    QString m_error;

    std::thread m_thread; // started last, once everything above exists
};

ConversationStore::ConversationStore(QString filePath, QObject* parent)
    : QObject(parent)
    , m_filePath(std::move(filePath))
    , m_writer(std::make_unique<Writer>(this)) {}

ConversationStore::~ConversationStore() {
    m_writer.reset();
}

QString ConversationStore::defaultFilePath() {
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString folder = (data.isEmpty() ? QDir::tempPath() : data) + QStringLiteral("/Talvenne");
    QDir().mkpath(folder);
    const QString path = folder + QStringLiteral("/conversations.json");

    // Earlier versions wrote into Talvenne/Talvenne (organisation and
    // application folder); such a history moves up when it is the only one.
    const QString doubled = folder + QStringLiteral("/Talvenne/conversations.json");
    if (!QFileInfo::exists(path) && QFileInfo::exists(doubled)) {
        if (QFile::rename(doubled, path) || QFile::copy(doubled, path)) {
            Durable::syncFolderOf(path);
            QDir(folder).rmdir(QStringLiteral("Talvenne"));
        } else
            qCWarning(lcStore) << "could not move" << doubled << "to" << path;
    }
    return path;
}

const QString& ConversationStore::filePath() const {
    return m_filePath;
}

QString ConversationStore::journalPath() const {
    return m_filePath + QStringLiteral(".journal");
}

QList<Conversation> ConversationStore::load() {
    // With no write in flight the writer does not touch the files while
    // they are read (saves come from this same thread).
    m_writer->flush();
    return m_writer->load();
}

void ConversationStore::loadInBackground(const QDateTime& awaitedSince) {
    m_loaded = false;
    m_writer->loadInBackground(awaitedSince);
}

void ConversationStore::holdBackgroundLoad() {
    m_writer->holdLoad(true);
}

void ConversationStore::releaseBackgroundLoad() {
    m_writer->holdLoad(false);
}

void ConversationStore::rereadInBackground(const QDateTime& awaitedSince) {
    m_writer->rereadWanted(awaitedSince);
}

void ConversationStore::takeReread(QList<Conversation> history) {
    m_writer->rereadTaken(std::move(history));
}

void ConversationStore::save(QList<Conversation> snapshot) {
    m_writer->submit(std::move(snapshot));
}

bool ConversationStore::saveAgain() {
    m_writer->retry();
    m_writer->flush();
    return isWritable() && error().isEmpty();
}

void ConversationStore::flush() {
    m_writer->flush();
}

QString ConversationStore::error() const {
    return m_writer->error();
}

qint64 ConversationStore::bytesWritten() const {
    return m_writer->bytesWritten.load();
}

void ConversationStore::setMinimumFoldBytes(qint64 bytes) {
    m_writer->minimumFoldBytes = bytes;
}
