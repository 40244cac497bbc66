#include "time/clock.h"

#include <QTimer>
#include <algorithm>

std::uint32_t Clock::secondsSince1970() const {
    return static_cast<std::uint32_t>(now().toSecsSinceEpoch());
}

QDateTime SystemClock::now() const {
    return QDateTime::currentDateTimeUtc();
}

Clock::TimerId SystemClock::schedule(std::chrono::milliseconds delay, Callback callback) {
    const TimerId id = m_nextId++;
    auto* timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    connect(timer, &QTimer::timeout, this, [this, id, timer, callback = std::move(callback)] {
        m_timers.remove(id);
        timer->deleteLater();
        callback();
    });
    m_timers.insert(id, timer);
    timer->start(std::max(delay, std::chrono::milliseconds(0)));
    return id;
}

void SystemClock::cancel(TimerId id) {
    if (QObject* timer = m_timers.take(id))
        delete timer;
}

ManualClock::ManualClock(QDateTime start, QObject* parent)
    : Clock(parent)
    , m_now(std::move(start)) {}

Clock::TimerId ManualClock::schedule(std::chrono::milliseconds delay, Callback callback) {
    const TimerId id = m_nextId++;
    m_timers.push_back(
        {id, m_now.addMSecs(std::max<qint64>(delay.count(), 0)), std::move(callback)});
    return id;
}

void ManualClock::cancel(TimerId id) {
    std::erase_if(m_timers, [id](const Timer& t) { return t.id == id; });
}

void ManualClock::suspend(std::chrono::milliseconds duration) {
    m_now = m_now.addMSecs(duration.count());
    for (Timer& timer : m_timers)
        timer.due = timer.due.addMSecs(duration.count());
}

void ManualClock::advance(std::chrono::milliseconds duration) {
    const QDateTime end = m_now.addMSecs(duration.count());
    for (;;) {
        // The earliest due timer; ties go to the one scheduled first (lowest id).
        auto next =
            std::min_element(m_timers.begin(), m_timers.end(), [](const Timer& a, const Timer& b) {
                return a.due != b.due ? a.due < b.due : a.id < b.id;
            });
        if (next == m_timers.end() || next->due > end)
            break;
        Timer timer = std::move(*next);
        m_timers.erase(next);
        if (timer.due > m_now)
            m_now = timer.due;
        timer.callback();
    }
    m_now = end;
}
