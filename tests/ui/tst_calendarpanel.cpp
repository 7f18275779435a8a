#include "WindowHarness.h"

#include "../TestSupport.h"
#include "ui/Theme.h"

#include <QTemporaryDir>

#include <algorithm>

using namespace kalvo;
using Impact = CalendarEvent::Impact;

namespace {

// Wednesday 12:00 UTC, 13:00 in Berlin (the suites run with TZ=Europe/Berlin).
const QDateTime noon = test::utc(2025, 3, 5, 12, 0);

CalendarEvent calendarEvent(const QString &id, const QString &title, const QString &time,
                            Impact impact = Impact::Medium)
{
    CalendarEvent e;
    e.id = id;
    e.event = title;
    e.time = time;
    e.timeDisplay = u"??:??"_s;
    if (const auto date = e.parsedDate())
        e.timeDisplay = date->toLocalTime().toString(u"HH:mm"_s);
    e.currency = u"USD"_s;
    e.country = u"US"_s;
    e.impact = impact;
    return e;
}

CalendarEvent inMinutes(const QString &id, int minutes, Impact impact = Impact::Medium)
{
    return calendarEvent(id, u"Event "_s + id, noon.addSecs(minutes * 60).toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'"_s),
                         impact);
}

using Items = QList<QQuickItem *>;

// Items top to bottom as the user sees them.
Items byPosition(Items items)
{
    std::sort(items.begin(), items.end(), [](QQuickItem *a, QQuickItem *b) {
        return a->mapToScene({0, 0}).y() < b->mapToScene({0, 0}).y();
    });
    return items;
}

} // namespace

Q_DECLARE_METATYPE(kalvo::CalendarEvent)

class TestCalendarPanel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

    static QQuickItem *row(const test::WindowHarness &h, const QString &id) { return h.item(u"calendarRow:"_s + id); }
    // The key/value lines of the open sheet, top to bottom.
    static QList<std::pair<QString, QString>> dataRows(const test::WindowHarness &h)
    {
        Items rows;
        for (QQuickItem *child : h.item(u"eventDataRows"_s)->childItems()) {
            if (child->objectName().startsWith(u"dataRow:"))
                rows << child;
        }
        QList<std::pair<QString, QString>> lines;
        for (QQuickItem *line : byPosition(rows))
            lines.append({line->property("key").toString(), h.text(u"dataValue"_s, line)});
        return lines;
    }

    static bool openSheetOf(test::WindowHarness &h, const QList<CalendarEvent> &events, const QString &id)
    {
        h.state.onCalendar(events);
        if (!h.click(row(h, id)))
            return false;
        return QTest::qWaitFor([&] { return h.shows(u"eventDetailTitle"_s); });
    }

private slots:
    void initTestCase()
    {
        qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8());
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    }

    void panelStates_data()
    {
        QTest::addColumn<bool>("delivered");
        QTest::addColumn<QList<CalendarEvent>>("events");
        QTest::addColumn<QString>("shownPart");
        QTest::addColumn<QString>("text");
        QTest::newRow("before the first delivery") << false << QList<CalendarEvent>() << u"calendarLoading"_s
                                                   << u"Lade Kalender…"_s;
        QTest::newRow("an empty delivery") << true << QList<CalendarEvent>() << u"calendarUnreachable"_s
                                           << u"Kalender aktuell nicht erreichbar"_s;
        QTest::newRow("events") << true << QList<CalendarEvent>{inMinutes(u"a"_s, 45)} << u"calendarList"_s
                                << QString();
    }
    void panelStates()
    {
        QFETCH(bool, delivered);
        QFETCH(QList<CalendarEvent>, events);
        QFETCH(QString, shownPart);
        QFETCH(QString, text);
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        if (delivered)
            h.state.onCalendar(events);
        for (const QString &part : {u"calendarLoading"_s, u"calendarUnreachable"_s, u"calendarList"_s})
            QCOMPARE(h.shows(part), part == shownPart);
        if (!text.isEmpty())
            QCOMPARE(h.text(shownPart + u"Text"_s), text);
        // A later delivery replaces the list.
        h.state.onCalendar({inMinutes(u"b"_s, 50)});
        QVERIFY(h.shows(u"calendarList"_s));
        QVERIFY(!row(h, u"a"_s));
        QVERIFY(row(h, u"b"_s));
    }

    // Markers, countdowns and colours are the presentation's rules; here: the row shows them.
    void rowLooks_data()
    {
        QTest::addColumn<CalendarEvent>("event");
        QTest::addColumn<QString>("marker");
        QTest::addColumn<QColor>("markerColor");
        QTest::addColumn<QString>("countdown"); // empty: none shown
        QTest::addColumn<QColor>("background");
        CalendarEvent high = inMinutes(u"high"_s, 45, Impact::High);
        high.forecast = u"0.3%"_s;
        high.previous = u"0.4%"_s;
        high.actual = u"0.5%"_s;
        CalendarEvent holiday = calendarEvent(u"holiday"_s, u"Bank Holiday"_s, u"All Day"_s, Impact::Holiday);
        holiday.previous = u"1.1%"_s; // no forecast, no actual: no value line
        QTest::newRow("high, 45 minutes, every value")
            << high << u"●●●"_s << Theme::red() << u"in 45m"_s << colorFromHex(u"#160a0a");
        QTest::newRow("all-day holiday, only a previous value")
            << holiday << u"○○○"_s << Theme::textMuted() << QString() << Theme::background();
    }
    void rowLooks()
    {
        QFETCH(CalendarEvent, event);
        QFETCH(QString, countdown);
        const bool values = !event.actual.isEmpty();
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onCalendar({event});
        QQuickItem *r = row(h, event.id);
        QVERIFY(r);
        QTEST(h.text(u"rowMarker"_s, r), "marker");
        QTEST(h.color(u"rowMarker"_s, r), "markerColor");
        QCOMPARE(h.text(u"rowTime"_s, r), event.timeDisplay);
        QCOMPARE(h.text(u"rowCurrency"_s, r), u"USD"_s);
        QCOMPARE(h.text(u"rowTitle"_s, r), event.event);
        QCOMPARE(h.shows(u"rowCountdown"_s, r), !countdown.isEmpty());
        QCOMPARE(h.text(u"rowCountdown"_s, r), countdown);
        QCOMPARE(h.shows(u"rowValues"_s, r), values);
        if (values) {
            QCOMPARE(h.text(u"rowForecast"_s, r), u"P: 0.3%"_s);
            QCOMPARE(h.color(u"rowForecast"_s, r), Theme::textMuted());
            QCOMPARE(h.text(u"rowActual"_s, r), u"A: 0.5%"_s);
            QCOMPARE(h.color(u"rowActual"_s, r), Theme::yellow());
        }
        QTEST(r->property("color").value<QColor>(), "background");
    }

    // Rows sit under the local day they happen on; the headers read in the
    // user's locale (German here).
    void groupsByLocalDayAcrossMidnight()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onCalendar({
            calendarEvent(u"undated"_s, u"Tentative talks"_s, u"Tentative"_s),
            calendarEvent(u"afterMidnight"_s, u"After midnight"_s, u"2025-03-05T23:30:00Z"_s),
            calendarEvent(u"lateEvening"_s, u"Late evening"_s, u"2025-03-05T22:30:00Z"_s),
            calendarEvent(u"afternoon"_s, u"Afternoon"_s, u"2025-03-05T14:00:00Z"_s),
        });
        QQuickItem *wednesday = h.item(u"dayHeader:2025-03-05"_s);
        QQuickItem *thursday = h.item(u"dayHeader:2025-03-06"_s);
        QQuickItem *undatedDay = h.item(u"dayHeader:4001-01-01"_s);
        QVERIFY(wednesday && thursday && undatedDay);
        QCOMPARE(h.text(u"dayTitle"_s, wednesday), u"Mittwoch 05.03."_s);
        QCOMPARE(h.text(u"dayTitle"_s, thursday), u"Donnerstag 06.03."_s);
        QCOMPARE(h.color(u"dayTitle"_s, wednesday), Theme::textMuted());
        QCOMPARE(wednesday->property("color").value<QColor>(), Theme::headerBackground());

        const Items expected{wednesday,      row(h, u"afternoon"_s),   row(h, u"lateEvening"_s), thursday,
                             row(h, u"afterMidnight"_s), undatedDay, row(h, u"undated"_s)};
        QVERIFY(!expected.contains(nullptr));
        QCOMPARE(byPosition(expected), expected);
        QCOMPARE(h.text(u"rowTime"_s, row(h, u"afterMidnight"_s)), u"00:30"_s);
    }

    void countdownsMoveOnWithTheTimer()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onCalendar({inMinutes(u"a"_s, 125)});
        QCOMPARE(h.text(u"rowCountdown"_s, row(h, u"a"_s)), u"in 2h 05m"_s);
        QObject *timer = h.object(u"countdownTimer"_s);
        QVERIFY(timer);

        // Only the clock's reading moves: the services' pauses stay where they are.
        h.clock.setNow(noon.addSecs(80 * 60));
        QCOMPARE(h.text(u"rowCountdown"_s, row(h, u"a"_s)), u"in 2h 05m"_s);
        QMetaObject::invokeMethod(timer, "triggered");
        QCOMPARE(h.text(u"rowCountdown"_s, row(h, u"a"_s)), u"in 45m"_s);
        QCOMPARE(h.color(u"rowCountdown"_s, row(h, u"a"_s)), Theme::yellow());
    }

    // Which lines and texts the sheet gets is the presentation's rule; here: it shows them.
    void sheet_data()
    {
        QTest::addColumn<QString>("time");
        QTest::addColumn<QString>("countdown"); // empty: no countdown line
        QTest::addColumn<QColor>("countdownColor");
        QTest::addColumn<QString>("icon");
        const auto in = [](int minutes) { return inMinutes(QString(), minutes).time; };
        QTest::newRow("45 minutes ahead, every value") << in(45) << u"Findet statt in 45 Minuten"_s << Theme::yellow()
                                                       << u"clock"_s;
        QTest::newRow("past, no values") << in(-10) << u"Ereignis ist bereits vorbei"_s << Theme::textMuted()
                                         << u"checkmarkCircle"_s;
        QTest::newRow("undated, no values") << u"All Day"_s << QString() << QColor() << QString();
    }
    void sheet()
    {
        QFETCH(QString, time);
        QFETCH(QString, countdown);
        const bool values = time == inMinutes(QString(), 45).time;
        CalendarEvent speech = calendarEvent(u"ecb"_s, u"ECB President Speaks"_s, time, Impact::High);
        speech.currency = u"EUR"_s;
        speech.country = u"EU"_s;
        if (values) {
            speech.forecast = u"2.9%"_s;
            speech.previous = u"3.0%"_s;
            speech.actual = u"2.8%"_s;
        }
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        QVERIFY(openSheetOf(h, {inMinutes(u"other"_s, 5), speech}, u"ecb"_s));
        QCOMPARE(h.state.selectedCalendarEvent().value_or(CalendarEvent()).id, u"ecb"_s);

        QCOMPARE(h.text(u"eventDetailHeader"_s), u"◈  WIRTSCHAFTSKALENDER — DETAIL"_s);
        QCOMPARE(h.text(u"eventDetailTitle"_s), u"ECB President Speaks"_s);
        QCOMPARE(h.shows(u"eventCountdown"_s), !countdown.isEmpty());
        if (!countdown.isEmpty()) {
            QCOMPARE(h.text(u"eventCountdownText"_s), countdown);
            QTEST(h.color(u"eventCountdownText"_s), "countdownColor");
            QTEST(h.item(u"eventCountdownIcon"_s)->property("name").toString(), "icon");
        }

        const auto rows = dataRows(h);
        if (values) {
            const QList<std::pair<QString, QString>> expected{
                {u"Ereignis"_s, u"ECB President Speaks"_s},
                {u"Währung / Region"_s, u"EUR  (EU)"_s},
                {u"Datum / Zeit (lokal)"_s, u"05.03.2025  13:45 (CET)"_s},
                {u"Zeit (UTC)"_s, u"05.03.2025  12:45 UTC"_s},
                {u"Rohzeit (Quelle)"_s, u"2025-03-05T12:45:00Z"_s},
                {u"Impact"_s, u"HOCH  ●●●"_s},
                {u"Prognose (Forecast)"_s, u"2.9%"_s},
                {u"Vorperiode (Previous)"_s, u"3.0%"_s},
                {u"Ist-Wert (Actual)"_s, u"2.8%"_s}};
            QCOMPARE(rows, expected);
            QCOMPARE(h.color(u"dataValue"_s, h.item(u"dataRow:Ist-Wert (Actual)"_s)), Theme::yellow());
        } else {
            QCOMPARE(rows.size(), 6);
        }
        QQuickItem *impact = h.item(u"dataRow:Impact"_s);
        QCOMPARE(h.color(u"dataValue"_s, impact), Theme::red());
        QVERIFY(h.item(u"dataValue"_s, impact)->property("font").value<QFont>().bold());

        // A speech by the ECB's president is explained as the ECB.
        QCOMPARE(h.text(u"eventCategoryHeading"_s), u"WAS IST DAS?"_s);
        QCOMPARE(h.text(u"eventCategoryTitle"_s), u"EZB (Europäische Zentralbank)"_s);
        QCOMPARE(h.color(u"eventCategoryTitle"_s), Theme::yellow());
        QCOMPARE(h.item(u"eventExplanations"_s)->property("items").toStringList().size(), 2);
        QVERIFY(h.text(u"eventDisclaimer"_s).startsWith(u"Hinweis: Keine Anlageberatung"_s));
    }

    void closingTheSheetClearsTheSelection_data()
    {
        QTest::addColumn<bool>("byButton");
        QTest::newRow("close button") << true;
        QTest::newRow("Escape") << false;
    }
    void closingTheSheetClearsTheSelection()
    {
        QFETCH(bool, byButton);
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        QVERIFY(openSheetOf(h, {inMinutes(u"a"_s, 45), inMinutes(u"b"_s, 90)}, u"b"_s));
        QCOMPARE(h.text(u"eventDetailTitle"_s), u"Event b"_s);
        if (byButton)
            QVERIFY(h.click(h.item(u"eventDetailClose"_s)));
        else
            QTest::keyClick(h.window, Qt::Key_Escape);
        QTRY_VERIFY(!h.state.selectedCalendarEvent());
        QTRY_VERIFY(!h.shows(u"eventDetailTitle"_s));

        // The next event opens the sheet again, with its own contents.
        QVERIFY(h.click(row(h, u"a"_s)));
        QTRY_VERIFY(h.shows(u"eventDetailTitle"_s));
        QCOMPARE(h.text(u"eventDetailTitle"_s), u"Event a"_s);
    }
};

QTEST_MAIN(TestCalendarPanel)
#include "tst_calendarpanel.moc"
