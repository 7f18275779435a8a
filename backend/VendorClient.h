#pragma once

#include "HttpReply.h"
#include "WireCalls.h"

#include <QCoroTask>
#include <QNetworkAccessManager>
#include <QObject>
#include <QUrl>

#include <chrono>
#include <memory>

namespace kalvo::backend {

// What a vendor answered, or how asking it failed.
struct VendorAnswer
{
    bool timedOut = false;
    bool transportFailed = false;
    int status = 0;
    QByteArray contentType;
    QByteArray body;
};

struct VendorSettings
{
    QString anthropicKey;
    QString openaiKey;
    QUrl anthropicBase;
    QUrl openaiBase;
    std::chrono::milliseconds modelTimeout{30'000};
    std::chrono::milliseconds speechTimeout{80'000};
};

// Proxy mode: the model call goes to Anthropic's Messages API, the speech
// call to OpenAI's speech API, with the backend's own keys. Every vendor
// failure becomes a clean reply: 503 without a key, 504 on time-out, 502 for
// everything else (no connection, error status, a body that is not the
// expected JSON or audio). Lives on the server's thread.
class VendorClient : public QObject
{
    Q_OBJECT
public:
    explicit VendorClient(VendorSettings settings, QObject *parent = nullptr);

    QCoro::Task<HttpReply> complete(std::shared_ptr<const ModelCall> call);
    QCoro::Task<HttpReply> speak(std::shared_ptr<const SpeechCall> call);

    // The mapping of vendor answers onto backend replies. Pure; the server
    // runs them on its worker threads.
    static HttpReply modelReply(const VendorAnswer &answer);
    static HttpReply speechReply(const VendorAnswer &answer);

private:
    struct Post
    {
        QUrl url;
        QList<QPair<QByteArray, QByteArray>> headers;
        QByteArray body;
        std::chrono::milliseconds timeout;
    };

    QCoro::Task<VendorAnswer> send(std::shared_ptr<const Post> post);

    VendorSettings m_settings;
    QNetworkAccessManager m_network;
};

// `base` with `path` appended to its own path.
QUrl vendorUrl(const QUrl &base, const QString &path);

} // namespace kalvo::backend
