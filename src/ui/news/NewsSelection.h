#pragma once

#include "app/AppState.h"

#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The selected headline as the detail panel reads it: the same per-field
// values as a row of NewsListModel (see NewsListModel::values), refreshed
// whenever AppState's selection changes. When the selection is cleared,
// `present` turns false but `item` keeps the last headline, so a panel that
// slides away still shows what it showed.
class NewsSelection : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(bool present READ present NOTIFY presentChanged)
    Q_PROPERTY(QVariantMap item READ item NOTIFY itemChanged)
    // How long ago it was published ("2 Std., 5 Min."); moves on with refreshElapsed().
    Q_PROPERTY(QString elapsed READ elapsed NOTIFY elapsedChanged)

public:
    explicit NewsSelection(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    bool present() const { return m_present; }
    QVariantMap item() const { return m_item; }
    QString elapsed() const { return m_elapsed; }

    Q_INVOKABLE void refreshElapsed();

signals:
    void appStateChanged();
    void itemChanged();
    void presentChanged();
    void elapsedChanged();

private:
    void reload();

    QPointer<AppState> m_state;
    bool m_present = false;
    QVariantMap m_item;
    QString m_elapsed;
};

} // namespace kalvo
