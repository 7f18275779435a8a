#include "RateLimiter.h"

#include <algorithm>
#include <cmath>

namespace kalvo::backend {

namespace {

constexpr qint64 requestUnits = 60'000'000; // a minute in milliseconds, times 1000

} // namespace

RateLimiter::RateLimiter(double perMinute, int burst, std::function<qint64()> monotonicMs)
    : m_perMs(std::llround(std::max(perMinute, 0.0) * 1000)),
      m_capacity(std::max(burst, 1) * requestUnits),
      m_now(std::move(monotonicMs))
{
}

std::optional<int> RateLimiter::refuse(int client)
{
    const qint64 now = m_now();
    auto it = m_buckets.find(client);
    if (it == m_buckets.end())
        it = m_buckets.insert(client, Bucket{m_capacity, now});
    Bucket &bucket = *it;
    const qint64 elapsed = std::max<qint64>(0, now - bucket.updatedMs);
    // Past a full refill the exact product no longer matters (and could overflow).
    const bool full = m_perMs > 0 && elapsed >= m_capacity / m_perMs + 1;
    bucket.level = full ? m_capacity : std::min(m_capacity, bucket.level + elapsed * m_perMs);
    bucket.updatedMs = now;
    if (bucket.level >= requestUnits) {
        bucket.level -= requestUnits;
        return std::nullopt;
    }
    if (m_perMs <= 0)
        return 3600;
    const qint64 waitMs = (requestUnits - bucket.level + m_perMs - 1) / m_perMs;
    return int(std::max<qint64>(1, (waitMs + 999) / 1000));
}

} // namespace kalvo::backend
