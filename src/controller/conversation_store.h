#pragma once

#include "controller/unsettled_messages.h"
#include "model/conversation.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QObject>
#include <QString>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>

// What ConversationStore::rereadInBackground() read.
struct HistoryReread {
    // What the other process left, with the changes this store could not
    // write on top.
    QList<Conversation> conversations;
    // Where their unsettled messages are.
    UnsettledMessages unsettled;
    // The snapshot those changes run up to (what was written, when nothing
    // waited): changes made since it go on top too. None: the conversations
    // stand as they are.
    std::optional<QList<Conversation>> base;
    // The disk holds what this store wrote last: nothing to take in.
    bool unchanged = false;
};

// The conversation history on disk: conversations.json (a JSON array of
// conversations, complete whenever the app is not running) and beside it the
// journal conversations.json.journal, to which each later change is appended
// (see conversation_journal.h). The journal is folded into a fresh file, by
// an atomic replace, when it grows past a sixteenth of the file (at least
// 64 KiB) and when the store closes. Encoding and writing run on one
// background thread; the caller only hands over snapshots.
//
// One process writes at a time: the store owns conversations.json.lock
// (OwnedLock) for as long as it writes, and takes it again when it has gone
// with a moved or removed folder. While another running process holds it, the
// store writes nothing, keeps the newest snapshot, says why in error() and
// isWritable() is false. Once the other process has let go, the store takes
// the lock and emits historyReleased(): load() then reads what the other
// process left, with this store's unsaved changes applied on top, and the
// store writes again.
//
// When it owns the folder, loading also removes what writers that were
// stopped left behind: temporary copies, and old journals whose messages are
// all in the history.
//
// A write that fails leaves the files as they were (a half-written journal
// record is cut off again, a new file replaces the old one only once all of
// it is on disk); error() then tells why, until a later save succeeds.
class ConversationStore : public QObject {
    Q_OBJECT

public:
    explicit ConversationStore(QString filePath, QObject* parent = nullptr);
    // Finishes the writes already asked for and folds the journal.
    ~ConversationStore() override;

    ConversationStore(const ConversationStore&) = delete;
    ConversationStore& operator=(const ConversationStore&) = delete;

    // <the user's data folder>/Talvenne/conversations.json (on Linux
    // ~/.local/share/Talvenne/conversations.json), whatever the application's
    // organisation name. Creates the folder; a history left only in the
    // Talvenne/Talvenne folder of earlier versions is moved there.
    static QString defaultFilePath();
    const QString& filePath() const;
    QString journalPath() const;

    // Reads the file and replays the journal. Missing or unreadable: no
    // conversations. An undecodable file, or a journal with a damaged record,
    // is moved aside (<name>.damaged-<time>) and never deleted; the journal's
    // records before the damage are used. Changes this store could not write
    // are applied on top.
    QList<Conversation> load();
    // The same read on the writing thread: returns at once, and loaded()
    // brings the conversations to this object's thread when they are read.
    // Until then nothing is written, and a store closed before then writes
    // nothing at all: no save and no fold of a history that was not (or not
    // wholly) handed over. Sent messages from before `awaitedSince` are not
    // among the confirmations still awaited that come with them.
    void loadInBackground(const QDateTime& awaitedSince = {});
    // A background load asked for waits to start until releaseBackgroundLoad()
    // (or a flush()): the app holds it while its window comes up, which then
    // has the machine's cores to itself. Writes go on meanwhile.
    void holdBackgroundLoad();
    void releaseBackgroundLoad();
    // loaded() has been emitted since the last loadInBackground() (true
    // when none was asked for).
    bool isLoaded() const { return m_loaded; }

    // After historyReleased(): reads what the other process left on the
    // writing thread and returns at once; reread() brings it here. Until
    // takeReread() nothing is written (a store closed meanwhile reads the
    // disk again and writes its unsaved changes on top, as ever).
    void rereadInBackground(const QDateTime& awaitedSince = {});
    // What this process goes on with after reread(): written from now on,
    // and isWritable() is true again.
    void takeReread(QList<Conversation> history);

    // Returns at once. The disk always ends with the newest snapshot handed
    // in; an older snapshot that has not started writing may be skipped.
    void save(QList<Conversation> snapshot);
    // Writes the snapshot whose save failed once more and waits for it; true
    // when the history is saved now.
    bool saveAgain();

    // Blocks until every snapshot handed in so far is on disk (or failed).
    void flush();

    // Why the history is not being saved, or empty. Set by a failed write and
    // cleared by the next that succeeds; set while another running process
    // holds the history.
    QString error() const;
    // False while another running process holds the history (until load()
    // after it has let go).
    bool isWritable() const { return m_writable.load(); }

    // Bytes written to the disk so far (file, journal), for measurements.
    qint64 bytesWritten() const;
    // The smallest journal that is folded into the file (64 KiB); for tests.
    void setMinimumFoldBytes(qint64 bytes);

Q_SIGNALS:
    // Emitted on the writing thread when error() changes.
    void errorChanged(const QString& error);
    // isWritable() changed (on the writing thread when it turns false).
    void writableChanged();
    // The process that kept the history has let it go (emitted on the
    // writing thread): rereadInBackground() (or load()) now, to read what it
    // left and write again.
    void historyReleased();
    // What loadInBackground() read, and where its unsettled messages are;
    // emitted on this object's thread.
    void loaded(const QList<Conversation>& conversations, const UnsettledMessages& unsettled);
    // What rereadInBackground() read; emitted on this object's thread.
    void reread(const HistoryReread& reread);

private:
    class Writer;
    QString m_filePath;
    std::atomic<bool> m_writable = true;
    bool m_loaded = true; // touched on this object's thread only
    std::unique_ptr<Writer> m_writer;
};

// The file's exact JSON shape, both ways.
QByteArray encodeConversations(const QList<Conversation>& conversations);
// The same bytes handed to `sink` in order, a block of about `blockBytes` at a
// time as they are encoded (so that a history is never all in memory twice);
// the block is only valid during the call. Encoding stops as soon as the sink
// returns false, and so does this.
using BlockSink = std::function<bool(QByteArrayView block)>;
bool encodeConversations(const QList<Conversation>& conversations, qsizetype blockBytes,
                         const BlockSink& sink);
// No value when anything is off (bad JSON, a missing member, an unknown case).
std::optional<QList<Conversation>> decodeConversations(QByteArrayView json);
// The same, reading `json` front to back once: `readUpTo` is told now and
// then how many bytes have been read, which the reader never looks at again
// (so that the caller can let them go from memory). `unsettled`, when given,
// has the unsettled messages of each conversation read noted.
std::optional<QList<Conversation>>
decodeConversations(QByteArrayView json, const std::function<void(qsizetype)>& readUpTo,
                    UnsettledMessages* unsettled = nullptr);
