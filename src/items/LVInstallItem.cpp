#include "LVInstallItem.h"

#include "manager/LVInstallManager.h"

#include <QMenu>

LVInstallItem::LVInstallItem(QObject* parent) : QObject(parent) {}

LVInstallItem::~LVInstallItem() = default;

uint LVInstallItem::installStatus()
{
    if (_installStatus == StatusNotComputed)
        updateStatus();
    return _installStatus;
}

void LVInstallItem::setInstallStatus(uint status)
{
    if (status == _installStatus)
        return;
    _installStatus = status;
    if (_installManager)
        _installManager->updateStatusChanged(status, this);
    emit installStatusChanged(status);
}

LVInstallManager* LVInstallItem::installManager() const
{
    return _installManager;
}

void LVInstallItem::setInstallManager(LVInstallManager* manager)
{
    _installManager = manager;
}

void LVInstallItem::doubleClicked(QMouseEvent*) {}
void LVInstallItem::downloadVersion(const std::shared_ptr<VMVersionItem>&) {}
void LVInstallItem::populateContextMenu(QMenu*, QEvent*) {}

void LVInstallItem::menuWillOpen(QMenu* menu)
{
    if (!menu)
        return;
    menu->clear();
    menu->addAction(QString());
    populateContextMenu(menu, nullptr);
}

void LVInstallItem::menuDidClose(QMenu* menu)
{
    if (menu)
        menu->clear();
}

void LVInstallItem::singleClicked(QMouseEvent*, LVInstallItemTitleField*) {}
void LVInstallItem::doubleClicked(QMouseEvent*, LVInstallItemTitleField*) {}
void LVInstallItem::downloadStarted(LVDownloader*) {}
void LVInstallItem::downloadProgress(double, LVDownloader*) {}
void LVInstallItem::downloadCompleted(LVDownloader*) {}
void LVInstallItem::downloadFailed(LVDownloader*) {}
void LVInstallItem::installStarted(LVInstaller*) {}
void LVInstallItem::installCompleted(LVInstaller*) {}
void LVInstallItem::installFailed(LVInstaller*) {}
void LVInstallItem::uninstallStarted(LVUninstaller*) {}
void LVInstallItem::uninstallCompleted(LVUninstaller*) {}
void LVInstallItem::uninstallFailed(LVUninstaller*) {}
