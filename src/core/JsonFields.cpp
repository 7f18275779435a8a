#include "JsonFields.h"

#include <QJsonArray>

#include <cmath>

namespace kalvo::json {

std::optional<QString> text(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isString())
        return std::nullopt;
    return value.toString();
}

std::optional<bool> boolean(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isBool())
        return std::nullopt;
    return value.toBool();
}

std::optional<double> real(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    return value.toDouble();
}

std::optional<qint64> integer(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (!std::isfinite(number) || std::trunc(number) != number || number >= limit || number < -limit)
        return std::nullopt;
    return value.toInteger();
}

std::optional<QStringList> textList(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isArray())
        return std::nullopt;
    QStringList result;
    for (const QJsonValue &element : value.toArray()) {
        if (!element.isString())
            return std::nullopt;
        result.append(element.toString());
    }
    return result;
}

std::optional<QMap<QString, QString>> textMap(const QJsonObject &object, QLatin1StringView key)
{
    const QJsonValue value = object.value(key);
    if (!value.isObject())
        return std::nullopt;
    QMap<QString, QString> result;
    const QJsonObject members = value.toObject();
    for (auto it = members.begin(); it != members.end(); ++it) {
        if (!it.value().isString())
            return std::nullopt;
        result.insert(it.key(), it.value().toString());
    }
    return result;
}

} // namespace kalvo::json
