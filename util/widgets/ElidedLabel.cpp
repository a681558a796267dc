#include "util/widgets/ElidedLabel.h"

#include <QEvent>
#include <QHelpEvent>
#include <QPainter>
#include <QStringList>
#include <QStyle>
#include <QStyleOption>
#include <QToolTip>

ElidedLabel::ElidedLabel(QWidget* parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

QSize ElidedLabel::sizeHint() const
{
    // The height of one line; the width is whatever the layout gives.
    const QSize hint = QLabel::sizeHint();
    return {qMin(hint.width(), fontMetrics().averageCharWidth() * 20), hint.height()};
}

QSize ElidedLabel::minimumSizeHint() const
{
    return {0, QLabel::minimumSizeHint().height()};
}

QString ElidedLabel::shownText() const
{
    const int margins = 2 * margin() + contentsMargins().left() + contentsMargins().right();
    // A street of several lines is cut line by line.
    QStringList lines = text().split(QLatin1Char('\n'));
    for (QString& line : lines)
        line = fontMetrics().elidedText(line, Qt::ElideRight, width() - margins);
    return lines.join(QLatin1Char('\n'));
}

bool ElidedLabel::isElided() const
{
    return shownText() != text();
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QStyleOption option;
    option.initFrom(this);
    drawFrame(&painter);
    style()->drawItemText(
        &painter, contentsRect().adjusted(margin(), margin(), -margin(), -margin()),
        int(alignment()), option.palette, isEnabled(), shownText(), foregroundRole());
}

bool ElidedLabel::event(QEvent* event)
{
    // The whole text as tooltip, but only where it is not shown in full already.
    if (event->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(event);
        if (isElided())
            QToolTip::showText(help->globalPos(), text(), this);
        else
            QToolTip::hideText();
        return true;
    }
    return QLabel::event(event);
}
