#pragma once

#include <QDateTime>
#include <QString>
#include <QTimeZone>

#include <optional>

namespace kalvo {

// Parses the whole of `text` with an ICU date pattern in the en_US_POSIX
// locale, reading wall-clock times in `zone` unless the text carries its own
// offset. Partial matches are rejected. Formatters are cached per thread,
// pattern and zone, so this is cheap to call in a loop.
std::optional<QDateTime> parseWithPattern(const QString &text, const QString &pattern,
                                          const QTimeZone &zone);

// The offset from UTC, in milliseconds, that `zone` gives as parseWithPattern
// reads it (ICU's zone data, which can differ from the system's), provided it
// holds from 30 hours before to 30 hours after `wallClockMs`, a wall-clock
// time counted as if it were UTC. Nothing when the offset changes in that
// window, where a wall-clock time can be skipped or repeated; the caller then
// leaves the text to the patterns.
std::optional<qint64> steadyOffsetAround(qint64 wallClockMs, const QTimeZone &zone);

// ISO 8601 internet date-time: 2024-05-03T14:20:00Z or with a numeric offset.
std::optional<QDateTime> parseInternetDateTime(const QString &text);
// The same with fractional seconds, which are then required.
std::optional<QDateTime> parseInternetDateTimeWithFraction(const QString &text);
// ISO 8601 full date, read as midnight UTC.
std::optional<QDateTime> parseFullDate(const QString &text);

// The three ISO 8601 forms above, tried in the order: with fraction,
// without fraction, date only.
std::optional<QDateTime> parseIsoForms(const QString &text);

} // namespace kalvo
