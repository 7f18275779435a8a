#pragma once

#include "core/MarketRecords.h"
#include "core/NewsItem.h"

#include <QList>
#include <QMap>

namespace kalvo {

class Clock;

// Ranks the sixteen scanner instruments as trade opportunities from the
// current prices, headlines and calendar, with the strength of the eight
// majors, the open sessions and the risk mood. Stateless: each scan starts
// from its inputs alone. A scan of 200 headlines takes well under a
// millisecond (bench_scanner), so it runs on the GUI thread; scanner::scan()
// with an explicit instant is the same computation for any other thread.
class ScannerService
{
public:
    explicit ScannerService(Clock &clock);

    ScannerResult scan(const QMap<QString, PriceData> &prices, const QList<NewsItem> &news,
                       const QList<CalendarEvent> &events) const;

private:
    Clock &m_clock;
};

} // namespace kalvo
