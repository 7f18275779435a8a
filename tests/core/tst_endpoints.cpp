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
};

QTEST_GUILESS_MAIN(TestEndpoints)
#include "tst_endpoints.moc"
