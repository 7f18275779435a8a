#include "ScannerService.h"

#include "ScannerRules.h"
#include "core/Clock.h"

namespace kalvo {

ScannerService::ScannerService(Clock &clock) : m_clock(clock) {}

ScannerResult ScannerService::scan(const QMap<QString, PriceData> &prices, const QList<NewsItem> &news,
                                   const QList<CalendarEvent> &events) const
{
    return scanner::scan(prices, news, events, m_clock.now());
}

} // namespace kalvo
