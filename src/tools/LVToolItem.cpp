#include "LVToolItem.h"

#include "LVToolDeleteExpendableFilesItems.h"
#include "LVToolDiagnosticItem.h"
#include "LVToolKnowledgeBaseSearchItem.h"
#include "LVToolSettingsItem.h"
#include "LVToolUninstallItem.h"
#include "foundation/VMLog.h"

#include <QWidget>

namespace {
LVToolItem::ToolFactory& updateAllInstalledToolFactory()
{
    static LVToolItem::ToolFactory factory;
    return factory;
}
} // namespace

LVToolItem::LVToolItem(QObject* parent) : QObject(parent) {}

LVToolItem::~LVToolItem()
{
    delete _contentView;
}

void LVToolItem::setUpdateAllInstalledToolFactory(ToolFactory factory)
{
    updateAllInstalledToolFactory() = std::move(factory);
}

QList<LVToolItem*> LVToolItem::makeToolItems()
{
    const QList<ToolFactory> factories = {
        [] { return LVToolSettingsItem::tool(); },
        [] { return LVToolKnowledgeBaseSearchItem::tool(); },
        [] { return updateAllInstalledToolFactory() ? updateAllInstalledToolFactory()() : nullptr; },
        [] { return LVToolUninstallItem::tool(); },
        [] { return LVToolDeleteExpendableFilesItems::tool(); },
        [] { return LVToolDiagnosticItem::tool(); },
    };
    QList<LVToolItem*> tools;
    for (const ToolFactory& factory : factories) {
        if (LVToolItem* tool = factory())
            tools.append(tool);
    }
    return tools;
}

namespace {
LVRowHost* g_rowHost = nullptr;
}

LVRowHost* LVToolItem::rowHost()
{
    return g_rowHost;
}

void LVToolItem::setRowHost(LVRowHost* host)
{
    g_rowHost = host;
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
