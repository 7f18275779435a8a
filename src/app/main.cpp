#include "AppState.h"
#include "DemoMode.h"
#include "EmbeddedBackend.h"
#include "StartupReport.h"
#include "core/Clock.h"

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
    if (parser.isSet(demoOption)) {
        if (!demo.start()) {
            qCritical("kalvo: the demo could not open a loopback port");
            return 1;
        }
        state.setEndpoints(demo.endpoints());
        state.setDemo(true);
    } else {
        const QString endpointsFile = parser.isSet(endpointsOption) ? parser.value(endpointsOption)
                                                                    : qEnvironmentVariable("KALVO_ENDPOINTS");
        // Two small files, read once before the window exists.
        const kalvo::VendorKeys keys =
            kalvo::VendorKeys::find(QProcessEnvironment::systemEnvironment(), kalvo::ConfigFiles::load());
        const kalvo::AiBackendChoice ai = kalvo::AiBackendChoice::make(embeddedBackend, endpointsFile, keys);
        if (ai.kind == kalvo::AiBackendChoice::Kind::Embedded) {
            for (const QString &problem : ai.problems)
                qWarning().noquote() << "[Endpoints] ✗" << endpointsFile + u':' << problem;
            state.setEndpoints(ai.endpoints);
        } else {
            state.setEndpointsFile(endpointsFile);
        }
    }

    QQmlApplicationEngine engine;
    engine.setInitialProperties({
        {u"appState"_s, QVariant::fromValue(&state)},
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
    return app.exec();
}
