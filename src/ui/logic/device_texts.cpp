#include "logic/device_texts.h"

#include "logic/localized_text.h"

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

QString voltageText(int milliVolts, const QLocale& locale) {
    return QLatin1Char('(') + quantity(milliVolts / 1000.0, 2, QStringLiteral("V"), locale) +
           QLatin1Char(')');
}

QList<StatisticRow> statisticRows(const DeviceStats& core, const DeviceStats& radio,
                                  const DeviceStats& packets, const QLocale& locale) {
    const QString dBm = QStringLiteral("dBm");
    QList<StatisticRow> rows;
    if (radio.lastRSSI)
        rows.append({"device.field.last.rssi", quantity(*radio.lastRSSI, 0, dBm, locale)});
    if (radio.lastSNR)
        rows.append(
            {"device.field.last.snr", quantity(*radio.lastSNR, 1, QStringLiteral("dB"), locale)});
    if (radio.noiseFloor)
        rows.append({"device.field.noise.floor", quantity(*radio.noiseFloor, 0, dBm, locale)});
    if (packets.packetsSent)
        rows.append({"device.field.packets.sent", locale.toString(*packets.packetsSent)});
    if (packets.packetsReceived)
        rows.append({"device.field.packets.received", locale.toString(*packets.packetsReceived)});
    if (core.uptimeSeconds)
        rows.append({"device.field.uptime", uptimeText(*core.uptimeSeconds)});
    return rows;
}

} // namespace ViewLogic
