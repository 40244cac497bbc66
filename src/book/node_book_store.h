#pragma once

#include "book/node_book.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <memory>
#include <optional>

// The node books on disk: one file per radio, "nodes-<its public key>.json",
// in the folder of the history. Reading is done by the caller's thread (a
// book is small); encoding and writing run on one background thread, the
// newest book handed in for a radio winning over an older one not written
// yet. Each write replaces the whole file atomically (Durable::replace) and
// leaves the old file as it was when it fails; error() then says why until a
// later write succeeds. Writes happen only while this process owns the
// folder's "node-books.lock" (OwnedLock): a second Talvenne writes none.
class NodeBookStore : public QObject {
    Q_OBJECT

public:
    explicit NodeBookStore(QString folder, QObject* parent = nullptr);
    // Finishes the writes already asked for.
    ~NodeBookStore() override;

    NodeBookStore(const NodeBookStore&) = delete;
    NodeBookStore& operator=(const NodeBookStore&) = delete;

    // The folder of ConversationStore::defaultFilePath().
    static QString defaultFolder();
    const QString& folder() const { return m_folder; }
    QString pathFor(const QString& publicKey) const;

    struct Loaded {
        std::optional<NodeBook> book;
        // Why a book that is there could not be used (it was moved aside as
        // "<name>.damaged-<time>"); empty when it was read or there is none.
        QString problem;
    };
    // The radio's book, after the writes of it asked for so far. A book that
    // names another radio, is damaged or is
    // beyond bounds is moved aside, never deleted.
    Loaded load(const QString& publicKey) const;

    // The last name any book gives each contact key, for conversations whose
    // contact the radio in use does not know. Damaged books are skipped.
    QHash<QString, QString> knownNames() const;

    // Returns at once; the book is written in the background.
    void save(NodeBook book);
    // Deletes the radio's book (after any write of it under way); false when
    // a book is still there.
    bool remove(const QString& publicKey);
    // Blocks until every book handed in so far is written (or failed).
    void flush();

    // Why the last write failed, or empty.
    QString error() const;

Q_SIGNALS:
    // error() changed; emitted on the writing thread.
    void errorChanged(const QString& error);

private:
    class Writer;
    QString m_folder;
    std::unique_ptr<Writer> m_writer;
};
