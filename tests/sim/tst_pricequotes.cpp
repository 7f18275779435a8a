#include "../TestSupport.h"

#include "MarketEvents.h"
#include "MarketSimulator.h"
#include "PriceQuotes.h"
#include "sources/MarketHttp.h"
#include "sources/PriceReplies.h"

#include <QJsonObject>

#include <algorithm>
#include <cmath>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime mayFirst = test::utc(2024, 5, 1);

sim::SimulatorOptions seeded(quint64 seed)
{
    sim::SimulatorOptions options;
    options.seed = seed;
    return options;
}

double priceAt(const sim::PriceQuotes &quotes, const QString &ticker, const QDateTime &instant)
{
    return quotes.lastPrice(ticker, instant).value_or(qQNaN());
}

// High minus low over [from, from + minutes), in percent of the low, sampled each minute.
double rangePercent(const sim::PriceQuotes &quotes, const QString &ticker, const QDateTime &from, int minutes)
{
    double low = qInf(), high = -qInf();
    for (int m = 0; m < minutes; ++m) {
        const double price = priceAt(quotes, ticker, from.addSecs(60 * m));
        low = std::min(low, price);
        high = std::max(high, price);
    }
    return (high - low) / low * 100;
}

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The sum of squared one-minute log returns over [from, from + minutes).
double variance(const sim::PriceQuotes &quotes, const QString &ticker, const QDateTime &from, int minutes)
{
    double sum = 0;
    for (int m = 0; m < minutes; ++m) {
        const double step = std::log(priceAt(quotes, ticker, from.addSecs(60 * (m + 1)))
                                     / priceAt(quotes, ticker, from.addSecs(60 * m)));
        sum += step * step;
    }
    return sum;
}

} // namespace

class TestPriceQuotes : public QObject
{
    Q_OBJECT

private slots:
    // Four weeks of each walk: the typical day spans what the instrument
    // spans in the real market, no day is dead or wild, and the typical hour
    // is a fraction of the day. Crosses of two dollar legs stay calmer than
    // the legs, as in the market where the dollar moves both.
    void dailyRangesAreRealistic_data()
    {
        QTest::addColumn<QString>("ticker");
        QTest::addColumn<double>("medianLow"); // of the daily range, percent
        QTest::addColumn<double>("medianHigh");

        QTest::newRow("EUR/USD") << u"EURUSD=X"_s << 0.5 << 0.8;
        QTest::newRow("GBP/USD") << u"GBPUSD=X"_s << 0.55 << 0.95;
        QTest::newRow("USD/JPY") << u"USDJPY=X"_s << 0.6 << 1.0;
        QTest::newRow("dollar index") << u"DX-Y.NYB"_s << 0.4 << 0.6;
        QTest::newRow("gold") << u"GC=F"_s << 1.0 << 1.5;
        QTest::newRow("EUR/GBP, a cross of two dollar legs") << u"EURGBP=X"_s << 0.3 << 0.6;
    }
    void dailyRangesAreRealistic()
    {
        QFETCH(QString, ticker);
        QFETCH(double, medianLow);
        QFETCH(double, medianHigh);
        const sim::SimulatorOptions options = seeded(20240503);
        const sim::PriceQuotes quotes(options);
        QList<double> days, hours;
        for (int day = 0; day < 28; ++day) {
            const QDateTime start = mayFirst.addDays(day);
            days << rangePercent(quotes, ticker, start, 1440);
            for (int hour = 0; hour < 24; hour += 6)
                hours << rangePercent(quotes, ticker, start.addSecs(3600 * hour), 60);
        }
        const double typicalDay = median(days);
        QVERIFY2(typicalDay >= medianLow && typicalDay <= medianHigh, qPrintable(QString::number(typicalDay)));
        const auto [calmest, wildest] = std::minmax_element(days.cbegin(), days.cend());
        QVERIFY2(*calmest > medianLow / 2 && *wildest < medianHigh * 2.2,
                 qPrintable(u"%1 .. %2"_s.arg(*calmest).arg(*wildest)));
        const double typicalHour = median(hours);
        QVERIFY2(typicalHour > typicalDay / 12 && typicalHour < typicalDay / 3, qPrintable(QString::number(typicalHour)));
    }

    // A high-impact release moves its currency at once, the way its tone
    // points (strong data and hawkish words lift it), and leaves the market
    // nervous for a while; a cross whose legs both hold the dollar barely
    // notices a dollar release.
    void highImpactReleaseMovesItsCurrency_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("currency");
        QTest::addColumn<QString>("ticker");
        QTest::addColumn<int>("sign"); // of the ticker's move when the currency gains
        QTest::addColumn<QString>("calmCross"); // empty: none to check

        QTest::newRow("US payrolls, EUR/USD") << u"Non-Farm Employment Change"_s << u"USD"_s << u"EURUSD=X"_s << -1
                                              << u"EURGBP=X"_s;
        QTest::newRow("US CPI, USD/JPY") << u"CPI m/m"_s << u"USD"_s << u"USDJPY=X"_s << 1 << u"EURGBP=X"_s;
        QTest::newRow("euro zone inflation, EUR/USD") << u"CPI Flash Estimate y/y"_s << u"EUR"_s << u"EURUSD=X"_s << 1
                                                      << QString();
        QTest::newRow("BoE decision, GBP/USD") << u"Official Bank Rate"_s << u"GBP"_s << u"GBPUSD=X"_s << 1 << QString();
        QTest::newRow("Canadian jobs, USD/CAD") << u"Employment Change"_s << u"CAD"_s << u"USDCAD=X"_s << -1 << QString();
    }
    void highImpactReleaseMovesItsCurrency()
    {
        QFETCH(QString, title);
        QFETCH(QString, currency);
        QFETCH(QString, ticker);
        QFETCH(int, sign);
        QFETCH(QString, calmCross);
        const sim::SimulatorOptions options = seeded(20240503);
        const sim::PriceQuotes quotes(options);
        std::optional<sim::MarketEvent> release;
        for (const sim::MarketEvent &event : sim::MarketEvents::releasedBetween(options.seed, mayFirst, mayFirst.addDays(56))) {
            if (event.title == title && event.currency == currency && std::abs(event.tone) >= 0.3) {
                release = event;
                break;
            }
        }
        QVERIFY2(release, "no such release with a clear tone in eight weeks");
        QVERIFY(release->isHigh());

        const QDateTime at = release->at;
        const double move = std::log(priceAt(quotes, ticker, at.addSecs(120)) / priceAt(quotes, ticker, at.addSecs(-60)));
        const double expected = sign * (release->tone > 0 ? 1 : -1);
        QVERIFY2(move * expected > 0.0008, qPrintable(u"%1 % at tone %2"_s.arg(move * 100).arg(release->tone)));
        const double before = variance(quotes, ticker, at.addSecs(-1800), 29);
        const double after = variance(quotes, ticker, at.addSecs(120), 29);
        QVERIFY2(after > 2 * before, qPrintable(u"%1 vs %2"_s.arg(after).arg(before)));
        if (!calmCross.isEmpty()) {
            const double crossMove = std::log(priceAt(quotes, calmCross, at.addSecs(120)) / priceAt(quotes, calmCross, at.addSecs(-60)));
            QVERIFY2(std::abs(crossMove) < std::abs(move) / 2, qPrintable(QString::number(crossMove * 100)));
        }
    }

    // A decision, its statement and its press conference later that day
    // tell one story: their tones lean the same way.
    void releasesOfOneStoryReadAlike_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<QString>("currency");

        QTest::newRow("Fed rate and statement") << u"Federal Funds Rate"_s << u"FOMC Statement"_s << u"USD"_s;
        QTest::newRow("FOMC statement and press conference") << u"FOMC Statement"_s << u"FOMC Press Conference"_s
                                                             << u"USD"_s;
        QTest::newRow("ECB rate and press conference") << u"Main Refinancing Rate"_s << u"ECB Press Conference"_s
                                                       << u"EUR"_s;
        QTest::newRow("ECB press conference and Lagarde later") << u"ECB Press Conference"_s
                                                                << u"ECB President Lagarde Speaks"_s << u"EUR"_s;
    }
    void releasesOfOneStoryReadAlike()
    {
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(QString, currency);
        int days = 0;
        for (int week = 0; week < 20; ++week) {
            const QList<sim::MarketEvent> events = sim::MarketEvents::week(20240503, QDate(2024, 4, 28).addDays(7 * week));
            for (const sim::MarketEvent &a : events) {
                for (const sim::MarketEvent &b : events) {
                    if (a.title == first && b.title == second && a.currency == currency && b.currency == currency
                        && a.day == b.day) {
                        QCOMPARE(a.tone > 0, b.tone > 0);
                        ++days;
                    }
                }
            }
        }
        QVERIFY2(days >= 2, "too few weeks with both releases");
    }

    // A release alone at its time reads by its surprise: above the forecast
    // is good for the currency, except for a count of the jobless.
    void releaseToneFollowsItsSurprise_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("currency");
        QTest::addColumn<int>("polarity");

        QTest::newRow("ISM services") << u"ISM Services PMI"_s << u"USD"_s << 1;
        QTest::newRow("euro zone flash inflation") << u"CPI Flash Estimate y/y"_s << u"EUR"_s << 1;
        QTest::newRow("jobless claims") << u"Unemployment Claims"_s << u"USD"_s << -1;
    }
    void releaseToneFollowsItsSurprise()
    {
        QFETCH(QString, title);
        QFETCH(QString, currency);
        QFETCH(int, polarity);
        int checked = 0;
        for (const sim::MarketEvent &event : sim::MarketEvents::releasedBetween(20240503, mayFirst, mayFirst.addDays(70))) {
            if (event.title != title || event.currency != currency || event.actual == event.expected())
                continue;
            QVERIFY(event.hasFigures && std::abs(event.tone) <= 1);
            QCOMPARE(event.tone > 0, polarity * (event.actual - event.expected()) > 0);
            ++checked;
        }
        QVERIFY(checked >= 5);
    }

    // The chart API as the app reads it: the last price, the previous close
    // the day's change counts from, and a day range that holds both.
    void chartAnswersWhatTheAppReads()
    {
        const QDateTime now = test::utc(2024, 5, 8, 13, 7);
        sim::SimulatorOptions options;
        options.now = [now] { return now; };
        sim::MarketSimulator simulator(options);
        QVERIFY(simulator.start());
        MarketHttp http;
        for (const QString &ticker : {u"EURUSD=X"_s, u"USDJPY=X"_s, u"DX-Y.NYB"_s, u"GC=F"_s, u"GBPAUD=X"_s}) {
            HttpGet get;
            get.url = QUrl(simulator.baseUrl().toString() + u"/v8/finance/chart/"_s + ticker + u"?interval=1m&range=1d"_s);
            get.timeout = 2s;
            QFuture<HttpResponse> future = http.get(get);
            QVERIFY(QTest::qWaitFor([&] { return future.isFinished(); }, 5000));
            const QByteArray body = future.result().body;
            const std::optional<double> price = simulator.prices().lastPrice(ticker, now);
            QCOMPARE(chartPrice(body), price);
            const QJsonObject meta = QJsonDocument::fromJson(body)["chart"]["result"][0]["meta"].toObject();
            QCOMPARE(meta.value(u"previousClose"_s).toDouble(), *simulator.prices().previousClose(ticker, now));
            QVERIFY(meta.value(u"regularMarketDayLow"_s).toDouble() <= *price);
            QVERIFY(meta.value(u"regularMarketDayHigh"_s).toDouble() >= *price);
        }
    }

    // Prices are a function of the seed and the instant alone: the order of
    // questions, the instance and the day's cache change nothing; another
    // seed gives another market. Midnight has no gap, and the previous close
    // is the price at the start of the day.
    void pricesDependOnSeedAndInstantOnly()
    {
        const sim::SimulatorOptions options = seeded(7), otherSeed = seeded(8);
        const sim::PriceQuotes forward(options), backward(options), other(otherSeed);
        const QStringList tickers{u"EURUSD=X"_s, u"USDJPY=X"_s, u"GC=F"_s, u"DX-Y.NYB"_s, u"GBPJPY=X"_s};
        QList<QDateTime> instants;
        for (int i = 0; i < 12; ++i)
            instants << mayFirst.addSecs(i * 37'345);
        QMap<QString, double> seen;
        for (const QDateTime &instant : instants) {
            for (const QString &ticker : tickers)
                seen[ticker + instant.toString(Qt::ISODate)] = priceAt(forward, ticker, instant);
        }
        int differing = 0;
        for (auto it = instants.crbegin(); it != instants.crend(); ++it) {
            for (const QString &ticker : tickers) {
                const double price = priceAt(backward, ticker, *it);
                QCOMPARE(price, seen[ticker + it->toString(Qt::ISODate)]);
                differing += price != priceAt(other, ticker, *it);
            }
        }
        QCOMPARE(differing, instants.size() * tickers.size());

        const QDateTime midnight = test::utc(2024, 5, 9);
        for (const QString &ticker : tickers) {
            const double lastOfDay = priceAt(forward, ticker, midnight.addMSecs(-1));
            const double firstOfDay = priceAt(forward, ticker, midnight);
            QVERIFY2(std::abs(firstOfDay / lastOfDay - 1) < 0.0005, qPrintable(ticker));
            QCOMPARE(forward.previousClose(ticker, midnight.addSecs(15 * 3600)), std::optional<double>(firstOfDay));
        }
        QCOMPARE(forward.lastPrice(u"XXXYYY=X"_s, midnight), std::nullopt);
    }
};

QTEST_GUILESS_MAIN(TestPriceQuotes)
#include "tst_pricequotes.moc"
