#include "notifications/notification_manager.h"

#include "model/application_id.h"
#include "notifications/notification_text.h"

#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QStringList>
#include <QVariantMap>
#include <algorithm>
#include <limits>
#include <qcoro/qcorodbuspendingcall.h>

namespace {

const QString notificationService = QStringLiteral("org.freedesktop.Notifications");
const QString notificationPath = QStringLiteral("/org/freedesktop/Notifications");
const QString notificationInterface = QStringLiteral("org.freedesktop.Notifications");
const QString defaultAction = QStringLiteral("default");

// The launcher entry is matched by the application URI in the first argument;
// the object path only has to stay the same for the life of the application.
const QString launcherEntryPath = QStringLiteral("/com/canonical/unity/launcherentry/talvenne");
const QString launcherEntryInterface = QStringLiteral("com.canonical.Unity.LauncherEntry");

QDBusMessage notificationCall(const QString& method) {
    return QDBusMessage::createMethodCall(notificationService, notificationPath,
                                          notificationInterface, method);
}

} // namespace

NotificationManager::NotificationManager(QDBusConnection bus, QObject* parent)
    : Notifier(parent)
    , m_bus(std::move(bus))
    , m_watcher(new QDBusServiceWatcher(notificationService, m_bus,
                                        QDBusServiceWatcher::WatchForOwnerChange, this)) {
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &NotificationManager::serverChanged);
    m_bus.connect(notificationService, notificationPath, notificationInterface,
                  QStringLiteral("ActionInvoked"), this, SLOT(onActionInvoked(uint, QString)));
    m_bus.connect(notificationService, notificationPath, notificationInterface,
                  QStringLiteral("ActivationToken"), this, SLOT(onActivationToken(uint, QString)));
    m_bus.connect(notificationService, notificationPath, notificationInterface,
                  QStringLiteral("NotificationClosed"), this,
                  SLOT(onNotificationClosed(uint, uint)));
}

void NotificationManager::requestAuthorization() {
    askServer(m_bus, QPointer<NotificationManager>(this));
}

QCoro::Task<void> NotificationManager::askServer(QDBusConnection bus,
                                                 QPointer<NotificationManager> self) {
    const QDBusMessage information =
        co_await bus.asyncCall(notificationCall(QStringLiteral("GetServerInformation")));
    if (!self)
        co_return;
    const bool granted = information.type() == QDBusMessage::ReplyMessage;
    QSet<QString> capabilities;
    if (granted) {
        const QDBusMessage answer =
            co_await bus.asyncCall(notificationCall(QStringLiteral("GetCapabilities")));
        if (!self)
            co_return;
        for (const QString& capability : answer.arguments().value(0).toStringList())
            capabilities.insert(capability);
    }
    self->m_capabilities = capabilities;
    self->setAuthorized(granted);
    Q_EMIT self->authorizationAnswered(granted);
}

void NotificationManager::setAuthorized(bool authorized) {
    if (m_authorized == authorized)
        return;
    m_authorized = authorized;
    Q_EMIT authorizedChanged();
}

void NotificationManager::serverChanged() {
    // The ids the old server handed out mean nothing to the new one.
    ++m_serverGeneration;
    for (Shown& shown : m_shown)
        shown.id = 0;
    m_tokens.clear();
    m_capabilities.clear();
    requestAuthorization();
}

void NotificationManager::postNotification(const QString& title, const QString& body,
                                           const QString& threadIdentifier) {
    if (!m_authorized)
        return;
    Shown& shown = m_shown[threadIdentifier];
    if (shown.withdrawn) {
        // Read while the previous one was on its way: start counting afresh.
        shown.withdrawn = false;
        shown.count = 0;
    }
    ++shown.count;
    shown.title = NotificationText::title(title);
    shown.body = NotificationText::body(body);
    if (shown.inFlight)
        shown.stale = true;
    else
        send(threadIdentifier);
}

void NotificationManager::send(const QString& thread) {
    Shown& shown = m_shown[thread];
    shown.inFlight = true;
    shown.stale = false;

    QString body = shown.body;
    if (shown.count > 1)
        body = qtTrId("notification.body.count",
                      int(std::min<std::int64_t>(shown.count, std::numeric_limits<int>::max()))) +
               QLatin1Char('\n') + body;
    // Message texts come from anyone on the mesh: a server that renders
    // markup must show them as typed.
    if (m_capabilities.contains(QStringLiteral("body-markup")))
        body = body.toHtmlEscaped();
    QStringList actions;
    if (m_capabilities.contains(QStringLiteral("actions")))
        actions << defaultAction << qtTrId("notification.action.open");

    const QVariantMap hints{
        {QStringLiteral("sound-name"), QStringLiteral("message-new-instant")},
        {QStringLiteral("desktop-entry"), applicationId()},
        {QStringLiteral("category"), QStringLiteral("im.received")},
        // Lets a server that groups notifications keep one conversation together.
        {QStringLiteral("x-talvenne-thread"), thread},
    };
    QDBusMessage call = notificationCall(QStringLiteral("Notify"));
    call << QStringLiteral("Talvenne") << shown.id << applicationId() << shown.title << body
         << actions << hints << -1;
    notify(m_bus, QPointer<NotificationManager>(this), thread, call, m_serverGeneration);
}

QCoro::Task<void> NotificationManager::notify(QDBusConnection bus,
                                              QPointer<NotificationManager> self, QString thread,
                                              QDBusMessage call, std::uint64_t generation) {
    const QDBusMessage reply = co_await bus.asyncCall(call);
    if (!self)
        co_return;
    const auto found = self->m_shown.find(thread);
    if (found == self->m_shown.end())
        co_return;
    uint id = 0;
    if (reply.type() == QDBusMessage::ReplyMessage && generation == self->m_serverGeneration)
        id = reply.arguments().value(0).toUInt();
    found->inFlight = false;
    if (found->withdrawn) {
        self->close(id);
        self->m_shown.erase(found);
        co_return;
    }
    found->id = id;
    if (found->stale)
        self->send(thread);
}

void NotificationManager::withdrawNotifications(const QString& threadIdentifier) {
    const auto found = m_shown.find(threadIdentifier);
    if (found == m_shown.end())
        return;
    if (found->inFlight) {
        // Closed as soon as its id is known.
        found->withdrawn = true;
        found->stale = false;
        return;
    }
    close(found->id);
    m_shown.erase(found);
}

void NotificationManager::close(uint id) {
    if (id == 0)
        return;
    m_tokens.remove(id);
    QDBusMessage call = notificationCall(QStringLiteral("CloseNotification"));
    call << id;
    m_bus.send(call);
}

void NotificationManager::onActivationToken(uint id, const QString& token) {
    // Sent just before ActionInvoked for the same notification; the server
    // sends them for every application's notifications, so keep only ours.
    if (id == 0)
        return;
    for (const Shown& shown : std::as_const(m_shown)) {
        if (shown.id == id) {
            m_tokens.insert(id, token);
            return;
        }
    }
}

void NotificationManager::onActionInvoked(uint id, const QString& actionKey) {
    const QString token = m_tokens.take(id);
    if (id == 0 || actionKey != defaultAction)
        return;
    for (auto it = m_shown.cbegin(); it != m_shown.cend(); ++it) {
        if (it->id == id) {
            Q_EMIT activated(it.key(), token);
            return;
        }
    }
}

void NotificationManager::onNotificationClosed(uint id, uint /*reason*/) {
    if (id == 0)
        return;
    m_tokens.remove(id);
    // The next message of that conversation opens a new notification; its
    // count goes on until the conversation is read.
    for (Shown& shown : m_shown) {
        if (shown.id == id)
            shown.id = 0;
    }
}

void NotificationManager::updateBadge(std::int64_t count) {
    QDBusMessage signal = QDBusMessage::createSignal(launcherEntryPath, launcherEntryInterface,
                                                     QStringLiteral("Update"));
    const QVariantMap properties{
        {QStringLiteral("count"), QVariant::fromValue<qint64>(count)},
        {QStringLiteral("count-visible"), count >= 1},
    };
    signal << QStringLiteral("application://%1.desktop").arg(applicationId()) << properties;
    m_bus.send(signal);
}
