#include "MarketStatus.h"

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

constexpr int marketOpensAt = 22 * 60; // minute of the day, UTC

QString hoursMinutes(const char *format, int minutes)
{
    return QString::asprintf(format, minutes / 60, minutes % 60);
}

} // namespace

MarketStatus::Session MarketStatus::session(int hour)
{
    if (hour >= 22 && hour <= 23)
        return {u"ASIA SESSION"_s, u"Sydney / Tokyo aktiv"_s};
    if (hour >= 0 && hour <= 6)
        return {u"ASIA SESSION"_s, u"Sydney / Tokyo aktiv"_s};
    if (hour >= 7 && hour <= 8)
        return {u"ASIA/EU OVERLAP"_s, u"Tokyo / Frankfurt überlappend"_s};
    if (hour >= 9 && hour <= 11)
        return {u"EU SESSION"_s, u"Frankfurt / London aktiv"_s};
    if (hour >= 12 && hour <= 16)
        return {u"EU/US OVERLAP"_s, u"London / New York — höchstes Volumen"_s};
    if (hour >= 17 && hour <= 21)
        return {u"US SESSION"_s, u"New York aktiv"_s};
    return {u"LOW LIQUIDITY"_s, u"Zwischen den Sessions"_s};
}

MarketStatus MarketStatus::status(const QDateTime &instant)
{
    const QDateTime utc = instant.toUTC();
    const int hour = utc.time().hour();
    const int minute = hour * 60 + utc.time().minute();
    const int untilOpen = marketOpensAt - minute;

    switch (utc.date().dayOfWeek()) {
    case Qt::Sunday:
        if (minute >= marketOpensAt)
            return {true, u"ASIA OPEN"_s, u"Sydney-Session läuft"_s, StatusColor::Open};
        return {false, u"WOCHENENDE"_s, hoursMinutes("Öffnet in %dh %02dm (So 22:00 UTC)", untilOpen),
                StatusColor::Weekend};
    case Qt::Saturday:
        return {false, u"WOCHENENDE"_s, u"Märkte öffnen Sonntag ~22:00 UTC"_s, StatusColor::Weekend};
    case Qt::Friday:
        if (minute > marketOpensAt - 1)
            return {false, u"GESCHLOSSEN"_s, u"Wochenende — öffnet So 22:00 UTC"_s, StatusColor::Weekend};
        return {true, session(hour).code, hoursMinutes("Schließt in %dh %02dm", untilOpen), StatusColor::Open};
    default: {
        const Session current = session(hour);
        return {true, current.code, current.label, StatusColor::Open};
    }
    }
}

} // namespace kalvo
