#include "controller/mesh_controller.h"

#include "book/node_book_store.h"
#include "controller/conversation_journal.h"
#include "controller/conversation_store.h"
#include "notifications/notifier.h"
#include "protocol/mesh_protocol.h"
#include "time/clock.h"
#include "transport/mesh_link.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <limits>

namespace {

template <typename... Fs>
struct Overloaded : Fs... {
    using Fs::operator()...;
};

} // namespace

MeshController::MeshController(MeshLink* link, Clock* clock, Notifier* notifier,
                               ConversationStore* store, QSettings* settings, QObject* parent)
    : QObject(parent)
    , m_link(link)
    , m_clock(clock)
    , m_notifier(notifier)
    , m_store(store)
    , m_settings(settings)
    , m_mapSettings(new MapSettings(settings, this)) {
    Q_ASSERT(link && clock);
    connect(link, &MeshLink::transportStateChanged, this, &MeshController::onTransportStateChanged);
    connect(link, &MeshLink::transportDiscovered, this, &MeshController::onTransportDiscovered);
    connect(link, &MeshLink::transportConnected, this, &MeshController::onTransportConnected);
    connect(link, &MeshLink::transportFailed, this, &MeshController::onTransportFailed);
    connect(link, &MeshLink::transportReceived, this, &MeshController::onTransportReceived);
    connect(link, &MeshLink::transportWriteFailed, this, &MeshController::onTransportWriteFailed);
    connect(link, &MeshLink::bluetoothReturned, this, &MeshController::onBluetoothReturned);

    loadPreferences();
    loadNotificationLevels();
    if (m_store) {
        connect(m_store, &ConversationStore::errorChanged, this, &MeshController::setHistoryError);
        connect(m_store, &ConversationStore::writableChanged, this, [this] {
            assign(m_historyWritable, m_store->isWritable(),
                   &MeshController::historyWritableChanged);
        });
        connect(m_store, &ConversationStore::historyReleased, this,
                &MeshController::reloadConversations);
        connect(m_store, &ConversationStore::loaded, this,
                &MeshController::takeLoadedConversations);
        connect(m_store, &ConversationStore::reread, this,
                &MeshController::takeRereadConversations);
        setHistoryError(m_store->error());
        m_historyWritable = m_store->isWritable();
        m_historyLoaded = false;
        m_store->loadInBackground(m_clock->now().addDays(-1));
    }
}

MeshController::~MeshController() {
    // Coroutines of this controller are suspended only on requests and in
    // its pauses. Settle them all now, while every member is still alive; each
    // sees m_closing after its co_await and ends without touching anything.
    m_sync.contactListReads = 0;
    fileWaitingMessages();
    writeBookNow();
    m_closing = true;
    cancelReconnectTimer();
    while (pendingRequestCount() > 0 || !m_requests.pauses.isEmpty()) {
        failAllPending(MeshError::notConnected());
        endAllPauses();
    }
}

// --- construction

void MeshController::loadPreferences() {
    if (!m_settings)
        return;
    m_reconnect.autoReconnect = m_settings->value(QLatin1String(autoReconnectKey), true).toBool();
    loadRememberedDevice();
    const QStringList favorites = m_settings->value(QLatin1String(favoritesKey)).toStringList();
    m_favorites = QSet<QString>(favorites.begin(), favorites.end());

    // A JSON object of text to text; anything else leaves the map empty.
    const QByteArray json = m_settings->value(QLatin1String(verifiedKeysKey)).toByteArray();
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return;
    VerifiedKeyMap keys;
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!it.value().isString())
            return;
        keys.insert(it.key(), it.value().toString());
    }
    m_verifiedKeys = std::move(keys);
}

void MeshController::loadRememberedDevice() {
    if (!m_settings)
        return;
    m_reconnect.remembered = {
        QUuid(m_settings->value(m_reconnect.settingsKey(lastDeviceIdKey)).toString()),
        m_settings->value(m_reconnect.settingsKey(lastDeviceNameKey)).toString()};
    if (m_reconnect.remembered.id.isNull())
        m_reconnect.remembered.name.clear();
}

// The history read on the store's thread. What came before it (messages the
// radio pushed, conversations of its lists, messages sent) goes after what
// was read, into the same conversations.
void MeshController::takeLoadedConversations(const QList<Conversation>& history,
                                             const UnsettledMessages& unsettled) {
    if (m_historyLoaded)
        return;
    ConversationMap merged;
    for (const Conversation& conversation : history)
        merged.insert(conversation.target.conversationKey(), conversation);
    bool arrived = false;
    for (auto it = m_conversations.cbegin(); it != m_conversations.cend(); ++it) {
        const auto found = merged.find(it.key());
        if (found == merged.end()) {
            merged.insert(it.key(), *it);
            arrived = true;
            continue;
        }
        if (it->messages.isEmpty())
            continue;
        arrived = true;
        for (const ChatMessage& message : it->messages)
            found->messages.append(message);
        found->lastActivity = it->lastActivity;
        if (qAddOverflow(found->unreadCount, it->unreadCount, &found->unreadCount))
            found->unreadCount = std::numeric_limits<std::int64_t>::max();
    }
    m_conversations = std::move(merged);
    m_historyLoaded = true;
    assign(m_historyWritable, m_store->isWritable(), &MeshController::historyWritableChanged);
    Q_EMIT conversationsReset();
    Q_EMIT conversationsChanged();
    recountUnreadMentions();
    refreshTotalUnreadCount();
    resumeDeliveryTracking(unsettled);
    if (arrived)
        saveConversations();
    updateBadge();
    Q_EMIT historyLoadedChanged();
    // The radio's waiting messages were left there meanwhile.
    if (m_historyWritable && m_transportState == TransportState::connected &&
        !handshakeReadsTheQueue())
        syncMessages();
}

// Another Talvenne kept the history and has let it go: what it left is read
// on the store's thread, and the window goes on meanwhile. Before the first
// read is in, that read finds what the other one left.
void MeshController::reloadConversations() {
    if (m_store && m_historyLoaded)
        m_store->rereadInBackground(m_clock->now().addDays(-1));
}

// What the other one left, with this run's changes on top: those the store
// could not write, and those made while it was read.
void MeshController::takeRereadConversations(const HistoryReread& reread) {
    // Unchanged, what is shown is what is on the disk.
    if (!reread.unchanged) {
        QList<Conversation> history = reread.conversations;
        if (reread.base)
            Journal::apply(history, Journal::diff(*reread.base, m_conversations.values()));
        ConversationMap loaded;
        for (const Conversation& conversation : std::as_const(history))
            loaded.insert(conversation.target.conversationKey(), conversation);
        const ConversationMap before = std::exchange(m_conversations, std::move(loaded));
        Q_EMIT conversationsReset();
        Q_EMIT conversationsChanged();
        // Conversations read back as they were keep their tracking.
        resumeDeliveryTracking(reread.unsettled, &before);
    }
    m_store->takeReread(m_conversations.values());
    assign(m_historyWritable, m_store->isWritable(), &MeshController::historyWritableChanged);
    recountUnreadMentions();
    refreshTotalUnreadCount();
    updateBadge();
    // The radio's waiting messages were left there meanwhile.
    if (m_historyWritable && m_transportState == TransportState::connected &&
        !handshakeReadsTheQueue())
        syncMessages();
}

bool MeshController::saveHistoryAgain() {
    return !m_store || m_store->saveAgain();
}

void MeshController::setHistoryError(const QString& error) {
    assign(m_historyError, error, &MeshController::historyErrorChanged);
}

// --- state writers

void MeshController::setTransportState(TransportState state) {
    assign(m_transportState, state, &MeshController::transportStateChanged);
}

void MeshController::setConnectionError(const QString& text) {
    assign(m_connectionError, text, &MeshController::connectionErrorChanged);
}

void MeshController::setIsSyncing(bool syncing) {
    assign(m_isSyncing, syncing, &MeshController::isSyncingChanged);
}

void MeshController::setSelfInfo(std::optional<SelfInfo> info) {
    // The name stays while the radio is away; the views still show its mentions.
    if (info)
        setOwnName(info->name);
    assign(m_selfInfo, std::move(info), &MeshController::selfInfoChanged);
}

void MeshController::setDeviceInfo(std::optional<DeviceInfo> info) {
    assign(m_deviceInfo, std::move(info), &MeshController::deviceInfoChanged);
}

void MeshController::setBattery(std::optional<BatteryInfo> info) {
    assign(m_battery, std::move(info), &MeshController::batteryChanged);
}

void MeshController::setDeviceTime(std::optional<QDateTime> time) {
    assign(m_deviceTime, std::move(time), &MeshController::deviceTimeChanged);
}

void MeshController::setDiscoveredDevices(QList<DiscoveredDevice> devices) {
    if (m_discoveredDevices == devices)
        return;
    m_discoveredDevices = std::move(devices);
    Q_EMIT discoveredDevicesReset();
    Q_EMIT discoveredDevicesChanged();
}

void MeshController::setContacts(QList<Contact> contacts) {
    if (m_contacts == contacts)
        return;
    m_contacts = std::move(contacts);
    Q_EMIT contactsReset();
    Q_EMIT contactsChanged();
}

void MeshController::setChannels(QList<Channel> channels) {
    if (m_channels == channels)
        return;
    m_channels = std::move(channels);
    Q_EMIT channelsReset();
    Q_EMIT channelsChanged();
}

// The first contact with exactly this key is replaced where it stands;
// otherwise the contact goes to the end.
void MeshController::upsertContact(const Contact& contact) {
    for (qsizetype row = 0; row < m_contacts.size(); ++row) {
        if (m_contacts[row].publicKey != contact.publicKey)
            continue;
        if (m_contacts[row] == contact)
            return;
        m_contacts[row] = contact;
        Q_EMIT contactChanged(int(row));
        Q_EMIT contactsChanged();
        return;
    }
    m_contacts.append(contact);
    Q_EMIT contactInserted(int(m_contacts.size()) - 1);
    Q_EMIT contactsChanged();
}

void MeshController::setSelectedConversation(std::optional<ConversationID> target) {
    assign(m_selectedConversation, std::move(target), &MeshController::selectedConversationChanged);
}

void MeshController::setApplicationActive(bool active) {
    m_applicationActive = active;
}

// --- link reports

void MeshController::onTransportStateChanged(TransportState state) {
    const TransportState previous = m_transportState;
    setTransportState(state);
    // Whether a reconnection begins is known before the radio-side state
    // goes, so the views can hold on to what they show meanwhile.
    onReconnectStateChanged(previous, state);
    if (state == TransportState::disconnected)
        resetAfterDisconnect();
}

void MeshController::onTransportDiscovered(const DiscoveredDevice& device) {
    onReconnectDiscovered(device);
    for (qsizetype row = 0; row < m_discoveredDevices.size(); ++row) {
        if (m_discoveredDevices[row].id != device.id)
            continue;
        // The platform handle is kept fresh, but only a visible change notifies.
        const bool changed = !(m_discoveredDevices[row] == device);
        m_discoveredDevices[row] = device;
        if (!changed)
            return;
        Q_EMIT discoveredDeviceChanged(int(row));
        Q_EMIT discoveredDevicesChanged();
        return;
    }
    m_discoveredDevices.append(device);
    Q_EMIT discoveredDeviceInserted(int(m_discoveredDevices.size()) - 1);
    Q_EMIT discoveredDevicesChanged();
}

void MeshController::onTransportConnected() {
    ++m_sync.connection;
    performHandshake(); // runs on by itself; the task handle is not needed
    // After the handshake began, so that isSyncing already tells views that
    // the radio's lists are on their way. The failed attempts stay counted
    // until the handshake is through.
    if (m_reconnect.reconnecting)
        endReconnectAttempt();
}

void MeshController::onTransportFailed(const QString& text) {
    setConnectionError(text);
}

void MeshController::onTransportReceived(const QByteArray& frame) {
    // A frame cut on its way would pass blanks for data, and could be
    // taken for the answer to a command.
    if (!MeshProtocol::isWhole(frame))
        return;
    handleEvent(MeshProtocol::decode(frame));
}

// --- link operations

void MeshController::startScan() {
    setDiscoveredDevices({});
    setConnectionError({});
    if (m_link)
        m_link->startScan();
}

void MeshController::stopScan() {
    if (m_link)
        m_link->stopScan();
}

void MeshController::connectToDevice(const DiscoveredDevice& device) {
    // The user's choice ends any reconnection, and is the radio to come back to.
    stopReconnecting();
    // Another radio is chosen while one is connected: that one goes first.
    if (m_link && (m_transportState == TransportState::connected ||
                   m_transportState == TransportState::connecting)) {
        m_link->disconnectFromDevice();
        resetAfterDisconnect();
    }
    rememberDevice(device);
    // A new attempt, with nothing of the last one's failure.
    setConnectionError({});
    if (m_link)
        m_link->connectToDevice(device);
}

void MeshController::disconnectFromDevice() {
    // Asked for: no reconnection now, nor at the next start.
    stopReconnecting();
    rememberDevice({});
    if (m_link)
        m_link->disconnectFromDevice();
    resetAfterDisconnect();
}

void MeshController::forgetDevice() {
    const QUuid id = m_reconnect.remembered.id;
    disconnectFromDevice();
    if (id.isNull())
        return;
    if (m_link)
        m_link->forgetDevice(id);
    QList<DiscoveredDevice> devices = m_discoveredDevices;
    devices.removeIf([&id](const DiscoveredDevice& device) { return device.id == id; });
    setDiscoveredDevices(std::move(devices));
}

void MeshController::resetAfterDisconnect() {
    // Messages that waited for the contact list find their senders in what
    // has come of it.
    m_sync.contactListReads = 0;
    fileWaitingMessages();
    if (m_book.keeps() && m_selfInfo) {
        radioWentAway();
    } else {
        setSelfInfo(std::nullopt);
        setDeviceInfo(std::nullopt);
        setBattery(std::nullopt);
        setContacts({});
        setChannels({});
        setSelectedConversation(std::nullopt);
    }
    // Whatever still runs for the old link ends at its next step.
    ++m_sync.connection;
    failAllPending(MeshError::notConnected());
    endAllPauses();
}

// --- events

void MeshController::handleEvent(const MeshEvent& event) {
    if (!resolvePending(event))
        applyEvent(event);
}

// An event no request took. Answers that come too late are dropped.
void MeshController::applyEvent(const MeshEvent& event) {
    std::visit(Overloaded{
                   [this](const Events::Battery& e) { setBattery(e.battery); },
                   [this](const Events::CurrentTime& e) { setDeviceTime(e.time); },
                   [this](const Events::Contact& e) {
                       if (m_sync.contactListReads > 0)
                           m_sync.contactKeysRead.insert(e.contact.publicKey);
                       upsertContact(e.contact);
                   },
                   [this](const Events::NewAdvert& e) {
                       // A node we already know keeps its stored record.
                       if (contactForKey(e.newAdvert.publicKey))
                           return;
                       upsertContact(e.newAdvert);
                       ensureConversation(ConversationID::contact(e.newAdvert.publicKey));
                   },
                   [this, &event](const Events::ContactMessage&) { handleIncomingMessage(event); },
                   [this, &event](const Events::ChannelMessage&) { handleIncomingMessage(event); },
                   [this](const Events::SendConfirmed& e) {
                       confirmDelivery(e.ackCode, e.roundTripMillis);
                   },
                   [this](const Events::MessagesWaiting&) {
                       // The handshake reads them itself once the contacts are in.
                       if (!handshakeReadsTheQueue())
                           syncMessages(); // its own task; ends by itself
                   },
                   [](const auto&) {},
               },
               event);
}
