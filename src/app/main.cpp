#include "book/node_book_store.h"
#include "controller/conversation_store.h"
#include "controller/mesh_controller.h"
#include "dark_palette.h"
#include "instance/single_instance.h"
#include "model/application_id.h"
#include "notifications/notification_manager.h"
#include "screenshot_tour.h"
#include "sim/demo_link.h"
#include "sim/simulated_radio.h"
#include "time/clock.h"
#include "translations.h"
#include "transport/bluetooth_transport.h"
#include "transport/qt_ble_adapter.h"
#include "window_activation.h"
#include "window_probe.h"

#include <QCommandLineParser>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QLoggingCategory>
#include <QPalette>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QSettings>
#include <QTimer>
#include <QUrl>
#include <QWindow>
#include <QtQml/qqmlextensionplugin.h>
#include <chrono>
#include <memory>
#include <qcoro/qcoroqml.h>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

Q_LOGGING_CATEGORY(lcStartup, "talvenne.startup", QtWarningMsg)

int main(int argc, char* argv[]) {
    QElapsedTimer sinceStart;
    sinceStart.start();
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Talvenne"));
    QGuiApplication::setOrganizationName(QStringLiteral("Talvenne"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TALVENNE_VERSION));
    QGuiApplication::setDesktopFileName(applicationId());
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/images/talvenne.svg")));
    installTranslations(app);

    QCommandLineParser options;
    options.setApplicationDescription(QStringLiteral("A chat client for LoRa mesh radios."));
    options.addHelpOption();
    options.addVersionOption();
    const QCommandLineOption demo(QStringLiteral("demo"),
                                  QStringLiteral("List a simulated radio beside the real ones."));
    const QCommandLineOption dark(QStringLiteral("dark"), QStringLiteral("Use a dark palette."));
    const QCommandLineOption screenshots(
        QStringLiteral("screenshot-dir"),
        QStringLiteral("Connect to the simulated radio, save images of the main states into "
                       "<dir> and quit (implies --demo)."),
        QStringLiteral("dir"));
    const QCommandLineOption suffix(QStringLiteral("screenshot-suffix"),
                                    QStringLiteral("Appended to each image name."),
                                    QStringLiteral("text"));
    options.addOptions({demo, dark, screenshots, suffix});
    options.process(app);

    QQuickStyle::setStyle(QStringLiteral("Fusion"));
    if (options.isSet(dark) || qEnvironmentVariableIntValue("TALVENNE_DARK") == 1)
        QGuiApplication::setPalette(darkPalette());

    const bool tour = options.isSet(screenshots);
    // One Talvenne per user: a second launch brings the first to the front.
    SingleInstance instance;
    if (!tour && instance.claim() == SingleInstance::Role::handedOver)
        return 0;
    SystemClock clock;
    // The tour has Bluetooth too: on a machine without it, the connection
    // screen says why; scripts/screenshots.sh runs it against a stand-in.
    auto adapter = std::make_unique<QtBleAdapter>();
    auto bluetooth = std::make_unique<BluetoothTransport>(adapter.get(), &clock);
    std::unique_ptr<SimulatedRadio> simulated;
    std::unique_ptr<DemoLink> demoLink;
    MeshLink* link = bluetooth.get();
    if (tour || options.isSet(demo)) {
        simulated = std::make_unique<SimulatedRadio>(&clock, 7);
        simulated->populateDemoNeighbours();
        simulated->startChannelChatter(!tour);
        demoLink = std::make_unique<DemoLink>(bluetooth.get(), simulated.get());
        link = demoLink.get();
    }

    NotificationManager notifications;
    // The screenshot tour keeps away from the user's history and settings.
    const QString historyPath = tour ? options.value(screenshots) + QStringLiteral("/history.json")
                                     : ConversationStore::defaultFilePath();
    if (tour) {
        QFile::remove(historyPath);
        QFile::remove(options.value(screenshots) + QStringLiteral("/settings.ini"));
        QDir folder(options.value(screenshots));
        for (const QString& book : folder.entryList({QStringLiteral("nodes-*.json")}))
            folder.remove(book);
    }
    ConversationStore store(historyPath);
    // The history is read once the window has drawn its first frame, so
    // that the two do not share a busy machine's cores (or after a second,
    // should no frame come, for a window that is not shown).
    store.holdBackgroundLoad();
    QTimer::singleShot(std::chrono::seconds(1), &store,
                       [&store] { store.releaseBackgroundLoad(); });
    NodeBookStore books(tour ? options.value(screenshots) : NodeBookStore::defaultFolder());
    if (!store.isWritable()) // the window says it too
        qWarning("History not saved: %s", qPrintable(store.error()));
    std::unique_ptr<QSettings> settings =
        tour ? std::make_unique<QSettings>(options.value(screenshots) +
                                               QStringLiteral("/settings.ini"),
                                           QSettings::IniFormat)
             : std::make_unique<QSettings>(QStringLiteral("Talvenne"), QStringLiteral("Talvenne"));
    MeshController controller(link, &clock, &notifications, &store, settings.get());
    // The simulated radio is remembered only by demo runs, apart from the
    // radio of normal runs; one that an earlier version remembered in a
    // normal run's place is no radio to look for.
    if (simulated)
        controller.setRememberedDeviceGroup(QStringLiteral("demo"));
    else if (controller.rememberedDeviceId() == SimulatedRadio::deviceId)
        controller.forgetRememberedDevice();
    controller.setNodeBookStore(&books);

    QObject::connect(&app, &QGuiApplication::applicationStateChanged, &controller,
                     [&controller](Qt::ApplicationState state) {
                         controller.setApplicationActive(state == Qt::ApplicationActive);
                     });
    notifications.requestAuthorization();

    QCoro::Qml::registerTypes();
    QQmlApplicationEngine engine;
    QObject::connect(
        &engine, &QQmlApplicationEngine::objectCreationFailed, &app,
        [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    engine.setInitialProperties(
        {{QStringLiteral("controller"), QVariant::fromValue(&controller)},
         {QStringLiteral("bluetoothAdapter"), QVariant::fromValue<QObject*>(adapter.get())},
         {QStringLiteral("pairingPrompt"),
          QVariant::fromValue<QObject*>(adapter->pairingPrompt())}});
    engine.load(QUrl(QStringLiteral("qrc:/qt/qml/Talvenne/Main.qml")));
    if (engine.rootObjects().isEmpty())
        return 1;
    QObject::connect(&instance, &SingleInstance::activationRequested, &engine, [&engine] {
        if (auto* window = qobject_cast<QWindow*>(engine.rootObjects().value(0))) {
            window->show();
            window->raise();
            window->requestActivate();
        }
    });
    openConversationsFromNotifications(notifications, engine);
    // Process-level tests read the window through it; off unless asked for.
    WindowProbe::startIfAsked(qobject_cast<QQuickWindow*>(engine.rootObjects().value(0)));
    // The remembered radio's book fills the lists right after the first
    // frame, which it does not wait for. The times are logged under
    // talvenne.startup (QT_LOGGING_RULES="talvenne.startup.info=true").
    if (auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0))) {
        QObject::connect(
            window, &QQuickWindow::frameSwapped, &controller,
            [&controller, &store, window, &sinceStart] {
                qCInfo(lcStartup, "first frame after %lld ms", sinceStart.elapsed());
                store.releaseBackgroundLoad();
                const bool opened = controller.openRememberedBook();
                qCInfo(lcStartup, "node book %s after %lld ms", opened ? "shown" : "not shown",
                       sinceStart.elapsed());
                QObject::connect(
                    window, &QQuickWindow::frameSwapped, window,
                    [&sinceStart] {
                        qCInfo(lcStartup, "lists drawn after %lld ms", sinceStart.elapsed());
                    },
                    Qt::SingleShotConnection);
                window->update();
            },
            Qt::ConnectionType(Qt::QueuedConnection | Qt::SingleShotConnection));
    }
    // The history is read after the window's first frame, which shows a
    // placeholder in its place until then.
    if (auto* window = qobject_cast<QQuickWindow*>(engine.rootObjects().value(0))) {
        const auto historyShown = [window, &sinceStart] {
            qCInfo(lcStartup, "history read after %lld ms", sinceStart.elapsed());
            QObject::connect(
                window, &QQuickWindow::frameSwapped, window,
                [&sinceStart] {
                    qCInfo(lcStartup, "history shown after %lld ms", sinceStart.elapsed());
                },
                Qt::SingleShotConnection);
            window->update();
        };
        if (controller.historyLoaded())
            historyShown();
        else
            QObject::connect(&controller, &MeshController::historyLoadedChanged, window,
                             historyShown, Qt::SingleShotConnection);
    }
    // With the window up, the radio of last time is looked for at once; the
    // tour connects by itself.
    if (!tour)
        controller.enableAutomaticReconnection();

    std::unique_ptr<ScreenshotTour> screenshotTour;
    if (tour) {
        screenshotTour =
            std::make_unique<ScreenshotTour>(&engine, &controller, simulated.get(),
                                             options.value(screenshots), options.value(suffix));
        screenshotTour->start();
    }
    return app.exec();
}
