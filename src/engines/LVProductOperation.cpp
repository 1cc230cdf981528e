#include "LVProductOperation.h"

#include "catalogue/VMProductEvents.h"
#include "engines/LVActionHistory.h"

#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMUtils.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVDownloadProgress.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVPackageChecksum.h"
#include "engines/LVProductBatch.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"

#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <cmath>

namespace {
// The settings as a property-list style description, one key per line.
QString settingsDescription(const QVariantMap& settings)
{
    QString text = QStringLiteral("{\n");
    for (auto it = settings.begin(); it != settings.end(); ++it) {
        const QVariant& value = it.value();
        const QString shown = value.typeId() == QMetaType::Bool ? QString::number(int(value.toBool()))
                                                                : QStringLiteral("\"%1\"").arg(value.toString());
        text += QStringLiteral("    %1 = %2;\n").arg(it.key(), shown);
    }
    return text + QLatin1Char('}');
}

} // namespace

LVProductOperation::LVProductOperation(const VMSingleProductItemPtr& product, QObject* parent)
    : QObject(parent), _productItem(product),
      _installedVersion(product ? product->checkInstalledPluginVersion() : QString())
{
    connectUninstall();
}

LVProductOperation::~LVProductOperation()
{
    // Children: deleting a downloader cancels it without a callback and removes its file when asked to.
    if (_installerDownloader)
        _installerDownloader->setDeleteDownloadFile(true);
    // The user's chosen file stays, whatever became of the download.
    if (_manualDownloader)
        _manualDownloader->setDeleteDownloadFile(false);
    QMutexLocker locker(&_packageLock);
    if (!_packagePath.isEmpty())
        QFile::remove(_packagePath);
    // Running installers and uninstallers finish on their own; their delegates are gone then.
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
    if (product)
        _productItem = product;
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
        return _manualDownloader ? QStringLiteral("A manual download of this installer is under way.") : QString();
    case RowAction::Cancel:
        if (!run)
            return _installerDownloader || _manualDownloader ? QString() : QStringLiteral("Nothing is downloading.");
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
    if (_installerDownloader)
        cancelDownload();
    else if (_manualDownloader)
        _manualDownloader->cancel();
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
    if (_installerDownloader || (_manualDownloader && !held))
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
    QMutexLocker locker(&_packageLock);
    return _packagePath;
}

QString LVProductOperation::takePackage()
{
    QString package;
    {
        QMutexLocker locker(&_packageLock);
        package = std::exchange(_packagePath, QString());
    }
    if (_phase == Phase::Downloaded)
        setPhase(Phase::Idle);
    return package;
}

QVariantMap LVProductOperation::installerSettings() const
{
    QMutexLocker locker(&_packageLock);
    return _installerSettings;
}

QStringList LVProductOperation::uninstallScriptURLs(const VMSingleProductItem& product)
{
    return LVProductUninstall::scriptURLs(product);
}

// Downloads

bool LVProductOperation::startDownload(const VMVersionItemPtr& version)
{
    if (!version || !_productItem || _installerDownloader)
        return false;
    const std::optional<QVariantMap> settings = _productItem->installerSettingsForVersionItem(version.get());
    if (!settings)
        return false;
    const QUrl url(settings->value(QStringLiteral("downloadURL")).toString());
    if (url.isEmpty())
        return false;
    if (!startDownload(url, *settings, QVariant::fromValue(version)))
        return false;
    VM_LOG_MESSAGE(QStringLiteral("Installer settings: %1").arg(settingsDescription(*settings)));
    return true;
}

bool LVProductOperation::startManualDownload(const QUrl& url, const QString& filePath)
{
    if (_manualDownloader || filePath.isEmpty())
        return false;
    LVDownloader* downloader = LVDownloader::downloaderWithURL(url, this);
    if (!downloader)
        return false;
    downloader->setIdentifier(manualDownload);
    downloader->setDelegate(this);
    if (!downloader->startWithDownloadFilePath(filePath)) {
        delete downloader;
        return false;
    }
    // The row's own: no package, settings or phase of the product's other work changes.
    _manualDownloader = downloader;
    emit phaseChanged(_phase);
    emit progressChanged();
    return true;
}

LVDownloader* LVProductOperation::manualDownloader() const
{
    return _manualDownloader.data();
}

bool LVProductOperation::startDownload(const QUrl& url, const QVariantMap& installerSettings,
                                       const QVariant& representedObject, const QString& filePath)
{
    const qint64 identifier = installerDownload;
    if (_installerDownloader || _phase == Phase::Installing || _phase == Phase::Uninstalling)
        return false;
    const QString path =
        filePath.isEmpty() ? LVDownloader::downloadFilePathWithSuggestedFileName(url.fileName()) : filePath;
    if (path.isEmpty())
        return false;
    LVDownloader* downloader = LVDownloader::downloaderWithURL(url, this);
    if (!downloader)
        return false;
    downloader->setIdentifier(identifier);
    downloader->setDelegate(this);
    downloader->setRepresentedObject(representedObject);
    if (!downloader->startWithDownloadFilePath(path)) {
        downloader->setDeleteDownloadFile(true);
        delete downloader;
        return false;
    }
    // A package from an earlier download that was never installed is no longer wanted.
    cleanUp();
    _installerDownloader = downloader;
    {
        QMutexLocker locker(&_packageLock);
        if (identifier == installerDownload)
            _installerSettings = installerSettings;
    }
    _downloadClock.invalidate();
    _downloadCancelled = false;
    startActionClock();
    setPhase(Phase::Downloading);
    emit progressChanged();
    return true;
}

LVDownloader* LVProductOperation::downloader() const
{
    return _installerDownloader.data();
}

void LVProductOperation::cancelDownload()
{
    if (!_installerDownloader)
        return;
    const QString path = _installerDownloader->downloadFilePath();
    _downloadCancelled = true;
    _installerDownloader->cancel();
    // Gone at once, not only when the cancelled transfer has wound down.
    if (!path.isEmpty())
        QFile::remove(path);
}

void LVProductOperation::cleanUp()
{
    cancelDownload();
    QString package;
    {
        QMutexLocker locker(&_packageLock);
        package = _packagePath;
        if (!package.isEmpty() && (!QFileInfo::exists(package) || QFile::remove(package)))
            _packagePath.clear();
    }
    if (_phase == Phase::Downloaded && packagePath().isEmpty())
        setPhase(Phase::Idle);
}

void LVProductOperation::forgetInstallerDownloader(LVDownloader* downloader)
{
    if (_installerDownloader != downloader)
        return;
    _installerDownloader = nullptr;
    downloader->setParent(nullptr);
    downloader->deleteLater();
}

LVDownloader* LVProductOperation::shownDownloader() const
{
    if (_installerDownloader)
        return _installerDownloader;
    return holder() ? nullptr : _manualDownloader.data();
}

bool LVProductOperation::isShownDownload(Download download) const
{
    const LVDownloader* shown = shownDownloader();
    return shown && kindOf(shown) == download;
}

LVProductOperation::Download LVProductOperation::kindOf(const LVDownloader* downloader)
{
    switch (downloader->identifier()) {
    case manualDownload:
        return Download::Manual;
    default:
        return Download::Installer;
    }
}

LVDownloadProgress LVProductOperation::progress() const
{
    LVDownloadProgress progress;
    if (const LVDownloader* downloader = shownDownloader()) {
        progress.receivedBytes = qint64(downloader->currentDownloadDataSize());
        progress.expectedBytes = downloader->expectedDataSize();
        progress.elapsedMs = _downloadClock.isValid() ? _downloadClock.elapsed() : -1;
    }
    return progress;
}

qint64 LVProductOperation::expectedBytes() const
{
    return progress().expectedBytes;
}

qint64 LVProductOperation::receivedBytes() const
{
    return progress().receivedBytes;
}

QString LVProductOperation::progressDescription() const
{
    return shownDownloader() ? progress().description() : QString();
}

void LVProductOperation::downloadStarted(LVDownloader* downloader)
{
    if (downloader == shownDownloader()) {
        _downloadClock.start();
        emit progressChanged();
    }
    emit downloadBegan(kindOf(downloader));
}

void LVProductOperation::downloadProgress(double progress, LVDownloader* downloader)
{
    if (downloader == shownDownloader())
        emit progressChanged();
    emit downloadAdvanced(kindOf(downloader), progress);
}

void LVProductOperation::endManualDownload(LVDownloader* downloader, bool succeeded)
{
    _manualDownloader = nullptr;
    // The user's chosen file is theirs, whatever became of the download.
    downloader->setDeleteDownloadFile(false);
    downloader->setParent(nullptr);
    downloader->deleteLater();
    emit phaseChanged(_phase);
    emit progressChanged();
    emit downloadEnded(kindOf(downloader), succeeded, succeeded ? VMError() : downloader->error());
}

void LVProductOperation::downloadCompleted(LVDownloader* downloader)
{
    if (downloader == _manualDownloader) {
        endManualDownload(downloader, true);
        return;
    }
    if (downloader == _installerDownloader) {
        forgetInstallerDownloader(downloader);
        if (downloader->identifier() == installerDownload && !downloader->downloadFilePath().isEmpty()) {
            {
                QMutexLocker locker(&_packageLock);
                _packagePath = downloader->downloadFilePath();
                _installingVersionItem = downloader->representedObject().value<VMVersionItemPtr>();
                if (_productItem)
                    LVPackageChecksum::addExpectation(_installerSettings, *_productItem, _installingVersionItem.get());
            }
            setPhase(Phase::Downloaded);
        } else {
            setPhase(Phase::Idle);
        }
        emit progressChanged();
    }
    QPointer<LVProductOperation> self(this);
    emit downloadEnded(kindOf(downloader), true, VMError());
    if (!self)
        return;
    if (_installRequested && !holder() && downloader->identifier() == installerDownload &&
        _phase == Phase::Downloaded && !install())
        _installRequested = false;
}

void LVProductOperation::downloadFailed(LVDownloader* downloader)
{
    if (downloader == _manualDownloader) {
        endManualDownload(downloader, false);
        return;
    }
    if (downloader == _installerDownloader) {
        if (downloader->identifier() == installerDownload) {
            const auto version = downloader->representedObject().value<VMVersionItemPtr>();
            record(QStringLiteral("download"),
                   _downloadCancelled ? QStringLiteral("cancelled") : QStringLiteral("failed"),
                   version ? version->productVersion() : QString(),
                   _downloadCancelled ? QString() : downloader->error().description());
        }
        // A cancelled download's file goes; a failed one's stays where the downloader put it.
        downloader->setDeleteDownloadFile(_downloadCancelled);
        if (_downloadCancelled)
            downloader->cleanUp();
        _downloadCancelled = false;
        forgetInstallerDownloader(downloader);
        if (downloader->identifier() == installerDownload) {
            QMutexLocker locker(&_packageLock);
            _installerSettings.clear();
        }
        if (downloader->identifier() == installerDownload)
            _installRequested = false;
        setPhase(Phase::Idle);
        emit progressChanged();
    }
    emit downloadEnded(kindOf(downloader), false, downloader->error());
}

// Installation

bool LVProductOperation::install(const PrivilegedExecution::AuthorizationRef& authorization, Execution execution,
                                 const QVariantMap& extraOptions)
{
    QString package;
    QVariantMap options;
    VMVersionItemPtr version;
    {
        QMutexLocker locker(&_packageLock);
        if (_runningInstallers > 0 || _packagePath.isEmpty())
            return false;
        package = _packagePath;
        // From here on the installer owns the package and deletes it after its run.
        _packagePath.clear();
        options = _installerSettings;
        version = _installingVersionItem;
        ++_runningInstallers;
    }
    for (auto it = extraOptions.begin(); it != extraOptions.end(); ++it)
        options.insert(it.key(), it.value());
    if (authorization)
        options.insert(QLatin1String(LVInstaller::optionAuthorizationRef), QVariant::fromValue(authorization));

    const std::shared_ptr<LVInstaller> installer = LVInstaller::installerWithFilePath(package, options);
    installer->setDeleteFileAfterInstallation(true);
    installer->setRepresentedObject(QVariant::fromValue(version));
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
        QMutexLocker locker(&_packageLock);
        _runningInstallers = qMax(0, _runningInstallers - 1);
        _installerSettings.clear();
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
    if (_installingVersionItem == version && !_installer) {
        QMutexLocker locker(&_packageLock);
        _installingVersionItem.reset();
    }
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
