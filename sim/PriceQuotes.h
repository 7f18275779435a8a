#pragma once

#include "LoopbackServer.h"
#include "MarketSimulator.h"

namespace kalvo::sim {

// Placeholder until this part of the simulator is written: serves nothing.
class PriceQuotes
{
public:
    explicit PriceQuotes(const SimulatorOptions &options) : m_options(options) {}
    void install(LoopbackServer &) {}

private:
    const SimulatorOptions &m_options;
};

} // namespace kalvo::sim
