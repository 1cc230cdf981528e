#include "LVToolUninstallItem.h"
#include "catalogue/VMProductEvents.h"
#include "ui_LVToolUninstallItem.h"

#include "LVToolUninstallItemDelegate.h"
#include "catalogue/LVServers.h"
#include "catalogue/VMProductItem.h"
#include "catalogue/VMSingleProductItem.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
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
    const QList<VMSingleProductItemPtr> catalogue = manager->singleProducts();
    if (!LVProductOperations::shared().isAnyInstalled(catalogue)) {
        manager->showAlert(LVAlert(QStringLiteral("No Products Found"),
                                   QStringLiteral("No products to uninstall found. Please uninstall the products "
                                                  "manually as needed.")));
        return;
    }
    QList<LVProductBatch::Item> products;
    for (const VMSingleProductItemPtr& product : catalogue)
        products.append({product, nullptr, QString()});
    LVProductBatch::Policy policy;
    policy.script = scriptURL;
    // A refused password leaves the tool busy, as a failed download does.
    policy.refusedAuthorization = LVProductBatch::Policy::OnFailure::Stall;
    policy.createFailureLog = LVAdminAuthorization::CreateFailureLog::ExtendedLoggingOnly;
    policy.holderTitle = title();
    const QString runKey = QStringLiteral("LVToolUninstallItem");
    // A run that stalled on its download or the password gives way to a new one.
    if (LVProductBatch* stalled = LVProductOperations::shared().batch(runKey); stalled && stalled->isStalled())
        delete stalled;
    LVProductBatch* run =
        LVProductOperations::shared().makeBatch(runKey, LVProductBatch::Kind::TotalUninstall, products, policy);
    if (!run)
        return;
    connect(run, &LVProductBatch::scriptStepChanged, this, &LVToolUninstallItem::scriptStepChanged);
    if (!run->start())
        return;
    setBusy(true);
}

void LVToolUninstallItem::scriptStepChanged(LVProductBatch::ScriptStep step)
{
    tellDelegate(uint(step));
    switch (step) {
    case LVProductBatch::ScriptStep::DownloadFailed:
        // The tool stays busy: the indicator keeps turning and the button stays off.
        showErrorOccuredAlert();
        break;
    case LVProductBatch::ScriptStep::UninstallCompleted:
        checkInstallComplete(true);
        break;
    case LVProductBatch::ScriptStep::UninstallFailed:
        checkInstallComplete(false);
        break;
    default:
        break;
    }
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

    VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
    for (LVInstallItem* row : manager->singleProductInstallItems()) {
        center.postNotification(VMProductEvents::reloadUpdateItem, QVariant::fromValue<QObject*>(row));
        center.postNotification(VMProductEvents::uninstallCompleted, QVariant::fromValue(row->productItem()));
    }
}
