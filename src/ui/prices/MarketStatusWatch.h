#pragma once

#include "app/AppState.h"

#include "core/MarketStatus.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The market status a panel shows, taken from AppState's clock when the
// panel appears and again on each refresh(). The price panel refreshes it
// once a minute, so the closed-market block can come and go without new
// quotes.
class MarketStatusWatch : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(bool isOpen READ isOpen NOTIFY statusChanged)
    Q_PROPERTY(QString label READ label NOTIFY statusChanged)
    Q_PROPERTY(QString detail READ detail NOTIFY statusChanged)

public:
    explicit MarketStatusWatch(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    bool isOpen() const { return m_status.isOpen; }
    QString label() const { return m_status.label; }
    QString detail() const { return m_status.detail; }

    Q_INVOKABLE void refresh();

signals:
    void appStateChanged();
    void statusChanged();

private:
    QPointer<AppState> m_state;
    MarketStatus m_status;
};

} // namespace kalvo
