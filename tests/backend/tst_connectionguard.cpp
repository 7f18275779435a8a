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

// Short time-outs so that idle and refused connections end within a test's
// time; the request time-out stays generous unless a test is about it.
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

QByteArray pingBody()
{
    return QJsonDocument(test::modelCall(token, u"ping"_s)).toJson(QJsonDocument::Compact);
}

QByteArray chunked(qsizetype total)
{
    QByteArray bytes;
    const QByteArray chunk(64 * 1024, 'x');
    for (qsizetype sent = 0; sent < total; sent += chunk.size())
        bytes += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
    return bytes;
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
        // The body that follows is a small part of what the head announces:
        // the answer has to come before the rest would have arrived.
        QTest::newRow("50 MB announced") << head("Content-Length: 52428800\r\n") + QByteArray(64 * 1024, 'x') << tooLarge;
        QTest::newRow("50 MB with 100-continue") << head("Content-Length: 52428800\r\nExpect: 100-continue\r\n")
                                                 << tooLarge;
        QTest::newRow("chunked past the limit") << head("Transfer-Encoding: chunked\r\n") + chunked(1200 * 1024)
                                                << tooLarge;
        QTest::newRow("length and chunked at once") << head("Content-Length: 10\r\nTransfer-Encoding: chunked\r\n")
                                                    << bad;
        QTest::newRow("length not a number") << head("Content-Length: 1e3\r\n") << bad;
        QTest::newRow("two different lengths") << head("Content-Length: 10\r\nContent-Length: 20\r\n") << bad;
        QTest::newRow("unknown protocol") << QByteArray("GET / HTTP/2.0\r\n\r\n") << bad;
        QTest::newRow("header without colon") << head("Broken header\r\n") << bad;
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
        const qsizetype bare = QJsonDocument(call).toJson(QJsonDocument::Compact).size();
        call.insert(u"padding"_s, QString(size - bare, u'p'));
        const QByteArray body = QJsonDocument(call).toJson(QJsonDocument::Compact);
        QCOMPARE(body.size(), size);

        QNetworkAccessManager network;
        const test::HttpResult result =
            test::post(network, QUrl(server->functionsUrl().toString() + u"/aiClaude"_s), body);
        QCOMPARE(result.status, status);
    }

    void endsSlowClients_data()
    {
        QTest::addColumn<QByteArray>("start"); // sent at once
        QTest::addColumn<QByteArray>("rest");  // then one byte every 25 ms
        const QByteArray body = pingBody();
        QTest::newRow("slow body") << head("Content-Length: " + QByteArray::number(body.size()) + "\r\n") << body;
        QTest::newRow("slow head") << QByteArray() << head("Content-Length: " + QByteArray::number(body.size()) + "\r\n");
    }

    void endsSlowClients()
    {
        QFETCH(QByteArray, start);
        QFETCH(QByteArray, rest);
        const auto log = std::make_shared<QStringList>();
        const auto server = startServer(150ms, log);
        RawClient client(server->port());
        client.send(start);
        client.dribble(rest, 25ms);
        QVERIFY(client.waitUntilClosed());
        QCOMPARE(client.statusLine(), QByteArray("HTTP/1.1 408 Request Timeout"));
        QVERIFY(client.sent() < start.size() + rest.size());
        QVERIFY(!log->isEmpty() && log->last().contains(u" 408 "_s));
    }

    void closesIdleConnections()
    {
        const auto server = startServer();
        RawClient client(server->port());
        QVERIFY(client.waitUntilClosed());
        QVERIFY(client.received().isEmpty());
    }

    // A plain and a chunked request on one connection, both answered.
    void keepsTheConnectionForFurtherRequests()
    {
        const auto server = startServer();
        RawClient client(server->port());
        const QByteArray body = pingBody();
        client.send(head("Content-Length: " + QByteArray::number(body.size()) + "\r\n") + body);
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
