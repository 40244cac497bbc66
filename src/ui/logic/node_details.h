#pragma once

#include "logic/tint.h"

#include <QByteArray>
#include <QLocale>
#include <QString>
#include <QUrl>

// The facts the node detail and the chat info pane show about one node.
namespace ViewLogic {

// Routing: flood (orange) without a known path, direct (green) with one.
struct RoutingRow {
    QByteArray valueKey;
    QString symbol;
    Tint tint = Tint::green;

    bool operator==(const RoutingRow&) const = default;
};
RoutingRow routingRow(int outPathLength);

// "1 hop", "0 hops", "3 hops".
QString pathLengthText(int outPathLength);

// A node has a position unless both coordinates are exactly zero.
bool hasPosition(double latitude, double longitude);
// "60.17116° N, 24.94146° E", in German "60,17116° N, 24,94146° E".
QString coordinateText(double latitude, double longitude, const QLocale& locale = QLocale());
// The position on openstreetmap.org, with a marker.
QUrl mapUrl(double latitude, double longitude);

} // namespace ViewLogic
