#include "../WindowHarness.h"

#include "ui/scanner/OpportunityListModel.h"
#include "ui/scanner/ScannerPresentation.h"
#include "ui/controls/Theme.h"

using namespace kalvo;
namespace SP = kalvo::ScannerPresentation;
using Direction = Opportunity::Direction;

namespace {

// Wednesday 12:00 UTC: London and New York are open, Sydney and Tokyo are not.
const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

Opportunity opportunity(const QString &pair, double score, Direction direction = Direction::Long)
{
    Opportunity o;
    o.id = o.pair = pair;
    o.score = score;
    o.direction = direction;
    return o;
}

} // namespace

class TestScannerPanel : public QObject
{
    Q_OBJECT

    static QQuickItem *row(const test::WindowHarness &h, const QString &pair) { return h.item(u"opportunity:"_s + pair); }
    static QStringList texts(QQuickItem *parent, const QString &prefix)
    {
        QStringList result;
        for (QQuickItem *child : parent->childItems()) {
            if (child->objectName().startsWith(prefix))
                result << child->property("text").toString();
        }
        return result;
    }

private slots:
    void onlyScoresAboveTheCutAreShownInOrder()
    {
        const QList<double> scores{9.9, 0.4, 0.41, 5.0};
        QList<Opportunity> opportunities;
        for (qsizetype i = 0; i < scores.size(); ++i)
            opportunities << opportunity(u"P%1"_s.arg(i), scores.at(i));
        QStringList pairs;
        for (const Opportunity &o : SP::shownOpportunities(ScannerResult{.opportunities = opportunities}))
            pairs << o.pair;
        QCOMPARE(pairs, (QStringList{u"P0"_s, u"P2"_s, u"P3"_s}));
    }

    void rowTexts_data()
    {
        QTest::addColumn<double>("score");
        QTest::addColumn<Direction>("direction");
        QTest::addColumn<bool>("highlighted");
        QTest::addColumn<QString>("ring");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QColor>("labelColor");
        QTest::newRow("6.0 is highlighted") << 6.0 << Direction::Long << true << u"6"_s << u"▲ LONG"_s
                                            << Theme::green();
        QTest::newRow("5.9 is not") << 5.9 << Direction::Short << false << u"5"_s << u"▼ SHORT"_s << Theme::red();
        QTest::newRow("5.99 is not, the ring cuts") << 5.99 << Direction::Neutral << false << u"5"_s << u"─"_s
                                                    << Theme::textSecondary();
    }
    void rowTexts()
    {
        QFETCH(double, score);
        QFETCH(Direction, direction);
        QTEST(SP::isHighlighted(score), "highlighted");
        QTEST(SP::scoreRingText(score), "ring");
        QTEST(SP::directionLabel(direction), "label");
        QTEST(SP::directionColor(direction), "labelColor");
    }

    void riskHeader()
    {
        QCOMPARE(SP::riskLabel(u"risk-on"_s), u"RISK-ON"_s);
        QCOMPARE(SP::riskColor(u"risk-on"_s), Theme::green());
        // Anything else is shown as it is, in capitals and yellow.
        QCOMPARE(SP::riskLabel(u"Risk-On"_s), u"RISK-ON"_s);
        QCOMPARE(SP::riskColor(u"Risk-On"_s), Theme::yellow());
    }

    void strength()
    {
        // Strongest first, ties alphabetical, one decimal.
        const QMap<QString, double> strength{
            {u"USD"_s, 0.5}, {u"EUR"_s, -1.26}, {u"GBP"_s, 0.0}, {u"JPY"_s, 0.5}, {u"CHF"_s, 2.04}};
        QStringList ranked;
        for (const auto &[currency, value] : SP::strengthRanking(strength))
            ranked << currency + u' ' + SP::strengthText(value);
        QCOMPARE(ranked, (QStringList{u"CHF +2.0"_s, u"JPY +0.5"_s, u"USD +0.5"_s, u"GBP +0.0"_s, u"EUR -1.3"_s}));
        // Zero of either sign is neutral; a small loss is red though it reads -0.0.
        QCOMPARE(SP::strengthColor(0.0), Theme::textSecondary());
        QCOMPARE(SP::strengthColor(-0.0), Theme::textSecondary());
        QCOMPARE(SP::strengthColor(-0.04), Theme::red());
    }

    void thePanelShowsTheLatestScan()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.setProperty("showScannerPanel", true);
        QVERIFY(h.shows(u"scannerPanel"_s));
        QVERIFY(h.shows(u"noSetups"_s)); // nothing scanned yet
        QVERIFY(!h.shows(u"currencyStrength"_s));
        // A real scan of one quote: GBP/AUD +0.5 % makes GBP +0.5 and AUD -0.5.
        h.state.onPrices({{u"GBP/AUD"_s, test::quote(u"GBP/AUD"_s, 1.9, 0.5, noon)}});
        h.state.refreshScanner();

        QCOMPARE(texts(h.item(u"sessionLabels"_s), u"session:"_s), (QStringList{u"LONDON"_s, u"NEW_YORK"_s}));
        QQuickItem *gbp = h.item(u"strength:GBP"_s);
        QQuickItem *usd = h.item(u"strength:USD"_s);
        QQuickItem *aud = h.item(u"strength:AUD"_s);
        QVERIFY(gbp && usd && aud);
        QCOMPARE(h.text(u"strengthValue"_s, aud), u"-0.5"_s);
        QCOMPARE(h.color(u"strengthValue"_s, aud), Theme::red());
        QVERIFY(gbp->x() < usd->x() && usd->x() < aud->x());
        // The strongest setup: strength and momentum, no session covers it.
        QQuickItem *top = row(h, u"GBP/AUD"_s);
        QVERIFY(top);
        QCOMPARE(h.text(u"opportunityDirection"_s, top), u"▲ LONG"_s);
        QCOMPARE(h.text(u"scoreRingText"_s, top), u"2"_s);
        QCOMPARE(top->property("color").value<QColor>().alpha(), 0); // not highlighted
        QCOMPARE(texts(h.item(u"opportunityBody"_s, top), u"reason"_s),
                 (QStringList{u"• GBP stark (+0.5)"_s, u"• Momentum ▲+0.50%"_s}));
        QVERIFY(!h.shows(u"noSetups"_s));

        // A strong short with a warning and news; a score of 0.4 gets no row.
        auto *model = qobject_cast<OpportunityListModel *>(h.object(u"opportunityModel"_s));
        QVERIFY(model);
        Opportunity o = opportunity(u"EUR/USD"_s, 9.0, Direction::Short);
        o.warning = true;
        o.newsCount = 3;
        model->setResult(ScannerResult{.opportunities = {o, opportunity(u"GBP/USD"_s, 0.4)}});
        QQuickItem *r = row(h, u"EUR/USD"_s);
        QVERIFY(r);
        QVERIFY(!row(h, u"GBP/USD"_s));
        QCOMPARE(r->property("color").value<QColor>(), Theme::withOpacity(Theme::cardBackground(), 0.5));
        QCOMPARE(h.item(u"scoreRing"_s, r)->property("color").value<QColor>(), Theme::red());
        QVERIFY(h.shows(u"opportunityWarning"_s, r));
        QCOMPARE(h.text(u"opportunityWarning"_s, r), u"⚠"_s);
        QCOMPARE(h.text(u"opportunityNewsCount"_s, r), u"3N"_s);
        // A later scan with nothing above the cut leaves the sentence.
        model->setResult(ScannerResult{.opportunities = {opportunity(u"EUR/USD"_s, 0.4)}});
        QVERIFY(!row(h, u"EUR/USD"_s));
        QVERIFY(h.shows(u"noSetups"_s));
        QCOMPARE(h.text(u"noSetups"_s), u"Keine klaren Setups — warte auf mehr Preis- oder News-Impuls."_s);
    }
};

QTEST_MAIN(TestScannerPanel)
#include "tst_scannerpanel.moc"
