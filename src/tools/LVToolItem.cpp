#include "LVToolItem.h"

#include "LVToolDeleteExpendableFilesItems.h"
#include "LVToolDiagnosticItem.h"
#include "LVToolKnowledgeBaseSearchItem.h"
#include "LVToolSettingsItem.h"
#include "LVToolUninstallItem.h"
#include "LVToolUpdateAllInstalledItem.h"
#include "foundation/VMLog.h"
#include "items/LVRowHost.h"

#include <QWidget>

LVToolItem::LVToolItem(QObject* parent) : QObject(parent) {}

LVToolItem::~LVToolItem()
{
    delete _contentView;
}

QList<LVToolItem*> LVToolItem::makeToolItems()
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

LVRowHost* LVToolItem::installManager() const
{
    return _installManagerObject ? _installManager : nullptr;
}

void LVToolItem::setInstallManager(LVRowHost* manager)
{
    _installManagerObject = dynamic_cast<QObject*>(manager);
    _installManager = _installManagerObject ? manager : nullptr;
}

QList<LVToolItem*> LVToolItem::toolItems()
{
    static const QList<LVToolItem*> tools = makeToolItems();
    return tools;
}

LVToolItem* LVToolItem::toolForClass(const QMetaObject* toolClass)
{
    if (!toolClass)
        return nullptr;
    for (LVToolItem* tool : toolItems()) {
        if (tool->metaObject() == toolClass)
            return tool;
    }
    return nullptr;
}

bool LVToolItem::initView()
{
    QWidget* panel = loadPanel();
    if (!panel) {
        VM_LOG_MESSAGE(QStringLiteral("Couldn't instantiate panel xib"));
        return true;
    }
    _contentView = panel;
    return true;
}

QWidget* LVToolItem::view()
{
    if (!_contentView)
        initView();
    return _contentView;
}
