#pragma once

#include "core/NewsItem.h"

#include <QDateTime>
#include <QList>

namespace kalvo {

// Plausible headlines for screenshots, benchmarks and demonstrations:
// `count` items published before `now`, newest first, the same every time.
// A mix of unscored, locally scored and analysed items with every urgency,
// every direction glyph and scores in every colour band; the second item
// (id "demo-1") carries a complete deep analysis.
QList<NewsItem> demoNews(const QDateTime &now, int count);

} // namespace kalvo
