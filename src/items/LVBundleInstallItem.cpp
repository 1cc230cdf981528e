#include "LVBundleInstallItem.h"
#include "ui_LVBundleInstallItem.h"

#include "LVBundleProductInstallItem.h"
#include "LVInstallItemTitleField.h"
#include "LVStatusImages.h"
#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "engines/LVProductOperation.h"
#include "engines/LVProductOperations.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "items/LVRowHost.h"
#include "items/LVRowIcon.h"

#include <QEvent>
#include <QLabel>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QToolButton>

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
    for (const VMSingleProductItemPtr& single : collection->bundleMembers(*bundleProductItem)) {
        if (LVBundleProductInstallItem* row = LVBundleProductInstallItem::initWithProdcutItem(single, this)) {
            row->setInstallItem(this);
            _productInstallItems.append(row);
        }
    }
    // A row made by a refresh follows the run that its predecessor started.
    observe(LVProductOperations::shared().batch(runKey()));
}

LVBundleInstallItem::~LVBundleInstallItem()
{
    delete _headlineView;
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

    LVRowIcon::load(_bundleProductItem->bundleIconURL(), _iconFetch, this, [this](const QImage& image) {
        if (!image.isNull())
            showIcon(image);
    });
    return _headlineView;
}

void LVBundleInstallItem::showIcon(const QImage& image)
{
    if (_headlineView)
        _ui->_productIconImageView->setPixmap(QPixmap::fromImage(image));
}

// ---- Status ----------------------------------------------------------------------------------

void LVBundleInstallItem::updateStatus()
{
    if (!VMDispatch::isMainThread()) {
        VMDispatch::performOnMainThread(this, [this] { updateStatus(); });
        return;
    }
    // A row computing its first status reports back here.
    if (_computingStatus)
        return;
    QList<uint> statuses;
    _computingStatus = true;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems))
        statuses.append(row->installStatus());
    _computingStatus = false;
    const InstallStatus status = VMInstallStatus::bundleStatus(statuses);
    setInstallStatus(status);
    updateView(status);
}

void LVBundleInstallItem::updateView(InstallStatus status)
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
        button->setAccessibleDescription(QString());
        button->setEnabled(true);
        button->show();
        bar->hide();
    };
    const auto showStop = [&](bool enabled) {
        button->setIcon(LVStatusImages::named(QStringLiteral("NSStopProgressFreestandingTemplate")));
        button->setToolTip(QStringLiteral("Cancel Download"));
        button->setAccessibleName(QStringLiteral("Cancel Download"));
        button->setAccessibleDescription(QString());
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
    case StatusDownloading: {
        _ui->_statusTextField->setText(QStringLiteral("Downloading"));
        // Only the bundle's own run is its to cancel; a member fetched by other work is not.
        const bool own = _run && _run->isCancellable();
        showStop(own);
        button->setAccessibleDescription(
            own ? QString() : QStringLiteral("A product of this bundle is being downloaded by other work."));
        // Indeterminate: a busy bar that animates for as long as it is shown.
        bar->setRange(0, 0);
        bar->show();
        break;
    }
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

QString LVBundleInstallItem::runKey() const
{
    return QStringLiteral("bundle:") + _bundleProductItem->productID();
}

void LVBundleInstallItem::startDownload()
{
    // The button toggles to cancel the bundle's own run; a member busy elsewhere is joined.
    if (_run) {
        if (_run->isCancellable())
            cancelDownload();
        return;
    }
    QList<LVProductBatch::Item> items;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems)) {
        if (row->installStatus() != StatusLatestInstalled)
            items.append({row->singleProductItem(), row->singleProductItem()->latestVersionItem(), QString()});
    }
    // Every product at its latest version: a reinstall does nothing.
    if (items.isEmpty())
        return;
    LVProductBatch::Policy policy;
    // One failed download ends the whole operation; so does a refused password.
    policy.downloadFailure = LVProductBatch::Policy::OnFailure::Abandon;
    policy.refusedAuthorization = LVProductBatch::Policy::OnFailure::Abandon;
    // The system needs a moment to see a new plug-in before the rows look for it.
    policy.secondsBeforeAnnouncement = 2.0;
    policy.holderTitle = title();
    // A product row's Cancel is the bundle's cancel.
    policy.rowsMayCancel = true;
    LVProductBatch* run =
        LVProductOperations::shared().makeBatch(runKey(), LVProductBatch::Kind::Install, items, policy);
    if (!run)
        return;
    _downloadCancelled = false;
    observe(run);
    run->start();
    // The button turns into a stop button at once, before the first byte arrives.
    updateStatus();
}

void LVBundleInstallItem::observe(LVProductBatch* run)
{
    if (!run)
        return;
    _run = run;
    connect(run, &LVProductBatch::stateChanged, this, [this] { updateStatus(); });
    connect(run, &LVProductBatch::progressChanged, this, &LVBundleInstallItem::showProgress);
    connect(run, &LVProductBatch::ended, this, &LVBundleInstallItem::runEnded);
}

void LVBundleInstallItem::showProgress()
{
    const qint64 expected = _run ? _run->expectedBytes() : 0;
    _downloadProgressValue = expected > 0 ? int(_run->receivedBytes() * 100 / expected) : 0;
    if (_headlineView) {
        _ui->_downloadProgressBar->setValue(_downloadProgressValue);
        _ui->_downloadProgressBar->setAccessibleDescription(QStringLiteral("%1%").arg(_downloadProgressValue));
    }
}

void LVBundleInstallItem::cancelDownload()
{
    // First, so that the failures the cancelled downloads report raise no alert.
    _downloadCancelled = true;
    if (_run)
        _run->cancel();
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

LVBundleProductInstallItem* LVBundleInstallItem::rowForProduct(const QString& productID) const
{
    for (LVBundleProductInstallItem* row : _productInstallItems) {
        if (row->singleProductItem()->productID() == productID)
            return row;
    }
    return nullptr;
}

QList<LVBundleProductInstallItem*>
LVBundleInstallItem::rowsIn(std::initializer_list<LVProductBatch::State> states) const
{
    QList<LVBundleProductInstallItem*> rows;
    if (!_run)
        return rows;
    for (qsizetype index = 0; index < _run->count(); ++index) {
        if (std::find(states.begin(), states.end(), _run->state(index)) == states.end())
            continue;
        if (LVBundleProductInstallItem* row = rowForProduct(_run->item(index).product->productID()))
            rows.append(row);
    }
    return rows;
}

QList<LVBundleProductInstallItem*> LVBundleInstallItem::itemsToDownload() const
{
    return rowsIn({LVProductBatch::State::WaitingForDownload});
}

QList<LVBundleProductInstallItem*> LVBundleInstallItem::busyItems() const
{
    using State = LVProductBatch::State;
    return rowsIn(
        {State::Downloading, State::Downloaded, State::Installing, State::WaitingForUninstall, State::Uninstalling});
}

QList<LVBundleProductInstallItem*> LVBundleInstallItem::failedItems() const
{
    using State = LVProductBatch::State;
    return rowsIn({State::DownloadFailed, State::InstallFailed, State::UninstallFailed});
}

void LVBundleInstallItem::runEnded(LVProductBatch::Ending ending)
{
    LVProductBatch* run = _run;
    _run = nullptr;
    if (!run)
        return;
    bool failed = false;
    for (qsizetype index = 0; index < run->count(); ++index) {
        const LVProductBatch::State state = run->state(index);
        failed = failed || state == LVProductBatch::State::InstallFailed ||
                 state == LVProductBatch::State::UninstallFailed || state == LVProductBatch::State::DownloadFailed;
        if (ending == LVProductBatch::Ending::DownloadFailed && state == LVProductBatch::State::DownloadFailed &&
            !run->detail(index).isEmpty()) {
            const QString title = run->item(index).product->title();
            VM_LOG_ERROR(QStringLiteral("Product Download FAILED: %1").arg(title));
            showAlert(QStringLiteral("Download Failed"),
                      QStringLiteral("Error downloading %1, please wait a few minutes and try again").arg(title));
        }
    }
    if (ending == LVProductBatch::Ending::Completed && run->kind() == LVProductBatch::Kind::Install) {
        if (failed)
            showAlert(QStringLiteral("Installation Failed"),
                      QStringLiteral("One or more products of '%1' could not be installed. Please try the individual "
                                     "product installer for this product")
                          .arg(title()));
        else
            showAlert(QStringLiteral("Installation Completed"),
                      QStringLiteral("%1 was installed successfully").arg(title()));
    } else if (ending == LVProductBatch::Ending::Completed) {
        if (failed)
            showAlert(QStringLiteral("Uninstallation Failed"),
                      QStringLiteral("One or more of %1 could not be uninstalled").arg(title()));
        else
            showAlert(QStringLiteral("Uninstallation Completed"),
                      QStringLiteral("%1 was uninstalled successfully").arg(title()));
    }
    updateStatus();
    emit operationEnded();
}

// ---- Uninstall -------------------------------------------------------------------------------

void LVBundleInstallItem::startUninstalling()
{
    // What can be uninstalled is decided here, where the rows' statuses live.
    QList<LVProductBatch::Item> items;
    for (LVBundleProductInstallItem* row : std::as_const(_productInstallItems)) {
        if (row->canUninstall())
            items.append({row->singleProductItem(), nullptr, QString()});
    }
    LVProductBatch::Policy policy;
    // A refused password ends the uninstallation without a word.
    policy.refusedAuthorization = LVProductBatch::Policy::OnFailure::Abandon;
    policy.holderTitle = title();
    LVProductBatch* run =
        LVProductOperations::shared().makeBatch(runKey(), LVProductBatch::Kind::Uninstall, items, policy);
    if (!run)
        return;
    observe(run);
    run->start();
    updateStatus();
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
