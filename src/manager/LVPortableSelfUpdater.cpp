#include "LVPortableSelfUpdater.h"
#include "LVUpdateWindow.h"

#include "engines/LVAppcast.h"
#include "engines/LVDownloader.h"
#include "engines/LVUpdateSignature.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMLog.h"
#include "platform/Platform.h"
#include "platform/UpdateInstaller.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QVersionNumber>

namespace {
constexpr qint64 feedDownload = 1;
constexpr qint64 archiveDownload = 2;
constexpr qint64 releaseNotesDownload = 3;

// A name in `folder` that no file has yet: "name.zip", "name 1.zip", ...
QString unusedPath(const QString& folder, const QString& fileName)
{
    const QFileInfo info(fileName);
    const QString suffix = info.completeSuffix().isEmpty() ? QString() : QLatin1Char('.') + info.completeSuffix();
    QString path = QDir(folder).filePath(fileName);
    for (int n = 1; QFileInfo::exists(path); ++n)
        path = QDir(folder).filePath(QStringLiteral("%1 %2%3").arg(info.baseName()).arg(n).arg(suffix));
    return path;
}
} // namespace

LVPortableSelfUpdater::LVPortableSelfUpdater(QObject* parent) : QObject(parent)
{
    connect(&_checkTimer, &QTimer::timeout, this, &LVPortableSelfUpdater::checkForUpdatesInBackground);
}

LVPortableSelfUpdater::~LVPortableSelfUpdater()
{
    // The platform may keep this updater until static destruction, after the application is gone:
    // a window can't be destroyed then, and the process is ending anyway.
    if (!QCoreApplication::instance()) {
        (void)_updateWindow.release();
        return;
    }
    if (_archiveDownloader)
        _archiveDownloader->cancel();
}

void LVPortableSelfUpdater::setAutomaticallyChecksForUpdates(bool flag)
{
    _automaticallyChecks = flag;
    restartTimer();
}

void LVPortableSelfUpdater::setUpdateCheckInterval(double seconds)
{
    _updateCheckInterval = seconds;
    restartTimer();
}

void LVPortableSelfUpdater::restartTimer()
{
    _checkTimer.stop();
    if (_automaticallyChecks && _updateCheckInterval > 0)
        _checkTimer.start(VMDispatch::scaledMilliseconds(_updateCheckInterval));
}

void LVPortableSelfUpdater::checkForUpdatesInBackground()
{
    if (!_delegate || !_delegate->updaterMayCheckForUpdates() || _feedDownloader)
        return;
    // An offer on screen or an archive loading: that one is dealt with first.
    if ((_updateWindow && _updateWindow->isVisible()) || _archiveDownloader)
        return;
    _feedDownloader = LVDownloader::initWithURLKeepingScheme(QUrl(_delegate->feedURLStringForUpdater()), this);
    if (!_feedDownloader)
        return;
    _feedDownloader->setIdentifier(feedDownload);
    _feedDownloader->setDelegate(this);
    _feedDownloader->start();
}

bool LVPortableSelfUpdater::isNewerThanRunning(const QString& version)
{
    const QString running = QCoreApplication::applicationVersion();
    const QVersionNumber offered = QVersionNumber::fromString(version);
    const QVersionNumber current = QVersionNumber::fromString(running);
    if (offered.isNull() || current.isNull())
        return !version.isEmpty() && version != running;
    return offered > current;
}

void LVPortableSelfUpdater::appcastLoaded(const QByteArray& data)
{
    QString error;
    const QList<SelfUpdateItem> items = LVAppcast::itemsWithData(data, &error);
    if (!error.isEmpty())
        VM_LOG_ERROR(QStringLiteral("The update feed can't be read: %1").arg(error));
    if (!_delegate)
        return;
    _delegate->updaterDidFinishLoadingAppcast(items);
    const int best = _delegate->bestValidUpdateInAppcast(items);
    const QString skipped =
        LVPreferences::sharedPreferences()->propertyForKey(QLatin1String(skippedVersionKey)).toString();
    if (best < 0 || best >= items.size() || !isNewerThanRunning(items.at(best).versionString) ||
        items.at(best).versionString == skipped) {
        _delegate->updaterDidNotFindUpdate();
        emit checkFinished(false);
        return;
    }
    const SelfUpdateItem item = items.at(best);
    _delegate->updaterDidFindValidUpdate(item);
    _updateWindow = std::make_unique<LVUpdateWindow>(item, QCoreApplication::applicationVersion());
    connect(_updateWindow.get(), &LVUpdateWindow::installUpdate, this, &LVPortableSelfUpdater::installUpdate);
    connect(_updateWindow.get(), &LVUpdateWindow::remindLater, this, &LVPortableSelfUpdater::remindLater);
    connect(_updateWindow.get(), &LVUpdateWindow::skipVersion, this, &LVPortableSelfUpdater::skipVersion);
    if (item.itemDescription.isEmpty() && item.releaseNotesURL.isValid()) {
        if (LVDownloader* notes = LVDownloader::initWithURLKeepingScheme(item.releaseNotesURL, this)) {
            notes->setIdentifier(releaseNotesDownload);
            notes->setDelegate(this);
            notes->start();
        }
    }
    _updateWindow->show();
    _updateWindow->raise();
    emit checkFinished(true);
}

void LVPortableSelfUpdater::installUpdate()
{
    if (!_updateWindow || _archiveDownloader)
        return;
    const SelfUpdateItem item = _updateWindow->item();
    _archiveDownloader = LVDownloader::initWithURLKeepingScheme(item.fileURL, this);
    if (!_archiveDownloader) {
        finishInstall(false, QStringLiteral("The update has no valid download address."));
        return;
    }
    const QString fileName = QFileInfo(item.fileURL.path()).fileName();
    _archiveDownloader->setIdentifier(archiveDownload);
    _archiveDownloader->setDelegate(this);
    _archiveDownloader->setDeleteDownloadFile(true);
    _archiveDownloader->startWithDownloadFilePath(LVDownloader::downloadFilePathWithSuggestedFileName(
        fileName.isEmpty() ? QStringLiteral("Lumivane Manager update") : fileName));
    _updateWindow->setProgress(-1);
}

void LVPortableSelfUpdater::remindLater()
{
    if (_archiveDownloader)
        _archiveDownloader->cancel();
    if (_updateWindow)
        _updateWindow->hide();
}

void LVPortableSelfUpdater::skipVersion()
{
    if (_updateWindow) {
        LVPreferences::sharedPreferences()->setDefaultProperty(_updateWindow->item().versionString,
                                                               QLatin1String(skippedVersionKey));
        _updateWindow->hide();
    }
}

void LVPortableSelfUpdater::downloadProgress(double percent, LVDownloader* downloader)
{
    if (downloader->identifier() == archiveDownload && _updateWindow)
        _updateWindow->setProgress(percent);
}

void LVPortableSelfUpdater::downloadCompleted(LVDownloader* downloader)
{
    forget(downloader);
    switch (downloader->identifier()) {
    case feedDownload:
        appcastLoaded(downloader->data());
        break;
    case archiveDownload:
        archiveLoaded(downloader);
        break;
    case releaseNotesDownload:
        if (_updateWindow)
            _updateWindow->setReleaseNotes(QString::fromUtf8(downloader->data()));
        break;
    }
    downloader->deleteLater();
}

void LVPortableSelfUpdater::downloadFailed(LVDownloader* downloader)
{
    forget(downloader);
    VM_LOG_ERROR_CODE(downloader->error().localizedDescription(), downloader->error().code());
    if (downloader->identifier() == feedDownload) {
        if (_delegate)
            _delegate->updaterDidNotFindUpdate();
        emit checkFinished(false);
    } else if (downloader->identifier() == archiveDownload) {
        downloader->cleanUp();
        finishInstall(false, QStringLiteral("The update could not be downloaded."));
    }
    downloader->deleteLater();
}

void LVPortableSelfUpdater::forget(LVDownloader* downloader)
{
    // Released later; a new check or install may start before that.
    if (_feedDownloader == downloader)
        _feedDownloader = nullptr;
    if (_archiveDownloader == downloader)
        _archiveDownloader = nullptr;
}

void LVPortableSelfUpdater::archiveLoaded(LVDownloader* downloader)
{
    const QString downloaded = downloader->downloadFilePath();
    QFile file(downloaded);
    const QByteArray archive = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    file.close();
    const QByteArray key = _publicKey.isEmpty() ? LVUpdateSignature::trustedPublicKey() : _publicKey;
    QString reason;
    const SelfUpdateItem item = _updateWindow ? _updateWindow->item() : SelfUpdateItem();
    if (archive.isEmpty() || !LVUpdateSignature::verify(archive, item.edSignature, key, &reason)) {
        downloader->cleanUp();
        finishInstall(false, QStringLiteral("The update was not installed. %1")
                                 .arg(reason.isEmpty() ? QStringLiteral("The archive is empty.") : reason));
        return;
    }
    // Verified. Where the system installs updates (a Mac), the application is replaced and quits
    // for the new one to start; elsewhere the archive goes to the Downloads folder and is shown.
    UpdateInstaller& installer = Platform::updateInstaller();
    if (installer.replacesApplication()) {
        const bool installed = installer.install(downloaded, &reason);
        downloader->cleanUp();
        finishInstall(installed, installed ? QCoreApplication::applicationFilePath() : reason);
        if (installed)
            QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
        return;
    }
    const QString downloads = Platform::systemInfo().downloadsDirectory();
    QDir().mkpath(downloads);
    const QString target = unusedPath(downloads, QFileInfo(downloaded).fileName());
    if (!QFile::rename(downloaded, target) && !(QFile::copy(downloaded, target) && QFile::remove(downloaded))) {
        downloader->cleanUp();
        finishInstall(false, QStringLiteral("The update could not be saved in %1.").arg(downloads));
        return;
    }
    Platform::workspace().revealFile(target);
    finishInstall(true, target);
}

void LVPortableSelfUpdater::finishInstall(bool succeeded, const QString& pathOrReason)
{
    if (succeeded)
        VM_LOG_MESSAGE(QStringLiteral("Update verified and saved as %1").arg(pathOrReason));
    else
        VM_LOG_ERROR(pathOrReason);
    if (_updateWindow)
        _updateWindow->setFinished(succeeded ? QStringLiteral("The update's signature is valid. It was saved as "
                                                              "\u201c%1\u201d and is shown in its folder.")
                                                   .arg(pathOrReason)
                                             : pathOrReason,
                                   succeeded);
    emit installFinished(succeeded, pathOrReason);
}
