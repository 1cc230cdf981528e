#include "LVProductOperation.h"

#include "catalogue/VMProductEvents.h"
#include "engines/LVActionHistory.h"

#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMUtils.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVProductBatch.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMNotificationCenter.h"

#include <QMutexLocker>

LVProductOperation::LVProductOperation(const VMSingleProductItemPtr& product, QObject* parent)
    : QObject(parent), _productItem(product),
      _installedVersion(product ? product->checkInstalledPluginVersion() : QString())
{
    connectDownload();
    connectUninstall();
}

void LVProductOperation::setPhase(Phase phase)
{
    if (_phase == phase)
        return;
    _phase = phase;
    emit phaseChanged(phase);
}

void LVProductOperation::record(const QString& action, const QString& outcome, const QString& version,
                                const QString& detail)
{
    if (!_productItem)
        return;
    LVActionHistory::Record entry;
    entry.time = _actionStarted.isValid() ? _actionStarted : QDateTime::currentDateTimeUtc();
    entry.productID = _productItem->productID();
    entry.title = _productItem->title();
    entry.version = version;
    entry.action = action;
    entry.outcome = outcome;
    entry.seconds = _actionClock.isValid() ? _actionClock.elapsed() / 1000.0 : 0.0;
    entry.detail = detail;
    LVActionHistory::append(entry);
}

void LVProductOperation::startActionClock()
{
    _actionStarted = QDateTime::currentDateTimeUtc();
    _actionClock.start();
}

void LVProductOperation::setProductItem(const VMSingleProductItemPtr& product)
{
    if (!product)
        return;
    _productItem = product;
    _download.setProductItem(product);
}

void LVProductOperation::setInstalledVersion(const QString& version)
{
    if (version == _installedVersion && version.isNull() == _installedVersion.isNull())
        return;
    _installedVersion = version;
    emit installedVersionChanged(version);
}

void LVProductOperation::detectInstalledVersion()
{
    if (_productItem)
        setInstalledVersion(_productItem->checkInstalledPluginVersion());
}

LVProductBatch* LVProductOperation::holder() const
{
    auto* run = static_cast<LVProductBatch*>(_holder.data());
    // A stalled run stays as it stands but no longer speaks for its products.
    return run && !run->isStalled() && !run->hasEnded() ? run : nullptr;
}

bool LVProductOperation::isHeldBy(const LVProductBatch* run) const
{
    return run && _holder.data() == run;
}

void LVProductOperation::setHolder(LVProductBatch* run)
{
    if (_holder.data() == run)
        return;
    _holder = run;
    emit holderChanged();
    emit phaseChanged(_phase);
}

QString LVProductOperation::refusal(RowAction action) const
{
    const LVProductBatch* run = holder();
    switch (action) {
    case RowAction::ManualDownload:
        return _download.manualDownloader() ? QStringLiteral("A manual download of this installer is under way.")
                                            : QString();
    case RowAction::Cancel:
        if (!run)
            return _download.downloader() || _download.manualDownloader() ? QString()
                                                                          : QStringLiteral("Nothing is downloading.");
        if (!run->policy().rowsMayCancel)
            return QStringLiteral("Part of \"%1\", which cannot be cancelled here.").arg(run->policy().holderTitle);
        return run->isCancellable() ? QString()
                                    : QStringLiteral("\"%1\" is installing.").arg(run->policy().holderTitle);
    case RowAction::Install:
    case RowAction::Uninstall:
        if (run)
            return QStringLiteral("Part of \"%1\" until it ends.").arg(run->policy().holderTitle);
        if (action == RowAction::Uninstall && _phase != Phase::Idle)
            return QStringLiteral("The product is busy.");
        if (action == RowAction::Install && _phase == Phase::Uninstalling)
            return QStringLiteral("The product is being uninstalled.");
        return QString();
    }
    return QString();
}

void LVProductOperation::cancelFromRow()
{
    if (!refusal(RowAction::Cancel).isEmpty())
        return;
    if (LVProductBatch* run = holder()) {
        // The run's own cancel, with its policy: a bundle's run is abandoned as a whole.
        run->cancel();
        return;
    }
    if (_download.downloader())
        _download.cancel();
    else if (LVDownloader* manual = _download.manualDownloader())
        manual->cancel();
}

bool LVProductOperation::requestInstallation(const VMVersionItemPtr& version)
{
    if (_phase == Phase::Uninstalling)
        return false;
    // The run this product is part of, or the confirmation under way, covers the request.
    if (holder() || _phase == Phase::Confirming)
        return true;
    if (_phase == Phase::Downloading || _phase == Phase::Installing) {
        _installRequested = true;
        return true;
    }
    if (!startDownload(version))
        return false;
    _installRequested = true;
    return true;
}

bool LVProductOperation::requestUninstallation(const QStringList& scriptURLs)
{
    if (_phase == Phase::Uninstalling)
        return _uninstall.isRequested();
    if (!startUninstall(scriptURLs))
        return false;
    _uninstall.setRequested();
    return true;
}

bool LVProductOperation::isDownloading() const
{
    return _phase == Phase::Downloading;
}

bool LVProductOperation::isInstalling() const
{
    return _phase == Phase::Installing;
}

VMInstallStatus::Status LVProductOperation::busyStatus() const
{
    const bool held = holder() != nullptr;
    if (_download.downloader() || (_download.manualDownloader() && !held))
        return VMInstallStatus::Downloading;
    switch (_phase) {
    case Phase::Downloaded:
        // A package nobody will install (its run has stalled) is no work on the product.
        return held ? VMInstallStatus::WaitingForBundle : VMInstallStatus::NotComputed;
    case Phase::Installing:
    case Phase::Confirming:
        return VMInstallStatus::Installing;
    default:
        return VMInstallStatus::NotComputed;
    }
}

bool LVProductOperation::isUninstalling() const
{
    return _phase == Phase::Uninstalling;
}

QString LVProductOperation::packagePath() const
{
    return _download.packagePath();
}

QString LVProductOperation::takePackage()
{
    const QString package = _download.takePackage();
    if (_phase == Phase::Downloaded)
        setPhase(Phase::Idle);
    return package;
}

QVariantMap LVProductOperation::installerSettings() const
{
    return _download.installerSettings();
}

QStringList LVProductOperation::uninstallScriptURLs(const VMSingleProductItem& product)
{
    return LVProductUninstall::scriptURLs(product);
}

// Downloads

// Observers hear the download's steps as the operation's own, after its phase has changed.
void LVProductOperation::connectDownload()
{
    _download.setProductItem(_productItem);
    _download.setHeldQuery([this] { return holder() != nullptr; });
    connect(&_download, &LVProductDownload::installerDownloadStarted, this, [this] {
        startActionClock();
        setPhase(Phase::Downloading);
        emit progressChanged();
    });
    connect(&_download, &LVProductDownload::cleanedUp, this, [this] {
        if (_phase == Phase::Downloaded && packagePath().isEmpty())
            setPhase(Phase::Idle);
    });
    connect(&_download, &LVProductDownload::progressChanged, this, &LVProductOperation::progressChanged);
    connect(&_download, &LVProductDownload::began, this, [this](bool manual) { emit downloadBegan(kindOf(manual)); });
    connect(&_download, &LVProductDownload::advanced, this,
            [this](bool manual, double percent) { emit downloadAdvanced(kindOf(manual), percent); });
    connect(&_download, &LVProductDownload::installerDownloaded, this, &LVProductOperation::endInstallerDownload);
    connect(&_download, &LVProductDownload::installerDownloadFailed, this,
            [this](const VMVersionItemPtr& version, bool cancelled, const VMError& error) {
                record(QStringLiteral("download"), cancelled ? QStringLiteral("cancelled") : QStringLiteral("failed"),
                       version ? version->productVersion() : QString(), cancelled ? QString() : error.description());
                _installRequested = false;
                setPhase(Phase::Idle);
                emit progressChanged();
                emit downloadEnded(Download::Installer, false, error);
            });
    connect(&_download, &LVProductDownload::manualDownloadEnded, this, [this](bool succeeded, const VMError& error) {
        emit phaseChanged(_phase);
        emit progressChanged();
        emit downloadEnded(Download::Manual, succeeded, error);
    });
}

bool LVProductOperation::startDownload(const VMVersionItemPtr& version)
{
    return _phase != Phase::Installing && _phase != Phase::Uninstalling && _download.start(version);
}

bool LVProductOperation::startDownload(const QUrl& url, const QVariantMap& installerSettings,
                                       const QVariant& representedObject, const QString& filePath)
{
    return _phase != Phase::Installing && _phase != Phase::Uninstalling &&
           _download.start(url, installerSettings, representedObject, filePath);
}

bool LVProductOperation::startManualDownload(const QUrl& url, const QString& filePath)
{
    if (!_download.startManual(url, filePath))
        return false;
    // The row's own: no package, settings or phase of the product's other work changes.
    emit phaseChanged(_phase);
    emit progressChanged();
    return true;
}

LVDownloader* LVProductOperation::downloader() const
{
    return _download.downloader();
}

LVDownloader* LVProductOperation::manualDownloader() const
{
    return _download.manualDownloader();
}

LVDownloader* LVProductOperation::shownDownloader() const
{
    return _download.shownDownloader();
}

bool LVProductOperation::isShownDownload(Download download) const
{
    const LVDownloader* shown = _download.shownDownloader();
    return shown && kindOf(shown == _download.manualDownloader()) == download;
}

void LVProductOperation::cancelDownload()
{
    _download.cancel();
}

void LVProductOperation::cleanUp()
{
    _download.cleanUp();
}

LVDownloadProgress LVProductOperation::progress() const
{
    return _download.progress();
}

qint64 LVProductOperation::expectedBytes() const
{
    return _download.progress().expectedBytes;
}

qint64 LVProductOperation::receivedBytes() const
{
    return _download.progress().receivedBytes;
}

QString LVProductOperation::progressDescription() const
{
    return _download.progressDescription();
}

void LVProductOperation::endInstallerDownload(bool packaged)
{
    setPhase(packaged ? Phase::Downloaded : Phase::Idle);
    emit progressChanged();
    QPointer<LVProductOperation> self(this);
    emit downloadEnded(Download::Installer, true, VMError());
    if (!self)
        return;
    if (_installRequested && !holder() && _phase == Phase::Downloaded && !install())
        _installRequested = false;
}

// Installation

bool LVProductOperation::install(const PrivilegedExecution::AuthorizationRef& authorization, Execution execution,
                                 const QVariantMap& extraOptions)
{
    std::optional<LVProductDownload::Package> package;
    {
        QMutexLocker locker(&_installLock);
        if (_runningInstallers > 0)
            return false;
        // From here on the installer owns the package and deletes it after its run.
        package = _download.handOverPackage();
        if (!package)
            return false;
        ++_runningInstallers;
    }
    QVariantMap options = package->settings;
    for (auto it = extraOptions.begin(); it != extraOptions.end(); ++it)
        options.insert(it.key(), it.value());
    if (authorization)
        options.insert(QLatin1String(LVInstaller::optionAuthorizationRef), QVariant::fromValue(authorization));

    const std::shared_ptr<LVInstaller> installer = LVInstaller::installerWithFilePath(package->path, options);
    installer->setDeleteFileAfterInstallation(true);
    installer->setRepresentedObject(QVariant::fromValue(package->version));
    if (execution == Execution::Background) {
        adoptInstaller(installer);
        installer->startInBackground();
        return true;
    }
    // On the caller's thread: the main thread takes the installer over before its first callback,
    // which the run posts after this.
    QPointer<LVProductOperation> guard(this);
    VMDispatch::performOnMainThread([guard, installer] {
        if (guard)
            guard->adoptInstaller(installer);
    });
    installer->start();
    return true;
}

void LVProductOperation::adoptInstaller(const std::shared_ptr<LVInstaller>& installer)
{
    installer->setDelegate(this);
    _installer = installer;
    startActionClock();
    setPhase(Phase::Installing);
}

void LVProductOperation::installStarted(LVInstaller*)
{
    emit installBegan();
}

void LVProductOperation::installCompleted(LVInstaller* installer)
{
    record(QStringLiteral("install"), QStringLiteral("succeeded"), installingVersionString());
    endInstallation(installer, true);
}

void LVProductOperation::installFailed(LVInstaller* installer)
{
    const VMError error = installer->error();
    if (error.code() != PrivilegedExecution::Canceled && outcomeIsInstalled()) {
        // The package installer's words aside, the version asked for is in place.
        record(QStringLiteral("install"), QStringLiteral("succeeded"), installingVersionString(),
               error.localizedFailureReason());
        installer->setError(VMError());
        endInstallation(installer, true);
        return;
    }
    record(QStringLiteral("install"),
           error.code() == PrivilegedExecution::Canceled ? QStringLiteral("cancelled") : QStringLiteral("failed"),
           installingVersionString(), error.description());
    endInstallation(installer, false);
}

bool LVProductOperation::outcomeIsInstalled() const
{
    const QString version = installingVersionString();
    if (!_judgesByOutcome || !_productItem || version.isNull())
        return false;
    VMInstalledVersions::clearBundleIdentifierCache();
    return _productItem->checkInstalledPluginVersion() == version;
}

QString LVProductOperation::installingVersionString() const
{
    const VMVersionItemPtr version = installingVersionItem();
    return version ? version->productVersion() : QString();
}

void LVProductOperation::endInstallation(LVInstaller* installer, bool succeeded)
{
    VMVersionItemPtr version = installer->representedObject().value<VMVersionItemPtr>();
    if (!version)
        version = installingVersionItem();
    const bool confirm = succeeded && _installRequested;
    _installRequested = false;
    {
        QMutexLocker locker(&_installLock);
        _runningInstallers = qMax(0, _runningInstallers - 1);
        _download.clearInstallerSettings();
    }
    if (_installer.get() == installer)
        _installer.reset();
    setPhase(packagePath().isEmpty() ? Phase::Idle : Phase::Downloaded);
    QPointer<LVProductOperation> self(this);
    emit installEnded(succeeded, succeeded ? VMError() : installer->error(), version);
    if (!self)
        return;
    if (confirm)
        confirmInstallation(version, Confirmation::Row);
    if (!_installer)
        _download.forgetPackageVersion(version);
}

void LVProductOperation::confirmInstallation(const VMVersionItemPtr& version, Confirmation confirmation,
                                             double secondsBeforeAnnouncement)
{
    if (version)
        beginConfirmation(version);
    // A bundle's products only announce: a reload would fold up the bundle the user opened.
    if (confirmation == Confirmation::Row)
        VMNotificationCenter::defaultCenter().postNotification(VMProductEvents::reloadUpdateItem,
                                                               QVariant::fromValue(static_cast<QObject*>(this)));
    if (!version || secondsBeforeAnnouncement <= 0.0) {
        // Every row of this product confirms the new version from here.
        announceInstallation();
        return;
    }
    // The system needs a moment to see the new plug-in before the rows look for it.
    setPhase(Phase::Confirming);
    VMDispatch::performAfterDelay(this, secondsBeforeAnnouncement, [this] {
        if (_phase == Phase::Confirming)
            setPhase(packagePath().isEmpty() ? Phase::Idle : Phase::Downloaded);
        announceInstallation();
    });
}

void LVProductOperation::beginConfirmation(const VMVersionItemPtr& version)
{
    if (!_productItem)
        return;
    if (version)
        _productItem->setProperty(version->productVersion(), VMProductEvents::temporaryVersionKey);
    const QString identifier = version && !version->productIdentifier().isEmpty() ? version->productIdentifier()
                                                                                  : _productItem->productIdentifier();
    const QString xpcPath = VMUtils::xpcPathForBundleIndentifier(identifier);
    if (!xpcPath.isEmpty())
        VMInstalledVersions::registerPluginkitBundle(xpcPath);
    if (!identifier.isEmpty())
        VMUtils::launchWrapperApp({{QLatin1String(VMUtils::optionBundleIdentifier), identifier}});
}

void LVProductOperation::announceInstallation()
{
    if (!_productItem)
        return;
    const VMSingleProductItemPtr product = _productItem;
    VMNotificationCenter::defaultCenter().postNotification(VMProductEvents::installCompleted,
                                                           QVariant::fromValue(product));
    product->setProperty(QVariant(), VMProductEvents::temporaryVersionKey);
    emit installationConfirmed();
}

// Uninstallation

// Observers hear the uninstall's steps as the operation's own, after its phase has changed.
void LVProductOperation::connectUninstall()
{
    connect(
        &_uninstall, &LVProductUninstall::actionStarted, this, [this] { startActionClock(); }, Qt::DirectConnection);
    connect(&_uninstall, &LVProductUninstall::busyChanged, this,
            [this](bool busy) { setPhase(busy ? Phase::Uninstalling : Phase::Idle); });
    connect(&_uninstall, &LVProductUninstall::scriptDownloadBegan, this,
            [this] { emit downloadBegan(Download::UninstallScript); });
    connect(&_uninstall, &LVProductUninstall::scriptDownloadAdvanced, this,
            [this](double percent) { emit downloadAdvanced(Download::UninstallScript, percent); });
    connect(&_uninstall, &LVProductUninstall::scriptDownloadEnded, this, [this](bool succeeded, const VMError& error) {
        emit downloadEnded(Download::UninstallScript, succeeded, error);
    });
    connect(&_uninstall, &LVProductUninstall::authorizationRefused, this, [this](int status) {
        record(QStringLiteral("uninstall"), QStringLiteral("cancelled"), _uninstall.version());
        emit authorizationRefused(status);
    });
    connect(&_uninstall, &LVProductUninstall::uninstallerBegan, this, &LVProductOperation::uninstallBegan);
    connect(&_uninstall, &LVProductUninstall::uninstallerEnded, this, &LVProductOperation::endUninstallation);
}

bool LVProductOperation::startUninstall(const QStringList& scriptURLs)
{
    if (scriptURLs.isEmpty() || _phase != Phase::Idle || !_uninstall.start(_productItem, scriptURLs))
        return false;
    setPhase(Phase::Uninstalling);
    return true;
}

bool LVProductOperation::runUninstallSynchronously(const PrivilegedExecution::AuthorizationRef& authorization)
{
    return _uninstall.runSynchronously(_productItem, authorization);
}

std::shared_ptr<LVUninstaller> LVProductOperation::uninstaller() const
{
    return _uninstall.uninstaller();
}

void LVProductOperation::endUninstallation(bool succeeded, const VMError& error, bool settled, bool confirm)
{
    if (succeeded)
        record(QStringLiteral("uninstall"), QStringLiteral("succeeded"), _uninstall.version());
    else
        record(QStringLiteral("uninstall"), QStringLiteral("failed"), _uninstall.version(), error.description());
    if (settled)
        setPhase(packagePath().isEmpty() ? Phase::Idle : Phase::Downloaded);
    if (confirm && _productItem) {
        VMNotificationCenter& center = VMNotificationCenter::defaultCenter();
        center.postNotification(VMProductEvents::reloadUpdateItem, QVariant::fromValue(static_cast<QObject*>(this)));
        center.postNotification(VMProductEvents::uninstallCompleted, QVariant::fromValue(_productItem));
    }
    emit uninstallEnded(succeeded, error);
}
