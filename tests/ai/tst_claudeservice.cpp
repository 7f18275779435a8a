#include "../TestSupport.h"
#include "ScriptedBackend.h"

#include "ai/BackendToken.h"
#include "ai/ClaudeService.h"
#include "core/Clock.h"

#include <QCoroFuture>
#include <QFile>
#include <QTemporaryDir>
#include <QTemporaryFile>

#include <sys/stat.h>
#include <unistd.h>

using namespace kalvo;
using namespace std::chrono_literals;
using Backend = test::ScriptedBackend;
using Steps = QList<Backend::Step>;
using Kind = AIBackendError::Kind;

namespace {

const QByteArray secretToken = "tok-7f3a9c2e-secret";
// Short enough for the hang cases to end at once, long enough for loopback.
constexpr auto shortTimeout = 150ms;

const QDateTime wednesdayMorning = test::utc(2024, 5, 8, 10, 15); // EU SESSION
const QDateTime saturday = test::utc(2024, 5, 11, 9, 0);

const QString sonnet45 = u"claude-sonnet-4-5"_s;
const QString opus45 = u"claude-opus-4-5"_s;
const QString haiku35 = u"claude-3-5-haiku-20241022"_s;
const QString sonnet35 = u"claude-3-5-sonnet-20241022"_s;
const QString haiku3 = u"claude-3-haiku-20240307"_s;

template<typename T>
T awaited(QCoro::Task<T> &&task)
{
    return QCoro::waitFor(std::move(task));
}

// The lines starting with `prefix` that `action` writes to standard output.
QStringList stdoutLines(const QString &prefix, const std::function<void()> &action)
{
    QTemporaryFile file;
    if (!file.open())
        return {};
    std::fflush(stdout);
    const int saved = ::dup(STDOUT_FILENO);
    ::dup2(file.handle(), STDOUT_FILENO);
    action();
    std::fflush(stdout);
    ::dup2(saved, STDOUT_FILENO);
    ::close(saved);
    file.seek(0);
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    lines.removeIf([&](const QString &line) { return !line.startsWith(prefix); });
    return lines;
}

NewsItem fedItem()
{
    return {.id = u"fed"_s, .title = u"Fed holds rates steady"_s, .source = u"Reuters"_s,
            .content = u"Powell: „Geduld“ bleibt Trumpf."_s, .score = 6.9,
            .analysis = NewsAnalysis{.headline = u"Fed signalisiert Pause"_s}};
}

QList<NewsItem> workedNews()
{
    return {fedItem(), {.id = u"ecb"_s, .title = u"ECB's Lagarde speaks"_s, .source = u"FXStreet"_s,
                        .content = u"Short."_s, .score = 8}};
}

QList<CalendarEvent> workedEvents()
{
    return {{.id = u"nfp"_s, .timeDisplay = u"14:30"_s, .currency = u"USD"_s, .event = u"Non-Farm Payrolls"_s,
             .impact = CalendarEvent::Impact::High},
            {.id = u"holiday"_s, .timeDisplay = u"Ganztägig"_s, .currency = u"JPY"_s, .event = u"Bank Holiday"_s,
             .impact = CalendarEvent::Impact::Unknown}};
}

enum class Operation { Probe, QuickScoring, DeepAnalysis, Overview, Briefing, Instrument };

// Runs one analysis with the worked data; says whether a result came back.
bool run(ClaudeService &service, Operation operation)
{
    switch (operation) {
    case Operation::Probe:
        return !awaited(service.findWorkingModel()).isEmpty();
    case Operation::QuickScoring:
        return awaited(service.analyzeNews(fedItem())).has_value();
    case Operation::DeepAnalysis:
        return awaited(service.analyzeNewsDetail(fedItem())).has_value();
    case Operation::Overview:
        return awaited(service.generateMarketOverview(workedNews(), {u"EUR/USD"_s, u"GBP/USD"_s})).has_value();
    case Operation::Briefing:
        return awaited(service.generateLiveBriefing(workedNews(), workedEvents())).has_value();
    case Operation::Instrument:
        return awaited(service.analyzeInstrument(u"EUR/USD"_s, workedNews(), workedEvents(), 1.085512, -0.4567))
            .has_value();
    }
    return false;
}

const QString prose = u"Ich würde abwarten."_s;

// A scripted backend and a service on it, both living as long as the test.
struct Rig
{
    Rig(const QString &path, const Steps &steps, const QDateTime &now = wednesdayMorning)
        : clock(now), service(backend.base(), clock)
    {
        service.setModelTimeout(shortTimeout);
        service.setSpeechTimeout(shortTimeout);
        backend.script(path, steps);
    }

    Backend backend;
    ManualClock clock;
    ClaudeService service;
};

// The one request `backend` received: a JSON POST with exactly `body`.
void checkSingleJsonPost(const Backend &backend, const QJsonObject &body)
{
    QCOMPARE(backend.requests().size(), 1);
    const sim::RecordedRequest &request = backend.requests().first();
    QCOMPARE(request.method, "POST");
    QCOMPARE(request.headers.value("content-type"), "application/json");
    QCOMPARE(QJsonDocument::fromJson(request.body).object(), body);
}

} // namespace

class TestClaudeService : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

    static void writeTokenFile(const QByteArray &content)
    {
        QFile file(BackendToken::filePath());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(content);
    }

private slots:
    void init()
    {
        qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8());
        qputenv("KALVO_BACKEND_TOKEN", secretToken);
        QFile::remove(BackendToken::filePath());
    }

    void callModelOutcomes_data()
    {
        QTest::addColumn<Backend::Step>("step");
        QTest::addColumn<int>("error"); // -1: success with the text untrimmed

        const auto unparsable = int(Kind::CannotParseResponse);
        QTest::newRow("text kept untrimmed") << Backend::modelText(u"  Antwort \n"_s) << -1;
        QTest::newRow("ok as a string") << Backend::envelope({{"ok", "true"}, {"text", "x"}}) << unparsable;
        QTest::newRow("text a number") << Backend::envelope({{"ok", true}, {"text", 5}}) << unparsable;
        QTest::newRow("truncated") << Backend::raw(200, "{\"ok\":true,\"text\":\"Antw") << unparsable;
        QTest::newRow("201 with a good body") << Backend::envelope({{"ok", true}, {"text", "x"}}, 201)
                                              << int(Kind::BadServerResponse);
        QTest::newRow("hang past the time-out") << Backend::hang() << int(Kind::Transport);
    }
    void callModelOutcomes()
    {
        QFETCH(Backend::Step, step);
        QFETCH(int, error);
        Rig rig(Backend::modelPath, {step});
        const QString prompt = u"Grüße „zitiert“\n"_s;
        const ModelReply reply = awaited(rig.service.callModel(haiku3, prompt, 123));
        QCOMPARE(reply.isSuccess(), error < 0);
        if (error < 0) {
            QCOMPARE(reply.text(), u"  Antwort \n"_s);
        } else {
            QCOMPARE(int(reply.error()->kind), error);
            QVERIFY(!reply.error()->description.contains(QString::fromUtf8(secretToken)));
        }
        checkSingleJsonPost(rig.backend, {{"token", QString::fromUtf8(secretToken)}, {"model", haiku3},
                                          {"maxTokens", 123}, {"prompt", prompt}});
        QCOMPARE(rig.backend.requests().first().path, Backend::modelPath);
        QVERIFY(rig.service.requestTimes().isEmpty()); // callers throttle, not callModel
    }

    // The environment comes first; blank values count as none.
    void tokenSources_data()
    {
        QTest::addColumn<QByteArray>("environment"); // null: unset
        QTest::addColumn<QByteArray>("file");        // null: no file
        QTest::addColumn<QString>("token");          // empty: none available
        QTest::newRow("environment wins") << QByteArray("env-token") << QByteArray("file-token") << u"env-token"_s;
        QTest::newRow("blank environment, file trimmed") << QByteArray("  ") << QByteArray("  file-token\n")
                                                         << u"file-token"_s;
        QTest::newRow("blank file") << QByteArray() << QByteArray("\n \n") << QString();
    }
    void tokenSources()
    {
        QFETCH(QByteArray, environment);
        QFETCH(QByteArray, file);
        environment.isNull() ? void(qunsetenv("KALVO_BACKEND_TOKEN")) : void(qputenv("KALVO_BACKEND_TOKEN", environment));
        if (!file.isNull())
            writeTokenFile(file);
        QTEST(BackendToken::read().value_or(QString()), "token");
    }

    // Without a token nothing is sent; one set later is used by the next
    // request, without a restart.
    void tokenIsLookedUpForEveryRequest()
    {
        qunsetenv("KALVO_BACKEND_TOKEN");
        Rig rig(Backend::modelPath, {Backend::modelText(u"pong"_s)});
        QCOMPARE(awaited(rig.service.callModel(sonnet45, u"ping"_s, 10)).error()->kind, Kind::UserAuthenticationRequired);
        std::optional<QByteArray> audio;
        const QStringList log = stdoutLines(u"[TTS]"_s, [&] { audio = awaited(rig.service.synthesizeSpeech(u"Hallo"_s)); });
        QCOMPARE(log, QStringList{u"[TTS] Kein App-Token verfügbar"_s});
        QVERIFY(!audio);
        QVERIFY(rig.backend.requests().isEmpty());

        qputenv("KALVO_BACKEND_TOKEN", secretToken);
        QVERIFY(awaited(rig.service.callModel(sonnet45, u"ping"_s, 10)).isSuccess());
    }

    void tokenFileIsPrivateToItsOwner()
    {
        writeTokenFile("old");
        QVERIFY(QFile::setPermissions(BackendToken::filePath(), QFileDevice::ReadOwner | QFileDevice::WriteOwner
                                                                    | QFileDevice::ReadGroup | QFileDevice::ReadOther));
        qunsetenv("KALVO_BACKEND_TOKEN");

        QCOMPARE(BackendToken::write(u" new-token "_s), std::nullopt);
        struct stat info {};
        QCOMPARE(::stat(QFile::encodeName(BackendToken::filePath()).constData(), &info), 0);
        QCOMPARE(info.st_mode & 0777, mode_t(0600));
        QCOMPARE(BackendToken::read(), std::optional(u"new-token"_s));
    }

    // Quick scoring, overview and briefing use the working model and probe
    // only while none is known; the deep analysis stops at the first model
    // that answers; the instrument analysis goes on until an answer holds JSON.
    void modelChoice_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<Steps>("steps");
        QTest::addColumn<bool>("found");
        QTest::addColumn<QStringList>("asked");
        QTest::addColumn<int>("taken"); // limiter entries afterwards
        QTest::addColumn<QString>("working"); // empty: none known

        const Backend::Step pong = Backend::modelText(u"pong"_s);
        const QStringList strongestFirst{opus45, sonnet45, haiku35, sonnet35, haiku3};
        const QStringList probedThenUsed{sonnet45, sonnet45};
        const int deep = int(Operation::DeepAnalysis);
        const int instrument = int(Operation::Instrument);
        const QString deepReply = uR"({"summary":"Lage.","pairs":{"EUR/USD":{"direction":"bearish"}}})"_s;

        QTest::newRow("scoring: no model answers") << int(Operation::QuickScoring) << Steps(5, Backend::failure())
                                                   << false << QStringList{sonnet45, opus45, haiku35, sonnet35, haiku3}
                                                   << 0 << QString();
        QTest::newRow("scoring: an empty probe answer counts, prose does not")
            << int(Operation::QuickScoring) << Steps{Backend::modelText({}), Backend::modelText(prose)} << false
            << probedThenUsed << 1 << sonnet45;
        QTest::newRow("briefing: backend fails") << int(Operation::Briefing) << Steps{pong, Backend::failure(503)}
                                                 << false << probedThenUsed << 1 << sonnet45;
        QTest::newRow("deep: time-out, then prose ends the walk")
            << deep << Steps{Backend::hang(), Backend::modelText(prose), Backend::modelText(deepReply)} << false
            << QStringList{opus45, sonnet45} << 1 << QString();
        QTest::newRow("deep: all fail") << deep << Steps(5, Backend::failure()) << false << strongestFirst << 1
                                        << QString();
        QTest::newRow("instrument: failure, broken envelope, time-out, prose, answer")
            << instrument
            << Steps{Backend::failure(), Backend::raw(200, "<html>"), Backend::hang(), Backend::modelText(prose),
                     Backend::modelText(uR"({"verdict":"bearish","confidence":64})"_s)}
            << true << strongestFirst << 1 << QString();
    }
    void modelChoice()
    {
        QFETCH(int, operation);
        QFETCH(Steps, steps);
        QFETCH(bool, found);
        QFETCH(QStringList, asked);
        QFETCH(int, taken);
        Rig rig(Backend::modelPath, steps);
        QCOMPARE(run(rig.service, Operation(operation)), found);
        QCOMPARE(rig.backend.models(), asked);
        // Only a request after a successful probe, or a whole walk, takes a slot.
        QCOMPARE(rig.service.requestTimes().size(), taken);
        QTEST(rig.service.workingModel().value_or(QString()), "working");
    }

    void promptsOnTheWire_data()
    {
        QTest::addColumn<int>("operation");
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QString>("model");
        QTest::addColumn<int>("maxTokens");
        QTest::addColumn<QString>("prompt");

        QTest::newRow("probe") << int(Operation::Probe) << wednesdayMorning << sonnet45 << 10 << u"ping"_s;
        QTest::newRow("quick scoring") << int(Operation::QuickScoring) << wednesdayMorning << sonnet45 << 350
            << u"Forex-Analyst. Bewerte diese News.\nTitel: Fed holds rates steady\nQuelle: Reuters\nInhalt: Powell: „Geduld“ bleibt Trumpf.\nNur JSON, kein Markdown:\n{\"relevant\":true,\"score\":7,\"urgency\":\"hours\",\"headline\":\"Max 55 Zeichen\",\"analysis\":\"1-2 Sätze DE\",\"pairs\":{\"EUR/USD\":\"bearish\"},\"category\":\"central_bank\",\"factors\":[\"Faktor1\"]}\nscore 1-10, urgency: immediate/hours/days, pairs: bullish/bearish/neutral\nNicht Forex-relevant: {\"relevant\":false}"_s;
        QTest::newRow("deep analysis") << int(Operation::DeepAnalysis) << wednesdayMorning << opus45 << 700
            << u"Senior Forex-Analyst. Tiefenanalyse dieser News.\nTitel: Fed holds rates steady\nQuelle: Reuters\nInhalt: Powell: „Geduld“ bleibt Trumpf.\nNur JSON, kein Markdown:\n{\"summary\":\"2-3 Sätze DE\",\"score\":8,\"pairs\":{\"EUR/USD\":{\"direction\":\"bearish\",\"reasoning\":\"1 Satz\",\"move_pips\":\"30-50\",\"probability\":70}},\"strategy\":{\"bias\":\"Short EUR/USD\",\"entry\":\"1.0855\",\"stop\":\"1.0890\",\"target\":\"1.0780\"},\"macro\":\"1 Satz Makro DE\",\"risks\":[\"Risiko1\",\"Risiko2\"],\"watch_next\":\"Folge-Events\"}"_s;
        QTest::newRow("market overview") << int(Operation::Overview) << wednesdayMorning << sonnet45 << 500
            << u"Erstelle eine kurze Marktübersicht (JSON):\nNews der letzten 2h:\n- [6/10] Fed signalisiert Pause (Reuters)\n- [8/10] ECB's Lagarde speaks (FXStreet)\nPaare: EUR/USD, GBP/USD\n\n{\"sentiment\":\"risk-on/risk-off/neutral\",\"usd\":\"bullish/bearish/neutral\",\"eur\":\"bullish/bearish/neutral\",\"gbp\":\"bullish/bearish/neutral\",\"jpy\":\"bullish/bearish/neutral\",\"top_pair\":\"EUR/USD\",\"themes\":[\"Thema1\",\"Thema2\"],\"overview\":\"2-3 Sätze auf Deutsch\"}"_s;
        QTest::newRow("briefing, market open") << int(Operation::Briefing) << wednesdayMorning << sonnet45 << 700
            << u"Du bist der Audio-Briefing-Analyst eines Forex-Traders.\nErstelle einen gesprochenen Marktbericht auf Deutsch.\n\nWICHTIG — Länge: EXAKT 110-130 Wörter (entspricht ~60 Sekunden Sprechzeit bei normalem Tempo).\nSchreibe fließend und natürlich, als ob du ihn vorliest. Keine Aufzählungszeichen, nur Fließtext.\nAktuelle Markt-Session: EU SESSION — Frankfurt / London aktiv\n\nLiefere NUR JSON, kein Markdown:\n{\"title\":\"Kurz-Titel max 6 Wörter\",\"briefing_text\":\"Fließender Sprechtext 110-130 Wörter auf Deutsch\",\"key_points\":[\"P1\",\"P2\",\"P3\"],\"watch_next\":[\"Event1\",\"Event2\"]}\n\nAktuelle News (neueste zuerst):\n- [6/10] Fed signalisiert Pause (Reuters)\n- [8/10] ECB's Lagarde speaks (FXStreet)\n\nNächste Makro-Events:\n- 14:30 USD High Non-Farm Payrolls\n- Ganztägig JPY unknown Bank Holiday\n\nFokus des Berichts:\n- Was bewegt die Märkte gerade?\n- Welche Instrumente sind heute am wichtigsten?\n- Worauf in den nächsten Stunden achten?"_s;
        QTest::newRow("briefing, weekend") << int(Operation::Briefing) << saturday << sonnet45 << 700
            << u"Du bist der Audio-Briefing-Analyst eines Forex-Traders.\nErstelle einen gesprochenen Wochenend-Marktbericht auf Deutsch.\n\nWICHTIG: Die Forex-Märkte sind gerade GESCHLOSSEN (Wochenende). Weise explizit darauf hin.\nLänge: EXAKT 110-130 Wörter. Fließtext, keine Aufzählungszeichen.\n\nLiefere NUR JSON, kein Markdown:\n{\"title\":\"Kurz-Titel max 6 Wörter\",\"briefing_text\":\"Fließender Sprechtext 110-130 Wörter auf Deutsch\",\"key_points\":[\"P1\",\"P2\",\"P3\"],\"watch_next\":[\"Event1\",\"Event2\"]}\n\nLetzte bekannte News:\n- Fed signalisiert Pause (Reuters)\n- ECB's Lagarde speaks (FXStreet)\n\nWichtige Events nächste Woche:\n- 14:30 USD High Non-Farm Payrolls\n- Ganztägig JPY unknown Bank Holiday\n\nFokus:\n- Märkte sind geschlossen, kein aktives Trading möglich\n- Rückblick auf die vergangene Woche\n- Ausblick: Was erwartet uns kommende Woche?\n- Auf welche Events zu Wochenbeginn achten?"_s;
        QTest::newRow("instrument analysis") << int(Operation::Instrument) << wednesdayMorning << opus45 << 900
            << u"Du bist Senior Quantitative Analyst eines Tier-1 Hedgefonds.\nAnalysiere EUR/USD für einen Trader der JETZT entscheiden muss.\n\nMARKTDATEN:\nKurs: 1.0855 | Tageschange: -0.457%\n\nRELEVANTE NEWS:\n- [6/10] Fed signalisiert Pause (Reuters)\n- [8/10] ECB's Lagarde speaks (FXStreet)\n\nKOMMENDE EVENTS:\n- 14:30 USD High Non-Farm Payrolls\n- Ganztägig JPY unknown Bank Holiday\n\nLiefere NUR valides JSON, kein Markdown:\n{\"verdict\":\"bullish\",\"confidence\":72,\"summary\":\"2-3 Sätze Kernthese Deutsch\",\"entry_zone\":\"1.0850-1.0870\",\"stop\":\"1.0820\",\"target_1\":\"1.0950\",\"target_2\":\"1.1020\",\"risk_reward\":\"1:2.5\",\"timeframe\":\"1-3 Tage\",\"scenarios\":{\"bull\":{\"probability\":55,\"trigger\":\"Auslöser\"},\"base\":{\"probability\":30,\"trigger\":\"Auslöser\"},\"bear\":{\"probability\":15,\"trigger\":\"Auslöser\"}},\"macro_drivers\":[\"Treiber1\"],\"catalysts\":[\"Event1\"],\"risks\":[\"Risiko1\"],\"flow_analysis\":\"1 Satz Orderflow\",\"positioning\":\"1 Satz Positionierung\",\"momentum\":\"bullish\"}"_s;
    }
    void promptsOnTheWire()
    {
        QFETCH(int, operation);
        QFETCH(QDateTime, now);
        QFETCH(QString, model);
        QFETCH(int, maxTokens);
        QFETCH(QString, prompt);
        Rig rig(Backend::modelPath, Steps(2, Backend::modelText(u"{}"_s)), now);
        QVERIFY(run(rig.service, Operation(operation)));
        const QJsonObject sent = rig.backend.bodies(Backend::modelPath).last();
        QCOMPARE(sent.value("model").toString(), model);
        QCOMPARE(sent.value("maxTokens").toInt(), maxTokens);
        QCOMPARE(sent.value("prompt").toString(), prompt);
    }

    void briefingBranches_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<bool>("withNews");
        QTest::addColumn<Steps>("steps"); // after a probe that succeeds
        QTest::addColumn<QStringList>("expected"); // title, text, key points...; empty: absent

        const Steps reply{Backend::modelText(uR"({"briefing_text":"Guten Morgen.","key_points":["A"]})"_s)};
        const auto weekendFallback = [](const QString &detail) {
            return QStringList{u"Wochenende — Märkte geschlossen"_s,
                               u"Die Forex-Märkte sind aktuell geschlossen. "_s + detail
                                   + u". Nutze das Wochenende zur Analyse und Vorbereitung auf die kommende Handelswoche."_s,
                               u"Märkte geschlossen"_s, detail};
        };

        QTest::newRow("open, no news: fixed text without a request")
            << wednesdayMorning << false << Steps()
            << QStringList{u"Keine neuen News"_s,
                           u"Aktuell liegen keine neuen, relevanten Marktmeldungen vor. Beobachte die nächsten Kalenderereignisse für frische Impulse."_s,
                           u"Keine neuen Headlines"_s};
        QTest::newRow("open, reply without title") << wednesdayMorning << true << reply
                                                   << QStringList{u"Live Briefing"_s, u"Guten Morgen."_s, u"A"_s};
        QTest::newRow("weekend, no news still asks") << saturday << false << reply
                                                     << QStringList{u"Wochenend-Briefing"_s, u"Guten Morgen."_s, u"A"_s};
        QTest::newRow("weekend, time-out") << saturday << true << Steps{Backend::hang()}
                                           << weekendFallback(u"Märkte öffnen Sonntag ~22:00 UTC"_s);
    }
    void briefingBranches()
    {
        QFETCH(QDateTime, now);
        QFETCH(bool, withNews);
        QFETCH(Steps, steps);
        QFETCH(QStringList, expected);
        Rig rig(Backend::modelPath, Steps{Backend::modelText(u"pong"_s)} + steps, now);

        const std::optional<LiveBriefing> briefing =
            awaited(rig.service.generateLiveBriefing(withNews ? workedNews() : QList<NewsItem>(), workedEvents()));
        QCOMPARE(rig.backend.requestCount(Backend::modelPath), 1 + steps.size());
        QCOMPARE(briefing.has_value(), !expected.isEmpty());
        if (!briefing)
            return;
        QCOMPARE(QStringList({briefing->title, briefing->text}) + briefing->keyPoints, expected);
        QVERIFY(briefing->watchNext.isEmpty());
        QVERIFY(!briefing->audioData);
    }

    void throttle_data()
    {
        QTest::addColumn<int>("callAt"); // ms after the first of 40 bookings; the other 39 at 10 s
        QTest::addColumn<int>("wait");

        QTest::newRow("40 in the last 50 s wait 61 - 50") << 50'000 << 11'000;
        QTest::newRow("an entry exactly 60 s old is dropped") << 60'000 << 0;
        QTest::newRow("an entry just under 60 s old counts") << 59'999 << 1'001;
    }
    // Two calls wait together; after their sleep they do not count again.
    void throttle()
    {
        QFETCH(int, callAt);
        QFETCH(int, wait);
        const QDateTime start = wednesdayMorning;
        ManualClock clock(start);
        ClaudeService service(QUrl(), clock);
        QVERIFY(service.throttle(40).isReady());
        clock.setNow(start.addSecs(10));
        for (int i = 0; i < 39; ++i)
            QVERIFY(service.throttle(40).isReady()); // 39 in the window pass

        clock.setNow(start.addMSecs(callAt));
        QCoro::Task<> first = service.throttle(40);
        if (wait > 0) {
            QCoro::Task<> second = service.throttle(40);
            QCOMPARE(clock.pendingSleepers(), 2);
            clock.advance(std::chrono::milliseconds(wait - 1));
            QVERIFY(!first.isReady() && !second.isReady());
            clock.advance(1ms);
            QVERIFY(second.isReady());
        }
        QVERIFY(first.isReady());
        QCOMPARE(service.requestTimes().size(), wait > 0 ? 42 : 40);
        QCOMPARE(service.requestTimes().last(), start.addMSecs(callAt + wait));
    }

    void speechOutcomes_data()
    {
        QTest::addColumn<Backend::Step>("step");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("sent"); // null: the text itself
        QTest::addColumn<QByteArray>("audio"); // null: absent
        QTest::addColumn<QString>("logLine");  // ends in "…": compared as a prefix

        const QByteArray mp3("ID3\x04\x00\x00\x00", 7);
        const QString morning = u"Guten Morgen."_s;
        QTest::newRow("audio") << Backend::envelope({{"ok", true}, {"audioBase64", QString::fromLatin1(mp3.toBase64())}})
                               << morning << QString() << mp3 << u"[TTS] Erfolg — 7 Bytes MP3"_s;
        QTest::newRow("200 with ok false") << Backend::raw(200, "{\"ok\":false,\"error\":\"quota\"}") << morning << QString()
                                           << QByteArray() << u"[TTS] Fehler HTTP 200: {\"ok\":false,\"error\":\"quota\"}"_s;
        QTest::newRow("echoed token is masked")
            << Backend::raw(401, "invalid token " + secretToken, "text/plain") << morning << QString() << QByteArray()
            << u"[TTS] Fehler HTTP 401: invalid token ***"_s;
        QTest::newRow("hang past the time-out") << Backend::hang() << morning << QString() << QByteArray()
                                                << u"[TTS] Netzwerkfehler: …"_s;
        const QString a(u'a');
        // 4096 characters as a reader counts them: the accent stays with its letter.
        QTest::newRow("cut after 4096 characters")
            << Backend::failure() << a.repeated(4095) + u"e\u0301"_s + a.repeated(10) << a.repeated(4095) + u"e\u0301"_s
            << QByteArray() << u"[TTS] Fehler HTTP 500: backend failure"_s;
    }
    void speechOutcomes()
    {
        QFETCH(Backend::Step, step);
        QFETCH(QString, text);
        QFETCH(QString, sent);
        QFETCH(QByteArray, audio);
        QFETCH(QString, logLine);
        Rig rig(Backend::speechPath, {step});

        std::optional<QByteArray> result;
        const QStringList log = stdoutLines(u"[TTS]"_s, [&] { result = awaited(rig.service.synthesizeSpeech(text)); });

        QCOMPARE(result.has_value(), !audio.isNull());
        if (result)
            QCOMPARE(*result, audio);
        QCOMPARE(log.size(), 1);
        if (logLine.endsWith(u'…')) {
            QVERIFY2(log.first().startsWith(logLine.chopped(1)) && log.first().size() > logLine.size(),
                     qPrintable(log.first()));
        } else {
            QCOMPARE(log.first(), logLine);
        }
        QVERIFY(!log.first().contains(QString::fromUtf8(secretToken)));
        checkSingleJsonPost(rig.backend, {{"token", QString::fromUtf8(secretToken)}, {"model", "tts-1"},
                                          {"voice", "alloy"}, {"text", sent.isNull() ? text : sent}});
        QVERIFY(rig.service.requestTimes().isEmpty()); // speech is not throttled
    }
};

QTEST_GUILESS_MAIN(TestClaudeService)
#include "tst_claudeservice.moc"
