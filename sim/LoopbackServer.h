#pragma once

#include <QAbstractHttpServer>
#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QPointer>
#include <QUrl>

#include <functional>
#include <utility>

class QTcpSocket;

namespace kalvo::sim {

// What a route answers.
struct HttpReply
{
    int status = 200;
    QByteArray contentType = "application/json";
    QByteArray body;
    // Besides Content-Type and Content-Length, which the server writes itself.
    QList<std::pair<QByteArray, QByteArray>> headers{};
    // Sent gzip-compressed to a client whose Accept-Encoding allows it, as
    // publishers' servers do; faults act on the document before it is packed.
    bool compressible = false;

    // The value of the first of `headers` named `name` (in any case), or empty.
    QByteArray header(QByteArrayView name) const;
};

// One request as the server saw it, for tests that check what a client sent.
struct RecordedRequest
{
    QByteArray method;
    QString path;
    QString query;
    QMap<QByteArray, QByteArray> headers; // names lower-cased
    QByteArray body;
};

// A way for one path to misbehave, set by tests and demos.
struct Fault
{
    enum class Kind {
        Status,   // answer with `status` and a short text body
        Hang,     // never answer; the client has to give up
        Delay,    // answer normally after `delayMs`
        Truncate, // answer with the first half of the body only
        Empty,    // answer 200 with an empty body
        Garbage,  // answer 200 with bytes that are no document at all
        InvalidJson, // answer 200 with JSON that breaks off in a syntax error
        EmptyArray,  // answer 200 with the JSON document []
        Trickle,     // send the head, then the body one byte every `delayMs`
    };
    Kind kind = Kind::Status;
    int status = 500;
    int delayMs = 0;
};

// A small HTTP/1.1 server on the loopback interface that dispatches by exact
// path (the query is handed to the route) and can be told to misbehave per
// path. It writes replies itself so that a reply can be late, cut short or
// never come.
class LoopbackServer : public QAbstractHttpServer
{
    Q_OBJECT
public:
    using Route = std::function<HttpReply(const RecordedRequest &request)>;

    explicit LoopbackServer(QObject *parent = nullptr);

    // Listens on 127.0.0.1; port 0 picks a free one. Returns the port, 0 on failure.
    quint16 start(quint16 port = 0);
    QUrl baseUrl() const;

    // Exact paths win over prefixes; among prefixes the longest wins.
    void route(const QString &path, Route handler);
    void routePrefix(const QString &prefix, Route handler);

    // `target` is a path ("/news/rss.xml") or a path with its query
    // ("/rss/search?q=ecb"); a fault on the path with the query wins.
    void setFault(const QString &target, const Fault &fault) { m_faults.insert(target, fault); }
    void clearFault(const QString &path) { m_faults.remove(path); }
    void clearFaults() { m_faults.clear(); }

    // Every request received so far, oldest first.
    const QList<RecordedRequest> &requests() const { return m_requests; }
    int requestCount(const QString &path) const;
    void clearRequests() { m_requests.clear(); }

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override;
    void missingHandler(const QHttpServerRequest &request, QTcpSocket *socket) override;

private:
    void answer(QPointer<QTcpSocket> socket, const RecordedRequest &request);
    const Route *findRoute(const QString &path) const;
    const Fault *findFault(const RecordedRequest &request) const;
    static void write(QTcpSocket *socket, const HttpReply &reply);
    static QByteArray serialized(const HttpReply &reply);
    void trickle(QPointer<QTcpSocket> socket, const HttpReply &reply, int intervalMs);
    static HttpReply encodedFor(const RecordedRequest &request, HttpReply reply);

    QMap<QString, Route> m_routes;
    QMap<QString, Route> m_prefixRoutes;
    QHash<QString, Fault> m_faults;
    QList<RecordedRequest> m_requests;
    quint16 m_port = 0;
};

} // namespace kalvo::sim
