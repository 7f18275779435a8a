#include "../TestSupport.h"

#include "ai/BriefingPrompts.h"
#include "ai/ExtractJson.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"
#include "ai/PromptLines.h"

using namespace kalvo;

namespace {

NewsItem headline(const QString &title, const QString &source, double score)
{
    return {.id = title, .title = title, .source = source, .score = score};
}

// Headlines from sources S01, S02, ... and events E01, E02, ..., so that a
// prompt shows how many of each it took.
QString numbered(QChar prefix, int i)
{
    return prefix + u"%1"_s.arg(i, 2, 10, QChar(u'0'));
}

MarketStatus wednesdayMorning()
{
    return MarketStatus::status(test::utc(2024, 5, 8, 10, 15));
}

} // namespace

// The prompts sent to the model and the readers of its replies.
class TestPrompts : public QObject
{
    Q_OBJECT

private slots:
    void newsLines_data()
    {
        QTest::addColumn<NewsItem>("item");
        QTest::addColumn<QString>("scored");
        QTest::addColumn<QString>("plain");

        // The plain cases show in the prompts on the wire; these are the edges.
        QTest::newRow("negative fraction cut toward zero") << headline(u"T"_s, u"S"_s, -0.5) << u"- [0/10] T (S)"_s
                                                           << u"- T (S)"_s;
        NewsItem emptyHeadline = headline(u"Fed holds"_s, u"Reuters"_s, 5);
        emptyHeadline.analysis = NewsAnalysis{.headline = QString()};
        QTest::newRow("empty model headline stays empty") << emptyHeadline << u"- [5/10]  (Reuters)"_s
                                                          << u"-  (Reuters)"_s;
    }
    void newsLines()
    {
        QFETCH(NewsItem, item);
        QFETCH(QString, scored);
        QFETCH(QString, plain);
        QCOMPARE(PromptLines::scoredNews(item), scored);
        QCOMPARE(PromptLines::plainNews(item), plain);
    }

    // Each prompt takes its own number of headlines and events from the
    // front of the lists, and lists nothing beyond.
    void listLimits_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<int>("newsCount");
        QTest::addColumn<int>("eventCount");

        QList<NewsItem> news;
        QList<CalendarEvent> events;
        for (int i = 1; i <= 20; ++i) {
            news.append(headline(u"Headline"_s, numbered(u'S', i), 5));
            events.append({.id = numbered(u'E', i), .timeDisplay = u"10:00"_s, .currency = u"EUR"_s,
                           .event = numbered(u'E', i), .impact = CalendarEvent::Impact::Low});
        }
        QTest::newRow("overview: 10 headlines") << BriefingPrompts::marketOverview(news, {u"EUR/USD"_s}) << 10 << 0;
        QTest::newRow("open market: 14 headlines, 10 events")
            << BriefingPrompts::openMarketBriefing(wednesdayMorning(), news, events) << 14 << 10;
        QTest::newRow("weekend: 8 headlines, 8 events") << BriefingPrompts::weekendBriefing(news, events) << 8 << 8;
        QTest::newRow("instrument: 12 headlines, 8 events")
            << InstrumentPrompts::instrumentAnalysis(u"EUR/USD"_s, news, events, 1, 0) << 12 << 8;
    }
    void listLimits()
    {
        QFETCH(QString, prompt);
        QFETCH(int, newsCount);
        QFETCH(int, eventCount);
        for (int i = 1; i <= 20; ++i) {
            const QString source = numbered(u'S', i);
            const QString event = numbered(u'E', i);
            QVERIFY2(prompt.contains(u'(' + source + u')') == (i <= newsCount), qPrintable(source));
            QVERIFY2(prompt.contains(u"Low "_s + event) == (i <= eventCount), qPrintable(event));
        }
    }

    void emptyListPlaceholders_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("expectedPart");

        QTest::newRow("open market")
            << BriefingPrompts::openMarketBriefing(wednesdayMorning(), {}, {})
            << u"Aktuelle News (neueste zuerst):\n- Keine News\n\nNächste Makro-Events:\n- Keine Events\n\nFokus des Berichts:"_s;
        QTest::newRow("weekend")
            << BriefingPrompts::weekendBriefing({}, {})
            << u"Letzte bekannte News:\n- Keine News\n\nWichtige Events nächste Woche:\n- Keine Events\n\nFokus:"_s;
        QTest::newRow("instrument")
            << InstrumentPrompts::instrumentAnalysis(u"DXY"_s, {}, {}, 0, 0)
            << u"Kurs: 0 | Tageschange: +0.000%\n\nRELEVANTE NEWS:\nKeine relevanten News\n\nKOMMENDE EVENTS:\nKeine bevorstehenden Events\n\nLiefere"_s;
        QTest::newRow("overview") << BriefingPrompts::marketOverview({}, {})
                                  << u"News der letzten 2h:\n\nPaare: \n\n{"_s;
    }
    void emptyListPlaceholders()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, expectedPart);
        QVERIFY2(prompt.contains(expectedPart), qPrintable(prompt));
    }

    // The content is cut by characters as a reader counts them, so a letter
    // with a combining accent or a flag is never split at the cut.
    void contentCut_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("quick");
        QTest::addColumn<QString>("deep");

        const QString a = QString(u'a');
        QTest::newRow("1500 characters") << a.repeated(1500) << a.repeated(1000) << a.repeated(800);
        const QString accented = u"e\u0301"_s;
        QTest::newRow("combining accent at the quick cut")
            << a.repeated(999) + accented + a.repeated(600) << a.repeated(999) + accented << a.repeated(800);
        const QString flag = u"🇩🇪"_s;
        QTest::newRow("flag at the deep cut")
            << a.repeated(799) + flag + a.repeated(600) << a.repeated(799) + flag + a.repeated(200)
            << a.repeated(799) + flag;
    }
    void contentCut()
    {
        QFETCH(QString, content);
        QFETCH(QString, quick);
        QFETCH(QString, deep);
        NewsItem item = headline(u"T"_s, u"S"_s, 1);
        item.content = content;
        QVERIFY(NewsPrompts::quickScoring(item).contains(u"\nInhalt: "_s + quick + u"\nNur JSON"_s));
        QVERIFY(NewsPrompts::deepAnalysis(item).contains(u"\nInhalt: "_s + deep + u"\nNur JSON"_s));
    }

    void numberFormats_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("price");  // C "%.5g"
        QTest::addColumn<QString>("change"); // C "%+.3f"
        QTest::newRow("tiny negative keeps its sign") << -0.0001 << u"-0.0001"_s << u"-0.000"_s;
        QTest::newRow("large switches to exponent") << 123456.7 << u"1.2346e+05"_s << u"+123456.700"_s;
    }
    void numberFormats()
    {
        QFETCH(double, value);
        QFETCH(QString, price);
        QFETCH(QString, change);
        QCOMPARE(InstrumentPrompts::significantPrice(value), price);
        QCOMPARE(InstrumentPrompts::signedChange(value), change);
    }

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
        QTest::addColumn<NewsAnalysis>("expected");

        QTest::newRow("quick answer in json fence")
            << u"```json\n"_s + uR"({"relevant":true,"score":8,"urgency":"immediate","headline":"EZB senkt","analysis":"Zinsen runter.","pairs":{"EUR/USD":"bearish"},"category":"central_bank","factors":["Zinsen"]})"_s + u"\n```"_s
            << NewsAnalysis{.score = 8, .urgency = u"immediate"_s, .headline = u"EZB senkt"_s,
                            .analysis = u"Zinsen runter."_s, .pairs = {{u"EUR/USD"_s, u"bearish"_s}},
                            .category = u"central_bank"_s, .factors = {u"Zinsen"_s}};
        QTest::newRow("irrelevant") << u"{\"relevant\":false}"_s << NewsAnalysis{.relevant = false};
        QTest::newRow("score not clamped") << u"{\"score\":15}"_s << NewsAnalysis{.score = 15};
        QTest::newRow("every member of the wrong type")
            << uR"({"relevant":"false","score":"7","urgency":3,"headline":1,"analysis":[],"category":{},"factors":"a",
                    "summary":2,"macro":null,"risks":["a",1],"watch_next":[],"pairs":["EUR/USD"],"strategy":"long"})"_s
            << NewsAnalysis();
        QTest::newRow("deep answer")
            << uR"({"summary":"Lage.","score":7.5,
                    "pairs":{"EUR/USD":{"direction":"bearish","reasoning":"Zinsdifferenz","move_pips":"30-50","probability":70},
                             "USD/JPY":{"reasoning":"ohne Richtung","move_pips":40,"probability":70.5},
                             "GBP/USD":5},
                    "strategy":{"bias":"Short EUR/USD"},"macro":"Makro.","risks":["Risiko1","Risiko2"],"watch_next":"CPI"})"_s
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
            << uR"({"pairs":{"EUR/USD":{"direction":1,"probability":"70"}}})"_s
            << NewsAnalysis{.pairs = {{u"EUR/USD"_s, u"neutral"_s}}, .pairDetails = {{u"EUR/USD"_s, PairDetail()}}};
    }
    void parseAnalysis()
    {
        QFETCH(QString, reply);
        QFETCH(NewsAnalysis, expected);
        const std::optional<NewsAnalysis> analysis = NewsPrompts::parseAnalysis(reply);
        QVERIFY(analysis);
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
    }
};

QTEST_GUILESS_MAIN(TestPrompts)
#include "tst_prompts.moc"
