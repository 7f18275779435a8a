#include "app/TradingSessions.h"

#include <QTest>
#include <QTimeZone>

using namespace kalvo;
using namespace Qt::StringLiterals;

class TestTradingSessions : public QObject
{
    Q_OBJECT

private slots:
    void sessionsAtHour_data()
    {
        QTest::addColumn<QDateTime>("local");
        QTest::addColumn<QStringList>("active");
        QTest::addColumn<QString>("overlap");

        const auto utc = [](int h, int m) { return QDateTime(QDate(2026, 11, 18), QTime(h, m), QTimeZone::utc()); };
        QTest::newRow("06:59 UTC") << utc(6, 59) << QStringList{u"sydney"_s, u"tokyo"_s} << u"SYDNEY / TOKYO Überlappung"_s;
        QTest::newRow("07:00 UTC") << utc(7, 0) << QStringList{u"sydney"_s, u"tokyo"_s, u"london"_s}
                                   << u"TOKYO / LONDON Überlappung"_s;
        QTest::newRow("08:59 UTC") << utc(8, 59) << QStringList{u"tokyo"_s, u"london"_s} << u"TOKYO / LONDON Überlappung"_s;
        QTest::newRow("09:00 UTC") << utc(9, 0) << QStringList{u"london"_s} << QString();
        QTest::newRow("12:00 UTC") << utc(12, 0) << QStringList{u"london"_s, u"new_york"_s}
                                   << u"LONDON / NEW YORK  ★ Höchstes Volumen"_s;
        QTest::newRow("17:00 UTC") << utc(17, 0) << QStringList{u"new_york"_s} << QString();
        QTest::newRow("22:00 UTC") << utc(22, 0) << QStringList{u"sydney"_s} << QString();

        // A Saturday keeps the sessions cycling.
        QTest::newRow("Saturday 12:00 UTC")
            << QDateTime(QDate(2026, 11, 21), QTime(12, 0), QTimeZone::utc())
            << QStringList{u"london"_s, u"new_york"_s} << u"LONDON / NEW YORK  ★ Höchstes Volumen"_s;

        // 12:10 in UTC+5:30 is 06:40 UTC, but the half hour of the offset is dropped: hour 7.
        QTest::newRow("UTC+5:30 at 12:10 reads as 07 UTC")
            << QDateTime(QDate(2026, 11, 18), QTime(12, 10), QTimeZone(5 * 3600 + 1800))
            << QStringList{u"sydney"_s, u"tokyo"_s, u"london"_s} << u"TOKYO / LONDON Überlappung"_s;
        QTest::newRow("UTC-5 at 19:00 wraps to 00 UTC")
            << QDateTime(QDate(2026, 11, 18), QTime(19, 0), QTimeZone(-5 * 3600))
            << QStringList{u"sydney"_s, u"tokyo"_s} << u"SYDNEY / TOKYO Überlappung"_s;
        QTest::newRow("UTC+14 at 02:00 wraps to 12 UTC")
            << QDateTime(QDate(2026, 11, 18), QTime(2, 0), QTimeZone(14 * 3600))
            << QStringList{u"london"_s, u"new_york"_s} << u"LONDON / NEW YORK  ★ Höchstes Volumen"_s;
    }

    void sessionsAtHour()
    {
        QFETCH(QDateTime, local);
        QFETCH(QStringList, active);
        QFETCH(QString, overlap);
        const TradingSessions sessions = TradingSessions::at(local);
        QCOMPARE(sessions.active, active);
        QCOMPARE(sessions.overlap, overlap);
    }
};

QTEST_GUILESS_MAIN(TestTradingSessions)
#include "tst_tradingsessions.moc"
