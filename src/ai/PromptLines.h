#pragma once

#include "core/MarketRecords.h"
#include "core/NewsItem.h"

#include <QList>
#include <QString>

// The one-line forms in which headlines and calendar events are listed in
// the market-wide prompts. Lines are joined with single line breaks and no
// trailing break; an empty list gives the empty text, for which each prompt
// has its own placeholder.
namespace kalvo::PromptLines {

// The scored headline "- [7/10] Fed pausiert (FXStreet)": the score cut to a
// whole number, the model's headline when the item has been analysed (even
// an empty one), else the feed title.
QString scoredNews(const NewsItem &item);
// The same without the score: "- Fed pausiert (FXStreet)".
QString plainNews(const NewsItem &item);
// "- 14:30 USD High Non-Farm Payrolls".
QString event(const CalendarEvent &event);

// The first `limit` items (or all, when fewer), one line each.
QString scoredNews(const QList<NewsItem> &news, qsizetype limit);
QString plainNews(const QList<NewsItem> &news, qsizetype limit);
QString events(const QList<CalendarEvent> &events, qsizetype limit);

} // namespace kalvo::PromptLines
