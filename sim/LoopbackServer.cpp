#include "LoopbackServer.h"

#include <QHttpServerRequest>
#include <QTcpSocket>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 404: return "Not Found";
    case 413: return "Payload Too Large";
    case 429: return "Too Many Requests";
    case 500: return "Internal Server Error";
    case 502: return "Bad Gateway";
    case 503: return "Service Unavailable";
    default: return "Status";
    }
}

RecordedRequest record(const QHttpServerRequest &request)
{
    RecordedRequest recorded;
    switch (request.method()) {
    case QHttpServerRequest::Method::Get: recorded.method = "GET"; break;
    case QHttpServerRequest::Method::Post: recorded.method = "POST"; break;
    case QHttpServerRequest::Method::Head: recorded.method = "HEAD"; break;
    default: recorded.method = "OTHER"; break;
    }
    recorded.path = request.url().path();
    recorded.query = request.url().query(QUrl::FullyEncoded);
    for (const auto &[name, value] : request.headers())
        recorded.headers.insert(name.toLower(), value);
    recorded.body = request.body();
    return recorded;
}

} // namespace

LoopbackServer::LoopbackServer(QObject *parent) : QAbstractHttpServer(parent) {}

quint16 LoopbackServer::start(quint16 port)
{
    m_port = listen(QHostAddress::LocalHost, port);
    return m_port;
}

QUrl LoopbackServer::baseUrl() const
{
    return QUrl(u"http://127.0.0.1:%1"_s.arg(m_port));
}

void LoopbackServer::route(const QString &path, Route handler)
{
    m_routes.insert(path, std::move(handler));
}

void LoopbackServer::routePrefix(const QString &prefix, Route handler)
{
    m_prefixRoutes.insert(prefix, std::move(handler));
}

const LoopbackServer::Route *LoopbackServer::findRoute(const QString &path) const
{
    if (const auto exact = m_routes.constFind(path); exact != m_routes.cend())
        return &*exact;
    const Route *best = nullptr;
    qsizetype bestLength = -1;
    for (auto it = m_prefixRoutes.cbegin(); it != m_prefixRoutes.cend(); ++it) {
        if (path.startsWith(it.key()) && it.key().size() > bestLength) {
            best = &*it;
            bestLength = it.key().size();
        }
    }
    return best;
}

const Fault *LoopbackServer::findFault(const RecordedRequest &request) const
{
    if (!request.query.isEmpty()) {
        if (const auto withQuery = m_faults.constFind(request.path + u'?' + request.query); withQuery != m_faults.cend())
            return &*withQuery;
    }
    const auto onPath = m_faults.constFind(request.path);
    return onPath == m_faults.cend() ? nullptr : &*onPath;
}

int LoopbackServer::requestCount(const QString &path) const
{
    return int(std::count_if(m_requests.cbegin(), m_requests.cend(),
                             [&](const RecordedRequest &r) { return r.path == path; }));
}

bool LoopbackServer::handleRequest(const QHttpServerRequest &request, QTcpSocket *socket)
{
    RecordedRequest recorded = record(request);
    m_requests.append(recorded);
    answer(socket, recorded);
    return true;
}

void LoopbackServer::missingHandler(const QHttpServerRequest &, QTcpSocket *socket)
{
    write(socket, {404, "text/plain", "not found"});
}

void LoopbackServer::answer(QPointer<QTcpSocket> socket, const RecordedRequest &request)
{
    const Route *route = findRoute(request.path);
    if (!route) {
        write(socket, {404, "text/plain", "not found"});
        return;
    }
    const Fault *fault = findFault(request);
    if (!fault) {
        write(socket, (*route)(request));
        return;
    }
    switch (fault->kind) {
    case Fault::Kind::Status:
        write(socket, {fault->status, "text/plain", reasonPhrase(fault->status)});
        return;
    case Fault::Kind::Hang:
        return; // the socket stays open until the client gives up
    case Fault::Kind::Delay:
        QTimer::singleShot(fault->delayMs, this, [socket, reply = (*route)(request)] {
            if (socket)
                write(socket, reply);
        });
        return;
    case Fault::Kind::Truncate: {
        HttpReply reply = (*route)(request);
        reply.body.truncate(reply.body.size() / 2);
        write(socket, reply);
        return;
    }
    case Fault::Kind::Empty:
        write(socket, {200, (*route)(request).contentType, {}});
        return;
    case Fault::Kind::Garbage:
        write(socket, {200, (*route)(request).contentType, QByteArray("\x00\xff\xfe<<\x01garbage\x80", 16)});
        return;
    case Fault::Kind::InvalidJson:
        write(socket, {200, "application/json", R"({"error":null,"result":[{"value":1.0850,},)"});
        return;
    case Fault::Kind::EmptyArray:
        write(socket, {200, "application/json", "[]"});
        return;
    case Fault::Kind::Trickle:
        trickle(socket, (*route)(request), fault->delayMs);
        return;
    }
}

QByteArray LoopbackServer::serialized(const HttpReply &reply)
{
    return "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + reasonPhrase(reply.status) + "\r\n"
         + "Content-Type: " + reply.contentType + "\r\n" + "Content-Length: " + QByteArray::number(reply.body.size())
         + "\r\n\r\n" + reply.body;
}

// The head at once, then the body byte by byte: the connection never goes
// quiet for long, so only a limit on the whole request can end it early.
void LoopbackServer::trickle(QPointer<QTcpSocket> socket, const HttpReply &reply, int intervalMs)
{
    if (!socket || socket->state() != QAbstractSocket::ConnectedState)
        return;
    const QByteArray whole = serialized(reply);
    socket->write(whole.chopped(reply.body.size()));
    auto *timer = new QTimer(socket);
    connect(timer, &QTimer::timeout, socket, [socket, timer, bytes = reply.body, sent = qsizetype(0)]() mutable {
        if (socket->state() != QAbstractSocket::ConnectedState || sent >= bytes.size()) {
            timer->deleteLater();
            return;
        }
        socket->write(bytes.mid(sent++, 1));
    });
    timer->start(std::max(intervalMs, 1));
}

void LoopbackServer::write(QTcpSocket *socket, const HttpReply &reply)
{
    if (!socket || socket->state() != QAbstractSocket::ConnectedState)
        return;
    QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + reasonPhrase(reply.status) + "\r\n";
    head += "Content-Type: " + reply.contentType + "\r\n";
    head += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n\r\n";
    socket->write(head + reply.body);
}

} // namespace kalvo::sim
