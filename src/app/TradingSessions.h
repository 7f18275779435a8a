#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

namespace kalvo {

// The trading sessions shown in the session overview, from the device's
// local clock. This clock ignores weekends and uses its own hours (Sydney
// until 08:00 UTC, London from 07:00); it is not the market clock.
struct TradingSessions
{
    QStringList active; // "sydney", "tokyo", "london", "new_york", in this order
    QString overlap;    // empty when no two of them overlap

    bool operator==(const TradingSessions &) const = default;

    // `local` carries the device's offset from UTC. Half-hour offsets lose
    // their half hour, as the session overview always has.
    static TradingSessions at(const QDateTime &local);
};

} // namespace kalvo
