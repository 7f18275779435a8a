#include "FeedDates.h"

#include "core/DatePatterns.h"

#include <QTimeZone>

#include <array>
#include <string_view>

namespace kalvo {

namespace {

constexpr qint64 msPerSecond = 1000;
constexpr qint64 msPerMinute = 60 * msPerSecond;
constexpr qint64 msPerHour = 60 * msPerMinute;
constexpr qint64 msPerDay = 24 * msPerHour;

// ICU reads dates before its Gregorian cut-over (1582) in the Julian
// calendar; five-digit years it reads too, but no feed writes them.
constexpr int firstYear = 1600;
constexpr int lastYear = 9999;

bool isLeapYear(int year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month)
{
    static constexpr std::array<int, 12> days{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

// Days from 1970-01-01 to a proleptic Gregorian date (H. Hinnant's algorithm).
qint64 daysSinceEpoch(int year, int month, int day)
{
    const int y = month <= 2 ? year - 1 : year;
    const int era = y / 400; // years here are positive
    const int yearOfEra = y - era * 400;
    const int dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return qint64(era) * 146097 + dayOfEra - 719468;
}

struct Fields
{
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;
};

// Milliseconds since the epoch of the fields read as UTC; nothing when one
// is out of range. The strict patterns reject the 31st of February, hour 24
// and second 60 as well, so declining them changes no result.
std::optional<qint64> wallClockMs(const Fields &f)
{
    if (f.year < firstYear || f.year > lastYear || f.month < 1 || f.month > 12 || f.day < 1
        || f.day > daysInMonth(f.year, f.month) || f.hour > 23 || f.minute > 59 || f.second > 59)
        return std::nullopt;
    return daysSinceEpoch(f.year, f.month, f.day) * msPerDay + f.hour * msPerHour + f.minute * msPerMinute
        + f.second * msPerSecond + f.millisecond;
}

std::optional<QDateTime> utcDate(qint64 ms)
{
    // As the patterns return it: a UTC QDateTime, not one with an offset.
    return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
}

char16_t lowerAscii(QChar c)
{
    const char16_t u = c.unicode();
    return u >= u'A' && u <= u'Z' ? char16_t(u + (u'a' - u'A')) : u;
}

// Reads a text from left to right. take(), number() and name() move on only
// when they match; after any other failed read the caller gives up.
class Reader
{
public:
    explicit Reader(QStringView text) : m_text(text) {}

    bool atEnd() const { return m_at == m_text.size(); }
    QStringView rest() const { return m_text.sliced(m_at); }

    bool take(char16_t c)
    {
        if (m_at < m_text.size() && m_text[m_at] == c) {
            ++m_at;
            return true;
        }
        return false;
    }

    // Exactly `count` ASCII digits; what follows is the caller's to check.
    bool number(qsizetype count, int *value)
    {
        if (m_text.size() - m_at < count)
            return false;
        int result = 0;
        for (qsizetype i = 0; i < count; ++i) {
            const char16_t c = m_text[m_at + i].unicode();
            if (c < u'0' || c > u'9')
                return false;
            result = result * 10 + (c - u'0');
        }
        m_at += count;
        *value = result;
        return true;
    }

    // One of three-letter `names`, in any letter case as ICU matches them:
    // its index + 1, else 0.
    template<std::size_t N>
    int name(const std::array<std::u16string_view, N> &names)
    {
        if (m_text.size() - m_at < 3)
            return 0;
        const char16_t word[3] = {lowerAscii(m_text[m_at]), lowerAscii(m_text[m_at + 1]), lowerAscii(m_text[m_at + 2])};
        for (std::size_t i = 0; i < N; ++i) {
            if (std::u16string_view(word, 3) == names[i]) {
                m_at += 3;
                return int(i) + 1;
            }
        }
        return 0;
    }

    // Fractional seconds, one to nine digits, as milliseconds. ICU keeps the
    // first three digits and drops the rest (".1239" is 123 ms), but reads the
    // digits as one 32-bit number first, so ten and more come out wrong: those
    // stay with the patterns, which alone can reproduce that.
    bool fraction(int *milliseconds)
    {
        int digits = 0;
        int result = 0;
        while (m_at < m_text.size() && m_text[m_at] >= u'0' && m_text[m_at] <= u'9') {
            if (++digits > 9)
                return false;
            if (digits <= 3)
                result = result * 10 + (m_text[m_at].unicode() - u'0');
            ++m_at;
        }
        if (digits == 0)
            return false;
        for (int i = digits; i < 3; ++i)
            result *= 10;
        *milliseconds = result;
        return true;
    }

    // "+hhmm" or, with `colon`, "+hh:mm" (either sign), as milliseconds east
    // of UTC. ICU takes hours up to 23 and minutes up to 59.
    bool offset(bool colon, qint64 *ms)
    {
        const bool negative = take(u'-');
        if (!negative && !take(u'+'))
            return false;
        int hours = 0;
        int minutes = 0;
        if (!number(2, &hours) || (colon && !take(u':')) || !number(2, &minutes) || hours > 23 || minutes > 59)
            return false;
        *ms = (negative ? -1 : 1) * (hours * msPerHour + minutes * msPerMinute);
        return true;
    }

private:
    QStringView m_text;
    qsizetype m_at = 0;
};

constexpr std::array<std::u16string_view, 7> weekdays{u"mon", u"tue", u"wed", u"thu", u"fri", u"sat", u"sun"};
constexpr std::array<std::u16string_view, 12> months{u"jan", u"feb", u"mar", u"apr", u"may", u"jun",
                                                     u"jul", u"aug", u"sep", u"oct", u"nov", u"dec"};

// The zone of an RFC 822 date in `year`, the whole rest of the text: a
// numeric offset, a military letter, which the patterns read as UTC, or one
// of the names below. ICU reads EST as New York's standard offset on that
// date and EDT as that plus its daylight saving, whether or not the date
// falls in summer: -0500 and -0400 since 1883. Chicago kept Eastern time for
// most of 1936, and before 1883 each city had its local mean time, so before
// 1937 the names are left to the patterns, as are names ICU does not read
// as a fixed offset (CET, BST, "GMT+1").
std::optional<qint64> rfc822Zone(QStringView zone, int year)
{
    if (zone.size() == 5) {
        Reader in(zone);
        qint64 offset = 0;
        if (in.offset(false, &offset))
            return offset;
        return std::nullopt;
    }
    if (zone.size() == 1)
        return zone[0] >= u'A' && zone[0] <= u'Z' && zone[0] != u'J' ? std::optional<qint64>(0) : std::nullopt;

    struct Name
    {
        std::u16string_view name;
        int hours;
        bool american;
    };
    static constexpr std::array<Name, 11> names{{{u"gmt", 0, false},
                                                 {u"ut", 0, false},
                                                 {u"utc", 0, false},
                                                 {u"est", -5, true},
                                                 {u"edt", -4, true},
                                                 {u"cst", -6, true},
                                                 {u"cdt", -5, true},
                                                 {u"mst", -7, true},
                                                 {u"mdt", -6, true},
                                                 {u"pst", -8, true},
                                                 {u"pdt", -7, true}}};
    constexpr int firstYearOfFixedAmericanZones = 1937;
    if (zone.size() > 3)
        return std::nullopt;
    char16_t lower[3] = {};
    for (qsizetype i = 0; i < zone.size(); ++i)
        lower[i] = lowerAscii(zone[i]);
    const std::u16string_view word(lower, std::size_t(zone.size()));
    for (const Name &n : names) {
        if (n.name == word)
            return n.american && year < firstYearOfFixedAmericanZones ? std::nullopt
                                                                       : std::optional<qint64>(n.hours * msPerHour);
    }
    return std::nullopt;
}

// "Fri, 03 May 2024 14:20:00 +0000" and its variants: a one-digit day after
// one or two blanks, no weekday (then with a two-digit day and seconds, as
// the patterns have it), no seconds, a two-digit year with RFC 2822's century
// (00-49 are 20xx). ICU ignores whether the weekday fits the date; so do we.
std::optional<QDateTime> readRfc822(QStringView text)
{
    Reader in(text);
    Fields f;
    const bool weekday = lowerAscii(text[0]) >= u'a' && lowerAscii(text[0]) <= u'z';
    if (weekday && !(in.name(weekdays) && in.take(u',') && in.take(u' ')))
        return std::nullopt;
    // The patterns' "dd" wants two digits; a one-digit day, after one blank
    // or two, only the "EEE,  d" ones read, which all have seconds.
    const bool twoDigitDay = in.number(2, &f.day);
    if (!twoDigitDay) {
        if (!weekday)
            return std::nullopt;
        in.take(u' ');
        if (!in.number(1, &f.day))
            return std::nullopt;
    }
    if (!in.take(u' ') || !(f.month = in.name(months)) || !in.take(u' '))
        return std::nullopt;
    if (!in.number(4, &f.year)) {
        if (!in.number(2, &f.year))
            return std::nullopt;
        f.year += f.year < 50 ? 2000 : 1900;
    }
    if (!in.take(u' ') || !in.number(2, &f.hour) || !in.take(u':') || !in.number(2, &f.minute))
        return std::nullopt;
    if (in.take(u':')) {
        if (!in.number(2, &f.second))
            return std::nullopt;
    } else if (!weekday || !twoDigitDay) {
        return std::nullopt;
    }
    if (!in.take(u' '))
        return std::nullopt;
    const std::optional<qint64> zone = rfc822Zone(in.rest(), f.year);
    const std::optional<qint64> wall = wallClockMs(f);
    if (!zone || !wall)
        return std::nullopt;
    return utcDate(*wall - *zone);
}

// "2024-05-03T14:20:00.123+02:00", with or without fraction or seconds, the
// zone as Z, +hh:mm or +hhmm; "2024-05-03 14:20:00" and "2024-05-03" in the
// local zone.
std::optional<QDateTime> readIso(QStringView text, const QTimeZone &localZone)
{
    Reader in(text);
    Fields f;
    if (!in.number(4, &f.year) || !in.take(u'-') || !in.number(2, &f.month) || !in.take(u'-')
        || !in.number(2, &f.day))
        return std::nullopt;

    if (in.atEnd() || in.take(u' ')) {
        const bool dateOnly = in.atEnd();
        if (!dateOnly
            && !(in.number(2, &f.hour) && in.take(u':') && in.number(2, &f.minute) && in.take(u':')
                 && in.number(2, &f.second) && in.atEnd()))
            return std::nullopt;
        const std::optional<qint64> wall = wallClockMs(f);
        if (!wall)
            return std::nullopt;
        // Near a change of offset a wall-clock time can be skipped or
        // repeated; the patterns know how ICU settles those.
        const std::optional<qint64> offset = steadyOffsetAround(*wall, localZone);
        if (!offset)
            return std::nullopt;
        return utcDate(*wall - *offset);
    }

    if (!in.take(u'T') || !in.number(2, &f.hour) || !in.take(u':') || !in.number(2, &f.minute))
        return std::nullopt;
    if (in.take(u':')) {
        if (!in.number(2, &f.second) || (in.take(u'.') && !in.fraction(&f.millisecond)))
            return std::nullopt;
    }
    qint64 zone = 0;
    if (!in.take(u'Z')) {
        const QStringView rest = in.rest();
        if (!in.offset(rest.size() == 6, &zone))
            return std::nullopt;
    }
    const std::optional<qint64> wall = wallClockMs(f);
    if (!in.atEnd() || !wall)
        return std::nullopt;
    return utcDate(*wall - zone);
}

} // namespace

std::optional<QDateTime> readCommonFeedDate(QStringView text, const QTimeZone &localZone)
{
    if (text.size() < 10)
        return std::nullopt;
    if (text[4] == u'-')
        return readIso(text, localZone);
    return readRfc822(text);
}

} // namespace kalvo
