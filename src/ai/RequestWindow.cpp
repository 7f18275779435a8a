#include "RequestWindow.h"

namespace kalvo {

namespace {

constexpr qint64 windowMs = 60'000;
constexpr qint64 waitReferenceMs = 61'000;

} // namespace

Clock::Duration RequestWindow::waitBeforeNext(const QDateTime &now, int maxPerMinute)
{
    m_times.removeIf([&](const QDateTime &start) { return start.msecsTo(now) >= windowMs; });
    if (m_times.size() < maxPerMinute || m_times.isEmpty())
        return Clock::Duration::zero();
    const qint64 wait = waitReferenceMs - m_times.first().msecsTo(now);
    return Clock::Duration(std::max<qint64>(wait, 0));
}

} // namespace kalvo
