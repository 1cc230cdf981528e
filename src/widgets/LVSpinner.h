#pragma once

#include <QTimer>
#include <QWidget>

// An indeterminate spinning progress indicator: twelve spokes fading round.
class LVSpinner : public QWidget
{
    Q_OBJECT
public:
    explicit LVSpinner(QWidget* parent = nullptr);

    void startAnimation();
    void stopAnimation();
    bool isAnimating() const { return _timer.isActive(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QTimer _timer;
    int _step = 0;
};
