#include "NewsSignals.h"

#include <QHash>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

namespace {

struct CurrencyWords
{
    QString code;
    QString actor;
    QStringList banks;
    QStringList words;
};

const QList<CurrencyWords> &currencyTable()
{
    static const QList<CurrencyWords> table{
        {u"USD"_s, u"Fed"_s,
         {u" fed "_s, u" fomc"_s, u"federal reserve"_s, u"powell"_s, u"us notenbank"_s, u" waller"_s},
         {u" usd "_s, u"dollar"_s, u" us "_s, u"united states"_s, u"american"_s, u"treasur"_s, u"nonfarm"_s,
          u"non farm"_s, u"payroll"_s, u"wall street"_s, u" usa "_s}},
        {u"EUR"_s, u"EZB"_s,
         {u" ecb "_s, u" ezb "_s, u"lagarde"_s, u"european central bank"_s, u"europäische zentralbank"_s},
         {u" eur "_s, u" euro"_s, u"eurozone"_s, u"euro area"_s, u"german"_s, u"deutschland"_s, u"deutsche "_s,
          u" bund "_s, u" bunds "_s, u"france"_s, u"frankreich"_s}},
        {u"GBP"_s, u"BoE"_s,
         {u" boe "_s, u"bank of england"_s, u" bailey"_s},
         {u" gbp "_s, u"pound"_s, u"sterling"_s, u" uk "_s, u"britain"_s, u"british"_s, u"pfund"_s, u" gilt"_s,
          u"england"_s, u"großbritannien"_s}},
        {u"JPY"_s, u"BoJ"_s,
         {u" boj "_s, u"bank of japan"_s, u" ueda"_s},
         {u" jpy "_s, u" yen "_s, u"japan"_s}},
        {u"CHF"_s, u"SNB"_s,
         {u" snb "_s, u"swiss national bank"_s, u"schweizerische nationalbank"_s},
         {u" chf "_s, u"swiss franc"_s, u"franken"_s, u"swiss"_s, u"schweiz"_s}},
        {u"AUD"_s, u"RBA"_s,
         {u" rba "_s, u"reserve bank of australia"_s},
         {u" aud "_s, u"aussie"_s, u"australia"_s, u"australien"_s}},
        {u"NZD"_s, u"RBNZ"_s,
         {u" rbnz "_s, u"reserve bank of new zealand"_s},
         {u" nzd "_s, u" kiwi "_s, u"new zealand"_s, u"neuseeland"_s}},
        {u"CAD"_s, u"BoC"_s,
         {u" boc "_s, u"bank of canada"_s, u"macklem"_s},
         {u" cad "_s, u"loonie"_s, u"canada"_s, u"canadian"_s, u"kanada"_s}},
        {u"XAU"_s, QString(), {}, {u"gold"_s, u" xau"_s, u"bullion"_s}},
    };
    return table;
}

// Named instruments: the news is then about the pair's base currency.
const QStringList &pairWords()
{
    static const QStringList pairs{u"eur/usd"_s, u"gbp/usd"_s, u"usd/jpy"_s, u"usd/chf"_s, u"aud/usd"_s,
                                   u"nzd/usd"_s, u"usd/cad"_s, u"eur/gbp"_s, u"eur/jpy"_s, u"gbp/jpy"_s,
                                   u"xau/usd"_s, u"eurusd"_s, u"gbpusd"_s, u"usdjpy"_s, u"usdchf"_s,
                                   u"audusd"_s, u"nzdusd"_s, u"usdcad"_s, u"xauusd"_s};
    return pairs;
}

const QStringList bullishWords{
    u"hike"_s, u"hawkish"_s, u"raise"_s, u"strong"_s, u"beat"_s, u"surge"_s, u"jump"_s, u" rall"_s,
    u" gain"_s, u"climb"_s, u" rise"_s, u" rises"_s, u" rising"_s, u"higher"_s, u" firm"_s, u"boost"_s,
    u"soar"_s, u"record high"_s, u"erhöh"_s, u"anheb"_s, u"stärker"_s, u"steigt"_s, u"zieht an"_s,
    u"aufwind"_s, u"falkenhaft"_s, u"fester"_s, u"rekordhoch"_s, u"legt zu"_s, u" lift"_s, u"rebound"_s};
const QStringList bearishWords{
    u" cut"_s, u"dovish"_s, u"lower"_s, u" weak"_s, u" miss"_s, u"slump"_s, u"slide"_s, u" slid"_s,
    u" fall"_s, u" fell"_s, u"drop"_s, u"plunge"_s, u"tumble"_s, u"declin"_s, u" slow"_s, u" sink"_s,
    u" sank"_s, u"senkt"_s, u"senkung"_s, u"schwäch"_s, u"fällt"_s, u"gefallen"_s, u"unter druck"_s,
    u"taubenhaft"_s, u"verliert"_s, u"rückgang"_s, u"bricht ein"_s, u"schwächer"_s, u" slip"_s, u" soft"_s,
    u" dip"_s, u" eases"_s, u" easing"_s};
const QStringList riskOffWords{
    u" war "_s, u"krieg"_s, u"crisis"_s, u"krise"_s, u"sell off"_s, u"selloff"_s, u"ausverkauf"_s,
    u"recession"_s, u"rezession"_s, u"safe haven"_s, u"sicherer hafen"_s, u"tariff"_s, u" zoll"_s,
    u"zölle"_s, u"default"_s, u"panic"_s, u"panik"_s, u"turmoil"_s, u"escalat"_s, u"eskal"_s,
    u"conflict"_s, u"konflikt"_s, u"sanction"_s, u"sanktion"_s, u" fear"_s, u" angst"_s};
const QStringList riskOnWords{
    u" rall"_s, u"optimis"_s, u" deal"_s, u"einigung"_s,
    u"ceasefire"_s, u"waffenruhe"_s, u"recovery"_s, u"erholung"_s, u"stimulus"_s, u"konjunkturpaket"_s,
    u"risk appetite"_s, u"risikoappetit"_s};
const QStringList surpriseWords{
    u"surprise"_s, u"unexpected"_s, u"überrasch"_s, u"emergency"_s, u"notfall"_s, u"intervention"_s,
    u"intervenier"_s, u"shock"_s, u"schock"_s};
const QStringList breakingWords{u"breaking"_s, u"eilmeldung"_s, u"just in"_s, u" flash "_s};
const QStringList slowWords{
    u"outlook"_s, u"forecast"_s, u"next week"_s, u"prognose"_s, u"ausblick"_s, u"weekly"_s,
    u"week ahead"_s, u"long term"_s, u"langfrist"_s, u"nächste woche"_s, u"kommende woche"_s,
    u"preview"_s, u"vorschau"_s};

struct Category
{
    QString name;
    int weight;
    QStringList words;
};

// Strongest first; a headline takes the first category that matches.
const QList<Category> &categoryTable()
{
    static const QList<Category> table{
        {u"central_bank"_s, 4,
         {u"central bank"_s, u"zentralbank"_s, u"notenbank"_s, u"leitzins"_s, u"rate decision"_s,
          u"zinsentscheid"_s, u"interest rate"_s, u"rate hike"_s, u"rate cut"_s, u"monetary policy"_s,
          u"geldpolitik"_s, u"zinserhöhung"_s, u"zinssenkung"_s, u" fed "_s, u" fomc"_s, u"federal reserve"_s,
          u"powell"_s, u" ecb "_s, u" ezb "_s, u"lagarde"_s, u" boe "_s, u"bank of england"_s, u" boj "_s,
          u"bank of japan"_s, u" snb "_s, u" rba "_s, u" rbnz "_s, u" boc "_s, u"bank of canada"_s}},
        {u"inflation"_s, 3,
         {u"inflation"_s, u" cpi"_s, u" pce"_s, u" ppi"_s, u"teuerung"_s, u"verbraucherpreise"_s,
          u"consumer price"_s}},
        {u"employment"_s, 3,
         {u"payroll"_s, u"nonfarm"_s, u"non farm"_s, u" nfp"_s, u" jobs"_s, u"unemployment"_s, u"jobless"_s,
          u"arbeitsmarkt"_s, u"arbeitslos"_s, u"employment"_s, u"beschäftigung"_s}},
        {u"growth"_s, 2,
         {u" gdp"_s, u" bip "_s, u" pmi"_s, u"retail sales"_s, u"einzelhandel"_s, u" ifo"_s, u" zew"_s,
          u"wachstum"_s, u"growth"_s, u"recession"_s, u"rezession"_s, u"konjunktur"_s,
          u"industrial production"_s}},
        {u"geopolitics"_s, 2,
         {u" war "_s, u"krieg"_s, u"sanction"_s, u"sanktion"_s, u"tariff"_s, u" zoll"_s, u"zölle"_s,
          u"election"_s, u" wahl"_s, u"conflict"_s, u"konflikt"_s, u"geopoliti"_s}},
        {u"commodities"_s, 1,
         {u" oil"_s, u" öl"_s, u"crude"_s, u"opec"_s, u"gold"_s, u"bullion"_s, u"brent"_s, u" wti "_s}},
        {u"market"_s, 0,
         {u"forex"_s, u" fx "_s, u"currenc"_s, u"devisen"_s, u"währung"_s, u"wechselkurs"_s,
          u"exchange rate"_s, u"yield"_s, u"rendite"_s, u" bond"_s, u"anleihe"_s}},
    };
    return table;
}

// Lower case, '.' removed ("u.s." is "us"), everything but letters, digits
// and '/' turned into blanks, a blank at both ends.
QString normalised(const QString &text)
{
    QString result;
    result.reserve(text.size() + 2);
    result += u' ';
    for (const QChar c : text.toLower()) {
        if (c == u'.')
            continue;
        result += (c.isLetterOrNumber() || c == u'/') ? c : u' ';
    }
    result += u' ';
    return result;
}

bool containsAny(const QString &text, const QStringList &words)
{
    return std::any_of(words.cbegin(), words.cend(), [&](const QString &word) { return text.contains(word); });
}

int countOf(const QString &text, const QStringList &words)
{
    return int(std::count_if(words.cbegin(), words.cend(), [&](const QString &word) { return text.contains(word); }));
}

// The earliest position at which one of `words` occurs, or -1.
qsizetype firstPosition(const QString &text, const QStringList &words)
{
    qsizetype first = -1;
    for (const QString &word : words) {
        const qsizetype at = text.indexOf(word);
        if (at >= 0 && (first < 0 || at < first))
            first = at;
    }
    return first;
}

// The currency the text is about: whichever comes first of a central bank
// and a named instrument (its base currency), else the first currency
// mentioned. "AUD/USD climbs as ECB bets firm" is about the Aussie dollar.
const CurrencyWords *subjectOf(const QString &text, bool *byBank)
{
    const CurrencyWords *best = nullptr;
    qsizetype bestAt = -1;
    const auto earlier = [&](const CurrencyWords &currency, qsizetype at) {
        if (at < 0 || (bestAt >= 0 && at >= bestAt))
            return false;
        best = &currency;
        bestAt = at;
        return true;
    };
    *byBank = false;
    for (const CurrencyWords &currency : currencyTable()) {
        if (earlier(currency, firstPosition(text, currency.banks)))
            *byBank = true;
    }
    for (const QString &pair : pairWords()) {
        const qsizetype at = text.indexOf(pair);
        const QString base = pair.left(3).toUpper();
        for (const CurrencyWords &currency : currencyTable()) {
            if (currency.code == base && earlier(currency, at))
                *byBank = false;
        }
    }
    if (best)
        return best;
    for (const CurrencyWords &currency : currencyTable())
        earlier(currency, firstPosition(text, currency.words));
    return best;
}

QString factorLabel(const QString &category)
{
    static const QHash<QString, QString> labels{
        {u"central_bank"_s, u"Zinspolitik"_s}, {u"inflation"_s, u"Inflationsdruck"_s},
        {u"employment"_s, u"Arbeitsmarkt"_s},  {u"growth"_s, u"Konjunkturdaten"_s},
        {u"geopolitics"_s, u"Geopolitik"_s},   {u"commodities"_s, u"Rohstoffpreise"_s},
        {u"market"_s, u"Marktstimmung"_s}};
    return labels.value(category, u"Marktstimmung"_s);
}

} // namespace

QString directionWord(Direction direction)
{
    switch (direction) {
    case Direction::Bullish: return u"bullish"_s;
    case Direction::Bearish: return u"bearish"_s;
    case Direction::Neutral: break;
    }
    return u"neutral"_s;
}

Direction opposite(Direction direction)
{
    switch (direction) {
    case Direction::Bullish: return Direction::Bearish;
    case Direction::Bearish: return Direction::Bullish;
    case Direction::Neutral: break;
    }
    return Direction::Neutral;
}

NewsSignal readNewsSignal(const QString &raw)
{
    const QString text = normalised(raw);
    NewsSignal signal;

    bool byBank = false;
    if (const CurrencyWords *subject = subjectOf(text, &byBank)) {
        signal.currency = subject->code;
        signal.actor = byBank ? subject->actor : QString();
    }
    int categoryWeight = 0;
    for (const Category &category : categoryTable()) {
        if (containsAny(text, category.words)) {
            if (signal.categories.isEmpty())
                categoryWeight = category.weight;
            signal.categories << category.name;
        }
    }
    signal.relevant = !signal.currency.isEmpty() || !signal.categories.isEmpty();
    if (!signal.relevant)
        return signal;
    if (signal.categories.isEmpty())
        signal.categories << u"market"_s;
    signal.category = signal.categories.first();

    // A headline names its subject's move first and the circumstances after
    // it: "Gold slips from record high as yields rise" is a fall.
    const qsizetype up = firstPosition(text, bullishWords);
    const qsizetype down = firstPosition(text, bearishWords);
    if (!signal.currency.isEmpty() && (up >= 0 || down >= 0))
        signal.direction = down < 0 || (up >= 0 && up < down) ? Direction::Bullish : Direction::Bearish;
    signal.surprise = containsAny(text, surpriseWords);
    const bool breaking = containsAny(text, breakingWords);
    signal.riskTone = countOf(text, riskOnWords) - countOf(text, riskOffWords);

    int score = 3 + categoryWeight;
    if (signal.categories.size() > 1)
        score += 1;
    if (signal.surprise)
        score += 2;
    if (breaking)
        score += 1;
    if (signal.direction != Direction::Neutral)
        score += 1;
    signal.score = std::clamp(score, 1, 10);

    if (signal.surprise || breaking || signal.score >= 9)
        signal.urgency = u"immediate"_s;
    else if (containsAny(text, slowWords))
        signal.urgency = u"days"_s;

    for (const QString &category : std::as_const(signal.categories)) {
        if (category != "market"_L1 || signal.categories.size() == 1)
            signal.factors << factorLabel(category);
    }
    if (signal.surprise)
        signal.factors << u"Überraschungseffekt"_s;
    if (signal.riskTone != 0)
        signal.factors << u"Risikostimmung"_s;
    return signal;
}

QList<PairMove> pairsMovedBy(const QString &currency, Direction direction)
{
    // true: the currency is the pair's base, the pair moves with it.
    static const QHash<QString, QList<QPair<QString, bool>>> pairs{
        {u"USD"_s, {{u"EUR/USD"_s, false}, {u"USD/JPY"_s, true}}},
        {u"EUR"_s, {{u"EUR/USD"_s, true}, {u"EUR/GBP"_s, true}}},
        {u"GBP"_s, {{u"GBP/USD"_s, true}, {u"EUR/GBP"_s, false}}},
        {u"JPY"_s, {{u"USD/JPY"_s, false}, {u"EUR/JPY"_s, false}}},
        {u"CHF"_s, {{u"USD/CHF"_s, false}}},
        {u"AUD"_s, {{u"AUD/USD"_s, true}}},
        {u"NZD"_s, {{u"NZD/USD"_s, true}}},
        {u"CAD"_s, {{u"USD/CAD"_s, false}}},
        {u"XAU"_s, {{u"XAU/USD"_s, true}}},
    };
    QList<PairMove> moves;
    for (const auto &[pair, isBase] : pairs.value(currency))
        moves.append({pair, isBase ? direction : opposite(direction)});
    return moves;
}

double currencyPull(const NewsSignal &signal, const QString &currency)
{
    if (signal.currency != currency || signal.direction == Direction::Neutral)
        return 0;
    const double weight = signal.score / 10.0;
    return signal.direction == Direction::Bullish ? weight : -weight;
}

QString currencyName(const QString &code)
{
    static const QHash<QString, QString> names{
        {u"USD"_s, u"US-Dollar"_s},     {u"EUR"_s, u"Euro"_s},
        {u"GBP"_s, u"Pfund"_s},         {u"JPY"_s, u"Yen"_s},
        {u"CHF"_s, u"Franken"_s},       {u"AUD"_s, u"Aussie-Dollar"_s},
        {u"NZD"_s, u"Kiwi-Dollar"_s},   {u"CAD"_s, u"Kanada-Dollar"_s},
        {u"XAU"_s, u"Gold"_s}};
    return names.value(code, code);
}

QString currencySubject(const QString &code)
{
    const bool neuter = code == "GBP"_L1 || code == "XAU"_L1;
    return (neuter ? u"das "_s : u"der "_s) + currencyName(code);
}

QString categoryLabel(const QString &category)
{
    static const QHash<QString, QString> labels{
        {u"central_bank"_s, u"Geldpolitik"_s}, {u"inflation"_s, u"Inflation"_s},
        {u"employment"_s, u"Arbeitsmarkt"_s},  {u"growth"_s, u"Konjunktur"_s},
        {u"geopolitics"_s, u"Geopolitik"_s},   {u"commodities"_s, u"Rohstoffe"_s},
        {u"market"_s, u"Marktstimmung"_s}};
    return labels.value(category, u"Marktstimmung"_s);
}

} // namespace kalvo::backend
