#include "LVInstallManagerView.h"

#include "LVInstallManager.h"
#include "widgets/LVAppearance.h"

#include <QApplication>
#include <QEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>

namespace {
const char* appearanceProperty = "lvAppearance";
}

LVInstallManagerView::LVInstallManagerView(LVInstallManager* installManager, QWidget* parent)
    : QWidget(parent), _installManager(installManager)
{
    setObjectName(QStringLiteral("_containerView"));
}

void LVInstallManagerView::setAppearance(QWidget* view, Appearance appearance)
{
    if (!view)
        return;
    view->setProperty(appearanceProperty, appearance == Appearance::Dark ? 1 : 0);
    if (appearance == Appearance::Dark)
        view->setPalette(LVAppearance::darkPalette());
    else
        view->setPalette(QApplication::style()->standardPalette());
}

LVInstallManagerView::Appearance LVInstallManagerView::appearance(const QWidget* view)
{
    return view && view->property(appearanceProperty).toInt() == 1 ? Appearance::Dark : Appearance::Light;
}

void LVInstallManagerView::setAppearanceForView(QWidget* view)
{
    if (!view)
        return;
    setAppearance(view, Appearance::Dark);
    for (QWidget* child : view->findChildren<QWidget*>(Qt::FindDirectChildrenOnly))
        setAppearanceForView(child);
}

bool LVInstallManagerView::event(QEvent* event)
{
    const bool result = QWidget::event(event);
    if (event->type() == QEvent::ParentChange)
        viewDidMoveToWindow();
    return result;
}

void LVInstallManagerView::viewDidMoveToWindow()
{
    QWidget* top = window();
    if (top == this)
        return;
    // However the view was set up before, in a window it is always dark.
    setAppearance(top, Appearance::Dark);
    setAppearanceForView(top);
    setAppearance(parentWidget(), Appearance::Dark);
    setAppearance(this, Appearance::Dark);
}

void LVInstallManagerView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    QLinearGradient background(0, 0, 0, height());
    background.setColorAt(0.0, QColor(0x2c, 0x2c, 0x2f));
    background.setColorAt(1.0, QColor(0x22, 0x22, 0x24));
    painter.fillRect(rect(), background);
}

void LVInstallManagerView::mousePressEvent(QMouseEvent* event)
{
    // A borderless window is moved by its background.
    if (event->button() == Qt::LeftButton && window()->windowFlags().testFlag(Qt::FramelessWindowHint)) {
        _dragging = true;
        _dragOffset = event->globalPosition().toPoint() - window()->frameGeometry().topLeft();
    }
    QWidget::mousePressEvent(event);
}

void LVInstallManagerView::mouseMoveEvent(QMouseEvent* event)
{
    if (_dragging)
        window()->move(event->globalPosition().toPoint() - _dragOffset);
    QWidget::mouseMoveEvent(event);
}

void LVInstallManagerView::mouseReleaseEvent(QMouseEvent* event)
{
    _dragging = false;
    QWidget::mouseReleaseEvent(event);
}
