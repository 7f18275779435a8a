#include "WindowHarness.h"

#include "../TestSupport.h"
#include "../ai/ScriptedBackend.h"
#include "app/InstrumentAnalysisRequest.h"
#include "ui/Theme.h"

#include <QJsonArray>
#include <QTemporaryDir>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

// Wednesday 13:07 UTC: open. Saturday: closed.
const QDateTime wednesday = test::utc(2025, 3, 5, 13, 7);
const QDateTime saturday = test::utc(2025, 3, 8, 11, 0);

using D = PriceData::Direction;

PriceData quote(const QString &pair, double price, double changePct, D direction, const QDateTime &at)
{
    return PriceData{pair, pair, price, 0, changePct, direction, at};
}

NewsItem headline(const QString &id, const QString &title, int secondsAgo)
{
    NewsItem item = test::newsItem(1, wednesday.addSecs(-secondsAgo));
    item.id = id;
    item.hash = id;
    item.title = title;
    item.source = u"Reuters"_s;
    return item;
}

// A model answer with every field of an instrument analysis.
QString completeAnswer(const QJsonArray &catalysts)
{
    const QJsonObject answer{
        {"verdict", "bullish"},
        {"confidence", 72},
        {"summary", "Der Euro zieht an."},
        {"entry_zone", "1.0840-1.0850"},
        {"stop", "1.0800"},
        {"target_1", "1.0900"},
        {"target_2", "1.0950"},
        {"risk_reward", "1:2"},
        {"timeframe", "1-3 Tage"},
        {"macro_drivers", QJsonArray{"EZB", "Fed"}},
        {"catalysts", catalysts},
        {"risks", QJsonArray{"NFP"}},
        {"flow_analysis", "Käufer dominieren"},
        {"positioning", "Netto long"},
        {"momentum", "Steigend"},
        {"scenarios",
         QJsonObject{{"bull", QJsonObject{{"probability", 55}, {"trigger", "Bruch 1.0900"}}},
                     {"base", QJsonObject{{"probability", 30}, {"trigger", "Seitwärts"}}},
                     {"bear", QJsonObject{{"probability", 15}, {"trigger", "Unter 1.0800"}}}}},
    };
    return u"```json\n"_s + QString::fromUtf8(compactJson(answer)) + u"\n```"_s;
}

} // namespace

class TestPricePanel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

    static QQuickItem *row(const test::WindowHarness &h, const QString &pair)
    {
        return h.item(u"priceRow:"_s + pair);
    }

    static bool shown(const test::WindowHarness &h, const QString &name, QQuickItem *root = nullptr)
    {
        return test::WindowHarness::shown(h.item(name, root));
    }

    static bool sheetOpen(const test::WindowHarness &h, const QString &name)
    {
        QObject *sheet = h.object(name);
        return sheet && sheet->property("opened").toBool();
    }

    static InstrumentAnalysisRequest *request(const test::WindowHarness &h)
    {
        return qobject_cast<InstrumentAnalysisRequest *>(h.object(u"instrumentAnalysis"_s));
    }

private slots:
    void initTestCase() { qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8()); }

    void rowColoursFollowTheChangeWithADeadBand_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<double>("changePct");
        QTest::addColumn<int>("direction");
        QTest::addColumn<QString>("arrow");
        QTest::addColumn<QColor>("changeColor");
        QTest::addColumn<QColor>("priceColor");
        QTest::addColumn<QString>("change");
        QTest::newRow("rise") << wednesday << 0.125 << int(D::Up) << u"▲"_s << Theme::green() << Theme::green()
                              << u"+0.125%"_s;
        QTest::newRow("fall") << wednesday << -0.0011 << int(D::Down) << u"▼"_s << Theme::red() << Theme::red()
                              << u"-0.001%"_s;
        QTest::newRow("0.0005 is in the band, the arrow still up")
            << wednesday << 0.0005 << int(D::Up) << u"▲"_s << Theme::textSecondary() << Theme::textSecondary()
            << u"+0.001%"_s;
        QTest::newRow("-0.001 is in the band") << wednesday << -0.001 << int(D::Down) << u"▼"_s
                                               << Theme::textSecondary() << Theme::textSecondary() << u"-0.001%"_s;
        QTest::newRow("flat") << wednesday << 0.0 << int(D::Flat) << u"─"_s << Theme::textSecondary()
                              << Theme::textSecondary() << u"+0.000%"_s;
        QTest::newRow("closed: last price muted, WE") << saturday << 0.125 << int(D::Up) << u"▲"_s << Theme::green()
                                                      << Theme::textSecondary() << u"WE"_s;
    }
    void rowColoursFollowTheChangeWithADeadBand()
    {
        QFETCH(QDateTime, now);
        QFETCH(double, changePct);
        QFETCH(int, direction);
        QFETCH(QColor, changeColor);
        test::WindowHarness h(now);
        QVERIFY(h.load());
        h.state.onPrices({{u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.084213, changePct, D(direction), now)}});
        QQuickItem *r = row(h, u"EUR/USD"_s);
        QVERIFY(r);
        QCOMPARE(h.text(u"priceValue"_s, r), u"1.08421"_s);
        QTEST(h.color(u"priceValue"_s, r), "priceColor");
        QTEST(h.text(u"priceArrow"_s, r), "arrow");
        QCOMPARE(h.color(u"priceArrow"_s, r), changeColor);
        QTEST(h.text(u"priceChange"_s, r), "change");
        QCOMPARE(h.color(u"priceChange"_s, r), Theme::textMuted());
        QCOMPARE(h.color(u"priceName"_s, r), now == saturday ? Theme::textSecondary() : Theme::textPrimary());
    }

    void anInstrumentWithoutQuote_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("waiting");
        QTest::addColumn<QString>("change");
        QTest::newRow("open: activity indicator") << wednesday << true << QString();
        QTest::newRow("closed: WE") << saturday << false << u"WE"_s;
    }
    void anInstrumentWithoutQuote()
    {
        QFETCH(QDateTime, now);
        QFETCH(bool, waiting);
        QFETCH(QString, change);
        test::WindowHarness h(now);
        QVERIFY(h.load());
        QQuickItem *r = row(h, u"GBP/USD"_s);
        QVERIFY(r);
        QCOMPARE(h.text(u"priceValue"_s, r), u"—"_s);
        QCOMPARE(h.color(u"priceValue"_s, r), Theme::textMuted());
        QCOMPARE(h.text(u"priceArrow"_s, r), QString());
        QCOMPARE(shown(h, u"priceWaiting"_s, r), waiting);
        QCOMPARE(shown(h, u"priceChange"_s, r), !change.isEmpty());
        QCOMPARE(h.text(u"priceChange"_s, r), change);
    }

    void extrasHaveAHeaderOnlyWhenConfigured_data()
    {
        QTest::addColumn<QStringList>("extras");
        QTest::addColumn<bool>("header");
        QTest::newRow("default extras") << QStringList{u"DXY"_s, u"XAU/USD"_s} << true;
        QTest::newRow("no extras") << QStringList{} << false;
    }
    void extrasHaveAHeaderOnlyWhenConfigured()
    {
        QFETCH(QStringList, extras);
        QFETCH(bool, header);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        Config config = h.state.config();
        config.marketExtras = extras;
        h.state.setConfig(config);
        QQuickItem *extrasHeader = h.item(u"priceExtrasHeader"_s);
        QCOMPARE(extrasHeader && test::WindowHarness::shown(extrasHeader), header);
        if (header) {
            QCOMPARE(h.text(u"priceExtrasTitle"_s, extrasHeader), u"MARKT-EXTRAS"_s);
            // Under the pairs, above the extras.
            const qreal y = extrasHeader->mapToScene({0, 0}).y();
            QVERIFY(row(h, u"USD/JPY"_s)->mapToScene({0, 0}).y() < y);
            QVERIFY(row(h, u"DXY"_s)->mapToScene({0, 0}).y() > y);
        }
        QCOMPARE(h.item(u"priceList"_s)->property("count").toInt(), 3 + (header ? 1 + int(extras.size()) : 0));
    }

    void closedMarketBlockAndFooter_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QString>("footer");
        QTest::newRow("wednesday") << wednesday << false << QString() << u"Antippen für Details"_s;
        QTest::newRow("saturday") << saturday << true << u"Märkte öffnen Sonntag ~22:00 UTC"_s
                                  << u"Letzte bekannte Kurse"_s;
        QTest::newRow("sunday before the open")
            << test::utc(2025, 3, 9, 21, 59) << true << u"Öffnet in 0h 01m (So 22:00 UTC)"_s
            << u"Letzte bekannte Kurse"_s;
    }
    void closedMarketBlockAndFooter()
    {
        QFETCH(QDateTime, now);
        QFETCH(bool, closed);
        test::WindowHarness h(now);
        QVERIFY(h.load());
        QCOMPARE(h.text(u"priceTitle"_s), u"FOREX PREISE"_s);
        QCOMPARE(shown(h, u"closedBlock"_s), closed);
        if (closed) {
            QCOMPARE(h.text(u"closedTitle"_s), u"MÄRKTE GESCHLOSSEN"_s);
            QCOMPARE(h.color(u"closedTitle"_s), Theme::orange());
            QTEST(h.text(u"closedDetail"_s), "detail");
        }
        QTEST(h.text(u"priceFooter"_s), "footer");
    }

    void theMinuteTimerClosesThePanel()
    {
        test::WindowHarness h(test::utc(2025, 3, 7, 21, 59)); // Friday, a minute before the close
        QVERIFY(h.load());
        h.state.onPrices({{u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.08, 0.1, D::Up, h.clock.now())}});
        QObject *timer = h.object(u"priceStatusTimer"_s);
        QVERIFY(timer);
        QCOMPARE(timer->property("interval").toInt(), 60000);
        QVERIFY(timer->property("running").toBool() && timer->property("repeat").toBool());
        QVERIFY(!shown(h, u"closedBlock"_s));

        h.clock.advance(1min);
        QVERIFY(!shown(h, u"closedBlock"_s)); // nothing new until the timer fires
        QMetaObject::invokeMethod(timer, "triggered");
        QVERIFY(shown(h, u"closedBlock"_s));
        QCOMPARE(h.text(u"closedDetail"_s), u"Wochenende — öffnet So 22:00 UTC"_s);
        QCOMPARE(h.text(u"priceChange"_s, row(h, u"EUR/USD"_s)), u"WE"_s);
        QCOMPARE(h.text(u"priceFooter"_s), u"Letzte bekannte Kurse"_s);
    }

    void aTapOpensThePairSheet_data()
    {
        QTest::addColumn<bool>("quoted");
        QTest::newRow("with a quote") << true;
        QTest::newRow("without a quote") << false;
    }
    void aTapOpensThePairSheet()
    {
        QFETCH(bool, quoted);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        if (quoted)
            h.state.onPrices({{u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.08, 0.1, D::Up, wednesday)}});
        QVERIFY(!sheetOpen(h, u"pairSheet"_s));
        QVERIFY(h.click(row(h, u"EUR/USD"_s)));
        QCOMPARE(h.state.selectedPair(), u"EUR/USD"_s);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));
        QCOMPARE(h.text(u"pairTitle"_s), u"EUR/USD"_s);

        QVERIFY(h.click(h.item(u"pairClose"_s)));
        QTRY_VERIFY(!sheetOpen(h, u"pairSheet"_s));
        QCOMPARE(h.state.selectedPair(), QString());
    }

    void anotherInstrumentGetsAFreshSheet()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.setSelectedPair(u"EUR/USD"_s);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));
        request(h)->deliver(InstrumentAnalysis{});
        QTRY_VERIFY(sheetOpen(h, u"analysisSheet"_s));

        h.state.setSelectedPair(u"GBP/USD"_s);
        QTRY_COMPARE(h.text(u"pairTitle"_s), u"GBP/USD"_s);
        const auto requests = h.window->findChildren<InstrumentAnalysisRequest *>();
        const auto fresh = std::find_if(requests.begin(), requests.end(), [](InstrumentAnalysisRequest *r) {
            return r->property("pair").toString() == u"GBP/USD"_s;
        });
        QVERIFY(fresh != requests.end());
        QVERIFY(!(*fresh)->hasResult());
        // The old sheet's analysis went with it.
        const auto anAnalysisIsOpen = [&] {
            const auto sheets = h.window->findChildren<QObject *>(u"analysisSheet"_s);
            return std::any_of(sheets.begin(), sheets.end(),
                               [](QObject *sheet) { return sheet->property("opened").toBool(); });
        };
        QTRY_VERIFY(!anAnalysisIsOpen());
        QVERIFY(sheetOpen(h, u"pairSheet"_s));
    }

    void pairSheetPriceBlock_data()
    {
        QTest::addColumn<bool>("quoted");
        QTest::addColumn<double>("changePct");
        QTest::addColumn<int>("secondsOld");
        QTest::addColumn<QString>("price");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QColor>("color");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<QString>("age");
        QTest::newRow("rising, fresh") << true << 0.2 << 30 << u"1.08421"_s << u"+0.200%"_s << Theme::green()
                                       << u"up"_s << u"gerade eben"_s;
        QTest::newRow("falling, two minutes old") << true << -0.2 << 150 << u"1.08421"_s << u"-0.200%"_s
                                                  << Theme::red() << u"down"_s << u"vor 2 min"_s;
        QTest::newRow("0.0005 is in the band") << true << 0.0005 << 59 << u"1.08421"_s << u"+0.001%"_s
                                               << Theme::textSecondary() << u"up"_s << u"gerade eben"_s;
        QTest::newRow("no quote") << false << 0.0 << 0 << u"—"_s << u"—"_s << Theme::textMuted() << u"—"_s
                                  << u"—"_s;
    }
    void pairSheetPriceBlock()
    {
        QFETCH(bool, quoted);
        QFETCH(double, changePct);
        QFETCH(int, secondsOld);
        QFETCH(QString, price);
        QFETCH(QString, change);
        QFETCH(QColor, color);
        QFETCH(QString, direction);
        QFETCH(QString, age);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        if (quoted) {
            const D moved = changePct < 0 ? D::Down : D::Up;
            h.state.onPrices({{u"EUR/USD"_s,
                               quote(u"EUR/USD"_s, 1.084213, changePct, moved, wednesday.addSecs(-secondsOld))}});
        }
        h.state.setSelectedPair(u"EUR/USD"_s);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));

        QCOMPARE(h.text(u"pairPrice"_s), price);
        QCOMPARE(h.color(u"pairPrice"_s), color);
        QCOMPARE(shown(h, u"pairChange"_s), quoted);
        if (quoted) {
            QCOMPARE(h.text(u"pairChange"_s), change);
            QCOMPARE(h.color(u"pairChange"_s), color);
        }
        QCOMPARE(h.text(u"pairUpdated"_s), u"Aktualisiert: "_s + age);

        QStringList boxes;
        for (const QString &name : {u"statPrice"_s, u"statChange"_s, u"statDirection"_s, u"statUpdated"_s}) {
            QQuickItem *box = h.item(name);
            QVERIFY2(box, qPrintable(name));
            boxes << h.text(u"statLabel"_s, box) + u'=' + h.text(u"statValue"_s, box);
        }
        // "LAST UPD" is the label as traders know it from the terminal.
        QCOMPARE(boxes, (QStringList{u"KURS="_s + price, u"Δ="_s + change, u"RICHTUNG="_s + direction,
                                     u"LAST UPD="_s + age}));
    }

    void relatedNewsInTheSheet_data()
    {
        QTest::addColumn<QString>("pair");
        QTest::addColumn<QStringList>("related");
        QTest::addColumn<QStringList>("ages");
        QStringList firstEight;
        for (int i = 0; i < 8; ++i)
            firstEight << u"usd%1"_s.arg(i);
        QTest::newRow("at most eight, in list order")
            << u"EUR/USD"_s << firstEight
            << QStringList{u"jetzt"_s, u"jetzt"_s, u"vor 1 min"_s, u"vor 1 min"_s, u"vor 2 min"_s, u"vor 2 min"_s,
                           u"vor 3 min"_s, u"vor 3 min"_s};
        QTest::newRow("the quote code of another pair") << u"AUD/JPY"_s << QStringList{u"yen"_s}
                                                        << QStringList{u"vor 5 h"_s};
        QTest::newRow("none") << u"US10Y"_s << QStringList{} << QStringList{};
    }
    void relatedNewsInTheSheet()
    {
        QFETCH(QString, pair);
        QFETCH(QStringList, related);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        for (int i = 0; i < 10; ++i)
            h.state.onNewsItem(headline(u"usd%1"_s.arg(i), u"Dollar news, USD #%1"_s.arg(i), 30 * i + 29));
        h.state.onNewsItem(headline(u"yen"_s, u"Yen firms (JPY)"_s, 5 * 3600));
        h.state.setSelectedPair(pair);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));

        // Every headline, in the order of the news list.
        QStringList candidates;
        for (int i = 0; i < 10; ++i)
            candidates << u"usd%1"_s.arg(i);
        candidates << u"yen"_s;
        QStringList ids;
        QStringList ages;
        QList<qreal> ys;
        for (const QString &id : candidates) {
            QQuickItem *compact = h.item(u"relatedNews:"_s + id);
            if (!compact || !test::WindowHarness::shown(compact))
                continue;
            ids << id;
            ages << h.text(u"relatedAge"_s, compact);
            ys << compact->mapToScene({0, 0}).y();
            QCOMPARE(h.text(u"relatedSource"_s, compact), u"REUTERS"_s);
        }
        QVERIFY(std::is_sorted(ys.begin(), ys.end()));
        QCOMPARE(ids, related);
        QTEST(ages, "ages");
        QCOMPARE(shown(h, u"noRelatedNews"_s), related.isEmpty());
        if (related.isEmpty()) {
            QCOMPARE(h.text(u"noRelatedNewsText"_s), u"Keine aktuellen News für "_s + pair);
            QCOMPARE(h.color(u"noRelatedNewsText"_s), Theme::textMuted());
        }
    }

    void currencyCardsInTheSheet_data()
    {
        QTest::addColumn<QString>("pair");
        QTest::addColumn<QStringList>("cards");
        QTest::newRow("a pair") << u"EUR/USD"_s << QStringList{u"Euro"_s, u"US-Dollar"_s};
        QTest::newRow("gold") << u"XAU/USD"_s << QStringList{u"Gold (XAU)"_s, u"US-Dollar"_s};
        QTest::newRow("dollar index") << u"DXY"_s << QStringList{u"US-Dollar-Index"_s};
        QTest::newRow("no card") << u"US10Y"_s << QStringList{};
    }
    void currencyCardsInTheSheet()
    {
        QFETCH(QString, pair);
        QFETCH(QStringList, cards);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.setSelectedPair(pair);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));
        QStringList names;
        for (const QString &code : {u"EUR"_s, u"USD"_s, u"XAU"_s, u"DXY"_s}) {
            if (QQuickItem *card = h.item(u"currencyCard:"_s + code); card && test::WindowHarness::shown(card))
                names << h.text(u"currencyName"_s, card);
        }
        QCOMPARE(names.size(), cards.size());
        for (const QString &name : cards)
            QVERIFY2(names.contains(name), qPrintable(name));
        QVERIFY(h.text(u"disclaimer"_s).startsWith(u"Hinweis: Keine Anlageberatung"_s));
    }

    void analysisWithoutAnswerGoesBackToTheButton()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.setSelectedPair(u"EUR/USD"_s);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));
        InstrumentAnalysisRequest *analysis = request(h);
        QVERIFY(analysis);
        QList<bool> busy;
        connect(analysis, &InstrumentAnalysisRequest::busyChanged, [&] { busy << analysis->busy(); });
        QVERIFY(shown(h, u"analysisLabel"_s));
        QVERIFY(!shown(h, u"analysisSpinner"_s));

        // The backend is unreachable: the request runs, fails and leaves the sheet as it was.
        QVERIFY(h.click(h.item(u"analysisButton"_s)));
        QTRY_COMPARE(busy, (QList<bool>{true, false}));
        QVERIFY(!analysis->hasResult());
        QVERIFY(!sheetOpen(h, u"analysisSheet"_s));
        QVERIFY(shown(h, u"analysisLabel"_s));
        QVERIFY(sheetOpen(h, u"pairSheet"_s));
    }

    void theAnswerOpensTheAnalysisOverTheSheet()
    {
        test::ScriptedBackend backend;
        qputenv("KALVO_BACKEND_TOKEN", "token-for-the-test");
        test::WindowHarness h(wednesday);
        h.state.setEndpoints(Endpoints::fromJson(
            compactJson({{"base", "http://127.0.0.1:9"}, {"backend", backend.base().toString()}}), nullptr));
        QVERIFY(h.load());
        h.state.setSelectedPair(u"EUR/USD"_s);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));
        InstrumentAnalysisRequest *analysis = request(h);
        QVERIFY(analysis);

        backend.script(test::ScriptedBackend::modelPath,
                       {test::ScriptedBackend::modelText(completeAnswer(QJsonArray{"HVPI", "NFP"}))});
        // What the button shows each time the request starts or ends.
        QStringList looks;
        connect(analysis, &InstrumentAnalysisRequest::busyChanged, [&] {
            looks << (shown(h, u"analysisSpinner"_s) ? u"spinner"_s : QString())
                         + (shown(h, u"analysisLabel"_s) ? u"label"_s : QString());
        });
        QVERIFY(h.click(h.item(u"analysisButton"_s)));
        QTRY_VERIFY(sheetOpen(h, u"analysisSheet"_s));
        qunsetenv("KALVO_BACKEND_TOKEN");
        QCOMPARE(looks, (QStringList{u"spinner"_s, u"label"_s}));
        QVERIFY(!analysis->busy());
        QVERIFY(backend.bodies(test::ScriptedBackend::modelPath).last().value("prompt").toString().contains(u"EUR/USD"_s));

        QCOMPARE(h.text(u"analysisPair"_s), u"EUR/USD"_s);
        QCOMPARE(h.text(u"verdict"_s), u"BULLISH"_s);
        QCOMPARE(h.color(u"verdict"_s), Theme::green());
        QCOMPARE(h.text(u"confidence"_s), u"Confidence: 72%"_s);
        QCOMPARE(h.text(u"analysisSummary"_s), u"Der Euro zieht an."_s);
        const QList<std::tuple<QString, QString, QColor>> setup{
            {u"entryZone"_s, u"1.0840-1.0850"_s, Theme::blue()}, {u"stop"_s, u"1.0800"_s, Theme::red()},
            {u"target1"_s, u"1.0900"_s, Theme::green()},         {u"target2"_s, u"1.0950"_s, Theme::green()},
            {u"riskReward"_s, u"1:2"_s, Theme::yellow()},       {u"timeframe"_s, u"1-3 Tage"_s, Theme::textSecondary()}};
        for (const auto &[key, text, color] : setup) {
            QCOMPARE(h.text(u"setupBox:"_s + key), text);
            QCOMPARE(h.color(u"setupBox:"_s + key), color);
        }
        QStringList scenarios;
        for (const QString &label : {u"BULLISH"_s, u"BASIS"_s, u"BEARISH"_s}) {
            QQuickItem *box = h.item(u"scenario:"_s + label);
            QVERIFY2(box, qPrintable(label));
            scenarios << h.text(u"scenarioProb"_s, box) + u' ' + h.text(u"scenarioTrigger"_s, box);
        }
        QCOMPARE(scenarios, (QStringList{u"55% Bruch 1.0900"_s, u"30% Seitwärts"_s, u"15% Unter 1.0800"_s}));
        for (const QString &section : {u"macroDrivers"_s, u"catalysts"_s, u"analysisRisks"_s})
            QVERIFY2(shown(h, section), qPrintable(section));
        QCOMPARE(h.text(u"infoValue"_s, h.item(u"positioning"_s)), u"Netto long"_s);

        // Closing the analysis returns to the pair sheet, the answer kept.
        QVERIFY(h.click(h.item(u"analysisClose"_s)));
        QTRY_VERIFY(!sheetOpen(h, u"analysisSheet"_s));
        QVERIFY(sheetOpen(h, u"pairSheet"_s));
        QVERIFY(analysis->hasResult());
        QCOMPARE(h.state.selectedPair(), u"EUR/USD"_s);
    }

    void emptyListsLeaveTheirSectionsOut_data()
    {
        QTest::addColumn<QStringList>("catalysts");
        QTest::addColumn<QStringList>("risks");
        QTest::newRow("all there") << QStringList{u"HVPI"_s} << QStringList{u"NFP"_s};
        QTest::newRow("no catalysts") << QStringList{} << QStringList{u"NFP"_s};
        QTest::newRow("no risks") << QStringList{u"HVPI"_s} << QStringList{};
    }
    void emptyListsLeaveTheirSectionsOut()
    {
        QFETCH(QStringList, catalysts);
        QFETCH(QStringList, risks);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.setSelectedPair(u"GBP/USD"_s);
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));
        InstrumentAnalysis result;
        result.macroDrivers = {u"BoE"_s};
        result.catalysts = catalysts;
        result.risks = risks;
        request(h)->deliver(result);
        QTRY_VERIFY(sheetOpen(h, u"analysisSheet"_s));
        QVERIFY(shown(h, u"macroDrivers"_s));
        QCOMPARE(shown(h, u"catalysts"_s), !catalysts.isEmpty());
        QCOMPARE(shown(h, u"analysisRisks"_s), !risks.isEmpty());
        QCOMPARE(h.text(u"verdict"_s), u"NEUTRAL"_s);
        QCOMPARE(h.color(u"verdict"_s), Theme::yellow());
    }
};

QTEST_MAIN(TestPricePanel)
#include "tst_pricepanel.moc"
