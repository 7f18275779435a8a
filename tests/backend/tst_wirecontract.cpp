// The app's own AI client against the backend in offline mode, over
// loopback: every request the app writes is understood, and every answer the
// backend gives is read by the app into a full record.

#include "../TestSupport.h"
#include "BackendClient.h"
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

using namespace kalvo;
using namespace kalvo::backend;

namespace {

const QString token = u"wire-5c0e81f2b7d94a36"_s;

const QDateTime wednesdayMorning = test::utc(2024, 5, 8, 10, 15); // market open, EU session
const QDateTime saturdayMorning = test::utc(2024, 5, 11, 9, 0);   // market closed

// One offline backend and the app's client pointed at it, the token handed
// over the way the app receives it. Like the app, the client probes for a
// model at start; `probed` holds one line for each request of the probe,
// `served` one for each request the backend served after that.
struct Wire
{
    explicit Wire(const QDateTime &now = wednesdayMorning, const QString &sentToken = token) : clock(now)
    {
        qputenv("KALVO_DATA_DIR", dataDir.path().toLocal8Bit()); // no token file from a real data folder
        qputenv("KALVO_BACKEND_TOKEN", sentToken.toUtf8());
        BackendOptions options;
        options.tokens = {token};
        options.log = [lines = served](const QString &line) { lines->append(line); };
        server = std::make_unique<BackendServer>(options);
        server->listen();
        client = std::make_unique<ClaudeService>(server->functionsUrl(), clock);
        startedWith = awaited(client->findWorkingModel());
        probed = std::exchange(*served, {});
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
    std::shared_ptr<QStringList> served = std::make_shared<QStringList>();
    std::unique_ptr<BackendServer> server;
    std::unique_ptr<ClaudeService> client;
    QString startedWith; // the model the start-up probe found
    QStringList probed;
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
        const NewsItem item = test::news(5, u"BoJ \"intervention\" {yen} surges"_s, u"Reuters"_s,
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
        NewsItem item = test::sampleNews().first();
        item.content = u"The Federal Reserve lowered its policy rate by half a point."_s;
        const std::optional<NewsAnalysis> a = wire.awaited(wire.client->analyzeNewsDetail(item));
        if (!a)
            return {};
        bool everyPair = !a->pairDetails.isEmpty();
        for (const PairDetail &view : a->pairDetails) {
            everyPair = everyPair && !view.direction.isEmpty() && !view.reasoning.isEmpty() && !view.movePips.isEmpty()
                && view.probability >= 0 && view.probability <= 100;
        }
        const PairDetail usdJpy = a->pairDetails.value(u"USD/JPY"_s);
        const TradeStrategy strategy = a->strategy.value_or(TradeStrategy());
        return {a->pairs.value(u"USD/JPY"_s), usdJpy.movePips, flag(everyPair && usdJpy.probability > 50),
                flag(a->summary.contains(u"Reuters"_s) && a->score >= 1 && a->score <= 10 && !a->macro.isEmpty()
                     && !a->watchNext.isEmpty()),
                QString::number(a->risks.size()),
                flag(!strategy.entry.isEmpty() && !strategy.stop.isEmpty() && !strategy.target.isEmpty()),
                strategy.bias};
    }
    case Family::Overview: {
        const QStringList pairs{u"GBP/USD"_s, u"EUR/USD"_s, u"USD/JPY"_s};
        const std::optional<MarketOverview> o =
            wire.awaited(wire.client->generateMarketOverview(test::sampleNews(), pairs));
        if (!o)
            return {};
        const QStringList directions{u"bullish"_s, u"bearish"_s, u"neutral"_s};
        return {o->sentiment, o->usd, o->eur, o->topPair,
                flag(directions.contains(o->gbp) && directions.contains(o->jpy)),
                flag(!o->themes.isEmpty() && o->overview.contains(u"Fed cuts rates"_s)
                     && o->overview.count(u'.') >= 2)};
    }
    case Family::Briefing: {
        const std::optional<LiveBriefing> b =
            wire.awaited(wire.client->generateLiveBriefing(test::sampleNews(), test::sampleEvents()));
        if (!b)
            return {};
        const int words = wordCount(b->text);
        const QList<NewsItem> news = test::sampleNews();
        return {flag(!b->title.isEmpty() && wordCount(b->title) <= 6 && b->title != u"Wochenende — Märkte geschlossen"_s
                     && !b->audioData),
                flag(words >= 110 && words <= 130),
                flag(b->text.contains(news[0].title) && b->text.contains(news[1].title)),
                b->text.contains(expected.value(3)) ? expected.value(3) : b->text, QString::number(b->keyPoints.size()),
                b->watchNext.join(u"; "_s)};
    }
    case Family::Instrument: {
        const std::optional<InstrumentAnalysis> a = wire.awaited(
            wire.client->analyzeInstrument(u"USD/JPY"_s, test::sampleNews(), test::sampleEvents(), 151.234, -0.4567));
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
    const auto fail = [&] {
        failed = true;
        loop.quit();
    };
    QObject::connect(&decoder, qOverload<QAudioDecoder::Error>(&QAudioDecoder::error), &loop, fail);
    QTimer::singleShot(20'000, &loop, fail);
    decoder.start();
    loop.exec();
    return failed || sampleRate == 0 ? -1 : double(frames) / sampleRate;
}

} // namespace

class TestWireContract : public QObject
{
    Q_OBJECT

private slots:
    // The probe tries every model, and an unknown token gets a 401 and nothing more for each.
    void findsNoModelForAnUnknownToken()
    {
        Wire wire(wednesdayMorning, u"wire-guess"_s);
        QCOMPARE(wire.startedWith, QString());
        QCOMPARE(wire.client->workingModel(), std::nullopt);
        QCOMPARE(wire.probed.size(), 5);
        for (const QString &line : std::as_const(wire.probed))
            QVERIFY2(line.contains(u" 401 "_s), qPrintable(line));
    }

    // The app scores every new headline with the model its start-up probe
    // found, as many at once as its own limit lets through when a feed
    // brings a batch; the backend's default rate limit must take all of them.
    void scoresABatchOfHeadlines()
    {
        Wire wire;
        const QList<NewsItem> news = test::sampleNews();
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
        // The probe stopped at the first model, which answered.
        QCOMPARE(wire.probed.size(), 1);
        QCOMPARE(wire.startedWith, u"claude-sonnet-4-5"_s);
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
        // A dovish Fed weakens the dollar: the trade is the euro against it.
        QTest::newRow("deep analysis")
            << int(Family::Deep) << wednesdayMorning
            << QStringList{u"bearish"_s, u"60-90"_s, yes, yes, u"2"_s, yes, u"Long EUR/USD"_s};
        // A dovish Fed and a hawkish ECB: the dollar down, the euro up.
        QTest::newRow("overview") << int(Family::Overview) << wednesdayMorning
                                  << QStringList{u"neutral"_s, u"bearish"_s, u"bullish"_s, u"EUR/USD"_s, yes, yes};
        // Phrases only the right branch's answer has; not one of the app's fixed stand-ins.
        const QString events =
            u"14:30 USD Non-Farm Employment Change; Ganztägig EUR Bank Holiday; 16:00 GBP BoE Gov Bailey Speaks"_s;
        QTest::newRow("briefing, market open") << int(Family::Briefing) << wednesdayMorning
                                               << QStringList{yes, yes, yes, u"EU SESSION"_s, u"3"_s, events};
        QTest::newRow("briefing, weekend") << int(Family::Briefing) << saturdayMorning
                                           << QStringList{yes, yes, yes, u"geschlossen"_s, u"3"_s, events};
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

    void speaksTheText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("one word") << u"Hallo."_s;
        QTest::newRow("one sentence")
            << u"Der Euro steigt nach den Aussagen der Europäischen Zentralbank deutlich an."_s;
        QTest::newRow("numbers, symbols and quotes") << u"EUR/USD bei 1,0855 (+0,23 %) — „Fed“ & <BoJ>."_s;
        // The app cuts what it sends at 4096 characters; the backend speaks all of it.
        QString longText;
        while (longText.size() < 5000)
            longText += u"Der Euro steigt. "_s;
        QTest::newRow("longer than the app sends") << longText;
    }

    void speaksTheText()
    {
        QFETCH(QString, text);
        const int spokenWords = wordCount(text.left(4096));
        Wire wire;
        const std::optional<QByteArray> audio = wire.awaited(wire.client->synthesizeSpeech(text));
        QVERIFY(audio);
        const test::Mp3Stream mp3 = test::readMp3(*audio);
        QVERIFY2(mp3.valid, qPrintable(mp3.problem));
        QVERIFY(mp3.mono);
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
