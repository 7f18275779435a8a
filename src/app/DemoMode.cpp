#include "DemoMode.h"

#include "MarketSimulator.h"

#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace kalvo {

DemoMode::DemoMode() = default;
DemoMode::~DemoMode() = default;

bool DemoMode::start()
{
    // A demo must never mix simulated headlines into the real database.
    if (qEnvironmentVariableIsEmpty("KALVO_DATA_DIR")) {
        const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        qputenv("KALVO_DATA_DIR", (base + "/Kalvo-Demo"_L1).toLocal8Bit());
    }
    m_simulator = std::make_unique<sim::MarketSimulator>();
    return m_simulator->start() != 0;
}

Endpoints DemoMode::endpoints() const
{
    QStringList problems;
    return Endpoints::fromJson(m_simulator->endpointsJson(), &problems);
}

} // namespace kalvo
