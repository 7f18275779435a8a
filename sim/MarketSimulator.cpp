#include "MarketSimulator.h"

#include "CalendarFeed.h"
#include "NewsFeeds.h"
#include "PriceQuotes.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace kalvo::sim {

MarketSimulator::MarketSimulator(SimulatorOptions options, QObject *parent)
    : QObject(parent),
      m_options(std::move(options)),
      m_news(std::make_unique<NewsFeeds>(m_options)),
      m_prices(std::make_unique<PriceQuotes>(m_options)),
      m_calendar(std::make_unique<CalendarFeed>(m_options))
{
    m_news->install(m_server);
    m_prices->install(m_server);
    m_calendar->install(m_server);
}

MarketSimulator::~MarketSimulator() = default;

quint16 MarketSimulator::start(quint16 port)
{
    return m_server.start(port);
}

QByteArray MarketSimulator::endpointsJson() const
{
    // The AI backend is not a market source; it keeps its own address.
    return QJsonDocument(QJsonObject{{QStringLiteral("base"), baseUrl().toString()}}).toJson();
}

} // namespace kalvo::sim
