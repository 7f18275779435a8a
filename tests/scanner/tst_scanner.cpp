#include "../TestSupport.h"

#include "core/Clock.h"
#include "scanner/KeywordMatcher.h"
#include "scanner/ScannerRules.h"
#include "scanner/ScannerService.h"

#include <random>

using namespace kalvo;

using Strengths = QMap<QString, double>;

namespace {

// Wednesday; the hour picks the sessions: 03 sydney+tokyo, 07:30 sydney+tokyo+london,
// 10 london, 13 london+new_york.
QDateTime at(int hour, int minute = 0)
{
    return test::utc(2024, 5, 8, hour, minute);
}

struct Scenario
{
    QDateTime now;
    QMap<QString, double> changes; // instrument -> changePct
    QList<NewsItem> news;
    QList<CalendarEvent> events;

    QMap<QString, PriceData> prices() const
    {
        QMap<QString, PriceData> result;
        for (auto it = changes.cbegin(); it != changes.cend(); ++it)
            result.insert(it.key(), {it.key(), it.key(), 1.0, 0.0, it.value(), PriceData::Direction::Flat, now});
        return result;
    }
    ScannerResult scan() const { return scanner::scan(prices(), news, events, now); }
};

NewsItem headline(const QString &title, double score, const QDateTime &published,
                  const QMap<QString, QString> &analysisPairs = {}, const QString &content = {})
{
    static int serial = 0;
    NewsItem item{u"n%1"_s.arg(++serial), title, u"FXStreet"_s, {}, published, content, {}, score, 1, {}};
    if (!analysisPairs.isEmpty()) {
        item.analysis = NewsAnalysis{};
        item.analysis->pairs = analysisPairs;
    }
    return item;
}

QList<NewsItem> repeated(int count, const NewsItem &item)
{
    return QList<NewsItem>(count, item);
}

CalendarEvent releaseAt(const QString &currency, CalendarEvent::Impact impact, const QDateTime &when)
{
    CalendarEvent e;
    e.id = currency + formatIsoUtc(when);
    e.time = formatIsoUtc(when);
    e.currency = currency;
    e.event = u"Release"_s;
    e.impact = impact;
    return e;
}

} // namespace

Q_DECLARE_METATYPE(Scenario)

class TestScanner : public QObject
{
    Q_OBJECT

private slots:
    void opportunity_data()
    {
        QTest::addColumn<Scenario>("scenario");
        QTest::addColumn<QString>("pair");
        QTest::addColumn<double>("score");
        QTest::addColumn<QString>("direction");
        QTest::addColumn<QStringList>("reasons");
        QTest::addColumn<bool>("warning");
        QTest::addColumn<int>("newsCount");
        QTest::addColumn<double>("baseStrength");
        QTest::addColumn<double>("quoteStrength");

        const QDateTime night = at(3);
        const QDateTime stale = night.addSecs(-7 * 3600); // outside the strength window
        const NewsItem euroStrong = headline(u"Euro strong"_s, 5, stale);
        const NewsItem dollarWeak = headline(u"USD weak after payrolls miss"_s, 8, stale);
        const auto release = [&](const QString &currency, CalendarEvent::Impact impact, int secondsAhead) {
            return Scenario{night, {}, {}, {releaseAt(currency, impact, night.addSecs(secondsAhead))}};
        };
        const auto high = CalendarEvent::Impact::High;

        QTest::newRow("stronger quote keeps the plus sign")
            << Scenario{night, {{u"EUR/GBP"_s, -2.0}, {u"USD/JPY"_s, -0.8}}, {}, {}} << u"EUR/USD"_s << 1.0
            << u"short"_s << QStringList{u"USD stark (+-0.8)"_s} << false << 0 << -2.0 << -0.8;
        QTest::newRow("falling price: momentum down")
            << Scenario{night, {{u"XAU/USD"_s, -0.3}}, {}, {}} << u"XAU/USD"_s << 1.2 << u"short"_s
            << QStringList{u"Momentum ▼-0.30%"_s} << false << 0 << 0.0 << 0.0;
        QTest::newRow("weighted news sum truncated, half rounds away from zero")
            << Scenario{night, {}, repeated(3, euroStrong), {}} << u"EUR/USD"_s << 2.3 << u"long"_s
            << QStringList{u"News: 1x bullish"_s} << false << 3 << 0.0 << 0.0;
        QTest::newRow("headline naming only the quote lifts the pair")
            << Scenario{night, {}, {dollarWeak}, {}} << u"EUR/USD"_s << 1.2 << u"long"_s
            << QStringList{u"News: 0x bullish"_s} << false << 1 << 0.0 << 0.0;
        QTest::newRow("headline naming the base weighs it down")
            << Scenario{night, {}, {dollarWeak}, {}} << u"USD/JPY"_s << 2.2 << u"short"_s
            << QStringList{u"News: 0x bearish"_s, u"Tokyo Session aktiv"_s} << false << 1 << 0.0 << 0.0;
        QTest::newRow("model view on gold counts as news only")
            << Scenario{night, {}, {headline(u"Gold climbs"_s, 6, night.addSecs(-3600), {{u"XAU/USD"_s, u"bullish"_s}})}, {}}
            << u"XAU/USD"_s << 0.9 << u"long"_s << QStringList{u"News: 0x bullish"_s} << false << 1 << 0.0 << 0.0;
        QTest::newRow("only the last eight related headlines weigh")
            << Scenario{night, {}, repeated(2, headline(u"Euro weak"_s, 10, stale)) + repeated(8, euroStrong), {}}
            << u"EUR/USD"_s << 3.0 << u"long"_s << QStringList{u"News: 4x bullish"_s} << false << 10 << 0.0 << 0.0;
        QTest::newRow("tokyo comes before london")
            << Scenario{at(7, 30), {}, {}, {}} << u"EUR/JPY"_s << 0.7 << u"neutral"_s
            << QStringList{u"Tokyo Session aktiv"_s} << false << 0 << 0.0 << 0.0;
        QTest::newRow("session key capitalised at blanks only")
            << Scenario{at(13), {}, {}, {}} << u"USD/CAD"_s << 0.7 << u"neutral"_s
            << QStringList{u"New_york Session aktiv"_s} << false << 0 << 0.0 << 0.0;
        QTest::newRow("high impact in 12 minutes warns") << release(u"USD"_s, high, 12 * 60 + 30) << u"EUR/USD"_s << 0.0
            << u"neutral"_s << QStringList{u"⚠ High-Impact in 12 min"_s} << true << 0 << 0.0 << 0.0;
        QTest::newRow("high impact exactly now warns") << release(u"USD"_s, high, 0) << u"XAU/USD"_s << 0.0
            << u"neutral"_s << QStringList{u"⚠ High-Impact in 0 min"_s} << true << 0 << 0.0 << 0.0;
        QTest::newRow("high impact 31 minutes ahead is too far") << release(u"USD"_s, high, 31 * 60) << u"EUR/USD"_s
            << 0.0 << u"neutral"_s << QStringList{} << false << 0 << 0.0 << 0.0;
        QTest::newRow("high impact a minute ago is over") << release(u"USD"_s, high, -60) << u"EUR/USD"_s << 0.0
            << u"neutral"_s << QStringList{} << false << 0 << 0.0 << 0.0;
        QTest::newRow("medium impact never warns") << release(u"USD"_s, CalendarEvent::Impact::Medium, 600)
            << u"EUR/USD"_s << 0.0 << u"neutral"_s << QStringList{} << false << 0 << 0.0 << 0.0;
        QTest::newRow("other currency never warns") << release(u"CAD"_s, high, 600) << u"EUR/USD"_s << 0.0
            << u"neutral"_s << QStringList{} << false << 0 << 0.0 << 0.0;
        QTest::newRow("strength, momentum, news, session; fifth reason cut, warning kept")
            << Scenario{at(13), {{u"EUR/USD"_s, 0.3}}, repeated(3, euroStrong),
                        {releaseAt(u"USD"_s, CalendarEvent::Impact::High, at(13, 10))}}
            << u"EUR/USD"_s << 4.9 << u"long"_s
            << QStringList{u"EUR stark (+0.3)"_s, u"Momentum ▲+0.30%"_s, u"News: 1x bullish"_s, u"London Session aktiv"_s}
            << true << 3 << 0.3 << -0.3;
    }
    void opportunity()
    {
        QFETCH(Scenario, scenario);
        QFETCH(QString, pair);
        const QList<Opportunity> all = scenario.scan().opportunities;
        const auto opportunity = std::find_if(all.begin(), all.end(), [&](const Opportunity &o) { return o.pair == pair; });
        QVERIFY(opportunity != all.end());
        QCOMPARE(opportunity->id, pair);
        QTEST(opportunity->score, "score");
        QTEST(Opportunity::directionText(opportunity->direction), "direction");
        QTEST(opportunity->reasons, "reasons");
        QTEST(opportunity->warning, "warning");
        QTEST(int(opportunity->newsCount), "newsCount");
        QTEST(opportunity->baseStrength, "baseStrength");
        QTEST(opportunity->quoteStrength, "quoteStrength");
    }

    void strength_data()
    {
        QTest::addColumn<Scenario>("scenario");
        QTest::addColumn<Strengths>("expected"); // currencies not named stay at 0

        const QDateTime now = at(3);
        const QDateTime recent = now.addSecs(-3600);
        const QDateTime stale = now.addSecs(-6 * 3600 - 1);
        QTest::newRow("moves averaged per observation")
            << Scenario{now, {{u"EUR/USD"_s, 0.4}, {u"EUR/GBP"_s, 0.2}}, {}, {}}
            << Strengths{{u"EUR"_s, 0.3}, {u"USD"_s, -0.4}, {u"GBP"_s, -0.2}};
        QTest::newRow("gold and indices skipped")
            << Scenario{now, {{u"XAU/USD"_s, 1.0}, {u"DXY"_s, 0.5}, {u"US10Y"_s, 2.0}}, {}, {}} << Strengths{};
        QTest::newRow("recent bullish headline, weight floor 0.3")
            << Scenario{now, {}, {headline(u"Euro strong"_s, 2.5, recent)}, {}} << Strengths{{u"EUR"_s, 0.18}};
        QTest::newRow("exactly six hours old still counts")
            << Scenario{now, {}, {headline(u"Euro strong"_s, 5, now.addSecs(-6 * 3600))}, {}}
            << Strengths{{u"EUR"_s, 0.3}};
        QTest::newRow("older than six hours ignored")
            << Scenario{now, {}, {headline(u"Euro strong"_s, 5, stale)}, {}} << Strengths{};
        // Below 2 a headline counts nowhere in the scan.
        QTest::newRow("score 1.5 ignored")
            << Scenario{now, {}, {headline(u"Euro strong"_s, 1.5, recent)}, {}} << Strengths{};
        QTest::newRow("names without keywords move nothing")
            << Scenario{now, {}, {headline(u"Yen slides as BoJ holds"_s, 9, recent)}, {}} << Strengths{};
        QTest::newRow("bearish headline hits every named currency")
            << Scenario{now, {}, {headline(u"Dollar weak, yen gains"_s, 5, recent)}, {}}
            << Strengths{{u"USD"_s, -0.3}, {u"JPY"_s, -0.3}};
        QTest::newRow("code needs the leading blank")
            << Scenario{now, {}, {headline(u"EURUSD strong"_s, 5, recent)}, {}} << Strengths{};
        QTest::newRow("model view adds without counting")
            << Scenario{now, {{u"EUR/USD"_s, 0.5}}, {headline(u"ECB decision"_s, 10, recent, {{u"EUR/USD"_s, u"bullish"_s}})}, {}}
            << Strengths{{u"EUR"_s, 1.5}, {u"USD"_s, -1.0}};
        QTest::newRow("bearish model view")
            << Scenario{now, {}, {headline(u"BoE decision"_s, 4, recent, {{u"GBP/JPY"_s, u"bearish"_s}, {u"XAU/USD"_s, u"bearish"_s}})}, {}}
            << Strengths{{u"GBP"_s, -0.4}, {u"JPY"_s, 0.2}};
        QTest::newRow("clamped at ten")
            << Scenario{now, {}, repeated(12, headline(u"Statement"_s, 10, recent, {{u"GBP/USD"_s, u"bullish"_s}})), {}}
            << Strengths{{u"GBP"_s, 10.0}, {u"USD"_s, -6.0}};
    }
    void strength()
    {
        QFETCH(Scenario, scenario);
        QFETCH(Strengths, expected);
        const ScannerResult result = scenario.scan();
        QStringList currencies = scanner::scannerCurrencies();
        currencies.sort();
        QCOMPARE(result.currencyStrength.keys(), currencies);
        for (const QString &currency : scanner::scannerCurrencies()) {
            const double actual = result.currencyStrength.value(currency);
            if (!qFuzzyCompare(1 + actual, 1 + expected.value(currency, 0)))
                QFAIL(qPrintable(u"%1: %2, expected %3"_s.arg(currency).arg(actual).arg(expected.value(currency, 0))));
        }
    }

    void ranking_data()
    {
        QTest::addColumn<Scenario>("scenario");
        QTest::addColumn<QStringList>("order");
        QTest::newRow("directed first, ties in table order")
            << Scenario{at(10), {{u"USD/JPY"_s, 0.5}, {u"AUD/USD"_s, 0.5}}, {}, {}}
            << QStringList{u"USD/JPY"_s, u"AUD/USD"_s, u"EUR/JPY"_s, u"GBP/JPY"_s, u"AUD/JPY"_s, u"EUR/AUD"_s,
                           u"GBP/AUD"_s, u"EUR/USD"_s, u"GBP/USD"_s, u"EUR/GBP"_s, u"EUR/CHF"_s, u"GBP/CHF"_s,
                           u"USD/CHF"_s, u"USD/CAD"_s, u"NZD/USD"_s, u"XAU/USD"_s};
        QTest::newRow("all neutral: session pairs first")
            << Scenario{at(3), {}, {}, {}}
            << QStringList{u"USD/JPY"_s, u"AUD/USD"_s, u"NZD/USD"_s, u"EUR/JPY"_s, u"GBP/JPY"_s, u"AUD/JPY"_s,
                           u"EUR/USD"_s, u"GBP/USD"_s, u"USD/CHF"_s, u"USD/CAD"_s, u"EUR/GBP"_s, u"EUR/CHF"_s,
                           u"GBP/CHF"_s, u"EUR/AUD"_s, u"GBP/AUD"_s, u"XAU/USD"_s};
    }
    void ranking()
    {
        QFETCH(Scenario, scenario);
        QStringList order;
        for (const Opportunity &opportunity : scenario.scan().opportunities)
            order << opportunity.pair;
        QTEST(order, "order");
    }

    void riskMood_data()
    {
        QTest::addColumn<QList<NewsItem>>("news");
        QTest::addColumn<QString>("mood");
        const QDateTime now = at(3);
        const QString filler(300, u'x');
        QString marked; // 150 user-perceived characters in 300 code units
        for (int i = 0; i < 150; ++i)
            marked += u"e\u0301"_s;
        QTest::newRow("score below three ignored")
            << QList<NewsItem>{headline(u"Growth optimism"_s, 2.9, now)} << u"neutral"_s;
        QTest::newRow("optimism, old news still counts")
            << QList<NewsItem>{headline(u"Growth optimism"_s, 5, now.addDays(-3))} << u"risk-on"_s;
        QTest::newRow("needs half as much again")
            << QList<NewsItem>{headline(u"Growth optimism stimulus"_s, 4, now), headline(u"War crisis"_s, 6, now)}
            << u"neutral"_s; // on 1.2, off 1.2
        QTest::newRow("weights by score")
            << QList<NewsItem>{headline(u"Growth optimism"_s, 3, now), headline(u"War crisis"_s, 10, now)}
            << u"risk-off"_s;
        QTest::newRow("words past 300 characters of content ignored")
            << QList<NewsItem>{headline(u"Markets"_s, 5, now, {}, filler + u" war crisis"_s)} << u"neutral"_s;
        QTest::newRow("words within 300 characters count")
            << QList<NewsItem>{headline(u"Markets"_s, 5, now, {}, filler.left(280) + u" war crisis"_s)} << u"risk-off"_s;
        QTest::newRow("characters, not code units")
            << QList<NewsItem>{headline(u"Markets"_s, 5, now, {}, marked + u" war"_s)} << u"risk-off"_s;
    }
    void riskMood()
    {
        QFETCH(QList<NewsItem>, news);
        QTEST(scanner::computeRiskSentiment(news), "mood");
        QTEST(scanner::scan({}, news, {}, at(3)).riskSentiment, "mood");
    }

    void sessions_data()
    {
        QTest::addColumn<int>("hour");
        QTest::addColumn<QStringList>("sessions");
        QTest::newRow("07") << 7 << QStringList{u"sydney"_s, u"tokyo"_s, u"london"_s};
        QTest::newRow("08") << 8 << QStringList{u"tokyo"_s, u"london"_s};
        QTest::newRow("09") << 9 << QStringList{u"london"_s};
        QTest::newRow("12") << 12 << QStringList{u"london"_s, u"new_york"_s};
        QTest::newRow("16") << 16 << QStringList{u"london"_s, u"new_york"_s};
        QTest::newRow("17") << 17 << QStringList{u"new_york"_s};
        QTest::newRow("21") << 21 << QStringList{u"new_york"_s};
        QTest::newRow("22") << 22 << QStringList{u"sydney"_s};
    }
    void sessions()
    {
        QFETCH(int, hour);
        // A local-time instant must be read in UTC.
        const QDateTime instant = at(hour, 59).toTimeZone(QTimeZone("Asia/Kolkata"));
        QTEST(scanner::activeSessions(instant), "sessions");
        ManualClock clock(at(hour, 59));
        QTEST(ScannerService(clock).scan({}, {}, {}).sessions, "sessions");
    }

    void splitPair_data()
    {
        QTest::addColumn<QString>("instrument");
        QTest::addColumn<QString>("base");
        QTest::addColumn<QString>("quote");
        QTest::newRow("gold") << u"XAU/USD"_s << u"XAU"_s << u"USD"_s;
        QTest::newRow("no slash") << u"GBPJPY"_s << u"GBP"_s << u"JPY"_s;
        QTest::newRow("slash elsewhere") << u"AB/CDEFGH"_s << u"ABC"_s << u"DEF"_s;
        QTest::newRow("index") << u"DXY"_s << QString() << QString();
        QTest::newRow("five letters") << u"US10Y"_s << QString() << QString();
    }
    void splitPair()
    {
        QFETCH(QString, instrument);
        const auto [base, quote] = scanner::splitPair(instrument);
        QTEST(base, "base");
        QTEST(quote, "quote");
    }

    void keywordSentiment_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("content");
        QTest::addColumn<int>("sentiment");
        QTest::newRow("inside other words") << u"Bears beaten"_s << QString() << 1;
        QTest::newRow("case folded") << u"HAWKISH turn"_s << QString() << 1;
        QTest::newRow("balanced") << u"Strong data, weak outlook"_s << QString() << 0;
        QTest::newRow("each keyword once") << u"weak weak weak"_s << u"strong rally"_s << 1;
        QTest::newRow("spans title and content") << u"Rate"_s << u"cut expected"_s << -1;
        QTest::newRow("non-ascii text") << u"Ölpreis: Euro STÄRKER, Dollar WEAK"_s << u"Märkte"_s << -1;
    }
    void keywordSentiment()
    {
        QFETCH(QString, title);
        QFETCH(QString, content);
        QTEST(scanner::keywordSentiment(headline(title, 5, at(3), {}, content)), "sentiment");
    }

    // Headlines are matched once and remembered; an edited text must not
    // keep the verdict of the old one.
    void editedHeadlineIsMatchedAgain()
    {
        NewsItem item = headline(u"Euro strong"_s, 8, at(3));
        QCOMPARE(scanner::keywordSentiment(item), 1);
        item.title = u"Euro weak"_s;
        QCOMPARE(scanner::keywordSentiment(item), -1);
        item.title = u"Euro"_s;
        item.content = u"rally continues"_s;
        QCOMPARE(scanner::keywordSentiment(item), 1);
    }

    // The one-pass matcher must agree with plain substring search, overlaps included.
    void matcherAgreesWithSubstringSearch_data()
    {
        QTest::addColumn<QString>("alphabet");
        QTest::addColumn<QStringList>("patterns");
        QTest::newRow("overlapping") << u"ab"_s << QStringList{u"a"_s, u"ab"_s, u"bab"_s, u"abab"_s, u"bb"_s};
        QTest::newRow("shared tails") << u"abc "_s << QStringList{u"abc"_s, u"bc"_s, u"c a"_s, u" abc"_s, u"cab"_s};
        QTest::newRow("non-ascii text") << u"ué/d"_s << QStringList{u"usd"_s, u"u/d"_s, u"d/u"_s, u"uu"_s};
        QTest::newRow("capitals fold") << u"aAbB "_s << QStringList{u"ab"_s, u"b a"_s, u"bb"_s, u"aab"_s};
    }
    void matcherAgreesWithSubstringSearch()
    {
        QFETCH(QString, alphabet);
        QFETCH(QStringList, patterns);
        const KeywordMatcher matcher(patterns);
        std::mt19937 random(7);
        for (int round = 0; round < 300; ++round) {
            QString text;
            const int length = int(random() % 24);
            for (int i = 0; i < length; ++i)
                text += alphabet[int(random() % alphabet.size())];
            const std::vector<qsizetype> ends = matcher.firstEnds(text);
            for (const QString &pattern : patterns) {
                const qsizetype at = text.toLower().indexOf(pattern);
                const qsizetype expected = at < 0 ? -1 : at + pattern.size();
                if (ends[size_t(matcher.indexOf(pattern))] != expected)
                    QFAIL(qPrintable(u"\"%1\" in \"%2\""_s.arg(pattern, text)));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestScanner)
#include "tst_scanner.moc"
