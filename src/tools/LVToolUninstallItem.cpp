#include "LVToolUninstallItem.h"
#include "catalogue/VMProductEvents.h"
#include "ui_LVToolUninstallItem.h"

#include "LVToolUninstallItemDelegate.h"
#include "catalogue/LVServers.h"
#include "catalogue/VMProductItem.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVDownloader.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVInstallItem.h"
#include "items/LVRowHost.h"
#include "widgets/LVSpinner.h"

LVToolUninstallItem* LVToolUninstallItem::tool()
{
    static LVToolUninstallItem* const instance = new LVToolUninstallItem;
    return instance;
}

LVToolUninstallItem::LVToolUninstallItem() = default;
LVToolUninstallItem::~LVToolUninstallItem() = default;

QWidget* LVToolUninstallItem::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVToolUninstallItem ui;
    ui.setupUi(panel);
    _uninstallButton = ui._uninstallButton;
    _optionsButton = ui._optionsButton;
    _progressIndicator = ui._progressIndicator;
    _optionsButton->addItem(QStringLiteral("All Products"), uint(AllProducts));
    _optionsButton->addItem(QStringLiteral("Older FxPlug 3 Products"), uint(FxPlug3Products));
    connect(ui._uninstallButton, &QPushButton::clicked, this, &LVToolUninstallItem::uninstallButtonAction);
    connect(ui._optionsButton, &QComboBox::activated, this, &LVToolUninstallItem::optionsButtonAction);
    return panel;
}

bool LVToolUninstallItem::initView()
{
    const bool loaded = LVToolItem::initView();
    if (_progressIndicator) {
        _progressIndicator->setVisible(_busy);
        if (_busy)
            _progressIndicator->startAnimation();
    }
    if (_uninstallButton)
        _uninstallButton->setEnabled(!_busy);
    selectOptionInPopUp();
    return loaded;
}

void LVToolUninstallItem::selectOptionInPopUp()
{
    if (_optionsButton)
        _optionsButton->setCurrentIndex(_optionsButton->findData(_uninstallOption));
}

void LVToolUninstallItem::setUninstallOption(uint option)
{
    _uninstallOption = option;
    selectOptionInPopUp();
}

void LVToolUninstallItem::optionsButtonAction()
{
    if (_optionsButton)
        _uninstallOption = _optionsButton->currentData().toUInt();
}

QUrl LVToolUninstallItem::uninstallScriptURL() const
{
    switch (_uninstallOption) {
    case AllProducts:
        return LVServers::downloadURL(QStringLiteral("/VM_installers/uninstallers/TotalRemoveAllProducts.bash"));
    case FxPlug3Products:
        return LVServers::downloadURL(QStringLiteral("/VM_installers/uninstallers/TotalRemoveAllFxPlug3.bash"));
    default:
        return QUrl();
    }
}

LVToolUninstallItemDelegate* LVToolUninstallItem::delegate() const
{
    return _delegateObject ? _delegate : nullptr;
}

void LVToolUninstallItem::setDelegate(LVToolUninstallItemDelegate* delegate)
{
    auto* object = dynamic_cast<QObject*>(delegate);
    _delegate = object ? delegate : nullptr;
    _delegateObject = object;
}

void LVToolUninstallItem::tellDelegate(uint state)
{
    if (LVToolUninstallItemDelegate* target = delegate())
        target->uninstallStateChanged(state, this);
}

void LVToolUninstallItem::setBusy(bool busy)
{
    _busy = busy;
    if (_progressIndicator) {
        _progressIndicator->setVisible(busy);
        if (busy)
            _progressIndicator->startAnimation();
        else
            _progressIndicator->stopAnimation();
    }
    if (_uninstallButton)
        _uninstallButton->setEnabled(!busy);
}

void LVToolUninstallItem::showErrorOccuredAlert()
{
    if (LVRowHost* host = installManager())
        host->showAlert(LVAlert(QStringLiteral("Error Occured"),
                                QStringLiteral("An error occured, please contact Lumivane at ") +
                                    QLatin1String(supportEmailAddress) + QStringLiteral(" for help.")));
}

void LVToolUninstallItem::uninstallButtonAction()
{
    startUninstall();
}

void LVToolUninstallItem::startUninstallWithOption(uint option, LVToolUninstallItemDelegate* delegate)
{
    setUninstallOption(option);
    setDelegate(delegate);
    startUninstall();
}

void LVToolUninstallItem::startUninstall()
{
    const QUrl scriptURL = uninstallScriptURL();
    if (scriptURL.isEmpty()) {
        showErrorOccuredAlert();
        return;
    }
    LVRowHost* manager = installManager();
    if (!manager)
        return;
    bool installed = false;
    for (LVInstallItem* row : manager->singleProductInstallItems()) {
        const uint status = row->installStatus();
        if (status == LVInstallItem::StatusLatestInstalled || status == LVInstallItem::StatusUpdateAvailable ||
            status == LVInstallItem::StatusBundlePartlyInstalled) {
            installed = true;
            break;
        }
    }
    if (!installed) {
        manager->showAlert(LVAlert(QStringLiteral("No Products Found"),
                                   QStringLiteral("No products to uninstall found. Please uninstall the products "
                                                  "manually as needed.")));
        return;
    }
    if (!startDownloadUninstallScriptURL(scriptURL))
        return;
    setBusy(true);
}

bool LVToolUninstallItem::startDownloadUninstallScriptURL(const QUrl& url)
{
    LVDownloader* downloader = LVDownloader::downloaderWithURL(url, this);
    if (!downloader)
        return false;
    downloader->setDelegate(this);
    if (!downloader->start()) {
        delete downloader;
        return false;
    }
    if (_downloader)
        _downloader->deleteLater();
    _downloader = downloader;
    return true;
}

void LVToolUninstallItem::downloadStarted(LVDownloader*)
{
    tellDelegate(ScriptDownloadStarted);
}

void LVToolUninstallItem::downloadProgress(double, LVDownloader*) {}

void LVToolUninstallItem::downloadCompleted(LVDownloader* downloader)
{
    tellDelegate(ScriptDownloaded);
    const QByteArray script = downloader->data();
    if (!script.isNull())
        VMDispatch::performOnMainThread(this, [this, script] { runUninstaller(script); });
}

void LVToolUninstallItem::downloadFailed(LVDownloader*)
{
    tellDelegate(ScriptDownloadFailed);
    // The tool stays busy: the indicator keeps turning and the button stays off.
    showErrorOccuredAlert();
}

void LVToolUninstallItem::runUninstaller(const QByteArray& script)
{
    auto authorization = std::make_unique<LVAdminAuthorization>(
        LVUninstaller::defaultAuthorizationFlags(), LVAdminAuthorization::CreateFailureLog::ExtendedLoggingOnly);
    // A failed creation is logged by the authorization; a refused password ends here silently.
    if (!authorization->isGranted())
        return;
    auto uninstaller = LVUninstaller::uninstallerWithScript(
        script, {{QLatin1String(LVUninstaller::optionAuthorizationRef), authorization->optionValue()}});
    if (!uninstaller)
        return;
    _authorization = std::move(authorization);
    uninstaller->setDelegate(this);
    // Blocks until the script has run; the run keeps the runner alive until its last callback.
    uninstaller->start();
}

void LVToolUninstallItem::uninstallStarted(LVUninstaller*)
{
    tellDelegate(UninstallStarted);
}

void LVToolUninstallItem::uninstallCompleted(LVUninstaller*)
{
    tellDelegate(UninstallCompleted);
    checkInstallComplete(true);
}

void LVToolUninstallItem::uninstallFailed(LVUninstaller*)
{
    tellDelegate(UninstallFailed);
    checkInstallComplete(false);
}

void LVToolUninstallItem::checkInstallComplete(bool success)
{
    LVRowHost* manager = installManager();
    if (!manager)
        return;
    manager->showAlert(success ? LVAlert(QStringLiteral("Uninstallation Completed"),
                                         QStringLiteral("Uninstallation completed successfully."))
                               : LVAlert(QStringLiteral("Uninstallation Failed"),
                                         QStringLiteral("Some products could not be uninstalled, please uninstall "
                                                        "them manually.")));
    setBusy(false);
    _authorization.reset();

    VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
    for (LVInstallItem* row : manager->singleProductInstallItems()) {
        center.postNotification(VMProductEvents::reloadUpdateItem, QVariant::fromValue<QObject*>(row));
        center.postNotification(VMProductEvents::uninstallCompleted, QVariant::fromValue(row->productItem()));
    }
}
