#include "EmbeddedBackend.h"

#include "BackendServer.h"
#include "core/Config.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

#include <array>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

const char tokenVariable[] = "KALVO_BACKEND_TOKEN";

QString firstKey(const QString &fromEnvironment, const QString &fromConfig)
{
    const QString environment = fromEnvironment.trimmed();
    return environment.isEmpty() ? fromConfig.trimmed() : environment;
}

QString modeWord(backend::BackendOptions::Mode mode)
{
    return mode == backend::BackendOptions::Mode::Proxy ? u"Vendor-Proxy"_s : u"Offline-Analyst"_s;
}

} // namespace

VendorKeys VendorKeys::find(const QProcessEnvironment &environment, const Config &config)
{
    return {firstKey(environment.value(u"ANTHROPIC_API_KEY"_s), config.claudeApiKey),
            firstKey(environment.value(u"OPENAI_API_KEY"_s), config.openaiApiKey)};
}

EmbeddedBackend::EmbeddedBackend()
{
    m_thread.setObjectName(u"kalvo-backend"_s);
}

EmbeddedBackend::~EmbeddedBackend()
{
    stop();
}

QString EmbeddedBackend::freshToken()
{
    std::array<quint32, 8> words;
    QRandomGenerator::system()->fillRange(words.data(), words.size());
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char *>(words.data()), qsizetype(sizeof(words))).toHex());
}

namespace {
constexpr int unlimitedRequests = 1'000'000;
}

bool EmbeddedBackend::start(backend::BackendOptions options)
{
    if (m_thread.isRunning())
        return false;
    const QString token = freshToken();
    options.tokens = {token};
    // The only client is this app, which throttles itself; after its one-minute
    // wait every held-back headline goes out at once, and a refusal here
    // would drop those headlines from the list.
    options.requestsPerMinute = unlimitedRequests;
    options.burst = unlimitedRequests;
    const QString mode = modeWord(options.mode);

    m_home = new QObject;
    m_home->moveToThread(&m_thread);
    m_thread.start();
    QUrl url;
    // The server's sockets, timers and coroutines belong to the thread that
    // creates it, so it is made and bound there; the caller waits for the port.
    QMetaObject::invokeMethod(
        m_home,
        [this, &options, &url] {
            auto server = std::make_unique<backend::BackendServer>(std::move(options));
            if (server->listen(QHostAddress::LocalHost, 0) == 0)
                return;
            url = server->functionsUrl();
            m_server = server.release();
        },
        Qt::BlockingQueuedConnection);
    if (!m_server) {
        stop();
        std::fprintf(stdout, "[Backend] ✗ Kein freier Loopback-Port für das eingebettete AI-Backend\n");
        std::fflush(stdout);
        return false;
    }
    m_functionsUrl = url;
    m_token = token.toLatin1();
    qputenv(tokenVariable, m_token);
    std::fprintf(stdout, "[Backend] ✓ Eingebettet (%s) auf %s\n", mode.toUtf8().constData(),
                 url.toString().toUtf8().constData());
    std::fflush(stdout);
    return true;
}

void EmbeddedBackend::stop()
{
    if (m_thread.isRunning()) {
        QMetaObject::invokeMethod(
            m_home,
            [this] {
                delete m_server;
                m_server = nullptr;
            },
            Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }
    delete m_home; // its thread has ended: nothing delivers events to it any more
    m_home = nullptr;
    // A later start, or a test, must not find a token nobody accepts.
    if (!m_token.isEmpty() && qgetenv(tokenVariable) == m_token)
        qunsetenv(tokenVariable);
    m_token.clear();
    m_functionsUrl.clear();
}

bool EmbeddedBackend::namesBackend(const QByteArray &endpointsJson)
{
    const QJsonDocument document = QJsonDocument::fromJson(endpointsJson);
    return document.isObject() && document.object().contains("backend"_L1);
}

Endpoints EmbeddedBackend::withBackend(const QByteArray &endpointsJson, const QUrl &backend, QStringList *problems)
{
    QJsonObject addresses;
    if (!endpointsJson.isEmpty()) {
        QJsonParseError error;
        const QJsonDocument document = QJsonDocument::fromJson(endpointsJson, &error);
        if (document.isObject())
            addresses = document.object();
        else
            problems->append(u"kein JSON-Objekt (%1)"_s.arg(error.errorString()));
    }
    addresses.insert(u"backend"_s, backend.toString());
    return Endpoints::fromJson(QJsonDocument(addresses).toJson(QJsonDocument::Compact), problems);
}

AiBackendChoice AiBackendChoice::make(EmbeddedBackend &embedded, const QString &endpointsFile, const VendorKeys &keys,
                                      backend::BackendOptions proxy)
{
    AiBackendChoice choice;
    QByteArray content;
    if (!endpointsFile.isEmpty()) {
        QFile file(endpointsFile);
        if (file.open(QIODevice::ReadOnly))
            content = file.readAll();
        else
            choice.problems.append(u"%1: %2"_s.arg(endpointsFile, file.errorString()));
    }
    if (EmbeddedBackend::namesBackend(content)) {
        choice.kind = Kind::Named;
        choice.problems.clear(); // AppState reads the file and reports them itself
        return choice;
    }
    if (keys.anthropic.isEmpty()) {
        choice.problems.clear();
        return choice;
    }
    proxy.mode = backend::BackendOptions::Mode::Proxy;
    proxy.anthropicKey = keys.anthropic;
    proxy.openaiKey = keys.openai;
    if (!embedded.start(std::move(proxy))) {
        choice.problems.clear();
        return choice;
    }
    choice.kind = Kind::Embedded;
    choice.endpoints = EmbeddedBackend::withBackend(content, embedded.functionsUrl(), &choice.problems);
    return choice;
}

AiBackendChoice AiBackendChoice::choose(EmbeddedBackend &embedded, const QString &named,
                                        backend::BackendOptions proxy)
{
    embedded.stop();
    const QString file = Endpoints::chooseFile(named);
    const VendorKeys keys = VendorKeys::find(QProcessEnvironment::systemEnvironment(), ConfigFiles::load());
    AiBackendChoice choice = make(embedded, file, keys, std::move(proxy));
    choice.endpointsFile = file;
    choice.route.namedFile = named;
    switch (choice.kind) {
    case Kind::Embedded:
        choice.route.kind = AiRoute::Kind::Embedded;
        choice.route.backend = embedded.functionsUrl();
        choice.route.speech = !keys.openai.isEmpty();
        break;
    case Kind::Named:
    case Kind::None: {
        choice.route.kind = choice.kind == Kind::Named ? AiRoute::Kind::Shared : AiRoute::Kind::Default;
        // The address AppState takes from the same file; its problems are
        // AppState's to report.
        QStringList ignored;
        const Endpoints addresses = file.isEmpty() ? Endpoints() : Endpoints::fromFile(file, &ignored);
        choice.route.backend = QUrl(addresses.url(u"backend"_s));
        break;
    }
    }
    return choice;
}

} // namespace kalvo
