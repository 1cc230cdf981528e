#include "LVToolUpdateAllInstalledItem.h"
#include "ui_LVToolUpdateAllInstalledItem.h"

#include "LVToolUpdateAllInstalledItemDelegate.h"
#include "catalogue/VMInstallStatus.h"
#include "engines/LVAdminAuthorization.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVProductOperation.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMNotificationCenter.h"
#include "items/LVRowHost.h"
#include "items/LVSingleInstallItem.h"
#include "widgets/LVSpinner.h"

LVToolUpdateAllInstalledItem* LVToolUpdateAllInstalledItem::tool()
{
    static LVToolUpdateAllInstalledItem* const instance = new LVToolUpdateAllInstalledItem;
    return instance;
}

LVToolUpdateAllInstalledItem::LVToolUpdateAllInstalledItem() = default;
LVToolUpdateAllInstalledItem::~LVToolUpdateAllInstalledItem() = default;

QWidget* LVToolUpdateAllInstalledItem::loadPanel()
{
    auto* panel = new LVToolContainerView;
    Ui::LVToolUpdateAllInstalledItem ui;
    ui.setupUi(panel);
    _updateButton = ui._updateButton;
    _progressIndicator = ui._progressIndicator;
    _progressDescription = ui._progressDescription;
    connect(ui._updateButton, &QPushButton::clicked, this, &LVToolUpdateAllInstalledItem::updateButtonAction);
    return panel;
}

bool LVToolUpdateAllInstalledItem::initView()
{
    const bool loaded = LVToolItem::initView();
    // A panel made while a run is under way shows it.
    showRunning(isBusy());
    setDescription(_description);
    return loaded;
}

void LVToolUpdateAllInstalledItem::showRunning(bool running)
{
    if (_progressIndicator) {
        _progressIndicator->setVisible(running);
        if (running)
            _progressIndicator->startAnimation();
        else
            _progressIndicator->stopAnimation();
    }
    if (_updateButton)
        _updateButton->setEnabled(!running);
}

void LVToolUpdateAllInstalledItem::setDescription(const QString& text)
{
    _description = text;
    if (_progressDescription)
        _progressDescription->setText(text);
}

LVToolUpdateAllInstalledItemDelegate* LVToolUpdateAllInstalledItem::delegate() const
{
    return _delegateObject ? _delegate : nullptr;
}

void LVToolUpdateAllInstalledItem::setDelegate(LVToolUpdateAllInstalledItemDelegate* delegate)
{
    auto* object = dynamic_cast<QObject*>(delegate);
    _delegate = object ? delegate : nullptr;
    _delegateObject = object;
}

void LVToolUpdateAllInstalledItem::tellDelegate(uint state, const QString& productName)
{
    if (LVToolUpdateAllInstalledItemDelegate* target = delegate())
        target->updateStateChanged(state, productName, this);
}

QList<LVSingleInstallItem*> LVToolUpdateAllInstalledItem::singleProductRows() const
{
    QList<LVSingleInstallItem*> rows;
    if (LVRowHost* manager = installManager()) {
        for (LVInstallItem* row : manager->singleProductInstallItems()) {
            if (auto* single = qobject_cast<LVSingleInstallItem*>(row))
                rows.append(single);
        }
    }
    return rows;
}

QList<LVSingleInstallItem*> LVToolUpdateAllInstalledItem::installedItems() const
{
    QList<LVSingleInstallItem*> items;
    for (LVSingleInstallItem* row : singleProductRows()) {
        if (row->installStatus() != LVInstallItem::StatusNotInstalled)
            items.append(row);
    }
    return items;
}

QList<LVToolUpdateAllInstalledItem::InstallerEntry> LVToolUpdateAllInstalledItem::installerDicts() const
{
    const QList<LVSingleInstallItem*> rows = singleProductRows();
    QList<VMInstallStatus::UpdateCandidate> candidates;
    for (LVSingleInstallItem* single : rows)
        candidates.append({single->installStatus(), single->latestVersionInstallerURL()});
    QList<InstallerEntry> entries;
    for (const qsizetype index : VMInstallStatus::updatesToInstall(candidates))
        entries.append({rows.at(index), candidates.at(index).installerURL, WaitingForDownload, QString()});
    return entries;
}

QList<LVToolUpdateAllInstalledItem::InstallerEntry> LVToolUpdateAllInstalledItem::installerDictsArray() const
{
    QList<InstallerEntry> entries;
    for (const RunEntry& run : _installerDictsArray)
        entries.append(run.entry);
    return entries;
}

void LVToolUpdateAllInstalledItem::updateButtonAction()
{
    startUpdate(installerDicts());
}

bool LVToolUpdateAllInstalledItem::startUpdate(const QList<InstallerEntry>& installerDicts)
{
    if (isBusy())
        return false;
    if (installerDicts.isEmpty()) {
        if (LVRowHost* manager = installManager())
            manager->showAlert(LVAlert(QStringLiteral("No Updates Found"),
                                       QStringLiteral("No updates to installed products found, all products are up "
                                                      "to date.")));
        return false;
    }
    for (const InstallerEntry& entry : installerDicts) {
        RunEntry run{entry, nullptr, nullptr};
        if (entry.singleInstallItem) {
            const VMSingleProductItemPtr product = entry.singleInstallItem->singleProductItem();
            run.version = installedVersion(*entry.singleInstallItem, entry.installerURL);
            run.operation = std::make_unique<LVProductOperation>(product);
            run.operation->setDelegate(this);
            connect(run.operation.get(), &LVProductOperation::progressChanged, this,
                    &LVToolUpdateAllInstalledItem::progressChanged);
        }
        _installerDictsArray.push_back(std::move(run));
    }
    // A run that cannot start its first download stays in the work list, as a stalled run does.
    if (!startDownloadingNextInstaller())
        return false;
    showRunning(true);
    return true;
}

bool LVToolUpdateAllInstalledItem::startDownloadingNextInstaller()
{
    const auto next = std::find_if(_installerDictsArray.begin(), _installerDictsArray.end(),
                                   [](const RunEntry& run) { return run.entry.installState == WaitingForDownload; });
    if (next == _installerDictsArray.end() || !next->operation)
        return false;
    const QUrl url(next->entry.installerURL);
    // The represented object is the version when the URL is the latest version's, so that the
    // history names it.
    if (!next->operation->startDownload(url, {}, LVProductOperation::installerDownload,
                                        next->version ? QVariant::fromValue(next->version) : QVariant()))
        return false;
    setDescription(QStringLiteral("Downloading '%1'").arg(entryTitle(*next)));
    next->entry.installState = Downloading;
    return true;
}

LVToolUpdateAllInstalledItem::RunEntry* LVToolUpdateAllInstalledItem::entryForDownloader(LVDownloader* downloader)
{
    // Entries have distinct installer URLs, and each runs one download at a time.
    for (RunEntry& run : _installerDictsArray) {
        if (run.entry.installState == Downloading && QUrl(run.entry.installerURL) == downloader->url())
            return &run;
    }
    return nullptr;
}

LVToolUpdateAllInstalledItem::RunEntry* LVToolUpdateAllInstalledItem::entryForInstaller(LVInstaller* installer)
{
    for (RunEntry& run : _installerDictsArray) {
        if (!run.entry.installerFilePath.isEmpty() && run.entry.installerFilePath == installer->filePath())
            return &run;
    }
    return nullptr;
}

QString LVToolUpdateAllInstalledItem::entryTitle(const RunEntry& run) const
{
    if (run.entry.singleInstallItem)
        return run.entry.singleInstallItem->title();
    const VMSingleProductItemPtr product = run.operation ? run.operation->productItem() : nullptr;
    return product ? product->title() : QString();
}

void LVToolUpdateAllInstalledItem::downloadStarted(LVDownloader* downloader)
{
    RunEntry* run = entryForDownloader(downloader);
    if (!run)
        return;
    run->entry.installState = Downloading;
    tellDelegate(Downloading, entryTitle(*run));
}

void LVToolUpdateAllInstalledItem::downloadCompleted(LVDownloader* downloader)
{
    RunEntry* run = entryForDownloader(downloader);
    if (!run)
        return;
    const QString path = downloader->downloadFilePath();
    if (path.isEmpty()) {
        run->entry.installState = DownloadFailed;
    } else {
        run->entry.installState = Downloaded;
        run->entry.installerFilePath = path;
    }
    VMDispatch::performOnMainThread(this, [this] {
        const bool allEnded = std::all_of(_installerDictsArray.cbegin(), _installerDictsArray.cend(),
                                          [](const RunEntry& entry) { return entry.entry.installState >= Downloaded; });
        if (allEnded)
            checkAndStartNextInstaller();
        else
            startDownloadingNextInstaller();
    });
}

void LVToolUpdateAllInstalledItem::downloadFailed(LVDownloader* downloader)
{
    RunEntry* run = entryForDownloader(downloader);
    if (!run)
        return;
    run->entry.installState = DownloadFailed;
    // Nothing further is downloaded and a failed download never counts as finished: the run stalls.
    checkInstallComplete();
}

void LVToolUpdateAllInstalledItem::checkAndStartNextInstaller()
{
    const auto next = std::find_if(_installerDictsArray.begin(), _installerDictsArray.end(),
                                   [](const RunEntry& run) { return run.entry.installState == Downloaded; });
    if (next == _installerDictsArray.end() || !next->operation)
        return;
    if (!_authorizationRef) {
        // One administrator prompt for the whole run. A failed creation is logged with extended
        // logging; a refused password stops here silently, and the run stays unfinished.
        auto authorization = std::make_unique<LVAdminAuthorization>(
            LVInstaller::defaultAuthorizationFlags(), LVAdminAuthorization::CreateFailureLog::ExtendedLoggingOnly);
        if (!authorization->isGranted())
            return;
        _authorizationRef = std::move(authorization);
    }
    if (!next->operation->install(_authorizationRef->authorizationRef(), LVProductOperation::Execution::Background,
                                  {{QLatin1String(LVInstaller::requiresAuthenticationKey), true}}))
        return;
    setDescription(QStringLiteral("Installing '%1'").arg(entryTitle(*next)));
}

void LVToolUpdateAllInstalledItem::installStarted(LVInstaller* installer)
{
    RunEntry* run = entryForInstaller(installer);
    if (!run)
        return;
    run->entry.installState = Installing;
    tellDelegate(Installing, entryTitle(*run));
}

void LVToolUpdateAllInstalledItem::installCompleted(LVInstaller* installer)
{
    installEnded(installer, Installed);
}

void LVToolUpdateAllInstalledItem::installFailed(LVInstaller* installer)
{
    installEnded(installer, InstallFailed);
}

void LVToolUpdateAllInstalledItem::installEnded(LVInstaller* installer, uint state)
{
    RunEntry* run = entryForInstaller(installer);
    if (!run)
        return;
    run->entry.installState = state;
    VMDispatch::performAfterDelay(this, 2.0, [this] { checkAndStartNextInstaller(); });
    checkInstallComplete();
}

void LVToolUpdateAllInstalledItem::checkInstallComplete()
{
    bool finished = true;
    bool succeeded = true;
    for (const RunEntry& run : _installerDictsArray) {
        finished = finished && (run.entry.installState == Installed || run.entry.installState == InstallFailed);
        succeeded = succeeded && run.entry.installState != InstallFailed;
    }
    if (!finished)
        return;
    _authorizationRef.reset();

    const LVAlert alert = succeeded ? LVAlert(QStringLiteral("Updating Completed"),
                                              QStringLiteral("All updates were installed successfully."))
                                    : LVAlert(QStringLiteral("Updating Failed"),
                                              QStringLiteral("Some products could not be update, please update them "
                                                             "manually."));
    tellDelegate(succeeded ? Installed : InstallFailed, QString());
    if (LVRowHost* manager = installManager())
        manager->showAlert(alert);
    showRunning(false);
    setDescription(QString());

    std::vector<RunEntry> ended;
    ended.swap(_installerDictsArray);
    for (RunEntry& run : ended) {
        if (run.entry.installState == Installed) {
            // Every row whose product came with this installer learns its new version, as after
            // an install of its own; rows that shared the installer were left out of the work list.
            for (LVSingleInstallItem* row : rowsSharingInstaller(run.entry.installerURL))
                announce(row, installedVersion(*row, run.entry.installerURL));
        } else if (run.entry.singleInstallItem) {
            announce(run.entry.singleInstallItem, nullptr);
        }
        // This may run inside the last operation's own callback: it goes once that has returned.
        if (run.operation)
            run.operation.release()->deleteLater();
    }
    emit progressChanged();
}

QList<LVSingleInstallItem*> LVToolUpdateAllInstalledItem::rowsSharingInstaller(const QString& installerURL) const
{
    QList<LVSingleInstallItem*> rows;
    for (LVSingleInstallItem* row : installedItems()) {
        if (row->latestVersionInstallerURL() == installerURL)
            rows.append(row);
    }
    return rows;
}

VMVersionItemPtr LVToolUpdateAllInstalledItem::installedVersion(const LVSingleInstallItem& row,
                                                                const QString& installerURL)
{
    const VMVersionItemPtr latest = row.singleProductItem()->latestVersionItem();
    return latest && latest->versionDownloadURL() == installerURL ? latest : nullptr;
}

void LVToolUpdateAllInstalledItem::announce(LVSingleInstallItem* row, const VMVersionItemPtr& version)
{
    // With a version, the confirmation of the product's own pipeline: "temporaryVersionStr" for
    // the rows, the plug-in registered, the wrapper launched, "productInstallCompleted" posted.
    LVProductOperation* operation = row->operation();
    if (version)
        operation->beginConfirmation(version);
    VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("reloadLVUpdateItem"),
                                                           QVariant::fromValue<QObject*>(row));
    if (version)
        operation->announceInstallation();
    else
        VMNotificationCenter::defaultCenter().postNotification(QStringLiteral("productInstallCompleted"),
                                                               QVariant::fromValue(row->productItem()));
}

QString LVToolUpdateAllInstalledItem::progressDescription() const
{
    for (size_t index = 0; index < _installerDictsArray.size(); ++index) {
        const RunEntry& run = _installerDictsArray[index];
        if (run.entry.installState != Downloading || !run.operation || !run.operation->isDownloading())
            continue;
        QString text = QStringLiteral("Downloading '%1' (%2 of %3)")
                           .arg(entryTitle(run))
                           .arg(index + 1)
                           .arg(_installerDictsArray.size());
        const QString bytes = run.operation->progressDescription();
        if (!bytes.isEmpty())
            text += QStringLiteral(": ") + bytes;
        return text;
    }
    return QString();
}
