#include "HttpReply.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace kalvo::backend {

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 100: return "Continue";
    case 200: return "OK";
    case 400: return "Bad Request";
    case 401: return "Unauthorized";
    case 404: return "Not Found";
    case 405: return "Method Not Allowed";
    case 408: return "Request Timeout";
    case 411: return "Length Required";
    case 413: return "Payload Too Large";
    case 422: return "Unprocessable Content";
    case 429: return "Too Many Requests";
    case 431: return "Request Header Fields Too Large";
    case 500: return "Internal Server Error";
    case 502: return "Bad Gateway";
    case 503: return "Service Unavailable";
    case 504: return "Gateway Timeout";
    default: return "Status";
    }
}

HttpReply HttpReply::json(int status, const QJsonObject &object)
{
    HttpReply reply;
    reply.status = status;
    reply.body = QJsonDocument(object).toJson(QJsonDocument::Compact);
    return reply;
}

HttpReply HttpReply::failure(int status, const QString &error)
{
    HttpReply reply = json(status, QJsonObject{{u"ok"_s, false}, {u"error"_s, error}});
    reply.error = error;
    return reply;
}

HttpReply HttpReply::modelText(const QString &text)
{
    return json(200, QJsonObject{{u"ok"_s, true}, {u"text"_s, text}});
}

HttpReply HttpReply::speechAudio(const QByteArray &mp3)
{
    HttpReply reply;
    const QByteArray encoded = mp3.toBase64();
    reply.body.reserve(encoded.size() + 32);
    reply.body.append(R"({"ok":true,"audioBase64":")").append(encoded).append(R"("})");
    return reply;
}

QByteArray HttpReply::serialized() const
{
    QByteArray head = "HTTP/1.1 " + QByteArray::number(status) + ' ' + reasonPhrase(status) + "\r\n";
    head += "Content-Type: " + contentType + "\r\n";
    head += "Content-Length: " + QByteArray::number(body.size()) + "\r\n";
    head += "Cache-Control: no-store\r\n";
    for (const auto &[name, value] : headers)
        head += name + ": " + value + "\r\n";
    head += closeConnection ? "Connection: close\r\n\r\n" : "Connection: keep-alive\r\n\r\n";
    return head + body;
}

} // namespace kalvo::backend
