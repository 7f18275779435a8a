#include "audio/AudioPlayerService.h"

#include "OfflineSpeech.h"

#include <QDir>
#include <QEventLoop>
#include <QFutureWatcher>
#include <QAudioDevice>
#include <QMediaDevices>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <functional>
#include <limits>

using namespace kalvo;
using namespace Qt::StringLiterals;

namespace {

class Changes : public QObject
{
    Q_OBJECT
signals:
    void changed();
};

// Generous bounds for what a player does in a fraction of a second; a run
// that hits one fails instead of waiting for ever.
constexpr int startWait = 10000;

// A player whose log lines and temporary folder the test can see.
struct Harness
{
    Harness()
    {
        qputenv("TMPDIR", folder.path().toUtf8());
        player.setLogSink([this](const QString &line) {
            lines << line;
            emit changes.changed();
        });
        for (auto signal : {&AudioPlayerService::isPlayingChanged, &AudioPlayerService::progressChanged,
                            &AudioPlayerService::errorMessageChanged, &AudioPlayerService::playerChanged})
            QObject::connect(&player, signal, &changes, &Changes::changed);
    }
    ~Harness() { qunsetenv("TMPDIR"); }

    // Runs the event loop until `done` holds, checked after every change of
    // the player's state or log. (A polling wait would rarely get a look in
    // between the player's stream of events.)
    bool waitUntil(const std::function<bool()> &done)
    {
        QEventLoop loop;
        QObject::connect(&changes, &Changes::changed, &loop, [&] {
            if (done())
                loop.quit();
        });
        QTimer::singleShot(startWait, &loop, &QEventLoop::quit);
        if (!done())
            loop.exec();
        return done();
    }
    bool waitUntilPlaying()
    {
        const bool playing = waitUntil([this] { return player.isPlaying() || !player.errorMessage().isEmpty(); })
                             && player.isPlaying();
        if (!playing)
            qWarning().noquote() << "not playing:" << lines.join(u" | "_s) << player.errorMessage();
        return playing;
    }

    // The briefing files in the temporary folder once pending writes and
    // removals are done.
    QStringList files()
    {
        QFutureWatcher<void> watcher;
        QEventLoop loop;
        QObject::connect(&watcher, &QFutureWatcherBase::finished, &loop, &QEventLoop::quit);
        watcher.setFuture(player.fileWorkDone());
        QTimer::singleShot(startWait, &loop, &QEventLoop::quit);
        if (!watcher.isFinished())
            loop.exec();
        if (!watcher.isFinished())
            return {u"<file work pending>"_s};
        return QDir(folder.path()).entryList({u"kalvo_briefing_*.mp3"_s}, QDir::Files);
    }
    QByteArray contentOf(const QString &name) const
    {
        QFile file(QDir(folder.path()).filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    // Lets the progress timer run at least once more.
    void nextTick() { QTest::qWait(int(AudioPlayerService::progressInterval.count()) * 2); }

    QTemporaryDir folder;
    QStringList lines;
    Changes changes;
    AudioPlayerService player;
};

} // namespace

class TestAudioPlayer : public QObject
{
    Q_OBJECT

    // Spoken by the backend's offline voice, as the demo's briefings are.
    QByteArray m_speech; // about three seconds
    QByteArray m_short;  // under a second

private slots:
    void initTestCase()
    {
        m_speech = backend::OfflineSpeech::synthesize(u"Der Euro steigt gegen den Dollar, "
                                                      u"die Märkte warten auf die Zentralbank."_s)
                       .value_or(QByteArray());
        m_short = backend::OfflineSpeech::synthesize(u"Ja."_s).value_or(QByteArray());
        QVERIFY(!m_speech.isEmpty() && !m_short.isEmpty());
    }

    void formatTime_data()
    {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << 0.0 << u"0:00"_s;
        QTest::newRow("fraction cut, not rounded") << 75.9 << u"1:15"_s;
        QTest::newRow("an hour stays in minutes") << 3600.0 << u"60:00"_s;
        QTest::newRow("negative") << -12.5 << u"0:00"_s;
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << u"0:00"_s;
        QTest::newRow("beyond 64 bits") << 1e19 << u"0:00"_s;
    }
    void formatTime()
    {
        QFETCH(double, seconds);
        QFETCH(QString, text);
        QCOMPARE(kalvo::formatTime(seconds), text);
    }

    // From a file of our own through pause and resume to the end, and a
    // second round from the start, then stop.
    void playsPausesFinishesAndReplays()
    {
        Harness h;
        QVERIFY(!h.player.player());
        h.player.togglePlayPause(); // nothing loaded: nothing happens
        QVERIFY(!h.player.isPlaying() && !h.player.player());

        h.player.loadAndPlay(m_speech);
        QVERIFY(h.waitUntilPlaying());
        const QStringList files = h.files();
        QCOMPARE(files.size(), 1);
        QVERIFY(QRegularExpression(u"^kalvo_briefing_\\d{10}\\.mp3$"_s).match(files.first()).hasMatch());
        QCOMPARE(h.contentOf(files.first()), m_speech);
        QCOMPARE(h.player.tempFilePath(), QDir(h.folder.path()).filePath(files.first()));
        QVERIFY2(h.player.duration() > 2 && h.player.duration() < 8, qPrintable(QString::number(h.player.duration())));
        QCOMPARE(h.player.errorMessage(), QString());
        QCOMPARE(h.lines.value(0), u"[AudioPlayer] Temp-Datei: %1 (%2 Bytes)"_s.arg(h.player.tempFilePath())
                                       .arg(m_speech.size()));
        QVERIFY2(QRegularExpression(u"^\\[AudioPlayer\\] Wiedergabe gestartet=true, Dauer=\\d+\\.\\d+s$"_s)
                     .match(h.lines.value(1))
                     .hasMatch(),
                 qPrintable(h.lines.value(1)));

        QVERIFY(h.waitUntil([&] { return h.player.progress() > 0; }));
        h.player.togglePlayPause();
        QVERIFY(!h.player.isPlaying());
        QCOMPARE(h.player.player()->playbackState(), QMediaPlayer::PausedState);
        const double pausedAt = h.player.progress();
        QVERIFY(pausedAt > 0 && pausedAt < 1);
        h.nextTick();
        QCOMPARE(h.player.progress(), pausedAt);

        h.player.togglePlayPause();
        QVERIFY(h.player.isPlaying());
        QVERIFY(h.waitUntil([&] { return !h.player.isPlaying(); }));
        QCOMPARE(h.player.progress(), 1.0);
        // Kept for another round, file and all.
        QVERIFY(h.player.player());
        QCOMPARE(h.files(), files);
        h.nextTick();
        QCOMPARE(h.player.progress(), 1.0);

        h.player.togglePlayPause();
        QVERIFY(h.player.isPlaying());
        QVERIFY(h.waitUntil([&] { return h.player.progress() < 1; }));

        h.player.stop();
        QVERIFY(!h.player.isPlaying() && !h.player.player());
        QCOMPARE(h.player.progress(), 0.0);
        QCOMPARE(h.player.duration(), 0.0);
        QCOMPARE(h.player.tempFilePath(), QString());
        QCOMPARE(h.files(), QStringList());
        QCOMPARE(h.lines.size(), 2); // nothing more to report
    }

    // A sound shorter than the first progress report still counts as started.
    void shortSoundEndsAtOne()
    {
        Harness h;
        h.player.loadAndPlay(m_short);
        QVERIFY(h.waitUntil([&] { return h.player.progress() == 1.0; }));
        QVERIFY(!h.player.isPlaying());
        QCOMPARE(h.player.errorMessage(), QString());
        QVERIFY(h.lines.value(1).startsWith(u"[AudioPlayer] Wiedergabe gestartet=true"_s));
    }

    // A new briefing while one plays: the first is stopped and its file
    // removed, the second plays from the start.
    void replacesWhatPlays()
    {
        Harness h;
        h.player.loadAndPlay(m_speech);
        QVERIFY(h.waitUntilPlaying());
        QVERIFY(h.waitUntil([&] { return h.player.progress() > 0; }));
        QMediaPlayer *first = h.player.player();

        const QByteArray second = m_speech + m_short; // frames follow frames: one longer stream
        h.player.loadAndPlay(second);
        QVERIFY(!h.player.isPlaying() && h.player.progress() == 0 && h.player.player() != first);
        QVERIFY(h.waitUntilPlaying());
        QVERIFY(h.player.progress() < 0.5);
        const QStringList files = h.files();
        QCOMPARE(files.size(), 1);
        QCOMPARE(h.contentOf(files.first()), second);
    }

    // Replaced or stopped before its file was even written: nothing plays
    // and no file is left behind.
    // Stopped, or replaced by nothing to play, before the file is written.
    void overtakenWhileWriting()
    {
        for (const bool replaced : {false, true}) {
            Harness h;
            h.player.loadAndPlay(m_speech);
            replaced ? h.player.loadAndPlay({}) : h.player.stop();
            QCOMPARE(h.files(), QStringList());
            // The write's continuation runs now and must not start a player.
            QCoreApplication::processEvents();
            QVERIFY(!h.player.player() && !h.player.isPlaying());
        }
    }

    void failures_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("folderUnusable");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("logLine");
        QTest::newRow("no bytes (speech failed)")
            << QByteArray() << false << u"Keine Audio-Daten empfangen (TTS fehlgeschlagen)"_s
            << u"[AudioPlayer] loadAndPlay: data ist leer"_s;
        // Reported but not shown: the view keeps its controls.
        QTest::newRow("not audio") << QByteArray(4096, 'x') << false << QString() << u"[AudioPlayer] Fehler: "_s;
        QTest::newRow("temporary folder is a file") << QByteArray("ID3") << true << QString()
                                                  << u"[AudioPlayer] Fehler: "_s;
    }
    void failures()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, folderUnusable);
        QFETCH(QString, message);
        QFETCH(QString, logLine);
        Harness h;
        if (folderUnusable) {
            // Not a permission: the suites may run as root.
            const QString file = QDir(h.folder.path()).filePath(u"plain-file"_s);
            QFile(file).open(QIODevice::WriteOnly);
            qputenv("TMPDIR", file.toUtf8());
        }
        h.player.loadAndPlay(bytes);
        QVERIFY(h.waitUntil([&] { return !h.lines.isEmpty() && h.lines.last().startsWith(logLine); }));
        QCOMPARE(h.player.errorMessage(), message);
        QVERIFY(!h.player.isPlaying() && !h.player.player());
        QCOMPARE(h.player.duration(), 0.0);
        h.player.stop();
        QCOMPARE(h.files(), QStringList());
    }

    // A backend that needs an audio device, on a machine without one: the
    // message instead of a player (Qt 6.4's FFmpeg backend would crash).
    void noDeviceForABackendThatNeedsOne()
    {
        if (!QMediaDevices::audioOutputs().isEmpty())
            QSKIP("this machine has an audio output");
        Harness h;
        qputenv("QT_MEDIA_BACKEND", "ffmpeg");
        h.player.loadAndPlay(m_speech);
        const bool settled = h.waitUntil([&] { return !h.player.errorMessage().isEmpty(); });
        qunsetenv("QT_MEDIA_BACKEND");
        QVERIFY(settled);
        QCOMPARE(h.player.errorMessage(), u"Wiedergabe konnte nicht gestartet werden"_s);
        QCOMPARE(h.lines.value(1), u"[AudioPlayer] Wiedergabe gestartet=false, Dauer=0.0s"_s);
        QVERIFY(!h.player.isPlaying() && !h.player.player());
    }

    // Closing the view ends the player mid-play; the file goes with it.
    void destroyedWhilePlaying()
    {
        QTemporaryDir folder;
        {
            Harness h;
            qputenv("TMPDIR", folder.path().toUtf8());
            h.player.loadAndPlay(m_speech);
            QVERIFY(h.waitUntilPlaying());
            QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 1);
        }
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList());
    }
};

QTEST_MAIN(TestAudioPlayer)
#include "tst_audioplayer.moc"
