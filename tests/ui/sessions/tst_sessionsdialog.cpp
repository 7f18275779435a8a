#include "../WindowHarness.h"

#include "app/TradingSessions.h"
#include "ui/controls/Theme.h"
#include "ui/sessions/SessionTable.h"

using namespace kalvo;

namespace {

// 14:07 in Berlin (UTC+1): London and New York are open.
const QDateTime wednesday = test::utc(2025, 3, 5, 13, 7);

} // namespace

class TestSessionsDialog : public QObject
{
    Q_OBJECT

    static bool sheetOpen(const test::WindowHarness &h)
    {
        QObject *sheet = h.object(u"sessionSheet"_s);
        return sheet && sheet->property("opened").toBool();
    }
    static QQuickItem *row(const test::WindowHarness &h, const QString &name)
    {
        for (int i = 0; i < 4; ++i) {
            QQuickItem *found = h.item(u"sessionRow%1"_s.arg(i));
            if (found && h.text(u"sessionName"_s, found) == name)
                return found;
        }
        return nullptr;
    }
    // Marked as active: bold yellow name on the selection tint.
    static bool marked(const test::WindowHarness &h, const QString &name)
    {
        QQuickItem *found = row(h, name);
        const bool tinted = h.color(u"sessionRowBackground"_s, found).alpha() > 0;
        const bool yellow = h.color(u"sessionName"_s, found) == Theme::yellow();
        const bool bold = h.item(u"sessionName"_s, found)->property("font").value<QFont>().bold();
        return tinted && yellow && bold;
    }
    static bool plain(const test::WindowHarness &h, const QString &name)
    {
        QQuickItem *found = row(h, name);
        return h.color(u"sessionRowBackground"_s, found).alpha() == 0
               && h.color(u"sessionName"_s, found) == Theme::textPrimary()
               && !h.item(u"sessionName"_s, found)->property("font").value<QFont>().bold();
    }

private slots:
    // The badge opens the dialog; it follows the session clock while open.
    void opensFromTheBadgeAndFollowsTheClock()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        QVERIFY(h.click(h.item(u"marketBadge"_s)));
        QTRY_VERIFY(sheetOpen(h));
        QCOMPARE(h.text(u"sessionsActive"_s), u"Aktiv: LONDON, NEW_YORK"_s);
        QVERIFY(h.shows(u"sessionsOverlap"_s));
        QCOMPARE(h.text(u"sessionsOverlap"_s), u"★ LONDON / NEW YORK  ★ Höchstes Volumen"_s);
        QCOMPARE(h.color(u"sessionsOverlap"_s), Theme::green());
        // The key "new_york" is not the name "New York": that row stays unmarked.
        QVERIFY(marked(h, u"London"_s));
        QVERIFY(plain(h, u"New York"_s) && plain(h, u"Tokyo"_s) && plain(h, u"Sydney"_s));
        // Local hours in Berlin's winter time, beside the UTC hours.
        QCOMPARE(h.text(u"sessionLocal"_s, row(h, u"London"_s)), u"08:00–17:00"_s);
        QCOMPARE(h.text(u"sessionUtc"_s, row(h, u"London"_s)), u"07:00–16:00"_s);
        QCOMPARE(h.text(u"sessionLocal"_s, row(h, u"Sydney"_s)), u"22:00–07:00"_s);
        QCOMPARE(h.text(u"sessionUtc"_s, row(h, u"Sydney"_s)), u"21:00–06:00"_s);
        QCOMPARE(h.color(u"sessionVolume"_s, row(h, u"London"_s)), Theme::green());
        QCOMPARE(h.color(u"sessionVolume"_s, row(h, u"Tokyo"_s)), Theme::yellow());
        QCOMPARE(h.text(u"sessionPairs"_s, row(h, u"Tokyo"_s)), u"USD/JPY  EUR/JPY  GBP/JPY  AUD/JPY"_s);

        // 01:00 UTC: Sydney and Tokyo.
        h.clock.setNow(test::utc(2025, 3, 6, 1, 0));
        h.state.updateSessions();
        QCOMPARE(h.text(u"sessionsActive"_s), u"Aktiv: SYDNEY, TOKYO"_s);
        QCOMPARE(h.text(u"sessionsOverlap"_s), u"★ SYDNEY / TOKYO Überlappung"_s);
        QVERIFY(marked(h, u"Sydney"_s) && marked(h, u"Tokyo"_s) && plain(h, u"London"_s));

        QVERIFY(h.click(h.item(u"sessionsClose"_s)));
        QTRY_VERIFY(!sheetOpen(h));
        QCOMPARE(h.item(u"mainView"_s)->property("showSessionDialog").toBool(), false);
    }

    // Before the session clock's first reading nothing is active.
    void withoutActiveSessions()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.publishSessions({});
        h.item(u"mainView"_s)->setProperty("showSessionDialog", true);
        QTRY_VERIFY(sheetOpen(h));
        QCOMPARE(h.text(u"sessionsActive"_s), u"Aktiv: Keine"_s);
        QVERIFY(!h.shows(u"sessionsOverlap"_s));
        for (const QString &name : {u"Sydney"_s, u"Tokyo"_s, u"London"_s, u"New York"_s})
            QVERIFY2(plain(h, name), qPrintable(name));
    }

    // Local hours follow the time zone of the day: summer time in Berlin.
    void localHours_data()
    {
        QTest::addColumn<QDate>("day");
        QTest::addColumn<int>("hour");
        QTest::addColumn<QString>("local");
        QTest::newRow("winter") << QDate(2025, 3, 5) << 7 << u"08:00"_s;
        QTest::newRow("summer") << QDate(2025, 7, 2) << 7 << u"09:00"_s;
        QTest::newRow("into the next day") << QDate(2025, 7, 2) << 22 << u"00:00"_s;
    }
    void localHours()
    {
        QFETCH(QDate, day);
        QFETCH(int, hour);
        QFETCH(QString, local);
        QCOMPARE(SessionTable::localHour(hour, day), local);
    }
};

QTEST_MAIN(TestSessionsDialog)
#include "tst_sessionsdialog.moc"
