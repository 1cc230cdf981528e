#include "TestInstallItem.h"

#include <QMenu>

TestInstallItem::TestInstallItem(const QString& title, uint status, QObject* parent)
    : LVInstallItem(parent), computedStatus(status), _title(title)
{}

TestInstallItem::~TestInstallItem()
{
    delete _view;
}

void TestInstallItem::updateStatus()
{
    ++updateStatusCalls;
    setInstallStatus(InstallStatus(computedStatus));
}

QWidget* TestInstallItem::view()
{
    if (!_view) {
        _view = new QWidget;
        _view->setObjectName(_title);
        _view->resize(300, viewHeight);
    }
    return _view;
}

void TestInstallItem::populateContextMenu(QMenu* menu, QEvent*)
{
    ++populateCalls;
    menu->addAction(QStringLiteral("Reinstall"));
}

void TestInstallItem::singleClicked(QMouseEvent*, LVInstallItemTitleField*)
{
    ++singleClicks;
}

void TestInstallItem::doubleClicked(QMouseEvent*, LVInstallItemTitleField*)
{
    ++doubleClicks;
}
