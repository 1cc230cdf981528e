#pragma once

#include <QObject>
#include <QPointer>
#include <functional>

class QWidget;

// Watches for mouse-downs outside one window: a press on any other window of the application, or
// the application losing the active state because the user clicked into another one.
class LVMouseDownMonitor : public QObject
{
    Q_OBJECT
public:
    LVMouseDownMonitor(QWidget* window, std::function<void()> handler, QObject* parent = nullptr);
    ~LVMouseDownMonitor() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QPointer<QWidget> _window;
    std::function<void()> _handler;
};
