#include "../TestSupport.h"

#include "NewsFeeds.h"
#include "sources/RSSParser.h"

#include <QRegularExpression>
#include <QSet>
#include <QUrl>

using namespace kalvo;

namespace {

constexpr int feedCount = 22;

// NewsFeeds keeps a reference to its options: keep them alive beside it.
sim::SimulatorOptions optionsAt(const QDateTime *now, quint64 seed = 20240503)
{
    sim::SimulatorOptions options;
    options.seed = seed;
    options.newsPerMinute = 4;
    options.now = [now] { return *now; };
    return options;
}

sim::HttpReply fetch(const sim::NewsFeeds &feeds, const QString &target)
{
    const QUrl url(u"http://127.0.0.1"_s + target);
    return feeds.reply(url.path(), url.query(QUrl::FullyEncoded));
}

QSet<QString> allLinks(const sim::NewsFeeds &feeds)
{
    QSet<QString> links;
    for (const QString &target : sim::NewsFeeds::targets()) {
        for (const RSSEntry &entry : RSSParser::parse(fetch(feeds, target).body))
            links.insert(entry.link);
    }
    return links;
}

} // namespace

class TestNewsFeeds : public QObject
{
    Q_OBJECT

    QDateTime m_now = test::utc(2024, 5, 3, 14, 20);

private slots:
    void init() { m_now = test::utc(2024, 5, 3, 14, 20); }

    // Every feed is a document the parser reads completely: each item with a
    // title, a link and a date no later than now, newest first. The raw date
    // text shows the publisher's own style, the root element its format, and
    // the item bodies the publisher's way of carrying HTML: escaped, in CDATA
    // (which the parser drops), as content:encoded or double-escaped.
    void feedsParseInTheirOwnShape_data()
    {
        QTest::addColumn<int>("feed");
        QTest::addColumn<QString>("root");
        QTest::addColumn<QString>("dateShape");
        QTest::addColumn<int>("items");
        QTest::addColumn<QString>("bodyShape"); // empty: plain text or none

        const QString rfcOffset = uR"(<pubDate>Fri, 03 May 2024 \d\d:\d\d:\d\d \+0000</pubDate>)"_s;
        const QString rfcGmt = uR"(<pubDate>Fri, 03 May 2024 \d\d:\d\d:\d\d GMT</pubDate>)"_s;
        const QString escaped = uR"(<description>&lt;p&gt;[^<]+&lt;/p&gt;</description>)"_s;
        const QString escapedAndEncoded = escaped + uR"(\s*<content:encoded><!\[CDATA\[<p>[^]]+</p>\]\]></content:encoded>)"_s;
        const QString inCdata = uR"(<description><!\[CDATA\[<p>[^]]+</p>\]\]></description>)"_s;
        const QString doubleEscaped = uR"(<description>&lt;a href=&quot;[^&]+&quot;[^<]+&amp;nbsp;&amp;nbsp;&lt;font)"_s;
        const QString noBody = uR"(</pubDate>\s*</item>)"_s;
        const QList<std::tuple<const char *, QString, QString, int, QString>> rows{
            {"InvestingLive", u"rss"_s, rfcOffset, 50, escapedAndEncoded},
            {"InvestingLive CB", u"rss"_s, rfcOffset, 30, escapedAndEncoded},
            {"FXStreet", u"rss"_s, rfcGmt, 50, escaped},
            {"DailyFX", u"feed"_s, uR"(<updated>2024-05-03T\d\d:\d\d:\d\d\.\d\d\dZ</updated>)"_s, 30,
             uR"(<summary>&lt;p&gt;[^<]+&lt;/p&gt;</summary>)"_s},
            {"ActionForex", u"rss"_s, rfcOffset, 30, inCdata + uR"(\s*<content:encoded><!\[CDATA\[)"_s},
            {"Investing.com", u"rss"_s, uR"(<pubDate>2024-05-03 \d\d:\d\d:\d\d</pubDate>)"_s, 40, noBody},
            {"Google Forex", u"rss"_s, rfcGmt, 100, doubleEscaped},
            {"Google Fed", u"rss"_s, rfcGmt, 100, doubleEscaped},
            {"Google ECB", u"rss"_s, rfcGmt, 100, doubleEscaped},
            {"CNBC Finance", u"rss"_s, rfcGmt, 30, QString()},
            {"NYT Economy", u"rss"_s, rfcOffset, 40, QString()},
            {"BBC Business", u"rss"_s, rfcGmt, 50, inCdata},
            {"Guardian Business", u"rss"_s, uR"(<dc:date>2024-05-03T\d\d:\d\d:\d\dZ</dc:date>)"_s, 40, escaped},
            {"MarketWatch", u"rss"_s, uR"(<pubDate>Fri, 03 May 2024 \d\d:\d\d:\d\d EST</pubDate>)"_s, 30, QString()},
            {"WSJ Markets", u"rss"_s, uR"(<pubDate>Fri, 03 May 2024 \d\d:\d\d:\d\d -0400</pubDate>)"_s, 25, QString()},
            {"Fed Monetary", u"rss"_s, uR"(<pubDate>\w\w\w, \d\d \w\w\w 2024 \d\d:\d\d:\d\d GMT</pubDate>)"_s, 20,
             QString()},
            {"Fed Speeches", u"rss"_s, uR"(<pubDate>\w\w\w, \d\d \w\w\w 2024 \d\d:\d\d \+0000</pubDate>)"_s, 20,
             QString()},
            {"BOJ Updates", u"rdf:RDF"_s, uR"(<dc:date>2024-05-0\dT\d\d:\d\d:\d\d\+09:00</dc:date>)"_s, 20, QString()},
            {"Seeking Alpha", u"rss"_s, uR"(<pubDate>Fri, 03 May 2024 \d\d:\d\d:\d\d -0400</pubDate>)"_s, 40, noBody},
            {"ZeroHedge", u"feed"_s, uR"(<updated>2024-05-03T\d\d:\d\d:\d\d-04:00</updated>)"_s, 25,
             uR"(<summary>&lt;p&gt;[^<]+&lt;/p&gt;</summary>\s*<content><!\[CDATA\[<p>)"_s},
            {"Nasdaq News", u"rss"_s, uR"(<pubDate>Fri,  3 May 2024 \d\d:\d\d:\d\d GMT</pubDate>)"_s, 30, QString()},
            {"Google EURUSD", u"rss"_s, rfcGmt, 100, doubleEscaped},
        };
        QCOMPARE(rows.size(), feedCount);
        for (int i = 0; i < feedCount; ++i) {
            const auto &[name, root, dateShape, items, bodyShape] = rows[i];
            QTest::newRow(name) << i << root << dateShape << items << bodyShape;
        }
    }
    void feedsParseInTheirOwnShape()
    {
        QFETCH(int, feed);
        QFETCH(QString, root);
        QFETCH(QString, dateShape);
        QFETCH(int, items);
        QFETCH(QString, bodyShape);
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::NewsFeeds feeds(options);
        const sim::HttpReply reply = fetch(feeds, sim::NewsFeeds::targets().at(feed));
        QCOMPARE(reply.status, 200);
        const QString body = QString::fromUtf8(reply.body);
        QVERIFY2(body.contains(QRegularExpression(u"<"_s + root + u"[ >]"_s)), qPrintable(body.left(300)));
        QVERIFY2(body.contains(QRegularExpression(dateShape)), qPrintable(body.left(1500)));
        if (!bodyShape.isEmpty())
            QVERIFY2(body.contains(QRegularExpression(bodyShape)), qPrintable(body.left(1500)));

        const QList<RSSEntry> entries = RSSParser::parse(reply.body);
        QCOMPARE(entries.size(), items);
        // Stamps without a zone read back in the machine's zone, shifted; their order still holds.
        const bool zoneless = QTest::currentDataTag() == "Investing.com"_L1;
        std::optional<QDateTime> previous;
        for (const RSSEntry &entry : entries) {
            QVERIFY(!entry.title.isEmpty());
            QVERIFY(entry.link.startsWith(u"https://"_s));
            QVERIFY2(entry.published, qPrintable(entry.title));
            QVERIFY(zoneless || *entry.published <= m_now);
            QVERIFY(!previous || *entry.published <= *previous);
            previous = entry.published;
        }
    }

    void sameSeedAndTimeGiveTheSameBytes()
    {
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::SimulatorOptions otherSeed = optionsAt(&m_now, 7);
        const sim::NewsFeeds feeds(options);
        const sim::NewsFeeds twin(options);
        const sim::NewsFeeds other(otherSeed);
        int differing = 0;
        for (const QString &target : sim::NewsFeeds::targets()) {
            QCOMPARE(fetch(feeds, target).body, fetch(twin, target).body);
            differing += fetch(feeds, target).body != fetch(other, target).body;
        }
        QCOMPARE(differing, feedCount);
    }

    // Four headlines a minute across all feeds: ten minutes later exactly 40
    // links are new, all published within those ten minutes.
    void feedsGrowAtTheConfiguredRate()
    {
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::NewsFeeds feeds(options);
        const QSet<QString> before = allLinks(feeds);
        const QDateTime earlier = m_now;
        m_now = m_now.addSecs(600);
        const QSet<QString> after = allLinks(feeds);
        QCOMPARE((after - before).size(), 40);

        for (const QString &target : sim::NewsFeeds::targets()) {
            for (const RSSEntry &entry : RSSParser::parse(fetch(feeds, target).body)) {
                if (before.contains(entry.link) || target.startsWith(u"/rss/news.rss"_s))
                    continue;
                QVERIFY2(*entry.published > earlier.addSecs(-15) && *entry.published <= m_now,
                         qPrintable(entry.published->toString(Qt::ISODate)));
            }
        }
    }

    void itemsPerFeedCanBeCapped()
    {
        const sim::SimulatorOptions options = optionsAt(&m_now);
        sim::NewsFeeds feeds(options);
        feeds.setItemsPerFeed(3);
        for (const QString &target : sim::NewsFeeds::targets())
            QCOMPARE(RSSParser::parse(fetch(feeds, target).body).size(), 3);
    }

    void searchFeedsAreChosenByQuery_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("channel");
        QTest::newRow("forex") << u"q=forex%20market&hl=en-US"_s << 200 << u"\"forex market\""_s;
        QTest::newRow("EURUSD, other parameters first") << u"hl=en-US&q=EURUSD"_s << 200 << u"\"EURUSD\""_s;
        QTest::newRow("unknown search") << u"q=bitcoin"_s << 404 << QString();
        QTest::newRow("no search") << QString() << 404 << QString();
    }
    void searchFeedsAreChosenByQuery()
    {
        QFETCH(QString, query);
        QFETCH(int, status);
        QFETCH(QString, channel);
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::NewsFeeds feeds(options);
        const sim::HttpReply reply = feeds.reply(u"/rss/search"_s, query);
        QCOMPARE(reply.status, status);
        if (status == 200)
            QVERIFY(QString::fromUtf8(reply.body).contains(u"<title>&quot;"_s + channel.mid(1, channel.size() - 2)));
    }
};

QTEST_GUILESS_MAIN(TestNewsFeeds)
#include "tst_newsfeeds.moc"
