#pragma once

#include "map/marker_clusters.h"
#include "map/outline.h"
#include "map/tile_address.h"
#include "map_markers.h"
#include "map_style.h"

#include <QHash>
#include <QImage>
#include <QPointer>
#include <QQuickItem>
#include <QtQml/qqml.h>
#include <memory>
#include <optional>
#include <vector>

template <typename T>
class QFutureWatcher;

// A map of our own drawing: the bundled outline of the world (and street
// tiles when the user turned them on) in Web Mercator, with a marker per
// node of `markers`, drawn with the scene graph's image nodes only so that
// every renderer, the software one included, draws it the same.
//
// Drag pans, the wheel and a pinch zoom, a click on a marker activates it.
// Markers that would cover each other become a group with a count. With
// the keyboard focus, arrows pan and + and - zoom; the view around it (the
// MapFrame) walks the markers in view with Tab, in the order of `marker*`:
// the user's radio first, then the nearest to it.
//
// Nothing is drawn while nothing changes: frames come only from input,
// from tiles arriving and from markers changing.
class MeshMap : public QQuickItem {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(MapMarkerSource* markers READ markers WRITE setMarkers NOTIFY markersChanged)
    // Fit every marker into view until the user moves the map.
    Q_PROPERTY(bool autoFit MEMBER m_autoFit NOTIFY autoFitChanged)
    Q_PROPERTY(double zoom READ zoom WRITE setZoom NOTIFY viewChanged)
    Q_PROPERTY(double minimumZoom READ minimumZoom NOTIFY viewChanged)
    Q_PROPERTY(double maximumZoom READ maximumZoom CONSTANT)
    Q_PROPERTY(double centerLatitude READ centerLatitude NOTIFY viewChanged)
    Q_PROPERTY(double centerLongitude READ centerLongitude NOTIFY viewChanged)
    // Counts every change of the view or of the markers in it, for bindings
    // that call the marker functions.
    Q_PROPERTY(int viewRevision READ viewRevision NOTIFY viewChanged)
    Q_PROPERTY(bool dark READ dark WRITE setDark NOTIFY styleChanged)
    Q_PROPERTY(bool streetTiles READ streetTiles WRITE setStreetTiles NOTIFY streetTilesChanged)
    Q_PROPERTY(QString tileAddress READ tileAddress WRITE setTileAddress NOTIFY streetTilesChanged)
    Q_PROPERTY(QString attribution READ attribution NOTIFY streetTilesChanged)
    Q_PROPERTY(bool baseMapReady READ baseMapReady NOTIFY baseMapReadyChanged)
    // Zoomed in beyond what the outline can tell, with no street tiles.
    Q_PROPERTY(bool outlineOnly READ outlineOnly NOTIFY viewChanged)
    Q_PROPERTY(double scaleBarWidth READ scaleBarWidth NOTIFY viewChanged)
    Q_PROPERTY(QString scaleBarText READ scaleBarText NOTIFY viewChanged)
    // Markers (single nodes, groups, the user's radio) now in view.
    Q_PROPERTY(int markerCount READ markerCount NOTIFY viewChanged)
    Q_PROPERTY(int hoveredMarker READ hoveredMarker NOTIFY hoveredMarkerChanged)
    // The focus came from a click, not from the keyboard: no focus ring.
    Q_PROPERTY(bool focusedByMouse READ focusedByMouse NOTIFY focusedByMouseChanged)

public:
    static constexpr double maxZoom = 18;
    // Below this many metres per pixel the outline has nothing more to say.
    static constexpr double outlineLimitMetresPerPixel = 100;

    explicit MeshMap(QQuickItem* parent = nullptr);
    ~MeshMap() override;

    MapMarkerSource* markers() const { return m_source; }
    void setMarkers(MapMarkerSource* source);
    double zoom() const { return m_zoom; }
    void setZoom(double zoom);
    double minimumZoom() const;
    double maximumZoom() const { return maxZoom; }
    double centerLatitude() const;
    double centerLongitude() const;
    int viewRevision() const { return m_viewRevision; }
    bool dark() const { return m_dark; }
    void setDark(bool dark);
    bool streetTiles() const { return m_streetTiles; }
    void setStreetTiles(bool on);
    const QString& tileAddress() const { return m_tileAddress; }
    void setTileAddress(const QString& address);
    QString attribution() const;
    bool baseMapReady() const { return m_outline != nullptr; }
    bool outlineOnly() const;
    double scaleBarWidth() const;
    QString scaleBarText() const;
    int markerCount() const { return int(m_visible.size()); }
    int hoveredMarker() const { return m_hovered; }
    bool focusedByMouse() const { return m_focusedByMouse; }

    // The markers in view, by index from 0 to markerCount - 1.
    Q_INVOKABLE QString markerName(int index) const;
    Q_INVOKABLE QString markerSpoken(int index) const;
    Q_INVOKABLE QRectF markerRect(int index) const;
    // Stays with a marker while the view moves; empty for a bad index.
    Q_INVOKABLE QString markerId(int index) const;
    // -1 when that marker is not in view (any more).
    Q_INVOKABLE int markerIndex(const QString& id) const;
    Q_INVOKABLE int markerAt(qreal x, qreal y) const;
    // A node opens its details; a group zooms in until it comes apart, or,
    // when its nodes share one place, offers them in a list.
    Q_INVOKABLE void activate(int index);
    // A node of `markers` by its key, as when its own marker is activated.
    Q_INVOKABLE void activateNode(const QString& publicKey);

    Q_INVOKABLE void panBy(qreal dx, qreal dy);
    // By `levels` zoom levels (negative: out), keeping (x, y) in place.
    Q_INVOKABLE void zoomAround(qreal levels, qreal x, qreal y);
    // Arrows pan, + and - zoom; false for any other key.
    Q_INVOKABLE bool moveByKey(int key);
    Q_INVOKABLE void zoomIn() { zoomAround(1, width() / 2, height() / 2); }
    Q_INVOKABLE void zoomOut() { zoomAround(-1, width() / 2, height() / 2); }
    // Every marker in view; the whole world without any.
    Q_INVOKABLE void fitMarkers();
    // A region `span` degrees wide and high around a position. A position
    // that is not usable moves nothing.
    Q_INVOKABLE void showSpan(double latitude, double longitude, double span);

    // Frames and tiles, for the tests and the bench.
    int outlineTilesShown() const { return m_outlineShown; }
    int pendingTiles() const;

Q_SIGNALS:
    void markersChanged();
    void autoFitChanged();
    void viewChanged();
    void styleChanged();
    void streetTilesChanged();
    void baseMapReadyChanged();
    void hoveredMarkerChanged();
    void focusedByMouseChanged();
    void nodeActivated(const QString& publicKey, bool canChat);
    void selfActivated();
    // Nodes that share one place: keys and names, in the same order.
    void groupActivated(const QStringList& publicKeys, const QStringList& names);

protected:
    QSGNode* updatePaintNode(QSGNode* old, UpdatePaintNodeData* data) override;
    void updatePolish() override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void hoverMoveEvent(QHoverEvent* event) override;
    void hoverLeaveEvent(QHoverEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    // A marker as drawn: one node, a group of nodes, or the user's radio.
    struct Spot {
        QPointF world;
        std::vector<int> members; // into m_markers
        bool self = false;
    };
    struct TileImage {
        QImage image;
        quint64 used = 0;
    };
    struct Sprite {
        int kind = 0; // see spriteKind()
        QImage image;
    };

    void markersUpdated();
    void drawMarkers();
    void cluster();
    void viewMoved(bool byUser);
    void refreshVisible();
    void setHovered(int index);
    void clampView();
    bool hasSize() const { return width() > 0 && height() > 0; }
    double worldPixels() const;
    QPointF topLeftPixels() const;
    QPointF toItem(const QPointF& world) const;
    int tileZoom(int highest) const;
    QList<Map::TileId> tilesInView(int zoom) const;
    void requestTiles();
    void renderNext();
    void streetTileArrived(Map::TileId tile, const QByteArray& data);
    void clearTiles();
    int spriteKind(const Spot& spot) const;
    QSizeF spriteSize(int kind) const;
    std::optional<double> distanceFromSelf(const Spot& spot) const;

    QPointer<MapMarkerSource> m_source;
    std::vector<MapMarker> m_markers;
    std::vector<QPointF> m_markerWorld;
    std::vector<int> m_nameRank; // of each marker, by name
    std::optional<Map::GeoPoint> m_self;
    std::vector<Spot> m_spots; // in Tab order
    int m_clusterZoom = -1;
    std::vector<int> m_visible;       // spots in view, in Tab order
    std::vector<QPointF> m_visibleAt; // their centres in item coordinates
    int m_hovered = -1;
    std::optional<QPointF> m_hoverAt;

    QPointF m_center{0.5, 0.5};
    double m_zoom = 2;
    int m_viewRevision = 0;
    bool m_autoFit = false;
    bool m_userMoved = false;
    bool m_fitPending = false;
    struct Span {
        Map::GeoPoint centre;
        double degrees = 0;
    };
    std::optional<Span> m_pendingSpan;

    bool m_dark = false;
    bool m_streetTiles = false;
    QString m_tileAddress;
    std::shared_ptr<const Map::Outline> m_outline;
    QMetaObject::Connection m_loadAfterFrame;
    qreal m_pixelRatio = 1;
    int m_generation = 0; // tiles of an older style or pixel ratio are dropped
    quint64 m_frame = 0;
    QHash<Map::TileId, TileImage> m_outlineImages;
    QHash<Map::TileId, TileImage> m_streetImages;
    QList<Map::TileId> m_outlineWanted;
    QList<Map::TileId> m_streetWanted;
    QHash<Map::TileId, QFutureWatcher<QImage>*> m_rendering;
    QHash<int, QImage> m_sprites;
    QImage m_markerLayer;
    int m_markerLayerVersion = 0;
    bool m_markersMoved = true;
    int m_outlineShown = 0;

    QPointF m_pressAt;
    QPointF m_lastDragAt;
    bool m_focusedByMouse = false;
    bool m_pressed = false;
    bool m_dragged = false;
};
