#include "map/geodesy.h"

#include <cmath>
#include <numbers>

namespace Map {

namespace {

constexpr double meanEarthRadiusMetres = 6371008.8;

double radians(double degrees) {
    return degrees * std::numbers::pi / 180;
}

} // namespace

double distanceMetres(GeoPoint from, GeoPoint to) {
    const double phi1 = radians(from.latitude);
    const double phi2 = radians(to.latitude);
    const double dPhi = phi2 - phi1;
    const double dLambda = radians(to.longitude - from.longitude);
    const double a = std::pow(std::sin(dPhi / 2), 2) +
                     std::cos(phi1) * std::cos(phi2) * std::pow(std::sin(dLambda / 2), 2);
    return 2 * meanEarthRadiusMetres * std::asin(std::min(1.0, std::sqrt(a)));
}

double bearingDegrees(GeoPoint from, GeoPoint to) {
    const double phi1 = radians(from.latitude);
    const double phi2 = radians(to.latitude);
    const double dLambda = radians(to.longitude - from.longitude);
    const double y = std::sin(dLambda) * std::cos(phi2);
    const double x =
        std::cos(phi1) * std::sin(phi2) - std::sin(phi1) * std::cos(phi2) * std::cos(dLambda);
    const double degrees = std::atan2(y, x) * 180 / std::numbers::pi;
    const double normalized = std::fmod(degrees + 360, 360);
    return normalized >= 360 ? 0 : normalized;
}

int compassPoint(double bearing) {
    const double normalized = std::fmod(std::fmod(bearing, 360) + 360, 360);
    return int(std::floor((normalized + 22.5) / 45)) % 8;
}

ScaleBar scaleBar(double metresPerPixel, double maxWidth) {
    if (!(metresPerPixel > 0) || !(maxWidth > 0) || !std::isfinite(metresPerPixel))
        return {};
    const double longest = metresPerPixel * maxWidth;
    const double power = std::pow(10, std::floor(std::log10(longest)));
    double metres = power;
    for (double step : {5.0, 2.0, 1.0}) {
        if (step * power <= longest) {
            metres = step * power;
            break;
        }
    }
    return {metres, metres / metresPerPixel};
}

} // namespace Map
