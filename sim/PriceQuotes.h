#pragma once

#include "LoopbackServer.h"
#include "MarketSimulator.h"

#include <QDateTime>
#include <QMap>
#include <QStringList>

#include <memory>
#include <optional>

namespace kalvo::sim {

struct PricePaths;

// The three price sources: the chart API (one seeded random walk per
// underlying, around realistic levels, crosses derived from the dollar legs
// so that they agree), the daily USD rates file under its CDN and its mirror
// path, and Frankfurter's latest rates. Everything follows
// SimulatorOptions::now and is the same for the same seed.
//
// The walks move like the real market: each instrument with its own daily
// volatility, quiet in the Asian hours and busiest when London and New York
// overlap, and each high-impact release of the simulated calendar makes the
// currencies it concerns jump (in the direction its surprise points) and
// stay nervous for the next half hour or so.
class PriceQuotes
{
public:
    static constexpr QLatin1StringView chartPrefix{"/v8/finance/chart/"};
    static constexpr QLatin1StringView cdnRatesPath{"/npm/@fawazahmed0/currency-api@latest/v1/currencies/usd.json"};
    static constexpr QLatin1StringView mirrorRatesPath{"/v1/currencies/usd.json"};
    static constexpr QLatin1StringView frankfurterPath{"/latest"};

    explicit PriceQuotes(const SimulatorOptions &options);
    ~PriceQuotes();
    void install(LoopbackServer &server);

    // Every ticker with its own table entry; any other "XXXYYY=X" of two
    // known currencies is served too.
    static QStringList tickers();

    // The last price the chart API answers for `ticker` at `instant`.
    std::optional<double> lastPrice(const QString &ticker, const QDateTime &instant) const;
    // The chart API's previous close for the day of `instant`: the price at
    // the start of that day (UTC), against which the day's change counts.
    std::optional<double> previousClose(const QString &ticker, const QDateTime &instant) const;
    // The rates file's "usd" object for the day of `instant`, codes in lower case.
    QMap<QString, double> usdRates(const QDateTime &instant) const;
    // Frankfurter's latest rates at `instant`, per unit of `base`, and their date.
    QMap<QString, double> referenceRates(const QDateTime &instant, const QString &base, QDate *date = nullptr) const;

private:
    HttpReply chart(const RecordedRequest &request) const;
    HttpReply ratesFile() const;
    HttpReply frankfurter(const RecordedRequest &request) const;

    const SimulatorOptions &m_options;
    std::unique_ptr<PricePaths> m_paths; // the computed days, shared by every request
};

} // namespace kalvo::sim
