#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QSet>
#include <QString>

#include <optional>

namespace kalvo {

// A feed entry that passed every check that needs neither the database nor
// the news service's state. Still to be checked against both.
struct NewsCandidate
{
    QString title;   // trimmed, never empty
    QString link;
    QString content; // the description, shortened for storage
    std::optional<QDateTime> published;
    QString hash;
    double score = 0; // from the full description
};

struct FeedDigest
{
    bool hasEntries = false; // the body held at least one entry with a title
    QList<NewsCandidate> candidates; // in document order
};

struct DigestRules
{
    QDateTime now;
    qint64 maxAgeHours = 24;
    int priority = 2;
};

// Parses one feed body and turns its entries into candidates: drops entries
// without a title, older than the age limit or whose hash is in `known`, and
// cleans the descriptions of the rest and scores them. Most entries of a feed
// polled again are known, so they cost a parse and a hash, no cleaning. Pure
// and thread-safe; the news service runs it off the GUI thread.
FeedDigest digestFeed(const QByteArray &body, const DigestRules &rules, const QSet<QString> &known);

// The de-duplication key of a headline: MD5 of the UTF-8 title immediately
// followed by the link, as 32 lower-case hex digits.
QString newsHash(const QString &title, const QString &link);

// The first 2000 user-perceived characters of `description`; never splits a
// surrogate pair or a base letter from its accents.
QString contentExcerpt(const QString &description);

} // namespace kalvo
