#pragma once

#include <QCoroTask>
#include <QDateTime>

#include <chrono>
#include <functional>
#include <map>
#include <stop_token>

class QTimer;

namespace kalvo {

// The one source of "now" and of pauses for every service and loop.
// Production code uses Clock::system(); tests swap in a ManualClock so that
// minutes of loop behaviour run in milliseconds.
// Clocks are used on the GUI thread only.
class Clock
{
public:
    using Duration = std::chrono::milliseconds;
    using TimerId = quint64;

    virtual ~Clock() = default;

    // Current instant, in UTC.
    virtual QDateTime now() const = 0;

    // Suspends the caller for `duration`. Returns true when the full time
    // passed, false when `stop` was requested first (or already had been).
    QCoro::Task<bool> sleep(Duration duration, std::stop_token stop = {});

    static Clock &system();

protected:
    friend class SleepAwaiter;
    // Arms a one-shot timer that calls `fire` on the GUI thread.
    virtual TimerId arm(Duration duration, std::function<void()> fire) = 0;
    virtual void disarm(TimerId id) = 0;
};

// Wall-clock time and real Qt timers.
class SystemClock final : public Clock
{
public:
    ~SystemClock() override;
    QDateTime now() const override;

protected:
    TimerId arm(Duration duration, std::function<void()> fire) override;
    void disarm(TimerId id) override;

private:
    std::map<TimerId, QTimer *> m_timers;
    TimerId m_nextId = 1;
};

// Virtual time for tests: nothing moves until advance() is called, which
// fires the due sleepers in deadline order and lets each one run.
class ManualClock final : public Clock
{
public:
    explicit ManualClock(QDateTime start);

    QDateTime now() const override { return m_now; }
    void setNow(const QDateTime &instant) { m_now = instant.toUTC(); }

    // Moves time forward, waking every sleeper whose deadline is reached.
    void advance(Duration duration);
    int pendingSleepers() const { return int(m_sleepers.size()); }

protected:
    TimerId arm(Duration duration, std::function<void()> fire) override;
    void disarm(TimerId id) override;

private:
    struct Sleeper
    {
        QDateTime deadline;
        std::function<void()> fire;
    };
    QDateTime m_now;
    std::map<TimerId, Sleeper> m_sleepers;
    TimerId m_nextId = 1;
};

} // namespace kalvo
