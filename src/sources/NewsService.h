#pragma once

#include "MarketHttp.h"
#include "NewsFeedTable.h"
#include "SeenHashes.h"
#include "core/Config.h"
#include "core/Endpoints.h"
#include "core/NewsItem.h"

#include <QByteArray>
#include <QCoroTask>
#include <QDateTime>
#include <QHash>
#include <QObject>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace kalvo {

class Clock;
class DatabaseService;
struct NewsCandidate;

// Polls the 22 news feeds, turns every entry it has not seen before into a
// NewsItem with a local score, stores it and hands it to the caller. Each feed
// is fetched at most every ten seconds; all feeds due in a cycle are fetched
// at once, and a two-second pause separates cycles. Known items are recognised
// by the MD5 of title and link, in memory and in the database. Lives on the
// GUI thread and calls back there; the requests run on its network thread
// (MarketHttp), parsing, hashing and scoring on Qt's thread pool. Logs
// nothing; failed feeds only show in the cycle's health.
//
// Most cycles bring nothing new, so requests are conditional: a feed's next
// request carries the ETag and Last-Modified of its last answer with entries,
// and a publisher that answers 304 is taken to serve that same document
// again, which has nothing unseen (kept in memory only: after a restart the
// first request of each feed asks for the whole document).
class NewsService : public QObject
{
    Q_OBJECT
public:
    using ItemCallback = std::function<void(const NewsItem &)>;
    using CycleCallback = std::function<void(const QDateTime &startedAt, bool healthy)>;

    static constexpr std::chrono::milliseconds defaultRequestTimeout{8000};
    static constexpr std::chrono::seconds pauseBetweenCycles{2};
    // Hashes of the newest stored items are known before the first cycle.
    static constexpr int storedItemsAtStart = 500;
    static constexpr qint64 undatedAgeSeconds = 7200;
    static constexpr QByteArrayView userAgent = "Mozilla/5.0 (compatible; KalvoTrading/2.0)";

    // `db` must not be null; it is shared with the application state.
    NewsService(Config config, std::shared_ptr<DatabaseService> db, Endpoints endpoints, Clock &clock,
                QObject *parent = nullptr);
    // Ends run(): wakes its pause, drops the requests under way, and nothing
    // of the service is touched afterwards.
    ~NewsService() override;

    // Polls until the service is destroyed. `onItem` is called for every new
    // item after it was stored, `onCycle` after every cycle that had a due
    // feed, with the cycle's start and whether at least one feed delivered
    // (or none failed). Both are called on the GUI thread. Call once.
    QCoro::Task<> run(ItemCallback onItem, CycleCallback onCycle = {});

    // Time-out of one feed request without progress (three of them end any
    // request); tests shorten it.
    void setRequestTimeout(std::chrono::milliseconds timeout) { m_requestTimeout = timeout; }

private:
    QCoro::Task<> loop();
    QCoro::Task<> rememberStoredItems();
    QCoro::Task<> fetchCycle();
    QCoro::Task<bool> fetchFeed(int feedIndex);
    HttpGet requestFor(const QUrl &url, const QString &feedName) const;

    bool isDue(const NewsFeed &feed, const QDateTime &now) const;
    NewsItem itemFrom(const NewsCandidate &candidate, const NewsFeed &feed) const;

    Config m_config;
    std::shared_ptr<DatabaseService> m_db;
    Endpoints m_endpoints;
    Clock &m_clock;
    std::chrono::milliseconds m_requestTimeout = defaultRequestTimeout;
    SeenHashes m_seenHashes;
    QHash<QString, QDateTime> m_lastFetch; // feed name -> start of the last cycle that fetched it
    struct Validators
    {
        QByteArray etag;
        QByteArray lastModified;
    };
    QHash<QString, Validators> m_validators; // feed name -> of its last answer with entries
    ItemCallback m_onItem;
    CycleCallback m_onCycle;
    std::stop_source m_stop;
    MarketHttp m_http;
};

} // namespace kalvo
