#include "../WindowHarness.h"

#include "../../TestSupport.h"
#include "ui/controls/Theme.h"

#include <QTemporaryDir>

#include <algorithm>

using namespace kalvo;
using Impact = CalendarEvent::Impact;

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

Q_DECLARE_METATYPE(kalvo::CalendarEvent)

class TestCalendarPanel : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

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

    void panelStates()
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
        h.state.onCalendar({inMinutes(u"a"_s, 45)});
        QCOMPARE(shownStates(), QStringList{u"calendarList"_s});
        h.state.onCalendar({inMinutes(u"b"_s, 50)}); // a later delivery replaces the list
        QVERIFY(!row(h, u"a"_s) && row(h, u"b"_s));
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
        high.actual = u"0.5%"_s;
        CalendarEvent holiday = calendarEvent(u"holiday"_s, u"All Day"_s, Impact::Holiday);
        holiday.previous = u"1.1%"_s; // no actual: no value line
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
        QCOMPARE(h.shows(u"rowCountdown"_s, r), !countdown.isEmpty());
        QCOMPARE(h.text(u"rowCountdown"_s, r), countdown);
        QCOMPARE(h.shows(u"rowValues"_s, r), values);
        if (values) {
            QCOMPARE(h.text(u"rowActual"_s, r), u"A: 0.5%"_s);
            QCOMPARE(h.color(u"rowActual"_s, r), Theme::yellow());
        }
        QTEST(r->property("color").value<QColor>(), "background");
    }

    // Rows sit under the local day they happen on; the headers read in the user's locale (German here).
    void groupsByLocalDayAcrossMidnight()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onCalendar({calendarEvent(u"undated"_s, u"Tentative"_s),
                            calendarEvent(u"afterMidnight"_s, u"2025-03-05T23:30:00Z"_s),
                            calendarEvent(u"lateEvening"_s, u"2025-03-05T22:30:00Z"_s),
                            calendarEvent(u"afternoon"_s, u"2025-03-05T14:00:00Z"_s)});
        QQuickItem *wednesday = h.item(u"dayHeader:2025-03-05"_s);
        QQuickItem *thursday = h.item(u"dayHeader:2025-03-06"_s);
        QQuickItem *undatedDay = h.item(u"dayHeader:4001-01-01"_s);
        QVERIFY(wednesday && thursday && undatedDay);
        QCOMPARE(h.text(u"dayTitle"_s, wednesday), u"Mittwoch 05.03."_s);
        QCOMPARE(h.text(u"dayTitle"_s, thursday), u"Donnerstag 06.03."_s);
        QList<qreal> ys; // top to bottom
        for (QQuickItem *item : {wednesday, row(h, u"afternoon"_s), row(h, u"lateEvening"_s), thursday,
                                 row(h, u"afterMidnight"_s), undatedDay, row(h, u"undated"_s)}) {
            QVERIFY(item);
            ys << item->mapToScene({0, 0}).y();
        }
        QVERIFY(std::adjacent_find(ys.begin(), ys.end(), std::greater_equal<>()) == ys.end());
    }

    void countdownsMoveOnWithTheTimer()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        h.state.onCalendar({inMinutes(u"a"_s, 125)});
        QCOMPARE(h.text(u"rowCountdown"_s, row(h, u"a"_s)), u"in 2h 05m"_s);
        QObject *timer = h.object(u"countdownTimer"_s);
        QVERIFY(timer);
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
        QTest::addColumn<QString>("countdown");
        QTest::addColumn<QColor>("countdownColor");
        QTest::addColumn<QString>("icon");
        const auto in = [](int minutes) { return inMinutes(QString(), minutes).time; };
        QTest::newRow("45 minutes ahead, every value") << in(45) << u"Findet statt in 45 Minuten"_s << Theme::yellow()
                                                       << u"clock"_s;
        QTest::newRow("past, no values") << in(-10) << u"Ereignis ist bereits vorbei"_s << Theme::textMuted()
                                         << u"checkmarkCircle"_s;
    }
    void sheet()
    {
        QFETCH(QString, time);
        QFETCH(QString, countdown);
        const bool values = time == inMinutes(QString(), 45).time;
        CalendarEvent speech = calendarEvent(u"ecb"_s, time, Impact::High);
        speech.event = u"ECB President Speaks"_s;
        speech.currency = u"EUR"_s;
        speech.country = u"EU"_s;
        if (values) {
            speech.forecast = speech.previous = u"3.0%"_s;
            speech.actual = u"2.8%"_s;
        }
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        QVERIFY(openSheetOf(h, {inMinutes(u"other"_s, 5), speech}, u"ecb"_s));
        QCOMPARE(h.text(u"eventCountdownText"_s), countdown);
        QTEST(h.color(u"eventCountdownText"_s), "countdownColor");
        QTEST(h.item(u"eventCountdownIcon"_s)->property("name").toString(), "icon");
        // The presentation's lines in their order, with their colours.
        const auto rows = dataRows(h);
        QCOMPARE(rows.size(), values ? 9 : 6);
        QCOMPARE(rows.first(), (std::pair{u"Ereignis"_s, u"ECB President Speaks"_s}));
        if (values) {
            QCOMPARE(rows.last(), (std::pair{u"Ist-Wert (Actual)"_s, u"2.8%"_s}));
            QCOMPARE(h.color(u"dataValue"_s, h.item(u"dataRow:Ist-Wert (Actual)"_s)), Theme::yellow());
        }
        QQuickItem *impact = h.item(u"dataRow:Impact"_s);
        QCOMPARE(h.color(u"dataValue"_s, impact), Theme::red());
        QVERIFY(h.item(u"dataValue"_s, impact)->property("font").value<QFont>().bold());
        // A speech by the ECB's president is explained as the ECB.
        QCOMPARE(h.text(u"eventCategoryTitle"_s), u"EZB (Europäische Zentralbank)"_s);
    }

    // Closed by its button or by Escape; the next event opens it again with its own contents.
    void closingTheSheetClearsTheSelection()
    {
        test::WindowHarness h(noon);
        QVERIFY(h.load());
        QVERIFY(openSheetOf(h, {inMinutes(u"a"_s, 45), inMinutes(u"b"_s, 90)}, u"b"_s));
        for (const QString &id : {u"b"_s, u"a"_s}) {
            QTRY_COMPARE(h.text(u"eventDetailTitle"_s), u"Event "_s + id);
            if (id == u"b")
                QVERIFY(h.click(h.item(u"eventDetailClose"_s)));
            else
                QTest::keyClick(h.window, Qt::Key_Escape);
            QTRY_VERIFY(!h.state.selectedCalendarEvent());
            QTRY_VERIFY(!h.shows(u"eventDetailTitle"_s));
            QVERIFY(h.click(row(h, u"a"_s)));
        }
    }
};

QTEST_MAIN(TestCalendarPanel)
#include "tst_calendarpanel.moc"
