#pragma once

#include "core/NewsItem.h"

#include <QString>

#include <optional>

// The prompts that judge one headline, and the reader of their replies. Both
// prompts end in the JSON shape the model has to answer with; the quick and
// the deep answer fill the same NewsAnalysis.
namespace kalvo::NewsPrompts {

constexpr int quickTokenLimit = 350;
constexpr int deepTokenLimit = 700;

// Relevance, score, urgency and direction per instrument, for every new headline.
QString quickScoring(const NewsItem &item);
// Summary, reasoning per instrument, trade strategy, macro view and risks,
// for the headline the user selected.
QString deepAnalysis(const NewsItem &item);

// The analysis in a reply, or nothing when the reply holds no JSON object.
// Each member is taken only with its expected JSON type; anything else keeps
// the field's default. Nothing is clamped. Parses JSON: call off the GUI thread.
std::optional<NewsAnalysis> parseAnalysis(const QString &reply);

} // namespace kalvo::NewsPrompts
