#pragma once

#include "core/SerialWorker.h"

#include <QByteArray>
#include <QFuture>
#include <QMediaPlayer>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <functional>

class QAudioOutput;

namespace kalvo {

// A play time as minutes and two-digit seconds ("1:15"), the seconds cut to
// whole ones; negative times read 0:00. Times that are no number or beyond
// any real length (NaN, infinities, over 2^63 s) read 0:00 as well.
QString formatTime(double seconds);

// Plays the MP3 of a spoken briefing. The bytes go to a file in the user's
// temporary folder ("kalvo_briefing_<Unix seconds>.mp3"), written and later
// removed on the service's own worker thread, and Qt Multimedia plays that
// file. The service lives on the GUI thread; the briefing view owns one and
// binds to its published state.
//
// Qt reports playback asynchronously, so "started" means the position has
// begun to move (and the length is known) within startTimeout; a player that
// gets no further — no audio output that will take the sound, a pipeline that
// never starts — ends as "Wiedergabe konnte nicht gestartet werden" instead
// of a progress bar that waits for ever. Where the platform falls back to a
// silent sink (GStreamer without any audio device), playback runs normally.
class AudioPlayerService : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool isPlaying READ isPlaying NOTIFY isPlayingChanged)
    // Free for the view to use; the service never changes it.
    Q_PROPERTY(bool isLoading MEMBER m_isLoading NOTIFY isLoadingChanged)
    // The view writes it while the user drags the progress bar.
    Q_PROPERTY(double progress READ progress WRITE setProgress NOTIFY progressChanged)
    Q_PROPERTY(double duration READ duration NOTIFY durationChanged)
    // Empty while there is nothing to tell.
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    // The player of the current file, or null. The view seeks by setting its
    // position; the service itself offers no seek.
    Q_PROPERTY(QMediaPlayer *player READ player NOTIFY playerChanged)

public:
    using LogSink = std::function<void(const QString &line)>;

    static constexpr std::chrono::milliseconds progressInterval{250};
    static constexpr std::chrono::milliseconds startTimeout{5000};

    explicit AudioPlayerService(QObject *parent = nullptr);
    ~AudioPlayerService() override; // stops and removes the file before it returns

    // Stops whatever plays, then writes `mp3` to a fresh temporary file and
    // plays it. Returns at once.
    Q_INVOKABLE void loadAndPlay(const QByteArray &mp3);
    // Pauses or resumes; after the end it plays again from the start.
    // Nothing happens while nothing is loaded.
    Q_INVOKABLE void togglePlayPause();
    // Stops, forgets the player, resets the published state and removes the
    // temporary file.
    Q_INVOKABLE void stop();
    // formatTime() for the views.
    Q_INVOKABLE QString timeText(double seconds) const { return formatTime(seconds); }

    bool isPlaying() const { return m_isPlaying; }
    double progress() const { return m_progress; }
    void setProgress(double progress);
    double duration() const { return m_duration; }
    QString errorMessage() const { return m_errorMessage; }
    QMediaPlayer *player() const { return m_player; }
    // The file being played, empty when there is none.
    QString tempFilePath() const { return m_tempFile; }

    // Finishes once every file write and removal asked for so far is done.
    // Await it or poll isFinished(): waitForFinished() would run it at once,
    // ahead of its turn.
    QFuture<void> fileWorkDone();
    // Where the "[AudioPlayer] " lines go; standard output unless replaced.
    void setLogSink(LogSink sink) { m_logSink = std::move(sink); }

signals:
    void isPlayingChanged();
    void isLoadingChanged();
    void progressChanged();
    void durationChanged();
    void errorMessageChanged();
    void playerChanged();

private:
    // What the service waits to see after asking the player to play.
    enum class Watch { None, Start, Resume };

    void writeThenStart(const QString &path, QByteArray mp3, quint64 attempt);
    void startPlayer(const QString &path);
    void requestPlay(Watch watch);
    void onPositionChanged(qint64 position);
    void onMediaStatusChanged(QMediaPlayer::MediaStatus status);
    void onPlayerError(QMediaPlayer::Error error, const QString &description);
    void settleWatch(bool moving);
    void finish();
    void dropPlayer();
    void removeLater(const QString &path);
    void setPlaying(bool playing);
    void setDuration(double seconds);
    void setErrorMessage(const QString &message);
    void log(const QString &message) const;

    bool m_isPlaying = false;
    bool m_isLoading = false;
    double m_progress = 0;
    double m_duration = 0;
    QString m_errorMessage;

    QMediaPlayer *m_player = nullptr;
    QAudioOutput *m_output = nullptr;
    QTimer m_progressTimer;
    QTimer m_startDeadline;
    Watch m_watch = Watch::None;
    qint64 m_positionAtPlay = 0;
    bool m_moving = false;
    // Ends reported before the position moved, replayed (see onMediaStatusChanged).
    int m_falseEnds = 0;
    static constexpr int maxFalseEnds = 3;
    QString m_tempFile;
    // The file of the current attempt while it is still being written.
    QString m_writing;
    // Counts loadAndPlay and stop calls; a write that finds it changed was
    // overtaken and leaves the player alone.
    quint64 m_attempt = 0;
    LogSink m_logSink;
    SerialWorker m_fileWorker; // last: drains queued writes and removals first
};

} // namespace kalvo
