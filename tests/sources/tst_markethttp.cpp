#include "../TestSupport.h"

#include "LoopbackServer.h"
#include "sources/MarketHttp.h"

#include <QFuture>

#include <memory>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QString path = u"/data.json"_s;

} // namespace

class TestMarketHttp : public QObject
{
    Q_OBJECT

    sim::LoopbackServer m_server;
    QByteArray m_body;

    HttpGet request(std::chrono::milliseconds timeout, qint64 maxBodyBytes) const
    {
        HttpGet get;
        get.url = QUrl(m_server.baseUrl().toString() + path);
        get.timeout = timeout;
        get.maxBodyBytes = maxBodyBytes;
        return get;
    }

private slots:
    void initTestCase()
    {
        m_server.route(path, [this](const sim::RecordedRequest &) { return sim::HttpReply{200, "application/json", m_body}; });
        QVERIFY(m_server.start() != 0);
    }

    void init() { m_server.clearFaults(); }

    // Each outcome a source can produce, as the services see it. Nothing
    // quiet outlives the time-out, and nothing at all outlives three of them,
    // not even a reply that keeps dripping; time-outs are short only where
    // they are the point of the row.
    void outcomes_data()
    {
        QTest::addColumn<int>("faultKind"); // -1: none
        QTest::addColumn<int>("faultNumber");
        QTest::addColumn<int>("bodyBytes");
        QTest::addColumn<qint64>("maxBodyBytes");
        QTest::addColumn<int>("timeoutMs");
        QTest::addColumn<bool>("answered");
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("receivedBytes");

        constexpr qint64 usual = HttpGet::defaultMaxBodyBytes;
        const int status = int(sim::Fault::Kind::Status);
        QTest::newRow("answer") << -1 << 0 << 1000 << usual << 5000 << true << 200 << 1000;
        QTest::newRow("error status keeps its body") << status << 429 << 1000 << usual << 5000 << true << 429
                                                     << int(qstrlen("Too Many Requests"));
        QTest::newRow("no answer: time-out") << int(sim::Fault::Kind::Hang) << 0 << 1000 << usual << 150 << false << 0 << 0;
        QTest::newRow("dripping past three time-outs") << int(sim::Fault::Kind::Trickle) << 20 << 1000 << usual << 150
                                                       << false << 0 << 0;
        QTest::newRow("body over the limit") << -1 << 0 << 3'000'000 << qint64(1'000'000) << 5000 << false << 0 << 0;
        QTest::newRow("body at the limit") << -1 << 0 << 1'000'000 << qint64(1'000'000) << 5000 << true << 200 << 1'000'000;
        QTest::newRow("20 MB under the usual limit") << -1 << 0 << 20'000'000 << usual << 10'000 << true << 200 << 20'000'000;
        QTest::newRow("cut-off document, complete reply") << int(sim::Fault::Kind::Truncate) << 0 << 1000 << usual << 5000
                                                          << true << 200 << 500;
    }
    void outcomes()
    {
        QFETCH(int, faultKind);
        QFETCH(int, faultNumber);
        QFETCH(int, bodyBytes);
        QFETCH(qint64, maxBodyBytes);
        QFETCH(int, timeoutMs);
        m_body = QByteArray(bodyBytes, 'x');
        if (faultKind >= 0) {
            const auto kind = sim::Fault::Kind(faultKind);
            m_server.setFault(path, {kind, kind == sim::Fault::Kind::Status ? faultNumber : 0, faultNumber});
        }
        MarketHttp http;
        const QFuture<HttpResponse> future = http.get(request(std::chrono::milliseconds(timeoutMs), maxBodyBytes));
        QVERIFY(QTest::qWaitFor([&] { return future.isFinished(); }, 5000));
        const HttpResponse response = future.result();
        QTEST(response.answered, "answered");
        QTEST(response.status, "status");
        QTEST(int(response.body.size()), "receivedBytes");
    }

    // An owner going away must not leave anyone waiting for ever.
    void destroyedClientSettlesItsRequests()
    {
        m_server.setFault(path, {sim::Fault::Kind::Hang, 0, 0});
        auto http = std::make_unique<MarketHttp>();
        const QFuture<HttpResponse> future = http->get(request(10s, HttpGet::defaultMaxBodyBytes));
        QVERIFY(QTest::qWaitFor([&] { return m_server.requestCount(path) > 0; }, 3000));
        QVERIFY(!future.isFinished());
        http.reset();
        QVERIFY(QTest::qWaitFor([&] { return future.isFinished(); }, 1000));
        QVERIFY(!future.result().answered);
    }
};

QTEST_GUILESS_MAIN(TestMarketHttp)
#include "tst_markethttp.moc"
