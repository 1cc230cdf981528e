#pragma once

#include <QWidget>

// The background of a tool's panel: a dark translucent rounded panel with a light edge.
class LVToolContainerView : public QWidget
{
    Q_OBJECT
public:
    explicit LVToolContainerView(QWidget* parent = nullptr);

    // The rounded panel's outline for a view of this size.
    static QRectF panelRect(const QRectF& frame);

protected:
    void paintEvent(QPaintEvent* event) override;
};
