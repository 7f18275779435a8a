#pragma once

#include "ai/AiRecords.h"
#include "core/MarketRecords.h"

#include <QDateTime>
#include <QMap>

namespace kalvo {

// Quotes for screenshots of the default instruments, stamped `at`: EUR/USD
// rising, GBP/USD falling, USD/JPY up by less than the panel's dead band;
// DXY and XAU/USD have no quote yet.
QMap<QString, PriceData> demoQuotes(const QDateTime &at);

// A complete instrument analysis of EUR/USD: every field filled.
InstrumentAnalysis demoInstrumentAnalysis();

} // namespace kalvo
