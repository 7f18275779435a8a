#include "SessionTable.h"

#include "app/AppStateBinding.h"
#include "core/Clock.h"
#include "ui/controls/Theme.h"

#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace kalvo {

const QList<SessionTable::Session> &SessionTable::sessions()
{
    static const QList<Session> table{
        {u"Sydney"_s, 21, 6, u"Mittel"_s, {u"AUD/USD"_s, u"NZD/USD"_s, u"AUD/JPY"_s}},
        {u"Tokyo"_s, 23, 8, u"Hoch"_s, {u"USD/JPY"_s, u"EUR/JPY"_s, u"GBP/JPY"_s, u"AUD/JPY"_s}},
        {u"London"_s, 7, 16, u"Sehr Hoch"_s, {u"EUR/USD"_s, u"GBP/USD"_s, u"EUR/GBP"_s, u"USD/CHF"_s}},
        {u"New York"_s, 13, 22, u"Sehr Hoch"_s, {u"EUR/USD"_s, u"USD/CAD"_s, u"USD/CHF"_s, u"XAU/USD"_s}},
    };
    return table;
}

SessionTable::SessionTable(QObject *parent) : QObject(parent)
{
    reload();
}

QObject *SessionTable::appStateObject() const
{
    return m_state;
}

void SessionTable::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::sessionsChanged, this, &SessionTable::reload);
    reload();
    emit appStateChanged();
}

void SessionTable::reload()
{
    const QStringList active = m_state ? m_state->sessions() : QStringList();
    const QDate today = m_state ? m_state->clock().now().toLocalTime().date() : QDate::currentDate();
    m_activeText = activeTextOf(active);
    m_overlap = m_state ? m_state->sessionOverlap() : QString();
    m_rows = rowsOf(active, today);
    emit changed();
}

QString SessionTable::activeTextOf(const QStringList &activeKeys)
{
    if (activeKeys.isEmpty())
        return u"Aktiv: Keine"_s;
    QStringList upper;
    for (const QString &key : activeKeys)
        upper << key.toUpper();
    return u"Aktiv: "_s + upper.join(u", "_s);
}

bool SessionTable::isActive(const Session &session, const QStringList &activeKeys)
{
    const QString name = session.name.toLower();
    for (const QString &key : activeKeys) {
        if (key.toLower() == name)
            return true;
    }
    return false;
}

QString SessionTable::localHour(int hour, const QDate &today)
{
    const QDateTime instant(today, QTime(hour, 0), QTimeZone::utc());
    if (!instant.isValid())
        return u"%1:00"_s.arg(hour, 2, 10, QLatin1Char('0'));
    return instant.toLocalTime().toString(u"HH:mm"_s);
}

QVariantList SessionTable::rowsOf(const QStringList &activeKeys, const QDate &today)
{
    const auto twoDigits = [](int hour) { return u"%1"_s.arg(hour, 2, 10, QLatin1Char('0')); };
    QVariantList rows;
    for (const Session &session : sessions()) {
        rows.append(QVariantMap{
            {u"name"_s, session.name},
            {u"local"_s, localHour(session.openUtc, today) + u"–"_s + localHour(session.closeUtc, today)},
            {u"utc"_s, u"%1:00–%2:00"_s.arg(twoDigits(session.openUtc), twoDigits(session.closeUtc))},
            {u"volume"_s, session.volume},
            {u"volumeColor"_s, session.volume.contains(u"Sehr"_s) ? Theme::green() : Theme::yellow()},
            {u"pairs"_s, session.pairs.join(u"  "_s)},
            {u"active"_s, isActive(session, activeKeys)},
        });
    }
    return rows;
}

} // namespace kalvo
