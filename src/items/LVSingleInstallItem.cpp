#include "LVSingleInstallItem.h"
#include "LVProductRowView.h"
#include "catalogue/VMProductEvents.h"
#include "ui_LVSingleInstallItem.h"

#include "LVInstallItemTitleField.h"
#include "LVMoreInfoSingleInstallItem.h"
#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMUtils.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVProductDescription.h"
#include "items/LVProductRowMenu.h"
#include "items/LVRowHost.h"
#include "items/LVRowIcon.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QFileDialog>
#include <QMenu>
#include <QTimer>

namespace {
const QString kFxPlug3 = QStringLiteral("FxPlug3");

LVSingleInstallItem::SavePathProvider& savePathProvider()
{
    static LVSingleInstallItem::SavePathProvider provider;
    return provider;
}

} // namespace

void LVSingleInstallItem::setSavePathProvider(SavePathProvider provider)
{
    savePathProvider() = std::move(provider);
}

LVSingleInstallItem::LVSingleInstallItem(const VMSingleProductItemPtr& productItem)
    : _productItem(productItem), _moreInfoItem(std::make_unique<LVMoreInfoSingleInstallItem>(this))
{
    // The product's operation outlives this row: a row made by a refresh finds it running.
    _operation = LVProductOperations::shared().operationForProduct(productItem);
    LVProductOperation* operation = _operation;
    connect(operation, &LVProductOperation::progressChanged, this, &LVSingleInstallItem::updateProgressDescription);
    connect(operation, &LVProductOperation::installedVersionChanged, this, [this] {
        updateStatus();
        updateDescription();
    });
    followOperation(operation);
    VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
    center.addObserver(this, VMProductEvents::installCompleted,
                       [this](const VMNotification& notification) { installCompletedNotif(notification); });
    center.addObserver(this, VMProductEvents::uninstallCompleted,
                       [this](const VMNotification& notification) { uninstallCompletedNotif(notification); });
}

LVSingleInstallItem::~LVSingleInstallItem()
{
    VMNotificationCenter::defaultCenter().removeObserver(this);
    // The operation goes on without this row; its signals to it end with it.
    releaseView();
}

LVSingleInstallItem* LVSingleInstallItem::initWithSingleProductItem(const VMSingleProductItemPtr& productItem)
{
    if (!productItem) {
        VM_LOG_MESSAGE(QStringLiteral("productItem = nil"));
        return nullptr;
    }
    return new LVSingleInstallItem(productItem);
}

LVSingleInstallItem* LVSingleInstallItem::installItemWithSingleProductItem(const VMSingleProductItemPtr& productItem)
{
    return initWithSingleProductItem(productItem);
}

std::shared_ptr<VMProductItem> LVSingleInstallItem::productItem() const
{
    return _productItem;
}

QString LVSingleInstallItem::installedVersion() const
{
    return _operation->installedVersion();
}

void LVSingleInstallItem::setInstalledVersion(const QString& version)
{
    _operation->setInstalledVersion(version);
}

QString LVSingleInstallItem::title() const
{
    return _productItem->title();
}

bool LVSingleInstallItem::discontinued() const
{
    return _productItem->productDiscontinued();
}

QString LVSingleInstallItem::latestVersionInstallerURL() const
{
    return _productItem->latestVersionInstallerURL();
}

void LVSingleInstallItem::loadView()
{
    LVRowHost* host = installManager();
    _rowView = host ? host->productRowViews().lend() : std::make_unique<LVProductRowView>();
    Ui::LVSingleInstallItem& ui = _rowView->ui();
    QMenu* menu = _rowView->menu();

    _rowView->nameFor(title());
    ui._titleField->setDelegate(this);

    // The menu is filled each time it opens and emptied only after a chosen entry has run.
    connect(menu, &QMenu::aboutToShow, this, [this, menu] { menuWillOpen(menu); });
    connect(menu, &QMenu::aboutToHide, this, [this, menu] {
        QTimer::singleShot(0, this, [this, guarded = QPointer<QMenu>(menu)] { menuDidClose(guarded); });
    });
    connect(ui._downloadButton, &QToolButton::clicked, this, &LVSingleInstallItem::downloadButtonAction);
    connect(ui._moreInfoButton, &QPushButton::clicked, this, &LVSingleInstallItem::showMoreInfo);
    connect(ui._buyButton, &QPushButton::clicked, this, &LVSingleInstallItem::buy);

    updateStatus();
    updateTitle();
    // The details wait until the row is opened.
    _descriptionWritten = false;

    showIcon(QImage());
    LVRowIcon::load(_productItem->productIconURL(), _iconFetch, this, [this](const QImage& image) { showIcon(image); });
}

QWidget* LVSingleInstallItem::view()
{
    if (!_rowView)
        loadView();
    return _rowView->headline();
}

QWidget* LVSingleInstallItem::detailsView()
{
    view();
    if (!_descriptionWritten) {
        _descriptionWritten = true;
        updateDescription();
    }
    return _rowView->details();
}

bool LVSingleInstallItem::canReleaseView() const
{
    if (!_rowView)
        return false;
    // Not while the user works in it, nor while its details are still listed.
    if (_rowView->menu() && _rowView->menu()->isVisible())
        return false;
    const QWidget* focus = QApplication::focusWidget();
    if (focus && (_rowView->headline()->isAncestorOf(focus) || _rowView->details()->isAncestorOf(focus)))
        return false;
    return !_rowView->isDetailsListed();
}

void LVSingleInstallItem::releaseView()
{
    if (!_rowView)
        return;
    // Everything the view shows comes from the product and its operation, so the next row to hold
    // it, or this one when it comes back into sight, shows its own.
    Ui::LVSingleInstallItem& ui = _rowView->ui();
    for (QObject* sender :
         std::initializer_list<QObject*>{_rowView->menu(), ui._downloadButton, ui._moreInfoButton, ui._buyButton})
        disconnect(sender, nullptr, this, nullptr);
    ui._titleField->setDelegate(nullptr);
    _rowView->headline()->hide();
    _rowView->details()->hide();
    if (LVRowHost* host = installManager())
        host->productRowViews().giveBack(std::move(_rowView));
    else
        _rowView.reset();
}

QWidget* LVMoreInfoSingleInstallItem::view()
{
    return _installItem->detailsView();
}

QList<LVOutlineItem*> LVSingleInstallItem::childItems()
{
    return {_moreInfoItem.get()};
}

QSize LVSingleInstallItem::viewSizeHint()
{
    if (_rowView)
        return _rowView->headline()->size();
    // Every headline has the size of the interface file's: measured once, without making a row's view.
    static const QSize headlineSize = [] {
        QWidget panel;
        Ui::LVSingleInstallItem ui;
        ui.setupUi(&panel);
        return QSize(panel.width(), ui._headlineView->minimumHeight());
    }();
    return headlineSize;
}

void LVSingleInstallItem::showIcon(const QImage& image)
{
    if (_rowView)
        _rowView->showIcon(image, title());
}

void LVSingleInstallItem::updateStatus()
{
    const QString installed = installedVersion();
    InstallStatus status = _operation->busyStatus();
    // A package that waits for a run's installation is as good as installing.
    if (status == StatusWaitingForBundle)
        status = StatusInstalling;
    else if (status == StatusNotComputed)
        status =
            installed.isNull() ? StatusNotInstalled : VMInstallStatus::singleProductStatus(*_productItem, installed);
    setInstallStatus(status);

    if (!_rowView)
        return;
    // While a run holds the product the model says what the button may do, and why not.
    LVProductRowState state;
    state.status = status;
    const bool offersInstall =
        status == StatusNotInstalled || status == StatusUpdateAvailable || status == StatusBundlePartlyInstalled;
    state.refusal = _operation->refusal(offersInstall ? LVProductOperation::RowAction::Install
                                                      : LVProductOperation::RowAction::Cancel);
    if (status == StatusDownloading) {
        // A row made mid-download shows how far it has come.
        state.progress = _operation->progress().fraction();
        state.progressDescription = _operation->progressDescription();
    }
    _rowView->showStatus(state);
}

void LVSingleInstallItem::updateProgressDescription()
{
    if (!_rowView)
        return;
    _rowView->showProgressDescription(_operation->progressDescription());
}

void LVSingleInstallItem::updateDescription()
{
    updateTitle();
    if (!_rowView || !_descriptionWritten)
        return;
    if (_rowView->showDetails(*_productItem, installedVersion()) && installManager())
        installManager()->noteRowHeightsChanged();
}

void LVSingleInstallItem::updateTitle()
{
    if (!_rowView)
        return;
    const qint64 newPeriod = installManager() ? installManager()->indicateAsNewProductPeriod() : 14;
    _rowView->showTitle(LVProductDescription::titleHtml(*_productItem, title(), newPeriod));
}

void LVSingleInstallItem::downloadButtonAction()
{
    checkAndDownloadInstallVersion(_productItem->latestVersionItem());
}

void LVSingleInstallItem::downloadVersion(const VMVersionItemPtr& version)
{
    checkAndDownloadInstallVersion(version);
}

void LVSingleInstallItem::checkAndDownloadInstallVersion(const VMVersionItemPtr& version)
{
    if (version && version->containsTag(kFxPlug3) && VMUtils::isArm64()) {
        LVAlert alert(
            QStringLiteral("Install incompatible Version?"),
            QStringLiteral("This version of '%1' cannot be run natively on your hardware, see here for details.")
                .arg(title()));
        alert.addButtonWithTitle(QStringLiteral("Install"));
        alert.addButtonWithTitle(QStringLiteral("Cancel"));
        QPointer<LVSingleInstallItem> self(this);
        alert.addButtonWithTitle(QStringLiteral("More Info"), [self] {
            if (self)
                self->showHelpOnUninstallingDiscontinuedVersions();
        });
        LVRowHost* manager = installManager();
        if (!manager)
            return;
        manager->showAlert(alert, [self, version](int response) {
            if (self && response == LVAlert::alertFirstButtonReturn)
                self->downloadInstallVersion(version);
        });
        return;
    }
    downloadInstallVersion(version);
}

void LVSingleInstallItem::downloadInstallVersion(const VMVersionItemPtr& version)
{
    // The same button cancels a download that runs; a run's download only as the run allows.
    if (_operation->busyStatus() == VMInstallStatus::Downloading) {
        _operation->cancelFromRow();
        return;
    }
    if (!version || !_operation->refusal(LVProductOperation::RowAction::Install).isEmpty())
        return;
    LVProductOperations::shared().install(_productItem, version);
    updateStatus();
}

void LVSingleInstallItem::downloadBegan(Download download)
{
    if (!_operation->isShownDownload(download))
        return;
    updateStatus();
    if (_rowView)
        _rowView->showProgress(0);
}

void LVSingleInstallItem::downloadAdvanced(Download download, double percent)
{
    if (!_operation->isShownDownload(download))
        return;
    updateStatus();
    if (_rowView)
        _rowView->showProgress(percent / 100.0);
    updateProgressDescription();
}

void LVSingleInstallItem::downloadEnded(Download download, bool)
{
    if (download != Download::UninstallScript)
        updateStatus();
}

void LVSingleInstallItem::installBegan()
{
    _showUserAlert = false;
    updateStatus();
}

void LVSingleInstallItem::installEnded(bool succeeded, const VMError& error)
{
    if (succeeded) {
        // The operation confirms next; the announcement brings the alert (checkInstalledVersion). A
        // run over several products has an alert of its own.
        _showUserAlert = !_operation->isPartOfRun();
        updateStatus();
        return;
    }
    VM_LOG_MESSAGE(QStringLiteral("Installer failed: %1").arg(error.description()));
    updateStatus();
    if (error.code() != PrivilegedExecution::Canceled && !_operation->isPartOfRun() && installManager())
        installManager()->showError(error);
}

void LVSingleInstallItem::installCompletedNotif(const VMNotification& notification)
{
    if (concernsProduct(notification, *_productItem))
        checkInstalledVersion(10);
}

bool LVSingleInstallItem::concernsProduct(const VMNotification& notification, const VMSingleProductItem& product)
{
    const std::shared_ptr<VMProductItem> other = VMProductEvents::productOf(notification.object);
    if (!other)
        return false;
    if (other->productID() == product.productID())
        return true;
    return !other->productIdentifier().isNull() && product.allProductIdentifiers().contains(other->productIdentifier());
}

void LVSingleInstallItem::checkInstalledVersion(const QVariant&)
{
    const QVariant temporary = _productItem->propertyForKey(VMProductEvents::temporaryVersionKey);
    if (!temporary.isValid() || temporary.isNull())
        return;
    // The model has taken the version already; the row shows it.
    updateStatus();
    updateDescription();
    if (_showUserAlert) {
        showAlert(
            QStringLiteral("Installation Completed"),
            QStringLiteral("%1 was installed successfully. Please check the help tab if you need help finding the "
                           "plugins, getting started or finding tutorials")
                .arg(title()));
        _showUserAlert = false;
    }
}

void LVSingleInstallItem::downloadRunUninstaller(const QStringList& scriptURLs)
{
    if (scriptURLs.isEmpty())
        return;
    LVProductOperations::shared().uninstall(_productItem, scriptURLs);
}

void LVSingleInstallItem::uninstallEnded(bool succeeded)
{
    // After a success the operation has posted "reloadLVUpdateItem" and "productUninstallCompleted".
    updateStatus();
    if (_operation->isPartOfRun())
        return;
    if (succeeded)
        showAlert(QStringLiteral("Uninstallation Completed"),
                  QStringLiteral("%1 was uninstalled successfully").arg(title()));
    else
        showAlert(
            QStringLiteral("Uninstall Failed"),
            QStringLiteral("Uninstall of %1 failed, please see directions for manual uninstall in the help section")
                .arg(title()));
}

void LVSingleInstallItem::uninstallCompletedNotif(const VMNotification& notification)
{
    if (!concernsProduct(notification, *_productItem))
        return;
    // The model has looked again already.
    VM_LOG_MESSAGE(QStringLiteral("Installed version: %1").arg(installedVersion()));
    updateStatus();
    updateDescription();
}

void LVSingleInstallItem::downloadManually()
{
    const QString source = latestVersionInstallerURL();
    if (source.isEmpty()) {
        VM_LOG_MESSAGE(QStringLiteral("No Source URL"));
        return;
    }
    const QUrl url(source);
    const QString proposed = url.fileName();
    QString path;
    if (savePathProvider())
        path = savePathProvider()(proposed);
    else {
        QWidget* parent = installManager() ? installManager()->window() : nullptr;
        path = QFileDialog::getSaveFileName(parent, QString(),
                                            Platform::systemInfo().downloadsDirectory() + QLatin1Char('/') + proposed);
    }
    if (path.isEmpty())
        return;
    // The row's own download into the user's file; no run's package is touched.
    _operation->startManualDownload(url, path);
    updateStatus();
}

void LVSingleInstallItem::showMoreInfo()
{
    openURL(_productItem->productInfoURL());
}

void LVSingleInstallItem::showDocumentation()
{
    openURL(_productItem->productDocsURL());
}

void LVSingleInstallItem::buy()
{
    openURL(_productItem->productBuyURL());
}

void LVSingleInstallItem::singleClicked(QMouseEvent*, LVInstallItemTitleField*)
{
    if (installManager())
        installManager()->selectInstallItem(this);
}

void LVSingleInstallItem::doubleClicked(QMouseEvent*, LVInstallItemTitleField*)
{
    const uint status = installStatus();
    if (status == StatusNotInstalled || status == StatusUpdateAvailable || status == StatusBundlePartlyInstalled)
        checkAndDownloadInstallVersion(_productItem->latestVersionItem());
}

void LVSingleInstallItem::menuWillOpen(QMenu* menu)
{
    LVInstallItem::menuWillOpen(menu);
    // The first entry only titles a Mac pull-down button; a Qt menu would list it.
    if (menu && !menu->actions().isEmpty())
        menu->actions().first()->setVisible(false);
}

void LVSingleInstallItem::populateContextMenu(QMenu* menu, QEvent*)
{
    if (!menu)
        return;
    QPointer<LVSingleInstallItem> self(this);
    const auto guarded = [self](void (LVSingleInstallItem::*action)()) {
        return [self, action] {
            if (self)
                (self->*action)();
        };
    };
    LVProductRowMenu::Actions actions;
    actions.install = [self](const VMVersionItemPtr& version) {
        if (self)
            self->downloadVersion(version);
    };
    actions.uninstall = [self](const QStringList& scripts) {
        if (self)
            self->downloadRunUninstaller(scripts);
    };
    actions.moreInfo = guarded(&LVSingleInstallItem::showMoreInfo);
    actions.documentation = guarded(&LVSingleInstallItem::showDocumentation);
    actions.buy = guarded(&LVSingleInstallItem::buy);
    actions.downloadManually = guarded(&LVSingleInstallItem::downloadManually);
    LVProductRowMenu::populate(menu, *_productItem, installStatus(), *_operation, actions);
}

QWidget* LVSingleInstallItem::headlineView() const
{
    return _rowView ? _rowView->headline() : nullptr;
}

QWidget* LVSingleInstallItem::moreInfoView() const
{
    return _rowView ? _rowView->details() : nullptr;
}

LVInstallItemTitleField* LVSingleInstallItem::titleField() const
{
    return _rowView ? _rowView->ui()._titleField : nullptr;
}

QLabel* LVSingleInstallItem::statusButton() const
{
    return _rowView ? _rowView->ui()._statusButton : nullptr;
}

QLabel* LVSingleInstallItem::statusTextField() const
{
    return _rowView ? _rowView->ui()._statusTextField : nullptr;
}

QProgressBar* LVSingleInstallItem::downloadProgressBar() const
{
    return _rowView ? _rowView->ui()._downloadProgressBar : nullptr;
}

QToolButton* LVSingleInstallItem::downloadButton() const
{
    return _rowView ? _rowView->ui()._downloadButton : nullptr;
}

QToolButton* LVSingleInstallItem::menuButton() const
{
    return _rowView ? _rowView->ui()._menuButton : nullptr;
}

QTextEdit* LVSingleInstallItem::descriptionTextView() const
{
    return _rowView ? _rowView->ui()._descriptionTextView : nullptr;
}

QPushButton* LVSingleInstallItem::moreInfoButton() const
{
    return _rowView ? _rowView->ui()._moreInfoButton : nullptr;
}
