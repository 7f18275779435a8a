#pragma once

#include "EmbeddedBackend.h"
#include "core/Endpoints.h"

#include <memory>

namespace kalvo {

namespace sim {
class MarketSimulator;
}

// `kalvo --demo`: everything the app talks to runs inside the process on
// free loopback ports — simulated markets and the AI backend with its
// offline analyst and local speech — and the data stays in a folder of its
// own, so the whole app works on a machine without network and never mixes
// simulated headlines into the real database.
class DemoMode
{
public:
    DemoMode();
    ~DemoMode();

    // Selects the demo data folder (KALVO_DATA_DIR, unless already set),
    // gives it a configuration that switches headline scoring on if it has
    // none yet, and starts the simulator and the AI backend. False when no
    // loopback port could be had.
    bool start();
    // Every market address pointed at the simulator, the AI backend at the
    // embedded one.
    Endpoints endpoints() const;

    // The configuration of a first demo start: the defaults with a
    // placeholder Claude key, since the app scores headlines only while one
    // is set; the embedded backend never sends it anywhere.
    static Config firstConfig();
    // Writes firstConfig() into the current data folder unless a
    // configuration file is already there. Returns what went wrong, if anything.
    static std::optional<QString> provideConfig();

private:
    std::unique_ptr<sim::MarketSimulator> m_simulator;
    EmbeddedBackend m_backend;
};

} // namespace kalvo
