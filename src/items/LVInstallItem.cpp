#include "LVInstallItem.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMProductItem.h"
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

LVInstallItem::InstallStatus LVInstallItem::installStatus()
{
    if (_installStatus == StatusNotComputed)
        updateStatus();
    return _installStatus;
}

void LVInstallItem::setInstallStatus(InstallStatus status)
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
void LVInstallItem::followOperation(LVProductOperation* operation)
{
    connect(operation, &LVProductOperation::phaseChanged, this, [this] { updateStatus(); });
    connect(operation, &LVProductOperation::downloadBegan, this,
            [this](Download download) { downloadBegan(download); });
    connect(operation, &LVProductOperation::downloadAdvanced, this,
            [this](Download download, double percent) { downloadAdvanced(download, percent); });
    connect(operation, &LVProductOperation::downloadEnded, this,
            [this](Download download, bool succeeded) { downloadEnded(download, succeeded); });
    connect(operation, &LVProductOperation::installBegan, this, [this] { installBegan(); });
    connect(operation, &LVProductOperation::installEnded, this,
            [this](bool succeeded, const VMError& error) { installEnded(succeeded, error); });
    connect(operation, &LVProductOperation::uninstallEnded, this,
            [this](bool succeeded) { uninstallEnded(succeeded); });
}
