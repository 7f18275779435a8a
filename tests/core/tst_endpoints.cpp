#include "../TestSupport.h"

#include "core/Endpoints.h"

#include <QSet>
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
    void defaultsAreUsable()
    {
        QStringList feeds;
        for (const Endpoints::Entry &entry : Endpoints::defaults()) {
            const QUrl url(entry.url, QUrl::StrictMode);
            QVERIFY2(url.isValid() && !url.host().isEmpty(), qPrintable(entry.url));
            const bool local = entry.key == "backend"_L1 || entry.key.startsWith("update."_L1);
            QCOMPARE(url.scheme(), local ? u"http"_s : u"https"_s);
            if (entry.key.startsWith("feed."_L1))
                feeds << entry.key;
        }
        QCOMPARE(feeds.size(), 22);
        QVERIFY(Endpoints::defaults().size() > 22);
        for (int i = 0; i < 22; ++i)
            QCOMPARE(Endpoints::feedKey(i), feeds.at(i));
    }

    void overrides_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("expected"); // null: the default
        QTest::addColumn<int>("problems");
        const QByteArray base = json({{u"base"_s, simulator}});
        QTest::newRow("base, feed") << base << u"feed.google_fed"_s
            << simulator + "/rss/search?q=federal%20reserve%20rate%20decision&hl=en-US&gl=US&ceid=US:en"_L1 << 0;
        QTest::newRow("base, backend") << base << u"backend"_s << simulator + "/_functions"_L1 << 0;
        QTest::newRow("base, update") << base << u"update.dev"_s << simulator + "/_functions-dev/appVersion"_L1 << 0;
        QTest::newRow("base, rates") << base << u"price.frankfurter"_s << simulator + "/latest?from=USD"_L1 << 0;
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
        QTest::newRow("not JSON") << base.chopped(1) << u"backend"_s << QString() << 1;
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
        QStringList foundInFile, foundInText;
        QCOMPARE(Endpoints::fromFile(saved.fileName(), &foundInFile).url(key), expected.isNull() ? defaultUrl(key) : expected);
        QCOMPARE(Endpoints::fromJson(file, &foundInText).url(key), expected.isNull() ? defaultUrl(key) : expected);
        QCOMPARE(foundInFile.size(), problems);
        QCOMPARE(foundInText.size(), problems);
    }

    void missingFileIsReported()
    {
        QStringList problems;
        QCOMPARE(Endpoints::fromFile(u"/nonexistent/endpoints.json"_s, &problems).url(u"backend"_s), defaultUrl(u"backend"_s));
        QCOMPARE(problems.size(), 1);
    }

    void baseReRootsEveryAddress()
    {
        QStringList problems;
        const Endpoints endpoints = Endpoints::fromJson(json({{u"base"_s, simulator}}), &problems);
        QVERIFY(problems.isEmpty());
        for (const Endpoints::Entry &entry : Endpoints::defaults()) {
            const QUrl original(entry.url), moved(endpoints.url(entry.key));
            QCOMPARE(moved.adjusted(QUrl::RemovePath | QUrl::RemoveQuery).toString(), simulator);
            QCOMPARE(moved.path() + u'?' + moved.query(), original.path() + u'?' + original.query());
        }
        // The simulator serves every feed from that one origin: no two may collapse into one address.
        QSet<QString> feeds;
        for (int i = 0; i < 22; ++i)
            feeds << endpoints.url(Endpoints::feedKey(i));
        QCOMPARE(feeds.size(), 22);
    }
};

QTEST_GUILESS_MAIN(TestEndpoints)
#include "tst_endpoints.moc"
