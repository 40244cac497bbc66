#pragma once

#include "model/device_records.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <cstdint>
#include <optional>
#include <variant>

// The payloads of the events one received frame decodes to, one struct per case.
namespace Events {

struct Ok {
    std::optional<std::uint32_t> value;
    bool operator==(const Ok&) const = default;
};
struct Error {
    std::optional<MeshProtocol::DeviceError> code;
    bool operator==(const Error&) const = default;
};
struct SelfInfo {
    ::SelfInfo selfInfo;
    bool operator==(const SelfInfo&) const = default;
};
struct DeviceInfo {
    ::DeviceInfo deviceInfo;
    bool operator==(const DeviceInfo&) const = default;
};
struct Battery {
    BatteryInfo battery;
    bool operator==(const Battery&) const = default;
};
struct CurrentTime {
    QDateTime time;
    bool operator==(const CurrentTime&) const = default;
};
struct ContactsStart {
    std::uint32_t count = 0;
    bool operator==(const ContactsStart&) const = default;
};
struct Contact {
    ::Contact contact;
    bool operator==(const Contact&) const = default;
};
struct EndOfContacts {
    std::uint32_t mostRecentLastMod = 0;
    bool operator==(const EndOfContacts&) const = default;
};
struct MessageSent {
    std::int8_t result = 0;
    std::uint32_t expectedAck = 0;
    std::uint32_t estimatedTimeoutMillis = 0;
    bool operator==(const MessageSent&) const = default;
};
struct ContactMessage {
    QString prefix; // 12 lowercase hex digits
    int pathLength = 0;
    std::uint8_t textType = 0;
    QDateTime timestamp;
    QString text;
    std::optional<double> snr;
    bool operator==(const ContactMessage&) const = default;
};
struct ChannelMessage {
    int channelIndex = 0;
    int pathLength = 0;
    std::uint8_t textType = 0;
    QDateTime timestamp;
    QString text;
    std::optional<double> snr;
    bool operator==(const ChannelMessage&) const = default;
};
struct ChannelInfo {
    Channel channelInfo;
    bool operator==(const ChannelInfo&) const = default;
};
struct Stats {
    DeviceStats stats;
    bool operator==(const Stats&) const = default;
};
struct Advert {
    QString publicKey;
    bool operator==(const Advert&) const = default;
};
struct NewAdvert {
    ::Contact newAdvert;
    bool operator==(const NewAdvert&) const = default;
};
struct PathUpdated {
    QString publicKey;
    bool operator==(const PathUpdated&) const = default;
};
struct SendConfirmed {
    std::uint32_t ackCode = 0;
    std::uint32_t roundTripMillis = 0;
    bool operator==(const SendConfirmed&) const = default;
};
struct LoginSuccess {
    QString prefix;
    bool operator==(const LoginSuccess&) const = default;
};
struct LoginFailed {
    QString prefix;
    bool operator==(const LoginFailed&) const = default;
};
struct StatusResponse {
    QString prefix;
    QByteArray data;
    bool operator==(const StatusResponse&) const = default;
};
struct Unhandled {
    std::uint8_t code = 0;
    bool operator==(const Unhandled&) const = default;
};
struct NoMoreMessages {
    bool operator==(const NoMoreMessages&) const = default;
};
struct MessagesWaiting {
    bool operator==(const MessagesWaiting&) const = default;
};

} // namespace Events

// One received frame, decoded. The alternatives are in the order of the cases.
using MeshEvent =
    std::variant<Events::Ok, Events::Error, Events::SelfInfo, Events::DeviceInfo, Events::Battery,
                 Events::CurrentTime, Events::ContactsStart, Events::Contact, Events::EndOfContacts,
                 Events::MessageSent, Events::ContactMessage, Events::ChannelMessage,
                 Events::ChannelInfo, Events::Stats, Events::Advert, Events::NewAdvert,
                 Events::PathUpdated, Events::SendConfirmed, Events::LoginSuccess,
                 Events::LoginFailed, Events::StatusResponse, Events::Unhandled,
                 Events::NoMoreMessages, Events::MessagesWaiting>;

// The case name of an event: "ok", "selfInfo", "messagesWaiting", ...
const char* eventName(const MeshEvent& event);
