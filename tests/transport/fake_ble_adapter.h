#pragma once

#include "time/clock.h"
#include "transport/ble_adapter.h"

#include <QDateTime>
#include <QList>

// A BleAdapter that records every call the link makes and lets the test play
// the platform's reports by hand. Connection attempts are stamped with the
// clock's time so retry timing can be checked.
class FakeBleAdapter final : public BleAdapter {
    Q_OBJECT
public:
    struct Write {
        QBluetoothUuid characteristic;
        QByteArray value;
        bool withResponse;
        bool operator==(const Write&) const = default;
    };

    explicit FakeBleAdapter(Clock* clock)
        : m_clock(clock) {}

    PowerState power = PowerState::unknown;
    bool powerOnAllowed = false;
    int powerOnRequests = 0;

    QList<QBluetoothUuid> scans;
    int scanStops = 0;
    QList<QVariant> connects;
    QList<QDateTime> connectTimes;
    int cancels = 0;
    QList<QList<QBluetoothUuid>> serviceDiscoveries;
    QList<QBluetoothUuid> characteristicDiscoveries;
    QList<QPair<QBluetoothUuid, bool>> notifySwitches;
    QList<Write> writes;
    int mtuValue = -1;
    int pairRequests = 0;
    QList<QVariant> forgets;

    PowerState powerState() const override { return power; }
    bool canPowerOn() const override { return power == PowerState::poweredOff && powerOnAllowed; }
    void powerOn() override { ++powerOnRequests; }
    void startScan(const QBluetoothUuid& service) override { scans.append(service); }
    void stopScan() override { ++scanStops; }
    void connectToPeripheral(const QVariant& handle) override {
        connects.append(handle);
        connectTimes.append(m_clock->now());
    }
    void cancelConnection() override { ++cancels; }
    void discoverServices(const QList<QBluetoothUuid>& services) override {
        serviceDiscoveries.append(services);
    }
    void discoverCharacteristics(const QBluetoothUuid& service,
                                 const QList<QBluetoothUuid>&) override {
        characteristicDiscoveries.append(service);
    }
    void setNotify(const QBluetoothUuid& characteristic, bool enabled) override {
        notifySwitches.append({characteristic, enabled});
    }
    void write(const QBluetoothUuid& characteristic, const QByteArray& value,
               bool withResponse) override {
        writes.append({characteristic, value, withResponse});
    }
    int mtu() const override { return mtuValue; }
    void pair() override { ++pairRequests; }
    void forgetPeripheral(const QVariant& handle) override { forgets.append(handle); }

    // The platform's side.
    void reportPower(PowerState state) {
        power = state;
        Q_EMIT powerStateChanged(state);
    }
    void advertise(const QUuid& id, const QString& localName, const QString& platformName, int rssi,
                   const QVariant& handle = {}) {
        Q_EMIT discovered({id, localName, platformName, rssi, {}, handle});
    }

private:
    Clock* m_clock;
};
