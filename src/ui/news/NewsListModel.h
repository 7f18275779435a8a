#pragma once

#include "app/AppState.h"

#include "core/NewsItem.h"

#include <QAbstractListModel>
#include <QPointer>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// AppState's headlines as a list model. It keeps no copy of the items: it
// reads them from AppState::news() and follows AppState's row signals, so
// one arriving headline is one inserted row and a re-scored one is one
// changed row; the views never rebuild the whole list for a single change.
class NewsListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QObject *appState READ appStateObject WRITE setAppStateObject NOTIFY appStateChanged)
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    // Items that carry an analysis, for the status bar.
    Q_PROPERTY(int analyzedCount READ analyzedCount NOTIFY countChanged)

public:
    enum Role {
        IdRole = Qt::UserRole + 1,
        TitleRole,
        DisplayTitleRole,
        SourceRole,
        UrlRole,
        LinkRole,
        PublishedRole,
        AgeRole,
        ElapsedRole,
        ContentRole,
        ScoreRole,
        HighImpactRole,
        EffectiveScoreRole,
        ScoreTextRole,
        HasAnalysisRole,
        AnalysisScoreRole,
        ScoreBadgeRole,
        HeadlineRole,
        AnalysisTextRole,
        UrgencyRole,
        UrgencyGlyphRole,
        UrgencyLabelRole,
        UrgencyBadgeGlyphRole,
        UrgencyWordRole,
        UrgencyColorRole,
        DirectionGlyphRole,
        DirectionColorRole,
        CategoryRole,
        CategoryLabelRole,
        PairsRole,
        FactorsRole,
        SummaryRole,
        MacroRole,
        RisksRole,
        WatchNextRole,
        StrategyRole,
    };
    Q_ENUM(Role)

    explicit NewsListModel(QObject *parent = nullptr);

    AppState *appState() const { return m_state; }
    void setAppState(AppState *state);
    QObject *appStateObject() const;
    void setAppStateObject(QObject *state);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    int analyzedCount() const { return m_analyzedCount; }

    // Every role of one item as it reads on screen at `now`; the detail
    // panel shows the selected item through the same map.
    static QVariant value(const NewsItem &item, int role, const QDateTime &now);
    static QVariantMap values(const NewsItem &item, const QDateTime &now);

    // The relative ages move on with the clock; the list calls this on its timer.
    Q_INVOKABLE void refreshAges();

signals:
    void appStateChanged();
    void countChanged();

private:
    void onInserted(int row);
    void onRemoved(int row);
    void onReplaced();
    void onUpdated(int row);
    void recount();
    // The row of AppState's list that a row of the views stands for, or -1.
    int listRow(int viewRow) const;

    // AppState changes its list before it signals. Until a change is
    // announced the views must still see the list as it was: m_rows is the
    // count they know, and while an insertion or removal is being announced
    // m_pending shifts the rows behind it back to where they were.
    struct PendingChange
    {
        enum Kind { None, Insert, Remove } kind = None;
        int row = 0;
    };

    QPointer<AppState> m_state;
    int m_rows = 0;
    PendingChange m_pending;
    int m_analyzedCount = 0;
};

} // namespace kalvo
