#pragma once

#include <QRectF>
#include <QSizeF>

// Web Mercator, the projection of the world's street maps: longitude and
// latitude become a square "world" of side 1, x growing east from -180° and
// y growing south from the top edge at about 85.05° N. A map at zoom z is
// that square drawn 256 × 2^z pixels wide, in tiles of 256 pixels.
namespace Map {

struct GeoPoint {
    double latitude = 0;
    double longitude = 0;

    bool operator==(const GeoPoint&) const = default;
};

// Latitudes beyond this leave the square; they are drawn at its edge.
inline constexpr double maxLatitude = 85.0511287798066;
inline constexpr double tileSize = 256;
inline constexpr double earthRadiusMetres = 6378137;

// A position worth a marker: finite, a latitude within ±90° and a longitude
// within ±180°, and not the 0/0 that radios report for "no position".
bool isValidPosition(double latitude, double longitude);
inline bool isValidPosition(GeoPoint point) {
    return isValidPosition(point.latitude, point.longitude);
}

// Into the unit square (latitudes clamped to its edges) and back.
QPointF project(GeoPoint point);
GeoPoint unproject(QPointF world);

// The ground distance one pixel covers at that latitude and zoom.
double metresPerPixel(double latitude, double zoom);

// The highest zoom at which `region` (in world units) fits into `viewport`
// pixels.
double zoomToFit(const QRectF& region, const QSizeF& viewport);

// The world rectangle of a region `span` degrees high and wide around `centre`.
QRectF spanAround(GeoPoint centre, double span);

} // namespace Map
