#include "ui/logic/signal_bars.h"

namespace ViewLogic {

SignalLevel signalLevel(int rssi) {
    if (rssi < -95)
        return {1, Tint::red};
    if (rssi <= -81)
        return {2, Tint::orange};
    if (rssi <= -66)
        return {3, Tint::yellow};
    return {4, Tint::green};
}

} // namespace ViewLogic
