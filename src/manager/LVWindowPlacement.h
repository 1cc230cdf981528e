#pragma once

#include <QObject>
#include <QPoint>
#include <QPointer>
#include <Qt>

class LVMouseDownMonitor;
class QWidget;

// Puts the main window's content in a window of its own and places it: attached (borderless,
// stays on top, hides on a click outside it) or detached (titled, the user moved it). Moving the
// window by hand detaches it.
class LVWindowPlacement : public QObject
{
    Q_OBJECT
public:
    explicit LVWindowPlacement(QWidget* contentView, QObject* parent = nullptr);
    ~LVWindowPlacement() override;

    // Centred on the screen for (-1, -1); otherwise hanging below the point, inside the screen.
    void showAtPosition(const QPoint& point);
    void hide();
    bool isVisible() const;
    QWidget* window() const { return _window; }

    bool attachedToStatusItem() const { return _attachedToStatusItem; }
    void setAttachedToStatusItem(bool attached);
    bool suspendWindowMoveNotifications() const { return _suspendWindowMoveNotifications; }
    void setSuspendWindowMoveNotifications(bool flag) { _suspendWindowMoveNotifications = flag; }
    bool hasMouseMonitor() const { return _mouseDragMonitor != nullptr; }

    // Takes the content out of its window (the window goes) for a status menu to show.
    QWidget* viewForStatusMenu();
    void windowDidMove();

signals:
    // Each time the window is about to be brought up, before it is placed.
    void aboutToShow();
    // The user closed the window.
    void windowWillClose();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    Qt::WindowFlags windowFlagsForMode() const;
    void removeMouseMonitor();

    QPointer<QWidget> _contentView;
    QPointer<QWidget> _window;
    LVMouseDownMonitor* _mouseDragMonitor = nullptr;
    bool _attachedToStatusItem = false;
    bool _suspendWindowMoveNotifications = false;
};
