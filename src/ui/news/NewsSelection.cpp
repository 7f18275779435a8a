#include "NewsSelection.h"

#include "app/AppStateBinding.h"
#include "app/AppState.h"
#include "NewsListModel.h"
#include "NewsPresentation.h"
#include "core/Clock.h"

namespace kalvo {

NewsSelection::NewsSelection(QObject *parent) : QObject(parent) {}

QObject *NewsSelection::appStateObject() const
{
    return m_state;
}

void NewsSelection::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::selectedNewsChanged, this, &NewsSelection::reload);
    reload();
    emit appStateChanged();
}

void NewsSelection::reload()
{
    const bool selected = m_state && m_state->selectedNews();
    if (selected) {
        m_item = NewsListModel::values(*m_state->selectedNews(), m_state->clock().now());
        emit itemChanged();
        refreshElapsed();
    }
    if (selected != m_present) {
        m_present = selected;
        emit presentChanged();
    }
}

void NewsSelection::refreshElapsed()
{
    if (!m_state || !m_state->selectedNews())
        return; // the last text stays with the last item
    const QString elapsed =
        NewsPresentation::elapsedText(m_state->selectedNews()->published, m_state->clock().now());
    if (elapsed == m_elapsed)
        return;
    m_elapsed = elapsed;
    emit elapsedChanged();
}

} // namespace kalvo
