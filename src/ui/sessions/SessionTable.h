#pragma once

#include "app/AppState.h"

#include <QColor>
#include <QDate>
#include <QObject>
#include <QPointer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The trading-sessions dialog: which sessions AppState counts as active,
// their overlap, and one row per session of the fixed table with its hours
// in local time and in UTC. Follows AppState, so the marks move with the
// session clock.
//
// Each row holds: "name", "local", "utc", "volume", "volumeColor",
// "pairs" and "active".
class SessionTable : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(QString activeText READ activeText NOTIFY changed)
    Q_PROPERTY(QString overlap READ overlap NOTIFY changed)
    Q_PROPERTY(QVariantList rows READ rows NOTIFY changed)

public:
    struct Session
    {
        QString name;
        int openUtc;  // hour
        int closeUtc; // hour; before openUtc when the session runs past midnight
        QString volume;
        QStringList pairs;
    };
    static const QList<Session> &sessions();

    explicit SessionTable(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    // "Aktiv: LONDON, NEW_YORK", or "Aktiv: Keine".
    QString activeText() const { return m_activeText; }
    // Empty without an overlap.
    QString overlap() const { return m_overlap; }
    QVariantList rows() const { return m_rows; }

    static QString activeTextOf(const QStringList &activeKeys);
    // A row is marked when an active key equals its name, both lower-cased:
    // "new_york" never matches "New York", so that row stays unmarked.
    static bool isActive(const Session &session, const QStringList &activeKeys);
    // UTC hour `hour` of `today` (the local date) as local "HH:mm".
    static QString localHour(int hour, const QDate &today);
    static QVariantList rowsOf(const QStringList &activeKeys, const QDate &today);

signals:
    void appStateChanged();
    void changed();

private:
    void reload();

    QPointer<AppState> m_state;
    QString m_activeText;
    QString m_overlap;
    QVariantList m_rows;
};

} // namespace kalvo
