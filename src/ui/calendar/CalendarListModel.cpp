#include "CalendarListModel.h"

#include "app/AppStateBinding.h"
#include "CalendarPresentation.h"
#include "core/Clock.h"

using namespace Qt::StringLiterals;

namespace kalvo {

namespace CP = CalendarPresentation;

CalendarListModel::CalendarListModel(QObject *parent) : QAbstractListModel(parent) {}

QObject *CalendarListModel::appStateObject() const
{
    return m_state;
}

void CalendarListModel::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::calendarChanged, this, &CalendarListModel::reload);
    reload();
    emit appStateChanged();
}

void CalendarListModel::reload()
{
    beginResetModel();
    m_events = m_state ? CP::inDateOrder(m_state->calendar()) : QList<CalendarEvent>();
    endResetModel();
    emit countChanged();
}

int CalendarListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_events.size());
}

QVariant CalendarListModel::data(const QModelIndex &index, int role) const
{
    if (!m_state || !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const CalendarEvent &event = m_events.at(index.row());
    if (role == Qt::DisplayRole)
        return event.event;
    switch (Role(role)) {
    case IdRole: return event.id;
    case TitleRole: return event.event;
    case TimeDisplayRole: return event.timeDisplay;
    case CurrencyRole: return event.currency;
    case MarkerRole: return CP::impactMarker(event.impact);
    case ImpactColorRole: return CP::impactColor(event.impact);
    case HighImpactRole: return event.impact == CalendarEvent::Impact::High;
    case BackgroundRole: return CP::rowBackground(event.impact);
    case ForecastTextRole: return event.forecast.isEmpty() ? QString() : u"P: "_s + event.forecast;
    case ActualTextRole: return event.actual.isEmpty() ? QString() : u"A: "_s + event.actual;
    case CountdownRole: return CP::countdownLabel(event, m_state->clock().now()).value_or(QString());
    case CountdownColorRole: return CP::countdownColor(event, m_state->clock().now());
    case DayRole: return CP::localDay(event).toString(Qt::ISODate);
    }
    return {};
}

QHash<int, QByteArray> CalendarListModel::roleNames() const
{
    return {
        {IdRole, "eventId"},
        {TitleRole, "title"},
        {TimeDisplayRole, "timeDisplay"},
        {CurrencyRole, "currency"},
        {MarkerRole, "marker"},
        {ImpactColorRole, "impactColor"},
        {HighImpactRole, "highImpact"},
        {BackgroundRole, "background"},
        {ForecastTextRole, "forecastText"},
        {ActualTextRole, "actualText"},
        {CountdownRole, "countdown"},
        {CountdownColorRole, "countdownColor"},
        {DayRole, "day"},
    };
}

QString CalendarListModel::dayTitle(const QString &day) const
{
    return CP::dayTitle(QDate::fromString(day, Qt::ISODate));
}

void CalendarListModel::refreshCountdowns()
{
    if (!m_events.isEmpty())
        emit dataChanged(index(0), index(int(m_events.size()) - 1), {CountdownRole, CountdownColorRole});
}

} // namespace kalvo
