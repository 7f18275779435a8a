#include "../WindowHarness.h"

#include "../../TestSupport.h"
#include "ui/controls/Theme.h"

#include <QTemporaryDir>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime wednesday = test::utc(2025, 3, 5, 13, 7); // markets open

using D = PriceData::Direction;

PriceData quote(double changePct, const QDateTime &at, const QString &pair = u"EUR/USD"_s)
{
    return PriceData{pair, pair, 1.084213, 0, changePct, changePct < 0 ? D::Down : D::Up, at};
}

} // namespace

class TestPricePanel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

    static QQuickItem *row(const test::WindowHarness &h, const QString &pair) { return h.item(u"priceRow:"_s + pair); }

private slots:
    void initTestCase() { qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8()); }

    // The colour and text rules live in the presentation; here: the row shows them.
    void rowShowsQuoteAndMarketState_data()
    {
        QTest::addColumn<bool>("quoted");
        QTest::addColumn<QString>("price");
        QTest::addColumn<QColor>("priceColor");
        QTest::addColumn<QString>("arrow");
        QTest::addColumn<QString>("change"); // empty: not shown
        QTest::newRow("rise") << true << u"1.08421"_s << Theme::green() << u"▲"_s << u"+0.125%"_s;
        QTest::newRow("no quote while open: waiting") << false << u"—"_s << Theme::textMuted() << QString() << QString();
    }
    void rowShowsQuoteAndMarketState()
    {
        QFETCH(bool, quoted);
        QFETCH(QString, change);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        if (quoted)
            h.state.onPrices({{u"EUR/USD"_s, quote(0.125, wednesday)}});
        QQuickItem *r = row(h, u"EUR/USD"_s);
        QVERIFY(r);
        QTEST(h.text(u"priceValue"_s, r), "price");
        QTEST(h.color(u"priceValue"_s, r), "priceColor");
        QTEST(h.text(u"priceArrow"_s, r), "arrow");
        QCOMPARE(h.shows(u"priceChange"_s, r), quoted);
        QCOMPARE(h.text(u"priceChange"_s, r), change);
        QCOMPARE(h.shows(u"priceWaiting"_s, r), !quoted);
    }

    // Which rows there are is the list model's rule; here: the header sits between pairs and extras.
    void extrasHaveAHeader()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        QQuickItem *header = h.item(u"priceExtrasHeader"_s);
        QVERIFY(h.shows(u"priceExtrasHeader"_s));
        QCOMPARE(h.text(u"priceExtrasTitle"_s, header), u"MARKT-EXTRAS"_s);
        const qreal y = header->mapToScene({0, 0}).y();
        QVERIFY(row(h, u"USD/JPY"_s)->mapToScene({0, 0}).y() < y && y < row(h, u"DXY"_s)->mapToScene({0, 0}).y());
    }

    // The status texts are the market clock's; here: the panel follows it on its minute timer.
    void theMinuteTimerClosesThePanel()
    {
        test::WindowHarness h(test::utc(2025, 3, 7, 21, 59)); // Friday, a minute before the close
        QVERIFY(h.load());
        h.state.onPrices({{u"EUR/USD"_s, quote(0.1, h.clock.now())}});
        QObject *timer = h.object(u"priceStatusTimer"_s);
        QCOMPARE(timer ? timer->property("interval").toInt() : 0, 60000);
        h.clock.advance(1min);
        QVERIFY(!h.shows(u"closedBlock"_s)); // nothing new until the timer fires
        QMetaObject::invokeMethod(timer, "triggered");
        QVERIFY(h.shows(u"closedBlock"_s));
        QCOMPARE(h.text(u"closedDetail"_s), u"Wochenende — öffnet So 22:00 UTC"_s);
        QCOMPARE(h.text(u"priceChange"_s, row(h, u"EUR/USD"_s)), u"WE"_s);
    }
};

QTEST_MAIN(TestPricePanel)
#include "tst_pricepanel.moc"
