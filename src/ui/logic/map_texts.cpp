#include "logic/map_texts.h"

#include "map/geodesy.h"

#include <QLocale>
#include <cmath>

namespace ViewLogic {

QString distanceText(double metres) {
    const QLocale locale;
    if (!std::isfinite(metres) || metres < 0)
        return {};
    if (metres < 100)
        return qtTrId("map.distance.metres").arg(locale.toString(std::round(metres), 'f', 0));
    if (metres < 995)
        return qtTrId("map.distance.metres")
            .arg(locale.toString(std::round(metres / 10) * 10, 'f', 0));
    const double km = metres / 1000;
    if (km < 9.95)
        return qtTrId("map.distance.kilometres").arg(locale.toString(km, 'f', 1));
    return qtTrId("map.distance.kilometres").arg(locale.toString(std::round(km), 'f', 0));
}

QString scaleText(double metres) {
    const QLocale locale;
    if (metres < 1000)
        return qtTrId("map.distance.metres").arg(locale.toString(metres, 'f', 0));
    return qtTrId("map.distance.kilometres").arg(locale.toString(metres / 1000, 'f', 0));
}

QString compassText(int point) {
    static const char* const keys[] = {"map.compass.n",  "map.compass.ne", "map.compass.e",
                                       "map.compass.se", "map.compass.s",  "map.compass.sw",
                                       "map.compass.w",  "map.compass.nw"};
    return qtTrId(keys[((point % 8) + 8) % 8]);
}

QString distanceAndBearingText(double metres, double bearingDegrees) {
    // Closer than a few metres there is no direction worth a name.
    if (metres < 5)
        return distanceText(metres);
    return qtTrId("map.distance.bearing")
        .arg(distanceText(metres), compassText(Map::compassPoint(bearingDegrees)));
}

QString markerSpokenText(const QString& name, const QString& typeName, std::optional<double> metres,
                         std::optional<double> bearingDegrees) {
    if (!metres)
        return qtTrId("map.marker.spoken").arg(name, typeName);
    return qtTrId("map.marker.spoken.distance")
        .arg(name, typeName, distanceAndBearingText(*metres, bearingDegrees.value_or(0)));
}

QString groupSpokenText(int count, const QString& names) {
    return qtTrId("map.marker.group.spoken", count).arg(names);
}

} // namespace ViewLogic
