#include "CalendarEventSelection.h"

#include "app/AppStateBinding.h"
#include "CalendarPresentation.h"
#include "core/Clock.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace CP = CalendarPresentation;

CalendarEventSelection::CalendarEventSelection(QObject *parent) : QObject(parent) {}

QObject *CalendarEventSelection::appStateObject() const
{
    return m_state;
}

void CalendarEventSelection::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::selectedCalendarEventChanged, this, &CalendarEventSelection::reload);
    reload();
    emit appStateChanged();
}

void CalendarEventSelection::select(const QString &eventId)
{
    if (!m_state)
        return;
    const QList<CalendarEvent> &events = m_state->calendar();
    const auto found = std::find_if(events.cbegin(), events.cend(),
                                    [&](const CalendarEvent &event) { return event.id == eventId; });
    m_state->setSelectedCalendarEvent(found == events.cend() ? std::nullopt : std::optional(*found));
}

void CalendarEventSelection::clear()
{
    if (m_state && m_state->selectedCalendarEvent())
        m_state->setSelectedCalendarEvent(std::nullopt);
}

void CalendarEventSelection::reload()
{
    const bool selected = m_state && m_state->selectedCalendarEvent();
    if (selected) {
        m_detail = detailOf(*m_state->selectedCalendarEvent(), m_state->clock().now());
        emit detailChanged();
    }
    if (selected != m_present) {
        m_present = selected;
        emit presentChanged();
    }
}

QVariantMap CalendarEventSelection::detailOf(const CalendarEvent &event, const QDateTime &now)
{
    QVariantList rows;
    for (const CP::DataRow &row : CP::dataRows(event)) {
        rows.append(QVariantMap{{u"key"_s, row.key},
                                {u"value"_s, row.value},
                                {u"highlight"_s, row.highlight},
                                {u"bold"_s, row.bold},
                                {u"color"_s, row.valueColor}});
    }
    const CP::EventCategory category = CP::classifyEvent(event.event);
    const auto countdown = CP::detailCountdown(event, now);
    return {
        {u"title"_s, event.event},
        {u"hasCountdown"_s, countdown.has_value()},
        {u"countdownText"_s, countdown ? countdown->text : QString()},
        {u"countdownColor"_s, countdown ? countdown->textColor : QColor()},
        {u"countdownUpcoming"_s, countdown && countdown->upcoming},
        {u"countdownIconColor"_s, countdown ? countdown->iconColor : QColor()},
        {u"rows"_s, rows},
        {u"categoryTitle"_s, category.title},
        {u"explanations"_s, category.explanations},
    };
}

} // namespace kalvo
