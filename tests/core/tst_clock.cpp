#include "../TestSupport.h"

#include "core/Clock.h"

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

struct Wake { int sleeper; QDateTime at; bool completed; };

QCoro::Task<> sleeper(Clock &clock, int id, Clock::Duration duration, QList<Wake> &log, std::stop_token stop = {})
{
    const bool completed = co_await clock.sleep(duration, stop);
    log.append({id, clock.now(), completed});
}

const QDateTime start = test::utc(2024, 5, 3, 12);

} // namespace

class TestClock : public QObject
{
    Q_OBJECT

private slots:
    void sleepersWakeAtTheirDeadlines_data()
    {
        QTest::addColumn<QList<int>>("durations"); // milliseconds, one sleeper each
        QTest::addColumn<QList<int>>("steps");     // milliseconds passed to advance()
        QTest::addColumn<QStringList>("wakes");    // "sleeper@milliseconds", in the order they woke
        QTest::newRow("one big step") << QList<int>{30000, 10000, 20000} << QList<int>{60000}
                                      << QStringList{u"1@10000"_s, u"2@20000"_s, u"0@30000"_s};
        // One sleeper due exactly at a step's end, one 1 ms after the last.
        QTest::newRow("small steps, not all due") << QList<int>{40000, 10000, 90000, 50001} << QList<int>{10000, 40000}
                                                  << QStringList{u"1@10000"_s, u"0@40000"_s};
    }
    void sleepersWakeAtTheirDeadlines()
    {
        QFETCH(QList<int>, durations);
        QFETCH(QList<int>, steps);
        QFETCH(QStringList, wakes);
        ManualClock clock(start);
        QList<Wake> log;
        std::vector<QCoro::Task<>> tasks;
        for (int i = 0; i < durations.size(); ++i)
            tasks.push_back(sleeper(clock, i, std::chrono::milliseconds(durations[i]), log));
        for (int step : steps)
            clock.advance(std::chrono::milliseconds(step));
        QStringList woken;
        for (const Wake &wake : log) {
            QVERIFY(wake.completed);
            woken << u"%1@%2"_s.arg(wake.sleeper).arg(start.msecsTo(wake.at));
        }
        QCOMPARE(woken, wakes);
        QCOMPARE(clock.pendingSleepers(), durations.size() - wakes.size());
        clock.advance(24h); // the rest finish before their tasks go
    }

    // A polling loop sleeps again as soon as it wakes; one long advance must
    // still run every round at its own instant.
    void loopRunsEveryRoundOfOneAdvance()
    {
        ManualClock clock(start);
        QList<QDateTime> rounds;
        QCoro::Task<> loop = [](Clock &clock, QList<QDateTime> &rounds) -> QCoro::Task<> {
            for (int i = 0; i < 3; ++i) {
                co_await clock.sleep(10s);
                rounds << clock.now();
            }
        }(clock, rounds);
        clock.advance(1min);
        QCOMPARE(rounds, (QList<QDateTime>{start.addSecs(10), start.addSecs(20), start.addSecs(30)}));
        QVERIFY(loop.isReady());
    }

    void stopEndsSleepEarly_data()
    {
        QTest::addColumn<bool>("stopFirst");
        QTest::newRow("stopped while sleeping") << false;
        QTest::newRow("stopped before sleeping") << true;
    }
    void stopEndsSleepEarly()
    {
        QFETCH(bool, stopFirst);
        ManualClock clock(start);
        std::stop_source source;
        if (stopFirst)
            source.request_stop();
        QList<Wake> log;
        QCoro::Task<> stopped = sleeper(clock, 1, 10s, log, source.get_token());
        QCoro::Task<> bystander = sleeper(clock, 2, 20s, log);
        clock.advance(5s);
        source.request_stop();
        QTRY_COMPARE(log.size(), 1); // the wake-up is posted, not run inside request_stop()
        QCOMPARE(log[0].sleeper, 1);
        QCOMPARE(log[0].completed, false);
        QCOMPARE(log[0].at, stopFirst ? start : start.addSecs(5));
        QCOMPARE(clock.pendingSleepers(), 1);

        clock.advance(1min);
        QCOMPARE(log.size(), 2);
        QCOMPARE(log[1].at, start.addSecs(20));
        QVERIFY(log[1].completed && stopped.isReady() && bystander.isReady());
    }
};

QTEST_GUILESS_MAIN(TestClock)
#include "tst_clock.moc"
