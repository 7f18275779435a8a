#pragma once

#include "core/Clock.h"

#include <QDateTime>
#include <QList>

namespace kalvo {

// The start times of the model requests of the last minute, oldest first:
// the book-keeping of a sliding one-minute rate limit.
class RequestWindow
{
public:
    // Forgets every request that is 60 seconds old or older, then says how
    // long to wait before one more request fits under `maxPerMinute`. The
    // wait runs to 61 seconds after the oldest kept request, one second past
    // the window, so that after it that request has surely left.
    Clock::Duration waitBeforeNext(const QDateTime &now, int maxPerMinute);

    void record(const QDateTime &start) { m_times.append(start); }
    const QList<QDateTime> &times() const { return m_times; }

private:
    QList<QDateTime> m_times;
};

} // namespace kalvo
