#pragma once

#include <QDateTime>
#include <QStringView>

#include <optional>

class QTimeZone;

namespace kalvo {

// The few date shapes nearly every feed writes, read by hand:
//   Fri, 03 May 2024 14:20:00 +0000   (also "Fri,  3 May", "Fri, 3 May", no
//                                      weekday, no seconds, two-digit year,
//                                      GMT UT UTC EST ... PDT, military letters)
//   2024-05-03T14:20:00.123+02:00     (fraction and seconds optional, Z, +0200)
//   2024-05-03 14:20:00, 2024-05-03   (wall-clock time in `localZone`)
// For every text it reads, the instant is the one RSSParser::parseDate's ICU
// patterns give, as a UTC QDateTime like theirs; every other text, valid date
// or not, yields nothing and is left to the patterns. `text` is trimmed.
std::optional<QDateTime> readCommonFeedDate(QStringView text, const QTimeZone &localZone);

} // namespace kalvo
