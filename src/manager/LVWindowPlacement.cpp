#include "LVWindowPlacement.h"

#include "LVMouseDownMonitor.h"
#include "foundation/VMDispatch.h"
#include "widgets/LVIcons.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QVBoxLayout>
#include <QWidget>

LVWindowPlacement::LVWindowPlacement(QWidget* contentView, QObject* parent) : QObject(parent), _contentView(contentView)
{}

LVWindowPlacement::~LVWindowPlacement()
{
    removeMouseMonitor();
    if (_window) {
        _window->removeEventFilter(this);
        // The content belongs to the manager, not to the window.
        if (_contentView)
            _contentView->setParent(nullptr);
        delete _window;
    }
}

Qt::WindowFlags LVWindowPlacement::windowFlagsForMode() const
{
    if (_attachedToStatusItem)
        return Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    return Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
           Qt::WindowStaysOnTopHint;
}

void LVWindowPlacement::showAtPosition(const QPoint& point)
{
    _suspendWindowMoveNotifications = true;
    emit aboutToShow();
    if (!_window) {
        _window = new QWidget(nullptr, windowFlagsForMode());
        _window->setObjectName(QStringLiteral("LVInstallManagerWindow"));
        _window->setWindowTitle(QStringLiteral("Lumivane Manager"));
        _window->setWindowIcon(LVIcons::applicationLogo());
        auto* layout = new QVBoxLayout(_window);
        layout->setContentsMargins(0, 0, 0, 0);
        const QSize size = _contentView->size();
        layout->addWidget(_contentView);
        _window->resize(size);
        _window->installEventFilter(this);
    }
    const QSize size = _window->size();
    QScreen* screen = QGuiApplication::primaryScreen();
    const QRect screenRect = screen ? screen->availableGeometry() : QRect(0, 0, 1440, 900);
    QPoint origin;
    if (point == QPoint(-1, -1)) {
        origin = screenRect.center() - QPoint(size.width() / 2, size.height() / 2);
    } else {
        // Hangs below the point, kept inside the screen's right edge.
        origin = QPoint(point.x() - size.width() / 2, point.y());
        const QRect full = screen ? screen->geometry() : screenRect;
        if (origin.x() + size.width() > full.right() + 1)
            origin.setX(full.right() + 1 - size.width());
    }
    _window->move(origin);
    _window->show();
    _window->raise();
    _window->activateWindow();
    if (!_mouseDragMonitor) {
        _mouseDragMonitor = new LVMouseDownMonitor(
            _window,
            [this] {
                if (_attachedToStatusItem)
                    VMDispatch::performOnMainThread(this, [this] { hide(); });
            },
            this);
    }
    _suspendWindowMoveNotifications = false;
}

void LVWindowPlacement::removeMouseMonitor()
{
    delete _mouseDragMonitor;
    _mouseDragMonitor = nullptr;
}

void LVWindowPlacement::hide()
{
    removeMouseMonitor();
    if (_window)
        _window->hide();
}

bool LVWindowPlacement::isVisible() const
{
    return _window && _window->isVisible();
}

void LVWindowPlacement::setAttachedToStatusItem(bool attached)
{
    if (attached == _attachedToStatusItem)
        return;
    _attachedToStatusItem = attached;
    if (_window) {
        const bool wasSuspended = _suspendWindowMoveNotifications;
        _suspendWindowMoveNotifications = true;
        const bool visible = _window->isVisible();
        const QPoint position = _window->pos();
        _window->setWindowFlags(windowFlagsForMode());
        _window->move(position);
        if (visible)
            _window->show();
        _suspendWindowMoveNotifications = wasSuspended;
    }
}

QWidget* LVWindowPlacement::viewForStatusMenu()
{
    if (_window) {
        hide();
        _window->removeEventFilter(this);
        _contentView->setParent(nullptr);
        delete _window;
    }
    return _contentView;
}

void LVWindowPlacement::windowDidMove()
{
    if (!_suspendWindowMoveNotifications)
        setAttachedToStatusItem(false);
}

bool LVWindowPlacement::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == _window) {
        if (event->type() == QEvent::Move && _window->isVisible())
            windowDidMove();
        else if (event->type() == QEvent::Close)
            emit windowWillClose();
    }
    return QObject::eventFilter(watched, event);
}
