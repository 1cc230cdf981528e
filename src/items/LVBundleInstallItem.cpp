#include "LVBundleInstallItem.h"
#include "ui_LVBundleInstallItem.h"

#include "LVBundleProductInstallItem.h"
#include "LVInstallItemTitleField.h"
#include "LVStatusImages.h"
#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "items/LVRowHost.h"
#include "widgets/LVIconCache.h"

#include <QEvent>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QToolButton>

namespace {
template <typename T> QList<T*> unguarded(const std::optional<QList<T*>>& list)
{
    return list ? *list : QList<T*>();
}
} // namespace

LVBundleInstallItem*
LVBundleInstallItem::installItemWithBundleProductItem(const VMBundleProductItemPtr& bundleProductItem,
                                                      const std::shared_ptr<VMProductsCollection>& collection)
{
    return initWithBundleProductItem(bundleProductItem, collection);
}

LVBundleInstallItem*
LVBundleInstallItem::initWithBundleProductItem(const VMBundleProductItemPtr& bundleProductItem,
                                               const std::shared_ptr<VMProductsCollection>& collection)
{
    if (!bundleProductItem) {
        VM_LOG_MESSAGE(QStringLiteral("bundleProductItem = nil"));
        return nullptr;
    }
    if (!collection) {
        VM_LOG_MESSAGE(QStringLiteral("productsCollection = nil"));
        return nullptr;
    }
    return new LVBundleInstallItem(bundleProductItem, collection);
}

LVBundleInstallItem::LVBundleInstallItem(const VMBundleProductItemPtr& bundleProductItem,
                                         const std::shared_ptr<VMProductsCollection>& collection)
    : _bundleProductItem(bundleProductItem)
{
    // Single blanks separate the IDs; doubled blanks leave empty pieces that match nothing.
    const QStringList ids = bundleProductItem->bundleIncludedProductIDs().split(QLatin1Char(' '));
    for (const VMProductItemPtr& product : collection->productItemsWithProductIDs(ids)) {
        const auto single = std::dynamic_pointer_cast<VMSingleProductItem>(product);
        if (!single)
            continue;
        if (LVBundleProductInstallItem* row = LVBundleProductInstallItem::initWithProdcutItem(single, this)) {
            row->setInstallItem(this);
            _productInstallItems.append(row);
        }
    }
}

LVBundleInstallItem::~LVBundleInstallItem()
{
    delete _iconDownloader;
    delete _headlineView;
}

bool LVBundleInstallItem::event(QEvent* event)
{
    if (event->type() == QEvent::DeferredDelete && _backgroundPhaseRunning) {
        _deleteWhenPhaseEnds = true;
        return true;
    }
    return LVInstallItem::event(event);
}

QString LVBundleInstallItem::checkOSXVersion()
{
    return VMUtils::checkOSXVersion();
}

QString LVBundleInstallItem::checkInstalledBundleVersion(const QString& bundleIdentifier)
{
    return VMUtils::checkInstalledBundleVersion(bundleIdentifier);
}

QDateTime LVBundleInstallItem::currentDate()
{
    return VMUtils::currentDate();
}

QString LVBundleInstallItem::title() const
{
    return _bundleProductItem->title();
}

bool LVBundleInstallItem::discontinued() const
{
    return _bundleProductItem->bundleDiscontinued();
}

void LVBundleInstallItem::setInstallManager(LVRowHost* manager)
{
    LVInstallItem::setInstallManager(manager);
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems))
        row->setInstallManager(manager);
}

QList<LVOutlineItem*> LVBundleInstallItem::childItems()
{
    const bool showDiscontinued = LVPreferences::sharedPreferences()
                                      ->propertyForKey(QLatin1String(LVPreferences::showDiscontinuedProducts))
                                      .toBool();
    QList<LVOutlineItem*> children;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems)) {
        if (showDiscontinued || !row->discontinued())
            children.append(row);
    }
    return children;
}

QWidget* LVBundleInstallItem::view()
{
    if (_headlineView)
        return _headlineView;
    auto* headline = new QWidget;
    _ui = std::make_unique<Ui::LVBundleInstallItem>();
    _ui->setupUi(headline);
    _headlineView = headline;

    QString title = QStringLiteral("<span style=\"font-weight: bold; font-size: 13px; color: #ffffff\">%1</span>")
                        .arg(_bundleProductItem->title().toHtmlEscaped());
    QString accessibleTitle = _bundleProductItem->title();
    if (discontinued()) {
        title += QStringLiteral("<span style=\"font-weight: bold; font-size: 13px; color: #ffd60a\"> "
                                "Discontinued</span>");
        accessibleTitle += QStringLiteral(" Discontinued");
    }
    _ui->_titleField->setAttributedStringValue(title);
    _ui->_titleField->setDelegate(this);
    _ui->_titleField->setAccessibleName(accessibleTitle);
    headline->setAccessibleName(_bundleProductItem->title());
    _ui->_downloadProgressBar->setValue(0);
    _ui->_downloadProgressBar->hide();
    _ui->_moreInfoButton->setEnabled(!_bundleProductItem->bundleInfoURL().isEmpty());
    _ui->_buyButton->setEnabled(!_bundleProductItem->bundleBuyURL().isEmpty());

    _menu = new QMenu(headline);
    _ui->_menuButton->setMenu(_menu);
    connect(_menu, &QMenu::aboutToShow, this, [this] { menuWillOpen(_menu); });
    // The chosen entry fires after the menu has hidden, so it is emptied only afterwards.
    connect(_menu, &QMenu::aboutToHide, this,
            [this] { VMDispatch::performOnMainThread(this, [this] { menuDidClose(_menu); }); });
    connect(_ui->_downloadButton, &QToolButton::clicked, this, [this] { checkAndStartDownloadAction(); });
    connect(_ui->_moreInfoButton, &QPushButton::clicked, this, [this] { showMoreInfo(); });
    connect(_ui->_buyButton, &QPushButton::clicked, this, [this] { buy(); });

    updateStatus();

    const QUrl iconURL(_bundleProductItem->bundleIconURL());
    const QImage cached = LVIconCache::cachedIconForURL(iconURL);
    if (!cached.isNull()) {
        showIcon(cached);
    } else if (!_iconDownloader && !_bundleProductItem->bundleIconURL().isEmpty()) {
        if (LVDownloader* downloader = LVDownloader::downloaderWithURL(iconURL, this)) {
            downloader->setIdentifier(1);
            downloader->setDelegate(this);
            if (downloader->start())
                _iconDownloader = downloader;
            else
                delete downloader;
        }
    }
    return _headlineView;
}

void LVBundleInstallItem::showIcon(const QImage& image)
{
    if (_headlineView)
        _ui->_productIconImageView->setPixmap(QPixmap::fromImage(image));
}

void LVBundleInstallItem::downloadCompleted(LVDownloader* downloader)
{
    if (downloader->identifier() != 1)
        return;
    QImage image;
    if (image.loadFromData(downloader->data())) {
        LVIconCache::setCachedIcon(image, QUrl(_bundleProductItem->bundleIconURL()));
        showIcon(image);
    }
    _iconDownloader = nullptr;
    downloader->deleteLater();
}

void LVBundleInstallItem::downloadFailed(LVDownloader* downloader)
{
    if (downloader->identifier() != 1)
        return;
    _iconDownloader = nullptr;
    downloader->deleteLater();
}

// ---- Status ----------------------------------------------------------------------------------

void LVBundleInstallItem::updateStatus()
{
    if (!VMDispatch::isMainThread()) {
        VMDispatch::performOnMainThread(this, [this] { updateStatus(); });
        return;
    }
    QList<uint> statuses;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems))
        statuses.append(row->installStatus());
    const uint status = VMInstallStatus::bundleStatus(statuses);
    setInstallStatus(status);
    updateView(status);
}

void LVBundleInstallItem::updateView(uint status)
{
    if (!_headlineView)
        return;
    QToolButton* button = _ui->_downloadButton;
    QProgressBar* bar = _ui->_downloadProgressBar;
    const auto showStatus = [this](const QString& text, const QString& image) {
        _ui->_statusTextField->setText(text);
        _ui->_statusButton->setIcon(LVStatusImages::named(image));
        _ui->_statusButton->setAccessibleDescription(text);
        _ui->_statusButton->show();
    };
    const auto offerDownload = [&] {
        button->setIcon(LVStatusImages::named(QStringLiteral("NSTouchBarDownloadTemplate")));
        button->setToolTip(QStringLiteral("Download & Install"));
        button->setAccessibleName(QStringLiteral("Download & Install"));
        button->setEnabled(true);
        button->show();
        bar->hide();
    };
    const auto showStop = [&](bool enabled) {
        button->setIcon(LVStatusImages::named(QStringLiteral("NSStopProgressFreestandingTemplate")));
        button->setToolTip(QStringLiteral("Cancel Download"));
        button->setAccessibleName(QStringLiteral("Cancel Download"));
        button->setEnabled(enabled);
        button->show();
    };
    switch (status) {
    case StatusNotInstalled:
        showStatus(QStringLiteral("Not yet installed"), QStringLiteral("NSStatusNone"));
        offerDownload();
        break;
    case StatusLatestInstalled:
        showStatus(QStringLiteral("Latest versions installed"), QStringLiteral("NSStatusAvailable"));
        button->hide();
        bar->setRange(0, 100);
        bar->hide();
        break;
    case StatusBundlePartlyInstalled:
        showStatus(QStringLiteral("Bundle not fully installed"), QStringLiteral("NSStatusPartiallyAvailable"));
        offerDownload();
        break;
    case StatusDownloading:
        _ui->_statusTextField->setText(QStringLiteral("Downloading"));
        showStop(true);
        // Indeterminate: a busy bar that animates for as long as it is shown.
        bar->setRange(0, 0);
        bar->show();
        break;
    case StatusInstalling:
    case StatusWaitingForBundle:
        _ui->_statusTextField->setText(QStringLiteral("Installing..."));
        showStop(false);
        bar->setRange(0, 100);
        bar->hide();
        break;
    default:
        break;
    }
}

// ---- Clicks, menu and links ------------------------------------------------------------------

void LVBundleInstallItem::doubleClicked(QMouseEvent*, LVInstallItemTitleField*)
{
    const uint status = installStatus();
    if (status == StatusNotInstalled || status == StatusUpdateAvailable || status == StatusBundlePartlyInstalled)
        checkAndStartDownloadAction();
}

void LVBundleInstallItem::singleClicked(QMouseEvent*, LVInstallItemTitleField*)
{
    if (LVRowHost* manager = installManager())
        manager->selectInstallItem(this);
}

void LVBundleInstallItem::populateContextMenu(QMenu* menu, QEvent*)
{
    const QString installTitle =
        installStatus() == StatusLatestInstalled ? QStringLiteral("Reinstall") : QStringLiteral("Install");
    connect(menu->addAction(installTitle), &QAction::triggered, this, [this] { checkAndStartDownloadAction(); });

    menu->addSeparator();
    QAction* uninstall = menu->addAction(QStringLiteral("Uninstall"));
    bool canUninstall = false;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems))
        canUninstall = canUninstall || row->canUninstall();
    uninstall->setEnabled(canUninstall);
    connect(uninstall, &QAction::triggered, this, [this] { startUninstalling(); });

    menu->addSeparator();
    const auto link = [&](const QString& title, const QString& url, void (LVBundleInstallItem::*open)()) {
        QAction* action = menu->addAction(title);
        action->setEnabled(!url.isEmpty());
        connect(action, &QAction::triggered, this, [this, open] { (this->*open)(); });
    };
    link(QStringLiteral("More Info..."), _bundleProductItem->bundleInfoURL(), &LVBundleInstallItem::showMoreInfo);
    link(QStringLiteral("Documentation..."), _bundleProductItem->bundleDocsURL(),
         &LVBundleInstallItem::showDocumentation);
    link(QStringLiteral("Buy..."), _bundleProductItem->bundleBuyURL(), &LVBundleInstallItem::buy);
}

void LVBundleInstallItem::showMoreInfo()
{
    openURL(_bundleProductItem->bundleInfoURL());
}

void LVBundleInstallItem::showDocumentation()
{
    openURL(_bundleProductItem->bundleDocsURL());
}

void LVBundleInstallItem::buy()
{
    openURL(_bundleProductItem->bundleBuyURL());
}

// ---- Download phase --------------------------------------------------------------------------

void LVBundleInstallItem::checkAndStartDownloadAction()
{
    bool needsNativeWarning = false;
    if (VMUtils::isArm64()) {
        for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems)) {
            const VMVersionItemPtr latest = row->singleProductItem()->latestVersionItem();
            needsNativeWarning = needsNativeWarning || (latest && latest->containsTag(QStringLiteral("FxPlug3")));
        }
    }
    if (!needsNativeWarning) {
        startDownload();
        return;
    }
    LVAlert alert(QStringLiteral("Install incompatible Version?"),
                  QStringLiteral("Some products in this bundle cannot be run natively on your hardware, see here for "
                                 "details."));
    alert.addButtonWithTitle(QStringLiteral("Install"));
    alert.addButtonWithTitle(QStringLiteral("Cancel"));
    QPointer<LVBundleInstallItem> self(this);
    alert.addButtonWithTitle(QStringLiteral("More Info"), [self] {
        if (self)
            self->showHelpOnUninstallingDiscontinuedVersions();
    });
    LVRowHost* manager = installManager();
    if (!manager)
        return;
    manager->showAlert(alert, [self](int response) {
        if (self && response == LVAlert::alertFirstButtonReturn)
            self->startDownload();
    });
}

void LVBundleInstallItem::startDownload()
{
    if (isDownloading()) {
        cancelDownload();
        return;
    }
    _itemsToDownload.emplace();
    _busyItems.emplace();
    _failedItems.emplace();
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems)) {
        if (row->installStatus() == StatusLatestInstalled)
            continue;
        if (!_busyItems->isEmpty()) {
            _itemsToDownload->append(row);
            continue;
        }
        _busyItems->append(row);
        if (!row->startDownloadingLatestVersion()) {
            _busyItems->removeAll(row);
            _failedItems->append(row);
            VM_LOG_MESSAGE(QStringLiteral("download failed"));
            cancelDownload();
            return;
        }
    }
    _downloadCancelled = false;
    // The button turns into a stop button at once, before the first byte arrives.
    updateStatus();
}

bool LVBundleInstallItem::startQueued(LVBundleProductInstallItem* row)
{
    _itemsToDownload->removeAll(row);
    _busyItems->append(row);
    if (row->startDownloadingLatestVersion())
        return true;
    _busyItems->removeAll(row);
    _failedItems->append(row);
    VM_LOG_MESSAGE(QStringLiteral("download failed"));
    cancelDownload();
    return false;
}

void LVBundleInstallItem::cancelDownload()
{
    // First, so that the failures the cancelled downloads report raise no alert.
    _downloadCancelled = true;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems))
        row->cancelDownloading();
    updateStatus();
}

void LVBundleInstallItem::cleanUp()
{
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems))
        row->cleanUp();
    updateStatus();
}

bool LVBundleInstallItem::isDownloading() const
{
    return std::any_of(_productInstallItems.begin(), _productInstallItems.end(),
                       [](LVBundleProductInstallItem* row) { return row->isDownloading(); });
}

bool LVBundleInstallItem::isInstalling() const
{
    return std::any_of(_productInstallItems.begin(), _productInstallItems.end(),
                       [](LVBundleProductInstallItem* row) { return row->isInstalling(); });
}

bool LVBundleInstallItem::isUninstalling() const
{
    return std::any_of(_productInstallItems.begin(), _productInstallItems.end(),
                       [](LVBundleProductInstallItem* row) { return row->isUninstalling(); });
}

QList<LVBundleProductInstallItem*> LVBundleInstallItem::itemsToDownload() const
{
    return unguarded(_itemsToDownload);
}

QList<LVBundleProductInstallItem*> LVBundleInstallItem::busyItems() const
{
    return unguarded(_busyItems);
}

QList<LVBundleProductInstallItem*> LVBundleInstallItem::failedItems() const
{
    return unguarded(_failedItems);
}

void LVBundleInstallItem::productDownloadStarted(LVBundleProductInstallItem*)
{
    updateStatus();
}

void LVBundleInstallItem::productDownloadProgress(double, LVBundleProductInstallItem*)
{
    qint64 current = 0;
    qint64 expected = 0;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems)) {
        current += row->currentInstallerDownloadFileSize();
        expected += row->expectedInstallerFileSize();
    }
    _downloadProgressValue = expected > 0 ? int(current * 100 / expected) : 0;
    if (_headlineView) {
        _ui->_downloadProgressBar->setValue(_downloadProgressValue);
        _ui->_downloadProgressBar->setAccessibleDescription(QStringLiteral("%1%").arg(_downloadProgressValue));
    }
}

void LVBundleInstallItem::productDownloadCompleted(LVBundleProductInstallItem* item)
{
    VM_LOG_MESSAGE(QStringLiteral("Product Download completed: %1").arg(item->title()));
    updateStatus();
    if (!_itemsToDownload)
        return;
    if (_itemsToDownload->isEmpty()) {
        if (!isDownloading()) {
            _backgroundPhaseRunning = true;
            VMDispatch::performInBackground([this] { runInstallation(); });
        }
        return;
    }
    startQueued(_itemsToDownload->first());
}

void LVBundleInstallItem::productDownloadFailed(LVBundleProductInstallItem* item)
{
    VM_LOG_ERROR(QStringLiteral("Product Download FAILED: %1").arg(item->title()));
    if (_downloadCancelled) {
        updateStatus();
        return;
    }
    cancelDownload();
    updateStatus();
    showAlert(QStringLiteral("Download Failed"),
              QStringLiteral("Error downloading %1, please wait a few minutes and try again").arg(item->title()));
}

// ---- Installation phase ----------------------------------------------------------------------

void LVBundleInstallItem::runInstallation()
{
    // Background thread: one authorization, every waiting product in bundle order.
    bool granted = false;
    {
        LVAdminAuthorization authorization(LVInstaller::defaultAuthorizationFlags());
        granted = authorization.isGranted();
        if (granted) {
            for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems))
                row->runInstallerWithAuthorization(authorization.authorizationRef());
        }
    }
    VMDispatch::performOnMainThread(this, [this, granted] {
        if (!granted)
            cleanUp();
        updateStatus();
        backgroundPhaseEnded();
    });
}

void LVBundleInstallItem::backgroundPhaseEnded()
{
    _backgroundPhaseRunning = false;
    emit backgroundPhaseFinished();
    if (_deleteWhenPhaseEnds)
        deleteLater();
}

void LVBundleInstallItem::productInstallStarted(LVBundleProductInstallItem*)
{
    updateStatus();
}

void LVBundleInstallItem::productInstallCompleted(LVBundleProductInstallItem* item)
{
    VM_LOG_MESSAGE(QStringLiteral("Product Install Completed: %1").arg(item->title()));
    if (!_busyItems)
        return;
    _busyItems->removeAll(item);
    if (_busyItems->isEmpty()) {
        allProductInstallsFinished();
        updateStatus();
    }
}

void LVBundleInstallItem::productInstallFailed(LVBundleProductInstallItem* item)
{
    if (!_busyItems)
        return;
    _failedItems->append(item);
    _busyItems->removeAll(item);
    if (_busyItems->isEmpty()) {
        allProductInstallsFinished();
        updateStatus();
    }
}

void LVBundleInstallItem::allProductInstallsFinished()
{
    if (_busyItems) {
        if (!_failedItems->isEmpty())
            showAlert(QStringLiteral("Installation Failed"),
                      QStringLiteral("One or more products of '%1' could not be installed. Please try the individual "
                                     "product installer for this product")
                          .arg(title()));
        else
            showAlert(QStringLiteral("Installation Completed"),
                      QStringLiteral("%1 was installed successfully").arg(title()));
    }
    _itemsToDownload.reset();
    _busyItems.reset();
    _failedItems.reset();
}

// ---- Uninstall -------------------------------------------------------------------------------

void LVBundleInstallItem::startUninstalling()
{
    if (_backgroundPhaseRunning)
        return;
    // What can be uninstalled is decided here, where the rows' statuses live; the background
    // thread only runs the scripts. Every chosen row counts as busy from the start, so that an
    // early finisher can't end the operation while later ones are still to come.
    QList<LVBundleProductInstallItem*> items;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems)) {
        if (row->canUninstall())
            items.append(row);
    }
    _busyItems = items;
    _failedItems.emplace();
    _backgroundPhaseRunning = true;
    VMDispatch::performInBackground([this, items] { _runUninstall(items); });
}

void LVBundleInstallItem::_runUninstall(const QList<LVBundleProductInstallItem*>& items)
{
    bool granted = false;
    {
        LVAdminAuthorization authorization(LVInstaller::defaultAuthorizationFlags());
        granted = authorization.isGranted();
        if (granted) {
            for (LVBundleProductInstallItem* row : items) {
                if (!row->runUninstallerWithAuthorization(authorization.authorizationRef()))
                    VMDispatch::performOnMainThread(this, [this, row] { productUninstallFailed(row); });
            }
        }
    }
    VMDispatch::performOnMainThread(this, [this, granted] {
        if (!granted) {
            // A refused right ends the uninstallation without a word.
            _busyItems.reset();
            _failedItems.reset();
        }
        updateStatus();
        backgroundPhaseEnded();
    });
}

void LVBundleInstallItem::productUninstallStarted(LVBundleProductInstallItem*)
{
    updateStatus();
}

void LVBundleInstallItem::productUninstallCompleted(LVBundleProductInstallItem* item)
{
    VM_LOG_MESSAGE(QStringLiteral("Product Uninstall Completed: %1").arg(item->title()));
    if (!_busyItems)
        return;
    _busyItems->removeAll(item);
    if (_busyItems->isEmpty()) {
        allProductUninstallsFinished();
        updateStatus();
    }
}

void LVBundleInstallItem::productUninstallFailed(LVBundleProductInstallItem* item)
{
    if (!_busyItems)
        return;
    _failedItems->append(item);
    _busyItems->removeAll(item);
    if (_busyItems->isEmpty()) {
        allProductUninstallsFinished();
        updateStatus();
    }
}

void LVBundleInstallItem::allProductUninstallsFinished()
{
    if (_failedItems && !_failedItems->isEmpty())
        showAlert(QStringLiteral("Uninstallation Failed"),
                  QStringLiteral("One or more of %1 could not be uninstalled").arg(title()));
    else
        showAlert(QStringLiteral("Uninstallation Completed"),
                  QStringLiteral("%1 was uninstalled successfully").arg(title()));
    _itemsToDownload.reset();
    _busyItems.reset();
    _failedItems.reset();
}

// ---- Outlets ---------------------------------------------------------------------------------

QWidget* LVBundleInstallItem::headlineView() const
{
    return _headlineView;
}

LVInstallItemTitleField* LVBundleInstallItem::titleField() const
{
    return _headlineView ? _ui->_titleField : nullptr;
}

QProgressBar* LVBundleInstallItem::downloadProgressBar() const
{
    return _headlineView ? _ui->_downloadProgressBar : nullptr;
}

QToolButton* LVBundleInstallItem::statusButton() const
{
    return _headlineView ? _ui->_statusButton : nullptr;
}

QLabel* LVBundleInstallItem::statusTextField() const
{
    return _headlineView ? _ui->_statusTextField : nullptr;
}

QToolButton* LVBundleInstallItem::menuButton() const
{
    return _headlineView ? _ui->_menuButton : nullptr;
}

QToolButton* LVBundleInstallItem::downloadButton() const
{
    return _headlineView ? _ui->_downloadButton : nullptr;
}

QLabel* LVBundleInstallItem::productIconImageView() const
{
    return _headlineView ? _ui->_productIconImageView : nullptr;
}
