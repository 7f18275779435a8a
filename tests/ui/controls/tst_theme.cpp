#include "ui/controls/SvgIcon.h"
#include "ui/controls/Theme.h"

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <QTest>

using namespace kalvo;
using namespace Qt::StringLiterals;

class TestTheme : public QObject
{
    Q_OBJECT

private slots:
    void colorFromHex_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QColor>("expected");
        QTest::newRow("no hash, upper case") << u"FBBF24"_s << QColor(0xfb, 0xbf, 0x24);
        QTest::newRow("blanks and punctuation at both ends") << u"  #4ade80; "_s << QColor(0x4a, 0xde, 0x80);
        QTest::newRow("only the low 24 bits count") << u"#12345678"_s << QColor(0x34, 0x56, 0x78);
        QTest::newRow("scan stops at a non-digit") << u"#0c10zz"_s << QColor(0x00, 0x0c, 0x10);
        QTest::newRow("not hexadecimal") << u"#zzzzzz"_s << QColor(0, 0, 0);
    }
    void colorFromHex()
    {
        QFETCH(QString, text);
        QFETCH(QColor, expected);
        QCOMPARE(kalvo::colorFromHex(text), expected);
        // The views convert with the same rule.
        Theme theme;
        QColor viaViews;
        QVERIFY(QMetaObject::invokeMethod(&theme, "colorFromHex", Q_RETURN_ARG(QColor, viaViews), Q_ARG(QString, text)));
        QCOMPARE(viaViews, expected);
    }

    // Each threshold and the value just below it.
    void scoreColor()
    {
        const QList<std::tuple<double, double, QColor, QColor>> edges{{9.0, 8.99, Theme::red(), Theme::orange()},
                                                                      {8.0, 7.99, Theme::orange(), Theme::yellow()},
                                                                      {7.0, 6.99, Theme::yellow(), Theme::blue()},
                                                                      {5.0, 4.99, Theme::blue(), Theme::textSecondary()}};
        for (const auto &[at, below, atColor, belowColor] : edges) {
            QCOMPARE(Theme::scoreColor(at), atColor);
            QCOMPARE(Theme::scoreColor(below), belowColor);
        }
    }

    void iconsAreTintedToTheAskedColour()
    {
        const QColor tint = Theme::orange();
        for (const char *name : {"audio-waveform", "bar-chart", "settings", "close", "news"}) {
            const QByteArray svg = SvgIcon::tintedSvg(QString::fromLatin1(name), tint);
            QVERIFY2(!svg.contains("currentColor"), name);
            QSvgRenderer renderer(svg);
            QVERIFY2(renderer.isValid(), name);
            QImage image(44, 44, QImage::Format_ARGB32);
            image.fill(Qt::transparent);
            { QPainter painter(&image); renderer.render(&painter); }
            int inked = 0, inTint = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    const QColor pixel = image.pixelColor(x, y);
                    inked += pixel.alpha() == 255;
                    inTint += pixel.alpha() == 255 && pixel.rgb() == tint.rgb();
                }
            }
            QVERIFY2(inked > 20, name);
            QCOMPARE(inTint, inked); // every solid pixel in the tint, none in the theme's own colours
        }
        QVERIFY(SvgIcon::tintedSvg(u"no-such-icon"_s, Qt::red).isEmpty());
    }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
