#include "SimulatedMarket.h"

#include "CalendarFeed.h"
#include "sources/CalendarParsing.h"
#include "sources/CalendarService.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QTcpServer>
#include <QTemporaryFile>

#include <unistd.h>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

using Kind = sim::Fault::Kind;

const QDateTime wednesday = test::utc(2024, 5, 8, 10); // 12:00 in Berlin
const QString thisWeekPath = sim::CalendarFeed::thisWeekPath;
const QString nextWeekPath = sim::CalendarFeed::nextWeekPath;

// A loopback port nobody listens on: connections are refused at once.
QString deadUrl(const QString &path)
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    return u"http://127.0.0.1:%1"_s.arg(probe.serverPort()) + path;
}

// A status, or a hang (-1) or garbage (-2).
sim::Fault status(int code) { return code == -1 ? sim::Fault{Kind::Hang, 0, 0} : code == -2 ? sim::Fault{Kind::Garbage, 0, 0} : sim::Fault{Kind::Status, code, 0}; }

QJsonObject entry(const QString &title, const QJsonValue &date)
{
    return {{u"title"_s, title}, {u"country"_s, u"USD"_s}, {u"impact"_s, u"High"_s}, {u"date"_s, date}};
}

QStringList titlesOf(const QList<CalendarEvent> &events)
{
    QStringList result;
    for (const CalendarEvent &event : events)
        result << event.event;
    return result;
}

// A calendar service on the simulator, or on other `addresses`; its log
// captured unless it prints it.
class Harness : public test::SimulatedMarket<CalendarService, QList<CalendarEvent>>
{
public:
    explicit Harness(const QJsonObject &addresses = {}, bool print = false) : SimulatedMarket(wednesday)
    {
        const Endpoints endpoints = this->endpoints(addresses);
        thisWeek = endpoints.url(u"calendar.this_week"_s);
        nextWeek = endpoints.url(u"calendar.next_week"_s);
        service = std::make_unique<CalendarService>(Config{}, endpoints, clock);
        service->setRequestTimeout(150ms);
        if (!print)
            service->setLogSink([this](const QString &line) { lines << line; });
    }

    // Runs until one more cycle has delivered, letting the clock through
    // the retry pauses; a cycle may end inside advance() when it needs no network.
    bool cycle(Clock::Duration pause = {})
    {
        const qsizetype target = deliveries.size() + 1;
        clock.advance(pause);
        return test::spin([&] { return deliveries.size() >= target; }, &clock);
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

    // This week: events named by their start in seconds from now, one
    // untitled, one undated; next week: one. Or one untitled entry in each.
    void serveWeeks(bool untitled = false)
    {
        const QJsonObject nameless = entry({}, formatIsoUtc(wednesday.addSecs(3600)));
        QJsonArray week{nameless, test::with(entry(u"undated"_s, u"Donnerstag"_s), u"time"_s, u"Tentative"_s)};
        for (int offset : {-1, 0, 2100, 172800, 172801})
            week.append(entry(QString::number(offset), formatIsoUtc(wednesday.addSecs(offset))));
        const auto serve = [this](const QString &path, const QJsonArray &events) {
            server().route(path, [body = QJsonDocument(events).toJson()](const sim::RecordedRequest &) {
                return sim::HttpReply{200, "application/json", body};
            });
        };
        serve(thisWeekPath, untitled ? QJsonArray{nameless} : week);
        serve(nextWeekPath, {untitled ? nameless : entry(u"NFP"_s, formatIsoUtc(wednesday.addDays(5)))});
    }

    QString thisWeek, nextWeek;
    QStringList lines;
};

// Three failed attempts; an HTTP error sets a cooldown with its status, giving up the next one.
QStringList fails(const QString &source, const QString &outcome, int status = 0, int cooldown = 0)
{
    QStringList lines;
    for (int attempt = 1; attempt <= 3; ++attempt)
        lines << u"Source %1 Versuch %2 %3"_s.arg(source).arg(attempt).arg(outcome);
    if (status)
        lines << u"Cooldown gesetzt für %1: %2s (status=%3, fail=1)"_s.arg(source).arg(cooldown).arg(status);
    return lines << u"Cooldown gesetzt für %1: %2s (status=n/a, fail=%3)"_s.arg(source).arg(status ? 240 : 120).arg(status ? 2 : 1)
                 << u"✗ Source dauerhaft fehlgeschlagen: "_s + source;
}

} // namespace

class TestCalendarService : public QObject
{
    Q_OBJECT

private slots:
    void oneCycle_data()
    {
        QTest::addColumn<int>("thisFault"); // 0: none, see status()
        QTest::addColumn<int>("nextFault");
        QTest::addColumn<bool>("untitled"); // both files hold one entry without a title instead
        QTest::addColumn<QStringList>("expected");
        QTest::addColumn<QStringList>("delivered");

        const QStringList opening{u"→ Calendar loop gestartet"_s, u"→ Fetch gestartet"_s};
        const QStringList thisOk{u"Source {this} Versuch 1 ok: 7 Events"_s};
        const QStringList nextOk{u"Source {next} Versuch 1 ok: 1 Events"_s};
        const auto success = [](int sources, int raw, int stored, int upcoming) {
            return QStringList{u"Quellen erfolgreich: %1/2, Raw-Events: %2"_s.arg(sources).arg(raw),
                               u"✓ Fetch erfolgreich: gespeichert=%1, upcoming(48h)=%2"_s.arg(stored).arg(upcoming),
                               u"Nächster Fetch in 1800s (success=true)"_s};
        };
        const auto thisFails = [&](const QString &outcome) { return opening + fails(u"{this}"_s, outcome) + nextOk + success(1, 1, 1, 0); };
        const QStringList window{u"0"_s, u"2100"_s, u"172800"_s}; // from now to 48 hours ahead, inclusive

        QTest::newRow("both weeks") << 0 << 0 << false << opening + thisOk + nextOk + success(2, 8, 7, 3) << window;
        QTest::newRow("next week 404 three times")
            << 0 << 404 << false
            << opening + thisOk + fails(u"{next}"_s, u"HTTP 404"_s, 404, 43200) + success(1, 7, 6, 3)
            << QStringList{u"2100"_s, u"172800"_s, u"172801"_s}; // the window starts after the retries
        QTest::newRow("no answer") << -1 << 0 << false << thisFails(u"fehlgeschlagen (Netzwerk)"_s) << QStringList{};
        QTest::newRow("garbage") << -2 << 0 << false << thisFails(u"lieferte leere/ungueltige JSON"_s) << QStringList{};
        QTest::newRow("nothing delivered")
            << 500 << 404 << false
            << opening + fails(u"{this}"_s, u"HTTP 500"_s, 500, 120) + fails(u"{next}"_s, u"HTTP 404"_s, 404, 43200)
                   + QStringList{u"Quellen erfolgreich: 0/2, Raw-Events: 0"_s,
                                 u"⚠ Keine Quelle lieferte Daten, nutze bestehenden Stand (0 Events)"_s,
                                 u"Nächster Fetch in 300s (success=false)"_s}
            << QStringList{};
        QTest::newRow("nothing titled")
            << 0 << 0 << true
            << opening + QStringList{u"Source {this} Versuch 1 ok: 1 Events"_s} + nextOk
                   + QStringList{u"Quellen erfolgreich: 2/2, Raw-Events: 2"_s, u"⚠ Verarbeitung ergab 0 Events, nutze bestehenden Stand (0 Events)"_s,
                                 u"Nächster Fetch in 300s (success=false)"_s}
            << QStringList{};
    }
    void oneCycle()
    {
        QFETCH(int, thisFault);
        QFETCH(int, nextFault);
        QFETCH(bool, untitled);

        Harness harness({}, true);
        if (thisFault)
            harness.server().setFault(thisWeekPath, status(thisFault));
        if (nextFault)
            harness.server().setFault(nextWeekPath, status(nextFault));
        harness.serveWeeks(untitled);
        // Without a sink of its own the service prints its log, UTF-8, one
        // line per message, stamped with the local time.
        QTemporaryFile file;
        QVERIFY(file.open());
        std::fflush(stdout);
        const int saved = dup(STDOUT_FILENO);
        dup2(file.handle(), STDOUT_FILENO);
        harness.start();
        const bool finished = harness.cycle();
        std::fflush(stdout);
        dup2(saved, STDOUT_FILENO);
        close(saved);
        QVERIFY(finished);
        file.seek(0);
        harness.lines = QString::fromUtf8(file.readAll()).split(u'\n');
        QCOMPARE(harness.lines.takeLast(), QString());
        QVERIFY(harness.lines.first().startsWith(u"[12:00:00] [Calendar] "_s));
        QTEST(harness.messages(), "expected");
        QCOMPARE(harness.deliveries.size(), 1);
        QTEST(titlesOf(harness.deliveries[0]), "delivered");

        // Attempts of a failing file are 0, 1 and 2 seconds apart on the service's clock.
        const auto second = [&](const QString &needle) { return harness.lines.filter(needle).value(0, u"[12:00:-1"_s).mid(7, 2).toInt(); };
        for (const QString &source : {harness.thisWeek, harness.nextWeek}) {
            const int first = second(source + u" Versuch 1 "_s);
            if (second(source + u" Versuch 3 "_s) >= 0)
                QCOMPARE((QList<int>{second(source + u" Versuch 2 "_s), second(source + u" Versuch 3 "_s)}),
                         (QList<int>{first + 1, first + 3}));
        }
        for (const sim::RecordedRequest &request : harness.server().requests()) {
            QCOMPARE(request.headers.value("user-agent"), QByteArray("Mozilla/5.0"));
            QCOMPARE(request.headers.value("accept"), QByteArray("application/json"));
        }
    }

    void cooldownsOverCycles_data()
    {
        QTest::addColumn<QString>("failing"); // "this" or "both"
        QTest::addColumn<int>("status");      // 0: nobody listens
        QTest::addColumn<int>("cycles");
        QTest::addColumn<int>("successCycle"); // the one cycle without the fault, if any
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
        const QString t = u"{this}"_s, n = u"{next}"_s;
        QTest::newRow("unreachable: grows to the cap") << u"this"_s << 0 << 12 << 0 << network(t, 1, 12);
        QTest::newRow("rate limited: escalates, a success resets")
            << u"this"_s << 429 << 4 << 3
            << QStringList{cooldown(t, 300, 429, 1), cooldown(t, 240, 0, 2), cooldown(t, 1800, 429, 3),
                           cooldown(t, 480, 0, 4), cooldown(t, 300, 429, 1), cooldown(t, 240, 0, 2)};
        // Failed cycles come every 300 s; from the third failure on the
        // cooldown outlasts that and the files are skipped once.
        QStringList both;
        for (int fail = 1; fail <= 3; ++fail)
            both << network(t, fail, fail) << network(n, fail, fail);
        both << u"Source {this} in Cooldown (57s verbleibend)"_s << u"Source {next} in Cooldown (60s verbleibend)"_s
             << network(t, 4, 4) << network(n, 4, 4);
        QTest::newRow("both unreachable: skipped while cooling down") << u"both"_s << 0 << 5 << 0 << both;
    }
    void cooldownsOverCycles()
    {
        QFETCH(QString, failing);
        QFETCH(int, status);
        QFETCH(int, cycles);
        QFETCH(int, successCycle);

        const bool nextFails = failing == "both"_L1;
        QJsonObject addresses;
        if (status == 0)
            addresses.insert(u"calendar.this_week"_s, deadUrl(thisWeekPath));
        if (status == 0 && nextFails)
            addresses.insert(u"calendar.next_week"_s, deadUrl(nextWeekPath));
        Harness harness(addresses);
        for (int cycle = 1; cycle <= cycles; ++cycle) {
            if (status != 0 && cycle == successCycle)
                harness.server().clearFault(thisWeekPath);
            else if (status != 0)
                harness.server().setFault(thisWeekPath, ::status(status));
            if (cycle == 1)
                harness.start();
            QVERIFY(harness.cycle(cycle == 1 ? 0s : nextFails ? CalendarService::failurePause : CalendarService::successPause));
        }

        QCOMPARE(harness.deliveries.size(), cycles);
        QTEST(harness.messages().filter(u"Cooldown"_s), "cooldowns");
    }

    // A failed cycle keeps the last good list and windows it again.
    void staleListIsWindowedAgain()
    {
        Harness harness;
        harness.serveWeeks();
        harness.start();
        QVERIFY(harness.cycle()); // 10:00
        harness.server().setFault(thisWeekPath, status(500));
        harness.server().setFault(nextWeekPath, status(500));
        QVERIFY(harness.cycle(CalendarService::successPause)); // 10:30 and the retries
        QVERIFY(harness.cycle(CalendarService::failurePause)); // 10:35 and the retries
        QCOMPARE(harness.deliveries.size(), 3);
        QCOMPARE(titlesOf(harness.deliveries[1]), (QStringList{u"2100"_s, u"172800"_s, u"172801"_s}));
        QCOMPARE(titlesOf(harness.deliveries[2]), (QStringList{u"172800"_s, u"172801"_s}));
        QCOMPARE(harness.messages().filter(u"nutze bestehenden Stand (7 Events)"_s).size(), 2);
    }

    // The id is the start of the MD5 of title, country and time, worked out
    // with another tool.
    void parseEvent_data()
    {
        QTest::addColumn<QByteArray>("raw");
        QTest::addColumn<QString>("expected"); // id | time | display | country | currency | impact | forecast | actual; empty: dropped

        QTest::newRow("ISO with offset wins over the clock text")
            << QByteArray(R"({"title":"CPI m/m","country":"USD","impact":"High","date":"2024-05-03T08:30:00-04:00","time":"8:30am","forecast":"0.3%","previous":"0.4%"})")
            << u"359a2930ec2b105d|2024-05-03T12:30:00Z|14:30|USD|USD|High|0.3%|"_s;
        QTest::newRow("split date, 8:30am, impact case matters")
            << QByteArray(R"({"title":"NFP","country":"USD","impact":"high","date":"05-03-2024","time":"8:30am"})")
            << u"d840888560c22048|2024-05-03T06:30:00Z|08:30|USD|USD|Low||"_s;
        QTest::newRow("date and clock in one text")
            << QByteArray(R"({"title":"NFP","country":"USD","date":"2024-05-03 14:00"})")
            << u"fc49999d8a8f102b|2024-05-03T12:00:00Z|14:00|USD|USD|Low||"_s;
        QTest::newRow("all day with a split date: local midnight")
            << QByteArray(R"({"title":"Bank Holiday","country":"JPY","impact":"Holiday","date":"05-03-2024","time":"All Day"})")
            << u"8c72ed3da76af613|2024-05-02T22:00:00Z|00:00|JPY|JPY|Holiday||"_s;
        QTest::newRow("country name cut to three letters, id of UTF-8")
            << QByteArray(R"({"title":"Ifo-Geschäftsklima","country":"Germany","impact":"Medium","time":" Day 2 "})")
            << u"ccfb0572f55d6ef9||Day 2|GERMANY|GER|Medium||"_s;
        QTest::newRow("numbers where texts belong")
            << QByteArray(R"({"title":"CPI","country":5,"impact":3,"date":1714739400,"time":830,"forecast":0.3,"actual":0.4})")
            << u"0eb129316a29bec3||Ganztägig|||Low||"_s;
        QTest::newRow("title a number") << QByteArray(R"({"title":42,"country":"USD"})") << QString();
    }
    void parseEvent()
    {
        QFETCH(QByteArray, raw);
        QFETCH(QString, expected);
        const std::optional<CalendarEvent> event = calendar::parseEvent(QJsonDocument::fromJson(raw).object());
        QCOMPARE(event.has_value(), !expected.isEmpty());
        if (event)
            QCOMPARE((QStringList{event->id, event->time, event->timeDisplay, event->country, event->currency,
                                  CalendarEvent::impactText(event->impact), event->forecast, event->actual}.join(u'|')), expected);
    }

    // Stable, undated last, offsets compared as instants; a file must be a
    // non-empty array of objects.
    void fileToEvents_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QStringList>("titles"); // null: not a calendar file
        QTest::newRow("sorted") << QByteArray(R"([{"title":"B","time":"All Day"},{"title":"A","date":"2024-05-03T12:00:00Z"},
                {"title":"C","date":"2024-05-03T10:00:00Z"},{"title":""},{"title":"D","date":"soon"},
                {"title":"E","date":"2024-05-03T06:00:00-04:00"},{"title":"F","date":"2024-05-03T18:00:00+09:00"}])")
                                << QStringList{u"F"_s, u"C"_s, u"E"_s, u"A"_s, u"B"_s, u"D"_s};
        QTest::newRow("empty array") << QByteArray("[]") << QStringList();
        QTest::newRow("one entry not an object") << QByteArray(R"([{"title":"A"},"B"])") << QStringList();
        QTest::newRow("object") << QByteArray(R"({"events":[{"title":"A"}]})") << QStringList();
    }
    void fileToEvents()
    {
        QFETCH(QByteArray, body);
        QFETCH(QStringList, titles);
        const std::optional<QList<QJsonObject>> entries = calendar::fileEntries(body);
        QCOMPARE(entries.has_value(), !titles.isEmpty());
        if (entries)
            QCOMPARE(titlesOf(calendar::parseEvents(*entries)), titles);
    }
};

QTEST_GUILESS_MAIN(TestCalendarService)
#include "tst_calendarservice.moc"
