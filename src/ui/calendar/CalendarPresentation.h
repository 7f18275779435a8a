#pragma once

#include "core/MarketRecords.h"

#include <QColor>
#include <QDate>
#include <QDateTime>
#include <QList>
#include <QLocale>
#include <QString>
#include <QStringList>

#include <optional>

// How an economic calendar event reads on screen: the texts and colours of
// the calendar rows and of the event sheet. Pure functions of the event and
// of "now", so the rules are tested here rather than through pixels.
namespace kalvo::CalendarPresentation {

using Impact = CalendarEvent::Impact;

// "●●●", "●●○", "●○○", else "○○○".
QString impactMarker(Impact impact);
// "HOCH  ●●●", "MITTEL  ●●○", "NIEDRIG  ●○○", else "—  ○○○".
QString impactBadge(Impact impact);
QColor impactColor(Impact impact);
// High-impact rows stand out on a dark red.
QColor rowBackground(Impact impact);

// "in 45m", "in 2h 05m" or "Vorbei"; nothing for all-day and undated events.
std::optional<QString> countdownLabel(const CalendarEvent &event, const QDateTime &now);
// Muted once past, yellow within the hour, else the secondary text colour.
QColor countdownColor(const CalendarEvent &event, const QDateTime &now);

// The sheet's line about when the event happens; nothing for an undated event.
struct DetailCountdown
{
    QString text;
    QColor textColor;
    bool upcoming = false; // a clock icon while ahead, a check mark once past
    QColor iconColor;
};
std::optional<DetailCountdown> detailCountdown(const CalendarEvent &event, const QDateTime &now);

// One key/value line of the sheet.
struct DataRow
{
    QString key;
    QString value;
    bool highlight = false;
    bool bold = false;
    QColor valueColor;
};
// The sheet's lines in their order; values that are empty get no line.
QList<DataRow> dataRows(const CalendarEvent &event);
// "05.03.2025  14:30 (CET)", or the raw time of an undated event.
QString localDateTimeText(const CalendarEvent &event);
// "05.03.2025  13:30 UTC", or "—".
QString utcDateTimeText(const CalendarEvent &event);
// The local zone's short name at `instant`, or "lokal" when it has none.
QString localZoneAbbreviation(const QDateTime &instant);

// What kind of release an event is and why it moves currencies.
struct EventCategory
{
    QString title;
    QStringList explanations;
};
// The first category with a keyword inside the lower-cased title, else the
// general one. Plain substrings on purpose: "boe" also finds "boeing".
EventCategory classifyEvent(const QString &title);

// Events by date, undated ones last, equal dates in delivery order.
QList<CalendarEvent> inDateOrder(QList<CalendarEvent> events);
// The local calendar day an event belongs to; undated events share a day
// far in the future, so they form the last group.
QDate localDay(const CalendarEvent &event);
// "Freitag 03.05." in the given locale (the user's by default).
QString dayTitle(const QDate &day, const QLocale &locale = QLocale());

} // namespace kalvo::CalendarPresentation
