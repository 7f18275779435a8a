#include "NewsPresentation.h"

#include "ui/controls/Theme.h"

#include <QUrl>
#include <QVariantMap>

#include <unicode/measfmt.h>
#include <unicode/measunit.h>
#include <unicode/measure.h>

#include <array>
#include <vector>

using namespace Qt::StringLiterals;

namespace kalvo::NewsPresentation {

double effectiveScore(const NewsItem &item)
{
    return item.analysis ? item.analysis->score : item.score;
}

QString displayTitle(const NewsItem &item)
{
    if (item.analysis && !item.analysis->headline.isEmpty())
        return item.analysis->headline;
    return item.title;
}

QString urgencyGlyph(const NewsItem &item)
{
    return item.analysis ? urgencyGlyph(item.analysis->urgency) : QString();
}

QString urgencyGlyph(const QString &urgency)
{
    if (urgency == "immediate"_L1)
        return u"⚡"_s;
    if (urgency == "hours"_L1)
        return u"⏱"_s;
    if (urgency == "days"_L1)
        return u"📅"_s;
    return {};
}

QString directionGlyph(const NewsItem &item)
{
    if (!item.analysis || item.analysis->pairs.isEmpty())
        return {};
    int bullish = 0;
    int bearish = 0;
    for (const QString &direction : item.analysis->pairs) {
        bullish += direction == "bullish"_L1;
        bearish += direction == "bearish"_L1;
    }
    if (bearish < bullish)
        return u"▲"_s;
    if (bullish < bearish)
        return u"▼"_s;
    return u"↕"_s;
}

QColor directionGlyphColor(const QString &glyph)
{
    if (glyph == u"▲")
        return Theme::green();
    if (glyph == u"▼")
        return Theme::red();
    return Theme::yellow();
}

QString relativeAge(const QDateTime &published, const QDateTime &now)
{
    const qint64 seconds = published.msecsTo(now) / 1000; // truncated toward zero
    if (seconds < 30)
        return u"gerade eben"_s;
    if (seconds < 60)
        return u"vor %1s"_s.arg(seconds);
    if (seconds < 3600)
        return u"vor %1 min"_s.arg(seconds / 60);
    if (seconds < 86400)
        return u"vor %1 h"_s.arg(seconds / 3600);
    return u"vor %1 d"_s.arg(seconds / 86400);
}

QString elapsedText(const QDateTime &published, const QDateTime &now)
{
    const qint64 total = std::abs(published.msecsTo(now) / 1000);
    const std::array<qint64, 4> amounts{total / 86400, total / 3600 % 24, total / 60 % 60, total % 60};
    using Unit = icu::MeasureUnit *(*)(UErrorCode &);
    const std::array<Unit, 4> units{&icu::MeasureUnit::createDay, &icu::MeasureUnit::createHour,
                                    &icu::MeasureUnit::createMinute, &icu::MeasureUnit::createSecond};

    // The largest non-zero unit and, when it is not zero, the next one.
    std::size_t largest = 0;
    while (largest + 1 < amounts.size() && amounts[largest] == 0)
        ++largest;
    const std::size_t count = largest + 1 < amounts.size() && amounts[largest + 1] != 0 ? 2 : 1;

    UErrorCode status = U_ZERO_ERROR;
    std::vector<icu::Measure> measures;
    measures.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        measures.emplace_back(icu::Formattable(int64_t(amounts[largest + i])), units[largest + i](status), status);
    const icu::MeasureFormat format(icu::Locale::getGerman(), UMEASFMT_WIDTH_SHORT, status);
    icu::UnicodeString text;
    icu::FieldPosition position;
    format.formatMeasures(measures.data(), int32_t(measures.size()), text, position, status);
    if (U_FAILURE(status))
        return {};
    return QString(reinterpret_cast<const QChar *>(text.getBuffer()), text.length());
}

QString scoreSquareText(double score)
{
    return score >= 1 ? QString::number(qint64(score)) : QString();
}

QString scoreBadgeText(double score)
{
    return QString::number(qint64(score)) + u"/10"_s;
}

QString urgencyLabel(const QString &urgency)
{
    const QString glyph = urgencyGlyph(urgency);
    return glyph.isEmpty() ? urgencyWord(urgency) : glyph + u' ' + urgencyWord(urgency);
}

QString urgencyWord(const QString &urgency)
{
    if (urgency == "immediate"_L1)
        return u"SOFORT"_s;
    if (urgency == "hours"_L1)
        return u"STUNDEN"_s;
    if (urgency == "days"_L1)
        return u"TAGE"_s;
    return urgency.toUpper();
}

QColor urgencyColor(const QString &urgency)
{
    if (urgency == "immediate"_L1)
        return Theme::yellow();
    if (urgency == "hours"_L1)
        return Theme::blue();
    return Theme::textSecondary();
}

QString categoryLabel(const QString &category)
{
    return QString(category).replace(u'_', u' ').toUpper();
}

QString pairArrow(const QString &direction)
{
    if (direction == "bullish"_L1)
        return u"▲"_s;
    if (direction == "bearish"_L1)
        return u"▼"_s;
    return u"─"_s;
}

QColor pairColor(const QString &direction)
{
    if (direction == "bullish"_L1)
        return Theme::green();
    if (direction == "bearish"_L1)
        return Theme::red();
    return Theme::textSecondary();
}

QVariantList pairCells(const QMap<QString, QString> &pairs)
{
    QVariantList cells;
    for (auto it = pairs.cbegin(); it != pairs.cend(); ++it) {
        cells.append(QVariantMap{{u"pair"_s, it.key()},
                                 {u"arrow"_s, pairArrow(it.value())},
                                 {u"direction"_s, it.value().toUpper()},
                                 {u"color"_s, pairColor(it.value())}});
    }
    return cells;
}

QString openableUrl(const QString &url)
{
    if (url.isEmpty() || !QUrl(url, QUrl::StrictMode).isValid())
        return {};
    return url;
}

} // namespace kalvo::NewsPresentation
