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
quint16 deadPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

sim::Fault status(int code)
{
    return {sim::Fault::Kind::Status, code, 0};
}

sim::Fault kind(sim::Fault::Kind kind)
{
    return {kind, 0, 0};
}

// A calendar service on a manual clock, reading the market simulator (or a
// scripted server), with its log captured.
struct HarnessOptions
{
    QDateTime start = wednesday;
    sim::LoopbackServer *scripted = nullptr;
    bool thisWeekUnreachable = false;
    bool nextWeekUnreachable = false;
    bool standardOutput = false; // leave the log where the service writes it
};

class Harness
{
public:
    using Options = HarnessOptions;

    explicit Harness(const Options &options = {}) : clock(options.start)
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
        const QString dead = u"http://127.0.0.1:%1"_s.arg(deadPort());
        if (options.thisWeekUnreachable)
            addresses.insert(u"calendar.this_week"_s, dead + thisWeekPath);
        if (options.nextWeekUnreachable)
            addresses.insert(u"calendar.next_week"_s, dead + nextWeekPath);
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
    bool finishCycle() { return finishCycle(cyclesEnded() + 1); }
    bool finishCycle(int target)
    {
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

// Sends file descriptor 1 into a temporary file until take(), so that what the
// service prints can be read back byte for byte.
class StandardOutputCapture
{
public:
    StandardOutputCapture()
    {
        m_file.open();
        std::fflush(stdout);
        m_saved = dup(STDOUT_FILENO);
        dup2(m_file.handle(), STDOUT_FILENO);
    }
    ~StandardOutputCapture() { take(); }

    QByteArray take()
    {
        if (m_saved < 0)
            return {};
        std::fflush(stdout);
        dup2(m_saved, STDOUT_FILENO);
        close(m_saved);
        m_saved = -1;
        m_file.seek(0);
        return m_file.readAll();
    }

private:
    QTemporaryFile m_file;
    int m_saved = -1;
};

struct FaultAt
{
    QString path;
    sim::Fault fault;
};

struct BodyOf
{
    Week week;
    Body body;
};

} // namespace

Q_DECLARE_METATYPE(QList<FaultAt>)
Q_DECLARE_METATYPE(QList<BodyOf>)

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
        QTest::addColumn<QList<BodyOf>>("bodies");
        QTest::addColumn<QStringList>("sources"); // the weeks that deliver: "this", "next"
        QTest::addColumn<QStringList>("expected"); // {n:this}, {raw}, {stored}, {up} filled in by the test

        const QStringList opening{u"→ Calendar loop gestartet"_s, u"→ Fetch gestartet"_s};
        const QString thisOk = u"Source {this} Versuch 1 ok: {n:this} Events"_s;
        const QString nextOk = u"Source {next} Versuch 1 ok: {n:next} Events"_s;
        const QStringList success{u"✓ Fetch erfolgreich: gespeichert={stored}, upcoming(48h)={up}"_s,
                                  u"Nächster Fetch in 1800s (success=true)"_s};
        const QString oneOfTwo = u"Quellen erfolgreich: 1/2, Raw-Events: {raw}"_s;
        const QStringList thisWeekOnly{u"this"_s};
        const QStringList nextWeekOnly{u"next"_s};
        const auto thisFails = [&](const QString &outcome, const QString &firstCooldown) {
            return opening + threeAttempts(u"{this}"_s, outcome) + givenUp(u"{this}"_s, firstCooldown) + QStringList{nextOk, oneOfTwo} + success;
        };

        QTest::newRow("both weeks")
            << QList<FaultAt>{} << QList<BodyOf>{} << QStringList{u"this"_s, u"next"_s}
            << opening + QStringList{thisOk, nextOk, u"Quellen erfolgreich: 2/2, Raw-Events: {raw}"_s} + success;
        QTest::newRow("next week 404 three times")
            << QList<FaultAt>{{nextWeekPath, status(404)}} << QList<BodyOf>{} << thisWeekOnly
            << opening + QStringList{thisOk} + threeAttempts(u"{next}"_s, u"HTTP 404"_s)
                   + givenUp(u"{next}"_s, u"43200s (status=404, fail=1)"_s) + QStringList{oneOfTwo} + success;
        QTest::newRow("this week 404")
            << QList<FaultAt>{{thisWeekPath, status(404)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"HTTP 404"_s, u"1800s (status=404, fail=1)"_s);
        QTest::newRow("rate limited")
            << QList<FaultAt>{{thisWeekPath, status(429)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"HTTP 429"_s, u"300s (status=429, fail=1)"_s);
        QTest::newRow("server error")
            << QList<FaultAt>{{thisWeekPath, status(500)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"HTTP 500"_s, u"120s (status=500, fail=1)"_s);
        QTest::newRow("no answer")
            << QList<FaultAt>{{thisWeekPath, kind(sim::Fault::Kind::Hang)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"fehlgeschlagen (Netzwerk)"_s, QString());
        QTest::newRow("garbage")
            << QList<FaultAt>{{thisWeekPath, kind(sim::Fault::Kind::Garbage)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"lieferte leere/ungueltige JSON"_s, QString());
        QTest::newRow("cut short")
            << QList<FaultAt>{{thisWeekPath, kind(sim::Fault::Kind::Truncate)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"lieferte leere/ungueltige JSON"_s, QString());
        QTest::newRow("empty body")
            << QList<FaultAt>{{thisWeekPath, kind(sim::Fault::Kind::Empty)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"lieferte leere/ungueltige JSON"_s, QString());
        QTest::newRow("invalid JSON")
            << QList<FaultAt>{{thisWeekPath, kind(sim::Fault::Kind::InvalidJson)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"lieferte leere/ungueltige JSON"_s, QString());
        QTest::newRow("empty array from the server")
            << QList<FaultAt>{{thisWeekPath, kind(sim::Fault::Kind::EmptyArray)}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"lieferte leere/ungueltige JSON"_s, QString());
        QTest::newRow("dripping past its time limit")
            << QList<FaultAt>{{thisWeekPath, {sim::Fault::Kind::Trickle, 0, 20}}} << QList<BodyOf>{} << nextWeekOnly
            << thisFails(u"fehlgeschlagen (Netzwerk)"_s, QString());
        QTest::newRow("empty array")
            << QList<FaultAt>{} << QList<BodyOf>{{Week::This, Body::EmptyArray}} << nextWeekOnly
            << thisFails(u"lieferte leere/ungueltige JSON"_s, QString());
        QTest::newRow("object instead of array")
            << QList<FaultAt>{} << QList<BodyOf>{{Week::This, Body::Object}} << nextWeekOnly
            << thisFails(u"lieferte leere/ungueltige JSON"_s, QString());
        QTest::newRow("numbers where texts belong")
            << QList<FaultAt>{} << QList<BodyOf>{{Week::This, Body::WrongTypes}, {Week::Next, Body::WrongTypes}}
            << QStringList{u"this"_s, u"next"_s}
            << opening + QStringList{thisOk, nextOk, u"Quellen erfolgreich: 2/2, Raw-Events: {raw}"_s} + success;
        QTest::newRow("nothing delivered")
            << QList<FaultAt>{{thisWeekPath, status(500)}, {nextWeekPath, status(404)}} << QList<BodyOf>{} << QStringList{}
            << opening + threeAttempts(u"{this}"_s, u"HTTP 500"_s) + givenUp(u"{this}"_s, u"120s (status=500, fail=1)"_s)
                   + threeAttempts(u"{next}"_s, u"HTTP 404"_s) + givenUp(u"{next}"_s, u"43200s (status=404, fail=1)"_s)
                   + QStringList{u"Quellen erfolgreich: 0/2, Raw-Events: 0"_s,
                                 u"⚠ Keine Quelle lieferte Daten, nutze bestehenden Stand (0 Events)"_s,
                                 u"Nächster Fetch in 300s (success=false)"_s};
        QTest::newRow("nothing titled")
            << QList<FaultAt>{} << QList<BodyOf>{{Week::This, Body::Untitled}, {Week::Next, Body::Untitled}}
            << QStringList{u"this"_s, u"next"_s}
            << opening + QStringList{thisOk, nextOk, u"Quellen erfolgreich: 2/2, Raw-Events: {raw}"_s,
                                     u"⚠ Verarbeitung ergab 0 Events, nutze bestehenden Stand (0 Events)"_s,
                                     u"Nächster Fetch in 300s (success=false)"_s};
    }
    void oneCycle()
    {
        QFETCH(QList<FaultAt>, faults);
        QFETCH(QList<BodyOf>, bodies);
        QFETCH(QStringList, sources);
        QFETCH(QStringList, expected);

        Harness harness;
        for (const FaultAt &fault : faults)
            harness.server().setFault(fault.path, fault.fault);
        for (const BodyOf &body : bodies)
            harness.simulator->calendar().setBody(body.week, body.body);
        harness.start();
        QVERIFY(harness.finishCycle());
        QCOMPARE(harness.deliveries.size(), 1);

        const QJsonArray thisWeek = harness.served(Week::This);
        const QJsonArray nextWeek = harness.served(Week::Next);
        const int raw = (sources.contains(u"this"_s) ? thisWeek.size() : 0) + (sources.contains(u"next"_s) ? nextWeek.size() : 0);
        const int stored = (sources.contains(u"this"_s) ? titled(thisWeek) : 0) + (sources.contains(u"next"_s) ? titled(nextWeek) : 0);
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
            QCOMPARE(harness.deliveries[0].isEmpty(), !sources.contains(u"this"_s));
        } else {
            QVERIFY(harness.deliveries[0].isEmpty());
        }
    }

    // Without a sink of its own the service prints its log, UTF-8, one line
    // per message, stamped with the local time.
    void logGoesToStandardOutput()
    {
        Harness::Options options;
        options.standardOutput = true;
        Harness harness(options);
        QByteArray printed;
        {
            StandardOutputCapture capture;
            harness.start();
            const bool paused = waitUntil([&] { return !harness.deliveries.isEmpty() && harness.clock.pendingSleepers() == 1; });
            printed = capture.take();
            QVERIFY(paused);
        }
        QVERIFY(printed.endsWith('\n'));
        const QList<QByteArray> lines = printed.chopped(1).split('\n');
        const QString thisWeek = QRegularExpression::escape(harness.thisWeek);
        const QString nextWeek = QRegularExpression::escape(harness.nextWeek);
        const QStringList expected{
            u"→ Calendar loop gestartet"_s,
            u"→ Fetch gestartet"_s,
            u"Source "_s + thisWeek + u" Versuch 1 ok: \\d+ Events"_s,
            u"Source "_s + nextWeek + u" Versuch 1 ok: \\d+ Events"_s,
            u"Quellen erfolgreich: 2/2, Raw-Events: \\d+"_s,
            u"✓ Fetch erfolgreich: gespeichert=\\d+, upcoming\\(48h\\)=%1"_s.arg(harness.deliveries[0].size()),
            u"Nächster Fetch in 1800s \\(success=true\\)"_s,
        };
        QCOMPARE(lines.size(), expected.size());
        for (qsizetype i = 0; i < lines.size(); ++i) {
            const QRegularExpression line(u"^\\[12:00:00\\] \\[Calendar\\] "_s + expected[i] + u'$');
            QVERIFY2(line.match(QString::fromUtf8(lines[i])).hasMatch(), lines[i].constData());
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
        // 12:00:00 in Berlin is 10:00 UTC.
        QCOMPARE(stamps, (QStringList{u"[12:00:00]"_s, u"[12:00:01]"_s, u"[12:00:03]"_s, u"[12:00:03]"_s,
                                       u"[12:00:03]"_s, u"[12:00:03]"_s}));
        QVERIFY(harness.lines.first().startsWith(u"[12:00:00] [Calendar] → Calendar loop gestartet"_s));
    }

    void cooldownsOverCycles_data()
    {
        QTest::addColumn<QString>("failing"); // "this", "next" or "both"
        QTest::addColumn<int>("status");      // 0: nobody listens
        QTest::addColumn<int>("cycles");
        QTest::addColumn<QStringList>("cooldowns");

        const auto network = [](const QString &source, int from, int to) {
            QStringList lines;
            for (int n = from; n <= to; ++n)
                lines << u"Cooldown gesetzt für %1: %2s (status=n/a, fail=%3)"_s.arg(source).arg(std::min(n * 120, 1200)).arg(n);
            return lines;
        };
        QTest::newRow("unreachable: grows to the cap") << u"this"_s << 0 << 12 << network(u"{this}"_s, 1, 12);
        QTest::newRow("rate limited: escalates")
            << u"this"_s << 429 << 3
            << QStringList{u"Cooldown gesetzt für {this}: 300s (status=429, fail=1)"_s,
                           u"Cooldown gesetzt für {this}: 240s (status=n/a, fail=2)"_s,
                           u"Cooldown gesetzt für {this}: 1800s (status=429, fail=3)"_s,
                           u"Cooldown gesetzt für {this}: 480s (status=n/a, fail=4)"_s,
                           u"Cooldown gesetzt für {this}: 3600s (status=429, fail=5)"_s,
                           u"Cooldown gesetzt für {this}: 720s (status=n/a, fail=6)"_s};
        QTest::newRow("server error: backs off")
            << u"this"_s << 500 << 2
            << QStringList{u"Cooldown gesetzt für {this}: 120s (status=500, fail=1)"_s,
                           u"Cooldown gesetzt für {this}: 240s (status=n/a, fail=2)"_s,
                           u"Cooldown gesetzt für {this}: 360s (status=500, fail=3)"_s,
                           u"Cooldown gesetzt für {this}: 480s (status=n/a, fail=4)"_s};
        QTest::newRow("next week missing")
            << u"next"_s << 404 << 2
            << QStringList{u"Cooldown gesetzt für {next}: 43200s (status=404, fail=1)"_s,
                           u"Cooldown gesetzt für {next}: 240s (status=n/a, fail=2)"_s,
                           u"Cooldown gesetzt für {next}: 43200s (status=404, fail=3)"_s,
                           u"Cooldown gesetzt für {next}: 480s (status=n/a, fail=4)"_s};
        // Failed cycles come every 300 s; from the third failure on the
        // cooldown outlasts that and the files are skipped once.
        QStringList both;
        for (int n = 1; n <= 3; ++n)
            both << network(u"{this}"_s, n, n) << network(u"{next}"_s, n, n);
        both << u"Source {this} in Cooldown (57s verbleibend)"_s << u"Source {next} in Cooldown (60s verbleibend)"_s
             << network(u"{this}"_s, 4, 4) << network(u"{next}"_s, 4, 4);
        QTest::newRow("both unreachable: skipped while cooling down") << u"both"_s << 0 << 5 << both;
    }
    void cooldownsOverCycles()
    {
        QFETCH(QString, failing);
        QFETCH(int, status);
        QFETCH(int, cycles);
        QFETCH(QStringList, cooldowns);

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
        QStringList actual = harness.messages().filter(u"Cooldown"_s);
        QCOMPARE(actual, cooldowns);
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

        const QStringList lines = harness.messages();
        QStringList relevant;
        for (const QString &line : lines) {
            if (line.contains("Cooldown"_L1) || line.startsWith("Source {this} Versuch 1 ok"_L1))
                relevant << line.section(u':', 0, 0);
        }
        QCOMPARE(relevant, (QStringList{u"Cooldown gesetzt für {this}"_s, u"Cooldown gesetzt für {this}"_s,
                                         u"Cooldown gesetzt für {this}"_s, u"Cooldown gesetzt für {this}"_s,
                                         u"Source {this} Versuch 1 ok"_s, u"Cooldown gesetzt für {this}"_s,
                                         u"Cooldown gesetzt für {this}"_s}));
        QCOMPARE(lines.filter(u"Cooldown"_s).mid(4),
                 (QStringList{u"Cooldown gesetzt für {this}: 120s (status=500, fail=1)"_s,
                              u"Cooldown gesetzt für {this}: 240s (status=n/a, fail=2)"_s}));
    }

    void upcomingWindow_data()
    {
        QTest::addColumn<QString>("date"); // seconds from now, or a text that is no date
        QTest::addColumn<QString>("time");
        QTest::addColumn<bool>("delivered");
        QTest::newRow("now") << u"0"_s << QString() << true;
        QTest::newRow("an hour ahead") << u"3600"_s << QString() << true;
        QTest::newRow("exactly 48 hours ahead") << u"172800"_s << QString() << true;
        QTest::newRow("a second later") << u"172801"_s << QString() << false;
        QTest::newRow("a second ago") << u"-1"_s << QString() << false;
        QTest::newRow("no date") << u"Donnerstag"_s << u"Tentative"_s << false;
    }
    void upcomingWindow()
    {
        QFETCH(QString, date);
        QFETCH(QString, time);
        QFETCH(bool, delivered);
        bool isOffset = false;
        const int offset = date.toInt(&isOffset);
        QJsonObject entry{{u"title"_s, u"Probe"_s}, {u"country"_s, u"USD"_s}, {u"impact"_s, u"High"_s},
                          {u"date"_s, isOffset ? formatIsoUtc(wednesday.addSecs(offset)) : date}, {u"time"_s, time}};
        const QJsonObject later{{u"title"_s, u"Later"_s}, {u"country"_s, u"EUR"_s},
                                {u"date"_s, formatIsoUtc(wednesday.addDays(5))}};
        sim::LoopbackServer server;
        server.start();
        server.route(thisWeekPath, [&](const sim::RecordedRequest &) {
            return sim::HttpReply{200, "application/json", QJsonDocument(QJsonArray{entry}).toJson()};
        });
        server.route(nextWeekPath, [&](const sim::RecordedRequest &) {
            return sim::HttpReply{200, "application/json", QJsonDocument(QJsonArray{later}).toJson()};
        });
        Harness::Options options;
        options.scripted = &server;
        Harness harness(options);
        harness.start();
        QVERIFY(harness.finishCycle());
        QCOMPARE(harness.service->events().size(), 2);
        QCOMPARE(harness.deliveries.size(), 1);
        QCOMPARE(harness.deliveries[0].size(), delivered ? 1 : 0);
        if (delivered)
            QCOMPARE(harness.deliveries[0][0].event, u"Probe"_s);
    }

    // A failed cycle keeps the last good list and recomputes its window.
    void staleListIsWindowedAgain()
    {
        QJsonArray week;
        for (int minutes : {35, 20 * 60, 48 * 60 + 20})
            week.append(QJsonObject{{u"title"_s, u"+%1 min"_s.arg(minutes)}, {u"country"_s, u"USD"_s},
                                    {u"date"_s, formatIsoUtc(wednesday.addSecs(minutes * 60))}});
        int status = 200;
        sim::LoopbackServer server;
        server.start();
        server.route(thisWeekPath, [&](const sim::RecordedRequest &) {
            return sim::HttpReply{status, "application/json", QJsonDocument(week).toJson()};
        });
        Harness::Options options;
        options.scripted = &server; // next week: 404
        Harness harness(options);
        harness.start();
        QVERIFY(harness.finishCycle()); // 10:00
        status = 500;
        QVERIFY(harness.nextCycle(CalendarService::successPause)); // 10:30, failed
        QVERIFY(harness.nextCycle(CalendarService::failurePause)); // 10:35, failed

        const auto titles = [](const QList<CalendarEvent> &events) {
            QStringList result;
            for (const CalendarEvent &event : events)
                result << event.event;
            return result;
        };
        QCOMPARE(harness.deliveries.size(), 3);
        QCOMPARE(titles(harness.deliveries[0]), (QStringList{u"+35 min"_s, u"+1200 min"_s}));
        QCOMPARE(titles(harness.deliveries[1]), (QStringList{u"+35 min"_s, u"+1200 min"_s, u"+2900 min"_s}));
        QCOMPARE(titles(harness.deliveries[2]), (QStringList{u"+1200 min"_s, u"+2900 min"_s}));
        QCOMPARE(harness.messages().filter(u"nutze bestehenden Stand (3 Events)"_s).size(), 2);
    }

    void parseEvent_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<QStringList>("expected"); // time, display, country, currency, impact, forecast, actual; empty: dropped

        QTest::newRow("ISO with offset")
            << QByteArray(R"({"title":"CPI m/m","country":"USD","impact":"High","date":"2024-05-03T08:30:00-04:00","forecast":"0.3%","previous":"0.4%"})")
            << QStringList{u"2024-05-03T12:30:00Z"_s, u"14:30"_s, u"USD"_s, u"USD"_s, u"High"_s, u"0.3%"_s, u""_s};
        QTest::newRow("fractional seconds")
            << QByteArray(R"({"title":"GDP","country":"GBP","impact":"Medium","date":"2024-05-03T06:00:00.250Z","actual":"0.1%"})")
            << QStringList{u"2024-05-03T06:00:00Z"_s, u"08:00"_s, u"GBP"_s, u"GBP"_s, u"Medium"_s, u""_s, u"0.1%"_s};
        QTest::newRow("ISO date wins over the clock text")
            << QByteArray(R"({"title":"PMI","country":"EUR","date":"2024-05-03","time":"8:30am"})")
            << QStringList{u"2024-05-03T00:00:00Z"_s, u"02:00"_s, u"EUR"_s, u"EUR"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("split date, 8:30am")
            << QByteArray(R"({"title":"NFP","country":"USD","date":"05-03-2024","time":"8:30am"})")
            << QStringList{u"2024-05-03T06:30:00Z"_s, u"08:30"_s, u"USD"_s, u"USD"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("split date, 2:15 PM")
            << QByteArray(R"({"title":"NFP","country":"USD","date":" 05-03-2024 ","time":"2:15 PM"})")
            << QStringList{u"2024-05-03T12:15:00Z"_s, u"14:15"_s, u"USD"_s, u"USD"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("split date, 24-hour clock")
            << QByteArray(R"({"title":"NFP","country":"USD","date":"05-03-2024","time":"14:00"})")
            << QStringList{u"2024-05-03T12:00:00Z"_s, u"14:00"_s, u"USD"_s, u"USD"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("date and clock in one text")
            << QByteArray(R"({"title":"NFP","country":"USD","date":"2024-05-03 14:00"})")
            << QStringList{u"2024-05-03T12:00:00Z"_s, u"14:00"_s, u"USD"_s, u"USD"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("all day with a split date: local midnight")
            << QByteArray(R"({"title":"Bank Holiday","country":"JPY","impact":"Holiday","date":"05-03-2024","time":"All Day"})")
            << QStringList{u"2024-05-02T22:00:00Z"_s, u"00:00"_s, u"JPY"_s, u"JPY"_s, u"Holiday"_s, u""_s, u""_s};
        QTest::newRow("all day without a date")
            << QByteArray(R"({"title":"Bank Holiday","country":"CH","impact":"Holiday","time":"All Day"})")
            << QStringList{u""_s, u"Ganztägig"_s, u"CH"_s, u"CHF"_s, u"Holiday"_s, u""_s, u""_s};
        QTest::newRow("tentative, unreadable date kept")
            << QByteArray(R"({"title":"Auction","country":"us","impact":"Non-Economic","date":"Mai 3","time":" Tentative "})")
            << QStringList{u"Mai 3"_s, u"Ganztägig"_s, u"US"_s, u"USD"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("N/A marker")
            << QByteArray(R"({"title":"Talks","country":"de","time":"N/A"})")
            << QStringList{u""_s, u"Ganztägig"_s, u"DE"_s, u"EUR"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("other time text shown as it is")
            << QByteArray(R"({"title":"Summit","country":"All","impact":"high","time":" Day 2 "})")
            << QStringList{u""_s, u"Day 2"_s, u"ALL"_s, u"ALL"_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("country name cut to three letters")
            << QByteArray(R"({"title":"Ifo","country":"Germany","impact":"Medium"})")
            << QStringList{u""_s, u"Ganztägig"_s, u"GERMANY"_s, u"GER"_s, u"Medium"_s, u""_s, u""_s};
        QTest::newRow("numbers where texts belong")
            << QByteArray(R"({"title":"CPI","country":5,"impact":3,"date":1714739400,"time":830,"forecast":0.3,"actual":0.4})")
            << QStringList{u""_s, u"Ganztägig"_s, u""_s, u""_s, u"Low"_s, u""_s, u""_s};
        QTest::newRow("no title") << QByteArray(R"({"country":"USD","date":"2024-05-03T08:30:00Z"})") << QStringList{};
        QTest::newRow("empty title") << QByteArray(R"({"title":"","country":"USD"})") << QStringList{};
        QTest::newRow("title a number") << QByteArray(R"({"title":42,"country":"USD"})") << QStringList{};
    }
    void parseEvent()
    {
        QFETCH(QByteArray, raw);
        QFETCH(QStringList, expected);
        const std::optional<CalendarEvent> event = calendar::parseEvent(QJsonDocument::fromJson(raw).object());
        QCOMPARE(event.has_value(), !expected.isEmpty());
        if (!event)
            return;
        QCOMPARE((QStringList{event->time, event->timeDisplay, event->country, event->currency,
                              CalendarEvent::impactText(event->impact), event->forecast, event->actual}),
                 expected);
        QCOMPARE(event->id.size(), 16);
    }

    void eventId_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<QString>("id");
        // MD5 of title + country + time, worked out with another tool.
        QTest::newRow("ascii")
            << QByteArray(R"({"title":"CPI m/m","country":"usd","date":"2024-05-03T08:30:00-04:00"})")
            << u"359a2930ec2b105d"_s;
        QTest::newRow("utf-8")
            << QByteArray(R"({"title":"Rede von Präsident Lagarde","country":"EUR","date":"2024-05-03T12:30:00Z"})")
            << u"0010502b7ece0cb1"_s;
    }
    void eventId()
    {
        QFETCH(QByteArray, raw);
        QTEST(calendar::parseEvent(QJsonDocument::fromJson(raw).object())->id, "id");
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
        QStringList titles;
        for (const CalendarEvent &event : calendar::parseEvents(*entries))
            titles << event.event;
        QTEST(titles, "titles");
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

    // The simulated files look like a real week: every impact text, New York
    // offsets, all-day and tentative entries, all inside the week.
    void simulatedWeek_data()
    {
        QTest::addColumn<Week>("week");
        QTest::addColumn<QDate>("sunday");
        QTest::newRow("this week") << Week::This << QDate(2024, 5, 5);
        QTest::newRow("next week") << Week::Next << QDate(2024, 5, 12);
    }
    void simulatedWeek()
    {
        QFETCH(Week, week);
        QFETCH(QDate, sunday);
        sim::SimulatorOptions options;
        sim::CalendarFeed feed(options);
        const QJsonArray entries = feed.events(week, wednesday);
        QSet<QString> impacts;
        QSet<QString> markers;
        for (const QJsonValue &value : entries) {
            const QJsonObject entry = value.toObject();
            impacts << entry.value(u"impact"_s).toString();
            markers << entry.value(u"time"_s).toString();
            const QString date = entry.value(u"date"_s).toString();
            // Split entries carry a New York date; the others an instant with New York's offset.
            const QDate day = entry.contains(u"time"_s)
                                  ? QDate::fromString(date, u"MM-dd-yyyy"_s)
                                  : calendar::parseEventDate(date, {})->toTimeZone(QTimeZone("America/New_York")).date();
            QVERIFY2(day >= sunday && day < sunday.addDays(7), qPrintable(date));
            if (!entry.contains(u"time"_s))
                QVERIFY2(QRegularExpression(u"T\\d\\d:\\d\\d:00-0[45]:00$"_s).match(date).hasMatch(), qPrintable(date));
        }
        QCOMPARE(impacts, (QSet<QString>{u"High"_s, u"Medium"_s, u"Low"_s, u"Holiday"_s, u"Non-Economic"_s}));
        QVERIFY(markers.contains(u"All Day"_s));
        QVERIFY(markers.contains(u"Tentative"_s));
        QCOMPARE(feed.events(week, wednesday.addSecs(3600)).size(), entries.size()); // stable within the week
    }

    void requestHeaders()
    {
        Harness harness;
        harness.start();
        QVERIFY(harness.finishCycle());
        const QList<sim::RecordedRequest> &requests = harness.server().requests();
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests[0].path, thisWeekPath);
        QCOMPARE(requests[1].path, nextWeekPath);
        for (const sim::RecordedRequest &request : requests) {
            QCOMPARE(request.headers.value("user-agent"), QByteArray("Mozilla/5.0"));
            QCOMPARE(request.headers.value("accept"), QByteArray("application/json"));
        }
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
            harness.server().setFault(thisWeekPath, kind(sim::Fault::Kind::Hang));
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
