#include "logic/node_details.h"

#include "logic/node_symbols.h"

#include <QUrlQuery>
#include <cmath>

namespace ViewLogic {

RoutingRow routingRow(int outPathLength) {
    const RouteSymbol route = routeSymbol(outPathLength);
    return {outPathLength < 0 ? "node.detail.routing.flood" : "node.detail.routing.direct",
            route.symbol, route.tint};
}

QString pathLengthText(int outPathLength) {
    const char* key = outPathLength == 1 ? "node.detail.path.length.value"
                                         : "node.detail.path.length.value.plural";
    return qtTrId(key).arg(outPathLength);
}

bool hasPosition(double latitude, double longitude) {
    return latitude != 0 || longitude != 0;
}

QString coordinateText(double latitude, double longitude, const QLocale& locale) {
    return QStringLiteral("%1° %2, %3° %4")
        .arg(locale.toString(std::abs(latitude), 'f', 5),
             latitude < 0 ? QStringLiteral("S") : QStringLiteral("N"),
             locale.toString(std::abs(longitude), 'f', 5),
             longitude < 0 ? QStringLiteral("W") : QStringLiteral("E"));
}

QUrl mapUrl(double latitude, double longitude) {
    const QString lat = QString::number(latitude, 'f', 6);
    const QString lon = QString::number(longitude, 'f', 6);
    QUrl url(QStringLiteral("https://www.openstreetmap.org/"));
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("mlat"), lat);
    query.addQueryItem(QStringLiteral("mlon"), lon);
    url.setQuery(query);
    url.setFragment(QStringLiteral("map=15/%1/%2").arg(lat, lon));
    return url;
}

} // namespace ViewLogic
