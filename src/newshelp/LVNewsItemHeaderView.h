#pragma once

#include <QPointer>
#include <QWidget>

class LVNewsItem;

// The headline row of a news item: a double click asks the row to expand or collapse.
class LVNewsItemHeaderView : public QWidget
{
    Q_OBJECT
public:
    explicit LVNewsItemHeaderView(QWidget* parent = nullptr);

    LVNewsItem* delegate() const { return _delegate; }
    void setDelegate(LVNewsItem* delegate) { _delegate = delegate; }

protected:
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QPointer<LVNewsItem> _delegate;
};
