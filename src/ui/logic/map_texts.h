#pragma once

#include <QString>
#include <optional>

// The texts of the maps: lengths, directions, and what a marker says.
namespace ViewLogic {

// "850 m", "2.4 km", "38 km", in the user's locale: metres to the ten under
// a kilometre (to the metre under a hundred), one decimal under ten
// kilometres, whole kilometres above.
QString distanceText(double metres);
// The scale bar's length: "500 m", "2 km".
QString scaleText(double metres);
// "NE" for compass point 1 (of 8, from north clockwise).
QString compassText(int point);
// "2.4 km NE" for the node details.
QString distanceAndBearingText(double metres, double bearingDegrees);
// A marker as a screen reader announces it: "Aino, Companion, 2.4 km NE";
// without a distance when the user's radio has no position.
QString markerSpokenText(const QString& name, const QString& typeName, std::optional<double> metres,
                         std::optional<double> bearingDegrees);
// A group of markers at one place: "3 nodes: Aino, Kettu, Harbour Room".
QString groupSpokenText(int count, const QString& names);

} // namespace ViewLogic
