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
#ifdef Q_OS_UNIX
    // Private to the user from the start (QTemporaryFile makes it 0600).
    QTemporaryFile file(path + temporarySuffix + QStringLiteral("XXXXXX"));
    if (!file.open()) {
        reason = file.errorString();
        return false;
    }
    // Straight to the descriptor, past the device's buffer, so that a write
    // that fails (a full disk) says why.
    const char* data = bytes.data();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(file.handle(), data, size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0) {
            reason = qt_error_string(errno);
            return false;
        }
        data += written;
        left -= written;
    }
    if (!sync(file)) {
        reason = qt_error_string(errno);
        return false;
    }
    if (::rename(QFile::encodeName(file.fileName()).constData(),
                 QFile::encodeName(path).constData()) != 0) {
        reason = qt_error_string(errno);
        return false;
    }
    file.setAutoRemove(false);
    // The file is in place; a folder that cannot be synced is not worth
    // failing the save for, the next save syncs it again.
    syncFolderOf(path);
    return true;
#else
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        reason = file.errorString();
        return false;
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    const qint64 written = file.write(bytes.data(), bytes.size());
    const int writeError = errno;
    if (written != bytes.size() || !file.flush() || !sync(file)) {
        reason = failureText(file, written == bytes.size() ? errno : writeError);
        file.cancelWriting();
        return false;
    }
    if (!file.commit()) {
        reason = file.errorString();
        return false;
    }
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
