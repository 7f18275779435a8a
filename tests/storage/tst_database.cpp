#include "../TestSupport.h"

#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include <QCoroFuture>
#include <QFile>
#include <QTemporaryDir>

#include <sqlite3.h>

using namespace kalvo;

namespace {

const QDateTime now = test::utc(2024, 5, 3, 18);

// Runs the event loop until a service call is done.
template<typename T>
T awaited(QFuture<T> future) { return QCoro::waitFor(qCoro(future).waitForFinished()); }

// The first column of the first row, read past the service; "" after an error.
QString rawQuery(const QString &path, const QByteArray &sql)
{
    sqlite3 *db = nullptr;
    sqlite3_stmt *statement = nullptr;
    QString result;
    sqlite3_open(path.toUtf8().constData(), &db);
    if (sqlite3_prepare_v2(db, sql.constData(), -1, &statement, nullptr) == SQLITE_OK && sqlite3_step(statement) == SQLITE_ROW)
        result = QString::fromUtf8(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return result;
}

NewsAnalysis someAnalysis()
{
    return {false, 6.5, u"now"_s, u"H"_s, u"A"_s, {{u"EUR/USD"_s, u"bullish"_s}}, u"cb"_s, {u"rates"_s}, {}, {}, {}, {},
            TradeStrategy{u"long"_s, u"1.08"_s, u"1.07"_s, u"1.10"_s}};
}

} // namespace

class TestDatabase : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    ManualClock m_clock{now};
    const QString m_path = m_dir.filePath(u"kalvo_trading.db"_s);

    // A service on the file that has stored `items`.
    std::unique_ptr<DatabaseService> serviceWith(const QList<NewsItem> &items)
    {
        auto db = std::make_unique<DatabaseService>(m_path, m_clock);
        awaited(db->open());
        for (const NewsItem &item : items)
            awaited(db->insert(item));
        return db;
    }

private slots:
    void cleanup() { QVERIFY(!QFile::exists(m_path) || QFile::remove(m_path)); }

    void duplicatesAreIgnored_data()
    {
        QTest::addColumn<bool>("sameHash"); // else the same id
        QTest::newRow("same hash") << true;
        QTest::newRow("same id") << false;
    }
    void duplicatesAreIgnored()
    {
        QFETCH(bool, sameHash);
        const NewsItem first = test::newsItem(1, now.addSecs(-60));
        NewsItem second = test::newsItem(2, now);
        if (sameHash)
            second.hash = first.hash;
        else
            second.id = first.id;
        const auto db = serviceWith({first, second});
        const QList<NewsItem> items = awaited(db->loadRecent(60));
        QCOMPARE(items.size(), 1);
        QCOMPARE((QStringList{items[0].title, items[0].hash}), (QStringList{first.title, first.hash}));
        QVERIFY(awaited(db->containsHash(first.hash)));
        QCOMPARE(awaited(db->containsHash(u"hash-2"_s)), false);
    }

    // A feed's batch: known hashes and repeats within the batch are left out,
    // the rest is stored and returned in its order.
    void insertUnknownReturnsWhatWasNew()
    {
        const auto db = serviceWith({test::newsItem(1, now), test::newsItem(2, now)});
        NewsItem repeat = test::newsItem(4, now);
        repeat.hash = u"hash-3"_s;
        const QList<NewsItem> batch{test::newsItem(5, now), test::newsItem(2, now), test::newsItem(3, now), repeat};
        QCOMPARE(test::ids(awaited(db->insertUnknown(batch))), (QStringList{u"id-5"_s, u"id-3"_s}));
        QCOMPARE(awaited(db->loadRecent(60)).size(), 4);
        QVERIFY(awaited(db->insertUnknown(batch)).isEmpty());
    }

    void loadRecentKeepsNewest_data()
    {
        QTest::addColumn<int>("stored");
        QTest::newRow("empty") << 0;
        QTest::newRow("few") << 5;
        QTest::newRow("more than the limit") << 70;
    }
    void loadRecentKeepsNewest()
    {
        QFETCH(int, stored);
        QList<NewsItem> items; // shuffled, so that only the dates explain the result
        for (int i = 0; i < stored; ++i)
            items << test::newsItem(i * 37 % stored, now.addSecs(-60 * (stored - i * 37 % stored)));
        QStringList expected;
        for (int n = stored - 1; n >= std::max(0, stored - 60); --n)
            expected << u"id-%1"_s.arg(n);
        QCOMPARE(test::ids(awaited(serviceWith(items)->loadRecent(60))), expected);
    }

    // Every field comes back from the file, the date in UTC; an analysis
    // replaces the score, one for an unknown id changes nothing.
    void fieldsSurviveReopening()
    {
        const NewsItem item = test::newsItem(7, QDateTime(QDate(2024, 5, 3), QTime(16, 20, 0, 987), QTimeZone(7200)));
        {
            const auto db = serviceWith({item, test::newsItem(1, now.addSecs(-10))});
            awaited(db->updateAnalysis(u"id-1"_s, someAnalysis(), 8.5));
            awaited(db->updateAnalysis(u"id-3"_s, someAnalysis(), 9.5));
        }
        const QList<NewsItem> items = awaited(serviceWith({})->loadRecent(60)); // the file as it was left
        QCOMPARE(test::ids(items), (QStringList{u"id-1"_s, u"id-7"_s}));
        QCOMPARE(items[0].analysis, someAnalysis());
        QCOMPARE(items[0].score, 8.5);
        const NewsItem &loaded = items[1];
        QCOMPARE(loaded.published, test::utc(2024, 5, 3, 14, 20));
        QCOMPARE(loaded.published.offsetFromUtc(), 0);
        QCOMPARE((QStringList{loaded.id, loaded.title, loaded.source, loaded.url, loaded.content, loaded.hash}),
                 (QStringList{item.id, item.title, item.source, item.url, item.content, item.hash}));
        QCOMPARE((QList<double>{loaded.score, double(loaded.priority)}), (QList<double>{item.score, double(item.priority)}));
        QVERIFY(!loaded.analysis);
        QCOMPARE(rawQuery(m_path, "SELECT published FROM news WHERE id='id-7'"), u"2024-05-03T14:20:00Z"_s);
        QCOMPARE(rawQuery(m_path, "SELECT sql FROM sqlite_master WHERE name='news'"),
                 u"CREATE TABLE news (\n    id TEXT PRIMARY KEY,\n    title TEXT,\n    source TEXT,\n    url TEXT,\n"
                 "    published TEXT,\n    content TEXT,\n    hash TEXT UNIQUE,\n    score REAL DEFAULT 0,\n"
                 "    priority INTEGER DEFAULT 2,\n    analysis_json TEXT\n)"_s);
    }

    void damagedRowsStillLoad_data()
    {
        QTest::addColumn<QByteArray>("damage");
        QTest::addColumn<bool>("dateLost"); // else the analysis
        QTest::newRow("analysis broken") << "analysis_json='{broken'"_ba << false;
        QTest::newRow("analysis array") << "analysis_json='[1]'"_ba << false;
        QTest::newRow("published not a date") << "published='not a date'"_ba << true;
    }
    void damagedRowsStillLoad()
    {
        QFETCH(QByteArray, damage);
        QFETCH(bool, dateLost);
        {
            const auto db = serviceWith({test::newsItem(1, now.addSecs(-3600)), test::newsItem(2, now.addSecs(-7200)),
                                         test::newsItem(3, now.addSecs(-10800))});
            for (const char *id : {"id-1", "id-2", "id-3"})
                awaited(db->updateAnalysis(QString::fromLatin1(id), someAnalysis(), 5));
        }
        QCOMPARE(rawQuery(m_path, "UPDATE news SET " + damage + " WHERE id='id-2' RETURNING id"), u"id-2"_s);
        m_clock.setNow(now.addDays(1));
        const QList<NewsItem> items = awaited(serviceWith({})->loadRecent(60));
        m_clock.setNow(now);
        QCOMPARE(items.size(), 3);
        for (const NewsItem &item : items) {
            const int n = item.id.mid(3).toInt();
            const bool damaged = n == 2;
            QCOMPARE(item.analysis.has_value(), !damaged || dateLost);
            QCOMPARE(item.published, damaged && dateLost ? now.addDays(1) : now.addSecs(-3600 * n));
            QCOMPARE(item.title, test::newsItem(n, now).title);
        }
    }

    void unusableFileIsLeftAlone_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QByteArray>("existing"); // written there first unless empty
        QByteArray garbage(4096, '\0');
        for (int i = 0; i < garbage.size(); ++i)
            garbage[i] = char(i * 7919 % 251);
        QTest::newRow("folder missing") << u"missing/kalvo_trading.db"_s << QByteArray();
        QTest::newRow("corrupt file") << u"kalvo_trading.db"_s << garbage;
    }
    void unusableFileIsLeftAlone()
    {
        QFETCH(QString, file);
        QFETCH(QByteArray, existing);
        QFile data(m_dir.filePath(file));
        if (!existing.isEmpty()) {
            QVERIFY(data.open(QIODevice::WriteOnly) && data.write(existing) == existing.size());
            data.close();
        }
        {
            DatabaseService db(data.fileName(), m_clock);
            awaited(db.open());
            awaited(db.insert(test::newsItem(1, now)));
            // Nothing can be known, so everything counts as new.
            QCOMPARE(awaited(db.insertUnknown({test::newsItem(2, now)})).size(), 1);
            awaited(db.updateAnalysis(u"id-1"_s, someAnalysis(), 9));
            QVERIFY(awaited(db.loadRecent(60)).isEmpty());
            QVERIFY(!awaited(db.containsHash(u"hash-1"_s)));
        }
        if (existing.isEmpty())
            QVERIFY(!data.exists());
        else
            QVERIFY(data.open(QIODevice::ReadOnly) && data.readAll() == existing);
    }
};

QTEST_GUILESS_MAIN(TestDatabase)
#include "tst_database.moc"
