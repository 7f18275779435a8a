#include "MarketEvents.h"

#include "SeededRandom.h"

#include <QTimeZone>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

constexpr int allDay = -1;
constexpr int tentative = -2;

// One recurring release. `day` counts from Sunday (0) in the publisher's
// week; times are UTC. Releases without a unit carry no figures (speeches,
// statements, meetings). `chance` is how often the release falls into a week.
struct Release
{
    int day;
    int hour; // or allDay / tentative
    int minute;
    const char *country;
    const char *title;
    const char *impact;
    double typical = 0;
    double spread = 0;
    const char *unit = nullptr;
    int decimals = 1;
    double chance = 1;
};

// Rate decisions come with their statement and press conference in the same week.
const Release releases[]{
    {0, allDay, 0, "JPY", "Bank Holiday", "Holiday", 0, 0, nullptr, 0, 0.35},
    {0, 21, 45, "NZD", "Visitor Arrivals m/m", "Low", 1.5, 3, "%", 1, 0.5},
    {1, 1, 45, "CNY", "Caixin Manufacturing PMI", "Medium", 50.8, 0.8, "", 1},
    {1, 7, 55, "EUR", "German Final Manufacturing PMI", "Low", 45.4, 0.6, "", 1},
    {1, 8, 30, "GBP", "Final Manufacturing PMI", "Low", 49.1, 0.5, "", 1},
    {1, 14, 0, "USD", "ISM Manufacturing PMI", "High", 49.5, 1.2, "", 1},
    {1, 14, 0, "USD", "ISM Manufacturing Prices", "Medium", 55.0, 3, "", 1, 0.8},
    {1, 19, 0, "USD", "FOMC Member Waller Speaks", "Medium", 0, 0, nullptr, 0, 0.6},
    {2, 4, 30, "AUD", "Cash Rate", "High", 4.35, 0, "%", 2, 0.3},
    {2, 4, 30, "AUD", "RBA Rate Statement", "High", 0, 0, nullptr, 0, 0.3},
    {2, 9, 0, "EUR", "CPI Flash Estimate y/y", "High", 2.4, 0.2, "%", 1},
    {2, 12, 30, "USD", "CPI m/m", "High", 0.3, 0.1, "%", 1, 0.5},
    {2, 12, 30, "USD", "Core CPI m/m", "High", 0.3, 0.1, "%", 1, 0.5},
    {2, 14, 0, "USD", "JOLTS Job Openings", "High", 8.6, 0.3, "M", 2},
    {2, tentative, 0, "USD", "3-y Bond Auction", "Low", 4.55, 0.08, "%", 3, 0.6},
    {2, 22, 45, "NZD", "Employment Change q/q", "High", 0.3, 0.4, "%", 1, 0.4},
    {3, 2, 0, "NZD", "Official Cash Rate", "High", 5.50, 0, "%", 2, 0.25},
    {3, 6, 0, "EUR", "German Factory Orders m/m", "Low", 0.4, 1.5, "%", 1},
    {3, 12, 15, "USD", "ADP Non-Farm Employment Change", "High", 180, 30, "K", 0},
    {3, 13, 45, "CAD", "Overnight Rate", "High", 5.00, 0, "%", 2, 0.3},
    {3, 13, 45, "CAD", "BOC Rate Statement", "High", 0, 0, nullptr, 0, 0.3},
    {3, 14, 0, "USD", "ISM Services PMI", "High", 52.0, 1.5, "", 1},
    {3, 14, 30, "USD", "Crude Oil Inventories", "Low", -1.2, 3, "M", 1},
    {3, tentative, 0, "USD", "10-y Bond Auction", "Low", 4.48, 0.08, "%", 3},
    {3, 18, 0, "USD", "Federal Funds Rate", "High", 5.50, 0, "%", 2, 0.25},
    {3, 18, 0, "USD", "FOMC Statement", "High", 0, 0, nullptr, 0, 0.25},
    {3, 18, 30, "USD", "FOMC Press Conference", "High", 0, 0, nullptr, 0, 0.25},
    {4, 6, 30, "CHF", "CPI m/m", "Medium", 0.2, 0.2, "%", 1, 0.5},
    {4, 11, 0, "GBP", "Official Bank Rate", "High", 5.25, 0, "%", 2, 0.3},
    {4, 11, 0, "GBP", "BOE Monetary Policy Report", "High", 0, 0, nullptr, 0, 0.3},
    {4, 12, 15, "EUR", "Main Refinancing Rate", "High", 4.50, 0, "%", 2, 0.3},
    {4, 12, 30, "USD", "Unemployment Claims", "High", 212, 10, "K", 0},
    {4, 12, 45, "EUR", "ECB Press Conference", "High", 0, 0, nullptr, 0, 0.3},
    {4, 15, 0, "EUR", "ECB President Lagarde Speaks", "High", 0, 0, nullptr, 0, 0.5},
    {4, 23, 30, "JPY", "Tokyo Core CPI y/y", "Medium", 1.8, 0.3, "%", 1, 0.5},
    {5, 1, 30, "AUD", "Retail Sales m/m", "Medium", 0.3, 0.4, "%", 1, 0.6},
    {5, 6, 0, "GBP", "GDP m/m", "Medium", 0.1, 0.2, "%", 1, 0.5},
    {5, 12, 30, "USD", "Non-Farm Employment Change", "High", 200, 40, "K", 0, 0.5},
    {5, 12, 30, "USD", "Unemployment Rate", "High", 3.9, 0.1, "%", 1, 0.5},
    {5, 12, 30, "USD", "Average Hourly Earnings m/m", "High", 0.3, 0.1, "%", 1, 0.5},
    {5, 12, 30, "CAD", "Employment Change", "High", 20, 15, "K", 1, 0.5},
    {5, 14, 0, "USD", "Prelim UoM Consumer Sentiment", "Medium", 77, 3, "", 1, 0.5},
    {5, 16, 0, "GBP", "BOE Gov Bailey Speaks", "Medium", 0, 0, nullptr, 0, 0.5},
    {5, allDay, 0, "All", "G7 Meetings", "Non-Economic", 0, 0, nullptr, 0, 0.4},
};

// Every week has at least one holiday and one non-economic entry, so that
// the file always shows all five impact texts.
const Release holidays[]{
    {1, allDay, 0, "GBP", "Bank Holiday", "Holiday"},
    {4, allDay, 0, "CHF", "Bank Holiday", "Holiday"},
    {3, allDay, 0, "CNY", "Labour Day", "Holiday"},
    {1, allDay, 0, "USD", "Bank Holiday", "Holiday"},
};
const Release meetings[]{
    {2, allDay, 0, "All", "G20 Meetings", "Non-Economic"},
    {4, allDay, 0, "EUR", "Eurogroup Meetings", "Non-Economic"},
    {3, tentative, 0, "All", "OPEC-JMMC Meetings", "Non-Economic"},
};

// The calendar's figures were first drawn with this variant; it stays so
// that a seed keeps its week.
double calendarGaussian(quint64 key)
{
    return std::sqrt(-2 * std::log(uniform(key))) * std::cos(2 * std::numbers::pi * uniform(~key));
}

const QTimeZone &newYork()
{
    static const QTimeZone zone("America/New_York");
    return zone;
}

// Higher is better for the currency, except where more means weakness.
double polarity(const QString &title)
{
    if (title.contains("Unemployment"_L1))
        return -1;
    if (title.contains("Inventories"_L1) || title.contains("Auction"_L1))
        return 0;
    return 1;
}

struct Listed
{
    QDateTime sortKey;
    MarketEvent event;
};

Listed listed(const Release &release, const QDate &sunday, quint64 key)
{
    Listed entry;
    MarketEvent &event = entry.event;
    event.day = sunday.addDays(release.day);
    event.currency = QString::fromLatin1(release.country);
    event.title = QString::fromLatin1(release.title);
    event.impact = QString::fromLatin1(release.impact);
    if (release.hour >= 0) {
        event.at = QDateTime(event.day, QTime(release.hour, release.minute), QTimeZone::utc());
        entry.sortKey = event.at;
    } else {
        event.timing = release.hour == allDay ? MarketEvent::Timing::AllDay : MarketEvent::Timing::Tentative;
        entry.sortKey = QDateTime(event.day, QTime(0, 0), newYork());
        event.at = entry.sortKey.addSecs(13 * 3600).toUTC(); // auctions settle in the early afternoon
    }
    if (!release.unit)
        return entry;
    event.hasFigures = true;
    event.hasForecast = release.hour != tentative;
    event.unit = QString::fromLatin1(release.unit);
    event.decimals = release.decimals;
    event.spread = release.spread;
    event.forecast = release.typical + release.spread * calendarGaussian(key);
    event.previous = release.typical + release.spread * calendarGaussian(key + 1);
    event.actual = event.expected() + 0.6 * release.spread * calendarGaussian(key + 2);
    return entry;
}

quint64 codeKey(const QString &code)
{
    quint64 key = 0;
    for (const QChar c : code)
        key = key * 131 + c.unicode();
    return key;
}

// Releases of one currency at one instant read alike: by their surprises
// where they have any, else by a lean of the currency's day, so that a rate
// decision, its press conference and a speech after it tell one story.
void setTones(QList<Listed> &entries, quint64 weekKey)
{
    for (Listed &entry : entries) {
        MarketEvent &event = entry.event;
        double sum = 0;
        int informative = 0;
        for (const Listed &other : std::as_const(entries)) {
            const MarketEvent &peer = other.event;
            if (peer.at != event.at || peer.currency != event.currency || !peer.hasFigures || peer.spread <= 0)
                continue;
            const double weight = polarity(peer.title);
            if (weight == 0)
                continue;
            sum += weight * std::clamp((peer.actual - peer.expected()) / peer.spread, -3.0, 3.0);
            ++informative;
        }
        const double lean = informative > 0
            ? sum / informative / 1.5
            : 0.7 * gaussian(mix(weekKey ^ codeKey(event.currency) * 0x100000001B3ULL ^ quint64(event.day.toJulianDay())));
        event.tone = std::clamp(lean, -1.0, 1.0);
    }
}

} // namespace

QString MarketEvent::figure(double value) const
{
    return QString::number(value, 'f', decimals) + unit;
}

namespace MarketEvents {

QDate weekStart(const QDateTime &instant)
{
    const QDate today = instant.toTimeZone(newYork()).date();
    return today.addDays(-(today.dayOfWeek() % 7));
}

QList<MarketEvent> week(quint64 seed, const QDate &sunday)
{
    const quint64 weekKey = mix(seed ^ quint64(sunday.toJulianDay()) * 0x2545F4914F6CDD1DULL);
    QList<Listed> entries;
    quint64 index = 0;
    for (const Release &release : releases) {
        const quint64 key = mix(weekKey + ++index * 0x9E3779B97F4A7C15ULL);
        if (uniform(key ^ 0x5DEECE66DULL) < release.chance)
            entries.append(listed(release, sunday, key));
    }
    const qint64 weekNumber = sunday.toJulianDay() / 7;
    entries.append(listed(holidays[weekNumber % std::size(holidays)], sunday, weekKey));
    entries.append(listed(meetings[weekNumber % std::size(meetings)], sunday, weekKey));
    setTones(entries, weekKey);

    // The publisher lists a week in time order.
    std::stable_sort(entries.begin(), entries.end(), [](const Listed &a, const Listed &b) { return a.sortKey < b.sortKey; });
    QList<MarketEvent> events;
    for (const Listed &entry : std::as_const(entries))
        events.append(entry.event);
    return events;
}

QList<MarketEvent> releasedBetween(quint64 seed, const QDateTime &from, const QDateTime &to)
{
    QList<MarketEvent> result;
    if (!(from < to))
        return result;
    for (QDate sunday = weekStart(from).addDays(-7); sunday <= weekStart(to); sunday = sunday.addDays(7)) {
        for (const MarketEvent &event : week(seed, sunday)) {
            if (event.timing != MarketEvent::Timing::AllDay && from <= event.at && event.at < to)
                result.append(event);
        }
    }
    std::stable_sort(result.begin(), result.end(), [](const MarketEvent &a, const MarketEvent &b) { return a.at < b.at; });
    return result;
}

std::optional<MarketEvent> nextHighImpact(quint64 seed, const QDateTime &instant, int horizonHours)
{
    for (const MarketEvent &event : releasedBetween(seed, instant.addSecs(1), instant.addSecs(horizonHours * 3600))) {
        if (event.isHigh() && event.timing == MarketEvent::Timing::Timed)
            return event;
    }
    return std::nullopt;
}

} // namespace MarketEvents

} // namespace kalvo::sim
