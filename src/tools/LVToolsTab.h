#pragma once

#include "outline/LVOutlineTab.h"

// The tools tab: the tool rows it is given, in that order. The tools themselves live beside it.
class LVToolsTab : public LVOutlineTab
{
    Q_OBJECT
public:
    explicit LVToolsTab(QWidget* parent = nullptr);
    ~LVToolsTab() override;

    void setUp();

    // The rows are not owned by the tab: tools are the application's singletons.
    void setToolItems(const QList<LVOutlineItem*>& toolItems);
    QList<LVOutlineItem*> toolItems() const { return _toolItems; }

protected:
    QList<LVOutlineItem*> rows() const override { return _toolItems; }

private:
    QList<LVOutlineItem*> _toolItems;
};
