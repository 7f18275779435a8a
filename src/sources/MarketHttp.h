#pragma once

#include <QByteArray>
#include <QFuture>
#include <QList>
#include <QNetworkAccessManager>
#include <QUrl>

#include <chrono>
#include <utility>

namespace kalvo {

// What one GET brought back. `answered` is false when no HTTP answer came
// (refused, reset, timed out, or the client went away first); then `status`
// is 0 and `body` is empty.
struct HttpResponse
{
    bool answered = false;
    int status = 0;
    QByteArray body;
};

struct HttpGet
{
    QUrl url;
    std::chrono::milliseconds timeout{0};
    QList<std::pair<QByteArray, QByteArray>> headers;
    bool alwaysReload = false; // skip any cached copy
};

// GET requests for the price and calendar services, on the GUI thread's
// network stack. Every future it hands out completes, whatever happens: with
// the answer, with a transport failure, or with a failure when this object is
// destroyed first. The completion reaches a co_awaiting coroutine through the
// event loop, so an owner's destructor never finds its own coroutines
// resuming inside it.
class MarketHttp
{
public:
    MarketHttp();
    ~MarketHttp();

    MarketHttp(const MarketHttp &) = delete;
    MarketHttp &operator=(const MarketHttp &) = delete;

    QFuture<HttpResponse> get(const HttpGet &request);

private:
    QNetworkAccessManager m_network;
};

} // namespace kalvo
