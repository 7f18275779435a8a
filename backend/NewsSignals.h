#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace kalvo::backend {

enum class Direction { Neutral, Bullish, Bearish };

// "bullish", "bearish", "neutral": the words the app's prompts ask for.
QString directionWord(Direction direction);
Direction opposite(Direction direction);

// What kind of news a headline carries.
enum class NewsEvent {
    Other,
    Decision,     // a central bank sets its rate
    Voice,        // a central banker speaks, minutes, a statement
    Intervention, // a government or central bank acts on its currency, or threatens to
    Data,         // an economic release
    Preview,      // a release or decision still to come
    Move,         // an instrument moves
    Commodity,    // gold, oil
    Equities,
    Bonds,        // yields
    Risk,         // risk appetite or flight to safety
    Geopolitics,  // conflicts, sanctions, tariffs, ratings
    Outlook,      // chart analysis
};

// What the keyword rules read from a headline (and its text, if any). The
// rules are lower-case substrings matched without word boundaries, as the
// app's own local scoring does; words that would hide inside longer words
// carry blanks ("fed" within "fed up" is accepted, within "federal" not).
// They read English wire headlines as well as the German ones the analyst
// writes itself, since the app lists those in later prompts.
struct NewsSignal
{
    bool relevant = false;
    int score = 1;                               // 1..10
    QString urgency = QStringLiteral("hours");   // immediate / hours / days
    QString category = QStringLiteral("market"); // central_bank, inflation, employment, growth, geopolitics,
                                                 // commodities, equities, bonds, technical, market
    QStringList categories;                      // every category that matched, strongest first
    QString currency;                            // the currency the news is about ("USD", "XAU", ...), or empty
    QString actor;                               // its central bank in German writing ("Fed", "EZB"), if named
    Direction direction = Direction::Neutral;    // of `currency`
    bool surprise = false;
    int riskTone = 0;                            // > 0 risk-on, < 0 risk-off
    QStringList factors;                         // German labels

    NewsEvent event = NewsEvent::Other;
    int stance = 0;          // of a central bank: > 0 hawkish (hike), < 0 dovish (cut)
    bool pricing = false;    // the stance is the market's bets, not the bank's words
    int policyMove = 0;      // of a decision: +1 hike, -1 cut, 0 hold
    int versusForecast = 0;  // of a release: > 0 above expectations, < 0 below
    int itemMove = 0;        // of what the headline names first (an indicator, gold, yields, stocks): +1 up, -1 down
    QString indicator;       // of a release: inflation, core, jobs, unemployment, claims, wages, growth, pmi,
                             // sales, sentiment, openings, trade, production, orders, inventories
    QString country;         // the currency whose economy the release is about
    QString actual;          // figures as the headline writes them, if any
    QString forecast;
    QString instrument;      // the instrument named first, "EUR/USD", "XAU/USD", "WTI", "S&P 500"
    QString level;           // the level the headline puts it at
    QString reason;          // what the headline gives as the cause, as a German clause ("die Renditen steigen")
    QString awaited;         // a preview: the indicator it waits for, or "decision"
    int basisPoints = 0;     // of a decision, when the headline says
    QString topic;           // of geopolitics: rating, tariffs, sanctions, conflict
};

NewsSignal readNewsSignal(const QString &text);
// Which way the instrument the headline names moves; `signal.direction` is
// its currency's, which is the quote's when the news is about the quote.
Direction instrumentDirection(const NewsSignal &signal);
// The title decides; the text adds only what the title leaves open.
NewsSignal readNewsSignal(const QString &title, const QString &content);

struct PairMove
{
    QString pair;
    Direction direction;
};

// The instruments in which a move of `currency` shows, most traded first.
QList<PairMove> pairsMovedBy(const QString &currency, Direction direction);
// The same, with the instrument the headline names first when it is a pair.
QList<PairMove> pairsMovedBy(const NewsSignal &signal);

// How much `currency` gains (> 0) or loses (< 0) with `direction`, weighted.
double currencyPull(const NewsSignal &signal, const QString &currency);

// German names as a trader says them: "US-Dollar", "Euro", "Gold"; with the
// article of the nominative for the start of a clause ("das Pfund"), of the
// accusative ("den Euro") and of the dative ("dem Yen").
QString currencyName(const QString &code);
QString currencySubject(const QString &code);
QString currencyObject(const QString &code);
QString currencyDative(const QString &code);
// German labels of the categories: "Geldpolitik", "Inflation", ...
QString categoryLabel(const QString &category);
// The central bank of a currency in German writing: "Fed", "EZB".
QString bankOf(const QString &currency);

} // namespace kalvo::backend
