#include "NewsService.h"

#include "FeedDigest.h"
#include "core/Clock.h"
#include "core/Trace.h"
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
    qCDebug(lcTrace).noquote() << "news cycle begins" << QDateTime::currentMSecsSinceEpoch() << "due" << due.size();

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

namespace {

// What became of one feed request, worked out off the GUI thread.
struct FeedAnswer
{
    bool unchanged = false; // 304 to a conditional request
    bool fresh = false;     // a 2xx answer: `digest` and `etag`, `lastModified` are its own
    FeedDigest digest{};
    QByteArray etag{};
    QByteArray lastModified{};
};

} // namespace

HttpGet NewsService::requestFor(const QUrl &url, const QString &feedName) const
{
    HttpGet get{url, m_requestTimeout, {{"User-Agent", userAgent.toByteArray()}}};
    // At least one of the two is there.
    if (const auto held = m_validators.constFind(feedName); held != m_validators.cend()) {
        if (!held->etag.isEmpty())
            get.headers.append({"If-None-Match", held->etag});
        if (!held->lastModified.isEmpty())
            get.headers.append({"If-Modified-Since", held->lastModified});
    }
    return get;
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
    const HttpGet get = requestFor(url, feed.name);
    const bool conditional = m_validators.contains(feed.name);
    QFuture<FeedAnswer> answering = m_http.get(get).then(
        QtFuture::Launch::Async, [rules, conditional, known = m_seenHashes.members()](const HttpResponse &response) {
            if (response.answered && response.status == 304 && conditional)
                return FeedAnswer{true};
            if (!response.answered || response.status < 200 || response.status > 299)
                return FeedAnswer{};
            return FeedAnswer{false, true, digestFeed(response.body, rules, known), response.header("ETag"),
                              response.header("Last-Modified")};
        });
    const FeedAnswer answer = co_await answering;
    if (!self)
        co_return false;
    // The document is the one whose entries were all looked at last time.
    if (answer.unchanged)
        co_return true;
    // Validators stay through failures: the document they name is still the
    // last one read. A document without entries has nothing worth naming.
    if (answer.fresh) {
        if (answer.digest.hasEntries && !(answer.etag.isEmpty() && answer.lastModified.isEmpty()))
            m_validators.insert(feed.name, {answer.etag, answer.lastModified});
        else
            m_validators.remove(feed.name);
    }
    if (!answer.digest.hasEntries)
        co_return false;

    // Known items go first, from memory; the rest is stored in one
    // transaction that leaves out what the database already had. Every item
    // is stored before it is delivered, and a feed's items arrive in
    // document order.
    QList<NewsItem> unseen;
    for (const NewsCandidate &candidate : answer.digest.candidates) {
        // Checked again: another feed may have brought the same item since the digest was made.
        if (!m_seenHashes.contains(candidate.hash))
            unseen.append(itemFrom(candidate, feed));
    }
    if (unseen.isEmpty())
        co_return true;
    QFuture<QList<NewsItem>> storing = m_db->insertUnknown(unseen);
    const QList<NewsItem> added = co_await storing;
    if (!self)
        co_return false;
    for (const NewsItem &item : unseen)
        m_seenHashes.insert(item.hash);
    for (const NewsItem &item : added) {
        if (m_onItem)
            m_onItem(item);
    }
    co_return true;
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
