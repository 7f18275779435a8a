#include "CalendarService.h"

#include "CalendarParsing.h"
#include "core/Clock.h"

#include <QCoroFuture>
#include <QPointer>
#include <QUrl>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace kalvo {

namespace {

const QList<std::pair<QByteArray, QByteArray>> calendarHeaders{
    {"User-Agent", "Mozilla/5.0"},
    {"Accept", "application/json"},
};

// Pause before the first, second and third attempt at one file.
constexpr std::chrono::seconds retryDelays[CalendarService::attemptsPerSource]{0s, 1s, 2s};

void writeToStandardOutput(const QString &line)
{
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

qint64 cooldownSeconds(const QString &url, int status, bool network, int failures)
{
    const qint64 backoff = std::min<qint64>(std::max(failures, 1) * 120, 1200);
    if (network)
        return backoff;
    if (status == 404)
        // Next week's file appears only late in the week; asking again soon is pointless.
        return url.contains("nextweek"_L1) ? 43200 : 1800;
    if (status == 429) {
        switch (failures) {
        case 1: return 300;
        case 2: return 900;
        case 3: return 1800;
        default: return 3600;
        }
    }
    return backoff;
}

} // namespace

CalendarService::CalendarService(Config config, Endpoints endpoints, Clock &clock, QObject *parent)
    : QObject(parent),
      m_config(std::move(config)),
      m_clock(clock),
      m_sources{endpoints.url(u"calendar.this_week"_s), endpoints.url(u"calendar.next_week"_s)},
      m_logSink(writeToStandardOutput)
{
}

CalendarService::~CalendarService()
{
    m_stop.request_stop();
}

QCoro::Task<> CalendarService::run(CalendarCallback onCalendar)
{
    // A member, not a coroutine argument: see ARCHITECTURE.md on GCC 12.
    m_onCalendar = std::move(onCalendar);
    return loop();
}

QList<CalendarEvent> CalendarService::upcoming() const
{
    return calendar::upcomingEvents(m_events, m_clock.now());
}

void CalendarService::deliver(const QList<CalendarEvent> &events) const
{
    if (m_onCalendar)
        m_onCalendar(events);
}

void CalendarService::log(const QString &message) const
{
    const QString stamp = m_clock.now().toLocalTime().toString(u"HH:mm:ss"_s);
    m_logSink(u'[' + stamp + "] [Calendar] "_L1 + message);
}

QCoro::Task<> CalendarService::loop()
{
    QPointer<CalendarService> self(this);
    const std::stop_token stop = m_stop.get_token();
    log(u"→ Calendar loop gestartet"_s);
    for (;;) {
        const bool ok = co_await fetchCycle();
        if (!self)
            co_return;
        const std::chrono::seconds pause = ok ? successPause : failurePause;
        log(u"Nächster Fetch in %1s (success=%2)"_s.arg(pause.count()).arg(ok ? "true"_L1 : "false"_L1));
        co_await m_clock.sleep(pause, stop);
        if (!self)
            co_return;
    }
}

QCoro::Task<bool> CalendarService::fetchCycle()
{
    QPointer<CalendarService> self(this);
    log(u"→ Fetch gestartet"_s);

    QList<QJsonObject> raw;
    int delivered = 0;
    const QStringList sources = m_sources;
    for (qsizetype i = 0; i < sources.size(); ++i) {
        const std::optional<QList<QJsonObject>> entries = co_await fetchSource(sources[i]);
        if (!self)
            co_return false;
        if (entries) {
            raw += *entries;
            ++delivered;
        }
    }
    log(u"Quellen erfolgreich: %1/%2, Raw-Events: %3"_s.arg(delivered).arg(sources.size()).arg(raw.size()));

    if (delivered == 0 || raw.isEmpty()) {
        log(u"⚠ Keine Quelle lieferte Daten, nutze bestehenden Stand (%1 Events)"_s.arg(m_events.size()));
        deliver(upcoming());
        co_return false;
    }

    QFuture<QList<CalendarEvent>> parsing = QtConcurrent::run(calendar::parseEvents, raw);
    QList<CalendarEvent> parsed = co_await parsing;
    if (!self)
        co_return false;
    if (parsed.isEmpty()) {
        log(u"⚠ Verarbeitung ergab 0 Events, nutze bestehenden Stand (%1 Events)"_s.arg(m_events.size()));
        deliver(upcoming());
        co_return false;
    }

    m_events = std::move(parsed);
    const QList<CalendarEvent> next = upcoming();
    log(u"✓ Fetch erfolgreich: gespeichert=%1, upcoming(48h)=%2"_s.arg(m_events.size()).arg(next.size()));
    deliver(next);
    co_return true;
}

QCoro::Task<std::optional<QList<QJsonObject>>> CalendarService::fetchSource(const QString &address)
{
    QPointer<CalendarService> self(this);
    const std::stop_token stop = m_stop.get_token();
    const QString url = address; // the caller's string may not outlive the first suspension

    const QUrl parsedUrl(url, QUrl::StrictMode);
    if (!parsedUrl.isValid() || parsedUrl.scheme().isEmpty())
        co_return std::nullopt;

    const auto cooldown = m_sourceCooldownUntil.constFind(url);
    if (cooldown != m_sourceCooldownUntil.constEnd() && *cooldown > m_clock.now()) {
        const qint64 remaining = m_clock.now().msecsTo(*cooldown) / 1000;
        log("Source "_L1 + url + " in Cooldown ("_L1 + QString::number(remaining) + "s verbleibend)"_L1);
        co_return std::nullopt;
    }

    for (int attempt = 1; attempt <= attemptsPerSource; ++attempt) {
        const std::chrono::seconds delay = retryDelays[attempt - 1];
        if (delay > 0s) {
            co_await m_clock.sleep(delay, stop);
            if (!self)
                co_return std::nullopt;
        }
        HttpGet get;
        get.url = parsedUrl;
        get.timeout = m_requestTimeout;
        get.headers = calendarHeaders;
        QFuture<HttpResponse> fetching = m_http.get(get);
        const HttpResponse response = co_await fetching;
        if (!self)
            co_return std::nullopt;

        // Built by concatenation: a URL may hold "%" escapes that arg() would take for markers.
        const QString prefix = "Source "_L1 + url + " Versuch "_L1 + QString::number(attempt) + u' ';
        if (!response.answered) {
            log(prefix + "fehlgeschlagen (Netzwerk)"_L1);
            continue;
        }
        if (response.status < 200 || response.status > 299) {
            log(prefix + "HTTP "_L1 + QString::number(response.status));
            if (attempt == attemptsPerSource)
                registerFailure(url, response.status, false);
            continue;
        }
        QFuture<std::optional<QList<QJsonObject>>> reading = QtConcurrent::run(calendar::fileEntries, response.body);
        const std::optional<QList<QJsonObject>> entries = co_await reading;
        if (!self)
            co_return std::nullopt;
        if (!entries) {
            log(prefix + "lieferte leere/ungueltige JSON"_L1);
            continue;
        }
        log(prefix + "ok: "_L1 + QString::number(entries->size()) + " Events"_L1);
        m_sourceFailureCount.insert(url, 0);
        m_sourceCooldownUntil.remove(url);
        co_return entries;
    }

    // Whatever the attempts died of, the file counts as one more full failure
    // here, on top of the status-specific one an HTTP error already recorded.
    registerFailure(url, 0, true);
    log(u"✗ Source dauerhaft fehlgeschlagen: "_s + url);
    co_return std::nullopt;
}

void CalendarService::registerFailure(const QString &url, int status, bool network)
{
    const int failures = m_sourceFailureCount.value(url, 0) + 1;
    m_sourceFailureCount.insert(url, failures);
    const qint64 cooldown = cooldownSeconds(url, status, network, failures);
    m_sourceCooldownUntil.insert(url, m_clock.now().addSecs(cooldown));
    log(u"Cooldown gesetzt für "_s + url + ": "_L1 + QString::number(cooldown) + "s (status="_L1
        + (network ? u"n/a"_s : QString::number(status)) + ", fail="_L1 + QString::number(failures) + u')');
}

} // namespace kalvo
