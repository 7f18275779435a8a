#include "CalendarParsing.h"

#include "core/DatePatterns.h"
#include "core/NewsItem.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTimeZone>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo::calendar {

namespace {

QString textOf(const QJsonObject &raw, QLatin1StringView key)
{
    const QJsonValue value = raw.value(key);
    return value.isString() ? value.toString() : QString();
}

CalendarEvent::Impact impactOf(const QJsonObject &raw)
{
    const QJsonValue value = raw.value("impact"_L1);
    if (!value.isString())
        return CalendarEvent::Impact::Low;
    const QString text = value.toString();
    if (text == "High"_L1)
        return CalendarEvent::Impact::High;
    if (text == "Medium"_L1)
        return CalendarEvent::Impact::Medium;
    if (text == "Holiday"_L1)
        return CalendarEvent::Impact::Holiday;
    // "Low", "Non-Economic" and whatever the file may invent.
    return CalendarEvent::Impact::Low;
}

QString eventId(const QString &title, const QString &country, const QString &time)
{
    const QByteArray digest = QCryptographicHash::hash((title + country + time).toUtf8(), QCryptographicHash::Md5);
    return QString::fromLatin1(digest.toHex().left(16));
}

} // namespace

const QHash<QString, QString> &countryCurrency()
{
    static const QHash<QString, QString> table{
        {u"USD"_s, u"USD"_s}, {u"EUR"_s, u"EUR"_s}, {u"GBP"_s, u"GBP"_s}, {u"JPY"_s, u"JPY"_s},
        {u"CHF"_s, u"CHF"_s}, {u"CAD"_s, u"CAD"_s}, {u"AUD"_s, u"AUD"_s}, {u"NZD"_s, u"NZD"_s},
        {u"CNY"_s, u"CNY"_s}, {u"US"_s, u"USD"_s},  {u"EU"_s, u"EUR"_s},  {u"GB"_s, u"GBP"_s},
        {u"UK"_s, u"GBP"_s},  {u"JP"_s, u"JPY"_s},  {u"CH"_s, u"CHF"_s},  {u"CA"_s, u"CAD"_s},
        {u"AU"_s, u"AUD"_s},  {u"NZ"_s, u"NZD"_s},  {u"CN"_s, u"CNY"_s},  {u"DE"_s, u"EUR"_s},
        {u"FR"_s, u"EUR"_s},  {u"IT"_s, u"EUR"_s},  {u"ES"_s, u"EUR"_s},
    };
    return table;
}

std::optional<QList<QJsonObject>> fileEntries(const QByteArray &body)
{
    const QJsonDocument document = QJsonDocument::fromJson(body);
    if (!document.isArray() || document.array().isEmpty())
        return std::nullopt;
    QList<QJsonObject> entries;
    const QJsonArray array = document.array();
    entries.reserve(array.size());
    for (const QJsonValue &value : array) {
        if (!value.isObject())
            return std::nullopt;
        entries.append(value.toObject());
    }
    return entries;
}

std::optional<QDateTime> parseEventDate(const QString &date, const QString &time)
{
    const QString d = date.trimmed();
    const QString tm = time.trimmed();
    if (auto instant = parseIsoForms(d))
        return instant;

    // Older files split the date ("05-03-2024") from a clock time ("8:30am").
    static const QStringList patterns{u"MM-dd-yyyy hh:mma"_s, u"MM-dd-yyyy hh:mm a"_s, u"MM-dd-yyyy HH:mm"_s,
                                      u"yyyy-MM-dd HH:mm"_s,  u"MM-dd-yyyy"_s,         u"yyyy-MM-dd"_s};
    const QString combined = (d + u' ' + tm).trimmed();
    const QTimeZone local = QTimeZone::systemTimeZone();
    for (const QString &pattern : patterns) {
        if (auto instant = parseWithPattern(combined, pattern, local))
            return instant;
        if (auto instant = parseWithPattern(d, pattern, local))
            return instant;
    }
    return std::nullopt;
}

QString timeDisplay(const std::optional<QDateTime> &instant, const QString &time)
{
    const QString text = time.trimmed();
    if (instant)
        return instant->toLocalTime().toString(u"HH:mm"_s);
    static const QStringList noClockTime{u""_s, u"all day"_s, u"tentative"_s, u"day"_s, u"na"_s, u"n/a"_s};
    if (noClockTime.contains(text.toLower()))
        return u"Ganztägig"_s;
    return text;
}

std::optional<CalendarEvent> parseEvent(const QJsonObject &raw)
{
    const QString title = textOf(raw, "title"_L1);
    if (title.isEmpty())
        return std::nullopt;
    const QString country = textOf(raw, "country"_L1).toUpper();
    const QString date = textOf(raw, "date"_L1);
    const QString timeText = textOf(raw, "time"_L1);
    const std::optional<QDateTime> instant = parseEventDate(date, timeText);
    const QString time = instant ? formatIsoUtc(*instant) : date;

    CalendarEvent event;
    event.id = eventId(title, country, time);
    event.time = time;
    event.timeDisplay = timeDisplay(instant, timeText);
    event.currency = countryCurrency().value(country, country.left(3));
    event.country = country;
    event.event = title;
    event.impact = impactOf(raw);
    event.forecast = textOf(raw, "forecast"_L1);
    event.previous = textOf(raw, "previous"_L1);
    event.actual = textOf(raw, "actual"_L1);
    return event;
}

QList<CalendarEvent> parseEvents(const QList<QJsonObject> &raw)
{
    struct Dated
    {
        CalendarEvent event;
        std::optional<QDateTime> date;
    };
    QList<Dated> dated;
    dated.reserve(raw.size());
    for (const QJsonObject &entry : raw) {
        if (std::optional<CalendarEvent> event = parseEvent(entry)) {
            const std::optional<QDateTime> date = event->parsedDate();
            dated.append({std::move(*event), date});
        }
    }
    std::stable_sort(dated.begin(), dated.end(), [](const Dated &a, const Dated &b) {
        if (!a.date || !b.date)
            return a.date.has_value() && !b.date.has_value();
        return *a.date < *b.date;
    });
    QList<CalendarEvent> events;
    events.reserve(dated.size());
    for (Dated &entry : dated)
        events.append(std::move(entry.event));
    return events;
}

QList<CalendarEvent> upcomingEvents(const QList<CalendarEvent> &events, const QDateTime &now)
{
    const QDateTime horizon = now.addSecs(48 * 3600);
    QList<CalendarEvent> upcoming;
    for (const CalendarEvent &event : events) {
        const std::optional<QDateTime> date = event.parsedDate();
        if (date && *date >= now && *date <= horizon)
            upcoming.append(event);
    }
    return upcoming;
}

} // namespace kalvo::calendar
