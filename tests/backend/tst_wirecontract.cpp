// The app's own AI client against the backend in offline mode, over
// loopback: every request the app writes is understood, and every answer the
// backend gives is read by the app into a full record.

#include "../TestSupport.h"
#include "Mp3Frames.h"

#include "BackendServer.h"
#include "BriefingWriter.h"
#include "ai/ClaudeService.h"
#include "core/Clock.h"

#include <QAudioDecoder>
#include <QBuffer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <numeric>

using namespace kalvo;
using namespace kalvo::backend;

namespace {

const QString token = u"wire-5c0e81f2b7d94a36"_s;

const QDateTime wednesdayMorning = test::utc(2024, 5, 8, 10, 15); // market open, EU session
const QDateTime saturdayMorning = test::utc(2024, 5, 11, 9, 0);   // market closed

NewsItem headline(int n, const QString &title, double score, const QString &content = {})
{
    return {.id = u"wire-%1"_s.arg(n), .title = title, .source = u"Reuters"_s,
            .url = u"https://example.org/news/%1"_s.arg(n), .published = wednesdayMorning.addSecs(-600 * n),
            .content = content, .hash = u"hash-%1"_s.arg(n), .score = score};
}

QList<NewsItem> currentNews()
{
    return {headline(1, u"Fed cuts rates by 50bp in surprise move"_s, 9),
            headline(2, u"ECB's Lagarde signals further rate hikes"_s, 7.4),
            headline(3, u"UK inflation slows more than expected"_s, 6), headline(4, u"Gold climbs to record high"_s, 4)};
}

CalendarEvent event(int n, const QString &time, const QString &currency, CalendarEvent::Impact impact,
                    const QString &title)
{
    return {.id = u"event-%1"_s.arg(n), .time = u"2024-05-08T12:30:00Z"_s, .timeDisplay = time, .currency = currency,
            .country = currency, .event = title, .impact = impact};
}

QList<CalendarEvent> upcomingEvents()
{
    return {event(1, u"14:30"_s, u"USD"_s, CalendarEvent::Impact::High, u"Non-Farm Employment Change"_s),
            event(2, u"16:00"_s, u"GBP"_s, CalendarEvent::Impact::Medium, u"BoE Gov Bailey Speaks"_s),
            event(3, u"Ganztägig"_s, u"EUR"_s, CalendarEvent::Impact::Holiday, u"Bank Holiday"_s)};
}

enum class Probe { AtStart, Never };

// One offline backend and the app's client pointed at it, the token handed
// over the way the app receives it. Like the app, the client probes for a
// model at start, unless told not to; `served` then holds one line for each
// request the backend served after that.
struct Wire
{
    explicit Wire(const QDateTime &now = wednesdayMorning, Probe probe = Probe::AtStart) : clock(now)
    {
        qputenv("KALVO_DATA_DIR", dataDir.path().toLocal8Bit()); // no token file from a real data folder
        qputenv("KALVO_BACKEND_TOKEN", token.toUtf8());
        BackendOptions options;
        options.tokens = {token};
        options.log = [lines = served](const QString &line) { lines->append(line); };
        server = std::make_unique<BackendServer>(options);
        server->listen();
        client = std::make_unique<ClaudeService>(server->functionsUrl(), clock);
        if (probe == Probe::AtStart) {
            startedWith = awaited(client->findWorkingModel());
            served->clear();
        }
    }
    ~Wire() { qunsetenv("KALVO_BACKEND_TOKEN"); }

    template<typename T>
    T awaited(QCoro::Task<T> &&task)
    {
        return QCoro::waitFor(std::move(task));
    }
    qsizetype modelCalls() const { return served->filter(u"/_functions/aiClaude 200 "_s).size(); }

    QTemporaryDir dataDir;
    ManualClock clock;
    QString startedWith; // the model the start-up probe found
    std::shared_ptr<QStringList> served = std::make_shared<QStringList>();
    std::unique_ptr<BackendServer> server;
    std::unique_ptr<ClaudeService> client;
};

// The duration of `mp3` as Qt's own audio decoder plays it, or a negative
// number when it cannot decode it.
double decodedSeconds(QByteArray mp3)
{
    QBuffer source(&mp3);
    source.open(QIODevice::ReadOnly);
    QAudioDecoder decoder;
    decoder.setSourceDevice(&source);
    qint64 frames = 0;
    int sampleRate = 0;
    bool failed = false;
    QEventLoop loop;
    QObject::connect(&decoder, &QAudioDecoder::bufferReady, &loop, [&] {
        const QAudioBuffer buffer = decoder.read();
        frames += buffer.frameCount();
        sampleRate = buffer.format().sampleRate();
    });
    QObject::connect(&decoder, &QAudioDecoder::finished, &loop, &QEventLoop::quit);
    QObject::connect(&decoder, qOverload<QAudioDecoder::Error>(&QAudioDecoder::error), &loop, [&] {
        failed = true;
        loop.quit();
    });
    QTimer::singleShot(20'000, &loop, [&] {
        failed = true;
        loop.quit();
    });
    decoder.start();
    loop.exec();
    return failed || sampleRate == 0 ? -1 : double(frames) / sampleRate;
}

} // namespace

class TestWireContract : public QObject
{
    Q_OBJECT

private slots:
    void probesForAModel_data()
    {
        QTest::addColumn<QString>("sentToken");
        QTest::addColumn<QString>("model");
        QTest::addColumn<int>("requests");
        QTest::newRow("the first model answers") << token << u"claude-sonnet-4-5"_s << 1;
        QTest::newRow("an unknown token gets no model") << u"wire-guess"_s << QString() << 5;
        QTest::newRow("no token: nothing is sent") << QString() << QString() << 0;
    }

    void probesForAModel()
    {
        QFETCH(QString, sentToken);
        QFETCH(QString, model);
        QFETCH(int, requests);
        Wire wire(wednesdayMorning, Probe::Never);
        if (sentToken.isEmpty())
            qunsetenv("KALVO_BACKEND_TOKEN");
        else
            qputenv("KALVO_BACKEND_TOKEN", sentToken.toUtf8());

        QCOMPARE(wire.awaited(wire.client->findWorkingModel()), model);
        QCOMPARE(wire.client->workingModel().value_or(QString()), model);
        QTRY_COMPARE(wire.served->size(), requests);
        if (!model.isEmpty())
            return;
        for (const QString &line : std::as_const(*wire.served))
            QVERIFY2(line.contains(u" 401 "_s), qPrintable(line));
    }

    void scoresHeadlines_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("pair");      // one instrument the answer has to name...
        QTest::addColumn<QString>("direction"); // ...with this direction; empty: not relevant

        QTest::newRow("surprise Fed cut")
            << u"Fed cuts rates by 50bp in surprise move"_s
            << u"The Federal Reserve lowered its policy rate; the dollar slid."_s << u"EUR/USD"_s << u"bullish"_s;
        QTest::newRow("quotes, braces and line breaks in the text")
            << u"BoJ \"intervention\" {yen} surges"_s << u"Line one\n\"quoted\" {\"json\":true}\n\tend"_s
            << u"USD/JPY"_s << u"bearish"_s;
        QTest::newRow("not about markets") << u"Celebrity chef opens restaurant in Paris"_s << u"A new menu."_s
                                           << QString() << QString();
    }
    void scoresHeadlines()
    {
        QFETCH(QString, title);
        QFETCH(QString, content);
        QFETCH(QString, pair);
        QFETCH(QString, direction);
        Wire wire;
        const std::optional<NewsAnalysis> analysis = wire.awaited(wire.client->analyzeNews(headline(1, title, 5, content)));
        QVERIFY(analysis);
        QCOMPARE(wire.modelCalls(), 1); // with the model the start-up probe found
        if (direction.isEmpty()) {
            QCOMPARE(*analysis, NewsAnalysis{.relevant = false});
            return;
        }
        QVERIFY(analysis->relevant);
        QCOMPARE(analysis->urgency, u"immediate"_s);
        QVERIFY2(analysis->score >= 1 && analysis->score <= 10, qPrintable(QString::number(analysis->score)));
        QVERIFY(!analysis->headline.isEmpty() && analysis->headline.size() <= 55);
        QVERIFY(analysis->analysis.contains(u"Reuters"_s));
        QCOMPARE(analysis->pairs.value(pair), direction);
        QVERIFY(!analysis->category.isEmpty() && !analysis->factors.isEmpty());
    }

    // The app scores every new headline with the model its start-up probe
    // found, as many at once as its own limit lets through when a feed
    // brings a batch; the backend's default rate limit must take all of them.
    void scoresABatchOfHeadlines()
    {
        Wire wire;
        const QList<NewsItem> news = currentNews();
        const int batch = ClaudeService::maxRequestsPerMinute - 1;
        std::vector<QCoro::Task<std::optional<NewsAnalysis>>> scorings;
        for (int i = 0; i < batch; ++i)
            scorings.push_back(wire.client->analyzeNews(news[i % news.size()]));
        for (QCoro::Task<std::optional<NewsAnalysis>> &scoring : scorings) {
            const std::optional<NewsAnalysis> analysis = wire.awaited(std::move(scoring));
            // On failure: the first refusal the backend logged.
            QVERIFY2(analysis && analysis->relevant, qPrintable(wire.served->filter(u"ms ("_s).value(0)));
        }
        const std::optional<NewsAnalysis> afterwards = wire.awaited(wire.client->analyzeNews(news.first()));
        QVERIFY(afterwards && afterwards->relevant);
        QCOMPARE(wire.modelCalls(), batch + 1);
        QCOMPARE(wire.client->workingModel(), std::optional<QString>(wire.startedWith));
    }

    void analysesAHeadlineInDepth()
    {
        Wire wire;
        const NewsItem item = headline(1, u"Fed cuts rates by 50bp in surprise move"_s, 9,
                                       u"The Federal Reserve lowered its policy rate by half a point."_s);
        const std::optional<NewsAnalysis> analysis = wire.awaited(wire.client->analyzeNewsDetail(item));
        QVERIFY(analysis);
        QCOMPARE(wire.modelCalls(), 1); // the strongest model answered; no other was tried
        QVERIFY(analysis->summary.contains(u"Reuters"_s));
        QCOMPARE(analysis->pairs.value(u"USD/JPY"_s), u"bearish"_s);
        const PairDetail detail = analysis->pairDetails.value(u"USD/JPY"_s);
        QCOMPARE(detail.movePips, u"60-90"_s);
        QVERIFY(!detail.reasoning.isEmpty() && detail.probability > 50 && detail.probability <= 100);
        QVERIFY(analysis->strategy);
        QVERIFY2(analysis->strategy->bias.startsWith(u"Long "_s) || analysis->strategy->bias.startsWith(u"Short "_s),
                 qPrintable(analysis->strategy->bias));
        QVERIFY(!analysis->macro.isEmpty() && !analysis->watchNext.isEmpty());
        QCOMPARE(analysis->risks.size(), 2);
    }

    void overviewsTheMarket()
    {
        Wire wire;
        const QStringList pairs{u"GBP/USD"_s, u"EUR/USD"_s, u"USD/JPY"_s};
        const std::optional<MarketOverview> overview =
            wire.awaited(wire.client->generateMarketOverview(currentNews(), pairs));
        QVERIFY(overview);
        const QStringList directions{u"bullish"_s, u"bearish"_s, u"neutral"_s};
        QVERIFY(QStringList({u"risk-on"_s, u"risk-off"_s, u"neutral"_s}).contains(overview->sentiment));
        QVERIFY(directions.contains(overview->gbp) && directions.contains(overview->jpy));
        // A dovish Fed and a hawkish ECB: the dollar down, the euro up.
        QCOMPARE(overview->usd, u"bearish"_s);
        QCOMPARE(overview->eur, u"bullish"_s);
        QVERIFY(pairs.contains(overview->topPair));
        QVERIFY(!overview->themes.isEmpty());
        QVERIFY2(overview->overview.contains(u"Fed cuts rates"_s), qPrintable(overview->overview));
    }

    void writesTheBriefing_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("mentions"); // a phrase only the right branch's answer has
        QTest::newRow("market open") << wednesdayMorning << u"EU SESSION"_s;
        QTest::newRow("weekend") << saturdayMorning << u"geschlossen"_s;
    }

    void writesTheBriefing()
    {
        QFETCH(QDateTime, now);
        QFETCH(QString, mentions);
        Wire wire(now);
        const std::optional<LiveBriefing> briefing =
            wire.awaited(wire.client->generateLiveBriefing(currentNews(), upcomingEvents()));
        QVERIFY(briefing);
        // An answer of the backend, not one of the app's fixed stand-ins.
        QCOMPARE(wire.modelCalls(), 1);
        QVERIFY(!briefing->title.isEmpty() && wordCount(briefing->title) <= 6);
        QVERIFY(briefing->title != u"Wochenende — Märkte geschlossen"_s);
        const int words = wordCount(briefing->text);
        QVERIFY2(words >= 110 && words <= 130, qPrintable(u"%1 words: %2"_s.arg(words).arg(briefing->text)));
        QVERIFY2(briefing->text.contains(u"Fed cuts rates by 50bp"_s), qPrintable(briefing->text));
        QVERIFY2(briefing->text.contains(mentions), qPrintable(briefing->text));
        QCOMPARE(briefing->keyPoints.size(), 3);
        QVERIFY(briefing->watchNext.value(0).contains(u"Non-Farm Employment Change"_s));
        QVERIFY(!briefing->audioData);
    }

    void analysesInstruments_data()
    {
        QTest::addColumn<QString>("pair");
        QTest::addColumn<double>("price");
        QTest::addColumn<double>("change");
        QTest::addColumn<QString>("verdict");
        QTest::newRow("USD/JPY after a dovish Fed") << u"USD/JPY"_s << 151.234 << -0.4567 << u"bearish"_s;
        QTest::newRow("gold without a quote") << u"XAU/USD"_s << 0.0 << 0.0 << u"bullish"_s;
    }
    void analysesInstruments()
    {
        QFETCH(QString, pair);
        QFETCH(double, price);
        QFETCH(double, change);
        QFETCH(QString, verdict);
        Wire wire;
        const std::optional<InstrumentAnalysis> analysis =
            wire.awaited(wire.client->analyzeInstrument(pair, currentNews(), upcomingEvents(), price, change));
        QVERIFY(analysis);
        QCOMPARE(wire.modelCalls(), 1);
        QCOMPARE(analysis->verdict, verdict);
        QVERIFY(analysis->confidence > 0 && analysis->confidence <= 100);
        QCOMPARE(analysis->bullProb + analysis->baseProb + analysis->bearProb, 100);
        QVERIFY(analysis->bullProb > 0 && analysis->baseProb > 0 && analysis->bearProb > 0);
        QVERIFY(!analysis->bullTrigger.isEmpty() && !analysis->baseTrigger.isEmpty() && !analysis->bearTrigger.isEmpty());
        QVERIFY(analysis->summary.contains(pair));
        for (const QString &text : {analysis->entryZone, analysis->stop, analysis->target1, analysis->target2,
                                    analysis->riskReward, analysis->timeframe, analysis->flowAnalysis,
                                    analysis->positioning, analysis->momentum})
            QVERIFY(!text.isEmpty());
        QVERIFY(!analysis->macroDrivers.isEmpty() && !analysis->risks.isEmpty());
        QVERIFY(analysis->catalysts.value(0).contains(u"USD"_s));
    }

    void speaksTheBriefing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("spokenWords"); // of what the app sends: it cuts at 4096 characters

        Wire wire;
        const std::optional<LiveBriefing> briefing =
            wire.awaited(wire.client->generateLiveBriefing(currentNews(), upcomingEvents()));
        QVERIFY(briefing);
        QTest::newRow("the briefing it wrote") << briefing->text << wordCount(briefing->text);
        QString overlong;
        while (overlong.size() < 5000)
            overlong += u"Der Euro steigt. "_s;
        QTest::newRow("a text the app has to cut") << overlong << wordCount(overlong.left(4096));
    }

    void speaksTheBriefing()
    {
        QFETCH(QString, text);
        QFETCH(int, spokenWords);
        Wire wire;
        const std::optional<QByteArray> audio = wire.awaited(wire.client->synthesizeSpeech(text));
        QVERIFY(audio);
        const test::Mp3Stream mp3 = test::readMp3(*audio);
        QVERIFY2(mp3.valid, qPrintable(mp3.problem));
        // Between a hurried 260 and a slow 90 words a minute, plus the final pause.
        QVERIFY2(mp3.seconds >= spokenWords * 60.0 / 260 && mp3.seconds <= spokenWords * 60.0 / 90 + 1.5,
                 qPrintable(u"%1 s for %2 words"_s.arg(mp3.seconds).arg(spokenWords)));
        // A real decoder plays all of it: its samples add up to the frames'
        // duration, less at most the encoder's delay and padding.
        const double played = decodedSeconds(*audio);
        QVERIFY2(played > mp3.seconds - 0.2 && played <= mp3.seconds,
                 qPrintable(u"decoded %1 s of %2 s"_s.arg(played).arg(mp3.seconds)));
    }
};

QTEST_GUILESS_MAIN(TestWireContract)
#include "tst_wirecontract.moc"
