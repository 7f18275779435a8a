#include "AppState.h"

#include "TradingSessions.h"
#include "ai/ClaudeService.h"
#include "audio/AlertSound.h"
#include "core/Clock.h"
#include "core/Paths.h"
#include "core/SerialWorker.h"
#include "scanner/ScannerService.h"
#include "sources/CalendarService.h"
#include "sources/NewsService.h"
#include "sources/PriceService.h"
#include "storage/DatabaseService.h"

#include <QCoroFuture>
#include <QDebug>
#include <QDir>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

// What start-up needs from disk, read in one go off the GUI thread.
struct StartupFiles
{
    Config config;
    Endpoints endpoints;
    QStringList endpointProblems;
    QString databasePath;
};

StartupFiles readStartupFiles(const QString &endpointsFile, const Endpoints &endpoints)
{
    StartupFiles files;
    files.endpoints = endpoints;
    files.config = ConfigFiles::load();
    if (!endpointsFile.isEmpty())
        files.endpoints = Endpoints::fromFile(endpointsFile, &files.endpointProblems);
    // A folder we cannot create shows up as a database that stores nothing.
    QDir().mkpath(dataDirectory());
    files.databasePath = databasePath();
    return files;
}

} // namespace

AppState::AppState(Clock &clock, QObject *parent)
    : QObject(parent), m_clock(clock), m_playSound(playAlertSound), m_status(u"Starte…"_s)
{
    m_scanner.updated = m_clock.now();
}

AppState::~AppState()
{
    // First, so that work resumed by the teardown below sees us gone.
    m_lifetime.reset();
    stop();
}

QString AppState::tabTitle(Tab tab)
{
    switch (tab) {
    case Tab::News: return u"News"_s;
    case Tab::Prices: return u"Preise"_s;
    case Tab::Calendar: return u"Kalender"_s;
    case Tab::Scanner: break;
    }
    return u"Scanner"_s;
}

void AppState::setSelectedTab(Tab tab)
{
    if (m_selectedTab == tab)
        return;
    m_selectedTab = tab;
    emit selectedTabChanged();
}

void AppState::setConfig(const Config &config)
{
    m_config = config;
    emit configChanged();
}

void AppState::setSelectedNews(const std::optional<NewsItem> &item)
{
    m_selectedNews = item;
    emit selectedNewsChanged();
}

void AppState::selectNews(const QString &id)
{
    const auto found = std::find_if(m_news.cbegin(), m_news.cend(), [&](const NewsItem &n) { return n.id == id; });
    setSelectedNews(id.isEmpty() || found == m_news.cend() ? std::nullopt : std::optional(*found));
}

void AppState::setSelectedCalendarEvent(const std::optional<CalendarEvent> &event)
{
    m_selectedCalendarEvent = event;
    emit selectedCalendarEventChanged();
}

void AppState::setSelectedPair(const QString &pair)
{
    if (m_selectedPair == pair)
        return;
    m_selectedPair = pair;
    emit selectedPairChanged();
}

void AppState::setBusy(bool &flag, bool busy, void (AppState::*changed)())
{
    if (flag == busy)
        return;
    flag = busy;
    emit(this->*changed)();
}

void AppState::runDetailAnalysis(const QString &newsId)
{
    const auto found = std::find_if(m_news.cbegin(), m_news.cend(), [&](const NewsItem &n) { return n.id == newsId; });
    if (!m_claude || found == m_news.cend()) {
        setBusy(m_isAnalyzingDetail, false, &AppState::isAnalyzingDetailChanged);
        return;
    }
    setBusy(m_isAnalyzingDetail, true, &AppState::isAnalyzingDetailChanged);
    analyseInDepth(*found);
}

QCoro::Task<> AppState::analyseInDepth(NewsItem item)
{
    const std::weak_ptr<void> alive = m_lifetime;
    const std::optional<NewsAnalysis> deep = co_await m_claude->analyzeNewsDetail(item);
    if (alive.expired())
        co_return;
    setBusy(m_isAnalyzingDetail, false, &AppState::isAnalyzingDetailChanged);
    if (!deep)
        co_return;
    const auto row = std::find_if(m_news.begin(), m_news.end(), [&](const NewsItem &n) { return n.id == item.id; });
    if (row == m_news.end())
        co_return; // removed while the analysis ran
    // The quick scoring keeps its verdict; the deep pass adds the long texts.
    NewsAnalysis merged = row->analysis.value_or(NewsAnalysis{});
    merged.summary = deep->summary;
    merged.macro = deep->macro;
    merged.risks = deep->risks;
    merged.watchNext = deep->watchNext;
    merged.strategy = deep->strategy;
    merged.pairDetails = deep->pairDetails;
    row->analysis = merged;
    emit newsUpdated(int(row - m_news.begin()));
    setSelectedNews(*row);
    setStatus(u"✓ Detail-Analyse: "_s + row->title.left(50));
}

void AppState::loadLiveBriefing()
{
    if (!m_claude)
        return;
    setBusy(m_isLoadingBriefing, true, &AppState::isLoadingBriefingChanged);
    produceBriefing();
}

QCoro::Task<> AppState::produceBriefing()
{
    const std::weak_ptr<void> alive = m_lifetime;
    std::optional<LiveBriefing> briefing = co_await m_claude->generateLiveBriefing(m_news, m_calendar);
    if (alive.expired())
        co_return;
    if (!briefing) {
        setStatus(u"⚠ Live-Briefing fehlgeschlagen"_s);
        setBusy(m_isLoadingBriefing, false, &AppState::isLoadingBriefingChanged);
        co_return;
    }
    setStatus(u"✓ Briefing-Text bereit — erzeuge Audio…"_s);
    if (!briefing->text.isEmpty()) {
        briefing->audioData = co_await m_claude->synthesizeSpeech(briefing->text);
        if (alive.expired())
            co_return;
    }
    publishLiveBriefing(std::move(*briefing));
    setBusy(m_isLoadingBriefing, false, &AppState::isLoadingBriefingChanged);
    setStatus(m_liveBriefing->audioData ? u"✓ Live-Briefing bereit — drücke Play zum Abspielen"_s
                                        : u"✓ Live-Briefing bereit (kein Audio)"_s);
}

void AppState::publishLiveBriefing(LiveBriefing briefing)
{
    m_liveBriefing = std::move(briefing);
    emit liveBriefingChanged();
}

void AppState::publishMarketOverview(MarketOverview overview)
{
    m_marketOverview = std::move(overview);
    emit marketOverviewChanged();
}

void AppState::clearLiveBriefing()
{
    m_liveBriefing.reset();
    emit liveBriefingChanged();
}

void AppState::clearMarketOverview()
{
    m_marketOverview.reset();
    emit marketOverviewChanged();
}

void AppState::loadMarketOverview()
{
    if (!m_claude)
        return;
    setBusy(m_isLoadingOverview, true, &AppState::isLoadingOverviewChanged);
    produceOverview();
}

QCoro::Task<> AppState::produceOverview()
{
    const std::weak_ptr<void> alive = m_lifetime;
    std::optional<MarketOverview> overview = co_await m_claude->generateMarketOverview(m_news, m_config.marketPairs);
    if (alive.expired())
        co_return;
    if (overview) {
        publishMarketOverview(std::move(*overview));
        setStatus(u"✓ Marktübersicht geladen"_s);
    } else {
        setStatus(u"⚠ Marktübersicht fehlgeschlagen"_s);
    }
    setBusy(m_isLoadingOverview, false, &AppState::isLoadingOverviewChanged);
}

QCoro::Task<std::optional<InstrumentAnalysis>> AppState::requestInstrumentAnalysis(QString pair)
{
    if (!m_claude)
        co_return std::nullopt;
    const PriceData quote = m_prices.value(pair);
    co_return co_await m_claude->analyzeInstrument(pair, m_news, m_calendar, quote.price, quote.changePct);
}

void AppState::setStatus(const QString &status)
{
    if (m_status == status)
        return;
    m_status = status;
    emit statusChanged();
}

void AppState::startIfNeeded()
{
    if (m_isRunning)
        return;
    m_isRunning = true;
    emit isRunningChanged();
    m_loops = std::stop_source();
    start(m_loops.get_token()); // runs on by itself; its frame is freed when it finishes
}

void AppState::stop()
{
    if (m_loops.stop_possible())
        m_loops.request_stop();
    m_loops = std::stop_source(std::nostopstate);
    // The polling services run until destroyed; a later start creates new ones.
    m_newsService.reset();
    m_priceService.reset();
    m_calendarService.reset();
    if (!m_isRunning)
        return;
    m_isRunning = false;
    emit isRunningChanged();
}

QCoro::Task<> AppState::start(std::stop_token stop)
{
    const std::weak_ptr<void> alive = m_lifetime;

    const StartupFiles files = co_await QtConcurrent::run(readStartupFiles, m_endpointsFile, m_endpoints);
    if (alive.expired())
        co_return;
    for (const QString &problem : files.endpointProblems)
        qWarning().noquote() << "[Endpoints] ✗" << m_endpointsFile + u':' << problem;
    m_endpoints = files.endpoints;
    setConfig(files.config);

    auto db = std::make_shared<DatabaseService>(files.databasePath, m_clock);
    co_await db->open();
    if (alive.expired())
        co_return;
    m_db = db;

    createServices();

    setStatus(u"Lade gespeicherte News…"_s);
    QList<NewsItem> stored = co_await db->loadRecent(storedNewsAtStart);
    if (alive.expired())
        co_return;
    if (!stored.isEmpty()) {
        const auto count = stored.size();
        replaceNews(std::move(stored));
        setStatus(u"%1 News aus Datenbank geladen"_s.arg(count));
    }

    setStatus(u"Starte Dienste…"_s);
    co_await probeModel();
    if (alive.expired() || stop.stop_requested())
        co_return; // gone or stopped while starting
    launchLoops(stop);
    emit started();
}

void AppState::createServices()
{
    m_claude = std::make_unique<ClaudeService>(aiBackend(), m_clock);
    m_newsService = std::make_unique<NewsService>(m_config, m_db, m_endpoints, m_clock);
    m_priceService = std::make_unique<PriceService>(m_config, m_endpoints, m_clock);
    m_calendarService = std::make_unique<CalendarService>(m_config, m_endpoints, m_clock);
    m_scannerService = std::make_unique<ScannerService>(m_clock);
    emit aiAvailableChanged();
}

QCoro::Task<> AppState::probeModel()
{
    const std::weak_ptr<void> alive = m_lifetime;
    const quint64 round = ++m_aiRound;
    setAiCheck(AiCheck::Checking);
    const QString model = co_await m_claude->findWorkingModel();
    if (alive.expired() || round != m_aiRound)
        co_return; // a later probe, perhaps of a newer client, has the say
    if (m_aiModel != model) {
        m_aiModel = model;
        emit aiModelChanged();
    }
    if (model.isEmpty()) {
        setAiCheck(AiCheck::Unreachable);
        setStatus(u"⚠ AI-Backend nicht erreichbar"_s);
        co_return;
    }
    setAiCheck(AiCheck::Answered);
    setStatus(u"✓ Claude bereit ("_s + shortModelName(model) + u')');
}

QUrl AppState::aiBackend() const
{
    return m_aiRoute.backend.isEmpty() ? QUrl(m_endpoints.url(u"backend"_s)) : m_aiRoute.backend;
}

void AppState::setAiCheck(AiCheck check)
{
    if (m_aiCheck == check)
        return;
    m_aiCheck = check;
    emit aiLinkChanged();
}

void AppState::setAiRoute(AiRoute route)
{
    m_aiRoute = std::move(route);
    m_aiSpeech = m_aiRoute.speech;
    emit aiLinkChanged();
}

QCoro::Task<> AppState::rerouteAi()
{
    const std::weak_ptr<void> alive = m_lifetime;
    if (m_aiRouter) {
        if (!m_aiWorker)
            m_aiWorker = std::make_unique<SerialWorker>();
        setAiCheck(AiCheck::Checking);
        auto choosing = m_aiWorker->run(m_aiRouter);
        AiRoute route = co_await choosing;
        if (alive.expired())
            co_return;
        setAiRoute(std::move(route));
    }
    if (!m_claude)
        co_return; // not started yet: the start makes the client for this route and probes it
    m_claude = std::make_unique<ClaudeService>(aiBackend(), m_clock);
    emit aiAvailableChanged();
    co_await probeModel();
}

QCoro::Task<> AppState::testAiConnection()
{
    const std::weak_ptr<void> alive = m_lifetime;
    if (!m_claude)
        co_return;
    co_await probeModel();
    if (alive.expired() || m_aiCheck != AiCheck::Answered)
        co_return;
    const quint64 round = m_aiRound;
    // A word is enough to learn whether the backend speaks.
    const std::optional<QByteArray> audio = co_await m_claude->synthesizeSpeech(u"Test"_s);
    if (alive.expired() || round != m_aiRound)
        co_return;
    m_aiSpeech = audio.has_value();
    emit aiLinkChanged();
}

void AppState::launchLoops(std::stop_token stop)
{
    // Deliveries hold the state weakly: once it is going away they do nothing.
    const std::weak_ptr<void> alive = m_lifetime;
    m_newsService->run([this, alive](const NewsItem &item) { if (!alive.expired()) onNewsItem(item); },
                       [this, alive](const QDateTime &at, bool ok) { if (!alive.expired()) onNewsCycle(at, ok); });
    m_priceService->run([this, alive](const QMap<QString, PriceData> &p) { if (!alive.expired()) onPrices(p); });
    m_calendarService->run([this, alive](const QList<CalendarEvent> &e) { if (!alive.expired()) onCalendar(e); });
    scannerLoop(stop);
    sessionsLoop(stop);
}

QCoro::Task<> AppState::scannerLoop(std::stop_token stop)
{
    // The first scan waits for the first prices and headlines to arrive.
    auto pause = 10s;
    while (!stop.stop_requested()) {
        const bool slept = co_await m_clock.sleep(pause, stop);
        if (!slept)
            co_return;
        refreshScanner();
        pause = 15s;
    }
}

QCoro::Task<> AppState::sessionsLoop(std::stop_token stop)
{
    while (!stop.stop_requested()) {
        updateSessions();
        const bool slept = co_await m_clock.sleep(30s, stop);
        if (!slept)
            co_return;
    }
}

void AppState::updateSessions()
{
    publishSessions(TradingSessions::at(m_clock.now().toLocalTime()));
}

void AppState::publishSessions(const TradingSessions &current)
{
    if (current.active == m_sessions && current.overlap == m_sessionOverlap)
        return;
    m_sessions = current.active;
    m_sessionOverlap = current.overlap;
    emit sessionsChanged();
}

void AppState::refreshScanner()
{
    if (!m_scannerService)
        return;
    m_scanner = m_scannerService->scan(m_prices, m_news, m_calendar);
    emit scannerChanged();
}

void AppState::replaceNews(QList<NewsItem> items)
{
    // Newest first is what onNewsItem relies on; a stored row whose date could
    // not be read comes back dated now and may be out of place.
    std::stable_sort(items.begin(), items.end(),
                     [](const NewsItem &a, const NewsItem &b) { return b.published < a.published; });
    m_news = std::move(items);
    emit newsReplaced();
    emit newsCountChanged();
}

void AppState::onNewsItem(const NewsItem &item)
{
    const auto sameId = [&](const NewsItem &n) { return n.id == item.id; };
    if (std::any_of(m_news.cbegin(), m_news.cend(), sameId))
        return;

    const std::optional<QDateTime> newestBefore =
        m_news.isEmpty() ? std::nullopt : std::optional(m_news.first().published);

    // Newest first; an item as old as others goes after them. The list is
    // kept in that order, so a binary search finds the place: a first cycle
    // brings thousands of items.
    const auto position = std::partition_point(m_news.cbegin(), m_news.cend(),
                                               [&](const NewsItem &n) { return !(n.published < item.published); });
    const int row = int(position - m_news.cbegin());
    if (row < maxNews) {
        m_news.insert(row, item);
        emit newsInserted(row);
        if (m_news.size() > maxNews) {
            m_news.removeLast();
            emit newsRemoved(maxNews);
        } else {
            emit newsCountChanged();
        }
    }

    const bool isNewest = row == 0 && (!newestBefore || item.published >= *newestBefore);
    if (isNewest)
        m_playSound(item.score >= 8.0 ? m_config.newsSoundHighImpact : m_config.newsSoundNormal);

    if (!m_config.claudeApiKey.isEmpty() && m_claude)
        scoreNews(item);
}

QCoro::Task<> AppState::scoreNews(NewsItem item)
{
    const std::weak_ptr<void> alive = m_lifetime;
    std::optional<NewsAnalysis> analysis = co_await m_claude->analyzeNews(item);
    if (alive.expired())
        co_return;
    if (analysis && analysis->relevant)
        applyScore(item.id, std::move(*analysis));
    else
        removeNews(item.id);
}

void AppState::applyScore(const QString &id, NewsAnalysis analysis)
{
    analysis.score = std::clamp(analysis.score, 1.0, 10.0);
    const auto row = std::find_if(m_news.begin(), m_news.end(), [&](const NewsItem &n) { return n.id == id; });
    if (row != m_news.end()) {
        row->analysis = analysis;
        row->score = analysis.score;
        emit newsUpdated(int(row - m_news.begin()));
    }
    if (m_db)
        m_db->updateAnalysis(id, analysis, analysis.score);
    if (analysis.score < m_config.alertMinScore || row == m_news.end())
        return;
    const QString headline = analysis.headline.isEmpty() ? row->title : analysis.headline;
    setStatus(u"⚡ [%1/10] "_s.arg(qint64(analysis.score)) + row->source + u": "_s + headline.left(70));
}

void AppState::removeNews(const QString &id)
{
    bool removed = false;
    for (int row = int(m_news.size()) - 1; row >= 0; --row) {
        if (m_news[row].id != id)
            continue;
        m_news.removeAt(row);
        emit newsRemoved(row);
        removed = true;
    }
    if (removed)
        emit newsCountChanged();
}

void AppState::onNewsCycle(const QDateTime &startedAt, bool healthy)
{
    m_newsLastCheckedAt = startedAt;
    m_newsFetchHealthy = healthy;
    emit newsCycleChanged();
}

void AppState::onPrices(const QMap<QString, PriceData> &prices)
{
    // Instruments missing from this delivery keep their last quote.
    for (auto it = prices.cbegin(); it != prices.cend(); ++it)
        m_prices.insert(it.key(), it.value());
    emit pricesChanged();
}

void AppState::onCalendar(const QList<CalendarEvent> &events)
{
    m_calendar = events;
    m_calendarLoadedOnce = true;
    emit calendarChanged();
}

QString AppState::shortModelName(const QString &modelId)
{
    return QString(modelId).remove("claude-"_L1).remove("-2024"_L1);
}

} // namespace kalvo
