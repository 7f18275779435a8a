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
    bool mono = true;
    double seconds = 0;
};

// Every byte has to belong to a frame: each header carries the sync word and
// describes a Layer III frame whose length leads exactly to the next header
// or to the end. A tag or trailing junk is a problem, like a cut-off frame.
inline Mp3Stream readMp3(const QByteArray &bytes)
{
    static const int mpeg1Rates[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, -1};
    static const int mpeg2Rates[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, -1};
    static const int sampleRates[3][3] = {{44100, 48000, 32000}, {22050, 24000, 16000}, {11025, 12000, 8000}};

    Mp3Stream stream;
    qsizetype at = 0;
    qint64 samples = 0;
    int rate = 0;
    while (at < bytes.size()) {
        const auto byte = [&](int i) { return at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0; };
        const int version = (byte(1) >> 3) & 3; // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
        const int layer = (byte(1) >> 1) & 3;   // 1: Layer III
        const int bitrateIndex = byte(2) >> 4;
        const int rateIndex = (byte(2) >> 2) & 3;
        if (byte(0) != 0xFF || (byte(1) & 0xE0) != 0xE0 || version == 1 || layer != 1 || bitrateIndex == 0
            || bitrateIndex == 15 || rateIndex == 3) {
            stream.problem = u"no Layer III frame header at %1"_s.arg(at);
            return stream;
        }
        const bool mpeg1 = version == 3;
        const int kbps = mpeg1 ? mpeg1Rates[bitrateIndex] : mpeg2Rates[bitrateIndex];
        rate = sampleRates[mpeg1 ? 0 : version == 2 ? 1 : 2][rateIndex];
        stream.mono = stream.mono && (byte(3) >> 6) == 3;
        samples += mpeg1 ? 1152 : 576;
        at += (mpeg1 ? 144 : 72) * kbps * 1000 / rate + ((byte(2) >> 1) & 1);
    }
    if (at != bytes.size()) {
        stream.problem = u"last frame runs past the end"_s;
        return stream;
    }
    stream.valid = samples > 0;
    stream.seconds = stream.valid ? double(samples) / rate : 0;
    return stream;
}

} // namespace test
