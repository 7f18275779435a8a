#include "DatePatterns.h"

#include <unicode/basictz.h>
#include <unicode/locid.h>
#include <unicode/parsepos.h>
#include <unicode/simpletz.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/tztrans.h>

#include <map>
#include <memory>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

icu::UnicodeString toUnicode(const QString &text)
{
    return icu::UnicodeString(reinterpret_cast<const UChar *>(text.utf16()), int32_t(text.size()));
}

std::unique_ptr<icu::TimeZone> icuZone(const QTimeZone &zone)
{
    std::unique_ptr<icu::TimeZone> result(
        icu::TimeZone::createTimeZone(toUnicode(QString::fromLatin1(zone.id()))));
    if (*result == icu::TimeZone::getUnknown()) {
        // A zone Qt knows by a name ICU does not (a POSIX TZ string, say):
        // keep its present offset rather than silently reading times as GMT.
        const int offsetMs = zone.offsetFromUtc(QDateTime::currentDateTimeUtc()) * 1000;
        result = std::make_unique<icu::SimpleTimeZone>(offsetMs, toUnicode(QString::fromLatin1(zone.id())));
    }
    return result;
}

// One ICU zone per thread and Qt zone, which every formatter of that thread
// copies: a zone ICU does not know keeps the offset it had when first seen,
// so all readers of the thread must share that moment.
const icu::TimeZone &cachedIcuZone(const QTimeZone &zone)
{
    thread_local std::map<QByteArray, std::unique_ptr<icu::TimeZone>> cache;
    std::unique_ptr<icu::TimeZone> &entry = cache[zone.id()];
    if (!entry)
        entry = icuZone(zone);
    return *entry;
}

icu::SimpleDateFormat *formatterFor(const QString &pattern, const QTimeZone &zone)
{
    using Key = std::pair<QString, QByteArray>;
    thread_local std::map<Key, std::unique_ptr<icu::SimpleDateFormat>> cache;

    Key key{pattern, zone.id()};
    auto it = cache.find(key);
    if (it != cache.end())
        return it->second.get();

    UErrorCode status = U_ZERO_ERROR;
    auto formatter = std::make_unique<icu::SimpleDateFormat>(toUnicode(pattern),
                                                             icu::Locale("en_US_POSIX"), status);
    if (U_FAILURE(status))
        formatter.reset();
    else {
        formatter->setLenient(false);
        formatter->adoptTimeZone(cachedIcuZone(zone).clone());
    }
    return cache.emplace(std::move(key), std::move(formatter)).first->second.get();
}

const QTimeZone &utc()
{
    static const QTimeZone zone = QTimeZone::utc();
    return zone;
}

} // namespace

std::optional<QDateTime> parseWithPattern(const QString &text, const QString &pattern,
                                          const QTimeZone &zone)
{
    icu::SimpleDateFormat *formatter = formatterFor(pattern, zone);
    if (!formatter || text.isEmpty())
        return std::nullopt;
    const icu::UnicodeString input = toUnicode(text);
    icu::ParsePosition position(0);
    const UDate millis = formatter->parse(input, position);
    if (position.getErrorIndex() != -1 || position.getIndex() != input.length())
        return std::nullopt;
    return QDateTime::fromMSecsSinceEpoch(qint64(millis), Qt::UTC);
}

std::optional<qint64> steadyOffsetAround(qint64 wallClockMs, const QTimeZone &zone)
{
    const auto *basic = dynamic_cast<const icu::BasicTimeZone *>(&cachedIcuZone(zone));
    if (!basic)
        return std::nullopt;
    // Offsets stay within a day of UTC, so the instant of the wall-clock time
    // lies well inside this window whatever the offset.
    constexpr qint64 margin = 30 * 3600 * 1000LL;
    const UDate from = UDate(wallClockMs - margin);
    UErrorCode status = U_ZERO_ERROR;
    int32_t raw = 0;
    int32_t dst = 0;
    basic->getOffset(from, false, raw, dst, status);
    if (U_FAILURE(status))
        return std::nullopt;
    icu::TimeZoneTransition transition;
    if (basic->getNextTransition(from, false, transition) && transition.getTime() <= UDate(wallClockMs + margin))
        return std::nullopt;
    return qint64(raw) + dst;
}

std::optional<QDateTime> parseInternetDateTime(const QString &text)
{
    return parseWithPattern(text, u"yyyy-MM-dd'T'HH:mm:ssXXXXX"_s, utc());
}

std::optional<QDateTime> parseInternetDateTimeWithFraction(const QString &text)
{
    return parseWithPattern(text, u"yyyy-MM-dd'T'HH:mm:ss.SSSXXXXX"_s, utc());
}

std::optional<QDateTime> parseFullDate(const QString &text)
{
    return parseWithPattern(text, u"yyyy-MM-dd"_s, utc());
}

std::optional<QDateTime> parseIsoForms(const QString &text)
{
    if (auto date = parseInternetDateTimeWithFraction(text))
        return date;
    if (auto date = parseInternetDateTime(text))
        return date;
    return parseFullDate(text);
}

} // namespace kalvo
