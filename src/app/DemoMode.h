#pragma once

#include "core/Endpoints.h"

#include <memory>

namespace kalvo {

namespace sim {
class MarketSimulator;
}

// `kalvo --demo`: serves simulated markets from inside the process on a
// free loopback port and keeps its data apart from the real data folder,
// so the whole app runs on a machine without network.
class DemoMode
{
public:
    DemoMode();
    ~DemoMode();

    // Starts the simulator and selects the demo data folder. False when no
    // loopback port could be had.
    bool start();
    // Every market address pointed at the simulator.
    Endpoints endpoints() const;

private:
    std::unique_ptr<sim::MarketSimulator> m_simulator;
};

} // namespace kalvo
