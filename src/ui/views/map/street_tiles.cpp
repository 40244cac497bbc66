#include "street_tiles.h"

#include <QCoreApplication>

namespace StreetTiles {

QByteArray userAgent() {
    return QByteArrayLiteral("Talvenne/" TALVENNE_VERSION
                             " (+https://github.com/talvenne/talvenne)");
}

Map::TileCache* cache() {
    static Map::TileCache* shared =
        new Map::TileCache({Map::TileCache::defaultDirectory(), 100 * 1024 * 1024, userAgent()},
                           QCoreApplication::instance());
    return shared;
}

} // namespace StreetTiles
