#include "logic/contrast.h"

#include <algorithm>
#include <cmath>

namespace ViewLogic {

namespace {

double linear(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

} // namespace

QColor composite(const QColor& over, const QColor& under) {
    const double a = over.alphaF();
    return QColor::fromRgbF(float(over.redF() * a + under.redF() * (1 - a)),
                            float(over.greenF() * a + under.greenF() * (1 - a)),
                            float(over.blueF() * a + under.blueF() * (1 - a)));
}

double relativeLuminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

double contrastRatio(const QColor& foreground, const QColor& background) {
    const QColor under = composite(background, Qt::white);
    const double a = relativeLuminance(composite(foreground, under));
    const double b = relativeLuminance(under);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

QColor readableOn(const QColor& color, const QColor& background, double minimum) {
    const bool lightBackground = relativeLuminance(composite(background, Qt::white)) > 0.18;
    QColor candidate = composite(color, background);
    // Steps of 2 % towards black or white; at worst black or white itself.
    for (int step = 0; step < 50 && contrastRatio(candidate, background) < minimum; ++step)
        candidate = lightBackground ? candidate.darker(102) : candidate.lighter(102);
    if (contrastRatio(candidate, background) < minimum)
        candidate = lightBackground ? QColor(Qt::black) : QColor(Qt::white);
    return candidate;
}

} // namespace ViewLogic
