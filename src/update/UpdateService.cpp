#include "UpdateService.h"

#include "core/Clock.h"

#include <QCoroFuture>
#include <QDesktopServices>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

const QString endpointKeys[] = {u"update.primary"_s, u"update.secondary"_s, u"update.dev"_s};

const QList<std::pair<QByteArray, QByteArray>> versionHeaders{
    {"User-Agent", "Mozilla/5.0 (compatible; KalvoTrading/2.0)"},
    {"Accept", "application/json"},
};

void writeToStandardOutput(const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

// Texts from the network go into log lines between quotes, cut short, on one line.
QString quoted(const QString &text)
{
    QString shown = text.left(40).simplified();
    if (text.size() > 40)
        shown += u'…';
    return u'„' + shown + u'“';
}

} // namespace

UpdateService::UpdateService(Clock &clock, QObject *parent)
    : QObject(parent),
      m_clock(clock),
      m_runningVersion(currentVersion()),
      m_lastCheckMessage(u"Noch nicht geprüft"_s),
      m_logSink(writeToStandardOutput),
      m_openUrl([](const QUrl &url) { return QDesktopServices::openUrl(url); })
{
    setEndpoints(Endpoints());
}

UpdateService::~UpdateService() = default;

QString UpdateService::upToDateMessage(const QString &version)
{
    return u"✓ Kalvo ist aktuell (v"_s + version + u')';
}

QString UpdateService::newerVersionMessage(const QString &version)
{
    return u"✓ Neue Version verfügbar: v"_s + version;
}

QString UpdateService::failedMessage()
{
    return u"⚠ Update-Prüfung fehlgeschlagen"_s;
}

void UpdateService::setEndpoints(const Endpoints &endpoints)
{
    m_updateEndpoints.clear();
    for (const QString &key : endpointKeys)
        m_updateEndpoints << endpoints.url(key);
}

void UpdateService::setUpdateAvailable(const std::optional<AppVersionInfo> &info)
{
    if (m_updateAvailable == info)
        return;
    m_updateAvailable = info;
    emit updateAvailableChanged();
}

QVariant UpdateService::updateAvailableValue() const
{
    return m_updateAvailable ? QVariant::fromValue(*m_updateAvailable) : QVariant();
}

void UpdateService::setUpdateAvailableValue(const QVariant &value)
{
    if (value.metaType() == QMetaType::fromType<AppVersionInfo>())
        setUpdateAvailable(value.value<AppVersionInfo>());
    else
        setUpdateAvailable(std::nullopt);
}

void UpdateService::startBackgroundCheck()
{
    if (m_checking)
        return;
    log(u"Versions-Endpunkte aktiv — starte Hintergrund-Check..."_s);
    m_lastCheckedAt = m_clock.now();
    emit lastCheckedAtChanged();
    launchCheck();
}

void UpdateService::checkByUser()
{
    if (!m_updateAvailable) {
        log(u"User hat Update-Prüfung gestartet"_s);
        launchCheck();
        return;
    }
    log(u"User hat Update gestartet (Download im Browser)"_s);
    const QUrl url(m_updateAvailable->downloadUrl);
    if (url.isEmpty()) {
        log(u"✗ Keine Download-Adresse für v"_s + m_updateAvailable->version);
        return;
    }
    if (!m_openUrl(url))
        log(u"✗ Browser ließ sich nicht öffnen: "_s + url.toString());
}

void UpdateService::launchCheck()
{
    if (m_checking)
        return;
    setChecking(true);
    setMessage(u"Pruefe Updates (Versions-Endpunkte)..."_s);
    check(); // runs on; the service's QPointer guards every step after a suspension
}

QCoro::Task<> UpdateService::check()
{
    QPointer<UpdateService> self(this);
    const std::optional<SemanticVersion> running = SemanticVersion::parse(m_runningVersion);
    if (!running) {
        log(u"✗ Laufende Version "_s + quoted(m_runningVersion) + u" ist keine Versionsnummer"_s);
        setMessage(failedMessage());
        setChecking(false);
        emit checkFinished();
        co_return;
    }

    const QStringList endpoints = m_updateEndpoints;
    for (const QString &url : endpoints) {
        const std::optional<AppVersionInfo> offered = co_await ask(url);
        if (!self)
            co_return;
        if (!offered)
            continue;
        // ask() only returns versions that parse.
        if (*SemanticVersion::parse(offered->version) > *running) {
            log(u"✓ Neue Version v"_s + offered->version + u" (installiert: v"_s + m_runningVersion + u')');
            setMessage(newerVersionMessage(offered->version));
            setUpdateAvailable(offered);
        } else {
            log(u"✓ Aktuell: v"_s + m_runningVersion + u" (angeboten: v"_s + offered->version + u')');
            setMessage(upToDateMessage(m_runningVersion));
        }
        setChecking(false);
        emit checkFinished();
        co_return;
    }
    log(u"✗ Kein Versions-Endpunkt lieferte eine gültige Version"_s);
    setMessage(failedMessage());
    setChecking(false);
    emit checkFinished();
}

QCoro::Task<std::optional<AppVersionInfo>> UpdateService::ask(const QString &address)
{
    QPointer<UpdateService> self(this);
    const QString url = address; // the caller's string may not outlive the first suspension
    // Built by concatenation: an address may hold "%" escapes that arg() would take for markers.
    log(u"→ "_s + url);

    HttpGet get;
    get.url = QUrl(url, QUrl::StrictMode);
    get.timeout = m_requestTimeout;
    get.headers = versionHeaders;
    get.alwaysReload = true;
    get.maxBodyBytes = maxReplyBytes;
    QFuture<HttpResponse> fetching = m_http.get(get);
    const HttpResponse response = co_await fetching;
    if (!self)
        co_return std::nullopt;
    if (!response.answered) {
        log(u"✗ "_s + url + u": keine Antwort"_s);
        co_return std::nullopt;
    }
    if (response.status < 200 || response.status > 299) {
        log(u"✗ "_s + url + u": HTTP "_s + QString::number(response.status));
        co_return std::nullopt;
    }

    QFuture<std::optional<AppVersionInfo>> decoding = QtConcurrent::run(decodeVersionReply, response.body);
    std::optional<AppVersionInfo> offered = co_await decoding;
    if (!self)
        co_return std::nullopt;
    if (!offered) {
        log(u"✗ "_s + url + u": keine Versionsangabe"_s);
        co_return std::nullopt;
    }
    if (!SemanticVersion::parse(offered->version)) {
        log(u"✗ "_s + url + u": "_s + quoted(offered->version) + u" ist keine Versionsnummer"_s);
        co_return std::nullopt;
    }
    co_return offered;
}

void UpdateService::setMessage(const QString &message)
{
    if (m_lastCheckMessage == message)
        return;
    m_lastCheckMessage = message;
    emit lastCheckMessageChanged();
}

void UpdateService::setChecking(bool checking)
{
    if (m_checking == checking)
        return;
    m_checking = checking;
    emit checkingChanged();
}

void UpdateService::log(const QString &message) const
{
    m_logSink(u"[Update] "_s + message);
}

} // namespace kalvo
