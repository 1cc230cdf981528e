#pragma once

#include "outline/LVOutlineItem.h"

class LVSingleInstallItem;

// The child row of a product row that shows the product's details. Its view belongs to the
// product row, which makes it and takes it back together with its own.
class LVMoreInfoSingleInstallItem : public LVOutlineItem
{
public:
    explicit LVMoreInfoSingleInstallItem(LVSingleInstallItem* installItem) : _installItem(installItem) {}

    LVSingleInstallItem* installItem() const { return _installItem; }

    QWidget* view() override;
    // Out of sight the list may take it; the product row lets it go with its own view.
    bool canReleaseView() const override { return true; }
    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldSelect() override { return false; }
    void setInstallManager(LVRowHost*) override {}

private:
    LVSingleInstallItem* _installItem;
};
