#pragma once

#include "core/NewsItem.h"

#include <QColor>
#include <QDateTime>
#include <QString>
#include <QVariantList>

// How a headline reads on screen: the texts, glyphs and colours that the
// news list and the detail panel derive from a NewsItem. Pure functions, so
// the rules are tested here rather than through pixels.
namespace kalvo::NewsPresentation {

// The analysis score once the item has an analysis, else the feed's score.
double effectiveScore(const NewsItem &item);
// The analysis headline when there is a non-empty one, else the feed title.
QString displayTitle(const NewsItem &item);
// "⚡" immediate, "⏱" hours, "📅" days; empty without analysis or otherwise.
QString urgencyGlyph(const NewsItem &item);
QString urgencyGlyph(const QString &urgency);
// "▲" when more pairs are bullish than bearish, "▼" for the reverse, "↕" on
// a tie; empty without analysis or without pairs.
QString directionGlyph(const NewsItem &item);
QColor directionGlyphColor(const QString &glyph);
// "gerade eben", "vor 45s", "vor 3 min", "vor 2 h", "vor 1 d".
QString relativeAge(const QDateTime &published, const QDateTime &now);
// How long ago in the two largest units, like "2 Std., 5 Min.".
QString elapsedText(const QDateTime &published, const QDateTime &now);

// The score square of a row: the whole number of the score, or empty below
// 1 (not yet scored).
QString scoreSquareText(double score);
// "7/10"
QString scoreBadgeText(double score);

// "⚡ SOFORT", "⏱ STUNDEN", "📅 TAGE", else the urgency in upper case: the
// glyph of urgencyGlyph (if any), a blank and the word of urgencyWord.
QString urgencyLabel(const QString &urgency);
QString urgencyWord(const QString &urgency);
QColor urgencyColor(const QString &urgency);
// "central_bank" -> "CENTRAL BANK"
QString categoryLabel(const QString &category);

// "▲" bullish, "▼" bearish, "─" anything else.
QString pairArrow(const QString &direction);
QColor pairColor(const QString &direction);
// One entry per pair in ascending order of the pair name, each a map with
// "pair", "arrow", "direction" (upper case) and "color".
QVariantList pairCells(const QMap<QString, QString> &pairs);

// The link of the detail panel, or an empty text when it would not open.
QString openableUrl(const QString &url);

} // namespace kalvo::NewsPresentation
