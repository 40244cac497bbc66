#include "map/tile_cache.h"

#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QStandardPaths>

namespace Map {

QString TileCache::defaultDirectory() {
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
           QStringLiteral("/tiles");
}

TileCache::TileCache(Options options, QObject* parent)
    : QObject(parent)
    , m_options(std::move(options))
    , m_network(new QNetworkAccessManager(this)) {
    auto* cache = new QNetworkDiskCache(m_network);
    cache->setCacheDirectory(m_options.directory);
    cache->setMaximumCacheSize(m_options.maxBytes);
    m_network->setCache(cache);
    m_network->setTransferTimeout(20000);
}

TileCache::~TileCache() {
    for (QNetworkReply* reply : std::as_const(m_running)) {
        reply->disconnect(this);
        reply->abort();
    }
}

qint64 TileCache::cacheSize() const {
    return m_network->cache() ? m_network->cache()->cacheSize() : 0;
}

void TileCache::want(const QString& address, const QList<TileId>& tiles) {
    if (address != m_address) {
        m_address = address;
        m_failed.clear();
    }
    m_queue.clear();
    for (const TileId& tile : tiles) {
        if (tile.isValid() && !m_running.contains(tile) && !m_failed.contains(tile) &&
            !m_queue.contains(tile))
            m_queue.append(tile);
    }
    startNext();
}

void TileCache::startNext() {
    while (m_running.size() < maxConnections && !m_queue.isEmpty()) {
        const TileId tile = m_queue.takeFirst();
        const std::optional<QUrl> url = tileUrl(m_address, tile);
        if (!url) {
            m_failed.insert(tile);
            Q_EMIT tileFailed(tile);
            continue;
        }
        QNetworkRequest request(*url);
        request.setHeader(QNetworkRequest::UserAgentHeader, m_options.userAgent);
        // The default, PreferNetwork, serves fresh tiles from the disk and
        // revalidates stale ones: the server's headers decide.
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                             QNetworkRequest::PreferNetwork);
        QNetworkReply* reply = m_network->get(request);
        m_running.insert(tile, reply);
        connect(reply, &QNetworkReply::finished, this,
                [this, reply, tile] { finished(reply, tile); });
    }
}

void TileCache::finished(QNetworkReply* reply, TileId tile) {
    reply->deleteLater();
    m_running.remove(tile);
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QByteArray data =
        reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
    if (status == 200 && !data.isEmpty()) {
        Q_EMIT tileArrived(tile, data);
    } else {
        m_failed.insert(tile);
        Q_EMIT tileFailed(tile);
    }
    startNext();
}

} // namespace Map
