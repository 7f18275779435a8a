#include "NewsScore.h"

#include <QLatin1StringView>

#include <QList>
#include <QStringView>

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <initializer_list>
#include <vector>

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

enum List : unsigned { Relevance = 1, HighImpact = 2, Shock = 4, MediumImpact = 8, Breaking = 16, Live = 32 };

// Every keyword once, with the lists it belongs to, grouped by its first
// letter: one pass over the text then finds all of them, instead of one
// search per keyword. All keywords start with a lower-case ASCII letter.
class KeywordIndex
{
public:
    KeywordIndex()
    {
        add(relevanceKeywords, Relevance);
        add(highImpactKeywords, HighImpact);
        add(shockKeywords, Shock);
        add(mediumImpactKeywords, MediumImpact);
        add({"breaking"_L1}, Breaking);
        add({"live"_L1}, Live);
        for (qsizetype i = 0; i < m_words.size(); ++i) {
            const int first = m_words[i].front().toLatin1() - 'a';
            m_byFirstLetter[first].push_back(quint8(i));
            m_secondAfter[first].set(uchar(m_words[i][1].toLatin1()));
        }
    }

    // How many keywords of each list occur in `text`, each counted once.
    std::array<int, 6> countPerList(QStringView text) const
    {
        std::bitset<maxWords> found;
        for (qsizetype at = 0; at < text.size(); ++at) {
            const char16_t c = folded(text[at].unicode());
            if (c < u'a' || c > u'z' || at + 1 == text.size())
                continue;
            // Most pairs of letters start no keyword at all.
            const char16_t next = folded(text[at + 1].unicode());
            if (next >= 128 || !m_secondAfter[c - u'a'][next])
                continue;
            for (const quint8 word : m_byFirstLetter[c - u'a']) {
                if (!found[word] && occursAt(text, at, m_words[word]))
                    found.set(word);
            }
        }
        std::array<int, 6> counts{};
        for (qsizetype word = 0; word < m_words.size(); ++word) {
            for (int list = 0; found[word] && list < 6; ++list)
                counts[list] += (m_lists[word] >> list) & 1;
        }
        return counts;
    }

private:
    static constexpr std::size_t maxWords = 128;

    // Lower case for the letters a keyword can hold; everything else is
    // compared as it is (see localScore for the two exceptions).
    static char16_t folded(char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c; }

    // Called once per letter of every headline: a plain loop, without the
    // general string comparison's set-up.
    static bool occursAt(QStringView text, qsizetype at, QLatin1StringView word)
    {
        if (text.size() - at < word.size())
            return false;
        const char16_t *letters = text.utf16() + at;
        for (qsizetype i = 1; i < word.size(); ++i) {
            if (folded(letters[i]) != char16_t(uchar(word[i].toLatin1())))
                return false;
        }
        return true;
    }

    void add(Keywords keywords, List list)
    {
        for (const QLatin1StringView keyword : keywords) {
            const qsizetype known = m_words.indexOf(keyword);
            if (known >= 0) {
                m_lists[known] |= list;
            } else {
                Q_ASSERT(std::size_t(m_words.size()) < maxWords);
                m_lists[m_words.size()] = list;
                m_words.append(keyword);
            }
        }
    }

    QList<QLatin1StringView> m_words;
    std::array<unsigned, maxWords> m_lists{};
    std::array<std::vector<quint8>, 26> m_byFirstLetter;
    std::array<std::bitset<128>, 26> m_secondAfter; // second characters of the keywords, by first letter
};

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
    static const KeywordIndex index;
    // Only two characters outside ASCII turn into ASCII letters when lower-
    // cased (KELVIN SIGN into k, capital I with dot into i and a combining
    // dot); for all others folding A-Z is the same as lower-casing the text,
    // at a fraction of the cost.
    const bool foldingIsEnough = !text.contains(QChar(0x212A)) && !text.contains(QChar(0x0130));
    const std::array<int, 6> counts = index.countPerList(foldingIsEnough ? text : text.toLower());
    double score = baseScore(priority);
    score += std::min(0.25 * counts[0], 2.0);
    score += std::min(1.1 * counts[1], 3.0);
    score += std::min(1.5 * counts[2], 3.0);
    score += std::min(0.35 * counts[3], 1.5);
    if (counts[4] > 0)
        score += 0.6;
    if (counts[5] > 0)
        score += 0.3;
    // std::round rounds halves away from zero, as the scale was defined.
    return std::max(std::min(std::round(score), 10.0), 1.0);
}

} // namespace kalvo
