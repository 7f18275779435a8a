#pragma once

#include "app/AppState.h"

#include <QColor>
#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The market overview the sheet shows: `present` while AppState holds one,
// and `overview` as the view reads it. When the overview is cleared
// `present` turns false but `overview` keeps the last one, so a closing
// sheet still shows what it showed.
//
// `overview` holds: "id", "sentiment" (upper case), "sentimentColor",
// "topPair", "text", "currencies" (USD, EUR, GBP, JPY, each a map with
// "code", "sentiment" in upper case and "color") and "themes".
class MarketOverviewContent : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(bool present READ present NOTIFY presentChanged)
    Q_PROPERTY(QVariantMap overview READ overview NOTIFY overviewChanged)

public:
    explicit MarketOverviewContent(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    bool present() const { return m_present; }
    QVariantMap overview() const { return m_overview; }

    // Forgets the overview in AppState, as closing its sheet does.
    Q_INVOKABLE void clear();

    // Green for "risk-on", red for "risk-off", yellow for anything else.
    static QColor sentimentColor(const QString &sentiment);
    // Green for "bullish", red for "bearish", the secondary text colour otherwise.
    static QColor currencyColor(const QString &sentiment);
    static QVariantMap contentOf(const MarketOverview &overview);

signals:
    void appStateChanged();
    void presentChanged();
    void overviewChanged();

private:
    void reload();

    QPointer<AppState> m_state;
    bool m_present = false;
    QVariantMap m_overview;
};

} // namespace kalvo
