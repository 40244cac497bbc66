#include "time/clock.h"

#include <QSignalSpy>
#include <QTest>

#include <qcoro/qcorotask.h>

using namespace std::chrono_literals;

class TestClock : public QObject {
    Q_OBJECT

private:
    static QCoro::Task<void> sleeper(Clock* clock, std::chrono::milliseconds delay, QStringList* log,
                                     QString name)
    {
        co_await clock->sleep(delay);
        log->append(name + QLatin1Char('@') + QString::number(clock->now().toMSecsSinceEpoch() % 100000));
    }

private Q_SLOTS:
    void manualTimersFireInDueOrderWithTheirOwnTime()
    {
        ManualClock clock(QDateTime::fromMSecsSinceEpoch(0, Qt::UTC));
        QStringList log;
        clock.schedule(300ms, [&] { log << QStringLiteral("c@%1").arg(clock.now().toMSecsSinceEpoch()); });
        clock.schedule(100ms, [&] { log << QStringLiteral("a@%1").arg(clock.now().toMSecsSinceEpoch()); });
        clock.schedule(100ms, [&] {
            log << QStringLiteral("b@%1").arg(clock.now().toMSecsSinceEpoch());
            // Scheduled from a callback and due inside the same advance.
            clock.schedule(50ms, [&] { log << QStringLiteral("d@%1").arg(clock.now().toMSecsSinceEpoch()); });
        });
        clock.advance(200ms);
        QCOMPARE(log, (QStringList{"a@100", "b@100", "d@150"}));
        QCOMPARE(clock.now().toMSecsSinceEpoch(), 200);
        QCOMPARE(clock.pendingTimers(), 1);
        clock.advance(100ms);
        QCOMPARE(log.last(), QStringLiteral("c@300"));
    }

    void cancelledTimerNeverFires()
    {
        ManualClock clock;
        bool fired = false;
        const auto id = clock.schedule(10ms, [&] { fired = true; });
        clock.cancel(id);
        clock.cancel(9999); // unknown ids are ignored
        clock.advance(1s);
        QVERIFY(!fired);
    }

    void zeroDelayWaitsForSettle()
    {
        ManualClock clock;
        bool fired = false;
        clock.schedule(0ms, [&] { fired = true; });
        QVERIFY(!fired);
        clock.settle();
        QVERIFY(fired);
    }

    void sleepSuspendsACoroutineOnVirtualTime()
    {
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

    void systemClockRunsOnTheEventLoop()
    {
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

    void secondsSince1970DropsTheFraction()
    {
        ManualClock clock(QDateTime::fromMSecsSinceEpoch(1'700'000'000'999, Qt::UTC));
        QCOMPARE(clock.secondsSince1970(), 1'700'000'000u);
    }
};

QTEST_GUILESS_MAIN(TestClock)
#include "test_clock.moc"
