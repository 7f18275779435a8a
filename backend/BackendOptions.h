#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <functional>

namespace kalvo::backend {

// What the update check of the app learns about the current release.
struct AppRelease
{
    QString version;
    QString downloadUrl;
    QString releaseNotes;

    // The version this backend was built with, without link or notes.
    static AppRelease current();
};

// Everything a backend server is configured with. A default-constructed
// value is an offline server with the production limits and no access token;
// callers add at least one token.
struct BackendOptions
{
    enum class Mode {
        Proxy,   // the language model and the speech come from the vendors' APIs
        Offline, // deterministic answers and local speech, no network
    };

    Mode mode = Mode::Offline;
    QStringList tokens; // the access tokens clients send in "token"

    QString anthropicKey;
    QString openaiKey;
    QUrl anthropicBase{QStringLiteral("https://api.anthropic.com")};
    QUrl openaiBase{QStringLiteral("https://api.openai.com")};
    // Below the app's own time-outs (35 s and 90 s) so that it receives a
    // clean failure instead of giving up itself.
    std::chrono::milliseconds modelTimeout{30'000};
    std::chrono::milliseconds speechTimeout{80'000};

    qint64 maxBodyBytes = 1024 * 1024;
    qint64 maxHeadBytes = 16 * 1024;
    std::chrono::milliseconds requestTimeout{10'000}; // a whole request has to arrive within this
    std::chrono::milliseconds idleTimeout{60'000};    // a kept-alive connection without requests is closed
    std::chrono::milliseconds lingerTimeout{2'000};   // how long a refused upload is drained before closing

    // Per access token. The app throttles itself to 40 model requests in any
    // minute but sends them at once when a feed brings a batch of headlines,
    // and its model probes and speech requests come on top: the bucket holds
    // all of that, so only a client that ignores its own limit is refused.
    double requestsPerMinute = 60;
    int burst = 60;
    int maxQueuedSpeech = 8;

    AppRelease release = AppRelease::current();

    // Where the one line per request goes; standard output when empty.
    std::function<void(const QString &line)> log;
    // Monotonic milliseconds for the rate limiter; a steady clock when empty.
    std::function<qint64()> monotonicMs;
};

// Reading the configuration of the stand-alone server. Pure functions over
// file contents and environment values so that every rule is testable.
namespace BackendSetup {

// One token per line; blank lines and lines starting with '#' are skipped.
QStringList tokensFromFile(const QByteArray &content);
// Comma-separated, as in KALVO_BACKEND_TOKENS.
QStringList tokensFromList(const QString &list);
// NAME=value lines (the format of a systemd EnvironmentFile); '#' comments.
QMap<QString, QString> keysFromFile(const QByteArray &content);

QString modeName(BackendOptions::Mode mode);

} // namespace BackendSetup

} // namespace kalvo::backend
