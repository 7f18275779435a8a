#pragma once

#include "app/AppState.h"

#include "core/MarketRecords.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The scanner's opportunities worth a row, in the scanner's order. Each
// published result replaces the rows as a whole.
class OpportunityListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    enum Role {
        PairRole = Qt::UserRole + 1,
        ScoreRole,
        ScoreTextRole,
        ScoreColorRole,
        HighlightedRole,
        DirectionLabelRole,
        DirectionColorRole,
        WarningRole,
        NewsCountTextRole,
        ReasonsRole,
    };
    Q_ENUM(Role)

    explicit OpportunityListModel(QObject *parent = nullptr);

    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);
    // Shows `result`; AppState's published result arrives here too.
    void setResult(const ScannerResult &result);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void appStateChanged();
    void countChanged();

private:
    void reload();

    QPointer<AppState> m_state;
    QList<Opportunity> m_rows;
};

} // namespace kalvo
