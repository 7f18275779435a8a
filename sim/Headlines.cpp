#include "Headlines.h"

#include "PriceQuotes.h"

#include <QHash>
#include <QLocale>
#include <QTimeZone>

#include <algorithm>
#include <cmath>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

using Words = std::initializer_list<QLatin1StringView>;

QString number(double value, int decimals)
{
    // No "-0.0" for a value that rounds to zero.
    if (std::abs(value) < 0.5 * std::pow(10.0, -decimals))
        value = 0;
    return QLocale::c().toString(value, 'f', decimals);
}

// "2,341.50": prices of gold and indices as English desks write them.
QString grouped(double value, int decimals)
{
    static const QLocale english(QLocale::English, QLocale::UnitedStates);
    return english.toString(value, 'f', decimals);
}

QString signedPercent(double percent, int decimals = 2)
{
    return (percent >= 0 ? u"+"_s : QString()) + number(percent, decimals) + u'%';
}

QString capitalised(QString text)
{
    if (!text.isEmpty())
        text[0] = text[0].toUpper();
    return text;
}

// ---------------------------------------------------------------------------
// What the stories talk about.

struct Instrument
{
    QLatin1StringView symbol;
    QLatin1StringView ticker;
    QLatin1StringView base;
    QLatin1StringView quote;
    int decimals;
    int weight; // how often desks write about it
};

// The pairs the app shows and ranks, the majors most.
const Instrument instruments[] = {
    {"EUR/USD"_L1, "EURUSD=X"_L1, "EUR"_L1, "USD"_L1, 4, 8}, {"GBP/USD"_L1, "GBPUSD=X"_L1, "GBP"_L1, "USD"_L1, 4, 5},
    {"USD/JPY"_L1, "USDJPY=X"_L1, "USD"_L1, "JPY"_L1, 2, 6}, {"AUD/USD"_L1, "AUDUSD=X"_L1, "AUD"_L1, "USD"_L1, 4, 3},
    {"USD/CAD"_L1, "USDCAD=X"_L1, "USD"_L1, "CAD"_L1, 4, 3}, {"USD/CHF"_L1, "USDCHF=X"_L1, "USD"_L1, "CHF"_L1, 4, 2},
    {"NZD/USD"_L1, "NZDUSD=X"_L1, "NZD"_L1, "USD"_L1, 4, 2}, {"EUR/GBP"_L1, "EURGBP=X"_L1, "EUR"_L1, "GBP"_L1, 4, 2},
    {"EUR/JPY"_L1, "EURJPY=X"_L1, "EUR"_L1, "JPY"_L1, 2, 2}, {"GBP/JPY"_L1, "GBPJPY=X"_L1, "GBP"_L1, "JPY"_L1, 2, 2},
    {"AUD/JPY"_L1, "AUDJPY=X"_L1, "AUD"_L1, "JPY"_L1, 2, 1}, {"EUR/CHF"_L1, "EURCHF=X"_L1, "EUR"_L1, "CHF"_L1, 4, 1},
    {"GBP/CHF"_L1, "GBPCHF=X"_L1, "GBP"_L1, "CHF"_L1, 4, 1}, {"EUR/AUD"_L1, "EURAUD=X"_L1, "EUR"_L1, "AUD"_L1, 4, 1},
    {"GBP/AUD"_L1, "GBPAUD=X"_L1, "GBP"_L1, "AUD"_L1, 4, 1},
};
constexpr int eurUsd = 0;

const Instrument *instrumentFor(QAnyStringView symbol)
{
    for (const Instrument &instrument : instruments) {
        if (instrument.symbol == symbol)
            return &instrument;
    }
    return nullptr;
}

struct Currency
{
    QLatin1StringView code;
    QLatin1StringView name;    // "US dollar"
    QLatin1StringView country; // as an adjective in a headline: "US", "UK"
    int bank;                  // index into banks, -1 for none
    Words strong;              // why it gains ("as ...")
    Words weak;                // why it loses
};

const Currency currencies[] = {
    {"USD"_L1, "US dollar"_L1, "US"_L1, 0,
     {"the dollar firms"_L1, "Treasury yields climb"_L1, "traders pare Fed rate cut bets"_L1,
      "Fed officials push back on early cuts"_L1, "US data beat forecasts"_L1, "demand for the greenback picks up"_L1},
     {"the dollar softens"_L1, "Treasury yields slip"_L1, "traders add to Fed rate cut bets"_L1,
      "soft US data weigh on the greenback"_L1, "the greenback retreats from its highs"_L1}},
    {"EUR"_L1, "euro"_L1, "Euro zone"_L1, 1,
     {"ECB hawks push back on rate cut bets"_L1, "euro zone PMIs surprise to the upside"_L1, "Bund yields rise"_L1,
      "German business sentiment improves"_L1},
     {"ECB rate cut bets firm"_L1, "euro zone growth worries resurface"_L1, "soft German data weigh on the euro"_L1,
      "Bund yields slide"_L1}},
    {"GBP"_L1, "pound"_L1, "UK"_L1, 2,
     {"BoE officials signal patience on cuts"_L1, "UK wage growth stays hot"_L1, "gilt yields climb"_L1,
      "UK data beat expectations"_L1},
     {"BoE rate cut bets build"_L1, "UK growth disappoints"_L1, "gilt yields fall"_L1,
      "sterling bulls take profits"_L1}},
    {"JPY"_L1, "yen"_L1, "Japan"_L1, 3,
     {"safe-haven flows lift the yen"_L1, "Tokyo warns against rapid currency moves"_L1,
      "BoJ rate hike speculation builds"_L1, "JGB yields rise"_L1},
     {"the BoJ keeps policy loose"_L1, "the wide US-Japan yield gap weighs on the yen"_L1,
      "carry trades stay in demand"_L1, "risk appetite saps demand for the yen"_L1}},
    {"CHF"_L1, "Swiss franc"_L1, "Swiss"_L1, 4,
     {"safe-haven demand lifts the franc"_L1, "the SNB signals comfort with a firm franc"_L1},
     {"SNB rate cut bets weigh on the franc"_L1, "risk appetite curbs demand for the franc"_L1}},
    {"AUD"_L1, "Australian dollar"_L1, "Australian"_L1, 6,
     {"iron ore prices rally"_L1, "China stimulus hopes lift commodity currencies"_L1, "the RBA keeps a hawkish tone"_L1,
      "risk appetite improves"_L1},
     {"China growth worries resurface"_L1, "iron ore prices slide"_L1, "the RBA signals patience"_L1,
      "risk aversion hits commodity currencies"_L1}},
    {"NZD"_L1, "New Zealand dollar"_L1, "New Zealand"_L1, 7,
     {"dairy prices rise"_L1, "the RBNZ sticks to its hawkish stance"_L1},
     {"RBNZ rate cut bets build"_L1, "dairy prices slip"_L1}},
    {"CAD"_L1, "Canadian dollar"_L1, "Canadian"_L1, 5,
     {"oil prices climb"_L1, "Canadian jobs data beat forecasts"_L1, "the BoC holds firm"_L1},
     {"oil prices slide"_L1, "BoC rate cut bets build"_L1, "Canadian data disappoint"_L1}},
    {"CNY"_L1, "yuan"_L1, "China"_L1, -1, {"China's data surprise to the upside"_L1}, {"China's recovery loses steam"_L1}},
};

const Currency &currency(QAnyStringView code)
{
    for (const Currency &entry : currencies) {
        if (entry.code == code)
            return entry;
    }
    return currencies[0];
}

struct Bank
{
    QLatin1StringView name;
    QLatin1StringView longName;
    QLatin1StringView code; // its currency
    Words officials;
    double rate;
    QLatin1StringView rateText; // as the bank states its rate
};

const Bank banks[] = {
    {"Fed"_L1, "Federal Reserve"_L1, "USD"_L1,
     {"Powell"_L1, "Waller"_L1, "Williams"_L1, "Logan"_L1, "Goolsbee"_L1, "Bowman"_L1, "Daly"_L1, "Bostic"_L1}, 5.50,
     "5.25%-5.50%"_L1},
    {"ECB"_L1, "European Central Bank"_L1, "EUR"_L1,
     {"Lagarde"_L1, "Lane"_L1, "Schnabel"_L1, "Nagel"_L1, "Villeroy"_L1, "Knot"_L1, "Holzmann"_L1}, 4.00, "4.00%"_L1},
    {"BoE"_L1, "Bank of England"_L1, "GBP"_L1, {"Bailey"_L1, "Pill"_L1, "Mann"_L1, "Ramsden"_L1, "Greene"_L1}, 5.25,
     "5.25%"_L1},
    {"BoJ"_L1, "Bank of Japan"_L1, "JPY"_L1, {"Ueda"_L1, "Himino"_L1, "Uchida"_L1, "Tamura"_L1}, 0.10, "0-0.1%"_L1},
    {"SNB"_L1, "Swiss National Bank"_L1, "CHF"_L1, {"Jordan"_L1, "Schlegel"_L1, "Maechler"_L1}, 1.50, "1.50%"_L1},
    {"BoC"_L1, "Bank of Canada"_L1, "CAD"_L1, {"Macklem"_L1, "Rogers"_L1, "Gravelle"_L1}, 5.00, "5.00%"_L1},
    {"RBA"_L1, "Reserve Bank of Australia"_L1, "AUD"_L1, {"Bullock"_L1, "Hauser"_L1, "Kent"_L1}, 4.35, "4.35%"_L1},
    {"RBNZ"_L1, "Reserve Bank of New Zealand"_L1, "NZD"_L1, {"Orr"_L1, "Hawkesby"_L1, "Conway"_L1}, 5.50, "5.50%"_L1},
};
constexpr int fed = 0, ecb = 1;
// The Fed and the ECB make most of the news.
constexpr int bankDraw[] = {0, 0, 0, 0, 1, 1, 1, 2, 2, 3, 3, 4, 5, 6, 7};

constexpr Words hawkishQuotes{
    "inflation is still too high"_L1,
    "rate cuts are not imminent"_L1,
    "there is no rush to ease policy"_L1,
    "policy needs to stay restrictive for some time"_L1,
    "wage growth remains uncomfortably strong"_L1,
    "further tightening cannot be ruled out"_L1,
    "we need more confidence on inflation before cutting"_L1,
    "the last mile of disinflation is proving sticky"_L1,
    "it is too early to declare victory over inflation"_L1,
    "services inflation is proving stubborn"_L1,
    "I want to see several more months of good inflation data"_L1,
    "the economy is too strong to justify cuts"_L1,
};
constexpr Words dovishQuotes{
    "a rate cut at the next meeting is a real possibility"_L1,
    "the labour market is cooling faster than expected"_L1,
    "policy is clearly restrictive and we can start to ease"_L1,
    "inflation is on track to return to target"_L1,
    "we can afford to lower rates gradually"_L1,
    "downside risks to growth have increased"_L1,
    "disinflation is progressing faster than we thought"_L1,
    "keeping rates this high for too long is a risk"_L1,
    "the case for a cut is building"_L1,
    "wage pressures are clearly easing"_L1,
};
constexpr Words neutralQuotes{
    "decisions will be taken meeting by meeting"_L1,
    "we are not pre-committing to a particular rate path"_L1,
    "policy is well positioned for what comes next"_L1,
    "incoming data will guide our next steps"_L1,
    "the risks to our goals are moving into better balance"_L1,
    "we will be patient and data dependent"_L1,
};

// Verbs of a move by its size.
constexpr Words smallRise{"edges higher"_L1, "ticks up"_L1};
constexpr Words rise{"climbs"_L1, "rises"_L1, "advances"_L1, "firms"_L1};
constexpr Words bigRise{"jumps"_L1, "surges"_L1, "rallies"_L1};
constexpr Words smallFall{"edges lower"_L1, "ticks down"_L1};
constexpr Words fall{"slips"_L1, "falls"_L1, "drops"_L1, "eases"_L1};
constexpr Words bigFall{"slides"_L1, "tumbles"_L1, "sinks"_L1};

constexpr Words goldUp{"US yields retreat"_L1, "the dollar weakens"_L1, "safe-haven demand builds"_L1,
                       "central bank buying stays strong"_L1, "traders price in Fed cuts"_L1};
constexpr Words goldDown{"Treasury yields climb"_L1, "the dollar firms"_L1, "risk appetite improves"_L1,
                         "traders lock in profits"_L1, "Fed cut bets fade"_L1};
constexpr Words oilUp{"OPEC+ signals longer output cuts"_L1, "US crude stocks draw down"_L1,
                      "Middle East supply worries flare"_L1, "China demand hopes improve"_L1};
constexpr Words oilDown{"US crude inventories build unexpectedly"_L1, "demand worries weigh"_L1,
                        "OPEC+ output rises"_L1, "the dollar firms"_L1};
constexpr Words riskOffEvents{"Middle East tensions escalate"_L1, "tech stocks tumble"_L1,
                              "China growth worries resurface"_L1, "bank shares slide"_L1,
                              "trade tensions flare up"_L1};
constexpr Words riskOnDrivers{"equities rally"_L1, "China stimulus hopes build"_L1, "volatility eases"_L1,
                              "tech earnings impress"_L1};
constexpr Words agencies{"Moody's"_L1, "S&P"_L1, "Fitch"_L1};
constexpr Words sovereigns{"Italy"_L1, "France"_L1, "Belgium"_L1, "the UK"_L1, "Hungary"_L1, "Spain"_L1,
                           "Romania"_L1, "Slovakia"_L1};
constexpr Words grades{"Baa3"_L1, "AA-"_L1, "A+"_L1, "BBB"_L1, "BBB+"_L1, "A-"_L1};
constexpr Words fedSpeakers{
    "Chair Jerome H. Powell"_L1, "Governor Christopher J. Waller"_L1, "Governor Michelle W. Bowman"_L1,
    "Vice Chair Philip N. Jefferson"_L1, "Governor Lisa D. Cook"_L1, "Governor Adriana D. Kugler"_L1,
    "Vice Chair for Supervision Michael S. Barr"_L1,
};
constexpr Words speechTopics{
    "The Economic Outlook"_L1, "Monetary Policy and the Labor Market"_L1,
    "Semiannual Monetary Policy Report to the Congress"_L1, "Financial Stability Considerations"_L1,
    "Brief Remarks on the Economy and Monetary Policy"_L1, "Inflation Dynamics and the Path of Policy"_L1,
    "Bank Capital and Liquidity"_L1, "Innovation in Payments"_L1, "Community Banking"_L1,
    "Productivity and the Outlook"_L1, "Supervision and Regulation"_L1, "Household Finances"_L1,
    "Opening Remarks"_L1, "Climate-Related Financial Risks"_L1, "The Natural Rate of Interest"_L1,
};
constexpr Words venues{
    "Economic Club of New York"_L1, "Brookings Institution"_L1, "Stanford Institute for Economic Policy Research"_L1,
    "Peterson Institute for International Economics"_L1, "Council on Foreign Relations"_L1,
    "University of Chicago Booth School of Business"_L1, "National Association for Business Economics"_L1,
};
constexpr Words holdingCompanies{
    "Huntington Bancshares"_L1, "Fifth Third Bancorp"_L1, "KeyCorp"_L1, "Regions Financial"_L1,
    "Citizens Financial Group"_L1, "M&T Bank"_L1, "First Horizon"_L1, "Zions Bancorporation"_L1,
    "Comerica"_L1, "Webster Financial"_L1, "Synovus Financial"_L1, "Valley National Bancorp"_L1,
    "Cullen/Frost Bankers"_L1, "BOK Financial"_L1, "Old National Bancorp"_L1, "Associated Banc-Corp"_L1,
};
constexpr Words bojOfficials{"Deputy Governor Himino"_L1, "Deputy Governor Uchida"_L1, "Board Member Tamura"_L1,
                             "Board Member Takata"_L1, "Board Member Nakagawa"_L1};
constexpr Words bojVenues{"a meeting with business leaders in Osaka"_L1, "the Japan Society"_L1,
                          "a meeting in Nagoya"_L1, "the Research Institute of Japan"_L1,
                          "a meeting with local leaders in Sapporo"_L1};

// ---------------------------------------------------------------------------
// The templates. "{name}" is filled from the scene drawn for the story.

struct Template
{
    QLatin1StringView headline;
    QLatin1StringView summary;
};
using Templates = std::initializer_list<Template>;

constexpr Templates pairTemplates{
    {"{pair} {pairVerb} to {level} as {pairDriver}"_L1,
     "{pair} trades at {level} in the {session} session, {dayChange} on the day. Resistance is seen at {levelUp}, "
     "support at {levelDown}."_L1},
    {"{pair} {pairVerb} toward {round} as {pairDriver}"_L1,
     "The pair moved {pips} in the past hour and stands at {level}, {dayChange} since the previous close."_L1},
    {"{Base} {baseVerb} against the {quoteName} as {pairDriver}; {pair} at {level}"_L1,
     "{pair} is {dayChange} on the day. Traders watch {levelUp} on the upside and {levelDown} on the downside."_L1},
    {"{pair} Price Forecast: {bias} {aboveBelow} {pivot}"_L1,
     "{pair} holds {aboveBelow} {pivot} in the {session} session; the next hurdle is {target}."_L1},
    {"{pair} holds {dayChange} at {level} ahead of {nextEvent}"_L1,
     "Traders stay cautious before {nextEvent} ({nextTime}). Implied volatility in {pair} ticked higher."_L1},
    {"{pair} technical analysis: {bias} while {pivot} holds"_L1,
     "{pair} last traded at {level}. The 50-hour moving average near {pivot} is the line in the sand; "
     "{target} is the next objective."_L1},
    {"{pair} {pairVerb} {pips} in {session} trade as {pairDriver}"_L1,
     "{pair} changed hands at {level}, {dayChange} on the day. Liquidity is {liquidity}."_L1},
};
constexpr Templates technicalTemplates{
    {"{pair} Daily Outlook: intraday bias {biasWord} above {pivot}"_L1,
     "Daily Pivots: (S1) {levelDown}; (P) {pivot}; (R1) {levelUp}. Intraday bias in {pair} stays {biasWord} for now."_L1},
    {"{pair} Mid-Day Outlook: {level} in focus"_L1,
     "Intraday bias remains {biasWord} while {levelDown} support holds; a break of {levelUp} resumes the move."_L1},
    {"{pair} Technical Update: {pivot} {supportResistance} tested"_L1,
     "{pair} trades at {level}. A sustained break of {pivot} opens the way to {target}."_L1},
    {"{Base} Outlook: {pair} {pairVerb} to {level}, {biasWord} bias"_L1,
     "Near-term focus is on {target}; {levelDown} is initial support."_L1},
    {"{pair} Elliott Wave View: {biasWord} while above {levelDown}"_L1,
     "The rally from the session low at {levelDown} looks corrective; {levelUp} caps the upside for now."_L1},
};
constexpr Templates bankTemplates{
    {"{bank}'s {official}: {quote}"_L1,
     "{official} said on {weekday} that {quote}. {leanEffect}"_L1},
    {"{bank}'s {official} says {quote}"_L1,
     "Speaking at the {venue}, {official} added that decisions remain data dependent. {leanEffect}"_L1},
    {"{official} ({bank}): {quote}"_L1,
     "The comments come ahead of {nextEvent}. {leanEffect}"_L1},
    {"Traders {pareAdd} bets on {bank} rate {moveWord}s, {basisPoints} bp priced by December"_L1,
     "Money markets now price {basisPoints} bp of {bank} {policyWord} by December. {leanEffect}"_L1},
    {"Money markets price {basisPoints} bp of {bank} {moveWord}s by year-end after {official}'s remarks"_L1,
     "{official} said {quote}. {bankPair} trades at {bankPairLevel}."_L1},
    {"{bank}'s {official} sees {cuts} this year; {bankPair} at {bankPairLevel}"_L1,
     "{official} said {quote}. {leanEffect}"_L1},
};
constexpr Templates dataRecapTemplates{
    {"{LastName} recap: {lastActual} vs {lastForecast} expected, {lastPair} at {lastPairLevel}"_L1,
     "The release came in {lastBeat} forecasts and the {lastCurrencyName} {lastReaction}."_L1},
    {"What the {lastName} surprise means for the {lastCurrencyName}: {lastPair} at {lastPairLevel}"_L1,
     "At {lastActual}, the figure was {lastBeat} the {lastForecast} consensus."_L1},
    {"{lastPair} {lastPairVerb} to {lastPairLevel} after {lastName} came in at {lastActual}"_L1,
     "Economists had expected {lastForecast}. The {lastCurrencyName} {lastReaction} in the minutes after the release."_L1},
};
constexpr Templates previewTemplates{
    {"{NextEvent} preview: forecast {nextForecast}; {nextPair} at {nextPairLevel}"_L1,
     "{NextEvent} is due at {nextTime}. A print away from {nextForecast} could move {nextPair} sharply."_L1},
    {"Coming up: {nextEvent} at {nextTime}; {nextPair} at {nextPairLevel}"_L1,
     "Traders position for {nextEvent}; consensus sees {nextForecast}."_L1},
    {"{nextPair} traders brace for {nextEvent} at {nextPairLevel}, consensus {nextForecast}"_L1,
     "{nextPair} trades at {nextPairLevel} ahead of the release at {nextTime}."_L1},
};
constexpr Templates commodityTemplates{
    {"Gold {goldVerb} to ${gold} as {goldDriver}"_L1,
     "XAU/USD is {goldChange} on the day as {goldDriver}. The dollar index stands at {dxy}."_L1},
    {"Gold price forecast: XAU/USD {goldBias} near ${gold}"_L1,
     "Spot gold trades at ${gold}, {goldChange} since the previous close; {goldRound} is the next round number."_L1},
    {"Oil prices {oilVerbPlural} {oilPct}% as {oilDriver}"_L1,
     "WTI trades near ${oil} a barrel, Brent near ${brent}. The move feeds into the Canadian dollar; USD/CAD at {cadLevel}."_L1},
    {"WTI crude {oilVerbs} to ${oil} a barrel as {oilDriver}"_L1,
     "Brent trades near ${brent}. USD/CAD stands at {cadLevel}."_L1},
    {"XAU/USD {goldVerb} toward {goldRound} as {goldDriver}"_L1,
     "Gold trades at ${gold} an ounce, {goldChange} on the day."_L1},
};
constexpr Templates riskOnTemplates{
    {"Risk-on mood lifts Aussie and kiwi as {riskOnDriver}; AUD/JPY at {audJpy}"_L1,
     "Commodity currencies lead; the yen loses its safe-haven bid. AUD/USD trades at {audUsd}."_L1},
    {"Yen slips as risk appetite returns; USD/JPY at {usdJpy}"_L1,
     "Equity futures point higher as {riskOnDriver}. Gold trades at ${gold}."_L1},
    {"Stocks firm, safe havens fade as {riskOnDriver}"_L1,
     "AUD/JPY trades at {audJpy}; the Swiss franc eases against the euro, EUR/CHF at {eurChf}."_L1},
};
constexpr Templates riskOffTemplates{
    {"Risk-off: yen and Swiss franc gain as {riskOffEvent}"_L1,
     "Safe-haven currencies outperform while equity futures fall; USD/JPY trades at {usdJpy}, EUR/CHF at {eurChf}."_L1},
    {"Safe-haven demand returns as {riskOffEvent}; gold at ${gold}"_L1,
     "The yen and gold rise; AUD/JPY slips to {audJpy}."_L1},
    {"AUD/JPY slides to {audJpy} as {riskOffEvent}"_L1,
     "Risk aversion hits commodity currencies; AUD/USD trades at {audUsd}."_L1},
};
constexpr Templates quietTemplates{
    {"Forex live: {pair} steady at {level} in quiet {session} session"_L1,
     "Ranges are narrow with few data releases; {pair} is {dayChange} on the day."_L1},
    {"FX wrap: {pair} {dayChange}, gold at ${gold}, DXY {dxy}"_L1,
     "Markets await {nextEvent}. USD/JPY trades at {usdJpy}."_L1},
};
constexpr Templates marketTemplates{
    {"Stocks {stocksVerb} as Treasury yields {yieldsVerb}; S&P 500 at {spxLevel}"_L1,
     "The S&P 500 is {spxChange} while the 10-year yield trades near {yield}%. The dollar index stands at {dxy}."_L1},
    {"Dow {stocksVerb}s {points} points to {dowLevel}, Nasdaq {nasdaqChange}"_L1,
     "Investors weighed earnings against the outlook for interest rates; the 10-year yield is at {yield}%."_L1},
    {"Treasury yields {yieldsVerb} ahead of {nextEvent}; 10-year at {yield}%, EUR/USD {eurUsd}"_L1,
     "The 2-year yield trades near {yield2}%. USD/JPY is at {usdJpy}."_L1},
    {"Dollar index {dxyVerb}s to {dxyFine} as traders weigh {nextEvent}"_L1,
     "EUR/USD trades at {eurUsd}, USD/JPY at {usdJpy}."_L1},
    {"S&P 500 {stocksVerb}s {spxPct} to {spxLevel} as rate cut bets {cutBets}"_L1,
     "The 10-year Treasury yield is at {yield}%; the dollar index at {dxy}."_L1},
    {"Wall Street {wallStreet}: S&P 500 {spxChange} at {spxLevel}, 10-year yield {yield}%"_L1,
     "Rate-sensitive shares set the tone; the dollar index trades at {dxy}."_L1},
    {"Nasdaq {stocksVerb}s {nasdaqPct} to {nasdaqLevel} as tech {techMood}"_L1,
     "The S&P 500 is {spxChange}; Treasury yields {yieldsVerb} with the 10-year at {yield}%."_L1},
};
constexpr Templates economyTemplates{
    {"Mortgage rates {mortgageVerb} to {mortgage}% as bond yields {yieldsVerb}"_L1,
     "The average 30-year fixed rate tracks the 10-year Treasury yield, now at {yield}%."_L1},
    {"Consumers {consumerMood} as {month} prices {priceTrend}"_L1,
     "Households remain focused on the cost of living; economists expect {bank} rate {moveWord}s later this year."_L1},
    {"Housing market {housingVerb} as borrowing costs hover near {mortgage}%"_L1,
     "Sales of existing homes {housingSales}; mortgage rates follow bond yields, with the 10-year at {yield}%."_L1},
    {"{bank} seen delivering {cuts} this year, economists' survey shows"_L1,
     "Most economists expect the {bankLong} to move rates from {rate} in the coming months."_L1},
    {"Pound {gbpVerb} against the euro as UK {ukTopic}; EUR/GBP at {eurGbp}"_L1,
     "Sterling is {gbpChange} against the dollar on the day; GBP/USD trades at {gbpUsd}."_L1},
    {"Wage growth {wageVerb}, {wageEffect} the {bank}"_L1,
     "Pay growth {wageDetail}, a key input for the {bankLong}'s next decision."_L1},
};
constexpr Templates shockTemplates{
    {"Japan's top currency diplomat warns against speculative yen moves as USD/JPY nears {jpyRound}"_L1,
     "Officials are watching the market with a high sense of urgency; USD/JPY trades at {usdJpy}."_L1},
    {"{agency} {ratingAction} {sovereign} at {grade}, outlook {outlook}"_L1,
     "Bond spreads {spreadMove} after the decision; EUR/USD trades at {eurUsd}."_L1},
    {"Reports: {bank} officials discuss {runoff} pace of balance-sheet runoff"_L1,
     "People familiar with the talks say no decision has been made. {bankPair} trades at {bankPairLevel}."_L1},
    {"PBoC sets USD/CNY fixing at {cnyFix}, {fixSide} than estimated"_L1,
     "The fixing signals {fixSignal}; AUD/USD trades at {audUsd}."_L1},
};
constexpr Templates fedReleaseTemplates{
    {"Federal Reserve Board announces approval of application by {holdingCompany}"_L1,
     "The Federal Reserve Board on {weekday} announced its approval of the application by {holdingCompany}."_L1},
    {"Federal Reserve Board announces termination of enforcement action with {holdingCompany}"_L1,
     "The Federal Reserve Board on {weekday} announced the termination of an enforcement action."_L1},
    {"Federal Reserve Board issues enforcement action with {holdingCompany}"_L1,
     "The action requires the firm to improve its risk management."_L1},
    {"Minutes of the Board's discount rate meetings on {dateA} and {dateB}"_L1,
     "The Federal Reserve Board released the minutes of its discount rate meetings."_L1},
    {"Federal Reserve Board releases the {report}, {month} {year}"_L1,
     "The report is available on the Board's website."_L1},
};
constexpr Templates fedSpeechTemplates{
    {"{fedSpeaker}, {speechTopic}"_L1, "Speech at the {venue}."_L1},
};
constexpr Templates bojTemplates{
    {"Monetary Base ({month} {year})"_L1, "The monetary base grew from a year earlier."_L1},
    {"Bank of Japan Accounts ({shortDate})"_L1, "Accounts as of the end of the ten-day period."_L1},
    {"Money Stock ({month} {year})"_L1, "M2 and M3 averages outstanding."_L1},
    {"Results of Outright Purchases of Japanese Government Bonds ({shortDate})"_L1,
     "Purchase amounts by remaining maturity."_L1},
    {"Corporate Goods Price Index ({month} {year})"_L1, "Preliminary figures."_L1},
    {"Services Producer Price Index ({month} {year})"_L1, "Preliminary figures."_L1},
    {"Speech by {bojOfficial} at {bojVenue}"_L1, "Japan's Economy and Monetary Policy."_L1},
    {"Summary of Opinions at the Monetary Policy Meeting ({shortDate})"_L1,
     "Opinions presented at the meeting on the outlook for economic activity and prices."_L1},
    {"Regional Economic Report ({month} {year})"_L1, "Assessments of the regional economies by the branches."_L1},
    {"Loans and Discounts by Sector ({quarter})"_L1, "Outstanding loans by industry."_L1},
};

// ---------------------------------------------------------------------------
// Names of calendar releases as desks write them.

QString countryOf(const MarketEvent &event)
{
    if (event.title.startsWith("German"_L1) || event.title.startsWith("Tokyo"_L1))
        return QString();
    return QString(currency(event.currency).country);
}

// "US nonfarm payrolls", "the ECB decision", "Australian retail sales m/m";
// without the article where a headline starts with it ("ECB decision preview").
QString eventName(const MarketEvent &event, bool withArticle = true)
{
    struct Known
    {
        QLatin1StringView currency;
        QLatin1StringView title;
        QLatin1StringView name;
    };
    static const Known known[] = {
        {"USD"_L1, "Non-Farm Employment Change"_L1, "US nonfarm payrolls"_L1},
        {"USD"_L1, "ADP Non-Farm Employment Change"_L1, "US ADP employment"_L1},
        {"USD"_L1, "CPI m/m"_L1, "US CPI"_L1},
        {"USD"_L1, "Core CPI m/m"_L1, "US core CPI"_L1},
        {"USD"_L1, "Unemployment Claims"_L1, "US jobless claims"_L1},
        {"USD"_L1, "Unemployment Rate"_L1, "the US unemployment rate"_L1},
        {"USD"_L1, "Average Hourly Earnings m/m"_L1, "US average hourly earnings"_L1},
        {"USD"_L1, "Federal Funds Rate"_L1, "the Fed decision"_L1},
        {"USD"_L1, "FOMC Statement"_L1, "the FOMC statement"_L1},
        {"USD"_L1, "FOMC Press Conference"_L1, "Powell's press conference"_L1},
        {"USD"_L1, "Prelim UoM Consumer Sentiment"_L1, "US consumer sentiment"_L1},
        {"USD"_L1, "Crude Oil Inventories"_L1, "EIA crude inventories"_L1},
        {"EUR"_L1, "CPI Flash Estimate y/y"_L1, "euro zone flash inflation"_L1},
        {"EUR"_L1, "Main Refinancing Rate"_L1, "the ECB decision"_L1},
        {"EUR"_L1, "ECB Press Conference"_L1, "Lagarde's press conference"_L1},
        {"GBP"_L1, "Official Bank Rate"_L1, "the BoE decision"_L1},
        {"AUD"_L1, "Cash Rate"_L1, "the RBA decision"_L1},
        {"NZD"_L1, "Official Cash Rate"_L1, "the RBNZ decision"_L1},
        {"CAD"_L1, "Overnight Rate"_L1, "the BoC decision"_L1},
        {"CAD"_L1, "Employment Change"_L1, "Canadian jobs data"_L1},
        {"NZD"_L1, "Employment Change q/q"_L1, "New Zealand jobs data"_L1},
        {"CNY"_L1, "Caixin Manufacturing PMI"_L1, "China's Caixin PMI"_L1},
    };
    for (const Known &entry : known) {
        if (entry.currency == event.currency && entry.title == event.title)
            return withArticle || !entry.name.startsWith("the "_L1) ? QString(entry.name) : QString(entry.name.sliced(4));
    }
    const QString country = countryOf(event);
    return country.isEmpty() ? event.title : country + u' ' + event.title;
}

// The pair in which a currency's news shows most.
const Instrument &pairFor(QAnyStringView code)
{
    static const QHash<QString, QString> pairs{
        {u"USD"_s, u"EUR/USD"_s}, {u"EUR"_s, u"EUR/USD"_s}, {u"GBP"_s, u"GBP/USD"_s}, {u"JPY"_s, u"USD/JPY"_s},
        {u"CHF"_s, u"USD/CHF"_s}, {u"AUD"_s, u"AUD/USD"_s}, {u"NZD"_s, u"NZD/USD"_s}, {u"CAD"_s, u"USD/CAD"_s},
        {u"CNY"_s, u"AUD/USD"_s}};
    const Instrument *found = instrumentFor(pairs.value(code.toString(), u"EUR/USD"_s));
    return found ? *found : instruments[eurUsd];
}

bool isRateDecision(const MarketEvent &event)
{
    return event.hasFigures && event.spread == 0 && event.unit == "%"_L1;
}

int bankOf(QAnyStringView code)
{
    for (int i = 0; i < int(std::size(banks)); ++i) {
        if (banks[i].code == code)
            return i;
    }
    return -1;
}

// ---------------------------------------------------------------------------
// A scene: everything one story may mention, drawn once, prices looked up
// only when a template asks for them.

class Scene
{
public:
    Scene(Rng &rng, const QDateTime &published, const StoryContext &context)
        : m_rng(rng), m_published(published), m_context(context)
    {
    }

    void pickInstrument(int fixed = -1)
    {
        if (fixed >= 0) {
            m_instrument = &instruments[fixed];
            return;
        }
        int total = 0;
        for (const Instrument &instrument : instruments)
            total += instrument.weight;
        int draw = m_rng.below(total);
        for (const Instrument &instrument : instruments) {
            draw -= instrument.weight;
            if (draw < 0) {
                m_instrument = &instrument;
                return;
            }
        }
    }
    void setInstrument(const Instrument &instrument) { m_instrument = &instrument; }
    void pickBank(int fixed = -1)
    {
        m_bank = &banks[fixed >= 0 ? fixed : m_rng.pick(bankDraw)];
        m_official = m_rng.pick(m_bank->officials);
    }

    // A price of `ticker` `minutesBack` before publication.
    double price(QLatin1StringView ticker, int minutesBack = 0) const
    {
        return m_context.prices.lastPrice(ticker, m_published.addSecs(-60 * minutesBack)).value_or(0);
    }
    double dayChangePercent(QLatin1StringView ticker) const
    {
        const double close = m_context.prices.previousClose(ticker, m_published).value_or(0);
        return close > 0 ? (price(ticker) / close - 1) * 100 : 0;
    }
    // The move of the last hour, as a fraction.
    double hourMove(QLatin1StringView ticker) const
    {
        const double before = price(ticker, 60);
        return before > 0 ? price(ticker) / before - 1 : 0;
    }
    // How far `code` moved in the last hour, by its pair against the dollar (or the euro's).
    double currencyMove(QAnyStringView code) const
    {
        if (code == "USD"_L1)
            return -hourMove("EURUSD=X"_L1);
        const Instrument &pair = pairFor(code);
        const double move = hourMove(pair.ticker);
        return pair.base == code ? move : -move;
    }
    bool riskOn() const
    {
        if (!m_riskOn)
            m_riskOn = price("AUDJPY=X"_L1) >= price("AUDJPY=X"_L1, 120);
        return *m_riskOn;
    }

    QString fill(QLatin1StringView text)
    {
        const QString source(text);
        QString result;
        qsizetype i = 0;
        while (i < source.size()) {
            const qsizetype open = source.indexOf(u'{', i);
            const qsizetype close = open < 0 ? -1 : source.indexOf(u'}', open);
            if (close < 0)
                break;
            result += QStringView(source).sliced(i, open - i);
            result += token(QStringView(source).sliced(open + 1, close - open - 1));
            i = close + 1;
        }
        result += QStringView(source).sliced(i);
        return result;
    }

    Story write(const Template &chosen)
    {
        Story story{fill(chosen.headline), fill(chosen.summary), m_motifs};
        QString subject = m_instrument ? QString(m_instrument->symbol) : QString();
        if (m_bank && chosen.headline.contains("{bank}"_L1))
            subject += m_bank->name;
        story.motifs.prepend(chosen.headline + u'|' + subject);
        return story;
    }

    const Instrument *instrument() const { return m_instrument; }
    const Bank *bank() const { return m_bank; }

private:
    QString pairLevel(const Instrument &instrument, double offsetPercent = 0) const
    {
        return number(price(instrument.ticker) * (1 + offsetPercent / 100), instrument.decimals);
    }
    double pip(const Instrument &instrument) const { return instrument.decimals == 2 ? 0.01 : 0.0001; }
    // The nearest level on a 50-pip grid in the direction of the move.
    QString roundLevel(const Instrument &instrument, bool up) const
    {
        const double step = 50 * pip(instrument);
        const double now = price(instrument.ticker);
        const double level = up ? std::ceil(now / step + 0.01) * step : std::floor(now / step - 0.01) * step;
        return number(level, instrument.decimals);
    }
    bool pairUp() const { return hourMove(m_instrument->ticker) >= 0; }
    QString verb(double move, bool thirdPerson = true) const
    {
        const double size = std::abs(move);
        const Words &words = move >= 0 ? (size < 0.0005 ? smallRise : size < 0.003 ? rise : bigRise)
                                       : (size < 0.0005 ? smallFall : size < 0.003 ? fall : bigFall);
        const QString word = *(words.begin() + m_verbDraw % words.size());
        if (thirdPerson)
            return word;
        // "climbs" -> "climb", "rallies" -> "rally" for a plural subject.
        QString plural = word;
        const qsizetype blank = plural.indexOf(u' ');
        const qsizetype end = blank < 0 ? plural.size() : blank;
        if (QStringView(plural).first(end).endsWith(u"ies"))
            plural.replace(end - 3, 3, u"y"_s);
        else if (plural.at(end - 1) == u's')
            plural.remove(end - 1, 1);
        return plural;
    }
    QString driverFor(const Instrument &instrument, bool up)
    {
        // A pair rises when its base gains or its quote loses; either side can be the reason.
        const bool byBase = m_driverDraw % 2 == 0;
        const Currency &side = currency(byBase ? instrument.base : instrument.quote);
        const bool strong = byBase ? up : !up;
        const Words &reasons = strong ? side.strong : side.weak;
        return *(reasons.begin() + (m_driverDraw / 2) % reasons.size());
    }
    QString lean() const
    {
        if (!m_lean) {
            const double move = m_bank ? currencyMove(m_bank->code) : 0;
            m_lean = move > 0.0006 ? 1 : move < -0.0006 ? -1 : 0;
        }
        return *m_lean > 0 ? u"hawkish"_s : *m_lean < 0 ? u"dovish"_s : u"neutral"_s;
    }
    QString quote()
    {
        // A quiet market leaves every view on the table.
        QString stance = lean();
        if (stance == "neutral"_L1)
            stance = (Words{"hawkish"_L1, "dovish"_L1, "neutral"_L1}).begin()[m_quoteDraw / 7 % 3];
        const Words &quotes = stance == "hawkish"_L1 ? hawkishQuotes : stance == "dovish"_L1 ? dovishQuotes : neutralQuotes;
        return *(quotes.begin() + m_quoteDraw % quotes.size());
    }
    QString nextEventName() const
    {
        return m_context.next ? eventName(*m_context.next) : u"key data later this week"_s;
    }
    QString nextTime() const
    {
        if (!m_context.next)
            return u"later this week"_s;
        const QDateTime at = m_context.next->at;
        const QString clock = at.toString(u"HH:mm"_s) + u" GMT"_s;
        return at.date() == m_published.date() ? clock : QLocale::c().dayName(at.date().dayOfWeek()) + u' ' + clock;
    }
    const MarketEvent *lastRelease() const
    {
        for (qsizetype i = m_context.recent.size() - 1; i >= 0; --i) {
            if (m_context.recent[i].hasFigures && m_context.recent[i].hasForecast && m_context.recent[i].isHigh())
                return &m_context.recent[i];
        }
        return nullptr;
    }

    QString token(QStringView name)
    {
        const Instrument &pair = m_instrument ? *m_instrument : instruments[eurUsd];
        const auto tickerMove = [&](QLatin1StringView ticker) { return hourMove(ticker); };
        // Pairs
        if (name == u"pair") return pair.symbol;
        if (name == u"level") return pairLevel(pair);
        if (name == u"levelUp") return pairLevel(pair, 0.25);
        if (name == u"levelDown") return pairLevel(pair, -0.25);
        if (name == u"round") return roundLevel(pair, pairUp());
        if (name == u"pivot") return roundLevel(pair, !pairUp());
        if (name == u"target") return pairLevel(pair, pairUp() ? 0.4 : -0.4);
        if (name == u"pairVerb") return verb(tickerMove(pair.ticker));
        if (name == u"pairDriver") return motif(driverFor(pair, pairUp()));
        if (name == u"pips") {
            const double pips = std::max(std::round(std::abs(price(pair.ticker) - price(pair.ticker, 60)) / pip(pair)), 1.0);
            return number(pips, 0) + (pips == 1 ? u" pip"_s : u" pips"_s);
        }
        if (name == u"dayChange") return signedPercent(dayChangePercent(pair.ticker));
        if (name == u"Base") return capitalised(QString(currency(pair.base).name));
        if (name == u"baseVerb") return verb(tickerMove(pair.ticker));
        if (name == u"quoteName") return currency(pair.quote).name;
        if (name == u"bias") return pairUp() ? u"bulls in control"_s : u"bears in control"_s;
        if (name == u"biasWord") return pairUp() ? u"bullish"_s : u"bearish"_s;
        if (name == u"aboveBelow") return pairUp() ? u"above"_s : u"below"_s;
        if (name == u"supportResistance") return pairUp() ? u"support"_s : u"resistance"_s;
        if (name == u"liquidity") return m_published.time().hour() < 7 ? u"thin"_s : u"normal"_s;
        if (name == u"session") {
            const int hour = m_published.time().hour();
            return hour < 7 ? u"Asian"_s : hour < 13 ? u"European"_s : hour < 21 ? u"North American"_s : u"late US"_s;
        }
        // Central banks
        const Bank &bank = m_bank ? *m_bank : banks[fed];
        if (name == u"bank") return bank.name;
        if (name == u"bankLong") return bank.longName;
        if (name == u"official") return m_official;
        if (name == u"rate") return bank.rateText;
        if (name == u"quote") return motif(quote());
        if (name == u"bankPair") return pairFor(bank.code).symbol;
        if (name == u"bankPairLevel") return pairLevel(pairFor(bank.code));
        // The BoJ is the one bank whose next move is up.
        const bool hiking = bank.code == "JPY"_L1;
        if (name == u"moveWord") return hiking ? u"hike"_s : u"cut"_s;
        if (name == u"policyWord") return hiking ? u"tightening"_s : u"easing"_s;
        if (name == u"pareAdd") return (lean() == "dovish"_L1) != hiking ? u"add to"_s : u"pare"_s;
        if (name == u"basisPoints") return number((lean() == "dovish"_L1) != hiking ? 45 + 5 * (m_quoteDraw % 11) : 10 + 5 * (m_quoteDraw % 9), 0);
        if (name == u"leanEffect") {
            const QString who = currency(bank.code).name;
            return lean() == "hawkish"_L1 ? u"The %1 firmed on the remarks."_s.arg(who)
                 : lean() == "dovish"_L1 ? u"The %1 eased as traders priced in more cuts."_s.arg(who)
                                         : u"The %1 showed little reaction."_s.arg(who);
        }
        if (name == u"cuts" && hiking) return u"one more rate hike"_s;
        if (name == u"cuts") return (Words{"one rate cut"_L1, "two rate cuts"_L1, "three rate cuts"_L1}).begin()[m_quoteDraw % 3];
        if (name == u"venue") return m_rng.pick(venues);
        // The calendar
        if (name == u"nextEvent") return nextEventName();
        if (name == u"NextEvent") return capitalised(m_context.next ? eventName(*m_context.next, false) : nextEventName());
        if (name == u"nextTime") return nextTime();
        if (name == u"nextForecast") {
            const MarketEvent *next = m_context.next ? &*m_context.next : nullptr;
            return next && next->hasForecast ? next->figure(next->forecast) : u"no change"_s;
        }
        if (name == u"nextPair") return pairFor(m_context.next ? m_context.next->currency : u"USD"_s).symbol;
        if (name == u"nextPairLevel") return pairLevel(pairFor(m_context.next ? m_context.next->currency : u"USD"_s));
        if (const MarketEvent *last = lastRelease(); last && name.startsWith(u"last", Qt::CaseInsensitive)) {
            const Instrument &lastPair = pairFor(last->currency);
            const double surprise = last->actual - last->forecast;
            if (name == u"lastName") return eventName(*last, false);
            if (name == u"LastName") return capitalised(eventName(*last, false));
            if (name == u"lastActual") return last->figure(last->actual);
            if (name == u"lastForecast") return last->figure(last->forecast);
            if (name == u"lastBeat") return surprise > 0 ? u"above"_s : surprise < 0 ? u"below"_s : u"in line with"_s;
            if (name == u"lastCurrencyName") return currency(last->currency).name;
            if (name == u"lastReaction") return last->tone >= 0 ? u"firms"_s : u"softens"_s;
            if (name == u"lastPair") return lastPair.symbol;
            if (name == u"lastPairLevel") return pairLevel(lastPair);
            if (name == u"lastPairVerb") {
                const double since = price(lastPair.ticker) / m_context.prices.lastPrice(lastPair.ticker, last->at).value_or(1) - 1;
                return verb(since);
            }
        }
        // Gold, oil, yields, the dollar index, stocks
        if (name == u"gold") return grouped(price("GC=F"_L1), 2);
        if (name == u"goldRound") {
            const double gold = price("GC=F"_L1);
            return u"$"_s + grouped(hourMove("GC=F"_L1) >= 0 ? std::ceil(gold / 25 + 0.01) * 25 : std::floor(gold / 25 - 0.01) * 25, 0);
        }
        if (name == u"goldVerb") return verb(hourMove("GC=F"_L1));
        if (name == u"goldBias") return hourMove("GC=F"_L1) >= 0 ? u"buyers defend gains"_s : u"sellers test support"_s;
        if (name == u"goldDriver") {
            const Words &reasons = hourMove("GC=F"_L1) >= 0 ? goldUp : goldDown;
            return *(reasons.begin() + m_driverDraw % reasons.size());
        }
        if (name == u"goldChange") return signedPercent(dayChangePercent("GC=F"_L1));
        if (name == u"oil") return number(price("CL=F"_L1), 2);
        if (name == u"brent") return number(price("CL=F"_L1) * 1.052, 2);
        if (name == u"oilVerbs") return verb(hourMove("CL=F"_L1));
        if (name == u"oilVerbPlural") return verb(hourMove("CL=F"_L1), false);
        if (name == u"oilPct") return number(std::abs(dayChangePercent("CL=F"_L1)), 1);
        if (name == u"oilDriver") {
            const Words &reasons = hourMove("CL=F"_L1) >= 0 ? oilUp : oilDown;
            return *(reasons.begin() + m_driverDraw % reasons.size());
        }
        if (name == u"cadLevel") return pairLevel(*instrumentFor(u"USD/CAD"));
        if (name == u"dxy") return number(price("DX-Y.NYB"_L1), 2);
        if (name == u"dxyVerb") return hourMove("DX-Y.NYB"_L1) >= 0 ? u"gain"_s : u"slip"_s;
        if (name == u"yield") return number(price("^TNX"_L1), 3);
        if (name == u"yield2") return number(price("^TNX"_L1) + 0.42, 3);
        if (name == u"yieldsVerb") return hourMove("^TNX"_L1) >= 0 ? u"rise"_s : u"fall"_s;
        if (name == u"stocksVerb") return spx() >= 0 ? u"rise"_s : u"fall"_s;
        if (name == u"spxChange") return signedPercent(spx());
        if (name == u"spxPct") return number(std::abs(spx()), 2) + u'%';
        if (name == u"nasdaqPct") return number(std::abs(spx() * 1.3), 2) + u'%';
        if (name == u"spxLevel") return grouped(index(5200, 1.4), 2);
        if (name == u"dowLevel") return grouped(index(39100, 1.1), 0);
        if (name == u"nasdaqLevel") return grouped(index(16300, 1.8), 2);
        if (name == u"wallStreet") return spx() >= 0 ? u"higher"_s : u"lower"_s;
        if (name == u"techMood") return spx() >= 0 ? u"leads the gains"_s : u"weighs"_s;
        if (name == u"dxyFine") return number(price("DX-Y.NYB"_L1), 3);
        if (name == u"nasdaqChange") return signedPercent(spx() * 1.3);
        if (name == u"points") return number(std::max(std::abs(spx()) * 390, 12.0), 0);
        if (name == u"cutBets") return hourMove("^TNX"_L1) < 0 ? u"firm"_s : u"fade"_s;
        if (name == u"mortgage") return number(price("^TNX"_L1) + 2.62, 2);
        if (name == u"mortgageVerb") return hourMove("^TNX"_L1) >= 0 ? u"climb"_s : u"ease"_s;
        if (name == u"eurUsd") return pairLevel(instruments[eurUsd]);
        if (name == u"usdJpy") return pairLevel(*instrumentFor(u"USD/JPY"));
        if (name == u"audJpy") return pairLevel(*instrumentFor(u"AUD/JPY"));
        if (name == u"audUsd") return pairLevel(*instrumentFor(u"AUD/USD"));
        if (name == u"eurChf") return pairLevel(*instrumentFor(u"EUR/CHF"));
        if (name == u"eurGbp") return pairLevel(*instrumentFor(u"EUR/GBP"));
        if (name == u"gbpUsd") return pairLevel(*instrumentFor(u"GBP/USD"));
        if (name == u"gbpVerb") return hourMove("EURGBP=X"_L1) <= 0 ? u"rises"_s : u"slips"_s;
        if (name == u"gbpChange") return signedPercent(dayChangePercent("GBPUSD=X"_L1));
        if (name == u"jpyRound") return number(std::ceil(price("USDJPY=X"_L1) / 0.5) * 0.5, 2);
        if (name == u"riskOnDriver") return *(riskOnDrivers.begin() + m_driverDraw % riskOnDrivers.size());
        if (name == u"riskOffEvent") return *(riskOffEvents.begin() + m_driverDraw % riskOffEvents.size());
        // Economy
        if (name == u"consumerMood") return riskOn() ? u"grow more upbeat"_s : u"turn more cautious"_s;
        if (name == u"priceTrend") return hourMove("^TNX"_L1) >= 0 ? u"keep rising"_s : u"cool"_s;
        if (name == u"housingVerb") return hourMove("^TNX"_L1) >= 0 ? u"cools"_s : u"steadies"_s;
        if (name == u"housingSales") return hourMove("^TNX"_L1) >= 0 ? u"fell for a second month"_s : u"edged up"_s;
        if (name == u"ukTopic") return hourMove("EURGBP=X"_L1) <= 0 ? u"data beat forecasts"_s : u"growth disappoints"_s;
        if (name == u"wageVerb") return lean() == "hawkish"_L1 ? u"stays hot"_s : u"slows"_s;
        if (name == u"wageEffect") return lean() == "hawkish"_L1 ? u"a headache for"_s : u"giving room to"_s;
        if (name == u"wageDetail") return lean() == "hawkish"_L1 ? u"held near its highest in a year"_s : u"eased to its slowest pace in two years"_s;
        // Shocks
        if (name == u"agency") return m_rng.pick(agencies);
        if (name == u"sovereign") return m_rng.pick(sovereigns);
        if (name == u"grade") return m_rng.pick(grades);
        if (name == u"ratingAction") return riskOn() ? u"affirms"_s : u"downgrades"_s;
        if (name == u"outlook") return riskOn() ? u"stable"_s : u"negative"_s;
        if (name == u"spreadMove") return riskOn() ? u"narrowed slightly"_s : u"widened"_s;
        if (name == u"runoff") return lean() == "dovish"_L1 ? u"slower"_s : u"steady"_s;
        if (name == u"cnyFix") return number(price("USDCNH=X"_L1) * 0.9988 - 0.04, 4);
        if (name == u"fixSide") return riskOn() ? u"stronger"_s : u"weaker"_s;
        if (name == u"fixSignal") return riskOn() ? u"support for the yuan"_s : u"tolerance for a softer yuan"_s;
        // Institutions
        if (name == u"holdingCompany") return m_rng.pick(holdingCompanies);
        if (name == u"fedSpeaker") return m_rng.pick(fedSpeakers);
        if (name == u"speechTopic") return m_rng.pick(speechTopics);
        if (name == u"bojOfficial") return m_rng.pick(bojOfficials);
        if (name == u"bojVenue") return m_rng.pick(bojVenues);
        if (name == u"report") {
            return m_rng.pick(Words{"Senior Loan Officer Opinion Survey"_L1, "Financial Stability Report"_L1,
                                    "Supervision and Regulation Report"_L1, "Beige Book"_L1,
                                    "Survey of Household Economics and Decisionmaking"_L1});
        }
        // Dates
        if (name == u"weekday") return QLocale::c().dayName(m_published.date().dayOfWeek());
        if (name == u"month") return QLocale::c().monthName(reportMonth().month());
        if (name == u"year") return QString::number(reportMonth().year());
        if (name == u"shortDate") return QLocale::c().toString(m_published.date().addDays(-m_rng.below(20)), u"MMM d"_s);
        if (name == u"dateA") return QLocale::c().toString(m_published.date().addDays(-30 - m_rng.below(40)), u"MMMM d"_s);
        if (name == u"dateB") return QLocale::c().toString(m_published.date().addDays(-10 - m_rng.below(15)), u"MMMM d"_s);
        if (name == u"quarter") {
            const QDate date = m_published.date().addMonths(-3 - 3 * m_rng.below(2));
            return u"Q%1 %2"_s.arg((date.month() - 1) / 3 + 1).arg(date.year());
        }
        return u'{' + name.toString() + u'}';
    }

    QString motif(const QString &phrase)
    {
        if (!m_motifs.contains(phrase))
            m_motifs.append(phrase);
        return phrase;
    }

    // The month a report covers: one of the last three.
    QDate reportMonth()
    {
        if (!m_reportMonth.isValid())
            m_reportMonth = m_published.date().addMonths(-1 - m_rng.below(3));
        return m_reportMonth;
    }

    // An equity index level that follows the risk mood, `gearing` times
    // the Aussie's moves against the yen.
    double index(double base, double gearing) const
    {
        return base * std::pow(price("AUDJPY=X"_L1) / 99.5, gearing);
    }

    // Equities are not simulated; their day follows the risk mood the
    // Aussie against the yen shows.
    double spx() const
    {
        const double move = dayChangePercent("AUDJPY=X"_L1);
        return std::clamp(move * 1.4, -2.5, 2.5);
    }

public:
    int m_verbDraw = 0;
    int m_driverDraw = 0;
    int m_quoteDraw = 0;

private:
    Rng &m_rng;
    QDateTime m_published;
    const StoryContext &m_context;
    const Instrument *m_instrument = nullptr;
    const Bank *m_bank = nullptr;
    QLatin1StringView m_official;
    mutable std::optional<int> m_lean;
    mutable std::optional<bool> m_riskOn;
    QDate m_reportMonth;
    QStringList m_motifs;
};

const Template &pick(Rng &rng, const Templates &templates)
{
    return *(templates.begin() + rng.below(templates.size()));
}

} // namespace

Story storyAbout(Topic topic, Rng &rng, const QDateTime &published, const StoryContext &context)
{
    Scene scene(rng, published, context);
    scene.m_verbDraw = rng.below(12);
    scene.m_driverDraw = rng.below(60);
    scene.m_quoteDraw = rng.below(60);
    switch (topic) {
    case Topic::CentralBanks:
        scene.pickBank();
        return scene.write(pick(rng, bankTemplates));
    case Topic::Fed:
    case Topic::Ecb:
        scene.pickBank(topic == Topic::Fed ? fed : ecb);
        return scene.write(pick(rng, bankTemplates));
    case Topic::Data:
    case Topic::Economy: {
        const bool recap = std::any_of(context.recent.cbegin(), context.recent.cend(), [](const MarketEvent &event) {
            return event.hasFigures && event.hasForecast && event.isHigh();
        });
        const int draw = rng.below(10);
        scene.pickBank();
        scene.pickInstrument();
        if (recap && draw < 4)
            return scene.write(pick(rng, dataRecapTemplates));
        if (context.next && draw < 7)
            return scene.write(pick(rng, previewTemplates));
        return scene.write(pick(rng, topic == Topic::Economy ? economyTemplates : pairTemplates));
    }
    case Topic::Pairs:
    case Topic::EurUsd:
        scene.pickInstrument(topic == Topic::EurUsd ? eurUsd : -1);
        return scene.write(pick(rng, pairTemplates));
    case Topic::Technicals:
        scene.pickInstrument();
        return scene.write(pick(rng, technicalTemplates));
    case Topic::Commodities:
        return scene.write(pick(rng, commodityTemplates));
    case Topic::RiskMood:
        scene.pickInstrument();
        if (rng.below(4) == 0)
            return scene.write(pick(rng, quietTemplates));
        return scene.write(pick(rng, scene.riskOn() ? riskOnTemplates : riskOffTemplates));
    case Topic::Shocks:
        scene.pickBank();
        return scene.write(pick(rng, shockTemplates));
    case Topic::Markets:
        scene.pickBank();
        return scene.write(pick(rng, marketTemplates));
    case Topic::FedReleases:
        return scene.write(pick(rng, fedReleaseTemplates));
    case Topic::FedSpeeches:
        return scene.write(pick(rng, fedSpeechTemplates));
    case Topic::BojReleases:
        return scene.write(pick(rng, bojTemplates));
    }
    return scene.write(pick(rng, pairTemplates));
}

namespace {

// The sentence on a release's figures: "CPI m/m 0.4% vs 0.3% expected".
Story releaseReport(const MarketEvent &event, int variant, const QDateTime &published, const StoryContext &context)
{
    const QString name = eventName(event);
    const QString title = countryOf(event).isEmpty() ? event.title : countryOf(event) + u' ' + event.title;
    const Instrument &pair = pairFor(event.currency);
    const QString level = number(context.prices.lastPrice(pair.ticker, published).value_or(0), pair.decimals);
    const QString actual = event.figure(event.actual);
    const QString previous = event.figure(event.previous);
    const QString currencyName = currency(event.currency).name;
    const bool good = event.tone >= 0;
    const QString reaction = u"The %1 %2; %3 trades at %4."_s.arg(currencyName, good ? u"firmed"_s : u"softened"_s,
                                                                   pair.symbol, level);
    if (!event.hasForecast) {
        // Auctions: no forecast, the result against the last one.
        return {u"%1 at %2, previous %3"_s.arg(title, actual, previous),
                u"The result compares with %1 at the previous sale. %2"_s.arg(previous, reaction)};
    }
    const QString forecast = event.figure(event.forecast);
    const double surprise = event.actual - event.forecast;
    const QString side = surprise > 0 ? u"above"_s : surprise < 0 ? u"below"_s : u"in line with"_s;
    const QString summary = u"%1 came in at %2 against a forecast of %3 and %4 previously. %5"_s.arg(
        capitalised(name), actual, forecast, previous, reaction);
    const QString month = QLocale::c().monthName(published.date().addMonths(-1).month());
    switch (variant % 4) {
    case 0: return {u"%1 %2 vs %3 expected"_s.arg(title, actual, forecast), summary};
    case 1:
        return {u"%1 %2 to %3 in %4, %5 the %6 forecast"_s.arg(
                    capitalised(name), event.actual >= event.previous ? u"rises"_s : u"falls"_s, actual, month, side,
                    forecast),
                summary};
    case 2:
        if (event.isHigh()) {
            return {u"Breaking: %1 %2 at %3 (forecast %4)"_s.arg(
                        name, surprise > 0 ? u"beats"_s : surprise < 0 ? u"misses"_s : u"matches"_s, actual, forecast),
                    summary};
        }
        [[fallthrough]];
    default:
        return {u"%1 comes in %2 forecasts at %3"_s.arg(capitalised(name), side, actual), summary};
    }
}

// What a bank's decision, statement or speech said, by the release's tone.
Story policyReport(const MarketEvent &event, int variant, const QDateTime &published, const StoryContext &context)
{
    const int bankIndex = bankOf(event.currency);
    const Bank &bank = banks[bankIndex >= 0 ? bankIndex : fed];
    const Instrument &pair = pairFor(event.currency);
    const QString level = number(context.prices.lastPrice(pair.ticker, published).value_or(0), pair.decimals);
    const bool hawkish = event.tone > 0.15;
    const bool dovish = event.tone < -0.15;
    const Words &quotes = hawkish ? hawkishQuotes : dovish ? dovishQuotes : neutralQuotes;
    const QString quote = *(quotes.begin() + (variant + int(std::abs(event.tone) * 10)) % quotes.size());
    const QString stance = hawkish ? u"signals no rush to cut"_s : dovish ? u"opens the door to a cut"_s
                                                                          : u"keeps its options open"_s;
    const QString reaction = u"The %1 %2; %3 trades at %4."_s.arg(
        currency(event.currency).name, hawkish ? u"firmed"_s : dovish ? u"eased"_s : u"was little changed"_s,
        pair.symbol, level);

    if (isRateDecision(event)) {
        const QString rate = event.figure(event.actual);
        switch (variant % 3) {
        case 0:
            return {u"%1 leaves rates unchanged at %2, as expected"_s.arg(bank.name, rate),
                    u"The %1 kept its policy rate at %2 and %3. %4"_s.arg(bank.longName, rate, stance, reaction)};
        case 1:
            return {u"%1 holds rates at %2, %3"_s.arg(bank.name, rate, stance),
                    u"The decision was widely expected. %1"_s.arg(reaction)};
        default:
            return {u"%1 interest rate decision: %2 unchanged, statement %3"_s.arg(
                        bank.name, rate, hawkish ? u"hawkish"_s : dovish ? u"dovish"_s : u"balanced"_s),
                    u"The %1 left rates on hold. %2"_s.arg(bank.longName, reaction)};
        }
    }
    if (event.title == "FOMC Statement"_L1 && variant % 2 == 0) {
        return {u"Federal Reserve issues FOMC statement"_s,
                u"The Committee decided to maintain the target range for the federal funds rate at 5-1/4 to 5-1/2 "
                "percent. %1"_s.arg(reaction)};
    }
    QString speaker = *bank.officials.begin();
    if (event.title.contains("Waller"_L1))
        speaker = u"Waller"_s;
    if (event.title.contains("Statement"_L1) || event.title.contains("Report"_L1)) {
        return {u"%1 %2: %3"_s.arg(bank.name, event.title.contains("Report"_L1) ? u"Monetary Policy Report"_s : u"statement"_s,
                                   capitalised(quote)),
                u"The %1 %2. %3"_s.arg(bank.longName, stance, reaction)};
    }
    switch (variant % 3) {
    case 0: return {u"%1's %2: %3"_s.arg(bank.name, speaker, quote), reaction};
    case 1: return {u"%1 says %2"_s.arg(speaker, quote), u"Remarks by %1 (%2). %3"_s.arg(speaker, bank.longName, reaction)};
    default:
        return {u"%1 %2: %3"_s.arg(bank.name, event.title.contains("Press"_L1) ? u"press conference"_s : u"speech"_s, capitalised(quote)),
                reaction};
    }
}

} // namespace

Story storyOfRelease(const MarketEvent &event, bool reaction, int variant, const QDateTime &published,
                     const StoryContext &context)
{
    if (!reaction) {
        if (event.hasFigures && !isRateDecision(event))
            return releaseReport(event, variant, published, context);
        return policyReport(event, variant, published, context);
    }
    // Minutes later: how the market took it.
    const Instrument &pair = pairFor(event.currency);
    const double before = context.prices.lastPrice(pair.ticker, event.at).value_or(0);
    const double after = context.prices.lastPrice(pair.ticker, published).value_or(0);
    const double pips = (after - before) / (pair.decimals == 2 ? 0.01 : 0.0001);
    const QString level = number(after, pair.decimals);
    const QString name = eventName(event);
    const bool good = event.tone >= 0;
    const QString why = event.hasFigures && event.hasForecast && !isRateDecision(event)
        ? (event.actual >= event.forecast ? u"strong "_s : u"soft "_s) + name
        : (good ? u"hawkish "_s : u"dovish "_s) + name;
    const Words &verbs = pips >= 0 ? rise : fall;
    const QString verbText = *(verbs.begin() + variant % verbs.size());
    const QString summary = u"%1 moved %2 pips since %3 at %4 GMT and now trades at %5."_s.arg(
        pair.symbol, number(std::abs(pips), 0), name, event.at.toString(u"HH:mm"_s), level);
    switch (variant % 3) {
    case 0: return {u"%1 %2 to %3 after %4"_s.arg(pair.symbol, verbText, level, why), summary};
    case 1:
        return {u"%1 %2 %3 pips on %4"_s.arg(pair.symbol, verbText, number(std::abs(pips), 0), why), summary};
    default:
        return {u"%1 reacts to %2: %3 at %4"_s.arg(capitalised(currency(event.currency).name), name, pair.symbol, level),
                summary};
    }
}

} // namespace kalvo::sim
