#include "SimulatedMarket.h"

#include "NewsFeeds.h"
#include "sources/NewsScore.h"
#include "sources/NewsService.h"
#include "sources/SeenHashes.h"
#include "storage/DatabaseService.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime startTime = test::utc(2024, 5, 3, 14, 20);
const QString scriptedPath = u"/feed/news/"_s; // the InvestingLive feed, priority 1

QByteArray rssItem(const QString &title, const QString &link, const QString &date = {}, const QString &description = {})
{
    QString item = u"<item><title>%1</title><link>%2</link>"_s.arg(title.toHtmlEscaped(), link.toHtmlEscaped());
    if (!date.isEmpty())
        item += u"<pubDate>%1</pubDate>"_s.arg(date);
    if (!description.isEmpty())
        item += u"<description>%1</description>"_s.arg(description.toHtmlEscaped());
    return (item + u"</item>"_s).toUtf8();
}

QString targetOf(const sim::RecordedRequest &request)
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

// A news service on the simulator's feeds, three items each, storing into a
// database of its own.
class Harness : public test::SimulatedMarket<NewsService, NewsItem>
{
public:
    Harness() : SimulatedMarket(startTime)
    {
        simulator->news().setItemsPerFeed(3);
        reopenDatabase();
    }
    ~Harness() { service.reset(); } // before its database goes

    // As a new process on the same file would.
    void reopenDatabase()
    {
        db = std::make_shared<DatabaseService>(dir.filePath(u"kalvo_trading.db"_s), clock);
        db->open().waitForFinished();
    }

    void start(const Config &config = {}, std::chrono::milliseconds timeout = 2s, const QJsonObject &addresses = {})
    {
        service = std::make_unique<NewsService>(config, db, endpoints(addresses), clock);
        service->setRequestTimeout(timeout);
        SimulatedMarket::start([this](const QDateTime &at, bool healthy) { cycles.append({at, healthy}); });
    }

    // Serves `items` as the one scripted feed, under a base of its own where
    // every other feed answers 404.
    void startScripted(const QByteArray &items, const Config &config = {})
    {
        const QByteArray document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel>"
                                    "<title>Scripted</title>" + items + "</channel></rss>";
        server().route(u"/scripted"_s + scriptedPath, [document](const sim::RecordedRequest &) {
            return sim::HttpReply{200, "application/rss+xml", document};
        });
        start(config, 2s, {{u"base"_s, simulator->baseUrl().toString() + u"/scripted"_s}});
    }

    bool waitForCycles(int count) { return test::spin([&] { return cycles.size() >= count; }); }

    // The ETag and Last-Modified every feed answers with now, by target.
    QHash<QString, std::pair<QByteArray, QByteArray>> validators() const
    {
        QHash<QString, std::pair<QByteArray, QByteArray>> result;
        for (const QString &target : sim::NewsFeeds::targets()) {
            const QUrl url(u"http://127.0.0.1"_s + target);
            const sim::HttpReply reply = simulator->news().reply(url.path(), url.query(QUrl::FullyEncoded));
            result.insert(target, {reply.header("ETag"), reply.header("Last-Modified")});
        }
        return result;
    }

    QTemporaryDir dir;
    std::shared_ptr<DatabaseService> db;
    QList<std::pair<QDateTime, bool>> cycles;
};

} // namespace

class TestNewsService : public QObject
{
    Q_OBJECT

private slots:
    // Every feed once per cycle, due again ten seconds after the cycle began.
    void everyFeedIsFetchedOnceEveryTenSeconds()
    {
        Harness harness;
        harness.start();
        QVERIFY(harness.waitForCycles(1));

        const QList<sim::RecordedRequest> &requests = harness.server().requests();
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
        QCOMPARE(harness.cycles, (QList<std::pair<QDateTime, bool>>{{startTime, true}}));
        QCOMPARE(harness.deliveries.size(), 22 * 3);

        // Pausing, not fetching: a cycle with due feeds would be waiting for
        // the network instead of sleeping.
        harness.clock.advance(9s);
        QCOMPARE(harness.clock.pendingSleepers(), 1);
        QCOMPARE(requests.size(), 22);
        QCOMPARE(harness.cycles.size(), 1);

        harness.clock.advance(1s);
        QVERIFY(harness.waitForCycles(2));
        QCOMPARE(requests.size(), 44);
        QCOMPARE(harness.cycles.last(), (std::pair{startTime.addSecs(10), true}));

        // A new process on the same database knows every item already.
        harness.service.reset();
        harness.reopenDatabase();
        const qsizetype known = harness.deliveries.size();
        harness.server().clearRequests();
        harness.start();
        QVERIFY(harness.waitForCycles(3));
        QCOMPARE(requests.size(), 22);
        QCOMPARE(harness.deliveries.size(), known);
        QCOMPARE(harness.cycles.last().second, true);
    }

    // A feed's next request names the document of its last answer with
    // entries, by both validators; a 304 means nothing new and counts as
    // delivering. The second cycle meets a fault on every feed (or news, or
    // nothing new); the third finds them all well again.
    void validatorsAcrossCycles_data()
    {
        QTest::addColumn<int>("faultKind"); // -1: none
        QTest::addColumn<int>("minutesOfNews");
        QTest::addColumn<bool>("secondHealthy");
        QTest::addColumn<bool>("thirdConditional");

        using Kind = sim::Fault::Kind;
        QTest::newRow("nothing new: 304 from every feed") << -1 << 0 << true << true;
        QTest::newRow("ten minutes of news") << -1 << 10 << true << true;
        QTest::newRow("503 keeps them") << int(Kind::Status) << 0 << false << true;
        QTest::newRow("a time-out keeps them") << int(Kind::Hang) << 0 << false << true;
        QTest::newRow("a cut-off document with entries names them again") << int(Kind::Truncate) << 0 << true << true;
        QTest::newRow("an empty 200 drops them") << int(Kind::Empty) << 0 << false << false;
        QTest::newRow("a 200 of garbage drops them") << int(Kind::Garbage) << 0 << false << false;
    }
    void validatorsAcrossCycles()
    {
        QFETCH(int, faultKind);
        QFETCH(int, minutesOfNews);
        Harness harness;
        harness.simulatorTime = startTime;
        harness.start();
        QVERIFY(harness.waitForCycles(1));
        QCOMPARE(harness.deliveries.size(), 22 * 3);
        const QHash<QString, std::pair<QByteArray, QByteArray>> first = harness.validators();

        harness.simulatorTime = startTime.addSecs(60 * minutesOfNews);
        // What the feeds list now and did not list before: the newest three
        // of each feed's headlines since.
        QHash<QString, QStringList> since;
        for (const sim::FeedHeadline &headline :
             harness.simulator->news().headlines(startTime.addMSecs(1), harness.simulatorTime->addMSecs(1)))
            since[headline.feed].prepend(headline.link);
        QSet<QString> news;
        for (const QStringList &links : std::as_const(since))
            news.unite(QSet<QString>(links.cbegin(), links.cbegin() + std::min<qsizetype>(3, links.size())));
        QCOMPARE(news.size(), minutesOfNews == 0 ? 0 : 35); // of 40 headlines: some feeds had more than three
        for (const QString &feed : sim::NewsFeeds::targets()) {
            if (faultKind >= 0)
                harness.server().setFault(QUrl(feed).path(), {sim::Fault::Kind(faultKind), 503, 0});
        }
        if (faultKind == int(sim::Fault::Kind::Hang))
            harness.service->setRequestTimeout(300ms);
        harness.server().clearRequests();
        harness.clock.advance(10s);
        QVERIFY(harness.waitForCycles(2));
        const QList<sim::RecordedRequest> &requests = harness.server().requests();
        // A server that never answers holds all the connections the client
        // opens to one host; most requests queued behind them time out unsent.
        QVERIFY(faultKind == int(sim::Fault::Kind::Hang) ? !requests.isEmpty() : requests.size() == 22);
        for (const sim::RecordedRequest &request : requests) {
            const auto &[etag, lastModified] = first.value(targetOf(request));
            QCOMPARE(request.headers.value("if-none-match"), etag);
            QCOMPARE(request.headers.value("if-modified-since"), lastModified);
            QVERIFY(request.headers.value("accept-encoding").contains("gzip"));
        }
        QTEST(harness.cycles.last().second, "secondHealthy");
        QSet<QString> delivered;
        for (qsizetype i = 22 * 3; i < harness.deliveries.size(); ++i)
            delivered.insert(harness.deliveries[i].url);
        QCOMPARE(delivered, news);

        harness.server().clearFaults();
        harness.server().clearRequests();
        harness.service->setRequestTimeout(2s);
        const qsizetype before = harness.deliveries.size();
        const QHash<QString, std::pair<QByteArray, QByteArray>> current = harness.validators();
        harness.clock.advance(10s);
        QVERIFY(harness.waitForCycles(3));
        // A request given up on at the very end of the hanging cycle may reach the server only now.
        QVERIFY(requests.size() >= 22);
        QFETCH(bool, thirdConditional);
        for (const sim::RecordedRequest &request : requests) {
            const auto &[etag, lastModified] = current.value(targetOf(request));
            QCOMPARE(request.headers.value("if-none-match"), thirdConditional ? etag : QByteArray());
            QCOMPARE(request.headers.value("if-modified-since"), thirdConditional ? lastModified : QByteArray());
        }
        QCOMPARE(harness.cycles.last().second, true);
        QCOMPARE(harness.deliveries.size(), before);
    }

    // The item built from an entry: age limit, missing dates, the cleaned and
    // shortened content; the score always reads the whole description.
    void entriesBecomeItems_data()
    {
        QTest::addColumn<qint64>("maxAgeHours");
        QTest::addColumn<QString>("date");
        QTest::addColumn<QString>("description");
        QTest::addColumn<QDateTime>("published"); // invalid: dropped
        QTest::addColumn<int>("contentSize");
        QTest::addColumn<double>("score");

        const QString plain = u"Markets were quiet."_s;
        const QDateTime twoHoursAgo = startTime.addSecs(-7200);
        QTest::newRow("25 hours old") << 24ll << u"Thu, 02 May 2024 13:20:00 +0000"_s << plain << QDateTime() << 0 << 0.0;
        QTest::newRow("23 hours old") << 24ll << u"Thu, 02 May 2024 15:20:00 +0000"_s << plain
                                      << startTime.addSecs(-23 * 3600) << 19 << 3.0;
        QTest::newRow("markup removed, worked score")
            << 24ll << u"Fri, 03 May 2024 14:10:00 +0000"_s << u"<p>ECB minutes show officials split on rate hike</p>"_s
            << startTime.addSecs(-600) << 45 << 6.0; // 2.5 + 0.5 + 2.2 + 0.35 = 5.55
        QTest::newRow("no date: two hours back") << 24ll << QString() << plain << twoHoursAgo << 19 << 3.0;
        QTest::newRow("no date, limit 1 hour: kept") << 1ll << QString() << plain << twoHoursAgo << 19 << 3.0;
        QTest::newRow("5000 characters, keywords at the end")
            << 24ll << QString() << QString(4960, u'x') + u" breaking: fed emergency rate cut"_s << twoHoursAgo << 2000 << 8.0;
        QTest::newRow("accent across the cut")
            << 24ll << QString() << QString(1999, u'a') + u"e\u0301 and more text"_s << twoHoursAgo << 2001 << 3.0;
    }
    void entriesBecomeItems()
    {
        QFETCH(qint64, maxAgeHours);
        QFETCH(QString, date);
        QFETCH(QString, description);
        QFETCH(QDateTime, published);
        Config config;
        config.newsMaxAgeHours = maxAgeHours;
        const QString link = u"https://investinglive.test/n/1"_s;
        Harness harness;
        harness.startScripted(rssItem(u"Headline"_s, link, date, description), config);
        QVERIFY(harness.waitForCycles(1));
        QCOMPARE(harness.deliveries.size(), published.isValid() ? 1 : 0);
        if (!published.isValid())
            return;
        const NewsItem &item = harness.deliveries.first();
        QVERIFY2(QRegularExpression(u"^[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}$"_s)
                     .match(item.id).hasMatch(), qPrintable(item.id));
        const QByteArray md5 = QCryptographicHash::hash((u"Headline"_s + link).toUtf8(), QCryptographicHash::Md5).toHex();
        QCOMPARE((QStringList{item.source, item.url, item.hash}), (QStringList{u"InvestingLive"_s, link, QString::fromLatin1(md5)}));
        QCOMPARE((std::pair{item.priority, bool(item.analysis)}), (std::pair{1ll, false}));
        QCOMPARE(item.published, published);
        QTEST(int(item.content.size()), "contentSize");
        QVERIFY(QString(description).remove(u"<p>"_s).remove(u"</p>"_s).startsWith(item.content));
        QTEST(item.score, "score");
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
        Harness harness;
        harness.startScripted(items);
        QVERIFY(harness.waitForCycles(1));
        QTEST(titlesFrom(harness.deliveries), "delivered");
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
        Harness harness;
        for (const QString &feed : sim::NewsFeeds::targets()) {
            if (!(spareOne && QUrl(feed).path() == scriptedPath))
                harness.server().setFault(QUrl(feed).path(), {sim::Fault::Kind(faultKind), status, 0});
        }
        harness.start();
        QVERIFY(harness.waitForCycles(1));
        QTEST(harness.cycles.first().second, "healthy");
        QCOMPARE(harness.server().requests().size(), 22);
    }

    // A feed that never answers costs the cycle its time-out (cut to 400 ms
    // here), not its health; it is due again ten seconds after the cycle began.
    void hangingFeed()
    {
        Harness harness;
        harness.server().setFault(scriptedPath, {sim::Fault::Kind::Hang, 0, 0});
        harness.start({}, 400ms);
        QVERIFY(harness.waitForCycles(1));
        QCOMPARE(harness.cycles.first().second, true);
        QCOMPARE(harness.deliveries.size(), 63);
        harness.server().clearFaults();
        harness.clock.advance(10s);
        QVERIFY(harness.waitForCycles(2));
        QCOMPARE(harness.server().requestCount(scriptedPath), 2);
        QCOMPARE(titlesFrom(harness.deliveries, u"InvestingLive"_s).size(), 3);
    }

    // Destroyed while a feed hangs: nothing more arrives.
    void destroyingTheServiceEndsItsLoop()
    {
        Harness harness;
        harness.server().setFault(scriptedPath, {sim::Fault::Kind::Hang, 0, 0});
        harness.start({}, 8s);
        QVERIFY(test::spin([&] { return harness.server().requests().size() == 22; }));
        const qsizetype itemsSoFar = harness.deliveries.size();
        QVERIFY(harness.endsWhenDestroyed());
        QCOMPARE(harness.deliveries.size(), itemsSoFar);
        QVERIFY(harness.cycles.isEmpty());
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
        QTest::newRow("one keyword in two lists, one inside another")
            << u"breaking: fed announces emergency rate cut"_s << 1 << 8.0;
        QTest::newRow("four lists") << u"ecb minutes show officials split on rate hike"_s << 2 << 5.0;
        QTest::newRow("two keywords start at one place") << u"federal reserve"_s << 2 << 4.0;
        QTest::newRow("live inside a word, at the end") << u"usd delivery"_s << 2 << 3.0;
        QTest::newRow("matched in lower case") << u"Breaking: FED Announces Emergency Rate Cut"_s << 1 << 8.0;
        QTest::newRow("kelvin sign lower-cases to k") << u"BAN\u212A OF ENGLAND"_s << 3 << 3.0;
        QTest::newRow("clamped to 10")
            << u"breaking live: fed fomc emergency rate cut rate hike ecb boe gdp recession crisis war attack "
               "sanction default minutes speech forecast guidance outlook survey"_s
            << 1 << 10.0;
    }
    void localScore()
    {
        QFETCH(QString, text);
        QFETCH(int, priority);
        QTEST(kalvo::localScore(text, priority), "score");
    }

    // Seen hashes: at 5000 kept, one more prunes to 4000.
    void seenHashesStayBounded()
    {
        SeenHashes hashes;
        for (int i = 0; i < 5000; ++i)
            hashes.insert(QString::number(i));
        QCOMPARE(hashes.size(), qsizetype(5000));
        hashes.insert(u"one more"_s);
        QCOMPARE(hashes.size(), qsizetype(4000));
    }
};

QTEST_GUILESS_MAIN(TestNewsService)
#include "tst_newsservice.moc"
