#pragma once

#include <QHashFunctions>
#include <QString>
#include <QUrl>
#include <optional>

// Street map tiles, and the address they are fetched from.
namespace Map {

struct TileId {
    int zoom = 0;
    int x = 0;
    int y = 0;

    bool operator==(const TileId&) const = default;
    // Whether the tile exists: x and y within 0 .. 2^zoom - 1.
    bool isValid() const;
    // The tile one zoom level out that holds this one.
    TileId parent() const { return {zoom - 1, x >> 1, y >> 1}; }
};
inline size_t qHash(const TileId& tile, size_t seed = 0) {
    return qHashMulti(seed, tile.zoom, tile.x, tile.y);
}

// OpenStreetMap's standard tiles.
inline constexpr auto defaultTileAddress = "https://tile.openstreetmap.org/{z}/{x}/{y}.png";
inline constexpr int maxTileZoom = 19;

// An address is usable when it is http or https with a host and names
// {z}, {x} and {y}.
bool isUsableTileAddress(const QString& address);
// The address of one tile; none when the address is not usable or the tile
// does not exist.
std::optional<QUrl> tileUrl(const QString& address, TileId tile);

} // namespace Map
