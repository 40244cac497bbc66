#include "map/map_settings.h"

#include "map/tile_address.h"

#include <QSettings>

MapSettings::MapSettings(QSettings* settings, QObject* parent)
    : QObject(parent)
    , m_settings(settings) {
    if (m_settings) {
        m_streetTiles = m_settings->value(QLatin1String(streetTilesKey), false).toBool();
        m_tileAddress = m_settings->value(QLatin1String(tileAddressKey)).toString();
    }
    if (m_tileAddress.trimmed().isEmpty())
        m_tileAddress = defaultTileAddress();
}

QString MapSettings::defaultTileAddress() {
    return QLatin1String(Map::defaultTileAddress);
}

void MapSettings::setStreetTiles(bool on) {
    if (m_streetTiles == on)
        return;
    m_streetTiles = on;
    if (m_settings)
        m_settings->setValue(QLatin1String(streetTilesKey), on);
    Q_EMIT changed();
}

void MapSettings::setTileAddress(const QString& address) {
    const QString chosen = address.trimmed().isEmpty() ? defaultTileAddress() : address.trimmed();
    if (m_tileAddress == chosen)
        return;
    m_tileAddress = chosen;
    if (m_settings) {
        if (chosen == defaultTileAddress())
            m_settings->remove(QLatin1String(tileAddressKey));
        else
            m_settings->setValue(QLatin1String(tileAddressKey), chosen);
    }
    Q_EMIT changed();
}

bool MapSettings::tileAddressUsable() const {
    return Map::isUsableTileAddress(m_tileAddress);
}
