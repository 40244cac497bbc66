#include "transport/bluez_device.h"

#include "transport/bluez_types.h"
#include "transport/link_log.h"

#include <QDBusPendingCallWatcher>

namespace {

const QString doesNotExist = QStringLiteral("org.bluez.Error.DoesNotExist");

QString adapterPathOf(const QString& devicePath) {
    return devicePath.section(QLatin1Char('/'), 0, -2);
}

} // namespace

BluezDevice::BluezDevice(const QString& address, QObject* parent)
    : QObject(parent)
    , m_bus(QDBusConnection::systemBus())
    , m_address(address) {}

bool BluezDevice::isConnected() const {
    return m_properties.value(QStringLiteral("Connected")).toBool();
}

bool BluezDevice::servicesResolved() const {
    return m_properties.value(QStringLiteral("ServicesResolved")).toBool();
}

bool BluezDevice::isPaired() const {
    return m_properties.value(QStringLiteral("Paired")).toBool();
}

std::optional<BluezDevice::Failure> BluezDevice::failureOf(const QDBusMessage& reply) {
    if (reply.type() == QDBusMessage::ReplyMessage)
        return std::nullopt;
    return Failure{reply.errorName(), reply.errorMessage()};
}

void BluezDevice::call(const QString& path, const QString& interface, const QString& method,
                       const QList<QVariant>& arguments, Done done, int timeoutMillis) {
    QDBusMessage message = QDBusMessage::createMethodCall(Bluez::service, path, interface, method);
    message.setArguments(arguments);
    ++m_inFlight;
    // Parented to this object: gone with it, answer and all.
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message, timeoutMillis), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, method, done = std::move(done)](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                const auto failure = failureOf(call->reply());
                if (failure)
                    qCDebug(lcLink)
                        << method << m_address << "failed:" << failure->name << failure->text;
                --m_inFlight;
                if (done)
                    done(failure);
                if (m_inFlight == 0)
                    Q_EMIT idle();
            });
}

void BluezDevice::lookUp(std::function<void(const QDBusMessage& reply)> then) {
    ++m_inFlight;
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(Bluez::managedObjectsCall()), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, then = std::move(then)](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                --m_inFlight;
                then(call->reply());
                if (m_inFlight == 0)
                    Q_EMIT idle();
            });
}

void BluezDevice::find(Done done) {
    lookUp([this, done = std::move(done)](const QDBusMessage& reply) {
        if (const auto failure = failureOf(reply)) {
            done(failure);
            return;
        }
        const BluezObjects objects = Bluez::readObjects(reply);
        for (auto it = objects.cbegin(); it != objects.cend(); ++it) {
            const QVariantMap device = it.value().value(Bluez::deviceInterface);
            if (device.value(QStringLiteral("Address"))
                    .toString()
                    .compare(m_address, Qt::CaseInsensitive) != 0)
                continue;
            if (m_path != it.key().path()) {
                m_path = it.key().path();
                watchDevice();
            }
            m_properties = device;
            done(std::nullopt);
            return;
        }
        done(Failure{doesNotExist, QStringLiteral("BlueZ does not know ") + m_address});
    });
}

void BluezDevice::watchDevice() {
    m_bus.connect(Bluez::service, m_path, Bluez::propertiesInterface,
                  QStringLiteral("PropertiesChanged"), this,
                  SLOT(onDeviceChanged(QString, QVariantMap, QStringList)));
    if (m_watchingRemovals)
        return;
    m_watchingRemovals = true;
    m_bus.connect(Bluez::service, QStringLiteral("/"), Bluez::objectManagerInterface,
                  QStringLiteral("InterfacesRemoved"), this,
                  SLOT(onInterfacesRemoved(QDBusObjectPath, QStringList)));
}

void BluezDevice::watchCharacteristic(const QString& path) {
    if (path == m_watchedCharacteristic)
        return;
    if (!m_watchedCharacteristic.isEmpty())
        m_bus.disconnect(Bluez::service, m_watchedCharacteristic, Bluez::propertiesInterface,
                         QStringLiteral("PropertiesChanged"), this,
                         SLOT(onCharacteristicChanged(QString, QVariantMap, QStringList)));
    m_watchedCharacteristic = path;
    m_bus.connect(Bluez::service, path, Bluez::propertiesInterface,
                  QStringLiteral("PropertiesChanged"), this,
                  SLOT(onCharacteristicChanged(QString, QVariantMap, QStringList)));
}

void BluezDevice::onDeviceChanged(const QString& interface, const QVariantMap& changed,
                                  const QStringList& invalidated) {
    if (interface != Bluez::deviceInterface)
        return;
    const bool wasConnected = isConnected();
    const bool wasResolved = servicesResolved();
    for (auto it = changed.cbegin(); it != changed.cend(); ++it)
        m_properties.insert(it.key(), it.value());
    for (const QString& name : invalidated)
        m_properties.remove(name);
    // A drop changes both in one signal: the connection is what counts.
    if (isConnected() != wasConnected)
        Q_EMIT connectedChanged(isConnected());
    if (servicesResolved() != wasResolved && isConnected())
        Q_EMIT servicesResolvedChanged(servicesResolved());
}

void BluezDevice::onCharacteristicChanged(const QString& interface, const QVariantMap& changed,
                                          const QStringList&) {
    if (interface != Bluez::characteristicInterface || !changed.contains(QStringLiteral("MTU")))
        return;
    const int mtu = changed.value(QStringLiteral("MTU")).toInt();
    if (mtu == m_mtu)
        return;
    m_mtu = mtu;
    Q_EMIT mtuChanged(mtu);
}

void BluezDevice::onInterfacesRemoved(const QDBusObjectPath& path, const QStringList& interfaces) {
    if (interfaces.contains(Bluez::characteristicInterface) &&
        std::find(m_characteristics.cbegin(), m_characteristics.cend(), path.path()) !=
            m_characteristics.cend()) {
        // Service Changed: the old characteristics are dead.
        m_characteristics.clear();
        return;
    }
    if (path.path() != m_path || !interfaces.contains(Bluez::deviceInterface))
        return;
    qCDebug(lcLink) << "BlueZ removed" << m_path;
    const bool wasConnected = isConnected();
    m_properties.clear();
    m_characteristics.clear();
    if (wasConnected)
        Q_EMIT connectedChanged(false);
    Q_EMIT removed();
}

void BluezDevice::connectDevice(Done done) {
    call(m_path, Bluez::deviceInterface, QStringLiteral("Connect"), {}, std::move(done));
}

void BluezDevice::disconnectDevice(Done done) {
    if (m_path.isEmpty()) {
        if (done)
            QMetaObject::invokeMethod(
                this, [done] { done(std::nullopt); }, Qt::QueuedConnection);
        return;
    }
    call(m_path, Bluez::deviceInterface, QStringLiteral("Disconnect"), {}, std::move(done));
}

void BluezDevice::pair(Done done) {
    call(m_path, Bluez::deviceInterface, QStringLiteral("Pair"), {}, std::move(done),
         int(pairTimeout.count()));
}

void BluezDevice::cancelPairing() {
    if (!m_path.isEmpty())
        call(m_path, Bluez::deviceInterface, QStringLiteral("CancelPairing"), {}, {});
}

void BluezDevice::remove(Done done) {
    const auto removeFound = [this, done = std::move(done)](const std::optional<Failure>& failure) {
        if (failure) {
            done(failure);
            return;
        }
        call(adapterPathOf(m_path), Bluez::adapterInterface, QStringLiteral("RemoveDevice"),
             {QVariant::fromValue(QDBusObjectPath(m_path))}, done);
    };
    find(removeFound);
}

void BluezDevice::findCharacteristics(const QList<QBluetoothUuid>& characteristics, Done done) {
    lookUp([this, characteristics, done = std::move(done)](const QDBusMessage& reply) {
        const BluezObjects objects = Bluez::readObjects(reply);
        m_characteristics.clear();
        int mtu = -1;
        QString mtuPath;
        for (auto it = objects.cbegin(); it != objects.cend(); ++it) {
            const QString path = it.key().path();
            const QVariantMap properties = it.value().value(Bluez::characteristicInterface);
            if (properties.isEmpty() || !path.startsWith(m_path + QLatin1Char('/')))
                continue;
            const QBluetoothUuid uuid(properties.value(QStringLiteral("UUID")).toString());
            if (!characteristics.contains(uuid))
                continue;
            m_characteristics.insert(uuid, path);
            // BlueZ 5.62 and later; older ones leave it out.
            if (mtuPath.isEmpty() && properties.contains(QStringLiteral("MTU"))) {
                mtu = properties.value(QStringLiteral("MTU")).toInt();
                mtuPath = path;
            }
        }
        if (m_characteristics.size() < characteristics.size()) {
            done(Failure{doesNotExist, QStringLiteral("characteristics missing")});
            return;
        }
        if (!mtuPath.isEmpty())
            watchCharacteristic(mtuPath);
        if (mtu != m_mtu) {
            m_mtu = mtu;
            if (mtu > 0)
                Q_EMIT mtuChanged(mtu);
        }
        done(std::nullopt);
    });
}

void BluezDevice::failLater(const Done& done, const QString& text) {
    QMetaObject::invokeMethod(
        this,
        [done, text] {
            done(Failure{doesNotExist, text});
        },
        Qt::QueuedConnection);
}

void BluezDevice::write(const QBluetoothUuid& characteristic, const QByteArray& value,
                        bool withResponse, Done done) {
    const QString path = m_characteristics.value(characteristic);
    if (path.isEmpty()) {
        failLater(done, QStringLiteral("The characteristic is gone"));
        return;
    }
    const QVariantMap options{{QStringLiteral("type"), withResponse ? QStringLiteral("request")
                                                                    : QStringLiteral("command")}};
    call(path, Bluez::characteristicInterface, QStringLiteral("WriteValue"), {value, options},
         std::move(done));
}

void BluezDevice::setNotify(const QBluetoothUuid& characteristic, bool enabled, Done done) {
    const QString path = m_characteristics.value(characteristic);
    if (path.isEmpty()) {
        failLater(done, QStringLiteral("The characteristic is gone"));
        return;
    }
    call(path, Bluez::characteristicInterface,
         enabled ? QStringLiteral("StartNotify") : QStringLiteral("StopNotify"), {},
         std::move(done));
}
