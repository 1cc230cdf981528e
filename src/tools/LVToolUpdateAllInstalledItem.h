#pragma once

#include "LVToolItem.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVDownloaderDelegate.h"
#include "engines/LVInstallerDelegate.h"
#include "engines/LVUninstallerDelegate.h"
#include "widgets/LVSpinner.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <memory>
#include <vector>

class LVAdminAuthorization;
class LVProductOperation;
class LVSingleInstallItem;

class LVToolUpdateAllInstalledItemDelegate;

// Brings every installed product that has an update to its latest version in one run: one entry
// per distinct installer URL, all downloads one after another, then all installations one after
// another under one administrator authorization, then one summary. Each product goes through its
// own LVProductOperation; the tool adds the run's order, the waits and what the outcome means.
// A failed download or a refused password leaves the run unfinished and the tool busy.
class LVToolUpdateAllInstalledItem : public LVToolItem,
                                     public LVDownloaderDelegate,
                                     public LVInstallerDelegate,
                                     public LVUninstallerDelegate
{
    Q_OBJECT
public:
    // An entry's "installState".
    enum InstallState : uint {
        WaitingForDownload = 0,
        Downloading = 1,
        Downloaded = 2,
        DownloadFailed = 3, // or the download gave no file
        Installing = 4,
        Installed = 5,
        InstallFailed = 6,
    };

    // One entry of a run's work list.
    struct InstallerEntry
    {
        QPointer<LVSingleInstallItem> singleInstallItem;
        QString installerURL;
        uint installState = WaitingForDownload;
        QString installerFilePath; // set when its download completed
    };

    static LVToolUpdateAllInstalledItem* tool();
    ~LVToolUpdateAllInstalledItem() override;

    bool initView() override;
    QString title() const override { return QStringLiteral("Update All Installed Products"); }

    // The single-product rows of the install list whose product is installed.
    QList<LVSingleInstallItem*> installedItems() const;
    // A new run's work list: for each row, in the list's order, that is installed but not at its
    // latest version, its latest installer, unless an earlier entry has the same URL.
    QList<InstallerEntry> installerDicts() const;

    void updateButtonAction();
    // True when a run started. Refused while one is under way; an empty list shows "No Updates Found".
    bool startUpdate(const QList<InstallerEntry>& installerDicts);
    bool startDownloadingNextInstaller();
    void checkAndStartNextInstaller();
    void checkInstallComplete();

    // The running (or stalled) run's work list; empty when idle.
    QList<InstallerEntry> installerDictsArray() const;
    bool isBusy() const { return !_installerDictsArray.empty(); }

    LVToolUpdateAllInstalledItemDelegate* delegate() const;
    void setDelegate(LVToolUpdateAllInstalledItemDelegate* delegate);

    // While a download runs: "Downloading 'Title' (2 of 3): 12.4 of 80.0 MB — 4.1 MB/s, about 16 s
    // left"; empty otherwise.
    QString progressDescription() const;

    void downloadStarted(LVDownloader* downloader) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;
    void installStarted(LVInstaller* installer) override;
    void installCompleted(LVInstaller* installer) override;
    void installFailed(LVInstaller* installer) override;

    QPushButton* updateButton() const { return _updateButton; }
    LVSpinner* progressIndicator() const { return _progressIndicator; }
    QLabel* progressDescriptionField() const { return _progressDescription; }

signals:
    // The running download moved on; read progressDescription().
    void progressChanged();

protected:
    QWidget* loadPanel() override;

private:
    struct RunEntry
    {
        InstallerEntry entry;
        std::unique_ptr<LVProductOperation> operation;
        VMVersionItemPtr version; // the latest version, when the installer is its own
    };

    LVToolUpdateAllInstalledItem();
    RunEntry* entryForDownloader(LVDownloader* downloader);
    RunEntry* entryForInstaller(LVInstaller* installer);
    QString entryTitle(const RunEntry& run) const;
    void tellDelegate(uint state, const QString& productName);
    void setDescription(const QString& text);
    void showRunning(bool running);
    void installEnded(LVInstaller* installer, uint state);
    // The install list's single-product rows, in its order.
    QList<LVSingleInstallItem*> singleProductRows() const;
    QList<LVSingleInstallItem*> rowsSharingInstaller(const QString& installerURL) const;
    // The version a row's product gets from the installer: its latest, when the installer is that
    // version's own; null otherwise.
    static VMVersionItemPtr installedVersion(const LVSingleInstallItem& row, const QString& installerURL);
    void announce(LVSingleInstallItem* row, const VMVersionItemPtr& version);

    QPointer<QPushButton> _updateButton;
    QPointer<LVSpinner> _progressIndicator;
    QPointer<QLabel> _progressDescription;
    QString _description;
    std::unique_ptr<LVAdminAuthorization> _authorizationRef;
    std::vector<RunEntry> _installerDictsArray;
    LVToolUpdateAllInstalledItemDelegate* _delegate = nullptr;
    QPointer<QObject> _delegateObject;
};
