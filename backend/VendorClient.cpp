#include "VendorClient.h"

#include <QCoroFuture>
#include <QCoroNetworkReply>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

namespace {

HttpReply transportFailure(const VendorAnswer &answer)
{
    if (answer.timedOut)
        return HttpReply::failure(504, u"vendor timeout"_s);
    if (answer.transportFailed)
        return HttpReply::failure(502, u"vendor unreachable"_s);
    return HttpReply::failure(502, u"vendor status %1"_s.arg(answer.status));
}

bool looksLikeMp3(const QByteArray &bytes)
{
    if (bytes.startsWith("ID3"))
        return true;
    return bytes.size() >= 4 && static_cast<unsigned char>(bytes[0]) == 0xFF
        && (static_cast<unsigned char>(bytes[1]) & 0xE0) == 0xE0;
}

QByteArray messagesBody(const ModelCall &call)
{
    const QJsonObject message{{u"role"_s, u"user"_s}, {u"content"_s, call.prompt}};
    const QJsonObject body{{u"model"_s, call.model}, {u"max_tokens"_s, call.maxTokens}, {u"messages"_s, QJsonArray{message}}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

QByteArray speechBody(const SpeechCall &call)
{
    const QJsonObject body{{u"model"_s, call.model},
                           {u"voice"_s, call.voice},
                           {u"input"_s, call.text},
                           {u"response_format"_s, u"mp3"_s}};
    return QJsonDocument(body).toJson(QJsonDocument::Compact);
}

} // namespace

QUrl vendorUrl(const QUrl &base, const QString &path)
{
    QUrl url = base;
    QString prefix = base.path();
    while (prefix.endsWith(u'/'))
        prefix.chop(1);
    url.setPath(prefix + path);
    return url;
}

VendorClient::VendorClient(VendorSettings settings, QObject *parent) : QObject(parent), m_settings(std::move(settings))
{
}

QCoro::Task<HttpReply> VendorClient::complete(std::shared_ptr<const ModelCall> call)
{
    QPointer<VendorClient> self(this);
    if (m_settings.anthropicKey.isEmpty())
        co_return HttpReply::failure(503, u"vendor key missing"_s);
    auto post = std::make_shared<Post>();
    post->url = vendorUrl(m_settings.anthropicBase, u"/v1/messages"_s);
    post->headers = {{"x-api-key", m_settings.anthropicKey.toUtf8()},
                     {"anthropic-version", "2023-06-01"},
                     {"content-type", "application/json"}};
    post->timeout = m_settings.modelTimeout;
    QFuture<QByteArray> encoding = QtConcurrent::run(messagesBody, *call);
    post->body = co_await encoding;
    if (!self)
        co_return HttpReply::failure(503, u"shutting down"_s);
    QCoro::Task<VendorAnswer> sending = send(post);
    const VendorAnswer answer = co_await sending;
    QFuture<HttpReply> mapping = QtConcurrent::run(&VendorClient::modelReply, answer);
    HttpReply reply = co_await mapping;
    co_return reply;
}

QCoro::Task<HttpReply> VendorClient::speak(std::shared_ptr<const SpeechCall> call)
{
    QPointer<VendorClient> self(this);
    if (m_settings.openaiKey.isEmpty())
        co_return HttpReply::failure(503, u"vendor key missing"_s);
    auto post = std::make_shared<Post>();
    post->url = vendorUrl(m_settings.openaiBase, u"/v1/audio/speech"_s);
    post->headers = {{"authorization", "Bearer " + m_settings.openaiKey.toUtf8()},
                     {"content-type", "application/json"}};
    post->timeout = m_settings.speechTimeout;
    QFuture<QByteArray> encoding = QtConcurrent::run(speechBody, *call);
    post->body = co_await encoding;
    if (!self)
        co_return HttpReply::failure(503, u"shutting down"_s);
    QCoro::Task<VendorAnswer> sending = send(post);
    const VendorAnswer answer = co_await sending;
    QFuture<HttpReply> mapping = QtConcurrent::run(&VendorClient::speechReply, answer);
    HttpReply reply = co_await mapping;
    co_return reply;
}

QCoro::Task<VendorAnswer> VendorClient::send(std::shared_ptr<const Post> post)
{
    QNetworkRequest request(post->url);
    for (const auto &[name, value] : post->headers)
        request.setRawHeader(name, value);
    QPointer<QNetworkReply> reply = m_network.post(request, post->body);

    auto awaitable = qCoro(reply.get());
    QCoro::Task<bool> waiting = awaitable.waitForFinished(post->timeout);
    const bool finished = co_await waiting;
    VendorAnswer answer;
    if (!reply) {
        answer.transportFailed = true; // the client went away with the server
        co_return answer;
    }
    if (!finished) {
        answer.timedOut = true;
        reply->abort();
        reply->deleteLater();
        co_return answer;
    }
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid()) {
        answer.transportFailed = true;
    } else {
        answer.status = status.toInt();
        answer.contentType = reply->rawHeader("content-type");
        answer.body = reply->readAll();
    }
    reply->deleteLater();
    co_return answer;
}

HttpReply VendorClient::modelReply(const VendorAnswer &answer)
{
    if (answer.timedOut || answer.transportFailed || answer.status != 200)
        return transportFailure(answer);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(answer.body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return HttpReply::failure(502, u"vendor reply unreadable"_s);
    const QJsonArray content = document.object().value("content"_L1).toArray();
    for (const QJsonValue &block : content) {
        const QJsonObject object = block.toObject();
        if (object.value("type"_L1).toString() == "text"_L1 && object.value("text"_L1).isString())
            return HttpReply::modelText(object.value("text"_L1).toString());
    }
    return HttpReply::failure(502, u"vendor reply without text"_s);
}

HttpReply VendorClient::speechReply(const VendorAnswer &answer)
{
    if (answer.timedOut || answer.transportFailed || answer.status != 200)
        return transportFailure(answer);
    if (!looksLikeMp3(answer.body))
        return HttpReply::failure(502, u"vendor reply not audio"_s);
    return HttpReply::speechAudio(answer.body);
}

} // namespace kalvo::backend
