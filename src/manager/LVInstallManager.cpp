#include "LVInstallManager.h"
#include "ui_LVInstallManager.h"

#include "LVBadgeImage.h"
#include "LVIconCache.h"
#include "LVIcons.h"
#include "LVInstallManagerDelegate.h"
#include "LVInstallManagerView.h"
#include "LVMouseDownMonitor.h"
#include "LVOutlineModel.h"
#include "LVOutlineView.h"
#include "LVProgressView.h"
#include "LVSegmentedControl.h"
#include "LVSpinner.h"
#include "catalogue/LVServers.h"
#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogue.h"
#include "catalogue/VMHelpItemsCollection.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMNewsCollection.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "engines/LVDownloader.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVInstallItem.h"
#include "newshelp/LVHelpItem.h"
#include "newshelp/LVNewsItem.h"
#include "platform/Platform.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QLabel>
#include <QLocale>
#include <QSaveFile>
#include <QScreen>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
LVInstallManager* sharedInstance = nullptr;

// Class-wide state, set up once as the first manager appears.
struct ClassState
{
    bool initialized = false;
    bool showDiscontinuedProducts = false;
    LVInstallManager::SingleInstallItemFactory singleFactory;
    LVInstallManager::BundleInstallItemFactory bundleFactory;
    std::function<LVInstallItem*()> updateAllProvider;
};

ClassState& classState()
{
    static ClassState state;
    return state;
}

void initializeClass()
{
    ClassState& state = classState();
    if (state.initialized)
        return;
    state.initialized = true;
    state.showDiscontinuedProducts = LVPreferences::sharedPreferences()
                                         ->propertyForKey(QLatin1String(LVPreferences::showDiscontinuedProducts))
                                         .toBool();
}

template <typename T> QList<LVOutlineItem*> outlineItems(const QList<T*>& rows)
{
    QList<LVOutlineItem*> items;
    items.reserve(rows.size());
    for (T* row : rows)
        items.append(row);
    return items;
}

// NSDate's description, as the log has always shown release dates.
QString dateDescription(const QDateTime& date)
{
    return date.isValid() ? date.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss +0000"))
                          : QStringLiteral("(null)");
}
} // namespace

LVInstallManager::LVInstallManager(QObject* parent)
    : QObject(parent), _ui(std::make_unique<Ui::LVInstallManager>()),
      _alertPresenter(std::make_shared<LVAlertPresenter>())
{
    initializeClass();
    _containerView = new LVInstallManagerView(this);
    _ui->setupUi(_containerView);
    _containerView->setObjectName(QStringLiteral("_containerView"));
    LVInstallManagerView::setAppearance(_containerView, LVInstallManagerView::Appearance::Light);
    _indicateAsNewProductPeriod = 14;
    setUpInterface();

    _attachedToStatusItem = false;
    setAttachedToStatusItem(true);
    selectMainTabViewAtIndex(MainTab::InstallsTab);
    selectInstallsTabViewAtIndex(InstallsTab::BundlesTab);

    auto& center = VMNotificationCenter::defaultCenter();
    center.addObserver(this, QStringLiteral("reloadLVUpdateItem"),
                       [this](const VMNotification& note) { reloadItem(note); });
    center.addObserver(this, QStringLiteral("expandLVUpdateItem"),
                       [this](const VMNotification& note) { expandInstallItem(note); });
    center.addObserver(this, QStringLiteral("expandLVNewsItem"),
                       [this](const VMNotification& note) { expandNewsItem(note); });
    center.addObserver(this, QStringLiteral("notifShowDiscontinuedProductsChanged"),
                       [this](const VMNotification& note) { showDiscontinuedProductsChanged(note); });
}

LVInstallManager::~LVInstallManager()
{
    removeMouseMonitor();
    VMNotificationCenter::defaultCenter().removeObserver(this);
    setProductsCollection(nullptr);
    setNewsItems({});
    for (LVHelpItem* row : std::as_const(_helpItems))
        delete row;
    _helpItems.clear();
    qDeleteAll(_singleProductInstallItems);
    qDeleteAll(_bundleProductInstallItems);
    delete _window;
    delete _containerView;
    if (sharedInstance == this)
        sharedInstance = nullptr;
}

LVInstallManager* LVInstallManager::sharedInstallManager()
{
    if (!sharedInstance)
        sharedInstance = new LVInstallManager;
    return sharedInstance;
}

void LVInstallManager::releaseSharedInstallManager()
{
    delete sharedInstance;
    sharedInstance = nullptr;
}

void LVInstallManager::setUpInterface()
{
    auto* ui = _ui.get();
    ui->_mainSegmentedControl->setSegments(
        {QStringLiteral("Installs"), QStringLiteral("News"), QStringLiteral("Help"), QStringLiteral("Tools")});
    ui->_installsSegmentedControl->setSegments({QStringLiteral("Bundles"), QStringLiteral("Products")});
    ui->_installsSegmentedControl->setCompact(true);
    ui->_mainSegmentedControl->setBadgeView(MainTab::InstallsTab, ui->_installsCountImageView);
    ui->_mainSegmentedControl->setBadgeView(MainTab::NewsTab, ui->_newsCountImageView);
    ui->_installsCountImageView->clear();
    ui->_newsCountImageView->clear();

    connect(ui->_mainSegmentedControl, &LVSegmentedControl::activated, this,
            [this] { mainSegmentedControlAction(_ui->_mainSegmentedControl); });
    connect(ui->_installsSegmentedControl, &LVSegmentedControl::activated, this,
            [this] { installsSegmentedControlAction(_ui->_installsSegmentedControl); });
    connect(ui->_refreshButton, &QToolButton::clicked, this, &LVInstallManager::updateAction);
    connect(ui->_headerButton, &QToolButton::clicked, this, &LVInstallManager::headerButtonAction);
    connect(ui->_aboutButton, &QToolButton::clicked, this, &LVInstallManager::aboutButtonAction);
    connect(ui->_preferencesButton, &QToolButton::clicked, this, &LVInstallManager::preferencesButtonAction);
    connect(ui->_quitButton, &QToolButton::clicked, this, &LVInstallManager::quitButtonAction);

    ui->_headerButton->setIcon(LVIcons::applicationLogo());
    ui->_refreshButton->setIcon(LVIcons::refresh());
    ui->_aboutButton->setIcon(LVIcons::info());
    ui->_preferencesButton->setIcon(LVIcons::gear());
    ui->_quitButton->setIcon(LVIcons::power());
    for (QToolButton* button : {ui->_refreshButton, ui->_aboutButton, ui->_preferencesButton, ui->_quitButton}) {
        button->setCursor(Qt::PointingHandCursor);
        button->setFixedSize(28, 28);
        button->setIconSize(QSize(18, 18));
    }
    ui->_usingLocalConfig->setVisible(false);

    // The look: a quiet header, hairline separators, transparent lists with overlay scroll bars.
    _containerView->setStyleSheet(QStringLiteral(
        "#_titleLabel { color: #f2f2f7; font-size: 15px; font-weight: 600; }"
        "#_subtitleLabel { color: #8e8e93; font-size: 11px; }"
        "#_lastUpdateLabel { color: #8e8e93; font-size: 11px; }"
        "#_usingLocalConfig { color: #ffd60a; background: rgba(255,214,10,0.14); border: 1px solid "
        "rgba(255,214,10,0.35); border-radius: 8px; padding: 1px 8px; font-size: 11px; }"
        "QToolButton { border: none; border-radius: 6px; background: transparent; }"
        "QToolButton:hover { background: rgba(255,255,255,0.08); }"
        "QToolButton:pressed { background: rgba(255,255,255,0.16); }"
        "QFrame#_separatorTop, QFrame#_separatorBottom { color: rgba(255,255,255,0.09); max-height: 1px; }"
        "QStackedWidget, QStackedWidget > QWidget { background: transparent; }"
        "LVOutlineView { background: transparent; border: none; outline: none; }"
        "LVOutlineView#_helpItemsTable { padding: 10px 16px; }"
        "LVOutlineView::item { border: none; padding: 0px; }"
        "LVOutlineView::item:selected { background: rgba(10,132,255,0.28); border-radius: 6px; }"
        "QScrollBar:vertical { background: transparent; width: 8px; margin: 2px; }"
        "QScrollBar::handle:vertical { background: rgba(255,255,255,0.22); border-radius: 3px; min-height: 30px; }"
        "QScrollBar::handle:vertical:hover { background: rgba(255,255,255,0.38); }"
        "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0px; }"
        "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: transparent; }"));

    _installModel = new LVOutlineModel([this] { return outlineItems(installItems()); }, this);
    _newsModel = new LVOutlineModel([this] { return outlineItems(_newsItems); }, this);
    _helpModel = new LVOutlineModel([this] { return outlineItems(_helpItems); }, this);
    _toolModel = new LVOutlineModel([this] { return _toolItems; }, this);
    ui->_installItemsTable->setOutlineModel(_installModel);
    ui->_newsItemsTable->setOutlineModel(_newsModel);
    ui->_helpItemsTable->setOutlineModel(_helpModel);
    ui->_toolItemsTable->setOutlineModel(_toolModel);
    ui->_newsItemsTable->setPlaceholderText(QStringLiteral("No news right now."));
    ui->_helpItemsTable->setPlaceholderText(QStringLiteral("No help topics."));
    ui->_toolItemsTable->setPlaceholderText(QStringLiteral("No tools."));
}

// ---- Catalogue loading -------------------------------------------------------------------------

QString LVInstallManager::localVersionsFilePath()
{
    const QString home = Platform::systemInfo().homeDirectory();
    if (home.isEmpty())
        return QString();
    return QDir(home).filePath(QStringLiteral("Product Versions.plist"));
}

QByteArray LVInstallManager::getLocalUpdatesConfigData(QString*)
{
    const QString path = localVersionsFilePath();
    if (path.isNull())
        return QByteArray();
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    QByteArray data = file.readAll();
    // An empty file is still data (that does not parse), not a missing file.
    if (data.isNull())
        data = QByteArray("");
    return data;
}

bool LVInstallManager::showDiscontinuedProducts()
{
    initializeClass();
    return classState().showDiscontinuedProducts;
}

void LVInstallManager::setSingleInstallItemFactory(SingleInstallItemFactory factory)
{
    classState().singleFactory = std::move(factory);
}

void LVInstallManager::setBundleInstallItemFactory(BundleInstallItemFactory factory)
{
    classState().bundleFactory = std::move(factory);
}

void LVInstallManager::setUpdateAllInstalledItemProvider(std::function<LVInstallItem*()> provider)
{
    classState().updateAllProvider = std::move(provider);
}

void LVInstallManager::update()
{
    const QByteArray localData = getLocalUpdatesConfigData();
    if (!localData.isNull()) {
        updateWithConfigData(localData);
        _ui->_usingLocalConfig->setVisible(true);
        return;
    }
    _ui->_usingLocalConfig->setVisible(false);
    LVDownloader* downloader = LVDownloader::initWithURL(LVServers::remoteCatalogueURL(), this);
    if (!downloader)
        return;
    downloader->setIdentifier(1);
    downloader->setDelegate(this);
    downloader->start();
}

void LVInstallManager::updateAction()
{
    update();
}

void LVInstallManager::willShow()
{
    const QDateTime now = VMUtils::currentDate();
    const bool neverLoaded = _lastUpdateDate.isNull();
    const bool stale = !neverLoaded && now.msecsTo(_lastUpdateDate) / 1000.0 < -refreshInterval;
    const bool optionHeld = Platform::systemInfo().heldModifierKeys().testFlag(SystemInfo::Option);
    if (!neverLoaded && !stale && !optionHeld)
        return;
    clearImageCache();
    update();
}

void LVInstallManager::downloadCompleted(LVDownloader* downloader)
{
    if (downloader->identifier() == 1 && !downloader->data().isNull())
        updateWithConfigData(downloader->data());
    downloader->deleteLater();
}

void LVInstallManager::downloadFailed(LVDownloader* downloader)
{
    if (downloader->identifier() == 1)
        showError(downloader->error());
    downloader->deleteLater();
}

void LVInstallManager::updateWithConfigData(const QByteArray& data)
{
    if (data.isNull()) {
        VM_LOG_MESSAGE(QStringLiteral("configData = nil"));
        return;
    }
    beginUpdate();

    // Parsing logs its own problems (and, with extended logging, the catalogue's version number).
    const VMCatalogue catalogue = VMCatalogue::initWithData(data);
    VMNewsCollectionPtr news;
    VMHelpItemsCollectionPtr help;
    if (catalogue.isValid()) {
        // "Indicate Product as New Period" is read by the catalogue and deliberately not applied.
        setLicenseAgreementURL(catalogue.licenseAgreementURL());
        if (catalogue.productsCollection())
            setProductsCollection(catalogue.productsCollection());
        news = catalogue.newsCollection();
        help = catalogue.helpItemsCollection();
    }

    // News and help follow a second later, together with the end of the load, so the overlay
    // stays up at least that long and goes only once everything is in place.
    VMDispatch::performAfterDelay(this, 1.0, [this, news, help] {
        if (news)
            setNewsCollection(news);
        if (help)
            setHelpItemsCollection(help);
        endUpdate();
    });

    if (_delegate)
        _delegate->configDataLoaded(this);
}

void LVInstallManager::beginUpdate()
{
    if (_progressView)
        return;
    _progressView = new LVProgressView(_containerView);
    _progressView->show();
    _progressView->raise();
    _progressView->spinner()->startAnimation();
}

void LVInstallManager::endUpdate()
{
    if (_progressView) {
        _progressView->spinner()->stopAnimation();
        _progressView->hide();
        _progressView->deleteLater();
        _progressView = nullptr;
    }
    _lastUpdateDate = VMUtils::currentDate();
    _ui->_lastUpdateLabel->setText(
        QStringLiteral("Checked at %1").arg(QLocale().toString(_lastUpdateDate.time(), QLocale::ShortFormat)));
}

void LVInstallManager::detachInstallItems()
{
    for (LVInstallItem* row : std::as_const(_bundleProductInstallItems) + _singleProductInstallItems) {
        row->setInstallManager(nullptr);
        row->deleteLater();
    }
    _bundleProductInstallItems.clear();
    _singleProductInstallItems.clear();
    _installItems.clear();
}

void LVInstallManager::setProductsCollection(const std::shared_ptr<VMProductsCollection>& collection)
{
    detachInstallItems();
    _productsCollection = collection;
    if (collection) {
        const ClassState& state = classState();
        for (const VMProductItemPtr& product : collection->productItems()) {
            if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(product)) {
                LVInstallItem* row = state.singleFactory ? state.singleFactory(single) : nullptr;
                if (row) {
                    row->setParent(this);
                    _singleProductInstallItems.append(row);
                    row->setInstallManager(this);
                }
            } else if (auto bundle = std::dynamic_pointer_cast<VMBundleProductItem>(product)) {
                LVInstallItem* row = state.bundleFactory ? state.bundleFactory(bundle, collection) : nullptr;
                if (row) {
                    row->setParent(this);
                    _bundleProductInstallItems.append(row);
                    row->setInstallManager(this);
                }
            }
        }
    }
    selectInstallsTabViewAtIndex(_ui->_installsSegmentedControl->selectedTag());
    updateInstallTabTitle();
    if (collection)
        VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("productsChanged"),
                                                               QVariant::fromValue(static_cast<QObject*>(this)));
}

void LVInstallManager::setNewsCollection(const std::shared_ptr<VMNewsCollection>& collection)
{
    _newsCollection = collection;
    const QDateTime now = VMUtils::currentDate();
    QList<LVNewsItem*> rows;
    if (collection) {
        const bool extendedLogging = LVPreferences::sharedPreferences()->usesExtendedLogging();
        for (const VMNewsItemPtr& record : collection->newsItems()) {
            const QDateTime releaseDate = record->releaseDate();
            const qint64 showDays = record->showDays();
            // Whole days elapsed against the days shown: no product that could overflow.
            const qint64 elapsed = releaseDate.isValid() ? releaseDate.secsTo(now) : 0;
            const bool current = releaseDate.isValid() && showDays >= 1 && (elapsed < 0 || elapsed / 86400 < showDays);
            if (current) {
                if (LVNewsItem* row = LVNewsItem::newsItemWithVMNewsItem(record))
                    rows.append(row);
            } else if (extendedLogging) {
                VMLogger::logMessage(QStringLiteral("News item expired: %1, %2, %3")
                                         .arg(record->title(), dateDescription(releaseDate))
                                         .arg(showDays));
            }
        }
    }
    setNewsItems(rows);
    _ui->_mainSegmentedControl->setLabel(QStringLiteral("News"), MainTab::NewsTab);
    setBadge(_ui->_newsCountImageView, _newsItems.size());
}

void LVInstallManager::setNewsItems(const QList<LVNewsItem*>& newsItems)
{
    const QList<LVNewsItem*> old = _newsItems;
    for (LVNewsItem* row : old)
        row->setInstallManager(nullptr);
    _newsItems.clear();
    for (LVNewsItem* row : newsItems) {
        row->setParent(this);
        row->setInstallManager(this);
        _newsItems.append(row);
    }
    if (_ui->_newsItemsTable) {
        _ui->_newsItemsTable->reloadData();
        if (!_newsItems.isEmpty())
            _ui->_newsItemsTable->expandItem(_newsItems.first());
    }
    for (LVNewsItem* row : old)
        row->deleteLater();
}

void LVInstallManager::setHelpItemsCollection(const std::shared_ptr<VMHelpItemsCollection>& collection)
{
    _helpItemsCollection = collection;
    const QList<LVHelpItem*> old = _helpItems;
    _helpItems.clear();
    if (collection) {
        for (const VMHelpItemPtr& record : collection->helpItems()) {
            if (LVHelpItem* row = LVHelpItem::helpItemWithVMHelpItem(record)) {
                row->setParent(this);
                _helpItems.append(row);
            }
        }
    }
    _ui->_helpItemsTable->reloadData();
    for (LVHelpItem* row : old)
        row->deleteLater();
}

void LVInstallManager::saveRemoteConfigData(const QByteArray& data)
{
    if (data.isNull())
        return;
    QSaveFile file(
        QDir(Platform::systemInfo().homeDirectory()).filePath(QStringLiteral("Remote Product Versions.plist")));
    if (file.open(QIODevice::WriteOnly)) {
        file.write(data);
        file.commit();
    }
}

// ---- Row lists ---------------------------------------------------------------------------------

QList<LVInstallItem*> LVInstallManager::installItems() const
{
    QList<LVInstallItem*> rows;
    const ClassState& state = classState();
    if (state.updateAllProvider) {
        if (LVInstallItem* updateAll = state.updateAllProvider())
            rows.append(updateAll);
    }
    const bool showDiscontinued = showDiscontinuedProducts();
    for (LVInstallItem* row : _installItems) {
        if (showDiscontinued || !row->discontinued())
            rows.append(row);
    }
    return rows;
}

void LVInstallManager::setToolItems(const QList<LVOutlineItem*>& toolItems)
{
    _toolItems = toolItems;
    for (LVOutlineItem* row : toolItems)
        row->setInstallManager(this);
    _ui->_toolItemsTable->reloadData();
}

LVInstallItem* LVInstallManager::installItemWithProductID(const QString& productID) const
{
    if (productID.isNull())
        return nullptr;
    for (LVInstallItem* row : _singleProductInstallItems) {
        const auto product = row->productItem();
        if (product && product->productID() == productID)
            return row;
    }
    // Bundles are looked at only to stop the search: a bundle row is never the answer.
    return nullptr;
}

void LVInstallManager::selectItem(QObject* item)
{
    if (!item)
        return;
    LVOutlineView* table = nullptr;
    int tab = -1;
    if (qobject_cast<LVInstallItem*>(item)) {
        table = _ui->_installItemsTable;
        tab = MainTab::InstallsTab;
    } else if (qobject_cast<LVNewsItem*>(item)) {
        table = _ui->_newsItemsTable;
        tab = MainTab::NewsTab;
    } else if (qobject_cast<LVHelpItem*>(item)) {
        table = _ui->_helpItemsTable;
        tab = MainTab::HelpTab;
    } else if (item->inherits("LVToolItem")) {
        table = _ui->_toolItemsTable;
        tab = MainTab::ToolsTab;
    }
    if (!table)
        return;
    selectMainTabViewAtIndex(tab);
    if (auto* row = dynamic_cast<LVOutlineItem*>(item))
        table->selectItem(row);
}

void LVInstallManager::selectInstallItem(LVInstallItem* item)
{
    if (!item) {
        _ui->_installItemsTable->clearSelection();
        return;
    }
    _ui->_installItemsTable->selectItem(item);
}

void LVInstallManager::reloadItem(const VMNotification&)
{
    _ui->_installItemsTable->reloadData();
}

void LVInstallManager::expandInstallItem(const VMNotification& notification)
{
    auto* row = dynamic_cast<LVOutlineItem*>(notification.object.value<QObject*>());
    if (row)
        _ui->_installItemsTable->toggleItem(row);
}

void LVInstallManager::expandNewsItem(const VMNotification& notification)
{
    auto* row = dynamic_cast<LVOutlineItem*>(notification.object.value<QObject*>());
    if (row)
        _ui->_newsItemsTable->toggleItem(row);
}

void LVInstallManager::showDiscontinuedProductsChanged(const VMNotification& notification)
{
    const bool show = notification.object.toBool();
    classState().showDiscontinuedProducts = show;
    LVPreferences::sharedPreferences()->setDefaultProperty(show,
                                                           QLatin1String(LVPreferences::showDiscontinuedProducts));
    _ui->_installItemsTable->reloadData();
}

// ---- Tabs --------------------------------------------------------------------------------------

void LVInstallManager::selectMainTabViewAtIndex(int index)
{
    if (index < 0 || index >= _ui->_mainTabView->count()) {
        VM_LOG_MESSAGE(QStringLiteral("No main tab at index %1").arg(index));
        return;
    }
    _ui->_mainSegmentedControl->selectSegmentWithTag(index);
    _ui->_mainTabView->setCurrentIndex(index);
}

void LVInstallManager::selectInstallsTabViewAtIndex(int index)
{
    _installItems.clear();
    _ui->_installsSegmentedControl->selectSegmentWithTag(index);
    if (index == InstallsTab::BundlesTab)
        _installItems = _bundleProductInstallItems;
    else if (index == InstallsTab::SingleProductsTab)
        _installItems = _singleProductInstallItems;
    _ui->_installItemsTable->setPlaceholderText(index == InstallsTab::BundlesTab
                                                    ? QStringLiteral("No bundles to show.")
                                                    : QStringLiteral("No products to show."));
    _ui->_installItemsTable->reloadData();
}

void LVInstallManager::mainSegmentedControlAction(LVSegmentedControl* control)
{
    selectMainTabViewAtIndex(control->selectedSegment());
}

void LVInstallManager::installsSegmentedControlAction(LVSegmentedControl* control)
{
    selectInstallsTabViewAtIndex(control->selectedSegment());
}

int LVInstallManager::selectedMainTabIndex() const
{
    return _ui->_mainTabView->currentIndex();
}

// ---- Badges ------------------------------------------------------------------------------------

void LVInstallManager::updateInstallTabTitle()
{
    qint64 count = 0;
    // All rows count, shown or not, discontinued or not.
    for (LVInstallItem* row : std::as_const(_bundleProductInstallItems) + _singleProductInstallItems) {
        const uint status = row->installStatus();
        if (status != LVInstallItem::StatusNotInstalled && status != LVInstallItem::StatusLatestInstalled)
            ++count;
    }
    setBadge(_ui->_installsCountImageView, count);
}

void LVInstallManager::updateStatusChanged(uint, LVInstallItem*)
{
    updateInstallTabTitle();
}

void LVInstallManager::setBadge(QLabel* badgeView, qint64 count)
{
    if (count <= 0) {
        badgeView->clear();
        badgeView->hide();
    } else {
        badgeView->setPixmap(QPixmap::fromImage(batchImageWithNumber(count, LVBadgeImage::systemOrangeColor())));
        badgeView->setAccessibleName(QString::number(count)); // read with the tab's name
        badgeView->show();
    }
    _ui->_mainSegmentedControl->placeBadges();
}

QImage LVInstallManager::batchImageWithNumber(qint64 number, const QColor& color)
{
    return LVBadgeImage::imageWithNumber(number, color);
}

// ---- Icon cache --------------------------------------------------------------------------------

QImage LVInstallManager::cachedIconForURL(const QUrl& url)
{
    return LVIconCache::cachedIconForURL(url);
}

void LVInstallManager::setCachedIcon(const QImage& image, const QUrl& url)
{
    LVIconCache::setCachedIcon(image, url);
}

void LVInstallManager::clearImageCache()
{
    LVIconCache::clearImageCache();
}

// ---- Window ------------------------------------------------------------------------------------

Qt::WindowFlags LVInstallManager::windowFlagsForMode() const
{
    if (_attachedToStatusItem)
        return Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
    return Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint |
           Qt::WindowStaysOnTopHint;
}

void LVInstallManager::show()
{
    showAtPosition(QPoint(-1, -1));
}

void LVInstallManager::showAtPosition(const QPoint& point)
{
    _suspendWindowMoveNotifications = true;
    willShow();
    if (!_window) {
        _window = new QWidget(nullptr, windowFlagsForMode());
        _window->setObjectName(QStringLiteral("LVInstallManagerWindow"));
        _window->setWindowTitle(QStringLiteral("Lumivane Manager"));
        _window->setWindowIcon(LVIcons::applicationLogo());
        auto* layout = new QVBoxLayout(_window);
        layout->setContentsMargins(0, 0, 0, 0);
        const QSize size = _containerView->size();
        layout->addWidget(_containerView);
        _window->resize(size);
        _window->installEventFilter(this);
    }
    const QSize size = _window->size();
    QScreen* screen = QGuiApplication::primaryScreen();
    const QRect screenRect = screen ? screen->availableGeometry() : QRect(0, 0, 1440, 900);
    QPoint origin;
    if (point == QPoint(-1, -1)) {
        origin = screenRect.center() - QPoint(size.width() / 2, size.height() / 2);
    } else {
        // Hangs below the point, kept inside the screen's right edge.
        origin = QPoint(point.x() - size.width() / 2, point.y());
        const QRect full = screen ? screen->geometry() : screenRect;
        if (origin.x() + size.width() > full.right() + 1)
            origin.setX(full.right() + 1 - size.width());
    }
    _window->move(origin);
    _window->show();
    _window->raise();
    _window->activateWindow();
    if (!_mouseDragMonitor) {
        _mouseDragMonitor = new LVMouseDownMonitor(
            _window,
            [this] {
                if (_attachedToStatusItem)
                    VMDispatch::performOnMainThread(this, [this] { hide(); });
            },
            this);
    }
    _suspendWindowMoveNotifications = false;
}

void LVInstallManager::removeMouseMonitor()
{
    delete _mouseDragMonitor;
    _mouseDragMonitor = nullptr;
}

void LVInstallManager::hide()
{
    removeMouseMonitor();
    if (_window)
        _window->hide();
}

bool LVInstallManager::isVisible() const
{
    return _window && _window->isVisible();
}

void LVInstallManager::setAttachedToStatusItem(bool attached)
{
    if (attached == _attachedToStatusItem)
        return;
    _attachedToStatusItem = attached;
    if (_window) {
        const bool wasSuspended = _suspendWindowMoveNotifications;
        _suspendWindowMoveNotifications = true;
        const bool visible = _window->isVisible();
        const QPoint position = _window->pos();
        _window->setWindowFlags(windowFlagsForMode());
        _window->move(position);
        if (visible)
            _window->show();
        _suspendWindowMoveNotifications = wasSuspended;
    }
}

QWidget* LVInstallManager::viewForStatusMenu()
{
    if (_window) {
        hide();
        _window->removeEventFilter(this);
        _containerView->setParent(nullptr);
        delete _window;
    }
    return _containerView;
}

void LVInstallManager::windowDidMove()
{
    if (!_suspendWindowMoveNotifications)
        setAttachedToStatusItem(false);
}

void LVInstallManager::windowWillClose()
{
    if (_delegate)
        _delegate->quitApplication();
}

bool LVInstallManager::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == _window) {
        if (event->type() == QEvent::Move && _window->isVisible())
            windowDidMove();
        else if (event->type() == QEvent::Close)
            windowWillClose();
    }
    return QObject::eventFilter(watched, event);
}

// ---- Alerts ------------------------------------------------------------------------------------

void LVInstallManager::showAlert(const LVAlert& alert)
{
    showAlert(alert, {});
}

void LVInstallManager::showAlert(const LVAlert& alert, LVAlertPresenter::Completion completionHandler)
{
    if (alert.isNull() || !_alertPresenter)
        return;
    _alertPresenter->present(alert, _window, std::move(completionHandler));
}

void LVInstallManager::showError(const VMError& error)
{
    if (error.isNull())
        return;
    showAlert(LVAlert::alertWithError(error));
}

void LVInstallManager::setAlertPresenter(std::shared_ptr<LVAlertPresenter> presenter)
{
    _alertPresenter = presenter ? std::move(presenter) : std::make_shared<LVAlertPresenter>();
}

// ---- Buttons -----------------------------------------------------------------------------------

QUrl LVInstallManager::makerWebSiteURL()
{
    return LVServers::supportURL(QStringLiteral("/"));
}

void LVInstallManager::headerButtonAction()
{
    Platform::workspace().openUrl(makerWebSiteURL());
}

void LVInstallManager::aboutButtonAction()
{
    if (_delegate)
        _delegate->openAbout();
}

void LVInstallManager::preferencesButtonAction()
{
    if (_delegate)
        _delegate->openPreferences();
}

void LVInstallManager::quitButtonAction()
{
    hide();
    if (_delegate)
        _delegate->quitApplication();
}

// ---- Views -------------------------------------------------------------------------------------

LVSegmentedControl* LVInstallManager::mainSegmentedControl() const
{
    return _ui->_mainSegmentedControl;
}
LVSegmentedControl* LVInstallManager::installsSegmentedControl() const
{
    return _ui->_installsSegmentedControl;
}
QLabel* LVInstallManager::installsCountImageView() const
{
    return _ui->_installsCountImageView;
}
QLabel* LVInstallManager::newsCountImageView() const
{
    return _ui->_newsCountImageView;
}
QWidget* LVInstallManager::usingLocalConfigIndicator() const
{
    return _ui->_usingLocalConfig;
}
QStackedWidget* LVInstallManager::mainTabView() const
{
    return _ui->_mainTabView;
}
LVOutlineView* LVInstallManager::installItemsTable() const
{
    return _ui->_installItemsTable;
}
LVOutlineView* LVInstallManager::newsItemsTable() const
{
    return _ui->_newsItemsTable;
}
LVOutlineView* LVInstallManager::helpItemsTable() const
{
    return _ui->_helpItemsTable;
}
LVOutlineView* LVInstallManager::toolItemsTable() const
{
    return _ui->_toolItemsTable;
}
LVProgressView* LVInstallManager::progressView() const
{
    return _progressView;
}
LVInstallManagerView* LVInstallManager::containerView() const
{
    return _containerView;
}
QWidget* LVInstallManager::window() const
{
    return _window;
}

bool LVInstallManager::isUpdating() const
{
    return _progressView != nullptr;
}

std::optional<QVariantMap> LVInstallManager::checkProductVersionsInBundle(const QString& bundleIdentifier)
{
    return VMInstalledVersions::checkProductVersionsInBundle(bundleIdentifier);
}

QString LVInstallManager::filePathToBundle(const QString& bundleIdentifier)
{
    return VMInstalledVersions::filePathToBundle(bundleIdentifier);
}

QString LVInstallManager::findXPCBunde(const QString& bundleIdentifier, const QString& folder)
{
    return VMInstalledVersions::findXPCBunde(bundleIdentifier, folder);
}

QString LVInstallManager::filePathToXPCBundleUsingPluginKit(const QString& bundleIdentifier)
{
    return VMInstalledVersions::filePathToXPCBundleUsingPluginKit(bundleIdentifier);
}

bool LVInstallManager::registerPluginkitBundle(const QString& path)
{
    return VMInstalledVersions::registerPluginkitBundle(path);
}

void LVInstallManager::clearBundleIdentifierCache()
{
    VMInstalledVersions::clearBundleIdentifierCache();
}
