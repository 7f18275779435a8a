#include "OfflineAnalyst.h"

#include "AnalystNotes.h"
#include "BriefingWriter.h"
#include "NewsDigest.h"
#include "NewsSignals.h"
#include "PromptReader.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace kalvo::backend::OfflineAnalyst {

namespace {

using AnalystNotes::capitalised;

QJsonArray array(const QStringList &texts)
{
    return QJsonArray::fromStringList(texts);
}

// German decimal comma with an explicit sign, as traders say changes.
QString percentText(double percent)
{
    return QString::asprintf("%+.2f", percent).replace(u'.', u',') + u" %"_s;
}

NewsSignal signalOf(const ReadPrompt &prompt)
{
    return readNewsSignal(prompt.title, prompt.content.left(1000));
}

QString movePips(int score)
{
    if (score <= 5)
        return u"15-25"_s;
    if (score <= 7)
        return u"30-50"_s;
    return u"60-90"_s;
}

QString macroSentence(const NewsSignal &signal)
{
    const QString bank = bankOf(signal.currency);
    const QHash<QString, QString> sentences{
        {u"central_bank"_s, u"Die Geldpolitik bleibt der wichtigste Treiber: Die Zinserwartungen an %1 bestimmen die Richtung."_s
                                .arg(bank == "Notenbank"_L1 ? u"die Notenbanken"_s : u"die "_s + bank)},
        {u"inflation"_s, u"Die Inflationsentwicklung verschiebt die Zinserwartungen und damit die Renditedifferenzen."_s},
        {u"employment"_s, u"Der Arbeitsmarkt entscheidet mit über den Zinspfad der Notenbank."_s},
        {u"growth"_s, u"Die Konjunkturdaten prägen das Bild von Wachstum und Zinsaussichten."_s},
        {u"geopolitics"_s, u"Geopolitische Spannungen treiben Absicherungen in sichere Häfen."_s},
        {u"commodities"_s, u"Rohstoffpreise wirken über Inflation und Handelsbilanzen auf die Währungen."_s},
        {u"equities"_s, u"Die Aktienmärkte geben die Risikostimmung vor, an der sich Yen und Rohstoffwährungen orientieren."_s},
        {u"bonds"_s, u"Die Renditedifferenzen zwischen den Staatsanleihen sind der direkte Draht zu den Wechselkursen."_s},
        {u"technical"_s, u"Ohne neue Impulse aus den Daten geben die Chartmarken den Takt vor."_s},
    };
    return sentences.value(signal.category, u"Die Marktstimmung schwankt zwischen Risikoappetit und Vorsicht."_s);
}

QStringList risksOf(const QString &category)
{
    static const QHash<QString, QStringList> risks{
        {u"central_bank"_s, {u"Abweichende Aussagen anderer Notenbanker"_s, u"Gegenläufige Konjunkturdaten"_s}},
        {u"inflation"_s, {u"Revision der Daten"_s, u"Gegenläufige Kerninflation"_s}},
        {u"employment"_s, {u"Revision der Vormonatsdaten"_s, u"Schwache Lohnentwicklung"_s}},
        {u"growth"_s, {u"Revisionen der Konjunkturdaten"_s, u"Stimmungswechsel an den Aktienmärkten"_s}},
        {u"geopolitics"_s, {u"Schnelle Entspannung der Lage"_s, u"Eingreifen von Notenbanken"_s}},
        {u"commodities"_s, {u"Angebotsentscheidungen der OPEC"_s, u"Schwankende Nachfrage aus China"_s}},
        {u"equities"_s, {u"Abrupter Stimmungsumschwung an den Börsen"_s, u"Enttäuschende Unternehmenszahlen"_s}},
        {u"bonds"_s, {u"Schwankende Zinserwartungen"_s, u"Hohe Anleiheemissionen"_s}},
        {u"technical"_s, {u"Fehlausbruch an der Chartmarke"_s, u"Überraschende Daten"_s}},
    };
    return risks.value(category, {u"Dünne Liquidität"_s, u"Überraschende Schlagzeilen"_s});
}

QString watchNextOf(const NewsSignal &signal)
{
    if (signal.category == "central_bank"_L1) {
        return u"Weitere Aussagen der %1 und die Zinserwartungen am Geldmarkt"_s.arg(
            signal.actor.isEmpty() ? u"Notenbank"_s : signal.actor);
    }
    static const QHash<QString, QString> next{
        {u"equities"_s, u"Die Eröffnung an der Wall Street und die Renditen"_s},
        {u"bonds"_s, u"Anleiheauktionen und Aussagen der Notenbanker"_s},
        {u"technical"_s, u"Reaktion an den genannten Chartmarken"_s},
        {u"inflation"_s, u"Nächste Inflationsdaten und die Reaktion der Notenbank"_s},
        {u"employment"_s, u"Nächster Arbeitsmarktbericht und Lohndaten"_s},
        {u"growth"_s, u"Einkaufsmanagerindizes und BIP-Revisionen"_s},
        {u"geopolitics"_s, u"Politische Entwicklungen und Reaktionen der sicheren Häfen"_s},
        {u"commodities"_s, u"Lagerbestandsdaten und Aussagen der OPEC"_s},
    };
    return next.value(signal.category, u"Folgemeldungen und die Reaktion der Renditen"_s);
}

// The two currencies of an instrument; "DXY" is the dollar against a basket.
QPair<QString, QString> currenciesOf(const QString &instrument)
{
    const QString name = instrument.trimmed().toUpper();
    if (name == "DXY"_L1)
        return {u"USD"_s, QString()};
    const QStringList parts = name.split(u'/');
    if (parts.size() == 2 && parts[0].size() == 3 && parts[1].size() == 3)
        return {parts[0], parts[1]};
    return {};
}

QString eventText(const ListedEvent &event)
{
    return QStringList{event.time, event.currency, event.title}.join(u' ').simplified();
}

double pairPull(const NewsDigest &digest, const QString &pair)
{
    const auto [base, quote] = currenciesOf(pair);
    return digest.pull(base) - digest.pull(quote);
}

int decimalsFor(const QString &instrument, double price)
{
    const auto [base, quote] = currenciesOf(instrument);
    if (quote == "JPY"_L1 || instrument.toUpper() == "DXY"_L1)
        return 3;
    if (base == "XAU"_L1 || base == "XAG"_L1 || price >= 50)
        return 2;
    return 5;
}

} // namespace

QJsonObject scoreNews(const ReadPrompt &prompt)
{
    const NewsSignal signal = signalOf(prompt);
    if (!signal.relevant)
        return {{u"relevant"_s, false}};
    const QList<PairMove> moves = pairsMovedBy(signal);
    QJsonObject pairs;
    for (const PairMove &move : moves)
        pairs.insert(move.pair, directionWord(move.direction));
    return {
        {u"relevant"_s, true},
        {u"score"_s, signal.score},
        {u"urgency"_s, signal.urgency},
        {u"headline"_s, AnalystNotes::headline(signal)},
        {u"analysis"_s, AnalystNotes::whatHappened(signal, prompt.source) + u' ' + AnalystNotes::consequence(signal, moves)},
        {u"pairs"_s, pairs},
        {u"category"_s, signal.category},
        {u"factors"_s, array(signal.factors)},
    };
}

QJsonObject analyseNewsInDepth(const ReadPrompt &prompt)
{
    const NewsSignal signal = signalOf(prompt);
    const QList<PairMove> moves = pairsMovedBy(signal);
    const QString range = movePips(signal.score);

    QJsonObject pairs;
    for (const PairMove &move : moves) {
        const bool directed = move.direction != Direction::Neutral;
        const QString reasoning = directed
            ? u"Treiber: %1 – das spricht für %2 Kurse in %3."_s.arg(AnalystNotes::cause(signal),
                                                                   AnalystNotes::pairTrend(move.direction), move.pair)
            : u"Kein klarer Impuls für %1."_s.arg(move.pair);
        pairs.insert(move.pair, QJsonObject{
                                    {u"direction"_s, directionWord(move.direction)},
                                    {u"reasoning"_s, reasoning},
                                    {u"move_pips"_s, range},
                                    {u"probability"_s, directed ? std::clamp(45 + 3 * signal.score, 50, 80) : 50},
                                });
    }

    QJsonObject strategy{{u"bias"_s, u"Abwarten"_s},
                         {u"entry"_s, u"Kein Einstieg ohne Bestätigung"_s},
                         {u"stop"_s, u"Entfällt"_s},
                         {u"target"_s, u"Entfällt"_s}};
    if (!moves.isEmpty() && moves.first().direction != Direction::Neutral) {
        const QStringList bounds = range.split(u'-');
        strategy = {{u"bias"_s, (moves.first().direction == Direction::Bullish ? u"Long "_s : u"Short "_s) + moves.first().pair},
                    {u"entry"_s, u"Rücksetzer abwarten, Einstieg nahe Marktpreis"_s},
                    {u"stop"_s, u"%1 Pips gegen die Position"_s.arg(bounds.first())},
                    {u"target"_s, u"%1 Pips in Trendrichtung"_s.arg(bounds.last())}};
    }

    const QString strength = !signal.relevant ? u"kaum"_s
        : signal.score >= 8                   ? u"stark"_s
        : signal.score >= 6                   ? u"deutlich"_s
                                              : u"mäßig"_s;
    const QString summary = u"%1 %2 Die Meldung ist %3 marktrelevant (Score %4/10)."_s.arg(
        AnalystNotes::whatHappened(signal, prompt.source), AnalystNotes::consequence(signal, moves), strength,
        QString::number(signal.score));
    return {
        {u"summary"_s, summary},
        {u"score"_s, signal.score},
        {u"pairs"_s, pairs},
        {u"strategy"_s, strategy},
        {u"macro"_s, macroSentence(signal)},
        {u"risks"_s, array(risksOf(signal.category))},
        {u"watch_next"_s, watchNextOf(signal)},
    };
}

QJsonObject overviewMarket(const ReadPrompt &prompt)
{
    const NewsDigest digest = NewsDigest::of(prompt.news);
    const QString sentiment = digest.riskTone > 0 ? u"risk-on"_s : digest.riskTone < 0 ? u"risk-off"_s : u"neutral"_s;

    QString topPair = prompt.pairs.value(0, u"EUR/USD"_s);
    for (const QString &pair : prompt.pairs) {
        if (std::abs(pairPull(digest, pair)) > std::abs(pairPull(digest, topPair)))
            topPair = pair;
    }

    QStringList themes;
    for (const QString &theme : digest.themes.mid(0, 3))
        themes << categoryLabel(theme);
    if (themes.isEmpty())
        themes << u"Ruhiger Markt"_s;

    // The heaviest headline leads, the next relevant one of another theme follows.
    const NewsDigest::Item *lead = nullptr;
    const NewsDigest::Item *second = nullptr;
    for (const NewsDigest::Item &item : digest.items) {
        if (!item.news.headline.trimmed().isEmpty() && (!lead || item.news.score > lead->news.score))
            lead = &item;
    }
    for (const NewsDigest::Item &item : digest.items) {
        if (lead && &item != lead && item.signal.relevant && item.signal.category != lead->signal.category && !second)
            second = &item;
    }
    const QString mood = sentiment == "risk-on"_L1    ? u"Die Stimmung ist risikofreudig"_s
                         : sentiment == "risk-off"_L1 ? u"Die Stimmung ist risikoscheu"_s
                                                      : u"Die Stimmung ist abwartend"_s;
    QStringList sentences;
    if (lead) {
        const QString source = lead->news.source.trimmed();
        sentences << u"%1, im Mittelpunkt: %2 (%3„%4“)."_s.arg(mood, AnalystNotes::cause(lead->signal),
                                                                    source.isEmpty() ? QString() : source + u": "_s,
                                                                    firstWords(lead->news.headline, 14));
    } else {
        sentences << mood + u", frische Schlagzeilen fehlen derzeit."_s;
    }
    const QString up = digest.strongest();
    const QString down = digest.weakest();
    if (!up.isEmpty() && !down.isEmpty())
        sentences << u"Unterm Strich wirkt %1 gestützt, %2 belastet; den stärksten Impuls hat %3."_s.arg(
            currencySubject(up), currencySubject(down), topPair);
    else if (!up.isEmpty() || !down.isEmpty())
        sentences << u"Unterm Strich wirkt %1 %2; den stärksten Impuls hat %3."_s.arg(
            currencySubject(up.isEmpty() ? down : up), up.isEmpty() ? u"belastet"_s : u"gestützt"_s, topPair);
    else
        sentences << u"Eine klare Richtung fehlt; im Fokus steht %1."_s.arg(topPair);
    if (second)
        sentences << u"Daneben im Blick: %1."_s.arg(AnalystNotes::cause(second->signal));

    return {
        {u"sentiment"_s, sentiment},
        {u"usd"_s, digest.verdictOn(u"USD"_s)},
        {u"eur"_s, digest.verdictOn(u"EUR"_s)},
        {u"gbp"_s, digest.verdictOn(u"GBP"_s)},
        {u"jpy"_s, digest.verdictOn(u"JPY"_s)},
        {u"top_pair"_s, topPair},
        {u"themes"_s, array(themes)},
        {u"overview"_s, sentences.join(u' ')},
    };
}

QJsonObject brief(const ReadPrompt &prompt)
{
    const Briefing briefing = writeBriefing(prompt);
    return {
        {u"title"_s, briefing.title},
        {u"briefing_text"_s, briefing.text},
        {u"key_points"_s, array(briefing.keyPoints)},
        {u"watch_next"_s, array(briefing.watchNext)},
    };
}

QJsonObject analyseInstrument(const ReadPrompt &prompt)
{
    const NewsDigest digest = NewsDigest::of(prompt.news);
    const QString name = prompt.instrument.trimmed();
    const auto [base, quote] = currenciesOf(name);
    const double price = prompt.price;
    const double change = prompt.changePercent;
    const int momentumSign = change > 0.15 ? 1 : change < -0.15 ? -1 : 0;
    const double total = pairPull(digest, name) + 0.3 * momentumSign;
    const Direction verdict = total > 0.25 ? Direction::Bullish : total < -0.25 ? Direction::Bearish : Direction::Neutral;
    const int confidence = verdict == Direction::Neutral ? 45 : std::clamp(55 + int(std::lround(std::abs(total) * 15)), 55, 85);

    // Levels at fixed fractions of the price: wide enough for a daily swing.
    const int decimals = decimalsFor(name, price);
    const auto level = [&](double fraction) { return QString::number(price * (1 + fraction), 'f', decimals); };
    const double sign = verdict == Direction::Bearish ? -1 : 1;
    QString entryZone, stop, target1, target2, riskReward, bullTrigger, baseTrigger, bearTrigger;
    if (price <= 0) {
        entryZone = stop = target1 = target2 = riskReward = u"n/v"_s;
        bullTrigger = u"Kurs zieht nachhaltig an"_s;
        baseTrigger = u"Seitwärtsphase ohne neue Impulse"_s;
        bearTrigger = u"Kurs gibt nachhaltig nach"_s;
    } else if (verdict == Direction::Neutral) {
        entryZone = u"Range %1-%2, Ausbruch abwarten"_s.arg(level(-0.0015), level(0.0015));
        stop = u"Unter %1 bei Long, über %2 bei Short"_s.arg(level(-0.004), level(0.004));
        target1 = level(0.005);
        target2 = level(-0.005);
        riskReward = u"1:1.3"_s;
        bullTrigger = u"Ausbruch über %1"_s.arg(level(0.0015));
        baseTrigger = u"Seitwärts zwischen %1 und %2"_s.arg(level(-0.0015), level(0.0015));
        bearTrigger = u"Rückfall unter %1"_s.arg(level(-0.0015));
    } else {
        const double entryFar = -0.001 * sign;
        entryZone = sign > 0 ? u"%1-%2"_s.arg(level(entryFar), level(0)) : u"%1-%2"_s.arg(level(0), level(entryFar));
        stop = level(-0.004 * sign);
        target1 = level(0.005 * sign);
        target2 = level(0.009 * sign);
        riskReward = u"1:%1"_s.arg(QString::number((0.005 + 0.0005) / (0.004 - 0.0005), 'f', 1));
        bullTrigger = u"Anstieg über %1"_s.arg(level(0.005));
        baseTrigger = u"Pendeln um %1"_s.arg(level(0));
        bearTrigger = u"Rückfall unter %1"_s.arg(level(-0.005));
    }

    int bull = 0, bear = 0;
    if (verdict == Direction::Neutral) {
        bull = 25 + momentumSign * 5;
        bear = 25 - momentumSign * 5;
    } else {
        const int favoured = std::clamp(confidence - 5, 45, 70);
        const int against = (100 - favoured) * 35 / 100;
        bull = verdict == Direction::Bullish ? favoured : against;
        bear = verdict == Direction::Bearish ? favoured : against;
    }
    const int baseCase = 100 - bull - bear;

    QStringList drivers;
    const NewsDigest::Item *related = nullptr;
    for (const NewsDigest::Item &item : digest.items) {
        if (!item.signal.relevant || (item.signal.currency != base && (quote.isEmpty() || item.signal.currency != quote)))
            continue;
        if (!related && !item.news.headline.trimmed().isEmpty())
            related = &item;
        if (!drivers.contains(categoryLabel(item.signal.category)))
            drivers << categoryLabel(item.signal.category);
    }
    if (drivers.isEmpty()) {
        for (const QString &theme : digest.themes)
            drivers << categoryLabel(theme);
    }
    if (drivers.isEmpty())
        drivers << (quote.isEmpty() ? u"Zinserwartungen"_s : u"Zinsdifferenz %1/%2"_s.arg(base, quote));

    // The instrument's own currencies first; any event when none concerns them.
    QStringList catalysts;
    for (const ListedEvent &event : prompt.events) {
        if (catalysts.size() < 3 && !event.currency.isEmpty() && (event.currency == base || event.currency == quote))
            catalysts << eventText(event);
    }
    if (catalysts.isEmpty()) {
        for (qsizetype i = 0; i < std::min<qsizetype>(2, prompt.events.size()); ++i)
            catalysts << eventText(prompt.events[i]);
    }
    if (catalysts.isEmpty())
        catalysts << u"Keine Termine im Kalender"_s;

    const QString momentum = momentumSign > 0 ? u"bullish"_s : momentumSign < 0 ? u"bearish"_s : u"neutral"_s;
    const QString flow = momentumSign > 0 ? u"Käufer haben heute die Oberhand (%1)."_s.arg(percentText(change))
        : momentumSign < 0               ? u"Verkäufer dominieren den Handel (%1)."_s.arg(percentText(change))
                                         : u"Der Orderflow ist ausgeglichen (%1)."_s.arg(percentText(change));
    const QString positioning = verdict == Direction::Bullish
        ? u"Die Positionierung ist noch nicht einseitig long und lässt Platz für Käufe."_s
        : verdict == Direction::Bearish ? u"Die Positionierung lässt Raum für weitere Verkäufe."_s
                                        : u"Die Positionierung ist ausgeglichen, ohne klare Überhänge."_s;

    QStringList summary;
    summary << (price > 0 ? u"%1 notiert bei %2 (%3)."_s.arg(name, QString::number(price, 'f', decimals), percentText(change))
                          : u"Für %1 liegt kein aktueller Kurs vor."_s.arg(name));
    if (related && verdict != Direction::Neutral) {
        summary << u"Treiber: %1 – das spricht für %2 Kurse in %3."_s.arg(
            AnalystNotes::cause(related->signal), AnalystNotes::pairTrend(verdict), name);
    } else if (related) {
        summary << u"Die Nachrichtenlage ist uneinheitlich; zuletzt im Blick: %1."_s.arg(AnalystNotes::cause(related->signal));
    }
    summary << (verdict == Direction::Bullish   ? u"Käufe auf Rücksetzer werden bevorzugt."_s
                : verdict == Direction::Bearish ? u"Verkäufe in Erholungen werden bevorzugt."_s
                                                : u"Ohne klares Signal bleibt Abwarten die bessere Wahl."_s);

    const bool eventSoon = std::any_of(prompt.events.cbegin(), prompt.events.cend(), [&](const ListedEvent &event) {
        return event.impact == "High"_L1 && (event.currency == base || event.currency == quote);
    });

    return {
        {u"verdict"_s, directionWord(verdict)},
        {u"confidence"_s, confidence},
        {u"summary"_s, summary.join(u' ')},
        {u"entry_zone"_s, entryZone},
        {u"stop"_s, stop},
        {u"target_1"_s, target1},
        {u"target_2"_s, target2},
        {u"risk_reward"_s, riskReward},
        {u"timeframe"_s, eventSoon ? u"Intraday bis 1 Tag"_s : u"1-3 Tage"_s},
        {u"scenarios"_s,
         QJsonObject{{u"bull"_s, QJsonObject{{u"probability"_s, bull}, {u"trigger"_s, bullTrigger}}},
                     {u"base"_s, QJsonObject{{u"probability"_s, baseCase}, {u"trigger"_s, baseTrigger}}},
                     {u"bear"_s, QJsonObject{{u"probability"_s, bear}, {u"trigger"_s, bearTrigger}}}}},
        {u"macro_drivers"_s, array(drivers.mid(0, 3))},
        {u"catalysts"_s, array(catalysts)},
        {u"risks"_s,
         array({u"Überraschende Notenbank-Aussagen"_s,
                digest.riskTone < 0 ? u"Weitere Flucht in sichere Häfen"_s : u"Plötzlicher Stimmungsumschwung"_s,
                u"Dünne Liquidität außerhalb der Hauptsessions"_s})},
        {u"flow_analysis"_s, flow},
        {u"positioning"_s, positioning},
        {u"momentum"_s, momentum},
    };
}

std::optional<QString> reply(const QString &prompt)
{
    const std::optional<ReadPrompt> read = readPrompt(prompt);
    if (!read)
        return std::nullopt;
    QJsonObject answer;
    switch (read->kind) {
    case PromptKind::Ping: return u"pong"_s;
    case PromptKind::NewsScoring: answer = scoreNews(*read); break;
    case PromptKind::NewsDeepAnalysis: answer = analyseNewsInDepth(*read); break;
    case PromptKind::MarketOverview: answer = overviewMarket(*read); break;
    case PromptKind::LiveBriefing:
    case PromptKind::WeekendBriefing: answer = brief(*read); break;
    case PromptKind::InstrumentAnalysis: answer = analyseInstrument(*read); break;
    }
    return QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Compact));
}

} // namespace kalvo::backend::OfflineAnalyst
