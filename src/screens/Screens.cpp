// kalvo-screens OUTDIR [NAME...]: renders every screen of the app, or the
// named ones, into OUTDIR/NAME.png. Offscreen, with a fixed clock
// (Wednesday 5 March 2025, 13:07:09 UTC), demo headlines and a throw-away
// data folder, so the pictures are the same on every run. Add a screen by
// adding a row to `screens` below.

#include "app/AppState.h"
#include "app/TradingSessions.h"
#include "DemoBriefing.h"
#include "DemoCalendar.h"
#include "DemoNews.h"
#include "DemoQuotes.h"
#include "ui/instrument/InstrumentAnalysisRequest.h"
#include "ui/settings/SettingsDraft.h"
#include "core/Clock.h"
#include "core/Endpoints.h"
#include "update/UpdateService.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QTimer>
#include <QtQml/qqmlextensionplugin.h>

#include <algorithm>
#include <cstdio>
#include <functional>

Q_IMPORT_QML_PLUGIN(KalvoPlugin)

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

const QDateTime fixedNow(QDate(2025, 3, 5), QTime(13, 7, 9), QTimeZone::utc());

// What a screen's set-up can do to the window before it is grabbed.
class Stage
{
public:
    Stage(AppState &state, QQuickWindow &window) : m_state(state), m_window(window) {}

    AppState &state() { return m_state; }
    QDateTime now() const { return m_state.clock().now(); }

    void addNews(const QList<NewsItem> &items)
    {
        for (const NewsItem &item : items)
            m_state.onNewsItem(item);
    }
    void select(const QString &newsId) { m_state.selectNews(newsId); }
    void setPrices(const QMap<QString, PriceData> &quotes) { m_state.onPrices(quotes); }
    // Opens the pair sheet, as a tap on the instrument's row does.
    void openPair(const QString &pair) { m_state.setSelectedPair(pair); }
    // Shows `analysis` as the open pair sheet's answer, which opens the analysis sheet.
    void showAnalysis(const InstrumentAnalysis &analysis)
    {
        if (auto *request = qobject_cast<InstrumentAnalysisRequest *>(find(u"instrumentAnalysis"_s)))
            request->deliver(analysis);
        else
            std::fprintf(stderr, "kalvo-screens: no open pair sheet\n");
    }
    // Opens the trading-sessions dialog, as the market badge does.
    void openSessions() { setProperty(u"mainView"_s, "showSessionDialog", true); }
    // Holds the open briefing's player at a fixed moment: its own playback
    // stops, and the card shows `progress` of `seconds` as if it played on.
    void pictureBriefingPlayer(bool playing, double progress, double seconds)
    {
        if (QObject *player = find(u"briefingPlayer"_s))
            QMetaObject::invokeMethod(player, "stop");
        setProperty(u"briefingPlayerCard"_s, "animated", false);
        setProperty(u"briefingPlayerCard"_s, "playing", playing);
        setProperty(u"briefingPlayerCard"_s, "progress", progress);
        setProperty(u"briefingPlayerCard"_s, "duration", seconds);
    }
    // Shows the update alert for `release`, as a check that found it does.
    void offerUpdate(const AppVersionInfo &release)
    {
        if (auto *updates = qobject_cast<UpdateService *>(m_window.property("updateService").value<QObject *>()))
            updates->setUpdateAvailable(release);
        else
            std::fprintf(stderr, "kalvo-screens: no update service\n");
    }
    // Opens the settings sheet, as the gear does.
    void openSettings() { m_state.setProperty("showSettings", true); }
    // "Speichern" in the open settings sheet; returns once the files are
    // written and the AI probe that follows has its answer.
    void saveSettings()
    {
        auto *draft = qobject_cast<SettingsDraft *>(find(u"settingsDraft"_s));
        if (!draft) {
            std::fprintf(stderr, "kalvo-screens: no open settings sheet\n");
            return;
        }
        bool written = false;
        const QMetaObject::Connection done =
            QObject::connect(draft, &SettingsDraft::written, draft, [&written] { written = true; });
        draft->save();
        waitUntil([&] { return written && m_state.aiCheck() != AppState::AiCheck::Checking; }, 5000);
        QObject::disconnect(done);
    }
    // Scrolls a Flickable to its end once its content has been laid out.
    void scrollToEnd(const QString &objectName)
    {
        m_window.grabWindow(); // lays the content out, as a frame would
        if (QObject *flickable = find(objectName))
            flickable->setProperty("contentY", std::max(0.0, flickable->property("contentHeight").toReal()
                                                                 - flickable->property("height").toReal()));
    }
    // Lets events run until `done` holds, at most `ms` milliseconds.
    void waitUntil(const std::function<bool()> &done, int ms)
    {
        QElapsedTimer waited;
        waited.start();
        while (!done() && waited.elapsed() < ms)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    void setFilter(const QString &text) { setProperty("newsPanel", "filterText", text); }
    void setDetailHeight(qreal height) { setProperty("centerColumn", "detailHeight", height); }
    void resizeWindow(int width, int height) { m_window.resize(width, height); }
    void setProperty(const QString &objectName, const char *property, const QVariant &value)
    {
        if (QObject *item = find(objectName))
            item->setProperty(property, value);
        else
            std::fprintf(stderr, "kalvo-screens: no item %s\n", qPrintable(objectName));
    }
    QObject *find(const QString &objectName) const { return m_window.findChild<QObject *>(objectName); }

private:
    AppState &m_state;
    QQuickWindow &m_window;
};

// Behind a sheet: headlines, a quote for every instrument (an unquoted one
// shows a turning spinner, which no two pictures catch alike) and the calendar.
void fillBehindSheet(Stage &stage)
{
    QMap<QString, PriceData> quotes = demoQuotes(stage.now().addSecs(-20));
    quotes.insert(u"DXY"_s, {u"DXY"_s, u"DXY"_s, 103.842, -0.118, -0.1135, PriceData::Direction::Down,
                             stage.now().addSecs(-20)});
    quotes.insert(u"XAU/USD"_s, {u"XAU/USD"_s, u"XAU/USD"_s, 2917.40, 12.6, 0.4338, PriceData::Direction::Up,
                                 stage.now().addSecs(-20)});
    stage.addNews(demoNews(stage.now(), 40));
    stage.setPrices(quotes);
    stage.state().onCalendar(demoCalendar(stage.now()));
}

// Opens the sheet of the calendar's event with this id, as a tap on its row does.
void selectCalendarEvent(Stage &stage, const QString &eventId)
{
    for (const CalendarEvent &event : stage.state().calendar()) {
        if (event.id == eventId)
            stage.state().setSelectedCalendarEvent(event);
    }
}

// A release newer than any build of this tree, as a version endpoint announces it.
AppVersionInfo demoRelease(bool withNotes)
{
    AppVersionInfo release;
    release.version = u"1.2.0"_s;
    release.downloadUrl = u"https://kalvo.example.org/download/kalvo-1.2.0.tar.gz"_s;
    if (withNotes)
        release.releaseNotes = u"• Update-Hinweis mit Versionsvergleich\n"
                               "• Kalender: Zeitzonen der Termine korrigiert\n"
                               "• Live-Briefing startet schneller"_s;
    return release;
}

struct Screen
{
    const char *name;
    std::function<void(Stage &)> setUp;
    // The instant the clock stands at; fixedNow unless given.
    QDateTime at = {};
    // Started as `kalvo --demo`.
    bool demo = false;
};

// Saturday 11:00 UTC: the markets are closed; the quotes are Friday's last.
const QDateTime saturday(QDate(2025, 3, 8), QTime(11, 0), QTimeZone::utc());

const QList<Screen> screens{
    {"main-empty", [](Stage &) {}},
    {"news-analysed-selected",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.select(u"demo-1"_s);
         // Tall enough for every section of the detail at once.
         stage.resizeWindow(1400, 1400);
         stage.setDetailHeight(900);
     }},
    {"news-unanalysed-selected",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.select(u"demo-3"_s);
     }},
    {"news-filter-no-match",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.setFilter(u"zzz-keine-treffer"_s);
     }},
    {"demo-mode", [](Stage &stage) { stage.addNews(demoNews(stage.now(), 40)); }, {}, true},
    {"prices-open",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.setPrices(demoQuotes(stage.now().addSecs(-20)));
     }},
    {"prices-closed",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.setPrices(demoQuotes(QDateTime(QDate(2025, 3, 7), QTime(21, 59), QTimeZone::utc())));
     },
     saturday},
    {"pair-sheet",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.setPrices(demoQuotes(stage.now().addSecs(-20)));
         stage.openPair(u"EUR/USD"_s);
     }},
    {"pair-sheet-no-quote-no-news",
     [](Stage &stage) {
         stage.setPrices(demoQuotes(stage.now().addSecs(-20)));
         stage.openPair(u"XAU/USD"_s);
     }},
    {"instrument-analysis",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.setPrices(demoQuotes(stage.now().addSecs(-20)));
         // Tall enough for the whole analysis at once.
         stage.resizeWindow(1400, 1000);
         stage.openPair(u"EUR/USD"_s);
         stage.showAnalysis(demoInstrumentAnalysis());
     }},
    {"calendar-loading", [](Stage &) {}},
    {"calendar-empty", [](Stage &stage) { stage.state().onCalendar({}); }},
    {"calendar-filled", [](Stage &stage) { stage.state().onCalendar(demoCalendar(stage.now())); }},
    {"calendar-event-released",
     [](Stage &stage) {
         stage.state().onCalendar(demoCalendar(stage.now()));
         selectCalendarEvent(stage, demoCalendarReleasedId(stage.now()));
     }},
    {"calendar-event-upcoming",
     [](Stage &stage) {
         const QList<CalendarEvent> events = demoCalendar(stage.now());
         stage.state().onCalendar(events);
         selectCalendarEvent(stage, events.at(1).id);
     }},
    {"scanner-setups",
     [](Stage &stage) {
         stage.addNews(demoNews(stage.now(), 40));
         stage.setPrices(demoQuotes(stage.now().addSecs(-20)));
         stage.state().onCalendar(demoCalendar(stage.now()));
         stage.state().refreshScanner();
         stage.state().setProperty("showScannerPanel", true);
     }},
    // Before the first scan: no result yet.
    {"scanner-no-setups", [](Stage &stage) { stage.state().setProperty("showScannerPanel", true); }},
    {"briefing-playing",
     [](Stage &stage) {
         fillBehindSheet(stage);
         stage.state().publishLiveBriefing(demoBriefing(true));
         stage.pictureBriefingPlayer(true, 0.4, 62);
     }},
    {"briefing-no-audio",
     [](Stage &stage) {
         fillBehindSheet(stage);
         stage.state().publishLiveBriefing(demoBriefing(false));
     }},
    {"overview-risk-on",
     [](Stage &stage) {
         fillBehindSheet(stage);
         stage.state().publishMarketOverview(demoOverview(true));
     }},
    {"overview-risk-off",
     [](Stage &stage) {
         fillBehindSheet(stage);
         stage.state().publishMarketOverview(demoOverview(false));
     }},
    // 14:07 in Berlin: London and New York are both open.
    {"sessions-overlap",
     [](Stage &stage) {
         fillBehindSheet(stage);
         stage.openSessions();
     }},
    // The session clock never finds every session closed; this is the
    // dialog before its first reading.
    {"sessions-none",
     [](Stage &stage) {
         fillBehindSheet(stage);
         stage.state().publishSessions({});
         stage.openSessions();
     }},
};

// Runs until `signal` fires or `ms` pass; true when it fired.
template<typename Sender, typename Signal>
bool waitFor(Sender *sender, Signal signal, int ms)
{
    QEventLoop loop;
    bool fired = false;
    QObject::connect(sender, signal, &loop, [&] {
        fired = true;
        loop.quit();
    });
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
    return fired;
}

bool render(const Screen &screen, const QString &outDir)
{
    ManualClock clock(screen.at.isValid() ? screen.at : fixedNow);
    AppState state(clock);
    // Never checks: the screens set what a check would have found.
    UpdateService updates(clock);
    state.setDemo(screen.demo);
    state.setSoundPlayer([](const QString &) {});
    // Nothing listens there: every service gives up at once, without network.
    state.setEndpoints(Endpoints::fromJson(R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})",
                                           nullptr));

    QQmlApplicationEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.setInitialProperties({
        {u"appState"_s, QVariant::fromValue(&state)},
        {u"updateService"_s, QVariant::fromValue(&updates)},
        {u"monoFamily"_s, QFontDatabase::systemFont(QFontDatabase::FixedFont).family()},
    });
    engine.load(QUrl(u"qrc:/qt/qml/Kalvo/Main.qml"_s));
    auto *window = engine.rootObjects().isEmpty() ? nullptr
                                                  : qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (!window)
        return false;
    if (!state.isRunning() || !waitFor(&state, &AppState::started, 10000))
        std::fprintf(stderr, "kalvo-screens: %s: start-up did not finish\n", screen.name);

    Stage stage(state, *window);
    stage.setProperty(u"centerColumn"_s, "animated", false);
    screen.setUp(stage);
    if (QObject *topBarClock = stage.find(u"topBarClock"_s))
        QMetaObject::invokeMethod(topBarClock, "tick");
    QCoreApplication::processEvents();

    const QString path = QDir(outDir).filePath(QString::fromLatin1(screen.name) + u".png"_s);
    if (!window->grabWindow().save(path)) {
        std::fprintf(stderr, "kalvo-screens: cannot write %s\n", qPrintable(path));
        return false;
    }
    std::printf("%s\n", qPrintable(path));
    return true;
}

} // namespace

int main(int argc, char *argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QQuickStyle::setStyle(u"Basic"_s);

    const QStringList args = app.arguments().mid(1);
    if (args.isEmpty()) {
        std::fprintf(stderr, "usage: kalvo-screens OUTDIR [SCREEN...]\nscreens:");
        for (const Screen &screen : screens)
            std::fprintf(stderr, " %s", screen.name);
        std::fprintf(stderr, "\n");
        return 2;
    }
    const QString outDir = args.first();
    const QStringList wanted = args.mid(1);
    if (!QDir().mkpath(outDir)) {
        std::fprintf(stderr, "kalvo-screens: cannot create %s\n", qPrintable(outDir));
        return 1;
    }
    // A data folder of its own: no stored headlines, the default configuration.
    QTemporaryDir dataDir;
    qputenv("KALVO_DATA_DIR", dataDir.path().toUtf8());

    int failures = 0;
    int rendered = 0;
    for (const Screen &screen : screens) {
        if (!wanted.isEmpty() && !wanted.contains(QString::fromLatin1(screen.name)))
            continue;
        ++rendered;
        failures += render(screen, outDir) ? 0 : 1;
    }
    if (rendered == 0) {
        std::fprintf(stderr, "kalvo-screens: no such screen\n");
        return 2;
    }
    return failures == 0 ? 0 : 1;
}
