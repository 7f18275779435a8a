#include "../WindowHarness.h"

#include "ui/controls/Theme.h"
#include "update/UpdateService.h"

using namespace kalvo;

namespace {

const QDateTime wednesday(QDate(2025, 3, 5), QTime(13, 7, 9), QTimeZone::utc());
const QString downloadAddress = u"https://kalvo.example.org/download/kalvo-1.5.0.tar.gz"_s;

AppVersionInfo offer(const QString &notes = u"• Neu\n• Besser"_s)
{
    AppVersionInfo info;
    info.version = u"1.5.0"_s;
    info.downloadUrl = downloadAddress;
    info.releaseNotes = notes;
    return info;
}

// The main window with an update service that never checks: the tests set
// what a check would have found.
struct AlertHarness : test::WindowHarness
{
    AlertHarness() : test::WindowHarness(wednesday)
    {
        updates.setLogSink([](const QString &) {});
        updates.setUrlOpener([this](const QUrl &url) {
            opened << url.toString();
            return true;
        });
        updates.setRunningVersion(u"1.4.2"_s);
    }
    bool load()
    {
        if (!test::WindowHarness::load())
            return false;
        window->setProperty("updateService", QVariant::fromValue(&updates));
        return true;
    }
    // The window outlives the service here: it must not hold on to it.
    ~AlertHarness()
    {
        if (window)
            window->setProperty("updateService", QVariant());
    }
    bool alertShown() const { return shows(u"updateAlert"_s); }

    UpdateService updates{clock};
    QStringList opened;
};

} // namespace

class TestUpdateAlert : public QObject
{
    Q_OBJECT

private slots:
    void showsTheOffer_data()
    {
        QTest::addColumn<QString>("running"); // as the build gives it
        QTest::addColumn<QString>("notes");

        QTest::newRow("with release notes") << u"1.4.2"_s << u"• Neu\n• Besser"_s;
        QTest::newRow("without release notes") << u"1.4.2"_s << QString();
        QTest::newRow("build without a version") << QString() << u"• Neu"_s;
    }
    void showsTheOffer()
    {
        QFETCH(QString, running);
        QFETCH(QString, notes);
        AlertHarness h;
        QVERIFY(h.load());
        h.updates.setRunningVersion(running);
        QVERIFY(!h.alertShown());

        h.updates.setUpdateAvailable(offer(notes));
        QVERIFY(h.alertShown());
        QCOMPARE(h.item(u"updateAlert"_s)->width(), 420.0);
        QCOMPARE(h.text(u"updateTitle"_s), u"UPDATE VERFÜGBAR"_s);
        QCOMPARE(h.text(u"versionBadgeText"_s), u"v1.5.0"_s);
        QCOMPARE(h.text(u"installedVersion"_s), u"v"_s + (running.isEmpty() ? u"1.0.0"_s : running));
        QCOMPARE(h.text(u"offeredVersion"_s), u"v1.5.0"_s);
        QCOMPARE(h.color(u"offeredVersion"_s), Theme::blue());
        // The notes section exists only with notes; the version rows always.
        for (const QString &part : {u"notesDivider"_s, u"notesHeading"_s, u"releaseNotes"_s})
            QVERIFY2(h.shows(part) == !notes.isEmpty(), qPrintable(part));
        if (!notes.isEmpty())
            QCOMPARE(h.text(u"releaseNotes"_s), notes);
        QVERIFY(test::WindowHarness::topToBottom(
            {h.item(u"updateHeader"_s), h.item(u"offeredVersion"_s), h.item(u"laterButton"_s)}));
    }

    // Every way out clears the pending version; only the main action opens
    // the download. The alert comes back only with a new offer.
    void closing_data()
    {
        QTest::addColumn<QString>("way");
        QTest::addColumn<QStringList>("opened");

        QTest::newRow("Später") << u"laterButton"_s << QStringList();
        QTest::newRow("Jetzt aktualisieren") << u"updateNowButton"_s << QStringList{downloadAddress};
        QTest::newRow("Escape") << u"Escape"_s << QStringList();
        QTest::newRow("Return") << u"Return"_s << QStringList{downloadAddress};
    }
    void closing()
    {
        QFETCH(QString, way);
        AlertHarness h;
        QVERIFY(h.load());
        h.updates.setUpdateAvailable(offer());
        QVERIFY(h.alertShown());

        if (way == u"Escape"_s)
            QTest::keyClick(h.window, Qt::Key_Escape);
        else if (way == u"Return"_s)
            QTest::keyClick(h.window, Qt::Key_Return);
        else
            QVERIFY(h.click(h.item(way)));
        QTEST(h.opened, "opened");
        QVERIFY(!h.updates.hasUpdate());
        QVERIFY(!h.alertShown());

        QCoreApplication::processEvents();
        QVERIFY(!h.alertShown());
        h.updates.setUpdateAvailable(offer());
        QVERIFY(h.alertShown());
    }

    // Held down, a button dims its fill; the outline and the text stay.
    void pressedButtons_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QColor>("fill");
        QTest::addColumn<double>("pressedOpacity");
        QTest::addColumn<QColor>("text");
        QTest::addColumn<bool>("outlined");

        QTest::newRow("primary") << u"updateNowButton"_s << Theme::blue() << 0.7 << QColor(Qt::black) << false;
        QTest::newRow("secondary") << u"laterButton"_s << Theme::panelBackground() << 0.5 << Theme::textSecondary()
                                   << true;
    }
    void pressedButtons()
    {
        QFETCH(QString, button);
        QFETCH(QColor, fill);
        QFETCH(double, pressedOpacity);
        QFETCH(bool, outlined);
        AlertHarness h;
        QVERIFY(h.load());
        h.updates.setUpdateAvailable(offer());
        QQuickItem *control = h.item(button);
        QVERIFY(control);
        QQuickItem *background = h.item(u"fill"_s, control);
        QVERIFY(background);
        const auto border = [&] {
            return outlined ? background->property("border").value<QObject *>()->property("color").value<QColor>()
                            : QColor();
        };

        QCOMPARE(h.color(u"fill"_s, control), fill);
        QTEST(h.color(u"label"_s, control), "text");
        QCOMPARE(border(), outlined ? Theme::border() : QColor());

        QTest::mousePress(h.window, Qt::LeftButton, Qt::NoModifier, h.centreOf(control));
        QColor dimmed = fill;
        dimmed.setAlphaF(float(pressedOpacity));
        QCOMPARE(h.color(u"fill"_s, control), dimmed);
        QTEST(h.color(u"label"_s, control), "text");
        QCOMPARE(border(), outlined ? Theme::border() : QColor());

        // Let go beside the button: no click, the fill comes back, the alert stays.
        QTest::mouseRelease(h.window, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
        QCOMPARE(h.color(u"fill"_s, control), fill);
        QVERIFY(h.updates.hasUpdate());
        QVERIFY(h.alertShown());
    }
};

QTEST_MAIN(TestUpdateAlert)
#include "tst_updatealert.moc"
