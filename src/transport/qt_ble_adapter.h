#pragma once

#include "transport/ble_adapter.h"
#include "transport/bluez_probe.h"
#include "transport/pairing_prompt.h"

#include <QBluetoothAddress>
#include <QBluetoothDeviceDiscoveryAgent>
#include <QBluetoothDeviceInfo>
#include <QBluetoothLocalDevice>
#include <QHash>
#include <QLowEnergyController>
#include <QLowEnergyService>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <chrono>
#include <cstdint>

class BluezAgent;
class BluezDevice;
class SleepMonitor;

// BleAdapter over QtBluetooth on BlueZ. It only translates: the state machine
// lives in BluetoothTransport.
//
// Power comes from QBluetoothLocalDevice, and why there is none from a probe
// of the Bluetooth service over the system bus; scanning from a continuous
// low-energy QBluetoothDeviceDiscoveryAgent, with the radios BlueZ already
// knows listed at once. The peripheral handle is a QBluetoothDeviceInfo.
//
// The connection is BlueZ's own (BluezDevice): Qt 6.4 reports every error of
// BlueZ's Connect as "unknown error", so an attempt already in progress could
// not be told from a radio out of range. Once BlueZ has the radio connected
// and its services resolved, a QLowEnergyController takes it as it is and
// discovers the serial service (without reading values: some radios never
// answer the reads), and its service object hands on the notifications.
// Writes and the notification switch go to BlueZ directly, so that a refusal
// keeps BlueZ's reason ("Not paired"); pairing, forgetting and the MTU
// (which Qt 6.4 does not read on BlueZ) are BlueZ's as well. A
// controller is never deleted while BlueZ still has the radio connected: Qt
// would disconnect it, possibly after a newer attempt began.
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
    void forgetPeripheral(const QVariant& handle) override;
    void discoverServices(const QList<QBluetoothUuid>& services) override;
    void discoverCharacteristics(const QBluetoothUuid& service,
                                 const QList<QBluetoothUuid>& characteristics) override;
    void setNotify(const QBluetoothUuid& characteristic, bool enabled) override;
    void write(const QBluetoothUuid& characteristic, const QByteArray& value,
               bool withResponse) override;
    int mtu() const override;
    void pair() override;

    // The questions of the application's pairing agent, for the PIN sheet.
    PairingPrompt* pairingPrompt() { return &m_prompt; }

    // The identity of one radio: the platform's device UUID where it has one
    // (macOS), else a name-based UUID of the Bluetooth address (BlueZ, where
    // deviceUuid() is null), so the same radio keeps the same id.
    static QUuid stableId(const QBluetoothDeviceInfo& info);
    // How BlueZ's error of a call on the radio counts for the link.
    enum class Call { connect, gatt, pair };
    Q_ENUM(Call)
    static Error mapBluezError(Call call, const QString& name, const QString& text,
                               bool agentRegistered = true);

    static const QString connectFailedText;
    static const QString unknownRadioText;
    static const QString droppedDuringSetUpText;
    // How long an adapter may take to come on after powerOn().
    static constexpr std::chrono::milliseconds powerOnWait{2000};
    // The pause before asking again when BlueZ answers that a connection
    // attempt is already in progress.
    static constexpr std::chrono::milliseconds inProgressPause{250};

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
    // Reports the radios with the scanned service that BlueZ knows already.
    void reportKnownRadios();

    BluezDevice* deviceFor(const QString& address);
    // Runs `then` once BlueZ has answered every call made for `device`.
    void whenIdle(BluezDevice* device, std::function<void()> then);
    void requestConnect();
    void whenResolved();
    void takeConnection();
    void failAttempt(const Error& error);
    void loseLink(const std::optional<Error>& error);
    void onDeviceConnectedChanged(bool connected);
    void onDeviceServicesResolvedChanged(bool resolved);
    void onDeviceRemoved();
    void onSleepChanged(bool sleeping);

    void onControllerConnected();
    void onServiceStateChanged(QLowEnergyService::ServiceState state);
    void onServiceError(QLowEnergyService::ServiceError error);
    // Ends the link's objects; the controller waits (parked) until BlueZ no
    // longer has the radio connected before it goes.
    void dropController();
    void park(QLowEnergyController* controller);
    void dropService();
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
    // Addresses of radios BlueZ has a bond with, trusts or has connected.
    QSet<QString> m_knownAddresses;
    std::uint64_t m_scanGeneration = 0;

    PairingPrompt m_prompt;
    BluezAgent* m_pairingAgent = nullptr;
    SleepMonitor* m_sleep = nullptr;

    // Counts connections, so answers and reports for an earlier one are dropped.
    std::uint64_t m_generation = 0;
    QHash<QString, BluezDevice*> m_devices;
    QPointer<BluezDevice> m_device;
    QString m_name;
    // From connectToPeripheral until the link is up or the attempt ended.
    bool m_attempting = false;
    // BlueZ answered Connect; the services are not resolved yet.
    bool m_awaitingResolve = false;
    bool m_linkUp = false;
    bool m_pairing = false;

    QLowEnergyController* m_controller = nullptr;
    QList<QPointer<QLowEnergyController>> m_parked;
    QList<QBluetoothUuid> m_wantedServices;
    bool m_discoveringServices = false;
    // Service Changed: discovery waits until BlueZ has resolved the new services.
    bool m_servicesStale = false;
    bool m_discoverWhenResolved = false;

    QLowEnergyService* m_service = nullptr;
    QList<QBluetoothUuid> m_wantedCharacteristics;
    bool m_discoveringDetails = false;
};
