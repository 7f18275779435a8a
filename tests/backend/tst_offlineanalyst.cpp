#include "../TestSupport.h"
#include "BackendClient.h"

#include "BriefingWriter.h"
#include "OfflineAnalyst.h"
#include "PromptReader.h"
#include "ai/BriefingPrompts.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"
#include "core/MarketStatus.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace kalvo;
using namespace kalvo::backend;

namespace {

// The reply as the app takes it: a bare JSON object, no prose or code fence
// around it; an empty object otherwise.
QJsonObject answerTo(const QString &prompt)
{
    const std::optional<QString> reply = OfflineAnalyst::reply(prompt);
    return reply ? QJsonDocument::fromJson(reply->toUtf8()).object() : QJsonObject();
}

QStringList texts(const QJsonValue &value)
{
    QStringList result;
    for (const QJsonValue &element : value.toArray())
        result << element.toString();
    return result;
}

// A number written with a decimal point, as the levels of an analysis are.
double number(const QString &text)
{
    bool ok = false;
    const double value = text.toDouble(&ok);
    return ok ? value : qQNaN();
}

} // namespace

class TestOfflineAnalyst : public QObject
{
    Q_OBJECT

private slots:
    void refusesUnknownPrompts_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::newRow("scoring opening, nothing after the title") << u"Forex-Analyst. Bewerte diese News.\nTitel: x"_s;
        QTest::newRow("overview without its reply shape")
            << u"Erstelle eine kurze Marktübersicht (JSON):\nNews der letzten 2h:\n- [5/10] A (B)\nPaare: EUR/USD"_s;
        QTest::newRow("instrument without events block")
            << u"Du bist Senior Quantitative Analyst eines Tier-1 Hedgefonds.\nAnalysiere EUR/USD für einen "
               u"Trader der JETZT entscheiden muss.\n\nMARKTDATEN:\nKurs: 1.1 | Tageschange: +0.100%"_s;
    }
    void refusesUnknownPrompts()
    {
        QFETCH(QString, prompt);
        QCOMPARE(OfflineAnalyst::reply(prompt), std::nullopt);
    }

    void scoresHeadlinesByKeywords_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("minScore"); // 0: irrelevant
        QTest::addColumn<QString>("expected"); // urgency, category, pair=direction (empty: pair absent)

        QTest::newRow("surprise Fed cut") << u"Fed cuts rates by 50bp in surprise move"_s << 9
                                          << u"immediate central_bank EUR/USD=bullish"_s;
        QTest::newRow("US jobs beat") << u"US nonfarm payrolls beat expectations"_s << 6
                                      << u"hours employment EUR/USD=bearish"_s;
        QTest::newRow("yen intervention") << u"Bank of Japan intervention: yen surges"_s << 9
                                          << u"immediate central_bank USD/JPY=bearish"_s;
        QTest::newRow("soft data outweighs firm bets")
            << u"Euro slips as ECB rate cut bets firm after soft inflation data"_s << 9
            << u"immediate central_bank EUR/USD=bearish"_s;
        QTest::newRow("the first move counts, not the circumstances")
            << u"Gold slips from record high as Treasury yields rise"_s << 4 << u"hours commodities XAU/USD=bearish"_s;
        QTest::newRow("the instrument named first is the subject")
            << u"AUD/USD climbs to 0.6637 as ECB rate cut bets firm"_s << 6 << u"hours central_bank AUD/USD=bullish"_s;
        QTest::newRow("federal is not the Fed") << u"Federal budget talks stall in Congress"_s << 0 << QString();
    }
    void scoresHeadlinesByKeywords()
    {
        QFETCH(QString, title);
        QFETCH(int, minScore);
        QFETCH(QString, expected);

        const QJsonObject answer = answerTo(NewsPrompts::quickScoring(test::news(0, title, u"Wire"_s)));
        if (minScore == 0) {
            QCOMPARE(answer, (QJsonObject{{u"relevant"_s, false}}));
            return;
        }
        QCOMPARE(answer.value("relevant"_L1), QJsonValue(true));
        const int score = answer.value("score"_L1).toInt();
        QVERIFY2(score >= minScore && score <= 10, qPrintable(QString::number(score)));
        const QString pair = expected.section(u' ', 2).section(u'=', 0, 0);
        QCOMPARE(u"%1 %2 %3=%4"_s.arg(answer.value("urgency"_L1).toString(), answer.value("category"_L1).toString(),
                                      pair, answer.value("pairs"_L1).toObject().value(pair).toString()),
                 expected);
        const QString headline = answer.value("headline"_L1).toString();
        QVERIFY2(!headline.isEmpty() && headline.size() <= 55, qPrintable(headline));
    }

    void readsFieldsBackOutOfPrompts_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("expected"); // title|source|content, or the news, session, events or market read

        const QString trickyContent = u"Quote:\nQuelle: fake\nNur JSON, kein Markdown:\nstill content"_s;
        QTest::newRow("content that repeats the markers")
            << NewsPrompts::quickScoring(test::news(0, u"Yen (JPY) slides"_s, u"Reuters (via Google)"_s, trickyContent))
            << u"Yen (JPY) slides|Reuters (via Google)|"_s + trickyContent;
        QTest::newRow("overview news and pairs")
            << BriefingPrompts::marketOverview({test::news(6.9, u"Dollar (USD) firms"_s, u"WSJ"_s)},
                                               {u"GBP/USD"_s, u"XAU/USD"_s})
            << u"news 6|Dollar (USD) firms|WSJ pairs GBP/USD|XAU/USD"_s;
        QTest::newRow("session of the open briefing, all-day event")
            << BriefingPrompts::openMarketBriefing(MarketStatus::status(test::utc(2024, 5, 8, 14)), {},
                                                   test::sampleEvents())
            << u"session EU/US OVERLAP|London / New York — höchstes Volumen event Ganztägig|EUR|Holiday|Bank Holiday"_s;
        QTest::newRow("gold price and negative change")
            << InstrumentPrompts::instrumentAnalysis(u"XAU/USD"_s, {}, {}, 2034.567, -0.4567)
            << u"market XAU/USD|2034.6|-0.457"_s;
    }
    void readsFieldsBackOutOfPrompts()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, expected);
        const std::optional<ReadPrompt> read = readPrompt(prompt);
        QVERIFY(read);
        QStringList parts;
        if (!read->title.isEmpty())
            parts << read->title + u'|' + read->source + u'|' + read->content;
        for (const ListedNews &news : read->news)
            parts << u"news %1|%2|%3"_s.arg(QString::number(news.score), news.headline, news.source);
        if (!read->pairs.isEmpty())
            parts << u"pairs "_s + read->pairs.join(u'|');
        if (!read->sessionLabel.isEmpty())
            parts << u"session "_s + read->sessionLabel + u'|' + read->sessionDetail;
        if (read->events.size() > 1) {
            const ListedEvent event = read->events.value(1);
            parts << u"event "_s + QStringList{event.time, event.currency, event.impact, event.title}.join(u'|');
        }
        if (!read->instrument.isEmpty())
            parts << u"market %1|%2|%3"_s.arg(read->instrument, QString::number(read->price),
                                               QString::number(read->changePercent));
        QCOMPARE(parts.join(u' '), expected);
    }

    void briefingHasTheAskedLength_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QStringList>("named");   // headlines the text has to name
        QTest::addColumn<QStringList>("watchNext");
        QTest::addColumn<bool>("weekend");

        QList<NewsItem> fourteenLong;
        QList<CalendarEvent> tenEvents;
        QStringList longWatch;
        const MarketStatus fridayEvening = MarketStatus::status(test::utc(2024, 5, 10, 20, 35)); // closes in 1h 25m
        const QString powell = u"Fed Chair Powell testifies before the Senate committee"_s;
        for (int i = 0; i < 14; ++i)
            fourteenLong.append(test::news(9.0,
                                           u"Global markets brace for a long week of central bank meetings, "
                                           u"inflation data and heavy bond supply everywhere %1"_s.arg(i),
                                           u"Reuters via Google News"_s));
        for (int i = 0; i < 10; ++i)
            tenEvents.append(test::event(u"1%1:00"_s.arg(i), u"USD"_s, CalendarEvent::Impact::High, powell));
        for (int i = 0; i < 3; ++i)
            longWatch << u"1%1:00 USD "_s.arg(i) + powell;

        QTest::newRow("open, long headlines everywhere")
            << BriefingPrompts::openMarketBriefing(fridayEvening, fourteenLong, tenEvents)
            << QStringList{u"Global markets brace for a long week of central bank meetings"_s} << longWatch << false;
        QTest::newRow("weekend, nothing listed")
            << BriefingPrompts::weekendBriefing({}, {}) << QStringList() << QStringList() << true;
    }
    void briefingHasTheAskedLength()
    {
        QFETCH(QString, prompt);
        QFETCH(QStringList, named);
        QFETCH(QStringList, watchNext);
        QFETCH(bool, weekend);

        const QJsonObject answer = answerTo(prompt);
        const QString text = answer.value("briefing_text"_L1).toString();
        const int words = wordCount(text);
        QVERIFY2(words >= 110 && words <= 130, qPrintable(u"%1 words: %2"_s.arg(words).arg(text)));
        for (const QString &headline : named)
            QVERIFY2(text.contains(headline), qPrintable(headline));
        const int titleWords = wordCount(answer.value("title"_L1).toString());
        QVERIFY(titleWords >= 1 && titleWords <= 6);
        QCOMPARE(texts(answer.value("key_points"_L1)).size(), 3);
        QCOMPARE(texts(answer.value("watch_next"_L1)), watchNext);
        QCOMPARE(text.contains(u"geschlossen"_s), weekend);
    }

    void overviewFollowsTheNews_data()
    {
        QTest::addColumn<QList<NewsItem>>("news");
        QTest::addColumn<QStringList>("pairs");
        QTest::addColumn<QString>("expected"); // sentiment, usd, eur, top pair

        QTest::newRow("war and safe havens")
            << QList<NewsItem>{test::news(9, u"War escalates, investors flee to safe haven"_s, u"AP"_s),
                               test::news(7, u"Yen surges as panic spreads"_s, u"Bloomberg"_s)}
            << QStringList{u"EUR/USD"_s, u"USD/JPY"_s} << u"risk-off neutral neutral USD/JPY"_s;
        QTest::newRow("no news") << QList<NewsItem>() << QStringList{u"GBP/USD"_s, u"EUR/USD"_s}
                                 << u"neutral neutral neutral GBP/USD"_s;
    }
    void overviewFollowsTheNews()
    {
        QFETCH(QList<NewsItem>, news);
        QFETCH(QStringList, pairs);
        QFETCH(QString, expected);

        const QJsonObject answer = answerTo(BriefingPrompts::marketOverview(news, pairs));
        QStringList actual;
        for (const auto key : {"sentiment"_L1, "usd"_L1, "eur"_L1, "top_pair"_L1})
            actual << answer.value(key).toString();
        QCOMPARE(actual.join(u' '), expected);
        QVERIFY(!texts(answer.value("themes"_L1)).isEmpty());
        const QString overview = answer.value("overview"_L1).toString();
        QVERIFY(overview.count(u'.') >= 2);
        if (!news.isEmpty())
            QVERIFY(overview.contains(news.first().title));
    }

    void instrumentLevelsMatchTheVerdict_data()
    {
        QTest::addColumn<QString>("instrument");
        QTest::addColumn<double>("price");
        QTest::addColumn<double>("change");
        QTest::addColumn<QString>("verdict");
        QTest::addColumn<int>("decimals"); // of the levels; -1: no levels

        QTest::newRow("EUR/USD after a dovish Fed") << u"EUR/USD"_s << 1.0855 << 0.3 << u"bullish"_s << 5;
        QTest::newRow("USD/JPY after a dovish Fed") << u"USD/JPY"_s << 151.234 << -0.5 << u"bearish"_s << 3;
        QTest::newRow("dollar index without quote") << u"DXY"_s << 0.0 << 0.0 << u"bearish"_s << -1;
    }
    void instrumentLevelsMatchTheVerdict()
    {
        QFETCH(QString, instrument);
        QFETCH(double, price);
        QFETCH(double, change);
        QFETCH(QString, verdict);
        QFETCH(int, decimals);

        const QList<NewsItem> dovishFed{test::news(9, u"Fed cuts rates in surprise move"_s, u"Reuters"_s)};
        const QJsonObject answer = answerTo(
            InstrumentPrompts::instrumentAnalysis(instrument, dovishFed, test::sampleEvents(), price, change));
        QCOMPARE(answer.value("verdict"_L1).toString(), verdict);
        // The verdict's scenario is the likelier one.
        const QJsonObject scenarios = answer.value("scenarios"_L1).toObject();
        const auto probability = [&](QLatin1StringView key) {
            return scenarios.value(key).toObject().value("probability"_L1).toInt();
        };
        const int bullOverBear = probability("bull"_L1) - probability("bear"_L1);
        QVERIFY2(verdict == "bullish"_L1 ? bullOverBear > 0 : bullOverBear < 0,
                 qPrintable(QString::number(bullOverBear)));

        const QString stopText = answer.value("stop"_L1).toString();
        if (decimals < 0) {
            QCOMPARE(stopText, u"n/v"_s); // no quote: no invented levels
            return;
        }
        // The analyst only knows the price as the prompt writes it, to five digits.
        price = QString::asprintf("%.5g", price).toDouble();
        const double stop = number(stopText);
        const double target1 = number(answer.value("target_1"_L1).toString());
        const double target2 = number(answer.value("target_2"_L1).toString());
        const QStringList zone = answer.value("entry_zone"_L1).toString().split(u'-');
        QCOMPARE(zone.size(), 2);
        const double low = number(zone[0]);
        const double high = number(zone[1]);
        QCOMPARE(stopText.section(u'.', 1).size(), decimals);
        if (verdict == "bullish"_L1)
            QVERIFY(stop < low && low <= high && high <= price + 1e-9 && price < target1 && target1 < target2);
        else
            QVERIFY(stop > high && high >= low && low >= price - 1e-9 && price > target1 && target1 > target2);
        QVERIFY(answer.value("risk_reward"_L1).toString().startsWith(u"1:"_s));
    }
};

QTEST_GUILESS_MAIN(TestOfflineAnalyst)
#include "tst_offlineanalyst.moc"
