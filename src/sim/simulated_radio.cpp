#include "sim/simulated_radio.h"

#include "sim/radio_frames.h"

#include <QCryptographicHash>
#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;
using MeshProtocol::DeviceError;

namespace {

constexpr auto firstDiscoveryDelay = 300ms;
constexpr auto discoveryInterval = 2000ms;
constexpr qsizetype keyLength = 32;
constexpr qsizetype prefixLength = 6;
constexpr qsizetype pathLength = 64;
constexpr qsizetype nameLength = 32;
constexpr qsizetype secretLength = 16;
constexpr int totalStorageKB = 1984;

// Forgiving reads of a command frame: missing bytes read as zero, the way the
// radio's firmware treats short writes.
std::uint8_t byteAt(const QByteArray& frame, qsizetype offset) {
    return offset < frame.size() ? static_cast<std::uint8_t>(frame.at(offset)) : 0;
}

std::uint32_t u32At(const QByteArray& frame, qsizetype offset) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value |= std::uint32_t(byteAt(frame, offset + i)) << (8 * i);
    return value;
}

QByteArray padded(QByteArray bytes, qsizetype width) {
    bytes.truncate(width);
    bytes.append(width - bytes.size(), '\0');
    return bytes;
}

QString textOfField(QByteArray field) {
    const qsizetype zero = field.indexOf('\0');
    if (zero >= 0)
        field.truncate(zero);
    return QString::fromUtf8(field);
}

QString hexOf(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toHex());
}

QDateTime wholeSeconds(const QDateTime& time) {
    return QDateTime::fromSecsSinceEpoch(RadioFrames::timeField(time), Qt::UTC);
}

double sixDecimals(double degrees) {
    return std::round(degrees * 1'000'000) / 1'000'000;
}

// Stable, distinct keys for the demo's nodes.
QString demoKey(const QString& seedText) {
    return hexOf(QCryptographicHash::hash(seedText.toUtf8(), QCryptographicHash::Sha256));
}

} // namespace

SimulatedRadio::SimulatedRadio(Clock* clock, quint32 seed, QObject* parent)
    : MeshLink(parent)
    , m_clock(clock)
    , m_random(seed) {
    m_self.advertType = MeshProtocol::AdvertType::chat;
    m_self.txPower = 20;
    m_self.maxTxPower = maxTxPower;
    m_self.publicKey = demoKey(QStringLiteral("talvenne-sim/self"));
    m_self.latitude = 60.169856;
    m_self.longitude = 24.938379;
    m_self.radioFrequency = 869.525;
    m_self.radioBandwidth = 250;
    m_self.radioSpreadingFactor = 11;
    m_self.radioCodingRate = 5;
    m_self.name = QStringLiteral("Talvenne Demo");

    m_deviceInfo.firmwareVersion = 8;
    m_deviceInfo.firmwareBuildDate = QStringLiteral("12 Mar 2025");
    m_deviceInfo.model = QStringLiteral("Talvenne Sim Radio");

    m_channels.append({0, QStringLiteral("Public"), publicChannelSecret});
    for (int i = 1; i < channelSlots; ++i)
        m_channels.append({i, QString(), QString(secretLength * 2, QLatin1Char('0'))});

    resetVolatileState();
    after(0ms, [this] {
        if (m_state == TransportState::ready)
            setState(TransportState::ready);
    });
}

SimulatedRadio::~SimulatedRadio() {
    if (m_clock) {
        for (const Clock::TimerId id : std::as_const(m_timers))
            m_clock->cancel(id);
    }
}

// --- Timers and sending -------------------------------------------------------

std::uint64_t SimulatedRadio::after(std::chrono::milliseconds delay,
                                    std::function<void()> callback) {
    if (!m_clock)
        return 0;
    const std::uint64_t token = m_nextToken++;
    const Clock::TimerId id =
        m_clock->schedule(delay, [this, token, callback = std::move(callback)] {
            m_timers.remove(token);
            callback();
        });
    m_timers.insert(token, id);
    return token;
}

void SimulatedRadio::cancelTimer(std::uint64_t& token) {
    const auto found = m_timers.constFind(token);
    if (found != m_timers.constEnd()) {
        if (m_clock)
            m_clock->cancel(found.value());
        m_timers.erase(found);
    }
    token = 0;
}

void SimulatedRadio::send(Frames frames, std::chrono::milliseconds delay, bool answer) {
    if (m_state != TransportState::connected || frames.isEmpty())
        return;
    const int session = m_session;
    if (answer)
        ++m_answersOnTheWay;
    after(delay, [this, session, answer, frames = std::move(frames)] {
        if (answer && session == m_session)
            --m_answersOnTheWay;
        for (const QByteArray& frame : frames) {
            // A listener may drop the link while the frames of one answer go out.
            if (session != m_session || m_state != TransportState::connected)
                return;
            Q_EMIT transportReceived(frame);
        }
    });
}

void SimulatedRadio::announceWaiting() {
    send({RadioFrames::messagesWaitingFrame()});
}

void SimulatedRadio::setState(TransportState state) {
    m_state = state;
    Q_EMIT transportStateChanged(state);
}

void SimulatedRadio::endSession() {
    ++m_session;
    m_answersOnTheWay = 0;
    cancelTimer(m_connectTimer);
}

// --- Link ----------------------------------------------------------------------

void SimulatedRadio::setBluetoothOn(bool on) {
    if (on == (m_state != TransportState::poweredOff))
        return;
    cancelTimer(m_scanTimer);
    endSession();
    setState(on ? TransportState::ready : TransportState::poweredOff);
}

void SimulatedRadio::startScan() {
    // The simulated radio is the only device around; scanning while linked to
    // it would find nothing new.
    if (m_state == TransportState::connecting || m_state == TransportState::connected ||
        m_state == TransportState::poweredOff)
        return;
    setState(TransportState::scanning);
    cancelTimer(m_scanTimer);
    m_scanTimer = after(firstDiscoveryDelay, [this] { discoverNow(); });
}

void SimulatedRadio::discoverNow() {
    m_scanTimer = 0;
    if (m_state != TransportState::scanning)
        return;
    if (!m_inRange) {
        m_scanTimer = after(discoveryInterval, [this] { discoverNow(); });
        return;
    }
    // A real advertiser's signal wanders by a few dB between advertisements.
    m_scanRssi = -58 + m_random.bounded(-3, 4);
    DiscoveredDevice device;
    device.id = deviceId;
    device.name = deviceName;
    device.rssi = m_scanRssi;
    device.peripheral = QVariant::fromValue(deviceId);
    Q_EMIT transportDiscovered(device);
    m_scanTimer = after(discoveryInterval, [this] { discoverNow(); });
}

void SimulatedRadio::stopScan() {
    cancelTimer(m_scanTimer);
    if (m_state == TransportState::scanning)
        setState(TransportState::ready);
}

void SimulatedRadio::connectToDevice(const DiscoveredDevice& device) {
    if (m_state == TransportState::poweredOff)
        return;
    stopScan();
    cancelTimer(m_connectTimer);
    setState(TransportState::connecting);
    if (device.id != deviceId || !m_inRange) {
        m_connectTimer = after(m_connectDelay, [this] {
            m_connectTimer = 0;
            setState(TransportState::disconnected);
            Q_EMIT transportFailed(QStringLiteral("Failed to connect"));
        });
        return;
    }
    m_connectTimer = after(m_connectDelay, [this] {
        m_connectTimer = 0;
        setState(TransportState::connected);
        Q_EMIT transportConnected();
    });
}

void SimulatedRadio::disconnectFromDevice() {
    cancelTimer(m_scanTimer);
    endSession();
    setState(TransportState::disconnected);
}

void SimulatedRadio::dropLink() {
    if (m_state != TransportState::connected && m_state != TransportState::connecting)
        return;
    endSession();
    setState(TransportState::disconnected);
}

void SimulatedRadio::write(const QByteArray& frame) {
    if (m_state != TransportState::connected || frame.isEmpty())
        return;
    m_written.append(frame);
    if (m_written.size() > writtenFramesKept)
        m_written.removeFirst();
    const auto code = static_cast<std::uint8_t>(frame.at(0));
    // A reboot is answered by no frame; any other command is sent to be answered.
    if (m_answersOnTheWay > 0 && code != RadioCommand::reboot)
        ++m_overlappingCommands;

    bool dropLinkNow = false;
    if (m_dropOnCommand && *m_dropOnCommand == code) {
        m_dropOnCommand.reset();
        dropLinkNow = true;
    }
    if (m_dropAfterCommands > 0 && --m_dropAfterCommands == 0)
        dropLinkNow = true;
    if (dropLinkNow) {
        const int session = m_session;
        after(0ms, [this, session] {
            if (session == m_session)
                dropLink();
        });
        return;
    }

    Frames frames = answer(frame);
    if (frames.isEmpty())
        return;
    if (m_dropNext > 0) {
        --m_dropNext;
        return;
    }
    if (m_dropAnswerTo.removeOne(code))
        return;
    if (m_dropProbability > 0 && m_random.generateDouble() < m_dropProbability)
        return;
    send(std::move(frames), m_latency, true);
}

// --- Commands ------------------------------------------------------------------

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

// --- State and scenario ---------------------------------------------------------

QDateTime SimulatedRadio::deviceTime() const {
    return m_clock->now().addMSecs(m_clockOffsetMillis);
}

BatteryInfo SimulatedRadio::battery() const {
    // A slow drain from a nearly full cell, so that refreshes show movement.
    const qint64 uptime = std::max<qint64>(0, m_bootTime.secsTo(m_clock->now()));
    BatteryInfo info;
    info.milliVolts = int(std::max<qint64>(3500, 4012 - uptime / 600));
    const auto usedChannels = std::count_if(m_channels.begin(), m_channels.end(),
                                            [](const Channel& c) { return !c.name.isEmpty(); });
    info.usedStorageKB = int(48 + 2 * m_contacts.size() + usedChannels);
    info.totalStorageKB = totalStorageKB;
    return info;
}

void SimulatedRadio::forgetContact(const QString& publicKey) {
    m_contacts.removeIf([&](const Contact& c) { return c.publicKey == publicKey; });
}

void SimulatedRadio::addContact(const Contact& contact) {
    Contact stored = contact;
    stored.publicKey = hexOf(padded(RadioFrames::keyBytes(contact.publicKey), keyLength));
    stored.outPath = padded(contact.outPath, pathLength);
    stored.name = RadioFrames::fieldText(contact.name, nameLength);
    stored.lastAdvert = wholeSeconds(contact.lastAdvert);
    stored.lastModified = contact.lastModified.isValid() ? wholeSeconds(contact.lastModified)
                                                         : wholeSeconds(deviceTime());
    stored.latitude = sixDecimals(contact.latitude);
    stored.longitude = sixDecimals(contact.longitude);

    const auto existing = std::find_if(m_contacts.begin(), m_contacts.end(), [&](const Contact& c) {
        return c.publicKey == stored.publicKey;
    });
    if (existing != m_contacts.end())
        *existing = stored;
    else
        m_contacts.append(stored);
}

void SimulatedRadio::queueIncomingDirect(const QString& prefixOrContactKey, const QString& text,
                                         const QDateTime& time, std::optional<double> snr) {
    const QByteArray prefix = RadioFrames::keyBytes(prefixOrContactKey).left(prefixLength);
    const Contact* sender = contactByPrefix(prefix);
    QueuedMessage message;
    message.direct = true;
    message.senderKey = hexOf(prefix);
    const bool direct = sender && sender->outPathLength >= 0;
    message.pathLength = direct ? std::uint8_t(sender->outPathLength) : 1;
    (direct ? m_receivedDirect : m_receivedFlood) += 1;
    message.timestamp = time;
    message.text = text;
    message.snr = snr;
    m_queue.push_back(message);
    announceWaiting();
}

void SimulatedRadio::queueIncomingChannel(int index, const QString& text, const QDateTime& time,
                                          std::optional<double> snr) {
    QueuedMessage message;
    message.direct = false;
    message.channelIndex = index;
    message.pathLength = 2;
    message.timestamp = time;
    message.text = text;
    message.snr = snr;
    ++m_receivedFlood;
    m_queue.push_back(message);
    announceWaiting();
}

void SimulatedRadio::pushFrame(const QByteArray& frame) {
    if (!frame.isEmpty())
        send({frame});
}

void SimulatedRadio::failNextCommand(std::uint8_t commandCode, std::optional<DeviceError> error) {
    m_plannedFailures.append({commandCode, error});
}

void SimulatedRadio::failNextAnyCommand(std::optional<DeviceError> error) {
    m_plannedFailures.append({std::nullopt, error});
}

void SimulatedRadio::setErrorReplyFor(std::uint8_t commandCode, std::optional<DeviceError> error) {
    m_errorReplies.insert(commandCode, error);
}

// --- Demo neighbourhood ------------------------------------------------------------

void SimulatedRadio::populateDemoNeighbours() {
    using MeshProtocol::AdvertType;
    const QDateTime now = m_clock->now();
    struct Neighbour {
        const char* name;
        AdvertType type;
        std::int8_t pathLength;
        double latitude;
        double longitude;
        qint64 advertAgeSeconds;
    };
    // Paths are hop counts; -1 is a node the radio has no route to yet.
    const Neighbour neighbours[] = {
        {"Aino Virtanen", AdvertType::chat, 1, 60.171162, 24.941458, 25 * 60},
        {"Jérôme Bélanger", AdvertType::chat, -1, 0, 0, 3 * 86400 + 4 * 3600},
        {"🦊 Kettu", AdvertType::chat, 2, 60.192059, 24.945831, 7 * 3600},
        {"Harbour Room", AdvertType::room, 0, 60.167409, 24.952117, 40 * 60},
        {"Ridge Repeater", AdvertType::repeaterNode, 0, 60.205490, 24.655899, 15 * 60},
        {"Valley RPT-2", AdvertType::repeaterNode, -1, 0, 0, 2 * 86400},
        {"Weather Mast", AdvertType::sensor, 1, 60.179620, 24.917650, 3 * 3600},
        {"node-7f3a", AdvertType::none, -1, 0, 0, 6 * 86400 + 3600},
    };
    for (const Neighbour& n : neighbours) {
        const QString name = QString::fromUtf8(n.name);
        Contact contact;
        contact.publicKey = demoKey(QStringLiteral("talvenne-demo/") + name);
        contact.type = n.type;
        contact.outPathLength = n.pathLength;
        for (int hop = 0; hop < n.pathLength; ++hop)
            contact.outPath.append(char(0x3c + 0x11 * hop)); // first key byte of each repeater
        contact.name = name;
        contact.latitude = n.latitude;
        contact.longitude = n.longitude;
        contact.lastAdvert = now.addSecs(-n.advertAgeSeconds);
        contact.lastModified = now.addSecs(-n.advertAgeSeconds + 5);
        addContact(contact);
    }
    setAutoReply(demoKey(QStringLiteral("talvenne-demo/Aino Virtanen")), true);
}

void SimulatedRadio::setAutoReply(const QString& publicKey, bool enabled) {
    if (enabled)
        m_autoReplyKeys.insert(publicKey.toLower());
    else
        m_autoReplyKeys.remove(publicKey.toLower());
}

void SimulatedRadio::scheduleReply(const Contact& contact) {
    static const char* const replies[] = {
        "Hei! Got your message 👋",
        "Sounds good, see you at the harbour at six.",
        "Signal's fine here, one hop through the ridge repeater.",
        "Kiitos! I'll tell @[Jérôme Bélanger] too.",
        "Photos from today's walk: https://example.org/aino/walk",
    };
    const QString text = QString::fromUtf8(replies[m_replyCount++ % std::size(replies)]);
    const QString key = contact.publicKey;
    // The reply crosses the mesh after our message was acknowledged.
    after(m_latency + m_ackDelay + m_replyDelay,
          [this, key, text] { queueIncomingDirect(key, text, deviceTime()); });
}

void SimulatedRadio::startChannelChatter(bool enabled) {
    if (!enabled) {
        cancelTimer(m_chatterTimer);
        return;
    }
    if (m_chatterTimer == 0)
        scheduleChatter();
}

void SimulatedRadio::scheduleChatter() {
    const auto delay = std::chrono::milliseconds(20'000 + m_random.bounded(20'001));
    m_chatterTimer = after(delay, [this] {
        m_chatterTimer = 0;
        chatterOnce();
        scheduleChatter();
    });
}

void SimulatedRadio::chatterOnce() {
    static const char* const senders[] = {"Aino Virtanen", "Mikko", "Jérôme Bélanger", "🦊 Kettu",
                                          "Sanna K"};
    static const char* const lines[] = {
        "Anyone near the harbour? Testing range.",
        "Ridge repeater is back up after the storm.",
        "Good signal tonight, SNR +9 from the island.",
        "Map of the new nodes: https://example.org/mesh/map",
        "Meetup on Saturday at the library, 14:00.",
        "Has anyone tried SF 10 on this frequency?",
    };
    const QString sender = QString::fromUtf8(senders[m_random.bounded(int(std::size(senders)))]);
    QString text = QString::fromUtf8(lines[m_random.bounded(int(std::size(lines)))]);
    if (++m_chatterCount % 4 == 0)
        text = QStringLiteral("@[%1] are you on tonight?").arg(m_self.name);
    const double snr = m_random.bounded(-20, 49) / 4.0;
    queueIncomingChannel(0, sender + QStringLiteral(": ") + text, deviceTime(), snr);

    // Now and then a node appears that the radio has not heard before.
    if (m_chatterCount % 5 == 0 && m_contacts.size() < m_contactLimit) {
        Contact node;
        node.publicKey = demoKey(QStringLiteral("talvenne-demo/hiker-%1").arg(m_chatterCount));
        node.type = MeshProtocol::AdvertType::chat;
        node.name = QStringLiteral("Hiker %1").arg(m_chatterCount / 5);
        node.lastAdvert = deviceTime();
        addContact(node);
        send({RadioFrames::contactFrame(m_contacts.constLast(), RadioFrames::Code::newAdvert)});
    }
}
