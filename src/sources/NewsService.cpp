#include "NewsService.h"

#include "FeedDigest.h"
#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include <QCoroFuture>
#include <QPointer>
#include <QUuid>

#include <vector>

namespace kalvo {

NewsService::NewsService(Config config, std::shared_ptr<DatabaseService> db, Endpoints endpoints, Clock &clock,
                         QObject *parent)
    : QObject(parent), m_config(std::move(config)), m_db(std::move(db)), m_endpoints(std::move(endpoints)), m_clock(clock)
{
    Q_ASSERT(m_db);
}

// Pending requests are dropped with m_http; everything awaiting them resumes
// through the event loop after the service is gone and finds it gone.
NewsService::~NewsService()
{
    m_stop.request_stop();
}

QCoro::Task<> NewsService::run(ItemCallback onItem, CycleCallback onCycle)
{
    // Kept as members rather than passed into the coroutine: the loop must not
    // own copies of class-type arguments (see ARCHITECTURE.md).
    m_onItem = std::move(onItem);
    m_onCycle = std::move(onCycle);
    return loop();
}

QCoro::Task<> NewsService::loop()
{
    QPointer<NewsService> self(this);
    const std::stop_token stop = m_stop.get_token();
    co_await rememberStoredItems();
    if (!self)
        co_return;
    for (;;) {
        co_await fetchCycle();
        if (!self)
            co_return;
        // Only the destructor interrupts this pause; the check above ends the loop then.
        co_await m_clock.sleep(pauseBetweenCycles, stop);
        if (!self)
            co_return;
    }
}

QCoro::Task<> NewsService::rememberStoredItems()
{
    QPointer<NewsService> self(this);
    QFuture<QList<NewsItem>> loading = m_db->loadRecent(storedItemsAtStart);
    const QList<NewsItem> stored = co_await loading;
    if (!self)
        co_return;
    for (const NewsItem &item : stored)
        m_seenHashes.insert(item.hash);
}

bool NewsService::isDue(const NewsFeed &feed, const QDateTime &now) const
{
    const auto last = m_lastFetch.constFind(feed.name);
    if (last == m_lastFetch.cend())
        return true;
    const qint64 interval = refreshIntervalSeconds(feed.priority).value_or(m_config.newsRefreshSeconds);
    return last->msecsTo(now) >= interval * 1000;
}

QCoro::Task<> NewsService::fetchCycle()
{
    QPointer<NewsService> self(this);
    const QDateTime now = m_clock.now();
    const QList<NewsFeed> &feeds = newsFeeds();
    QList<int> due;
    for (int i = 0; i < feeds.size(); ++i) {
        if (isDue(feeds[i], now))
            due.append(i);
    }
    if (due.isEmpty())
        co_return;

    // Tasks start at once, so all requests are under way before the first wait.
    std::vector<QCoro::Task<bool>> fetches;
    fetches.reserve(due.size());
    for (const int i : due)
        fetches.push_back(fetchFeed(i));
    int delivered = 0;
    int failed = 0;
    for (QCoro::Task<bool> &fetch : fetches) {
        const bool ok = co_await fetch;
        if (!self)
            co_return;
        ++(ok ? delivered : failed);
    }

    for (const int i : due)
        m_lastFetch.insert(feeds[i].name, now);
    if (m_onCycle)
        m_onCycle(now, delivered > 0 || failed == 0);
}

QCoro::Task<bool> NewsService::fetchFeed(int feedIndex)
{
    QPointer<NewsService> self(this);
    const NewsFeed &feed = newsFeeds().at(feedIndex);
    const QUrl url(m_endpoints.url(feed.endpointKey));
    if (url.isEmpty() || !url.isValid())
        co_return false;

    // The answer is read on the network thread and digested on Qt's pool; the
    // GUI thread wakes once per feed, for what is left to store. The age
    // limit is taken from when the request went out, which differs from the
    // answer's time by at most the request's own time limit.
    const DigestRules rules{m_clock.now(), m_config.newsMaxAgeHours, feed.priority};
    QFuture<FeedDigest> digesting =
        m_http.get({url, m_requestTimeout, {{"User-Agent", userAgent.toByteArray()}}})
            .then(QtFuture::Launch::Async, [rules, known = m_seenHashes.members()](const HttpResponse &response) {
                if (!response.answered || response.status < 200 || response.status > 299)
                    return FeedDigest{};
                return digestFeed(response.body, rules, known);
            });
    const FeedDigest digest = co_await digesting;
    if (!self)
        co_return false;
    if (!digest.hasEntries)
        co_return false;

    // One entry at a time: each item is stored and delivered before the next
    // is looked at, so a feed's items arrive in document order.
    for (const NewsCandidate &candidate : digest.candidates) {
        co_await processCandidate(candidate, feedIndex);
        if (!self)
            co_return false;
    }
    co_return true;
}

QCoro::Task<> NewsService::processCandidate(const NewsCandidate &candidate, int feedIndex)
{
    QPointer<NewsService> self(this);
    // Checked again: an earlier entry of this or another feed may have brought
    // the same item since the digest was made.
    if (m_seenHashes.contains(candidate.hash))
        co_return;
    QFuture<bool> lookup = m_db->containsHash(candidate.hash);
    const bool stored = co_await lookup;
    if (!self)
        co_return;
    m_seenHashes.insert(candidate.hash);
    if (stored)
        co_return;

    const NewsItem item = itemFrom(candidate, newsFeeds().at(feedIndex));
    QFuture<void> storing = m_db->insert(item);
    co_await storing;
    if (!self)
        co_return;
    if (m_onItem)
        m_onItem(item);
}

NewsItem NewsService::itemFrom(const NewsCandidate &candidate, const NewsFeed &feed) const
{
    NewsItem item;
    item.id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    item.title = candidate.title;
    item.source = feed.name;
    item.url = candidate.link;
    // Undated entries are placed two hours back so that they never outrank
    // fresh, dated news.
    item.published = candidate.published.value_or(m_clock.now().addSecs(-undatedAgeSeconds));
    item.content = candidate.content;
    item.hash = candidate.hash;
    item.score = candidate.score;
    item.priority = feed.priority;
    return item;
}

} // namespace kalvo
