#include "AppState.h"
#include "DemoMode.h"
#include "EmbeddedBackend.h"
#include "HeadlineTrace.h"
#include "SceneGraphChoice.h"
#include "StartupReport.h"
#include "core/Clock.h"
#include "update/UpdateService.h"

#include <QCommandLineParser>
#include <QDebug>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(KalvoPlugin)

using namespace Qt::StringLiterals;

int main(int argc, char *argv[])
{
    kalvo::StartupReport report; // starts its stopwatch before anything else
    QGuiApplication app(argc, argv);
    QGuiApplication::setApplicationName(u"Kalvo"_s);
    QGuiApplication::setApplicationVersion(QStringLiteral(KALVO_VERSION));
    QQuickStyle::setStyle(u"Basic"_s);

    QCommandLineParser parser;
    parser.setApplicationDescription(u"Kalvo — FX-Nachrichten, Preise und Kalender"_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption endpointsOption(u"endpoints"_s, u"Endpoints file (JSON)."_s, u"file"_s);
    const QCommandLineOption reportOption(
        u"startup-report"_s, u"Print when the first frame and the stored news appeared, then quit."_s);
    const QCommandLineOption demoOption(
        u"demo"_s, u"Simulated markets on this machine; no network needed, data kept apart."_s);
    parser.addOption(endpointsOption);
    parser.addOption(demoOption);
    parser.addOption(reportOption);
    parser.process(app);

    // Declared before the state so that the servers outlive the clients.
    kalvo::DemoMode demo;
    kalvo::EmbeddedBackend embeddedBackend;
    kalvo::AppState state(kalvo::Clock::system());
    // Beside the state for the life of the process. Its check waits for the
    // state's start-up, which reads the endpoints file the version endpoints
    // come from; then it runs in the background.
    kalvo::UpdateService updates(kalvo::Clock::system());
    QObject::connect(
        &state, &kalvo::AppState::started, &updates,
        [&state, &updates] {
            updates.setEndpoints(state.endpoints());
            updates.startBackgroundCheck();
        },
        Qt::SingleShotConnection);
    if (parser.isSet(demoOption)) {
        if (!demo.start()) {
            qCritical("kalvo: the demo could not open a loopback port");
            return 1;
        }
        state.setEndpoints(demo.endpoints());
        state.setDemo(true);
        state.setAiRoute({kalvo::AiRoute::Kind::Demo, {}, true, {}});
    } else {
        // Without a file named here, the data folder's endpoints.json is read when it exists.
        const QString namedFile = parser.isSet(endpointsOption) ? parser.value(endpointsOption)
                                                                : qEnvironmentVariable("KALVO_ENDPOINTS");
        const auto choose = [&embeddedBackend, namedFile] {
            const kalvo::AiBackendChoice ai = kalvo::AiBackendChoice::choose(embeddedBackend, namedFile);
            for (const QString &problem : ai.problems)
                qWarning().noquote() << "[Endpoints] ✗" << ai.endpointsFile + u':' << problem;
            return ai;
        };
        // Two small files, read once before the window exists.
        const kalvo::AiBackendChoice ai = choose();
        if (ai.kind == kalvo::AiBackendChoice::Kind::Embedded)
            state.setEndpoints(ai.endpoints);
        else
            state.setEndpointsFile(ai.endpointsFile);
        state.setAiRoute(ai.route);
        // Keys or a backend saved in the settings take effect without a restart.
        state.setAiRouter([choose] { return choose().route; });
    }

    if (const QString renderer = kalvo::SceneGraphChoice::apply(); !renderer.isEmpty())
        qInfo().noquote() << "[Grafik] OpenGL nur in Software (" + renderer + u"): Qt Quick zeichnet selbst, nur geänderte Bereiche"_s;

    QQmlApplicationEngine engine;
    engine.setInitialProperties({
        {u"appState"_s, QVariant::fromValue(&state)},
        {u"updateService"_s, QVariant::fromValue(&updates)},
        {u"monoFamily"_s, QFontDatabase::systemFont(QFontDatabase::FixedFont).family()},
    });
    QObject::connect(&engine, &QQmlApplicationEngine::objectCreationFailed, &app,
                     [] { QCoreApplication::exit(1); }, Qt::QueuedConnection);
    engine.addImportPath(u"qrc:/qt/qml"_s);
    engine.load(QUrl(u"qrc:/qt/qml/Kalvo/Main.qml"_s));
    if (engine.rootObjects().isEmpty())
        return 1;

    auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().constFirst());
    if (parser.isSet(reportOption))
        report.watch(window, &state);
    if (window)
        new kalvo::HeadlineTrace(state, *window); // owned by the window
    return app.exec();
}
