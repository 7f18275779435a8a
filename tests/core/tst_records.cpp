#include "../TestSupport.h"

#include "core/Instruments.h"
#include "core/MarketRecords.h"

using namespace kalvo;

namespace {

const NewsAnalysis fullAnalysis{
    false, 8.5, u"now"_s, u"Fed signals cut"_s, u"Dovish"_s, {{u"EUR/USD"_s, u"bullish"_s}, {u"USD/JPY"_s, u"bearish"_s}},
    u"central_bank"_s, {u"rates"_s, u"inflation"_s}, u"S"_s, u"M"_s, {u"hawkish surprise"_s}, u"NFP"_s,
    TradeStrategy{u"long"_s, u"1.0850"_s, u"1.0800"_s, u"1.0950"_s},
    {{u"EUR/USD"_s, PairDetail{u"up"_s, u"weaker USD"_s, u"40-60"_s, 72}}}};

const QJsonObject newsObject{{"id"_L1, "n1"_L1}, {"title"_L1, "T"_L1}, {"source"_L1, "S"_L1}, {"url"_L1, "https://x/1"_L1},
                             {"published"_L1, "2024-05-03T14:20:00Z"_L1}, {"content"_L1, "C"_L1}, {"hash"_L1, "h1"_L1},
                             {"score"_L1, 6.5}, {"priority"_L1, 3}, {"analysis"_L1, QJsonObject{{"headline"_L1, "H"_L1}}}};

const QJsonObject calendarObject{{"id"_L1, "e1"_L1}, {"time"_L1, "2025-03-07T13:30:00Z"_L1}, {"currency"_L1, "USD"_L1},
                                 {"country"_L1, "US"_L1}, {"event"_L1, "Non-Farm Payrolls"_L1}, {"impact"_L1, "High"_L1},
                                 {"forecast"_L1, "160K"_L1}, {"previous"_L1, "143K"_L1}, {"actual"_L1, ""_L1},
                                 {"time_display"_L1, "14:30"_L1}};

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

private slots:
    void analysisDecodesFieldByField_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<NewsAnalysis>("expected");
        QTest::newRow("wrong types") << R"({"relevant":"false","score":"7","urgency":3,"headline":[],"analysis":{},
            "pairs":[],"category":1,"factors":"x","summary":true,"macro":2,"risks":{},"watch_next":0,"strategy":"long",
            "pairDetails":[]})"_ba << NewsAnalysis();
        // One malformed member falls back alone; its neighbour is still read.
        QTest::newRow("score as text") << R"({"score":"7","urgency":"now","relevant":false})"_ba
                                       << NewsAnalysis{.relevant = false, .urgency = u"now"_s};
        QTest::newRow("pairs with a number") << R"({"pairs":{"EUR/USD":"bullish","USD/JPY":1},"category":"cb"})"_ba
                                             << NewsAnalysis{.category = u"cb"_s};
        QTest::newRow("factors with a number") << R"({"factors":["a",2],"risks":["r"]})"_ba
                                               << NewsAnalysis{.risks = {u"r"_s}};
        QTest::newRow("strategy without target") << R"({"strategy":{"bias":"long","entry":"1","stop":"0"},"summary":"S"})"_ba
                                                 << NewsAnalysis{.summary = u"S"_s};
        QTest::newRow("pair details per field")
            << R"({"pairDetails":{"EUR/USD":{"direction":"up","reasoning":"r","move_pips":"30","probability":72},
                  "GBP/USD":{"probability":72.5,"direction":5,"reasoning":"g"},"USD/JPY":{"probability":"72"}}})"_ba
            << NewsAnalysis{.pairDetails = {{u"EUR/USD"_s, {u"up"_s, u"r"_s, u"30"_s, 72}},
                                            {u"GBP/USD"_s, {{}, u"g"_s, {}, 0}}, {u"USD/JPY"_s, {}}}};
        QTest::newRow("pair detail not an object") << R"({"pairDetails":{"EUR/USD":{"probability":72},"GBP/USD":"up"},
            "macro":"m"})"_ba << NewsAnalysis{.macro = u"m"_s};
        QTest::newRow("complete") << compactJson(fullAnalysis.toJson()) << fullAnalysis;
    }
    void analysisDecodesFieldByField()
    {
        QFETCH(QByteArray, json);
        QFETCH(NewsAnalysis, expected);
        QCOMPARE(NewsAnalysis::fromJson(QJsonDocument::fromJson(json).object()), expected);
        // Whatever was decoded survives being stored and read back.
        const QJsonObject stored = QJsonDocument::fromJson(compactJson(expected.toJson())).object();
        QVERIFY(stored.contains("watch_next"_L1) && stored.contains("pairDetails"_L1));
        QCOMPARE(NewsAnalysis::fromJson(stored), expected);
    }

    void newsItemIsStrict_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value"); // undefined: key removed
        QTest::addColumn<bool>("accepted");
        QTest::newRow("complete") << u"id"_s << QJsonValue(u"n1"_s) << true;
        for (const QString &key : newsObject.keys())
            QTest::addRow("no %s", qPrintable(key)) << key << QJsonValue(QJsonValue::Undefined) << (key == "analysis"_L1);
        QTest::newRow("id number") << u"id"_s << QJsonValue(1) << false;
        QTest::newRow("title null") << u"title"_s << QJsonValue() << false;
        QTest::newRow("score text") << u"score"_s << QJsonValue(u"6.5"_s) << false;
        QTest::newRow("score integer") << u"score"_s << QJsonValue(7) << true;
        QTest::newRow("priority 2.5") << u"priority"_s << QJsonValue(2.5) << false;
        QTest::newRow("priority 2.0") << u"priority"_s << QJsonValue(2.0) << true;
        QTest::newRow("priority text") << u"priority"_s << QJsonValue(u"2"_s) << false;
        QTest::newRow("published, no zone") << u"published"_s << QJsonValue(u"2024-05-03T14:20:00"_s) << false;
        QTest::newRow("published, date") << u"published"_s << QJsonValue(u"2024-05-03"_s) << false;
        QTest::newRow("published, offset") << u"published"_s << QJsonValue(u"2024-05-03T16:20:00+02:00"_s) << true;
    }
    void newsItemIsStrict()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QFETCH(bool, accepted);
        const QJsonObject object = test::with(newsObject, key, value);
        const std::optional<NewsItem> item = NewsItem::fromJson(object);
        QCOMPARE(item.has_value(), accepted);
        if (!item)
            return;
        QCOMPARE(item->published, test::utc(2024, 5, 3, 14, 20));
        QCOMPARE(item->score, object["score"_L1].toDouble());
        QCOMPARE(item->priority, qint64(object["priority"_L1].toDouble()));
        QCOMPARE((QStringList{item->id, item->title, item->source, item->url, item->content, item->hash}),
                 (QStringList{u"n1"_s, u"T"_s, u"S"_s, u"https://x/1"_s, u"C"_s, u"h1"_s}));
        QCOMPARE(item->analysis ? item->analysis->headline : u"none"_s, object.contains("analysis"_L1) ? u"H"_s : u"none"_s);
        QCOMPARE(item->toJson()["published"_L1].toString(), u"2024-05-03T14:20:00Z"_s);
    }

    void equalityIsByIdentity()
    {
        NewsItem item = test::newsItem(1, test::utc(2024, 5, 3)), other = test::newsItem(2, test::utc(2025, 1, 1));
        QVERIFY(!(item == other));
        other.id = item.id;
        QVERIFY(item == other);
        const PriceData quote{u"q"_s, u"EUR/USD"_s, 1.0855, 0.001, 0.1, PriceData::Direction::Up, test::utc(2024, 5, 3)};
        QVERIFY(quote == (PriceData{u"q2"_s, u"EUR/USD"_s, 1.0855, 0, 0, PriceData::Direction::Flat, test::utc(2024, 5, 4)}));
        QVERIFY(!(quote == PriceData{u"q"_s, u"EUR/USD"_s, 1.0856, 0.001, 0.1, PriceData::Direction::Up, quote.timestamp}));
        QVERIFY(!(quote == PriceData{u"q"_s, u"GBP/USD"_s, 1.0855, 0.001, 0.1, PriceData::Direction::Up, quote.timestamp}));
    }

    void calendarEventIsStrict_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<bool>("accepted");
        for (const QString &key : calendarObject.keys()) {
            QTest::addRow("no %s", qPrintable(key)) << key << QJsonValue(QJsonValue::Undefined) << false;
            QTest::addRow("%s number", qPrintable(key)) << key << QJsonValue(1) << false;
        }
        for (const char *impact : {"High", "Medium", "Low", "Holiday", "unknown"})
            QTest::addRow("impact %s", impact) << u"impact"_s << QJsonValue(QLatin1StringView(impact)) << true;
        for (const char *impact : {"high", "Unknown", ""})
            QTest::addRow("impact '%s'", impact) << u"impact"_s << QJsonValue(QLatin1StringView(impact)) << false;
    }
    void calendarEventIsStrict()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QFETCH(bool, accepted);
        const QJsonObject object = test::with(calendarObject, key, value);
        const std::optional<CalendarEvent> event = CalendarEvent::fromJson(object);
        QCOMPARE(event.has_value(), accepted);
        if (event)
            QCOMPARE(compactJson(event->toJson()), compactJson(object));
    }

    void calendarDates_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QDateTime>("expected"); // invalid: no date
        QTest::addColumn<bool>("allDay");
        QTest::newRow("date only, blanks around") << u" 2025-03-07 "_s << test::utc(2025, 3, 7) << false;
        QTest::newRow("offset") << u"2025-03-07T14:30:00-05:00"_s << test::utc(2025, 3, 7, 19, 30) << false;
        QTest::newRow("fraction") << u"2025-03-07T14:30:00.250Z"_s << test::utc(2025, 3, 7, 14, 30).addMSecs(250) << false;
        // The suite runs with TZ=Europe/Berlin: CET in March, CEST in July.
        QTest::newRow("device zone") << u"2025-03-07 14:30:00"_s << test::utc(2025, 3, 7, 13, 30) << false;
        QTest::newRow("device zone, summer") << u"2025-07-07 14:30:00"_s << test::utc(2025, 7, 7, 12, 30) << false;
        QTest::newRow("all day") << u"All Day"_s << QDateTime() << true;
        QTest::newRow("ganztägig") << u"Ganztägig"_s << QDateTime() << true;
        QTest::newRow("trailing garbage") << u"2025-03-07x"_s << QDateTime() << false;
        QTest::newRow("no such day") << u"2025-02-30"_s << QDateTime() << false;
    }
    void calendarDates()
    {
        QFETCH(QString, time);
        QFETCH(QDateTime, expected);
        QFETCH(bool, allDay);
        QVERIFY2(QTimeZone::systemTimeZoneId() == "Europe/Berlin", "run through ctest, which sets TZ");
        CalendarEvent event;
        event.time = time;
        QCOMPARE(event.parsedDate().value_or(QDateTime()), expected);
        QCOMPARE(event.isAllDay(), allDay);
    }

    void instruments_data()
    {
        QTest::addColumn<QString>("pair");
        QTest::addColumn<double>("price");
        QTest::addColumn<QString>("formatted"); // null: not checked
        QTest::addColumn<QString>("symbol");    // null: no chart symbol
        QTest::newRow("EUR/USD") << u"EUR/USD"_s << 1.08551234 << u"1.08551"_s << u"EURUSD=X"_s;
        QTest::newRow("US10Y") << u"US10Y"_s << 4.2551 << u"4.255%"_s << u"^TNX"_s;
        QTest::newRow("DXY") << u"DXY"_s << 104.5 << u"104.500"_s << u"DX-Y.NYB"_s;
        QTest::newRow("XAU/USD") << u"XAU/USD"_s << 2345.678 << u"2345.68"_s << u"GC=F"_s;
        QTest::newRow("CAD/JPY") << u"CAD/JPY"_s << 0. << QString() << u"CADJPY=X"_s;
        QTest::newRow("^GDAXI") << u"^GDAXI"_s << 0. << QString() << u"^GDAXI"_s;
        QTest::newRow("BTC-USD") << u"BTC-USD"_s << 0. << QString() << u"BTC-USD"_s;
        QTest::newRow("EURUSD") << u"EURUSD"_s << 0. << QString() << QString();
        QTest::newRow("A/B/C") << u"A/B/C"_s << 0. << QString() << QString();
    }
    void instruments()
    {
        QFETCH(QString, pair);
        QFETCH(double, price);
        QFETCH(QString, formatted);
        QFETCH(QString, symbol);
        if (!formatted.isNull())
            QCOMPARE(formatPrice(price, pair), formatted);
        const std::optional<QString> found = yahooSymbol(pair);
        QCOMPARE(found.has_value(), !symbol.isNull());
        QCOMPARE(found.value_or(QString()), symbol);
    }
};

QTEST_GUILESS_MAIN(TestRecords)
#include "tst_records.moc"
