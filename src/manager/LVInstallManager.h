#pragma once

#include "LVHelpTab.h"
#include "LVInstallsTab.h"
#include "LVNewsTab.h"
#include "LVWindowPlacement.h"
#include "engines/LVCatalogueLoader.h"
#include "items/LVRowHost.h"
#include "tools/LVToolsTab.h"
#include "widgets/LVAlertPresenter.h"
#include "widgets/LVBadgeImage.h"
#include "widgets/LVIconCache.h"
#include "widgets/LVSegmentedControl.h"

#include <QColor>
#include <QDateTime>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QUrl>
#include <QVariantMap>
#include <memory>

namespace Ui {
class LVInstallManager;
}
class LVCatalogueLoader;
class LVHelpItem;
class LVInstallItem;
class LVInstallItemFactory;
class LVInstallManagerDelegate;
class LVInstallManagerView;
class LVNewsItem;
class LVOutlineItem;
class LVProgressView;
class LVSegmentedControl;
class LVWindowPlacement;
class QLabel;
class QWidget;
class VMBundleProductItem;
class VMHelpItemsCollection;
class VMNewsCollection;
class VMProductsCollection;
class VMSingleProductItem;
struct VMNotification;

// The controller of the main window, kept a shell: the catalogue loader fetches and parses, the
// four tabs keep their rows, the window placement shows and hides the window; the manager wires
// them together, keeps the badges and the busy overlay, and shows the alerts the rows raise.
class LVInstallManager : public QObject, public LVRowHost
{
    Q_OBJECT
public:
    enum MainTab { InstallsTab = 0, NewsTab = 1, HelpTab = 2, ToolsTab = 3 };
    enum InstallsTab { BundlesTab = 0, SingleProductsTab = 1 };

    static constexpr double refreshInterval = 86400.0;

    explicit LVInstallManager(QObject* parent = nullptr);
    ~LVInstallManager() override;

    static LVInstallManager* sharedInstallManager();
    // Destroys the shared instance (at application exit).
    static void releaseSharedInstallManager();

    // The rows of the installs tab come from here; set before the first load.
    void setInstallItemFactory(std::shared_ptr<LVInstallItemFactory> factory)
    {
        _installsTab->setItemFactory(std::move(factory));
    }

    // Catalogue loading (LVCatalogueLoader).
    static QString localVersionsFilePath() { return LVCatalogueLoader::localVersionsFilePath(); }
    static bool showDiscontinuedProducts() { return LVInstallsTab::showDiscontinuedProducts(); }
    void update() { _catalogueLoader->update(); }
    void updateAction() { update(); }
    void willShow();
    void updateWithConfigData(const QByteArray& data) { _catalogueLoader->updateWithConfigData(data); }
    void beginUpdate();
    void endUpdate() { _catalogueLoader->endUpdate(); }
    bool isUpdating() const;
    void setProductsCollection(const std::shared_ptr<VMProductsCollection>& collection);
    void setNewsCollection(const std::shared_ptr<VMNewsCollection>& collection)
    {
        _newsTab->setNewsCollection(collection);
    }
    void setHelpItemsCollection(const std::shared_ptr<VMHelpItemsCollection>& collection)
    {
        _helpTab->setHelpItemsCollection(collection);
    }

    std::shared_ptr<VMProductsCollection> productsCollection() const { return _installsTab->productsCollection(); }
    std::shared_ptr<VMNewsCollection> newsCollection() const { return _newsTab->newsCollection(); }
    QDateTime lastUpdateDate() const { return _catalogueLoader->lastUpdateDate(); }
    void setLastUpdateDate(const QDateTime& date) { _catalogueLoader->setLastUpdateDate(date); }
    QString licenseAgreementURL() const { return _catalogueLoader->licenseAgreementURL(); }
    void setLicenseAgreementURL(const QString& url) { _catalogueLoader->setLicenseAgreementURL(url); }
    qint64 indicateAsNewProductPeriod() const override { return _indicateAsNewProductPeriod; }
    LVInstallManagerDelegate* delegate() const { return _delegate; }
    void setDelegate(LVInstallManagerDelegate* delegate) { _delegate = delegate; }

    // Row lists (the tabs).
    QList<LVInstallItem*> installItems() const { return _installsTab->installItems(); }
    QList<LVInstallItem*> singleProductInstallItems() const override
    {
        return _installsTab->singleProductInstallItems();
    }
    QList<LVInstallItem*> bundleProductInstallItems() const { return _installsTab->bundleProductInstallItems(); }
    QList<LVNewsItem*> newsItems() const { return _newsTab->newsItems(); }
    QList<LVHelpItem*> helpItems() const { return _helpTab->helpItems(); }
    void setToolItems(const QList<LVOutlineItem*>& toolItems) { _toolsTab->setToolItems(toolItems); }
    LVInstallItem* installItemWithProductID(const QString& productID) const
    {
        return _installsTab->installItemWithProductID(productID);
    }
    void selectItem(QObject* item);
    void selectInstallItem(LVInstallItem* item) override;
    void reloadItem(const VMNotification&) { _installsTab->reloadData(); }
    void noteRowHeightsChanged() override;
    void expandInstallItem(const VMNotification& notification);
    void expandNewsItem(const VMNotification& notification);
    void showDiscontinuedProductsChanged(const VMNotification& notification);

    // Tabs.
    void selectMainTabViewAtIndex(int index);
    void selectInstallsTabViewAtIndex(int index) { _installsTab->selectInstallsTabViewAtIndex(index); }
    void mainSegmentedControlAction(LVSegmentedControl* control)
    {
        selectMainTabViewAtIndex(control->selectedSegment());
    }
    void installsSegmentedControlAction(LVSegmentedControl* control)
    {
        selectInstallsTabViewAtIndex(control->selectedSegment());
    }
    int selectedMainTabIndex() const;

    // Badges.
    void updateInstallTabTitle();
    void updateStatusChanged(VMInstallStatus::Status status, LVInstallItem* installItem) override
    {
        _installsTab->updateStatusChanged(status, installItem);
    }
    static QImage batchImageWithNumber(qint64 number, const QColor& color)
    {
        return LVBadgeImage::imageWithNumber(number, color);
    }

    // Icon cache shared by all rows; safe from any thread.
    static QImage cachedIconForURL(const QUrl& url) { return LVIconCache::cachedIconForURL(url); }
    static void setCachedIcon(const QImage& image, const QUrl& url) { LVIconCache::setCachedIcon(image, url); }
    static void clearImageCache() { LVIconCache::clearImageCache(); }

    // Window (LVWindowPlacement).
    void show() { showAtPosition(QPoint(-1, -1)); }
    void showAtPosition(const QPoint& point) { _windowPlacement->showAtPosition(point); }
    void hide() { _windowPlacement->hide(); }
    bool isVisible() const { return _windowPlacement->isVisible(); }
    bool attachedToStatusItem() const { return _windowPlacement->attachedToStatusItem(); }
    void setAttachedToStatusItem(bool attached) { _windowPlacement->setAttachedToStatusItem(attached); }
    bool suspendWindowMoveNotifications() const { return _windowPlacement->suspendWindowMoveNotifications(); }
    QWidget* viewForStatusMenu() { return _windowPlacement->viewForStatusMenu(); }
    void windowWillClose();
    QWidget* window() const override { return _windowPlacement->window(); }
    // The root view of the window's content.
    LVInstallManagerView* containerView() const;

    // Alerts raised by the rows, shown over the main window.
    void showAlert(const LVAlert& alert) override;
    void showAlert(const LVAlert& alert, LVAlertPresenter::Completion completionHandler) override;
    void showError(const VMError& error) override;
    void setAlertPresenter(std::shared_ptr<LVAlertPresenter> presenter);

    // Buttons.
    void headerButtonAction();
    void aboutButtonAction();
    void preferencesButtonAction();
    void quitButtonAction();
    // The maker's web site, opened by the header button.
    static QUrl makerWebSiteURL();

private:
    void setUpInterface();
    void setBadge(QLabel* badgeView, qint64 count);

    std::unique_ptr<Ui::LVInstallManager> _ui;
    QPointer<LVInstallManagerView> _containerView;
    QPointer<LVProgressView> _progressView;
    LVCatalogueLoader* _catalogueLoader = nullptr;
    LVInstallsTab* _installsTab = nullptr;
    LVNewsTab* _newsTab = nullptr;
    LVHelpTab* _helpTab = nullptr;
    LVToolsTab* _toolsTab = nullptr;
    LVWindowPlacement* _windowPlacement = nullptr;
    qint64 _indicateAsNewProductPeriod = 14;
    LVInstallManagerDelegate* _delegate = nullptr;
    std::shared_ptr<LVAlertPresenter> _alertPresenter;
};
