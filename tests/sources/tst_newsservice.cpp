#include "../TestSupport.h"

#include "LoopbackServer.h"
#include "MarketSimulator.h"
#include "NewsFeeds.h"
#include "core/Clock.h"
#include "core/Endpoints.h"
#include "sources/NewsScore.h"
#include "sources/NewsService.h"
#include "sources/SeenHashes.h"
#include "storage/DatabaseService.h"

#include <QCryptographicHash>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime startTime = test::utc(2024, 5, 3, 14, 20);
const QString scriptedPath = u"/feed/news/"_s; // the InvestingLive feed, priority 1

Endpoints endpointsAt(const QUrl &base)
{
    QStringList problems;
    return Endpoints::fromJson(compactJson({{u"base"_s, base.toString()}}), &problems);
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

QString md5(const QString &text)
{
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Md5).toHex());
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

// One running service and everything it delivered.
struct Session
{
    QList<NewsItem> items;
    QList<std::pair<QDateTime, bool>> cycles;
    std::unique_ptr<NewsService> service;
    QCoro::Task<> loop;

    bool waitForCycles(int count) const { return QTest::qWaitFor([&] { return cycles.size() >= count; }, 6000); }
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
        m_document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel><title>Scripted</title>"
                   + items + "</channel></rss>";
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
            targets << (request.query.isEmpty() ? request.path : request.path + u'?' + request.query);
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

    // The item built from an entry: age limit, missing dates, the cleaned and
    // shortened content; the score always reads the whole description.
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
        QTest::newRow("markup removed, worked score")
            << 24ll << rfc822(startTime.addSecs(-600)) << u"<p>ECB minutes show officials split on rate hike</p>"_s << true
            << startTime.addSecs(-600) << 45 << 6.0; // 2.5 + 0.5 + 2.2 + 0.35 = 5.55
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
        const QString link = u"https://investinglive.test/n/1"_s;
        const auto session = startScripted(rssItem(u"Headline"_s, link, date, description), config);
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(session->items.size(), kept ? 1 : 0);
        if (!kept)
            return;
        const NewsItem &item = session->items.first();
        QVERIFY2(QRegularExpression(u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s)
                     .match(item.id).hasMatch(), qPrintable(item.id));
        QCOMPARE((QStringList{item.source, item.url, item.hash}), (QStringList{u"InvestingLive"_s, link, md5(u"Headline"_s + link)}));
        QCOMPARE((std::pair{item.priority, bool(item.analysis)}), (std::pair{1ll, false}));
        QCOMPARE(item.published, published);
        QCOMPARE(item.content.size(), contentSize);
        QVERIFY(QString(description).remove(u"<p>"_s).remove(u"</p>"_s).startsWith(item.content));
        QCOMPARE(item.score, score);
    }

    void duplicatesNeverReachTheCallback_data()
    {
        QTest::addColumn<QByteArray>("items");
        QTest::addColumn<QStringList>("delivered");

        const QByteArray a = rssItem(u"Fed holds"_s, u"/n/a"_s);
        QTest::newRow("twice in one feed") << QByteArray(a + rssItem(u"Fed holds"_s, u"/n/a"_s, {}, u"again"_s))
                                           << QStringList{u"Fed holds"_s};
        QTest::newRow("same title, other link") << QByteArray(a + rssItem(u"Fed holds"_s, u"/n/b"_s))
                                                << QStringList{u"Fed holds"_s, u"Fed holds"_s};
        QTest::newRow("title and link run together")
            << QByteArray(rssItem(u"Fed holds/"_s, u"n/a"_s) + a) << QStringList{u"Fed holds/"_s};
        QTest::newRow("document order kept") << QByteArray(rssItem(u"3"_s, u"/3"_s) + rssItem(u"1"_s, u"/1"_s) + rssItem(u"2"_s, u"/2"_s))
                                             << QStringList{u"3"_s, u"1"_s, u"2"_s};
    }
    void duplicatesNeverReachTheCallback()
    {
        QFETCH(QByteArray, items);
        const auto session = startScripted(items);
        QVERIFY(session->waitForCycles(1));
        QTEST(titlesFrom(session->items), "delivered");
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
        QTest::addColumn<int>("faultKind");
        QTest::addColumn<int>("status");
        QTest::addColumn<bool>("spareOne"); // the InvestingLive feed answers normally
        QTest::addColumn<bool>("healthy");

        const int status = int(sim::Fault::Kind::Status);
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
        for (const QString &feed : sim::NewsFeeds::targets()) {
            if (!(spareOne && QUrl(feed).path() == scriptedPath))
                simulator().server().setFault(QUrl(feed).path(), {sim::Fault::Kind(faultKind), status, 0});
        }
        const auto session = startService(simulator().baseUrl());
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(session->cycles.first().second, healthy);
        QCOMPARE(simulator().server().requests().size(), 22);
    }

    // A feed that never answers costs the cycle its time-out (cut to 400 ms
    // here), not its health; it is due again ten seconds after the cycle began.
    void hangingFeed()
    {
        simulator().server().setFault(scriptedPath, {sim::Fault::Kind::Hang, 0, 0});
        const auto session = startService(simulator().baseUrl(), {}, 400ms);
        QVERIFY(session->waitForCycles(1));
        QCOMPARE(session->cycles.first().second, true);
        QCOMPARE(session->items.size(), 63);
        simulator().server().clearFaults();
        m_clock.advance(10s);
        QVERIFY(session->waitForCycles(2));
        QCOMPARE(simulator().server().requestCount(scriptedPath), 2);
        QCOMPARE(titlesFrom(session->items, u"InvestingLive"_s).size(), 3);
    }

    // Destroyed while a feed hangs: the loop ends at once, nothing more arrives.
    void destroyingTheServiceEndsItsLoop()
    {
        simulator().server().setFault(scriptedPath, {sim::Fault::Kind::Hang, 0, 0});
        const auto session = startService(simulator().baseUrl(), {}, 8s);
        QVERIFY(QTest::qWaitFor([&] { return simulator().server().requests().size() == 22; }, 6000));
        session->service.reset();
        const qsizetype itemsSoFar = session->items.size();
        QVERIFY(QTest::qWaitFor([&] { return session->loop.isReady(); }, 3000));
        QCOMPARE(session->items.size(), itemsSoFar);
        QVERIFY(session->cycles.isEmpty());
        QCOMPARE(m_clock.pendingSleepers(), 0);
    }

    void localScore_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("priority");
        QTest::addColumn<double>("score");

        QTest::newRow("no keyword, priority 3: 1.5 rounds up") << u"quiet day in the markets"_s << 3 << 2.0;
        QTest::newRow("war inside award, 3.5 rounds up") << u"fund wins award"_s << 2 << 4.0;
        QTest::newRow("a keyword counts once") << u"war war war war"_s << 3 << 3.0;
        QTest::newRow("relevance capped at 2")
            << u"usd eur gbp jpy chf cad aud nzd forex dollar yen yuan"_s << 3 << 4.0;
        QTest::newRow("shock capped at 3") << u"war attack sanction default"_s << 3 << 5.0;
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

    // Seen hashes: at 5000 kept, one more prunes to 4000.
    void seenHashesStayBounded()
    {
        SeenHashes hashes;
        for (int i = 0; i < 5000; ++i)
            hashes.insert(md5(QString::number(i)));
        QCOMPARE(hashes.size(), qsizetype(5000));
        hashes.insert(md5(u"one more"_s));
        QCOMPARE(hashes.size(), qsizetype(4000));
    }
};

QTEST_GUILESS_MAIN(TestNewsService)
#include "tst_newsservice.moc"
