#include "../TestSupport.h"
#include "ScriptedBackend.h"
#include "MarketSimulator.h"
#include "app/AppState.h"
#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace kalvo;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Wednesday, 12:00 UTC: London and New York are both open.
const QDateTime wednesdayNoon(QDate(2026, 11, 18), QTime(12, 0), QTimeZone::utc());

NewsItem headline(const QString &id, int minutesAgo, double score = 5)
{
    return {.id = id,
            .title = u"Headline "_s + id,
            .source = u"InvestingLive"_s,
            .url = u"https://example.org/"_s + id,
            .published = wednesdayNoon.addSecs(-60 * minutesAgo),
            .hash = id.toLatin1().toHex(),
            .score = score,
            .priority = 1};
}

struct Arrival
{
    QString id;
    int minutesAgo;
    double score;
};

} // namespace

Q_DECLARE_METATYPE(QList<Arrival>)
Q_DECLARE_METATYPE(test::ScriptedBackend::Step)

class TestAppState : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

    // The state against a scripted AI backend on loopback and, when asked
    // for, the market simulator (its time is the test clock); without it
    // every market source is a closed port.
    struct Harness
    {
        ManualClock clock{wednesdayNoon};
        sim::MarketSimulator markets{{.seed = 7, .newsPerMinute = 4, .now = [this] { return clock.now(); }}};
        test::ScriptedBackend backend;
        AppState state{clock};
        QStringList sounds;
        QStringList statuses;
        explicit Harness(bool withMarkets = false)
        {
            const QString base = withMarkets && markets.start() ? markets.baseUrl().toString() : u"http://127.0.0.1:9"_s;
            const QString endpoints = uR"({"base":"%1","backend":"%2"})"_s.arg(base, backend.base().toString());
            state.setEndpoints(Endpoints::fromJson(endpoints.toUtf8(), nullptr));
            state.setSoundPlayer([this](const QString &name) { sounds << name; });
            QObject::connect(&state, &AppState::statusChanged, &state, [this] { statuses << state.status(); });
        }
        // Start-up with a model that answers the probe and scoring switched on.
        bool startWithModel()
        {
            backend.script(test::ScriptedBackend::modelPath, {test::ScriptedBackend::modelText(u"pong"_s)});
            Config config;
            config.claudeApiKey = u"key"_s;
            config.alertMinScore = 7;
            return !ConfigFiles::save(config) && startAndWait();
        }
        void scriptModel(const QList<test::ScriptedBackend::Step> &steps)
        {
            backend.script(test::ScriptedBackend::modelPath, steps);
        }
        bool startAndWait()
        {
            QSignalSpy started(&state, &AppState::started);
            state.startIfNeeded();
            return started.wait(5000);
        }
    };

    QString dataDir() const { return m_dataDir.path() + u"/Kalvo"_s; }

private slots:
    void init()
    {
        QDir(dataDir()).removeRecursively();
        qputenv("KALVO_DATA_DIR", dataDir().toUtf8());
        qputenv("KALVO_BACKEND_TOKEN", "test-token");
    }

    void arrivingHeadlines_data()
    {
        QTest::addColumn<QList<Arrival>>("arrivals");
        QTest::addColumn<QStringList>("order");
        QTest::addColumn<QStringList>("sounds");

        QTest::newRow("first item plays the normal sound")
            << QList<Arrival>{{u"a"_s, 5, 5.0}} << QStringList{u"a"_s} << QStringList{u"Ping"_s};
        QTest::newRow("score 8 is high impact, 7.99 is not")
            << QList<Arrival>{{u"a"_s, 5, 7.99}, {u"b"_s, 4, 8.0}} << QStringList{u"b"_s, u"a"_s}
            << QStringList{u"Ping"_s, u"Hero"_s};
        QTest::newRow("older item is sorted in and stays silent")
            << QList<Arrival>{{u"a"_s, 5, 5.0}, {u"b"_s, 30, 9.0}, {u"c"_s, 10, 5.0}}
            << QStringList{u"a"_s, u"c"_s, u"b"_s} << QStringList{u"Ping"_s};
        QTest::newRow("known id is ignored even when newer")
            << QList<Arrival>{{u"a"_s, 5, 5.0}, {u"a"_s, 1, 9.0}} << QStringList{u"a"_s} << QStringList{u"Ping"_s};
        QTest::newRow("same age as the newest goes after it, silently")
            << QList<Arrival>{{u"a"_s, 5, 5.0}, {u"b"_s, 5, 9.0}} << QStringList{u"a"_s, u"b"_s}
            << QStringList{u"Ping"_s};
    }

    void arrivingHeadlines()
    {
        QFETCH(QList<Arrival>, arrivals);
        QFETCH(QStringList, order);
        QFETCH(QStringList, sounds);

        Harness h;
        for (const Arrival &arrival : arrivals)
            h.state.onNewsItem(headline(arrival.id, arrival.minutesAgo, arrival.score));
        QCOMPARE(test::ids(h.state.news()), order);
        QCOMPARE(h.sounds, sounds);
    }

    void soundNamesComeFromTheConfiguration()
    {
        Harness h;
        Config config;
        config.newsSoundNormal = u"Tink"_s;
        config.newsSoundHighImpact = u"Glass"_s;
        h.state.setConfig(config);
        h.state.onNewsItem(headline(u"a"_s, 5, 3));
        h.state.onNewsItem(headline(u"b"_s, 1, 9.5));
        QCOMPARE(h.sounds, (QStringList{u"Tink"_s, u"Glass"_s}));
    }

    // A full list has no room below its oldest item. (A newer one pushing the
    // oldest out is followed row by row in the list model's suite.)
    void fullListTakesNothingOlderThanItsLast()
    {
        Harness h;
        for (int i = 0; i < AppState::maxNews; ++i)
            h.state.onNewsItem(headline(QString::number(i), 10 + i));
        QSignalSpy inserted(&h.state, &AppState::newsInserted);
        h.state.onNewsItem(headline(u"too old"_s, 10000));
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(h.state.newsCount(), AppState::maxNews);
        QCOMPARE(h.state.news().last().id, u"199"_s);
    }

    // The newest stored headlines come first, then the probe walks the models
    // until one answers. Without a key, later arrivals are listed unscored.
    void startLoadsStoredNewsThenProbes()
    {
        QDir().mkpath(dataDir());
        {
            ManualClock clock(wednesdayNoon);
            DatabaseService db(dataDir() + u"/kalvo_trading.db"_s, clock);
            db.open().waitForFinished();
            for (int i = 0; i < 70; ++i)
                db.insert(headline(u"n%1"_s.arg((i * 37) % 70), (i * 37) % 70)).waitForFinished(); // shuffled ages
        }

        Harness h;
        using B = test::ScriptedBackend;
        h.scriptModel({B::failure(), B::failure(), B::modelText(u"pong"_s)});
        QVERIFY(h.startAndWait());
        QCOMPARE(h.state.newsCount(), AppState::storedNewsAtStart);
        QCOMPARE(h.state.news().first().id, u"n0"_s);
        QCOMPARE(h.state.news().last().id, u"n59"_s);
        QCOMPARE(h.statuses, (QStringList{u"Lade gespeicherte News…"_s, u"60 News aus Datenbank geladen"_s,
                                          u"Starte Dienste…"_s, u"✓ Claude bereit (3-5-haiku1022)"_s}));
        QCOMPARE(h.state.aiModel(), u"claude-3-5-haiku-20241022"_s);
        QVERIFY(h.sounds.isEmpty());

        h.state.onNewsItem(headline(u"new"_s, 0));
        QTest::qWait(100);
        QCOMPARE(h.state.newsCount(), AppState::storedNewsAtStart + 1);
        QCOMPARE(h.backend.bodies(B::modelPath).size(), 3); // the probes only
    }

    // Nothing to load, whether the folder is new or the database unusable: the start still completes.
    void startWithoutStoredNews_data()
    {
        QTest::addColumn<QByteArray>("database"); // no file when empty
        QTest::newRow("no data folder yet") << QByteArray();
        QTest::newRow("database not SQLite") << QByteArray(4096, '\x5a');
    }
    void startWithoutStoredNews()
    {
        QFETCH(QByteArray, database);
        const QString path = dataDir() + u"/kalvo_trading.db"_s;
        if (!database.isEmpty()) {
            QDir().mkpath(dataDir());
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(database) == database.size());
        }
        Harness h;
        QVERIFY(h.startAndWait());
        QCOMPARE(h.state.newsCount(), 0);
        QCOMPARE(h.statuses, (QStringList{u"Lade gespeicherte News…"_s, u"Starte Dienste…"_s,
                                          u"⚠ AI-Backend nicht erreichbar"_s}));
        QVERIFY(QFile::exists(path));
    }

    // However often it is asked for, one start runs; its session loop updates at
    // once and then every 30 s until stop. A later start runs the whole start-up again.
    void loopsRunFromOneStartUntilStopped()
    {
        Harness h;
        h.clock.setNow(QDateTime(QDate(2026, 11, 18), QTime(8, 59, 40), QTimeZone::utc()));
        QSignalSpy started(&h.state, &AppState::started);
        h.state.startIfNeeded();
        h.state.startIfNeeded();
        QVERIFY(started.wait(5000));
        QCOMPARE(h.clock.pendingSleepers(), 2); // scanner and sessions
        QTest::qWait(50); // give a second start, if any, a chance to finish too
        QCOMPARE(started.count(), 1);
        QCOMPARE(h.statuses.count(u"Starte Dienste…"_s), 1);
        QCOMPARE(h.state.sessions(), (QStringList{u"tokyo"_s, u"london"_s}));

        h.clock.advance(29s);
        QCOMPARE(h.state.sessions(), (QStringList{u"tokyo"_s, u"london"_s}));
        h.clock.advance(1s); // 09:00:10
        QCOMPARE(h.state.sessions(), QStringList{u"london"_s});
        QCOMPARE(h.state.sessionOverlap(), QString());

        h.state.stop();
        QVERIFY(!h.state.isRunning());
        QCOMPARE(h.clock.pendingSleepers(), 0);
        QCoreApplication::processEvents(); // the interrupted loops wake up and leave
        h.clock.advance(3h); // New York has opened, unnoticed
        QCOMPARE(h.state.sessions(), QStringList{u"london"_s});

        h.statuses.clear();
        QVERIFY(h.startAndWait());
        QVERIFY(h.statuses.contains(u"Starte Dienste…"_s));
        QCOMPARE(h.state.sessions(), (QStringList{u"london"_s, u"new_york"_s}));
    }

    void scoringOfArrivingHeadlines_data()
    {
        QTest::addColumn<test::ScriptedBackend::Step>("reply");
        QTest::addColumn<double>("storedScore"); // 0: the item left the list
        QTest::addColumn<QString>("status");
        using B = test::ScriptedBackend;
        const auto scored = [](double score, const QString &headline) {
            return B::modelText(uR"({"relevant":true,"score":%1,"headline":"%2","urgency":"now"})"_s.arg(score).arg(headline));
        };
        const QString ready = u"✓ Claude bereit (sonnet-4-5)"_s;
        QTest::newRow("score above ten is clamped, alert")
            << scored(12, u"Fed signals pause"_s) << 10.0 << u"⚡ [10/10] InvestingLive: Fed signals pause"_s;
        QTest::newRow("fraction is cut in the alert") << scored(8.9, u"EZB"_s) << 8.9 << u"⚡ [8/10] InvestingLive: EZB"_s;
        QTest::newRow("empty headline falls back to the title, first 70 characters")
            << scored(7, QString()) << 7.0 << u"⚡ [7/10] InvestingLive: "_s + QString(70, u'T');
        QTest::newRow("below the alert score: no status") << scored(6.9, u"x"_s) << 6.9 << ready;
        QTest::newRow("score zero is clamped to one") << scored(0, u"x"_s) << 1.0 << ready;
        QTest::newRow("irrelevant leaves the list") << B::modelText(uR"({"relevant":false})"_s) << 0.0 << ready;
        QTest::newRow("failed scoring leaves the list") << B::failure() << 0.0 << ready;
    }
    void scoringOfArrivingHeadlines()
    {
        QFETCH(test::ScriptedBackend::Step, reply);
        QFETCH(double, storedScore);
        Harness h;
        QVERIFY(h.startWithModel());
        h.scriptModel({reply});
        NewsItem item = headline(u"A"_s, 0, 3);
        item.title = QString(90, u'T');
        h.state.database()->insert(item).waitForFinished(); // as the news service does before handing it over
        QSignalSpy settled(&h.state, storedScore > 0 ? &AppState::newsUpdated : &AppState::newsRemoved);
        h.state.onNewsItem(item);
        QCOMPARE(h.state.newsCount(), 1); // listed at once, scored later
        QVERIFY(settled.wait(5000));
        QTEST(h.state.status(), "status");
        QCOMPARE(h.backend.models(), QStringList(2, u"claude-sonnet-4-5"_s)); // probe, then scoring with its model
        if (storedScore == 0) {
            QCOMPARE(h.state.newsCount(), 0);
            return;
        }
        QCOMPARE(h.state.news().first().score, storedScore);
        QCOMPARE(h.state.news().first().analysis->score, storedScore);
        QTRY_COMPARE(h.state.database()->loadRecent(1).result().value(0).score, storedScore);
    }

    void deepAnalysisKeepsTheQuickVerdict()
    {
        Harness h;
        QVERIFY(h.startWithModel());
        h.scriptModel({test::ScriptedBackend::modelText(
            uR"({"relevant":true,"score":6,"headline":"Quick","pairs":{"EUR/USD":"bearish"}})"_s)});
        h.state.onNewsItem(headline(u"A"_s, 0));
        QSignalSpy updated(&h.state, &AppState::newsUpdated);
        QVERIFY(updated.wait(5000));

        h.scriptModel({test::ScriptedBackend::modelText(
            uR"({"summary":"Lang","score":9,"macro":"Makro","risks":["R1"],"watch_next":"CPI"})"_s)});
        h.state.runDetailAnalysis(u"A"_s);
        QTRY_VERIFY(!h.state.property("isAnalyzingDetail").toBool());
        const NewsAnalysis &analysis = *h.state.news().first().analysis;
        QCOMPARE(analysis.headline, u"Quick"_s);
        QCOMPARE(analysis.score, 6.0);
        QCOMPARE(analysis.pairs.value(u"EUR/USD"_s), u"bearish"_s);
        QCOMPARE(analysis.summary, u"Lang"_s);
        QCOMPARE(analysis.risks, QStringList{u"R1"_s});
        QCOMPARE(h.state.selectedNewsId(), u"A"_s);
        QCOMPARE(h.state.status(), u"✓ Detail-Analyse: Headline A"_s);
    }

    // Failed requests are the main window's suite's: it clicks both buttons into one.
    void busyFlagsFallWithEachOutcome_data()
    {
        QTest::addColumn<QByteArray>("flag");
        QTest::addColumn<QList<test::ScriptedBackend::Step>>("modelReplies");
        QTest::addColumn<QList<test::ScriptedBackend::Step>>("speechReplies");
        QTest::addColumn<QString>("status");
        using B = test::ScriptedBackend;
        const B::Step briefing = B::modelText(uR"({"title":"T","briefing_text":"Heute ruhig.","key_points":["a"]})"_s);
        const B::Step audio = B::envelope({{"ok", true}, {"audioBase64", QString::fromLatin1(QByteArray("ID3").toBase64())}});
        QTest::newRow("briefing with audio") << QByteArray("isLoadingBriefing") << QList<B::Step>{briefing}
                                             << QList<B::Step>{audio}
                                             << u"✓ Live-Briefing bereit — drücke Play zum Abspielen"_s;
        QTest::newRow("briefing, speech fails") << QByteArray("isLoadingBriefing") << QList<B::Step>{briefing}
                                                << QList<B::Step>{B::failure()} << u"✓ Live-Briefing bereit (kein Audio)"_s;
        QTest::newRow("overview") << QByteArray("isLoadingOverview")
                                  << QList<B::Step>{B::modelText(uR"({"sentiment":"risk-on","themes":["Fed"]})"_s)}
                                  << QList<B::Step>{} << u"✓ Marktübersicht geladen"_s;
    }
    void busyFlagsFallWithEachOutcome()
    {
        QFETCH(QByteArray, flag);
        QFETCH(QList<test::ScriptedBackend::Step>, modelReplies);
        QFETCH(QList<test::ScriptedBackend::Step>, speechReplies);
        Harness h;
        h.state.onNewsItem(headline(u"A"_s, 0)); // so the briefing is asked for, not the fixed text
        QVERIFY(h.startWithModel());
        h.scriptModel(modelReplies);
        h.backend.script(test::ScriptedBackend::speechPath, speechReplies);
        if (flag == "isLoadingBriefing")
            h.state.loadLiveBriefing();
        else
            h.state.loadMarketOverview();
        QTRY_VERIFY(!h.state.property(flag.constData()).toBool());
        QTEST(h.state.status(), "status");
        QVERIFY(flag == "isLoadingBriefing" ? h.state.hasLiveBriefing() : h.state.hasMarketOverview());
    }

    void loopsDeliverFromTheMarkets()
    {
        Harness h(true);
        QVERIFY(h.startAndWait());
        QTRY_VERIFY_WITH_TIMEOUT(h.state.newsCount() > 0, 10000);
        QTRY_COMPARE_WITH_TIMEOUT(h.state.newsLastCheckedAt(), wednesdayNoon, 10000);
        QVERIFY(h.state.newsFetchHealthy());
        QTRY_VERIFY_WITH_TIMEOUT(h.state.calendarLoadedOnce(), 10000);
        QVERIFY(!h.state.calendar().isEmpty());
        QTRY_VERIFY_WITH_TIMEOUT(h.state.prices().value(h.state.config().marketPairs.value(0)).price > 0, 10000);

        // The scanner's first run comes ten seconds after the loops started.
        QSignalSpy scanned(&h.state, &AppState::scannerChanged);
        h.clock.advance(9s);
        QCOMPARE(scanned.count(), 0);
        h.clock.advance(1s);
        QCOMPARE(scanned.count(), 1);
        QVERIFY(!h.state.scanner().currencyStrength.isEmpty());
    }

    void pricesMissingFromADeliveryKeepTheirQuote()
    {
        Harness h;
        PriceData eur{.pair = u"EUR/USD"_s, .price = 1.08};
        const PriceData gbp{.pair = u"GBP/USD"_s, .price = 1.27};
        h.state.onPrices({{eur.pair, eur}, {gbp.pair, gbp}});
        eur.price = 1.09;
        h.state.onPrices({{eur.pair, eur}});
        QCOMPARE(h.state.prices().value(eur.pair).price, 1.09);
        QCOMPARE(h.state.prices().value(gbp.pair).price, 1.27);
    }
};

QTEST_GUILESS_MAIN(TestAppState)
#include "tst_appstate.moc"
