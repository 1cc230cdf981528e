#include "LVProductUninstall.h"

#include "catalogue/VMVersionItem.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMDispatch.h"

#include <QUrl>
#include <utility>

QStringList LVProductUninstall::scriptURLs(const VMSingleProductItem& product)
{
    QStringList urls;
    if (!product.productUninstallScriptURL().isEmpty())
        urls.append(product.productUninstallScriptURL());
    for (const VMVersionItemPtr& version : product.versionItems()) {
        if (version && !version->productUninstallScriptURL().isEmpty())
            urls.append(version->productUninstallScriptURL());
    }
    return urls;
}

bool LVProductUninstall::start(const VMSingleProductItemPtr& product, const QStringList& scriptURLs)
{
    _downloadUninstallScriptPaths.clear();
    _uninstallScriptData.clear();
    for (const QString& url : scriptURLs) {
        if (_downloadUninstallScriptPaths.contains(url))
            continue;
        LVDownloader* downloader = LVDownloader::downloaderWithURL(QUrl(url), this);
        if (!downloader)
            continue;
        downloader->setIdentifier(scriptDownload);
        downloader->setRepresentedObject(url);
        downloader->setDelegate(this);
        if (!downloader->start()) {
            delete downloader;
            continue;
        }
        _downloadUninstallScriptPaths.append(url);
        _scriptDownloaders.append(downloader);
    }
    if (_downloadUninstallScriptPaths.isEmpty())
        return false;
    _version = product ? product->checkInstalledPluginVersion() : QString();
    emit actionStarted();
    return true;
}

void LVProductUninstall::runScripts(const QByteArrayList& scripts)
{
    if (scripts.isEmpty()) {
        if (_runningUninstallers == 0)
            _requested = false;
        emit busyChanged(_runningUninstallers > 0);
        return;
    }
    QPointer<LVProductUninstall> guard(this);
    VMDispatch::performInBackground([guard, scripts] {
        int status = PrivilegedExecution::Success;
        {
            LVAdminAuthorization authorization(LVInstaller::defaultAuthorizationFlags());
            status = authorization.status();
            if (authorization.isGranted()) {
                const auto uninstaller = LVUninstaller::uninstallerWithScripts(
                    scripts, {{QLatin1String(LVUninstaller::optionAuthorizationRef), authorization.optionValue()}});
                VMDispatch::performOnMainThread([guard, uninstaller] {
                    if (guard)
                        guard->adopt(uninstaller);
                });
                uninstaller->start();
                return;
            }
        }
        // A refused right ends silently; the owner may still want to know.
        VMDispatch::performOnMainThread([guard, status] {
            if (!guard)
                return;
            const bool busy = guard->_runningUninstallers > 0;
            if (!busy)
                guard->_requested = false;
            emit guard->busyChanged(busy);
            if (guard && (status == PrivilegedExecution::Denied || status == PrivilegedExecution::Canceled))
                emit guard->authorizationRefused(status);
        });
    });
}

bool LVProductUninstall::runSynchronously(const VMSingleProductItemPtr& product,
                                          const PrivilegedExecution::AuthorizationRef& authorization)
{
    if (!product || _uninstaller)
        return false;
    QStringList urls;
    for (const QString& url : scriptURLs(*product)) {
        if (!urls.contains(url))
            urls.append(url);
    }
    QByteArrayList scripts;
    for (const QString& url : std::as_const(urls)) {
        std::unique_ptr<LVDownloader> downloader(LVDownloader::downloaderWithURL(QUrl(url)));
        if (!downloader)
            continue;
        downloader->setIdentifier(scriptDownload);
        downloader->setRepresentedObject(url);
        if (downloader->start() && downloader->waitUntilComplete(LVDownloader::requestTimeoutInterval()) &&
            !downloader->error() && !downloader->data().isEmpty())
            scripts.append(downloader->data());
    }
    if (scripts.isEmpty())
        return false;
    // Written before the main thread hears of the run (the posted adoption orders them).
    _version = product->checkInstalledPluginVersion();
    emit actionStarted();
    QPointer<LVProductUninstall> guard(this);
    for (const QByteArray& script : std::as_const(scripts)) {
        const std::shared_ptr<LVUninstaller> uninstaller = LVUninstaller::uninstallerWithScript(
            script, {{QLatin1String(LVUninstaller::optionAuthorizationRef), QVariant::fromValue(authorization)}});
        VMDispatch::performOnMainThread([guard, uninstaller] {
            if (!guard)
                return;
            // Confirmed once its last uninstaller has ended.
            guard->_requested = true;
            guard->adopt(uninstaller);
        });
        uninstaller->start();
    }
    return true;
}

void LVProductUninstall::adopt(const std::shared_ptr<LVUninstaller>& uninstaller)
{
    uninstaller->setDelegate(this);
    _uninstaller = uninstaller;
    ++_runningUninstallers;
    emit busyChanged(true);
}

void LVProductUninstall::downloadStarted(LVDownloader*)
{
    emit scriptDownloadBegan();
}

void LVProductUninstall::downloadProgress(double progress, LVDownloader*)
{
    emit scriptDownloadAdvanced(progress);
}

void LVProductUninstall::downloadCompleted(LVDownloader* downloader)
{
    const QString url = downloader->representedObject().toString();
    const qsizetype index = _scriptDownloaders.indexOf(downloader);
    if (index >= 0) {
        _scriptDownloaders.removeAt(index);
        _downloadUninstallScriptPaths.removeOne(url);
        if (!downloader->data().isEmpty())
            _uninstallScriptData.append(downloader->data());
        downloader->setParent(nullptr);
        downloader->deleteLater();
    }
    QPointer<LVProductUninstall> self(this);
    emit scriptDownloadEnded(true, VMError());
    if (self && index >= 0 && _downloadUninstallScriptPaths.isEmpty())
        runScripts(std::exchange(_uninstallScriptData, {}));
}

void LVProductUninstall::downloadFailed(LVDownloader* downloader)
{
    // Without every script the product can't be removed cleanly: the whole uninstall ends.
    if (_scriptDownloaders.contains(downloader)) {
        for (const QPointer<LVDownloader>& script : std::as_const(_scriptDownloaders)) {
            if (script && script != downloader)
                script->deleteLater();
        }
        _scriptDownloaders.clear();
        _downloadUninstallScriptPaths.clear();
        _uninstallScriptData.clear();
        downloader->setParent(nullptr);
        downloader->deleteLater();
        _requested = false;
        QPointer<LVProductUninstall> self(this);
        emit busyChanged(false);
        if (!self)
            return;
    }
    emit scriptDownloadEnded(false, downloader->error());
}

void LVProductUninstall::uninstallStarted(LVUninstaller*)
{
    emit uninstallerBegan();
}

void LVProductUninstall::uninstallCompleted(LVUninstaller* uninstaller)
{
    end(uninstaller, true);
}

void LVProductUninstall::uninstallFailed(LVUninstaller* uninstaller)
{
    end(uninstaller, false);
}

void LVProductUninstall::end(LVUninstaller* uninstaller, bool succeeded)
{
    if (_uninstaller.get() == uninstaller)
        _uninstaller.reset();
    _runningUninstallers = qMax(0, _runningUninstallers - 1);
    // What earlier scripts removed is confirmed even when a later one failed.
    _someUninstallerSucceeded = _someUninstallerSucceeded || succeeded || uninstaller->completedScripts() > 0;
    const bool last = _runningUninstallers == 0;
    const bool confirm = _requested && last && _someUninstallerSucceeded;
    if (last)
        _someUninstallerSucceeded = false;
    const bool settled = last && _scriptDownloaders.isEmpty();
    if (settled)
        _requested = false;
    emit uninstallerEnded(succeeded, succeeded ? VMError() : uninstaller->error(), settled, confirm);
}
