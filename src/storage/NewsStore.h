#pragma once

#include "core/NewsItem.h"

#include <QList>
#include <QString>

struct sqlite3;

namespace kalvo {

class SqliteStatement;

// The SQLite file of stored headlines. Synchronous and single-threaded:
// DatabaseService owns one and calls it from its worker thread only.
// Failures are never thrown: after a failed open every write is a no-op and
// every read comes back empty.
class NewsStore
{
public:
    explicit NewsStore(QString path);
    ~NewsStore();

    NewsStore(const NewsStore &) = delete;
    NewsStore &operator=(const NewsStore &) = delete;

    void open();
    void insert(const NewsItem &item);
    // Stores the items whose hash is not stored yet, in one transaction, and
    // returns them in their order. When the file cannot be used, nothing is
    // stored and every item comes back, as if none had been known.
    QList<NewsItem> insertUnknown(const QList<NewsItem> &items);
    void updateAnalysis(const QString &id, const NewsAnalysis &analysis, double score);
    // Newest first. Rows with an unreadable date get `now`.
    QList<NewsItem> loadRecent(int limit, const QDateTime &now);
    bool containsHash(const QString &hash);

    bool isOpen() const { return m_db != nullptr; }

private:
    bool insert(SqliteStatement &statement, const NewsItem &item);

    QString m_path;
    sqlite3 *m_db = nullptr;
};

} // namespace kalvo
