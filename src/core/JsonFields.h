#pragma once

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

// Typed reads of one JSON member. Each returns nothing when the key is
// missing, null or of another JSON type, so a strict decoder can reject the
// record and a tolerant one can fall back to the field's default.
namespace kalvo::json {

std::optional<QString> text(const QJsonObject &object, QLatin1StringView key);
std::optional<bool> boolean(const QJsonObject &object, QLatin1StringView key);
// Any JSON number.
std::optional<double> real(const QJsonObject &object, QLatin1StringView key);
// A JSON number without a fractional part that fits in 64 bits.
std::optional<qint64> integer(const QJsonObject &object, QLatin1StringView key);
// An array whose every element is a string.
std::optional<QStringList> textList(const QJsonObject &object, QLatin1StringView key);
// An object whose every value is a string.
std::optional<QMap<QString, QString>> textMap(const QJsonObject &object, QLatin1StringView key);

} // namespace kalvo::json
