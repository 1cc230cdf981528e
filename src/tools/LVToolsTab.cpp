#include "LVToolsTab.h"

#include "outline/LVOutlineItem.h"

LVToolsTab::LVToolsTab(QWidget* parent) : LVOutlineTab(parent) {}

LVToolsTab::~LVToolsTab() = default;

void LVToolsTab::setUp()
{
    setUpOutline(QStringLiteral("No tools."));
}

void LVToolsTab::setToolItems(const QList<LVOutlineItem*>& toolItems)
{
    _toolItems = toolItems;
    for (LVOutlineItem* row : toolItems)
        row->setInstallManager(rowHost());
    reloadData();
}
