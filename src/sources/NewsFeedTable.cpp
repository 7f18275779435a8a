#include "NewsFeedTable.h"

#include "core/Endpoints.h"

#include <QMap>

using namespace Qt::StringLiterals;

namespace kalvo {

const QList<NewsFeed> &newsFeeds()
{
    static const QList<NewsFeed> feeds = [] {
        const QList<std::pair<QString, int>> namesAndPriorities{
            {u"InvestingLive"_s, 1},
            {u"InvestingLive CB"_s, 1},
            {u"FXStreet"_s, 1},
            {u"DailyFX"_s, 1},
            {u"ActionForex"_s, 1},
            {u"Investing.com"_s, 1},
            {u"Google Forex"_s, 1},
            {u"Google Fed"_s, 1},
            {u"Google ECB"_s, 1},
            {u"CNBC Finance"_s, 2},
            {u"NYT Economy"_s, 2},
            {u"BBC Business"_s, 2},
            {u"Guardian Business"_s, 2},
            {u"MarketWatch"_s, 2},
            {u"WSJ Markets"_s, 2},
            {u"Fed Monetary"_s, 2},
            {u"Fed Speeches"_s, 2},
            {u"BOJ Updates"_s, 2},
            {u"Seeking Alpha"_s, 3},
            {u"ZeroHedge"_s, 3},
            {u"Nasdaq News"_s, 3},
            {u"Google EURUSD"_s, 3},
        };
        // Endpoints lists the feed keys in this same order.
        QList<NewsFeed> table;
        for (int i = 0; i < namesAndPriorities.size(); ++i)
            table.append({namesAndPriorities[i].first, namesAndPriorities[i].second, Endpoints::feedKey(i)});
        return table;
    }();
    return feeds;
}

std::optional<int> refreshIntervalSeconds(int priority)
{
    // Three equal values, kept per priority so that one class of feeds can be
    // slowed down without touching the others.
    static const QMap<int, int> intervals{{1, 10}, {2, 10}, {3, 10}};
    const auto it = intervals.constFind(priority);
    if (it == intervals.cend())
        return std::nullopt;
    return *it;
}

} // namespace kalvo
