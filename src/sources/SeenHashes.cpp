#include "SeenHashes.h"

namespace kalvo {

void SeenHashes::insert(const QString &hash)
{
    m_hashes.insert(hash);
    if (m_hashes.size() <= limit)
        return;
    QSet<QString> kept;
    kept.reserve(keptAfterPruning);
    for (auto it = m_hashes.cbegin(); kept.size() < keptAfterPruning; ++it)
        kept.insert(*it);
    m_hashes = std::move(kept);
}

} // namespace kalvo
