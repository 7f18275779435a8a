#include "AudioPlayerService.h"

#include <QAudioOutput>
#include <QCoroFuture>
#include <QCoroTask>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLocale>
#include <QAudioDevice>
#include <QMediaDevices>
#include <QPointer>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace kalvo {

QString formatTime(double seconds)
{
    // 2^63: the first value a signed 64-bit count of seconds cannot hold.
    constexpr double limit = 9223372036854775808.0;
    if (!std::isfinite(seconds) || seconds >= limit || seconds < -limit)
        return u"0:00"_s;
    const qint64 whole = std::max<qint64>(qint64(seconds), 0);
    return u"%1:%2"_s.arg(whole / 60).arg(whole % 60, 2, 10, QLatin1Char('0'));
}

namespace {

// The shortest text that reads back as the same number, always with a
// decimal part: 3.056 -> "3.056", 60 -> "60.0".
QString decimalText(double value)
{
    QString text = QString::number(value, 'g', QLocale::FloatingPointShortest);
    if (std::isfinite(value) && !text.contains(u'.') && !text.contains(u'e'))
        text += u".0"_s;
    return text;
}

// Empty on success, else why the file could not be written.
QString writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    if (file.write(bytes) != bytes.size())
        return file.errorString();
    if (!file.flush())
        return file.errorString();
    return {};
}

// Runs `then` with the outcome of `write` on the GUI thread, unless the
// service is gone by then.
QCoro::Task<> whenWritten(QPointer<AudioPlayerService> service, QFuture<QString> write,
                          std::function<void(const QString &failure)> then)
{
    const QString failure = co_await write;
    if (service)
        then(failure);
}

// Whether Qt's media backend plays without any audio device. GStreamer, the
// default on Linux, falls back to a silent sink that keeps time; Qt 6.4's
// FFmpeg backend crashes writing to the device it failed to open, and the
// other platforms' backends are not known to cope.
bool playsWithoutAudioDevice()
{
    const QString backend = qEnvironmentVariable("QT_MEDIA_BACKEND");
#ifdef Q_OS_LINUX
    return backend.isEmpty() || backend == u"gstreamer"_s;
#else
    return backend == u"gstreamer"_s;
#endif
}

} // namespace

AudioPlayerService::AudioPlayerService(QObject *parent) : QObject(parent)
{
    m_progressTimer.setInterval(progressInterval);
    connect(&m_progressTimer, &QTimer::timeout, this, [this] {
        if (!m_player || m_player->duration() <= 0)
            return;
        setProgress(std::min(double(m_player->position()) / double(m_player->duration()), 1.0));
    });
    m_startDeadline.setSingleShot(true);
    m_startDeadline.setInterval(startTimeout);
    connect(&m_startDeadline, &QTimer::timeout, this, [this] { settleWatch(m_moving); });
}

AudioPlayerService::~AudioPlayerService()
{
    stop();
    // m_fileWorker goes first and waits for the removal stop() queued.
}

void AudioPlayerService::loadAndPlay(const QByteArray &mp3)
{
    stop();
    setErrorMessage({});
    if (mp3.isEmpty()) {
        setErrorMessage(u"Keine Audio-Daten empfangen (TTS fehlgeschlagen)"_s);
        log(u"loadAndPlay: data ist leer"_s);
        return;
    }
    const QString path = QDir(QDir::tempPath())
                             .filePath(u"kalvo_briefing_%1.mp3"_s.arg(QDateTime::currentSecsSinceEpoch()));
    m_writing = path;
    writeThenStart(path, mp3, m_attempt);
}

void AudioPlayerService::writeThenStart(const QString &path, QByteArray mp3, quint64 attempt)
{
    const qsizetype size = mp3.size();
    QFuture<QString> write = m_fileWorker.run([path, bytes = std::move(mp3)] { return writeFile(path, bytes); });
    whenWritten(this, std::move(write), [this, path, size, attempt](const QString &failure) {
        // A later loadAndPlay or stop took over; stop() has queued the removal.
        if (attempt != m_attempt)
            return;
        m_writing.clear();
        if (!failure.isEmpty()) {
            log(u"Fehler: "_s + failure);
            return;
        }
        m_tempFile = path;
        log(u"Temp-Datei: %1 (%2 Bytes)"_s.arg(path).arg(size));
        startPlayer(path);
    });
}

void AudioPlayerService::startPlayer(const QString &path)
{
    if (QMediaDevices::audioOutputs().isEmpty() && !playsWithoutAudioDevice()) {
        log(u"Wiedergabe gestartet=false, Dauer=%1s"_s.arg(decimalText(0)));
        setErrorMessage(u"Wiedergabe konnte nicht gestartet werden"_s);
        return;
    }
    m_player = new QMediaPlayer(this);
    m_output = new QAudioOutput(this);
    m_player->setAudioOutput(m_output);
    connect(m_player, &QMediaPlayer::positionChanged, this, &AudioPlayerService::onPositionChanged);
    connect(m_player, &QMediaPlayer::durationChanged, this, [this](qint64 ms) {
        setDuration(double(ms) / 1000.0);
        if (m_watch == Watch::Start && m_moving)
            settleWatch(true);
    });
    connect(m_player, &QMediaPlayer::mediaStatusChanged, this, &AudioPlayerService::onMediaStatusChanged);
    connect(m_player, &QMediaPlayer::errorOccurred, this, &AudioPlayerService::onPlayerError);
    m_player->setSource(QUrl::fromLocalFile(path));
    emit playerChanged();
    requestPlay(Watch::Start);
}

void AudioPlayerService::requestPlay(Watch watch)
{
    m_watch = watch;
    m_moving = false;
    m_falseEnds = 0;
    m_positionAtPlay = m_player->position();
    m_startDeadline.start();
    m_player->play();
}

void AudioPlayerService::onPositionChanged(qint64 position)
{
    if (m_watch == Watch::None || m_player->playbackState() != QMediaPlayer::PlayingState || position <= 0
        || position == m_positionAtPlay)
        return;
    m_moving = true;
    // The first start also waits for the length, which the log line reports.
    if (m_watch == Watch::Resume || m_player->duration() > 0)
        settleWatch(true);
}

void AudioPlayerService::onMediaStatusChanged(QMediaPlayer::MediaStatus status)
{
    if (status != QMediaPlayer::EndOfMedia)
        return;
    // Qt 6.4's GStreamer player now and then reports the end of a stream it
    // has just begun, before a single position report (about one start in
    // ten, more once a few players have come and gone). Playing again gets
    // it going; a sound that really is that short ends after the retries.
    if (m_watch != Watch::None && !m_moving && m_falseEnds < maxFalseEnds) {
        ++m_falseEnds;
        m_player->play();
        return;
    }
    finish();
}

void AudioPlayerService::onPlayerError(QMediaPlayer::Error error, const QString &description)
{
    log(u"Fehler: "_s + (description.isEmpty() ? u"Medienfehler %1"_s.arg(int(error)) : description));
    // Not an MP3 the platform can read: no player, no message. (A file it
    // could read but not play is a failed start, below.)
    const QMediaPlayer::MediaStatus status = m_player->mediaStatus();
    const bool unread = status == QMediaPlayer::InvalidMedia || status == QMediaPlayer::LoadingMedia
                        || status == QMediaPlayer::NoMedia;
    if (m_watch == Watch::Start && !m_moving && (unread || error == QMediaPlayer::FormatError)) {
        m_startDeadline.stop();
        m_watch = Watch::None;
        dropPlayer();
        setPlaying(false);
        setDuration(0);
        return;
    }
    if (m_watch != Watch::None) {
        settleWatch(false);
        return;
    }
    setPlaying(false);
    m_progressTimer.stop();
}

void AudioPlayerService::settleWatch(bool moving)
{
    const Watch watch = m_watch;
    if (watch == Watch::None)
        return;
    m_watch = Watch::None;
    m_startDeadline.stop();
    if (watch == Watch::Start) {
        setDuration(double(m_player->duration()) / 1000.0);
        setPlaying(moving);
        log(u"Wiedergabe gestartet=%1, Dauer=%2s"_s.arg(moving ? u"true"_s : u"false"_s, decimalText(m_duration)));
    }
    if (moving) {
        if (watch == Watch::Start)
            m_progressTimer.start();
        return;
    }
    // Nothing moved: say so rather than show a bar that never fills.
    m_player->pause();
    setPlaying(false);
    m_progressTimer.stop();
    setErrorMessage(u"Wiedergabe konnte nicht gestartet werden"_s);
}

void AudioPlayerService::finish()
{
    // A sound shorter than one position report still started.
    if (m_watch == Watch::Start)
        settleWatch(true);
    m_watch = Watch::None;
    m_startDeadline.stop();
    setPlaying(false);
    setProgress(1.0);
    m_progressTimer.stop();
}

void AudioPlayerService::togglePlayPause()
{
    if (!m_player)
        return;
    if (m_player->playbackState() == QMediaPlayer::PlayingState) {
        // Paused before the first report: it did start.
        if (m_watch == Watch::Start)
            settleWatch(true);
        m_watch = Watch::None;
        m_startDeadline.stop();
        m_player->pause();
        setPlaying(false);
        m_progressTimer.stop();
        return;
    }
    requestPlay(Watch::Resume);
    setPlaying(true);
    m_progressTimer.start();
}

void AudioPlayerService::stop()
{
    ++m_attempt;
    m_watch = Watch::None;
    m_startDeadline.stop();
    dropPlayer();
    setPlaying(false);
    setProgress(0);
    setDuration(0);
    m_progressTimer.stop();
    if (!m_tempFile.isEmpty()) {
        removeLater(m_tempFile);
        m_tempFile.clear();
    }
    // Still being written: removed right after the write, on the same worker.
    if (!m_writing.isEmpty()) {
        removeLater(m_writing);
        m_writing.clear();
    }
}

void AudioPlayerService::dropPlayer()
{
    if (!m_player)
        return;
    // It may be the sender of the signal being handled: no more calls to
    // us, and deleted once control is back in the event loop (or with us).
    m_player->disconnect(this);
    m_player->stop();
    m_player->deleteLater();
    m_output->deleteLater();
    m_player = nullptr;
    m_output = nullptr;
    emit playerChanged();
}

void AudioPlayerService::removeLater(const QString &path)
{
    // A file that is already gone or cannot be removed is no concern here.
    m_fileWorker.run([path] { QFile::remove(path); });
}

QFuture<void> AudioPlayerService::fileWorkDone()
{
    return m_fileWorker.run([] {});
}

void AudioPlayerService::setProgress(double progress)
{
    if (progress == m_progress)
        return;
    m_progress = progress;
    emit progressChanged();
}

void AudioPlayerService::setPlaying(bool playing)
{
    if (playing == m_isPlaying)
        return;
    m_isPlaying = playing;
    emit isPlayingChanged();
}

void AudioPlayerService::setDuration(double seconds)
{
    if (seconds == m_duration)
        return;
    m_duration = seconds;
    emit durationChanged();
}

void AudioPlayerService::setErrorMessage(const QString &message)
{
    if (message == m_errorMessage)
        return;
    m_errorMessage = message;
    emit errorMessageChanged();
}

void AudioPlayerService::log(const QString &message) const
{
    const QString line = u"[AudioPlayer] "_s + message;
    if (m_logSink) {
        m_logSink(line);
        return;
    }
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace kalvo
