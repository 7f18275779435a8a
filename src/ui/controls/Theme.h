#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// "#0c1018" -> opaque sRGB colour. Characters that are neither letters nor
// digits are stripped from both ends; what is left is read as a hexadecimal
// number whose low 24 bits are red, green and blue. Text that does not scan
// gives black.
QColor colorFromHex(QStringView text);

// The one palette and font of every view. Colours are made once, on first
// use, and are the same for the whole process; the monospaced family can be
// set once by the window (the platform's fixed font by default).
class Theme : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QColor background READ background CONSTANT)
    Q_PROPERTY(QColor panelBackground READ panelBackground CONSTANT)
    Q_PROPERTY(QColor headerBackground READ headerBackground CONSTANT)
    Q_PROPERTY(QColor cardBackground READ cardBackground CONSTANT)
    Q_PROPERTY(QColor selectionBackground READ selectionBackground CONSTANT)
    Q_PROPERTY(QColor border READ border CONSTANT)
    Q_PROPERTY(QColor borderSubtle READ borderSubtle CONSTANT)
    Q_PROPERTY(QColor borderStrong READ borderStrong CONSTANT)
    Q_PROPERTY(QColor textPrimary READ textPrimary CONSTANT)
    Q_PROPERTY(QColor textSecondary READ textSecondary CONSTANT)
    Q_PROPERTY(QColor textMuted READ textMuted CONSTANT)
    Q_PROPERTY(QColor white READ white CONSTANT)
    Q_PROPERTY(QColor green READ green CONSTANT)
    Q_PROPERTY(QColor red READ red CONSTANT)
    Q_PROPERTY(QColor yellow READ yellow CONSTANT)
    Q_PROPERTY(QColor orange READ orange CONSTANT)
    Q_PROPERTY(QColor blue READ blue CONSTANT)
    Q_PROPERTY(QColor cyan READ cyan CONSTANT)
    Q_PROPERTY(QColor purple READ purple CONSTANT)
    Q_PROPERTY(QString monoFamily READ monoFamily WRITE setMonoFamily NOTIFY fontChanged)
    Q_PROPERTY(QFont monoCaption READ monoCaption NOTIFY fontChanged)
    // For glyphs that read as pictures ("⚡", "📅", flags): a colour emoji
    // face when the system has one. The monospaced face would draw some of
    // them as plain outlines.
    Q_PROPERTY(QString emojiFamily READ emojiFamily CONSTANT)

public:
    explicit Theme(QObject *parent = nullptr);

    static QColor background();
    static QColor panelBackground();
    static QColor headerBackground();
    static QColor cardBackground();
    static QColor selectionBackground();
    static QColor border();
    static QColor borderSubtle();
    static QColor borderStrong();
    static QColor textPrimary();
    static QColor textSecondary();
    static QColor textMuted();
    static QColor white();
    static QColor green();
    static QColor red();
    static QColor yellow();
    static QColor orange();
    static QColor blue();
    static QColor cyan();
    static QColor purple();

    // The colour of a relevance score 0-10, tested from the top threshold down.
    Q_INVOKABLE static QColor scoreColor(double score);
    Q_INVOKABLE static QColor colorFromHex(const QString &text) { return kalvo::colorFromHex(text); }
    // `color` at `opacity`, for the tinted badge backgrounds.
    Q_INVOKABLE static QColor withOpacity(const QColor &color, double opacity);

    // The caption size of the interface, in pixels.
    static constexpr int captionSize = 10;

    QString monoFamily() const { return m_monoFamily; }
    void setMonoFamily(const QString &family);
    QFont monoCaption() const;
    static QString emojiFamily();

signals:
    void fontChanged();

private:
    QString m_monoFamily;
};

} // namespace kalvo
