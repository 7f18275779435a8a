#pragma once

// What the UI benchmarks share: the main window over a real AppState with a
// fixed clock and no reachable network, and median/p90 timing of one step.

#include "app/AppState.h"
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

#include <algorithm>
#include <cstdio>
#include <functional>

namespace bench {

using namespace Qt::StringLiterals;

struct Figures
{
    double median;
    double p90;
};

// Microseconds per call of `work`, over `rounds` calls.
inline Figures time(int rounds, const std::function<void(int)> &work)
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

inline void print(const char *what, Figures figures)
{
    std::printf("%-52s median %8.0f us   p90 %8.0f us\n", what, figures.median, figures.p90);
}

// Renders offscreen unless a platform was chosen; call before the QGuiApplication.
inline void preferOffscreen()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

// Create after the QGuiApplication. Wednesday 5 March 2025, 13:00 UTC.
struct BenchWindow
{
    const QDateTime start{QDate(2025, 3, 5), QTime(13, 0), QTimeZone::utc()};
    QTemporaryDir dataDir;
    kalvo::ManualClock clock{start};
    kalvo::AppState state{clock};
    QQmlApplicationEngine engine;
    QQuickWindow *window = nullptr;

    BenchWindow()
    {
        qputenv("KALVO_DATA_DIR", dataDir.path().toUtf8());
        QQuickStyle::setStyle(u"Basic"_s);
        state.setSoundPlayer([](const QString &) {});
        state.setEndpoints(kalvo::Endpoints::fromJson(
            R"({"base":"http://127.0.0.1:9","backend":"http://127.0.0.1:9/f"})", nullptr));
    }

    // Loads the main window and waits until its start-up has run.
    bool load()
    {
        engine.addImportPath(u"qrc:/qt/qml"_s);
        engine.setInitialProperties({{u"appState"_s, QVariant::fromValue(&state)}, {u"monoFamily"_s, QString()}});
        engine.load(QUrl(u"qrc:/qt/qml/Kalvo/Main.qml"_s));
        if (engine.rootObjects().isEmpty())
            return false;
        window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
        QEventLoop waitForStart;
        QObject::connect(&state, &kalvo::AppState::started, &waitForStart, &QEventLoop::quit);
        QTimer::singleShot(10000, &waitForStart, &QEventLoop::quit);
        waitForStart.exec();
        return window != nullptr;
    }
};

} // namespace bench
