#include "../TestSupport.h"

#include "sources/RSSParser.h"

#include <QStringEncoder>
#include <QTimeZone>

using namespace kalvo;

namespace {

// One line per entry keeps a failing comparison readable.
QStringList describe(const QList<RSSEntry> &entries)
{
    QStringList lines;
    for (const RSSEntry &e : entries)
        lines << QStringList{e.title, e.link, RSSParser::clean(e.descriptionMarkup), e.published ? e.published->toUTC().toString(Qt::ISODateWithMs) : u"none"_s}.join(u" | "_s);
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

QByteArray utf16WithMark(const QString &document)
{
    QStringEncoder encoder(QStringConverter::Utf16LE, QStringConverter::Flag::WriteBom);
    return encoder(document);
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

        const QByteArray one = "<item><title>One</title></item>";
        const QStringList onlyOne{u"One |  |  | none"_s};

        QTest::newRow("rss 2.0 item")
            << rss("<item><title>A &amp; B</title><link>/n/1</link><description>&lt;p&gt;Hello&lt;/p&gt; world"
                   "</description><pubDate>Fri, 03 May 2024 14:20:00 +0000</pubDate></item>")
            << QStringList{u"A & B | /n/1 | Hello world | 2024-05-03T14:20:00.000Z"_s};
        // Which of an entry's links is the link.
        const auto linkOf = [](const QByteArray &links) { return atom("<entry><title>T</title>" + links + "</entry>"); };
        QTest::newRow("atom: an enclosure after the alternate does not count")
            << atom("<entry><title>T</title><link rel=\"alternate\" href=\"/n/2\"/><link rel=\"enclosure\" "
                    "href=\"/n/2.jpg\"/><updated>2024-05-03T14:20:00Z</updated></entry>")
            << QStringList{u"T | /n/2 |  | 2024-05-03T14:20:00.000Z"_s};
        QTest::newRow("atom: alternate after self, edit and replies")
            << linkOf("<link rel=\"self\" href=\"/s\"/><link rel=\"edit\" href=\"/e\"/><link rel=\"replies\" "
                      "href=\"/r\"/><link rel=\"alternate\" href=\"/a\"/><link rel=\"alternate\" href=\"/a2\"/>")
            << QStringList{u"T | /a |  | none"_s};
        QTest::newRow("atom: a link without rel after self")
            << linkOf("<link rel=\"self\" href=\"/s\"/><link href=\"/a\"/>") << QStringList{u"T | /a |  | none"_s};
        QTest::newRow("atom: no alternate, the first other href")
            << linkOf("<link rel=\"replies\" href=\"/r\"/><link rel=\"self\" href=\"/s\"/>")
            << QStringList{u"T | /r |  | none"_s};
        QTest::newRow("atom: rel stands in for a missing href")
            << linkOf("<link rel=\"alternate\"/>") << QStringList{u"T | alternate |  | none"_s};
        QTest::newRow("atom: a rel without href is the last resort")
            << linkOf("<link rel=\"alternate\"/><link rel=\"self\" href=\"/s\"/>")
            << QStringList{u"T | /s |  | none"_s};
        QTest::newRow("atom: source describes another feed")
            << atom("<entry><title>Entry</title><updated>2024-05-03T14:20:00Z</updated><source><title>Other</title>"
                    "<link href=\"/other\"/><updated>2020-01-01T00:00:00Z</updated></source><link href=\"/e\"/></entry>")
            << QStringList{u"Entry | /e |  | 2024-05-03T14:20:00.000Z"_s};
        QTest::newRow("link text is trimmed but not cleaned")
            << rss("<item><title>T</title><link>\n  https://x.test/?a=1&amp;b=&lt;2&gt;  \n</link></item>")
            << QStringList{u"T | https://x.test/?a=1&b=<2> |  | none"_s};
        // CDATA is text.
        QTest::newRow("CDATA title and description, as large publishers send them")
            << rss("<item><title><![CDATA[Oil jumps 4% as OPEC+ extends cuts]]></title><description><![CDATA[<p>Brent "
                   "<b>rose</b> to $88 &amp; held.</p><img src=\"x.jpg\"/>]]></description><link>/n/4</link></item>")
            << QStringList{u"Oil jumps 4% as OPEC+ extends cuts | /n/4 | Brent rose to $88 & held. | none"_s};
        QTest::newRow("CDATA description wins over a later content:encoded")
            << rss("<item><title>T</title><description><![CDATA[<p>Short</p>]]></description><content:encoded>"
                   "&lt;p&gt;Full &lt;b&gt;text&lt;/b&gt;&lt;/p&gt;</content:encoded></item>")
            << QStringList{u"T |  | Short | none"_s};
        QTest::newRow("text and CDATA in one title")
            << rss("<item><title>Fed: <![CDATA[rates & \"dots\"]]> unchanged</title></item>")
            << QStringList{u"Fed: rates & \"dots\" unchanged |  |  | none"_s};
        QTest::newRow("description of code, comments and blanks only leaves room for the next")
            << rss("<item><title>T</title><description>&lt;script&gt;track('x')&lt;/script&gt;&lt;!-- ad --&gt; "
                   "&amp;nbsp; &lt;style&gt;p{}&lt;/style&gt;</description><content:encoded><![CDATA[<p>Body <!-- x "
                   "--> text</p><script>var a = \"<b>\";</script>]]></content:encoded></item>")
            << QStringList{u"T |  | Body text | none"_s};
        QTest::newRow("empty summary leaves room for content")
            << atom("<entry><title>T</title><summary>  </summary><content>Body</content></entry>")
            << QStringList{u"T |  | Body | none"_s};
        QTest::newRow("the last date element decides, even unparseable")
            << atom("<entry><title>T</title><published>2024-05-03T14:20:00Z</published>"
                    "<updated>garbage</updated></entry>")
            << QStringList{u"T |  |  | none"_s};
        QTest::newRow("escaped empty tag empties an earlier title")
            << rss("<item><title>First</title><title>&lt;b&gt;&lt;/b&gt;</title></item>") << QStringList{};
        QTest::newRow("xhtml title and content keep the text of every descendant")
            << atom("<entry><title type=\"xhtml\"><div xmlns=\"http://www.w3.org/1999/xhtml\">Rates <b>on hold</b>, "
                    "1 &lt; 2</div></title><summary type=\"xhtml\"><div> <script>x()</script> </div></summary>"
                    "<content type=\"XHTML\"><h:div xmlns:h=\"http://www.w3.org/1999/xhtml\"><h:p>Lead <h:em>in"
                    "</h:em> &amp; tail</h:p><h:style>p {}</h:style></h:div></content></entry>")
            << QStringList{u"Rates on hold , 1 < 2 |  | Lead in & tail | none"_s};
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
        // Entities XML does not define.
        QTest::newRow("HTML named entities")
            << rss("<item><title>Caf&eacute;&nbsp;Fed&rsquo;s pause&hellip; &copy;</title><link>/n?a=1&amp;b=&ndash;"
                   "</link></item>")
            << QStringList{u"Café Fed’s pause… © | /n?a=1&b=– |  | none"_s};
        QTest::newRow("unknown entity stays as written")
            << rss(one + "<item><title>A &bogus; B</title></item>") << QStringList{onlyOne[0], u"A &bogus; B |  |  | none"_s};
        QTest::newRow("double-escaped entities decode once")
            << rss("<item><title>Fed&amp;rsquo;s &amp;#8217;dots&amp;#x2019; &#38;amp; &amp;amp;amp;</title></item>")
            << QStringList{u"Fed’s ’dots’ & &amp; |  |  | none"_s};
        // What comes before the document and how it is encoded.
        QTest::newRow("byte order mark and blank lines before the declaration")
            << QByteArray("\xEF\xBB\xBF\r\n\n  " + rss(one)) << onlyOne;
        QTest::newRow("blank line before the declaration") << QByteArray("\n" + rss(one)) << onlyOne;
        QTest::newRow("Latin-1 without a declaration")
            << QByteArray("<rss><channel><item><title>Caf\xe9 cr\xe8me: \x93Rally\x94 \x96 \x80 up</title></item></channel></rss>")
            << QStringList{u"Café crème: “Rally” – € up |  |  | none"_s};
        QTest::newRow("UTF-8 without a declaration, one Windows-1252 byte")
            << QByteArray("<rss><channel><item><title>Z\xc3\xbcrich \x96 SNB</title></item></channel></rss>")
            << QStringList{u"Zürich – SNB |  |  | none"_s};
        QTest::newRow("declared ISO-8859-1 reads as Windows-1252")
            << QByteArray("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><rss><channel><item><title>M\xfcller \x85 \x80 5"
                          "</title></item></channel></rss>")
            << QStringList{u"Müller … € 5 |  |  | none"_s};
        QTest::newRow("declared windows-1252, single quotes")
            << QByteArray("<?xml version='1.0' encoding = 'windows-1252' ?><rss><channel><item><title>Fed\x92s"
                          "</title></item></channel></rss>")
            << QStringList{u"Fed’s |  |  | none"_s};
        QTest::newRow("byte order mark overrides a Latin-1 label")
            << QByteArray("\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><rss><channel><item><title>"
                          "Z\xc3\xbcrich</title></item></channel></rss>")
            << QStringList{u"Zürich |  |  | none"_s};
        QTest::newRow("UTF-16 with byte order mark")
            << utf16WithMark(u"<?xml version=\"1.0\" encoding=\"UTF-16\"?><rss><channel><item><title>Zürich</title>"
                             "</item></channel></rss>"_s)
            << QStringList{u"Zürich |  |  | none"_s};
        // Bad input ends the document; what came before stays.
        QTest::newRow("declared UTF-8, an invalid byte after two items")
            << rss(one + "<item><title>Two</title></item><item><title>Caf\xe9</title></item><item><title>Later</title></item>")
            << QStringList{onlyOne[0], u"Two |  |  | none"_s};
        QTest::newRow("cut off mid-item") << QByteArray("<rss><channel>" + one + "<item><title>Two</title><li") << onlyOne;
        QTest::newRow("mismatched tag after the first item")
            << QByteArray("<rss><channel>" + one + "<item><title>Two</tit></item></channel></rss>") << onlyOne;
        QTest::newRow("empty body") << QByteArray() << QStringList{};
        QTest::newRow("binary garbage") << QByteArray("\x00\xff\xfe<<\x01garbage\x80", 16) << QStringList{};
    }
    void entriesFromDocuments()
    {
        QFETCH(QByteArray, document);
        QFETCH(QStringList, expected);
        QCOMPARE(describe(RSSParser::parse(document)), expected);
    }

    // A byte sequence Qt's decoder rejects costs a body declared UTF-8 the
    // entries from there on, and nothing in an undeclared body, whose bytes
    // outside well-formed UTF-8 read as Windows-1252. Accepting one of these
    // as UTF-8 would lose the whole document.
    void malformedUtf8_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("undeclaredTitle");

        QTest::newRow("overlong, two bytes") << QByteArray("\xC0\xAF") << u"A\u00C0\u00AFB"_s;
        QTest::newRow("overlong, three bytes") << QByteArray("\xE0\x9F\xBF") << u"A\u00E0\u0178\u00BFB"_s;
        QTest::newRow("encoded surrogate") << QByteArray("\xED\xA0\x80") << u"A\u00ED \u20ACB"_s;
        QTest::newRow("beyond U+10FFFF") << QByteArray("\xF4\x90\x80\x80") << u"A\u00F4\u0090\u20AC\u20ACB"_s;
        QTest::newRow("lone continuation byte") << QByteArray("\x80") << u"A\u20ACB"_s;
        QTest::newRow("cut-off sequence") << QByteArray("\xE2\x82") << u"A\u00E2\u201AB"_s;
        QTest::newRow("well-formed emoji before a stray byte") << QByteArray("\xF0\x9F\x98\x80\x96") << u"A😀–B"_s;
    }
    void malformedUtf8()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, undeclaredTitle);
        const QByteArray document = "<rss><channel><item><title>One</title></item><item><title>A" + bytes
            + "B</title></item></channel></rss>";
        const auto titles = [](const QList<RSSEntry> &entries) {
            QStringList result;
            for (const RSSEntry &entry : entries)
                result << entry.title;
            return result;
        };
        QCOMPARE(titles(RSSParser::parse("<?xml version=\"1.0\" encoding=\"utf-8\"?>" + document)), QStringList{u"One"_s});
        QCOMPARE(titles(RSSParser::parse(document)), (QStringList{u"One"_s, undeclaredTitle}));
    }

    // The description is the first element clean() leaves text of; the
    // parser decides that without cleaning, and must decide as clean() would.
    void firstDescriptionWithVisibleText_data()
    {
        QTest::addColumn<QByteArray>("description");
        QTest::addColumn<QString>("expected");

        const QString fallback = u"Fallback"_s;
        QTest::newRow("no-break space reference") << QByteArray("&amp;nbsp; &amp;#160;") << fallback;
        QTest::newRow("em space reference") << QByteArray("&amp;#x2003;") << fallback;
        QTest::newRow("comment") << QByteArray("&lt;!-- visible? --&gt;") << fallback;
        QTest::newRow("NEL reference reads as an ellipsis") << QByteArray("&amp;#133;") << u"…"_s;
        QTest::newRow("escaped ampersand") << QByteArray(" &amp;amp; ") << u"&"_s;
        QTest::newRow("unknown reference") << QByteArray("&amp;bogus;") << u"&bogus;"_s;
        QTest::newRow("zero-width space") << QByteArray("&amp;#8203;") << u"\u200b"_s;
        QTest::newRow("text after a style sheet") << QByteArray("&lt;style&gt;p{}&lt;/style&gt;x") << u"x"_s;
    }
    void firstDescriptionWithVisibleText()
    {
        QFETCH(QByteArray, description);
        const QList<RSSEntry> entries = RSSParser::parse(
            rss("<item><title>T</title><description>" + description + "</description><summary>Fallback</summary></item>"));
        QCOMPARE(entries.size(), 1);
        QTEST(RSSParser::clean(entries[0].descriptionMarkup), "expected");
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
        QCOMPARE(RSSParser::clean(entries.last().descriptionMarkup).size(), 133);
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
        QTest::newRow("script goes with its contents")
            << u"a<script type=\"text/javascript\">if (x < y) go('<b>');</script>b"_s << u"a b"_s;
        QTest::newRow("style in capitals") << u"<STYLE>p { color: red }</Style >Text"_s << u"Text"_s;
        QTest::newRow("comment with markup inside") << u"a<!-- <p>hidden</p> -->b"_s << u"a b"_s;
        QTest::newRow("unclosed comment hides the rest") << u"kept <!-- cut off <b>x</b>"_s << u"kept"_s;
        QTest::newRow("unclosed script hides the rest") << u"kept <script>var a = 1;"_s << u"kept"_s;
        QTest::newRow("script without > is no tag") << u"kept <script"_s << u"kept <script"_s;
        QTest::newRow("<scripts> is an ordinary tag") << u"<scripts>x</scripts>"_s << u"x"_s;
        QTest::newRow("named and numeric references")
            << u"caf&eacute; &Eacute; &#8364;5 &#x2019;&#X2019; &#146; &#128512;"_s << u"café É €5 ’’ ’ 😀"_s;
        QTest::newRow("C1 controls read as Windows-1252") << u"Fed\u0092s \u0096 \u0081"_s << u"Fed’s – \u0081"_s;
        QTest::newRow("references decode once") << u"&amp;amp; &amp;lt;"_s << u"&amp; &lt;"_s;
        QTest::newRow("escaped tags are text after decoding") << u"&lt;b&gt;1 &lt; 2&lt;/b&gt;"_s << u"<b>1 < 2</b>"_s;
        QTest::newRow("decoded no-break spaces fold") << u" &nbsp;a&nbsp;&#160;b&#xA0;"_s << u"a b"_s;
        QTest::newRow("not references")
            << u"AT&T &bogus; &#0; &#xD800; &#x110000; &#123456789; &eacute &#; &"_s
            << u"AT&T &bogus; &#0; &#xD800; &#x110000; &#123456789; &eacute &#; &"_s;
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
        // Forms publishers use beyond those.
        QTest::newRow("iso without seconds, Z") << u"2024-05-03T14:20Z"_s << at1420;
        QTest::newRow("iso without seconds, offset") << u"2024-05-03T16:20+02:00"_s << at1420;
        QTest::newRow("iso without seconds, basic offset") << u"2024-05-03T09:20-0500"_s << at1420;
        QTest::newRow("two-digit year") << u"Thu, 07 Dec 17 10:00:00 GMT"_s << test::utc(2017, 12, 7, 10);
        QTest::newRow("two-digit year 49, no weekday") << u"01 Jan 49 00:00:00 +0000"_s << test::utc(2049, 1, 1);
        QTest::newRow("two-digit year 50, no seconds") << u"Sun, 01 Jan 50 00:00 GMT"_s << test::utc(1950, 1, 1);
        QTest::newRow("zone UT") << u"Fri, 03 May 2024 14:20:00 UT"_s << at1420;
        QTest::newRow("zone EDT") << u"Fri, 03 May 2024 10:20:00 EDT"_s << at1420;
        QTest::newRow("zone PST") << u"Fri, 03 May 2024 06:20:00 PST"_s << at1420;
        QTest::newRow("military zone reads as UTC") << u"Fri, 03 May 2024 14:20:00 A"_s << at1420;
        QTest::newRow("military Z") << u"03 May 2024 14:20:00 Z"_s << at1420;
        // Where reading by hand could part ways with the patterns.
        QTest::newRow("weekday that does not fit the date") << u"Thu, 03 May 2024 14:20:00 +0000"_s << at1420;
        QTest::newRow("names in any letter case") << u"fri, 03 MAY 2024 14:20:00 gmt"_s << at1420;
        QTest::newRow("EST in summer is -0500") << u"Fri, 03 May 2024 09:20:00 EST"_s << at1420;
        QTest::newRow("CST of 1936 is Chicago's Eastern time")
            << u"Mon, 01 Jun 1936 12:00:00 CST"_s << test::utc(1936, 6, 1, 17);
        QTest::newRow("offset +2359") << u"Fri, 03 May 2024 14:20:00 +2359"_s << test::utc(2024, 5, 2, 14, 21);
        QTest::newRow("nine fraction digits, cut to milliseconds")
            << u"2024-05-03T14:20:00.123987654Z"_s << utcMs(14, 20, 0, 123);
        QTest::newRow("fraction with a leading zero") << u"2024-05-03T14:20:00.05Z"_s << utcMs(14, 20, 0, 50);
        QTest::newRow("Julian calendar before 1582")
            << u"Thu, 03 May 1500 12:00:00 +0000"_s << test::utc(1500, 5, 13, 12);
        if (QTimeZone::systemTimeZone().id() == "Europe/Berlin") {
            QTest::newRow("local time the clock skips") << u"2024-03-31 02:30:00"_s << QDateTime();
            QTest::newRow("repeated local time is the later one")
                << u"2024-10-27 02:30:00"_s << test::utc(2024, 10, 27, 1, 30);
        }
        // Not dates.
        QTest::newRow("one-digit day without seconds") << u"Fri, 3 May 2024 14:20 +0000"_s << QDateTime();
        QTest::newRow("no 29 February in 2100") << u"Mon, 29 Feb 2100 12:00:00 +0000"_s << QDateTime();
        QTest::newRow("hour 24") << u"Fri, 03 May 2024 24:00:00 +0000"_s << QDateTime();
        QTest::newRow("J is no zone") << u"Fri, 03 May 2024 14:20:00 J"_s << QDateTime();
        QTest::newRow("iso without seconds or zone") << u"2024-05-03T14:20"_s << QDateTime();
        QTest::newRow("iso without seconds, hour 25") << u"2024-05-03T25:20Z"_s << QDateTime();
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
