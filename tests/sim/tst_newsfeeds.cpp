#include "../TestSupport.h"

#include "NewsFeeds.h"
#include "sources/RSSParser.h"

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
    // title, a link and a date no later than now, newest first.
    void feedsParseCompletely()
    {
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::NewsFeeds feeds(options);
        const QStringList targets = sim::NewsFeeds::targets();
        QCOMPARE(targets.size(), feedCount);
        for (const QString &target : targets) {
            const sim::HttpReply reply = fetch(feeds, target);
            QCOMPARE(reply.status, 200);
            const QList<RSSEntry> entries = RSSParser::parse(reply.body);
            QCOMPARE(entries.size(), reply.body.count("</item>") + reply.body.count("</entry>"));
            // Stamps without a zone read back in the machine's zone, shifted; their order still holds.
            const bool zoneless = target.startsWith(u"/rss/news.rss"_s);
            std::optional<QDateTime> previous;
            for (const RSSEntry &entry : entries) {
                QVERIFY2(!entry.title.isEmpty() && entry.link.startsWith(u"https://"_s), qPrintable(target));
                QVERIFY2(entry.published, qPrintable(entry.title));
                QVERIFY(zoneless || *entry.published <= m_now);
                QVERIFY(!previous || *entry.published <= *previous);
                previous = entry.published;
            }
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

    void searchFeedsAreChosenByQuery_data()
    {
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("channel");
        QTest::newRow("forex") << u"q=forex%20market&hl=en-US"_s << 200 << u"\"forex market\""_s;
        QTest::newRow("EURUSD, other parameters first") << u"hl=en-US&q=EURUSD"_s << 200 << u"\"EURUSD\""_s;
        QTest::newRow("unknown search") << u"q=bitcoin"_s << 404 << QString();
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
