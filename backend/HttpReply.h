#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

class QJsonObject;
class QTcpSocket;

namespace kalvo::backend {

// One HTTP answer of the backend. Failures always carry a JSON body
// {"ok": false, "error": short reason}; `error` repeats the reason for the
// request log.
struct HttpReply
{
    int status = 200;
    QByteArray contentType = "application/json";
    QByteArray body;
    QList<QPair<QByteArray, QByteArray>> headers; // beyond type, length and connection
    QString error;
    bool closeConnection = false;

    static HttpReply json(int status, const QJsonObject &object);
    static HttpReply failure(int status, const QString &error);
    // {"ok": true, "text": text}
    static HttpReply modelText(const QString &text);
    // {"ok": true, "audioBase64": ...}; written without a JSON document so
    // that megabytes of audio are not copied three times.
    static HttpReply speechAudio(const QByteArray &mp3);

    bool isSuccess() const { return status == 200; }

    // The reply as bytes on the wire, HTTP/1.1.
    QByteArray serialized() const;
};

QByteArray reasonPhrase(int status);

} // namespace kalvo::backend
