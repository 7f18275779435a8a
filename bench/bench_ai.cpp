// Times the AI client's own share of each request: building prompts,
// reading replies, and one model round trip over loopback (token lookup,
// JSON envelope and decoding off the GUI thread), without any model time.

#include "LoopbackServer.h"
#include "ai/BriefingPrompts.h"
#include "ai/ClaudeService.h"
#include "ai/ExtractJson.h"
#include "ai/InstrumentPrompts.h"
#include "ai/NewsPrompts.h"
#include "core/Clock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <cstdio>

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

QList<NewsItem> headlines(int count)
{
    QList<NewsItem> news;
    for (int i = 0; i < count; ++i) {
        NewsItem item;
        item.id = u"n%1"_s.arg(i);
        item.title = u"Dollar slips as Treasury yields ease after softer data #%1"_s.arg(i);
        item.source = u"FXStreet"_s;
        item.content = u"Lagarde: „Die Daten entscheiden.“ "_s.repeated(60);
        item.score = i % 10 + 0.5;
        news.append(item);
    }
    return news;
}

QList<CalendarEvent> events(int count)
{
    QList<CalendarEvent> list;
    for (int i = 0; i < count; ++i) {
        CalendarEvent event;
        event.id = u"e%1"_s.arg(i);
        event.timeDisplay = u"14:30"_s;
        event.currency = u"USD"_s;
        event.impact = CalendarEvent::Impact::High;
        event.event = u"Non-Farm Payrolls"_s;
        list.append(event);
    }
    return list;
}

template<typename Work>
void report(const char *what, int runs, Work work)
{
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < runs; ++i)
        work(i);
    const double micros = double(timer.nsecsElapsed()) / 1000.0 / runs;
    std::printf("%-52s %10.1f µs  (%d runs)\n", what, micros, runs);
}

const QString deepReply = uR"({"summary":"Die EZB signalisiert weitere Senkungen.","score":8,
"pairs":{"EUR/USD":{"direction":"bearish","reasoning":"Zinsdifferenz wächst","move_pips":"30-50","probability":70},
"EUR/JPY":{"direction":"bearish","reasoning":"Risikoaversion","move_pips":"40-60","probability":60}},
"strategy":{"bias":"Short EUR/USD","entry":"1.0855","stop":"1.0890","target":"1.0780"},
"macro":"Divergenz der Notenbanken.","risks":["Starke US-Daten","Hawkishe EZB-Mitglieder"],"watch_next":"US-CPI"})"_s;

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    qputenv("KALVO_BACKEND_TOKEN", "bench-token");

    const QList<NewsItem> news = headlines(200);
    const QList<CalendarEvent> calendar = events(200);
    const MarketStatus open = MarketStatus::status(QDateTime(QDate(2024, 5, 8), QTime(10, 0), QTimeZone::utc()));

    report("quick prompt (2000-character content, cut)", 20'000,
           [&](int i) { (void)NewsPrompts::quickScoring(news.at(i % news.size())); });
    report("briefing prompt (200 headlines, 200 events)", 20'000,
           [&](int) { (void)BriefingPrompts::openMarketBriefing(open, news, calendar); });
    report("instrument prompt (200 headlines, 200 events)", 20'000, [&](int) {
        (void)InstrumentPrompts::instrumentAnalysis(u"EUR/USD"_s, news, calendar, 1.085512, -0.4567);
    });
    const QString fenced = u"```json\n"_s + deepReply + u"\n```"_s;
    report("parse deep reply in a code fence", 20'000, [&](int) { (void)NewsPrompts::parseAnalysis(fenced); });
    const QString huge = u"```json\n{\"summary\":\""_s + QString(1024 * 1024, u'x') + u"\"}\n```"_s;
    report("extract JSON from a 1 MB reply", 50, [&](int) { (void)extractJSON(huge); });

    sim::LoopbackServer backend;
    if (backend.start() == 0)
        return 1;
    const QByteArray reply =
        QJsonDocument(QJsonObject{{"ok", true}, {"text", deepReply}}).toJson(QJsonDocument::Compact);
    backend.route(u"/_functions/aiClaude"_s, [&](const sim::RecordedRequest &) { return sim::HttpReply{200, "application/json", reply}; });
    // Virtual time two seconds apart per request keeps the limiter of 40 per
    // minute from sleeping; the network itself runs in real time.
    ManualClock clock(QDateTime::currentDateTimeUtc());
    ClaudeService service(QUrl(backend.baseUrl().toString() + u"/_functions"_s), clock);
    int failures = 0;
    report("callModel round trip over loopback", 500, [&](int) {
        const ModelReply answer = QCoro::waitFor(service.callModel(u"claude-opus-4-5"_s, u"ping"_s, 10));
        failures += answer.isSuccess() ? 0 : 1;
    });
    report("deep analysis over loopback (request + parse)", 500,
           [&](int i) {
               clock.setNow(clock.now().addSecs(2));
               failures += QCoro::waitFor(service.analyzeNewsDetail(news.at(i % news.size()))) ? 0 : 1;
           });
    std::printf("failed requests: %d\n", failures);
    return failures == 0 ? 0 : 1;
}
