#include "transport/bluez_probe.h"

#include "transport/bluez_types.h"
#include "transport/link_log.h"

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

namespace {

BluezProbe::Finding findingOfError(const QDBusError& error) {
    switch (error.type()) {
    case QDBusError::AccessDenied:
        return BluezProbe::Finding::notPermitted;
    default:
        break;
    }
    if (error.name() == QLatin1String("org.bluez.Error.NotPermitted") ||
        error.name() == QLatin1String("org.bluez.Error.NotAuthorized"))
        return BluezProbe::Finding::notPermitted;
    // ServiceUnknown, NameHasNoOwner, no reply: nobody there to use.
    return BluezProbe::Finding::noService;
}

} // namespace

BluezProbe::BluezProbe(QObject* parent)
    : QObject(parent)
    , m_bus(QDBusConnection::systemBus()) {
    // Adapters come and go without the service doing so: while Bluetooth
    // cannot be used, look again now and then.
    m_poll.setInterval(pollInterval);
    connect(&m_poll, &QTimer::timeout, this, &BluezProbe::check);
    if (!m_bus.isConnected())
        return;
    m_watcher = new QDBusServiceWatcher(Bluez::service, m_bus,
                                        QDBusServiceWatcher::WatchForRegistration |
                                            QDBusServiceWatcher::WatchForUnregistration,
                                        this);
    connect(m_watcher, &QDBusServiceWatcher::serviceRegistered, this, &BluezProbe::changed);
    connect(m_watcher, &QDBusServiceWatcher::serviceUnregistered, this, &BluezProbe::changed);
    // An adapter that appears (plugged in, or back after a resume) is
    // noticed at once rather than at the next poll.
    m_bus.connect(Bluez::service, QStringLiteral("/"), Bluez::objectManagerInterface,
                  QStringLiteral("InterfacesAdded"), this, SLOT(onObjectAdded()));
}

void BluezProbe::check() {
    if (!m_bus.isConnected()) {
        qCDebug(lcLink) << "no system bus";
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT finished(Finding::noService); }, Qt::QueuedConnection);
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(Bluez::managedObjectsCall()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const QDBusMessage reply = call->reply();
                Finding finding = Finding::noAdapter;
                if (reply.type() != QDBusMessage::ReplyMessage) {
                    qCDebug(lcLink)
                        << "Bluetooth service:" << reply.errorName() << reply.errorMessage();
                    finding = findingOfError(QDBusError(reply));
                } else {
                    const BluezObjects objects = Bluez::readObjects(reply);
                    for (const BluezInterfaces& interfaces : objects) {
                        if (interfaces.contains(Bluez::adapterInterface))
                            finding = Finding::adapter;
                    }
                }
                if (finding == Finding::adapter && !m_keepAsking)
                    m_poll.stop();
                else if (!m_poll.isActive())
                    m_poll.start();
                Q_EMIT finished(finding);
            });
}

// Only while the service offers no usable adapter: then few objects come.
void BluezProbe::onObjectAdded() {
    if (m_poll.isActive())
        check();
}

void BluezProbe::keepAsking(bool on) {
    m_keepAsking = on;
    if (on && !m_poll.isActive())
        m_poll.start();
}
