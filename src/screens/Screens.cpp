// kalvo-screens OUTDIR [NAME...]: renders every screen of the app, or the
// named ones, into OUTDIR/NAME.png. Offscreen, with a fixed clock
// (Wednesday 5 March 2025, 13:07:09 UTC), demo headlines and a throw-away
// data folder, so the pictures are the same on every run. Add a screen by
// adding a row to `screens` below.

#include "app/AppState.h"
#include "DemoCalendar.h"
#include "DemoNews.h"
#include "DemoQuotes.h"
#include "ui/instrument/InstrumentAnalysisRequest.h"
#include "core/Clock.h"
#include "core/Endpoints.h"

#include <QDir>
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

// Opens the sheet of the calendar's event with this id, as a tap on its row does.
void selectCalendarEvent(Stage &stage, const QString &eventId)
{
    for (const CalendarEvent &event : stage.state().calendar()) {
        if (event.id == eventId)
            stage.state().setSelectedCalendarEvent(event);
    }
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
    state.setDemo(screen.demo);
    state.setSoundPlayer([](const QString &) {});
    // Nothing listens there: every service gives up at once, without network.
    state.setEndpoints(Endpoints::fromJson(R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})",
                                           nullptr));

    QQmlApplicationEngine engine;
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.setInitialProperties({
        {u"appState"_s, QVariant::fromValue(&state)},
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
