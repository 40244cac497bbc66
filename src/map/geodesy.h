#pragma once

#include "map/projection.h"

// Distances and directions on the globe (a sphere of the earth's mean
// radius; good to a few tenths of a percent, plenty for a mesh).
namespace Map {

// Great-circle distance in metres.
double distanceMetres(GeoPoint from, GeoPoint to);
// Initial bearing from `from` towards `to`, degrees clockwise from north in
// [0, 360).
double bearingDegrees(GeoPoint from, GeoPoint to);
// The eight compass points, 0 = north, 1 = north-east, ... 7 = north-west.
int compassPoint(double bearingDegrees);

// The bar under a map: the longest round length (1, 2 or 5 times a power of
// ten metres) that is at most `maxWidth` pixels long.
struct ScaleBar {
    double metres = 0;
    double width = 0;

    bool operator==(const ScaleBar&) const = default;
};
ScaleBar scaleBar(double metresPerPixel, double maxWidth);

} // namespace Map
