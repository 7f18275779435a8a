#include "ExtractJson.h"

#include <QJsonDocument>
#include <QJsonParseError>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace kalvo {

std::optional<QJsonObject> extractJSON(const QString &reply)
{
    // Unicode-aware \s, so that the fences are found as the models write them.
    static const QRegularExpression openingFence(u"^```(?:json)?\\s*"_s,
                                                 QRegularExpression::UseUnicodePropertiesOption);
    static const QRegularExpression closingFence(u"\\s*```\\s*$"_s, QRegularExpression::UseUnicodePropertiesOption);

    QString text = reply.trimmed();
    text.remove(openingFence);
    text.remove(closingFence);
    text = text.trimmed();

    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

} // namespace kalvo
