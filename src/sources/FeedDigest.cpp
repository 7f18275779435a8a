#include "FeedDigest.h"

#include "NewsScore.h"
#include "RSSParser.h"

#include <QCryptographicHash>
#include <QTextBoundaryFinder>

namespace kalvo {

namespace {

constexpr qsizetype contentLimit = 2000;

bool tooOld(const std::optional<QDateTime> &published, const DigestRules &rules)
{
    // Undated and future-dated entries pass.
    return published && published->msecsTo(rules.now) > rules.maxAgeHours * 3600 * 1000;
}

} // namespace

QString newsHash(const QString &title, const QString &link)
{
    return QString::fromLatin1(QCryptographicHash::hash((title + link).toUtf8(), QCryptographicHash::Md5).toHex());
}

QString contentExcerpt(const QString &description)
{
    // A text of at most that many UTF-16 units cannot hold more characters.
    if (description.size() <= contentLimit)
        return description;
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, description);
    qsizetype end = 0;
    for (qsizetype count = 0; count < contentLimit; ++count) {
        end = graphemes.toNextBoundary();
        if (end < 0)
            return description;
    }
    return description.first(end);
}

FeedDigest digestFeed(const QByteArray &body, const DigestRules &rules, const QSet<QString> &known)
{
    const QList<RSSEntry> entries = RSSParser::parse(body);
    FeedDigest digest;
    digest.hasEntries = !entries.isEmpty();
    for (const RSSEntry &entry : entries) {
        QString title = entry.title.trimmed();
        if (title.isEmpty() || tooOld(entry.published, rules))
            continue;
        QString hash = newsHash(title, entry.link);
        if (known.contains(hash))
            continue;
        const QString description = RSSParser::clean(entry.descriptionMarkup);
        const double score = localScore(title + u' ' + description, rules.priority);
        digest.candidates.append({std::move(title), entry.link, contentExcerpt(description), entry.published,
                                  std::move(hash), score});
    }
    return digest;
}

} // namespace kalvo
