#pragma once

#include <QtGlobal>

#include <cmath>
#include <iterator>
#include <numbers>

namespace kalvo::sim {

// splitmix64's finaliser: tiny and identical on every platform, which the
// standard distributions are not; the same seed must give the same market
// everywhere.
inline quint64 mix(quint64 x)
{
    x += 0x9E3779B97F4A7C15ULL;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBULL;
    return x ^ (x >> 31);
}

// A number in (0, 1) for a key.
inline double uniform(quint64 key)
{
    return (double(mix(key) >> 11) + 0.5) / 9007199254740992.0;
}

// A standard normal number for a key (Box-Muller).
inline double gaussian(quint64 key)
{
    const double u1 = uniform(key);
    const double u2 = uniform(key ^ 0xA5A5A5A5DEADBEEFULL);
    return std::sqrt(-2 * std::log(u1)) * std::cos(2 * std::numbers::pi * u2);
}

// A stream of draws for one key, for code that takes several in a row.
class Rng
{
public:
    explicit Rng(quint64 seed) : m_state(seed) {}

    quint64 next()
    {
        quint64 z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    int below(qsizetype n) { return n <= 0 ? 0 : int(next() % quint64(n)); }
    double unit() { return double(next() >> 11) * 0x1.0p-53; }
    double between(double low, double high) { return low + (high - low) * unit(); }
    bool chance(double probability) { return unit() < probability; }
    template<typename List>
    const auto &pick(const List &list) { return *(std::begin(list) + below(std::size(list))); }

private:
    quint64 m_state;
};

} // namespace kalvo::sim
