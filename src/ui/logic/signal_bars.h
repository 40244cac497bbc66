#pragma once

#include "ui/logic/tint.h"

namespace ViewLogic {

// How many of the four signal bars are lit for a received strength, and in
// which colour: 1 red below -95 dBm, 2 orange up to -81, 3 yellow up to -66,
// 4 green from -65.
struct SignalLevel {
    int litBars = 0;
    Tint tint = Tint::secondary;

    bool operator==(const SignalLevel&) const = default;
};

SignalLevel signalLevel(int rssi);

inline constexpr int signalBarCount = 4;
// Height in points of bar 1..4 (6, 9, 12, 15).
constexpr int signalBarHeight(int bar) {
    return 3 * bar + 3;
}

} // namespace ViewLogic
