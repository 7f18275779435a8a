#include "NewsFeeds.h"

#include <QLocale>
#include <QTimeZone>
#include <QUrlQuery>
#include <QXmlStreamWriter>

#include <algorithm>
#include <cmath>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace kalvo::sim {

namespace {

// splitmix64: tiny and identical on every platform, which the standard
// distributions are not; the same seed must give the same feeds everywhere.
class Rng
{
public:
    explicit Rng(quint64 seed) : m_state(seed) {}

    quint64 next()
    {
        quint64 z = (m_state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return z ^ (z >> 31);
    }
    int below(qsizetype n) { return int(next() % quint64(n)); }
    double unit() { return double(next() >> 11) * 0x1.0p-53; }
    double between(double low, double high) { return low + (high - low) * unit(); }
    template<typename List>
    const auto &pick(const List &list) { return *(std::begin(list) + below(std::size(list))); }

private:
    quint64 m_state;
};

using Words = std::initializer_list<QLatin1StringView>;

// ---------------------------------------------------------------------------
// What the headlines talk about.

struct Bank
{
    QLatin1StringView name;
    QLatin1StringView longName;
    QLatin1StringView currency;
    Words officials;
    double rate;
};

const Bank banks[] = {
    {"Fed"_L1, "Federal Reserve"_L1, "dollar"_L1, {"Powell"_L1, "Waller"_L1, "Williams"_L1, "Logan"_L1, "Goolsbee"_L1, "Bowman"_L1}, 5.50},
    {"ECB"_L1, "European Central Bank"_L1, "euro"_L1, {"Lagarde"_L1, "Lane"_L1, "Schnabel"_L1, "Nagel"_L1, "Villeroy"_L1}, 4.00},
    {"BoE"_L1, "Bank of England"_L1, "pound"_L1, {"Bailey"_L1, "Pill"_L1, "Mann"_L1, "Ramsden"_L1}, 5.25},
    {"BoJ"_L1, "Bank of Japan"_L1, "yen"_L1, {"Ueda"_L1, "Himino"_L1, "Uchida"_L1}, 0.10},
    {"SNB"_L1, "Swiss National Bank"_L1, "Swiss franc"_L1, {"Jordan"_L1, "Schlegel"_L1}, 1.50},
    {"BoC"_L1, "Bank of Canada"_L1, "Canadian dollar"_L1, {"Macklem"_L1, "Rogers"_L1}, 5.00},
    {"RBA"_L1, "Reserve Bank of Australia"_L1, "Aussie dollar"_L1, {"Bullock"_L1, "Hauser"_L1}, 4.35},
    {"RBNZ"_L1, "Reserve Bank of New Zealand"_L1, "kiwi"_L1, {"Orr"_L1, "Hawkesby"_L1}, 5.50},
};
constexpr int fed = 0, ecb = 1;
// The Fed and the ECB make most of the news.
constexpr int bankDraw[] = {0, 0, 0, 0, 1, 1, 1, 2, 2, 3, 3, 4, 5, 6, 7};

struct Pair
{
    QLatin1StringView symbol;
    double price;
    int decimals;
};

const Pair pairs[] = {
    {"EUR/USD"_L1, 1.0850, 4}, {"GBP/USD"_L1, 1.2650, 4}, {"USD/JPY"_L1, 153.20, 2}, {"USD/CHF"_L1, 0.9050, 4},
    {"AUD/USD"_L1, 0.6600, 4}, {"USD/CAD"_L1, 1.3650, 4}, {"NZD/USD"_L1, 0.6000, 4}, {"EUR/GBP"_L1, 0.8570, 4},
    {"EUR/JPY"_L1, 166.10, 2}, {"GBP/JPY"_L1, 193.80, 2},
};

struct Indicator
{
    QLatin1StringView country;
    QLatin1StringView currency;
    QLatin1StringView name;
    double typical;
    double spread;
    QLatin1StringView unit;
    int decimals;
};

const Indicator indicators[] = {
    {"US"_L1, "dollar"_L1, "nonfarm payrolls"_L1, 180, 80, "K"_L1, 0},
    {"US"_L1, "dollar"_L1, "CPI y/y"_L1, 3.3, 0.4, "%"_L1, 1},
    {"US"_L1, "dollar"_L1, "core PCE price index m/m"_L1, 0.3, 0.1, "%"_L1, 1},
    {"US"_L1, "dollar"_L1, "GDP q/q annualised"_L1, 2.0, 1.0, "%"_L1, 1},
    {"US"_L1, "dollar"_L1, "retail sales m/m"_L1, 0.4, 0.5, "%"_L1, 1},
    {"US"_L1, "dollar"_L1, "ISM manufacturing PMI"_L1, 49.5, 2, ""_L1, 1},
    {"US"_L1, "dollar"_L1, "initial jobless claims"_L1, 215, 15, "K"_L1, 0},
    {"US"_L1, "dollar"_L1, "consumer confidence"_L1, 100, 5, ""_L1, 1},
    {"US"_L1, "dollar"_L1, "producer prices m/m"_L1, 0.2, 0.2, "%"_L1, 1},
    {"Eurozone"_L1, "euro"_L1, "flash HICP y/y"_L1, 2.4, 0.3, "%"_L1, 1},
    {"Eurozone"_L1, "euro"_L1, "GDP q/q"_L1, 0.3, 0.2, "%"_L1, 1},
    {"Eurozone"_L1, "euro"_L1, "HCOB manufacturing PMI"_L1, 46, 2, ""_L1, 1},
    {"Germany"_L1, "euro"_L1, "ZEW economic sentiment"_L1, 40, 10, ""_L1, 1},
    {"UK"_L1, "pound"_L1, "CPI y/y"_L1, 3.2, 0.4, "%"_L1, 1},
    {"UK"_L1, "pound"_L1, "GDP m/m"_L1, 0.1, 0.2, "%"_L1, 1},
    {"UK"_L1, "pound"_L1, "retail sales m/m"_L1, 0.2, 0.6, "%"_L1, 1},
    {"Japan"_L1, "yen"_L1, "Tokyo core CPI y/y"_L1, 1.8, 0.3, "%"_L1, 1},
    {"Japan"_L1, "yen"_L1, "industrial production m/m"_L1, 0.5, 1.5, "%"_L1, 1},
    {"Canada"_L1, "Canadian dollar"_L1, "employment change"_L1, 25, 20, "K"_L1, 1},
    {"Canada"_L1, "Canadian dollar"_L1, "CPI y/y"_L1, 2.9, 0.3, "%"_L1, 1},
    {"Australia"_L1, "Aussie dollar"_L1, "employment change"_L1, 30, 20, "K"_L1, 1},
    {"Australia"_L1, "Aussie dollar"_L1, "trade balance"_L1, 6.5, 1.5, "bn"_L1, 2},
    {"China"_L1, "yuan"_L1, "Caixin manufacturing PMI"_L1, 51, 1, ""_L1, 1},
    {"Switzerland"_L1, "Swiss franc"_L1, "CPI y/y"_L1, 1.3, 0.3, "%"_L1, 1},
    {"New Zealand"_L1, "kiwi"_L1, "unemployment rate"_L1, 4.3, 0.2, "%"_L1, 1},
};

constexpr Words quotes{
    "inflation is still too high"_L1,
    "we need more confidence that inflation is moving sustainably toward 2%"_L1,
    "rate cuts are not imminent"_L1,
    "policy is well positioned for what comes next"_L1,
    "we are not pre-committing to a particular rate path"_L1,
    "the labour market is cooling, but only gradually"_L1,
    "a cut at the next meeting is a real possibility"_L1,
    "there is no rush to ease policy"_L1,
    "wage growth remains uncomfortably strong"_L1,
    "recent currency moves are being watched closely"_L1,
    "further tightening cannot be ruled out"_L1,
};
constexpr Words drivers{
    "the dollar softens after weaker US data"_L1,
    "Treasury yields climb"_L1,
    "traders pare Fed rate cut bets"_L1,
    "risk appetite improves"_L1,
    "ECB rate cut bets firm"_L1,
    "hot US inflation data lifts the dollar"_L1,
    "safe haven demand returns"_L1,
    "the BoJ keeps policy ultra-loose"_L1,
    "oil prices slide"_L1,
    "China stimulus hopes lift commodity currencies"_L1,
    "month-end flows dominate"_L1,
    "markets await the FOMC decision"_L1,
};
constexpr Words biases{
    "bulls retain control"_L1, "bears target further losses"_L1, "consolidation continues"_L1,
    "upside bias intact"_L1, "sellers return"_L1, "recovery gains traction"_L1,
};
constexpr Words events{
    "US CPI data"_L1, "the FOMC decision"_L1, "nonfarm payrolls"_L1, "ECB minutes"_L1, "the BoE rate decision"_L1,
    "Powell's testimony"_L1, "Eurozone PMI data"_L1, "US retail sales"_L1, "the Jackson Hole symposium"_L1,
};
constexpr Words goldDrivers{
    "US yields retreat"_L1, "central bank buying stays strong"_L1,
    "geopolitical tensions lift safe haven demand"_L1, "the dollar weakens"_L1, "traders price in Fed cuts"_L1,
};
constexpr Words oilDrivers{
    "OPEC+ signals longer output cuts"_L1, "US crude inventories build unexpectedly"_L1,
    "Middle East tensions flare"_L1, "demand worries weigh"_L1, "the dollar firms"_L1,
};
constexpr Words riskEvents{
    "Middle East tensions escalate"_L1, "tech stocks tumble"_L1, "China growth worries resurface"_L1,
    "bond yields surge"_L1, "bank shares slide"_L1,
};
constexpr Words reactions{"firmed"_L1, "slipped"_L1, "barely moved"_L1, "jumped"_L1, "extended losses"_L1};
constexpr Words sessions{"Asian"_L1, "European"_L1, "North American"_L1};
constexpr Words agencies{"Moody's"_L1, "S&P"_L1, "Fitch"_L1};
constexpr Words sovereigns{"Italy"_L1, "France"_L1, "Belgium"_L1, "the UK"_L1, "Hungary"_L1};
constexpr Words grades{"Baa3"_L1, "AA-"_L1, "A+"_L1, "BBB"_L1};
constexpr Words outlets{
    "Reuters"_L1, "Bloomberg"_L1, "CNBC"_L1, "Financial Times"_L1, "FXStreet"_L1, "Forbes"_L1,
    "MarketWatch"_L1, "Yahoo Finance"_L1, "The Wall Street Journal"_L1, "Investing.com"_L1,
};
constexpr Words fedSpeakers{
    "Chair Powell"_L1, "Governor Waller"_L1, "Governor Bowman"_L1, "Vice Chair Jefferson"_L1,
    "Governor Cook"_L1, "Governor Kugler"_L1, "Vice Chair for Supervision Barr"_L1,
};
constexpr Words speechTopics{
    "The Economic Outlook"_L1, "Monetary Policy and the Labor Market"_L1,
    "Semiannual Monetary Policy Report to the Congress"_L1, "Financial Stability Considerations"_L1,
    "Brief Remarks on the Economy and Monetary Policy"_L1, "Inflation Dynamics and the Path of Policy"_L1,
};
constexpr Words venues{
    "Economic Club of New York"_L1, "Brookings Institution"_L1,
    "Stanford Institute for Economic Policy Research"_L1, "Peterson Institute for International Economics"_L1,
};
constexpr Words ups{"rise"_L1, "climb"_L1, "gain"_L1};
constexpr Words downs{"fall"_L1, "slip"_L1, "drop"_L1};

// ---------------------------------------------------------------------------
// Headline templates: "{name}" is replaced from the scene drawn for the slot.

enum class Topic {
    CentralBanks, Fed, Ecb, Data, Pairs, EurUsd, Commodities, RiskMood, Shocks,
    Economy, Markets, FedReleases, FedSpeeches, BojReleases, Technicals,
};

struct Template
{
    QLatin1StringView headline;
    QLatin1StringView summary;
};

using Templates = std::initializer_list<Template>;

constexpr Templates bankTemplates{
    {"{bank} leaves rates unchanged at {rate}, as expected"_L1,
     "The {bankLong} kept its policy rate at {rate}. {official} said future decisions will depend on incoming data."_L1},
    {"{bank} cuts interest rate by 25 bp to {rateCut}"_L1,
     "The {bankLong} lowered its key rate for the first time in the cycle. The {currency} slipped as traders priced in further easing."_L1},
    {"{bank}'s {official}: {quote}"_L1,
     "{official} said on {weekday} that {quote}. Markets trimmed bets on a near-term policy change."_L1},
    {"{bank} minutes show officials split on timing of rate cuts"_L1,
     "Minutes of the latest {bankLong} meeting showed policymakers divided over how long to keep rates at {rate}."_L1},
    {"{bank} rate decision preview: hold at {rate} expected, guidance in focus"_L1,
     "Economists expect the {bankLong} to stay on hold. The {currency} could move on any change in forward guidance."_L1},
    {"{official} speech: {bank} to keep monetary policy restrictive for some time"_L1,
     "{official} told an audience at the {venue} that {quote}."_L1},
};
constexpr Templates fedTemplates{
    {"FOMC holds fed funds rate at 5.25%-5.50%, signals fewer cuts this year"_L1,
     "The Federal Reserve left rates unchanged for a sixth straight meeting. The dot plot now shows one cut in 2024."_L1},
    {"Federal Reserve rate decision: Powell says {quote}"_L1,
     "At the press conference Powell said {quote}. The dollar {reaction} as Treasury yields {yieldsMove}."_L1},
    {"Fed's {official}: {quote}"_L1,
     "{official} said on {weekday} that {quote}. Fed funds futures price fewer cuts this year."_L1},
    {"FOMC minutes: officials saw risks to inflation skewed to the upside"_L1,
     "Participants judged it appropriate to hold the target range until they gain greater confidence on inflation."_L1},
    {"Traders pare bets on a Fed rate cut before the next FOMC meeting"_L1,
     "Futures now imply about {percent} cuts by December after {event}."_L1},
};
constexpr Templates ecbTemplates{
    {"ECB's Lagarde: June rate cut on the table if data confirm disinflation"_L1,
     "Lagarde said the Governing Council is data dependent, not Fed dependent. EUR/USD traded near {level}."_L1},
    {"ECB interest rate decision: deposit rate held at 4.00%"_L1,
     "The European Central Bank kept its three key interest rates unchanged and repeated that it will follow a data-dependent approach."_L1},
    {"ECB's {official}: {quote}"_L1,
     "{official} said on {weekday} that {quote}. EUR/USD held near {level}."_L1},
    {"ECB accounts show broad support for a rate cut in June"_L1,
     "Policymakers agreed the case for lowering rates was strengthening, the accounts of the April meeting showed."_L1},
    {"Euro slips as ECB rate cut bets firm after soft inflation data"_L1,
     "Money markets price about {percent} cuts this year; EUR/USD eased toward {levelDown}."_L1},
};
constexpr Templates dataTemplates{
    {"{country} {month} {indicator} {actual} vs {expected} expected"_L1,
     "<b>Prior</b> {prior}. The {dataCurrency} {reaction} after the release."_L1},
    {"{country} {indicator} comes in {aboveBelow} forecasts at {actual}"_L1,
     "Economists had expected {expected}, after {prior} the month before. The {dataCurrency} {reaction}."_L1},
    {"Breaking: US nonfarm payrolls {payrolls}K vs {payrollsExpected}K expected"_L1,
     "The unemployment rate was {unemployment}%. Average hourly earnings rose {earnings}% m/m."_L1},
};
constexpr Templates pairTemplates{
    {"{pair} climbs to {level} as {driver}"_L1,
     "{pair} trades around {level} in the {session} session. Resistance is seen at {levelUp}, support at {levelDown}."_L1},
    {"{pair} slips below {level} as {driver}"_L1,
     "The pair extends its pullback toward {levelDown}. A break would expose the weekly low."_L1},
    {"{pair} Price Forecast: {bias} above {level}"_L1,
     "{pair} holds above {level} in the {session} session; the next hurdle is {levelUp}."_L1},
    {"{pair} holds near {level} ahead of {event}"_L1,
     "Traders stay cautious before {event}. Implied volatility in {pair} ticked higher."_L1},
    {"{pair} technical analysis: {bias} while {level} holds"_L1,
     "The 50-day moving average near {levelDown} offers support; {levelUp} caps the upside."_L1},
};
constexpr Templates commodityTemplates{
    {"Gold price rises to ${gold} as {goldDriver}"_L1,
     "XAU/USD gained {percent}% on the day as {goldDriver}."_L1},
    {"Gold slips from record high as Treasury yields rise"_L1,
     "Spot gold fell to ${gold} an ounce; the dollar index edged higher."_L1},
    {"Oil prices {oilMove} {percent}% as {oilDriver}"_L1,
     "Brent crude traded near ${brent} a barrel, WTI near ${oil}. The crude move fed into CAD and NOK."_L1},
    {"WTI crude tops ${oil} a barrel as {oilDriver}"_L1,
     "Oil price gains lifted the Canadian dollar; USD/CAD slipped toward {cadLevel}."_L1},
};
constexpr Templates riskTemplates{
    {"Risk-off: yen and Swiss franc gain as {riskEvent}"_L1,
     "Safe haven currencies outperformed while equity futures fell."_L1},
    {"Risk-on mood lifts Aussie and kiwi as {driver}"_L1,
     "Commodity currencies led gains; USD/JPY rose as the yen lost its safe haven bid."_L1},
    {"Safe haven demand returns as {riskEvent}"_L1,
     "Gold and the yen rose; Treasury yields fell across the curve."_L1},
    {"Forex live: {currency} steady in quiet {session} session"_L1,
     "Ranges were narrow with few data releases; {pair} held near {level}."_L1},
    {"Dollar {usdMove}s as Treasury yields {yieldsMove}; stocks {stocksMove}"_L1,
     "The dollar index tracked US yields as equity markets digested the move."_L1},
};
constexpr Templates shockTemplates{
    {"Japan confirms yen intervention after USD/JPY tops {jpyLevel}"_L1,
     "The Ministry of Finance said it had sold dollars; USD/JPY dropped more than 400 pips within an hour."_L1},
    {"Unscheduled {bank} meeting called as {currency} slides"_L1,
     "The {bankLong} said it is ready to act; the {currency} fell to a multi-year low."_L1},
    {"Emergency liquidity operation: {bank} steps in as funding stress spreads"_L1,
     "Bank shares fell and money market rates spiked; traders fear a liquidity crisis."_L1},
    {"New sanctions on Russian energy exports jolt oil and the euro"_L1,
     "Brent jumped {percent}% while EUR/USD fell toward {levelDown}."_L1},
    {"Credit downgrade: {agency} cuts {sovereign} to {grade}, outlook negative"_L1,
     "Bond spreads widened after the move; analysts warn of a debt crisis if deficits persist."_L1},
    {"Surprise {bank} rate hike sends the {currency} sharply higher"_L1,
     "Markets had priced no change; {official} cited persistent inflation."_L1},
};
constexpr Templates economyTemplates{
    {"UK inflation falls to {cpi}%, lowest in nearly three years"_L1,
     "Lower energy bills pulled prices down; economists now expect the Bank of England to cut rates this summer."_L1},
    {"Mortgage rates climb again as hopes of early rate cuts fade"_L1,
     "Lenders raised fixed-rate deals after swap rates moved higher."_L1},
    {"US economy grew at a {gdp}% annual rate in the first quarter"_L1,
     "Consumer spending slowed but business investment held up, the Commerce Department said."_L1},
    {"Consumer confidence slips to a three-month low"_L1,
     "Households grew more worried about prices and the job market, the survey showed."_L1},
    {"Housing market cools as borrowing costs bite"_L1,
     "Sales of existing homes fell for a second month as mortgage rates stayed near 7%."_L1},
    {"Recession fears ease as jobs market holds up"_L1,
     "Employers kept hiring despite high interest rates, easing worries about a downturn."_L1},
    {"Wage growth slows, giving the {bank} room to cut"_L1,
     "Pay growth eased to its slowest pace in two years, a welcome sign for the {bankLong}."_L1},
    {"Pound rises as UK economy exits recession"_L1,
     "GDP grew {gdpQuarter}% in the first quarter, ending a shallow recession."_L1},
};
constexpr Templates marketTemplates{
    {"Stocks {stocksMove} as Treasury yields {yieldsMove} after {event}"_L1,
     "The S&P 500 moved {percent}% while the 10-year yield traded near {yield}%."_L1},
    {"Dow {stocksMove}s {points} points; Nasdaq {stocksMove}s"_L1,
     "Investors weighed earnings against the outlook for interest rates."_L1},
    {"Treasury yields {yieldsMove} ahead of {event}"_L1,
     "The 10-year yield was near {yield}%, the 2-year near {yield2}%."_L1},
    {"Dollar index {usdMove}s as traders weigh {event}"_L1,
     "The DXY traded near {dxy}; EUR/USD held around {level}."_L1},
    {"S&P 500 hits record as rate cut hopes return"_L1,
     "Softer inflation data revived bets on Fed easing."_L1},
};
constexpr Templates fedReleaseTemplates{
    {"Federal Reserve issues FOMC statement"_L1,
     "The Committee decided to maintain the target range for the federal funds rate at 5-1/4 to 5-1/2 percent."_L1},
    {"Minutes of the Federal Open Market Committee, {meeting}"_L1,
     "The Federal Reserve released the minutes of the Committee meeting held on {meeting}."_L1},
    {"Federal Reserve Board announces approval of discount rate actions"_L1,
     "The Board approved actions taken by the boards of directors of the Reserve Banks."_L1},
    {"Federal Reserve Board and Federal Open Market Committee release economic projections"_L1,
     "Projections of FOMC participants for GDP growth, unemployment and inflation."_L1},
};
constexpr Templates fedSpeechTemplates{
    {"{fedSpeaker}, {speechTopic}"_L1, "Speech at the {venue}."_L1},
};
constexpr Templates bojTemplates{
    {"Statement on Monetary Policy"_L1,
     "The Bank decided to keep the short-term policy interest rate at around 0 to 0.1 percent."_L1},
    {"Summary of Opinions at the Monetary Policy Meeting"_L1,
     "Opinions presented at the meeting on the outlook for economic activity and prices."_L1},
    {"Outline of Outright Purchases of Japanese Government Bonds"_L1,
     "Purchase amounts by remaining maturity for the coming quarter."_L1},
    {"Speech by Governor Ueda at the {venue}"_L1, "Japan's Economy and Monetary Policy."_L1},
    {"Outlook for Economic Activity and Prices"_L1,
     "The Bank's view on growth and inflation; risks to prices are skewed to the upside."_L1},
};
constexpr Templates technicalTemplates{
    {"{pair} Daily Outlook"_L1,
     "Daily Pivots: (S1) {levelDown}; (P) {level}; (R1) {levelUp}. Intraday bias stays neutral for now."_L1},
    {"{pair} Mid-Day Outlook"_L1, "Intraday bias remains on the upside while {levelDown} support holds."_L1},
    {"{pair} Weekly Outlook"_L1, "Initial bias is neutral this week; a break of {levelUp} resumes the rise."_L1},
    {"{Currency} Steady as Markets Await {event}"_L1,
     "Major pairs traded in tight ranges; {pair} stayed near {level}."_L1},
};

Templates templatesFor(Topic topic)
{
    switch (topic) {
    case Topic::CentralBanks: return bankTemplates;
    case Topic::Fed: return fedTemplates;
    case Topic::Ecb: return ecbTemplates;
    case Topic::Data: return dataTemplates;
    case Topic::Pairs:
    case Topic::EurUsd: return pairTemplates;
    case Topic::Commodities: return commodityTemplates;
    case Topic::RiskMood: return riskTemplates;
    case Topic::Shocks: return shockTemplates;
    case Topic::Economy: return economyTemplates;
    case Topic::Markets: return marketTemplates;
    case Topic::FedReleases: return fedReleaseTemplates;
    case Topic::FedSpeeches: return fedSpeechTemplates;
    case Topic::BojReleases: return bojTemplates;
    case Topic::Technicals: break;
    }
    return technicalTemplates;
}

QString number(double value, int decimals)
{
    // No "-0.0" for a value that rounds to zero.
    if (std::abs(value) < 0.5 * std::pow(10.0, -decimals))
        value = 0;
    return QLocale::c().toString(value, 'f', decimals);
}

// Everything one headline may mention, drawn in a fixed order so that a slot
// always reads the same, whatever its template uses.
class Scene
{
public:
    Scene(Rng &rng, Topic topic, const QDateTime &published)
        : m_published(published),
          m_bank(banks[topic == Topic::Fed ? fed : topic == Topic::Ecb ? ecb : rng.pick(bankDraw)]),
          m_official(rng.pick(m_bank.officials)),
          m_pair(pairs[topic == Topic::EurUsd ? 0 : rng.below(std::size(pairs))]),
          m_indicator(rng.pick(indicators)),
          m_levelFactor(rng.between(0.985, 1.015)),
          m_actual(m_indicator.typical + m_indicator.spread * rng.between(-1, 1)),
          m_expected(m_indicator.typical + m_indicator.spread * rng.between(-0.5, 0.5)),
          m_prior(m_indicator.typical + m_indicator.spread * rng.between(-1, 1)),
          m_percent(rng.between(0.2, 2.8)),
          m_up(rng.below(2) == 0),
          m_stocksUp(rng.below(2) == 0),
          m_words{rng.pick(quotes), rng.pick(drivers), rng.pick(biases), rng.pick(events), rng.pick(goldDrivers),
                  rng.pick(oilDrivers), rng.pick(riskEvents), rng.pick(reactions), rng.pick(sessions),
                  rng.pick(agencies), rng.pick(sovereigns), rng.pick(grades), rng.pick(fedSpeakers),
                  rng.pick(speechTopics), rng.pick(venues), rng.pick(m_up ? ups : downs)},
          m_noise(rng.unit())
    {
        const Templates templates = templatesFor(topic);
        m_template = *(templates.begin() + rng.below(templates.size()));
    }

    QString headline() const { return fill(m_template.headline); }
    QString summary() const { return fill(m_template.summary); }

private:
    enum Word { Quote, Driver, Bias, Event, GoldDriver, OilDriver, RiskEvent, Reaction, Session, Agency,
                Sovereign, Grade, FedSpeaker, SpeechTopic, Venue, Move, WordCount };

    QString level(double pips) const
    {
        const double pip = m_pair.decimals == 2 ? 0.01 : 0.0001;
        return number(m_pair.price * m_levelFactor + pips * pip, m_pair.decimals);
    }

    QString indicatorValue(double value) const
    {
        const QString text = number(value, m_indicator.decimals) + m_indicator.unit;
        return m_indicator.unit == "K"_L1 && value > 0 ? u'+' + text : text;
    }

    QString token(QStringView name) const
    {
        const auto word = [this](Word w) { return QString(m_words[w]); };
        if (name == u"bank") return m_bank.name;
        if (name == u"bankLong") return m_bank.longName;
        if (name == u"currency") return m_bank.currency;
        if (name == u"Currency") return QString(m_bank.currency).replace(0, 1, QString(m_bank.currency).at(0).toUpper());
        if (name == u"official") return m_official;
        if (name == u"rate") return number(m_bank.rate, 2) + u'%';
        if (name == u"rateCut") return number(m_bank.rate - 0.25, 2) + u'%';
        if (name == u"quote") return word(Quote);
        if (name == u"pair") return m_pair.symbol;
        if (name == u"level") return level(0);
        if (name == u"levelUp") return level(50);
        if (name == u"levelDown") return level(-50);
        if (name == u"driver") return word(Driver);
        if (name == u"bias") return word(Bias);
        if (name == u"event") return word(Event);
        if (name == u"country") return m_indicator.country;
        if (name == u"indicator") return m_indicator.name;
        if (name == u"actual") return indicatorValue(m_actual);
        if (name == u"expected") return indicatorValue(m_expected);
        if (name == u"prior") return indicatorValue(m_prior);
        if (name == u"aboveBelow") return m_actual >= m_expected ? u"above"_s : u"below"_s;
        if (name == u"reaction") return word(Reaction);
        if (name == u"month") return QLocale::c().monthName(m_published.date().addMonths(-1).month());
        if (name == u"weekday") return QLocale::c().dayName(m_published.date().dayOfWeek());
        if (name == u"dataCurrency") return m_indicator.currency;
        if (name == u"payrolls") return number(90 + m_noise * 180, 0);
        if (name == u"payrollsExpected") return number(150 + m_percent * 20, 0);
        if (name == u"unemployment") return number(3.7 + m_noise * 0.3, 1);
        if (name == u"earnings") return number(0.2 + m_noise * 0.2, 1);
        if (name == u"session") return word(Session);
        if (name == u"gold") return number(2300 + m_noise * 120, 0);
        if (name == u"oil") return number(78 + m_noise * 8, 2);
        if (name == u"brent") return number(82 + m_noise * 8, 2);
        if (name == u"cadLevel") return number(1.3650 * m_levelFactor, 4);
        if (name == u"percent") return number(m_percent, 1);
        if (name == u"goldDriver") return word(GoldDriver);
        if (name == u"oilDriver") return word(OilDriver);
        if (name == u"oilMove") return word(Move);
        if (name == u"riskEvent") return word(RiskEvent);
        if (name == u"usdMove") return m_up ? u"gain"_s : u"slip"_s;
        if (name == u"yieldsMove") return m_up ? u"rise"_s : u"fall"_s;
        if (name == u"stocksMove") return m_stocksUp ? u"rise"_s : u"fall"_s;
        if (name == u"points") return number(100 + m_noise * 400, 0);
        if (name == u"yield") return number(4.3 + m_noise * 0.4, 2);
        if (name == u"yield2") return number(4.8 + m_noise * 0.3, 2);
        if (name == u"dxy") return number(105 * m_levelFactor, 2);
        if (name == u"jpyLevel") return number(158 + m_noise * 4, 2);
        if (name == u"agency") return word(Agency);
        if (name == u"sovereign") return word(Sovereign);
        if (name == u"grade") return word(Grade);
        if (name == u"cpi") return number(2.0 + m_noise * 1.5, 1);
        if (name == u"gdp") return number(1.2 + m_noise * 2.0, 1);
        if (name == u"gdpQuarter") return number(0.1 + m_noise * 0.5, 1);
        if (name == u"meeting") return QLocale::c().toString(m_published.date().addDays(-21), u"MMMM d, yyyy"_s);
        if (name == u"fedSpeaker") return word(FedSpeaker);
        if (name == u"speechTopic") return word(SpeechTopic);
        if (name == u"venue") return word(Venue);
        return u'{' + name.toString() + u'}';
    }

    QString fill(QLatin1StringView text) const
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

    QDateTime m_published;
    const Bank &m_bank;
    QLatin1StringView m_official;
    const Pair &m_pair;
    const Indicator &m_indicator;
    double m_levelFactor;
    double m_actual;
    double m_expected;
    double m_prior;
    double m_percent;
    bool m_up;
    bool m_stocksUp;
    QLatin1StringView m_words[WordCount];
    double m_noise;
    Template m_template;
};

// ---------------------------------------------------------------------------
// The feeds and how each publisher writes its documents.

enum class Format { Rss2, Atom, Rdf };

enum class DateStyle {
    Rfc822Offset,    // Fri, 03 May 2024 14:20:00 +0000 (in the feed's offset)
    Rfc822Gmt,       // Fri, 03 May 2024 14:20:00 GMT
    Rfc822Est,       // Fri, 03 May 2024 09:20:00 EST
    Rfc822PaddedDay, // Fri,  3 May 2024 14:20:00 GMT (day padded with a blank)
    Rfc822NoSeconds, // Fri, 03 May 2024 14:20 +0000
    IsoFraction,     // 2024-05-03T14:20:00.000Z
    IsoOffset,       // 2024-05-03T23:20:00+09:00
    Plain,           // 2024-05-03 14:20:00 (no zone)
};

enum class Body {
    EscapedHtml, // <description>&lt;p&gt;…&lt;/p&gt;</description>
    Text,
    CData,       // <description><![CDATA[<p>…</p>]]></description>
    Absent,
    GoogleSnippet,
};

struct FeedProfile
{
    QLatin1StringView path;
    QLatin1StringView search; // the Google News "q", else empty
    QLatin1StringView title;
    QLatin1StringView site;
    QLatin1StringView linkPath; // {date}, {slug} and {k} are filled in
    Format format;
    DateStyle dates;
    int offsetMinutes;
    Body body;
    bool contentEncoded; // RSS content:encoded / Atom content, as CDATA
    bool dcDateToo;      // a dc:date after pubDate (the later one wins)
    int items;
    int weight; // share of the headline stream
    std::initializer_list<Topic> topics;
};

const FeedProfile profiles[] = {
    {"/feed/news/"_L1, {}, "InvestingLive - News"_L1, "https://investinglive.com"_L1, "/news/{slug}-{k}/"_L1,
     Format::Rss2, DateStyle::Rfc822Offset, 0, Body::EscapedHtml, true, false, 50, 10,
     {Topic::Data, Topic::CentralBanks, Topic::Pairs, Topic::Commodities, Topic::RiskMood, Topic::Shocks}},
    {"/feed/centralbank/"_L1, {}, "InvestingLive - Central Banks"_L1, "https://investinglive.com"_L1,
     "/centralbank/{slug}-{k}/"_L1, Format::Rss2, DateStyle::Rfc822Offset, 0, Body::EscapedHtml, true, false, 30, 3,
     {Topic::CentralBanks, Topic::Fed, Topic::Ecb}},
    {"/news/feed"_L1, {}, "FXStreet News"_L1, "https://www.fxstreet.com"_L1, "/news/{slug}-{k}"_L1, Format::Rss2,
     DateStyle::Rfc822Gmt, 0, Body::EscapedHtml, false, false, 50, 8,
     {Topic::Pairs, Topic::EurUsd, Topic::Commodities, Topic::Data}},
    {"/feeds/forex-market-news"_L1, {}, "DailyFX Forex Market News"_L1, "https://www.dailyfx.com"_L1,
     "/news/forex/{slug}-{k}.html"_L1, Format::Atom, DateStyle::IsoFraction, 0, Body::EscapedHtml, false, false, 30, 4,
     {Topic::Pairs, Topic::Data, Topic::RiskMood}},
    {"/feed/"_L1, {}, "Action Forex"_L1, "https://www.actionforex.com"_L1, "/action-insight/{slug}-{k}/"_L1,
     Format::Rss2, DateStyle::Rfc822Offset, 0, Body::CData, true, false, 30, 4, {Topic::Technicals}},
    {"/rss/news.rss"_L1, {}, "Investing.com - News"_L1, "https://www.investing.com"_L1, "/news/forex-news/{slug}-{k}"_L1,
     Format::Rss2, DateStyle::Plain, 0, Body::Absent, false, false, 40, 6,
     {Topic::Pairs, Topic::Commodities, Topic::Markets, Topic::Data}},
    {"/rss/search"_L1, "forex market"_L1, "\"forex market\" - Google News"_L1, "https://news.google.com"_L1, {},
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 6,
     {Topic::Pairs, Topic::RiskMood, Topic::Data}},
    {"/rss/search"_L1, "federal reserve rate decision"_L1, "\"federal reserve rate decision\" - Google News"_L1,
     "https://news.google.com"_L1, {}, Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 3,
     {Topic::Fed}},
    {"/rss/search"_L1, "ecb interest rate"_L1, "\"ecb interest rate\" - Google News"_L1, "https://news.google.com"_L1, {},
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 3, {Topic::Ecb}},
    {"/id/10000664/device/rss/rss.html"_L1, {}, "Finance"_L1, "https://www.cnbc.com"_L1, "/{date}/{slug}-{k}.html"_L1,
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::Text, false, false, 30, 4,
     {Topic::Markets, Topic::Economy, Topic::Fed}},
    {"/services/xml/rss/nyt/Economy.xml"_L1, {}, "NYT > Business > Economy"_L1, "https://www.nytimes.com"_L1,
     "/{date}/business/economy/{slug}-{k}.html"_L1, Format::Rss2, DateStyle::Rfc822Offset, 0, Body::Text, false, false, 40, 3,
     {Topic::Economy, Topic::Fed}},
    {"/news/business/rss.xml"_L1, {}, "BBC News - Business"_L1, "https://www.bbc.co.uk"_L1, "/news/business-{k}"_L1,
     Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::CData, false, false, 50, 4, {Topic::Economy, Topic::Markets}},
    {"/business/rss"_L1, {}, "Business | The Guardian"_L1, "https://www.theguardian.com"_L1,
     "/business/{date}/{slug}-{k}"_L1, Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::EscapedHtml, false, true, 40, 3,
     {Topic::Economy, Topic::CentralBanks}},
    {"/public/rss/mw_topstories"_L1, {}, "MarketWatch.com - Top Stories"_L1, "https://www.marketwatch.com"_L1,
     "/story/{slug}-{k}"_L1, Format::Rss2, DateStyle::Rfc822Est, -300, Body::Text, false, false, 30, 4,
     {Topic::Markets, Topic::Commodities}},
    {"/rss/RSSMarketsMain.xml"_L1, {}, "WSJ.com: Markets"_L1, "https://www.wsj.com"_L1, "/finance/{slug}-{k}"_L1,
     Format::Rss2, DateStyle::Rfc822Offset, -240, Body::Text, false, false, 25, 3, {Topic::Markets, Topic::Fed}},
    {"/feeds/press_monetary.xml"_L1, {}, "FRB: Press Release - Monetary Policy"_L1, "https://www.federalreserve.gov"_L1,
     "/newsevents/pressreleases/monetary{k}a.htm"_L1, Format::Rss2, DateStyle::Rfc822Gmt, 0, Body::Text, false, false,
     20, 1, {Topic::FedReleases}},
    {"/feeds/speeches_and_testimony.xml"_L1, {}, "FRB: Speeches and Testimony"_L1, "https://www.federalreserve.gov"_L1,
     "/newsevents/speech/speech{k}a.htm"_L1, Format::Rss2, DateStyle::Rfc822NoSeconds, 0, Body::Text, false, false,
     20, 1, {Topic::FedSpeeches}},
    {"/rss/whatsnew.xml"_L1, {}, "Bank of Japan What's New"_L1, "https://www.boj.or.jp"_L1, "/en/release/rel{k}.htm"_L1,
     Format::Rdf, DateStyle::IsoOffset, 540, Body::Text, false, false, 20, 1, {Topic::BojReleases}},
    {"/market_currents.xml"_L1, {}, "Seeking Alpha - Market News"_L1, "https://seekingalpha.com"_L1,
     "/news/{k}-{slug}"_L1, Format::Rss2, DateStyle::Rfc822Offset, -240, Body::Absent, false, false, 40, 5,
     {Topic::Markets, Topic::Pairs, Topic::Commodities}},
    {"/zerohedge/feed"_L1, {}, "ZeroHedge News"_L1, "https://www.zerohedge.com"_L1, "/markets/{slug}-{k}"_L1,
     Format::Atom, DateStyle::IsoOffset, -240, Body::EscapedHtml, true, false, 25, 4,
     {Topic::Shocks, Topic::RiskMood, Topic::Markets}},
    {"/feed/rssoutbound"_L1, {}, "Nasdaq Markets"_L1, "https://www.nasdaq.com"_L1, "/articles/{slug}-{k}"_L1,
     Format::Rss2, DateStyle::Rfc822PaddedDay, 0, Body::Text, false, false, 30, 4, {Topic::Markets, Topic::Pairs}},
    {"/rss/search"_L1, "EURUSD"_L1, "\"EURUSD\" - Google News"_L1, "https://news.google.com"_L1, {}, Format::Rss2,
     DateStyle::Rfc822Gmt, 0, Body::GoogleSnippet, false, false, 100, 4, {Topic::EurUsd}},
};
constexpr int feedCount = int(std::size(profiles));
static_assert(feedCount == 22);

int totalWeight()
{
    int sum = 0;
    for (const FeedProfile &profile : profiles)
        sum += profile.weight;
    return sum;
}

// The feed a slot of the stream belongs to; the rest of the slot's draws
// make its story.
int feedOf(Rng &rng)
{
    static const int total = totalWeight();
    int draw = rng.below(total);
    for (int i = 0; i < feedCount; ++i) {
        draw -= profiles[i].weight;
        if (draw < 0)
            return i;
    }
    return feedCount - 1;
}

Rng slotRng(quint64 seed, qint64 slot)
{
    return Rng(seed ^ (quint64(slot) * 0xD1B54A32D192ED03ull));
}

QString offsetText(int minutes, bool withColon)
{
    const int magnitude = std::abs(minutes);
    const QString hours = u"%1"_s.arg(magnitude / 60, 2, 10, QLatin1Char('0'));
    const QString rest = u"%1"_s.arg(magnitude % 60, 2, 10, QLatin1Char('0'));
    return (minutes < 0 ? u"-"_s : u"+"_s) + hours + (withColon ? u":"_s : QString()) + rest;
}

QString formatDate(const QDateTime &utc, const FeedProfile &profile)
{
    const QLocale c = QLocale::c();
    const QDateTime local = utc.toOffsetFromUtc(profile.offsetMinutes * 60);
    switch (profile.dates) {
    case DateStyle::Rfc822Offset:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm:ss "_s) + offsetText(profile.offsetMinutes, false);
    case DateStyle::Rfc822Gmt:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm:ss 'GMT'"_s);
    case DateStyle::Rfc822Est:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm:ss 'EST'"_s);
    case DateStyle::Rfc822PaddedDay: {
        const QString day = u"%1"_s.arg(local.date().day(), 2, 10, QLatin1Char(' '));
        return c.toString(local, u"ddd, "_s) + day + c.toString(local, u" MMM yyyy HH:mm:ss 'GMT'"_s);
    }
    case DateStyle::Rfc822NoSeconds:
        return c.toString(local, u"ddd, dd MMM yyyy HH:mm "_s) + offsetText(profile.offsetMinutes, false);
    case DateStyle::IsoFraction:
        return c.toString(local, u"yyyy-MM-dd'T'HH:mm:ss.zzz'Z'"_s);
    case DateStyle::IsoOffset:
        return c.toString(local, u"yyyy-MM-dd'T'HH:mm:ss"_s) + offsetText(profile.offsetMinutes, true);
    case DateStyle::Plain:
        break;
    }
    return c.toString(local, u"yyyy-MM-dd HH:mm:ss"_s);
}

QString slugOf(const QString &headline)
{
    QString slug;
    for (const QChar c : headline.toLower()) {
        if (c.isLetterOrNumber())
            slug += c;
        else if (!slug.isEmpty() && !slug.endsWith(u'-'))
            slug += u'-';
        if (slug.size() >= 60)
            break;
    }
    while (slug.endsWith(u'-'))
        slug.chop(1);
    return slug;
}

struct Story
{
    qint64 slot;
    QDateTime published;
    QString title;
    QString link;
    QString summary;
};

Story storyFor(const FeedProfile &profile, qint64 slot, Rng &rng, const QDateTime &published)
{
    const Topic topic = *(profile.topics.begin() + rng.below(profile.topics.size()));
    const Scene scene(rng, topic, published);
    Story story{slot, published, scene.headline(), {}, scene.summary()};
    if (!profile.search.isEmpty()) {
        // Google appends the outlet and links to its own redirect page.
        story.title += u" - "_s + QString(rng.pick(outlets));
        story.link = u"https://news.google.com/rss/articles/CBMi%1?oc=5"_s.arg(quint64(slot) * 2654435761u, 0, 36);
    } else {
        QString path = profile.linkPath;
        path.replace(u"{date}"_s, published.toString(u"yyyy/MM/dd"_s));
        path.replace(u"{slug}"_s, slugOf(scene.headline()));
        path.replace(u"{k}"_s, QString::number(slot));
        story.link = QString(profile.site) + path;
    }
    return story;
}

// ---------------------------------------------------------------------------
// Writing the documents.

void writeBody(QXmlStreamWriter &xml, const QString &element, const FeedProfile &profile, const Story &story)
{
    switch (profile.body) {
    case Body::Absent:
        return;
    case Body::Text:
        xml.writeTextElement(element, story.summary);
        return;
    case Body::EscapedHtml:
        xml.writeTextElement(element, u"<p>"_s + story.summary + u"</p>"_s);
        return;
    case Body::CData:
        xml.writeStartElement(element);
        xml.writeCDATA(u"<p>"_s + story.summary + u"</p>"_s);
        xml.writeEndElement();
        return;
    case Body::GoogleSnippet:
        // The double-escaped &nbsp; reaches readers as text, as it does from Google.
        xml.writeTextElement(element, u"<a href=\"%1\" target=\"_blank\">%2</a>&nbsp;&nbsp;<font color=\"#6f6f6f\">%3</font>"_s
                                          .arg(story.link, story.title.section(u" - "_s, 0, -2),
                                               story.title.section(u" - "_s, -1)));
        return;
    }
}

void writeFullText(QXmlStreamWriter &xml, const QString &element, const Story &story)
{
    xml.writeStartElement(element);
    xml.writeCDATA(u"<p>"_s + story.summary + u"</p><p>More to follow.</p>"_s);
    xml.writeEndElement();
}

void writeRss2(QXmlStreamWriter &xml, const FeedProfile &profile, const QList<Story> &stories, const QDateTime &now)
{
    xml.writeStartElement(u"rss"_s);
    xml.writeAttribute(u"version"_s, u"2.0"_s);
    xml.writeNamespace(u"http://purl.org/rss/1.0/modules/content/"_s, u"content"_s);
    xml.writeNamespace(u"http://purl.org/dc/elements/1.1/"_s, u"dc"_s);
    xml.writeNamespace(u"http://www.w3.org/2005/Atom"_s, u"atom"_s);
    xml.writeStartElement(u"channel"_s);
    xml.writeTextElement(u"title"_s, profile.title);
    xml.writeTextElement(u"link"_s, profile.site);
    xml.writeTextElement(u"description"_s, profile.title);
    xml.writeTextElement(u"language"_s, u"en-us"_s);
    xml.writeTextElement(u"lastBuildDate"_s, formatDate(now, profile));
    xml.writeEmptyElement(u"atom:link"_s);
    xml.writeAttribute(u"href"_s, QString(profile.site) + profile.path);
    xml.writeAttribute(u"rel"_s, u"self"_s);
    xml.writeAttribute(u"type"_s, u"application/rss+xml"_s);
    for (const Story &story : stories) {
        xml.writeStartElement(u"item"_s);
        xml.writeTextElement(u"title"_s, story.title);
        xml.writeTextElement(u"link"_s, story.link);
        xml.writeStartElement(u"guid"_s);
        xml.writeAttribute(u"isPermaLink"_s, u"false"_s);
        xml.writeCharacters(QString::number(story.slot));
        xml.writeEndElement();
        xml.writeTextElement(u"pubDate"_s, formatDate(story.published, profile));
        if (profile.dcDateToo)
            xml.writeTextElement(u"dc:date"_s, QLocale::c().toString(story.published, u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s));
        writeBody(xml, u"description"_s, profile, story);
        if (profile.contentEncoded)
            writeFullText(xml, u"content:encoded"_s, story);
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndElement();
}

void writeAtom(QXmlStreamWriter &xml, const FeedProfile &profile, const QList<Story> &stories, const QDateTime &now)
{
    xml.writeStartElement(u"feed"_s);
    xml.writeDefaultNamespace(u"http://www.w3.org/2005/Atom"_s);
    xml.writeTextElement(u"title"_s, profile.title);
    xml.writeEmptyElement(u"link"_s);
    xml.writeAttribute(u"href"_s, profile.site);
    xml.writeTextElement(u"updated"_s, formatDate(now, profile));
    xml.writeTextElement(u"id"_s, QString(profile.site) + profile.path);
    for (const Story &story : stories) {
        xml.writeStartElement(u"entry"_s);
        xml.writeTextElement(u"title"_s, story.title);
        xml.writeEmptyElement(u"link"_s);
        xml.writeAttribute(u"rel"_s, u"alternate"_s);
        xml.writeAttribute(u"type"_s, u"text/html"_s);
        xml.writeAttribute(u"href"_s, story.link);
        xml.writeEmptyElement(u"link"_s);
        xml.writeAttribute(u"rel"_s, u"enclosure"_s);
        xml.writeAttribute(u"type"_s, u"image/jpeg"_s);
        xml.writeAttribute(u"href"_s, story.link + u".jpg"_s);
        xml.writeTextElement(u"id"_s, story.link);
        // Revised a little after first publication; the later date is the one readers keep.
        xml.writeTextElement(u"published"_s, formatDate(story.published.addSecs(-90), profile));
        xml.writeTextElement(u"updated"_s, formatDate(story.published, profile));
        xml.writeStartElement(u"author"_s);
        xml.writeTextElement(u"name"_s, profile.title);
        xml.writeEndElement();
        writeBody(xml, u"summary"_s, profile, story);
        if (profile.contentEncoded)
            writeFullText(xml, u"content"_s, story);
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

void writeRdf(QXmlStreamWriter &xml, const FeedProfile &profile, const QList<Story> &stories)
{
    xml.writeStartElement(u"rdf:RDF"_s);
    xml.writeNamespace(u"http://www.w3.org/1999/02/22-rdf-syntax-ns#"_s, u"rdf"_s);
    xml.writeDefaultNamespace(u"http://purl.org/rss/1.0/"_s);
    xml.writeNamespace(u"http://purl.org/dc/elements/1.1/"_s, u"dc"_s);
    xml.writeStartElement(u"channel"_s);
    xml.writeAttribute(u"rdf:about"_s, QString(profile.site) + profile.path);
    xml.writeTextElement(u"title"_s, profile.title);
    xml.writeTextElement(u"link"_s, QString(profile.site) + u"/en/"_s);
    xml.writeTextElement(u"description"_s, profile.title);
    xml.writeStartElement(u"items"_s);
    xml.writeStartElement(u"rdf:Seq"_s);
    for (const Story &story : stories) {
        xml.writeEmptyElement(u"rdf:li"_s);
        xml.writeAttribute(u"rdf:resource"_s, story.link);
    }
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndElement();
    for (const Story &story : stories) {
        xml.writeStartElement(u"item"_s);
        xml.writeAttribute(u"rdf:about"_s, story.link);
        xml.writeTextElement(u"title"_s, story.title);
        xml.writeTextElement(u"link"_s, story.link);
        writeBody(xml, u"description"_s, profile, story);
        xml.writeTextElement(u"dc:date"_s, formatDate(story.published, profile));
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

QByteArray contentType(Format format)
{
    switch (format) {
    case Format::Rss2: return "application/rss+xml; charset=UTF-8";
    case Format::Atom: return "application/atom+xml; charset=UTF-8";
    case Format::Rdf: break;
    }
    return "application/rdf+xml; charset=UTF-8";
}

} // namespace

NewsFeeds::NewsFeeds(const SimulatorOptions &options) : m_options(options) {}

void NewsFeeds::install(LoopbackServer &server)
{
    QStringList paths;
    for (const FeedProfile &profile : profiles) {
        if (!paths.contains(profile.path))
            paths.append(profile.path);
    }
    for (const QString &path : paths)
        server.route(path, [this](const RecordedRequest &request) { return reply(request.path, request.query); });
}

QStringList NewsFeeds::targets()
{
    QStringList result;
    for (const FeedProfile &profile : profiles) {
        QString target = profile.path;
        if (!profile.search.isEmpty())
            target += u"?q="_s + QString::fromLatin1(QUrl::toPercentEncoding(profile.search))
                    + u"&hl=en-US&gl=US&ceid=US:en"_s;
        else if (profile.path == "/feed/rssoutbound"_L1)
            target += u"?category=Markets"_s;
        result.append(target);
    }
    return result;
}

HttpReply NewsFeeds::reply(const QString &path, const QString &query) const
{
    const QString search = QUrlQuery(query).queryItemValue(u"q"_s, QUrl::FullyDecoded);
    for (int i = 0; i < feedCount; ++i) {
        if (profiles[i].path == path && (profiles[i].search.isEmpty() || profiles[i].search == search))
            return document(i);
    }
    return {404, "text/plain", "not found"};
}

HttpReply NewsFeeds::document(int feed) const
{
    const FeedProfile &profile = profiles[feed];
    const QDateTime now = m_options.now().toUTC();
    const double slotMs = 60'000.0 / std::max(m_options.newsPerMinute, 0.001);
    const qint64 newest = qint64(std::floor(double(now.toMSecsSinceEpoch()) / slotMs));
    const int wanted = m_itemsPerFeed > 0 ? m_itemsPerFeed : profile.items;
    // Far enough back to fill the feed on average three times over.
    const qint64 oldest = newest - qint64(wanted) * totalWeight() / profile.weight * 3;

    QList<Story> stories;
    for (qint64 slot = newest; slot > oldest && stories.size() < wanted; --slot) {
        Rng rng = slotRng(m_options.seed, slot);
        if (feedOf(rng) != feed)
            continue;
        // Up to 90% of a slot early, so that times do not all fall on the grid.
        const qint64 jitter = qint64(rng.unit() * 0.9 * slotMs);
        const QDateTime published = QDateTime::fromMSecsSinceEpoch(qint64(double(slot) * slotMs) - jitter, QTimeZone::utc());
        stories.append(storyFor(profile, slot, rng, published));
    }

    QByteArray body;
    QXmlStreamWriter xml(&body);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    switch (profile.format) {
    case Format::Rss2: writeRss2(xml, profile, stories, now); break;
    case Format::Atom: writeAtom(xml, profile, stories, now); break;
    case Format::Rdf: writeRdf(xml, profile, stories); break;
    }
    xml.writeEndDocument();
    return {200, contentType(profile.format), body};
}

} // namespace kalvo::sim
