#pragma once

#include "catalogue/VMBundleProductItem.h"
#include "engines/LVProductBatch.h"
#include "items/LVInstallItem.h"
#include "items/LVRowIcon.h"

#include <QList>
#include <QPointer>
#include <QVariantMap>
#include <initializer_list>
#include <memory>

namespace Ui {
class LVBundleInstallItem;
}
class LVBundleProductInstallItem;
class LVInstallItemTitleField;
class QLabel;
class QProgressBar;
class QPushButton;
class QTextBrowser;
class QToolButton;
class QWidget;
class VMProductsCollection;

// The row of a catalogue bundle. Its children are one row per contained product; it installs,
// updates or uninstalls all of them in one operation: the installers download one after another,
// then install together under one administrator authorization, and one alert sums it up. The
// product rows do the per-product work; this row only holds the policy.
class LVBundleInstallItem : public LVInstallItem
{
    Q_OBJECT
public:
    using ProductRows = QList<QPointer<LVBundleProductInstallItem>>;

    // Null when the bundle or the collection is missing ("bundleProductItem = nil",
    // "productsCollection = nil" logged).
    static LVBundleInstallItem*
    installItemWithBundleProductItem(const VMBundleProductItemPtr& bundleProductItem,
                                     const std::shared_ptr<VMProductsCollection>& collection);
    static LVBundleInstallItem* initWithBundleProductItem(const VMBundleProductItemPtr& bundleProductItem,
                                                          const std::shared_ptr<VMProductsCollection>& collection);
    ~LVBundleInstallItem() override;

    static QString checkOSXVersion();
    static QString checkInstalledBundleVersion(const QString& bundleIdentifier);
    static QDateTime currentDate();

    VMBundleProductItemPtr bundleProductItem() const { return _bundleProductItem; }
    std::shared_ptr<VMProductItem> productItem() const override { return _bundleProductItem; }
    QList<LVBundleProductInstallItem*> productInstallItems() const { return _productInstallItems; }

    QString title() const override;
    bool discontinued() const override;
    QWidget* view() override;
    // The product rows; discontinued ones only while the manager shows discontinued products.
    QList<LVOutlineItem*> childItems() override;
    bool shouldExpand() override { return true; }
    bool shouldCollapse() override { return true; }
    bool shouldSelect() override { return true; }
    void setInstallManager(LVRowHost* manager) override;
    void updateStatus() override;

    void doubleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;
    void singleClicked(QMouseEvent* event, LVInstallItemTitleField* titleField) override;
    void populateContextMenu(QMenu* menu, QEvent* event) override;

    void showMoreInfo();
    void showDocumentation();
    void buy();

    // Install (or reinstall) the bundle, asking first on Apple silicon when a product's latest
    // version is an FxPlug3 build.
    void checkAndStartDownloadAction();
    // Installs every product not at its latest version as one run (LVProductBatch); while a run
    // downloads, cancels it instead.
    void startDownload();
    void cancelDownload();
    void startUninstalling();

    bool isDownloading() const;
    bool isInstalling() const;
    bool isUninstalling() const;

    // The running operation's lists; empty between operations.
    QList<LVBundleProductInstallItem*> itemsToDownload() const;
    QList<LVBundleProductInstallItem*> busyItems() const;
    QList<LVBundleProductInstallItem*> failedItems() const;
    bool downloadCancelled() const { return _downloadCancelled; }
    // The summed download progress in percent.
    int downloadProgressValue() const { return _downloadProgressValue; }

    // Outlets, for tests.
    QWidget* headlineView() const;
    LVInstallItemTitleField* titleField() const;
    QProgressBar* downloadProgressBar() const;
    QToolButton* statusButton() const;
    QLabel* statusTextField() const;
    QToolButton* menuButton() const;
    QToolButton* downloadButton() const;
    QLabel* productIconImageView() const;

signals:
    // The install or uninstall run has ended, its alert shown.
    void operationEnded();

private:
    LVBundleInstallItem(const VMBundleProductItemPtr& bundleProductItem,
                        const std::shared_ptr<VMProductsCollection>& collection);
    // The key of this bundle's runs among the application's product operations.
    QString runKey() const;
    void observe(LVProductBatch* run);
    void runEnded(LVProductBatch::Ending ending);
    void showProgress();
    // The product rows whose run items are in one of `states`.
    QList<LVBundleProductInstallItem*> rowsIn(std::initializer_list<LVProductBatch::State> states) const;
    LVBundleProductInstallItem* rowForProduct(const QString& productID) const;
    void showIcon(const QImage& image);
    void updateView(InstallStatus status);

    VMBundleProductItemPtr _bundleProductItem;
    QList<LVBundleProductInstallItem*> _productInstallItems;
    QPointer<LVProductBatch> _run;
    bool _downloadCancelled = false;
    int _downloadProgressValue = 0;
    bool _computingStatus = false;
    LVRowIcon::Fetch _iconFetch;

    std::unique_ptr<Ui::LVBundleInstallItem> _ui;
    QPointer<QWidget> _headlineView;
    QPointer<QMenu> _menu;
};
