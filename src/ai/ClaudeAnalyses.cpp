// The analyses of ClaudeService: each builds its prompt from the caller's
// data at once, then asks the backend and reads the reply off the GUI thread.

#include "BriefingPrompts.h"
#include "ClaudeService.h"
#include "InstrumentPrompts.h"
#include "NewsPrompts.h"
#include "core/Clock.h"
#include "core/MarketStatus.h"

#include <QCoroFuture>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

namespace kalvo {

QCoro::Task<std::optional<NewsAnalysis>> ClaudeService::analyzeNews(const NewsItem &item)
{
    return scoreHeadline(NewsPrompts::quickScoring(item));
}

QCoro::Task<std::optional<NewsAnalysis>> ClaudeService::scoreHeadline(QString prompt)
{
    const QPointer<ClaudeService> self(this);
    const std::optional<QString> model = co_await ensureWorkingModel();
    if (!self || !model)
        co_return std::nullopt;
    co_await throttle(maxRequestsPerMinute);
    if (!self)
        co_return std::nullopt;
    const ModelReply reply = co_await requestModel(*model, prompt, NewsPrompts::quickTokenLimit);
    if (!reply.isSuccess())
        co_return std::nullopt;
    auto parsing = QtConcurrent::run(&NewsPrompts::parseAnalysis, reply.text());
    const std::optional<NewsAnalysis> analysis = co_await parsing;
    co_return analysis;
}

QCoro::Task<std::optional<NewsAnalysis>> ClaudeService::analyzeNewsDetail(const NewsItem &item)
{
    return analyseInDepth(NewsPrompts::deepAnalysis(item));
}

QCoro::Task<std::optional<NewsAnalysis>> ClaudeService::analyseInDepth(QString prompt)
{
    const QPointer<ClaudeService> self(this);
    co_await throttle(maxRequestsPerMinute);
    if (!self)
        co_return std::nullopt;
    // The first model that answers decides, even when its answer is unusable:
    // asking a weaker model about the same headline rarely does better.
    for (const QString &model : detailModels()) {
        const ModelReply reply = co_await requestModel(model, prompt, NewsPrompts::deepTokenLimit);
        if (!self)
            co_return std::nullopt;
        if (!reply.isSuccess())
            continue;
        auto parsing = QtConcurrent::run(&NewsPrompts::parseAnalysis, reply.text());
        const std::optional<NewsAnalysis> analysis = co_await parsing;
        co_return analysis;
    }
    co_return std::nullopt;
}

QCoro::Task<std::optional<LiveBriefing>> ClaudeService::generateLiveBriefing(const QList<NewsItem> &news,
                                                                            const QList<CalendarEvent> &calendar)
{
    return writeBriefing(news, calendar);
}

QCoro::Task<std::optional<LiveBriefing>> ClaudeService::writeBriefing(QList<NewsItem> news,
                                                                     QList<CalendarEvent> events)
{
    const QPointer<ClaudeService> self(this);
    const std::optional<QString> model = co_await ensureWorkingModel();
    if (!self || !model)
        co_return std::nullopt;

    // Taken after the probe, which may have taken a while.
    const MarketStatus status = MarketStatus::status(m_clock.now());
    if (!status.isOpen) {
        const QString prompt = BriefingPrompts::weekendBriefing(news, events);
        const std::optional<LiveBriefing> briefing =
            co_await requestBriefing(*model, prompt, BriefingPrompts::weekendTitle());
        if (!briefing)
            co_return BriefingPrompts::weekendFallbackBriefing(status.detail);
        co_return briefing;
    }
    if (news.isEmpty())
        co_return BriefingPrompts::noNewsBriefing();
    const QString prompt = BriefingPrompts::openMarketBriefing(status, news, events);
    const std::optional<LiveBriefing> briefing =
        co_await requestBriefing(*model, prompt, BriefingPrompts::openMarketTitle());
    co_return briefing;
}

QCoro::Task<std::optional<LiveBriefing>> ClaudeService::requestBriefing(QString model, QString prompt,
                                                                       QString defaultTitle)
{
    const QPointer<ClaudeService> self(this);
    co_await throttle(maxRequestsPerMinute);
    if (!self)
        co_return std::nullopt;
    const ModelReply reply = co_await requestModel(model, prompt, BriefingPrompts::briefingTokenLimit);
    if (!reply.isSuccess())
        co_return std::nullopt;
    auto parsing = QtConcurrent::run(&BriefingPrompts::parseLiveBriefing, reply.text(), defaultTitle);
    const std::optional<LiveBriefing> briefing = co_await parsing;
    co_return briefing;
}

QCoro::Task<std::optional<MarketOverview>> ClaudeService::generateMarketOverview(const QList<NewsItem> &news,
                                                                                const QStringList &pairs)
{
    return writeOverview(BriefingPrompts::marketOverview(news, pairs));
}

QCoro::Task<std::optional<MarketOverview>> ClaudeService::writeOverview(QString prompt)
{
    const QPointer<ClaudeService> self(this);
    const std::optional<QString> model = co_await ensureWorkingModel();
    if (!self || !model)
        co_return std::nullopt;
    co_await throttle(maxRequestsPerMinute);
    if (!self)
        co_return std::nullopt;
    const ModelReply reply = co_await requestModel(*model, prompt, BriefingPrompts::overviewTokenLimit);
    if (!reply.isSuccess())
        co_return std::nullopt;
    auto parsing = QtConcurrent::run(&BriefingPrompts::parseMarketOverview, reply.text());
    const std::optional<MarketOverview> overview = co_await parsing;
    co_return overview;
}

QCoro::Task<std::optional<InstrumentAnalysis>> ClaudeService::analyzeInstrument(const QString &pair,
                                                                               const QList<NewsItem> &news,
                                                                               const QList<CalendarEvent> &calendar,
                                                                               double price, double changePct)
{
    return judgeInstrument(InstrumentPrompts::instrumentAnalysis(pair, news, calendar, price, changePct));
}

QCoro::Task<std::optional<InstrumentAnalysis>> ClaudeService::judgeInstrument(QString prompt)
{
    const QPointer<ClaudeService> self(this);
    co_await throttle(maxRequestsPerMinute);
    if (!self)
        co_return std::nullopt;
    // Unlike the headline analysis, a reply without JSON moves on to the next
    // model: a verdict is worth the extra requests.
    for (const QString &model : detailModels()) {
        const ModelReply reply = co_await requestModel(model, prompt, InstrumentPrompts::tokenLimit);
        if (!self)
            co_return std::nullopt;
        if (!reply.isSuccess())
            continue;
        auto parsing = QtConcurrent::run(&InstrumentPrompts::parseInstrumentAnalysis, reply.text());
        const std::optional<InstrumentAnalysis> analysis = co_await parsing;
        if (analysis)
            co_return analysis;
    }
    co_return std::nullopt;
}

} // namespace kalvo
