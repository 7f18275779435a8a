#include "PriceService.h"

#include "core/Clock.h"
#include "core/Instruments.h"
#include "core/MarketStatus.h"

#include <QCoroFuture>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

const QList<std::pair<QByteArray, QByteArray>> chartHeaders{
    {"User-Agent", "Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/537.36"},
    {"Accept", "application/json"},
};

QStringList missingFrom(const QStringList &instruments, const QMap<QString, PriceData> &result)
{
    QStringList missing;
    for (const QString &instrument : instruments) {
        if (!result.contains(instrument))
            missing.append(instrument);
    }
    return missing;
}

// The chart API wants the ticker like a query value ("^TNX" -> "%5ETNX").
QString encodedTicker(const QString &ticker)
{
    const QByteArray encoded = QUrl::toPercentEncoding(ticker, "!$&'()*+,;=:@/?");
    return encoded.isEmpty() ? ticker : QString::fromLatin1(encoded);
}

} // namespace

PriceService::PriceService(Config config, Endpoints endpoints, Clock &clock, QObject *parent)
    : QObject(parent),
      m_config(std::move(config)),
      m_endpoints(std::move(endpoints)),
      m_clock(clock),
      m_cdnURLs{m_endpoints.url(u"price.usd_rates_cdn"_s), m_endpoints.url(u"price.usd_rates_mirror"_s)}
{
}

PriceService::~PriceService()
{
    m_stop.request_stop();
}

QCoro::Task<> PriceService::run(PricesCallback onPrices)
{
    // Kept as a member rather than passed into the coroutine: the loop must
    // not own copies of class-type arguments (see ARCHITECTURE.md).
    m_onPrices = std::move(onPrices);
    return loop();
}

QCoro::Task<> PriceService::loop()
{
    QPointer<PriceService> self(this);
    const std::stop_token stop = m_stop.get_token();
    for (;;) {
        co_await fetchAll();
        if (!self)
            co_return;
        const std::chrono::seconds pause = pauseAfterCycle();
        co_await m_clock.sleep(pause, stop);
        if (!self)
            co_return;
    }
}

std::chrono::seconds PriceService::pauseAfterCycle() const
{
    if (!MarketStatus::status(m_clock.now()).isOpen)
        return closedMarketPause;
    if (m_config.priceRefreshSeconds < 0)
        qFatal("PriceService: price_refresh_seconds must not be negative (%lld)", m_config.priceRefreshSeconds);
    return std::chrono::seconds(m_config.priceRefreshSeconds);
}

QCoro::Task<> PriceService::fetchAll()
{
    QPointer<PriceService> self(this);
    const QStringList instruments = m_config.marketPairs + m_config.marketExtras;
    if (instruments.isEmpty())
        co_return;
    QMap<QString, PriceData> result;

    const QMap<QString, double> charted = co_await fetchYahooPrices(instruments);
    if (!self)
        co_return;
    for (auto it = charted.cbegin(); it != charted.cend(); ++it)
        result.insert(it.key(), record(it.key(), it.value()));

    QStringList missing = missingFrom(instruments, result);
    if (!missing.isEmpty()) {
        const UsdRates rates = co_await fetchCDNRates();
        if (!self)
            co_return;
        priceFromRates(missing, rates, result);
        missing = missingFrom(instruments, result);
    }
    if (!missing.isEmpty()) {
        QFuture<UsdRates> fetching = fetchFrankfurterRates();
        const UsdRates rates = co_await fetching;
        if (!self)
            co_return;
        priceFromRates(missing, rates, result);
    }

    // An empty delivery would wipe nothing and say nothing; the app keeps
    // showing what it has.
    if (!result.isEmpty() && m_onPrices)
        m_onPrices(result);
}

void PriceService::priceFromRates(const QStringList &instruments, const UsdRates &rates,
                                  QMap<QString, PriceData> &result)
{
    for (const QString &instrument : instruments) {
        if (const std::optional<double> price = priceFromUSDRates(instrument, rates))
            result.insert(instrument, record(instrument, *price));
    }
}

PriceData PriceService::record(const QString &instrument, double price)
{
    // A first sighting has nothing to move against.
    const double previous = m_previousPrices.value(instrument, price);
    const double change = price - previous;
    const double changePct = previous > 0 ? change / previous * 100 : 0;
    m_previousPrices.insert(instrument, price);

    PriceData::Direction direction = PriceData::Direction::Flat;
    if (change > directionThreshold)
        direction = PriceData::Direction::Up;
    else if (change < -directionThreshold)
        direction = PriceData::Direction::Down;
    return {instrument, instrument, price, change, changePct, direction, m_clock.now()};
}

QCoro::Task<QMap<QString, double>> PriceService::fetchYahooPrices(const QStringList &instruments)
{
    // All requests go out before the first answer is awaited.
    QStringList names;
    QList<QFuture<std::optional<double>>> pending;
    for (const QString &instrument : instruments) {
        if (const std::optional<QString> ticker = yahooSymbol(instrument)) {
            names.append(instrument);
            pending.append(fetchYahooPrice(*ticker));
        }
    }
    QMap<QString, double> prices;
    for (qsizetype i = 0; i < pending.size(); ++i) {
        const std::optional<double> price = co_await pending[i];
        if (price)
            prices.insert(names[i], *price);
    }
    co_return prices;
}

QFuture<std::optional<double>> PriceService::fetchYahooPrice(const QString &ticker)
{
    HttpGet get;
    get.url = QUrl(m_endpoints.url(u"price.yahoo_chart"_s) + encodedTicker(ticker) + "?interval=1m&range=1d"_L1);
    get.timeout = m_timeouts.chart;
    get.headers = chartHeaders;
    return m_http.get(get).then(QtFuture::Launch::Async, [](const HttpResponse &response) -> std::optional<double> {
        if (!response.answered || response.status != 200)
            return std::nullopt;
        return chartPrice(response.body);
    });
}

QCoro::Task<UsdRates> PriceService::fetchCDNRates()
{
    QPointer<PriceService> self(this);
    const QStringList urls = m_cdnURLs;
    for (qsizetype i = 0; i < urls.size(); ++i) {
        QFuture<UsdRates> fetching = fetchRatesFile(urls[i]);
        const UsdRates rates = co_await fetching;
        if (!self)
            co_return UsdRates{};
        if (!rates.isEmpty())
            co_return rates;
    }
    co_return UsdRates{};
}

QFuture<UsdRates> PriceService::fetchRatesFile(const QString &url)
{
    HttpGet get;
    get.url = QUrl(url);
    get.timeout = m_timeouts.rates;
    get.alwaysReload = true;
    return m_http.get(get).then(QtFuture::Launch::Async, [](const HttpResponse &response) {
        if (!response.answered || response.status != 200)
            return UsdRates{};
        return usdRatesFromFile(response.body);
    });
}

QFuture<UsdRates> PriceService::fetchFrankfurterRates()
{
    HttpGet get;
    get.url = QUrl(m_endpoints.url(u"price.frankfurter"_s));
    get.timeout = m_timeouts.rates;
    return m_http.get(get).then(QtFuture::Launch::Async, [](const HttpResponse &response) {
        if (!response.answered || response.status != 200)
            return UsdRates{};
        return frankfurterRates(response.body);
    });
}

} // namespace kalvo
