#pragma once

#include "notifications/notifier.h"

#include <QDBusConnection>
#include <QPointer>
#include <QString>
#include <cstdint>
#include <qcoro/qcorotask.h>

// Desktop notifications and the unread badge for Linux desktops, both over
// D-Bus: messages go to the freedesktop notification server, the count goes
// out as a Unity launcher-entry signal (understood by the Plasma task manager,
// Dash to Dock and the Ubuntu dock).
//
// There is no permission dialog on Linux; "authorized" means a notification
// server answered on the bus. Until that answer arrives, and when nobody
// answers, nothing is posted.
class NotificationManager : public Notifier {
    Q_OBJECT
    Q_PROPERTY(bool authorized READ authorized NOTIFY authorizedChanged)

public:
    explicit NotificationManager(QDBusConnection bus = QDBusConnection::sessionBus(),
                                 QObject* parent = nullptr);

    bool authorized() const { return m_authorized; }

    // Asks the notification server for its identity without waiting for the
    // answer; `authorized` follows the answer.
    Q_INVOKABLE void requestAuthorization();

    void postNotification(const QString& title, const QString& body,
                          const QString& threadIdentifier) override;
    void updateBadge(std::int64_t count) override;

Q_SIGNALS:
    void authorizedChanged();
    // Every answer to requestAuthorization(), also when it changes nothing.
    void authorizationAnswered(bool granted);

private:
    // Static and holding the manager weakly: the answer may come after the
    // manager is gone.
    static QCoro::Task<void> askServer(QDBusConnection bus, QPointer<NotificationManager> self);
    void setAuthorized(bool authorized);

    QDBusConnection m_bus;
    bool m_authorized = false;
};
