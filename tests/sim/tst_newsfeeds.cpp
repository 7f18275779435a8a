#include "../TestSupport.h"

#include "NewsFeeds.h"
#include "sources/RSSParser.h"

#include <QSet>
#include <QUrl>

using namespace kalvo;

namespace {

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

} // namespace

class TestNewsFeeds : public QObject
{
    Q_OBJECT

    QDateTime m_now = test::utc(2024, 5, 3, 14, 20);

private slots:
    // Every feed is a document the parser reads completely: each item with a
    // title, a link and a date no later than now, newest first. The same seed
    // and time give the same bytes, another seed other bytes. At four headlines
    // a minute across all feeds, ten minutes later exactly 40 links are new.
    // A search feed is chosen by its query, wherever "q" stands in it.
    void feedsParseCompletely()
    {
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::SimulatorOptions otherSeed = optionsAt(&m_now, 7);
        const sim::NewsFeeds feeds(options), twin(options), other(otherSeed);
        const QStringList targets = sim::NewsFeeds::targets();
        QCOMPARE(targets.size(), 22);
        QSet<QString> links;
        for (const QString &target : targets) {
            const sim::HttpReply reply = fetch(feeds, target);
            QCOMPARE(reply.status, 200);
            QCOMPARE(reply.body, fetch(twin, target).body);
            QVERIFY(reply.body != fetch(other, target).body);
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
                links.insert(entry.link);
            }
        }
        m_now = m_now.addSecs(600);
        QSet<QString> later;
        for (const QString &target : targets) {
            for (const RSSEntry &entry : RSSParser::parse(fetch(feeds, target).body))
                later.insert(entry.link);
        }
        QCOMPARE((later - links).size(), 40);

        QVERIFY(feeds.reply(u"/rss/search"_s, u"hl=en-US&q=EURUSD"_s).body.contains("<title>&quot;EURUSD"));
        QCOMPARE(feeds.reply(u"/rss/search"_s, u"q=bitcoin"_s).status, 404);
    }
};

QTEST_GUILESS_MAIN(TestNewsFeeds)
#include "tst_newsfeeds.moc"
