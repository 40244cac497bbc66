#include "transport/bluez_probe.h"

#include "transport/bluez_types.h"
#include "transport/link_log.h"

#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QRegularExpression>

void Bluez::registerTypes() {
    qDBusRegisterMetaType<BluezInterfaces>();
    qDBusRegisterMetaType<BluezObjects>();
}

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

QDBusMessage managedObjectsCall() {
    return QDBusMessage::createMethodCall(Bluez::service, QStringLiteral("/"),
                                          Bluez::objectManagerInterface,
                                          QStringLiteral("GetManagedObjects"));
}

} // namespace

BluezProbe::BluezProbe(QObject* parent)
    : QObject(parent)
    , m_bus(QDBusConnection::systemBus()) {
    Bluez::registerTypes();
    if (!m_bus.isConnected())
        return;
    m_watcher = new QDBusServiceWatcher(Bluez::service, m_bus,
                                        QDBusServiceWatcher::WatchForRegistration |
                                            QDBusServiceWatcher::WatchForUnregistration,
                                        this);
    connect(m_watcher, &QDBusServiceWatcher::serviceRegistered, this, &BluezProbe::changed);
    connect(m_watcher, &QDBusServiceWatcher::serviceUnregistered, this, &BluezProbe::changed);
    for (const char* signal : {"InterfacesAdded", "InterfacesRemoved"}) {
        m_bus.connect(Bluez::service, QStringLiteral("/"), Bluez::objectManagerInterface,
                      QLatin1String(signal), this, SLOT(onObjectsChanged(QDBusMessage)));
    }
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
                const QDBusPendingReply<BluezObjects> reply = *call;
                if (reply.isError()) {
                    qCDebug(lcLink)
                        << "Bluetooth service:" << reply.error().name() << reply.error().message();
                    Q_EMIT finished(findingOfError(reply.error()));
                    return;
                }
                const BluezObjects objects = reply.value();
                for (const BluezInterfaces& interfaces : objects) {
                    if (interfaces.contains(Bluez::adapterInterface)) {
                        Q_EMIT finished(Finding::adapter);
                        return;
                    }
                }
                Q_EMIT finished(Finding::noAdapter);
            });
}

void BluezProbe::disconnectDevice(const QString& address) {
    if (!m_bus.isConnected())
        return;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(managedObjectsCall()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, address](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const QDBusPendingReply<BluezObjects> reply = *call;
                if (reply.isError())
                    return;
                const BluezObjects objects = reply.value();
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

void BluezProbe::onObjectsChanged(const QDBusMessage& message) {
    // Adapters live right under /org/bluez; devices and their services below them.
    static const QRegularExpression adapterPath(QStringLiteral("^/org/bluez/[^/]+$"));
    const QList<QVariant> arguments = message.arguments();
    if (arguments.isEmpty())
        return;
    const QString path = arguments.first().value<QDBusObjectPath>().path();
    if (adapterPath.match(path).hasMatch())
        Q_EMIT changed();
}
