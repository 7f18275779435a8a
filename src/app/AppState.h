#pragma once

#include "AiRoute.h"
#include "core/Config.h"
#include "core/Endpoints.h"
#include "core/MarketRecords.h"
#include "core/NewsItem.h"
#include "ai/AiRecords.h"

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
class ClaudeService;
class NewsService;
class PriceService;
class CalendarService;
class ScannerService;
class SerialWorker;
struct TradingSessions;

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
    Q_PROPERTY(QString selectedPair READ selectedPair WRITE setSelectedPair NOTIFY selectedPairChanged)
    Q_PROPERTY(bool aiAvailable READ aiAvailable NOTIFY aiAvailableChanged)
    Q_PROPERTY(bool isDemo READ isDemo CONSTANT)
    Q_PROPERTY(bool hasLiveBriefing READ hasLiveBriefing NOTIFY liveBriefingChanged)
    Q_PROPERTY(bool hasMarketOverview READ hasMarketOverview NOTIFY marketOverviewChanged)
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

    // Simulated markets and analyses; the top bar says so. Set before the window loads.
    void setDemo(bool demo) { m_isDemo = demo; }
    bool isDemo() const { return m_isDemo; }

    Q_INVOKABLE void startIfNeeded();
    Q_INVOKABLE void stop();

    // AI operations the views start. Each raises its busy flag at once and
    // lowers it when the work is done, whatever the outcome.
    Q_INVOKABLE void runDetailAnalysis(const QString &newsId);
    Q_INVOKABLE void loadLiveBriefing();
    Q_INVOKABLE void loadMarketOverview();
    // The analysis of one instrument for its detail sheet, from its current
    // quote (0 without one), the headlines and the calendar. No flag here:
    // the sheet keeps its own. Absent without an AI client or an answer.
    QCoro::Task<std::optional<InstrumentAnalysis>> requestInstrumentAnalysis(QString pair);
    // Whether an AI client exists; the views call the operations only then.
    bool aiAvailable() const { return m_claude != nullptr; }
    ClaudeService *claudeService() const { return m_claude.get(); }

    // How far the AI backend is known to answer: before the start's probe,
    // while a probe runs, and the outcome of the last one.
    enum class AiCheck { Pending, Checking, Answered, Unreachable };
    // Where AI requests go. main() sets the route it chose before the start;
    // the router decides it anew while the app runs. Without a router the
    // route stays and rerouteAi() only probes again.
    void setAiRoute(AiRoute route);
    void setAiRouter(AiRouter router) { m_aiRouter = std::move(router); }
    const AiRoute &aiRoute() const { return m_aiRoute; }
    AiCheck aiCheck() const { return m_aiCheck; }
    // Whether the backend speaks: known from the route or from the last
    // connection test, else absent.
    std::optional<bool> aiSpeech() const { return m_aiSpeech; }
    // After the settings stored new keys or another backend: asks the router
    // for the route, replaces the AI client with one for it and probes it as
    // the start does. A request that was under way with the old client ends
    // without an answer.
    QCoro::Task<> rerouteAi();
    // The start's probe once more and, when a model answers, one short
    // speech request, whose outcome becomes aiSpeech().
    QCoro::Task<> testAiConnection();

    const QMap<QString, PriceData> &prices() const { return m_prices; }
    const QList<CalendarEvent> &calendar() const { return m_calendar; }
    const ScannerResult &scanner() const { return m_scanner; }
    const std::optional<LiveBriefing> &liveBriefing() const { return m_liveBriefing; }
    bool hasLiveBriefing() const { return m_liveBriefing.has_value(); }
    // What loadLiveBriefing and loadMarketOverview publish, for callers that
    // bring their own (the screens tool, tests).
    void publishLiveBriefing(LiveBriefing briefing);
    void publishMarketOverview(MarketOverview overview);
    // Closing the briefing or overview sheet forgets what it showed.
    Q_INVOKABLE void clearLiveBriefing();
    Q_INVOKABLE void clearMarketOverview();
    const std::optional<MarketOverview> &marketOverview() const { return m_marketOverview; }
    bool hasMarketOverview() const { return m_marketOverview.has_value(); }
    const std::optional<CalendarEvent> &selectedCalendarEvent() const { return m_selectedCalendarEvent; }
    void setSelectedCalendarEvent(const std::optional<CalendarEvent> &event);
    QString selectedPair() const { return m_selectedPair; }
    void setSelectedPair(const QString &pair);

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
    void onPrices(const QMap<QString, PriceData> &prices);
    void onCalendar(const QList<CalendarEvent> &events);

    void updateSessions();
    // What updateSessions publishes, from another clock than the device's.
    void publishSessions(const TradingSessions &sessions);
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
    void pricesChanged();
    void scannerChanged();
    void liveBriefingChanged();
    void marketOverviewChanged();
    void selectedCalendarEventChanged();
    // aiRoute(), aiCheck() or aiSpeech() changed.
    void aiLinkChanged();
    // The start-up sequence has run to its end and the loops are going.
    void started();

private:
    QCoro::Task<> start(std::stop_token stop);
    QCoro::Task<> scannerLoop(std::stop_token stop);
    QCoro::Task<> sessionsLoop(std::stop_token stop);
    void createServices();
    void launchLoops(std::stop_token stop);
    QCoro::Task<> probeModel();
    QUrl aiBackend() const;
    void setAiCheck(AiCheck check);
    QCoro::Task<> scoreNews(NewsItem item);
    QCoro::Task<> analyseInDepth(NewsItem item);
    QCoro::Task<> produceBriefing();
    QCoro::Task<> produceOverview();
    void applyScore(const QString &id, NewsAnalysis analysis);
    void removeNews(const QString &id);
    void replaceNews(QList<NewsItem> items);
    void setBusy(bool &flag, bool busy, void (AppState::*changed)());

    Clock &m_clock;
    // Coroutines and service callbacks hold this weakly; it dies first in the
    // destructor, before the services whose teardown may resume them.
    std::shared_ptr<void> m_lifetime = std::make_shared<char>();
    SoundPlayer m_playSound;
    QString m_endpointsFile;
    Config m_config;
    Endpoints m_endpoints;
    std::shared_ptr<DatabaseService> m_db;
    std::unique_ptr<ClaudeService> m_claude;
    std::unique_ptr<NewsService> m_newsService;
    std::unique_ptr<PriceService> m_priceService;
    std::unique_ptr<CalendarService> m_calendarService;
    std::unique_ptr<ScannerService> m_scannerService;
    std::stop_source m_loops{std::nostopstate};
    AiRoute m_aiRoute;
    AiRouter m_aiRouter;
    AiCheck m_aiCheck = AiCheck::Pending;
    std::optional<bool> m_aiSpeech;
    quint64 m_aiRound = 0; // the probe under way; an older one's answer is stale
    std::unique_ptr<SerialWorker> m_aiWorker; // runs the router, one call at a time

    QString m_status;
    QList<NewsItem> m_news;
    QMap<QString, PriceData> m_prices;
    QList<CalendarEvent> m_calendar;
    std::optional<CalendarEvent> m_selectedCalendarEvent;
    std::optional<LiveBriefing> m_liveBriefing;
    std::optional<MarketOverview> m_marketOverview;
    ScannerResult m_scanner;
    bool m_isRunning = false;
    bool m_isDemo = false;
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
