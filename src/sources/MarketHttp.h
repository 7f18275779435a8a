#pragma once

#include <QByteArray>
#include <QFuture>
#include <QList>
#include <QObject>
#include <QThread>
#include <QUrl>

#include <chrono>
#include <utility>

namespace kalvo {

// What one GET brought back. `answered` is false when no complete HTTP answer
// came (refused, reset, timed out, too large, or the client went away first);
// then `status` is 0 and `body` is empty.
struct HttpResponse
{
    bool answered = false;
    int status = 0;
    QByteArray body;
};

struct HttpGet
{
    // Far above any real feed or rates file (well under a megabyte each), so
    // only a runaway body is cut off before it eats the memory.
    static constexpr qint64 defaultMaxBodyBytes = 32 * 1024 * 1024;
    // A request that keeps trickling bytes never trips the time-out; this many
    // time-outs in total end it anyway.
    static constexpr int timeoutsPerRequest = 3;

    QUrl url;
    // Gives up when nothing arrives for this long, as the platform's request
    // time-out does; 0 means none.
    std::chrono::milliseconds timeout{0};
    QList<std::pair<QByteArray, QByteArray>> headers;
    bool alwaysReload = false; // skip any cached copy
    qint64 maxBodyBytes = defaultMaxBodyBytes;
};

// GET requests for the news, price and calendar services. The network stack
// runs on a thread of its own, so that a cycle of many requests costs the
// GUI thread one posted call per request and one wake-up per answer. Every
// future it hands out completes, whatever happens: with the answer, with a
// transport failure, or with a failure when this object is destroyed first.
// A coroutine co_awaiting it resumes on its own thread through the event
// loop, so an owner's destructor never finds its coroutines resuming inside it.
class MarketHttp
{
public:
    MarketHttp();
    // Drops the requests under way; waits for the network thread to end.
    ~MarketHttp();

    MarketHttp(const MarketHttp &) = delete;
    MarketHttp &operator=(const MarketHttp &) = delete;

    // Callable from any thread.
    QFuture<HttpResponse> get(const HttpGet &request);

private:
    QThread m_thread;
    QObject *m_context; // lives on m_thread; owns the network access manager
};

} // namespace kalvo
