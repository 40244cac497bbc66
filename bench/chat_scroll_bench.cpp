#include "chat_scroll_bench.h"

#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "history_generator.h"
#include "sim/simulated_radio.h"
#include "thread_time.h"
#include "time/clock.h"
#include "translations.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickView>
#include <QRandomGenerator>
#include <QSGRendererInterface>
#include <QThread>
#include <QtQml/qqmlextensionplugin.h>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

namespace {

bool spin(const std::function<bool()>& done, int millis) {
    QElapsedTimer timer;
    timer.start();
    while (!done() && timer.elapsed() < millis)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    return done();
}

// The chat view in a window, and each frame's time: from the update request
// that starts it (polish, sync, render) to its swap, plus the input that
// caused it.
struct ChatWindow {
    QQuickView view;
    QElapsedTimer clock;
    std::atomic<qint64> frameStart{-1};
    QList<double> frameMillis;
    int frames = 0;

    struct StartWatch : QObject {
        ChatWindow* window;
        explicit StartWatch(ChatWindow* w)
            : window(w) {}
        bool eventFilter(QObject*, QEvent* event) override {
            if (event->type() == QEvent::UpdateRequest)
                window->frameStart = window->clock.nsecsElapsed();
            return false;
        }
    } startWatch{this};

    ChatWindow(MeshController* controller, const QString& key) {
        clock.start();
        view.engine()->addImportPath(QStringLiteral("qrc:/qt/qml"));
        view.setInitialProperties({{QStringLiteral("controller"), QVariant::fromValue(controller)},
                                   {QStringLiteral("conversationKey"), key}});
        view.setResizeMode(QQuickView::SizeRootObjectToView);
        view.resize(720, 640);
        view.installEventFilter(&startWatch);
        QObject::connect(
            &view, &QQuickWindow::frameSwapped, &view,
            [this] {
                ++frames;
                const qint64 start = frameStart.exchange(-1);
                if (start >= 0)
                    frameMillis << double(clock.nsecsElapsed() - start) / 1e6;
            },
            Qt::DirectConnection);
    }

    // From `since` to the end of the first frame that shows the list's end
    // (the view opens there).
    double untilEndShown(QQuickItem* list, const QElapsedTimer& since) {
        bool showsEnd = false;
        double shown = -1;
        const auto synced = QObject::connect(
            &view, &QQuickWindow::afterSynchronizing, &view,
            [&] {
                showsEnd = list->property("atYEnd").toBool() && list->property("count").toInt() > 0;
            },
            Qt::DirectConnection);
        const auto swapped = QObject::connect(
            &view, &QQuickWindow::frameSwapped, &view,
            [&] {
                if (showsEnd && shown < 0)
                    shown = double(since.nsecsElapsed()) / 1e6;
            },
            Qt::DirectConnection);
        spin([&] { return shown >= 0; }, 20'000);
        QObject::disconnect(synced);
        QObject::disconnect(swapped);
        return shown;
    }

    // One step of input and the frame it causes.
    double step(const std::function<void()>& input) {
        const int before = frames;
        const qint64 start = clock.nsecsElapsed();
        input();
        const double handling = double(clock.nsecsElapsed() - start) / 1e6;
        const qsizetype index = frameMillis.size();
        spin([&] { return frames > before; }, 2000);
        return frameMillis.size() > index ? frameMillis.at(index) + handling : -1;
    }
};

struct Figures {
    double median = -1;
    double p95 = -1;
    double worst = -1;
};

Figures figuresOf(QList<double> times) {
    times.removeAll(-1);
    if (times.isEmpty())
        return {};
    std::sort(times.begin(), times.end());
    return {times.at(times.size() / 2), times.at(times.size() * 95 / 100), times.last()};
}

} // namespace

// Prints: the time to the first frame of the opened conversation; median,
// 95th percentile and worst frame of a steady scroll up (240 frames of 40 px,
// a fast flick's pace); the same of 60 jumps to far rows (a dragged scroll
// bar); the GUI thread's CPU time over both; and 1 for the software renderer
// or 0 for another.
int runChatScrollBench(int argc, char* argv[]) {
    QGuiApplication app(argc, argv);
    installTranslations(app);
    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    const QString path = QCoreApplication::arguments().value(2);

    ManualClock clock;
    SimulatedRadio radio(&clock);
    ConversationStore store(path);
    MeshController controller(&radio, &clock, nullptr, &store, nullptr);
    if (!spin([&] { return controller.historyLoaded(); }, 600'000))
        return 1;
    const auto& conversations = controller.conversations();
    const auto biggest = biggestConversation(conversations);
    if (biggest == conversations.cend())
        return 1;

    ChatWindow window(&controller, biggest.key());
    // The app's window refers to the chat view's type, so its types (and
    // the modules they import) are loaded with the window at start; the
    // first conversation the user opens only makes the view.
    const QUrl source(QStringLiteral("qrc:/qt/qml/Talvenne/ChatView.qml"));
    const QQmlComponent loaded(window.view.engine(), source);
    if (!loaded.isReady())
        return 1;
    QElapsedTimer opening;
    opening.start();
    window.view.setSource(source);
    if (!window.view.rootObject()) {
        for (const auto& error : window.view.errors())
            std::fprintf(stderr, "%s\n", qPrintable(error.toString()));
        return 1;
    }
    auto* list = window.view.rootObject()->findChild<QQuickItem*>(QStringLiteral("messageList"));
    if (!list)
        return 1;
    window.view.show();
    const double openMillis = window.untilEndShown(list, opening);
    spin([] { return false; }, 500); // settled at the end
    // As the user's first move does: the list no longer follows its end.
    window.view.rootObject()->setProperty("pinned", false);

    const qint64 cpuStart = threadNanos();
    QList<double> steady;
    for (int i = 0; i < 240; ++i)
        steady << window.step(
            [&] { list->setProperty("contentY", list->property("contentY").toDouble() - 40); });
    QRandomGenerator random(30);
    const int count = list->property("count").toInt();
    QList<double> jumps;
    for (int i = 0; i < 60; ++i) {
        const int row = int(random.bounded(count));
        jumps << window.step([&] {
            QMetaObject::invokeMethod(list, "positionViewAtIndex", Q_ARG(int, row),
                                      Q_ARG(int, 0 /* ListView.Beginning */));
        });
    }
    const double cpuMillis = double(threadNanos() - cpuStart) / 1e6 / 300;

    // As a click in the sidebar: another conversation (or none, when this
    // is the only one) and back, in the view that already exists.
    QString other;
    for (auto it = conversations.cbegin(); it != conversations.cend() && other.isEmpty(); ++it) {
        if (it != biggest)
            other = it.key();
    }
    QObject* root = window.view.rootObject();
    root->setProperty("conversationKey", other);
    spin([] { return false; }, 500);
    QElapsedTimer switching;
    switching.start();
    root->setProperty("conversationKey", biggest.key());
    const double switchMillis = window.untilEndShown(list, switching);
    const Figures a = figuresOf(steady);
    const Figures b = figuresOf(jumps);
    const bool software =
        window.view.rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
    std::printf("%.1f %.2f %.2f %.2f %.2f %.2f %.2f %.2f %d %.1f\n", openMillis, a.median, a.p95,
                a.worst, b.median, b.p95, b.worst, cpuMillis, software ? 1 : 0, switchMillis);
    return 0;
}
