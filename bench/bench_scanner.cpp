// Times one scanner pass as the application runs it every 15 seconds on the
// GUI thread: sixteen instruments against 200 headlines and 100 calendar
// events. The pass has to stay well below a millisecond. "steady" is the
// usual case (the news list barely changes between scans), "all new" the
// worst one (every headline unseen, as at start-up).

#include "core/Instruments.h"
#include "scanner/ScannerRules.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

const QStringList titles{
    u"Dollar slips as Treasury yields ease after soft jobs data"_s,
    u"ECB's Lagarde: rate cut in June likely if inflation keeps easing"_s,
    u"Sterling rallies as UK wage growth beats forecasts"_s,
    u"Yen weakens past 155 as BoJ keeps policy unchanged"_s,
    u"Aussie steady ahead of RBA decision; traders eye China data"_s,
    u"Gold hits record as geopolitical tensions lift safe-haven demand"_s,
    u"Loonie firm as oil prices surge on supply concerns"_s,
    u"Swiss franc gains as SNB signals patience"_s,
};
const QString content =
    u"Markets moved cautiously on Wednesday as investors weighed the latest comments from central bank officials "
    "against a run of mixed economic data. Analysts said the outlook for interest rates remained the key driver "
    "for currencies, with the federal reserve expected to keep policy tight while growth slows. Volatility stayed "
    "low in Asian hours before picking up into the London open, where selling in bonds spilled over into FX."_s;

QMap<QString, PriceData> prices(const QDateTime &now)
{
    QMap<QString, PriceData> result;
    int i = 0;
    for (const QString &pair : scanner::scannerPairs()) {
        const double change = ((i++ % 7) - 3) * 0.07;
        result.insert(pair, {pair, pair, 1.1, change / 100, change, PriceData::Direction::Up, now});
    }
    return result;
}

QList<NewsItem> news(const QDateTime &now, int generation = 0)
{
    QList<NewsItem> items;
    for (int i = 0; i < 200; ++i) {
        NewsItem item{u"id-%1-%2"_s.arg(generation).arg(i), titles[i % titles.size()], u"FXStreet"_s, {}, now.addSecs(-300 * i),
                      content, {}, double(2 + i % 8), 1, {}};
        if (i % 3 == 0) {
            item.analysis = NewsAnalysis{};
            item.analysis->pairs = {{u"EUR/USD"_s, u"bullish"_s}, {u"USD/JPY"_s, u"bearish"_s}};
        }
        items.append(item);
    }
    return items;
}

QList<CalendarEvent> events(const QDateTime &now)
{
    static const QStringList currencies{u"USD"_s, u"EUR"_s, u"GBP"_s, u"JPY"_s, u"AUD"_s, u"CAD"_s};
    QList<CalendarEvent> result;
    for (int i = 0; i < 100; ++i) {
        CalendarEvent event;
        event.id = u"e%1"_s.arg(i);
        event.time = formatIsoUtc(now.addSecs(600 * (i - 20)));
        event.currency = currencies[i % currencies.size()];
        event.impact = i % 3 == 0 ? CalendarEvent::Impact::High : CalendarEvent::Impact::Medium;
        event.event = u"Release %1"_s.arg(i);
        result.append(event);
    }
    return result;
}

double threadCpuMicros()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1e6 + now.tv_nsec / 1e3;
}

struct Spread
{
    double median;
    double p90;
    double max;
};

Spread spreadOf(std::vector<double> micros)
{
    std::sort(micros.begin(), micros.end());
    return {micros[micros.size() / 2], micros[micros.size() * 9 / 10], micros.back()};
}

// Wall time is what a frame waiting behind the scan would see; the thread's
// CPU time is the scan's own cost, what remains when the machine is busy.
struct Figures
{
    Spread wall;
    Spread cpu;
};

template<typename Scan>
Figures timed(int runs, Scan scan)
{
    std::vector<double> wall, cpu;
    wall.reserve(size_t(runs));
    cpu.reserve(size_t(runs));
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        const double cpuStart = threadCpuMicros();
        scan(i);
        cpu.push_back(threadCpuMicros() - cpuStart);
        wall.push_back(double(timer.nsecsElapsed()) / 1000.0);
    }
    return {spreadOf(wall), spreadOf(cpu)};
}

void print(const char *label, const Figures &figures)
{
    std::printf("  %-8s wall median %7.1f us, 90th percentile %7.1f us, max %7.1f us\n", label, figures.wall.median,
                figures.wall.p90, figures.wall.max);
    std::printf("  %-8s CPU  median %7.1f us, 90th percentile %7.1f us, max %7.1f us\n", "", figures.cpu.median,
                figures.cpu.p90, figures.cpu.max);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    const QDateTime now = QDateTime(QDate(2024, 5, 8), QTime(13, 0), Qt::UTC);
    const auto quotes = prices(now);
    const auto calendar = events(now);
    const auto headlines = news(now);
    constexpr int runs = 2000, fresh = 40;
    QList<QList<NewsItem>> unseen;
    for (int generation = 1; generation <= fresh; ++generation)
        unseen.append(news(now, generation));

    int directed = 0;
    for (int i = 0; i < 50; ++i) // warm-up
        scanner::scan(quotes, headlines, calendar, now);
    const Figures steady = timed(runs, [&](int) {
        const ScannerResult result = scanner::scan(quotes, headlines, calendar, now);
        directed += int(std::count_if(result.opportunities.begin(), result.opportunities.end(),
                                      [](const Opportunity &o) { return o.direction != Opportunity::Direction::Neutral; }));
    });
    const Figures allNew = timed(fresh, [&](int i) { scanner::scan(quotes, unseen[i], calendar, now); });

    std::printf("scan of %lld instruments, %lld headlines, %lld events\n", qlonglong(scanner::scannerPairs().size()),
                qlonglong(headlines.size()), qlonglong(calendar.size()));
    print("steady", steady);
    print("all new", allNew);
    std::printf("  (directed opportunities per scan: %d)\n", directed / runs);
    return 0;
}
