#include "BackendClient.h"

#include "BackendServer.h"

#include <QTcpSocket>
#include <QTest>
#include <QTimer>

#include <memory>

using namespace kalvo::backend;
using namespace std::chrono_literals;

namespace {

const QString token = u"guard-5c1d9a77e0"_s;

// Short time-outs so that idle and refused connections end at once; the
// request time-out stays generous unless a test is about it.
std::unique_ptr<BackendServer> startServer(std::chrono::milliseconds requestTimeout = 2s,
                                           std::shared_ptr<QStringList> log = std::make_shared<QStringList>())
{
    BackendOptions options;
    options.tokens = {token};
    options.requestTimeout = requestTimeout;
    options.idleTimeout = 150ms;
    options.lingerTimeout = 100ms;
    options.log = [log](const QString &line) { log->append(line); };
    auto server = std::make_unique<BackendServer>(options);
    server->listen();
    return server;
}

// A client that speaks raw bytes, so that it can lie about lengths, stall and
// send more than any real client library would.
class RawClient
{
public:
    explicit RawClient(quint16 port)
    {
        QObject::connect(&m_socket, &QIODevice::readyRead, [this] { m_received += m_socket.readAll(); });
        m_socket.connectToHost(QHostAddress::LocalHost, port);
        m_socket.waitForConnected(5000);
    }

    void send(const QByteArray &bytes)
    {
        m_socket.write(bytes);
        m_sent += bytes.size();
    }

    // Sends `bytes` one at a time, `interval` apart, until all are out or the
    // server closed the connection.
    void dribble(const QByteArray &bytes, std::chrono::milliseconds interval)
    {
        auto next = std::make_shared<qsizetype>(0);
        m_timer.setInterval(interval);
        QObject::connect(&m_timer, &QTimer::timeout, [this, bytes, next] {
            if (*next >= bytes.size() || m_socket.state() != QAbstractSocket::ConnectedState) {
                m_timer.stop();
                return;
            }
            send(bytes.mid((*next)++, 1));
        });
        m_timer.start();
    }

    bool waitUntilClosed() { return QTest::qWaitFor([this] { return m_socket.state() == QAbstractSocket::UnconnectedState; }, 5000); }
    bool waitForReplies(int count)
    {
        return QTest::qWaitFor([&] { return m_received.count("HTTP/1.1 ") >= count && m_received.endsWith('}'); }, 5000);
    }

    QByteArray statusLine() const { return m_received.left(m_received.indexOf("\r\n")); }
    const QByteArray &received() const { return m_received; }
    qint64 sent() const { return m_sent; }

private:
    QTcpSocket m_socket;
    QTimer m_timer;
    QByteArray m_received;
    qint64 m_sent = 0;
};

QByteArray head(const QByteArray &extraHeaders)
{
    return "POST /_functions/aiClaude HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n" + extraHeaders
        + "\r\n";
}

QByteArray lengthHead(const QByteArray &body)
{
    return head("Content-Length: " + QByteArray::number(body.size()) + "\r\n");
}

QByteArray pingBody()
{
    return QJsonDocument(test::modelCall(token, u"ping"_s)).toJson(QJsonDocument::Compact);
}

} // namespace

class TestConnectionGuard : public QObject
{
    Q_OBJECT

private slots:
    void refusesOnTheHead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("statusLine");

        const QByteArray tooLarge = "HTTP/1.1 413 Payload Too Large";
        const QByteArray bad = "HTTP/1.1 400 Bad Request";
        const QByteArray headTooLarge = "HTTP/1.1 431 Request Header Fields Too Large";
        // The body that follows is a small share of what the head announces:
        // the answer has to come before the rest would have arrived.
        QTest::newRow("50 MB announced") << head("Content-Length: 52428800\r\n") + QByteArray(64 * 1024, 'x') << tooLarge;
        QTest::newRow("50 MB with 100-continue") << head("Content-Length: 52428800\r\nExpect: 100-continue\r\n")
                                                 << tooLarge;
        QByteArray chunks;
        for (int i = 0; i < 20; ++i) // 1280 KiB in chunks of 64 KiB
            chunks += "10000\r\n" + QByteArray(64 * 1024, 'x') + "\r\n";
        QTest::newRow("chunked past the limit") << head("Transfer-Encoding: chunked\r\n") + chunks << tooLarge;
        QTest::newRow("length and chunked at once") << head("Content-Length: 10\r\nTransfer-Encoding: chunked\r\n")
                                                    << bad;
        QTest::newRow("length not a number") << head("Content-Length: 1e3\r\n") << bad;
        QTest::newRow("endless head") << QByteArray("GET /_functions/appVersion HTTP/1.1\r\nX-Filler: ")
                                             + QByteArray(64 * 1024, 'y')
                                      << headTooLarge;
    }

    void refusesOnTheHead()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, statusLine);
        const auto server = startServer();
        RawClient client(server->port());
        client.send(bytes);
        QVERIFY(client.waitUntilClosed());
        QCOMPARE(client.statusLine(), statusLine);
        // Exactly one reply, and no "100 Continue" invitation before it.
        QCOMPARE(client.received().count("HTTP/1.1 "), 1);
        QVERIFY(client.received().contains("Connection: close"));
        QVERIFY(client.received().endsWith("\"ok\":false}"));
    }

    void acceptsBodiesUpToTheLimit_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::addColumn<int>("status");
        QTest::newRow("exactly 1 MiB") << qsizetype(1024 * 1024) << 200;
        QTest::newRow("1 MiB and one byte") << qsizetype(1024 * 1024 + 1) << 413;
    }
    void acceptsBodiesUpToTheLimit()
    {
        QFETCH(qsizetype, size);
        QFETCH(int, status);
        const auto server = startServer();
        QJsonObject call = test::modelCall(token, u"ping"_s);
        call.insert(u"padding"_s, QString());
        call.insert(u"padding"_s, QString(size - QJsonDocument(call).toJson(QJsonDocument::Compact).size(), u'p'));
        const QByteArray body = QJsonDocument(call).toJson(QJsonDocument::Compact);
        QCOMPARE(body.size(), size);
        QNetworkAccessManager network;
        QCOMPARE(test::post(network, QUrl(server->functionsUrl().toString() + u"/aiClaude"_s), body).status, status);
    }

    // A client that sends one byte every 25 ms gets a 408; one that sends
    // nothing is closed without a word.
    void endsSlowAndIdleClients()
    {
        const auto log = std::make_shared<QStringList>();
        const auto server = startServer(150ms, log);
        RawClient slow(server->port());
        const QByteArray body = pingBody();
        slow.send(lengthHead(body));
        slow.dribble(body, 25ms);
        QVERIFY(slow.waitUntilClosed());
        QCOMPARE(slow.statusLine(), QByteArray("HTTP/1.1 408 Request Timeout"));
        QVERIFY(slow.sent() < lengthHead(body).size() + body.size());
        QVERIFY(!log->isEmpty() && log->last().contains(u" 408 "_s));

        RawClient idle(server->port());
        QVERIFY(idle.waitUntilClosed());
        QVERIFY(idle.received().isEmpty());
    }

    // A plain and a chunked request on one connection, both answered.
    void keepsTheConnectionForFurtherRequests()
    {
        const auto server = startServer();
        RawClient client(server->port());
        const QByteArray body = pingBody();
        client.send(lengthHead(body) + body);
        QVERIFY(client.waitForReplies(1));
        client.send(head("Transfer-Encoding: chunked\r\n") + QByteArray::number(body.size(), 16) + "\r\n" + body
                    + "\r\n0\r\n\r\n");
        QVERIFY(client.waitForReplies(2));
        QCOMPARE(client.received().count("HTTP/1.1 200 OK"), 2);
        QCOMPARE(client.received().count("\"text\":\"pong\""), 2);
    }
};

QTEST_GUILESS_MAIN(TestConnectionGuard)
#include "tst_connectionguard.moc"
