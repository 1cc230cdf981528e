#include "LVNewsItemHeaderView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

LVNewsItemHeaderView::LVNewsItemHeaderView(QWidget* parent) : QWidget(parent) {}

void LVNewsItemHeaderView::mouseDoubleClickEvent(QMouseEvent*)
{
    // Qt reports the second press of a double click here; single presses do nothing.
    emit doubleClicked();
}

void LVNewsItemHeaderView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // An accent bar marks each announcement.
    QPainterPath bar;
    bar.addRoundedRect(QRectF(6, 10, 3, height() - 20), 1.5, 1.5);
    painter.fillPath(bar, QColor(0xff, 0x9f, 0x0a));
    painter.setPen(QColor(255, 255, 255, 18));
    painter.drawLine(QPointF(14, height() - 0.5), QPointF(width() - 14, height() - 0.5));
}
