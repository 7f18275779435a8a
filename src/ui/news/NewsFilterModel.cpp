#include "NewsFilterModel.h"

#include "NewsListModel.h"

namespace kalvo {

NewsFilterModel::NewsFilterModel(QObject *parent) : QSortFilterProxyModel(parent)
{
    for (auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(this, signal, this, &NewsFilterModel::countChanged);
    connect(this, &QAbstractItemModel::modelReset, this, &NewsFilterModel::countChanged);
    connect(this, &QAbstractItemModel::layoutChanged, this, &NewsFilterModel::countChanged);
}

void NewsFilterModel::setFilterText(const QString &text)
{
    if (m_filterText == text)
        return;
    m_filterText = text;
    invalidateFilter();
    emit filterTextChanged();
    emit countChanged();
}

bool NewsFilterModel::matches(const QString &text, const QString &title, const QString &source,
                              const QString &analysisHeadline)
{
    if (text.isEmpty())
        return true;
    const QString needle = text.toLower();
    return title.toLower().contains(needle) || source.toLower().contains(needle)
           || analysisHeadline.toLower().contains(needle);
}

bool NewsFilterModel::filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const
{
    if (m_filterText.isEmpty())
        return true;
    const QModelIndex row = sourceModel()->index(sourceRow, 0, sourceParent);
    const auto text = [&](int role) { return row.data(role).toString(); };
    // The headline role is empty for an item without analysis.
    return matches(m_filterText, text(NewsListModel::TitleRole), text(NewsListModel::SourceRole),
                   text(NewsListModel::HeadlineRole));
}

} // namespace kalvo
