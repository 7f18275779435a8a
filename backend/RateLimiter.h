#pragma once

#include <QHash>

#include <functional>
#include <optional>

namespace kalvo::backend {

// A token bucket per client: `burst` requests at once, refilled at
// `perMinute`. Time comes from `monotonicMs` so that tests can move it.
// Levels are whole units (one request is 60'000'000 of them, a millisecond
// adds perMinute × 1000), so refills add up exactly. Used on the server's
// thread only.
class RateLimiter
{
public:
    RateLimiter(double perMinute, int burst, std::function<qint64()> monotonicMs);

    // Takes one request from `client`'s bucket. On refusal returns the whole
    // seconds until the next request fits (at least 1), for "Retry-After".
    std::optional<int> refuse(int client);

private:
    struct Bucket
    {
        qint64 level = 0;
        qint64 updatedMs = 0;
    };

    qint64 m_perMs;
    qint64 m_capacity;
    std::function<qint64()> m_now;
    QHash<int, Bucket> m_buckets;
};

} // namespace kalvo::backend
