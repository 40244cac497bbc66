#include "logic/device_texts.h"

namespace ViewLogic {

BatterySymbol batterySymbol(int percentage) {
    if (percentage <= 12)
        return {QStringLiteral("battery.0percent"), Tint::red};
    if (percentage <= 19)
        return {QStringLiteral("battery.25percent"), Tint::red};
    if (percentage <= 37)
        return {QStringLiteral("battery.25percent"), Tint::green};
    if (percentage <= 62)
        return {QStringLiteral("battery.50percent"), Tint::green};
    if (percentage <= 87)
        return {QStringLiteral("battery.75percent"), Tint::green};
    return {QStringLiteral("battery.100percent"), Tint::green};
}

QString uptimeText(std::uint32_t seconds) {
    const std::uint32_t days = seconds / 86400;
    const std::uint32_t hours = (seconds % 86400) / 3600;
    const std::uint32_t minutes = (seconds % 3600) / 60;
    if (seconds >= 86400)
        return QStringLiteral("%1d %2h").arg(days).arg(hours);
    if (seconds >= 3600)
        return QStringLiteral("%1h %2m").arg(hours).arg(minutes);
    return QStringLiteral("%1m").arg(minutes);
}

QString voltageText(int milliVolts) {
    return QString::asprintf("(%.2f V)", milliVolts / 1000.0);
}

QList<StatisticRow> statisticRows(const DeviceStats& core, const DeviceStats& radio,
                                  const DeviceStats& packets) {
    QList<StatisticRow> rows;
    if (radio.lastRSSI)
        rows.append({"device.field.last.rssi", QStringLiteral("%1 dBm").arg(*radio.lastRSSI)});
    if (radio.lastSNR)
        rows.append({"device.field.last.snr", QString::asprintf("%.1f dB", *radio.lastSNR)});
    if (radio.noiseFloor)
        rows.append({"device.field.noise.floor", QStringLiteral("%1 dBm").arg(*radio.noiseFloor)});
    if (packets.packetsSent)
        rows.append({"device.field.packets.sent", QString::number(*packets.packetsSent)});
    if (packets.packetsReceived)
        rows.append({"device.field.packets.received", QString::number(*packets.packetsReceived)});
    if (core.uptimeSeconds)
        rows.append({"device.field.uptime", uptimeText(*core.uptimeSeconds)});
    return rows;
}

} // namespace ViewLogic
