#include "LVUninstallDiscontinuedItem.h"
#include "ui_LVUninstallDiscontinuedItem.h"

LVUninstallDiscontinuedItem* LVUninstallDiscontinuedItem::tool()
{
    static LVUninstallDiscontinuedItem* const instance = new LVUninstallDiscontinuedItem;
    return instance;
}

QWidget* LVUninstallDiscontinuedItem::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVUninstallDiscontinuedItem().setupUi(panel);
    return panel;
}
