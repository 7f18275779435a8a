#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace kalvo::backend {

enum class Direction { Neutral, Bullish, Bearish };

// "bullish", "bearish", "neutral": the words the app's prompts ask for.
QString directionWord(Direction direction);
Direction opposite(Direction direction);

// What the keyword rules read from a headline (and its text, if any). The
// rules are lower-case substrings matched without word boundaries, as the
// app's own local scoring does; words that would hide inside longer words
// carry blanks ("fed" within "fed up" is accepted, within "federal" not).
struct NewsSignal
{
    bool relevant = false;
    int score = 1;                              // 1..10
    QString urgency = QStringLiteral("hours");  // immediate / hours / days
    QString category = QStringLiteral("market"); // central_bank, inflation, employment, growth, geopolitics, commodities, market
    QStringList categories;                     // every category that matched, strongest first
    QString currency;                           // the currency the news is about ("USD", "XAU", ...), or empty
    QString actor;                              // its central bank in German writing ("Fed", "EZB"), if named
    Direction direction = Direction::Neutral;   // of `currency`
    bool surprise = false;
    int riskTone = 0;                           // > 0 risk-on, < 0 risk-off
    QStringList factors;                        // German labels
};

NewsSignal readNewsSignal(const QString &text);

struct PairMove
{
    QString pair;
    Direction direction;
};

// The instruments in which a move of `currency` shows, most traded first.
QList<PairMove> pairsMovedBy(const QString &currency, Direction direction);

// How much `currency` gains (> 0) or loses (< 0) with `direction`, weighted.
double currencyPull(const NewsSignal &signal, const QString &currency);

// German names as a trader says them: "US-Dollar", "Euro", "Gold"; with the
// article of the nominative for the start of a clause: "das Pfund".
QString currencyName(const QString &code);
QString currencySubject(const QString &code);
// German labels of the categories: "Geldpolitik", "Inflation", ...
QString categoryLabel(const QString &category);

} // namespace kalvo::backend
