#include "app/WizardIcons.h"

#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace
{

QPixmap canvas(int size)
{
    QPixmap pm(size, size);
    pm.fill(Qt::transparent);
    return pm;
}

// Head and shoulders.
QIcon drawPerson(const QColor& color, bool outlined)
{
    QPixmap pm = canvas(16);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    if (outlined) {
        p.setPen(QPen(color, 1.2));
        p.setBrush(Qt::white);
    } else {
        p.setPen(Qt::NoPen);
        p.setBrush(color);
    }
    p.drawEllipse(QRectF(5, 1.5, 6, 6));
    QPainterPath body;
    body.moveTo(2, 15);
    body.cubicTo(2, 8.5, 14, 8.5, 14, 15);
    body.closeSubpath();
    p.drawPath(body);
    return QIcon(pm);
}

// A flag on a page corner.
QIcon drawBookmark()
{
    QPixmap pm = canvas(16);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(60, 60, 60), 1));
    p.setBrush(QColor(250, 250, 250));
    p.drawRect(QRectF(2.5, 1.5, 10, 13));
    QPainterPath flag;
    flag.moveTo(7, 1.5);
    flag.lineTo(11, 1.5);
    flag.lineTo(11, 8);
    flag.lineTo(9, 6.3);
    flag.lineTo(7, 8);
    flag.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(30, 90, 190));
    p.drawPath(flag);
    return QIcon(pm);
}

// A sheet with an address block, for the window.
QIcon drawApp()
{
    QIcon icon;
    for (int size : {16, 32, 48}) {
        QPixmap pm = canvas(size);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        const qreal s = size / 16.0;
        p.setPen(QPen(QColor(60, 60, 60), s * 0.8));
        p.setBrush(Qt::white);
        p.drawRect(QRectF(2.5 * s, 1 * s, 11 * s, 14 * s));
        p.setPen(QPen(QColor(30, 90, 190), s * 1.2));
        for (int i = 0; i < 3; ++i)
            p.drawLine(QPointF(4.5 * s, (4 + 2.2 * i) * s), QPointF(9.5 * s, (4 + 2.2 * i) * s));
        p.setPen(QPen(QColor(120, 120, 120), s * 0.9));
        p.drawLine(QPointF(4.5 * s, 12 * s), QPointF(11.5 * s, 12 * s));
        icon.addPixmap(pm);
    }
    return icon;
}

} // namespace

QIcon wizardIcon(const QString& name)
{
    static QHash<QString, QIcon> cache;
    const auto found = cache.constFind(name);
    if (found != cache.cend())
        return *found;
    QIcon icon;
    if (name == QLatin1String("Person"))
        icon = drawPerson(QColor(40, 100, 170), false);
    else if (name == QLatin1String("VirtualPerson"))
        icon = drawPerson(QColor(120, 120, 120), true);
    else if (name == QLatin1String("Bookmark"))
        icon = drawBookmark();
    else if (name == QLatin1String("App"))
        icon = drawApp();
    cache.insert(name, icon);
    return icon;
}
