#pragma once

#include "LoopbackServer.h"
#include "MarketSimulator.h"

#include <QDateTime>
#include <QJsonArray>

namespace kalvo::sim {

// The two weekly economic-calendar files: a seeded week of realistic events
// (PMIs, CPI, payrolls, rate decisions, speeches, holidays) for the week of
// SimulatorOptions::now and the one after, weeks running Sunday to Saturday
// in New York time as the publisher's do. Most entries carry an ISO 8601
// date with the New York offset; all-day and tentative entries use the
// older split form ("date" 05-06-2024, "time" All Day / Tentative). Past
// events carry their "actual".
class CalendarFeed
{
public:
    static constexpr QLatin1StringView thisWeekPath{"/ff_calendar_thisweek.json"};
    static constexpr QLatin1StringView nextWeekPath{"/ff_calendar_nextweek.json"};

    enum class Week { This, Next };
    // What a file answers besides its events, for clients that must cope.
    enum class Body {
        Events,     // the week's events
        EmptyArray, // []
        Object,     // the events wrapped in an object instead of an array
        WrongTypes, // the events with numbers where texts belong in some entries
        Untitled,   // the events with every title emptied
    };

    explicit CalendarFeed(const SimulatorOptions &options);
    void install(LoopbackServer &server);

    void setBody(Week week, Body body);
    // The week's events as served with Body::Events, for the instant `now`.
    QJsonArray events(Week week, const QDateTime &now) const;
    // The file exactly as it is served at `now`, with the body set for it.
    QByteArray served(Week week, const QDateTime &now) const;

private:
    HttpReply reply(Week week) const;

    const SimulatorOptions &m_options;
    Body m_bodies[2] = {Body::Events, Body::Events};
};

} // namespace kalvo::sim
