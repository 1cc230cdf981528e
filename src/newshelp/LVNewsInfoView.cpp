#include "LVNewsInfoView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

LVNewsInfoView::LVNewsInfoView(QWidget* parent) : QWidget(parent)
{
    // The first click counts even when the window was not active.
    setAttribute(Qt::WA_ShowWithoutActivating);
    setCursor(Qt::PointingHandCursor);
}

void LVNewsInfoView::setImage(const QImage& image)
{
    _image = image;
    update();
}

QRectF LVNewsInfoView::imageRect() const
{
    if (_image.isNull())
        return QRectF();
    const QSizeF imageSize = _image.deviceIndependentSize();
    QSizeF fitted = imageSize;
    if (fitted.width() > width() || fitted.height() > height())
        fitted = imageSize.scaled(QSizeF(size()), Qt::KeepAspectRatio);
    return QRectF(QPointF((width() - fitted.width()) / 2.0, (height() - fitted.height()) / 2.0), fitted);
}

// Presses and drags are taken, so that neither reaches the list below and the release comes here.
void LVNewsInfoView::mousePressEvent(QMouseEvent* event)
{
    event->accept();
}

void LVNewsInfoView::mouseMoveEvent(QMouseEvent* event)
{
    event->accept();
}

void LVNewsInfoView::mouseReleaseEvent(QMouseEvent*)
{
    emit clicked();
}

void LVNewsInfoView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (_image.isNull()) {
        // A quiet placeholder until the image has arrived.
        QPainterPath frame;
        frame.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 8, 8);
        painter.fillPath(frame, QColor(255, 255, 255, 10));
        return;
    }
    const QRectF target = imageRect();
    QPainterPath clip;
    clip.addRoundedRect(target, 8, 8);
    painter.setClipPath(clip);
    painter.drawImage(target, _image, QRectF(_image.rect()));
}
