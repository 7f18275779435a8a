// The right column's share of the GUI thread: a calendar delivery of two
// days of events (model reset, day groups, a rendered frame), the periodic
// countdown refresh, opening an event's sheet, and a published scanner
// result with the scanner shown. Offscreen; run it on a quiet machine.

#include "app/AppState.h"
#include "app/DemoCalendar.h"
#include "app/DemoNews.h"
#include "core/Clock.h"
#include "core/Endpoints.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>

Q_IMPORT_QML_PLUGIN(KalvoPlugin)

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

constexpr int rounds = 40;

struct Figures
{
    double median;
    double p90;
};

// Microseconds per call of `work`, over `rounds` calls.
Figures time(const std::function<void(int)> &work)
{
    QList<double> samples;
    QElapsedTimer timer;
    for (int i = 0; i < rounds; ++i) {
        timer.start();
        work(i);
        samples << timer.nsecsElapsed() / 1000.0;
    }
    std::sort(samples.begin(), samples.end());
    return {samples[rounds / 2], samples[rounds * 9 / 10]};
}

void print(const char *what, Figures figures)
{
    std::printf("%-52s median %8.0f us   p90 %8.0f us\n", what, figures.median, figures.p90);
}

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
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir dataDir;
    qputenv("KALVO_DATA_DIR", dataDir.path().toUtf8());
    QGuiApplication app(argc, argv);
    QQuickStyle::setStyle(u"Basic"_s);

    const QDateTime start(QDate(2025, 3, 5), QTime(13, 0), QTimeZone::utc());
    ManualClock clock(start);
    AppState state(clock);
    state.setSoundPlayer([](const QString &) {});
    state.setEndpoints(Endpoints::fromJson(R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})",
                                           nullptr));

    QQmlApplicationEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.setInitialProperties({{u"appState"_s, QVariant::fromValue(&state)}, {u"monoFamily"_s, QString()}});
    engine.load(QUrl(u"qrc:/qt/qml/Kalvo/Main.qml"_s));
    if (engine.rootObjects().isEmpty())
        return 1;
    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    QEventLoop waitForStart;
    QObject::connect(&state, &AppState::started, &waitForStart, &QEventLoop::quit);
    QTimer::singleShot(10000, &waitForStart, &QEventLoop::quit);
    waitForStart.exec();

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
