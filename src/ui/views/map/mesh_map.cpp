#include "mesh_map.h"

#include "base_map.h"
#include "logic/map_texts.h"
#include "map/geodesy.h"
#include "map/projection.h"
#include "map_sprites.h"
#include "outline_tiles.h"
#include "street_tiles.h"

#include <QCollator>
#include <QFutureWatcher>
#include <QKeyEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <QSGTransformNode>
#include <QtConcurrent/QtConcurrentRun>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace {

using Map::TileId;

constexpr int selfKind = 5;
constexpr int groupKind = 100; // plus the count, up to 100 for "99+"
constexpr double clusterRadius = 34;
constexpr int maxRendering = 2;
constexpr int keptImages = 160;
constexpr int keptUnusedTextures = 48;

// The scene graph side: the water, one image node per tile of each layer,
// one per marker, and the textures they share. Lives on the render thread.
class MapNode : public QSGNode {
public:
    QSGRectangleNode* water = nullptr;
    // Transform nodes (identity) rather than plain ones: the software
    // renderer places a child added later by the state it recorded for its
    // parent, which it records for transform nodes but not for plain ones.
    QSGTransformNode* outlineLayer = new QSGTransformNode;
    QSGTransformNode* streetLayer = new QSGTransformNode;
    QSGTransformNode* markerLayer = new QSGTransformNode;
    QHash<TileId, QSGImageNode*> outlineNodes;
    QHash<TileId, QSGImageNode*> streetNodes;
    // Every marker in one picture: one node however many markers there
    // are (the software renderer's cost grows with the nodes it draws).
    QSGImageNode* markers = nullptr;
    QSGTexture* markerTexture = nullptr;
    int markerVersion = -1;
    struct Texture {
        QSGTexture* texture = nullptr;
        quint64 used = 0;
    };
    QHash<qint64, Texture> tileTextures; // by QImage::cacheKey
    quint64 frame = 0;

    ~MapNode() override {
        for (const Texture& t : std::as_const(tileTextures))
            delete t.texture;
        delete markerTexture;
    }

    QSGTexture* textureFor(QQuickWindow* window, const QImage& image) {
        auto found = tileTextures.find(image.cacheKey());
        if (found == tileTextures.end())
            found = tileTextures.insert(image.cacheKey(),
                                        {window->createTextureFromImage(image), frame});
        found->used = frame;
        return found->texture;
    }

    void dropUnusedTextures() {
        std::vector<std::pair<quint64, qint64>> unused;
        for (auto it = tileTextures.cbegin(); it != tileTextures.cend(); ++it) {
            if (it->used < frame)
                unused.emplace_back(it->used, it.key());
        }
        if (unused.size() <= size_t(keptUnusedTextures))
            return;
        std::sort(unused.begin(), unused.end());
        for (size_t i = 0; i + keptUnusedTextures < unused.size(); ++i)
            delete tileTextures.take(unused[i].second).texture;
    }
};

QRectF subRect(const QRectF& whole, int levelsUp, TileId tile) {
    // The part of an ancestor `levelsUp` levels out that covers `tile`.
    const int parts = 1 << levelsUp;
    const double side = whole.width() / parts;
    return {whole.left() + (tile.x % parts) * side, whole.top() + (tile.y % parts) * side, side,
            side};
}

} // namespace

MeshMap::MeshMap(QQuickItem* parent)
    : QQuickItem(parent) {
    setFlag(ItemHasContents);
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptHoverEvents(true);
    setClip(true);
    BaseMap* base = BaseMap::instance();
    m_outline = base->outline();
    if (!m_outline) {
        connect(base, &BaseMap::loaded, this, [this] {
            m_outline = BaseMap::instance()->outline();
            Q_EMIT baseMapReadyChanged();
            polish();
        });
    }
}

MeshMap::~MeshMap() = default;

// --- markers

void MeshMap::setMarkers(MapMarkerSource* source) {
    if (m_source == source)
        return;
    if (m_source)
        m_source->disconnect(this);
    m_source = source;
    if (m_source)
        connect(m_source, &MapMarkerSource::markersChanged, this, &MeshMap::markersUpdated);
    Q_EMIT markersChanged();
    markersUpdated();
}

void MeshMap::markersUpdated() {
    m_markers.clear();
    if (m_source) {
        // The sources leave out what has no usable position; whatever slips
        // through still draws nothing.
        for (const MapMarker& marker : m_source->markers()) {
            if (Map::isValidPosition(marker.position))
                m_markers.push_back(marker);
        }
    }
    m_self = m_source ? m_source->selfPosition() : std::nullopt;
    m_markerWorld.clear();
    m_markerWorld.reserve(m_markers.size());
    for (const MapMarker& marker : m_markers)
        m_markerWorld.push_back(Map::project(marker.position));
    // Names in the user's language order, once: groups are made again at
    // every zoom level, and comparing names there costs more than all else.
    std::vector<int> byName(m_markers.size());
    std::iota(byName.begin(), byName.end(), 0);
    QCollator collator;
    collator.setNumericMode(true);
    std::vector<QCollatorSortKey> keys;
    keys.reserve(m_markers.size());
    for (const MapMarker& marker : m_markers)
        keys.push_back(collator.sortKey(marker.name));
    std::stable_sort(byName.begin(), byName.end(),
                     [&keys](int a, int b) { return keys[a].compare(keys[b]) < 0; });
    m_nameRank.assign(m_markers.size(), 0);
    for (int rank = 0; rank < int(byName.size()); ++rank)
        m_nameRank[byName[rank]] = rank;
    m_clusterZoom = -1;
    cluster();
    if (m_autoFit && !m_userMoved)
        fitMarkers();
    viewMoved(false);
}

std::optional<double> MeshMap::distanceFromSelf(const Spot& spot) const {
    if (!m_self || spot.self)
        return std::nullopt;
    return Map::distanceMetres(*m_self, Map::unproject(spot.world));
}

// Groups the markers for the zoom level nearest to the view's, and puts
// them in Tab order: the user's radio, then by distance from it (by name
// while it has no position).
void MeshMap::cluster() {
    const int level = int(std::floor(m_zoom + 0.5));
    if (level == m_clusterZoom)
        return;
    m_clusterZoom = level;
    std::vector<int> others;
    std::vector<QPointF> world;
    m_spots.clear();
    for (int i = 0; i < int(m_markers.size()); ++i) {
        if (m_markers[i].self) {
            m_spots.push_back({m_markerWorld[i], {i}, true});
        } else {
            others.push_back(i);
            world.push_back(m_markerWorld[i]);
        }
    }
    for (Map::MarkerCluster& group : Map::clusterMarkers(world, level, clusterRadius)) {
        Spot spot{group.world, {}, false};
        for (int member : group.members)
            spot.members.push_back(others[member]);
        m_spots.push_back(std::move(spot));
    }
    std::vector<std::pair<double, int>> keys;
    keys.reserve(m_spots.size());
    for (const Spot& spot : m_spots) {
        const std::optional<double> distance = distanceFromSelf(spot);
        keys.emplace_back(spot.self ? -1 : distance.value_or(0), m_nameRank[spot.members[0]]);
    }
    std::vector<int> order(m_spots.size());
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [&keys](int a, int b) { return keys[a] < keys[b]; });
    std::vector<Spot> sorted;
    sorted.reserve(m_spots.size());
    for (int i : order)
        sorted.push_back(std::move(m_spots[i]));
    m_spots = std::move(sorted);
}

int MeshMap::spriteKind(const Spot& spot) const {
    if (spot.self)
        return selfKind;
    if (spot.members.size() > 1)
        return groupKind + std::min<int>(int(spot.members.size()), 100);
    return int(MeshProtocol::code(m_markers[spot.members[0]].type));
}

QSizeF MeshMap::spriteSize(int kind) const {
    if (kind == selfKind)
        return {MapSprites::selfSize, MapSprites::selfSize};
    if (kind >= groupKind)
        return {MapSprites::groupSize, MapSprites::groupSize};
    return {MapSprites::markerSize, MapSprites::markerSize};
}

void MeshMap::refreshVisible() {
    m_visible.clear();
    m_visibleAt.clear();
    const QRectF view = QRectF(0, 0, width(), height()).adjusted(-20, -20, 20, 20);
    for (int i = 0; i < int(m_spots.size()); ++i) {
        const QPointF at = toItem(m_spots[i].world);
        if (view.contains(at)) {
            m_visible.push_back(i);
            m_visibleAt.push_back(at);
        }
    }
}

QString MeshMap::markerName(int index) const {
    if (index < 0 || index >= markerCount())
        return {};
    const Spot& spot = m_spots[m_visible[index]];
    if (spot.self)
        return qtTrId("map.marker.self").arg(m_markers[spot.members[0]].name);
    if (spot.members.size() == 1)
        return m_markers[spot.members[0]].name;
    return qtTrId("map.marker.group", int(spot.members.size()));
}

QString MeshMap::markerSpoken(int index) const {
    if (index < 0 || index >= markerCount())
        return {};
    const Spot& spot = m_spots[m_visible[index]];
    const MapMarker& first = m_markers[spot.members[0]];
    if (spot.self)
        return qtTrId("map.marker.self.spoken")
            .arg(first.name, MeshProtocol::displayName(first.type));
    if (spot.members.size() > 1) {
        QStringList names;
        for (int member : spot.members)
            names << m_markers[member].name;
        return ViewLogic::groupSpokenText(int(spot.members.size()),
                                          QLocale().createSeparatedList(names));
    }
    std::optional<double> bearing;
    if (m_self)
        bearing = Map::bearingDegrees(*m_self, first.position);
    return ViewLogic::markerSpokenText(first.name, MeshProtocol::displayName(first.type),
                                       distanceFromSelf(spot), bearing);
}

QRectF MeshMap::markerRect(int index) const {
    if (index < 0 || index >= markerCount())
        return {};
    const QSizeF size = spriteSize(spriteKind(m_spots[m_visible[index]]));
    const QPointF at = m_visibleAt[index];
    return {at.x() - size.width() / 2, at.y() - size.height() / 2, size.width(), size.height()};
}

QString MeshMap::markerId(int index) const {
    if (index < 0 || index >= markerCount())
        return {};
    const Spot& spot = m_spots[m_visible[index]];
    return m_markers[spot.members[0]].key +
           (spot.members.size() > 1 ? QStringLiteral("+") : QString());
}

int MeshMap::markerIndex(const QString& id) const {
    for (int i = 0; i < markerCount(); ++i) {
        if (markerId(i) == id)
            return i;
    }
    return -1;
}

int MeshMap::markerAt(qreal x, qreal y) const {
    // The topmost: nodes in Tab order (the nearest is drawn last), then the
    // user's radio, which lies under them all.
    int self = -1;
    for (int i = 0; i < markerCount(); ++i) {
        const QRectF rect = markerRect(i);
        const QPointF centre = rect.center();
        const double radius = rect.width() / 2 + 2;
        if (std::hypot(x - centre.x(), y - centre.y()) > radius)
            continue;
        if (!m_spots[m_visible[i]].self)
            return i;
        self = i;
    }
    return self;
}

void MeshMap::activate(int index) {
    if (index < 0 || index >= markerCount())
        return;
    const Spot spot = m_spots[m_visible[index]];
    if (spot.self) {
        Q_EMIT selfActivated();
        return;
    }
    if (spot.members.size() == 1) {
        activateNode(m_markers[spot.members[0]].key);
        return;
    }
    QRectF bounds(m_markerWorld[spot.members[0]], QSizeF(0, 0));
    for (int member : spot.members)
        bounds = bounds.united(QRectF(m_markerWorld[member], QSizeF(1e-12, 1e-12)));
    const double apart = bounds.width() + bounds.height();
    // Apart by a marker's width at the closest zoom: zoom in on them.
    if (apart * Map::tileSize * std::exp2(maxZoom) > MapSprites::markerSize && m_zoom < maxZoom) {
        const double fit = Map::zoomToFit(bounds, QSizeF(width() - 96, height() - 96));
        m_zoom = std::clamp(std::max(fit, m_zoom + 1), minimumZoom(), maxZoom);
        m_center = bounds.center();
        viewMoved(true);
        return;
    }
    QStringList keys;
    QStringList names;
    for (int member : spot.members) {
        keys << m_markers[member].key;
        names << m_markers[member].name;
    }
    Q_EMIT groupActivated(keys, names);
}

void MeshMap::activateNode(const QString& publicKey) {
    for (const MapMarker& marker : m_markers) {
        if (marker.key == publicKey && !marker.self) {
            Q_EMIT nodeActivated(marker.key, marker.type == MeshProtocol::AdvertType::chat ||
                                                 marker.type == MeshProtocol::AdvertType::room);
            return;
        }
    }
}

// --- the view

double MeshMap::minimumZoom() const {
    // The world is never narrower or lower than the view.
    const double side = std::max({width(), height(), Map::tileSize});
    return std::log2(side / Map::tileSize);
}

double MeshMap::worldPixels() const {
    return Map::tileSize * std::exp2(m_zoom);
}

QPointF MeshMap::topLeftPixels() const {
    return m_center * worldPixels() - QPointF(width() / 2, height() / 2);
}

QPointF MeshMap::toItem(const QPointF& world) const {
    return world * worldPixels() - topLeftPixels();
}

double MeshMap::centerLatitude() const {
    return Map::unproject(m_center).latitude;
}

double MeshMap::centerLongitude() const {
    return Map::unproject(m_center).longitude;
}

void MeshMap::setZoom(double zoom) {
    if (!std::isfinite(zoom))
        return;
    zoomAround(zoom - m_zoom, width() / 2, height() / 2);
}

void MeshMap::clampView() {
    m_zoom = std::clamp(m_zoom, minimumZoom(), maxZoom);
    const double world = worldPixels();
    const double halfWidth = std::min(0.5, width() / 2 / world);
    const double halfHeight = std::min(0.5, height() / 2 / world);
    m_center.setX(std::clamp(m_center.x(), halfWidth, 1 - halfWidth));
    m_center.setY(std::clamp(m_center.y(), halfHeight, 1 - halfHeight));
}

void MeshMap::viewMoved(bool byUser) {
    if (byUser)
        m_userMoved = true;
    clampView();
    cluster();
    refreshVisible();
    ++m_viewRevision;
    m_markersMoved = true;
    // What lies under a resting pointer changes as the view moves.
    setHovered(m_hoverAt ? markerAt(m_hoverAt->x(), m_hoverAt->y()) : -1);
    Q_EMIT viewChanged();
    polish();
    update();
}

void MeshMap::panBy(qreal dx, qreal dy) {
    if (!std::isfinite(dx) || !std::isfinite(dy) || (dx == 0 && dy == 0))
        return;
    m_center -= QPointF(dx, dy) / worldPixels();
    viewMoved(true);
}

void MeshMap::zoomAround(qreal levels, qreal x, qreal y) {
    if (!std::isfinite(levels) || !std::isfinite(x) || !std::isfinite(y))
        return;
    const double zoom = std::clamp(m_zoom + levels, minimumZoom(), maxZoom);
    if (zoom == m_zoom)
        return;
    // The world point under (x, y) stays there.
    const QPointF anchor = (topLeftPixels() + QPointF(x, y)) / worldPixels();
    m_zoom = zoom;
    m_center = anchor - (QPointF(x, y) - QPointF(width() / 2, height() / 2)) / worldPixels();
    viewMoved(true);
}

void MeshMap::fitMarkers() {
    if (!hasSize()) {
        m_fitPending = true;
        return;
    }
    m_fitPending = false;
    if (m_markerWorld.empty()) {
        m_zoom = minimumZoom();
        m_center = Map::project({30, 10});
    } else {
        QRectF bounds(m_markerWorld.front(), QSizeF(0, 0));
        for (const QPointF& world : m_markerWorld)
            bounds = bounds.united(QRectF(world, QSizeF(1e-12, 1e-12)));
        m_center = bounds.center();
        const QSizeF room(std::max(1.0, width() - 96), std::max(1.0, height() - 96));
        m_zoom = std::min(Map::zoomToFit(bounds, room), 15.0);
    }
    viewMoved(false);
}

void MeshMap::showSpan(double latitude, double longitude, double span) {
    if (!Map::isValidPosition(latitude, longitude) || !(span > 0) || !std::isfinite(span))
        return;
    if (!hasSize()) {
        m_pendingSpan = Span{{latitude, longitude}, span};
        return;
    }
    m_pendingSpan.reset();
    m_center = Map::project({latitude, longitude});
    m_zoom = Map::zoomToFit(Map::spanAround({latitude, longitude}, span), size());
    viewMoved(false);
}

void MeshMap::geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) {
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    if (newGeometry.size() == oldGeometry.size() || !hasSize())
        return;
    if (m_pendingSpan)
        showSpan(m_pendingSpan->centre.latitude, m_pendingSpan->centre.longitude,
                 m_pendingSpan->degrees);
    else if (m_fitPending || (m_autoFit && !m_userMoved))
        fitMarkers();
    else
        viewMoved(false);
}

void MeshMap::itemChange(ItemChange change, const ItemChangeData& value) {
    QQuickItem::itemChange(change, value);
    if (change == ItemSceneChange && value.window) {
        // The first map shown reads the outline, once its first frame is
        // out, so that reading takes nothing from that frame; later maps
        // find it read.
        if (!BaseMap::instance()->isLoaded() && !m_loadAfterFrame) {
            m_loadAfterFrame = connect(
                value.window, &QQuickWindow::frameSwapped, this,
                [this] {
                    disconnect(m_loadAfterFrame);
                    BaseMap::instance()->load();
                },
                Qt::QueuedConnection);
        }
        polish();
    }
    if (change == ItemDevicePixelRatioHasChanged)
        polish();
}

bool MeshMap::outlineOnly() const {
    if (m_streetTiles && Map::isUsableTileAddress(m_tileAddress))
        return false;
    return Map::metresPerPixel(centerLatitude(), m_zoom) < outlineLimitMetresPerPixel;
}

double MeshMap::scaleBarWidth() const {
    return Map::scaleBar(Map::metresPerPixel(centerLatitude(), m_zoom), 100).width;
}

QString MeshMap::scaleBarText() const {
    return ViewLogic::scaleText(
        Map::scaleBar(Map::metresPerPixel(centerLatitude(), m_zoom), 100).metres);
}

void MeshMap::setDark(bool dark) {
    if (m_dark == dark)
        return;
    m_dark = dark;
    clearTiles();
    Q_EMIT styleChanged();
}

void MeshMap::setStreetTiles(bool on) {
    if (m_streetTiles == on)
        return;
    m_streetTiles = on;
    if (on) {
        Map::TileCache* cache = StreetTiles::cache();
        connect(cache, &Map::TileCache::tileArrived, this, &MeshMap::streetTileArrived,
                Qt::UniqueConnection);
    } else {
        m_streetImages.clear();
        m_streetWanted.clear();
    }
    Q_EMIT streetTilesChanged();
    viewMoved(false);
}

void MeshMap::setTileAddress(const QString& address) {
    if (m_tileAddress == address)
        return;
    m_tileAddress = address;
    m_streetImages.clear();
    Q_EMIT streetTilesChanged();
    viewMoved(false);
}

QString MeshMap::attribution() const {
    if (!m_streetTiles)
        return {};
    QString text = QStringLiteral("© OpenStreetMap contributors");
    const std::optional<QUrl> url = Map::tileUrl(m_tileAddress, {0, 0, 0});
    if (url && !url->host().endsWith(QLatin1String("openstreetmap.org")))
        text += QStringLiteral(" · ") + url->host();
    return text;
}

// --- tiles

int MeshMap::tileZoom(int highest) const {
    return std::clamp(int(std::floor(m_zoom + 0.5)), 0, highest);
}

// The tiles of one zoom level that the view shows, nearest to its centre
// first.
QList<TileId> MeshMap::tilesInView(int zoom) const {
    QList<TileId> tiles;
    if (!hasSize())
        return tiles;
    const double side = Map::tileSize * std::exp2(m_zoom - zoom);
    const QPointF topLeft = topLeftPixels();
    const int last = (1 << zoom) - 1;
    const int x0 = std::clamp(int(std::floor(topLeft.x() / side)), 0, last);
    const int y0 = std::clamp(int(std::floor(topLeft.y() / side)), 0, last);
    const int x1 = std::clamp(int(std::floor((topLeft.x() + width()) / side)), 0, last);
    const int y1 = std::clamp(int(std::floor((topLeft.y() + height()) / side)), 0, last);
    const QPointF centre = (topLeft + QPointF(width() / 2, height() / 2)) / side;
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x)
            tiles.append({zoom, x, y});
    }
    std::sort(tiles.begin(), tiles.end(), [centre](const TileId& a, const TileId& b) {
        const auto distance = [centre](const TileId& t) {
            return std::hypot(t.x + 0.5 - centre.x(), t.y + 0.5 - centre.y());
        };
        return distance(a) < distance(b);
    });
    return tiles;
}

void MeshMap::clearTiles() {
    ++m_generation;
    m_outlineImages.clear();
    m_streetImages.clear();
    polish();
    update();
}

int MeshMap::pendingTiles() const {
    int pending = int(m_rendering.size());
    for (const TileId& tile : m_outlineWanted)
        pending += m_outlineImages.contains(tile) ? 0 : 1;
    return pending;
}

void MeshMap::updatePolish() {
    if (!window() || !hasSize())
        return;
    const qreal ratio = window()->effectiveDevicePixelRatio();
    if (ratio != m_pixelRatio) {
        m_pixelRatio = ratio;
        m_sprites.clear();
        m_markersMoved = true;
        clearTiles();
    }
    requestTiles();
    // Marker pictures are drawn here, on the GUI thread, where text may be.
    for (int index : m_visible) {
        const int kind = spriteKind(m_spots[index]);
        if (m_sprites.contains(kind))
            continue;
        QImage sprite;
        if (kind == selfKind)
            sprite = MapSprites::self(m_pixelRatio);
        else if (kind >= groupKind)
            sprite = MapSprites::group(kind - groupKind, m_pixelRatio);
        else
            sprite = MapSprites::marker(MeshProtocol::advertTypeOrNone(std::uint8_t(kind)),
                                        m_pixelRatio);
        m_sprites.insert(kind, sprite);
    }
    if (m_markersMoved)
        drawMarkers();
    update();
}

// The markers in view into one picture of the item's size: the user's
// radio (first in Tab order) under the others, which come farthest first,
// so that the nearest are drawn on top.
void MeshMap::drawMarkers() {
    m_markersMoved = false;
    const QSize pixels = (size() * m_pixelRatio).toSize().expandedTo(QSize(1, 1));
    if (m_markerLayer.size() != pixels) {
        m_markerLayer = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        m_markerLayer.setDevicePixelRatio(m_pixelRatio);
    }
    m_markerLayer.fill(Qt::transparent);
    QPainter painter(&m_markerLayer);
    const int count = markerCount();
    const bool selfFirst = count > 0 && m_spots[m_visible[0]].self;
    for (int n = 0; n < count; ++n) {
        const int index = selfFirst ? (n == 0 ? 0 : count - n) : count - 1 - n;
        const QRectF rect = markerRect(index);
        // Whole device pixels: a plain copy, and crisp.
        painter.drawImage(QPointF(std::round(rect.left() * m_pixelRatio) / m_pixelRatio,
                                  std::round(rect.top() * m_pixelRatio) / m_pixelRatio),
                          m_sprites.value(spriteKind(m_spots[m_visible[index]])));
    }
    painter.end();
    ++m_markerLayerVersion;
}

void MeshMap::requestTiles() {
    m_outlineWanted = m_outline ? tilesInView(tileZoom(int(maxZoom))) : QList<TileId>{};
    renderNext();
    if (m_streetTiles && Map::isUsableTileAddress(m_tileAddress)) {
        m_streetWanted = tilesInView(tileZoom(Map::maxTileZoom));
        QList<TileId> missing;
        for (const TileId& tile : std::as_const(m_streetWanted)) {
            if (!m_streetImages.contains(tile))
                missing.append(tile);
        }
        StreetTiles::cache()->want(m_tileAddress, missing);
    } else {
        m_streetWanted.clear();
    }
}

void MeshMap::renderNext() {
    for (const TileId& tile : std::as_const(m_outlineWanted)) {
        if (m_rendering.size() >= maxRendering)
            return;
        if (m_outlineImages.contains(tile) || m_rendering.contains(tile))
            continue;
        auto* watcher = new QFutureWatcher<QImage>(this);
        m_rendering.insert(tile, watcher);
        const int generation = m_generation;
        connect(
            watcher, &QFutureWatcher<QImage>::finished, this, [this, watcher, tile, generation] {
                watcher->deleteLater();
                m_rendering.remove(tile);
                if (generation == m_generation) {
                    m_outlineImages.insert(tile, {watcher->result(), m_frame});
                    // Keep the newest; what the view shows now stays whatever its age.
                    if (m_outlineImages.size() > keptImages) {
                        std::vector<std::pair<quint64, TileId>> old;
                        for (auto it = m_outlineImages.cbegin(); it != m_outlineImages.cend();
                             ++it) {
                            if (!m_outlineWanted.contains(it.key()))
                                old.emplace_back(it->used, it.key());
                        }
                        std::sort(old.begin(), old.end(),
                                  [](const auto& a, const auto& b) { return a.first < b.first; });
                        for (size_t i = 0; i < old.size() && m_outlineImages.size() > keptImages;
                             ++i)
                            m_outlineImages.remove(old[i].second);
                    }
                    update();
                }
                renderNext();
            });
        watcher->setFuture(
            QtConcurrent::run([outline = m_outline, tile, ratio = m_pixelRatio,
                               style = m_dark ? MapStyle::dark() : MapStyle::light()] {
                return renderOutlineTile(*outline, tile, ratio, style);
            }));
    }
}

void MeshMap::streetTileArrived(TileId tile, const QByteArray& data) {
    if (!m_streetTiles || !m_streetWanted.contains(tile))
        return;
    auto* watcher = new QFutureWatcher<QImage>(this);
    const int generation = m_generation;
    connect(watcher, &QFutureWatcher<QImage>::finished, this, [this, watcher, tile, generation] {
        watcher->deleteLater();
        const QImage image = watcher->result();
        if (generation != m_generation || !m_streetTiles || image.isNull())
            return;
        m_streetImages.insert(tile, {image, m_frame});
        if (m_streetImages.size() > keptImages) {
            for (auto it = m_streetImages.begin(); it != m_streetImages.end();) {
                if (!m_streetWanted.contains(it.key()))
                    it = m_streetImages.erase(it);
                else
                    ++it;
            }
        }
        update();
    });
    watcher->setFuture(QtConcurrent::run([data] {
        QImage image;
        image.loadFromData(data);
        return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }));
}

QSGNode* MeshMap::updatePaintNode(QSGNode* old, UpdatePaintNodeData*) {
    auto* node = static_cast<MapNode*>(old);
    if (!node) {
        node = new MapNode;
        node->water = window()->createRectangleNode();
        node->appendChildNode(node->water);
        node->appendChildNode(node->outlineLayer);
        node->appendChildNode(node->streetLayer);
        node->appendChildNode(node->markerLayer);
    }
    ++node->frame;
    ++m_frame;
    const MapStyle style = m_dark ? MapStyle::dark() : MapStyle::light();
    node->water->setRect(boundingRect());
    node->water->setColor(style.water);

    const double world = worldPixels();
    const QPointF topLeft = topLeftPixels();
    const bool whole = std::abs(m_zoom - std::round(m_zoom)) < 1e-9;
    const auto place = [&](TileId tile) {
        const double side = world / std::exp2(tile.zoom);
        QRectF rect(tile.x * side - topLeft.x(), tile.y * side - topLeft.y(), side, side);
        if (whole) { // crisp: whole device pixels
            const auto snap = [this](double v) {
                return std::round(v * m_pixelRatio) / m_pixelRatio;
            };
            rect = QRectF(QPointF(snap(rect.left()), snap(rect.top())),
                          QPointF(snap(rect.right()), snap(rect.bottom())));
        }
        return rect;
    };
    // Each wanted tile shows its own image, or while that is on its way the
    // part of the nearest ancestor there is.
    const auto sync = [&](QSGNode* layer, QHash<TileId, QSGImageNode*>& nodes,
                          const QList<TileId>& wanted, QHash<TileId, TileImage>& images) {
        int shown = 0;
        QSet<TileId> keep;
        for (const TileId& tile : wanted) {
            TileImage* found = nullptr;
            int up = 0;
            for (TileId t = tile; t.zoom >= 0 && up <= 8; t = t.parent(), ++up) {
                const auto it = images.find(t);
                if (it != images.end()) {
                    found = &*it;
                    break;
                }
            }
            if (!found)
                continue;
            found->used = m_frame;
            keep.insert(tile);
            QSGTexture* texture = node->textureFor(window(), found->image);
            QSGImageNode*& image = nodes[tile];
            const bool created = !image;
            if (created) {
                image = window()->createImageNode();
                image->setOwnsTexture(false);
                image->setFiltering(QSGTexture::Linear);
            }
            if (image->texture() != texture)
                image->setTexture(texture);
            image->setSourceRect(subRect(QRectF(QPointF(0, 0), found->image.size()), up, tile));
            image->setRect(place(tile));
            // A node joins the tree with its texture: the software renderer
            // reads it at once.
            if (created)
                layer->appendChildNode(image);
            shown += up == 0 ? 1 : 0;
        }
        for (auto it = nodes.begin(); it != nodes.end();) {
            if (!keep.contains(it.key())) {
                layer->removeChildNode(*it);
                delete *it;
                it = nodes.erase(it);
            } else {
                ++it;
            }
        }
        return shown;
    };
    m_outlineShown = sync(node->outlineLayer, node->outlineNodes, m_outlineWanted, m_outlineImages);
    sync(node->streetLayer, node->streetNodes, m_streetWanted, m_streetImages);
    node->dropUnusedTextures();

    if (node->markerVersion != m_markerLayerVersion) {
        node->markerVersion = m_markerLayerVersion;
        QSGTexture* old = node->markerTexture;
        node->markerTexture =
            window()->createTextureFromImage(m_markerLayer, QQuickWindow::TextureHasAlphaChannel);
        if (!node->markers) {
            node->markers = window()->createImageNode();
            node->markers->setOwnsTexture(false);
            node->markers->setTexture(node->markerTexture);
            node->markerLayer->appendChildNode(node->markers);
        }
        node->markers->setTexture(node->markerTexture);
        node->markers->setSourceRect(QRectF(QPointF(0, 0), m_markerLayer.size()));
        node->markers->setRect(QRectF(QPointF(0, 0), m_markerLayer.deviceIndependentSize()));
        delete old;
    }
    return node;
}

// --- input

void MeshMap::keyPressEvent(QKeyEvent* event) {
    event->setAccepted(moveByKey(event->key()));
}

bool MeshMap::moveByKey(int key) {
    const qreal stepX = std::max(40.0, width() / 6);
    const qreal stepY = std::max(40.0, height() / 6);
    switch (key) {
    case Qt::Key_Left:
        panBy(stepX, 0);
        break;
    case Qt::Key_Right:
        panBy(-stepX, 0);
        break;
    case Qt::Key_Up:
        panBy(0, stepY);
        break;
    case Qt::Key_Down:
        panBy(0, -stepY);
        break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoomIn();
        break;
    case Qt::Key_Minus:
    case Qt::Key_Underscore:
        zoomOut();
        break;
    default:
        return false;
    }
    return true;
}

void MeshMap::mousePressEvent(QMouseEvent* event) {
    m_pressed = true;
    m_dragged = false;
    m_pressAt = event->position();
    m_lastDragAt = m_pressAt;
    setKeepMouseGrab(true);
    forceActiveFocus(Qt::MouseFocusReason);
    event->accept();
}

void MeshMap::mouseMoveEvent(QMouseEvent* event) {
    if (!m_pressed)
        return;
    const QPointF at = event->position();
    if (!m_dragged && (at - m_pressAt).manhattanLength() < 4)
        return;
    m_dragged = true;
    panBy(at.x() - m_lastDragAt.x(), at.y() - m_lastDragAt.y());
    m_lastDragAt = at;
}

void MeshMap::mouseReleaseEvent(QMouseEvent* event) {
    const bool click = m_pressed && !m_dragged;
    m_pressed = false;
    setKeepMouseGrab(false);
    if (click)
        activate(markerAt(event->position().x(), event->position().y()));
}

void MeshMap::mouseDoubleClickEvent(QMouseEvent* event) {
    if (markerAt(event->position().x(), event->position().y()) < 0)
        zoomAround(1, event->position().x(), event->position().y());
}

void MeshMap::wheelEvent(QWheelEvent* event) {
    // A notch of a mouse wheel is half a level; touchpads scroll in pixels.
    const double levels = !event->pixelDelta().isNull() ? event->pixelDelta().y() / 200.0
                                                        : event->angleDelta().y() / 240.0;
    zoomAround(levels, event->position().x(), event->position().y());
    event->accept();
}

void MeshMap::hoverMoveEvent(QHoverEvent* event) {
    m_hoverAt = event->position();
    setHovered(markerAt(event->position().x(), event->position().y()));
}

void MeshMap::hoverLeaveEvent(QHoverEvent*) {
    m_hoverAt.reset();
    setHovered(-1);
}

void MeshMap::focusInEvent(QFocusEvent* event) {
    QQuickItem::focusInEvent(event);
    const bool byMouse = event->reason() == Qt::MouseFocusReason;
    if (byMouse != m_focusedByMouse) {
        m_focusedByMouse = byMouse;
        Q_EMIT focusedByMouseChanged();
    }
}

void MeshMap::setHovered(int index) {
    if (m_hovered == index)
        return;
    m_hovered = index;
    setCursor(index >= 0 ? Qt::PointingHandCursor : Qt::ArrowCursor);
    Q_EMIT hoveredMarkerChanged();
}
