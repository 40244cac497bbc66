// The simulated radio as a link: its timing, scanning, connecting, and its scenario API.
#include "sim/simulated_radio.h"

#include "sim/radio_fields.h"
#include "sim/radio_frames.h"

#include <algorithm>
#include <cmath>

using namespace std::chrono_literals;
using namespace RadioFields;
using MeshProtocol::DeviceError;

namespace {

constexpr auto firstDiscoveryDelay = 300ms;
constexpr auto discoveryInterval = 2000ms;
constexpr int totalStorageKB = 1984;

double sixDecimals(double degrees) {
    return std::round(degrees * 1'000'000) / 1'000'000;
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

// --- Knobs ---------------------------------------------------------------------

void SimulatedRadio::failNextCommand(std::uint8_t commandCode, std::optional<DeviceError> error) {
    m_plannedFailures.append({commandCode, error});
}

void SimulatedRadio::failNextAnyCommand(std::optional<DeviceError> error) {
    m_plannedFailures.append({std::nullopt, error});
}

void SimulatedRadio::setErrorReplyFor(std::uint8_t commandCode, std::optional<DeviceError> error) {
    m_errorReplies.insert(commandCode, error);
}
