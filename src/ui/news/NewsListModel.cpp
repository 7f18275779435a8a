#include "NewsListModel.h"

#include "app/AppState.h"
#include "NewsPresentation.h"
#include "core/Clock.h"

using namespace Qt::StringLiterals;

namespace kalvo {

namespace NP = NewsPresentation;

NewsListModel::NewsListModel(QObject *parent) : QAbstractListModel(parent) {}

void NewsListModel::setAppState(AppState *state)
{
    if (m_state == state)
        return;
    beginResetModel();
    if (m_state)
        disconnect(m_state, nullptr, this, nullptr);
    m_state = state;
    m_rows = state ? int(state->news().size()) : 0;
    if (state) {
        connect(state, &AppState::newsInserted, this, &NewsListModel::onInserted);
        connect(state, &AppState::newsRemoved, this, &NewsListModel::onRemoved);
        connect(state, &AppState::newsReplaced, this, &NewsListModel::onReplaced);
        connect(state, &AppState::newsUpdated, this, &NewsListModel::onUpdated);
        connect(state, &QObject::destroyed, this, [this] { setAppState(nullptr); });
    }
    endResetModel();
    recount();
    emit appStateChanged();
}

QObject *NewsListModel::appStateObject() const
{
    return m_state;
}

void NewsListModel::setAppStateObject(QObject *state)
{
    setAppState(qobject_cast<AppState *>(state));
}

int NewsListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_rows;
}

QVariant NewsListModel::data(const QModelIndex &index, int role) const
{
    if (!m_state || !checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const int row = listRow(index.row());
    const QList<NewsItem> &news = m_state->news();
    if (row < 0 || row >= news.size())
        return {};
    return value(news.at(row), role, m_state->clock().now());
}

int NewsListModel::listRow(int viewRow) const
{
    switch (m_pending.kind) {
    case PendingChange::Insert: return viewRow >= m_pending.row ? viewRow + 1 : viewRow;
    case PendingChange::Remove:
        // The removed item is gone from the list already.
        if (viewRow == m_pending.row)
            return -1;
        return viewRow > m_pending.row ? viewRow - 1 : viewRow;
    case PendingChange::None: break;
    }
    return viewRow;
}

QHash<int, QByteArray> NewsListModel::roleNames() const
{
    return {
        {IdRole, "newsId"},
        {TitleRole, "title"},
        {DisplayTitleRole, "displayTitle"},
        {SourceRole, "source"},
        {UrlRole, "url"},
        {LinkRole, "link"},
        {PublishedRole, "published"},
        {AgeRole, "age"},
        {ElapsedRole, "elapsed"},
        {ContentRole, "content"},
        {ScoreRole, "score"},
        {HighImpactRole, "highImpact"},
        {EffectiveScoreRole, "effectiveScore"},
        {ScoreTextRole, "scoreText"},
        {HasAnalysisRole, "hasAnalysis"},
        {AnalysisScoreRole, "analysisScore"},
        {ScoreBadgeRole, "scoreBadge"},
        {HeadlineRole, "headline"},
        {AnalysisTextRole, "analysisText"},
        {UrgencyRole, "urgency"},
        {UrgencyGlyphRole, "urgencyGlyph"},
        {UrgencyLabelRole, "urgencyLabel"},
        {UrgencyBadgeGlyphRole, "urgencyBadgeGlyph"},
        {UrgencyWordRole, "urgencyWord"},
        {UrgencyColorRole, "urgencyColor"},
        {DirectionGlyphRole, "directionGlyph"},
        {DirectionColorRole, "directionColor"},
        {CategoryRole, "category"},
        {CategoryLabelRole, "categoryLabel"},
        {PairsRole, "pairs"},
        {FactorsRole, "factors"},
        {SummaryRole, "summary"},
        {MacroRole, "macro"},
        {RisksRole, "risks"},
        {WatchNextRole, "watchNext"},
        {StrategyRole, "strategy"},
    };
}

QVariant NewsListModel::value(const NewsItem &item, int role, const QDateTime &now)
{
    // Analysis fields read as their defaults when there is no analysis.
    static const NewsAnalysis noAnalysis;
    const NewsAnalysis &analysis = item.analysis ? *item.analysis : noAnalysis;

    // Generic views (and Qt's model checker) read the display role.
    if (role == Qt::DisplayRole)
        return NP::displayTitle(item);
    switch (Role(role)) {
    case IdRole: return item.id;
    case TitleRole: return item.title;
    case DisplayTitleRole: return NP::displayTitle(item);
    case SourceRole: return item.source;
    case UrlRole: return item.url;
    case LinkRole: return NP::openableUrl(item.url);
    case PublishedRole: return item.published;
    case AgeRole: return NP::relativeAge(item.published, now);
    case ElapsedRole: return NP::elapsedText(item.published, now);
    case ContentRole: return item.content;
    case ScoreRole: return item.score;
    case HighImpactRole: return item.score >= 8.0;
    case EffectiveScoreRole: return NP::effectiveScore(item);
    case ScoreTextRole: return NP::scoreSquareText(NP::effectiveScore(item));
    case HasAnalysisRole: return item.analysis.has_value();
    case AnalysisScoreRole: return analysis.score;
    case ScoreBadgeRole: return NP::scoreBadgeText(analysis.score);
    case HeadlineRole: return item.analysis ? analysis.headline : QString();
    case AnalysisTextRole: return item.analysis ? analysis.analysis : QString();
    case UrgencyRole: return item.analysis ? analysis.urgency : QString();
    case UrgencyGlyphRole: return NP::urgencyGlyph(item);
    case UrgencyLabelRole: return NP::urgencyLabel(analysis.urgency);
    case UrgencyBadgeGlyphRole: return NP::urgencyGlyph(analysis.urgency);
    case UrgencyWordRole: return NP::urgencyWord(analysis.urgency);
    case UrgencyColorRole: return NP::urgencyColor(analysis.urgency);
    case DirectionGlyphRole: return NP::directionGlyph(item);
    case DirectionColorRole: return NP::directionGlyphColor(NP::directionGlyph(item));
    case CategoryRole: return analysis.category;
    case CategoryLabelRole: return NP::categoryLabel(analysis.category);
    case PairsRole: return NP::pairCells(analysis.pairs);
    case FactorsRole: return analysis.factors;
    case SummaryRole: return analysis.summary;
    case MacroRole: return analysis.macro;
    case RisksRole: return analysis.risks;
    case WatchNextRole: return analysis.watchNext;
    case StrategyRole:
        // Shown only with a bias to show; an empty map hides the section.
        if (!analysis.strategy || analysis.strategy->bias.isEmpty())
            return QVariantMap();
        return QVariantMap{{u"bias"_s, analysis.strategy->bias},
                           {u"entry"_s, analysis.strategy->entry},
                           {u"stop"_s, analysis.strategy->stop},
                           {u"target"_s, analysis.strategy->target}};
    }
    return {};
}

QVariantMap NewsListModel::values(const NewsItem &item, const QDateTime &now)
{
    static const QHash<int, QByteArray> names = NewsListModel().roleNames();
    QVariantMap map;
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        map.insert(QString::fromLatin1(it.value()), value(item, it.key(), now));
    return map;
}

void NewsListModel::refreshAges()
{
    if (m_rows > 0)
        emit dataChanged(index(0), index(m_rows - 1), {AgeRole, ElapsedRole});
}

void NewsListModel::onInserted(int row)
{
    m_pending = {PendingChange::Insert, row};
    beginInsertRows({}, row, row);
    m_pending = {};
    ++m_rows;
    endInsertRows();
    recount();
}

void NewsListModel::onRemoved(int row)
{
    m_pending = {PendingChange::Remove, row};
    beginRemoveRows({}, row, row);
    m_pending = {};
    --m_rows;
    endRemoveRows();
    recount();
}

void NewsListModel::onReplaced()
{
    beginResetModel();
    m_rows = m_state ? int(m_state->news().size()) : 0;
    endResetModel();
    recount();
}

void NewsListModel::onUpdated(int row)
{
    emit dataChanged(index(row), index(row));
    recount();
}

void NewsListModel::recount()
{
    int analyzed = 0;
    if (m_state) {
        for (const NewsItem &item : m_state->news())
            analyzed += item.analysis.has_value();
    }
    m_analyzedCount = analyzed;
    emit countChanged();
}

} // namespace kalvo
