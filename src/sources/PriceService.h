#pragma once

#include "MarketHttp.h"
#include "PriceReplies.h"
#include "core/Config.h"
#include "core/Endpoints.h"
#include "core/MarketRecords.h"

#include <QCoroTask>
#include <QFuture>
#include <QMap>
#include <QObject>
#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

namespace kalvo {

class Clock;

// Keeps a price for every configured instrument (pairs, then extras). Each
// cycle asks the chart API per instrument, then a daily USD rates file (CDN,
// then its mirror), then Frankfurter, each only for what is still missing,
// and hands the quotes to the caller. The pause between cycles is the
// configured refresh while the FX market is open and five minutes while it is
// closed. Lives on the GUI thread; callbacks run there.
class PriceService : public QObject
{
    Q_OBJECT
public:
    using PricesCallback = std::function<void(const QMap<QString, PriceData> &)>;

    struct Timeouts
    {
        std::chrono::milliseconds chart{8000};
        std::chrono::milliseconds rates{12000};
    };

    static constexpr std::chrono::seconds closedMarketPause{300};
    // Moves smaller than this are noise of the sources, not a direction.
    static constexpr double directionThreshold = 0.000001;

    PriceService(Config config, Endpoints endpoints, Clock &clock, QObject *parent = nullptr);
    // Ends run() at its next step; nothing of the service is touched afterwards.
    ~PriceService() override;

    void setTimeouts(const Timeouts &timeouts) { m_timeouts = timeouts; }

    // Fetches, delivers, pauses and repeats until the service is destroyed.
    // `onPrices` is called on the GUI thread, only for cycles that priced
    // something. Call once.
    QCoro::Task<> run(PricesCallback onPrices);

private:
    QCoro::Task<> loop();
    QCoro::Task<> fetchAll();
    QCoro::Task<QMap<QString, double>> fetchYahooPrices(const QStringList &instruments);
    QFuture<std::optional<double>> fetchYahooPrice(const QString &ticker);
    QCoro::Task<UsdRates> fetchCDNRates();
    QFuture<UsdRates> fetchRatesFile(const QString &url);
    QFuture<UsdRates> fetchFrankfurterRates();

    PriceData record(const QString &instrument, double price);
    void priceFromRates(const QStringList &instruments, const UsdRates &rates, QMap<QString, PriceData> &result);
    std::chrono::seconds pauseAfterCycle() const;

    Config m_config;
    Endpoints m_endpoints;
    Clock &m_clock;
    QStringList m_cdnURLs;
    Timeouts m_timeouts;
    QMap<QString, double> m_previousPrices;
    PricesCallback m_onPrices;
    std::stop_source m_stop;
    MarketHttp m_http;
};

} // namespace kalvo
