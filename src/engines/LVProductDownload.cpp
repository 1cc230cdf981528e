#include "LVProductDownload.h"

#include "catalogue/VMVersionItem.h"
#include "engines/LVDownloader.h"
#include "engines/LVPackageChecksum.h"
#include "foundation/VMLog.h"

#include <QFile>
#include <QFileInfo>
#include <QMutexLocker>
#include <utility>

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

LVProductDownload::~LVProductDownload()
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
}

bool LVProductDownload::start(const VMVersionItemPtr& version)
{
    if (!version || !_productItem || _installerDownloader)
        return false;
    const std::optional<QVariantMap> settings = _productItem->installerSettingsForVersionItem(version.get());
    if (!settings)
        return false;
    const QUrl url(settings->value(QStringLiteral("downloadURL")).toString());
    if (url.isEmpty())
        return false;
    if (!start(url, *settings, QVariant::fromValue(version)))
        return false;
    VM_LOG_MESSAGE(QStringLiteral("Installer settings: %1").arg(settingsDescription(*settings)));
    return true;
}

bool LVProductDownload::start(const QUrl& url, const QVariantMap& installerSettings, const QVariant& representedObject,
                              const QString& filePath)
{
    if (_installerDownloader)
        return false;
    const QString path =
        filePath.isEmpty() ? LVDownloader::downloadFilePathWithSuggestedFileName(url.fileName()) : filePath;
    if (path.isEmpty())
        return false;
    LVDownloader* downloader = LVDownloader::downloaderWithURL(url, this);
    if (!downloader)
        return false;
    downloader->setIdentifier(installerDownload);
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
        _installerSettings = installerSettings;
    }
    _clock.invalidate();
    _cancelled = false;
    emit installerDownloadStarted();
    return true;
}

bool LVProductDownload::startManual(const QUrl& url, const QString& filePath)
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
    _manualDownloader = downloader;
    return true;
}

LVDownloader* LVProductDownload::downloader() const
{
    return _installerDownloader.data();
}

LVDownloader* LVProductDownload::manualDownloader() const
{
    return _manualDownloader.data();
}

LVDownloader* LVProductDownload::shownDownloader() const
{
    if (_installerDownloader)
        return _installerDownloader;
    return _isHeld && _isHeld() ? nullptr : _manualDownloader.data();
}

void LVProductDownload::cancel()
{
    if (!_installerDownloader)
        return;
    const QString path = _installerDownloader->downloadFilePath();
    _cancelled = true;
    _installerDownloader->cancel();
    // Gone at once, not only when the cancelled transfer has wound down.
    if (!path.isEmpty())
        QFile::remove(path);
}

void LVProductDownload::cleanUp()
{
    cancel();
    {
        QMutexLocker locker(&_packageLock);
        if (!_packagePath.isEmpty() && (!QFileInfo::exists(_packagePath) || QFile::remove(_packagePath)))
            _packagePath.clear();
    }
    emit cleanedUp();
}

QString LVProductDownload::packagePath() const
{
    QMutexLocker locker(&_packageLock);
    return _packagePath;
}

QString LVProductDownload::takePackage()
{
    QMutexLocker locker(&_packageLock);
    return std::exchange(_packagePath, QString());
}

std::optional<LVProductDownload::Package> LVProductDownload::handOverPackage()
{
    QMutexLocker locker(&_packageLock);
    if (_packagePath.isEmpty())
        return std::nullopt;
    return Package{std::exchange(_packagePath, QString()), _installerSettings, _packageVersion};
}

QVariantMap LVProductDownload::installerSettings() const
{
    QMutexLocker locker(&_packageLock);
    return _installerSettings;
}

void LVProductDownload::clearInstallerSettings()
{
    QMutexLocker locker(&_packageLock);
    _installerSettings.clear();
}

void LVProductDownload::forgetPackageVersion(const VMVersionItemPtr& version)
{
    if (_packageVersion != version)
        return;
    QMutexLocker locker(&_packageLock);
    _packageVersion.reset();
}

LVDownloadProgress LVProductDownload::progress() const
{
    LVDownloadProgress progress;
    if (const LVDownloader* downloader = shownDownloader()) {
        progress.receivedBytes = qint64(downloader->currentDownloadDataSize());
        progress.expectedBytes = downloader->expectedDataSize();
        progress.elapsedMs = _clock.isValid() ? _clock.elapsed() : -1;
    }
    return progress;
}

QString LVProductDownload::progressDescription() const
{
    return shownDownloader() ? progress().description() : QString();
}

void LVProductDownload::forgetInstallerDownloader(LVDownloader* downloader)
{
    _installerDownloader = nullptr;
    downloader->setParent(nullptr);
    downloader->deleteLater();
}

void LVProductDownload::endManualDownload(LVDownloader* downloader, bool succeeded)
{
    _manualDownloader = nullptr;
    // The user's chosen file is theirs, whatever became of the download.
    downloader->setDeleteDownloadFile(false);
    downloader->setParent(nullptr);
    downloader->deleteLater();
    emit manualDownloadEnded(succeeded, succeeded ? VMError() : downloader->error());
}

void LVProductDownload::downloadStarted(LVDownloader* downloader)
{
    if (downloader == shownDownloader()) {
        _clock.start();
        emit progressChanged();
    }
    emit began(downloader == _manualDownloader);
}

void LVProductDownload::downloadProgress(double progress, LVDownloader* downloader)
{
    if (downloader == shownDownloader())
        emit progressChanged();
    emit advanced(downloader == _manualDownloader, progress);
}

void LVProductDownload::downloadCompleted(LVDownloader* downloader)
{
    if (downloader == _manualDownloader) {
        endManualDownload(downloader, true);
        return;
    }
    if (downloader != _installerDownloader)
        return;
    forgetInstallerDownloader(downloader);
    const bool packaged = !downloader->downloadFilePath().isEmpty();
    if (packaged) {
        QMutexLocker locker(&_packageLock);
        _packagePath = downloader->downloadFilePath();
        _packageVersion = downloader->representedObject().value<VMVersionItemPtr>();
        if (_productItem)
            LVPackageChecksum::addExpectation(_installerSettings, *_productItem, _packageVersion.get());
    }
    emit installerDownloaded(packaged);
}

void LVProductDownload::downloadFailed(LVDownloader* downloader)
{
    if (downloader == _manualDownloader) {
        endManualDownload(downloader, false);
        return;
    }
    if (downloader != _installerDownloader)
        return;
    const bool cancelled = std::exchange(_cancelled, false);
    // A cancelled download's file goes; a failed one's stays where the downloader put it.
    downloader->setDeleteDownloadFile(cancelled);
    if (cancelled)
        downloader->cleanUp();
    forgetInstallerDownloader(downloader);
    {
        QMutexLocker locker(&_packageLock);
        _installerSettings.clear();
    }
    emit installerDownloadFailed(downloader->representedObject().value<VMVersionItemPtr>(), cancelled,
                                 downloader->error());
}
