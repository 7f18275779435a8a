#include "../WindowHarness.h"

#include "storage/DatabaseService.h"
#include "ui/controls/Theme.h"
#include "ui/news/NewsFilterModel.h"
#include "ui/news/NewsListModel.h"
#include "ui/news/NewsPresentation.h"

#include <QAbstractItemModelTester>
#include <QDesktopServices>
#include <QDir>

using namespace kalvo;
using namespace std::chrono_literals;
namespace NP = kalvo::NewsPresentation;

namespace {

const QDateTime now = test::utc(2025, 3, 5, 12, 0);

using Analysis = std::optional<NewsAnalysis>;

NewsItem headline(const QString &id, int secondsAgo, double score = 5, Analysis analysis = {})
{
    NewsItem item = test::headline(id, now.addSecs(-secondsAgo), std::move(analysis));
    item.score = score;
    return item;
}

// What the rules read: a feed title and a feed score of 3.
NewsItem itemWith(Analysis analysis) { return headline(u"feed"_s, 0, 3, std::move(analysis)); }

Analysis withPairs(const QMap<QString, QString> &pairs) { return NewsAnalysis{.pairs = pairs}; }

// A real AppState with the list model and Qt's model checker on it.
struct Harness
{
    ManualClock clock{now};
    AppState state{clock};
    NewsListModel model;
    QAbstractItemModelTester tester{&model, QAbstractItemModelTester::FailureReportingMode::QtTest};
    QSignalSpy inserted{&model, &QAbstractItemModel::rowsInserted};
    QSignalSpy removed{&model, &QAbstractItemModel::rowsRemoved};
    QSignalSpy reset{&model, &QAbstractItemModel::modelReset};
    QSignalSpy changed{&model, &QAbstractItemModel::dataChanged};

    Harness()
    {
        state.setSoundPlayer([](const QString &) {});
        model.setAppState(&state);
        reset.clear();
    }

    QStringList ids() const
    {
        QStringList result;
        for (int row = 0; row < model.rowCount(); ++row)
            result << model.index(row).data(NewsListModel::IdRole).toString();
        return result;
    }
};

QList<int> firstRows(const QSignalSpy &spy)
{
    QList<int> rows;
    for (const QList<QVariant> &arguments : spy)
        rows << arguments.at(1).toInt();
    return rows;
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

// How a headline reads, the list model that hands it to the views, and the views.
class TestNewsPanel : public QObject
{
    Q_OBJECT

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

public slots:
    void open(const QUrl &url) { m_opened << url; }

private slots:
    void ages_data()
    {
        QTest::addColumn<qint64>("msecsAgo");
        QTest::addColumn<QString>("relative");
        QTest::addColumn<QString>("elapsed");
        QTest::newRow("29.9 s is cut to 29") << 29'999LL << u"gerade eben"_s << u"29 Sek."_s;
        QTest::newRow("60 s") << 60'000LL << u"vor 1 min"_s << u"1 Min."_s;
        QTest::newRow("3599 s") << 3'599'000LL << u"vor 59 min"_s << u"59 Min., 59 Sek."_s;
        QTest::newRow("whole hours drop the zero minutes") << 7'230'000LL << u"vor 2 h"_s << u"2 Std."_s;
        QTest::newRow("hours and minutes") << 7'500'000LL << u"vor 2 h"_s << u"2 Std., 5 Min."_s;
        QTest::newRow("a second short of a day") << 86'399'000LL << u"vor 23 h"_s << u"23 Std., 59 Min."_s;
        QTest::newRow("days and hours") << 90'000'000LL << u"vor 1 d"_s << u"1 Tg., 1 Std."_s;
        QTest::newRow("future: just now, elapsed reads both ways") << -195'000LL << u"gerade eben"_s << u"3 Min., 15 Sek."_s;
    }
    void ages()
    {
        QFETCH(qint64, msecsAgo);
        const QDateTime then = now.addMSecs(-msecsAgo);
        QTEST(NP::relativeAge(then, now), "relative");
        QTEST(NP::elapsedText(then, now), "elapsed");
    }

    void displayTitleAndScore_data()
    {
        QTest::addColumn<Analysis>("analysis");
        QTest::addColumn<QString>("title");
        QTest::addColumn<double>("score");
        QTest::newRow("no analysis: feed title and feed score") << Analysis() << u"Title feed"_s << 3.0;
        QTest::newRow("empty headline keeps the feed title") << Analysis(NewsAnalysis{.score = 0.5}) << u"Title feed"_s
                                                             << 0.5;
    }
    void displayTitleAndScore()
    {
        QFETCH(Analysis, analysis);
        const NewsItem item = itemWith(analysis);
        QTEST(NP::displayTitle(item), "title");
        QTEST(NP::effectiveScore(item), "score");
    }

    void directionGlyph_data()
    {
        QTest::addColumn<Analysis>("analysis");
        QTest::addColumn<QString>("glyph");
        QTest::addColumn<QColor>("color");
        const QString up = u"bullish"_s, down = u"bearish"_s;
        QTest::newRow("no analysis") << Analysis() << QString() << QColor();
        QTest::newRow("no pairs") << withPairs({}) << QString() << QColor();
        QTest::newRow("more bearish") << withPairs({{u"A"_s, down}, {u"B"_s, down}, {u"C"_s, up}}) << u"▼"_s
                                      << Theme::red();
        QTest::newRow("directions are matched exactly") << withPairs({{u"A"_s, u"Bullish"_s}}) << u"↕"_s
                                                        << Theme::yellow();
    }
    void directionGlyph()
    {
        QFETCH(Analysis, analysis);
        QFETCH(QString, glyph);
        QCOMPARE(NP::directionGlyph(itemWith(analysis)), glyph);
        if (!glyph.isEmpty())
            QTEST(NP::directionGlyphColor(glyph), "color");
    }

    void urgency()
    {
        const QList<std::pair<QString, QString>> glyphs{
            {u"immediate"_s, u"⚡"_s}, {u"hours"_s, u"⏱"_s}, {u"days"_s, u"📅"_s}, {u"Immediate"_s, QString()}};
        for (const auto &[urgency, glyph] : glyphs)
            QCOMPARE(NP::urgencyGlyph(itemWith(NewsAnalysis{.urgency = urgency})), glyph);
        // Without an analysis there is nothing to be urgent about.
        QCOMPARE(NP::urgencyGlyph(itemWith(std::nullopt)), QString());
        QCOMPARE(NP::urgencyLabel(u"hours"_s), u"⏱ STUNDEN"_s);
        QCOMPARE(NP::urgencyColor(u"hours"_s), Theme::blue());
        // Words are matched exactly; anything else is shown as it is, in capitals.
        QCOMPARE(NP::urgencyLabel(u"Immediate"_s), u"IMMEDIATE"_s);
        QCOMPARE(NP::urgencyColor(u"Immediate"_s), Theme::textSecondary());
    }

    void scoreAndCategoryTexts()
    {
        // A fraction is cut, not rounded; below one there is no square.
        const QList<std::tuple<double, QString, QString>> scores{
            {0.99, QString(), u"0/10"_s}, {1.0, u"1"_s, u"1/10"_s}, {8.7, u"8"_s, u"8/10"_s}};
        for (const auto &[score, square, badge] : scores) {
            QCOMPARE(NP::scoreSquareText(score), square);
            QCOMPARE(NP::scoreBadgeText(score), badge);
        }
        QCOMPARE(NP::categoryLabel(u"risk_on_off"_s), u"RISK ON OFF"_s);
    }

    void openableUrl()
    {
        QCOMPARE(NP::openableUrl(u"https://www.fxstreet.com/news/x"_s), u"https://www.fxstreet.com/news/x"_s);
        for (const QString &bad : {QString(), u"https://example.org/a b"_s, u"http://exa[mple.org/"_s})
            QVERIFY2(NP::openableUrl(bad).isEmpty(), qPrintable(bad));
    }

    // Which fields are searched the panel's filter shows; here: how a text matches.
    void filterMatches_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("title");
        QTest::addColumn<bool>("matches");
        QTest::newRow("empty filter") << QString() << u"x"_s << true;
        QTest::newRow("source") << u"street"_s << u"Gold"_s << true; // the source is FXStreet
        QTest::newRow("no trimming") << u" gold"_s << u"Gold rallies"_s << false;
        QTest::newRow("no word splitting") << u"gold rallies"_s << u"Gold then rallies"_s << false;
        QTest::newRow("umlauts fold too") << u"ÜBER"_s << u"über den Zinsen"_s << true;
    }
    void filterMatches()
    {
        QFETCH(QString, filter);
        QFETCH(QString, title);
        QTEST(NewsFilterModel::matches(filter, title, u"FXStreet"_s, QString()), "matches");
    }

    // Newer on top, older sorted in, the same age after the one already there; a known id is no new row.
    void eachArrivalIsOneInsertedRow()
    {
        Harness h;
        const QList<int> secondsAgo{5, 30, 10, 10, 1};
        for (int i = 0; i < secondsAgo.size(); ++i)
            h.state.onNewsItem(headline(QString::number(i), secondsAgo[i]));
        h.state.onNewsItem(headline(u"0"_s, 0));
        QCOMPARE(firstRows(h.inserted), (QList<int>{0, 1, 1, 2, 0}));
        QCOMPARE(h.ids(), (QStringList{u"4"_s, u"0"_s, u"2"_s, u"3"_s, u"1"_s}));
        QCOMPARE(h.removed.count() + h.reset.count() + h.changed.count(), 0);
        // An update changes its one row.
        emit h.state.newsUpdated(1);
        QCOMPARE(h.changed.count(), 1);
        QCOMPARE(h.changed.first().at(0).toModelIndex().row(), 1);
        QCOMPARE(h.changed.first().at(1).toModelIndex().row(), 1);
        QCOMPARE(h.reset.count(), 0);
    }

    void theTwoHundredAndFirstDropsTheOldestRow()
    {
        Harness h;
        for (int i = 0; i < AppState::maxNews; ++i)
            h.state.onNewsItem(headline(u"old-%1"_s.arg(i), 10 + i));
        h.inserted.clear();
        h.state.onNewsItem(headline(u"new"_s, 1));
        QCOMPARE(firstRows(h.inserted), QList<int>{0});
        QCOMPARE(firstRows(h.removed), QList<int>{AppState::maxNews});
        QCOMPARE(h.ids().last(), u"old-198"_s);
    }

    void storedHeadlinesArriveAsOneReset()
    {
        const QString dataDir = test::useTemporaryDataDir();
        {
            ManualClock clock(now);
            DatabaseService db(dataDir + u"/kalvo_trading.db"_s, clock);
            db.open().waitForFinished();
            for (int i = 0; i < 3; ++i)
                db.insert(headline(u"stored-%1"_s.arg(i), 10 * i)).waitForFinished();
            db.updateAnalysis(u"stored-1"_s, NewsAnalysis{.score = 7.5}, 7.5).waitForFinished();
        }
        Harness h;
        h.state.setEndpoints(Endpoints::fromJson(R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})",
                                                 nullptr));
        QSignalSpy started(&h.state, &AppState::started);
        h.state.startIfNeeded();
        QVERIFY(started.wait(5000));
        h.state.stop();
        QCOMPARE(h.reset.count(), 1);
        QCOMPARE(h.inserted.count(), 0);
        QCOMPARE(h.ids(), (QStringList{u"stored-0"_s, u"stored-1"_s, u"stored-2"_s}));
        QCOMPARE(h.model.analyzedCount(), 1);
        QDir(dataDir).removeRecursively(); // the windows of later tests start empty
    }

    // A feed score of 8 or more marks a row; a strategy without bias is hidden.
    void highImpactAndStrategyRoles()
    {
        Harness h;
        NewsAnalysis deep = NewsAnalysis{.score = 7.5, .headline = u"EZB senkt"_s};
        deep.strategy = TradeStrategy{QString(), u"1.08"_s, u"1.09"_s, u"1.07"_s};
        h.state.onNewsItem(headline(u"a"_s, 3, 8.0, deep)); // the analysis says 7.5: the feed's score decides
        h.state.onNewsItem(headline(u"x"_s, 3, 7.99));
        const auto role = [&](int row, const QByteArray &name) {
            return h.model.index(row).data(h.model.roleNames().key(name, -1));
        };
        QCOMPARE(role(0, "highImpact"), QVariant(true));
        QCOMPARE(role(1, "highImpact"), QVariant(false));
        QCOMPARE(role(0, "strategy"), QVariant(QVariantMap()));
    }

    void agesMoveOnWithTheClock()
    {
        Harness h;
        h.state.onNewsItem(headline(u"a"_s, 0));
        h.state.onNewsItem(headline(u"b"_s, 120));
        h.clock.advance(90s);
        h.model.refreshAges();
        QCOMPARE(h.changed.count(), 1); // one signal over both rows, not for the title
        QCOMPARE(h.changed.first().at(0).toModelIndex().row(), 0);
        QCOMPARE(h.changed.first().at(1).toModelIndex().row(), 1);
        const auto roles = h.changed.first().at(2).value<QList<int>>();
        QVERIFY(roles.contains(NewsListModel::AgeRole) && !roles.contains(NewsListModel::DisplayTitleRole));
    }

    // What each rule yields is the presentation's business; here: the list binds it.
    void theListOfHeadlines()
    {
        test::WindowHarness h(now);
        QVERIFY(h.load());
        h.state.onNewsItem(headline(u"fed1"_s, 30, 9, completeAnalysis())); // the feed's 9 marks it
        h.state.onNewsItem(headline(u"gold"_s, 45));
        QQuickItem *marked = row(h, u"fed1"_s);
        QVERIFY(marked);
        QCOMPARE(marked->property("color").value<QColor>().rgba(), QColor(u"#160a0a"_s).rgba());
        QCOMPARE(h.text(u"scoreText"_s, marked), u"8"_s); // the analysis' score
        QCOMPARE(h.color(u"scoreSquare"_s, marked).rgba(), Theme::withOpacity(Theme::orange(), 0.15).rgba());
        QCOMPARE(h.text(u"rowTitle"_s, marked), u"EZB stellt Senkung in Aussicht"_s);
        QCOMPARE(h.color(u"rowTitle"_s, marked), Theme::textPrimary());
        QVERIFY(h.shows(u"rowAnalysis"_s, marked));
        QCOMPARE(h.text(u"rowUrgency"_s, marked), u"⚡"_s);
        QCOMPARE(h.text(u"rowDirection"_s, marked), u"↕"_s);
        QCOMPARE(h.color(u"rowDirection"_s, marked), Theme::yellow());
        QQuickItem *plain = row(h, u"gold"_s);
        QVERIFY(plain);
        QCOMPARE(plain->property("color").value<QColor>().alpha(), 0);
        QCOMPARE(h.text(u"rowTitle"_s, plain), u"Title gold"_s);
        QVERIFY(!h.shows(u"rowAnalysis"_s, plain) && !h.shows(u"rowUrgency"_s, plain));
        QCOMPARE(h.text(u"rowDirection"_s, plain), QString());

        // A click selects; the selection wins over the mark.
        QVERIFY(h.click(marked));
        QCOMPARE(h.state.selectedNewsId(), u"fed1"_s);
        QCOMPARE(marked->property("color").value<QColor>().rgba(), Theme::selectionBackground().rgba());
        QCOMPARE(h.color(u"rowTitle"_s, marked), Theme::white());
        QCOMPARE(h.text(u"detailTitle"_s), u"EZB stellt Senkung in Aussicht"_s);
        QCOMPARE(h.text(u"detailElapsed"_s), u"30 Sek."_s);

        QCOMPARE(h.text(u"rowAge"_s, marked), u"vor 30s"_s);
        QObject *timer = h.object(u"ageTimer"_s);
        QCOMPARE(timer ? timer->property("interval").toInt() : 0, 10000);
        h.clock.advance(30s);
        QCOMPARE(h.text(u"rowAge"_s, marked), u"vor 30s"_s); // only the timer moves it on
        QMetaObject::invokeMethod(timer, "triggered");
        QCOMPARE(h.text(u"rowAge"_s, marked), u"vor 1 min"_s);

        // Which headlines match is the filter model's rule; here: typing drives it.
        h.state.onNewsItem(headline(u"fed2"_s, 60));
        QVERIFY(!h.shows(u"filterClear"_s));
        QQuickItem *field = h.item(u"newsFilter"_s);
        QVERIFY(h.click(field));
        for (const char c : {'F', 'E', 'D'})
            QTest::keyClick(h.window, c);
        QCOMPARE(rowIds(h), (QStringList{u"fed1"_s, u"fed2"_s}));
        // Arrivals pass the filter too, by their analysis' headline as well.
        h.state.onNewsItem(headline(u"ecb"_s, 0, 5, NewsAnalysis{.headline = u"EZB folgt der Fed"_s}));
        h.state.onNewsItem(headline(u"oil"_s, 0));
        QCOMPARE(rowIds(h), (QStringList{u"ecb"_s, u"fed1"_s, u"fed2"_s}));
        // The header counts every headline, filtered or not.
        QCOMPARE(h.text(u"panelHeaderTitle"_s, h.item(u"newsHeader"_s)), u"LIVE NEWS  ·  5"_s);
        QVERIFY(h.click(h.item(u"filterClear"_s)));
        QCOMPARE(field->property("text").toString(), QString());
        QCOMPARE(rowIds(h).size(), 5);
        h.state.onNewsCycle(now, true);
        QCOMPARE(h.color(u"healthDot"_s), Theme::green());
        h.state.onNewsCycle(now, false);
        QCOMPARE(h.color(u"healthDot"_s), Theme::red());
    }

    void theDetailOfEachKindOfHeadline()
    {
        test::WindowHarness h(now);
        QVERIFY(h.load());
        h.window->resize(1400, 1600); // room for the whole detail
        QTRY_COMPARE(h.window->height(), 1600);
        h.item(u"centerColumn"_s)->setProperty("detailHeight", 1100);
        h.state.onNewsItem(headline(u"a"_s, 60, 5, completeAnalysis()));
        h.state.selectNews(u"a"_s);
        QCOMPARE(shownSections(h), allSections);
        QVERIFY(h.shows(u"detailBadges"_s));
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

        QDesktopServices::setUrlHandler(u"https"_s, this, "open");
        QCOMPARE(h.text(u"sourceLinkText"_s), u"→ Quelle öffnen"_s);
        QVERIFY(h.click(h.item(u"sourceLink"_s)));
        QDesktopServices::unsetUrlHandler(u"https"_s);
        QCOMPARE(m_opened, QList<QUrl>{QUrl(u"https://fxstreet.com/n/1"_s)});

        // Sections with nothing to say are left out.
        h.state.onNewsItem(headline(u"bare"_s, 60));
        h.state.selectNews(u"bare"_s);
        QCOMPARE(shownSections(h), allSections.sliced(8)); // the original text and the link
        QVERIFY(!h.shows(u"detailBadges"_s));
        NewsItem some =
            headline(u"some"_s, 60, 5, NewsAnalysis{.pairs = {{u"EUR/USD"_s, u"bullish"_s}}, .factors = {u"Faktor"_s}});
        some.url.clear();
        h.state.onNewsItem(some);
        h.state.selectNews(u"some"_s);
        QCOMPARE(shownSections(h), (QStringList{u"sectionPairs"_s, u"sectionFactors"_s, u"sectionOriginal"_s}));
        QVERIFY(h.shows(u"detailBadges"_s));

        // The backend does not answer: a deep analysis starts, fails and lowers its flag.
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

QTEST_MAIN(TestNewsPanel)
#include "tst_newspanel.moc"
