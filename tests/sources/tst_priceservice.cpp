#include "../TestSupport.h"

#include "CalendarFeed.h"
#include "LoopbackServer.h"
#include "MarketSimulator.h"
#include "PriceQuotes.h"
#include "core/Clock.h"
#include "core/Instruments.h"
#include "sources/PriceReplies.h"
#include "sources/PriceService.h"

#include <QJsonObject>
#include <QTimer>

#include <memory>
#include <optional>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

using Prices = QMap<QString, PriceData>;
using Rates = QMap<QString, double>;
using Sources = QMap<QString, QString>; // instrument -> the source that priced it

const QDateTime wednesdayNoon = test::utc(2024, 5, 8, 12);
const QString cdnPath = sim::PriceQuotes::cdnRatesPath;
const QString mirrorPath = sim::PriceQuotes::mirrorRatesPath;
const QString frankfurterPath = sim::PriceQuotes::frankfurterPath;

QString chartPath(const QString &instrument)
{
    return sim::PriceQuotes::chartPrefix + yahooSymbol(instrument).value_or(instrument);
}

// Runs the event loop until `done`, waking for every event rather than
// polling, so network round trips cost what they cost. `limit` only guards
// against a hang.
template<typename Predicate>
bool waitUntil(Predicate done, std::chrono::milliseconds limit = 5s)
{
    QTimer guard;
    guard.setSingleShot(true);
    guard.start(limit);
    while (!done()) {
        if (!guard.isActive())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

struct FaultAt
{
    QString path;
    sim::Fault fault;
};

sim::Fault status(int code) { return {sim::Fault::Kind::Status, code, 0}; }
sim::Fault kind(sim::Fault::Kind kind) { return {kind, 0, 0}; }

QList<FaultAt> chartsFail(const QStringList &instruments, const sim::Fault &fault = status(500))
{
    QList<FaultAt> faults;
    for (const QString &instrument : instruments)
        faults.append({chartPath(instrument), fault});
    return faults;
}

// A price service on a manual clock, asking either the market simulator or a
// server the test scripts itself.
class Harness
{
public:
    explicit Harness(const QStringList &instruments, const QDateTime &start = wednesdayNoon,
                     qint64 refreshSeconds = 15, sim::LoopbackServer *scripted = nullptr)
        : clock(start)
    {
        QUrl base;
        if (scripted) {
            base = scripted->baseUrl();
        } else {
            sim::SimulatorOptions options;
            options.now = [this] { return clock.now(); };
            simulator = std::make_unique<sim::MarketSimulator>(options);
            simulator->start();
            base = simulator->baseUrl();
        }
        QStringList problems;
        const Endpoints endpoints = Endpoints::fromJson(compactJson({{u"base"_s, base.toString()}}), &problems);
        Config config;
        config.marketPairs = instruments;
        config.marketExtras = {};
        config.priceRefreshSeconds = refreshSeconds;
        service = std::make_unique<PriceService>(config, endpoints, clock);
        service->setTimeouts({200ms, 200ms});
    }

    void start()
    {
        task.emplace(service->run([this](const Prices &prices) { deliveries.append(prices); }));
    }

    // The service pauses on the clock only between cycles.
    bool waitForPause() { return waitUntil([this] { return clock.pendingSleepers() == 1; }); }

    bool nextCycle(Clock::Duration pause)
    {
        clock.advance(pause);
        return waitForPause();
    }

    sim::LoopbackServer &server() { return simulator->server(); }

    ManualClock clock;
    std::unique_ptr<sim::MarketSimulator> simulator;
    std::unique_ptr<PriceService> service;
    std::optional<QCoro::Task<>> task;
    QList<Prices> deliveries;
};

// The price a rates file gives, written out per instrument rather than through the code under test.
double fromRates(const QString &instrument, const Rates &usdRates)
{
    if (instrument == "EUR/USD"_L1)
        return 1 / usdRates.value(u"EUR"_s);
    if (instrument == "USD/JPY"_L1)
        return usdRates.value(u"JPY"_s);
    if (instrument == "XAU/USD"_L1)
        return 1 / usdRates.value(u"XAU"_s);
    return qQNaN();
}

Rates upperCased(const Rates &rates)
{
    Rates result;
    for (auto it = rates.cbegin(); it != rates.cend(); ++it)
        result.insert(it.key().toUpper(), it.value());
    return result;
}

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

sim::HttpReply answer(const QByteArray &body, int status = 200)
{
    return body.isNull() ? sim::HttpReply{404, "text/plain", "not found"} : sim::HttpReply{status, "application/json", body};
}

} // namespace

Q_DECLARE_METATYPE(QList<FaultAt>)

class TestPriceService : public QObject
{
    Q_OBJECT

private slots:
    void sourcesInOrderOfPreference_data()
    {
        QTest::addColumn<QStringList>("instruments");
        QTest::addColumn<QList<FaultAt>>("faults");
        QTest::addColumn<Sources>("sources"); // instruments not named stay absent
        QTest::addColumn<QStringList>("untouched");

        const QStringList three{u"EUR/USD"_s, u"USD/JPY"_s, u"XAU/USD"_s};
        const QStringList withIndex = three + QStringList{u"DXY"_s};
        const QStringList two{u"EUR/USD"_s, u"USD/JPY"_s};
        const auto from = [](const QStringList &instruments, const QString &source) {
            Sources sources;
            for (const QString &instrument : instruments)
                sources.insert(instrument, source);
            return sources;
        };
        // The chart fails for all three, plus `more`.
        const auto down = [&](const QList<FaultAt> &more) { return chartsFail(three) + more; };
        const QList<FaultAt> filesDown{{cdnPath, status(500)}, {mirrorPath, status(404)}};

        const QStringList six = withIndex + QStringList{u"US10Y"_s, u"CAD/JPY"_s};
        QTest::newRow("chart prices everything") << six << QList<FaultAt>{} << from(six, u"chart"_s)
                                                 << QStringList{cdnPath, mirrorPath, frankfurterPath};
        QTest::newRow("chart down: rates file, index stays absent")
            << withIndex << chartsFail(withIndex) << from(three, u"cdn"_s) << QStringList{mirrorPath};
        QTest::newRow("chart rate-limited, file complete: Frankfurter not asked")
            << three << chartsFail(three, status(429)) << from(three, u"cdn"_s) << QStringList{mirrorPath, frankfurterPath};
        QTest::newRow("CDN 404: mirror") << three << down({{cdnPath, status(404)}}) << from(three, u"mirror"_s)
                                         << QStringList{frankfurterPath};
        QTest::newRow("CDN empty array: mirror") << three << down({{cdnPath, kind(sim::Fault::Kind::EmptyArray)}})
                                                 << from(three, u"mirror"_s) << QStringList{frankfurterPath};
        QTest::newRow("CDN hangs past its time-out: mirror") << three << down({{cdnPath, kind(sim::Fault::Kind::Hang)}})
                                                             << from(three, u"mirror"_s) << QStringList{frankfurterPath};
        QTest::newRow("both files down: Frankfurter, no index")
            << withIndex << chartsFail(withIndex) + filesDown << from(two, u"frankfurter"_s) << QStringList{};
        QTest::newRow("hanging chart request gives way to the file")
            << two << chartsFail({u"EUR/USD"_s}, kind(sim::Fault::Kind::Hang))
            << Sources{{u"EUR/USD"_s, u"cdn"_s}, {u"USD/JPY"_s, u"chart"_s}} << QStringList{mirrorPath, frankfurterPath};
        QTest::newRow("only the missing instrument from the file")
            << two << chartsFail({u"USD/JPY"_s}, status(404))
            << Sources{{u"EUR/USD"_s, u"chart"_s}, {u"USD/JPY"_s, u"cdn"_s}} << QStringList{mirrorPath, frankfurterPath};
        QTest::newRow("instrument nobody knows stays absent")
            << QStringList{u"GOLD"_s, u"EUR/USD"_s} << QList<FaultAt>{} << from({u"EUR/USD"_s}, u"chart"_s)
            << QStringList{mirrorPath};
        QTest::newRow("nothing anywhere: no delivery")
            << three << down(filesDown + QList<FaultAt>{{frankfurterPath, status(429)}}) << Sources{} << QStringList{};
        QTest::newRow("Frankfurter hangs: no delivery")
            << three << down(filesDown + QList<FaultAt>{{frankfurterPath, kind(sim::Fault::Kind::Hang)}}) << Sources{}
            << QStringList{};
    }
    void sourcesInOrderOfPreference()
    {
        QFETCH(QStringList, instruments);
        QFETCH(QList<FaultAt>, faults);
        QFETCH(Sources, sources);
        QFETCH(QStringList, untouched);

        Harness harness(instruments);
        for (const FaultAt &fault : faults)
            harness.server().setFault(fault.path, fault.fault);
        harness.start();
        QVERIFY(harness.waitForPause());

        if (sources.isEmpty()) {
            QVERIFY(harness.deliveries.isEmpty());
        } else {
            QCOMPARE(harness.deliveries.size(), 1);
            const Prices &delivered = harness.deliveries.first();
            QCOMPARE(delivered.keys(), sources.keys());
            const QDateTime now = harness.clock.now();
            const sim::PriceQuotes &quotes = harness.simulator->prices();
            for (auto it = sources.cbegin(); it != sources.cend(); ++it) {
                const double price = delivered[it.key()].price;
                double expected = qQNaN();
                if (*it == "chart"_L1)
                    expected = quotes.lastPrice(*yahooSymbol(it.key()), now).value_or(qQNaN());
                else if (*it == "frankfurter"_L1)
                    expected = fromRates(it.key(), quotes.referenceRates(now, u"USD"_s));
                else
                    expected = fromRates(it.key(), upperCased(quotes.usdRates(now)));
                QVERIFY2(qFuzzyCompare(price, expected), qPrintable(u"%1: %2 instead of %3 from %4"_s.arg(it.key()).arg(price).arg(expected).arg(*it)));
            }
        }
        const bool fromMirror = std::any_of(sources.cbegin(), sources.cend(), [](const QString &s) { return s == "mirror"_L1; });
        if (fromMirror)
            QCOMPARE(harness.server().requestCount(cdnPath), 1); // the CDN was asked first
        for (const QString &path : untouched)
            QCOMPARE(harness.server().requestCount(path), 0);
    }

    // Every ticker of the instrument table is served, and crosses agree with
    // their dollar legs, so the app shows a coherent market.
    void simulatorQuotesEveryInstrument()
    {
        const QStringList instruments = u"EUR/USD GBP/USD USD/JPY USD/CHF AUD/USD NZD/USD USD/CAD EUR/GBP EUR/JPY GBP/JPY "
                                        "USD/MXN USD/CNH AUD/JPY EUR/CHF GBP/CHF EUR/AUD GBP/AUD DXY XAU/USD CRUDE US10Y"_s.split(u' ');
        Harness harness(instruments);
        harness.start();
        QVERIFY(harness.waitForPause());
        QCOMPARE(harness.deliveries.size(), 1);
        const Prices &prices = harness.deliveries.first();
        QCOMPARE(prices.size(), instruments.size());
        for (const PriceData &quote : prices)
            QVERIFY2(quote.price > 0, qPrintable(quote.pair));
        const auto price = [&](const char *instrument) { return prices[QString::fromLatin1(instrument)].price; };
        QVERIFY(std::abs(price("EUR/JPY") / (price("EUR/USD") * price("USD/JPY")) - 1) < 0.0005);
        QVERIFY(std::abs(price("GBP/AUD") / (price("GBP/USD") / price("AUD/USD")) - 1) < 0.0005);
        QCOMPARE(harness.server().requestCount(cdnPath), 0);
    }

    void directionThreshold_data()
    {
        QTest::addColumn<double>("first");
        QTest::addColumn<double>("second");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<double>("changePct");
        QTest::newRow("half a millionth is noise") << 1.0 << 1.0000005 << u"flat"_s << 0.00005;
        QTest::newRow("two millionths is up") << 1.0 << 1.000002 << u"up"_s << 0.0002;
        QTest::newRow("two millionths down") << 1.0 << 0.999998 << u"down"_s << -0.0002;
        QTest::newRow("percent of the previous price") << 100.0 << 101.0 << u"up"_s << 1.0;
        QTest::newRow("from a negative close") << -2.0 << 1.0 << u"up"_s << 0.0;
    }
    void directionThreshold()
    {
        QFETCH(double, first);
        QFETCH(double, second);
        sim::LoopbackServer server;
        server.start();
        double current = first;
        server.routePrefix(sim::PriceQuotes::chartPrefix, [&](const sim::RecordedRequest &) {
            return answer(current > 0 ? chartBody(current, 1.0) : chartBody(0, current));
        });
        Harness harness({u"EUR/USD"_s}, wednesdayNoon, 15, &server);
        harness.start();
        QVERIFY(harness.waitForPause());
        const PriceData opening = harness.deliveries.value(0).value(u"EUR/USD"_s);
        QCOMPARE((std::tuple{opening.id, opening.change, opening.changePct, opening.timestamp}),
                 (std::tuple{u"EUR/USD"_s, 0.0, 0.0, wednesdayNoon}));
        QCOMPARE(opening.direction, PriceData::Direction::Flat);
        current = second;
        QVERIFY(harness.nextCycle(15s));
        QCOMPARE(harness.deliveries.size(), 2);
        const PriceData quote = harness.deliveries[1][u"EUR/USD"_s];
        QCOMPARE(quote.price, second);
        QCOMPARE(quote.change, second - first);
        QCOMPARE(quote.timestamp, wednesdayNoon.addSecs(15));
        QTEST(PriceData::directionText(quote.direction), "direction");
        QFETCH(double, changePct);
        QVERIFY2(qFuzzyCompare(1 + quote.changePct, 1 + changePct), qPrintable(QString::number(quote.changePct)));
    }

    void pauseFollowsMarketStatus_data()
    {
        QTest::addColumn<QDateTime>("start");
        QTest::addColumn<int>("refreshSeconds");
        QTest::addColumn<int>("pauseSeconds");
        QTest::newRow("open") << wednesdayNoon << 15 << 15;
        QTest::newRow("open, slower refresh") << wednesdayNoon << 60 << 60;
        QTest::newRow("Sunday before the open") << test::utc(2024, 5, 12, 21, 59) << 15 << 300;
        QTest::newRow("Sunday at the open") << test::utc(2024, 5, 12, 22) << 15 << 15;
        QTest::newRow("Friday last minute") << test::utc(2024, 5, 10, 21, 59) << 15 << 15;
        QTest::newRow("Friday close") << test::utc(2024, 5, 10, 22) << 15 << 300;
        QTest::newRow("closed ignores the setting") << test::utc(2024, 5, 11, 12) << 1000 << 300;
    }
    void pauseFollowsMarketStatus()
    {
        QFETCH(QDateTime, start);
        QFETCH(int, refreshSeconds);
        QFETCH(int, pauseSeconds);
        Harness harness({u"EUR/USD"_s}, start, refreshSeconds);
        harness.start();
        QVERIFY(harness.waitForPause());
        const QString path = chartPath(u"EUR/USD"_s);
        QCOMPARE(harness.server().requestCount(path), 1);

        harness.clock.advance(std::chrono::seconds(pauseSeconds - 1));
        QCoreApplication::processEvents();
        QCOMPARE(harness.clock.pendingSleepers(), 1);
        QCOMPARE(harness.server().requestCount(path), 1);

        QVERIFY(harness.nextCycle(1s));
        QCOMPARE(harness.server().requestCount(path), 2);
        QCOMPARE(harness.deliveries.size(), 2);
    }

    // A scripted server: chart replies first, then the rate files in turn.
    void malformedReplies_data()
    {
        QTest::addColumn<int>("chartStatus");
        QTest::addColumn<QByteArray>("chart"); // null: 404, as for the files
        QTest::addColumn<QByteArray>("cdn");
        QTest::addColumn<QByteArray>("mirror");
        QTest::addColumn<QByteArray>("frankfurter");
        QTest::addColumn<Rates>("prices"); // empty: nothing delivered, every source tried
        QTest::addColumn<QStringList>("untouched");

        const auto chartRow = [](const char *name, const QByteArray &chart, double price = 0, int status = 200) {
            QTest::newRow(name) << status << chart << QByteArray() << QByteArray() << QByteArray()
                                << (price ? Rates{{u"EUR/USD"_s, price}, {u"USD/JPY"_s, price}} : Rates{})
                                << QStringList{};
        };
        chartRow("market price", chartBody(1.1, 1.0), 1.1);
        chartRow("zero market price: previous close", chartBody(0, 1.05), 1.05);
        chartRow("negative close taken as it is", chartBody(-1, -2), -2.0);
        chartRow("market price as text", chartBody(u"1.1"_s, 1.0), 1.0);
        chartRow("only a market price of zero", chartBody(0, QJsonValue()));
        chartRow("both levels as text", chartBody(u"1.1"_s, u"1.0"_s));
        chartRow("error reply", R"({"chart":{"result":null,"error":{"code":"Not Found"}}})");
        chartRow("not JSON", "<html>busy</html>");
        chartRow("good body, status 203", chartBody(1.1, 1.0), 0, 203);

        const QByteArray good = R"({"date":"2024-05-08","usd":{"eur":0.8,"jpy":150}})";
        const QByteArray frankfurter = R"({"amount":1.0,"base":"USD","date":"2024-05-07","rates":{"EUR":0.5,"JPY":140}})";
        const auto fileRow = [](const char *name, const QByteArray &cdn, const QByteArray &mirror, const QByteArray &frankfurter,
                                const Rates &prices, const QStringList &untouched) {
            QTest::newRow(name) << 200 << QByteArray() << cdn << mirror << frankfurter << prices << untouched;
        };
        fileRow("usd is a list: mirror", R"({"usd":[0.8,150]})", good, frankfurter,
                {{u"EUR/USD"_s, 1.25}, {u"USD/JPY"_s, 150}}, {frankfurterPath});
        fileRow("text entries skipped, rest kept", R"({"usd":{"eur":"0.8","jpy":150}})", good, frankfurter,
                {{u"EUR/USD"_s, 2.0}, {u"USD/JPY"_s, 150}}, {mirrorPath});
        fileRow("codes upper-cased", R"({"usd":{"EUR":0.8,"Jpy":150}})", {}, {},
                {{u"EUR/USD"_s, 1.25}, {u"USD/JPY"_s, 150}}, {mirrorPath, frankfurterPath});
        fileRow("empty usd objects: Frankfurter", R"({"usd":{}})", R"({"usd":{"eur":null}})", frankfurter,
                {{u"EUR/USD"_s, 2.0}, {u"USD/JPY"_s, 140}}, {});
        fileRow("zero euro rate is no price", R"({"usd":{"eur":0,"jpy":150}})", good, {}, {{u"USD/JPY"_s, 150}}, {mirrorPath});
        fileRow("Frankfurter with a text rate gives nothing", {}, {}, R"({"rates":{"EUR":0.5,"JPY":"140"}})", {}, {});
    }
    void malformedReplies()
    {
        QFETCH(int, chartStatus);
        QFETCH(QByteArray, chart);
        QFETCH(QByteArray, cdn);
        QFETCH(QByteArray, mirror);
        QFETCH(QByteArray, frankfurter);
        QFETCH(Rates, prices);
        QFETCH(QStringList, untouched);
        sim::LoopbackServer server;
        server.start();
        server.routePrefix(sim::PriceQuotes::chartPrefix, [&](const sim::RecordedRequest &) { return answer(chart, chartStatus); });
        server.route(cdnPath, [&](const sim::RecordedRequest &) { return answer(cdn); });
        server.route(mirrorPath, [&](const sim::RecordedRequest &) { return answer(mirror); });
        server.route(frankfurterPath, [&](const sim::RecordedRequest &) { return answer(frankfurter); });
        Harness harness({u"EUR/USD"_s, u"USD/JPY"_s}, wednesdayNoon, 15, &server);
        harness.start();
        QVERIFY(harness.waitForPause());

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
        QTest::newRow("gold") << u"XAU/USD"_s << usual << QVariant(2000.0);
        QTest::newRow("yen cross") << u"EUR/JPY"_s << usual << QVariant(150 / 0.92);
        QTest::newRow("franc cross") << u"GBP/CHF"_s << usual << QVariant(0.9 / 0.8);
        QTest::newRow("offshore yuan from onshore") << u"USD/CNH"_s << usual << QVariant(7.2);
        QTest::newRow("any cross") << u"CAD/JPY"_s << usual << QVariant(120.0);
        QTest::newRow("index never") << u"DXY"_s << usual << QVariant();
        QTest::newRow("names are case-sensitive") << u"eur/usd"_s << usual << QVariant();
        QTest::newRow("missing code") << u"USD/NOK"_s << usual << QVariant();
        QTest::newRow("dollar against itself") << u"USD/USD"_s << Rates{{u"USD"_s, 1}} << QVariant(1.0);
        QTest::newRow("dollar base unchecked") << u"USD/CHF"_s << Rates{{u"CHF"_s, -0.9}} << QVariant(-0.9);
        QTest::newRow("zero divisor") << u"EUR/USD"_s << Rates{{u"EUR"_s, 0}} << QVariant();
        QTest::newRow("named cross checks both legs") << u"EUR/JPY"_s << Rates{{u"EUR"_s, 0.9}, {u"JPY"_s, -1}} << QVariant();
        QTest::newRow("other cross checks the base only") << u"NOK/SEK"_s << Rates{{u"NOK"_s, 10}, {u"SEK"_s, -10}} << QVariant(-1.0);
        QTest::newRow("other cross with zero base") << u"NOK/SEK"_s << Rates{{u"NOK"_s, 0}, {u"SEK"_s, 10}} << QVariant();
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

    void chartRequestShape()
    {
        Harness harness({u"US10Y"_s});
        harness.start();
        QVERIFY(harness.waitForPause());
        const QList<sim::RecordedRequest> &requests = harness.server().requests();
        QCOMPARE(requests.size(), 1);
        QCOMPARE(requests[0].path, u"/v8/finance/chart/^TNX"_s);
        QCOMPARE(requests[0].query, u"interval=1m&range=1d"_s);
        QCOMPARE(requests[0].headers.value("user-agent"),
                 QByteArray("Mozilla/5.0 (Macintosh; Intel Mac OS X 10_15_7) AppleWebKit/537.36"));
        QCOMPARE(requests[0].headers.value("accept"), QByteArray("application/json"));
    }

    void destroyedServiceEndsItsLoop_data()
    {
        QTest::addColumn<bool>("whileRequesting");
        QTest::newRow("while a request hangs") << true;
        QTest::newRow("while pausing") << false;
    }
    void destroyedServiceEndsItsLoop()
    {
        QFETCH(bool, whileRequesting);
        Harness harness({u"EUR/USD"_s});
        harness.service->setTimeouts({10s, 10s});
        if (whileRequesting)
            harness.server().setFault(chartPath(u"EUR/USD"_s), kind(sim::Fault::Kind::Hang));
        harness.start();
        if (whileRequesting)
            QVERIFY(waitUntil([&] { return harness.server().requests().size() == 1; }));
        else
            QVERIFY(harness.waitForPause());
        harness.service.reset();
        QVERIFY(waitUntil([&] { return harness.task->isReady(); }));
        QCOMPARE(harness.clock.pendingSleepers(), 0);
        QCOMPARE(harness.deliveries.size(), whileRequesting ? 0 : 1);
    }
};

QTEST_GUILESS_MAIN(TestPriceService)
#include "tst_priceservice.moc"
