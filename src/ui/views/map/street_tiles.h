#pragma once

#include "map/tile_cache.h"

// The one street tile cache of the application, made when a map first
// needs street tiles (never while they are off): "tiles" in the cache
// folder, 100 MB at most, fetched as "Talvenne/<version>".
namespace StreetTiles {

Map::TileCache* cache();
QByteArray userAgent();

} // namespace StreetTiles
