#pragma once

#include "ai/AiRecords.h"

#include <QByteArray>

namespace kalvo {

// A spoken briefing of about a minute with key points and events to watch;
// with `audio` it carries a short MP3 (demoBriefingAudio), otherwise none.
LiveBriefing demoBriefing(bool audio);

// Two seconds of silence as MPEG-1 Layer III frames (128 kbit/s, 44.1 kHz,
// mono): enough for a player to load, the same bytes every time.
QByteArray demoBriefingAudio();

// A market overview, risk-on (dollar weak, euro and pound firm) or risk-off
// (dollar and yen bid).
MarketOverview demoOverview(bool riskOn);

} // namespace kalvo
