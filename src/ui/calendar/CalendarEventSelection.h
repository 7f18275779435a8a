#pragma once

#include "app/AppState.h"

#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The calendar event the sheet explains: the panel selects one by id and
// the sheet reads `detail`, which is worked out once per selection (the
// countdown in it is the one at that moment). When the selection is cleared
// `present` turns false but `detail` keeps the last event, so a closing
// sheet still shows what it showed.
//
// `detail` holds: "title", "hasCountdown", "countdownText",
// "countdownColor", "countdownUpcoming", "countdownIconColor", "rows" (each
// a map with "key", "value", "highlight", "bold", "color"),
// "categoryTitle" and "explanations".
class CalendarEventSelection : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(bool present READ present NOTIFY presentChanged)
    Q_PROPERTY(QVariantMap detail READ detail NOTIFY detailChanged)

public:
    explicit CalendarEventSelection(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    bool present() const { return m_present; }
    QVariantMap detail() const { return m_detail; }

    // Selects the calendar's event with this id; an unknown id selects nothing.
    Q_INVOKABLE void select(const QString &eventId);
    Q_INVOKABLE void clear();

    static QVariantMap detailOf(const CalendarEvent &event, const QDateTime &now);

signals:
    void appStateChanged();
    void presentChanged();
    void detailChanged();

private:
    void reload();

    QPointer<AppState> m_state;
    bool m_present = false;
    QVariantMap m_detail;
};

} // namespace kalvo
