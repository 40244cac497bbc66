#include "protocol/frame_reader.h"
#include "protocol/mesh_protocol.h"

namespace MeshProtocol {

QString FrameReader::hex(qsizetype count) {
    return hexString(view(count));
}

namespace {

double coordinate(FrameReader& reader) {
    return reader.i32() / 1000000.0;
}

double signalToNoise(FrameReader& reader) {
    return reader.signedByte() / 4.0;
}

// Shared by contact list entries (0x03) and new-advert pushes (0x8A).
::Contact readContact(FrameReader& reader) {
    ::Contact contact;
    contact.publicKey = reader.hex(32);
    contact.type = advertTypeOrNone(reader.byte());
    contact.flags = reader.byte();
    contact.outPathLength = reader.signedByte();
    contact.outPath = reader.bytes(64);
    contact.name = reader.fixedText(32);
    contact.lastAdvert = reader.timestamp();
    contact.latitude = coordinate(reader);
    contact.longitude = coordinate(reader);
    contact.lastModified = reader.timestamp();
    return contact;
}

::SelfInfo readSelfInfo(FrameReader& reader) {
    ::SelfInfo info;
    info.advertType = advertTypeOrNone(reader.byte());
    info.txPower = reader.byte();
    info.maxTxPower = reader.byte();
    info.publicKey = reader.hex(32);
    info.latitude = coordinate(reader);
    info.longitude = coordinate(reader);
    reader.skip(3);
    info.manualAddContacts = reader.byte() != 0;
    info.radioFrequency = reader.u32() / 1000.0;
    info.radioBandwidth = reader.u32() / 1000.0;
    info.radioSpreadingFactor = reader.byte();
    info.radioCodingRate = reader.byte();
    info.name = reader.tailText();
    return info;
}

::DeviceInfo readDeviceInfo(FrameReader& reader) {
    ::DeviceInfo info;
    info.firmwareVersion = reader.signedByte();
    reader.skip(6);
    info.firmwareBuildDate = reader.fixedText(12);
    info.model = reader.tailText();
    return info;
}

BatteryInfo readBattery(FrameReader& reader) {
    BatteryInfo battery;
    battery.milliVolts = reader.u16();
    // Older firmware reports the voltage alone.
    if (reader.remaining() >= 8) {
        battery.usedStorageKB = reader.u32();
        battery.totalStorageKB = reader.u32();
    }
    return battery;
}

// Direct messages: 0x07 without, 0x10 with a signal-to-noise byte in front.
Events::ContactMessage readContactMessage(FrameReader& reader, bool withSnr) {
    Events::ContactMessage message;
    if (withSnr) {
        message.snr = signalToNoise(reader);
        reader.skip(2);
    }
    message.prefix = reader.hex(6);
    message.pathLength = reader.byte();
    message.textType = reader.byte();
    message.timestamp = reader.timestamp();
    // Signed texts carry four bytes of the signer's key before the text.
    if (message.textType == 2)
        reader.skip(4);
    message.text = reader.tailText();
    return message;
}

// Channel messages: 0x08 without, 0x11 with a signal-to-noise byte in front.
Events::ChannelMessage readChannelMessage(FrameReader& reader, bool withSnr) {
    Events::ChannelMessage message;
    if (withSnr) {
        message.snr = signalToNoise(reader);
        reader.skip(2);
    }
    message.channelIndex = reader.signedByte();
    message.pathLength = reader.byte();
    message.textType = reader.byte();
    message.timestamp = reader.timestamp();
    message.text = reader.tailText();
    return message;
}

Channel readChannel(FrameReader& reader) {
    Channel channel;
    channel.index = reader.byte();
    channel.name = reader.fixedText(32);
    channel.secretHex = hexString(reader.view(reader.remaining()));
    return channel;
}

DeviceStats readStats(FrameReader& reader) {
    DeviceStats stats;
    // A frame that ends after its code reads as the core group (group byte 0).
    switch (reader.byte()) {
    case 0:
        stats.batteryMilliVolts = reader.u16();
        stats.uptimeSeconds = reader.u32();
        stats.txQueueLength = reader.byte();
        break;
    case 1:
        stats.noiseFloor = reader.i16();
        stats.lastRSSI = reader.signedByte();
        stats.lastSNR = signalToNoise(reader);
        stats.txAirtimeSeconds = reader.u32();
        stats.rxAirtimeSeconds = reader.u32();
        break;
    case 2:
        stats.packetsReceived = reader.u32();
        stats.packetsSent = reader.u32();
        stats.sentFlood = reader.u32();
        stats.sentDirect = reader.u32();
        stats.receivedFlood = reader.u32();
        stats.receivedDirect = reader.u32();
        break;
    default:
        break;
    }
    return stats;
}

Events::StatusResponse readStatusResponse(FrameReader& reader) {
    reader.skip(1);
    Events::StatusResponse status;
    status.prefix = reader.hex(6);
    status.data = reader.rest();
    return status;
}

} // namespace

MeshEvent decode(QByteArrayView frame) {
    if (frame.isEmpty())
        return Events::Unhandled{0};

    FrameReader reader(frame);
    const auto code = static_cast<std::uint8_t>(frame.front());
    switch (code) {
    // Responses
    case 0x00:
        if (reader.remaining() >= 4)
            return Events::Ok{reader.u32()};
        return Events::Ok{};
    case 0x01:
        if (reader.remaining() >= 1)
            return Events::Error{deviceErrorFromCode(reader.byte())};
        return Events::Error{};
    case 0x02:
        return Events::ContactsStart{reader.u32()};
    case 0x03:
        return Events::Contact{readContact(reader)};
    case 0x04:
        if (reader.remaining() >= 4)
            return Events::EndOfContacts{reader.u32()};
        return Events::EndOfContacts{};
    case 0x05:
        return Events::SelfInfo{readSelfInfo(reader)};
    case 0x06: {
        Events::MessageSent sent;
        sent.result = reader.signedByte();
        sent.expectedAck = reader.u32();
        sent.estimatedTimeoutMillis = reader.u32();
        return sent;
    }
    case 0x07:
        return readContactMessage(reader, false);
    case 0x08:
        return readChannelMessage(reader, false);
    case 0x09:
        return Events::CurrentTime{reader.timestamp()};
    case 0x0A:
        return Events::NoMoreMessages{};
    case 0x0C:
        return Events::Battery{readBattery(reader)};
    case 0x0D:
        return Events::DeviceInfo{readDeviceInfo(reader)};
    case 0x10:
        return readContactMessage(reader, true);
    case 0x11:
        return readChannelMessage(reader, true);
    case 0x12:
        return Events::ChannelInfo{readChannel(reader)};
    case 0x18:
        return Events::Stats{readStats(reader)};
    // Pushes
    case 0x80:
        return Events::Advert{reader.hex(32)};
    case 0x81:
        return Events::PathUpdated{reader.hex(32)};
    case 0x82: {
        Events::SendConfirmed confirmed;
        confirmed.ackCode = reader.u32();
        confirmed.roundTripMillis = reader.u32();
        return confirmed;
    }
    case 0x83:
        return Events::MessagesWaiting{};
    case 0x85:
        reader.skip(1);
        return Events::LoginSuccess{reader.hex(6)};
    case 0x86:
        reader.skip(1);
        return Events::LoginFailed{reader.hex(6)};
    case 0x87:
        return readStatusResponse(reader);
    case 0x8A:
        return Events::NewAdvert{readContact(reader)};
    default:
        return Events::Unhandled{code};
    }
}

bool isWhole(QByteArrayView frame) {
    if (frame.isEmpty())
        return false;
    const qsizetype size = frame.size();
    const auto byteAt = [&](qsizetype at) {
        return at < size ? static_cast<std::uint8_t>(frame[at]) : std::uint8_t(0);
    };
    // Signed texts carry four bytes of the signer's key before the text.
    const auto signedExtra = [&](qsizetype textTypeAt) { return byteAt(textTypeAt) == 2 ? 4 : 0; };
    qsizetype fixed = 1;
    switch (byteAt(0)) {
    case 0x02:
    case 0x09:
        fixed = 5;
        break;
    case 0x03:
    case 0x8A:
        fixed = 148;
        break;
    case 0x05:
        fixed = 58;
        break;
    case 0x06:
        fixed = 10;
        break;
    case 0x07:
        fixed = 13 + signedExtra(8);
        break;
    case 0x08:
        fixed = 8;
        break;
    case 0x0C:
        fixed = 3;
        break;
    case 0x0D:
        fixed = 20;
        break;
    case 0x10:
        fixed = 16 + signedExtra(11);
        break;
    case 0x11:
        fixed = 11;
        break;
    case 0x12:
        fixed = 34;
        break;
    case 0x18: {
        // A frame that ends after its code reads as an empty core group.
        const std::uint8_t group = byteAt(1);
        fixed = size == 1 ? 1 : group == 0 ? 8 : group == 1 ? 5 : group == 2 ? 26 : 2;
        break;
    }
    case 0x80:
    case 0x81:
        fixed = 33;
        break;
    case 0x82:
        fixed = 9;
        break;
    case 0x85:
    case 0x86:
    case 0x87:
        fixed = 8;
        break;
    default:
        break;
    }
    return size >= fixed;
}

} // namespace MeshProtocol
