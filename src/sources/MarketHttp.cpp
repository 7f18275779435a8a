#include "MarketHttp.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPromise>
#include <QTimer>

#include <algorithm>
#include <memory>

namespace kalvo {

namespace {

using SharedPromise = std::shared_ptr<QPromise<HttpResponse>>;

// The first outcome wins; the reply's destruction after a normal finish is a
// no-op. Both run on the network thread, so they never race.
void settle(QPromise<HttpResponse> &promise, HttpResponse response)
{
    if (promise.future().isFinished())
        return;
    promise.addResult(std::move(response));
    promise.finish();
}

HttpResponse responseOf(QNetworkReply *reply, qint64 maxBodyBytes)
{
    // Over the limit, also when it all arrived before the progress check could abort.
    if (reply->bytesAvailable() > maxBodyBytes)
        return {};
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QNetworkReply::NetworkError error = reply->error();
    // Codes below the content range are connection, time-out and proxy
    // failures; from there on they stand for the server's error statuses,
    // except below 400, where the status was fine and the body broke: one
    // that could not be unpacked, or was given up as unpacking too far.
    const bool transportFailure = error != QNetworkReply::NoError
                                  && (error < QNetworkReply::ContentAccessDenied || status.toInt() < 400);
    if (!status.isValid() || transportFailure)
        return {};
    return {true, status.toInt(), reply->readAll(), reply->rawHeaderPairs()};
}

QNetworkRequest networkRequest(const HttpGet &get)
{
    QNetworkRequest request(get.url);
    request.setTransferTimeout(int(get.timeout.count()));
    request.setDecompressedSafetyCheckThreshold(std::min(get.maxBodyBytes, HttpGet::unpackCheckBytes));
    for (const auto &header : get.headers)
        request.setRawHeader(header.first, header.second);
    if (get.alwaysReload)
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    return request;
}

// On the network thread.
void start(QNetworkAccessManager *network, const HttpGet &get, const SharedPromise &promise)
{
    QNetworkReply *reply = network->get(networkRequest(get));
    const qint64 maxBodyBytes = get.maxBodyBytes;
    QObject::connect(reply, &QNetworkReply::finished, reply, [reply, promise, maxBodyBytes] {
        settle(*promise, responseOf(reply, maxBodyBytes));
        reply->deleteLater();
    });
    QObject::connect(reply, &QObject::destroyed, [promise] { settle(*promise, {}); });

    // An aborted reply finishes with a cancellation, which reads as a transport failure.
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply,
                     [reply, maxBodyBytes](qint64 received, qint64 total) {
                         if (received > maxBodyBytes || total > maxBodyBytes)
                             reply->abort();
                     });
    if (get.timeout.count() > 0)
        QTimer::singleShot(get.timeout * HttpGet::timeoutsPerRequest, reply, [reply] { reply->abort(); });
}

} // namespace

QByteArray HttpResponse::header(QByteArrayView name) const
{
    for (const auto &[key, value] : headers) {
        if (name.compare(key, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

MarketHttp::MarketHttp() : m_context(new QObject)
{
    m_thread.setObjectName(QStringLiteral("MarketHttp"));
    m_context->moveToThread(&m_thread);
    // Created on its thread, so that the manager and all its replies live there.
    QObject::connect(&m_thread, &QThread::started, m_context, [context = m_context] {
        new QNetworkAccessManager(context);
    });
    m_thread.start();
}

// Deleting the manager deletes its pending replies; their destroyed() signals
// settle the outstanding futures as transport failures. Requests posted but
// not yet started are started first and then dropped the same way.
MarketHttp::~MarketHttp()
{
    QMetaObject::invokeMethod(m_context, [context = m_context] { qDeleteAll(context->children()); },
                              Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
    delete m_context; // its thread has ended: nothing else can touch it now
}

QFuture<HttpResponse> MarketHttp::get(const HttpGet &get)
{
    auto promise = std::make_shared<QPromise<HttpResponse>>();
    promise->start();
    QFuture<HttpResponse> future = promise->future();
    QMetaObject::invokeMethod(m_context, [context = m_context, get, promise] {
        start(context->findChild<QNetworkAccessManager *>(QString(), Qt::FindDirectChildrenOnly), get, promise);
    });
    return future;
}

} // namespace kalvo
