#pragma once

#include "LVInstallItem.h"
#include "outline/LVOutlineItem.h"

#include <QPointer>
#include <QWidget>

// The child row of a product row that shows the product's details.
class LVMoreInfoSingleInstallItem : public LVOutlineItem
{
public:
    LVMoreInfoSingleInstallItem(LVInstallItem* installItem, QWidget* view) : _installItem(installItem), _view(view) {}

    LVInstallItem* installItem() const { return _installItem; }
    void setView(QWidget* view) { _view = view; }

    // The details are made together with the product row's headline.
    QWidget* view() override
    {
        if (!_view && _installItem)
            _installItem->view();
        return _view;
    }
    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldSelect() override { return false; }
    void setInstallManager(LVRowHost*) override {}

private:
    LVInstallItem* _installItem;
    QPointer<QWidget> _view;
};
