#include "NewsScore.h"

#include <QLatin1StringView>

#include <algorithm>
#include <cmath>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

using Keywords = std::initializer_list<QLatin1StringView>;

constexpr Keywords relevanceKeywords{
    "dollar"_L1, "euro"_L1, "pound"_L1, "sterling"_L1, "yen"_L1, "franc"_L1, "yuan"_L1, "usd"_L1, "eur"_L1,
    "gbp"_L1, "jpy"_L1, "chf"_L1, "cad"_L1, "aud"_L1, "nzd"_L1, "federal reserve"_L1, "fed"_L1, "ecb"_L1,
    "bank of england"_L1, "boe"_L1, "bank of japan"_L1, "boj"_L1, "central bank"_L1, "monetary policy"_L1,
    "interest rate"_L1, "rate hike"_L1, "rate cut"_L1, "fomc"_L1, "inflation"_L1, "cpi"_L1, "pce"_L1, "gdp"_L1,
    "nfp"_L1, "payroll"_L1, "employment"_L1, "forex"_L1, "currency"_L1, "exchange rate"_L1, "oil price"_L1,
    "crude"_L1, "gold price"_L1, "treasury yield"_L1, "risk-off"_L1, "risk-on"_L1, "safe haven"_L1,
    "breaking"_L1, "recession"_L1,
};

constexpr Keywords highImpactKeywords{
    "federal reserve"_L1, "fomc"_L1, "rate decision"_L1, "rate hike"_L1, "rate cut"_L1, "bank of england"_L1,
    "ecb"_L1, "bank of japan"_L1, "nonfarm payroll"_L1, "nfp"_L1, "cpi data"_L1, "inflation data"_L1, "gdp"_L1,
    "recession"_L1, "crisis"_L1, "emergency"_L1,
};

constexpr Keywords shockKeywords{
    "intervention"_L1, "surprise"_L1, "unscheduled"_L1, "emergency"_L1, "black swan"_L1, "war"_L1,
    "attack"_L1, "sanction"_L1, "default"_L1, "bank run"_L1, "liquidity crisis"_L1, "credit downgrade"_L1,
    "systemic risk"_L1, "debt crisis"_L1, "capital controls"_L1,
};

constexpr Keywords mediumImpactKeywords{
    "minutes"_L1, "speech"_L1, "forecast"_L1, "guidance"_L1, "outlook"_L1, "survey"_L1, "retail sales"_L1,
    "pmi"_L1, "consumer confidence"_L1, "jobless claims"_L1, "producer prices"_L1,
    "industrial production"_L1, "housing"_L1, "trade balance"_L1,
};

// Each keyword counts once, however often it occurs.
int hits(const QString &text, Keywords keywords)
{
    return int(std::count_if(keywords.begin(), keywords.end(),
                             [&](QLatin1StringView keyword) { return text.contains(keyword); }));
}

double baseScore(int priority)
{
    switch (priority) {
    case 1: return 2.5;
    case 2: return 2.0;
    default: return 1.5;
    }
}

} // namespace

double localScore(const QString &text, int priority)
{
    double score = baseScore(priority);
    score += std::min(0.25 * hits(text, relevanceKeywords), 2.0);
    score += std::min(1.1 * hits(text, highImpactKeywords), 3.0);
    score += std::min(1.5 * hits(text, shockKeywords), 3.0);
    score += std::min(0.35 * hits(text, mediumImpactKeywords), 1.5);
    if (text.contains("breaking"_L1))
        score += 0.6;
    if (text.contains("live"_L1))
        score += 0.3;
    // std::round rounds halves away from zero, as the scale was defined.
    return std::max(std::min(std::round(score), 10.0), 1.0);
}

} // namespace kalvo
