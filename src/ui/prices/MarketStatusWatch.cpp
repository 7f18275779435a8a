#include "MarketStatusWatch.h"

#include "core/Clock.h"

namespace kalvo {

MarketStatusWatch::MarketStatusWatch(QObject *parent) : QObject(parent) {}

QObject *MarketStatusWatch::appStateObject() const
{
    return m_state;
}

void MarketStatusWatch::setAppStateObject(QObject *object)
{
    auto *state = qobject_cast<AppState *>(object);
    if (m_state == state)
        return;
    m_state = state;
    refresh();
    emit appStateChanged();
}

void MarketStatusWatch::refresh()
{
    if (!m_state)
        return;
    const MarketStatus status = MarketStatus::status(m_state->clock().now());
    if (status == m_status)
        return;
    m_status = status;
    emit statusChanged();
}

} // namespace kalvo
