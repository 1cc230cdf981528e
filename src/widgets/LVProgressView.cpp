#include "LVProgressView.h"

#include "LVSpinner.h"

#include <QEvent>
#include <QPainter>

LVProgressView::LVProgressView(QWidget* parent) : QWidget(parent), _spinner(new LVSpinner(this))
{
    setObjectName(QStringLiteral("progressView"));
    _spinner->resize(32, 32);
    // Follows the view it covers.
    if (parent) {
        setGeometry(parent->rect());
        parent->installEventFilter(this);
    }
    raise();
}

void LVProgressView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QColor dim = QColor::fromRgbF(0.32, 0.32, 0.32);
    dim.setAlphaF(0.2);
    painter.fillRect(rect(), dim);
}

void LVProgressView::resizeEvent(QResizeEvent*)
{
    _spinner->move(width() / 2 - 16, height() / 2 - 16);
}

bool LVProgressView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == parent() && event->type() == QEvent::Resize)
        setGeometry(parentWidget()->rect());
    return false;
}
