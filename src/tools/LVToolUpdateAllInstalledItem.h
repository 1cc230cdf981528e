#pragma once

#include "LVToolItem.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVProductBatch.h"
#include "widgets/LVSpinner.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>

class LVSingleInstallItem;

class LVToolUpdateAllInstalledItemDelegate;

// Brings every installed product that has an update to its latest version in one run: one entry
// per distinct installer URL, all downloads one after another, then all installations one after
// another under one administrator authorization, then one summary. The run is an LVProductBatch;
// the tool adds the waits and what the outcome means. A failed download or a refused password
// leaves the run unfinished and the tool busy.
class LVToolUpdateAllInstalledItem : public LVToolItem
{
    Q_OBJECT
public:
    // An entry's "installState", as the delegate hears it.
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
    // A run is under way, or stalled.
    bool isBusy() const { return _run != nullptr; }

    LVToolUpdateAllInstalledItemDelegate* delegate() const;
    void setDelegate(LVToolUpdateAllInstalledItemDelegate* delegate);

    // While a download runs: "Downloading 'Title' (2 of 3): 12.4 of 80.0 MB — 4.1 MB/s, about 16 s
    // left"; empty otherwise.
    QString progressDescription() const;

    QPushButton* updateButton() const { return _updateButton; }
    LVSpinner* progressIndicator() const { return _progressIndicator; }
    QLabel* progressDescriptionField() const { return _progressDescription; }

signals:
    // The running download moved on; read progressDescription().
    void progressChanged();

protected:
    QWidget* loadPanel() override;

private:
    LVToolUpdateAllInstalledItem();
    QString entryTitle(qsizetype index) const;
    void entryChanged(qsizetype index, LVProductBatch::State state);
    void runEnded();
    void tellDelegate(uint state, const QString& productName);
    void setDescription(const QString& text);
    void showRunning(bool running);
    // The install list's single-product rows, in its order.
    QList<LVSingleInstallItem*> singleProductRows() const;
    // The version a row's product gets from the installer: its latest, when the installer is that
    // version's own; null otherwise.
    static VMVersionItemPtr installedVersion(const LVSingleInstallItem& row, const QString& installerURL);

    QPointer<QPushButton> _updateButton;
    QPointer<LVSpinner> _progressIndicator;
    QPointer<QLabel> _progressDescription;
    QString _description;
    QList<InstallerEntry> _entries;
    QPointer<LVProductBatch> _run;
    LVToolUpdateAllInstalledItemDelegate* _delegate = nullptr;
    QPointer<QObject> _delegateObject;
};
