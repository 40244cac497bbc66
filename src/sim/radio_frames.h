#pragma once

#include "model/device_records.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <cstdint>
#include <optional>

// The radio's side of the wire: encoders of the response and push frames that
// a companion radio sends. The simulated radio answers with these; they are
// the exact reverse of the client's decoder, so a frame built here and decoded
// there gives back the record it was built from (texts longer than their
// field are cut, outgoing paths are padded to 64 bytes, times lose their
// milliseconds and coordinates keep six decimals).
namespace RadioFrames {

// Response codes (below 0x80) and push codes (0x80 and up).
enum class Code : std::uint8_t {
    ok = 0x00,
    error = 0x01,
    contactsStart = 0x02,
    contact = 0x03,
    endOfContacts = 0x04,
    selfInfo = 0x05,
    messageSent = 0x06,
    contactMessage = 0x07,
    channelMessage = 0x08,
    currentTime = 0x09,
    noMoreMessages = 0x0A,
    battery = 0x0C,
    deviceInfo = 0x0D,
    contactMessageWithSnr = 0x10,
    channelMessageWithSnr = 0x11,
    channelInfo = 0x12,
    stats = 0x18,
    advert = 0x80,
    pathUpdated = 0x81,
    sendConfirmed = 0x82,
    messagesWaiting = 0x83,
    loginSuccess = 0x85,
    loginFailed = 0x86,
    statusResponse = 0x87,
    newAdvert = 0x8A,
};

// Text type whose direct-message frames carry four extra bytes before the text.
inline constexpr std::uint8_t signedTextType = 2;

QByteArray okFrame(std::optional<std::uint32_t> value = std::nullopt);
// No error gives the bare one-byte frame (the client then has no known code).
QByteArray errorFrame(std::optional<MeshProtocol::DeviceError> error);
QByteArray selfInfoFrame(const SelfInfo& info);
QByteArray deviceInfoFrame(const DeviceInfo& info);
// Storage is sent only when both storage values are present.
QByteArray batteryFrame(const BatteryInfo& battery);
QByteArray currentTimeFrame(const QDateTime& time);
QByteArray contactsStartFrame(std::uint32_t count);
// `code` is Code::contact (a contact list entry) or Code::newAdvert (a push).
QByteArray contactFrame(const Contact& contact, Code code = Code::contact);
QByteArray endOfContactsFrame(std::uint32_t mostRecentLastMod);
QByteArray messageSentFrame(std::int8_t result, std::uint32_t expectedAck,
                            std::uint32_t estimatedTimeoutMillis);
// `senderKey` is the sender's key or key prefix as hex; its first 6 bytes are
// sent. With an snr the newer 0x10 form is built, without one the old 0x07.
QByteArray contactMessageFrame(const QString& senderKey, std::uint8_t pathLength,
                               std::uint8_t textType, const QDateTime& timestamp,
                               const QString& text, std::optional<double> snr);
// With an snr the newer 0x11 form, without one the old 0x08.
QByteArray channelMessageFrame(std::int8_t channelIndex, std::uint8_t pathLength,
                               std::uint8_t textType, const QDateTime& timestamp,
                               const QString& text, std::optional<double> snr);
QByteArray noMoreMessagesFrame();
QByteArray channelInfoFrame(const Channel& channel);
// `group`: 0 core, 1 radio, 2 packets; fields the record lacks go out as 0.
QByteArray statsFrame(std::uint8_t group, const DeviceStats& stats);
QByteArray advertFrame(const QString& publicKey);
QByteArray pathUpdatedFrame(const QString& publicKey);
QByteArray sendConfirmedFrame(std::uint32_t ackCode, std::uint32_t roundTripMillis);
QByteArray messagesWaitingFrame();
QByteArray loginSuccessFrame(const QString& senderKey);
QByteArray loginFailedFrame(const QString& senderKey);
QByteArray statusResponseFrame(const QString& senderKey, const QByteArray& data);

// Helpers shared with the simulated radio.
// Hex text to bytes, dropping anything that is not a pair of hex digits.
QByteArray keyBytes(const QString& hex);
// Seconds since 1970 as the radio's 32-bit time field; an invalid time is 0.
std::uint32_t timeField(const QDateTime& time);
// A text as the radio keeps it in a field of `width` bytes: cut to the field
// and read back the way the client reads it.
QString fieldText(const QString& text, qsizetype width);

} // namespace RadioFrames
