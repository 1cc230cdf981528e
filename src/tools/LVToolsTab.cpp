#include "LVToolsTab.h"

#include "LVToolDeleteExpendableFilesItems.h"
#include "LVToolDiagnosticItem.h"
#include "LVToolKnowledgeBaseSearchItem.h"
#include "LVToolSettingsItem.h"
#include "LVToolUninstallItem.h"
#include "LVToolUpdateAllInstalledItem.h"

LVToolsTab::LVToolsTab(QWidget* parent) : LVOutlineTab(parent) {}

LVToolsTab::~LVToolsTab() = default;

QList<LVToolItem*> LVToolsTab::makeApplicationTools()
{
    const QList<LVToolItem*> candidates = {
        LVToolSettingsItem::tool(),  LVToolKnowledgeBaseSearchItem::tool(),    LVToolUpdateAllInstalledItem::tool(),
        LVToolUninstallItem::tool(), LVToolDeleteExpendableFilesItems::tool(), LVToolDiagnosticItem::tool(),
    };
    QList<LVToolItem*> tools;
    for (LVToolItem* tool : candidates) {
        if (tool)
            tools.append(tool);
    }
    return tools;
}

QList<LVToolItem*> LVToolsTab::applicationTools()
{
    static const QList<LVToolItem*> tools = makeApplicationTools();
    return tools;
}

LVToolItem* LVToolsTab::toolForClass(const QMetaObject* toolClass)
{
    if (!toolClass)
        return nullptr;
    for (LVToolItem* tool : applicationTools()) {
        if (tool->metaObject() == toolClass)
            return tool;
    }
    return nullptr;
}

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
