#include "InstrumentPrompts.h"

#include "ExtractJson.h"
#include "PromptLines.h"
#include "core/JsonFields.h"

#include <array>
#include <charconv>

using namespace Qt::StringLiterals;

namespace kalvo::InstrumentPrompts {

namespace {

constexpr qsizetype promptNews = 12;
constexpr qsizetype promptEvents = 8;

// std::to_chars formats as printf does in the "C" locale, so a German
// locale cannot turn the decimal point into a comma.
template<typename... Format>
QString cFormatted(double value, Format... format)
{
    std::array<char, 64> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format...);
    if (error != std::errc())
        return u"0"_s;
    return QString::fromLatin1(buffer.data(), end - buffer.data());
}

QString orPlaceholder(const QString &block, const QString &placeholder)
{
    return block.isEmpty() ? placeholder : block;
}

QString textOf(const QJsonObject &object, QLatin1StringView key)
{
    return json::text(object, key).value_or(QString());
}

QStringList listOf(const QJsonObject &object, QLatin1StringView key)
{
    return json::textList(object, key).value_or(QStringList());
}

// One scenario's probability and trigger; a missing or malformed scenario
// leaves both at their defaults.
void readScenario(const QJsonObject &scenarios, QLatin1StringView key, qint64 &probability, QString &trigger)
{
    const QJsonValue scenario = scenarios.value(key);
    if (!scenario.isObject())
        return;
    probability = json::integer(scenario.toObject(), "probability"_L1).value_or(0);
    trigger = textOf(scenario.toObject(), "trigger"_L1);
}

} // namespace

QString significantPrice(double price)
{
    return cFormatted(price, std::chars_format::general, 5);
}

QString signedChange(double changePct)
{
    const QString fixed = cFormatted(changePct, std::chars_format::fixed, 3);
    return fixed.startsWith(u'-') ? fixed : u'+' + fixed;
}

QString instrumentAnalysis(const QString &pair, const QList<NewsItem> &news, const QList<CalendarEvent> &events,
                           double price, double changePct)
{
    return u"Du bist Senior Quantitative Analyst eines Tier-1 Hedgefonds.\nAnalysiere "_s + pair
           + u" für einen Trader der JETZT entscheiden muss.\n\nMARKTDATEN:\nKurs: "_s + significantPrice(price)
           + " | Tageschange: "_L1 + signedChange(changePct) + "%\n\nRELEVANTE NEWS:\n"_L1
           + orPlaceholder(PromptLines::scoredNews(news, promptNews), u"Keine relevanten News"_s)
           + "\n\nKOMMENDE EVENTS:\n"_L1
           + orPlaceholder(PromptLines::events(events, promptEvents), u"Keine bevorstehenden Events"_s)
           + uR"PROMPT(

Liefere NUR valides JSON, kein Markdown:
{"verdict":"bullish","confidence":72,"summary":"2-3 Sätze Kernthese Deutsch","entry_zone":"1.0850-1.0870","stop":"1.0820","target_1":"1.0950","target_2":"1.1020","risk_reward":"1:2.5","timeframe":"1-3 Tage","scenarios":{"bull":{"probability":55,"trigger":"Auslöser"},"base":{"probability":30,"trigger":"Auslöser"},"bear":{"probability":15,"trigger":"Auslöser"}},"macro_drivers":["Treiber1"],"catalysts":["Event1"],"risks":["Risiko1"],"flow_analysis":"1 Satz Orderflow","positioning":"1 Satz Positionierung","momentum":"bullish"})PROMPT"_s;
}

std::optional<InstrumentAnalysis> parseInstrumentAnalysis(const QString &reply)
{
    const std::optional<QJsonObject> found = extractJSON(reply);
    if (!found)
        return std::nullopt;
    const QJsonObject &object = *found;

    InstrumentAnalysis analysis;
    analysis.verdict = json::text(object, "verdict"_L1).value_or(analysis.verdict);
    analysis.confidence = json::integer(object, "confidence"_L1).value_or(0);
    analysis.summary = textOf(object, "summary"_L1);
    analysis.entryZone = textOf(object, "entry_zone"_L1);
    analysis.stop = textOf(object, "stop"_L1);
    analysis.target1 = textOf(object, "target_1"_L1);
    analysis.target2 = textOf(object, "target_2"_L1);
    analysis.riskReward = textOf(object, "risk_reward"_L1);
    analysis.timeframe = textOf(object, "timeframe"_L1);
    analysis.macroDrivers = listOf(object, "macro_drivers"_L1);
    analysis.catalysts = listOf(object, "catalysts"_L1);
    analysis.risks = listOf(object, "risks"_L1);
    analysis.flowAnalysis = textOf(object, "flow_analysis"_L1);
    analysis.positioning = textOf(object, "positioning"_L1);
    analysis.momentum = textOf(object, "momentum"_L1);
    if (const QJsonValue scenarios = object.value("scenarios"_L1); scenarios.isObject()) {
        const QJsonObject all = scenarios.toObject();
        readScenario(all, "bull"_L1, analysis.bullProb, analysis.bullTrigger);
        readScenario(all, "base"_L1, analysis.baseProb, analysis.baseTrigger);
        readScenario(all, "bear"_L1, analysis.bearProb, analysis.bearTrigger);
    }
    return analysis;
}

} // namespace kalvo::InstrumentPrompts
