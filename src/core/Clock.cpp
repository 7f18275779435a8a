#include "Clock.h"

#include <QCoreApplication>
#include <QTimer>

#include <coroutine>
#include <memory>
#include <optional>

namespace kalvo {

class SleepAwaiter
{
public:
    SleepAwaiter(Clock &clock, Clock::Duration duration, std::stop_token stop)
        : m_state(std::make_unique<State>(clock, duration, std::move(stop)))
    {
    }

    bool await_ready() const { return m_state->stop.stop_requested(); }

    void await_suspend(std::coroutine_handle<> waiter)
    {
        State *state = m_state.get();
        state->timer = state->clock.arm(state->duration, [state, waiter] {
            state->completed = true;
            waiter.resume();
        });
        if (state->stop.stop_possible())
            state->onStop.emplace(state->stop, StopHandler{state, waiter});
    }

    bool await_resume()
    {
        m_state->onStop.reset();
        return m_state->completed;
    }

private:
    struct State;

    // Resuming from inside request_stop() would run the rest of the sleeper's
    // coroutine in the middle of whoever cancelled it; post the wake-up instead.
    struct StopHandler
    {
        State *state;
        std::coroutine_handle<> waiter;
        void operator()() const
        {
            state->clock.disarm(state->timer);
            QTimer::singleShot(0, QCoreApplication::instance(), [w = waiter] { w.resume(); });
        }
    };

    // Kept on the heap so that the awaiter itself can be moved.
    struct State
    {
        State(Clock &c, Clock::Duration d, std::stop_token s) : clock(c), duration(d), stop(std::move(s)) {}
        Clock &clock;
        Clock::Duration duration;
        std::stop_token stop;
        Clock::TimerId timer = 0;
        bool completed = false;
        std::optional<std::stop_callback<StopHandler>> onStop;
    };

    std::unique_ptr<State> m_state;
};

QCoro::Task<bool> Clock::sleep(Duration duration, std::stop_token stop)
{
    co_return co_await SleepAwaiter(*this, duration, std::move(stop));
}

Clock &Clock::system()
{
    static SystemClock clock;
    return clock;
}

SystemClock::~SystemClock()
{
    // Timers still armed at exit belong to loops that never finish.
    for (auto &[id, timer] : m_timers)
        delete timer;
}

QDateTime SystemClock::now() const
{
    return QDateTime::currentDateTimeUtc();
}

Clock::TimerId SystemClock::arm(Duration duration, std::function<void()> fire)
{
    const TimerId id = m_nextId++;
    auto *timer = new QTimer;
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, [this, id, fire = std::move(fire)] {
        disarm(id);
        fire();
    });
    m_timers.emplace(id, timer);
    timer->start(duration);
    return id;
}

void SystemClock::disarm(TimerId id)
{
    auto it = m_timers.find(id);
    if (it == m_timers.end())
        return;
    it->second->deleteLater();
    m_timers.erase(it);
}

ManualClock::ManualClock(QDateTime start) : m_now(start.toUTC()) {}

void ManualClock::advance(Duration duration)
{
    const QDateTime target = m_now.addMSecs(duration.count());
    for (;;) {
        auto due = m_sleepers.end();
        for (auto it = m_sleepers.begin(); it != m_sleepers.end(); ++it) {
            if (it->second.deadline <= target
                && (due == m_sleepers.end() || it->second.deadline < due->second.deadline))
                due = it;
        }
        if (due == m_sleepers.end())
            break;
        m_now = std::max(m_now, due->second.deadline);
        auto fire = std::move(due->second.fire);
        m_sleepers.erase(due);
        fire();
        // Let whatever the sleeper started (queued calls, finished futures) settle
        // before time moves on, as it would in real time.
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
    m_now = target;
}

Clock::TimerId ManualClock::arm(Duration duration, std::function<void()> fire)
{
    const TimerId id = m_nextId++;
    m_sleepers.emplace(id, Sleeper{m_now.addMSecs(duration.count()), std::move(fire)});
    return id;
}

void ManualClock::disarm(TimerId id)
{
    m_sleepers.erase(id);
}

} // namespace kalvo
