#pragma once

#include "model/mesh_enums.h"

#include <QByteArray>
#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <cstdint>
#include <optional>

// Plain value records through which the radio describes itself, the nodes it
// knows and its channel slots. They compare field by field.

struct SelfInfo {
    MeshProtocol::AdvertType advertType = MeshProtocol::AdvertType::none;
    std::uint8_t txPower = 0;
    std::uint8_t maxTxPower = 0;
    QString publicKey; // 64 lowercase hex digits
    double latitude = 0;
    double longitude = 0;
    bool manualAddContacts = false;
    double radioFrequency = 0; // MHz
    double radioBandwidth = 0; // kHz
    std::uint8_t radioSpreadingFactor = 0;
    std::uint8_t radioCodingRate = 0;
    QString name;

    bool operator==(const SelfInfo&) const = default;
};

struct DeviceInfo {
    int firmwareVersion = 0;
    QString firmwareBuildDate;
    QString model;

    bool operator==(const DeviceInfo&) const = default;
};

struct BatteryInfo {
    int milliVolts = 0;
    // Unsigned 32-bit on the wire: 4 TB and more must not turn negative.
    std::optional<std::uint32_t> usedStorageKB;
    std::optional<std::uint32_t> totalStorageKB;

    // 0 to 100, none when the voltage is below 1 mV.
    std::optional<int> percentage() const;

    bool operator==(const BatteryInfo&) const = default;
};

// One statistics snapshot; a frame fills only the fields of its own group.
struct DeviceStats {
    // core
    std::optional<int> batteryMilliVolts;
    std::optional<std::uint32_t> uptimeSeconds;
    std::optional<int> txQueueLength;
    // radio
    std::optional<int> noiseFloor;
    std::optional<int> lastRSSI;
    std::optional<double> lastSNR;
    std::optional<std::uint32_t> txAirtimeSeconds;
    std::optional<std::uint32_t> rxAirtimeSeconds;
    // packets
    std::optional<std::uint32_t> packetsReceived;
    std::optional<std::uint32_t> packetsSent;
    std::optional<std::uint32_t> sentFlood;
    std::optional<std::uint32_t> sentDirect;
    std::optional<std::uint32_t> receivedFlood;
    std::optional<std::uint32_t> receivedDirect;

    bool operator==(const DeviceStats&) const = default;
};

struct Contact {
    QString publicKey; // 64 lowercase hex digits; the contact's identity
    MeshProtocol::AdvertType type = MeshProtocol::AdvertType::none;
    std::uint8_t flags = 0;
    std::int8_t outPathLength = -1; // -1: no known path
    QByteArray outPath;
    QString name;
    QDateTime lastAdvert;
    double latitude = 0;
    double longitude = 0;
    QDateTime lastModified;

    // First character of the first two words of the name, upper-cased; "?" if none.
    QString initials() const;

    bool operator==(const Contact&) const = default;
};

struct Channel {
    int index = 0;
    QString name;
    QString secretHex;

    // The name, or the localised default name of the slot when it has none.
    QString displayName() const;

    bool operator==(const Channel&) const = default;
};

Q_DECLARE_METATYPE(SelfInfo)
Q_DECLARE_METATYPE(DeviceInfo)
Q_DECLARE_METATYPE(BatteryInfo)
Q_DECLARE_METATYPE(DeviceStats)
Q_DECLARE_METATYPE(Contact)
Q_DECLARE_METATYPE(Channel)
