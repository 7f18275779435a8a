#include "../TestSupport.h"

#include "core/Config.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QScopeGuard>
#include <QTemporaryDir>

using namespace kalvo;

namespace {

// Both differ from the defaults and from each other in text, number and list members.
const Config configA{u"key-a"_s, u"fast-a"_s, u"detail-a"_s, {}, u"tts-a"_s, u"voice-a"_s, 30, 48, {u"EUR/GBP"_s}};
const Config configB{u"key-b"_s, u"fast-b"_s, u"detail-b"_s, u"openai-b"_s, u"tts-b"_s, u"voice-b"_s, 5, 12, {}, {}};

// Stand-ins for candidates that are not files with some content.
const QByteArray absent = "<absent>", directory = "<directory>";

} // namespace

class TestConfig : public QObject
{
    Q_OBJECT

private slots:
    void decodingIsStrict_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value"); // undefined: key removed
        QTest::addColumn<bool>("accepted");
        QTest::newRow("complete") << u"claude_api_key"_s << QJsonValue(u"key-a"_s) << true;
        for (const char *key : {"claude_api_key", "claude_fast_model", "claude_detail_model", "openai_api_key",
                                "openai_tts_model", "openai_tts_voice", "news_refresh_seconds", "news_max_age_hours",
                                "market_pairs", "market_extras", "price_refresh_seconds", "alert_min_score",
                                "news_sound_normal", "news_sound_high_impact"})
            QTest::addRow("no %s", key) << QString::fromLatin1(key) << QJsonValue(QJsonValue::Undefined) << false;
        QTest::newRow("integer for real") << u"alert_min_score"_s << QJsonValue(8) << true;
        QTest::newRow("fraction for integer") << u"news_refresh_seconds"_s << QJsonValue(2.5) << false;
        QTest::newRow("whole real for integer") << u"news_max_age_hours"_s << QJsonValue(48.0) << true;
        QTest::newRow("number as text") << u"price_refresh_seconds"_s << QJsonValue(u"15"_s) << false;
        QTest::newRow("text null") << u"openai_api_key"_s << QJsonValue() << false;
        QTest::newRow("list with a number") << u"market_pairs"_s << QJsonValue(QJsonArray{u"EUR/USD"_s, 1}) << false;
        QTest::newRow("list as text") << u"market_extras"_s << QJsonValue(u"DXY"_s) << false;
        QTest::newRow("unknown key") << u"theme"_s << QJsonValue(u"dark"_s) << true;
    }
    void decodingIsStrict()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QFETCH(bool, accepted);
        const std::optional<Config> config = Config::fromJson(test::with(configA.toJson(), key, value));
        QCOMPARE(config.has_value(), accepted);
        if (!config)
            return;
        QJsonObject decoded = config->toJson(), expected = configA.toJson();
        if (expected.contains(key))
            QCOMPARE(decoded.take(key).toVariant(), value.toVariant()); // 8 and 8.0 compare equal here
        expected.remove(key);
        QCOMPARE(compactJson(decoded), compactJson(expected));
    }

    void firstExistingFileDecides_data()
    {
        QTest::addColumn<QByteArrayList>("files");
        QTest::addColumn<QString>("expected"); // "A", "B" or "defaults"
        const QByteArray a = compactJson(configA.toJson()), b = compactJson(configB.toJson());
        QTest::newRow("none exists") << QByteArrayList{absent, absent} << u"defaults"_s;
        QTest::newRow("first valid") << QByteArrayList{a, b} << u"A"_s;
        QTest::newRow("first absent") << QByteArrayList{absent, b} << u"B"_s;
        QTest::newRow("first lacks a key")
            << QByteArrayList{compactJson(test::with(configA.toJson(), u"market_extras"_s, QJsonValue::Undefined)), b}
            << u"defaults"_s;
        QTest::newRow("first not JSON") << QByteArrayList{a.chopped(1), b} << u"defaults"_s;
        QTest::newRow("first an array") << QByteArrayList{"[" + a + "]", b} << u"defaults"_s;
        QTest::newRow("first a directory") << QByteArrayList{directory, b} << u"defaults"_s;
    }
    void firstExistingFileDecides()
    {
        QFETCH(QByteArrayList, files);
        QFETCH(QString, expected);
        QTemporaryDir dir;
        QStringList candidates;
        for (const QByteArray &content : files) {
            candidates << dir.filePath(u"config%1.json"_s.arg(candidates.size()));
            QFile file(candidates.last());
            if (content == directory)
                QVERIFY(QDir().mkpath(file.fileName()));
            else if (content != absent)
                QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) >= 0);
        }
        const Config want = expected == "A"_L1 ? configA : expected == "B"_L1 ? configB : Config();
        QCOMPARE(compactJson(ConfigFiles::loadFrom(candidates).toJson()), compactJson(want.toJson()));
    }

    void savedFileLoadsBack()
    {
        QTemporaryDir dir;
        const QString folder = dir.filePath(u"not/yet/Kalvo"_s);
        qputenv("KALVO_DATA_DIR", folder.toUtf8());
        const auto restore = qScopeGuard([] { qunsetenv("KALVO_DATA_DIR"); });

        const std::optional<QString> error = ConfigFiles::save(configA);
        QVERIFY2(!error, qPrintable(error.value_or(QString())));
        QVERIFY(ConfigFiles::userPath().startsWith(folder + u'/'));
        QCOMPARE(ConfigFiles::candidates().value(0), ConfigFiles::userPath());
        QCOMPARE(compactJson(ConfigFiles::loadFrom({ConfigFiles::userPath()}).toJson()), compactJson(configA.toJson()));
        QFile file(ConfigFiles::userPath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), compactJson(configA.toJson()));
    }

    // The file may hold the vendor keys: for its owner only, also when an
    // older, more open file is replaced.
    void savedFileIsTheOwnersAlone_data()
    {
        QTest::addColumn<bool>("olderFile");
        QTest::newRow("first save") << false;
        QTest::newRow("replacing a readable file") << true;
    }
    void savedFileIsTheOwnersAlone()
    {
        QFETCH(bool, olderFile);
        QTemporaryDir dir;
        qputenv("KALVO_DATA_DIR", dir.path().toUtf8());
        const auto restore = qScopeGuard([] { qunsetenv("KALVO_DATA_DIR"); });
        if (olderFile) {
            QFile older(ConfigFiles::userPath());
            QVERIFY(older.open(QIODevice::WriteOnly) && older.write("{}") == 2);
            older.close();
            QVERIFY(older.setPermissions(older.permissions() | QFileDevice::ReadGroup | QFileDevice::ReadOther));
        }
        QVERIFY(!ConfigFiles::save(configB));
        const QFileDevice::Permissions mode = QFileInfo(ConfigFiles::userPath()).permissions();
        QVERIFY(mode.testFlags(QFileDevice::ReadOwner | QFileDevice::WriteOwner));
        QCOMPARE(mode & (QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther
                         | QFileDevice::WriteOther),
                 QFileDevice::Permissions());
        QCOMPARE(ConfigFiles::load(), configB);
    }
};

QTEST_GUILESS_MAIN(TestConfig)
#include "tst_config.moc"
