#include "AppPrompts.h"
#include "BackendClient.h"

#include "BackendServer.h"

#include <QJsonArray>
#include <QTest>

#include <memory>

using namespace kalvo::backend;

namespace {

const QString alpha = u"alpha-7f3c9e21d4b8"_s;
const QString beta = u"beta-0a91c4e7f2d6"_s;

// One offline server with a log that the test reads and a clock it moves.
struct Harness
{
    explicit Harness(const std::function<void(BackendOptions &)> &adjust = {})
    {
        BackendOptions options;
        options.tokens = {alpha, beta};
        options.log = [lines = logLines](const QString &line) { lines->append(line); };
        options.monotonicMs = [now = nowMs] { return *now; };
        if (adjust)
            adjust(options);
        server = std::make_unique<BackendServer>(options);
        server->listen();
    }

    QUrl url(const QString &path) const { return QUrl(server->functionsUrl().toString() + path); }
    test::HttpResult callModel(const QString &token, const QString &prompt)
    {
        return test::post(network, url(u"/aiClaude"_s), test::modelCall(token, prompt));
    }

    std::shared_ptr<QStringList> logLines = std::make_shared<QStringList>();
    std::shared_ptr<qint64> nowMs = std::make_shared<qint64>(0);
    std::unique_ptr<BackendServer> server;
    QNetworkAccessManager network;
};

QByteArray compact(const QJsonObject &object)
{
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

class TestBackendServer : public QObject
{
    Q_OBJECT

private slots:
    void refusesBadRequests_data()
    {
        QTest::addColumn<QString>("request"); // method and path
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("error");

        const QJsonObject good = test::modelCall(alpha, u"ping"_s);
        const QJsonObject speech = test::speechCall(alpha, u"Hallo"_s);
        const auto with = [](QJsonObject object, const QString &key, const QJsonValue &value = QJsonValue::Undefined) {
            if (value.isUndefined())
                object.remove(key);
            else
                object.insert(key, value);
            return compact(object);
        };
        const auto bad = [](const char *name, const QString &request, const QByteArray &body, int status,
                            const QString &error) { QTest::newRow(name) << request << body << status << error; };
        const QString model = u"POST /aiClaude"_s;
        const QString tts = u"POST /aiTTS"_s;

        bad("not JSON", model, "{\"token\": ", 400, u"malformed JSON"_s);
        bad("JSON array", model, "[1,2]", 400, u"malformed JSON"_s);
        bad("token a number", model, with(good, u"token"_s, 7), 401, u"unauthorized"_s);
        bad("empty token", model, with(good, u"token"_s, QString()), 401, u"unauthorized"_s);
        bad("speech without token", tts, with(speech, u"token"_s), 401, u"unauthorized"_s);
        bad("model a number", model, with(good, u"model"_s, 4), 400, u"model missing"_s);
        bad("maxTokens text", model, with(good, u"maxTokens"_s, u"350"_s), 400, u"maxTokens invalid"_s);
        bad("maxTokens zero", model, with(good, u"maxTokens"_s, 0), 400, u"maxTokens invalid"_s);
        bad("maxTokens huge", model, with(good, u"maxTokens"_s, 1e9), 400, u"maxTokens invalid"_s);
        bad("blank prompt", model, with(good, u"prompt"_s, u"  \n"_s), 400, u"prompt missing"_s);
        bad("unknown prompt", model, with(good, u"prompt"_s, u"Wie wird das Wetter?"_s), 422, u"unknown prompt"_s);
        bad("speech without text", tts, with(speech, u"text"_s), 400, u"text missing"_s);
        bad("speech text over 4096 characters", tts, with(speech, u"text"_s, QString(4097, u'a')), 400,
            u"text too long"_s);
        bad("model call by GET", u"GET /aiClaude"_s, {}, 405, u"method not allowed"_s);
        bad("unknown path", u"POST /aiGPT"_s, compact(good), 404, u"not found"_s);
    }

    void refusesBadRequests()
    {
        QFETCH(QString, request);
        QFETCH(QByteArray, body);
        QFETCH(int, status);
        QFETCH(QString, error);

        Harness harness;
        const QNetworkRequest sent = test::jsonRequest(harness.url(request.section(u' ', 1)));
        const test::HttpResult result =
            test::finish(harness.network.sendCustomRequest(sent, request.section(u' ', 0, 0).toLatin1(), body));
        QCOMPARE(result.status, status);
        // A refusal says why in two words and nothing more: no echo of the
        // request, no hint about valid tokens or models.
        QCOMPARE(result.json(), (QJsonObject{{u"ok"_s, false}, {u"error"_s, error}}));
        QVERIFY(!result.headers.contains("retry-after"));
    }

    void limitsEachTokensRate_data()
    {
        QTest::addColumn<QStringList>("steps"); // "a"/"b": a call with that token; "+ms": time passes
        QTest::addColumn<QList<int>>("statuses"); // one per call

        QTest::newRow("tokens have their own buckets") << QStringList{u"a"_s, u"a"_s, u"a"_s, u"a"_s, u"b"_s}
                                                       << QList<int>{200, 200, 200, 429, 200};
        QTest::newRow("one request per second comes back")
            << QStringList{u"a"_s, u"a"_s, u"a"_s, u"+999"_s, u"a"_s, u"+1"_s, u"a"_s, u"a"_s}
            << QList<int>{200, 200, 200, 429, 200, 429};
    }

    void limitsEachTokensRate()
    {
        QFETCH(QStringList, steps);
        QFETCH(QList<int>, statuses);
        Harness harness([](BackendOptions &options) {
            options.burst = 3;
            options.requestsPerMinute = 60;
        });
        QList<int> seen;
        for (const QString &step : steps) {
            if (step.startsWith(u'+')) {
                *harness.nowMs += step.mid(1).toLongLong();
                continue;
            }
            const test::HttpResult result = harness.callModel(step == "a"_L1 ? alpha : beta, u"ping"_s);
            seen << result.status;
            if (result.status == 429) {
                QCOMPARE(result.json().value("error"_L1).toString(), u"rate limited"_s);
                QCOMPARE(result.headers.value("retry-after"), QByteArray("1"));
            }
        }
        QCOMPARE(seen, statuses);
    }

    void announcesTheRelease()
    {
        Harness harness([](BackendOptions &options) {
            options.release = {u"2.3.1"_s, u"https://example.org/kalvo-2.3.1.dmg"_s, u"Neue Briefings"_s};
        });
        const QJsonObject expected{{u"version"_s, u"2.3.1"_s},
                                   {u"downloadUrl"_s, u"https://example.org/kalvo-2.3.1.dmg"_s},
                                   {u"releaseNotes"_s, u"Neue Briefings"_s}};
        QCOMPARE(test::get(harness.network, harness.url(u"/appVersion"_s)).json(), expected);
        const QUrl dev(u"http://127.0.0.1:%1/_functions-dev/appVersion"_s.arg(harness.server->port()));
        QCOMPARE(test::get(harness.network, dev).json(), expected);
        Harness defaults;
        QCOMPARE(test::get(defaults.network, defaults.url(u"/appVersion"_s)).json().value("version"_L1).toString(),
                 QStringLiteral(KALVO_VERSION));
    }

    void logsEveryRequestWithoutSecrets()
    {
        Harness harness;
        const QString secretPrompt = prompts::quickScoring(u"Zebrafant market crash"_s, u"Wire"_s, u"Zebrafant"_s);
        QCOMPARE(harness.callModel(alpha, secretPrompt).status, 200);
        QCOMPARE(harness.callModel(u"Zebrafant-token"_s, u"ping"_s).status, 401);
        QCOMPARE(harness.callModel(alpha, QString(1100 * 1024, u'Z')).status, 413);

        const QStringList expected{u" POST /_functions/aiClaude 200 "_s, u" POST /_functions/aiClaude 401 "_s,
                                   u" POST /_functions/aiClaude 413 "_s};
        QTRY_COMPARE(harness.logLines->size(), expected.size());
        for (qsizetype i = 0; i < expected.size(); ++i) {
            const QString &line = harness.logLines->at(i);
            QVERIFY2(line.startsWith(u"[Backend] "_s) && line.contains(expected[i]) && line.contains(u"ms"_s),
                     qPrintable(line));
            QVERIFY2(!line.contains(u"Zebrafant"_s) && !line.contains(alpha), qPrintable(line));
        }
    }

    void servesTwoHundredConcurrentRequests()
    {
        Harness harness([](BackendOptions &options) { options.burst = 1000; });
        // Twenty clients with up to six connections each: the server sees
        // over a hundred connections at once.
        std::vector<std::unique_ptr<QNetworkAccessManager>> clients;
        QList<QPair<QNetworkReply *, bool>> replies; // true: the probe
        const QString scoring = prompts::quickScoring(u"Fed cuts rates"_s, u"Reuters"_s, u"c"_s);
        for (int client = 0; client < 20; ++client) {
            clients.push_back(std::make_unique<QNetworkAccessManager>());
            for (int i = 0; i < 10; ++i) {
                const bool probe = (client + i) % 2;
                const QByteArray body = compact(test::modelCall(client % 2 ? alpha : beta, probe ? u"ping"_s : scoring));
                replies.append({test::startPost(*clients.back(), harness.url(u"/aiClaude"_s), body), probe});
            }
        }
        for (const auto &[reply, probe] : std::as_const(replies)) {
            const test::HttpResult result = test::finish(reply);
            QCOMPARE(result.status, 200);
            QCOMPARE(result.headers.value("content-type"), QByteArray("application/json"));
            if (probe)
                QCOMPARE(result.json().value("text"_L1).toString(), u"pong"_s);
            else
                QVERIFY(test::replyObject(result).contains(u"urgency"_s));
        }
        QTRY_COMPARE(harness.logLines->size(), 200);
    }

    void refusesSpeechBeyondTheQueue()
    {
        Harness harness([](BackendOptions &options) { options.maxQueuedSpeech = 1; });
        const QString text = u"Die Forex-Märkte öffnen am Sonntagabend in Sydney, danach folgen Tokio, London und "
                             u"New York mit den wichtigsten Daten der Woche."_s;
        QList<QNetworkReply *> replies;
        for (int i = 0; i < 3; ++i)
            replies << test::startPost(harness.network, harness.url(u"/aiTTS"_s), compact(test::speechCall(alpha, text)));
        QList<int> statuses;
        for (QNetworkReply *reply : replies)
            statuses << test::finish(reply).status;
        std::sort(statuses.begin(), statuses.end());
        QCOMPARE(statuses, (QList<int>{200, 503, 503}));
    }
};

QTEST_GUILESS_MAIN(TestBackendServer)
#include "tst_backendserver.moc"
