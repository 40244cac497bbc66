#include "map/marker_clusters.h"

#include "map/projection.h"

#include <QHash>
#include <cmath>

namespace Map {

std::vector<MarkerCluster> clusterMarkers(const std::vector<QPointF>& world, double zoom,
                                          double radius) {
    std::vector<MarkerCluster> clusters;
    if (world.empty())
        return clusters;
    const double scale = tileSize * std::exp2(zoom);
    const double cell = std::max(radius, 1.0);
    // Pixel positions, bucketed in cells of the radius: neighbours within
    // the radius are in the same cell or the eight around it.
    std::vector<QPointF> pixels(world.size());
    QHash<quint64, std::vector<int>> cells;
    const auto key = [](qint64 x, qint64 y) { return (quint64(quint32(x)) << 32) | quint32(y); };
    for (size_t i = 0; i < world.size(); ++i) {
        pixels[i] = world[i] * scale;
        cells[key(qint64(std::floor(pixels[i].x() / cell)),
                  qint64(std::floor(pixels[i].y() / cell)))]
            .push_back(int(i));
    }
    std::vector<char> taken(world.size(), 0);
    const double radius2 = radius * radius;
    for (size_t seed = 0; seed < world.size(); ++seed) {
        if (taken[seed])
            continue;
        taken[seed] = 1;
        MarkerCluster cluster;
        cluster.members.push_back(int(seed));
        const QPointF at = pixels[seed];
        const auto cx = qint64(std::floor(at.x() / cell));
        const auto cy = qint64(std::floor(at.y() / cell));
        for (qint64 y = cy - 1; y <= cy + 1; ++y) {
            for (qint64 x = cx - 1; x <= cx + 1; ++x) {
                const auto found = cells.constFind(key(x, y));
                if (found == cells.constEnd())
                    continue;
                for (int other : *found) {
                    if (taken[other])
                        continue;
                    const QPointF d = pixels[other] - at;
                    if (d.x() * d.x() + d.y() * d.y() <= radius2) {
                        taken[other] = 1;
                        cluster.members.push_back(other);
                    }
                }
            }
        }
        QPointF sum;
        for (int member : cluster.members)
            sum += world[member];
        cluster.world = sum / double(cluster.members.size());
        clusters.push_back(std::move(cluster));
    }
    return clusters;
}

} // namespace Map
