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
// came (refused, reset, timed out, too large, a body that cannot be unpacked,
// or the client went away first); then `status` is 0 and the rest is empty.
struct HttpResponse
{
    bool answered = false;
    int status = 0;
    QByteArray body; // unpacked when it came compressed
    // As the server sent them, except that an unpacked body has no length.
    QList<std::pair<QByteArray, QByteArray>> headers{};

    // The value of the first header named `name` (in any case), or empty.
    QByteArray header(QByteArrayView name) const;
};

struct HttpGet
{
    // Far above any real feed or rates file (well under a megabyte each), so
    // only a runaway body is cut off before it eats the memory.
    static constexpr qint64 defaultMaxBodyBytes = 32 * 1024 * 1024;
    // Bodies are asked for compressed: the network stack offers gzip, deflate,
    // br and zstd and unpacks what comes, and the limit above counts unpacked
    // bytes. To count them the stack unpacks all that arrived, and a body of a
    // megabyte can take seconds to unpack to gigabytes; so past this many
    // unpacked bytes (the stack's own default, or the limit when that is
    // lower) it gives up on a body that unpacks far more than any text does.
    static constexpr qint64 unpackCheckBytes = 10 * 1024 * 1024;
    // A request that keeps trickling bytes never trips the time-out; this many
    // time-outs in total end it anyway.
    static constexpr int timeoutsPerRequest = 3;

    QUrl url;
    // Gives up when nothing arrives for this long, as the platform's request
    // time-out does; 0 means none.
    std::chrono::milliseconds timeout{0};
    // Sent beside the stack's own. A caller's own Accept-Encoding gets the
    // body as it came, packed or not.
    QList<std::pair<QByteArray, QByteArray>> headers{};
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
