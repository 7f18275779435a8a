#pragma once

#include "app/AppState.h"

#include "core/MarketRecords.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

#include <optional>

namespace kalvo {

// The rows of the price panel: the configured pairs in configuration order,
// then, only when extras are configured, a "MARKT-EXTRAS" header row and the
// extras. Quotes are read from AppState::prices(); a price delivery changes
// only the rows whose quote changed, a new configuration rebuilds the rows.
// `dimmed` (the markets are closed) turns every row to its closed look.
class PriceListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(bool dimmed READ dimmed WRITE setDimmed NOTIFY dimmedChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)

public:
    enum Role {
        KindRole = Qt::UserRole + 1, // "pair" or "header"
        PairRole,
        HasQuoteRole,
        ArrowRole,
        PriceTextRole,
        // "WE" while dimmed, else the change; empty without a quote.
        ChangeTextRole,
        ChangeColorRole,
        NameColorRole,
        PriceColorRole,
    };
    Q_ENUM(Role)

    static constexpr QLatin1StringView extrasTitle{"MARKT-EXTRAS"};

    explicit PriceListModel(QObject *parent = nullptr);

    void setAppState(AppState *state);
    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    bool dimmed() const { return m_dimmed; }
    void setDimmed(bool dimmed);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // What one row shows for `pair` with this quote.
    static QVariant value(const QString &pair, const std::optional<PriceData> &quote, bool dimmed, int role);

signals:
    void appStateChanged();
    void dimmedChanged();
    void countChanged();

private:
    struct Row
    {
        QString pair; // empty for the extras header
        std::optional<PriceData> shown;
    };

    void rebuild();
    void onPricesChanged();
    std::optional<PriceData> quoteOf(const QString &pair) const;
    static bool sameLook(const std::optional<PriceData> &a, const std::optional<PriceData> &b);

    QPointer<AppState> m_state;
    bool m_dimmed = false;
    QList<Row> m_rows;
};

} // namespace kalvo
