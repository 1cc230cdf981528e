#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVProductOperation.h"
#include "items/LVInstallItem.h"
#include "items/LVRowIcon.h"

#include <QPointer>
#include <QString>
#include <memory>

namespace Ui {
class LVBundleProductInstallItem;
}
class LVBundleInstallItem;

class LVInstallItemTitleField;
class QLabel;
class QProgressBar;
class QWidget;
struct VMNotification;

// A product inside a bundle row. It shows the product's own status and progress, read from the
// product's operation (LVProductOperations), which the bundle's run drives; the bundle decides
// what happens next.
class LVBundleProductInstallItem : public LVInstallItem
{
    Q_OBJECT
public:
    // Null, and "productItem = nil" logged, without a product.
    static LVBundleProductInstallItem* initWithProdcutItem(const VMSingleProductItemPtr& productItem,
                                                           QObject* parent = nullptr);
    ~LVBundleProductInstallItem() override;

    VMSingleProductItemPtr singleProductItem() const { return _productItem; }
    std::shared_ptr<VMProductItem> productItem() const override { return _productItem; }
    LVBundleInstallItem* installItem() const { return _installItem; }
    void setInstallItem(LVBundleInstallItem* bundle) { _installItem = bundle; }
    LVProductOperation* operation() const { return _operation; }

    QString title() const override;
    bool discontinued() const override;
    QWidget* view() override;
    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldCollapse() override { return false; }
    bool shouldSelect() override { return true; }
    void updateStatus() override;

    // The product model's value; setting it sets the model's.
    QString installedVersion() const;
    void setInstalledVersion(const QString& version);
    // The installer has been downloaded and waits for the bundle's installation.
    bool waitingToInstall() const;
    bool isDownloading() const;
    bool isInstalling() const;
    bool isUninstalling() const;
    // Has an uninstall script and is installed (status 2 or 3).
    bool canUninstall();
    // Takes the version just installed (the product's "temporaryVersionStr"); the argument is unused.
    void checkInstalledVersion(int ignored);

    void installCompletedNotif(const VMNotification& notification);
    void uninstallCompletedNotif(const VMNotification& notification);

    void downloadAdvanced(Download download, double percent) override;
    void downloadEnded(Download download, bool succeeded) override;
    void installEnded(bool succeeded, const VMError& error) override;

    // Outlets, for the bundle and for tests.
    QWidget* containerView() const;
    LVInstallItemTitleField* titleField() const;
    QProgressBar* downloadProgressBar() const;
    QLabel* statusIndicator() const;
    QLabel* statusTextField() const;
    QLabel* productIconImageView() const;

private:
    explicit LVBundleProductInstallItem(const VMSingleProductItemPtr& productItem, QObject* parent);
    void showIcon(const QImage& image);
    void updateView(InstallStatus status);
    bool concernsThisProduct(const VMNotification& notification) const;

    VMSingleProductItemPtr _productItem;
    QPointer<LVBundleInstallItem> _installItem;
    QPointer<LVProductOperation> _operation;
    LVRowIcon::Fetch _iconFetch;

    std::unique_ptr<Ui::LVBundleProductInstallItem> _ui;
    QPointer<QWidget> _containerView;
    InstallStatus _shownStatus = StatusNotComputed;
};
