#include "LoopbackServer.h"

#include <QHttpServerRequest>
#include <QTcpSocket>
#include <QTimer>

#include <zlib.h>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200: return "OK";
    case 304: return "Not Modified";
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

// Whether an Accept-Encoding value lets `coding` through: listed, or covered
// by "*", and not refused with q=0.
bool accepts(const QByteArray &acceptEncoding, QByteArrayView coding)
{
    bool byWildcard = false;
    for (const QByteArray &item : acceptEncoding.split(',')) {
        const QList<QByteArray> parts = item.split(';');
        const QByteArray name = parts.first().trimmed().toLower();
        bool refused = false;
        for (qsizetype i = 1; i < parts.size(); ++i) {
            const QByteArray parameter = parts[i].trimmed().toLower();
            if (parameter.startsWith("q="))
                refused = parameter.mid(2).toDouble() <= 0;
        }
        if (name == coding)
            return !refused;
        if (name == "*")
            byWildcard = !refused;
    }
    return byWildcard;
}

QByteArray gzip(const QByteArray &data)
{
    z_stream stream{};
    // 16 added to the window bits asks for the gzip wrapper instead of zlib's.
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    QByteArray packed(qsizetype(deflateBound(&stream, uLong(data.size()))) + 32, Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(data.constData()));
    stream.avail_in = uInt(data.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = uInt(packed.size());
    const int result = deflate(&stream, Z_FINISH);
    packed.truncate(qsizetype(stream.total_out));
    deflateEnd(&stream);
    return result == Z_STREAM_END ? packed : QByteArray();
}

} // namespace

QByteArray HttpReply::header(QByteArrayView name) const
{
    for (const auto &[key, value] : headers) {
        if (name.compare(key, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

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
        write(socket, encodedFor(request, (*route)(request)));
        return;
    }
    switch (fault->kind) {
    case Fault::Kind::Status:
        write(socket, {fault->status, "text/plain", reasonPhrase(fault->status)});
        return;
    case Fault::Kind::Hang:
        return; // the socket stays open until the client gives up
    case Fault::Kind::Delay:
        QTimer::singleShot(fault->delayMs, this, [socket, reply = encodedFor(request, (*route)(request))] {
            if (socket)
                write(socket, reply);
        });
        return;
    case Fault::Kind::Truncate: {
        HttpReply reply = (*route)(request);
        reply.body.truncate(reply.body.size() / 2);
        write(socket, encodedFor(request, std::move(reply)));
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
        trickle(socket, encodedFor(request, (*route)(request)), fault->delayMs);
        return;
    }
}

HttpReply LoopbackServer::encodedFor(const RecordedRequest &request, HttpReply reply)
{
    if (!reply.compressible)
        return reply;
    // Caches between a publisher and its readers must keep the two forms apart.
    reply.headers.emplaceBack("Vary", "Accept-Encoding");
    if (reply.body.isEmpty() || !accepts(request.headers.value("accept-encoding"), "gzip"))
        return reply;
    if (QByteArray packed = gzip(reply.body); !packed.isEmpty()) {
        reply.body = std::move(packed);
        reply.headers.emplaceBack("Content-Encoding", "gzip");
    }
    return reply;
}

QByteArray LoopbackServer::serialized(const HttpReply &reply)
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + reasonPhrase(reply.status) + "\r\n";
    for (const auto &[name, value] : reply.headers)
        head += name + ": " + value + "\r\n";
    // A 304 has no body and describes the one the client holds, so it has no
    // type or length of its own.
    if (reply.status != 304) {
        head += "Content-Type: " + reply.contentType + "\r\n";
        head += "Content-Length: " + QByteArray::number(reply.body.size()) + "\r\n";
    }
    return head + "\r\n" + reply.body;
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
    socket->write(serialized(reply));
}

} // namespace kalvo::sim
