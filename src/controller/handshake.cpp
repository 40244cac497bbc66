// Introducing the application to a freshly connected radio and loading what
// the user sees from it.

#include "controller/mesh_controller.h"
#include "protocol/mesh_protocol.h"
#include "time/clock.h"

#include <algorithm>

using namespace std::chrono_literals;

namespace {

constexpr int appStartAttempts = 3;
constexpr auto appStartPause = 400ms;
constexpr auto appStartTimeout = 6s;
constexpr std::uint8_t deviceQueryVersion = 3;
constexpr auto commandTimeout = 5s;
constexpr auto contactListTimeout = 8s;
constexpr auto channelTimeout = 3s;
constexpr auto nextMessageTimeout = 4s;
constexpr int maxMessagesPerDrain = 256;

} // namespace

// Never fails outward: each step swallows its error and leaves its field as it
// was. One handshake per connection: after every wait it looks whether its
// connection is still the present one (or the controller is going away) and
// ends at once when not, so it never runs on into a later link.
QCoro::Task<void> MeshController::performHandshake() {
    const std::uint64_t connection = m_sync.connection;
    const auto gone = [this, connection] { return m_closing || m_sync.connection != connection; };
    const auto finish = [this, connection] {
        if (m_sync.beforeDrain == connection)
            m_sync.beforeDrain = 0;
        if (!m_closing && m_sync.syncingConnection == connection)
            setIsSyncing(false);
    };
    m_sync.syncingConnection = connection;
    // Waiting messages are read once the contacts are in, so that each finds
    // its sender: until then a push that announces them starts no drain.
    m_sync.beforeDrain = connection;
    setIsSyncing(true);

    const QByteArray appStart =
        MeshProtocol::appStart(QString::fromLatin1(MeshProtocol::applicationName));
    // Why the link could not carry the command, if that was the trouble.
    QString linkTrouble;
    for (int attempt = 0; attempt < appStartAttempts; ++attempt) {
        std::optional<SelfInfo> answer;
        try {
            const MeshEvent event =
                co_await request(appStart, ExpectedResponse::selfInfo, appStartTimeout);
            if (const auto* info = std::get_if<Events::SelfInfo>(&event))
                answer = info->selfInfo;
        } catch (const MeshError& error) {
            if (error.kind() == MeshError::Kind::link)
                linkTrouble = error.description();
        }
        if (gone()) {
            finish();
            co_return;
        }
        if (answer) {
            const QString publicKey = answer->publicKey;
            setSelfInfo(std::move(answer));
            radioIdentified(publicKey);
            break;
        }
        if (attempt + 1 < appStartAttempts) {
            co_await pause(appStartPause); // ended early when the link drops
            if (gone()) {
                finish();
                co_return;
            }
        } else {
            setConnectionError(linkTrouble.isEmpty() ? QLatin1String(handshakeFailureText)
                                                     : linkTrouble);
        }
    }

    try {
        const MeshEvent event = co_await request(MeshProtocol::deviceQuery(deviceQueryVersion),
                                                 ExpectedResponse::deviceInfo, commandTimeout);
        if (!gone()) {
            if (const auto* info = std::get_if<Events::DeviceInfo>(&event))
                setDeviceInfo(info->deviceInfo);
        }
    } catch (const MeshError&) {
    }
    if (gone()) {
        finish();
        co_return;
    }

    try {
        co_await request(MeshProtocol::setDeviceTime(m_clock->secondsSince1970()),
                         ExpectedResponse::ok, commandTimeout);
    } catch (const MeshError&) {
    }
    if (gone()) {
        finish();
        co_return;
    }

    try {
        const MeshEvent event = co_await request(MeshProtocol::getBatteryAndStorage(),
                                                 ExpectedResponse::batteryVoltage, commandTimeout);
        if (!gone()) {
            if (const auto* info = std::get_if<Events::Battery>(&event))
                setBattery(info->battery);
        }
    } catch (const MeshError&) {
    }
    if (gone()) {
        finish();
        co_return;
    }

    try {
        co_await syncContacts();
    } catch (const MeshError&) {
    }
    if (!gone())
        co_await syncChannels();
    if (!gone()) {
        m_sync.beforeDrain = 0;
        co_await syncMessages();
    }
    // Only a radio that said who it is and stayed to the end is a good
    // connection: the reconnection's pauses start over from it.
    if (!gone() && m_selfInfo)
        m_reconnect.handshakeWentThrough(connection);
    finish();
}

QCoro::Task<void> MeshController::syncContacts() {
    const std::uint64_t connection = m_sync.connection;
    // The list stands while it is read again: each contact the radio sends
    // is updated where it stands, and those it no longer has go at the end.
    m_sync.contactKeysRead.clear();
    // Until the list is in again, a message from a sender missing from it
    // waits (handleIncomingMessage).
    ++m_sync.contactListReads;
    std::optional<MeshError> failure;
    try {
        // The radio streams one contact event per stored contact before its
        // end-of-contacts answer; the event dispatch upserts them as they come.
        co_await request(MeshProtocol::getContacts(), ExpectedResponse::endOfContacts,
                         contactListTimeout);
    } catch (const MeshError& error) {
        failure = error;
    }
    if (m_closing)
        co_return;
    // A disconnect has filed the waiting messages and ended the count.
    if (m_sync.connection == connection)
        --m_sync.contactListReads;
    if (!failure && m_sync.connection == connection) {
        settleContactList();
        ensureContactConversations();
    }
    if (m_sync.contactListReads == 0)
        fileWaitingMessages();
    if (failure)
        throw *failure;
}

void MeshController::ensureContactConversations() {
    for (const Contact& contact : std::as_const(m_contacts))
        ensureConversation(ConversationID::contact(contact.publicKey));
}

QCoro::Task<void> MeshController::syncChannels() {
    const std::uint64_t connection = m_sync.connection;
    // Each slot read replaces the one shown; the slots after the last one
    // read go.
    for (int index = 0; index < maxChannels; ++index) {
        std::optional<Channel> slot;
        try {
            const MeshEvent event = co_await request(MeshProtocol::getChannel(std::uint8_t(index)),
                                                     ExpectedResponse::channelInfo, channelTimeout);
            if (const auto* info = std::get_if<Events::ChannelInfo>(&event))
                slot = info->channelInfo;
        } catch (const MeshError&) {
        }
        if (m_closing || m_sync.connection != connection)
            co_return;
        if (!slot) {
            removeChannelsFrom(index);
            co_return;
        }
        // Where sorting puts it, replacing a slot the user's own channel
        // change read meanwhile; a slot in use gets its conversation.
        storeChannelReadBack(index, *slot);
    }
    removeChannelsFrom(maxChannels);
}

QCoro::Task<void> MeshController::syncMessages() {
    // A message taken off the radio must be kept: while another Talvenne
    // holds the history, or until it is read, they wait on the radio.
    if (!m_historyWritable || !m_historyLoaded)
        co_return;
    const std::uint64_t connection = m_sync.connection;
    for (int fetched = 0; fetched < maxMessagesPerDrain; ++fetched) {
        if (m_closing || m_sync.connection != connection ||
            m_transportState != TransportState::connected)
            co_return;
        std::optional<MeshEvent> answer;
        try {
            answer = co_await request(MeshProtocol::syncNextMessage(), ExpectedResponse::anyMessage,
                                      nextMessageTimeout);
        } catch (const MeshError&) {
        }
        if (m_closing || !answer || std::holds_alternative<Events::NoMoreMessages>(*answer))
            co_return;
        handleIncomingMessage(*answer);
    }
}
