#pragma once

#include "NewsFeeds.h"

#include <QDateTime>
#include <QObject>
#include <QTimer>

#include <functional>

namespace kalvo::sim {

// Tells, headline by headline, when the simulator's clock passes a
// publication time: from then on the headline's feed lists it. A whole-process
// benchmark reads these lines to see how long the app takes to show news.
class PublicationLog : public QObject
{
    Q_OBJECT
public:
    using Tell = std::function<void(const FeedHeadline &headline)>;

    // Headlines published up to `now()` at construction count as told.
    PublicationLog(const NewsFeeds &feeds, std::function<QDateTime()> now, Tell tell, QObject *parent = nullptr);

    // Wakes at each publication time; needs a running event loop and a clock
    // that moves with real time.
    void start();

    // Tells every headline published since the last call, oldest first.
    void catchUp();

    // "published <ISO 8601 UTC with milliseconds> <link>", without a line end.
    static QByteArray line(const FeedHeadline &headline);

private:
    void wake();

    const NewsFeeds &m_feeds;
    std::function<QDateTime()> m_now;
    Tell m_tell;
    QDateTime m_untold; // the first instant whose headlines are not told yet
    QTimer m_timer;
};

} // namespace kalvo::sim
