#pragma once

#include "MarketEvents.h"
#include "SeededRandom.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace kalvo::sim {

class PriceQuotes;

// What a feed writes about.
enum class Topic {
    CentralBanks, Fed, Ecb, Data, Pairs, EurUsd, Commodities, RiskMood, Shocks,
    Economy, Markets, FedReleases, FedSpeeches, BojReleases, Technicals,
};

struct Story
{
    Story() = default;
    Story(QString title, QString summary, QStringList motifs = {})
        : title(std::move(title)), summary(std::move(summary)), motifs(std::move(motifs))
    {
    }

    QString title;
    QString summary;
    // What makes it read like another story when they stand close together:
    // its template with its subject, the quote and the reason it gives.
    QStringList motifs;
};

// What a story may look at: the simulator's own prices and calendar, so
// that a headline names the level the price panel shows, moves the way the
// chart moved and previews the release the calendar lists.
struct StoryContext
{
    const PriceQuotes &prices;
    QList<MarketEvent> recent;          // released in the last hours, newest last
    std::optional<MarketEvent> next;    // the next high-impact release
};

// An English headline and its teaser on `topic`, drawn from `rng`, as
// published at `published`. Levels, directions and the reasons given agree
// with the prices at that moment.
Story storyAbout(Topic topic, Rng &rng, const QDateTime &published, const StoryContext &context);

// The report of a release right after it (`reaction` false), or of the
// market's move a few minutes later; `variant` picks one of several ways to
// write it.
Story storyOfRelease(const MarketEvent &event, bool reaction, int variant, const QDateTime &published,
                     const StoryContext &context);

} // namespace kalvo::sim
