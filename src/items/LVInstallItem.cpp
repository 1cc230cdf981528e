#include "LVInstallItem.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMProductItem.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVProductOperation.h"
#include "engines/LVUninstaller.h"
#include "items/LVRowHost.h"
#include "platform/Platform.h"

#include <QMenu>

LVInstallItem::LVInstallItem(QObject* parent) : QObject(parent) {}

LVInstallItem::~LVInstallItem() = default;

QString LVInstallItem::outlineKey() const
{
    const std::shared_ptr<VMProductItem> product = productItem();
    return product ? product->productID() : title();
}

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
    if (LVRowHost* host = installManager())
        host->updateStatusChanged(status, this);
    emit installStatusChanged(status);
}

LVRowHost* LVInstallItem::installManager() const
{
    // A host that is a QObject may die before the row hears of it.
    if (_installManagerGuarded && !_installManagerObject)
        return nullptr;
    return _installManager;
}

void LVInstallItem::setInstallManager(LVRowHost* manager)
{
    _installManager = manager;
    _installManagerObject = dynamic_cast<QObject*>(manager);
    _installManagerGuarded = _installManagerObject != nullptr;
}

void LVInstallItem::doubleClicked(QMouseEvent*) {}

void LVInstallItem::showHelpOnUninstallingDiscontinuedVersions()
{
    Platform::workspace().openUrl(
        LVServers::supportURL(QStringLiteral("/pages/what-are-the-fxplug3-versions-of-products-do-i-still-need-them")));
}

void LVInstallItem::showAlert(const QString& message, const QString& informative) const
{
    if (LVRowHost* manager = installManager())
        manager->showAlert(LVAlert(message, informative));
}

void LVInstallItem::openURL(const QString& url)
{
    if (!url.isEmpty())
        Platform::workspace().openUrl(QUrl(url));
}
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

void LVInstallItem::followOperation(LVProductOperation* operation)
{
    connect(operation, &LVProductOperation::phaseChanged, this, [this] { updateStatus(); });
    connect(operation, &LVProductOperation::downloadBegan, this,
            [this](LVDownloader* downloader) { downloadStarted(downloader); });
    connect(operation, &LVProductOperation::downloadAdvanced, this,
            [this](double progress, LVDownloader* downloader) { downloadProgress(progress, downloader); });
    connect(operation, &LVProductOperation::downloadEnded, this, [this](LVDownloader* downloader, bool succeeded) {
        succeeded ? downloadCompleted(downloader) : downloadFailed(downloader);
    });
    connect(operation, &LVProductOperation::installBegan, this,
            [this](LVInstaller* installer) { installStarted(installer); });
    connect(operation, &LVProductOperation::installEnded, this, [this](LVInstaller* installer, bool succeeded) {
        succeeded ? installCompleted(installer) : installFailed(installer);
    });
    connect(operation, &LVProductOperation::uninstallBegan, this,
            [this](LVUninstaller* uninstaller) { uninstallStarted(uninstaller); });
    connect(operation, &LVProductOperation::uninstallEnded, this, [this](LVUninstaller* uninstaller, bool succeeded) {
        succeeded ? uninstallCompleted(uninstaller) : uninstallFailed(uninstaller);
    });
}
