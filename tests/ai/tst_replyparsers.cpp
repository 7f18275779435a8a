#include "../TestSupport.h"

#include "ai/BriefingPrompts.h"
#include "ai/ExtractJson.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"

using namespace kalvo;

class TestReplyParsers : public QObject
{
    Q_OBJECT

private slots:
    void extractJSON_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<bool>("found");
        QTest::newRow("blank lines around") << u"\n  \t{\"a\":1}\n\n "_s << true;
        QTest::newRow("json fence on own lines") << u"```json\n{\"a\":1}\n```"_s << true;
        QTest::newRow("fence without line breaks") << u"```json{\"a\":1}```"_s << true;
        QTest::newRow("upper-case JSON tag") << u"```JSON\n{\"a\":1}\n```"_s << false;
        QTest::newRow("prose before") << u"Hier: {\"a\":1}"_s << false;
        QTest::newRow("fenced array") << u"```json\n[1,2]\n```"_s << false;
        QTest::newRow("truncated") << u"{\"a\":"_s << false;
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

        const QString quick = uR"({"relevant":true,"score":8,"urgency":"immediate","headline":"EZB senkt","analysis":"Zinsen runter.","pairs":{"EUR/USD":"bearish"},"category":"central_bank","factors":["Zinsen"]})"_s;
        QTest::newRow("quick answer in json fence")
            << u"```json\n"_s + quick + u"\n```"_s << true
            << NewsAnalysis{.score = 8, .urgency = u"immediate"_s, .headline = u"EZB senkt"_s,
                            .analysis = u"Zinsen runter."_s, .pairs = {{u"EUR/USD"_s, u"bearish"_s}},
                            .category = u"central_bank"_s, .factors = {u"Zinsen"_s}};
        QTest::newRow("irrelevant") << u"{\"relevant\":false}"_s << true << NewsAnalysis{.relevant = false};
        QTest::newRow("score not clamped") << u"{\"score\":15}"_s << true << NewsAnalysis{.score = 15};
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
            << true
            << NewsAnalysis{.score = 7.5,
                            .pairs = {{u"EUR/USD"_s, u"bearish"_s}, {u"USD/JPY"_s, u"neutral"_s}},
                            .summary = u"Lage."_s,
                            .macro = u"Makro."_s,
                            .risks = {u"Risiko1"_s, u"Risiko2"_s},
                            .watchNext = u"CPI"_s,
                            .strategy = TradeStrategy{.bias = u"Short EUR/USD"_s},
                            .pairDetails = {{u"EUR/USD"_s, {u"bearish"_s, u"Zinsdifferenz"_s, u"30-50"_s, 70}},
                                            {u"USD/JPY"_s, {QString(), u"ohne Richtung"_s, QString(), 0}}}};
        QTest::newRow("direction of the wrong type in a pair view")
            << uR"({"pairs":{"EUR/USD":{"direction":1,"probability":"70"}}})"_s << true
            << NewsAnalysis{.pairs = {{u"EUR/USD"_s, u"neutral"_s}}, .pairDetails = {{u"EUR/USD"_s, PairDetail()}}};
        QTest::newRow("prose around the object") << u"Analyse: "_s + quick << false << NewsAnalysis();
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
        QTest::addColumn<QStringList>("expected"); // title, text, key points..., "|", watch next...

        QTest::newRow("complete")
            << uR"({"title":"Dollar fest","briefing_text":"Guten Morgen.","key_points":["A","B"],"watch_next":["NFP"]})"_s
            << QStringList{u"Dollar fest"_s, u"Guten Morgen."_s, u"A"_s, u"B"_s, u"|"_s, u"NFP"_s};
        QTest::newRow("wrong types") << uR"({"title":7,"briefing_text":["a"],"key_points":"A","watch_next":["NFP",1]})"_s
                                     << QStringList{u"Standardtitel"_s, QString(), u"|"_s};
    }
    void parseLiveBriefing()
    {
        QFETCH(QString, reply);
        QFETCH(QStringList, expected);
        const std::optional<LiveBriefing> briefing = BriefingPrompts::parseLiveBriefing(reply, u"Standardtitel"_s);
        QVERIFY(briefing);
        QCOMPARE(QStringList({briefing->title, briefing->text}) + briefing->keyPoints + QStringList{u"|"_s}
                     + briefing->watchNext,
                 expected);
        QVERIFY(!briefing->audioData);
        QVERIFY(!BriefingPrompts::parseLiveBriefing(u"[]"_s, u"x"_s));
    }

    void parseInstrumentAnalysis_data()
    {
        QTest::addColumn<QString>("reply");
        QTest::addColumn<InstrumentAnalysis>("expected");

        QTest::newRow("complete")
            << uR"({"verdict":"bullish","confidence":72,"summary":"These.","entry_zone":"1.0850-1.0870","stop":"1.0820",
                    "target_1":"1.0950","target_2":"1.1020","risk_reward":"1:2.5","timeframe":"1-3 Tage",
                    "scenarios":{"bull":{"probability":55,"trigger":"A"},"base":{"probability":30,"trigger":"B"},
                                 "bear":{"probability":15,"trigger":"C"}},
                    "macro_drivers":["Fed"],"catalysts":["CPI"],"risks":["Risiko"],"flow_analysis":"Flow.",
                    "positioning":"Long.","momentum":"bullish"})"_s
            << InstrumentAnalysis{u"bullish"_s, 72, u"These."_s, u"1.0850-1.0870"_s, u"1.0820"_s, u"1.0950"_s,
                                  u"1.1020"_s, u"1:2.5"_s, u"1-3 Tage"_s, {u"Fed"_s}, {u"CPI"_s}, {u"Risiko"_s},
                                  u"Flow."_s, u"Long."_s, u"bullish"_s, 55, u"A"_s, 30, u"B"_s, 15, u"C"_s};
        QTest::newRow("malformed scenarios and numbers")
            << uR"({"verdict":1,"confidence":"72","stop":1.082,"macro_drivers":["Fed",2],"momentum":null,
                    "scenarios":{"bull":"55%","base":{"probability":30,"trigger":"B"},"bear":{"probability":15.5,"trigger":"C"}}})"_s
            << InstrumentAnalysis{.baseProb = 30, .baseTrigger = u"B"_s, .bearTrigger = u"C"_s};
        QTest::newRow("fractional confidence") << u"{\"confidence\":72.5}"_s << InstrumentAnalysis();
        QTest::newRow("integral number written with a fraction")
            << u"{\"confidence\":72.0}"_s << InstrumentAnalysis{.confidence = 72};
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
