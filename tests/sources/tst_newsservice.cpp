#include "../TestSupport.h"

#include "LoopbackServer.h"
#include "MarketSimulator.h"
#include "NewsFeeds.h"
#include "core/Clock.h"
#include "core/Endpoints.h"
#include "sources/NewsFeedTable.h"
#include "sources/NewsScore.h"
#include "sources/NewsService.h"
#include "sources/RSSParser.h"
#include "sources/SeenHashes.h"
#include "storage/DatabaseService.h"

#include <QCryptographicHash>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>

#include <sqlite3.h>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime startTime = test::utc(2024, 5, 3, 14, 20);
const QString scriptedPath = u"/feed/news/"_s; // the InvestingLive feed, priority 1

Endpoints endpointsAt(const QUrl &base)
{
    QStringList problems;
    return Endpoints::fromJson(QJsonDocument(QJsonObject{{u"base"_s, base.toString()}}).toJson(), &problems);
}

QString rfc822(const QDateTime &instant)
{
    return QLocale::c().toString(instant.toUTC(), u"ddd, dd MMM yyyy HH:mm:ss '+0000'"_s);
}

QByteArray rssItem(const QString &title, const QString &link, const QString &date = {}, const QString &description = {})
{
    QString item = u"<item><title>%1</title><link>%2</link>"_s.arg(title.toHtmlEscaped(), link.toHtmlEscaped());
    if (!date.isEmpty())
        item += u"<pubDate>%1</pubDate>"_s.arg(date);
    if (!description.isEmpty())
        item += u"<description>%1</description>"_s.arg(description.toHtmlEscaped());
    return (item + u"</item>"_s).toUtf8();
}

QByteArray rssDocument(const QByteArray &items)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel><title>Scripted</title>" + items
        + "</channel></rss>";
}

QString md5(const QString &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
}

QString target(const sim::RecordedRequest &request)
{
    return request.query.isEmpty() ? request.path : request.path + u'?' + request.query;
}

QStringList titlesFrom(const QList<NewsItem> &items, const QString &source = {})
{
    QStringList titles;
    for (const NewsItem &item : items) {
        if (source.isEmpty() || item.source == source)
            titles << item.title;
    }
    return titles;
}

// Writes rows straight into the file in one transaction; going through the
// service would cost one transaction per row.
void storeRows(const QString &path, const QList<NewsItem> &items)
{
    sqlite3 *db = nullptr;
    sqlite3_stmt *insert = nullptr;
    sqlite3_open(path.toUtf8().constData(), &db);
    sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(db, "INSERT INTO news (id,title,source,url,published,content,hash,score,priority) "
                           "VALUES (?,?,?,?,?,?,?,?,?)", -1, &insert, nullptr);
    for (const NewsItem &item : items) {
        const QList<QByteArray> texts{item.id.toUtf8(), item.title.toUtf8(), item.source.toUtf8(), item.url.toUtf8(),
                                      formatIsoUtc(item.published).toUtf8(), item.content.toUtf8(), item.hash.toUtf8()};
        for (int i = 0; i < texts.size(); ++i)
            sqlite3_bind_text(insert, i + 1, texts[i].constData(), int(texts[i].size()), SQLITE_TRANSIENT);
        sqlite3_bind_double(insert, 8, item.score);
        sqlite3_bind_int(insert, 9, int(item.priority));
        sqlite3_step(insert);
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(db);
}

// One running service and everything it delivered.
struct Session
{
    QList<NewsItem> items;
    QList<std::pair<QDateTime, bool>> cycles;
    std::unique_ptr<NewsService> service;
    QCoro::Task<> loop;

    bool waitForCycles(int count) const
    {
        return QTest::qWaitFor([&] { return cycles.size() >= count; }, 6000);
    }
};

} // namespace

class TestNewsService : public QObject
{
    Q_OBJECT

    ManualClock m_clock{startTime};
    std::unique_ptr<QTemporaryDir> m_dir;
    std::shared_ptr<DatabaseService> m_db;
    sim::SimulatorOptions m_options;
    std::unique_ptr<sim::MarketSimulator> m_simulator;
    sim::LoopbackServer m_script;
    QByteArray m_document;

    QString databasePath() const { return m_dir->filePath(u"kalvo_trading.db"_s); }

    std::shared_ptr<DatabaseService> openDatabase()
    {
        auto db = std::make_shared<DatabaseService>(databasePath(), m_clock);
        db->open().waitForFinished();
        return db;
    }

    std::unique_ptr<Session> startService(const QUrl &base, const Config &config = {},
                                          std::chrono::milliseconds timeout = 2s)
    {
        auto session = std::make_unique<Session>();
        session->service = std::make_unique<NewsService>(config, m_db, endpointsAt(base), m_clock);
        session->service->setRequestTimeout(timeout);
        Session *s = session.get();
        session->loop = session->service->run([s](const NewsItem &item) { s->items.append(item); },
                                              [s](const QDateTime &at, bool healthy) { s->cycles.append({at, healthy}); });
        return session;
    }

    // Serves `items` as the one scripted feed; every other feed answers 404.
    std::unique_ptr<Session> startScripted(const QByteArray &items, const Config &config = {})
    {
        m_document = rssDocument(items);
        return startService(m_script.baseUrl(), config);
    }

    sim::MarketSimulator &simulator() { return *m_simulator; }

private slots:
    void initTestCase()
    {
        m_options.newsPerMinute = 4;
        m_options.now = [this] { return m_clock.now(); };
        m_simulator = std::make_unique<sim::MarketSimulator>(m_options);
        QVERIFY(m_simulator->start() != 0);
        m_script.route(scriptedPath, [this](const sim::RecordedRequest &) {
            return sim::HttpReply{200, "application/rss+xml", m_document};
        });
        QVERIFY(m_script.start() != 0);
    }

    void init()
    {
        m_clock.setNow(startTime);
        m_dir = std::make_unique<QTemporaryDir>();
        m_db = openDatabase();
        m_simulator->news().setItemsPerFeed(3);
        m_simulator->server().clearFaults();
        m_simulator->server().clearRequests();
        m_script.clearRequests();
    }

    void cleanup() { m_db.reset(); }

    void everyFeedIsFetchedOnceEveryTenSeconds()
    {
        const auto session = startService(simulator().baseUrl());
        QVERIFY(session->waitForCycles(1));

        const QList<sim::RecordedRequest> &requests = simulator().server().requests();
        QStringList targets;
        for (const sim::RecordedRequest &request : requests)
            targets << target(request);
        QStringList expected = sim::NewsFeeds::targets();
        targets.sort();
        expected.sort();
        QCOMPARE(targets, expected);
        // The client's own defaults and nothing else.
        const QSet<QByteArray> allowed{"host", "user-agent", "connection", "accept-encoding", "accept-language"};
        for (const sim::RecordedRequest &request : requests) {
            QCOMPARE(request.headers.value("user-agent"), "Mozilla/5.0 (compatible; KalvoTrading/2.0)"_ba);
            QSet<QByteArray> names(request.headers.keyBegin(), request.headers.keyEnd());
            QVERIFY2(names.subtract(allowed).isEmpty(), names.values().join(", ").constData());
        }
        QCOMPARE(session->cycles, (QList<std::pair<QDateTime, bool>>{{startTime, true}}));
        QCOMPARE(session->items.size(), 22 * 3);
        // Items arrive in document order per feed.
        const QStringList feedTargets = sim::NewsFeeds::targets();
        for (int i = 0; i < feedTargets.size(); ++i) {
            const QUrl url(u"http://127.0.0.1"_s + feedTargets[i]);
            QStringList inDocument;
            for (const RSSEntry &entry : RSSParser::parse(simulator().news().reply(url.path(), url.query(QUrl::FullyEncoded)).body))
                inDocument << entry.title;
            QCOMPARE(titlesFrom(session->items, newsFeeds()[i].name), inDocument);
        }

        // Pausing, not fetching: a cycle with due feeds would be waiting for
        // the network instead of sleeping.
        m_clock.advance(9s);
        QCOMPARE(m_clock.pendingSleepers(), 1);
        QCOMPARE(simulator().server().requests().size(), 22);
        QCOMPARE(session->cycles.size(), 1);

        m_clock.advance(1s);
        QVERIFY(session->waitForCycles(2));
        QCOMPARE(simulator().server().requests().size(), 44);
        QCOMPARE(session->cycles.last(), (std::pair{startTime.addSecs(10), true}));
    }

    void itemIsBuiltFromItsEntry()
    {
        const QString link = u"https://investinglive.test/n/1"_s;
        const auto session = startScripted(rssItem(u"  ECB minutes show officials split on rate hike \n"_s, link,
                                                   rfc822(startTime.addSecs(-600)), u"<p>Details</p>"_s));
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(session->items.size(), 1);
        const NewsItem &item = session->items.first();
        QVERIFY2(QRegularExpression(u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s)
                     .match(item.id).hasMatch(),
                 qPrintable(item.id));
        const QString title = u"ECB minutes show officials split on rate hike"_s;
        QCOMPARE((QStringList{item.title, item.source, item.url, item.content, item.hash}),
                 (QStringList{title, u"InvestingLive"_s, link, u"Details"_s, md5(title + link)}));
        QCOMPARE(item.published, startTime.addSecs(-600));
        QCOMPARE(item.priority, 1ll);
        QCOMPARE(item.score, 6.0); // 2.5 + 0.5 + 2.2 + 0.35 = 5.55, from title and description
        QVERIFY(!item.analysis);
    }

    // Age limit, missing dates and the shortened content; the score always
    // reads the whole description.
    void entriesBecomeItems_data()
    {
        QTest::addColumn<qint64>("maxAgeHours");
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("description");
        QTest::addColumn<bool>("kept");
        QTest::addColumn<QDateTime>("published");
        QTest::addColumn<int>("contentSize");
        QTest::addColumn<double>("score");

        const QString plain = u"Markets were quiet."_s;
        const QDateTime twoHoursAgo = startTime.addSecs(-7200);
        QTest::newRow("25 hours old") << 24ll << rfc822(startTime.addSecs(-25 * 3600)) << plain << false
                                      << QDateTime() << 0 << 0.0;
        QTest::newRow("23 hours old") << 24ll << rfc822(startTime.addSecs(-23 * 3600)) << plain << true
                                      << startTime.addSecs(-23 * 3600) << 19 << 3.0;
        QTest::newRow("2 hours old, limit 1 hour") << 1ll << rfc822(startTime.addSecs(-7200)) << plain << false
                                                   << QDateTime() << 0 << 0.0;
        QTest::newRow("no date: two hours back") << 24ll << QString() << plain << true << twoHoursAgo << 19 << 3.0;
        QTest::newRow("no date, limit 1 hour: kept") << 1ll << QString() << plain << true << twoHoursAgo << 19 << 3.0;
        QTest::newRow("5000 characters, keywords at the end")
            << 24ll << QString() << QString(4960, u'x') + u" breaking: fed emergency rate cut"_s << true << twoHoursAgo
            << 2000 << 8.0;
        QTest::newRow("accent across the cut")
            << 24ll << QString() << QString(1999, u'a') + u"e\u0301 and more text"_s << true << twoHoursAgo
            << 2001 << 3.0;
    }
    void entriesBecomeItems()
    {
        QFETCH(qint64, maxAgeHours);
        QFETCH(QString, date);
        QFETCH(QString, description);
        QFETCH(bool, kept);
        QFETCH(QDateTime, published);
        QFETCH(int, contentSize);
        QFETCH(double, score);
        Config config;
        config.newsMaxAgeHours = maxAgeHours;
        const auto session = startScripted(rssItem(u"Headline"_s, u"/n/1"_s, date, description), config);
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(session->items.size(), kept ? 1 : 0);
        if (!kept)
            return;
        const NewsItem &item = session->items.first();
        QCOMPARE(item.published, published);
        QCOMPARE(item.content.size(), contentSize);
        QVERIFY(description.startsWith(item.content));
        QCOMPARE(item.score, score);
    }

    void duplicatesNeverReachTheCallback_data()
    {
        QTest::addColumn<QByteArray>("items");
        QTest::addColumn<int>("newerStoredRows"); // stored rows newer than the stored copy, if any
        QTest::addColumn<bool>("storedCopy");     // the first item is in the database already
        QTest::addColumn<QStringList>("delivered");

        const QByteArray a = rssItem(u"Fed holds"_s, u"/n/a"_s);
        QTest::newRow("twice in one feed") << QByteArray(a + rssItem(u"Fed holds"_s, u"/n/a"_s, {}, u"again"_s))
                                           << 0 << false << QStringList{u"Fed holds"_s};
        QTest::newRow("same title, other link") << QByteArray(a + rssItem(u"Fed holds"_s, u"/n/b"_s)) << 0 << false
                                                << QStringList{u"Fed holds"_s, u"Fed holds"_s};
        QTest::newRow("title and link run together")
            << QByteArray(rssItem(u"Fed holds/"_s, u"n/a"_s) + a) << 0 << false << QStringList{u"Fed holds/"_s};
        QTest::newRow("stored behind 500 newer rows") << a << 500 << true << QStringList{};
    }
    void duplicatesNeverReachTheCallback()
    {
        QFETCH(QByteArray, items);
        QFETCH(int, newerStoredRows);
        QFETCH(bool, storedCopy);
        QFETCH(QStringList, delivered);
        QList<NewsItem> rows;
        if (storedCopy) {
            rows << NewsItem{u"STORED"_s, u"Fed holds"_s, u"InvestingLive"_s, u"/n/a"_s, startTime.addDays(-3),
                             {}, md5(u"Fed holds/n/a"_s), 3, 1, {}};
        }
        for (int i = 0; i < newerStoredRows; ++i)
            rows << test::newsItem(i, startTime.addSecs(-i));
        storeRows(databasePath(), rows);

        const auto session = startScripted(items);
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(titlesFrom(session->items), delivered);
    }

    void knownItemsStayKnownAfterARestart()
    {
        auto first = startService(simulator().baseUrl());
        QVERIFY(first->waitForCycles(1));
        QCOMPARE(first->items.size(), 22 * 3);
        first.reset();

        m_db = openDatabase(); // a new process on the same file
        simulator().server().clearRequests();
        const auto second = startService(simulator().baseUrl());
        QVERIFY(second->waitForCycles(1));
        QCOMPARE(simulator().server().requests().size(), 22);
        QCOMPARE(second->items.size(), 0);
        QCOMPARE(second->cycles.first().second, true);
    }

    void healthOfACycle_data()
    {
        QTest::addColumn<int>("faultKind"); // -1: none
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("spareOne"); // the InvestingLive feed answers normally
        QTest::addColumn<bool>("healthy");

        const int status = int(sim::Fault::Kind::Status);
        QTest::newRow("all deliver") << -1 << 0 << false << true;
        QTest::newRow("all but one answer 503") << status << 503 << true << true;
        QTest::newRow("all answer 503") << status << 503 << false << false;
        QTest::newRow("all answer garbage") << int(sim::Fault::Kind::Garbage) << 0 << false << false;
        QTest::newRow("all cut off mid-document") << int(sim::Fault::Kind::Truncate) << 0 << false << true;
    }
    void healthOfACycle()
    {
        QFETCH(int, faultKind);
        QFETCH(int, status);
        QFETCH(bool, spareOne);
        QFETCH(bool, healthy);
        if (faultKind >= 0) {
            for (const QString &feed : sim::NewsFeeds::targets()) {
                const QString path = QUrl(feed).path();
                if (!(spareOne && path == scriptedPath))
                    simulator().server().setFault(path, {sim::Fault::Kind(faultKind), status, 0});
            }
        }
        const auto session = startService(simulator().baseUrl());
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(session->cycles.first().second, healthy);
        QCOMPARE(simulator().server().requests().size(), 22);
    }

    // The time-out is cut to 400 ms here; with the 8-second default the wait
    // for the cycle would give up first. A feed that keeps dripping bytes is
    // cut off after three time-outs in all.
    void slowFeeds_data()
    {
        QTest::addColumn<int>("faultKind");
        QTest::addColumn<bool>("delivered");
        QTest::newRow("hanging feed") << int(sim::Fault::Kind::Hang) << false;
        QTest::newRow("slower than the others, within the time-out") << int(sim::Fault::Kind::Delay) << true;
        QTest::newRow("dripping feed, never quiet for long") << int(sim::Fault::Kind::Trickle) << false;
    }
    void slowFeeds()
    {
        QFETCH(int, faultKind);
        QFETCH(bool, delivered);
        simulator().server().setFault(scriptedPath, {sim::Fault::Kind(faultKind), 0, 100});
        const auto session = startService(simulator().baseUrl(), {}, 400ms);
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(session->cycles.first().second, true);
        QCOMPARE(titlesFrom(session->items, u"InvestingLive"_s).size(), delivered ? 3 : 0);
        QCOMPARE(session->items.size(), delivered ? 66 : 63);

        // Failed or not, the feed is due again ten seconds after the cycle began.
        simulator().server().clearFaults();
        m_clock.advance(10s);
        QVERIFY(session->waitForCycles(2));
        QCOMPARE(simulator().server().requestCount(scriptedPath), 2);
        QCOMPARE(titlesFrom(session->items, u"InvestingLive"_s).size(), 3);
    }

    void destroyingTheServiceEndsItsLoop_data()
    {
        QTest::addColumn<bool>("feedHangs");
        QTest::addColumn<int>("cyclesFirst");
        QTest::newRow("before the first cycle") << false << 0;
        QTest::newRow("during the pause") << false << 1;
        QTest::newRow("while a feed hangs") << true << 0;
    }
    void destroyingTheServiceEndsItsLoop()
    {
        QFETCH(bool, feedHangs);
        QFETCH(int, cyclesFirst);
        if (feedHangs)
            simulator().server().setFault(scriptedPath, {sim::Fault::Kind::Hang, 0, 0});
        const auto session = startService(simulator().baseUrl(), {}, 8s);
        if (feedHangs)
            QVERIFY(QTest::qWaitFor([&] { return simulator().server().requests().size() == 22; }, 6000));
        QVERIFY(session->waitForCycles(cyclesFirst));

        session->service.reset();
        const qsizetype itemsSoFar = session->items.size();
        QVERIFY(QTest::qWaitFor([&] { return session->loop.isReady(); }, 3000));
        QCOMPARE(session->items.size(), itemsSoFar);
        QCOMPARE(session->cycles.size(), cyclesFirst);
        QCOMPARE(m_clock.pendingSleepers(), 0);
    }

    void localScore_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("priority");
        QTest::addColumn<double>("score");

        QTest::newRow("no keyword, priority 1") << u"quiet day in the markets"_s << 1 << 3.0;
        QTest::newRow("no keyword, priority 3: 1.5 rounds up") << u"quiet day in the markets"_s << 3 << 2.0;
        QTest::newRow("unknown priority counts as 3") << u"quiet day in the markets"_s << 0 << 2.0;
        QTest::newRow("live inside delivery") << u"dollar delivery slows"_s << 2 << 3.0;
        QTest::newRow("war inside award, 3.5 rounds up") << u"fund wins award"_s << 2 << 4.0;
        QTest::newRow("a keyword counts once") << u"war war war war"_s << 3 << 3.0;
        QTest::newRow("relevance capped at 2")
            << u"usd eur gbp jpy chf cad aud nzd forex dollar yen yuan"_s << 3 << 4.0;
        QTest::newRow("shock capped at 3") << u"war attack sanction default"_s << 3 << 5.0;
        QTest::newRow("medium capped at 1.5")
            << u"minutes speech forecast guidance outlook survey"_s << 3 << 3.0;
        QTest::newRow("clamped to 10")
            << u"breaking live: fed fomc emergency rate cut rate hike ecb boe gdp recession crisis war attack "
               "sanction default minutes speech forecast guidance outlook survey"_s
            << 1 << 10.0;
    }
    void localScore()
    {
        QFETCH(QString, text);
        QFETCH(int, priority);
        QFETCH(double, score);
        QCOMPARE(kalvo::localScore(text, priority), score);
    }

    void seenHashesStayBounded_data()
    {
        QTest::addColumn<int>("distinct");
        QTest::addColumn<bool>("repeatLast");
        QTest::addColumn<qsizetype>("size");
        QTest::newRow("at the limit") << 5000 << false << qsizetype(5000);
        QTest::newRow("one past the limit") << 5001 << false << qsizetype(4000);
        QTest::newRow("pruned, then growing") << 5005 << false << qsizetype(4004);
    }
    void seenHashesStayBounded()
    {
        QFETCH(int, distinct);
        QFETCH(bool, repeatLast);
        QFETCH(qsizetype, size);
        SeenHashes hashes;
        for (int i = 0; i < distinct; ++i)
            hashes.insert(md5(QString::number(i)));
        if (repeatLast)
            hashes.insert(md5(QString::number(distinct - 1)));
        QCOMPARE(hashes.size(), size);
    }
};

QTEST_GUILESS_MAIN(TestNewsService)
#include "tst_newsservice.moc"
