#include "LVMouseDownMonitor.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>

LVMouseDownMonitor::LVMouseDownMonitor(QWidget* window, std::function<void()> handler, QObject* parent)
    : QObject(parent), _window(window), _handler(std::move(handler))
{
    qApp->installEventFilter(this);
    connect(qApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state != Qt::ApplicationActive && _handler)
            _handler();
    });
}

LVMouseDownMonitor::~LVMouseDownMonitor()
{
    qApp->removeEventFilter(this);
}

bool LVMouseDownMonitor::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::MouseButtonPress || !watched->isWidgetType() || !_window)
        return false;
    const auto* mouse = static_cast<QMouseEvent*>(event);
    if (mouse->button() != Qt::LeftButton && mouse->button() != Qt::RightButton)
        return false;
    // Presses in the window itself or in anything it opened (alerts, menus) do not count.
    for (QWidget* widget = static_cast<QWidget*>(watched); widget; widget = widget->parentWidget()) {
        if (widget == _window)
            return false;
    }
    if (_handler)
        _handler();
    return false;
}
