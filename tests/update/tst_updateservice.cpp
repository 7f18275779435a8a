#include "../TestSupport.h"

#include "BackendServer.h"
#include "LoopbackServer.h"
#include "core/Clock.h"
#include "core/Endpoints.h"
#include "update/UpdateService.h"

#include <QJsonArray>
#include <QSignalSpy>

#include <memory>
#include <optional>

using namespace kalvo;
using namespace std::chrono_literals;

namespace {

const QDateTime morning = test::utc(2025, 3, 5, 8, 0);
const QString downloadAddress = u"https://kalvo.example.org/download/kalvo.tar.gz"_s;

// What one version endpoint does: answer `body` with `status`, or misbehave.
struct Answer
{
    int status = 200;
    QByteArray body;
    std::optional<sim::Fault::Kind> fault;
};

Answer offering(const QString &version)
{
    return {200, compactJson({{u"version"_s, version}, {u"downloadUrl"_s, downloadAddress},
                              {u"releaseNotes"_s, u"Neu"_s}}),
            std::nullopt};
}
Answer replying(const QByteArray &body) { return {200, body, std::nullopt}; }
Answer refusing(int status) { return {status, "{}", std::nullopt}; }
Answer misbehaving(sim::Fault::Kind kind) { return {200, offering(u"9.0.0"_s).body, kind}; }

const QStringList paths{u"/primary/appVersion"_s, u"/secondary/appVersion"_s, u"/dev/appVersion"_s};

// The update service against three version endpoints on one loopback server.
struct Harness
{
    explicit Harness(const QList<Answer> &answers = {})
    {
        for (qsizetype i = 0; i < paths.size(); ++i) {
            const Answer answer = i < answers.size() ? answers[i] : refusing(404);
            server.route(paths[i], [answer](const sim::RecordedRequest &) {
                return sim::HttpReply{answer.status, "application/json", answer.body};
            });
            if (answer.fault)
                server.setFault(paths[i], {*answer.fault, 200, 0});
        }
        server.start();
        const QString base = server.baseUrl().toString();
        service.setEndpoints(Endpoints::fromJson(compactJson({{u"update.primary"_s, base + paths[0]},
                                                              {u"update.secondary"_s, base + paths[1]},
                                                              {u"update.dev"_s, base + paths[2]}}),
                                                 nullptr));
        service.setLogSink([this](const QString &line) { log << line; });
        service.setUrlOpener([this](const QUrl &url) {
            opened << url.toString();
            return true;
        });
        // Only the hanging endpoints ever wait for it.
        service.setRequestTimeout(300ms);
    }

    // Runs `start` and waits for the check it starts to end.
    template<typename Start>
    bool finishes(Start start)
    {
        QSignalSpy finished(&service, &UpdateService::checkFinished);
        start();
        return !finished.isEmpty() || finished.wait(10000);
    }
    bool check()
    {
        return finishes([this] { service.startBackgroundCheck(); });
    }

    QList<int> asked() const
    {
        QList<int> counts;
        for (const QString &path : paths)
            counts << server.requestCount(path);
        return counts;
    }
    qsizetype logLinesStartingWith(const QString &prefix) const
    {
        return std::count_if(log.begin(), log.end(), [&](const QString &line) { return line.startsWith(prefix); });
    }

    ManualClock clock{morning};
    sim::LoopbackServer server;
    QStringList log;
    QStringList opened;
    UpdateService service{clock};
};

} // namespace

Q_DECLARE_METATYPE(Answer)

class TestUpdateService : public QObject
{
    Q_OBJECT

private slots:
    // -1: a ranks below b; 0: the same rank; 1: above.
    void versionOrder_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("order");

        QTest::newRow("major") << u"1.0.0"_s << u"2.0.0"_s << -1;
        QTest::newRow("minor") << u"2.0.0"_s << u"2.1.0"_s << -1;
        QTest::newRow("patch") << u"2.1.0"_s << u"2.1.1"_s << -1;
        QTest::newRow("numbers, not text") << u"1.9.0"_s << u"1.10.0"_s << -1;
        QTest::newRow("a higher major outweighs the rest") << u"2.0.0"_s << u"1.99.99"_s << 1;
        QTest::newRow("pre-release before its release") << u"1.0.0-rc.1"_s << u"1.0.0"_s << -1;
        QTest::newRow("pre-release after the patch before") << u"1.0.1-alpha"_s << u"1.0.0"_s << 1;
        QTest::newRow("more identifiers rank higher") << u"1.0.0-alpha"_s << u"1.0.0-alpha.1"_s << -1;
        QTest::newRow("numbers below words") << u"1.0.0-alpha.1"_s << u"1.0.0-alpha.beta"_s << -1;
        QTest::newRow("words in ASCII order") << u"1.0.0-alpha.beta"_s << u"1.0.0-beta"_s << -1;
        QTest::newRow("upper case before lower") << u"1.0.0-RC.1"_s << u"1.0.0-rc.1"_s << -1;
        QTest::newRow("numeric identifiers by value") << u"1.0.0-beta.2"_s << u"1.0.0-beta.11"_s << -1;
        QTest::newRow("build metadata is ignored") << u"1.0.0+build.7"_s << u"1.0.0+build.8"_s << 0;
        QTest::newRow("pre-release with build metadata") << u"1.0.0-rc.1+b.2"_s << u"1.0.0-rc.1"_s << 0;
        QTest::newRow("leading v") << u"v2.1.0"_s << u"2.1.0"_s << 0;
        QTest::newRow("64-bit numbers") << u"18446744073709551615.0.0"_s << u"18446744073709551614.9.9"_s << 1;
    }
    void versionOrder()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, order);
        const std::optional<SemanticVersion> first = SemanticVersion::parse(a);
        const std::optional<SemanticVersion> second = SemanticVersion::parse(b);
        QVERIFY(first && second);
        const auto ranked = [](int sign) {
            return sign < 0 ? std::strong_ordering::less
                   : sign > 0 ? std::strong_ordering::greater
                              : std::strong_ordering::equal;
        };
        QVERIFY((*first <=> *second) == ranked(order));
        QVERIFY((*second <=> *first) == ranked(-order));
        QCOMPARE(*first == *second, order == 0);
    }

    void notAVersion_data()
    {
        QTest::addColumn<QString>("text");

        QTest::newRow("empty") << QString();
        QTest::newRow("two parts") << u"1.2"_s;
        QTest::newRow("four parts") << u"1.2.3.4"_s;
        QTest::newRow("leading zero") << u"1.02.3"_s;
        QTest::newRow("leading zero in a numeric pre-release") << u"1.2.3-01"_s;
        QTest::newRow("empty pre-release") << u"1.2.3-"_s;
        QTest::newRow("empty identifier") << u"1.2.3-alpha..1"_s;
        QTest::newRow("empty build") << u"1.2.3+"_s;
        QTest::newRow("letters outside ASCII") << u"1.2.3+ä"_s;
        QTest::newRow("underscore") << u"1.2.3-beta_1"_s;
        QTest::newRow("words") << u"banana"_s;
        QTest::newRow("letters for numbers") << u"a.b.c"_s;
        QTest::newRow("blank before") << u" 1.2.3"_s;
        QTest::newRow("blank after") << u"1.2.3 "_s;
        QTest::newRow("negative") << u"-1.2.3"_s;
        QTest::newRow("two v") << u"vv1.2.3"_s;
        QTest::newRow("beyond 64 bits") << u"18446744073709551616.0.0"_s;
    }
    void notAVersion()
    {
        QFETCH(QString, text);
        QVERIFY(!SemanticVersion::parse(text));
    }

    void builtVersion_data()
    {
        QTest::addColumn<QString>("built");
        QTest::addColumn<QString>("shown");

        QTest::newRow("from the build") << u"2.4.1"_s << u"2.4.1"_s;
        QTest::newRow("missing") << QString() << u"1.0.0"_s;
        QTest::newRow("blank") << u"  "_s << u"1.0.0"_s;
    }
    void builtVersion()
    {
        QFETCH(QString, built);
        QFETCH(QString, shown);
        QCOMPARE(versionOrDefault(built), shown);
    }

    // The fields of a reply that parses; replies that do not are rows of check().
    void replyFields_data()
    {
        QTest::addColumn<QJsonObject>("reply");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("downloadUrl");
        QTest::addColumn<QString>("releaseNotes");

        const QJsonObject full{{u"version"_s, u"1.5.0"_s}, {u"downloadUrl"_s, downloadAddress},
                               {u"releaseNotes"_s, u"Neu\nBesser"_s}};
        QTest::newRow("complete") << full << u"1.5.0"_s << downloadAddress << u"Neu\nBesser"_s;
        QTest::newRow("version only") << QJsonObject{{u"version"_s, u"1.5.0"_s}} << u"1.5.0"_s << QString()
                                      << QString();
        QTest::newRow("blanks around the version") << test::with(full, u"version"_s, u" 1.5.0\n"_s) << u"1.5.0"_s
                                                   << downloadAddress << u"Neu\nBesser"_s;
        QTest::newRow("script address") << test::with(full, u"downloadUrl"_s, u"javascript:alert(1)"_s)
                                        << u"1.5.0"_s << QString() << u"Neu\nBesser"_s;
        QTest::newRow("file address") << test::with(full, u"downloadUrl"_s, u"file:///etc/passwd"_s) << u"1.5.0"_s
                                      << QString() << u"Neu\nBesser"_s;
        QTest::newRow("address without host") << test::with(full, u"downloadUrl"_s, u"https://"_s) << u"1.5.0"_s
                                              << QString() << u"Neu\nBesser"_s;
        QTest::newRow("address not a text") << test::with(full, u"downloadUrl"_s, 7) << u"1.5.0"_s << QString()
                                            << u"Neu\nBesser"_s;
        QTest::newRow("notes of blanks") << test::with(full, u"releaseNotes"_s, u" \n\t"_s) << u"1.5.0"_s
                                         << downloadAddress << QString();
        QTest::newRow("notes not a text") << test::with(full, u"releaseNotes"_s, QJsonArray{u"Neu"_s})
                                          << u"1.5.0"_s << downloadAddress << QString();
    }
    void replyFields()
    {
        QFETCH(QJsonObject, reply);
        const std::optional<AppVersionInfo> info = decodeVersionReply(compactJson(reply));
        QVERIFY(info);
        QTEST(info->version, "version");
        QTEST(info->downloadUrl, "downloadUrl");
        QTEST(info->releaseNotes, "releaseNotes");
    }

    // The endpoints are asked in order until one gives a version; that
    // answer decides, compared with the running version.
    void check_data()
    {
        QTest::addColumn<QString>("running");
        QTest::addColumn<QList<Answer>>("answers"); // primary, secondary, dev
        QTest::addColumn<QList<int>>("asked");
        QTest::addColumn<QString>("offered"); // empty: no alert
        QTest::addColumn<QString>("message");
        QTest::addColumn<int>("failures"); // log lines with "✗"

        using K = sim::Fault::Kind;
        const QString failed = UpdateService::failedMessage();
        const QByteArray oversized =
            compactJson({{u"version"_s, u"9.0.0"_s}, {u"releaseNotes"_s, QString(100'000, u'x')}});

        QTest::newRow("the primary wins")
            << u"1.4.2"_s << QList{offering(u"1.5.0"_s), offering(u"2.0.0"_s), offering(u"3.0.0"_s)}
            << QList{1, 0, 0} << u"1.5.0"_s << UpdateService::newerVersionMessage(u"1.5.0"_s) << 0;
        QTest::newRow("primary refuses, the secondary answers")
            << u"1.4.2"_s << QList{refusing(503), offering(u"1.5.0"_s), offering(u"3.0.0"_s)} << QList{1, 1, 0}
            << u"1.5.0"_s << UpdateService::newerVersionMessage(u"1.5.0"_s) << 1;
        QTest::newRow("primary hangs, the secondary answers")
            << u"1.4.2"_s << QList{misbehaving(K::Hang), offering(u"1.5.0"_s), offering(u"3.0.0"_s)}
            << QList{1, 1, 0} << u"1.5.0"_s << UpdateService::newerVersionMessage(u"1.5.0"_s) << 1;
        QTest::newRow("garbage and broken JSON, then the dev endpoint")
            << u"1.4.2"_s
            << QList{misbehaving(K::Garbage), misbehaving(K::InvalidJson), offering(u"1.5.0"_s)} << QList{1, 1, 1}
            << u"1.5.0"_s << UpdateService::newerVersionMessage(u"1.5.0"_s) << 2;
        QTest::newRow("versions that are none")
            << u"1.4.2"_s << QList{offering(u"banana"_s), offering(u"1.5"_s), offering(u"1.5.0"_s)}
            << QList{1, 1, 1} << u"1.5.0"_s << UpdateService::newerVersionMessage(u"1.5.0"_s) << 2;
        QTest::newRow("a body over the limit counts as no answer")
            << u"1.4.2"_s << QList{replying(oversized), offering(u"1.5.0"_s)} << QList{1, 1, 0} << u"1.5.0"_s
            << UpdateService::newerVersionMessage(u"1.5.0"_s) << 1;
        QTest::newRow("no version in any reply")
            << u"1.4.2"_s
            << QList{replying(R"({"release":"2.0.0"})"), replying(R"({"version":2})"), misbehaving(K::EmptyArray)}
            << QList{1, 1, 1} << QString() << failed << 4;
        QTest::newRow("every endpoint fails")
            << u"1.4.2"_s << QList{refusing(404), misbehaving(K::Empty), misbehaving(K::Truncate)}
            << QList{1, 1, 1} << QString() << failed << 4;
        QTest::newRow("the same version")
            << u"1.4.2"_s << QList{offering(u"1.4.2"_s), offering(u"3.0.0"_s)} << QList{1, 0, 0} << QString()
            << UpdateService::upToDateMessage(u"1.4.2"_s) << 0;
        QTest::newRow("an older version")
            << u"1.4.2"_s << QList{offering(u"1.4.1"_s), offering(u"3.0.0"_s)} << QList{1, 0, 0} << QString()
            << UpdateService::upToDateMessage(u"1.4.2"_s) << 0;
        QTest::newRow("a pre-release of the running version")
            << u"1.4.2"_s << QList{offering(u"1.4.2-rc.2"_s)} << QList{1, 0, 0} << QString()
            << UpdateService::upToDateMessage(u"1.4.2"_s) << 0;
        QTest::newRow("the release after the running pre-release")
            << u"1.4.2-rc.1"_s << QList{offering(u"1.4.2"_s)} << QList{1, 0, 0} << u"1.4.2"_s
            << UpdateService::newerVersionMessage(u"1.4.2"_s) << 0;
        QTest::newRow("the running version is none")
            << u"dev-build"_s << QList{offering(u"9.0.0"_s)} << QList{0, 0, 0} << QString() << failed << 1;
    }
    void check()
    {
        QFETCH(QString, running);
        QFETCH(QList<Answer>, answers);
        Harness h(answers);
        h.service.setRunningVersion(running);
        QVERIFY(h.check());

        QTEST(h.asked(), "asked");
        QFETCH(QString, offered);
        QCOMPARE(h.service.hasUpdate(), !offered.isEmpty());
        QCOMPARE(h.service.updateAvailable() ? h.service.updateAvailable()->version : QString(), offered);
        QTEST(h.service.lastCheckMessage(), "message");
        QVERIFY(!h.service.isChecking());
        // One line per endpoint asked, one per failure, one for the outcome.
        QCOMPARE(h.logLinesStartingWith(u"[Update] → "_s), h.asked()[0] + h.asked()[1] + h.asked()[2]);
        QTEST(int(h.logLinesStartingWith(u"[Update] ✗ "_s)), "failures");
        const QString outcome = offered.isEmpty() && h.service.lastCheckMessage() == UpdateService::failedMessage()
                                    ? u"[Update] ✗ "_s
                                    : u"[Update] ✓ "_s;
        QVERIFY2(h.log.last().startsWith(outcome), qPrintable(h.log.join(u'\n')));
    }

    void statusThroughACheck()
    {
        Harness h({misbehaving(sim::Fault::Kind::Hang), refusing(503), refusing(503)});
        QCOMPARE(h.service.lastCheckMessage(), u"Noch nicht geprüft"_s);
        QVERIFY(!h.service.lastCheckedAt().isValid());

        QSignalSpy finished(&h.service, &UpdateService::checkFinished);
        h.service.startBackgroundCheck();
        QCOMPARE(h.log.first(), u"[Update] Versions-Endpunkte aktiv — starte Hintergrund-Check..."_s);
        QCOMPARE(h.service.lastCheckMessage(), u"Pruefe Updates (Versions-Endpunkte)..."_s);
        QCOMPARE(h.service.lastCheckedAt(), morning);
        QVERIFY(h.service.isChecking());

        // A second start while the first runs is no second check.
        h.clock.setNow(morning.addSecs(60));
        h.service.startBackgroundCheck();
        QVERIFY(finished.wait(10000));
        QCOMPARE(h.asked(), (QList{1, 1, 1}));
        QCOMPARE(h.service.lastCheckedAt(), morning);
        QCOMPARE(h.service.lastCheckMessage(), UpdateService::failedMessage());

        // The next check stamps its own start.
        QVERIFY(h.check());
        QCOMPARE(h.service.lastCheckedAt(), morning.addSecs(60));
    }

    // "Jetzt aktualisieren" hands a pending version to the browser; with
    // none pending the user asks the endpoints again.
    void userCheck_data()
    {
        QTest::addColumn<bool>("pending");
        QTest::addColumn<QString>("downloadUrl");
        QTest::addColumn<QStringList>("opened");
        QTest::addColumn<int>("asked");
        QTest::addColumn<QString>("pendingAfter");

        QTest::newRow("pending, with an address") << true << downloadAddress << QStringList{downloadAddress} << 0
                                                  << u"2.0.0"_s;
        QTest::newRow("pending, without an address") << true << QString() << QStringList() << 0 << u"2.0.0"_s;
        QTest::newRow("nothing pending") << false << QString() << QStringList() << 1 << u"1.5.0"_s;
    }
    void userCheck()
    {
        QFETCH(bool, pending);
        QFETCH(QString, downloadUrl);
        Harness h({offering(u"1.5.0"_s)});
        h.service.setRunningVersion(u"1.4.2"_s);
        if (pending) {
            AppVersionInfo info;
            info.version = u"2.0.0"_s;
            info.downloadUrl = downloadUrl;
            h.service.setUpdateAvailable(info);
            h.service.checkByUser();
        } else {
            QVERIFY(h.finishes([&] { h.service.checkByUser(); }));
        }
        QTEST(h.opened, "opened");
        QTEST(h.asked()[0], "asked");
        // Clearing is the alert's business, not the service's.
        QTEST(h.service.updateAvailable() ? h.service.updateAvailable()->version : QString(), "pendingAfter");
        QVERIFY(!h.service.lastCheckedAt().isValid()); // only the background check stamps it
    }

    // The check against kalvo-backend's own version endpoint, as its
    // operator configures it, and as it answers out of the box.
    void againstTheBackend_data()
    {
        QTest::addColumn<bool>("operatorSetsRelease");
        QTest::newRow("operator announces 9.0.0") << true;
        QTest::newRow("backend of this build") << false;
    }
    void againstTheBackend()
    {
        QFETCH(bool, operatorSetsRelease);
        backend::BackendOptions options;
        options.tokens = {u"token"_s};
        options.log = [](const QString &) {};
        if (operatorSetsRelease)
            options.release = {u"9.0.0"_s, downloadAddress, u"Neue Briefings\nSchnellerer Kalender"_s};
        backend::BackendServer server(options);
        QVERIFY(server.listen() != 0);
        const QString functions = server.functionsUrl().toString();
        const QString development = u"http://127.0.0.1:%1/_functions-dev"_s.arg(server.port());

        ManualClock clock(morning);
        UpdateService service(clock);
        service.setLogSink([](const QString &) {});
        service.setEndpoints(Endpoints::fromJson(
            compactJson({{u"update.primary"_s, functions + u"/appVersion"_s},
                         {u"update.secondary"_s, functions + u"/appVersion"_s},
                         {u"update.dev"_s, development + u"/appVersion"_s}}),
            nullptr));
        QSignalSpy finished(&service, &UpdateService::checkFinished);
        service.startBackgroundCheck();
        QVERIFY(finished.wait(10000));

        if (operatorSetsRelease) {
            QVERIFY(service.updateAvailable());
            QCOMPARE(service.updateAvailable()->version, u"9.0.0"_s);
            QCOMPARE(service.updateAvailable()->downloadUrl, downloadAddress);
            QCOMPARE(service.updateAvailable()->releaseNotes, u"Neue Briefings\nSchnellerer Kalender"_s);
            QCOMPARE(service.lastCheckMessage(), UpdateService::newerVersionMessage(u"9.0.0"_s));
        } else {
            // Both sides take their version from the same build.
            QVERIFY(!service.updateAvailable());
            QCOMPARE(service.lastCheckMessage(), UpdateService::upToDateMessage(currentVersion()));
        }
    }
};

QTEST_GUILESS_MAIN(TestUpdateService)
#include "tst_updateservice.moc"
