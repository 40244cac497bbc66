#include "book/node_book_store.h"

#include "book/node_book_file.h"
#include "controller/conversation_store.h"
#include "storage/durable_file.h"
#include "storage/owned_lock.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <thread>

namespace {

const QLatin1StringView filePrefix("nodes-");
const QLatin1StringView fileSuffix(".json");

// The book at `path`: none when the file is missing, else what it holds or
// why it is no book.
NodeBookStore::Loaded read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (!file.exists())
            return {};
        return {std::nullopt, file.errorString()};
    }
    if (file.size() > NodeBookLimits::maxFileBytes)
        return {
            std::nullopt,
            QStringLiteral("The file is larger than any node book (%1 bytes).").arg(file.size())};
    QString reason;
    std::optional<NodeBook> book = NodeBookFile::decode(file.readAll(), reason);
    return {std::move(book), reason};
}

} // namespace

class NodeBookStore::Writer {
public:
    Writer(NodeBookStore* owner, const QString& folder)
        : m_owner(owner)
        , m_lock(folder + QStringLiteral("/node-books.lock"))
        , m_thread([this] { run(); }) {}

    ~Writer() {
        {
            std::lock_guard guard(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }

    void put(NodeBook book, QString path) {
        {
            std::lock_guard guard(m_mutex);
            m_pending.insert(path, std::move(book));
        }
        m_wake.notify_all();
    }

    // Drops what waits for `path` and waits for a write of it under way.
    void cancel(const QString& path) {
        std::unique_lock guard(m_mutex);
        m_pending.remove(path);
        m_idle.wait(guard, [&] { return m_writing != path; });
    }

    void flush() {
        std::unique_lock guard(m_mutex);
        m_idle.wait(guard, [&] { return m_pending.isEmpty() && m_writing.isEmpty(); });
    }

    QString error() const {
        std::lock_guard guard(m_mutex);
        return m_error;
    }

private:
    void run() {
        std::unique_lock guard(m_mutex);
        for (;;) {
            m_wake.wait(guard, [&] { return m_stopping || !m_pending.isEmpty(); });
            if (m_pending.isEmpty())
                return;
            const auto next = m_pending.begin();
            m_writing = next.key();
            const NodeBook book = std::move(next.value());
            m_pending.erase(next);
            guard.unlock();
            const QString error = write(m_writing, book);
            guard.lock();
            m_writing.clear();
            const bool changed = error != m_error;
            m_error = error;
            m_idle.notify_all();
            if (changed) {
                guard.unlock();
                Q_EMIT m_owner->errorChanged(error);
                guard.lock();
            }
        }
    }

    // Empty when the book is on disk, else why not.
    QString write(const QString& path, const NodeBook& book) {
        if (!QDir().mkpath(QFileInfo(path).absolutePath()))
            return QStringLiteral("The folder %1 cannot be made.")
                .arg(QFileInfo(path).absolutePath());
        switch (m_lock.acquire()) {
        case OwnedLock::State::owned:
            break;
        case OwnedLock::State::heldElsewhere:
            return QStringLiteral("Another Talvenne (process %1) keeps the node books.")
                .arg(m_lock.holder());
        case OwnedLock::State::failed:
            return QStringLiteral("The node books cannot be locked: %1")
                .arg(QString::fromLocal8Bit(std::strerror(m_lock.error())));
        }
        QString reason;
        Durable::replace(path, NodeBookFile::encode(book), reason);
        return reason;
    }

    NodeBookStore* m_owner;
    OwnedLock m_lock; // the writing thread's only
    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    QHash<QString, NodeBook> m_pending; // by path
    QString m_writing;                  // the path being written, or empty
    QString m_error;
    bool m_stopping = false;
    std::thread m_thread; // started last
};

NodeBookStore::NodeBookStore(QString folder, QObject* parent)
    : QObject(parent)
    , m_folder(std::move(folder))
    , m_writer(std::make_unique<Writer>(this, m_folder)) {}

NodeBookStore::~NodeBookStore() = default;

QString NodeBookStore::defaultFolder() {
    return QFileInfo(ConversationStore::defaultFilePath()).absolutePath();
}

QString NodeBookStore::pathFor(const QString& publicKey) const {
    return m_folder + QLatin1Char('/') + filePrefix + publicKey + fileSuffix;
}

NodeBookStore::Loaded NodeBookStore::load(const QString& publicKey) const {
    if (!NodeBookFile::isPublicKey(publicKey))
        return {};
    // A book handed in and not written yet is what the disk is about to hold.
    m_writer->flush();
    const QString path = pathFor(publicKey);
    Loaded loaded = read(path);
    if (loaded.book && loaded.book->selfInfo.publicKey != publicKey) {
        loaded.book.reset();
        loaded.problem = QStringLiteral("The node book belongs to another radio.");
    }
    if (!loaded.book && !loaded.problem.isEmpty() && QFile::exists(path))
        Durable::moveAside(path);
    return loaded;
}

QHash<QString, QString> NodeBookStore::knownNames() const {
    m_writer->flush();
    QHash<QString, QString> names;
    QDir folder(m_folder);
    const QFileInfoList books = folder.entryInfoList({filePrefix + QLatin1Char('*') + fileSuffix},
                                                     QDir::Files, QDir::Time | QDir::Reversed);
    // Oldest first, so that the newest book's name stands.
    for (const QFileInfo& info : books) {
        const Loaded loaded = read(info.absoluteFilePath());
        if (!loaded.book)
            continue;
        for (const Contact& contact : loaded.book->contacts) {
            if (!contact.name.isEmpty())
                names.insert(contact.publicKey, contact.name);
        }
    }
    return names;
}

void NodeBookStore::save(NodeBook book) {
    if (!NodeBookFile::isPublicKey(book.selfInfo.publicKey))
        return;
    const QString path = pathFor(book.selfInfo.publicKey);
    m_writer->put(std::move(book), path);
}

bool NodeBookStore::remove(const QString& publicKey) {
    if (!NodeBookFile::isPublicKey(publicKey))
        return true;
    const QString path = pathFor(publicKey);
    m_writer->cancel(path);
    return !QFile::exists(path) || QFile::remove(path);
}

void NodeBookStore::flush() {
    m_writer->flush();
}

QString NodeBookStore::error() const {
    return m_writer->error();
}
