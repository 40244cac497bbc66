#pragma once

#include "controller_bound.h"
#include "map/projection.h"
#include "model/mesh_enums.h"

#include <QObject>
#include <QString>
#include <QtQml/qqml.h>
#include <optional>
#include <vector>

// One node on a map. Only nodes with a usable position become markers
// (Map::isValidPosition): whatever else the radio reports draws nothing.
struct MapMarker {
    QString key;  // the node's public key
    QString name; // safe to show
    MeshProtocol::AdvertType type = MeshProtocol::AdvertType::none;
    Map::GeoPoint position;
    bool self = false; // the user's own radio

    bool operator==(const MapMarker&) const = default;
};

// What a map shows, from the controller's contacts and own radio.
class MapMarkerSource : public ControllerBoundObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("A map shows a MeshMapModel or a NodeMapModel.")
    Q_PROPERTY(int count READ count NOTIFY markersChanged)
    // Markers of other nodes (all but the user's own radio).
    Q_PROPERTY(int nodeCount READ nodeCount NOTIFY markersChanged)

public:
    using ControllerBoundObject::ControllerBoundObject;

    const std::vector<MapMarker>& markers() const { return m_markers; }
    int count() const { return int(m_markers.size()); }
    int nodeCount() const;
    // Where the user's own radio is, when it has a usable position.
    const std::optional<Map::GeoPoint>& selfPosition() const { return m_self; }

Q_SIGNALS:
    void markersChanged();

protected:
    void attach(MeshController* controller) override;
    // The markers for the controller's state now; `self` is the own radio's
    // position.
    virtual std::vector<MapMarker> collect(const std::optional<Map::GeoPoint>& self) const = 0;
    // Rebuilds once per turn of the event loop however many contacts
    // changed meanwhile (a sync brings them one by one).
    void scheduleReload();
    void reload();

private:
    std::vector<MapMarker> m_markers;
    std::optional<Map::GeoPoint> m_self;
    bool m_reloadPending = false;
};

// Every node with a position, and the user's own radio: the mesh map.
class MeshMapModel : public MapMarkerSource {
    Q_OBJECT
    QML_ELEMENT
public:
    using MapMarkerSource::MapMarkerSource;

protected:
    std::vector<MapMarker> collect(const std::optional<Map::GeoPoint>& self) const override;
};

// Markers handed in as they are, with no controller and nothing filtered on
// the way: the benchmark's scenes and the tests' maps.
class GivenMarkers : public MapMarkerSource {
public:
    using MapMarkerSource::MapMarkerSource;

    void set(std::vector<MapMarker> markers) {
        m_given = std::move(markers);
        reload();
    }

protected:
    std::vector<MapMarker> collect(const std::optional<Map::GeoPoint>&) const override {
        return m_given;
    }

private:
    std::vector<MapMarker> m_given;
};

// One node: the map of its details, and how far it is from the user's radio.
class NodeMapModel : public MapMarkerSource {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString publicKey READ publicKey WRITE setPublicKey NOTIFY publicKeyChanged)
    // A usable position: the map is shown.
    Q_PROPERTY(bool hasMap READ hasMap NOTIFY markersChanged)
    Q_PROPERTY(double latitude READ latitude NOTIFY markersChanged)
    Q_PROPERTY(double longitude READ longitude NOTIFY markersChanged)
    // "2.4 km NE" from the user's radio; empty unless both have a position.
    Q_PROPERTY(QString distanceText READ distanceText NOTIFY markersChanged)

public:
    using MapMarkerSource::MapMarkerSource;

    const QString& publicKey() const { return m_publicKey; }
    void setPublicKey(const QString& key);
    bool hasMap() const { return !markers().empty(); }
    double latitude() const { return hasMap() ? markers().front().position.latitude : 0; }
    double longitude() const { return hasMap() ? markers().front().position.longitude : 0; }
    QString distanceText() const;

Q_SIGNALS:
    void publicKeyChanged();

protected:
    std::vector<MapMarker> collect(const std::optional<Map::GeoPoint>& self) const override;

private:
    QString m_publicKey;
};
