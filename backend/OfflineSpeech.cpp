#include "OfflineSpeech.h"

#include "core/SerialWorker.h"

#include <espeak-ng/speak_lib.h>
#include <lame/lame.h>

#include <memory>
#include <mutex>
#include <vector>

namespace kalvo::backend {

namespace {

constexpr int speakingRate = 160; // words per minute; espeak's default sounds hurried in German
constexpr int bitrateKbps = 48;

std::mutex &engineMutex()
{
    static std::mutex mutex;
    return mutex;
}

int collectSamples(short *samples, int count, espeak_EVENT *events)
{
    auto *pcm = static_cast<std::vector<short> *>(events->user_data);
    if (samples && count > 0)
        pcm->insert(pcm->end(), samples, samples + count);
    return 0; // go on
}

// The sample rate, or 0 when espeak-ng cannot start. Called under the mutex.
int engineSampleRate()
{
    static const int rate = [] {
        const int sampleRate = espeak_Initialize(AUDIO_OUTPUT_SYNCHRONOUS, 0, nullptr, espeakINITIALIZE_DONT_EXIT);
        if (sampleRate <= 0)
            return 0;
        espeak_SetSynthCallback(collectSamples);
        if (espeak_SetVoiceByName("de") != EE_OK)
            return 0;
        espeak_SetParameter(espeakRATE, speakingRate, 0);
        return sampleRate;
    }();
    return rate;
}

std::optional<std::vector<short>> render(const QString &text, int *sampleRate)
{
    const std::lock_guard lock(engineMutex());
    *sampleRate = engineSampleRate();
    if (*sampleRate == 0)
        return std::nullopt;
    std::vector<short> pcm;
    const QByteArray utf8 = text.toUtf8();
    const espeak_ERROR result = espeak_Synth(utf8.constData(), size_t(utf8.size()) + 1, 0, POS_CHARACTER, 0,
                                             espeakCHARS_UTF8 | espeakENDPAUSE, nullptr, &pcm);
    if (result != EE_OK || pcm.empty())
        return std::nullopt;
    return pcm;
}

struct LameCloser
{
    void operator()(lame_global_flags *flags) const { lame_close(flags); }
};

std::optional<QByteArray> encodeMp3(std::vector<short> &pcm, int sampleRate)
{
    std::unique_ptr<lame_global_flags, LameCloser> lame(lame_init());
    if (!lame)
        return std::nullopt;
    lame_set_in_samplerate(lame.get(), sampleRate);
    lame_set_out_samplerate(lame.get(), sampleRate);
    lame_set_num_channels(lame.get(), 1);
    lame_set_mode(lame.get(), MONO);
    lame_set_VBR(lame.get(), vbr_off);
    lame_set_brate(lame.get(), bitrateKbps);
    lame_set_quality(lame.get(), 5);
    // A streamed file cannot have its Xing header filled in afterwards.
    lame_set_bWriteVbrTag(lame.get(), 0);
    lame_set_write_id3tag_automatic(lame.get(), 0);
    if (lame_init_params(lame.get()) < 0)
        return std::nullopt;

    const int samples = int(pcm.size());
    QByteArray mp3(qsizetype(samples) * 5 / 4 + 7200 + 7200, Qt::Uninitialized);
    auto *out = reinterpret_cast<unsigned char *>(mp3.data());
    const int encoded = lame_encode_buffer(lame.get(), pcm.data(), pcm.data(), samples, out, int(mp3.size()));
    if (encoded < 0)
        return std::nullopt;
    const int flushed = lame_encode_flush(lame.get(), out + encoded, int(mp3.size()) - encoded);
    if (flushed < 0)
        return std::nullopt;
    mp3.truncate(encoded + flushed);
    return mp3;
}

} // namespace

std::optional<QByteArray> OfflineSpeech::synthesize(const QString &text)
{
    int sampleRate = 0;
    std::optional<std::vector<short>> pcm = render(text, &sampleRate);
    if (!pcm)
        return std::nullopt;
    return encodeMp3(*pcm, sampleRate);
}

OfflineSpeech::OfflineSpeech() : m_worker(std::make_unique<SerialWorker>()) {}

OfflineSpeech::~OfflineSpeech() = default;

QFuture<std::optional<QByteArray>> OfflineSpeech::speak(QString text)
{
    return m_worker->run([text = std::move(text)] { return synthesize(text); });
}

} // namespace kalvo::backend
