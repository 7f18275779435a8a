#include "BackendClient.h"

#include "BackendServer.h"
#include "BriefingWriter.h"

#include <QTest>

using namespace kalvo::backend;

namespace {

const QString token = u"speech-2b7e4f90aa"_s;

const QString briefingText =
    u"Hier ist dein Marktbericht zur aktuellen Lage. Aktuell läuft die Phase EU SESSION: Frankfurt und London "
    u"aktiv. Im Mittelpunkt steht die Meldung, dass die amerikanische Notenbank die Zinsen überraschend um einen "
    u"halben Prozentpunkt gesenkt hat. Außerdem meldet FXStreet, dass die Europäische Zentralbank weitere "
    u"Zinserhöhungen signalisiert. Unterm Strich wirkt der Euro gestützt, der US-Dollar dagegen eher belastet. Im "
    u"Kalender stehen als Nächstes die amerikanischen Arbeitsmarktdaten um halb drei an. Die Liquidität verteilt "
    u"sich derzeit auf die großen Währungspaare. Achte besonders auf Reaktionen an wichtigen Unterstützungen und "
    u"Widerständen. Kurzfristige Übertreibungen werden in solchen Phasen oft schnell korrigiert. Positionsgrößen "
    u"sollten zur aktuellen Schwankungsbreite passen. Handle mit klarem Risikomanagement und achte auf die Reaktion "
    u"der Kurse rund um diese Termine."_s;

struct Mp3Stream
{
    bool valid = false;
    QString problem;
    int frames = 0;
    int sampleRate = 0;
    bool mono = true;
    double seconds = 0;
};

// Walks the stream frame by frame, as a decoder does: every frame header
// must carry the sync word and describe a Layer III frame whose length leads
// exactly to the next header or to the end.
Mp3Stream readMp3(const QByteArray &bytes)
{
    static const int mpeg1Rates[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, -1};
    static const int mpeg2Rates[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160, -1};
    static const int sampleRates[3][3] = {{44100, 48000, 32000}, {22050, 24000, 16000}, {11025, 12000, 8000}};

    Mp3Stream stream;
    qsizetype at = 0;
    if (bytes.startsWith("ID3") && bytes.size() > 10) {
        const auto size = [&](int i) { return qsizetype(static_cast<unsigned char>(bytes[i]) & 0x7F); };
        at = 10 + (size(6) << 21 | size(7) << 14 | size(8) << 7 | size(9));
    }
    qint64 samples = 0;
    while (at < bytes.size()) {
        if (bytes.size() - at < 4) {
            stream.problem = u"truncated header at %1"_s.arg(at);
            return stream;
        }
        const auto byte = [&](int i) { return static_cast<unsigned char>(bytes[at + i]); };
        if (byte(0) != 0xFF || (byte(1) & 0xE0) != 0xE0) {
            stream.problem = u"no frame sync at %1"_s.arg(at);
            return stream;
        }
        const int version = (byte(1) >> 3) & 3; // 3: MPEG-1, 2: MPEG-2, 0: MPEG-2.5
        const int layer = (byte(1) >> 1) & 3;   // 1: Layer III
        const int bitrateIndex = byte(2) >> 4;
        const int rateIndex = (byte(2) >> 2) & 3;
        if (version == 1 || layer != 1 || bitrateIndex == 0 || bitrateIndex == 15 || rateIndex == 3) {
            stream.problem = u"bad frame header at %1"_s.arg(at);
            return stream;
        }
        const bool mpeg1 = version == 3;
        const int kbps = mpeg1 ? mpeg1Rates[bitrateIndex] : mpeg2Rates[bitrateIndex];
        const int rate = sampleRates[mpeg1 ? 0 : version == 2 ? 1 : 2][rateIndex];
        const int padding = (byte(2) >> 1) & 1;
        if (stream.sampleRate != 0 && stream.sampleRate != rate) {
            stream.problem = u"sample rate changes at %1"_s.arg(at);
            return stream;
        }
        stream.sampleRate = rate;
        stream.mono = stream.mono && (byte(3) >> 6) == 3;
        at += (mpeg1 ? 144 : 72) * kbps * 1000 / rate + padding;
        samples += mpeg1 ? 1152 : 576;
        ++stream.frames;
    }
    if (at != bytes.size()) {
        stream.problem = u"last frame runs past the end"_s;
        return stream;
    }
    stream.valid = stream.frames > 0;
    stream.seconds = stream.sampleRate ? double(samples) / stream.sampleRate : 0;
    return stream;
}

} // namespace

class TestOfflineSpeech : public QObject
{
    Q_OBJECT

private slots:
    void speaksMp3OfPlausibleLength_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("one word") << u"Hallo."_s;
        QTest::newRow("one sentence") << u"Der Euro steigt nach den Aussagen der Europäischen Zentralbank deutlich an."_s;
        QTest::newRow("briefing of about 120 words") << briefingText;
        QTest::newRow("numbers, symbols and quotes") << u"EUR/USD bei 1,0855 (+0,23 %) — „Fed“ & <BoJ>."_s;
    }

    void speaksMp3OfPlausibleLength()
    {
        QFETCH(QString, text);
        BackendOptions options;
        options.tokens = {token};
        options.log = [](const QString &) {};
        BackendServer server(options);
        QVERIFY(server.listen() != 0);
        QNetworkAccessManager network;
        const test::HttpResult result = test::post(network, QUrl(server.functionsUrl().toString() + u"/aiTTS"_s),
                                                   test::speechCall(token, text));
        QCOMPARE(result.status, 200);
        QCOMPARE(result.json().value("ok"_L1), QJsonValue(true));

        const auto decoded = QByteArray::fromBase64Encoding(result.json().value("audioBase64"_L1).toString().toLatin1(),
                                                            QByteArray::AbortOnBase64DecodingErrors);
        QVERIFY(decoded);
        const Mp3Stream mp3 = readMp3(*decoded);
        QVERIFY2(mp3.valid, qPrintable(mp3.problem));
        QVERIFY(mp3.mono);

        // Speech runs at 90 to 260 words a minute, plus a pause at the end.
        const int words = wordCount(text);
        const double shortest = words * 60.0 / 260;
        const double longest = words * 60.0 / 90 + 1.5;
        QVERIFY2(mp3.seconds >= shortest && mp3.seconds <= longest,
                 qPrintable(u"%1 s for %2 words"_s.arg(mp3.seconds).arg(words)));
    }
};

QTEST_GUILESS_MAIN(TestOfflineSpeech)
#include "tst_offlinespeech.moc"
