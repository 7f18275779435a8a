#include "OpportunityListModel.h"

#include "app/AppStateBinding.h"
#include "ScannerPresentation.h"
#include "ui/controls/Theme.h"

namespace kalvo {

namespace SP = ScannerPresentation;

OpportunityListModel::OpportunityListModel(QObject *parent) : QAbstractListModel(parent) {}

QObject *OpportunityListModel::appStateObject() const
{
    return m_state;
}

void OpportunityListModel::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::scannerChanged, this, &OpportunityListModel::reload);
    reload();
    emit appStateChanged();
}

void OpportunityListModel::reload()
{
    setResult(m_state ? m_state->scanner() : ScannerResult());
}

void OpportunityListModel::setResult(const ScannerResult &result)
{
    beginResetModel();
    m_rows = SP::shownOpportunities(result);
    endResetModel();
    emit countChanged();
}

int OpportunityListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant OpportunityListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Opportunity &opportunity = m_rows.at(index.row());
    if (role == Qt::DisplayRole)
        return opportunity.pair;
    switch (Role(role)) {
    case PairRole: return opportunity.pair;
    case ScoreRole: return opportunity.score;
    case ScoreTextRole: return SP::scoreRingText(opportunity.score);
    case ScoreColorRole: return Theme::scoreColor(opportunity.score);
    case HighlightedRole: return SP::isHighlighted(opportunity.score);
    case DirectionLabelRole: return SP::directionLabel(opportunity.direction);
    case DirectionColorRole: return SP::directionColor(opportunity.direction);
    case WarningRole: return opportunity.warning;
    case NewsCountTextRole: return SP::newsCountText(opportunity.newsCount);
    case ReasonsRole: return opportunity.reasons;
    }
    return {};
}

QHash<int, QByteArray> OpportunityListModel::roleNames() const
{
    return {
        {PairRole, "pair"},
        {ScoreRole, "score"},
        {ScoreTextRole, "scoreText"},
        {ScoreColorRole, "scoreColor"},
        {HighlightedRole, "highlighted"},
        {DirectionLabelRole, "directionLabel"},
        {DirectionColorRole, "directionColor"},
        {WarningRole, "warning"},
        {NewsCountTextRole, "newsCountText"},
        {ReasonsRole, "reasons"},
    };
}

} // namespace kalvo
