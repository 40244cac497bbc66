#include "ui_rig.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QStyleHints>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>
#include <ctime>

Q_IMPORT_QML_PLUGIN(TalvennePlugin)

// What the window costs while nobody does anything, screen by screen, drawn
// offscreen by Qt Quick's software renderer: at most half a percent of one
// core, and no frames but those of a blinking text cursor (and of the scan's
// marks while a scan listens).
class TestIdleCost : public QObject {
    Q_OBJECT

    std::unique_ptr<WindowRig> m_rig;

    QQuickWindow* window() const { return m_rig->window(); }
    QObject* mainView() const { return m_rig->find("mainView"); }

    // Lets the event loop run for `wall` and returns the share of one core
    // the process used meanwhile, and the frames drawn.
    std::pair<double, int> idleFor(std::chrono::milliseconds wall) {
        int frames = 0;
        const auto counter =
            connect(window(), &QQuickWindow::frameSwapped, this, [&] { ++frames; });
        QEventLoop loop;
        const std::clock_t start = std::clock();
        QTimer::singleShot(wall, &loop, &QEventLoop::quit);
        loop.exec();
        const double used = double(std::clock() - start) / CLOCKS_PER_SEC;
        disconnect(counter);
        return {used * 1000.0 / double(wall.count()), frames};
    }

private Q_SLOTS:
    void initTestCase() {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
        QVERIFY(prepareViewTests());
    }

    void init() {
        m_rig = std::make_unique<WindowRig>();
        QVERIFY(window());
        window()->requestActivate();
        QVERIFY(QTest::qWaitForWindowActive(window()));
    }

    void cleanup() { m_rig.reset(); }

    void screensAtRest_data() {
        QTest::addColumn<QString>("screen");
        QTest::addColumn<bool>("cursor");       // a text cursor blinks
        QTest::addColumn<int>("framesPerScan"); // frames a scanning screen may draw per second
        QTest::newRow("connection, scanning") << u"scanning"_s << false << 5;
        QTest::newRow("connection, scan over") << u"connection"_s << false << 0;
        QTest::newRow("main, nothing open") << u"main"_s << false << 0;
        QTest::newRow("chat, typing") << u"chat"_s << true << 0;
        QTest::newRow("chat, sidebar search") << u"search"_s << true << 0;
        QTest::newRow("message search") << u"history"_s << true << 0;
        QTest::newRow("node") << u"nodes"_s << false << 0;
        QTest::newRow("chat with device pane") << u"device"_s << true << 0;
        QTest::newRow("chat with chat info pane") << u"chatInfo"_s << true << 0;
        QTest::newRow("add contact sheet") << u"sheet"_s << true << 0;
    }

    void screensAtRest() {
        QFETCH(QString, screen);
        QFETCH(bool, cursor);
        QFETCH(int, framesPerScan);
        if (screen == u"connection"_s)
            m_rig->advance(1min);
        if (screen != u"scanning"_s && screen != u"connection"_s) {
            QVERIFY(m_rig->connectToMainView());
            const ConversationID aino = m_rig->chatWith(u"Aino Virtanen"_s);
            m_rig->controller->appendMessage(incomingMessage(u"hello there"_s, m_rig->clock.now()),
                                             aino);
            if (screen == u"nodes"_s) {
                mainView()->setProperty("mode", u"nodes"_s);
                mainView()->setProperty("nodeSelection",
                                        m_rig->contactNamed(u"Ridge Repeater"_s)->publicKey);
            } else if (screen != u"main"_s) {
                m_rig->controller->setSelectedConversation(aino);
                m_rig->advance(1s);
                QMetaObject::invokeMethod(mainView(), "enterDetail");
            }
            if (screen == u"device"_s || screen == u"chatInfo"_s)
                mainView()->setProperty("inspector", screen);
            if (screen == u"search"_s)
                QMetaObject::invokeMethod(mainView(), "focusSearch");
            if (screen == u"history"_s)
                QMetaObject::invokeMethod(m_rig->find("historySearch"), "open");
            if (screen == u"sheet"_s)
                mainView()->setProperty("showAddContact", true);
        }
        // Whatever moves on arrival (fades, the list settling) ends first.
        m_rig->advance(3s);
        QTest::qWait(2500);

        const auto wall = 4s;
        const auto [share, frames] = idleFor(wall);
        qInfo("%s: %.2f %% of a core, %d frames in %lld s", QTest::currentDataTag(), share * 100,
              frames, qlonglong(std::chrono::seconds(wall).count()));
        // A blinking cursor is drawn twice per flash period and a scan's
        // mark steps, each plus a frame the measurement may cut in two.
        const int flash = QGuiApplication::styleHints()->cursorFlashTime();
        const auto millis = std::chrono::milliseconds(wall).count();
        const int blinks = cursor && flash > 0 ? int(2 * millis / flash) + 1 : 0;
        const int steps =
            framesPerScan > 0 ? int(framesPerScan * std::chrono::seconds(wall).count()) + 1 : 0;
        QVERIFY2(frames <= blinks + steps, qPrintable(u"%1 frames"_s.arg(frames)));
#if !defined(__SANITIZE_ADDRESS__)
        // Sanitized builds run several times slower; their frames are counted all the same.
        QVERIFY2(share < 0.005, qPrintable(u"%1 % of a core"_s.arg(share * 100, 0, 'f', 2)));
#endif
    }
};

QTEST_MAIN(TestIdleCost)
#include "test_idle_cost.moc"
