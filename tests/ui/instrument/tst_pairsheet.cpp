#include "../WindowHarness.h"

#include "../../ai/ScriptedBackend.h"
#include "ui/instrument/InstrumentAnalysisRequest.h"
#include "ui/controls/Theme.h"

using namespace kalvo;

namespace {

const QDateTime wednesday = test::utc(2025, 3, 5, 13, 7); // markets open

NewsItem headline(const QString &id, const QString &title, int secondsAgo)
{
    NewsItem item = test::headline(id, wednesday.addSecs(-secondsAgo));
    item.title = title;
    return item;
}

} // namespace

class TestPairSheet : public QObject
{
    Q_OBJECT

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
    // The sheet from a tap on a row to its close button, by way of another instrument.
    void fromATapToTheClose()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.onPrices({{u"EUR/USD"_s, test::quote(u"EUR/USD"_s, 1.084213, -0.2, wednesday.addSecs(-150))}});
        QVERIFY(h.click(h.item(u"priceRow:EUR/USD"_s)));
        QTRY_VERIFY(sheetOpen(h, u"pairSheet"_s));
        QCOMPARE(h.color(u"pairPrice"_s), Theme::red());
        QCOMPARE(h.color(u"pairChange"_s), Theme::red());
        QStringList boxes;
        for (const QString &name : {u"statPrice"_s, u"statChange"_s, u"statDirection"_s, u"statUpdated"_s}) {
            QQuickItem *box = h.item(name);
            QVERIFY2(box, qPrintable(name));
            boxes << h.text(u"statLabel"_s, box) + u'=' + h.text(u"statValue"_s, box);
        }
        QCOMPARE(boxes, (QStringList{u"KURS=1.08421"_s, u"Δ=-0.200%"_s, u"RICHTUNG=down"_s, u"LAST UPD=vor 2 min"_s}));

        // The backend is unreachable: the request runs, fails and leaves the sheet as it was.
        InstrumentAnalysisRequest *analysis = request(h);
        QVERIFY(analysis);
        QList<bool> busy;
        connect(analysis, &InstrumentAnalysisRequest::busyChanged, [&] { busy << analysis->busy(); });
        QVERIFY(h.click(h.item(u"analysisButton"_s)));
        QTRY_COMPARE(busy, (QList<bool>{true, false}));
        QVERIFY(!sheetOpen(h, u"analysisSheet"_s));
        QVERIFY(h.shows(u"analysisLabel"_s) && !h.shows(u"analysisSpinner"_s));

        // The open sheet follows the headlines. Which news and cards belong to an instrument is the
        // presentation's rule; here: the sheet shows them.
        h.state.onNewsItem(headline(u"usd0"_s, u"Dollar news, USD #0"_s, 29));
        h.state.onNewsItem(headline(u"usd1"_s, u"Dollar news, USD #1"_s, 90));
        h.state.onNewsItem(headline(u"yen"_s, u"Yen firms (JPY)"_s, 90));
        QStringList related;
        QList<QQuickItem *> compacts;
        for (const QString &id : {u"usd0"_s, u"usd1"_s, u"yen"_s}) {
            QQuickItem *compact = h.item(u"relatedNews:"_s + id);
            if (compact && test::WindowHarness::shown(compact)) {
                related << id + u'=' + h.text(u"relatedAge"_s, compact);
                compacts << compact;
            }
        }
        QCOMPARE(related, (QStringList{u"usd0=jetzt"_s, u"usd1=vor 1 min"_s}));
        QVERIFY(test::WindowHarness::topToBottom(compacts));
        QVERIFY(!h.shows(u"noRelatedNews"_s) && h.shows(u"currencyCard:USD"_s));
        QCOMPARE(h.text(u"currencyName"_s, h.item(u"currencyCard:EUR"_s)), u"Euro"_s);

        InstrumentAnalysis result;
        result.macroDrivers = {u"BoE"_s};
        analysis->deliver(result);
        QTRY_VERIFY(sheetOpen(h, u"analysisSheet"_s));
        QVERIFY(h.shows(u"macroDrivers"_s) && !h.shows(u"catalysts"_s)); // an empty list leaves its section out

        // Another instrument gets a fresh sheet; the old sheet's analysis goes with it.
        h.state.setSelectedPair(u"US10Y"_s);
        QTRY_COMPARE(h.text(u"pairTitle"_s), u"US10Y"_s);
        const auto requests = h.window->findChildren<InstrumentAnalysisRequest *>();
        const auto fresh = std::find_if(requests.begin(), requests.end(), [](InstrumentAnalysisRequest *r) {
            return r->property("pair").toString() == u"US10Y"_s;
        });
        QVERIFY(fresh != requests.end());
        QVERIFY(!(*fresh)->hasResult());
        const auto anAnalysisIsOpen = [&] {
            const auto sheets = h.window->findChildren<QObject *>(u"analysisSheet"_s);
            return std::any_of(sheets.begin(), sheets.end(), [](QObject *s) { return s->property("opened").toBool(); });
        };
        QTRY_VERIFY(!anAnalysisIsOpen());
        QVERIFY(sheetOpen(h, u"pairSheet"_s));
        QVERIFY(h.shows(u"noRelatedNews"_s) && !h.shows(u"currencyCard:USD"_s));
        QCOMPARE(h.text(u"noRelatedNewsText"_s), u"Keine aktuellen News für US10Y"_s);

        QVERIFY(h.click(h.item(u"pairClose"_s)));
        QTRY_VERIFY(!sheetOpen(h, u"pairSheet"_s));
        QCOMPARE(h.state.selectedPair(), QString());
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
        const QJsonObject answer{
            {"verdict", "bullish"}, {"confidence", 72}, {"entry_zone", "1.0840-1.0850"}, {"positioning", "Netto long"},
            {"scenarios", QJsonObject{{"base", QJsonObject{{"probability", 30}, {"trigger", "Seitwärts"}}}}}};
        backend.script(test::ScriptedBackend::modelPath,
                       {test::ScriptedBackend::modelText(u"```json\n"_s + QString::fromUtf8(compactJson(answer))
                                                         + u"\n```"_s)});
        QStringList looks; // what the button shows each time the request starts or ends
        connect(analysis, &InstrumentAnalysisRequest::busyChanged, [&] {
            looks << (h.shows(u"analysisSpinner"_s) ? u"spinner"_s : u""_s) + (h.shows(u"analysisLabel"_s) ? u"label"_s : u""_s);
        });
        QVERIFY(h.click(h.item(u"analysisButton"_s)));
        QTRY_VERIFY(sheetOpen(h, u"analysisSheet"_s));
        qunsetenv("KALVO_BACKEND_TOKEN");
        QCOMPARE(looks, (QStringList{u"spinner"_s, u"label"_s}));
        QVERIFY(backend.bodies(test::ScriptedBackend::modelPath).last().value("prompt").toString().contains(u"EUR/USD"_s));

        QCOMPARE(h.color(u"verdict"_s), Theme::green());
        QCOMPARE(h.text(u"confidence"_s), u"Confidence: 72%"_s);
        QCOMPARE(h.text(u"setupBox:entryZone"_s), u"1.0840-1.0850"_s);
        QQuickItem *base = h.item(u"scenario:BASIS"_s);
        QCOMPARE(h.text(u"scenarioProb"_s, base) + u' ' + h.text(u"scenarioTrigger"_s, base), u"30% Seitwärts"_s);
        QCOMPARE(h.text(u"infoValue"_s, h.item(u"positioning"_s)), u"Netto long"_s);
        // Closing the analysis returns to the pair sheet, the answer kept.
        QVERIFY(h.click(h.item(u"analysisClose"_s)));
        QTRY_VERIFY(!sheetOpen(h, u"analysisSheet"_s));
        QVERIFY(sheetOpen(h, u"pairSheet"_s));
        QVERIFY(analysis->hasResult());
    }
};

QTEST_MAIN(TestPairSheet)
#include "tst_pairsheet.moc"
