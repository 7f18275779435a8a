#pragma once

#include "AiRecords.h"
#include "core/MarketRecords.h"
#include "core/NewsItem.h"

#include <QList>
#include <QString>

#include <optional>

// The prompt that asks for a trading verdict on one instrument, and the
// reader of its reply.
namespace kalvo::InstrumentPrompts {

constexpr int tokenLimit = 900;

// `news` and `events` are the whole current lists; the prompt takes the
// first 12 headlines and the first 8 events without filtering by instrument.
QString instrumentAnalysis(const QString &pair, const QList<NewsItem> &news, const QList<CalendarEvent> &events,
                           double price, double changePct);

// The price as C's "%.5g" writes it (1.085512 -> 1.0855), whatever the locale.
QString significantPrice(double price);
// The change as C's "%+.3f" writes it (1.2 -> +1.200), whatever the locale.
QString signedChange(double changePct);

// The analysis in a reply, or nothing when the reply holds no JSON object.
// Parses JSON: call off the GUI thread.
std::optional<InstrumentAnalysis> parseInstrumentAnalysis(const QString &reply);

} // namespace kalvo::InstrumentPrompts
