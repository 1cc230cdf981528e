#pragma once

#include "outline/LVOutlineTab.h"

#include <memory>

class LVHelpItem;
class VMHelpItemsCollection;

// The help tab: one row per help record, in catalogue order.
class LVHelpTab : public LVOutlineTab
{
    Q_OBJECT
public:
    explicit LVHelpTab(QWidget* parent = nullptr);
    ~LVHelpTab() override;

    void setUp();

    void setHelpItemsCollection(const std::shared_ptr<VMHelpItemsCollection>& collection);
    std::shared_ptr<VMHelpItemsCollection> helpItemsCollection() const { return _helpItemsCollection; }
    QList<LVHelpItem*> helpItems() const { return _helpItems; }

protected:
    QList<LVOutlineItem*> rows() const override;

private:
    std::shared_ptr<VMHelpItemsCollection> _helpItemsCollection;
    QList<LVHelpItem*> _helpItems;
};
