#pragma once

#include <QWidget>

class QLabel;

// The About window: the application's icon and name and its version line.
class LVAboutWindow : public QWidget
{
    Q_OBJECT
public:
    explicit LVAboutWindow(QWidget* parent = nullptr);

    // The version line ("Version: 0.1.0 [65]").
    QLabel* aboutVersionTextField() const { return _aboutVersionTextField; }
    // Shows the window, raised and active.
    void bringToFront();

private:
    QLabel* _aboutVersionTextField = nullptr;
};
