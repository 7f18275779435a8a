#pragma once

#include "HttpReply.h"

#include <QString>

#include <optional>

namespace kalvo::backend {

class AccessTokens;

// POST /_functions/aiClaude: {"token", "model", "maxTokens", "prompt"}.
struct ModelCall
{
    QString model;
    int maxTokens = 0;
    QString prompt;
};

// POST /_functions/aiTTS: {"token", "model", "voice", "text"}.
struct SpeechCall
{
    QString model;
    QString voice;
    QString text;
};

struct WireLimits
{
    int maxTokens = 8192;
    int maxSpeechCharacters = 4096; // user-perceived characters, as the app cuts them
};

// The outcome of reading one request body, in the order the server acts on
// it: `refusal` answers a request that cannot be tied to a client (no JSON
// object, missing or wrong token); `client` names the token for the rate
// limiter; `invalid` answers the client's malformed call once the limiter
// has counted it; otherwise `call` is complete.
template<typename Call>
struct DecodedCall
{
    std::optional<HttpReply> refusal;
    int client = -1;
    std::optional<HttpReply> invalid;
    Call call;
};

// Pure and thread-safe: the server runs them on its worker threads.
DecodedCall<ModelCall> decodeModelCall(const QByteArray &body, const AccessTokens &tokens, const WireLimits &limits);
DecodedCall<SpeechCall> decodeSpeechCall(const QByteArray &body, const AccessTokens &tokens, const WireLimits &limits);

} // namespace kalvo::backend
