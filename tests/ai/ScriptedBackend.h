#pragma once

#include "LoopbackServer.h"

#include <QHash>
#include <QHttpServerRequest>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>

namespace test {

// A stand-in for the AI backend on the loopback interface: each endpoint
// answers the steps it was given, in order, and records what it received.
// A request beyond the script gets a 500.
class ScriptedBackend : public kalvo::sim::LoopbackServer
{
public:
    static inline const QString modelPath = QStringLiteral("/_functions/aiClaude");
    static inline const QString speechPath = QStringLiteral("/_functions/aiTTS");

    struct Step
    {
        bool hang = false; // keep the connection open without a word
        kalvo::sim::HttpReply reply;
    };

    static Step hang() { return {true, {}}; }
    static Step raw(int status, QByteArray body, QByteArray contentType = "application/json")
    {
        return {false, {status, std::move(contentType), std::move(body)}};
    }
    static Step envelope(const QJsonObject &object, int status = 200)
    {
        return raw(status, QJsonDocument(object).toJson(QJsonDocument::Compact));
    }
    // What the backend sends when the model answered `text`.
    static Step modelText(const QString &text) { return envelope({{"ok", true}, {"text", text}}); }
    static Step failure(int status = 500) { return raw(status, "backend failure", "text/plain"); }

    ScriptedBackend()
    {
        start();
        for (const QString &path : {modelPath, speechPath})
            route(path, [this, path](const kalvo::sim::RecordedRequest &) { return next(path); });
    }

    QUrl base() const { return QUrl(baseUrl().toString() + QStringLiteral("/_functions")); }

    void script(const QString &path, const QList<Step> &steps) { m_steps[path] += steps; }

    QList<QJsonObject> bodies(const QString &path) const
    {
        QList<QJsonObject> result;
        for (const kalvo::sim::RecordedRequest &request : requests()) {
            if (request.path == path)
                result.append(QJsonDocument::fromJson(request.body).object());
        }
        return result;
    }
    QStringList models() const
    {
        QStringList result;
        for (const QJsonObject &body : bodies(modelPath))
            result.append(body.value("model").toString());
        return result;
    }

protected:
    bool handleRequest(const QHttpServerRequest &request, QTcpSocket *socket) override
    {
        const QString path = request.url().path();
        QList<Step> &steps = m_steps[path];
        if (steps.isEmpty() || !steps.first().hang)
            return LoopbackServer::handleRequest(request, socket);
        steps.removeFirst();
        setFault(path, {kalvo::sim::Fault::Kind::Hang, 0, 0});
        LoopbackServer::handleRequest(request, socket);
        clearFault(path);
        return true;
    }

private:
    kalvo::sim::HttpReply next(const QString &path)
    {
        QList<Step> &steps = m_steps[path];
        if (steps.isEmpty())
            return {500, "text/plain", "unscripted request"};
        return steps.takeFirst().reply;
    }

    QHash<QString, QList<Step>> m_steps;
};

} // namespace test
