#include "transport/bluez_types.h"

#include <QDBusArgument>

BluezObjects Bluez::readObjects(const QDBusMessage& reply) {
    BluezObjects objects;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
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

QDBusMessage Bluez::managedObjectsCall() {
    return QDBusMessage::createMethodCall(Bluez::service, QStringLiteral("/"),
                                          Bluez::objectManagerInterface,
                                          QStringLiteral("GetManagedObjects"));
}
