#pragma once

#include "map/outline.h"

#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QObject>
#include <memory>

// The bundled outline of the world, read once per run: the first map that
// is shown starts reading it on a worker thread and every map draws from
// the same copy once it is there. Until then maps show water and markers.
class BaseMap : public QObject {
    Q_OBJECT
public:
    static constexpr auto resourcePath = ":/map/world-outline.bin";

    static BaseMap* instance();

    // Starts reading, unless that has begun already.
    void load();
    bool isLoaded() const { return m_outline != nullptr; }
    // Null until loaded, and when the file could not be read.
    std::shared_ptr<const Map::Outline> outline() const { return m_outline; }
    const QString& error() const { return m_error; }
    // How long reading took on the worker, for the bench.
    qint64 loadMillis() const { return m_loadMillis; }

Q_SIGNALS:
    void loaded();

private:
    using QObject::QObject;
    struct Result {
        std::shared_ptr<const Map::Outline> outline;
        QString error;
        qint64 millis = 0;
    };
    static Result read();

    bool m_started = false;
    std::shared_ptr<const Map::Outline> m_outline;
    QString m_error;
    qint64 m_loadMillis = 0;
    QFutureWatcher<Result> m_watcher;
};
