#pragma once

#include "LoopbackServer.h"

#include <QDateTime>
#include <QObject>

#include <functional>
#include <memory>

namespace kalvo::sim {

class NewsFeeds;
class PriceQuotes;
class CalendarFeed;

struct SimulatorOptions
{
    quint64 seed = 20240503;
    double newsPerMinute = 4; // how fast the feeds grow while the simulator runs
    // Where the simulator's time comes from; tests pin it.
    std::function<QDateTime()> now = [] { return QDateTime::currentDateTimeUtc(); };
};

// A stand-in for every outside market source the app reads: the 22 news
// feeds, the price endpoints and the two calendar files, served over loopback
// under the same paths the real publishers use, so that an endpoints file
// with only "base" points the whole app at it. Deterministic for a seed.
class MarketSimulator : public QObject
{
    Q_OBJECT
public:
    explicit MarketSimulator(SimulatorOptions options = {}, QObject *parent = nullptr);
    ~MarketSimulator() override;

    // Listens on 127.0.0.1 (port 0: a free one). Returns the port, 0 on failure.
    quint16 start(quint16 port = 0);
    QUrl baseUrl() const { return m_server.baseUrl(); }
    // An endpoints file's content that points every market source here.
    QByteArray endpointsJson() const;

    LoopbackServer &server() { return m_server; }
    NewsFeeds &news() { return *m_news; }
    PriceQuotes &prices() { return *m_prices; }
    CalendarFeed &calendar() { return *m_calendar; }

private:
    SimulatorOptions m_options;
    LoopbackServer m_server;
    std::unique_ptr<NewsFeeds> m_news;
    std::unique_ptr<PriceQuotes> m_prices;
    std::unique_ptr<CalendarFeed> m_calendar;
};

} // namespace kalvo::sim
