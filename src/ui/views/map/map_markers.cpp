#include "map_markers.h"

#include "logic/map_texts.h"
#include "logic/safe_text.h"
#include "map/geodesy.h"

#include <algorithm>

namespace {

MapMarker markerFor(const Contact& contact) {
    return {contact.publicKey,
            ViewLogic::safeName(contact.name.isEmpty() ? contact.publicKey.left(12) : contact.name),
            contact.type,
            {contact.latitude, contact.longitude},
            false};
}

} // namespace

void MapMarkerSource::attach(MeshController* controller) {
    if (controller) {
        connect(controller, &MeshController::contactsChanged, this,
                &MapMarkerSource::scheduleReload);
        connect(controller, &MeshController::selfInfoChanged, this,
                &MapMarkerSource::scheduleReload);
    }
    reload();
}

int MapMarkerSource::nodeCount() const {
    return int(std::count_if(m_markers.begin(), m_markers.end(),
                             [](const MapMarker& marker) { return !marker.self; }));
}

void MapMarkerSource::scheduleReload() {
    if (m_reloadPending)
        return;
    m_reloadPending = true;
    QMetaObject::invokeMethod(this, &MapMarkerSource::reload, Qt::QueuedConnection);
}

void MapMarkerSource::reload() {
    m_reloadPending = false;
    std::optional<Map::GeoPoint> self;
    if (controller() && controller()->selfInfo()) {
        const SelfInfo& info = *controller()->selfInfo();
        if (Map::isValidPosition(info.latitude, info.longitude))
            self = Map::GeoPoint{info.latitude, info.longitude};
    }
    std::vector<MapMarker> markers = collect(self);
    if (markers == m_markers && self == m_self)
        return;
    m_markers = std::move(markers);
    m_self = self;
    Q_EMIT markersChanged();
}

std::vector<MapMarker> MeshMapModel::collect(const std::optional<Map::GeoPoint>& self) const {
    std::vector<MapMarker> markers;
    if (!controller())
        return markers;
    if (self) {
        const SelfInfo& info = *controller()->selfInfo();
        markers.push_back(
            {info.publicKey, ViewLogic::safeName(info.name), info.advertType, *self, true});
    }
    const QList<Contact>& contacts = controller()->contacts();
    markers.reserve(markers.size() + contacts.size());
    for (const Contact& contact : contacts) {
        if (Map::isValidPosition(contact.latitude, contact.longitude))
            markers.push_back(markerFor(contact));
    }
    return markers;
}

void NodeMapModel::setPublicKey(const QString& key) {
    if (m_publicKey == key)
        return;
    m_publicKey = key;
    Q_EMIT publicKeyChanged();
    reload();
}

std::vector<MapMarker> NodeMapModel::collect(const std::optional<Map::GeoPoint>&) const {
    if (!controller() || m_publicKey.isEmpty())
        return {};
    const std::optional<Contact> contact = controller()->contactForKey(m_publicKey);
    if (!contact || !Map::isValidPosition(contact->latitude, contact->longitude))
        return {};
    // The one marker of a node's own map carries the plain title "Node".
    MapMarker marker = markerFor(*contact);
    marker.name = qtTrId("node.detail.marker.node");
    return {marker};
}

QString NodeMapModel::distanceText() const {
    const std::optional<Map::GeoPoint>& self = selfPosition();
    if (!self || !hasMap())
        return {};
    const Map::GeoPoint node = markers().front().position;
    return ViewLogic::distanceAndBearingText(Map::distanceMetres(*self, node),
                                             Map::bearingDegrees(*self, node));
}
