#include "../WindowHarness.h"

#include "ui/calendar/CalendarPresentation.h"
#include "ui/controls/Theme.h"

using namespace kalvo;
using Impact = CalendarEvent::Impact;
namespace CP = kalvo::CalendarPresentation;

namespace {

// Wednesday 12:00 UTC, 13:00 in Berlin (the suites run with TZ=Europe/Berlin).
const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

CalendarEvent calendarEvent(const QString &id, const QString &time, Impact impact = Impact::Medium)
{
    CalendarEvent e;
    e.id = id;
    e.event = u"Event "_s + id;
    e.time = time;
    e.currency = u"USD"_s;
    e.country = u"US"_s;
    e.impact = impact;
    return e;
}

CalendarEvent inMinutes(const QString &id, int minutes, Impact impact = Impact::Medium)
{
    return calendarEvent(id, noon.addSecs(minutes * 60).toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s), impact);
}

} // namespace

// How an event reads, and the panel and sheet that show it.
class TestCalendarPanel : public QObject
{
    Q_OBJECT

    static QQuickItem *row(const test::WindowHarness &h, const QString &id) { return h.item(u"calendarRow:"_s + id); }
    // The key/value lines of the open sheet, top to bottom.
    static QList<std::pair<QString, QString>> dataRows(const test::WindowHarness &h)
    {
        QMultiMap<qreal, std::pair<QString, QString>> lines;
        for (QQuickItem *line : h.item(u"eventDataRows"_s)->childItems()) {
            if (line->objectName().startsWith(u"dataRow:"))
                lines.insert(line->mapToScene({0, 0}).y(), {line->property("key").toString(), h.text(u"dataValue"_s, line)});
        }
        return lines.values();
    }

private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany)); }

    void classifyEvent_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("category");
        QTest::addColumn<int>("paragraphs");
        QTest::newRow("the Fed chair's speech is the Fed's") << u"Fed Chair Warsh Speaks"_s << u"FOMC / US-Notenbank (Fed)"_s << 3;
        QTest::newRow("the ECB president by name") << u"Lagarde Speaks"_s << u"EZB (Europäische Zentralbank)"_s << 2;
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
            return noon.addMSecs(minutes * 60'000 + msecs).toString(Qt::ISODateWithMs);
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
        QTest::newRow("the instant itself") << in(0) << u"in 0m"_s << Theme::yellow() << over << false << Theme::textMuted();
        QTest::newRow("a second ago") << in(0, -1000) << u"Vorbei"_s << Theme::textMuted() << over << false
                                      << Theme::textMuted();
        QTest::newRow("all day") << u"All Day"_s << QString() << QColor() << QString() << false << QColor();
    }
    void countdowns()
    {
        QFETCH(QString, time);
        QFETCH(QString, label);
        const CalendarEvent event = calendarEvent(QString(), time, Impact::High);
        const auto row = CP::countdownLabel(event, noon);
        const auto sheet = CP::detailCountdown(event, noon);
        QCOMPARE(row.has_value(), !label.isEmpty());
        QCOMPARE(sheet.has_value(), !label.isEmpty());
        if (!row || !sheet)
            return;
        QCOMPARE(*row, label);
        QTEST(CP::countdownColor(event, noon), "color");
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
        CalendarEvent event = calendarEvent(u"pmi"_s, time, Impact::High);
        QFETCH(QString, forecast);
        QFETCH(QString, previous);
        event.forecast = forecast;
        event.previous = previous;
        if (time != u"All Day")
            event.actual = u"0.5%"_s;
        QStringList keys, values;
        for (const CP::DataRow &row : CP::dataRows(event)) {
            keys << row.key;
            values << row.value;
            // Impact has a colour and weight of its own, which the sheet shows.
            const bool isActual = row.key == u"Ist-Wert (Actual)";
            QCOMPARE(row.highlight, isActual);
            if (row.key != u"Impact")
                QCOMPARE(row.valueColor, isActual ? Theme::yellow() : Theme::textPrimary());
        }
        QCOMPARE(keys.first(6), (QStringList{u"Ereignis"_s, u"Währung / Region"_s, u"Datum / Zeit (lokal)"_s,
                                             u"Zeit (UTC)"_s, u"Rohzeit (Quelle)"_s, u"Impact"_s}));
        QTEST(keys.mid(6), "optional");
        QCOMPARE(values.at(1), u"USD  (US)"_s);
        QTEST(values.mid(2), "values");
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
        QTEST(CP::localDay(calendarEvent(QString(), time, Impact::High)), "day");
    }

    void inDateOrderPutsUndatedLastAndKeepsTies()
    {
        const QList<CalendarEvent> delivered{
            calendarEvent(u"undated 1"_s, u"All Day"_s), calendarEvent(u"tomorrow"_s, u"2025-03-06T08:00:00Z"_s),
            calendarEvent(u"tie 1"_s, u"2025-03-05T13:30:00Z"_s), calendarEvent(u"undated 2"_s, u"Tentative"_s),
            calendarEvent(u"tie 2"_s, u"2025-03-05T13:30:00Z"_s),
            calendarEvent(u"offset"_s, u"2025-03-05T09:30:00-04:00"_s)};
        QStringList ids;
        for (const CalendarEvent &event : CP::inDateOrder(delivered))
            ids << event.id;
        QCOMPARE(ids, (QStringList{u"tie 1"_s, u"tie 2"_s, u"offset"_s, u"tomorrow"_s, u"undated 1"_s,
                                   u"undated 2"_s}));
    }


    // Markers, countdowns, colours and days are the presentation's rules; here: the list shows them.
    void theListThroughItsStates()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        const auto shownStates = [&] {
            QStringList states{u"calendarLoading"_s, u"calendarUnreachable"_s, u"calendarList"_s};
            states.removeIf([&](const QString &state) { return !h.shows(state); });
            return states;
        };
        QCOMPARE(shownStates(), QStringList{u"calendarLoading"_s});
        QCOMPARE(h.text(u"calendarLoadingText"_s), u"Lade Kalender…"_s);
        h.state.onCalendar({});
        QCOMPARE(shownStates(), QStringList{u"calendarUnreachable"_s});
        QCOMPARE(h.text(u"calendarUnreachableText"_s), u"Kalender aktuell nicht erreichbar"_s);

        CalendarEvent high = inMinutes(u"high"_s, 45, Impact::High);
        high.actual = u"0.5%"_s;
        CalendarEvent holiday = calendarEvent(u"holiday"_s, u"All Day"_s, Impact::Holiday);
        holiday.previous = u"1.1%"_s; // no actual: no value line
        h.state.onCalendar({holiday, calendarEvent(u"afterMidnight"_s, u"2025-03-05T23:30:00Z"_s),
                            calendarEvent(u"lateEvening"_s, u"2025-03-05T22:30:00Z"_s), inMinutes(u"afternoon"_s, 125),
                            high});
        QCOMPARE(shownStates(), QStringList{u"calendarList"_s});
        // Rows sit under the local day they happen on; the headers read in the user's locale (German here).
        QQuickItem *wednesday = h.item(u"dayHeader:2025-03-05"_s);
        QQuickItem *thursday = h.item(u"dayHeader:2025-03-06"_s);
        QVERIFY(wednesday && thursday);
        QCOMPARE(h.text(u"dayTitle"_s, wednesday), u"Mittwoch 05.03."_s);
        QCOMPARE(h.text(u"dayTitle"_s, thursday), u"Donnerstag 06.03."_s);
        QVERIFY(test::WindowHarness::topToBottom({wednesday, row(h, u"high"_s), row(h, u"afternoon"_s),
                                                  row(h, u"lateEvening"_s), thursday, row(h, u"afterMidnight"_s),
                                                  h.item(u"dayHeader:4001-01-01"_s), row(h, u"holiday"_s)}));

        QQuickItem *r = row(h, u"high"_s);
        QCOMPARE(h.text(u"rowMarker"_s, r), u"●●●"_s);
        QCOMPARE(h.color(u"rowMarker"_s, r), Theme::red());
        QCOMPARE(h.text(u"rowCountdown"_s, r), u"in 45m"_s);
        QVERIFY(h.shows(u"rowValues"_s, r));
        QCOMPARE(h.text(u"rowActual"_s, r), u"A: 0.5%"_s);
        QCOMPARE(h.color(u"rowActual"_s, r), Theme::yellow());
        QCOMPARE(r->property("color").value<QColor>(), colorFromHex(u"#160a0a"_s));
        r = row(h, u"holiday"_s);
        QCOMPARE(h.text(u"rowMarker"_s, r), u"○○○"_s);
        QCOMPARE(h.color(u"rowMarker"_s, r), Theme::textMuted());
        QVERIFY(!h.shows(u"rowCountdown"_s, r) && !h.shows(u"rowValues"_s, r));
        QCOMPARE(r->property("color").value<QColor>(), Theme::background());

        // Countdowns move on with the timer only.
        QCOMPARE(h.text(u"rowCountdown"_s, row(h, u"afternoon"_s)), u"in 2h 05m"_s);
        QObject *timer = h.object(u"countdownTimer"_s);
        QVERIFY(timer);
        h.clock.setNow(noon.addSecs(80 * 60));
        QCOMPARE(h.text(u"rowCountdown"_s, row(h, u"afternoon"_s)), u"in 2h 05m"_s);
        QMetaObject::invokeMethod(timer, "triggered");
        QCOMPARE(h.text(u"rowCountdown"_s, row(h, u"afternoon"_s)), u"in 45m"_s);
        QCOMPARE(h.color(u"rowCountdown"_s, row(h, u"afternoon"_s)), Theme::yellow());

        h.state.onCalendar({inMinutes(u"b"_s, 50)}); // a later delivery replaces the list
        QVERIFY(!row(h, u"high"_s) && row(h, u"b"_s));
    }

    // Which lines and texts the sheet gets is the presentation's rule; here: it shows them. It closes by its
    // button or by Escape, and the next event opens it with its own contents.
    void theSheetOfAnEvent()
    {
        CalendarEvent speech = inMinutes(u"ecb"_s, 45, Impact::High);
        speech.event = u"ECB President Speaks"_s;
        speech.currency = u"EUR"_s;
        speech.country = u"EU"_s;
        speech.forecast = speech.previous = u"3.0%"_s;
        speech.actual = u"2.8%"_s;
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onCalendar({inMinutes(u"past"_s, -10, Impact::High), inMinutes(u"other"_s, 5), speech});
        QVERIFY(h.click(row(h, u"ecb"_s)));
        QTRY_VERIFY(h.shows(u"eventDetailTitle"_s));
        QCOMPARE(h.text(u"eventCountdownText"_s), u"Findet statt in 45 Minuten"_s);
        QCOMPARE(h.color(u"eventCountdownText"_s), Theme::yellow());
        QCOMPARE(h.item(u"eventCountdownIcon"_s)->property("name").toString(), u"clock"_s);
        // The presentation's lines in their order, with their colours.
        const auto rows = dataRows(h);
        QCOMPARE(rows.size(), 9);
        QCOMPARE(rows.first(), (std::pair{u"Ereignis"_s, u"ECB President Speaks"_s}));
        QCOMPARE(rows.last(), (std::pair{u"Ist-Wert (Actual)"_s, u"2.8%"_s}));
        QCOMPARE(h.color(u"dataValue"_s, h.item(u"dataRow:Ist-Wert (Actual)"_s)), Theme::yellow());
        QQuickItem *impact = h.item(u"dataRow:Impact"_s);
        QCOMPARE(h.color(u"dataValue"_s, impact), Theme::red());
        QVERIFY(h.item(u"dataValue"_s, impact)->property("font").value<QFont>().bold());
        // A speech by the ECB's president is explained as the ECB.
        QCOMPARE(h.text(u"eventCategoryTitle"_s), u"EZB (Europäische Zentralbank)"_s);

        QVERIFY(h.click(h.item(u"eventDetailClose"_s)));
        QTRY_VERIFY(!h.state.selectedCalendarEvent());
        QTRY_VERIFY(!h.shows(u"eventDetailTitle"_s));
        QVERIFY(h.click(row(h, u"past"_s)));
        QTRY_COMPARE(h.text(u"eventDetailTitle"_s), u"Event past"_s);
        QCOMPARE(h.text(u"eventCountdownText"_s), u"Ereignis ist bereits vorbei"_s);
        QCOMPARE(h.color(u"eventCountdownText"_s), Theme::textMuted());
        QCOMPARE(h.item(u"eventCountdownIcon"_s)->property("name").toString(), u"checkmarkCircle"_s);
        QCOMPARE(dataRows(h).size(), 6); // no values, no lines for them
        QTest::keyClick(h.window, Qt::Key_Escape);
        QTRY_VERIFY(!h.state.selectedCalendarEvent());
        QTRY_VERIFY(!h.shows(u"eventDetailTitle"_s));
    }
};

QTEST_MAIN(TestCalendarPanel)
#include "tst_calendarpanel.moc"
