#include "BackendClient.h"

#include "BackendServer.h"
#include "LoopbackServer.h"

#include <QJsonArray>
#include <QTcpServer>
#include <QTest>

#include <memory>

using namespace kalvo::backend;
using namespace kalvo::sim;
using namespace std::chrono_literals;

namespace {

const QString token = u"proxy-93d1be04c7"_s;
const QString anthropicKey = u"sk-ant-test-4471"_s;
const QString openaiKey = u"sk-openai-test-9120"_s;
const QByteArray fakeMp3 = QByteArray("\xFF\xF3\x44\xC4", 4) + QByteArray(412, '\x55');

// Stand-ins for both vendors on one loopback server. `mode` decides what
// they answer; faults of the loopback server cover hangs and broken bodies.
struct FakeVendors
{
    FakeVendors()
    {
        const auto messages = [this](const RecordedRequest &) -> kalvo::sim::HttpReply {
            if (mode == "html"_L1)
                return {200, "text/html", "<html><body><h1>502 Bad Gateway</h1></body></html>"};
            QJsonArray content{QJsonObject{{u"type"_s, u"thinking"_s}, {u"thinking"_s, u"…"_s}}};
            if (mode != "no text"_L1)
                content.append(QJsonObject{{u"type"_s, u"text"_s}, {u"text"_s, u"{\"score\":7} – „Antwort“"_s}});
            const QJsonObject reply{{u"id"_s, u"msg_01"_s}, {u"type"_s, u"message"_s}, {u"content"_s, content}};
            return {200, "application/json", QJsonDocument(reply).toJson(QJsonDocument::Compact)};
        };
        server.route(u"/v1/messages"_s, messages);
        server.route(u"/anthropic/v1/messages"_s, messages);
        server.route(u"/v1/audio/speech"_s, [this](const RecordedRequest &) -> kalvo::sim::HttpReply {
            if (mode == "html"_L1)
                return {200, "text/html", "<!DOCTYPE html><html>Service Unavailable</html>"};
            if (mode == "json error"_L1)
                return {200, "application/json", R"({"error":{"message":"quota"}})"};
            return {200, "audio/mpeg", fakeMp3};
        });
        server.start();
    }

    LoopbackServer server;
    QString mode = u"ok"_s;
};

struct ProxyHarness
{
    explicit ProxyHarness(const std::function<void(BackendOptions &)> &adjust = {})
    {
        BackendOptions options;
        options.mode = BackendOptions::Mode::Proxy;
        options.tokens = {token};
        options.anthropicKey = anthropicKey;
        options.openaiKey = openaiKey;
        options.anthropicBase = vendors.server.baseUrl();
        options.openaiBase = vendors.server.baseUrl();
        options.modelTimeout = 300ms;
        options.speechTimeout = 300ms;
        options.log = [](const QString &) {};
        if (adjust)
            adjust(options);
        backend = std::make_unique<BackendServer>(options);
        backend->listen();
    }

    test::HttpResult call(const QString &endpoint, const QJsonObject &body)
    {
        return test::post(network, QUrl(backend->functionsUrl().toString() + endpoint), body);
    }

    FakeVendors vendors;
    std::unique_ptr<BackendServer> backend;
    QNetworkAccessManager network;
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

class TestVendorProxy : public QObject
{
    Q_OBJECT

private slots:
    void forwardsModelCalls_data()
    {
        QTest::addColumn<QString>("basePath");
        QTest::addColumn<QString>("vendorPath");
        QTest::newRow("vendor at the root") << QString() << u"/v1/messages"_s;
        QTest::newRow("vendor below a path") << u"/anthropic/"_s << u"/anthropic/v1/messages"_s;
    }

    void forwardsModelCalls()
    {
        QFETCH(QString, basePath);
        QFETCH(QString, vendorPath);
        FakeVendors *vendors = nullptr;
        ProxyHarness harness([&](BackendOptions &options) {
            options.anthropicBase = QUrl(options.anthropicBase.toString() + basePath);
        });
        vendors = &harness.vendors;
        const QString prompt = u"Forex-Analyst. Bewerte diese News.\nTitel: „Fed“ senkt\nQuelle: X"_s;
        const test::HttpResult result = harness.call(u"/aiClaude"_s, test::modelCall(token, prompt, 900, u"claude-opus-4-5"_s));

        QCOMPARE(result.status, 200);
        QCOMPARE(result.json(), (QJsonObject{{u"ok"_s, true}, {u"text"_s, u"{\"score\":7} – „Antwort“"_s}}));

        QCOMPARE(vendors->server.requests().size(), 1);
        const RecordedRequest &sent = vendors->server.requests().first();
        QCOMPARE(sent.method, QByteArray("POST"));
        QCOMPARE(sent.path, vendorPath);
        QCOMPARE(sent.headers.value("x-api-key"), anthropicKey.toUtf8());
        QCOMPARE(sent.headers.value("anthropic-version"), QByteArray("2023-06-01"));
        QCOMPARE(sent.headers.value("content-type"), QByteArray("application/json"));
        QVERIFY(!sent.headers.contains("authorization"));
        const QJsonObject expected{
            {u"model"_s, u"claude-opus-4-5"_s},
            {u"max_tokens"_s, 900},
            {u"messages"_s, QJsonArray{QJsonObject{{u"role"_s, u"user"_s}, {u"content"_s, prompt}}}},
        };
        QCOMPARE(QJsonDocument::fromJson(sent.body).object(), expected);
        // The app's access token is the backend's business, never the vendor's.
        QVERIFY(!sent.body.contains(token.toUtf8()));
    }

    void forwardsSpeechCalls()
    {
        ProxyHarness harness;
        const QString text = u"Die Märkte sind geschlossen."_s;
        const test::HttpResult result = harness.call(u"/aiTTS"_s, test::speechCall(token, text));

        QCOMPARE(result.status, 200);
        QCOMPARE(result.json().value("ok"_L1), QJsonValue(true));
        QCOMPARE(QByteArray::fromBase64(result.json().value("audioBase64"_L1).toString().toLatin1()), fakeMp3);

        QCOMPARE(harness.vendors.server.requests().size(), 1);
        const RecordedRequest &sent = harness.vendors.server.requests().first();
        QCOMPARE(sent.path, u"/v1/audio/speech"_s);
        QCOMPARE(sent.headers.value("authorization"), "Bearer " + openaiKey.toUtf8());
        QCOMPARE(sent.headers.value("content-type"), QByteArray("application/json"));
        QVERIFY(!sent.headers.contains("x-api-key"));
        const QJsonObject expected{{u"model"_s, u"tts-1"_s},
                                   {u"voice"_s, u"alloy"_s},
                                   {u"input"_s, text},
                                   {u"response_format"_s, u"mp3"_s}};
        QCOMPARE(QJsonDocument::fromJson(sent.body).object(), expected);
        QVERIFY(!sent.body.contains(token.toUtf8()));
    }

    void mapsVendorFailures_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QString>("trouble");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("error");

        const QString model = u"/aiClaude"_s;
        const QString speech = u"/aiTTS"_s;
        QTest::newRow("model: vendor error") << model << u"status 500"_s << 502 << u"vendor status 500"_s;
        QTest::newRow("model: HTML page") << model << u"html"_s << 502 << u"vendor reply unreadable"_s;
        QTest::newRow("model: cut short") << model << u"truncate"_s << 502 << u"vendor reply unreadable"_s;
        QTest::newRow("model: no text block") << model << u"no text"_s << 502 << u"vendor reply without text"_s;
        QTest::newRow("model: hangs") << model << u"hang"_s << 504 << u"vendor timeout"_s;
        QTest::newRow("model: slow but in time") << model << u"delay"_s << 200 << QString();
        QTest::newRow("model: nobody listens") << model << u"unreachable"_s << 502 << u"vendor unreachable"_s;
        QTest::newRow("model: no key") << model << u"no key"_s << 503 << u"vendor key missing"_s;
        QTest::newRow("speech: HTML page") << speech << u"html"_s << 502 << u"vendor reply not audio"_s;
        QTest::newRow("speech: JSON instead of audio") << speech << u"json error"_s << 502 << u"vendor reply not audio"_s;
        QTest::newRow("speech: empty body") << speech << u"empty"_s << 502 << u"vendor reply not audio"_s;
        QTest::newRow("speech: hangs") << speech << u"hang"_s << 504 << u"vendor timeout"_s;
        QTest::newRow("speech: vendor error") << speech << u"status 500"_s << 502 << u"vendor status 500"_s;
        QTest::newRow("speech: no key") << speech << u"no key"_s << 503 << u"vendor key missing"_s;
    }

    void mapsVendorFailures()
    {
        QFETCH(QString, endpoint);
        QFETCH(QString, trouble);
        QFETCH(int, status);
        QFETCH(QString, error);

        const bool toModel = endpoint == "/aiClaude"_L1;
        ProxyHarness harness([&](BackendOptions &options) {
            if (trouble == "unreachable"_L1)
                (toModel ? options.anthropicBase : options.openaiBase) = closedPort();
            if (trouble == "no key"_L1)
                (toModel ? options.anthropicKey : options.openaiKey).clear();
        });
        const QString vendorPath = toModel ? u"/v1/messages"_s : u"/v1/audio/speech"_s;
        harness.vendors.mode = trouble;
        static const QHash<QString, Fault> faults{{u"garbage"_s, {Fault::Kind::Garbage, 200, 0}},
                                                  {u"truncate"_s, {Fault::Kind::Truncate, 200, 0}},
                                                  {u"empty"_s, {Fault::Kind::Empty, 200, 0}},
                                                  {u"hang"_s, {Fault::Kind::Hang, 200, 0}},
                                                  {u"delay"_s, {Fault::Kind::Delay, 200, 30}}};
        if (trouble.startsWith("status "_L1))
            harness.vendors.server.setFault(vendorPath, {Fault::Kind::Status, trouble.mid(7).toInt(), 0});
        else if (faults.contains(trouble))
            harness.vendors.server.setFault(vendorPath, faults.value(trouble));

        const QJsonObject body = toModel ? test::modelCall(token, u"ping"_s, 10) : test::speechCall(token, u"Hallo"_s);
        const test::HttpResult result = harness.call(endpoint, body);
        QCOMPARE(result.status, status);
        if (status == 200)
            return;
        QCOMPARE(result.json(), (QJsonObject{{u"ok"_s, false}, {u"error"_s, error}}));
        if (trouble == "no key"_L1)
            QCOMPARE(harness.vendors.server.requests().size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestVendorProxy)
#include "tst_vendorproxy.moc"
