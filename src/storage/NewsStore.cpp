#include "NewsStore.h"

#include "SqliteStatement.h"
#include "core/DatePatterns.h"

#include <QDebug>
#include <QJsonDocument>

#include <limits>

namespace kalvo {

namespace {

constexpr const char *schema[] = {
    "CREATE TABLE IF NOT EXISTS news (\n    id TEXT PRIMARY KEY,\n    title TEXT,\n    source TEXT,\n"
    "    url TEXT,\n    published TEXT,\n    content TEXT,\n    hash TEXT UNIQUE,\n"
    "    score REAL DEFAULT 0,\n    priority INTEGER DEFAULT 2,\n    analysis_json TEXT\n);",
    "CREATE INDEX IF NOT EXISTS idx_news_published ON news(published DESC);",
    "CREATE INDEX IF NOT EXISTS idx_news_hash ON news(hash);",
    "CREATE TABLE IF NOT EXISTS calendar (\n    id TEXT PRIMARY KEY,\n    data_json TEXT\n);",
};

std::optional<NewsAnalysis> decodeAnalysis(const QString &text)
{
    if (text.isEmpty())
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return NewsAnalysis::fromJson(document.object());
}

} // namespace

NewsStore::NewsStore(QString path) : m_path(std::move(path)) {}

NewsStore::~NewsStore()
{
    sqlite3_close(m_db);
}

void NewsStore::open()
{
    sqlite3 *db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
    if (sqlite3_open_v2(m_path.toUtf8().constData(), &db, flags, nullptr) != SQLITE_OK) {
        qWarning().noquote() << "[Database] ✗ kann" << m_path << "nicht öffnen:" << sqlite3_errmsg(db);
        sqlite3_close(db);
        return;
    }
    m_db = db;
    // A second instance of the app may hold a write lock for a moment.
    sqlite3_busy_timeout(m_db, 2000);
    // Every insert is its own transaction; with a write-ahead log a commit
    // no longer waits for the disk, which a first cycle of several hundred
    // headlines would otherwise feel. A crash still loses nothing committed;
    // a power cut may lose the last headlines, which the feeds deliver again.
    sqlite3_exec(m_db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;", nullptr, nullptr, nullptr);
    for (const char *statement : schema) {
        if (sqlite3_exec(m_db, statement, nullptr, nullptr, nullptr) != SQLITE_OK)
            qWarning().noquote() << "[Database] ✗" << m_path << "-" << sqlite3_errmsg(m_db);
    }
}

namespace {

constexpr const char *insertSql = "INSERT OR IGNORE INTO news (id,title,source,url,published,content,hash,"
                                  "score,priority) VALUES (?,?,?,?,?,?,?,?,?)";
constexpr const char *knownHashSql = "SELECT 1 FROM news WHERE hash=? LIMIT 1";

} // namespace

void NewsStore::insert(const NewsItem &item)
{
    SqliteStatement statement(m_db, insertSql);
    if (statement.isPrepared())
        insert(statement, item);
}

// True when the row was added; false when it was already there or could not be written.
bool NewsStore::insert(SqliteStatement &statement, const NewsItem &item)
{
    if (item.priority < std::numeric_limits<int>::min() || item.priority > std::numeric_limits<int>::max()) {
        qWarning().noquote() << "[Database] ✗ Priorität außerhalb des Bereichs:" << item.priority;
        return false;
    }
    statement.reset();
    statement.bind(1, item.id);
    statement.bind(2, item.title);
    statement.bind(3, item.source);
    statement.bind(4, item.url);
    statement.bind(5, formatIsoUtc(item.published));
    statement.bind(6, item.content);
    statement.bind(7, item.hash);
    statement.bind(8, item.score);
    statement.bind(9, int(item.priority));
    statement.step();
    return sqlite3_changes(m_db) > 0;
}

QList<NewsItem> NewsStore::insertUnknown(const QList<NewsItem> &items)
{
    SqliteStatement known(m_db, knownHashSql);
    SqliteStatement statement(m_db, insertSql);
    if (!known.isPrepared() || !statement.isPrepared())
        return items;
    // One commit for a feed's worth of headlines instead of one each.
    const bool inTransaction = sqlite3_exec(m_db, "BEGIN", nullptr, nullptr, nullptr) == SQLITE_OK;
    QList<NewsItem> added;
    for (const NewsItem &item : items) {
        known.reset();
        known.bind(1, item.hash);
        if (known.step())
            continue;
        insert(statement, item);
        added.append(item);
    }
    if (inTransaction && sqlite3_exec(m_db, "COMMIT", nullptr, nullptr, nullptr) != SQLITE_OK) {
        qWarning().noquote() << "[Database] ✗" << m_path << "-" << sqlite3_errmsg(m_db);
        sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
    }
    return added;
}

void NewsStore::updateAnalysis(const QString &id, const NewsAnalysis &analysis, double score)
{
    const QByteArray json = QJsonDocument(analysis.toJson()).toJson(QJsonDocument::Compact);
    SqliteStatement update(m_db, "UPDATE news SET analysis_json=?,score=? WHERE id=?");
    if (!update.isPrepared())
        return;
    update.bind(1, QString::fromUtf8(json));
    update.bind(2, score);
    update.bind(3, id);
    update.step();
}

QList<NewsItem> NewsStore::loadRecent(int limit, const QDateTime &now)
{
    SqliteStatement select(m_db, "SELECT id,title,source,url,published,content,hash,score,priority,"
                                 "analysis_json FROM news ORDER BY published DESC LIMIT ?");
    QList<NewsItem> items;
    if (!select.isPrepared())
        return items;
    select.bind(1, limit);
    while (select.step()) {
        NewsItem item;
        item.id = select.text(0);
        item.title = select.text(1);
        item.source = select.text(2);
        item.url = select.text(3);
        item.published = parseInternetDateTime(select.text(4)).value_or(now);
        item.content = select.text(5);
        item.hash = select.text(6);
        item.score = select.real(7);
        item.priority = select.integer(8);
        item.analysis = decodeAnalysis(select.text(9));
        items.append(std::move(item));
    }
    return items;
}

bool NewsStore::containsHash(const QString &hash)
{
    SqliteStatement select(m_db, knownHashSql);
    if (!select.isPrepared())
        return false;
    select.bind(1, hash);
    return select.step();
}

} // namespace kalvo
