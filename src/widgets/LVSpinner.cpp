#include "LVSpinner.h"

#include <QPainter>

LVSpinner::LVSpinner(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    _timer.setInterval(80);
    connect(&_timer, &QTimer::timeout, this, [this] {
        _step = (_step + 1) % 12;
        update();
    });
}

void LVSpinner::startAnimation()
{
    _timer.start();
}

void LVSpinner::stopAnimation()
{
    _timer.stop();
}

void LVSpinner::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const qreal side = qMin(width(), height());
    painter.translate(width() / 2.0, height() / 2.0);
    const qreal outer = side / 2.0;
    const qreal inner = outer * 0.48;
    QPen pen(Qt::white);
    pen.setWidthF(qMax(2.0, side / 11.0));
    pen.setCapStyle(Qt::RoundCap);
    for (int i = 0; i < 12; ++i) {
        const int age = (_step - i + 12) % 12;
        QColor color(255, 255, 255);
        color.setAlphaF(1.0 - age / 13.0);
        pen.setColor(color);
        painter.setPen(pen);
        painter.save();
        painter.rotate(i * 30.0);
        painter.drawLine(QPointF(0, -inner), QPointF(0, -outer + pen.widthF() / 2));
        painter.restore();
    }
}
