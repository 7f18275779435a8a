#include "WindowHarness.h"

#include "../TestSupport.h"
#include "app/OpportunityListModel.h"
#include "app/ScannerPresentation.h"
#include "ui/Theme.h"

#include <QTemporaryDir>

using namespace kalvo;
namespace SP = kalvo::ScannerPresentation;
using Direction = Opportunity::Direction;

namespace {

// Wednesday 12:00 UTC: London and New York are open, Sydney and Tokyo are not.
const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

Opportunity opportunity(const QString &pair, double score, Direction direction = Direction::Long)
{
    Opportunity o;
    o.id = pair;
    o.pair = pair;
    o.score = score;
    o.direction = direction;
    return o;
}

ScannerResult resultWith(const QList<Opportunity> &opportunities)
{
    ScannerResult result;
    result.opportunities = opportunities;
    return result;
}

QStringList pairs(const QList<Opportunity> &opportunities)
{
    QStringList names;
    for (const Opportunity &o : opportunities)
        names << o.pair;
    return names;
}

PriceData quote(const QString &pair, double changePct)
{
    PriceData price;
    price.id = pair;
    price.pair = pair;
    price.price = 1.9;
    price.changePct = changePct;
    price.direction = changePct > 0 ? PriceData::Direction::Up : PriceData::Direction::Down;
    price.timestamp = noon;
    return price;
}

using Strength = QMap<QString, double>;

} // namespace

class TestScannerPanel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

    static QQuickItem *row(const test::WindowHarness &h, const QString &pair)
    {
        return h.item(u"opportunity:"_s + pair);
    }
    // A closed sheet's items leave the window, so "not found" is "not shown".
    static bool shown(const test::WindowHarness &h, const QString &name, QQuickItem *root = nullptr)
    {
        QQuickItem *found = h.item(name, root);
        return found && test::WindowHarness::shown(found);
    }
    static QStringList texts(QQuickItem *parent, const QString &prefix, const char *property = "text")
    {
        QStringList result;
        for (QQuickItem *child : parent->childItems()) {
            if (child->objectName().startsWith(prefix))
                result << child->property(property).toString();
        }
        return result;
    }
    static bool showScanner(test::WindowHarness &h)
    {
        if (!h.load())
            return false;
        h.state.setProperty("showScannerPanel", true);
        return shown(h, u"scannerPanel"_s);
    }
    static OpportunityListModel *model(const test::WindowHarness &h)
    {
        return qobject_cast<OpportunityListModel *>(h.object(u"opportunityModel"_s));
    }

private slots:
    void initTestCase() { qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8()); }

    void onlyScoresAboveTheCutAreShown_data()
    {
        QTest::addColumn<QList<double>>("scores");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("0.4 is cut, 0.5 is not") << QList<double>{0.4, 0.5} << QStringList{u"P1"_s};
        QTest::newRow("just above the cut") << QList<double>{0.41, 0.39, 0.0} << QStringList{u"P0"_s};
        QTest::newRow("order is kept") << QList<double>{9.9, 0.4, 2.0, 5.0} << QStringList{u"P0"_s, u"P2"_s, u"P3"_s};
        QTest::newRow("nothing above the cut") << QList<double>{0.4, 0.1} << QStringList{};
        QTest::newRow("no opportunities") << QList<double>{} << QStringList{};
    }
    void onlyScoresAboveTheCutAreShown()
    {
        QFETCH(QList<double>, scores);
        QList<Opportunity> opportunities;
        for (qsizetype i = 0; i < scores.size(); ++i)
            opportunities << opportunity(u"P%1"_s.arg(i), scores.at(i));
        QTEST(pairs(SP::shownOpportunities(resultWith(opportunities))), "shown");
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
        QTest::newRow("5.99 is not") << 5.99 << Direction::Neutral << false << u"5"_s << u"─"_s
                                     << Theme::textSecondary();
        QTest::newRow("the ring shows the whole number") << 9.9 << Direction::Long << true << u"9"_s << u"▲ LONG"_s
                                                         << Theme::green();
        QTest::newRow("under one") << 0.5 << Direction::Short << false << u"0"_s << u"▼ SHORT"_s << Theme::red();
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

    void header_data()
    {
        QTest::addColumn<QString>("risk");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QColor>("color");
        QTest::newRow("risk-on") << u"risk-on"_s << u"RISK-ON"_s << Theme::green();
        QTest::newRow("risk-off") << u"risk-off"_s << u"RISK-OFF"_s << Theme::red();
        QTest::newRow("neutral") << u"neutral"_s << u"NEUTRAL"_s << Theme::yellow();
        QTest::newRow("anything else") << u"Risk-On"_s << u"RISK-ON"_s << Theme::yellow();
    }
    void header()
    {
        QFETCH(QString, risk);
        QTEST(SP::riskLabel(risk), "label");
        QTEST(SP::riskColor(risk), "color");
    }

    void strength_data()
    {
        QTest::addColumn<Strength>("strength");
        QTest::addColumn<QStringList>("order");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("strongest first, ties alphabetical")
            << Strength{{u"USD"_s, 0.5}, {u"EUR"_s, -1.26}, {u"GBP"_s, 0.0}, {u"JPY"_s, 0.5},
                                     {u"CHF"_s, 2.04}}
            << QStringList{u"CHF"_s, u"JPY"_s, u"USD"_s, u"GBP"_s, u"EUR"_s}
            << QStringList{u"+2.0"_s, u"+0.5"_s, u"+0.5"_s, u"+0.0"_s, u"-1.3"_s};
        QTest::newRow("all negative") << Strength{{u"AUD"_s, -0.3}, {u"NZD"_s, -10.0}}
                                      << QStringList{u"AUD"_s, u"NZD"_s} << QStringList{u"-0.3"_s, u"-10.0"_s};
        QTest::newRow("none") << Strength{} << QStringList{} << QStringList{};
    }
    void strength()
    {
        QFETCH(Strength, strength);
        QStringList order;
        QStringList texts;
        for (const auto &[currency, value] : SP::strengthRanking(strength)) {
            order << currency;
            texts << SP::strengthText(value);
        }
        QTEST(order, "order");
        QTEST(texts, "texts");
    }

    void strengthColor_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QColor>("color");
        QTest::newRow("positive") << 0.01 << Theme::green();
        QTest::newRow("zero") << 0.0 << Theme::textSecondary();
        QTest::newRow("negative zero") << -0.0 << Theme::textSecondary();
        QTest::newRow("negative, shown as -0.0") << -0.04 << Theme::red();
    }
    void strengthColor()
    {
        QFETCH(double, value);
        QTEST(SP::strengthColor(value), "color");
    }

    // A real scan of one quote: GBP/AUD +0.5 % makes GBP +0.5 and AUD -0.5.
    void showsTheLatestScan()
    {
        test::WindowHarness h(noon);
        QVERIFY(showScanner(h));
        QVERIFY(shown(h, u"noSetups"_s)); // nothing scanned yet
        QVERIFY(!shown(h, u"currencyStrength"_s));

        h.state.onPrices({{u"GBP/AUD"_s, quote(u"GBP/AUD"_s, 0.5)}});
        h.state.refreshScanner();

        QCOMPARE(h.text(u"riskLabel"_s), u"NEUTRAL"_s);
        QCOMPARE(h.color(u"riskLabel"_s), Theme::yellow());
        QCOMPARE(texts(h.item(u"sessionLabels"_s), u"session:"_s), (QStringList{u"LONDON"_s, u"NEW_YORK"_s}));
        QCOMPARE(h.color(u"session:LONDON"_s), Theme::blue());

        QVERIFY(shown(h, u"currencyStrength"_s));
        QQuickItem *gbp = h.item(u"strength:GBP"_s);
        QQuickItem *usd = h.item(u"strength:USD"_s);
        QQuickItem *aud = h.item(u"strength:AUD"_s);
        QVERIFY(gbp && usd && aud);
        QCOMPARE(h.text(u"strengthValue"_s, gbp), u"+0.5"_s);
        QCOMPARE(h.color(u"strengthValue"_s, gbp), Theme::green());
        QCOMPARE(h.text(u"strengthValue"_s, usd), u"+0.0"_s);
        QCOMPARE(h.color(u"strengthValue"_s, usd), Theme::textSecondary());
        QCOMPARE(h.text(u"strengthValue"_s, aud), u"-0.5"_s);
        QCOMPARE(h.color(u"strengthValue"_s, aud), Theme::red());
        QVERIFY(gbp->x() < usd->x() && usd->x() < aud->x());

        // The strongest setup: strength and momentum, no session covers it.
        QQuickItem *top = row(h, u"GBP/AUD"_s);
        QVERIFY(top);
        QCOMPARE(h.text(u"opportunityPair"_s, top), u"GBP/AUD"_s);
        QCOMPARE(h.text(u"opportunityDirection"_s, top), u"▲ LONG"_s);
        QCOMPARE(h.color(u"opportunityDirection"_s, top), Theme::green());
        QCOMPARE(h.text(u"scoreRingText"_s, top), u"2"_s);
        QCOMPARE(h.color(u"scoreRingText"_s, top), Theme::textSecondary());
        QCOMPARE(h.text(u"opportunityNewsCount"_s, top), u"0N"_s);
        QVERIFY(!shown(h, u"opportunityWarning"_s, top));
        QCOMPARE(texts(h.item(u"opportunityBody"_s, top), u"reason"_s),
                 (QStringList{u"• GBP stark (+0.5)"_s, u"• Momentum ▲+0.50%"_s}));
        QCOMPARE(top->property("color").value<QColor>().alpha(), 0);

        // Setups of exactly 0.4 (AUD -0.5 against a neutral currency, no session) get no row.
        for (const QString &pair : {u"EUR/AUD"_s, u"AUD/USD"_s, u"AUD/JPY"_s})
            QVERIFY2(!row(h, pair), qPrintable(pair));
        QVERIFY(!shown(h, u"noSetups"_s));
    }

    void highlightAndRingColours_data()
    {
        QTest::addColumn<double>("score");
        QTest::addColumn<QColor>("ring");
        QTest::addColumn<bool>("highlighted");
        QTest::newRow("9.0 red") << 9.0 << Theme::red() << true;
        QTest::newRow("8.0 orange") << 8.0 << Theme::orange() << true;
        QTest::newRow("7.0 yellow") << 7.0 << Theme::yellow() << true;
        QTest::newRow("6.0 blue, highlighted") << 6.0 << Theme::blue() << true;
        QTest::newRow("5.9 blue, plain") << 5.9 << Theme::blue() << false;
        QTest::newRow("5.0 blue") << 5.0 << Theme::blue() << false;
        QTest::newRow("4.9 secondary") << 4.9 << Theme::textSecondary() << false;
        QTest::newRow("0.5 is still shown") << 0.5 << Theme::textSecondary() << false;
    }
    void highlightAndRingColours()
    {
        QFETCH(double, score);
        QFETCH(QColor, ring);
        QFETCH(bool, highlighted);
        test::WindowHarness h(noon);
        QVERIFY(showScanner(h));
        QVERIFY(model(h));
        Opportunity o = opportunity(u"EUR/USD"_s, score, Direction::Short);
        o.warning = true;
        o.newsCount = 3;
        o.reasons = {u"USD stark (+-0.8)"_s};
        model(h)->setResult(resultWith({o, opportunity(u"GBP/USD"_s, 0.4)}));

        QQuickItem *r = row(h, u"EUR/USD"_s);
        QVERIFY(r);
        QVERIFY(!row(h, u"GBP/USD"_s));
        QCOMPARE(r->property("color").value<QColor>(),
                 highlighted ? Theme::withOpacity(Theme::cardBackground(), 0.5) : QColor(Qt::transparent));
        QCOMPARE(h.item(u"scoreRing"_s, r)->property("color").value<QColor>(), ring);
        QCOMPARE(h.color(u"scoreRingText"_s, r), ring);
        QCOMPARE(h.text(u"opportunityDirection"_s, r), u"▼ SHORT"_s);
        QVERIFY(shown(h, u"opportunityWarning"_s, r));
        QCOMPARE(h.text(u"opportunityWarning"_s, r), u"⚠"_s);
        QCOMPARE(h.color(u"opportunityWarning"_s, r), Theme::yellow());
        QCOMPARE(h.text(u"opportunityNewsCount"_s, r), u"3N"_s);
        QCOMPARE(h.text(u"reason"_s, r), u"• USD stark (+-0.8)"_s);
        QVERIFY(!shown(h, u"noSetups"_s));
    }

    void nothingAboveTheCutShowsTheSentence()
    {
        test::WindowHarness h(noon);
        QVERIFY(showScanner(h));
        model(h)->setResult(resultWith({opportunity(u"EUR/USD"_s, 0.4), opportunity(u"GBP/USD"_s, 0.2)}));
        QVERIFY(!row(h, u"EUR/USD"_s));
        QVERIFY(!row(h, u"GBP/USD"_s));
        QVERIFY(shown(h, u"noSetups"_s));
        QCOMPARE(h.text(u"noSetups"_s), u"Keine klaren Setups — warte auf mehr Preis- oder News-Impuls."_s);
        QCOMPARE(h.color(u"noSetups"_s), Theme::textMuted());
        QVERIFY(shown(h, u"scannerHeader"_s));
    }
};

QTEST_MAIN(TestScannerPanel)
#include "tst_scannerpanel.moc"
