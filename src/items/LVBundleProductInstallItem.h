#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "items/LVInstallItem.h"
#include "platform/PrivilegedExecution.h"

#include <QPointer>
#include <QString>
#include <memory>

namespace Ui {
class LVBundleProductInstallItem;
}
class LVBundleInstallItem;
class LVDownloader;
class LVInstallItemTitleField;
class LVProductOperation;
class QLabel;
class QProgressBar;
class QWidget;
struct VMNotification;

// A product inside a bundle row. It shows the product's own status and progress and does the
// per-product work (through its LVProductOperation) on the bundle's behalf, telling the bundle of
// every step; the bundle decides what happens next.
class LVBundleProductInstallItem : public LVInstallItem
{
    Q_OBJECT
public:
    // Null, and "productItem = nil" logged, without a product.
    static LVBundleProductInstallItem* initWithProdcutItem(const VMSingleProductItemPtr& productItem,
                                                           QObject* parent = nullptr);
    // Deletes a package that was downloaded but not installed.
    ~LVBundleProductInstallItem() override;

    VMSingleProductItemPtr singleProductItem() const { return _productItem; }
    std::shared_ptr<VMProductItem> productItem() const override { return _productItem; }
    LVBundleInstallItem* installItem() const { return _installItem; }
    void setInstallItem(LVBundleInstallItem* bundle) { _installItem = bundle; }
    LVProductOperation* operation() const { return _operation.get(); }

    QString title() const override;
    bool discontinued() const override;
    QWidget* view() override;
    QList<LVOutlineItem*> childItems() override { return {}; }
    bool shouldExpand() override { return false; }
    bool shouldCollapse() override { return false; }
    bool shouldSelect() override { return true; }
    void updateStatus() override;

    QString installedVersion() const { return _installedVersion; }
    void setInstalledVersion(const QString& version) { _installedVersion = version; }
    bool waitingToInstall() const { return _waitingToInstall; }
    bool downloadCancelled() const { return _downloadCancelled; }
    QString downloadFilePath() const { return _downloadFilePath; }
    VMVersionItemPtr installingVersionItem() const { return _installingVersionItem; }

    // Starts the latest version's download. NO only while a download runs; without a URL or a
    // place to download to it answers YES and nothing downloads.
    bool startDownloadingLatestVersion();
    void cancelDownloading();
    bool isDownloading() const;
    bool isInstalling() const;
    bool isUninstalling() const;
    // Has an uninstall script and is installed (status 2 or 3).
    bool canUninstall();
    qint64 expectedInstallerFileSize() const;
    qint64 currentInstallerDownloadFileSize() const;

    // Called on the bundle's background thread, one product after another. NO while an installer
    // runs; YES without a downloaded package (nothing happens) or once the installer has run.
    bool runInstallerWithAuthorization(const PrivilegedExecution::AuthorizationRef& authorization);
    // Called on the bundle's background thread: downloads the scripts and runs them.
    bool runUninstallerWithAuthorization(const PrivilegedExecution::AuthorizationRef& authorization);
    // Deletes the downloaded package and leaves the waiting state.
    void cleanUp();
    // Takes the version just installed (the product's "temporaryVersionStr"); the argument is unused.
    void checkInstalledVersion(int ignored);

    void installCompletedNotif(const VMNotification& notification);
    void uninstallCompletedNotif(const VMNotification& notification);

    void downloadStarted(LVDownloader* downloader) override;
    void downloadProgress(double progress, LVDownloader* downloader) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;
    void installStarted(LVInstaller* installer) override;
    void installCompleted(LVInstaller* installer) override;
    void installFailed(LVInstaller* installer) override;
    void uninstallStarted(LVUninstaller* uninstaller) override;
    void uninstallCompleted(LVUninstaller* uninstaller) override;
    void uninstallFailed(LVUninstaller* uninstaller) override;

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
    void updateView(uint status);
    bool concernsThisProduct(const VMNotification& notification) const;

    VMSingleProductItemPtr _productItem;
    QPointer<LVBundleInstallItem> _installItem;
    std::unique_ptr<LVProductOperation> _operation;
    QString _installedVersion;
    bool _waitingToInstall = false;
    bool _downloadCancelled = false;
    // Between an installer's success and the announcement, the row still counts as installing.
    bool _confirming = false;
    QString _downloadFilePath;
    VMVersionItemPtr _installingVersionItem;
    QPointer<LVDownloader> _iconDownloader;

    std::unique_ptr<Ui::LVBundleProductInstallItem> _ui;
    QPointer<QWidget> _containerView;
    uint _shownStatus = StatusNotComputed;
};
