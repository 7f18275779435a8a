#include "SettingsDraft.h"

#include "ai/BackendToken.h"
#include "app/AppStateBinding.h"
#include "audio/AlertSound.h"
#include "core/Clock.h"
#include "core/Endpoints.h"
#include "core/SerialWorker.h"
#include "update/AppVersion.h"

#include <QCoroFuture>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

bool isBlank(QChar c)
{
    return c == u'\t' || c.category() == QChar::Separator_Space;
}

QString trimBlanks(const QString &text)
{
    qsizetype begin = 0, end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return text.mid(begin, end - begin);
}

// One thread for the settings files, shared by every sheet the app ever
// opens: two quick saves reach the disk in the order they were made, and a
// read waits for the write before it. It waits for its last job when the
// process ends.
SerialWorker &settingsWriter()
{
    static SerialWorker writer;
    return writer;
}

void logFailure(const char *what, const std::optional<QString> &error)
{
    // The messages name files and system errors, never a key or a token.
    std::fprintf(stdout, "[Settings] ✗ %s: %s\n", what, error->toUtf8().constData());
    std::fflush(stdout);
}

// The files of one save. A failure is logged and otherwise ignored: the
// running app has the new values already.
bool writeSettings(const Config &config, const std::optional<QString> &backend, const std::optional<QString> &token)
{
    bool ok = true;
    if (const std::optional<QString> error = ConfigFiles::save(config)) {
        logFailure("Einstellungen nicht gespeichert", error);
        ok = false;
    }
    if (backend) {
        if (const std::optional<QString> error = Endpoints::storeBackend(Endpoints::userFilePath(), *backend)) {
            logFailure("Backend-Adresse nicht gespeichert", error);
            ok = false;
        }
    }
    if (token) {
        if (const std::optional<QString> error = BackendToken::write(*token)) {
            logFailure("Zugangs-Token nicht gespeichert", error);
            ok = false;
        }
    }
    return ok;
}

struct StoredAi
{
    QString backend;
    bool tokenStored = false;
};

StoredAi readStoredAi()
{
    const QString tokenFile = BackendToken::filePath();
    return {Endpoints::backendIn(Endpoints::userFilePath()), !tokenFile.isEmpty() && QFileInfo(tokenFile).isFile()};
}

} // namespace

SettingsDraft::SettingsDraft(QObject *parent) : QObject(parent), m_playSound(playAlertSound) {}

QObject *SettingsDraft::appStateObject() const
{
    return m_state;
}

void SettingsDraft::setAppStateObject(QObject *object)
{
    if (!rebindAppState(this, m_state, object))
        return;
    m_config = m_state ? m_state->config() : Config();
    m_pairsText = m_config.marketPairs.join(u", "_s);
    m_extrasText = m_config.marketExtras.join(u", "_s);
    m_claudeKeyText = m_config.claudeApiKey;
    m_openaiKeyText = m_config.openaiApiKey;
    emit draftChanged();
    emit appStateChanged();
    if (m_state)
        loadStored(); // finishes by itself; it checks that this object still exists
}

QCoro::Task<> SettingsDraft::loadStored()
{
    const QPointer<SettingsDraft> self(this);
    // On the writer's thread, so a save under way is never read half-written.
    auto reading = settingsWriter().run(readStoredAi);
    const StoredAi stored = co_await reading;
    if (!self)
        co_return;
    m_storedBackend = stored.backend;
    if (!m_backendEdited) {
        m_backendText = stored.backend;
        emit draftChanged();
    }
    m_tokenStored = m_tokenStored || stored.tokenStored;
    emit storedChanged();
}

Config SettingsDraft::draftConfig() const
{
    Config config = m_config;
    config.marketPairs = splitList(m_pairsText);
    config.marketExtras = splitList(m_extrasText);
    config.claudeApiKey = cleanSecret(m_claudeKeyText);
    config.openaiApiKey = cleanSecret(m_openaiKeyText);
    return config;
}

void SettingsDraft::setPairsText(const QString &text)
{
    if (m_pairsText == text)
        return;
    m_pairsText = text;
    emit draftChanged();
}

void SettingsDraft::setExtrasText(const QString &text)
{
    if (m_extrasText == text)
        return;
    m_extrasText = text;
    emit draftChanged();
}

void SettingsDraft::setNewsSoundNormal(const QString &name)
{
    if (m_config.newsSoundNormal == name)
        return;
    m_config.newsSoundNormal = name;
    emit draftChanged();
}

void SettingsDraft::setNewsSoundHighImpact(const QString &name)
{
    if (m_config.newsSoundHighImpact == name)
        return;
    m_config.newsSoundHighImpact = name;
    emit draftChanged();
}

void SettingsDraft::setClaudeKeyText(const QString &text)
{
    if (m_claudeKeyText == text)
        return;
    m_claudeKeyText = text;
    emit draftChanged();
}

void SettingsDraft::setOpenaiKeyText(const QString &text)
{
    if (m_openaiKeyText == text)
        return;
    m_openaiKeyText = text;
    emit draftChanged();
}

void SettingsDraft::setBackendText(const QString &text)
{
    m_backendEdited = true;
    if (m_backendText == text)
        return;
    m_backendText = text;
    emit draftChanged();
}

void SettingsDraft::setTokenText(const QString &text)
{
    if (m_tokenText == text)
        return;
    m_tokenText = text;
    emit draftChanged();
}

bool SettingsDraft::backendTextUsable() const
{
    const QString address = m_backendText.trimmed();
    return address.isEmpty() || Endpoints::isUsableAddress(address);
}

QStringList SettingsDraft::soundNames()
{
    return alertSoundNames();
}

QString SettingsDraft::configurationPath()
{
    return ConfigFiles::userPath();
}

QString SettingsDraft::version()
{
    return currentVersion();
}

QStringList SettingsDraft::splitList(const QString &text)
{
    QStringList items;
    for (const QString &piece : text.split(u',', Qt::SkipEmptyParts))
        items.append(trimBlanks(piece));
    return items;
}

QString SettingsDraft::cleanSecret(const QString &text)
{
    QString clean = text;
    clean.removeIf([](QChar c) { return c.isSpace(); });
    return clean;
}

qint64 SettingsDraft::steppedPriceRefresh(qint64 seconds, int direction)
{
    const qint64 step = direction > 0 ? priceRefreshStep : -priceRefreshStep;
    return std::clamp(seconds + step, priceRefreshMin, priceRefreshMax);
}

double SettingsDraft::steppedAlertMinScore(double score, int direction)
{
    const double step = direction > 0 ? alertScoreStep : -alertScoreStep;
    return std::clamp(score + step, alertScoreMin, alertScoreMax);
}

void SettingsDraft::stepPriceRefresh(int direction)
{
    const qint64 next = steppedPriceRefresh(m_config.priceRefreshSeconds, direction);
    if (next == m_config.priceRefreshSeconds)
        return;
    m_config.priceRefreshSeconds = next;
    emit draftChanged();
}

void SettingsDraft::stepAlertMinScore(int direction)
{
    const double next = steppedAlertMinScore(m_config.alertMinScore, direction);
    if (next == m_config.alertMinScore)
        return;
    m_config.alertMinScore = next;
    emit draftChanged();
}

void SettingsDraft::preview(bool highImpact) const
{
    m_playSound(highImpact ? m_config.newsSoundHighImpact : m_config.newsSoundNormal);
}

void SettingsDraft::save()
{
    if (!m_state)
        return;
    const Config config = draftConfig();
    const Config before = m_state->config();
    std::optional<QString> backend;
    const QString address = m_backendText.trimmed();
    if (address != m_storedBackend && backendTextUsable())
        backend = address;
    std::optional<QString> token;
    if (const QString typed = cleanSecret(m_tokenText); !typed.isEmpty())
        token = typed;
    const bool reroute = config.claudeApiKey != before.claudeApiKey || config.openaiApiKey != before.openaiApiKey
                         || backend || token;

    // The running app takes the values now; the disk follows in the background.
    m_config = config;
    m_state->setConfig(config);
    if (backend)
        m_storedBackend = *backend;
    if (token) {
        m_tokenText.clear();
        m_tokenStored = true;
        emit storedChanged();
        emit draftChanged();
    }
    setSaved(true);
    hideSavedLater(); // each save hides the confirmation three seconds after itself

    QFuture<bool> writing = settingsWriter().run([config, backend, token] { return writeSettings(config, backend, token); });
    // The AI client is re-routed once the files it is chosen from are written.
    writing.then(m_state.data(), [state = m_state, self = QPointer(this), reroute](bool ok) {
        if (self)
            emit self->written(ok);
        if (state && reroute)
            state->rerouteAi(); // runs on by itself
    });
}

QCoro::Task<> SettingsDraft::hideSavedLater()
{
    const QPointer<SettingsDraft> self(this);
    const bool slept = co_await m_state->clock().sleep(savedShownFor);
    Q_UNUSED(slept);
    if (self)
        setSaved(false);
}

void SettingsDraft::setSaved(bool saved)
{
    if (m_saved == saved)
        return;
    m_saved = saved;
    emit savedChanged();
}

} // namespace kalvo
