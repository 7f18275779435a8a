#include "AnalystNotes.h"

#include <QHash>
#include <QLocale>

using namespace Qt::StringLiterals;

namespace kalvo::backend::AnalystNotes {

namespace {

// How a release is named in German: as the subject of a sentence, in the
// plural for "…daten", in a headline; and whether its figure is a level
// (higher / lower) or an activity (stronger / weaker).
struct IndicatorText
{
    QString subject;  // "Die Inflation"
    bool plural;      // the subject takes a plural verb
    QString data;     // "Inflationsdaten"
    QString shortName; // "Inflation"
    bool level;
    bool shortPlural = false;
};

IndicatorText indicatorText(const QString &key)
{
    static const QHash<QString, IndicatorText> texts{
        {u"inflation"_s, {u"Die Inflation"_s, false, u"Inflationsdaten"_s, u"Inflation"_s, true}},
        {u"core"_s, {u"Die Kerninflation"_s, false, u"Inflationsdaten"_s, u"Kerninflation"_s, true}},
        {u"jobs"_s, {u"Der Stellenaufbau"_s, false, u"Arbeitsmarktdaten"_s, u"Arbeitsmarkt"_s, false}},
        {u"unemployment"_s, {u"Die Arbeitslosenquote"_s, false, u"Arbeitslosenzahlen"_s, u"Arbeitslosenquote"_s, true}},
        {u"claims"_s, {u"Die Zahl der Erstanträge auf Arbeitslosenhilfe"_s, false, u"Erstanträge"_s, u"Erstanträge"_s, true, true}},
        {u"wages"_s, {u"Das Lohnwachstum"_s, false, u"Lohndaten"_s, u"Lohnwachstum"_s, false}},
        {u"openings"_s, {u"Die Zahl offener Stellen"_s, false, u"Stellendaten"_s, u"Stellenangebot"_s, false}},
        {u"growth"_s, {u"Das Wirtschaftswachstum"_s, false, u"Wachstumsdaten"_s, u"Wachstum"_s, false}},
        {u"pmi"_s, {u"Der Einkaufsmanagerindex"_s, false, u"Einkaufsmanagerindizes"_s, u"Einkaufsmanager"_s, false}},
        {u"sales"_s, {u"Der Einzelhandelsumsatz"_s, false, u"Einzelhandelsdaten"_s, u"Einzelhandel"_s, false}},
        {u"sentiment"_s, {u"Die Stimmung"_s, false, u"Stimmungsdaten"_s, u"Stimmung"_s, false}},
        {u"trade"_s, {u"Die Handelsbilanz"_s, false, u"Handelsdaten"_s, u"Handelsbilanz"_s, false}},
        {u"production"_s, {u"Die Industrieproduktion"_s, false, u"Industriedaten"_s, u"Industrie"_s, false}},
        {u"orders"_s, {u"Der Auftragseingang"_s, false, u"Auftragsdaten"_s, u"Aufträge"_s, false, true}},
        {u"inventories"_s, {u"Die Rohöllagerbestände"_s, true, u"Lagerdaten"_s, u"Öllager"_s, true, true}},
    };
    return texts.value(key, {u"Die Konjunktur"_s, false, u"Konjunkturdaten"_s, u"Konjunktur"_s, false});
}

// "in den USA", "aus den USA", "US-".
QString countryIn(const QString &code)
{
    static const QHash<QString, QString> places{
        {u"USD"_s, u"in den USA"_s},       {u"EUR"_s, u"in der Eurozone"_s}, {u"GBP"_s, u"in Großbritannien"_s},
        {u"JPY"_s, u"in Japan"_s},         {u"CHF"_s, u"in der Schweiz"_s},  {u"AUD"_s, u"in Australien"_s},
        {u"NZD"_s, u"in Neuseeland"_s},    {u"CAD"_s, u"in Kanada"_s},       {u"CNY"_s, u"in China"_s}};
    return places.value(code);
}

QString countryFrom(const QString &code)
{
    QString place = countryIn(code);
    return place.isEmpty() ? place : place.replace(0, 2, u"aus"_s);
}

QString countryPrefix(const QString &code)
{
    static const QHash<QString, QString> prefixes{
        {u"USD"_s, u"US-"_s},       {u"EUR"_s, u"Euro-"_s},  {u"GBP"_s, u"UK-"_s},     {u"JPY"_s, u"Japan-"_s},
        {u"CHF"_s, u"Schweizer "_s}, {u"AUD"_s, u"Aussie-"_s}, {u"NZD"_s, u"NZ-"_s},   {u"CAD"_s, u"Kanada-"_s},
        {u"CNY"_s, u"China-"_s}};
    return prefixes.value(code);
}

// "die Fed", "die EZB", "die Bank of Canada": every bank is feminine.
QString bankNamed(const NewsSignal &signal)
{
    const QString bank = signal.actor.isEmpty() ? bankOf(signal.currency) : signal.actor;
    return bank == "Notenbank"_L1 ? u"die Notenbank"_s : u"die "_s + bank;
}

QString bankGenitive(const NewsSignal &signal)
{
    return u"der "_s + bankNamed(signal).mid(4);
}

bool up(Direction direction)
{
    return direction == Direction::Bullish;
}

QString withSource(QString sentence, const QString &source)
{
    if (source.trimmed().isEmpty())
        return sentence;
    if (sentence.endsWith(u'.'))
        sentence.chop(1);
    return sentence + u", meldet "_s + source.trimmed() + u'.';
}

QString levelText(const QString &level)
{
    return level.isEmpty() ? QString() : u" auf "_s + germanFigure(level);
}

// "den Arbeitsmarktdaten aus den USA", "dem Zinsentscheid der Fed".
QString awaitedDative(const NewsSignal &signal)
{
    if (signal.awaited == "decision"_L1)
        return u"dem Zinsentscheid "_s + bankGenitive(signal);
    const QString data = signal.awaited.isEmpty() ? u"anstehenden Konjunkturdaten"_s : indicatorText(signal.awaited).data;
    return (u"den %1 %2"_s.arg(data, countryFrom(signal.country.isEmpty() ? signal.currency : signal.country))).simplified();
}

QString becauseClause(const NewsSignal &signal)
{
    return signal.reason.isEmpty() ? QString() : u", weil "_s + signal.reason;
}

// Why a move of the currency follows from the news.
QString mechanism(const NewsSignal &signal)
{
    const bool gains = up(signal.direction);
    const QString bank = bankGenitive(signal);
    const QString category = signal.category;
    if (signal.event == NewsEvent::Intervention)
        return gains ? u"weil Eingriffe am Devisenmarkt Spekulanten abschrecken"_s
                     : u"weil die Behörden eine schwächere Währung hinnehmen"_s;
    if (signal.event == NewsEvent::Outlook)
        return gains ? u"weil das Chartbild weitere Gewinne nahelegt"_s : u"weil das Chartbild weitere Verluste nahelegt"_s;
    if (signal.event == NewsEvent::Move)
        return QString(); // what happened already says why
    if (category == "central_bank"_L1) {
        if (signal.pricing)
            return gains ? u"weil der Markt Zinssenkungen %1 auspreist"_s.arg(bank)
                         : u"weil der Markt mehr Zinssenkungen %1 einpreist"_s.arg(bank);
        return gains ? u"weil hohe Zinsen länger Bestand haben dürften"_s : u"weil der Zinsvorteil schrumpft"_s;
    }
    if (category == "inflation"_L1)
        return gains ? u"weil hartnäckige Inflation Zinssenkungen %1 unwahrscheinlicher macht"_s.arg(bank)
                     : u"weil nachlassender Preisdruck Zinssenkungen %1 näher rückt"_s.arg(bank);
    if (category == "employment"_L1)
        return gains ? u"weil ein robuster Arbeitsmarkt %1 wenig Grund für Zinssenkungen gibt"_s.arg(u"der "_s + bankNamed(signal).mid(4))
                     : u"weil ein schwächerer Arbeitsmarkt für Zinssenkungen %1 spricht"_s.arg(bank);
    if (category == "growth"_L1)
        return gains ? u"weil solide Konjunkturdaten die Zinserwartungen stützen"_s
                     : u"weil schwache Konjunkturdaten Zinssenkungsfantasien nähren"_s;
    if (category == "commodities"_L1 && signal.currency == "CAD"_L1)
        return gains ? u"weil Kanada als Ölexporteur von höheren Preisen profitiert"_s
                     : u"weil Kanada als Ölexporteur unter fallenden Preisen leidet"_s;
    if (category == "commodities"_L1 && signal.currency == "XAU"_L1)
        return gains ? u"weil Anleger Gold als Absicherung suchen"_s : u"weil Gold ohne Zinsertrag an Reiz verliert"_s;
    if (category == "bonds"_L1)
        return gains ? u"weil höhere Renditen Anlagen in %1 attraktiver machen"_s.arg(currencyName(signal.currency))
                     : u"weil der Renditevorteil schrumpft"_s;
    const bool haven = signal.currency == "JPY"_L1 || signal.currency == "CHF"_L1 || signal.currency == "XAU"_L1;
    if (category == "equities"_L1 || category == "geopolitics"_L1 || signal.event == NewsEvent::Risk) {
        if (haven)
            return gains ? u"weil Anleger in sichere Häfen flüchten"_s : u"weil die Risikofreude Anleger aus sicheren Häfen lockt"_s;
        return gains ? u"weil Risikofreude Rohstoff- und Zyklikerwährungen stützt"_s
                     : u"weil Risikoscheu Rohstoff- und Zyklikerwährungen belastet"_s;
    }
    if (!signal.reason.isEmpty())
        return u"weil "_s + signal.reason;
    return gains ? u"weil die Käufer das Bild bestimmen"_s : u"weil die Verkäufer das Bild bestimmen"_s;
}

QString pairClause(const QList<PairMove> &moves)
{
    QStringList parts;
    for (const PairMove &move : moves) {
        if (move.direction == Direction::Neutral)
            continue;
        const QString verb = up(move.direction) ? u"steigen"_s : u"fallen"_s;
        parts << (parts.isEmpty() ? move.pair + u" dürfte "_s + verb : move.pair + u' ' + verb);
    }
    return parts.join(u", "_s);
}

QString stanceWord(int stance)
{
    return stance > 0 ? u"falkenhaft"_s : stance < 0 ? u"taubenhaft"_s : QString();
}

QString supportWord(Direction direction)
{
    return up(direction) ? u"gestützt"_s : direction == Direction::Bearish ? u"unter Druck"_s : u"im Blick"_s;
}

} // namespace

QString capitalised(QString text)
{
    if (!text.isEmpty())
        text[0] = text[0].toUpper();
    return text;
}

QString cut(const QString &text, qsizetype maxLength)
{
    if (text.size() <= maxLength)
        return text;
    QString shortened = text.left(maxLength);
    const qsizetype blank = shortened.lastIndexOf(u' ');
    if (blank > maxLength / 2)
        shortened.truncate(blank);
    while (shortened.endsWith(u':') || shortened.endsWith(u',') || shortened.endsWith(u'-'))
        shortened.chop(1);
    return shortened;
}

QString germanFigure(QString figure)
{
    figure = figure.trimmed().replace(u'−', u'-');
    if (figure.endsWith(u'K')) {
        figure.chop(1);
        bool ok = false;
        const double thousands = figure.toDouble(&ok);
        if (ok)
            return QLocale(QLocale::German).toString(thousands * 1000, 'f', 0);
        return figure + u" Tsd."_s;
    }
    if (figure.endsWith(u'M')) {
        figure.chop(1);
        return figure.replace(u'.', u',') + u" Mio."_s;
    }
    // "2,387.70" (English thousands) -> "2.387,70"
    QString german;
    for (const QChar c : figure)
        german += c == u',' ? u'.' : c == u'.' ? u',' : c;
    return german.replace(u"%"_s, u" %"_s);
}

QString pairTrend(Direction direction)
{
    return up(direction) ? u"steigende"_s : direction == Direction::Bearish ? u"fallende"_s : QString();
}

QString whatHappened(const NewsSignal &signal, const QString &source)
{
    const QString bank = capitalised(bankNamed(signal));
    const QString name = currencyName(signal.currency);
    QString sentence;
    switch (signal.event) {
    case NewsEvent::Decision: {
        const QString how = signal.surprise ? u" überraschend"_s : QString();
        const QString size = signal.basisPoints > 0 ? u" um %1 Basispunkte"_s.arg(signal.basisPoints) : QString();
        if (signal.policyMove < 0)
            sentence = u"%1 senkt den Leitzins%2%3."_s.arg(bank, how, size);
        else if (signal.policyMove > 0)
            sentence = u"%1 erhöht den Leitzins%2%3."_s.arg(bank, how, size);
        else {
            const QString rate = signal.actual.isEmpty() ? QString() : u" bei "_s + germanFigure(signal.actual);
            const QString tone = signal.stance > 0 ? u" und signalisiert keine Eile bei Zinssenkungen"_s
                : signal.stance < 0              ? u" und öffnet die Tür für Zinssenkungen"_s
                                                 : QString();
            sentence = u"%1 belässt den Leitzins%2%3."_s.arg(bank, rate, tone);
        }
        break;
    }
    case NewsEvent::Voice:
        if (signal.pricing && signal.stance == 0) {
            sentence = u"Am Geldmarkt werden die Zinserwartungen an %1 neu justiert."_s.arg(bankNamed(signal));
        } else if (signal.pricing) {
            sentence = signal.stance < 0
                ? u"Am Geldmarkt wachsen die Erwartungen an Zinssenkungen %1."_s.arg(bankGenitive(signal))
                : u"Am Geldmarkt schwinden die Erwartungen an Zinssenkungen %1."_s.arg(bankGenitive(signal));
        } else if (signal.stance > 0) {
            sentence = u"Aus %1 kommen falkenhafte Töne: Baldige Zinssenkungen sind kein Thema."_s.arg(u"der "_s + bankNamed(signal).mid(4));
        } else if (signal.stance < 0) {
            sentence = u"Aus %1 kommen taubenhafte Töne: Die Tür für Zinssenkungen steht offen."_s.arg(u"der "_s + bankNamed(signal).mid(4));
        } else {
            sentence = u"%1 hält sich alle Optionen offen und verweist auf die Datenlage."_s.arg(bank);
        }
        break;
    case NewsEvent::Intervention:
        sentence = signal.currency == "JPY"_L1
            ? (signal.surprise && up(signal.direction) ? u"Japan greift am Devisenmarkt ein, der Yen springt an."_s
                                                       : u"Tokio warnt vor spekulativen Bewegungen und droht mit Interventionen zugunsten des Yen."_s)
            : u"%1 greift am Devisenmarkt ein."_s.arg(bank);
        break;
    case NewsEvent::Data: {
        const IndicatorText text = indicatorText(signal.indicator);
        const QString place = countryIn(signal.country);
        const QString subject = text.subject + (place.isEmpty() ? QString() : u' ' + place);
        const QString falls = text.plural ? u"fallen"_s : u"fällt"_s;
        const QString lies = text.plural ? u"liegen"_s : u"liegt"_s;
        const QString comparison = signal.versusForecast > 0 ? (text.level ? u"höher"_s : u"stärker"_s)
                                                             : (text.level ? u"niedriger"_s : u"schwächer"_s);
        const QString actual = germanFigure(signal.actual);
        const QString forecast = germanFigure(signal.forecast);
        if (signal.versusForecast != 0 && !signal.actual.isEmpty())
            sentence = u"%1 %2 mit %3 %4 aus als erwartet (Prognose: %5)."_s.arg(subject, falls, actual, comparison, forecast);
        else if (signal.versusForecast != 0)
            sentence = u"%1 %2 %3 aus als erwartet."_s.arg(subject, falls, comparison);
        else if (!signal.actual.isEmpty())
            sentence = u"%1 %2 mit %3 im Rahmen der Erwartungen."_s.arg(subject, lies, actual);
        else if (signal.itemMove != 0)
            sentence = u"%1 %2."_s.arg(subject, signal.itemMove > 0 ? (text.plural ? u"steigen"_s : u"steigt"_s)
                                                                    : (text.plural ? u"sinken"_s : u"sinkt"_s));
        else
            sentence = u"Neue %1 %2 liegen vor."_s.arg(text.data, countryFrom(signal.country)).simplified().replace(u" ."_s, u"."_s);
        break;
    }
    case NewsEvent::Preview: {
        const QString instrument = signal.instrument.isEmpty() ? QString() : u"; %1 pendelt%2"_s.arg(signal.instrument, levelText(signal.level).replace(u" auf "_s, u" um "_s));
        sentence = u"Vor %1 halten sich die Händler zurück%2."_s.arg(awaitedDative(signal), instrument);
        break;
    }
    case NewsEvent::Move:
        if (signal.instrument == "DXY"_L1)
            sentence = u"Der Dollar-Index %1%2%3."_s.arg(up(signal.direction) ? u"steigt"_s : u"fällt"_s,
                                                        levelText(signal.level), becauseClause(signal));
        else if (signal.instrument.size() == 7 && signal.direction == Direction::Neutral)
            sentence = signal.level.isEmpty() ? u"%1 tritt auf der Stelle%2."_s.arg(signal.instrument, becauseClause(signal))
                                              : u"%1 notiert bei %2%3."_s.arg(signal.instrument, germanFigure(signal.level), becauseClause(signal));
        else if (signal.instrument.size() == 7)
            sentence = u"%1 %2%3%4."_s.arg(signal.instrument, up(instrumentDirection(signal)) ? u"steigt"_s : u"fällt"_s,
                                           levelText(signal.level), becauseClause(signal));
        else
            sentence = u"%1 %2%3."_s.arg(capitalised(currencySubject(signal.currency)),
                                         up(signal.direction) ? u"legt zu"_s : u"gibt nach"_s, becauseClause(signal));
        break;
    case NewsEvent::Commodity:
        if (signal.instrument == "WTI"_L1)
            sentence = u"Der Ölpreis %1%2%3."_s.arg(signal.itemMove >= 0 ? u"steigt"_s : u"fällt"_s,
                                                    signal.level.isEmpty() ? QString() : levelText(signal.level) + u" US-Dollar je Barrel"_s,
                                                    becauseClause(signal));
        else
            sentence = u"Gold %1%2%3."_s.arg(signal.itemMove >= 0 ? u"verteuert sich"_s : u"gibt nach"_s,
                                             signal.level.isEmpty() ? QString() : levelText(signal.level) + u" US-Dollar je Unze"_s,
                                             becauseClause(signal));
        break;
    case NewsEvent::Equities:
        sentence = u"Die Aktienmärkte %1 (%2)%3."_s.arg(signal.itemMove >= 0 ? u"legen zu"_s : u"geben nach"_s,
                                                       signal.instrument.isEmpty() ? u"S&P 500"_s : signal.instrument,
                                                       becauseClause(signal));
        break;
    case NewsEvent::Bonds: {
        static const QHash<QString, QString> markets{{u"USD"_s, u"der US-Staatsanleihen"_s},
                                                     {u"EUR"_s, u"deutscher Bundesanleihen"_s},
                                                     {u"GBP"_s, u"britischer Staatsanleihen"_s},
                                                     {u"JPY"_s, u"japanischer Staatsanleihen"_s}};
        sentence = u"Die Renditen %1 %2%3."_s.arg(markets.value(signal.currency, u"der Staatsanleihen"_s),
                                                  signal.itemMove >= 0 ? u"steigen"_s : u"sinken"_s, becauseClause(signal));
        break;
    }
    case NewsEvent::Risk:
        sentence = signal.riskTone < 0
            ? u"Die Anleger gehen auf Nummer sicher: Sichere Häfen wie Yen, Franken und Gold sind gefragt%1."_s.arg(becauseClause(signal))
            : u"Die Risikofreude kehrt zurück: Rohstoffwährungen sind gefragt, der Yen verliert%1."_s.arg(becauseClause(signal));
        break;
    case NewsEvent::Geopolitics:
        sentence = signal.topic == "rating"_L1 ? u"Eine Ratingagentur bewertet die Bonität eines Staates neu."_s
            : signal.topic == "tariffs"_L1      ? u"Der Handelsstreit flammt wieder auf."_s
            : signal.topic == "sanctions"_L1    ? u"Neue Sanktionen verschärfen die geopolitische Lage."_s
                                                : u"Geopolitische Spannungen rücken in den Vordergrund."_s;
        break;
    case NewsEvent::Outlook:
        sentence = u"Die Chartanalyse für %1 sieht %2%3."_s.arg(
            signal.instrument.isEmpty() ? name : signal.instrument,
            up(signal.direction) ? u"eine Aufwärtstendenz"_s : signal.direction == Direction::Bearish ? u"eine Abwärtstendenz"_s
                                                                                                      : u"keine klare Richtung"_s,
            signal.level.isEmpty() ? QString() : u", wichtige Marke: "_s + germanFigure(signal.level));
        break;
    case NewsEvent::Other:
        sentence = signal.currency.isEmpty()
            ? u"Neue Meldung zum Thema %1."_s.arg(categoryLabel(signal.category))
            : u"Neue Meldung zum Thema %1 mit Bezug auf %2."_s.arg(categoryLabel(signal.category), currencyObject(signal.currency));
        break;
    }
    return withSource(sentence, source);
}

QString cause(const NewsSignal &signal)
{
    const QString bank = bankGenitive(signal);
    const QString name = currencyName(signal.currency);
    switch (signal.event) {
    case NewsEvent::Decision: {
        const QString surprising = signal.surprise ? u"überraschende "_s : QString();
        if (signal.policyMove < 0)
            return u"die %1Zinssenkung %2"_s.arg(surprising, bank);
        if (signal.policyMove > 0)
            return u"die %1Zinserhöhung %2"_s.arg(surprising, bank);
        return signal.stance > 0 ? u"die falkenhafte Zinspause %1"_s.arg(bank)
             : signal.stance < 0 ? u"die taubenhafte Zinspause %1"_s.arg(bank)
                                 : u"die Zinspause %1"_s.arg(bank);
    }
    case NewsEvent::Voice:
        if (signal.pricing)
            return signal.stance < 0 ? u"wachsende Zinssenkungserwartungen an %1"_s.arg(bankNamed(signal))
                                     : u"schwindende Zinssenkungserwartungen an %1"_s.arg(bankNamed(signal));
        return signal.stance > 0 ? u"falkenhafte Töne aus %1"_s.arg(bank)
             : signal.stance < 0 ? u"taubenhafte Töne aus %1"_s.arg(bank)
                                 : u"abwartende Töne aus %1"_s.arg(bank);
    case NewsEvent::Intervention:
        return signal.currency == "JPY"_L1 ? u"die Interventionsdrohung aus Tokio"_s : u"der Eingriff am Devisenmarkt"_s;
    case NewsEvent::Data: {
        const IndicatorText text = indicatorText(signal.indicator);
        const QString from = countryFrom(signal.country);
        const QString comparison = signal.versusForecast > 0 ? (text.level ? u"höher"_s : u"stärker"_s)
                                                             : (text.level ? u"niedriger"_s : u"schwächer"_s);
        const QString verdict = signal.versusForecast == 0 ? u"neuen"_s : comparison + u" als erwartet ausgefallenen"_s;
        return (u"die %1 %2 %3"_s.arg(verdict, text.data, from)).simplified();
    }
    case NewsEvent::Preview:
        return u"die Vorsicht vor "_s + awaitedDative(signal);
    case NewsEvent::Move:
        if (signal.instrument.size() == 7)
            return up(instrumentDirection(signal)) ? u"der Anstieg von %1"_s.arg(signal.instrument)
                                                   : u"der Rückgang von %1"_s.arg(signal.instrument);
        return up(signal.direction) ? u"die %1-Stärke"_s.arg(name) : u"die %1-Schwäche"_s.arg(name);
    case NewsEvent::Commodity:
        return u"der %1 %2"_s.arg(signal.itemMove >= 0 ? u"steigende"_s : u"fallende"_s,
                                  signal.instrument == "WTI"_L1 ? u"Ölpreis"_s : u"Goldpreis"_s);
    case NewsEvent::Equities:
        return signal.itemMove >= 0 ? u"die Kursgewinne an den Aktienmärkten"_s : u"die Kursverluste an den Aktienmärkten"_s;
    case NewsEvent::Bonds:
        return signal.itemMove >= 0 ? u"steigende Renditen"_s : u"sinkende Renditen"_s;
    case NewsEvent::Risk:
        return signal.riskTone < 0 ? u"die Flucht in sichere Häfen"_s : u"die zurückkehrende Risikofreude"_s;
    case NewsEvent::Geopolitics:
        return signal.topic == "rating"_L1 ? u"eine neue Ratingentscheidung"_s
             : signal.topic == "tariffs"_L1 ? u"der Handelsstreit"_s
                                            : u"geopolitische Spannungen"_s;
    case NewsEvent::Outlook:
        return u"das Chartbild von %1"_s.arg(signal.instrument.isEmpty() ? name : signal.instrument);
    case NewsEvent::Other:
        break;
    }
    return signal.currency.isEmpty() ? u"die Nachrichtenlage zum Thema %1"_s.arg(categoryLabel(signal.category))
                                     : u"die Nachrichtenlage rund um %1"_s.arg(currencyObject(signal.currency));
}

QString consequence(const NewsSignal &signal, const QList<PairMove> &moves)
{
    if (signal.event == NewsEvent::Preview) {
        const QString pair = moves.isEmpty() ? (signal.instrument.isEmpty() ? u"die großen Paare"_s : signal.instrument)
                                             : moves.first().pair;
        return u"Bis zur Veröffentlichung dürfte %1 in einer engen Spanne pendeln; eine Überraschung kann kräftige Ausschläge auslösen."_s
            .arg(pair);
    }
    if (signal.currency.isEmpty())
        return signal.riskTone < 0 ? u"Das stützt sichere Häfen wie Yen und Franken."_s
             : signal.riskTone > 0 ? u"Das stützt Rohstoffwährungen und belastet den Yen."_s
                                   : u"Für die großen Währungspaare bleibt das vor allem eine Stimmungsfrage."_s;
    if (signal.direction == Direction::Neutral) {
        const QString focus = moves.isEmpty() ? QString() : u"; im Blick steht "_s + moves.first().pair;
        return u"Ein klares Richtungssignal für %1 fehlt noch%2."_s.arg(currencyObject(signal.currency), focus);
    }
    const QString verb = up(signal.direction) ? u"stützt"_s : u"belastet"_s;
    const QString pairs = pairClause(moves);
    const QString why = mechanism(signal);
    return u"Das %1 %2%3%4."_s.arg(verb, currencyObject(signal.currency), why.isEmpty() ? QString() : u", "_s + why,
                                   pairs.isEmpty() ? QString() : u"; "_s + pairs);
}

QString headline(const NewsSignal &signal, qsizetype maxLength)
{
    const QString bank = signal.actor.isEmpty() ? bankOf(signal.currency) : signal.actor;
    const QString name = currencyName(signal.currency);
    const QString support = supportWord(signal.direction);
    QString text;
    QString shorter; // without the details, when the text is too long
    switch (signal.event) {
    case NewsEvent::Decision:
        if (signal.policyMove < 0)
            text = u"%1 senkt Zinsen%2: %3 unter Druck"_s.arg(bank, signal.surprise ? u" überraschend"_s : QString(), name);
        else if (signal.policyMove > 0)
            text = u"%1 erhöht Zinsen%2: %3 gestützt"_s.arg(bank, signal.surprise ? u" überraschend"_s : QString(), name);
        else
            text = signal.stance == 0 ? u"%1 hält Zinsen: %2 im Blick"_s.arg(bank, name)
                                      : u"%1 hält Zinsen, %2: %3 %4"_s.arg(bank, stanceWord(signal.stance), name, support);
        break;
    case NewsEvent::Voice:
        if (signal.pricing && signal.stance == 0)
            text = u"Geldmarkt prüft %1-Erwartungen"_s.arg(bank);
        else if (signal.pricing)
            text = signal.stance < 0 ? u"Mehr %1-Senkungen eingepreist: %2 unter Druck"_s.arg(bank, name)
                                     : u"%1-Senkungen ausgepreist: %2 gestützt"_s.arg(bank, name);
        else
            text = signal.stance == 0 ? u"%1 hält sich Optionen offen"_s.arg(bank)
                                      : u"%1 %2: %3 %4"_s.arg(bank, stanceWord(signal.stance), name, support);
        break;
    case NewsEvent::Intervention:
        text = u"Interventionsgefahr: %1 %2"_s.arg(name, support);
        break;
    case NewsEvent::Data: {
        const IndicatorText indicator = indicatorText(signal.indicator);
        const QString subject = countryPrefix(signal.country) + indicator.shortName;
        const QString verdict = signal.versusForecast > 0 ? u"über Prognose"_s
            : signal.versusForecast < 0                   ? u"unter Prognose"_s
            : signal.itemMove > 0                         ? (indicator.shortPlural ? u"steigen"_s : u"steigt"_s)
            : signal.itemMove < 0                         ? (indicator.shortPlural ? u"sinken"_s : u"sinkt"_s)
                                                          : u"im Rahmen"_s;
        text = signal.currency.isEmpty() ? u"%1 %2"_s.arg(subject, verdict)
                                         : u"%1 %2: %3 %4"_s.arg(subject, verdict, name, support);
        shorter = u"%1 %2: %3 %4"_s.arg(indicator.shortName, verdict, name, support);
        break;
    }
    case NewsEvent::Preview: {
        const QString awaited = signal.awaited == "decision"_L1 ? bank + u"-Entscheid"_s
            : signal.awaited.isEmpty()                          ? u"Daten"_s
                                                                : countryPrefix(signal.country.isEmpty() ? signal.currency : signal.country)
                                                                      + indicatorText(signal.awaited).data;
        text = u"Vor %1: %2 abwartend"_s.arg(awaited, signal.instrument.isEmpty() ? u"Markt"_s : signal.instrument);
        break;
    }
    case NewsEvent::Move:
        if (signal.direction == Direction::Neutral)
            text = u"%1 ohne klare Richtung"_s.arg(signal.instrument.isEmpty() ? name : signal.instrument);
        else if (signal.instrument.size() == 7 || signal.instrument == "DXY"_L1)
            text = u"%1 %2%3"_s.arg(signal.instrument == "DXY"_L1 ? u"Dollar-Index"_s : signal.instrument,
                                    up(instrumentDirection(signal)) ? u"steigt"_s : u"fällt"_s, levelText(signal.level));
        else
            text = u"%1 %2"_s.arg(name, up(signal.direction) ? u"im Aufwind"_s : u"unter Druck"_s);
        break;
    case NewsEvent::Commodity:
        if (signal.instrument == "WTI"_L1)
            text = u"Ölpreis %1: Kanada-Dollar %2"_s.arg(signal.itemMove >= 0 ? u"steigt"_s : u"fällt"_s, support);
        else
            text = u"Gold %1%2"_s.arg(signal.itemMove >= 0 ? u"steigt"_s : u"fällt"_s,
                                      signal.level.isEmpty() ? QString() : levelText(signal.level) + u" US-Dollar"_s);
        break;
    case NewsEvent::Equities:
        text = signal.itemMove >= 0 ? u"Aktien fester: Yen unter Druck"_s : u"Aktien schwächer: Yen gefragt"_s;
        break;
    case NewsEvent::Bonds:
        text = u"%1Renditen %2: %3 %4"_s.arg(countryPrefix(signal.currency), signal.itemMove >= 0 ? u"steigen"_s : u"sinken"_s,
                                              name, support);
        break;
    case NewsEvent::Risk:
        text = u"%1: %2 %3"_s.arg(signal.riskTone < 0 ? u"Risikoscheu"_s : u"Risikofreude"_s, name,
                                  up(signal.direction) ? u"gefragt"_s : u"unter Druck"_s);
        break;
    case NewsEvent::Geopolitics:
        text = signal.riskTone < 0 ? u"Geopolitik: sichere Häfen gefragt"_s : u"Geopolitik im Blick: %1"_s.arg(cause(signal));
        break;
    case NewsEvent::Outlook:
        text = u"Charttechnik: %1 mit %2"_s.arg(signal.instrument.isEmpty() ? name : signal.instrument,
                                                up(signal.direction) ? u"Aufwärtsdruck"_s
                                                : signal.direction == Direction::Bearish ? u"Abwärtsdruck"_s
                                                                                         : u"Seitwärtstendenz"_s);
        break;
    case NewsEvent::Other: {
        const QString actor = signal.actor.isEmpty() ? categoryLabel(signal.category) : signal.actor;
        text = signal.currency.isEmpty() ? actor + u": Impuls für den Devisenmarkt"_s
                                         : u"%1%2: %3 %4"_s.arg(actor, signal.surprise ? u" überrascht"_s : QString(), name,
                                                                up(signal.direction) ? u"im Aufwind"_s : support);
        break;
    }
    }
    if (text.size() > maxLength && !shorter.isEmpty())
        text = shorter;
    // Long names: the verdict on the currency goes first, the rest is cut.
    if (text.size() > maxLength && text.startsWith(u"Mehr "_s))
        text = text.mid(5);
    return cut(text, maxLength);
}

} // namespace kalvo::backend::AnalystNotes
