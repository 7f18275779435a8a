#pragma once

#include <QSortFilterProxyModel>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// The rows of a NewsListModel whose title, source or analysis headline
// contains the filter text, ignoring case. A plain substring test: no
// trimming, no word splitting. The order is the source's, which AppState
// already keeps newest first (ties in arrival order).
class NewsFilterModel : public QSortFilterProxyModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString filterText READ filterText WRITE setFilterText NOTIFY filterTextChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    explicit NewsFilterModel(QObject *parent = nullptr);

    QString filterText() const { return m_filterText; }
    void setFilterText(const QString &text);
    int count() const { return rowCount(); }

    // Whether a headline with these texts passes the filter `text`.
    static bool matches(const QString &text, const QString &title, const QString &source,
                        const QString &analysisHeadline);

signals:
    void filterTextChanged();
    void countChanged();

protected:
    bool filterAcceptsRow(int sourceRow, const QModelIndex &sourceParent) const override;

private:
    QString m_filterText;
};

} // namespace kalvo
