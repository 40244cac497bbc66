// How the simulated radio answers each command frame, and what each command changes.
#include "sim/radio_fields.h"
#include "sim/radio_frames.h"
#include "sim/simulated_radio.h"

#include <algorithm>

using namespace RadioFields;
using MeshProtocol::DeviceError;

std::optional<std::optional<DeviceError>> SimulatedRadio::plannedError(std::uint8_t code) {
    for (qsizetype i = 0; i < m_plannedFailures.size(); ++i) {
        const PlannedFailure failure = m_plannedFailures.at(i);
        if (!failure.commandCode || *failure.commandCode == code) {
            m_plannedFailures.removeAt(i);
            return failure.error;
        }
    }
    const auto reply = m_errorReplies.constFind(code);
    if (reply != m_errorReplies.constEnd())
        return reply.value();
    return std::nullopt;
}

SimulatedRadio::Frames SimulatedRadio::answer(const QByteArray& frame) {
    using namespace RadioFrames;
    const auto code = static_cast<std::uint8_t>(frame.at(0));
    if (const auto error = plannedError(code))
        return {errorFrame(*error)};

    switch (code) {
    case RadioCommand::appStart:
        return {selfInfoFrame(m_self)};
    case RadioCommand::deviceQuery:
        return {deviceInfoFrame(m_deviceInfo)};
    case RadioCommand::sendDirectText:
        return sendDirectText(frame);
    case RadioCommand::sendChannelText:
        if (byteAt(frame, 2) >= channelSlots)
            return {errorFrame(DeviceError::notFound)};
        ++m_sentFlood;
        return {okFrame()};
    case RadioCommand::getContacts:
        return contactList();
    case RadioCommand::setDeviceTime:
        m_clockOffsetMillis = qint64(u32At(frame, 1)) * 1000 - m_clock->now().toMSecsSinceEpoch();
        return {okFrame()};
    case RadioCommand::sendSelfAdvert:
        ++m_sentFlood;
        return {okFrame()};
    case RadioCommand::setAdvertName:
        m_self.name = QString::fromUtf8(frame.mid(1));
        return {okFrame()};
    case RadioCommand::addOrUpdateContact:
        return addOrUpdateContact(frame);
    case RadioCommand::syncNextMessage:
        return syncNext();
    case RadioCommand::setTxPower:
        if (frame.size() < 2 || byteAt(frame, 1) > m_self.maxTxPower)
            return {errorFrame(DeviceError::illegalArgument)};
        m_self.txPower = byteAt(frame, 1);
        return {okFrame()};
    case RadioCommand::resetPath: {
        const qsizetype index = contactIndexByKeyBytes(frame.mid(1, keyLength));
        if (index < 0)
            return {errorFrame(DeviceError::notFound)};
        Contact& contact = m_contacts[index];
        contact.outPathLength = -1;
        contact.outPath = QByteArray(pathLength, '\0');
        contact.lastModified = wholeSeconds(deviceTime());
        return {okFrame()};
    }
    case RadioCommand::removeContact: {
        const qsizetype index = contactIndexByKeyBytes(frame.mid(1, keyLength));
        if (index < 0)
            return {errorFrame(DeviceError::notFound)};
        m_autoReplyKeys.remove(m_contacts.at(index).publicKey);
        m_contacts.removeAt(index);
        return {okFrame()};
    }
    case RadioCommand::shareContact:
        if (contactIndexByKeyBytes(frame.mid(1, keyLength)) < 0)
            return {errorFrame(DeviceError::notFound)};
        ++m_sentFlood;
        return {okFrame()};
    case RadioCommand::reboot:
        if (frame.mid(1) != QByteArrayLiteral("reboot"))
            return {errorFrame(DeviceError::illegalArgument)};
        reboot();
        return {};
    case RadioCommand::getBatteryAndStorage:
        return {batteryFrame(battery())};
    case RadioCommand::getChannel: {
        const int index = byteAt(frame, 1);
        if (index >= channelSlots)
            return {errorFrame(DeviceError::notFound)};
        return {channelInfoFrame(m_channels.at(index))};
    }
    case RadioCommand::setChannel:
        return setChannel(frame);
    case RadioCommand::getStatistics:
        return stats(byteAt(frame, 1));
    default:
        return {errorFrame(DeviceError::unsupportedCommand)};
    }
}

SimulatedRadio::Frames SimulatedRadio::sendDirectText(const QByteArray& frame) {
    using namespace RadioFrames;
    const Contact* recipient = contactByPrefix(frame.mid(7, prefixLength));
    if (!recipient)
        return {errorFrame(DeviceError::notFound)};

    // Without a known path the radio floods the message and expects the
    // acknowledgement to take longer.
    const bool flood = recipient->outPathLength < 0;
    (flood ? m_sentFlood : m_sentDirect) += 1;
    const std::uint32_t timeout =
        flood ? 16000 : 4000 + 2000 * std::uint32_t(recipient->outPathLength);
    std::uint32_t ack = 0;
    while (ack == 0)
        ack = m_random.generate();

    if (m_confirmDeliveries) {
        const auto roundTrip = static_cast<std::uint32_t>(m_ackDelay.count());
        send({sendConfirmedFrame(ack, roundTrip)}, m_latency + m_ackDelay);
    }
    if (m_autoReplyKeys.contains(recipient->publicKey))
        scheduleReply(*recipient);
    return {messageSentFrame(flood ? 1 : 0, ack, timeout)};
}

SimulatedRadio::Frames SimulatedRadio::contactList() const {
    Frames frames;
    frames.append(RadioFrames::contactsStartFrame(std::uint32_t(m_contacts.size())));
    std::uint32_t mostRecent = 0;
    for (const Contact& contact : m_contacts) {
        frames.append(RadioFrames::contactFrame(contact));
        mostRecent = std::max(mostRecent, RadioFrames::timeField(contact.lastModified));
    }
    frames.append(RadioFrames::endOfContactsFrame(mostRecent));
    return frames;
}

SimulatedRadio::Frames SimulatedRadio::addOrUpdateContact(const QByteArray& frame) {
    if (frame.size() < 1 + keyLength)
        return {RadioFrames::errorFrame(DeviceError::illegalArgument)};
    Contact contact;
    contact.publicKey = hexOf(frame.mid(1, keyLength));
    contact.type = MeshProtocol::advertTypeOrNone(byteAt(frame, 33));
    contact.flags = byteAt(frame, 34);
    contact.outPathLength = static_cast<std::int8_t>(byteAt(frame, 35));
    contact.outPath = padded(frame.mid(36, pathLength), pathLength);
    contact.name = textOfField(frame.mid(100, nameLength));
    contact.lastAdvert = QDateTime::fromSecsSinceEpoch(u32At(frame, 132), Qt::UTC);
    contact.latitude = static_cast<std::int32_t>(u32At(frame, 136)) / 1e6;
    contact.longitude = static_cast<std::int32_t>(u32At(frame, 140)) / 1e6;
    contact.lastModified = wholeSeconds(deviceTime());

    const auto existing = std::find_if(m_contacts.begin(), m_contacts.end(), [&](const Contact& c) {
        return c.publicKey == contact.publicKey;
    });
    if (existing != m_contacts.end())
        *existing = contact;
    else if (m_contacts.size() >= m_contactLimit)
        return {RadioFrames::errorFrame(DeviceError::tableFull)};
    else
        m_contacts.append(contact);
    return {RadioFrames::okFrame()};
}

SimulatedRadio::Frames SimulatedRadio::syncNext() {
    if (m_queue.empty())
        return {RadioFrames::noMoreMessagesFrame()};
    const QueuedMessage message = m_queue.front();
    m_queue.pop_front();
    if (message.direct) {
        return {RadioFrames::contactMessageFrame(message.senderKey, message.pathLength, 0,
                                                 message.timestamp, message.text, message.snr)};
    }
    return {RadioFrames::channelMessageFrame(static_cast<std::int8_t>(message.channelIndex),
                                             message.pathLength, 0, message.timestamp, message.text,
                                             message.snr)};
}

SimulatedRadio::Frames SimulatedRadio::setChannel(const QByteArray& frame) {
    const int index = byteAt(frame, 1);
    if (index >= channelSlots)
        return {RadioFrames::errorFrame(DeviceError::notFound)};
    Channel& channel = m_channels[index];
    channel.name = textOfField(frame.mid(2, nameLength));
    channel.secretHex = hexOf(padded(frame.mid(2 + nameLength, secretLength), secretLength));
    return {RadioFrames::okFrame()};
}

SimulatedRadio::Frames SimulatedRadio::stats(std::uint8_t group) {
    const auto uptime =
        static_cast<std::uint32_t>(std::max<qint64>(0, m_bootTime.secsTo(m_clock->now())));
    DeviceStats s;
    switch (group) {
    case 0:
        s.batteryMilliVolts = battery().milliVolts;
        s.uptimeSeconds = uptime;
        s.txQueueLength = 0;
        break;
    case 1:
        s.noiseFloor = -112;
        s.lastRSSI = -71;
        s.lastSNR = 6.25;
        s.txAirtimeSeconds = 2 * m_sentFlood + m_sentDirect + uptime / 900;
        s.rxAirtimeSeconds = uptime / 40 + m_receivedFlood + m_receivedDirect;
        break;
    case 2: {
        // Background flood traffic of the neighbourhood: one packet every 45 s.
        const std::uint32_t receivedFlood = m_receivedFlood + uptime / 45;
        s.receivedFlood = receivedFlood;
        s.receivedDirect = m_receivedDirect;
        s.packetsReceived = receivedFlood + m_receivedDirect;
        s.sentFlood = m_sentFlood;
        s.sentDirect = m_sentDirect;
        s.packetsSent = m_sentFlood + m_sentDirect;
        break;
    }
    default:
        return {RadioFrames::errorFrame(DeviceError::illegalArgument)};
    }
    return {RadioFrames::statsFrame(group, s)};
}

qsizetype SimulatedRadio::contactIndexByKeyBytes(const QByteArray& key) const {
    if (key.isEmpty())
        return -1;
    for (qsizetype i = 0; i < m_contacts.size(); ++i) {
        if (RadioFrames::keyBytes(m_contacts.at(i).publicKey).startsWith(key))
            return i;
    }
    return -1;
}

const Contact* SimulatedRadio::contactByPrefix(const QByteArray& prefix) const {
    const qsizetype index = prefix.size() == prefixLength ? contactIndexByKeyBytes(prefix) : -1;
    return index < 0 ? nullptr : &m_contacts.at(index);
}

void SimulatedRadio::reboot() {
    resetVolatileState();
    const int session = m_session;
    after(m_latency, [this, session] {
        if (session == m_session)
            dropLink();
    });
}

// What a restart loses: the message queue and the clock live in RAM, the
// counters start again. Contacts, channels, name and power are in flash.
void SimulatedRadio::resetVolatileState() {
    m_queue.clear();
    m_clockOffsetMillis = 0;
    m_bootTime = m_clock ? m_clock->now() : QDateTime();
    m_sentFlood = m_sentDirect = m_receivedFlood = m_receivedDirect = 0;
}
