#include "CalendarFeed.h"

#include "MarketEvents.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

QJsonObject entryOf(const MarketEvent &event, const QDateTime &now)
{
    QJsonObject object{{"title"_L1, event.title}, {"country"_L1, event.currency}, {"impact"_L1, event.impact}};
    if (event.timing == MarketEvent::Timing::Timed) {
        static const QTimeZone newYork("America/New_York");
        object.insert("date"_L1, event.at.toTimeZone(newYork).toString(Qt::ISODate));
    } else {
        // The older form: a New York date and a marker instead of a clock time.
        object.insert("date"_L1, event.day.toString(u"MM-dd-yyyy"_s));
        object.insert("time"_L1, event.timing == MarketEvent::Timing::AllDay ? u"All Day"_s : u"Tentative"_s);
    }
    if (!event.hasFigures) {
        object.insert("forecast"_L1, ""_L1);
        object.insert("previous"_L1, ""_L1);
        return object;
    }
    object.insert("forecast"_L1, event.hasForecast ? event.figure(event.forecast) : QString());
    object.insert("previous"_L1, event.figure(event.previous));
    if (event.at < now)
        object.insert("actual"_L1, event.figure(event.actual));
    return object;
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
    QDate sunday = MarketEvents::weekStart(now);
    if (week == Week::Next)
        sunday = sunday.addDays(7);
    QJsonArray array;
    for (const MarketEvent &event : MarketEvents::week(m_options.seed, sunday))
        array.append(entryOf(event, now));
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
