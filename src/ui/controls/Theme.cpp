#include "Theme.h"

#include <QFontDatabase>

#include <limits>

using namespace Qt::StringLiterals;

namespace kalvo {

QColor colorFromHex(QStringView text)
{
    const auto isAlphanumeric = [](QChar c) { return c.isLetterOrNumber(); };
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && !isAlphanumeric(text[first]))
        ++first;
    while (last > first && !isAlphanumeric(text[last - 1]))
        --last;
    QStringView digits = text.sliced(first, last - first);
    if (digits.size() > 2 && digits[0] == u'0' && (digits[1] == u'x' || digits[1] == u'X'))
        digits = digits.sliced(2);

    // Like a scanner: the longest run of hex digits at the start counts, and
    // what follows it is ignored; a value too large saturates.
    quint64 value = 0;
    for (const QChar c : digits) {
        const int digit = c.isDigit() ? c.digitValue()
                          : (c.toLower() >= u'a' && c.toLower() <= u'f') ? c.toLower().unicode() - u'a' + 10
                                                                        : -1;
        if (digit < 0 || c.unicode() > 0x7f)
            break;
        if (value > (std::numeric_limits<quint64>::max() >> 4)) {
            value = std::numeric_limits<quint64>::max();
            break;
        }
        value = value << 4 | quint64(digit);
    }
    return QColor::fromRgb(int((value >> 16) & 0xff), int((value >> 8) & 0xff), int(value & 0xff));
}

// Each colour is built on first use and kept for the life of the process.
#define KALVO_THEME_COLOR(name, hex)                                                                                   \
    QColor Theme::name()                                                                                               \
    {                                                                                                                  \
        static const QColor color = kalvo::colorFromHex(u"" hex);                                                           \
        return color;                                                                                                  \
    }

KALVO_THEME_COLOR(background, "#0c1018")
KALVO_THEME_COLOR(panelBackground, "#111825")
KALVO_THEME_COLOR(headerBackground, "#0e1520")
KALVO_THEME_COLOR(cardBackground, "#131c2a")
KALVO_THEME_COLOR(selectionBackground, "#1a3560")
KALVO_THEME_COLOR(border, "#2a3f58")
KALVO_THEME_COLOR(borderSubtle, "#1e2f42")
KALVO_THEME_COLOR(borderStrong, "#3a5578")
KALVO_THEME_COLOR(textPrimary, "#f0f6ff")
KALVO_THEME_COLOR(textSecondary, "#8ab0d0")
KALVO_THEME_COLOR(textMuted, "#506880")
KALVO_THEME_COLOR(white, "#ffffff")
KALVO_THEME_COLOR(green, "#4ade80")
KALVO_THEME_COLOR(red, "#f87171")
KALVO_THEME_COLOR(yellow, "#fbbf24")
KALVO_THEME_COLOR(orange, "#fb923c")
KALVO_THEME_COLOR(blue, "#60a5fa")
KALVO_THEME_COLOR(cyan, "#67e8f9")
KALVO_THEME_COLOR(purple, "#c084fc")

#undef KALVO_THEME_COLOR

Theme::Theme(QObject *parent)
    : QObject(parent), m_monoFamily(QFontDatabase::systemFont(QFontDatabase::FixedFont).family())
{
}

QString Theme::emojiFamily()
{
    static const QString family = [] {
        const QString colourEmoji = u"Noto Color Emoji"_s;
        return QFontDatabase::hasFamily(colourEmoji) ? colourEmoji
                                                     : QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
    }();
    return family;
}

QColor Theme::scoreColor(double score)
{
    if (score >= 9)
        return red();
    if (score >= 8)
        return orange();
    if (score >= 7)
        return yellow();
    if (score >= 5)
        return blue();
    return textSecondary();
}

QColor Theme::withOpacity(const QColor &color, double opacity)
{
    QColor result = color;
    result.setAlphaF(float(opacity));
    return result;
}

void Theme::setMonoFamily(const QString &family)
{
    if (family.isEmpty() || family == m_monoFamily)
        return;
    m_monoFamily = family;
    emit fontChanged();
}

QFont Theme::monoCaption() const
{
    QFont font(m_monoFamily);
    font.setStyleHint(QFont::Monospace);
    font.setPixelSize(captionSize);
    return font;
}

} // namespace kalvo
