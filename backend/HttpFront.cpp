#include "HttpFront.h"

#include "HttpReply.h"

#include <QHttpServerRequest>
#include <QTcpSocket>

namespace kalvo::backend {

namespace {

QByteArray methodName(QHttpServerRequest::Method method)
{
    switch (method) {
    case QHttpServerRequest::Method::Get: return "GET";
    case QHttpServerRequest::Method::Put: return "PUT";
    case QHttpServerRequest::Method::Delete: return "DELETE";
    case QHttpServerRequest::Method::Post: return "POST";
    case QHttpServerRequest::Method::Head: return "HEAD";
    case QHttpServerRequest::Method::Options: return "OPTIONS";
    case QHttpServerRequest::Method::Patch: return "PATCH";
    case QHttpServerRequest::Method::Connect: return "CONNECT";
    default: return "OTHER";
    }
}

} // namespace

HttpFront::HttpFront(const GuardLimits &limits, Handler handler, ConnectionGuard::RefusalSink refusals, QObject *parent)
    : QAbstractHttpServer(parent), m_limits(limits), m_handler(std::move(handler)), m_refusals(std::move(refusals))
{
}

quint16 HttpFront::listenGuarded(const QHostAddress &address, quint16 port)
{
    auto *server = new GuardedTcpServer(m_limits, m_refusals, this);
    if (!server->listen(address, port)) {
        delete server;
        return 0;
    }
    bind(server);
    return server->serverPort();
}

bool HttpFront::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    if (ConnectionGuard *guard = ConnectionGuard::of(socket))
        guard->requestDispatched();
    IncomingRequest incoming;
    incoming.received.start();
    incoming.method = methodName(request.method());
    incoming.path = request.url().path();
    incoming.body = request.body();
    incoming.clientCloses = request.value("connection").toLower().contains("close");
    m_handler(QPointer<QTcpSocket>(socket), std::move(incoming));
    return true;
}

void HttpFront::missingHandler(const QHttpServerRequest &, QTcpSocket *socket)
{
    send(QPointer<QTcpSocket>(socket), HttpReply::failure(404, QStringLiteral("not found")));
}

void HttpFront::send(const QPointer<QTcpSocket> &socket, const HttpReply &reply)
{
    if (!socket || socket->state() != QAbstractSocket::ConnectedState)
        return;
    socket->write(reply.serialized());
    if (ConnectionGuard *guard = ConnectionGuard::of(socket))
        guard->replySent(reply.closeConnection);
    else if (reply.closeConnection)
        socket->disconnectFromHost();
}

} // namespace kalvo::backend
