#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QtQml/qqmlregistration.h>

namespace kalvo {

// One of the bundled monochrome icons (src/ui/icons), drawn in any colour.
// `size` follows the font size of the text it stands beside; the box is a
// little larger because the icons keep a margin inside their 22-unit grid.
class SvgIcon : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged)
    Q_PROPERTY(qreal size READ size WRITE setSize NOTIFY sizeChanged)

public:
    explicit SvgIcon(QQuickItem *parent = nullptr);

    // The icon's SVG with every "currentColor" replaced by `color`; empty
    // when there is no icon of that name.
    static QByteArray tintedSvg(const QString &name, const QColor &color);

    QString name() const { return m_name; }
    void setName(const QString &name);
    QColor color() const { return m_color; }
    void setColor(const QColor &color);
    qreal size() const { return m_size; }
    void setSize(qreal size);

    void paint(QPainter *painter) override;

signals:
    void nameChanged();
    void colorChanged();
    void sizeChanged();

private:
    QString m_name;
    QColor m_color = Qt::white;
    qreal m_size = 12;
};

} // namespace kalvo
