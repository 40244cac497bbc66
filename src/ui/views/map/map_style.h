#pragma once

#include <QColor>

// The colours the base map is drawn in, for the light and the dark palette.
struct MapStyle {
    QColor water;
    QColor land;
    QColor coast;
    QColor border;

    static MapStyle light() {
        return {QColor(0xb7, 0xd3, 0xe3), QColor(0xf1, 0xee, 0xe6), QColor(0x6f, 0x95, 0xad),
                QColor(0xa4, 0x98, 0xb8)};
    }
    static MapStyle dark() {
        return {QColor(0x17, 0x23, 0x30), QColor(0x2d, 0x31, 0x36), QColor(0x4f, 0x6f, 0x88),
                QColor(0x6e, 0x66, 0x82)};
    }

    bool operator==(const MapStyle&) const = default;
};
