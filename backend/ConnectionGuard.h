#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTcpServer>
#include <QTimer>

#include <chrono>
#include <functional>

class QTcpSocket;

namespace kalvo::backend {

struct GuardLimits
{
    qint64 maxBodyBytes = 1024 * 1024;
    qint64 maxHeadBytes = 16 * 1024;
    std::chrono::milliseconds requestTimeout{10'000};
    std::chrono::milliseconds idleTimeout{60'000};
    std::chrono::milliseconds lingerTimeout{2'000};
};

// A request the guard answered itself, for the request log.
struct GuardRefusal
{
    QByteArray method;
    QString path;
    int status = 0;
    QString error;
    double milliseconds = 0;
};

// Watches the bytes of one connection before QtHttpServer reads them.
//
// QtHttpServer 6.4 reads a request until its Content-Length is complete,
// with no upper bound: the bytes stay in the socket's read transaction and
// again in the request body until the handler runs, so a client announcing
// 50 MB gets 100 MB buffered before anyone can say no. The guard's slot is
// connected to readyRead before the server's, peeks at the new bytes, follows
// request heads and body lengths, and refuses a request as soon as its head
// shows it is too large (413), its head is too long (431) or malformed (400),
// or it does not arrive within the request time-out (408, slow clients). A
// refused connection stops feeding the HTTP server: what the client still
// sends is read and dropped until it closes or the linger time is over.
class ConnectionGuard : public QObject
{
    Q_OBJECT
public:
    using RefusalSink = std::function<void(const GuardRefusal &refusal)>;

    ConnectionGuard(QTcpSocket *socket, const GuardLimits &limits, RefusalSink sink);

    static ConnectionGuard *of(QTcpSocket *socket);

    // Must be connected to readyRead before and after the HTTP server's slot.
    void beforeServerReads();
    void afterServerRead();

    // The HTTP layer took a complete request / wrote its reply.
    void requestDispatched();
    void replySent(bool closing);

private:
    enum class Phase { Idle, Head, Body, Refused };

    void consume(QByteArrayView bytes);
    qsizetype consumeHead(QByteArrayView bytes);
    qsizetype consumeBody(QByteArrayView bytes);
    void headComplete();
    void bodyComplete();
    void refuse(int status, const QString &error);
    void drain();
    void finish();

    QTcpSocket *m_socket;
    GuardLimits m_limits;
    RefusalSink m_sink;
    Phase m_phase = Phase::Idle;
    QByteArray m_head;
    QByteArray m_method;
    QString m_path;
    qint64 m_bodyExpected = 0;
    qint64 m_bodyReceived = 0;
    bool m_chunked = false;
    qint64 m_unreadByServer = 0;
    int m_inFlight = 0;
    bool m_finished = false;
    QElapsedTimer m_started;
    QTimer m_deadline;
    QTimer m_idle;
    QTimer m_linger;
};

// A TCP server whose every connection gets a ConnectionGuard before it is
// handed to the HTTP server.
class GuardedTcpServer : public QTcpServer
{
    Q_OBJECT
public:
    GuardedTcpServer(const GuardLimits &limits, ConnectionGuard::RefusalSink sink, QObject *parent = nullptr);

protected:
    void incomingConnection(qintptr handle) override;

private:
    GuardLimits m_limits;
    ConnectionGuard::RefusalSink m_sink;
};

} // namespace kalvo::backend
