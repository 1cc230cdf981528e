#pragma once

#include <QWidget>

class LVSpinner;

// The dimming overlay with a centred spinner that covers the window while a catalogue loads.
class LVProgressView : public QWidget
{
    Q_OBJECT
public:
    explicit LVProgressView(QWidget* parent);

    LVSpinner* spinner() const { return _spinner; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    LVSpinner* _spinner;
};
