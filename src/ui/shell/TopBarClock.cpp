#include "TopBarClock.h"

#include "app/AppState.h"
#include "core/Clock.h"
#include "core/MarketStatus.h"

using namespace Qt::StringLiterals;

namespace kalvo {

TopBarClock::TopBarClock(QObject *parent) : QObject(parent) {}

QObject *TopBarClock::appStateObject() const
{
    return m_state;
}

void TopBarClock::setAppStateObject(QObject *object)
{
    auto *state = qobject_cast<AppState *>(object);
    if (m_state == state)
        return;
    m_state = state;
    if (state)
        updateMarket(state->clock().now());
    emit appStateChanged();
}

QString TopBarClock::format(const QDateTime &instant)
{
    return instant.toLocalTime().toString(u"dd.MM.yyyy  HH:mm:ss"_s);
}

void TopBarClock::tick()
{
    if (!m_state)
        return;
    const QDateTime now = m_state->clock().now();
    m_clockText = format(now);
    emit ticked();
    updateMarket(now);
}

void TopBarClock::updateMarket(const QDateTime &now)
{
    const MarketStatus status = MarketStatus::status(now);
    if (status.isOpen == m_marketOpen && status.label == m_marketLabel)
        return;
    m_marketOpen = status.isOpen;
    m_marketLabel = status.label;
    emit marketChanged();
}

} // namespace kalvo
