#include "time/clock.h"

#include <QTest>
#include <qcoro/qcorotask.h>

using namespace std::chrono_literals;

namespace {

QString stamp(const QString& name, const Clock& clock) {
    return name + QLatin1Char('@') + QString::number(clock.now().toMSecsSinceEpoch() % 100000);
}

QCoro::Task<void> sleeper(Clock* clock, std::chrono::milliseconds delay, QStringList* log,
                          QString name) {
    co_await clock->sleep(delay);
    log->append(stamp(name, *clock));
}

} // namespace

class TestClock : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // Timers fire in due order, each at its own time, also one scheduled from
    // a callback and due inside the same advance; a zero delay waits for
    // settle(); a cancelled timer never fires, and unknown ids are ignored.
    void manualTimers() {
        ManualClock clock(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC));
        QStringList log;
        const auto note = [&](const char* name) {
            return [&log, &clock, name] { log << stamp(QLatin1String(name), clock); };
        };
        clock.schedule(300ms, note("c"));
        clock.schedule(100ms, note("a"));
        clock.schedule(100ms, [&] {
            note("b")();
            clock.schedule(50ms, note("d"));
        });
        clock.cancel(clock.schedule(10ms, note("cancelled")));
        clock.cancel(9999);
        clock.schedule(0ms, note("zero"));
        QVERIFY(log.isEmpty());
        clock.settle();
        QCOMPARE(log, QStringList{"zero@0"});
        clock.advance(200ms);
        QCOMPARE(log, (QStringList{"zero@0", "a@100", "b@100", "d@150"}));
        QCOMPARE(clock.now().toMSecsSinceEpoch(), 200);
        QCOMPARE(clock.pendingTimers(), 1);
        clock.advance(100ms);
        QCOMPARE(log.last(), QStringLiteral("c@300"));
    }

    void sleepSuspendsACoroutineOnVirtualTime() {
        ManualClock clock(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC));
        QStringList log;
        auto a = sleeper(&clock, 400ms, &log, QStringLiteral("a"));
        auto b = sleeper(&clock, 6s, &log, QStringLiteral("b"));
        clock.advance(399ms);
        QVERIFY(log.isEmpty());
        clock.advance(1ms);
        QCOMPARE(log, QStringList{"a@400"});
        clock.advance(10s);
        QCOMPARE(log, (QStringList{"a@400", "b@6000"}));
    }

    void systemClockRunsOnTheEventLoop() {
        SystemClock clock;
        bool fired = false;
        clock.schedule(0ms, [&] { fired = true; });
        QVERIFY(!fired);
        QTRY_VERIFY(fired);

        bool cancelled = false;
        clock.cancel(clock.schedule(1ms, [&] { cancelled = true; }));
        QTest::qWait(20);
        QVERIFY(!cancelled);
    }

    void secondsSince1970DropsTheFraction() {
        ManualClock clock(QDateTime::fromMSecsSinceEpoch(1'700'000'000'999, Qt::UTC));
        QCOMPARE(clock.secondsSince1970(), 1'700'000'000u);
    }
};

QTEST_GUILESS_MAIN(TestClock)
#include "test_clock.moc"
