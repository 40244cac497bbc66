#pragma once

#include "transport/ble_adapter.h"
#include "transport/bluez_probe.h"

#include <QBluetoothAddress>
#include <QBluetoothDeviceDiscoveryAgent>
#include <QBluetoothDeviceInfo>
#include <QBluetoothLocalDevice>
#include <QLowEnergyController>
#include <QLowEnergyService>
#include <QSet>
#include <chrono>
#include <cstdint>

// BleAdapter over QtBluetooth (BlueZ on Linux). It only translates: the
// state machine lives in BluetoothTransport.
//
// Power comes from QBluetoothLocalDevice, and why there is none from a probe
// of the Bluetooth service over the system bus; scanning from a continuous
// low-energy QBluetoothDeviceDiscoveryAgent, the connection from one
// QLowEnergyController and the serial service from one QLowEnergyService.
// The peripheral handle is the QBluetoothDeviceInfo of the advertisement.
class QtBleAdapter final : public BleAdapter {
    Q_OBJECT
public:
    explicit QtBleAdapter(QObject* parent = nullptr);
    ~QtBleAdapter() override;

    PowerState powerState() const override { return m_power; }
    bool canPowerOn() const override;
    void powerOn() override;

    void startScan(const QBluetoothUuid& service) override;
    void stopScan() override;
    void connectToPeripheral(const QVariant& handle) override;
    void cancelConnection() override;
    void discoverServices(const QList<QBluetoothUuid>& services) override;
    void discoverCharacteristics(const QBluetoothUuid& service,
                                 const QList<QBluetoothUuid>& characteristics) override;
    void setNotify(const QBluetoothUuid& characteristic, bool enabled) override;
    void write(const QBluetoothUuid& characteristic, const QByteArray& value,
               bool withResponse) override;

    // The identity of one radio: the platform's device UUID where it has one
    // (macOS), else a name-based UUID of the Bluetooth address (BlueZ, where
    // deviceUuid() is null), so the same radio keeps the same id.
    static QUuid stableId(const QBluetoothDeviceInfo& info);
    // How Qt's controller errors count for the link; `linkUp` tells whether
    // the controller had reported connected() before the error.
    static Error mapControllerError(QLowEnergyController::Error error, bool linkUp,
                                    const QString& text);

    static const QString connectFailedText;
    // How long an adapter may take to come on after powerOn().
    static constexpr std::chrono::milliseconds powerOnWait{2000};

private:
    void onProbeFinished(BluezProbe::Finding finding);
    // Makes a local device for the service's adapter, if it has none that works.
    void ensureLocalDevice();
    PowerState hostPowerState() const;
    void setPowerState(PowerState power);
    void onHostModeChanged();
    // Qt reports an advertisement through both of its signals; `update` marks
    // the second, which is dropped when the first came in the same turn.
    void onDeviceSeen(const QBluetoothDeviceInfo& info, bool update);
    void onScanError(QBluetoothDeviceDiscoveryAgent::Error error);
    void onScanFinished();
    void dropAgent();

    void onControllerConnected();
    void onControllerError(QLowEnergyController::Error error);
    void onControllerDisconnected();
    void onServiceStateChanged(QLowEnergyService::ServiceState state);
    void onServiceError(QLowEnergyService::ServiceError error);
    void onDescriptorWritten(const QLowEnergyDescriptor& descriptor, const QByteArray& value);

    // Forgets the connection without reporting anything more about it.
    void dropController();
    void reportCharacteristics();
    // Calls `report` on the next turn of the event loop unless another
    // connection has started by then.
    void reportLater(std::function<void()> report);

    BluezProbe* m_probe = nullptr;
    QBluetoothLocalDevice* m_localDevice = nullptr;
    PowerState m_power = PowerState::unknown;
    bool m_powerOnRefused = false;

    QBluetoothDeviceDiscoveryAgent* m_agent = nullptr;
    bool m_agentStopping = false;
    QBluetoothUuid m_scanService;
    // Addresses reported in this turn of the event loop.
    QSet<quint64> m_seenThisTurn;

    QLowEnergyController* m_controller = nullptr;
    QBluetoothAddress m_address;
    // Counts connections, so reports queued for an earlier one are dropped.
    std::uint64_t m_generation = 0;
    bool m_linkUp = false;
    std::optional<Error> m_lastError;
    QList<QBluetoothUuid> m_wantedServices;
    bool m_discoveringServices = false;

    QLowEnergyService* m_service = nullptr;
    QList<QBluetoothUuid> m_wantedCharacteristics;
    bool m_discoveringDetails = false;
    QBluetoothUuid m_pendingNotify;
};
