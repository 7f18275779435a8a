#pragma once

#include "NewsSignals.h"

#include <QString>

namespace kalvo::backend::AnalystNotes {

// The German sentences of the offline analyst, written from what the
// keyword rules read out of a headline: what happened, which currency it
// concerns, which way it pushes it and why. Never a translation attempt of
// the headline itself.

// One sentence on what happened: "Die Fed senkt den Leitzins überraschend
// um 50 Basispunkte, meldet Reuters." The source is left out when empty.
QString whatHappened(const NewsSignal &signal, const QString &source = {});

// The same as a noun phrase for running text: "die überraschende
// Zinssenkung der Fed".
QString cause(const NewsSignal &signal);

// One sentence on the consequence: which currency gains or loses, why, and
// which pairs should follow: "Das belastet den US-Dollar, weil sein
// Zinsvorteil schrumpft; EUR/USD dürfte steigen, USD/JPY fallen."
QString consequence(const NewsSignal &signal, const QList<PairMove> &moves);

// A German headline of at most `maxLength` characters that the keyword
// rules read back the same way: "Fed senkt Zinsen: US-Dollar unter Druck".
QString headline(const NewsSignal &signal, qsizetype maxLength = 55);

// "steigende" or "fallende" for a pair's direction; empty for neutral.
QString pairTrend(Direction direction);

// German number style for the figures the headlines write: "3.6%" ->
// "3,6 %", "245K" -> "245.000".
QString germanFigure(QString figure);

// `text` cut at a word boundary to at most `maxLength` characters.
QString cut(const QString &text, qsizetype maxLength);

QString capitalised(QString text);

} // namespace kalvo::backend::AnalystNotes
