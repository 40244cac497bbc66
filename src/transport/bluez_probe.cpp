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

// Reads GetManagedObjects' answer (a{oa{sa{sv}}}) by hand, see bluez_types.h.
BluezObjects readObjects(const QDBusMessage& reply) {
    BluezObjects objects;
    if (reply.arguments().isEmpty())
        return objects;
    const auto argument = reply.arguments().first().value<QDBusArgument>();
    argument.beginMap();
    while (!argument.atEnd()) {
        QDBusObjectPath path;
        BluezInterfaces interfaces;
        argument.beginMapEntry();
        argument >> path;
        argument.beginMap();
        while (!argument.atEnd()) {
            QString name;
            QVariantMap properties;
            argument.beginMapEntry();
            argument >> name >> properties;
            argument.endMapEntry();
            interfaces.insert(name, properties);
        }
        argument.endMap();
        argument.endMapEntry();
        objects.insert(path, interfaces);
    }
    argument.endMap();
    return objects;
}

QDBusMessage managedObjectsCall() {
    return QDBusMessage::createMethodCall(Bluez::service, QStringLiteral("/"),
                                          Bluez::objectManagerInterface,
                                          QStringLiteral("GetManagedObjects"));
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
}

void BluezProbe::check() {
    if (!m_bus.isConnected()) {
        qCDebug(lcLink) << "no system bus";
        QMetaObject::invokeMethod(
            this, [this] { Q_EMIT finished(Finding::noService); }, Qt::QueuedConnection);
        return;
    }
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(managedObjectsCall()), this);
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
                    const BluezObjects objects = readObjects(reply);
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

void BluezProbe::keepAsking(bool on) {
    m_keepAsking = on;
    if (on && !m_poll.isActive())
        m_poll.start();
}

void BluezProbe::disconnectDevice(const QString& address) {
    if (!m_bus.isConnected())
        return;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(managedObjectsCall()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, address](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const QDBusMessage reply = call->reply();
                if (reply.type() != QDBusMessage::ReplyMessage)
                    return;
                const BluezObjects objects = readObjects(reply);
                for (auto it = objects.cbegin(); it != objects.cend(); ++it) {
                    const QVariantMap device = it.value().value(Bluez::deviceInterface);
                    if (device.value(QStringLiteral("Address"))
                            .toString()
                            .compare(address, Qt::CaseInsensitive) != 0)
                        continue;
                    qCDebug(lcLink) << "asking BlueZ to end" << it.key().path();
                    m_bus.asyncCall(QDBusMessage::createMethodCall(Bluez::service, it.key().path(),
                                                                   Bluez::deviceInterface,
                                                                   QStringLiteral("Disconnect")));
                }
            });
}
