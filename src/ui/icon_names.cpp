#include "ui/icon_names.h"

#include <QHash>

// Icons are Tabler Icons (MIT, resources/icons/LICENSE), one SVG per system
// symbol name the views use. Every file draws in `currentColor`, so QML tints
// them with the icon colour of Qt Quick Controls (`icon.source` plus
// `icon.color` on buttons, or an `IconImage` with `color`); no shader effect is
// needed.

namespace {

const QHash<QString, QString>& iconFiles() {
    static const QHash<QString, QString> files{
        {QStringLiteral("antenna.radiowaves.left.and.right"), QStringLiteral("broadcast.svg")},
        {QStringLiteral("arrow.clockwise"), QStringLiteral("refresh.svg")},
        {QStringLiteral("arrow.down"), QStringLiteral("arrow-down.svg")},
        {QStringLiteral("arrow.left.and.right"), QStringLiteral("arrows-horizontal.svg")},
        {QStringLiteral("arrow.triangle.2.circlepath"), QStringLiteral("reload.svg")},
        {QStringLiteral("arrow.triangle.swap"), QStringLiteral("arrows-exchange.svg")},
        {QStringLiteral("arrow.up.circle.fill"), QStringLiteral("circle-arrow-up-filled.svg")},
        {QStringLiteral("arrow.up.right"), QStringLiteral("arrow-up-right.svg")},
        {QStringLiteral("arrow.up.right.circle.fill"),
         QStringLiteral("circle-arrow-up-right-filled.svg")},
        {QStringLiteral("at"), QStringLiteral("at.svg")},
        {QStringLiteral("battery.0percent"), QStringLiteral("battery.svg")},
        {QStringLiteral("battery.100percent"), QStringLiteral("battery-4.svg")},
        {QStringLiteral("battery.25percent"), QStringLiteral("battery-1.svg")},
        {QStringLiteral("battery.50percent"), QStringLiteral("battery-2.svg")},
        {QStringLiteral("battery.75percent"), QStringLiteral("battery-3.svg")},
        {QStringLiteral("bell"), QStringLiteral("bell.svg")},
        {QStringLiteral("bell.slash"), QStringLiteral("bell-off.svg")},
        {QStringLiteral("bubble.left.and.bubble.right"), QStringLiteral("messages.svg")},
        {QStringLiteral("bubble.left.and.bubble.right.fill"),
         QStringLiteral("messages-filled.svg")},
        {QStringLiteral("bubble.left.fill"), QStringLiteral("message-filled.svg")},
        {QStringLiteral("calendar"), QStringLiteral("calendar.svg")},
        {QStringLiteral("checkmark"), QStringLiteral("check.svg")},
        {QStringLiteral("checkmark.circle.fill"), QStringLiteral("circle-check-filled.svg")},
        {QStringLiteral("checkmark.seal"), QStringLiteral("rosette-discount-check.svg")},
        {QStringLiteral("checkmark.seal.fill"),
         QStringLiteral("rosette-discount-check-filled.svg")},
        {QStringLiteral("chevron.right"), QStringLiteral("chevron-right.svg")},
        {QStringLiteral("chevron.up.circle"), QStringLiteral("circle-chevron-up.svg")},
        {QStringLiteral("clock"), QStringLiteral("clock.svg")},
        {QStringLiteral("cpu"), QStringLiteral("cpu.svg")},
        {QStringLiteral("cpu.fill"), QStringLiteral("cpu-2.svg")},
        {QStringLiteral("doc.on.doc"), QStringLiteral("copy.svg")},
        {QStringLiteral("dot.radiowaves.left.and.right"), QStringLiteral("access-point.svg")},
        {QStringLiteral("exclamationmark.shield.fill"), QStringLiteral("shield-exclamation.svg")},
        {QStringLiteral("exclamationmark.triangle.fill"),
         QStringLiteral("alert-triangle-filled.svg")},
        {QStringLiteral("globe"), QStringLiteral("world.svg")},
        {QStringLiteral("hourglass"), QStringLiteral("hourglass.svg")},
        {QStringLiteral("info.circle"), QStringLiteral("info-circle.svg")},
        {QStringLiteral("key.fill"), QStringLiteral("key-filled.svg")},
        {QStringLiteral("location.north.circle"), QStringLiteral("compass.svg")},
        {QStringLiteral("location.fill"), QStringLiteral("map-pin-filled.svg")},
        {QStringLiteral("magnifyingglass"), QStringLiteral("search.svg")},
        {QStringLiteral("map"), QStringLiteral("map.svg")},
        {QStringLiteral("minus"), QStringLiteral("minus.svg")},
        {QStringLiteral("number"), QStringLiteral("hash.svg")},
        {QStringLiteral("number.circle"), QStringLiteral("circle-hash.svg")},
        {QStringLiteral("paperplane"), QStringLiteral("send.svg")},
        {QStringLiteral("pencil"), QStringLiteral("pencil.svg")},
        {QStringLiteral("person.badge.plus"), QStringLiteral("user-plus.svg")},
        {QStringLiteral("person.fill"), QStringLiteral("user-filled.svg")},
        {QStringLiteral("plus"), QStringLiteral("plus.svg")},
        {QStringLiteral("point.3.connected.trianglepath.dotted"),
         QStringLiteral("topology-ring-3.svg")},
        {QStringLiteral("power"), QStringLiteral("power.svg")},
        {QStringLiteral("questionmark.circle"), QStringLiteral("help-circle.svg")},
        {QStringLiteral("scope"), QStringLiteral("focus-centered.svg")},
        {QStringLiteral("seal.slash"), QStringLiteral("rosette-discount-check-off.svg")},
        {QStringLiteral("sensor.fill"), QStringLiteral("gauge-filled.svg")},
        {QStringLiteral("shield.lefthalf.filled"), QStringLiteral("shield-half-filled.svg")},
        {QStringLiteral("shippingbox"), QStringLiteral("package.svg")},
        {QStringLiteral("square.3.layers.3d"), QStringLiteral("stack-2.svg")},
        {QStringLiteral("square.and.arrow.up"), QStringLiteral("upload.svg")},
        {QStringLiteral("star"), QStringLiteral("star.svg")},
        {QStringLiteral("star.fill"), QStringLiteral("star-filled.svg")},
        {QStringLiteral("star.slash"), QStringLiteral("star-off.svg")},
        {QStringLiteral("stop.fill"), QStringLiteral("player-stop-filled.svg")},
        {QStringLiteral("timer"), QStringLiteral("stopwatch.svg")},
        {QStringLiteral("trash"), QStringLiteral("trash.svg")},
        {QStringLiteral("wifi.slash"), QStringLiteral("wifi-off.svg")},
    };
    return files;
}

} // namespace

QString iconSource(const QString& symbolName) {
    const QString file = iconFiles().value(symbolName);
    return file.isEmpty() ? QString() : QStringLiteral("qrc:/icons/") + file;
}

QString iconResourcePath(const QString& symbolName) {
    const QString file = iconFiles().value(symbolName);
    return file.isEmpty() ? QString() : QStringLiteral(":/icons/") + file;
}

QStringList iconSymbolNames() {
    QStringList names = iconFiles().keys();
    names.sort();
    return names;
}
