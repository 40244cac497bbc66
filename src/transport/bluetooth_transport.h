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
// command frames and hands every notified frame on. It keeps no timeout of its
// own; a connection attempt lasts until the platform reports its outcome or
// disconnectFromDevice() is called.
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

    static const QString fallbackName;
    static const QString serviceNotFoundText;
    static const QString characteristicsNotFoundText;
    static const QString failedToConnectText;
    static const QString pairingRemovedText;

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
    static std::optional<QString> failureText(const std::optional<BleAdapter::Error>& error);
    void clearCharacteristics();

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

    // Radios already logged in this scan, so a continuous scan does not flood
    // the log with one line per advertisement.
    QSet<QUuid> m_loggedDevices;
};
