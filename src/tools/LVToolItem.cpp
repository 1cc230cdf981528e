#include "LVToolItem.h"

#include "foundation/VMLog.h"
#include "items/LVRowHost.h"

#include <QWidget>

LVToolItem::LVToolItem(QObject* parent) : QObject(parent) {}

LVToolItem::~LVToolItem()
{
    delete _contentView;
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
