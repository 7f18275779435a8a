#include "AppState.h"

#include "TradingSessions.h"
#include "audio/AlertSound.h"
#include "core/Clock.h"
#include "core/Paths.h"
#include "storage/DatabaseService.h"

#include <QCoroFuture>
#include <QDebug>
#include <QDir>
#include <QPointer>
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

void AppState::runDetailAnalysis(const QString &)
{
    // Wired to the AI client once it exists; until then nothing can run.
}

void AppState::loadLiveBriefing() {}

void AppState::loadMarketOverview() {}

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
    if (!m_isRunning)
        return;
    m_isRunning = false;
    emit isRunningChanged();
}

QCoro::Task<> AppState::start(std::stop_token stop)
{
    QPointer<AppState> self(this);

    const StartupFiles files = co_await QtConcurrent::run(readStartupFiles, m_endpointsFile, m_endpoints);
    if (!self)
        co_return;
    for (const QString &problem : files.endpointProblems)
        qWarning().noquote() << "[Endpoints] ✗" << m_endpointsFile + u':' << problem;
    m_endpoints = files.endpoints;
    setConfig(files.config);

    auto db = std::make_shared<DatabaseService>(files.databasePath, m_clock);
    co_await db->open();
    if (!self)
        co_return;
    m_db = db;

    setStatus(u"Lade gespeicherte News…"_s);
    QList<NewsItem> stored = co_await db->loadRecent(storedNewsAtStart);
    if (!self)
        co_return;
    if (!stored.isEmpty()) {
        std::stable_sort(stored.begin(), stored.end(),
                         [](const NewsItem &a, const NewsItem &b) { return a.published > b.published; });
        const auto count = stored.size();
        replaceNews(std::move(stored));
        setStatus(u"%1 News aus Datenbank geladen"_s.arg(count));
    }

    setStatus(u"Starte Dienste…"_s);
    // No AI client is wired in yet, so no model can answer.
    setStatus(u"⚠ AI-Backend nicht erreichbar"_s);

    if (stop.stop_requested())
        co_return; // stopped while starting
    scannerLoop(stop);
    sessionsLoop(stop);
    emit started();
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
    const TradingSessions current = TradingSessions::at(m_clock.now().toLocalTime());
    if (current.active == m_sessions && current.overlap == m_sessionOverlap)
        return;
    m_sessions = current.active;
    m_sessionOverlap = current.overlap;
    emit sessionsChanged();
}

void AppState::refreshScanner()
{
    // Nothing to do until a scanner service exists.
}

void AppState::replaceNews(QList<NewsItem> items)
{
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

    // Newest first; an item as old as others goes after them.
    const auto position = std::find_if(m_news.cbegin(), m_news.cend(),
                                       [&](const NewsItem &n) { return n.published < item.published; });
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
}

void AppState::onNewsCycle(const QDateTime &startedAt, bool healthy)
{
    m_newsLastCheckedAt = startedAt;
    m_newsFetchHealthy = healthy;
    emit newsCycleChanged();
}

QString AppState::shortModelName(const QString &modelId)
{
    return QString(modelId).remove("claude-"_L1).remove("-2024"_L1);
}

} // namespace kalvo
