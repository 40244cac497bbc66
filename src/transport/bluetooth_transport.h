#pragma once

#include "time/clock.h"
#include "transport/ble_adapter.h"
#include "transport/mesh_link.h"

#include <QBluetoothUuid>
#include <QPointer>
#include <QSet>
#include <chrono>
#include <optional>

// The link to a companion radio over Bluetooth LE, in the central role: scans
// for radios advertising the serial service, connects to the chosen one, finds
// the service and its two characteristics, switches notifications on, writes
// command frames and hands every notified frame on.
//
// A connection attempt that the platform leaves unanswered for
// `connectTimeout` is cancelled towards the platform and counts as a timed
// out attempt. One user action (connectToDevice) gets at most
// `maxConnectRetries` further attempts, however far each one gets. Every loss
// of the link, also by Bluetooth going off, is reported as `disconnected`
// before anything else, and a new connection starts with nothing of the last.
// A scan the user started resumes when Bluetooth comes back.
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

    static const QString fallbackName;
    static const QString serviceNotFoundText;
    static const QString characteristicsNotFoundText;
    static const QString failedToConnectText;
    static const QString pairingRemovedText;
    static const QString connectTimedOutText;

    // Neither the adapter nor the clock is owned; both must outlive the link.
    BluetoothTransport(BleAdapter* adapter, Clock* clock, QObject* parent = nullptr);
    ~BluetoothTransport() override;

    TransportState state() const override { return m_state; }

    void startScan() override;
    void stopScan() override;
    void connectToDevice(const DiscoveredDevice& device) override;
    void disconnectFromDevice() override;
    void write(const QByteArray& frame) override;

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
                                    const QString& error);
    void onValueUpdated(const QBluetoothUuid& characteristic, const QByteArray& value);

    // Schedules another connection attempt after a failure or a drop, when
    // the error is one worth retrying and retries are left.
    bool attemptReconnection(const std::optional<BleAdapter::Error>& error);
    void cancelPendingReconnection();
    // Asks the platform to connect, with the attempt's own timeout.
    void startAttempt(const QVariant& peripheral);
    void onConnectTimeout();
    void cancelConnectTimer();
    // Ends whatever connection there is because Bluetooth went away.
    void loseLinkWithPower();
    static std::optional<QString> failureText(const std::optional<BleAdapter::Error>& error);
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

    // Radios already logged in this scan, so a continuous scan does not flood
    // the log with one line per advertisement.
    QSet<QUuid> m_loggedDevices;
};
