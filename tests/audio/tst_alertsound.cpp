#include "audio/AlertSound.h"

#include <QCryptographicHash>
#include <QFile>
#include <QSet>
#include <QTest>

using namespace kalvo;
using namespace Qt::StringLiterals;

class TestAlertSound : public QObject
{
    Q_OBJECT

private slots:
    // Every name the settings offer is a short, playable WAV of its own.
    void everyNameHasItsOwnShortSound()
    {
        QCOMPARE(alertSoundNames().size(), 12);
        QSet<QByteArray> digests;
        for (const QString &name : alertSoundNames()) {
            QFile file(u":/sounds/"_s + name + u".wav"_s);
            QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(name));
            const QByteArray wav = file.readAll();
            QVERIFY(wav.startsWith("RIFF") && wav.mid(8, 8) == "WAVEfmt ");
            const double seconds = double(wav.size() - 44) / (44100 * 2);
            QVERIFY2(seconds > 0.05 && seconds < 1.5, qPrintable(name));
            digests.insert(QCryptographicHash::hash(wav, QCryptographicHash::Md5));
        }
        QCOMPARE(digests.size(), 12);
    }
};

QTEST_MAIN(TestAlertSound)
#include "tst_alertsound.moc"
