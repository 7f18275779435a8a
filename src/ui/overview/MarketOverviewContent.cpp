#include "MarketOverviewContent.h"

#include "ui/controls/Theme.h"
#include "app/AppStateBinding.h"

using namespace Qt::StringLiterals;

namespace kalvo {

MarketOverviewContent::MarketOverviewContent(QObject *parent) : QObject(parent) {}

QObject *MarketOverviewContent::appStateObject() const
{
    return m_state;
}

void MarketOverviewContent::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state)
        connect(m_state, &AppState::marketOverviewChanged, this, &MarketOverviewContent::reload);
    reload();
    emit appStateChanged();
}

void MarketOverviewContent::clear()
{
    if (m_state && m_state->hasMarketOverview())
        m_state->clearMarketOverview();
}

void MarketOverviewContent::reload()
{
    const bool present = m_state && m_state->hasMarketOverview();
    if (present) {
        m_overview = contentOf(*m_state->marketOverview());
        emit overviewChanged();
    }
    if (present != m_present) {
        m_present = present;
        emit presentChanged();
    }
}

QColor MarketOverviewContent::sentimentColor(const QString &sentiment)
{
    if (sentiment == u"risk-on"_s)
        return Theme::green();
    if (sentiment == u"risk-off"_s)
        return Theme::red();
    return Theme::yellow();
}

QColor MarketOverviewContent::currencyColor(const QString &sentiment)
{
    if (sentiment == u"bullish"_s)
        return Theme::green();
    if (sentiment == u"bearish"_s)
        return Theme::red();
    return Theme::textSecondary();
}

QVariantMap MarketOverviewContent::contentOf(const MarketOverview &overview)
{
    QVariantList currencies;
    const std::pair<QString, QString> views[] = {
        {u"USD"_s, overview.usd}, {u"EUR"_s, overview.eur}, {u"GBP"_s, overview.gbp}, {u"JPY"_s, overview.jpy}};
    for (const auto &[code, sentiment] : views) {
        currencies.append(QVariantMap{
            {u"code"_s, code}, {u"sentiment"_s, sentiment.toUpper()}, {u"color"_s, currencyColor(sentiment)}});
    }
    return {
        {u"id"_s, overview.id},
        {u"sentiment"_s, overview.sentiment.toUpper()},
        {u"sentimentColor"_s, sentimentColor(overview.sentiment)},
        {u"topPair"_s, overview.topPair},
        {u"text"_s, overview.overview},
        {u"currencies"_s, currencies},
        {u"themes"_s, overview.themes},
    };
}

} // namespace kalvo
