#pragma once

#include "ai/AiRecords.h"
#include "core/MarketRecords.h"
#include "core/NewsItem.h"

#include <QColor>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

// How quotes, the pair sheet and an instrument analysis read on screen: the
// texts, colours and selections the price panel and the pair sheets derive
// from AppState's records. Pure functions, so the rules are tested here.
namespace kalvo::PricePresentation {

// The colour of a quote's change: muted without a quote; green above
// +0.001 %, red below -0.001 %, the secondary text colour in between. The
// dead band is the panel's own and independent of the quote's direction.
QColor changeColor(const std::optional<PriceData> &quote);
// "▲" up, "▼" down, "─" flat; empty without a quote.
QString arrow(const std::optional<PriceData> &quote);
// "+0.125%": sign always, three decimals.
QString changeText(double changePct);
// "up", "down" or "flat".
QString directionText(const std::optional<PriceData> &quote);

// How old a quote is: "gerade eben" under a minute, then "vor 3 min",
// "vor 2 h", "vor 1 d"; "—" without a timestamp.
QString quoteAge(const QDateTime &timestamp, const QDateTime &now);
// How old a related headline is: "jetzt" under a minute, then like quoteAge.
QString compactAge(const QDateTime &published, const QDateTime &now);

// The headlines of `news` (in its order) that concern `instrument`, at most
// eight. A headline concerns it when its title and analysis headline,
// lower-cased, contain the instrument's base or quote code (the first three
// letters of the name without "/", and the rest), or when its analysis
// names the instrument among its pairs.
QList<NewsItem> relatedNews(const QList<NewsItem> &news, const QString &instrument);
inline constexpr int maxRelatedNews = 8;

struct CurrencyInfo
{
    QString flag;
    QString name;
    QString region;
    QString description;
};
// The card of a currency or instrument code ("USD", "XAU", "DXY"), if it has one.
std::optional<CurrencyInfo> currencyInfo(const QString &code);
// The codes of `instrument` that have a card, base first: "XAU/USD" gives
// XAU and USD, "DXY" itself, "US10Y" nothing.
QStringList currencyCodes(const QString &instrument);

// Green for "bullish", red for "bearish", yellow for anything else.
QColor verdictColor(const QString &verdict);
// The analysis as the analysis sheet reads it: "verdict" (upper case),
// "verdictColor", "confidence" ("Confidence: 72%"), "summary", the setup
// texts, the three bullet lists, the three info texts and "scenarios" (a
// list of maps with "label", "prob" ("55%"), "trigger" and "color").
QVariantMap analysisValues(const InstrumentAnalysis &analysis);

} // namespace kalvo::PricePresentation
