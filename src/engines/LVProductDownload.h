#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVDownloadProgress.h"
#include "engines/LVDownloaderDelegate.h"
#include "foundation/VMError.h"

#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>
#include <functional>
#include <optional>

class LVDownloader;

// Fetches one product's installer package and holds it until it is installed or taken, beside the
// row's manual download into the user's own file. The product's operation owns it and keeps the
// phase, the history and the installation; the signals below tell it each step, on the main
// thread. Deleting it cancels a running download and deletes a package nobody took; the manual
// download's file stays.
class LVProductDownload : public QObject, public LVDownloaderDelegate
{
    Q_OBJECT
public:
    // What an installer needs of a downloaded package.
    struct Package
    {
        QString path;
        QVariantMap settings;
        VMVersionItemPtr version;
    };

    using QObject::QObject;
    ~LVProductDownload() override;

    void setProductItem(const VMSingleProductItemPtr& product) { _productItem = product; }
    // Whether a run holds the product: a manual download is not shown then.
    void setHeldQuery(std::function<bool()> isHeld) { _isHeld = std::move(isHeld); }

    // See LVProductOperation::startDownload(); the caller checks its phase first.
    bool start(const VMVersionItemPtr& version);
    bool start(const QUrl& url, const QVariantMap& installerSettings, const QVariant& representedObject,
               const QString& filePath = QString());
    bool startManual(const QUrl& url, const QString& filePath);
    LVDownloader* downloader() const;
    LVDownloader* manualDownloader() const;
    LVDownloader* shownDownloader() const;
    // Cancels the installer download and deletes its file at once.
    void cancel();
    // Cancels the installer download and deletes the held package; cleanedUp() follows.
    void cleanUp();

    QString packagePath() const;
    QString takePackage();
    // For an installer, which deletes the package after its run: the path is no longer held; the
    // settings and version stay until the installation ends. Nothing when no package waits.
    std::optional<Package> handOverPackage();
    QVariantMap installerSettings() const;
    void clearInstallerSettings();
    // The represented object of the package's download; kept while its installation runs.
    VMVersionItemPtr packageVersion() const { return _packageVersion; }
    // Once `version`'s installation has ended.
    void forgetPackageVersion(const VMVersionItemPtr& version);

    LVDownloadProgress progress() const;
    QString progressDescription() const;

    void downloadStarted(LVDownloader* downloader) override;
    void downloadProgress(double progress, LVDownloader* downloader) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;

signals:
    void installerDownloadStarted();
    // cleanUp() has ended, whether or not there was anything to delete.
    void cleanedUp();
    // The shown download's values changed.
    void progressChanged();
    void began(bool manual);
    void advanced(bool manual, double percent);
    // `packaged`: the package lies on disk and is held.
    void installerDownloaded(bool packaged);
    void installerDownloadFailed(const VMVersionItemPtr& version, bool cancelled, const VMError& error);
    void manualDownloadEnded(bool succeeded, const VMError& error);

private:
    // Which the history and the log know.
    static constexpr qint64 installerDownload = 2;
    static constexpr qint64 manualDownload = 3;

    void forgetInstallerDownloader(LVDownloader* downloader);
    void endManualDownload(LVDownloader* downloader, bool succeeded);

    VMSingleProductItemPtr _productItem;
    std::function<bool()> _isHeld;
    QPointer<LVDownloader> _installerDownloader;
    QPointer<LVDownloader> _manualDownloader;
    QElapsedTimer _clock;
    bool _cancelled = false;
    // Guards the package, which a synchronous install reads on its background thread.
    mutable QMutex _packageLock;
    QString _packagePath;
    QVariantMap _installerSettings;
    VMVersionItemPtr _packageVersion;
};
