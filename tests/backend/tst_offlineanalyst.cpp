#include "../TestSupport.h"
#include "BackendClient.h"

#include "BriefingWriter.h"
#include "NewsFeeds.h"
#include "NewsSignals.h"
#include "OfflineAnalyst.h"
#include "PromptReader.h"
#include "ai/BriefingPrompts.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"
#include "core/MarketStatus.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QTest>

using namespace kalvo;
using namespace kalvo::backend;

namespace {

// The reply as the app takes it: a bare JSON object, no prose or code fence
// around it; an empty object otherwise.
QJsonObject answerTo(const QString &prompt)
{
    const std::optional<QString> reply = OfflineAnalyst::reply(prompt);
    return reply ? QJsonDocument::fromJson(reply->toUtf8()).object() : QJsonObject();
}

QStringList texts(const QJsonValue &value)
{
    QStringList result;
    for (const QJsonValue &element : value.toArray())
        result << element.toString();
    return result;
}

// A number written with a decimal point, as the levels of an analysis are.
double number(const QString &text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok ? value : qQNaN();
}

} // namespace

class TestOfflineAnalyst : public QObject
{
    Q_OBJECT

private slots:
    void refusesUnknownPrompts_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::newRow("scoring opening, nothing after the title") << u"Forex-Analyst. Bewerte diese News.\nTitel: x"_s;
        QTest::newRow("overview without its reply shape")
            << u"Erstelle eine kurze Marktübersicht (JSON):\nNews der letzten 2h:\n- [5/10] A (B)\nPaare: EUR/USD"_s;
        QTest::newRow("instrument without events block")
            << u"Du bist Senior Quantitative Analyst eines Tier-1 Hedgefonds.\nAnalysiere EUR/USD für einen "
               u"Trader der JETZT entscheiden muss.\n\nMARKTDATEN:\nKurs: 1.1 | Tageschange: +0.100%"_s;
    }
    void refusesUnknownPrompts()
    {
        QFETCH(QString, prompt);
        QCOMPARE(OfflineAnalyst::reply(prompt), std::nullopt);
    }

    void scoresHeadlinesByKeywords_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("minScore"); // 0: irrelevant
        QTest::addColumn<QString>("expected"); // urgency, category, pair=direction (empty: pair absent)

        QTest::newRow("surprise Fed cut") << u"Fed cuts rates by 50bp in surprise move"_s << 9
                                          << u"immediate central_bank EUR/USD=bullish"_s;
        QTest::newRow("US jobs beat") << u"US nonfarm payrolls beat expectations"_s << 6
                                      << u"hours employment EUR/USD=bearish"_s;
        QTest::newRow("yen intervention") << u"Bank of Japan intervention: yen surges"_s << 9
                                          << u"immediate central_bank USD/JPY=bearish"_s;
        QTest::newRow("soft data outweighs firm bets")
            << u"Euro slips as ECB rate cut bets firm after soft inflation data"_s << 9
            << u"immediate central_bank EUR/USD=bearish"_s;
        QTest::newRow("the first move counts, not the circumstances")
            << u"Gold slips from record high as Treasury yields rise"_s << 4 << u"hours commodities XAU/USD=bearish"_s;
        QTest::newRow("the instrument named first is the subject")
            << u"AUD/USD climbs to 0.6637 as ECB rate cut bets firm"_s << 6 << u"hours central_bank AUD/USD=bullish"_s;
        QTest::newRow("federal is not the Fed") << u"Federal budget talks stall in Congress"_s << 0 << QString();
        // What happened decides the category and the direction, not the first keyword.
        QTest::newRow("a stock index is equities, whatever the Fed did")
            << u"Stocks rise as Treasury yields fall after the FOMC decision"_s << 4 << u"hours equities USD/JPY=bullish"_s;
        QTest::newRow("a record on rate cut hopes is still equities")
            << u"S&P 500 hits record as rate cut hopes return"_s << 3 << u"hours equities USD/JPY=bullish"_s;
        QTest::newRow("yields are bonds") << u"Treasury yields climb ahead of the Fed decision"_s << 4
                                          << u"hours bonds EUR/USD=bearish"_s;
        QTest::newRow("a hot figure lifts its currency") << u"US CPI m/m 0.4% vs 0.3% expected"_s << 7
                                                         << u"hours inflation EUR/USD=bearish"_s;
        QTest::newRow("more unemployment weighs") << u"US Unemployment Rate 4.1% vs 3.9% expected"_s << 7
                                                  << u"hours employment EUR/USD=bullish"_s;
        QTest::newRow("a hawk saying cuts are not imminent")
            << u"Fed's Powell: rate cuts are not imminent"_s << 8 << u"hours central_bank USD/JPY=bullish"_s;
        QTest::newRow("a chart view") << u"Gold price forecast: XAU/USD buyers defend gains near $2,399.30"_s << 2
                                      << u"days technical XAU/USD=bullish"_s;
        QTest::newRow("oil moves the loonie") << u"Oil prices slide 2% as demand worries weigh"_s << 4
                                              << u"hours commodities USD/CAD=bullish"_s;
    }
    void scoresHeadlinesByKeywords()
    {
        QFETCH(QString, title);
        QFETCH(int, minScore);
        QFETCH(QString, expected);

        const QJsonObject answer = answerTo(NewsPrompts::quickScoring(test::news(0, title, u"Wire"_s)));
        if (minScore == 0) {
            QCOMPARE(answer, (QJsonObject{{u"relevant"_s, false}}));
            return;
        }
        QCOMPARE(answer.value("relevant"_L1), QJsonValue(true));
        const int score = answer.value("score"_L1).toInt();
        QVERIFY2(score >= minScore && score <= 10, qPrintable(QString::number(score)));
        const QString pair = expected.section(u' ', 2).section(u'=', 0, 0);
        QCOMPARE(u"%1 %2 %3=%4"_s.arg(answer.value("urgency"_L1).toString(), answer.value("category"_L1).toString(),
                                      pair, answer.value("pairs"_L1).toObject().value(pair).toString()),
                 expected);
        const QString headline = answer.value("headline"_L1).toString();
        QVERIFY2(!headline.isEmpty() && headline.size() <= 55, qPrintable(headline));
    }

    // The note says in German what happened, which currency it concerns,
    // which way and why, names the source and never just repeats the
    // English title. Its German headline reads back the same way.
    void notesExplainInGerman_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QStringList>("says");

        QTest::newRow("a release against its forecast")
            << u"US CPI m/m 0.4% vs 0.3% expected"_s
            << QStringList{u"Die Inflation in den USA fällt mit 0,4 % höher aus als erwartet (Prognose: 0,3 %)"_s,
                           u"stützt den US-Dollar, weil"_s, u"EUR/USD dürfte fallen"_s};
        QTest::newRow("a surprise cut")
            << u"Fed cuts rates by 50bp in surprise move"_s
            << QStringList{u"Die Fed senkt den Leitzins überraschend um 50 Basispunkte"_s, u"belastet den US-Dollar, weil"_s};
        QTest::newRow("a hawk")
            << u"ECB's Lagarde: inflation is still too high"_s
            << QStringList{u"falkenhafte Töne"_s, u"stützt den Euro, weil"_s, u"EUR/USD dürfte steigen"_s};
        QTest::newRow("a pair moved by its quote")
            << u"EUR/USD slips to 1.0812 as the dollar firms"_s
            << QStringList{u"EUR/USD fällt auf 1,0812, weil der US-Dollar fester tendiert"_s, u"stützt den US-Dollar"_s};
        QTest::newRow("oil") << u"Oil prices slide 2% as demand worries weigh"_s
                             << QStringList{u"Der Ölpreis fällt, weil Nachfragesorgen belasten"_s,
                                            u"belastet den Kanada-Dollar, weil Kanada als Ölexporteur"_s};
        QTest::newRow("a hike") << u"Surprise BoE rate hike sends the pound sharply higher"_s
                                << QStringList{u"Die BoE erhöht den Leitzins überraschend"_s,
                                               u"stützt das Pfund, weil hohe Zinsen länger Bestand haben dürften"_s};
        QTest::newRow("a dovish hold") << u"ECB holds rates at 4.00%, opens the door to a cut"_s
                                       << QStringList{u"Die EZB belässt den Leitzins bei 4,00 % und öffnet die Tür für Zinssenkungen"_s,
                                                      u"belastet den Euro"_s};
        QTest::newRow("a preview") << u"US CPI preview: forecast 0.3%; EUR/USD at 1.0850"_s
                                   << QStringList{u"Vor den Inflationsdaten aus den USA halten sich die Händler zurück; EUR/USD pendelt um 1,0850"_s,
                                                  u"in einer engen Spanne"_s};
        QTest::newRow("stocks") << u"Nasdaq falls 1.2% to 15,800.10 as tech weighs"_s
                                << QStringList{u"Die Aktienmärkte geben nach (Nasdaq)"_s,
                                               u"stützt den Yen, weil Anleger in sichere Häfen flüchten"_s};
        QTest::newRow("yields") << u"Treasury yields rise ahead of US CPI; 10-year at 4.512%"_s
                                << QStringList{u"Die Renditen der US-Staatsanleihen steigen"_s,
                                               u"stützt den US-Dollar, weil höhere Renditen Anlagen in US-Dollar attraktiver machen"_s};
        QTest::newRow("flight to safety") << u"Risk-off: yen and Swiss franc gain as Middle East tensions escalate"_s
                                          << QStringList{u"Die Anleger gehen auf Nummer sicher"_s, u"stützt den Yen"_s};
        QTest::newRow("a chart view") << u"EUR/USD Price Forecast: bears in control below 1.0850"_s
                                      << QStringList{u"Die Chartanalyse für EUR/USD sieht eine Abwärtstendenz"_s,
                                                     u"EUR/USD dürfte fallen"_s};
        QTest::newRow("weak jobs abroad")
            << u"Canadian Employment Change -21.9K vs -7.3K expected"_s
            << QStringList{u"Der Stellenaufbau in Kanada fällt mit -21.900 schwächer aus als erwartet"_s,
                           u"belastet den Kanada-Dollar"_s, u"USD/CAD dürfte steigen"_s};
    }
    void notesExplainInGerman()
    {
        QFETCH(QString, title);
        QFETCH(QStringList, says);
        const QJsonObject answer = answerTo(NewsPrompts::quickScoring(test::news(0, title, u"FXStreet"_s)));
        const QString analysis = answer.value("analysis"_L1).toString();
        for (const QString &phrase : says)
            QVERIFY2(analysis.contains(phrase), qPrintable(analysis));
        QVERIFY2(analysis.contains(u"meldet FXStreet"_s) && !analysis.contains(title), qPrintable(analysis));

        const QString headline = answer.value("headline"_L1).toString();
        QVERIFY2(headline.size() <= 55 && !headline.contains(title), qPrintable(headline));
        const QJsonObject pairs = answer.value("pairs"_L1).toObject();
        const QJsonObject reread =
            answerTo(NewsPrompts::quickScoring(test::news(0, headline, u"Kalvo"_s))).value("pairs"_L1).toObject();
        const QString pair = pairs.keys().value(0);
        QCOMPARE(reread.value(pair).toString(), pairs.value(pair).toString());
    }

    // What happened, as the rules read it from the kinds of headline the
    // wires (and the simulator) write: the kind of news, whose currency
    // and which way, the figures and the level.
    void readsWhatHappened_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("event");
        QTest::addColumn<QString>("expected"); // currency direction, then figures or instrument and level

        using enum NewsEvent;
        QTest::newRow("a release with figures") << u"US Non-Farm Employment Change 248K vs 213K expected"_s << int(Data)
                                                << u"USD bullish 248K/213K"_s;
        QTest::newRow("a miss in words") << u"UK inflation slows more than expected"_s << int(Data) << u"GBP bearish /"_s;
        QTest::newRow("a hold that signals patience") << u"BoE holds rates at 5.25%, signals no rush to cut"_s
                                                      << int(Decision) << u"GBP bullish 5.25%/"_s;
        QTest::newRow("market pricing") << u"Traders add to bets on RBNZ rate cuts, 65 bp priced by December"_s
                                        << int(Voice) << u"NZD bearish /"_s;
        QTest::newRow("a pair and its level") << u"GBP/JPY firms toward 190.50 as gilt yields climb"_s << int(Move)
                                              << u"GBP bullish GBP/JPY 190.50"_s;
        QTest::newRow("gold with its price") << u"Gold falls to $2,387.70 as risk appetite improves"_s << int(Commodity)
                                             << u"XAU bearish XAU/USD 2,387.70"_s;
        QTest::newRow("a preview waits") << u"USD/JPY holds +0.35% at 148.29 ahead of US nonfarm payrolls"_s
                                         << int(Preview) << u"USD neutral USD/JPY 148.29"_s;
        QTest::newRow("a warning from Tokyo") << u"Japan's top currency diplomat warns against speculative yen moves"_s
                                              << int(Intervention) << u"JPY bullish /"_s;
        QTest::newRow("the yuan fixing") << u"PBoC sets USD/CNY fixing at 7.1806, weaker than estimated"_s << int(Move)
                                         << u"CNY bearish /"_s;
        QTest::newRow("a rating") << u"S&P affirms Slovakia at AA-, outlook stable"_s << int(Geopolitics) << u" neutral /"_s;
        QTest::newRow("its own German headline") << u"US-Inflation über Prognose: US-Dollar gestützt"_s << int(Data)
                                                 << u"USD bullish /"_s;
    }
    void readsWhatHappened()
    {
        QFETCH(QString, title);
        QFETCH(int, event);
        QFETCH(QString, expected);
        const NewsSignal signal = readNewsSignal(title);
        QCOMPARE(int(signal.event), event);
        const QString detail = signal.level.isEmpty() ? signal.actual + u'/' + signal.forecast
                                                      : signal.instrument + u' ' + signal.level;
        QCOMPARE(u"%1 %2 %3"_s.arg(signal.currency, directionWord(signal.direction), detail), expected);
    }

    // Every headline of a simulated hour gets a note the app can show: a
    // German headline that fits its line, a category of the known set, and
    // an analysis that explains instead of repeating the wire.
    void notesForASimulatedHour()
    {
        const QDateTime from = test::utc(2024, 5, 10, 12);
        sim::SimulatorOptions options;
        options.now = [from] { return from; };
        const sim::NewsFeeds feeds(options);
        const QStringList categories{u"central_bank"_s, u"inflation"_s, u"employment"_s, u"growth"_s, u"geopolitics"_s,
                                     u"commodities"_s, u"equities"_s, u"bonds"_s, u"technical"_s, u"market"_s};
        QSet<QString> seen;
        int directed = 0;
        for (const sim::FeedHeadline &item : feeds.headlines(from, from.addSecs(3600))) {
            const QJsonObject answer = answerTo(NewsPrompts::quickScoring(test::news(0, item.title, u"Wire"_s, item.summary)));
            QVERIFY2(answer.value("relevant"_L1).toBool(), qPrintable(item.title));
            const QString headline = answer.value("headline"_L1).toString();
            const QString analysis = answer.value("analysis"_L1).toString();
            QVERIFY2(!headline.isEmpty() && headline.size() <= 55 && !analysis.contains(item.headline), qPrintable(item.title));
            QVERIFY2(analysis.endsWith(u'.') && analysis.contains(u"meldet Wire"_s), qPrintable(analysis));
            QVERIFY2(categories.contains(answer.value("category"_L1).toString()), qPrintable(item.title));
            seen.insert(answer.value("category"_L1).toString());
            directed += analysis.contains(u"stützt"_s) || analysis.contains(u"belastet"_s);
        }
        QVERIFY2(seen.size() >= 7, qPrintable(QStringList(seen.values()).join(u' ')));
        QVERIFY2(directed >= 120, qPrintable(QString::number(directed)));
    }

    // The deep analysis gives each pair the cause and the way it points,
    // and a strategy that trades it.
    void deepAnalysisExplainsEachPair()
    {
        NewsItem item = test::news(8, u"US CPI m/m 0.4% vs 0.3% expected"_s, u"FXStreet"_s);
        const QJsonObject answer = answerTo(NewsPrompts::deepAnalysis(item));
        const QJsonObject eurUsd = answer.value("pairs"_L1).toObject().value("EUR/USD"_L1).toObject();
        QCOMPARE(eurUsd.value("direction"_L1).toString(), u"bearish"_s);
        QCOMPARE(eurUsd.value("reasoning"_L1).toString(),
                 u"Treiber: die höher als erwartet ausgefallenen Inflationsdaten aus den USA – das spricht für fallende "
                 "Kurse in EUR/USD."_s);
        QCOMPARE(answer.value("strategy"_L1).toObject().value("bias"_L1).toString(), u"Short EUR/USD"_s);
        const QString summary = answer.value("summary"_L1).toString();
        QVERIFY2(summary.startsWith(u"Die Inflation in den USA fällt mit 0,4 % höher aus als erwartet"_s)
                     && summary.contains(u"meldet FXStreet"_s),
                 qPrintable(summary));
        QVERIFY(answer.value("macro"_L1).toString().contains(u"Inflation"_s));
    }

    void readsFieldsBackOutOfPrompts_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("expected"); // title|source|content, or the news, session, events or market read

        const QString trickyContent = u"Quote:\nQuelle: fake\nNur JSON, kein Markdown:\nstill content"_s;
        QTest::newRow("content that repeats the markers")
            << NewsPrompts::quickScoring(test::news(0, u"Yen (JPY) slides"_s, u"Reuters (via Google)"_s, trickyContent))
            << u"Yen (JPY) slides|Reuters (via Google)|"_s + trickyContent;
        QTest::newRow("overview news and pairs")
            << BriefingPrompts::marketOverview({test::news(6.9, u"Dollar (USD) firms"_s, u"WSJ"_s)},
                                               {u"GBP/USD"_s, u"XAU/USD"_s})
            << u"news 6|Dollar (USD) firms|WSJ pairs GBP/USD|XAU/USD"_s;
        QTest::newRow("session of the open briefing, all-day event")
            << BriefingPrompts::openMarketBriefing(MarketStatus::status(test::utc(2024, 5, 8, 14)), {},
                                                   test::sampleEvents())
            << u"session EU/US OVERLAP|London / New York — höchstes Volumen event Ganztägig|EUR|Holiday|Bank Holiday"_s;
        QTest::newRow("gold price and negative change")
            << InstrumentPrompts::instrumentAnalysis(u"XAU/USD"_s, {}, {}, 2034.567, -0.4567)
            << u"market XAU/USD|2034.6|-0.457"_s;
    }
    void readsFieldsBackOutOfPrompts()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, expected);
        const std::optional<ReadPrompt> read = readPrompt(prompt);
        QVERIFY(read);
        QStringList parts;
        if (!read->title.isEmpty())
            parts << read->title + u'|' + read->source + u'|' + read->content;
        for (const ListedNews &news : read->news)
            parts << u"news %1|%2|%3"_s.arg(QString::number(news.score), news.headline, news.source);
        if (!read->pairs.isEmpty())
            parts << u"pairs "_s + read->pairs.join(u'|');
        if (!read->sessionLabel.isEmpty())
            parts << u"session "_s + read->sessionLabel + u'|' + read->sessionDetail;
        if (read->events.size() > 1) {
            const ListedEvent event = read->events.value(1);
            parts << u"event "_s + QStringList{event.time, event.currency, event.impact, event.title}.join(u'|');
        }
        if (!read->instrument.isEmpty())
            parts << u"market %1|%2|%3"_s.arg(read->instrument, QString::number(read->price),
                                               QString::number(read->changePercent));
        QCOMPARE(parts.join(u' '), expected);
    }

    void briefingHasTheAskedLength_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QStringList>("named");   // headlines the text has to name
        QTest::addColumn<QStringList>("watchNext");
        QTest::addColumn<bool>("weekend");
        QTest::addColumn<QStringList>("says"); // besides the headlines

        QList<NewsItem> fourteenLong;
        QList<CalendarEvent> tenEvents;
        QStringList longWatch;
        const MarketStatus fridayEvening = MarketStatus::status(test::utc(2024, 5, 10, 20, 35)); // closes in 1h 25m
        const QString powell = u"Fed Chair Powell testifies before the Senate committee"_s;
        for (int i = 0; i < 14; ++i)
            fourteenLong.append(test::news(9.0,
                                           u"Global markets brace for a long week of central bank meetings, "
                                           u"inflation data and heavy bond supply everywhere %1"_s.arg(i),
                                           u"Reuters via Google News"_s));
        for (int i = 0; i < 10; ++i)
            tenEvents.append(test::event(u"1%1:00"_s.arg(i), u"USD"_s, CalendarEvent::Impact::High, powell));
        for (int i = 0; i < 3; ++i)
            longWatch << u"1%1:00 USD "_s.arg(i) + powell;

        QTest::newRow("open, long headlines everywhere")
            << BriefingPrompts::openMarketBriefing(fridayEvening, fourteenLong, tenEvents)
            << QStringList{u"Global markets brace for a long week of central bank meetings"_s} << longWatch << false
            << QStringList{u"Fed Chair Powell testifies before the Senate committee (USD, 10:00)"_s};
        // A dovish Fed on top, a hawkish ECB second: the why and the verdict in German.
        const QList<NewsItem> central{test::news(9, u"Fed cuts rates by 50bp in surprise move"_s, u"Reuters"_s),
                                      test::news(7, u"ECB's Lagarde: inflation is still too high"_s, u"FXStreet"_s)};
        QTest::newRow("open, two banks")
            << BriefingPrompts::openMarketBriefing(MarketStatus::status(test::utc(2024, 5, 8, 9)), central, {})
            << QStringList{central[0].title, central[1].title} << QStringList() << false
            << QStringList{u"EU SESSION"_s, u"Wichtigstes Thema: die überraschende Zinssenkung der Fed"_s,
                           u"belastet den US-Dollar, weil der Zinsvorteil schrumpft"_s,
                           u"Unterm Strich wirkt der Euro gestützt, der US-Dollar dagegen eher belastet"_s};
        QTest::newRow("weekend, nothing listed")
            << BriefingPrompts::weekendBriefing({}, {}) << QStringList() << QStringList() << true << QStringList();
    }
    void briefingHasTheAskedLength()
    {
        QFETCH(QString, prompt);
        QFETCH(QStringList, named);
        QFETCH(QStringList, watchNext);
        QFETCH(bool, weekend);
        QFETCH(QStringList, says);

        const QJsonObject answer = answerTo(prompt);
        const QString text = answer.value("briefing_text"_L1).toString();
        const int words = wordCount(text);
        QVERIFY2(words >= 110 && words <= 130, qPrintable(u"%1 words: %2"_s.arg(words).arg(text)));
        for (const QString &headline : named)
            QVERIFY2(text.contains(headline), qPrintable(headline));
        for (const QString &phrase : says)
            QVERIFY2(text.contains(phrase), qPrintable(u"%1 missing: %2"_s.arg(phrase, text)));
        const int titleWords = wordCount(answer.value("title"_L1).toString());
        QVERIFY(titleWords >= 1 && titleWords <= 6);
        QCOMPARE(texts(answer.value("key_points"_L1)).size(), 3);
        QCOMPARE(texts(answer.value("watch_next"_L1)), watchNext);
        QCOMPARE(text.contains(u"geschlossen"_s), weekend);
    }

    void overviewFollowsTheNews_data()
    {
        QTest::addColumn<QList<NewsItem>>("news");
        QTest::addColumn<QStringList>("pairs");
        QTest::addColumn<QString>("expected"); // sentiment, usd, eur, top pair
        QTest::addColumn<QString>("says");

        QTest::newRow("war and safe havens")
            << QList<NewsItem>{test::news(9, u"War escalates, investors flee to safe haven"_s, u"AP"_s),
                               test::news(7, u"Yen surges as panic spreads"_s, u"Bloomberg"_s)}
            << QStringList{u"EUR/USD"_s, u"USD/JPY"_s} << u"risk-off neutral neutral USD/JPY"_s
            << u"Die Stimmung ist risikoscheu, im Mittelpunkt: die Flucht in sichere Häfen"_s;
        QTest::newRow("stocks up, a hot US figure")
            << QList<NewsItem>{test::news(8, u"US CPI m/m 0.4% vs 0.3% expected"_s, u"FXStreet"_s),
                               test::news(5, u"Dow rises 300 points to 39,120"_s, u"CNBC"_s)}
            << QStringList{u"EUR/USD"_s, u"USD/JPY"_s} << u"risk-on bullish neutral USD/JPY"_s
            << u"Unterm Strich wirkt der US-Dollar gestützt, der Yen belastet"_s;
        QTest::newRow("no news") << QList<NewsItem>() << QStringList{u"GBP/USD"_s, u"EUR/USD"_s}
                                 << u"neutral neutral neutral GBP/USD"_s << u"frische Schlagzeilen fehlen"_s;
    }
    void overviewFollowsTheNews()
    {
        QFETCH(QList<NewsItem>, news);
        QFETCH(QStringList, pairs);
        QFETCH(QString, expected);
        QFETCH(QString, says);

        const QJsonObject answer = answerTo(BriefingPrompts::marketOverview(news, pairs));
        QStringList actual;
        for (const auto key : {"sentiment"_L1, "usd"_L1, "eur"_L1, "top_pair"_L1})
            actual << answer.value(key).toString();
        QCOMPARE(actual.join(u' '), expected);
        QVERIFY(!texts(answer.value("themes"_L1)).isEmpty());
        const QString overview = answer.value("overview"_L1).toString();
        QVERIFY(overview.count(u'.') >= 2);
        QVERIFY2(overview.contains(says), qPrintable(overview));
    }

    void instrumentLevelsMatchTheVerdict_data()
    {
        QTest::addColumn<QString>("instrument");
        QTest::addColumn<double>("price");
        QTest::addColumn<double>("change");
        QTest::addColumn<QString>("verdict");
        QTest::addColumn<int>("decimals"); // of the levels; -1: no levels

        QTest::newRow("EUR/USD after a dovish Fed") << u"EUR/USD"_s << 1.0855 << 0.3 << u"bullish"_s << 5;
        QTest::newRow("USD/JPY after a dovish Fed") << u"USD/JPY"_s << 151.234 << -0.5 << u"bearish"_s << 3;
        QTest::newRow("dollar index without quote") << u"DXY"_s << 0.0 << 0.0 << u"bearish"_s << -1;
    }
    void instrumentLevelsMatchTheVerdict()
    {
        QFETCH(QString, instrument);
        QFETCH(double, price);
        QFETCH(double, change);
        QFETCH(QString, verdict);
        QFETCH(int, decimals);

        const QList<NewsItem> dovishFed{test::news(9, u"Fed cuts rates in surprise move"_s, u"Reuters"_s)};
        const QJsonObject answer = answerTo(
            InstrumentPrompts::instrumentAnalysis(instrument, dovishFed, test::sampleEvents(), price, change));
        QCOMPARE(answer.value("verdict"_L1).toString(), verdict);
        const QString summary = answer.value("summary"_L1).toString();
        QVERIFY2(summary.contains(u"Treiber: die überraschende Zinssenkung der Fed"_s), qPrintable(summary));
        // The verdict's scenario is the likelier one.
        const QJsonObject scenarios = answer.value("scenarios"_L1).toObject();
        const auto probability = [&](QLatin1StringView key) {
            return scenarios.value(key).toObject().value("probability"_L1).toInt();
        };
        const int bullOverBear = probability("bull"_L1) - probability("bear"_L1);
        QVERIFY2(verdict == "bullish"_L1 ? bullOverBear > 0 : bullOverBear < 0,
                 qPrintable(QString::number(bullOverBear)));

        const QString stopText = answer.value("stop"_L1).toString();
        if (decimals < 0) {
            QCOMPARE(stopText, u"n/v"_s); // no quote: no invented levels
            return;
        }
        // The analyst only knows the price as the prompt writes it, to five digits.
        price = QString::asprintf("%.5g", price).toDouble();
        const double stop = number(stopText);
        const double target1 = number(answer.value("target_1"_L1).toString());
        const double target2 = number(answer.value("target_2"_L1).toString());
        const QStringList zone = answer.value("entry_zone"_L1).toString().split(u'-');
        QCOMPARE(zone.size(), 2);
        const double low = number(zone[0]);
        const double high = number(zone[1]);
        QCOMPARE(stopText.section(u'.', 1).size(), decimals);
        if (verdict == "bullish"_L1)
            QVERIFY(stop < low && low <= high && high <= price + 1e-9 && price < target1 && target1 < target2);
        else
            QVERIFY(stop > high && high >= low && low >= price - 1e-9 && price > target1 && target1 > target2);
        QVERIFY(answer.value("risk_reward"_L1).toString().startsWith(u"1:"_s));
    }
};

QTEST_GUILESS_MAIN(TestOfflineAnalyst)
#include "tst_offlineanalyst.moc"
