#include "map_sprites.h"

#include "icon_names.h"
#include "logic/node_symbols.h"

#include <QFont>
#include <QImageReader>
#include <QPainter>
#include <cmath>

namespace MapSprites {

namespace {

QImage canvas(int size, qreal pixelRatio) {
    const int side = int(std::ceil(size * pixelRatio));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(pixelRatio);
    return image;
}

// A white disc edge with a soft shadow under a disc of `fill`.
void disc(QPainter& painter, int size, const QColor& fill) {
    const QRectF outer(1.5, 2, size - 3, size - 3);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 60));
    painter.drawEllipse(outer.translated(0, 0.8));
    painter.setBrush(Qt::white);
    painter.drawEllipse(outer.adjusted(0, -0.5, 0, -0.5));
    painter.setBrush(fill);
    painter.drawEllipse(outer.adjusted(2, 1.5, -2, -2.5));
}

// The icon of a symbol, in white.
QImage whiteIcon(const QString& symbol, int size, qreal pixelRatio) {
    const int side = int(std::ceil(size * pixelRatio));
    QImageReader reader(iconResourcePath(symbol));
    reader.setScaledSize(QSize(side, side));
    QImage icon = reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (icon.isNull())
        return icon;
    QPainter painter(&icon);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(icon.rect(), Qt::white);
    painter.end();
    icon.setDevicePixelRatio(pixelRatio);
    return icon;
}

} // namespace

QColor typeColor(MeshProtocol::AdvertType type) {
    switch (type) {
    case MeshProtocol::AdvertType::chat:
        return QColor(0x0f, 0x85, 0x7a);
    case MeshProtocol::AdvertType::repeaterNode:
        return QColor(0xc4, 0x5c, 0x10);
    case MeshProtocol::AdvertType::room:
        return QColor(0x7b, 0x4a, 0xc2);
    case MeshProtocol::AdvertType::sensor:
        return QColor(0xa8, 0x32, 0x6e);
    case MeshProtocol::AdvertType::none:
        break;
    }
    return QColor(0x5f, 0x68, 0x70);
}

QImage marker(MeshProtocol::AdvertType type, qreal pixelRatio) {
    QImage image = canvas(markerSize, pixelRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    disc(painter, markerSize, typeColor(type));
    const int iconSize = 14;
    const QImage icon = whiteIcon(ViewLogic::nodeTypeLabelSymbol(type), iconSize, pixelRatio);
    painter.drawImage(QPointF((markerSize - iconSize) / 2.0, (markerSize - iconSize) / 2.0 - 0.5),
                      icon);
    return image;
}

QImage self(qreal pixelRatio) {
    QImage image = canvas(selfSize, pixelRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor accent(0x0a, 0x6c, 0xf0);
    const QPointF centre(selfSize / 2.0, selfSize / 2.0);
    painter.setPen(QPen(QColor(accent.red(), accent.green(), accent.blue(), 150), 1));
    painter.setBrush(QColor(accent.red(), accent.green(), accent.blue(), 55));
    painter.drawEllipse(centre, selfSize / 2.0 - 1, selfSize / 2.0 - 1);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 70));
    painter.drawEllipse(centre + QPointF(0, 0.8), 9.5, 9.5);
    painter.setBrush(Qt::white);
    painter.drawEllipse(centre, 9.5, 9.5);
    painter.setBrush(accent);
    painter.drawEllipse(centre, 6.5, 6.5);
    return image;
}

QImage group(int count, qreal pixelRatio) {
    QImage image = canvas(groupSize, pixelRatio);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    disc(painter, groupSize, QColor(0x2f, 0x3b, 0x48));
    QFont font;
    font.setPixelSize(count > 99 ? 10 : 12);
    font.setBold(true);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(QRectF(0, 0, groupSize, groupSize - 1), Qt::AlignCenter,
                     count > 99 ? QStringLiteral("99+") : QString::number(count));
    return image;
}

} // namespace MapSprites
