#include "app/CalendarPresentation.h"
#include "ui/Theme.h"

#include "../TestSupport.h"

using namespace kalvo;
namespace CP = kalvo::CalendarPresentation;
using Impact = CalendarEvent::Impact;

namespace {

const QDateTime now = test::utc(2025, 3, 5, 12, 0);

CalendarEvent eventAt(const QString &time, const QString &title = u"Core CPI m/m"_s)
{
    CalendarEvent event;
    event.id = u"id-"_s + time;
    event.time = time;
    event.timeDisplay = u"14:30"_s;
    event.currency = u"USD"_s;
    event.country = u"US"_s;
    event.event = title;
    event.impact = Impact::High;
    return event;
}

QString isoAfter(qint64 msecs)
{
    return now.addMSecs(msecs).toString(Qt::ISODateWithMs);
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
        QTest::newRow("BoJ") << u"BOJ Policy Rate"_s << u"Bank of Japan (BoJ)"_s << 1;
        QTest::newRow("core CPI") << u"Core CPI m/m"_s << u"Inflation / Verbraucherpreise (CPI & Co.)"_s << 3;
        QTest::newRow("payrolls") << u"Non-Farm Employment Change"_s << u"Arbeitsmarkt USA (NFP & Co.)"_s << 3;
        QTest::newRow("PMI") << u"ISM Services PMI"_s << u"PMI / Einkaufsmanagerindizes"_s << 2;
        QTest::newRow("Ifo") << u"German Ifo Business Climate"_s << u"Konjunktur- & Verbrauchervertrauen"_s << 1;
        QTest::newRow("a testimony") << u"Treasury Secretary Testimony"_s << u"Rede / Testimony einer Notenbank"_s
                                     << 1;
        QTest::newRow("empty title is general") << QString() << u"Allgemein: Wirtschaftstermin"_s << 1;
    }
    void classifyEvent()
    {
        QFETCH(QString, title);
        QFETCH(int, paragraphs);
        const CP::EventCategory category = CP::classifyEvent(title);
        QTEST(category.title, "category");
        QCOMPARE(category.explanations.size(), paragraphs);
        for (const QString &paragraph : category.explanations)
            QVERIFY(!paragraph.isEmpty());
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
        const auto in = [](qint64 minutes, qint64 msecs = 0) { return isoAfter(minutes * 60'000 + msecs); };
        const QString over = u"Ereignis ist bereits vorbei"_s;
        QTest::newRow("30 minutes: yellow clock") << in(30) << u"in 30m"_s << Theme::yellow()
                                                  << u"Findet statt in 30 Minuten"_s << true << Theme::yellow();
        QTest::newRow("45 minutes: muted clock") << in(45) << u"in 45m"_s << Theme::yellow()
                                                 << u"Findet statt in 45 Minuten"_s << true << Theme::textMuted();
        QTest::newRow("just under an hour") << in(60, -100) << u"in 59m"_s << Theme::yellow()
                                            << u"Findet statt in 59 Minuten"_s << true << Theme::textMuted();
        QTest::newRow("one hour") << in(60) << u"in 1h 00m"_s << Theme::textSecondary() << u"Findet statt in 1h 00m"_s
                                  << true << Theme::textMuted();
        QTest::newRow("a day ahead") << in(26 * 60 + 7) << u"in 26h 07m"_s << Theme::textSecondary()
                                     << u"Findet statt in 26h 07m"_s << true << Theme::textMuted();
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
        QTest::addColumn<QString>("actual");
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QString>("local");
        QTest::addColumn<QString>("utc");
        const QStringList fixed{u"Ereignis"_s, u"Währung / Region"_s, u"Datum / Zeit (lokal)"_s, u"Zeit (UTC)"_s,
                                u"Rohzeit (Quelle)"_s, u"Impact"_s};
        QTest::newRow("every value, winter")
            << u"2025-03-05T13:30:00Z"_s << u"0.3%"_s << u"0.4%"_s << u"0.5%"_s
            << fixed + QStringList{u"Prognose (Forecast)"_s, u"Vorperiode (Previous)"_s, u"Ist-Wert (Actual)"_s}
            << u"05.03.2025  14:30 (CET)"_s << u"05.03.2025  13:30 UTC"_s;
        QTest::newRow("only the previous value, summer, after local midnight")
            << u"2025-07-02T22:30:00Z"_s << QString() << u"1.2%"_s << QString()
            << fixed + QStringList{u"Vorperiode (Previous)"_s} << u"03.07.2025  00:30 (CEST)"_s
            << u"02.07.2025  22:30 UTC"_s;
        QTest::newRow("undated: the raw time") << u"All Day"_s << QString() << QString() << QString() << fixed
                                               << u"All Day"_s << u"—"_s;
    }
    void dataRows()
    {
        QFETCH(QString, time);
        QFETCH(QString, forecast);
        QFETCH(QString, previous);
        QFETCH(QString, actual);
        CalendarEvent event = eventAt(time, u"ISM Services PMI"_s);
        event.forecast = forecast;
        event.previous = previous;
        event.actual = actual;
        const QList<CP::DataRow> rows = CP::dataRows(event);
        QTEST(keys(rows), "keys");
        QCOMPARE(rows.at(0).value, u"ISM Services PMI"_s);
        QCOMPARE(rows.at(1).value, u"USD  (US)"_s);
        QTEST(rows.at(2).value, "local");
        QTEST(rows.at(3).value, "utc");
        QCOMPARE(rows.at(4).value, time);
        QCOMPARE(rows.at(5).value, u"HOCH  ●●●"_s);
        QVERIFY(rows.at(5).bold);
        QCOMPARE(rows.at(5).valueColor, Theme::red());
        for (const CP::DataRow &row : rows) {
            const bool isActual = row.key == u"Ist-Wert (Actual)";
            QCOMPARE(row.highlight, isActual);
            if (row.key != u"Impact")
                QCOMPARE(row.valueColor, isActual ? Theme::yellow() : Theme::textPrimary());
        }
        if (!forecast.isEmpty())
            QCOMPARE(rows.at(6).value, forecast);
        if (!actual.isEmpty())
            QCOMPARE(rows.constLast().value, actual);
    }

    void impact_data()
    {
        QTest::addColumn<Impact>("impact");
        QTest::addColumn<QString>("marker");
        QTest::addColumn<QString>("badge");
        QTest::addColumn<QColor>("color");
        QTest::addColumn<QColor>("background");
        const QColor darkRed = colorFromHex(u"#160a0a");
        QTest::newRow("high") << Impact::High << u"●●●"_s << u"HOCH  ●●●"_s << Theme::red() << darkRed;
        QTest::newRow("medium") << Impact::Medium << u"●●○"_s << u"MITTEL  ●●○"_s << Theme::yellow()
                                << Theme::background();
        QTest::newRow("low") << Impact::Low << u"●○○"_s << u"NIEDRIG  ●○○"_s << Theme::blue()
                             << Theme::background();
        QTest::newRow("holiday") << Impact::Holiday << u"○○○"_s << u"—  ○○○"_s << Theme::textMuted()
                                 << Theme::background();
    }
    void impact()
    {
        QFETCH(Impact, impact);
        QTEST(CP::impactMarker(impact), "marker");
        QTEST(CP::impactBadge(impact), "badge");
        QTEST(CP::impactColor(impact), "color");
        QTEST(CP::rowBackground(impact), "background");
    }

    // The day an event is listed under is the local one (TZ=Europe/Berlin).
    void localDay_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QDate>("day");
        QTest::newRow("late evening, same day") << u"2025-03-05T22:59:00Z"_s << QDate(2025, 3, 5);
        QTest::newRow("after local midnight, next day") << u"2025-03-05T23:00:00Z"_s << QDate(2025, 3, 6);
        QTest::newRow("summer: midnight is an hour earlier") << u"2025-07-01T22:00:00Z"_s << QDate(2025, 7, 2);
        QTest::newRow("undated: far in the future") << u"Tentative"_s << QDate(4001, 1, 1);
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

    // German is what the panel shows in its suite; the day follows any locale, with two-digit dates.
    void dayTitleFollowsTheLocale()
    {
        QCOMPARE(CP::dayTitle(QDate(2025, 1, 6), QLocale(QLocale::French, QLocale::France)), u"lundi 06.01."_s);
    }
};

QTEST_GUILESS_MAIN(TestCalendarPresentation)
#include "tst_calendarpresentation.moc"
