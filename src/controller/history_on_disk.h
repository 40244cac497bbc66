// What the disk holds of the history: the file with its journal replayed on
// top, read by the store's thread at start and whenever another Talvenne
// lets the history go.
#pragma once

#include "controller/unsettled_messages.h"
#include "model/conversation.h"

#include <QFile>
#include <QList>
#include <QLoggingCategory>
#include <QString>

Q_DECLARE_LOGGING_CATEGORY(lcStore)

namespace HistoryOnDisk {

// A file as the disk has it: which one, and how long.
struct FileId {
    qint64 device = -1;
    qint64 inode = -1;
    qint64 size = -1;

    bool exists() const { return size >= 0; }
    bool sameFile(const FileId& other) const {
        return exists() && device == other.device && inode == other.inode;
    }
    bool operator==(const FileId&) const = default;
};

FileId fileId(const QString& path);
FileId fileId(const QFile& file);

// What is on the disk: the file with the journal replayed on top.
struct History {
    // Whatever is at the path may be replaced: nothing there, a file that
    // was read, or a damaged file that has been moved aside.
    bool safeToReplace = false;
    QString problem; // why it may not
    QList<Conversation> conversations;
    UnsettledMessages unsettled;    // where they are in `conversations`
    FileId base;                    // the file read (none when there was none)
    bool journalAppendable = false; // the journal continues the file and ends cleanly
    qint64 journalBytes = 0;
    bool foldWanted = false; // the journal holds records, or an end to tidy away
};

// Reads the file at `path` and replays the journal on top. With `mayMove`
// (only the process that owns the folder), what cannot be read is moved
// aside and what stopped writers left behind is removed.
History readHistory(const QString& path, const QString& journalPath, bool mayMove);

// Each conversation read that is as `known` has it becomes known's copy:
// read back, a history shares what did not change with the one in memory
// (and what is read is let go of here, not where the copy is kept).
// `unsettled`, noted for `read`, follows.
void shareUnchanged(QList<Conversation>& read, const QList<Conversation>& known,
                    UnsettledMessages* unsettled = nullptr);

} // namespace HistoryOnDisk
