#include "LVIcons.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>
#include <QtMath>
#include <functional>

namespace LVIcons {
namespace {
QIcon drawn(int side, const std::function<void(QPainter&, qreal)>& draw)
{
    QIcon icon;
    for (const qreal scale : {1.0, 2.0}) {
        QPixmap pixmap(QSize(side, side) * scale);
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        draw(painter, side);
        icon.addPixmap(pixmap);
    }
    return icon;
}

QPen strokePen(const QColor& color, qreal width)
{
    QPen pen(color, width);
    pen.setCapStyle(Qt::RoundCap);
    pen.setJoinStyle(Qt::RoundJoin);
    return pen;
}
} // namespace

QPixmap logoPixmap(int side)
{
    QPixmap pixmap(side * 2, side * 2);
    pixmap.setDevicePixelRatio(2.0);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r(0.5, 0.5, side - 1.0, side - 1.0);
    QPainterPath tile;
    tile.addRoundedRect(r, side * 0.23, side * 0.23);
    QLinearGradient g(r.topLeft(), r.bottomRight());
    g.setColorAt(0.0, QColor(0xff, 0x8a, 0x3d));
    g.setColorAt(0.55, QColor(0xe0, 0x3e, 0x7a));
    g.setColorAt(1.0, QColor(0x5b, 0x3c, 0xd8));
    p.fillPath(tile, g);
    // A lens flare: a bright core with four rays.
    const QPointF c = r.center();
    QRadialGradient glow(c, side * 0.42);
    glow.setColorAt(0.0, QColor(255, 255, 255, 235));
    glow.setColorAt(0.25, QColor(255, 255, 255, 120));
    glow.setColorAt(1.0, QColor(255, 255, 255, 0));
    p.setPen(Qt::NoPen);
    p.setBrush(glow);
    p.drawEllipse(c, side * 0.42, side * 0.42);
    p.setPen(strokePen(QColor(255, 255, 255, 210), side * 0.035));
    for (int i = 0; i < 4; ++i) {
        const qreal a = qDegreesToRadians(45.0 + i * 90.0);
        p.drawLine(c + QPointF(qCos(a), qSin(a)) * side * 0.1, c + QPointF(qCos(a), qSin(a)) * side * 0.3);
    }
    p.setBrush(Qt::white);
    p.setPen(Qt::NoPen);
    p.drawEllipse(c, side * 0.08, side * 0.08);
    return pixmap;
}

QIcon applicationLogo()
{
    QIcon icon;
    for (int side : {16, 32, 40, 64, 128})
        icon.addPixmap(logoPixmap(side));
    return icon;
}

QIcon refresh(const QColor& color)
{
    return drawn(18, [color](QPainter& p, qreal s) {
        p.setPen(strokePen(color, 1.6));
        const QRectF arc(s * 0.18, s * 0.18, s * 0.64, s * 0.64);
        p.drawArc(arc, 60 * 16, 290 * 16);
        // Arrow head at the arc's start.
        const qreal a = qDegreesToRadians(60.0);
        const QPointF tip(arc.center().x() + arc.width() / 2 * qCos(a), arc.center().y() - arc.height() / 2 * qSin(a));
        QPainterPath head;
        head.moveTo(tip + QPointF(-s * 0.22, -s * 0.02));
        head.lineTo(tip + QPointF(s * 0.02, s * 0.02));
        head.lineTo(tip + QPointF(-s * 0.06, -s * 0.24));
        p.drawPath(head);
    });
}

QIcon gear(const QColor& color)
{
    return drawn(18, [color](QPainter& p, qreal s) {
        const QPointF c(s / 2, s / 2);
        QPainterPath path;
        const int teeth = 8;
        for (int i = 0; i < teeth * 2; ++i) {
            const qreal a = M_PI * i / teeth;
            const qreal radius = (i % 2 == 0) ? s * 0.44 : s * 0.34;
            const qreal a0 = a - M_PI / (teeth * 2) * 0.55, a1 = a + M_PI / (teeth * 2) * 0.55;
            const QPointF p0 = c + QPointF(qCos(a0), qSin(a0)) * radius;
            const QPointF p1 = c + QPointF(qCos(a1), qSin(a1)) * radius;
            if (i == 0)
                path.moveTo(p0);
            else
                path.lineTo(p0);
            path.lineTo(p1);
        }
        path.closeSubpath();
        path.addEllipse(c, s * 0.14, s * 0.14);
        path.setFillRule(Qt::OddEvenFill);
        p.fillPath(path, color);
    });
}

QIcon info(const QColor& color)
{
    return drawn(18, [color](QPainter& p, qreal s) {
        p.setPen(strokePen(color, 1.4));
        p.drawEllipse(QRectF(s * 0.1, s * 0.1, s * 0.8, s * 0.8));
        p.drawLine(QPointF(s / 2, s * 0.45), QPointF(s / 2, s * 0.7));
        p.setBrush(color);
        p.setPen(Qt::NoPen);
        p.drawEllipse(QPointF(s / 2, s * 0.31), s * 0.06, s * 0.06);
    });
}

QIcon power(const QColor& color)
{
    return drawn(18, [color](QPainter& p, qreal s) {
        p.setPen(strokePen(color, 1.6));
        p.drawArc(QRectF(s * 0.17, s * 0.2, s * 0.66, s * 0.66), 125 * 16, 290 * 16);
        p.drawLine(QPointF(s / 2, s * 0.1), QPointF(s / 2, s * 0.48));
    });
}

} // namespace LVIcons
