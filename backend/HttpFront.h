#pragma once

#include "ConnectionGuard.h"

#include <QAbstractHttpServer>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QPointer>

#include <functional>

class QTcpSocket;

namespace kalvo::backend {

struct HttpReply;

// One complete request as the backend's handlers see it.
struct IncomingRequest
{
    QByteArray method;
    QString path;
    QByteArray body;
    bool clientCloses = false; // the client sent "Connection: close"
    QElapsedTimer received;
};

// The HTTP side of the backend: guarded listening sockets, requests handed
// on as IncomingRequest, replies written whenever they are ready (the
// handlers are asynchronous, QtHttpServer's responder is not).
class HttpFront : public QAbstractHttpServer
{
    Q_OBJECT
public:
    using Handler = std::function<void(QPointer<QTcpSocket> socket, IncomingRequest request)>;

    HttpFront(const GuardLimits &limits, Handler handler, ConnectionGuard::RefusalSink refusals,
              QObject *parent = nullptr);

    // Returns the port, 0 on failure.
    quint16 listenGuarded(const QHostAddress &address, quint16 port);

    // Nothing happens when the client has gone meanwhile.
    static void send(const QPointer<QTcpSocket> &socket, const HttpReply &reply);

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    GuardLimits m_limits;
    Handler m_handler;
    ConnectionGuard::RefusalSink m_refusals;
};

} // namespace kalvo::backend
