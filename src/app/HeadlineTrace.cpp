#include "HeadlineTrace.h"

#include "AppState.h"
#include "core/Trace.h"

#include <QDateTime>
#include <QQuickWindow>

#include <utility>

namespace kalvo {

namespace {

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

} // namespace

HeadlineTrace::HeadlineTrace(AppState &state, QQuickWindow &window) : QObject(&window), m_state(state)
{
    if (!lcTrace().isDebugEnabled())
        return;
    connect(&state, &AppState::newsInserted, this, [this](int row) { m_listed.append(m_state.news().at(row).url); });
    connect(&state, &AppState::newsCycleChanged, this, [this] {
        qCDebug(lcTrace).noquote() << "news cycle ends" << nowMs() << "healthy" << m_state.newsFetchHealthy()
                                   << "frames" << std::exchange(m_frames, 0);
    });
    // Emitted on the render thread where there is one; the queued call lands
    // a moment after the swap, well inside a frame.
    connect(&window, &QQuickWindow::frameSwapped, this, &HeadlineTrace::flush, Qt::QueuedConnection);
}

void HeadlineTrace::flush()
{
    ++m_frames;
    if (m_listed.isEmpty())
        return;
    const qint64 shownAt = nowMs();
    for (const QString &link : std::as_const(m_listed))
        qCDebug(lcTrace).noquote() << "news shown" << shownAt << link;
    m_listed.clear();
}

} // namespace kalvo
