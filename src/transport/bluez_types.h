#pragma once

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QMap>
#include <QMetaType>
#include <QString>
#include <QVariantMap>

// The shapes of BlueZ's object manager on the system bus: the interfaces of
// one object with their properties, and every object with its interfaces.
// Only the stand-in BlueZ of the tests registers them with QtDBus: QtBluetooth
// registers the same types under its own names, and a second registration in
// the same process stops its discovery from seeing any device.
using BluezInterfaces = QMap<QString, QVariantMap>;
using BluezObjects = QMap<QDBusObjectPath, BluezInterfaces>;

namespace Bluez {
inline const QString service = QStringLiteral("org.bluez");
inline const QString adapterInterface = QStringLiteral("org.bluez.Adapter1");
inline const QString deviceInterface = QStringLiteral("org.bluez.Device1");
inline const QString characteristicInterface = QStringLiteral("org.bluez.GattCharacteristic1");
inline const QString agentManagerInterface = QStringLiteral("org.bluez.AgentManager1");
inline const QString agentInterface = QStringLiteral("org.bluez.Agent1");
inline const QString objectManagerInterface = QStringLiteral("org.freedesktop.DBus.ObjectManager");
inline const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

// Reads GetManagedObjects' answer (a{oa{sa{sv}}}) by hand, without
// registering the types (see above). Empty for an error reply.
BluezObjects readObjects(const QDBusMessage& reply);
QDBusMessage managedObjectsCall();
} // namespace Bluez
