#pragma once

#include <QByteArrayView>
#include <QRectF>
#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

// The bundled base map: land, lakes and country borders of the whole world
// at a few scales (resources/map/world-outline.bin, made by
// scripts/make-outline.py), projected into the unit square of Web Mercator
// (map/projection.h) as it is read.
namespace Map {

struct OutlinePoint {
    float x = 0;
    float y = 0;
};

struct OutlineLevel {
    // A closed ring (a piece's outer edge or a hole) or an open line, as a
    // range of `points`.
    struct Ring {
        std::uint32_t first = 0;
        std::uint32_t count = 0;
    };
    // Part of a ring's edges that is coastline (or a lake's shore): `edges`
    // edges from the point `start` on, wrapping around the ring's end.
    struct Coast {
        std::uint32_t ring = 0;
        std::uint32_t start = 0;
        std::uint32_t edges = 0;
    };
    // A piece of land or of a lake (an outer ring and its holes, the islands
    // of a lake), cut small enough that a tile only reads the pieces it
    // shows. Only its coast edges are stroked.
    struct Piece {
        std::uint32_t firstRing = 0;
        std::uint32_t ringCount = 0;
        std::uint32_t firstCoast = 0;
        std::uint32_t coastCount = 0;
        QRectF bounds;
    };
    struct Border {
        std::uint32_t ring = 0;
        QRectF bounds;
    };

    // The lowest zoom this scale serves (up to the next level's).
    int firstZoom = 0;
    std::vector<OutlinePoint> points;
    std::vector<Ring> rings;
    std::vector<Coast> coasts;
    std::vector<Piece> pieces; // land
    std::vector<Piece> lakes;  // drawn as water over the land
    std::vector<Border> borders;

    // Indexes of the pieces, lakes and borders whose bounds meet `world`.
    std::vector<std::uint32_t> piecesIn(const QRectF& world) const;
    std::vector<std::uint32_t> lakesIn(const QRectF& world) const;
    std::vector<std::uint32_t> bordersIn(const QRectF& world) const;

    // Builds the lookup the two queries use; the reader calls it.
    void index();

private:
    static constexpr int gridSize = 64;
    template <typename Feature>
    std::vector<std::uint32_t> lookup(const std::vector<std::vector<std::uint32_t>>& grid,
                                      const std::vector<Feature>& features,
                                      const QRectF& world) const;
    std::vector<std::vector<std::uint32_t>> m_pieceGrid;
    std::vector<std::vector<std::uint32_t>> m_lakeGrid;
    std::vector<std::vector<std::uint32_t>> m_borderGrid;
};

struct Outline {
    std::vector<OutlineLevel> levels; // by rising firstZoom

    // The most detailed level that serves `zoom`.
    const OutlineLevel* levelFor(double zoom) const;
};

// Reads the file's bytes; no value and a reason in `error` for anything that
// is not a whole, well-formed outline.
std::optional<Outline> readOutline(QByteArrayView data, QString* error = nullptr);

} // namespace Map
