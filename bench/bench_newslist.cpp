// The news list's share of the GUI thread with 200 headlines on screen: one
// arriving headline (model insert, the oldest row dropped, re-layout, a
// rendered frame) and one re-scored headline (one changed row, a frame),
// beside a frame with nothing changed; then the resident memory of the
// process with the window up. Offscreen; run it on a quiet machine.

#include "app/AppState.h"
#include "app/DemoNews.h"
#include "core/Clock.h"
#include "core/Endpoints.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
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

constexpr int rounds = 60;

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

long residentKilobytes()
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    }
    return -1;
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
    window->grabWindow(); // first frame: delegates built, caches warm

    // A fresh headline each round, newer than everything listed.
    int arrivals = 0;
    const auto arrive = [&](int) {
        NewsItem item = demoNews(start, 2).first();
        item.id = u"bench-%1"_s.arg(arrivals);
        item.published = start.addSecs(++arrivals);
        state.onNewsItem(item);
    };
    const auto rescore = [&](int round) { emit state.newsUpdated(round % 10); };

    std::printf("news list with %d headlines, %d rounds each\n", int(state.newsCount()), rounds);
    print("frame, nothing changed", time([&](int) { window->grabWindow(); }));
    print("arriving headline: model and bindings", time(arrive));
    print("arriving headline: with layout and frame", time([&](int i) {
              arrive(i);
              window->grabWindow();
          }));
    print("re-scored headline: model and bindings", time(rescore));
    print("re-scored headline: with layout and frame", time([&](int i) {
              rescore(i);
              window->grabWindow();
          }));
    std::printf("resident memory with the window up: %ld kB\n", residentKilobytes());
    return 0;
}
