#pragma once

#include <QHash>
#include <QStringList>
#include <QStringView>

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace kalvo {

// Finds many lower-case ASCII keywords in a text in one pass (an Aho-Corasick
// automaton). Plain substring semantics: no word boundaries, overlapping
// matches count; ASCII capitals match as their lower-case letters, every
// other character only as itself. The scanner asks a few dozen keywords of every headline on
// every scan; one pass per headline keeps that far below a millisecond.
class KeywordMatcher
{
public:
    explicit KeywordMatcher(const QStringList &patterns);

    // Index of `pattern` among the (de-duplicated) patterns, -1 if unknown.
    int indexOf(QStringView pattern) const;
    int patternCount() const { return int(m_patterns.size()); }

    // Per pattern index, where its first occurrence in `text` ends (one past
    // its last character, in UTF-16 units), or -1 when it does not occur.
    // A text given in pieces is matched as if they were joined.
    std::vector<qsizetype> firstEnds(std::initializer_list<QStringView> pieces) const;
    std::vector<qsizetype> firstEnds(QStringView text) const { return firstEnds({text}); }

private:
    int classOf(char16_t c) const { return c < 128 ? m_classOf[c] : 0; }
    int next(int state, int symbolClass) const { return m_next[size_t(state) * m_classCount + symbolClass]; }
    void noteOutputs(int state, qsizetype end, std::vector<qsizetype> &ends) const;

    QStringList m_patterns;
    QHash<QString, int> m_indexOf;
    std::uint8_t m_classOf[128] = {};
    int m_classCount = 1; // class 0: every character no pattern contains
    std::vector<std::int32_t> m_next;        // state x class -> state (while building)
    // The same table for the scan loop: each cell holds the target's row
    // offset times two, plus one when the target completes a pattern.
    std::vector<std::int32_t> m_cells;
    std::vector<std::int32_t> m_outputBegin; // per state, into m_outputs
    std::vector<std::int32_t> m_outputs;     // pattern indices, grouped by state
};

} // namespace kalvo
