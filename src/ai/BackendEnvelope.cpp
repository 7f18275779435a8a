#include "BackendEnvelope.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringDecoder>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

std::optional<QJsonObject> jsonObject(const QByteArray &body)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(body, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

// "ok" must be the boolean true; the string "true" is a malformed reply.
std::optional<QJsonObject> acceptedReply(const HttpOutcome &outcome)
{
    if (outcome.status != 200)
        return std::nullopt;
    std::optional<QJsonObject> object = jsonObject(outcome.body);
    if (!object || object->value("ok"_L1) != QJsonValue(true))
        return std::nullopt;
    return object;
}

std::optional<QByteArray> strictBase64(const QString &text)
{
    // Standard base64 comes padded; an unpadded or otherwise odd text is not it.
    if (text.size() % 4 != 0)
        return std::nullopt;
    const auto decoded = QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return decoded.decoded;
}

QString masked(QString text, const QString &token)
{
    if (!token.isEmpty())
        text.replace(token, u"***"_s);
    return text;
}

std::optional<QString> validUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

} // namespace

ModelReply decodeModelReply(const HttpOutcome &outcome)
{
    switch (outcome.kind) {
    case HttpOutcome::Kind::Transport:
        return ModelReply::failure({AIBackendError::Kind::Transport, outcome.networkError, outcome.errorText});
    case HttpOutcome::Kind::NotHttp:
        return ModelReply::failure(AIBackendError::Kind::BadServerResponse);
    case HttpOutcome::Kind::Http:
        break;
    }
    if (outcome.status != 200)
        return ModelReply::failure(AIBackendError::Kind::BadServerResponse);
    const std::optional<QJsonObject> object = acceptedReply(outcome);
    if (!object || !object->value("text"_L1).isString())
        return ModelReply::failure(AIBackendError::Kind::CannotParseResponse);
    return ModelReply::success(object->value("text"_L1).toString());
}

SpeechReply decodeSpeechReply(const HttpOutcome &outcome, const QString &token)
{
    switch (outcome.kind) {
    case HttpOutcome::Kind::Transport:
        return {std::nullopt, u"[TTS] Netzwerkfehler: "_s + masked(outcome.errorText, token)};
    case HttpOutcome::Kind::NotHttp:
        return {std::nullopt, u"[TTS] Kein HTTP-Response"_s};
    case HttpOutcome::Kind::Http:
        break;
    }
    if (const std::optional<QJsonObject> object = acceptedReply(outcome)) {
        const QJsonValue audio = object->value("audioBase64"_L1);
        if (audio.isString()) {
            if (std::optional<QByteArray> bytes = strictBase64(audio.toString()))
                return {bytes, u"[TTS] Erfolg — %1 Bytes MP3"_s.arg(bytes->size())};
        }
    }
    // A 200 with a malformed body is reported as an HTTP error with code 200:
    // that is how a broken success reply shows up in the log.
    const QString details = validUtf8(outcome.body).value_or(u"(keine Details)"_s);
    return {std::nullopt, u"[TTS] Fehler HTTP %1: "_s.arg(outcome.status) + masked(details, token)};
}

} // namespace kalvo
