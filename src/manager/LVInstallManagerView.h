#pragma once

#include <QPointer>
#include <QWidget>

class LVInstallManager;

// The root view of the main window. Whatever window it is put in becomes dark; it also lets the
// user drag a borderless window by its background.
class LVInstallManagerView : public QWidget
{
    Q_OBJECT
public:
    explicit LVInstallManagerView(LVInstallManager* installManager, QWidget* parent = nullptr);

    enum class Appearance { Light, Dark };
    // Gives the view and, recursively, each of its children the dark appearance.
    static void setAppearanceForView(QWidget* view);
    static void setAppearance(QWidget* view, Appearance appearance);
    static Appearance appearance(const QWidget* view);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void viewDidMoveToWindow();

    QPointer<LVInstallManager> _installManager;
    QPoint _dragOffset;
    bool _dragging = false;
};
