#include "app/AppState.h"
#include "app/PriceListModel.h"
#include "app/PricePresentation.h"
#include "core/Clock.h"
#include "ui/Theme.h"

#include "../TestSupport.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

using namespace kalvo;
namespace PP = kalvo::PricePresentation;

namespace {

const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

using Quote = std::optional<PriceData>;
using D = PriceData::Direction;

PriceData quote(const QString &pair, double price, double changePct, D direction = D::Flat)
{
    return PriceData{pair, pair, price, 0, changePct, direction, noon};
}

NewsItem headline(const QString &id, const QString &title, const QString &analysisHeadline = {},
                  const QMap<QString, QString> &pairs = {})
{
    NewsItem item = test::newsItem(1, noon);
    item.id = id;
    item.title = title;
    if (!analysisHeadline.isNull() || !pairs.isEmpty())
        item.analysis = NewsAnalysis{.headline = analysisHeadline, .pairs = pairs};
    return item;
}

} // namespace

Q_DECLARE_METATYPE(Quote)

class TestPricePresentation : public QObject
{
    Q_OBJECT

private slots:
    void changeHasADeadBand_data()
    {
        QTest::addColumn<Quote>("quote");
        QTest::addColumn<QColor>("color");
        QTest::addColumn<QString>("arrow");
        QTest::addColumn<QString>("text");
        const auto q = [](double pct, D direction) { return Quote(quote(u"EUR/USD"_s, 1.1, pct, direction)); };
        QTest::newRow("no quote") << Quote() << Theme::textMuted() << QString() << QString();
        QTest::newRow("clearly up, three decimals rounded") << q(1.23456, D::Up) << Theme::green() << u"▲"_s
                                                             << u"+1.235%"_s;
        QTest::newRow("just above the band") << q(0.0011, D::Up) << Theme::green() << u"▲"_s << u"+0.001%"_s;
        QTest::newRow("0.001 itself is inside") << q(0.001, D::Up) << Theme::textSecondary() << u"▲"_s << u"+0.001%"_s;
        // The arrow follows the price service's direction, not the band.
        QTest::newRow("0.0005 up: secondary, arrow up") << q(0.0005, D::Up) << Theme::textSecondary() << u"▲"_s
                                                        << u"+0.001%"_s;
        QTest::newRow("-0.001 itself is inside") << q(-0.001, D::Down) << Theme::textSecondary() << u"▼"_s
                                                 << u"-0.001%"_s;
        QTest::newRow("just below the band") << q(-0.0011, D::Down) << Theme::red() << u"▼"_s << u"-0.001%"_s;
        QTest::newRow("unchanged: zero has a sign too") << q(0, D::Flat) << Theme::textSecondary() << u"─"_s
                                                        << u"+0.000%"_s;
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
        QTest::newRow("3599 s") << 3599LL << u"vor 59 min"_s << u"vor 59 min"_s;
        QTest::newRow("an hour") << 3600LL << u"vor 1 h"_s << u"vor 1 h"_s;
        QTest::newRow("a second short of a day") << 86399LL << u"vor 23 h"_s << u"vor 23 h"_s;
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
            headline(u"other"_s, u"Gold climbs"_s),
            headline(u"other-key"_s, u"Yen firms"_s, u""_s, {{u"USD/JPY"_s, u"bearish"_s}}),
        };
        QTest::newRow("base, quote and pair key, in list order")
            << u"EUR/USD"_s << mixed << QStringList{u"usd-in-title"_s, u"eur-in-headline"_s, u"pair-key"_s};
        // A pair key counts only when it names the instrument itself.
        QTest::newRow("another instrument") << u"USD/JPY"_s << mixed << QStringList{u"usd-in-title"_s, u"other-key"_s};
        QTest::newRow("a name without quote code matches its base only")
            << u"DXY"_s << QList<NewsItem>{headline(u"dxy"_s, u"DXY at 104"_s), headline(u"usd"_s, u"USD firm"_s)}
            << QStringList{u"dxy"_s};
        QTest::newRow("pair keys are compared without slash and case")
            << u"EUR/GBP"_s
            << QList<NewsItem>{headline(u"k"_s, u"Markets"_s, u""_s, {{u"EURGBP"_s, u"bullish"_s}}),
                               headline(u"not"_s, u"Markets"_s, u""_s, {{u"EUR/GBX"_s, u"bullish"_s}})}
            << QStringList{u"k"_s};

        QList<NewsItem> many;
        QStringList firstEight;
        for (int i = 0; i < 12; ++i) {
            many << headline(u"n%1"_s.arg(i), u"Headline about usd #%1"_s.arg(i));
            if (i < 8)
                firstEight << u"n%1"_s.arg(i);
        }
        QTest::newRow("at most eight, the first ones") << u"EUR/USD"_s << many << firstEight;
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

    void currencyCards_data()
    {
        QTest::addColumn<QString>("instrument");
        QTest::addColumn<QStringList>("codes");
        QTest::addColumn<QString>("firstName");
        QTest::newRow("a currency pair") << u"EUR/USD"_s << QStringList{u"EUR"_s, u"USD"_s} << u"Euro"_s;
        QTest::newRow("gold") << u"XAU/USD"_s << QStringList{u"XAU"_s, u"USD"_s} << u"Gold (XAU)"_s;
        QTest::newRow("the dollar index") << u"DXY"_s << QStringList{u"DXY"_s} << u"US-Dollar-Index"_s;
        QTest::newRow("a code without card") << u"USD/MXN"_s << QStringList{u"USD"_s} << u"US-Dollar"_s;
        QTest::newRow("no card at all") << u"US10Y"_s << QStringList{} << QString();
    }
    void currencyCards()
    {
        QFETCH(QString, instrument);
        QFETCH(QStringList, codes);
        QCOMPARE(PP::currencyCodes(instrument), codes);
        const auto first = codes.isEmpty() ? std::nullopt : PP::currencyInfo(codes.first());
        QTEST(first ? first->name : QString(), "firstName");
        if (!codes.isEmpty()) // codes as the instruments spell them
            QVERIFY(!PP::currencyInfo(codes.first().toLower()));
    }

    void analysisValues_data()
    {
        QTest::addColumn<QString>("verdict");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<QColor>("color");
        QTest::newRow("bullish") << u"bullish"_s << u"BULLISH"_s << Theme::green();
        QTest::newRow("bearish") << u"bearish"_s << u"BEARISH"_s << Theme::red();
        QTest::newRow("neutral") << u"neutral"_s << u"NEUTRAL"_s << Theme::yellow();
        QTest::newRow("anything else") << u"Bullish"_s << u"BULLISH"_s << Theme::yellow();
    }
    void analysisValues()
    {
        QFETCH(QString, verdict);
        InstrumentAnalysis analysis;
        analysis.verdict = verdict;
        analysis.confidence = 72;
        analysis.bullProb = analysis.bearProb = 25;
        analysis.baseProb = 50;
        analysis.baseTrigger = u"Seitwärts"_s;
        const QVariantMap values = PP::analysisValues(analysis);
        QTEST(values.value(u"verdict"_s).toString(), "shown");
        QTEST(values.value(u"verdictColor"_s).value<QColor>(), "color");
        QCOMPARE(values.value(u"confidence"_s).toString(), u"Confidence: 72%"_s);
        QStringList scenarios;
        for (const QVariant &scenario : values.value(u"scenarios"_s).toList()) {
            const QVariantMap map = scenario.toMap();
            scenarios << map.value(u"label"_s).toString() + u' ' + map.value(u"prob"_s).toString() + u' '
                             + map.value(u"trigger"_s).toString();
        }
        QCOMPARE(scenarios, (QStringList{u"BULLISH 25% "_s, u"BASIS 50% Seitwärts"_s, u"BEARISH 25% "_s}));
    }

    void modelRows_data()
    {
        QTest::addColumn<QStringList>("pairs");
        QTest::addColumn<QStringList>("extras");
        QTest::addColumn<QStringList>("rows");
        QTest::newRow("pairs in configuration order, header, extras")
            << QStringList{u"GBP/USD"_s, u"EUR/USD"_s} << QStringList{u"DXY"_s}
            << QStringList{u"GBP/USD"_s, u"EUR/USD"_s, u"header"_s, u"DXY"_s};
        QTest::newRow("no extras, no header") << QStringList{u"EUR/USD"_s} << QStringList{} << QStringList{u"EUR/USD"_s};
    }
    void modelRows()
    {
        QFETCH(QStringList, pairs);
        QFETCH(QStringList, extras);
        ManualClock clock(noon);
        AppState state(clock);
        PriceListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setAppState(&state);
        Config config;
        config.marketPairs = pairs;
        config.marketExtras = extras;
        state.setConfig(config);
        QStringList rows;
        for (int i = 0; i < model.rowCount(); ++i) {
            const QModelIndex index = model.index(i);
            rows << (index.data(PriceListModel::KindRole) == u"header"_s ? u"header"_s
                                                                         : index.data(PriceListModel::PairRole).toString());
        }
        QTEST(rows, "rows");
    }

    void rowTexts_data()
    {
        QTest::addColumn<Quote>("quote");
        QTest::addColumn<bool>("dimmed");
        QTest::addColumn<QString>("price");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QColor>("priceColor");
        QTest::addColumn<QColor>("nameColor");
        const Quote up = quote(u"USD/JPY"_s, 151.2371, 0.21, D::Up);
        QTest::newRow("open") << up << false << u"151.237"_s << u"+0.210%"_s << Theme::green() << Theme::textPrimary();
        QTest::newRow("closed: last price, WE") << up << true << u"151.237"_s << u"WE"_s << Theme::textSecondary()
                                                << Theme::textSecondary();
        QTest::newRow("no quote while open: waiting") << Quote() << false << u"—"_s << QString() << Theme::textMuted()
                                                      << Theme::textPrimary();
        QTest::newRow("no quote while closed") << Quote() << true << u"—"_s << u"WE"_s << Theme::textMuted()
                                               << Theme::textSecondary();
    }
    void rowTexts()
    {
        QFETCH(Quote, quote);
        QFETCH(bool, dimmed);
        const auto value = [&](int role) { return PriceListModel::value(u"USD/JPY"_s, quote, dimmed, role); };
        QTEST(value(PriceListModel::PriceTextRole).toString(), "price");
        QTEST(value(PriceListModel::ChangeTextRole).toString(), "change");
        QTEST(value(PriceListModel::PriceColorRole).value<QColor>(), "priceColor");
        QTEST(value(PriceListModel::NameColorRole).value<QColor>(), "nameColor");
    }

    void aDeliveryChangesOnlyTheRowsWhoseQuoteChanged()
    {
        ManualClock clock(noon);
        AppState state(clock);
        PriceListModel model;
        QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        model.setAppState(&state); // the default instruments: 3 pairs, header, 2 extras
        QCOMPARE(model.rowCount(), 6);
        state.onPrices({{u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.08, 0.1)}, {u"DXY"_s, quote(u"DXY"_s, 104, -0.2)}});

        QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
        QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
        // Same EUR/USD, new DXY change, new GBP/USD.
        state.onPrices({{u"EUR/USD"_s, quote(u"EUR/USD"_s, 1.08, 0.1)},
                        {u"DXY"_s, quote(u"DXY"_s, 104, 0.3)},
                        {u"GBP/USD"_s, quote(u"GBP/USD"_s, 1.27, 0)}});
        QList<int> rows;
        for (const QList<QVariant> &signal : changed) {
            QCOMPARE(signal.at(0).toModelIndex(), signal.at(1).toModelIndex());
            rows << signal.at(0).toModelIndex().row();
        }
        QCOMPARE(rows, (QList<int>{1, 4}));
        QCOMPARE(reset.count(), 0);
        QCOMPARE(model.index(4).data(PriceListModel::ChangeTextRole).toString(), u"+0.300%"_s);
    }
};

QTEST_MAIN(TestPricePresentation)
#include "tst_pricepresentation.moc"
