#pragma once

#include "app/AppState.h"

#include "core/MarketRecords.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// AppState's calendar as the panel lists it: in date order, each row with
// the key of its local day so that the list can group rows under day
// headers. The calendar arrives whole every cycle, so each delivery resets
// the model.
class CalendarListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        TitleRole,
        TimeDisplayRole,
        CurrencyRole,
        MarkerRole,
        ImpactColorRole,
        HighImpactRole,
        BackgroundRole,
        ForecastTextRole,
        ActualTextRole,
        CountdownRole,
        CountdownColorRole,
        DayRole,
    };
    Q_ENUM(Role)

    explicit CalendarListModel(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The header of the group whose rows carry `day` in their day role.
    Q_INVOKABLE QString dayTitle(const QString &day) const;
    // Countdowns move on with the clock; the panel calls this on its timer.
    Q_INVOKABLE void refreshCountdowns();

signals:
    void appStateChanged();
    void countChanged();

private:
    void reload();

    QPointer<AppState> m_state;
    QList<CalendarEvent> m_events;
};

} // namespace kalvo
