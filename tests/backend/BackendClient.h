#pragma once

// A real HTTP client for the backend tests: QNetworkAccessManager over
// loopback, waited for with a local event loop.

#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace test {

struct HttpResult
{
    int status = 0; // 0: no HTTP answer
    QNetworkReply::NetworkError error = QNetworkReply::NoError;
    QByteArray body;
    QMap<QByteArray, QByteArray> headers; // names lower-cased

    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
    bool isJsonObject() const { return QJsonDocument::fromJson(body).isObject(); }
};

inline HttpResult finish(QNetworkReply *reply)
{
    if (!reply->isFinished()) {
        QEventLoop loop;
        QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
    }
    HttpResult result;
    result.status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    result.error = reply->error();
    result.body = reply->readAll();
    for (const auto &[name, value] : reply->rawHeaderPairs())
        result.headers.insert(name.toLower(), value);
    reply->deleteLater();
    return result;
}

inline QNetworkRequest jsonRequest(const QUrl &url)
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
    request.setTransferTimeout(20'000); // a broken server fails the test instead of hanging it
    return request;
}

inline QNetworkReply *startPost(QNetworkAccessManager &network, const QUrl &url, const QByteArray &body)
{
    return network.post(jsonRequest(url), body);
}

inline HttpResult post(QNetworkAccessManager &network, const QUrl &url, const QByteArray &body)
{
    return finish(startPost(network, url, body));
}

inline HttpResult post(QNetworkAccessManager &network, const QUrl &url, const QJsonObject &body)
{
    return post(network, url, QJsonDocument(body).toJson(QJsonDocument::Compact));
}

inline HttpResult get(QNetworkAccessManager &network, const QUrl &url)
{
    return finish(network.get(jsonRequest(url)));
}

inline QJsonObject modelCall(const QString &token, const QString &prompt, int maxTokens = 350,
                             const QString &model = u"claude-sonnet-4-5"_s)
{
    return {{u"token"_s, token}, {u"model"_s, model}, {u"maxTokens"_s, maxTokens}, {u"prompt"_s, prompt}};
}

inline QJsonObject speechCall(const QString &token, const QString &text)
{
    return {{u"token"_s, token}, {u"model"_s, u"tts-1"_s}, {u"voice"_s, u"alloy"_s}, {u"text"_s, text}};
}

// The reply text of a model call read the way the app reads it: trimmed, a
// JSON object and nothing else.
inline QJsonObject replyObject(const HttpResult &result)
{
    const QString text = result.json().value("text"_L1).toString().trimmed();
    return QJsonDocument::fromJson(text.toUtf8()).object();
}

} // namespace test
