#pragma once

#include <QObject>

namespace ViewLogic {
Q_NAMESPACE

// The named colours the views use. The QML side maps them to its palette:
// `primary` and `secondary` are the label colours, `accent` the highlight.
enum class Tint {
    primary,
    secondary,
    accent,
    green,
    orange,
    yellow,
    red,
    white,
};
Q_ENUM_NS(Tint)

} // namespace ViewLogic
