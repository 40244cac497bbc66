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

// One scan result. Equal when everything but the handle is.
struct DiscoveredDevice {
    QUuid id;
    QString name;
    // 0 for a known radio not heard in this scan.
    int rssi = 0;
    // What the link that found the device needs to connect to it.
    QVariant peripheral;
    // The system knows the radio already (paired, trusted, or connected by
    // another program): it is listed whether or not it advertises.
    bool known = false;
    // The Bluetooth address where the system shows it, else empty: what
    // tells two radios of the same name apart.
    QString address{};

    bool operator==(const DiscoveredDevice& other) const {
        return id == other.id && name == other.name && rssi == other.rssi && known == other.known &&
               address == other.address;
    }
};

Q_DECLARE_METATYPE(DiscoveredDevice)
