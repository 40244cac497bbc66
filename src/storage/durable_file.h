#pragma once

#include <QByteArrayView>
#include <QFileDevice>
#include <QString>
#include <memory>

// Writing files so that a crash or a power loss at any moment leaves each one
// either as it was or as it was meant to be, never half of it.
namespace Durable {

// Waits until the bytes written to `file` are on the disk.
bool sync(const QFileDevice& file);

// Waits until the folder's entries (a rename, a new file) are on the disk:
// without it a rename that replaced a file can be lost in a power cut on
// some file systems, even though the new file's bytes were synced.
bool syncFolderOf(const QString& path);

// Makes `bytes` the contents of `path`: written to a temporary copy beside it
// (`<name>.saving-XXXXXX`), synced, renamed over the file and the folder
// synced. The file is private to the user. On failure the old file is left as
// it was and `reason` tells why.
bool replace(const QString& path, QByteArrayView bytes, QString& reason);

// The same written a block at a time, for files too big to hold twice in
// memory: write() the bytes in order, then commit(). Until commit() has
// succeeded the file at `path` is as it was; a replacement dropped before
// then removes its temporary copy. After a failure every later call fails
// too, and failure() tells the first reason.
class Replacement {
public:
    explicit Replacement(const QString& path);
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    bool write(QByteArrayView bytes);
    bool commit();
    const QString& failure() const { return m_failure; }

private:
    bool fail(QString reason);

    class File;
    std::unique_ptr<File> m_file;
    QString m_path;
    QString m_failure;
};

// Removes the temporary copies of `path` that a writer stopped before its
// rename left behind. Only the process that owns the folder may call it.
void removeTemporaryCopies(const QString& path);

// Moves an unusable file out of the way under a name of its own
// (`<name>.<why>-<time>`), so that nothing the user had is lost when the next
// save writes a fresh one; copies it when it cannot be renamed. False when
// neither worked.
bool moveAside(const QString& path, QLatin1StringView why = QLatin1StringView("damaged"));

} // namespace Durable
