#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace kalvo {

// The model's short judgement of the whole market. Every overview gets a new
// id so that views can tell a fresh one from the last.
struct MarketOverview
{
    QString id;
    QString sentiment = QStringLiteral("neutral"); // "risk-on", "risk-off" or "neutral", as written
    QString usd = QStringLiteral("neutral");
    QString eur = QStringLiteral("neutral");
    QString gbp = QStringLiteral("neutral");
    QString jpy = QStringLiteral("neutral");
    QString topPair;
    QStringList themes;
    QString overview;
};

// A spoken market report. The audio is attached later, once the text has
// been turned into speech.
struct LiveBriefing
{
    QString id;
    QString title;
    QString text;
    QStringList keyPoints;
    QStringList watchNext;
    std::optional<QByteArray> audioData; // MP3
};

// A trading verdict on one instrument with levels, drivers and scenarios.
struct InstrumentAnalysis
{
    QString verdict = QStringLiteral("neutral");
    qint64 confidence = 0; // percent
    QString summary;
    QString entryZone;
    QString stop;
    QString target1;
    QString target2;
    QString riskReward;
    QString timeframe;
    QStringList macroDrivers;
    QStringList catalysts;
    QStringList risks;
    QString flowAnalysis;
    QString positioning;
    QString momentum;
    qint64 bullProb = 0;
    QString bullTrigger;
    qint64 baseProb = 0;
    QString baseTrigger;
    qint64 bearProb = 0;
    QString bearTrigger;

    bool operator==(const InstrumentAnalysis &) const = default;
};

// A fresh identifier for an overview or a briefing: an upper-case UUID
// without braces.
QString newRecordId();

} // namespace kalvo
