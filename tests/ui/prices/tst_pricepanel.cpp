#include "../WindowHarness.h"

#include "ui/controls/Theme.h"
#include "ui/prices/PriceListModel.h"
#include "ui/prices/PricePresentation.h"

#include <QAbstractItemModelTester>

using namespace kalvo;
using namespace std::chrono_literals;
namespace PP = kalvo::PricePresentation;

namespace {

const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

using Quote = std::optional<PriceData>;

PriceData quote(const QString &pair, double price, double changePct)
{
    return test::quote(pair, price, changePct, noon);
}

NewsItem headline(const QString &id, const QString &title, const QString &analysisHeadline = {},
                  const QMap<QString, QString> &pairs = {})
{
    NewsItem item = test::headline(id, noon);
    item.title = title;
    if (!analysisHeadline.isNull() || !pairs.isEmpty())
        item.analysis = NewsAnalysis{.headline = analysisHeadline, .pairs = pairs};
    return item;
}

// A real AppState with the list model and Qt's model checker on it.
struct ModelHarness
{
    ManualClock clock{noon};
    AppState state{clock};
    PriceListModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
    ModelHarness() { model.setAppState(&state); }
};

} // namespace

Q_DECLARE_METATYPE(Quote)

// The price rules, the list model that hands them to the panel, and the panel itself.
class TestPricePanel : public QObject
{
    Q_OBJECT

private slots:
    void changeHasADeadBand_data()
    {
        QTest::addColumn<Quote>("quote");
        QTest::addColumn<QColor>("color");
        QTest::addColumn<QString>("arrow");
        QTest::addColumn<QString>("text");
        const auto q = [](double pct) { return Quote(quote(u"EUR/USD"_s, 1.1, pct)); };
        const QColor rise = Theme::green(), flat = Theme::textSecondary(), fall = Theme::red();
        QTest::newRow("no quote") << Quote() << Theme::textMuted() << QString() << QString();
        QTest::newRow("just above the band") << q(0.0011) << rise << u"▲"_s << u"+0.001%"_s;
        QTest::newRow("0.001 is inside, its arrow still up") << q(0.001) << flat << u"▲"_s << u"+0.001%"_s;
        QTest::newRow("-0.001 itself is inside") << q(-0.001) << flat << u"▼"_s << u"-0.001%"_s;
        QTest::newRow("just below the band") << q(-0.0011) << fall << u"▼"_s << u"-0.001%"_s;
        QTest::newRow("unchanged: zero has a sign too") << q(0) << flat << u"─"_s << u"+0.000%"_s;
    }
    void changeHasADeadBand()
    {
        QFETCH(Quote, quote);
        QTEST(PP::changeColor(quote), "color");
        QTEST(PP::arrow(quote), "arrow");
        if (quote)
            QTEST(PP::changeText(quote->changePct), "text");
    }

    void ages_data()
    {
        QTest::addColumn<qint64>("secondsAgo");
        QTest::addColumn<QString>("quoteAge");
        QTest::addColumn<QString>("newsAge");
        QTest::newRow("59 s") << 59LL << u"gerade eben"_s << u"jetzt"_s;
        QTest::newRow("60 s") << 60LL << u"vor 1 min"_s << u"vor 1 min"_s;
        QTest::newRow("an hour") << 3600LL << u"vor 1 h"_s << u"vor 1 h"_s;
        QTest::newRow("two days") << 2 * 86400LL << u"vor 2 d"_s << u"vor 2 d"_s;
        QTest::newRow("in the future") << -300LL << u"gerade eben"_s << u"jetzt"_s;
    }
    void ages()
    {
        QFETCH(qint64, secondsAgo);
        const QDateTime then = noon.addSecs(-secondsAgo);
        QTEST(PP::quoteAge(then, noon), "quoteAge");
        QTEST(PP::compactAge(then, noon), "newsAge");
    }

    void relatedNews_data()
    {
        QTest::addColumn<QString>("instrument");
        QTest::addColumn<QList<NewsItem>>("news");
        QTest::addColumn<QStringList>("related");
        const QList<NewsItem> mixed{
            headline(u"usd-in-title"_s, u"Dollar slips as USD bears return"_s),
            headline(u"eur-in-headline"_s, u"Lagarde speaks"_s, u"EUR unter Druck"_s),
            headline(u"pair-key"_s, u"Central banks meet"_s, u""_s, {{u"EUR/USD"_s, u"bearish"_s}}),
            headline(u"other-key"_s, u"Yen firms"_s, u""_s, {{u"USD/JPY"_s, u"bearish"_s}}),
        };
        // A pair key counts only when it names the instrument itself.
        QTest::newRow("base, quote and pair key, in list order")
            << u"EUR/USD"_s << mixed << QStringList{u"usd-in-title"_s, u"eur-in-headline"_s, u"pair-key"_s};
        QTest::newRow("pair keys are compared without slash and case")
            << u"EUR/GBP"_s
            << QList<NewsItem>{headline(u"k"_s, u"Markets"_s, u""_s, {{u"EURGBP"_s, u"bullish"_s}}),
                               headline(u"not"_s, u"Markets"_s, u""_s, {{u"EUR/GBX"_s, u"bullish"_s}})}
            << QStringList{u"k"_s};
        QList<NewsItem> many;
        for (int i = 0; i < 12; ++i)
            many << headline(u"n%1"_s.arg(i), u"Headline about usd #%1"_s.arg(i));
        QTest::newRow("at most eight, the first ones")
            << u"EUR/USD"_s << many
            << QStringList{u"n0"_s, u"n1"_s, u"n2"_s, u"n3"_s, u"n4"_s, u"n5"_s, u"n6"_s, u"n7"_s};
    }
    void relatedNews()
    {
        QFETCH(QString, instrument);
        QFETCH(QList<NewsItem>, news);
        QStringList ids;
        for (const NewsItem &item : PP::relatedNews(news, instrument))
            ids << item.id;
        QTEST(ids, "related");
    }

    void currencyCards()
    {
        QCOMPARE(PP::currencyCodes(u"EUR/USD"_s), (QStringList{u"EUR"_s, u"USD"_s}));
        QCOMPARE(PP::currencyCodes(u"USD/MXN"_s), QStringList{u"USD"_s}); // a code without card is left out
        QVERIFY(!PP::currencyInfo(u"eur"_s)); // codes as the instruments spell them
    }

    void analysisValues()
    {
        InstrumentAnalysis analysis;
        analysis.bullProb = analysis.bearProb = 25;
        analysis.baseProb = 50;
        analysis.baseTrigger = u"Seitwärts"_s;
        const QList<std::tuple<QString, QString, QColor>> verdicts{{u"bullish"_s, u"BULLISH"_s, Theme::green()},
                                                                   {u"bearish"_s, u"BEARISH"_s, Theme::red()},
                                                                   {u"Bullish"_s, u"BULLISH"_s, Theme::yellow()}};
        for (const auto &[verdict, shown, color] : verdicts) {
            analysis.verdict = verdict;
            const QVariantMap values = PP::analysisValues(analysis);
            QCOMPARE(values.value(u"verdict"_s).toString(), shown);
            QCOMPARE(values.value(u"verdictColor"_s).value<QColor>(), color);
        }
        QStringList scenarios;
        for (const QVariant &scenario : PP::analysisValues(analysis).value(u"scenarios"_s).toList()) {
            const QVariantMap map = scenario.toMap();
            scenarios << map.value(u"label"_s).toString() + u' ' + map.value(u"prob"_s).toString() + u' '
                             + map.value(u"trigger"_s).toString();
        }
        QCOMPARE(scenarios, (QStringList{u"BULLISH 25% "_s, u"BASIS 50% Seitwärts"_s, u"BEARISH 25% "_s}));
    }

    // The header goes with the extras: without extras there is none.
    void noExtrasNoHeader()
    {
        ModelHarness h;
        Config config;
        config.marketPairs = {u"GBP/USD"_s, u"EUR/USD"_s};
        config.marketExtras.clear();
        h.state.setConfig(config);
        QCOMPARE(h.model.rowCount(), 2);
    }

    void closedRowsSayWE_data()
    {
        QTest::addColumn<Quote>("quote");
        QTest::addColumn<QString>("price");
        QTest::addColumn<QColor>("priceColor");
        const Quote up = quote(u"USD/JPY"_s, 151.2371, 0.21);
        QTest::newRow("the last price, dimmed") << up << u"151.237"_s << Theme::textSecondary();
        QTest::newRow("no quote") << Quote() << u"—"_s << Theme::textMuted();
    }
    void closedRowsSayWE()
    {
        QFETCH(Quote, quote);
        const auto value = [&](int role) { return PriceListModel::value(u"USD/JPY"_s, quote, true, role); };
        QTEST(value(PriceListModel::PriceTextRole).toString(), "price");
        QCOMPARE(value(PriceListModel::ChangeTextRole).toString(), u"WE"_s);
        QTEST(value(PriceListModel::PriceColorRole).value<QColor>(), "priceColor");
        QCOMPARE(value(PriceListModel::NameColorRole).value<QColor>(), Theme::textSecondary());
    }

    void aDeliveryChangesOnlyTheRowsWhoseQuoteChanged()
    {
        ModelHarness h; // the default instruments: 3 pairs, header, 2 extras
        h.state.onPrices({{u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.08, 0.1)}, {u"DXY"_s, quote(u"DXY"_s, 104, -0.2)}});
        QSignalSpy changed(&h.model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&h.model, &QAbstractItemModel::modelReset);
        // Same EUR/USD, new DXY change, new GBP/USD.
        h.state.onPrices({{u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.08, 0.1)}, {u"DXY"_s, quote(u"DXY"_s, 104, 0.3)},
                           {u"GBP/USD"_s, quote(u"GBP/USD"_s, 1.27, 0)}});
        QList<int> rows;
        for (const QList<QVariant> &signal : changed) {
            QCOMPARE(signal.at(0).toModelIndex(), signal.at(1).toModelIndex());
            rows << signal.at(0).toModelIndex().row();
        }
        QCOMPARE(rows, (QList<int>{1, 4}));
        QCOMPARE(reset.count(), 0);
        QCOMPARE(h.model.index(4).data(PriceListModel::ChangeTextRole).toString(), u"+0.300%"_s);
    }

    // The colour and text rules are the presentation's; here: the panel shows them.
    void thePanelFollowsQuotesAndTheMarket()
    {
        test::WindowHarness h(test::utc(2025, 3, 7, 21, 59)); // Friday, a minute before the close
        QVERIFY(h.load());
        QQuickItem *row = h.item(u"priceRow:EUR/USD"_s);
        QVERIFY(row);
        // No quote while open: waiting.
        QCOMPARE(h.text(u"priceValue"_s, row), u"—"_s);
        QCOMPARE(h.color(u"priceValue"_s, row), Theme::textMuted());
        QCOMPARE(h.text(u"priceArrow"_s, row), QString());
        QVERIFY(h.shows(u"priceWaiting"_s, row) && !h.shows(u"priceChange"_s, row));
        // A wait without end does not keep the window redrawing: the spinner comes to rest.
        QQuickItem *spinner = h.item(u"priceWaiting"_s, row);
        QVERIFY(spinner->property("turning").toBool());
        spinner->setProperty("turnForMs", 20);
        QTRY_VERIFY(!spinner->property("turning").toBool());
        h.state.onPrices({{u"EUR/USD"_s, test::quote(u"EUR/USD"_s, 1.084213, 0.125, h.clock.now())}});
        QCOMPARE(h.text(u"priceValue"_s, row), u"1.08421"_s);
        QCOMPARE(h.color(u"priceValue"_s, row), Theme::green());
        QCOMPARE(h.text(u"priceArrow"_s, row), u"▲"_s);
        QCOMPARE(h.text(u"priceChange"_s, row), u"+0.125%"_s);
        QVERIFY(h.shows(u"priceChange"_s, row) && !h.shows(u"priceWaiting"_s, row));

        // Which rows there are is the list model's rule; here: the header sits between pairs and extras.
        QQuickItem *header = h.item(u"priceExtrasHeader"_s);
        QVERIFY(h.shows(u"priceExtrasHeader"_s));
        QCOMPARE(h.text(u"priceExtrasTitle"_s, header), u"MARKT-EXTRAS"_s);
        QVERIFY(test::WindowHarness::topToBottom({h.item(u"priceRow:USD/JPY"_s), header, h.item(u"priceRow:DXY"_s)}));

        // The status texts are the market clock's; here: the panel follows it on its minute timer.
        QObject *timer = h.object(u"priceStatusTimer"_s);
        QCOMPARE(timer ? timer->property("interval").toInt() : 0, 60000);
        h.clock.advance(1min);
        QVERIFY(!h.shows(u"closedBlock"_s)); // nothing new until the timer fires
        QMetaObject::invokeMethod(timer, "triggered");
        QVERIFY(h.shows(u"closedBlock"_s));
        QCOMPARE(h.text(u"closedDetail"_s), u"Wochenende — öffnet So 22:00 UTC"_s);
        QCOMPARE(h.text(u"priceChange"_s, row), u"WE"_s);
    }
};

QTEST_MAIN(TestPricePanel)
#include "tst_pricepanel.moc"
