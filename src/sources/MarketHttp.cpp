#include "MarketHttp.h"

#include <QNetworkReply>
#include <QPromise>

#include <memory>

namespace kalvo {

namespace {

using SharedPromise = std::shared_ptr<QPromise<HttpResponse>>;

// The first outcome wins; the reply's destruction after a normal finish is a no-op.
void settle(QPromise<HttpResponse> &promise, HttpResponse response)
{
    if (promise.future().isFinished())
        return;
    promise.addResult(std::move(response));
    promise.finish();
}

HttpResponse responseOf(QNetworkReply *reply)
{
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QNetworkReply::NetworkError error = reply->error();
    // Codes below the content range are connection, time-out and proxy
    // failures; from there on the server did answer, with an HTTP status.
    const bool transportFailure = error != QNetworkReply::NoError && error < QNetworkReply::ContentAccessDenied;
    if (!status.isValid() || transportFailure)
        return {};
    return {true, status.toInt(), reply->readAll()};
}

} // namespace

MarketHttp::MarketHttp() = default;

// Destroying the manager deletes its pending replies; their destroyed()
// signals settle the outstanding futures as transport failures.
MarketHttp::~MarketHttp() = default;

QFuture<HttpResponse> MarketHttp::get(const HttpGet &get)
{
    QNetworkRequest request(get.url);
    request.setTransferTimeout(int(get.timeout.count()));
    for (const auto &header : get.headers)
        request.setRawHeader(header.first, header.second);
    if (get.alwaysReload)
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);

    auto promise = std::make_shared<QPromise<HttpResponse>>();
    promise->start();
    QFuture<HttpResponse> future = promise->future();

    QNetworkReply *reply = m_network.get(request);
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply, promise] {
        settle(*promise, responseOf(reply));
        reply->deleteLater();
    });
    QObject::connect(reply, &QObject::destroyed, [promise] { settle(*promise, {}); });
    return future;
}

} // namespace kalvo
