#pragma once

#include <QWidget>

// The headline row of a news item: a double click asks for the row to expand or collapse.
class LVNewsItemHeaderView : public QWidget
{
    Q_OBJECT
public:
    explicit LVNewsItemHeaderView(QWidget* parent = nullptr);

signals:
    void doubleClicked();

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
};
