#include "PriceQuotes.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <QUrlQuery>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

constexpr int minutesPerDay = 1440;

// What the walks move around. Levels and daily volatilities are those of
// recent years; the walks stay within a few percent of the level.
enum Underlying { EURUSD, GBPUSD, USDJPY, USDCHF, AUDUSD, NZDUSD, USDCAD, USDMXN, USDCNH, DXY, GOLD, CRUDE, TNX };

struct UnderlyingInfo
{
    double level;
    double dailyVolatility; // of the logarithm, per day
};

constexpr UnderlyingInfo underlyings[]{
    {1.0850, 0.0045}, {1.2650, 0.0050}, {151.50, 0.0050}, {0.9050, 0.0045}, {0.6580, 0.0060},
    {0.6020, 0.0060}, {1.3650, 0.0040}, {17.050, 0.0080}, {7.2400, 0.0015}, {104.80, 0.0040},
    {2330.0, 0.0100}, {78.500, 0.0200}, {4.4800, 0.0200},
};

quint64 mix(quint64 x)
{
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
}

double uniform(quint64 key)
{
    return (double(mix(key) >> 11) + 0.5) / 9007199254740992.0; // (0, 1)
}

double gaussian(quint64 key)
{
    const double u1 = uniform(key);
    const double u2 = uniform(key ^ 0xA5A5A5A5DEADBEEFULL);
    return std::sqrt(-2 * std::log(u1)) * std::cos(2 * std::numbers::pi * u2);
}

// Currency -> the walk behind it, and whether that walk quotes the currency
// per dollar (USD/JPY) or dollars per unit (EUR/USD).
const QHash<QString, std::pair<int, bool>> &driven()
{
    static const QHash<QString, std::pair<int, bool>> table{
        {u"EUR"_s, {EURUSD, false}}, {u"GBP"_s, {GBPUSD, false}}, {u"JPY"_s, {USDJPY, true}},
        {u"CHF"_s, {USDCHF, true}},  {u"AUD"_s, {AUDUSD, false}}, {u"NZD"_s, {NZDUSD, false}},
        {u"CAD"_s, {USDCAD, true}},  {u"MXN"_s, {USDMXN, true}},  {u"CNH"_s, {USDCNH, true}},
        {u"XAU"_s, {GOLD, false}},
    };
    return table;
}

// Currencies tied to the euro: units per euro.
const QHash<QString, double> &euroPegged()
{
    static const QHash<QString, double> table{{u"DKK"_s, 7.4605}, {u"BGN"_s, 1.95583}, {u"RON"_s, 4.9735}};
    return table;
}

// The rest: units per dollar with a small daily wobble.
const QHash<QString, double> &fixedDaily()
{
    static const QHash<QString, double> table{
        {u"SEK"_s, 10.86},  {u"NOK"_s, 10.97},  {u"PLN"_s, 4.03},   {u"HUF"_s, 364.2},  {u"CZK"_s, 23.35},
        {u"TRY"_s, 32.25},  {u"ZAR"_s, 18.47},  {u"INR"_s, 83.45},  {u"KRW"_s, 1368.5}, {u"SGD"_s, 1.3555},
        {u"HKD"_s, 7.8195}, {u"BRL"_s, 5.08},   {u"ILS"_s, 3.72},   {u"THB"_s, 36.85},  {u"IDR"_s, 16085},
        {u"MYR"_s, 4.755},  {u"PHP"_s, 57.2},   {u"ISK"_s, 139.6},  {u"XAG"_s, 1 / 27.2},
        {u"BTC"_s, 1 / 63250.0}, {u"ETH"_s, 1 / 3110.0}, {u"1INCH"_s, 2.6}, {u"AAVE"_s, 0.0115},
    };
    return table;
}

// The seeded market: one walk per underlying, continuous across midnight.
class Market
{
public:
    explicit Market(quint64 seed) : m_seed(seed) {}

    // The log offset from the level at the start of a day: a moving sum of
    // daily shocks, so any day is computed on its own and stays stationary.
    double dayAnchor(int underlying, qint64 day) const
    {
        constexpr int memory = 120;
        constexpr double decay = 0.97;
        const double volatility = underlyings[underlying].dailyVolatility;
        double offset = 0;
        double weight = 1;
        for (int k = 0; k < memory; ++k) {
            offset += weight * volatility * gaussian(key(underlying, day - k, -1));
            weight *= decay;
        }
        return offset;
    }

    // Log offsets at every minute 0..1440 of `day`: a Brownian bridge from
    // this day's anchor to the next one, so that midnight has no gap.
    std::vector<double> path(int underlying, qint64 day) const
    {
        const double start = dayAnchor(underlying, day);
        const double end = dayAnchor(underlying, day + 1);
        const double perMinute = underlyings[underlying].dailyVolatility / std::sqrt(double(minutesPerDay));
        std::vector<double> walk(minutesPerDay + 1, 0.0);
        for (int m = 1; m <= minutesPerDay; ++m)
            walk[m] = walk[m - 1] + perMinute * gaussian(key(underlying, day, m));
        const double drift = walk[minutesPerDay] - (end - start);
        for (int m = 0; m <= minutesPerDay; ++m)
            walk[m] = start + walk[m] - drift * m / minutesPerDay;
        return walk;
    }

    std::vector<double> prices(int underlying, qint64 day) const
    {
        std::vector<double> result = path(underlying, day);
        for (double &value : result)
            value = underlyings[underlying].level * std::exp(value);
        return result;
    }

    static bool knows(const QString &code)
    {
        return code == "USD"_L1 || code == "CNY"_L1 || driven().contains(code) || euroPegged().contains(code)
               || fixedDaily().contains(code);
    }

    // Units of `code` per US dollar at every minute of `day`; empty when the
    // market does not know the currency.
    std::vector<double> usdPer(const QString &code, qint64 day) const
    {
        if (code == "USD"_L1)
            return std::vector<double>(minutesPerDay + 1, 1.0);
        if (code == "CNY"_L1) {
            // Onshore trades a touch below offshore.
            std::vector<double> offshore = usdPer(u"CNH"_s, day);
            for (double &value : offshore)
                value *= 0.9988;
            return offshore;
        }
        if (const auto it = driven().constFind(code); it != driven().constEnd()) {
            std::vector<double> values = prices(it->first, day);
            if (!it->second) {
                for (double &value : values)
                    value = 1 / value;
            }
            return values;
        }
        if (const auto it = euroPegged().constFind(code); it != euroPegged().constEnd()) {
            std::vector<double> values = usdPer(u"EUR"_s, day);
            for (double &value : values)
                value *= *it;
            return values;
        }
        if (const auto it = fixedDaily().constFind(code); it != fixedDaily().constEnd()) {
            const double wobble = 1 + 0.003 * gaussian(mix(m_seed ^ qHash(code)) ^ quint64(day));
            return std::vector<double>(minutesPerDay + 1, *it * wobble);
        }
        return {};
    }

    static QStringList rateFileCodes()
    {
        return {u"1INCH"_s, u"AAVE"_s, u"AUD"_s, u"BGN"_s, u"BRL"_s, u"BTC"_s, u"CAD"_s, u"CHF"_s, u"CNH"_s,
                u"CNY"_s,   u"CZK"_s,  u"DKK"_s, u"ETH"_s, u"EUR"_s, u"GBP"_s, u"HKD"_s, u"HUF"_s, u"IDR"_s,
                u"ILS"_s,   u"INR"_s,  u"ISK"_s, u"JPY"_s, u"KRW"_s, u"MXN"_s, u"MYR"_s, u"NOK"_s, u"NZD"_s,
                u"PHP"_s,   u"PLN"_s,  u"RON"_s, u"SEK"_s, u"SGD"_s, u"THB"_s, u"TRY"_s, u"USD"_s, u"XAG"_s,
                u"XAU"_s,   u"ZAR"_s};
    }

    // The currencies of the ECB reference rates that Frankfurter serves.
    static QStringList referenceCodes()
    {
        return {u"AUD"_s, u"BGN"_s, u"BRL"_s, u"CAD"_s, u"CHF"_s, u"CNY"_s, u"CZK"_s, u"DKK"_s,
                u"EUR"_s, u"GBP"_s, u"HKD"_s, u"HUF"_s, u"IDR"_s, u"ILS"_s, u"INR"_s, u"ISK"_s,
                u"JPY"_s, u"KRW"_s, u"MXN"_s, u"MYR"_s, u"NOK"_s, u"NZD"_s, u"PHP"_s, u"PLN"_s,
                u"RON"_s, u"SEK"_s, u"SGD"_s, u"THB"_s, u"TRY"_s, u"USD"_s, u"ZAR"_s};
    }

private:
    quint64 key(int underlying, qint64 day, int minute) const
    {
        return mix(m_seed * 0x100000001B3ULL ^ quint64(underlying + 1) * 0xD6E8FEB86659FD93ULL
                   ^ quint64(day) * 0x9E3779B97F4A7C15ULL ^ quint64(minute + 2) * 0xC2B2AE3D27D4EB4FULL);
    }

    quint64 m_seed;
};

// How the chart API describes an instrument besides its prices.
struct TickerInfo
{
    QString base;  // empty for a single underlying
    QString quote;
    int underlying = -1;
    int decimals = 5;
    QString currency;
    QString exchange;
    QString fullExchange;
    QString instrumentType;
    QString exchangeZone;
};

std::optional<TickerInfo> tickerInfo(const QString &ticker)
{
    if (ticker == "DX-Y.NYB"_L1)
        return TickerInfo{{}, {}, DXY, 3, u"USD"_s, u"NYB"_s, u"ICE Futures"_s, u"INDEX"_s, u"America/New_York"_s};
    if (ticker == "GC=F"_L1)
        return TickerInfo{{}, {}, GOLD, 1, u"USD"_s, u"CMX"_s, u"COMEX"_s, u"FUTURE"_s, u"America/New_York"_s};
    if (ticker == "CL=F"_L1)
        return TickerInfo{{}, {}, CRUDE, 2, u"USD"_s, u"NYM"_s, u"NY Mercantile"_s, u"FUTURE"_s, u"America/New_York"_s};
    if (ticker == "^TNX"_L1)
        return TickerInfo{{}, {}, TNX, 3, u"USD"_s, u"CGI"_s, u"Cboe Indices"_s, u"INDEX"_s, u"America/Chicago"_s};
    if (ticker.size() != 8 || !ticker.endsWith("=X"_L1))
        return std::nullopt;
    const QString base = ticker.left(3);
    const QString quote = ticker.mid(3, 3);
    if (base == quote || !Market::knows(base) || !Market::knows(quote))
        return std::nullopt;
    const int decimals = quote == "JPY"_L1 || quote == "HUF"_L1 || quote == "KRW"_L1 ? 3 : 5;
    return TickerInfo{base, quote, -1, decimals, quote, u"CCY"_s, u"CCY"_s, u"CURRENCY"_s, u"Europe/London"_s};
}

std::vector<double> tickerPrices(const TickerInfo &info, const Market &market, qint64 day)
{
    if (info.underlying >= 0)
        return market.prices(info.underlying, day);
    const std::vector<double> perBase = market.usdPer(info.base, day);
    std::vector<double> result = market.usdPer(info.quote, day);
    for (size_t m = 0; m < result.size(); ++m)
        result[m] /= perBase[m];
    return result;
}

double rounded(double value, int decimals)
{
    const double factor = std::pow(10.0, decimals);
    return std::round(value * factor) / factor;
}

double significant(double value, int digits)
{
    if (value == 0)
        return 0;
    const int magnitude = int(std::floor(std::log10(std::abs(value)))) + 1;
    return rounded(value, digits - magnitude);
}

QDateTime dayStart(const QDateTime &instant)
{
    return QDateTime(instant.toUTC().date(), QTime(0, 0), QTimeZone::utc());
}

int minuteOfDay(const QDateTime &instant)
{
    const QTime time = instant.toUTC().time();
    return time.hour() * 60 + time.minute();
}

// The live quote moves within the minute too, from one minute's close
// towards the next, so that a client polling every few seconds sees a market.
double livePrice(const std::vector<double> &prices, const QDateTime &instant)
{
    const size_t minute = size_t(minuteOfDay(instant));
    const QTime time = instant.toUTC().time();
    const double fraction = (time.second() * 1000 + time.msec()) / 60000.0;
    const double next = prices[std::min(minute + 1, prices.size() - 1)];
    return prices[minute] + (next - prices[minute]) * fraction;
}

QJsonObject tradingPeriod(const QString &zone, qint64 start, qint64 end, int gmtOffset)
{
    return {{"timezone"_L1, zone}, {"start"_L1, start}, {"end"_L1, end}, {"gmtoffset"_L1, gmtOffset}};
}

HttpReply jsonReply(int status, const QJsonDocument &document)
{
    return {status, "application/json", document.toJson(QJsonDocument::Compact)};
}

HttpReply chartNotFound()
{
    const QJsonObject error{{"code"_L1, "Not Found"_L1}, {"description"_L1, "No data found, symbol may be delisted"_L1}};
    return jsonReply(404, QJsonDocument(QJsonObject{
                              {"chart"_L1, QJsonObject{{"result"_L1, QJsonValue::Null}, {"error"_L1, error}}}}));
}

} // namespace

PriceQuotes::PriceQuotes(const SimulatorOptions &options) : m_options(options) {}

void PriceQuotes::install(LoopbackServer &server)
{
    server.routePrefix(chartPrefix, [this](const RecordedRequest &request) { return chart(request); });
    server.route(cdnRatesPath, [this](const RecordedRequest &) { return ratesFile(); });
    server.route(mirrorRatesPath, [this](const RecordedRequest &) { return ratesFile(); });
    server.route(frankfurterPath, [this](const RecordedRequest &request) { return frankfurter(request); });
}

QStringList PriceQuotes::tickers()
{
    return {u"EURUSD=X"_s, u"GBPUSD=X"_s, u"USDJPY=X"_s, u"USDCHF=X"_s, u"AUDUSD=X"_s, u"NZDUSD=X"_s,
            u"USDCAD=X"_s, u"EURGBP=X"_s, u"EURJPY=X"_s, u"GBPJPY=X"_s, u"USDMXN=X"_s, u"USDCNH=X"_s,
            u"AUDJPY=X"_s, u"EURCHF=X"_s, u"GBPCHF=X"_s, u"EURAUD=X"_s, u"GBPAUD=X"_s, u"DX-Y.NYB"_s,
            u"GC=F"_s,     u"CL=F"_s,     u"^TNX"_s};
}

std::optional<double> PriceQuotes::lastPrice(const QString &ticker, const QDateTime &instant) const
{
    const Market market(m_options.seed);
    const qint64 day = instant.toUTC().date().toJulianDay();
    const std::optional<TickerInfo> info = tickerInfo(ticker);
    if (!info)
        return std::nullopt;
    return rounded(livePrice(tickerPrices(*info, market, day), instant), info->decimals);
}

QMap<QString, double> PriceQuotes::usdRates(const QDateTime &instant) const
{
    // The file is published once a day; it holds the rates of midnight UTC.
    const Market market(m_options.seed);
    const qint64 day = instant.toUTC().date().toJulianDay();
    QMap<QString, double> rates;
    for (const QString &code : Market::rateFileCodes())
        rates.insert(code.toLower(), significant(market.usdPer(code, day).front(), 8));
    return rates;
}

HttpReply PriceQuotes::chart(const RecordedRequest &request) const
{
    const QString ticker = QUrl::fromPercentEncoding(request.path.mid(chartPrefix.size()).toUtf8());
    const QDateTime now = m_options.now().toUTC();
    const Market market(m_options.seed);
    const qint64 day = now.date().toJulianDay();
    const std::optional<TickerInfo> info = tickerInfo(ticker);
    if (!info)
        return chartNotFound();

    const std::vector<double> prices = tickerPrices(*info, market, day);
    const int lastMinute = minuteOfDay(now);
    const qint64 start = dayStart(now).toSecsSinceEpoch();
    QJsonArray timestamps, opens, highs, lows, closes, volumes;
    double dayHigh = prices[0];
    double dayLow = prices[0];
    for (int m = 0; m <= lastMinute; ++m) {
        const double open = prices[size_t(std::max(m - 1, 0))];
        const double close = prices[size_t(m)];
        // A little range inside the minute, the same on every request.
        const double spread = std::abs(close - open) * 0.25 + close * 0.00002;
        timestamps.append(start + 60 * m);
        opens.append(rounded(open, info->decimals));
        closes.append(rounded(close, info->decimals));
        highs.append(rounded(std::max(open, close) + spread, info->decimals));
        lows.append(rounded(std::min(open, close) - spread, info->decimals));
        volumes.append(0);
        dayHigh = std::max(dayHigh, close);
        dayLow = std::min(dayLow, close);
    }

    const QTimeZone zone(info->exchangeZone.toLatin1());
    const int gmtOffset = zone.offsetFromUtc(now);
    const QJsonObject regular = tradingPeriod(info->exchangeZone, start, start + 86340, gmtOffset);
    const double previousClose = rounded(prices.front(), info->decimals);
    const QJsonObject meta{
        {"currency"_L1, info->currency},
        {"symbol"_L1, ticker},
        {"exchangeName"_L1, info->exchange},
        {"fullExchangeName"_L1, info->fullExchange},
        {"instrumentType"_L1, info->instrumentType},
        {"firstTradeDate"_L1, 1070236800},
        {"regularMarketTime"_L1, now.toSecsSinceEpoch()},
        {"hasPrePostMarketData"_L1, false},
        {"gmtoffset"_L1, gmtOffset},
        {"timezone"_L1, zone.abbreviation(now)},
        {"exchangeTimezoneName"_L1, info->exchangeZone},
        {"regularMarketPrice"_L1, rounded(livePrice(prices, now), info->decimals)},
        {"regularMarketDayHigh"_L1, rounded(dayHigh, info->decimals)},
        {"regularMarketDayLow"_L1, rounded(dayLow, info->decimals)},
        {"regularMarketVolume"_L1, 0},
        {"chartPreviousClose"_L1, previousClose},
        {"previousClose"_L1, previousClose},
        {"scale"_L1, 3},
        {"priceHint"_L1, info->decimals},
        {"currentTradingPeriod"_L1, QJsonObject{{"pre"_L1, tradingPeriod(info->exchangeZone, start, start, gmtOffset)},
                                                {"regular"_L1, regular},
                                                {"post"_L1, tradingPeriod(info->exchangeZone, start + 86340, start + 86340, gmtOffset)}}},
        {"tradingPeriods"_L1, QJsonArray{QJsonArray{regular}}},
        {"dataGranularity"_L1, "1m"_L1},
        {"range"_L1, "1d"_L1},
        {"validRanges"_L1, QJsonArray{"1d"_L1, "5d"_L1, "1mo"_L1, "3mo"_L1, "6mo"_L1, "1y"_L1, "2y"_L1, "5y"_L1,
                                      "10y"_L1, "ytd"_L1, "max"_L1}},
    };
    const QJsonObject quote{{"open"_L1, opens}, {"high"_L1, highs}, {"low"_L1, lows},
                            {"close"_L1, closes}, {"volume"_L1, volumes}};
    const QJsonObject result{{"meta"_L1, meta},
                             {"timestamp"_L1, timestamps},
                             {"indicators"_L1, QJsonObject{{"quote"_L1, QJsonArray{quote}}}}};
    return jsonReply(200, QJsonDocument(QJsonObject{
                              {"chart"_L1, QJsonObject{{"result"_L1, QJsonArray{result}}, {"error"_L1, QJsonValue::Null}}}}));
}

QMap<QString, double> PriceQuotes::referenceRates(const QDateTime &instant, const QString &base, QDate *date) const
{
    // Reference rates are fixed once per working day in the afternoon (CET).
    const QDateTime now = instant.toUTC();
    QDate fixingDay = now.date();
    if (now.time() < QTime(15, 0))
        fixingDay = fixingDay.addDays(-1);
    while (fixingDay.dayOfWeek() > 5)
        fixingDay = fixingDay.addDays(-1);
    if (date)
        *date = fixingDay;

    const Market market(m_options.seed);
    const qint64 day = fixingDay.toJulianDay();
    const size_t fixing = 14 * 60;
    const double basePerDollar = market.usdPer(base, day)[fixing];
    QMap<QString, double> rates;
    for (const QString &code : Market::referenceCodes()) {
        if (code != base)
            rates.insert(code, significant(market.usdPer(code, day)[fixing] / basePerDollar, 5));
    }
    return rates;
}

HttpReply PriceQuotes::ratesFile() const
{
    const QDateTime now = m_options.now().toUTC();
    QJsonObject usd;
    const QMap<QString, double> rates = usdRates(now);
    for (auto it = rates.cbegin(); it != rates.cend(); ++it)
        usd.insert(it.key(), it.value());
    return jsonReply(200, QJsonDocument(QJsonObject{{"date"_L1, now.date().toString(Qt::ISODate)}, {"usd"_L1, usd}}));
}

HttpReply PriceQuotes::frankfurter(const RecordedRequest &request) const
{
    const QString from = QUrlQuery(request.query).queryItemValue(u"from"_s).toUpper();
    const QString base = from.isEmpty() ? u"EUR"_s : from;
    if (!Market::referenceCodes().contains(base))
        return jsonReply(404, QJsonDocument(QJsonObject{{"message"_L1, "not found"_L1}}));

    QDate date;
    QJsonObject rates;
    const QMap<QString, double> reference = referenceRates(m_options.now(), base, &date);
    for (auto it = reference.cbegin(); it != reference.cend(); ++it)
        rates.insert(it.key(), it.value());
    return jsonReply(200, QJsonDocument(QJsonObject{{"amount"_L1, 1.0},
                                                     {"base"_L1, base},
                                                     {"date"_L1, date.toString(Qt::ISODate)},
                                                     {"rates"_L1, rates}}));
}

} // namespace kalvo::sim
