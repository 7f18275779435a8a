#include "../TestSupport.h"

#include "core/MarketStatus.h"

using namespace kalvo;

class TestMarketStatus : public QObject
{
    Q_OBJECT

private slots:
    void statusAt_data()
    {
        QTest::addColumn<QDateTime>("instant");
        QTest::addColumn<bool>("open");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("detail"); // null: not checked
        // 2024-05-03 is a Friday.
        const auto at = [](int day, int hour, int minute) { return test::utc(2024, 5, day, hour, minute); };
        QTest::newRow("fri 21:59") << at(3, 21, 59) << true << u"US SESSION"_s << u"Schließt in 0h 01m"_s;
        QTest::newRow("fri 22:00") << at(3, 22, 0) << false << u"GESCHLOSSEN"_s
                                   << u"Wochenende — öffnet So 22:00 UTC"_s;
        QTest::newRow("fri 00:00") << at(3, 0, 0) << true << u"ASIA SESSION"_s << u"Schließt in 22h 00m"_s;
        for (const auto &[hour, minute] : {std::pair{0, 0}, {22, 30}})
            QTest::addRow("sat %02d:%02d", hour, minute) << at(4, hour, minute) << false << u"WOCHENENDE"_s
                                                         << u"Märkte öffnen Sonntag ~22:00 UTC"_s;
        QTest::newRow("sun 21:59") << at(5, 21, 59) << false << u"WOCHENENDE"_s
                                   << u"Öffnet in 0h 01m (So 22:00 UTC)"_s;
        QTest::newRow("sun 22:00") << at(5, 22, 0) << true << u"ASIA OPEN"_s << u"Sydney-Session läuft"_s;
        QTest::newRow("mon 06:59") << at(6, 6, 59) << true << u"ASIA SESSION"_s << QString();
        QTest::newRow("mon 07:30") << at(6, 7, 30) << true << u"ASIA/EU OVERLAP"_s << QString();
        QTest::newRow("thu 16:59") << at(9, 16, 59) << true << u"EU/US OVERLAP"_s << QString();
        QTest::newRow("thu 17:00") << at(9, 17, 0) << true << u"US SESSION"_s << QString();
        QTest::newRow("thu 22:00") << at(9, 22, 0) << true << u"ASIA SESSION"_s << QString();
        // Saturday morning in India is still Friday evening in UTC, and
        // Sunday afternoon in California is already Sunday night.
        QTest::newRow("kolkata sat 03:00")
            << QDateTime(QDate(2024, 5, 4), QTime(3, 0), QTimeZone("Asia/Kolkata")) << true << u"US SESSION"_s
            << u"Schließt in 0h 30m"_s;
        QTest::newRow("los angeles sun 15:30")
            << QDateTime(QDate(2024, 5, 5), QTime(15, 30), QTimeZone("America/Los_Angeles")) << true
            << u"ASIA OPEN"_s << u"Sydney-Session läuft"_s;
    }
    void statusAt()
    {
        QFETCH(QDateTime, instant);
        QFETCH(bool, open);
        QFETCH(QString, label);
        QFETCH(QString, detail);
        QVERIFY(instant.isValid());
        const MarketStatus status = MarketStatus::status(instant);
        QCOMPARE(status.isOpen, open);
        QCOMPARE(status.label, label);
        if (!detail.isNull())
            QCOMPARE(status.detail, detail);
        QVERIFY(!status.detail.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestMarketStatus)
#include "tst_marketstatus.moc"
