#include "../TestSupport.h"

#include "FaultOption.h"
#include "sources/MarketHttp.h"

#include <QProcess>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

HttpResponse fetch(MarketHttp &http, const QString &url)
{
    HttpGet get;
    get.url = QUrl(url);
    get.timeout = 2s;
    QFuture<HttpResponse> future = http.get(get);
    return QTest::qWaitFor([&] { return future.isFinished(); }, 5000) ? future.result() : HttpResponse{};
}

} // namespace

class TestFaultOption : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::addColumn<QString>("target");
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("delayMs");

        using Kind = sim::Fault::Kind;
        QTest::newRow("status with code") << u"status:429@/ff_calendar_nextweek.json"_s << true
                                          << u"/ff_calendar_nextweek.json"_s << int(Kind::Status) << 429 << 0;
        QTest::newRow("status defaults to 500") << u"status@/feed/news/"_s << true << u"/feed/news/"_s << int(Kind::Status) << 500 << 0;
        QTest::newRow("delay") << u"delay:9000@/news/feed"_s << true << u"/news/feed"_s << int(Kind::Delay) << 500 << 9000;
        QTest::newRow("path with @ and =")
            << u"truncate@/npm/@fawazahmed0/currency-api@latest/v1/currencies/usd.json"_s << true
            << u"/npm/@fawazahmed0/currency-api@latest/v1/currencies/usd.json"_s << int(Kind::Truncate) << 500 << 0;
        QTest::newRow("target with query") << u"garbage@/rss/search?q=EURUSD&hl=en-US&gl=US&ceid=US:en"_s << true
                                           << u"/rss/search?q=EURUSD&hl=en-US&gl=US&ceid=US:en"_s
                                           << int(Kind::Garbage) << 500 << 0;
        QTest::newRow("no target") << u"hang"_s << false << QString() << 0 << 0 << 0;
        QTest::newRow("unknown kind") << u"explode@/feed/"_s << false << QString() << 0 << 0 << 0;
        QTest::newRow("delay needs its time") << u"delay@/feed/"_s << false << QString() << 0 << 0 << 0;
        QTest::newRow("no such status") << u"status:42@/feed/"_s << false << QString() << 0 << 0 << 0;
    }
    void parse()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        const std::optional<sim::FaultOption> option = sim::parseFaultOption(text);
        QCOMPARE(option.has_value(), valid);
        if (!option)
            return;
        QTEST(option->target, "target");
        QTEST(int(option->fault.kind), "kind");
        QTEST(option->fault.status, "status");
        QTEST(option->fault.delayMs, "delayMs");
    }

    // The stand-alone simulator takes its faults from the command line.
    void simulatorCommandLine()
    {
        QProcess simulator;
        simulator.start(QStringLiteral(KALVO_SIM_EXECUTABLE),
                        {u"--port"_s, u"0"_s, u"--fault"_s, u"status:503@/feed/news/"_s, u"--fault"_s,
                         u"empty-array@/ff_calendar_thisweek.json"_s});
        QVERIFY(simulator.waitForStarted());
        QByteArray printed;
        QVERIFY(QTest::qWaitFor([&] {
            printed += simulator.readAllStandardOutput();
            return QJsonDocument::fromJson(printed).isObject();
        }, 5000));
        const QString base = QJsonDocument::fromJson(printed).object().value(u"base"_s).toString();
        QVERIFY(base.startsWith(u"http://127.0.0.1:"_s));

        MarketHttp http;
        const HttpResponse news = fetch(http, base + u"/feed/news/"_s);
        QCOMPARE((std::pair{news.answered, news.status}), (std::pair{true, 503}));
        const HttpResponse calendar = fetch(http, base + u"/ff_calendar_thisweek.json"_s);
        QCOMPARE(calendar.body, "[]"_ba);
        const HttpResponse untouched = fetch(http, base + u"/ff_calendar_nextweek.json"_s);
        QVERIFY(untouched.body.size() > 100);

        simulator.kill();
        simulator.waitForFinished();
    }
};

QTEST_GUILESS_MAIN(TestFaultOption)
#include "tst_faultoption.moc"
