#pragma once

#include "core/MarketRecords.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

// Turning the weekly calendar files into events. Pure functions: safe on any
// thread, local times in the machine's time zone.
namespace kalvo::calendar {

// Country or currency code as the files write it -> currency.
const QHash<QString, QString> &countryCurrency();

// The entries of a calendar file; nothing unless the body is a non-empty JSON
// array whose every element is an object.
std::optional<QList<QJsonObject>> fileEntries(const QByteArray &body);

// ISO 8601 forms of `date` first, then six fixed patterns, each tried on
// "date time" and then on the date alone, read in local time.
std::optional<QDateTime> parseEventDate(const QString &date, const QString &time);

// Local "HH:mm" of a parsed instant; for an unparsed one "Ganztägig" when the
// time text marks no clock time, else the time text itself.
QString timeDisplay(const std::optional<QDateTime> &instant, const QString &time);

// One raw entry as an event; nothing when it has no title. Values of the
// wrong JSON type count as absent.
std::optional<CalendarEvent> parseEvent(const QJsonObject &raw);

// Every parseable entry, sorted by date (stable), undated events last.
QList<CalendarEvent> parseEvents(const QList<QJsonObject> &raw);

// The events dated from `now` to `now` + 48 hours, both ends included, in order.
QList<CalendarEvent> upcomingEvents(const QList<CalendarEvent> &events, const QDateTime &now);

} // namespace kalvo::calendar
