#include "PriceQuotes.h"

#include "MarketEvents.h"
#include "SeededRandom.h"

#include <QHash>
#include <QMutex>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <QUrlQuery>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

// One high-impact release as the walks feel it: the currency jumps at the
// release and trades nervously for a while after.
struct PriceShock
{
    int minute; // of the day (UTC)
    QString currency;
    double jump; // of the currency's logarithm
};

// The computed days by underlying and day, and each day's shocks. A day
// takes a few hundred microseconds to compute; a client polling every few
// seconds should cost a look-up. Requests come from the serving thread and,
// in tests and the news stream, from others.
struct PricePaths
{
    QMutex mutex;
    QHash<quint64, std::shared_ptr<const std::vector<double>>> days;
    QHash<qint64, std::shared_ptr<const std::vector<PriceShock>>> shocks;
};

namespace {

constexpr int minutesPerDay = 1440;

// What the walks move around. Levels are those of recent years; the daily
// volatilities (of the logarithm) give the usual daily ranges, about 1.6
// times the volatility on a quiet day: EUR/USD 0.5-0.8 %, USD/JPY 0.6-1 %,
// gold 1-1.5 %, the dollar index 0.4-0.6 %.
enum Underlying { EURUSD, GBPUSD, USDJPY, USDCHF, AUDUSD, NZDUSD, USDCAD, USDMXN, USDCNH, DXY, GOLD, CRUDE, TNX,
                  UnderlyingCount };

struct UnderlyingInfo
{
    double level;
    double dailyVolatility;
    bool asian;        // busy in the Tokyo and Sydney hours too
    double dollarBeta; // share of its moves that are the dollar's (signed), so that the crosses stay calm
};

constexpr UnderlyingInfo underlyings[UnderlyingCount]{
    {1.0850, 0.0036, false, -0.90}, {1.2650, 0.0041, false, -0.85}, {151.50, 0.0044, true, 0.55},
    {0.9050, 0.0038, false, 0.85},  {0.6580, 0.0048, true, -0.65},  {0.6020, 0.0048, true, -0.65},
    {1.3650, 0.0032, false, 0.55},  {17.050, 0.0065, false, 0.30},  {7.2400, 0.0014, true, 0.50},
    {104.80, 0.0029, false, 0.95},  {2330.0, 0.0072, false, -0.40}, {78.500, 0.0160, false, 0.0},
    {4.4800, 0.0150, false, 0.20},
};

// The key of the dollar's own shocks, shared by every walk.
constexpr int dollarFactor = UnderlyingCount;

// How much an underlying's logarithm moves when a currency gains one unit:
// the dollar legs fully, the index by its basket weights, gold and yields
// against the dollar.
double exposure(int underlying, const QString &currency)
{
    const auto is = [&](QLatin1StringView code) { return currency == code; };
    switch (underlying) {
    case EURUSD: return is("EUR"_L1) ? 1 : is("USD"_L1) ? -1 : 0;
    case GBPUSD: return is("GBP"_L1) ? 1 : is("USD"_L1) ? -1 : 0;
    case USDJPY: return is("USD"_L1) ? 1 : is("JPY"_L1) ? -1 : 0;
    case USDCHF: return is("USD"_L1) ? 1 : is("CHF"_L1) ? -1 : 0;
    case AUDUSD: return is("AUD"_L1) ? 1 : is("USD"_L1) ? -1 : is("CNY"_L1) ? 0.4 : 0;
    case NZDUSD: return is("NZD"_L1) ? 1 : is("USD"_L1) ? -1 : is("CNY"_L1) ? 0.3 : 0;
    case USDCAD: return is("USD"_L1) ? 1 : is("CAD"_L1) ? -1 : 0;
    case USDMXN: return is("USD"_L1) ? 0.8 : 0;
    case USDCNH: return is("USD"_L1) ? 0.3 : is("CNY"_L1) ? -0.3 : 0;
    case DXY: return is("USD"_L1) ? 0.85 : is("EUR"_L1) ? -0.58 : is("JPY"_L1) ? -0.14 : is("GBP"_L1) ? -0.12 : 0;
    case GOLD: return is("USD"_L1) ? -0.6 : 0;
    case TNX: return is("USD"_L1) ? 5 : 0;
    default: return 0;
    }
}

// Activity by hour of the day (UTC): Asia quiet for the European pairs,
// London busy, the London/New York overlap busiest, the late US afternoon
// thinning out.
double hourWeight(int hour, bool asian)
{
    if (hour < 7)
        return asian ? 0.95 : 0.6;
    if (hour < 8)
        return 1.0;
    if (hour < 12)
        return 1.25;
    if (hour < 16)
        return 1.45;
    if (hour < 17)
        return 1.1;
    if (hour < 21)
        return 0.8;
    return asian ? 0.7 : 0.5;
}

// Per-minute standard deviations of a day without news, averaging the
// daily volatility over the day.
const std::vector<double> &quietProfile(bool asian)
{
    static const auto make = [](bool asian) {
        std::vector<double> weights(minutesPerDay);
        double sum = 0;
        for (int m = 0; m < minutesPerDay; ++m) {
            weights[size_t(m)] = hourWeight(m / 60, asian);
            sum += weights[size_t(m)] * weights[size_t(m)];
        }
        const double scale = std::sqrt(1.0 / sum);
        for (double &weight : weights)
            weight *= scale;
        return weights;
    };
    static const std::vector<double> european = make(false), asianHours = make(true);
    return asian ? asianHours : european;
}

constexpr double nervousness = 2.5;     // volatility multiple right after a release
constexpr double calmingMinutes = 25.0; // how fast it fades

// Headline releases move a currency most; the sign follows the release's tone.
std::vector<PriceShock> shocksOn(quint64 seed, qint64 day)
{
    const QDateTime start(QDate::fromJulianDay(day), QTime(0, 0), QTimeZone::utc());
    std::vector<PriceShock> shocks;
    for (const MarketEvent &event : MarketEvents::releasedBetween(seed, start, start.addDays(1))) {
        if (!event.isHigh() || event.timing != MarketEvent::Timing::Timed)
            continue;
        const int minute = int(start.secsTo(event.at) / 60);
        const bool headline = event.title.contains("Non-Farm Employment Change"_L1) && !event.title.startsWith("ADP"_L1);
        const bool major = headline || event.title.contains("CPI"_L1) || event.title.contains("Federal Funds"_L1)
            || event.title.contains("Rate"_L1) || event.title.contains("FOMC"_L1);
        const double base = major ? 0.0022 : 0.0014;
        const auto same = std::find_if(shocks.begin(), shocks.end(), [&](const PriceShock &shock) {
            return shock.minute == minute && shock.currency == event.currency;
        });
        double sign = event.tone > 0 ? 1 : event.tone < 0 ? -1 : 0;
        if (sign == 0)
            sign = (mix(seed ^ quint64(event.at.toSecsSinceEpoch())) & 1) ? 1 : -1;
        const double jump = sign * base * (0.5 + 0.7 * std::min(std::abs(event.tone), 1.0));
        // Releases of one currency at one instant share a tone: the biggest sets the jump.
        if (same == shocks.end())
            shocks.push_back({minute, event.currency, jump});
        else if (std::abs(jump) > std::abs(same->jump))
            same->jump = jump;
    }
    return shocks;
}

// The seeded market: one walk per underlying, continuous across midnight.
// Days are computed whole and kept, so a client polling every few seconds
// costs a look-up.
class Market
{
public:
    Market(quint64 seed, PricePaths &paths) : m_seed(seed), m_paths(paths) {}

    // The log offset from the level at the start of a day: a moving sum of
    // daily shocks, so any day is computed on its own and stays stationary,
    // plus the jumps of the day before, which the market keeps overnight.
    double dayAnchor(int underlying, qint64 day) const
    {
        constexpr int memory = 120;
        constexpr double decay = 0.97;
        const double volatility = underlyings[underlying].dailyVolatility;
        double offset = 0;
        double weight = 1;
        for (int k = 0; k < memory; ++k) {
            offset += weight * volatility * shock(underlying, day - k, -1);
            weight *= decay;
        }
        return offset + jumpsOn(underlying, day - 1);
    }

    double jumpsOn(int underlying, qint64 day) const
    {
        double sum = 0;
        for (const PriceShock &shock : *shocks(day))
            sum += exposure(underlying, shock.currency) * shock.jump;
        return sum;
    }

    // Log offsets at every minute 0..1440 of `day`: a Brownian bridge from
    // this day's anchor to the next one (so that midnight has no gap), with
    // the day's activity profile and its releases' jumps and nervous spells.
    std::vector<double> path(int underlying, qint64 day) const
    {
        const UnderlyingInfo &info = underlyings[underlying];
        const std::vector<double> &profile = quietProfile(info.asian);
        std::vector<double> quiet(minutesPerDay + 1, 0.0);
        for (int m = 1; m <= minutesPerDay; ++m)
            quiet[size_t(m)] = info.dailyVolatility * profile[size_t(m - 1)];
        // A dollar release makes the dollar's share of every walk nervous, any
        // other the own share of its currencies' walks, the more so the
        // smaller that share, so that the walk as a whole gets as nervous.
        // Releases close together do not compound: the market is at most so
        // nervous.
        const double beta = info.dollarBeta;
        const double own = std::sqrt(1 - beta * beta);
        const double ownCeiling = nervousness / std::max(own, 0.3);
        std::vector<double> dollarExcitement(minutesPerDay + 1, 0.0);
        std::vector<double> ownExcitement(minutesPerDay + 1, 0.0);
        std::vector<double> jumps(minutesPerDay + 1, 0.0);
        for (const PriceShock &shock : *shocks(day)) {
            const double weight = exposure(underlying, shock.currency);
            const bool dollar = shock.currency == "USD"_L1;
            if (weight == 0 && !dollar)
                continue;
            std::vector<double> &excitement = dollar ? dollarExcitement : ownExcitement;
            const double peak = dollar ? nervousness : ownCeiling * std::min(std::abs(weight), 1.0);
            for (int m = shock.minute + 1; m <= minutesPerDay; ++m) {
                excitement[size_t(m)] += peak * std::exp(-(m - shock.minute - 1) / calmingMinutes);
                jumps[size_t(m)] += weight * shock.jump;
            }
        }

        const double start = dayAnchor(underlying, day);
        const double end = dayAnchor(underlying, day + 1);
        std::vector<double> walk(minutesPerDay + 1, 0.0);
        std::vector<double> variance(minutesPerDay + 1, 0.0);
        for (int m = 1; m <= minutesPerDay; ++m) {
            const size_t i = size_t(m);
            const double step = beta * gaussian(key(dollarFactor, day, m)) * (1 + std::min(dollarExcitement[i], nervousness))
                                + own * gaussian(key(underlying, day, m)) * (1 + std::min(ownExcitement[i], ownCeiling));
            walk[i] = walk[i - 1] + quiet[i] * step;
            variance[i] = variance[i - 1] + quiet[i] * quiet[i];
        }
        // The bridge's correction goes where the market is busy on an
        // ordinary day: quiet hours stay quiet, and a release's move is its own.
        const double drift = walk[minutesPerDay] + jumps[minutesPerDay] - (end - start);
        for (int m = 0; m <= minutesPerDay; ++m)
            walk[size_t(m)] = start + walk[size_t(m)] + jumps[size_t(m)] - drift * variance[size_t(m)] / variance[minutesPerDay];
        return walk;
    }

    // Prices at every minute 0..1440 of `day`.
    std::shared_ptr<const std::vector<double>> prices(int underlying, qint64 day) const
    {
        const quint64 id = quint64(day) * UnderlyingCount + quint64(underlying);
        {
            const QMutexLocker lock(&m_paths.mutex);
            if (const auto found = m_paths.days.constFind(id); found != m_paths.days.constEnd())
                return *found;
        }
        std::vector<double> values = path(underlying, day);
        for (double &value : values)
            value = underlyings[underlying].level * std::exp(value);
        auto computed = std::make_shared<const std::vector<double>>(std::move(values));
        const QMutexLocker lock(&m_paths.mutex);
        if (m_paths.days.size() > 400)
            m_paths.days.clear();
        m_paths.days.insert(id, computed);
        return computed;
    }

    std::shared_ptr<const std::vector<PriceShock>> shocks(qint64 day) const
    {
        {
            const QMutexLocker lock(&m_paths.mutex);
            if (const auto found = m_paths.shocks.constFind(day); found != m_paths.shocks.constEnd())
                return *found;
        }
        auto computed = std::make_shared<const std::vector<PriceShock>>(shocksOn(m_seed, day));
        const QMutexLocker lock(&m_paths.mutex);
        if (m_paths.shocks.size() > 60)
            m_paths.shocks.clear();
        m_paths.shocks.insert(day, computed);
        return computed;
    }

    static bool knows(const QString &code)
    {
        return code == "USD"_L1 || code == "CNY"_L1 || driven().contains(code) || euroPegged().contains(code)
               || fixedDaily().contains(code);
    }

    // Units of `code` per US dollar at minute `m` of `day`; nothing when
    // the market does not know the currency.
    std::optional<double> usdPer(const QString &code, qint64 day, int m) const
    {
        if (code == "USD"_L1)
            return 1.0;
        if (code == "CNY"_L1) {
            // Onshore trades a touch below offshore.
            return *usdPer(u"CNH"_s, day, m) * 0.9988;
        }
        if (const auto it = driven().constFind(code); it != driven().constEnd()) {
            const double value = (*prices(it->first, day))[size_t(m)];
            return it->second ? value : 1 / value;
        }
        if (const auto it = euroPegged().constFind(code); it != euroPegged().constEnd())
            return *usdPer(u"EUR"_s, day, m) * *it;
        if (const auto it = fixedDaily().constFind(code); it != fixedDaily().constEnd())
            return *it * (1 + 0.003 * gaussian(mix(m_seed ^ qHash(code)) ^ quint64(day)));
        return std::nullopt;
    }

    // The same at every minute 0..1440.
    std::vector<double> usdPer(const QString &code, qint64 day) const
    {
        std::vector<double> values(minutesPerDay + 1);
        for (int m = 0; m <= minutesPerDay; ++m)
            values[size_t(m)] = usdPer(code, day, m).value_or(0);
        return values;
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
    // Currency -> the walk behind it, and whether that walk quotes the
    // currency per dollar (USD/JPY) or dollars per unit (EUR/USD).
    static const QHash<QString, std::pair<int, bool>> &driven()
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
    static const QHash<QString, double> &euroPegged()
    {
        static const QHash<QString, double> table{{u"DKK"_s, 7.4605}, {u"BGN"_s, 1.95583}, {u"RON"_s, 4.9735}};
        return table;
    }

    // The rest: units per dollar with a small daily wobble.
    static const QHash<QString, double> &fixedDaily()
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

    // A standard normal shock of one walk: its share of the dollar's own
    // shock plus one of its own.
    double shock(int underlying, qint64 day, int minute) const
    {
        const double beta = underlyings[underlying].dollarBeta;
        return beta * gaussian(key(dollarFactor, day, minute))
               + std::sqrt(1 - beta * beta) * gaussian(key(underlying, day, minute));
    }

    quint64 key(int underlying, qint64 day, int minute) const
    {
        return mix(m_seed * 0x100000001B3ULL ^ quint64(underlying + 1) * 0xD6E8FEB86659FD93ULL
                   ^ quint64(day) * 0x9E3779B97F4A7C15ULL ^ quint64(minute + 2) * 0xC2B2AE3D27D4EB4FULL);
    }

    quint64 m_seed;
    PricePaths &m_paths;
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
        return *market.prices(info.underlying, day);
    const std::vector<double> perBase = market.usdPer(info.base, day);
    std::vector<double> result = market.usdPer(info.quote, day);
    for (size_t m = 0; m < result.size(); ++m)
        result[m] /= perBase[m];
    return result;
}

// The price of an instrument at minute `m` of `day`, without the whole day.
double tickerPrice(const TickerInfo &info, const Market &market, qint64 day, int m)
{
    if (info.underlying >= 0)
        return (*market.prices(info.underlying, day))[size_t(m)];
    return *market.usdPer(info.quote, day, m) / *market.usdPer(info.base, day, m);
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

PriceQuotes::PriceQuotes(const SimulatorOptions &options) : m_options(options), m_paths(std::make_unique<PricePaths>()) {}

PriceQuotes::~PriceQuotes() = default;

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
    const std::optional<TickerInfo> info = tickerInfo(ticker);
    if (!info)
        return std::nullopt;
    const Market market(m_options.seed, *m_paths);
    const QDateTime utc = instant.toUTC();
    const qint64 day = utc.date().toJulianDay();
    const int minute = minuteOfDay(utc);
    const double fraction = (utc.time().second() * 1000 + utc.time().msec()) / 60000.0;
    const double from = tickerPrice(*info, market, day, minute);
    const double to = tickerPrice(*info, market, day, minute + 1);
    return rounded(from + (to - from) * fraction, info->decimals);
}

std::optional<double> PriceQuotes::previousClose(const QString &ticker, const QDateTime &instant) const
{
    const std::optional<TickerInfo> info = tickerInfo(ticker);
    if (!info)
        return std::nullopt;
    const Market market(m_options.seed, *m_paths);
    return rounded(tickerPrice(*info, market, instant.toUTC().date().toJulianDay(), 0), info->decimals);
}

QMap<QString, double> PriceQuotes::usdRates(const QDateTime &instant) const
{
    // The file is published once a day; it holds the rates of midnight UTC.
    const Market market(m_options.seed, *m_paths);
    const qint64 day = instant.toUTC().date().toJulianDay();
    QMap<QString, double> rates;
    for (const QString &code : Market::rateFileCodes())
        rates.insert(code.toLower(), significant(*market.usdPer(code, day, 0), 8));
    return rates;
}

HttpReply PriceQuotes::chart(const RecordedRequest &request) const
{
    const QString ticker = QUrl::fromPercentEncoding(request.path.mid(chartPrefix.size()).toUtf8());
    const QDateTime now = m_options.now().toUTC();
    const Market market(m_options.seed, *m_paths);
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

    const Market market(m_options.seed, *m_paths);
    const qint64 day = fixingDay.toJulianDay();
    const int fixing = 14 * 60;
    const double basePerDollar = *market.usdPer(base, day, fixing);
    QMap<QString, double> rates;
    for (const QString &code : Market::referenceCodes()) {
        if (code != base)
            rates.insert(code, significant(*market.usdPer(code, day, fixing) / basePerDollar, 5));
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
