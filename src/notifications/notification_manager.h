#pragma once

#include "notifications/notifier.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <QString>
#include <cstdint>
#include <qcoro/qcorotask.h>

class QDBusServiceWatcher;

// Desktop notifications and the unread badge for Linux desktops, both over
// D-Bus: messages go to the freedesktop notification server, the count goes
// out as a Unity launcher-entry signal (understood by the Plasma task manager,
// Dash to Dock and the Ubuntu dock; without a listener it is simply unheard).
//
// There is no permission dialog on Linux; "authorized" means a notification
// server answered on the bus. Until that answer arrives, and when nobody
// answers, nothing is posted. The server's capabilities are asked with it and
// again whenever another server takes the name over.
//
// One conversation shows one notification: further messages replace it with
// the count of messages since it was last read and the latest text, and
// withdrawNotifications() closes it. Texts are always plain: a server that
// renders markup gets the body escaped. What the title and body say of the
// conversation and the message is NotificationText's. Where the server
// offers actions, the notification's default action reports activated().
class NotificationManager : public Notifier {
    Q_OBJECT
    Q_PROPERTY(bool authorized READ authorized NOTIFY authorizedChanged)

public:
    explicit NotificationManager(QDBusConnection bus = QDBusConnection::sessionBus(),
                                 QObject* parent = nullptr);

    bool authorized() const { return m_authorized; }
    QSet<QString> capabilities() const { return m_capabilities; }

    // Asks the notification server for its identity and capabilities without
    // waiting for the answer; `authorized` follows the answer.
    Q_INVOKABLE void requestAuthorization();

    void postNotification(const QString& title, const QString& body,
                          const QString& threadIdentifier) override;
    void withdrawNotifications(const QString& threadIdentifier) override;
    void updateBadge(std::int64_t count) override;

Q_SIGNALS:
    void authorizedChanged();
    // Every answer to requestAuthorization(), also when it changes nothing.
    void authorizationAnswered(bool granted);
    // The user clicked a conversation's notification. `activationToken` is the
    // server's permission to bring a window forward (empty when it sent none).
    void activated(const QString& threadIdentifier, const QString& activationToken);

private Q_SLOTS:
    void onActionInvoked(uint id, const QString& actionKey);
    void onActivationToken(uint id, const QString& token);
    void onNotificationClosed(uint id, uint reason);

private:
    // What one conversation shows. `id` is the server's, 0 until its answer;
    // while a Notify is in flight, later changes wait in `stale` and go out
    // when the id is known, so they replace rather than pile up.
    struct Shown {
        uint id = 0;
        std::int64_t count = 0;
        QString title;
        QString body;
        bool inFlight = false;
        bool stale = false;
        bool withdrawn = false;
    };

    // Static and holding the manager weakly: the answers may come after the
    // manager is gone.
    static QCoro::Task<void> askServer(QDBusConnection bus, QPointer<NotificationManager> self);
    static QCoro::Task<void> notify(QDBusConnection bus, QPointer<NotificationManager> self,
                                    QString thread, QDBusMessage call, std::uint64_t generation);
    void send(const QString& thread);
    void close(uint id);
    void setAuthorized(bool authorized);
    void serverChanged();

    QDBusConnection m_bus;
    QDBusServiceWatcher* m_watcher = nullptr;
    bool m_authorized = false;
    QSet<QString> m_capabilities;
    QHash<QString, Shown> m_shown;        // by conversation key
    QHash<uint, QString> m_tokens;        // activation tokens by notification id
    std::uint64_t m_serverGeneration = 0; // bumped when the server changes
};
