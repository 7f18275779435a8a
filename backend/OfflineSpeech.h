#pragma once

#include <QByteArray>
#include <QFuture>
#include <QString>

#include <memory>
#include <optional>

namespace kalvo {
class SerialWorker;
}

namespace kalvo::backend {

// German speech without a vendor: espeak-ng renders the text to PCM in its
// synchronous mode, LAME encodes it as mono MP3 (22.05 kHz, 48 kbit/s CBR,
// no tags, so every byte belongs to an audio frame).
//
// espeak-ng keeps global state, so synthesis is serialised across the whole
// process; each OfflineSpeech still has its own worker thread so that
// speaking never blocks the thread that serves requests.
class OfflineSpeech
{
public:
    OfflineSpeech();
    ~OfflineSpeech(); // waits for queued syntheses

    // Nothing when the voice data is missing or encoding fails.
    QFuture<std::optional<QByteArray>> speak(QString text);

    // The blocking work behind speak(); any thread, one call at a time.
    static std::optional<QByteArray> synthesize(const QString &text);

private:
    std::unique_ptr<SerialWorker> m_worker;
};

} // namespace kalvo::backend
