#include "WindowHarness.h"

#include "../TestSupport.h"
#include "ui/Theme.h"

#include <QDesktopServices>
#include <QTemporaryDir>

#include <algorithm>

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

// Takes what the views hand to the system browser.
class BrowserStandIn : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public slots:
    void open(const QUrl &url) { opened << url; }
};

// The detail's parts in the order they must appear.
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

    static QQuickItem *row(const test::WindowHarness &h, const QString &id) { return h.item(u"newsRow:"_s + id); }

    // The rows the list shows, top to bottom, by their items' ids.
    static QStringList rowIds(const test::WindowHarness &h)
    {
        QQuickItem *list = h.item(u"newsList"_s);
        const int count = list->property("count").toInt();
        QStringList ids;
        for (int i = 0; i < count; ++i) {
            QQuickItem *delegate = nullptr;
            QMetaObject::invokeMethod(list, "itemAtIndex", Q_RETURN_ARG(QQuickItem *, delegate), Q_ARG(int, i));
            ids << (delegate ? delegate->property("newsId").toString() : u"<not built>"_s);
        }
        return ids;
    }

    // The detail's parts a user sees, top to bottom.
    static QStringList shownSections(const test::WindowHarness &h)
    {
        QList<QQuickItem *> shown;
        for (const QString &name : allSections) {
            QQuickItem *section = h.item(name);
            if (section && test::WindowHarness::shown(section))
                shown << section;
        }
        std::sort(shown.begin(), shown.end(), [](QQuickItem *a, QQuickItem *b) {
            return a->mapToScene({0, 0}).y() < b->mapToScene({0, 0}).y();
        });
        QStringList names;
        for (QQuickItem *section : shown)
            names << section->objectName();
        return names;
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
        QTest::addColumn<bool>("analysisLine");
        QTest::addColumn<QString>("urgency");   // empty: not shown
        QTest::addColumn<QString>("direction"); // empty: none
        QTest::addColumn<QColor>("directionColor");
        const QColor darkRed(u"#160a0a"_s);
        const QColor none(Qt::transparent);
        const auto tint = [](const QColor &c) { return Theme::withOpacity(c, 0.15); };
        NewsAnalysis bearish = completeAnalysis();
        bearish.pairs = {{u"EUR/USD"_s, u"bearish"_s}, {u"GBP/USD"_s, u"bearish"_s}, {u"USD/JPY"_s, u"bullish"_s}};
        NewsAnalysis bullish = completeAnalysis();
        bullish.score = 5.5;
        bullish.pairs = {{u"EUR/USD"_s, u"bullish"_s}};
        bullish.urgency = u"hours"_s;
        bullish.analysis.clear();
        const QString ezb = u"EZB stellt Senkung in Aussicht"_s;
        QTest::newRow("feed score 8 is dark red") << 8.0 << Analysis() << false << darkRed << u"8"_s
                                                  << tint(Theme::orange()) << u"Title a"_s << false << QString()
                                                  << QString() << QColor();
        QTest::newRow("selection wins over dark red") << 8.0 << Analysis() << true << Theme::selectionBackground()
                                                      << u"8"_s << tint(Theme::orange()) << u"Title a"_s << false
                                                      << QString() << QString() << QColor();
        QTest::newRow("analysis: its score, headline, glyphs; the feed the background")
            << 9.0 << Analysis(bearish) << false << darkRed << u"8"_s << tint(Theme::orange()) << ezb << true
            << u"⚡"_s << u"▼"_s << Theme::red();
        QTest::newRow("no analysis text, no line") << 5.0 << Analysis(bullish) << false << none << u"5"_s
                                                   << tint(Theme::blue()) << ezb << false << u"⏱"_s << u"▲"_s
                                                   << Theme::green();
    }
    void rowBindsItsHeadline()
    {
        QFETCH(double, score);
        QFETCH(Analysis, analysis);
        QFETCH(bool, selected);
        QFETCH(QColor, background);
        QFETCH(QColor, squareColor);
        QFETCH(QString, urgency);
        QFETCH(QString, direction);
        test::WindowHarness h(noon);
        QVERIFY(h.load());
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
        QTEST(h.shows(u"rowAnalysis"_s, r), "analysisLine");
        QCOMPARE(h.text(u"rowSource"_s, r), u"FXSTREET"_s);
        QCOMPARE(h.text(u"rowAge"_s, r), u"vor 45s"_s);
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
        QVERIFY(timer);
        QCOMPARE(timer->property("interval").toInt(), 10000);
        h.clock.advance(30s);
        QCOMPARE(h.text(u"rowAge"_s, row(h, u"a"_s)), u"vor 30s"_s); // only the timer moves it on
        QMetaObject::invokeMethod(timer, "triggered");
        QCOMPARE(h.text(u"rowAge"_s, row(h, u"a"_s)), u"vor 1 min"_s);
    }

    // Which headlines match is the filter model's rule; here: typing drives it.
    void filterTyping()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        int age = 10;
        for (const QString &id : {u"fed1"_s, u"gold"_s, u"fed2"_s}) {
            NewsItem item = headline(id, age += 10);
            item.title = id.startsWith(u"fed") ? u"The Fed waits"_s : u"Gold climbs"_s;
            h.state.onNewsItem(item);
        }
        QVERIFY(!h.shows(u"filterClear"_s));

        QQuickItem *field = h.item(u"newsFilter"_s);
        QVERIFY(h.click(field));
        for (const char c : {'F', 'E', 'D'})
            QTest::keyClick(h.window, c);
        QCOMPARE(field->property("text").toString(), u"FED"_s);
        QCOMPARE(rowIds(h), (QStringList{u"fed1"_s, u"fed2"_s}));
        // The header counts every headline, filtered or not.
        QCOMPARE(h.text(u"panelHeaderTitle"_s, h.item(u"newsHeader"_s)), u"LIVE NEWS  ·  3"_s);

        QVERIFY(h.shows(u"filterClear"_s));
        QVERIFY(h.click(h.item(u"filterClear"_s)));
        QCOMPARE(field->property("text").toString(), QString());
        QCOMPARE(rowIds(h).size(), 3);
    }

    void healthDotFollowsTheLastCycle()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
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
        QVERIFY(h.click(row(h, u"b"_s)));
        QCOMPARE(h.state.selectedNewsId(), u"b"_s);
        QCOMPARE(h.text(u"detailTitle"_s), u"Title b"_s);
        QVERIFY(h.click(row(h, u"a"_s)));
        QCOMPARE(h.state.selectedNewsId(), u"a"_s);
        QCOMPARE(h.text(u"detailTitle"_s), u"EZB stellt Senkung in Aussicht"_s);
        QCOMPARE(h.text(u"detailSource"_s), u"FXSTREET"_s);
        QCOMPARE(h.text(u"detailElapsed"_s), u"1 Min."_s);
    }

    void detailSections_data()
    {
        QTest::addColumn<Analysis>("analysis");
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("url");
        QTest::addColumn<QStringList>("sections");
        QTest::addColumn<bool>("badges");
        const QString content = u"Original"_s;
        const QString url = u"https://example.org/a"_s;
        NewsAnalysis some;
        some.pairs = {{u"EUR/USD"_s, u"bullish"_s}};
        some.factors = {u"Faktor"_s};
        NewsAnalysis noBias = completeAnalysis();
        noBias.strategy->bias.clear();
        QTest::newRow("complete, in order") << Analysis(completeAnalysis()) << content << url << allSections << true;
        QTest::newRow("without analysis") << Analysis() << content << url
                                          << QStringList{u"sectionOriginal"_s, u"sourceLink"_s} << false;
        QTest::newRow("empty parts are left out")
            << Analysis(some) << content << QString()
            << QStringList{u"sectionPairs"_s, u"sectionFactors"_s, u"sectionOriginal"_s} << true;
        QTest::newRow("a strategy without bias is left out")
            << Analysis(noBias) << QString() << url
            << QStringList{u"sectionAnalysis"_s, u"sectionSummary"_s, u"sectionPairs"_s, u"sectionFactors"_s,
                           u"sectionRisks"_s, u"sectionMacro"_s, u"sectionWatchNext"_s, u"sourceLink"_s}
            << true;
    }
    void detailSections()
    {
        QFETCH(Analysis, analysis);
        QFETCH(QString, content);
        QFETCH(QString, url);
        QFETCH(bool, badges);
        NewsItem item = headline(u"a"_s, 60, 5, analysis);
        item.content = content;
        item.url = url;
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, item));
        QTEST(shownSections(h), "sections");
        QCOMPARE(h.shows(u"detailBadges"_s), badges);
        QVERIFY(h.shows(u"detailTitle"_s));
    }

    void badgesPairsAndTradeSetup()
    {
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s, 60, 5, completeAnalysis())));
        QQuickItem *scoreBadge = h.item(u"scoreBadge"_s);
        QVERIFY(scoreBadge);
        QCOMPARE(scoreBadge->property("text").toString(), u"8/10"_s);
        QCOMPARE(scoreBadge->property("tint").value<QColor>(), Theme::orange());
        QCOMPARE(h.text(u"urgencyBadgeGlyph"_s), u"⚡"_s);
        QCOMPARE(h.text(u"urgencyBadgeWord"_s), u"SOFORT"_s);
        QCOMPARE(h.color(u"urgencyBadgeWord"_s), Theme::yellow());
        QCOMPARE(h.item(u"categoryBadge"_s)->property("text").toString(), u"CENTRAL BANK"_s);

        // Alphabetical, left to right.
        QStringList cells;
        QList<qreal> xs;
        for (const QString &pair : {u"EUR/CHF"_s, u"EUR/USD"_s, u"USD/JPY"_s}) {
            QQuickItem *cell = h.item(u"pairCell:"_s + pair);
            QVERIFY2(cell, qPrintable(pair));
            QVERIFY(cell->width() >= 120);
            xs << cell->mapToScene({0, 0}).x();
            cells << h.text(u"pairArrow"_s, cell) + u' ' + h.text(u"pairDirection"_s, cell);
        }
        QVERIFY(std::is_sorted(xs.begin(), xs.end()) && xs.first() < xs.last());
        QCOMPARE(cells, (QStringList{u"─ NEUTRAL"_s, u"▼ BEARISH"_s, u"▲ BULLISH"_s}));
        QCOMPARE(h.color(u"pairArrow"_s, h.item(u"pairCell:EUR/USD"_s)), Theme::red());
        QCOMPARE(h.color(u"pairDirection"_s, h.item(u"pairCell:EUR/USD"_s)), Theme::red());

        const QList<std::tuple<QString, QString, QColor>> setup{{u"bias"_s, u"Short EUR/USD"_s, Theme::yellow()},
                                                                {u"entry"_s, u"1.0860"_s, Theme::textPrimary()},
                                                                {u"stop"_s, u"1.0920"_s, Theme::red()},
                                                                {u"target"_s, u"1.0760"_s, Theme::green()}};
        for (const auto &[key, text, color] : setup) {
            QCOMPARE(h.text(u"setup:"_s + key), text);
            QCOMPARE(h.color(u"setup:"_s + key), color);
        }
    }

    void theLinkOpensTheSystemBrowser()
    {
        BrowserStandIn browser;
        QDesktopServices::setUrlHandler(u"https"_s, &browser, "open");
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s)));
        QQuickItem *link = h.item(u"sourceLink"_s);
        QVERIFY(test::WindowHarness::shown(link));
        QCOMPARE(h.text(u"sourceLinkText"_s, link), u"→ Quelle öffnen"_s);
        QCOMPARE(h.color(u"sourceLinkText"_s, link), Theme::blue());
        QVERIFY(h.click(link));
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QCOMPARE(browser.opened, QList<QUrl>{QUrl(u"https://fxstreet.com/n/1"_s)});
    }

    void deepAnalysisButtons()
    {
        const QStringList buttons{u"headerDeepAnalysis"_s, u"contentDeepAnalysis"_s};
        const QStringList spinners{u"headerSpinner"_s, u"contentSpinner"_s};
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s)));
        QVERIFY(h.state.aiAvailable());
        // The backend does not answer: each analysis starts, fails and lowers its flag.
        QList<bool> flags;
        QObject::connect(&h.state, &AppState::isAnalyzingDetailChanged,
                         [&] { flags << h.state.property("isAnalyzingDetail").toBool(); });
        for (const QString &button : buttons) {
            QVERIFY(!h.shows(u"headerSpinner"_s) && !h.shows(u"contentSpinner"_s));
            QVERIFY(h.click(h.item(button)));
            QTRY_COMPARE(flags, (QList<bool>{true, false}));
            flags.clear();
        }
        // While one runs both buttons give way to spinners, so no second one starts.
        h.state.setProperty("isAnalyzingDetail", true);
        for (const QString &other : buttons)
            QVERIFY(!h.shows(other));
        for (const QString &spinner : spinners)
            QVERIFY(h.shows(spinner));
    }

    void aClosingPanelKeepsItsHeadlineWhileItSlidesAway()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.item(u"centerColumn"_s)->setProperty("animated", true);
        h.state.onNewsItem(headline(u"a"_s));
        h.state.selectNews(u"a"_s);
        QTRY_COMPARE(h.item(u"centerColumn"_s)->property("reveal").toDouble(), 1.0);

        h.state.selectNews(QString());
        QVERIFY(h.shows(u"detailGroup"_s)); // still on its way out
        QVERIFY(h.shows(u"detailContent"_s));
        QVERIFY(!h.shows(u"emptyDetail"_s));
        QCOMPARE(h.text(u"detailTitle"_s), u"Title a"_s);
        QTRY_VERIFY(!h.shows(u"detailGroup"_s));
    }
};

QTEST_MAIN(TestNewsViews)
#include "tst_newsviews.moc"
