#include "dark_palette.h"

#include <QColor>

QPalette darkPalette() {
    QPalette palette;
    const QColor window(0x26, 0x27, 0x2b);
    const QColor base(0x1c, 0x1d, 0x20);
    const QColor text(0xec, 0xec, 0xee);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::Button, QColor(0x34, 0x35, 0x3a));
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, QColor(0x8a, 0x8b, 0x90));
    palette.setColor(QPalette::Highlight, QColor(0x0a, 0x84, 0xff));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, QColor(0x4d, 0xa3, 0xff));
    palette.setColor(QPalette::Light, QColor(0x44, 0x45, 0x4a));
    palette.setColor(QPalette::Midlight, QColor(0x3a, 0x3b, 0x40));
    palette.setColor(QPalette::Mid, QColor(0x2e, 0x2f, 0x33));
    palette.setColor(QPalette::Dark, QColor(0x18, 0x18, 0x1b));
    palette.setColor(QPalette::Shadow, Qt::black);
    palette.setColor(QPalette::Disabled, QPalette::Text, QColor(0x7a, 0x7b, 0x80));
    palette.setColor(QPalette::Disabled, QPalette::ButtonText, QColor(0x7a, 0x7b, 0x80));
    palette.setColor(QPalette::Disabled, QPalette::WindowText, QColor(0x7a, 0x7b, 0x80));
    return palette;
}
