#include "ClaudeService.h"

#include "BackendHttp.h"
#include "BackendToken.h"
#include "TextCut.h"
#include "core/Clock.h"

#include <QCoroFuture>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

constexpr int probeTokenLimit = 10;
constexpr qsizetype speechCharacterLimit = 4096;

QStringList withoutRepeats(const QStringList &models)
{
    QStringList unique;
    for (const QString &model : models) {
        if (!unique.contains(model))
            unique.append(model);
    }
    return unique;
}

bool isUsableAddress(const QUrl &url)
{
    return url.isValid() && (url.scheme() == "http"_L1 || url.scheme() == "https"_L1) && !url.host().isEmpty();
}

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

// One line on standard output, flushed at once so that it is not lost or
// interleaved when the process ends.
void writeLogLine(const QString &line)
{
    std::fputs((line + u'\n').toUtf8().constData(), stdout);
    std::fflush(stdout);
}

QFuture<std::optional<QString>> lookUpToken()
{
    return QtConcurrent::run(&BackendToken::read);
}

} // namespace

const QStringList &ClaudeService::fallbackModels()
{
    static const QStringList models{u"claude-sonnet-4-5"_s, u"claude-opus-4-5"_s, u"claude-3-5-haiku-20241022"_s,
                                    u"claude-3-5-sonnet-20241022"_s, u"claude-3-haiku-20240307"_s};
    return models;
}

const QStringList &ClaudeService::detailModels()
{
    static const QStringList models =
        withoutRepeats(QStringList{u"claude-opus-4-5"_s, u"claude-sonnet-4-5"_s} + fallbackModels());
    return models;
}

ClaudeService::ClaudeService(QUrl backendBase, Clock &clock, QObject *parent)
    : QObject(parent), m_backendBase(std::move(backendBase)), m_clock(clock),
      m_network(new QNetworkAccessManager(this))
{
}

ClaudeService::~ClaudeService()
{
    // Replies deleted along with the access manager would never report
    // finished, leaving their callers suspended for good. Aborting ends them
    // as cancelled now; nothing after a request's await touches the service
    // without checking that it still exists.
    const auto pending = m_network->findChildren<QNetworkReply *>();
    for (QNetworkReply *reply : pending)
        reply->abort();
}

QUrl ClaudeService::endpoint(const QString &path) const
{
    if (!isUsableAddress(m_backendBase))
        return {};
    QUrl url = m_backendBase;
    QString basePath = url.path();
    if (basePath.endsWith(u'/'))
        basePath.chop(1);
    url.setPath(basePath + path);
    return url;
}

QCoro::Task<ModelReply> ClaudeService::callModel(const QString &model, const QString &prompt, int maxTokens)
{
    return requestModel(model, prompt, maxTokens);
}

QCoro::Task<ModelReply> ClaudeService::requestModel(QString model, QString prompt, int maxTokens)
{
    const QPointer<ClaudeService> self(this);
    auto tokenLookup = lookUpToken();
    const std::optional<QString> token = co_await tokenLookup;
    if (!self)
        co_return ModelReply::failure({AIBackendError::Kind::Transport, QNetworkReply::OperationCanceledError, {}});
    if (!token)
        co_return ModelReply::failure(AIBackendError::Kind::UserAuthenticationRequired);
    const QUrl url = endpoint(u"/aiClaude"_s);
    if (url.isEmpty())
        co_return ModelReply::failure(AIBackendError::Kind::UserAuthenticationRequired);

    const QByteArray body = compact(
        {{"token"_L1, *token}, {"model"_L1, model}, {"maxTokens"_L1, maxTokens}, {"prompt"_L1, prompt}});
    const HttpOutcome outcome = co_await postJson(m_network, url, body, m_modelTimeout);
    auto decoding = QtConcurrent::run(&decodeModelReply, outcome);
    const ModelReply reply = co_await decoding;
    co_return reply;
}

QCoro::Task<> ClaudeService::throttle(int maxPerMinute)
{
    const QPointer<ClaudeService> self(this);
    Clock &clock = m_clock;
    const Clock::Duration wait = m_requestWindow.waitBeforeNext(clock.now(), maxPerMinute);
    if (wait > Clock::Duration::zero()) {
        // An interrupted sleep counts as done: the request goes ahead.
        const bool slept = co_await clock.sleep(wait);
        Q_UNUSED(slept);
        if (!self)
            co_return;
    }
    m_requestWindow.record(clock.now());
}

QCoro::Task<QString> ClaudeService::findWorkingModel()
{
    const QPointer<ClaudeService> self(this);
    for (const QString &model : fallbackModels()) {
        const ModelReply reply = co_await requestModel(model, u"ping"_s, probeTokenLimit);
        if (!self)
            co_return QString();
        if (reply.isSuccess()) {
            m_workingModel = model;
            co_return model;
        }
    }
    co_return QString();
}

QCoro::Task<std::optional<QString>> ClaudeService::ensureWorkingModel()
{
    // co_return of a member would move out of it (QCoro takes any lvalue by
    // forwarding reference and moves); hand out copies.
    if (m_workingModel)
        co_return std::optional<QString>(m_workingModel);
    const QPointer<ClaudeService> self(this);
    const QString found = co_await findWorkingModel();
    if (!self || found.isEmpty())
        co_return std::nullopt;
    co_return std::optional<QString>(m_workingModel);
}

QCoro::Task<std::optional<QByteArray>> ClaudeService::synthesizeSpeech(const QString &text)
{
    return speak(text);
}

QCoro::Task<std::optional<QByteArray>> ClaudeService::speak(QString text)
{
    const QPointer<ClaudeService> self(this);
    auto tokenLookup = lookUpToken();
    const std::optional<QString> token = co_await tokenLookup;
    if (!self)
        co_return std::nullopt;
    if (!token) {
        writeLogLine(u"[TTS] Kein App-Token verfügbar"_s);
        co_return std::nullopt;
    }
    const QUrl url = endpoint(u"/aiTTS"_s);
    if (url.isEmpty())
        co_return std::nullopt;

    const QByteArray body = compact({{"token"_L1, *token},
                                     {"model"_L1, u"tts-1"_s},
                                     {"voice"_L1, u"alloy"_s},
                                     {"text"_L1, leadingCharacters(text, speechCharacterLimit)}});
    const HttpOutcome outcome = co_await postJson(m_network, url, body, m_speechTimeout);
    auto decoding = QtConcurrent::run(&decodeSpeechReply, outcome, *token);
    const SpeechReply reply = co_await decoding;
    writeLogLine(reply.logLine);
    co_return reply.audio;
}

} // namespace kalvo
