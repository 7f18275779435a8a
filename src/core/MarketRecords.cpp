#include "MarketRecords.h"

#include "DatePatterns.h"
#include "JsonFields.h"

using namespace Qt::StringLiterals;

namespace kalvo {

QString PriceData::directionText(Direction direction)
{
    switch (direction) {
    case Direction::Up: return u"up"_s;
    case Direction::Down: return u"down"_s;
    case Direction::Flat: break;
    }
    return u"flat"_s;
}

QString Opportunity::directionText(Direction direction)
{
    switch (direction) {
    case Direction::Long: return u"long"_s;
    case Direction::Short: return u"short"_s;
    case Direction::Neutral: break;
    }
    return u"neutral"_s;
}

QString CalendarEvent::impactText(Impact impact)
{
    switch (impact) {
    case Impact::High: return u"High"_s;
    case Impact::Medium: return u"Medium"_s;
    case Impact::Low: return u"Low"_s;
    case Impact::Holiday: return u"Holiday"_s;
    case Impact::Unknown: break;
    }
    return u"unknown"_s;
}

std::optional<CalendarEvent::Impact> CalendarEvent::impactFromText(const QString &text)
{
    for (Impact impact : {Impact::High, Impact::Medium, Impact::Low, Impact::Holiday, Impact::Unknown}) {
        if (impactText(impact) == text)
            return impact;
    }
    return std::nullopt;
}

std::optional<QDateTime> CalendarEvent::parsedDate() const
{
    const QString trimmed = time.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    if (auto date = parseIsoForms(trimmed))
        return date;
    const QTimeZone local = QTimeZone::systemTimeZone();
    for (const QString &pattern : {u"yyyy-MM-dd'T'HH:mm:ssXXXXX"_s, u"yyyy-MM-dd'T'HH:mm:ssZ"_s,
                                   u"yyyy-MM-dd HH:mm:ss"_s, u"yyyy-MM-dd"_s}) {
        if (auto date = parseWithPattern(trimmed, pattern, local))
            return date;
    }
    return std::nullopt;
}

bool CalendarEvent::isAllDay() const
{
    const QString lower = time.toLower();
    return lower.contains("all day"_L1) || lower.contains("ganzt"_L1);
}

QJsonObject CalendarEvent::toJson() const
{
    return {{"id"_L1, id},           {"time"_L1, time},         {"currency"_L1, currency},
            {"country"_L1, country}, {"event"_L1, event},       {"impact"_L1, impactText(impact)},
            {"forecast"_L1, forecast}, {"previous"_L1, previous}, {"actual"_L1, actual},
            {"time_display"_L1, timeDisplay}};
}

std::optional<CalendarEvent> CalendarEvent::fromJson(const QJsonObject &object)
{
    auto id = json::text(object, "id"_L1);
    auto time = json::text(object, "time"_L1);
    auto currency = json::text(object, "currency"_L1);
    auto country = json::text(object, "country"_L1);
    auto event = json::text(object, "event"_L1);
    auto impactRaw = json::text(object, "impact"_L1);
    auto forecast = json::text(object, "forecast"_L1);
    auto previous = json::text(object, "previous"_L1);
    auto actual = json::text(object, "actual"_L1);
    auto timeDisplay = json::text(object, "time_display"_L1);
    if (!id || !time || !currency || !country || !event || !impactRaw || !forecast || !previous
        || !actual || !timeDisplay)
        return std::nullopt;
    auto impact = impactFromText(*impactRaw);
    if (!impact)
        return std::nullopt;
    return CalendarEvent{*id, *time, *timeDisplay, *currency, *country, *event,
                         *impact, *forecast, *previous, *actual};
}

} // namespace kalvo
