#pragma once

// Reads an MP3 stream frame by frame, as a decoder finds its frames, so
// that tests can tell a playable stream and its duration without a decoder.

#include <QByteArray>
#include <QString>

using namespace Qt::StringLiterals;

namespace test {

struct Mp3Stream
{
    bool valid = false;
    QString problem;
    int frames = 0;
    int sampleRate = 0;
    bool mono = true;
    double seconds = 0;
};

// Walks the stream frame by frame, as a decoder does: every frame header
// must carry the sync word and describe a Layer III frame whose length leads
// exactly to the next header or to the end.
inline Mp3Stream readMp3(const QByteArray &bytes)
{
    static const int mpeg1Rates[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, -1};
    static const int mpeg2Rates[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, -1};
    static const int sampleRates[3][3] = {{44100, 48000, 32000}, {22050, 24000, 16000}, {11025, 12000, 8000}};

    Mp3Stream stream;
    qsizetype at = 0;
    if (bytes.startsWith("ID3") && bytes.size() > 10) {
        const auto size = [&](int i) { return qsizetype(static_cast<unsigned char>(bytes[i]) & 0x7F); };
        at = 10 + (size(6) << 21 | size(7) << 14 | size(8) << 7 | size(9));
    }
    qint64 samples = 0;
    while (at < bytes.size()) {
        if (bytes.size() - at < 4) {
            stream.problem = u"truncated header at %1"_s.arg(at);
            return stream;
        }
        const auto byte = [&](int i) { return static_cast<unsigned char>(bytes[at + i]); };
        if (byte(0) != 0xFF || (byte(1) & 0xE0) != 0xE0) {
            stream.problem = u"no frame sync at %1"_s.arg(at);
            return stream;
        }
        const int version = (byte(1) >> 3) & 3; // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
        const int layer = (byte(1) >> 1) & 3;   // 1: Layer III
        const int bitrateIndex = byte(2) >> 4;
        const int rateIndex = (byte(2) >> 2) & 3;
        if (version == 1 || layer != 1 || bitrateIndex == 0 || bitrateIndex == 15 || rateIndex == 3) {
            stream.problem = u"bad frame header at %1"_s.arg(at);
            return stream;
        }
        const bool mpeg1 = version == 3;
        const int kbps = mpeg1 ? mpeg1Rates[bitrateIndex] : mpeg2Rates[bitrateIndex];
        const int rate = sampleRates[mpeg1 ? 0 : version == 2 ? 1 : 2][rateIndex];
        const int padding = (byte(2) >> 1) & 1;
        if (stream.sampleRate != 0 && stream.sampleRate != rate) {
            stream.problem = u"sample rate changes at %1"_s.arg(at);
            return stream;
        }
        stream.sampleRate = rate;
        stream.mono = stream.mono && (byte(3) >> 6) == 3;
        at += (mpeg1 ? 144 : 72) * kbps * 1000 / rate + padding;
        samples += mpeg1 ? 1152 : 576;
        ++stream.frames;
    }
    if (at != bytes.size()) {
        stream.problem = u"last frame runs past the end"_s;
        return stream;
    }
    stream.valid = stream.frames > 0;
    stream.seconds = stream.sampleRate ? double(samples) / stream.sampleRate : 0;
    return stream;
}

} // namespace test
