#include "ui/calendar/CalendarPresentation.h"
#include "ui/controls/Theme.h"

#include "../../TestSupport.h"

using namespace kalvo;
namespace CP = kalvo::CalendarPresentation;

namespace {

const QDateTime now = test::utc(2025, 3, 5, 12, 0);

CalendarEvent eventAt(const QString &time, const QString &title = u"Core CPI m/m"_s)
{
    CalendarEvent event;
    event.time = time;
    event.currency = u"USD"_s;
    event.country = u"US"_s;
    event.event = title;
    event.impact = CalendarEvent::Impact::High;
    return event;
}

QStringList keys(const QList<CP::DataRow> &rows)
{
    QStringList result;
    for (const CP::DataRow &row : rows)
        result << row.key;
    return result;
}

const QString ecb = u"EZB (Europäische Zentralbank)"_s;

} // namespace

class TestCalendarPresentation : public QObject
{
    Q_OBJECT

private slots:
    void classifyEvent_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("category");
        QTest::addColumn<int>("paragraphs");
        QTest::newRow("the Fed chair's speech is the Fed's") << u"Fed Chair Warsh Speaks"_s << u"FOMC / US-Notenbank (Fed)"_s << 3;
        QTest::newRow("ECB President Speaks is the ECB, not a speech") << u"ECB President Speaks"_s << ecb << 2;
        QTest::newRow("the ECB president by name") << u"Lagarde Speaks"_s << ecb << 2;
        QTest::newRow("boe inside boeing, on purpose") << u"Boeing Deliveries"_s << u"Bank of England (BoE)"_s << 2;
        QTest::newRow("testimony") << u"Treasury Secretary Testimony"_s << u"Rede / Testimony einer Notenbank"_s << 1;
        QTest::newRow("empty title is general") << QString() << u"Allgemein: Wirtschaftstermin"_s << 1;
    }
    void classifyEvent()
    {
        QFETCH(QString, title);
        QFETCH(int, paragraphs);
        const CP::EventCategory category = CP::classifyEvent(title);
        QTEST(category.title, "category");
        QCOMPARE(category.explanations.size(), paragraphs);
    }

    // The row's short countdown and the sheet's sentence with its clock icon.
    void countdowns_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QString>("label"); // empty: no countdown at all
        QTest::addColumn<QColor>("color");
        QTest::addColumn<QString>("sentence");
        QTest::addColumn<bool>("upcoming");
        QTest::addColumn<QColor>("iconColor");
        const auto in = [](qint64 minutes, qint64 msecs = 0) {
            return now.addMSecs(minutes * 60'000 + msecs).toString(Qt::ISODateWithMs);
        };
        const QString over = u"Ereignis ist bereits vorbei"_s;
        QTest::newRow("30 minutes: yellow clock") << in(30) << u"in 30m"_s << Theme::yellow()
                                                  << u"Findet statt in 30 Minuten"_s << true << Theme::yellow();
        QTest::newRow("45 minutes: muted clock") << in(45) << u"in 45m"_s << Theme::yellow()
                                                 << u"Findet statt in 45 Minuten"_s << true << Theme::textMuted();
        QTest::newRow("just under an hour") << in(60, -100) << u"in 59m"_s << Theme::yellow()
                                            << u"Findet statt in 59 Minuten"_s << true << Theme::textMuted();
        QTest::newRow("one hour") << in(60) << u"in 1h 00m"_s << Theme::textSecondary() << u"Findet statt in 1h 00m"_s
                                  << true << Theme::textMuted();
        // At the very instant the row still counts down while the sheet calls it over.
        QTest::newRow("now") << in(0) << u"in 0m"_s << Theme::yellow() << over << false << Theme::textMuted();
        QTest::newRow("a second ago") << in(0, -1000) << u"Vorbei"_s << Theme::textMuted() << over << false
                                      << Theme::textMuted();
        QTest::newRow("all day") << u"All Day"_s << QString() << QColor() << QString() << false << QColor();
    }
    void countdowns()
    {
        QFETCH(QString, time);
        QFETCH(QString, label);
        const CalendarEvent event = eventAt(time);
        const auto row = CP::countdownLabel(event, now);
        const auto sheet = CP::detailCountdown(event, now);
        QCOMPARE(row.has_value(), !label.isEmpty());
        QCOMPARE(sheet.has_value(), !label.isEmpty());
        if (!row || !sheet)
            return;
        QCOMPARE(*row, label);
        QTEST(CP::countdownColor(event, now), "color");
        QTEST(sheet->text, "sentence");
        QTEST(sheet->upcoming, "upcoming");
        // The sentence takes the row's colour while the event is ahead, and is muted once it is over.
        QFETCH(QColor, color);
        QCOMPARE(sheet->textColor, sheet->upcoming ? color : Theme::textMuted());
        QTEST(sheet->iconColor, "iconColor");
    }

    void dataRows_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QString>("forecast");
        QTest::addColumn<QString>("previous");
        QTest::addColumn<QStringList>("values"); // from the local time on
        QTest::addColumn<QStringList>("optional"); // the keys after "Impact"
        QTest::newRow("winter, forecast and actual")
            << u"2025-03-05T13:30:00Z"_s << u"0.3%"_s << QString()
            << QStringList{u"05.03.2025  14:30 (CET)"_s, u"05.03.2025  13:30 UTC"_s, u"2025-03-05T13:30:00Z"_s,
                           u"HOCH  ●●●"_s, u"0.3%"_s, u"0.5%"_s}
            << QStringList{u"Prognose (Forecast)"_s, u"Ist-Wert (Actual)"_s};
        QTest::newRow("summer, after local midnight, previous and actual")
            << u"2025-07-02T22:30:00Z"_s << QString() << u"1.2%"_s
            << QStringList{u"03.07.2025  00:30 (CEST)"_s, u"02.07.2025  22:30 UTC"_s, u"2025-07-02T22:30:00Z"_s,
                           u"HOCH  ●●●"_s, u"1.2%"_s, u"0.5%"_s}
            << QStringList{u"Vorperiode (Previous)"_s, u"Ist-Wert (Actual)"_s};
        QTest::newRow("undated: the raw time, no values") << u"All Day"_s << QString() << QString()
                                                          << QStringList{u"All Day"_s, u"—"_s, u"All Day"_s, u"HOCH  ●●●"_s}
                                                          << QStringList{};
    }
    void dataRows()
    {
        QFETCH(QString, time);
        CalendarEvent event = eventAt(time, u"ISM Services PMI"_s);
        QFETCH(QString, forecast);
        QFETCH(QString, previous);
        event.forecast = forecast;
        event.previous = previous;
        if (time != u"All Day")
            event.actual = u"0.5%"_s;
        const QList<CP::DataRow> rows = CP::dataRows(event);
        QCOMPARE(keys(rows).first(6), (QStringList{u"Ereignis"_s, u"Währung / Region"_s, u"Datum / Zeit (lokal)"_s,
                                                   u"Zeit (UTC)"_s, u"Rohzeit (Quelle)"_s, u"Impact"_s}));
        QTEST(keys(rows).mid(6), "optional");
        QCOMPARE(rows.at(1).value, u"USD  (US)"_s);
        QStringList values;
        for (const CP::DataRow &row : rows.mid(2))
            values << row.value;
        QTEST(values, "values");
        QVERIFY(rows.at(5).bold);
        QCOMPARE(rows.at(5).valueColor, Theme::red());
        for (const CP::DataRow &row : rows) {
            const bool isActual = row.key == u"Ist-Wert (Actual)";
            QCOMPARE(row.highlight, isActual);
            if (row.key != u"Impact")
                QCOMPARE(row.valueColor, isActual ? Theme::yellow() : Theme::textPrimary());
        }
    }

    // The day an event is listed under is the local one (TZ=Europe/Berlin).
    void localDay_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QDate>("day");
        QTest::newRow("late evening, same day") << u"2025-03-05T22:59:00Z"_s << QDate(2025, 3, 5);
        QTest::newRow("after local midnight, next day") << u"2025-03-05T23:00:00Z"_s << QDate(2025, 3, 6);
        QTest::newRow("summer: midnight is an hour earlier") << u"2025-07-01T22:00:00Z"_s << QDate(2025, 7, 2);
    }
    void localDay()
    {
        QFETCH(QString, time);
        QTEST(CP::localDay(eventAt(time)), "day");
    }

    void inDateOrderPutsUndatedLastAndKeepsTies()
    {
        const QList<CalendarEvent> delivered{
            eventAt(u"All Day"_s, u"undated 1"_s),  eventAt(u"2025-03-06T08:00:00Z"_s, u"tomorrow"_s),
            eventAt(u"2025-03-05T13:30:00Z"_s, u"tie 1"_s), eventAt(u"Tentative"_s, u"undated 2"_s),
            eventAt(u"2025-03-05T13:30:00Z"_s, u"tie 2"_s), eventAt(u"2025-03-05T09:30:00-04:00"_s, u"offset"_s)};
        QStringList titles;
        for (const CalendarEvent &event : CP::inDateOrder(delivered))
            titles << event.event;
        QCOMPARE(titles, (QStringList{u"tie 1"_s, u"tie 2"_s, u"offset"_s, u"tomorrow"_s, u"undated 1"_s,
                                      u"undated 2"_s}));
    }
};

QTEST_GUILESS_MAIN(TestCalendarPresentation)
#include "tst_calendarpresentation.moc"
