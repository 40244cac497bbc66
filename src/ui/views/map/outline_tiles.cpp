#include "outline_tiles.h"

#include "map/projection.h"

#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>
#include <cmath>

namespace {

struct TileTransform {
    double originX = 0;
    double originY = 0;
    double scale = 1;
    QPointF operator()(const Map::OutlinePoint& p) const {
        return {(p.x - originX) * scale, (p.y - originY) * scale};
    }
};

// Pieces filled without antialiasing: they meet along their cuts without
// seams, and the antialiased coastline covers the steps of their edges.
void fillPieces(QPainter& painter, const Map::OutlineLevel& level,
                const std::vector<Map::OutlineLevel::Piece>& pieces,
                const std::vector<std::uint32_t>& indexes, const TileTransform& to) {
    for (std::uint32_t index : indexes) {
        const Map::OutlineLevel::Piece& piece = pieces[index];
        QPainterPath path;
        path.setFillRule(Qt::OddEvenFill);
        for (std::uint32_t r = 0; r < piece.ringCount; ++r) {
            const Map::OutlineLevel::Ring& ring = level.rings[piece.firstRing + r];
            QPolygonF polygon;
            polygon.reserve(ring.count);
            for (std::uint32_t i = 0; i < ring.count; ++i)
                polygon.append(to(level.points[ring.first + i]));
            path.addPolygon(polygon);
            path.closeSubpath();
        }
        painter.drawPath(path);
    }
}

void strokeCoasts(QPainter& painter, const Map::OutlineLevel& level,
                  const std::vector<Map::OutlineLevel::Piece>& pieces,
                  const std::vector<std::uint32_t>& indexes, const TileTransform& to) {
    for (std::uint32_t index : indexes) {
        const Map::OutlineLevel::Piece& piece = pieces[index];
        for (std::uint32_t c = 0; c < piece.coastCount; ++c) {
            const Map::OutlineLevel::Coast& run = level.coasts[piece.firstCoast + c];
            const Map::OutlineLevel::Ring& ring = level.rings[run.ring];
            QPolygonF line;
            line.reserve(run.edges + 1);
            for (std::uint32_t e = 0; e <= run.edges; ++e)
                line.append(to(level.points[ring.first + (run.start + e) % ring.count]));
            painter.drawPolyline(line);
        }
    }
}

} // namespace

QImage renderOutlineTile(const Map::Outline& outline, Map::TileId tile, qreal pixelRatio,
                         const MapStyle& style) {
    const int side = int(std::lround(Map::tileSize * pixelRatio));
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(style.water);
    const Map::OutlineLevel* level = outline.levelFor(tile.zoom);
    if (!level || !tile.isValid())
        return image;

    const double tiles = std::exp2(tile.zoom);
    const TileTransform to{tile.x / tiles, tile.y / tiles, side * tiles};
    // A line's width beyond the tile still reaches into it.
    const double margin = 2 / to.scale;
    const QRectF world(to.originX - margin, to.originY - margin, 1 / tiles + 2 * margin,
                       1 / tiles + 2 * margin);

    QPainter painter(&image);
    const std::vector<std::uint32_t> pieces = level->piecesIn(world);
    const std::vector<std::uint32_t> lakes = level->lakesIn(world);

    // The land, then the lakes on it in the sea's colour.
    painter.setPen(Qt::NoPen);
    painter.setBrush(style.land);
    fillPieces(painter, *level, level->pieces, pieces, to);
    painter.setBrush(style.water);
    fillPieces(painter, *level, level->lakes, lakes, to);

    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    QPen coast(style.coast, std::max(1.0, 0.9 * pixelRatio));
    coast.setJoinStyle(Qt::RoundJoin);
    painter.setPen(coast);
    strokeCoasts(painter, *level, level->pieces, pieces, to);
    strokeCoasts(painter, *level, level->lakes, lakes, to);

    QPen border(style.border, std::max(1.0, 0.8 * pixelRatio));
    border.setJoinStyle(Qt::RoundJoin);
    painter.setPen(border);
    for (std::uint32_t index : level->bordersIn(world)) {
        const Map::OutlineLevel::Ring& ring = level->rings[level->borders[index].ring];
        QPolygonF line;
        line.reserve(ring.count);
        for (std::uint32_t i = 0; i < ring.count; ++i)
            line.append(to(level->points[ring.first + i]));
        painter.drawPolyline(line);
    }
    return image;
}
