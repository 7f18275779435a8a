#pragma once

#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace kalvo {

// Where the AI requests of this run go, and what is known about that
// backend without asking it.
struct AiRoute
{
    enum class Kind {
        Default,  // no Claude key and no backend named: the built-in address is tried
        Embedded, // a kalvo-backend inside this process, with the user's vendor keys
        Shared,   // the backend an endpoints file names, reached with the access token
        Demo,     // the demo's offline analyst
    };

    Kind kind = Kind::Default;
    // The backend's /_functions address; empty: the "backend" of the
    // addresses AppState reads at its start.
    QUrl backend;
    // Whether the backend speaks, where that is known without asking it:
    // the embedded one speaks only with an OpenAI key.
    std::optional<bool> speech;
    // The endpoints file named by --endpoints or KALVO_ENDPOINTS. It decides
    // the addresses; the data folder's file is then not read.
    QString namedFile;
};

// Decides the route anew from the keys and files as they are now. It may
// stop and start the embedded backend, so it runs on a worker thread.
using AiRouter = std::function<AiRoute()>;

} // namespace kalvo
