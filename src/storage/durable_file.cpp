#include "storage/durable_file.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>
#include <cerrno>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <unistd.h>
#endif

namespace {

const QLatin1StringView temporarySuffix(".saving-");

#ifndef Q_OS_UNIX
// The device's own message, else the last system error's.
QString failureText(const QFileDevice& file, int error) {
    if (file.error() != QFileDevice::NoError && !file.errorString().isEmpty())
        return file.errorString();
    return qt_error_string(error);
}
#endif

} // namespace

namespace Durable {

bool sync(const QFileDevice& file) {
#if defined(Q_OS_LINUX)
    return ::fdatasync(file.handle()) == 0;
#elif defined(Q_OS_UNIX)
    return ::fsync(file.handle()) == 0;
#else
    Q_UNUSED(file);
    return true;
#endif
}

bool syncFolderOf(const QString& path) {
#ifdef Q_OS_UNIX
    const QByteArray folder = QFile::encodeName(QFileInfo(path).absolutePath());
    const int fd = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool synced = ::fsync(fd) == 0;
    ::close(fd);
    return synced;
#else
    Q_UNUSED(path);
    return true;
#endif
}

bool replace(const QString& path, QByteArrayView bytes, QString& reason) {
    Replacement file(path);
    if (file.write(bytes) && file.commit())
        return true;
    reason = file.failure();
    return false;
}

#ifdef Q_OS_UNIX
// Private to the user from the start (QTemporaryFile makes it 0600).
class Replacement::File : public QTemporaryFile {
public:
    explicit File(const QString& path)
        : QTemporaryFile(path + temporarySuffix + QStringLiteral("XXXXXX")) {}
};
#else
class Replacement::File : public QSaveFile {
public:
    explicit File(const QString& path)
        : QSaveFile(path) {}
};
#endif

Replacement::Replacement(const QString& path)
    : m_file(std::make_unique<File>(path))
    , m_path(path) {
#ifdef Q_OS_UNIX
    if (!m_file->open())
        fail(m_file->errorString());
#else
    if (!m_file->open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        fail(m_file->errorString());
    else
        m_file->setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
#endif
}

Replacement::~Replacement() {
#ifndef Q_OS_UNIX
    if (m_file->isOpen())
        m_file->cancelWriting();
#endif
}

bool Replacement::fail(QString reason) {
    if (m_failure.isEmpty())
        m_failure = reason.isEmpty() ? qt_error_string(EIO) : std::move(reason);
    return false;
}

bool Replacement::write(QByteArrayView bytes) {
    if (!m_failure.isEmpty())
        return false;
#ifdef Q_OS_UNIX
    // Straight to the descriptor, past the device's buffer, so that a write
    // that fails (a full disk) says why.
    const char* data = bytes.data();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(m_file->handle(), data, size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return fail(qt_error_string(errno));
        data += written;
        left -= written;
    }
    return true;
#else
    const qint64 written = m_file->write(bytes.data(), bytes.size());
    const int writeError = errno;
    if (written != bytes.size())
        return fail(failureText(*m_file, writeError));
    return true;
#endif
}

bool Replacement::commit() {
    if (!m_failure.isEmpty())
        return false;
#ifdef Q_OS_UNIX
    if (!sync(*m_file))
        return fail(qt_error_string(errno));
    if (::rename(QFile::encodeName(m_file->fileName()).constData(),
                 QFile::encodeName(m_path).constData()) != 0)
        return fail(qt_error_string(errno));
    m_file->setAutoRemove(false);
    // The file is in place; a folder that cannot be synced is not worth
    // failing the save for, the next save syncs it again.
    syncFolderOf(m_path);
    return true;
#else
    if (!m_file->flush() || !sync(*m_file))
        return fail(failureText(*m_file, errno));
    if (!m_file->commit())
        return fail(m_file->errorString());
    return true;
#endif
}

void removeTemporaryCopies(const QString& path) {
    const QFileInfo info(path);
    QDir folder = info.absoluteDir();
    const QStringList copies =
        folder.entryList({info.fileName() + temporarySuffix + QLatin1Char('*')}, QDir::Files);
    for (const QString& copy : copies)
        folder.remove(copy);
}

bool moveAside(const QString& path, QLatin1StringView why) {
    const QString stem = path + QLatin1Char('.') + why + QLatin1Char('-') +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    QString target = stem;
    for (int n = 2; QFileInfo::exists(target) && n < 100; ++n)
        target = stem + QLatin1Char('-') + QString::number(n);
    // A copy keeps the bytes just as well; the original may then be replaced.
    return QFile::rename(path, target) || QFile::copy(path, target);
}

} // namespace Durable
