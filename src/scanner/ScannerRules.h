#pragma once

#include "core/MarketRecords.h"
#include "core/NewsItem.h"

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <utility>

// The opportunity scanner's rules: currency strength from price moves and
// headlines, a score and direction per instrument, the sessions of the hour
// and the risk mood. Pure functions of their arguments; safe on any thread.
namespace kalvo::scanner {

// The eight currencies whose strength is measured, and the sixteen
// instruments ranked, in tie-break order.
const QStringList &scannerCurrencies();
const QStringList &scannerPairs();

// "EUR/USD" -> ("EUR", "USD"); gold keeps "XAU"; fewer than six letters
// without slashes give two empty codes.
std::pair<QString, QString> splitPair(const QString &instrument);

// +1 when more bullish than bearish keywords occur in the headline's title
// and content, -1 for the reverse, 0 otherwise.
int keywordSentiment(const NewsItem &item);

// Currencies a lower-cased text names, in scannerCurrencies() order.
QStringList mentionedCurrencies(const QString &lowerText);

// The session keys open at the UTC hour of `now`, or ["off"].
QStringList activeSessions(const QDateTime &now);

// "risk-on", "risk-off" or "neutral".
QString computeRiskSentiment(const QList<NewsItem> &news);

// Everything the scanner panel shows, as of `now`.
ScannerResult scan(const QMap<QString, PriceData> &prices, const QList<NewsItem> &news,
                   const QList<CalendarEvent> &events, const QDateTime &now);

} // namespace kalvo::scanner
