#pragma once

#include "AppVersion.h"
#include "core/Endpoints.h"
#include "sources/MarketHttp.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QStringList>
#include <QUrl>
#include <QVariant>

#include <chrono>
#include <functional>
#include <optional>

namespace kalvo {

class Clock;

// Tells whether a newer version of the app is out. Linux has no update
// framework to ask, so the service asks the version endpoints itself
// (update.primary, update.secondary, update.dev, in that order; the first
// usable answer wins), compares the offered version with the running one in
// semantic-version order and publishes a newer one in `updateAvailable`,
// which opens the update alert. The download itself is the browser's job.
// Lives on the GUI thread; requests run on a network thread of their own.
class UpdateService : public QObject
{
    Q_OBJECT
    // An AppVersionInfo while a newer version waits for the user, else
    // undefined. Writing anything that is not a record clears it.
    Q_PROPERTY(QVariant updateAvailable READ updateAvailableValue WRITE setUpdateAvailableValue NOTIFY
                   updateAvailableChanged)
    Q_PROPERTY(bool hasUpdate READ hasUpdate NOTIFY updateAvailableChanged)
    Q_PROPERTY(QDateTime lastCheckedAt READ lastCheckedAt NOTIFY lastCheckedAtChanged)
    Q_PROPERTY(QString lastCheckMessage READ lastCheckMessage NOTIFY lastCheckMessageChanged)
    Q_PROPERTY(QString currentVersion READ runningVersion CONSTANT)
    Q_PROPERTY(bool checking READ isChecking NOTIFY checkingChanged)

public:
    using LogSink = std::function<void(const QString &line)>;
    using UrlOpener = std::function<bool(const QUrl &url)>;

    // A version reply is a few hundred bytes; anything near this is not one.
    static constexpr qint64 maxReplyBytes = 64 * 1024;

    explicit UpdateService(Clock &clock, QObject *parent = nullptr);
    ~UpdateService() override;

    // The version endpoints of `endpoints`, in the order they are asked.
    void setEndpoints(const Endpoints &endpoints);
    QStringList updateEndpoints() const { return m_updateEndpoints; }
    // Standard output unless replaced.
    void setLogSink(LogSink sink) { m_logSink = std::move(sink); }
    // The system's browser (QDesktopServices) unless replaced.
    void setUrlOpener(UrlOpener opener) { m_openUrl = std::move(opener); }
    void setRequestTimeout(std::chrono::milliseconds timeout) { m_requestTimeout = timeout; }
    // The version the check compares with and the alert shows as installed;
    // currentVersion() unless replaced, "1.0.0" for an empty text.
    void setRunningVersion(const QString &version) { m_runningVersion = versionOrDefault(version); }
    QString runningVersion() const { return m_runningVersion; }

    // The check at start-up: stamps lastCheckedAt, then asks the endpoints
    // in the background. checkFinished() follows, whatever the outcome. A
    // check already under way is not started twice.
    Q_INVOKABLE void startBackgroundCheck();
    // "Jetzt aktualisieren": opens the pending version's download address in
    // the browser. Without a pending version it checks again instead.
    Q_INVOKABLE void checkByUser();

    const std::optional<AppVersionInfo> &updateAvailable() const { return m_updateAvailable; }
    void setUpdateAvailable(const std::optional<AppVersionInfo> &info);
    bool hasUpdate() const { return m_updateAvailable.has_value(); }
    QDateTime lastCheckedAt() const { return m_lastCheckedAt; }
    QString lastCheckMessage() const { return m_lastCheckMessage; }
    bool isChecking() const { return m_checking; }

    static QString upToDateMessage(const QString &version);
    static QString newerVersionMessage(const QString &version);
    static QString failedMessage();

signals:
    void updateAvailableChanged();
    void lastCheckedAtChanged();
    void lastCheckMessageChanged();
    void checkingChanged();
    void checkFinished();

private:
    QVariant updateAvailableValue() const;
    void setUpdateAvailableValue(const QVariant &value);
    void launchCheck();
    QCoro::Task<> check();
    // The offered version of one endpoint, absent when it gave no usable answer.
    QCoro::Task<std::optional<AppVersionInfo>> ask(const QString &address);
    void setMessage(const QString &message);
    void setChecking(bool checking);
    void log(const QString &message) const;

    Clock &m_clock;
    QStringList m_updateEndpoints;
    QString m_runningVersion;
    std::chrono::milliseconds m_requestTimeout{8000};
    std::optional<AppVersionInfo> m_updateAvailable;
    QDateTime m_lastCheckedAt;
    QString m_lastCheckMessage;
    bool m_checking = false;
    LogSink m_logSink;
    UrlOpener m_openUrl;
    MarketHttp m_http; // last, so destroyed first: no request outlives the service
};

} // namespace kalvo
