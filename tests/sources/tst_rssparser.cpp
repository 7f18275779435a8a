#include "../TestSupport.h"

#include "sources/RSSParser.h"

#include <QTimeZone>

using namespace kalvo;

namespace {

// One line per entry keeps a failing comparison readable.
QStringList describe(const QList<RSSEntry> &entries)
{
    QStringList lines;
    for (const RSSEntry &e : entries)
        lines << QStringList{e.title, e.link, e.description, e.published ? e.published->toUTC().toString(Qt::ISODateWithMs) : u"none"_s}.join(u" | "_s);
    return lines;
}

QByteArray rss(const QByteArray &items)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel><title>Channel</title>"
           "<link>https://example.com/</link><pubDate>Fri, 03 May 2024 09:00:00 GMT</pubDate>"
        + items + "</channel></rss>";
}

QByteArray atom(const QByteArray &entries)
{
    return "<feed xmlns=\"http://www.w3.org/2005/Atom\"><title>Feed</title><updated>2024-05-03T09:00:00Z</updated>" + entries + "</feed>";
}

QDateTime local(int hour, int minute)
{
    return QDateTime(QDate(2024, 5, 3), QTime(hour, minute), QTimeZone::systemTimeZone());
}

QDateTime utcMs(int hour, int minute, int second, int ms)
{
    return QDateTime(QDate(2024, 5, 3), QTime(hour, minute, second, ms), QTimeZone::utc());
}

} // namespace

class TestRSSParser : public QObject
{
    Q_OBJECT

private slots:
    void entriesFromDocuments_data()
    {
        QTest::addColumn<QByteArray>("document");
        QTest::addColumn<QStringList>("expected");

        QTest::newRow("rss 2.0 item")
            << rss("<item><title>A &amp; B</title><link>/n/1</link><description>&lt;p&gt;Hello&lt;/p&gt; world"
                   "</description><pubDate>Fri, 03 May 2024 14:20:00 +0000</pubDate></item>")
            << QStringList{u"A & B | /n/1 | Hello world | 2024-05-03T14:20:00.000Z"_s};
        QTest::newRow("atom: first non-empty href wins")
            << atom("<entry><title>T</title><link rel=\"alternate\" href=\"/n/2\"/><link rel=\"enclosure\" "
                    "href=\"/n/2.jpg\"/><updated>2024-05-03T14:20:00Z</updated></entry>")
            << QStringList{u"T | /n/2 |  | 2024-05-03T14:20:00.000Z"_s};
        QTest::newRow("atom: rel stands in for a missing href")
            << atom("<entry><title>T</title><link rel=\"alternate\"/></entry>")
            << QStringList{u"T | alternate |  | none"_s};
        QTest::newRow("link text is trimmed but not cleaned")
            << rss("<item><title>T</title><link>\n  https://x.test/?a=1&amp;b=&lt;2&gt;  \n</link></item>")
            << QStringList{u"T | https://x.test/?a=1&b=<2> |  | none"_s};
        QTest::newRow("CDATA title is lost, the item dropped")
            << rss("<item><title><![CDATA[Headline]]></title><link>/n/4</link></item>") << QStringList{};
        QTest::newRow("CDATA description is lost, content:encoded fills in")
            << rss("<item><title>T</title><description><![CDATA[<p>Short</p>]]></description><content:encoded>"
                   "&lt;p&gt;Full &lt;b&gt;text&lt;/b&gt;&lt;/p&gt;</content:encoded></item>")
            << QStringList{u"T |  | Full text | none"_s};
        QTest::newRow("empty summary leaves room for content")
            << atom("<entry><title>T</title><summary>  </summary><content>Body</content></entry>")
            << QStringList{u"T |  | Body | none"_s};
        QTest::newRow("the last date element decides, even unparseable")
            << atom("<entry><title>T</title><published>2024-05-03T14:20:00Z</published>"
                    "<updated>garbage</updated></entry>")
            << QStringList{u"T |  |  | none"_s};
        QTest::newRow("escaped empty tag empties an earlier title")
            << rss("<item><title>First</title><title>&lt;b&gt;&lt;/b&gt;</title></item>") << QStringList{};
        QTest::newRow("text before a child element is lost")
            << rss("<item><title>T</title><description>Lead <b>bold</b> tail</description></item>")
            << QStringList{u"T |  | tail | none"_s};
        QTest::newRow("item without a title is dropped, the next kept")
            << rss("<item><link>/x</link></item><item><title>Y</title></item>")
            << QStringList{u"Y |  |  | none"_s};
        QTest::newRow("element names compared without case")
            << rss("<ITEM><Title>Up</Title><LINK>/u</LINK><PubDate>Fri, 03 May 2024 14:20:00 GMT</PubDate></ITEM>")
            << QStringList{u"Up | /u |  | 2024-05-03T14:20:00.000Z"_s};
        QTest::newRow("a new item start discards the unfinished one")
            << rss("<item><title>A</title><item><title>B</title></item>") << QStringList{u"B |  |  | none"_s};
        // Bad input ends the document; what came before stays.
        const QByteArray one = "<item><title>One</title></item>";
        const QStringList onlyOne{u"One |  |  | none"_s};
        QTest::newRow("cut off mid-item") << QByteArray("<rss><channel>" + one + "<item><title>Two</title><li") << onlyOne;
        QTest::newRow("mismatched tag after the first item")
            << QByteArray("<rss><channel>" + one + "<item><title>Two</tit></item></channel></rss>") << onlyOne;
        QTest::newRow("undeclared HTML entity") << rss(one + "<item><title>A&nbsp;B</title></item>") << onlyOne;
        QTest::newRow("empty body") << QByteArray() << QStringList{};
        QTest::newRow("binary garbage") << QByteArray("\x00\xff\xfe<<\x01garbage\x80", 16) << QStringList{};
    }
    void entriesFromDocuments()
    {
        QFETCH(QByteArray, document);
        QFETCH(QStringList, expected);
        QCOMPARE(describe(RSSParser::parse(document)), expected);
    }

    // The reader does expand entities declared in an internal DTD, but one
    // that grows past its expansion limit (4096 characters) ends the document
    // as malformed: no exponential time or memory, no giant title.
    void entityBombStaysSmall()
    {
        QByteArray laughs = "<!ENTITY lol0 \"lol\">";
        for (int level = 1; level <= 9; ++level) {
            laughs += "<!ENTITY lol" + QByteArray::number(level) + " \"";
            for (int i = 0; i < 10; ++i)
                laughs += "&lol" + QByteArray::number(level - 1) + ';';
            laughs += "\">";
        }
        const QByteArray document = "<?xml version=\"1.0\"?><!DOCTYPE rss [" + laughs + "]><rss><channel>"
                                    "<item><title>Before</title></item><item><title>&lol9;</title></item>"
                                    "<item><title>After</title></item></channel></rss>";
        const QList<RSSEntry> entries = RSSParser::parse(document);
        QVERIFY(!entries.isEmpty());
        QCOMPARE(entries.first().title, u"Before"_s);
        for (const RSSEntry &entry : entries)
            QVERIFY2(entry.title.size() <= 4096, qPrintable(u"title of %1 characters"_s.arg(entry.title.size())));
    }

    // A feed far beyond real sizes is still read completely, in linear time.
    void twentyMegabyteFeed()
    {
        const QByteArray item = "<item><title>EUR/USD climbs to 1.0850 as the dollar softens</title>"
                                "<link>https://example.com/n/1</link><description>&lt;p&gt;The pair trades near its "
                                "weekly high in the European session. Resistance is seen at 1.0900, support at 1.0800; "
                                "traders await US data.&lt;/p&gt;</description>"
                                "<pubDate>Fri, 03 May 2024 14:20:00 +0000</pubDate></item>\n";
        const QByteArray feed = rss(item.repeated(20'000'000 / item.size() + 1));
        const QList<RSSEntry> entries = RSSParser::parse(feed);
        QCOMPARE(entries.size(), feed.count("<item>"));
        QCOMPARE(entries.last().description.size(), 133);
    }

    void clean_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");

        QTest::newRow("tags become blanks") << u"<p>Hello</p>world"_s << u"Hello world"_s;
        QTest::newRow("<> is no tag") << u"a <> b"_s << u"a <> b"_s;
        QTest::newRow("< without >") << u"1 < 2 and 3"_s << u"1 < 2 and 3"_s;
        QTest::newRow("nested opener") << u"x <<b> y"_s << u"x y"_s;
        QTest::newRow("runs of white space") << u" a \t\n\r b  "_s << u"a b"_s;
        QTest::newRow("no-break space folds") << u"a\u00a0\u00a0b"_s << u"a b"_s;
        QTest::newRow("vertical tab is not folded") << u"a\u000bb"_s << u"a\u000bb"_s;
    }
    void clean()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(RSSParser::clean(text), expected);
    }

    void parseDate_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QDateTime>("expected"); // invalid: no date

        const QDateTime at1420 = test::utc(2024, 5, 3, 14, 20);
        // The four ISO 8601 forms; a value without zone is UTC.
        QTest::newRow("iso, fraction, Z") << u"2024-05-03T14:20:00.123Z"_s << utcMs(14, 20, 0, 123);
        QTest::newRow("iso, one fraction digit, offset") << u"2024-05-03T16:20:00.5+02:00"_s << utcMs(14, 20, 0, 500);
        QTest::newRow("iso, offset") << u"2024-05-03T09:20:00-05:00"_s << at1420;
        QTest::newRow("iso, basic time, no zone") << u"2024-05-03T142000"_s << at1420;
        QTest::newRow("iso, basic time, offset") << u"2024-05-03T162000+0200"_s << at1420;
        // The fixed patterns, in table order.
        QTest::newRow("1: numeric offset") << u"Fri, 03 May 2024 16:20:00 +0200"_s << at1420;
        QTest::newRow("2: GMT") << u"Fri, 03 May 2024 14:20:00 GMT"_s << at1420;
        QTest::newRow("3: two blanks, offset") << u"Fri,  3 May 2024 14:20:00 +0000"_s << at1420;
        QTest::newRow("5: no weekday, offset") << u"03 May 2024 14:20:00 +0000"_s << at1420;
        QTest::newRow("7: no seconds, offset") << u"Fri, 03 May 2024 14:20 +0000"_s << at1420;
        QTest::newRow("9: basic offset") << u"2024-05-03T16:20:00+0200"_s << at1420;
        QTest::newRow("10: fraction, basic offset") << u"2024-05-03T16:20:00.250+0200"_s << utcMs(14, 20, 0, 250);
        QTest::newRow("13: blank, offset") << u"2024-05-03 16:20:00 +0200"_s << at1420;
        QTest::newRow("14: local time") << u"2024-05-03 14:20:00"_s << local(14, 20);
        QTest::newRow("15: local midnight") << u"2024-05-03"_s << local(0, 0);
        QTest::newRow("one-digit day, one blank") << u"Fri, 3 May 2024 14:20:00 GMT"_s << at1420;
        QTest::newRow("surrounding white space") << u" \n Fri, 03 May 2024 14:20:00 GMT \t"_s << at1420;
        // Not dates.
        QTest::newRow("empty") << QString() << QDateTime();
        QTest::newRow("trailing text") << u"Fri, 03 May 2024 14:20:00 +0000 (UTC)"_s << QDateTime();
        QTest::newRow("iso without zone") << u"2024-05-03T14:20:00"_s << QDateTime();
        QTest::newRow("month 13") << u"2024-13-03"_s << QDateTime();
    }
    void parseDate()
    {
        QFETCH(QString, text);
        QFETCH(QDateTime, expected);
        const std::optional<QDateTime> parsed = RSSParser::parseDate(text);
        QCOMPARE(parsed.has_value(), expected.isValid());
        if (parsed)
            QCOMPARE(parsed->toUTC(), expected.toUTC());
    }
};

QTEST_GUILESS_MAIN(TestRSSParser)
#include "tst_rssparser.moc"
