#pragma once

#include "model/device_records.h"
#include "time/clock.h"
#include "transport/mesh_link.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QPointer>
#include <QRandomGenerator>
#include <QSet>
#include <QString>
#include <QUuid>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

// Codes of the command frames the radio understands (byte 0 of each write).
namespace RadioCommand {
enum : std::uint8_t {
    appStart = 0x01,
    sendDirectText = 0x02,
    sendChannelText = 0x03,
    getContacts = 0x04,
    setDeviceTime = 0x06,
    sendSelfAdvert = 0x07,
    setAdvertName = 0x08,
    addOrUpdateContact = 0x09,
    syncNextMessage = 0x0A,
    setTxPower = 0x0C,
    resetPath = 0x0D,
    removeContact = 0x0F,
    shareContact = 0x10,
    reboot = 0x13,
    getBatteryAndStorage = 0x14,
    deviceQuery = 0x16,
    getChannel = 0x1F,
    setChannel = 0x20,
    getStatistics = 0x38,
};
} // namespace RadioCommand

// A companion radio without hardware: a link that plays the radio's side of
// the protocol. It scans, connects and answers command frames the way a real
// radio does, keeps a contact table, eight channel slots and a queue of
// received messages, and offers knobs that make it lose answers, reply with
// errors or drop the link, so that every path of the controller can be driven
// from a test (with a ManualClock) or shown in a demo (with the SystemClock).
//
// Timing: every report that does not follow directly from a call (discovery,
// the end of a connection attempt, answers, pushes) goes out through the
// clock; answers never come from inside write(). The answers to one command
// keep their order, and commands are answered in the order they came.
// State changes asked for directly (startScan, stopScan, connectToDevice,
// disconnectFromDevice, dropLink) are reported at once, as the Bluetooth link
// reports them. The initial `ready` is reported through the clock right after
// construction (zero delay), so a listener connected after the constructor
// still sees it.
class SimulatedRadio final : public MeshLink {
    Q_OBJECT
public:
    // Slots the radio has; slot 0 starts as the public channel.
    static constexpr int channelSlots = 8;
    static constexpr std::uint8_t maxTxPower = 22;
    static inline const QString publicChannelSecret =
        QStringLiteral("5d0c2a7f91e4b8365fa0c7d21e9b4a83");
    // The one radio the scan finds.
    static inline const QUuid deviceId{QStringLiteral("{7a1c5e0b-3d2f-4b8e-9c61-0f5a2d7e4b93}")};
    static inline const QString deviceName = QStringLiteral("Talvenne Demo Radio");

    // `seed` drives every random choice (dropped answers, ack codes, signal
    // jitter, chatter), so a run is reproducible.
    explicit SimulatedRadio(Clock* clock, quint32 seed = 1, QObject* parent = nullptr);
    ~SimulatedRadio() override;

    // MeshLink
    TransportState state() const override { return m_state; }
    void startScan() override;
    void stopScan() override;
    void connectToDevice(const DiscoveredDevice& device) override;
    void disconnectFromDevice() override;
    void write(const QByteArray& frame) override;

    // --- Radio state -------------------------------------------------------
    SelfInfo selfInfo() const { return m_self; }
    DeviceInfo deviceInfo() const { return m_deviceInfo; }
    BatteryInfo battery() const;
    // The radio's own clock: the test clock moved by the last set-device-time.
    QDateTime deviceTime() const;
    QList<Contact> contacts() const { return m_contacts; }
    QList<Channel> channels() const { return m_channels; }
    int queuedMessageCount() const { return int(m_queue.size()); }
    // Number of contacts the table holds before add-contact answers tableFull.
    void setContactLimit(int limit) { m_contactLimit = limit; }

    // --- Scenario API --------------------------------------------------------
    // Adds or replaces (same key) a contact, as the client will read it back:
    // path padded to 64 bytes, name cut to its 32-byte field, times in whole
    // seconds, coordinates to six decimals.
    void addContact(const Contact& contact);
    // The radio drops a contact by itself (its table overflowed), unasked.
    void forgetContact(const QString& publicKey);
    // Queues a direct message from a sender (a contact key or a 12-digit
    // prefix) and, when connected, pushes messagesWaiting. `pathLength` is the
    // sender's path when it is a known contact with one, else 1 hop.
    void queueIncomingDirect(const QString& prefixOrContactKey, const QString& text,
                             const QDateTime& time, std::optional<double> snr = 6.5);
    // Queues a message on a channel slot and, when connected, pushes messagesWaiting.
    void queueIncomingChannel(int index, const QString& text, const QDateTime& time,
                              std::optional<double> snr = 4.25);
    // Sends any frame to the client after the latency (when connected).
    void pushFrame(const QByteArray& frame);
    // The frames the radio received while connected, in order: the last
    // `writtenFramesKept` of them.
    static constexpr int writtenFramesKept = 4096;
    QList<QByteArray> writtenFrames() const { return m_written; }
    // Commands that arrived while the answer to an earlier one was still on
    // its way: a client that waits for each answer before the next command
    // sends none.
    int overlappingCommands() const { return m_overlappingCommands; }
    void clearWrittenFrames() { m_written.clear(); }
    // Simulates a lost link: state `disconnected`, reported at once; answers
    // and pushes still on their way are lost.
    void dropLink();
    // Out of range (or switched off), the radio is not found by a scan and a
    // connection attempt fails after the connect delay. Starts in range.
    void setInRange(bool inRange) { m_inRange = inRange; }
    // Bluetooth switched off (state `poweredOff`: the link drops, nothing is
    // found or connected) and back on (`ready`). Starts on.
    void setBluetoothOn(bool on);

    // --- Knobs ---------------------------------------------------------------
    // Delay of every answer and push (default 30 ms).
    void setLatency(std::chrono::milliseconds latency) { m_latency = latency; }
    // From connectToDevice to `connected` (default 600 ms).
    void setConnectDelay(std::chrono::milliseconds delay) { m_connectDelay = delay; }
    void setSeed(quint32 seed) { m_random.seed(seed); }
    // Each command's whole answer is lost with this probability (0 to 1).
    void setDropAnswers(double probability) { m_dropProbability = probability; }
    // The answers to the next `count` commands are lost (the commands still act).
    void dropNextAnswers(int count) { m_dropNext = count; }
    // The answer to the next command with this code is lost (the command still
    // acts): a read-back that times out after its write went through.
    // Several calls queue up.
    void dropNextAnswerTo(std::uint8_t commandCode) { m_dropAnswerTo.append(commandCode); }
    // The next command with this code (or any command) is answered with an
    // error frame instead and has no effect. No error gives the bare error
    // frame without a code. Several calls queue up.
    void failNextCommand(std::uint8_t commandCode, std::optional<MeshProtocol::DeviceError> error);
    void failNextAnyCommand(std::optional<MeshProtocol::DeviceError> error);
    // Every command with this code is answered with the error until cleared.
    void setErrorReplyFor(std::uint8_t commandCode, std::optional<MeshProtocol::DeviceError> error);
    void clearErrorReplyFor(std::uint8_t commandCode) { m_errorReplies.remove(commandCode); }
    // Delay between accepting a direct message and its sendConfirmed (default 1.5 s).
    void setAckDelay(std::chrono::milliseconds delay) { m_ackDelay = delay; }
    // Whether accepted direct messages are ever confirmed (default true).
    void setConfirmDeliveries(bool confirm) { m_confirmDeliveries = confirm; }
    // The link drops (through the clock, at once) when the `count`-th command
    // from now arrives; that command is recorded but neither acted on nor answered.
    void dropLinkAfterCommands(int count) { m_dropAfterCommands = count; }
    // The same for the next command with this code (a drop in mid-handshake).
    void dropLinkOnCommand(std::uint8_t commandCode) { m_dropOnCommand = commandCode; }

    // --- Demo ------------------------------------------------------------------
    // Adds neighbours of every kind; "Aino Virtanen" answers direct messages.
    void populateDemoNeighbours();
    // Contacts (by key) that answer each direct message after `replyDelay`.
    void setAutoReply(const QString& publicKey, bool enabled);
    void setReplyDelay(std::chrono::milliseconds delay) { m_replyDelay = delay; }
    // Messages from other members on the public channel every 20 to 40 s.
    void startChannelChatter(bool enabled);

private:
    struct QueuedMessage {
        bool direct = true;
        QString senderKey; // direct only
        int channelIndex = 0;
        std::uint8_t pathLength = 0;
        QDateTime timestamp;
        QString text;
        std::optional<double> snr;
    };
    struct PlannedFailure {
        std::optional<std::uint8_t> commandCode; // none: any command
        std::optional<MeshProtocol::DeviceError> error;
    };
    using Frames = QList<QByteArray>;

    void setState(TransportState state);
    // Runs `callback` after `delay` unless this object is gone by then.
    std::uint64_t after(std::chrono::milliseconds delay, std::function<void()> callback);
    void cancelTimer(std::uint64_t& token);
    // Sends frames in order after the latency, within the current link session.
    // `answer`: the frames answer a command (counted until they go out).
    void send(Frames frames, std::chrono::milliseconds delay, bool answer = false);
    void send(Frames frames) { send(std::move(frames), m_latency); }
    void announceWaiting();
    void endSession();
    void discoverNow();

    Frames answer(const QByteArray& frame);
    std::optional<std::optional<MeshProtocol::DeviceError>> plannedError(std::uint8_t code);
    Frames sendDirectText(const QByteArray& frame);
    Frames addOrUpdateContact(const QByteArray& frame);
    Frames contactList() const;
    Frames syncNext();
    Frames setChannel(const QByteArray& frame);
    Frames stats(std::uint8_t group);
    qsizetype contactIndexByKeyBytes(const QByteArray& key) const;
    const Contact* contactByPrefix(const QByteArray& prefix) const;
    void reboot();
    void resetVolatileState();
    void scheduleReply(const Contact& contact);
    void scheduleChatter();
    void chatterOnce();

    QPointer<Clock> m_clock;
    QRandomGenerator m_random;
    TransportState m_state = TransportState::ready;
    int m_session = 0; // bumped whenever the link goes down
    std::uint64_t m_nextToken = 1;
    QHash<std::uint64_t, Clock::TimerId> m_timers;
    std::uint64_t m_scanTimer = 0;
    std::uint64_t m_connectTimer = 0;
    std::uint64_t m_chatterTimer = 0;
    int m_scanRssi = -58;

    SelfInfo m_self;
    DeviceInfo m_deviceInfo;
    qint64 m_clockOffsetMillis = 0;
    QDateTime m_bootTime;
    QList<Contact> m_contacts;
    int m_contactLimit = 100;
    QList<Channel> m_channels;
    std::deque<QueuedMessage> m_queue;
    QSet<QString> m_autoReplyKeys;
    int m_replyCount = 0;
    int m_chatterCount = 0;
    // Counters for the statistics frames.
    std::uint32_t m_sentFlood = 0;
    std::uint32_t m_sentDirect = 0;
    std::uint32_t m_receivedFlood = 0;
    std::uint32_t m_receivedDirect = 0;

    QList<QByteArray> m_written;
    int m_answersOnTheWay = 0;
    int m_overlappingCommands = 0;
    std::chrono::milliseconds m_latency{30};
    bool m_inRange = true;
    std::chrono::milliseconds m_connectDelay{600};
    std::chrono::milliseconds m_ackDelay{1500};
    std::chrono::milliseconds m_replyDelay{2500};
    bool m_confirmDeliveries = true;
    double m_dropProbability = 0;
    int m_dropNext = 0;
    QList<std::uint8_t> m_dropAnswerTo;
    QList<PlannedFailure> m_plannedFailures;
    QHash<std::uint8_t, std::optional<MeshProtocol::DeviceError>> m_errorReplies;
    int m_dropAfterCommands = 0;
    std::optional<std::uint8_t> m_dropOnCommand;
};
