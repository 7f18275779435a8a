#include "../TestSupport.h"

#include "ai/BriefingPrompts.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"
#include "ai/PromptLines.h"

using namespace kalvo;

namespace {

NewsItem headline(const QString &title, const QString &source, double score)
{
    return {.id = title, .title = title, .source = source, .score = score};
}

// Headlines from sources S01, S02, ... and events E01, E02, ...
// Headlines from sources S01, S02, ... and events E01, E02, ..., so that a
// prompt shows how many of each it took.
QString numbered(QChar prefix, int i)
{
    return prefix + u"%1"_s.arg(i, 2, 10, QChar(u'0'));
}

QList<NewsItem> numberedNews(int count)
{
    QList<NewsItem> news;
    for (int i = 1; i <= count; ++i)
        news.append(headline(u"Headline"_s, numbered(u'S', i), 5));
    return news;
}

QList<CalendarEvent> numberedEvents(int count)
{
    QList<CalendarEvent> events;
    for (int i = 1; i <= count; ++i)
        events.append({.id = numbered(u'E', i), .timeDisplay = u"10:00"_s, .currency = u"EUR"_s,
                       .event = numbered(u'E', i), .impact = CalendarEvent::Impact::Low});
    return events;
}

// The text of `prompt` between `before` and `after`.
QString between(const QString &prompt, const QString &before, const QString &after)
{
    const qsizetype start = prompt.indexOf(before);
    if (start < 0)
        return u"<%1 missing>"_s.arg(before);
    const qsizetype from = start + before.size();
    const qsizetype end = prompt.indexOf(after, from);
    return end < 0 ? u"<%1 missing>"_s.arg(after) : prompt.mid(from, end - from);
}

MarketStatus wednesdayMorning()
{
    return MarketStatus::status(test::utc(2024, 5, 8, 10, 15));
}

} // namespace

class TestPrompts : public QObject
{
    Q_OBJECT

private slots:
    void newsLines_data()
    {
        QTest::addColumn<NewsItem>("item");
        QTest::addColumn<QString>("scored");
        QTest::addColumn<QString>("plain");

        // The plain cases show in the prompts on the wire; these are the edges.
        QTest::newRow("negative fraction cut toward zero") << headline(u"T"_s, u"S"_s, -0.5) << u"- [0/10] T (S)"_s
                                                           << u"- T (S)"_s;
        NewsItem emptyHeadline = headline(u"Fed holds"_s, u"Reuters"_s, 5);
        emptyHeadline.analysis = NewsAnalysis{.headline = QString()};
        QTest::newRow("empty model headline stays empty") << emptyHeadline << u"- [5/10]  (Reuters)"_s
                                                          << u"-  (Reuters)"_s;
    }
    void newsLines()
    {
        QFETCH(NewsItem, item);
        QFETCH(QString, scored);
        QFETCH(QString, plain);
        QCOMPARE(PromptLines::scoredNews(item), scored);
        QCOMPARE(PromptLines::plainNews(item), plain);
    }

    // Each prompt takes its own number of headlines and events from the
    // front of the lists, and lists nothing beyond.
    void listLimits_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("newsHeader");
        QTest::addColumn<QString>("newsEnd");
        QTest::addColumn<int>("newsCount");
        QTest::addColumn<QString>("eventsHeader"); // empty: no events listed
        QTest::addColumn<int>("eventCount");

        const QList<NewsItem> news = numberedNews(20);
        const QList<CalendarEvent> events = numberedEvents(20);
        QTest::newRow("overview: 10 headlines") << BriefingPrompts::marketOverview(news, {u"EUR/USD"_s})
                                                << u"News der letzten 2h:\n"_s << u"\nPaare"_s << 10 << QString() << 0;
        QTest::newRow("open market: 14 headlines, 10 events")
            << BriefingPrompts::openMarketBriefing(wednesdayMorning(), news, events)
            << u"Aktuelle News (neueste zuerst):\n"_s << u"\n\n"_s << 14 << u"Nächste Makro-Events:\n"_s << 10;
        QTest::newRow("weekend: 8 headlines, 8 events")
            << BriefingPrompts::weekendBriefing(news, events) << u"Letzte bekannte News:\n"_s << u"\n\n"_s << 8
            << u"Wichtige Events nächste Woche:\n"_s << 8;
        QTest::newRow("instrument: 12 headlines, 8 events")
            << InstrumentPrompts::instrumentAnalysis(u"EUR/USD"_s, news, events, 1, 0) << u"RELEVANTE NEWS:\n"_s
            << u"\n\n"_s << 12 << u"KOMMENDE EVENTS:\n"_s << 8;
    }
    void listLimits()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, newsHeader);
        QFETCH(QString, newsEnd);
        QFETCH(int, newsCount);
        QFETCH(QString, eventsHeader);
        QFETCH(int, eventCount);

        const QString newsBlock = between(prompt, newsHeader, newsEnd);
        QCOMPARE(newsBlock.count(u'\n'), newsCount - 1);
        QVERIFY2(newsBlock.endsWith(u"(%1)"_s.arg(numbered(u'S', newsCount))), qPrintable(newsBlock));
        if (eventsHeader.isEmpty())
            return;
        const QString eventsBlock = between(prompt, eventsHeader, u"\n\n"_s);
        QCOMPARE(eventsBlock.count(u'\n'), eventCount - 1);
        QVERIFY2(eventsBlock.endsWith(numbered(u'E', eventCount)), qPrintable(eventsBlock));
    }

    void emptyListPlaceholders_data()
    {
        QTest::addColumn<QString>("prompt");
        QTest::addColumn<QString>("expectedPart");

        QTest::newRow("open market")
            << BriefingPrompts::openMarketBriefing(wednesdayMorning(), {}, {})
            << u"Aktuelle News (neueste zuerst):\n- Keine News\n\nNächste Makro-Events:\n- Keine Events\n\nFokus des Berichts:"_s;
        QTest::newRow("weekend")
            << BriefingPrompts::weekendBriefing({}, {})
            << u"Letzte bekannte News:\n- Keine News\n\nWichtige Events nächste Woche:\n- Keine Events\n\nFokus:"_s;
        QTest::newRow("instrument")
            << InstrumentPrompts::instrumentAnalysis(u"DXY"_s, {}, {}, 0, 0)
            << u"Kurs: 0 | Tageschange: +0.000%\n\nRELEVANTE NEWS:\nKeine relevanten News\n\nKOMMENDE EVENTS:\nKeine bevorstehenden Events\n\nLiefere"_s;
        QTest::newRow("overview") << BriefingPrompts::marketOverview({}, {})
                                  << u"News der letzten 2h:\n\nPaare: \n\n{"_s;
    }
    void emptyListPlaceholders()
    {
        QFETCH(QString, prompt);
        QFETCH(QString, expectedPart);
        QVERIFY2(prompt.contains(expectedPart), qPrintable(prompt));
    }

    // The content is cut by characters as a reader counts them, so a letter
    // with a combining accent or a flag is never split at the cut.
    void contentCut_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("quick");
        QTest::addColumn<QString>("deep");

        const QString a = QString(u'a');
        QTest::newRow("1500 characters") << a.repeated(1500) << a.repeated(1000) << a.repeated(800);
        const QString accented = u"e\u0301"_s;
        QTest::newRow("combining accent at the quick cut")
            << a.repeated(999) + accented + a.repeated(600) << a.repeated(999) + accented << a.repeated(800);
        const QString flag = u"🇩🇪"_s;
        QTest::newRow("flag at the deep cut")
            << a.repeated(799) + flag + a.repeated(600) << a.repeated(799) + flag + a.repeated(200)
            << a.repeated(799) + flag;
    }
    void contentCut()
    {
        QFETCH(QString, content);
        QFETCH(QString, quick);
        QFETCH(QString, deep);
        NewsItem item = headline(u"T"_s, u"S"_s, 1);
        item.content = content;
        QCOMPARE(between(NewsPrompts::quickScoring(item), u"\nInhalt: "_s, u"\nNur JSON"_s), quick);
        QCOMPARE(between(NewsPrompts::deepAnalysis(item), u"\nInhalt: "_s, u"\nNur JSON"_s), deep);
    }

    void numberFormats_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("price");  // C "%.5g"
        QTest::addColumn<QString>("change"); // C "%+.3f"
        QTest::newRow("tiny negative keeps its sign") << -0.0001 << u"-0.0001"_s << u"-0.000"_s;
        QTest::newRow("large switches to exponent") << 123456.7 << u"1.2346e+05"_s << u"+123456.700"_s;
    }
    void numberFormats()
    {
        QFETCH(double, value);
        QFETCH(QString, price);
        QFETCH(QString, change);
        QCOMPARE(InstrumentPrompts::significantPrice(value), price);
        QCOMPARE(InstrumentPrompts::signedChange(value), change);
    }
};

QTEST_GUILESS_MAIN(TestPrompts)
#include "tst_prompts.moc"
