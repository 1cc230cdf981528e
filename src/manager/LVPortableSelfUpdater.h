#pragma once

#include "engines/LVDownloaderDelegate.h"
#include "platform/SelfUpdater.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <memory>

class LVUpdateWindow;

// The self-updater where the system has none: it loads the appcast with the application's own
// downloader, lets the delegate pick the item, offers it in a window, and loads the archive, which
// must carry a valid Ed25519 signature of the trusted key. "Installing" a verified archive puts it
// in the Downloads folder and reveals it; an unsigned or wrongly signed one is deleted and refused.
class LVPortableSelfUpdater : public QObject, public SelfUpdater, public LVDownloaderDelegate
{
    Q_OBJECT
public:
    static constexpr const char* skippedVersionKey = "LVSkippedUpdateVersion";

    explicit LVPortableSelfUpdater(QObject* parent = nullptr);
    ~LVPortableSelfUpdater() override;

    bool isAvailable() const override { return true; }
    void setDelegate(SelfUpdaterDelegate* delegate) override { _delegate = delegate; }
    bool automaticallyChecksForUpdates() const override { return _automaticallyChecks; }
    void setAutomaticallyChecksForUpdates(bool flag) override;
    double updateCheckInterval() const override { return _updateCheckInterval; }
    void setUpdateCheckInterval(double seconds) override;
    void checkForUpdatesInBackground() override;
    void checkForUpdates() override { checkForUpdatesInBackground(); }

    // The public key (base64) archives must be signed with; LVUpdateSignature's trusted one unless set.
    void setPublicKey(const QByteArray& publicKey) { _publicKey = publicKey; }

    LVUpdateWindow* updateWindow() const { return _updateWindow.get(); }
    void installUpdate();
    void remindLater();
    void skipVersion();

    void downloadProgress(double percent, LVDownloader* downloader) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;

signals:
    // A check ended: with an item offered or not.
    void checkFinished(bool updateFound);
    // The archive was verified and revealed (its path), or refused (the reason).
    void installFinished(bool succeeded, const QString& pathOrReason);

private:
    void appcastLoaded(const QByteArray& data);
    void archiveLoaded(LVDownloader* downloader);
    void forget(LVDownloader* downloader);
    void finishInstall(bool succeeded, const QString& pathOrReason);
    void restartTimer();
    static bool isNewerThanRunning(const QString& version);

    SelfUpdaterDelegate* _delegate = nullptr;
    bool _automaticallyChecks = false;
    double _updateCheckInterval = 86400.0;
    QTimer _checkTimer;
    QByteArray _publicKey;
    QPointer<LVDownloader> _feedDownloader;
    QPointer<LVDownloader> _archiveDownloader;
    std::unique_ptr<LVUpdateWindow> _updateWindow;
};
