#include "DatabaseService.h"

#include "core/Clock.h"


namespace kalvo {

DatabaseService::DatabaseService(QString path, Clock &clock)
    : m_clock(clock), m_store(std::make_unique<NewsStore>(std::move(path)))
{
}

DatabaseService::~DatabaseService() = default;

QFuture<void> DatabaseService::open()
{
    return m_worker.run([store = m_store.get()] { store->open(); });
}

QFuture<void> DatabaseService::insert(NewsItem item)
{
    return m_worker.run([store = m_store.get(), item = std::move(item)] { store->insert(item); });
}

QFuture<QList<NewsItem>> DatabaseService::insertUnknown(QList<NewsItem> items)
{
    return m_worker.run([store = m_store.get(), items = std::move(items)] { return store->insertUnknown(items); });
}

QFuture<void> DatabaseService::updateAnalysis(QString id, NewsAnalysis analysis, double score)
{
    return m_worker.run([store = m_store.get(), id = std::move(id), analysis = std::move(analysis), score] {
        store->updateAnalysis(id, analysis, score);
    });
}

QFuture<QList<NewsItem>> DatabaseService::loadRecent(int limit)
{
    return m_worker.run(
        [store = m_store.get(), limit, now = m_clock.now()] { return store->loadRecent(limit, now); });
}

QFuture<bool> DatabaseService::containsHash(QString hash)
{
    return m_worker.run([store = m_store.get(), hash = std::move(hash)] { return store->containsHash(hash); });
}

} // namespace kalvo
