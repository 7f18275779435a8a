#pragma once

#include <QList>
#include <QString>

#include <optional>

namespace kalvo {

// One polled news feed. The address comes from Endpoints under `endpointKey`.
struct NewsFeed
{
    QString name;  // becomes the source of every item of the feed
    int priority;  // 1 (most important) to 3
    QString endpointKey;
};

// The 22 feeds, in the order they are polled and reported.
const QList<NewsFeed> &newsFeeds();

// Minimum seconds between two fetches of a feed of `priority`; none for a
// priority the table does not know (the caller then uses the configuration).
std::optional<int> refreshIntervalSeconds(int priority);

} // namespace kalvo
