#include "PriceListModel.h"

#include "app/AppStateBinding.h"
#include "PricePresentation.h"
#include "core/Instruments.h"
#include "ui/controls/Theme.h"

using namespace Qt::StringLiterals;

namespace kalvo {

namespace PP = PricePresentation;

PriceListModel::PriceListModel(QObject *parent) : QAbstractListModel(parent) {}

void PriceListModel::setAppState(AppState *state)
{
    if (!rebindAppState(this, m_state, state))
        return;
    if (m_state) {
        connect(m_state, &AppState::pricesChanged, this, &PriceListModel::onPricesChanged);
        connect(m_state, &AppState::configChanged, this, &PriceListModel::rebuild);
        connect(m_state, &QObject::destroyed, this, [this] { setAppState(nullptr); });
    }
    rebuild();
    emit appStateChanged();
}

QObject *PriceListModel::appStateObject() const
{
    return m_state;
}

void PriceListModel::setAppStateObject(QObject *state)
{
    setAppState(qobject_cast<AppState *>(state));
}

void PriceListModel::setDimmed(bool dimmed)
{
    if (m_dimmed == dimmed)
        return;
    m_dimmed = dimmed;
    if (!m_rows.isEmpty())
        emit dataChanged(index(0), index(int(m_rows.size()) - 1));
    emit dimmedChanged();
}

int PriceListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant PriceListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows.at(index.row());
    if (row.pair.isEmpty()) {
        switch (role) {
        case KindRole: return u"header"_s;
        case Qt::DisplayRole:
        case PairRole: return QString(extrasTitle);
        default: return {};
        }
    }
    return value(row.pair, row.shown, m_dimmed, role);
}

QVariant PriceListModel::value(const QString &pair, const std::optional<PriceData> &quote, bool dimmed, int role)
{
    switch (role) {
    case KindRole: return u"pair"_s;
    case Qt::DisplayRole:
    case PairRole: return pair;
    case HasQuoteRole: return quote.has_value();
    case ArrowRole: return PP::arrow(quote);
    case PriceTextRole: return quote ? formatPrice(quote->price, pair) : u"—"_s;
    case ChangeTextRole:
        if (dimmed)
            return u"WE"_s;
        return quote ? PP::changeText(quote->changePct) : QString();
    case ChangeColorRole: return PP::changeColor(quote);
    case NameColorRole: return dimmed ? Theme::textSecondary() : Theme::textPrimary();
    case PriceColorRole:
        if (!quote)
            return Theme::textMuted();
        return dimmed ? Theme::textSecondary() : PP::changeColor(quote);
    default: return {};
    }
}

QHash<int, QByteArray> PriceListModel::roleNames() const
{
    return {
        {KindRole, "kind"},
        {PairRole, "pair"},
        {HasQuoteRole, "hasQuote"},
        {ArrowRole, "arrow"},
        {PriceTextRole, "priceText"},
        {ChangeTextRole, "changeText"},
        {ChangeColorRole, "changeColor"},
        {NameColorRole, "nameColor"},
        {PriceColorRole, "priceColor"},
    };
}

void PriceListModel::rebuild()
{
    beginResetModel();
    m_rows.clear();
    if (m_state) {
        const Config &config = m_state->config();
        for (const QString &pair : config.marketPairs)
            m_rows.append({pair, quoteOf(pair)});
        if (!config.marketExtras.isEmpty()) {
            m_rows.append({QString(), std::nullopt});
            for (const QString &pair : config.marketExtras)
                m_rows.append({pair, quoteOf(pair)});
        }
    }
    endResetModel();
    emit countChanged();
}

void PriceListModel::onPricesChanged()
{
    for (int i = 0; i < m_rows.size(); ++i) {
        Row &row = m_rows[i];
        if (row.pair.isEmpty())
            continue;
        std::optional<PriceData> quote = quoteOf(row.pair);
        if (sameLook(row.shown, quote))
            continue;
        row.shown = std::move(quote);
        emit dataChanged(index(i), index(i));
    }
}

std::optional<PriceData> PriceListModel::quoteOf(const QString &pair) const
{
    const auto &prices = m_state->prices();
    if (auto it = prices.constFind(pair); it != prices.constEnd())
        return *it;
    return std::nullopt;
}

// PriceData's own equality ignores the change; a row shows it.
bool PriceListModel::sameLook(const std::optional<PriceData> &a, const std::optional<PriceData> &b)
{
    if (a.has_value() != b.has_value())
        return false;
    return !a || (a->price == b->price && a->changePct == b->changePct && a->direction == b->direction);
}

} // namespace kalvo
