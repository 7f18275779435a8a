#pragma once

#include "AIBackendError.h"
#include "AiRecords.h"
#include "RequestWindow.h"
#include "core/MarketRecords.h"
#include "core/NewsItem.h"

#include <QCoroTask>
#include <QObject>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <optional>

class QNetworkAccessManager;

namespace kalvo {

class Clock;

// The one client of the AI backend: model requests under a shared sliding
// rate limit of 40 per minute, the probe for a model that answers, speech,
// and the analyses built on them (headline scoring and deep analysis, market
// overview, spoken briefing, instrument verdict).
//
// Lives on the GUI thread. Operations are coroutines that may interleave at
// their awaits; none of them fails loudly: a missing token, an unreachable
// backend or an unusable reply all end in an absent result (or one of the
// fixed briefings), and only speech writes "[TTS] " lines to standard output.
// The public operations copy what they need before their first await, so
// callers may pass temporaries.
class ClaudeService : public QObject
{
    Q_OBJECT
public:
    // Probe order for a model that answers.
    static const QStringList &fallbackModels();
    // The strongest models first, for the deep and the instrument analyses:
    // two preferred ones followed by fallbackModels(), without repeats.
    static const QStringList &detailModels();

    static constexpr int maxRequestsPerMinute = 40;

    // `backendBase` is the address whose path is /_functions; the endpoint
    // paths are appended to it. `clock` must outlive the service.
    ClaudeService(QUrl backendBase, Clock &clock, QObject *parent = nullptr);
    ~ClaudeService() override;

    // The model that answered the last successful probe; never cleared.
    std::optional<QString> workingModel() const { return m_workingModel; }
    // Start times of the model requests of the last minute, oldest first.
    const QList<QDateTime> &requestTimes() const { return m_requestWindow.times(); }

    // Give-up times for a request during which nothing arrives.
    std::chrono::milliseconds modelTimeout() const { return m_modelTimeout; }
    void setModelTimeout(std::chrono::milliseconds timeout) { m_modelTimeout = timeout; }
    std::chrono::milliseconds speechTimeout() const { return m_speechTimeout; }
    void setSpeechTimeout(std::chrono::milliseconds timeout) { m_speechTimeout = timeout; }

    // One request to the model endpoint. Applies no rate limit: callers
    // throttle first.
    QCoro::Task<ModelReply> callModel(const QString &model, const QString &prompt, int maxTokens);
    // Waits until one more request fits into the sliding minute, then books
    // it. Waiting calls do not re-check after their sleep, so the limit is soft.
    QCoro::Task<> throttle(int maxPerMinute);
    // The first of fallbackModels() that answers "ping", remembered as the
    // working model; empty when none answers.
    QCoro::Task<QString> findWorkingModel();
    // MP3 audio of the first 4096 characters of `text`.
    QCoro::Task<std::optional<QByteArray>> synthesizeSpeech(const QString &text);

    // Quick scoring of a new headline with the working model.
    QCoro::Task<std::optional<NewsAnalysis>> analyzeNews(const NewsItem &item);
    // Deep analysis of one headline with the strongest model that answers.
    QCoro::Task<std::optional<NewsAnalysis>> analyzeNewsDetail(const NewsItem &item);
    // A spoken report of about a minute; on weekends a review and outlook,
    // or a fixed text when the model fails.
    QCoro::Task<std::optional<LiveBriefing>> generateLiveBriefing(const QList<NewsItem> &news,
                                                                   const QList<CalendarEvent> &calendar);
    QCoro::Task<std::optional<MarketOverview>> generateMarketOverview(const QList<NewsItem> &news,
                                                                       const QStringList &pairs);
    // A trading verdict on `pair` from the strongest model that answers with JSON.
    QCoro::Task<std::optional<InstrumentAnalysis>> analyzeInstrument(const QString &pair, const QList<NewsItem> &news,
                                                                      const QList<CalendarEvent> &calendar,
                                                                      double price, double changePct);

private:
    // The coroutines behind the operations take only Qt's implicitly shared
    // values and scalars as parameters.
    QCoro::Task<ModelReply> requestModel(QString model, QString prompt, int maxTokens);
    QCoro::Task<std::optional<QByteArray>> speak(QString text);
    QCoro::Task<std::optional<QString>> ensureWorkingModel();
    QCoro::Task<std::optional<NewsAnalysis>> scoreHeadline(QString prompt);
    QCoro::Task<std::optional<NewsAnalysis>> analyseInDepth(QString prompt);
    QCoro::Task<std::optional<LiveBriefing>> writeBriefing(QList<NewsItem> news, QList<CalendarEvent> events);
    QCoro::Task<std::optional<LiveBriefing>> requestBriefing(QString model, QString prompt, QString defaultTitle);
    QCoro::Task<std::optional<MarketOverview>> writeOverview(QString prompt);
    QCoro::Task<std::optional<InstrumentAnalysis>> judgeInstrument(QString prompt);

    QUrl endpoint(const QString &path) const;

    QUrl m_backendBase;
    Clock &m_clock;
    QNetworkAccessManager *m_network;
    std::optional<QString> m_workingModel;
    RequestWindow m_requestWindow;
    std::chrono::milliseconds m_modelTimeout{35'000};
    std::chrono::milliseconds m_speechTimeout{90'000};
};

} // namespace kalvo
