#include "app/AppState.h"
#include "core/Clock.h"

#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

using namespace kalvo;
using namespace Qt::StringLiterals;

// The window rendered offscreen against a real AppState.
class TestMainWindow : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dataDir;

private slots:
    void initTestCase() { qputenv("KALVO_DATA_DIR", m_dataDir.path().toUtf8()); }

    void showsStatusAndNewsCountAndStartsTheApp()
    {
        ManualClock clock(QDateTime(QDate(2026, 11, 18), QTime(12, 0), QTimeZone::utc()));
        AppState state(clock);
        state.setSoundPlayer([](const QString &) {});
        QSignalSpy started(&state, &AppState::started);

        QQmlApplicationEngine engine;
        engine.setInitialProperties({{u"appState"_s, QVariant::fromValue(&state)}, {u"monoFamily"_s, u"monospace"_s}});
        engine.load(QUrl::fromLocalFile(QStringLiteral(KALVO_SOURCE_DIR "/src/ui/Main.qml")));
        QCOMPARE(engine.rootObjects().size(), 1);
        auto *window = qobject_cast<QQuickWindow *>(engine.rootObjects().first());
        QVERIFY(window);
        QCOMPARE(window->size(), QSize(1400, 900));

        QVERIFY(started.wait(5000)); // the window asked for the start
        auto *statusLine = window->findChild<QQuickItem *>(u"statusLine"_s);
        auto *newsCount = window->findChild<QQuickItem *>(u"newsCount"_s);
        QVERIFY(statusLine && newsCount);
        QCOMPARE(statusLine->property("text").toString(), u"⚠ AI-Backend nicht erreichbar"_s);

        NewsItem item;
        item.id = u"A"_s;
        item.published = clock.now();
        state.onNewsItem(item);
        QCOMPARE(newsCount->property("text").toString(), u"1 News"_s);

        const QImage frame = window->grabWindow();
        QCOMPARE(frame.pixelColor(200, 300).name(), u"#0c1018"_s); // dark background

        window->close();
        QVERIFY(!state.isRunning());
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
