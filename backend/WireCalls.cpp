#include "WireCalls.h"

#include "AccessTokens.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTextBoundaryFinder>

#include <cmath>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

namespace {

constexpr qsizetype maxModelNameLength = 128;

// The body as a JSON object with a known token, or the reply refusing it.
template<typename Call>
std::optional<QJsonObject> authorised(const QByteArray &body, const AccessTokens &tokens, DecodedCall<Call> &decoded)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject()) {
        decoded.refusal = HttpReply::failure(400, u"malformed JSON"_s);
        return std::nullopt;
    }
    const QJsonObject object = document.object();
    const QJsonValue token = object.value("token"_L1);
    const std::optional<int> client = token.isString() ? tokens.match(token.toString()) : std::nullopt;
    if (!client) {
        decoded.refusal = HttpReply::failure(401, u"unauthorized"_s);
        return std::nullopt;
    }
    decoded.client = *client;
    return object;
}

std::optional<QString> nonEmptyText(const QJsonObject &object, QLatin1StringView key, qsizetype maxLength = -1)
{
    const QJsonValue value = object.value(key);
    if (!value.isString() || value.toString().trimmed().isEmpty())
        return std::nullopt;
    if (maxLength >= 0 && value.toString().size() > maxLength)
        return std::nullopt;
    return value.toString();
}

std::optional<int> positiveInteger(const QJsonObject &object, QLatin1StringView key, int maximum)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (number != std::floor(number) || number < 1 || number > maximum)
        return std::nullopt;
    return int(number);
}

qsizetype userPerceivedLength(const QString &text, qsizetype stopAfter)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() >= 0 && count <= stopAfter)
        ++count;
    return count;
}

} // namespace

DecodedCall<ModelCall> decodeModelCall(const QByteArray &body, const AccessTokens &tokens, const WireLimits &limits)
{
    DecodedCall<ModelCall> decoded;
    const std::optional<QJsonObject> object = authorised(body, tokens, decoded);
    if (!object)
        return decoded;
    const auto model = nonEmptyText(*object, "model"_L1, maxModelNameLength);
    const auto maxTokens = positiveInteger(*object, "maxTokens"_L1, limits.maxTokens);
    const auto prompt = nonEmptyText(*object, "prompt"_L1);
    if (!model)
        decoded.invalid = HttpReply::failure(400, u"model missing"_s);
    else if (!maxTokens)
        decoded.invalid = HttpReply::failure(400, u"maxTokens invalid"_s);
    else if (!prompt)
        decoded.invalid = HttpReply::failure(400, u"prompt missing"_s);
    else
        decoded.call = {*model, *maxTokens, *prompt};
    return decoded;
}

DecodedCall<SpeechCall> decodeSpeechCall(const QByteArray &body, const AccessTokens &tokens, const WireLimits &limits)
{
    DecodedCall<SpeechCall> decoded;
    const std::optional<QJsonObject> object = authorised(body, tokens, decoded);
    if (!object)
        return decoded;
    const auto model = nonEmptyText(*object, "model"_L1, maxModelNameLength);
    const auto voice = nonEmptyText(*object, "voice"_L1, maxModelNameLength);
    const auto text = nonEmptyText(*object, "text"_L1);
    if (!model)
        decoded.invalid = HttpReply::failure(400, u"model missing"_s);
    else if (!voice)
        decoded.invalid = HttpReply::failure(400, u"voice missing"_s);
    else if (!text)
        decoded.invalid = HttpReply::failure(400, u"text missing"_s);
    else if (userPerceivedLength(*text, limits.maxSpeechCharacters) > limits.maxSpeechCharacters)
        decoded.invalid = HttpReply::failure(400, u"text too long"_s);
    else
        decoded.call = {*model, *voice, *text};
    return decoded;
}

} // namespace kalvo::backend
