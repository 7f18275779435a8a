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

const QString fomc = u"FOMC / US-Notenbank (Fed)"_s;
const QString inflation = u"Inflation / Verbraucherpreise (CPI & Co.)"_s;
const QString labour = u"Arbeitsmarkt USA (NFP & Co.)"_s;
const QString gdp = u"Bruttoinlandsprodukt (BIP / GDP)"_s;
const QString ecb = u"EZB (Europäische Zentralbank)"_s;
const QString boe = u"Bank of England (BoE)"_s;
const QString general = u"Allgemein: Wirtschaftstermin"_s;

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

        QTest::newRow("FOMC statement") << u"FOMC Statement"_s << fomc << 3;
        QTest::newRow("the Fed chair's speech is the Fed's") << u"Fed Chair Warsh Speaks"_s << fomc << 3;
        QTest::newRow("an FOMC member speaking is the Fed") << u"FOMC Member Speaks"_s << fomc << 3;
        QTest::newRow("core CPI") << u"Core CPI m/m"_s << inflation << 3;
        QTest::newRow("PCE") << u"Core PCE Price Index m/m"_s << inflation << 3;
        QTest::newRow("payrolls") << u"Non-Farm Employment Change"_s << labour << 3;
        QTest::newRow("JOLTS") << u"JOLTS Job Openings"_s << labour << 3;
        QTest::newRow("GDP") << u"Prelim GDP q/q"_s << gdp << 2;
        QTest::newRow("ECB President Speaks is the ECB, not a speech") << u"ECB President Speaks"_s << ecb << 2;
        QTest::newRow("the ECB president by name") << u"Lagarde Speaks"_s << ecb << 2;
        QTest::newRow("refinancing rate") << u"Main Refinancing Rate"_s << ecb << 2;
        QTest::newRow("BoE governor") << u"BOE Gov Bailey Speaks"_s << boe << 2;
        QTest::newRow("boe inside boeing, on purpose") << u"Boeing Deliveries"_s << boe << 2;
        QTest::newRow("BoJ") << u"BOJ Policy Rate"_s << u"Bank of Japan (BoJ)"_s << 1;
        QTest::newRow("SNB") << u"SNB Monetary Policy Assessment"_s << u"Schweizerische Nationalbank (SNB)"_s << 1;
        QTest::newRow("RBA") << u"RBA Rate Statement"_s << u"Reserve Bank of Australia (RBA)"_s << 1;
        QTest::newRow("BoC") << u"BOC Rate Statement"_s << u"Bank of Canada (BoC)"_s << 1;
        QTest::newRow("PMI") << u"ISM Services PMI"_s << u"PMI / Einkaufsmanagerindizes"_s << 2;
        QTest::newRow("retail sales") << u"Retail Sales m/m"_s << u"Einzelhandelsumsätze"_s << 1;
        QTest::newRow("durable goods") << u"Durable Goods Orders m/m"_s << u"Industrie & Aufträge"_s << 1;
        QTest::newRow("trade balance") << u"Trade Balance"_s << u"Handel & Leistungsbilanz"_s << 1;
        QTest::newRow("building permits") << u"Building Permits"_s << u"Immobilien / Bau"_s << 1;
        QTest::newRow("Ifo") << u"German Ifo Business Climate"_s << u"Konjunktur- & Verbrauchervertrauen"_s << 1;
        QTest::newRow("sentiment") << u"UoM Consumer Sentiment"_s << u"Konjunktur- & Verbrauchervertrauen"_s << 1;
        QTest::newRow("crude oil") << u"Crude Oil Inventories"_s << u"Energielager & EIA/API"_s << 1;
        QTest::newRow("a testimony") << u"Treasury Secretary Testimony"_s << u"Rede / Testimony einer Notenbank"_s
                                     << 1;
        QTest::newRow("bank holiday is general") << u"Bank Holiday"_s << general << 1;
        QTest::newRow("empty title is general") << QString() << general << 1;
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

    void generalExplanationIsTheFixedText()
    {
        QCOMPARE(CP::classifyEvent(u"Bank Holiday"_s).explanations.constFirst(),
                 u"Dies ist ein terminierter Wirtschaftsdatensatz oder ein offizielles Ereignis (Behörde, "
                 "Zentralbank oder Statistikamt). Die Veröffentlichung erfolgt zu einer festen Zeit; Broker und "
                 "Datenanbieter zeigen oft Prognose (Forecast), Vorperiode (Previous) und nach Release den "
                 "Ist-Wert (Actual)."_s);
    }

    void countdownLabel_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QString>("label"); // empty: none
        QTest::addColumn<QColor>("color");
        QTest::newRow("45 minutes") << isoAfter(45 * 60'000) << u"in 45m"_s << Theme::yellow();
        QTest::newRow("125 minutes") << isoAfter(125 * 60'000) << u"in 2h 05m"_s << Theme::textSecondary();
        QTest::newRow("just under an hour") << isoAfter(60 * 60'000 - 100) << u"in 59m"_s << Theme::yellow();
        QTest::newRow("one hour") << isoAfter(60 * 60'000) << u"in 1h 00m"_s << Theme::textSecondary();
        QTest::newRow("now") << isoAfter(0) << u"in 0m"_s << Theme::yellow();
        QTest::newRow("a second ago") << isoAfter(-1000) << u"Vorbei"_s << Theme::textMuted();
        QTest::newRow("a day ahead") << isoAfter(26 * 3600'000 + 7 * 60'000) << u"in 26h 07m"_s
                                     << Theme::textSecondary();
        QTest::newRow("all day") << u"All Day"_s << QString() << QColor();
        QTest::newRow("no date") << u"Tentative"_s << QString() << QColor();
    }
    void countdownLabel()
    {
        QFETCH(QString, time);
        QFETCH(QString, label);
        QFETCH(QColor, color);
        const CalendarEvent event = eventAt(time);
        const auto result = CP::countdownLabel(event, now);
        QCOMPARE(result.has_value(), !label.isEmpty());
        if (result) {
            QCOMPARE(*result, label);
            QCOMPARE(CP::countdownColor(event, now), color);
        }
    }

    void detailCountdown_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QColor>("textColor");
        QTest::addColumn<bool>("upcoming");
        QTest::addColumn<QColor>("iconColor");
        QTest::newRow("45 minutes") << isoAfter(45 * 60'000) << true << u"Findet statt in 45 Minuten"_s
                                    << Theme::yellow() << true << Theme::textMuted();
        QTest::newRow("30 minutes: yellow clock") << isoAfter(30 * 60'000) << true << u"Findet statt in 30 Minuten"_s
                                                  << Theme::yellow() << true << Theme::yellow();
        QTest::newRow("a few seconds") << isoAfter(5000) << true << u"Findet statt in 0 Minuten"_s << Theme::yellow()
                                       << true << Theme::yellow();
        QTest::newRow("125 minutes") << isoAfter(125 * 60'000) << true << u"Findet statt in 2h 05m"_s
                                     << Theme::textSecondary() << true << Theme::textMuted();
        QTest::newRow("exactly now is over") << isoAfter(0) << true << u"Ereignis ist bereits vorbei"_s
                                             << Theme::textMuted() << false << Theme::textMuted();
        QTest::newRow("past") << isoAfter(-10 * 60'000) << true << u"Ereignis ist bereits vorbei"_s
                              << Theme::textMuted() << false << Theme::textMuted();
        QTest::newRow("no date") << u"All Day"_s << false << QString() << QColor() << false << QColor();
    }
    void detailCountdown()
    {
        QFETCH(QString, time);
        QFETCH(bool, shown);
        const auto countdown = CP::detailCountdown(eventAt(time), now);
        QCOMPARE(countdown.has_value(), shown);
        if (!countdown)
            return;
        QTEST(countdown->text, "text");
        QTEST(countdown->textColor, "textColor");
        QTEST(countdown->upcoming, "upcoming");
        QTEST(countdown->iconColor, "iconColor");
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
        QTest::newRow("no values, summer") << u"2025-07-02T12:15:00Z"_s << QString() << QString() << QString()
                                           << fixed << u"02.07.2025  14:15 (CEST)"_s << u"02.07.2025  12:15 UTC"_s;
        QTest::newRow("only the previous value")
            << u"2025-03-05T23:30:00Z"_s << QString() << u"1.2%"_s << QString()
            << fixed + QStringList{u"Vorperiode (Previous)"_s} << u"06.03.2025  00:30 (CET)"_s
            << u"05.03.2025  23:30 UTC"_s;
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
        QTest::newRow("unknown") << Impact::Unknown << u"○○○"_s << u"—  ○○○"_s << Theme::textMuted()
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

    void dayTitle_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<QDate>("day");
        QTest::addColumn<QString>("title");
        QTest::newRow("German") << QLocale(QLocale::German, QLocale::Germany) << QDate(2024, 5, 3)
                                << u"Freitag 03.05."_s;
        QTest::newRow("English") << QLocale(QLocale::English, QLocale::UnitedStates) << QDate(2024, 5, 3)
                                 << u"Friday 03.05."_s;
        QTest::newRow("French, two digits") << QLocale(QLocale::French, QLocale::France) << QDate(2025, 1, 6)
                                            << u"lundi 06.01."_s;
    }
    void dayTitle()
    {
        QFETCH(QLocale, locale);
        QFETCH(QDate, day);
        QTEST(CP::dayTitle(day, locale), "title");
    }
};

QTEST_GUILESS_MAIN(TestCalendarPresentation)
#include "tst_calendarpresentation.moc"
