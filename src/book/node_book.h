#pragma once

#include "model/device_records.h"

#include <QList>
#include <QString>
#include <optional>

// What one radio last told us about itself and the mesh around it: kept per
// radio, so that the window can open from it while the radio is away.
struct NodeBook {
    SelfInfo selfInfo; // selfInfo.publicKey names the radio and its book
    std::optional<DeviceInfo> deviceInfo;
    QList<Contact> contacts;
    QList<Channel> channels; // sorted by index

    bool operator==(const NodeBook&) const = default;
};

// What a book may hold: a radio keeps a few hundred contacts with names of
// 32 bytes, so anything far past these was not written by us.
namespace NodeBookLimits {
constexpr qint64 maxFileBytes = qint64(4) << 20;
constexpr int maxContacts = 2000;
constexpr int maxChannels = 64;
constexpr int maxNameLength = 64;
constexpr int maxTextLength = 64; // firmware build date, model
constexpr int maxPathBytes = 64;
} // namespace NodeBookLimits
