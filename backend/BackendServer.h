#pragma once

#include "BackendOptions.h"

#include <QCoroTask>
#include <QHostAddress>
#include <QObject>
#include <QPointer>
#include <QUrl>

#include <memory>

class QTcpSocket;

namespace kalvo::backend {

class AccessTokens;
class HttpFront;
class OfflineSpeech;
class RateLimiter;
class VendorClient;
struct HttpReply;
struct IncomingRequest;
struct RequestLogEntry;

// The AI backend the app talks to:
//
//   POST /_functions/aiClaude  {"token","model","maxTokens","prompt"} -> {"ok":true,"text":…}
//   POST /_functions/aiTTS     {"token","model","voice","text"}       -> {"ok":true,"audioBase64":…}
//   GET  /_functions/appVersion                                       -> {"version","downloadUrl","releaseNotes"}
//
// Failures are a non-200 status with {"ok":false,"error":reason}: 400 bad
// input, 401 unknown token (and nothing else), 404/405, 408 slow client, 413
// body over the limit, 422 prompt the offline analyst does not know, 429 rate
// limit (with Retry-After), 502/503/504 vendor or speech trouble.
//
// The server lives on the thread that creates it (the GUI thread when the app
// embeds it); decoding, the offline analyst, vendor JSON and speech run on
// worker threads, so that thread only moves bytes.
class BackendServer : public QObject
{
    Q_OBJECT
public:
    explicit BackendServer(BackendOptions options, QObject *parent = nullptr);
    ~BackendServer() override;

    // Returns the port, 0 on failure (address in use, no tokens configured).
    quint16 listen(const QHostAddress &address = QHostAddress::LocalHost, quint16 port = 0);

    quint16 port() const { return m_port; }
    // http://127.0.0.1:PORT/_functions (the listening address, loopback for a
    // wildcard): the base address the app's client appends its paths to.
    QUrl functionsUrl() const;
    const BackendOptions &options() const { return m_options; }

private:
    void dispatch(QPointer<QTcpSocket> socket, IncomingRequest request);
    QCoro::Task<> serve(QPointer<QTcpSocket> socket, std::shared_ptr<const IncomingRequest> request);
    QCoro::Task<HttpReply> answer(std::shared_ptr<const IncomingRequest> request);
    QCoro::Task<HttpReply> answerModelCall(std::shared_ptr<const IncomingRequest> request);
    QCoro::Task<HttpReply> answerSpeechCall(std::shared_ptr<const IncomingRequest> request);
    HttpReply versionReply() const;
    std::optional<HttpReply> rateLimited(int client);
    void log(const RequestLogEntry &entry) const;

    BackendOptions m_options;
    std::shared_ptr<const AccessTokens> m_tokens;
    std::unique_ptr<RateLimiter> m_limiter;
    VendorClient *m_vendor = nullptr;
    HttpFront *m_front = nullptr;
    int m_speechQueued = 0;
    quint16 m_port = 0;
    QString m_host = QStringLiteral("127.0.0.1");
    std::unique_ptr<OfflineSpeech> m_speech; // last: its worker drains queued syntheses first
};

} // namespace kalvo::backend
