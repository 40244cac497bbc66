#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <functional>

class MeshController;
class QQmlApplicationEngine;

// Walks the running application through a scripted list of states and saves
// one image of the window per state: the connection screen, the main window
// with a direct and a channel chat, empty states and the nodes list. Runs in
// real time against the demo radio; quits the application when done.
class ScreenshotTour : public QObject {
    Q_OBJECT
public:
    ScreenshotTour(QQmlApplicationEngine* engine, MeshController* controller, QString directory,
                   QString suffix, QObject* parent = nullptr);

    void start();

private:
    struct Step {
        std::function<void()> action;
        int waitMillis = 0;
        QString shot; // empty: no image after this step
    };

    void runNext();
    void grab(const QString& name);
    QObject* find(const char* objectName) const;

    QQmlApplicationEngine* m_engine;
    MeshController* m_controller;
    QString m_directory;
    QString m_suffix;
    QList<Step> m_steps;
    int m_next = 0;
};
