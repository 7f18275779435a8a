// Writes the twelve alert sounds as 16-bit mono WAV files into the folder
// given on the command line. Each sound is a short synthesised gesture that
// stays recognisable at low volume next to the others: pitch, rhythm and
// timbre all differ.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr int rate = 44100;
constexpr double pi = 3.14159265358979323846;

using Samples = std::vector<double>;

struct Tone
{
    double start;     // seconds
    double length;    // seconds
    double freq;      // Hz at the start
    double freqEnd;   // Hz at the end (glide)
    double decay;     // exponential decay per second
    double gain;
    std::function<double(double phase)> wave = [](double p) { return std::sin(p); };
};

void add(Samples &out, const Tone &tone)
{
    const int first = int(tone.start * rate);
    const int count = int(tone.length * rate);
    if (int(out.size()) < first + count)
        out.resize(first + count, 0.0);
    double phase = 0;
    for (int i = 0; i < count; ++i) {
        const double t = double(i) / rate;
        const double progress = double(i) / count;
        const double freq = tone.freq + (tone.freqEnd - tone.freq) * progress;
        phase += 2 * pi * freq / rate;
        const double attack = std::min(1.0, t / 0.004); // no click at the onset
        const double release = std::min(1.0, (count - i) / (0.01 * rate));
        out[first + i] += tone.gain * attack * release * std::exp(-tone.decay * t) * tone.wave(phase);
    }
}

double square(double p) { return std::sin(p) >= 0 ? 0.6 : -0.6; }
double saw(double p) { return std::fmod(p / (2 * pi), 1.0) * 1.2 - 0.6; }
double bell(double p) { return std::sin(p) + 0.4 * std::sin(2.76 * p) + 0.2 * std::sin(5.4 * p); }

Samples make(const std::string &name)
{
    Samples s;
    if (name == "Ping") {
        add(s, {0, 0.6, 1318.5, 1318.5, 7, 0.7});
    } else if (name == "Pop") {
        add(s, {0, 0.12, 420, 180, 30, 0.9});
    } else if (name == "Glass") {
        add(s, {0, 0.9, 1760, 1760, 5, 0.35, bell});
        add(s, {0, 0.9, 2637, 2637, 6, 0.2});
    } else if (name == "Hero") {
        const double notes[] = {523.25, 659.25, 783.99, 1046.5};
        for (int i = 0; i < 4; ++i)
            add(s, {0.09 * i, i == 3 ? 0.7 : 0.2, notes[i], notes[i], i == 3 ? 4.0 : 9.0, 0.45, bell});
    } else if (name == "Funk") {
        add(s, {0, 0.14, 196, 196, 12, 0.5, square});
        add(s, {0.16, 0.22, 293.66, 293.66, 10, 0.5, square});
    } else if (name == "Submarine") {
        add(s, {0, 0.5, 587.33, 587.33, 5, 0.6});
        add(s, {0.45, 0.5, 587.33, 587.33, 8, 0.25});
    } else if (name == "Basso") {
        add(s, {0, 0.45, 110, 98, 5, 0.8, saw});
    } else if (name == "Frog") {
        add(s, {0, 0.09, 300, 180, 12, 0.8, square});
        add(s, {0.12, 0.09, 300, 180, 12, 0.8, square});
    } else if (name == "Morse") {
        for (int i = 0; i < 3; ++i)
            add(s, {0.11 * i, 0.06, 880, 880, 0, 0.5});
    } else if (name == "Purr") {
        const double lfo = 28;
        add(s, {0, 0.6, 140, 120, 3, 0.7,
                [lfo](double p) { return std::sin(p) * (0.5 + 0.5 * std::sin(p * lfo / 140)); }});
    } else if (name == "Sosumi") {
        add(s, {0, 0.18, 987.77, 987.77, 14, 0.5, bell});
        add(s, {0.14, 0.4, 739.99, 739.99, 9, 0.5, bell});
    } else if (name == "Tink") {
        add(s, {0, 0.08, 3520, 3520, 45, 0.6});
    }
    return s;
}

void put16(std::ofstream &f, uint16_t v) { f.put(char(v & 0xff)).put(char(v >> 8)); }
void put32(std::ofstream &f, uint32_t v) { put16(f, uint16_t(v & 0xffff)); put16(f, uint16_t(v >> 16)); }

bool writeWav(const std::string &path, const Samples &samples)
{
    std::ofstream f(path, std::ios::binary);
    const uint32_t bytes = uint32_t(samples.size() * 2);
    f.write("RIFF", 4);
    put32(f, 36 + bytes);
    f.write("WAVEfmt ", 8);
    put32(f, 16);
    put16(f, 1); // PCM
    put16(f, 1); // mono
    put32(f, rate);
    put32(f, rate * 2);
    put16(f, 2);
    put16(f, 16);
    f.write("data", 4);
    put32(f, bytes);
    for (double v : samples)
        put16(f, uint16_t(int16_t(std::lround(std::clamp(v, -1.0, 1.0) * 32000))));
    return bool(f);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s OUTPUT-FOLDER\n", argv[0]);
        return 2;
    }
    for (const char *name : {"Ping", "Pop", "Glass", "Hero", "Funk", "Submarine", "Basso", "Frog",
                             "Morse", "Purr", "Sosumi", "Tink"}) {
        if (!writeWav(std::string(argv[1]) + "/" + name + ".wav", make(name))) {
            std::fprintf(stderr, "cannot write %s\n", name);
            return 1;
        }
    }
    return 0;
}
