#pragma once

#include "../TestSupport.h"

#include "MarketSimulator.h"
#include "core/Clock.h"
#include "core/Endpoints.h"

#include <QCoroTask>
#include <QJsonObject>
#include <QTimer>

#include <memory>
#include <optional>

namespace test {

// Runs the event loop until `done`, waking for every event rather than
// polling; with a clock, lets it through every pause on the way. Gives up
// after 5 s.
template<typename Predicate>
bool spin(Predicate done, kalvo::ManualClock *clock = nullptr)
{
    QTimer guard;
    guard.setSingleShot(true);
    guard.start(std::chrono::seconds(5));
    while (!done() && guard.isActive()) {
        if (clock && clock->pendingSleepers() > 0)
            clock->advance(std::chrono::seconds(1));
        else
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return done();
}

// A market service on a manual clock, reading the market simulator, which
// follows the same clock unless `simulatorTime` pins it. Keeps what the
// service hands to its first callback.
template<typename Service, typename Delivery>
class SimulatedMarket
{
public:
    explicit SimulatedMarket(const QDateTime &start) : clock(start)
    {
        kalvo::sim::SimulatorOptions options;
        options.now = [this] { return simulatorTime.value_or(clock.now()); };
        simulator = std::make_unique<kalvo::sim::MarketSimulator>(options);
        simulator->start();
    }

    // Every source on the simulator, unless `addresses` names another base or source.
    kalvo::Endpoints endpoints(QJsonObject addresses = {}) const
    {
        if (!addresses.contains(u"base"_s))
            addresses.insert(u"base"_s, simulator->baseUrl().toString());
        QStringList problems;
        return kalvo::Endpoints::fromJson(kalvo::compactJson(addresses), &problems);
    }

    template<typename... Callbacks>
    void start(Callbacks... more)
    {
        task.emplace(service->run([this](const Delivery &delivery) { deliveries.append(delivery); }, more...));
    }

    // Destroyed while a request hangs, the service must end its loop at once
    // and leave nobody asleep on the clock.
    bool endsWhenDestroyed()
    {
        service.reset();
        return spin([this] { return task->isReady(); }) && clock.pendingSleepers() == 0;
    }

    kalvo::sim::LoopbackServer &server() { return simulator->server(); }

    kalvo::ManualClock clock;
    std::optional<QDateTime> simulatorTime;
    std::unique_ptr<kalvo::sim::MarketSimulator> simulator;
    std::unique_ptr<Service> service;
    std::optional<QCoro::Task<>> task;
    QList<Delivery> deliveries;
};

} // namespace test
