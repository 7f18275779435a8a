// kalvo-sim: serves simulated market sources on a loopback port until stopped.
#include "FaultOption.h"
#include "MarketSimulator.h"

#include <QCommandLineParser>
#include <QCoreApplication>

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
    parser.addOptions({portOption, seedOption, rateOption, faultOption});
    parser.process(app);

    kalvo::sim::SimulatorOptions options;
    options.seed = parser.value(seedOption).toULongLong();
    options.newsPerMinute = parser.value(rateOption).toDouble();
    kalvo::sim::MarketSimulator simulator(options);
    for (const QString &text : parser.values(faultOption)) {
        const std::optional<kalvo::sim::FaultOption> fault = kalvo::sim::parseFaultOption(text);
        if (!fault) {
            std::fprintf(stderr, "kalvo-sim: cannot read --fault %s\n", qPrintable(text));
            return 2;
        }
        simulator.server().setFault(fault->target, fault->fault);
    }
    const quint16 port = simulator.start(parser.value(portOption).toUShort());
    if (port == 0) {
        std::fprintf(stderr, "kalvo-sim: cannot listen on port %s\n", qPrintable(parser.value(portOption)));
        return 1;
    }
    std::printf("%s", simulator.endpointsJson().constData());
    std::fflush(stdout);
    return app.exec();
}
