#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVDownloaderDelegate.h"
#include "engines/LVUninstallerDelegate.h"
#include "foundation/VMError.h"
#include "platform/PrivilegedExecution.h"

#include <QByteArrayList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <memory>

class LVDownloader;
class LVUninstaller;

// Removes one product: fetches its uninstall scripts and runs one uninstaller per script. The
// product's operation owns it and keeps the phase, the action history and the confirmation; the
// signals below tell it each step, on the main thread unless said otherwise.
class LVProductUninstall : public QObject, public LVDownloaderDelegate, public LVUninstallerDelegate
{
    Q_OBJECT
public:
    using QObject::QObject;

    // The product's own URL if non-empty, then each version's non-empty one in catalogue order;
    // repeats kept (the downloads skip them).
    static QStringList scriptURLs(const VMSingleProductItem& product);

    // Downloads every script (identifier 4, repeats skipped) at the same time, then runs them in
    // the order their downloads completed on a background thread under one LVAdminAuthorization.
    // False when no download starts.
    bool start(const VMSingleProductItemPtr& product, const QStringList& scriptURLs);
    // On the calling background thread under the caller's authorization: downloads each script
    // synchronously, then runs one uninstaller per script. False when an uninstaller runs already
    // or no script arrived.
    bool runSynchronously(const VMSingleProductItemPtr& product,
                          const PrivilegedExecution::AuthorizationRef& authorization);

    // A requested uninstall is confirmed once its last uninstaller has ended.
    bool isRequested() const { return _requested; }
    void setRequested() { _requested = true; }
    std::shared_ptr<LVUninstaller> uninstaller() const { return _uninstaller; }
    // The installed version when the uninstall began, for the history.
    QString version() const { return _version; }

    void downloadStarted(LVDownloader* downloader) override;
    void downloadProgress(double progress, LVDownloader* downloader) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;
    void uninstallStarted(LVUninstaller* uninstaller) override;
    void uninstallCompleted(LVUninstaller* uninstaller) override;
    void uninstallFailed(LVUninstaller* uninstaller) override;

signals:
    // The uninstall's clock starts; on the calling thread of runSynchronously().
    void actionStarted();
    // The uninstall occupies the product, or no longer does.
    void busyChanged(bool busy);
    void scriptDownloadBegan();
    void scriptDownloadAdvanced(double percent);
    void scriptDownloadEnded(bool succeeded, const VMError& error);
    // The right was refused or cancelled (status -60005 / -60006).
    void authorizationRefused(int status);
    void uninstallerBegan();
    // `settled`: nothing of the uninstall runs any more. `confirm`: a requested uninstall has
    // ended and removed something.
    void uninstallerEnded(bool succeeded, const VMError& error, bool settled, bool confirm);

private:
    // Which the history and the log know.
    static constexpr qint64 scriptDownload = 4;

    void runScripts(const QByteArrayList& scripts);
    // Main thread: takes over a runner made on a background thread before it starts.
    void adopt(const std::shared_ptr<LVUninstaller>& uninstaller);
    void end(LVUninstaller* uninstaller, bool succeeded);

    std::shared_ptr<LVUninstaller> _uninstaller;
    QList<QPointer<LVDownloader>> _scriptDownloaders;
    QStringList _downloadUninstallScriptPaths;
    QByteArrayList _uninstallScriptData;
    QString _version;
    bool _requested = false;
    int _runningUninstallers = 0;
    bool _someUninstallerSucceeded = false;
};
