#include "DemoCalendar.h"

#include "sources/CalendarParsing.h"

#include <QJsonObject>
#include <QTimeZone>

#include <array>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

struct Release
{
    int minutes; // from the quarter hour `now` falls in
    const char16_t *country;
    const char16_t *title;
    const char16_t *impact;
    const char16_t *forecast;
    const char16_t *previous;
    const char16_t *actual;
};

// Index 0 is the release just past.
constexpr std::array<Release, 12> releases{{
    {-15, u"USD", u"ADP Non-Farm Employment Change", u"High", u"148K", u"183K", u"77K"},
    {30, u"EUR", u"ECB President Lagarde Speaks", u"High", u"", u"", u""},
    {90, u"USD", u"Final Services PMI", u"Low", u"49.7", u"49.7", u""},
    {105, u"USD", u"ISM Services PMI", u"High", u"52.6", u"52.8", u""},
    {135, u"USD", u"Crude Oil Inventories", u"Low", u"0.6M", u"-2.3M", u""},
    {345, u"USD", u"Beige Book", u"Medium", u"", u"", u""},
    {675, u"AUD", u"Trade Balance", u"Medium", u"5.55B", u"5.09B", u""},
    {1065, u"EUR", u"German Factory Orders m/m", u"Medium", u"-2.5%", u"6.9%", u""},
    {1440, u"EUR", u"Main Refinancing Rate", u"High", u"2.65%", u"2.90%", u""},
    {1455, u"USD", u"Unemployment Claims", u"Medium", u"234K", u"242K", u""},
    {1470, u"EUR", u"ECB Press Conference", u"High", u"", u"", u""},
    {2400, u"CNY", u"Bank Holiday", u"Holiday", u"", u"", u""},
}};

QDateTime quarterHourOf(const QDateTime &now)
{
    const QDateTime utc = now.toUTC();
    return QDateTime(utc.date(), QTime(utc.time().hour(), utc.time().minute() / 15 * 15), QTimeZone::utc());
}

std::optional<CalendarEvent> eventOf(const Release &release, const QDateTime &base)
{
    // The calendar files write New York time with its offset.
    const QDateTime at = base.addSecs(release.minutes * 60LL).toOffsetFromUtc(-5 * 3600);
    const QJsonObject raw{
        {u"title"_s, QString::fromUtf16(release.title)},
        {u"country"_s, QString::fromUtf16(release.country)},
        {u"impact"_s, QString::fromUtf16(release.impact)},
        {u"date"_s, at.toString(Qt::ISODate)},
        {u"forecast"_s, QString::fromUtf16(release.forecast)},
        {u"previous"_s, QString::fromUtf16(release.previous)},
        {u"actual"_s, QString::fromUtf16(release.actual)},
    };
    return calendar::parseEvent(raw);
}

} // namespace

QList<CalendarEvent> demoCalendar(const QDateTime &now)
{
    const QDateTime base = quarterHourOf(now);
    QList<CalendarEvent> events;
    for (const Release &release : releases) {
        if (auto event = eventOf(release, base))
            events.append(*event);
    }
    return events;
}

QString demoCalendarReleasedId(const QDateTime &now)
{
    const auto event = eventOf(releases.front(), quarterHourOf(now));
    return event ? event->id : QString();
}

} // namespace kalvo
