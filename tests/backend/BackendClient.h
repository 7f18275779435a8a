#pragma once

// A real HTTP client for the backend tests: QNetworkAccessManager over
// loopback, waited for with a local event loop; and the app's news and
// events for its prompt builders, with only the fields the prompts read.

#include "core/MarketRecords.h"
#include "core/NewsItem.h"

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
    QByteArray body;
    QMap<QByteArray, QByteArray> headers; // names lower-cased

    QJsonObject json() const { return QJsonDocument::fromJson(body).object(); }
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

inline kalvo::NewsItem news(double score, const QString &title, const QString &source, const QString &content = {})
{
    return {.id = title, .title = title, .source = source, .content = content, .score = score};
}

inline kalvo::CalendarEvent event(const QString &time, const QString &currency, kalvo::CalendarEvent::Impact impact,
                                  const QString &title)
{
    return {.id = time + title, .timeDisplay = time, .currency = currency, .event = title, .impact = impact};
}

// Headlines with the words the offline analyst's keyword rules react to.
inline QList<kalvo::NewsItem> sampleNews()
{
    return {news(8.6, u"Fed cuts rates by 50bp in surprise move"_s, u"Reuters"_s),
            news(7.0, u"ECB's Lagarde signals further rate hikes"_s, u"FXStreet"_s),
            news(5.2, u"UK inflation slows more than expected"_s, u"BBC Business"_s),
            news(4.0, u"Gold climbs to record high"_s, u"Kitco"_s)};
}

inline QList<kalvo::CalendarEvent> sampleEvents()
{
    using enum kalvo::CalendarEvent::Impact;
    return {event(u"14:30"_s, u"USD"_s, High, u"Non-Farm Employment Change"_s),
            event(u"Ganztägig"_s, u"EUR"_s, Holiday, u"Bank Holiday"_s),
            event(u"16:00"_s, u"GBP"_s, Medium, u"BoE Gov Bailey Speaks"_s)};
}

} // namespace test
