#include "NewsItem.h"

#include "DatePatterns.h"
#include "JsonFields.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

QJsonObject textMapToJson(const QMap<QString, QString> &map)
{
    QJsonObject object;
    for (auto it = map.begin(); it != map.end(); ++it)
        object.insert(it.key(), it.value());
    return object;
}

QMap<QString, PairDetail> pairDetailsFromJson(const QJsonObject &object)
{
    const QJsonValue value = object.value("pairDetails"_L1);
    if (!value.isObject())
        return {};
    QMap<QString, PairDetail> details;
    const QJsonObject members = value.toObject();
    for (auto it = members.begin(); it != members.end(); ++it) {
        // One malformed entry makes the whole map unreadable, like any other
        // member of the wrong type.
        if (!it.value().isObject())
            return {};
        details.insert(it.key(), PairDetail::fromJson(it.value().toObject()));
    }
    return details;
}

} // namespace

QJsonObject TradeStrategy::toJson() const
{
    return {{"bias"_L1, bias}, {"entry"_L1, entry}, {"stop"_L1, stop}, {"target"_L1, target}};
}

std::optional<TradeStrategy> TradeStrategy::fromJson(const QJsonObject &object)
{
    auto bias = json::text(object, "bias"_L1);
    auto entry = json::text(object, "entry"_L1);
    auto stop = json::text(object, "stop"_L1);
    auto target = json::text(object, "target"_L1);
    if (!bias || !entry || !stop || !target)
        return std::nullopt;
    return TradeStrategy{*bias, *entry, *stop, *target};
}

QJsonObject PairDetail::toJson() const
{
    return {{"direction"_L1, direction},
            {"reasoning"_L1, reasoning},
            {"move_pips"_L1, movePips},
            {"probability"_L1, probability}};
}

PairDetail PairDetail::fromJson(const QJsonObject &object)
{
    PairDetail detail;
    detail.direction = json::text(object, "direction"_L1).value_or(QString());
    detail.reasoning = json::text(object, "reasoning"_L1).value_or(QString());
    detail.movePips = json::text(object, "move_pips"_L1).value_or(QString());
    detail.probability = json::integer(object, "probability"_L1).value_or(0);
    return detail;
}

QJsonObject NewsAnalysis::toJson() const
{
    QJsonObject details;
    for (auto it = pairDetails.begin(); it != pairDetails.end(); ++it)
        details.insert(it.key(), it.value().toJson());

    QJsonObject object{
        {"relevant"_L1, relevant},
        {"score"_L1, score},
        {"urgency"_L1, urgency},
        {"headline"_L1, headline},
        {"analysis"_L1, analysis},
        {"pairs"_L1, textMapToJson(pairs)},
        {"category"_L1, category},
        {"factors"_L1, QJsonArray::fromStringList(factors)},
        {"summary"_L1, summary},
        {"macro"_L1, macro},
        {"risks"_L1, QJsonArray::fromStringList(risks)},
        {"watch_next"_L1, watchNext},
        {"pairDetails"_L1, details},
    };
    if (strategy)
        object.insert("strategy"_L1, strategy->toJson());
    return object;
}

NewsAnalysis NewsAnalysis::fromJson(const QJsonObject &object)
{
    NewsAnalysis result;
    result.relevant = json::boolean(object, "relevant"_L1).value_or(result.relevant);
    result.score = json::real(object, "score"_L1).value_or(result.score);
    result.urgency = json::text(object, "urgency"_L1).value_or(result.urgency);
    result.headline = json::text(object, "headline"_L1).value_or(QString());
    result.analysis = json::text(object, "analysis"_L1).value_or(QString());
    result.pairs = json::textMap(object, "pairs"_L1).value_or(QMap<QString, QString>());
    result.category = json::text(object, "category"_L1).value_or(QString());
    result.factors = json::textList(object, "factors"_L1).value_or(QStringList());
    result.summary = json::text(object, "summary"_L1).value_or(QString());
    result.macro = json::text(object, "macro"_L1).value_or(QString());
    result.risks = json::textList(object, "risks"_L1).value_or(QStringList());
    result.watchNext = json::text(object, "watch_next"_L1).value_or(QString());
    const QJsonValue strategy = object.value("strategy"_L1);
    if (strategy.isObject())
        result.strategy = TradeStrategy::fromJson(strategy.toObject());
    result.pairDetails = pairDetailsFromJson(object);
    return result;
}

QJsonObject NewsItem::toJson() const
{
    QJsonObject object{
        {"id"_L1, id},
        {"title"_L1, title},
        {"source"_L1, source},
        {"url"_L1, url},
        {"published"_L1, formatIsoUtc(published)},
        {"content"_L1, content},
        {"hash"_L1, hash},
        {"score"_L1, score},
        {"priority"_L1, priority},
    };
    if (analysis)
        object.insert("analysis"_L1, analysis->toJson());
    return object;
}

std::optional<NewsItem> NewsItem::fromJson(const QJsonObject &object)
{
    auto id = json::text(object, "id"_L1);
    auto title = json::text(object, "title"_L1);
    auto source = json::text(object, "source"_L1);
    auto url = json::text(object, "url"_L1);
    auto publishedText = json::text(object, "published"_L1);
    auto content = json::text(object, "content"_L1);
    auto hash = json::text(object, "hash"_L1);
    auto score = json::real(object, "score"_L1);
    auto priority = json::integer(object, "priority"_L1);
    if (!id || !title || !source || !url || !publishedText || !content || !hash || !score || !priority)
        return std::nullopt;
    auto published = parseInternetDateTime(*publishedText);
    if (!published)
        return std::nullopt;

    NewsItem item{*id, *title, *source, *url, *published, *content, *hash, *score, *priority, {}};
    const QJsonValue analysis = object.value("analysis"_L1);
    if (!analysis.isUndefined() && !analysis.isNull()) {
        if (!analysis.isObject())
            return std::nullopt;
        item.analysis = NewsAnalysis::fromJson(analysis.toObject());
    }
    return item;
}

QString formatIsoUtc(const QDateTime &instant)
{
    return instant.toUTC().toString(Qt::ISODate);
}

} // namespace kalvo
