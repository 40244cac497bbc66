#pragma once

#include "model/device_records.h"
#include "transport/ble_adapter.h"
#include "transport/transport_state.h"
#include "ui/logic/localized_text.h"
#include "ui/logic/tint.h"

#include <QString>
#include <optional>

namespace ViewLogic {

// --- The connection pill in the main window's toolbar ---

// The radio's name, or "Talvenne" before its self information is known.
QString pillTitle(const std::optional<SelfInfo>& selfInfo);
// "78% · 4.00 V"; none without a reading that gives a percentage (0 mV gives none).
std::optional<QString> batteryLine(const std::optional<BatteryInfo>& battery,
                                   const QLocale& locale = QLocale());
// The pill's second line: the syncing text while syncing, else the battery
// line; none when there is nothing to show.
std::optional<LocalizedText> pillSecondLine(bool syncing, const std::optional<BatteryInfo>& battery,
                                            const QLocale& locale = QLocale());
// The pill's dot: green while connected, orange otherwise.
Tint pillDotTint(TransportState state);

// --- The connection view ---

// The status text under the empty radio list.
const char* connectionStatusKey(TransportState state);
// The scan button is a stop button while scanning.
bool scanButtonStops(TransportState state);
// The scan button cannot start a scan without a usable adapter.
bool scanButtonEnabled(TransportState state);
// A scan starts by itself when the adapter is ready and nothing is listed yet.
bool shouldStartScan(TransportState state, qsizetype discoveredCount);
// "-70 dBm".
QString rssiText(int rssi);

// Why Bluetooth cannot be used, as the connection screen tells it: a short
// title and a plain explanation of what to do. None while it can be used or
// before the platform has said anything.
struct BluetoothProblem {
    const char* titleKey;
    const char* detailKey;
    bool operator==(const BluetoothProblem&) const = default;
};
std::optional<BluetoothProblem> bluetoothProblem(BleAdapter::PowerState power, bool canPowerOn);

} // namespace ViewLogic
