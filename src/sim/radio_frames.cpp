#include "sim/radio_frames.h"

#include <QtGlobal>
#include <cmath>

namespace RadioFrames {

namespace {

// Builds one frame: the code byte, then little-endian fields.
class FrameWriter {
public:
    explicit FrameWriter(Code code) { m_frame.append(char(code)); }

    FrameWriter& u8(std::uint8_t value) {
        m_frame.append(char(value));
        return *this;
    }
    FrameWriter& i8(std::int8_t value) { return u8(static_cast<std::uint8_t>(value)); }
    FrameWriter& u16(std::uint16_t value) { return u8(value & 0xFF).u8(value >> 8); }
    FrameWriter& u32(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            u8((value >> shift) & 0xFF);
        return *this;
    }
    FrameWriter& i32(std::int32_t value) { return u32(static_cast<std::uint32_t>(value)); }
    FrameWriter& zeros(qsizetype count) {
        m_frame.append(count, '\0');
        return *this;
    }
    FrameWriter& bytes(const QByteArray& value) {
        m_frame.append(value);
        return *this;
    }
    // Exactly `width` bytes: cut or padded with zeros.
    FrameWriter& field(const QByteArray& value, qsizetype width) {
        const QByteArray cut = value.left(width);
        return bytes(cut).zeros(width - cut.size());
    }
    FrameWriter& text(const QString& value, qsizetype width) {
        return field(value.toUtf8(), width);
    }
    FrameWriter& tail(const QString& value) { return bytes(value.toUtf8()); }
    FrameWriter& time(const QDateTime& value) { return u32(timeField(value)); }
    FrameWriter& degrees(double value) { return i32(scaled(value, 1'000'000)); }

    QByteArray take() { return std::move(m_frame); }

    static std::int32_t scaled(double value, double factor) {
        const double raw = std::round(value * factor);
        return static_cast<std::int32_t>(qBound(-2147483648.0, raw, 2147483647.0));
    }

private:
    QByteArray m_frame;
};

std::int8_t snrByte(double snr) {
    return static_cast<std::int8_t>(qBound(-128L, std::lround(snr * 4), 127L));
}

std::uint32_t unsignedScaled(double value, double factor) {
    const double raw = std::round(value * factor);
    return static_cast<std::uint32_t>(qBound(0.0, raw, 4294967295.0));
}

QByteArray prefixFrame(Code code, const QString& senderKey) {
    return FrameWriter(code).u8(0).field(keyBytes(senderKey), 6).take();
}

} // namespace

QByteArray keyBytes(const QString& hex) {
    QByteArray digits;
    for (const QChar c : hex) {
        const char ch = c.toLatin1();
        if ((ch >= '0' && ch <= '9') || (ch >= 'a' && ch <= 'f') || (ch >= 'A' && ch <= 'F'))
            digits.append(ch);
    }
    digits.truncate(digits.size() - digits.size() % 2);
    return QByteArray::fromHex(digits);
}

std::uint32_t timeField(const QDateTime& time) {
    return time.isValid() ? static_cast<std::uint32_t>(time.toSecsSinceEpoch()) : 0;
}

QString fieldText(const QString& text, qsizetype width) {
    QByteArray bytes = text.toUtf8().left(width);
    const qsizetype zero = bytes.indexOf('\0');
    if (zero >= 0)
        bytes.truncate(zero);
    return QString::fromUtf8(bytes);
}

QByteArray okFrame(std::optional<std::uint32_t> value) {
    FrameWriter frame(Code::ok);
    if (value)
        frame.u32(*value);
    return frame.take();
}

QByteArray errorFrame(std::optional<MeshProtocol::DeviceError> error) {
    FrameWriter frame(Code::error);
    if (error)
        frame.u8(MeshProtocol::code(*error));
    return frame.take();
}

QByteArray selfInfoFrame(const SelfInfo& info) {
    return FrameWriter(Code::selfInfo)
        .u8(MeshProtocol::code(info.advertType))
        .u8(info.txPower)
        .u8(info.maxTxPower)
        .field(keyBytes(info.publicKey), 32)
        .degrees(info.latitude)
        .degrees(info.longitude)
        .zeros(3)
        .u8(info.manualAddContacts ? 1 : 0)
        .u32(unsignedScaled(info.radioFrequency, 1000))
        .u32(unsignedScaled(info.radioBandwidth, 1000))
        .u8(info.radioSpreadingFactor)
        .u8(info.radioCodingRate)
        .tail(info.name)
        .take();
}

QByteArray deviceInfoFrame(const DeviceInfo& info) {
    return FrameWriter(Code::deviceInfo)
        .i8(static_cast<std::int8_t>(info.firmwareVersion))
        .zeros(6)
        .text(info.firmwareBuildDate, 12)
        .tail(info.model)
        .take();
}

QByteArray batteryFrame(const BatteryInfo& battery) {
    FrameWriter frame(Code::battery);
    frame.u16(static_cast<std::uint16_t>(qBound(0, battery.milliVolts, 0xFFFF)));
    if (battery.usedStorageKB && battery.totalStorageKB)
        frame.u32(std::uint32_t(*battery.usedStorageKB))
            .u32(std::uint32_t(*battery.totalStorageKB));
    return frame.take();
}

QByteArray currentTimeFrame(const QDateTime& time) {
    return FrameWriter(Code::currentTime).time(time).take();
}

QByteArray contactsStartFrame(std::uint32_t count) {
    return FrameWriter(Code::contactsStart).u32(count).take();
}

QByteArray contactFrame(const Contact& contact, Code code) {
    return FrameWriter(code)
        .field(keyBytes(contact.publicKey), 32)
        .u8(MeshProtocol::code(contact.type))
        .u8(contact.flags)
        .i8(contact.outPathLength)
        .field(contact.outPath, 64)
        .text(contact.name, 32)
        .time(contact.lastAdvert)
        .degrees(contact.latitude)
        .degrees(contact.longitude)
        .time(contact.lastModified)
        .take();
}

QByteArray endOfContactsFrame(std::uint32_t mostRecentLastMod) {
    return FrameWriter(Code::endOfContacts).u32(mostRecentLastMod).take();
}

QByteArray messageSentFrame(std::int8_t result, std::uint32_t expectedAck,
                            std::uint32_t estimatedTimeoutMillis) {
    return FrameWriter(Code::messageSent)
        .i8(result)
        .u32(expectedAck)
        .u32(estimatedTimeoutMillis)
        .take();
}

QByteArray contactMessageFrame(const QString& senderKey, std::uint8_t pathLength,
                               std::uint8_t textType, const QDateTime& timestamp,
                               const QString& text, std::optional<double> snr) {
    FrameWriter frame(snr ? Code::contactMessageWithSnr : Code::contactMessage);
    if (snr)
        frame.i8(snrByte(*snr)).zeros(2);
    frame.field(keyBytes(senderKey), 6).u8(pathLength).u8(textType).time(timestamp);
    if (textType == signedTextType)
        frame.zeros(4); // the sender's signature, which the client does not read
    return frame.tail(text).take();
}

QByteArray channelMessageFrame(std::int8_t channelIndex, std::uint8_t pathLength,
                               std::uint8_t textType, const QDateTime& timestamp,
                               const QString& text, std::optional<double> snr) {
    FrameWriter frame(snr ? Code::channelMessageWithSnr : Code::channelMessage);
    if (snr)
        frame.i8(snrByte(*snr)).zeros(2);
    return frame.i8(channelIndex).u8(pathLength).u8(textType).time(timestamp).tail(text).take();
}

QByteArray noMoreMessagesFrame() {
    return FrameWriter(Code::noMoreMessages).take();
}

QByteArray channelInfoFrame(const Channel& channel) {
    return FrameWriter(Code::channelInfo)
        .u8(static_cast<std::uint8_t>(channel.index))
        .text(channel.name, 32)
        .bytes(keyBytes(channel.secretHex))
        .take();
}

QByteArray statsFrame(std::uint8_t group, const DeviceStats& stats) {
    FrameWriter frame(Code::stats);
    frame.u8(group);
    switch (group) {
    case 0:
        frame.u16(static_cast<std::uint16_t>(stats.batteryMilliVolts.value_or(0)))
            .u32(stats.uptimeSeconds.value_or(0))
            .u8(static_cast<std::uint8_t>(stats.txQueueLength.value_or(0)));
        break;
    case 1:
        frame
            .u16(
                static_cast<std::uint16_t>(static_cast<std::int16_t>(stats.noiseFloor.value_or(0))))
            .i8(static_cast<std::int8_t>(stats.lastRSSI.value_or(0)))
            .i8(snrByte(stats.lastSNR.value_or(0)))
            .u32(stats.txAirtimeSeconds.value_or(0))
            .u32(stats.rxAirtimeSeconds.value_or(0));
        break;
    case 2:
        frame.u32(stats.packetsReceived.value_or(0))
            .u32(stats.packetsSent.value_or(0))
            .u32(stats.sentFlood.value_or(0))
            .u32(stats.sentDirect.value_or(0))
            .u32(stats.receivedFlood.value_or(0))
            .u32(stats.receivedDirect.value_or(0));
        break;
    default:
        break;
    }
    return frame.take();
}

QByteArray advertFrame(const QString& publicKey) {
    return FrameWriter(Code::advert).field(keyBytes(publicKey), 32).take();
}

QByteArray pathUpdatedFrame(const QString& publicKey) {
    return FrameWriter(Code::pathUpdated).field(keyBytes(publicKey), 32).take();
}

QByteArray sendConfirmedFrame(std::uint32_t ackCode, std::uint32_t roundTripMillis) {
    return FrameWriter(Code::sendConfirmed).u32(ackCode).u32(roundTripMillis).take();
}

QByteArray messagesWaitingFrame() {
    return FrameWriter(Code::messagesWaiting).take();
}

QByteArray loginSuccessFrame(const QString& senderKey) {
    return prefixFrame(Code::loginSuccess, senderKey);
}

QByteArray loginFailedFrame(const QString& senderKey) {
    return prefixFrame(Code::loginFailed, senderKey);
}

QByteArray statusResponseFrame(const QString& senderKey, const QByteArray& data) {
    return prefixFrame(Code::statusResponse, senderKey) + data;
}

} // namespace RadioFrames
