#pragma once

#include "NewsSignals.h"
#include "PromptReader.h"

#include <QHash>
#include <QList>
#include <QStringList>

namespace kalvo::backend {

// The keyword rules applied to a whole news list: which currencies the
// headlines push up or down, the risk mood and the main themes. Headlines
// weigh by the score the app listed them with.
struct NewsDigest
{
    struct Item
    {
        ListedNews news;
        NewsSignal signal;
    };

    QList<Item> items;             // in list order, irrelevant headlines included
    QHash<QString, double> balance; // currency code -> sum of pulls
    int riskTone = 0;               // > 0 risk-on, < 0 risk-off
    QStringList themes;             // categories, heaviest first

    static NewsDigest of(const QList<ListedNews> &news);

    // The currency with the largest gain or loss, if any moved.
    QString strongest() const;
    QString weakest() const;
    double pull(const QString &currency) const { return balance.value(currency); }
    // "bullish", "bearish" or "neutral" for one currency.
    QString verdictOn(const QString &currency) const;
};

} // namespace kalvo::backend
