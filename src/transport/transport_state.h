#pragma once

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QUuid>
#include <QVariant>

// The state of the link to a radio, as the user interface shows it.
namespace Transport {
Q_NAMESPACE

enum class TransportState {
    poweredOff,
    unauthorized,
    ready,
    scanning,
    connecting,
    connected,
    disconnected,
};
Q_ENUM_NS(TransportState)

} // namespace Transport

using Transport::TransportState;

// One scan result. Equal when id, name and rssi are; the handle is not compared.
struct DiscoveredDevice {
    QUuid id;
    QString name;
    int rssi = 0;
    // What the link that found the device needs to connect to it.
    QVariant peripheral;

    bool operator==(const DiscoveredDevice& other) const {
        return id == other.id && name == other.name && rssi == other.rssi;
    }
};

Q_DECLARE_METATYPE(DiscoveredDevice)
