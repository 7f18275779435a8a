// kalvo-backend: the app's AI backend as a stand-alone server.
#include "BackendServer.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QProcessEnvironment>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace kalvo::backend;

namespace {

void fail(const QString &message)
{
    std::fprintf(stderr, "kalvo-backend: %s\n", message.toUtf8().constData());
}

std::optional<QByteArray> readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(u"%1: %2"_s.arg(path, file.errorString()));
        return std::nullopt;
    }
    return file.readAll();
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"kalvo-backend"_s);
    QCoreApplication::setApplicationVersion(AppRelease::current().version);

    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"AI backend for Kalvo: /_functions/aiClaude, /_functions/aiTTS and /_functions/appVersion.\n"
        "Access tokens come from KALVO_BACKEND_TOKENS (comma-separated) and --tokens-file;\n"
        "vendor keys from ANTHROPIC_API_KEY and OPENAI_API_KEY, overridden by --keys-file."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption listenOption(u"listen"_s, u"Address to listen on."_s, u"address"_s, u"127.0.0.1"_s);
    const QCommandLineOption portOption(u"port"_s, u"Port (0: any free port)."_s, u"port"_s, u"8787"_s);
    const QCommandLineOption modeOption(u"mode"_s, u"proxy (vendor APIs) or offline (local analyst and speech)."_s,
                                        u"mode"_s, u"offline"_s);
    const QCommandLineOption tokensFileOption(u"tokens-file"_s, u"Access tokens, one per line."_s, u"path"_s);
    const QCommandLineOption keysFileOption(u"keys-file"_s, u"ANTHROPIC_API_KEY=… and OPENAI_API_KEY=… lines."_s,
                                            u"path"_s);
    const QCommandLineOption anthropicOption(u"anthropic-base"_s, u"Anthropic API base address."_s, u"url"_s,
                                             u"https://api.anthropic.com"_s);
    const QCommandLineOption openaiOption(u"openai-base"_s, u"OpenAI API base address."_s, u"url"_s,
                                          u"https://api.openai.com"_s);
    const QCommandLineOption rateOption(u"requests-per-minute"_s, u"Sustained requests per token and minute."_s,
                                        u"n"_s, u"60"_s);
    const QCommandLineOption burstOption(u"burst"_s, u"Requests a token may send at once."_s, u"n"_s, u"60"_s);
    const QCommandLineOption versionOption(
        u"release-version"_s, u"Version announced by appVersion (KALVO_RELEASE_VERSION; default: this build's)."_s,
        u"version"_s);
    const QCommandLineOption downloadOption(u"download-url"_s,
                                            u"Download address announced by appVersion (KALVO_DOWNLOAD_URL)."_s,
                                            u"url"_s);
    const QCommandLineOption notesOption(u"release-notes"_s,
                                         u"Release notes announced by appVersion (KALVO_RELEASE_NOTES)."_s, u"text"_s);
    const QCommandLineOption notesFileOption(u"release-notes-file"_s,
                                             u"Release notes from a UTF-8 text file; wins over --release-notes."_s,
                                             u"path"_s);
    parser.addOptions({listenOption, portOption, modeOption, tokensFileOption, keysFileOption, anthropicOption,
                       openaiOption, rateOption, burstOption, versionOption, downloadOption, notesOption,
                       notesFileOption});
    parser.process(app);

    BackendOptions options;
    const QString mode = parser.value(modeOption);
    if (mode != "proxy"_L1 && mode != "offline"_L1) {
        fail(u"--mode must be proxy or offline"_s);
        return 2;
    }
    options.mode = mode == "proxy"_L1 ? BackendOptions::Mode::Proxy : BackendOptions::Mode::Offline;

    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    options.tokens = BackendSetup::tokensFromList(environment.value(u"KALVO_BACKEND_TOKENS"_s));
    if (parser.isSet(tokensFileOption)) {
        const auto content = readFile(parser.value(tokensFileOption));
        if (!content)
            return 2;
        options.tokens += BackendSetup::tokensFromFile(*content);
    }
    options.anthropicKey = environment.value(u"ANTHROPIC_API_KEY"_s);
    options.openaiKey = environment.value(u"OPENAI_API_KEY"_s);
    if (parser.isSet(keysFileOption)) {
        const auto content = readFile(parser.value(keysFileOption));
        if (!content)
            return 2;
        const QMap<QString, QString> keys = BackendSetup::keysFromFile(*content);
        options.anthropicKey = keys.value(u"ANTHROPIC_API_KEY"_s, options.anthropicKey);
        options.openaiKey = keys.value(u"OPENAI_API_KEY"_s, options.openaiKey);
    }
    options.anthropicBase = QUrl(parser.value(anthropicOption));
    options.openaiBase = QUrl(parser.value(openaiOption));
    options.requestsPerMinute = parser.value(rateOption).toDouble();
    options.burst = parser.value(burstOption).toInt();
    // What appVersion announces: the command line wins over the environment
    // (a systemd EnvironmentFile), which wins over the build.
    const auto releaseValue = [&](const QCommandLineOption &option, const QString &variable, const QString &fallback) {
        return parser.isSet(option) ? parser.value(option) : environment.value(variable, fallback);
    };
    options.release = {releaseValue(versionOption, u"KALVO_RELEASE_VERSION"_s, AppRelease::current().version),
                       releaseValue(downloadOption, u"KALVO_DOWNLOAD_URL"_s, QString()),
                       releaseValue(notesOption, u"KALVO_RELEASE_NOTES"_s, QString())};
    if (parser.isSet(notesFileOption)) {
        const auto content = readFile(parser.value(notesFileOption));
        if (!content)
            return 2;
        options.release.releaseNotes = QString::fromUtf8(*content).trimmed();
    }

    if (options.tokens.isEmpty()) {
        fail(u"no access token: set KALVO_BACKEND_TOKENS or --tokens-file"_s);
        return 2;
    }
    if (options.mode == BackendOptions::Mode::Proxy && (options.anthropicKey.isEmpty() || options.openaiKey.isEmpty()))
        fail(u"warning: proxy mode without %1; those calls answer 503"_s.arg(
            options.anthropicKey.isEmpty() ? u"ANTHROPIC_API_KEY"_s : u"OPENAI_API_KEY"_s));

    BackendServer server(options);
    const QHostAddress address(parser.value(listenOption));
    const quint16 port = server.listen(address, parser.value(portOption).toUShort());
    if (port == 0) {
        fail(u"cannot listen on %1:%2"_s.arg(parser.value(listenOption), parser.value(portOption)));
        return 1;
    }
    std::printf("[Backend] listening on http://%s:%u/_functions (mode %s, %lld tokens)\n",
                address.toString().toUtf8().constData(), unsigned(port),
                BackendSetup::modeName(options.mode).toUtf8().constData(), qlonglong(options.tokens.size()));
    std::fflush(stdout);
    return app.exec();
}
