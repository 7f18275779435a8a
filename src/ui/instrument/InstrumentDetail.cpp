#include "InstrumentDetail.h"

#include "app/AppStateBinding.h"
#include "ui/news/NewsPresentation.h"
#include "ui/prices/PricePresentation.h"
#include "core/Clock.h"
#include "core/Instruments.h"

using namespace Qt::StringLiterals;

namespace kalvo {

namespace PP = PricePresentation;

InstrumentDetail::InstrumentDetail(QObject *parent) : QObject(parent) {}

QObject *InstrumentDetail::appStateObject() const
{
    return m_state;
}

void InstrumentDetail::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    if (m_state) {
        connect(m_state, &AppState::pricesChanged, this, &InstrumentDetail::reloadQuote);
        for (auto signal : {&AppState::newsInserted, &AppState::newsRemoved, &AppState::newsUpdated})
            connect(m_state, signal, this, &InstrumentDetail::reloadNews);
        connect(m_state, &AppState::newsReplaced, this, &InstrumentDetail::reloadNews);
    }
    refresh();
    emit appStateChanged();
}

void InstrumentDetail::setPair(const QString &pair)
{
    if (m_pair == pair)
        return;
    m_pair = pair;
    refresh();
    emit pairChanged();
}

QString InstrumentDetail::priceText() const
{
    return m_quote ? formatPrice(m_quote->price, m_pair) : u"—"_s;
}

QString InstrumentDetail::changeText() const
{
    return m_quote ? PP::changeText(m_quote->changePct) : QString();
}

QColor InstrumentDetail::changeColor() const
{
    // Without a quote the big price is a muted dash, not a coloured zero.
    return PP::changeColor(m_quote);
}

QString InstrumentDetail::directionText() const
{
    return PP::directionText(m_quote);
}

QString InstrumentDetail::ageText() const
{
    return m_quote ? PP::quoteAge(m_quote->timestamp, now()) : u"—"_s;
}

QVariantList InstrumentDetail::currencyCards() const
{
    QVariantList cards;
    for (const QString &code : PP::currencyCodes(m_pair)) {
        const PP::CurrencyInfo info = *PP::currencyInfo(code);
        cards.append(QVariantMap{{u"code"_s, code},
                                 {u"flag"_s, info.flag},
                                 {u"name"_s, info.name},
                                 {u"region"_s, info.region},
                                 {u"description"_s, info.description}});
    }
    return cards;
}

void InstrumentDetail::refresh()
{
    reloadQuote();
    reloadNews();
}

void InstrumentDetail::reloadQuote()
{
    m_quote.reset();
    if (m_state && !m_pair.isEmpty()) {
        const auto &prices = m_state->prices();
        if (auto it = prices.constFind(m_pair); it != prices.constEnd())
            m_quote = *it;
    }
    emit quoteChanged();
}

void InstrumentDetail::reloadNews()
{
    QVariantList related;
    if (m_state && !m_pair.isEmpty()) {
        const QDateTime at = now();
        for (const NewsItem &item : PP::relatedNews(m_state->news(), m_pair)) {
            related.append(QVariantMap{{u"newsId"_s, item.id},
                                       {u"title"_s, NewsPresentation::displayTitle(item)},
                                       {u"source"_s, item.source},
                                       {u"age"_s, PP::compactAge(item.published, at)}});
        }
    }
    if (related == m_relatedNews)
        return;
    m_relatedNews = related;
    emit relatedNewsChanged();
}

QDateTime InstrumentDetail::now() const
{
    return m_state ? m_state->clock().now() : QDateTime::currentDateTimeUtc();
}

} // namespace kalvo
