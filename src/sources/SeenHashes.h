#pragma once

#include <QSet>
#include <QString>

namespace kalvo {

// The news de-duplication keys the service already knows, stored or turned
// away. Bounded: when an insert takes it past `limit`, it keeps
// `keptAfterPruning` members in the set's own order; which ones survive does
// not matter, since the database catches what memory forgot.
class SeenHashes
{
public:
    static constexpr qsizetype limit = 5000;
    static constexpr qsizetype keptAfterPruning = 4000;

    bool contains(const QString &hash) const { return m_hashes.contains(hash); }
    void insert(const QString &hash);
    qsizetype size() const { return m_hashes.size(); }

    // Implicitly shared: a copy handed to a worker thread costs nothing until
    // the next insert.
    const QSet<QString> &members() const { return m_hashes; }

private:
    QSet<QString> m_hashes;
};

} // namespace kalvo
