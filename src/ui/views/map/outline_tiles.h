#pragma once

#include "map/outline.h"
#include "map/tile_address.h"
#include "map_style.h"

#include <QImage>

// One square tile of the base map, 256 × `pixelRatio` pixels: water, land
// with its lakes, coastlines and lake shores, and the country borders. Reads
// only `outline`, so tiles can be drawn on worker threads.
QImage renderOutlineTile(const Map::Outline& outline, Map::TileId tile, qreal pixelRatio,
                         const MapStyle& style);
