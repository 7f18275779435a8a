#include "../TestSupport.h"

#include "LoopbackServer.h"
#include "sources/MarketHttp.h"

#include <QFuture>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QString path = u"/data.json"_s;

} // namespace

// Answers, error statuses, hangs, cut-off bodies and a client going away are
// checked through the services against the simulator; here only the limits
// that no service test reaches.
class TestMarketHttp : public QObject
{
    Q_OBJECT

    sim::LoopbackServer m_server;
    QByteArray m_body;

private slots:
    void initTestCase()
    {
        m_server.route(path, [this](const sim::RecordedRequest &) { return sim::HttpReply{200, "application/json", m_body}; });
        QVERIFY(m_server.start() != 0);
    }

    // Nothing outlives three time-outs, not even a reply that keeps dripping;
    // a body over its limit counts as no answer.
    void limits_data()
    {
        QTest::addColumn<bool>("trickle"); // one byte every 20 ms, time-out 150 ms
        QTest::addColumn<int>("bodyBytes");
        QTest::addColumn<qint64>("maxBodyBytes");
        QTest::addColumn<bool>("answered");

        QTest::newRow("dripping past three time-outs") << true << 1000 << HttpGet::defaultMaxBodyBytes << false;
        QTest::newRow("body over the limit") << false << 3'000'000 << qint64(1'000'000) << false;
        QTest::newRow("body at the limit") << false << 1'000'000 << qint64(1'000'000) << true;
        QTest::newRow("20 MB under the usual limit") << false << 20'000'000 << HttpGet::defaultMaxBodyBytes << true;
    }
    void limits()
    {
        QFETCH(bool, trickle);
        QFETCH(int, bodyBytes);
        QFETCH(bool, answered);
        m_body = QByteArray(bodyBytes, 'x');
        m_server.clearFaults();
        if (trickle)
            m_server.setFault(path, {sim::Fault::Kind::Trickle, 0, 20});
        HttpGet get;
        get.url = QUrl(m_server.baseUrl().toString() + path);
        get.timeout = trickle ? 150ms : 10s;
        QFETCH(qint64, maxBodyBytes);
        get.maxBodyBytes = maxBodyBytes;
        MarketHttp http;
        const QFuture<HttpResponse> future = http.get(get);
        QVERIFY(QTest::qWaitFor([&] { return future.isFinished(); }, 5000));
        const HttpResponse response = future.result();
        QCOMPARE(response.answered, answered);
        QCOMPARE(response.status, answered ? 200 : 0);
        QCOMPARE(response.body.size(), answered ? bodyBytes : 0);
    }
};

QTEST_GUILESS_MAIN(TestMarketHttp)
#include "tst_markethttp.moc"
