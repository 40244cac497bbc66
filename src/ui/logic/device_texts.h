#pragma once

#include "logic/tint.h"
#include "model/device_records.h"

#include <QList>
#include <QLocale>
#include <QString>
#include <cstdint>

// The texts and symbols of the device pane.
namespace ViewLogic {

struct BatterySymbol {
    QString symbol;
    Tint tint = Tint::green;

    bool operator==(const BatterySymbol&) const = default;
};
// By the battery's percentage, 0 to 100.
BatterySymbol batterySymbol(int percentage);

// "1d 1h", "1h 1m" or "0m".
QString uptimeText(std::uint32_t seconds);

// "(4.00 V)", in German "(4,00 V)".
QString voltageText(int milliVolts, const QLocale& locale = QLocale());

// One statistics row: its label key and its value as shown.
struct StatisticRow {
    QByteArray labelKey;
    QString value;

    bool operator==(const StatisticRow&) const = default;
};
// The rows whose values are present, in the pane's order.
QList<StatisticRow> statisticRows(const DeviceStats& core, const DeviceStats& radio,
                                  const DeviceStats& packets, const QLocale& locale = QLocale());

} // namespace ViewLogic
