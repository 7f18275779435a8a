// The right column's share of the GUI thread: a calendar delivery of two
// days of events (model reset, day groups, a rendered frame), the periodic
// countdown refresh, opening an event's sheet, and a published scanner
// result with the scanner shown. Offscreen; run it on a quiet machine.

#include "BenchWindow.h"
#include "screens/DemoCalendar.h"
#include "screens/DemoNews.h"

#include <QtQml/qqmlextensionplugin.h>

#include <array>

Q_IMPORT_QML_PLUGIN(KalvoPlugin)

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 40;

bench::Figures time(const std::function<void(int)> &work)
{
    return bench::time(rounds, work);
}

using bench::print;

// A busy calendar: an event every 20 minutes for two days, impacts and
// values mixed. `variant` changes the ids, so each delivery is a new list.
QList<CalendarEvent> busyCalendar(const QDateTime &now, int variant)
{
    const QList<CalendarEvent> pattern = demoCalendar(now);
    QList<CalendarEvent> events;
    for (int i = 0; i < 144; ++i) {
        CalendarEvent event = pattern.at(i % pattern.size());
        const QDateTime at = now.addSecs(20 * 60 * (i + 1));
        event.id = u"bench-%1-%2"_s.arg(variant).arg(i);
        event.time = at.toString(Qt::ISODate);
        event.timeDisplay = at.toLocalTime().toString(u"HH:mm"_s);
        events.append(event);
    }
    return events;
}

} // namespace

int main(int argc, char *argv[])
{
    bench::preferOffscreen();
    QGuiApplication app(argc, argv);
    bench::BenchWindow harness;
    if (!harness.load())
        return 1;
    AppState &state = harness.state;
    QQuickWindow *window = harness.window;
    const QDateTime start = harness.start;

    for (const NewsItem &item : demoNews(start, AppState::maxNews))
        state.onNewsItem(item);
    const std::array<QList<CalendarEvent>, 2> calendars{busyCalendar(start, 0), busyCalendar(start, 1)};
    state.onCalendar(calendars[1]);
    window->grabWindow(); // first frame: delegates built, caches warm

    QObject *countdownTimer = window->findChild<QObject *>(u"countdownTimer"_s);
    if (!countdownTimer)
        return 1;

    std::printf("calendar with %d events, %d rounds each\n", int(calendars[0].size()), rounds);
    print("frame, nothing changed", time([&](int) { window->grabWindow(); }));
    print("calendar delivery: model and bindings", time([&](int i) { state.onCalendar(calendars[i % 2]); }));
    print("calendar delivery: with layout and frame", time([&](int i) {
              state.onCalendar(calendars[i % 2]);
              window->grabWindow();
          }));
    print("countdown refresh: with frame", time([&](int) {
              QMetaObject::invokeMethod(countdownTimer, "triggered");
              window->grabWindow();
          }));
    print("event sheet: open, frame, close, frame", time([&](int i) {
              state.setSelectedCalendarEvent(state.calendar().at(i % 12));
              window->grabWindow();
              state.setSelectedCalendarEvent(std::nullopt);
              window->grabWindow();
          }));

    state.setProperty("showScannerPanel", true);
    state.refreshScanner();
    window->grabWindow();
    print("scanner result: scan, rows and frame", time([&](int) {
              state.refreshScanner();
              window->grabWindow();
          }));
    return 0;
}
