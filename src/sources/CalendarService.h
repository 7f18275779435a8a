#pragma once

#include "MarketHttp.h"
#include "core/Config.h"
#include "core/Endpoints.h"
#include "core/MarketRecords.h"

#include <QCoroTask>
#include <QDateTime>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

namespace kalvo {

class Clock;

// Downloads this week's and next week's economic calendar, keeps the whole
// sorted list and hands the events of the next 48 hours to the caller. The
// files come from a rate-limited public host, so each is tried three times
// per cycle and a failing file is put into a cooldown that grows with its
// consecutive failures. Logs its progress to standard output. Lives on the
// GUI thread; callbacks run there.
class CalendarService : public QObject
{
    Q_OBJECT
public:
    using CalendarCallback = std::function<void(const QList<CalendarEvent> &)>;
    using LogSink = std::function<void(const QString &line)>;

    static constexpr std::chrono::seconds successPause{1800};
    static constexpr std::chrono::seconds failurePause{300};
    static constexpr std::chrono::seconds upcomingSpan{48 * 3600};
    static constexpr int attemptsPerSource = 3;

    CalendarService(Config config, Endpoints endpoints, Clock &clock, QObject *parent = nullptr);
    // Ends run() at its next step; nothing of the service is touched afterwards.
    ~CalendarService() override;

    // Where the log lines go; standard output unless replaced.
    void setLogSink(LogSink sink) { m_logSink = std::move(sink); }
    void setRequestTimeout(std::chrono::milliseconds timeout) { m_requestTimeout = timeout; }

    // Fetches, delivers, pauses and repeats until the service is destroyed.
    // `onCalendar` is called on the GUI thread after every cycle, also after
    // failed ones (then with the upcoming part of the last good list). Call once.
    QCoro::Task<> run(CalendarCallback onCalendar);

    // The last successfully parsed calendar, both weeks, sorted by time.
    const QList<CalendarEvent> &events() const { return m_events; }
    QList<CalendarEvent> upcoming() const;

private:
    QCoro::Task<> loop();
    QCoro::Task<bool> fetchCycle();
    QCoro::Task<std::optional<QList<QJsonObject>>> fetchSource(const QString &url);
    void registerFailure(const QString &url, int status, bool network);
    void deliver(const QList<CalendarEvent> &events) const;
    void log(const QString &message) const;

    Config m_config;
    Clock &m_clock;
    QStringList m_sources;
    std::chrono::milliseconds m_requestTimeout{15000};
    QList<CalendarEvent> m_events;
    QHash<QString, QDateTime> m_sourceCooldownUntil;
    QHash<QString, int> m_sourceFailureCount;
    CalendarCallback m_onCalendar;
    LogSink m_logSink;
    std::stop_source m_stop;
    MarketHttp m_http;
};

} // namespace kalvo
