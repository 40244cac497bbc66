#include "storage/owned_lock.h"

#include <QCoreApplication>
#include <QFile>
#include <QSysInfo>
#include <cerrno>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#else
#include <QLockFile>
#endif

#ifdef Q_OS_UNIX

// An open descriptor of the locked file, with flock() on it: the kernel
// frees the lock when the process ends, so a lock is never stale.
struct OwnedLock::Native {
    int fd = -1;
    dev_t device = 0;
    ino_t inode = 0;
};

namespace {

QByteArray ownerLines() {
    QString application = QCoreApplication::applicationName();
    if (application.isEmpty())
        application = QStringLiteral("Talvenne");
    return QByteArray::number(QCoreApplication::applicationPid()) + '\n' + application.toUtf8() +
           '\n' + QSysInfo::machineHostName().toUtf8() + '\n';
}

bool sameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

qint64 pidIn(int fd) {
    char buffer[32] = {};
    const ssize_t read = ::pread(fd, buffer, sizeof buffer - 1, 0);
    if (read <= 0)
        return 0;
    qint64 pid = 0;
    for (ssize_t i = 0; i < read && buffer[i] >= '0' && buffer[i] <= '9'; ++i)
        pid = pid * 10 + (buffer[i] - '0');
    return pid;
}

} // namespace

OwnedLock::OwnedLock(QString path)
    : m_path(std::move(path))
    , m_native(std::make_unique<Native>()) {}

OwnedLock::~OwnedLock() {
    release();
}

OwnedLock::State OwnedLock::acquire() {
    const QByteArray path = QFile::encodeName(m_path);
    struct stat atPath {};
    if (m_native->fd >= 0) {
        if (::stat(path.constData(), &atPath) == 0 && atPath.st_dev == m_native->device &&
            atPath.st_ino == m_native->inode)
            return State::owned;
        // Our file left the path: it is no longer a lock for this folder,
        // and whatever stands there now is not ours to remove.
        ::close(m_native->fd);
        m_native->fd = -1;
    }
    // A few rounds: the owner may remove its file between our open and flock.
    for (int round = 0; round < 3; ++round) {
        const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0) {
            m_error = errno;
            return State::failed;
        }
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            const int error = errno;
            m_holder = pidIn(fd);
            ::close(fd);
            if (error == EWOULDBLOCK)
                return State::heldElsewhere;
            m_error = error;
            return State::failed;
        }
        struct stat opened {};
        if (::fstat(fd, &opened) != 0 || ::stat(path.constData(), &atPath) != 0 ||
            !sameFile(opened, atPath)) {
            ::close(fd);
            continue;
        }
        const QByteArray lines = ownerLines();
        if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, lines.constData(), lines.size(), 0) < 0) {
            // Held all the same; only the note of who holds it is missing.
        }
        m_native->fd = fd;
        m_native->device = opened.st_dev;
        m_native->inode = opened.st_ino;
        m_holder = 0;
        return State::owned;
    }
    m_error = EAGAIN;
    return State::failed;
}

void OwnedLock::release() {
    if (m_native->fd < 0)
        return;
    // While we hold it nobody else can take it, so it cannot change hands
    // between the look and the removal.
    struct stat atPath {};
    const QByteArray path = QFile::encodeName(m_path);
    if (::stat(path.constData(), &atPath) == 0 && atPath.st_dev == m_native->device &&
        atPath.st_ino == m_native->inode)
        ::unlink(path.constData());
    ::close(m_native->fd);
    m_native->fd = -1;
}

#else

// Elsewhere QLockFile keeps the lock; a lock file that was moved away is
// not noticed there.
struct OwnedLock::Native {
    explicit Native(const QString& path)
        : file(path) {
        file.setStaleLockTime(0);
    }
    QLockFile file;
};

OwnedLock::OwnedLock(QString path)
    : m_path(std::move(path))
    , m_native(std::make_unique<Native>(m_path)) {}

OwnedLock::~OwnedLock() {
    release();
}

OwnedLock::State OwnedLock::acquire() {
    if (m_native->file.isLocked() || m_native->file.tryLock(0))
        return State::owned;
    if (m_native->file.error() == QLockFile::LockFailedError) {
        QString host;
        QString application;
        m_native->file.getLockInfo(&m_holder, &host, &application);
        return State::heldElsewhere;
    }
    m_error = m_native->file.error() == QLockFile::PermissionError ? EACCES : EIO;
    return State::failed;
}

void OwnedLock::release() {
    m_native->file.unlock();
}

#endif
