#include "PublicationLog.h"

using namespace Qt::StringLiterals;

namespace kalvo::sim {

PublicationLog::PublicationLog(const NewsFeeds &feeds, std::function<QDateTime()> now, Tell tell, QObject *parent)
    : QObject(parent), m_feeds(feeds), m_now(std::move(now)), m_tell(std::move(tell))
{
    m_untold = m_now().toUTC().addMSecs(1);
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &PublicationLog::wake);
}

void PublicationLog::start()
{
    wake();
}

void PublicationLog::catchUp()
{
    const QDateTime until = m_now().toUTC().addMSecs(1);
    if (!(m_untold < until))
        return;
    for (const FeedHeadline &headline : m_feeds.headlines(m_untold, until))
        m_tell(headline);
    m_untold = until;
}

void PublicationLog::wake()
{
    catchUp();
    const QDateTime now = m_now().toUTC();
    // A timer may fire a little early; then the headline is told on the next wake.
    m_timer.start(std::max<qint64>(1, now.msecsTo(m_feeds.nextPublication(now))));
}

QByteArray PublicationLog::line(const FeedHeadline &headline)
{
    return "published " + headline.published.toUTC().toString(Qt::ISODateWithMs).toLatin1() + ' '
           + headline.link.toUtf8();
}

} // namespace kalvo::sim
