#pragma once

#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMSingleProductItem.h"
#include "engines/LVDownloadProgress.h"
#include "engines/LVInstallerDelegate.h"
#include "engines/LVProductDownload.h"
#include "engines/LVProductUninstall.h"
#include "foundation/VMError.h"
#include "platform/PrivilegedExecution.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>
#include <memory>

class LVDownloader;
class LVInstaller;
class LVProductBatch;
class LVUninstaller;

// Carries one product through download -> package installer -> confirmation: the one mechanism
// behind the single-product row, the bundle's product rows, the update-all tool and the command
// line. Its LVProductDownload fetches the installer and holds the package (deleting packages
// nobody needs, never one that a run holds); its LVProductUninstall removes the product. The
// operation runs the installer and keeps the phase, history and confirmation of all of it, so
// that observers see one product. It also holds what every view shows of the product:
// the installed version (detected here, once), the status of the work and which run holds it.
// Policy (alerts, queues, the 2.0 s waits, what a failure means) stays with the owner.
//
// The rule for a product held by a run: its rows show the run's progress; what they may do
// while it lasts is answered by refusal(), and their Cancel goes to the run (cancelFromRow()),
// so that no view deletes, cancels or stalls work it does not own. A manual download is the
// row's own: its own downloader and file, next to whatever the product's run holds.
//
// Observers connect to the signals below, which follow the engines' own callbacks after the
// operation has updated its phase. requestInstallation() and requestUninstallation() carry the
// whole pipeline, confirmation included, without anyone driving it: the form that
// LVProductOperations offers to rows; LVProductBatch drives the steps of several products itself. Everything here runs
// on the main thread except install(..., Synchronous) and runUninstallSynchronously(), which block the calling
// background thread.
class LVProductOperation : public QObject, public LVInstallerDelegate
{
    Q_OBJECT
public:
    enum class Phase {
        Idle,         // nothing running, no package held
        Downloading,  // an installer download runs (identifier 2 or 3)
        Downloaded,   // the package lies on disk and waits for install()
        Installing,   // the package installer runs
        Confirming,   // installed; the announcement waits for the system to see the plug-in
        Uninstalling, // uninstall scripts are downloaded together or run
    };
    Q_ENUM(Phase)
    enum class Execution { Background, Synchronous };
    // The operation's downloads, as its observers hear of them.
    enum class Download { Installer, Manual, UninstallScript };
    Q_ENUM(Download)
    // What a row may ask of the product.
    enum class RowAction { Install, Cancel, Uninstall, ManualDownload };
    // How an installation is confirmed: a product row's confirmation posts "reloadLVUpdateItem"
    // before the announcement; a bundle's product announces only, after its wait.
    enum class Confirmation { Row, Bundle };

    // Deleting it cancels a running download and deletes a package that was downloaded but not
    // installed. A running installer or uninstaller finishes on its own and no longer calls back.
    explicit LVProductOperation(const VMSingleProductItemPtr& product, QObject* parent = nullptr);

    VMSingleProductItemPtr productItem() const { return _productItem; }
    // A newer record of the same product (a refreshed catalogue).
    void setProductItem(const VMSingleProductItemPtr& product);
    Phase phase() const { return _phase; }
    bool isDownloading() const;
    bool isInstalling() const;
    bool isUninstalling() const;
    // What a row of the product shows for the operation: Downloading while an installer (or a
    // manual download outside a run) downloads, WaitingForBundle while its package waits for the
    // holding run's installation, Installing while it installs or is confirmed; NotComputed
    // otherwise, when the installed version decides.
    VMInstallStatus::Status busyStatus() const;

    // The installed version as last detected or confirmed; null when none.
    QString installedVersion() const { return _installedVersion; }
    void setInstalledVersion(const QString& version);
    // Looks again on disk (after an installation whose version nobody confirmed, or an uninstall).
    void detectInstalledVersion();

    // The run that holds the product, or null. A stalled run lets go of its products.
    LVProductBatch* holder() const;
    void setHolder(LVProductBatch* run);
    bool isHeld() const { return holder() != nullptr; }
    // A run took the product and has not let go of it yet (its ending included): the run's
    // summary, not the rows' alerts, speaks for the work.
    bool isPartOfRun() const { return !_holder.isNull(); }
    // Whether `run` took the product, stalled or not.
    bool isHeldBy(const LVProductBatch* run) const;
    // Why a row may not do `action` now (its accessible description); empty when it may.
    QString refusal(RowAction action) const;
    // A row's Cancel: the product's own download, or the holding run's cancel when its policy lets
    // rows cancel it. Nothing when refusal(Cancel) is not empty.
    void cancelFromRow();

    // The product's uninstall scripts: its own URL if non-empty, then each version's non-empty
    // one in catalogue order; repeats kept (callers skip them when downloading).
    static QStringList uninstallScriptURLs(const VMSingleProductItem& product);

    // The whole pipeline: downloads the version's installer, installs it in the background as soon
    // as it has arrived and confirms a success (confirmInstallation()). A request while the product
    // downloads or installs joins that run (true). False while it uninstalls or when the download
    // cannot start.
    bool requestInstallation(const VMVersionItemPtr& version);
    // Uninstalls with startUninstall() and confirms a success: "reloadLVUpdateItem", then
    // "productUninstallCompleted", then uninstallEnded(). A request while the product uninstalls
    // joins (true); false when it is busy otherwise or nothing can start.
    bool requestUninstallation(const QStringList& scriptURLs);
    // Whether a failed installation after which the version asked for is found installed counts
    // as a success (history "succeeded", the installer's output as its detail). Off for the
    // window, which judges by the installer's words; on for the command line.
    void setJudgesByOutcome(bool judgesByOutcome) { _judgesByOutcome = judgesByOutcome; }

    // Downloads the version's installer (settings from installerSettingsForVersionItem:) to the
    // path the downloader proposes for the URL's last path component, identifier 2, represented
    // object the version; logs "Installer settings: %@" and keeps the settings. False when a
    // download runs already, or with no version, URL or path, or when the start fails.
    bool startDownload(const VMVersionItemPtr& version);
    // The general form: any URL and settings, represented object and target file (empty: the
    // proposed temporary path). Identifier 2. The update-all tool.
    bool startDownload(const QUrl& url, const QVariantMap& installerSettings, const QVariant& representedObject,
                       const QString& filePath = QString());
    // "Download Installer Manually...": identifier 3 into the chosen file, beside any other work.
    // False while a manual download runs or when it cannot start.
    bool startManualDownload(const QUrl& url, const QString& filePath);
    // The running installer download, or null.
    LVDownloader* downloader() const;
    LVDownloader* manualDownloader() const;
    // The download whose progress the rows show: the installer's, else a manual one outside a run.
    LVDownloader* shownDownloader() const;
    bool isShownDownload(Download download) const;
    // Cancels the running installer download (its downloadFailed: follows) and deletes its file.
    void cancelDownload();

    // The downloaded package waiting for install(); empty when none.
    QString packagePath() const;
    // A stalled run keeps its package: the operation forgets it and is idle again.
    QString takePackage();
    QVariantMap installerSettings() const;
    // The version being installed (the represented object of the installer download), or null.
    VMVersionItemPtr installingVersionItem() const { return _download.packageVersion(); }

    // Installs packagePath() with the kept settings plus `extraOptions` (e.g. "requiresAuthentication")
    // and, when given, "optionAuthorizationRef" -> `authorization`. The installer deletes the package
    // after the run; represented object the installing version. Background: the installer runs on a
    // background thread and calls back on the main thread. Synchronous: runs on the calling
    // (background) thread and returns when the package installer has ended. False when an installer
    // runs already or there is no package.
    bool install(const PrivilegedExecution::AuthorizationRef& authorization = nullptr,
                 Execution execution = Execution::Background, const QVariantMap& extraOptions = {});
    // Null when no installer runs.
    std::shared_ptr<LVInstaller> installer() const { return _installer; }

    // The confirmation after a successful install: stores the version under "temporaryVersionStr",
    // registers the plug-in found at xpcPathForBundleIndentifier: with pluginkit and launches the
    // wrapper app (bundle identifier: the version's productIdentifier, else the product's), posts
    // "reloadLVUpdateItem" (a row's confirmation only), then, after `secondsBeforeAnnouncement`
    // (phase Confirming meanwhile), posts "productInstallCompleted" with the product, removes
    // "temporaryVersionStr" again and emits installationConfirmed().
    void confirmInstallation(const VMVersionItemPtr& version, Confirmation confirmation,
                             double secondsBeforeAnnouncement = 0.0);

    // Downloads every script (identifier 4, repeats skipped) at the same time, then runs them in
    // the order their downloads completed on a background thread under one LVAdminAuthorization. A
    // refused right ends silently (authorizationRefused is emitted). False for an empty list.
    bool startUninstall(const QStringList& scriptURLs);
    // The bundle's form, on the calling background thread under the caller's authorization:
    // downloads each script synchronously, then runs one uninstaller per script. False when an
    // uninstaller runs already.
    bool runUninstallSynchronously(const PrivilegedExecution::AuthorizationRef& authorization);
    std::shared_ptr<LVUninstaller> uninstaller() const;

    // Cancels a download and deletes the held package (cleanUp of the bundle rows).
    void cleanUp();

    // Progress of the download the rows show.
    LVDownloadProgress progress() const;
    qint64 expectedBytes() const;
    qint64 receivedBytes() const;
    // The progress's description; empty when nothing is downloading.
    QString progressDescription() const;

    // Engine callbacks: update the phase, then tell the observers.
    void installStarted(LVInstaller* installer) override;
    void installCompleted(LVInstaller* installer) override;
    void installFailed(LVInstaller* installer) override;

signals:
    void phaseChanged(LVProductOperation::Phase phase);
    void installedVersionChanged(const QString& version);
    // Another run holds the product, or none does any more.
    void holderChanged();
    void progressChanged();
    // The steps, as plain values, for observers. `percent` is 0 to 100, or -1 when the server did
    // not say how much it sends. installEnded(true, …) comes before the confirmation of a
    // requested installation; uninstallEnded(true, …) of a requested uninstall after its
    // notifications. `error` is empty on success.
    void downloadBegan(LVProductOperation::Download download);
    void downloadAdvanced(LVProductOperation::Download download, double percent);
    void downloadEnded(LVProductOperation::Download download, bool succeeded, const VMError& error);
    void installBegan();
    void installEnded(bool succeeded, const VMError& error, const VMVersionItemPtr& version);
    void uninstallBegan();
    void uninstallEnded(bool succeeded, const VMError& error);
    // The confirmation has posted "productInstallCompleted".
    void installationConfirmed();
    // The administrator right was refused or cancelled (status -60005 / -60006) for an uninstall.
    void authorizationRefused(int status);

private:
    void beginConfirmation(const VMVersionItemPtr& version);
    void announceInstallation();
    void setPhase(Phase phase);
    // One line in the action history (LVActionHistory).
    void record(const QString& action, const QString& outcome, const QString& version,
                const QString& detail = QString());
    void startActionClock();
    QString installingVersionString() const;
    // The end of an installation, either way: the bookkeeping, then the owner's callback.
    void endInstallation(LVInstaller* installer, bool succeeded);
    // The failed installation's version is found installed all the same.
    bool outcomeIsInstalled() const;
    void connectDownload();
    void endInstallerDownload(bool packaged);
    void connectUninstall();
    void endUninstallation(bool succeeded, const VMError& error, bool settled, bool confirm);
    static Download kindOf(bool manual) { return manual ? Download::Manual : Download::Installer; }
    // Main thread: takes over a runner made on a background thread before it starts.
    void adoptInstaller(const std::shared_ptr<LVInstaller>& installer);

    VMSingleProductItemPtr _productItem;
    Phase _phase = Phase::Idle;

    // The run (an LVProductBatch) that took the product.
    QPointer<QObject> _holder;
    QString _installedVersion;
    std::shared_ptr<LVInstaller> _installer;
    QDateTime _actionStarted;
    QElapsedTimer _actionClock;
    // A requested pipeline is under way: install when downloaded, confirm when installed.
    bool _installRequested = false;
    bool _judgesByOutcome = false;
    // Taken before the download's own lock: an install on a background thread checks for a running
    // installer and takes the package as one step.
    QMutex _installLock;
    int _runningInstallers = 0;
    LVProductDownload _download;
    LVProductUninstall _uninstall;
};
