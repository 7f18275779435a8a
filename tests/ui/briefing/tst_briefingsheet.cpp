#include "../WindowHarness.h"

#include "OfflineSpeech.h"
#include "audio/AudioPlayerService.h"
#include "ui/briefing/LiveBriefingContent.h"
#include "ui/controls/Theme.h"

#include <QDir>
#include <QTemporaryDir>

using namespace kalvo;

namespace {

const QDateTime wednesday = test::utc(2025, 3, 5, 13, 7);

QString words(int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list << u"Wort%1"_s.arg(i);
    return list.join(u' ');
}

LiveBriefing briefing(const QString &id, std::optional<QByteArray> audio = {},
                      QStringList keyPoints = {u"Euro fest"_s, u"Dollar schwach"_s},
                      QStringList watchNext = {u"14:30 EUR — Lagarde"_s})
{
    LiveBriefing b;
    b.id = id;
    b.title = u"Briefing "_s + id;
    b.text = words(130);
    b.keyPoints = std::move(keyPoints);
    b.watchNext = std::move(watchNext);
    b.audioData = std::move(audio);
    return b;
}

} // namespace

class TestBriefingSheet : public QObject
{
    Q_OBJECT

    QTemporaryDir m_temp; // where the player's files go
    QByteArray m_speech;  // several seconds of the backend's offline voice

    static bool sheetOpen(const test::WindowHarness &h)
    {
        QObject *sheet = h.object(u"briefingSheet"_s);
        return sheet && sheet->property("opened").toBool();
    }
    static AudioPlayerService *player(const test::WindowHarness &h)
    {
        return qobject_cast<AudioPlayerService *>(h.object(u"briefingPlayer"_s));
    }
    QStringList briefingFiles() const
    {
        return QDir(m_temp.path()).entryList({u"kalvo_briefing_*.mp3"_s}, QDir::Files);
    }
    // Presses on the progress bar and drags to `dx` beyond its left (< 0) or right (> 0) end.
    static void drag(const test::WindowHarness &h, int dx)
    {
        QQuickItem *area = h.item(u"progressArea"_s);
        const QPoint start = h.centreOf(area);
        const QPoint end = dx < 0 ? area->mapToScene({0, area->height() / 2}).toPoint() + QPoint(dx, 0)
                                  : area->mapToScene({area->width(), area->height() / 2}).toPoint() + QPoint(dx, 0);
        QTest::mousePress(h.window, Qt::LeftButton, Qt::NoModifier, start);
        QTest::mouseMove(h.window, end);
        QTest::mouseRelease(h.window, Qt::LeftButton, Qt::NoModifier, end);
    }

private slots:
    void initTestCase()
    {
        qputenv("TMPDIR", m_temp.path().toUtf8());
        m_speech = backend::OfflineSpeech::synthesize(
                       u"Der Euro steigt gegen den Dollar. Die Märkte warten auf die Rede von Christine Lagarde "
                       u"und auf den Dienstleistungsindex aus den Vereinigten Staaten."_s)
                       .value_or(QByteArray());
        QVERIFY(!m_speech.isEmpty());
    }

    void sizeText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty") << QString() << u"~0 Wörter · ≈1 min"_s;
        QTest::newRow("119 words: still one minute") << words(119) << u"~119 Wörter · ≈1 min"_s;
        QTest::newRow("240 words") << words(240) << u"~240 Wörter · ≈2 min"_s;
        QTest::newRow("359 words: whole minutes only") << words(359) << u"~359 Wörter · ≈2 min"_s;
        // Only blanks part words; runs of them count once.
        QTest::newRow("blanks and line breaks") << u"  Euro   steigt\nweiter "_s << u"~2 Wörter · ≈1 min"_s;
    }
    void sizeText()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(LiveBriefingContent::sizeText(text), expected);
    }

    // A briefing without audio: text and sections, the note instead of the
    // controls; sections without entries are left out.
    void showsABriefingWithoutAudio_data()
    {
        QTest::addColumn<QStringList>("keyPoints");
        QTest::addColumn<QStringList>("watchNext");
        QTest::newRow("both sections") << QStringList{u"Euro fest"_s, u"Gold hoch"_s} << QStringList{u"NFP"_s};
        QTest::newRow("no key points") << QStringList{} << QStringList{u"NFP"_s};
        QTest::newRow("nothing to watch") << QStringList{u"Euro fest"_s} << QStringList{};
    }
    void showsABriefingWithoutAudio()
    {
        QFETCH(QStringList, keyPoints);
        QFETCH(QStringList, watchNext);
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        QVERIFY(!sheetOpen(h));
        h.state.publishLiveBriefing(briefing(u"a"_s, std::nullopt, keyPoints, watchNext));
        QTRY_VERIFY(sheetOpen(h));

        QCOMPARE(h.text(u"briefingTitle"_s), u"Briefing a"_s);
        QCOMPARE(h.text(u"briefingText"_s), words(130));
        QCOMPARE(h.text(u"briefingSize"_s), u"~130 Wörter · ≈1 min"_s);
        QVERIFY(h.shows(u"noAudio"_s) && !h.shows(u"playerControls"_s));
        QCOMPARE(h.text(u"noAudioText"_s), u"Audio nicht verfügbar — OpenAI TTS fehlgeschlagen"_s);
        QCOMPARE(h.shows(u"keyPoints"_s), !keyPoints.isEmpty());
        QCOMPARE(h.shows(u"watchNext"_s), !watchNext.isEmpty());
        QVERIFY(!player(h)->player());

        QVERIFY(h.click(h.item(u"briefingClose"_s)));
        QVERIFY(!h.state.hasLiveBriefing());
        QTRY_VERIFY(!sheetOpen(h));
        QVERIFY(!player(h));
    }

    // The sheet plays the briefing's audio at once; the bar seeks within
    // its ends; a new briefing replaces the sound; closing ends it.
    void playsSeeksAndStops()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.publishLiveBriefing(briefing(u"first"_s, m_speech));
        QTRY_VERIFY(sheetOpen(h));
        QVERIFY(h.shows(u"playerControls"_s) && !h.shows(u"noAudio"_s));
        AudioPlayerService *first = player(h);
        QTRY_VERIFY_WITH_TIMEOUT(first->isPlaying(), 10000);
        QCOMPARE(briefingFiles().size(), 1);
        QCOMPARE(h.item(u"playPauseIcon"_s)->property("name").toString(), u"pause"_s);
        QCOMPARE(h.text(u"playerDuration"_s), formatTime(first->duration()));
        QVERIFY(h.text(u"playerDuration"_s) != u"0:00"_s);

        QVERIFY(h.click(h.item(u"playPauseButton"_s)));
        QVERIFY(!first->isPlaying());
        QCOMPARE(h.item(u"playPauseIcon"_s)->property("name").toString(), u"play"_s);

        // Pointer left of the track: the start; right of it: the end.
        QMediaPlayer *platform = first->player();
        drag(h, -40);
        QCOMPARE(first->progress(), 0.0);
        QTRY_COMPARE(platform->position(), 0);
        drag(h, 40);
        QCOMPARE(first->progress(), 1.0);
        QTRY_VERIFY(qAbs(platform->position() - platform->duration()) < 100);
        QCOMPARE(h.text(u"playerPosition"_s), h.text(u"playerDuration"_s));

        // A new briefing while the sheet is open: a fresh view whose player starts from 0.
        const QPointer<AudioPlayerService> old = first;
        QVERIFY(h.click(h.item(u"playPauseButton"_s)));
        h.state.publishLiveBriefing(briefing(u"second"_s, m_speech));
        QCOMPARE(h.text(u"briefingTitle"_s), u"Briefing second"_s);
        AudioPlayerService *second = player(h);
        QVERIFY(second && second != old);
        QTRY_VERIFY(!old);
        QTRY_VERIFY_WITH_TIMEOUT(second->isPlaying(), 10000);
        QVERIFY(second->progress() < 0.5);
        QTRY_COMPARE(briefingFiles().size(), 1);

        // Escape closes it like the button: no briefing, no player, no file.
        QTest::keyClick(h.window, Qt::Key_Escape);
        QVERIFY(!h.state.hasLiveBriefing());
        QTRY_VERIFY(!sheetOpen(h));
        QTRY_VERIFY(!player(h));
        QTRY_COMPARE(briefingFiles(), QStringList());
    }

    // Audio that came back empty: the controls stay with the player's
    // message under them, and the bar has nothing to seek.
    void emptyAudioShowsThePlayersMessage()
    {
        test::WindowHarness h(wednesday);
        QVERIFY(h.load());
        h.state.publishLiveBriefing(briefing(u"silent"_s, QByteArray()));
        QTRY_VERIFY(sheetOpen(h));
        QVERIFY(h.shows(u"playerControls"_s) && !h.shows(u"noAudio"_s));
        QVERIFY(h.shows(u"playerError"_s));
        QCOMPARE(h.text(u"playerError"_s), u"Keine Audio-Daten empfangen (TTS fehlgeschlagen)"_s);
        QCOMPARE(h.color(u"playerError"_s), Theme::red());
        drag(h, 40);
        QCOMPARE(player(h)->progress(), 0.0);
        QCOMPARE(h.text(u"playerPosition"_s), u"0:00"_s);
    }
};

QTEST_MAIN(TestBriefingSheet)
#include "tst_briefingsheet.moc"
