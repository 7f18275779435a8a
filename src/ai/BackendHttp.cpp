#include "BackendHttp.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

// Qt turns 4xx and 5xx statuses into reply errors; they still are answers.
bool isStatusError(QNetworkReply::NetworkError error)
{
    return (error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError)
           || (error >= QNetworkReply::InternalServerError && error <= QNetworkReply::UnknownServerError)
           || error == QNetworkReply::ProtocolInvalidOperationError
           || error == QNetworkReply::ProxyAuthenticationRequiredError;
}

HttpOutcome outcomeOf(QNetworkReply &reply)
{
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QNetworkReply::NetworkError error = reply.error();
    const bool answered = error == QNetworkReply::NoError || (status.toInt() >= 400 && isStatusError(error));
    if (status.isValid() && answered)
        return {HttpOutcome::Kind::Http, status.toInt(), reply.readAll(), QNetworkReply::NoError, {}};
    if (error != QNetworkReply::NoError)
        return {HttpOutcome::Kind::Transport, 0, {}, error, reply.errorString()};
    return {HttpOutcome::Kind::NotHttp, 0, {}, QNetworkReply::NoError, {}};
}

HttpOutcome abandoned()
{
    return {HttpOutcome::Kind::Transport, 0, {}, QNetworkReply::OperationCanceledError, u"Operation canceled"_s};
}

} // namespace

QCoro::Task<HttpOutcome> postJson(QNetworkAccessManager *network, QUrl url, QByteArray body,
                                  std::chrono::milliseconds timeout)
{
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json"_ba);
    request.setTransferTimeout(int(timeout.count()));
    QNetworkReply *reply = network->post(request, body);
    const QPointer<QNetworkReply> guard(reply);
    co_await reply;
    if (!guard)
        co_return abandoned(); // the access manager went away with its owner
    HttpOutcome outcome = outcomeOf(*reply);
    reply->deleteLater();
    co_return outcome;
}

} // namespace kalvo
