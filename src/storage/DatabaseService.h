#pragma once

#include "NewsStore.h"
#include "core/SerialWorker.h"

#include <QFuture>

#include <memory>

namespace kalvo {

class Clock;

// The news store as an actor: every operation runs on the service's own
// worker thread, one at a time and in call order. Callers on the GUI thread
// co_await the returned futures (QCoroFuture). Nothing throws; see NewsStore
// for failures.
class DatabaseService
{
public:
    DatabaseService(QString path, Clock &clock);
    ~DatabaseService();

    QFuture<void> open();
    QFuture<void> insert(NewsItem item);
    // The items that were not stored yet, now stored; see NewsStore::insertUnknown.
    QFuture<QList<NewsItem>> insertUnknown(QList<NewsItem> items);
    QFuture<void> updateAnalysis(QString id, NewsAnalysis analysis, double score);
    QFuture<QList<NewsItem>> loadRecent(int limit);
    QFuture<bool> containsHash(QString hash);

private:
    Clock &m_clock;
    std::unique_ptr<NewsStore> m_store;
    SerialWorker m_worker; // last: drains queued jobs before m_store goes
};

} // namespace kalvo
