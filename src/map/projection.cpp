#include "map/projection.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Map {

bool isValidPosition(double latitude, double longitude) {
    if (!std::isfinite(latitude) || !std::isfinite(longitude))
        return false;
    if (std::abs(latitude) > 90 || std::abs(longitude) > 180)
        return false;
    return latitude != 0 || longitude != 0;
}

QPointF project(GeoPoint point) {
    const double latitude = std::clamp(point.latitude, -maxLatitude, maxLatitude);
    const double phi = latitude * std::numbers::pi / 180;
    const double x = (point.longitude + 180) / 360;
    const double y =
        0.5 - std::log(std::tan(std::numbers::pi / 4 + phi / 2)) / (2 * std::numbers::pi);
    return {x, std::clamp(y, 0.0, 1.0)};
}

GeoPoint unproject(QPointF world) {
    const double n = std::numbers::pi * (1 - 2 * world.y());
    return {std::atan(std::sinh(n)) * 180 / std::numbers::pi, world.x() * 360 - 180};
}

double metresPerPixel(double latitude, double zoom) {
    const double circumference = 2 * std::numbers::pi * earthRadiusMetres;
    const double phi = std::clamp(latitude, -maxLatitude, maxLatitude) * std::numbers::pi / 180;
    return circumference * std::cos(phi) / (tileSize * std::exp2(zoom));
}

double zoomToFit(const QRectF& region, const QSizeF& viewport) {
    const double width = std::max(region.width(), 1e-12);
    const double height = std::max(region.height(), 1e-12);
    const double scale = std::min(viewport.width() / width, viewport.height() / height);
    return std::log2(scale / tileSize);
}

QRectF spanAround(GeoPoint centre, double span) {
    const QPointF topLeft = project({centre.latitude + span / 2, centre.longitude - span / 2});
    const QPointF bottomRight = project({centre.latitude - span / 2, centre.longitude + span / 2});
    return QRectF(topLeft, bottomRight);
}

} // namespace Map
