#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace kalvo::backend {

// The prompt families the app sends, told apart by their fixed openings.
enum class PromptKind {
    Ping,            // the model probe
    NewsScoring,     // quick score of one headline
    NewsDeepAnalysis,
    MarketOverview,
    LiveBriefing,    // market open
    WeekendBriefing, // market closed
    InstrumentAnalysis,
};

// One headline as the app lists it: "- [7/10] headline (source)" or, without
// the score, "- headline (source)".
struct ListedNews
{
    int score = -1; // -1: the line carries no score
    QString headline;
    QString source;
};

// One calendar line: "- 14:30 USD High Non-Farm Payrolls".
struct ListedEvent
{
    QString time;
    QString currency;
    QString impact;
    QString title;
};

// What a prompt says, read back into fields. Which fields are filled
// depends on `kind`.
struct ReadPrompt
{
    PromptKind kind = PromptKind::Ping;
    QString title;   // news scoring and deep analysis
    QString source;
    QString content;
    QList<ListedNews> news;     // overview, briefings, instrument analysis
    QList<ListedEvent> events;  // briefings, instrument analysis
    QStringList pairs;          // overview
    QString sessionLabel;       // open-market briefing
    QString sessionDetail;
    QString instrument;         // instrument analysis
    double price = 0;
    double changePercent = 0;
};

// Nothing for a prompt of no known family.
std::optional<ReadPrompt> readPrompt(const QString &prompt);

} // namespace kalvo::backend
