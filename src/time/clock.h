#pragma once

#include <QDateTime>
#include <QHash>
#include <QObject>
#include <chrono>
#include <coroutine>
#include <cstdint>
#include <functional>
#include <vector>

// The one source of time for the controller, the links and the simulated
// radio: wall-clock time and one-shot timers. The application uses
// SystemClock; tests use ManualClock and move time forward by hand.
class Clock : public QObject {
    Q_OBJECT
public:
    using TimerId = std::uint64_t;
    using Callback = std::function<void()>;

    using QObject::QObject;

    virtual QDateTime now() const = 0;
    // Runs `callback` once on this thread after `delay`. Never runs it from
    // inside this call, even for a zero delay.
    virtual TimerId schedule(std::chrono::milliseconds delay, Callback callback) = 0;
    // Drops a timer that has not fired yet; an unknown id is ignored.
    virtual void cancel(TimerId id) = 0;

    // Seconds since 1970 as the radio's 32-bit time field, the fraction dropped.
    std::uint32_t secondsSince1970() const;

    // co_await clock.sleep(400ms) suspends a coroutine for that long.
    struct SleepAwaiter {
        Clock* clock;
        std::chrono::milliseconds delay;
        bool await_ready() const noexcept { return false; }
        void await_suspend(std::coroutine_handle<> handle) {
            clock->schedule(delay, [handle] { handle.resume(); });
        }
        void await_resume() const noexcept {}
    };
    SleepAwaiter sleep(std::chrono::milliseconds delay) { return {this, delay}; }
};

// Real time: QDateTime::currentDateTimeUtc and QTimer.
class SystemClock final : public Clock {
    Q_OBJECT
public:
    using Clock::Clock;

    QDateTime now() const override;
    TimerId schedule(std::chrono::milliseconds delay, Callback callback) override;
    void cancel(TimerId id) override;

private:
    TimerId m_nextId = 1;
    QHash<TimerId, QObject*> m_timers;
};

// Time that moves only when a test says so. Timers fire in order of their due
// time (then in the order they were scheduled), with now() set to that time.
class ManualClock final : public Clock {
    Q_OBJECT
public:
    explicit ManualClock(QDateTime start = QDateTime::fromSecsSinceEpoch(1'700'000'000, Qt::UTC),
                         QObject* parent = nullptr);

    QDateTime now() const override { return m_now; }
    TimerId schedule(std::chrono::milliseconds delay, Callback callback) override;
    void cancel(TimerId id) override;

    // Moves time forward by `duration`, firing every timer that falls due,
    // including those scheduled by the callbacks themselves.
    void advance(std::chrono::milliseconds duration);
    // Fires the timers due now (zero-delay work) until none is left.
    void settle() { advance(std::chrono::milliseconds(0)); }
    void setNow(const QDateTime& now) { m_now = now; }
    // The computer sleeps for `duration`: the wall clock moves on, and the
    // timers, which run on a clock that stands still meanwhile, are each due
    // that much later. Nothing fires.
    void suspend(std::chrono::milliseconds duration);
    int pendingTimers() const { return int(m_timers.size()); }

private:
    struct Timer {
        TimerId id;
        QDateTime due;
        Callback callback;
    };
    QDateTime m_now;
    TimerId m_nextId = 1;
    std::vector<Timer> m_timers;
};
