#include "map/tile_address.h"

namespace Map {

bool TileId::isValid() const {
    if (zoom < 0 || zoom > 30)
        return false;
    const int side = 1 << zoom;
    return x >= 0 && y >= 0 && x < side && y < side;
}

bool isUsableTileAddress(const QString& address) {
    for (const char* part : {"{z}", "{x}", "{y}"}) {
        if (!address.contains(QLatin1String(part)))
            return false;
    }
    const QUrl url(QString(address)
                       .replace(QLatin1String("{z}"), QLatin1String("0"))
                       .replace(QLatin1String("{x}"), QLatin1String("0"))
                       .replace(QLatin1String("{y}"), QLatin1String("0")),
                   QUrl::StrictMode);
    return url.isValid() && !url.host().isEmpty() &&
           (url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http"));
}

std::optional<QUrl> tileUrl(const QString& address, TileId tile) {
    if (!tile.isValid() || !isUsableTileAddress(address))
        return std::nullopt;
    return QUrl(QString(address)
                    .replace(QLatin1String("{z}"), QString::number(tile.zoom))
                    .replace(QLatin1String("{x}"), QString::number(tile.x))
                    .replace(QLatin1String("{y}"), QString::number(tile.y)),
                QUrl::StrictMode);
}

} // namespace Map
