#include "LVToolContainerView.h"

#include <QPainter>
#include <QPainterPath>

namespace {
constexpr qreal kVerticalInset = 4.0;
constexpr qreal kNarrowing = 8.0;
constexpr qreal kCornerRadius = 8.0;
} // namespace

LVToolContainerView::LVToolContainerView(QWidget* parent) : QWidget(parent) {}

QRectF LVToolContainerView::panelRect(const QRectF& frame)
{
    QRectF rect = frame.adjusted(0.0, kVerticalInset, 0.0, -kVerticalInset);
    rect.setWidth(rect.width() - kNarrowing);
    return rect;
}

void LVToolContainerView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // The frame in the view's own coordinates; half a pixel in so the edge stays crisp.
    QPainterPath path;
    path.addRoundedRect(panelRect(QRectF(rect())).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius, kCornerRadius);
    painter.fillPath(path, QColor::fromRgbF(0.14f, 0.14f, 0.14f, 0.8f));
    painter.setPen(QPen(QColor::fromRgbF(0.5f, 0.5f, 0.5f, 0.8f), 1.0));
    painter.drawPath(path);
}
