#include "AccessTokens.h"
#include "BackendOptions.h"
#include "RateLimiter.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace kalvo::backend;

class TestBackendSetup : public QObject
{
    Q_OBJECT

private slots:
    void readsTokens()
    {
        const QStringList both{u"alpha"_s, u"beta"_s};
        QCOMPARE(BackendSetup::tokensFromFile("  alpha \r\n\r\n\tbeta\r\n"), both);
        QCOMPARE(BackendSetup::tokensFromFile("# app tokens\nalpha\n  # old: beta\n"), QStringList{u"alpha"_s});
        QCOMPARE(BackendSetup::tokensFromFile(""), QStringList());
        QCOMPARE(BackendSetup::tokensFromList(u" alpha , ,beta,"_s), both);
    }

    void readsKeyFiles()
    {
        using Keys = QMap<QString, QString>;
        QCOMPARE(BackendSetup::keysFromFile("export ANTHROPIC_API_KEY=\"sk-a=1\"\nOPENAI_API_KEY='sk-o'\n"),
                 (Keys{{u"ANTHROPIC_API_KEY"_s, u"sk-a=1"_s}, {u"OPENAI_API_KEY"_s, u"sk-o"_s}}));
        QCOMPARE(BackendSetup::keysFromFile("# keys\nnot a key line\n=value\nOPENAI_API_KEY = sk-o \n"),
                 (Keys{{u"OPENAI_API_KEY"_s, u"sk-o"_s}}));
    }

    void matchesTokens_data()
    {
        QTest::addColumn<QStringList>("tokens");
        QTest::addColumn<QString>("candidate");
        QTest::addColumn<int>("index"); // -1: refused

        const QStringList two{u"alpha-token"_s, u"beta-token"_s};
        QTest::newRow("second") << two << u"beta-token"_s << 1;
        QTest::newRow("prefix") << two << u"alpha-toke"_s << -1;
        QTest::newRow("empty candidate, empty entry ignored") << QStringList{QString(), u"x"_s} << QString() << -1;
        QTest::newRow("non-ASCII token") << QStringList{u"schlüssel-ä"_s} << u"schlüssel-ä"_s << 0;
    }

    void matchesTokens()
    {
        QFETCH(QStringList, tokens);
        QFETCH(QString, candidate);
        QFETCH(int, index);
        const std::optional<int> match = AccessTokens(tokens).match(candidate);
        QCOMPARE(match.value_or(-1), index);
    }

    void tellsHowLongToWait_data()
    {
        QTest::addColumn<double>("perMinute");
        QTest::addColumn<int>("burst");
        QTest::addColumn<qint64>("elapsedMs"); // after the burst is used up
        QTest::addColumn<int>("retryAfter");   // 0: the next call passes

        QTest::newRow("six a minute, partly refilled") << 6.0 << 1 << qint64(7500) << 3;
        QTest::newRow("six a minute, just refilled") << 6.0 << 1 << qint64(10000) << 0;
        QTest::newRow("nothing ever refills") << 0.0 << 1 << qint64(1'000'000) << 3600;
    }

    void tellsHowLongToWait()
    {
        QFETCH(double, perMinute);
        QFETCH(int, burst);
        QFETCH(qint64, elapsedMs);
        QFETCH(int, retryAfter);
        qint64 now = 1'000;
        RateLimiter limiter(perMinute, burst, [&now] { return now; });
        for (int i = 0; i < burst; ++i)
            QCOMPARE(limiter.refuse(7), std::nullopt);
        now += elapsedMs;
        QCOMPARE(limiter.refuse(7).value_or(0), retryAfter);
    }
};

QTEST_GUILESS_MAIN(TestBackendSetup)
#include "tst_backendsetup.moc"
