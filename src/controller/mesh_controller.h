#pragma once

#include "book/node_book.h"
#include "controller/expected_response.h"
#include "controller/mesh_error.h"
#include "controller/node_book_state.h"
#include "controller/notification_levels.h"
#include "controller/outgoing_messages.h"
#include "controller/reconnection_state.h"
#include "controller/request_queue.h"
#include "controller/sync_progress.h"
#include "map/map_settings.h"
#include "model/conversation.h"
#include "model/device_records.h"
#include "model/mesh_enums.h"
#include "protocol/mesh_event.h"
#include "transport/transport_state.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringView>
#include <QUuid>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <qcoro/qcoroqmltask.h>
#include <qcoro/qcorotask.h>

class Clock;
class ConversationStore;
struct HistoryReread;
class UnsettledMessages;
class MeshLink;
class NodeBookStore;
class Notifier;
class QSettings;

// The one object that owns the link to the radio, every piece of radio-side
// state, all conversations and the user's small preferences. Everything it
// works with is handed in; it owns none of it. Main thread only.
//
// Every property notifies through its NOTIFY signal, after the change and
// only when the value really changed. For list models the lists also carry
// row signals (...Inserted, ...Changed, ...Removed(row); ...Reset() when the
// list is replaced whole), the conversations conversationAdded, Removed,
// Changed(key) (its lastActivity or unreadCount) and messageAppended,
// Changed, Removed(key, row), `key` being the conversation key; each comes
// once per change, after it and before the property's NOTIFY signal.
class MeshController : public QObject {
    Q_OBJECT
    Q_PROPERTY(TransportState transportState READ transportState NOTIFY transportStateChanged)
    Q_PROPERTY(QList<DiscoveredDevice> discoveredDevices READ discoveredDevices NOTIFY
                   discoveredDevicesChanged)
    Q_PROPERTY(QString connectionError READ connectionError NOTIFY connectionErrorChanged)
    Q_PROPERTY(bool isSyncing READ isSyncing NOTIFY isSyncingChanged)
    Q_PROPERTY(std::optional<SelfInfo> selfInfo READ selfInfo NOTIFY selfInfoChanged)
    Q_PROPERTY(std::optional<DeviceInfo> deviceInfo READ deviceInfo NOTIFY deviceInfoChanged)
    Q_PROPERTY(std::optional<BatteryInfo> battery READ battery NOTIFY batteryChanged)
    Q_PROPERTY(DeviceStats coreStats READ coreStats NOTIFY coreStatsChanged)
    Q_PROPERTY(DeviceStats radioStats READ radioStats NOTIFY radioStatsChanged)
    Q_PROPERTY(DeviceStats packetStats READ packetStats NOTIFY packetStatsChanged)
    Q_PROPERTY(std::optional<QDateTime> deviceTime READ deviceTime NOTIFY deviceTimeChanged)
    Q_PROPERTY(QList<Contact> contacts READ contacts NOTIFY contactsChanged)
    Q_PROPERTY(QList<Channel> channels READ channels NOTIFY channelsChanged)
    Q_PROPERTY(ConversationMap conversations READ conversations NOTIFY conversationsChanged)
    Q_PROPERTY(std::optional<ConversationID> selectedConversation READ selectedConversation WRITE
                   setSelectedConversation NOTIFY selectedConversationChanged)
    Q_PROPERTY(QSet<QString> favorites READ favorites NOTIFY favoritesChanged)
    Q_PROPERTY(VerifiedKeyMap verifiedKeys READ verifiedKeys NOTIFY verifiedKeysChanged)
    Q_PROPERTY(qint64 totalUnreadCount READ totalUnreadCount NOTIFY totalUnreadCountChanged)
    // What the launcher badge shows: the unread count without the
    // conversations set to Nothing.
    Q_PROPERTY(qint64 badgeCount READ badgeCount NOTIFY badgeCountChanged)
    // The radio's own name as last read, kept while the radio is away: the
    // name whose mentions are the user's.
    Q_PROPERTY(QString ownName READ ownName NOTIFY ownNameChanged)
    Q_PROPERTY(QString historyError READ historyError NOTIFY historyErrorChanged)
    Q_PROPERTY(bool historyWritable READ historyWritable NOTIFY historyWritableChanged)
    Q_PROPERTY(bool historyLoaded READ historyLoaded NOTIFY historyLoadedChanged)
    Q_PROPERTY(
        bool autoReconnect READ autoReconnect WRITE setAutoReconnect NOTIFY autoReconnectChanged)
    Q_PROPERTY(bool isReconnecting READ isReconnecting NOTIFY isReconnectingChanged)
    // The reconnection waits for Bluetooth to be usable: nothing is tried.
    Q_PROPERTY(bool waitsForBluetooth READ waitsForBluetooth NOTIFY waitsForBluetoothChanged)
    Q_PROPERTY(
        QString rememberedDeviceName READ rememberedDeviceName NOTIFY rememberedDeviceChanged)
    Q_PROPERTY(bool radioAway READ radioAway NOTIFY radioAwayChanged)
    Q_PROPERTY(QString nodeBookError READ nodeBookError NOTIFY nodeBookErrorChanged)
    // What the user chose for the maps (street tiles), kept in the settings.
    Q_PROPERTY(MapSettings* mapSettings READ mapSettings CONSTANT)

public:
    using ConversationMap = QHash<QString, Conversation>;
    using VerifiedKeyMap = QHash<QString, QString>; // public key -> name

    // Channel slots read by the handshake: 0 to maxChannels - 1.
    static constexpr int maxChannels = 8;
    static constexpr auto favoritesKey = "favoriteNodeKeys";
    static constexpr auto verifiedKeysKey = "verifiedContactKeys";
    static constexpr auto handshakeFailureText = "The device didn't respond to the handshake.";
    // The radio connected to last, whether to reconnect to it, and its own
    // public key (the name of its node book).
    static constexpr auto lastDeviceIdKey = "lastDeviceID";
    static constexpr auto lastDeviceNameKey = "lastDeviceName";
    static constexpr auto autoReconnectKey = "reconnectAutomatically";
    static constexpr auto lastDeviceKeyKey = "lastDevicePublicKey";

    // Reads the preferences from `settings` and the history from `store`.
    // Only `link` and `clock` are required; tests leave out the others.
    MeshController(MeshLink* link, Clock* clock, Notifier* notifier, ConversationStore* store,
                   QSettings* settings, QObject* parent = nullptr);
    // Fails every waiting request and cuts pauses short: no coroutine of
    // this controller is left suspended.
    ~MeshController() override;

    // --- observed state
    TransportState transportState() const { return m_transportState; }
    const QList<DiscoveredDevice>& discoveredDevices() const { return m_discoveredDevices; }
    const QString& connectionError() const { return m_connectionError; } // empty: none
    // Written and queued requests; each ends by its timeout at the latest.
    int pendingRequestCount() const { return m_requests.pendingCount(); }
    // The time of every timeout and pause; views use it too, for tests.
    Clock* clock() const { return m_clock; }
    bool isSyncing() const { return m_isSyncing; }
    const std::optional<SelfInfo>& selfInfo() const { return m_selfInfo; }
    const std::optional<DeviceInfo>& deviceInfo() const { return m_deviceInfo; }
    const std::optional<BatteryInfo>& battery() const { return m_battery; }
    const DeviceStats& coreStats() const { return m_coreStats; }
    const DeviceStats& radioStats() const { return m_radioStats; }
    const DeviceStats& packetStats() const { return m_packetStats; }
    const std::optional<QDateTime>& deviceTime() const { return m_deviceTime; }
    const QList<Contact>& contacts() const { return m_contacts; }
    const QList<Channel>& channels() const { return m_channels; }
    const ConversationMap& conversations() const { return m_conversations; }
    const std::optional<ConversationID>& selectedConversation() const {
        return m_selectedConversation;
    }
    const QSet<QString>& favorites() const { return m_favorites; }
    const VerifiedKeyMap& verifiedKeys() const { return m_verifiedKeys; }
    qint64 totalUnreadCount() const { return m_totalUnreadCount; }
    // Why the history is not being saved (the store's error), or empty.
    const QString& historyError() const { return m_historyError; }
    // False while another Talvenne holds the history: nothing is sent and the
    // radio's waiting messages stay there, since none of it could be kept.
    // When the other one has gone, the history it left is read (with this
    // run's unsaved changes on top) and this turns true.
    bool historyWritable() const { return m_historyWritable; }
    // The history is read on the store's thread while the window comes up;
    // false until it is in. Meanwhile nothing is saved (quitting then writes
    // nothing), the radio's waiting messages stay there, and what does come
    // (messages the radio pushes, conversations of its lists) goes after what
    // is read once it is in.
    bool historyLoaded() const { return m_historyLoaded; }
    // Tries once more to save what could not be saved; true when the history
    // is saved now (for the question at quit).
    Q_INVOKABLE bool saveHistoryAgain();

    void setSelectedConversation(std::optional<ConversationID> target);
    // Messages in the selected conversation count as read only while the
    // application is active (wired to the GUI application's state; true by default).
    void setApplicationActive(bool active);
    bool isApplicationActive() const { return m_applicationActive; }

    // --- link operations
    // Clears the scan results and the connection error, then scans.
    Q_INVOKABLE void startScan();
    Q_INVOKABLE void stopScan();
    // Clears the connection error, remembers the radio and connects to it.
    void connectToDevice(const DiscoveredDevice& device);
    // Forgets the remembered radio, disconnects and clears the radio-side
    // state at once. (disconnect() would hide QObject::disconnect.)
    Q_INVOKABLE void disconnectFromDevice();
    // Forgets the radio-side state (self and device info, battery, contacts,
    // channels, selection) and fails every waiting request with notConnected.
    // Conversations and preferences stay.
    void resetAfterDisconnect();
    // Disconnects the radio chosen last, has the system forget its bond (the
    // next connection pairs afresh) and drops it from the scan results.
    Q_INVOKABLE void forgetDevice();

    // --- reconnection
    //
    // A drop the user did not ask for is followed, while `autoReconnect` is
    // on, by attempts to get the remembered radio back, further and further
    // apart, for as long as it takes; each scans up to reconnectScanWindow
    // for the radio, then connects. Disconnecting, choosing a radio or turning
    // `autoReconnect` off ends it.
    static constexpr std::chrono::milliseconds reconnectScanWindow{10'000};
    static constexpr std::chrono::milliseconds reconnectPauseCap{60'000};
    // The pause before the attempt that follows `failures` failed ones.
    static std::chrono::milliseconds reconnectPause(int failures);
    bool autoReconnect() const { return m_reconnect.autoReconnect; }
    void setAutoReconnect(bool on);
    bool isReconnecting() const { return m_reconnect.reconnecting; }
    bool waitsForBluetooth() const { return m_reconnect.waitsForBluetooth(); }
    const QString& rememberedDeviceName() const { return m_reconnect.remembered.name; }
    MapSettings* mapSettings() const { return m_mapSettings; }
    std::optional<QUuid> rememberedDeviceId() const;
    // Demo runs keep their remembered radio in a settings group of their own.
    // Reads that group's radio; call before enableAutomaticReconnection().
    void setRememberedDeviceGroup(const QString& group);
    // No radio to come back to, now or at the next start.
    void forgetRememberedDevice();
    // Failed attempts since the reconnection began (or the computer woke).
    int reconnectFailures() const { return m_reconnect.failures; }
    // Once the window is up: from then on drops are reconnected, beginning at
    // once with the remembered radio (returns whether that began). Until then
    // a drop simply ends the connection, as tools and link tests want.
    bool enableAutomaticReconnection();
    bool isAutomaticReconnectionEnabled() const { return m_reconnect.enabled; }
    // Starts the pauses over and looks for the remembered radio at once (after
    // a sleep, when Bluetooth comes back). False, doing nothing, while a radio
    // is connected or being connected, or when reconnecting is off.
    Q_INVOKABLE bool reconnectNow();

    // --- node books
    //
    // What each radio last reported (self and device info, contacts,
    // channels) is kept in its node book, written at most once per
    // nodeBookWriteDelay and when the link ends; the window opens from it
    // while the radio is away (`radioAway`), its lists left standing.
    static constexpr std::chrono::milliseconds nodeBookWriteDelay{2'000};
    // Without a store (the tools, most tests) nothing is kept. Call after
    // setRememberedDeviceGroup().
    void setNodeBookStore(NodeBookStore* store);
    // Shows the remembered radio's book while it is away; false when there
    // is none (a damaged one says why in nodeBookError) or a radio is connected.
    bool openRememberedBook();
    // The remembered radio's book is (or is about to be) shown in its place.
    bool radioAway() const { return m_book.radioAway; }
    const QString& nodeBookError() const { return m_book.error; } // empty: none
    // The last name any book gives a contact key, for conversations whose
    // contact the radio in use does not know.
    const QHash<QString, QString>& knownNames() const { return m_book.knownNames; }
    // Disconnects, deletes the radio's book and forgets the radio; the
    // history stays. False when the book could not be deleted.
    Q_INVOKABLE bool forgetThisRadio();
    const QString& bookRadioKey() const { return m_book.radioKey; }

    // --- request correlation
    // Writes `frame` (one at a time, in turn; the timeout runs from the write)
    // and waits for the event `expect` accepts. Throws MeshError notConnected,
    // timeout or device (the radio's error reply). `correct` gets the
    // request's own answer if the one taken was a timed-out command's late one.
    QCoro::Task<MeshEvent> request(QByteArray frame, ExpectedResponse expect,
                                   std::chrono::milliseconds timeout,
                                   AnswerCorrection correct = {});
    // Offers the event to the waiting requests, then applies it to the state.
    void handleEvent(const MeshEvent& event);

    // --- handshake and synchronisation; none of these throws except syncContacts
    QCoro::Task<void> performHandshake();
    QCoro::Task<void> syncContacts();
    QCoro::Task<void> syncChannels();
    QCoro::Task<void> syncMessages();

    // --- messaging
    // Stores the trimmed text as an outgoing message and sends it in the
    // background; a blank text does nothing.
    Q_INVOKABLE void sendMessage(const QString& text, const ConversationID& target);
    // Sends a failed outgoing message's text again as a new message; the
    // failed one leaves the conversation in the same save. False, changing
    // nothing, when it is missing, not a failed outgoing one, or blank.
    bool sendAgain(const QUuid& id, const ConversationID& target);
    // Clears the unread count; does nothing (no save) when it is already 0.
    Q_INVOKABLE void markConversationRead(const ConversationID& target);

    // --- notification levels and mentions of the user
    //
    // An unread message notifies when its conversation's level lets it
    // (Mentions: only one that mentions ownName); a conversation at Nothing
    // stays out of badgeCount.
    NotificationLevel notificationLevel(const ConversationID& target) const;
    // False, and nothing kept, for a channel slot that was never read.
    bool setNotificationLevel(const ConversationID& target, NotificationLevel level);
    // Nothing, or back from Nothing to the level it had.
    bool toggleMute(const ConversationID& target);
    // For QML: by conversation key and level name ("all", "mentions", "nothing").
    Q_INVOKABLE QString notificationLevelOf(const QString& conversationKey) const;
    Q_INVOKABLE bool setNotificationLevelOf(const QString& conversationKey, const QString& level);
    Q_INVOKABLE bool toggleMuteOf(const QString& conversationKey);
    const QString& ownName() const { return m_ownName; }
    // A mention in the text names ownName, ignoring case.
    bool mentionsMe(const QString& text) const;
    // Of the conversation's unread messages, those that mention ownName.
    qint64 unreadMentionCount(const ConversationID& target) const;
    qint64 badgeCount() const { return m_badgeCount; }
    // The conversation of `target`, created empty (and not saved) when missing.
    Conversation ensureConversation(const ConversationID& target);
    // The one way a message enters a conversation: stores, saves, counts it as
    // unread and notifies unless the user is viewing the conversation.
    void appendMessage(const ChatMessage& message, const ConversationID& target);
    QString conversationTitle(const ConversationID& target) const;

    // The first contact whose key starts with a whole 12-digit prefix; a
    // shorter prefix matches no contact.
    std::optional<Contact> contactForPrefix(const QString& prefix) const;
    std::optional<Contact> contactForKey(const QString& key) const;
    std::optional<Channel> channelForIndex(int index) const;

    // Change one message, if found; a real change is saved.
    void setDeliveryState(const QUuid& id, const ConversationID& target,
                          ChatMessage::DeliveryState state);
    void markSent(const QUuid& id, const ConversationID& target, std::uint32_t expectedAck,
                  std::uint32_t estimatedTimeoutMillis);
    void markDelivered(const QUuid& id, const ConversationID& target,
                       std::uint32_t roundTripMillis);
    void updateMessage(const QUuid& id, const ConversationID& target,
                       const std::function<void(ChatMessage&)>& change);

    // --- contacts, favourites and key verification
    //
    // The contact operations wait for the radio's ok; they throw MeshError
    // and change nothing locally when that fails.

    // Only the ASCII hex digits of `text`, in order ("AB:cd 01" -> "ABcd01").
    static QString cleanedHex(QStringView text);
    // Writes the contact (no known path, last advert now), then re-reads the
    // contact list; a failed re-read is not an error. A key that is not 64
    // hex digits once cleaned throws device(illegalArgument), sending nothing.
    QCoro::Task<void> addContact(QString publicKeyText, QString name,
                                 MeshProtocol::AdvertType type);
    // On ok the contact, its conversation (saved) and a selection of it go.
    // Favourites and verified keys keep the key.
    QCoro::Task<void> removeContact(Contact contact);
    // `contacts` keeps the old path until the radio reports the new one.
    QCoro::Task<void> resetPath(Contact contact);
    QCoro::Task<void> shareContact(Contact contact);
    Q_INVOKABLE void toggleFavorite(const QString& publicKey);
    // Remembers the contact's present name as the verified name of its key.
    void setVerified(const Contact& contact);
    // The same by key; false (nothing changed) without such a contact.
    Q_INVOKABLE bool setVerified(const QString& publicKey);
    Q_INVOKABLE void clearVerified(const QString& publicKey);
    // The key of another, verified contact whose verified name equals this
    // unverified contact's name under Unicode's full case folding ("STRASSE"
    // matches "Straße", which QString's case-insensitive compare misses).
    // None for an empty name or a verified contact.
    std::optional<QString> conflictingVerifiedKey(const Contact& contact) const;
    // For QML: the same by key; empty for no conflict or no such contact.
    Q_INVOKABLE QString conflictingVerifiedKey(const QString& publicKey) const;

    // --- channels
    //
    // `channels` stays sorted by slot; a slot is free when it is missing
    // there or has neither a name nor a non-zero secret byte.
    static constexpr auto publicChannelSecretHex = "5d0c2a7f91e4b8365fa0c7d21e9b4a83";
    static constexpr int channelSecretLength = 16;

    std::optional<int> firstFreeChannelIndex() const;
    // Writes `name` and the first 16 bytes of `secret` (zero-padded) to the
    // first free slot, then reads the slot back (a failed read-back is not an
    // error). No free slot: device(tableFull), nothing sent.
    QCoro::Task<void> addChannel(QString name, QByteArray secret);
    // Returns the new random secret as 32 lowercase hex digits.
    QCoro::Task<QString> createPrivateChannel(QString name);
    // `secretText` must hold exactly 32 hex digits once cleaned, else
    // device(illegalArgument) and nothing is sent.
    QCoro::Task<void> joinPrivateChannel(QString name, QString secretText);
    QCoro::Task<void> joinPublicChannel(QString name);
    // Joins "#<hashtag>" with the secret derived from that name.
    QCoro::Task<void> joinHashtagChannel(QString hashtag);
    // On ok the channel, its conversation (saved) and a selection of it go.
    // An index outside the slots throws device(illegalArgument), sending nothing.
    QCoro::Task<void> removeChannel(int index);
    // `text` without the horizontal white space at both ends (tabs and every
    // space character); line breaks stay.
    static QString trimmedBlanks(QStringView text);
    // Blanks trimmed, "#" put in front unless it is there; case is kept.
    static QString hashtagChannelName(QStringView hashtag);
    // The first 16 bytes of channelDigest (SHA-256) of the name's UTF-8 bytes.
    static QByteArray hashtagChannelSecret(const QString& channelName);
    static QByteArray channelDigest(QByteArrayView data);

    // --- device settings and actions
    //
    // Name and power changes throw MeshError when refused, and on ok re-read
    // the self info (a failed re-read is not an error); adverts and refreshes
    // never fail, and no answer leaves the state as it was.
    QCoro::Task<void> setDeviceName(QString name); // the UTF-8 bytes as given
    QCoro::Task<void> setTxPower(std::uint8_t dBm);
    QCoro::Task<void> sendAdvert(std::uint8_t kind); // 0 zero-hop, 1 flood
    // Writes the reboot command at once (when connected) and waits for nothing.
    Q_INVOKABLE void reboot();
    QCoro::Task<void> refreshBattery();
    // Statistics groups 0 (core), 1 (radio), 2 (packets), one after another;
    // a group that gets no answer keeps its old record.
    QCoro::Task<void> refreshDeviceStats();

    // --- QML entry points
    //
    // The operations above for QML. Each task never fails: then() gets
    // { ok, error (the MeshError's text, "" on success) }, plus `value` (the
    // secret) from createPrivateChannelQml. Contacts are given by key. Needs
    // QCoro::Qml::registerTypes() once.
    Q_INVOKABLE QCoro::QmlTask addContactQml(const QString& publicKeyText, const QString& name,
                                             int advertType = 1);
    Q_INVOKABLE QCoro::QmlTask removeContactQml(const QString& publicKey);
    Q_INVOKABLE QCoro::QmlTask resetPathQml(const QString& publicKey);
    Q_INVOKABLE QCoro::QmlTask shareContactQml(const QString& publicKey);
    Q_INVOKABLE QCoro::QmlTask createPrivateChannelQml(const QString& name);
    Q_INVOKABLE QCoro::QmlTask joinPrivateChannelQml(const QString& name,
                                                     const QString& secretText);
    Q_INVOKABLE QCoro::QmlTask joinPublicChannelQml(const QString& name);
    Q_INVOKABLE QCoro::QmlTask joinHashtagChannelQml(const QString& hashtag);
    Q_INVOKABLE QCoro::QmlTask removeChannelQml(int index);
    Q_INVOKABLE QCoro::QmlTask setDeviceNameQml(const QString& name);
    // Powers outside 0 to 255 give "Illegal argument" without a command.
    Q_INVOKABLE QCoro::QmlTask setTxPowerQml(int dBm);
    // 1 floods the advert; any other value sends it zero-hop.
    Q_INVOKABLE QCoro::QmlTask sendAdvertQml(int kind);
    Q_INVOKABLE QCoro::QmlTask refreshBatteryQml();
    Q_INVOKABLE QCoro::QmlTask refreshDeviceStatsQml();

Q_SIGNALS:
    void transportStateChanged();
    void discoveredDevicesChanged();
    void discoveredDeviceInserted(int row);
    void discoveredDeviceChanged(int row);
    void discoveredDevicesReset();
    void connectionErrorChanged();
    void isSyncingChanged();
    void selfInfoChanged();
    void deviceInfoChanged();
    void batteryChanged();
    void coreStatsChanged();
    void radioStatsChanged();
    void packetStatsChanged();
    void deviceTimeChanged();
    void contactsChanged();
    void contactInserted(int row);
    void contactChanged(int row);
    void contactRemoved(int row);
    void contactsReset();
    void channelsChanged();
    void channelInserted(int row);
    void channelChanged(int row);
    void channelRemoved(int row);
    void channelsReset();
    void conversationsChanged();
    void conversationAdded(const QString& key);
    void conversationRemoved(const QString& key);
    void conversationChanged(const QString& key);
    void conversationsReset();
    void messageAppended(const QString& key, int row);
    void messageChanged(const QString& key, int row);
    void messageRemoved(const QString& key, int row);
    void selectedConversationChanged();
    void favoritesChanged();
    void verifiedKeysChanged();
    void totalUnreadCountChanged();
    void badgeCountChanged();
    void ownNameChanged();
    // A conversation's level changed, or a channel slot now holds another
    // channel (whose level may differ).
    void notificationLevelsChanged();
    void historyErrorChanged();
    void historyWritableChanged();
    void historyLoadedChanged();
    void autoReconnectChanged();
    void isReconnectingChanged();
    void waitsForBluetoothChanged();
    void rememberedDeviceChanged();
    void radioAwayChanged();
    void nodeBookErrorChanged();
    void knownNamesChanged();
    // The contacts were put in another order (rows neither added nor removed).
    void contactsReordered();

private:
    // Link reports.
    void onTransportStateChanged(TransportState state);
    void onTransportDiscovered(const DiscoveredDevice& device);
    void onTransportConnected();
    void onTransportFailed(const QString& text);
    void onTransportReceived(const QByteArray& frame);
    void onTransportWriteFailed(const QByteArray& frame, const QString& text);
    void onBluetoothReturned();

    // Request correlation.
    bool resolvePending(const MeshEvent& event);
    void expireRequest(std::uint64_t id);
    void failAllPending(const MeshError& error);
    // Writes the next queued request when none is in flight.
    void writeNextRequest();
    // Settles the request in flight with `answer` (an error event fails it),
    // after writing the next one.
    void settleInFlight(const MeshEvent& answer);
    // The provisional answers were each one request early: hands each
    // request the answer after its own, the last one `own`.
    void correctProvisionalAnswers(const MeshEvent& own);
    // Ends every pause at once (false): the link they waited on is gone.
    void endAllPauses();
    // Waits `delay` on the clock; comes back early (false) when the link goes
    // or the controller is going away.
    OneShot<bool>::Awaiter pause(std::chrono::milliseconds delay);
    void applyEvent(const MeshEvent& event);

    // Handshake pieces.
    void ensureContactConversations();
    bool handshakeReadsTheQueue() const { return m_sync.handshakeReadsTheQueue(); }

    // Reconnection pieces.
    void setReconnectStep(ReconnectStep step);
    void rememberDevice(const DiscoveredDevice& device);
    void loadRememberedDevice();
    void beginReconnecting(std::chrono::milliseconds firstPause);
    void stopReconnecting();
    // The link is up: the attempt is over, its failures stay counted.
    void endReconnectAttempt();
    void scheduleReconnectAttempt(std::chrono::milliseconds delay);
    void waitForReconnectAttempt(std::chrono::milliseconds left);
    void attemptReconnect();
    void reconnectAttemptFailed();
    void cancelReconnectTimer();
    void onReconnectStateChanged(TransportState previous, TransportState state);
    void onReconnectDiscovered(const DiscoveredDevice& device);

    // Node book pieces.
    NodeBook currentBook() const;
    void applyBook(const NodeBook& book);
    // The connected radio said who it is: its book is the one in use.
    void radioIdentified(const QString& publicKey);
    void noteBookChange();
    void writeBookNow();
    void saveBook();
    void radioWentAway();
    void setRadioAway(bool away);
    void setNodeBookError(const QString& error);
    void readKnownNames();
    // Removes the contacts a finished list read did not bring, then sorts.
    void settleContactList();
    void removeChannelsFrom(int index);

    // Messaging pieces.
    QCoro::Task<void> transmitMessage(ChatMessage message, ConversationID target, QString text);
    void correctTransmission(const QUuid& id, const ConversationID& target, const MeshEvent& own);
    void handleIncomingMessage(const MeshEvent& event);
    // Files the messages that waited for a contact list read to end.
    void fileWaitingMessages();
    void confirmDelivery(std::uint32_t ackCode, std::uint32_t roundTripMillis);
    // After loading: a message left `sending` is failed, and each `sent` one
    // with its expected acknowledgement waits for its confirmation again.
    // Only the messages `unsettled` finds are looked at; skips the
    // conversations whose messages `known` shares.
    void resumeDeliveryTracking(const UnsettledMessages& unsettled,
                                const ConversationMap* known = nullptr);
    void forgetStaleAcknowledgements();
    void saveConversations();
    void refreshTotalUnreadCount();
    void updateBadge();

    // Notification level pieces.
    void loadNotificationLevels();
    void noteChannelSlot(int index, const QString& identity);
    void levelsChanged();
    // True when it changed; the caller updates the badge.
    bool refreshBadgeCount();
    void setOwnName(const QString& name);
    void recountUnreadMentions();

    // Contact, channel and device pieces.
    Contact contactOrKeyOnly(const QString& publicKey) const;
    QCoro::Task<void> sendContactCommand(QByteArray frame, std::chrono::milliseconds timeout);
    void removeContactsWithKey(const QString& publicKey);
    void dropConversation(const ConversationID& target);
    void saveVerifiedKeys();
    void storeChannelReadBack(int index, const Channel& channel);
    QCoro::Task<void> requerySelfInfo();

    // State writers that notify only on change.
    template <typename T>
    bool assign(T& field, T value, void (MeshController::*changed)());
    void setTransportState(TransportState state);
    void setConnectionError(const QString& text);
    void setIsSyncing(bool syncing);
    void setSelfInfo(std::optional<SelfInfo> info);
    void setDeviceInfo(std::optional<DeviceInfo> info);
    void setBattery(std::optional<BatteryInfo> info);
    void setDeviceTime(std::optional<QDateTime> time);
    void setDiscoveredDevices(QList<DiscoveredDevice> devices);
    void setContacts(QList<Contact> contacts);
    void setChannels(QList<Channel> channels);
    void upsertContact(const Contact& contact);

    void loadPreferences();
    void takeLoadedConversations(const QList<Conversation>& history,
                                 const UnsettledMessages& unsettled);
    void reloadConversations();
    void takeRereadConversations(const HistoryReread& reread);
    void setHistoryError(const QString& error);

    QPointer<MeshLink> m_link;
    QPointer<Clock> m_clock;
    QPointer<Notifier> m_notifier;
    ConversationStore* m_store = nullptr;
    QPointer<QSettings> m_settings;
    MapSettings* m_mapSettings;

    TransportState m_transportState = TransportState::disconnected;
    QList<DiscoveredDevice> m_discoveredDevices;
    QString m_connectionError;
    bool m_isSyncing = false;
    std::optional<SelfInfo> m_selfInfo;
    std::optional<DeviceInfo> m_deviceInfo;
    std::optional<BatteryInfo> m_battery;
    DeviceStats m_coreStats;
    DeviceStats m_radioStats;
    DeviceStats m_packetStats;
    std::optional<QDateTime> m_deviceTime;
    QList<Contact> m_contacts;
    QList<Channel> m_channels;
    ConversationMap m_conversations;
    std::optional<ConversationID> m_selectedConversation;
    QSet<QString> m_favorites;
    VerifiedKeyMap m_verifiedKeys;
    qint64 m_totalUnreadCount = 0;
    NotificationLevels m_levels;
    QList<QString> m_silencedKeys; // conversation keys at level Nothing
    qint64 m_badgeCount = 0;
    QString m_ownName;
    QHash<QString, qint64> m_unreadMentions; // by conversation key; no zeros
    QString m_historyError;
    bool m_historyWritable = true;
    bool m_historyLoaded = true;
    bool m_applicationActive = true;

    RequestQueue m_requests;
    SyncProgress m_sync;
    ReconnectionState m_reconnect;
    NodeBookState m_book;
    OutgoingMessages m_outgoing;
    // Set by the destructor: coroutines resumed from there end at once.
    bool m_closing = false;
};

template <typename T>
bool MeshController::assign(T& field, T value, void (MeshController::*changed)()) {
    if (field == value)
        return false;
    field = std::move(value);
    Q_EMIT(this->*changed)();
    return true;
}
