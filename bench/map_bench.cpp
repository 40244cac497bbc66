#include "map_bench.h"

#include "base_map.h"
#include "map_markers.h"
#include "mesh_map.h"
#include "thread_time.h"
#include "translations.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QQuickView>
#include <QRandomGenerator>
#include <QSGRendererInterface>
#include <QThread>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <memory>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

namespace {

// Nodes scattered over the Helsinki region (60 × 78 km), of every kind.
std::vector<MapMarker> scatter(int count) {
    QRandomGenerator random(33);
    std::vector<MapMarker> markers;
    for (int i = 0; i < count; ++i) {
        const auto type = MeshProtocol::advertTypeOrNone(std::uint8_t(random.bounded(5)));
        markers.push_back(
            {QStringLiteral("key%1").arg(i),
             QStringLiteral("Node %1").arg(i),
             type,
             {60.0 + 0.55 * random.generateDouble(), 24.3 + 1.4 * random.generateDouble()},
             false});
    }
    return markers;
}

// One window with a MapFrame, and the time of each frame it draws: from
// the update request that starts it (polish, sync, render) to its swap.
struct Bench {
    QQmlEngine engine;
    MapSettings settings{nullptr};
    GivenMarkers markers;
    std::unique_ptr<QObject> frame;
    std::unique_ptr<QQuickWindow> window;
    MeshMap* map = nullptr;
    QElapsedTimer clock;
    std::atomic<qint64> frameStart{-1};
    std::atomic<qint64> frameStartCpu{-1};
    QList<double> frameMillis;
    QList<double> frameCpuMillis; // the software renderer's frames, on one thread
    int frames = 0;

    struct StartWatch : QObject {
        Bench* bench;
        explicit StartWatch(Bench* b)
            : bench(b) {}
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::UpdateRequest) {
                bench->frameStart = bench->clock.nsecsElapsed();
                bench->frameStartCpu = threadNanos();
            }
            return false;
        }
    } startWatch{this};

    explicit Bench(QSize size) {
        clock.start();
        engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
        QQmlComponent component(&engine, QUrl(QStringLiteral("qrc:/qt/qml/Talvenne/MapFrame.qml")));
        frame.reset(component.createWithInitialProperties(
            {{QStringLiteral("markers"), QVariant::fromValue<QObject*>(&markers)},
             {QStringLiteral("settings"), QVariant::fromValue<QObject*>(&settings)},
             {QStringLiteral("autoFit"), true}}));
        if (!frame) {
            std::fprintf(stderr, "%s\n", qPrintable(component.errorString()));
            return;
        }
        window = std::make_unique<QQuickWindow>();
        auto* item = qobject_cast<QQuickItem*>(frame.get());
        item->setParentItem(window->contentItem());
        item->setSize(size);
        window->resize(size);
        map = item->findChild<MeshMap*>(QStringLiteral("meshMap"));
        window->installEventFilter(&startWatch);
        QObject::connect(
            window.get(), &QQuickWindow::frameSwapped, window.get(),
            [this] {
                ++frames;
                const qint64 start = frameStart.exchange(-1);
                const qint64 startCpu = frameStartCpu.exchange(-1);
                if (start >= 0)
                    frameMillis << double(clock.nsecsElapsed() - start) / 1e6;
                // The software renderer draws on the GUI thread, where the
                // frame began.
                if (startCpu >= 0 && QThread::currentThread() == qApp->thread())
                    frameCpuMillis << double(threadNanos() - startCpu) / 1e6;
            },
            Qt::DirectConnection);
    }

    // Runs the event loop until `done`, at most `millis`.
    static bool spin(const std::function<bool()>& done, int millis) {
        QElapsedTimer timer;
        timer.start();
        while (!done() && timer.elapsed() < millis)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        return done();
    }
    // Until the base map is read and every tile in view drawn, and a
    // moment for the frames that follow.
    void settle() {
        spin([this] { return BaseMap::instance()->isLoaded() && map->pendingTiles() == 0; }, 20000);
        spin([] { return false; }, 300);
    }
    // One step of input, then the frame it causes: the time the input
    // took on the GUI thread (the view moved, markers grouped, bindings)
    // counts to that frame.
    void step(const std::function<void()>& input) {
        const int before = frames;
        const qint64 start = clock.nsecsElapsed();
        const qint64 startCpu = threadNanos();
        input();
        const double handling = double(clock.nsecsElapsed() - start) / 1e6;
        const double handlingCpu = double(threadNanos() - startCpu) / 1e6;
        const qsizetype frameIndex = frameMillis.size();
        const qsizetype cpuIndex = frameCpuMillis.size();
        spin([&] { return frames > before; }, 1000);
        if (frameMillis.size() > frameIndex)
            frameMillis[frameIndex] += handling;
        if (frameCpuMillis.size() > cpuIndex)
            frameCpuMillis[cpuIndex] += handlingCpu;
    }
};

QString ms(double value) {
    return QString::number(value, 'f', 1) + QStringLiteral(" ms");
}

void row(const QString& figure, const QString& value, const QString& target = {},
         std::optional<bool> holds = {}) {
    std::printf("%s\t%s\t%s\t%s\n", qPrintable(figure), qPrintable(value), qPrintable(target),
                holds ? (*holds ? "yes" : "no") : "");
}

// A pan and zoom tour: drags of a few pixels in a circle and zooms in and
// out around points of the view, as hands do.
void panAndZoom(Bench& bench) {
    QRandomGenerator random(7);
    for (int i = 0; i < 240; ++i) {
        if (i % 4 == 3) {
            const double levels = (i / 4) % 20 < 10 ? 0.12 : -0.12;
            const double x = random.bounded(bench.map->width());
            const double y = random.bounded(bench.map->height());
            bench.step([&] { bench.map->zoomAround(levels, x, y); });
        } else {
            const double angle = i * 0.11;
            bench.step([&] { bench.map->panBy(14 * std::cos(angle), 14 * std::sin(angle)); });
        }
    }
    // Tiles still on their way arrive as frames too.
    bench.settle();
}

void markerRows(const QString& label, int count, const QString& backend) {
    Bench bench({810, 640});
    if (!bench.map)
        return;
    bench.markers.set(scatter(count));
    bench.window->show();
    bench.settle();
    bench.frameMillis.clear();
    bench.frameCpuMillis.clear();
    int mostMarkers = 0;
    QObject::connect(bench.map, &MeshMap::viewChanged, bench.map,
                     [&] { mostMarkers = std::max(mostMarkers, bench.map->markerCount()); });
    panAndZoom(bench);
    QList<double> times = bench.frameMillis;
    std::sort(times.begin(), times.end());
    if (times.isEmpty())
        return;
    const double worst = times.last();
    row(QStringLiteral("map, %1, pan and zoom with %2 nodes: %3 frames (input handling, polish, "
                       "sync, render), worst / median / 95th percentile (at most %4 markers drawn)")
            .arg(backend, label)
            .arg(times.size())
            .arg(mostMarkers),
        ms(worst) + QStringLiteral(" / ") + ms(times.at(times.size() / 2)) + QStringLiteral(" / ") +
            ms(times.at(times.size() * 95 / 100)),
        QStringLiteral("every frame < 16 ms"), worst < 16);
    QList<double> cpu = bench.frameCpuMillis;
    std::sort(cpu.begin(), cpu.end());
    if (!cpu.isEmpty())
        row(QStringLiteral("map, %1, the same frames in CPU time of the GUI thread, worst / median")
                .arg(backend),
            ms(cpu.last()) + QStringLiteral(" / ") + ms(cpu.at(cpu.size() / 2)),
            QStringLiteral("< 16 ms"), cpu.last() < 16);

    // Idle: once drawn, nothing.
    const int before = bench.frames;
    Bench::spin([] { return false; }, 2000);
    if (count == 1000)
        row(QStringLiteral("map, %1, frames drawn in 2 s of an idle map").arg(backend),
            QString::number(bench.frames - before), QStringLiteral("0"), bench.frames == before);
}

} // namespace

int runMapBench(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    installTranslations(app);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));

    // The first map of a run reads the base map (on a worker); a second one
    // finds it read. Their first frames differ by what reading adds.
    QList<double> firstFrames;
    QString backend;
    for (int round = 0; round < 2; ++round) {
        Bench bench({810, 640});
        if (!bench.map)
            return 1;
        bench.markers.set(scatter(1000));
        const qint64 shown = bench.clock.nsecsElapsed();
        bench.window->show();
        Bench::spin([&] { return bench.frames > 0; }, 10000);
        firstFrames << double(bench.clock.nsecsElapsed() - shown) / 1e6;
        backend = bench.window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software
                      ? QStringLiteral("software renderer")
                      : QStringLiteral("OpenGL renderer (RHI)");
        bench.settle();
    }
    const double added = firstFrames.at(0) - firstFrames.at(1);
    row(QStringLiteral("map, %1, first frame of the first map (base map read meanwhile) / of a "
                       "later one")
            .arg(backend),
        ms(firstFrames.at(0)) + QStringLiteral(" / ") + ms(firstFrames.at(1)),
        QStringLiteral("≤ 50 ms added"), added <= 50);
    row(QStringLiteral("map, base map read and indexed, on a worker thread"),
        ms(BaseMap::instance()->loadMillis()));

    markerRows(QStringLiteral("1,000"), 1000, backend);
    markerRows(QStringLiteral("10,000"), 10000, backend);
    return 0;
}
