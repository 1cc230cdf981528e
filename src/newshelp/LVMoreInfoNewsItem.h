#pragma once

#include "outline/LVOutlineItem.h"

#include <QPointer>
#include <QWidget>

class LVNewsItem;

// The child row of a news item that shows its image and the "more info" link.
class LVMoreInfoNewsItem : public LVOutlineItem
{
public:
    explicit LVMoreInfoNewsItem(LVNewsItem* newsItem) : _newsItem(newsItem) {}

    LVNewsItem* newsItem() const { return _newsItem; }
    void setView(QWidget* view) { _view = view; }

    QWidget* view() override { return _view; }
    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldCollapse() override { return false; }
    bool shouldSelect() override { return false; }
    void setInstallManager(LVRowHost*) override {}

private:
    LVNewsItem* _newsItem;
    QPointer<QWidget> _view;
};
