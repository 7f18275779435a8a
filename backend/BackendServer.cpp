#include "BackendServer.h"

#include "AccessTokens.h"
#include "HttpFront.h"
#include "HttpReply.h"
#include "OfflineAnalyst.h"
#include "OfflineSpeech.h"
#include "RateLimiter.h"
#include "RequestLog.h"
#include "VendorClient.h"
#include "WireCalls.h"

#include <QCoroFuture>
#include <QJsonObject>
#include <QtConcurrent/QtConcurrentRun>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

namespace {

const QString modelPath = u"/_functions/aiClaude"_s;
const QString speechPath = u"/_functions/aiTTS"_s;
const QString versionPath = u"/_functions/appVersion"_s;
const QString developmentVersionPath = u"/_functions-dev/appVersion"_s;

HttpReply methodNotAllowed(const QByteArray &allowed)
{
    HttpReply reply = HttpReply::failure(405, u"method not allowed"_s);
    reply.headers.append({"Allow", allowed});
    return reply;
}

HttpReply offlineModelReply(const ModelCall &call)
{
    const std::optional<QString> text = OfflineAnalyst::reply(call.prompt);
    return text ? HttpReply::modelText(*text) : HttpReply::failure(422, u"unknown prompt"_s);
}

} // namespace

BackendServer::BackendServer(BackendOptions options, QObject *parent)
    : QObject(parent),
      m_options(std::move(options)),
      m_tokens(std::make_shared<const AccessTokens>(m_options.tokens)),
      m_speech(std::make_unique<OfflineSpeech>())
{
    if (!m_options.log)
        m_options.log = writeLogLine;
    if (!m_options.monotonicMs) {
        auto started = std::make_shared<QElapsedTimer>();
        started->start();
        m_options.monotonicMs = [started] { return started->elapsed(); };
    }
    m_limiter = std::make_unique<RateLimiter>(m_options.requestsPerMinute, m_options.burst, m_options.monotonicMs);
    m_vendor = new VendorClient({m_options.anthropicKey, m_options.openaiKey, m_options.anthropicBase,
                                 m_options.openaiBase, m_options.modelTimeout, m_options.speechTimeout},
                                this);
    const GuardLimits limits{m_options.maxBodyBytes, m_options.maxHeadBytes, m_options.requestTimeout,
                             m_options.idleTimeout, m_options.lingerTimeout};
    m_front = new HttpFront(
        limits,
        [this](QPointer<QTcpSocket> socket, IncomingRequest request) { dispatch(std::move(socket), std::move(request)); },
        [this](const GuardRefusal &refusal) {
            log({QDateTime::currentDateTimeUtc(), refusal.method, refusal.path, refusal.status, refusal.milliseconds,
                 refusal.error});
        },
        this);
}

BackendServer::~BackendServer() = default;

quint16 BackendServer::listen(const QHostAddress &address, quint16 port)
{
    if (m_tokens->isEmpty()) {
        m_options.log(u"[Backend] ✗ no access token configured, not listening"_s);
        return 0;
    }
    m_port = m_front->listenGuarded(address, port);
    // A wildcard address is reached through the loopback interface.
    if (address == QHostAddress::Any || address == QHostAddress::AnyIPv4 || address == QHostAddress::LocalHost)
        m_host = u"127.0.0.1"_s;
    else if (address == QHostAddress::AnyIPv6 || address == QHostAddress::LocalHostIPv6)
        m_host = u"[::1]"_s;
    else
        m_host = address.protocol() == QAbstractSocket::IPv6Protocol ? u'[' + address.toString() + u']' : address.toString();
    return m_port;
}

QUrl BackendServer::functionsUrl() const
{
    return QUrl(u"http://%1:%2/_functions"_s.arg(m_host).arg(m_port));
}

void BackendServer::dispatch(QPointer<QTcpSocket> socket, IncomingRequest request)
{
    serve(std::move(socket), std::make_shared<const IncomingRequest>(std::move(request)));
}

QCoro::Task<> BackendServer::serve(QPointer<QTcpSocket> socket, std::shared_ptr<const IncomingRequest> request)
{
    QPointer<BackendServer> self(this);
    QCoro::Task<HttpReply> answering = answer(request);
    HttpReply reply = co_await answering;
    if (!self)
        co_return;
    reply.closeConnection = reply.closeConnection || request->clientCloses;
    HttpFront::send(socket, reply);
    log({QDateTime::currentDateTimeUtc(), request->method, request->path, reply.status,
         double(request->received.nsecsElapsed()) / 1e6, reply.error});
}

QCoro::Task<HttpReply> BackendServer::answer(std::shared_ptr<const IncomingRequest> request)
{
    const QString &path = request->path;
    if (path == versionPath || path == developmentVersionPath) {
        if (request->method != "GET")
            co_return methodNotAllowed("GET");
        co_return versionReply();
    }
    if (path == modelPath || path == speechPath) {
        if (request->method != "POST")
            co_return methodNotAllowed("POST");
        QCoro::Task<HttpReply> answering = path == modelPath ? answerModelCall(request) : answerSpeechCall(request);
        HttpReply reply = co_await answering;
        co_return reply;
    }
    co_return HttpReply::failure(404, u"not found"_s);
}

QCoro::Task<HttpReply> BackendServer::answerModelCall(std::shared_ptr<const IncomingRequest> request)
{
    QPointer<BackendServer> self(this);
    const WireLimits limits;
    QFuture<DecodedCall<ModelCall>> decoding = QtConcurrent::run(
        [tokens = m_tokens, request, limits] { return decodeModelCall(request->body, *tokens, limits); });
    const DecodedCall<ModelCall> decoded = co_await decoding;
    if (!self)
        co_return HttpReply::failure(503, u"shutting down"_s);
    if (decoded.refusal)
        co_return *decoded.refusal;
    if (std::optional<HttpReply> limited = rateLimited(decoded.client))
        co_return *limited;
    if (decoded.invalid)
        co_return *decoded.invalid;

    auto call = std::make_shared<const ModelCall>(decoded.call);
    if (m_options.mode == BackendOptions::Mode::Proxy) {
        QCoro::Task<HttpReply> forwarding = m_vendor->complete(call);
        HttpReply reply = co_await forwarding;
        co_return reply;
    }
    QFuture<HttpReply> analysing = QtConcurrent::run([call] { return offlineModelReply(*call); });
    HttpReply reply = co_await analysing;
    co_return reply;
}

QCoro::Task<HttpReply> BackendServer::answerSpeechCall(std::shared_ptr<const IncomingRequest> request)
{
    QPointer<BackendServer> self(this);
    const WireLimits limits;
    QFuture<DecodedCall<SpeechCall>> decoding = QtConcurrent::run(
        [tokens = m_tokens, request, limits] { return decodeSpeechCall(request->body, *tokens, limits); });
    const DecodedCall<SpeechCall> decoded = co_await decoding;
    if (!self)
        co_return HttpReply::failure(503, u"shutting down"_s);
    if (decoded.refusal)
        co_return *decoded.refusal;
    if (std::optional<HttpReply> limited = rateLimited(decoded.client))
        co_return *limited;
    if (decoded.invalid)
        co_return *decoded.invalid;

    auto call = std::make_shared<const SpeechCall>(decoded.call);
    if (m_options.mode == BackendOptions::Mode::Proxy) {
        QCoro::Task<HttpReply> forwarding = m_vendor->speak(call);
        HttpReply reply = co_await forwarding;
        co_return reply;
    }
    // Speech takes seconds of one thread each; a queue longer than this
    // would only answer after the client has given up.
    if (m_speechQueued >= m_options.maxQueuedSpeech)
        co_return HttpReply::failure(503, u"speech busy"_s);
    ++m_speechQueued;
    QFuture<std::optional<QByteArray>> speaking = m_speech->speak(call->text);
    const std::optional<QByteArray> mp3 = co_await speaking;
    if (!self)
        co_return HttpReply::failure(503, u"shutting down"_s);
    --m_speechQueued;
    if (!mp3)
        co_return HttpReply::failure(503, u"speech unavailable"_s);
    QFuture<HttpReply> encoding = QtConcurrent::run([audio = *mp3] { return HttpReply::speechAudio(audio); });
    HttpReply reply = co_await encoding;
    co_return reply;
}

HttpReply BackendServer::versionReply() const
{
    return HttpReply::json(200, QJsonObject{{u"version"_s, m_options.release.version},
                                            {u"downloadUrl"_s, m_options.release.downloadUrl},
                                            {u"releaseNotes"_s, m_options.release.releaseNotes}});
}

std::optional<HttpReply> BackendServer::rateLimited(int client)
{
    const std::optional<int> wait = m_limiter->refuse(client);
    if (!wait)
        return std::nullopt;
    HttpReply reply = HttpReply::failure(429, u"rate limited"_s);
    reply.headers.append({"Retry-After", QByteArray::number(*wait)});
    return reply;
}

void BackendServer::log(const RequestLogEntry &entry) const
{
    m_options.log(formatLogLine(entry));
}

} // namespace kalvo::backend
