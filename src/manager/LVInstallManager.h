#pragma once

#include "LVAlertPresenter.h"
#include "engines/LVDownloaderDelegate.h"

#include <QByteArray>
#include <QColor>
#include <QDateTime>
#include <QImage>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QUrl>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>

namespace Ui {
class LVInstallManager;
}
class LVHelpItem;
class LVInstallItem;
class LVInstallManagerDelegate;
class LVInstallManagerView;
class LVMouseDownMonitor;
class LVNewsItem;
class LVOutlineItem;
class LVOutlineModel;
class LVOutlineView;
class LVProgressView;
class LVSegmentedControl;
class QLabel;
class QStackedWidget;
class QWidget;
class VMBundleProductItem;
class VMHelpItemsCollection;
class VMNewsCollection;
class VMProductsCollection;
class VMSingleProductItem;
struct VMNotification;

// The controller of the main window: it loads the catalogue, turns it into rows for the installs,
// news and help tabs, keeps the count badges, shows the alerts the rows raise and places the window
// in its attached (borderless, hides on outside clicks) or detached (titled) mode.
class LVInstallManager : public QObject, public LVDownloaderDelegate
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

    // "Product Versions.plist" in the home directory: when present it replaces the remote catalogue.
    static QString localVersionsFilePath();
    // The override file's bytes; a null array when it can't be read.
    static QByteArray getLocalUpdatesConfigData(QString* error = nullptr);

    static bool showDiscontinuedProducts();

    // The rows each catalogue entry becomes, made by the product and bundle rows themselves; a
    // factory left empty, or answering null, leaves the entry out.
    using SingleInstallItemFactory = std::function<LVInstallItem*(const std::shared_ptr<VMSingleProductItem>&)>;
    using BundleInstallItemFactory = std::function<LVInstallItem*(const std::shared_ptr<VMBundleProductItem>&,
                                                                  const std::shared_ptr<VMProductsCollection>&)>;
    static void setSingleInstallItemFactory(SingleInstallItemFactory factory);
    static void setBundleInstallItemFactory(BundleInstallItemFactory factory);
    // The "update all installed" row shown first on the installs tab, when it answers one.
    static void setUpdateAllInstalledItemProvider(std::function<LVInstallItem*()> provider);

    // Catalogue loading.
    void update();
    void updateAction();
    void willShow();
    void updateWithConfigData(const QByteArray& data);
    void beginUpdate();
    void endUpdate();
    bool isUpdating() const;
    void setProductsCollection(const std::shared_ptr<VMProductsCollection>& collection);
    void setNewsCollection(const std::shared_ptr<VMNewsCollection>& collection);
    void setNewsItems(const QList<LVNewsItem*>& newsItems);
    void setHelpItemsCollection(const std::shared_ptr<VMHelpItemsCollection>& collection);
    void saveRemoteConfigData(const QByteArray& data);

    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;

    std::shared_ptr<VMProductsCollection> productsCollection() const { return _productsCollection; }
    std::shared_ptr<VMNewsCollection> newsCollection() const { return _newsCollection; }
    std::shared_ptr<VMHelpItemsCollection> helpItemsCollection() const { return _helpItemsCollection; }
    QDateTime lastUpdateDate() const { return _lastUpdateDate; }
    void setLastUpdateDate(const QDateTime& date) { _lastUpdateDate = date; }
    QString licenseAgreementURL() const { return _licenseAgreementURL; }
    void setLicenseAgreementURL(const QString& url) { _licenseAgreementURL = url; }
    qint64 indicateAsNewProductPeriod() const { return _indicateAsNewProductPeriod; }
    LVInstallManagerDelegate* delegate() const { return _delegate; }
    void setDelegate(LVInstallManagerDelegate* delegate) { _delegate = delegate; }

    // Row lists.
    QList<LVInstallItem*> installItems() const;
    QList<LVInstallItem*> singleProductInstallItems() const { return _singleProductInstallItems; }
    QList<LVInstallItem*> bundleProductInstallItems() const { return _bundleProductInstallItems; }
    QList<LVNewsItem*> newsItems() const { return _newsItems; }
    QList<LVHelpItem*> helpItems() const { return _helpItems; }
    QList<LVOutlineItem*> toolItems() const { return _toolItems; }
    void setToolItems(const QList<LVOutlineItem*>& toolItems);
    // A single-product row; never a bundle row, even for a bundle's identifier.
    LVInstallItem* installItemWithProductID(const QString& productID) const;
    void selectItem(QObject* item);
    void selectInstallItem(LVInstallItem* item);
    void reloadItem(const VMNotification& notification);
    void expandInstallItem(const VMNotification& notification);
    void expandNewsItem(const VMNotification& notification);
    void showDiscontinuedProductsChanged(const VMNotification& notification);

    // Tabs.
    void selectMainTabViewAtIndex(int index);
    void selectInstallsTabViewAtIndex(int index);
    void mainSegmentedControlAction(LVSegmentedControl* control);
    void installsSegmentedControlAction(LVSegmentedControl* control);
    int selectedMainTabIndex() const;

    // Badges.
    void updateInstallTabTitle();
    void updateStatusChanged(uint status, LVInstallItem* installItem);
    static QImage batchImageWithNumber(qint64 number, const QColor& color);

    // Installed-version detection, kept in core; these are the names the rows know it by.
    static std::optional<QVariantMap> checkProductVersionsInBundle(const QString& bundleIdentifier);
    static QString filePathToBundle(const QString& bundleIdentifier);
    static QString findXPCBunde(const QString& bundleIdentifier, const QString& folder);
    static QString filePathToXPCBundleUsingPluginKit(const QString& bundleIdentifier);
    static bool registerPluginkitBundle(const QString& path);
    static void clearBundleIdentifierCache();

    // Icon cache shared by all rows; safe from any thread.
    static QImage cachedIconForURL(const QUrl& url);
    static void setCachedIcon(const QImage& image, const QUrl& url);
    static void clearImageCache();

    // Window.
    void show();
    void showAtPosition(const QPoint& point);
    void hide();
    bool isVisible() const;
    bool attachedToStatusItem() const { return _attachedToStatusItem; }
    void setAttachedToStatusItem(bool attached);
    bool suspendWindowMoveNotifications() const { return _suspendWindowMoveNotifications; }
    void setSuspendWindowMoveNotifications(bool flag) { _suspendWindowMoveNotifications = flag; }
    QWidget* viewForStatusMenu();
    void windowDidMove();
    void windowWillClose();
    QWidget* window() const;
    bool hasMouseMonitor() const { return _mouseDragMonitor != nullptr; }

    // Alerts raised by the rows, shown over the main window.
    void showAlert(const LVAlert& alert);
    void showAlert(const LVAlert& alert, LVAlertPresenter::Completion completionHandler);
    void showError(const VMError& error);
    void setAlertPresenter(std::shared_ptr<LVAlertPresenter> presenter);

    // Buttons.
    void headerButtonAction();
    void aboutButtonAction();
    void preferencesButtonAction();
    void quitButtonAction();
    // The maker's web site, opened by the header button.
    static QUrl makerWebSiteURL();

    // Views, for the application and for tests.
    LVInstallManagerView* containerView() const;
    LVSegmentedControl* mainSegmentedControl() const;
    LVSegmentedControl* installsSegmentedControl() const;
    QLabel* installsCountImageView() const;
    QLabel* newsCountImageView() const;
    QWidget* usingLocalConfigIndicator() const;
    QStackedWidget* mainTabView() const;
    LVOutlineView* installItemsTable() const;
    LVOutlineView* newsItemsTable() const;
    LVOutlineView* helpItemsTable() const;
    LVOutlineView* toolItemsTable() const;
    LVProgressView* progressView() const;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void setUpInterface();
    void detachInstallItems();
    void setBadge(QLabel* badgeView, qint64 count);
    void removeMouseMonitor();
    Qt::WindowFlags windowFlagsForMode() const;

    std::unique_ptr<Ui::LVInstallManager> _ui;
    QPointer<LVInstallManagerView> _containerView;
    QPointer<QWidget> _window;
    QPointer<LVProgressView> _progressView;
    LVMouseDownMonitor* _mouseDragMonitor = nullptr;

    LVOutlineModel* _installModel = nullptr;
    LVOutlineModel* _newsModel = nullptr;
    LVOutlineModel* _helpModel = nullptr;
    LVOutlineModel* _toolModel = nullptr;

    std::shared_ptr<VMProductsCollection> _productsCollection;
    std::shared_ptr<VMNewsCollection> _newsCollection;
    std::shared_ptr<VMHelpItemsCollection> _helpItemsCollection;
    QList<LVInstallItem*> _singleProductInstallItems;
    QList<LVInstallItem*> _bundleProductInstallItems;
    QList<LVInstallItem*> _installItems;
    QList<LVNewsItem*> _newsItems;
    QList<LVHelpItem*> _helpItems;
    QList<LVOutlineItem*> _toolItems;

    QDateTime _lastUpdateDate;
    QString _licenseAgreementURL;
    qint64 _indicateAsNewProductPeriod = 14;
    LVInstallManagerDelegate* _delegate = nullptr;
    bool _attachedToStatusItem = false;
    bool _suspendWindowMoveNotifications = false;
    std::shared_ptr<LVAlertPresenter> _alertPresenter;
};
