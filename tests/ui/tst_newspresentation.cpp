#include "app/NewsFilterModel.h"
#include "app/NewsPresentation.h"
#include "ui/Theme.h"

#include "../TestSupport.h"

using namespace kalvo;
namespace NP = kalvo::NewsPresentation;

namespace {

const QDateTime now = test::utc(2025, 3, 5, 13, 7);

using Pairs = QMap<QString, QString>;
using Analysis = std::optional<NewsAnalysis>;

NewsItem itemWith(Analysis analysis, double score = 3)
{
    NewsItem item = test::newsItem(1, now);
    item.title = u"Feed title"_s;
    item.score = score;
    item.analysis = std::move(analysis);
    return item;
}

Analysis withPairs(const Pairs &pairs) { return NewsAnalysis{.pairs = pairs}; }

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
        QTest::newRow("minutes and seconds") << 195'000LL << u"vor 3 min"_s << u"3 Min., 15 Sek."_s;
        QTest::newRow("3599 s") << 3'599'000LL << u"vor 59 min"_s << u"59 Min., 59 Sek."_s;
        QTest::newRow("whole hours drop the zero minutes") << 7'230'000LL << u"vor 2 h"_s << u"2 Std."_s;
        QTest::newRow("hours and minutes") << 7'500'000LL << u"vor 2 h"_s << u"2 Std., 5 Min."_s;
        QTest::newRow("a second short of a day") << 86'399'000LL << u"vor 23 h"_s << u"23 Std., 59 Min."_s;
        QTest::newRow("days and hours") << 90'000'000LL << u"vor 1 d"_s << u"1 Tg., 1 Std."_s;
        // The relative age stops at "just now"; the elapsed text reads the same both ways.
        QTest::newRow("in the future") << -195'000LL << u"gerade eben"_s << u"3 Min., 15 Sek."_s;
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
        QTest::newRow("no analysis") << Analysis() << QString() << QColor();
        QTest::newRow("no pairs") << withPairs({}) << QString() << QColor();
        QTest::newRow("more bullish") << withPairs({{u"EUR/USD"_s, u"bullish"_s}, {u"GBP/USD"_s, u"neutral"_s}})
                                      << u"▲"_s << Theme::green();
        QTest::newRow("more bearish")
            << withPairs({{u"EUR/USD"_s, u"bearish"_s}, {u"GBP/USD"_s, u"bearish"_s}, {u"USD/JPY"_s, u"bullish"_s}})
            << u"▼"_s << Theme::red();
        QTest::newRow("two against two") << withPairs({{u"A"_s, u"bullish"_s}, {u"B"_s, u"bullish"_s},
                                                       {u"C"_s, u"bearish"_s}, {u"D"_s, u"bearish"_s}})
                                         << u"↕"_s << Theme::yellow();
        QTest::newRow("directions are matched exactly") << withPairs({{u"EUR/USD"_s, u"Bullish"_s}}) << u"↕"_s
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

    void urgency_data()
    {
        QTest::addColumn<QString>("urgency");
        QTest::addColumn<QString>("glyph");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QColor>("color");
        QTest::newRow("immediate") << u"immediate"_s << u"⚡"_s << u"⚡ SOFORT"_s << Theme::yellow();
        QTest::newRow("hours") << u"hours"_s << u"⏱"_s << u"⏱ STUNDEN"_s << Theme::blue();
        QTest::newRow("days") << u"days"_s << u"📅"_s << u"📅 TAGE"_s << Theme::textSecondary();
        QTest::newRow("anything else") << u"week"_s << QString() << u"WEEK"_s << Theme::textSecondary();
        QTest::newRow("matched exactly") << u"Immediate"_s << QString() << u"IMMEDIATE"_s << Theme::textSecondary();
    }
    void urgency()
    {
        QFETCH(QString, urgency);
        QTEST(NP::urgencyGlyph(itemWith(NewsAnalysis{.urgency = urgency})), "glyph");
        QTEST(NP::urgencyLabel(urgency), "label");
        QTEST(NP::urgencyColor(urgency), "color");
        // Without an analysis there is nothing to be urgent about.
        QCOMPARE(NP::urgencyGlyph(itemWith(std::nullopt)), QString());
    }

    void scoreAndCategoryTexts_data()
    {
        QTest::addColumn<double>("score");
        QTest::addColumn<QString>("square");
        QTest::addColumn<QString>("badge");
        QTest::newRow("just below one") << 0.99 << QString() << u"0/10"_s;
        QTest::newRow("one") << 1.0 << u"1"_s << u"1/10"_s;
        QTest::newRow("fraction is cut, not rounded") << 8.7 << u"8"_s << u"8/10"_s;
        QTest::newRow("ten") << 10.0 << u"10"_s << u"10/10"_s;
    }
    void scoreAndCategoryTexts()
    {
        QFETCH(double, score);
        QTEST(NP::scoreSquareText(score), "square");
        QTEST(NP::scoreBadgeText(score), "badge");
        QCOMPARE(NP::categoryLabel(u"risk_on_off"_s), u"RISK ON OFF"_s);
        QCOMPARE(NP::categoryLabel(QString()), QString());
    }

    void pairCellsAreSortedWithArrowsAndColours()
    {
        QStringList cells;
        QList<QColor> colors;
        for (const QVariant &cell : NP::pairCells(
                 {{u"USD/JPY"_s, u"bullish"_s}, {u"EUR/USD"_s, u"bearish"_s}, {u"GBP/USD"_s, u"neutral"_s}})) {
            const QVariantMap map = cell.toMap();
            cells << map[u"pair"_s].toString() + u' ' + map[u"arrow"_s].toString() + u' '
                         + map[u"direction"_s].toString();
            colors << map[u"color"_s].value<QColor>();
        }
        QCOMPARE(cells, (QStringList{u"EUR/USD ▼ BEARISH"_s, u"GBP/USD ─ NEUTRAL"_s, u"USD/JPY ▲ BULLISH"_s}));
        QCOMPARE(colors, (QList<QColor>{Theme::red(), Theme::textSecondary(), Theme::green()}));
    }

    void openableUrl_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("opens");
        QTest::newRow("https") << u"https://www.fxstreet.com/news/x"_s << true;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("blank inside") << u"https://example.org/a b"_s << false;
        QTest::newRow("broken host") << u"http://exa[mple.org/"_s << false;
    }
    void openableUrl()
    {
        QFETCH(QString, url);
        QFETCH(bool, opens);
        QCOMPARE(NP::openableUrl(url), opens ? url : QString());
    }

    void filterMatches_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("headline");
        QTest::addColumn<bool>("matches");
        QTest::newRow("empty filter") << QString() << u"x"_s << u"y"_s << QString() << true;
        QTest::newRow("FED finds fed") << u"FED"_s << u"The fed waits"_s << u"CNBC"_s << QString() << true;
        QTest::newRow("fed finds FED") << u"fed"_s << u"FED minutes"_s << u"CNBC"_s << QString() << true;
        QTest::newRow("source") << u"street"_s << u"Gold"_s << u"FXStreet"_s << QString() << true;
        QTest::newRow("analysis headline") << u"senkt"_s << u"ECB cuts"_s << u"Reuters"_s << u"EZB senkt"_s << true;
        QTest::newRow("no trimming") << u" gold"_s << u"Gold rallies"_s << u"Reuters"_s << QString() << false;
        QTest::newRow("no word splitting") << u"gold rallies"_s << u"Gold then rallies"_s << u"Reuters"_s
                                           << QString() << false;
        QTest::newRow("umlauts fold too") << u"ÜBER"_s << u"über den Zinsen"_s << u"X"_s << QString() << true;
        QTest::newRow("nothing") << u"zzz"_s << u"Gold"_s << u"Reuters"_s << u"Gold"_s << false;
    }
    void filterMatches()
    {
        QFETCH(QString, filter);
        QFETCH(QString, title);
        QFETCH(QString, source);
        QFETCH(QString, headline);
        QTEST(NewsFilterModel::matches(filter, title, source, headline), "matches");
    }
};

QTEST_GUILESS_MAIN(TestNewsPresentation)
#include "tst_newspresentation.moc"
