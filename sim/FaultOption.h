#pragma once

#include "LoopbackServer.h"

#include <QString>

#include <optional>

namespace kalvo::sim {

// A fault to set on one path, as written on the simulator's command line:
// KIND[:NUMBER]@TARGET, for example "status:429@/ff_calendar_nextweek.json",
// "hang@/feed/news/" or "trickle:500@/v1/currencies/usd.json". Kinds: status
// (the HTTP status, 500 unless given), hang, delay (milliseconds, required),
// truncate, empty, garbage, invalid-json, empty-array, trickle (milliseconds
// per byte, required). TARGET is a path, optionally with its query.
struct FaultOption
{
    QString target;
    Fault fault;
};

std::optional<FaultOption> parseFaultOption(const QString &text);

// The kinds above, for a help text.
QString faultOptionKinds();

} // namespace kalvo::sim
