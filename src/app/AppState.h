#pragma once

#include "core/Config.h"
#include "core/Endpoints.h"
#include "core/MarketRecords.h"
#include "core/NewsItem.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <stop_token>

namespace kalvo {

class Clock;
class DatabaseService;

// The one observable object of the application. It owns the configuration,
// the services and every list the views show, runs the periodic loops and
// decides when an alert sound plays. It lives on the GUI thread; services
// hand their results to it through queued calls.
class AppState : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString status READ status WRITE setStatus NOTIFY statusChanged)
    Q_PROPERTY(int newsCount READ newsCount NOTIFY newsCountChanged)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY isRunningChanged)
    Q_PROPERTY(QString aiModel READ aiModel NOTIFY aiModelChanged)
    Q_PROPERTY(QStringList sessions READ sessions NOTIFY sessionsChanged)
    Q_PROPERTY(QString sessionOverlap READ sessionOverlap NOTIFY sessionsChanged)
    Q_PROPERTY(QDateTime newsLastCheckedAt READ newsLastCheckedAt NOTIFY newsCycleChanged)
    Q_PROPERTY(bool newsFetchHealthy READ newsFetchHealthy NOTIFY newsCycleChanged)
    Q_PROPERTY(bool calendarLoadedOnce READ calendarLoadedOnce NOTIFY calendarChanged)
    Q_PROPERTY(Tab selectedTab READ selectedTab WRITE setSelectedTab NOTIFY selectedTabChanged)
    Q_PROPERTY(bool showSettings MEMBER m_showSettings NOTIFY showSettingsChanged)
    Q_PROPERTY(bool showScannerPanel MEMBER m_showScannerPanel NOTIFY showScannerPanelChanged)
    Q_PROPERTY(bool isAnalyzingDetail MEMBER m_isAnalyzingDetail NOTIFY isAnalyzingDetailChanged)
    Q_PROPERTY(bool isLoadingBriefing MEMBER m_isLoadingBriefing NOTIFY isLoadingBriefingChanged)
    Q_PROPERTY(bool isLoadingOverview MEMBER m_isLoadingOverview NOTIFY isLoadingOverviewChanged)
    Q_PROPERTY(QString selectedPair MEMBER m_selectedPair NOTIFY selectedPairChanged)
    Q_PROPERTY(bool aiAvailable READ aiAvailable NOTIFY aiAvailableChanged)
    Q_PROPERTY(QString selectedNewsId READ selectedNewsId NOTIFY selectedNewsChanged)

public:
    // Kept and settable; the right column switches with showScannerPanel.
    enum class Tab { News, Prices, Calendar, Scanner };
    Q_ENUM(Tab)
    static QString tabTitle(Tab tab);

    static constexpr int maxNews = 200;
    static constexpr int storedNewsAtStart = 60;

    using SoundPlayer = std::function<void(const QString &name)>;

    explicit AppState(Clock &clock, QObject *parent = nullptr);
    ~AppState() override;

    // An endpoints file to read at start-up instead of the built-in addresses.
    void setEndpointsFile(const QString &path) { m_endpointsFile = path; }
    // Addresses to use when no endpoints file is set (the demo's simulator).
    void setEndpoints(const Endpoints &endpoints) { m_endpoints = endpoints; }
    // Where alert sounds go; playAlertSound unless replaced.
    void setSoundPlayer(SoundPlayer player) { m_playSound = std::move(player); }

    Q_INVOKABLE void startIfNeeded();
    Q_INVOKABLE void stop();

    // AI operations the views start. Each raises its busy flag at once and
    // lowers it when the work is done, whatever the outcome.
    Q_INVOKABLE void runDetailAnalysis(const QString &newsId);
    Q_INVOKABLE void loadLiveBriefing();
    Q_INVOKABLE void loadMarketOverview();
    // Whether an AI client exists; the views call the operations only then.
    bool aiAvailable() const { return false; }

    const std::optional<NewsItem> &selectedNews() const { return m_selectedNews; }
    void setSelectedNews(const std::optional<NewsItem> &item);
    // The views select by id: the item of news() with that id, or none for
    // an empty or unknown id.
    Q_INVOKABLE void selectNews(const QString &id);
    QString selectedNewsId() const { return m_selectedNews ? m_selectedNews->id : QString(); }
    // The views' source of "now" (clock text, ages), so a fixed clock fixes them too.
    Clock &clock() const { return m_clock; }

    QString status() const { return m_status; }
    // The views write the start message of an operation they launch.
    void setStatus(const QString &status);
    int newsCount() const { return int(m_news.size()); }
    bool isRunning() const { return m_isRunning; }
    QString aiModel() const { return m_aiModel; }
    QStringList sessions() const { return m_sessions; }
    QString sessionOverlap() const { return m_sessionOverlap; }
    QDateTime newsLastCheckedAt() const { return m_newsLastCheckedAt; }
    bool newsFetchHealthy() const { return m_newsFetchHealthy; }
    bool calendarLoadedOnce() const { return m_calendarLoadedOnce; }
    Tab selectedTab() const { return m_selectedTab; }
    void setSelectedTab(Tab tab);

    const Config &config() const { return m_config; }
    void setConfig(const Config &config);
    const Endpoints &endpoints() const { return m_endpoints; }
    const QList<NewsItem> &news() const { return m_news; }
    DatabaseService *database() const { return m_db.get(); }

    // Deliveries from the services (always on the GUI thread).
    void onNewsItem(const NewsItem &item);
    void onNewsCycle(const QDateTime &startedAt, bool healthy);

    void updateSessions();
    void refreshScanner();

    // "claude-3-5-haiku-20241022" -> "3-5-haiku1022", as the status line shows it.
    static QString shortModelName(const QString &modelId);

signals:
    void statusChanged();
    void newsCountChanged();
    void isRunningChanged();
    void aiModelChanged();
    void sessionsChanged();
    void newsCycleChanged();
    void calendarChanged();
    void configChanged();
    void selectedTabChanged();
    void showSettingsChanged();
    void showScannerPanelChanged();
    void isAnalyzingDetailChanged();
    void isLoadingBriefingChanged();
    void isLoadingOverviewChanged();
    void selectedPairChanged();
    // Row-level changes of news(), for list models.
    void newsInserted(int row);
    void newsRemoved(int row);
    void newsReplaced();
    // The item at `row` kept its place but its score or analysis changed.
    void newsUpdated(int row);
    void selectedNewsChanged();
    void aiAvailableChanged();
    // The start-up sequence has run to its end and the loops are going.
    void started();

private:
    QCoro::Task<> start(std::stop_token stop);
    QCoro::Task<> scannerLoop(std::stop_token stop);
    QCoro::Task<> sessionsLoop(std::stop_token stop);
    void replaceNews(QList<NewsItem> items);

    Clock &m_clock;
    SoundPlayer m_playSound;
    QString m_endpointsFile;
    Config m_config;
    Endpoints m_endpoints;
    std::shared_ptr<DatabaseService> m_db;
    std::stop_source m_loops{std::nostopstate};

    QString m_status;
    QList<NewsItem> m_news;
    QList<CalendarEvent> m_calendar;
    ScannerResult m_scanner;
    bool m_isRunning = false;
    QString m_aiModel;
    QStringList m_sessions;
    QString m_sessionOverlap;
    QDateTime m_newsLastCheckedAt;
    bool m_newsFetchHealthy = false;
    bool m_calendarLoadedOnce = false;
    Tab m_selectedTab = Tab::Calendar;
    bool m_showSettings = false;
    bool m_showScannerPanel = false;
    bool m_isAnalyzingDetail = false;
    bool m_isLoadingBriefing = false;
    bool m_isLoadingOverview = false;
    QString m_selectedPair;
    std::optional<NewsItem> m_selectedNews;
};

} // namespace kalvo
