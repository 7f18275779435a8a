#include "../TestSupport.h"

#include "core/Endpoints.h"

#include <QDir>
#include <QScopeGuard>
#include <QSet>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QUrl>

using namespace kalvo;

namespace {

const QString simulator = u"http://127.0.0.1:8080"_s;

QString defaultUrl(const QString &key)
{
    for (const Endpoints::Entry &entry : Endpoints::defaults())
        if (entry.key == key)
            return entry.url;
    return {};
}

// Built from objects: moc's scanner trips over "//" inside raw string literals.
QByteArray json(std::initializer_list<std::pair<QString, QJsonValue>> members)
{
    return compactJson(QJsonObject(members));
}

} // namespace

class TestEndpoints : public QObject
{
    Q_OBJECT

private slots:
    // Every default is usable; a base moves each to its origin with path and
    // query intact. The simulator serves every feed from that one origin, so
    // no two feeds may collapse into one address.
    void defaultsAndTheirBase()
    {
        QStringList problems;
        const Endpoints moved = Endpoints::fromJson(json({{u"base"_s, simulator}}), &problems);
        QVERIFY(problems.isEmpty());
        QStringList feeds;
        QSet<QString> movedFeeds;
        for (const Endpoints::Entry &entry : Endpoints::defaults()) {
            const QUrl url(entry.url, QUrl::StrictMode), movedUrl(moved.url(entry.key));
            QVERIFY2(url.isValid() && !url.host().isEmpty(), qPrintable(entry.url));
            const bool local = entry.key == "backend"_L1 || entry.key.startsWith("update."_L1);
            QCOMPARE(url.scheme(), local ? u"http"_s : u"https"_s);
            QCOMPARE(movedUrl.adjusted(QUrl::RemovePath | QUrl::RemoveQuery).toString(), simulator);
            QCOMPARE(movedUrl.path() + u'?' + movedUrl.query(), url.path() + u'?' + url.query());
            if (entry.key.startsWith("feed."_L1)) {
                feeds << entry.key;
                movedFeeds << movedUrl.toString();
            }
        }
        QCOMPARE(feeds.size(), 22);
        QCOMPARE(movedFeeds.size(), 22);
        QVERIFY(Endpoints::defaults().size() > 22);
        for (int i = 0; i < 22; ++i)
            QCOMPARE(Endpoints::feedKey(i), feeds.at(i));
    }

    void overrides_data()
    {
        QTest::addColumn<QByteArray>("file"); // null: no file at all
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected"); // null: the default
        QTest::addColumn<int>("problems");
        QTest::newRow("no file") << QByteArray() << u"backend"_s << QString() << 1;
        const QByteArray both = json({{u"base"_s, simulator}, {u"feed.boj"_s, u"https://example.org/boj.xml"_s}});
        QTest::newRow("key beats base") << both << u"feed.boj"_s << u"https://example.org/boj.xml"_s << 0;
        QTest::newRow("others re-rooted") << both << u"feed.cnbc"_s << simulator + "/id/10000664/device/rss/rss.html"_L1 << 0;
        QTest::newRow("unknown key") << json({{u"feed.nope"_s, u"https://example.org/x"_s}}) << u"feed.nope"_s << u""_s << 1;
        QTest::newRow("not a URL") << json({{u"feed.boj"_s, u"not a url"_s}}) << u"feed.boj"_s << QString() << 1;
        QTest::newRow("not http") << json({{u"feed.boj"_s, u"ftp://example.org/x"_s}}) << u"feed.boj"_s << QString() << 1;
        QTest::newRow("not text") << json({{u"feed.boj"_s, 5}}) << u"feed.boj"_s << QString() << 1;
        QTest::newRow("bad base") << json({{u"base"_s, u"nowhere"_s}}) << u"backend"_s << QString() << 1;
        QTest::newRow("bad and good key") << json({{u"feed.boj"_s, u"x"_s}, {u"feed.cnbc"_s, u"https://c.example/r"_s}})
                                          << u"feed.cnbc"_s << u"https://c.example/r"_s << 1;
        QTest::newRow("not JSON") << json({{u"base"_s, simulator}}).chopped(1) << u"backend"_s << QString() << 1;
        QTest::newRow("JSON array") << "[1]"_ba << u"backend"_s << QString() << 1;
    }
    void overrides()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, key);
        QFETCH(QString, expected);
        QFETCH(int, problems);
        QTemporaryFile saved;
        QVERIFY(saved.open() && saved.write(file) == file.size() && saved.flush());
        const QString path = file.isNull() ? u"/nonexistent/endpoints.json"_s : saved.fileName();
        QStringList foundInFile, foundInText;
        QCOMPARE(Endpoints::fromFile(path, &foundInFile).url(key), expected.isNull() ? defaultUrl(key) : expected);
        QCOMPARE(Endpoints::fromJson(file, &foundInText).url(key), expected.isNull() ? defaultUrl(key) : expected);
        QCOMPARE(foundInFile.size(), problems);
        QCOMPARE(foundInText.size(), problems);
    }

    // The settings write "backend" into a file that may hold more addresses.
    void storingTheBackendKeepsTheRest_data()
    {
        QTest::addColumn<QByteArray>("before"); // null: no file yet
        QTest::addColumn<QString>("address");   // empty: remove the key
        QTest::addColumn<QByteArray>("after");  // null: refused, the file as it was
        const QString shared = u"https://ai.example.org/_functions"_s;
        const QByteArray base = json({{u"base"_s, simulator}});
        QTest::newRow("no file yet") << QByteArray() << shared << json({{u"backend"_s, shared}});
        QTest::newRow("beside the base") << base << shared << json({{u"base"_s, simulator}, {u"backend"_s, shared}});
        QTest::newRow("replaced") << json({{u"backend"_s, u"http://old.example/_functions"_s}}) << shared
                                  << json({{u"backend"_s, shared}});
        QTest::newRow("removed") << json({{u"base"_s, simulator}, {u"backend"_s, shared}}) << QString() << base;
        QTest::newRow("not JSON: left alone") << "{\"base\": " + simulator.toUtf8() << shared << QByteArray();
    }
    void storingTheBackendKeepsTheRest()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, address);
        QFETCH(QByteArray, after);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"Kalvo/endpoints.json"_s);
        if (!before.isNull()) {
            QVERIFY(QDir().mkpath(dir.filePath(u"Kalvo"_s)));
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(before) == before.size());
        }
        const std::optional<QString> error = Endpoints::storeBackend(path, address);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        if (after.isNull()) {
            QVERIFY(error);
            QCOMPARE(content, before);
            return;
        }
        QVERIFY2(!error, qPrintable(error.value_or(QString())));
        QCOMPARE(compactJson(QJsonDocument::fromJson(content).object()), after);
        QCOMPARE(file.permissions() & ~(QFileDevice::ReadUser | QFileDevice::WriteUser),
                 QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        QCOMPARE(Endpoints::backendIn(path), address);
    }

    // A file named on the command line wins; else the data folder's, when there is one.
    void whichFileIsRead_data()
    {
        QTest::addColumn<bool>("named");
        QTest::addColumn<bool>("inDataFolder");
        QTest::addColumn<QString>("chosen"); // "named", "data" or empty
        QTest::newRow("named wins") << true << true << u"named"_s;
        QTest::newRow("the data folder's") << false << true << u"data"_s;
        QTest::newRow("none") << false << false << QString();
    }
    void whichFileIsRead()
    {
        QFETCH(bool, named);
        QFETCH(bool, inDataFolder);
        QFETCH(QString, chosen);
        QTemporaryDir dir;
        qputenv("KALVO_DATA_DIR", dir.path().toUtf8());
        const auto restore = qScopeGuard([] { qunsetenv("KALVO_DATA_DIR"); });
        QCOMPARE(Endpoints::userFilePath(), dir.filePath(u"endpoints.json"_s));
        if (inDataFolder)
            QVERIFY(!Endpoints::storeBackend(Endpoints::userFilePath(), simulator));
        const QString namedFile = named ? dir.filePath(u"elsewhere.json"_s) : QString();
        const QString expected = chosen == "named"_L1 ? namedFile
                                 : chosen == "data"_L1 ? Endpoints::userFilePath()
                                                       : QString();
        QCOMPARE(Endpoints::chooseFile(namedFile), expected);
    }
};

QTEST_GUILESS_MAIN(TestEndpoints)
#include "tst_endpoints.moc"
