#pragma once

#include "app/AppState.h"

#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The top of the scanner panel: the risk mood, the open sessions and the
// currency strength strip of AppState's latest scanner result.
class ScannerSummary : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(QString riskLabel READ riskLabel NOTIFY changed)
    Q_PROPERTY(QColor riskColor READ riskColor NOTIFY changed)
    Q_PROPERTY(QStringList sessions READ sessions NOTIFY changed)
    // Strongest first; each a map with "currency", "text" and "color".
    Q_PROPERTY(QVariantList strengths READ strengths NOTIFY changed)

public:
    explicit ScannerSummary(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    QString riskLabel() const;
    QColor riskColor() const;
    QStringList sessions() const;
    QVariantList strengths() const;

signals:
    void appStateChanged();
    void changed();

private:
    const ScannerResult &result() const;

    QPointer<AppState> m_state;
};

} // namespace kalvo
