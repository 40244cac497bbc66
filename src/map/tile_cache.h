#pragma once

#include "map/tile_address.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

class QNetworkAccessManager;
class QNetworkReply;

namespace Map {

// Fetches street map tiles over HTTP into a disk cache of bounded size that
// follows the server's caching headers (a fresh tile is read from the disk,
// a stale one revalidated, one marked no-store never kept). Only the tiles
// asked for are fetched, at most two at a time, nothing around them.
class TileCache : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString directory;
        qint64 maxBytes = 100 * 1024 * 1024;
        QByteArray userAgent;
    };
    // Where the application keeps its tiles: "tiles" in the cache folder.
    static QString defaultDirectory();

    explicit TileCache(Options options, QObject* parent = nullptr);
    ~TileCache() override;

    // The tiles the map shows now, most wanted first. Tiles asked for
    // earlier that have not started are dropped; those on the way finish.
    void want(const QString& address, const QList<TileId>& tiles);
    // Bytes the disk cache holds.
    qint64 cacheSize() const;

    static constexpr int maxConnections = 2;

Q_SIGNALS:
    void tileArrived(Map::TileId tile, const QByteArray& data);
    void tileFailed(Map::TileId tile);

private:
    void startNext();
    void finished(QNetworkReply* reply, TileId tile);

    Options m_options;
    QNetworkAccessManager* m_network;
    QString m_address;
    QList<TileId> m_queue;
    QHash<TileId, QNetworkReply*> m_running;
    QSet<TileId> m_failed; // not asked again for this address
};

} // namespace Map
