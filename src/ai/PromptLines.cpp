#include "PromptLines.h"

#include <QStringList>

#include <cmath>

using namespace Qt::StringLiterals;

namespace kalvo::PromptLines {

namespace {

QString headlineOrTitle(const NewsItem &item)
{
    return item.analysis ? item.analysis->headline : item.title;
}

// Scores come from feeds and models; a value that is no number must not
// reach an integer conversion.
qint64 wholeScore(double score)
{
    if (!std::isfinite(score))
        return 0;
    constexpr double bound = 1e15;
    return qint64(std::trunc(std::clamp(score, -bound, bound)));
}

template<typename Item, typename Line>
QString joined(const QList<Item> &items, qsizetype limit, Line line)
{
    QStringList lines;
    for (qsizetype i = 0; i < std::min(limit, items.size()); ++i)
        lines.append(line(items.at(i)));
    return lines.join(u'\n');
}

} // namespace

QString scoredNews(const NewsItem &item)
{
    return "- ["_L1 + QString::number(wholeScore(item.score)) + "/10] "_L1 + headlineOrTitle(item) + " ("_L1
           + item.source + u')';
}

QString plainNews(const NewsItem &item)
{
    return "- "_L1 + headlineOrTitle(item) + " ("_L1 + item.source + u')';
}

QString event(const CalendarEvent &event)
{
    return "- "_L1 + event.timeDisplay + u' ' + event.currency + u' ' + CalendarEvent::impactText(event.impact)
           + u' ' + event.event;
}

QString scoredNews(const QList<NewsItem> &news, qsizetype limit)
{
    return joined(news, limit, [](const NewsItem &item) { return scoredNews(item); });
}

QString plainNews(const QList<NewsItem> &news, qsizetype limit)
{
    return joined(news, limit, [](const NewsItem &item) { return plainNews(item); });
}

QString events(const QList<CalendarEvent> &events, qsizetype limit)
{
    return joined(events, limit, [](const CalendarEvent &entry) { return event(entry); });
}

} // namespace kalvo::PromptLines
