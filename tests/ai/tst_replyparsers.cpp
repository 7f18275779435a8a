#include "../TestSupport.h"

#include "ai/BriefingPrompts.h"
#include "ai/ExtractJson.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"

using namespace kalvo;

namespace {

const QString quickObject = uR"({"relevant":true,"score":8,"urgency":"immediate","headline":"EZB senkt","analysis":"Zinsen runter.","pairs":{"EUR/USD":"bearish"},"category":"central_bank","factors":["Zinsen"]})"_s;

NewsAnalysis quickAnalysis()
{
    NewsAnalysis analysis;
    analysis.score = 8;
    analysis.urgency = u"immediate"_s;
    analysis.headline = u"EZB senkt"_s;
    analysis.analysis = u"Zinsen runter."_s;
    analysis.pairs = {{u"EUR/USD"_s, u"bearish"_s}};
    analysis.category = u"central_bank"_s;
    analysis.factors = {u"Zinsen"_s};
    return analysis;
}

NewsAnalysis deepAnalysis()
{
    NewsAnalysis analysis;
    analysis.summary = u"Lage."_s;
    analysis.score = 7.5;
    analysis.pairs = {{u"EUR/USD"_s, u"bearish"_s}, {u"USD/JPY"_s, u"neutral"_s}};
    analysis.pairDetails = {{u"EUR/USD"_s, {u"bearish"_s, u"Zinsdifferenz"_s, u"30-50"_s, 70}},
                            {u"USD/JPY"_s, {QString(), u"ohne Richtung"_s, QString(), 0}}};
    analysis.strategy = TradeStrategy{u"Short EUR/USD"_s, QString(), QString(), QString()};
    analysis.macro = u"Makro."_s;
    analysis.risks = {u"Risiko1"_s, u"Risiko2"_s};
    analysis.watchNext = u"CPI"_s;
    return analysis;
}

NewsAnalysis with(NewsAnalysis analysis, const std::function<void(NewsAnalysis &)> &change)
{
    change(analysis);
    return analysis;
}

} // namespace

class TestReplyParsers : public QObject
{
    Q_OBJECT

private slots:
    void extractJSON_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<bool>("found");
        QTest::newRow("bare object") << u"{\"a\":1}"_s << true;
        QTest::newRow("blank lines around") << u"\n  \t{\"a\":1}\n\n "_s << true;
        QTest::newRow("json fence on own lines") << u"```json\n{\"a\":1}\n```"_s << true;
        QTest::newRow("plain fence") << u"```\n{\"a\":1}\n```"_s << true;
        QTest::newRow("fence without line breaks") << u"```json{\"a\":1}```"_s << true;
        QTest::newRow("fence with blanks after") << u"  ```json\n{\"a\":1}\n```  \n"_s << true;
        QTest::newRow("upper-case JSON tag") << u"```JSON\n{\"a\":1}\n```"_s << false;
        QTest::newRow("prose before") << u"Hier: {\"a\":1}"_s << false;
        QTest::newRow("prose after") << u"{\"a\":1} Viel Erfolg!"_s << false;
        QTest::newRow("array") << u"[{\"a\":1}]"_s << false;
        QTest::newRow("fenced array") << u"```json\n[1,2]\n```"_s << false;
        QTest::newRow("string") << u"\"text\""_s << false;
        QTest::newRow("truncated") << u"{\"a\":"_s << false;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("html page") << u"<html><body>502 Bad Gateway</body></html>"_s << false;
    }
    void extractJSON()
    {
        QFETCH(QString, reply);
        QFETCH(bool, found);
        const std::optional<QJsonObject> object = kalvo::extractJSON(reply);
        QCOMPARE(object.has_value(), found);
        if (found)
            QCOMPARE(*object, (QJsonObject{{"a", 1}}));
    }

    void parseAnalysis_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<bool>("found");
        QTest::addColumn<NewsAnalysis>("expected");

        QTest::newRow("quick answer") << quickObject << true << quickAnalysis();
        QTest::newRow("quick answer in json fence") << u"```json\n"_s + quickObject + u"\n```"_s << true << quickAnalysis();
        QTest::newRow("irrelevant") << u"{\"relevant\":false}"_s << true
                                    << with({}, [](NewsAnalysis &a) { a.relevant = false; });
        QTest::newRow("empty object keeps defaults") << u"{}"_s << true << NewsAnalysis();
        QTest::newRow("fractional score") << u"{\"score\":7.5}"_s << true
                                          << with({}, [](NewsAnalysis &a) { a.score = 7.5; });
        QTest::newRow("score not clamped") << u"{\"score\":15}"_s << true
                                           << with({}, [](NewsAnalysis &a) { a.score = 15; });
        QTest::newRow("urgency taken as written") << u"{\"urgency\":\"sofort\"}"_s << true
                                                  << with({}, [](NewsAnalysis &a) { a.urgency = u"sofort"_s; });
        QTest::newRow("every member of the wrong type")
            << uR"({"relevant":"false","score":"7","urgency":3,"headline":1,"analysis":[],"category":{},"factors":"a",
                    "summary":2,"macro":null,"risks":["a",1],"watch_next":[],"pairs":["EUR/USD"],"strategy":"long"})"_s
            << true << NewsAnalysis();
        QTest::newRow("deep answer")
            << uR"({"summary":"Lage.","score":7.5,
                    "pairs":{"EUR/USD":{"direction":"bearish","reasoning":"Zinsdifferenz","move_pips":"30-50","probability":70},
                             "USD/JPY":{"reasoning":"ohne Richtung","move_pips":40,"probability":70.5},
                             "GBP/USD":5},
                    "strategy":{"bias":"Short EUR/USD"},"macro":"Makro.","risks":["Risiko1","Risiko2"],"watch_next":"CPI"})"_s
            << true << deepAnalysis();
        QTest::newRow("direction of the wrong type in a pair view")
            << uR"({"pairs":{"EUR/USD":{"direction":1,"probability":"70"}}})"_s << true
            << with({}, [](NewsAnalysis &a) {
                   a.pairs = {{u"EUR/USD"_s, u"neutral"_s}};
                   a.pairDetails = {{u"EUR/USD"_s, PairDetail()}};
               });
        QTest::newRow("prose around the object") << u"Analyse: "_s + quickObject << false << NewsAnalysis();
        QTest::newRow("array") << u"[1,2]"_s << false << NewsAnalysis();
    }
    void parseAnalysis()
    {
        QFETCH(QString, reply);
        QFETCH(bool, found);
        QFETCH(NewsAnalysis, expected);
        const std::optional<NewsAnalysis> analysis = NewsPrompts::parseAnalysis(reply);
        QCOMPARE(analysis.has_value(), found);
        if (found)
            QCOMPARE(*analysis, expected);
    }

    void parseMarketOverview_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QStringList>("expected"); // sentiment, usd, eur, gbp, jpy, top pair, overview, themes...

        QTest::newRow("complete")
            << uR"({"sentiment":"risk-off","usd":"bullish","eur":"bearish","gbp":"neutral","jpy":"bullish","top_pair":"USD/JPY","themes":["Fed","Öl"],"overview":"Vorsicht."})"_s
            << QStringList{u"risk-off"_s, u"bullish"_s, u"bearish"_s, u"neutral"_s, u"bullish"_s, u"USD/JPY"_s, u"Vorsicht."_s, u"Fed"_s, u"Öl"_s};
        QTest::newRow("empty object")
            << u"{}"_s
            << QStringList{u"neutral"_s, u"neutral"_s, u"neutral"_s, u"neutral"_s, u"neutral"_s, QString(), QString()};
        QTest::newRow("wrong types")
            << uR"({"sentiment":true,"usd":1,"eur":null,"gbp":["bullish"],"jpy":{},"top_pair":2,"themes":["Fed",3],"overview":5})"_s
            << QStringList{u"neutral"_s, u"neutral"_s, u"neutral"_s, u"neutral"_s, u"neutral"_s, QString(), QString()};
    }
    void parseMarketOverview()
    {
        QFETCH(QString, reply);
        QFETCH(QStringList, expected);
        const std::optional<MarketOverview> overview = BriefingPrompts::parseMarketOverview(reply);
        QVERIFY(overview);
        const QStringList actual = QStringList{overview->sentiment, overview->usd, overview->eur, overview->gbp,
                                               overview->jpy, overview->topPair, overview->overview}
                                   + overview->themes;
        QCOMPARE(actual, expected);
        QVERIFY(!overview->id.isEmpty() && overview->id == overview->id.toUpper() && !overview->id.contains(u'{'));
        QVERIFY(overview->id != BriefingPrompts::parseMarketOverview(reply)->id);
        QVERIFY(!BriefingPrompts::parseMarketOverview(u"Markt: {}"_s));
    }

    void parseLiveBriefing_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("keyPoints");
        QTest::addColumn<QStringList>("watchNext");

        QTest::newRow("complete")
            << uR"({"title":"Dollar fest","briefing_text":"Guten Morgen.","key_points":["A","B"],"watch_next":["NFP"]})"_s
            << u"Dollar fest"_s << u"Guten Morgen."_s << QStringList{u"A"_s, u"B"_s} << QStringList{u"NFP"_s};
        QTest::newRow("wrong types")
            << uR"({"title":7,"briefing_text":["a"],"key_points":"A","watch_next":["NFP",1]})"_s
            << u"Standardtitel"_s << QString() << QStringList() << QStringList();
    }
    void parseLiveBriefing()
    {
        QFETCH(QString, reply);
        QFETCH(QString, title);
        QFETCH(QString, text);
        QFETCH(QStringList, keyPoints);
        QFETCH(QStringList, watchNext);
        const std::optional<LiveBriefing> briefing = BriefingPrompts::parseLiveBriefing(reply, u"Standardtitel"_s);
        QVERIFY(briefing);
        QCOMPARE(briefing->title, title);
        QCOMPARE(briefing->text, text);
        QCOMPARE(briefing->keyPoints, keyPoints);
        QCOMPARE(briefing->watchNext, watchNext);
        QVERIFY(!briefing->audioData);
        QVERIFY(!BriefingPrompts::parseLiveBriefing(u"[]"_s, u"x"_s));
    }

    void parseInstrumentAnalysis_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<InstrumentAnalysis>("expected");

        InstrumentAnalysis full;
        full.verdict = u"bullish"_s;
        full.confidence = 72;
        full.summary = u"These."_s;
        full.entryZone = u"1.0850-1.0870"_s;
        full.stop = u"1.0820"_s;
        full.target1 = u"1.0950"_s;
        full.target2 = u"1.1020"_s;
        full.riskReward = u"1:2.5"_s;
        full.timeframe = u"1-3 Tage"_s;
        full.macroDrivers = {u"Fed"_s};
        full.catalysts = {u"CPI"_s};
        full.risks = {u"Risiko"_s};
        full.flowAnalysis = u"Flow."_s;
        full.positioning = u"Long."_s;
        full.momentum = u"bullish"_s;
        full.bullProb = 55;
        full.bullTrigger = u"A"_s;
        full.baseProb = 30;
        full.baseTrigger = u"B"_s;
        full.bearProb = 15;
        full.bearTrigger = u"C"_s;
        QTest::newRow("complete")
            << uR"({"verdict":"bullish","confidence":72,"summary":"These.","entry_zone":"1.0850-1.0870","stop":"1.0820",
                    "target_1":"1.0950","target_2":"1.1020","risk_reward":"1:2.5","timeframe":"1-3 Tage",
                    "scenarios":{"bull":{"probability":55,"trigger":"A"},"base":{"probability":30,"trigger":"B"},
                                 "bear":{"probability":15,"trigger":"C"}},
                    "macro_drivers":["Fed"],"catalysts":["CPI"],"risks":["Risiko"],"flow_analysis":"Flow.",
                    "positioning":"Long.","momentum":"bullish"})"_s
            << full;
        QTest::newRow("empty object") << u"{}"_s << InstrumentAnalysis();

        InstrumentAnalysis partial;
        partial.baseProb = 30;
        partial.baseTrigger = u"B"_s;
        partial.bearTrigger = u"C"_s;
        QTest::newRow("malformed scenarios and numbers")
            << uR"({"verdict":1,"confidence":"72","stop":1.082,"macro_drivers":["Fed",2],"momentum":null,
                    "scenarios":{"bull":"55%","base":{"probability":30,"trigger":"B"},"bear":{"probability":15.5,"trigger":"C"}}})"_s
            << partial;
        QTest::newRow("fractional confidence") << u"{\"confidence\":72.5}"_s << InstrumentAnalysis();
        QTest::newRow("integral number written with a fraction")
            << u"{\"confidence\":72.0}"_s << [] { InstrumentAnalysis a; a.confidence = 72; return a; }();
        QTest::newRow("scenarios not an object") << u"{\"scenarios\":[1,2,3]}"_s << InstrumentAnalysis();
    }
    void parseInstrumentAnalysis()
    {
        QFETCH(QString, reply);
        QFETCH(InstrumentAnalysis, expected);
        const std::optional<InstrumentAnalysis> analysis = InstrumentPrompts::parseInstrumentAnalysis(reply);
        QVERIFY(analysis);
        QVERIFY(*analysis == expected);
        QVERIFY(!InstrumentPrompts::parseInstrumentAnalysis(u"Kaufen!"_s));
    }
};

QTEST_GUILESS_MAIN(TestReplyParsers)
#include "tst_replyparsers.moc"
