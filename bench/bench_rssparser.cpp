// Feed parsing throughput on the simulator's 22 feeds and on feeds shaped
// like large publishers' (CDATA, HTML entities, scripts in descriptions,
// xhtml Atom, an undeclared Latin-1 body): the bare XML reader, the RSS
// parser on top of it, and the whole worker step of a feed (parse, hash,
// clean, score), once with every entry new and once with every entry known,
// as on most polls. Then the cost of one date per shape the feeds use.

#include "NewsFeeds.h"
#include "sources/FeedDigest.h"
#include "sources/RSSParser.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimeZone>
#include <QUrl>
#include <QXmlStreamReader>

#include <cstdio>
#include <functional>

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

QList<QByteArray> corpus(int itemsPerFeed)
{
    sim::SimulatorOptions options;
    options.now = [] { return QDateTime(QDate(2024, 5, 3), QTime(14, 20), QTimeZone::utc()); };
    sim::NewsFeeds feeds(options);
    feeds.setItemsPerFeed(itemsPerFeed);
    QList<QByteArray> bodies;
    for (const QString &target : sim::NewsFeeds::targets()) {
        const QUrl url(u"http://127.0.0.1"_s + target);
        bodies << feeds.reply(url.path(), url.query(QUrl::FullyEncoded)).body;
    }
    return bodies;
}

// Megabytes per second of `pass` over all bodies, repeated for at least a second.
double throughput(const QList<QByteArray> &bodies, const std::function<qsizetype(const QByteArray &)> &pass,
                  qsizetype *itemsSeen)
{
    qsizetype bytes = 0;
    for (const QByteArray &body : bodies)
        bytes += body.size();
    QElapsedTimer timer;
    timer.start();
    int rounds = 0;
    *itemsSeen = 0;
    while (rounds < 5 || timer.elapsed() < 1000) {
        for (const QByteArray &body : bodies)
            *itemsSeen += pass(body);
        ++rounds;
    }
    *itemsSeen /= rounds;
    return double(bytes) * rounds / (timer.nsecsElapsed() / 1e9) / 1e6;
}

qsizetype bareReader(const QByteArray &body)
{
    QXmlStreamReader xml(body);
    xml.setNamespaceProcessing(false);
    qsizetype elements = 0;
    while (!xml.atEnd())
        elements += xml.readNext() == QXmlStreamReader::StartElement;
    return elements;
}

qsizetype rssParser(const QByteArray &body)
{
    return RSSParser::parse(body).size();
}

// Publishers' shapes, 100 items per body.
QList<QByteArray> publisherShapes()
{
    QByteArray cdata = "\xEF\xBB\xBF\n<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><channel>"
                       "<title><![CDATA[World news]]></title>";
    QByteArray xhtml = "<?xml version=\"1.0\"?><feed xmlns=\"http://www.w3.org/2005/Atom\"><title>Blog</title>";
    QByteArray latin1 = "<rss><channel><title>March\xe9s</title>";
    for (int i = 0; i < 100; ++i) {
        const QByteArray n = QByteArray::number(i);
        cdata += "<item><title><![CDATA[Oil jumps as OPEC+ extends cuts &ndash; Brent&rsquo;s week " + n
            + "]]></title><description><![CDATA[<p>Brent crude rose 4% to $88 a barrel after the group said it would "
              "keep output curbs in place.</p><!-- ad slot --><script>window.track('" + n
            + "');</script><img src=\"https://example.com/i/" + n + ".jpg\" width=\"976\"/>]]></description>"
              "<link>https://example.com/news/" + n + "</link><guid isPermaLink=\"false\">n-" + n + "</guid>"
              "<pubDate>Fri, 03 May 2024 14:" + QByteArray::number(10 + i % 50) + ":00 GMT</pubDate></item>";
        xhtml += "<entry><title type=\"html\">Rates on hold &amp;amp; the dollar #" + n + "</title>"
                 "<link rel=\"replies\" href=\"https://example.com/c/" + n + "\"/><link rel=\"self\" "
                 "href=\"https://example.com/s/" + n + "\"/><link rel=\"alternate\" href=\"https://example.com/a/" + n
            + "\"/><updated>2024-05-03T14:20Z</updated><content type=\"xhtml\"><div xmlns=\"http://www.w3.org/1999/"
              "xhtml\"><p>The central bank kept its key rate at <b>5.25%</b>; traders now price two cuts.</p></div>"
              "</content></entry>";
        latin1 += "<item><title>Z\xfcrich: SNB h\xe4lt an \x93" "Franken\x94 fest " + n + "</title><link>https://example.com/l/"
            + n + "</link><description>Die Notenbank&#146;s Entscheid &amp;nbsp;\x96 erwartet.</description>"
              "<pubDate>Fri, 03 May 24 14:20:00 +0200</pubDate></item>";
    }
    return {cdata + "</channel></rss>", xhtml + "</feed>", latin1 + "</channel></rss>"};
}

const DigestRules &digestRules()
{
    static const DigestRules rules{QDateTime(QDate(2024, 5, 3), QTime(14, 20), QTimeZone::utc()), 24, 1};
    return rules;
}

qsizetype feedDigest(const QByteArray &body)
{
    return digestFeed(body, digestRules(), {}).candidates.size();
}

// The hashes of every candidate of `bodies`, as the news service knows them after the first poll.
QSet<QString> knownHashes(const QList<QByteArray> &bodies)
{
    QSet<QString> hashes;
    for (const QByteArray &body : bodies) {
        for (const NewsCandidate &candidate : digestFeed(body, digestRules(), {}).candidates)
            hashes.insert(candidate.hash);
    }
    return hashes;
}

void reportCorpus(const char *name, const QList<QByteArray> &bodies)
{
    qsizetype bytes = 0;
    for (const QByteArray &body : bodies)
        bytes += body.size();
    qsizetype elements = 0, entries = 0, candidates = 0, left = 0;
    const double bare = throughput(bodies, bareReader, &elements);
    const double parser = throughput(bodies, rssParser, &entries);
    const double digest = throughput(bodies, feedDigest, &candidates);
    const QSet<QString> known = knownHashes(bodies);
    const auto knownDigest = [&](const QByteArray &body) {
        return digestFeed(body, digestRules(), known).candidates.size();
    };
    const double repeated = throughput(bodies, knownDigest, &left);
    std::printf("%s: %lld feeds, %.0f kB, %lld entries\n", name, qlonglong(bodies.size()), bytes / 1e3,
                qlonglong(entries));
    std::printf("  bare QXmlStreamReader pass   %7.1f MB/s (%lld elements)\n", bare, qlonglong(elements));
    std::printf("  RSSParser::parse             %7.1f MB/s (%.0f%% of the bare pass)\n", parser, 100 * parser / bare);
    std::printf("  digestFeed, all entries new  %7.1f MB/s, %lld candidates\n", digest, qlonglong(candidates));
    std::printf("  digestFeed, all entries known%7.1f MB/s, %lld candidates\n", repeated, qlonglong(left));
}

void reportDates()
{
    const QStringList samples{
        u"2024-05-03T14:20:00.123Z"_s,        // ISO with fraction: first form
        u"2024-05-03T14:20:00+02:00"_s,       // ISO: second form
        u"Fri, 03 May 2024 14:20:00 +0000"_s, // pattern 1
        u"Fri, 03 May 2024 14:20:00 GMT"_s,   // pattern 2 (or 1)
        u"Fri,  3 May 2024 14:20:00 GMT"_s,   // two blanks
        u"Fri, 03 May 2024 10:20:00 EDT"_s,   // American zone name
        u"2024-05-03 14:20:00"_s,             // pattern 14, local time
        u"2024-05-03"_s,                      // local midnight
        u"2024-05-03T14:20Z"_s,               // ISO without seconds
        u"Thu, 07 Dec 17 10:00:00 GMT"_s,     // two-digit year
        u"Fri, 03 May 2024 14:20:00 A"_s,     // military zone letter
        u"Fri, 03 May 2024 14:20:00 CET"_s,   // a name ICU does not read: every pattern fails
        u"Fri, 3 May 2024 14:20:00 GMT+1"_s,  // read by the patterns only
        u"not a date at all"_s,               // every pattern fails
    };
    std::printf("parseDate, per call (after the formatters are cached):\n");
    for (const QString &sample : samples) {
        RSSParser::parseDate(sample);
        constexpr int calls = 20'000;
        QElapsedTimer timer;
        timer.start();
        int parsed = 0;
        for (int i = 0; i < calls; ++i)
            parsed += RSSParser::parseDate(sample).has_value();
        std::printf("  %-34s %6.2f us%s\n", qPrintable(u'"' + sample + u'"'), timer.nsecsElapsed() / 1e3 / calls,
                    parsed ? "" : " (no date)");
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    reportCorpus("usual feed sizes (15-100 items)", corpus(0));
    reportCorpus("100 items per feed", corpus(100));
    reportCorpus("publishers' shapes, 100 items each", publisherShapes());
    reportDates();
    return 0;
}
