#pragma once

#include "protocol/mesh_event.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>
#include <cstdint>
#include <optional>

// The companion radio's frames: one builder per command, and the decoder of
// response and push frames. Times are passed in as seconds since 1970 so that
// the frames are reproducible; callers take them from their clock.
namespace MeshProtocol {

inline constexpr auto applicationName = "Talvenne-macOS";

// Decodes one frame. Never fails: short frames give zeros and empty texts,
// unknown codes give Events::Unhandled.
MeshEvent decode(QByteArrayView frame);
// Whether the frame holds at least the fixed part of its kind (everything
// but the texts and the fields the decoder may find missing). A shorter one
// was cut on its way: decoded, it would pass zeros and blanks for data.
bool isWhole(QByteArrayView frame);

QByteArray appStart(const QString& appName);
QByteArray deviceQuery(std::uint8_t version);
QByteArray getContacts();
QByteArray setDeviceTime(std::uint32_t secondsSince1970);
QByteArray sendSelfAdvert(std::uint8_t kind); // 0 zero-hop, 1 flood
QByteArray setAdvertName(const QString& name);
QByteArray addOrUpdateContact(QByteArrayView publicKey, AdvertType type, const QString& name,
                              std::uint32_t secondsSince1970);
QByteArray syncNextMessage();
QByteArray setTxPower(std::uint8_t dBm);
QByteArray resetPath(QByteArrayView publicKey);
QByteArray removeContact(QByteArrayView publicKey);
QByteArray shareContact(QByteArrayView publicKey);
QByteArray reboot();
QByteArray getBatteryAndStorage();
QByteArray getChannel(std::uint8_t index);
QByteArray setChannel(std::uint8_t index, const QString& name, QByteArrayView secret);
QByteArray getStatistics(std::uint8_t group); // 0 core, 1 radio, 2 packets
// `publicKey` is the recipient's key (at least its first 6 bytes are used).
QByteArray sendDirectText(QByteArrayView publicKey, std::uint32_t secondsSince1970,
                          const QString& text);
QByteArray sendChannelText(std::uint8_t index, std::uint32_t secondsSince1970, const QString& text);

// Bytes as lowercase hex digits, no separators.
QString hexString(QByteArrayView bytes);
// Trimmed hex text of even length to bytes; no value on any bad pair.
std::optional<QByteArray> bytesFromHex(QStringView text);

} // namespace MeshProtocol
