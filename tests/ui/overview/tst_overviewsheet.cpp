#include "../WindowHarness.h"

#include "ui/controls/Theme.h"
#include "ui/overview/MarketOverviewContent.h"

using namespace kalvo;

namespace {

const QDateTime wednesday = test::utc(2025, 3, 5, 13, 7);

MarketOverview overview(const QString &id, const QString &sentiment, const QStringList &currencies,
                        const QStringList &themes)
{
    MarketOverview o;
    o.id = id;
    o.sentiment = sentiment;
    o.usd = currencies.value(0);
    o.eur = currencies.value(1);
    o.gbp = currencies.value(2);
    o.jpy = currencies.value(3);
    o.topPair = u"EUR/USD"_s;
    o.themes = themes;
    o.overview = u"Der Dollar gibt nach."_s;
    return o;
}

} // namespace

class TestOverviewSheet : public QObject
{
    Q_OBJECT

    static bool sheetOpen(const test::WindowHarness &h)
    {
        QObject *sheet = h.object(u"overviewSheet"_s);
        return sheet && sheet->property("opened").toBool();
    }

    static int themeRows(const test::WindowHarness &h)
    {
        const QList<QQuickItem *> children = h.item(u"themes"_s)->childItems();
        return int(std::count_if(children.begin(), children.end(),
                                 [](QQuickItem *child) { return child->objectName() == u"themeRow"_s; }));
    }

private slots:
    // The model writes what it likes; only these exact words get a colour of their own.
    void colours_data()
    {
        QTest::addColumn<QString>("sentiment");
        QTest::addColumn<QColor>("mood");
        QTest::addColumn<QColor>("currency");
        QTest::newRow("risk-on / bullish") << u"risk-on"_s << Theme::green() << Theme::green();
        QTest::newRow("risk-off / bearish") << u"risk-off"_s << Theme::red() << Theme::red();
        QTest::newRow("neutral") << u"neutral"_s << Theme::yellow() << Theme::textSecondary();
        QTest::newRow("other spelling") << u"Risk-On"_s << Theme::yellow() << Theme::textSecondary();
    }
    void colours()
    {
        QFETCH(QString, sentiment);
        QFETCH(QColor, mood);
        QFETCH(QColor, currency);
        QCOMPARE(MarketOverviewContent::sentimentColor(sentiment), mood);
        const QString currencyWord = sentiment == u"risk-on"_s    ? u"bullish"_s
                                     : sentiment == u"risk-off"_s ? u"bearish"_s
                                                                  : sentiment;
        QCOMPARE(MarketOverviewContent::currencyColor(currencyWord), currency);
    }

    // From the published overview to the closed sheet, by way of a newer overview.
    void showsReplacesAndCloses()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        QVERIFY(!sheetOpen(h));
        h.state.publishMarketOverview(overview(u"1"_s, u"risk-off"_s,
                                               {u"bullish"_s, u"bearish"_s, u"neutral"_s, u"bullish"_s},
                                               {u"Flucht in sichere Häfen"_s, u"Ölpreis"_s}));
        QTRY_VERIFY(sheetOpen(h));
        QCOMPARE(h.text(u"sentimentText"_s), u"RISK-OFF"_s);
        QCOMPARE(h.color(u"sentimentText"_s), Theme::red());
        QCOMPARE(h.text(u"topPair"_s), u"Top: EUR/USD"_s);
        QCOMPARE(h.text(u"overviewText"_s), u"Der Dollar gibt nach."_s);
        // USD, EUR, GBP, JPY from left to right, each with its own mood.
        const QStringList codes{u"USD"_s, u"EUR"_s, u"GBP"_s, u"JPY"_s};
        const QStringList moods{u"BULLISH"_s, u"BEARISH"_s, u"NEUTRAL"_s, u"BULLISH"_s};
        double left = -1;
        for (qsizetype i = 0; i < codes.size(); ++i) {
            QQuickItem *cell = h.item(u"currency"_s + codes[i]);
            QVERIFY2(cell, qPrintable(codes[i]));
            QVERIFY(cell->mapToScene({0, 0}).x() > left);
            left = cell->mapToScene({0, 0}).x();
            QCOMPARE(h.text(u"currencySentiment"_s, cell), moods[i]);
        }
        QCOMPARE(h.color(u"currencySentiment"_s, h.item(u"currencyEUR"_s)), Theme::red());
        QCOMPARE(themeRows(h), 2);

        h.state.publishMarketOverview(overview(u"2"_s, u"risk-on"_s, {}, {}));
        QCOMPARE(h.text(u"sentimentText"_s), u"RISK-ON"_s);
        QCOMPARE(h.color(u"sentimentText"_s), Theme::green());
        QCOMPARE(h.text(u"currencySentiment"_s, h.item(u"currencyUSD"_s)), QString());
        QCOMPARE(themeRows(h), 0);

        QVERIFY(h.click(h.item(u"overviewClose"_s)));
        QVERIFY(!h.state.hasMarketOverview());
        QTRY_VERIFY(!sheetOpen(h));
    }
};

QTEST_MAIN(TestOverviewSheet)
#include "tst_overviewsheet.moc"
