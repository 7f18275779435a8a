#pragma once

#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace kalvo::sim {

// One entry of the simulated economic calendar, with its outcome: the
// calendar file shows the actual figure once `at` has passed, the price walk
// jumps on it and the news stream reports it.
struct MarketEvent
{
    enum class Timing { Timed, AllDay, Tentative };

    QDateTime at;        // UTC; a tentative release settles at 13:00 New York time
    QDate day;           // the New York date the calendar lists it under
    Timing timing = Timing::Timed;
    QString currency;    // "USD", ..., "All"
    QString title;       // as the calendar publisher writes it
    QString impact;      // High, Medium, Low, Holiday, Non-Economic
    bool hasFigures = false;
    bool hasForecast = false;
    double forecast = 0;
    double previous = 0;
    double actual = 0;
    double spread = 0;   // how far a release typically strays from its forecast
    QString unit;        // "%", "K", "M", "" (an index); empty also without figures
    int decimals = 1;
    // How the release reads for its currency, from -1 (clearly negative:
    // dovish, weak data) to +1 (hawkish, strong data). Releases of one
    // currency at one instant share it; those without figures lean the way
    // of their currency's day, so a rate decision, its statement and the
    // press conference never contradict each other.
    double tone = 0;

    bool isHigh() const { return impact == QLatin1StringView("High"); }
    // The text of a figure as the calendar writes it: "0.3%", "245K".
    QString figure(double value) const;
    // Forecast, else previous: what the market expected.
    double expected() const { return hasForecast ? forecast : previous; }
};

namespace MarketEvents {

// The calendar week that starts on `sunday` (New York date), in time order.
QList<MarketEvent> week(quint64 seed, const QDate &sunday);

// The Sunday (New York) that starts the week holding `instant`.
QDate weekStart(const QDateTime &instant);

// Every timed or tentative release with `from` <= at < `to`, in time order.
QList<MarketEvent> releasedBetween(quint64 seed, const QDateTime &from, const QDateTime &to);

// The next high-impact release after `instant`, within `horizonHours`.
std::optional<MarketEvent> nextHighImpact(quint64 seed, const QDateTime &instant, int horizonHours = 36);

} // namespace MarketEvents

} // namespace kalvo::sim
