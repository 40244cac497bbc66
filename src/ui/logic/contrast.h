#pragma once

#include <QColor>

// Contrast of text against its background, as the WCAG 2 guidelines
// measure it: 4.5:1 for text, 3:1 for large text and for symbols.
namespace ViewLogic {

// A translucent colour laid over an opaque one.
QColor composite(const QColor& over, const QColor& under);

// The relative luminance of an opaque sRGB colour, 0 (black) to 1 (white).
double relativeLuminance(const QColor& color);

// From 1 (no contrast) to 21 (black on white); translucent colours are
// first laid over the background.
double contrastRatio(const QColor& foreground, const QColor& background);

// `color`, darkened (on a light background) or lightened (on a dark one)
// just enough to reach `minimum` against `background`; hue kept.
QColor readableOn(const QColor& color, const QColor& background, double minimum = 4.5);

} // namespace ViewLogic
