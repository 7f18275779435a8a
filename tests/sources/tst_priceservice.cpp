#include "SimulatedMarket.h"

#include "PriceQuotes.h"
#include "core/Instruments.h"
#include "sources/PriceReplies.h"
#include "sources/PriceService.h"

#include <QJsonArray>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

using Prices = QMap<QString, PriceData>;
using Rates = QMap<QString, double>;

const QDateTime wednesdayNoon = test::utc(2024, 5, 8, 12);
const QString cdnPath = sim::PriceQuotes::cdnRatesPath;
const QString mirrorPath = sim::PriceQuotes::mirrorRatesPath;
const QString frankfurterPath = sim::PriceQuotes::frankfurterPath;

QString chartPath(const QString &instrument) { return sim::PriceQuotes::chartPrefix + *yahooSymbol(instrument); }
sim::HttpReply json(const QByteArray &body, int status = 200) { return {status, "application/json", body}; }

// A price service for `instruments` on the simulator.
class Harness : public test::SimulatedMarket<PriceService, Prices>
{
public:
    explicit Harness(const QStringList &instruments, const QDateTime &start = wednesdayNoon, qint64 refreshSeconds = 15)
        : SimulatedMarket(start)
    {
        Config config;
        config.marketPairs = instruments;
        config.marketExtras = {};
        config.priceRefreshSeconds = refreshSeconds;
        service = std::make_unique<PriceService>(config, endpoints(), clock);
        service->setTimeouts({200ms, 200ms});
    }

    // The service pauses on the clock only between cycles.
    bool nextCycle(Clock::Duration pause = {})
    {
        clock.advance(pause);
        return test::spin([this] { return clock.pendingSleepers() == 1; });
    }
};

QByteArray chartBody(const QJsonValue &marketPrice, const QJsonValue &previousClose)
{
    QJsonObject meta{{u"currency"_s, u"USD"_s}, {u"symbol"_s, u"EURUSD=X"_s}};
    if (!marketPrice.isUndefined())
        meta.insert(u"regularMarketPrice"_s, marketPrice);
    if (!previousClose.isUndefined())
        meta.insert(u"previousClose"_s, previousClose);
    return compactJson({{u"chart"_s, QJsonObject{{u"result"_s, QJsonArray{QJsonObject{{u"meta"_s, meta}}}},
                                                  {u"error"_s, QJsonValue::Null}}}});
}

} // namespace

class TestPriceService : public QObject
{
    Q_OBJECT

private slots:
    // Every chart answers `chart` with `chartStatus` (-1: 200, but the
    // EUR/USD chart hangs); each rates source answers its body. A null body
    // is an injected 404.
    void sourcesAndReplies_data()
    {
        QTest::addColumn<QByteArray>("chart");
        QTest::addColumn<int>("chartStatus");
        QTest::addColumn<QByteArray>("cdn");
        QTest::addColumn<QByteArray>("mirror");
        QTest::addColumn<QByteArray>("frankfurter");
        QTest::addColumn<Rates>("prices"); // empty: nothing delivered, every source tried
        QTest::addColumn<QStringList>("untouched");

        const QByteArray none;
        const QByteArray cdn = R"({"date":"2024-05-08","usd":{"eur":0.8,"jpy":150}})";
        const QByteArray mirror = R"({"usd":{"eur":0.5,"jpy":140}})";
        const QByteArray frankfurter = R"({"amount":1.0,"base":"USD","date":"2024-05-07","rates":{"EUR":0.4,"JPY":130}})";
        const Rates fromCdn{{u"EUR/USD"_s, 1.25}, {u"USD/JPY"_s, 150}};
        const Rates fromMirror{{u"EUR/USD"_s, 2.0}, {u"USD/JPY"_s, 140}};
        const Rates fromFrankfurter{{u"EUR/USD"_s, 2.5}, {u"USD/JPY"_s, 130}};
        const auto charted = [](double price) { return Rates{{u"EUR/USD"_s, price}, {u"USD/JPY"_s, price}, {u"DXY"_s, price}}; };
        const auto row = [](const char *name, const QByteArray &chart, int chartStatus, const QByteArray &cdn, const QByteArray &mirror,
                            const QByteArray &frankfurter, const Rates &prices, const QStringList &untouched) {
            QTest::newRow(name) << chart << chartStatus << cdn << mirror << frankfurter << prices << untouched;
        };
        // The order of the sources; the index has no other source than the chart.
        row("chart prices everything", chartBody(1.1, 1.0), 200, cdn, mirror, frankfurter, charted(1.1),
            {cdnPath, mirrorPath, frankfurterPath});
        row("chart down: CDN, index absent", none, 200, cdn, mirror, frankfurter, fromCdn, {mirrorPath});
        row("CDN 404: mirror", none, 200, none, mirror, frankfurter, fromMirror, {});
        row("both files down: Frankfurter", none, 200, none, none, frankfurter, fromFrankfurter, {});
        row("hanging chart: only that instrument from the file", chartBody(1.1, 1.0), -1, cdn, mirror, frankfurter,
            {{u"EUR/USD"_s, 1.25}, {u"USD/JPY"_s, 1.1}, {u"DXY"_s, 1.1}}, {mirrorPath, frankfurterPath});
        // Chart replies: regularMarketPrice > 0, else previousClose; status exactly 200.
        row("zero market price: previous close", chartBody(0, 1.05), 200, none, none, none, charted(1.05), {});
        row("market price as text: previous close", chartBody(u"1.1"_s, 1.0), 200, none, none, none, charted(1.0), {});
        row("only a market price of zero", chartBody(0, QJsonValue()), 200, none, none, none, {}, {});
        row("error reply", R"({"chart":{"result":null,"error":{"code":"Not Found"}}})", 200, none, none, none, {}, {});
        row("empty result array", R"({"chart":{"result":[],"error":null}})", 200, none, none, none, {}, {});
        row("good body, status 203", chartBody(1.1, 1.0), 203, none, none, none, {}, {});
        // Rates files: numeric entries only, codes upper-cased.
        row("usd is a list: mirror", none, 200, R"({"usd":[0.8,150]})", mirror, frankfurter, fromMirror, {});
        row("text entries skipped, Frankfurter fills in", none, 200, R"({"usd":{"eur":"0.8","jpy":150}})", mirror,
            frankfurter, {{u"EUR/USD"_s, 2.5}, {u"USD/JPY"_s, 150}}, {mirrorPath});
        row("codes upper-cased", none, 200, R"({"usd":{"EUR":0.8,"Jpy":150}})", none, none, fromCdn, {mirrorPath});
        row("Frankfurter with a text rate gives nothing", none, 200, none, none, R"({"rates":{"EUR":0.5,"JPY":"140"}})", {}, {});
    }
    void sourcesAndReplies()
    {
        QFETCH(QByteArray, chart);
        QFETCH(int, chartStatus);
        QFETCH(Rates, prices);
        QFETCH(QStringList, untouched);
        const QStringList instruments{u"EUR/USD"_s, u"USD/JPY"_s, u"DXY"_s};
        Harness harness(instruments);
        sim::LoopbackServer &server = harness.server();
        server.routePrefix(sim::PriceQuotes::chartPrefix, [&](const sim::RecordedRequest &) {
            return json(chart, chart.isNull() ? 404 : std::max(chartStatus, 200));
        });
        if (chartStatus < 0)
            server.setFault(chartPath(u"EUR/USD"_s), {sim::Fault::Kind::Hang, 0, 0});
        QFETCH(QByteArray, cdn);
        QFETCH(QByteArray, mirror);
        QFETCH(QByteArray, frankfurter);
        for (const auto &[path, body] : {std::pair{cdnPath, cdn}, {mirrorPath, mirror}, {frankfurterPath, frankfurter}})
            server.route(path, [body = body](const sim::RecordedRequest &) { return json(body, body.isNull() ? 404 : 200); });
        harness.start();
        QVERIFY(harness.nextCycle());

        QCOMPARE(harness.deliveries.size(), prices.isEmpty() ? 0 : 1);
        if (prices.isEmpty())
            QCOMPARE(server.requestCount(frankfurterPath), 1);
        else
            QCOMPARE(harness.deliveries[0].keys(), prices.keys());
        for (auto it = prices.cbegin(); it != prices.cend(); ++it)
            QCOMPARE(harness.deliveries[0][it.key()].price, it.value());
        for (const QString &path : untouched)
            QCOMPARE(server.requestCount(path), 0);
    }

    // Two cycles of one instrument: its chart request, with the ticker encoded
    // like a query value; the pause between them, the setting while the
    // market is open and five minutes while it is closed; the move from the
    // first quote to the second.
    void twoCycles_data()
    {
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<int>("refreshSeconds");
        QTest::addColumn<int>("pauseSeconds");
        QTest::addColumn<double>("first");
        QTest::addColumn<double>("second");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<double>("changePct");
        QTest::newRow("half a millionth is noise") << wednesdayNoon << 15 << 15 << 1.0 << 1.0000005 << u"flat"_s << 0.00005;
        QTest::newRow("two millionths is up, slower refresh")
            << wednesdayNoon << 60 << 60 << 1.0 << 1.000002 << u"up"_s << 0.0002;
        QTest::newRow("percent of the previous price, closed on Saturday")
            << test::utc(2024, 5, 11, 12) << 1000 << 300 << 100.0 << 101.0 << u"up"_s << 1.0;
    }
    void twoCycles()
    {
        QFETCH(QDateTime, start);
        QFETCH(int, refreshSeconds);
        QFETCH(int, pauseSeconds);
        QFETCH(double, first);
        QFETCH(double, second);
        double current = first;
        Harness harness({u"US10Y"_s}, start, refreshSeconds);
        harness.server().routePrefix(sim::PriceQuotes::chartPrefix, [&](const sim::RecordedRequest &) {
            return json(chartBody(current, 1.0));
        });
        harness.start();
        QVERIFY(harness.nextCycle());
        const QList<sim::RecordedRequest> &requests = harness.server().requests();
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests[0].path + u'?' + requests[0].query, u"/v8/finance/chart/^TNX?interval=1m&range=1d"_s);
        QCOMPARE(requests[0].headers.value("user-agent"),
                 QByteArray("Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/537.36"));
        QCOMPARE(requests[0].headers.value("accept"), QByteArray("application/json"));
        const PriceData opening = harness.deliveries.value(0).value(u"US10Y"_s);
        QCOMPARE((std::tuple{opening.id, opening.change, opening.changePct, opening.timestamp}),
                 (std::tuple{u"US10Y"_s, 0.0, 0.0, start}));
        QCOMPARE(opening.direction, PriceData::Direction::Flat);

        current = second;
        harness.clock.advance(std::chrono::seconds(pauseSeconds - 1));
        QCoreApplication::processEvents();
        QCOMPARE(harness.clock.pendingSleepers(), 1);
        QCOMPARE(requests.size(), 1);
        QVERIFY(harness.nextCycle(1s));
        QCOMPARE(requests.size(), 2);
        QCOMPARE(harness.deliveries.size(), 2);
        const PriceData quote = harness.deliveries[1][u"US10Y"_s];
        QCOMPARE(quote.price, second);
        QCOMPARE(quote.change, second - first);
        QCOMPARE(quote.timestamp, start.addSecs(pauseSeconds));
        QTEST(PriceData::directionText(quote.direction), "direction");
        QFETCH(double, changePct);
        QVERIFY2(qFuzzyCompare(1 + quote.changePct, 1 + changePct), qPrintable(QString::number(quote.changePct)));
    }

    void priceFromUSDRates_data()
    {
        QTest::addColumn<QString>("instrument");
        QTest::addColumn<Rates>("rates");
        QTest::addColumn<QVariant>("price");

        const Rates usual{{u"EUR"_s, 0.92}, {u"JPY"_s, 150}, {u"GBP"_s, 0.8}, {u"CHF"_s, 0.9}, {u"CNY"_s, 7.2},
                          {u"CNH"_s, 7.3}, {u"XAU"_s, 0.0005}, {u"CAD"_s, 1.25}, {u"SEK"_s, 10}, {u"USD"_s, 1},
                          {u"DXY"_s, 104}, {u"CRUDE"_s, 80}};
        QTest::newRow("dollar base") << u"USD/JPY"_s << usual << QVariant(150.0);
        QTest::newRow("dollar quote") << u"EUR/USD"_s << usual << QVariant(1 / 0.92);
        QTest::newRow("yen cross") << u"EUR/JPY"_s << usual << QVariant(150 / 0.92);
        QTest::newRow("offshore yuan from onshore") << u"USD/CNH"_s << usual << QVariant(7.2);
        QTest::newRow("any cross") << u"CAD/JPY"_s << usual << QVariant(120.0);
        QTest::newRow("index never") << u"DXY"_s << usual << QVariant();
        QTest::newRow("missing code") << u"USD/NOK"_s << usual << QVariant();
        QTest::newRow("zero divisor") << u"EUR/USD"_s << Rates{{u"EUR"_s, 0}} << QVariant();
        QTest::newRow("named cross checks both legs") << u"EUR/JPY"_s << Rates{{u"EUR"_s, 0.9}, {u"JPY"_s, -1}} << QVariant();
        QTest::newRow("other cross checks the base only") << u"NOK/SEK"_s << Rates{{u"NOK"_s, 10}, {u"SEK"_s, -10}} << QVariant(-1.0);
    }
    void priceFromUSDRates()
    {
        QFETCH(QString, instrument);
        QFETCH(Rates, rates);
        QFETCH(QVariant, price);
        const std::optional<double> actual = kalvo::priceFromUSDRates(instrument, rates);
        QCOMPARE(actual.has_value(), price.isValid());
        if (actual)
            QVERIFY2(qFuzzyCompare(*actual, price.toDouble()), qPrintable(QString::number(*actual, 'g', 17)));
    }

    // Destroyed while a request hangs: nothing is delivered.
    void destroyedServiceEndsItsLoop()
    {
        Harness harness({u"EUR/USD"_s});
        harness.service->setTimeouts({10s, 10s});
        harness.server().setFault(chartPath(u"EUR/USD"_s), {sim::Fault::Kind::Hang, 0, 0});
        harness.start();
        QVERIFY(test::spin([&] { return harness.server().requests().size() == 1; }));
        QVERIFY(harness.endsWhenDestroyed());
        QVERIFY(harness.deliveries.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestPriceService)
#include "tst_priceservice.moc"
