#include "LVInstallManager.h"
#include "catalogue/VMProductEvents.h"
#include "ui_LVInstallManager.h"

#include "LVInstallManagerDelegate.h"
#include "LVInstallManagerView.h"
#include "catalogue/LVServers.h"
#include "catalogue/VMNewsCollection.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVInstallItem.h"
#include "newshelp/LVHelpItem.h"
#include "newshelp/LVNewsItem.h"
#include "outline/LVOutlineView.h"
#include "platform/Platform.h"
#include "widgets/LVIcons.h"
#include "widgets/LVProgressView.h"
#include "widgets/LVSpinner.h"

#include <QFile>
#include <QLabel>
#include <QLocale>
#include <QToolButton>

namespace {
LVInstallManager* sharedInstance = nullptr;

QString styleSheet()
{
    QFile file(QStringLiteral(":/ui/LVInstallManager.qss"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
} // namespace

static void initResources()
{
    // The style sheet lives in the gui library's resources, which a static link would drop.
    Q_INIT_RESOURCE(LVInstallManager);
}

LVInstallManager::LVInstallManager(QObject* parent)
    : QObject(parent), _ui(std::make_unique<Ui::LVInstallManager>()),
      _alertPresenter(std::make_shared<LVAlertPresenter>())
{
    initResources();
    _containerView = new LVInstallManagerView(this);
    _ui->setupUi(_containerView);
    _containerView->setObjectName(QStringLiteral("_containerView"));
    LVInstallManagerView::setAppearance(_containerView, LVInstallManagerView::Appearance::Light);
    _catalogueLoader = new LVCatalogueLoader(this);
    _windowPlacement = new LVWindowPlacement(_containerView, this);
    setUpInterface();

    setAttachedToStatusItem(true);
    selectMainTabViewAtIndex(MainTab::InstallsTab);
    selectInstallsTabViewAtIndex(InstallsTab::BundlesTab);

    auto& center = VMNotificationCenter::defaultCenter();
    center.addObserver(this, VMProductEvents::reloadUpdateItem,
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
    VMNotificationCenter::defaultCenter().removeObserver(this);
    delete _windowPlacement;
    // The tabs go with the container and take their rows with them.
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
    ui->_mainSegmentedControl->setBadgeView(MainTab::InstallsTab, ui->_installsCountImageView);
    ui->_mainSegmentedControl->setBadgeView(MainTab::NewsTab, ui->_newsCountImageView);
    ui->_installsCountImageView->clear();
    ui->_newsCountImageView->clear();

    connect(ui->_mainSegmentedControl, &LVSegmentedControl::activated, this,
            [this] { mainSegmentedControlAction(_ui->_mainSegmentedControl); });
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
    _containerView->setStyleSheet(styleSheet());

    _installsTab = ui->_installsTab;
    _newsTab = ui->_newsTab;
    _helpTab = ui->_helpTab;
    _toolsTab = ui->_toolsTab;
    _installsTab->setUp();
    _newsTab->setUp();
    _helpTab->setUp();
    _toolsTab->setUp();
    for (LVOutlineTab* tab : std::initializer_list<LVOutlineTab*>{_installsTab, _newsTab, _toolsTab})
        tab->setRowHost(this);
    connect(_installsTab, &LVInstallsTab::attentionCountChanged, this,
            [this](qint64 count) { setBadge(_ui->_installsCountImageView, count); });
    connect(_newsTab, &LVNewsTab::newsCollectionApplied, this, [this](int count) {
        _ui->_mainSegmentedControl->setLabel(QStringLiteral("News"), MainTab::NewsTab);
        setBadge(_ui->_newsCountImageView, count);
    });

    LVCatalogueLoader* loader = _catalogueLoader;
    connect(loader, &LVCatalogueLoader::usingLocalConfigChanged, ui->_usingLocalConfig, &QWidget::setVisible);
    connect(loader, &LVCatalogueLoader::updateStarted, this, &LVInstallManager::beginUpdate);
    connect(loader, &LVCatalogueLoader::productsReady, this, &LVInstallManager::setProductsCollection);
    connect(loader, &LVCatalogueLoader::configDataLoaded, this, [this] {
        if (_delegate)
            _delegate->configDataLoaded(this);
    });
    connect(loader, &LVCatalogueLoader::newsAndHelpReady, this,
            [this](const VMNewsCollectionPtr& news, const VMHelpItemsCollectionPtr& help) {
                if (news)
                    setNewsCollection(news);
                if (help)
                    setHelpItemsCollection(help);
            });
    connect(loader, &LVCatalogueLoader::updateEnded, this, [this] {
        if (_progressView) {
            _progressView->spinner()->stopAnimation();
            _progressView->hide();
            _progressView->deleteLater();
            _progressView = nullptr;
        }
        _ui->_lastUpdateLabel->setText(
            QStringLiteral("Checked at %1").arg(QLocale().toString(lastUpdateDate().time(), QLocale::ShortFormat)));
    });
    connect(loader, &LVCatalogueLoader::failed, this, [this](const VMError& error) { showError(error); });

    connect(_windowPlacement, &LVWindowPlacement::aboutToShow, this, &LVInstallManager::willShow);
    connect(_windowPlacement, &LVWindowPlacement::windowWillClose, this, &LVInstallManager::windowWillClose);
}

// ---- Catalogue loading -------------------------------------------------------------------------

void LVInstallManager::willShow()
{
    if (!_catalogueLoader->needsRefresh())
        return;
    clearImageCache();
    update();
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

bool LVInstallManager::isUpdating() const
{
    return _progressView != nullptr;
}

void LVInstallManager::setProductsCollection(const std::shared_ptr<VMProductsCollection>& collection)
{
    _installsTab->setProductsCollection(collection);
    if (collection)
        VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("productsChanged"),
                                                               QVariant::fromValue(static_cast<QObject*>(this)));
}

// ---- Row lists ---------------------------------------------------------------------------------

void LVInstallManager::selectItem(QObject* item)
{
    auto* row = dynamic_cast<LVOutlineItem*>(item);
    if (!row)
        return;
    LVOutlineTab* tab = nullptr;
    int index = -1;
    switch (row->outlineKind()) {
    case LVOutlineItem::Kind::Install:
        tab = _installsTab, index = MainTab::InstallsTab;
        break;
    case LVOutlineItem::Kind::News:
        tab = _newsTab, index = MainTab::NewsTab;
        break;
    case LVOutlineItem::Kind::Help:
        tab = _helpTab, index = MainTab::HelpTab;
        break;
    case LVOutlineItem::Kind::Tool:
        tab = _toolsTab, index = MainTab::ToolsTab;
        break;
    case LVOutlineItem::Kind::Other:
        return;
    }
    selectMainTabViewAtIndex(index);
    tab->selectItem(row);
}

void LVInstallManager::selectInstallItem(LVInstallItem* item)
{
    if (item)
        _installsTab->selectItem(item);
    else
        _installsTab->outlineView()->clearSelection();
}

void LVInstallManager::expandInstallItem(const VMNotification& notification)
{
    if (auto* row = dynamic_cast<LVOutlineItem*>(notification.object.value<QObject*>()))
        _installsTab->outlineView()->toggleItem(row);
}

void LVInstallManager::expandNewsItem(const VMNotification& notification)
{
    if (auto* row = dynamic_cast<LVOutlineItem*>(notification.object.value<QObject*>()))
        _newsTab->outlineView()->toggleItem(row);
}

void LVInstallManager::showDiscontinuedProductsChanged(const VMNotification& notification)
{
    const bool show = notification.object.toBool();
    LVInstallsTab::setShowDiscontinuedProducts(show);
    LVPreferences::sharedPreferences()->setDefaultProperty(show,
                                                           QLatin1String(LVPreferences::showDiscontinuedProducts));
    _installsTab->reloadData();
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

int LVInstallManager::selectedMainTabIndex() const
{
    return _ui->_mainTabView->currentIndex();
}

// ---- Badges ------------------------------------------------------------------------------------

void LVInstallManager::updateInstallTabTitle()
{
    setBadge(_ui->_installsCountImageView, _installsTab->attentionCount());
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

// ---- Icon cache and detection ------------------------------------------------------------------

// ---- Window ------------------------------------------------------------------------------------

void LVInstallManager::windowWillClose()
{
    if (_delegate)
        _delegate->quitApplication();
}

LVInstallManagerView* LVInstallManager::containerView() const
{
    return _containerView;
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
    _alertPresenter->present(alert, window(), std::move(completionHandler));
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

void LVInstallManager::noteRowHeightsChanged()
{
    _installsTab->outlineView()->noteHeightsChanged();
}
