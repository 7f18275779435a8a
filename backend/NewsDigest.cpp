#include "NewsDigest.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

NewsDigest NewsDigest::of(const QList<ListedNews> &news)
{
    NewsDigest digest;
    QHash<QString, double> themeWeight;
    QStringList themeOrder;
    for (const ListedNews &listed : news) {
        NewsSignal signal = readNewsSignal(listed.headline);
        if (listed.score >= 1)
            signal.score = std::clamp(listed.score, 1, 10);
        digest.items.append({listed, signal});
        if (!signal.relevant)
            continue;
        if (!signal.currency.isEmpty())
            digest.balance[signal.currency] += currencyPull(signal, signal.currency);
        digest.riskTone += signal.riskTone;
        if (!themeOrder.contains(signal.category))
            themeOrder << signal.category;
        themeWeight[signal.category] += signal.score;
    }
    digest.themes = themeOrder;
    std::stable_sort(digest.themes.begin(), digest.themes.end(),
                     [&](const QString &a, const QString &b) { return themeWeight[a] > themeWeight[b]; });
    return digest;
}

QString NewsDigest::strongest() const
{
    QString best;
    for (auto it = balance.cbegin(); it != balance.cend(); ++it) {
        if (it.value() > 0 && (best.isEmpty() || it.value() > balance[best] || (it.value() == balance[best] && it.key() < best)))
            best = it.key();
    }
    return best;
}

QString NewsDigest::weakest() const
{
    QString worst;
    for (auto it = balance.cbegin(); it != balance.cend(); ++it) {
        if (it.value() < 0 && (worst.isEmpty() || it.value() < balance[worst] || (it.value() == balance[worst] && it.key() < worst)))
            worst = it.key();
    }
    return worst;
}

QString NewsDigest::verdictOn(const QString &currency) const
{
    const double value = pull(currency);
    if (value > 0)
        return u"bullish"_s;
    if (value < 0)
        return u"bearish"_s;
    return u"neutral"_s;
}

} // namespace kalvo::backend
