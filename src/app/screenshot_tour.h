#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <functional>
#include <memory>

class MeshController;
class OwnedLock;
class SimulatedRadio;
class QQmlApplicationEngine;
class QQuickItem;

// Walks the running application through a table of scenes against the demo
// radio and saves one image of the window per scene: the connection screen,
// the empty main window, a direct chat with every delivery state and an open
// report card, a channel chat, an empty chat, the nodes list and the panes
// and sheets of the toolbar. Quits the application when done.
class ScreenshotTour : public QObject {
    Q_OBJECT
public:
    // `radio` is the demo radio behind the controller; the tour uses it to
    // make an operation fail on purpose.
    ScreenshotTour(QQmlApplicationEngine* engine, MeshController* controller, SimulatedRadio* radio,
                   QString directory, QString suffix, QObject* parent = nullptr);
    ~ScreenshotTour() override;

    void start();

private:
    struct Scene {
        QString shot; // empty: no image after this step
        int waitMillis = 0;
        std::function<void()> action;
    };

    QList<Scene> scenes();
    QList<Scene> bluetoothScenes();
    QList<Scene> bookScenes();
    // Calls one method of the stand-in BlueZ's control interface.
    void bluez(const char* method, const QVariantList& arguments = {});
    void runNext();
    void grab(const QString& name);
    QObject* find(const char* objectName) const;
    void setMain(const char* property, const QVariant& value);
    QString contactKeyNamed(const QString& name) const;
    void fillDirectChat(const QString& contactKey);
    void fillChannelChat();
    // A channel set to Nothing and the public one at Mentions only, with
    // messages unread in both.
    void fillQuietChannels();
    void fillLongChat(const QString& contactKey);
    void scrollUpAndReceive();
    void openLastReportCard();
    void openFailureMenu();
    QString addHostileNeighbours();
    // Gives the keyboard focus to the (possibly repeated) item of that name,
    // as Tab would, so that it shows its focus ring.
    void focusByTab(const char* objectName);
    void resizeWindow(int width, int height);
    // A key pressed and released on the window, as a keyboard would.
    void pressKey(int key);
    // Plays another Talvenne that took the history's folder (as if it had
    // been moved away): the history's lock, taken in its place. False ends it.
    void holdHistoryElsewhere(bool hold);
    // Sets properties of named objects inside a sheet, then calls `method`
    // (if any) on the object named "form".
    void fillSheet(const char* sheet, const QList<std::pair<const char*, QVariant>>& fields,
                   const char* method = nullptr);

    QQmlApplicationEngine* m_engine;
    MeshController* m_controller;
    SimulatedRadio* m_radio;
    QString m_directory;
    QString m_suffix;
    QList<Scene> m_scenes;
    bool m_standInBluez = false;
    int m_next = 0;
    std::unique_ptr<OwnedLock> m_otherTalvenne;
};
