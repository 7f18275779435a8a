#pragma once

#include "LoopbackServer.h"
#include "MarketSimulator.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QStringList>

#include <memory>

namespace kalvo::sim {

class HeadlineSlots;

// One headline of the stream as a feed lists it.
struct FeedHeadline
{
    QDateTime published;
    QString feed;     // the feed's target, as targets() names it
    QString title;    // as the feed lists it (the Google searches append the outlet)
    QString headline; // the title without the outlet
    QString summary;
    QString link;
};

// The 22 news feeds under the publishers' own paths (the four Google News
// searches share one path and differ by their "q"). Headlines come from one
// deterministic stream for the seed: slot k of the stream is published at
// k × (60 / newsPerMinute) seconds since the Unix epoch and belongs to one
// feed, so every feed grows while the simulator's clock runs and two
// simulators with the same seed and time serve the same bytes. Each feed
// keeps the shape of its real counterpart: RSS 2.0, Atom or RSS 1.0/RDF,
// its own date style, escaped HTML, CDATA or content:encoded bodies.
//
// The stories follow the simulated market: levels and moves are the price
// walk's at the moment of publication, previews name the next release of
// the simulated calendar, and every release gets its report within a minute
// (a high-impact one also the market's reaction a few minutes later).
// Titles do not repeat within an hour at the simulator's usual rates (the
// guard spans 720 headlines: an hour at twelve a minute).
//
// A feed lists a headline from its publication time on. Like the publishers'
// servers, every answer carries an ETag and a Last-Modified (the newest
// listed headline's time); a request whose validators still hold gets 304
// without a body, and a client that accepts gzip gets the document packed.
// A document depends only on the feed's newest listed headline, so the
// validators are known without writing it.
class NewsFeeds
{
public:
    explicit NewsFeeds(const SimulatorOptions &options);
    ~NewsFeeds();

    void install(LoopbackServer &server);

    // Lists at most `count` items per feed; 0 gives each feed its own usual
    // size (15 to 100).
    void setItemsPerFeed(int count) { m_itemsPerFeed = count; }
    // Pads every description a publisher writes itself (not the Google
    // searches' snippets) with filler sentences, in which no keyword of the
    // app's score occurs, to about `words` words; 0 leaves them as written.
    void setDescriptionWords(int words) { m_descriptionWords = words; }

    // What the feed at `path` with the encoded `query` serves at the
    // simulator's present time: a document, 304 when the request's
    // validators (`headers` with lower-case names) match it, or 404 for an
    // unknown search.
    HttpReply reply(const QString &path, const QString &query, const QMap<QByteArray, QByteArray> &headers = {}) const;

    // Every headline of the stream with `from` <= published < `to`, oldest
    // first, whatever the feeds' sizes.
    QList<FeedHeadline> headlines(const QDateTime &from, const QDateTime &to) const;

    // When the first headline after `after` comes out.
    QDateTime nextPublication(const QDateTime &after) const;

    // Path and query of every feed, in the application's feed order.
    static QStringList targets();

private:
    HttpReply answer(int feed, const QMap<QByteArray, QByteArray> &headers) const;

    // The last document of each feed with its ETag: a feed that has not
    // changed is served again without rendering, as a publisher's cache does.
    struct Rendered
    {
        QByteArray etag;
        HttpReply reply;
    };
    mutable QMutex m_renderedMutex;
    mutable QHash<int, Rendered> m_rendered;

    const SimulatorOptions &m_options;
    std::unique_ptr<HeadlineSlots> m_slots;
    int m_itemsPerFeed = 0;
    int m_descriptionWords = 0;
};

} // namespace kalvo::sim
