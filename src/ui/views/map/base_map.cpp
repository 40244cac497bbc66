#include "base_map.h"

#include <QCoreApplication>
#include <QResource>
#include <QtConcurrent/QtConcurrentRun>

BaseMap* BaseMap::instance() {
    static BaseMap* map = [] {
        auto* created = new BaseMap(QCoreApplication::instance());
        connect(&created->m_watcher, &QFutureWatcher<Result>::finished, created, [created] {
            const Result result = created->m_watcher.result();
            created->m_outline = result.outline;
            created->m_error = result.error;
            created->m_loadMillis = result.millis;
            if (!result.error.isEmpty())
                qWarning("The base map could not be read: %s", qPrintable(result.error));
            Q_EMIT created->loaded();
        });
        return created;
    }();
    return map;
}

void BaseMap::load() {
    if (m_started)
        return;
    m_started = true;
    m_watcher.setFuture(QtConcurrent::run(&BaseMap::read));
}

BaseMap::Result BaseMap::read() {
    QElapsedTimer timer;
    timer.start();
    Result result;
    const QByteArray data = QResource(QLatin1String(resourcePath)).uncompressedData();
    QString error;
    std::optional<Map::Outline> outline = Map::readOutline(data, &error);
    if (outline)
        result.outline = std::make_shared<const Map::Outline>(std::move(*outline));
    else
        result.error = error;
    result.millis = timer.elapsed();
    return result;
}
