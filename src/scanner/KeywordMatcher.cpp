#include "KeywordMatcher.h"

#include <queue>

namespace kalvo {

KeywordMatcher::KeywordMatcher(const QStringList &patterns)
{
    for (const QString &pattern : patterns) {
        if (pattern.isEmpty() || m_indexOf.contains(pattern))
            continue;
        m_indexOf.insert(pattern, int(m_patterns.size()));
        m_patterns.append(pattern);
    }
    for (const QString &pattern : std::as_const(m_patterns)) {
        for (QChar c : pattern) {
            Q_ASSERT(c.unicode() < 128);
            if (m_classOf[c.unicode()] == 0)
                m_classOf[c.unicode()] = std::uint8_t(m_classCount++);
        }
    }

    for (char16_t c = u'A'; c <= u'Z'; ++c)
        m_classOf[c] = m_classOf[c - u'A' + u'a'];

    // The trie; -1 marks a missing edge until failure links fill it in.
    std::vector<std::vector<int>> outputsOf(1);
    m_next.assign(size_t(m_classCount), -1);
    for (int index = 0; index < m_patterns.size(); ++index) {
        int state = 0;
        for (QChar c : m_patterns[index]) {
            const int symbolClass = classOf(c.unicode());
            int target = next(state, symbolClass);
            if (target < 0) {
                target = int(outputsOf.size());
                outputsOf.emplace_back();
                m_next.resize(m_next.size() + size_t(m_classCount), -1);
                m_next[size_t(state) * m_classCount + symbolClass] = target;
            }
            state = target;
        }
        outputsOf[size_t(state)].push_back(index);
    }

    // Breadth first: every state inherits the outputs of its failure state,
    // and missing edges jump to where the failure state would go.
    std::vector<int> failure(outputsOf.size(), 0);
    std::queue<int> pending;
    for (int symbolClass = 0; symbolClass < m_classCount; ++symbolClass) {
        int &edge = m_next[size_t(symbolClass)];
        if (edge < 0)
            edge = 0;
        else
            pending.push(edge);
    }
    while (!pending.empty()) {
        const int state = pending.front();
        pending.pop();
        const std::vector<int> &inherited = outputsOf[size_t(failure[size_t(state)])];
        outputsOf[size_t(state)].insert(outputsOf[size_t(state)].end(), inherited.begin(), inherited.end());
        for (int symbolClass = 0; symbolClass < m_classCount; ++symbolClass) {
            int &edge = m_next[size_t(state) * m_classCount + symbolClass];
            const int fallback = next(failure[size_t(state)], symbolClass);
            if (edge < 0) {
                edge = fallback;
            } else {
                failure[size_t(edge)] = fallback;
                pending.push(edge);
            }
        }
    }

    for (const std::vector<int> &outputs : outputsOf) {
        m_outputBegin.push_back(std::int32_t(m_outputs.size()));
        m_outputs.insert(m_outputs.end(), outputs.begin(), outputs.end());
    }
    m_outputBegin.push_back(std::int32_t(m_outputs.size()));

    m_cells.resize(m_next.size());
    for (size_t cell = 0; cell < m_next.size(); ++cell) {
        const int target = m_next[cell];
        const bool completes = m_outputBegin[size_t(target)] != m_outputBegin[size_t(target) + 1];
        m_cells[cell] = std::int32_t(target * m_classCount * 2 + (completes ? 1 : 0));
    }
}

void KeywordMatcher::noteOutputs(int state, qsizetype end, std::vector<qsizetype> &ends) const
{
    for (std::int32_t i = m_outputBegin[size_t(state)]; i < m_outputBegin[size_t(state) + 1]; ++i) {
        qsizetype &first = ends[size_t(m_outputs[size_t(i)])];
        if (first < 0)
            first = end;
    }
}

int KeywordMatcher::indexOf(QStringView pattern) const
{
    return m_indexOf.value(pattern.toString(), -1);
}

std::vector<qsizetype> KeywordMatcher::firstEnds(std::initializer_list<QStringView> pieces) const
{
    std::vector<qsizetype> ends(m_patterns.size(), -1);
    const std::int32_t *cells = m_cells.data();
    std::int32_t cell = 0; // the root, which completes nothing
    qsizetype offset = 0;
    for (QStringView text : pieces) {
        const char16_t *characters = text.utf16();
        for (qsizetype position = 0; position < text.size(); ++position) {
            cell = cells[(cell >> 1) + classOf(characters[position])];
            if (cell & 1)
                noteOutputs((cell >> 1) / m_classCount, offset + position + 1, ends);
        }
        offset += text.size();
    }
    return ends;
}

} // namespace kalvo
