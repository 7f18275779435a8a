// kalvo-sim: serves simulated market sources on a loopback port until stopped.
#include "FaultOption.h"
#include "MarketSimulator.h"
#include "NewsFeeds.h"
#include "PublicationLog.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QUrl>
#include <QDateTime>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(u"Simulated news feeds, prices and calendar for Kalvo."_s);
    parser.addHelpOption();
    const QCommandLineOption portOption(u"port"_s, u"Port on 127.0.0.1 (0: any free port)."_s, u"port"_s, u"8080"_s);
    const QCommandLineOption seedOption(u"seed"_s, u"Seed of the generated data."_s, u"seed"_s, u"20240503"_s);
    const QCommandLineOption rateOption(u"news-per-minute"_s, u"New headlines per minute."_s, u"rate"_s, u"4"_s);
    const QCommandLineOption faultOption(
        u"fault"_s,
        u"Make one path misbehave: KIND[:NUMBER]@PATH, e.g. status:429@/ff_calendar_nextweek.json or "
        "hang@/feed/news/. Kinds: %1. Repeatable."_s.arg(kalvo::sim::faultOptionKinds()),
        u"fault"_s);
    const QCommandLineOption itemsOption(u"items-per-feed"_s,
                                         u"Items each news feed lists (0: each feed's usual 15 to 100)."_s, u"count"_s,
                                         u"0"_s);
    const QCommandLineOption wordsOption(
        u"description-words"_s,
        u"Pad every item's description with neutral sentences to about this many words (0: as written)."_s,
        u"words"_s, u"0"_s);
    const QCommandLineOption logOption(
        u"log-published"_s,
        u"Print \"published <UTC time, ISO 8601 with milliseconds> <link>\" on standard output as each headline "
          "comes out, one flushed line each."_s);
    const QCommandLineOption frozenOption(
        u"frozen"_s, u"Stop the simulator's clock when it starts: nothing is published and no price moves."_s);
    parser.addOptions(
        {portOption, seedOption, rateOption, itemsOption, wordsOption, logOption, frozenOption, faultOption});
    parser.process(app);

    kalvo::sim::SimulatorOptions options;
    options.seed = parser.value(seedOption).toULongLong();
    options.newsPerMinute = parser.value(rateOption).toDouble();
    if (parser.isSet(frozenOption))
        options.now = [start = QDateTime::currentDateTimeUtc()] { return start; };
    kalvo::sim::MarketSimulator simulator(options);
    simulator.news().setItemsPerFeed(std::max(0, parser.value(itemsOption).toInt()));
    simulator.news().setDescriptionWords(std::max(0, parser.value(wordsOption).toInt()));
    for (const QString &text : parser.values(faultOption)) {
        const std::optional<kalvo::sim::FaultOption> fault = kalvo::sim::parseFaultOption(text);
        if (!fault) {
            std::fprintf(stderr, "kalvo-sim: cannot read --fault %s\n", qPrintable(text));
            return 2;
        }
        simulator.server().setFault(fault->target, fault->fault);
    }
    // Stopped, the feeds never change: render each once now, so that every
    // request is answered from the cache like a publisher's.
    if (parser.isSet(frozenOption)) {
        for (const QString &target : kalvo::sim::NewsFeeds::targets()) {
            const QUrl url(target);
            simulator.news().reply(url.path(), url.query(QUrl::FullyEncoded), {});
        }
    }
    const quint16 port = simulator.start(parser.value(portOption).toUShort());
    if (port == 0) {
        std::fprintf(stderr, "kalvo-sim: cannot listen on port %s\n", qPrintable(parser.value(portOption)));
        return 1;
    }
    std::printf("%s", simulator.endpointsJson().constData());
    std::fflush(stdout);
    // Whoever reads the lines times them as they come, so none may wait in a buffer.
    kalvo::sim::PublicationLog log(simulator.news(), options.now, [](const kalvo::sim::FeedHeadline &headline) {
        std::printf("%s\n", kalvo::sim::PublicationLog::line(headline).constData());
        std::fflush(stdout);
    });
    if (parser.isSet(logOption))
        log.start();
    return app.exec();
}
