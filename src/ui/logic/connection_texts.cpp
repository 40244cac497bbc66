#include "ui/logic/connection_texts.h"

namespace ViewLogic {

QString pillTitle(const std::optional<SelfInfo>& selfInfo) {
    return selfInfo ? selfInfo->name : QStringLiteral("Talvenne");
}

std::optional<QString> batteryLine(const std::optional<BatteryInfo>& battery,
                                   const QLocale& locale) {
    if (!battery)
        return std::nullopt;
    const std::optional<int> percent = battery->percentage();
    if (!percent)
        return std::nullopt;
    return locale.toString(*percent) + locale.percent() + QStringLiteral(" \u00B7 ") +
           quantity(battery->milliVolts / 1000.0, 2, QStringLiteral("V"), locale);
}

std::optional<LocalizedText> pillSecondLine(bool syncing, const std::optional<BatteryInfo>& battery,
                                            const QLocale& locale) {
    if (syncing)
        return LocalizedText::fromKey("main.connection.syncing");
    if (const std::optional<QString> line = batteryLine(battery, locale))
        return LocalizedText::literal(*line);
    return std::nullopt;
}

Tint pillDotTint(TransportState state) {
    return state == TransportState::connected ? Tint::green : Tint::orange;
}

const char* connectionStatusKey(TransportState state) {
    switch (state) {
    case TransportState::poweredOff:
        return "connection.empty.powered.off";
    case TransportState::unauthorized:
        return "connection.empty.unauthorized";
    case TransportState::scanning:
        return "connection.empty.scanning";
    case TransportState::connecting:
        return "connection.empty.connecting";
    case TransportState::ready:
    case TransportState::connected:
    case TransportState::disconnected:
        break;
    }
    return "connection.empty.preparing";
}

bool scanButtonStops(TransportState state) {
    return state == TransportState::scanning;
}

bool scanButtonEnabled(TransportState state) {
    return state != TransportState::poweredOff && state != TransportState::unauthorized;
}

bool shouldStartScan(TransportState state, qsizetype discoveredCount) {
    return state == TransportState::ready && discoveredCount == 0;
}

QString rssiText(int rssi) {
    return QString::number(rssi) + QStringLiteral(" dBm");
}

std::optional<BluetoothProblem> bluetoothProblem(BleAdapter::PowerState power, bool canPowerOn) {
    using Power = BleAdapter::PowerState;
    switch (power) {
    case Power::unknown:
    case Power::poweredOn:
        return std::nullopt;
    case Power::noService:
        return BluetoothProblem{"connection.bluetooth.no.service",
                                "connection.bluetooth.no.service.detail"};
    case Power::noAdapter:
        return BluetoothProblem{"connection.bluetooth.no.adapter",
                                "connection.bluetooth.no.adapter.detail"};
    case Power::poweredOff:
        return BluetoothProblem{"connection.bluetooth.off",
                                canPowerOn ? "connection.bluetooth.off.detail"
                                           : "connection.bluetooth.off.detail.settings"};
    case Power::unauthorized:
        return BluetoothProblem{"connection.bluetooth.not.permitted",
                                "connection.bluetooth.not.permitted.detail"};
    }
    return std::nullopt;
}

} // namespace ViewLogic
