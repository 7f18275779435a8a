#include "../TestSupport.h"

#include "CalendarFeed.h"
#include "LoopbackServer.h"
#include "MarketSimulator.h"
#include "core/Clock.h"
#include "sources/CalendarParsing.h"
#include "sources/CalendarService.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTemporaryFile>
#include <QTimer>

#include <ctime>
#include <unistd.h>
#include <memory>
#include <optional>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

using Week = sim::CalendarFeed::Week;
using Body = sim::CalendarFeed::Body;
using Kind = sim::Fault::Kind;

// Wednesday 10:00 UTC, 12:00 in Berlin.
const QDateTime wednesday = test::utc(2024, 5, 8, 10);
const QString thisWeekPath = sim::CalendarFeed::thisWeekPath;
const QString nextWeekPath = sim::CalendarFeed::nextWeekPath;

template<typename Predicate>
bool waitUntil(Predicate done, std::chrono::milliseconds limit = 5s)
{
    QTimer guard;
    guard.setSingleShot(true);
    guard.start(limit);
    while (!done()) {
        if (!guard.isActive())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

// A loopback port nobody listens on: connections are refused at once.
QString deadUrl(const QString &path)
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return u"http://127.0.0.1:%1"_s.arg(probe.serverPort()) + path;
}

sim::Fault status(int code) { return {Kind::Status, code, 0}; }
sim::Fault kind(Kind kind, int delayMs = 0) { return {kind, 0, delayMs}; }

// Routes `path` of a scripted server to `events`, with the status `*status` if given.
void serve(sim::LoopbackServer &server, const QString &path, const QJsonArray &events, const int *status = nullptr)
{
    server.route(path, [events, status](const sim::RecordedRequest &) {
        return sim::HttpReply{status ? *status : 200, "application/json", QJsonDocument(events).toJson()};
    });
}

QJsonObject entry(const QString &title, const QJsonValue &date, const QString &time = {})
{
    QJsonObject object{{u"title"_s, title}, {u"country"_s, u"USD"_s}, {u"impact"_s, u"High"_s}, {u"date"_s, date}};
    if (!time.isEmpty())
        object.insert(u"time"_s, time);
    return object;
}

QStringList titlesOf(const QList<CalendarEvent> &events)
{
    QStringList result;
    for (const CalendarEvent &event : events)
        result << event.event;
    return result;
}

// A calendar service on a manual clock, reading the market simulator (or a
// scripted server), with its log captured unless it should print it.
struct HarnessOptions
{
    sim::LoopbackServer *scripted = nullptr;
    bool thisWeekUnreachable = false;
    bool nextWeekUnreachable = false;
    bool standardOutput = false;
};

class Harness
{
public:
    using Options = HarnessOptions;

    explicit Harness(const Options &options = {}) : clock(wednesday)
    {
        QUrl base;
        if (options.scripted) {
            base = options.scripted->baseUrl();
        } else {
            sim::SimulatorOptions simulation;
            simulation.now = [this] { return clock.now(); };
            simulator = std::make_unique<sim::MarketSimulator>(simulation);
            simulator->start();
            base = simulator->baseUrl();
        }
        QJsonObject addresses{{u"base"_s, base.toString()}};
        if (options.thisWeekUnreachable)
            addresses.insert(u"calendar.this_week"_s, deadUrl(thisWeekPath));
        if (options.nextWeekUnreachable)
            addresses.insert(u"calendar.next_week"_s, deadUrl(nextWeekPath));
        QStringList problems;
        const Endpoints endpoints = Endpoints::fromJson(compactJson(addresses), &problems);
        thisWeek = endpoints.url(u"calendar.this_week"_s);
        nextWeek = endpoints.url(u"calendar.next_week"_s);
        service = std::make_unique<CalendarService>(Config{}, endpoints, clock);
        service->setRequestTimeout(150ms);
        if (!options.standardOutput)
            service->setLogSink([this](const QString &line) { lines << line; });
    }

    void start()
    {
        task.emplace(service->run([this](const QList<CalendarEvent> &events) { deliveries.append(events); }));
    }

    int cyclesEnded() const
    {
        return int(std::count_if(lines.begin(), lines.end(), [](const QString &l) { return l.contains(u"Nächster Fetch in"_s); }));
    }

    // Runs until the service has logged the end of one more cycle, letting
    // the clock through its retry pauses (the only pauses inside a cycle).
    bool finishCycle(int target = -1)
    {
        if (target < 0)
            target = cyclesEnded() + 1;
        QTimer guard;
        guard.setSingleShot(true);
        guard.start(5s);
        while (cyclesEnded() < target) {
            if (!guard.isActive())
                return false;
            if (clock.pendingSleepers() > 0)
                clock.advance(1s);
            else
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return true;
    }

    // A cycle may run to its end inside advance() when it needs no network.
    bool nextCycle(Clock::Duration pause)
    {
        const int target = cyclesEnded() + 1;
        clock.advance(pause);
        return finishCycle(target);
    }

    // The log without its "[time] [Calendar] " prefix, sources named {this} and {next}.
    QStringList messages() const
    {
        static const QRegularExpression prefix(u"^\\[\\d\\d:\\d\\d:\\d\\d\\] \\[Calendar\\] "_s);
        QStringList result;
        for (QString line : lines)
            result << line.remove(prefix).replace(thisWeek, u"{this}"_s).replace(nextWeek, u"{next}"_s);
        return result;
    }

    QJsonArray served(Week week) const
    {
        return QJsonDocument::fromJson(simulator->calendar().served(week, clock.now())).array();
    }
    sim::LoopbackServer &server() { return simulator->server(); }

    ManualClock clock;
    std::unique_ptr<sim::MarketSimulator> simulator;
    std::unique_ptr<CalendarService> service;
    std::optional<QCoro::Task<>> task;
    QString thisWeek;
    QString nextWeek;
    QStringList lines;
    QList<QList<CalendarEvent>> deliveries;
};

int titled(const QJsonArray &entries)
{
    return int(std::count_if(entries.begin(), entries.end(), [](const QJsonValue &entry) {
        const QJsonValue title = entry.toObject().value(u"title"_s);
        return title.isString() && !title.toString().isEmpty();
    }));
}

QStringList threeAttempts(const QString &source, const QString &outcome)
{
    QStringList lines;
    for (int attempt = 1; attempt <= 3; ++attempt)
        lines << u"Source %1 Versuch %2 %3"_s.arg(source).arg(attempt).arg(outcome);
    return lines;
}

QStringList givenUp(const QString &source, const QString &firstCooldown)
{
    QStringList lines;
    if (!firstCooldown.isEmpty())
        lines << u"Cooldown gesetzt für %1: %2"_s.arg(source, firstCooldown);
    lines << u"Cooldown gesetzt für %1: %2s (status=n/a, fail=%3)"_s.arg(source).arg(firstCooldown.isEmpty() ? 120 : 240).arg(firstCooldown.isEmpty() ? 1 : 2)
          << u"✗ Source dauerhaft fehlgeschlagen: "_s + source;
    return lines;
}

struct FaultAt
{
    QString path;
    sim::Fault fault;
};

} // namespace

Q_DECLARE_METATYPE(QList<FaultAt>)

class TestCalendarService : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        // Local times in expectations are Berlin's, also when run outside CTest.
        qputenv("TZ", "Europe/Berlin");
        tzset();
    }

    void oneCycle_data()
    {
        QTest::addColumn<QList<FaultAt>>("faults");
        QTest::addColumn<bool>("untitled"); // both files hold entries without titles
        QTest::addColumn<QStringList>("sources"); // the weeks that deliver: "this", "next"
        QTest::addColumn<QStringList>("expected"); // {n:this}, {raw}, {stored}, {up} filled in by the test

        const QStringList opening{u"→ Calendar loop gestartet"_s, u"→ Fetch gestartet"_s};
        const QString thisOk = u"Source {this} Versuch 1 ok: {n:this} Events"_s;
        const QString nextOk = u"Source {next} Versuch 1 ok: {n:next} Events"_s;
        const QString twoOfTwo = u"Quellen erfolgreich: 2/2, Raw-Events: {raw}"_s;
        const QStringList success{u"✓ Fetch erfolgreich: gespeichert={stored}, upcoming(48h)={up}"_s,
                                  u"Nächster Fetch in 1800s (success=true)"_s};
        const QStringList both{u"this"_s, u"next"_s};
        const auto thisFails = [&](const QString &outcome, const QString &firstCooldown) {
            return opening + threeAttempts(u"{this}"_s, outcome) + givenUp(u"{this}"_s, firstCooldown)
                 + QStringList{nextOk, u"Quellen erfolgreich: 1/2, Raw-Events: {raw}"_s} + success;
        };
        const auto thisFault = [](const sim::Fault &fault) { return QList<FaultAt>{{thisWeekPath, fault}}; };
        const QString invalid = u"lieferte leere/ungueltige JSON"_s;

        QTest::newRow("both weeks") << QList<FaultAt>{} << false << both << opening + QStringList{thisOk, nextOk, twoOfTwo} + success;
        QTest::newRow("next week 404 three times")
            << QList<FaultAt>{{nextWeekPath, status(404)}} << false << QStringList{u"this"_s}
            << opening + QStringList{thisOk} + threeAttempts(u"{next}"_s, u"HTTP 404"_s)
                   + givenUp(u"{next}"_s, u"43200s (status=404, fail=1)"_s)
                   + QStringList{u"Quellen erfolgreich: 1/2, Raw-Events: {raw}"_s} + success;
        QTest::newRow("this week 404") << thisFault(status(404)) << false << QStringList{u"next"_s}
                                       << thisFails(u"HTTP 404"_s, u"1800s (status=404, fail=1)"_s);
        QTest::newRow("rate limited") << thisFault(status(429)) << false << QStringList{u"next"_s}
                                      << thisFails(u"HTTP 429"_s, u"300s (status=429, fail=1)"_s);
        QTest::newRow("server error") << thisFault(status(500)) << false << QStringList{u"next"_s}
                                      << thisFails(u"HTTP 500"_s, u"120s (status=500, fail=1)"_s);
        QTest::newRow("no answer") << thisFault(kind(Kind::Hang)) << false << QStringList{u"next"_s}
                                   << thisFails(u"fehlgeschlagen (Netzwerk)"_s, QString());
        QTest::newRow("garbage") << thisFault(kind(Kind::Garbage)) << false << QStringList{u"next"_s} << thisFails(invalid, QString());
        QTest::newRow("nothing delivered")
            << QList<FaultAt>{{thisWeekPath, status(500)}, {nextWeekPath, status(404)}} << false << QStringList{}
            << opening + threeAttempts(u"{this}"_s, u"HTTP 500"_s) + givenUp(u"{this}"_s, u"120s (status=500, fail=1)"_s)
                   + threeAttempts(u"{next}"_s, u"HTTP 404"_s) + givenUp(u"{next}"_s, u"43200s (status=404, fail=1)"_s)
                   + QStringList{u"Quellen erfolgreich: 0/2, Raw-Events: 0"_s,
                                 u"⚠ Keine Quelle lieferte Daten, nutze bestehenden Stand (0 Events)"_s,
                                 u"Nächster Fetch in 300s (success=false)"_s};
        QTest::newRow("nothing titled")
            << QList<FaultAt>{} << true << both
            << opening + QStringList{thisOk, nextOk, twoOfTwo, u"⚠ Verarbeitung ergab 0 Events, nutze bestehenden Stand (0 Events)"_s,
                                     u"Nächster Fetch in 300s (success=false)"_s};
    }
    void oneCycle()
    {
        QFETCH(QList<FaultAt>, faults);
        QFETCH(bool, untitled);
        QFETCH(QStringList, sources);
        QFETCH(QStringList, expected);

        Harness harness;
        for (const FaultAt &fault : faults)
            harness.server().setFault(fault.path, fault.fault);
        if (untitled) {
            harness.simulator->calendar().setBody(Week::This, Body::Untitled);
            harness.simulator->calendar().setBody(Week::Next, Body::Untitled);
        }
        harness.start();
        QVERIFY(harness.finishCycle());
        QCOMPARE(harness.deliveries.size(), 1);

        const QJsonArray thisWeek = harness.served(Week::This);
        const QJsonArray nextWeek = harness.served(Week::Next);
        const bool fromThis = sources.contains(u"this"_s);
        const bool fromNext = sources.contains(u"next"_s);
        const int raw = (fromThis ? thisWeek.size() : 0) + (fromNext ? nextWeek.size() : 0);
        const int stored = (fromThis ? titled(thisWeek) : 0) + (fromNext ? titled(nextWeek) : 0);
        for (QString &line : expected) {
            line.replace(u"{n:this}"_s, QString::number(thisWeek.size()))
                .replace(u"{n:next}"_s, QString::number(nextWeek.size()))
                .replace(u"{raw}"_s, QString::number(raw))
                .replace(u"{stored}"_s, QString::number(stored))
                .replace(u"{up}"_s, QString::number(harness.deliveries[0].size()));
        }
        QCOMPARE(harness.messages(), expected);
        if (expected.last().contains("success=true"_L1)) {
            QCOMPARE(harness.service->events().size(), stored);
            // This week's file has events in the next two days; next week's starts on Sunday.
            QCOMPARE(harness.deliveries[0].isEmpty(), !fromThis);
        } else {
            QVERIFY(harness.deliveries[0].isEmpty());
        }
    }

    // Without a sink of its own the service prints its log, UTF-8, one line
    // per message, stamped with the local time. Each file is asked for once.
    void logGoesToStandardOutput()
    {
        Harness::Options options;
        options.standardOutput = true;
        Harness harness(options);
        QTemporaryFile file;
        QVERIFY(file.open());
        std::fflush(stdout);
        const int saved = dup(STDOUT_FILENO);
        dup2(file.handle(), STDOUT_FILENO);
        harness.start();
        const bool paused = waitUntil([&] { return !harness.deliveries.isEmpty() && harness.clock.pendingSleepers() == 1; });
        std::fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        close(saved);
        QVERIFY(paused);
        file.seek(0);
        const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
        QCOMPARE(lines.size(), 8); // seven lines, each ended
        QCOMPARE(lines.first(), u"[12:00:00] [Calendar] → Calendar loop gestartet"_s);
        QCOMPARE(lines[6], u"[12:00:00] [Calendar] Nächster Fetch in 1800s (success=true)"_s);
        QCOMPARE(lines.last(), QString());

        const QList<sim::RecordedRequest> &requests = harness.server().requests();
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests[0].path, thisWeekPath);
        QCOMPARE(requests[1].path, nextWeekPath);
        for (const sim::RecordedRequest &request : requests) {
            QCOMPARE(request.headers.value("user-agent"), QByteArray("Mozilla/5.0"));
            QCOMPARE(request.headers.value("accept"), QByteArray("application/json"));
        }
    }

    // Attempts of one file are 0, 1 and 2 seconds apart on the service's clock.
    void retryPausesUseTheClock()
    {
        Harness harness;
        harness.server().setFault(thisWeekPath, status(503));
        harness.start();
        QVERIFY(harness.finishCycle());
        QStringList stamps;
        for (const QString &line : std::as_const(harness.lines)) {
            if (line.contains(" Versuch "_L1) || line.contains("Cooldown gesetzt"_L1))
                stamps << line.left(10);
        }
        QCOMPARE(stamps, (QStringList{u"[12:00:00]"_s, u"[12:00:01]"_s, u"[12:00:03]"_s, u"[12:00:03]"_s,
                                       u"[12:00:03]"_s, u"[12:00:03]"_s}));
    }

    void cooldownsOverCycles_data()
    {
        QTest::addColumn<QString>("failing"); // "this", "next" or "both"
        QTest::addColumn<int>("status");      // 0: nobody listens
        QTest::addColumn<int>("cycles");
        QTest::addColumn<QStringList>("cooldowns");

        const auto cooldown = [](const QString &source, int seconds, int status, int fail) {
            return u"Cooldown gesetzt für %1: %2s (status=%3, fail=%4)"_s.arg(source).arg(seconds)
                .arg(status ? QString::number(status) : u"n/a"_s).arg(fail);
        };
        const auto network = [&](const QString &source, int from, int to) {
            QStringList lines;
            for (int n = from; n <= to; ++n)
                lines << cooldown(source, std::min(n * 120, 1200), 0, n);
            return lines;
        };
        QTest::newRow("unreachable: grows to the cap") << u"this"_s << 0 << 12 << network(u"{this}"_s, 1, 12);
        const QString t = u"{this}"_s;
        QTest::newRow("rate limited: escalates")
            << u"this"_s << 429 << 3
            << QStringList{cooldown(t, 300, 429, 1), cooldown(t, 240, 0, 2), cooldown(t, 1800, 429, 3),
                           cooldown(t, 480, 0, 4), cooldown(t, 3600, 429, 5), cooldown(t, 720, 0, 6)};
        const QString n = u"{next}"_s;
        // Failed cycles come every 300 s; from the third failure on the
        // cooldown outlasts that and the files are skipped once.
        QStringList both;
        for (int fail = 1; fail <= 3; ++fail)
            both << network(t, fail, fail) << network(n, fail, fail);
        both << u"Source {this} in Cooldown (57s verbleibend)"_s << u"Source {next} in Cooldown (60s verbleibend)"_s
             << network(t, 4, 4) << network(n, 4, 4);
        QTest::newRow("both unreachable: skipped while cooling down") << u"both"_s << 0 << 5 << both;
    }
    void cooldownsOverCycles()
    {
        QFETCH(QString, failing);
        QFETCH(int, status);
        QFETCH(int, cycles);

        const bool thisFails = failing != "next"_L1;
        const bool nextFails = failing != "this"_L1;
        Harness::Options options;
        options.thisWeekUnreachable = status == 0 && thisFails;
        options.nextWeekUnreachable = status == 0 && nextFails;
        Harness harness(options);
        if (status != 0 && thisFails)
            harness.server().setFault(thisWeekPath, ::status(status));
        if (status != 0 && nextFails)
            harness.server().setFault(nextWeekPath, ::status(status));
        harness.start();
        QVERIFY(harness.finishCycle());
        const auto pause = failing == "both"_L1 ? CalendarService::failurePause : CalendarService::successPause;
        for (int cycle = 2; cycle <= cycles; ++cycle)
            QVERIFY(harness.nextCycle(pause));

        QCOMPARE(harness.deliveries.size(), cycles);
        QTEST(harness.messages().filter(u"Cooldown"_s), "cooldowns");
    }

    void successResetsTheCount()
    {
        Harness harness;
        harness.server().setFault(thisWeekPath, status(500));
        harness.start();
        QVERIFY(harness.finishCycle());
        QVERIFY(harness.nextCycle(CalendarService::successPause));
        harness.server().clearFault(thisWeekPath);
        QVERIFY(harness.nextCycle(CalendarService::successPause));
        harness.server().setFault(thisWeekPath, status(500));
        QVERIFY(harness.nextCycle(CalendarService::successPause));

        const QStringList cooldowns = harness.messages().filter(u"Cooldown"_s);
        QCOMPARE(cooldowns.size(), 6);
        QCOMPARE(cooldowns.mid(4), (QStringList{u"Cooldown gesetzt für {this}: 120s (status=500, fail=1)"_s,
                                                 u"Cooldown gesetzt für {this}: 240s (status=n/a, fail=2)"_s}));
    }

    // Delivered: what starts from now up to 48 hours ahead, inclusive.
    void upcomingWindow()
    {
        QJsonArray week{entry(u"undated"_s, u"Donnerstag"_s, u"Tentative"_s)};
        for (int offset : {-1, 0, 172800, 172801})
            week.append(entry(QString::number(offset), formatIsoUtc(wednesday.addSecs(offset))));
        sim::LoopbackServer server;
        server.start();
        serve(server, thisWeekPath, week);
        serve(server, nextWeekPath, {entry(u"later"_s, formatIsoUtc(wednesday.addDays(5)))});
        Harness::Options options;
        options.scripted = &server;
        Harness harness(options);
        harness.start();
        QVERIFY(harness.finishCycle());
        QCOMPARE(harness.service->events().size(), 6);
        QCOMPARE(harness.deliveries.size(), 1);
        QCOMPARE(titlesOf(harness.deliveries[0]), (QStringList{u"0"_s, u"172800"_s}));
    }

    // A failed cycle keeps the last good list and recomputes its window.
    void staleListIsWindowedAgain()
    {
        QJsonArray week;
        for (int minutes : {35, 20 * 60, 48 * 60 + 20})
            week.append(entry(u"+%1 min"_s.arg(minutes), formatIsoUtc(wednesday.addSecs(minutes * 60))));
        int status = 200;
        sim::LoopbackServer server;
        server.start();
        serve(server, thisWeekPath, week, &status); // next week: 404
        Harness::Options options;
        options.scripted = &server;
        Harness harness(options);
        harness.start();
        QVERIFY(harness.finishCycle()); // 10:00
        status = 500;
        QVERIFY(harness.nextCycle(CalendarService::successPause)); // 10:30, failed
        QVERIFY(harness.nextCycle(CalendarService::failurePause)); // 10:35, failed

        QCOMPARE(harness.deliveries.size(), 3);
        QCOMPARE(titlesOf(harness.deliveries[0]), (QStringList{u"+35 min"_s, u"+1200 min"_s}));
        QCOMPARE(titlesOf(harness.deliveries[1]), (QStringList{u"+35 min"_s, u"+1200 min"_s, u"+2900 min"_s}));
        QCOMPARE(titlesOf(harness.deliveries[2]), (QStringList{u"+1200 min"_s, u"+2900 min"_s}));
        QCOMPARE(harness.messages().filter(u"nutze bestehenden Stand (3 Events)"_s).size(), 2);
    }

    void parseEvent_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<QString>("expected"); // time | display | country | currency | impact | forecast | actual; empty: dropped

        QTest::newRow("ISO with offset")
            << QByteArray(R"({"title":"CPI m/m","country":"USD","impact":"High","date":"2024-05-03T08:30:00-04:00","forecast":"0.3%","previous":"0.4%"})")
            << u"2024-05-03T12:30:00Z|14:30|USD|USD|High|0.3%|"_s;
        QTest::newRow("ISO date wins over the clock text")
            << QByteArray(R"({"title":"PMI","country":"EUR","date":"2024-05-03","time":"8:30am"})")
            << u"2024-05-03T00:00:00Z|02:00|EUR|EUR|Low||"_s;
        QTest::newRow("split date, 8:30am")
            << QByteArray(R"({"title":"NFP","country":"USD","date":"05-03-2024","time":"8:30am"})")
            << u"2024-05-03T06:30:00Z|08:30|USD|USD|Low||"_s;
        QTest::newRow("split date, 2:15 PM")
            << QByteArray(R"({"title":"NFP","country":"USD","date":" 05-03-2024 ","time":"2:15 PM"})")
            << u"2024-05-03T12:15:00Z|14:15|USD|USD|Low||"_s;
        QTest::newRow("date and clock in one text")
            << QByteArray(R"({"title":"NFP","country":"USD","date":"2024-05-03 14:00"})")
            << u"2024-05-03T12:00:00Z|14:00|USD|USD|Low||"_s;
        QTest::newRow("all day with a split date: local midnight")
            << QByteArray(R"({"title":"Bank Holiday","country":"JPY","impact":"Holiday","date":"05-03-2024","time":"All Day"})")
            << u"2024-05-02T22:00:00Z|00:00|JPY|JPY|Holiday||"_s;
        QTest::newRow("all day without a date")
            << QByteArray(R"({"title":"Bank Holiday","country":"CH","impact":"Holiday","time":"All Day"})")
            << u"|Ganztägig|CH|CHF|Holiday||"_s;
        QTest::newRow("tentative, unreadable date kept")
            << QByteArray(R"({"title":"Auction","country":"us","impact":"Non-Economic","date":"Mai 3","time":" Tentative "})")
            << u"Mai 3|Ganztägig|US|USD|Low||"_s;
        QTest::newRow("other time text shown as it is")
            << QByteArray(R"({"title":"Summit","country":"All","impact":"high","time":" Day 2 "})") << u"|Day 2|ALL|ALL|Low||"_s;
        QTest::newRow("country name cut to three letters")
            << QByteArray(R"({"title":"Ifo","country":"Germany","impact":"Medium"})") << u"|Ganztägig|GERMANY|GER|Medium||"_s;
        QTest::newRow("numbers where texts belong")
            << QByteArray(R"({"title":"CPI","country":5,"impact":3,"date":1714739400,"time":830,"forecast":0.3,"actual":0.4})")
            << u"|Ganztägig|||Low||"_s;
        QTest::newRow("no title") << QByteArray(R"({"country":"USD","date":"2024-05-03T08:30:00Z"})") << QString();
        QTest::newRow("title a number") << QByteArray(R"({"title":42,"country":"USD"})") << QString();
    }
    void parseEvent()
    {
        QFETCH(QByteArray, raw);
        QFETCH(QString, expected);
        const std::optional<CalendarEvent> event = calendar::parseEvent(QJsonDocument::fromJson(raw).object());
        QCOMPARE(event.has_value(), !expected.isEmpty());
        if (!event)
            return;
        QCOMPARE((QStringList{event->time, event->timeDisplay, event->country, event->currency,
                              CalendarEvent::impactText(event->impact), event->forecast, event->actual}.join(u'|')),
                 expected);
    }

    // MD5 of title + country + time, worked out with another tool.
    void eventId()
    {
        const auto id = [](const char *raw) { return calendar::parseEvent(QJsonDocument::fromJson(raw).object())->id; };
        QCOMPARE(id(R"({"title":"CPI m/m","country":"usd","date":"2024-05-03T08:30:00-04:00"})"), u"359a2930ec2b105d"_s);
        QCOMPARE(id(R"({"title":"Rede von Präsident Lagarde","country":"EUR","date":"2024-05-03T12:30:00Z"})"),
                 u"0010502b7ece0cb1"_s);
    }

    void sortedByDate_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<QStringList>("titles");
        QTest::newRow("stable, undated last")
            << QByteArray(R"([{"title":"B","time":"All Day"},{"title":"A","date":"2024-05-03T12:00:00Z"},
                            {"title":"C","date":"2024-05-03T10:00:00Z"},{"title":""},{"title":"D","date":"soon"},
                            {"title":"E","date":"2024-05-03T06:00:00-04:00"}])")
            << QStringList{u"C"_s, u"E"_s, u"A"_s, u"B"_s, u"D"_s};
        QTest::newRow("offsets compared as instants")
            << QByteArray(R"([{"title":"New York","date":"2024-05-03T08:00:00-04:00"},
                            {"title":"Tokyo","date":"2024-05-03T09:00:00+09:00"}])")
            << QStringList{u"Tokyo"_s, u"New York"_s};
    }
    void sortedByDate()
    {
        QFETCH(QByteArray, raw);
        const std::optional<QList<QJsonObject>> entries = calendar::fileEntries(raw);
        QVERIFY(entries);
        QTEST(titlesOf(calendar::parseEvents(*entries)), "titles");
    }

    void fileEntries_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("entries"); // -1: not a calendar file
        QTest::newRow("array of objects") << QByteArray(R"([{"title":"A"},{}])") << 2;
        QTest::newRow("empty array") << QByteArray("[]") << -1;
        QTest::newRow("one entry not an object") << QByteArray(R"([{"title":"A"},"B"])") << -1;
        QTest::newRow("object") << QByteArray(R"({"events":[{"title":"A"}]})") << -1;
        QTest::newRow("not JSON") << QByteArray("<html>") << -1;
    }
    void fileEntries()
    {
        QFETCH(QByteArray, body);
        const std::optional<QList<QJsonObject>> entries = calendar::fileEntries(body);
        QTEST(entries ? int(entries->size()) : -1, "entries");
    }

    void destroyedServiceEndsItsLoop_data()
    {
        QTest::addColumn<QString>("when");
        QTest::newRow("while a request hangs") << u"request"_s;
        QTest::newRow("between attempts") << u"retry"_s;
        QTest::newRow("between cycles") << u"pause"_s;
    }
    void destroyedServiceEndsItsLoop()
    {
        QFETCH(QString, when);
        Harness harness;
        harness.service->setRequestTimeout(10s);
        if (when == "request"_L1)
            harness.server().setFault(thisWeekPath, kind(Kind::Hang));
        if (when == "retry"_L1)
            harness.server().setFault(thisWeekPath, status(500));
        harness.start();
        if (when == "pause"_L1)
            QVERIFY(harness.finishCycle());
        else if (when == "retry"_L1)
            QVERIFY(waitUntil([&] { return harness.clock.pendingSleepers() == 1; }));
        else
            QVERIFY(waitUntil([&] { return harness.server().requests().size() == 1; }));
        harness.service.reset();
        QVERIFY(waitUntil([&] { return harness.task->isReady(); }));
        QCOMPARE(harness.clock.pendingSleepers(), 0);
        QCOMPARE(harness.deliveries.size(), when == "pause"_L1 ? 1 : 0);
    }
};

QTEST_GUILESS_MAIN(TestCalendarService)
#include "tst_calendarservice.moc"
