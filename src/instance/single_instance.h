#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

// One Talvenne per user. The first process owns the session-bus name
// applicationId() and answers org.freedesktop.Application.Activate at
// objectPath(); a later process asks it to show its window and ends. Without
// a session bus every process runs, and the lock beside the history keeps
// all but the first from writing it (ConversationStore).
class SingleInstance : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    enum class Role {
        primary,    // owns the name: this process runs
        handedOver, // another process was asked to show itself: end this one
        alone,      // no session bus (or no answer): run, the lock decides
    };

    explicit SingleInstance(QDBusConnection bus = QDBusConnection::sessionBus(),
                            QObject* parent = nullptr);

    Role claim();
    // "/io/github/talvenne/Talvenne"
    static QString objectPath();

public Q_SLOTS:
    // Called over the bus by a second launch.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);

Q_SIGNALS:
    // The window should come to the front.
    void activationRequested();

private:
    QDBusConnection m_bus;
};
