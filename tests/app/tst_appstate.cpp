#include "app/AppState.h"
#include "core/Clock.h"
#include "storage/DatabaseService.h"

#include <QCoroFuture>
#include <QCoroTask>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace kalvo;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Wednesday, 12:00 UTC: London and New York are both open.
const QDateTime wednesdayNoon(QDate(2026, 11, 18), QTime(12, 0), QTimeZone::utc());

NewsItem headline(const QString &id, int minutesAgo, double score = 5)
{
    NewsItem item;
    item.id = id;
    item.title = u"Headline "_s + id;
    item.source = u"InvestingLive"_s;
    item.url = u"https://example.org/"_s + id;
    item.published = wednesdayNoon.addSecs(-60 * minutesAgo);
    item.hash = id.toLatin1().toHex();
    item.score = score;
    item.priority = 1;
    return item;
}

QStringList ids(const QList<NewsItem> &items)
{
    QStringList result;
    for (const NewsItem &item : items)
        result << item.id;
    return result;
}

struct Arrival
{
    QString id;
    int minutesAgo;
    double score;
};

} // namespace

Q_DECLARE_METATYPE(QList<Arrival>)

class TestAppState : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

    struct Harness
    {
        ManualClock clock{wednesdayNoon};
        AppState state{clock};
        QStringList sounds;
        QStringList statuses;
        Harness()
        {
            state.setSoundPlayer([this](const QString &name) { sounds << name; });
            QObject::connect(&state, &AppState::statusChanged, &state, [this] { statuses << state.status(); });
        }
        bool startAndWait()
        {
            QSignalSpy started(&state, &AppState::started);
            state.startIfNeeded();
            return started.wait(5000);
        }
    };

    QString dataDir() const { return m_dataDir.path() + u"/Kalvo"_s; }

    void seedDatabase(const QList<NewsItem> &items)
    {
        QDir().mkpath(dataDir());
        ManualClock clock(wednesdayNoon);
        DatabaseService db(dataDir() + u"/kalvo_trading.db"_s, clock);
        db.open().waitForFinished();
        for (const NewsItem &item : items)
            db.insert(item).waitForFinished();
    }

private slots:
    void init()
    {
        QDir(dataDir()).removeRecursively();
        qputenv("KALVO_DATA_DIR", dataDir().toUtf8());
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
        QCOMPARE(ids(h.state.news()), order);
        QCOMPARE(h.sounds, sounds);
        QCOMPARE(h.state.newsCount(), order.size());
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

    void listIsCappedAtTwoHundred()
    {
        Harness h;
        for (int i = 0; i < AppState::maxNews; ++i)
            h.state.onNewsItem(headline(QString::number(i), 10 + i));
        QCOMPARE(h.state.newsCount(), AppState::maxNews);

        QSignalSpy inserted(&h.state, &AppState::newsInserted);
        QSignalSpy removed(&h.state, &AppState::newsRemoved);

        h.state.onNewsItem(headline(u"too old"_s, 10000));
        QCOMPARE(inserted.count(), 0);
        QCOMPARE(h.state.news().last().id, u"199"_s);

        h.state.onNewsItem(headline(u"newest"_s, 0));
        QCOMPARE(h.state.newsCount(), AppState::maxNews);
        QCOMPARE(h.state.news().first().id, u"newest"_s);
        QCOMPARE(h.state.news().last().id, u"198"_s);
        QCOMPARE(inserted.count(), 1);
        QCOMPARE(inserted.first().first().toInt(), 0);
        QCOMPARE(removed.count(), 1);
        QCOMPARE(removed.first().first().toInt(), AppState::maxNews);
    }

    void startLoadsTheNewestStoredItems()
    {
        QList<NewsItem> stored;
        for (int i = 0; i < 70; ++i)
            stored << headline(u"n%1"_s.arg((i * 37) % 70), (i * 37) % 70); // shuffled ages
        seedDatabase(stored);

        Harness h;
        QVERIFY(h.startAndWait());
        QCOMPARE(h.state.newsCount(), AppState::storedNewsAtStart);
        QCOMPARE(h.state.news().first().id, u"n0"_s);
        QCOMPARE(h.state.news().last().id, u"n59"_s);
        QCOMPARE(h.statuses, (QStringList{u"Lade gespeicherte News…"_s, u"60 News aus Datenbank geladen"_s,
                                          u"Starte Dienste…"_s, u"⚠ AI-Backend nicht erreichbar"_s}));
        QVERIFY(h.sounds.isEmpty());
    }

    void startWithEmptyDatabaseKeepsTheList()
    {
        Harness h;
        QVERIFY(h.startAndWait());
        QCOMPARE(h.state.newsCount(), 0);
        QCOMPARE(h.statuses, (QStringList{u"Lade gespeicherte News…"_s, u"Starte Dienste…"_s,
                                          u"⚠ AI-Backend nicht erreichbar"_s}));
        QVERIFY(QFile::exists(dataDir() + u"/kalvo_trading.db"_s));
    }

    void brokenFilesDoNotStopTheStart_data()
    {
        QTest::addColumn<QByteArray>("configBytes");
        QTest::addColumn<QByteArray>("databaseBytes");
        QTest::newRow("config not JSON") << QByteArray("{\"claude_api_key\": ") << QByteArray();
        QTest::newRow("config key of wrong type")
            << QByteArray(R"({"price_refresh_seconds": "15"})") << QByteArray();
        QTest::newRow("database not SQLite") << QByteArray() << QByteArray(4096, '\x5a');
    }

    void brokenFilesDoNotStopTheStart()
    {
        QFETCH(QByteArray, configBytes);
        QFETCH(QByteArray, databaseBytes);
        QDir().mkpath(dataDir());
        const auto write = [&](const QString &name, const QByteArray &bytes) {
            if (bytes.isEmpty())
                return;
            QFile file(dataDir() + u'/' + name);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(bytes);
        };
        write(u"config.json"_s, configBytes);
        write(u"kalvo_trading.db"_s, databaseBytes);

        Harness h;
        QVERIFY(h.startAndWait());
        QCOMPARE(h.state.config(), Config());
        QCOMPARE(h.state.newsCount(), 0);
        if (!databaseBytes.isEmpty()) {
            QFile db(dataDir() + u"/kalvo_trading.db"_s);
            QVERIFY(db.open(QIODevice::ReadOnly));
            QCOMPARE(db.readAll(), databaseBytes); // never overwritten
        }
    }

    void secondStartRequestIsIgnored()
    {
        Harness h;
        QSignalSpy started(&h.state, &AppState::started);
        h.state.startIfNeeded();
        h.state.startIfNeeded();
        QVERIFY(started.wait(5000));
        QTest::qWait(50); // give a second start, if any, a chance to finish too
        QCOMPARE(started.count(), 1);
        QCOMPARE(h.statuses.count(u"Starte Dienste…"_s), 1);
    }

    void sessionLoopRunsAtOnceThenEveryThirtySeconds()
    {
        Harness h;
        h.clock.setNow(QDateTime(QDate(2026, 11, 18), QTime(8, 59, 40), QTimeZone::utc()));
        QVERIFY(h.startAndWait());
        QCOMPARE(h.state.sessions(), (QStringList{u"tokyo"_s, u"london"_s}));

        h.clock.advance(29s);
        QCOMPARE(h.state.sessions(), (QStringList{u"tokyo"_s, u"london"_s}));
        h.clock.advance(1s); // 09:00:10
        QCOMPARE(h.state.sessions(), QStringList{u"london"_s});
        QCOMPARE(h.state.sessionOverlap(), QString());
    }

    void stopEndsTheLoops()
    {
        Harness h;
        h.clock.setNow(QDateTime(QDate(2026, 11, 18), QTime(8, 59, 40), QTimeZone::utc()));
        QVERIFY(h.startAndWait());
        QCOMPARE(h.clock.pendingSleepers(), 2); // scanner and sessions

        h.state.stop();
        QVERIFY(!h.state.isRunning());
        QCOMPARE(h.clock.pendingSleepers(), 0);
        QCoreApplication::processEvents(); // the interrupted loops wake up and leave
        h.clock.advance(60s);
        QCOMPARE(h.state.sessions(), (QStringList{u"tokyo"_s, u"london"_s}));

        // A later start runs the whole start-up again.
        h.statuses.clear();
        QVERIFY(h.startAndWait());
        QVERIFY(h.statuses.contains(u"Starte Dienste…"_s));
        QCOMPARE(h.state.sessions(), QStringList{u"london"_s});
    }

    void newsCycleIsPublished()
    {
        Harness h;
        QSignalSpy changed(&h.state, &AppState::newsCycleChanged);
        h.state.onNewsCycle(wednesdayNoon, true);
        QCOMPARE(h.state.newsLastCheckedAt(), wednesdayNoon);
        QVERIFY(h.state.newsFetchHealthy());
        QCOMPARE(changed.count(), 1);
    }

    void shortModelName()
    {
        QCOMPARE(AppState::shortModelName(u"claude-3-5-haiku-20241022"_s), u"3-5-haiku1022"_s);
        QCOMPARE(AppState::shortModelName(u"claude-sonnet-4-20250514"_s), u"sonnet-4-20250514"_s);
    }
};

QTEST_GUILESS_MAIN(TestAppState)
#include "tst_appstate.moc"
