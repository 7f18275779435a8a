#include "../TestSupport.h"
#include "BackendClient.h"

#include "BackendServer.h"
#include "FaultOption.h"
#include "ai/NewsPrompts.h"

#include <QJsonArray>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <memory>

using namespace kalvo::backend;
using namespace kalvo::sim;
using namespace std::chrono_literals;
using kalvo::compactJson;

namespace {

const QString alpha = u"alpha-7f3c9e21d4b8"_s;
const QString beta = u"beta-0a91c4e7f2d6-schlüssel"_s;
const QString anthropicKey = u"sk-ant-test-4471"_s;
const QString openaiKey = u"sk-openai-test-9120"_s;
const QByteArray fakeMp3 = QByteArray("\xFF\xF3\x44\xC4", 4) + QByteArray(412, '\x55');

// One server with a log that the test reads and a clock it moves.
struct Harness
{
    explicit Harness(const std::function<void(BackendOptions &)> &adjust = {})
    {
        BackendOptions options;
        options.tokens = {alpha, beta, QString()}; // an empty entry never matches
        options.log = [lines = logLines](const QString &line) { lines->append(line); };
        options.monotonicMs = [now = nowMs] { return *now; };
        if (adjust)
            adjust(options);
        server = std::make_unique<BackendServer>(options);
        server->listen();
    }

    QUrl url(const QString &path) const { return QUrl(server->functionsUrl().toString() + path); }
    test::HttpResult call(const QString &path, const QJsonObject &body)
    {
        return test::post(network, url(path), compactJson(body));
    }
    test::HttpResult callModel(const QString &token, const QString &prompt)
    {
        return call(u"/aiClaude"_s, test::modelCall(token, prompt));
    }

    std::shared_ptr<QStringList> logLines = std::make_shared<QStringList>();
    std::shared_ptr<qint64> nowMs = std::make_shared<qint64>(0);
    std::unique_ptr<BackendServer> server;
    QNetworkAccessManager network;
};

// Idle and refused connections end at once; the request time-out stays
// generous unless a test is about it.
std::function<void(BackendOptions &)> quickToClose(std::chrono::milliseconds requestTimeout = 2s)
{
    return [requestTimeout](BackendOptions &options) {
        options.requestTimeout = requestTimeout;
        options.idleTimeout = 150ms;
        options.lingerTimeout = 100ms;
    };
}

// A client that speaks raw bytes, so that it can lie about lengths, stall and
// send more than any real client library would.
struct RawClient
{
    explicit RawClient(quint16 port)
    {
        QObject::connect(&socket, &QIODevice::readyRead, [this] { received += socket.readAll(); });
        socket.connectToHost(QHostAddress::LocalHost, port);
        socket.waitForConnected(5000);
    }

    bool waitUntilClosed()
    {
        return QTest::qWaitFor([this] { return socket.state() == QAbstractSocket::UnconnectedState; }, 5000);
    }
    bool waitForReplies(int count)
    {
        return QTest::qWaitFor([&] { return received.count("HTTP/1.1 ") >= count && received.endsWith('}'); }, 5000);
    }
    QByteArray statusLine() const { return received.left(received.indexOf("\r\n")); }

    QTcpSocket socket;
    QByteArray received;
};

QByteArray head(const QByteArray &extraHeaders)
{
    return "POST /_functions/aiClaude HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Type: application/json\r\n" + extraHeaders
        + "\r\n";
}

QByteArray lengthHead(const QByteArray &body)
{
    return head("Content-Length: " + QByteArray::number(body.size()) + "\r\n");
}

// Stand-ins for both vendors on one loopback server; its faults cover hangs
// and broken bodies.
struct FakeVendors
{
    FakeVendors()
    {
        server.route(u"/anthropic/v1/messages"_s, [this](const RecordedRequest &) -> kalvo::sim::HttpReply {
            QJsonArray content{QJsonObject{{u"type"_s, u"thinking"_s}, {u"thinking"_s, u"…"_s}}};
            if (withText)
                content.append(QJsonObject{{u"type"_s, u"text"_s}, {u"text"_s, u"{\"score\":7} – „Antwort“"_s}});
            const QJsonObject reply{{u"id"_s, u"msg_01"_s}, {u"type"_s, u"message"_s}, {u"content"_s, content}};
            return {200, "application/json", compactJson(reply)};
        });
        server.route(u"/v1/audio/speech"_s, [](const RecordedRequest &) -> kalvo::sim::HttpReply {
            return {200, "audio/mpeg", fakeMp3};
        });
        server.start();
    }

    // A backend in proxy mode that reaches the vendors here.
    void serve(BackendOptions &options) const
    {
        options.mode = BackendOptions::Mode::Proxy;
        options.anthropicKey = anthropicKey;
        options.openaiKey = openaiKey;
        options.anthropicBase = QUrl(server.baseUrl().toString() + u"/anthropic/"_s); // a path is kept
        options.openaiBase = server.baseUrl();
        options.modelTimeout = 300ms;
        options.speechTimeout = 300ms;
    }

    LoopbackServer server;
    bool withText = true; // false: the model answers with a thinking block only
};

QUrl closedPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost);
    const quint16 port = probe.serverPort();
    probe.close();
    return QUrl(u"http://127.0.0.1:%1"_s.arg(port));
}

} // namespace

class TestBackendServer : public QObject
{
    Q_OBJECT

private slots:
    void readsTheSetup()
    {
        const QStringList both{u"alpha"_s, u"beta"_s};
        QCOMPARE(BackendSetup::tokensFromFile("  alpha \r\n\r\n\tbeta\r\n"), both);
        QCOMPARE(BackendSetup::tokensFromFile("# app tokens\nalpha\n  # old: beta\n"), QStringList{u"alpha"_s});
        QCOMPARE(BackendSetup::tokensFromFile(""), QStringList());
        QCOMPARE(BackendSetup::tokensFromList(u" alpha , ,beta,"_s), both);

        using Keys = QMap<QString, QString>;
        QCOMPARE(BackendSetup::keysFromFile("export ANTHROPIC_API_KEY=\"sk-a=1\"\nOPENAI_API_KEY='sk-o'\n"),
                 (Keys{{u"ANTHROPIC_API_KEY"_s, u"sk-a=1"_s}, {u"OPENAI_API_KEY"_s, u"sk-o"_s}}));
        QCOMPARE(BackendSetup::keysFromFile("# keys\nnot a key line\n=value\nOPENAI_API_KEY = sk-o \n"),
                 (Keys{{u"OPENAI_API_KEY"_s, u"sk-o"_s}}));
    }

    void refusesBadRequests_data()
    {
        QTest::addColumn<QString>("request"); // method and path
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("error");

        const QJsonObject good = test::modelCall(alpha, u"ping"_s);
        const QJsonObject speech = test::speechCall(alpha, u"Hallo"_s);
        const auto with = [](const QJsonObject &object, const QString &key,
                             const QJsonValue &value = QJsonValue::Undefined) {
            return compactJson(test::with(object, key, value));
        };
        const auto bad = [](const char *name, const QString &request, const QByteArray &body, int status,
                            const QString &error) { QTest::newRow(name) << request << body << status << error; };
        const QString model = u"POST /aiClaude"_s;
        const QString tts = u"POST /aiTTS"_s;

        bad("not JSON", model, "{\"token\": ", 400, u"malformed JSON"_s);
        bad("JSON array", model, "[1,2]", 400, u"malformed JSON"_s);
        bad("token a number", model, with(good, u"token"_s, 7), 401, u"unauthorized"_s);
        bad("empty token", model, with(good, u"token"_s, QString()), 401, u"unauthorized"_s);
        bad("token a prefix of one", model, with(good, u"token"_s, alpha.chopped(1)), 401, u"unauthorized"_s);
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
        bad("unknown path", u"POST /aiGPT"_s, compactJson(good), 404, u"not found"_s);
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

    // Refused before the body is in: the answer has to come before the rest
    // of what the head announces would have arrived.
    void refusesOnTheHead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QByteArray>("statusLine");

        const QByteArray tooLarge = "HTTP/1.1 413 Payload Too Large";
        const QByteArray bad = "HTTP/1.1 400 Bad Request";
        QTest::newRow("50 MB announced") << head("Content-Length: 52428800\r\n") + QByteArray(64 * 1024, 'x') << tooLarge;
        QTest::newRow("50 MB with 100-continue") << head("Content-Length: 52428800\r\nExpect: 100-continue\r\n")
                                                 << tooLarge;
        QByteArray chunks;
        for (int i = 0; i < 20; ++i) // 1280 KiB in chunks of 64 KiB
            chunks += "10000\r\n" + QByteArray(64 * 1024, 'x') + "\r\n";
        QTest::newRow("chunked past the limit") << head("Transfer-Encoding: chunked\r\n") + chunks << tooLarge;
        QTest::newRow("length and chunked at once") << head("Content-Length: 10\r\nTransfer-Encoding: chunked\r\n")
                                                    << bad;
        QTest::newRow("length not a number") << head("Content-Length: 1e3\r\n") << bad;
        QTest::newRow("endless head") << QByteArray("GET /_functions/appVersion HTTP/1.1\r\nX-Filler: ")
                                             + QByteArray(64 * 1024, 'y')
                                      << QByteArray("HTTP/1.1 431 Request Header Fields Too Large");
    }

    void refusesOnTheHead()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QByteArray, statusLine);
        Harness harness(quickToClose());
        RawClient client(harness.server->port());
        client.socket.write(bytes);
        QVERIFY(client.waitUntilClosed());
        QCOMPARE(client.statusLine(), statusLine);
        // Exactly one reply, and no "100 Continue" invitation before it.
        QCOMPARE(client.received.count("HTTP/1.1 "), 1);
        QVERIFY(client.received.contains("Connection: close"));
        QVERIFY(client.received.endsWith("\"ok\":false}"));
    }

    void acceptsBodiesUpToTheLimit_data()
    {
        QTest::addColumn<qsizetype>("size");
        QTest::addColumn<int>("status");
        QTest::newRow("exactly 1 MiB") << qsizetype(1024 * 1024) << 200;
        QTest::newRow("1 MiB and one byte") << qsizetype(1024 * 1024 + 1) << 413;
    }

    void acceptsBodiesUpToTheLimit()
    {
        QFETCH(qsizetype, size);
        QFETCH(int, status);
        Harness harness;
        QJsonObject call = test::modelCall(alpha, u"ping"_s);
        call.insert(u"padding"_s, QString());
        call.insert(u"padding"_s, QString(size - compactJson(call).size(), u'p'));
        const QByteArray body = compactJson(call);
        QCOMPARE(body.size(), size);
        QCOMPARE(test::post(harness.network, harness.url(u"/aiClaude"_s), body).status, status);
    }

    // A client that sends one byte every 25 ms gets a 408; one that sends
    // nothing is closed without a word.
    void endsSlowAndIdleClients()
    {
        Harness harness(quickToClose(150ms));
        RawClient slow(harness.server->port());
        const QByteArray body = compactJson(test::modelCall(alpha, u"ping"_s));
        slow.socket.write(lengthHead(body));
        qsizetype sent = 0;
        while (sent < body.size() && slow.socket.state() == QAbstractSocket::ConnectedState) {
            slow.socket.write(body.mid(sent++, 1));
            QTest::qWait(25);
        }
        QVERIFY(slow.waitUntilClosed());
        QCOMPARE(slow.statusLine(), QByteArray("HTTP/1.1 408 Request Timeout"));
        QVERIFY(sent < body.size());

        RawClient idle(harness.server->port());
        QVERIFY(idle.waitUntilClosed());
        QVERIFY(idle.received.isEmpty());
    }

    // A plain and a chunked request on one connection, both answered.
    void keepsTheConnectionForFurtherRequests()
    {
        Harness harness;
        RawClient client(harness.server->port());
        const QByteArray body = compactJson(test::modelCall(alpha, u"ping"_s));
        client.socket.write(lengthHead(body) + body);
        QVERIFY(client.waitForReplies(1));
        client.socket.write(head("Transfer-Encoding: chunked\r\n") + QByteArray::number(body.size(), 16) + "\r\n" + body
                            + "\r\n0\r\n\r\n");
        QVERIFY(client.waitForReplies(2));
        QCOMPARE(client.received.count("HTTP/1.1 200 OK"), 2);
        QCOMPARE(client.received.count("\"text\":\"pong\""), 2);
    }

    // Each token, whatever its characters, has a bucket of three calls.
    void limitsEachTokensRate_data()
    {
        QTest::addColumn<double>("perMinute");
        QTest::addColumn<QStringList>("steps"); // "a"/"b": a call with that token; "+ms": time passes
        QTest::addColumn<QStringList>("answers"); // per call: the status, and Retry-After with a 429

        const QStringList full{u"200"_s, u"200"_s, u"200"_s};
        QTest::newRow("tokens have their own buckets")
            << 60.0 << QStringList{u"a"_s, u"a"_s, u"a"_s, u"a"_s, u"b"_s} << full + QStringList{u"429 1"_s, u"200"_s};
        QTest::newRow("one request per second comes back")
            << 60.0 << QStringList{u"a"_s, u"a"_s, u"a"_s, u"+999"_s, u"a"_s, u"+1"_s, u"a"_s, u"a"_s}
            << full + QStringList{u"429 1"_s, u"200"_s, u"429 1"_s};
        QTest::newRow("six a minute: the wait rounds up, then passes")
            << 6.0 << QStringList{u"a"_s, u"a"_s, u"a"_s, u"+7500"_s, u"a"_s, u"+2500"_s, u"a"_s}
            << full + QStringList{u"429 3"_s, u"200"_s};
        QTest::newRow("nothing ever refills") << 0.0 << QStringList{u"a"_s, u"a"_s, u"a"_s, u"+1000000"_s, u"a"_s}
                                              << full + QStringList{u"429 3600"_s};
    }

    void limitsEachTokensRate()
    {
        QFETCH(double, perMinute);
        QFETCH(QStringList, steps);
        QFETCH(QStringList, answers);
        Harness harness([perMinute](BackendOptions &options) {
            options.burst = 3;
            options.requestsPerMinute = perMinute;
        });
        QStringList seen;
        for (const QString &step : steps) {
            if (step.startsWith(u'+')) {
                *harness.nowMs += step.mid(1).toLongLong();
                continue;
            }
            const test::HttpResult result = harness.callModel(step == "a"_L1 ? alpha : beta, u"ping"_s);
            seen << QString::number(result.status);
            if (result.status == 429) {
                QCOMPARE(result.json().value("error"_L1).toString(), u"rate limited"_s);
                seen.last() += u' ' + QString::fromLatin1(result.headers.value("retry-after"));
            }
        }
        QCOMPARE(seen, answers);
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

    // Refusals of the connection guard are logged like any other answer.
    void logsEveryRequestWithoutSecrets()
    {
        Harness harness;
        const QString secretPrompt =
            kalvo::NewsPrompts::quickScoring(test::news(0, u"Zebrafant market crash"_s, u"Wire"_s, u"Zebrafant"_s));
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
        const QString scoring = kalvo::NewsPrompts::quickScoring(test::sampleNews().first());
        for (int client = 0; client < 20; ++client) {
            clients.push_back(std::make_unique<QNetworkAccessManager>());
            for (int i = 0; i < 10; ++i) {
                const bool probe = (client + i) % 2;
                const QByteArray body =
                    compactJson(test::modelCall(client % 2 ? alpha : beta, probe ? u"ping"_s : scoring));
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
                QVERIFY(result.json().value("text"_L1).toString().contains(u"\"urgency\""_s));
        }
        QTRY_COMPARE(harness.logLines->size(), 200);
    }

    void refusesSpeechBeyondTheQueue()
    {
        Harness harness([](BackendOptions &options) { options.maxQueuedSpeech = 1; });
        const QString text = u"Die Forex-Märkte öffnen am Sonntagabend in Sydney, danach folgen Tokio, London und "
                             u"New York mit den wichtigsten Daten der Woche."_s;
        const QByteArray body = compactJson(test::speechCall(alpha, text));
        QList<QNetworkReply *> replies;
        for (int i = 0; i < 3; ++i)
            replies << test::startPost(harness.network, harness.url(u"/aiTTS"_s), body);
        QList<int> statuses;
        for (QNetworkReply *reply : replies)
            statuses << test::finish(reply).status;
        std::sort(statuses.begin(), statuses.end());
        QCOMPARE(statuses, (QList<int>{200, 503, 503}));
    }

    void forwardsToTheVendors_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QJsonObject>("call");
        QTest::addColumn<QJsonObject>("reply");
        QTest::addColumn<QString>("vendorPath");
        QTest::addColumn<QJsonObject>("vendorHeaders"); // of x-api-key, anthropic-version, authorization
        QTest::addColumn<QJsonObject>("vendorBody");

        const QString prompt = u"Forex-Analyst. Bewerte diese News.\nTitel: „Fed“ senkt\nQuelle: X"_s;
        QTest::newRow("model") << u"/aiClaude"_s << test::modelCall(alpha, prompt, 900, u"claude-opus-4-5"_s)
                               << QJsonObject{{u"ok"_s, true}, {u"text"_s, u"{\"score\":7} – „Antwort“"_s}}
                               << u"/anthropic/v1/messages"_s
                               << QJsonObject{{u"x-api-key"_s, anthropicKey}, {u"anthropic-version"_s, u"2023-06-01"_s}}
                               << QJsonObject{{u"model"_s, u"claude-opus-4-5"_s},
                                              {u"max_tokens"_s, 900},
                                              {u"messages"_s, QJsonArray{QJsonObject{{u"role"_s, u"user"_s},
                                                                                     {u"content"_s, prompt}}}}};
        const QString text = u"Die Märkte sind geschlossen."_s;
        QTest::newRow("speech") << u"/aiTTS"_s << test::speechCall(alpha, text)
                                << QJsonObject{{u"ok"_s, true}, {u"audioBase64"_s, QString::fromLatin1(fakeMp3.toBase64())}}
                                << u"/v1/audio/speech"_s << QJsonObject{{u"authorization"_s, u"Bearer "_s + openaiKey}}
                                << QJsonObject{{u"model"_s, u"tts-1"_s}, {u"voice"_s, u"alloy"_s}, {u"input"_s, text},
                                               {u"response_format"_s, u"mp3"_s}};
    }

    void forwardsToTheVendors()
    {
        QFETCH(QString, endpoint);
        QFETCH(QJsonObject, call);
        QFETCH(QJsonObject, reply);
        QFETCH(QString, vendorPath);
        QFETCH(QJsonObject, vendorHeaders);
        QFETCH(QJsonObject, vendorBody);
        FakeVendors vendors;
        Harness harness([&](BackendOptions &options) { vendors.serve(options); });
        const test::HttpResult result = harness.call(endpoint, call);
        QCOMPARE(result.status, 200);
        QCOMPARE(result.json(), reply);

        QCOMPARE(vendors.server.requests().size(), 1);
        const RecordedRequest &sent = vendors.server.requests().first();
        QCOMPARE(sent.method, QByteArray("POST"));
        QCOMPARE(sent.path, vendorPath);
        QCOMPARE(sent.headers.value("content-type"), QByteArray("application/json"));
        for (const char *name : {"x-api-key", "anthropic-version", "authorization"}) {
            QCOMPARE(sent.headers.contains(name), vendorHeaders.contains(QLatin1StringView(name)));
            QCOMPARE(sent.headers.value(name), vendorHeaders.value(QLatin1StringView(name)).toString().toUtf8());
        }
        QCOMPARE(QJsonDocument::fromJson(sent.body).object(), vendorBody);
        // The app's access token is the backend's business, never the vendor's.
        QVERIFY(!sent.body.contains(alpha.toUtf8()));
    }

    void mapsVendorFailures_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QString>("trouble"); // a fault of the vendor's path, or what else goes wrong
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("error");

        const QString model = u"/aiClaude"_s;
        const QString speech = u"/aiTTS"_s;
        QTest::newRow("model: vendor error") << model << u"status:500"_s << 502 << u"vendor status 500"_s;
        QTest::newRow("model: cut short") << model << u"truncate"_s << 502 << u"vendor reply unreadable"_s;
        QTest::newRow("model: no text block") << model << u"no text"_s << 502 << u"vendor reply without text"_s;
        QTest::newRow("model: hangs") << model << u"hang"_s << 504 << u"vendor timeout"_s;
        QTest::newRow("model: nobody listens") << model << u"unreachable"_s << 502 << u"vendor unreachable"_s;
        QTest::newRow("model: no key") << model << u"no key"_s << 503 << u"vendor key missing"_s;
        QTest::newRow("speech: not MP3") << speech << u"garbage"_s << 502 << u"vendor reply not audio"_s;
        QTest::newRow("speech: hangs") << speech << u"hang"_s << 504 << u"vendor timeout"_s;
        QTest::newRow("speech: no key") << speech << u"no key"_s << 503 << u"vendor key missing"_s;
    }

    void mapsVendorFailures()
    {
        QFETCH(QString, endpoint);
        QFETCH(QString, trouble);
        QFETCH(int, status);
        QFETCH(QString, error);

        const bool toModel = endpoint == "/aiClaude"_L1;
        const QString vendorPath = toModel ? u"/anthropic/v1/messages"_s : u"/v1/audio/speech"_s;
        FakeVendors vendors;
        vendors.withText = trouble != "no text"_L1;
        if (const std::optional<FaultOption> fault = parseFaultOption(trouble + u'@' + vendorPath))
            vendors.server.setFault(fault->target, fault->fault);
        Harness harness([&](BackendOptions &options) {
            vendors.serve(options);
            if (trouble == "unreachable"_L1)
                (toModel ? options.anthropicBase : options.openaiBase) = closedPort();
            if (trouble == "no key"_L1)
                (toModel ? options.anthropicKey : options.openaiKey).clear();
        });

        const QJsonObject body = toModel ? test::modelCall(alpha, u"ping"_s, 10) : test::speechCall(alpha, u"Hallo"_s);
        const test::HttpResult result = harness.call(endpoint, body);
        QCOMPARE(result.status, status);
        QCOMPARE(result.json(), (QJsonObject{{u"ok"_s, false}, {u"error"_s, error}}));
        if (trouble == "no key"_L1)
            QCOMPARE(vendors.server.requests().size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestBackendServer)
#include "tst_backendserver.moc"
