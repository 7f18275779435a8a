#include "CalendarFeed.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <algorithm>
#include <cmath>
#include <numbers>

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

quint64 mix(quint64 x)
{
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
}

double uniform(quint64 key)
{
    return (double(mix(key) >> 11) + 0.5) / 9007199254740992.0;
}

double gaussian(quint64 key)
{
    return std::sqrt(-2 * std::log(uniform(key))) * std::cos(2 * std::numbers::pi * uniform(~key));
}

const QTimeZone &newYork()
{
    static const QTimeZone zone("America/New_York");
    return zone;
}

QDate weekStart(const QDateTime &now, CalendarFeed::Week week)
{
    const QDate today = now.toTimeZone(newYork()).date();
    const QDate sunday = today.addDays(-(today.dayOfWeek() % 7));
    return week == CalendarFeed::Week::Next ? sunday.addDays(7) : sunday;
}

QString figure(const Release &release, double value)
{
    return QString::number(value, 'f', release.decimals) + QString::fromLatin1(release.unit);
}

struct Entry
{
    QDateTime sortKey;
    QJsonObject object;
};

Entry entryFor(const Release &release, const QDate &sunday, const QDateTime &now, quint64 key)
{
    const QDate day = sunday.addDays(release.day);
    Entry entry;
    entry.object.insert("title"_L1, QString::fromLatin1(release.title));
    entry.object.insert("country"_L1, QString::fromLatin1(release.country));
    entry.object.insert("impact"_L1, QString::fromLatin1(release.impact));

    QDateTime instant;
    if (release.hour >= 0) {
        instant = QDateTime(day, QTime(release.hour, release.minute), QTimeZone::utc());
        entry.object.insert("date"_L1, instant.toTimeZone(newYork()).toString(Qt::ISODate));
        entry.sortKey = instant;
    } else {
        // The older form: a New York date and a marker instead of a clock time.
        entry.object.insert("date"_L1, day.toString(u"MM-dd-yyyy"_s));
        entry.object.insert("time"_L1, release.hour == allDay ? u"All Day"_s : u"Tentative"_s);
        entry.sortKey = QDateTime(day, QTime(0, 0), newYork());
        instant = entry.sortKey.addSecs(13 * 3600); // auctions settle in the early afternoon
    }

    if (!release.unit) {
        entry.object.insert("forecast"_L1, ""_L1);
        entry.object.insert("previous"_L1, ""_L1);
        return entry;
    }
    const double forecast = release.typical + release.spread * gaussian(key);
    const double previous = release.typical + release.spread * gaussian(key + 1);
    const bool hasForecast = release.hour != tentative;
    entry.object.insert("forecast"_L1, hasForecast ? figure(release, forecast) : QString());
    entry.object.insert("previous"_L1, figure(release, previous));
    if (instant < now) {
        const double actual = (hasForecast ? forecast : previous) + 0.6 * release.spread * gaussian(key + 2);
        entry.object.insert("actual"_L1, figure(release, actual));
    }
    return entry;
}

// Numbers where the publisher writes texts, in a rotating field per entry.
QJsonArray withWrongTypes(QJsonArray events)
{
    static const QLatin1StringView fields[]{"title"_L1, "forecast"_L1, "date"_L1, "impact"_L1, "country"_L1};
    for (qsizetype i = 0; i < events.size(); ++i) {
        QJsonObject event = events[i].toObject();
        const QLatin1StringView field = fields[i % std::size(fields)];
        event.insert(field, field == "date"_L1 ? 1714739400 : 3.5);
        events[i] = event;
    }
    return events;
}

QJsonArray untitled(QJsonArray events)
{
    for (qsizetype i = 0; i < events.size(); ++i) {
        QJsonObject event = events[i].toObject();
        event.insert("title"_L1, ""_L1);
        events[i] = event;
    }
    return events;
}

} // namespace

CalendarFeed::CalendarFeed(const SimulatorOptions &options) : m_options(options) {}

void CalendarFeed::install(LoopbackServer &server)
{
    server.route(thisWeekPath, [this](const RecordedRequest &) { return reply(Week::This); });
    server.route(nextWeekPath, [this](const RecordedRequest &) { return reply(Week::Next); });
}

void CalendarFeed::setBody(Week week, Body body)
{
    m_bodies[week == Week::This ? 0 : 1] = body;
}

QJsonArray CalendarFeed::events(Week week, const QDateTime &now) const
{
    const QDate sunday = weekStart(now, week);
    const quint64 weekKey = mix(m_options.seed ^ quint64(sunday.toJulianDay()) * 0x2545F4914F6CDD1DULL);

    QList<Entry> entries;
    quint64 index = 0;
    for (const Release &release : releases) {
        const quint64 key = mix(weekKey + ++index * 0x9E3779B97F4A7C15ULL);
        if (uniform(key ^ 0x5DEECE66DULL) < release.chance)
            entries.append(entryFor(release, sunday, now, key));
    }
    const qint64 weekNumber = sunday.toJulianDay() / 7;
    entries.append(entryFor(holidays[weekNumber % std::size(holidays)], sunday, now, weekKey));
    entries.append(entryFor(meetings[weekNumber % std::size(meetings)], sunday, now, weekKey));

    // The publisher lists a week in time order.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const Entry &a, const Entry &b) { return a.sortKey < b.sortKey; });
    QJsonArray array;
    for (const Entry &entry : std::as_const(entries))
        array.append(entry.object);
    return array;
}

HttpReply CalendarFeed::reply(Week week) const
{
    return {200, "application/json", served(week, m_options.now())};
}

QByteArray CalendarFeed::served(Week week, const QDateTime &now) const
{
    QJsonDocument document;
    switch (m_bodies[week == Week::This ? 0 : 1]) {
    case Body::Events: document = QJsonDocument(events(week, now)); break;
    case Body::EmptyArray: document = QJsonDocument(QJsonArray()); break;
    case Body::Object: document = QJsonDocument(QJsonObject{{"events"_L1, events(week, now)}}); break;
    case Body::WrongTypes: document = QJsonDocument(withWrongTypes(events(week, now))); break;
    case Body::Untitled: document = QJsonDocument(untitled(events(week, now))); break;
    }
    return document.toJson(QJsonDocument::Compact);
}

} // namespace kalvo::sim
