#include "SvgIcon.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

// Icons are drawn on a 22-unit grid with a 3-unit margin; this makes the
// visible glyph about as tall as a letter of the same size.
constexpr qreal boxPerFontSize = 22.0 / 16.0;

} // namespace

SvgIcon::SvgIcon(QQuickItem *parent) : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    setSize(m_size);
}

QByteArray SvgIcon::tintedSvg(const QString &name, const QColor &color)
{
    QFile file(u":/qt/qml/Kalvo/icons/%1.svg"_s.arg(name));
    if (name.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll().replace("currentColor", color.name(QColor::HexRgb).toLatin1());
}

void SvgIcon::setName(const QString &name)
{
    if (m_name == name)
        return;
    m_name = name;
    emit nameChanged();
    update();
}

void SvgIcon::setColor(const QColor &color)
{
    if (m_color == color)
        return;
    m_color = color;
    emit colorChanged();
    update();
}

void SvgIcon::setSize(qreal size)
{
    const qreal box = std::round(size * boxPerFontSize);
    setImplicitSize(box, box);
    if (qFuzzyCompare(m_size, size))
        return;
    m_size = size;
    emit sizeChanged();
}

void SvgIcon::paint(QPainter *painter)
{
    const QByteArray svg = tintedSvg(m_name, m_color);
    if (svg.isEmpty())
        return;
    QSvgRenderer renderer(svg);
    painter->setOpacity(m_color.alphaF());
    renderer.render(painter, QRectF(0, 0, width(), height()));
}

} // namespace kalvo
