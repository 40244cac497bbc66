#pragma once

#include <QString>
#include <QtGlobal>
#include <memory>

// A lock file that says which process writes the files in its folder (the
// history, and whatever else is kept beside it). A process owns it for as
// long as it writes: before each write it makes sure that the file at the
// path is still the one it locked, and takes the lock again when its file
// has gone (the folder was moved or removed meanwhile); when another process
// holds the lock at the path, it must stop writing. The lock of a process
// that has ended is free at once, whatever its file holds, and a lock file
// is only ever removed by its owner.
//
// The file holds the owner's process id, application name and host name, one
// per line (the layout of QLockFile, so that earlier versions read it).
//
// Two OwnedLocks of one path exclude each other even within one process: a
// second file kept in the same folder takes a lock of its own beside it
// (<file>.lock), or shares its writer's.
class OwnedLock {
public:
    enum class State {
        owned,         // this process holds it: write
        heldElsewhere, // another running process holds it: do not write
        failed,        // the lock file cannot be made (see error())
    };

    explicit OwnedLock(QString path);
    // Releases the lock when it is still ours.
    ~OwnedLock();

    OwnedLock(const OwnedLock&) = delete;
    OwnedLock& operator=(const OwnedLock&) = delete;

    const QString& path() const { return m_path; }

    // Takes the lock, or makes sure it is still ours. Never waits.
    State acquire();
    // Gives the lock up; its file goes only when it is still ours.
    void release();
    // The process that holds it elsewhere, as its file says; 0 when unknown.
    qint64 holder() const { return m_holder; }
    // The system error of the last acquire() that failed.
    int error() const { return m_error; }

private:
    struct Native;
    QString m_path;
    qint64 m_holder = 0;
    int m_error = 0;
    std::unique_ptr<Native> m_native;
};
