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

enum class Family { Scoring, Deep, Overview, Briefing, Instrument };

QString flag(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

// What the app read from the answer to one request of `family`, as the facts
// the table lists; `expected` names the phrase a briefing has to contain.
QStringList readBack(Wire &wire, Family family, const QStringList &expected)
{
    switch (family) {
    case Family::Scoring: {
        const NewsItem item = headline(1, u"BoJ \"intervention\" {yen} surges"_s, 5,
                                       u"Line one\n\"quoted\" {\"json\":true}\n\tend"_s);
        const std::optional<NewsAnalysis> a = wire.awaited(wire.client->analyzeNews(item));
        if (!a)
            return {};
        return {a->urgency, a->pairs.value(u"USD/JPY"_s),
                flag(a->relevant && a->score >= 1 && a->score <= 10 && !a->headline.isEmpty()
                     && a->headline.size() <= 55),
                flag(a->analysis.contains(u"Reuters"_s) && !a->category.isEmpty() && !a->factors.isEmpty())};
    }
    case Family::Deep: {
        const NewsItem item = headline(1, u"Fed cuts rates by 50bp in surprise move"_s, 9,
                                       u"The Federal Reserve lowered its policy rate by half a point."_s);
        const std::optional<NewsAnalysis> a = wire.awaited(wire.client->analyzeNewsDetail(item));
        if (!a)
            return {};
        const PairDetail detail = a->pairDetails.value(u"USD/JPY"_s);
        return {a->pairs.value(u"USD/JPY"_s), detail.movePips,
                flag(!detail.reasoning.isEmpty() && detail.probability > 50 && detail.probability <= 100),
                flag(a->summary.contains(u"Reuters"_s) && a->strategy && !a->macro.isEmpty() && !a->watchNext.isEmpty()),
                QString::number(a->risks.size())};
    }
    case Family::Overview: {
        const QStringList pairs{u"GBP/USD"_s, u"EUR/USD"_s, u"USD/JPY"_s};
        const std::optional<MarketOverview> o = wire.awaited(wire.client->generateMarketOverview(currentNews(), pairs));
        if (!o)
            return {};
        const QStringList directions{u"bullish"_s, u"bearish"_s, u"neutral"_s};
        return {o->usd, o->eur,
                flag(QStringList({u"risk-on"_s, u"risk-off"_s, u"neutral"_s}).contains(o->sentiment)
                     && directions.contains(o->gbp) && directions.contains(o->jpy) && pairs.contains(o->topPair)),
                flag(!o->themes.isEmpty() && o->overview.contains(u"Fed cuts rates"_s))};
    }
    case Family::Briefing: {
        const std::optional<LiveBriefing> b =
            wire.awaited(wire.client->generateLiveBriefing(currentNews(), upcomingEvents()));
        if (!b)
            return {};
        const int words = wordCount(b->text);
        return {flag(!b->title.isEmpty() && wordCount(b->title) <= 6 && b->title != u"Wochenende — Märkte geschlossen"_s),
                flag(words >= 110 && words <= 130), flag(b->text.contains(u"Fed cuts rates by 50bp"_s)),
                b->text.contains(expected.value(3)) ? expected.value(3) : b->text, QString::number(b->keyPoints.size()),
                flag(b->watchNext.value(0).contains(u"Non-Farm Employment Change"_s) && !b->audioData)};
    }
    case Family::Instrument: {
        const std::optional<InstrumentAnalysis> a = wire.awaited(
            wire.client->analyzeInstrument(u"USD/JPY"_s, currentNews(), upcomingEvents(), 151.234, -0.4567));
        if (!a)
            return {};
        bool filled = !a->macroDrivers.isEmpty() && !a->risks.isEmpty();
        for (const QString &text : {a->entryZone, a->stop, a->target1, a->target2, a->riskReward, a->timeframe,
                                    a->flowAnalysis, a->positioning, a->momentum, a->bullTrigger, a->baseTrigger,
                                    a->bearTrigger})
            filled = filled && !text.isEmpty();
        return {a->verdict, flag(a->confidence > 0 && a->confidence <= 100),
                QString::number(a->bullProb + a->baseProb + a->bearProb),
                flag(a->bullProb > 0 && a->baseProb > 0 && a->bearProb > 0), flag(filled),
                flag(a->summary.contains(u"USD/JPY"_s) && a->catalysts.value(0).contains(u"USD"_s))};
    }
    }
    return {};
}

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
    }

    void probesForAModel()
    {
        QFETCH(QString, sentToken);
        QFETCH(QString, model);
        QFETCH(int, requests);
        Wire wire(wednesdayMorning, Probe::Never);
        qputenv("KALVO_BACKEND_TOKEN", sentToken.toUtf8());

        QCOMPARE(wire.awaited(wire.client->findWorkingModel()), model);
        QCOMPARE(wire.client->workingModel().value_or(QString()), model);
        QTRY_COMPARE(wire.served->size(), requests);
        if (!model.isEmpty())
            return;
        for (const QString &line : std::as_const(*wire.served))
            QVERIFY2(line.contains(u" 401 "_s), qPrintable(line));
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

    // Each request family the way the app sends it, each answer read back
    // into a full record by the app with one model call.
    void answersEveryFamily_data()
    {
        QTest::addColumn<int>("family");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QStringList>("facts");
        const QString yes = u"true"_s;
        QTest::newRow("scoring, quotes, braces and line breaks in the text")
            << int(Family::Scoring) << wednesdayMorning << QStringList{u"immediate"_s, u"bearish"_s, yes, yes};
        QTest::newRow("deep analysis") << int(Family::Deep) << wednesdayMorning
                                       << QStringList{u"bearish"_s, u"60-90"_s, yes, yes, u"2"_s};
        // A dovish Fed and a hawkish ECB: the dollar down, the euro up.
        QTest::newRow("overview") << int(Family::Overview) << wednesdayMorning
                                  << QStringList{u"bearish"_s, u"bullish"_s, yes, yes};
        // Phrases only the right branch's answer has; not one of the app's fixed stand-ins.
        QTest::newRow("briefing, market open") << int(Family::Briefing) << wednesdayMorning
                                               << QStringList{yes, yes, yes, u"EU SESSION"_s, u"3"_s, yes};
        QTest::newRow("briefing, weekend") << int(Family::Briefing) << saturdayMorning
                                           << QStringList{yes, yes, yes, u"geschlossen"_s, u"3"_s, yes};
        QTest::newRow("instrument USD/JPY after a dovish Fed")
            << int(Family::Instrument) << wednesdayMorning << QStringList{u"bearish"_s, yes, u"100"_s, yes, yes, yes};
    }
    void answersEveryFamily()
    {
        QFETCH(int, family);
        QFETCH(QDateTime, now);
        QFETCH(QStringList, facts);
        Wire wire(now);
        const QStringList read = readBack(wire, Family(family), facts);
        QCOMPARE(read, facts);
        QCOMPARE(wire.modelCalls(), 1); // with the model the start-up probe found; no other was tried
    }

    // The app cuts what it sends at 4096 characters; the backend speaks all of it.
    void speaksTheBriefing()
    {
        QString text;
        while (text.size() < 5000)
            text += u"Der Euro steigt. "_s;
        const int spokenWords = wordCount(text.left(4096));
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
