// Which AI backend a start uses, and the backend the app embeds: its token
// handover, its vendor keys and the complete offline demo, each reached
// through the app's real AI client over loopback.

#include "../TestSupport.h"

#include "DemoMode.h"
#include "EmbeddedBackend.h"
#include "LoopbackServer.h"
#include "ai/ClaudeService.h"
#include "core/Clock.h"
#include "core/Paths.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace kalvo;
using namespace kalvo::sim;

Q_DECLARE_METATYPE(std::optional<bool>)

namespace {

const QString sonnet = u"claude-sonnet-4-5"_s;
const QByteArray fakeMp3 = QByteArray("\xFF\xF3\x44\xC4", 4) + QByteArray(412, '\x55');

// Both vendors on one loopback server, recording what they are sent.
struct FakeVendors
{
    FakeVendors()
    {
        server.route(u"/v1/messages"_s, [](const RecordedRequest &) {
            const QJsonObject text{{u"type"_s, u"text"_s}, {u"text"_s, u"pong"_s}};
            return kalvo::sim::HttpReply{200, "application/json",
                                         compactJson({{u"content"_s, QJsonArray{text}}})};
        });
        server.route(u"/v1/audio/speech"_s,
                     [](const RecordedRequest &) { return kalvo::sim::HttpReply{200, "audio/mpeg", fakeMp3}; });
        server.start();
    }

    backend::BackendOptions proxyTemplate() const
    {
        backend::BackendOptions options;
        options.anthropicBase = server.baseUrl();
        options.openaiBase = server.baseUrl();
        options.log = [](const QString &) {};
        return options;
    }

    QByteArray lastHeader(const QString &path, const QByteArray &name) const
    {
        for (qsizetype i = server.requests().size() - 1; i >= 0; --i) {
            if (server.requests()[i].path == path)
                return server.requests()[i].headers.value(name);
        }
        return {};
    }

    LoopbackServer server;
};

// A data folder of its own and no token from the caller's environment.
struct CleanProcess
{
    CleanProcess()
    {
        qputenv("KALVO_DATA_DIR", dataDir.path().toLocal8Bit());
        qunsetenv("KALVO_BACKEND_TOKEN");
    }

    QString writeFile(const QString &name, const QByteArray &content) const
    {
        const QString path = dataDir.filePath(name);
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(content);
        return path;
    }

    QTemporaryDir dataDir;
};

const QString defaultBbcFeed = u"https://feeds.bbci.co.uk/news/business/rss.xml"_s;

} // namespace

class TestEmbeddedBackend : public QObject
{
    Q_OBJECT

private slots:
    void choosesTheBackend_data()
    {
        QTest::addColumn<QByteArray>("endpoints"); // "-": no file; "!": a file that cannot be read
        QTest::addColumn<QString>("claudeKey");
        QTest::addColumn<QString>("openaiKey");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("bbcFeed"); // a market address handed over with the embedded backend
        QTest::addColumn<int>("problems");

        const int named = int(AiBackendChoice::Kind::Named);
        const int embedded = int(AiBackendChoice::Kind::Embedded);
        const int none = int(AiBackendChoice::Kind::None);
        const QString key = u"sk-ant-1"_s;

        QTest::newRow("no file, an OpenAI key alone") << QByteArray("-") << QString() << u"sk-oa"_s << none
                                                      << QString() << 0;
        QTest::newRow("no file, a Claude key: models only") << QByteArray("-") << key << QString() << embedded
                                                            << defaultBbcFeed << 0;
        QTest::newRow("the file names a backend")
            << QByteArray("{\"backend\": \"https://ai.example.org/_functions\"}") << key << QString() << named
            << QString() << 0;
        QTest::newRow("base re-roots the markets, not the embedded backend")
            << QByteArray("{\"base\": \"http://127.0.0.1:9\"}") << key << u"sk-oa"_s << embedded
            << u"http://127.0.0.1:9/news/business/rss.xml"_s << 0;
        QTest::newRow("unreadable file") << QByteArray("!") << key << QString() << embedded << defaultBbcFeed << 1;
    }

    void choosesTheBackend()
    {
        QFETCH(QByteArray, endpoints);
        QFETCH(QString, claudeKey);
        QFETCH(QString, openaiKey);
        QFETCH(int, kind);
        QFETCH(int, problems);
        CleanProcess process;
        FakeVendors vendors;
        QString path;
        if (endpoints == "!")
            path = process.dataDir.filePath(u"missing.json"_s);
        else if (endpoints != "-")
            path = process.writeFile(u"endpoints.json"_s, endpoints);

        EmbeddedBackend embedded;
        const AiBackendChoice choice =
            AiBackendChoice::make(embedded, path, {claudeKey, openaiKey}, vendors.proxyTemplate());
        QCOMPARE(int(choice.kind), kind);
        QCOMPARE(choice.problems.size(), problems);
        QCOMPARE(embedded.isRunning(), kind == int(AiBackendChoice::Kind::Embedded));
        if (!embedded.isRunning()) {
            QVERIFY(qEnvironmentVariableIsEmpty("KALVO_BACKEND_TOKEN"));
            return; // AppState reads the file itself
        }
        QCOMPARE(choice.endpoints.url(u"backend"_s), embedded.functionsUrl().toString());
        QTEST(choice.endpoints.url(u"feed.bbc_business"_s), "bbcFeed");

        // The app's client finds the server with the handed-over token; the
        // server passes the keys on, and speaks only with an OpenAI key.
        ClaudeService client(embedded.functionsUrl(), Clock::system());
        QCOMPARE(QCoro::waitFor(client.findWorkingModel()), sonnet);
        QCOMPARE(vendors.lastHeader(u"/v1/messages"_s, "x-api-key"), claudeKey.toUtf8());
        const std::optional<QByteArray> audio = QCoro::waitFor(client.synthesizeSpeech(u"Guten Morgen."_s));
        QCOMPARE(audio.has_value(), !openaiKey.isEmpty());
        if (audio) {
            QCOMPARE(*audio, fakeMp3);
            QCOMPARE(vendors.lastHeader(u"/v1/audio/speech"_s, "authorization"), "Bearer " + openaiKey.toUtf8());
        } else {
            QCOMPARE(vendors.server.requestCount(u"/v1/audio/speech"_s), 0);
        }
    }

    // Set but blank counts as unset.
    void environmentKeysWinOverTheConfiguration()
    {
        QProcessEnvironment environment;
        environment.insert(u"ANTHROPIC_API_KEY"_s, u" sk-ant-env\n"_s);
        environment.insert(u"OPENAI_API_KEY"_s, u" "_s);
        Config config;
        config.claudeApiKey = u"sk-ant-cfg"_s;
        config.openaiApiKey = u"sk-oa-cfg"_s;
        const VendorKeys keys = VendorKeys::find(environment, config);
        QCOMPARE(keys.anthropic, u"sk-ant-env"_s);
        QCOMPARE(keys.openai, u"sk-oa-cfg"_s);
    }

    void givesEachStartItsOwnToken()
    {
        CleanProcess process;
        backend::BackendOptions options;
        options.mode = backend::BackendOptions::Mode::Offline;
        options.log = [](const QString &) {};
        static const QRegularExpression hex64(u"^[0-9a-f]{64}$"_s);

        EmbeddedBackend first;
        QVERIFY(first.start(options));
        const QString firstToken = qEnvironmentVariable("KALVO_BACKEND_TOKEN");
        QVERIFY2(hex64.match(firstToken).hasMatch(), qPrintable(firstToken));
        QVERIFY(!first.start(options)); // one server per instance

        EmbeddedBackend second;
        QVERIFY(second.start(options));
        const QString secondToken = qEnvironmentVariable("KALVO_BACKEND_TOKEN");
        QVERIFY(hex64.match(secondToken).hasMatch() && secondToken != firstToken);

        // The first server knows only its own token: the handed-over one is refused there.
        ClaudeService toFirst(first.functionsUrl(), Clock::system());
        QCOMPARE(QCoro::waitFor(toFirst.findWorkingModel()), QString());
        ClaudeService toSecond(second.functionsUrl(), Clock::system());
        QCOMPARE(QCoro::waitFor(toSecond.findWorkingModel()), sonnet);

        // Nothing of it on disk, and gone with the server.
        QVERIFY(QDir(process.dataDir.path()).entryList(QDir::Files).isEmpty());
        second.stop();
        QVERIFY(qEnvironmentVariableIsEmpty("KALVO_BACKEND_TOKEN"));
        QVERIFY(!second.isRunning());
    }

    // The first demo start writes its configuration, then answers with
    // simulated markets and the offline backend; a later start keeps the user's settings.
    void demoAnswersOffline()
    {
        CleanProcess process;
        DemoMode demo;
        QVERIFY(demo.start());
        QVERIFY(ConfigFiles::load() == DemoMode::firstConfig());
        const QUrl backend(demo.endpoints().url(u"backend"_s));
        const QUrl feed(demo.endpoints().url(u"feed.bbc_business"_s));
        QCOMPARE(backend.toString(), u"http://127.0.0.1:%1/_functions"_s.arg(backend.port()));
        QCOMPARE(feed.host(), u"127.0.0.1"_s);
        QVERIFY(feed.port() != backend.port()); // markets from the simulator, AI from the backend
        // The version check asks the demo's own backend, not a host that is not there.
        QCOMPARE(demo.endpoints().url(u"update.primary"_s), backend.toString() + u"/appVersion"_s);

        ManualClock clock(test::utc(2024, 5, 8, 10, 15));
        ClaudeService client(backend, clock);
        const NewsItem item{.id = u"demo-news"_s, .title = u"Fed cuts rates by 50bp in surprise move"_s,
                            .source = u"Reuters"_s};
        const std::optional<NewsAnalysis> scored = QCoro::waitFor(client.analyzeNews(item));
        QVERIFY(scored && scored->relevant && scored->score >= 8);
        const std::optional<QByteArray> audio = QCoro::waitFor(client.synthesizeSpeech(u"Die Märkte sind offen."_s));
        QVERIFY(audio && audio->size() > 1000);

        Config ownSettings;
        ownSettings.claudeApiKey.clear();
        ownSettings.marketPairs = {u"AUD/USD"_s};
        process.writeFile(u"config.json"_s, compactJson(ownSettings.toJson()));
        QVERIFY(!DemoMode::provideConfig());
        QCOMPARE(ConfigFiles::load(), ownSettings);
    }

    // The choice is made anew from the files whenever the settings change
    // them: a running embedded backend gives way first.
    void choosesAnewFromTheFiles_data()
    {
        QTest::addColumn<QString>("claudeKey");
        QTest::addColumn<QString>("openaiKey");
        QTest::addColumn<QByteArray>("dataFolderFile"); // empty: none
        QTest::addColumn<QByteArray>("namedFile");      // empty: none named
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("backend"); // "embedded": the embedded server's address
        QTest::addColumn<std::optional<bool>>("speech");

        const int embedded = int(AiRoute::Kind::Embedded), shared = int(AiRoute::Kind::Shared);
        const QString key = u"sk-ant-1"_s, sharedUrl = u"https://ai.example.org/_functions"_s;
        const QByteArray namesShared = compactJson({{u"backend"_s, sharedUrl}});
        const QByteArray baseOnly = compactJson({{u"base"_s, u"http://127.0.0.1:9"_s}});
        QTest::newRow("nothing set") << QString() << QString() << QByteArray() << QByteArray()
                                     << int(AiRoute::Kind::Default) << u"http://127.0.0.1:8787/_functions"_s
                                     << std::optional<bool>();
        QTest::newRow("a Claude key") << key << QString() << QByteArray() << QByteArray() << embedded
                                      << u"embedded"_s << std::optional<bool>(false);
        QTest::newRow("both keys") << key << u"sk-oa"_s << QByteArray() << QByteArray() << embedded << u"embedded"_s
                                   << std::optional<bool>(true);
        QTest::newRow("the data folder names a backend") << key << QString() << namesShared << QByteArray() << shared
                                                         << sharedUrl << std::optional<bool>();
        QTest::newRow("a named file hides the data folder's")
            << key << QString() << namesShared << baseOnly << embedded << u"embedded"_s << std::optional<bool>(false);
    }
    void choosesAnewFromTheFiles()
    {
        QFETCH(QString, claudeKey);
        QFETCH(QString, openaiKey);
        QFETCH(QByteArray, dataFolderFile);
        QFETCH(QByteArray, namedFile);
        QFETCH(int, kind);
        QFETCH(QString, backend);
        QFETCH(std::optional<bool>, speech);
        CleanProcess process;
        qunsetenv("ANTHROPIC_API_KEY");
        qunsetenv("OPENAI_API_KEY");
        FakeVendors vendors;
        Config config;
        config.claudeApiKey = claudeKey;
        config.openaiApiKey = openaiKey;
        QVERIFY(!ConfigFiles::save(config));
        if (!dataFolderFile.isEmpty())
            QVERIFY(!Endpoints::storeBackend(Endpoints::userFilePath(), QJsonDocument::fromJson(dataFolderFile)
                                                                            .object().value(u"backend"_s).toString()));
        const QString named = namedFile.isEmpty() ? QString() : process.writeFile(u"named.json"_s, namedFile);

        // Whatever ran before is replaced.
        EmbeddedBackend running;
        backend::BackendOptions offline;
        offline.log = [](const QString &) {};
        QVERIFY(running.start(offline));
        const QByteArray tokenBefore = qgetenv("KALVO_BACKEND_TOKEN");

        const AiBackendChoice choice = AiBackendChoice::choose(running, named, vendors.proxyTemplate());
        QCOMPARE(int(choice.route.kind), kind);
        QCOMPARE(choice.route.namedFile, named);
        QCOMPARE(choice.route.speech, speech);
        QCOMPARE(running.isRunning(), kind == int(AiRoute::Kind::Embedded));
        if (!running.isRunning()) {
            QCOMPARE(choice.route.backend.toString(), backend);
            QVERIFY(qEnvironmentVariableIsEmpty("KALVO_BACKEND_TOKEN"));
            return;
        }
        QCOMPARE(choice.route.backend, running.functionsUrl());
        QVERIFY(qgetenv("KALVO_BACKEND_TOKEN") != tokenBefore); // a server of its own
        ClaudeService client(choice.route.backend, Clock::system());
        QCOMPARE(QCoro::waitFor(client.findWorkingModel()), sonnet);
        QCOMPARE(vendors.lastHeader(u"/v1/messages"_s, "x-api-key"), claudeKey.toUtf8());
    }
};

QTEST_GUILESS_MAIN(TestEmbeddedBackend)
#include "tst_embeddedbackend.moc"
