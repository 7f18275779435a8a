#include "../TestSupport.h"

#include "MarketEvents.h"
#include "MarketSimulator.h"
#include "NewsFeeds.h"
#include "PriceQuotes.h"
#include "PublicationLog.h"
#include "sources/MarketHttp.h"
#include "sources/RSSParser.h"

#include <QHash>
#include <QLocale>
#include <QRegularExpression>
#include <QSet>
#include <QUrl>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

// NewsFeeds keeps a reference to its options: keep them alive beside it.
sim::SimulatorOptions optionsAt(const QDateTime *now, quint64 seed = 20240503, double newsPerMinute = 4)
{
    sim::SimulatorOptions options;
    options.seed = seed;
    options.newsPerMinute = newsPerMinute;
    options.now = [now] { return *now; };
    return options;
}

// A price as the headlines write it: two decimals for yen pairs, else four.
QString level(const sim::PriceQuotes &quotes, const QString &pair, const QDateTime &instant)
{
    const QString ticker = QString(pair).remove(u'/') + u"=X"_s;
    return QString::number(quotes.lastPrice(ticker, instant).value_or(0), 'f', pair.endsWith(u"JPY"_s) ? 2 : 4);
}

// The first release of `title` for `currency` after May 1, 2024.
std::optional<sim::MarketEvent> firstRelease(quint64 seed, const QString &title, const QString &currency)
{
    const QDateTime from = test::utc(2024, 5, 1);
    for (const sim::MarketEvent &event : sim::MarketEvents::releasedBetween(seed, from, from.addDays(140))) {
        if (event.title == title && event.currency == currency)
            return event;
    }
    return std::nullopt;
}

sim::HttpReply fetch(const sim::NewsFeeds &feeds, const QString &target, const QMap<QByteArray, QByteArray> &headers = {})
{
    const QUrl url(u"http://127.0.0.1"_s + target);
    return feeds.reply(url.path(), url.query(QUrl::FullyEncoded), headers);
}

QByteArray httpDate(const QDateTime &instant)
{
    return QLocale::c().toString(instant.toUTC(), u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_s).toLatin1();
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

    // 304 when the client's copy is the feed's current document: by ETag
    // when it sends one, else by date (Last-Modified counts whole seconds,
    // from the newest headline's time). "{etag}" and "{date}" stand for the
    // feed's current validators, "{old etag}" for those of ten minutes and
    // a few headlines before.
    void conditionalRequests_data()
    {
        QTest::addColumn<QByteArray>("ifNoneMatch");
        QTest::addColumn<QByteArray>("ifModifiedSince");
        QTest::addColumn<int>("status");

        const QByteArray none;
        QTest::newRow("unconditional") << none << none << 200;
        QTest::newRow("current ETag") << "{etag}"_ba << none << 304;
        QTest::newRow("current ETag, weak, second in a list") << "{old etag}, W/{etag}"_ba << none << 304;
        QTest::newRow("any ETag") << "*"_ba << none << 304;
        QTest::newRow("ETag of before the feed grew") << "{old etag}"_ba << none << 200;
        QTest::newRow("a stale ETag outweighs the current date") << "{old etag}"_ba << "{date}"_ba << 200;
        QTest::newRow("the current ETag outweighs an old date") << "{etag}"_ba << "{date-1}"_ba << 304;
        QTest::newRow("date of the newest headline") << none << "{date}"_ba << 304;
        QTest::newRow("a second later") << none << "{date+1}"_ba << 304;
        QTest::newRow("a second earlier") << none << "{date-1}"_ba << 200;
        QTest::newRow("unreadable date") << none << "yesterday"_ba << 200;
    }
    void conditionalRequests()
    {
        QDateTime now = test::utc(2024, 5, 3, 14, 20);
        const sim::SimulatorOptions options = optionsAt(&now);
        const sim::NewsFeeds feeds(options);
        const QString target = u"/feed/news/"_s;
        const QByteArray old = fetch(feeds, target).header("ETag");
        now = now.addSecs(600);
        const sim::HttpReply current = fetch(feeds, target);
        QVERIFY(current.header("ETag") != old);
        QDateTime date; // of the feed's newest headline
        for (const sim::FeedHeadline &headline : feeds.headlines(now.addSecs(-3600), now.addMSecs(1)))
            date = headline.feed == target ? headline.published : date;
        const auto fill = [&](QByteArray value) {
            return value.replace("{old etag}", old)
                .replace("{etag}", current.header("ETag"))
                .replace("{date}", httpDate(date))
                .replace("{date+1}", httpDate(date.addSecs(1)))
                .replace("{date-1}", httpDate(date.addSecs(-1)));
        };
        QMap<QByteArray, QByteArray> headers;
        QFETCH(QByteArray, ifNoneMatch);
        QFETCH(QByteArray, ifModifiedSince);
        if (!ifNoneMatch.isEmpty())
            headers.insert("if-none-match", fill(ifNoneMatch));
        if (!ifModifiedSince.isEmpty())
            headers.insert("if-modified-since", fill(ifModifiedSince));
        const sim::HttpReply reply = fetch(feeds, target, headers);
        QTEST(reply.status, "status");
        QCOMPARE(reply.body, reply.status == 304 ? QByteArray() : current.body);
        QCOMPARE(reply.headers, current.headers);
    }

    // Over the wire: gzip for a client that accepts it, the document itself
    // for one that does not; always with Vary. The app's own client asks for
    // it packed and unpacks it (only what it asked for itself).
    void bodiesPackedWhenAccepted_data()
    {
        QTest::addColumn<QByteArray>("acceptEncoding"); // empty: the client's own
        QTest::addColumn<bool>("packed");

        QTest::newRow("the app's client") << QByteArray() << true;
        QTest::newRow("gzip") << "gzip"_ba << true;
        QTest::newRow("gzip preferred less") << "deflate, gzip;q=0.5"_ba << true;
        QTest::newRow("anything") << "*"_ba << true;
        QTest::newRow("gzip refused") << "gzip;q=0, deflate"_ba << false;
        QTest::newRow("deflate only") << "deflate"_ba << false;
    }
    void bodiesPackedWhenAccepted()
    {
        QFETCH(QByteArray, acceptEncoding);
        QFETCH(bool, packed);
        sim::SimulatorOptions options;
        options.now = [] { return test::utc(2024, 5, 3, 14, 20); };
        sim::MarketSimulator simulator(options);
        simulator.news().setItemsPerFeed(10);
        QVERIFY(simulator.start() != 0);
        const QString target = u"/news/business/rss.xml"_s;
        HttpGet get{QUrl(simulator.baseUrl().toString() + target), 5s};
        if (!acceptEncoding.isEmpty())
            get.headers.append({"Accept-Encoding", acceptEncoding});
        MarketHttp http;
        QFuture<HttpResponse> future = http.get(get);
        QVERIFY(QTest::qWaitFor([&] { return future.isFinished(); }, 5000));
        const HttpResponse response = future.result();
        const QByteArray document = simulator.news().reply(target, {}).body;
        QCOMPARE(response.header("Vary"), "Accept-Encoding"_ba);
        QCOMPARE(response.header("Content-Encoding"), packed ? "gzip"_ba : QByteArray());
        if (packed && !acceptEncoding.isEmpty())
            QVERIFY(response.body.startsWith("\x1f\x8b") && response.body.size() < document.size() / 4);
        else
            QCOMPARE(response.body, document);
    }

    // What kalvo-sim --log-published prints: every headline once, as the
    // clock passes its time, with the link its feed lists from then on.
    void publicationLog()
    {
        QDateTime now = test::utc(2024, 5, 3, 14, 20).addSecs(5);
        const sim::SimulatorOptions options = optionsAt(&now);
        const sim::NewsFeeds feeds(options);
        QList<QByteArray> lines;
        sim::PublicationLog log(feeds, options.now, [&](const sim::FeedHeadline &headline) {
            lines.append(sim::PublicationLog::line(headline));
        });
        const QDateTime next = feeds.nextPublication(now);
        now = next.addMSecs(-1);
        log.catchUp();
        QVERIFY(lines.isEmpty()); // what came out before the log began is not told either
        now = next.addSecs(180);
        log.catchUp();
        log.catchUp();

        const QList<sim::FeedHeadline> published = feeds.headlines(next, now.addMSecs(1));
        QCOMPARE(lines.size(), published.size());
        QVERIFY(std::abs(published.size() - 12) <= 1);
        for (qsizetype i = 0; i < lines.size(); ++i) {
            const QList<QByteArray> words = lines[i].split(' ');
            QCOMPARE(words.size(), 3);
            QCOMPARE(words[0], "published"_ba);
            QCOMPARE(words[1], published[i].published.toString(u"yyyy-MM-dd'T'HH:mm:ss.zzz'Z'"_s).toLatin1());
            QVERIFY2(fetch(feeds, published[i].feed).body.contains("<link>" + words[2] + "</link>")
                         || fetch(feeds, published[i].feed).body.contains("href=\"" + words[2] + '"'),
                     lines[i].constData());
        }
    }

    // At the rates the simulator runs with, no title comes back within an
    // hour, whichever feeds carry it; the Google searches' outlet suffix does
    // not make a repeat new. Every slot of the stream publishes one headline.
    void titlesDoNotRepeatWithinAnHour_data()
    {
        QTest::addColumn<double>("newsPerMinute");
        QTest::addColumn<quint64>("seed");
        QTest::addColumn<QDateTime>("from");

        QTest::newRow("demo rate, Wednesday midday") << 4.0 << quint64(20240503) << test::utc(2024, 5, 8, 11);
        QTest::newRow("demo rate, other seed, payrolls Friday") << 4.0 << quint64(7) << test::utc(2024, 5, 10, 11);
        QTest::newRow("one a minute, Asian night") << 1.0 << quint64(99) << test::utc(2024, 5, 14, 1);
    }
    void titlesDoNotRepeatWithinAnHour()
    {
        QFETCH(double, newsPerMinute);
        QFETCH(quint64, seed);
        QFETCH(QDateTime, from);
        const sim::SimulatorOptions options = optionsAt(&m_now, seed, newsPerMinute);
        const sim::NewsFeeds feeds(options);
        const QList<sim::FeedHeadline> headlines = feeds.headlines(from, from.addSecs(3 * 3600));
        QVERIFY(std::abs(headlines.size() - 180 * newsPerMinute) <= 1);
        QHash<QString, QDateTime> lastSeen;
        for (const sim::FeedHeadline &headline : headlines) {
            QVERIFY(headline.title.startsWith(headline.headline));
            const auto seen = lastSeen.constFind(headline.headline);
            QVERIFY2(seen == lastSeen.constEnd() || seen->secsTo(headline.published) >= 3600, qPrintable(headline.headline));
            lastSeen.insert(headline.headline, headline.published);
        }

        // What the app reads: the last hour's items of all 22 documents, each title once.
        m_now = from.addSecs(3 * 3600);
        QSet<QString> titles;
        int items = 0;
        for (const QString &target : sim::NewsFeeds::targets()) {
            for (const RSSEntry &entry : RSSParser::parse(fetch(feeds, target).body)) {
                if (target.startsWith(u"/rss/news.rss"_s) || *entry.published < m_now.addSecs(-3600))
                    continue; // that feed's stamps carry no zone
                titles.insert(target.startsWith(u"/rss/search"_s) ? entry.title.section(u" - "_s, 0, -2) : entry.title);
                ++items;
            }
        }
        QVERIFY(items >= 45 * newsPerMinute);
        QCOMPARE(titles.size(), items);
    }

    // A slot's title depends on the seed and the slot alone, not on where
    // the stream was entered or what the simulator served before.
    void streamReadsTheSameFromAnywhere()
    {
        const QDateTime hour = test::utc(2024, 5, 9, 15);
        const sim::SimulatorOptions options = optionsAt(&m_now), otherSeed = optionsAt(&m_now, 8);
        const sim::NewsFeeds alone(options), travelled(options), other(otherSeed);
        QVERIFY(!travelled.headlines(hour.addDays(-2), hour.addDays(-2).addSecs(600)).isEmpty());
        QVERIFY(!travelled.headlines(hour.addSecs(1800), hour.addSecs(7200)).isEmpty());
        const auto titles = [&](const sim::NewsFeeds &feeds) {
            QStringList result;
            for (const sim::FeedHeadline &headline : feeds.headlines(hour, hour.addSecs(3600)))
                result << headline.title;
            return result;
        };
        const QStringList first = titles(alone);
        QCOMPARE(titles(travelled), first);
        QCOMPARE(titles(alone), first);
        const QStringList differing = titles(other);
        QCOMPARE(differing.size(), first.size());
        QVERIFY(differing != first);
    }

    // Each release of the simulated calendar is reported within a minute:
    // figures with the actual and the forecast, decisions with the rate,
    // statements and speeches by their bank. The report says which way the
    // currency went as the price walk has it jump, and a high-impact release
    // gets the market's reaction a few minutes later, at the pair's level of
    // that moment.
    void releasesAreReported_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("currency");
        QTest::addColumn<QString>("says"); // besides the figures, if any

        QTest::newRow("US payrolls") << u"Non-Farm Employment Change"_s << u"USD"_s << QString();
        QTest::newRow("euro zone inflation") << u"CPI Flash Estimate y/y"_s << u"EUR"_s << QString();
        QTest::newRow("a medium release") << u"Caixin Manufacturing PMI"_s << u"CNY"_s << QString();
        QTest::newRow("a rate decision") << u"Official Bank Rate"_s << u"GBP"_s << u"BoE"_s;
        QTest::newRow("a statement") << u"RBA Rate Statement"_s << u"AUD"_s << u"RBA"_s;
        QTest::newRow("a speech") << u"ECB President Lagarde Speaks"_s << u"EUR"_s << u"Lagarde"_s;
        QTest::newRow("the Fed's statement, in the Fed's own feed") << u"FOMC Statement"_s << u"USD"_s
                                                                    << u"Federal Reserve issues FOMC statement"_s;
    }
    void releasesAreReported()
    {
        QFETCH(QString, title);
        QFETCH(QString, currency);
        QFETCH(QString, says);
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::NewsFeeds feeds(options);
        const sim::PriceQuotes quotes(options);
        const std::optional<sim::MarketEvent> release = firstRelease(options.seed, title, currency);
        QVERIFY(release);

        const QList<sim::FeedHeadline> after = feeds.headlines(release->at, release->at.addSecs(360));
        const auto report = std::find_if(after.cbegin(), after.cend(), [&](const sim::FeedHeadline &headline) {
            return release->hasFigures ? headline.title.contains(release->figure(release->actual))
                                       : headline.title.contains(says);
        });
        QVERIFY2(report != after.cend(), qPrintable(after.value(0).title));
        QVERIFY(report->published <= release->at.addSecs(60));
        if (says.startsWith(u"Federal Reserve"_s))
            QCOMPARE(report->feed, u"/feeds/press_monetary.xml"_s);
        if (release->hasFigures && release->hasForecast && release->spread > 0)
            QVERIFY2(report->title.contains(release->figure(release->forecast)), qPrintable(report->title));
        const QString way = release->tone > 0.15 ? u"firmed"_s : release->tone < -0.15 ? u"eased|softened"_s : QString();
        if (!way.isEmpty())
            QVERIFY2(report->summary.contains(QRegularExpression(way)), qPrintable(report->summary));

        if (!release->isHigh())
            return;
        static const QRegularExpression reaction(u"^([A-Z]{3}/[A-Z]{3}) \\S+ (?:to )?(\\d+\\.\\d+) after"_s);
        const auto reacted = std::find_if(after.cbegin(), after.cend(), [&](const sim::FeedHeadline &headline) {
            return headline.published >= release->at.addSecs(180) && reaction.match(headline.title).hasMatch();
        });
        if (reacted != after.cend()) {
            const QRegularExpressionMatch match = reaction.match(reacted->title);
            QCOMPARE(match.captured(2), level(quotes, match.captured(1), reacted->published));
        } else {
            QVERIFY2(std::any_of(after.cbegin(), after.cend(), [&](const sim::FeedHeadline &headline) {
                         return headline.published >= release->at.addSecs(180) && headline.summary.contains(u" pips since "_s);
                     }),
                     "no reaction headline");
        }
    }

    // Headlines name the instruments the app shows at the levels its price
    // panel shows at that moment, and a pair said to climb or slip did so
    // over the past hour.
    void headlinesAgreeWithPrices()
    {
        const QDateTime from = test::utc(2024, 5, 8, 13);
        const sim::SimulatorOptions options = optionsAt(&m_now);
        const sim::NewsFeeds feeds(options);
        const sim::PriceQuotes quotes(options);
        static const QRegularExpression quoted(u"\\b([A-Z]{3}/[A-Z]{3}) at (\\d+\\.\\d+)"_s);
        static const QRegularExpression moved(u"^([A-Z]{3}/[A-Z]{3}) (climbs|rises|advances|firms|jumps|surges|rallies|"
                                              "edges higher|ticks up|slips|falls|drops|eases|slides|tumbles|sinks|edges "
                                              "lower|ticks down) to (\\d+\\.\\d+)"_s);
        QSet<QString> pairs;
        int levels = 0, moves = 0;
        for (const sim::FeedHeadline &headline : feeds.headlines(from, from.addSecs(3600))) {
            for (const QRegularExpressionMatch &match : quoted.globalMatch(headline.title)) {
                QCOMPARE(match.captured(2), level(quotes, match.captured(1), headline.published));
                pairs.insert(match.captured(1));
                ++levels;
            }
            // A reaction to a release tells the move since the release instead.
            const QRegularExpressionMatch match = moved.match(headline.title);
            if (match.hasMatch() && !headline.title.contains(u" after "_s)) {
                const QString pair = match.captured(1);
                QCOMPARE(match.captured(3), level(quotes, pair, headline.published));
                const QString ticker = QString(pair).remove(u'/') + u"=X"_s;
                const double hourAgo = *quotes.lastPrice(ticker, headline.published.addSecs(-3600));
                const bool up = QStringList{u"climbs"_s, u"rises"_s, u"advances"_s, u"firms"_s, u"jumps"_s, u"surges"_s,
                                            u"rallies"_s, u"edges higher"_s, u"ticks up"_s}
                                    .contains(match.captured(2));
                QVERIFY2(up == (*quotes.lastPrice(ticker, headline.published) >= hourAgo), qPrintable(headline.title));
                ++moves;
            }
        }
        QVERIFY2(levels >= 15 && moves >= 3, qPrintable(u"%1 levels, %2 moves"_s.arg(levels).arg(moves)));
        QVERIFY2(pairs.contains(u"EUR/USD"_s) && pairs.size() >= 4, qPrintable(QStringList(pairs.values()).join(u' ')));
    }
};

QTEST_GUILESS_MAIN(TestNewsFeeds)
#include "tst_newsfeeds.moc"
