#pragma once

#include "time/clock.h"
#include "transport/ble_adapter.h"
#include "transport/mesh_link.h"

#include <QBluetoothUuid>
#include <QHash>
#include <QPointer>
#include <QSet>
#include <chrono>
#include <optional>

// The link to a companion radio over Bluetooth LE, in the central role: scans
// for radios advertising the serial service, connects to the chosen one, finds
// the service and its two characteristics, switches notifications on, writes
// command frames and hands every notified frame on.
//
// A connection attempt that does not give a usable link within
// `connectTimeout` (the platform's connection, then the set-up) is cancelled
// towards the platform and counts as a timed out attempt; the time the user
// spends on a PIN does not count. One user action (connectToDevice) gets at
// most `maxConnectRetries` further attempts, however far each one gets. A
// set-up that finds the radio unusable (no serial service, a characteristic
// missing, notifications refused) ends the attempt and lets the radio go.
// Every loss of the link, also by Bluetooth going off or the computer going
// to sleep, is reported as `disconnected` before anything else, and a new
// connection starts with nothing of the last. Nothing is scanned for while
// a connection is being made or held. A scan the user started resumes when
// Bluetooth comes back.
//
// Pairing: when the radio refuses to switch notifications on or to take a
// frame until it is paired, the link pairs once (the user may be asked for
// a PIN) and goes on after it, or ends the attempt with a text that says what
// went wrong; it never pairs twice for one attempt. Frames written meanwhile,
// and while the radio's services are discovered again after they changed,
// wait and go out in order afterwards.
//
// The MTU: a notification carries at most MTU - 3 bytes, and a radio splits
// a longer frame into notifications of exactly that size followed by a
// shorter one. The link joins them into the frame again; a full-sized piece
// that nothing follows within `pieceWait` was a whole frame. A frame longer
// than MTU - 3 goes out as one long write where the radio takes writes with
// a response, and fails with a text that says so where it does not.
class BluetoothTransport final : public MeshLink {
    Q_OBJECT
public:
    static const QBluetoothUuid serviceUUID;
    // Commands to the radio.
    static const QBluetoothUuid rxUUID;
    // Frames from the radio.
    static const QBluetoothUuid txUUID;

    static constexpr int maxConnectRetries = 3;
    static constexpr std::chrono::milliseconds retryDelay{400};
    static constexpr std::chrono::milliseconds connectTimeout{12000};
    static constexpr std::chrono::milliseconds pieceWait{250};
    // ATT's own overhead in every write and notification.
    static constexpr int attOverhead = 3;

    static const QString fallbackName;
    static const QString serviceNotFoundText;
    static const QString characteristicsNotFoundText;
    static const QString failedToConnectText;
    static const QString pairingRemovedText;
    static const QString connectTimedOutText;
    static const QString droppedDuringSetUpText;
    static const QString bluetoothOffText;
    static const QString pinRefusedText;
    static const QString pairingCancelledText;
    static const QString noPinAgentText;
    static const QString refusedWhilePairedText;
    static const QString servicesLostText;
    // "A command of N bytes does not fit ..." for a frame and an MTU.
    static QString frameTooLongText(qsizetype frameSize, int mtu);
    // What the user reads when the radio refused a frame.
    static QString writeRefusedText(qsizetype frameSize, int mtu, const QString& reason);

    // Neither the adapter nor the clock is owned; both must outlive the link.
    BluetoothTransport(BleAdapter* adapter, Clock* clock, QObject* parent = nullptr);
    ~BluetoothTransport() override;

    TransportState state() const override { return m_state; }
    // The negotiated MTU of the connection; -1 while unknown.
    int mtu() const { return m_mtu; }

    void startScan() override;
    void stopScan() override;
    void connectToDevice(const DiscoveredDevice& device) override;
    void disconnectFromDevice() override;
    void write(const QByteArray& frame) override;
    void forgetDevice(const QUuid& id) override;

private:
    void setState(TransportState state);

    void onPowerStateChanged(BleAdapter::PowerState power);
    void onDiscovered(const BleAdapter::Advertisement& advertisement);
    void onScanEnded(const QString& error);
    void onPeripheralConnected();
    void onFailedToConnect(const std::optional<BleAdapter::Error>& error);
    void onPeripheralDisconnected(const std::optional<BleAdapter::Error>& error);
    void onServicesDiscovered(const QList<QBluetoothUuid>& services);
    void onCharacteristicsDiscovered(const QBluetoothUuid& service,
                                     const QList<BleAdapter::Characteristic>& characteristics);
    void onNotificationStateChanged(const QBluetoothUuid& characteristic, bool isNotifying,
                                    const std::optional<BleAdapter::Error>& error);
    void onValueUpdated(const QBluetoothUuid& characteristic, const QByteArray& value);
    void onWriteFailed(const QBluetoothUuid& characteristic, const QByteArray& value,
                       const BleAdapter::Error& error);
    void onMtuChanged(int mtu);
    void onPairingFinished(const std::optional<BleAdapter::Error>& error);
    void onServicesChanged();
    void onSleepChanged(bool sleeping);

    // Schedules another connection attempt after a failure or a drop, when
    // the error is one worth retrying and retries are left.
    bool attemptReconnection(const std::optional<BleAdapter::Error>& error);
    void cancelPendingReconnection();
    // Asks the platform to connect, with the attempt's own timeout.
    void startAttempt(const QVariant& peripheral);
    void startConnectTimer();
    void onConnectTimeout();
    void cancelConnectTimer();
    // Ends whatever connection there is because Bluetooth went away.
    void loseLinkWithPower();
    static std::optional<QString> failureText(const std::optional<BleAdapter::Error>& error);
    // The set-up found the radio unusable, or pairing failed: the radio is
    // let go and the user reads why.
    void giveUp(const QString& text);
    void startPairing();
    void holdRefused(const QByteArray& frame);
    void sendHeldFrames();
    void flushPieces();
    void clearCharacteristics();
    void endLink();

    BleAdapter* m_adapter;
    QPointer<Clock> m_clock;

    TransportState m_state = TransportState::disconnected;
    // The handle of the radio being connected or connected.
    std::optional<QVariant> m_peripheral;
    std::optional<BleAdapter::Characteristic> m_rxCharacteristic;
    std::optional<BleAdapter::Characteristic> m_txCharacteristic;
    std::optional<DiscoveredDevice> m_connectingDevice;
    int m_connectRetries = 0;
    std::optional<Clock::TimerId> m_reconnectTimer;
    std::optional<Clock::TimerId> m_connectTimer;
    // The user started a scan and has not stopped it.
    bool m_wantsScan = false;
    // The platform connected: discovery and notifications are under way.
    bool m_settingUp = false;
    int m_mtu = -1;
    bool m_pairing = false;
    // Pairing happens at most once per attempt.
    bool m_pairedThisAttempt = false;
    // The radio's services changed; they are being discovered again.
    bool m_rediscovering = false;
    // Frames written while pairing or rediscovering, in order: first those
    // the radio refused (m_refusedHeld of them), then those written since.
    QList<QByteArray> m_heldFrames;
    qsizetype m_refusedHeld = 0;
    // Full-sized notifications of a frame still coming in.
    QByteArray m_pieces;
    std::optional<Clock::TimerId> m_piecesTimer;
    bool m_asleep = false;
    // The last power report; none before the first.
    std::optional<BleAdapter::PowerState> m_power;
    // The handle of every radio reported, for forgetDevice.
    QHash<QUuid, QVariant> m_handles;

    // Radios already logged in this scan, so a continuous scan does not flood
    // the log with one line per advertisement.
    QSet<QUuid> m_loggedDevices;
};
