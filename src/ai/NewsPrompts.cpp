#include "NewsPrompts.h"

#include "ExtractJson.h"
#include "TextCut.h"
#include "core/JsonFields.h"

using namespace Qt::StringLiterals;

namespace kalvo::NewsPrompts {

namespace {

// Long teasers add cost without adding signal.
constexpr qsizetype quickContentLength = 1000;
constexpr qsizetype deepContentLength = 800;

QString headlinePart(const NewsItem &item, qsizetype contentLength)
{
    return item.title + "\nQuelle: "_L1 + item.source + "\nInhalt: "_L1
           + leadingCharacters(item.content, contentLength);
}

// "pairs" comes in two shapes: instrument -> direction from the quick prompt,
// instrument -> {direction, reasoning, move_pips, probability} from the deep one.
void readPairs(const QJsonObject &pairs, NewsAnalysis &analysis)
{
    for (auto it = pairs.begin(); it != pairs.end(); ++it) {
        if (it.value().isString()) {
            analysis.pairs.insert(it.key(), it.value().toString());
        } else if (it.value().isObject()) {
            const QJsonObject view = it.value().toObject();
            const std::optional<QString> direction = json::text(view, "direction"_L1);
            analysis.pairs.insert(it.key(), direction.value_or(u"neutral"_s));
            PairDetail detail;
            detail.direction = direction.value_or(QString());
            detail.reasoning = json::text(view, "reasoning"_L1).value_or(QString());
            detail.movePips = json::text(view, "move_pips"_L1).value_or(QString());
            detail.probability = json::integer(view, "probability"_L1).value_or(0);
            analysis.pairDetails.insert(it.key(), detail);
        }
    }
}

// Unlike a stored strategy, a partial one from the model is kept.
TradeStrategy readStrategy(const QJsonObject &strategy)
{
    return {json::text(strategy, "bias"_L1).value_or(QString()), json::text(strategy, "entry"_L1).value_or(QString()),
            json::text(strategy, "stop"_L1).value_or(QString()), json::text(strategy, "target"_L1).value_or(QString())};
}

} // namespace

QString quickScoring(const NewsItem &item)
{
    return u"Forex-Analyst. Bewerte diese News.\nTitel: "_s + headlinePart(item, quickContentLength) + uR"(
Nur JSON, kein Markdown:
{"relevant":true,"score":7,"urgency":"hours","headline":"Max 55 Zeichen","analysis":"1-2 Sätze DE","pairs":{"EUR/USD":"bearish"},"category":"central_bank","factors":["Faktor1"]}
score 1-10, urgency: immediate/hours/days, pairs: bullish/bearish/neutral
Nicht Forex-relevant: {"relevant":false})"_s;
}

QString deepAnalysis(const NewsItem &item)
{
    return u"Senior Forex-Analyst. Tiefenanalyse dieser News.\nTitel: "_s + headlinePart(item, deepContentLength) + uR"(
Nur JSON, kein Markdown:
{"summary":"2-3 Sätze DE","score":8,"pairs":{"EUR/USD":{"direction":"bearish","reasoning":"1 Satz","move_pips":"30-50","probability":70}},"strategy":{"bias":"Short EUR/USD","entry":"1.0855","stop":"1.0890","target":"1.0780"},"macro":"1 Satz Makro DE","risks":["Risiko1","Risiko2"],"watch_next":"Folge-Events"})"_s;
}

std::optional<NewsAnalysis> parseAnalysis(const QString &reply)
{
    const std::optional<QJsonObject> found = extractJSON(reply);
    if (!found)
        return std::nullopt;
    const QJsonObject &object = *found;

    NewsAnalysis analysis;
    analysis.relevant = json::boolean(object, "relevant"_L1).value_or(analysis.relevant);
    analysis.score = json::real(object, "score"_L1).value_or(analysis.score);
    analysis.urgency = json::text(object, "urgency"_L1).value_or(analysis.urgency);
    analysis.headline = json::text(object, "headline"_L1).value_or(QString());
    analysis.analysis = json::text(object, "analysis"_L1).value_or(QString());
    analysis.category = json::text(object, "category"_L1).value_or(QString());
    analysis.factors = json::textList(object, "factors"_L1).value_or(QStringList());
    analysis.summary = json::text(object, "summary"_L1).value_or(QString());
    analysis.macro = json::text(object, "macro"_L1).value_or(QString());
    analysis.risks = json::textList(object, "risks"_L1).value_or(QStringList());
    analysis.watchNext = json::text(object, "watch_next"_L1).value_or(QString());
    if (const QJsonValue pairs = object.value("pairs"_L1); pairs.isObject())
        readPairs(pairs.toObject(), analysis);
    if (const QJsonValue strategy = object.value("strategy"_L1); strategy.isObject())
        analysis.strategy = readStrategy(strategy.toObject());
    return analysis;
}

} // namespace kalvo::NewsPrompts
