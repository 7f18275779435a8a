#include "NewsSignals.h"

#include <QHash>
#include <QRegularExpression>

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
         {u" fed "_s, u" fed s "_s, u" fomc"_s, u"federal reserve"_s, u"powell"_s, u"us notenbank"_s, u" waller"_s,
          u" williams "_s, u" goolsbee"_s, u" bostic"_s, u" logan "_s, u" daly "_s, u" bowman"_s, u" jefferson"_s,
          u" kugler"_s, u" barr "_s, u"federal open market"_s},
         {u" usd "_s, u"dollar"_s, u" us "_s, u"united states"_s, u"american"_s, u"treasur"_s, u"nonfarm"_s,
          u"non farm"_s, u"payroll"_s, u"wall street"_s, u" usa "_s, u"greenback"_s, u" dxy "_s, u"dollar index"_s}},
        {u"EUR"_s, u"EZB"_s,
         {u" ecb "_s, u" ezb "_s, u"lagarde"_s, u"european central bank"_s, u"europäische zentralbank"_s, u" schnabel"_s,
          u" nagel "_s, u" villeroy"_s, u" lane "_s, u" knot "_s, u" holzmann"_s},
         {u" eur "_s, u" euro "_s, u" euros "_s, u"eurozone"_s, u"euro zone"_s, u"euro area"_s, u"german"_s,
          u"deutschland"_s, u"deutsche "_s, u" bund "_s, u" bunds "_s, u"france"_s, u"frankreich"_s}},
        {u"GBP"_s, u"BoE"_s,
         {u" boe "_s, u"bank of england"_s, u" bailey"_s, u" pill "_s, u" ramsden"_s, u" greene "_s},
         {u" gbp "_s, u"pound"_s, u"sterling"_s, u" uk "_s, u"britain"_s, u"british"_s, u"pfund"_s, u" gilt"_s,
          u"england"_s, u"großbritannien"_s, u" briten"_s}},
        {u"JPY"_s, u"BoJ"_s,
         {u" boj "_s, u"bank of japan"_s, u" ueda"_s, u" himino"_s, u" uchida"_s, u" tamura"_s, u" takata"_s,
          u" nakagawa"_s, u"summary of opinions"_s, u"japanese government bonds"_s},
         {u" jpy "_s, u" yen "_s, u"japan"_s, u"tokyo"_s, u"tokio"_s}},
        {u"CHF"_s, u"SNB"_s,
         {u" snb "_s, u"swiss national bank"_s, u"schweizerische nationalbank"_s, u" schlegel"_s},
         {u" chf "_s, u"swiss franc"_s, u"franken"_s, u"swiss"_s, u"schweiz"_s, u" franc "_s}},
        {u"AUD"_s, u"RBA"_s,
         {u" rba "_s, u"reserve bank of australia"_s, u" bullock"_s},
         {u" aud "_s, u"aussie"_s, u"australia"_s, u"australien"_s}},
        {u"NZD"_s, u"RBNZ"_s,
         {u" rbnz "_s, u"reserve bank of new zealand"_s, u" orr "_s},
         {u" nzd "_s, u" kiwi "_s, u"new zealand"_s, u"neuseeland"_s}},
        {u"CAD"_s, u"BoC"_s,
         {u" boc "_s, u"bank of canada"_s, u"macklem"_s},
         {u" cad "_s, u"loonie"_s, u"canada"_s, u"canadian"_s, u"kanada"_s}},
        {u"CNY"_s, u"PBoC"_s,
         {u" pboc "_s, u"people s bank of china"_s},
         {u" cny "_s, u" yuan "_s, u"china"_s, u"chinese"_s, u"caixin"_s}},
        {u"XAU"_s, QString(), {}, {u"gold"_s, u" xau"_s, u"bullion"_s}},
    };
    return table;
}

// Named instruments: the news is then about the pair's base currency.
const QStringList &pairWords()
{
    static const QStringList pairs = [] {
        QStringList list;
        const QStringList codes{u"eur"_s, u"gbp"_s, u"usd"_s, u"jpy"_s, u"chf"_s, u"aud"_s, u"nzd"_s, u"cad"_s, u"xau"_s};
        for (const QString &base : codes) {
            for (const QString &quote : codes) {
                if (base != quote)
                    list << base + u'/' + quote << base + quote;
            }
        }
        return list;
    }();
    return pairs;
}

const QStringList bullishWords{
    u"hike"_s, u"hawkish"_s, u"raise"_s, u"strong"_s, u"beat"_s, u"surge"_s, u"jump"_s, u" rall"_s,
    u" gain"_s, u"climb"_s, u" rise"_s, u" rises"_s, u" rising"_s, u"higher"_s, u" firm"_s, u"boost"_s,
    u"soar"_s, u"record high"_s, u"erhöh"_s, u"anheb"_s, u"stärker"_s, u"steigt"_s, u"zieht an"_s,
    u"aufwind"_s, u"falkenhaft"_s, u"fester"_s, u"rekordhoch"_s, u"legt zu"_s, u" lift"_s, u"rebound"_s,
    u" advance"_s, u"edges up"_s, u"ticks up"_s, u"gestützt"_s, u" stützt"_s, u"gefragt"_s, u"erholt"_s, u"hits record"_s,
    u"fresh high"_s};
const QStringList bearishWords{
    u" cut"_s, u"dovish"_s, u"lower"_s, u" weak"_s, u" miss"_s, u"slump"_s, u"slide"_s, u" slid"_s,
    u" fall"_s, u" fell"_s, u"drop"_s, u"plunge"_s, u"tumble"_s, u"declin"_s, u" slow"_s, u" sink"_s,
    u" sank"_s, u"senkt"_s, u"senkung"_s, u"schwäch"_s, u"fällt"_s, u"gefallen"_s, u"unter druck"_s,
    u"taubenhaft"_s, u"verliert"_s, u"rückgang"_s, u"bricht ein"_s, u"schwächer"_s, u" slip"_s, u" soft"_s,
    u" dips "_s, u" dipped"_s, u" eases"_s, u" easing"_s, u"ticks down"_s, u"retreat"_s, u"belastet"_s, u"gibt nach"_s,
    u" sinkt"_s, u"record low"_s};
const QStringList riskOffWords{
    u" war "_s, u"krieg"_s, u"crisis"_s, u"krise"_s, u"sell off"_s, u"selloff"_s, u"ausverkauf"_s,
    u"recession"_s, u"rezession"_s, u"safe haven"_s, u"sicherer hafen"_s, u"sichere häfen"_s, u"tariff"_s, u" zoll"_s,
    u"zölle"_s, u"default"_s, u"panic"_s, u"panik"_s, u"turmoil"_s, u"escalat"_s, u"eskal"_s,
    u"conflict"_s, u"konflikt"_s, u"sanction"_s, u"sanktion"_s, u" fear"_s, u" angst"_s, u"risk off"_s,
    u"risk aversion"_s, u"risikoscheu"_s, u"tensions"_s, u"spannungen"_s};
const QStringList riskOnWords{
    u" rall"_s, u"optimis"_s, u" deal"_s, u"einigung"_s,
    u"ceasefire"_s, u"waffenruhe"_s, u"recovery"_s, u"erholung"_s, u"stimulus"_s, u"konjunkturpaket"_s,
    u"risk appetite"_s, u"risikoappetit"_s, u"risk on"_s, u"risikofreude"_s};
const QStringList surpriseWords{
    u"surprise"_s, u"unexpected"_s, u"überrasch"_s, u"emergency"_s, u"notfall"_s, u"intervention"_s,
    u"intervenier"_s, u"shock"_s, u"schock"_s};
const QStringList breakingWords{u"breaking"_s, u"eilmeldung"_s, u"just in"_s, u" flash "_s};
const QStringList slowWords{
    u"outlook"_s, u"forecast:"_s, u"next week"_s, u"prognose:"_s, u"ausblick"_s, u"weekly"_s,
    u"week ahead"_s, u"long term"_s, u"langfrist"_s, u"nächste woche"_s, u"kommende woche"_s,
    u"preview"_s, u"vorschau"_s, u"elliott"_s};

struct Category
{
    QString name;
    int weight;
    QStringList words;
};

// Strongest first; a headline takes the category its subject belongs to.
const QList<Category> &categoryTable()
{
    static const QList<Category> table{
        {u"central_bank"_s, 4,
         {u"central bank"_s, u"zentralbank"_s, u"notenbank"_s, u"leitzins"_s, u"rate decision"_s,
          u"zinsentscheid"_s, u"interest rate"_s, u"rate hike"_s, u"rate cut"_s, u"monetary policy"_s,
          u"geldpolitik"_s, u"zinserhöhung"_s, u"zinssenkung"_s, u" fed "_s, u" fomc"_s, u"federal reserve"_s,
          u"powell"_s, u" ecb "_s, u" ezb "_s, u"lagarde"_s, u" boe "_s, u"bank of england"_s, u" boj "_s,
          u"bank of japan"_s, u" snb "_s, u" rba "_s, u" rbnz "_s, u" boc "_s, u"bank of canada"_s, u" zinsen"_s,
          u"intervention"_s, u" pboc "_s}},
        {u"inflation"_s, 3,
         {u"inflation"_s, u" cpi"_s, u" pce"_s, u" ppi"_s, u"hicp"_s, u"teuerung"_s, u"verbraucherpreise"_s,
          u"consumer price"_s, u"preisdruck"_s}},
        {u"employment"_s, 3,
         {u"payroll"_s, u"nonfarm"_s, u"non farm"_s, u" nfp"_s, u" jobs"_s, u"unemployment"_s, u"jobless"_s,
          u"arbeitsmarkt"_s, u"arbeitslos"_s, u"employment"_s, u"beschäftigung"_s, u" wage"_s, u"hourly earnings"_s,
          u"job openings"_s, u"jolts"_s, u" löhne"_s, u"lohnwachstum"_s, u"stellen"_s}},
        {u"growth"_s, 2,
         {u" gdp"_s, u" bip "_s, u" pmi"_s, u" ism "_s, u"retail sales"_s, u"einzelhandel"_s, u" ifo"_s, u" zew"_s,
          u"wachstum"_s, u"growth"_s, u"recession"_s, u"rezession"_s, u"konjunktur"_s, u"sentiment"_s,
          u"confidence"_s, u"industrial production"_s, u"factory orders"_s, u"trade balance"_s, u"einkaufsmanager"_s,
          u"housing"_s, u"mortgage"_s, u"consumers"_s}},
        {u"geopolitics"_s, 2,
         {u" war "_s, u"krieg"_s, u"sanction"_s, u"sanktion"_s, u"tariff"_s, u" zoll"_s, u"zölle"_s,
          u"election"_s, u" wahl"_s, u"conflict"_s, u"konflikt"_s, u"geopoliti"_s, u"tensions"_s, u"spannungen"_s,
          u"downgrade"_s, u"affirms"_s, u"rating"_s}},
        {u"commodities"_s, 1,
         {u" oil"_s, u" öl"_s, u"ölpreis"_s, u"crude"_s, u"opec"_s, u"gold"_s, u"bullion"_s, u"brent"_s, u" wti "_s,
          u"iron ore"_s, u" xau"_s}},
        {u"equities"_s, 1,
         {u"stocks"_s, u" s p 500"_s, u" dow "_s, u"nasdaq"_s, u"equit"_s, u"wall street"_s, u" shares"_s, u"aktien"_s,
          u" dax "_s, u"nikkei"_s, u"ftse"_s}},
        {u"bonds"_s, 1,
         {u"yield"_s, u"rendite"_s, u" bond"_s, u"anleihe"_s, u"treasuries"_s, u" gilts"_s, u" jgb"_s}},
        {u"technical"_s, 0,
         {u"technical analysis"_s, u"price forecast"_s, u"daily outlook"_s, u"mid day outlook"_s, u"elliott wave"_s,
          u"technical update"_s, u"charttechnik"_s, u" pivot"_s, u"weekly outlook"_s}},
        {u"market"_s, 0,
         {u"forex"_s, u" fx "_s, u"currenc"_s, u"devisen"_s, u"währung"_s, u"wechselkurs"_s,
          u"exchange rate"_s}},
    };
    return table;
}

// An economic release and how its figure reads for the currency.
struct Indicator
{
    QString key;
    QString category;
    int polarity; // a higher figure is good (+1) or bad (-1) for the currency; 0: neither
    QStringList words;
};

// More specific first: "core cpi" before "cpi", "unemployment rate" before "employment".
const QList<Indicator> &indicatorTable()
{
    static const QList<Indicator> table{
        {u"core"_s, u"inflation"_s, 1, {u"core cpi"_s, u"core inflation"_s, u"core pce"_s, u"kerninflation"_s}},
        {u"unemployment"_s, u"employment"_s, -1, {u"unemployment rate"_s, u"arbeitslosenquote"_s}},
        {u"claims"_s, u"employment"_s, -1,
         {u"jobless claims"_s, u"unemployment claims"_s, u"initial claims"_s, u"erstanträge"_s}},
        {u"wages"_s, u"employment"_s, 1, {u"hourly earnings"_s, u"wage growth"_s, u" wages"_s, u"lohnwachstum"_s, u" löhne"_s}},
        {u"openings"_s, u"employment"_s, 1, {u"jolts"_s, u"job openings"_s, u"offene stellen"_s}},
        {u"jobs"_s, u"employment"_s, 1,
         {u"nonfarm"_s, u"non farm"_s, u"payroll"_s, u"employment change"_s, u"adp"_s, u" jobs"_s,
          u"stellenaufbau"_s, u"arbeitsmarkt"_s, u"beschäftigung"_s}},
        {u"inflation"_s, u"inflation"_s, 1,
         {u" cpi"_s, u"inflation"_s, u"hicp"_s, u" pce"_s, u"consumer price"_s, u"verbraucherpreise"_s, u"teuerung"_s,
          u" ppi"_s, u"producer price"_s}},
        {u"pmi"_s, u"growth"_s, 1, {u" pmi"_s, u" ism "_s, u"einkaufsmanager"_s}},
        {u"sales"_s, u"growth"_s, 1, {u"retail sales"_s, u"einzelhandel"_s}},
        {u"sentiment"_s, u"growth"_s, 1,
         {u"sentiment"_s, u"confidence"_s, u" zew"_s, u" ifo"_s, u"stimmung"_s}},
        {u"trade"_s, u"growth"_s, 1, {u"trade balance"_s, u"handelsbilanz"_s}},
        {u"production"_s, u"growth"_s, 1, {u"industrial production"_s, u"industrieproduktion"_s}},
        {u"orders"_s, u"growth"_s, 1, {u"factory orders"_s, u"auftragseingang"_s}},
        {u"inventories"_s, u"commodities"_s, 0, {u"inventories"_s, u"lagerbestände"_s}},
        {u"growth"_s, u"growth"_s, 1, {u" gdp"_s, u" bip "_s, u"economy grew"_s, u"wachstum"_s}},
    };
    return table;
}

// Words that say a headline reports a release rather than talks about one.
const QStringList releaseWords{
    u" vs "_s, u"expected"_s, u"forecast"_s, u"consensus"_s, u"comes in"_s, u"came in"_s, u" beat"_s, u" miss"_s,
    u"recap"_s, u" rises to"_s, u" falls to"_s, u"than expected"_s, u"erwartet"_s, u"prognose"_s, u"surprise"_s,
    u" slows"_s, u" accelerat"_s, u" hotter"_s, u" cooler"_s, u"jumps to"_s, u"drops to"_s, u"eases to"_s,
    u" grew"_s, u"shrank"_s, u"contract"_s, u"überrasch"_s, u"breaking"_s};
const QStringList aboveWords{
    u"above forecast"_s, u"above expectations"_s, u"above the"_s, u"beats"_s, u" beat"_s, u"stronger than expected"_s,
    u"hotter than expected"_s, u"higher than expected"_s, u"über prognose"_s, u"über den erwartungen"_s,
    u"stärker als erwartet"_s, u"höher als erwartet"_s, u"strong "_s};
const QStringList belowWords{
    u"below forecast"_s, u"below expectations"_s, u"below the"_s, u"misses"_s, u" miss"_s, u"weaker than expected"_s,
    u"softer than expected"_s, u"cooler than expected"_s, u"lower than expected"_s, u"unter prognose"_s,
    u"unter den erwartungen"_s, u"schwächer als erwartet"_s, u"niedriger als erwartet"_s, u"soft "_s};
const QStringList upWords{u" rise"_s, u" rises"_s, u" jump"_s, u"climb"_s, u"accelerat"_s, u" hotter"_s, u"higher"_s,
                          u"stronger"_s, u" grew"_s, u"steigt"_s, u"surge"_s, u" up "_s};
const QStringList downWords{u" slow"_s, u" fall"_s, u" drop"_s, u" ease"_s, u" cool"_s, u"declin"_s, u"weaker"_s,
                            u"lower"_s, u"softer"_s, u" slip"_s, u"shrank"_s, u"sinkt"_s, u"fällt"_s};

const QStringList hawkishPhrases{
    u"too high"_s, u"not imminent"_s, u"no rush"_s, u"restrictive"_s, u"further tightening"_s,
    u"uncomfortably strong"_s, u"more confidence"_s, u"sticky"_s, u"too early"_s, u"stubborn"_s,
    u"several more months"_s, u"too strong to justify"_s, u"hawkish"_s, u" pare"_s, u"fewer cuts"_s,
    u"push back"_s, u"falkenhaft"_s, u"no hurry"_s, u"higher for longer"_s, u"rate hikes"_s, u"further hikes"_s,
    u"hike bets"_s, u"cut bets fade"_s, u"hike speculation"_s, u"holds firm"_s, u"patience on cuts"_s,
    u"zinssenkungserwartungen gedämpft"_s, u"senkungen ausgepreist"_s};
const QStringList dovishPhrases{
    u"real possibility"_s, u"cooling"_s, u"start to ease"_s, u"on track to return"_s, u"lower rates gradually"_s,
    u"downside risks"_s, u"faster than we thought"_s, u"too long is a risk"_s, u"case for a cut"_s,
    u"clearly easing"_s, u"dovish"_s, u"add to"_s, u"cut bets firm"_s, u"cut bets build"_s, u"opens the door"_s,
    u"taubenhaft"_s, u"room to cut"_s, u"open to easing"_s, u"cuts ahead"_s, u"keeps policy loose"_s,
    u"senkungen eingepreist"_s, u"rate cut this year"_s, u"rate cuts this year"_s};

struct Phrase
{
    QStringList words;
    QString text;
};

// What a headline gives as the cause of a move, in German. The first
// match wins, so the more specific come first.
const QList<Phrase> &reasons()
{
    static const QList<Phrase> table{
        {{u"pare fed"_s, u"fed rate cut bets fade"_s, u"fed officials push back"_s},
         u"der Markt Zinssenkungen der Fed auspreist"_s},
        {{u"add to fed"_s, u"fed cut bets"_s, u"price in fed cuts"_s}, u"der Markt mehr Zinssenkungen der Fed einpreist"_s},
        {{u"ecb rate cut bets firm"_s, u"ecb cut bets"_s}, u"der Markt mehr Zinssenkungen der EZB einpreist"_s},
        {{u"ecb hawks"_s}, u"Falken in der EZB Zinssenkungen bremsen"_s},
        {{u"boe rate cut bets"_s}, u"der Markt mehr Zinssenkungen der BoE einpreist"_s},
        {{u"boe officials signal patience"_s, u"boe holds"_s}, u"die BoE Geduld signalisiert"_s},
        {{u"boj keeps policy loose"_s, u"yield gap"_s, u"carry trade"_s}, u"die lockere Geldpolitik der BoJ den Yen belastet"_s},
        {{u"boj rate hike"_s}, u"eine Zinserhöhung der BoJ wahrscheinlicher wird"_s},
        {{u"warns against"_s, u"tokyo warns"_s}, u"Tokio mit Interventionen droht"_s},
        {{u"snb rate cut bets"_s, u"snb cut bets"_s}, u"Zinssenkungserwartungen an die SNB den Franken belasten"_s},
        {{u" snb "_s}, u"die Geldpolitik der SNB den Franken bewegt"_s},
        {{u" rba "_s}, u"die RBA ihren Kurs signalisiert"_s},
        {{u" rbnz "_s}, u"die RBNZ ihren Kurs signalisiert"_s},
        {{u" boc "_s}, u"die Bank of Canada ihren Kurs signalisiert"_s},
        {{u"dollar softens"_s, u"dollar weakens"_s, u"greenback retreats"_s, u"soft us data"_s},
         u"der US-Dollar nachgibt"_s},
        {{u"dollar firms"_s, u"greenback picks up"_s, u"us data beat"_s}, u"der US-Dollar fester tendiert"_s},
        {{u"yields climb"_s, u"yields rise"_s, u"yields surge"_s}, u"die Renditen steigen"_s},
        {{u"yields slip"_s, u"yields fall"_s, u"yields retreat"_s, u"yields slide"_s}, u"die Renditen sinken"_s},
        {{u"iron ore prices rally"_s, u"china stimulus"_s, u"commodity currencies"_s}, u"Rohstoffwährungen Rückenwind haben"_s},
        {{u"china growth worries"_s, u"iron ore prices slide"_s, u"recovery loses steam"_s}, u"Sorgen um Chinas Wachstum belasten"_s},
        {{u"oil prices climb"_s, u"oil prices rise"_s}, u"der Ölpreis steigt"_s},
        {{u"oil prices slide"_s, u"oil prices fall"_s}, u"der Ölpreis fällt"_s},
        {{u"output cuts"_s}, u"die OPEC+ das Angebot knapp hält"_s},
        {{u"output rises"_s}, u"die OPEC+ mehr fördert"_s},
        {{u"supply worries"_s}, u"Angebotssorgen aufkommen"_s},
        {{u"crude stocks draw"_s}, u"die US-Lagerbestände sinken"_s},
        {{u"inventories build"_s}, u"die US-Lagerbestände unerwartet steigen"_s},
        {{u"demand hopes"_s}, u"die Nachfrage aus China anzieht"_s},
        {{u"demand worries"_s}, u"Nachfragesorgen belasten"_s},
        {{u"dairy prices rise"_s}, u"die Milchpreise steigen"_s},
        {{u"dairy prices slip"_s}, u"die Milchpreise fallen"_s},
        {{u"central bank buying"_s}, u"Zentralbanken weiter Gold kaufen"_s},
        {{u"profit"_s}, u"Gewinnmitnahmen einsetzen"_s},
        {{u"safe haven"_s, u"safe-haven"_s, u"risk aversion"_s}, u"sichere Häfen gefragt sind"_s},
        {{u"tensions"_s, u"tumble"_s, u"bank shares slide"_s, u"growth worries"_s},
         u"die Unsicherheit an den Märkten steigt"_s},
        {{u"risk appetite"_s, u"equities rally"_s, u"volatility eases"_s, u"earnings impress"_s},
         u"die Risikofreude zunimmt"_s},
        {{u"data beat"_s, u"surprise to the upside"_s, u"beat expectations"_s, u"improves"_s, u"wage growth stays hot"_s,
          u"jobs data beat"_s},
         u"die Konjunkturdaten überzeugen"_s},
        {{u"disappoint"_s, u"soft german data"_s, u"growth disappoints"_s, u"data weigh"_s}, u"schwache Daten belasten"_s},
        {{u"hawk"_s, u"hawkish"_s}, u"die Notenbank falkenhaft auftritt"_s},
        {{u"dovish "_s}, u"die Notenbank taubenhaft auftritt"_s},
        {{u"after strong "_s}, u"die Daten stärker als erwartet ausfallen"_s},
        {{u"after soft "_s}, u"die Daten schwächer als erwartet ausfallen"_s},
        {{u"came in at"_s, u"comes in"_s}, u"neue Konjunkturdaten vorliegen"_s},
        {{u"rate cut bets fade"_s, u"cut bets fade"_s}, u"die Zinssenkungserwartungen schwinden"_s},
        {{u"rate cut bets firm"_s, u"cut bets build"_s}, u"die Zinssenkungserwartungen zunehmen"_s},
        {{u"rate cut hopes"_s}, u"die Hoffnung auf Zinssenkungen zurückkehrt"_s},
        {{u"rate cut bets"_s, u"dovish"_s}, u"Zinssenkungserwartungen den Ton angeben"_s},
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

const CurrencyWords *currencyByCode(const QString &code)
{
    for (const CurrencyWords &currency : currencyTable()) {
        if (currency.code == code)
            return &currency;
    }
    return nullptr;
}

// The currency the text is about: whichever comes first of a central bank
// and a named instrument (its base currency), else the first currency
// mentioned. "AUD/USD climbs as ECB bets firm" is about the Aussie dollar.
const CurrencyWords *subjectOf(const QString &text, bool *byBank, QString *pair)
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
    for (const QString &name : pairWords()) {
        const qsizetype at = text.indexOf(u' ' + name + u' ');
        if (at < 0)
            continue;
        if (const CurrencyWords *base = currencyByCode(name.left(3).toUpper()); base && earlier(*base, at)) {
            *byBank = false;
            *pair = name.size() == 7 ? name.toUpper() : name.left(3).toUpper() + u'/' + name.mid(3).toUpper();
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
        {u"equities"_s, u"Aktienmärkte"_s},    {u"bonds"_s, u"Renditen"_s},
        {u"technical"_s, u"Charttechnik"_s},   {u"market"_s, u"Marktstimmung"_s}};
    return labels.value(category, u"Marktstimmung"_s);
}

int weightOf(const QString &category)
{
    for (const Category &entry : categoryTable()) {
        if (entry.name == category)
            return entry.weight;
    }
    return 0;
}

// A figure as "3.6%", "245K", "-21.9K" read into a number.
std::optional<double> figureValue(QString text)
{
    text.remove(u'%').remove(u'K').remove(u'M').remove(u"bn"_s).replace(u',', u'.');
    bool ok = false;
    const double value = text.trimmed().toDouble(&ok);
    return ok ? std::optional<double>(value) : std::nullopt;
}

// "0.4% vs 0.3% expected", "at 245K (forecast 200K)", "forecast 74K".
void readFigures(const QString &raw, NewsSignal &signal)
{
    static const QString figure = u"([+-−]?\\d+(?:[.,]\\d+)?\\s?(?:%|K|M|bn)?)"_s;
    static const QRegularExpression versus(figure + u"\\s+vs\\.?\\s+"_s + figure);
    static const QRegularExpression forecastAfter(u"(?:at|to)\\s+"_s + figure + u".{0,30}?(?:forecast|consensus|Prognose)\\s*:?\\s*"_s + figure);
    if (const QRegularExpressionMatch match = versus.match(raw); match.hasMatch()) {
        signal.actual = match.captured(1).replace(u'−', u'-');
        signal.forecast = match.captured(2).replace(u'−', u'-');
    } else if (const QRegularExpressionMatch match = forecastAfter.match(raw); match.hasMatch()) {
        signal.actual = match.captured(1);
        signal.forecast = match.captured(2);
    }
}

QString levelAfter(const QString &raw, const QString &instrument)
{
    if (instrument.isEmpty())
        return QString();
    const QRegularExpression level(QRegularExpression::escape(instrument)
                                   + u"[^;,]{0,40}?\\b(?:to|at|near|toward|below|above|auf|bei)\\s+\\$?(\\d[\\d,]*(?:\\.\\d+)?)"_s,
                                   QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = level.match(raw);
    return match.hasMatch() ? match.captured(1) : QString();
}

// The clause a headline gives its cause in: after " as ", " after ", " on ".
QString causeClause(const QString &text)
{
    qsizetype at = -1;
    for (const QString &marker : {u" as "_s, u" after "_s, u" amid "_s, u" ahead of "_s, u" before "_s, u" weil "_s,
                                  u" nach "_s}) {
        const qsizetype found = text.indexOf(marker);
        if (found >= 0 && (at < 0 || found < at))
            at = found;
    }
    return at < 0 ? QString() : text.mid(at);
}

// Reads what happened: the kind of news, and for it the stance, the figures
// or the move it reports.
void readEvent(const QString &raw, const QString &text, NewsSignal &signal)
{
    const QString clause = causeClause(text);
    const QString head = clause.isEmpty() ? text : text.left(text.size() - clause.size() + 1);

    // "Gold advances as traders price in Fed cuts" is about gold: a bank
    // named only in the cause is the cause, not the subject.
    if (!signal.actor.isEmpty()) {
        const CurrencyWords *bank = currencyByCode(signal.currency);
        if (bank && firstPosition(head, bank->banks) < 0) {
            signal.actor.clear();
            const CurrencyWords *first = nullptr;
            qsizetype firstAt = -1;
            for (const CurrencyWords &currency : currencyTable()) {
                const qsizetype found = firstPosition(head, currency.words);
                if (found >= 0 && (firstAt < 0 || found < firstAt)) {
                    first = &currency;
                    firstAt = found;
                }
            }
            if (first)
                signal.currency = first->code;
        }
    }
    for (const Phrase &phrase : reasons()) {
        if (containsAny(clause.isEmpty() ? text : clause, phrase.words)) {
            signal.reason = phrase.text;
            break;
        }
    }

    // A release: an indicator named in the headline's main part with a figure or a verdict.
    const Indicator *indicator = nullptr;
    qsizetype indicatorAt = -1;
    for (const Indicator &entry : indicatorTable()) {
        const qsizetype at = firstPosition(head, entry.words);
        if (at >= 0 && (indicatorAt < 0 || at < indicatorAt)) {
            indicator = &entry;
            indicatorAt = at;
        }
    }
    readFigures(raw, signal);

    static const QStringList decisionCut{u"cuts rates"_s, u"cuts interest rate"_s, u"cuts its"_s, u"lowers rates"_s,
                                         u"lowered its policy rate"_s, u"senkt zinsen"_s, u"senkt den leitzins"_s,
                                         u"senkt leitzins"_s, u"zinssenkung der"_s, u" bp cut"_s};
    static const QStringList decisionHike{u"hikes rates"_s, u"raises rates"_s, u"rate hike sends"_s, u"surprise rate hike"_s,
                                          u"raises interest rate"_s, u"erhöht zinsen"_s, u"erhöht den leitzins"_s,
                                          u"erhöht leitzins"_s, u"zinserhöhung der"_s};
    static const QStringList decisionHold{u"leaves rates"_s, u"holds rates"_s, u"keeps rates"_s, u"rates on hold"_s,
                                          u"holds fed funds"_s, u"rate decision"_s, u"rates unchanged"_s,
                                          u"unchanged at"_s, u"held at"_s, u"hält zinsen"_s, u"hält die zinsen"_s,
                                          u"belässt"_s, u"zinspause"_s, u"statement on monetary policy"_s,
                                          u"issues fomc statement"_s};
    static const QStringList interventionWords{u"intervention"_s, u"intervene"_s, u"interven"_s, u"currency diplomat"_s,
                                               u"speculative yen"_s, u"warns against"_s, u"rapid currency moves"_s};
    static const QStringList previewWords{u"preview"_s, u"brace for"_s, u"coming up"_s, u"position for"_s,
                                          u"traders await"_s, u"markets await"_s, u"vorschau"_s, u"vor den"_s,
                                          u" vor us"_s, u"abwartend"_s};
    static const QStringList outlookWords{u"price forecast"_s, u"technical analysis"_s, u"daily outlook"_s,
                                          u"weekly outlook"_s, u"mid day outlook"_s, u"elliott wave"_s,
                                          u"technical update"_s, u"charttechnik"_s, u"daily pivots"_s};
    static const QStringList equityWords{u"stocks"_s, u" s p 500"_s, u" dow "_s, u"nasdaq"_s, u"equit"_s,
                                         u"wall street"_s, u" shares"_s, u"aktien"_s, u" dax "_s, u"nikkei"_s};
    static const QStringList bondWords{u"yield"_s, u"rendite"_s, u"treasuries"_s, u" gilts "_s, u" bonds "_s};
    static const QStringList riskWords{u"risk off"_s, u"risk on"_s, u"risk appetite"_s, u"safe haven"_s,
                                       u"risikoscheu"_s, u"risikofreude"_s, u"sichere häfen"_s, u"risk mood"_s};
    static const QStringList geopoliticsWords{u"tensions"_s, u"sanction"_s, u"tariff"_s, u" war "_s, u"conflict"_s,
                                              u"geopoliti"_s, u"downgrade"_s, u"affirms"_s, u"spannungen"_s,
                                              u"sanktion"_s, u"zölle"_s, u"krieg"_s};
    static const QStringList goldWords{u"gold"_s, u" xau"_s, u"bullion"_s};
    static const QStringList oilWords{u" oil "_s, u"crude"_s, u" wti "_s, u"brent"_s, u"ölpreis"_s, u" öl "_s};
    static const QStringList pricingWords{u" bets "_s, u"priced"_s, u"price in"_s, u"money markets"_s, u"eingepreist"_s,
                                          u"geldmarkt"_s};

    const auto position = [&](const QStringList &words) { return firstPosition(head, words); };
    const qsizetype at = [&] {
        qsizetype earliest = -1;
        for (const QStringList *words : {&equityWords, &bondWords, &goldWords, &oilWords}) {
            const qsizetype found = position(*words);
            if (found >= 0 && (earliest < 0 || found < earliest))
                earliest = found;
        }
        return earliest;
    }();
    const auto leads = [&](const QStringList &words) {
        const qsizetype found = position(words);
        return found >= 0 && found == at;
    };
    const qsizetype up = firstPosition(head, upWords + bullishWords);
    const qsizetype down = firstPosition(head, downWords + bearishWords);
    const int headMove = up < 0 && down < 0 ? 0 : down < 0 || (up >= 0 && up < down) ? 1 : -1;

    if (text.contains(u"fixing"_s) && text.contains(u"cny"_s)) {
        // The daily yuan fixing: a weaker fix is a weaker yuan.
        signal.event = NewsEvent::Move;
        signal.currency = u"CNY"_s;
        signal.actor.clear();
        signal.instrument.clear();
        const bool weaker = text.contains(u"weaker"_s);
        signal.direction = weaker ? Direction::Bearish : text.contains(u"stronger"_s) ? Direction::Bullish : Direction::Neutral;
        signal.reason = weaker ? u"die PBoC den Referenzkurs schwächer als erwartet festsetzt"_s
                               : u"die PBoC den Referenzkurs stärker als erwartet festsetzt"_s;
    } else if (containsAny(head, interventionWords) || (signal.currency == u"JPY"_s && containsAny(text, interventionWords))) {
        signal.event = NewsEvent::Intervention;
    } else if (containsAny(text, outlookWords) || (signal.instrument.size() == 7 && text.contains(u" outlook "_s))) {
        signal.event = NewsEvent::Outlook;
    } else if (containsAny(text, decisionCut)) {
        signal.event = NewsEvent::Decision;
        signal.policyMove = -1;
    } else if (containsAny(text, decisionHike)) {
        signal.event = NewsEvent::Decision;
        signal.policyMove = 1;
    } else if (containsAny(head, decisionHold) && !signal.actor.isEmpty()) {
        signal.event = NewsEvent::Decision;
    } else if (containsAny(text, previewWords) || (text.contains(u" ahead of "_s) && text.contains(u" holds "_s))) {
        signal.event = NewsEvent::Preview;
    } else if (indicator && (!signal.actual.isEmpty() || containsAny(text, releaseWords))) {
        signal.event = NewsEvent::Data;
    } else if (!signal.actor.isEmpty()) {
        signal.event = NewsEvent::Voice;
        signal.pricing = containsAny(text, pricingWords);
    } else if (!signal.instrument.isEmpty() && (signal.instrument.size() == 7)) {
        signal.event = NewsEvent::Move;
    } else if (leads(goldWords) || leads(oilWords)) {
        signal.event = NewsEvent::Commodity;
    } else if (leads(equityWords)) {
        signal.event = NewsEvent::Equities;
    } else if (leads(bondWords)) {
        signal.event = NewsEvent::Bonds;
    } else if (containsAny(text, riskWords)) {
        signal.event = NewsEvent::Risk;
    } else if (containsAny(text, geopoliticsWords)) {
        signal.event = NewsEvent::Geopolitics;
    } else if (!signal.currency.isEmpty() && headMove != 0) {
        signal.event = NewsEvent::Move;
    }

    if (indicator) {
        signal.indicator = indicator->key;
        qsizetype countryAt = -1;
        for (const CurrencyWords &currency : currencyTable()) {
            const qsizetype found = currency.code == u"XAU"_s ? -1 : firstPosition(head, currency.words + currency.banks);
            if (found >= 0 && (countryAt < 0 || found < countryAt)) {
                signal.country = currency.code;
                countryAt = found;
            }
        }
    }
    if (signal.event == NewsEvent::Data) {
        const std::optional<double> actual = figureValue(signal.actual);
        const std::optional<double> forecast = figureValue(signal.forecast);
        if (actual && forecast && *actual != *forecast)
            signal.versusForecast = *actual > *forecast ? 1 : -1;
        else if (text.contains(u"than expected"_s) || text.contains(u"als erwartet"_s))
            signal.versusForecast = headMove;
        else if (containsAny(text, aboveWords))
            signal.versusForecast = 1;
        else if (containsAny(text, belowWords))
            signal.versusForecast = -1;
        signal.itemMove = headMove != 0 ? headMove : signal.versusForecast;
        if (indicator->polarity != 0 && !signal.country.isEmpty()) {
            signal.currency = signal.country;
            const int sign = indicator->polarity * (signal.versusForecast != 0 ? signal.versusForecast : signal.itemMove);
            signal.direction = sign > 0 ? Direction::Bullish : sign < 0 ? Direction::Bearish : Direction::Neutral;
        }
    }
    if (signal.event == NewsEvent::Move && signal.instrument.size() == 7 && !clause.isEmpty()) {
        // "EUR/USD slips as the dollar firms" tells of the dollar.
        const QString quote = signal.instrument.mid(4);
        const CurrencyWords *first = nullptr;
        qsizetype firstAt = -1;
        for (const CurrencyWords &currency : currencyTable()) {
            const qsizetype found = firstPosition(clause, currency.words + currency.banks);
            if (found >= 0 && (firstAt < 0 || found < firstAt)) {
                first = &currency;
                firstAt = found;
            }
        }
        if (first && first->code == quote && signal.direction != Direction::Neutral) {
            signal.currency = quote;
            signal.direction = opposite(signal.direction);
        }
    }
    if (signal.event == NewsEvent::Preview) {
        // What it waits for stands after "ahead of" as often as before it.
        qsizetype awaitedAt = -1;
        for (const Indicator &entry : indicatorTable()) {
            const qsizetype found = firstPosition(text, entry.words);
            if (found >= 0 && (awaitedAt < 0 || found < awaitedAt)) {
                indicator = &entry;
                awaitedAt = found;
            }
        }
        if (indicator) {
            signal.awaited = indicator->key;
            // Its country is the one named right before it.
            qsizetype countryAt = -1;
            for (const CurrencyWords &currency : currencyTable()) {
                for (const QString &word : currency.words) {
                    const qsizetype found = currency.code == u"XAU"_s ? -1 : text.lastIndexOf(word, awaitedAt);
                    if (found >= 0 && found > countryAt) {
                        signal.country = currency.code;
                        countryAt = found;
                    }
                }
            }
        }
        else if (containsAny(text, {u"decision"_s, u"entscheid"_s, u"press conference"_s, u"statement"_s, u" minutes"_s}))
            signal.awaited = u"decision"_s;
    }
    if (signal.event == NewsEvent::Decision) {
        static const QRegularExpression points(u"(\\d+)\\s?(?:bp|basis points|basispunkte)"_s, QRegularExpression::CaseInsensitiveOption);
        static const QRegularExpression rate(u"(\\d+(?:[.,]\\d+)?%(?:\\s?-\\s?\\d+(?:[.,]\\d+)?%)?)"_s);
        if (const QRegularExpressionMatch match = points.match(raw); match.hasMatch())
            signal.basisPoints = match.captured(1).toInt();
        if (const QRegularExpressionMatch match = rate.match(raw); match.hasMatch() && signal.actual.isEmpty())
            signal.actual = match.captured(1);
    }
    if (signal.event == NewsEvent::Risk && containsAny(text, {u"tensions"_s, u"tariff"_s, u"sanction"_s, u" war "_s, u"conflict"_s}))
        signal.topic = u"conflict"_s;
    if (signal.event == NewsEvent::Geopolitics) {
        signal.topic = containsAny(text, {u"downgrade"_s, u"affirms"_s, u"rating"_s}) ? u"rating"_s
            : containsAny(text, {u"tariff"_s, u"zoll"_s, u"zölle"_s, u"trade tensions"_s}) ? u"tariffs"_s
            : containsAny(text, {u"sanction"_s, u"sanktion"_s})                           ? u"sanctions"_s
                                                                                          : u"conflict"_s;
    }
    if (signal.event == NewsEvent::Decision || signal.event == NewsEvent::Voice) {
        const int hawks = countOf(text, hawkishPhrases);
        const int doves = countOf(text, dovishPhrases);
        signal.stance = signal.policyMove != 0 ? signal.policyMove : hawks > doves ? 1 : doves > hawks ? -1 : 0;
    }
    if (signal.event == NewsEvent::Commodity || signal.event == NewsEvent::Equities || signal.event == NewsEvent::Bonds) {
        signal.itemMove = headMove;
        if (leads(goldWords))
            signal.instrument = u"XAU/USD"_s;
        else if (leads(oilWords))
            signal.instrument = u"WTI"_s;
        else if (leads(equityWords)) {
            const qsizetype nasdaq = head.indexOf(u"nasdaq"_s);
            const qsizetype dow = head.indexOf(u" dow "_s);
            const qsizetype spx = head.indexOf(u" s p 500"_s);
            signal.instrument = u"Aktien"_s;
            qsizetype first = -1;
            for (const auto &[at, name] : {std::pair{spx, u"S&P 500"_s}, {dow, u"Dow Jones"_s}, {nasdaq, u"Nasdaq"_s}}) {
                if (at >= 0 && (first < 0 || at < first)) {
                    first = at;
                    signal.instrument = name;
                }
            }
        }
    }
    if (signal.instrument.isEmpty() && text.contains(u"dollar index"_s))
        signal.instrument = u"DXY"_s;
    QString named = signal.instrument;
    if (named == u"XAU/USD"_s && !raw.contains(named))
        named = u"Gold"_s;
    else if (named == u"DXY"_s && !raw.contains(named))
        named = u"Dollar index"_s;
    signal.level = levelAfter(raw, named);
}

// Which currency moves, and which way, when the headline is about
// something other than a currency.
void settleCurrency(const QString &text, NewsSignal &signal)
{
    switch (signal.event) {
    case NewsEvent::Decision:
    case NewsEvent::Voice:
        // Without a stance, a "cut" in a speech is no verdict.
        signal.direction = signal.stance > 0 ? Direction::Bullish : signal.stance < 0 ? Direction::Bearish
                                                                                      : Direction::Neutral;
        break;
    case NewsEvent::Intervention:
        // Officials act against their currency's weakness.
        signal.direction = Direction::Bullish;
        break;
    case NewsEvent::Commodity:
        // Oil is Canada's export, gold its own currency, whatever the cause names.
        if (signal.instrument == u"WTI"_s) {
            signal.currency = u"CAD"_s;
            signal.direction = signal.itemMove > 0 ? Direction::Bullish : signal.itemMove < 0 ? Direction::Bearish
                                                                                                : Direction::Neutral;
        } else if (signal.instrument == u"XAU/USD"_s) {
            signal.currency = u"XAU"_s;
            signal.direction = signal.itemMove > 0 ? Direction::Bullish : signal.itemMove < 0 ? Direction::Bearish
                                                                                                : Direction::Neutral;
        }
        break;
    case NewsEvent::Equities:
        // Rising stocks mean risk appetite: the yen, the safe haven, loses.
        signal.riskTone += signal.itemMove;
        signal.currency = u"JPY"_s;
        signal.direction = signal.itemMove > 0 ? Direction::Bearish : signal.itemMove < 0 ? Direction::Bullish
                                                                                            : Direction::Neutral;
        break;
    case NewsEvent::Bonds: {
        QString market = u"USD"_s;
        if (text.contains(u" bund"_s))
            market = u"EUR"_s;
        else if (text.contains(u" gilt"_s))
            market = u"GBP"_s;
        else if (text.contains(u" jgb"_s))
            market = u"JPY"_s;
        signal.currency = market;
        signal.direction = signal.itemMove > 0 ? Direction::Bullish : signal.itemMove < 0 ? Direction::Bearish
                                                                                            : Direction::Neutral;
        break;
    }
    case NewsEvent::Risk: {
        if (signal.riskTone == 0)
            break;
        if (signal.currency.isEmpty())
            signal.currency = u"JPY"_s;
        // Safe havens gain when fear rules, the others when appetite returns,
        // whatever else slides in the headline.
        const bool haven = signal.currency == u"JPY"_s || signal.currency == u"CHF"_s || signal.currency == u"XAU"_s
                           || signal.currency == u"USD"_s;
        signal.direction = (signal.riskTone < 0) == haven ? Direction::Bullish : Direction::Bearish;
        break;
    }
    case NewsEvent::Outlook: {
        const qsizetype bulls = firstPosition(text, {u"bull"_s, u"upside"_s, u"buyers"_s, u"aufwärts"_s});
        const qsizetype bears = firstPosition(text, {u"bear"_s, u"downside"_s, u"sellers"_s, u"abwärts"_s});
        if (bulls >= 0 || bears >= 0)
            signal.direction = bears < 0 || (bulls >= 0 && bulls < bears) ? Direction::Bullish : Direction::Bearish;
        else
            signal.direction = Direction::Neutral;
        break;
    }
    case NewsEvent::Preview:
        signal.direction = Direction::Neutral;
        break;
    default:
        break;
    }
}

// The category of what happened: a stock index headline is about equities
// even if it names the Fed as the reason.
QString categoryOf(const NewsSignal &signal)
{
    switch (signal.event) {
    case NewsEvent::Decision:
    case NewsEvent::Voice:
    case NewsEvent::Intervention:
        return u"central_bank"_s;
    case NewsEvent::Data:
        for (const Indicator &indicator : indicatorTable()) {
            if (indicator.key == signal.indicator)
                return indicator.category;
        }
        break;
    case NewsEvent::Preview:
        if (signal.awaited == u"decision"_s)
            return u"central_bank"_s;
        for (const Indicator &indicator : indicatorTable()) {
            if (indicator.key == signal.awaited)
                return indicator.category;
        }
        break;
    case NewsEvent::Commodity: return u"commodities"_s;
    case NewsEvent::Equities: return u"equities"_s;
    case NewsEvent::Bonds: return u"bonds"_s;
    case NewsEvent::Geopolitics: return u"geopolitics"_s;
    case NewsEvent::Outlook: return u"technical"_s;
    case NewsEvent::Risk:
        return signal.topic.isEmpty() ? u"market"_s : u"geopolitics"_s;
    case NewsEvent::Move:
    case NewsEvent::Other:
        break;
    }
    return QString();
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
    QString pair;
    if (const CurrencyWords *subject = subjectOf(text, &byBank, &pair)) {
        signal.currency = subject->code;
        signal.actor = byBank ? subject->actor : QString();
        signal.instrument = pair;
    }
    QStringList matched;
    for (const Category &category : categoryTable()) {
        if (containsAny(text, category.words))
            matched << category.name;
    }
    signal.relevant = !signal.currency.isEmpty() || !matched.isEmpty();
    if (!signal.relevant)
        return signal;

    // A headline names its subject's move first and the circumstances after
    // it: "Gold slips from record high as yields rise" is a fall.
    const qsizetype up = firstPosition(text, bullishWords);
    const qsizetype down = firstPosition(text, bearishWords);
    if (!signal.currency.isEmpty() && (up >= 0 || down >= 0))
        signal.direction = down < 0 || (up >= 0 && up < down) ? Direction::Bullish : Direction::Bearish;
    signal.surprise = containsAny(text, surpriseWords);
    const bool breaking = containsAny(text, breakingWords);
    signal.riskTone = countOf(text, riskOnWords) - countOf(text, riskOffWords);

    readEvent(raw, text, signal);
    settleCurrency(text, signal);

    // What happened decides the category; a move takes its cause's.
    QString category = categoryOf(signal);
    if (category.isEmpty() && signal.event == NewsEvent::Move) {
        const QString clause = causeClause(text);
        for (const Category &entry : categoryTable()) {
            if (!clause.isEmpty() && containsAny(clause, entry.words)) {
                category = entry.name;
                break;
            }
        }
    }
    if (category.isEmpty())
        category = signal.event == NewsEvent::Move ? u"market"_s : matched.value(0, u"market"_s);
    signal.category = category;
    signal.categories = QStringList{category};
    for (const QString &name : std::as_const(matched)) {
        if (name != category)
            signal.categories << name;
    }

    int score = 3 + weightOf(category);
    if (signal.categories.size() > 1)
        score += 1;
    if (signal.surprise)
        score += 2;
    if (breaking)
        score += 1;
    if (signal.direction != Direction::Neutral)
        score += 1;
    if (signal.event == NewsEvent::Data && signal.versusForecast != 0)
        score += 1;
    if (signal.event == NewsEvent::Outlook || signal.event == NewsEvent::Preview)
        score -= 1;
    signal.score = std::clamp(score, 1, 10);

    if (signal.surprise || breaking || signal.score >= 9)
        signal.urgency = u"immediate"_s;
    else if (containsAny(text, slowWords) || signal.event == NewsEvent::Outlook)
        signal.urgency = u"days"_s;

    for (const QString &name : std::as_const(signal.categories)) {
        if (name != "market"_L1 || signal.categories.size() == 1)
            signal.factors << factorLabel(name);
    }
    if (signal.surprise)
        signal.factors << u"Überraschungseffekt"_s;
    if (signal.riskTone != 0)
        signal.factors << u"Risikostimmung"_s;
    return signal;
}

NewsSignal readNewsSignal(const QString &title, const QString &content)
{
    NewsSignal signal = readNewsSignal(title);
    if (content.trimmed().isEmpty() || (signal.relevant && !signal.currency.isEmpty()))
        return signal;
    const NewsSignal whole = readNewsSignal(title + u'\n' + content);
    if (!signal.relevant)
        return whole;
    signal.currency = whole.currency;
    signal.actor = whole.actor;
    if (signal.direction == Direction::Neutral)
        signal.direction = whole.direction;
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
        {u"CNY"_s, {{u"AUD/USD"_s, true}}},
        {u"XAU"_s, {{u"XAU/USD"_s, true}}},
    };
    QList<PairMove> moves;
    for (const auto &[pair, isBase] : pairs.value(currency))
        moves.append({pair, isBase ? direction : opposite(direction)});
    return moves;
}

Direction instrumentDirection(const NewsSignal &signal)
{
    const bool quoted = signal.instrument.size() == 7 && signal.instrument.mid(4) == signal.currency;
    return quoted ? opposite(signal.direction) : signal.direction;
}

QList<PairMove> pairsMovedBy(const NewsSignal &signal)
{
    const QString &named = signal.instrument;
    // A chart view or a pair's own move speaks for that pair alone.
    const bool ownMove = signal.event == NewsEvent::Move || signal.event == NewsEvent::Outlook || signal.event == NewsEvent::Preview;
    if (ownMove && named.size() == 7)
        return {{named, signal.event == NewsEvent::Preview ? Direction::Neutral : instrumentDirection(signal)}};
    QList<PairMove> moves = pairsMovedBy(signal.currency, signal.direction);
    if (named.size() == 7 && named.startsWith(signal.currency)) {
        moves.removeIf([&](const PairMove &move) { return move.pair == named; });
        moves.prepend({named, signal.direction});
    }
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
        {u"CNY"_s, u"Yuan"_s},          {u"XAU"_s, u"Gold"_s}};
    return names.value(code, code);
}

namespace {

bool neuter(const QString &code)
{
    return code == "GBP"_L1;
}

} // namespace

// Gold moves by its price: "der Goldpreis", "den Goldpreis".
QString currencySubject(const QString &code)
{
    if (code == "XAU"_L1)
        return u"der Goldpreis"_s;
    return (neuter(code) ? u"das "_s : u"der "_s) + currencyName(code);
}

QString currencyObject(const QString &code)
{
    if (code == "XAU"_L1)
        return u"den Goldpreis"_s;
    return (neuter(code) ? u"das "_s : u"den "_s) + currencyName(code);
}

QString currencyDative(const QString &code)
{
    return u"dem "_s + currencyName(code);
}

QString categoryLabel(const QString &category)
{
    static const QHash<QString, QString> labels{
        {u"central_bank"_s, u"Geldpolitik"_s}, {u"inflation"_s, u"Inflation"_s},
        {u"employment"_s, u"Arbeitsmarkt"_s},  {u"growth"_s, u"Konjunktur"_s},
        {u"geopolitics"_s, u"Geopolitik"_s},   {u"commodities"_s, u"Rohstoffe"_s},
        {u"equities"_s, u"Aktienmärkte"_s},    {u"bonds"_s, u"Anleihen"_s},
        {u"technical"_s, u"Charttechnik"_s},   {u"market"_s, u"Marktstimmung"_s}};
    return labels.value(category, u"Marktstimmung"_s);
}

QString bankOf(const QString &currency)
{
    if (const CurrencyWords *entry = currencyByCode(currency); entry && !entry->actor.isEmpty())
        return entry->actor;
    return u"Notenbank"_s;
}

} // namespace kalvo::backend
