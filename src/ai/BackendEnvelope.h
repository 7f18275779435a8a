#pragma once

#include "AIBackendError.h"

#include <QByteArray>
#include <QNetworkReply>
#include <QString>

#include <optional>

namespace kalvo {

// What came back for one POST to the backend, reduced to what the backend
// contract looks at.
struct HttpOutcome
{
    enum class Kind {
        Transport, // the client gave up or the connection failed
        NotHttp,   // something answered, but not with an HTTP status
        Http,      // an HTTP status and its body, whatever the status
    };

    Kind kind = Kind::NotHttp;
    int status = 0;
    QByteArray body;
    QNetworkReply::NetworkError networkError = QNetworkReply::NoError;
    QString errorText;
};

// The text of a model reply: status 200 and a body {"ok": true, "text": "..."}.
// Parses JSON: call off the GUI thread.
ModelReply decodeModelReply(const HttpOutcome &outcome);

// The audio of a speech reply and the "[TTS] " line that reports the outcome.
struct SpeechReply
{
    std::optional<QByteArray> audio;
    QString logLine;
};

// Status 200 and {"ok": true, "audioBase64": "<standard base64>"} give the
// decoded bytes; everything else is logged with the status and the body.
// `token` is masked wherever the backend echoes it back. Parses JSON and
// decodes base64: call off the GUI thread.
SpeechReply decodeSpeechReply(const HttpOutcome &outcome, const QString &token);

} // namespace kalvo
