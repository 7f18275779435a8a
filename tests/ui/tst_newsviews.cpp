#include "WindowHarness.h"

#include "../TestSupport.h"
#include "ui/Theme.h"

#include <QDesktopServices>
#include <QQmlComponent>
#include <QTemporaryDir>

#include <algorithm>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

using Analysis = std::optional<NewsAnalysis>;

NewsItem headline(const QString &id, int secondsAgo = 60, double score = 5, Analysis analysis = {})
{
    NewsItem item;
    item.id = id;
    item.title = u"Title "_s + id;
    item.source = u"FXStreet"_s;
    item.url = u"https://www.fxstreet.com/news/"_s + id;
    item.published = noon.addSecs(-secondsAgo);
    item.content = u"Original text of "_s + id;
    item.hash = id;
    item.score = score;
    item.analysis = std::move(analysis);
    return item;
}

NewsAnalysis completeAnalysis()
{
    NewsAnalysis a;
    a.score = 8.4;
    a.urgency = u"immediate"_s;
    a.headline = u"EZB stellt Senkung in Aussicht"_s;
    a.analysis = u"Der Euro gerät unter Druck."_s;
    a.pairs = {{u"USD/JPY"_s, u"bullish"_s}, {u"EUR/USD"_s, u"bearish"_s}, {u"EUR/CHF"_s, u"neutral"_s}};
    a.category = u"central_bank"_s;
    a.factors = {u"Inflation sinkt"_s, u"Löhne"_s};
    a.summary = u"Zusammenfassung."_s;
    a.macro = u"Makro."_s;
    a.risks = {u"Daten"_s};
    a.watchNext = u"HVPI am Freitag"_s;
    a.strategy = TradeStrategy{u"Short EUR/USD"_s, u"1.0860"_s, u"1.0920"_s, u"1.0760"_s};
    return a;
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

    void rowLooks_data()
    {
        QTest::addColumn<double>("score");
        QTest::addColumn<Analysis>("analysis");
        QTest::addColumn<bool>("selected");
        QTest::addColumn<QColor>("background");
        QTest::addColumn<QString>("square");
        QTest::addColumn<QColor>("squareColor");
        NewsAnalysis middling;
        middling.score = 5.5;
        QTest::newRow("unscored") << 0.0 << Analysis() << false << QColor(Qt::transparent) << QString()
                                  << Theme::cardBackground();
        QTest::newRow("feed score 8 is dark red") << 8.0 << Analysis() << false << QColor(u"#160a0a"_s) << u"8"_s
                                                  << Theme::withOpacity(Theme::orange(), 0.15);
        QTest::newRow("7.99 is not") << 7.99 << Analysis() << false << QColor(Qt::transparent) << u"7"_s
                                     << Theme::withOpacity(Theme::yellow(), 0.15);
        QTest::newRow("selection wins over dark red") << 8.0 << Analysis() << true << Theme::selectionBackground()
                                                      << u"8"_s << Theme::withOpacity(Theme::orange(), 0.15);
        QTest::newRow("analysis scores the square, the feed the background")
            << 9.0 << Analysis(middling) << false << QColor(u"#160a0a"_s) << u"5"_s
            << Theme::withOpacity(Theme::blue(), 0.15);
    }
    void rowLooks()
    {
        QFETCH(double, score);
        QFETCH(Analysis, analysis);
        QFETCH(bool, selected);
        QFETCH(QColor, background);
        QFETCH(QColor, squareColor);
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onNewsItem(headline(u"a"_s, 60, score, analysis));
        if (selected)
            h.state.selectNews(u"a"_s);
        QQuickItem *r = row(h, u"a"_s);
        QVERIFY(r);
        QCOMPARE(r->property("color").value<QColor>().rgba(), background.rgba());
        QTEST(h.text(u"scoreText"_s, r), "square");
        QCOMPARE(h.color(u"scoreSquare"_s, r).rgba(), squareColor.rgba());
        QCOMPARE(h.color(u"rowTitle"_s, r), selected ? Theme::white() : Theme::textPrimary());
    }

    void rowTexts_data()
    {
        QTest::addColumn<Analysis>("analysis");
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("analysisLine");
        QTest::addColumn<QString>("urgency");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<QColor>("directionColor");
        NewsAnalysis tie = completeAnalysis();
        tie.pairs = {{u"A"_s, u"bullish"_s}, {u"B"_s, u"bullish"_s}, {u"C"_s, u"bearish"_s}, {u"D"_s, u"bearish"_s}};
        tie.urgency = u"days"_s;
        NewsAnalysis bullish = completeAnalysis();
        bullish.pairs = {{u"EUR/USD"_s, u"bullish"_s}};
        bullish.urgency = u"hours"_s;
        bullish.analysis.clear();
        NewsAnalysis bearish = completeAnalysis();
        bearish.pairs = {{u"EUR/USD"_s, u"bearish"_s}, {u"GBP/USD"_s, u"bearish"_s}, {u"USD/JPY"_s, u"bullish"_s}};
        NewsAnalysis plain;
        plain.urgency = u"week"_s;
        QTest::newRow("no analysis") << Analysis() << u"Title a"_s << false << QString() << QString() << QColor();
        QTest::newRow("bearish majority, immediate")
            << Analysis(bearish) << u"EZB stellt Senkung in Aussicht"_s << true << u"⚡"_s << u"▼"_s
            << Theme::red();
        QTest::newRow("tie, days") << Analysis(tie) << u"EZB stellt Senkung in Aussicht"_s << true << u"📅"_s
                                   << u"↕"_s << Theme::yellow();
        QTest::newRow("bullish, hours, no analysis text")
            << Analysis(bullish) << u"EZB stellt Senkung in Aussicht"_s << false << u"⏱"_s << u"▲"_s
            << Theme::green();
        QTest::newRow("no headline, no pairs, other urgency")
            << Analysis(plain) << u"Title a"_s << false << QString() << QString() << QColor();
    }
    void rowTexts()
    {
        QFETCH(Analysis, analysis);
        QFETCH(bool, analysisLine);
        QFETCH(QString, urgency);
        QFETCH(QString, direction);
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onNewsItem(headline(u"a"_s, 45, 5, analysis));
        QQuickItem *r = row(h, u"a"_s);
        QVERIFY(r);
        QTEST(h.text(u"rowTitle"_s, r), "title");
        QCOMPARE(test::WindowHarness::shown(h.item(u"rowAnalysis"_s, r)), analysisLine);
        QCOMPARE(h.text(u"rowSource"_s, r), u"FXSTREET"_s);
        QCOMPARE(h.text(u"rowAge"_s, r), u"vor 45s"_s);
        QCOMPARE(h.text(u"rowUrgency"_s, r), urgency);
        QCOMPARE(test::WindowHarness::shown(h.item(u"rowUrgency"_s, r)), !urgency.isEmpty());
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
        QVERIFY(timer->property("running").toBool() && timer->property("repeat").toBool());

        h.clock.advance(30s);
        QCOMPARE(h.text(u"rowAge"_s, row(h, u"a"_s)), u"vor 30s"_s); // only the timer moves it on
        QMetaObject::invokeMethod(timer, "triggered");
        QCOMPARE(h.text(u"rowAge"_s, row(h, u"a"_s)), u"vor 1 min"_s);
    }

    void filterTyping_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("visible");
        QTest::newRow("FED finds fed, Fed and FED") << u"FED"_s << QStringList{u"fed1"_s, u"fed2"_s, u"fed3"_s};
        QTest::newRow("source") << u"reuters"_s << QStringList{u"gold"_s};
        QTest::newRow("analysis headline") << u"aussicht"_s << QStringList{u"ecb"_s};
        QTest::newRow("nothing") << u"zzz"_s << QStringList{};
    }
    void filterTyping()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, visible);
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        const QList<std::pair<QString, QString>> titles{{u"fed1"_s, u"The fed waits"_s},
                                                        {u"fed2"_s, u"Fed's Powell"_s},
                                                        {u"fed3"_s, u"FED minutes"_s},
                                                        {u"gold"_s, u"Gold climbs"_s},
                                                        {u"ecb"_s, u"ECB cuts"_s}};
        int age = 10;
        for (const auto &[id, title] : titles) {
            NewsItem item = headline(id, age += 10, 5, id == u"ecb" ? Analysis(completeAnalysis()) : Analysis());
            item.title = title;
            item.source = id == u"gold" ? u"Reuters"_s : u"FXStreet"_s;
            h.state.onNewsItem(item);
        }
        QCOMPARE(rowIds(h).size(), 5);
        QVERIFY(!test::WindowHarness::shown(h.item(u"filterClear"_s)));

        QQuickItem *field = h.item(u"newsFilter"_s);
        QVERIFY(h.click(field));
        for (const QChar c : typed)
            QTest::keyClick(h.window, c.toLatin1());
        QCOMPARE(field->property("text").toString(), typed);
        QCOMPARE(rowIds(h), visible);
        // The header counts every headline, filtered or not.
        QCOMPARE(h.text(u"panelHeaderTitle"_s, h.item(u"newsHeader"_s)), u"LIVE NEWS  ·  5"_s);

        QVERIFY(test::WindowHarness::shown(h.item(u"filterClear"_s)));
        QVERIFY(h.click(h.item(u"filterClear"_s)));
        QCOMPARE(field->property("text").toString(), QString());
        QCOMPARE(rowIds(h).size(), 5);
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
        QTest::newRow("nothing but the title") << Analysis() << QString() << u"https://exa mple.org"_s
                                               << QStringList{} << false;
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
        QCOMPARE(test::WindowHarness::shown(h.item(u"detailBadges"_s)), badges);
        QVERIFY(test::WindowHarness::shown(h.item(u"detailTitle"_s)));
    }

    void badges_data()
    {
        QTest::addColumn<double>("score");
        QTest::addColumn<QString>("urgency");
        QTest::addColumn<QString>("category");
        QTest::addColumn<QString>("scoreText");
        QTest::addColumn<QColor>("scoreColor");
        QTest::addColumn<QString>("glyph");
        QTest::addColumn<QString>("word");
        QTest::addColumn<QColor>("urgencyColor");
        QTest::addColumn<QString>("categoryText");
        QTest::newRow("immediate central bank")
            << 8.4 << u"immediate"_s << u"central_bank"_s << u"8/10"_s << Theme::orange() << u"⚡"_s << u"SOFORT"_s
            << Theme::yellow() << u"CENTRAL BANK"_s;
        QTest::newRow("hours") << 9.0 << u"hours"_s << u"data"_s << u"9/10"_s << Theme::red() << u"⏱"_s
                               << u"STUNDEN"_s << Theme::blue() << u"DATA"_s;
        QTest::newRow("days") << 4.9 << u"days"_s << u"risk_on_off"_s << u"4/10"_s << Theme::textSecondary()
                              << u"📅"_s << u"TAGE"_s << Theme::textSecondary() << u"RISK ON OFF"_s;
        QTest::newRow("week") << 7.0 << u"week"_s << QString() << u"7/10"_s << Theme::yellow() << QString()
                              << u"WEEK"_s << Theme::textSecondary() << QString();
    }
    void badges()
    {
        QFETCH(double, score);
        QFETCH(QString, urgency);
        QFETCH(QString, category);
        QFETCH(QString, glyph);
        NewsAnalysis analysis;
        analysis.score = score;
        analysis.urgency = urgency;
        analysis.category = category;
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s, 60, 5, analysis)));
        QQuickItem *scoreBadge = h.item(u"scoreBadge"_s);
        QVERIFY(scoreBadge);
        QTEST(scoreBadge->property("text").toString(), "scoreText");
        QTEST(scoreBadge->property("tint").value<QColor>(), "scoreColor");
        QCOMPARE(h.text(u"urgencyBadgeGlyph"_s), glyph);
        QCOMPARE(test::WindowHarness::shown(h.item(u"urgencyBadgeGlyph"_s)), !glyph.isEmpty());
        QTEST(h.text(u"urgencyBadgeWord"_s), "word");
        QTEST(h.color(u"urgencyBadgeWord"_s), "urgencyColor");
        QTEST(h.item(u"categoryBadge"_s)->property("text").toString(), "categoryText");
    }

    void pairsAndTradeSetup()
    {
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s, 60, 5, completeAnalysis())));
        // Alphabetical, left to right.
        QStringList cells;
        QList<qreal> xs;
        for (const QString &pair : {u"EUR/CHF"_s, u"EUR/USD"_s, u"USD/JPY"_s}) {
            QQuickItem *cell = h.item(u"pairCell:"_s + pair);
            QVERIFY2(cell, qPrintable(pair));
            QVERIFY(cell->width() >= 120);
            xs << cell->mapToScene({0, 0}).x();
            cells << h.text(u"pairArrow"_s, cell) + u' ' + h.text(u"pairDirection"_s, cell);
            QCOMPARE(h.color(u"pairArrow"_s, cell), h.color(u"pairDirection"_s, cell));
        }
        QVERIFY(std::is_sorted(xs.begin(), xs.end()) && xs.first() < xs.last());
        QCOMPARE(cells, (QStringList{u"─ NEUTRAL"_s, u"▼ BEARISH"_s, u"▲ BULLISH"_s}));
        QCOMPARE(h.color(u"pairArrow"_s, h.item(u"pairCell:USD/JPY"_s)), Theme::green());
        QCOMPARE(h.color(u"pairArrow"_s, h.item(u"pairCell:EUR/USD"_s)), Theme::red());

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
        QCOMPARE(browser.opened, QList<QUrl>{QUrl(u"https://www.fxstreet.com/news/a"_s)});
    }

    void deepAnalysisButtons_data()
    {
        QTest::addColumn<QString>("button");
        QTest::newRow("header") << u"headerDeepAnalysis"_s;
        QTest::newRow("content") << u"contentDeepAnalysis"_s;
    }
    void deepAnalysisButtons()
    {
        QFETCH(QString, button);
        const QStringList buttons{u"headerDeepAnalysis"_s, u"contentDeepAnalysis"_s};
        const QStringList spinners{u"headerSpinner"_s, u"contentSpinner"_s};
        test::WindowHarness h(noon);
        QVERIFY(showDetailOf(h, headline(u"a"_s)));
        QVERIFY(h.state.aiAvailable());
        for (const QString &spinner : spinners)
            QVERIFY(!test::WindowHarness::shown(h.item(spinner)));

        // The backend does not answer: the analysis starts, fails and lowers its flag.
        QList<bool> flags;
        QObject::connect(&h.state, &AppState::isAnalyzingDetailChanged,
                         [&] { flags << h.state.property("isAnalyzingDetail").toBool(); });
        QVERIFY(test::WindowHarness::shown(h.item(button)));
        QVERIFY(h.click(h.item(button)));
        QTRY_COMPARE(flags, (QList<bool>{true, false}));

        // While one runs both buttons give way to spinners, so no second one starts.
        h.state.setProperty("isAnalyzingDetail", true);
        for (const QString &other : buttons)
            QVERIFY(!test::WindowHarness::shown(h.item(other)));
        for (const QString &spinner : spinners)
            QVERIFY(test::WindowHarness::shown(h.item(spinner)));
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
        QVERIFY(test::WindowHarness::shown(h.item(u"detailGroup"_s))); // still on its way out
        QVERIFY(test::WindowHarness::shown(h.item(u"detailContent"_s)));
        QVERIFY(!test::WindowHarness::shown(h.item(u"emptyDetail"_s)));
        QCOMPARE(h.text(u"detailTitle"_s), u"Title a"_s);
        QTRY_VERIFY(!test::WindowHarness::shown(h.item(u"detailGroup"_s)));
    }

    void withoutSelectionTheDetailAsksForOne()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        QQmlComponent component(&h.engine);
        component.setData("import Kalvo\nDetailPanelView { width: 600; height: 400 }", QUrl());
        std::unique_ptr<QObject> object(component.createWithInitialProperties(
            {{u"appState"_s, QVariant::fromValue(&h.state)}}));
        QVERIFY2(object, qPrintable(component.errorString()));
        auto *panel = qobject_cast<QQuickItem *>(object.get());
        panel->setParentItem(h.window->contentItem());
        QVERIFY(test::WindowHarness::shown(h.item(u"emptyDetail"_s, panel)));
        QVERIFY(!test::WindowHarness::shown(h.item(u"detailContent"_s, panel)));

        h.state.onNewsItem(headline(u"a"_s));
        h.state.selectNews(u"a"_s);
        QVERIFY(!test::WindowHarness::shown(h.item(u"emptyDetail"_s, panel)));
        QVERIFY(test::WindowHarness::shown(h.item(u"detailContent"_s, panel)));
    }
};

QTEST_MAIN(TestNewsViews)
#include "tst_newsviews.moc"
