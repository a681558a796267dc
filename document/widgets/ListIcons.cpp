#include "document/widgets/ListIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace
{

QPixmap canvas()
{
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

} // namespace

namespace ListIcons
{

QIcon bookmark()
{
    QPixmap pixmap = canvas();
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    QPainterPath ribbon;
    ribbon.moveTo(4, 1.5);
    ribbon.lineTo(12, 1.5);
    ribbon.lineTo(12, 14.5);
    ribbon.lineTo(8, 10.5);
    ribbon.lineTo(4, 14.5);
    ribbon.closeSubpath();
    p.setPen(QPen(QColor(0x1f, 0x4e, 0x9c), 1));
    p.setBrush(QColor(0x3f, 0x7f, 0xd8));
    p.drawPath(ribbon);
    return QIcon(pixmap);
}

QIcon field()
{
    QPixmap pixmap = canvas();
    QPainter p(&pixmap);
    p.setPen(QPen(QColor(0x60, 0x60, 0x60), 1));
    p.setBrush(QColor(0xff, 0xf6, 0xc8));
    p.drawRect(QRectF(1.5, 3.5, 13, 9));
    p.setPen(QPen(QColor(0x30, 0x30, 0x30), 1));
    p.drawLine(QPointF(4, 6), QPointF(4, 10));       // text cursor
    p.drawLine(QPointF(6.5, 9.5), QPointF(12, 9.5)); // underline of the value
    return QIcon(pixmap);
}

} // namespace ListIcons
