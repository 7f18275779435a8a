#include "ui/SvgIcon.h"
#include "ui/Theme.h"

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
        QTest::newRow("hash and six digits") << u"#0c1018"_s << QColor(0x0c, 0x10, 0x18);
        QTest::newRow("no hash, upper case") << u"FBBF24"_s << QColor(0xfb, 0xbf, 0x24);
        QTest::newRow("blanks and punctuation at both ends") << u"  #4ade80; "_s << QColor(0x4a, 0xde, 0x80);
        QTest::newRow("short text is a small number") << u"#fff"_s << QColor(0x00, 0x0f, 0xff);
        QTest::newRow("only the low 24 bits count") << u"#12345678"_s << QColor(0x34, 0x56, 0x78);
        QTest::newRow("scan stops at a non-digit") << u"#0c10zz"_s << QColor(0x00, 0x0c, 0x10);
        QTest::newRow("not hexadecimal") << u"#zzzzzz"_s << QColor(0, 0, 0);
        QTest::newRow("nothing but punctuation") << u"#!"_s << QColor(0, 0, 0);
    }
    void colorFromHex()
    {
        QFETCH(QString, text);
        QFETCH(QColor, expected);
        const QColor color = kalvo::colorFromHex(text);
        QCOMPARE(color, expected);
        QCOMPARE(color.alphaF(), 1.0f);
        // The views convert with the same rule.
        Theme theme;
        QColor viaViews;
        QVERIFY(QMetaObject::invokeMethod(&theme, "colorFromHex", Q_RETURN_ARG(QColor, viaViews), Q_ARG(QString, text)));
        QCOMPARE(viaViews, expected);
    }

    void scoreColor_data()
    {
        QTest::addColumn<double>("score");
        QTest::addColumn<QColor>("expected");
        QTest::newRow("9.0") << 9.0 << Theme::red();
        QTest::newRow("8.99") << 8.99 << Theme::orange();
        QTest::newRow("8.0") << 8.0 << Theme::orange();
        QTest::newRow("7.99") << 7.99 << Theme::yellow();
        QTest::newRow("7.0") << 7.0 << Theme::yellow();
        QTest::newRow("6.99") << 6.99 << Theme::blue();
        QTest::newRow("5.0") << 5.0 << Theme::blue();
        QTest::newRow("4.9") << 4.9 << Theme::textSecondary();
    }
    void scoreColor()
    {
        QFETCH(double, score);
        QTEST(Theme::scoreColor(score), "expected");
    }

    void monoCaptionFollowsTheFamily()
    {
        Theme theme;
        QVERIFY(!theme.monoFamily().isEmpty()); // the platform's fixed font until the window says otherwise
        theme.setMonoFamily(u"DejaVu Sans Mono"_s);
        QCOMPARE(theme.monoCaption().family(), u"DejaVu Sans Mono"_s);
        QCOMPARE(theme.monoCaption().pixelSize(), 10);
        theme.setMonoFamily(QString());
        QCOMPARE(theme.monoFamily(), u"DejaVu Sans Mono"_s); // an empty family changes nothing
    }

    void iconsAreTintedToTheAskedColour_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"audio-waveform", "bar-chart", "settings", "search", "clear", "close", "news"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void iconsAreTintedToTheAskedColour()
    {
        QFETCH(QString, name);
        const QColor tint = Theme::orange();
        const QByteArray svg = SvgIcon::tintedSvg(name, tint);
        QVERIFY(!svg.isEmpty());
        QVERIFY(!svg.contains("currentColor"));

        QSvgRenderer renderer(svg);
        QVERIFY(renderer.isValid());
        QImage image(44, 44, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        renderer.render(&painter);
        painter.end();
        int inked = 0;
        int inTint = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                inked += pixel.alpha() == 255;
                inTint += pixel.alpha() == 255 && pixel.rgb() == tint.rgb();
            }
        }
        QVERIFY(inked > 20);
        QCOMPARE(inTint, inked); // every solid pixel in the tint, none in the theme's own colours
    }

    void unknownIconDrawsNothing() { QVERIFY(SvgIcon::tintedSvg(u"no-such-icon"_s, Qt::red).isEmpty()); }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"
