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
        server.route(u"/anthropic/v1/messages"_s, messages);
        server.route(u"/v1/audio/speech"_s, [this](const RecordedRequest &) -> kalvo::sim::HttpReply {
            if (mode == "html"_L1)
                return {200, "text/html", "<!DOCTYPE html><html>Service Unavailable</html>"};
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
        options.anthropicBase = QUrl(vendors.server.baseUrl().toString() + u"/anthropic/"_s); // a path is kept
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
    void forwardsCalls_data()
    {
        QTest::addColumn<QString>("endpoint");
        QTest::addColumn<QJsonObject>("call");
        QTest::addColumn<QJsonObject>("reply");
        QTest::addColumn<QString>("vendorPath");
        QTest::addColumn<QJsonObject>("vendorHeaders"); // of x-api-key, anthropic-version, authorization
        QTest::addColumn<QJsonObject>("vendorBody");

        const QString prompt = u"Forex-Analyst. Bewerte diese News.\nTitel: „Fed“ senkt\nQuelle: X"_s;
        QTest::newRow("model") << u"/aiClaude"_s << test::modelCall(token, prompt, 900, u"claude-opus-4-5"_s)
                               << QJsonObject{{u"ok"_s, true}, {u"text"_s, u"{\"score\":7} – „Antwort“"_s}}
                               << u"/anthropic/v1/messages"_s
                               << QJsonObject{{u"x-api-key"_s, anthropicKey}, {u"anthropic-version"_s, u"2023-06-01"_s}}
                               << QJsonObject{{u"model"_s, u"claude-opus-4-5"_s},
                                              {u"max_tokens"_s, 900},
                                              {u"messages"_s, QJsonArray{QJsonObject{{u"role"_s, u"user"_s},
                                                                                     {u"content"_s, prompt}}}}};
        const QString text = u"Die Märkte sind geschlossen."_s;
        QTest::newRow("speech") << u"/aiTTS"_s << test::speechCall(token, text)
                                << QJsonObject{{u"ok"_s, true}, {u"audioBase64"_s, QString::fromLatin1(fakeMp3.toBase64())}}
                                << u"/v1/audio/speech"_s << QJsonObject{{u"authorization"_s, u"Bearer "_s + openaiKey}}
                                << QJsonObject{{u"model"_s, u"tts-1"_s}, {u"voice"_s, u"alloy"_s}, {u"input"_s, text},
                                               {u"response_format"_s, u"mp3"_s}};
    }
    void forwardsCalls()
    {
        QFETCH(QString, endpoint);
        QFETCH(QJsonObject, call);
        QFETCH(QJsonObject, reply);
        QFETCH(QString, vendorPath);
        QFETCH(QJsonObject, vendorHeaders);
        QFETCH(QJsonObject, vendorBody);
        ProxyHarness harness;
        const test::HttpResult result = harness.call(endpoint, call);
        QCOMPARE(result.status, 200);
        QCOMPARE(result.json(), reply);

        QCOMPARE(harness.vendors.server.requests().size(), 1);
        const RecordedRequest &sent = harness.vendors.server.requests().first();
        QCOMPARE(sent.method, QByteArray("POST"));
        QCOMPARE(sent.path, vendorPath);
        QCOMPARE(sent.headers.value("content-type"), QByteArray("application/json"));
        for (const char *name : {"x-api-key", "anthropic-version", "authorization"}) {
            QCOMPARE(sent.headers.contains(name), vendorHeaders.contains(QLatin1StringView(name)));
            QCOMPARE(sent.headers.value(name), vendorHeaders.value(QLatin1StringView(name)).toString().toUtf8());
        }
        QCOMPARE(QJsonDocument::fromJson(sent.body).object(), vendorBody);
        // The app's access token is the backend's business, never the vendor's.
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
        QTest::newRow("model: nobody listens") << model << u"unreachable"_s << 502 << u"vendor unreachable"_s;
        QTest::newRow("model: no key") << model << u"no key"_s << 503 << u"vendor key missing"_s;
        QTest::newRow("speech: HTML page") << speech << u"html"_s << 502 << u"vendor reply not audio"_s;
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
        ProxyHarness harness([&](BackendOptions &options) {
            if (trouble == "unreachable"_L1)
                (toModel ? options.anthropicBase : options.openaiBase) = closedPort();
            if (trouble == "no key"_L1)
                (toModel ? options.anthropicKey : options.openaiKey).clear();
        });
        const QString vendorPath = toModel ? u"/anthropic/v1/messages"_s : u"/v1/audio/speech"_s;
        harness.vendors.mode = trouble;
        static const QHash<QString, Fault> faults{{u"truncate"_s, {Fault::Kind::Truncate, 200, 0}},
                                                  {u"hang"_s, {Fault::Kind::Hang, 200, 0}}};
        if (trouble.startsWith("status "_L1))
            harness.vendors.server.setFault(vendorPath, {Fault::Kind::Status, trouble.mid(7).toInt(), 0});
        else if (faults.contains(trouble))
            harness.vendors.server.setFault(vendorPath, faults.value(trouble));

        const QJsonObject body = toModel ? test::modelCall(token, u"ping"_s, 10) : test::speechCall(token, u"Hallo"_s);
        const test::HttpResult result = harness.call(endpoint, body);
        QCOMPARE(result.status, status);
        QCOMPARE(result.json(), (QJsonObject{{u"ok"_s, false}, {u"error"_s, error}}));
        if (trouble == "no key"_L1)
            QCOMPARE(harness.vendors.server.requests().size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestVendorProxy)
#include "tst_vendorproxy.moc"
