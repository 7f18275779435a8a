#include "AccessTokens.h"

#include <QCryptographicHash>

namespace kalvo::backend {

namespace {

QByteArray digest(const QString &token)
{
    return QCryptographicHash::hash(token.toUtf8(), QCryptographicHash::Sha256);
}

// Same length by construction (two SHA-256 digests); no early exit.
bool sameDigest(const QByteArray &a, const QByteArray &b)
{
    unsigned char difference = 0;
    for (qsizetype i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

} // namespace

AccessTokens::AccessTokens(const QStringList &tokens)
{
    for (const QString &token : tokens) {
        if (!token.isEmpty())
            m_digests << digest(token);
    }
}

std::optional<int> AccessTokens::match(const QString &candidate) const
{
    const QByteArray candidateDigest = digest(candidate);
    std::optional<int> found;
    for (int i = 0; i < m_digests.size(); ++i) {
        if (sameDigest(m_digests[i], candidateDigest) && !found)
            found = i;
    }
    return found;
}

} // namespace kalvo::backend
