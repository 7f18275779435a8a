#pragma once

#include <QByteArray>
#include <QList>
#include <QStringList>

#include <optional>

namespace kalvo::backend {

// The access tokens a backend accepts. Only SHA-256 digests are kept, and a
// candidate is compared with every one of them in full, so neither the time
// of a check nor an early exit tells a caller how much of a guess was right.
// Immutable after construction: safe to use from any thread.
class AccessTokens
{
public:
    explicit AccessTokens(const QStringList &tokens);

    bool isEmpty() const { return m_digests.isEmpty(); }

    // The position of the matching token, or nothing.
    std::optional<int> match(const QString &candidate) const;

private:
    QList<QByteArray> m_digests;
};

} // namespace kalvo::backend
