#pragma once

#include <QDBusConnection>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QTimer>
#include <chrono>

// When the computer is about to sleep and when it woke, from logind
// (PrepareForSleep on the system bus). It holds a delay inhibitor, so that
// the link can end its connection cleanly before the sleep: logind waits
// until readyToSleep() gives the inhibitor back (or its own limit passes),
// and a new one is taken after the wake. Without logind it says nothing.
class SleepMonitor final : public QObject {
    Q_OBJECT
public:
    // How long the link may take to end its connection before the sleep.
    static constexpr std::chrono::milliseconds longestDelay{2000};

    explicit SleepMonitor(QObject* parent = nullptr);

    bool holdsInhibitor() const { return m_inhibitor.isValid(); }
    // Gives the inhibitor back: the sleep may go ahead.
    void readyToSleep();

Q_SIGNALS:
    // true just before a sleep, false after the wake.
    void sleepChanged(bool sleeping);

private Q_SLOTS:
    void onPrepareForSleep(bool start);

private:
    void takeInhibitor();

    QDBusConnection m_bus;
    QDBusUnixFileDescriptor m_inhibitor;
    QTimer m_deadline;
};
