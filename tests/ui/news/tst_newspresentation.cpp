#include "ui/news/NewsFilterModel.h"
#include "ui/news/NewsPresentation.h"
#include "ui/controls/Theme.h"

#include "../../TestSupport.h"

using namespace kalvo;
namespace NP = kalvo::NewsPresentation;

namespace {

const QDateTime now = test::utc(2025, 3, 5, 13, 7);

using Analysis = std::optional<NewsAnalysis>;

NewsItem itemWith(Analysis analysis, double score = 3)
{
    NewsItem item = test::newsItem(1, now);
    item.title = u"Feed title"_s;
    item.score = score;
    item.analysis = std::move(analysis);
    return item;
}

Analysis withPairs(const QMap<QString, QString> &pairs) { return NewsAnalysis{.pairs = pairs}; }

} // namespace

Q_DECLARE_METATYPE(Analysis)

class TestNewsPresentation : public QObject
{
    Q_OBJECT

private slots:
    void ages_data()
    {
        QTest::addColumn<qint64>("msecsAgo");
        QTest::addColumn<QString>("relative");
        QTest::addColumn<QString>("elapsed");
        QTest::newRow("29.9 s is cut to 29") << 29'999LL << u"gerade eben"_s << u"29 Sek."_s;
        QTest::newRow("30 s") << 30'000LL << u"vor 30s"_s << u"30 Sek."_s;
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
        QTest::newRow("no analysis: feed title and feed score") << Analysis() << u"Feed title"_s << 3.0;
        QTest::newRow("analysis headline and analysis score")
            << Analysis(NewsAnalysis{.score = 8.5, .headline = u"EZB senkt"_s}) << u"EZB senkt"_s << 8.5;
        QTest::newRow("empty headline keeps the feed title") << Analysis(NewsAnalysis{.score = 0.5}) << u"Feed title"_s
                                                             << 0.5;
    }
    void displayTitleAndScore()
    {
        QFETCH(Analysis, analysis);
        const NewsItem item = itemWith(analysis, 3);
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
        QTest::newRow("two against two") << withPairs({{u"A"_s, up}, {u"B"_s, up}, {u"C"_s, down}, {u"D"_s, down}})
                                         << u"↕"_s << Theme::yellow();
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

    void filterMatches_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("headline");
        QTest::addColumn<bool>("matches");
        QTest::newRow("empty filter") << QString() << u"x"_s << QString() << true;
        QTest::newRow("FED finds fed") << u"FED"_s << u"The fed waits"_s << QString() << true;
        QTest::newRow("source") << u"street"_s << u"Gold"_s << QString() << true; // the source is FXStreet
        QTest::newRow("analysis headline") << u"senkt"_s << u"ECB cuts"_s << u"EZB senkt"_s << true;
        QTest::newRow("no trimming") << u" gold"_s << u"Gold rallies"_s << QString() << false;
        QTest::newRow("no word splitting") << u"gold rallies"_s << u"Gold then rallies"_s << QString() << false;
        QTest::newRow("umlauts fold too") << u"ÜBER"_s << u"über den Zinsen"_s << QString() << true;
    }
    void filterMatches()
    {
        QFETCH(QString, filter);
        QFETCH(QString, title);
        QFETCH(QString, headline);
        QTEST(NewsFilterModel::matches(filter, title, u"FXStreet"_s, headline), "matches");
    }
};

QTEST_GUILESS_MAIN(TestNewsPresentation)
#include "tst_newspresentation.moc"
