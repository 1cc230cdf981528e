#include "LVBundleProductInstallItem.h"
#include "catalogue/VMProductEvents.h"
#include "ui_LVBundleProductInstallItem.h"

#include "LVBundleInstallItem.h"
#include "LVInstallItemTitleField.h"
#include "LVStatusImages.h"
#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMUtils.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVRowHost.h"
#include "items/LVRowIcon.h"

#include <QLabel>
#include <QProgressBar>

LVBundleProductInstallItem* LVBundleProductInstallItem::initWithProdcutItem(const VMSingleProductItemPtr& productItem,
                                                                            QObject* parent)
{
    if (!productItem) {
        VM_LOG_MESSAGE(QStringLiteral("productItem = nil"));
        return nullptr;
    }
    return new LVBundleProductInstallItem(productItem, parent);
}

LVBundleProductInstallItem::LVBundleProductInstallItem(const VMSingleProductItemPtr& productItem, QObject* parent)
    : LVInstallItem(parent), _productItem(productItem),
      _operation(LVProductOperations::shared().operationForProduct(productItem))
{
    // The operation outlives this row: a row made by a refresh shows the step it has reached.
    followOperation(_operation);
    connect(_operation, &LVProductOperation::installedVersionChanged, this, [this] { updateStatus(); });
    VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
    center.addObserver(this, VMProductEvents::installCompleted,
                       [this](const VMNotification& notification) { installCompletedNotif(notification); });
    center.addObserver(this, VMProductEvents::uninstallCompleted,
                       [this](const VMNotification& notification) { uninstallCompletedNotif(notification); });
}

LVBundleProductInstallItem::~LVBundleProductInstallItem()
{
    VMNotificationCenter::defaultCenter().removeObserver(this);
    delete _containerView;
}

QString LVBundleProductInstallItem::installedVersion() const
{
    return _operation ? _operation->installedVersion() : QString();
}

void LVBundleProductInstallItem::setInstalledVersion(const QString& version)
{
    if (_operation)
        _operation->setInstalledVersion(version);
}

QString LVBundleProductInstallItem::title() const
{
    return _productItem->title();
}

bool LVBundleProductInstallItem::discontinued() const
{
    return _productItem->productDiscontinued();
}

QWidget* LVBundleProductInstallItem::view()
{
    if (_containerView)
        return _containerView;
    auto* container = new QWidget;
    _ui = std::make_unique<Ui::LVBundleProductInstallItem>();
    _ui->setupUi(container);
    _containerView = container;

    QString title = QStringLiteral("<span style=\"font-family: Helvetica; font-weight: bold; font-size: 13px; "
                                   "color: #ffffff\">%1</span>")
                        .arg(_productItem->title().toHtmlEscaped());
    QString accessibleTitle = _productItem->title();
    if (discontinued()) {
        title += QStringLiteral("<br><span style=\"font-size: 13px; color: #ffd60a\">Discontinued</span>");
        accessibleTitle += QStringLiteral(", Discontinued");
    }
    _ui->_titleField->setAttributedStringValue(title);
    _ui->_titleField->setDelegate(this);
    _ui->_titleField->setAccessibleName(accessibleTitle);
    container->setAccessibleName(_productItem->title());
    _ui->_downloadProgressBar->setValue(0);
    _ui->_downloadProgressBar->hide();
    _shownStatus = StatusNotComputed;
    updateStatus();

    LVRowIcon::load(_productItem->productIconURL(), _iconFetch, this, [this](const QImage& image) {
        if (!image.isNull())
            showIcon(image);
    });
    return _containerView;
}

void LVBundleProductInstallItem::showIcon(const QImage& image)
{
    if (_ui && _containerView)
        _ui->_productIconImageView->setPixmap(QPixmap::fromImage(image));
}

void LVBundleProductInstallItem::updateStatus()
{
    if (!VMDispatch::isMainThread()) {
        VMDispatch::performOnMainThread(this, [this] { updateStatus(); });
        return;
    }
    InstallStatus status = _operation->busyStatus();
    const QString installed = installedVersion();
    if (status == StatusNotComputed)
        status =
            installed.isEmpty() ? StatusNotInstalled : VMInstallStatus::singleProductStatus(*_productItem, installed);
    setInstallStatus(status);
    updateView(status);
    if (_installItem)
        _installItem->updateStatus();
}

void LVBundleProductInstallItem::updateView(InstallStatus status)
{
    if (!_containerView)
        return;
    const uint previous = _shownStatus;
    _shownStatus = status;
    const auto showStatus = [this](const QString& text, const QString& image) {
        _ui->_statusTextField->setText(text);
        _ui->_statusTextField->show();
        _ui->_statusIndicator->setPixmap(LVStatusImages::named(image).pixmap(14, 14));
        _ui->_statusIndicator->setAccessibleDescription(text);
        _ui->_statusIndicator->show();
        _ui->_downloadProgressBar->hide();
    };
    switch (status) {
    case StatusNotInstalled:
        showStatus(QStringLiteral("Not yet installed"), QStringLiteral("NSStatusNone"));
        break;
    case StatusLatestInstalled:
        showStatus(QStringLiteral("Latest version installed"), QStringLiteral("NSStatusAvailable"));
        break;
    case StatusUpdateAvailable:
        showStatus(QStringLiteral("Update available"), QStringLiteral("NSStatusPartiallyAvailable"));
        break;
    case StatusDownloading:
        _ui->_statusTextField->hide();
        _ui->_statusIndicator->hide();
        if (previous != StatusDownloading)
            _ui->_downloadProgressBar->setValue(0);
        _ui->_downloadProgressBar->show();
        break;
    case StatusInstalling:
        _ui->_statusTextField->setText(QStringLiteral("Installing..."));
        _ui->_statusTextField->show();
        _ui->_downloadProgressBar->hide();
        break;
    default:
        // 7: the row keeps what it showed.
        break;
    }
}

bool LVBundleProductInstallItem::waitingToInstall() const
{
    return _operation && _operation->phase() == LVProductOperation::Phase::Downloaded;
}

bool LVBundleProductInstallItem::isDownloading() const
{
    return _operation && _operation->isDownloading();
}

bool LVBundleProductInstallItem::isInstalling() const
{
    // Until the announcement the row still reads as installing.
    return _operation && (_operation->isInstalling() || _operation->phase() == LVProductOperation::Phase::Confirming);
}

bool LVBundleProductInstallItem::isUninstalling() const
{
    return _operation && _operation->isUninstalling();
}

bool LVBundleProductInstallItem::canUninstall()
{
    if (LVProductOperation::uninstallScriptURLs(*_productItem).isEmpty())
        return false;
    const uint status = installStatus();
    return status == StatusLatestInstalled || status == StatusUpdateAvailable;
}

void LVBundleProductInstallItem::checkInstalledVersion(int)
{
    const QVariant version = _productItem->propertyForKey(VMProductEvents::temporaryVersionKey);
    VM_LOG_MESSAGE(QStringLiteral("%1: %2").arg(VMProductEvents::temporaryVersionKey, version.toString()));
    if (version.toString().isEmpty())
        return;
    // The model has taken the version already.
    updateStatus();
}

bool LVBundleProductInstallItem::concernsThisProduct(const VMNotification& notification) const
{
    const auto product = VMProductEvents::productOf(notification.object);
    return product && product->productID() == _productItem->productID();
}

void LVBundleProductInstallItem::installCompletedNotif(const VMNotification& notification)
{
    if (!concernsThisProduct(notification))
        return;
    checkInstalledVersion(10);
}

void LVBundleProductInstallItem::uninstallCompletedNotif(const VMNotification& notification)
{
    if (!concernsThisProduct(notification))
        return;
    // The model has looked again already.
    updateStatus();
}

// ---- Progress --------------------------------------------------------------------------------

void LVBundleProductInstallItem::downloadAdvanced(Download download, double percent)
{
    if (!_operation->isShownDownload(download))
        return;
    updateStatus();
    // Negative while the size is unknown.
    if (_containerView && percent >= 0)
        _ui->_downloadProgressBar->setValue(qBound(0, int(percent), 100));
}

void LVBundleProductInstallItem::downloadEnded(Download download, bool)
{
    if (download != Download::Installer)
        return;
    if (_containerView)
        _ui->_downloadProgressBar->hide();
    updateStatus();
}

void LVBundleProductInstallItem::installEnded(bool succeeded, const VMError& error)
{
    if (succeeded)
        return;
    VM_LOG_MESSAGE(QStringLiteral("Installer failed: %1, %2").arg(_productItem->title(), error.description()));
    updateStatus();
}

// ---- Outlets ---------------------------------------------------------------------------------

QWidget* LVBundleProductInstallItem::containerView() const
{
    return _containerView;
}

LVInstallItemTitleField* LVBundleProductInstallItem::titleField() const
{
    return _containerView ? _ui->_titleField : nullptr;
}

QProgressBar* LVBundleProductInstallItem::downloadProgressBar() const
{
    return _containerView ? _ui->_downloadProgressBar : nullptr;
}

QLabel* LVBundleProductInstallItem::statusIndicator() const
{
    return _containerView ? _ui->_statusIndicator : nullptr;
}

QLabel* LVBundleProductInstallItem::statusTextField() const
{
    return _containerView ? _ui->_statusTextField : nullptr;
}

QLabel* LVBundleProductInstallItem::productIconImageView() const
{
    return _containerView ? _ui->_productIconImageView : nullptr;
}
