#include "../WindowHarness.h"

#include "ui/controls/Theme.h"

using namespace kalvo;

namespace {

// Wednesday 13:07:09 UTC, 14:07:09 in Berlin (the suites run with TZ=Europe/Berlin).
const QDateTime wednesday(QDate(2025, 3, 5), QTime(13, 7, 9), QTimeZone::utc());

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private slots:
    void fromOpeningToClosing()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        QCOMPARE(h.window->size(), QSize(1400, 900));
        QCOMPARE(h.window->color(), Theme::background());
        QVERIFY(h.state.isRunning());
        // The centre takes the rest: 1400 - 280 (left) - 360 (right) - two dividers.
        QQuickItem *column = h.item(u"centerColumn"_s);
        QCOMPARE(column->width(), 758.0);
        QCOMPARE(h.text(u"statusLine"_s), u"⚠ AI-Backend nicht erreichbar"_s);
        QVERIFY(!h.shows(u"demoBadge"_s)); // only in demo mode

        // The market's labels are the market clock's; here: the bar follows it on its one-second tick.
        // Until the first tick: no clock, and the badge of the moment the bar appeared.
        QCOMPARE(h.text(u"clockText"_s), QString());
        QObject *timer = h.object(u"clockTimer"_s);
        QCOMPARE(timer ? timer->property("interval").toInt() : 0, 1000);
        h.clock.setNow(test::utc(2025, 3, 8, 10, 0)); // Saturday
        QCOMPARE(h.text(u"marketLabel"_s), u"EU/US OVERLAP"_s);
        QMetaObject::invokeMethod(timer, "triggered");
        QCOMPARE(h.text(u"clockText"_s), u"08.03.2025  11:00:00"_s);
        QCOMPARE(h.text(u"marketLabel"_s), u"WOCHENENDE"_s);
        QCOMPARE(h.color(u"marketDot"_s), Theme::orange());

        QCOMPARE(h.text(u"newsCount"_s), u"0/0 News"_s); // analysed / all headlines
        h.state.onNewsItem(test::headline(u"a"_s, wednesday, NewsAnalysis{}));
        h.state.onNewsItem(test::headline(u"b"_s, wednesday));
        h.state.onNewsItem(test::headline(u"c"_s, wednesday, NewsAnalysis{}));
        QCOMPARE(h.text(u"newsCount"_s), u"2/3 News"_s);

        // The detail exists only with a selection; news, divider, bar and detail share the column.
        QQuickItem *newsPanel = h.item(u"newsPanel"_s);
        QCOMPARE(newsPanel->height(), column->height());
        h.state.selectNews(u"a"_s);
        QCOMPARE(h.item(u"detailPanel"_s)->height(), 340.0);
        QCOMPARE(newsPanel->height(), column->height() - 1 - 12 - 340);
        QVERIFY(h.click(h.item(u"detailClose"_s)));
        QCOMPARE(h.state.selectedNewsId(), QString());
        QCOMPARE(newsPanel->height(), column->height());

        QVERIFY(h.click(h.item(u"settingsButton"_s)));
        QCOMPARE(h.state.property("showSettings").toBool(), true);
        // The sheets are modal: each is closed again before the next click.
        QTRY_VERIFY(h.shows(u"settingsClose"_s));
        QVERIFY(h.click(h.item(u"settingsClose"_s)));
        QTRY_COMPARE(h.state.property("showSettings").toBool(), false);
        QCOMPARE(h.item(u"mainView"_s)->property("showSessionDialog").toBool(), false);
        QVERIFY(h.click(h.item(u"marketBadge"_s)));
        QCOMPARE(h.item(u"mainView"_s)->property("showSessionDialog").toBool(), true);
        QTRY_VERIFY(h.shows(u"sessionsClose"_s));
        QVERIFY(h.click(h.item(u"sessionsClose"_s)));
        QTRY_COMPARE(h.item(u"mainView"_s)->property("showSessionDialog").toBool(), false);
        // The right column toggles between calendar and scanner.
        QCOMPARE(h.text(u"panelToggleLabel"_s), u"SCANNER"_s);
        QVERIFY(h.shows(u"calendarPanel"_s) && !h.shows(u"scannerPanel"_s));
        QVERIFY(h.click(h.item(u"panelToggle"_s)));
        QCOMPARE(h.text(u"panelToggleLabel"_s), u"KALENDER"_s);
        QVERIFY(h.shows(u"scannerPanel"_s) && !h.shows(u"calendarPanel"_s));

        h.window->close();
        QVERIFY(!h.state.isRunning());
    }

    void aiButtons_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QByteArray>("busyFlag");
        QTest::addColumn<QColor>("accent");
        QTest::addColumn<QString>("startText");
        QTest::addColumn<QString>("endText");
        // No model answers, so both fail after their start message.
        QTest::newRow("live briefing") << u"briefingButton"_s << QByteArray("isLoadingBriefing") << Theme::green()
                                       << u"Erstelle Live-Briefing (Claude)…"_s << u"⚠ Live-Briefing fehlgeschlagen"_s;
        QTest::newRow("market overview") << u"overviewButton"_s << QByteArray("isLoadingOverview") << Theme::blue()
                                         << u"Lade Marktübersicht (Claude)…"_s << u"⚠ Marktübersicht fehlgeschlagen"_s;
    }
    void aiButtons()
    {
        QFETCH(QString, button);
        QFETCH(QByteArray, busyFlag);
        QFETCH(QColor, accent);
        QFETCH(QString, startText);
        QFETCH(QString, endText);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        QQuickItem *item = h.item(button);
        QVERIFY(item);
        QCOMPARE(item->property("border").value<QObject *>()->property("color").value<QColor>().rgb(), accent.rgb());
        // The backend is unreachable: the operation starts, fails and lowers its flag.
        QStringList statuses;
        QObject::connect(&h.state, &AppState::statusChanged, [&] { statuses << h.state.status(); });
        QVERIFY(h.click(item));
        QTRY_COMPARE(statuses, QStringList({startText, endText}));
        QCOMPARE(h.state.property(busyFlag.constData()).toBool(), false);
        // While the operation runs: spinner instead of the icon, and disabled.
        QVERIFY(h.shows(u"icon"_s, item) && !h.shows(u"spinner"_s, item));
        h.state.setProperty(busyFlag.constData(), true);
        QVERIFY(h.shows(u"spinner"_s, item) && !h.shows(u"icon"_s, item));
        QVERIFY(!item->isEnabled());
    }

    void demoMark()
    {
        test::WindowHarness h(wednesday);
        h.state.setDemo(true);
        QVERIFY(h.load());
        QVERIFY(h.shows(u"demoBadge"_s));
        QCOMPARE(h.text(u"demoText"_s, h.item(u"demoBadge"_s)), u"DEMO"_s);
    }

    void splitterDrag_data()
    {
        QTest::addColumn<int>("windowHeight");
        QTest::addColumn<QList<int>>("moves"); // pointer offsets from the press, in order
        QTest::addColumn<double>("expected");  // detail height; negative: that fraction of the column
        QTest::newRow("under 10 points is no drag") << 900 << QList<int>{-9} << 340.0;
        QTest::newRow("a long drag outruns the pointer") << 900 << QList<int>{-10, -20} << 370.0;
        QTest::newRow("down stops at 220") << 900 << QList<int>{200} << 220.0;
        QTest::newRow("up stops at 70 % of the column") << 900 << QList<int>{-400} << -0.7;
        QTest::newRow("too short for both: the maximum wins") << 360 << QList<int>{10} << -0.7;
    }
    void splitterDrag()
    {
        QFETCH(int, windowHeight);
        QFETCH(QList<int>, moves);
        QFETCH(double, expected);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.onNewsItem(test::headline(u"a"_s, wednesday));
        h.state.selectNews(u"a"_s);
        h.window->resize(1400, windowHeight);
        QTRY_COMPARE(h.window->height(), windowHeight);
        QQuickItem *column = h.item(u"centerColumn"_s);
        const QPoint press = h.centreOf(h.item(u"dragArea"_s));
        QTest::mousePress(h.window, Qt::LeftButton, Qt::NoModifier, press);
        for (int dy : moves)
            QTest::mouseMove(h.window, press + QPoint(0, dy));
        QTest::mouseRelease(h.window, Qt::LeftButton, Qt::NoModifier, press + QPoint(0, moves.last()));
        const double height = column->property("detailHeight").toDouble();
        const double want = expected < 0 ? -expected * column->height() : expected;
        QVERIFY2(qAbs(height - want) < 0.01, qPrintable(u"%1 != %2"_s.arg(height).arg(want)));
        QCOMPARE(h.item(u"detailPanel"_s)->height(), height);
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
