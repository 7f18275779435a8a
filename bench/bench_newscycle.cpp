// One news cycle of 22 feeds x 100 new items against the simulator, then
// cycles in which nothing is new: wall time, CPU time and how long the GUI
// thread was busy. The simulator runs on a thread of its own so that serving
// the feeds does not count as GUI work. The GUI thread's share is measured
// per delivered event (QCoreApplication::notify) plus the direct calls that
// start a cycle; the requests themselves run on the news service's network
// thread and the parsing on Qt's pool, so a quiet cycle costs the GUI thread
// one posted request and one wake-up per feed. The first cycle's wall time is
// mostly the database: every insert is a transaction of its own. In the
// quiet cycles the service asks with the validators of the first answers and
// the simulator, like the publishers, answers 304: nothing is sent or parsed.

#include "MarketSimulator.h"
#include "NewsFeeds.h"
#include "core/Clock.h"
#include "sources/NewsService.h"
#include "storage/DatabaseService.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThread>
#include <QTimeZone>

#include <algorithm>
#include <cstdio>
#include <ctime>

using namespace kalvo;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

double cpuMs(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

// Times every top-level event the GUI thread handles, in wall time (what a
// frame waiting behind it would see) and in the thread's CPU time (what is
// left when the machine is busy with other work).
class TimedApplication : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    struct Busy
    {
        double wallMs = 0;
        double cpuMs = 0;
        double longestWallMs = 0;
        double longestCpuMs = 0;
        qint64 stretches = 0;
    };

    bool notify(QObject *receiver, QEvent *event) override
    {
        if (m_depth > 0 || QThread::currentThread() != thread())
            return QCoreApplication::notify(receiver, event);
        bool result = false;
        timed([&] { result = QCoreApplication::notify(receiver, event); });
        return result;
    }

    // Also for work the GUI thread does outside an event: starting the loop, moving the clock.
    template<typename Work>
    void timed(Work work)
    {
        ++m_depth;
        QElapsedTimer wall;
        wall.start();
        const double cpu = cpuMs(CLOCK_THREAD_CPUTIME_ID);
        work();
        --m_depth;
        record(wall.nsecsElapsed() / 1e6, cpuMs(CLOCK_THREAD_CPUTIME_ID) - cpu);
    }

    Busy take() { return std::exchange(m_busy, {}); }

private:
    void record(double wallMs, double cpuMs)
    {
        m_busy.wallMs += wallMs;
        m_busy.cpuMs += cpuMs;
        m_busy.longestWallMs = std::max(m_busy.longestWallMs, wallMs);
        m_busy.longestCpuMs = std::max(m_busy.longestCpuMs, cpuMs);
        ++m_busy.stretches;
    }

    int m_depth = 0;
    Busy m_busy;
};

struct Figures
{
    double wallMs;
    double processCpuMs;
    double guiCpuMs;
    double simulatorCpuMs;
    TimedApplication::Busy gui;
    qsizetype items;

    double appCpuMs() const { return processCpuMs - simulatorCpuMs; }
};

void print(const char *title, const Figures &f)
{
    std::printf("%s: %lld new items\n", title, qlonglong(f.items));
    std::printf("  wall %.1f ms; CPU: process %.1f ms, of it simulator thread %.1f ms, GUI thread %.1f ms\n", f.wallMs,
                f.processCpuMs, f.simulatorCpuMs, f.guiCpuMs);
    std::printf("  CPU of the app's part (process without the simulator thread): %.1f ms\n", f.appCpuMs());
    std::printf("  GUI thread busy in %lld stretches: %.2f ms wall (longest %.3f ms), %.2f ms CPU (longest %.3f ms)\n",
                qlonglong(f.gui.stretches), f.gui.wallMs, f.gui.longestWallMs, f.gui.cpuMs, f.gui.longestCpuMs);
}

} // namespace

int main(int argc, char *argv[])
{
    TimedApplication app(argc, argv);
    const QDateTime now(QDate(2024, 5, 3), QTime(14, 20), QTimeZone::utc());

    // The simulator lives on its own thread, its time pinned so that the feeds
    // do not change between cycles; 600 headlines a minute fill even the
    // quietest feed with 100 items of the last day.
    QThread simulatorThread;
    simulatorThread.start();
    QObject simulatorContext;
    simulatorContext.moveToThread(&simulatorThread);
    std::unique_ptr<sim::MarketSimulator> simulator;
    double simulatorCpu = 0;
    const auto onSimulatorThread = [&](auto work) {
        QMetaObject::invokeMethod(&simulatorContext, work, Qt::BlockingQueuedConnection);
    };
    const auto simulatorCpuNow = [&] {
        onSimulatorThread([&] { simulatorCpu = cpuMs(CLOCK_THREAD_CPUTIME_ID); });
        return simulatorCpu;
    };
    onSimulatorThread([&] {
        sim::SimulatorOptions options;
        options.newsPerMinute = 600;
        options.now = [now] { return now; };
        simulator = std::make_unique<sim::MarketSimulator>(options);
        simulator->news().setItemsPerFeed(100);
        simulator->start();
    });

    QTemporaryDir dir;
    ManualClock clock(now);
    auto db = std::make_shared<DatabaseService>(dir.filePath(u"kalvo_trading.db"_s), clock);
    db->open().waitForFinished();
    QStringList problems;
    const Endpoints endpoints = Endpoints::fromJson(
        QJsonDocument(QJsonObject{{u"base"_s, simulator->baseUrl().toString()}}).toJson(), &problems);
    NewsService service(Config{}, db, endpoints, clock);

    qsizetype items = 0;
    QEventLoop waiting;
    const auto measure = [&](auto start) {
        items = 0;
        app.take();
        QElapsedTimer wall;
        wall.start();
        const double process = cpuMs(CLOCK_PROCESS_CPUTIME_ID);
        const double gui = cpuMs(CLOCK_THREAD_CPUTIME_ID);
        const double simulated = simulatorCpuNow();
        app.timed(start);
        waiting.exec();
        Figures figures{wall.nsecsElapsed() / 1e6, 0, cpuMs(CLOCK_THREAD_CPUTIME_ID) - gui, 0, app.take(), items};
        figures.simulatorCpuMs = simulatorCpuNow() - simulated;
        figures.processCpuMs = cpuMs(CLOCK_PROCESS_CPUTIME_ID) - process;
        return figures;
    };

    QCoro::Task<> loop;
    const Figures first = measure([&] {
        loop = service.run([&](const NewsItem &) { ++items; }, [&](const QDateTime &, bool) { waiting.quit(); });
    });
    std::printf("news cycle against the simulator: 22 feeds x 100 items\n");
    print("first cycle, empty database", first);

    QList<Figures> quiet;
    for (int i = 0; i < 5; ++i)
        quiet << measure([&] { clock.advance(10s); });
    std::sort(quiet.begin(), quiet.end(), [](const Figures &a, const Figures &b) { return a.gui.cpuMs < b.gui.cpuMs; });
    print("cycle with nothing new (median of 5 by GUI CPU time)", quiet[2]);
    std::printf("  GUI thread CPU in events over the 5 quiet cycles: %.2f .. %.2f ms\n", quiet.first().gui.cpuMs,
                quiet.last().gui.cpuMs);
    constexpr double quietBudgetMs = 2.0;
    std::printf("  budget: GUI thread busy under %.0f ms in a quiet cycle: %s (%.2f ms wall, %.2f ms CPU)\n",
                quietBudgetMs, quiet[2].gui.wallMs < quietBudgetMs ? "met" : "MISSED", quiet[2].gui.wallMs,
                quiet[2].gui.cpuMs);
    constexpr double quietAppBudgetMs = 30.0;
    const auto byAppCpu = [](const Figures &a, const Figures &b) { return a.appCpuMs() < b.appCpuMs(); };
    const Figures &worstApp = *std::max_element(quiet.cbegin(), quiet.cend(), byAppCpu);
    std::printf("  budget: the app's CPU at most %.0f ms in every quiet cycle: %s (%.1f .. %.1f ms)\n",
                quietAppBudgetMs, worstApp.appCpuMs() <= quietAppBudgetMs ? "met" : "MISSED",
                std::min_element(quiet.cbegin(), quiet.cend(), byAppCpu)->appCpuMs(), worstApp.appCpuMs());

    onSimulatorThread([&] { simulator.reset(); });
    simulatorThread.quit();
    simulatorThread.wait();
    return first.items == 2200 && quiet[2].items == 0 ? 0 : 1;
}
