#pragma once

#include "LoopbackServer.h"
#include "MarketSimulator.h"

#include <QString>
#include <QStringList>

namespace kalvo::sim {

// The 22 news feeds under the publishers' own paths (the four Google News
// searches share one path and differ by their "q"). Headlines come from one
// deterministic stream for the seed: slot k of the stream is published at
// k × (60 / newsPerMinute) seconds since the Unix epoch and belongs to one
// feed, so every feed grows while the simulator's clock runs and two
// simulators with the same seed and time serve the same bytes. Each feed
// keeps the shape of its real counterpart: RSS 2.0, Atom or RSS 1.0/RDF,
// its own date style, escaped HTML, CDATA or content:encoded bodies.
class NewsFeeds
{
public:
    explicit NewsFeeds(const SimulatorOptions &options);

    void install(LoopbackServer &server);

    // Lists at most `count` items per feed; 0 gives each feed its own usual
    // size (15 to 100).
    void setItemsPerFeed(int count) { m_itemsPerFeed = count; }

    // What the feed at `path` with the encoded `query` serves at the
    // simulator's present time: a document, or 404 for an unknown search.
    HttpReply reply(const QString &path, const QString &query) const;

    // Path and query of every feed, in the application's feed order.
    static QStringList targets();

private:
    HttpReply document(int feed) const;

    const SimulatorOptions &m_options;
    int m_itemsPerFeed = 0;
};

} // namespace kalvo::sim
