#include "DemoMode.h"

#include "MarketSimulator.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace kalvo {

DemoMode::DemoMode() = default;
DemoMode::~DemoMode() = default;

Config DemoMode::firstConfig()
{
    Config config;
    config.claudeApiKey = u"demo"_s;
    return config;
}

std::optional<QString> DemoMode::provideConfig()
{
    if (QFileInfo::exists(ConfigFiles::userPath()))
        return std::nullopt; // the demo's own settings, possibly changed by the user
    return ConfigFiles::save(firstConfig());
}

bool DemoMode::start()
{
    // A demo must never mix simulated headlines into the real database.
    if (qEnvironmentVariableIsEmpty("KALVO_DATA_DIR")) {
        const QString base = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
        qputenv("KALVO_DATA_DIR", (base + "/Kalvo-Demo"_L1).toLocal8Bit());
    }
    if (const std::optional<QString> problem = provideConfig())
        std::fprintf(stderr, "kalvo: demo configuration not written: %s\n", problem->toUtf8().constData());
    m_simulator = std::make_unique<sim::MarketSimulator>();
    if (m_simulator->start() == 0)
        return false;
    backend::BackendOptions options;
    options.mode = backend::BackendOptions::Mode::Offline;
    return m_backend.start(std::move(options));
}

Endpoints DemoMode::endpoints() const
{
    // The version check asks the demo's own backend, which offers this build:
    // the demo reports "up to date" instead of a failed check.
    QJsonObject addresses = QJsonDocument::fromJson(m_simulator->endpointsJson()).object();
    addresses.insert(u"update.primary"_s, m_backend.functionsUrl().toString() + u"/appVersion"_s);
    QStringList problems;
    return EmbeddedBackend::withBackend(QJsonDocument(addresses).toJson(QJsonDocument::Compact),
                                        m_backend.functionsUrl(), &problems);
}

} // namespace kalvo
