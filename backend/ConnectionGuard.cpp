#include "ConnectionGuard.h"

#include "HttpReply.h"

#include <QTcpSocket>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

namespace {

// Chunk sizes and line breaks around chunks add a little to the body bytes.
constexpr qint64 chunkFramingAllowance = 64 * 1024;

// The index just past the empty line that ends a head, or -1. Like the HTTP
// server, accept bare LF line endings as well as CRLF.
qsizetype headEnd(const QByteArray &head, qsizetype from)
{
    for (qsizetype i = std::max<qsizetype>(from, 0); i < head.size(); ++i) {
        if (head[i] != '\n')
            continue;
        if (i + 1 < head.size() && head[i + 1] == '\n')
            return i + 2;
        if (i + 2 < head.size() && head[i + 1] == '\r' && head[i + 2] == '\n')
            return i + 3;
    }
    return -1;
}

bool isMethod(QByteArrayView word)
{
    return !word.isEmpty() && std::all_of(word.begin(), word.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

bool isDecimal(QByteArrayView value)
{
    return !value.isEmpty() && value.size() <= 15
        && std::all_of(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

ConnectionGuard::ConnectionGuard(QTcpSocket *socket, const GuardLimits &limits, RefusalSink sink)
    : QObject(socket), m_socket(socket), m_limits(limits), m_sink(std::move(sink))
{
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(m_limits.requestTimeout);
    connect(&m_deadline, &QTimer::timeout, this, [this] { refuse(408, u"request timeout"_s); });
    m_idle.setSingleShot(true);
    m_idle.setInterval(m_limits.idleTimeout);
    connect(&m_idle, &QTimer::timeout, this, &ConnectionGuard::finish);
    m_linger.setSingleShot(true);
    m_linger.setInterval(m_limits.lingerTimeout);
    connect(&m_linger, &QTimer::timeout, this, &ConnectionGuard::finish);
    connect(socket, &QAbstractSocket::disconnected, this, [this] {
        m_finished = true;
        m_deadline.stop();
        m_idle.stop();
        m_linger.stop();
    });
    m_idle.start();
}

ConnectionGuard *ConnectionGuard::of(QTcpSocket *socket)
{
    return socket ? socket->findChild<ConnectionGuard *>(QString(), Qt::FindDirectChildrenOnly) : nullptr;
}

void ConnectionGuard::beforeServerReads()
{
    const qint64 available = m_socket->bytesAvailable();
    if (m_phase == Phase::Refused || available <= m_unreadByServer)
        return;
    const QByteArray fresh = m_socket->peek(available).mid(m_unreadByServer);
    m_unreadByServer = available;
    consume(fresh);
}

void ConnectionGuard::afterServerRead()
{
    // The server stops reading at the end of a request; whatever it left is
    // the start of the next one, already counted.
    m_unreadByServer = m_socket->bytesAvailable();
}

void ConnectionGuard::consume(QByteArrayView bytes)
{
    qsizetype at = 0;
    while (at < bytes.size() && m_phase != Phase::Refused) {
        const QByteArrayView rest = bytes.sliced(at);
        switch (m_phase) {
        case Phase::Idle:
            if (rest.front() == '\r' || rest.front() == '\n' || rest.front() == ' ' || rest.front() == '\t') {
                ++at; // the HTTP server skips blank space between requests too
                break;
            }
            m_phase = Phase::Head;
            m_head.clear();
            m_method.clear();
            m_path.clear();
            m_bodyExpected = 0;
            m_bodyReceived = 0;
            m_chunked = false;
            m_started.start();
            m_deadline.start();
            m_idle.stop();
            break;
        case Phase::Head:
            at += consumeHead(rest);
            break;
        case Phase::Body:
            at += consumeBody(rest);
            break;
        case Phase::Refused:
            break;
        }
    }
}

qsizetype ConnectionGuard::consumeHead(QByteArrayView bytes)
{
    const qsizetype before = m_head.size();
    m_head.append(bytes);
    const qsizetype end = headEnd(m_head, before - 2);
    if (end < 0) {
        if (m_head.size() > m_limits.maxHeadBytes)
            refuse(431, u"request head too large"_s);
        return bytes.size();
    }
    m_head.truncate(end);
    if (m_head.size() > m_limits.maxHeadBytes) {
        refuse(431, u"request head too large"_s);
        return bytes.size();
    }
    headComplete();
    return end - before;
}

void ConnectionGuard::headComplete()
{
    QList<QByteArray> lines = m_head.split('\n');
    for (QByteArray &line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    const QList<QByteArray> requestLine = lines.value(0).split(' ');
    if (requestLine.size() != 3 || !isMethod(requestLine[0]) || requestLine[1].isEmpty()
        || (requestLine[2] != "HTTP/1.1" && requestLine[2] != "HTTP/1.0")) {
        refuse(400, u"malformed request"_s);
        return;
    }
    m_method = requestLine[0];
    const QByteArray target = requestLine[1];
    m_path = QString::fromLatin1(target.left(target.indexOf('?') < 0 ? target.size() : target.indexOf('?')));

    std::optional<qint64> length;
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray &line = lines[i];
        if (line.isEmpty())
            continue;
        const qsizetype colon = line.indexOf(':');
        if (colon <= 0) {
            refuse(400, u"malformed request"_s);
            return;
        }
        const QByteArray name = line.left(colon).trimmed().toLower();
        const QByteArray value = line.mid(colon + 1).trimmed();
        if (name == "content-length") {
            if (!isDecimal(value) || (length && *length != value.toLongLong())) {
                refuse(400, u"bad content length"_s);
                return;
            }
            length = value.toLongLong();
        } else if (name == "transfer-encoding" && value.toLower().contains("chunked")) {
            m_chunked = true;
        }
    }
    // Both at once is how requests are smuggled past proxies.
    if (m_chunked && length) {
        refuse(400, u"bad content length"_s);
        return;
    }
    if (length && *length > m_limits.maxBodyBytes) {
        refuse(413, u"body too large"_s);
        return;
    }
    if (m_chunked || length.value_or(0) > 0) {
        m_phase = Phase::Body;
        m_bodyExpected = length.value_or(-1);
        return;
    }
    bodyComplete();
}

qsizetype ConnectionGuard::consumeBody(QByteArrayView bytes)
{
    if (m_chunked) {
        // The end of a chunked body is learnt from the HTTP server's dispatch.
        m_bodyReceived += bytes.size();
        if (m_bodyReceived > m_limits.maxBodyBytes + chunkFramingAllowance)
            refuse(413, u"body too large"_s);
        return bytes.size();
    }
    const qsizetype taken = std::min<qint64>(bytes.size(), m_bodyExpected - m_bodyReceived);
    m_bodyReceived += taken;
    if (m_bodyReceived == m_bodyExpected)
        bodyComplete();
    return taken;
}

void ConnectionGuard::bodyComplete()
{
    // The deadline keeps running until the server dispatches the request, so
    // that a request the server never completes still ends the connection.
    m_phase = Phase::Idle;
}

void ConnectionGuard::requestDispatched()
{
    ++m_inFlight;
    m_idle.stop();
    if (m_phase == Phase::Body && m_chunked)
        m_phase = Phase::Idle;
    if (m_phase == Phase::Idle)
        m_deadline.stop();
}

void ConnectionGuard::replySent(bool closing)
{
    m_inFlight = std::max(0, m_inFlight - 1);
    if (m_finished)
        return;
    if (closing) {
        m_socket->disconnectFromHost();
        m_linger.start(); // in case the peer never reads the reply
        return;
    }
    if (m_inFlight == 0 && m_phase == Phase::Idle)
        m_idle.start();
}

void ConnectionGuard::refuse(int status, const QString &error)
{
    if (m_phase == Phase::Refused || m_finished)
        return;
    m_phase = Phase::Refused;
    m_deadline.stop();
    m_idle.stop();

    // From here on the HTTP server sees nothing of this connection.
    disconnect(m_socket, &QIODevice::readyRead, nullptr, nullptr);
    if (m_socket->isTransactionStarted())
        m_socket->commitTransaction();

    HttpReply reply = HttpReply::failure(status, error);
    reply.closeConnection = true;
    m_socket->write(reply.serialized());
    if (m_sink) {
        m_sink({m_method.isEmpty() ? QByteArray("-") : m_method, m_path.isEmpty() ? u"-"_s : m_path, status, error,
                m_started.isValid() ? double(m_started.nsecsElapsed()) / 1e6 : 0.0});
    }

    // Closing with unread input makes the kernel reset the connection, and a
    // reset can destroy the reply before the client reads it. Read and drop
    // what still comes until the client closes or the linger time is over.
    connect(m_socket, &QIODevice::readyRead, this, &ConnectionGuard::drain);
    drain();
    m_linger.start();
}

void ConnectionGuard::drain()
{
    m_socket->skip(m_socket->bytesAvailable());
}

void ConnectionGuard::finish()
{
    if (m_finished)
        return;
    m_finished = true;
    m_deadline.stop();
    m_idle.stop();
    m_linger.stop();
    m_socket->abort();
    m_socket->deleteLater();
}

GuardedTcpServer::GuardedTcpServer(const GuardLimits &limits, ConnectionGuard::RefusalSink sink, QObject *parent)
    : QTcpServer(parent), m_limits(limits), m_sink(std::move(sink))
{
}

void GuardedTcpServer::incomingConnection(qintptr handle)
{
    auto *socket = new QTcpSocket(this);
    if (!socket->setSocketDescriptor(handle)) {
        delete socket;
        return;
    }
    auto *guard = new ConnectionGuard(socket, m_limits, m_sink);
    connect(socket, &QIODevice::readyRead, guard, &ConnectionGuard::beforeServerReads);
    // The HTTP server takes the connection and connects its reader right here.
    addPendingConnection(socket);
    connect(socket, &QIODevice::readyRead, guard, &ConnectionGuard::afterServerRead);
}

} // namespace kalvo::backend
