#pragma once

#include "AiRoute.h"
#include "BackendOptions.h"
#include "core/Config.h"
#include "core/Endpoints.h"

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QThread>
#include <QUrl>

namespace kalvo {

namespace backend {
class BackendServer;
}

// The vendor keys this installation knows. The environment wins over the
// configuration, as it does for the stand-alone kalvo-backend.
struct VendorKeys
{
    QString anthropic; // ANTHROPIC_API_KEY, else the configuration's claude_api_key
    QString openai;    // OPENAI_API_KEY, else the configuration's openai_api_key

    static VendorKeys find(const QProcessEnvironment &environment, const Config &config);
};

// The AI backend inside the app's own process: a kalvo-backend server on a
// free loopback port, on a thread of its own so that neither the window nor
// the server waits for the other. Each start makes a fresh random access
// token and hands it to this process's client through the environment
// (KALVO_BACKEND_TOKEN), so the token is never written to disk and no other
// process can use the server.
class EmbeddedBackend
{
public:
    EmbeddedBackend();
    ~EmbeddedBackend(); // stops the server and its thread

    EmbeddedBackend(const EmbeddedBackend &) = delete;
    EmbeddedBackend &operator=(const EmbeddedBackend &) = delete;

    // Serves with `options`, whose tokens are replaced by the fresh one.
    // False when no loopback port could be had or it is already running.
    bool start(backend::BackendOptions options);
    void stop();

    bool isRunning() const { return m_server != nullptr; }
    // http://127.0.0.1:PORT/_functions while running.
    QUrl functionsUrl() const { return m_functionsUrl; }

    // 256 random bits from the system's generator, as 64 hex digits.
    static QString freshToken();

    // `endpointsJson` (an endpoints file's content; empty for none) with
    // "backend" pointing at `backend`, which no "base" re-roots. Problems of
    // the content are appended to `problems`, as Endpoints::fromJson does.
    static Endpoints withBackend(const QByteArray &endpointsJson, const QUrl &backend, QStringList *problems);
    // Whether an endpoints file's content names an AI backend of its own: a
    // JSON object with the key "backend". "base" alone does not.
    static bool namesBackend(const QByteArray &endpointsJson);

private:
    QThread m_thread;
    QObject *m_home = nullptr; // lives on m_thread; the server's calls are made there
    backend::BackendServer *m_server = nullptr;
    QUrl m_functionsUrl;
    QByteArray m_token;
};

// Where the AI requests of a normal start (not the demo) go, decided
// before AppState starts:
// - the endpoints file names "backend": that server. AppState reads the file.
// - else, with a Claude key: an embedded backend in vendor proxy mode;
//   AppState gets the file's addresses with "backend" pointing at it.
// - else nothing is started: AppState reads the file, the default backend
//   address stays, and the start-up probe reports "⚠ AI-Backend nicht
//   erreichbar" unless a kalvo-backend happens to answer there.
struct AiBackendChoice
{
    enum class Kind { Named, Embedded, None };

    Kind kind = Kind::None;
    Endpoints endpoints; // the addresses to hand to AppState when Embedded
    QStringList problems; // of an endpoints file read here, for the log
    QString endpointsFile; // the file that was read; empty for the built-in addresses
    AiRoute route;         // what AppState is told about the choice

    // `proxy` carries the server settings other than mode and keys (vendor
    // addresses, limits, log sink); the keys come from `keys`.
    static AiBackendChoice make(EmbeddedBackend &embedded, const QString &endpointsFile, const VendorKeys &keys,
                                backend::BackendOptions proxy = {});

    // The choice of a start that is not the demo, made with the files and
    // keys as they are now: the endpoints file `named` (--endpoints,
    // KALVO_ENDPOINTS) or else the data folder's, the keys of the environment
    // and of the configuration file. A running embedded backend is stopped
    // first, so that the same call serves the start and every later change of
    // keys or backend in the settings. Reads files and waits for the server's
    // thread: once the window exists, call it off the GUI thread.
    static AiBackendChoice choose(EmbeddedBackend &embedded, const QString &named, backend::BackendOptions proxy = {});
};

} // namespace kalvo
