#pragma once

#include "AiRecords.h"
#include "core/MarketRecords.h"
#include "core/MarketStatus.h"
#include "core/NewsItem.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// The market-wide prompts (overview, spoken briefing while the market is
// open and on the weekend), the readers of their replies and the fixed
// briefings that stand in when there is nothing to ask or the model fails on
// a weekend.
namespace kalvo::BriefingPrompts {

constexpr int overviewTokenLimit = 500;
constexpr int briefingTokenLimit = 700;

// Titles for a briefing reply that names none.
QString openMarketTitle();
QString weekendTitle();

// Built from the first ten headlines as passed in (the header speaks of the
// last two hours; no time filter is applied) and the configured instruments.
QString marketOverview(const QList<NewsItem> &news, const QStringList &pairs);
// The first 14 headlines with scores and the first 10 events, under the
// current session.
QString openMarketBriefing(const MarketStatus &status, const QList<NewsItem> &news,
                           const QList<CalendarEvent> &events);
// The first 8 headlines without scores and the first 8 events, as a weekly
// review and outlook.
QString weekendBriefing(const QList<NewsItem> &news, const QList<CalendarEvent> &events);

// Readers: nothing when the reply holds no JSON object; otherwise members of
// the wrong type keep their defaults. They parse JSON: call off the GUI thread.
std::optional<MarketOverview> parseMarketOverview(const QString &reply);
std::optional<LiveBriefing> parseLiveBriefing(const QString &reply, const QString &defaultTitle);

// While the market is open and no headline has arrived.
LiveBriefing noNewsBriefing();
// On a weekend when the model gives no usable answer; `statusDetail` is the
// market clock's sentence ("Märkte öffnen Sonntag ~22:00 UTC").
LiveBriefing weekendFallbackBriefing(const QString &statusDetail);

} // namespace kalvo::BriefingPrompts
