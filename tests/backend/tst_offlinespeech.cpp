#include "BackendClient.h"
#include "Mp3Frames.h"

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
        const test::Mp3Stream mp3 = test::readMp3(*decoded);
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
