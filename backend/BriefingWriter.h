#pragma once

#include <QString>
#include <QStringList>

namespace kalvo::backend {

struct ReadPrompt;

// A spoken market report as the briefing prompts ask for it.
struct Briefing
{
    QString title;      // at most six words
    QString text;       // 110 to 130 words of running German text
    QStringList keyPoints; // three
    QStringList watchNext;
};

// Writes the open-market or the weekend report from the headlines, the
// session and the calendar lines of a briefing prompt. The text names the
// real headlines; generic trading sentences fill it up to the asked length.
Briefing writeBriefing(const ReadPrompt &prompt);

// Words as a listener counts them: runs of non-blank characters.
int wordCount(const QString &text);

// The first `maxWords` words of `text`.
QString firstWords(const QString &text, int maxWords);

} // namespace kalvo::backend
