#include "notifications/notification_manager.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QStringList>
#include <QVariantMap>
#include <qcoro/qcorodbuspendingcall.h>

namespace {

const QString notificationService = QStringLiteral("org.freedesktop.Notifications");
const QString notificationPath = QStringLiteral("/org/freedesktop/Notifications");
const QString notificationInterface = QStringLiteral("org.freedesktop.Notifications");

// The launcher entry is matched by the application URI in the first argument;
// the object path only has to stay the same for the life of the application.
const QString launcherEntryPath = QStringLiteral("/com/canonical/unity/launcherentry/talvenne");
const QString launcherEntryInterface = QStringLiteral("com.canonical.Unity.LauncherEntry");
const QString launcherEntryApp = QStringLiteral("application://talvenne.desktop");

} // namespace

NotificationManager::NotificationManager(QDBusConnection bus, QObject* parent)
    : Notifier(parent)
    , m_bus(std::move(bus)) {}

void NotificationManager::requestAuthorization() {
    askServer(m_bus, QPointer<NotificationManager>(this));
}

QCoro::Task<void> NotificationManager::askServer(QDBusConnection bus,
                                                 QPointer<NotificationManager> self) {
    const QDBusMessage call =
        QDBusMessage::createMethodCall(notificationService, notificationPath, notificationInterface,
                                       QStringLiteral("GetServerInformation"));
    const QDBusPendingCall pending = bus.asyncCall(call);
    const QDBusMessage reply = co_await pending;
    if (!self) {
        co_return;
    }
    const bool granted = reply.type() == QDBusMessage::ReplyMessage;
    self->setAuthorized(granted);
    Q_EMIT self->authorizationAnswered(granted);
}

void NotificationManager::setAuthorized(bool authorized) {
    if (m_authorized == authorized) {
        return;
    }
    m_authorized = authorized;
    Q_EMIT authorizedChanged();
}

void NotificationManager::postNotification(const QString& title, const QString& body,
                                           const QString& threadIdentifier) {
    if (!m_authorized) {
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(
        notificationService, notificationPath, notificationInterface, QStringLiteral("Notify"));
    const QVariantMap hints{
        {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")},
        {QStringLiteral("desktop-entry"), QStringLiteral("talvenne")},
        {QStringLiteral("category"), QStringLiteral("im.received")},
        // Lets a server that groups notifications keep one conversation together.
        {QStringLiteral("x-talvenne-thread"), threadIdentifier},
    };
    // replaces_id 0 asks for a new notification every time, so two messages
    // with the same text are both shown.
    call << QStringLiteral("Talvenne") << 0u << QStringLiteral("talvenne") << title << body
         << QStringList() << hints << -1;
    // Fire and forget: the id in the reply is never needed and delivery
    // failures are not ours to handle.
    m_bus.send(call);
}

void NotificationManager::updateBadge(std::int64_t count) {
    QDBusMessage signal = QDBusMessage::createSignal(launcherEntryPath, launcherEntryInterface,
                                                     QStringLiteral("Update"));
    const QVariantMap properties{
        {QStringLiteral("count"), QVariant::fromValue<qint64>(count)},
        {QStringLiteral("count-visible"), count >= 1},
    };
    signal << launcherEntryApp << properties;
    m_bus.send(signal);
}
