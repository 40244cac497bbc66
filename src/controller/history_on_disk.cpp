#include "controller/history_on_disk.h"

#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"
#include "storage/durable_file.h"

#include <QByteArrayView>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <cerrno>
#include <optional>

#ifdef Q_OS_UNIX
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace HistoryOnDisk {
namespace {

// The most of a history file or journal that is read: past it a size is
// taken for damage (or a history far beyond what memory holds), never
// allocated.
constexpr qint64 maximumReadBytes = qint64(2) << 30;

bool moveAside(const QString& path, QLatin1StringView why = QLatin1StringView("damaged")) {
    if (Durable::moveAside(path, why))
        return true;
    qCWarning(lcStore) << "could not move aside" << path;
    return false;
}

#ifdef Q_OS_UNIX
FileId fromStat(const struct stat& info) {
    return {qint64(info.st_dev), qint64(info.st_ino), qint64(info.st_size)};
}
#endif

// What writers of this history left behind when they were stopped: temporary
// copies of the file, and old journals whose messages are all in `history`.
// Only for the process that owns the folder.
void removeLeftovers(const QString& path, const QString& journalPath,
                     const QList<Conversation>& history) {
    Durable::removeTemporaryCopies(path);
    const QFileInfo journal(journalPath);
    QDir folder = journal.absoluteDir();
    const QStringList old =
        folder.entryList({journal.fileName() + QStringLiteral(".old-*")}, QDir::Files);
    for (const QString& name : old) {
        QFile file(folder.filePath(name));
        if (file.size() > maximumReadBytes || !file.open(QIODevice::ReadOnly))
            continue;
        const Journal::Replay replay = Journal::readWithoutBase(file.readAll());
        if (replay.end != Journal::Replay::End::damaged &&
            Journal::messagesHeldIn(replay.records, history))
            folder.remove(name);
    }
}

// The history file's bytes for one read front to back. Mapped where the
// system allows: the reader then lets go of the pages it has read as it goes,
// so that a history of a million messages (some 200 MB) is never all in
// memory beside what it decodes into. Talvenne only ever replaces the file
// (never writes into it), so a mapped file does not change under the reader.
class HistoryBytes {
public:
    explicit HistoryBytes(QFile& file)
        : m_file(file) {
        const qint64 size = file.size();
        if (size > 0)
            m_mapped = file.map(0, size);
        if (m_mapped) {
            m_view = QByteArrayView(reinterpret_cast<const char*>(m_mapped), size);
#ifdef Q_OS_UNIX
            madvise(m_mapped, size_t(size), MADV_SEQUENTIAL);
#endif
        } else {
            m_read = file.readAll();
            m_failed = file.error() != QFileDevice::NoError;
            m_view = m_read;
        }
    }
    ~HistoryBytes() {
        release();
    }
    HistoryBytes(const HistoryBytes&) = delete;
    HistoryBytes& operator=(const HistoryBytes&) = delete;

    bool failed() const {
        return m_failed;
    }
    QByteArrayView view() const {
        return m_view;
    }

    // The bytes before `offset` are not needed any more: their pages leave
    // this process's memory (they are read again from the file if asked for).
    void readUpTo(qsizetype offset) {
#if defined(Q_OS_UNIX) && defined(MADV_DONTNEED)
        if (!m_mapped)
            return;
        static const qsizetype pageSize = sysconf(_SC_PAGESIZE);
        const qsizetype whole = offset / pageSize * pageSize;
        if (whole > 0)
            madvise(m_mapped, size_t(whole), MADV_DONTNEED);
#else
        Q_UNUSED(offset);
#endif
    }

    // Before the file is moved away (which a mapping may prevent).
    void release() {
        if (m_mapped)
            m_file.unmap(m_mapped);
        m_mapped = nullptr;
        m_read.clear();
        m_view = {};
    }

private:
    QFile& m_file;
    uchar* m_mapped = nullptr;
    QByteArray m_read;
    QByteArrayView m_view;
    bool m_failed = false;
};

} // namespace

FileId fileId(const QString& path) {
#ifdef Q_OS_UNIX
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return {};
    return fromStat(info);
#else
    const QFileInfo info(path);
    return info.exists() ? FileId{0, 0, info.size()} : FileId{};
#endif
}

FileId fileId(const QFile& file) {
#ifdef Q_OS_UNIX
    struct stat info {};
    if (::fstat(file.handle(), &info) != 0)
        return {};
    return fromStat(info);
#else
    return fileId(file.fileName());
#endif
}

void shareUnchanged(QList<Conversation>& read, const QList<Conversation>& known,
                    UnsettledMessages* unsettled) {
    QHash<QString, const Conversation*> byKey;
    byKey.reserve(known.size());
    for (const Conversation& conversation : known)
        byKey.insert(conversation.target.conversationKey(), &conversation);
    for (Conversation& conversation : read) {
        const QString key = conversation.target.conversationKey();
        const auto found = byKey.constFind(key);
        if (found == byKey.cend() || !(**found == conversation))
            continue;
        // The same messages at the same rows.
        if (unsettled)
            unsettled->note(conversation.target, (*found)->messages, unsettled->sendingRows(key),
                            unsettled->awaitingRows(key));
        conversation = **found;
    }
}

History readHistory(const QString& path, const QString& journalPath, bool mayMove) {
    History history;
    QFile file(path);
    std::optional<HistoryBytes> bytes;
    if (!file.open(QIODevice::ReadOnly)) {
        if (QFileInfo::exists(path)) {
            // There but unreadable: keep it rather than write over it.
            qCWarning(lcStore) << "cannot read" << path << file.errorString();
            history.problem = file.errorString();
            history.safeToReplace = mayMove && moveAside(path);
            return history;
        }
    } else if (file.size() > maximumReadBytes) {
        // Kept as it is, and never written over.
        qCWarning(lcStore) << "not reading" << path << "of" << file.size() << "bytes";
        history.problem = qt_error_string(EFBIG);
        return history;
    } else {
        bytes.emplace(file);
        history.base = fileId(file);
        UnsettledMessages unsettled;
        auto decoded =
            bytes->failed()
                ? std::nullopt
                : decodeConversations(
                      bytes->view(), [&](qsizetype read) { bytes->readUpTo(read); }, &unsettled);
        if (decoded) {
            history.conversations = std::move(*decoded);
            history.unsettled = std::move(unsettled);
        } else {
            qCWarning(lcStore) << "undecodable history" << path;
            bytes->release();
            file.close();
            history.base = {};
            history.safeToReplace = mayMove && moveAside(path);
            if (!history.safeToReplace)
                history.problem = qt_error_string(errno);
            // The journal continued that file; its records mean nothing
            // without it, but it is kept as well.
            if (mayMove && QFileInfo::exists(journalPath))
                moveAside(journalPath);
            return history;
        }
    }
    history.safeToReplace = true;

    QFile journal(journalPath);
    if (!journal.open(QIODevice::ReadOnly)) {
        if (QFileInfo::exists(journalPath)) {
            qCWarning(lcStore) << "cannot read" << journalPath << journal.errorString();
            history.foldWanted = !mayMove || moveAside(journalPath);
        }
        return history;
    }
    if (journal.size() > maximumReadBytes) {
        qCWarning(lcStore) << "not reading" << journalPath << "of" << journal.size() << "bytes";
        journal.close();
        history.foldWanted = !mayMove || moveAside(journalPath);
        return history;
    }
    const QByteArray records = journal.readAll();
    const Journal::Replay replay = Journal::read(records, bytes ? bytes->view() : QByteArrayView());
    if (!replay.records.isEmpty()) {
        Journal::apply(history.conversations, replay.records);
        history.unsettled = history.unsettled.in(history.conversations);
    }
    using End = Journal::Replay::End;
    history.journalAppendable = replay.end == End::complete;
    history.journalBytes = records.size();
    history.foldWanted = !replay.records.isEmpty() || replay.end != End::complete;
    if (replay.end == End::damaged) {
        qCWarning(lcStore) << "journal" << journalPath << "damaged after" << replay.records.size()
                           << "records";
        if (mayMove)
            moveAside(journalPath);
    } else if (replay.end == End::otherBase) {
        // Almost always one whose fold was cut short after the new file was
        // in place: all it holds is in the file, and the next fold starts
        // it afresh. Otherwise it is kept, as "old".
        const bool held = Journal::messagesHeldIn(Journal::readWithoutBase(records).records,
                                                  history.conversations);
        qCWarning(lcStore) << "journal" << journalPath << "for another file,"
                           << (held ? "all in the file" : "kept");
        if (mayMove && !held)
            moveAside(journalPath, QLatin1StringView("old"));
    }
    if (mayMove)
        removeLeftovers(path, journalPath, history.conversations);
    return history;
}

} // namespace HistoryOnDisk
