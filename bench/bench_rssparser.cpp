// Feed parsing throughput on the simulator's 22 feeds: the bare XML reader,
// the RSS parser on top of it, and the whole worker step of a feed (parse,
// hash, score). Then the cost of one date per shape the feeds use.

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

qsizetype feedDigest(const QByteArray &body)
{
    const DigestRules rules{QDateTime(QDate(2024, 5, 3), QTime(14, 20), QTimeZone::utc()), 24, 1};
    return digestFeed(body, rules, {}).candidates.size();
}

void reportCorpus(const char *name, const QList<QByteArray> &bodies)
{
    qsizetype bytes = 0;
    for (const QByteArray &body : bodies)
        bytes += body.size();
    qsizetype elements = 0, entries = 0, candidates = 0;
    const double bare = throughput(bodies, bareReader, &elements);
    const double parser = throughput(bodies, rssParser, &entries);
    const double digest = throughput(bodies, feedDigest, &candidates);
    std::printf("%s: 22 feeds, %.0f kB, %lld entries\n", name, bytes / 1e3, qlonglong(entries));
    std::printf("  bare QXmlStreamReader pass   %7.1f MB/s (%lld elements)\n", bare, qlonglong(elements));
    std::printf("  RSSParser::parse             %7.1f MB/s (%.0f%% of the bare pass)\n", parser, 100 * parser / bare);
    std::printf("  digestFeed (parse+hash+score)%7.1f MB/s, %lld candidates\n", digest, qlonglong(candidates));
}

void reportDates()
{
    const QStringList samples{
        u"2024-05-03T14:20:00.123Z"_s,        // ISO with fraction: first form
        u"2024-05-03T14:20:00+02:00"_s,       // ISO: second form
        u"Fri, 03 May 2024 14:20:00 +0000"_s, // pattern 1
        u"Fri, 03 May 2024 14:20:00 GMT"_s,   // pattern 2 (or 1)
        u"Fri,  3 May 2024 14:20:00 GMT"_s,   // two blanks
        u"2024-05-03 14:20:00"_s,             // pattern 14, local time
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
    reportDates();
    return 0;
}
