#pragma once

#include "core/MarketRecords.h"

#include <QDateTime>
#include <QList>

namespace kalvo {

// A plausible economic calendar for screenshots and demonstrations, dated
// around `now`, as the calendar service would deliver it: one release a few
// minutes past (with its actual value), one within the hour, the rest of
// today and the next day, every impact level, in date order.
QList<CalendarEvent> demoCalendar(const QDateTime &now);

// The id of the release just past in demoCalendar(); it carries forecast,
// previous and actual values, so its sheet shows every line.
QString demoCalendarReleasedId(const QDateTime &now);

} // namespace kalvo
