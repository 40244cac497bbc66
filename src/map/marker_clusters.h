#pragma once

#include <QPointF>
#include <vector>

namespace Map {

// Markers that would cover each other at a zoom level, gathered into one
// that shows their count. `members` are indexes into the markers given.
struct MarkerCluster {
    QPointF world; // the members' centre, in world units
    std::vector<int> members;

    bool operator==(const MarkerCluster&) const = default;
};

// Greedy, in the order given: each marker not yet taken starts a cluster
// and takes every later free marker within `radius` pixels of it at `zoom`.
// Markers at the very same place always end in one cluster.
std::vector<MarkerCluster> clusterMarkers(const std::vector<QPointF>& world, double zoom,
                                          double radius);

} // namespace Map
