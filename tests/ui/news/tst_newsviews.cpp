#include "../WindowHarness.h"

#include "../../TestSupport.h"
#include "ui/controls/Theme.h"

#include <QDesktopServices>
#include <QTemporaryDir>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

using Analysis = std::optional<NewsAnalysis>;

NewsItem headline(const QString &id, int secondsAgo = 60, double score = 5, Analysis analysis = {})
{
    NewsItem item = test::newsItem(1, noon.addSecs(-secondsAgo)); // from FXStreet, with text and link
    item.id = item.hash = id;
    item.title = u"Title "_s + id;
    item.score = score;
    item.analysis = std::move(analysis);
    return item;
}

NewsAnalysis completeAnalysis()
{
    return NewsAnalysis{
        .score = 8.4, .urgency = u"immediate"_s, .headline = u"EZB stellt Senkung in Aussicht"_s,
        .analysis = u"Der Euro gerät unter Druck."_s,
        .pairs = {{u"USD/JPY"_s, u"bullish"_s}, {u"EUR/USD"_s, u"bearish"_s}, {u"EUR/CHF"_s, u"neutral"_s}},
        .category = u"central_bank"_s, .factors = {u"Faktor"_s}, .summary = u"Zusammenfassung."_s,
        .macro = u"Makro."_s, .risks = {u"Daten"_s}, .watchNext = u"HVPI am Freitag"_s,
        .strategy = TradeStrategy{u"Short EUR/USD"_s, u"1.0860"_s, u"1.0920"_s, u"1.0760"_s}};
}

// The detail's sections in the order they must appear.
const QStringList allSections{u"sectionAnalysis"_s,   u"sectionSummary"_s, u"sectionPairs"_s,
                              u"sectionTradeSetup"_s, u"sectionFactors"_s, u"sectionRisks"_s,
                              u"sectionMacro"_s,      u"sectionWatchNext"_s, u"sectionOriginal"_s,
                              u"sourceLink"_s};

} // namespace

Q_DECLARE_METATYPE(Analysis)

class TestNewsViews : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;
    QList<QUrl> m_opened; // what the views hand to the system browser

    static QQuickItem *row(const test::WindowHarness &h, const QString &id) { return h.item(u"newsRow:"_s + id); }

    // The rows the list shows, top to bottom, by their items' ids.
    static QStringList rowIds(const test::WindowHarness &h)
    {
        QQuickItem *list = h.item(u"newsList"_s);
        QStringList ids;
        for (int i = 0; i < list->property("count").toInt(); ++i) {
            QQuickItem *delegate = nullptr;
            QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem *, delegate), Q_ARG(int, i));
            ids << (delegate ? delegate->property("newsId").toString() : u"<not built>"_s);
        }
        return ids;
    }

    // The detail's sections a user sees, top to bottom.
    static QStringList shownSections(const test::WindowHarness &h)
    {
        QMultiMap<qreal, QString> byY;
        for (const QString &name : allSections) {
            if (QQuickItem *section = h.item(name); section && test::WindowHarness::shown(section))
                byY.insert(section->mapToScene({0, 0}).y(), name);
        }
        return byY.values();
    }

    // A window with one selected headline and room for its whole detail.
    static bool showDetailOf(test::WindowHarness &h, const NewsItem &item)
    {
        if (!h.load())
            return false;
        h.window->resize(1400, 1600);
        h.item(u"centerColumn"_s)->setProperty("detailHeight", 1100);
        h.state.onNewsItem(item);
        h.state.selectNews(item.id);
        return QTest::qWaitFor([&] { return h.window->height() == 1600; });
    }

public slots:
    void open(const QUrl &url) { m_opened << url; }

private slots:
    void initTestCase() { qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8()); }

    // What each rule yields is the presentation's business; here: the row binds it.
    void rowBindsItsHeadline_data()
    {
        QTest::addColumn<double>("score");
        QTest::addColumn<Analysis>("analysis");
        QTest::addColumn<bool>("selected");
        QTest::addColumn<QColor>("background");
        QTest::addColumn<QString>("square");
        QTest::addColumn<QColor>("squareColor");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("urgency");   // empty: not shown
        QTest::addColumn<QString>("direction"); // empty: none
        QTest::addColumn<QColor>("directionColor");
        const QColor darkRed(u"#160a0a"_s);
        const auto tint = [](const QColor &c) { return Theme::withOpacity(c, 0.15); };
        const QString ezb = u"EZB"_s;
        const NewsAnalysis bearish{.score = 8.4, .urgency = u"immediate"_s, .headline = ezb, .analysis = u"Text"_s,
                                   .pairs = {{u"EUR/USD"_s, u"bearish"_s}, {u"GBP/USD"_s, u"bearish"_s}}};
        const NewsAnalysis bullish{.score = 5.5, .headline = ezb, .pairs = {{u"EUR/USD"_s, u"bullish"_s}}};
        QTest::newRow("selection wins over dark red") << 8.0 << Analysis() << true << Theme::selectionBackground()
                                                      << u"8"_s << tint(Theme::orange()) << u"Title a"_s
                                                      << QString() << QString() << QColor();
        QTest::newRow("analysis: its score, headline, glyphs; the feed the background")
            << 9.0 << Analysis(bearish) << false << darkRed << u"8"_s << tint(Theme::orange()) << ezb
            << u"⚡"_s << u"▼"_s << Theme::red();
        QTest::newRow("no analysis text, no line") << 5.0 << Analysis(bullish) << false << QColor(Qt::transparent)
                                                   << u"5"_s << tint(Theme::blue()) << ezb << u"⏱"_s
                                                   << u"▲"_s << Theme::green();
    }
    void rowBindsItsHeadline()
    {
        QFETCH(Analysis, analysis);
        QFETCH(bool, selected);
        QFETCH(QColor, background);
        QFETCH(QColor, squareColor);
        QFETCH(QString, urgency);
        QFETCH(QString, direction);
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        QFETCH(double, score);
        h.state.onNewsItem(headline(u"a"_s, 45, score, analysis));
        if (selected)
            h.state.selectNews(u"a"_s);
        QQuickItem *r = row(h, u"a"_s);
        QVERIFY(r);
        QCOMPARE(r->property("color").value<QColor>().rgba(), background.rgba());
        QTEST(h.text(u"scoreText"_s, r), "square");
        QCOMPARE(h.color(u"scoreSquare"_s, r).rgba(), squareColor.rgba());
        QCOMPARE(h.color(u"rowTitle"_s, r), selected ? Theme::white() : Theme::textPrimary());
        QTEST(h.text(u"rowTitle"_s, r), "title");
        QCOMPARE(h.shows(u"rowAnalysis"_s, r), analysis && !analysis->analysis.isEmpty());
        QCOMPARE(h.text(u"rowUrgency"_s, r), urgency);
        QCOMPARE(h.shows(u"rowUrgency"_s, r), !urgency.isEmpty());
        QCOMPARE(h.text(u"rowDirection"_s, r), direction);
        if (!direction.isEmpty())
            QTEST(h.color(u"rowDirection"_s, r), "directionColor");
    }

    void agesMoveOnEveryTenSeconds()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onNewsItem(headline(u"a"_s, 30));
        QCOMPARE(h.text(u"rowAge"_s, row(h, u"a"_s)), u"vor 30s"_s);
        QObject *timer = h.object(u"ageTimer"_s);
        QCOMPARE(timer ? timer->property("interval").toInt() : 0, 10000);
        h.clock.advance(30s);
        QCOMPARE(h.text(u"rowAge"_s, row(h, u"a"_s)), u"vor 30s"_s); // only the timer moves it on
        QMetaObject::invokeMethod(timer, "triggered");
        QCOMPARE(h.text(u"rowAge"_s, row(h, u"a"_s)), u"vor 1 min"_s);
    }

    // Which headlines match is the filter model's rule; here: typing drives it.
    void newsHeaderFilterCountAndHealth()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        int age = 60;
        for (const QString &id : {u"fed1"_s, u"gold"_s, u"fed2"_s})
            h.state.onNewsItem(headline(id, age++));
        QVERIFY(!h.shows(u"filterClear"_s));
        QQuickItem *field = h.item(u"newsFilter"_s);
        QVERIFY(h.click(field));
        for (const char c : {'F', 'E', 'D'})
            QTest::keyClick(h.window, c);
        QCOMPARE(rowIds(h), (QStringList{u"fed1"_s, u"fed2"_s}));
        // The header counts every headline, filtered or not.
        QCOMPARE(h.text(u"panelHeaderTitle"_s, h.item(u"newsHeader"_s)), u"LIVE NEWS  ·  3"_s);
        QVERIFY(h.click(h.item(u"filterClear"_s)));
        QCOMPARE(field->property("text").toString(), QString());
        QCOMPARE(rowIds(h).size(), 3);
        h.state.onNewsCycle(noon, true);
        QCOMPARE(h.color(u"healthDot"_s), Theme::green());
        h.state.onNewsCycle(noon, false);
        QCOMPARE(h.color(u"healthDot"_s), Theme::red());
    }

    void aClickOnARowSelectsIt()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onNewsItem(headline(u"a"_s, 60, 5, completeAnalysis()));
        h.state.onNewsItem(headline(u"b"_s, 120));
        QVERIFY(h.click(row(h, u"a"_s)));
        QCOMPARE(h.state.selectedNewsId(), u"a"_s);
        QCOMPARE(h.text(u"detailTitle"_s), u"EZB stellt Senkung in Aussicht"_s);
        QCOMPARE(h.text(u"detailElapsed"_s), u"1 Min."_s);
    }

    void detailSections_data()
    {
        QTest::addColumn<Analysis>("analysis");
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("sections");
        NewsAnalysis some{.pairs = {{u"EUR/USD"_s, u"bullish"_s}}, .factors = {u"Faktor"_s}};
        QTest::newRow("complete, in order") << Analysis(completeAnalysis()) << u"https://x.org/a"_s << allSections;
        QTest::newRow("without analysis: original and link") << Analysis() << u"https://x.org/a"_s
                                                             << allSections.sliced(8);
        QTest::newRow("empty fields are left out") << Analysis(some) << QString()
                                                  << QStringList{u"sectionPairs"_s, u"sectionFactors"_s,
                                                                 u"sectionOriginal"_s};
    }
    void detailSections()
    {
        QFETCH(Analysis, analysis);
        NewsItem item = headline(u"a"_s, 60, 5, analysis);
        QFETCH(QString, url);
        item.url = url;
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, item));
        QTEST(shownSections(h), "sections");
        QCOMPARE(h.shows(u"detailBadges"_s), analysis.has_value());
    }

    void badgesPairsAndTradeSetup()
    {
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s, 60, 5, completeAnalysis())));
        QCOMPARE(h.text(u"scoreBadge"_s), u"8/10"_s);
        QCOMPARE(h.item(u"scoreBadge"_s)->property("tint").value<QColor>(), Theme::orange());
        QCOMPARE(h.text(u"urgencyBadgeWord"_s), u"SOFORT"_s);
        QCOMPARE(h.color(u"urgencyBadgeWord"_s), Theme::yellow());

        // Alphabetical, left to right.
        QStringList cells;
        QList<qreal> xs;
        for (const QString &pair : {u"EUR/CHF"_s, u"EUR/USD"_s, u"USD/JPY"_s}) {
            QQuickItem *cell = h.item(u"pairCell:"_s + pair);
            QVERIFY2(cell, qPrintable(pair));
            xs << cell->mapToScene({0, 0}).x();
            cells << h.text(u"pairArrow"_s, cell) + u' ' + h.text(u"pairDirection"_s, cell) + u' '
                         + h.color(u"pairDirection"_s, cell).name();
        }
        QVERIFY(xs[0] < xs[1] && xs[1] < xs[2]);
        QCOMPARE(cells, (QStringList{u"─ NEUTRAL "_s + Theme::textSecondary().name(),
                                     u"▼ BEARISH "_s + Theme::red().name(), u"▲ BULLISH "_s + Theme::green().name()}));
        QCOMPARE(h.text(u"setup:bias"_s), u"Short EUR/USD"_s);
        QCOMPARE(h.color(u"setup:stop"_s), Theme::red());
    }

    void theLinkOpensTheSystemBrowser()
    {
        QDesktopServices::setUrlHandler(u"https"_s, this, "open");
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s)));
        QCOMPARE(h.text(u"sourceLinkText"_s), u"→ Quelle öffnen"_s);
        QVERIFY(h.click(h.item(u"sourceLink"_s)));
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QCOMPARE(m_opened, QList<QUrl>{QUrl(u"https://fxstreet.com/n/1"_s)});
    }

    void deepAnalysisButtons()
    {
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s)));
        // The backend does not answer: the analysis starts, fails and lowers its flag.
        QList<bool> flags;
        QObject::connect(&h.state, &AppState::isAnalyzingDetailChanged,
                         [&] { flags << h.state.property("isAnalyzingDetail").toBool(); });
        QVERIFY(h.click(h.item(u"headerDeepAnalysis"_s)));
        QTRY_COMPARE(flags, (QList<bool>{true, false}));
        // While one runs both buttons give way to spinners, so no second one starts.
        h.state.setProperty("isAnalyzingDetail", true);
        for (const QString &name : {u"headerDeepAnalysis"_s, u"contentDeepAnalysis"_s})
            QVERIFY(!h.shows(name));
        QVERIFY(h.shows(u"headerSpinner"_s) && h.shows(u"contentSpinner"_s));
    }
};

QTEST_MAIN(TestNewsViews)
#include "tst_newsviews.moc"
