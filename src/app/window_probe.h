#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QSocketNotifier>

class QQuickWindow;

// What process-level tests read of the running window, and the clicks they
// make, over the process's standard input and output. Off unless the
// environment asks for it (TALVENNE_WINDOW_PROBE=1); nothing else reaches it.
//
//   texts          -> one JSON line: {"<objectName>": ["<text>", ...], ...} for
//                     every visible item with a name and a text, in the
//                     order they stand in the window
//   click <name> <n> -> the n-th (from 0) of those items is clicked at its
//                     centre, as a mouse would; answers "clicked" or "none"
class WindowProbe : public QObject {
    Q_OBJECT

public:
    // A probe on `window` when the environment asks for one, else nullptr.
    static WindowProbe* startIfAsked(QQuickWindow* window);

private:
    WindowProbe(QQuickWindow* window, QObject* parent);
    void readCommand();
    QByteArray texts() const;
    bool click(const QString& name, int index);

    QQuickWindow* m_window;
    QSocketNotifier m_input;
    QElapsedTimer m_clock; // the times of the mouse events it sends
    QByteArray m_pending;
};
