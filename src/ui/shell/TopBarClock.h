#pragma once

#include "app/AppState.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The top bar's clock text and market badge. Both are computed from
// AppState's clock on every tick(); the top bar ticks once a second. The
// badge holds the status of the moment it was created until the first tick;
// the clock text stays empty until then.
class TopBarClock : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(QString clockText READ clockText NOTIFY ticked)
    Q_PROPERTY(bool marketOpen READ marketOpen NOTIFY marketChanged)
    Q_PROPERTY(QString marketLabel READ marketLabel NOTIFY marketChanged)

public:
    explicit TopBarClock(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    QString clockText() const { return m_clockText; }
    bool marketOpen() const { return m_marketOpen; }
    QString marketLabel() const { return m_marketLabel; }

    // "05.03.2025  14:07:09" in local time: two blanks between date and time.
    static QString format(const QDateTime &instant);

    Q_INVOKABLE void tick();

signals:
    void appStateChanged();
    void ticked();
    void marketChanged();

private:
    void updateMarket(const QDateTime &now);

    QPointer<AppState> m_state;
    QString m_clockText;
    bool m_marketOpen = false;
    QString m_marketLabel;
};

} // namespace kalvo
