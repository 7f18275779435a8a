#include "../TestSupport.h"

#include "LoopbackServer.h"
#include "sources/MarketHttp.h"

#include <QFuture>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QString path = u"/data.json"_s;

// HTTP's "deflate": a zlib stream, which qCompress writes after a length of its own.
QByteArray deflated(const QByteArray &data)
{
    return qCompress(data).mid(4);
}

} // namespace

// Answers, error statuses, hangs, cut-off bodies and a client going away are
// checked through the services against the simulator; here only the limits
// that no service test reaches.
class TestMarketHttp : public QObject
{
    Q_OBJECT

    sim::LoopbackServer m_server;
    QByteArray m_body;
    QList<std::pair<QByteArray, QByteArray>> m_headers;

private slots:
    void initTestCase()
    {
        m_server.route(path, [this](const sim::RecordedRequest &) {
            return sim::HttpReply{200, "application/json", m_body, m_headers};
        });
        QVERIFY(m_server.start() != 0);
    }

    // Nothing outlives three time-outs, not even a reply that keeps dripping;
    // a body over its limit counts as no answer. A packed body counts
    // unpacked; one that cannot be unpacked is no answer, nor is one that
    // unpacks far past the limit, however small it came.
    void limits_data()
    {
        QTest::addColumn<bool>("trickle"); // one byte every 20 ms, time-out 150 ms
        QTest::addColumn<QByteArray>("sent");
        QTest::addColumn<bool>("packed");
        QTest::addColumn<qint64>("maxBodyBytes");
        QTest::addColumn<QByteArray>("received"); // null: no answer

        const qint64 usual = HttpGet::defaultMaxBodyBytes;
        const QByteArray none;
        const QByteArray megabyte(1'000'000, 'x'), threeMegabytes(3'000'000, 'x'), twenty(20'000'000, 'x');
        QByteArray corrupt = deflated(threeMegabytes);
        corrupt.replace(0, 2, "\x78\xff"); // a header whose check fails
        QTest::newRow("dripping past three time-outs") << true << QByteArray(1000, 'x') << false << usual << none;
        QTest::newRow("body over the limit") << false << threeMegabytes << false << qint64(1'000'000) << none;
        QTest::newRow("body at the limit") << false << megabyte << false << qint64(1'000'000) << megabyte;
        QTest::newRow("20 MB under the usual limit") << false << twenty << false << usual << twenty;
        QTest::newRow("3 MB packed") << false << deflated(threeMegabytes) << true << usual << threeMegabytes;
        QTest::newRow("3 MB packed, limit 1 MB") << false << deflated(threeMegabytes) << true << qint64(1'000'000) << none;
        QTest::newRow("packed, corrupt") << false << corrupt << true << usual << none;
        QTest::newRow("64 MB packed into 64 kB") << false << deflated(QByteArray(64 << 20, '\0')) << true << usual << none;
    }
    void limits()
    {
        QFETCH(bool, trickle);
        QFETCH(bool, packed);
        QFETCH(QByteArray, received);
        QFETCH(QByteArray, sent);
        m_body = sent;
        m_headers.clear();
        if (packed)
            m_headers.emplaceBack("Content-Encoding", "deflate");
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
        QVERIFY(QTest::qWaitFor([&] { return future.isFinished(); }, 10000));
        const HttpResponse response = future.result();
        QCOMPARE(response.answered, !received.isNull());
        QCOMPARE(response.status, received.isNull() ? 0 : 200);
        QCOMPARE(response.body, received);
        QCOMPARE(response.header("content-encoding"), packed && !received.isNull() ? "deflate"_ba : QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestMarketHttp)
#include "tst_markethttp.moc"
