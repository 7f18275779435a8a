#include "../TestSupport.h"

#include "BackendServer.h"
#include "LoopbackServer.h"
#include "core/Clock.h"
#include "core/Endpoints.h"
#include "update/UpdateService.h"

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

// The update service against three version endpoints: answers on one
// loopback server, or the primary, secondary and dev addresses given.
struct Harness
{
    explicit Harness(const QList<Answer> &answers)
    {
        QStringList addresses;
        for (qsizetype i = 0; i < paths.size(); ++i) {
            const Answer answer = i < answers.size() ? answers[i] : refusing(404);
            server.route(paths[i], [answer](const sim::RecordedRequest &) {
                return sim::HttpReply{answer.status, "application/json", answer.body};
            });
            if (answer.fault)
                server.setFault(paths[i], {*answer.fault, 200, 0});
            addresses << paths[i];
        }
        server.start();
        pointAt(addresses, server.baseUrl().toString());
    }
    explicit Harness(const QStringList &addresses) { pointAt(addresses); }

    void pointAt(const QStringList &addresses, const QString &base = {})
    {
        service.setEndpoints(Endpoints::fromJson(compactJson({{u"update.primary"_s, base + addresses[0]},
                                                              {u"update.secondary"_s, base + addresses[1]},
                                                              {u"update.dev"_s, base + addresses[2]}}),
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

        QTest::newRow("a higher major outweighs the rest") << u"2.0.0"_s << u"1.99.99"_s << 1;
        QTest::newRow("a higher minor outweighs the patch") << u"2.1.0"_s << u"2.0.9"_s << 1;
        QTest::newRow("patch as a number, not text") << u"2.1.9"_s << u"2.1.10"_s << -1;
        QTest::newRow("pre-release before its release") << u"1.0.0-rc.1"_s << u"1.0.0"_s << -1;
        QTest::newRow("pre-release after the patch before") << u"1.0.1-alpha"_s << u"1.0.0"_s << 1;
        QTest::newRow("more identifiers rank higher") << u"1.0.0-alpha"_s << u"1.0.0-alpha.1"_s << -1;
        QTest::newRow("numbers below words") << u"1.0.0-alpha.1"_s << u"1.0.0-alpha.beta"_s << -1;
        QTest::newRow("upper case before lower") << u"1.0.0-RC.1"_s << u"1.0.0-rc.1"_s << -1;
        QTest::newRow("numeric identifiers by value") << u"1.0.0-beta.2"_s << u"1.0.0-beta.11"_s << -1;
        QTest::newRow("build metadata is ignored") << u"1.0.0-rc.1+build.7"_s << u"1.0.0-rc.1+build.8"_s << 0;
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
        QVERIFY((*first <=> *second) == (order <=> 0));
        QVERIFY((*second <=> *first) == (0 <=> order));
        QCOMPARE(*first == *second, order == 0);
    }

    void notAVersion_data()
    {
        QTest::addColumn<QString>("text");

        QTest::newRow("two parts") << u"1.2"_s;
        QTest::newRow("four parts") << u"1.2.3.4"_s;
        QTest::newRow("leading zero") << u"1.02.3"_s;
        QTest::newRow("leading zero in a numeric pre-release") << u"1.2.3-01"_s;
        QTest::newRow("empty identifier") << u"1.2.3-alpha..1"_s;
        QTest::newRow("letters outside ASCII") << u"1.2.3+ä"_s;
        QTest::newRow("underscore") << u"1.2.3-beta_1"_s;
        QTest::newRow("blank after") << u"1.2.3 "_s;
        QTest::newRow("two v") << u"vv1.2.3"_s;
        QTest::newRow("beyond 64 bits") << u"18446744073709551616.0.0"_s;
    }
    void notAVersion()
    {
        QFETCH(QString, text);
        QVERIFY(!SemanticVersion::parse(text));
    }

    void builtVersion()
    {
        QCOMPARE(versionOrDefault(u"2.4.1"_s), u"2.4.1"_s);
        QCOMPARE(versionOrDefault(u"  "_s), u"1.0.0"_s);
    }

    // The fields of a reply that parses; replies that do not are rows of check().
    void replyFields_data()
    {
        QTest::addColumn<QJsonObject>("reply");
        QTest::addColumn<QString>("downloadUrl");
        QTest::addColumn<QString>("releaseNotes");

        const QString notes = u"Neu\nBesser"_s;
        const QJsonObject full{{u"version"_s, u"1.5.0"_s}, {u"downloadUrl"_s, downloadAddress},
                               {u"releaseNotes"_s, notes}};
        QTest::newRow("complete") << full << downloadAddress << notes;
        QTest::newRow("version only") << QJsonObject{{u"version"_s, u"1.5.0"_s}} << QString() << QString();
        QTest::newRow("blanks around the version") << test::with(full, u"version"_s, u" 1.5.0\n"_s) << downloadAddress
                                                   << notes;
        QTest::newRow("script address") << test::with(full, u"downloadUrl"_s, u"javascript:alert(1)"_s) << QString()
                                        << notes;
        QTest::newRow("address without host") << test::with(full, u"downloadUrl"_s, u"https://"_s) << QString()
                                              << notes;
        QTest::newRow("notes of blanks") << test::with(full, u"releaseNotes"_s, u" \n\t"_s) << downloadAddress
                                         << QString();
    }
    void replyFields()
    {
        QFETCH(QJsonObject, reply);
        const std::optional<AppVersionInfo> info = decodeVersionReply(compactJson(reply));
        QVERIFY(info);
        QCOMPARE(info->version, u"1.5.0"_s);
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

        using K = sim::Fault::Kind;
        const QString failed = UpdateService::failedMessage();
        const QString current = UpdateService::upToDateMessage(u"1.4.2"_s);
        const auto newer = &UpdateService::newerVersionMessage;
        const QByteArray oversized =
            compactJson({{u"version"_s, u"9.0.0"_s}, {u"releaseNotes"_s, QString(100'000, u'x')}});

        QTest::newRow("the primary wins")
            << u"1.4.2"_s << QList{offering(u"1.5.0"_s), offering(u"2.0.0"_s), offering(u"3.0.0"_s)}
            << QList{1, 0, 0} << u"1.5.0"_s << newer(u"1.5.0"_s);
        QTest::newRow("primary refuses, the secondary answers")
            << u"1.4.2"_s << QList{refusing(503), offering(u"1.5.0"_s), offering(u"3.0.0"_s)} << QList{1, 1, 0}
            << u"1.5.0"_s << newer(u"1.5.0"_s);
        QTest::newRow("primary hangs, the secondary answers")
            << u"1.4.2"_s << QList{misbehaving(K::Hang), offering(u"1.5.0"_s), offering(u"3.0.0"_s)}
            << QList{1, 1, 0} << u"1.5.0"_s << newer(u"1.5.0"_s);
        QTest::newRow("a body over the limit, then a version that is none")
            << u"1.4.2"_s << QList{replying(oversized), offering(u"banana"_s), offering(u"1.5.0"_s)}
            << QList{1, 1, 1} << u"1.5.0"_s << newer(u"1.5.0"_s);
        QTest::newRow("every endpoint fails")
            << u"1.4.2"_s << QList{refusing(404), misbehaving(K::Truncate), replying(R"({"version":2})")}
            << QList{1, 1, 1} << QString() << failed;
        QTest::newRow("the same version")
            << u"1.4.2"_s << QList{offering(u"1.4.2"_s), offering(u"3.0.0"_s)} << QList{1, 0, 0} << QString()
            << current;
        QTest::newRow("an older version")
            << u"1.4.2"_s << QList{offering(u"1.4.1"_s), offering(u"3.0.0"_s)} << QList{1, 0, 0} << QString()
            << current;
        QTest::newRow("the release after the running pre-release")
            << u"1.4.2-rc.1"_s << QList{offering(u"1.4.2"_s)} << QList{1, 0, 0} << u"1.4.2"_s << newer(u"1.4.2"_s);
        QTest::newRow("the running version is none")
            << u"dev-build"_s << QList{offering(u"9.0.0"_s)} << QList{0, 0, 0} << QString() << failed;
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
        // One line per endpoint asked; a failure line for each that gave no
        // version, and for a check that found none.
        const qsizetype asked = h.asked()[0] + h.asked()[1] + h.asked()[2];
        const bool failedCheck = h.service.lastCheckMessage() == UpdateService::failedMessage();
        QCOMPARE(h.logLinesStartingWith(u"[Update] → "_s), asked);
        QCOMPARE(h.logLinesStartingWith(u"[Update] ✗ "_s), failedCheck ? asked + 1 : asked - 1);
        QVERIFY2(h.log.last().startsWith(failedCheck ? u"[Update] ✗ "_s : u"[Update] ✓ "_s),
                 qPrintable(h.log.join(u'\n')));
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

        QTest::newRow("pending, with an address") << true << downloadAddress << QStringList{downloadAddress};
        QTest::newRow("pending, without an address") << true << QString() << QStringList();
        QTest::newRow("nothing pending") << false << QString() << QStringList();
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
        QCOMPARE(h.asked()[0], pending ? 0 : 1);
        // Clearing is the alert's business, not the service's.
        QVERIFY(h.service.updateAvailable());
        QCOMPARE(h.service.updateAvailable()->version, pending ? u"2.0.0"_s : u"1.5.0"_s);
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
        const QString functions = server.functionsUrl().toString() + u"/appVersion"_s;
        const QString development = u"http://127.0.0.1:%1/_functions-dev/appVersion"_s.arg(server.port());
        Harness h(QStringList{functions, functions, development});
        QVERIFY(h.check());
        const UpdateService &service = h.service;

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
